// Tests of core/native_code.h, with built-ins of their own: what programs give in native code is
// what the machine's loop gives, and native code is really made.
#include "core/native_code.h"

#include "core/code_cache.h"
#include "core/evaluator.h"
#include "core/interruption.h"
#include "core/intrinsics.h"
#include "core/machine.h"
#include "core/printer.h"
#include "core/reader.h"
#include "core/session.h"
#include "platform/system.h"
#include "platform/text.h"
#include "tests/core/silent_host.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace vlisp {
namespace {

// --- Built-ins ---

template <class Operation> Cell fold(Arguments arguments, Operation operation) {
    double value = arguments[0].numericValue();
    bool isReal = arguments[0].is(CellType::Real);
    for (const Cell& each : arguments.subspan(1)) {
        value = operation(value, each.numericValue());
        isReal = isReal || each.is(CellType::Real);
    }
    return isReal ? Cell::real(value) : Cell::integer(truncatedToInteger(value));
}
Cell plus(Arguments a) { return fold(a, std::plus<>()); }
Cell minus(Arguments a) { return fold(a, std::minus<>()); }
Cell times(Arguments a) { return fold(a, std::multiplies<>()); }
Cell divided(Arguments a) { return fold(a, std::divides<>()); }

Cell truth(bool isSo) { return isSo ? TrueCell : FalseCell; }
Cell less(Arguments a) { return truth(!(a[0].numericValue() >= a[1].numericValue())); }
Cell greater(Arguments a) { return truth(!(a[1].numericValue() >= a[0].numericValue())); }
Cell lessOrEqual(Arguments a) { return truth(!(a[0].numericValue() > a[1].numericValue())); }
bool same(const Cell& a, const Cell& b) {
    if (a.isNumber()) return a.numericValue() == b.numericValue();
    if (!a.is(CellType::List)) return a.text() == b.text();
    return std::ranges::equal(a.items(), b.items(), same);
}
Cell equal(Arguments a) { return truth(same(a[0], a[1])); }
Cell notEqual(Arguments a) { return truth(!same(a[0], a[1])); }

Cell item(const Cell& list, std::size_t i) {
    return i < list.items().size() ? list.items()[i] : NilCell;
}
Cell car(Arguments a) { return item(a[0], 0); }
Cell cadr(Arguments a) { return item(a[0], 1); }
Cell nth(Arguments a) {
    if (!a[0].is(CellType::Integer) || a[0].intValue() < 0) return NilCell;
    return item(a[1], static_cast<std::size_t>(a[0].intValue()));
}
Cell cdr(Arguments a) {
    const Items items = a[0].items();
    if (items.size() < 2) return NilCell;
    if (items.size() == 3 && items[1].text() == u".") return items[2];
    return Cell::list(a[0].itemSlice().part(1, items.size() - 1));
}
Cell cons(Arguments a) { return Cell::list(a[1].itemSlice().withFront(a.first(1))); }
Cell append(Arguments a) { return Cell::list(a[0].itemSlice().joined(a[1].itemSlice())); }
Cell list(Arguments a) { return Cell::list(CellSlice::copyOf(a)); }
Cell length(Arguments a) { return Cell::integer(static_cast<std::int32_t>(a[0].items().size())); }
Cell nullp(Arguments a) { return truth(a[0].items().empty()); }
Cell listp(Arguments a) { return truth(a[0].is(CellType::List)); }
Cell strcat(Arguments a) { return Cell::string(a[0].textSlice().joined(a[1].textSlice())); }
Cell strlen(Arguments a) { return Cell::integer(static_cast<std::int32_t>(a[0].text().size())); }
Cell reverse(Arguments) { throw heap::OutOfMemory(); }  // what a template calls must not throw
Cell nothing(Arguments) { return NilCell; }

struct Row {
    Intrinsic intrinsic;
    const char16_t* name;
    BuiltinProc proc;
};
constexpr Row rows[] = {
    {Intrinsic::add, u"+", plus},
    {Intrinsic::subtract, u"-", minus},
    {Intrinsic::multiply, u"*", times},
    {Intrinsic::divide, u"/", divided},
    {Intrinsic::less, u"<", less},
    {Intrinsic::greater, u">", greater},
    {Intrinsic::lessOrEqual, u"<=", lessOrEqual},
    {Intrinsic::equalSign, u"=", equal},
    {Intrinsic::equal, u"EQUAL", equal},
    {Intrinsic::notEqual, u"/=", notEqual},
    {Intrinsic::car, u"CAR", car},
    {Intrinsic::cdr, u"CDR", cdr},
    {Intrinsic::cadr, u"CADR", cadr},
    {Intrinsic::nth, u"NTH", nth},
    {Intrinsic::cons, u"CONS", cons},
    {Intrinsic::append, u"APPEND", append},
    {Intrinsic::list, u"LIST", list},
    {Intrinsic::length, u"LENGTH", length},
    {Intrinsic::nullp, u"NULLP", nullp},
    {Intrinsic::listp, u"LISTP", listp},
    {Intrinsic::strcat, u"STRCAT", strcat},
    {Intrinsic::strlen, u"STRLEN", strlen},
    {Intrinsic::reverse, u"REVERSE", reverse},
};

std::atomic<int> started = 0;
Cell tellStart(Arguments) {
    ++started;
    return TrueCell;
}

// The lambda form's body with the argument, by the way that built-ins evaluate; of a list each item.
Cell mapped(Arguments arguments) {
    FunctionBody body(arguments[0]);
    std::vector<Cell> values;
    for (const Cell& each : arguments[1].items()) values.push_back(body(Arguments(&each, 1)));
    return Cell::list(CellSlice::copyOf(values));
}

void bindAll(Environment& global) {
    global.Bind(intern(u"T"), TrueCell);
    global.Bind(intern(u"nil"), NilCell);
    // An intrinsic whose name were bound to nothing would stand in the way of all native code.
    for (int i = 1; i < static_cast<int>(Intrinsic::count); ++i) {
        Row row{static_cast<Intrinsic>(i), nullptr, nothing};
        const auto* known = std::ranges::find(rows, row.intrinsic, &Row::intrinsic);
        std::u16string name = u"OTHER-" + platform::fromUtf8(std::to_string(i));
        if (known != std::end(rows)) {
            name = known->name;
            row.proc = known->proc;
        }
        intrinsics::declare(row.intrinsic, name, row.proc);
        global.Bind(intern(name), Cell::builtin(row.proc));
    }
    global.Bind(intern(u"NOT-A-NUMBER"), Cell::real(std::numeric_limits<double>::quiet_NaN()));
    global.Bind(intern(u"INFINITE"), Cell::real(std::numeric_limits<double>::infinity()));
    global.Bind(intern(u"TELL-START"), Cell::builtin(tellStart));
    global.Bind(intern(u"MAPPED"), Cell::builtin(mapped));
}

class Threshold {
  public:
    explicit Threshold(std::uint32_t times) { native::setThreshold(times); }
    Threshold(const Threshold&) = delete;
    Threshold& operator=(const Threshold&) = delete;
    ~Threshold() { native::setThreshold(before_); }

