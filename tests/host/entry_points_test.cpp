// Tests of host/exports.h: what a host calls, under the names by which it finds them.
#include "host/exports.h"

#include "core/interruption.h"
#include "core/printer.h"
#include "core/scope_collector.h"
#include "host/module.h"
#include "platform/text.h"
#include "tests/support/recording_host.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using platform::toUtf8;
using test::RecordingHost;
using Log = std::vector<std::string>;

class EntryPoints : public testing::Test {
  protected:
    void SetUp() override { test::resetHandshake(); }
    void TearDown() override {
        stopModule();
        test::resetHandshake();
    }

    // What VelmoraExtGetVarEntry writes into its result.
    static std::string valueOf(const char16_t* expression, int mode = 1) {
        char16_t result[300];
        std::fill(std::begin(result), std::end(result), u'#');
        EXPECT_EQ(VelmoraExtGetVarEntry(expression, result, mode), 1);
        EXPECT_NE(std::ranges::find(result, u'\0'), std::end(result)) << "not terminated";
        return toUtf8(result);
    }

    // Runs a text as a command; returns what the end of its evaluation says.
    std::string resultOf(const std::u16string& lispText) {
        host.inputString = lispText;
        int step = 1;
        const int before = host.evalDones;
        EXPECT_EQ(VelmoraExtDynamicCmdEntry(&step), 1);
        EXPECT_EQ(step, 2);
        if (!RecordingHost::reaches(host.evalDones, before + 1)) return "[no end]";
        return toUtf8(host.posted.back().messageText);
    }

    RecordingHost host;
};

const Log registrations{
    "AddCommand AppLoad||Load LISP file .lsp|VelmoraLispExtension.vxm|42771",
    "AddCommand MnuLoad||Load menus and toolbars|VelmoraLispExtension.vxm|0",
    "AddCommand LispEdit||Edit LISP file .lsp|VelmoraLispExtension.vxm|42772",
    "AddCommand LispPoly||Test polyline|VelmoraLispExtension.vxm|0",
    "AddCommand TestLine||Test line|VelmoraLispExtension.vxm|0",
};

// --- VelmoraExtEntryPoint ---

TEST_F(EntryPoints, AcceptsVersionTwoAndLater) {
    for (const char16_t* version :
         {u"2.0", u"2.", u"2.x", u"3.1", u"10.0", u"2.0.1.5", u" 2.0", u"+2.0", u"2x.0"}) {
        SCOPED_TRACE(toUtf8(version));
        host.version = version;
        host.log.clear();
        std::uint16_t first = 7;
        std::uint16_t second = 7;
        EXPECT_EQ(VelmoraExtEntryPoint(&first, &second), 1);
        EXPECT_EQ(first, 40);
        EXPECT_EQ(second, 33);
        EXPECT_EQ(host.log, registrations);
        EXPECT_NE(currentModule(), nullptr);
        stopModule();
    }
}

TEST_F(EntryPoints, RefusesWhatIsOlderOrNoVersion) {
    for (const char16_t* version :
         {u"1.9", u"1.99.3", u"2", u"3", u"", u"x.y", u".", u".2", u"-3.0", u"0x3.0", u"2,0"}) {
        SCOPED_TRACE(toUtf8(version));
        host.version = version;
        host.log.clear();
        std::uint16_t first = 7;
        std::uint16_t second = 8;
        EXPECT_EQ(VelmoraExtEntryPoint(&first, &second), 0);
        EXPECT_EQ(first, 7);
        EXPECT_EQ(second, 8);
        EXPECT_EQ(host.log, Log{"warn Warning: VelmoraLispExtension requires Velmora 2017 (v2.0) "
                                "or later!"});
        EXPECT_EQ(currentModule(), nullptr);
    }
}

TEST_F(EntryPoints, RegistersItsCommandsAsThisImage) {
    ASSERT_TRUE(test::startExtension());
    ASSERT_NE(platform::moduleInstance(), nullptr);
    EXPECT_EQ(host.owners, std::vector<ModuleHandle>(5, platform::moduleInstance()));
    host.owners.clear();
    EXPECT_EQ(valueOf(u"(defun c:hello () 5)"), "HELLO");
    EXPECT_EQ(host.owners, std::vector<ModuleHandle>{platform::moduleInstance()});
    EXPECT_EQ(host.log[5], "AddCommand HELLO|(HELLO)||VelmoraLispExtension.vxm|0");
}

