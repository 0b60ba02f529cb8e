// Tests of core/machine.h: what is the machine's own, its stack above all. What code does is tested
// in evaluator_test.cpp.
#include "core/machine.h"

#include "core/evaluator.h"
#include "core/interruption.h"
#include "core/printer.h"
#include "core/reader.h"
#include "core/session.h"
#include "core/translator.h"
#include "platform/system.h"
#include "platform/text.h"
#include "tests/core/silent_host.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp {
namespace {

std::int32_t remaining = 0;

// T as often as the test has asked for.
Cell more(Arguments) { return --remaining >= 0 ? TrueCell : NilCell; }
Cell successor(Arguments arguments) { return Cell::integer(arguments[0].intValue() + 1); }

// Enough for a thread, and far too little for calls by the thousand. The thread sanitizer keeps most
// of a megabyte there for itself.
#if defined(__SANITIZE_THREAD__)
constexpr std::size_t smallStack = std::size_t{2} << 20;
#else
constexpr std::size_t smallStack = std::size_t{1} << 20;
#endif
constexpr std::int32_t aMillion =
    static_cast<std::int32_t>(std::min<std::size_t>(1'000'000, platform::evaluationStack / 512));

// The budget starts at half of the memory that the machine has at the moment, which may be little.
class MachineOfProgram : public ::testing::Test {
  protected:
    MachineOfProgram() {
        heap::setLimit(std::size_t{8} << 30);
        session.StartInterpreter(1);
    }
    ~MachineOfProgram() override { heap::setLimit(limitBefore); }

    std::u16string eval(std::u16string text) {
        session.EvalString(text);
        return text;
    }
    std::u16string evalOnSmallStack(const std::u16string& text) {
        std::u16string answer;
        platform::Worker worker(smallStack, [&] { answer = eval(text); });
        worker.join();
        return answer;
    }

