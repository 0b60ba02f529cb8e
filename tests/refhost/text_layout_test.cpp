// Tests of refhost/model/text_layout.h.
// Covers: refhost/model/text_layout.cpp.
#include "refhost/model/text_layout.h"

#include <gtest/gtest.h>
#include <random>

namespace vlisp::refhost {
namespace {

using Lines = std::vector<std::u16string>;

TEST(Text_layout, A_lines_codes_are_resolved) {
    EXPECT_EQ(plainText(u""), u"");
    EXPECT_EQ(plainText(u"plain {text} \\P ^J"), u"plain {text} \\P ^J");
    EXPECT_EQ(plainText(u"%%c12 %%P0.1 45%%d"), u"\u230012 \u00B10.1 45\u00B0");
    EXPECT_EQ(plainText(u"%%uunder%%u %%Oover%%o %%kstruck"), u"under over struck");
    EXPECT_EQ(plainText(u"100%%%"), u"100%");
    EXPECT_EQ(plainText(u"%%065%%233"), u"A\u00E9");
    EXPECT_EQ(plainText(u"%%000"), u"") << "no character";
    EXPECT_EQ(plainText(u"%%12"), u"12");
    EXPECT_EQ(plainText(u"5% %%"), u"5% %%");
    EXPECT_EQ(plainText(u"\\U+00d8\\U+2205\\u+0041\\U+12"), u"\u00D8\u2205A\\U+12");
    EXPECT_EQ(plainText(u"\\U+D83D\\U+DE00"), u"\U0001F600") << "a pair comes as two codes";
}

TEST(Text_layout, A_paragraph_has_lines) {
    EXPECT_EQ(plainLines(u""), Lines{u""});
    EXPECT_EQ(plainLines(u"a\\Pb\nc^Jd"), (Lines{u"a", u"b", u"c", u"d"}));
    EXPECT_EQ(plainLines(u"a\r\nb"), (Lines{u"a", u"b"}));
    EXPECT_EQ(plainLines(u"a\\P"), (Lines{u"a", u""}));
    EXPECT_EQ(plainLines(u"a\\pb"), Lines{u"a"}) << "a code without its end takes the rest";
}

TEST(Text_layout, Codes_of_looks_do_not_show) {
    EXPECT_EQ(
        plainLines(u"{\\fSans|b1|i0|c0|p34;bold} {\\H2.5x;\\C1;\\c255;\\T1.1;\\Q15;\\W0.8;x}"),
        Lines{u"bold x"});
    EXPECT_EQ(plainLines(u"\\A1;\\Lunder\\l \\Oover\\o \\Kstruck\\k\\pi0,l2,t4;in"),
              Lines{u"under over struckin"});
    EXPECT_EQ(plainLines(u"a\\~b"), Lines{u"a\u00A0b"});
    EXPECT_EQ(plainLines(u"\\\\ \\{ \\} \\z"), Lines{u"\\ { } z"});
    EXPECT_EQ(plainLines(u"%%d \\U+2205 ^I| ^ "), Lines{u"\u00B0 \u2205  | ^"});
    EXPECT_EQ(plainLines(u"2^x ^"), Lines{u"2^x ^"});
}

TEST(Text_layout, Stacked_texts_stand_side_by_side) {
    EXPECT_EQ(plainLines(u"1\\S1/2; 3\\S+0.1^-0.2;\\S1#4;"), Lines{u"11/2 3+0.1/-0.21/4"});
    EXPECT_EQ(plainLines(u"\\Sa\\;b;c"), Lines{u"a;bc"});
    EXPECT_EQ(plainLines(u"\\S1/2"), Lines{u"1/2"});
}

TEST(Text_layout, Any_text_has_an_end_and_is_not_longer_than_it_was) {
    std::mt19937 random(20240607);
    const std::u16string_view letters = u"\\\\{}PSH;^/#%%ud0129U+~\n x";
    for (int round = 0; round < 20'000; ++round) {
        std::u16string text;
        for (std::size_t n = random() % 24; n > 0; --n) text += letters[random() % letters.size()];
        EXPECT_LE(plainText(text).size(), text.size());
        const Lines lines = plainLines(text);
        ASSERT_FALSE(lines.empty());
        std::size_t size = lines.size() - 1;
        for (const auto& line : lines) size += line.size();
        EXPECT_LE(size, text.size());
    }
}

}  // namespace
}  // namespace vlisp::refhost
