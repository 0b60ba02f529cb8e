// Tests of platform/system.h on Windows.
#include "platform/system.h"
#include "tests/support/temporary_folder.h"

#include <chrono>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vlisp::platform {
namespace {

DWORD protectionAt(const void* address) {
    MEMORY_BASIC_INFORMATION found{};
    return ::VirtualQuery(address, &found, sizeof found) != 0 ? found.Protect : 0;
}

TEST(Code, IsACopyThatCanBeExecutedAndNotWritten) {
    const unsigned char instructions[] = {0xb8, 0x2a, 0, 0, 0, 0xc3};  // return 42
    std::byte* code = allocateCode(instructions, sizeof instructions);
    ASSERT_NE(code, nullptr);
    EXPECT_EQ(std::memcmp(code, instructions, sizeof instructions), 0);
    EXPECT_EQ(protectionAt(code), static_cast<DWORD>(PAGE_EXECUTE_READ));
    EXPECT_EQ(reinterpret_cast<int (*)()>(code)(), 42);
    freeCode(code, sizeof instructions);
    EXPECT_NE(protectionAt(code), static_cast<DWORD>(PAGE_EXECUTE_READ));
}

// To copy a large block at every small step would take time by the square.
TEST(Block, MovesSeldomWhenItGrowsBySmallSteps) {
    constexpr std::size_t step = std::size_t{1} << 20;
    std::size_t bytes = step;
    void* block = allocateBlock(bytes);
    ASSERT_NE(block, nullptr);
    int moves = 0;
    for (int i = 0; i < 200; ++i) {
        static_cast<char*>(block)[bytes - 1] = 'x';
        void* resized = resizeBlock(block, bytes, bytes + step);
        ASSERT_NE(resized, nullptr);
        EXPECT_EQ(static_cast<char*>(resized)[bytes - 1], 'x');
        moves += resized != block ? 1 : 0;
        block = resized;
        bytes += step;
    }
    EXPECT_LE(moves, 8);
    freeBlock(block, bytes);
}

TEST(ProgramPath, IsThisProgram) {
    const std::u16string path = programPath();
    EXPECT_TRUE(path.ends_with(u"platform_tests.exe"));
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(path)));
    EXPECT_EQ(path.substr(1, 2), u":\\");
}

TEST(FunctionOfModule, IsFoundInItsFile) {
    std::string reason = "left alone";
    const ModuleFunction found = functionOfModule("kernel32.dll", "GetTickCount", reason);
    ASSERT_NE(found, nullptr) << reason;
    EXPECT_EQ(reason, "left alone");
    EXPECT_EQ(functionOfModule("kernel32.dll", "no_such_function", reason), nullptr);
    EXPECT_TRUE(reason.starts_with("kernel32.dll: no_such_function: ")) << reason;
    EXPECT_EQ(functionOfModule("C:\\no\\such.dll", "f", reason), nullptr);
    EXPECT_TRUE(reason.starts_with("C:\\no\\such.dll: ")) << reason;
}

TEST(ModuleInstance, IsWhereThisImageBegins) {
    const void* instance = moduleInstance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(std::string(static_cast<const char*>(instance), 2), "MZ");
}

TEST(SplitPath, KnowsDrivesAndBothSeparators) {
    const struct {
        std::u16string_view path, drive, directory, name, extension;
    } rows[] = {
        {u"C:\\lisp\\box.lsp", u"C:", u"\\lisp\\", u"box", u".lsp"},
        {u"c:box.lsp", u"c:", u"", u"box", u".lsp"},
        {u"\\\\server\\share\\a.b.lsp", u"", u"\\\\server\\share\\", u"a.b", u".lsp"},
        {u"a/b\\box", u"", u"a/b\\", u"box", u""},
        {u"C:\\a.b\\", u"C:", u"\\a.b\\", u"", u""},
        {u".lsp", u"", u"", u"", u".lsp"},
        {u"", u"", u"", u"", u""},
    };
    for (const auto& row : rows) {
        const PathParts parts = splitPath(row.path);
        EXPECT_EQ(parts.drive, row.drive);
        EXPECT_EQ(parts.directory, row.directory);
        EXPECT_EQ(parts.name, row.name);
        EXPECT_EQ(parts.extension, row.extension);
        EXPECT_EQ(nativePath(row.path), row.path) << "both separators are the system's";
    }
}

TEST(ReadFile, TakesAPathLongerThanTheSystemsUsualLimit) {
    const vlisp::test::TemporaryFolder folder;
    std::string path = folder.path().string();
    for (int i = 0; i < 3; ++i) path += "\\" + std::string(100, static_cast<char>('a' + i));
    const std::string file = path + "\\box.lsp";
    std::string marked = "\\\\?\\" + path;
    std::filesystem::create_directories(
        std::filesystem::path(std::u16string(marked.begin(), marked.end())));
    std::string reason;
    const std::string_view pieces[] = {"(+ 1 2)"};
    ASSERT_TRUE(replaceFile(file, pieces, OldFile::drop, reason)) << reason;
    std::string bytes;
    EXPECT_TRUE(readFile(file, bytes, reason)) << reason;
    EXPECT_EQ(bytes, "(+ 1 2)");
    EXPECT_NE(fileIdentity(file), "");
}

TEST(StartEditor, HandsThePathToTheUsersEditor) {
    const vlisp::test::TemporaryFolder folder;
    const std::filesystem::path script = folder.write("edit.cmd", "@echo edited> %1\r\n");
    const std::filesystem::path file = folder.write("my file.lsp", "before");
    ::_wputenv_s(L"VISUAL", L"");
    ::_wputenv_s(L"EDITOR", (L"cmd.exe /c " + script.wstring()).c_str());
    startEditor(file.u16string(), true);
    ::_wputenv_s(L"EDITOR", L"");
    EXPECT_EQ(vlisp::test::contentsOf(file), "edited\r\n");
}

}  // namespace
}  // namespace vlisp::platform
