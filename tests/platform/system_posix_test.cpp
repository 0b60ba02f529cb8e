// Tests of platform/system.h on Linux and its relatives.
#include "platform/system.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace vlisp::platform {
namespace {

constexpr std::size_t largePage = std::size_t{2} << 20;

// Where the stack of this thread ends, as the library says, or where an evaluation's part of it does.
std::uintptr_t endOfStack() {
    pthread_attr_t attributes;
    void* lowest = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(pthread_getattr_np(pthread_self(), &attributes), 0);
    EXPECT_EQ(pthread_attr_getstack(&attributes, &lowest, &size), 0);
    pthread_attr_destroy(&attributes);
    return reinterpret_cast<std::uintptr_t>(lowest) + size - std::min(size, evaluationStack);
}

// Goes down until the stack is low; returns where that is.
std::uintptr_t descendToTheLast() {
    volatile char frame[1000];
    frame[0] = 1;
    const std::uintptr_t here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    const std::uintptr_t last = stackIsLow() ? here : descendToTheLast();
    return frame[0] == 1 ? last : 0;
}

TEST(Stack, OfTheFirstThreadIsLowWhereOthersAre) {
    ASSERT_EQ(::gettid(), ::getpid()) << "tests run on the first thread";
    constexpr std::uintptr_t reserve = 256 * 1024;
    constexpr std::uintptr_t nearly = 16 * 1024;
    const std::uintptr_t wanted = endOfStack() + reserve;
    const std::uintptr_t last = descendToTheLast();
    EXPECT_LT(last, wanted + nearly);
    EXPECT_GT(last, wanted - nearly);
}

// --- Code ---

// What may be done with the memory at this address, "r-xp" for one; empty when there is none.
std::string permissionsAt(const void* address) {
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char permissions[5] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, permissions) == 3 &&
            begin <= wanted && wanted < end)
            return permissions;
    }
    return {};
}

TEST(Code, IsACopyThatCanBeExecutedAndNotWritten) {
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{4096}, std::size_t{10'000}}) {
        std::vector<unsigned char> instructions(bytes);
        for (std::size_t i = 0; i < bytes; ++i)
            instructions[i] = static_cast<unsigned char>(i % 251);
        std::byte* code = allocateCode(instructions.data(), bytes);
        ASSERT_NE(code, nullptr) << bytes;
        EXPECT_EQ(std::memcmp(code, instructions.data(), bytes), 0) << bytes;
        EXPECT_EQ(permissionsAt(code), "r-xp") << bytes;
        EXPECT_EQ(permissionsAt(code + bytes - 1), "r-xp") << bytes;
        freeCode(code, bytes);
    }
}

TEST(Code, SeveralLiveBesideOneAnother) {
    const unsigned char ones[] = {1, 1, 1};
    const unsigned char twos[] = {2, 2, 2};
    std::byte* first = allocateCode(ones, sizeof ones);
    std::byte* second = allocateCode(twos, sizeof twos);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_EQ(std::memcmp(first, ones, sizeof ones), 0);
    freeCode(first, sizeof ones);
    EXPECT_EQ(std::memcmp(second, twos, sizeof twos), 0);
    EXPECT_EQ(permissionsAt(second), "r-xp");
    freeCode(second, sizeof twos);
}

TEST(Code, IsGivenBack) {
    const unsigned char none[] = {0};
    std::byte* code = allocateCode(none, sizeof none);
    ASSERT_NE(code, nullptr);
    ASSERT_FALSE(permissionsAt(code).empty());
    freeCode(code, sizeof none);
    EXPECT_NE(permissionsAt(code), "r-xp");
}

TEST(Block, ALargeOneBeginsWithALargePage) {
    for (const std::size_t bytes : {largePage, 5 * largePage + 1}) {
        void* first = allocateBlock(bytes);
        void* second = allocateBlock(bytes);
        ASSERT_TRUE(first != nullptr && second != nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % largePage, 0U);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(second) % largePage, 0U);
        freeBlock(first, bytes);
        freeBlock(second, bytes);
    }
}

