// Tests that the reader's and the printer's work grows with their input and no faster.
#include "core/cell.h"
#include "core/printer.h"
#include "core/reader.h"
#include "tests/support/repeated.h"

#include <ctime>
#include <gtest/gtest.h>
#include <string>

namespace vlisp {
namespace {

using test::repeated;

// The sizes are such that work that grows with their square would not come back before the test's
// limit of time ends it.
constexpr std::size_t many = 1'500'000;

TEST(Shape, SplittingALineOfTenMegabytesIsLinear) {
    const std::u16string source = repeated(u"(a bcd)", many);
    EXPECT_GT(source.size(), 10'000'000U);
    EXPECT_EQ(splitText(source).size(), many);
}

TEST(Shape, SplittingOneLongExpressionIsLinear) {
    const std::u16string source = u"(" + repeated(u"(a)\n", many) + u")";
    const auto expressions = splitText(source);
    ASSERT_EQ(expressions.size(), 1U);
    EXPECT_GT(expressions[0].text.size(), many * 4);
}

TEST(Shape, TokenizingIsLinear) {
    EXPECT_EQ(Tokenize(repeated(u"(a \"b c\" 'd) ", many)).size(), many * 6 + 1);
}

TEST(Shape, ParsingAllocatesInProportion) {
    const auto allocationsFor = [](std::size_t count) {
        const std::u16string text = u"(" + repeated(u"(1 2 3) ", count) + u")";
        const std::uint64_t before = heap::statistics().allocations;
        Parse(text);
        return heap::statistics().allocations - before;
    };
    const std::uint64_t once = allocationsFor(1'000);
    EXPECT_GE(once, 1'000U);
    EXPECT_LE(allocationsFor(4'000), 5 * once);
}

TEST(Shape, AMillionIntegersReadTakeSixteenBytesEachAndRoomToGrow) {
    const std::u16string text = u"(" + repeated(u"1 ", 1'000'000) + u")";
    const std::size_t before = heap::used();
    const Cell list = Parse(text);
    EXPECT_EQ(list.items().size(), 1'000'000U);
    EXPECT_LE(heap::used() - before, 34'000'000U);
}

}  // namespace
}  // namespace vlisp
