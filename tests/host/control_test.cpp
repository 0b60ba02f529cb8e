// Tests of host/control.h.
#include "host/control.h"

#include "core/interruption.h"
#include "core/printer.h"
#include "host/handshake.h"
#include "host/module.h"
#include "platform/text.h"
#include "tests/support/cells.h"
#include "tests/support/recording_host.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using platform::toUtf8;
using test::call;
using test::isNil;
using test::isString;
using test::RecordingHost;
using test::reply;
using test::text;
using Log = std::vector<std::string>;

Cell selectionSet(std::u16string_view number) { return Cell::make(CellType::SelectionSet, number); }

class Control : public testing::Test {
  protected:
    void SetUp() override { test::resetHandshake(); }
    void TearDown() override { test::resetHandshake(); }

    // What was sent to the command line since the last question: "MODE TEXT" each.
    Log sent() {
        Log texts;
        for (const HostRequest& record : host.posted) {
            EXPECT_EQ(record.kind, 0);
            texts.push_back(std::to_string(record.mode) + " " + toUtf8(record.inputText));
        }
        host.posted.clear();
        return texts;
    }

    RecordingHost host;
};

// --- GETVAR ---

TEST_F(Control, GetvarReadsTheValueAsAnAtom) {
    const struct {
        std::u16string_view value;
        CellType type;
        std::string printed;
    } rows[] = {
        {u"12", CellType::Integer, "12"},
        {u"-3", CellType::Integer, "-3"},
        {u"007", CellType::Integer, "7"},
        {u"9999999999", CellType::Integer, "2147483647"},
        {u"2.5", CellType::Real, "2.500"},
        {u"-0.25", CellType::Real, "-0.250"},
        {u"1.2.3", CellType::Real, "1.200"},
        {u"5.", CellType::Real, "5.000"},
        {u"\"a b\"", CellType::String, "\"a b\""},
        {u"\"\"", CellType::String, "\"\""},
        {u"\"", CellType::String, "\"\""},
        {u"\"open", CellType::String, "\"ope\""},
        {u"ByLayer", CellType::Symbol, "BYLAYER"},
        {u"1,2", CellType::Symbol, "1,2"},
        {u".5", CellType::Symbol, ".5"},
        {u"+5", CellType::Symbol, "+5"},
        {u"-", CellType::Symbol, "-"},
        {u"1e3", CellType::Symbol, "1E3"},
        {u" 1", CellType::Symbol, " 1"},
        {u"a b", CellType::Symbol, "A B"},
        {u"nil", CellType::Symbol, "NIL"},
        {u"(1 2)", CellType::Symbol, "(1 2)"},
        {u"", CellType::Symbol, ""},
    };
    for (const auto& row : rows) {
        host.variables = {{u"NAME", std::u16string(row.value)}};
        const Cell value = call(getvar, {text(u"NAME")});
        EXPECT_EQ(value.type(), row.type) << toUtf8(row.value);
        EXPECT_EQ(toUtf8(PrintCell(value)), row.printed) << toUtf8(row.value);
    }
}

TEST_F(Control, GetvarNamesAreTextsOfAnyType) {
    host.variables = {{u"Name", u"1"}, {u"NAME", u"2"}, {u"", u"3"}, {u"7", u"4"}};
    EXPECT_EQ(call(getvar, {text(u"Name")}).intValue(), 1);
    EXPECT_EQ(call(getvar, {Cell::symbol(u"NAME")}).intValue(), 2);
    EXPECT_EQ(call(getvar, {Cell::integer(7)}).intValue(), 3) << "a number has no text";
    EXPECT_EQ(call(getvar, {selectionSet(u"7")}).intValue(), 4);
}

TEST_F(Control, GetvarIsNilWithoutTheVariableOrWithOtherCounts) {
    host.variables = {{u"NAME", u"1"}};
    EXPECT_TRUE(isNil(call(getvar, {text(u"OTHER")})));
    EXPECT_TRUE(isNil(call(getvar, {text(u"name")})));
    EXPECT_TRUE(isNil(call(getvar)));
    EXPECT_TRUE(isNil(call(getvar, {text(u"NAME"), text(u"NAME")})));
}

