// Tests of host/output.h.
#include "host/output.h"

#include "core/printer.h"
#include "platform/text.h"
#include "tests/support/cells.h"
#include "tests/support/recording_host.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using test::call;
using test::isSymbol;
using test::RecordingHost;
using test::text;

class Output : public testing::Test {
  protected:
    void SetUp() override { handshake().directMode = false; }
    void TearDown() override { handshake().directMode = false; }

    // The one record that was posted since the last question.
    HostRequest posted() {
        EXPECT_EQ(host.posted.size(), 1u);
        if (host.posted.empty()) return {};
        const HostRequest record = host.posted.back();
        host.posted.clear();
        host.shown.clear();
        return record;
    }

    RecordingHost host;
};

TEST_F(Output, PrincShowsTextWithoutQuotes) {
    EXPECT_TRUE(isSymbol(call(princ, {text(u"abc")}), u"\"abc\""));
    ASSERT_EQ(host.shown.size(), 1u);
    EXPECT_EQ(host.shown[0], u"abc");
}

TEST_F(Output, PrincRemovesEveryQuoteAndNothingElse) {
    const Cell list = Cell::list({text(u"a\"b"), Cell::list({text(u"")}), text(u"c\\n'd'")});
    EXPECT_TRUE(isSymbol(call(princ, {list}), u"(\"a\"b\" (\"\") \"c\\n'd'\")"));
    ASSERT_EQ(host.shown.size(), 1u);
    EXPECT_EQ(host.shown[0], u"(ab () c\\n'd')");
}

TEST_F(Output, Prin1ShowsTheTextAsItPrints) {
    EXPECT_TRUE(isSymbol(call(prin1, {Cell::list({text(u"a"), Cell::integer(1)})}), u"(\"a\" 1)"));
    ASSERT_EQ(host.shown.size(), 1u);
    EXPECT_EQ(host.shown[0], u"(\"a\" 1)");
}

TEST_F(Output, PrintPutsALineBreakBeforeAndABlankBehind) {
    EXPECT_TRUE(isSymbol(call(print, {Cell::integer(5)}), u"5"));
    EXPECT_TRUE(isSymbol(call(print, {text(u"a")}), u"\"a\""));
    EXPECT_TRUE(isSymbol(call(print, {text(u"")}), u"\"\""));
    EXPECT_EQ(host.shown, (std::vector<std::u16string>{u"\r\n5 ", u"\r\n\"a\" ", u"\r\n\"\" "}));
}

TEST_F(Output, WithoutArgumentsAnEmptyMessageIsSentAllTheSame) {
    for (const BuiltinProc proc : {princ, prin1, print}) {
        EXPECT_TRUE(isSymbol(proc({}), u""));
        const HostRequest record = posted();
        EXPECT_EQ(record.kind, 3);
        EXPECT_EQ(record.mode, 0);
        EXPECT_EQ(std::u16string(record.messageText), u"");
    }
}

TEST_F(Output, EveryTypeOfValueIsShownAsItPrints) {
    EntityNameBase = 5'000'000;
    const std::vector<std::pair<Cell, std::u16string>> values{
        {Cell(), u""},
        {NilCell, u"nil"},
        {TrueCell, u"T"},
        {Cell::symbol(u"ABC"), u"ABC"},
        {Cell::integer(-12), u"-12"},
        {Cell::real(2.5), u"2.500"},
        {Cell::list({}), u"()"},
        {Cell::list({Cell::integer(1), DotCell, Cell::integer(2)}), u"(1 . 2)"},
        {Cell::builtin(&princ), u"<Proc>"},
        {Cell::lambda({}, nullptr, intern(u"F")), u"F"},
        {Cell::lambda({}, nullptr, SymbolRef()), u""},
        {Cell::make(CellType::EntityName, u"7"), u"<Entity name: 4c4b47>"},
        {Cell::make(CellType::SelectionSet, u"26"), u"<Selection set: 1a>"}};
    for (const auto& [value, printed] : values) {
        SCOPED_TRACE(dumpCell(value));
        EXPECT_TRUE(isSymbol(call(princ, {value}), printed));
        EXPECT_TRUE(isSymbol(call(prin1, {value}), printed));
        EXPECT_TRUE(isSymbol(call(print, {value}), printed));
        EXPECT_EQ(host.shown,
                  (std::vector<std::u16string>{printed, printed, u"\r\n" + printed + u" "}));
        host.shown.clear();
    }
}

