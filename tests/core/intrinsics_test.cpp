// Tests of core/intrinsics.h, with built-ins of their own.
#include "core/intrinsics.h"

#include "core/environment.h"
#include "core/evaluator.h"
#include "core/printer.h"
#include "core/reader.h"
#include "core/session.h"
#include "tests/core/silent_host.h"

#include <gtest/gtest.h>
#include <string>

namespace vlisp {
namespace {

Cell answerSine(Arguments) { return Cell::integer(1); }
Cell answerCosine(Arguments) { return Cell::integer(2); }
Cell answerOther(Arguments) { return Cell::integer(3); }

constexpr std::u16string_view sineName = u"SINE-OF-TESTS";
constexpr std::u16string_view cosineName = u"COSINE-OF-TESTS";

constexpr std::uint64_t bitOf(Intrinsic intrinsic) {
    return intrinsics::minded(intrinsic) & ~intrinsics::errorObstacle;
}

bool stands(Intrinsic intrinsic) { return (intrinsics::obstacles & bitOf(intrinsic)) != 0; }

void bindBoth(Environment& global) {
    intrinsics::declare(Intrinsic::sin, sineName, answerSine);
    intrinsics::declare(Intrinsic::cos, cosineName, answerCosine);
    global.Bind(intern(sineName), Cell::builtin(answerSine));
    global.Bind(intern(cosineName), Cell::builtin(answerCosine));
}

struct LispWithBoth {
    LispWithBoth() { session.StartInterpreter(1); }
    std::u16string eval(std::u16string text) {
        session.EvalString(text);
        return text;
    }
    SilentHost port;
    InterpreterSession session{{port, bindBoth, u"0"}};
};

TEST(Intrinsics, AnObstacleIsABitOfItsOwn) {
    EXPECT_EQ(intrinsics::minded(Intrinsic::none), intrinsics::errorObstacle)
        << "a guard that asks nothing minds errors alone";
    std::uint64_t seen = intrinsics::errorObstacle;
    for (int i = 1; i < static_cast<int>(Intrinsic::count); ++i) {
        const std::uint64_t bit = bitOf(static_cast<Intrinsic>(i));
        EXPECT_EQ(std::popcount(bit), 1) << i;
        EXPECT_EQ(seen & bit, 0U) << i;
        seen |= bit;
    }
    EXPECT_EQ(std::popcount(seen), static_cast<int>(Intrinsic::count));
}

TEST(Intrinsics, HaveNamesToShow) {
    EXPECT_STREQ(intrinsics::nameOf(Intrinsic::none), "none");
    EXPECT_STREQ(intrinsics::nameOf(Intrinsic::add), "add");
    EXPECT_STREQ(intrinsics::nameOf(Intrinsic::equalSign), "equalSign");
    EXPECT_STREQ(intrinsics::nameOf(Intrinsic::append), "append");
    EXPECT_STREQ(intrinsics::nameOf(Intrinsic::removeNth), "removeNth");
    EXPECT_STREQ(intrinsics::nameOf(Intrinsic::inters), "inters");
    EXPECT_STREQ(intrinsics::nameOf(static_cast<Intrinsic>(appendAndList)), "append, list");
}

TEST(Intrinsics, AreKnownByTheirNamesOnceDeclared) {
    intrinsics::declare(Intrinsic::sin, sineName, answerSine);
    EXPECT_EQ(intrinsics::procOf(Intrinsic::sin), answerSine);
    EXPECT_EQ(intern(sineName)->intrinsic, static_cast<std::uint8_t>(Intrinsic::sin));
    EXPECT_EQ(intern(u"NOT-DECLARED-IN-TESTS")->intrinsic, 0U);
}

TEST(Intrinsics, ANameThatIsNotBoundStandsInTheWay) {
    intrinsics::declare(Intrinsic::sin, sineName, answerSine);
    EXPECT_TRUE(stands(Intrinsic::sin));
    {
        const LispWithBoth lisp;
        EXPECT_FALSE(stands(Intrinsic::sin));
        EXPECT_FALSE(stands(Intrinsic::cos));
    }
    EXPECT_TRUE(stands(Intrinsic::sin)) << "the session's names went with it";
    EXPECT_TRUE(stands(Intrinsic::cos));
}

TEST(Intrinsics, AnotherBindingStandsInTheWayUntilTheBuiltinIsBack) {
    const LispWithBoth lisp;
    Environment& global = GlobalEnvironment();
    const Cell others[] = {Cell::integer(5), NilCell, Cell::builtin(answerOther),
                           Cell::builtin(answerCosine), Cell::list({NilCell})};
    for (const Cell& other : others) {
        global.Bind(intern(sineName), other);
        EXPECT_TRUE(stands(Intrinsic::sin)) << dumpCell(other);
        EXPECT_FALSE(stands(Intrinsic::cos)) << "another name is not concerned";
        global.Bind(intern(sineName), Cell::builtin(answerSine));
        EXPECT_FALSE(stands(Intrinsic::sin)) << dumpCell(other);
    }
}

TEST(Intrinsics, TheBuiltinUnderAnotherNameIsNothingToMind) {
    const LispWithBoth lisp;
    GlobalEnvironment().Bind(intern(cosineName), Cell::builtin(answerSine));
    EXPECT_TRUE(stands(Intrinsic::cos));
    EXPECT_FALSE(stands(Intrinsic::sin));
}

TEST(Intrinsics, ANameInAnInnerScopeIsNoObstacle) {
    const LispWithBoth lisp;
    const Ref<Environment> inner = Environment::make(&GlobalEnvironment());
    inner->Bind(intern(sineName), Cell::integer(5));
    EXPECT_FALSE(stands(Intrinsic::sin));
}

TEST(Intrinsics, ProgramsRebindAndRestoreThem) {
    LispWithBoth lisp;
    EXPECT_EQ(lisp.eval(u"(sine-of-tests)"), u"1");
    lisp.eval(u"(setq kept sine-of-tests)");
    EXPECT_FALSE(stands(Intrinsic::sin));
    lisp.eval(u"(setq sine-of-tests cosine-of-tests)");
    EXPECT_TRUE(stands(Intrinsic::sin));
    EXPECT_EQ(lisp.eval(u"(sine-of-tests)"), u"2");
    lisp.eval(u"(defun sine-of-tests () 7)");
    EXPECT_TRUE(stands(Intrinsic::sin));
    EXPECT_EQ(lisp.eval(u"(sine-of-tests)"), u"7");
    lisp.eval(u"(define sine-of-tests kept)");
    EXPECT_FALSE(stands(Intrinsic::sin));
    EXPECT_EQ(lisp.eval(u"(sine-of-tests)"), u"1");
}

// The same code runs before and after: it finds out by itself.
TEST(Intrinsics, AFunctionThatRunsFollowsWhatItRebinds) {
    LispWithBoth lisp;
    lisp.eval(u"(defun f (new) (sine-of-tests))");
    lisp.eval(u"(defun g (/ a b c) (setq a (f 1)) (setq sine-of-tests cosine-of-tests) "
              u"(setq b (f 1)) (setq sine-of-tests kept) (setq c (f 1)) (h a b c))");
    lisp.eval(u"(setq kept sine-of-tests)");
    lisp.eval(u"(defun h (a b c) (setq first a second b third c))");
    lisp.eval(u"(g)");
    EXPECT_EQ(lisp.eval(u"first"), u"1");
    EXPECT_EQ(lisp.eval(u"second"), u"2");
    EXPECT_EQ(lisp.eval(u"third"), u"1");
}

TEST(Intrinsics, SessionsComeOneAfterAnother) {
    for (int i = 0; i < 3; ++i) {
        LispWithBoth lisp;
        EXPECT_FALSE(stands(Intrinsic::sin)) << "whatever the session before has bound";
        EXPECT_EQ(lisp.eval(u"(sine-of-tests)"), u"1");
        lisp.eval(u"(setq sine-of-tests 5)");
        EXPECT_TRUE(stands(Intrinsic::sin));
    }
    EXPECT_TRUE(stands(Intrinsic::sin));
}

// --- The error's bit ---

std::uint64_t seenObstacles = 0;
Cell look(Arguments) {
    seenObstacles = intrinsics::obstacles;
    return TrueCell;
}

TEST(Intrinsics, AnErrorStandsInTheWayOfTheEvaluationItIsIn) {
    LispWithBoth lisp;
    GlobalEnvironment().Bind(intern(u"LOOK"), Cell::builtin(look));
    const auto errorStood = [] { return (seenObstacles & intrinsics::errorObstacle) != 0; };
    lisp.eval(u"(look)");
    EXPECT_FALSE(errorStood());
    lisp.eval(u"(look missing)");
    EXPECT_TRUE(errorStood());
    lisp.eval(u"(begin missing (setq a 1) (look))");
    EXPECT_FALSE(errorStood()) << "SETQ empties the buffer";
    lisp.eval(u"(look)");
    EXPECT_FALSE(errorStood()) << "an evaluation begins without";
    EXPECT_EQ(intrinsics::obstacles & intrinsics::errorObstacle, 0U);
}

Cell evaluateApart(Arguments) {
    ErrorBuffer own;
    Eval(Parse(u"(look)"), GlobalEnvironment(), own);
    return TrueCell;
}

TEST(Intrinsics, AnEvaluationWithinAnotherHasAnErrorOfItsOwn) {
    LispWithBoth lisp;
    GlobalEnvironment().Bind(intern(u"LOOK"), Cell::builtin(look));
    GlobalEnvironment().Bind(intern(u"APART"), Cell::builtin(evaluateApart));
    lisp.eval(u"(apart missing)");
    EXPECT_EQ(seenObstacles & intrinsics::errorObstacle, 0U);
    lisp.eval(u"(begin (apart missing) (look 1))");
    // While the error stands the name LOOK is nil: what was seen is still what APART saw.
    EXPECT_EQ(seenObstacles & intrinsics::errorObstacle, 0U);
    lisp.eval(u"(look (apart missing))");
    EXPECT_NE(seenObstacles & intrinsics::errorObstacle, 0U) << "it is back behind the inner one";
}

}  // namespace
}  // namespace vlisp
