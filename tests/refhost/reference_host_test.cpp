// Tests of refhost/console/: the reference host with the extension and somebody who answers.
#include "refhost/console/reference_host.h"

#include "core/interruption.h"
#include "host/exports.h"
#include "host/menus.h"
#include "host/module.h"
#include "platform/text.h"
#include "tests/refhost/reference_host_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vlisp::refhost {
namespace {

using namespace test;
using platform::fromUtf8;
using platform::toUtf8;

constexpr const char* cancelledText = ";error; cancelled";

// --- Start-up and evaluation ---

TEST_F(HostedLisp, TheExtensionRegistersItsCommands) {
    Lines names;
    for (const auto& [name, command] : host.commands()) {
        names.push_back(toUtf8(command.name));
        EXPECT_EQ(command.lispText, u"");
    }
    EXPECT_EQ(names, (Lines{"AppLoad", "LispEdit", "LispPoly", "MnuLoad", "TestLine"}));
    EXPECT_EQ(host.commands().at(u"APPLOAD").number, 42771U);
    EXPECT_EQ(toUtf8(host.commands().at(u"TESTLINE").description), "Test line");
    EXPECT_EQ(&ReferenceHost::current(), &host);
    EXPECT_EQ(&Drawing::current(), &host.drawing);
    EXPECT_EQ(prompt(), "");
}

TEST_F(HostedLisp, TextsAreEvaluatedOneAfterTheOther) {
    EXPECT_EQ(eval("(setq a (+ 1 2))"), "3");
    EXPECT_EQ(eval("(* a 2)"), "6");
    EXPECT_EQ(eval("nowhere"), ";error; undefined symbol 'NOWHERE'\n");
    EXPECT_EQ(eval("a"), "3");
    EXPECT_EQ(takeShown(), Lines{});
}

TEST_F(HostedLisp, LinesAreShownInOrder) {
    std::vector<std::int32_t> kinds;
    host.onRequest = [&](const HostRequest& request) { kinds.push_back(request.kind); };
    eval(R"((begin (princ "a") (prompt "b") (princ 1) (prompt "c\nd") (prin1 "e")))");
    EXPECT_EQ(takeShown(), (Lines{"a", "b", "1", "c", "d", "\"e\""}));
    EXPECT_EQ(kinds, (std::vector<std::int32_t>{3, 3, 3}));
}

TEST_F(HostedLisp, ManyLinesComeWhole) {
    eval("(begin (setq n 0) (while (< n 2000) (princ n) (setq n (+ n 1))))");
    ASSERT_EQ(shown.size(), 2000U);
    for (std::size_t i = 0; i < shown.size(); ++i) ASSERT_EQ(shown[i], std::to_string(i));
}

TEST_F(HostedLisp, AnEvaluationIsOneStep) {
    addLineFrom(0, 0, 5, 0);
    const std::string before = objects();
    eval(R"((begin
        (command "LINE" '(0 0) '(1 1) "")
        (command "CIRCLE" '(5 5) 2.0)
        (entmod (list (cons -1 (entnext)) (cons 0 "LINE") (cons 8 "New") (list 10 7.0 7.0)))
        (command "ERASE" "2" "")))");
    EXPECT_EQ(objects(), "LINE 7,7; CIRCLE 5,5");
    ASSERT_NE(host.drawing.findLayer(u"NEW"), nullptr);
    enter("U");
    EXPECT_EQ(objects(), before);
    EXPECT_EQ(host.drawing.findLayer(u"NEW"), nullptr);
    enter("REDO");
    EXPECT_EQ(objects(), "LINE 7,7; CIRCLE 5,5");
    EXPECT_EQ(eval("(+ 1 1)"), "2");
    enter("U");
    EXPECT_EQ(objects(), before) << "an evaluation without changes is no step";
}

TEST_F(HostedLisp, LispCanUndoWhatItHasDone) {
    addLineFrom(0, 0, 5, 0);
    eval(R"((begin (command "CIRCLE" '(5 5) 2.0) (command "U") (command "CIRCLE" '(6 6) 2.0)))");
    EXPECT_EQ(objects(), "LINE 0,0 5,0; CIRCLE 6,6");
    EXPECT_EQ(takeShown(), Lines{});
}

TEST_F(HostedLisp, TwentyThousandObjectsAreWalked) {
    constexpr int count = 20'000;
    host.drawing.beginGroup();
    for (int i = 0; i < count; ++i) addLineFrom(i, 0, i, 1);
    host.drawing.endGroup();
    eval("(setq e (entnext))");
    EXPECT_EQ(eval("(begin (setq n 0 sum 0.0)"
                   " (while e (setq sum (+ sum (cadr (assoc 10 (entget e)))) n (+ n 1)"
                   "   e (entnext e))) (list n sum))"),
              "(20000 199990000.000)");
    EXPECT_EQ(eval("(sslength (ssget \"X\"))"), "20000");
    EXPECT_EQ(eval("(cadr (assoc 10 (entget (entlast))))"), "19999.000");
    EXPECT_EQ(host.drawing.openCount(), 0);
}

// --- What LISP asks ---

TEST_F(HostedLisp, InputFunctionsGetWhatIsTyped) {
    struct {
        const char* expression;
        std::vector<const char*> typed;
        const char* value;
        Lines asked;
    } const cases[] = {
        {R"((getpoint "Where: "))", {"1,2"}, "(1.000 2.000)", {"Where: "}},
        {R"((getpoint))", {"5<90"}, "(0.000 5.000)", {" "}},
        {R"((getpoint '(10.0 20.0) "To: "))", {"@1,2"}, "(11.000 22.000)", {"To: "}},
        {R"((getpoint '(10.0 20.0)))", {"@5<180"}, "(5.000 20.000)", {" "}},
        {R"((getpoint '(10.0 20.0)))", {"3,4"}, "(3.000 4.000)", {" "}},
        {R"((begin (getpoint) (getpoint)))", {"3,4", "@1,1"}, "(4.000 5.000)", {" ", " "}},
        {R"((getpoint))", {""}, "nil", {" "}},
        {R"((getpoint))", {"frog"}, "nil", {" "}},
        {R"((getdist "How far: "))", {"12.5"}, "12.500", {"How far: "}},
        {R"((getdist))", {"0,0", "3,4"}, "5.000", {" ", "Specify second point:"}},
        {R"((getdist))", {"1,1", "@3,4"}, "5.000", {" ", "Specify second point:"}},
        {R"((getdist))", {""}, "0.000", {" "}},
        {R"((getstring "Name: "))", {"a b"}, "\"a b\"", {"Name: "}},
        {R"((getstring))", {""}, "\"\"", {" "}},
        {R"((getreal "R: "))", {"2.5x"}, "2.500", {"R: "}},
        {R"((getint "N: "))", {"7x"}, "7", {"N: "}},
        {R"((getint))", {"x"}, "0", {" "}},
    };
    for (const auto& [expression, typed, value, asked] : cases) {
        setLastPoint(host.drawing, mmPoint(0, 0, 0));
        answers.waiting.assign(typed.begin(), typed.end());
        answers.asked.clear();
        EXPECT_EQ(eval(expression), value) << expression;
        EXPECT_EQ(answers.asked, asked) << expression;
    }
    EXPECT_EQ(host.unansweredPrompt(), std::nullopt);
}

TEST_F(HostedLisp, ThePointGivenIsTheLastPoint) {
    answer({"3,4"});
    eval("(getpoint)");
    EXPECT_EQ(eval(R"((getvar "LASTPOINT"))"), eval("(quote 3.0,4.0,0.0)"));
    enter("LINE @ @1,0");
    enter("");
    EXPECT_EQ(objects(), "LINE 3,4 4,4");
}

TEST_F(HostedLisp, AfterTheLastAnswerOneRequestIsCancelled) {
    struct {
        const char* expression;
        const char* value;
    } const cases[] = {
        {"(list 1 (getpoint \"p\"))", "(1 nil)"},  {"(list 1 (getdist \"p\"))", "(1 0.000)"},
        {"(list 1 (getstring \"p\"))", "(1 nil)"}, {"(list 1 (getreal \"p\"))", "(1 nil)"},
        {"(list 1 (getint \"p\"))", "(1 nil)"},    {"(list 1 (entsel \"p\"))", "(1 nil)"},
        {"(list 1 (ssget \"p\"))", "(1 nil)"},
    };
    for (const auto& [expression, value] : cases) {
        EXPECT_EQ(eval(expression), value) << expression;
        EXPECT_EQ(host.unansweredPrompt(), u"p");
    }
    EXPECT_EQ(eval(R"((begin (getpoint "one") (setq after 1) (getpoint "two") (setq after 2)))"),
              cancelledText);
    EXPECT_EQ(eval("after"), "1") << "the second request ends the program";
    EXPECT_EQ(host.unansweredPrompt(), u"p") << "the first of all";
}

TEST_F(HostedLisp, AProgramThatAsksForEverEnds) {
    answer({"1,1", "2,2"});
    EXPECT_EQ(eval(R"((begin (setq n 0) (while (not (= n -1)) (getpoint "?") (setq n (+ n 1)))))"),
              cancelledText);
    EXPECT_EQ(eval("n"), "3") << "two answers, and one that was cancelled";
    EXPECT_EQ(answers.asked.size(), 4U);
}

TEST_F(HostedLisp, AnInterruptionEndsTheProgram) {
    for (const char* asks : {"getpoint", "getdist", "getstring", "getint", "entsel", "ssget"}) {
        eval("(setq reached 0)");
        answer({"^C", "1"});
        EXPECT_EQ(eval("(begin (" + std::string(asks) + ") (setq reached 1))"), cancelledText)
            << asks;
        EXPECT_EQ(eval("reached"), "0") << asks;
        EXPECT_EQ(answers.waiting.size(), 1U) << asks;
    }
    EXPECT_EQ(host.unansweredPrompt(), std::nullopt) << "it was answered, in a way";
    EXPECT_EQ(eval("(+ 1 1)"), "2");
}

TEST_F(HostedLisp, SelectionsAreTypedLineByLine) {
    for (int i = 0; i < 4; ++i) addLineFrom(0, 10 * i, 10, 10 * i);
    struct {
        std::vector<const char*> typed;
        const char* ids;
    } const cases[] = {
        {{"3", "1", ""}, "(3 1)"},
        {{"3 1", ""}, "(3 1)"},
        {{"ALL", "R", "2", ""}, "(1 3 4)"},
        {{"w", "-1,-1", "11,11", ""}, "(1 2)"},
        {{"5,20", "L", ""}, "(3 4)"},
        {{""}, "nil"},
        {{"1", "R", "1", ""}, "nil"},
        {{"2", "4"}, "(2 4)"},  // the answers end: that is the selection
    };
    for (const auto& [typed, ids] : cases) {
        answers.waiting.assign(typed.begin(), typed.end());
        eval("(begin (setq ss (ssget \"Choose: \") i 0 all '())"
             " (if ss (while (< i (sslength ss))"
             "   (setq all (append all (list (ssname ss i))) i (+ i 1)))))");
        std::string expected = "(list";
        std::string got = eval("all");
        for (const char* unit = ids; *unit != 0; ++unit)
            if (*unit >= '1' && *unit <= '4')
                expected +=
                    std::string(" (ssname (ssget \"X\") ") + static_cast<char>(*unit - 1) + ")";
        EXPECT_EQ(got, eval(expected + ")")) << ids;
        EXPECT_EQ(eval("(if ss 1 0)"), ids == std::string_view("nil") ? "0" : "1");
    }
    EXPECT_EQ(host.unansweredPrompt(), std::nullopt);
}

TEST_F(HostedLisp, ASelectionTellsWhatIsWrong) {
    addLineFrom(0, 0, 10, 0);
    answer({"frog", "77", "w", "0,0", "10,0", ""});
    EXPECT_EQ(eval("(sslength (ssget))"), "1");
    EXPECT_EQ(answers.asked, (Lines{"Select objects: ", "...Select objects: ",
                                    "...Select objects: ", "...Specify first corner: ",
                                    "...Specify opposite corner: ", "...Select objects: "}));
    EXPECT_EQ(takeShown(), (Lines{"Not an object, a point or one of "
                                  "[All/Last/Previous/Window/Crossing/Add/Remove]: frog",
                                  "No object has the id 77"}));
    answer({"frog"});
    EXPECT_EQ(eval("(list (ssget \"Which: \"))"), "(nil)");
    EXPECT_EQ(host.unansweredPrompt(), u"Which: ");
}

TEST_F(HostedLisp, ObjectsArePickedByIdAndByPoint) {
    addLineFrom(0, 0, 10, 0);
    addLineFrom(0, 20, 10, 20);
    host.drawing.setErased(2, true);
    const std::string name = eval("(entnext)");
    struct {
        const char* typed;
        std::string value;
    } const cases[] = {
        {"1", "(" + name + " (5.000 0.000 0.000))"},
        {"2,0.5", "(" + name + " (2.000 0.500 0.000))"},
        {"2", "nil"},  // it is erased
        {"99", "nil"},
        {"5,20", "nil"},
        {"frog", "nil"},
        {"", "nil"},
    };
    for (const auto& [typed, value] : cases) {
        answer({typed});
        EXPECT_EQ(eval("(entsel)"), value) << typed;
        EXPECT_EQ(answers.asked, Lines{"Select object: "});
    }
}

TEST_F(HostedLisp, APreparedReplyIsGivenAsItIs) {
    std::int32_t contextSent = -1;
    host.onRequest = [&](const HostRequest& request) {
        if (request.kind == 0) contextSent = request.context;
    };
    HostRequest reply;
    reply.mode = 1;
    reply.x = 8;
    reply.y = 9;
    reply.context = 42;
    answers.prepared = reply;
    EXPECT_EQ(eval("(getpoint)"), "(8.000 9.000)");
    EXPECT_TRUE(answers.asked.empty());
    eval(R"((command "REGEN"))");
    EXPECT_EQ(contextSent, 42) << "the context is echoed";
    answer({"1,1"});
    eval("(getpoint)");
    contextSent = -1;
    eval(R"((command "REGEN"))");
    EXPECT_EQ(contextSent, 42) << "and stays";
}

// --- COMMAND ---

TEST_F(HostedLisp, CommandsAreDriven) {
    struct {
        const char* expression;
        const char* value;
        const char* added;
    } const cases[] = {
        {R"((command "line" '(0 0) '(10.0 5.0) ""))", "nil", "LINE 0,0 10,5"},
        {R"((command "_LINE" "1,1" "@2,0" ""))", "nil", "LINE 1,1 3,1"},
        {R"((command ".LINE" "1,1" "@2,0" ""))", "nil", "LINE 1,1 3,1"},
        {R"((command "_.l" "1,1" "@2,0" ""))", "nil", "LINE 1,1 3,1"},
        {R"((command "circle" '(0 0) 2.5))", "\"2.5000\"", "CIRCLE 0,0"},
        {R"((command "CIRCLE" "2P" '(0 0) '(4 0)))", "\"4,0\"", "CIRCLE 2,0"},
        {R"((command "PLINE" '(0 0) '(1 0) '(1 1) "Close"))", "\"Close\"", "PLINE 0,0 1,0 1,1"},
        {R"((command "TEXT" '(0 0) 2 0 "two words"))", "\"two words\"", "TEXT 0,0"},
        {R"((begin (command "LINE" '(0 0)) (command "3,3") (command "")))", "nil", "LINE 0,0 3,3"},
    };
    for (const auto& [expression, value, added] : cases) {
        EXPECT_EQ(eval(expression), value) << expression;
        EXPECT_EQ(objects(), added) << expression;
        EXPECT_EQ(prompt(), "") << expression;
        EXPECT_EQ(takeShown(), Lines{}) << expression;
        enter("U");
        EXPECT_EQ(objects(), "") << expression;
    }
}

TEST_F(HostedLisp, SelectionSetsGoToCommands) {
    for (int i = 0; i < 4; ++i) addLineFrom(0, i, 10, i);
    std::vector<std::int32_t> modes;
    host.onRequest = [&](const HostRequest& request) { modes.push_back(request.mode); };
    eval(R"((begin (setq ss (ssget "X")) (setq ss (ssdel (entnext) ss))
             (command "MOVE" ss "" '(0 0) '(0 100))))");
    EXPECT_EQ(objects(), "LINE 0,0 10,0; LINE 0,101 10,101; LINE 0,102 10,102; LINE 0,103 10,103");
    EXPECT_EQ(modes, (std::vector<std::int32_t>{1, 5, 1, 1, 1}));
    eval(R"((command "ERASE" ss "R" (ssadd (entlast)) ""))");
    EXPECT_EQ(objects(), "LINE 0,0 10,0; LINE 0,103 10,103");
    EXPECT_EQ(takeShown(), Lines{});
}

