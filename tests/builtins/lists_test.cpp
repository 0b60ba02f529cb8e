// Tests of builtins/lists.h: what a program cannot see in what is printed.
#include "builtins/lists.h"

#include "core/heap.h"
#include "tests/support/bare_lisp.h"
#include "tests/support/cells.h"
#include "tests/support/printed_seed.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace vlisp {
namespace {

using test::call;
using test::isNil;
using test::isTrue;
using test::numbers;
using test::printedSeed;
using test::whole;

// One of every type that is not a list, but for a function.
std::vector<Cell> atoms() {
    return {Cell(),
            NilCell,
            Cell::symbol(u"A"),
            whole(5),
            Cell::real(1.5),
            Cell::string(u"abc"),
            Cell::builtin(&car),
            Cell::make(CellType::EntityName, u"7"),
            Cell::make(CellType::SelectionSet, u"3")};
}

TEST(Lists, AnAtomIsReadAsAListWithoutElements) {
    for (const Cell& atom : atoms()) {
        SCOPED_TRACE(dumpCell(atom));
        EXPECT_TRUE(isNil(call(car, {atom})));
        EXPECT_TRUE(isNil(call(cdr, {atom})));
        EXPECT_TRUE(isNil(call(cadr, {atom})));
        EXPECT_EQ(call(length, {atom}).intValue(), 0);
        EXPECT_TRUE(call(length, {atom}).is(CellType::Integer));
        EXPECT_TRUE(isTrue(call(nullp, {atom})));
        EXPECT_TRUE(isNil(call(listp, {atom})));
        EXPECT_TRUE(isNil(call(nth, {whole(0), atom})));
        EXPECT_TRUE(isNil(call(assoc, {whole(0), atom})));
        EXPECT_TRUE(isNil(call(subst, {whole(0), atom, atom})));
        const Cell joined = call(append, {atom, Cell::list({whole(1)})});
        EXPECT_EQ(numbers(joined), std::vector<std::int32_t>{1});
        EXPECT_TRUE(isTrue(call(equal, {Cell::list({}), atom})));
        EXPECT_TRUE(isTrue(call(notEqual, {Cell::list({}), atom})));
    }
}

TEST(Lists, ConsDecidesByTheTypeOfItsSecondArgument) {
    for (const Cell& atom : atoms()) {
        const Cell pair = call(cons, {whole(1), atom});
        ASSERT_EQ(pair.items().size(), 3u) << dumpCell(atom);
        EXPECT_TRUE(pair.items()[1].is(CellType::Symbol));
        EXPECT_EQ(pair.items()[1].text(), u".");
        EXPECT_EQ(dumpCell(pair.items()[2]), dumpCell(atom));
        // CDR is the way back.
        EXPECT_EQ(dumpCell(call(cdr, {pair})), dumpCell(atom));
    }
    EXPECT_EQ(call(cons, {whole(1), Cell::list({})}).items().size(), 1u);
}

TEST(Lists, CdrComparesTheTextOfTheMiddleElementWhateverItsType) {
    for (const Cell& point :
         {DotCell, Cell::string(u"."), Cell::make(CellType::EntityName, u".")}) {
        const Cell tail = call(cdr, {Cell::list({whole(1), point, whole(3)})});
        EXPECT_TRUE(tail.is(CellType::Integer)) << dumpCell(point);
        EXPECT_EQ(tail.intValue(), 3);
    }
    const Cell other = call(cdr, {Cell::list({whole(1), Cell::string(u".."), whole(3)})});
    EXPECT_EQ(other.items().size(), 2u);
}

TEST(Lists, CdrOfAFunctionKeepsItsTypeNameAndScope) {
    test::BareLisp lisp;
    lisp.value("(defun f (x) x)");
    const Cell function = lisp.value("f");
    const Cell rest = call(cdr, {function});
    EXPECT_TRUE(rest.is(CellType::Lambda));
    EXPECT_EQ(rest.text(), u"F");
    EXPECT_EQ(rest.env(), function.env());
    EXPECT_EQ(rest.items().size(), 2u);
    EXPECT_EQ(function.items().size(), 3u) << "the function itself stays whole";
}

TEST(Lists, EqualComparesNumbersAsDoublesAndAllElseByText) {
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(isTrue(call(equal, {whole(2), Cell::real(2)})));
    EXPECT_TRUE(isTrue(call(equal, {Cell::real(-0.0), whole(0)})));
    EXPECT_TRUE(isNil(call(equal, {Cell::real(notANumber), Cell::real(notANumber)})));
    EXPECT_TRUE(isTrue(call(notEqual, {Cell::real(notANumber), Cell::real(notANumber)})));
    // No tolerance.
    EXPECT_TRUE(isNil(call(equal, {Cell::real(0.1 + 0.2), Cell::real(0.3)})));
    // Handles are equal when they name the same thing, and texts of any type compare.
    const Cell seven = Cell::make(CellType::EntityName, u"7");
    EXPECT_TRUE(isTrue(call(equal, {seven, Cell::make(CellType::EntityName, u"7")})));
    EXPECT_TRUE(isNil(call(equal, {seven, Cell::make(CellType::EntityName, u"8")})));
    EXPECT_TRUE(isTrue(call(equal, {seven, Cell::make(CellType::SelectionSet, u"7")})));
    EXPECT_TRUE(isTrue(call(equal, {seven, Cell::string(u"7")})));
    EXPECT_TRUE(isNil(call(equal, {seven, whole(7)})));
    // The text of an integer is read when the other side is no number.
    EXPECT_TRUE(isTrue(call(equal, {Cell::string(u"0"), Cell::integer(5, intern(u"0"))})));
    EXPECT_TRUE(isTrue(call(equal, {Cell::integer(5, intern(u"0")), whole(5)})));
}

TEST(Lists, EqualAndNotEqualOfListsOfDifferentLengthAreBothNil) {
    const Cell two = Cell::list({whole(1), whole(2)});
    const Cell three = Cell::list({whole(1), whole(2), whole(3)});
    EXPECT_TRUE(isNil(call(equal, {two, three})));
    EXPECT_TRUE(isNil(call(notEqual, {two, three})));
    EXPECT_TRUE(isNil(call(notEqual, {Cell::list({two}), Cell::list({three})})));
}

TEST(Lists, DeepListsAreComparedWithoutRecursion) {
    Cell a = whole(1);
    Cell b = whole(1);
    Cell c = whole(2);
    for (int i = 0; i < 500'000; ++i) {
        a = Cell::list({a});
        b = Cell::list({b});
        c = Cell::list({c});
    }
    EXPECT_TRUE(isTrue(call(equal, {a, b})));
    EXPECT_TRUE(isNil(call(equal, {a, c})));
    EXPECT_TRUE(isTrue(call(notEqual, {a, c})));
    EXPECT_TRUE(isNil(call(notEqual, {a, b})));
}

// Whether a comparison gives T.
bool says(BuiltinProc comparison, const Cell& a, const Cell& b) {
    const Cell answer = call(comparison, {a, b});
    return answer.is(CellType::Symbol) && answer.text() == u"T";
}

// A literal twin of EQUAL and /=, recursive and by the letter.
bool literalEqual(const Cell& a, const Cell& b) {
    if (a.is(CellType::Integer) || a.is(CellType::Real))
        return a.numericValue() == b.numericValue();
    if (!a.is(CellType::List)) return a.text() == b.text();
    if (a.items().size() != b.items().size()) return false;
    for (std::size_t i = 0; i < a.items().size(); ++i)
        if (!literalEqual(a.items()[i], b.items()[i])) return false;
    return true;
}
bool literalNotEqual(const Cell& a, const Cell& b) {
    if (a.is(CellType::Integer) || a.is(CellType::Real))
        return a.numericValue() != b.numericValue();
    if (!a.is(CellType::List)) return a.text() != b.text();
    if (a.items().size() != b.items().size()) return false;
    for (std::size_t i = 0; i < a.items().size(); ++i)
        if (!literalNotEqual(a.items()[i], b.items()[i])) return false;
    return true;
}

TEST(Lists, EqualAgreesWithItsLiteralTwinOnRandomValues) {
    const unsigned seed = printedSeed();
    std::mt19937 random(seed);
    const std::vector<Cell> leaves{whole(0),           whole(1),       Cell::real(1),
                                   Cell::real(0),      NilCell,        Cell::string(u"nil"),
                                   Cell::string(u""),  TrueCell,       Cell::symbol(u"A"),
                                   Cell::string(u"A"), DotCell,        Cell::builtin(&car),
                                   Cell::list({}),     Cell::real(0.5)};
    const auto value = [&](auto&& self, int depth) -> Cell {
        if (depth == 0 || random() % 3 == 0) return leaves[random() % leaves.size()];
        SliceBuilder<Cell> items;
        const std::size_t count = random() % 3;
        for (std::size_t i = 0; i < count; ++i) items.push(self(self, depth - 1));
        return Cell::list(items.take());
    };
    std::size_t equalPairs = 0;
    for (int i = 0; i < 20'000; ++i) {
        const Cell a = value(value, 3);
        const Cell b = value(value, 3);
        EXPECT_EQ(says(equal, a, b), literalEqual(a, b)) << "seed " << seed;
        EXPECT_EQ(says(eq, a, b), literalEqual(a, b)) << "seed " << seed;
        EXPECT_EQ(says(notEqual, a, b), literalNotEqual(a, b)) << "seed " << seed;
        EXPECT_TRUE(isTrue(call(equal, {a, a})));
        equalPairs += literalEqual(a, b) ? 1U : 0U;
    }
    EXPECT_GT(equalPairs, 500u);
}

TEST(Lists, AssocComparesIntegerFieldsAlone) {
    const Cell local = Cell::integer(8, intern(u"0"));
    const Cell table = Cell::list({Cell::list({Cell::real(8)}), Cell::list({local, whole(1)})});
    EXPECT_EQ(call(assoc, {whole(8), table}).items().size(), 2u);
    EXPECT_EQ(call(assoc, {whole(0), table}).items().size(), 1u);
    EXPECT_TRUE(isNil(call(assoc, {whole(7), table})));
}

TEST(Lists, ResultsAreIndependentOfTheirArguments) {
    const Cell tail = Cell::list({whole(2), whole(3)});
    const Cell first = call(cons, {whole(1), tail});
    const Cell second = call(cons, {whole(9), tail});
    const Cell longer = call(append, {tail, Cell::list({whole(4)})});
    const Cell other = call(append, {tail, Cell::list({whole(5)})});
    EXPECT_EQ(numbers(tail), (std::vector<std::int32_t>{2, 3}));
    EXPECT_EQ(numbers(first), (std::vector<std::int32_t>{1, 2, 3}));
    EXPECT_EQ(numbers(second), (std::vector<std::int32_t>{9, 2, 3}));
    EXPECT_EQ(numbers(longer), (std::vector<std::int32_t>{2, 3, 4}));
    EXPECT_EQ(numbers(other), (std::vector<std::int32_t>{2, 3, 5}));
}

// A program that builds a list with CONS or APPEND and walks it with CDR must not copy it at every
// step.
TEST(Lists, BuildingAndWalkingALongListIsLinear) {
    constexpr std::int32_t count = 20'000;
    const std::uint64_t before = heap::statistics().elementsCopied;
    Cell list = Cell::list({});
    for (std::int32_t i = 0; i < count; ++i) list = call(cons, {whole(i), list});
    Cell joined = Cell::list({});
    for (std::int32_t i = 0; i < count; ++i)
        joined = call(append, {joined, Cell::list({whole(i)})});
    std::int32_t steps = 0;
    for (Cell rest = list; rest.is(CellType::List); rest = call(cdr, {rest})) ++steps;
    EXPECT_EQ(steps, count);
    EXPECT_EQ(call(length, {joined}).intValue(), count);
    EXPECT_LT(heap::statistics().elementsCopied - before, 20u * count);
}

}  // namespace
}  // namespace vlisp
