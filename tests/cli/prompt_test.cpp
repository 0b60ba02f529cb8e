// The command line as a person meets it: through a pseudo-terminal.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// vlisp in a terminal of its own, with a home folder of its own.
class Terminal {
  public:
    explicit Terminal(const fs::path& home) {
        const winsize size{24, 100, 0, 0};
        child_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
        if (child_ == 0) {
            ::setenv("HOME", home.c_str(), 1);
            ::setenv("TERM", "xterm", 1);
            ::unsetenv("XDG_STATE_HOME");
            ::execlp("vlisp", "vlisp", static_cast<char*>(nullptr));
            ::_exit(127);
        }
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        if (child_ > 0) {
            ::kill(child_, SIGKILL);
            ::waitpid(child_, nullptr, 0);
        }
        ::close(terminal_);
    }

    void type(const std::string& keys) {
        EXPECT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    // Types a key that the terminal itself would take while no line is being read.
    void press(const std::string& key) {
        ::usleep(300'000);
        type(key);
    }

    // Reads until `text` has appeared behind what was seen before; false after half a minute.
    bool sees(const std::string& text) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < end) {
            const std::size_t found = screen_.find(text, seen_);
            if (found != std::string::npos) {
                seen_ = found + text.size();
                return true;
            }
            if (!readMore()) break;
        }
        ADD_FAILURE() << "not seen: " << text << "\non screen:\n" << screen_.substr(seen_);
        return false;
    }

    // Waits for the program's end; its exit code.
    int exitCode() {
        while (readMore()) {
        }
        int status = 0;
        pid_t ended = 0;
        for (int i = 0; i < 100 && ended == 0; ++i) {
            ended = ::waitpid(child_, &status, WNOHANG);
            if (ended == 0) ::usleep(50'000);
        }
        if (ended == 0) {
            ADD_FAILURE() << "does not end; on screen:\n" << screen_.substr(seen_);
            return -1;
        }
        child_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    bool readMore() {
        pollfd ready{terminal_, POLLIN, 0};
        if (::poll(&ready, 1, 10'000) <= 0) return false;
        char block[4096];
        const ssize_t count = ::read(terminal_, block, sizeof block);
        if (count <= 0) return false;
        screen_.append(block, static_cast<std::size_t>(count));
        return true;
    }

    int terminal_ = -1;
    pid_t child_ = -1;
    std::string screen_;
    std::size_t seen_ = 0;
};

class Prompt : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "vlisp-home-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        home = pattern;
    }
    void TearDown() override { fs::remove_all(home); }

    fs::path home;
};

const std::string ready = "vlisp> ";
const std::string controlC = "\x03";
const std::string controlD = "\x04";
const std::string up = "\x10";  // as the up key, in every terminal

TEST_F(Prompt, EvaluatesALineAndEnds) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(+ 1 2)\r");
    ASSERT_TRUE(terminal.sees("3\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(zzz)\r");
    ASSERT_TRUE(terminal.sees(";error; undefined symbol 'ZZZ'"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.press(controlD);
    EXPECT_EQ(terminal.exitCode(), 0);
}

TEST_F(Prompt, ContinuesWhileAParenthesisIsOpen) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(list 1 \")\"\r");
    ASSERT_TRUE(terminal.sees("...> "));
    terminal.type("2)\r");
    ASSERT_TRUE(terminal.sees("(1 \")\" 2)"));
}

TEST_F(Prompt, CompletesBoundNames) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(setq quite-a-long-name 41)\r");
    ASSERT_TRUE(terminal.sees("41\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.press("(+ 1 qui\t)\r");
    ASSERT_TRUE(terminal.sees("te-a-long-name"));
    ASSERT_TRUE(terminal.sees("42\r\n"));
    terminal.press("(VL-\t\t");
    ASSERT_TRUE(terminal.sees("VL-REMOVE-IF"));
}

TEST_F(Prompt, KeepsHistoryBetweenRuns) {
    {
        Terminal terminal(home);
        ASSERT_TRUE(terminal.sees(ready));
        terminal.type("(* 6 7)\r");
        ASSERT_TRUE(terminal.sees("42\r\n"));
        ASSERT_TRUE(terminal.sees(ready));
        terminal.press(controlD);
        EXPECT_EQ(terminal.exitCode(), 0);
    }
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.press(up + "\r");
    ASSERT_TRUE(terminal.sees("42\r\n"));
}

TEST_F(Prompt, ControlCEndsARunningProgramAndNothingMore) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(while (setq busy 1) (setq busy 2))\r");
    ASSERT_TRUE(terminal.sees("\r\n"));
    terminal.press(controlC);
    ASSERT_TRUE(terminal.sees(";error; cancelled"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(+ 40 2)\r");
    ASSERT_TRUE(terminal.sees("42\r\n"));
}

TEST_F(Prompt, ControlCDropsTheLineBeingTyped) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(list 1\r");
    ASSERT_TRUE(terminal.sees("...> "));
    terminal.press(controlC);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(+ 40 2)\r");
    ASSERT_TRUE(terminal.sees("42\r\n"));
}

}  // namespace
