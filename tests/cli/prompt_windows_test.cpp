// The command line as a person meets it on Windows: in a console.
#include "tests/cli/console_windows.h"

namespace {

using vlisp::cli_tests::Terminal;

// The blank behind it cannot be told from an empty screen.
const std::wstring ready = L"Command:";
const std::wstring continued = L"    ...>";

TEST(Prompt, EvaluatesALineAndEnds) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(+ 1 2)\r");
    ASSERT_TRUE(terminal.sees(L" (+ 1 2)\n3\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(zzz)\r");
    ASSERT_TRUE(terminal.sees(L"\n;error; undefined symbol 'ZZZ'\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.pressControl(L'Z');
    terminal.type(L"\r");
    EXPECT_EQ(terminal.exitCode(), 0);
}

TEST(Prompt, TellsTheKeys) {
    Terminal terminal;
    ASSERT_TRUE(
        terminal.sees(L"Tab completes names, Ctrl-C cancels, Ctrl-Z and Enter or QUIT ends.\n"));
    ASSERT_TRUE(terminal.sees(ready));
}

TEST(Prompt, ShowsLettersBeyondAscii) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(strcat \"Größe\" \" Ω\")\r");
    ASSERT_TRUE(terminal.sees(L"(strcat \"Größe\" \" Ω\")\n\"Größe Ω\"\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(strlen \"Größe\")\r");
    ASSERT_TRUE(terminal.sees(L"\n5\n"));
}

TEST(Prompt, ShowsThemInMessages) {
    Terminal message(L"help größe");
    EXPECT_EQ(message.exitCode(), 2);
    EXPECT_TRUE(message.hasShown(L"vlisp: nothing is known as 'größe'\n"));
}

TEST(Prompt, ContinuesWhileAParenthesisIsOpen) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(list 1 \")\"\r");
    ASSERT_TRUE(terminal.sees(continued));
    terminal.type(L"2)\r");
    ASSERT_TRUE(terminal.sees(L"\n(1 \")\" 2)\n"));
}

TEST(Prompt, CompletesNames) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(setq quite-a-long-name 41)\r");
    ASSERT_TRUE(terminal.sees(L"\n41\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(+ 1 qui\t)\r");
    ASSERT_TRUE(terminal.sees(L"(+ 1 quite-a-long-name )\n42\n"));
    ASSERT_TRUE(terminal.sees(ready));
    // As far as it is certain; then the names are shown, and the line again.
    terminal.type(L"(VL-\t\t");
    ASSERT_TRUE(terminal.sees(L" (VL-REMOVE\nVL-REMOVE  VL-REMOVE-IF"));
    ASSERT_TRUE(terminal.sees(L"\nCommand: (VL-REMOVE"));
    terminal.type(L" 1 '(1 2))\r");
    ASSERT_TRUE(terminal.sees(L" 1 '(1 2))\n(2)\n"));
}

TEST(Prompt, CompletesInFrontOfWhatIsTypedAlready) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(strl \"four\")");
    terminal.pressLeft(std::wstring(L" \"four\")").size());
    terminal.type(L"\t");
    ASSERT_TRUE(terminal.sees(L"(strlen  \"four\")"));
    terminal.type(L"\r");
    ASSERT_TRUE(terminal.sees(L"\n4\n"));
}

// With it the program wakes itself at a signal.
TEST(Prompt, AKeyWithoutMeaningLeavesTheLine) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(+ 40\x1f 2)\x1f\r");
    ASSERT_TRUE(terminal.sees(L" (+ 40 2)\n42\n"));
}

TEST(Prompt, TakesALongLine) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(strlen \"" + std::wstring(20'000, L'a') + L"\")\r");
    ASSERT_TRUE(terminal.sees(L"\n20000\n"));
    ASSERT_TRUE(terminal.sees(ready));
}

TEST(Prompt, CompletesCommandsAndKeywords) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"laye\t\r");
    ASSERT_TRUE(terminal.sees(L" layer\n"));
    ASSERT_TRUE(terminal.sees(L"LOck/Unlock]:"));
    terminal.type(L"Mak\t\r");
    ASSERT_TRUE(terminal.sees(L" Make\n"));
    ASSERT_TRUE(terminal.sees(L"name of layer:"));
}

