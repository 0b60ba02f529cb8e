// Tests of the evaluator together with the built-ins.
#include "core/evaluator.h"

#include "tests/support/bare_lisp.h"

#include <gtest/gtest.h>

namespace vlisp {
namespace {

struct Row {
    const char* text;
    const char* outcome;
};

// Evaluates the rows in order in one session.
void expectAll(std::initializer_list<Row> rows) {
    test::BareLisp lisp;
    for (const Row& row : rows) EXPECT_EQ(lisp.eval(row.text), row.outcome) << row.text;
}

TEST(EvaluatorWithBuiltins, ExamplesOfTheSpecialFormsPrintWhatTheySay) {
    ASSERT_EQ(specialForms().size(), 13U);
    for (const SpecialFormHelp& help : specialForms()) {
        test::BareLisp lisp;
        EXPECT_EQ(lisp.eval(help.example), help.result) << help.example;
    }
}

TEST(EvaluatorWithBuiltins, LoopsCount) {
    expectAll({
        {"(setq n 0 i 0)", "0"},
        {"(repeat 3 (setq n (+ n 1)))", "3"},
        {"(repeat 2.0 (setq n (+ n 1)))", "nil"},
        {"n", "3"},
        {"(while (< i 3) (setq i (+ i 1)))", "nil"},
        {"i", "3"},
    });
}

TEST(EvaluatorWithBuiltins, FunctionsRecur) {
    expectAll({
        {"(defun fact (n) (if (< n 2) 1 (* n (fact (- n 1)))))", "FACT"},
        {"(fact 10)", "3628800"},
        {"(defun rev (l / out) (setq out '()) (while (car l) (setq out (cons (car l) out)) "
         "(setq l (cdr l))) out)",
         "REV"},
        {"(rev '(1 2 3))", "(3 2 1)"},
        {"l", ";error; undefined symbol 'L'\n"},
    });
}

TEST(EvaluatorWithBuiltins, ABuiltinIsAValue) {
    expectAll({
        {"car", "<Proc>"},
        {"(setq first car)", "<Proc>"},
        {"(first '(7 8))", "7"},
        {"((if T cdr car) '(7 8))", "(8)"},
        {"((lambda (f) (f 2 3)) *)", "6"},
        {"(setq car 5)", "5"},
        {"(car '(7 8))", "5"},
    });
}

TEST(EvaluatorWithBuiltins, ABuiltinIsCalledAlsoWhenAnArgumentFailed) {
    expectAll({
        {"(list 1 zzz 2)", ";error; undefined symbol 'ZZZ'\n"},
        {"(setq a (list 1 zzz 2))", "(1 nil 2)"},
        {"(setq a (list zzz car))", "(nil nil)"},
    });
}

TEST(EvaluatorWithBuiltins, ValuesAreIndependentCopies) {
    expectAll({
        {"(setq a '(1 2))", "(1 2)"},
        {"(setq b (append a '(3)) c (append a '(4)))", "(1 2 4)"},
        {"b", "(1 2 3)"},
        {"a", "(1 2)"},
        {"(setq d (cdr b) b (append b '(5)))", "(1 2 3 5)"},
        {"d", "(2 3)"},
        {"(cons 0 d)", "(0 2 3)"},
        {"(cons 9 d)", "(9 2 3)"},
    });
}

TEST(EvaluatorWithBuiltins, ACommandIsRegisteredAndEvaluatesByItsExpression) {
    test::BareLisp lisp;
    EXPECT_EQ(lisp.eval("(defun c:hello () (strcat \"h\" \"i\"))"), "HELLO");
    EXPECT_EQ(lisp.port.log, (std::vector<std::string>{"command HELLO (HELLO)"}));
    EXPECT_EQ(lisp.eval("(HELLO)"), "\"hi\"");
}

// What the inner call learns of the errors in it brings new constants to the code of both.
TEST(EvaluatorWithBuiltins, AFunctionIsCalledWhileItRuns) {
    std::string constants;
    for (int i = 0; i < 60; ++i) constants += "(setq r (list \"alpha\" \"beta\"))";
    test::BareLisp lisp;
    lisp.eval("(defun f (n) (if (= n 0) (list zzz 1 2 (list 3 zzz))"
              " (vl-remove-if '(lambda (x) (f 0)) '(1))) " +
              constants + " (list r \"omega\"))");
    EXPECT_EQ(lisp.eval("(f 1)"), "((\"alpha\" \"beta\") \"omega\")");
}

}  // namespace
}  // namespace vlisp
