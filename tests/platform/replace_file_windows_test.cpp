// Tests of replaceFile (platform/system.h) on Windows.
#include "tests/platform/replace_file_test.h"

namespace vlisp::platform {
namespace {

using namespace test;

TEST_F(ReplaceFile, NamesPathAndReasonOfAFailure) {
    const fs::path lost = folder_ / u"no/such.dxf";
    EXPECT_EQ(replace(lost, "x"), "cannot write " + lost.string() + ": No such file or directory");
    EXPECT_EQ(replace(folder_, "x"), "cannot write " + folder_.string() + ": Is a directory");
    EXPECT_EQ(names(), "");
}

TEST_F(ReplaceFile, DoesNotReplaceWhatMayNotBeWritten) {
    const fs::path file = folder_ / u"a.dxf";
    put(file, "old");
    fs::permissions(file, fs::perms::owner_read);
    EXPECT_EQ(replace(file, "new"), "cannot write " + file.string() + ": Permission denied");
    EXPECT_EQ(contentOf(file), "old");
    EXPECT_EQ(names(), "a.dxf");
    fs::permissions(file, fs::perms::owner_all);
}

TEST_F(ReplaceFile, TakesNamesBeyondAscii) {
    fs::create_directory(folder_ / u"Zeichnungen \u00e9\u6f22");
    const fs::path file = folder_ / u"Zeichnungen \u00e9\u6f22" / u"\u03a9.dxf";
    EXPECT_EQ(replace(file, "1", OldFile::keep), "");
    EXPECT_EQ(replace(file, "2", OldFile::keep), "");
    EXPECT_EQ(contentOf(file), "2");
    EXPECT_EQ(contentOf(fs::path(file.u16string() + u".bak")), "1");
}

}  // namespace
}  // namespace vlisp::platform
