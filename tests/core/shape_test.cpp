// Tests that the reader's and the printer's work grows with their input and no faster.
#include "core/cell.h"
#include "core/printer.h"
#include "core/reader.h"

#include <ctime>
#include <gtest/gtest.h>
#include <string>

namespace vlisp {
namespace {

std::u16string repeated(std::u16string_view piece, std::size_t count) {
    std::u16string text;
    for (std::size_t i = 0; i < count; ++i) text += piece;
    return text;
}

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// The best of several runs: what else the machine does only ever adds.
template <class Work> double seconds(Work work) {
    double best = 1e9;
    for (int i = 0; i < 5; ++i) {
        const double start = processorSeconds();
        work();
        best = std::min(best, processorSeconds() - start);
    }
    return best;
}

// Time is a rough measure: sixteen times the input takes sixteen times as long when the work is
// linear, and 256 times when it is not.
constexpr double mostForSixteenTimes = 80;

TEST(Shape, SplittingALineOfManyExpressionsIsLinear) {
    const std::u16string small = repeated(u"(a b) ", 5'000);
    const std::u16string large = repeated(u"(a b) ", 80'000);
    EXPECT_EQ(splitText(large).size(), 80'000U);
    const double ratio = seconds([&] { splitText(large); }) / seconds([&] { splitText(small); });
    EXPECT_LT(ratio, mostForSixteenTimes);
}

TEST(Shape, SplittingOneLongExpressionIsLinear) {
    const auto source = [](std::size_t count) { return u"(" + repeated(u"(a)\n", count) + u")"; };
    const std::u16string small = source(5'000);
    const std::u16string large = source(80'000);
    const double ratio = seconds([&] { splitText(large); }) / seconds([&] { splitText(small); });
    EXPECT_LT(ratio, mostForSixteenTimes);
}

TEST(Shape, TokenizingIsLinear) {
    const std::u16string small = repeated(u"(a \"b c\" 'd) ", 5'000);
    const std::u16string large = repeated(u"(a \"b c\" 'd) ", 80'000);
    const double ratio = seconds([&] { Tokenize(large); }) / seconds([&] { Tokenize(small); });
    EXPECT_LT(ratio, mostForSixteenTimes);
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
