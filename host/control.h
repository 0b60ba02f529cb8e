// Reaching the host without asking the user: GETVAR, SETVAR, COMMAND and VM-WAIT.
// One idea: variables are read and written at once; COMMAND feeds the host's command line piece by
// piece and waits for an answer to each.
// Tests: tests/host/control_test.cpp.
#pragma once

#include "builtins/registry.h"

namespace vlisp {

Cell getvar(Arguments arguments);
Cell setvar(Arguments arguments);

/// Never on the user-interface thread: it waits for the host.
Cell command(Arguments arguments);

/// On purpose: a busy wait. Ours: an interruption ends it.
Cell vmWait(Arguments arguments);

/// The four, for RegisterBuiltins.
std::span<const ProvidedBuiltin> controlBuiltins() noexcept;

}  // namespace vlisp
