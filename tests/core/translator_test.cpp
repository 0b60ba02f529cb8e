// Tests of core/translator.h and core/code.h: the code of small forms, as text.
// One idea: what a form is translated into is compared line by line with what people would write.
#include "core/translator.h"

#include "core/intrinsics.h"
#include "core/printer.h"
#include "core/reader.h"
#include "platform/system.h"
#include "platform/text.h"
#include "tests/support/repeated.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace vlisp {
namespace {

using test::repeated;

Cell neverCalled(Arguments) { return NilCell; }

// The names of some intrinsics, as a registry would declare them. Nothing is carried out here.
class Translator : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        const struct {
            Intrinsic intrinsic;
            const char16_t* name;
        } rows[] = {
            {Intrinsic::add, u"+"},          {Intrinsic::subtract, u"-"},
            {Intrinsic::multiply, u"*"},     {Intrinsic::divide, u"/"},
            {Intrinsic::less, u"<"},         {Intrinsic::greater, u">"},
            {Intrinsic::lessOrEqual, u"<="}, {Intrinsic::equalSign, u"="},
            {Intrinsic::equal, u"EQUAL"},    {Intrinsic::eq, u"EQ"},
            {Intrinsic::notEqual, u"/="},    {Intrinsic::car, u"CAR"},
            {Intrinsic::cdr, u"CDR"},        {Intrinsic::cadr, u"CADR"},
            {Intrinsic::nth, u"NTH"},        {Intrinsic::cons, u"CONS"},
            {Intrinsic::length, u"LENGTH"},  {Intrinsic::nullp, u"NULLP"},
            {Intrinsic::listp, u"LISTP"},    {Intrinsic::append, u"APPEND"},
            {Intrinsic::list, u"LIST"},      {Intrinsic::strlen, u"STRLEN"},
            {Intrinsic::strcat, u"STRCAT"},
        };
        for (const auto& row : rows) intrinsics::declare(row.intrinsic, row.name, neverCalled);
    }
};

// The lines without the blanks around them, empty ones left out.
std::string lines(std::string_view text) {
    std::istringstream in{std::string(text)};
    std::string out;
    for (std::string line; std::getline(in, line);) {
        const std::size_t begin = line.find_first_not_of(' ');
        if (begin == std::string::npos) continue;
        out += line.substr(begin, line.find_last_not_of(' ') + 1 - begin) + "\n";
    }
    return out;
}

std::string textOfCode(const Code& code) { return lines(platform::toUtf8(describe(code))); }

/// The code of a form in a scope of this shape.
std::string codeOf(std::u16string_view form, const Ref<ScopeShape>& shape = {}) {
    Code code;
    translateForm(code, Parse(form), shape);
    return textOfCode(code);
}

void expectCode(std::u16string_view form, std::string_view expected) {
    EXPECT_EQ(codeOf(form), lines(expected)) << platform::toUtf8(form);
}

/// The code of the function that a DEFUN or a LAMBDA form makes.
Ref<Code> functionOf(const Cell& form, const Ref<ScopeShape>& outer = {}) {
    const bool isDefun = form.items()[0].text() == u"DEFUN";
    const Cell lambda = isDefun ? lambdaFormOfDefun(form.items()) : form;
    return translateFunction(lambda.items()[1].items(), lambda.items()[2], outer);
}
Ref<Code> functionOf(std::u16string_view form, const Ref<ScopeShape>& outer = {}) {
    return functionOf(Parse(form), outer);
}

void expectFunction(std::u16string_view form, std::string_view expected) {
    EXPECT_EQ(textOfCode(*functionOf(form)), lines(expected)) << platform::toUtf8(form);
}

std::ptrdiff_t countOf(const Code& code, Op op) {
    return std::ranges::count(code.blocks[0]->instructions, op, &Instruction::op);
}

// --- Constants and symbols ---

TEST_F(Translator, AConstantIsLoaded) {
    expectCode(u"5", "0  loadConstant r0 5 \n 1  leave r0");
    expectCode(u"2.5", "0  loadConstant r0 2.500 \n 1  leave r0");
    expectCode(u"\"x\"", "0  loadConstant r0 \"x\" \n 1  leave r0");
    expectCode(u"()", "0  loadConstant r0 nil \n 1  leave r0");
    expectCode(u"'(a b)", "0  loadConstant r0 (A B) \n 1  leave r0");
    expectCode(u"(quote)", "0  loadConstant r0 nil \n 1  leave r0");
}

TEST_F(Translator, ALongConstantIsShownCut) {
    const std::u16string text(100, u'x');
    const std::string shown = "\"" + std::string(59, 'x') + "...";
    expectCode(u"\"" + text + u"\"", "0  loadConstant r0 " + shown + "\n 1  leave r0");
    EXPECT_EQ(shortPrint(Cell::symbol(std::u16string(60, u'y'))), std::u16string(60, u'y'));
}

TEST_F(Translator, ASymbolOutsideOfFunctionsIsGlobal) {
    expectCode(u"a", "0  loadGlobal r0 A \n 1  leave r0");
    expectCode(u"nil", "0  loadGlobal r0 NIL \n 1  leave r0");
}

// --- Special forms ---

TEST_F(Translator, If) {
    expectCode(u"(if a 1 2)", R"(
        0  unlessGlobal A -> 3
        1  loadConstant r0 1
        2  leave r0
        3  loadConstant r0 2
        4  leave r0)");
    expectCode(u"(if a 1)", R"(
        0  unlessGlobal A -> 3
        1  loadConstant r0 1
        2  leave r0
        3  loadConstant r0 nil
        4  leave r0)");
}

