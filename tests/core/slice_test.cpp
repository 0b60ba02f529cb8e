// Tests of core/slice.h against std::vector.
#include "core/slice.h"

#include "core/cell.h"

#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <vector>

namespace vlisp {
namespace {

using Numbers = std::vector<std::int32_t>;

std::vector<Cell> cellsOf(const Numbers& numbers) {
    std::vector<Cell> cells;
    for (const std::int32_t number : numbers) cells.push_back(Cell::integer(number));
    return cells;
}

Numbers numbersOf(const CellSlice& slice) {
    Numbers numbers;
    for (const Cell& cell : slice.view()) numbers.push_back(cell.intValue());
    return numbers;
}

CellSlice sliceOf(const Numbers& numbers) { return CellSlice::copyOf(cellsOf(numbers)); }

Numbers upTo(std::int32_t count) {
    Numbers numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

// A slice and the vector that it must equal for as long as it lives, whatever happens to others.
struct Twin {
    CellSlice slice;
    Numbers numbers;
};

TEST(Slice, BehavesAsAVectorThatIsCopied) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](std::size_t bound) { return random() % bound; };
    std::int32_t next = 0;
    const auto freshNumbers = [&](std::size_t count) {
        Numbers numbers;
        for (std::size_t i = 0; i < count; ++i) numbers.push_back(next++);
        return numbers;
    };

