// Tests of host/input.h.
#include "host/input.h"

#include "core/printer.h"
#include "host/handshake.h"
#include "host/module.h"
#include "platform/text.h"
#include "tests/support/cells.h"
#include "tests/support/recording_host.h"

#include <cmath>
#include <deque>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using platform::toUtf8;
using test::call;
using test::isInteger;
using test::isNil;
using test::isReal;
using test::isString;
using test::RecordingHost;
using test::reply;
using test::text;

Cell point(Cell x, Cell y) { return Cell::list({std::move(x), std::move(y)}); }

std::string printed(const Cell& cell) { return toUtf8(PrintCell(cell)); }

// A list of exactly these reals.
testing::AssertionResult isReals(const Cell& cell, std::initializer_list<double> values) {
    const auto fails = [&] {
        return testing::AssertionFailure() << dumpCell(cell) << " is another list";
    };
    if (!cell.is(CellType::List) || cell.items().size() != values.size()) return fails();
    std::size_t at = 0;
    for (const double value : values)
        if (!isReal(cell.items()[at++], value)) return fails();
    return testing::AssertionSuccess();
}

class Input : public testing::Test {
  protected:
    void SetUp() override { test::resetHandshake(); }
    void TearDown() override { test::resetHandshake(); }

    void answerWith(std::initializer_list<HostRequest> answers) {
        host.answers.assign(answers.begin(), answers.end());
    }

    // The one request that a call sent.
    HostRequest request() {
        EXPECT_EQ(host.posted.size(), 1u);
        if (host.posted.empty()) return {};
        const HostRequest record = host.posted.back();
        host.posted.clear();
        return record;
    }

    RecordingHost host;
};

std::u16string promptOf(const HostRequest& request) { return request.messageText; }

const struct {
    const char* name;
    BuiltinProc proc;
    std::int32_t mode;
    std::u16string_view prompt;
} functions[] = {
    {"GETPOINT", getpoint, 1, u" "},   {"GETDIST", getdist, 1, u" "},
    {"GETSTRING", getstring, 0, u" "}, {"GETREAL", getreal, 0, u" "},
    {"GETINT", getint, 0, u" "},       {"ENTSEL", entsel, 4, u"Select object: "},
};

// --- requests ---

TEST_F(Input, EveryFunctionAsksInItsMode) {
    for (const auto& function : functions) {
        SCOPED_TRACE(function.name);
        host.posted.clear();
        host.addresses.clear();
        answerWith({reply(0)});
        call(function.proc);
        ASSERT_EQ(host.posted.size(), 1u);
        EXPECT_EQ(host.posted[0].kind, 1);
        EXPECT_EQ(host.posted[0].mode, function.mode);
        EXPECT_EQ(promptOf(host.posted[0]), function.prompt);
        EXPECT_FALSE(host.posted[0].hasBasePoint);
        EXPECT_EQ(host.addresses[0], &handshake().userInput) << "all share one record";
        EXPECT_FALSE(handshake().waitingForReply);
    }
    EXPECT_TRUE(host.shown.empty());
}

TEST_F(Input, TheTextOfTheFirstArgumentIsThePrompt) {
    const struct {
        Cell argument;
        std::u16string_view prompt;
    } rows[] = {
        {text(u"How many? "), u"How many? "},
        {text(u""), u""},
        {Cell::symbol(u"NAME"), u"NAME"},
        {NilCell, u"nil"},
        {Cell::integer(5), u""},
        {Cell::integer(0, intern(u"0")), u"0"},
        {Cell::real(2.5), u""},
        {Cell::list({text(u"a"), text(u"b")}), u""},
        {Cell::make(CellType::EntityName, u"12"), u"12"},
    };
    for (const auto& function : functions) {
        if (function.proc == getpoint) continue;
        for (const auto& row : rows) {
            SCOPED_TRACE(function.name + std::string(" ") + dumpCell(row.argument));
            answerWith({reply(0)});
            call(function.proc, {row.argument, text(u"never looked at")});
            EXPECT_EQ(promptOf(request()), row.prompt);
        }
    }
}

// --- what the user answers ---