TEST_F(Translator, Cond) {
    expectCode(u"(cond (a 1) (b) ((c) 2 3))", R"(
         0  unlessGlobal A -> 3
         1  loadConstant r0 1
         2  leave r0
         3  loadGlobal r0 B
         4  keepIfTrue r0 -> 10
         5  callGlobal r0 0 C
         6  jumpIfFalse r0 -> 9
         7  loadConstant r0 3
         8  leave r0
         9  loadGlobal r0 nil
        10  leave r0)");
    expectCode(u"(cond () (a 1))", R"(
        0  unlessGlobal A -> 3
        1  loadConstant r0 1
        2  leave r0
        3  loadGlobal r0 nil
        4  leave r0)");
    expectCode(u"(cond (a))", "0  loadGlobal r0 A \n 1  leave r0");
}

TEST_F(Translator, Not) {
    expectCode(u"(not a)", R"(
        0  ifGlobal A -> 3
        1  loadConstant r0 T
        2  leave r0
        3  loadConstant r0 nil
        4  leave r0)");
}

TEST_F(Translator, OrEvaluatesAllAndAsksTheFirst) {
    expectCode(u"(or a b)", R"(
        0  ifGlobal A -> 3
        1  loadConstant r0 nil
        2  jump -> 4
        3  loadConstant r0 T
        4  loadGlobal r1 B
        5  drop r1
        6  leave r0)");
}

TEST_F(Translator, AndEvaluatesAllAndAsksAll) {
    expectCode(u"(and a b)", R"(
        0  loadConstant r0 T
        1  ifGlobal A -> 4
        2  drop r0
        3  loadConstant r0 nil
        4  ifGlobal B -> 7
        5  drop r0
        6  loadConstant r0 nil
        7  leave r0)");
}

TEST_F(Translator, While) {
    expectCode(u"(while a (b))", R"(
        0  jump -> 3
        1  callGlobal r0 0 B
        2  drop r0
        3  ifGlobal A -> 1
        4  loadConstant r0 nil
        5  leave r0)");
}

TEST_F(Translator, RepeatKeepsTheLastValueOnlyWhereItIsWanted) {
    expectCode(u"(repeat 3 (f))", R"(
        0  loadConstant r0 3
        1  loadConstant r1 nil
        2  startRepeat r0 -> 6
        3  drop r1
        4  callGlobal r1 0 F
        5  nextRepeat r0 -> 3
        6  move r0 r1
        7  leave r0)");
    expectCode(u"(begin (repeat 3 (f)) 5)", R"(
        0  loadConstant r0 3
        1  startRepeat r0 -> 5
        2  callGlobal r2 0 F
        3  drop r2
        4  nextRepeat r0 -> 2
        5  loadConstant r0 5
        6  leave r0)");
}

TEST_F(Translator, Setq) {
    expectCode(u"(setq a 1 b c)", R"(
        0  loadConstant r0 1
        1  setGlobal r0 A
        2  loadGlobal r0 C
        3  setGlobal r0 B
        4  leave r0)");
    expectCode(u"(setq a 1 b)", R"(
        0  loadConstant r0 1
        1  setGlobal r0 A
        2  loadConstant r0 nil
        3  setGlobal r0 B
        4  leave r0)");
}

TEST_F(Translator, Define) {
    expectCode(u"(define a 1)", R"(
        0  loadConstant r0 1
        1  defineByName r0 A
        2  leave r0)");
}

TEST_F(Translator, Defun) {
    expectCode(u"(defun f (x / y) (g x) y)", R"(
        0  makeFunction r0 (F (LAMBDA (X) (BEGIN (DEFINE Y 0) (G X) Y)))
        1  defineByName r0 F
        2  leave r0)");
    expectCode(u"(defun c:go () 1)", R"(
        0  makeFunction r0 (C:GO (LAMBDA () (BEGIN 1)))
        1  defineByName r0 GO
        2  leave r0)");
}

TEST_F(Translator, Lambda) {
    expectCode(u"(lambda (x) x)", "0  makeLambda r0 (LAMBDA (X) X) \n 1  leave r0");
}

TEST_F(Translator, BeginLetsGoOfAllValuesButTheLast) {
    expectCode(u"(begin 1 \"x\" a (if a (f)) (define b 2) c)", R"(
        0  loadGlobal r0 A
        1  drop r0
        2  unlessGlobal A -> 5
        3  callGlobal r0 0 F
        4  drop r0
        5  loadConstant r0 2
        6  defineByName r0 B
        7  loadGlobal r0 C
        8  leave r0)");
}

TEST_F(Translator, FormsThatAreTooShort) {
    const std::string_view nil = "0  loadConstant r0 nil \n 1  leave r0";
    expectCode(u"(not)", nil);
    expectCode(u"(and)", nil);
    expectCode(u"(defun f)", nil);
    expectCode(u"(setq a)", "0  loadConstant r0 nil \n 1  setGlobal r0 A \n 2  leave r0");
    expectCode(u"(define)", "0  loadConstant r0 nil \n 1  defineByName r0 nil \n 2  leave r0");
    expectCode(u"(begin)", "0  loadGlobal r0 BEGIN \n 1  leave r0");
    expectCode(u"(while)", "0  jump -> 1 \n 1  loadConstant r0 nil \n 2  leave r0");
    for (const std::u16string_view form : {u"(setq)", u"(cond)"}) {
        Code code;
        translateForm(code, Parse(form), {});
        ASSERT_EQ(code.blocks[0]->instructions.size(), 2U);
        const Cell& loaded = code.constants[code.blocks[0]->instructions[0].x];
        EXPECT_TRUE(loaded.is(CellType::Symbol) && loaded.text().empty());
    }
}