TEST(ProgramPath, IsThisProgram) {
    const std::filesystem::path path(programPath());
    ASSERT_TRUE(path.is_absolute()) << path;
    EXPECT_TRUE(std::filesystem::equivalent(path, "/proc/self/exe"));
}

TEST(FunctionOfModule, IsFoundInItsFile) {
    Dl_info library{};
    ASSERT_NE(::dladdr(reinterpret_cast<void*>(&std::puts), &library), 0);
    std::string reason = "left alone";
    const ModuleFunction found = functionOfModule(library.dli_fname, "abs", reason);
    ASSERT_NE(found, nullptr) << reason;
    EXPECT_EQ(reinterpret_cast<int (*)(int)>(found)(-5), 5);
    EXPECT_EQ(reason, "left alone");
    EXPECT_EQ(functionOfModule(library.dli_fname, "no_such_function", reason), nullptr);
    EXPECT_TRUE(reason.starts_with(library.dli_fname)) << reason;
    EXPECT_NE(reason.find("no_such_function"), std::string::npos) << reason;
}

TEST(FunctionOfModule, SaysWhichFileIsMissingOrNone) {
    const std::string missing = testing::TempDir() + "vlisp_no_such_module.so";
    std::string reason;
    EXPECT_EQ(functionOfModule(missing, "abs", reason), nullptr);
    EXPECT_EQ(reason, missing + ": cannot open shared object file: No such file or directory");
    const std::string text = testing::TempDir() + "vlisp_text_module.so";
    std::ofstream(text) << "no module at all";
    reason.clear();
    EXPECT_EQ(functionOfModule(text, "abs", reason), nullptr);
    EXPECT_TRUE(reason.starts_with(text)) << reason;
    std::filesystem::remove(text);
}

TEST(ModuleInstance, IsWhereThisImageBegins) {
    const void* instance = moduleInstance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance, moduleInstance());
    // An image begins with its format's mark.
    EXPECT_EQ(std::string(static_cast<const char*>(instance), 4), "\x7f"
                                                                  "ELF");
}

TEST(NativePath, TurnsBackslashesRound) {
    EXPECT_EQ(nativePath(u""), u"");
    EXPECT_EQ(nativePath(u"a.lsp"), u"a.lsp");
    EXPECT_EQ(nativePath(u"a\\b\\c.lsp"), u"a/b/c.lsp");
    EXPECT_EQ(nativePath(u"/a\\\\b/"), u"/a//b/");
    EXPECT_EQ(nativePath(u"\u00e9 \U0001F600\\"), u"\u00e9 \U0001F600/");
}

TEST(SplitPath, FindsTheParts) {
    const struct {
        std::u16string_view path, directory, name, extension;
    } rows[] = {
        {u"/home/u/box.lsp", u"/home/u/", u"box", u".lsp"},
        {u"box.lsp", u"", u"box", u".lsp"},
        {u"box", u"", u"box", u""},
        {u"a.b/box", u"a.b/", u"box", u""},
        {u"/two.dots.lsp", u"/", u"two.dots", u".lsp"},
        {u"/dir/", u"/dir/", u"", u""},
        {u"end.", u"", u"end", u"."},
        {u".lsp", u"", u"", u".lsp"},
        {u"", u"", u"", u""},
    };
    for (const auto& row : rows) {
        const PathParts parts = splitPath(row.path);
        EXPECT_EQ(parts.drive, u"");
        EXPECT_EQ(parts.directory, row.directory);
        EXPECT_EQ(parts.name, row.name);
        EXPECT_EQ(parts.extension, row.extension);
        EXPECT_EQ(parts.drive + parts.directory + parts.name + parts.extension, row.path);
    }
}

TEST(ReadFile, TakesADevice) {
    std::string bytes = "before";
    std::string reason;
    EXPECT_EQ(readWholeFile("/dev/null", bytes, reason), FileRead::done);
    EXPECT_EQ(bytes, "");
    EXPECT_EQ(reason, "");
}

}  // namespace
}  // namespace vlisp::platform
