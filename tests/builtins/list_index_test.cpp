// Tests of core/list_index.h: whatever it notes, it answers as a plain search does.
#include "core/list_index.h"

#include "core/heap.h"
#include "tests/support/bare_lisp.h"
#include "tests/support/heap_limit.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace vlisp {
namespace {

using test::HeapLimit;

constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

std::size_t plainSearch(const Cell& list, std::int32_t key) {
    const Items items = list.items();
    for (std::size_t i = 0; i < items.size(); ++i)
        if (!items[i].items().empty() && items[i].items()[0].intValue() == key) return i;
    return items.size();
}

Cell entry(std::int32_t key, std::int32_t value) {
    return Cell::list({Cell::integer(key), Cell::integer(value)});
}

/// A list of `count` entries with the keys `first`, `first` + `step` and so on.
Cell listOf(std::size_t count, std::int32_t first = 0, std::int32_t step = 1) {
    SliceBuilder<Cell> entries(count);
    for (std::size_t i = 0; i < count; ++i)
        entries.push(entry(first + static_cast<std::int32_t>(i) * step, static_cast<int>(i)));
    return Cell::list(entries.take());
}

// Enough searches for any list of this length to be noted.
void searchOften(const Cell& list) {
    for (std::size_t i = 0; i < 20; ++i) {
        ASSERT_EQ(findByInteger(list, largest), list.items().size());
    }
}

class ListIndex : public ::testing::Test {
  protected:
    std::mt19937 random{20240229};
    int upTo(int most) { return std::uniform_int_distribution(0, most)(random); }

    std::int32_t anyKey() {
        switch (upTo(9)) {
        case 0: return smallest;
        case 1: return largest - 1;
        case 2: return upTo(1 << 14) << 16;
        default: return upTo(60) - 10;
        }
    }

    // An element of a list: mostly an entry, but everything else that a program may put there.
    Cell anyElement() {
        const Cell value = Cell::integer(1);
        switch (upTo(14)) {
        case 0: return Cell::list(CellSlice());
        case 1: return Cell::integer(upTo(20));
        case 2: return NilCell;
        case 3: return Cell::string(u"5");
        case 4: return Cell::list({Cell::real(5.0), value});
        case 5: return Cell::list({Cell::string(u"5"), value});
        case 6: return Cell::list({Cell::symbol(u"A"), value});
        case 7: return Cell::list({Cell::list({Cell::integer(5)}), value});
        case 8: return Cell::list({Cell::integer(anyKey())});
        case 9: return Cell::list({Cell::integer(anyKey()), DotCell, value});
        default: return entry(anyKey(), 1);
        }
    }

