// UTF-8 and UTF-16. See text.h.
#include "platform/text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utf8.h>

namespace vlisp::platform {
namespace {

// How many of the bytes at the front are ASCII. Looks at eight at a time.
std::size_t asciiAtFront(std::string_view bytes) noexcept {
    constexpr std::uint64_t high = 0x8080'8080'8080'8080;
    std::size_t at = 0;
    for (std::uint64_t eight = 0; at + sizeof eight <= bytes.size(); at += sizeof eight) {
        std::memcpy(&eight, bytes.data() + at, sizeof eight);
        if ((eight & high) != 0) break;
    }
    while (at < bytes.size() && static_cast<unsigned char>(bytes[at]) < 0x80) ++at;
    return at;
}

// Four ASCII characters as units.
std::uint64_t unitsOfFour(std::uint32_t bytes) noexcept {
    std::uint64_t units = bytes;
    units = (units | units << 16) & 0x0000'ffff'0000'ffff;
    return (units | units << 8) & 0x00ff'00ff'00ff'00ff;
}

// Writes ASCII as units, four at a time; answers the end of what was written.
char16_t* convertAscii(std::string_view ascii, char16_t* out) noexcept {
    constexpr std::size_t four = sizeof(std::uint32_t);
    for (; ascii.size() >= four; ascii.remove_prefix(four)) {
        std::uint32_t bytes;
        std::memcpy(&bytes, ascii.data(), sizeof bytes);
        const std::uint64_t units = unitsOfFour(bytes);
        std::memcpy(out, &units, sizeof units);
        out += four;
    }
    return std::ranges::copy(ascii, out).out;
}

// How many of the bytes at the front are not. No character has bytes of both kinds.
std::size_t othersAtFront(std::string_view bytes) noexcept {
    const auto ascii = std::ranges::find_if(
        bytes, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
    return static_cast<std::size_t>(ascii - bytes.begin());
}

// Writes the units of bytes that are not ASCII; answers the end of what was written.
char16_t* convertOthers(std::string_view bytes, char16_t* out) {
    for (;;) {
        const auto invalid = utf8::find_invalid(bytes.begin(), bytes.end());
        out = utf8::unchecked::utf8to16(bytes.begin(), invalid, out);
        if (invalid == bytes.end()) return out;
        *out++ = static_cast<unsigned char>(*invalid);
        bytes.remove_prefix(static_cast<std::size_t>(invalid - bytes.begin()) + 1);
    }
}

}  // namespace

std::u16string fromUtf8(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    std::u16string text(bytes.size(), u'\0');  // no character has more units than bytes
    char16_t* out = text.data();
    while (!bytes.empty()) {
        const std::size_t ascii = asciiAtFront(bytes);
        out = convertAscii(bytes.substr(0, ascii), out);
        bytes.remove_prefix(ascii);
        const std::size_t others = othersAtFront(bytes);
        out = convertOthers(bytes.substr(0, others), out);
        bytes.remove_prefix(others);
    }
    text.resize(static_cast<std::size_t>(out - text.data()));
    return text;
}

std::string toUtf8(std::u16string_view text) {
    constexpr char32_t replacement = 0xfffd;
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (point < 0x80) {
            bytes.push_back(static_cast<char>(point));
            continue;
        }
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