TEST_F(HostedLisp, WithoutACommandAnEmptyPieceDoesNothing) {
    enter("REGEN");
    takeShown();
    EXPECT_EQ(eval("(command)"), "nil");
    EXPECT_EQ(eval(R"((command ""))"), "nil");
    EXPECT_EQ(takeShown(), Lines{}) << "the last command is not repeated";
}

TEST_F(HostedLisp, UnknownCommandsAreTold) {
    EXPECT_EQ(host.mistakes(), 0);
    EXPECT_EQ(eval(R"((command "frob"))"), "\"FROB\"");
    EXPECT_EQ(takeShown(), Lines{"Unknown command FROB. HELP lists all."});
    EXPECT_EQ(host.mistakes(), 1);
    enter("frob 1,1");
    EXPECT_EQ(takeShown(), Lines{"Unknown command FROB. HELP lists all."});
    EXPECT_EQ(prompt(), "");
}

TEST_F(HostedLisp, ABackslashLeavesTheAnswerToTheUser) {
    answer({"5,6", "2"});
    eval(R"((command "CIRCLE" "\" "\"))");
    EXPECT_EQ(answers.asked, (Lines{"Specify center point for circle or [2P/3P]: ",
                                    "Specify radius of circle or [Diameter] <0>: "}));
    EXPECT_EQ(objects(), "CIRCLE 5,6");
    EXPECT_EQ(prompt(), "");

    addLineFrom(0, 0, 10, 0);
    answer({"2"});
    eval(R"((command "ERASE" "\" ""))");
    EXPECT_EQ(answers.asked, Lines{"Select objects: "});
    EXPECT_EQ(objects(), "CIRCLE 5,6");
}

