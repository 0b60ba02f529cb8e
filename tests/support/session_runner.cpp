// Runs console sessions: tests/cli/*.session and the console blocks of the documents, each a test.
//
// A session is what a person sees: a line "$ COMMAND", then what it prints (standard output and
// standard error as they come), then "[exit N]" when the exit code is not 0. Commands run in one
// fresh folder, with the built programs first on the path; one that names a file of examples/ finds
// a copy of that folder there. A line "$ cat > FILE <<'END'" with its text up to END makes a file. With VLISP_ACCEPT=1 in the environment the files are rewritten to
// what was seen; the change is then read before it is committed.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

// Blocks marked "limits" show how far the program goes; a build with sanitizers goes less far.
constexpr bool sanitized = VLISP_SANITIZED;

std::string contentsOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::string quoted(const std::string& text) {
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// Runs a shell command in `folder`; returns what it printed, with "[exit N]" when that is not 0.
std::string outputOf(const std::string& command, const fs::path& folder) {
    const std::string whole = "cd " + quoted(folder.string()) + " && { " + command + "\n} 2>&1";
    std::FILE* pipe = ::popen(whole.c_str(), "r");
    if (pipe == nullptr) return "[cannot start]\n";
    std::string out;
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe))
        out.append(block.data(), count);
    const int status = ::pclose(pipe);
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (!out.empty() && out.back() != '\n') out += '\n';
    if (code != 0) out += "[exit " + std::to_string(code) + "]\n";
    return out;
}

// What a session would read as if its commands were typed now.
std::string replay(const std::string& session) {
    fs::path folder = fs::temp_directory_path() / "vlisp-session-XXXXXX";
    std::string pattern = folder.string();
    if (::mkdtemp(pattern.data()) == nullptr) return "[no temporary folder]\n";
    folder = pattern;
    if (session.find(" examples/") != std::string::npos)
        fs::copy(fs::path(PROJECT_ROOT) / "examples", folder / "examples",
                 fs::copy_options::recursive);
    const std::vector<std::string> lines = linesOf(session);
    std::string seen;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (!lines[i].starts_with("$ ")) {
            if (seen.empty() || lines[i].starts_with("#")) seen += lines[i] + "\n";
            continue;
        }
        std::string command = lines[i].substr(2);
        seen += lines[i] + "\n";
        if (command.find("<<'END'") != std::string::npos) {
            while (++i < lines.size()) {
                command += "\n" + lines[i];
                seen += lines[i] + "\n";
                if (lines[i] == "END") break;
            }
        }
        seen += outputOf(command, folder);
    }
    fs::remove_all(folder);
    return seen;
}

class Session : public ::testing::Test {
  public:
    explicit Session(fs::path path) : path_(std::move(path)) {}

    void TestBody() override {
        const std::string expected = contentsOf(path_);
        EXPECT_NE(expected.find("\n$ "), std::string::npos) << path_ << " types no command";
        const std::string seen = replay(expected);
        if (std::getenv("VLISP_ACCEPT") != nullptr) {
            std::ofstream(path_, std::ios::binary) << seen;
            return;
        }
        EXPECT_EQ(linesOf(seen), linesOf(expected)) << "in " << path_ << ", what was seen:\n"
                                                    << seen;
    }

  private:
    fs::path path_;
};

// The documents show real sessions: their ```console blocks, each in a folder of its own. A block
// without a command line shows something that only a terminal can.
class DocumentSessions : public ::testing::Test {
  public:
    explicit DocumentSessions(fs::path path) : path_(std::move(path)) {}

    void TestBody() override {
        std::string block;
        bool inside = false;
        int blocks = 0;
        int number = 0;
        for (const std::string& line : linesOf(contentsOf(path_))) {
            ++number;
            if (line == "```console" || (line == "```console limits" && !sanitized)) {
                inside = true;
                block.clear();
            } else if (inside && line == "```") {
                inside = false;
                if (!block.starts_with("$ ")) continue;
                ++blocks;
                EXPECT_EQ(linesOf(replay(block)), linesOf(block))
                    << "the block that ends at " << path_ << ":" << number;
            } else if (inside) {
                block += line + "\n";
            }
        }
        EXPECT_GT(blocks, 0);
    }

  private:
    fs::path path_;
};

std::string asName(std::string text) {
    for (char& c : text)
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const char* path = std::getenv("PATH");
    ::setenv("PATH", (std::string(PROGRAMS) + ":" + (path != nullptr ? path : "")).c_str(), 1);
    ::setenv("PROJECT", PROJECT_ROOT, 1);
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(SESSIONS))
        if (entry.path().extension() == ".session" && entry.path().stem() != LEFT_OUT)
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& file : files)
        ::testing::RegisterTest("Session", asName(file.stem().string()).c_str(), nullptr, nullptr,
                                __FILE__, __LINE__, [file] { return new Session(file); });
    for (const char* document :
         {"README.md", "docs/language.md", "docs/surprises.md", "docs/host.md", "docs/drawings.md",
          "docs/commands.md", "docs/drawing-files.md", "docs/pictures.md"})
        ::testing::RegisterTest(
            "DocumentSession", asName(document).c_str(), nullptr, nullptr, __FILE__, __LINE__,
            [document] { return new DocumentSessions(fs::path(PROJECT_ROOT) / document); });
    return RUN_ALL_TESTS();
}
