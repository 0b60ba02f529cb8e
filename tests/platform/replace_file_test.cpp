// Tests of replaceFile (platform/system.h) that hold on every system; what is special to one is in
// replace_file_posix_test.cpp and replace_file_windows_test.cpp.
#include "tests/platform/replace_file_test.h"

namespace vlisp::platform {
namespace {

using namespace test;

TEST_F(ReplaceFile, MakesANewFileWithTheUsualMode) {
    const fs::path file = folder_ / "new.dxf";
    EXPECT_EQ(replace(file, "hello"), "");
    EXPECT_EQ(contentOf(file), "hello");
    EXPECT_EQ(names(), "new.dxf");
    put(folder_ / "plain", "");
    EXPECT_EQ(fs::status(file).permissions(), fs::status(folder_ / "plain").permissions());
}

TEST_F(ReplaceFile, JoinsPiecesOfEverySize) {
    const std::string large(3'000'000, 'L');
    const std::string block(std::size_t{1} << 20, 'B');
    std::vector<std::string_view> pieces{"", "a", large, "b", block, ""};
    std::string expected = "a" + large + "b" + block;
    for (int i = 0; i < 500'000; ++i) {
        pieces.emplace_back(i % 3 == 0 ? "  0\n" : "LINE\n");
        expected += pieces.back();
    }
    std::string reason;
    EXPECT_TRUE(replaceFile((folder_ / "a").string(), pieces, OldFile::drop, reason)) << reason;
    EXPECT_TRUE(contentOf(folder_ / "a") == expected);
    EXPECT_TRUE(replaceFile((folder_ / "a").string(), {}, OldFile::drop, reason)) << reason;
    EXPECT_EQ(contentOf(folder_ / "a"), "");
}

TEST_F(ReplaceFile, KeepsTheOldFileAsBackupInPlaceOfAnOlderOne) {
    const fs::path file = folder_ / "a.dxf";
    EXPECT_EQ(replace(file, "1", OldFile::keep), "");
    EXPECT_EQ(names(), "a.dxf");
    EXPECT_EQ(replace(file, "2", OldFile::keep), "");
    EXPECT_EQ(contentOf(folder_ / "a.dxf.bak"), "1");
    EXPECT_EQ(replace(file, "3", OldFile::keep), "");
    EXPECT_EQ(contentOf(file), "3");
    EXPECT_EQ(contentOf(folder_ / "a.dxf.bak"), "2");
    EXPECT_EQ(replace(file, "4"), "");
    EXPECT_EQ(contentOf(folder_ / "a.dxf.bak"), "2");
    EXPECT_EQ(names(), "a.dxf a.dxf.bak");
}

TEST_F(ReplaceFile, TakesABackupThatIsTheFileItself) {
    const fs::path file = folder_ / "a.dxf";
    put(file, "old");
    fs::create_hard_link(file, folder_ / "a.dxf.bak");
    EXPECT_EQ(replace(file, "new", OldFile::keep), "");
    EXPECT_EQ(contentOf(file), "new");
    EXPECT_EQ(contentOf(folder_ / "a.dxf.bak"), "old");
    EXPECT_EQ(names(), "a.dxf a.dxf.bak");
}

TEST_F(ReplaceFile, TakesARelativePath) {
    const fs::path before = fs::current_path();
    fs::current_path(folder_);
    EXPECT_EQ(replace("a.dxf", "1"), "");
    EXPECT_EQ(replace("a.dxf", "2", OldFile::keep), "");
    fs::current_path(before);
    EXPECT_EQ(contentOf(folder_ / "a.dxf"), "2");
    EXPECT_EQ(names(), "a.dxf a.dxf.bak");
}

}  // namespace
}  // namespace vlisp::platform
