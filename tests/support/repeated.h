// Long texts for tests.
#pragma once

#include <string>
#include <string_view>

namespace vlisp::test {

/// `piece`, `count` times.
inline std::u16string repeated(std::u16string_view piece, std::size_t count) {
    std::u16string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i) text += piece;
    return text;
}

}  // namespace vlisp::test
