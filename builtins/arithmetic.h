// Arithmetic, comparison and bit functions.
// One idea: everything is computed in doubles and nothing is checked; what was not a Real anywhere
// is truncated back to 32 bits.
// Tests: tests/builtins/arithmetic_test.cpp, tests/lisp/arithmetic/.
#pragma once

#include "core/cell.h"

namespace vlisp {

Cell plus(Arguments arguments);
Cell minus(Arguments arguments);
Cell times(Arguments arguments);
Cell divide(Arguments arguments);
Cell greater(Arguments arguments);
Cell less(Arguments arguments);
Cell lessOrEqual(Arguments arguments);
Cell complement(Arguments arguments);
Cell logand(Arguments arguments);
Cell logior(Arguments arguments);

}  // namespace vlisp
