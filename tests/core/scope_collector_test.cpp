// Tests of core/scope_collector.h.
#include "core/scope_collector.h"

#include "core/evaluator.h"
#include "core/printer.h"
#include "core/reader.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace vlisp {
namespace {

using scope_collector::collect;
using scope_collector::livingScopes;

std::size_t mostLiving = 0;

Cell watch(Arguments) {
    mostLiving = std::max(mostLiving, livingScopes());
    return NilCell;
}

class ScopeCollector : public ::testing::Test {
  protected:
    ScopeCollector() {
        collect();
        before = livingScopes();
        mostLiving = 0;
        global = Environment::make(nullptr);
        global->Bind(intern(u"WATCH"), Cell::builtin(watch));
    }
    ~ScopeCollector() override {
        if (global) global->clear();
        collect();
    }
    std::u16string eval(std::u16string_view text) {
        ErrorBuffer error;
        const std::u16string out = PrintCell(Eval(Parse(text), *global, error));
        return error.empty() ? out : std::u16string(error.text());
    }
    // A scope with a closure of its own in it: nothing but a cycle once it is let go of.
    static Ref<Environment> cycle(Environment* outer = nullptr) {
        Ref<Environment> scope = Environment::make(outer);
        scope->Bind(intern(u"SELF"), Cell::lambda({}, scope.get(), {}));
        return scope;
    }

    std::size_t before = 0;
    Ref<Environment> global;
};

TEST_F(ScopeCollector, AScopeWithoutCyclesDiesAlone) {
    { const Ref<Environment> scope = Environment::make(global.get()); }
    EXPECT_EQ(livingScopes(), before + 1);
}

TEST_F(ScopeCollector, FreesACycle) {
    cycle();
    EXPECT_EQ(livingScopes(), before + 2);
    EXPECT_EQ(collect(), 1U);
    EXPECT_EQ(livingScopes(), before + 1);
    EXPECT_EQ(collect(), 0U);
}

TEST_F(ScopeCollector, FreesACycleThroughListsAndOtherScopes) {
    {
        const Ref<Environment> outer = Environment::make(nullptr);
        const Ref<Environment> inner = Environment::make(outer.get());
        const Cell closure = Cell::lambda({}, inner.get(), {});
        outer->Bind(intern(u"L"), Cell::list({Cell::list({TrueCell, closure})}));
    }
    EXPECT_EQ(livingScopes(), before + 3);
    EXPECT_EQ(collect(), 2U);
    EXPECT_EQ(livingScopes(), before + 1);
}

TEST_F(ScopeCollector, KeepsWhatIsHeldFromOutside) {
    const Ref<Environment> held = cycle();
    held->Bind(intern(u"A"), Cell::integer(1));
    Cell list;
    {
        const Ref<Environment> reached = cycle(held.get());
        reached->Bind(intern(u"B"), Cell::integer(2));
        list = Cell::list({Cell::lambda({}, reached.get(), {})});
    }
    EXPECT_EQ(collect(), 0U);
    EXPECT_EQ(held->find(intern(u"A").get())->intValue(), 1);
    Environment* reached = list.items()[0].env();
    EXPECT_EQ(reached->find(intern(u"B").get())->intValue(), 2);
    list = NilCell;
    EXPECT_EQ(collect(), 1U);
}

TEST_F(ScopeCollector, KeepsWhatAGlobalClosureReaches) {
    EXPECT_EQ(eval(u"(begin (defun make (n) (defun helper () n) (lambda () (helper))) 1)"), u"1");
    EXPECT_EQ(eval(u"(setq keep (make 7))"), u"");
    EXPECT_EQ(collect(), 0U);
    EXPECT_EQ(eval(u"(keep)"), u"7");
    EXPECT_EQ(eval(u"(setq keep 1)"), u"1");
    EXPECT_EQ(collect(), 1U);
}

TEST_F(ScopeCollector, CallsThatDefineAHelperDoNotPileUp) {
    eval(u"(begin (defun make (n) (defun helper () n) (lambda () (helper))) (setq keep (make 7)))");
    eval(u"(defun f (n) (defun g () n) (watch) (g))");
    EXPECT_EQ(eval(u"(repeat 200000 (f 5))"), u"5");
    EXPECT_LT(mostLiving, before + 50'000);
    EXPECT_GT(mostLiving, before + 1'000);
    EXPECT_EQ(eval(u"(keep)"), u"7");
}

TEST_F(ScopeCollector, CollectsInTheMiddleOfDeepCalls) {
    eval(u"(defun f (n) (defun g () n) (g))");
    eval(u"(defun outer (n / h) (setq h (lambda () n)) (repeat 30000 (f 1)) (h))");
    EXPECT_EQ(eval(u"(outer 9)"), u"9");
    EXPECT_EQ(eval(u"((lambda (k) (begin (repeat 30000 (f 1)) (k))) (lambda () 4))"), u"4");
}

TEST_F(ScopeCollector, LeavesNothingBehindWhenTheGlobalScopeIsEmptied) {
    const std::size_t used = heap::used();
    eval(u"(defun f (n) (defun g () n) (g))");
    eval(u"(repeat 100 (f 5))");
    global->clear();
    collect();
    EXPECT_EQ(livingScopes(), before + 1);
    global->Bind(intern(u"WATCH"), Cell::builtin(watch));
    EXPECT_LE(heap::used(), used);
}

}  // namespace
}  // namespace vlisp
