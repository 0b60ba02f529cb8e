// Tests of core/printer.h.
#include "core/printer.h"

#include "core/environment.h"
#include "core/reader.h"
#include "platform/text.h"
#include "tests/support/comma_locale.h"

#include <gtest/gtest.h>
#include <limits>
#include <sstream>

namespace vlisp {
namespace {

using platform::toUtf8;

Cell anyBuiltin(Arguments) { return NilCell; }

std::string printed(const Cell& cell) { return toUtf8(PrintCell(cell)); }

struct BaseForTest {
    explicit BaseForTest(std::uint32_t base) : before(EntityNameBase) { EntityNameBase = base; }
    ~BaseForTest() { EntityNameBase = before; }
    BaseForTest(const BaseForTest&) = delete;
    BaseForTest& operator=(const BaseForTest&) = delete;
    std::uint32_t before;
};

TEST(Printer, PrintsEachType) {
    const Cell lambda = Cell::lambda(Parse(u"(LAMBDA (X) X)").itemSlice(), nullptr, {});
    const Cell function = Cell::lambda(Parse(u"(LAMBDA (X) X)").itemSlice(), nullptr, intern(u"F"));
    const struct {
        Cell cell;
        std::string text;
    } rows[] = {
        {Cell::integer(0), "0"},
        {Cell::integer(-7), "-7"},
        {Cell::integer(std::numeric_limits<std::int32_t>::min()), "-2147483648"},
        {Cell::integer(2147483647), "2147483647"},
        {Cell::integer(3, intern(u"other")), "3"},
        {Cell::real(2), "2.000"},
        {Cell::string(u"a \"b\" \\n"), "\"a \"b\" \\n\""},
        {Cell::string(u""), "\"\""},
        {Cell::string(u"nil"), "\"nil\""},
        {Cell::symbol(u"MixedCase"), "MixedCase"},
        {Cell(), ""},
        {NilCell, "nil"},
        {TrueCell, "T"},
        {lambda, ""},
        {function, "F"},
        {Cell::builtin(anyBuiltin), "<Proc>"},
        {Cell::list({}), "()"},
        {Cell::list({Cell::integer(1), DotCell, Cell::integer(2)}), "(1 . 2)"},
        {Cell::list({Cell::list({}), Cell::list({Cell::list({})})}), "(() (()))"},
        {Parse(u"(1 (2 3) \"a\")"), "(1 (2 3) \"a\")"},
    };
    for (const auto& row : rows) EXPECT_EQ(printed(row.cell), row.text) << dumpCell(row.cell);
}

TEST(Printer, RealsHaveThreeRoundedDecimals) {
    const struct {
        double value;
        std::string text;
    } rows[] = {
        {2.5, "2.500"},
        {1.23456, "1.235"},
        {0.0004, "0.000"},
        {0.0006, "0.001"},
        {-1.0, "-1.000"},
        {-0.0, "-0.000"},
        {-0.0004, "-0.000"},
        {0.0625, "0.062"},  // exactly between: to even
        {0.1875, "0.188"},
        {1.0005, "1.000"},  // a little less than it looks
        {999999.9996, "1000000.000"},
        {1e22, "10000000000000000000000.000"},
        {std::numeric_limits<double>::infinity(), "inf"},
        {-std::numeric_limits<double>::infinity(), "-inf"},
        {std::numeric_limits<double>::quiet_NaN(), "nan"},
        {-std::numeric_limits<double>::quiet_NaN(), "nan"},
        {std::numeric_limits<double>::denorm_min(), "0.000"},
    };
    for (const auto& row : rows) EXPECT_EQ(printed(Cell::real(row.value)), row.text);
    EXPECT_EQ(printed(Cell::real(std::numeric_limits<double>::max())).size(), 309U + 4U);
    EXPECT_EQ(printed(Cell::real(-std::numeric_limits<double>::max())).size(), 1U + 309U + 4U);
}

TEST(Printer, RealsHaveAsManyDecimalsAsAreAskedFor) {
    const auto decimals = [](double value, int count) {
        std::u16string out;
        printReal(out, value, count);
        return toUtf8(out);
    };
    const struct {
        double value;
        std::string text;
    } rows[] = {
        {0, "0.0000"},
        {2.5, "2.5000"},
        {-2.5, "-2.5000"},
        {1.23456, "1.2346"},
        {0.00004, "0.0000"},
        {0.00006, "0.0001"},
        {-0.00004, "-0.0000"},
        {0.03125, "0.0312"},  // exactly between: to even
        {0.09375, "0.0938"},
        {9.99996, "10.0000"},
        {1e22, "10000000000000000000000.0000"},
        {std::numeric_limits<double>::infinity(), "inf"},
        {-std::numeric_limits<double>::infinity(), "-inf"},
        {std::numeric_limits<double>::quiet_NaN(), "nan"},
        {-std::numeric_limits<double>::quiet_NaN(), "nan"},
    };
    for (const auto& row : rows) EXPECT_EQ(decimals(row.value, 4), row.text);
    EXPECT_EQ(decimals(2.5, 0), "2");
    EXPECT_EQ(decimals(0.1, 15), "0.100000000000000");
    const double largest = -std::numeric_limits<double>::max();
    EXPECT_EQ(decimals(largest, 4).size(), 1U + 309U + 5U);
    EXPECT_EQ(decimals(largest, 15).size(), 1U + 309U + 16U);
}

TEST(Printer, EntityNamesAddTheBaseIn32Bits) {
    const struct {
        std::uint32_t base;
        std::u16string_view id;
        std::string text;
    } rows[] = {
        {5'000'000, u"7", "<Entity name: 4c4b47>"},
        {0, u"0", "<Entity name: 0>"},
        {0, u"255", "<Entity name: ff>"},
        {0xffffffff, u"7", "<Entity name: 6>"},
        {1, u"2147483647", "<Entity name: 80000000>"},
        {0, u"-1", "<Entity name: ffffffff>"},
        {2, u"-1", "<Entity name: 1>"},
        {0, u"99999999999", "<Entity name: 7fffffff>"},
        {16, u"", "<Entity name: 10>"},
        {16, u"x", "<Entity name: 10>"},
    };
    for (const auto& row : rows) {
        const BaseForTest base(row.base);
        EXPECT_EQ(printed(Cell::make(CellType::EntityName, row.id)), row.text);
    }
}

TEST(Printer, SelectionSetsDoNotAddTheBase) {
    const BaseForTest base(5'000'000);
    EXPECT_EQ(printed(Cell::make(CellType::SelectionSet, u"31")), "<Selection set: 1f>");
    EXPECT_EQ(printed(Cell::make(CellType::SelectionSet, u"-1")), "<Selection set: ffffffff>");
}

TEST(Printer, OneBlankGoesAtTheEndOfAList) {
    const Cell none;
    const Cell a = Cell::symbol(u"A");
    const Cell lambda = Cell::lambda({}, nullptr, {});
    EXPECT_EQ(printed(Cell::list({a, none})), "(A )");
    EXPECT_EQ(printed(Cell::list({a, lambda})), "(A )");
    EXPECT_EQ(printed(Cell::list({none, a})), "( A)");
    EXPECT_EQ(printed(Cell::list({none})), "()");
    EXPECT_EQ(printed(Cell::list({none, none})), "( )");
    EXPECT_EQ(printed(Cell::list({Cell::list({none}), a})), "(() A)");
    EXPECT_EQ(printed(Cell::list({Cell::symbol(u"B "), Cell::symbol(u"C ")})), "(B  C )");
}

TEST(Printer, AppendsToWhatIsThere) {
    std::u16string out = u"x ";
    printTo(out, Cell::list({}));
    printTo(out, Parse(u"(1 \"a\")"));
    printInteger(out, -9223372036854775807);
    printReal(out, 0.5);
    EXPECT_EQ(toUtf8(out), "x ()(1 \"a\")-92233720368547758070.500");
}

TEST(PointText, JoinsTwoOrThreeCoordinates) {
    const struct {
        std::u16string_view source;
        std::string text;
    } rows[] = {
        {u"(1.5 2 0.0)", "1.500,2,0.000"},
        {u"(1 2)", "1,2"},
        {u"(\"a\" (1 2))", "\"a\",(1 2)"},
        {u"(1 . 2)", "1,.,2"},
        {u"(1 2 3 4)", "nil"},
        {u"(1)", "nil"},
        {u"()", "nil"},
        {u"5", "nil"},
        {u"\"1,2\"", "nil"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(toUtf8(PointText(Parse(row.source))), row.text) << toUtf8(row.source);
    EXPECT_EQ(PointText(Cell::list({Cell(), Cell()})), u",");
    // A Lambda has items too, but is no list.
    EXPECT_EQ(PointText(Cell::lambda(Parse(u"(1 2)").itemSlice(), nullptr, {})), u"nil");
}

TEST(CellText, IsTheTextAsItIsStored) {
    EXPECT_EQ(CellText(NilCell), u"nil");
    EXPECT_EQ(CellText(Cell::string(u"a \"b")), u"a \"b");
    EXPECT_EQ(CellText(Parse(u"12")), u"");
    EXPECT_EQ(CellText(Parse(u"1.5")), u"");
    EXPECT_EQ(CellText(Cell::integer(0, intern(u"0"))), u"0");
    EXPECT_EQ(CellText(Cell::make(CellType::EntityName, u"42")), u"42");
    EXPECT_EQ(CellText(Cell::lambda({}, nullptr, intern(u"F"))), u"F");
    EXPECT_EQ(CellText(Parse(u"(1 2)")), u"");
}

TEST(Printer, PrintsTheSameUnderEveryLocale) {
    const test::CommaLocale foreign;
    std::ostringstream shown;
    shown << 1234.5;
    const std::string list = printed(Parse(u"(1234567 1234567.5 -0.25)"));
    const std::string point = toUtf8(PointText(Parse(u"(1.5 2000)")));
    ASSERT_EQ(shown.str(), "1.234,5");
    EXPECT_EQ(list, "(1234567 1234567.500 -0.250)");
    EXPECT_EQ(point, "1.500,2000");
}

}  // namespace
}  // namespace vlisp
