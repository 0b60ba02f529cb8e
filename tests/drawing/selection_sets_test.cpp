// Tests of drawing/selection_sets.h.
#include "drawing/selection_sets.h"

#include "builtins/registry.h"
#include "core/evaluator.h"
#include "drawing/builtins.h"
#include "drawing/entity_data.h"
#include "tests/drawing/drawing_test.h"

#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace vlisp {
namespace {

using test::assign;
using test::exact;
using test::nameOf;
using test::number;
using test::pair;
using test::real;
using test::reply;
using test::setOf;
using test::text;

using Ids = std::vector<HostLong>;

Cell lambdaNamed(std::u16string_view name) { return Cell::lambda({}, nullptr, intern(name)); }

class SelectionSets : public test::DrawingTest {
  protected:
    // 1 line, 2 circle (red), 3 circle, 4 text on WALLS, 5 erased circle, 6 an empty slot,
    // 7 of unknown type.
    void drawSome() {
        host.add<VmDbLine>(vmDbLine, {{0, 0, 0}, {10, 5, 0}});
        auto& red = host.add<VmDbCircle>(vmDbCircle, {{1, 2, 3}});
        red.colour = 1;
        red.radius = 2.5;
        host.add<VmDbCircle>(vmDbCircle, {{4, 5, 0}}).radius = 2;
        auto& line = host.add<VmDbText>(vmDbText, {{1, 2, 0}});
        assign(line.layerName, u"WALLS");
        assign(line.text, u"Hello");
        line.height = 2.5;
        host.add<VmDbCircle>(vmDbCircle).erased = 1;
        host.slots.emplace_back();
        host.add<VmDbObject>(99999);
    }

    // Members of the set that is the result.
    Ids membersOf(const Cell& set) const {
        EXPECT_TRUE(set.is(CellType::SelectionSet)) << exact(set);
        if (!set.is(CellType::SelectionSet)) return {};
        return host.sets.at(static_cast<std::size_t>(std::stoi(platform::toUtf8(set.text())) - 1));
    }

