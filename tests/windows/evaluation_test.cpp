// LISP that is typed: evaluated on a thread of the module, met by the host's message loop.
#include "tests/windows/module_fixture.h"

namespace vlisp::test {
namespace {

class Evaluation : public StartedHere {};

TEST_F(Evaluation, RunsOnAThreadOfItsOwn) {
    EXPECT_EQ(evaluate("(+ 1 2)"), "3");
    EXPECT_EQ(host.windowsFetched, 1);
    EXPECT_EQ(evaluate("(zzz)"), ";error; undefined symbol 'ZZZ'\n");
    EXPECT_EQ(evaluate("(begin (princ \"a\") (print 5) (prompt \"b\\nc\") 7)"), "7");
    EXPECT_EQ(host.shown, (Lines{"a", "\r\n5 ", "b", "c"}));
}

TEST_F(Evaluation, LaterStepsAreCountedOnly) {
    host.inputString = u"(princ \"no\")";
    int step = 2;
    EXPECT_EQ(module->dynamicCommand(&step), 1);
    EXPECT_EQ(step, 3);
    EXPECT_EQ(host.windowsFetched, 0);
}

TEST_F(Evaluation, ACommandDefinedInLispRunsAsAHostRunsIt) {
    EXPECT_EQ(evaluate("(defun c:hello () (princ \"hi\"))"), "HELLO");
    const RegisteredCommand& hello = host.commands.at("HELLO");
    EXPECT_EQ(hello.lispText, "(HELLO)");
    EXPECT_EQ(hello.description, "");
    EXPECT_EQ(hello.owner, "VelmoraLispExtension.vxm");
    EXPECT_EQ(hello.instance, module->handle());
    EXPECT_EQ(hello.number, 0u);
    EXPECT_EQ(host.runCommand(*module, "HELLO"), "\"hi\"");
    EXPECT_EQ(host.shown, Lines{"hi"});
}

TEST_F(Evaluation, GivesValuesInEveryMode) {
    module->testLine();
    const struct {
        int mode;
        const char* lisp;
        const char* result;
        const char* shown;
    } rows[] = {
        {0, "(list 1.0 2.0)", "1.000,2.000", "(1.000 2.000)"},
        {0, "'(1 2 3 4)", "nil", "(1 2 3 4)"},
        {0, "(zzz)", "nil", ""},
        {4, "'((1 2.5) 7 (\"a\"))", "1 2.500 \"a\"", "((1 2.500) 7 (\"a\"))"},
        {4, "(begin (list (entlast)))", "101", nullptr},
        {4, "5", "", "5"},
        {5, "\"abc\"", "abc", "\"abc\""},
        {5, "(> 1 2)", "nil", "nil"},
        {1, "(+ 1 2)", "3", "3"},
        {1, "(zzz)", ";error; undefined symbol 'ZZZ'\n", "nil"},
    };
    for (const auto& row : rows) {
        host.shown.clear();
        EXPECT_EQ(valueOf(row.lisp, row.mode), row.result) << row.mode << " " << row.lisp;
        ASSERT_EQ(host.shown.size(), 1u) << row.mode << " " << row.lisp;
        if (row.shown != nullptr) {
            EXPECT_EQ(host.shown[0], row.shown) << row.lisp;
        }
    }
    EXPECT_EQ(host.messagesTaken, 0) << "on the calling thread, without messages";
}

TEST_F(Evaluation, NeverWritesMoreThan300UnitsOfAValue) {
    constexpr char16_t untouched = u'#';
    std::u16string result(400, untouched);
    evaluate("(setq s \"1234567890\")");
    evaluate("(repeat 6 (setq s (strcat s s)))");
    EXPECT_EQ(module->getVarEntry(u"s", result.data(), 5), 1);
    EXPECT_EQ(result.find(u'\0'), 299u);
    EXPECT_EQ(result.find(untouched), 300u);
}

TEST_F(Evaluation, TextBeyondAsciiGoesBothWays) {
    char16_t result[300] = {};
    EXPECT_EQ(module->getVarEntry(u"(strcat \"Z\u00FCrich \u4E2D\" \"!\")", result, 5), 1);
    EXPECT_EQ(std::u16string(result), u"Z\u00FCrich \u4E2D!");
}

TEST_F(Evaluation, MeetsTheHostManyTimesInARow) {
    constexpr int times = 3000;
    for (int i = 0; i < times / 2; ++i) host.answers.push_back(reply(0, 0, 0, std::to_string(i)));
    EXPECT_EQ(evaluate("(begin (setq n 0) (repeat " + std::to_string(times / 2) +
                       " (princ \".\") (setq n (+ n (getint)))) n)"),
              std::to_string(times / 2 * (times / 2 - 1) / 2));
    EXPECT_EQ(host.messagesTaken, times + 1);
    EXPECT_EQ(host.shown.size(), static_cast<std::size_t>(times / 2));
}

TEST_F(Evaluation, ManyEvaluationsFollowEachOther) {
    evaluate("(setq n 0)");
    for (int i = 1; i <= 100; ++i) ASSERT_EQ(evaluate("(setq n (+ n 1))"), std::to_string(i));
}

TEST_F(Evaluation, ASecondOneWaitsForTheFirst) {
    host.holdsAnswers = true;
    host.startEvaluation(*module, "(begin (setq a (getint \"Number? \")) a)");
    host.waitUntil("a question", [this] { return host.requests.size() == 1; });
    host.startEvaluation(*module, "(* a a)");
    HostRequest answer = reply(0, 0, 0, "7");
    EXPECT_EQ(module->uiEntry(&answer), 1);
    EXPECT_EQ(host.serve(), "7");
    EXPECT_EQ(host.serve(), "49");
}

}  // namespace
}  // namespace vlisp::test
