// Tests of builtins/strings.h: what does not fit into a line of LISP.
#include "builtins/strings.h"

#include "core/heap.h"
#include "core/printer.h"
#include "core/reader.h"
#include "tests/support/cells.h"

#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace vlisp {
namespace {

using test::call;
using test::greatest;
using test::isNil;
using test::least;
using test::text;
using test::whole;

// One of every type but String.
std::vector<Cell> nonTexts() {
    return {Cell(),
            NilCell,
            TrueCell,
            Cell::symbol(u"ABC"),
            whole(5),
            Cell::real(1.5),
            Cell::list({text(u"abc")}),
            Cell::builtin(&strlenOf),
            Cell::lambda({}, nullptr, intern(u"F")),
            Cell::make(CellType::EntityName, u"7"),
            Cell::make(CellType::SelectionSet, u"3")};
}

TEST(Strings, WantATextWhereTheySay) {
    for (const Cell& other : nonTexts()) {
        SCOPED_TRACE(dumpCell(other));
        EXPECT_TRUE(isNil(call(substr, {other, whole(1)})));
        EXPECT_TRUE(isNil(call(strlenOf, {other})));
        EXPECT_TRUE(isNil(call(strcase, {other})));
        EXPECT_TRUE(isNil(call(wcmatch, {other, text(u"*")})));
        EXPECT_TRUE(isNil(call(wcmatch, {text(u""), other})));
        EXPECT_TRUE(isNil(call(atoi, {other})));
        if (!other.is(CellType::Integer)) {
            EXPECT_TRUE(isNil(call(itoa, {other})));
        }
    }
    EXPECT_TRUE(isNil(call(itoa, {text(u"5")})));
}

TEST(Strings, StrcatPrintsWhatIsNoText) {
    EntityNameBase = 5'000'000;
    EXPECT_EQ(call(strcatOf, {}).text(), u"");
    EXPECT_TRUE(call(strcatOf, {}).is(CellType::String));
    EXPECT_EQ(call(strcatOf, {Cell::make(CellType::EntityName, u"7"), text(u"|"),
                              Cell::make(CellType::SelectionSet, u"26")})
                  .text(),
              u"<Entity name: 4c4b47>|<Selection set: 1a>");
    EXPECT_EQ(call(strcatOf, {Cell::list({text(u"a"), whole(1)}), Cell::real(2.5), NilCell}).text(),
              u"(\"a\" 1)2.500nil");
}

TEST(Strings, JoiningPieceByPieceIsLinear) {
    constexpr std::size_t count = 20'000;
    const std::uint64_t before = heap::statistics().elementsCopied;
    Cell joined = text(u"");
    for (std::size_t i = 0; i < count; ++i) joined = call(strcatOf, {joined, text(u"ab")});
    EXPECT_EQ(joined.text().size(), 2 * count);
    EXPECT_LT(heap::statistics().elementsCopied - before, 20u * count);
    // A part is a narrower view of the same units.
    const std::uint64_t joinedBefore = heap::statistics().elementsCopied;
    for (std::size_t i = 1; i <= count; ++i)
        EXPECT_EQ(call(substr, {joined, whole(static_cast<std::int32_t>(i)), whole(1)}).text(),
                  i % 2 == 1 ? u"a" : u"b");
    EXPECT_LT(heap::statistics().elementsCopied - joinedBefore, 2u * count);
}

TEST(Strings, TwoJoinsOfTheSameFrontStayApart) {
    const Cell front = call(strcatOf, {text(u"x"), text(u"y")});
    const Cell a = call(strcatOf, {front, text(u"1")});
    const Cell b = call(strcatOf, {front, text(u"2")});
    EXPECT_EQ(front.text(), u"xy");
    EXPECT_EQ(a.text(), u"xy1");
    EXPECT_EQ(b.text(), u"xy2");
}

// SUBSTR held against a literal twin that clamps in plain 64-bit numbers.
TEST(Strings, SubstrHoldsPositionsToTheText) {
    const std::u16string whole6 = u"abcdef";
    const std::vector<std::int32_t> positions{least, -7, -1,           0,       1, 2, 5, 6, 7,
                                              8,     99, greatest - 1, greatest};
    for (const std::int32_t start : positions) {
        const std::int64_t from = std::min<std::int64_t>(std::max<std::int64_t>(start, 1), 7) - 1;
        EXPECT_EQ(call(substr, {text(whole6), whole(start)}).text(),
                  whole6.substr(static_cast<std::size_t>(from)))
            << start;
        for (const std::int32_t length : positions) {
            const auto count = static_cast<std::size_t>(std::max<std::int32_t>(length, 0));
            EXPECT_EQ(call(substr, {text(whole6), whole(start), whole(length)}).text(),
                      whole6.substr(static_cast<std::size_t>(from), count))
                << start << " " << length;
        }
    }
}

TEST(Strings, SubstrCutsUnitsNotCharacters) {
    const std::u16string face = u"\U0001F600";
    ASSERT_EQ(face.size(), 2u);
    EXPECT_EQ(call(substr, {text(face), whole(2)}).text(), face.substr(1));
    EXPECT_EQ(call(strlenOf, {text(face)}).intValue(), 2);
}

TEST(Strings, StrcaseChangesAsciiLettersAlone) {
    std::u16string every;
    for (char16_t unit = 1; unit < 0x300; ++unit) every += unit;
    const Cell upper = call(strcase, {text(every)});
    const Cell lower = call(strcase, {text(every), TrueCell});
    ASSERT_EQ(upper.text().size(), every.size());
    ASSERT_EQ(lower.text().size(), every.size());
    for (std::size_t i = 0; i < every.size(); ++i) {
        const char16_t unit = every[i];
        const bool isUpper = unit >= u'A' && unit <= u'Z';
        const bool isLower = unit >= u'a' && unit <= u'z';
        EXPECT_EQ(upper.text()[i], isLower ? unit - 32 : unit);
        EXPECT_EQ(lower.text()[i], isUpper ? unit + 32 : unit);
    }
}

TEST(Strings, StrcaseDecidesByTheTextOfItsFlag) {
    for (const Cell& flag :
         {TrueCell, text(u"T"), Cell::symbol(u"T"), Cell::make(CellType::EntityName, u"T"),
          Cell::lambda({}, nullptr, intern(u"T"))})
        EXPECT_EQ(call(strcase, {text(u"aGe"), flag}).text(), u"age") << dumpCell(flag);
    for (const Cell& flag : {NilCell, text(u"t"), text(u""), text(u"T "), whole(1), Cell::real(1),
                             Cell::list({TrueCell}), Cell::builtin(&strcase)})
        EXPECT_EQ(call(strcase, {text(u"aGe"), flag}).text(), u"AGE") << dumpCell(flag);
}

TEST(Strings, AtoiSkipsEveryWhiteSpaceAndTakesOneSign) {
    for (const char16_t space : {u' ', u'\t', u'\n', u'\v', u'\f', u'\r'})
        EXPECT_EQ(call(atoi, {text(std::u16string(3, space) + u"-42")}).intValue(), -42)
            << static_cast<int>(space);
    EXPECT_EQ(call(atoi, {text(u"- 42")}).intValue(), 0);
    EXPECT_EQ(call(atoi, {text(u"+-42")}).intValue(), 0);
    EXPECT_EQ(call(atoi, {text(u"x42")}).intValue(), 0);
    EXPECT_EQ(call(atoi, {text(std::u16string(u"4\0002", 3))}).intValue(), 4);
}

TEST(Strings, AtoiReadsBackWhatItoaWrites) {
    std::mt19937 random(20'26);
    std::vector<std::int32_t> values{least, least + 1, -1, 0, 1, greatest - 1, greatest};
    for (int i = 0; i < 2000; ++i) values.push_back(static_cast<std::int32_t>(random()));
    for (const std::int32_t value : values) {
        const Cell written = call(itoa, {whole(value)});
        ASSERT_TRUE(written.is(CellType::String));
        const std::string digits = std::to_string(value);
        EXPECT_EQ(written.text(), std::u16string(digits.begin(), digits.end()));
        const Cell read = call(atoi, {written});
        ASSERT_TRUE(read.is(CellType::Integer));
        EXPECT_EQ(read.intValue(), value);
    }
}

TEST(Strings, AtoiStopsAtTheLimits) {
    EXPECT_EQ(call(atoi, {text(u"2147483648")}).intValue(), greatest);
    EXPECT_EQ(call(atoi, {text(u"-2147483649")}).intValue(), least);
    EXPECT_EQ(call(atoi, {text(std::u16string(100'000, u'9'))}).intValue(), greatest);
    EXPECT_EQ(call(atoi, {text(u"-" + std::u16string(100'000, u'9'))}).intValue(), least);
    EXPECT_EQ(call(atoi, {text(std::u16string(100'000, u'0') + u"7")}).intValue(), 7);
}

std::uint64_t allocationsOf(const std::function<Cell()>& work) {
    const std::uint64_t before = heap::statistics().allocations;
    const Cell result = work();
    return heap::statistics().allocations - before;
}

TEST(Strings, ShortResultsTakeOneAllocationOrNone) {
    const Cell name = text(u"LINE-WALLS");
    const Cell eacute = text(u"\u00e9\u00e9\u00e9");
    EXPECT_EQ(allocationsOf([&] { return call(itoa, {whole(-12345)}); }), 1U);
    EXPECT_EQ(allocationsOf([&] { return call(itoa, {whole(7)}); }), 0U);
    EXPECT_EQ(allocationsOf([&] { return call(substr, {name, whole(2), whole(1)}); }), 0U);
    EXPECT_EQ(allocationsOf([&] { return call(substr, {name, whole(2), whole(4)}); }), 0U);
    EXPECT_EQ(allocationsOf([&] { return call(substr, {eacute, whole(2), whole(1)}); }), 0U);
    EXPECT_EQ(allocationsOf([&] { return call(strcase, {name}); }), 1U);
    EXPECT_EQ(allocationsOf([&] {
                  return call(strcatOf, {name, name, name, whole(5), name});
              }),
              1U);
    EXPECT_EQ(allocationsOf([&] { return call(strcatOf, {name, whole(5)}); }), 1U);
    EXPECT_EQ(allocationsOf([&] { return call(strcatOf, {name}); }), 0U);
}

TEST(Strings, TextsOfOneUnitStayWhatTheyAreWhenTheyAreJoined) {
    for (char16_t unit = 0; unit < 0x100; ++unit) {
        const std::u16string three{u'-', unit, u'-'};
        const Cell one = call(substr, {text(three), whole(2), whole(1)});
        ASSERT_EQ(one.text(), std::u16string(1, unit));
        EXPECT_EQ(call(strcatOf, {one, text(u"b")}).text(), std::u16string({unit, u'b'}));
        EXPECT_EQ(call(strcatOf, {text(u"a"), one}).text(), std::u16string({u'a', unit}));
        EXPECT_EQ(call(strcatOf, {text(u"longer"), one, text(u"longer")}).text(),
                  u"longer" + std::u16string(1, unit) + u"longer");
        EXPECT_EQ(one.text(), std::u16string(1, unit));
    }
}

// Rows of anything, against joining what each prints, while earlier results live on and are used.
TEST(Strings, StrcatJoinsWhatItIsGiven) {
    std::mt19937 random(20'26);
    const std::vector<Cell> others{whole(least), whole(7),        Cell::real(2.5),
                                   NilCell,      Parse(u"(a 1)"), text(u"")};
    std::vector<Cell> texts{text(u"a"), text(u"bcdefgh"), text(std::u16string(70, u'z'))};
    std::vector<std::u16string> expected;
    for (const Cell& each : texts) expected.emplace_back(each.text());
    for (int i = 0; i < 20'000; ++i) {
        std::vector<Cell> arguments;
        std::u16string joined;
        for (std::size_t count = random() % 5; count > 0; --count) {
            const bool known = random() % 3 != 0;
            arguments.push_back(known ? texts[random() % texts.size()]
                                      : others[random() % others.size()]);
            const Cell& added = arguments.back();
            joined += added.is(CellType::String) ? std::u16string(added.text()) : PrintCell(added);
        }
        const Cell result = call(strcatOf, arguments);
        ASSERT_TRUE(result.is(CellType::String));
        ASSERT_EQ(result.text(), joined);
        if (joined.size() > 300) continue;
        const std::size_t place = random() % 40;
        if (place < texts.size()) {
            texts[place] = result;
            expected[place] = joined;
        } else {
            texts.push_back(result);
            expected.push_back(joined);
        }
        for (std::size_t k = 0; k < texts.size(); ++k) ASSERT_EQ(texts[k].text(), expected[k]);
    }
}

}  // namespace
}  // namespace vlisp
