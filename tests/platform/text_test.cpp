// Tests of platform/text.h.
#include "platform/text.h"

#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <utility>
#include <vector>

namespace vlisp::platform {
namespace {

TEST(Text, ConvertsBothWays) {
    const std::string utf8 = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80";
    EXPECT_EQ(fromUtf8(utf8), u"a\u00e9\u4e2d\U0001F600");
    EXPECT_EQ(toUtf8(fromUtf8(utf8)), utf8);
}

TEST(Text, DropsAByteOrderMarkAtTheFront) {
    EXPECT_EQ(fromUtf8("\xEF\xBB\xBF(a)"), u"(a)");
    EXPECT_EQ(fromUtf8("\xEF\xBB\xBF"), u"");
}

TEST(Text, ReadsInvalidBytesAsLatin1OneByOne) {
    EXPECT_EQ(fromUtf8("caf\xE9!"), u"caf\u00e9!");
    EXPECT_EQ(fromUtf8("\xFF\xC3"), u"\u00ff\u00c3");
    EXPECT_EQ(fromUtf8("\xC3\xA9\xE9\xC3\xA9"), u"\u00e9\u00e9\u00e9");
}

TEST(Text, ReplacesALoneSurrogateOnTheWayOut) {
    EXPECT_EQ(toUtf8(std::u16string{u'a', char16_t{0xd83d}, u'b'}), "a\xEF\xBF\xBD"
                                                                    "b");
    EXPECT_EQ(toUtf8(std::u16string{char16_t{0xde00}}), "\xEF\xBF\xBD");
}

// The character at the front of `bytes` and its length; a byte that begins none stands for itself.
std::pair<char32_t, std::size_t> firstCharacter(std::string_view bytes) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    constexpr struct {
        unsigned char mask, lead;
        char32_t least;
    } forms[] = {{0x80, 0, 0}, {0xe0, 0xc0, 0x80}, {0xf0, 0xe0, 0x800}, {0xf8, 0xf0, 0x10000}};
    for (std::size_t more = 0; more < std::size(forms) && more < bytes.size(); ++more) {
        const auto& form = forms[more];
        if ((byte(0) & form.mask) != form.lead) continue;
        char32_t point = byte(0) & static_cast<unsigned char>(~form.mask);
        bool whole = true;
        for (std::size_t i = 1; i <= more; ++i) {
            whole = whole && (byte(i) & 0xc0) == 0x80;
            point = point << 6 | (byte(i) & 0x3fU);
        }
        const bool surrogate = point >= 0xd800 && point < 0xe000;
        if (whole && point >= form.least && point <= 0x10ffff && !surrogate)
            return {point, more + 1};
    }
    return {byte(0), 1};
}

std::u16string literalFromUtf8(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    std::u16string text;
    while (!bytes.empty()) {
        const auto [point, length] = firstCharacter(bytes);
        if (point >= 0x10000) {
            text += static_cast<char16_t>(0xd800 + ((point - 0x10000) >> 10));
            text += static_cast<char16_t>(0xdc00 + ((point - 0x10000) & 0x3ff));
        } else {
            text += static_cast<char16_t>(point);
        }
        bytes.remove_prefix(length);
    }
    return text;
}

TEST(Text, IsReadAsCharacterByCharacter) {
    std::mt19937 random(20'26);
    const std::vector<std::string> pieces{"a",
                                          "bcdefgh",
                                          "ijklmnopqrstuvwx",
                                          "\xC3\xA9",
                                          "\xE4\xB8\xAD",
                                          "\xF0\x9F\x98\x80",
                                          "\xEF\xBB\xBF",
                                          "\xED\xA0\x80",
                                          "\xC0\x80",
                                          "\xF4\x90\x80\x80",
                                          "\xE4\xB8",
                                          "\xF0\x9F",
                                          "\xFF",
                                          "\x80",
                                          std::string(1, '\0')};
    for (int i = 0; i < 20'000; ++i) {
        std::string bytes;
        for (std::size_t count = random() % 12; count > 0; --count)
            bytes += random() % 8 == 0 ? std::string(1, static_cast<char>(random() % 256))
                                       : pieces[random() % pieces.size()];
        const std::u16string text = fromUtf8(bytes);
        ASSERT_EQ(text, literalFromUtf8(bytes));
        ASSERT_EQ(fromUtf8(toUtf8(u"-" + text)), u"-" + text);
    }
}

// Work that grows with the square would not come back before the test's limit of time.
TEST(Text, OfInvalidBytesIsReadInLinearTime) {
    EXPECT_EQ(fromUtf8(std::string(3'000'000, '\xFF')), std::u16string(3'000'000, u'\u00ff'));
}

}  // namespace
}  // namespace vlisp::platform
