// Tests of core/environment.h.
#include "core/environment.h"

#include "core/evaluator.h"
#include "core/printer.h"
#include "core/reader.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

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

// --- Scopes with slots ---

// A scope of the slots A, B and C, of which none is bound.
struct Slots {
    Ref<ScopeShape> shape = ScopeShape::make({});
    Ref<Environment> global = Environment::make(nullptr);
    Ref<Environment> scope;
    Slots() {
        for (const char16_t* each : {u"A", u"B", u"C"}) shape->add(intern(each), false);
        scope = Environment::make(*shape, global.get());
    }
};

std::vector<std::u16string> boundNames(const Environment& scope) {
    std::vector<std::u16string> names;
    for (const Environment::Binding& binding : scope.bindings())
        names.push_back(std::u16string(textOf(binding.name.get())) + u"=" +
                        PrintCell(binding.value));
    std::ranges::sort(names);
    return names;
}

using BoundNames = std::vector<std::u16string>;

TEST(ScopeShape, GivesEachNameOneSlot) {
    for (const int count : {1, 12, 13, 14, 500}) {
        const Ref<ScopeShape> outer = ScopeShape::make({});
        const Ref<ScopeShape> shape = ScopeShape::make(outer);
        EXPECT_EQ(shape->outer(), outer.get());
        for (int round = 0; round < 2; ++round)
            for (int i = 0; i < count; ++i)
                EXPECT_EQ(shape->add(name(i), round == 0 && i == 0), static_cast<std::uint32_t>(i));
        ASSERT_EQ(shape->slots().size(), static_cast<std::size_t>(count));
        EXPECT_TRUE(shape->slots()[0].alwaysBound) << "what was added first stays";
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(shape->find(name(i).get()), static_cast<std::uint32_t>(i));
        EXPECT_EQ(shape->find(name(count).get()), ScopeShape::none);
        EXPECT_EQ(shape->find(nullptr), ScopeShape::none);
        EXPECT_EQ(shape->add(SymbolRef(), false), static_cast<std::uint32_t>(count));
        EXPECT_EQ(shape->find(nullptr), static_cast<std::uint32_t>(count));
    }
}

TEST(ScopeWithSlots, BeginsWithoutBindings) {
    const Slots slots;
    EXPECT_EQ(slots.scope->shape(), slots.shape.get());
    EXPECT_EQ(slots.scope->outer(), slots.global.get());
    EXPECT_FALSE(slots.scope->isGlobal());
    EXPECT_EQ(found(*slots.scope, u"A"), nullptr);
    EXPECT_TRUE(slots.scope->bindings().empty());
    for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(slots.scope->slots()[i].isUnbound());
}

TEST(ScopeWithSlots, ANameWithASlotIsBoundThere) {
    const Slots slots;
    slots.scope->Bind(intern(u"B"), Cell::integer(1));
    slots.scope->Bind(intern(u"B"), Cell::integer(2));
    EXPECT_EQ(found(*slots.scope, u"B"), &slots.scope->slots()[1]);
    EXPECT_EQ(slots.scope->slots()[1].intValue(), 2);
    EXPECT_EQ(boundNames(*slots.scope), (BoundNames{u"B=2"}));
    slots.scope->slots()[0] = NilCell;
    EXPECT_EQ(boundNames(*slots.scope), (BoundNames{u"A=nil", u"B=2"})) << "nil is a value";
}

TEST(ScopeWithSlots, AnyOtherNameIsBoundBesides) {
    const Slots slots;
    slots.scope->Bind(intern(u"Z"), Cell::integer(26));
    slots.scope->Bind(SymbolRef(), Cell::integer(0));
    slots.scope->Bind(intern(u"C"), Cell::integer(3));
    slots.scope->Bind(intern(u"Z"), Cell::integer(27));
    EXPECT_EQ(boundNames(*slots.scope), (BoundNames{u"=0", u"C=3", u"Z=27"}));
    EXPECT_EQ(found(*slots.scope, u"Z")->intValue(), 27);
    EXPECT_EQ(found(*slots.global, u"Z"), nullptr);
}

