// String functions. Positions and lengths count UTF-16 code units.
// One idea: a string is a slice of a shared buffer, so a part is a narrower slice and a text built
// up piece by piece grows in place.
// Tests: tests/builtins/strings_test.cpp, tests/lisp/strings/.
#pragma once

#include "core/cell.h"

namespace vlisp {

Cell strcatOf(Arguments arguments);
Cell substr(Arguments arguments);
Cell strlenOf(Arguments arguments);
Cell strcase(Arguments arguments);
Cell wcmatch(Arguments arguments);
Cell itoa(Arguments arguments);
Cell atoi(Arguments arguments);

}  // namespace vlisp
