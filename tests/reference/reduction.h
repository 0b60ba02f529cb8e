// Reduction: makes a program that fails small.
// One idea: leave out an expression, or put a part in the place of the whole, as long as it fails.
// Tests: tests/reference/reduction_test.cpp.
#pragma once

#include "tests/reference/comparison.h"

#include <functional>

namespace vlisp::reference {

/// The smallest program found for which `fails` is still true. `fails` must come back for every
/// program, endless ones included: what kept them finite is left out as well.
[[nodiscard]] Program reduced(Program program, const std::function<bool(const Program&)>& fails);

}  // namespace vlisp::reference
