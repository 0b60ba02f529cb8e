// Console output: PRINC, PRIN1, PRINT and PROMPT.
// One idea: the first three send a message through the handshake; PROMPT speaks to the host at
// once.
// Tests: tests/host/output_test.cpp, tests/lisp/console/.
#pragma once

#include "builtins/registry.h"

namespace vlisp {

Cell princ(Arguments arguments);
Cell prin1(Arguments arguments);
Cell print(Arguments arguments);
Cell prompt(Arguments arguments);

/// The four, for RegisterBuiltins.
std::span<const ProvidedBuiltin> consoleBuiltins() noexcept;

}  // namespace vlisp
