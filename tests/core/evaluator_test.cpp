// Tests of core/evaluator.h without any built-in but a probe.
#include "core/evaluator.h"

#include "core/printer.h"
#include "core/reader.h"
#include "platform/text.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using platform::fromUtf8;
using platform::toUtf8;
using Texts = std::vector<std::string>;

Texts logged;

// (LOG value ...): remembers its arguments and returns the first.
Cell log(Arguments arguments) {
    std::string line;
    for (const Cell& argument : arguments)
        line += (line.empty() ? "" : " ") + toUtf8(PrintCell(argument));
    logged.push_back(line);
    return arguments.empty() ? NilCell : arguments[0];
}

class Commands final : public HostPort {
  public:
    void addCommand(std::u16string_view name, std::u16string_view lispText) override {
        added.push_back(toUtf8(name) + " " + toUtf8(lispText));
    }
    void sendMessage(std::u16string_view) override {}
    void sendEvalDone(std::u16string_view) override {}
    Texts added;
};

class Evaluator : public ::testing::Test {
  protected:
    Evaluator() {
        logged.clear();
        EntityNameBase = 0;
        setCommandPort(&commands);
        global->Bind(intern(u"nil"), FalseCell);
        global->Bind(intern(u"T"), TrueCell);
        global->Bind(intern(u"."), DotCell);
        global->Bind(intern(u"LOG"), Cell::builtin(log));
        global->Bind(intern(u"ENT"), Cell::make(CellType::EntityName, u"7"));
        global->Bind(intern(u"SET"), Cell::make(CellType::SelectionSet, u"3"));
    }
    ~Evaluator() override {
        global->clear();
        setCommandPort(nullptr);
    }

    Cell value(std::string_view text) { return Eval(Parse(fromUtf8(text)), *global, error); }

    // The printed value, and the error text behind "!" when there is one.
    std::string eval(std::string_view text) {
        error.clear();
        logged.clear();
        std::string out = toUtf8(PrintCell(value(text)));
        if (!error.empty()) out += "!" + toUtf8(error.text());
        return out;
    }

    static std::string undefined(const std::string& name) {
        return "nil!;error; undefined symbol '" + name + "'\n";
    }

    struct Row {
        std::string text, outcome;
        Texts log;
    };
    void expectAll(std::initializer_list<Row> rows) {
        for (const Row& row : rows) {
            EXPECT_EQ(eval(row.text), row.outcome) << row.text;
            EXPECT_EQ(logged, row.log) << row.text;
        }
    }

    Ref<Environment> global = Environment::make(nullptr);
    ErrorBuffer error;
    Commands commands;
};

const std::string notAFunction = "nil!;error; not a function!";

TEST_F(Evaluator, ValuesOfThePlainTypesAreThemselves) {
    expectAll({
        {"5", "5", {}},
        {"-2.5", "-2.500", {}},
        {"\"a\"", "\"a\"", {}},
        {"T", "T", {}},
        {"t", "T", {}},
        {"ent", "<Entity name: 7>", {}},
        {"set", "<Selection set: 3>", {}},
        {"log", "<Proc>", {}},
        {"()", "nil", {}},
        {"nil", undefined("NIL"), {}},
        {"q", undefined("Q"), {}},
        {" ", undefined(""), {}},
    });
    EXPECT_EQ(Eval(Cell::builtin(log), *global, error).text(), u"nil");
    EXPECT_EQ(Eval(Cell::make(CellType::EntityName, u"9"), *global, error).text(), u"9");
    EXPECT_EQ(Eval(Cell::make(CellType::SelectionSet, u"9"), *global, error).text(), u"9");
    EXPECT_EQ(Eval(Cell::lambda({}, nullptr, {}), *global, error).text(), u"nil");
}

TEST_F(Evaluator, Quote) {
    expectAll({
        {"'a", "A", {}},
        {"'(a (b) 1)", "(A (B) 1)", {}},
        {"(quote a b)", "A", {}},
        {"(quote (log 1))", "(LOG 1)", {}},
        {"'()", "()", {}},
        {"(quote)", "nil", {}},
    });
}

