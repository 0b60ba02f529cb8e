// The command line as a person meets it: through a pseudo-terminal.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
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

    [[nodiscard]] bool hasShown(const std::string& text) const {
        return screen_.find(text) != std::string::npos;
    }

    void send(int signal) const { ::kill(child_, signal); }

    // Whether what is typed is shown by the terminal itself, as before a program took it over.
    bool echoes() const {
        termios modes{};
        return ::tcgetattr(terminal_, &modes) == 0 && (modes.c_lflag & ECHO) != 0;
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

const std::string ready = "Command: ";
const std::string continued = "    ...> ";
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

TEST_F(Prompt, TellsTheKeys) {
    Terminal terminal(home);
    ASSERT_TRUE(
        terminal.sees("Tab completes names, Ctrl-C cancels, Ctrl-D or QUIT ends.\r\n" + ready));
}

TEST_F(Prompt, ContinuesWhileAParenthesisIsOpen) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(list 1 \")\"\r");
    ASSERT_TRUE(terminal.sees(continued));
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
    ASSERT_TRUE(terminal.sees(continued));
    terminal.press(controlC);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(+ 40 2)\r");
    ASSERT_TRUE(terminal.sees("42\r\n"));
}

TEST_F(Prompt, DrawsWhatIsTyped) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("line\r");
    ASSERT_TRUE(terminal.sees("Specify first point: "));
    terminal.type("0,0\r");
    ASSERT_TRUE(terminal.sees("Specify next point or [Undo]: "));
    terminal.type("@3,4\r");
    ASSERT_TRUE(terminal.sees("Specify next point or [Undo]: "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("list all\r");
    ASSERT_TRUE(terminal.sees("Select objects: "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees("length 5\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
}

TEST_F(Prompt, TellsAnUnknownCommandAndAnAnswerThatDoesNotFit) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("lien\r");
    ASSERT_TRUE(terminal.sees("Unknown command LIEN."));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("circle\r");
    ASSERT_TRUE(terminal.sees("[2P/3P]: "));
    terminal.type("here\r");
    ASSERT_TRUE(terminal.sees("Not a point: here"));
    ASSERT_TRUE(terminal.sees("[2P/3P]: "));
}

TEST_F(Prompt, EnterRepeatsTheLastCommand) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("circle 1,1 2\r");
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees("Specify center point for circle"));
    terminal.type("5,5\r");
    ASSERT_TRUE(terminal.sees("<2>: "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(sslength (ssget \"X\" '((0 . \"CIRCLE\") (40 . 2.0))))\r");
    ASSERT_TRUE(terminal.sees("\r\n2\r\n"));
}

TEST_F(Prompt, AnswersAProgramThatAsks) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(strcat \"<\" (getpoint '(1 1) \"From: \") (getstring \"Name: \") \">\")\r");
    ASSERT_TRUE(terminal.sees("\nFrom: "));
    terminal.type("@2,3\r");
    ASSERT_TRUE(terminal.sees("\nName: "));
    terminal.type("(not lisp)\r");
    ASSERT_TRUE(terminal.sees("\"<(3.000 4.000)(not lisp)>\"\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
}

TEST_F(Prompt, ControlCAtAProgramsQuestionEndsTheProgramAndNothingMore) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(setq kept 41)\r");
    ASSERT_TRUE(terminal.sees("41\r\n"));
    terminal.type("(list (getpoint \"Where? \") (princ \"went on\"))\r");
    ASSERT_TRUE(terminal.sees("\nWhere? "));
    terminal.press(controlC);
    ASSERT_TRUE(terminal.sees(";error; cancelled"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(+ kept 1)\r");
    ASSERT_TRUE(terminal.sees("42\r\n"));
    EXPECT_FALSE(terminal.hasShown("\r\nwent on"));
}

TEST_F(Prompt, ControlCInACommandCancelsItAndKeepsWhatItHasDrawn) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("line\r");
    ASSERT_TRUE(terminal.sees("first point: "));
    terminal.type("0,0\r");
    ASSERT_TRUE(terminal.sees("next point"));
    terminal.type("1,1\r");
    ASSERT_TRUE(terminal.sees("next point"));
    terminal.press(controlC);
    ASSERT_TRUE(terminal.sees("*Cancel*"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(sslength (ssget \"X\"))\r");
    ASSERT_TRUE(terminal.sees("\r\n1\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("u\r");
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(sslength (ssget \"X\"))\r");
    ASSERT_TRUE(terminal.sees("\r\n0\r\n"));
}

TEST_F(Prompt, ControlCWithNothingToCancelIsHarmless) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.press(controlC);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.press("half a li" + controlC);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(+ 40 2)\r");
    ASSERT_TRUE(terminal.sees("42\r\n"));
}

TEST_F(Prompt, CompletesCommandsLayersBlocksVariablesAndKeywords) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    // A command, in the case in which it is begun.
    terminal.press("laye\t");
    ASSERT_TRUE(terminal.sees("laye"));
    ASSERT_TRUE(terminal.sees("r "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees("LOck/Unlock]: "));
    // A keyword of the question.
    terminal.press("Mak\t");
    ASSERT_TRUE(terminal.sees("Mak"));
    ASSERT_TRUE(terminal.sees("e "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees("name of layer: "));
    terminal.type("Partition\r");
    ASSERT_TRUE(terminal.sees("LOck/Unlock]: "));
    // A layer, as it is written.
    terminal.type("lock\r");
    ASSERT_TRUE(terminal.sees("name of layer: "));
    terminal.press("Part\t");
    ASSERT_TRUE(terminal.sees("Part"));
    ASSERT_TRUE(terminal.sees("ition "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees("LOck/Unlock]: "));
    terminal.type("?\r");
    ASSERT_TRUE(terminal.sees("Partition  colour 7  on  locked"));
    terminal.type("unlock\r");
    ASSERT_TRUE(terminal.sees("name of layer: "));
    terminal.type("Partition\r");
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees(ready));
    // A block.
    terminal.type("circle 0,0 1\r");
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("block Washer 0,0 last\r");
    ASSERT_TRUE(terminal.sees("Select objects: "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("insert\r");
    ASSERT_TRUE(terminal.sees("block name or [?]: "));
    terminal.press("Wash\t");
    ASSERT_TRUE(terminal.sees("Wash"));
    ASSERT_TRUE(terminal.sees("er "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees("insertion point: "));
    terminal.press(controlC);
    ASSERT_TRUE(terminal.sees("*Cancel*"));
    ASSERT_TRUE(terminal.sees(ready));
    // A variable and a layer, in a text of LISP.
    terminal.press("(getvar \"CIRCLER\t");
    ASSERT_TRUE(terminal.sees("CIRCLER"));
    ASSERT_TRUE(terminal.sees("AD"));
    terminal.type("\")\r");
    ASSERT_TRUE(terminal.sees("\r\n1.000\r\n"));
}

TEST_F(Prompt, ASignalThatEndsItLeavesTheTerminalInOrder) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    ::usleep(300'000);
    EXPECT_FALSE(terminal.echoes());
    terminal.send(SIGTERM);
    EXPECT_EQ(terminal.exitCode(), 128 + SIGTERM);
    EXPECT_TRUE(terminal.echoes());
}

TEST_F(Prompt, ACommandThatLispDefinesIsTypedByItsName) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(defun c:washer () (command \"circle\" (getpoint \"Where? \") 2.5) "
                  "(princ \"done\"))\r");
    ASSERT_TRUE(terminal.sees("\r\nWASHER\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.press("wash\t\r");
    ASSERT_TRUE(terminal.sees("er "));
    ASSERT_TRUE(terminal.sees("Where? "));
    terminal.type("7,8\r");
    ASSERT_TRUE(terminal.sees("\r\ndone\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(assoc 10 (entget (entlast)))\r");
    ASSERT_TRUE(terminal.sees("(10 7.000 8.000 0.000)"));
}

TEST_F(Prompt, AnExclamationMarkGivesAVariablesValue) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(setq where '(3 4) what \"a text\")\r");
    ASSERT_TRUE(terminal.sees("\r\n\"a text\"\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("!where\r");
    ASSERT_TRUE(terminal.sees("\r\n(3 4)\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("!nowhere\r");
    ASSERT_TRUE(terminal.sees(";error; undefined symbol 'NOWHERE'"));
    ASSERT_TRUE(terminal.sees(ready));
}

TEST_F(Prompt, LispAnswersACommandsQuestion) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(setq where '(3 4))\r");
    ASSERT_TRUE(terminal.sees("\r\n(3 4)\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("circle\r");
    ASSERT_TRUE(terminal.sees("center point"));
    terminal.type("!where\r");
    ASSERT_TRUE(terminal.sees("Specify radius"));
    terminal.type("(zzz)\r");
    ASSERT_TRUE(terminal.sees(";error; undefined symbol 'ZZZ'"));
    ASSERT_TRUE(terminal.sees("Specify radius"));
    terminal.type("(* 2 1.5)\r");
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("list last\r");
    ASSERT_TRUE(terminal.sees("Select objects: "));
    terminal.type("\r");
    ASSERT_TRUE(terminal.sees("at 3,4,0\r\n"));
    ASSERT_TRUE(terminal.sees("radius 3\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    // A text is taken as it is.
    terminal.type("text 0,0 1 0\r");
    ASSERT_TRUE(terminal.sees("Enter text: "));
    terminal.type("(not lisp)\r");
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(assoc 1 (entget (entlast)))\r");
    ASSERT_TRUE(terminal.sees("(1 . \"(not lisp)\")"));
}

TEST_F(Prompt, QuitEndsInAnyCase) {
    for (const std::string word : {"QUIT", "exit"}) {
        Terminal terminal(home);
        ASSERT_TRUE(terminal.sees(ready));
        terminal.type(word + "\r");
        EXPECT_EQ(terminal.exitCode(), 0) << word;
    }
}

TEST_F(Prompt, ControlDAtAProgramsQuestionCancelsIt) {
    Terminal terminal(home);
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(list (getpoint \"Where? \"))\r");
    ASSERT_TRUE(terminal.sees("\nWhere? "));
    terminal.press(controlD);
    ASSERT_TRUE(terminal.sees("(nil)\r\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type("(+ 40 2)\r");
    ASSERT_TRUE(terminal.sees("42\r\n"));
}

}  // namespace
