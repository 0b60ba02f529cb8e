// Selection sets: numbered collections of objects that the host keeps.
// One idea: LISP holds a set's number only; every SSGET, and every SSADD without a set, makes a new
// set, and none is ever given back.
// Tests: tests/drawing/selection_sets_test.cpp, tests/lisp/drawing/.
#pragma once

#include "builtins/registry.h"

namespace vlisp {

/// Asks the user when its first argument is not the text "X"; then it runs on a thread that
/// evaluates, never on the user interface's.
Cell ssget(Arguments arguments);
Cell ssadd(Arguments arguments);
Cell ssdel(Arguments arguments);
Cell ssname(Arguments arguments);
Cell sslength(Arguments arguments);

}  // namespace vlisp
