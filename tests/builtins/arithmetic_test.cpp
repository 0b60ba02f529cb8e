// Tests of builtins/arithmetic.h.
#include "builtins/arithmetic.h"

#include "tests/support/bare_lisp.h"
#include "tests/support/cells.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace vlisp {
namespace {

using test::call;
using test::greatest;
using test::isInteger;
using test::isNil;
using test::isReal;
using test::isTrue;
using test::least;
using test::nonNumbers;
using test::real;
using test::whole;

constexpr double infinity = std::numeric_limits<double>::infinity();
const double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(Arithmetic, GivesAnIntegerUnlessAnArgumentIsAReal) {
    EXPECT_TRUE(isInteger(call(plus, {whole(1), whole(2)}), 3));
    EXPECT_TRUE(isReal(call(plus, {whole(1), real(2)}), 3));
    EXPECT_TRUE(isReal(call(plus, {real(1.5), real(-1.5)}), 0));
    EXPECT_TRUE(isReal(call(plus, {whole(1), whole(2), real(0)}), 3));
    EXPECT_TRUE(isReal(call(minus, {real(3), whole(1)}), 2));
    EXPECT_TRUE(isReal(call(times, {whole(2), real(2.5)}), 5));
    EXPECT_TRUE(isReal(call(times, {real(2.5), whole(2)}), 5));
    EXPECT_TRUE(isReal(call(divide, {whole(7), real(2)}), 3.5));
}

TEST(Arithmetic, ASingleArgumentIsItsOwnResult) {
    EXPECT_TRUE(isInteger(call(plus, {whole(5)}), 5));
    EXPECT_TRUE(isInteger(call(minus, {whole(5)}), 5));
    EXPECT_TRUE(isInteger(call(times, {whole(5)}), 5));
    EXPECT_TRUE(isInteger(call(divide, {whole(4)}), 4));
    EXPECT_TRUE(isReal(call(minus, {real(5.5)}), 5.5));
    EXPECT_TRUE(isReal(call(divide, {real(4)}), 4));
    EXPECT_TRUE(isInteger(call(minus, {whole(least)}), least));
}

TEST(Arithmetic, WithoutArguments) {
    for (const BuiltinProc proc : {plus, minus, divide, greater, less, lessOrEqual})
        EXPECT_TRUE(isNil(proc({})));
    EXPECT_TRUE(isInteger(times({}), 1));
    EXPECT_TRUE(isInteger(logand({}), 0));
    EXPECT_TRUE(isInteger(logior({}), 0));
    EXPECT_TRUE(isNil(complement({})));
}

TEST(Arithmetic, TruncatesTowardZeroOnceAtTheEnd) {
    EXPECT_TRUE(isInteger(call(divide, {whole(7), whole(2)}), 3));
    EXPECT_TRUE(isInteger(call(divide, {whole(-7), whole(2)}), -3));
    EXPECT_TRUE(isInteger(call(divide, {whole(7), whole(-2)}), -3));
    EXPECT_TRUE(isInteger(call(divide, {whole(1), whole(2)}), 0));
    EXPECT_TRUE(isInteger(call(divide, {whole(-1), whole(2)}), 0));
    EXPECT_TRUE(isReal(call(divide, {whole(1), whole(2), real(0.25)}), 2));
    EXPECT_TRUE(isReal(call(divide, {whole(7), whole(2), real(1)}), 3.5));
}

TEST(Arithmetic, WhatDoesNotFitIsTheLeastInteger) {
    EXPECT_TRUE(isInteger(call(plus, {whole(greatest), whole(1)}), least));
    EXPECT_TRUE(isInteger(call(plus, {whole(greatest), whole(greatest)}), least));
    EXPECT_TRUE(isInteger(call(plus, {whole(least), whole(-1)}), least));
    EXPECT_TRUE(isInteger(call(plus, {whole(least), whole(least)}), least));
    EXPECT_TRUE(isInteger(call(minus, {whole(least), whole(1)}), least));
    EXPECT_TRUE(isInteger(call(minus, {whole(0), whole(least)}), least));
    EXPECT_TRUE(isInteger(call(times, {whole(65536), whole(65536)}), least));
    EXPECT_TRUE(isInteger(call(times, {whole(65536), whole(-65536)}), least));
    EXPECT_TRUE(isInteger(call(divide, {whole(least), whole(-1)}), least));
    // At the limits everything still fits ...
    EXPECT_TRUE(isInteger(call(plus, {whole(greatest - 1), whole(1)}), greatest));
    EXPECT_TRUE(isInteger(call(plus, {whole(least + 1), whole(-1)}), least));
    EXPECT_TRUE(isInteger(call(times, {whole(-65536), whole(32768)}), least));
    // ... and what lies beyond in between does not matter.
    EXPECT_TRUE(isInteger(call(plus, {whole(greatest), whole(1), whole(-1)}), greatest));
    EXPECT_TRUE(isInteger(call(times, {whole(greatest), whole(greatest), whole(0)}), 0));
}

TEST(Arithmetic, AnIntegerDivisionByZeroIsTheLeastInteger) {
    EXPECT_TRUE(isInteger(call(divide, {whole(1), whole(0)}), least));
    EXPECT_TRUE(isInteger(call(divide, {whole(-1), whole(0)}), least));
    EXPECT_TRUE(isInteger(call(divide, {whole(0), whole(0)}), least));
    EXPECT_TRUE(isInteger(call(divide, {whole(1), Cell::string(u"2")}), least));
}

TEST(Arithmetic, ARealDivisionByZeroIsInfiniteOrNotANumber) {
    EXPECT_TRUE(isReal(call(divide, {real(1), whole(0)}), infinity));
    EXPECT_TRUE(isReal(call(divide, {real(-1), whole(0)}), -infinity));
    EXPECT_TRUE(isReal(call(divide, {whole(1), real(0)}), infinity));
    EXPECT_TRUE(isReal(call(divide, {whole(1), real(-0.0)}), -infinity));
    EXPECT_TRUE(isReal(call(divide, {whole(1), whole(0), real(2)}), infinity));
    const Cell zeros = call(divide, {real(0), whole(0)});
    ASSERT_TRUE(zeros.is(CellType::Real));
    EXPECT_TRUE(std::isnan(zeros.realValue()));
    EXPECT_TRUE(std::isnan(call(minus, {real(infinity), real(infinity)}).realValue()));
}

TEST(Arithmetic, KeepsThePrecisionOfDoubles) {
    EXPECT_TRUE(isReal(call(plus, {real(0.1), real(0.2)}), 0.1 + 0.2));
    EXPECT_TRUE(isReal(call(plus, {whole(greatest), real(0.5)}), 2147483647.5));
    EXPECT_TRUE(isReal(call(times, {real(1e200), real(1e200)}), infinity));
}

TEST(Arithmetic, WhatIsNoNumberCountsAsZeroAndMakesNoReal) {
    for (const Cell& other : nonNumbers()) {
        SCOPED_TRACE(dumpCell(other));
        EXPECT_TRUE(isInteger(call(plus, {other, whole(2)}), 2));
        EXPECT_TRUE(isInteger(call(plus, {whole(2), other}), 2));
        EXPECT_TRUE(isInteger(call(minus, {whole(2), other}), 2));
        EXPECT_TRUE(isInteger(call(minus, {other, whole(2)}), -2));
        EXPECT_TRUE(isInteger(call(times, {other, whole(2)}), 0));
        EXPECT_TRUE(isInteger(call(divide, {other, whole(2)}), 0));
        EXPECT_TRUE(isInteger(call(divide, {whole(2), other}), least));
        for (const BuiltinProc proc : {plus, minus, times, divide})
            EXPECT_TRUE(isInteger(call(proc, {other}), 0));
        EXPECT_TRUE(isTrue(call(greater, {whole(1), other})));
        EXPECT_TRUE(isNil(call(greater, {other, whole(0)})));
        EXPECT_TRUE(isTrue(call(less, {other, whole(1)})));
        EXPECT_TRUE(isNil(call(less, {whole(0), other})));
        EXPECT_TRUE(isTrue(call(lessOrEqual, {other, whole(0)})));
        EXPECT_TRUE(isNil(call(lessOrEqual, {whole(1), other})));
    }
}

TEST(Comparison, ComparesEveryLaterArgumentWithTheFirstAlone) {
    EXPECT_TRUE(isTrue(call(greater, {whole(5), whole(1), whole(3)})));
    EXPECT_TRUE(isNil(call(greater, {whole(5), whole(1), whole(5)})));
    EXPECT_TRUE(isTrue(call(less, {whole(1), whole(3), whole(2)})));
    EXPECT_TRUE(isNil(call(less, {whole(1), whole(3), whole(1)})));
    EXPECT_TRUE(isTrue(call(lessOrEqual, {whole(2), whole(3), whole(2)})));
    EXPECT_TRUE(isNil(call(lessOrEqual, {whole(2), whole(3), whole(1)})));
}

TEST(Comparison, OfOneArgumentIsAlwaysTrue) {
    std::vector<Cell> values = nonNumbers();
    values.push_back(whole(least));
    values.push_back(real(notANumber));
    for (const Cell& value : values)
        for (const BuiltinProc proc : {greater, less, lessOrEqual})
            EXPECT_TRUE(isTrue(call(proc, {value}))) << dumpCell(value);
}

TEST(Comparison, ComparesByValueAfterConversion) {
    EXPECT_TRUE(isTrue(call(less, {whole(1), real(1.5)})));
    EXPECT_TRUE(isTrue(call(greater, {real(1.5), whole(1)})));
    EXPECT_TRUE(isTrue(call(lessOrEqual, {whole(2), real(2)})));
    EXPECT_TRUE(isNil(call(less, {whole(2), real(2)})));
    EXPECT_TRUE(isNil(call(greater, {real(2), whole(2)})));
    EXPECT_TRUE(isTrue(call(less, {whole(least), whole(greatest)})));
    EXPECT_TRUE(isTrue(call(less, {real(-infinity), whole(least)})));
    EXPECT_TRUE(isTrue(call(greater, {real(infinity), whole(greatest)})));
    EXPECT_TRUE(isNil(call(less, {real(-0.0), whole(0)})));
    EXPECT_TRUE(isTrue(call(lessOrEqual, {whole(0), real(-0.0)})));
}

// The tests ask whether an argument fails, and beside not-a-number nothing does.
TEST(Comparison, NotANumberNeverFails) {
    for (const BuiltinProc proc : {greater, less, lessOrEqual}) {
        EXPECT_TRUE(isTrue(call(proc, {real(notANumber), whole(1)})));
        EXPECT_TRUE(isTrue(call(proc, {whole(1), real(notANumber)})));
        EXPECT_TRUE(isTrue(call(proc, {real(notANumber), real(notANumber)})));
    }
    EXPECT_TRUE(isNil(call(greater, {whole(1), real(notANumber), whole(2)})));
}

TEST(Bits, AreThoseOfThirtyTwo) {
    EXPECT_TRUE(isInteger(call(logand, {whole(12), whole(10)}), 8));
    EXPECT_TRUE(isInteger(call(logand, {whole(-1), whole(least)}), least));
    EXPECT_TRUE(isInteger(call(logand, {whole(7)}), 7));
    EXPECT_TRUE(isInteger(call(logior, {whole(1), whole(2), whole(4)}), 7));
    EXPECT_TRUE(isInteger(call(logior, {whole(least), whole(greatest)}), -1));
    EXPECT_TRUE(isInteger(call(logior, {whole(-8)}), -8));
    EXPECT_TRUE(isInteger(call(complement, {whole(0)}), -1));
    EXPECT_TRUE(isInteger(call(complement, {whole(5)}), -6));
    EXPECT_TRUE(isInteger(call(complement, {whole(greatest)}), least));
    EXPECT_TRUE(isInteger(call(complement, {whole(least)}), greatest));
    EXPECT_TRUE(isInteger(call(complement, {whole(5), Cell::string(u"x")}), -6));
}

TEST(Bits, WantIntegersAndGiveNothingPartialBack) {
    std::vector<Cell> others = nonNumbers();
    others.push_back(real(1));
    for (const Cell& other : others) {
        SCOPED_TRACE(dumpCell(other));
        EXPECT_TRUE(isNil(call(complement, {other})));
        EXPECT_TRUE(isNil(call(complement, {other, whole(1)})));
        for (const BuiltinProc proc : {logand, logior}) {
            EXPECT_TRUE(isNil(call(proc, {other})));
            EXPECT_TRUE(isNil(call(proc, {other, whole(1)})));
            EXPECT_TRUE(isNil(call(proc, {whole(1), other})));
            EXPECT_TRUE(isNil(call(proc, {whole(0), whole(1), other, whole(2)})));
        }
    }
}

// A local that DEFUN made is an integer with a text of its own; only its number counts.
TEST(Arithmetic, ReadsTheNumberAndNeverTheTextOfAnInteger) {
    const Cell local = Cell::integer(3, intern(u"0"));
    EXPECT_TRUE(isInteger(call(plus, {local, whole(1)}), 4));
    EXPECT_TRUE(isInteger(call(logior, {local, whole(4)}), 7));
    test::BareLisp lisp;
    EXPECT_EQ(lisp.eval("((lambda (f) (f)) (defun g (/ n) (setq n (+ n 1)) n))"), "1");
}

}  // namespace
}  // namespace vlisp