    const std::size_t usedBefore = heap::used();
    {
        std::vector<Twin> pool(12);
        for (int round = 0; round < 20000; ++round) {
            const Twin& a = pool[below(pool.size())];
            const Twin& b = pool[below(pool.size())];
            Twin made;
            switch (below(7)) {
            case 0: {
                const std::size_t from = below(a.numbers.size() + 1);
                const std::size_t count = below(a.numbers.size() - from + 1);
                const auto first = a.numbers.begin() + static_cast<std::ptrdiff_t>(from);
                made = {a.slice.part(from, count),
                        Numbers(first, first + static_cast<std::ptrdiff_t>(count))};
                break;
            }
            case 1:
            case 2: {
                const Numbers more = freshNumbers(below(4));
                made = {a.slice.withBack(cellsOf(more)), a.numbers};
                made.numbers.insert(made.numbers.end(), more.begin(), more.end());
                break;
            }
            case 3:
            case 4: {
                const Numbers more = freshNumbers(below(4));
                made = {a.slice.withFront(cellsOf(more)), more};
                made.numbers.insert(made.numbers.end(), a.numbers.begin(), a.numbers.end());
                break;
            }
            case 5:
                if (a.numbers.size() + b.numbers.size() > 600) continue;
                made = {a.slice.joined(b.slice), a.numbers};
                made.numbers.insert(made.numbers.end(), b.numbers.begin(), b.numbers.end());
                break;
            case 6: {
                const Numbers fresh = freshNumbers(below(100));
                SliceBuilder<Cell> builder(below(3) * 20);
                for (const Cell& cell : cellsOf(fresh)) builder.push(cell);
                made = {builder.take(), fresh};
                break;
            }
            default: FAIL();
            }
            pool[below(pool.size())] = made;
            for (const Twin& twin : pool) {
                ASSERT_EQ(twin.slice.size(), twin.numbers.size()) << "round " << round;
                ASSERT_EQ(numbersOf(twin.slice), twin.numbers) << "round " << round;
            }
        }
    }
    EXPECT_EQ(heap::used(), usedBefore);
}

TEST(Slice, TwoHoldersThatGrowDoNotSeeEachOther) {
    const CellSlice common = sliceOf({1, 2}).withBack(cellsOf({3}));
    const CellSlice left = common.withBack(cellsOf({4}));
    const CellSlice right = common.withBack(cellsOf({5}));
    EXPECT_EQ(left.buffer(), common.buffer());
    EXPECT_NE(right.buffer(), common.buffer());
    EXPECT_EQ(numbersOf(common), Numbers({1, 2, 3}));
    EXPECT_EQ(numbersOf(left), Numbers({1, 2, 3, 4}));
    EXPECT_EQ(numbersOf(right), Numbers({1, 2, 3, 5}));

    const CellSlice base = sliceOf({2}).withFront(cellsOf({1}));
    const CellSlice first = base.withFront(cellsOf({7}));
    const CellSlice second = base.withFront(cellsOf({8}));
    EXPECT_EQ(first.buffer(), base.buffer());
    EXPECT_NE(second.buffer(), base.buffer());
    EXPECT_EQ(numbersOf(first), Numbers({7, 1, 2}));
    EXPECT_EQ(numbersOf(second), Numbers({8, 1, 2}));
}

TEST(Slice, ATailSharesTheBufferAndASmallPartDoesNot) {
    const CellSlice large = sliceOf(upTo(1000));
    EXPECT_EQ(large.part(1, 999).buffer(), large.buffer());
    EXPECT_EQ(large.part(750, 250).buffer(), large.buffer());
    EXPECT_NE(large.part(900, 100).buffer(), large.buffer());
    const CellSlice small = sliceOf(upTo(8));
    EXPECT_EQ(small.part(7, 1).buffer(), small.buffer());
    EXPECT_EQ(large.part(500, 0).buffer(), nullptr);
}

TEST(Slice, ASmallPartDoesNotKeepALargeBufferAlive) {
    const std::size_t before = heap::used();
    CellSlice slice = sliceOf(upTo(100'000));
    slice = slice.part(99'990, 10);
    EXPECT_LT(heap::used(), before + 1000);
    EXPECT_EQ(numbersOf(slice).front(), 99'990);
}

TEST(Slice, GrowingByOneIsLinearAtEitherEnd) {
    for (const bool atBack : {true, false}) {
        CellSlice slice;
        const std::uint64_t before = heap::statistics().elementsCopied;
        for (std::int32_t i = 0; i < 100'000; ++i)
            slice = atBack ? slice.withBack(cellsOf({i})) : slice.withFront(cellsOf({i}));
        EXPECT_LE(heap::statistics().elementsCopied - before, 200'000U);
        EXPECT_EQ(slice.size(), 100'000U);
        EXPECT_EQ(slice[0].intValue(), atBack ? 0 : 99'999);
    }
}

TEST(Slice, JoiningGrowsTheLargerOne) {
    CellSlice front = sliceOf({0});
    CellSlice back = sliceOf({0});
    const std::uint64_t before = heap::statistics().elementsCopied;
    for (std::int32_t i = 1; i < 10'000; ++i) {
        const CellSlice one = CellSlice::copyOf(cellsOf({i}));
        back = back.joined(one);
        front = one.joined(front);
    }
    // One copy of each piece when it is made, and the growth of two lists.
    EXPECT_LE(heap::statistics().elementsCopied - before, 10'000U + 2 * 20'000U);
    EXPECT_EQ(back[9'999].intValue(), 9'999);
    EXPECT_EQ(front[0].intValue(), 9'999);
}

TEST(Slice, JoiningWithNothingSharesTheBuffer) {
    const CellSlice some = sliceOf({1, 2});
    EXPECT_EQ(some.joined(CellSlice()).buffer(), some.buffer());
    EXPECT_EQ(CellSlice().joined(some).buffer(), some.buffer());
    EXPECT_TRUE(CellSlice().joined(CellSlice()).empty());
}

TEST(Slice, ASliceJoinsWithItself) {
    const CellSlice three = sliceOf({1, 2}).withBack(cellsOf({3}));
    EXPECT_EQ(numbersOf(three.joined(three)), Numbers({1, 2, 3, 1, 2, 3}));
    CellSlice roomy = three.withBack(cellsOf(upTo(20)));
    roomy = roomy.part(0, 3);
    EXPECT_EQ(numbersOf(roomy.joined(roomy)), Numbers({1, 2, 3, 1, 2, 3}));
}

TEST(Slice, CarriesTextAsWell) {
    const std::u16string_view word = u"text";
    TextSlice text = TextSlice::copyOf(word);
    text = text.joined(TextSlice::copyOf(std::u16string_view(u"ure")));
    EXPECT_EQ(std::u16string_view(text.view().data(), text.size()), u"texture");
}

TEST(Slice, ABuilderIsEmptyAfterItWasTaken) {
    SliceBuilder<Cell> builder;
    EXPECT_TRUE(builder.take().empty());
    builder.push(Cell::integer(1));
    EXPECT_EQ(builder.size(), 1U);
    EXPECT_EQ(builder.take().size(), 1U);
    EXPECT_EQ(builder.size(), 0U);
    EXPECT_TRUE(builder.take().empty());
}

// Elements copied while `step` is done `count` times.
template <class Step> std::uint64_t copiesOf(int count, Step step) {
    const std::uint64_t before = heap::statistics().elementsCopied;
    for (int i = 0; i < count; ++i) step();
    return heap::statistics().elementsCopied - before;
}

TEST(Slice, GrowingAtBothEndsByTurnsIsLinear) {
    CellSlice list;
    const auto copied = copiesOf(20'000, [&] {
        list = list.withFront(cellsOf({1}));
        list = list.withBack(cellsOf({2}));
    });
    EXPECT_EQ(list.size(), 40'000U);
    EXPECT_LT(copied, 40'000U * 6);
}

TEST(Slice, AQueueOfAnyLengthMovesOnInLinearTime) {
    for (const int length : {1000, 1023, 1024, 1025, 1500}) {
        CellSlice queue = sliceOf(upTo(length));
        const auto copied = copiesOf(50'000, [&] {
            queue = queue.part(1, queue.size() - 1);
            queue = queue.withBack(cellsOf({7}));
        });
        EXPECT_EQ(queue.size(), static_cast<std::uint32_t>(length));
        EXPECT_LT(copied, 50'000U * 4) << length;
    }
}

TEST(Slice, AListThatIsGivenToItselfIsNotHeldByItself) {
    const std::size_t before = heap::used();
    for (int i = 0; i < 100; ++i) {
        CellSlice list = sliceOf(upTo(5)).withBack(cellsOf({6}));
        const Cell itself = Cell::list(list);
        const Cell deeper = Cell::list({Cell::integer(1), Cell::list({itself})});
        list = list.withBack(std::span(&itself, 1));
        list = list.withBack(std::span(&deeper, 1));
        list = list.withFront(std::span(&deeper, 1));
        ASSERT_EQ(list.size(), 9U);
        EXPECT_EQ(list[7].items().size(), 6U);
        EXPECT_EQ(list[8].items().size(), 2U);
    }
    EXPECT_EQ(heap::used(), before);
}

TEST(Slice, AListOfListsGrowsInLinearTime) {
    CellSlice list;
    const auto copied = copiesOf(20'000, [&] {
        const Cell point = Cell::list({Cell::integer(1), Cell::integer(2)});
        list = list.withBack(std::span(&point, 1));
    });
    EXPECT_EQ(list.size(), 20'000U);
    EXPECT_LT(copied, 20'000U * 5);
}

TEST(Slice, ABufferBeyondTheLongestLengthIsRefused) {
    EXPECT_THROW(Buffer<Cell>::make(heap::maximumLength + 1, 0), heap::OutOfMemory);
}

}  // namespace
}  // namespace vlisp