TEST_F(Evaluator, If) {
    expectAll({
        {"(if T 1 2)", "1", {}},
        {"(if (not T) 1 2)", "2", {}},
        {"(if (not T) 1)", "nil", {}},
        {"(if (not T) 1 2 (log 3))", "2", {}},
        {"(if T 1 2 (log 3))", "1", {}},
        {"(if T (log 1) (log 2))", "1", {"1"}},
        {"(if (not T) (log 1) (log 2))", "2", {"2"}},
        {"(if 0 1 2)", "1", {}},
        {"(if 0.0 1 2)", "1", {}},
        {"(if \"\" 1 2)", "1", {}},
        {"(if '() 1 2)", "1", {}},
        {"(if () 1 2)", "2", {}},
        {"(if \"nil\" 1 2)", "2", {}},
        {"(if T)", "nil", {}},
        {"(if (not T))", "nil", {}},
        {"(if)", "nil", {}},
        // NIL is unbound: false, but its message stays.
        {"(if nil 1 2)", "2!;error; undefined symbol 'NIL'\n", {}},
    });
}

TEST_F(Evaluator, Cond) {
    expectAll({
        {"(cond)", "", {}},
        {"(cond ((not T) 1) (T 2))", "2", {}},
        {"(cond (T 1 2 3) ((log 4) 5))", "3", {}},
        {"(cond (T (log 1) (log 2)))", "2", {"1", "2"}},
        {"(cond (5))", "5", {}},
        {"(cond (T 1) (T 2))", "1", {}},
        {"(cond ((not T) (log 1) (log 2)))", "nil", {}},
        {"(cond ((not T)) ((not T) 1))", "nil", {}},
        {"(cond (\"nil\"))", "\"nil\"", {}},
        {"(cond ())", "nil", {}},
        {"(cond () (T 1))", "1", {}},
        {"(cond x)", "nil", {}},
        {"(cond (T (not T)) (T 5))", "nil", {}},
        // The failed test's message stays and makes the next test false.
        {"(cond (nil 1) (T 2))", undefined("NIL"), {}},
        {"(cond (nil 1) (7 2))", "2!;error; undefined symbol 'NIL'\n", {}},
    });
}

// A clause whose test fails evaluates nil in place of each of its other elements.
TEST_F(Evaluator, CondEvaluatesNilForAFailedClause) {
    global->Bind(intern(u"nil"), Cell::integer(9));
    EXPECT_EQ(eval("(cond ((not T) (log 1)))"), "9");
    EXPECT_EQ(eval("(cond ((not T)))"), "nil");
    EXPECT_TRUE(logged.empty());

    const Ref<Environment> empty = Environment::make(nullptr);
    error.clear();
    Eval(Parse(u"(cond ((not 1) 5))"), *empty, error);
    EXPECT_EQ(error.text(), u";error; undefined symbol 'nil'\n");
}

TEST_F(Evaluator, Not) {
    expectAll({
        {"(not)", "nil", {}},
        {"(not T)", "nil", {}},
        {"(not (not T))", "T", {}},
        {"(not 0)", "nil", {}},
        {"(not ())", "T", {}},
        {"(not '())", "nil", {}},
        {"(not \"nil\")", "T", {}},
        {"(not (not T) (log 1))", "T", {}},
    });
}

// The outcome of OR follows its first argument alone.
TEST_F(Evaluator, Or) {
    expectAll({
        {"(or T (not T))", "T", {}},
        {"(or (not T) T)", "nil", {}},
        {"(or (not T) (log 1) (log 2))", "nil", {"1", "2"}},
        {"(or T (log 1) (log 2))", "T", {"1", "2"}},
        {"(or (not T) (not T))", "nil", {}},
        {"(or 5)", "T", {}},
        {"(or (not T))", "nil", {}},
        {"(or)", "nil", {}},
        {"(or nil T)", undefined("NIL"), {}},
        {"(or T nil)", "T!;error; undefined symbol 'NIL'\n", {}},
    });
}

// AND evaluates everything.
TEST_F(Evaluator, And) {
    expectAll({
        {"(and T 1 \"x\")", "T", {}},
        {"(and (not T) (log 1) (log 2))", "nil", {"1", "2"}},
        {"(and (log 1) (not T) (log 2))", "nil", {"1", "2"}},
        {"(and T (not T) T)", "nil", {}},
        {"(and 5)", "T", {}},
        {"(and (not T))", "nil", {}},
        {"(and)", "nil", {}},
        {"(and T nil T)", undefined("NIL"), {}},
        {"(and \"x\" \"nil\")", "nil", {}},
    });
}

