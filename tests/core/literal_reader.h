// The reader written down plainly: lines and parentheses looked for one after the other, all tokens
// before the first is read, lists by recursion.
// One idea: slow and obviously right, to hold core/reader.h against on texts that nobody wrote.
#pragma once

#include "core/reader.h"

#include <string_view>
#include <vector>

namespace vlisp::literal {

/// What vlisp::splitText answers.
std::vector<SourceExpression> splitText(std::u16string_view source, SplitListener* listener);

/// The tokens of a text, in order.
std::vector<std::u16string_view> tokensOf(std::u16string_view text);

/// What vlisp::Parse answers, for texts that are not deep.
Cell parse(std::u16string_view text);

}  // namespace vlisp::literal
