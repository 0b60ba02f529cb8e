// Tests of core/session.h without built-ins; tests/builtins/session_test.cpp has those with.
#include "core/session.h"

#include "core/interruption.h"
#include "core/printer.h"
#include "platform/text.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>

namespace vlisp {
namespace {

using platform::fromUtf8;
using platform::toUtf8;
using Texts = std::vector<std::string>;

// What the host is told and what programs do, in one order.
Texts events;

class Port final : public HostPort {
  public:
    void addCommand(std::u16string_view name, std::u16string_view lispText) override {
        events.push_back("command " + toUtf8(name) + " " + toUtf8(lispText));
    }
    void sendMessage(std::u16string_view text) override {
        events.push_back("message " + toUtf8(text));
    }
    void sendEvalDone(std::u16string_view text) override {
        events.push_back("done " + toUtf8(text));
    }
};

Cell logEvent(Arguments arguments) {
    events.push_back("log " + (arguments.empty() ? "" : toUtf8(PrintCell(arguments[0]))));
    return arguments.empty() ? NilCell : arguments[0];
}

Cell cancel(Arguments) {
    interruption::request(interruption::Reason::cancelled);
    return NilCell;
}

void registerProbes(Environment& global) {
    global.Bind(intern(u"nil"), FalseCell);
    global.Bind(intern(u"T"), TrueCell);
    global.Bind(intern(u"LOG"), Cell::builtin(logEvent));
    global.Bind(intern(u"CANCEL"), Cell::builtin(cancel));
    global.Bind(intern(u"ENT"), Cell::make(CellType::EntityName, u"42"));
}

class Session : public ::testing::Test {
  protected:
    Session() {
        events.clear();
        folder = std::filesystem::temp_directory_path() /
                 ("session_test_" + std::to_string(std::random_device()()));
        std::filesystem::create_directory(folder);
        session.StartInterpreter(1);
    }
    ~Session() override { std::filesystem::remove_all(folder); }

    std::u16string file(const std::string& name, std::string_view bytes) {
        const std::filesystem::path path = folder / fromUtf8(name);
        std::ofstream(path, std::ios::binary) << bytes;
        return path.u16string();
    }
    std::string eval(std::string_view text) {
        std::u16string buffer = fromUtf8(text);
        session.EvalString(buffer);
        return toUtf8(buffer);
    }