// --- Functions and their names ---

TEST_F(Translator, NamesOfAFunctionThatMakesNoClosuresAreRegisters) {
    const Ref<Code> code = functionOf(u"(defun f (x / y) (setq y x) (+ x y))");
    EXPECT_EQ(textOfCode(*code), lines(R"(
        0  loadConstant r1 0
        1  loadLocal r2 r0
        2  setLocal r2 r1
        3  add r2 r0 r1  ! add
        4  leave r2)"));
    EXPECT_TRUE(code->isFunction);
    EXPECT_TRUE(code->namesInRegisters);
    EXPECT_FALSE(code->callsPlainly) << "Y must be prepared";
    EXPECT_EQ(code->parameters, 1U);
    EXPECT_EQ(code->slots, 2U);
    EXPECT_EQ(code->firstTemporary, 2U);
    EXPECT_GE(code->registers, 3U);
    EXPECT_EQ(code->entry, code->blocks[0]->instructions.data());
    EXPECT_TRUE(functionOf(u"(defun f (x) x)")->callsPlainly);
    EXPECT_TRUE(functionOf(u"(defun f () 1)")->callsPlainly);
}

TEST_F(Translator, ABodyMayBeginWithDefinesOfConstants) {
    const Ref<Code> code = functionOf(u"(lambda () (begin (define y 1) (define z \"a\") (f y z)))");
    EXPECT_EQ(textOfCode(*code), lines(R"(
        0  loadConstant r0 1
        1  loadConstant r1 "a"
        2  takeLocal r2 r0
        3  takeLocal r3 r1
        4  callGlobal r2 2 F
        5  leave r2)"));
    ASSERT_EQ(code->shape->slots().size(), 2U);
    EXPECT_TRUE(code->shape->slots()[0].alwaysBound);
    EXPECT_TRUE(code->shape->slots()[1].alwaysBound);
}

TEST_F(Translator, ANameThatIsDefinedLaterMayBeUnbound) {
    expectFunction(u"(defun f (x) (g z) (define z x) z (setq z 2))", R"(
        0  takeMaybe r2 r1
        1  callGlobal r2 1 G
        2  drop r2
        3  loadLocal r2 r0
        4  defineLocal r2 r1
        5  loadMaybe r2 r1 Z
        6  drop r2
        7  loadConstant r2 2
        8  setByName r2 Z
        9  leave r2)");
}

TEST_F(Translator, AFunctionThatMakesClosuresKeepsItsNamesInAScope) {
    const Cell form = Parse(u"(defun f (a) (define b a) (lambda (x) (setq a x q b)))");
    const Ref<Code> outer = functionOf(form);
    EXPECT_FALSE(outer->namesInRegisters);
    EXPECT_FALSE(outer->callsPlainly);
    // A scope is told by how far outward it is, a name in it by its slot.
    const std::vector<Instruction>& made = outer->blocks[0]->instructions;
    ASSERT_EQ(made.size(), 4U);
    EXPECT_EQ(made[0].op, Op::loadScope);
    EXPECT_EQ(made[0].b, 0U);
    EXPECT_EQ(made[0].c, 0U);
    EXPECT_EQ(made[1].op, Op::defineScope);
    EXPECT_EQ(made[1].c, 1U);
    EXPECT_EQ(made[2].op, Op::makeLambda);

    const Ref<Code> inner = functionOf(outer->constants[made[2].x], outer->shape);
    EXPECT_TRUE(inner->namesInRegisters);
    const std::vector<Instruction>& used = inner->blocks[0]->instructions;
    ASSERT_EQ(used.size(), 5U);
    EXPECT_EQ(used[0].op, Op::loadLocal);
    EXPECT_EQ(used[1].op, Op::setScope);
    EXPECT_EQ(used[1].b, 0U) << "names in registers make no scope";
    EXPECT_EQ(used[1].c, 0U);
    EXPECT_EQ(used[2].op, Op::loadScope);
    EXPECT_EQ(used[2].c, 1U);
    EXPECT_EQ(used[3].op, Op::setGlobal);
    EXPECT_EQ(used[4].op, Op::leave);
}

TEST_F(Translator, NamesTwoScopesOutwardAreFoundByTheirDistance) {
    const Ref<Code> outer = functionOf(u"(lambda (a) (lambda (b) (lambda (c) 1)))");
    const Ref<Code> middle = functionOf(u"(lambda (b) (lambda (c) 1))", outer->shape);
    const Ref<Code> inner = functionOf(u"(lambda (c) (g a b c))", middle->shape);
    const std::vector<Instruction>& taken = inner->blocks[0]->instructions;
    ASSERT_EQ(taken.size(), 5U);
    EXPECT_EQ(taken[0].op, Op::takeScope);
    EXPECT_EQ(taken[0].b, 1U);
    EXPECT_EQ(taken[1].op, Op::takeScope);
    EXPECT_EQ(taken[1].b, 0U);
    EXPECT_EQ(taken[2].op, Op::takeLocal);
}

TEST_F(Translator, InAScopeOfUnknownNamesEveryNameIsSearched) {
    const Ref<ScopeShape> open = ScopeShape::make({});
    open->open = true;
    EXPECT_EQ(codeOf(u"(setq a b)", open), lines(R"(
        0  loadByName r0 B
        1  setByName r0 A
        2  leave r0)"));
    EXPECT_EQ(codeOf(u"(+ a 1)", open), lines(R"(
        0  loadByName r0 +
        1  checkHead r0 -> 5
        2  loadByName r1 A
        3  loadConstant r2 1
        4  call r0 2
        5  leave r0)"));
    const Ref<Code> inside = functionOf(u"(lambda (x) (f x))", open);
    EXPECT_EQ(textOfCode(*inside), lines(R"(
        0  loadByName r1 F
        1  checkHead r1 -> 4
        2  loadLocal r2 r0
        3  call r1 1
        4  leave r1)"));
}

TEST_F(Translator, AParameterShadowsABuiltin) {
    expectFunction(u"(defun f (car) (car 1))", R"(
        0  loadLocal r1 r0
        1  checkHead r1 -> 4
        2  loadConstant r2 1
        3  call r1 1
        4  leave r1)");
    expectFunction(u"(defun f (x) (car x))", R"(
        0  car r1 r0  ! car
        1  leave r1)");
    const Ref<Code> outer = functionOf(u"(lambda (car) (lambda (x) (car x)))");
    EXPECT_EQ(countOf(*functionOf(u"(lambda (x) (car x))", outer->shape), Op::car), 0);
}

TEST_F(Translator, ANameGivenTwiceHasOneSlot) {
    const Ref<Code> code = functionOf(u"(lambda (a b a) a)");
    EXPECT_EQ(code->parameterSlots, (std::vector<std::uint32_t>{0, 1, 0}));
    EXPECT_EQ(code->parameters, 3U);
    EXPECT_EQ(code->slots, 2U);
    EXPECT_FALSE(code->callsPlainly);
    EXPECT_TRUE(functionOf(u"(lambda (a b) a)")->parameterSlots.empty());
}

TEST_F(Translator, QuotedFormsNameNothing) {
    const Ref<Code> code = functionOf(u"(lambda (a) (begin '(lambda (x) x) '(define b 1) a))");
    EXPECT_TRUE(code->namesInRegisters);
    EXPECT_EQ(code->slots, 1U);
}

TEST_F(Translator, AFunctionOfVeryManyNamesKeepsThemInAScope) {
    const auto withNames = [](int count) {
        std::u16string parameters;
        for (int i = 0; i < count; ++i) {
            parameters += u" p";
            printInteger(parameters, i);
        }
        return functionOf(u"(lambda (" + parameters + u") p0)");
    };
    EXPECT_TRUE(withNames(1000)->namesInRegisters);
    const Ref<Code> many = withNames(1001);
    EXPECT_FALSE(many->namesInRegisters);
    EXPECT_EQ(many->slots, 1001U);
    EXPECT_EQ(countOf(*many, Op::loadScope), 1);
}

// --- The short way ---

TEST_F(Translator, ATreeOfBuiltinsIsComputedInRegisters) {
    expectFunction(u"(defun f (a b) (+ (* a 2) (cons b (car z))))", R"(
        0  multiplyConstant r2 r0 2  ! multiply
        1  takeGlobal r3 Z
        2  car r3 r3  ! car
        3  cons r3 r1 r3  ! cons
        4  add r2 r2 r3  ! add
        5  leave r2)");
}

TEST_F(Translator, EachBuiltinHasItsInstruction) {
    const struct {
        std::u16string_view form;
        const char* instruction;
    } rows[] = {
        {u"(+ x y)", "add r2 r0 r1  ! add"},
        {u"(- x y)", "subtract r2 r0 r1  ! subtract"},
        {u"(* x y)", "multiply r2 r0 r1  ! multiply"},
        {u"(/ x y)", "divide r2 r0 r1  ! divide"},
        {u"(+ x 1)", "addConstant r2 r0 1  ! add"},
        {u"(- x 1)", "subtractConstant r2 r0 1  ! subtract"},
        {u"(* x 1)", "multiplyConstant r2 r0 1  ! multiply"},
        {u"(/ x 1)", "divideConstant r2 r0 1  ! divide"},
        {u"(- 1 x)", "subtractFromConstant r2 r0 1  ! subtract"},
        {u"(/ 1.0 x)", "divideConstantBy r2 r0 1.000  ! divide"},
        {u"(< x y)", "less r2 r0 r1  ! less"},
        {u"(> x y)", "greater r2 r0 r1  ! greater"},
        {u"(<= x y)", "lessOrEqual r2 r0 r1  ! lessOrEqual"},
        {u"(= x y)", "equal r2 r0 r1  ! equalSign"},
        {u"(equal x y)", "equal r2 r0 r1  ! equal"},
        {u"(eq x y)", "equal r2 r0 r1  ! eq"},
        {u"(/= x y)", "notEqual r2 r0 r1  ! notEqual"},
        {u"(< x 1)", "lessConstant r2 r0 1  ! less"},
        {u"(> x 1)", "greaterConstant r2 r0 1  ! greater"},
        {u"(<= x 1)", "lessOrEqualConstant r2 r0 1  ! lessOrEqual"},
        {u"(= x 'a)", "equalConstant r2 r0 A  ! equalSign"},
        {u"(/= x \"a\")", "notEqualConstant r2 r0 \"a\"  ! notEqual"},
        {u"(+ x y x)", "addThree r2 r0 r1 r0  ! add"},
        {u"(- x y x)", "subtractThree r2 r0 r1 r0  ! subtract"},
        {u"(* x y x)", "multiplyThree r2 r0 r1 r0  ! multiply"},
        {u"(/ x y x)", "divideThree r2 r0 r1 r0  ! divide"},
        {u"(append x (list y))", "appendItem r2 r0 r1  ! append, list"},
        {u"(strcat x y)", "appendText r2 r0 r1  ! strcat"},
        {u"(strcat x \"a\")", "appendTextConstant r2 r0 \"a\"  ! strcat"},
        {u"(nth x y)", "nth r2 r0 r1  ! nth"},
        {u"(cons x y)", "cons r2 r0 r1  ! cons"},
        {u"(car x)", "car r2 r0  ! car"},
        {u"(cdr x)", "cdr r2 r0  ! cdr"},
        {u"(cadr x)", "cadr r2 r0  ! cadr"},
        {u"(length x)", "length r2 r0  ! length"},
        {u"(nullp x)", "nullp r2 r0  ! nullp"},
        {u"(listp x)", "listp r2 r0  ! listp"},
    };
    for (const auto& row : rows)
        expectFunction(u"(lambda (x y) " + std::u16string(row.form) + u")",
                       std::string("0  ") + row.instruction + "\n 1  leave r2");
}

TEST_F(Translator, OtherwiseABuiltinIsCalledWithItsArgumentsInARow) {
    expectCode(u"(strlen a)", R"(
        0  takeGlobal r0 A
        1  callBuiltin r0 1 r0 strlen  ! strlen
        2  leave r0)");
    expectCode(u"(car a 1)", R"(
        0  takeGlobal r0 A
        1  loadConstant r1 1
        2  callBuiltin r0 2 r0 car  ! car
        3  leave r0)");
    expectCode(u"(append a (list 1 2))", R"(
        0  takeGlobal r0 A
        1  loadConstant r1 1
        2  loadConstant r2 2
        3  callBuiltin r1 2 r1 list  ! list
        4  callBuiltin r0 2 r0 append  ! append
        5  leave r0)");
}

TEST_F(Translator, AnArgumentWithEffectsComesBehindAGuard) {
    expectCode(u"(car (f))", R"(
        0  guard  ! car
        1  callGlobal r0 0 F
        2  car r0 r0
        3  leave r0)");
    expectCode(u"(strlen (f) a)", R"(
        0  guard  ! strlen
        1  callGlobal r0 0 F
        2  loadGlobal r1 A
        3  callBuiltin r0 2 r0 strlen
        4  leave r0)");
}

TEST_F(Translator, ANameIsReadWhereItLiesUnlessItMayBeAssigned) {
    expectFunction(u"(defun f (s) (+ s (g s)))", R"(
        0  guard  ! add
        1  takeLocal r1 r0
        2  callGlobal r1 1 G
        3  add r1 r0 r1
        4  leave r1)");
    expectFunction(u"(defun f (s) (+ s (setq s 1)))", R"(
        0  guard  ! add
        1  loadLocal r1 r0
        2  loadConstant r2 1
        3  setLocal r2 r0
        4  add r1 r1 r2
        5  leave r1)");
}

TEST_F(Translator, AssigningWhatIsComputedGoesInPlace) {
    expectFunction(u"(defun f (x l) (setq x (+ x 1) l (append l (list x)) x '(a) l x) 5)", R"(
        0  addConstant r0 r0 1  ! add
        1  appendItem r1 r1 r0  ! append, list
        2  setConstant r0 (A)
        3  loadLocal r2 r0
        4  setLocal r2 r1
        5  loadConstant r2 5
        6  leave r2)");
    // Where the value is wanted, it is kept.
    expectFunction(u"(defun f (x) (setq x (+ x 1)))", R"(
        0  addConstant r1 r0 1  ! add
        1  setLocal r1 r0
        2  leave r1)");
}

TEST_F(Translator, AComparisonThatIsATestJumps) {
    const struct {
        std::u16string_view test;
        const char* instruction;
    } rows[] = {
        {u"(< x y)", "unlessLess r0 r1"},
        {u"(< x 1)", "unlessLessConstant r0 1"},
        {u"(> x y)", "unlessGreater r0 r1"},
        {u"(> x 1)", "unlessGreaterConstant r0 1"},
        {u"(<= x y)", "unlessLessOrEqual r0 r1"},
        {u"(<= x 1)", "unlessLessOrEqualConstant r0 1"},
        {u"(= x y)", "unlessEqual r0 r1"},
        {u"(= x 1)", "unlessEqualConstant r0 1"},
        {u"(/= x y)", "unlessNotEqual r0 r1"},
        {u"(/= x 1)", "unlessNotEqualConstant r0 1"},
        {u"(nullp x)", "unlessNull r0"},
        {u"(not (< x y))", "ifLess r0 r1"},
        {u"(not (< x 1))", "ifLessConstant r0 1"},
        {u"(not (> x y))", "ifGreater r0 r1"},
        {u"(not (> x 1))", "ifGreaterConstant r0 1"},
        {u"(not (<= x y))", "ifLessOrEqual r0 r1"},
        {u"(not (<= x 1))", "ifLessOrEqualConstant r0 1"},
        {u"(not (= x y))", "ifEqual r0 r1"},
        {u"(not (= x 1))", "ifEqualConstant r0 1"},
        {u"(not (/= x y))", "ifNotEqual r0 r1"},
        {u"(not (/= x 1))", "ifNotEqualConstant r0 1"},
        {u"(not (nullp x))", "ifNull r0"},
        {u"(not (not (nullp x)))", "unlessNull r0"},
    };
    for (const auto& row : rows) {
        const Ref<Code> code =
            functionOf(u"(lambda (x y) (if " + std::u16string(row.test) + u" 1 2))");
        const std::string shown = platform::toUtf8(describe(*code, *code->blocks[0], 0));
        EXPECT_TRUE(shown.starts_with(std::string(row.instruction) + " -> 3  ! ")) << shown;
        EXPECT_EQ(code->blocks[0]->instructions.size(), 5U);
    }
}

TEST_F(Translator, ALoopTestsAtItsEnd) {
    expectFunction(u"(defun f (x) (while (< x 3) (setq x (+ x 1))))", R"(
        0  jump -> 2
        1  addConstant r0 r0 1  ! add
        2  ifLessConstant r0 3 -> 1  ! less
        3  loadConstant r1 nil
        4  leave r1)");
}

TEST_F(Translator, ATestOfAndIsSettledByTheFirstThatIsFalseWhileThereAreNoObstacles) {
    expectFunction(u"(defun f (x y) (if (and (< x y) (not y) x) 1 2))", R"(
         0  ifObstacles -> 7
         1  unlessLess r0 r1 -> 22  ! less
         2  loadLocal r2 r1
         3  jumpIfTrue r2 -> 22
         4  loadLocal r2 r0
         5  jumpIfFalse r2 -> 22
         6  jump -> 20
         7  loadConstant r2 T
         8  ifLess r0 r1 -> 11  ! less
         9  drop r2
        10  loadConstant r2 nil
        11  loadLocal r3 r1
        12  jumpIfFalse r3 -> 15
        13  drop r2
        14  loadConstant r2 nil
        15  loadLocal r3 r0
        16  jumpIfTrue r3 -> 19
        17  drop r2
        18  loadConstant r2 nil
        19  jumpIfFalse r2 -> 22
        20  loadConstant r2 1
        21  leave r2
        22  loadConstant r2 2
        23  leave r2)");
}

TEST_F(Translator, ATestOfAndLooksAtAllWhereOneMayHaveEffects) {
    for (const std::u16string_view test :
         {u"(and x (g y))", u"(and x z)", u"(and x (setq y 1))", u"(and x)"}) {
        const std::u16string text = u"(lambda (x y) (if " + std::u16string(test) + u" 1 2))";
        EXPECT_EQ(countOf(*functionOf(text), Op::ifObstacles), 0) << platform::toUtf8(text);
    }
    EXPECT_EQ(countOf(*functionOf(u"(lambda (x y) (if (and x 'z) 1 2))"), Op::ifObstacles), 1);
}

// --- Detours ---

// The long way of the first short way, as text.
std::string detourOf(Code& code) {
    Block& home = *code.blocks[0];
    translateDetour(code, 0, home.shortWays.front());
    const std::string text = textOfCode(code);
    const std::size_t at = text.find("the long way 1\n");
    return at == std::string::npos ? "" : text.substr(text.find('\n', at) + 1);
}

TEST_F(Translator, TheLongWayTakesHeadAndArgumentsOneByOne) {
    Code code;
    translateForm(code, Parse(u"(+ (* a 2) b)"), {});
    const std::string before = textOfCode(code);
    EXPECT_EQ(before, lines(R"(
        0  takeGlobal r0 A
        1  multiplyConstant r0 r0 2  ! multiply
        2  takeGlobal r1 B
        3  add r0 r0 r1  ! add
        4  leave r0)"));
    const ShortWay& way = code.blocks[0]->shortWays.at(0);
    EXPECT_EQ(way.first, 0U);
    EXPECT_EQ(way.after, 4U);
    EXPECT_EQ(way.use, ShortWay::Use::value);
    EXPECT_EQ(way.detour, 0U);
    EXPECT_EQ(detourOf(code), lines(R"(
        0  loadGlobal r0 +
        1  checkHead r0 -> 6
        2  takeGlobal r1 A
        3  multiplyConstant r1 r1 2  ! multiply
        4  loadGlobal r2 B
        5  call r0 2
        6  comeBack 4)"));
}

TEST_F(Translator, ALongWayIsTranslatedOnce) {
    Code code;
    translateForm(code, Parse(u"(car a)"), {});
    ShortWay& way = code.blocks[0]->shortWays.at(0);
    const Block& first = translateDetour(code, 0, way);
    EXPECT_EQ(way.detour, 1U);
    EXPECT_EQ(&translateDetour(code, 0, way), &first);
    EXPECT_EQ(code.blocks.size(), 2U);
}

TEST_F(Translator, TheLongWayOfAnAssignmentAssigns) {
    const Ref<Code> code = functionOf(u"(lambda (x) (begin (setq x (+ x 1)) 5))");
    EXPECT_EQ(detourOf(*code), lines(R"(
        0  loadGlobal r1 +
        1  checkHead r1 -> 5
        2  loadLocal r2 r0
        3  loadConstant r3 1
        4  call r1 2
        5  setLocal r1 r0
        6  comeBack 1)"));
}

TEST_F(Translator, TheLongWayOfATestJumpsAsTheShortOneWould) {
    const Ref<Code> code = functionOf(u"(lambda (x) (if (< x 1) 2 3))");
    EXPECT_EQ(detourOf(*code), lines(R"(
        0  loadGlobal r1 <
        1  checkHead r1 -> 5
        2  loadLocal r2 r0
        3  loadConstant r3 1
        4  call r1 2
        5  jumpIfTrue r1 -> 7
        6  comeBack 3
        7  comeBack 1)"));
    const Ref<Code> negated = functionOf(u"(lambda (x) (if (not (< x 1)) 2 3))");
    EXPECT_EQ(detourOf(*negated), lines(R"(
        0  loadGlobal r1 <
        1  checkHead r1 -> 5
        2  loadLocal r2 r0
        3  loadConstant r3 1
        4  call r1 2
        5  jumpIfFalse r1 -> 7
        6  comeBack 3
        7  comeBack 1)"));
}

TEST_F(Translator, AnInstructionKnowsItsShortWay) {
    Code code;
    translateForm(code, Parse(u"(f (setq a (car b)) (cdr b))"), {});
    Block& block = *code.blocks[0];
    std::size_t home = 99;
    for (const Instruction& each : block.instructions) {
        if (each.op != Op::car && each.op != Op::cdr) continue;
        const ShortWay& way = code.shortWayAt(&each, home);
        EXPECT_EQ(home, 0U);
        EXPECT_EQ(PrintCell(way.form), each.op == Op::car ? u"(CAR B)" : u"(CDR B)");
    }
    EXPECT_EQ(home, 0U);
}

// --- Calls ---

TEST_F(Translator, AGlobalFunctionIsCalledOnArgumentsWithoutEffectsInOneStep) {
    expectCode(u"(f '(1 2) \"s\" b (+ b 1))", R"(
        0  loadConstant r0 (1 2)
        1  loadConstant r1 "s"
        2  takeGlobal r2 B
        3  takeGlobal r3 B
        4  addConstant r3 r3 1  ! add
        5  callGlobal r0 4 F
        6  leave r0)");
}

TEST_F(Translator, AHeadIsEvaluatedBeforeArgumentsWithEffects) {
    expectCode(u"(f (g))", R"(
        0  loadGlobal r0 F
        1  checkHead r0 -> 4
        2  callGlobal r1 0 G
        3  call r0 1
        4  leave r0)");
    expectCode(u"((f) 5)", R"(
        0  callGlobal r0 0 F
        1  checkHead r0 -> 4
        2  loadConstant r1 5
        3  call r0 1
        4  leave r0)");
    expectCode(u"(5 a)", R"(
        0  loadConstant r0 5
        1  checkHead r0 -> 4
        2  loadGlobal r1 A
        3  call r0 1
        4  leave r0)");
    expectCode(u"((lambda (x) x) 1)", R"(
        0  makeLambda r0 (LAMBDA (X) X)
        1  checkHead r0 -> 4
        2  loadConstant r1 1
        3  call r0 1
        4  leave r0)");
}

TEST_F(Translator, MoreThanTwoHundredArgumentsAreCollectedInARow) {
    Code few;
    translateForm(few, Parse(u"(f" + repeated(u" 1", 200) + u")"), {});
    EXPECT_EQ(countOf(few, Op::call), 1);
    EXPECT_EQ(few.blocks[0]->instructions.size(), 204U) << "head, check, arguments, call, leave";
    for (const std::u16string_view head : {u"(f", u"(+"}) {
        Code many;
        translateForm(many, Parse(std::u16string(head) + repeated(u" 1", 201) + u")"), {});
        EXPECT_EQ(countOf(many, Op::call) + countOf(many, Op::callBuiltin), 0);
        EXPECT_EQ(countOf(many, Op::startArguments), 1);
        EXPECT_EQ(countOf(many, Op::pushArgument), 201);
        EXPECT_EQ(countOf(many, Op::callSpread), 1);
        EXPECT_LT(many.registers, 10U);
    }
}

// --- Depth ---

TEST_F(Translator, AFormThatIsTooDeepIsTranslatedApart) {
    const auto nested = [](std::size_t depth) {
        return repeated(u"(f ", depth) + u"1" + repeated(u")", depth);
    };
    Code flat;
    translateForm(flat, Parse(nested(100)), {});
    EXPECT_EQ(countOf(flat, Op::evaluate), 0);
    Code deep;
    translateForm(deep, Parse(nested(101)), {});
    ASSERT_EQ(countOf(deep, Op::evaluate), 1);
    const auto apart =
        std::ranges::find(deep.blocks[0]->instructions, Op::evaluate, &Instruction::op);
    EXPECT_EQ(PrintCell(deep.constants[apart->x]), u"(F 1)");
}

TEST_F(Translator, AFunctionWithADeepBodyKeepsItsNamesInAScope) {
    const auto nested = [](std::size_t depth) {
        return functionOf(u"(lambda (x) " + repeated(u"(f ", depth) + u"x" + repeated(u")", depth) +
                          u")");
    };
    EXPECT_TRUE(nested(90)->namesInRegisters);
    const Ref<Code> deep = nested(110);
    EXPECT_FALSE(deep->namesInRegisters);
    EXPECT_EQ(countOf(*deep, Op::evaluate), 1);
}

// On a small stack, so that unbounded recursion would fail.
TEST_F(Translator, DepthAndBreadthOfAFormAreLimitedByMemoryAlone) {
    constexpr std::size_t many = 200'000;
    const Cell forms[] = {
        Parse(repeated(u"(f ", many) + u"1" + repeated(u")", many)),
        Parse(repeated(u"(not ", many) + u"1" + repeated(u")", many)),
        Parse(repeated(u"(+ 1 ", many) + u"1" + repeated(u")", many)),
        Parse(repeated(u"(if 1 ", many) + u"1" + repeated(u")", many)),
        Parse(u"(and " + repeated(u"1 ", many) + u")"),
    };
    std::size_t translated = 0;
    platform::Worker worker(std::size_t{4} << 20, [&] {
        for (const Cell& form : forms) {
            Code code;
            translateForm(code, form, {});
            const Ref<Code> function = translateFunction({}, form, {});
            if (!code.blocks[0]->instructions.empty() && !function->blocks[0]->instructions.empty())
                ++translated;
        }
    });
    worker.join();
    EXPECT_EQ(translated, std::size(forms));
}

// --- DEFUN ---

TEST_F(Translator, ParameterNamesAreReadFromTheListsPrintedText) {
    using Names = std::vector<std::u16string>;
    const struct {
        std::u16string_view list;
        Names parameters, locals;
    } rows[] = {
        {u"()", {}, {}},
        {u"nil", {u"NIL"}, {}},
        {u"(a b)", {u"A", u"B"}, {}},
        {u"(a b / c d)", {u"A", u"B"}, {u"C", u"D"}},
        {u"(/ c)", {}, {u"C"}},
        {u"(a /)", {u"A"}, {u""}},
        {u"(a / b / c)", {u"A"}, {u"B"}},
        {u"(5 \"x y\")", {u"5", u"\"x", u"y\""}, {}},
        {u"((a) b)", {u"(A", u"B)"}, {}},
        {u"(1.5)", {u"1.500"}, {}},
    };
    for (const auto& row : rows) {
        const ParameterNames names = readParameterNames(Parse(row.list));
        EXPECT_EQ(names.parameters, row.parameters) << platform::toUtf8(row.list);
        EXPECT_EQ(names.locals, row.locals) << platform::toUtf8(row.list);
    }
}

TEST_F(Translator, ADefunMakesALambdaForm) {
    const Cell defun = Parse(u"(defun f (a / b c) (g a) b)");
    const Cell form = lambdaFormOfDefun(defun.items());
    EXPECT_EQ(PrintCell(form), u"(LAMBDA (A) (BEGIN (DEFINE B 0) (DEFINE C 0) (G A) B))");
    const Cell& zero = form.items()[2].items()[1].items()[2];
    EXPECT_EQ(zero.type(), CellType::Integer);
    EXPECT_EQ(zero.text(), u"0");
    const Cell empty = Parse(u"(defun f ())");
    EXPECT_EQ(PrintCell(lambdaFormOfDefun(empty.items())), u"(LAMBDA () (BEGIN))");
}

// The names that the form of a DEFUN has are those of the printed list, by whichever way they are found.
TEST_F(Translator, ADefunHasTheNamesOfThePrintedList) {
    for (const std::u16string_view list :
         {u"()",          u"(a)",    u"(a b c)",  u"(/ a)",     u"(a / b)",     u"(a b / c d)",
          u"(/)",         u"(/ /)",  u"(a /)",    u"(a / b /)", u"(a / b / c)", u"(a/b c)",
          u"(a b/)",      u"(a /b)", u"(a\tb c)", u"(a 5)",     u"(a \"b c\")", u"(a (b c) d)",
          u"(a 'b)",      u"('/ a)", u"a",        u"a/b",       u"nil",         u"5",
          u"\"a b / c\"", u"\"\""}) {
        SCOPED_TRACE(platform::toUtf8(list));
        const Cell defun = Parse(u"(defun f " + std::u16string(list) + u" (g) 1)");
        const Cell form = lambdaFormOfDefun(defun.items());
        const ParameterNames expected = readParameterNames(defun.items()[2]);
        std::vector<std::u16string> parameters;
        for (const Cell& each : form.items()[1].items()) parameters.emplace_back(each.text());
        EXPECT_EQ(parameters, expected.parameters);
        const Items body = form.items()[2].items();
        ASSERT_EQ(body.size(), 1 + expected.locals.size() + 2);
        for (std::size_t i = 0; i < expected.locals.size(); ++i) {
            const Items define = body[i + 1].items();
            ASSERT_EQ(define.size(), 3U);
            EXPECT_EQ(define[0].text(), u"DEFINE");
            EXPECT_EQ(define[1].text(), expected.locals[i]);
        }
        EXPECT_EQ(PrintCell(body[body.size() - 2]), u"(G)");
        EXPECT_EQ(PrintCell(body.back()), u"1");
    }
}

// --- Code ---

TEST_F(Translator, ACodeIsEmptiedForTheNextForm) {
    Code code;
    translateForm(code, Parse(u"(+ a 1)"), {});
    const std::string first = textOfCode(code);
    translateDetour(code, 0, code.blocks[0]->shortWays.at(0));
    code.reset();
    EXPECT_EQ(textOfCode(code), "");
    EXPECT_EQ(code.registers, 0U);
    translateForm(code, Parse(u"(+ a 1)"), {});
    EXPECT_EQ(textOfCode(code), first);
}

TEST_F(Translator, WhatCodeHoldsIsLetGoWithIt) {
    const std::size_t before = heap::used();
    {
        const Ref<Code> code = functionOf(u"(lambda (x) (begin (define y '(1 2 3)) (f x y)))");
        EXPECT_GT(heap::used(), before);
    }
    EXPECT_EQ(heap::used(), before);
}

}  // namespace
}  // namespace vlisp
