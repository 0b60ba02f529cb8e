// The registry: the one table of predefined names.
// One idea: the rows that bind a name also describe it, so that registration, help, completion,
// the checker's argument counts and the reference pages cannot drift apart.
// Tests: tests/builtins/registry_test.cpp.
#pragma once

#include "core/cell.h"
#include "core/environment.h"

#include <span>

namespace vlisp {

/// A row of the table. Order of the rows is order of registration.
struct BuiltinRow {
    const char* name;
    /// The function; null for one that the host or the drawing provides (ProvidedBuiltin).
    BuiltinProc proc;
    /// How many arguments the function's check accepts; `any` for no upper bound. Arguments that
    /// are accepted but ignored count as accepted.
    int fewest;
    int most;
    const char* synopsis;
    const char* help;
    const char* example;
    const char* result;  ///< what the example prints as
};

inline constexpr int any = -1;

/// A built-in that lives above this library, given when the names are registered.
struct ProvidedBuiltin {
    const char* name;
    BuiltinProc proc;
};

/// Binds, in the order of the table, the constants, every built-in and PI in `global`; an existing
/// binding is replaced. Rows without a function take it from `provided`; one that is not there
/// stays unbound.
void RegisterBuiltins(Environment& global, std::span<const ProvidedBuiltin> provided = {});

/// All functions of the table.
std::span<const BuiltinRow> builtinRows() noexcept;

/// The row of this name (upper case), or null.
const BuiltinRow* findBuiltin(std::string_view name) noexcept;

}  // namespace vlisp
