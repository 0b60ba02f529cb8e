// Ctrl-C ends vlisp in good order in a console of Windows: what runs or waits is cancelled, and the exit code
// tells why.
#include "tests/cli/console_windows.h"

namespace {

using vlisp::cli_tests::Terminal;

constexpr int cancelled = 130;

TEST(Signals, AnEndlessProgramEndsWithTheSignalsCode) {
    Terminal terminal(
        LR"words(eval "(begin (princ \"ready\") (while 1 (setq a 1)))" "(princ \"more\")")words");
    ASSERT_TRUE(terminal.sees(L"ready\n"));
    Terminal::sendControlC();
    EXPECT_EQ(terminal.exitCode(), cancelled);
    EXPECT_TRUE(terminal.hasShown(L";error; cancelled\n"));
    EXPECT_FALSE(terminal.hasShown(L"more"));
}

TEST(Signals, AProgramThatWaitsForAnAnswerEnds) {
    Terminal terminal(LR"words(eval "(list (getpoint \"Where? \") (princ \"never\"))")words");
    ASSERT_TRUE(terminal.sees(L"Where?"));
    terminal.type(L"1,");
    ASSERT_TRUE(terminal.sees(L" 1,"));
    Terminal::sendControlC();
    EXPECT_EQ(terminal.exitCode(), cancelled);
    EXPECT_FALSE(terminal.hasShown(L"never"));
}

TEST(Signals, AScriptThatIsTypedEnds) {
    Terminal terminal(L"script -");
    terminal.type(L"(princ \"ready\")\r");
    ASSERT_TRUE(terminal.sees(L"\nready\n"));
    Terminal::sendControlC();
    EXPECT_EQ(terminal.exitCode(), cancelled);
}

}  // namespace
