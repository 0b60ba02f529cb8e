// Runs LISP transcripts: tests/lisp/**/*.lsp, each a test of its own.
//
// A line is an expression and what is expected of it:
//     (nth 1 '(a b))  ; => B
//     (zzz)           ; error: ;error; undefined symbol 'ZZZ'
//     (princ "a")     ; shows: a  ; => "a"
// Each line is evaluated as the host evaluates a text, all lines of a file in one session. A line
// beginning with ";" is a comment. An expression without an expectation fails, and so does a file
// without expressions.
#include "builtins/registry.h"
#include "core/evaluator.h"
#include "host/module.h"
#include "platform/text.h"
#include "tests/support/recording_host.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace vlisp;

struct Expectation {
    std::string value, error;
    std::vector<std::string> shown;
    bool hasValue = false, hasError = false, hasShown = false;
};

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

// Cuts the expectations off the end of a line; what remains is the expression.
std::string takeExpectations(std::string line, Expectation& expected) {
    static const std::string markers[] = {"; => ", "; error: ", "; shows: "};
    for (;;) {
        std::size_t at = std::string::npos;
        std::size_t kind = 0;
        for (std::size_t m = 0; m < 3; ++m) {
            const std::size_t found = line.rfind(markers[m]);
            if (found != std::string::npos && (at == std::string::npos || found > at)) {
                at = found;
                kind = m;
            }
        }
        if (at == std::string::npos) return trimmed(line);
        const std::string text = trimmed(line.substr(at + markers[kind].size()));
        line.erase(at);
        if (kind == 0) {
            expected.value = text;
            expected.hasValue = true;
        } else if (kind == 1) {
            expected.error = text;
            expected.hasError = true;
        } else {
            expected.shown.insert(expected.shown.begin(), text);
            expected.hasShown = true;
        }
    }
}

class Transcript : public ::testing::Test {
  public:
    explicit Transcript(std::string path) : path_(std::move(path)) {}

    void TestBody() override {
        test::RecordingHost host;
        Module module;
        std::ifstream file(path_);
        std::size_t cases = 0;
        std::size_t number = 0;
        for (std::string line; std::getline(file, line);) {
            ++number;
            if (trimmed(line).empty() || line.front() == ';') continue;
            ++cases;
            SCOPED_TRACE(path_ + ":" + std::to_string(number) + ": " + line);
            runCase(line, module.session(), host);
        }
        EXPECT_GT(cases, 0u) << path_ << " holds no expression";
    }

  private:
    static void runCase(const std::string& line, InterpreterSession& session,
                        test::RecordingHost& host) {
        Expectation expected;
        const std::string expression = takeExpectations(line, expected);
        if (!expected.hasValue && !expected.hasError && !expected.hasShown) {
            ADD_FAILURE() << "nothing is expected of this expression";
            return;
        }
        host.shown.clear();
        std::u16string text = platform::fromUtf8(expression);
        const bool succeeded = session.EvalString(text);
        const std::string result = trimmed(platform::toUtf8(text.substr(0, text.find(u'\n'))));
        if (expected.hasError) {
            EXPECT_FALSE(succeeded);
            EXPECT_EQ(result, expected.error);
        } else {
            EXPECT_TRUE(succeeded) << result;
        }
        if (expected.hasValue) {
            EXPECT_EQ(result, expected.value);
        }
        std::vector<std::string> shown;
        for (const std::u16string& each : host.shown) shown.push_back(platform::toUtf8(each));
        EXPECT_EQ(shown, expected.shown);
    }

    std::string path_;
};

// Every function and special form is called somewhere in the transcripts.
class EveryName : public ::testing::Test {
  public:
    explicit EveryName(std::vector<std::filesystem::path> files) : files_(std::move(files)) {}

    void TestBody() override {
        std::string all;
        for (const auto& path : files_) {
            std::ifstream file(path);
            for (std::string line; std::getline(file, line);) {
                if (line.empty() || line.front() == ';') continue;
                for (char& c : line)
                    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
                all += line + "\n";
            }
        }
        const auto isCalled = [&](const std::string& name) {
            return all.find("(" + name + " ") != std::string::npos;
        };
        for (const BuiltinRow& row : builtinRows()) EXPECT_TRUE(isCalled(row.name)) << row.name;
        for (const SpecialFormHelp& row : specialForms())
            EXPECT_TRUE(isCalled(row.name)) << row.name;
    }

  private:
    std::vector<std::filesystem::path> files_;
};

// A test name is letters, digits and underscores.
std::string asName(std::string text) {
    for (char& c : text)
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(TRANSCRIPTS))
        if (entry.path().extension() == ".lsp") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    ::testing::RegisterTest("Transcripts", "CallEveryName", nullptr, nullptr, __FILE__, __LINE__,
                            [files] { return new EveryName(files); });
    for (const auto& file : files) {
        const std::string folder = file.parent_path().filename().string();
        ::testing::RegisterTest(("Lisp_" + asName(folder)).c_str(),
                                asName(file.stem().string()).c_str(), nullptr, nullptr, __FILE__,
                                __LINE__, [path = file.string()] { return new Transcript(path); });
    }
    return RUN_ALL_TESTS();
}