TEST_F(Evaluator, While) {
    expectAll({
        {"(while (not T) (log 1))", "nil", {}},
        {"(while)", "nil", {}},
        {"(begin (setq go 1) (while (log go) (log 5 6) (setq go (not T))))",
         "nil",
         {"1", "5 6", "nil"}},
        {"(begin (setq go 1) (while go (setq go (not T)) 7))", "nil", {}},
    });
}

TEST_F(Evaluator, Repeat) {
    expectAll({
        {"(repeat 3 (log 1) (log 2))", "2", {"1", "2", "1", "2", "1", "2"}},
        {"(repeat 1 5)", "5", {}},
        {"(repeat 0 (log 1))", "nil", {}},
        {"(repeat -1 (log 1))", "nil", {}},
        {"(repeat 2.0 (log 1))", "nil", {}},
        {"(repeat \"2\" (log 1))", "nil", {}},
        {"(repeat (log 2) (log 1))", "1", {"2", "1", "1"}},
        {"(repeat 2)", "nil", {}},
        {"(repeat)", "nil", {}},
    });
}

TEST_F(Evaluator, Setq) {
    expectAll({
        {"(setq)", "", {}},
        {"(setq a 1 b 2)", "2", {}},
        {"(log a b)", "1", {"1 2"}},
        {"(setq a (log b) b (log a))", "2", {"2", "2"}},
        // An odd number of operands: the last name becomes nil.
        {"(setq a)", "nil", {}},
        {"a", "nil", {}},
        {"(setq b 3 a)", "nil", {}},
        {"b", "3", {}},
        // The name is the element's text, whatever its type, and is not folded.
        {"(setq \"low\" 4)", "4", {}},
        {"low", undefined("LOW"), {}},
        {"(setq 5 6)", "6", {}},
        {"(setq 'c 7)", "7", {}},
        {" ", "7", {}},
        {"(setq c nil)", "nil", {}},
        {"c", "nil", {}},
        {"(setq d undefinedthing)", "nil", {}},
    });
    EXPECT_EQ(global->find(intern(u"low").get())->intValue(), 4);
}

TEST_F(Evaluator, SetqEmptiesTheBufferWhateverStoodThere) {
    expectAll({
        {"(begin (zzz) (setq a 1))", "1", {}},
        {"(begin (zzz) (log 1) (setq a 1) (log 2))", "2", {"2"}},
        {"(setq a (5 zzz) b (log 7))", "7", {"7"}},
        {"(setq f ((quote a)))", "nil", {}},
        // What comes after the last assignment keeps its message.
        {"(begin (setq a 1) (zzz))", undefined("ZZZ"), {}},
        // The value is computed while the old message stands.
        {"(begin (setq b 8) (zzz) (setq a b))", "nil", {}},
    });
}

TEST_F(Evaluator, Define) {
    expectAll({
        {"(define a 1)", "1", {}},
        {"a", "1", {}},
        {"(define a (log 2) (log 3))", "2", {"2"}},
        {"(define a)", "nil", {}},
        {"a", "nil", {}},
        {"(define)", "nil", {}},
        {"(define \"low\" 3)", "3", {}},
        {"(define b nil)", undefined("NIL"), {}},
        {"b", "nil", {}},
    });
    EXPECT_EQ(global->find(intern(u"low").get())->intValue(), 3);
}

TEST_F(Evaluator, Lambda) {
    expectAll({
        {"(lambda (x) x)", "", {}},
        {"((lambda (x) x 7) 3)", "3", {}},
        {"((lambda (x) (log x) (log 9)) 3)", "3", {"3"}},
        {"((lambda (x y) y) 3)", "nil", {}},
        {"((lambda (x) x) 3 4)", "3", {}},
        {"((lambda (x x) x) 3 4)", "4", {}},
        {"((lambda () 5))", "5", {}},
        {"((lambda x 5) 1)", "5", {}},
        {"((lambda (x)) 1)", "nil", {}},
        {"((lambda))", "nil", {}},
    });
    const Cell made = value("(lambda (x) x 7)");
    EXPECT_EQ(made.type(), CellType::Lambda);
    EXPECT_EQ(made.env(), global.get());
    EXPECT_EQ(PrintCell(Cell::list(made.itemSlice())), u"(LAMBDA (X) X 7)");
}

TEST_F(Evaluator, ALambdaEvaluatedByItselfIsBoundToTheCurrentScope) {
    const Cell function = value("(defun f (x) x)");
    const Ref<Environment> other = Environment::make(global.get());
    const Cell again = Eval(function, *other, error);
    EXPECT_EQ(again.type(), CellType::Lambda);
    EXPECT_EQ(again.env(), other.get());
    EXPECT_EQ(again.text(), u"F");
    EXPECT_EQ(again.items().size(), 3U);
}

