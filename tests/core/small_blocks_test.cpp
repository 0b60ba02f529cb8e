// Tests of core/small_blocks.h.
#include "core/small_blocks.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <vector>

namespace vlisp {
namespace {

constexpr std::size_t allSizes[] = {1, 16, 17, 32, 48, 64, 80, 96, 112, 113, 128};

// The blocks of this size that can be had without another piece, so that a test begins with none.
class NoRoom {
  public:
    explicit NoRoom(std::size_t bytes) {
        const std::size_t pieces = small_blocks::counts().inUse;
        do blocks_.push_back(small_blocks::take(bytes));
        while (small_blocks::counts().inUse == pieces);
        small_blocks::give(blocks_.back());
        blocks_.pop_back();
    }
    NoRoom(const NoRoom&) = delete;
    NoRoom& operator=(const NoRoom&) = delete;
    ~NoRoom() {
        for (void* block : blocks_) small_blocks::give(block);
    }

  private:
    std::vector<void*> blocks_;
};

TEST(SmallBlocks, ABlockThatIsGivenBackIsTakenAgain) {
    for (const std::size_t bytes : allSizes) {
        void* block = small_blocks::take(bytes);
        std::memset(block, 0xab, bytes);
        small_blocks::give(block);
        void* again = small_blocks::take(bytes);
        EXPECT_EQ(again, block) << bytes;
        small_blocks::give(again);
    }
}

TEST(SmallBlocks, AreSharedByTheSizesOfOneStep) {
    void* block = small_blocks::take(33);
    small_blocks::give(block);
    void* larger = small_blocks::take(48);
    EXPECT_EQ(larger, block);
    std::memset(larger, 0xcd, 48);
    void* beyond = small_blocks::take(49);
    EXPECT_NE(beyond, block);
    small_blocks::give(beyond);
    small_blocks::give(larger);
}

TEST(SmallBlocks, AreAlignedAndApartAndKeepWhatIsWritten) {
    for (const std::size_t bytes : allSizes) {
        // More than a few pieces hold.
        const std::size_t many = 5 * small_blocks::pieceBytes / bytes / 4 + 1000;
        std::vector<unsigned char*> blocks(many);
        for (std::size_t i = 0; i < many; ++i) {
            blocks[i] = static_cast<unsigned char*>(small_blocks::take(bytes));
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(blocks[i]) % 16, 0U);
            std::memset(blocks[i], static_cast<int>(i % 251), bytes);
        }
        for (std::size_t i = 0; i < many; ++i)
            ASSERT_TRUE(std::all_of(blocks[i], blocks[i] + bytes,
                                    [i](unsigned char byte) { return byte == i % 251; }))
                << bytes << " bytes, block " << i;
        std::vector<unsigned char*> sorted = blocks;
        std::sort(sorted.begin(), sorted.end());
        for (std::size_t i = 1; i < many; ++i) ASSERT_GE(sorted[i] - sorted[i - 1], 16);
        for (unsigned char* block : blocks) small_blocks::give(block);
    }
}

TEST(SmallBlocks, AnEmptyPieceServesAnotherSize) {
    const NoRoom none(96);
    const NoRoom noneOfTheOther(32);
    const std::size_t before = small_blocks::counts().inUse;
    std::vector<void*> blocks;
    while (small_blocks::counts().inUse < before + 10) blocks.push_back(small_blocks::take(96));
    for (void* block : blocks) small_blocks::give(block);
    const small_blocks::Counts after = small_blocks::counts();
    EXPECT_LE(after.inUse, before + 1) << "the current piece stays";
    EXPECT_GE(after.warm, 9U);
    blocks.clear();
    while (small_blocks::counts().inUse < after.inUse + 8) blocks.push_back(small_blocks::take(32));
    EXPECT_EQ(small_blocks::counts().warm, after.warm - 8);
    for (void* block : blocks) small_blocks::give(block);
}

TEST(SmallBlocks, AFullPieceHasRoomAgainWhenOneBlockComesBack) {
    const NoRoom none(64);
    const std::size_t before = small_blocks::counts().inUse;
    std::vector<void*> blocks;
    while (small_blocks::counts().inUse < before + 3) blocks.push_back(small_blocks::take(64));
    // The first piece is full, and another is the current one.
    small_blocks::give(blocks.front());
    std::vector<void*> others;
    do others.push_back(small_blocks::take(64));
    while (others.back() != blocks.front() && others.size() < 2 * small_blocks::pieceBytes / 64);
    EXPECT_EQ(others.back(), blocks.front());
    EXPECT_EQ(small_blocks::counts().inUse, before + 3) << "that was not worth a new piece";
    blocks.erase(blocks.begin());
    for (void* block : blocks) small_blocks::give(block);
    for (void* block : others) small_blocks::give(block);
}

TEST(SmallBlocks, OfManyEmptyPiecesTheMemoryGoesBackToTheSystem) {
    const std::size_t pieces = small_blocks::mostWarm + 50;
    const small_blocks::Counts before = small_blocks::counts();
    std::vector<void*> blocks;
    while (small_blocks::counts().inUse < before.inUse + pieces)
        blocks.push_back(small_blocks::take(128));
    for (void* block : blocks) std::memset(block, 0x5a, 128);
    for (void* block : blocks) small_blocks::give(block);
    const small_blocks::Counts after = small_blocks::counts();
    EXPECT_EQ(after.warm, small_blocks::mostWarm);
    EXPECT_GT(after.cold, 0U);
    EXPECT_LE(after.inUse, before.inUse + 1);
    // Cold ones are as good as new.
    for (void*& block : blocks) {
        block = small_blocks::take(128);
        std::memset(block, 0xa5, 128);
    }
    EXPECT_EQ(small_blocks::counts().warm, 0U);
    EXPECT_LT(small_blocks::counts().cold, after.cold);
    for (void* block : blocks) small_blocks::give(block);
}

// Against a plain account of what is taken.
TEST(SmallBlocks, AnyOrderOfTakingAndGiving) {
    std::mt19937 random(7);
    struct Taken {
        unsigned char* block;
        std::size_t bytes;
        unsigned char mark;
    };
    std::vector<Taken> taken;
    const auto give = [&](std::size_t at) {
        const Taken one = taken[at];
        for (std::size_t i = 0; i < one.bytes; ++i) ASSERT_EQ(one.block[i], one.mark);
        taken[at] = taken.back();
        taken.pop_back();
        small_blocks::give(one.block);
    };
    for (int i = 0; i < 400'000; ++i) {
        // Swells and shrinks, so that pieces fill and empty.
        const bool grows = random() % 100 < (i / 50'000 % 2 == 0 ? 70U : 30U);
        if (grows || taken.empty()) {
            const std::size_t bytes = 1 + random() % small_blocks::largest;
            auto* block = static_cast<unsigned char*>(small_blocks::take(bytes));
            const auto mark = static_cast<unsigned char>(random());
            std::memset(block, mark, bytes);
            taken.push_back({block, bytes, mark});
        } else {
            give(random() % taken.size());
        }
        if (HasFatalFailure()) return;
    }
    while (!taken.empty()) give(taken.size() - 1);
}

}  // namespace
}  // namespace vlisp