    Cell anyList(std::size_t length) {
        SliceBuilder<Cell> elements(length);
        for (std::size_t i = 0; i < length; ++i) elements.push(anyElement());
        return Cell::list(elements.take());
    }
};

TEST_F(ListIndex, AnswersAsAPlainSearchOnAnyList) {
    for (const std::size_t length : {0U, 1U, 2U, 31U, 32U, 33U, 63U, 64U, 65U, 200U}) {
        for (int round = 0; round < 5; ++round) {
            const Cell list = anyList(length);
            for (std::size_t search = 0; search < 40 + 10 * length; ++search) {
                const std::int32_t key = anyKey();
                ASSERT_EQ(findByInteger(list, key), plainSearch(list, key))
                    << "length " << length << ", search " << search << ", key " << key;
            }
        }
    }
}

TEST_F(ListIndex, SeveralListsAreSearchedInTurn) {
    std::vector<Cell> lists;
    for (std::size_t i = 0; i < 9; ++i) lists.push_back(anyList(32 + 7 * i));
    for (const std::size_t together : {2U, 4U, 5U, 9U}) {
        for (int search = 0; search < 4000; ++search) {
            const Cell& list =
                lists[static_cast<std::size_t>(upTo(static_cast<int>(together) - 1))];
            const std::int32_t key = anyKey();
            ASSERT_EQ(findByInteger(list, key), plainSearch(list, key)) << search;
        }
    }
}

TEST_F(ListIndex, OfTheSameKeyTheFirstEntryIsFound) {
    SliceBuilder<Cell> entries(100);
    for (std::int32_t i = 0; i < 100; ++i) entries.push(entry(i % 40, i));
    const Cell list = Cell::list(entries.take());
    searchOften(list);
    for (std::int32_t key = 0; key < 40; ++key)
        EXPECT_EQ(findByInteger(list, key), static_cast<std::size_t>(key));
}

TEST_F(ListIndex, AKeyThatIsNoIntegerCountsAsZero) {
    SliceBuilder<Cell> entries(50);
    for (std::int32_t i = 0; i < 40; ++i) entries.push(entry(i + 1, i));
    entries.push(Cell::list(CellSlice()));
    entries.push(Cell::integer(0));
    entries.push(Cell::list({Cell::string(u"name"), Cell::integer(1)}));
    entries.push(entry(0, 1));
    const Cell list = Cell::list(entries.take());
    EXPECT_EQ(findByInteger(list, 0), 42U) << "neither an atom nor an empty list has a key";
    searchOften(list);
    EXPECT_EQ(findByInteger(list, 0), 42U);
}

TEST_F(ListIndex, PartsOfOneBufferAreDifferentLists) {
    const Cell whole = listOf(400);
    const CellSlice slice = whole.itemSlice();
    std::vector<Cell> parts;
    for (const std::size_t from : {0U, 1U, 100U})
        for (const std::size_t count : {120U, 121U, 300U}) {
            parts.push_back(Cell::list(slice.part(from, count)));
            ASSERT_EQ(parts.back().itemSlice().buffer(), slice.buffer());
        }
    for (const Cell& part : parts) {
        searchOften(part);
        for (std::int32_t key = -1; key <= 400; ++key)
            ASSERT_EQ(findByInteger(part, key), plainSearch(part, key));
    }
    for (int search = 0; search < 20'000; ++search) {
        const Cell& part = parts[static_cast<std::size_t>(upTo(8))];
        const std::int32_t key = upTo(401) - 1;
        ASSERT_EQ(findByInteger(part, key), plainSearch(part, key));
    }
}

TEST_F(ListIndex, AListThatGrowsIsAnotherList) {
    Cell list = listOf(32);
    for (std::int32_t i = 0; i < 200; ++i) {
        searchOften(list);
        const std::int32_t key = 1000 + i;
        ASSERT_EQ(findByInteger(list, key), list.items().size());
        const Cell added[] = {entry(key, i)};
        list = i % 2 == 0 ? Cell::list(list.itemSlice().withBack(added))
                          : Cell::list(list.itemSlice().withFront(added));
        ASSERT_EQ(findByInteger(list, key), plainSearch(list, key));
        ASSERT_EQ(findByInteger(list, 0), plainSearch(list, 0));
    }
}

TEST_F(ListIndex, AnotherListAtTheSameAddressIsSearchedAnew) {
    for (std::int32_t round = 0; round < 100; ++round) {
        const std::int32_t first = round * 1000;
        const Cell list = listOf(64, first);
        ASSERT_EQ(findByInteger(list, first + 5), 5U);
        ASSERT_EQ(findByInteger(list, first - 1000), 64U) << "a key of the list before";
        searchOften(list);
        ASSERT_EQ(findByInteger(list, first + 6), 6U);
        ASSERT_EQ(findByInteger(list, first - 1000), 64U);
    }
}

TEST_F(ListIndex, ANoteIsMadeWhenItPaysAndDiesWithItsList) {
    const std::size_t before = heap::used();
    {
        const Cell list = listOf(1000);
        const std::size_t alone = heap::used();
        for (int i = 0; i < 5; ++i) EXPECT_EQ(findByInteger(list, -1), 1000U);
        EXPECT_EQ(heap::used(), alone) << "a few searches are no reason";
        for (int i = 0; i < 1000; ++i) EXPECT_EQ(findByInteger(list, 0), 0U);
        EXPECT_EQ(heap::used(), alone) << "what stands in front is found at once";
        searchOften(list);
        EXPECT_GE(heap::used(), alone + 1000 * 2 * sizeof(std::int32_t));
        const Cell copy = list;
        const std::size_t noted = heap::used();
        searchOften(copy);
        EXPECT_EQ(heap::used(), noted) << "a copy is the same list";
    }
    EXPECT_EQ(heap::used(), before);
}

TEST_F(ListIndex, ShortListsAreNeverNoted) {
    const Cell list = listOf(31);
    const std::size_t alone = heap::used();
    for (int i = 0; i < 100; ++i) searchOften(list);
    EXPECT_EQ(heap::used(), alone);
}

TEST_F(ListIndex, OnlyAFewNotesAreKept) {
    std::vector<Cell> lists;
    for (int i = 0; i < 100; ++i) lists.push_back(listOf(64));
    const std::size_t alone = heap::used();
    std::size_t ofOne = 0;
    for (const Cell& list : lists) {
        searchOften(list);
        if (ofOne == 0) ofOne = heap::used() - alone;
    }
    EXPECT_GT(ofOne, 0U);
    EXPECT_LE(heap::used(), alone + 10 * ofOne);
}

TEST_F(ListIndex, GoesWithoutWhereThereIsNoMemory) {
    const Cell list = listOf(1000);
    const HeapLimit limit(heap::used());
    const std::size_t alone = heap::used();
    for (int i = 0; i < 3; ++i) searchOften(list);
    EXPECT_EQ(heap::used(), alone);
    EXPECT_EQ(findByInteger(list, 999), 999U);
}

TEST_F(ListIndex, AssocOfAProgramFindsWhatItFoundBefore) {
    test::BareLisp lisp;
    lisp.eval("(setq l nil i 0)");
    lisp.eval("(repeat 500 (setq l (append l (list (list i (* i i)))) i (+ i 1)))");
    EXPECT_EQ(lisp.eval("(begin (setq i 0 bad 0) (repeat 500 (if (/= (cadr (assoc i l)) (* i i)) "
                        "(setq bad (+ bad 1))) (setq i (+ i 1))) bad)"),
              "0");
    EXPECT_EQ(lisp.eval("(assoc 499 l)"), "(499 249001)");
    EXPECT_EQ(lisp.eval("(assoc 500 l)"), "nil");
    EXPECT_EQ(lisp.eval("(begin (setq l (subst '(7 \"seven\") (assoc 7 l) l)) (assoc 7 l))"),
              "(7 \"seven\")");
    EXPECT_EQ(lisp.eval("(begin (setq l (append l '((500 1)))) (assoc 500 l))"), "(500 1)");
    EXPECT_EQ(lisp.eval("(assoc 0 (cdr l))"), "nil");
    EXPECT_EQ(lisp.eval("(assoc 1 (cdr l))"), "(1 1)");
}

}  // namespace
}  // namespace vlisp
