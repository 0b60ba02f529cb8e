// UTF-8 and UTF-16. See text.h.
#include "platform/text.h"

#include <iterator>
#include <utf8.h>

namespace vlisp::platform {

std::u16string fromUtf8(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const auto invalid = utf8::find_invalid(bytes.begin(), bytes.end());
        utf8::unchecked::utf8to16(bytes.begin(), invalid, std::back_inserter(text));
        bytes.remove_prefix(static_cast<std::size_t>(invalid - bytes.begin()));
        if (bytes.empty()) break;
        text.push_back(static_cast<unsigned char>(bytes.front()));
        bytes.remove_prefix(1);
    }
    return text;
}

std::string toUtf8(std::u16string_view text) {
    constexpr char32_t replacement = 0xfffd;
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (point >= 0xd800 && point < 0xe000) {
            const bool pair = point < 0xdc00 && i + 1 < text.size() && text[i + 1] >= 0xdc00 &&
                              text[i + 1] < 0xe000;
            point = pair ? 0x10000 + ((point - 0xd800) << 10) + (text[++i] - 0xdc00u) : replacement;
        }
        utf8::unchecked::append(point, std::back_inserter(bytes));
    }
    return bytes;
}

}  // namespace vlisp::platform