TEST_F(Evaluator, Begin) {
    expectAll({
        {"(begin 1 2 3)", "3", {}},
        {"(begin (log 1) (log 2))", "2", {"1", "2"}},
        {"(begin 1)", "1", {}},
        {"(begin)", undefined("BEGIN"), {}},
        {"(begin (begin 1) (begin))", undefined("BEGIN"), {}},
    });
}

TEST_F(Evaluator, DefunNeedsThreeElements) {
    expectAll({
        {"(defun)", "nil", {}},
        {"(defun f)", "nil", {}},
        {"(f)", undefined("F"), {}},
        {"(defun f ())", "F", {}},
        // A body without forms is (BEGIN) alone.
        {"(f)", undefined("BEGIN"), {}},
    });
}

TEST_F(Evaluator, DefunMakesANamedLambda) {
    expectAll({
        {"(defun f (x / y) (setq y x) y)", "F", {}},
        {"f", "F", {}},
        {"(f 4)", "4", {}},
        {"(defun g (x) (log x) (log 2) x)", "G", {}},
        {"(g 3)", "3", {"3", "2"}},
        {"(defun h (/ y) y)", "H", {}},
        {"(h)", "0", {}},
        {"((defun k (x) x) 6)", "6", {}},
    });
    const Cell f = value("f");
    EXPECT_EQ(f.type(), CellType::Lambda);
    EXPECT_EQ(f.env(), global.get());
    EXPECT_EQ(PrintCell(Cell::list(f.itemSlice())),
              u"(LAMBDA (X) (BEGIN (DEFINE Y 0) (SETQ Y X) Y))");
}

TEST_F(Evaluator, LocalsStartAsTheIntegerZeroWithTextZero) {
    const Cell local = value("((defun f (/ y) y))");
    EXPECT_EQ(local.type(), CellType::Integer);
    EXPECT_EQ(local.intValue(), 0);
    EXPECT_EQ(local.text(), u"0");
}

TEST_F(Evaluator, LocalsDoNotReachOutside) {
    expectAll({
        {"(begin (setq y 1) (defun f (/ y) (setq y 2)) (f))", "2", {}},
        {"y", "1", {}},
        // A local with a parameter's name hides the argument.
        {"(begin (defun f (x / x) x) (f 5))", "0", {}},
    });
}

// Parameters are read from the printed list, so that whatever prints oddly is named oddly.
TEST_F(Evaluator, DefunReadsItsParametersFromTheirPrintedText) {
    const struct {
        std::string list, lambda;
    } rows[] = {
        {"()", "(LAMBDA () (BEGIN 1))"},
        {"(a b)", "(LAMBDA (A B) (BEGIN 1))"},
        {"(a b / c d)", "(LAMBDA (A B) (BEGIN (DEFINE C 0) (DEFINE D 0) 1))"},
        {"(/ c)", "(LAMBDA () (BEGIN (DEFINE C 0) 1))"},
        // Nothing behind the "/": one local without a name.
        {"(a /)", "(LAMBDA (A) (BEGIN (DEFINE  0) 1))"},
        {"(/)", "(LAMBDA () (BEGIN (DEFINE  0) 1))"},
        {"(a / b / c)", "(LAMBDA (A) (BEGIN (DEFINE B 0) 1))"},
        {"(a/b)", "(LAMBDA (A) (BEGIN (DEFINE B 0) 1))"},
        {"(a /b)", "(LAMBDA (A) (BEGIN (DEFINE B 0) 1))"},
        {"((a b))", "(LAMBDA ((A B)) (BEGIN 1))"},
        {"(\"x y\" 5 1.5)", "(LAMBDA (\"x y\" 5 1.500) (BEGIN 1))"},
        {"('a)", "(LAMBDA ((QUOTE A)) (BEGIN 1))"},
    };
    for (const auto& row : rows) {
        const Cell f = value("(defun f " + row.list + " 1)");
        EXPECT_EQ(toUtf8(PrintCell(Cell::list(f.itemSlice()))), row.lambda) << row.list;
    }
    const auto names = [&](const std::string& list) {
        Texts out;
        for (const Cell& name : value("(defun f " + list + " 1)").items()[1].items()) {
            EXPECT_EQ(name.type(), CellType::Symbol);
            out.push_back(toUtf8(name.text()));
        }
        return out;
    };
    EXPECT_EQ(names("(\"x y\" 5 1.5)"), (Texts{"\"x", "y\"", "5", "1.500"}));
    EXPECT_EQ(names("((a b))"), (Texts{"(A", "B)"}));
    EXPECT_EQ(names("((a) b)"), (Texts{"(A", "B)"}));
}

