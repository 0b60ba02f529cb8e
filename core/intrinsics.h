// Intrinsics: the built-ins that the machine carries out itself as long as their names are bound to
// them.
// One idea: one word tells at a glance whether the short way is open: no error stands in the
// buffer and no such name has been bound to anything else.
// Tests: tests/core/intrinsics_test.cpp, tests/builtins/evaluator_test.cpp, tests/reference/.
#pragma once

#include "core/cell.h"

#include <cstddef>
#include <cstdint>

namespace vlisp {

enum class Intrinsic : std::uint8_t {
    none,
    add,
    subtract,
    multiply,
    divide,
    less,
    greater,
    lessOrEqual,
    equalSign,
    equal,
    eq,
    notEqual,
    car,
    cdr,
    cadr,
    nth,
    cons,
    length,
    nullp,
    listp,
    // From here on the machine merely knows that nothing but the value comes of a call.
    append,
    list,
    assoc,
    subst,
    reverse,
    last,
    removeNth,
    logand,
    logior,
    complement,
    strcat,
    substr,
    strlen,
    strcase,
    wcmatch,
    itoa,
    atoi,
    sqrt,
    sin,
    cos,
    atan,
    angle,
    distance,
    polar,
    inters,
    count
};

/// A guard of two: APPEND and LIST.
inline constexpr int appendAndList = 63;

namespace intrinsics {

/// Bits of what stands in the machine's way: bit 0 while an error stands in the buffer of the
/// running evaluation, bit i while the name of intrinsic i is not bound to it. One evaluation runs
/// at a time.
#if defined(__GNUC__) && !defined(_WIN32)
[[gnu::visibility("hidden")]]
#endif
inline std::uint64_t obstacles = 0;
inline constexpr std::uint64_t errorObstacle = 1;

/// The obstacles that a use of this intrinsic minds.
constexpr std::uint64_t minded(Intrinsic intrinsic) noexcept {
    return errorObstacle | (std::uint64_t{1} << static_cast<unsigned>(intrinsic));
}

/// Tells that `name` is the name of this intrinsic and `proc` the built-in. For the registry,
/// before it binds the name.
void declare(Intrinsic intrinsic, std::u16string_view name, BuiltinProc proc);

namespace detail {
inline constinit BuiltinProc procs[static_cast<std::size_t>(Intrinsic::count)] = {};
}

/// The built-in of an intrinsic; null when none was declared.
[[nodiscard]] inline BuiltinProc procOf(Intrinsic intrinsic) noexcept {
    return detail::procs[static_cast<std::size_t>(intrinsic)];
}

/// The name of an intrinsic in small letters.
[[nodiscard]] const char* nameOf(Intrinsic intrinsic) noexcept;

/// Called when the global value of an intrinsic's name has changed.
void refresh(const SymbolData& name) noexcept;

}  // namespace intrinsics
}  // namespace vlisp