TEST_F(Input, AnAnswerOfAnotherModeIsNil) {
    for (const std::int32_t mode : {0, 1, 2, 3, 4, 5, -1}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        const auto answer = [&](BuiltinProc proc) {
            answerWith({reply(mode, 1.5, 2.5, u"7", 1, 42)});
            return call(proc);
        };
        if (mode == 0) {
            EXPECT_TRUE(isString(answer(getstring), u"7"));
            EXPECT_TRUE(isReal(answer(getreal), 7));
            EXPECT_TRUE(isInteger(answer(getint), 7));
            EXPECT_TRUE(isNil(answer(getpoint)));
        } else {
            EXPECT_TRUE(isNil(answer(getstring)));
            EXPECT_TRUE(isNil(answer(getreal)));
            EXPECT_TRUE(isNil(answer(getint)));
            EXPECT_TRUE(isReals(answer(getpoint), {1.5, 2.5}));
        }
        if (mode == 4) EXPECT_EQ(answer(entsel).items().size(), 2u);
        else EXPECT_TRUE(isNil(answer(entsel)));
    }
}

TEST_F(Input, AStringIsWhatWasTyped) {
    for (const std::u16string& typed :
         {std::u16string(u"a b"), std::u16string(u""), std::u16string(u" \"q\" \\n "),
          std::u16string(u"nil"), std::u16string(u"\u00e9\U0001F600"), std::u16string(299, u'x')}) {
        answerWith({reply(0, 0, 0, typed)});
        EXPECT_TRUE(isString(call(getstring), typed));
    }
    // A field that is full to its last unit has no terminating zero.
    HostRequest full = reply(0);
    std::fill(std::begin(full.inputText), std::end(full.inputText), u'y');
    answerWith({full});
    EXPECT_TRUE(isString(call(getstring), std::u16string(299, u'y')));
}

