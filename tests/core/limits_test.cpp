// Tests of what ends an evaluation from outside LISP, without built-ins.
#include "core/evaluator.h"
#include "core/interruption.h"
#include "core/printer.h"
#include "core/reader.h"
#include "core/session.h"
#include "platform/system.h"
#include "tests/core/silent_host.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace vlisp {
namespace {

using interruption::Reason;

std::atomic<int> turns = 0;

Cell turn(Arguments) {
    ++turns;
    return TrueCell;
}

class Limits : public ::testing::Test {
  protected:
    Limits() { session.StartInterpreter(1); }
    std::u16string eval(std::u16string text) {
        session.EvalString(text);
        return text;
    }
    SilentHost port;
    InterpreterSession session{{port,
                                [](Environment& global) {
                                    global.Bind(intern(u"T"), TrueCell);
                                    global.Bind(intern(u"TURN"), Cell::builtin(turn));
                                },
                                u"0"}};
};

std::u16string nested(std::size_t depth) {
    return std::u16string(depth, u'(') + u"1" + std::u16string(depth, u')');
}

TEST(Interruption, TheFirstReasonStaysUntilItIsTaken) {
    EXPECT_FALSE(interruption::pending());
    interruption::request(Reason::tooDeep);
    interruption::request(Reason::cancelled);
    EXPECT_TRUE(interruption::pending());
    EXPECT_EQ(interruption::take(), Reason::tooDeep);
    EXPECT_EQ(interruption::take(), Reason::none);
    EXPECT_EQ(interruption::message(Reason::tooDeep), u";error; nested too deeply");
    EXPECT_EQ(interruption::message(Reason::outOfMemory), u";error; out of memory");
    EXPECT_EQ(interruption::message(Reason::cancelled), u";error; cancelled");
    EXPECT_EQ(interruption::message(Reason::none), u"");
}

// On a small stack, so that anything recursive would fail.
TEST(Depth, AListNestedAMillionDeepIsReadPrintedCopiedAndDestroyed) {
    constexpr std::size_t depth = 1'000'000;
    const std::size_t before = heap::used();
    bool same = false;
    platform::Worker worker(256 * 1024, [&] {
        const std::u16string text = nested(depth);
        Cell cell = Parse(text);
        const Cell copy = cell;
        cell = NilCell;
        same = PrintCell(copy) == text;
        const Cell open = Parse(std::u16string_view(text).substr(0, depth + 1));
        same = same && PrintCell(open) == text;
        const Cell quoted = Parse(u"'" + text);
        same = same && PrintCell(quoted) == u"(QUOTE " + text + u")";
    });
    worker.join();
    EXPECT_TRUE(same);
    EXPECT_EQ(heap::used(), before);
}

TEST_F(Limits, ADeepListIsAValueLikeAnyOther) {
    const std::u16string text = nested(1'000'000);
    EXPECT_TRUE(eval(u"'" + text) == text);
    EXPECT_TRUE(eval(u"(setq l '" + text + u")") == text);
    EXPECT_EQ(eval(u"(setq l 1)"), u"1");
}

TEST_F(Limits, ADeepFormEndsInAnAnswerOrAnError) {
    const std::u16string answer = eval(nested(1'000'000));
    EXPECT_TRUE(answer == u"1" || answer == messages::tooDeep);
    EXPECT_EQ(eval(nested(100)), u"1");
}

TEST_F(Limits, RunawayRecursionEndsInAnErrorText) {
    EXPECT_EQ(eval(u"(defun f (x) (f x))"), u"F");
    EXPECT_EQ(eval(u"(f 1)"), messages::tooDeep);
    EXPECT_EQ(eval(u"(f 1)"), messages::tooDeep);
    EXPECT_EQ(eval(u"5"), u"5");
}

TEST_F(Limits, ASetqCannotSwallowIt) {
    eval(u"(defun f (x) (setq y (f x)) 5)");
    EXPECT_EQ(eval(u"(setq a (f 1))"), messages::tooDeep);
    EXPECT_EQ(eval(u"(begin (setq a (f 1)) (setq b 2) (setq a 3))"), messages::tooDeep);
    EXPECT_EQ(eval(u"a"), u";error; undefined symbol 'A'\n");
    EXPECT_EQ(eval(u"(repeat 1000000000 (setq a (f 1)))"), messages::tooDeep);
    EXPECT_EQ(eval(u"(while 1 (f 1))"), messages::tooDeep);
}

TEST_F(Limits, MutualRecursionThroughArgumentsAndFormsEndsAsWell) {
    eval(u"(defun f (x) (if T (begin (turn (g x)))))");
    eval(u"(defun g (x) (cond (T ((lambda (y) (f y)) x))))");
    EXPECT_EQ(eval(u"(f 1)"), messages::tooDeep);
}

TEST_F(Limits, OnAnEvaluationThreadRecursionGoesAsDeepAsItsStack) {
    eval(u"(defun f (x) (turn) (f x))");
    turns = 0;
    std::u16string answer;
    platform::Worker worker(platform::evaluationStack, [&] { answer = eval(u"(f 1)"); });
    worker.join();
    EXPECT_EQ(answer, messages::tooDeep);
    EXPECT_GT(static_cast<std::size_t>(turns), platform::evaluationStack / 20'000);
}

// Scope and helper hold each other: counting alone would keep every one of them.
TEST_F(Limits, AMillionCallsOfAFunctionThatDefinesAHelperDoNotGrowMemory) {
    eval(u"(defun f (x) (defun helper (y) x) (turn (helper x)))");
    EXPECT_EQ(eval(u"(repeat 20000 (f '(1 2 3)))"), u"T");
    const std::size_t before = heap::used();
    turns = 0;
    EXPECT_EQ(eval(u"(repeat 1000000 (f '(1 2 3)))"), u"T");
    EXPECT_EQ(turns, 1'000'000);
    // At any time there are those of the calls since the last look.
    EXPECT_LT(heap::used(), before + (std::size_t{32} << 20));
}

TEST_F(Limits, ARequestEndsALoop) {
    for (const std::u16string_view loop :
         {u"(while 1 (turn))", u"(repeat 2147483647 (turn))", u"(while (setq a (turn)))",
          u"(begin (turn) (while (not (if 1 (not 1)))))"}) {
        turns = 0;
        std::thread user([] {
            while (turns == 0) std::this_thread::yield();
            interruption::request(Reason::cancelled);
        });
        EXPECT_EQ(eval(std::u16string(loop)), messages::cancelled);
        user.join();
        EXPECT_EQ(eval(u"(turn)"), u"T");
    }
}

}  // namespace
}  // namespace vlisp
