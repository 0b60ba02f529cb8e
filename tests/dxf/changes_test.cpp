// Tests of refhost/dxf/changes.h.
#include "refhost/dxf/changes.h"

#include "tests/dxf/dxf_text.h"

#include <cmath>
#include <random>

namespace vlisp::refhost::dxf {
namespace {

using namespace test;

Style styleOf(std::string_view bytes, const Style& otherwise = {}) {
    const Opening opening = openingOf(bytes);
    return Style::of(bytes, opening.form, {opening.begin, bytes.size()}, otherwise);
}

Value valueIn(const std::string& bytes, Form form, std::uint64_t begin) {
    PairReader reader(bytes, form, begin, bytes.size());
    Pair pair;
    EXPECT_TRUE(reader.next(pair));
    return {bytes, form, pair};
}

// --- The style ----------------------------------------------------------------------------------

TEST(Style, IsThatOfThePairs) {
    const std::string narrow = dxf("0 LINE|62 5|10 1.5", plain);
    const Style style = styleOf(narrow);
    EXPECT_EQ(style.lineEnd, "\n");
    EXPECT_FALSE(style.paddedCodes);
    EXPECT_FALSE(style.paddedNumbers);
    EXPECT_EQ(style.real, "1.5");
    const std::string wide = dxf("0 LINE|62 5|10 1.500", padded);
    const Style wideStyle = styleOf(wide);
    EXPECT_EQ(wideStyle.lineEnd, "\r\n");
    EXPECT_TRUE(wideStyle.paddedCodes);
    EXPECT_TRUE(wideStyle.paddedNumbers);
    EXPECT_EQ(wideStyle.real, "1.500");
    EXPECT_EQ(styleOf(dxf("0 LINE", windows)).lineEnd, "\r\n");
    EXPECT_EQ(styleOf(dxf("0 LINE|62 5", binary)).form, Form::binary);
    EXPECT_EQ(styleOf(dxf("0 LINE|62 5", shortBinary)).form, Form::binaryShortCodes);
}

TEST(Style, WhatPairsDoNotShowIsAsElsewhere) {
    const std::string whole = dxf("0 LINE|62 5|10 1.500", padded);
    const Style file = styleOf(whole);
    const Style style = styleOf("  0\nLINE\n", file);
    EXPECT_EQ(style.lineEnd, "\n");
    EXPECT_TRUE(style.paddedCodes);
    EXPECT_TRUE(style.paddedNumbers);
    EXPECT_EQ(style.real, "1.500");
    EXPECT_EQ(styleOf("100\nAcDbLine", file).lineEnd, "\r\n") << "a last line may lack its end";
    EXPECT_TRUE(styleOf("100\nAcDbLine\n", file).paddedCodes) << "wide codes show nothing";
}

// --- New pairs ----------------------------------------------------------------------------------

TEST(NewPairs, LookLikeThoseAround) {
    for (const Look& look : {plain, windows, padded, binary, shortBinary}) {
        const std::string around = dxf("0 LINE|62 5|90 4|10 1.500", look);
        const Style style = styleOf(around);
        std::string out;
        appendText(out, style, 8, "A");
        appendText(out, style, 1001, "APP");
        appendText(out, style, 1, "");
        appendReal(out, style, 20, 2.5);
        appendReal(out, style, 1040, -3);
        appendInteger(out, style, 70, 7);
        appendInteger(out, style, 370, -3);
        appendInteger(out, style, 90, 123456);
        appendInteger(out, style, 1071, 65536);
        std::string wanted =
            dxf("8 A|1001 APP|1 |20 2.500|1040 -3.000|70 7|370 -3|90 123456|1071 65536", look);
        if (look.form != Form::text) wanted.erase(0, binaryMark.size());
        EXPECT_EQ(out, wanted);
    }
}

TEST(NewPairs, RealsWithoutAnExampleHaveAPoint) {
    std::string out;
    appendReal(out, Style{}, 40, 2);
    EXPECT_EQ(out, "40\n2.0\n");
}

TEST(NewPairs, BinaryNumbersOfEverySize) {
    Style style;
    style.form = Form::binary;
    std::string out;
    for (const auto& [code, number] : std::vector<std::pair<int, std::int64_t>>{
             {70, -32768}, {90, -2147483648LL}, {160, 4611686018427387904LL}, {290, 1}})
        appendInteger(out, style, code, number);
    EXPECT_EQ(std::string(binaryMark) + out,
              dxf("70 -32768|90 -2147483648|160 4611686018427387904|290 1", binary));
}

// --- Changed numbers ----------------------------------------------------------------------------

TEST(ChangedNumber, ResemblesWhatStoodThere) {
    const struct {
        const char* old;
        double number;
        const char* changed;
    } cases[] = {
        {"12.500000", 13, "13.000000"},
        {"12.500000", 13.25, "13.250000"},
        {"12.500000", -0.5, "-0.500000"},
        {"0.0", 5, "5.0"},
        {"0.0", 0.1, "0.1"},
        {"12.5", 13, "13.0"},
        {"12", 13, "13"},
        {"12", 13.5, "13.5"},
        {"12", -7, "-7"},
        {"12.", 13, "13."},
        {"12.50", 1.0 / 3, "0.3333333333333333"},
        {"0.3333333333333333", 2, "2.0"},
        {"0.12345", 0.000125, "0.000125"},
        {"1.00", 1e6, "1000000.00"},
        {"1.500000E+01", 2.5, "2.500000E+00"},
        {"1.5e+01", 25, "2.5e+01"},
        {"  12.50", 3, "   3.00"},
        {"  12.50", 123456.25, "123456.25"},
    };
    for (const auto& one : cases) {
        const std::string bytes = std::string("10\n") + one.old + "\n";
        EXPECT_EQ(realLike(valueIn(bytes, Form::text, 0), Form::text, 10, one.number), one.changed)
            << one.old << " -> " << one.number;
    }
}

TEST(ChangedNumber, NeverLosesADigit) {
    std::mt19937_64 random(11);
    for (const char* old :
         {"0", "0.0", "1.", "12.500000", "1.5E+00", "1.500000e-03", "   1.50", "-1"}) {
        const std::string bytes = std::string("10\n") + old + "\n";
        const Value value = valueIn(bytes, Form::text, 0);
        for (int i = 0; i < 3000; ++i) {
            const std::uint64_t bits = random();
            double number = 0;
            std::memcpy(&number, &bits, sizeof number);
            if (!std::isfinite(number)) continue;
            const std::string text = realLike(value, Form::text, 10, number);
            EXPECT_EQ(numberOf(text), number) << old << " -> " << text;
            EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
        }
    }
}

TEST(ChangedNumber, WholeNumbersKeepTheirWidth) {
    const struct {
        const char* old;
        std::int64_t number;
        const char* changed;
    } cases[] = {
        {"1", 2, "2"},
        {"     1", 2, "     2"},
        {"     1", 12345, " 12345"},
        {"     1", -1, "    -1"},
        {"     1", 1234567, "1234567"},
        {"        5", 6, "        6"},
        {"7", 256, "256"},
    };
    for (const auto& one : cases) {
        const std::string bytes = std::string("70\n") + one.old + "\n";
        EXPECT_EQ(integerLike(valueIn(bytes, Form::text, 0), Form::text, 70, one.number),
                  one.changed);
    }
}

TEST(ChangedNumber, OfTheBinaryFormsAreAsLong) {
    for (const Look& look : {binary, shortBinary}) {
        const std::string bytes = dxf("10 1.5", look);
        const std::string changed = realLike(valueIn(bytes, look.form, 22), look.form, 10, 0.1);
        std::string wanted;
        appendNumber(wanted, 0.1);
        EXPECT_EQ(changed, wanted);
        const std::string flags = dxf("70 1", look);
        wanted.clear();
        appendNumber(wanted, std::int16_t{-2});
        EXPECT_EQ(integerLike(valueIn(flags, look.form, 22), look.form, 70, -2), wanted);
    }
}

TEST(ChangedNumber, TakesNoHeedOfTheLocale) {
    const CommaLocale comma;
    const std::string bytes = "10\n12.500000\n";
    EXPECT_EQ(realLike(valueIn(bytes, Form::text, 0), Form::text, 10, 12345.5), "12345.500000");
    std::string out;
    appendReal(out, Style{}, 40, 1234567.25);
    appendInteger(out, Style{}, 1071, 1234567);
    EXPECT_EQ(out, "40\n1234567.25\n1071\n1234567\n");
}

// --- The changed file ---------------------------------------------------------------------------

TEST(ChangedBytes, AreTheOldOnesWithPiecesReplaced) {
    EXPECT_EQ(ChangedBytes("", {}).joined(), "");
    EXPECT_TRUE(ChangedBytes("", {}).pieces().empty());
    EXPECT_EQ(ChangedBytes("abc", {}).joined(), "abc");
    EXPECT_EQ(ChangedBytes("", {{{0, 0}, "new"}}).joined(), "new");
    EXPECT_EQ(ChangedBytes("abcdef", {{{0, 0}, "<"}, {{1, 3}, "BC"}, {{3, 4}, ""}, {{6, 6}, ">"}})
                  .joined(),
              "<aBCef>");
    EXPECT_EQ(ChangedBytes("ab", {{{1, 1}, "1"}, {{1, 1}, "2"}, {{1, 2}, "3"}}).joined(), "a123");
    EXPECT_EQ(ChangedBytes("abc", {{{0, 3}, ""}}).joined(), "");
}

TEST(ChangedBytes, PiecesJoinedAreTheWhole) {
    const ChangedBytes bytes("abcdef", {{{2, 3}, "XYZ"}, {{5, 6}, ""}});
    std::string joined;
    for (const std::string_view piece : bytes.pieces()) {
        EXPECT_FALSE(piece.empty());
        joined += piece;
    }
    EXPECT_EQ(joined, bytes.joined());
    EXPECT_EQ(joined, "abXYZde");
}

}  // namespace
}  // namespace vlisp::refhost::dxf
