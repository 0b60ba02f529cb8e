// Tests of depth, memory and interruption with programs that use the built-ins.
#include "core/heap.h"
#include "core/interruption.h"
#include "core/scope_collector.h"
#include "platform/system.h"
#include "tests/support/bare_lisp.h"
#include "tests/support/heap_limit.h"

#include <gtest/gtest.h>

namespace vlisp {
namespace {

using test::HeapLimit;

constexpr std::size_t someMore = std::size_t{64} << 20;
const std::string outOfMemory = ";error; out of memory";
const std::string tooDeep = ";error; nested too deeply";

std::string onEvaluationThread(test::BareLisp& lisp, const std::string& text) {
    std::string answer;
    platform::Worker worker(platform::evaluationStack, [&] { answer = lisp.eval(text); });
    worker.join();
    return answer;
}

TEST(LimitsWithBuiltins, AMillionNestedCallsEndInAnAnswerOrAnError) {
    test::BareLisp lisp;
    lisp.eval("(defun down (n) (if (< n 1) 0 (+ 1 (down (- n 1)))))");
    EXPECT_EQ(lisp.eval("(down 100)"), "100");
    const std::string answer = onEvaluationThread(lisp, "(down 1000000)");
    EXPECT_TRUE(answer == "1000000" || answer.starts_with(";error; ")) << answer;
    EXPECT_EQ(onEvaluationThread(lisp, "(down 1000)"), "1000");
}

TEST(LimitsWithBuiltins, RunawayRecursionEndsInAnError) {
    test::BareLisp lisp;
    lisp.eval("(defun up (n) (+ 1 (up (+ n 1))))");
    EXPECT_EQ(lisp.eval("(setq a (up 1))"), tooDeep);
    EXPECT_EQ(onEvaluationThread(lisp, "(setq a (up 1))"), tooDeep);
    EXPECT_EQ(lisp.eval("a"), ";error; undefined symbol 'A'\n");
}

// Two hundred arguments and more stand in registers of their own, which the call leaves again.
TEST(LimitsWithBuiltins, ACallWithManyArgumentsLeavesTheStackAsItWas) {
    std::string numbers;
    for (int i = 1; i <= 250; ++i) numbers += ' ' + std::to_string(i);
    test::BareLisp lisp;
    lisp.eval("(defun first (a) a)");
    lisp.eval("(defun down (n) (if (< n 1) 0 (+ 1 (down (- n (first" + numbers + "))))))");
    EXPECT_EQ(lisp.eval("(down 300)"), "300");
    lisp.eval("(defun up (n) (+ 1 (up (+ n 1))))");
    EXPECT_EQ(lisp.eval("(begin (first" + numbers + ") (up 1))"), tooDeep);
    EXPECT_EQ(lisp.eval("(down 300)"), "300");
}

// A function that keeps its names in a scope, called from the first register of another, over and
// over where registers are about to run out.
TEST(LimitsWithBuiltins, ACallReturnsFromItsOwnRegistersOnly) {
    test::BareLisp lisp;
    lisp.eval("(defun leaf (/ h) (defun h () 1) 5)");
    lisp.eval("(defun bottom () 0)");
    lisp.eval("(defun down () (leaf) (leaf) (list 1 2 3 4 5 6 7 8 (list 1 2 3 4 5 6 7 (not T)))"
              " (+ 1 (if (< n 1) (bottom) (begin (setq n (- n 1)) (down)))))");
    lisp.eval("(setq n 20000)");
    const std::string answer = onEvaluationThread(lisp, "(down)");
    EXPECT_TRUE(answer == "20001" || answer == tooDeep) << answer;
    lisp.eval("(setq n 20000)");
    lisp.eval("(defun bottom () (+ 1 (bottom)))");
    EXPECT_EQ(onEvaluationThread(lisp, "(down)"), tooDeep);
    EXPECT_EQ(lisp.eval("(leaf)"), "5");
}

TEST(LimitsWithBuiltins, ArithmeticNestedDeepWorksWithOtherOperations) {
    std::string form = "1";
    for (int i = 0; i < 1000; ++i) form = "(+ 1 " + form + ")";
    test::BareLisp lisp;
    lisp.eval("(defun sum () " + form + ")");
    EXPECT_EQ(onEvaluationThread(lisp, "(sum)"), "1001");
    lisp.eval("(setq + -)");
    EXPECT_EQ(onEvaluationThread(lisp, "(sum)"), "1");
    EXPECT_EQ(onEvaluationThread(lisp, form), "1");
}

TEST(LimitsWithBuiltins, AFormMayTakeAnyNumberOfDetours) {
    std::string form;
    for (int i = 0; i < 34'000; ++i) form += "(+ 7 (+ 5 3))";
    test::BareLisp lisp;
    lisp.eval("(setq + -)");
    EXPECT_EQ(lisp.eval("(begin " + form + ")"), "5");
}

TEST(LimitsWithBuiltins, RecursionThroughABuiltinThatCallsBackEndsInAnError) {
    test::BareLisp lisp;
    lisp.eval("(defun f (x) (vl-remove-if f '(1 2)))");
    EXPECT_EQ(lisp.eval("(f 1)"), tooDeep);
    EXPECT_EQ(lisp.eval("(+ 1 2)"), "3");
}

TEST(LimitsWithBuiltins, ListsNestedAMillionDeepCompare) {
    constexpr std::size_t depth = 1'000'000;
    const std::string a = std::string(depth, '(') + "1" + std::string(depth, ')');
    const std::string b = std::string(depth, '(') + "2" + std::string(depth, ')');
    test::BareLisp lisp;
    EXPECT_EQ(lisp.eval("(equal '" + a + " '" + a + ")"), "T");
    EXPECT_EQ(lisp.eval("(equal '" + a + " '" + b + ")"), "nil");
    EXPECT_EQ(lisp.eval("(/= '" + a + " '" + b + ")"), "T");
    EXPECT_EQ(lisp.eval("(begin (setq a '" + a + ") (setq b (cdr (list a a))) (equal a (car b)))"),
              "T");
}

TEST(LimitsWithBuiltins, AListBuiltAMillionDeepIsPrintedComparedAndReleased) {
    test::BareLisp lisp;
    const std::size_t before = heap::used();
    EXPECT_EQ(lisp.eval("(begin (setq l 1 m 1) (repeat 1000000 (setq l (list l) m (list m))) "
                        "(equal l m))"),
              "T");
    EXPECT_EQ(lisp.eval("l").size(), 2'000'001U);
    lisp.eval("(setq l 1 m 1)");
    EXPECT_LE(heap::used(), before + 1000);
}

TEST(LimitsWithBuiltins, DoublingEndsInAnErrorAndTheInterpreterGoesOn) {
    const char* const programs[] = {
        "(begin (setq l '(1)) (while 1 (setq l (append l l))))",
        "(begin (setq l '(1)) (repeat 1000 (setq l (append l l))))",
        "(begin (setq l \"ab\") (while 1 (setq l (strcat l l))))",
        "(begin (setq l 1) (while 1 (setq l (list l l l l l l l l)) (setq k (cons l k))))",
    };
    for (const char* program : programs) {
        test::BareLisp lisp;
        const std::size_t before = heap::used();
        const HeapLimit limit(before + someMore);
        lisp.eval("(setq k '())");
        EXPECT_EQ(lisp.eval(program), outOfMemory) << program;
        EXPECT_LE(heap::used(), before + someMore);
        EXPECT_EQ(lisp.eval("(+ 1 2)"), "3");
        EXPECT_EQ(lisp.eval("(setq l 1 k 1)"), "1");
        EXPECT_LE(heap::used(), before + 10'000) << program;
        EXPECT_EQ(lisp.eval("(append '(1) '(2))"), "(1 2)");
    }
}

TEST(LimitsWithBuiltins, ASharedListThatPrintsExponentiallyLongIsNotPrinted) {
    test::BareLisp lisp;
    const HeapLimit limit(heap::used() + someMore);
    EXPECT_EQ(lisp.eval("(begin (setq l 1) (repeat 60 (setq l (list l l))))"), outOfMemory);
    EXPECT_EQ(lisp.eval("(length l)"), "2");
}

TEST(LimitsWithBuiltins, ASharedListThatIsExponentiallyLargeCanBeCancelledWhileItIsCompared) {
    test::BareLisp lisp;
    EXPECT_EQ(lisp.eval("(begin (setq l 1 m 1) (repeat 60 (setq l (list l l) m (list m m))) 5)"),
              "5");
    platform::Worker user(std::size_t{1} << 20, [] {
        const std::uint32_t start = platform::tickCount();
        while (platform::tickCount() - start < 100) continue;
        interruption::request(interruption::Reason::cancelled);
    });
    EXPECT_EQ(lisp.eval("(equal l m)"), ";error; cancelled");
    user.join();
}

TEST(LimitsWithBuiltins, ALoadGoesOnAfterMemoryRanOut) {
    test::BareLisp lisp;
    const HeapLimit limit(heap::used() + someMore);
    const LoadReport report =
        lisp.session.loadLispText(u"a.lsp", u"(setq l '(1))\n(while 1 (setq l (append l l)))\n");
    EXPECT_EQ(report.errorText, u";error; out of memory");
    EXPECT_EQ(report.line, 2U);
    EXPECT_EQ(lisp.port.log.back(), "done " + outOfMemory);
}

// Scopes that nobody holds are freed before memory is said to be out.
TEST(Memory, RunsOutOnlyWhenScopesThatNobodyHoldsAreGone) {
    test::BareLisp lisp;
    const std::size_t limit = heap::limit();
    lisp.eval("(setq s (strcat \"a\"))");
    lisp.eval("(repeat 16 (setq s (strcat s s)))");
    lisp.eval("(defun f (x) (define self (lambda () x)) 1)");
    heap::setLimit(heap::used() + (std::size_t{64} << 20));
    EXPECT_EQ(lisp.eval("(repeat 5000 (f (strcat s \"b\")))"), "1");
    heap::setLimit(limit);
}

// The predicates of VL-REMOVE-IF make scopes as well.
TEST(Memory, PredicatesThatKeepThemselvesDoNotPileUp) {
    test::BareLisp lisp;
    lisp.eval("(setq p '(lambda (x) (define self (lambda () x))))");
    lisp.eval("(repeat 100000 (vl-remove-if p '(1)))");
    EXPECT_LT(scope_collector::livingScopes(), 50'000U);
}

TEST(Memory, ADefineCannotTakeAnInterruptionEither) {
    test::BareLisp lisp;
    lisp.eval("(defun deep (n) (+ 1 (deep n)))");
    lisp.eval("(define b 6)");
    EXPECT_EQ(lisp.eval("(define b (deep 1))"), ";error; nested too deeply");
    EXPECT_EQ(lisp.eval("b"), "6");
}

}  // namespace
}  // namespace vlisp