TEST_F(HostedLisp, APauseWithoutAnswerEndsTheCommand) {
    eval(R"((command "LINE" '(0 0) '(1 1) "\"))");
    EXPECT_EQ(objects(), "LINE 0,0 1,1");
    EXPECT_EQ(prompt(), "");
    EXPECT_EQ(host.unansweredPrompt(), u"Specify next point or [Undo]: ");
    host.drawing.variables.storeReal(u"CIRCLERAD", 5);
    eval(R"((command "CIRCLE" '(0 0) "\"))");
    EXPECT_EQ(objects(), "LINE 0,0 1,1") << "no default is taken for the user";
    EXPECT_EQ(prompt(), "");
}

TEST_F(HostedLisp, AnInterruptedPauseEndsTheProgram) {
    eval("(setq reached 0)");
    answer({"^C"});
    EXPECT_EQ(eval(R"((begin (command "LINE" '(0 0) '(1 1) "\" '(5 5)) (setq reached 1)))"),
              cancelledText);
    EXPECT_EQ(eval("reached"), "0");
    host.cancelCommand();
    EXPECT_EQ(prompt(), "");
}

TEST_F(HostedLisp, ACommandCanGoOnAfterTheProgram) {
    eval(R"((command "LINE" '(0 0) '(1 1)))");
    EXPECT_EQ(prompt(), "Specify next point or [Undo]: ");
    EXPECT_EQ(eval(R"((getvar "CMDNAMES"))"), "\"LINE\"");
    enter("2,2");
    enter("");
    EXPECT_EQ(objects(), "LINE 0,0 1,1; LINE 1,1 2,2");
    EXPECT_EQ(prompt(), "");
    EXPECT_EQ(eval(R"((getvar "CMDACTIVE"))"), "0");
    enter("U");
    EXPECT_EQ(objects(), "") << "program and command are one step";
}