TEST(ScopeWithSlots, AnUnboundSlotIsSearchedFurtherOutward) {
    const Slots slots;
    slots.global->Bind(intern(u"A"), Cell::integer(7));
    ErrorBuffer error;
    EXPECT_EQ(&FindScope(*slots.scope, intern(u"A").get(), error), slots.global.get());
    slots.scope->Bind(intern(u"A"), Cell::integer(8));
    EXPECT_EQ(&FindScope(*slots.scope, intern(u"A").get(), error), slots.scope.get());
    EXPECT_TRUE(error.empty());
}

TEST(ScopeWithSlots, ClearLetsGoOfEverything) {
    const Slots slots;
    const std::size_t before = heap::used();
    slots.scope->Bind(intern(u"A"), Cell::list({Cell::integer(1), Cell::integer(2)}));
    slots.scope->Bind(intern(u"Z"), Cell::integer(1));
    std::size_t visited = 0;
    slots.scope->forEachValue([&](const Cell&) { ++visited; });
    EXPECT_EQ(visited, 2U);
    slots.scope->clear();
    EXPECT_TRUE(slots.scope->bindings().empty());
    EXPECT_EQ(found(*slots.scope, u"A"), nullptr);
    EXPECT_EQ(found(*slots.scope, u"Z"), nullptr);
    EXPECT_EQ(heap::used(), before);
    slots.scope->Bind(intern(u"A"), TrueCell);
    EXPECT_EQ(boundNames(*slots.scope), (BoundNames{u"A=T"}));
}

TEST(ScopeWithSlots, LetsGoOfWhatItHeldAtItsEnd) {
    const std::size_t before = heap::used();
    {
        const Slots slots;
        slots.scope->Bind(intern(u"A"), Cell::string(std::u16string(1000, u'x')));
        slots.scope->Bind(intern(u"Z"), Cell::string(std::u16string(1000, u'y')));
        EXPECT_GT(heap::used(), before + 4000);
    }
    EXPECT_EQ(heap::used(), before);
}

// --- The global scope ---

// A scope that is the global one while this lives.
struct GlobalForTest {
    explicit GlobalForTest(Environment& scope) { setGlobalEnvironment(&scope); }
    ~GlobalForTest() { setGlobalEnvironment(nullptr); }
    GlobalForTest(const GlobalForTest&) = delete;
    GlobalForTest& operator=(const GlobalForTest&) = delete;
};

Cell& globalPlaceOf(std::u16string_view text) { return globalPlace(*intern(text)); }

TEST(GlobalScope, KeepsItsValuesInTheirNames) {
    const Ref<Environment> scope = Environment::make(nullptr);
    const SymbolRef early = intern(u"EARLY");
    const SymbolRef late = intern(u"LATE");
    scope->Bind(early, Cell::integer(1));
    EXPECT_TRUE(globalPlace(*early).isUnbound());
    {
        const GlobalForTest global(*scope);
        EXPECT_EQ(&GlobalEnvironment(), scope.get());
        EXPECT_TRUE(scope->isGlobal());
        EXPECT_EQ(found(*scope, u"EARLY"), &globalPlace(*early));
        EXPECT_EQ(globalPlace(*early).intValue(), 1);
        scope->Bind(late, Cell::integer(2));
        EXPECT_EQ(globalPlace(*late).intValue(), 2);
        scope->Bind(early, Cell::integer(3));
        EXPECT_EQ(boundNames(*scope), (BoundNames{u"EARLY=3", u"LATE=2"}));
        EXPECT_EQ(found(*scope, u"NEITHER-OF-THEM"), nullptr);
    }
    EXPECT_FALSE(scope->isGlobal());
    EXPECT_TRUE(globalPlace(*early).isUnbound());
    EXPECT_TRUE(globalPlace(*late).isUnbound());
    EXPECT_EQ(boundNames(*scope), (BoundNames{u"EARLY=3", u"LATE=2"})) << "they came back";
    EXPECT_EQ(found(*scope, u"LATE")->intValue(), 2);
}

