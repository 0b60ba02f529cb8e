// Entity modification: a data list written back into the object that it names.
// One idea: the points are what the list says, in its order; every other member is what the last
// entry for it says. On purpose: bulges are appended to those that the polyline already has.
// Tests: tests/drawing/entity_modification_test.cpp, tests/lisp/drawing/.
#pragma once

#include "builtins/registry.h"

namespace vlisp {

Cell entmod(Arguments arguments);

}  // namespace vlisp
