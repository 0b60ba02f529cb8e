// List functions: taking lists apart, putting them together, comparing, looking up.
// One idea: a list is a cell with items, and an atom is read as one without any.
// Tests: tests/builtins/lists_test.cpp, tests/lisp/lists/.
#pragma once

#include "core/cell.h"

namespace vlisp {

Cell append(Arguments arguments);
Cell car(Arguments arguments);
Cell cdr(Arguments arguments);
Cell cons(Arguments arguments);
Cell length(Arguments arguments);
Cell list(Arguments arguments);
Cell nullp(Arguments arguments);
Cell listp(Arguments arguments);
Cell equal(Arguments arguments);
Cell eq(Arguments arguments);
Cell notEqual(Arguments arguments);
Cell cadr(Arguments arguments);
Cell assoc(Arguments arguments);
Cell nth(Arguments arguments);
Cell subst(Arguments arguments);

/// EQUAL of two values: the first decides whether numbers, texts or lists are compared.
[[nodiscard]] bool equalCells(const Cell& a, const Cell& b);

}  // namespace vlisp