TEST_F(HostedLisp, CommandsThatEvaluateAreRefusedWithinLisp) {
    eval("(defun c:hello () 1)");
    eval(R"((command "HELLO"))");
    eval(R"((command "APPLOAD"))");
    eval(R"((command "MNULOAD"))");
    EXPECT_EQ(takeShown(), (Lines{"HELLO cannot run while LISP is evaluated.",
                                  "AppLoad cannot run while LISP is evaluated.",
                                  "MnuLoad cannot run while LISP is evaluated."}));
    EXPECT_EQ(prompt(), "");
}

// --- The command line of a person ---

TEST_F(HostedLisp, ALineHoldsACommandAndItsAnswers) {
    enter("line 0,0 1,1");
    EXPECT_EQ(prompt(), "Specify next point or [Undo]: ");
    enter("2,2");
    enter("");
    EXPECT_EQ(objects(), "LINE 0,0 1,1; LINE 1,1 2,2");
    enter("U");
    enter("TEXT 1,1 2.5 0  two  words ");
    EXPECT_EQ(objects(), "TEXT 1,1");
    const auto& text =
        dynamic_cast<const VmDbText&>(*host.drawing.at(host.drawing.slotCount() - 1));
    EXPECT_EQ(toUtf8(text.text.units()), "two  words ");
    EXPECT_EQ(takeShown(), Lines{});
}