TEST_F(Output, FurtherArgumentsAreIgnored) {
    for (const BuiltinProc proc : {princ, prin1})
        EXPECT_TRUE(isSymbol(call(proc, {Cell::integer(1), text(u"x"), text(u"y")}), u"1"));
    EXPECT_TRUE(isSymbol(call(print, {Cell::integer(1), text(u"x")}), u"1"));
    EXPECT_EQ(host.shown, (std::vector<std::u16string>{u"1", u"1", u"\r\n1 "}));
}

TEST_F(Output, MessagesAreOfKindThreeAndAwaitNoReply) {
    for (const BuiltinProc proc : {princ, prin1, print}) {
        handshake().waitingForReply = false;
        call(proc, {Cell::integer(5)});
        EXPECT_FALSE(handshake().waitingForReply);
        EXPECT_EQ(posted().kind, 3);
    }
    for (const BuiltinProc proc : {prin1, print}) {
        call(proc, {Cell::integer(5)});
        EXPECT_EQ(posted().mode, 0);
    }
    EXPECT_EQ(host.log.size(), 10u);
    for (std::size_t i = 0; i < host.log.size(); i += 2) {
        EXPECT_EQ(host.log[i], "Clear");
        EXPECT_EQ(host.log[i + 1], "Post 3");
    }
}

TEST_F(Output, PrincSetsTheSharedRecordsModeWhenItHasAnArgument) {
    HostRequest& shared = handshake().userInput;
    shared.mode = 4;
    shared.kind = 1;
    princ({});
    EXPECT_EQ(shared.mode, 4);
    call(prin1, {Cell::integer(1)});
    call(print, {Cell::integer(1)});
    EXPECT_EQ(shared.mode, 4);
    call(princ, {Cell::integer(1)});
    EXPECT_EQ(shared.mode, 0);
    EXPECT_EQ(shared.kind, 1) << "its kind is left alone";
    EXPECT_EQ(std::u16string(shared.messageText), u"") << "it is not what is sent";
}

TEST_F(Output, TextsAreCutToWhatTheRecordHolds) {
    const std::u16string longText(5000, u'x');
    const Cell result = call(prin1, {text(longText)});
    EXPECT_EQ(result.text(), u"\"" + longText + u"\"") << "the result is whole";
    EXPECT_EQ(std::u16string(posted().messageText), u"\"" + std::u16string(2998, u'x'));

    call(princ, {text(longText)});
    EXPECT_EQ(std::u16string(posted().messageText), std::u16string(2999, u'x'));

    call(print, {text(longText)});
    EXPECT_EQ(std::u16string(posted().messageText), u"\r\n\"" + std::u16string(2996, u'x'));

    call(princ, {text(std::u16string(2999, u'x'))});
    EXPECT_EQ(std::u16string(posted().messageText), std::u16string(2999, u'x'));

    // A pair of surrogates is not cut through.
    call(princ, {text(std::u16string(2998, u'x') + u"\U0001F600")});
    EXPECT_EQ(std::u16string(posted().messageText), std::u16string(2998, u'x'));
}

TEST_F(Output, InDirectModeMessagesAreShownAtOnce) {
    handshake().directMode = true;
    call(princ, {text(u"a")});
    call(prin1, {text(u"b")});
    call(print, {Cell::integer(5)});
    princ({});
    EXPECT_EQ(host.log, (std::vector<std::string>{"DisplayMsg a", "DisplayMsg \"b\"",
                                                  "DisplayMsg \r\n5 ", "DisplayMsg "}));
    EXPECT_TRUE(host.posted.empty());
}

