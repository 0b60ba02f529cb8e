// The words of a command line are cut by each program for itself on Windows, and come as 16-bit units.
#include "tests/cli/console_windows.h"
#include "tests/support/temporary_folder.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

// What vlisp prints when its command line goes on with `words`.
std::string printed(const std::wstring& words) {
    const vlisp::test::TemporaryFolder folder;
    const fs::path file = folder.path() / "printed";
    // The program's console may hold it a little longer than the program.
    constexpr DWORD everybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const HANDLE output = ::CreateFileW(file.c_str(), GENERIC_WRITE, everybody, &inherited,
                                        CREATE_ALWAYS, 0, nullptr);
    EXPECT_NE(output, INVALID_HANDLE_VALUE);
    EXPECT_GE(vlisp::cli_tests::Child(words, nullptr, output).exitCode(), 0);
    ::CloseHandle(output);
    return vlisp::test::contentsOf(file);
}

// A word that help does not know is shown as it came.
std::string shownWord(const std::wstring& word) {
    std::string text = printed(L"help " + word);
    const std::string before = "vlisp: nothing is known as '";
    if (!text.starts_with(before)) return "?" + text;
    return text.substr(before.size(), text.rfind('\'') - before.size());
}

TEST(Words, BlanksAndTabsPartThem) {
    EXPECT_EQ(printed(L"eval 1 \t 2"), "1\n2\n");
    EXPECT_EQ(printed(L"eval \"(list 1 2)\""), "(1 2)\n");
    EXPECT_EQ(printed(L"eval (list\" \"1\" \"2)"), "(1 2)\n");
}

TEST(Words, BackslashesMeanSomethingInFrontOfAQuoteOnly) {
    EXPECT_EQ(shownWord(LR"(zz\\zz\)"), R"(zz\\zz\)");
    EXPECT_EQ(shownWord(LR"(zz\"zz)"), R"(zz"zz)");
    EXPECT_EQ(shownWord(LR"("zz \"zz\" zz")"), R"(zz "zz" zz)");
    EXPECT_EQ(shownWord(LR"("zz zz\\")"), R"(zz zz\)");
    EXPECT_EQ(shownWord(LR"("zz\\\"zz")"), R"(zz\"zz)");
}

TEST(Words, AnEmptyOneIsOne) { EXPECT_EQ(printed(L"eval 1 \"\" 2"), "1\nnil\n2\n"); }

TEST(Words, LettersBeyondAsciiStay) { EXPECT_EQ(shownWord(L"größe漢😀"), "größe漢😀"); }

TEST(Words, PatternsOfFilesStay) {
    fs::current_path(fs::path(vlisp::cli_tests::programPath()).parent_path());
    ASSERT_TRUE(fs::exists("vlisp.exe"));
    EXPECT_EQ(shownWord(L"vlisp*"), "vlisp*");
    EXPECT_EQ(shownWord(L"vlis?.exe"), "vlis?.exe");
}

}  // namespace
