// Tests of core/environment.h.
#include "core/environment.h"

#include "core/evaluator.h"
#include "core/printer.h"
#include "core/reader.h"

#include <gtest/gtest.h>
#include <string>

namespace vlisp {
namespace {

SymbolRef name(int number) {
    const std::string digits = std::to_string(number);
    return intern(u"N" + std::u16string(digits.begin(), digits.end()));
}

Cell* found(Environment& scope, std::u16string_view text) { return scope.find(intern(text).get()); }

TEST(Environment, BindsParametersToArgumentsByPosition) {
    const Cell parameters = Parse(u"(a b)");
    const Cell arguments = Parse(u"(1 2 3)");
    const Ref<Environment> scope =
        Environment::make(parameters.items(), arguments.items(), nullptr);
    EXPECT_EQ(found(*scope, u"A")->intValue(), 1);
    EXPECT_EQ(found(*scope, u"B")->intValue(), 2);
    EXPECT_EQ(scope->bindings().size(), 2U);
}

TEST(Environment, ANameGivenTwiceHasTheLaterArgument) {
    const Ref<Environment> scope =
        Environment::make(Parse(u"(a b a)").items(), Parse(u"(1 2 3)").items(), nullptr);
    EXPECT_EQ(found(*scope, u"A")->intValue(), 3);
    EXPECT_EQ(scope->bindings().size(), 2U);
}

TEST(Environment, AMissingArgumentIsNil) {
    const Ref<Environment> scope =
        Environment::make(Parse(u"(a b)").items(), Parse(u"(1)").items(), nullptr);
    EXPECT_EQ(found(*scope, u"B")->text(), u"nil");
}

TEST(Environment, TheTextOfAParameterIsItsNameWhateverItsType) {
    const Ref<Environment> scope =
        Environment::make(Parse(u"(\"low\" 5)").items(), Parse(u"(1 2)").items(), nullptr);
    EXPECT_EQ(found(*scope, u"low")->intValue(), 1);
    EXPECT_EQ(found(*scope, u"")->intValue(), 2);
}

TEST(Environment, BindReplacesInItsOwnScopeAlone) {
    const Ref<Environment> outer = Environment::make(nullptr);
    const Ref<Environment> inner = Environment::make(outer.get());
    outer->Bind(intern(u"A"), Cell::integer(1));
    inner->Bind(intern(u"A"), Cell::integer(2));
    inner->Bind(intern(u"A"), Cell::integer(3));
    EXPECT_EQ(found(*outer, u"A")->intValue(), 1);
    EXPECT_EQ(found(*inner, u"A")->intValue(), 3);
    EXPECT_EQ(inner->bindings().size(), 1U);
    EXPECT_EQ(found(*inner, u"a"), nullptr);
}

// A few names are scanned, many are indexed: both must answer alike, and across the change.
TEST(Environment, AnyNumberOfNamesIsFound) {
    for (const int count : {0, 1, 11, 12, 13, 14, 1000}) {
        const Ref<Environment> scope = Environment::make(nullptr);
        scope->Bind(SymbolRef(), Cell::integer(-1));
        for (int i = 0; i < count; ++i) scope->Bind(name(i), Cell::integer(i));
        for (int i = 0; i < count; i += 3) scope->Bind(name(i), Cell::integer(i + 5000));
        EXPECT_EQ(scope->bindings().size(), static_cast<std::size_t>(count) + 1);
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(scope->find(name(i).get())->intValue(), i % 3 == 0 ? i + 5000 : i);
        EXPECT_EQ(scope->find(nullptr)->intValue(), -1);
        EXPECT_EQ(scope->find(name(count).get()), nullptr);
        scope->clear();
        EXPECT_TRUE(scope->bindings().empty());
        EXPECT_EQ(scope->find(name(0).get()), nullptr);
        scope->Bind(name(0), TrueCell);
        EXPECT_NE(scope->find(name(0).get()), nullptr);
    }
}

TEST(FindScope, WalksOutward) {
    const Ref<Environment> global = Environment::make(nullptr);
    const Ref<Environment> middle = Environment::make(global.get());
    const Ref<Environment> inner = Environment::make(middle.get());
    global->Bind(intern(u"A"), Cell::integer(1));
    middle->Bind(intern(u"A"), Cell::integer(2));
    global->Bind(intern(u"B"), Cell::integer(3));
    ErrorBuffer error;
    Cell* value = nullptr;
    EXPECT_EQ(&FindScope(*inner, intern(u"A").get(), error, &value), middle.get());
    EXPECT_EQ(value->intValue(), 2);
    EXPECT_EQ(&FindScope(*inner, intern(u"B").get(), error), global.get());
    EXPECT_EQ(&FindScope(*global, intern(u"A").get(), error), global.get());
    EXPECT_TRUE(error.empty());
}

TEST(FindScope, ReportsAndReturnsTheOutermostScope) {
    const Ref<Environment> global = Environment::make(nullptr);
    const Ref<Environment> inner = Environment::make(global.get());
    ErrorBuffer error;
    error.report(u"what stood here, longer than what comes");
    Cell dummy;
    Cell* value = &dummy;
    EXPECT_EQ(&FindScope(*inner, intern(u"Q").get(), error, &value), global.get());
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(error.text(), u";error; undefined symbol 'Q'\n");
}

TEST(FindScope, AFoundNameLeavesTheBufferAlone) {
    const Ref<Environment> global = Environment::make(nullptr);
    global->Bind(intern(u"A"), TrueCell);
    ErrorBuffer error;
    error.report(u"earlier");
    FindScope(*global, intern(u"A").get(), error);
    EXPECT_EQ(error.text(), u"earlier");
}

class CallScope : public ::testing::Test {
  protected:
    CallScope() {
        global->Bind(intern(u"A"), Cell::integer(1));
        call->Bind(intern(u"A"), Cell::integer(2));
    }
    std::u16string evalIn(Environment& scope, std::u16string_view text) {
        return PrintCell(Eval(Parse(text), scope, error));
    }
    Ref<Environment> global = Environment::make(nullptr);
    Ref<Environment> call = Environment::make(global.get());
    ErrorBuffer error;
};

TEST_F(CallScope, SeesItsOwnBindingFirst) {
    EXPECT_EQ(evalIn(*call, u"a"), u"2");
    EXPECT_EQ(evalIn(*global, u"a"), u"1");
}

TEST_F(CallScope, SetqChangesTheInnermostBinding) {
    EXPECT_EQ(evalIn(*call, u"(setq a 5)"), u"5");
    EXPECT_EQ(evalIn(*call, u"a"), u"5");
    EXPECT_EQ(evalIn(*global, u"a"), u"1");
}

TEST_F(CallScope, SetqOfANewNameIsGlobalAndLeavesNoError) {
    evalIn(*call, u"(setq b 5)");
    EXPECT_TRUE(error.empty());
    EXPECT_EQ(found(*call, u"B"), nullptr);
    EXPECT_EQ(evalIn(*global, u"b"), u"5");
}

TEST_F(CallScope, DefineShadows) {
    evalIn(*call, u"(define b 7)");
    EXPECT_EQ(found(*global, u"B"), nullptr);
    EXPECT_EQ(found(*call, u"B")->intValue(), 7);
    evalIn(*call, u"(define a 8)");
    EXPECT_EQ(evalIn(*global, u"a"), u"1");
}

TEST_F(CallScope, AnErrorMakesBoundSymbolsNil) {
    EXPECT_EQ(evalIn(*call, u"q"), u"nil");
    EXPECT_EQ(error.text(), u";error; undefined symbol 'Q'\n");
    EXPECT_EQ(evalIn(*call, u"a"), u"nil");
    EXPECT_EQ(error.text(), u";error; undefined symbol 'Q'\n");
    EXPECT_EQ(evalIn(*call, u"r"), u"nil");
    EXPECT_EQ(error.text(), u";error; undefined symbol 'R'\n");
}

TEST_F(CallScope, DefinitionsDoNotTouchTheErrorBuffer) {
    error.report(u"earlier");
    evalIn(*call, u"(define b 7)");
    evalIn(*call, u"(defun f () 1)");
    EXPECT_EQ(error.text(), u"earlier");
    EXPECT_EQ(found(*call, u"B")->intValue(), 7);
    EXPECT_EQ(found(*call, u"F")->type(), CellType::Lambda);
}

TEST_F(CallScope, SetqOfNilIsQuiet) {
    EXPECT_EQ(evalIn(*call, u"(setq z nil)"), u"nil");
    EXPECT_TRUE(error.empty());
    ASSERT_NE(found(*global, u"Z"), nullptr);
    EXPECT_EQ(found(*global, u"Z")->type(), CellType::Symbol);
    EXPECT_EQ(found(*global, u"Z")->text(), u"nil");
}

TEST(Environment, LivesAsLongAsALambdaMadeInIt) {
    Cell lambda;
    {
        const Ref<Environment> scope = Environment::make(nullptr);
        scope->Bind(intern(u"A"), Cell::integer(4));
        lambda = Cell::lambda({}, scope.get(), {});
    }
    EXPECT_EQ(found(*lambda.env(), u"A")->intValue(), 4);
}

}  // namespace
}  // namespace vlisp
