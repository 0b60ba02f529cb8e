// The list index: long association lists that are searched again and again.
// One idea: a list never changes, so where each key stands first can be noted once; a list that is
// searched a few times more than it is long gets such a note, and the note dies with it.
// Tests: tests/builtins/list_index_test.cpp.
#pragma once

#include "core/cell.h"

namespace vlisp {

/// Number of the first element of `list` that has elements, the first of which has this integer
/// field (0 for what is no Integer); the list's length when there is none. Constant time on
/// average for a long list that is searched often, linear otherwise.
[[nodiscard]] std::size_t findByInteger(const Cell& list, std::int32_t key);

/// Called when a buffer dies that has been noted.
void forgetIndex(const Buffer<Cell>& buffer) noexcept;

}  // namespace vlisp
