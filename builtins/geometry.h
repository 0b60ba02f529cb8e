// Math and plane geometry, in radians, on doubles.
// One idea: a point is a list whose first two elements count.
// Tests: tests/builtins/geometry_test.cpp, tests/lisp/geometry/.
#pragma once

#include "core/cell.h"

namespace vlisp {

Cell polar(Arguments arguments);
Cell sqrtOf(Arguments arguments);
Cell sinOf(Arguments arguments);
Cell cosOf(Arguments arguments);
Cell atanOf(Arguments arguments);
Cell angle(Arguments arguments);
Cell distance(Arguments arguments);
Cell inters(Arguments arguments);

}  // namespace vlisp