TEST_F(Output, PromptShowsEachPieceByDisplayMsg) {
    const std::vector<std::pair<std::u16string, std::vector<std::u16string>>> cases{
        {u"abc", {u"abc"}},
        {u"", {u""}},
        {u"one\\ntwo", {u"one", u"two"}},
        {u"x\\n", {u"x", u""}},
        {u"\\nx", {u"", u"x"}},
        {u"\\n", {u"", u""}},
        {u"a\\n\\nb", {u"a", u"", u"b"}},
        {u"\\n\\n\\n", {u"", u"", u"", u""}},
        {u"a\\", {u"a\\"}},
        {u"a\\Nb", {u"a\\Nb"}},
        {u"a\\\\nb", {u"a\\", u"b"}},
        {u"a\nb", {u"a\nb"}},
        {u"\"q\"", {u"\"q\""}},
        {std::u16string(5000, u'x'), {std::u16string(5000, u'x')}},
    };
    for (const auto& [argument, pieces] : cases) {
        host.shown.clear();
        EXPECT_TRUE(isSymbol(call(prompt, {text(argument)}), u"nil"));
        EXPECT_EQ(host.shown, pieces) << platform::toUtf8(argument);
    }
    EXPECT_TRUE(host.posted.empty()) << "the handshake has no part in it";
}

TEST_F(Output, PromptIsShownTheSameWayInDirectMode) {
    handshake().directMode = true;
    EXPECT_TRUE(isSymbol(call(prompt, {text(u"one\\ntwo")}), u"nil"));
    EXPECT_EQ(host.log, (std::vector<std::string>{"DisplayMsg one", "DisplayMsg two"}));
}

TEST_F(Output, PromptWithoutAnArgumentShowsNothingAndGivesAnEmptyText) {
    HostRequest& shared = handshake().userInput;
    shared.mode = 4;
    const Cell result = prompt({});
    EXPECT_TRUE(result.is(CellType::String));
    EXPECT_EQ(result.text(), u"");
    EXPECT_TRUE(host.log.empty());
    EXPECT_EQ(shared.mode, 4);
}

TEST_F(Output, PromptOfAListShowsNothing) {
    HostRequest& shared = handshake().userInput;
    shared.mode = 4;
    EXPECT_TRUE(isSymbol(call(prompt, {Cell::list({Cell::integer(1)})}), u"nil"));
    EXPECT_TRUE(isSymbol(call(prompt, {Cell::list({}), text(u"x")}), u"nil"));
    EXPECT_TRUE(host.log.empty());
    EXPECT_EQ(shared.mode, 4);
}

TEST_F(Output, PromptOfOtherValuesShowsTheirOwnText) {
    const std::vector<std::pair<Cell, std::u16string>> values{
        {Cell(), u""},
        {NilCell, u"nil"},
        {Cell::symbol(u"ABC"), u"ABC"},
        {Cell::integer(5), u""},
        {Cell::integer(5, intern(u"0")), u"0"},
        {Cell::real(1.5), u""},
        {Cell::builtin(&princ), u""},
        {Cell::lambda({}, nullptr, intern(u"F")), u"F"},
        {Cell::make(CellType::EntityName, u"7"), u"7"},
        {Cell::make(CellType::SelectionSet, u"3"), u"3"}};
    for (const auto& [value, line] : values) {
        host.shown.clear();
        EXPECT_TRUE(isSymbol(call(prompt, {value}), u"nil"));
        EXPECT_EQ(host.shown, std::vector<std::u16string>{line}) << dumpCell(value);
    }
}

TEST_F(Output, PromptPreparesTheSharedRecordWithoutSendingIt) {
    HostRequest& shared = handshake().userInput;
    shared.hasBasePoint = true;
    shared.mode = 4;
    shared.kind = 1;
    call(prompt, {text(u"x")});
    EXPECT_FALSE(shared.hasBasePoint);
    EXPECT_EQ(shared.mode, 0);
    EXPECT_EQ(shared.kind, 3);
    EXPECT_TRUE(host.posted.empty());
}

TEST_F(Output, TheFourAreProvidedUnderTheirNames) {
    std::vector<std::string> names;
    for (const ProvidedBuiltin& builtin : consoleBuiltins()) {
        const BuiltinRow* row = findBuiltin(builtin.name);
        ASSERT_NE(row, nullptr) << builtin.name;
        EXPECT_EQ(row->proc, nullptr) << builtin.name << " is already there";
        names.emplace_back(builtin.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"PRINC", "PRINT", "PRIN1", "PROMPT"}));
}

}  // namespace
}  // namespace vlisp