TEST_F(EntryPoints, StartsWithNothingPickedAndTheHostsWindow) {
    handshake().reply.count = 7;
    handshake().mainWindow = nullptr;
    ASSERT_TRUE(test::startExtension());
    EXPECT_EQ(handshake().reply.count, 0);
    EXPECT_EQ(handshake().mainWindow, &host);
    EXPECT_EQ(valueOf(u"ssfilter"), "SSFILTER");
    EXPECT_TRUE(host.posted.empty());
}

TEST_F(EntryPoints, StartedAgainBeginsAnew) {
    ASSERT_TRUE(test::startExtension());
    EXPECT_EQ(valueOf(u"(setq kept 5)"), "5");
    host.log.clear();
    ASSERT_TRUE(test::startExtension());
    EXPECT_EQ(host.log, registrations);
    EXPECT_EQ(valueOf(u"kept"), ";error; undefined symbol 'KEPT'\n");
    EXPECT_EQ(resultOf(u"(+ 1 2)"), "3");
    stopModule();
    stopModule();
    EXPECT_EQ(currentModule(), nullptr);
    ASSERT_TRUE(test::startExtension());
    EXPECT_EQ(resultOf(u"(+ 2 3)"), "5");
    EXPECT_EQ(valueOf(u"ssfilter"), "SSFILTER");
}

// A helper that is defined inside a function inside a function keeps both their scopes.
TEST_F(EntryPoints, StoppingLetsGoOfScopesThatHoldEachOther) {
    const std::size_t before = scope_collector::livingScopes();
    ASSERT_TRUE(test::startExtension());
    EXPECT_EQ(valueOf(u"((lambda (x) ((lambda (y) (defun inner () (+ x y))) 1)) 2)"), "INNER");
    stopModule();
    EXPECT_EQ(scope_collector::livingScopes(), before);
    ASSERT_TRUE(test::startExtension());
    EXPECT_EQ(valueOf(u"(+ 1 2)"), "3");
}

// --- VelmoraExtUIEntry ---

TEST_F(EntryPoints, TheHostsAnswerReleasesWhoWaits) {
    handshake().waitingForReply = true;
    HostRequest answer = test::reply(4, 1.5, 2.5, u"typed", 1, 42, 7);
    EXPECT_EQ(VelmoraExtUIEntry(&answer), 1);
    EXPECT_FALSE(handshake().waitingForReply);
    const HostReply& reply = handshake().reply;
    EXPECT_EQ(reply.mode, 4);
    EXPECT_EQ(reply.x, 1.5);
    EXPECT_EQ(reply.y, 2.5);
    EXPECT_EQ(reply.inputText, u"typed");
    EXPECT_EQ(reply.count, 1);
    EXPECT_EQ(reply.entityId, 42);
    EXPECT_EQ(reply.context, 7);
}

// --- VelmoraExtDynamicCmdEntry ---

TEST_F(EntryPoints, ACommandsTextIsEvaluatedOnAThreadOfItsOwn) {
    ASSERT_TRUE(test::startExtension());
    host.log.clear();
    handshake().mainWindow = nullptr;
    EXPECT_EQ(resultOf(u"(begin (princ \"working\") (+ 1 2))"), "3");
    EXPECT_EQ(handshake().mainWindow, &host) << "fetched each time";
    EXPECT_EQ(host.log, (Log{"Clear", "Post 3", "Clear", "Post 2"}));
    EXPECT_EQ(host.shown, std::vector<std::u16string>{u"working"});
    EXPECT_EQ(host.posted.back().kind, 2);
    EXPECT_EQ(host.posted.back().mode, 0);
    EXPECT_EQ(host.addresses.back(), &handshake().evalDone);
}

