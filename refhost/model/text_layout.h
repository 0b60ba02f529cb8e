// What the text of a TEXT or MTEXT says: codes of its notation resolved, lines apart.
// One idea: what is not understood is left out rather than shown, for a code never reads as text.
// Tests: tests/refhost/text_layout_test.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vlisp::refhost {

/// The one line of a TEXT: %%d, %%p and %%c are the signs for degrees, plus-minus and diameter,
/// %%nnn is the character of that decimal code, %%u, %%o and %%k show nothing, %% and another
/// character shows that character; \U+XXXX is the character of that hexadecimal code.
[[nodiscard]] std::u16string plainText(std::u16string_view coded);

/// The lines of an MTEXT, at least one. Beside the codes of a TEXT: \P and the line feed end a
/// line; \~ is a blank that does not break; \S stacks two texts, which stand side by side here;
/// braces and the codes for fonts, sizes, colours and the like show nothing; a backslash before a
/// backslash or a brace shows that character.
[[nodiscard]] std::vector<std::u16string> plainLines(std::u16string_view coded);

}  // namespace vlisp::refhost