    std::size_t limitBefore = heap::limit();
    SilentHost port;
    InterpreterSession session{{port,
                                [](Environment& global) {
                                    global.Bind(intern(u"T"), TrueCell);
                                    global.Bind(intern(u"MORE"), Cell::builtin(more));
                                    global.Bind(intern(u"SUCCESSOR"), Cell::builtin(successor));
                                },
                                u"0"}};
};

std::u16string inDecimal(std::int32_t number) {
    std::u16string text;
    printInteger(text, number);
    return text;
}

TEST_F(MachineOfProgram, AMillionNestedCallsNeedNoStackOfTheThread) {
    eval(u"(defun down () (if (more) (successor (down)) 0))");
    remaining = 1;
    EXPECT_EQ(evalOnSmallStack(u"(down)"), u"1") << "its code stays";
    const std::size_t before = heap::used();
    remaining = aMillion;
    EXPECT_EQ(evalOnSmallStack(u"(down)"), inDecimal(aMillion));
    EXPECT_EQ(heap::used(), before) << "what the calls took is given back";
}

TEST_F(MachineOfProgram, NeitherDoCallsThatKeepTheirNamesInScopes) {
    eval(u"(defun down (a / b) (setq b (lambda (x) a)) (if (more) (successor (down b)) 0))");
    const std::int32_t many = aMillion / 4;
    remaining = many;
    EXPECT_EQ(evalOnSmallStack(u"(down 1)"), inDecimal(many));
}

TEST_F(MachineOfProgram, NeitherDoCallsOfSeveralArgumentsOrOthersThanParameters) {
    const char16_t* const programs[] = {
        u"(defun down (a b c) (if (more) (successor (down 1 2 3)) 0))",
        u"(defun down (a b c) (if (more) (successor (down)) 0))",
        u"(defun down () (if (more) (successor (down 1 2 3)) 0))",
        u"(defun down (a / x y) (if (more) (successor ((if T down) '(1))) 0))",
    };
    for (const char16_t* program : programs) {
        eval(program);
        const std::int32_t many = aMillion / 4;
        remaining = many;
        EXPECT_EQ(evalOnSmallStack(u"(down 1)"), inDecimal(many)) << platform::toUtf8(program);
    }
}

TEST_F(MachineOfProgram, RunawayRecursionEndsInAnErrorText) {
    eval(u"(defun f (x) (successor (f x)))");
    EXPECT_EQ(evalOnSmallStack(u"(f 1)"), messages::tooDeep);
    const std::size_t before = heap::used();
    EXPECT_EQ(evalOnSmallStack(u"(f 1)"), messages::tooDeep);
    EXPECT_EQ(heap::used(), before) << "all registers are empty again";
    EXPECT_FALSE(interruption::pending());
    remaining = 1000;
    eval(u"(defun down () (if (more) (successor (down)) 0))");
    EXPECT_EQ(evalOnSmallStack(u"(down)"), u"1000");
}

TEST_F(MachineOfProgram, WhatRegistersHeldIsLetGoWhenItIsGivenUp) {
    eval(u"(defun f (x l / s) (setq s \"text\") (more x '(1 2) (lambda () s) (f l x)))");
    const std::size_t before = heap::used();
    EXPECT_EQ(evalOnSmallStack(u"(f '(a b) \"c\")"), messages::tooDeep);
    // What closures and scopes hold of one another is the collector's.
    EXPECT_LT(heap::used(), before + (std::size_t{64} << 20));
}

// --- The trace ---

std::vector<std::string> traced;
void remember(std::u16string_view line) { traced.push_back(platform::toUtf8(line)); }

TEST_F(MachineOfProgram, ATraceTellsEachInstructionBeforeItIsCarriedOut) {
    eval(u"(defun f (x) x)");
    traced.clear();
    Machine::trace(remember);
    eval(u"(setq a (f 7))");
    Machine::trace(nullptr);
    ASSERT_EQ(traced.size(), 6U);
    const char* const begins[] = {"loadConstant r0 7", "callGlobal r0 1 F", "loadLocal r1 r0",
                                  "leave r1",          "setGlobal r0 A",    "leave r0"};
    for (std::size_t i = 0; i < traced.size(); ++i)
        EXPECT_TRUE(traced[i].starts_with(std::string(begins[i]) + " ")) << traced[i];
    EXPECT_NE(traced[2].find("b=7"), std::string::npos) << traced[2];
    EXPECT_NE(traced[4].find("a=7"), std::string::npos) << traced[4];
    eval(u"(setq a 8)");
    EXPECT_EQ(traced.size(), 6U) << "no more";
}

// --- Machines as such ---

TEST_F(MachineOfProgram, RunsCodeWithArguments) {
    const Cell form = Parse(u"(lambda (a b) (begin (define c 1) (successor b)))");
    const Ref<Code> code = translateFunction(form.items()[1].items(), form.items()[2], {});
    ErrorBuffer error;
    const ErrorInForce inForce(error);
    const MachineLease machine;
    const Cell arguments[] = {Cell::integer(5), Cell::integer(6)};
    EXPECT_EQ(machine->run(*code, GlobalEnvironment(), arguments, error).intValue(), 7);
    EXPECT_EQ(machine->run(*code, GlobalEnvironment(), arguments, error).intValue(), 7);
    EXPECT_TRUE(error.empty());
}

TEST_F(MachineOfProgram, ManyArgumentsForFewParameters) {
    const Cell form = Parse(u"(lambda (a) a)");
    const Ref<Code> code = translateFunction(form.items()[1].items(), form.items()[2], {});
    ErrorBuffer error;
    const ErrorInForce inForce(error);
    const MachineLease machine;
    const std::vector<Cell> arguments(5000, Cell::string(u"text"));
    const std::size_t before = heap::used();
    EXPECT_EQ(PrintCell(machine->run(*code, GlobalEnvironment(), arguments, error)), u"\"text\"");
    EXPECT_EQ(arguments[4999].text(), u"text");
    EXPECT_LE(heap::used(), before + 5000 * sizeof(Cell) * 2) << "a segment for them at most";
}

TEST_F(MachineOfProgram, ShapesTellWhatIsAroundAScope) {
    Environment& global = GlobalEnvironment();
    EXPECT_FALSE(shapeAround(global));
    const Ref<ScopeShape> shape = ScopeShape::make({});
    const Ref<Environment> slots = Environment::make(*shape, &global);
    EXPECT_EQ(shapeAround(*slots), shape);
    const Ref<Environment> plain = Environment::make(slots.get());
    const Ref<ScopeShape> open = shapeAround(*plain);
    ASSERT_TRUE(open);
    EXPECT_TRUE(open->open);
    EXPECT_EQ(open->outer(), shape.get());
}

}  // namespace
}  // namespace vlisp
