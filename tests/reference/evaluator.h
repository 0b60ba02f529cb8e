// The literal evaluator: every rule of the language as one short function, recursion as recursion.
// One idea: slow and obviously correct, it is the twin that the product's evaluator is compared
// with.
// Tests: tests/reference/comparison_test.cpp, and every test named Reference.*.
#pragma once

#include "core/cell.h"
#include "core/environment.h"
#include "core/error_buffer.h"

namespace vlisp::reference {

/// The same contract as vlisp::Eval. Depth is that of the thread's stack.
Cell Eval(const Cell& cell, Environment& scope, ErrorBuffer& error);

}  // namespace vlisp::reference
