// Tests of platform/text_encoding.h.
#include "platform/text_encoding.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace vlisp::platform {
namespace {

constexpr int allNumbers[] = {437,   737,   775,   850,   852,   855,   857,   858,   860,
                              861,   862,   863,   864,   865,   866,   869,   874,   932,
                              936,   949,   950,   1250,  1251,  1252,  1253,  1254,  1255,
                              1256,  1257,  1258,  1361,  10000, 20127, 28591, 28592, 28593,
                              28594, 28595, 28596, 28597, 28598, 28599, 28603, 28605};

std::u16string decodeAll(int number, std::string_view bytes) {
    std::u16string text;
    while (!bytes.empty()) {
        const CodePage::Character character = CodePage::find(number)->decodeFirst(bytes);
        text += character.unit;
        bytes.remove_prefix(character.length);
    }
    return text;
}

std::string encoded(int number, char16_t unit) {
    return std::string(CodePage::find(number)->encode(unit).view());
}

TEST(CodePage, IsFoundByItsNumberOnly) {
    for (const int number : allNumbers) {
        ASSERT_NE(CodePage::find(number), nullptr) << number;
        EXPECT_EQ(CodePage::find(number), CodePage::find(number));
    }
    EXPECT_EQ(CodePage::find(0), nullptr);
    EXPECT_EQ(CodePage::find(-1), nullptr);
    EXPECT_EQ(CodePage::find(1259), nullptr);
    EXPECT_EQ(CodePage::find(65001), nullptr);
}

// One sign of each page that the other pages of its kind do not have at that byte.
TEST(CodePage, KnowsTheSignsOfItsRegion) {
    struct Sign {
        int number;
        std::string bytes;
        char16_t unit;
    };
    const Sign signs[] = {
        {437, "\xe9", u'\u0398'},      {737, "\x80", u'\u0391'},     {775, "\x80", u'\u0106'},
        {850, "\xb5", u'\u00c1'},      {852, "\xa5", u'\u0105'},     {855, "\xa0", u'\u0430'},
        {857, "\x98", u'\u0130'},      {858, "\xd5", u'\u20ac'},     {860, "\x84", u'\u00e3'},
        {861, "\x8d", u'\u00de'},      {862, "\x80", u'\u05d0'},     {863, "\x84", u'\u00c2'},
        {864, "\xc7", u'\ufe8d'},      {865, "\x9b", u'\u00f8'},     {866, "\x80", u'\u0410'},
        {869, "\xa4", u'\u0391'},      {874, "\xa1", u'\u0e01'},     {874, "\x91", u'\u2018'},
        {932, "\x93\xfa", u'\u65e5'},  {932, "\xb1", u'\uff71'},     {936, "\xd6\xd0", u'\u4e2d'},
        {936, "\x80", u'\u20ac'},      {949, "\xb0\xa1", u'\uac00'}, {950, "\xa4\xa4", u'\u4e2d'},
        {1250, "\xb9", u'\u0105'},     {1251, "\xc0", u'\u0410'},    {1252, "\x80", u'\u20ac'},
        {1253, "\xc1", u'\u0391'},     {1254, "\xdd", u'\u0130'},    {1255, "\xe0", u'\u05d0'},
        {1256, "\xc7", u'\u0627'},     {1257, "\xe0", u'\u0105'},    {1258, "\xd0", u'\u0110'},
        {1361, "\x88\x61", u'\uac00'}, {10000, "\x8e", u'\u00e9'},   {28591, "\xe9", u'\u00e9'},
        {28592, "\xb1", u'\u0105'},    {28593, "\xa1", u'\u0126'},   {28594, "\xa2", u'\u0138'},
        {28595, "\xb0", u'\u0410'},    {28596, "\xc7", u'\u0627'},   {28597, "\xc1", u'\u0391'},
        {28598, "\xe0", u'\u05d0'},    {28599, "\xdd", u'\u0130'},   {28603, "\xe0", u'\u0105'},
        {28605, "\xa4", u'\u20ac'},
    };
    for (const Sign& sign : signs) {
        EXPECT_EQ(decodeAll(sign.number, sign.bytes), std::u16string(1, sign.unit)) << sign.number;
        EXPECT_EQ(encoded(sign.number, sign.unit), sign.bytes) << sign.number;
    }
}

TEST(CodePage, HasAsciiBelow0x80) {
    for (const int number : allNumbers) {
        for (int byte = 0; byte < 0x80; ++byte) {
            const std::string bytes(1, static_cast<char>(byte));
            const auto unit = static_cast<char16_t>(byte);
            EXPECT_EQ(decodeAll(number, bytes), std::u16string(1, unit)) << number << ' ' << byte;
            EXPECT_EQ(encoded(number, unit), bytes) << number << ' ' << byte;
        }
    }
}

TEST(CodePage, ReadsWhatIsNoCharacterAsALoneSurrogateOfTheByte) {
    EXPECT_EQ(decodeAll(1252, "a\x81z"), (std::u16string{u'a', char16_t{0xdc81}, u'z'}));
    EXPECT_EQ(encoded(1252, char16_t{0xdc81}), "\x81");
    EXPECT_EQ(encoded(1252, char16_t{0xdce9}), "");  // that byte is a letter
    EXPECT_EQ(decodeAll(20127, "\xff"), (std::u16string{char16_t{0xdcff}}));
}

TEST(CodePage, LeavesAFirstByteAloneWhoseSecondIsMissingOrWrong) {
    EXPECT_EQ(decodeAll(932, "\x93"), (std::u16string{char16_t{0xdc93}}));
    EXPECT_EQ(decodeAll(932, "\x93 \xfa"),
              (std::u16string{char16_t{0xdc93}, u' ', char16_t{0xdcfa}}));
}

TEST(CodePage, TakesABackslashAsTheSecondByteOfAPair) {
    EXPECT_EQ(decodeAll(932, "\x95\x5c\\"), u"\u8868\\");
    EXPECT_EQ(decodeAll(950, "\xb3\x5c^"), u"\u8a31^");
}

TEST(CodePage, SaysWhatItLacks) {
    EXPECT_EQ(encoded(1252, u'\u4e2d'), "");
    EXPECT_EQ(encoded(437, u'\u20ac'), "");
    EXPECT_EQ(encoded(932, char16_t{0xd83d}), "");
    EXPECT_EQ(encoded(1361, u'\u20a9'), "");  // its byte is the backslash
    EXPECT_EQ(encoded(864, u'\u066a'), "");   // its byte is the percent sign
}

// The square root stands twice in this page; the row of mathematical signs is the usual one.
TEST(CodePage, WritesTheUsualOneOfSeveralSpellings) {
    EXPECT_EQ(decodeAll(932, "\x87\x95\x81\xe3"), u"\u221a\u221a");
    EXPECT_EQ(encoded(932, u'\u221a'), "\x81\xe3");
}

TEST(CodePage, WritesEveryCharacterSoThatItIsReadBack) {
    for (const int number : allNumbers) {
        int characters = 0;
        for (unsigned unit = 0; unit < 0x10000; ++unit) {
            const std::string bytes = encoded(number, static_cast<char16_t>(unit));
            if (bytes.empty()) continue;
            ++characters;
            ASSERT_EQ(decodeAll(number, bytes), std::u16string(1, static_cast<char16_t>(unit)))
                << number << ' ' << unit;
        }
        EXPECT_GE(characters, 128 + 80) << number;
        if (number == 932 || number == 936 || number == 949 || number == 950 || number == 1361)
            EXPECT_GE(characters, 7000) << number;
        else EXPECT_LE(characters, 256) << number;
    }
}

TEST(CodePage, IsMadeOnceForAllThreads) {
    const CodePage* found[4] = {};
    {
        std::vector<std::thread> threads;
        for (const CodePage*& each : found)
            threads.emplace_back([&each] { each = CodePage::find(949); });
        for (std::thread& thread : threads) thread.join();
    }
    for (const CodePage* each : found) {
        ASSERT_NE(each, nullptr);
        EXPECT_EQ(each, found[0]);
        EXPECT_EQ(each->encode(u'\uac00').view(), "\xb0\xa1");
    }
}

}  // namespace
}  // namespace vlisp::platform