TEST_F(EntryPoints, TheEndOfACommandTellsItsResultOrItsError) {
    ASSERT_TRUE(test::startExtension());
    const struct {
        const char16_t* text;
        std::string result;
    } rows[] = {
        {u"\"a b\"", "\"a b\""},
        {u"(zzz)", ";error; undefined symbol 'ZZZ'\n"},
        {u"(setq kept 5)", "5"},
        {u"kept", "5"},
        {u"", "nil"},
        {u"(+ 1 2) (princ \"not read\")", "3"},
    };
    for (const auto& row : rows) {
        host.posted.clear();
        EXPECT_EQ(resultOf(row.text), row.result);
        EXPECT_EQ(host.posted.size(), 1u);
    }
    EXPECT_TRUE(host.shown.empty());
}

TEST_F(EntryPoints, ACommandMayAskTheUser) {
    ASSERT_TRUE(test::startExtension());
    host.answers = {test::reply(1, 1, 2), test::reply(1, 4, 6)};
    EXPECT_EQ(resultOf(u"(getdist \"From: \")"), "5.000");
    ASSERT_EQ(host.posted.size(), 3u);
    EXPECT_EQ(std::u16string(host.posted[0].messageText), u"From: ");
    EXPECT_EQ(std::u16string(host.posted[1].messageText), u"Specify second point:");
}

TEST_F(EntryPoints, LaterStepsOfACommandOnlyCount) {
    ASSERT_TRUE(test::startExtension());
    host.log.clear();
    host.inputString = u"(princ \"again\")";
    for (int step : {2, 3, 100}) {
        const int before = step;
        EXPECT_EQ(VelmoraExtDynamicCmdEntry(&step), 1);
        EXPECT_EQ(step, before + 1);
    }
    stopModule();
    EXPECT_TRUE(host.log.empty());
}

TEST_F(EntryPoints, EveryStepUpToTheFirstEvaluates) {
    ASSERT_TRUE(test::startExtension());
    host.inputString = u"(+ 1 2)";
    for (int step : {1, 0, -5}) {
        const int before = step;
        const int ends = host.evalDones;
        EXPECT_EQ(VelmoraExtDynamicCmdEntry(&step), 1);
        EXPECT_EQ(step, before + 1);
        EXPECT_TRUE(RecordingHost::reaches(host.evalDones, ends + 1)) << "step " << before;
    }
}

TEST_F(EntryPoints, InDirectModeTheEndIsNotTold) {
    ASSERT_TRUE(test::startExtension());
    host.log.clear();
    handshake().directMode = true;
    host.inputString = u"(princ \"on\")";
    int step = 1;
    EXPECT_EQ(VelmoraExtDynamicCmdEntry(&step), 1);
    ASSERT_TRUE(RecordingHost::reaches(host.displays, 1));
    // Another evaluation begins when that one has ended.
    std::atomic<int> begun{0};
    currentModule()->startEvaluation([&] { ++begun; });
    ASSERT_TRUE(RecordingHost::reaches(begun, 1));
    EXPECT_EQ(host.log, Log{"DisplayMsg on"});
}

TEST_F(EntryPoints, EvaluationsRunOneAfterAnother) {
    ASSERT_TRUE(test::startExtension());
    constexpr int commands = 8;
    host.inputString = u"(begin (princ \"a\") (princ \"b\"))";
    for (int i = 0; i < commands; ++i) {
        int step = 1;
        VelmoraExtDynamicCmdEntry(&step);
    }
    ASSERT_TRUE(RecordingHost::reaches(host.evalDones, commands));
    std::vector<std::u16string> expected;
    for (int i = 0; i < commands; ++i) expected.insert(expected.end(), {u"a", u"b"});
    EXPECT_EQ(host.shown, expected);
}

// The host waits for the end of each, and the next one for its turn.
TEST_F(EntryPoints, AnEvaluationThatFindsNoMemoryEnds) {
    ASSERT_TRUE(test::startExtension());
    currentModule()->startEvaluation([] { throw std::bad_alloc(); });
    ASSERT_TRUE(RecordingHost::reaches(host.evalDones, 1));
    EXPECT_EQ(toUtf8(host.posted.back().messageText), ";error; out of memory");
    EXPECT_EQ(resultOf(u"(+ 2 3)"), "5");
}