    // Members of what (ssget "X" FILTER) gives; FILTER is an expression.
    Ids filtered(const std::string& filter) {
        eval("(setq ss (ssget \"X\" " + filter + "))");
        const Cell* set = GlobalEnvironment().find(intern(u"SS").get());
        return set == nullptr ? Ids{-99} : membersOf(*set);
    }
};

// --- SSGET of everything ---

TEST_F(SelectionSets, OfAnEmptyDrawingTheSetIsEmptyNotNil) {
    const Cell set = call(ssget, {text(u"X")});
    EXPECT_EQ(exact(set), "@1");
    EXPECT_EQ(exact(call(sslength, {set})), "0");
    EXPECT_EQ(exact(call(ssname, {set, number(0)})), "nil");
}

TEST_F(SelectionSets, XSelectsEverything) {
    drawSome();
    const Cell set = call(ssget, {text(u"X")});
    EXPECT_EQ(membersOf(set), (Ids{1, 2, 3, 4, 7}));
    EXPECT_EQ(host.opened, 0) << "the host does it";
    EXPECT_TRUE(host.log.empty()) << "nobody is asked";
}

TEST_F(SelectionSets, EveryCallMakesASetOfItsOwn) {
    drawSome();
    for (int i = 1; i <= 12; ++i) {
        const Cell set = call(ssget, {text(u"X")});
        EXPECT_EQ(exact(set), "@" + std::to_string(i));
        EXPECT_EQ(host.sets.size(), static_cast<std::size_t>(i));
    }
    EXPECT_EQ(membersOf(setOf(u"1")), membersOf(setOf(u"12")));
}

TEST_F(SelectionSets, TheTextXCountsWhateverTheType) {
    drawSome();
    for (const Cell& mode : {text(u"X"), Cell::symbol(u"X"), nameOf(u"X"), setOf(u"X"),
                             lambdaNamed(u"X"), Cell::integer(5, intern(u"X"))}) {
        EXPECT_EQ(membersOf(call(ssget, {mode})), (Ids{1, 2, 3, 4, 7})) << exact(mode);
    }
    EXPECT_TRUE(host.posted.empty());
    EXPECT_EQ(eval("(sslength (ssget 'x))"), "5");
    EXPECT_EQ(eval("(sslength (ssget (quote X)))"), "5");
}

TEST_F(SelectionSets, AnyOtherTextAsks) {
    drawSome();
    for (const char16_t* mode : {u"x", u"XX", u" X", u"X ", u"", u"ALL", u"\u0425"}) {
        EXPECT_EQ(exact(call(ssget, {text(mode), Cell::list({})})), "nil");
        ASSERT_EQ(host.posted.size(), 1u);
        EXPECT_EQ(std::u16string(host.posted[0].messageText), mode);
        host.posted.clear();
    }
    EXPECT_TRUE(host.sets.empty());
}

TEST_F(SelectionSets, SetsPrintTheirNumberInHexadecimalWithoutABase) {
    EntityNameBase = 5'000'000;
    EXPECT_EQ(eval("(ssget \"X\")"), "<Selection set: 1>");
    for (int i = 2; i < 27; ++i) eval("(ssget \"X\")");
    EXPECT_EQ(eval("(ssget \"X\")"), "<Selection set: 1b>");
}

// --- SSGET with a filter ---

TEST_F(SelectionSets, AFilterKeepsWhatHasEveryEntry) {
    drawSome();
    const std::vector<std::pair<std::string, Ids>> cases{
        {"'((0 . \"LINE\"))", {1}},
        {"'((0 . \"CIRCLE\"))", {2, 3}},
        {"'((0 . \"TEXT\"))", {4}},
        {"'((0 . \"ARC\"))", {}},
        {"'((8 . \"0\"))", {1, 2, 3}},
        {"'((8 . \"WALLS\"))", {4}},
        {"'((0 . \"CIRCLE\") (62 . 1))", {2}},
        {"'((62 . 1) (0 . \"CIRCLE\"))", {2}},
        {"'((0 . \"CIRCLE\") (62 . 2))", {}},
        {"'((0 . \"CIRCLE\") (8 . \"0\") (40 . 2.5))", {2}},
        {"'((0 . \"LINE\") (62 . 1))", {}},
        // By layer there is no entry: it never matches, not by its own number either.
        {"'((62 . 256))", {}},
        {"'((370 . -1))", {}},
        {"'((67 . 0))", {1, 2, 3, 4}},
        // Two entries of one code: both must be the first of that code.
        {"'((0 . \"CIRCLE\") (0 . \"CIRCLE\"))", {2, 3}},
        {"'((0 . \"CIRCLE\") (0 . \"LINE\"))", {}},
        // Texts are compared exactly, numbers by value.
        {"'((0 . \"circle\"))", {}},
        {"'((0 . \"CIR*\"))", {}},
        {"'((0 . CIRCLE))", {2, 3}},
        {"'((40 . 2))", {3}},
        {"'((40 . 2.0))", {3}},
        {"'((40 . 2.5))", {2, 4}},
        {"'((62 . 1.0))", {2}},
        {"'((1 . \"Hello\"))", {4}},
        // Points are whole lists, and only the first of a line counts.
        {"'((10 0.0 0.0 0.0))", {1}},
        {"'((10 0 0 0))", {1}},
        {"'((10 10.0 5.0 0.0))", {}},
        {"'((10 1.0 2.0 0.0))", {2, 4}},
        {"'((10 1.0 2.0 3.0))", {}},
        {"'((10 1.0 2.0))", {}},
        // By name.
        {"(list (cons -1 (entnext)))", {1}},
        {"(list (assoc -1 (entget (entnext (entnext)))))", {2}},
        // Without entries everything that can be read is kept.
        {"'()", {1, 2, 3, 4}},
        {"(car ())", {1, 2, 3, 4}},
        {"5", {1, 2, 3, 4}},
        // The walk over the filter stops at an element that is nil.
        {"(list '(0 . \"CIRCLE\") (car ()) '(8 . \"NONE\"))", {2, 3}},
        {"(list (car ()) '(8 . \"NONE\"))", {1, 2, 3, 4}},
        // Elements that are no entries match nothing.
        {"'(5)", {}},
        {"'((0 . \"CIRCLE\") 5)", {}},
        {"'((0))", {}},
        {"'((0 \"CIRCLE\"))", {}},
        {"'(())", {}},
        {"'((9999 . 1))", {}},
    };
    for (const auto& [filter, members] : cases) EXPECT_EQ(filtered(filter), members) << filter;
}

TEST_F(SelectionSets, MembersStandInTheOrderOfTheFullSet) {
    for (int i = 0; i < 5; ++i) host.add<VmDbCircle>(vmDbCircle).id = 50 - 10 * i;
    EXPECT_EQ(filtered("'((0 . \"CIRCLE\"))"), (Ids{50, 40, 30, 20, 10}));
}

TEST_F(SelectionSets, AFilterLeavesTheFullSetWithTheHost) {
    drawSome();
    EXPECT_EQ(filtered("'((0 . \"LINE\"))"), (Ids{1}));
    EXPECT_EQ(host.sets, (std::vector<Ids>{{1}, {1, 2, 3, 4, 7}}));
    EXPECT_EQ(exact(*GlobalEnvironment().find(intern(u"SS").get())), "@1");
    EXPECT_EQ(host.openedForChange, 0);
    EXPECT_TRUE(host.log.empty()) << "nobody is asked";
}

TEST_F(SelectionSets, ArgumentsBehindTheFilterAreIgnored) {
    drawSome();
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((0 . \"LINE\")) '((0 . \"CIRCLE\"))))"), "1");
    EXPECT_EQ(eval("(sslength (ssget 'X '((0 . \"CIRCLE\")) 5 6))"), "2");
}

TEST_F(SelectionSets, AFilterOfManyEntities) {
    for (int i = 0; i < 300; ++i) {
        if (i % 3 == 0) host.add<VmDbCircle>(vmDbCircle);
        else host.add<VmDbLine>(vmDbLine);
    }
    EXPECT_EQ(filtered("'((0 . \"CIRCLE\"))").size(), 100u);
}

// --- SSFILTER bound to something else ---

TEST_F(SelectionSets, AProgramMayRedefineTheFilter) {
    drawSome();
    const std::vector<std::pair<std::string, Ids>> definitions{
        {"(defun ssfilter (f) (list (entget (entnext))))", {1}},
        {"(defun ssfilter (f) (list (list f)))", {3}},
        {"(defun ssfilter (f g) (list (list f) (list g)))", {3}},
        {"(defun ssfilter () (list (entget (entnext))))", {1}},
        // A member twice is a member once, as the host has it.
        {"(defun ssfilter (f) (list (list f) (entget (entnext)) (list f)))", {3, 1}},
        {"(setq ssfilter (lambda (f) (list (list f))))", {3}},
        // Only the first body form of a LAMBDA is evaluated.
        {"(setq ssfilter (lambda (f) (list (list f)) (princ \"never\")))", {3}},
        {"(setq ssfilter (lambda (f)))", {}},
        // A built-in function.
        {"(setq ssfilter list)", {}},
        {"(setq ssfilter car)", {}},
        // What is no function gives nothing.
        {"(setq ssfilter 5)", {}},
        {"(setq ssfilter \"text\")", {}},
        {"(setq ssfilter 'car)", {}},
        {"(setq ssfilter '(lambda (f) (list (list f))))", {}},
        {"(setq ssfilter (car ()))", {}},
        {"(setq ssfilter (entlast))", {}},
        // Nor does one that fails.
        {"(defun ssfilter (f) (no-such-function f))", {}},
        {"(defun ssfilter (f) no-such-value)", {}},
    };
    for (const auto& [definition, members] : definitions) {
        SCOPED_TRACE(definition);
        eval(definition);
        host.shown.clear();
        const std::size_t sets = host.sets.size();
        EXPECT_EQ(filtered("(cons -1 (entnext (entnext (entnext))))"), members);
        EXPECT_EQ(host.sets.size(), sets + 1);
        EXPECT_TRUE(host.shown.empty()) << "no message";
    }
    // The function LIST gives the filter itself in a list: its entry is a name.
    eval("(setq ssfilter list)");
    EXPECT_EQ(filtered("(list (cons -1 (entlast)))"), Ids{7});
}

TEST_F(SelectionSets, ElementsOfOtherShapesAreSkipped) {
    drawSome();
    const std::vector<std::pair<std::string, Ids>> results{
        {"(car ())", {}},
        {"5", {}},
        {"\"text\"", {}},
        {"e", {}},
        {"'()", {}},
        {"(list e)", {}},
        {"(list 5 (car ()) \"x\" car)", {}},
        {"(list '())", {}},
        {"(list '(()))", {}},
        {"(list (list e))", {}},
        {"(list (list (list e)))", {}},
        {"(list (list (list -1 e)))", {}},
        {"(list (list (list -1 e e)))", {1}},
        {"(list (list (list 5 6 e)))", {1}},
        {"(list (list (list 5 6 e 7 8)))", {1}},
        {"(list (list (list 5 6 \"1\")))", {}},
        {"(list (list (list 5 6 1)))", {}},
        {"(list (list '(0 . \"LINE\") (cons -1 e)))", {}},
        {"(list (list (cons -1 e) '(0 . \"LINE\")))", {1}},
        // The third element of the first element, in spite of the second.
        {"(list 5 (list (cons -1 (entnext e))) '() (list (cons -1 e)) \"x\")", {2, 1}},
    };
    eval("(setq e (entnext))");
    eval("(defun ssfilter (f) f)");
    for (const auto& [result, members] : results) EXPECT_EQ(filtered(result), members) << result;
}

TEST_F(SelectionSets, TheFiltersNamesAreDecodedAsAnyOther) {
    drawSome();
    // The entity need not exist: the host decides.
    const auto gives = [&](const Cell& value) {
        GlobalEnvironment().Bind(intern(u"FOUND"), value);
        eval("(defun ssfilter (f) found)");
        return filtered("'()");
    };
    EXPECT_EQ(gives(Cell::list({Cell::list({pair(-1, nameOf(u" 3x"))})})), Ids{3});
    EXPECT_EQ(gives(Cell::list({Cell::list({pair(-1, nameOf(-8))})})), Ids{-8});
    EXPECT_EQ(gives(Cell::list({Cell::list({pair(-1, nameOf(u"none"))})})), Ids{0});
}

// The call's scope stands in the global one, wherever the function was made.
TEST_F(SelectionSets, TheFilterSeesGlobalNames) {
    drawSome();
    eval("(setq found (list (entget (entnext))))");
    eval("(defun make (found) (setq ssfilter (lambda (f) found)))");
    eval("(make 5)");
    EXPECT_EQ(filtered("'()"), Ids{1});
}

TEST_F(SelectionSets, TheFilterMayBindItsOwnNameAnew) {
    drawSome();
    eval("(defun ssfilter (f) (setq ssfilter 5) (list (entget (entnext))))");
    EXPECT_EQ(filtered("'()"), Ids{1});
    EXPECT_EQ(filtered("'()"), Ids{});
}

TEST_F(SelectionSets, WithoutTheFilterFunctionTheUsualMessageIsShown) {
    module.reset();
    HandshakePort port;
    InterpreterSession session(
        {port, [](Environment& global) { RegisterBuiltins(global, drawingBuiltins()); }, u"0"});
    session.StartInterpreter(1);
    drawSome();
    const Cell set = call(ssget, {text(u"X"), Cell::list({pair(0, text(u"LINE"))})});
    EXPECT_EQ(membersOf(set), Ids{});
    EXPECT_EQ(host.shown, std::vector<std::u16string>{u";error; undefined symbol 'SSFILTER'\n"});
    EXPECT_TRUE(host.posted.empty());
    EXPECT_EQ(host.sets.size(), 1u);
    // Without a filter it is not needed.
    host.shown.clear();
    EXPECT_EQ(membersOf(call(ssget, {text(u"X")})).size(), 5u);
    EXPECT_TRUE(host.shown.empty());
}

TEST_F(SelectionSets, AnErrorBeforeDoesNotReachTheFilter) {
    drawSome();
    // NIL is unbound: its message stands in the line's buffer while SSGET runs.
    EXPECT_EQ(eval("(sslength (ssget \"X\" nil))"), ";error; undefined symbol 'NIL'\n");
    ASSERT_FALSE(host.sets.empty());
    EXPECT_EQ(host.sets[0], (Ids{1, 2, 3, 4}));
}

// --- SSGET by picking ---

TEST_F(SelectionSets, AsksForASelection) {
    drawSome();
    host.answers = {reply(3, 0, 0, {}, 2)};
    host.selected = {4, 1};
    const Cell set = call(ssget);
    EXPECT_EQ(exact(set), "@1");
    EXPECT_EQ(membersOf(set), (Ids{4, 1}));
    EXPECT_EQ(host.log, (std::vector<std::string>{"Clear", "Post 1"}));
    ASSERT_EQ(host.posted.size(), 1u);
    EXPECT_EQ(host.posted[0].kind, 1);
    EXPECT_EQ(host.posted[0].mode, 3);
    EXPECT_EQ(std::u16string(host.posted[0].messageText), u"Select objects: ");
    EXPECT_FALSE(handshake().waitingForReply);
}

TEST_F(SelectionSets, ItIsTheSharedRecordThatAsks) {
    HostRequest& shared = handshake().userInput;
    shared.mode = 0;
    shared.kind = 3;
    shared.hasBasePoint = true;
    shared.x = 5;
    call(ssget);
    EXPECT_EQ(shared.mode, 3);
    EXPECT_EQ(shared.kind, 1);
    EXPECT_EQ(std::u16string(shared.messageText), u"Select objects: ");
    EXPECT_TRUE(host.posted.at(0).hasBasePoint) << "what it does not need it leaves";
    EXPECT_EQ(host.posted.at(0).x, 5);
}

TEST_F(SelectionSets, OnlyASelectionOfSomethingMakesASet) {
    host.selected = {1, 2};
    constexpr int largest = std::numeric_limits<int>::max();
    struct Case {
        int mode, count;
        bool isSet;
    };
    for (const auto& [mode, count, isSet] : std::vector<Case>{{3, 1, true},
                                                              {3, 2, true},
                                                              {3, largest, true},
                                                              {3, 0, false},
                                                              {3, -1, false},
                                                              {3, -largest, false},
                                                              {0, 1, false},
                                                              {1, 1, false},
                                                              {2, 1, false},
                                                              {4, 1, false},
                                                              {-3, 1, false},
                                                              {0, 0, false},
                                                              {5, 2, false}}) {
        host.sets.clear();
        host.answers = {reply(mode, 0, 0, {}, count)};
        EXPECT_EQ(exact(call(ssget)), isSet ? "@1" : "nil") << mode << " " << count;
        EXPECT_EQ(host.sets.size(), isSet ? 1u : 0u) << mode << " " << count;
    }
}

TEST_F(SelectionSets, TheHostFillsTheSet) {
    // The reply's count only says that there is something.
    host.answers = {reply(3, 0, 0, {}, 5)};
    EXPECT_EQ(membersOf(call(ssget)), Ids{});
}

TEST_F(SelectionSets, TheFirstArgumentsTextIsThePrompt) {
    const std::vector<std::pair<std::vector<Cell>, std::u16string>> prompts{
        {{text(u"Walls: ")}, u"Walls: "},
        {{text(u"")}, u""},
        {{text(u"x")}, u"x"},
        {{text(u"one\\ntwo")}, u"one\\ntwo"},
        {{text(u"Walls: "), text(u"X")}, u"Walls: "},
        {{text(u"Walls: "), Cell::list({pair(0, text(u"LINE"))})}, u"Walls: "},
        {{NilCell}, u"nil"},
        {{TrueCell}, u"T"},
        {{Cell()}, u""},
        {{Cell::symbol(u"ABC")}, u"ABC"},
        {{number(5)}, u""},
        {{real(1.5)}, u""},
        {{Cell::list({text(u"X")})}, u""},
        {{nameOf(7)}, u"7"},
        {{setOf(u"3")}, u"3"},
        {{lambdaNamed(u"F")}, u"F"},
        {{Cell::builtin(&ssget)}, u""},
        {{text(std::u16string_view(u"a\0b", 3))}, u"a"},
    };
    for (const auto& [arguments, prompt] : prompts) {
        host.posted.clear();
        EXPECT_EQ(exact(call(ssget, arguments)), "nil");
        ASSERT_EQ(host.posted.size(), 1u);
        EXPECT_EQ(std::u16string(host.posted[0].messageText), prompt);
        EXPECT_EQ(host.posted[0].mode, 3);
    }
}

TEST_F(SelectionSets, LongPromptsAreCutAt299Units) {
    const auto shownFor = [&](const std::u16string& prompt) {
        host.posted.clear();
        call(ssget, {text(prompt)});
        return std::u16string(host.posted.at(0).messageText);
    };
    for (const std::size_t length : {298u, 299u, 300u, 301u, 2999u, 3000u, 100'000u})
        EXPECT_EQ(shownFor(std::u16string(length, u'x')),
                  std::u16string(std::min<std::size_t>(length, 299), u'x'));
    const std::u16string pair = u"\U0001F600";
    // Whole where it fits, left out where the cut would go through it.
    EXPECT_EQ(shownFor(std::u16string(297, u'x') + pair), std::u16string(297, u'x') + pair);
    EXPECT_EQ(shownFor(std::u16string(297, u'x') + pair + u"y"), std::u16string(297, u'x') + pair);
    EXPECT_EQ(shownFor(std::u16string(298, u'x') + pair), std::u16string(298, u'x'));
    EXPECT_EQ(shownFor(std::u16string(298, u'x') + pair + u"y"), std::u16string(298, u'x'));
    EXPECT_EQ(shownFor(std::u16string(299, u'x') + pair), std::u16string(299, u'x'));
}

// In direct mode nothing is posted; whoever answers ends the wait.
TEST_F(SelectionSets, InDirectModeTheAnswerIsAwaitedAllTheSame) {
    handshake().directMode = true;
    host.selected = {4};
    std::string result;
    std::thread evaluating([&] { result = exact(ssget({})); });
    while (!handshake().waitingForReply) std::this_thread::yield();
    OnHostReply(reply(3, 0, 0, {}, 1));
    evaluating.join();
    EXPECT_EQ(result, "@1");
    EXPECT_TRUE(host.posted.empty());
    EXPECT_TRUE(host.log.empty());
}

// --- SSADD, SSDEL, SSNAME, SSLENGTH ---

TEST_F(SelectionSets, SsaddWithoutASetMakesOne) {
    EXPECT_EQ(exact(call(ssadd, {nameOf(5)})), "@1");
    EXPECT_EQ(exact(call(ssadd, {nameOf(5)})), "@2");
    EXPECT_EQ(host.sets, (std::vector<Ids>{{5}, {5}}));
}

TEST_F(SelectionSets, SsaddAddsToTheSetGiven) {
    const Cell set = call(ssadd, {nameOf(5)});
    EXPECT_EQ(exact(call(ssadd, {nameOf(3), set})), "@1");
    EXPECT_EQ(exact(call(ssadd, {nameOf(4), set, number(1), setOf(u"9")})), "@1");
    EXPECT_EQ(host.sets, (std::vector<Ids>{{5, 3, 4}}));
    // Both are decoded, and the set's number is written anew.
    EXPECT_EQ(exact(call(ssadd, {nameOf(u" 7x"), setOf(u" 01x")})), "@1");
    EXPECT_EQ(exact(call(ssadd, {nameOf(u"none"), setOf(u"1")})), "@1");
    EXPECT_EQ(host.sets, (std::vector<Ids>{{5, 3, 4, 7, 0}}));
    // A set that the host does not know is the host's matter.
    EXPECT_EQ(exact(call(ssadd, {nameOf(5), setOf(u"77")})), "@77");
    EXPECT_EQ(exact(call(ssadd, {nameOf(5), setOf(u"none")})), "@0");
    EXPECT_EQ(host.opened, 0);
}

TEST_F(SelectionSets, SsaddTakesNothingElse) {
    EXPECT_EQ(exact(call(ssadd)), "nil");
    for (const Cell& argument : test::everyShape()) {
        if (!argument.is(CellType::EntityName)) {
            EXPECT_EQ(exact(call(ssadd, {argument})), "nil") << exact(argument);
            EXPECT_EQ(exact(call(ssadd, {argument, setOf(u"1")})), "nil") << exact(argument);
        }
        if (!argument.is(CellType::SelectionSet)) {
            EXPECT_EQ(exact(call(ssadd, {nameOf(1), argument})), "nil") << exact(argument);
        }
    }
    EXPECT_TRUE(host.sets.empty()) << "none is made in vain";
}

TEST_F(SelectionSets, SsdelTakesAnEntityOut) {
    host.sets = {{5, 3, 4}};
    EXPECT_EQ(exact(call(ssdel, {nameOf(3), setOf(u"1")})), "@1");
    EXPECT_EQ(host.sets, (std::vector<Ids>{{5, 4}}));
    EXPECT_EQ(exact(call(ssdel, {nameOf(3), setOf(u"1")})), "@1") << "what is no member";
    EXPECT_EQ(exact(call(ssdel, {nameOf(u"+5z"), setOf(u" 1z")})), "@1");
    EXPECT_EQ(host.sets, (std::vector<Ids>{{4}}));
    EXPECT_EQ(exact(call(ssdel, {nameOf(3), setOf(u"88")})), "@88");
    EXPECT_EQ(host.opened, 0);
}

TEST_F(SelectionSets, SsdelTakesExactlyANameAndASet) {
    host.sets = {{1, 3, 4}};
    EXPECT_EQ(exact(call(ssdel)), "nil");
    EXPECT_EQ(exact(call(ssdel, {nameOf(1)})), "nil");
    for (const Cell& argument : test::everyShape()) {
        EXPECT_EQ(exact(call(ssdel, {nameOf(1), setOf(u"1"), argument})), "nil") << exact(argument);
        if (!argument.is(CellType::EntityName)) {
            EXPECT_EQ(exact(call(ssdel, {argument, setOf(u"1")})), "nil") << exact(argument);
        }
        if (!argument.is(CellType::SelectionSet)) {
            EXPECT_EQ(exact(call(ssdel, {nameOf(1), argument})), "nil") << exact(argument);
        }
    }
    EXPECT_EQ(host.sets, (std::vector<Ids>{{1, 3, 4}}));
}

TEST_F(SelectionSets, SsnameGivesTheMemberAtAPosition) {
    host.sets = {{5, 3, 0, std::numeric_limits<HostLong>::max()}, {-4, -1}};
    const std::vector<std::tuple<const char16_t*, std::int32_t, std::string>> cases{
        {u"1", 0, "#5"},
        {u"1", 1, "#3"},
        {u"1", 2, "#0"},
        {u"1", 3, "#2147483647"},
        {u" 1x", 0, "#5"},
        // Past the end, before the beginning, in no set: the host leaves the id as it is.
        {u"1", 4, "nil"},
        {u"1", 1000, "nil"},
        {u"1", -1, "nil"},
        {u"1", std::numeric_limits<std::int32_t>::min(), "nil"},
        {u"1", std::numeric_limits<std::int32_t>::max(), "nil"},
        {u"9", 0, "nil"},
        {u"none", 0, "nil"},
        // An id below zero is none.
        {u"2", 0, "nil"},
        {u"2", 1, "nil"},
    };
    for (const auto& [set, index, name] : cases)
        EXPECT_EQ(exact(call(ssname, {setOf(set), number(index)})), name) << index;
    EXPECT_EQ(host.opened, 0);
}

TEST_F(SelectionSets, SsnameTakesExactlyASetAndAnInteger) {
    host.sets = {{5, 3}};
    EXPECT_EQ(exact(call(ssname)), "nil");
    EXPECT_EQ(exact(call(ssname, {setOf(u"1")})), "nil");
    for (const Cell& argument : test::everyShape()) {
        EXPECT_EQ(exact(call(ssname, {setOf(u"1"), number(0), argument})), "nil")
            << exact(argument);
        if (!argument.is(CellType::SelectionSet)) {
            EXPECT_EQ(exact(call(ssname, {argument, number(0)})), "nil") << exact(argument);
        }
        if (!argument.is(CellType::Integer)) {
            EXPECT_EQ(exact(call(ssname, {setOf(u"1"), argument})), "nil") << exact(argument);
        }
    }
    EXPECT_EQ(exact(call(ssname, {setOf(u"1"), real(1.0)})), "nil");
    EXPECT_EQ(exact(call(ssname, {number(0), setOf(u"1")})), "nil");
}

TEST_F(SelectionSets, SslengthCountsTheMembers) {
    host.sets = {{}, {7}, {1, 2, 3}};
    const std::vector<std::pair<const char16_t*, std::string>> cases{
        {u"1", "0"}, {u"2", "1"}, {u"3", "3"}, {u" 3 x", "3"}, {u"4", "0"}, {u"none", "0"}};
    for (const auto& [set, length] : cases) {
        const Cell result = call(sslength, {setOf(set)});
        EXPECT_TRUE(result.is(CellType::Integer));
        EXPECT_EQ(exact(result), length);
    }
    host.saysNothing = true;
    EXPECT_EQ(exact(call(sslength, {setOf(u"3")})), "0");
}

TEST_F(SelectionSets, SslengthTakesExactlyASet) {
    host.sets = {{5, 3}};
    EXPECT_EQ(exact(call(sslength)), "nil");
    for (const Cell& argument : test::everyShape()) {
        EXPECT_EQ(exact(call(sslength, {setOf(u"1"), argument})), "nil") << exact(argument);
        if (!argument.is(CellType::SelectionSet)) {
            EXPECT_EQ(exact(call(sslength, {argument})), "nil") << exact(argument);
        }
    }
}

TEST_F(SelectionSets, AProgramWorksWithSets) {
    drawSome();
    EXPECT_EQ(eval("(begin (setq ss (ssget \"X\")) (sslength ss))"), "5");
    EXPECT_EQ(eval("(eq (ssname ss 0) (entnext))"), "T");
    EXPECT_EQ(eval("(ssname ss (sslength ss))"), "nil");
    EXPECT_EQ(eval("(ssname ss 1.0)"), "nil");
    EXPECT_EQ(eval("(ssname ss)"), "nil");
    EXPECT_EQ(eval("(sslength ss ss)"), "nil");
    EXPECT_EQ(eval("(sslength (ssdel (entnext) ss))"), "4");
    EXPECT_EQ(eval("(sslength ss)"), "4") << "the set itself lost it";
    EXPECT_EQ(eval("(eq (ssadd (entnext) ss) ss)"), "T");
    EXPECT_EQ(eval("(eq (ssadd (entnext)) (ssadd (entnext)))"), "nil");
    EXPECT_EQ(eval("(ssadd)"), "nil");
}

}  // namespace
}  // namespace vlisp
