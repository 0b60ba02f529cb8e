// Extended list functions; three of them call back into the evaluator.
// One idea: equality is whatever EQ is bound to, and a predicate is the shape of a lambda
// expression whose body sees its parameter and the global names only.
// Tests: tests/builtins/extended_lists_test.cpp, tests/lisp/extended-lists/.
#pragma once

#include "core/cell.h"

namespace vlisp {

Cell member(Arguments arguments);
Cell reverse(Arguments arguments);
Cell last(Arguments arguments);
Cell vlRemove(Arguments arguments);
Cell vlRemoveNth(Arguments arguments);
Cell vlRemoveIf(Arguments arguments);

}  // namespace vlisp
