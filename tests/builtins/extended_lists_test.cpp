// Tests of builtins/extended_lists.h: what needs more than a line of LISP.
#include "builtins/extended_lists.h"

#include "builtins/lists.h"
#include "core/interruption.h"
#include "tests/support/bare_lisp.h"
#include "tests/support/cells.h"

#include <gtest/gtest.h>
#include <vector>

namespace vlisp {
namespace {

using test::call;
using test::isNil;
using test::numbers;
using test::whole;
using Numbers = std::vector<std::int32_t>;

std::vector<Cell> nonLists() {
    return {Cell(),
            NilCell,
            Cell::symbol(u"A"),
            whole(1),
            Cell::real(1.5),
            Cell::string(u"1"),
            Cell::builtin(&car),
            Cell::make(CellType::EntityName, u"1"),
            Cell::make(CellType::SelectionSet, u"1")};
}

TEST(ExtendedLists, WantAListWhereTheySay) {
    test::BareLisp lisp;
    std::vector<Cell> others = nonLists();
    others.push_back(lisp.value("(lambda (x) x)"));
    const Cell predicate = lisp.value("'(lambda (x) T)");
    for (const Cell& other : others) {
        SCOPED_TRACE(dumpCell(other));
        EXPECT_TRUE(isNil(call(member, {whole(1), other})));
        EXPECT_TRUE(isNil(call(reverse, {other})));
        EXPECT_TRUE(isNil(call(last, {other})));
        EXPECT_TRUE(isNil(call(vlRemove, {whole(1), other})));
        EXPECT_TRUE(isNil(call(vlRemoveNth, {whole(0), other})));
        EXPECT_TRUE(isNil(call(vlRemoveIf, {predicate, other})));
    }
}

TEST(ExtendedLists, NotFoundIsAnEmptyListAndNotNil) {
    const test::BareLisp lisp;
    const Cell list = Cell::list({whole(1), whole(2)});
    for (const Cell& result :
         {call(member, {whole(9), list}), call(member, {whole(9), Cell::list({})}),
          call(reverse, {Cell::list({})}), call(vlRemove, {whole(1), Cell::list({whole(1)})})}) {
        EXPECT_TRUE(result.is(CellType::List));
        EXPECT_TRUE(result.items().empty());
        EXPECT_FALSE(IsFalse(result));
    }
}

TEST(ExtendedLists, RemoveNthOutsideTheListChangesNothing) {
    const Cell list = Cell::list({whole(1), whole(2), whole(3)});
    for (const std::int32_t index : {-2147483647 - 1, -1, 3, 2147483647})
        EXPECT_EQ(numbers(call(vlRemoveNth, {whole(index), list})), (Numbers{1, 2, 3})) << index;
    EXPECT_EQ(numbers(call(vlRemoveNth, {whole(0), list})), (Numbers{2, 3}));
    EXPECT_EQ(numbers(call(vlRemoveNth, {whole(1), list})), (Numbers{1, 3}));
    EXPECT_EQ(numbers(call(vlRemoveNth, {whole(2), list})), (Numbers{1, 2}));
    EXPECT_EQ(numbers(list), (Numbers{1, 2, 3}));
}

// The same answers whether EQ is the built-in, which is called at once, or a program's function
// that does the same through the evaluator.
TEST(ExtendedLists, ComparingThroughTheEvaluatorGivesTheSameAnswers) {
    const std::vector<const char*> expressions{
        "(member 2 '(1 2 3))",        "(member 9 '(1 2 3))",       "(member \"x\" '(1 0 2))",
        "(member 0 '(\"x\" \"\" 1))", "(member '() '(5 0 6))",     "(member 1 '())",
        "(vl-remove 2 '(1 2 3 2))",   "(vl-remove 2.0 '(1 2))",    "(vl-remove \"x\" '(0 1 \"x\"))",
        "(vl-remove 5 '(() 5 6))",    "(vl-remove '(1) '((1) 1))", "(vl-remove 'a '(a b \"A\"))"};
    test::BareLisp lisp;
    std::vector<std::string> direct;
    for (const char* expression : expressions) direct.push_back(lisp.eval(expression));
    EXPECT_EQ(lisp.eval("(defun eq (element value) (equal element value))"), "EQ");
    for (std::size_t i = 0; i < expressions.size(); ++i)
        EXPECT_EQ(lisp.eval(expressions[i]), direct[i]) << expressions[i];
}

TEST(ExtendedLists, OperandsOfTheComparisonAreTheElementAndThenTheValue) {
    test::BareLisp lisp;
    lisp.eval("(setq log '())");
    lisp.eval("(defun eq (a b) (setq log (append log (list (list a b)))) (= 1 2))");
    EXPECT_EQ(lisp.eval("(member 9 '(1 2))"), "()");
    EXPECT_EQ(lisp.eval("log"), "((1 9) (2 9))");
    lisp.eval("(setq log '())");
    EXPECT_EQ(lisp.eval("(vl-remove \"v\" '(a (b)))"), "(A (B))");
    EXPECT_EQ(lisp.eval("log"), "((A \"v\") ((B) \"v\"))");
}

// The values reach the comparison bound to names, so lists and symbols among them are not
// evaluated a second time.
TEST(ExtendedLists, ComparedValuesAreNotEvaluatedAgain) {
    test::BareLisp lisp;
    lisp.eval("(defun eq (a b) (equal a b))");
    EXPECT_EQ(lisp.eval("(member '(zzz) '(1 (zzz) 2))"), "((ZZZ) 2)");
    EXPECT_EQ(lisp.eval("(vl-remove 'zzz '(zzz 1))"), "(1)");
}

TEST(ExtendedLists, ThePredicateIsEvaluatedOnceAnElementInOrder) {
    test::BareLisp lisp;
    lisp.eval("(setq log '())");
    EXPECT_EQ(lisp.eval("(vl-remove-if '(lambda (x) (setq log (cons x log))) '(1 2 3))"), "()");
    EXPECT_EQ(lisp.eval("log"), "(3 2 1)");
    // Locals of the predicate go with its scope.
    EXPECT_EQ(lisp.eval("(vl-remove-if '(lambda (x) (define y x)) '(1))"), "()");
    EXPECT_EQ(lisp.eval("y"), ";error; undefined symbol 'Y'\n");
    EXPECT_EQ(lisp.eval("x"), ";error; undefined symbol 'X'\n");
}

TEST(ExtendedLists, ErrorsOfAPredicateDoNotReachTheCaller) {
    test::BareLisp lisp;
    EXPECT_EQ(lisp.eval("(list (vl-remove-if '(lambda (x) zzz) '(1 2)) 5)"), "((1 2) 5)");
    EXPECT_EQ(lisp.eval("(list (vl-remove-if '(lambda (x) ('(1) x)) '(1 2)) 5)"), "((1 2) 5)");
    EXPECT_EQ(lisp.eval("(list (vl-remove-if '(lambda (x) (begin zzz (setq q 1))) '(1 2)) q)"),
              "(() 1)");
}

TEST(ExtendedLists, CallsBackIntoTheEvaluatorMayNest) {
    test::BareLisp lisp;
    EXPECT_EQ(lisp.eval("(vl-remove-if '(lambda (row) (member 2 row)) '((1) (2 3) (4)))"), "()");
    EXPECT_EQ(lisp.eval("(vl-remove-if '(lambda (row) (car (member 2 row))) '((1) (2 3) (4)))"),
              "((1) (4))");
    EXPECT_EQ(lisp.eval("(vl-remove-if '(lambda (row) (equal 0 (length (vl-remove-if '(lambda (x) "
                        "(> x 2)) row)))) '((1) (5 6) (7 2)))"),
              "((1) (7 2))");
}

// Rebinding the list or the predicate while it is being walked must not matter.
TEST(ExtendedLists, WhatIsWalkedSurvivesItsOwnReplacement) {
    test::BareLisp lisp;
    lisp.eval("(setq l '(1 2 3 4))");
    lisp.eval("(defun p (x) (setq l 0) (setq p 0) (> x 2))");
    EXPECT_EQ(lisp.eval("(vl-remove-if p l)"), "(1 2)");
    EXPECT_EQ(lisp.eval("l"), "0");
    EXPECT_EQ(lisp.eval("p"), "0");
    lisp.eval("(setq l '(1 2 3 4))");
    lisp.eval("(defun eq (a b) (setq l 0) (= a b))");
    EXPECT_EQ(lisp.eval("(member 3 l)"), "(3 4)");
    EXPECT_EQ(lisp.eval("l"), "0");
}

TEST(ExtendedLists, TheyStopWhenTheEvaluationIsInterrupted) {
    test::BareLisp lisp;
    const Cell list = Cell::list({whole(1), whole(2), whole(3)});
    const Cell predicate = lisp.value("'(lambda (x) (> x 2))");
    interruption::request(interruption::Reason::cancelled);
    EXPECT_TRUE(call(member, {whole(2), list}).items().empty());
    EXPECT_TRUE(call(vlRemove, {whole(9), list}).items().empty());
    EXPECT_TRUE(call(vlRemoveIf, {predicate, list}).items().empty());
    EXPECT_EQ(interruption::take(), interruption::Reason::cancelled);
    EXPECT_EQ(numbers(call(vlRemove, {whole(9), list})), (Numbers{1, 2, 3}));
}

}  // namespace
}  // namespace vlisp