TEST_F(Control, GetvarTakesLongValuesWhole) {
    const std::u16string value(20'000, u'x');
    host.variables = {{u"NAME", u"\"" + value + u"\""}};
    EXPECT_TRUE(isString(call(getvar, {text(u"NAME")}), value));
}

// --- SETVAR ---

TEST_F(Control, SetvarCallsTheHostByTheValuesType) {
    host.variables = {{u"NAME", u"1"}};
    const Cell name = text(u"NAME");
    const struct {
        Cell value;
        std::string called;
    } rows[] = {
        {Cell::integer(-5), "SetVarInt NAME=-5"},
        {Cell::integer(std::numeric_limits<std::int32_t>::max()), "SetVarInt NAME=2147483647"},
        {Cell::integer(7, intern(u"0")), "SetVarInt NAME=7"},
        {Cell::real(2.5), "SetVarDbl NAME=2.500000"},
        {text(u"a \"b\""), "SetVarString NAME=a \"b\""},
        {text(u""), "SetVarString NAME="},
        {text(u"5"), "SetVarString NAME=5"},
    };
    for (const auto& row : rows) {
        host.log.clear();
        const Cell result = call(setvar, {name, row.value});
        EXPECT_EQ(result.text(), u"T") << row.called;
        EXPECT_TRUE(result.is(CellType::Symbol));
        EXPECT_EQ(host.log, Log{row.called});
        host.log.clear();
        EXPECT_TRUE(isNil(call(setvar, {text(u"OTHER"), row.value}))) << "the host refuses";
        EXPECT_EQ(host.log.size(), 1u);
    }
}

TEST_F(Control, SetvarCallsNothingForOtherTypesAndCounts) {
    host.variables = {{u"NAME", u"1"}};
    const Cell name = text(u"NAME");
    for (const Cell& value : {Cell::symbol(u"S"), NilCell, TrueCell, Cell::list({Cell::integer(1)}),
                              Cell::make(CellType::EntityName, u"1"), selectionSet(u"1")})
        EXPECT_TRUE(isNil(call(setvar, {name, value}))) << dumpCell(value);
    EXPECT_TRUE(isNil(call(setvar)));
    EXPECT_TRUE(isNil(call(setvar, {name})));
    EXPECT_TRUE(isNil(call(setvar, {name, Cell::integer(1), Cell::integer(2)})));
    EXPECT_TRUE(host.log.empty());
}

// --- COMMAND ---

TEST_F(Control, CommandFeedsTheCommandLinePieceByPiece) {
    const Cell result =
        call(command, {text(u"line"), Cell::list({Cell::integer(0), Cell::integer(0)}),
                       Cell::list({Cell::real(10), Cell::real(5)}), text(u"")});
    EXPECT_TRUE(isNil(result)) << "the last text was empty";
    EXPECT_EQ(sent(), (Log{"1 LINE", "1 0,0", "1 10.000,5.000", "1 "}));
}

TEST_F(Control, CommandReturnsTheLastText) {
    const Cell centre = Cell::list({Cell::integer(0), Cell::integer(0)});
    EXPECT_TRUE(isString(call(command, {text(u"circle"), centre, Cell::real(2.5)}), u"2.5000"));
    EXPECT_EQ(sent(), (Log{"1 CIRCLE", "1 0,0", "1 2.5000"}));
    EXPECT_TRUE(isString(call(command, {text(u"Zoom")}), u"ZOOM"));
    EXPECT_EQ(sent(), Log{"1 ZOOM"});
}

TEST_F(Control, CommandWritesEachTypeInItsWay) {
    const auto i = [](std::int32_t value) { return Cell::integer(value); };
    const struct {
        Cell argument;
        std::string sent;
    } rows[] = {
        {i(-7), "1 -7"},
        {i(std::numeric_limits<std::int32_t>::min()), "1 -2147483648"},
        {Cell::integer(7, intern(u"0")), "1 7"},
        {Cell::real(2.5), "1 2.5000"},
        {Cell::real(-0.00004), "1 -0.0000"},
        {Cell::real(1.00005), "1 1.0001"},
        {Cell::real(1e10), "1 10000000000.0000"},
        {Cell::list({i(1), Cell::real(2)}), "1 1,2.000"},
        {Cell::list({i(1), i(2), Cell::real(3)}), "1 1,2,3.000"},
        {Cell::list({text(u"a"), Cell::symbol(u"B")}), "1 \"a\",B"},
        {Cell::list({}), "1 nil"},
        {Cell::list({i(1)}), "1 nil"},
        {Cell::list({i(1), i(2), i(3), i(4)}), "1 nil"},
        {selectionSet(u"3"), "5 3"},
        {Cell::make(CellType::EntityName, u"42"), "1 42"},
        {text(u"Mixed \"Case\""), "1 Mixed \"Case\""},
        {text(u" "), "1  "},
        {Cell::symbol(u"Symbol"), "1 Symbol"},
        {NilCell, "1 nil"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sent);
        const Cell result = call(command, {text(u"x"), row.argument});
        EXPECT_EQ(sent(), (Log{"1 X", row.sent}));
        EXPECT_TRUE(isString(result, platform::fromUtf8(row.sent.substr(2))));
    }
    // A selection set's mode is its own; what follows is a word again.
    call(command, {text(u"erase"), selectionSet(u"3"), text(u"all")});
    EXPECT_EQ(sent(), (Log{"1 ERASE", "5 3", "1 all"}));
}

TEST_F(Control, CommandWithoutAFirstTextEndsTheCurrentCommand) {
    const std::vector<std::vector<Cell>> calls{
        {},
        {text(u"")},
        {text(u" ")},
        {Cell::symbol(u" ")},
        {Cell()},
        // Numbers and lists have no text, and then nothing of what follows counts.
        {Cell::integer(5)},
        {Cell::integer(5), text(u"line"), text(u"1,1")},
        {Cell::real(2.5)},
        {Cell::list({Cell::integer(1), Cell::integer(2)}), text(u"line")},
        {text(u""), text(u"line")},
    };
    for (const std::vector<Cell>& arguments : calls) {
        SCOPED_TRACE(toUtf8(PrintCell(Cell::list(CellSlice::copyOf(arguments)))));
        EXPECT_TRUE(isNil(call(command, arguments)));
        EXPECT_EQ(sent(), Log{"1 "});
    }
    EXPECT_TRUE(isString(call(command, {text(u"  ")}), u"  ")) << "two blanks are a text";
    EXPECT_EQ(sent(), Log{"1   "});
}

TEST_F(Control, CommandTakesTheTextOfTheFirstArgumentWhateverItsType) {
    EXPECT_TRUE(isString(call(command, {Cell::symbol(u"line")}), u"LINE"));
    EXPECT_TRUE(isString(call(command, {Cell::integer(7, intern(u"0"))}), u"0"));
    EXPECT_TRUE(isString(call(command, {selectionSet(u"3")}), u"3"));
    EXPECT_TRUE(isString(call(command, {NilCell}), u"NIL"));
    EXPECT_EQ(sent(), (Log{"1 LINE", "1 0", "1 3", "1 NIL"}));
}

TEST_F(Control, OnlyTheFirstPieceIsInUpperCase) {
    call(command, {text(u"_-la\u00e9\U0001F600"), text(u"_new"), text(u"abc")});
    EXPECT_EQ(sent(), (Log{"1 _-LA\u00e9\U0001F600", "1 _new", "1 abc"}));
}

TEST_F(Control, OneCallCarriesOneContext) {
    host.answers = {reply(0, 0, 0, u"", 0, 0, 11), reply(0, 0, 0, u"", 0, 0, 12),
                    reply(0, 0, 0, u"", 0, 0, 13), reply(0, 0, 0, u"", 0, 0, 14)};
    handshake().reply.context = 7;
    call(command, {text(u"line"), text(u"a"), text(u"b")});
    call(command);
    call(command, {text(u"c")});
    std::vector<std::int32_t> contexts;
    for (const HostRequest& record : host.posted) contexts.push_back(record.context);
    EXPECT_EQ(contexts, (std::vector<std::int32_t>{7, 7, 7, 13, 14}));
}

TEST_F(Control, EveryPieceIsTheCommandsOwnRecordAndIsAnswered) {
    host.answers = {reply(0, 0, 0, u"one"), reply(0, 0, 0, u"two")};
    call(command, {text(u"line"), text(u"a")});
    EXPECT_EQ(host.log, (Log{"Clear", "Post 0", "Clear", "Post 0"}));
    for (const HostRequest* address : host.addresses) EXPECT_EQ(address, &handshake().commandInput);
    EXPECT_EQ(handshake().reply.inputText, u"two");
    EXPECT_TRUE(host.answers.empty());
    EXPECT_FALSE(handshake().waitingForReply);
}

TEST_F(Control, AnInterruptionEndsACommandBetweenItsPieces) {
    interruption::request(interruption::Reason::cancelled);
    EXPECT_TRUE(isNil(call(command, {text(u"line"), text(u"a"), text(u"b")})));
    EXPECT_EQ(sent(), Log{"1 LINE"});
}

// --- VM-WAIT ---

TEST_F(Control, VmWaitWaitsForItsMilliseconds) {
    const std::uint32_t start = platform::tickCount();
    EXPECT_TRUE(isNil(call(vmWait, {Cell::integer(30), text(u"ignored")})));
    EXPECT_GE(platform::tickCount() - start, 30u);
}

TEST_F(Control, VmWaitReturnsAtOnceWithoutAPause) {
    const std::int32_t shortest = std::numeric_limits<std::int32_t>::min();
    const std::int32_t longest = std::numeric_limits<std::int32_t>::max();
    // A pause beyond the end of the 32-bit count wraps to before its start.
    const bool countIsPositive = static_cast<std::int32_t>(platform::tickCount()) > 0;
    const std::int32_t overflowing = countIsPositive ? longest : 0;
    const std::int32_t negative = countIsPositive ? shortest : -1;
    const std::vector<std::vector<Cell>> calls{
        {},
        {Cell::integer(0)},
        {Cell::integer(-5)},
        {Cell::integer(overflowing)},
        {Cell::integer(negative)},
        {Cell::real(60'000.5)},
        {text(u"60000")},
        {NilCell},
        {Cell::list({Cell::integer(60'000)})},
        {text(u"a"), Cell::integer(60'000)},
    };
    for (const std::vector<Cell>& arguments : calls) {
        const std::uint32_t start = platform::tickCount();
        EXPECT_TRUE(isNil(call(vmWait, arguments)));
        EXPECT_LT(platform::tickCount() - start, 60'000u);
    }
    EXPECT_TRUE(host.log.empty());
}

TEST_F(Control, AnInterruptionEndsAPause) {
    interruption::request(interruption::Reason::cancelled);
    EXPECT_TRUE(isNil(call(vmWait, {Cell::integer(600'000)})));
    EXPECT_EQ(interruption::take(), interruption::Reason::cancelled) << "left for the session";
}

// --- through LISP ---

TEST_F(Control, ProgramsReachTheHost) {
    Module module;
    const auto eval = [&](const char16_t* source) {
        std::u16string buffer = source;
        module.session().EvalString(buffer);
        return toUtf8(buffer);
    };
    host.variables = {{u"OSMODE", u"47"}};
    EXPECT_EQ(eval(u"(+ 1 (getvar \"OSMODE\"))"), "48");
    EXPECT_EQ(eval(u"(setvar \"OSMODE\" 0)"), "T");
    EXPECT_EQ(eval(u"(setvar \"NONE\" 0)"), "nil");
    EXPECT_EQ(eval(u"(command \"circle\" '(0 0) 2.5)"), "\"2.5000\"");
    EXPECT_EQ(sent(), (Log{"1 CIRCLE", "1 0,0", "1 2.5000"}));
    EXPECT_EQ(eval(u"(vm-wait 0)"), "nil");
}

}  // namespace
}  // namespace vlisp
