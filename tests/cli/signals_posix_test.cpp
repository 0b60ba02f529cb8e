// Signals end vlisp in good order: what runs or waits is cancelled, and the exit code tells why.
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

// vlisp as a child, with a pipe to its input that stays open, and one from its output.
class Child {
  public:
    explicit Child(const std::vector<std::string>& words) {
        std::array<int, 2> input{};
        std::array<int, 2> output{};
        if (::pipe(input.data()) != 0 || ::pipe(output.data()) != 0) std::abort();
        child_ = ::fork();
        if (child_ == 0) {
            ::dup2(input[0], STDIN_FILENO);
            ::dup2(output[1], STDOUT_FILENO);
            ::dup2(output[1], STDERR_FILENO);
            for (const int end : {input[0], input[1], output[0], output[1]}) ::close(end);
            std::vector<char*> arguments;
            std::vector<std::string> copies{"vlisp"};
            copies.insert(copies.end(), words.begin(), words.end());
            for (std::string& word : copies) arguments.push_back(word.data());
            arguments.push_back(nullptr);
            ::execvp("vlisp", arguments.data());
            ::_exit(127);
        }
        ::close(input[0]);
        ::close(output[1]);
        input_ = input[1];
        output_ = output[0];
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (child_ > 0) {
            ::kill(child_, SIGKILL);
            ::waitpid(child_, nullptr, 0);
        }
        ::close(input_);
        ::close(output_);
    }

    void signal(int number) const { ASSERT_EQ(::kill(child_, number), 0); }

    void write(const std::string& text) const {
        ASSERT_EQ(::write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    // Sends two signals that arrive together.
    void signalTwice(int first, int second) const {
        signal(SIGSTOP);
        int status = 0;
        ASSERT_EQ(::waitpid(child_, &status, WUNTRACED), child_);
        ASSERT_TRUE(WIFSTOPPED(status));
        signal(first);
        signal(second);
        signal(SIGCONT);
    }

    // Reads until `text` has been printed; false when the child ends or is silent for long.
    bool sees(const std::string& text) {
        while (printed_.find(text) == std::string::npos)
            if (!readMore()) {
                ADD_FAILURE() << "not seen: " << text << "\nprinted:\n" << printed_;
                return false;
            }
        return true;
    }

    // Waits for the child's end; its status as waitpid gives it.
    int status() {
        while (readMore()) {
        }
        pollfd closed{output_, POLLIN, 0};
        if (::poll(&closed, 1, 0) == 0) {
            ADD_FAILURE() << "does not end; printed:\n" << printed_;
            return -1;
        }
        int status = 0;
        ::waitpid(child_, &status, 0);
        child_ = -1;
        return status;
    }

    int exitCode() {
        const int ended = status();
        return ended != -1 && WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    }

    [[nodiscard]] const std::string& printed() const { return printed_; }

  private:
    bool readMore() {
        pollfd ready{output_, POLLIN, 0};
        if (::poll(&ready, 1, 30'000) <= 0) return false;
        std::array<char, 4096> block{};
        const ssize_t count = ::read(output_, block.data(), block.size());
        if (count <= 0) return false;
        printed_.append(block.data(), static_cast<std::size_t>(count));
        return true;
    }

    pid_t child_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string printed_;
};

class Signals : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "vlisp-signals-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { fs::remove_all(folder); }

    // A file of the test's folder.
    std::string file(const std::string& name, const std::string& contents) const {
        const fs::path path = folder / name;
        std::ofstream(path, std::ios::binary) << contents;
        return path.string();
    }

    fs::path folder;
};

const std::string endless = "(princ \"ready\")\n(while 1 (setq a 1))\n(princ \"never\")\n";

TEST_F(Signals, AnEndlessProgramEndsWithTheSignalsCode) {
    for (const auto& [number, code] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
        Child child({"run", file("endless.lsp", endless)});
        ASSERT_TRUE(child.sees("ready\n"));
        child.signal(number);
        EXPECT_EQ(child.exitCode(), code);
        EXPECT_NE(child.printed().find(";error; cancelled"), std::string::npos) << child.printed();
        EXPECT_EQ(child.printed().find("never"), std::string::npos) << child.printed();
    }
}

TEST_F(Signals, AProgramThatWaitsForAnAnswerEnds) {
    const std::string asking =
        file("asking.lsp", "(princ \"ready\")\n(getpoint \"Where? \")\n(princ \"never\")\n");
    for (const auto& [number, code] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
        Child child({"run", asking});
        ASSERT_TRUE(child.sees("ready\n"));
        child.signal(number);
        EXPECT_EQ(child.exitCode(), code);
        EXPECT_EQ(child.printed().find("never"), std::string::npos) << child.printed();
    }
}

TEST_F(Signals, ASelectionThatWaitsForMoreEnds) {
    const std::string selecting = file("selecting.lsp", "(princ \"ready\")\n(ssget \"Which? \")\n");
    Child child({"run", selecting});
    ASSERT_TRUE(child.sees("ready\n"));
    child.write("window\n");
    ASSERT_TRUE(child.sees("Which? window\n"));
    child.signal(SIGINT);
    EXPECT_EQ(child.exitCode(), 130);
}

TEST_F(Signals, ALongPauseEnds) {
    Child child({"eval", "(begin (princ \"ready\") (vm-wait 600000))"});
    ASSERT_TRUE(child.sees("ready\n"));
    child.signal(SIGTERM);
    EXPECT_EQ(child.exitCode(), 143);
}

TEST_F(Signals, NoTextIsEvaluatedBehindASignal) {
    Child child({"eval", "(begin (princ \"ready\") (while 1 (setq a 1)))", "(princ \"more\")"});
    ASSERT_TRUE(child.sees("ready\n"));
    child.signal(SIGINT);
    EXPECT_EQ(child.exitCode(), 130);
    EXPECT_EQ(child.printed().find("more"), std::string::npos) << child.printed();
}

TEST_F(Signals, AWaitingEvalEnds) {
    Child child({"eval", "--json"});
    child.write("(princ \"ready\")\n");
    ASSERT_TRUE(child.sees("ready"));
    child.signal(SIGTERM);
    EXPECT_EQ(child.exitCode(), 143);
}

TEST_F(Signals, AScriptEndsAtTheLineThatWasCancelled) {
    const std::string script =
        file("script", "(princ \"ready\")\n(while 1 (setq a 1))\n(princ \"never\")\n");
    Child child({"script", script});
    ASSERT_TRUE(child.sees("ready\n"));
    child.signal(SIGINT);
    EXPECT_EQ(child.exitCode(), 130);
    EXPECT_EQ(child.printed().find("never"), std::string::npos) << child.printed();
}

TEST_F(Signals, AScriptThatWaitsInACommandEnds) {
    Child child({"script", "-"});
    child.write("(princ \"ready\")\nline\n1,1\n");
    ASSERT_TRUE(child.sees("ready\n"));
    child.signal(SIGTERM);
    EXPECT_EQ(child.exitCode(), 143);
}

TEST_F(Signals, TwoSignalsEndItAtOnce) {
    Child child({"run", file("endless.lsp", endless)});
    ASSERT_TRUE(child.sees("ready\n"));
    child.signalTwice(SIGINT, SIGTERM);
    const int status = child.status();
    ASSERT_NE(status, -1);
    EXPECT_TRUE(WIFSIGNALED(status)) << status;
    EXPECT_EQ(child.printed().find("cancelled"), std::string::npos) << child.printed();
}

}  // namespace