TEST_F(Input, NumbersAreReadFromTheFrontOfTheText) {
    const struct {
        std::u16string_view typed;
        double real;
        std::int32_t integer;
    } rows[] = {
        {u"7", 7, 7},
        {u"7x", 7, 7},
        {u"x", 0, 0},
        {u"", 0, 0},
        {u"  12.75 ", 12.75, 12},
        {u"-2.5e2", -250, -2},
        {u"+3", 3, 3},
        {u".5", 0.5, 0},
        {u"1,5", 1, 1},
        {u"9999999999", 9999999999.0, 2147483647},
        {u"-9999999999", -9999999999.0, -2147483647 - 1},
        {u"1e999", HUGE_VAL, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(toUtf8(row.typed));
        answerWith({reply(0, 8, 9, row.typed)});
        EXPECT_TRUE(isReal(call(getreal), row.real));
        answerWith({reply(0, 8, 9, row.typed)});
        EXPECT_TRUE(isInteger(call(getint), row.integer));
    }
    const std::u16string zeros(297, u'0');
    answerWith({reply(0, 0, 0, zeros + u"42")});
    EXPECT_TRUE(isInteger(call(getint), 42));
    answerWith({reply(0, 0, 0, zeros + u"42")});
    EXPECT_TRUE(isReal(call(getreal), 42));
}

TEST_F(Input, APickedObjectIsItsNameAndThePlace) {
    answerWith({reply(4, 1.5, -2.5, u"ignored", 1, 42)});
    const Cell picked = call(entsel);
    ASSERT_EQ(picked.items().size(), 2u);
    EXPECT_TRUE(picked.items()[0].is(CellType::EntityName));
    EXPECT_EQ(picked.items()[0].text(), u"42");
    EXPECT_TRUE(isReals(picked.items()[1], {1.5, -2.5, 0.0}));

    answerWith({reply(4, 0, 0, u"", 3, -7)});
    const Cell several = call(entsel);
    ASSERT_EQ(several.items().size(), 2u);
    EXPECT_EQ(several.items()[0].text(), u"-7");
}

TEST_F(Input, APickInEmptySpaceIsNil) {
    answerWith({reply(4, 1, 2, u"", 1, 42), reply(4, 1, 2, u"", 0, 43), reply(4, 1, 2, u"", -1, 44),
                reply(4, 1, 2, u"", 1, 45)});
    EXPECT_EQ(call(entsel).items().size(), 2u);
    EXPECT_TRUE(isNil(call(entsel)));
    EXPECT_TRUE(isNil(call(entsel)));
    EXPECT_EQ(call(entsel).items()[0].text(), u"45");
}

// --- GETPOINT ---

TEST_F(Input, APointHasTwoCoordinates) {
    answerWith({reply(1, 1.25, -2.5, u"typed before")});
    EXPECT_TRUE(isReals(call(getpoint), {1.25, -2.5}));
}

TEST_F(Input, GetpointTakesPromptAndBasePointFromAnyArgument) {
    const Cell base = point(Cell::integer(3), Cell::integer(4));
    const Cell other = point(Cell::integer(5), Cell::integer(6));
    const struct {
        std::vector<Cell> arguments;
        std::u16string_view prompt;
        bool hasBasePoint;
        double x, y;
    } rows[] = {
        {{}, u" ", false, 0, 0},
        {{text(u"P")}, u"P", false, 0, 0},
        {{base}, u" ", true, 3, 4},
        {{base, text(u"P")}, u"P", true, 3, 4},
        {{text(u"P"), base}, u"P", true, 3, 4},
        // Later ones win.
        {{text(u"P"), text(u"Q")}, u"Q", false, 0, 0},
        {{text(u"P"), text(u"")}, u"", false, 0, 0},
        {{base, text(u"P"), other, text(u"Q")}, u"Q", true, 5, 6},
        // What is neither a string nor a list of two is passed over.
        {{Cell::symbol(u"S"), NilCell, Cell::integer(5), Cell::real(2.5)}, u" ", false, 0, 0},
        {{Cell::list({}), Cell::list({Cell::integer(7)})}, u" ", false, 0, 0},
        {{base, Cell::list({Cell::integer(7)})}, u" ", true, 3, 4},
        {{Cell::make(CellType::EntityName, u"9")}, u" ", false, 0, 0},
        {{Cell::lambda(base.itemSlice(), nullptr, intern(u"F"))}, u" ", false, 0, 0},
        // What follows Y is not looked at.
        {{Cell::list({Cell::integer(1), Cell::integer(2), text(u"3")})}, u" ", true, 1, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(printed(Cell::list(CellSlice::copyOf(row.arguments))));
        handshake().userInput = HostRequest();
        answerWith({reply(1)});
        call(getpoint, row.arguments);
        const HostRequest sent = request();
        EXPECT_EQ(sent.mode, 1);
        EXPECT_EQ(promptOf(sent), row.prompt);
        EXPECT_EQ(sent.hasBasePoint, row.hasBasePoint);
        EXPECT_EQ(sent.x, row.x);
        EXPECT_EQ(sent.y, row.y);
    }
}

// Whether Y counts as a real is decided by X.
TEST_F(Input, GetpointReadsYAsXSays) {
    const auto inDefun = [](std::int32_t value) { return Cell::integer(value, intern(u"0")); };
    const struct {
        Cell x, y;
        double expectedX, expectedY;
    } rows[] = {
        {Cell::integer(1), Cell::integer(2), 1, 2},
        {Cell::integer(1), Cell::real(2.5), 1, 0},
        {Cell::real(1), Cell::integer(2), 1, 2},
        {Cell::real(1), Cell::real(2.5), 1, 2.5},
        {text(u" 1.5x"), text(u"2.5e1"), 1.5, 25},
        {text(u"1.5"), Cell::real(2.5), 1.5, 0},
        {text(u"1.5"), Cell::integer(2), 1.5, 2},
        {Cell::real(1), text(u"2.5"), 1, 0},
        {Cell::integer(1), text(u"2.5"), 1, 2.5},
        {Cell::symbol(u"A"), Cell::symbol(u"4B"), 0, 4},
        {Cell::make(CellType::EntityName, u"12"), Cell::make(CellType::SelectionSet, u"3"), 12, 3},
        {Cell::list({Cell::integer(1)}), NilCell, 0, 0},
        {inDefun(7), inDefun(8), 7, 8},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(printed(point(row.x, row.y)));
        answerWith({reply(1)});
        call(getpoint, {point(row.x, row.y)});
        const HostRequest sent = request();
        EXPECT_TRUE(sent.hasBasePoint);
        EXPECT_EQ(sent.x, row.expectedX);
        EXPECT_EQ(sent.y, row.expectedY);
    }
}

// --- the base point that stays ---

TEST_F(Input, ABasePointStaysForRequestsThatSayNothingAboutIt) {
    answerWith({reply(1), reply(0), reply(0), reply(0), reply(4), reply(1)});
    call(getpoint, {point(Cell::integer(3), Cell::integer(4))});
    for (const BuiltinProc proc : {getstring, getreal, getint, entsel}) call(proc);
    call(getpoint);
    ASSERT_EQ(host.posted.size(), 6u);
    for (const HostRequest& sent : host.posted) {
        EXPECT_EQ(sent.x, 3);
        EXPECT_EQ(sent.y, 4);
    }
    for (std::size_t i = 0; i < 5; ++i) EXPECT_TRUE(host.posted[i].hasBasePoint) << i;
    EXPECT_FALSE(host.posted[5].hasBasePoint) << "GETPOINT without one takes it back";
}

TEST_F(Input, TheFirstPointOfADistanceStaysAsBasePoint) {
    answerWith({reply(1, 5, 6), reply(1, 8, 10), reply(0), reply(0)});
    call(getdist);
    call(getstring);
    call(getdist);
    ASSERT_EQ(host.posted.size(), 4u);
    EXPECT_TRUE(host.posted[2].hasBasePoint);
    EXPECT_EQ(host.posted[2].x, 5);
    EXPECT_EQ(host.posted[2].y, 6);
    EXPECT_FALSE(host.posted[3].hasBasePoint) << "a distance begins without one";
}

// --- GETDIST ---

TEST_F(Input, ATypedDistanceNeedsNoSecondPoint) {
    answerWith({reply(0, 3, 4, u"12.5")});
    EXPECT_TRUE(isReal(call(getdist, {text(u"Width: ")}), 12.5));
    EXPECT_EQ(promptOf(request()), u"Width: ");
    answerWith({reply(0, 3, 4, u"x")});
    EXPECT_TRUE(isReal(call(getdist), 0));
    EXPECT_EQ(host.posted.size(), 1u);
}

TEST_F(Input, TwoPointsMakeADistance) {
    answerWith({reply(1, 1, 2), reply(1, 4, 6)});
    EXPECT_TRUE(isReal(call(getdist, {text(u"From: ")}), 5));
    ASSERT_EQ(host.posted.size(), 2u);
    const HostRequest& first = host.posted[0];
    EXPECT_EQ(first.mode, 1);
    EXPECT_EQ(promptOf(first), u"From: ");
    EXPECT_FALSE(first.hasBasePoint);
    const HostRequest& second = host.posted[1];
    EXPECT_EQ(second.kind, 1);
    EXPECT_EQ(second.mode, 1);
    EXPECT_EQ(promptOf(second), u"Specify second point:");
    EXPECT_TRUE(second.hasBasePoint);
    EXPECT_EQ(second.x, 1);
    EXPECT_EQ(second.y, 2);
    EXPECT_EQ(host.addresses[1], &handshake().userInput);
}

TEST_F(Input, WhateverAnswersTheSecondPointIsAPoint) {
    for (const std::int32_t mode : {0, 1, 3, 4, -1}) {
        answerWith({reply(2, -1, -1), reply(mode, 2, 3, u"100", 1)});
        EXPECT_TRUE(isReal(call(getdist), 5)) << "mode " << mode;
    }
}

TEST_F(Input, GetdistTakesNoBasePoint) {
    answerWith({reply(0)});
    call(getdist, {point(Cell::integer(3), Cell::integer(4))});
    const HostRequest sent = request();
    EXPECT_FALSE(sent.hasBasePoint);
    EXPECT_EQ(promptOf(sent), u"") << "a list's text";
}

// --- through LISP ---

TEST_F(Input, ProgramsAskAsTheyAreWritten) {
    Module module;
    const auto eval = [&](const char16_t* source) {
        std::u16string buffer = source;
        module.session().EvalString(buffer);
        return toUtf8(buffer);
    };
    answerWith({reply(1, 9, 8), reply(1, 9, 8), reply(0, 0, 0, u"12.5"), reply(0, 0, 0, u"a b"),
                reply(0, 0, 0, u"2.25"), reply(0, 0, 0, u"7x"), reply(4, 1, 2, u"", 1, 0),
                reply(0)});
    EntityNameBase = 16;
    // A real that was read has no text.
    EXPECT_EQ(eval(u"(getpoint '(1 2.5) \"P\")"), "(9.000 8.000)");
    EXPECT_EQ(host.posted.back().x, 1);
    EXPECT_EQ(host.posted.back().y, 0);
    EXPECT_EQ(eval(u"(getpoint '(1.0 2.5))"), "(9.000 8.000)");
    EXPECT_EQ(host.posted.back().y, 2.5);
    EXPECT_EQ(eval(u"(getdist)"), "12.500");
    EXPECT_EQ(eval(u"(getstring \"S\")"), "\"a b\"");
    EXPECT_EQ(eval(u"(getreal)"), "2.250");
    EXPECT_EQ(eval(u"(getint)"), "7");
    EXPECT_EQ(eval(u"(entsel)"), "(<Entity name: 10> (1.000 2.000 0.000))");
    EXPECT_EQ(eval(u"(entsel)"), "nil");
    EXPECT_EQ(host.posted.size(), 8u);
}

}  // namespace
}  // namespace vlisp