  private:
    std::uint32_t before_ = native::threshold();
};

struct Lisp {
    Lisp() { session.StartInterpreter(1); }
    std::u16string eval(std::u16string text) {
        session.EvalString(text);
        return text;
    }
    /// Null when the name holds no function, or one that has not been called.
    const Code* codeOf(const char16_t* name) {
        const Cell& bound = globalPlace(*intern(name));
        if (!bound.is(CellType::Lambda)) return nullptr;
        return static_cast<const LambdaData*>(CellInspector::object(bound))->code.get();
    }
    bool isNative(const char16_t* name) {
        const Code* code = codeOf(name);
        return code != nullptr && code->native != nullptr;
    }

    SilentHost port;
    InterpreterSession session{{port, bindAll, u"0"}};
};

using Program = std::vector<std::u16string>;

std::string seenOf(const Program& program, std::uint32_t threshold) {
    const Threshold inForce(threshold);
    const std::size_t before = heap::used();
    std::string seen;
    {
        Lisp lisp;
        for (const std::u16string& each : program) {
            std::string text = platform::toUtf8(lisp.eval(each));
            while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
            seen += text + "\n";
        }
    }
    EXPECT_LE(heap::used(), before + 20'000) << "something is held that nobody has";
    return seen;
}

// What the last expressions of a program give, a line each, whatever is native code.
void expectEverywhere(const Program& program, const std::string& expected) {
    constexpr std::uint32_t never = 0;
    const std::string inTheLoop = seenOf(program, never);
    EXPECT_TRUE(inTheLoop.ends_with(expected)) << inTheLoop << "expected\n" << expected;
    for (const std::uint32_t threshold : {1U, 2U, 3U, 7U})
        EXPECT_EQ(seenOf(program, threshold), inTheLoop) << "threshold " << threshold;
}

// --- That there is native code ---

TEST(NativeCode, IsMadeOfAFunctionThatRanOftenAndOfNoOther) {
    ASSERT_TRUE(NativeCode::prepare());
    const Threshold inForce(5);
    Lisp lisp;
    ASSERT_EQ(intrinsics::obstacles, 0U);
    lisp.eval(u"(defun often (x) (+ x 1))");
    lisp.eval(u"(defun seldom (x) (+ x 1))");
    lisp.eval(u"(repeat 4 (often 1))");
    EXPECT_FALSE(lisp.isNative(u"OFTEN"));
    lisp.eval(u"(seldom (often 1))");
    EXPECT_TRUE(lisp.isNative(u"OFTEN"));
    EXPECT_FALSE(lisp.isNative(u"SELDOM"));
    const Code* code = lisp.codeOf(u"OFTEN");
    EXPECT_EQ(code->nativeEntry, code->native->entry());
    EXPECT_NE(code->native->entry(), nullptr);
    EXPECT_NE(code->native->placeOf(code->entry), nullptr);
    const std::size_t count = code->blocks[0]->instructions.size();
    EXPECT_NE(code->native->placeOf(code->entry + count - 1), nullptr);
    EXPECT_EQ(code->native->placeOf(code->entry + count), nullptr);
    EXPECT_EQ(lisp.eval(u"(often 41)"), u"42");
}

TEST(NativeCode, JumpsBackCountToo) {
    const Threshold inForce(50);
    Lisp lisp;
    lisp.eval(u"(defun count (i) (while (< i 100) (setq i (+ i 1))) i)");
    EXPECT_EQ(lisp.eval(u"(count 0)"), u"100");
    EXPECT_TRUE(lisp.isNative(u"COUNT")) << "after a single call";
    EXPECT_EQ(lisp.eval(u"(count 7)"), u"100");
}

TEST(NativeCode, IsNeverMadeWithoutAThreshold) {
    const Threshold inForce(0);
    Lisp lisp;
    lisp.eval(u"(defun f (x) (+ x 1))");
    lisp.eval(u"(repeat 1000 (f 1))");
    ASSERT_NE(lisp.codeOf(u"F"), nullptr);
    EXPECT_FALSE(lisp.isNative(u"F"));
}

TEST(NativeCode, OfAFunctionThatNeedsPreparingHasNoEntry) {
    const Threshold inForce(1);
    Lisp lisp;
    lisp.eval(u"(defun twice (a a) a)");
    lisp.eval(u"(defun closing (a) (lambda (x) (+ x a)))");
    EXPECT_EQ(lisp.eval(u"(begin (twice 1 2) ((closing 1) (twice 3 4)))"), u"5");
    for (const char16_t* name : {u"TWICE", u"CLOSING"}) {
        ASSERT_TRUE(lisp.isNative(name));
        EXPECT_EQ(lisp.codeOf(name)->nativeEntry, nullptr);
    }
}

TEST(NativeCode, IsNotTracedButTheLoopIs) {
    static int lines = 0;
    const Threshold inForce(1);
    Lisp lisp;
    lisp.eval(u"(defun f (i) (while (< i 9) (setq i (+ i 1))) i)");
    lisp.eval(u"(f 1)");
    ASSERT_TRUE(lisp.isNative(u"F"));
    lines = 0;
    Machine::trace([](std::u16string_view) { ++lines; });
    EXPECT_EQ(lisp.eval(u"(f 0)"), u"9");
    Machine::trace(nullptr);
    EXPECT_GT(lines, 18) << "each turn's instructions";
}

// --- The templates ---

TEST(NativeCode, ComputesIntegersAndWhatDoesNotFit) {
    expectEverywhere(
        {u"(defun f (a b) (list (+ a b) (- a b) (* a b) (/ a b)))",
         u"(defun g (a) (list (+ a 1) (- a 1) (* a 3) (/ a 2) (/ a -1) (/ a 0) (- 5 a) (/ 7 a)))",
         u"(defun h (a b c) (list (+ a b c) (- a b c) (* a b c) (/ a b c)))", u"(f 7 2)",
         u"(f -7 2)", u"(f 2147483647 -1)", u"(f -2147483648 -1)", u"(f 65536 65536)", u"(f 3 0)",
         u"(g 7)", u"(g 2147483647)", u"(g -2147483648)", u"(g 0)", u"(h 2147483647 1 -1)",
         u"(h 7 2 2)", u"(h 1 0 0)"},
        "(9 5 14 3)\n(-5 -9 -14 -3)\n"
        "(2147483646 -2147483648 -2147483647 -2147483647)\n"
        "(-2147483648 -2147483647 -2147483648 -2147483648)\n"
        "(131072 0 -2147483648 1)\n(3 3 0 -2147483648)\n"
        "(8 6 21 3 -7 -2147483648 -2 1)\n"
        "(-2147483648 2147483646 -2147483648 1073741823 -2147483647 -2147483648 -2147483642 0)\n"
        "(-2147483647 -2147483648 -2147483648 -1073741824 -2147483648 -2147483648 -2147483648 0)\n"
        "(1 -1 0 0 0 -2147483648 5 -2147483648)\n"
        "(2147483647 2147483647 -2147483647 -2147483647)\n(11 3 28 1)\n(1 1 0 -2147483648)\n");
}

TEST(NativeCode, ComputesRealsAndBothKinds) {
    expectEverywhere({u"(defun f (a b) (list (+ a b) (- a b) (* a b) (/ a b) (+ a b a)))",
                      u"(defun g (a) (list (+ a 2.5) (- 2.5 a) (* a 0.0) (/ 1.0 a) (/ a 4)))",
                      u"(f 1.5 2)", u"(f 2 1.5)", u"(f 1.5 0.5)", u"(f 3 2)", u"(f \"a\" 2)",
                      u"(f 2.5 'b)", u"(g 2)", u"(g 0.5)", u"(g '(1))"},
                     "(3.500 -0.500 3.000 0.750 5.000)\n(3.500 0.500 3.000 1.333 5.500)\n"
                     "(2.000 1.000 0.750 3.000 3.500)\n(5 1 6 1 8)\n(2 -2 0 0 2)\n"
                     "(2.500 2.500 0.000 inf 5.000)\n"
                     "(4.500 0.500 0.000 0.500 0)\n(3.000 2.000 0.000 2.000 0.125)\n"
                     "(2.500 2.500 0.000 inf 0)\n");
}

// What a number was when the code was made is not what it stays.
TEST(NativeCode, MindsNumbersThatChangeTheirKind) {
    expectEverywhere(
        {u"(defun f (x n) (repeat n (setq x (if (= x 1) 1.5 (if (= x 1.5) \"s\" 1)))) x)",
         u"(defun g (x y) (list (+ x y) (< x y) (if (> x 2) 'more 'less)))", u"(f 1 1)", u"(f 1 2)",
         u"(f 1.5 2)", u"(f \"s\" 4)", u"(g 1.5 2.5)", u"(g 3 2)", u"(g 3 2.5)", u"(g \"a\" 2)",
         u"(g 1.5 \"a\")"},
        "1.500\n\"s\"\n1\n1\n(4.000 T LESS)\n(5 nil MORE)\n(5.500 nil MORE)\n(2 T LESS)\n"
        "(1.500 nil LESS)\n");
}

TEST(NativeCode, ComparesValuesOfEveryKind) {
    const Program definitions = {
        u"(defun f (a b) (list (< a b) (> a b) (<= a b) (= a b) (/= a b)))",
        u"(defun g (a b) (list (if (< a b) 1 2) (if (> a b) 1 2) (if (<= a b) 1 2)"
        u" (if (= a b) 1 2) (if (/= a b) 1 2) (if (not (< a b)) 1 2) (if (not (= a b)) 1 2)))",
    };
    const auto with = [&](const std::u16string& arguments) {
        Program program = definitions;
        program.push_back(u"(f " + arguments + u")");
        program.push_back(u"(g " + arguments + u")");
        return program;
    };
    const std::string isLess = "(T nil T nil T)\n(1 2 1 2 1 2 1)\n";
    const std::string isSame = "(nil nil T T nil)\n(2 2 1 1 2 1 2)\n";
    const std::string isMore = "(nil T nil nil T)\n(2 1 2 2 1 1 1)\n";
    const std::string unordered = "(T T T nil T)\n(1 1 1 2 1 2 1)\n";
    const std::string differs = "(nil nil T nil T)\n(2 2 1 2 1 1 1)\n";
    expectEverywhere(with(u"1 2"), isLess);
    expectEverywhere(with(u"-1 -1"), isSame);
    expectEverywhere(with(u"2147483647 -2147483648"), isMore);
    expectEverywhere(with(u"1.5 2"), isLess);
    expectEverywhere(with(u"2 2.0"), isSame);
    expectEverywhere(with(u"0.0 -0.0"), isSame);
    expectEverywhere(with(u"infinite 1"), isMore);
    expectEverywhere(with(u"not-a-number 1"), unordered);
    expectEverywhere(with(u"1 not-a-number"), unordered);
    expectEverywhere(with(u"not-a-number not-a-number"), unordered);
    expectEverywhere(with(u"'a 'a"), isSame);
    expectEverywhere(with(u"'a 'b"), differs);
    expectEverywhere(with(u"\"text\" \"text\""), isSame);
    expectEverywhere(with(u"\"text\" \"other\""), differs);
    expectEverywhere(with(u"'(1 (2)) '(1 (2))"), isSame);
    expectEverywhere(with(u"'(1 (2)) '(1 (3))"), differs);
    expectEverywhere(with(u"(strcat \"a\" \"b\") \"ab\""), isSame);
}

TEST(NativeCode, ComparesWithConstants) {
    expectEverywhere({u"(defun f (a) (list (< a 5) (= a 5) (= a 2.5) (= a 'b) (/= a 'b) (= a \"x\")"
                      u" (= a '(1)) (if (= a 'b) 1 2) (if (/= a \"x\") 1 2) (if (> a 2.5) 1 2)))",
                      u"(f 5)", u"(f 2.5)", u"(f 'b)", u"(f \"x\")", u"(f '(1))"},
                     "(nil T nil nil T nil nil 2 1 1)\n(T nil T nil T nil nil 2 1 2)\n"
                     "(T nil nil T nil nil nil 1 1 2)\n(T nil nil nil T T nil 2 2 2)\n"
                     "(T nil nil nil T nil T 2 1 2)\n");
}

// A constant that is no number counts as 0, wherever in its buffer it begins.
TEST(NativeCode, ComparesRealsWithConstantsThatAreNoNumbers) {
    expectEverywhere({u"(setq l (cons 9 '(1 2)))",
                      u"(defun form (op) (list 'lambda '(x)"
                      u" (list op 'x (list 'quote l))))",
                      u"(mapped (form '=) '(1.0 0.0 2.0 1.0))",
                      u"(mapped (form '<) '(0.5 -0.5 0.5 1.0))"},
                     "(nil T nil nil)\n(nil T nil nil)\n");
}

TEST(NativeCode, AComparisonGoesWhereItsOperandWas) {
    expectEverywhere({u"(defun f (r a) (setq r (= r a)) (setq r (< a 3)) r)",
                      u"(defun g (r a) (setq r (= r a)) r)", u"(f \"x\" 2)", u"(f '(1) 4)",
                      u"(g \"x\" \"x\")", u"(g '(1 2) '(1 2))", u"(g 'a 'b)", u"(g 2 2)"},
                     "T\nnil\nT\nT\nnil\nT\n");
}

TEST(NativeCode, WritesNumbersOverWhatIsCounted) {
    expectEverywhere({u"(defun f (a b / c) (setq c (list a b)) (setq c (+ b 1)) (setq a (* c c))"
                      u" (setq b (strcat b b)) (setq b (- c 1)) (list a b c))",
                      u"(defun g (a) (setq a (list a)) (setq a a) (setq a (length a)) a)",
                      u"(f \"text\" 4)", u"(f '(1) 0.5)", u"(g \"a\")", u"(g '(1 2))"},
                     "(25 4 5)\n(2.250 0.500 1.500)\n1\n1\n");
}

// The locals of DEFUN start as an integer that has a text.
TEST(NativeCode, CountsFromTheZeroOfLocals) {
    expectEverywhere({u"(defun f (/ a b c) (setq a (+ a 1) b (- b 1)) (list a b c (= c 0) (< c a)"
                      u" (if c 1 2) (nullp c) (length c) (car c)))",
                      u"(defun g (n / s i) (repeat n (setq i (+ i 1) s (+ s i))) s)",
                      u"(defun h (/ n) (repeat n 5))", u"(f)", u"(f)", u"(g 10)", u"(g 0)", u"(h)"},
                     "(1 -1 0 T T 1 T 0 nil)\n(1 -1 0 T T 1 T 0 nil)\n55\n0\nnil\n");
}

TEST(NativeCode, TakesListsApart) {
    expectEverywhere(
        {u"(defun f (l) (list (car l) (cdr l) (cadr l) (nth 1 l) (nth -1 l) (nth 1.0 l) (length l)"
         u" (nullp l) (listp l) (if (nullp l) 1 2) (if (nullp (cdr l)) 1 2)))",
         u"(f '())", u"(f '(1))", u"(f '(1 2 3))", u"(f '(a . b))", u"(f '(1 \"\" 3))",
         u"(f '(1 x 3))", u"(f \"text\")", u"(f 5)", u"(f 'a)", u"(f '((1) \"b\" c d))"},
        "(nil nil nil nil nil nil 0 T T 1 1)\n(1 nil nil nil nil nil 1 nil T 2 1)\n"
        "(1 (2 3) 2 2 nil nil 3 nil T 2 2)\n(A B . . nil nil 3 nil T 2 1)\n"
        "(1 (\"\" 3) \"\" \"\" nil nil 3 nil T 2 2)\n(1 (X 3) X X nil nil 3 nil T 2 2)\n"
        "(nil nil nil nil nil nil 0 T nil 1 1)\n(nil nil nil nil nil nil 0 T nil 1 1)\n"
        "(nil nil nil nil nil nil 0 T nil 1 1)\n"
        "((1) (\"b\" C D) \"b\" \"b\" nil nil 4 nil T 2 2)\n");
}

TEST(NativeCode, TakesAListApartInItsOwnPlace) {
    expectEverywhere(
        {u"(defun f (l) (setq l (car l)) (setq l (car l)) l)",
         u"(defun g (l i) (setq i (nth i l)) (setq l (nth 0 l)) (list i l))",
         u"(defun h (l / r) (setq r '()) (while (not (nullp l)) (setq r (cons (car l) r))"
         u" (setq l (cdr l))) r)",
         u"(f '(((a b) 1) 2))", u"(f '(\"a\"))", u"(g '((1) (2)) 1)", u"(g \"a\" 0)",
         u"(h '(1 \"b\" (c) d))", u"(h '(1 2 . 3))", u"(length (h (h '(1 2 3))))"},
        "(A B)\nnil\n((2) (1))\n(nil nil)\n(D (C) \"b\" 1)\n(2 1)\n3\n");
}

TEST(NativeCode, GrowsListsAndTextsThatOthersSee) {
    expectEverywhere(
        {u"(defun f (l / a b) (setq a (cons 0 l) b (cons 9 l)) (setq a (append a (list 1)))"
         u" (setq b (append b (list 2))) (list a b l))",
         u"(defun g (s / a b) (setq a (strcat s \"a\") b (strcat s \"b\")) (setq a (strcat a a))"
         u" (list a b s (strlen a)))",
         u"(defun h (n / l s) (setq l '() s \"\") (repeat n (setq l (cons n l) s (strcat s \"ab\"))"
         u" (setq l (append l (list n)))) (list (length l) (strlen s)))",
         u"(setq l '(1 2))", u"(f l)", u"(f (cdr (cons 7 l)))", u"(g \"x\")",
         u"(g (strcat \"x\" \"y\"))", u"(h 50)"},
        "((0 1 2 1) (9 1 2 2) (1 2))\n((0 1 2 1) (9 1 2 2) (1 2))\n"
        "(\"xaxa\" \"xb\" \"x\" 4)\n(\"xyaxya\" \"xyb\" \"xy\" 6)\n(100 100)\n");
}

TEST(NativeCode, KnowsWhatIsTrue) {
    expectEverywhere(
        {u"(setq false (< 2 1))",
         u"(defun f (x) (list (if x 1 2) (not x) (or x) (and x T) (cond (x) (T 5))"
         u" (cond ((= x 1) 7) (x 8))))",
         u"(defun g (x / n) (setq n 0) (while x (setq n (+ n 1)) (if (= n 3) (setq x \"nil\"))) n)",
         u"(f 0)", u"(f 1)", u"(f 0.0)", u"(f \"\")", u"(f \"nil\")", u"(f '())", u"(f false)",
         u"(f 'a)", u"(f car)", u"(g 1)", u"(g '())", u"(g \"nil\")", u"(g false)"},
        "(1 nil T T 0 8)\n(1 nil T T 1 7)\n(1 nil T T 0.000 8)\n(1 nil T T \"\" 7)\n"
        "(2 T nil nil 5 nil)\n(1 nil T T () 7)\n(2 T nil nil 5 nil)\n(1 nil T T A 8)\n"
        "(1 nil T T <Proc> 7)\n3\n3\n0\n0\n");
}

TEST(NativeCode, RepeatsCountsAlone) {
    expectEverywhere({u"(defun f (n / s) (list (repeat n (setq s (+ s 1))) s))", u"(f 3)", u"(f 0)",
                      u"(f -5)", u"(f 2.5)", u"(f \"3\")"},
                     "(3 3)\n(nil 0)\n(nil 0)\n(nil 0)\n(nil 0)\n");
}

TEST(NativeCode, ReadsAndAssignsGlobalNames) {
    expectEverywhere({u"(setq n 1 s \"text\")",
                      u"(defun f (x) (setq n (+ n x)) (setq s (list n s)) (if n (setq fresh s)) n)",
                      u"(f 1)", u"(f 0.5)", u"(list n s fresh)", u"(defun g () (if unbound 1 2))",
                      u"(g)", u"(setq unbound T)", u"(g)"},
                     ";error; undefined symbol 'UNBOUND'\nT\n1\n");
}

TEST(NativeCode, ReadsNamesThatAreBoundInTheMiddle) {
    expectEverywhere(
        {u"(setq m 42)",
         u"(defun f (a / r) (setq r '()) (repeat 3 (setq r (cons m r)) (define m a)) r)",
         u"(defun g (a) (list (f a) (f (list a))))", u"(g 1)", u"(g \"x\")", u"m"},
        "((1 1 42) ((1) (1) 42))\n((\"x\" \"x\" 42) ((\"x\") (\"x\") 42))\n42\n");
}

TEST(NativeCode, ReadsAndAssignsScopes) {
    expectEverywhere(
        {u"(defun make (a / b) (setq b 5) (lambda (c) (begin (setq b (+ b c) a (list a c))"
         u" (list a b c))))",
         u"(setq one (make 1) two (make \"t\"))", u"(one 1)", u"(one 2.5)", u"(two 1)",
         u"(one '(x))", u"(defun far (a) (lambda (b) (lambda (c) (begin (setq a (+ a b c)) a))))",
         u"(setq f ((far 1) 2))", u"(f 1)", u"(f 2)", u"(list (f 3) (f 4))"},
        "4\n8\n(13 19)\n");
}

// --- Calls ---

TEST(NativeCode, CallsWithArgumentsOfAnyNumber) {
    expectEverywhere(
        {u"(defun f (a b c) (list a b c))", u"(defun l (a / b) (setq b (list a b)) b)",
         u"(defun tw (a a) (list a a))",
         u"(defun g () (list (f) (f 1) (f 1 2 3) (f \"a\" '(b) 'c \"d\" '(e)) (l 1) (l)"
         u" (l \"x\" 2) (tw 1 2) (tw 1) (tw 1 2 3)))",
         u"(g)", u"(length (list (g) (g)))"},
        "((nil nil nil) (1 nil nil) (1 2 3) (\"a\" (B) C) (1 0) (nil 0) (\"x\" 0) "
        "(2 2) (nil nil) (2 2))\n2\n");
}

TEST(NativeCode, CallsWhatStandsInARegister) {
    expectEverywhere({u"(defun app (f x) (f x))", u"(defun own (f x) (setq f (f x)) f)",
                      u"(app car '(1 2))", u"(app (lambda (y) (list y y)) \"a\")", u"(app 5 3)",
                      u"(own (lambda (y) (+ y 1)) 5)", u"(own (lambda (y z) (list y z)) 5)",
                      u"(app '(1) 2)", u"(app app 1)", u"((lambda (x) (* x x)) 5)"},
                     "1\n(\"a\" \"a\")\n5\n6\n(5 nil)\n;error; not a function!\n1\n25\n");
}

TEST(NativeCode, RecursesIntoItselfAndOthers) {
    expectEverywhere({u"(defun fib (n) (if (< n 2) n (+ (fib (- n 1)) (fib (- n 2)))))",
                      u"(defun even (n) (if (= n 0) T (odd (- n 1))))",
                      u"(defun odd (n) (if (= n 0) '() (even (- n 1))))",
                      u"(defun down (n l) (if (> n 0) (cons n (down (- n 1) (list n l))) l))",
                      u"(fib 15)", u"(fib 2.5)", u"(even 5000)", u"(odd 5000)",
                      u"(length (down 3000 \"a\"))"},
                     "610\n2.000\nT\n()\n3002\n");
}

TEST(NativeCode, SurvivesThatTheRunningFunctionIsRedefined) {
    expectEverywhere(
        {u"(defun times (n) (* n 100))",
         u"(defun f (n) (if (= n 3) (setq f times)) (if (< n 6) (f (+ n 1)) n))", u"(f 0)",
         u"(f 0)", u"(defun g (n) (if (> n 0) (g (- n 1)) (setq g 5)) (list n g))", u"(g 4)",
         u"(g 4)", u"(defun h (f n) (setq h 7) (setq f 8) (setq n (+ n 1)) (list f n h))",
         u"(h h 1)",
         u"(defun w (i) (while (< i 50) (setq i (+ i 1)) (if (= i 25) (setq w '()))) i)", u"(w 0)"},
        "400\n0\nG\n(4 5)\n5\nH\n(8 2 7)\nW\n50\n");
}

TEST(NativeCode, MindsThatABuiltinIsReboundInTheMiddle) {
    expectEverywhere(
        {u"(setq plus + first car)",
         u"(defun f (i / r) (setq r '()) (while (< i 6) (setq i (plus i 1))"
         u" (if (= i 3) (setq + -)) (setq r (cons (+ 10 i) r))) r)",
         u"(f 0)", u"(setq + plus)", u"(list (+ 1 2) (length (f 0)))", u"(setq + plus)",
         u"(defun g (l / r) (setq r '()) (repeat 4 (setq r (cons (car l) r))"
         u" (if (= (length r) 2) (setq car cdr))) r)",
         u"(g '(1 2 3))", u"(setq car first)", u"(car '(1 2 3))", u"(defun h (x + ) (+ x))",
         u"(h '(1 2) car)", u"(h '(1 2) cdr)"},
        "(4 5 6 7 12 11)\n<Proc>\n(3 6)\n<Proc>\nG\n((2 3) (2 3) 1 1)\n<Proc>\n1\nH\n1\n(2)\n");
}

TEST(NativeCode, IsNilWhereAnErrorStands) {
    expectEverywhere({u"(defun f (i / r) (setq r '()) (repeat 4 (setq i (+ i 1)) (if (= i 2) (zzz))"
                      u" (setq r (cons i r))) r)",
                      u"(defun g (i) (list i (zzz i) i (+ i 1)))", u"(f 0)", u"(g 1)", u"(g 2)"},
                     "(4 3)\n;error; undefined symbol 'ZZZ'\n"
                     ";error; undefined symbol 'ZZZ'\n");
}

TEST(NativeCode, EvaluatesForBuiltins) {
    expectEverywhere({u"(setq n 0 plus +)", u"(mapped '(lambda (x) (+ x 1)) '(1 2.5 \"a\" (b)))",
                      u"(mapped '(lambda (x) (begin (setq n (+ n 1)) (list n x))) '(a \"b\"))",
                      u"(mapped '(lambda (x) (length (mapped '(lambda (y) (cons y x)) x)))"
                      u" '((1) (1 2) ()))",
                      u"(mapped '(lambda (x) (if (= x 2) (zzz) (+ x 1))) '(1 2 3))",
                      u"(mapped '(lambda (x y) (list x y)) '(1 2))",
                      u"(mapped '(lambda (x) (begin (if (= x 2) (setq + -)) (+ x 1))) '(1 2 3))",
                      u"(length (list (setq + plus)))",
                      u"(defun down (n) (if (> n 0) (+ 1 (down (- n 1))) 0))",
                      u"(mapped '(lambda (x) (down x)) '(3 3000))"},
                     "(1 2 0)\n(2 nil 4)\n((1 nil) (2 nil))\n(2 1 2)\n1\nDOWN\n(3 3000)\n");
}

// --- How it ends ---

TEST(NativeCode, LeavesWhatFailsToTheLoop) {
    const Program program = {u"(defun f (x) (length (reverse (cons x '()))))", u"(f 1)", u"(f 2)",
                             u"(+ 1 2)"};
    expectEverywhere(program, "\n3\n");
    EXPECT_NE(seenOf(program, 1).find(platform::toUtf8(messages::outOfMemory)), std::string::npos);
}

TEST(NativeCode, RunawayRecursionEndsAndAllIsAsBefore) {
    const Threshold inForce(1);
    Lisp lisp;
    lisp.eval(u"(defun f (x l) (+ 1 (f x l)))");
    EXPECT_EQ(lisp.eval(u"(f \"text\" 1)"), messages::tooDeep);
    EXPECT_TRUE(lisp.isNative(u"F"));
    const std::size_t before = heap::used();
    EXPECT_EQ(lisp.eval(u"(f \"text\" 1)"), messages::tooDeep);
    EXPECT_EQ(heap::used(), before) << "all registers are empty again";
    EXPECT_FALSE(interruption::pending());
    lisp.eval(u"(defun down (n) (if (> n 0) (+ 1 (down (- n 1))) 0))");
    EXPECT_EQ(lisp.eval(u"(down 1000)"), u"1000");
}

// Each kind of jump back, each of them alone in its loop.
TEST(NativeCode, EveryLoopCanBeCancelled) {
    const char16_t* const loops[] = {
        u"(while T)",
        u"(while x)",
        u"(while (not y))",
        u"(while (< 1 x))",
        u"(while (= y y))",
        u"(while (< x 9) (setq y x))",
        u"(while (nullp z))",
        u"(while (not (nullp (cdr '(1 2)))))",
        u"(while T (setq y (+ x 1)))",
        u"(while (or x))",
        u"(while T (repeat 1000 (setq z '())))",
        u"(repeat 2000000000 (setq y x))",
        u"(repeat 2000000000 (setq z (cdr '(1 2))))",
        u"(while T (g x))",
        u"(while (g (g x)))",
        u"(while T (mapped '(lambda (x) (+ x 1)) '(1 2 3)))",
        // With an error nothing is called any more, and the test comes back from a detour.
        u"(while (not (nullp '(1))) (g (nowhere 1)))",
    };
    const Threshold inForce(1);
    Lisp lisp;
    lisp.eval(u"(defun g (x) (if (> x 5) x (+ x 1)))");
    for (const char16_t* loop : loops) {
        lisp.eval(u"(defun f (x y z) (tell-start) " + std::u16string(loop) + u")");
        started = 0;
        std::thread user([&] {
            while (started == 0) std::this_thread::yield();
            // By then the loop runs; if not, it ends all the same.
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
            interruption::request(interruption::Reason::cancelled);
        });
        const std::u16string answer = lisp.eval(u"(f 2 (< 2 1) '())");
        user.join();
        EXPECT_EQ(answer, messages::cancelled) << platform::toUtf8(loop);
        EXPECT_TRUE(lisp.isNative(u"F")) << platform::toUtf8(loop);
        EXPECT_FALSE(interruption::pending());
        EXPECT_EQ(lisp.eval(u"(g 1)"), u"2");
    }
}

TEST(NativeCode, DiesWithItsFunction) {
    const Threshold inForce(1);
    Lisp lisp;
    lisp.eval(u"(defun f (x) (+ x 1))");
    lisp.eval(u"(f 1)");
    ASSERT_TRUE(lisp.isNative(u"F"));
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(lisp.eval(u"(begin (defun f (x) (list x x)) (f (f 1)))"), u"((1 1) (1 1))");
        EXPECT_EQ(lisp.eval(u"(begin (defun f (x) (+ x 1)) (f (f 1)))"), u"3");
    }
}

}  // namespace
}  // namespace vlisp
