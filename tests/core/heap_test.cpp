// Tests of core/heap.h.
#include "core/heap.h"

#include "core/cell.h"

#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace vlisp {
namespace {

struct LimitForTest {
    explicit LimitForTest(std::size_t bytes) : before(heap::limit()) { heap::setLimit(bytes); }
    ~LimitForTest() { heap::setLimit(before); }
    LimitForTest(const LimitForTest&) = delete;
    LimitForTest& operator=(const LimitForTest&) = delete;
    std::size_t before;
};

TEST(Heap, EverythingReleasedIsNoLongerUsed) {
    const std::size_t before = heap::used();
    {
        const Cell text = Cell::string(std::u16string(1000, u'x'));
        EXPECT_GE(heap::used(), before + 2000);
        const Cell nested = Cell::list({Cell::list({text, text}), text});
        const Cell copy = nested;
    }
    EXPECT_EQ(heap::used(), before);
}

TEST(Heap, ACopyOfACellAllocatesNothing) {
    const Cell list = Cell::list({Cell::string(u"a"), Cell::integer(1)});
    const std::uint64_t before = heap::statistics().allocations;
    const Cell copy = list;
    EXPECT_EQ(heap::statistics().allocations, before);
    EXPECT_EQ(copy.items().data(), list.items().data());
}

TEST(Heap, TheBudgetEndsAnAllocation) {
    const std::size_t before = heap::used();
    const LimitForTest limit(before + 1'000'000);
    void* memory = heap::allocate(900'000);
    EXPECT_EQ(heap::used(), before + 900'000);
    EXPECT_THROW(heap::allocate(200'000), heap::OutOfMemory);
    EXPECT_THROW(heap::allocate(SIZE_MAX), heap::OutOfMemory);
    EXPECT_EQ(heap::used(), before + 900'000);
    heap::release(memory, 900'000);
    EXPECT_EQ(heap::used(), before);
}

TEST(Heap, ATextIsRequiredBeforeItIsMade) {
    const LimitForTest limit(heap::used() + 1000);
    EXPECT_NO_THROW(heap::requireText(500));
    EXPECT_THROW(heap::requireText(501), heap::OutOfMemory);
    EXPECT_THROW(heap::requireText(SIZE_MAX), heap::OutOfMemory);
    heap::setLimit(heap::used() - 1);
    EXPECT_THROW(heap::requireText(0), heap::OutOfMemory);
}

TEST(Heap, TheLimitBeginsWithinTheMachinesMemory) { EXPECT_GT(heap::limit(), 64U << 20); }

TEST(Heap, BlocksAreAlignedForTheTypeBits) {
    for (const std::size_t bytes : {1U, 17U, 40U, 1000U}) {
        void* memory = heap::allocate(bytes);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0U);
        heap::release(memory, bytes);
    }
}

// --- Free blocks ---

using heap::detail::keepsFreeBlocks;

// Takes all free blocks of this size away, so that a test begins without any; gives them back.
class NoFreeBlocks {
  public:
    explicit NoFreeBlocks(std::size_t bytes) : bytes_(bytes) {
        while (countOfFree(bytes) > 0) taken_.push_back(heap::allocate(bytes));
    }
    ~NoFreeBlocks() {
        for (void* memory : taken_) heap::release(memory, bytes_);
    }
    NoFreeBlocks(const NoFreeBlocks&) = delete;
    NoFreeBlocks& operator=(const NoFreeBlocks&) = delete;

    static std::size_t countOfFree(std::size_t bytes) {
        return heap::detail::freeBlocks[(bytes + 15) / 16].count;
    }

  private:
    std::size_t bytes_;
    std::vector<void*> taken_;
};

constexpr auto countOfFree = NoFreeBlocks::countOfFree;

TEST(FreeBlocks, AReleasedSmallBlockIsTakenAgain) {
    for (const std::size_t bytes : {1U, 16U, 17U, 100U, 128U}) {
        const NoFreeBlocks none(bytes);
        const std::size_t before = heap::used();
        void* memory = heap::allocate(bytes);
        std::memset(memory, 0xab, bytes);
        heap::release(memory, bytes);
        EXPECT_EQ(heap::used(), before) << "what is free is not used";
        EXPECT_EQ(countOfFree(bytes), keepsFreeBlocks ? 1U : 0U);
        void* again = heap::allocate(bytes);
        if (keepsFreeBlocks) {
            EXPECT_EQ(again, memory);
        }
        EXPECT_EQ(heap::used(), before + bytes);
        EXPECT_EQ(countOfFree(bytes), 0U);
        heap::release(again, bytes);
    }
}

TEST(FreeBlocks, AreSharedByTheSizesOfOneStep) {
    const NoFreeBlocks none(48);
    const std::size_t before = heap::used();
    heap::release(heap::allocate(33), 33);
    void* memory = heap::allocate(48);
    EXPECT_EQ(countOfFree(48), 0U);
    std::memset(memory, 0xcd, 48);  // there must be room for all of it
    EXPECT_EQ(heap::used(), before + 48);
    heap::release(memory, 48);
    const std::size_t others = countOfFree(64);
    void* larger = heap::allocate(49);
    EXPECT_EQ(countOfFree(48), keepsFreeBlocks ? 1U : 0U) << "a larger one does not fit there";
    EXPECT_LE(countOfFree(64), others);
    heap::release(larger, 49);
    EXPECT_EQ(heap::used(), before);
}

TEST(FreeBlocks, LargerBlocksAreNotKept) {
    const auto allFree = [] {
        std::size_t all = 0;
        for (const heap::detail::FreeBlocks& blocks : heap::detail::freeBlocks) all += blocks.count;
        return all;
    };
    const std::size_t before = allFree();
    heap::release(heap::allocate(129), 129);
    heap::release(heap::allocate(5'000'000), 5'000'000);
    EXPECT_EQ(allFree(), before);
}

TEST(FreeBlocks, NoMoreThanAFewAreKept) {
    constexpr std::size_t bytes = 112;
    constexpr std::size_t many = heap::detail::mostFree + 100;
    const NoFreeBlocks none(bytes);
    const std::size_t before = heap::used();
    std::vector<void*> blocks;
    for (std::size_t i = 0; i < many; ++i) blocks.push_back(heap::allocate(bytes));
    EXPECT_EQ(heap::used(), before + many * bytes);
    EXPECT_EQ(std::set<void*>(blocks.begin(), blocks.end()).size(), many);
    for (void* memory : blocks) heap::release(memory, bytes);
    EXPECT_EQ(heap::used(), before);
    EXPECT_EQ(countOfFree(bytes), keepsFreeBlocks ? heap::detail::mostFree : 0);
}

TEST(FreeBlocks, TheBudgetHoldsForThemToo) {
    constexpr std::size_t bytes = 96;
    const NoFreeBlocks none(bytes);
    heap::release(heap::allocate(bytes), bytes);
    const std::size_t before = heap::used();
    const LimitForTest limit(before + bytes - 1);
    EXPECT_THROW(heap::allocate(bytes), heap::OutOfMemory);
    EXPECT_EQ(heap::used(), before);
    EXPECT_EQ(countOfFree(bytes), keepsFreeBlocks ? 1U : 0U) << "it is still there";
    heap::setLimit(before + bytes);
    void* memory = heap::allocate(bytes);
    EXPECT_EQ(heap::used(), before + bytes);
    EXPECT_THROW(heap::allocate(1), heap::OutOfMemory);
    heap::release(memory, bytes);
}

TEST(FreeBlocks, EveryAllocationIsCountedOnce) {
    const NoFreeBlocks none(80);
    const std::uint64_t before = heap::statistics().allocations;
    for (int i = 0; i < 10; ++i) heap::release(heap::allocate(80), 80);
    EXPECT_EQ(heap::statistics().allocations, before + 10);
    heap::release(heap::allocate(1000), 1000);
    heap::release(heap::allocate(5'000'000), 5'000'000);
    EXPECT_EQ(heap::statistics().allocations, before + 12);
    const LimitForTest limit(heap::used());
    EXPECT_THROW(heap::allocate(80), heap::OutOfMemory);
    EXPECT_EQ(heap::statistics().allocations, before + 12) << "what failed does not count";
}

TEST(Heap, WhatAnObjectHasFromElsewhereIsCharged) {
    const std::size_t before = heap::used();
    const LimitForTest limit(before + 1000);
    heap::charge(900);
    EXPECT_EQ(heap::used(), before + 900);
    EXPECT_THROW(heap::charge(101), heap::OutOfMemory);
    EXPECT_THROW(heap::charge(SIZE_MAX), heap::OutOfMemory);
    EXPECT_EQ(heap::used(), before + 900);
    heap::charge(100);
    heap::discharge(1000);
    EXPECT_EQ(heap::used(), before);
}

TEST(Heap, LargeBlocksCanBeFilledToTheirEnds) {
    for (const std::size_t bytes : {4'194'303U, 4'194'304U, 4'194'305U, 20'000'001U}) {
        const std::size_t before = heap::used();
        auto* memory = static_cast<unsigned char*>(heap::allocate(bytes));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0U);
        memory[0] = 1;
        memory[bytes - 1] = 2;
        EXPECT_EQ(heap::used(), before + bytes);
        heap::release(memory, bytes);
        EXPECT_EQ(heap::used(), before);
    }
}

}  // namespace
}  // namespace vlisp