TEST_F(Evaluator, ANamelessLocalIsBoundUnderTheEmptyName) {
    EXPECT_EQ(eval("((defun f (a /) (setq 5 a) (log a)) 8)"), "8");
    EXPECT_EQ(global->find(nullptr), nullptr);
}

TEST_F(Evaluator, DefunTakesItsNameFromTheTextOfAnyType) {
    expectAll({
        {"(defun \"low\" () 1)", "low", {}},
        {"low", undefined("LOW"), {}},
        {"(defun 5 () 2)", "", {}},
        {"( )", "nil", {}},
        {"(defun (a) () 3)", "", {}},
    });
    EXPECT_EQ(global->find(intern(u"low").get())->type(), CellType::Lambda);
    EXPECT_EQ(global->find(nullptr)->type(), CellType::Lambda);
    EXPECT_TRUE(commands.added.empty());
}

TEST_F(Evaluator, ANameWithCIsRegisteredAtEveryEvaluation) {
    EXPECT_EQ(eval("(defun c:box () 1)"), "BOX");
    EXPECT_EQ(commands.added, (Texts{"BOX (BOX)"}));
    EXPECT_EQ(eval("(box)"), "1");
    EXPECT_EQ(eval("(c:box)"), undefined("C:BOX"));
    EXPECT_EQ(eval("(repeat 2 (defun c:box () 2))"), "BOX");
    EXPECT_EQ(commands.added, (Texts{"BOX (BOX)", "BOX (BOX)", "BOX (BOX)"}));
    commands.added.clear();
    EXPECT_EQ(eval("(defun c: () 3)"), "");
    EXPECT_EQ(eval("(defun \"C:Mixed\" () 4)"), "Mixed");
    EXPECT_EQ(eval("(defun \"c:low\" () 5)"), "c:low");
    EXPECT_EQ(eval("(defun c:short)"), "nil");
    EXPECT_EQ(eval("(defun c:c:twice () 6)"), "C:TWICE");
    EXPECT_EQ(commands.added, (Texts{" ()", "Mixed (Mixed)", "C:TWICE (C:TWICE)"}));
}

TEST_F(Evaluator, ANameWithCIsRegisteredAlsoInsideACallAndUnderAnError) {
    eval("(begin (defun outer () (defun c:inner () 1)) (outer))");
    EXPECT_EQ(commands.added, (Texts{"INNER (INNER)"}));
    EXPECT_EQ(eval("inner"), undefined("INNER"));
    eval("(begin (zzz) (defun c:late () 1))");
    EXPECT_EQ(commands.added.back(), "LATE (LATE)");
    EXPECT_EQ(eval("late"), "LATE");
}

TEST_F(Evaluator, WithoutAPortACommandIsAFunctionOnly) {
    setCommandPort(nullptr);
    EXPECT_EQ(eval("(defun c:box () 1)"), "BOX");
    EXPECT_EQ(eval("(box)"), "1");
}

TEST_F(Evaluator, Application) {
    expectAll({
        {"(1 2 3)", "1", {}},
        {"(1.5 (log 2))", "1.500", {"2"}},
        {"(\"a\" 1)", "\"a\"", {}},
        {"(ent (log 1))", "<Entity name: 7>", {"1"}},
        {"(set (log 1))", "<Selection set: 3>", {"1"}},
        {"(5 (log \"x\"))", "5", {"\"x\""}},
        {"((1 2) 3)", "1", {}},
        {"((quote (1 2)) 3)", notAFunction, {}},
        {"((quote a) (log 3))", notAFunction, {"3"}},
        {"(T (log 1))", notAFunction, {"1"}},
        {"(() (log 1))", notAFunction, {"1"}},
        {"((quote ()) 1)", notAFunction, {}},
        {"(zzz (log 1))", undefined("ZZZ"), {}},
        {"((zzz) (log 1))", undefined("ZZZ"), {}},
        {"(log)", "nil", {""}},
        {"(log 1 (log 2) 3)", "1", {"2", "1 2 3"}},
    });
}