// Whatever it does, a command ends when the module does, and nothing is posted any more.
TEST_F(EntryPoints, StoppingEndsWhatStillRuns) {
    for (const char16_t* text : {u"(begin (princ \"on\") (while T (+ 1 2)))",
                                 u"(begin (princ \"on\") (vm-wait 100000000) (princ \"off\"))",
                                 u"(begin (princ \"on\") (while T (princ \"off\")))"}) {
        ASSERT_TRUE(test::startExtension());
        host.inputString = text;
        const int before = host.posts;
        int step = 1;
        VelmoraExtDynamicCmdEntry(&step);
        ASSERT_TRUE(RecordingHost::reaches(host.posts, before + 1));
        stopModule();
        EXPECT_EQ(host.shown.at(static_cast<std::size_t>(before)), u"on");
        EXPECT_EQ(host.posted.back().kind, 3);
    }
}

TEST_F(EntryPoints, StoppingDoesNotWaitForTheHost) {
    ASSERT_TRUE(test::startExtension());
    host.asksBeforeTaken = 2'000'000'000;
    host.inputString = u"(+ 1 2)";
    int step = 1;
    VelmoraExtDynamicCmdEntry(&step);
    ASSERT_TRUE(RecordingHost::reaches(host.posts, 1));
    stopModule();
    EXPECT_EQ(std::u16string(host.posted.back().messageText), u"3");
    // What ended that evaluation does not reach the next one.
    EXPECT_FALSE(interruption::pending());
    host.asksBeforeTaken = 0;
    ASSERT_TRUE(test::startExtension());
    EXPECT_EQ(valueOf(u"ssfilter"), "SSFILTER");
    EXPECT_EQ(resultOf(u"(+ 2 3)"), "5");
}

// --- VelmoraExtGetVarEntry ---

TEST_F(EntryPoints, TheExpressionMayStandWhereTheResultWill) {
    ASSERT_TRUE(test::startExtension());
    char16_t buffer[300] = u"(+ 40 2)";
    EXPECT_EQ(VelmoraExtGetVarEntry(buffer, buffer, 1), 1);
    EXPECT_EQ(std::u16string(buffer), u"42");
}

