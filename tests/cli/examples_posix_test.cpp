// The programs of examples/: each shows what stands in its .expected file, and nothing goes wrong. The
// pictures of the documents, and the parts of them that the program prints.
#include <algorithm>
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

// A folder with a copy of the examples; removed at the end.
class ExamplesFolder {
  public:
    ExamplesFolder() {
        std::string pattern = (fs::temp_directory_path() / "vlisp-examples-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        path_ = pattern;
        fs::copy(fs::path(PROJECT_ROOT) / "examples", path_ / "examples",
                 fs::copy_options::recursive);
    }
    ExamplesFolder(const ExamplesFolder&) = delete;
    ExamplesFolder& operator=(const ExamplesFolder&) = delete;
    ~ExamplesFolder() { fs::remove_all(path_); }

    [[nodiscard]] const fs::path& path() const noexcept { return path_; }
    // Runs a command in the folder.
    [[nodiscard]] Ran run(const std::string& command) const {
        return ::run("cd '" + path_.string() + "' && " + command);
    }

  private:
    fs::path path_;
};

// The command that a program's comment tells to run it by; empty without one.
std::string commandOf(const fs::path& program) {
    const std::string text = contentsOf(program);
    const std::string begin = "; Run it: ";
    const std::size_t at = text.find(begin);
    if (at == std::string::npos) return {};
    const std::size_t from = at + begin.size();
    return text.substr(from, text.find('\n', from) - from);
}

TEST_P(Examples, ShowsWhatIsExpected) {
    const fs::path expected = fs::path(GetParam()).replace_extension(".expected");
    ASSERT_TRUE(fs::exists(expected)) << expected;
    const std::string command = commandOf(GetParam());
    ASSERT_NE(command.find(GetParam().filename().string()), std::string::npos) << command;
    const ExamplesFolder folder;
    const Ran ran = folder.run(command + " 2>/dev/null < /dev/null");
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

// What a document shows is what a command makes.
void expectPicture(const char* name, const std::string& command) {
    const fs::path kept = fs::path(PROJECT_ROOT) / "docs" / "pictures" / name;
    const ExamplesFolder folder;
    const fs::path examples = folder.path() / "examples";
    const Ran ran = ::run("cd '" + examples.string() + "' && " + command + " 2>&1");
    ASSERT_EQ(ran.status, 0) << ran.shown;
    const std::string made = contentsOf(examples / name);
    ASSERT_NE(made, "") << command;
    if (std::getenv("VLISP_ACCEPT") != nullptr) {
        std::ofstream(kept, std::ios::binary) << made;
        return;
    }
    EXPECT_TRUE(made == contentsOf(kept)) << kept << " is not what this makes: " << command;
}

// The first two are made by these commands in ./dev demo too.
TEST(Documents, ThePictureOfThePlateIsUpToDate) {
    expectPicture("plate-before.svg", "vlisp plot plate.dxf -o plate-before.svg");
}

TEST(Documents, ThePictureOfTheNumberedPlateIsUpToDate) {
    expectPicture("plate-after.svg", "vlisp run number-holes.lsp --drawing plate.dxf "
                                     "--save numbered.dxf --plot plate-after.svg");
}

TEST(Documents, ThePictureOfADetailIsUpToDate) {
    expectPicture("plate-detail.svg", "vlisp plot plate.dxf -o plate-detail.svg "
                                      "--window 60,20,140,100 --layer HOLES --layer 'CENT*' "
                                      "--paper 100x100 --dark");
}

}  // namespace
