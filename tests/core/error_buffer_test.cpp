// Tests of core/error_buffer.h.
#include "core/error_buffer.h"

#include <gtest/gtest.h>
#include <string>

namespace vlisp {
namespace {

TEST(ErrorBuffer, BeginsEmptyAndTerminated) {
    const ErrorBuffer error;
    EXPECT_TRUE(error.empty());
    EXPECT_EQ(error.text(), u"");
    EXPECT_EQ(error.terminated()[0], u'\0');
    EXPECT_EQ(error.reports(), 0U);
}

TEST(ErrorBuffer, WhoeverWritesOverwrites) {
    ErrorBuffer error;
    error.report(u"a long first message");
    error.report(u"second");
    EXPECT_EQ(error.text(), u"second");
    EXPECT_EQ(std::u16string_view(error.terminated()), u"second");
    EXPECT_EQ(error.reports(), 2U);
    error.clear();
    EXPECT_TRUE(error.empty());
    EXPECT_EQ(error.terminated()[0], u'\0');
    EXPECT_EQ(error.reports(), 2U);
}

TEST(ErrorBuffer, MessagesReadAsProgramsKnowThem) {
    ErrorBuffer error;
    error.reportUndefinedSymbol(u"FOO");
    EXPECT_EQ(error.text(), u";error; undefined symbol 'FOO'\n");
    error.reportUndefinedSymbol(u"");
    EXPECT_EQ(error.text(), u";error; undefined symbol ''\n");
    error.reportUndefinedSymbol(u"%s%n");
    EXPECT_EQ(error.text(), u";error; undefined symbol '%s%n'\n");
    error.reportNotAFunction();
    EXPECT_EQ(error.text(), u";error; not a function!");
}

TEST(ErrorBuffer, EveryTextBeginsTheSameWay) {
    for (const std::u16string_view text :
         {messages::undefinedSymbolBefore, messages::notAFunction, messages::tooDeep,
          messages::outOfMemory, messages::cancelled})
        EXPECT_TRUE(text.starts_with(u";error; "));
}

TEST(ErrorBuffer, CutsATextAt299Units) {
    ErrorBuffer error;
    error.report(std::u16string(299, u'x'));
    EXPECT_EQ(error.text().size(), 299U);
    error.report(std::u16string(5000, u'y'));
    EXPECT_EQ(error.text(), std::u16string(299, u'y'));
    EXPECT_EQ(error.terminated()[299], u'\0');
}

TEST(ErrorBuffer, CutsALongNameAndLosesTheEndOfTheMessage) {
    for (const std::size_t length : {272U, 273U, 299U, 300U, 301U, 100000U}) {
        ErrorBuffer error;
        const std::u16string name(length, u'N');
        error.reportUndefinedSymbol(name);
        const std::u16string whole = u";error; undefined symbol '" + name + u"'\n";
        EXPECT_EQ(error.text(), whole.substr(0, 299)) << length;
    }
}

TEST(ErrorBuffer, NeverCutsInsideASurrogatePair) {
    ErrorBuffer error;
    error.report(std::u16string(298, u'x') + u"\U0001F600" + u"tail");
    EXPECT_EQ(error.text(), std::u16string(298, u'x'));
    error.report(std::u16string(297, u'x') + u"\U0001F600" + u"tail");
    EXPECT_EQ(error.text(), std::u16string(297, u'x') + u"\U0001F600");

    std::u16string name;
    for (int i = 0; i < 200; ++i) name += u"\U0001F600";
    for (const std::u16string_view before : {u"", u"a"}) {
        error.reportUndefinedSymbol(std::u16string(before) + name);
        const char16_t last = error.text().back();
        EXPECT_TRUE(last >= 0xdc00 && last < 0xe000);
        EXPECT_GE(error.text().size(), 298U);
    }
}

TEST(ErrorBuffer, LengthThatFits) {
    const std::u16string pair = u"\U0001F600";
    const struct {
        std::u16string text;
        std::size_t room, fits;
    } rows[] = {
        {u"", 0, 0},         {u"abc", 3, 3},      {u"abc", 4, 3},
        {u"abc", 2, 2},      {u"abc", 0, 0},      {pair, 2, 2},
        {pair, 1, 0},        {pair, 0, 0},        {u"a" + pair, 2, 1},
        {pair + pair, 3, 2}, {pair + u"a", 2, 2}, {{char16_t{0xd83d}, u'a'}, 1, 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(lengthThatFits(row.text, row.room), row.fits) << row.room;
}

}  // namespace
}  // namespace vlisp
