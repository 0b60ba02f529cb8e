// The prelude: the one expression that the session evaluates when it starts.
// It defines SSFILTER. Its source is prelude.lsp, which the build embeds.
#pragma once

#include <string_view>

namespace vlisp {

std::u16string_view preludeText() noexcept;

}  // namespace vlisp