TEST(Prompt, ControlCEndsARunningProgramAndNothingMore) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    for (const bool isTyped : {true, false}) {
        terminal.type(L"(begin (princ \"busy\") (while 1 (setq a 1)))\r");
        ASSERT_TRUE(terminal.sees(L"\nbusy\n"));
        if (isTyped) terminal.pressControl(L'C');
        else Terminal::sendControlC();
        ASSERT_TRUE(terminal.sees(L";error; cancelled\n"));
        ASSERT_TRUE(terminal.sees(ready));
        terminal.type(L"(+ 40 2)\r");
        ASSERT_TRUE(terminal.sees(L"\n42\n"));
        ASSERT_TRUE(terminal.sees(ready));
    }
}

TEST(Prompt, ControlCDropsTheLineBeingTyped) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    for (const bool isTyped : {true, false}) {
        terminal.type(L"(list 1\r");
        ASSERT_TRUE(terminal.sees(continued));
        terminal.type(L"2 3");
        ASSERT_TRUE(terminal.sees(L" 2 3"));
        if (isTyped) terminal.pressControl(L'C');
        else Terminal::sendControlC();
        ASSERT_TRUE(terminal.sees(L"\n" + ready));
        terminal.type(L"(+ 40 2)\r");
        ASSERT_TRUE(terminal.sees(L" (+ 40 2)\n42\n"));
        ASSERT_TRUE(terminal.sees(ready));
    }
}

TEST(Prompt, ControlCWithNothingToCancelIsHarmless) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    Terminal::sendControlC();
    ASSERT_TRUE(terminal.sees(L"\n" + ready));
    Terminal::sendControlC();
    ASSERT_TRUE(terminal.sees(L"\n" + ready));
    terminal.type(L"(+ 40 2)\r");
    ASSERT_TRUE(terminal.sees(L" (+ 40 2)\n42\n"));
}

TEST(Prompt, ControlCInACommandCancelsItAndKeepsWhatItHasDrawn) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"line 0,0 1,1\r");
    ASSERT_TRUE(terminal.sees(L"next point"));
    Terminal::sendControlC();
    ASSERT_TRUE(terminal.sees(L"*Cancel*\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(sslength (ssget \"X\"))\r");
    ASSERT_TRUE(terminal.sees(L"\n1\n"));
}

TEST(Prompt, AnswersAProgramThatAsks) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(strcat \"<\" (getpoint '(1 1) \"From: \") (getstring \"Name: \") \">\")\r");
    ASSERT_TRUE(terminal.sees(L"\nFrom:"));
    terminal.type(L"@2,3\r");
    ASSERT_TRUE(terminal.sees(L"\nName:"));
    terminal.type(L"(not lisp)\r");
    ASSERT_TRUE(terminal.sees(L"\"<(3.000 4.000)(not lisp)>\"\n"));
    ASSERT_TRUE(terminal.sees(ready));
}

TEST(Prompt, ControlCAtAProgramsQuestionEndsTheProgramAndNothingMore) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(setq kept 41)\r");
    ASSERT_TRUE(terminal.sees(L"\n41\n"));
    terminal.type(L"(list (getpoint \"Where? \") (princ \"went on\"))\r");
    ASSERT_TRUE(terminal.sees(L"\nWhere?"));
    Terminal::sendControlC();
    ASSERT_TRUE(terminal.sees(L";error; cancelled\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(+ kept 1)\r");
    ASSERT_TRUE(terminal.sees(L"\n42\n"));
    EXPECT_FALSE(terminal.hasShown(L"\nwent on"));
}

TEST(Prompt, ControlZAtAProgramsQuestionCancelsIt) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(list (getpoint \"Where? \"))\r");
    ASSERT_TRUE(terminal.sees(L"\nWhere?"));
    terminal.pressControl(L'Z');
    terminal.type(L"\r");
    ASSERT_TRUE(terminal.sees(L"\n(nil)\n"));
    ASSERT_TRUE(terminal.sees(ready));
}

TEST(Prompt, TheUpKeyBringsALineBack) {
    Terminal terminal;
    ASSERT_TRUE(terminal.sees(ready));
    terminal.type(L"(* 6 7)\r");
    ASSERT_TRUE(terminal.sees(L"\n42\n"));
    ASSERT_TRUE(terminal.sees(ready));
    terminal.pressUp();
    ASSERT_TRUE(terminal.sees(L" (* 6 7)"));
    terminal.type(L"\r");
    ASSERT_TRUE(terminal.sees(L"\n42\n"));
}

TEST(Prompt, QuitEndsInAnyCase) {
    for (const std::wstring word : {L"QUIT", L"exit"}) {
        Terminal terminal;
        ASSERT_TRUE(terminal.sees(ready));
        terminal.type(word + L"\r");
        EXPECT_EQ(terminal.exitCode(), 0);
    }
}

}  // namespace