TEST_F(HostedLisp, WhatCouldBeLispIsTextWhereTextIsWanted) {
    EXPECT_FALSE(host.wantsPlainText());
    enter("TEXT 0,0");
    EXPECT_FALSE(host.wantsPlainText());
    enter("");
    enter("");
    EXPECT_TRUE(host.wantsPlainText());
    enter("(+ 1 2)");
    EXPECT_EQ(objects(), "TEXT 0,0");
    EXPECT_FALSE(host.wantsPlainText());
}

TEST_F(HostedLisp, AnEmptyLineRepeatsTheLastCommand) {
    enter("");
    EXPECT_EQ(prompt(), "");
    enter("CIRCLE 0,0 1");
    enter("");
    EXPECT_EQ(prompt(), "Specify center point for circle or [2P/3P]: ");
    enter("5,5");
    enter("2");
    EXPECT_EQ(objects(), "CIRCLE 0,0; CIRCLE 5,5");
    eval(R"((command "LINE" '(0 0) '(1 1) ""))");
    enter("frob");
    takeShown();
    enter(" ");
    EXPECT_EQ(prompt(), "Specify center point for circle or [2P/3P]: ")
        << "neither what LISP ran nor what does not exist";
    EXPECT_TRUE(host.cancelCommand());
    EXPECT_FALSE(host.cancelCommand());
}

