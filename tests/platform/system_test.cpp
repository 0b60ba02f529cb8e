// Tests of platform/system.h that hold on every system; what is special to one is in
// system_posix_test.cpp and system_windows_test.cpp.
#include "platform/system.h"

#include "platform/text.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vlisp::platform {
namespace {

TEST(TickCount, CountsMilliseconds) {
    const std::uint32_t before = tickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    const std::uint32_t passed = tickCount() - before;
    EXPECT_GE(passed, 29U);
    EXPECT_LT(passed, 30'000U);
}

TEST(Memory, OfTheMachineIsPlausible) {
    EXPECT_GE(physicalMemory(), std::size_t{64} << 20);
    EXPECT_LE(physicalMemory(), std::size_t{1} << 50);
}

// Goes down until the stack is low; returns how many levels that took.
int descend(int level) {
    volatile char frame[1000];
    frame[0] = static_cast<char>(level);
    if (stackIsLow() || level > 100'000'000) return level;
    const int deepest = descend(level + 1);
    return frame[0] == static_cast<char>(level) ? deepest : -1;
}

TEST(Stack, IsLowOnlyNearItsEnd) {
    EXPECT_FALSE(stackIsLow());
    int levels = 0;
    Worker worker(std::size_t{4} << 20, [&] { levels = descend(0); });
    worker.join();
    EXPECT_GT(levels, 1'000);
    // The system may hand out a larger stack that it has kept from another thread.
    EXPECT_LT(levels, 100'000);
}

TEST(Stack, IsLowBeforeAnOrdinaryThreadFails) {
    int levels = 0;
    std::thread thread([&] { levels = descend(0); });
    thread.join();
    EXPECT_GT(levels, 100);
    EXPECT_FALSE(stackIsLow());
}

TEST(Stack, OfAnEvaluationThreadIsLarge) {
    int levels = 0;
    Worker worker(evaluationStack, [&] { levels = descend(0); });
    worker.join();
    EXPECT_GT(static_cast<std::size_t>(levels), evaluationStack / 10'000);
}

TEST(Worker, RunsOnAThreadOfItsOwn) {
    std::thread::id other;
    Worker worker(std::size_t{1} << 20, [&] { other = std::this_thread::get_id(); });
    worker.join();
    worker.join();
    EXPECT_NE(other, std::this_thread::get_id());
    EXPECT_NE(other, std::thread::id());
}

TEST(Worker, IsJoinedWhenDestroyed) {
    bool done = false;
    {
        const Worker worker(std::size_t{1} << 20, [&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            done = true;
        });
    }
    EXPECT_TRUE(done);
}

TEST(Worker, TakesLessStackWhereTheSystemRefuses) {
    bool done = false;
    {
        const Worker worker(std::size_t{1} << 60, [&] { done = true; });
    }
    EXPECT_TRUE(done);
}

// Whether `address` is near this function's frame.
bool isOnThisStack(const void* address) {
    const char here = 0;
    const auto at = reinterpret_cast<std::intptr_t>(address);
    return std::abs(at - reinterpret_cast<std::intptr_t>(&here)) < 64 * 1024;
}

TEST(WithStack, StaysOnAStackThatHasEnough) {
    bool near = false;
    const char here = 0;
    withStack(16 * 1024, [&] { near = isOnThisStack(&here); });
    EXPECT_TRUE(near);
}

TEST(WithStack, GoesToAStackThatHasEnough) {
    const char here = 0;
    bool near = true;
    bool nearWithin = false;
    int levels = 0;
    withStack(std::size_t{256} << 20, [&] {
        near = isOnThisStack(&here);
        levels = descend(0);
        const char within = 0;
        withStack(std::size_t{1} << 20, [&] { nearWithin = isOnThisStack(&within); });
    });
    EXPECT_FALSE(near);
    EXPECT_TRUE(nearWithin);
    EXPECT_GT(static_cast<std::size_t>(levels), evaluationStack / 10'000);
}

TEST(WithStack, IsTheSameThread) {
    std::thread::id where;
    withStack(std::size_t{256} << 20, [&] { where = std::this_thread::get_id(); });
    EXPECT_EQ(where, std::this_thread::get_id());
}

TEST(WithStack, KnowsAgainAfterwardsHowMuchThisOneHas) {
    const int before = descend(0);
    withStack(std::size_t{256} << 20, [] {});
    EXPECT_NEAR(descend(0), before, before / 10 + 10);
}

TEST(WithStack, MayBeNested) {
    std::vector<int> order;
    withStack(std::size_t{256} << 20, [&] {
        order.push_back(1);
        withStack(std::size_t{512} << 20, [&] {
            order.push_back(2);
            EXPECT_THROW(
                withStack(std::size_t{1} << 30, [] { throw std::runtime_error("innermost"); }),
                std::runtime_error);
        });
        order.push_back(3);
    });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(WithStack, TakesLessWhereTheSystemRefuses) {
    bool done = false;
    withStack(std::size_t{1} << 60, [&] { done = true; });
    EXPECT_TRUE(done);
}

// --- Memory that stays ---

TEST(AllocateAligned, IsAlignedAndZeroAndCanBeForgotten) {
    for (const Pages pages : {Pages::whenTouched, Pages::now}) {
        for (const std::size_t alignment :
             {std::size_t{4096}, std::size_t{16384}, std::size_t{1} << 21}) {
            constexpr std::size_t bytes = std::size_t{1} << 20;
            auto* memory = static_cast<unsigned char*>(allocateAligned(bytes, alignment, pages));
            ASSERT_NE(memory, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % alignment, 0U);
            EXPECT_TRUE(
                std::all_of(memory, memory + bytes, [](unsigned char b) { return b == 0; }));
            std::fill_n(memory, bytes, static_cast<unsigned char>(0xee));
            forgetPages(memory + 1, bytes - 2);  // what lies in whole pages, and no more
            EXPECT_EQ(memory[4095], 0xee);
            EXPECT_EQ(memory[bytes - 4096], 0xee);
            std::fill_n(memory, bytes, static_cast<unsigned char>(0x11));
            EXPECT_EQ(memory[bytes - 1], 0x11);
        }
    }
}

TEST(AllocateAligned, IsNullWhereThereIsNotSoMuch) {
    EXPECT_EQ(allocateAligned(std::size_t{1} << 60, 4096, Pages::whenTouched), nullptr);
}

TEST(WithStack, HandsAnExceptionToTheCaller) {
    for (const std::size_t bytes : {std::size_t{1024}, std::size_t{256} << 20})
        EXPECT_THROW(withStack(bytes, [] { throw std::runtime_error("seen"); }),
                     std::runtime_error);
}

// --- Blocks ---

constexpr std::size_t largePage = std::size_t{2} << 20;
const std::size_t blockSizes[] = {
    1, 100, 4096, 65'537, largePage - 1, largePage, largePage + 1, 3 * largePage + 5000};

// Looks at all bytes of a block from `from` on.
bool isZero(const void* block, std::size_t from, std::size_t bytes) {
    const auto* begin = static_cast<const unsigned char*>(block);
    return std::all_of(begin + from, begin + bytes, [](unsigned char byte) { return byte == 0; });
}

void fill(void* block, std::size_t bytes) {
    auto* begin = static_cast<unsigned char*>(block);
    for (std::size_t i = 0; i < bytes; ++i) begin[i] = static_cast<unsigned char>(i % 251 + 1);
}

bool isFilled(const void* block, std::size_t bytes) {
    const auto* begin = static_cast<const unsigned char*>(block);
    for (std::size_t i = 0; i < bytes; ++i)
        if (begin[i] != i % 251 + 1) return false;
    return true;
}

TEST(Block, IsZeroAndCanBeFilled) {
    for (const std::size_t bytes : blockSizes) {
        void* block = allocateBlock(bytes);
        ASSERT_NE(block, nullptr) << bytes;
        EXPECT_TRUE(isZero(block, 0, bytes)) << bytes;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 4096, 0U) << bytes;
        fill(block, bytes);
        EXPECT_TRUE(isFilled(block, bytes)) << bytes;
        freeBlock(block, bytes);
    }
}

TEST(Block, SeveralDoNotOverlap) {
    void* blocks[std::size(blockSizes)];
    for (std::size_t i = 0; i < std::size(blockSizes); ++i) {
        blocks[i] = allocateBlock(blockSizes[i]);
        ASSERT_NE(blocks[i], nullptr);
        fill(blocks[i], blockSizes[i]);
    }
    for (std::size_t i = 0; i < std::size(blockSizes); ++i) {
        EXPECT_TRUE(isFilled(blocks[i], blockSizes[i]));
        freeBlock(blocks[i], blockSizes[i]);
    }
}

TEST(Block, WhatComesAfterAnotherIsZeroAgain) {
    for (int round = 0; round < 3; ++round) {
        constexpr std::size_t bytes = largePage + 4096;
        void* block = allocateBlock(bytes);
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(isZero(block, 0, bytes));
        fill(block, bytes);
        freeBlock(block, bytes);
    }
}

TEST(Block, KeepsItsContentsWhenItIsResized) {
    for (const std::size_t bytes : blockSizes)
        for (const std::size_t newBytes : blockSizes) {
            void* block = allocateBlock(bytes);
            ASSERT_NE(block, nullptr);
            fill(block, bytes);
            void* resized = resizeBlock(block, bytes, newBytes);
            ASSERT_NE(resized, nullptr) << bytes << " to " << newBytes;
            EXPECT_TRUE(isFilled(resized, std::min(bytes, newBytes)))
                << bytes << " to " << newBytes;
            if (newBytes > bytes) {
                EXPECT_TRUE(isZero(resized, bytes, newBytes)) << bytes << " to " << newBytes;
            }
            fill(resized, newBytes);
            freeBlock(resized, newBytes);
        }
}

TEST(Block, GrowsAgainAndAgain) {
    std::size_t bytes = 4096;
    void* block = allocateBlock(bytes);
    ASSERT_NE(block, nullptr);
    while (bytes < (std::size_t{16} << 20)) {
        fill(block, bytes);
        block = resizeBlock(block, bytes, bytes * 2);
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(isFilled(block, bytes));
        EXPECT_TRUE(isZero(block, bytes, bytes * 2));
        bytes *= 2;
    }
    freeBlock(block, bytes);
}

TEST(Block, IsRefusedWhereThereIsNoMemory) {
    EXPECT_EQ(allocateBlock(SIZE_MAX), nullptr);
    EXPECT_EQ(allocateBlock(SIZE_MAX - largePage), nullptr);
    EXPECT_EQ(allocateBlock(std::size_t{1} << 60), nullptr);
    void* block = allocateBlock(10'000);
    ASSERT_NE(block, nullptr);
    fill(block, 10'000);
    EXPECT_EQ(resizeBlock(block, 10'000, std::size_t{1} << 60), nullptr);
    EXPECT_TRUE(isFilled(block, 10'000)) << "it stays as it was";
    freeBlock(block, 10'000);
}

class Window final : public MessageWindow {
  public:
    void post(unsigned message, const void* record) override {
        posted.emplace_back(message, record);
    }
    void warn(const char16_t* text) override { warnings.emplace_back(text); }
    bool chooseFile(const FileDialog& dialog, char16_t* path, std::size_t capacity) override {
        asked.emplace_back(std::u16string(dialog.defaultExtension) + u" " + dialog.filter);
        room = capacity;
        if (!chosen) return false;
        std::copy_n(chosen->c_str(), std::min(chosen->size() + 1, capacity), path);
        return true;
    }

    std::vector<std::u16string> warnings;
    std::vector<std::u16string> asked;
    std::optional<std::u16string> chosen;  // none: the user cancels
    std::size_t room = 0;
    std::vector<std::pair<unsigned, const void*>> posted;
};

TEST(Window, TakesWhatIsPosted) {
    Window window;
    const int record = 0;
    postToMainWindow(&window, 32771, &record);
    postToMainWindow(nullptr, 32771, &record);
    ASSERT_EQ(window.posted.size(), 1U);
    EXPECT_EQ(window.posted[0].first, 32771U);
    EXPECT_EQ(window.posted[0].second, &record);
}

TEST(Window, ShowsWarnings) {
    Window window;
    warn(&window, u"Careful");
    EXPECT_EQ(window.warnings, std::vector<std::u16string>{u"Careful"});
    EXPECT_TRUE(window.posted.empty());
}

TEST(Window, AWarningWithoutAWindowGoesToTheErrorStream) {
    testing::internal::CaptureStderr();
    warn(nullptr, u"Careful \u00e9");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Careful \xc3\xa9\n");
}

TEST(Window, LetsTheUserChooseAFile) {
    const FileDialog dialog{u".lsp", u"Lisp files (*.lsp)|*lsp||"};
    Window window;
    window.chosen = u"/a/b.lsp";
    EXPECT_EQ(chooseFile(&window, dialog), u"/a/b.lsp");
    EXPECT_EQ(window.asked, std::vector<std::u16string>{u".lsp Lisp files (*.lsp)|*lsp||"});
    EXPECT_EQ(window.room, 100'000U);
    window.chosen = std::u16string(window.room - 1, u'x');
    EXPECT_EQ(chooseFile(&window, dialog), *window.chosen) << "as long as there is room for";
    window.chosen->append(u"xyz");
    EXPECT_EQ(chooseFile(&window, dialog), std::u16string(window.room - 1, u'x'))
        << "cut where a host forgets the end";
    window.chosen = u"";
    EXPECT_EQ(chooseFile(&window, dialog), u"");
    window.chosen.reset();
    EXPECT_EQ(chooseFile(&window, dialog), u"") << "cancelled";
    EXPECT_EQ(chooseFile(nullptr, dialog), u"");
}

TEST(ReadFile, GivesTheBytesAsTheyAre) {
    const std::string path = (std::filesystem::temp_directory_path() /
                              ("system_test_" + std::to_string(std::random_device()()) + ".bin"))
                                 .string();
    std::string written("a\r\n\0\xff", 5);
    written += std::string(200'000, 'x');
    std::ofstream(path, std::ios::binary) << written;
    std::string bytes = "before";
    std::string reason;
    EXPECT_TRUE(readFile(path, bytes, reason));
    EXPECT_EQ(bytes, written);
    EXPECT_EQ(reason, "");
    std::filesystem::remove(path);
}

TEST(ReadFile, SaysWhyItCannot) {
    for (const std::string& path :
         {std::string("/none/such.lsp"), std::filesystem::temp_directory_path().string()}) {
        std::string bytes;
        std::string reason;
        EXPECT_FALSE(readFile(path, bytes, reason)) << path;
        EXPECT_NE(reason, "") << path;
    }
}

TEST(ReadFile, TellsWhatKeptItFromReading) {
    const std::string folder = std::filesystem::temp_directory_path().string();
    const struct {
        std::string path;
        FileRead outcome;
    } rows[] = {
        {"/none/such.lsp", FileRead::notOpened},
        {"", FileRead::notOpened},
#ifdef _WIN32
        {folder, FileRead::notOpened},
#else
        {folder, FileRead::failed},
#endif
    };
    for (const auto& row : rows) {
        std::string bytes = "before";
        std::string reason;
        EXPECT_EQ(readWholeFile(row.path, bytes, reason), row.outcome) << row.path;
        EXPECT_EQ(bytes, "") << row.path;
        EXPECT_EQ(reason.empty(), row.outcome == FileRead::done) << row.path;
    }
}

TEST(LeadToTheSame, InAnotherSpellingOrByALink) {
    const vlisp::test::TemporaryFolder folder;
    const std::string here = toUtf8(folder.path().u16string());
    EXPECT_TRUE(leadToTheSame(here + "/\u00e4.dxf", here + "/./\u00e4.dxf"));
    EXPECT_TRUE(leadToTheSame(here + "/no/../\u00e4.dxf", here + "/\u00e4.dxf"));
    EXPECT_FALSE(leadToTheSame(here + "/\u00e4.dxf", here + "/\u00f6.dxf"));
#if defined(_WIN32)
    EXPECT_TRUE(leadToTheSame(here + "/PLAN.DXF", here + "/plan.dxf"));
#else
    EXPECT_FALSE(leadToTheSame(here + "/PLAN.DXF", here + "/plan.dxf"));
    folder.write("plan.dxf", "");
    const std::filesystem::path link = folder.path() / "link.dxf";
    std::filesystem::create_symlink("plan.dxf", link);
    EXPECT_TRUE(leadToTheSame(link.string(), here + "/plan.dxf"));
#endif
}

}  // namespace
}  // namespace vlisp::platform