// The buffer is not looked at between arguments: the procedure is called all the same.
TEST_F(Evaluator, AnErrorInAnArgumentMakesTheRestNil) {
    expectAll({
        {"(log zzz 1)", undefined("ZZZ"), {"nil 1"}},
        {"(log T zzz T)", "T!;error; undefined symbol 'ZZZ'\n", {"T nil nil"}},
        {"(log 1 (log 2) zzz (log 3))", "1!;error; undefined symbol 'ZZZ'\n", {"2", "1 2 nil nil"}},
        {"(log yyy zzz)", undefined("ZZZ"), {"nil nil"}},
        {"((lambda (x) x) zzz)", undefined("ZZZ"), {}},
        {"((lambda (x) 5) zzz)", "5!;error; undefined symbol 'ZZZ'\n", {}},
        {"(begin zzz (log 1) 5)", "5!;error; undefined symbol 'ZZZ'\n", {}},
        {"(begin zzz yyy)", undefined("YYY"), {}},
        {"(begin ((quote a)) zzz)", undefined("ZZZ"), {}},
        {"(begin zzz ((quote a)))", "nil!;error; undefined symbol 'ZZZ'\n", {}},
        {"(begin zzz '(a))", "(A)!;error; undefined symbol 'ZZZ'\n", {}},
    });
}

TEST_F(Evaluator, SpecialFormsCannotBeRedefined) {
    expectAll({
        {"(begin (setq quote 5 if 6) (quote a))", "A", {}},
        {"(defun if (a b) 9)", "IF", {}},
        {"(if T 1)", "1", {}},
        {"if", "IF", {}},
        {"((lambda (quote) (quote a)) 5)", "A", {}},
        // As a value the name is looked up like any other.
        {"quote", "5", {}},
        {"(log quote)", "5", {"5"}},
        {"while", undefined("WHILE"), {}},
        {"((quote quote) a)", notAFunction, {}},
    });
}

TEST_F(Evaluator, SpecialFormNamesAreExact) {
    const Cell form = Cell::list({Cell::symbol(u"quote"), Cell::integer(1)});
    EXPECT_EQ(Eval(form, *global, error).text(), u"nil");
    EXPECT_EQ(error.text(), u";error; undefined symbol 'quote'\n");
    error.clear();
    const Cell text = Cell::list({Cell::string(u"QUOTE"), Cell::integer(1)});
    EXPECT_EQ(Eval(text, *global, error).type(), CellType::String);
}

TEST_F(Evaluator, ThereAreThirteenInTheirOrder) {
    Texts names;
    for (const SpecialFormHelp& help : specialForms()) names.emplace_back(help.name);
    EXPECT_EQ(names, (Texts{"QUOTE", "IF", "COND", "NOT", "OR", "AND", "WHILE", "REPEAT", "SETQ",
                            "DEFINE", "DEFUN", "LAMBDA", "BEGIN"}));
    std::set<SpecialForm> marks;
    for (const std::string& name : names) marks.insert(intern(fromUtf8(name))->specialForm);
    EXPECT_EQ(marks.size(), 13U);
    EXPECT_FALSE(marks.contains(SpecialForm::none));
    EXPECT_EQ(intern(u"quote")->specialForm, SpecialForm::none);
}

TEST_F(Evaluator, AFunctionSeesTheScopeItWasMadeIn) {
    expectAll({
        {"(begin (setq x 1) (defun f () x) (defun g (x) (f)) (g 2))", "1", {}},
        {"(begin (defun make (n) (lambda () n)) (setq k (make 7)) (setq n 1) (k))", "7", {}},
        {"(begin (defun count (n) (lambda () (setq n (log n)) (5))) ((count 3)))", "3", {"3"}},
        {"(begin (defun outer (x) (defun inner () x) (inner)) (outer 4))", "4", {}},
        {"inner", undefined("INNER"), {}},
    });
}

// The cell that is running may be replaced by what it runs.
TEST_F(Evaluator, AFunctionMayRedefineItself) {
    expectAll({
        {"(defun f (x) (setq f 1) (log x) x)", "F", {}},
        {"(f 6)", "6", {"6"}},
        {"f", "1", {}},
    });
}

TEST_F(Evaluator, ALongNameIsCutInTheMessage) {
    const std::string name(400, 'N');
    EXPECT_EQ(eval(name), undefined(name).substr(0, 4 + 299));
}

}  // namespace
}  // namespace vlisp