    std::filesystem::path folder;
    Port port;
    InterpreterSession session{{port, registerProbes, u"(defun prelude (x) x) (setq second 1)"}};
};

TEST_F(Session, StartRegistersAndReadsTheFirstExpressionOfThePrelude) {
    EXPECT_EQ(eval("prelude"), "PRELUDE");
    EXPECT_EQ(eval("(prelude 3)"), "3");
    EXPECT_EQ(eval("second"), ";error; undefined symbol 'SECOND'\n");
    EXPECT_EQ(eval("T"), "T");
    EXPECT_TRUE(events.empty());
}

TEST_F(Session, NilIsNotBoundAfterStartUp) {
    EXPECT_EQ(eval("nil"), ";error; undefined symbol 'NIL'\n");
    EXPECT_EQ(GlobalEnvironment().find(intern(u"NIL").get()), nullptr);
    EXPECT_EQ(GlobalEnvironment().find(intern(u"nil").get())->text(), u"nil");
}

TEST(SessionStart, AnErrorOfThePreludeIsDropped) {
    Port port;
    InterpreterSession session({port, registerProbes, u"(zzz)"});
    session.StartInterpreter(1);
    std::u16string buffer = u"5";
    EXPECT_TRUE(session.EvalString(buffer));
    EXPECT_EQ(buffer, u"5");
}

TEST(SessionStart, TheBaseOfEntityNamesComesFromTheTicks) {
    Port port;
    std::uint32_t first = 0;
    bool differs = false;
    for (std::uint32_t ticks = 0; ticks < 200; ++ticks) {
        InterpreterSession session({port, registerProbes, u"0"});
        session.StartInterpreter(ticks);
        EXPECT_GE(EntityNameBase, 1'000'000U);
        EXPECT_LE(EntityNameBase, 33'767'000U);
        EXPECT_EQ(EntityNameBase % 1000, 0U);
        if (ticks == 0) first = EntityNameBase;
        differs = differs || EntityNameBase != first;
    }
    EXPECT_TRUE(differs);
}

TEST(SessionStart, ASecondSessionBeginsAfresh) {
    Port port;
    std::u16string buffer = u"(setq a 1)";
    {
        InterpreterSession session({port, registerProbes, u"0"});
        session.StartInterpreter(1);
        EXPECT_TRUE(session.EvalString(buffer));
    }
    InterpreterSession session({port, registerProbes, u"0"});
    session.StartInterpreter(1);
    buffer = u"a";
    EXPECT_FALSE(session.EvalString(buffer));
}

TEST_F(Session, ALoadIsAnnouncedBeforeAnythingIsEvaluated) {
    const LoadReport report =
        session.LoadLispFile(file("box.lsp", "(log 1)\n(log 2)\n(defun c:box () 1)\n"));
    EXPECT_EQ(events, (Texts{"message box.lsp successfully loaded.", "log 1", "log 2",
                             "command BOX (BOX)", "done "}));
    EXPECT_EQ(report.errorText, u"");
    EXPECT_EQ(report.line, 0U);
}

TEST_F(Session, AMissingFileIsAnnouncedAllTheSame) {
    const LoadReport report = session.LoadLispFile(fromUtf8((folder / "none.lsp").string()));
    EXPECT_EQ(events, (Texts{"message none.lsp successfully loaded.", "done "}));
    EXPECT_EQ(report.line, 0U);
}

TEST_F(Session, TheAnnouncementHasNameAndExtension) {
    for (const char* name : {"noextension", "two.dots.lsp", ".lsp", "caf\xC3\xA9 x.LSP"}) {
        events.clear();
        session.LoadLispFile(file(name, ""));
        EXPECT_EQ(events.front(), "message " + std::string(name) + " successfully loaded.");
    }
    events.clear();
    session.loadLispText(u"", u"");
    EXPECT_EQ(events.front(), "message  successfully loaded.");
}

TEST_F(Session, TheAnnouncementHolds259UnitsOfEachPart) {
    const std::u16string name(300, u'n');
    const std::u16string extension = u"." + std::u16string(300, u'e');
    session.loadLispText(u"/" + name + extension, u"");
    EXPECT_EQ(events.front(), "message " + std::string(259, 'n') + "." + std::string(258, 'e') +
                                  " successfully loaded.");
}

TEST_F(Session, OneBufferServesAllExpressionsOfAFile) {
    const LoadReport report = session.LoadLispFile(file("a.lsp", "(foo)\n(log \"x\")\n\n5\n(7)"));
    EXPECT_EQ(events, (Texts{"message a.lsp successfully loaded.",
                             "done ;error; undefined symbol 'FOO'\n"}));
    EXPECT_EQ(report.errorText, u";error; undefined symbol 'FOO'\n");
    EXPECT_EQ(report.line, 1U);
}

TEST_F(Session, ASetqEmptiesTheBufferOfTheFile) {
    const LoadReport report =
        session.LoadLispFile(file("a.lsp", "(setq a 1) (setq b undefinedthing) (setq c 3)"));
    EXPECT_EQ(events.back(), "done ");
    EXPECT_EQ(report.line, 0U);
    EXPECT_EQ(eval("a"), "1");
    EXPECT_EQ(eval("b"), "nil");
    EXPECT_EQ(eval("c"), "3");

    events.clear();
    session.loadLispText(u"a.lsp", u"(foo)\n(log 1)\n(setq a 1)\n(log 2)");
    EXPECT_EQ(events, (Texts{"message a.lsp successfully loaded.", "log 2", "done "}));
}

TEST_F(Session, ALoadBeginsWithAnEmptyBufferAndReportsTheLine) {
    session.loadLispText(u"a", u"(foo)");
    events.clear();
    EXPECT_EQ(session.loadLispText(u"b", u"; head\n(log 1)\n\n(bar\n)\n5").line, 4U);
    EXPECT_EQ(events, (Texts{"message b successfully loaded.", "log 1",
                             "done ;error; undefined symbol 'BAR'\n"}));
    // The text is that of the last expression that wrote one.
    EXPECT_EQ(session.loadLispText(u"c", u"(foo)\n(bar)").line, 2U);
}

TEST_F(Session, ALongErrorIsCut) {
    const LoadReport report = session.loadLispText(u"a", u"(" + std::u16string(1000, u'x') + u")");
    EXPECT_EQ(report.errorText.size(), 299U);
}

TEST_F(Session, AFileIsEvaluatedAsTheSplitterCutsIt) {
    session.loadLispText(u"a", u"x\n(log 1)\n(log 2) (log 3\n");
    EXPECT_EQ(events,
              (Texts{"message a successfully loaded.", "done ;error; undefined symbol 'X'\n"}));
}

TEST_F(Session, ALoadThatWasCancelledSaysSo) {
    session.loadLispText(u"a", u"(while 1 (cancel))");
    EXPECT_EQ(events.back(), "done ;error; cancelled");
    EXPECT_FALSE(interruption::pending());
}

TEST_F(Session, AQuietLoadTellsNobody) {
    session.LispPathBuffer = file("menu.lsp", "(log 1)\n(setq q 2)\n(foo)\n(log 3)");
    ErrorBuffer error;
    session.LoadLispFileQuietly(error);
    EXPECT_EQ(events, (Texts{"log 1"}));
    EXPECT_EQ(error.text(), u";error; undefined symbol 'FOO'\n");
    EXPECT_EQ(eval("q"), "2");
}

TEST_F(Session, AQuietLoadUsesTheCallersBufferAsItIs) {
    ErrorBuffer error;
    error.report(u"earlier");
    session.LispPathBuffer = file("menu.lsp", "(log 1)");
    session.LoadLispFileQuietly(error);
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(error.text(), u"earlier");
    session.LispPathBuffer = file("menu.lsp", "(setq a 1) (log 2)");
    session.LoadLispFileQuietly(error);
    EXPECT_EQ(events, (Texts{"log 2"}));
    EXPECT_TRUE(error.empty());
    session.LispPathBuffer = u"/none/such.lsp";
    session.LoadLispFileQuietly(error);
    EXPECT_TRUE(error.empty());
}

TEST_F(Session, EvalStringTellsValueFromError) {
    const struct {
        std::u16string text;
        bool fine;
        std::string result;
    } rows[] = {
        {u"5", true, "5"},
        {u"(log 2.5)", true, "2.500"},
        {u"\"a\"", true, "\"a\""},
        {u"", true, "nil"},
        {u"5 (zzz)", true, "5"},
        {u"(setq x nil)", true, "nil"},
        {u"(lambda (x) x)", true, ""},
        {u"(zzz)", false, ";error; undefined symbol 'ZZZ'\n"},
        {u"('a)", false, ";error; not a function!"},
        {u"(if nil 1 2)", false, ";error; undefined symbol 'NIL'\n"},
        {u" ", false, ";error; undefined symbol ''\n"},
        {u"(cancel)", false, ";error; cancelled"},
        {u"(setq x (cancel))", false, ";error; cancelled"},
        {u"6", true, "6"},
    };
    for (const auto& row : rows) {
        std::u16string buffer = row.text;
        EXPECT_EQ(session.EvalString(buffer), row.fine) << toUtf8(row.text);
        EXPECT_EQ(toUtf8(buffer), row.result) << toUtf8(row.text);
    }
}

// A comment is the splitter's business: a text that the host hands over has none.
TEST_F(Session, EvalStringKnowsNoComments) {
    EXPECT_EQ(eval("(log 5 ';x)"), "5");
    EXPECT_EQ(events, (Texts{"log 5"}));
    EXPECT_EQ(eval(";x"), ";error; undefined symbol ';X'\n");
}

TEST_F(Session, TheVariantsConvert) {
    using Variant = void (InterpreterSession::*)(std::u16string&, std::u16string&);
    const Variant toPoint = &InterpreterSession::EvalStringToPoint;
    const Variant toText = &InterpreterSession::EvalStringToText;
    const Variant toFlatList = &InterpreterSession::EvalStringToFlatList;
    const struct {
        Variant variant;
        std::u16string text;
        std::string first, second;
    } rows[] = {
        {toPoint, u"'(1 2.5)", "1,2.500", "(1 2.500)"},
        {toPoint, u"'(1 2 3)", "1,2,3", "(1 2 3)"},
        {toPoint, u"5", "nil", "5"},
        {toPoint, u"'(1 2 3 4)", "nil", "(1 2 3 4)"},
        {toPoint, u"(zzz)", "nil", "before"},
        {toText, u"\"a b\"", "a b", "\"a b\""},
        {toText, u"5", "", "5"},
        {toText, u"T", "T", "T"},
        {toText, u"(not T)", "nil", "nil"},
        {toText, u"ent", "42", "<Entity name: 2a>"},
        {toText, u"(zzz)", "nil", "before"},
        {toText, u"(cancel)", "nil", "before"},
        {toFlatList, u"'((1 2.5) 3 (\"a\"))", "1 2.500 \"a\"", "((1 2.500) 3 (\"a\"))"},
        {toFlatList, u"'((0 . \"LINE\") (8 . \"0\"))", "0 . \"LINE\" 8 . \"0\"",
         "((0 . \"LINE\") (8 . \"0\"))"},
        {toFlatList, u"5", "", "5"},
        {toFlatList, u"'(1 2)", "", "(1 2)"},
        {toFlatList, u"(zzz)", "nil", "before"},
    };
    for (const auto& row : rows) {
        EntityNameBase = 0;
        std::u16string first = row.text;
        std::u16string second = u"before";
        (session.*row.variant)(first, second);
        EXPECT_EQ(toUtf8(first), row.first) << toUtf8(row.text);
        EXPECT_EQ(toUtf8(second), row.second) << toUtf8(row.text);
    }
}

TEST(FlatListText, TakesListsAndEntityNames) {
    const Cell entity = Cell::make(CellType::EntityName, u"42");
    const struct {
        Cell value;
        std::string text;
    } rows[] = {
        {Cell::list({entity, Parse(u"(1 (2 3))"), Cell::string(u"gone"), entity}), "42 1 (2 3) 42"},
        {Cell::list({Parse(u"()"), Parse(u"(1)")}), "1"},
        {Cell::list({Cell::list({entity})}), "<Entity name: 2a>"},
        {Cell::list({}), ""},
        {entity, ""},
        // One trailing blank goes, whatever came before it.
        {Cell::list({Cell::list({Cell::integer(1), Cell()})}), "1 "},
        {Cell::list({Cell::make(CellType::SelectionSet, u"3")}), ""},
        // A Lambda's items are read like a list's.
        {Cell::lambda(Parse(u"(LAMBDA (X Y) X)").itemSlice(), nullptr, {}), "X Y"},
    };
    EntityNameBase = 0;
    for (const auto& row : rows)
        EXPECT_EQ(toUtf8(FlatListText(row.value)), row.text) << dumpCell(row.value);
}

TEST_F(Session, WhatIsLoadedStaysAndIsRedefinedByLoadingAgain) {
    session.loadLispText(u"a", u"(defun f () 1)");
    EXPECT_EQ(eval("(f)"), "1");
    session.loadLispText(u"a", u"(defun f () 2)");
    EXPECT_EQ(eval("(f)"), "2");
}

// Ours: what ends an evaluation from outside ends the whole load, and no SETQ takes its message.
TEST_F(Session, AnInterruptionEndsTheLoad) {
    const LoadReport report =
        session.LoadLispFile(file("a.lsp", "(log 1)\n(while 1 (cancel))\n(setq after (log 2))"));
    EXPECT_EQ(report.errorText, u";error; cancelled");
    EXPECT_EQ(report.line, 2U);
    EXPECT_EQ(events,
              Texts({"message a.lsp successfully loaded.", "log 1", "done ;error; cancelled"}));
    ErrorBuffer error;
    session.LispPathBuffer = file("b.lsp", "(cancel)\n(log 3)");
    session.LoadLispFileQuietly(error);
    EXPECT_EQ(error.text(), u";error; cancelled");
    EXPECT_EQ(events.back(), "done ;error; cancelled");
}

}  // namespace
}  // namespace vlisp
