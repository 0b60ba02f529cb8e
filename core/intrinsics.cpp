// What is bound to the names of intrinsics. See intrinsics.h.
#include "core/intrinsics.h"

#include "core/environment.h"

#include <array>

namespace vlisp::intrinsics {
namespace {

constexpr std::size_t count = static_cast<std::size_t>(Intrinsic::count);
static_assert(count <= appendAndList, "an obstacle is a bit of a word");

// The names are held, so that their marks stay.
std::array<SymbolRef, count>& declared() {
    static std::array<SymbolRef, count> all;
    return all;
}

}  // namespace

void declare(Intrinsic intrinsic, std::u16string_view name, BuiltinProc proc) {
    SymbolRef& held = declared()[static_cast<std::size_t>(intrinsic)];
    held = intern(name);
    detail::procs[static_cast<std::size_t>(intrinsic)] = proc;
    held->intrinsic = static_cast<std::uint8_t>(intrinsic);
    refresh(*held);
}

const char* nameOf(Intrinsic intrinsic) noexcept {
    static constexpr std::array<const char*, count> names = {
        "none",        "add",        "subtract", "multiply", "divide",   "less",      "greater",
        "lessOrEqual", "equalSign",  "equal",    "eq",       "notEqual", "car",       "cdr",
        "cadr",        "nth",        "cons",     "length",   "nullp",    "listp",     "append",
        "list",        "assoc",      "subst",    "reverse",  "last",     "removeNth", "logand",
        "logior",      "complement", "strcat",   "substr",   "strlen",   "strcase",   "wcmatch",
        "itoa",        "atoi",       "sqrt",     "sin",      "cos",      "atan",      "angle",
        "distance",    "polar",      "inters"};
    const auto number = static_cast<std::size_t>(intrinsic);
    return number == appendAndList ? "append, list" : names[number];
}

void refresh(const SymbolData& name) noexcept {
    const std::uint64_t bit = std::uint64_t{1} << name.intrinsic;
    const Cell& bound = globalPlace(symbolOrEmpty(&name));
    const bool holds =
        bound.is(CellType::Proc) && bound.proc() == procOf(static_cast<Intrinsic>(name.intrinsic));
    obstacles = holds ? obstacles & ~bit : obstacles | bit;
}

}  // namespace vlisp::intrinsics
