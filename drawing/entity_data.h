// Entity data lists: an entity as a list of group codes and values.
// One idea: dotted pairs for single values, plain lists for points, in the order of the kind's
// table (entity_fields.h).
// Tests: tests/drawing/entity_data_test.cpp, tests/lisp/drawing/.
#pragma once

#include "builtins/registry.h"

#include <cstdint>

namespace vlisp {

/// The dotted pair (code . value).
[[nodiscard]] Cell groupEntry(std::int32_t code, Cell value);

Cell entget(Arguments arguments);

}  // namespace vlisp
