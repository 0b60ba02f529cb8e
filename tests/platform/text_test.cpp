// Tests of platform/text.h.
#include "platform/text.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vlisp::platform
