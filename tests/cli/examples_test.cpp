// The programs of examples/: each shows what stands in its .expected file, and nothing goes wrong.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

namespace fs = std::filesystem;

std::string contentsOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

struct Ran {
    std::string shown;
    int status;
};

Ran run(const std::string& command) {
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) return {"cannot start", -1};
    std::string shown;
    char block[4096];
    while (const std::size_t count = std::fread(block, 1, sizeof block, pipe))
        shown.append(block, count);
    return {shown, ::pclose(pipe)};
}

std::vector<fs::path> examples() {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(fs::path(PROJECT_ROOT) / "examples"))
        if (entry.path().extension() == ".lsp") found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

class Examples : public ::testing::TestWithParam<fs::path> {};

TEST_P(Examples, ShowsWhatIsExpected) {
    const fs::path expected = fs::path(GetParam()).replace_extension(".expected");
    ASSERT_TRUE(fs::exists(expected)) << expected;
    // A program that asks has its answers beside it; the others are given none.
    const fs::path answers = fs::path(GetParam()).replace_extension(".input");
    const std::string input = fs::exists(answers) ? answers.string() : "/dev/null";
    const Ran ran =
        run("vlisp run --input '" + input + "' '" + GetParam().string() + "' 2>/dev/null");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.shown, contentsOf(expected));
}

TEST_P(Examples, GivesTheCheckerNothingToSay) {
    const Ran ran = run("vlisp check '" + GetParam().string() + "' 2>&1");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.shown, "");
}

INSTANTIATE_TEST_SUITE_P(All, Examples, ::testing::ValuesIn(examples()), [](const auto& example) {
    std::string name = example.param.stem().string();
    for (char& c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    return name;
});

// The reference pages and the help come from one table; this keeps a page at it: what stands between
// the marks of `part` is what `command` prints.
void expectPart(const char* document, const std::string& part, const std::string& command) {
    const fs::path path = fs::path(PROJECT_ROOT) / "docs" / document;
    const std::string begin = "<!-- " + part + ": begin -->\n";
    const std::string end = "<!-- " + part + ": end -->";
    std::string page = contentsOf(path);
    const std::size_t from = page.find(begin);
    const std::size_t to = page.find(end);
    ASSERT_NE(from, std::string::npos);
    ASSERT_NE(to, std::string::npos);
    const Ran printed = run(command);
    ASSERT_EQ(printed.status, 0) << command;
    ASSERT_NE(printed.shown, "") << command;
    const std::string present = page.substr(from + begin.size(), to - from - begin.size());
    if (std::getenv("VLISP_ACCEPT") != nullptr) {
        page.replace(from + begin.size(), present.size(), printed.shown);
        std::ofstream(path, std::ios::binary) << page;
        return;
    }
    EXPECT_EQ(present, printed.shown);
}

TEST(Documents, TheReferenceOfTheLanguageIsWhatTheProgramPrints) {
    expectPart("language.md", "reference", "vlisp help --markdown");
}

TEST(Documents, TheReferenceOfTheCommandsIsWhatTheProgramPrints) {
    expectPart("commands.md", "commands", "vlisp help --commands-markdown");
}

TEST(Documents, TheReferenceOfTheVariablesIsWhatTheProgramPrints) {
    expectPart("commands.md", "variables", "vlisp help --variables-markdown");
}

}  // namespace
