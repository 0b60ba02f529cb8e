// User input: GETPOINT, GETDIST, GETSTRING, GETREAL, GETINT and ENTSEL.
// One idea: each sends one or two requests through the shared record and reads nothing but the
// reply; a reply of another mode is how a cancelled input ends.
// Tests: tests/host/input_test.cpp.
//
// All of them wait for the user: never on the user-interface thread.
#pragma once

#include "builtins/registry.h"

namespace vlisp {

Cell getpoint(Arguments arguments);
Cell getdist(Arguments arguments);
Cell getstring(Arguments arguments);
Cell getreal(Arguments arguments);
Cell getint(Arguments arguments);
Cell entsel(Arguments arguments);

/// The six, for RegisterBuiltins.
std::span<const ProvidedBuiltin> inputBuiltins() noexcept;

}  // namespace vlisp
