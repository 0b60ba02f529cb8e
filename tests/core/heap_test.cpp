// Tests of core/heap.h.
#include "core/heap.h"

#include "core/cell.h"
#include "tests/support/heap_limit.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace vlisp {
namespace {

using test::HeapLimit;

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
    const HeapLimit limit(before + 1'000'000);
    void* memory = heap::allocate(900'000);
    EXPECT_EQ(heap::used(), before + 900'000);
    EXPECT_THROW(heap::allocate(200'000), heap::OutOfMemory);
    EXPECT_THROW(heap::allocate(SIZE_MAX), heap::OutOfMemory);
    EXPECT_EQ(heap::used(), before + 900'000);
    heap::release(memory, 900'000);
    EXPECT_EQ(heap::used(), before);
}

TEST(Heap, ATextIsRequiredBeforeItIsMade) {
    const HeapLimit limit(heap::used() + 1000);
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

TEST(Heap, ASmallBlockIsUsedAndThenNot) {
    for (const std::size_t bytes : {1U, 16U, 17U, 100U, 128U, 129U}) {
        const std::size_t before = heap::used();
        void* memory = heap::allocate(bytes);
        std::memset(memory, 0xab, bytes);
        EXPECT_EQ(heap::used(), before + bytes);
        heap::release(memory, bytes);
        EXPECT_EQ(heap::used(), before) << "what is free is not used";
    }
}

TEST(Heap, TheBudgetHoldsForFreeBlocksToo) {
    constexpr std::size_t bytes = 96;
    heap::release(heap::allocate(bytes), bytes);
    const std::size_t before = heap::used();
    const HeapLimit limit(before + bytes - 1);
    EXPECT_THROW(heap::allocate(bytes), heap::OutOfMemory);
    EXPECT_EQ(heap::used(), before);
    heap::setLimit(before + bytes);
    void* memory = heap::allocate(bytes);
    EXPECT_EQ(heap::used(), before + bytes);
    EXPECT_THROW(heap::allocate(1), heap::OutOfMemory);
    heap::release(memory, bytes);
}

TEST(Heap, EveryAllocationIsCountedOnce) {
    const std::uint64_t before = heap::statistics().allocations;
    for (int i = 0; i < 10; ++i) heap::release(heap::allocate(80), 80);
    EXPECT_EQ(heap::statistics().allocations, before + 10);
    heap::release(heap::allocate(1000), 1000);
    heap::release(heap::allocate(5'000'000), 5'000'000);
    EXPECT_EQ(heap::statistics().allocations, before + 12);
    const HeapLimit limit(heap::used());
    EXPECT_THROW(heap::allocate(80), heap::OutOfMemory);
    EXPECT_EQ(heap::statistics().allocations, before + 12) << "what failed does not count";
}

TEST(Heap, WhatAnObjectHasFromElsewhereIsCharged) {
    const std::size_t before = heap::used();
    const HeapLimit limit(before + 1000);
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