TEST_F(EntryPoints, AValueComesInTheFormThatIsAskedFor) {
    ASSERT_TRUE(test::startExtension());
    EntityNameBase = 0;
    host.add<VmDbLine>(vmDbLine);
    valueOf(u"(setq ent (entlast))");
    const struct {
        const char16_t* expression;
        int mode;
        std::string result, shown;
    } rows[] = {
        {u"'(1.0 2.0)", 0, "1.000,2.000", "(1.000 2.000)"},
        {u"'(1 2.5 3)", 0, "1,2.500,3", "(1 2.500 3)"},
        {u"'(1 2 3 4)", 0, "nil", "(1 2 3 4)"},
        {u"'(1)", 0, "nil", "(1)"},
        {u"5", 0, "nil", "5"},
        {u"'((1 2.5) 3 (\"a\"))", 4, "1 2.500 \"a\"", "((1 2.500) 3 (\"a\"))"},
        {u"(list ent '(7) ent)", 4, "1 7 1", "(<Entity name: 1> (7) <Entity name: 1>)"},
        {u"'(1 2)", 4, "", "(1 2)"},
        {u"5", 4, "", "5"},
        {u"\"a b\"", 5, "a b", "\"a b\""},
        {u"ent", 5, "1", "<Entity name: 1>"},
        {u"5", 5, "", "5"},
        {u"T", 5, "T", "T"},
        {u"(= 1 2)", 5, "nil", "nil"},
        {u"\"nil\"", 5, "nil", "\"nil\""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(toUtf8(row.expression) + " mode " + std::to_string(row.mode));
        host.shown.clear();
        EXPECT_EQ(valueOf(row.expression, row.mode), row.result);
        ASSERT_EQ(host.shown.size(), 1u);
        EXPECT_EQ(toUtf8(host.shown[0]), row.shown);
    }
    EXPECT_TRUE(host.posted.empty()) << "it is shown at once, on the thread that asks";
}

TEST_F(EntryPoints, AnyOtherModeGivesThePrintedValue) {
    ASSERT_TRUE(test::startExtension());
    for (const int mode : {1, 2, 3, 6, 100, -1}) {
        host.shown.clear();
        EXPECT_EQ(valueOf(u"(list 1 2.5 \"a\")", mode), "(1 2.500 \"a\")") << mode;
        EXPECT_EQ(host.shown, std::vector<std::u16string>{u"(1 2.500 \"a\")"}) << mode;
        host.shown.clear();
        EXPECT_EQ(valueOf(u"(zzz)", mode), ";error; undefined symbol 'ZZZ'\n") << mode;
        EXPECT_EQ(host.shown, std::vector<std::u16string>{u"nil"}) << mode;
    }
}

TEST_F(EntryPoints, AFailureIsNilInTheOtherForms) {
    ASSERT_TRUE(test::startExtension());
    for (const int mode : {0, 4, 5}) {
        host.shown.clear();
        EXPECT_EQ(valueOf(u"(zzz)", mode), "nil") << mode;
        EXPECT_EQ(host.shown, std::vector<std::u16string>{u""}) << mode;
    }
    // The next one is not touched by it.
    EXPECT_EQ(valueOf(u"\"a\"", 5), "a");
}

TEST_F(EntryPoints, AnExpressionSeesAndMakesWhatCommandsSee) {
    ASSERT_TRUE(test::startExtension());
    EXPECT_EQ(resultOf(u"(defun twice (n) (* 2 n))"), "TWICE");
    EXPECT_EQ(valueOf(u"(setq kept (twice 21))"), "42");
    EXPECT_EQ(resultOf(u"kept"), "42");
}

// --- without start-up ---

TEST_F(EntryPoints, BeforeStartUpNothingHappens) {
    ASSERT_EQ(currentModule(), nullptr);
    host.inputString = u"/no/such/file.lsp";
    int step = 1;
    EXPECT_EQ(VelmoraExtDynamicCmdEntry(&step), 1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(VelmoraExtDynamicCmdEntry(&step), 1);
    EXPECT_EQ(step, 3);
    for (const int mode : {0, 1, 4, 5}) EXPECT_EQ(valueOf(u"(+ 1 2)", mode), "nil");
    EXPECT_EQ(host.shown, std::vector<std::u16string>(4, u""));
    step = 2;
    EXPECT_EQ(AppLoad(&step), 1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(MnuLoad(), 1);
    EXPECT_EQ(TestLine(), 1);
    HostRequest answer = test::reply(0);
    EXPECT_EQ(VelmoraExtUIEntry(&answer), 1);
    EXPECT_TRUE(host.posted.empty());
}

TEST_F(EntryPoints, ARefusedHostIsServedLikeOneBeforeStartUp) {
    host.version = u"1.9";
    ASSERT_FALSE(test::startExtension());
    EXPECT_EQ(valueOf(u"(+ 1 2)"), "nil");
    int step = 1;
    EXPECT_EQ(VelmoraExtDynamicCmdEntry(&step), 1);
    EXPECT_TRUE(host.posted.empty());
}

// --- the commands ---

TEST_F(EntryPoints, EveryCommandIsReachedByItsName) {
    ASSERT_TRUE(test::startExtension());
    host.log.clear();
    int step = 1;
    EXPECT_EQ(AppLoad(&step), 1);
    EXPECT_EQ(step, 2);
    step = 1;
    EXPECT_EQ(LispEdit(&step), 1);
    EXPECT_EQ(step, 2);
    step = 1;
    EXPECT_EQ(LispPoly(&step), 1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(TestLine(), 1);
    EXPECT_EQ(host.log,
              (Log{"DisplayPromptMsg Enter lisp file (.lsp) full path or <Browse...>: ",
                   "DisplayPromptMsg Enter lisp file (.lsp) full path or <Browse...>: ",
                   "setWorkingLayerAndLineType |", "addPolyline -1",
                   "SetUserInputMode 1 0 0.000000 0.000000 0.000000",
                   "DisplayPromptMsg Specify first point or [Cancel]: <Cancel> ", "addLine -1"}));
}

}  // namespace
}  // namespace vlisp