TEST_F(HostedLisp, QuitAsksForTheEnd) {
    EXPECT_FALSE(host.quits());
    enter("quit");
    EXPECT_TRUE(host.quits());
}

TEST_F(HostedLisp, HelpListsWhatOthersHaveRegistered) {
    eval("(defun c:hello () 1)");
    enter("HELP");
    enter("");
    const Lines lines = takeShown();
    EXPECT_NE(std::ranges::find(lines, "HELLO  Evaluates (HELLO)"), lines.end());
    EXPECT_NE(std::ranges::find(lines, "APPLOAD  Load LISP file .lsp"), lines.end());
}

// --- Commands in LISP ---

TEST_F(HostedLisp, ACommandIsDefinedInLisp) {
    eval(R"((defun c:hello () (princ "hi") (command "CIRCLE" '(1 2) 3)
             (command "CIRCLE" '(4 5) 6)))");
    ASSERT_TRUE(host.commands().contains(u"HELLO"));
    EXPECT_EQ(host.commands().at(u"HELLO").lispText, u"(HELLO)");
    enter("hello");
    EXPECT_EQ(objects(), "CIRCLE 1,2; CIRCLE 4,5");
    EXPECT_EQ(takeShown(), (Lines{"hi", "\"6\""}));
    EXPECT_EQ(prompt(), "");
    enter("");
    EXPECT_EQ(objects(), "CIRCLE 1,2; CIRCLE 4,5; CIRCLE 1,2; CIRCLE 4,5");
    enter("U");
    EXPECT_EQ(objects(), "CIRCLE 1,2; CIRCLE 4,5") << "the command is one step";
    enter("U");
    EXPECT_EQ(objects(), "");
}

TEST_F(HostedLisp, ItMayAskAndFail) {
    eval(R"((defun c:ask () (setq p (getpoint "Where: ")) nowhere))");
    answer({"7,8"});
    enter("ASK");
    EXPECT_EQ(answers.asked, Lines{"Where: "});
    EXPECT_EQ(eval("p"), "(7.000 8.000)");
    EXPECT_EQ(takeError(), ";error; undefined symbol 'NOWHERE'\n");
    EXPECT_EQ(takeError(), "") << "it is given once";
    answer({"^C"});
    enter("ASK");
    EXPECT_EQ(takeError(), cancelledText);
    EXPECT_EQ(takeShown(), Lines{}) << "who started it tells the error";
    EXPECT_EQ(eval("(+ 1 1)"), "2");
    enter("ASK");
    EXPECT_EQ(host.unansweredPrompt(), u"Where: ");
}

TEST_F(HostedLisp, ItMayUseTheModulesOtherCommands) {
    eval(R"((defun c:both () (command "TESTLINE") (command "LISPPOLY" "0,0" "10,0" "") 1))");
    enter("both");
    EXPECT_EQ(objects(), "LINE 25.34,18 48.5,27.5; PLINE 0,0 10,0");
    EXPECT_EQ(takeShown(), (Lines{"Lisp polyline entered successfully.", "1"}));
    enter("U");
    EXPECT_EQ(objects(), "");
}

TEST_F(HostedLisp, ADefinitionReplacesTheEarlierOne) {
    eval("(defun c:hello () 1)");
    eval("(defun c:hello () 2)");
    enter("hello");
    EXPECT_EQ(takeShown(), Lines{"2"});
}

// --- The module's commands ---

TEST_F(HostedLisp, AFileIsLoaded) {
    const TemporaryFolder folder;
    const std::string path = folder
                                 .write("draw.lsp", "(setq p (getpoint \"Where: \"))\n"
                                                    "(command \"CIRCLE\" p 2.0)\n"
                                                    "(setq loaded 1)\n")
                                 .string();
    enter("AppLoad");
    EXPECT_EQ(prompt(), "Enter lisp file (.lsp) full path or <Browse...>: ");
    EXPECT_TRUE(host.wantsPlainText());
    answer({"3,4"});
    enter(path);
    EXPECT_EQ(prompt(), "");
    EXPECT_EQ(takeShown(), Lines{"draw.lsp successfully loaded."});
    EXPECT_EQ(objects(), "CIRCLE 3,4");
    EXPECT_EQ(eval("loaded"), "1");
    enter("U");
    EXPECT_EQ(objects(), "");

    answer({"5,6"});
    enter("appload " + path);
    EXPECT_EQ(objects(), "CIRCLE 5,6") << "the path may stand on the same line";
}

TEST_F(HostedLisp, AFileIsChosenOrNot) {
    const TemporaryFolder folder;
    const std::string path = folder.write("one.lsp", "(setq one 1)\n(zzz)\n").string();
    answer({path.c_str()});
    enter("APPLOAD");
    enter("");
    EXPECT_EQ(answers.asked, Lines{"Path of the file, or nothing to cancel: "});
    EXPECT_EQ(takeShown(), Lines{"one.lsp successfully loaded."});
    EXPECT_EQ(takeError(), ";error; undefined symbol 'ZZZ'\n");
    EXPECT_EQ(eval("one"), "1");
    answer({""});
    enter("APPLOAD");
    enter("");
    EXPECT_EQ(takeShown(), Lines{" successfully loaded."});
    EXPECT_EQ(prompt(), "");
}

TEST_F(HostedLisp, AFileMayUseTheModulesCommands) {
    const TemporaryFolder folder;
    const std::string path =
        folder.write("poly.lsp", "(command \"LISPPOLY\" \"0,0\" \"1,1\" \"\")\n").string();
    enter("APPLOAD " + path);
    EXPECT_EQ(objects(), "PLINE 0,0 1,1");
    EXPECT_EQ(takeShown(),
              (Lines{"poly.lsp successfully loaded.", "Lisp polyline entered successfully."}));
}

TEST_F(HostedLisp, APolylineIsDrawnPointByPoint) {
    enter("LispPoly");
    EXPECT_EQ(prompt(), "Specify first point or [Cancel]: <Cancel> ");
    enter("0,0");
    EXPECT_EQ(prompt(), "Specify next point or [Finish/Cancel/Undo]: <Finish> ");
    enter("10,20,30");
    enter("@5,0");
    enter("@5<90");
    EXPECT_EQ(objects(), "PLINE 0,0 10,20 15,20 15,25");
    enter("");
    EXPECT_EQ(prompt(), "");
    EXPECT_EQ(takeShown(), Lines{"Lisp polyline entered successfully."});
    const auto& data = host.drawing.extendedData(1);
    ASSERT_EQ(data.size(), 3U);
    EXPECT_EQ(toUtf8(data[0].name), "Integer number");
    EXPECT_EQ(std::get<std::int32_t>(data[0].value), 45);
    EXPECT_EQ(std::get<double>(data[1].value), 45.763);
    EXPECT_EQ(std::get<std::u16string>(data[2].value), u"How are you?");
    enter("U");
    EXPECT_EQ(objects(), "") << "one step";
    enter("REDO");
    EXPECT_EQ(objects(), "PLINE 0,0 10,20 15,20 15,25");
}

TEST_F(HostedLisp, APolylineEndsOnWrongInput) {
    enter("LISPPOLY 1,1 2,2");
    enter("Undo");
    EXPECT_EQ(takeShown(), Lines{"Error: wrong input!"});
    EXPECT_EQ(prompt(), "");
    EXPECT_EQ(objects(), "PLINE 1,1 2,2");
}

TEST_F(HostedLisp, APolylineThatIsCancelledStays) {
    enter("LISPPOLY");
    enter("1,1");
    EXPECT_TRUE(host.cancelCommand());
    EXPECT_EQ(prompt(), "");
    EXPECT_FALSE(host.cancelCommand());
    EXPECT_EQ(objects(), "PLINE 1,1");
    enter("U");
    EXPECT_EQ(objects(), "");
}

TEST_F(HostedLisp, LispDrivesThePolyline) {
    eval(R"((command "LISPPOLY" '(0 0) "@10,0" '(10.0 10.0) ""))");
    EXPECT_EQ(objects(), "PLINE 0,0 10,0 10,10");
    EXPECT_EQ(takeShown(), Lines{"Lisp polyline entered successfully."});
    EXPECT_EQ(prompt(), "");
}

TEST_F(HostedLisp, TheTestLine) {
    enter("testline");
    EXPECT_EQ(objects(), "LINE 25.34,18 48.5,27.5");
    EXPECT_EQ(prompt(), "");
    enter("U");
    EXPECT_EQ(objects(), "");
}

TEST_F(HostedLisp, WithoutAMenuFileNothingHappens) {
    enter("MnuLoad");
    EXPECT_EQ(takeShown(), Lines{});
    EXPECT_EQ(prompt(), "");
    EXPECT_TRUE(host.toolbars().empty());
}

TEST_F(HostedLisp, MenusMakeToolbars) {
    const TemporaryFolder folder;
    folder.write("velm.mnu", "**LISP\nstart.lsp\n\n"
                             "***TOOLBAR,Tools and more,tools.bmp\n1,TestLine\n2,Other\n\n");
    folder.write("start.lsp", "(princ \"menu\")(setq menu 1)\n");
    loadMenusIn(folder.prefix());
    EXPECT_EQ(takeShown(), Lines{"menu"});
    EXPECT_EQ(eval("menu"), "1");
    ASSERT_EQ(host.toolbars().size(), 1U);
    EXPECT_EQ(toUtf8(host.toolbars()[0].name), "Tools and more");
    EXPECT_EQ(host.toolbars()[0].buttons.size(), 2U);
    enter("OTHER");
    EXPECT_EQ(takeShown(), Lines{"Other is a command that this host does not have."});
    enter("TESTLINE");
    EXPECT_EQ(objects(), "LINE 25.34,18 48.5,27.5") << "a button does not hide the command";
}

// --- Bounds ---

TEST_F(HostedLisp, LongTextsAreCutNotOverrun) {
    answer({std::string(5000, 'x').c_str()});
    EXPECT_EQ(eval("(strlen (getstring))"), "299");
    enter("TEXT 0,0 1 0 " + std::string(5000, 'y'));
    EXPECT_EQ(objects(), "TEXT 0,0");
    answer({std::string(70000, '1').c_str()});
    EXPECT_EQ(eval("(getint)"), "2147483647");
    enter("LISPPOLY");
    enter(std::string(70000, '1'));
    EXPECT_EQ(takeShown(), Lines{"Error: wrong input!"});
}

// A second host can be made when the first has gone.
TEST(ReferenceHostLife, HostsFollowEachOther) {
    for (int i = 0; i < 3; ++i) {
        ScriptedAnswers answers;
        Lines shown;
        ReferenceHost host([&](std::u16string_view text) { shown.push_back(toUtf8(text)); },
                           answers);
        ASSERT_TRUE(host.startExtension());
        host.evaluate([] {
            std::u16string text = u"(princ (+ 1 1))";
            currentModule()->session().EvalString(text);
        });
        EXPECT_EQ(shown, Lines{"2"});
        stopModule();
    }
}

// A host that goes while a command waits ends it.
TEST(ReferenceHostLife, ACommandThatWaitsGoesWithItsHost) {
    ScriptedAnswers answers;
    int shown = 0;
    {
        ReferenceHost host([&](std::u16string_view) { ++shown; }, answers);
        ASSERT_TRUE(host.startExtension());
        host.enter(u"LINE 0,0 1,1");
        stopModule();
    }
    EXPECT_EQ(shown, 0);
}

}  // namespace
}  // namespace vlisp::refhost
