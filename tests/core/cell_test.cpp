// Tests of core/cell.h.
#include "core/cell.h"

#include "core/environment.h"
#include "core/printer.h"
#include "core/reader.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vlisp {
namespace {

Cell probe(Arguments) { return TrueCell; }

TEST(Cell, AFreshCellIsASymbolWithEmptyText) {
    const Cell cell;
    EXPECT_EQ(cell.type(), CellType::Symbol);
    EXPECT_EQ(cell.text(), u"");
    EXPECT_EQ(cell.intValue(), 0);
    EXPECT_EQ(cell.realValue(), 0.0);
    EXPECT_TRUE(cell.items().empty());
    EXPECT_EQ(cell.proc(), nullptr);
    EXPECT_EQ(cell.env(), nullptr);
}

TEST(Cell, TypesAreNumberedAsTheHostKnowsThem) {
    const CellType inOrder[] = {CellType::Symbol, CellType::Integer,    CellType::Real,
                                CellType::String, CellType::List,       CellType::Proc,
                                CellType::Lambda, CellType::EntityName, CellType::SelectionSet};
    std::uint32_t tag = 0;
    for (const CellType type : inOrder) EXPECT_EQ(static_cast<std::uint32_t>(type), tag++);
}

TEST(Cell, ConstantsAreSymbolsWithNothingButTheirText) {
    const struct {
        const Cell& cell;
        std::u16string_view text;
    } rows[] = {{NilCell, u"nil"}, {FalseCell, u"nil"}, {TrueCell, u"T"}, {DotCell, u"."}};
    for (const auto& [cell, text] : rows) {
        EXPECT_EQ(cell.type(), CellType::Symbol);
        EXPECT_EQ(cell.text(), text);
        EXPECT_TRUE(cell.items().empty());
        EXPECT_EQ(cell.proc(), nullptr);
        EXPECT_EQ(cell.env(), nullptr);
        EXPECT_EQ(cell.intValue(), 0);
        EXPECT_EQ(cell.realValue(), 0.0);
    }
}

TEST(Cell, OnlyTheExactTextNilIsFalse) {
    const struct {
        Cell cell;
        bool isFalse;
    } rows[] = {
        {NilCell, true},
        {FalseCell, true},
        {Cell::symbol(u"nil"), true},
        {Cell::string(u"nil"), true},
        {Cell::make(CellType::EntityName, u"nil"), true},
        {Cell::make(CellType::Lambda, u"nil"), true},
        {Cell::integer(5, intern(u"nil")), true},
        {TrueCell, false},
        {Cell::symbol(u"NIL"), false},
        {Cell::string(u"NIL"), false},
        {Cell::string(u"nil "), false},
        {Cell::string(u"ni"), false},
        {Cell::string(u""), false},
        {Cell(), false},
        {Cell::integer(0), false},
        {Cell::real(0.0), false},
        {Cell::list({}), false},
        {Cell::list({NilCell}), false},
        {Cell::builtin(probe), false},
    };
    for (const auto& row : rows) EXPECT_EQ(IsFalse(row.cell), row.isFalse) << dumpCell(row.cell);
}

TEST(Cell, ACopiedTreeIsIndependentOfItsSource) {
    const Cell source = Parse(u"(1 (2 (3)) \"a\")");
    Cell copy = source;
    const Cell inner = copy.items()[1];
    copy = Cell::list(copy.itemSlice().withBack(Items(&inner, 1)));
    EXPECT_EQ(PrintCell(copy), u"(1 (2 (3)) \"a\" (2 (3)))");
    EXPECT_EQ(PrintCell(source), u"(1 (2 (3)) \"a\")");

    Cell otherGrowth = source;
    otherGrowth = Cell::list(otherGrowth.itemSlice().withBack(Items(&DotCell, 1)));
    EXPECT_EQ(PrintCell(copy), u"(1 (2 (3)) \"a\" (2 (3)))");
    EXPECT_EQ(PrintCell(otherGrowth), u"(1 (2 (3)) \"a\" .)");
}

TEST(Cell, AnElementOutlivesTheListItWasTakenFrom) {
    Cell list = Parse(u"((\"kept text\" 2) 3)");
    const Cell element = list.items()[0];
    list = NilCell;
    EXPECT_EQ(PrintCell(element), u"(\"kept text\" 2)");
}

TEST(Cell, AssigningACellToItselfChangesNothing) {
    Cell cell = Parse(u"(1 (2 3))");
    const Cell& same = cell;
    cell = same;
    EXPECT_EQ(PrintCell(cell), u"(1 (2 3))");
}

TEST(Cell, AMovedFromCellIsFresh) {
    Cell source = Cell::string(u"text");
    const Cell target = std::move(source);
    EXPECT_EQ(target.text(), u"text");
    EXPECT_EQ(source.type(), CellType::Symbol);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(source.text(), u"");
}

TEST(Cell, ACopiedLambdaSharesItsScope) {
    const Ref<Environment> scope = Environment::make(nullptr);
    const Cell source = Cell::lambda(Parse(u"(LAMBDA (X) X)").itemSlice(), scope.get(), {});
    const Cell copy = source;
    EXPECT_EQ(copy.env(), scope.get());
    EXPECT_EQ(copy.env(), source.env());
    scope->Bind(intern(u"LATER"), Cell::integer(7));
    EXPECT_EQ(copy.env()->find(intern(u"LATER").get())->intValue(), 7);
}

TEST(Cell, DestroyingALambdaLeavesItsScopeAlone) {
    const Ref<Environment> scope = Environment::make(nullptr);
    scope->Bind(intern(u"A"), Cell::integer(1));
    { const Cell lambda = Cell::lambda({}, scope.get(), {}); }
    EXPECT_EQ(scope->find(intern(u"A").get())->intValue(), 1);
    EXPECT_EQ(scope->references, 1U);
}

TEST(Cell, FieldsThatATypeDoesNotCarryReadAsEmptyOrZero) {
    const Cell cells[] = {
        Cell::symbol(u"A"),
        Cell::integer(5),
        Cell::real(2.5),
        Cell::string(u"s"),
        Cell::list({TrueCell}),
        Cell::builtin(probe),
        Cell::lambda(CellSlice(), nullptr, {}),
        Cell::make(CellType::EntityName, u"7"),
        Cell::make(CellType::SelectionSet, u"3"),
    };
    for (const Cell& cell : cells) {
        SCOPED_TRACE(dumpCell(cell));
        EXPECT_EQ(cell.intValue(), cell.is(CellType::Integer) ? 5 : 0);
        EXPECT_EQ(cell.realValue(), cell.is(CellType::Real) ? 2.5 : 0.0);
        EXPECT_EQ(cell.items().size(), cell.is(CellType::List) ? 1U : 0U);
        EXPECT_EQ(cell.itemSlice().size(), cell.items().size());
        EXPECT_EQ(cell.proc(), cell.is(CellType::Proc) ? &probe : nullptr);
        EXPECT_EQ(cell.env(), nullptr);
        const bool hasText = cell.is(CellType::Symbol) || cell.is(CellType::String) ||
                             cell.is(CellType::EntityName) || cell.is(CellType::SelectionSet);
        EXPECT_EQ(!cell.text().empty(), hasText);
    }
}

TEST(Cell, MakeSetsTypeAndTextAndNothingElse) {
    for (const CellType type : {CellType::Symbol, CellType::Integer, CellType::String,
                                CellType::Lambda, CellType::EntityName, CellType::SelectionSet}) {
        const Cell cell = Cell::make(type, u"12");
        EXPECT_EQ(cell.type(), type);
        EXPECT_EQ(cell.text(), u"12");
        EXPECT_EQ(cell.intValue(), 0);
        EXPECT_TRUE(cell.items().empty());
        EXPECT_EQ(cell.env(), nullptr);
    }
}

TEST(Cell, TheCommonNumberStandsForBothKinds) {
    EXPECT_EQ(Cell::integer(-7).numericValue(), -7.0);
    EXPECT_EQ(Cell::real(-7.5).numericValue(), -7.5);
    EXPECT_EQ(Cell::string(u"9").numericValue(), 0.0);
    EXPECT_TRUE(Cell::integer(1).isNumber());
    EXPECT_TRUE(Cell::real(1).isNumber());
    EXPECT_FALSE(Cell::string(u"1").isNumber());
}

TEST(Cell, TextsBecomeSymbolsWhateverTheType) {
    EXPECT_EQ(Cell::string(u"Mixed").textAsSymbol(), intern(u"Mixed"));
    EXPECT_EQ(Cell::symbol(u"A").textAsSymbol(), intern(u"A"));
    EXPECT_EQ(Cell::integer(5).textAsSymbol(), SymbolRef());
    EXPECT_EQ(Cell::string(u"A").symbolData(), nullptr);
}

TEST(Cell, OtherItemsLeaveTheRestOfALambda) {
    const Ref<Environment> scope = Environment::make(nullptr);
    const Cell lambda = Cell::lambda(Parse(u"(a b)").itemSlice(), scope.get(), intern(u"F"));
    const Cell changed = lambda.withItems(Parse(u"(c)").itemSlice());
    EXPECT_EQ(changed.type(), CellType::Lambda);
    EXPECT_EQ(changed.text(), u"F");
    EXPECT_EQ(changed.env(), scope.get());
    EXPECT_EQ(PrintCell(Cell::list(changed.itemSlice())), u"(C)");
    EXPECT_EQ(PrintCell(Parse(u"(a b)").withItems(Parse(u"(c)").itemSlice())), u"(C)");
}

TEST(Cell, NilInSourceIsTheSymbolNIL) { EXPECT_EQ(Parse(u"nil").text(), u"NIL"); }

TEST(Cell, DoublesTruncateTowardZeroAndOverflowToTheLowestInteger) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    const struct {
        double value;
        std::int32_t expected;
    } rows[] = {
        {0.0, 0},
        {2.9, 2},
        {-2.9, -2},
        {-0.9, 0},
        {2147483647.0, 2147483647},
        {2147483647.9, 2147483647},
        {2147483648.0, lowest},
        {-2147483648.0, lowest},
        {-2147483648.9, lowest},
        {-2147483649.0, lowest},
        {1e300, lowest},
        {-1e300, lowest},
        {std::numeric_limits<double>::infinity(), lowest},
        {-std::numeric_limits<double>::infinity(), lowest},
        {std::nan(""), lowest},
    };
    for (const auto& row : rows)
        EXPECT_EQ(truncatedToInteger(row.value), row.expected) << row.value;
}

TEST(Cell, ADumpNamesTheTypeAndShowsTheText) {
    EXPECT_TRUE(dumpCell(Cell::string(u"caf\u00e9")).starts_with("String \"caf\xC3\xA9\""));
    EXPECT_NE(dumpCell(Cell::integer(-3)).find("intValue -3"), std::string::npos);
    EXPECT_NE(dumpCell(Parse(u"(1 2)")).find("items 2"), std::string::npos);
}

}  // namespace
}  // namespace vlisp
