// The code cache: translations kept with the forms that they are translations of.
// One idea: a form never changes, so its code can hang on the list's buffer and die with it.
// Tests: tests/builtins/evaluator_test.cpp.
#pragma once

#include "core/code.h"

#include <functional>

namespace vlisp {

/// The code of the function whose LAMBDA form is `form`, for closures made in a scope of the shape
/// `outer` (null: the global one). Translated when it is first asked for.
Ref<Code> codeOf(const CellSlice& form, const Ref<ScopeShape>& outer);

/// Calls `visit` with each code that is kept with this buffer.
void forEachCode(const Buffer<Cell>& buffer, const std::function<void(Code&)>& visit);

/// Called when a buffer that has code dies.
void forgetCode(const Buffer<Cell>& buffer) noexcept;

}  // namespace vlisp