TEST(GlobalScope, TheEmptyNameHasAPlaceToo) {
    const Ref<Environment> scope = Environment::make(nullptr);
    {
        const GlobalForTest global(*scope);
        EXPECT_EQ(scope->find(nullptr), nullptr);
        scope->Bind(SymbolRef(), Cell::integer(5));
        EXPECT_EQ(scope->find(nullptr)->intValue(), 5);
        EXPECT_EQ(boundNames(*scope), (BoundNames{u"=5"}));
    }
    EXPECT_EQ(boundNames(*scope), (BoundNames{u"=5"}));
    const Ref<Environment> other = Environment::make(nullptr);
    const GlobalForTest global(*other);
    EXPECT_EQ(other->find(nullptr), nullptr);
}

TEST(GlobalScope, ChangesHandsWithItsNames) {
    const Ref<Environment> first = Environment::make(nullptr);
    const Ref<Environment> second = Environment::make(nullptr);
    first->Bind(intern(u"BOTH"), Cell::integer(1));
    first->Bind(intern(u"FIRST"), Cell::integer(1));
    second->Bind(intern(u"BOTH"), Cell::integer(2));
    for (int round = 0; round < 2; ++round) {
        setGlobalEnvironment(first.get());
        EXPECT_EQ(globalPlaceOf(u"BOTH").intValue(), 1);
        EXPECT_EQ(globalPlaceOf(u"FIRST").intValue(), 1);
        EXPECT_EQ(boundNames(*second), (BoundNames{u"BOTH=2"}));
        setGlobalEnvironment(second.get());
        EXPECT_EQ(globalPlaceOf(u"BOTH").intValue(), 2);
        EXPECT_TRUE(globalPlaceOf(u"FIRST").isUnbound());
        EXPECT_EQ(found(*second, u"FIRST"), nullptr);
        EXPECT_EQ(boundNames(*first), (BoundNames{u"BOTH=1", u"FIRST=1"}));
    }
    setGlobalEnvironment(nullptr);
    EXPECT_TRUE(globalPlaceOf(u"BOTH").isUnbound());
    EXPECT_EQ(boundNames(*second), (BoundNames{u"BOTH=2"}));
}

TEST(GlobalScope, ClearUnbindsTheNames) {
    const Ref<Environment> scope = Environment::make(nullptr);
    const SymbolRef kept = intern(u"CLEARED");
    const GlobalForTest global(*scope);
    scope->Bind(kept, Cell::integer(1));
    scope->clear();
    EXPECT_TRUE(globalPlace(*kept).isUnbound());
    EXPECT_TRUE(scope->bindings().empty());
    EXPECT_TRUE(scope->isGlobal());
    scope->Bind(kept, Cell::integer(2));
    EXPECT_EQ(boundNames(*scope), (BoundNames{u"CLEARED=2"}));
}

TEST(GlobalScope, ManyNamesAreBoundAndComeBack) {
    const Ref<Environment> scope = Environment::make(nullptr);
    {
        const GlobalForTest global(*scope);
        for (int i = 0; i < 1000; ++i) scope->Bind(name(i), Cell::integer(i));
        for (int i = 0; i < 1000; ++i) EXPECT_EQ(scope->find(name(i).get())->intValue(), i);
        std::size_t visited = 0;
        scope->forEachValue([&](const Cell&) { ++visited; });
        EXPECT_EQ(visited, 1000U);
    }
    EXPECT_EQ(scope->bindings().size(), 1000U);
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(scope->find(name(i).get())->intValue(), i);
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
