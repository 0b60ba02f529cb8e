// Tests of the fixed buffers that texts between host and module go through, and of
// host/typed_text.h: what is too long is cut and terminated, never inside a surrogate pair.
#include "host/typed_text.h"

#include "core/printer.h"
#include "host/control.h"
#include "host/demonstrations.h"
#include "host/exports.h"
#include "host/files.h"
#include "host/input.h"
#include "host/menus.h"
#include "host/module.h"
#include "host/output.h"
#include "platform/text.h"
#include "tests/host/bounds_test.h"
#include "tests/support/recording_host.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using namespace test;
using platform::toUtf8;

class Bounds : public testing::Test {
  protected:
    void SetUp() override {
        test::resetHandshake();
        ASSERT_TRUE(test::startExtension());
        host.log.clear();
    }
    void TearDown() override {
        stopModule();
        test::resetHandshake();
    }

    // Binds a symbol to a value without going through any of the host's buffers.
    static void bind(std::u16string_view name, const std::u16string& expression) {
        std::u16string text = u"(setq " + std::u16string(name) + u" " + expression + u")";
        ASSERT_TRUE(currentModule()->session().EvalString(text));
    }

    // The end of the evaluation that `start` begins.
    template <class Start> std::u16string endOf(Start start) {
        const int ends = host.evalDones;
        start();
        if (!RecordingHost::reaches(host.evalDones, ends + 1)) return u"[no end]";
        return host.posted.back().messageText;
    }

    std::u16string resultOf(const std::u16string& lispText) {
        host.inputString = lispText;
        return endOf([] {
            int step = 1;
            VelmoraExtDynamicCmdEntry(&step);
        });
    }

    // What VelmoraExtGetVarEntry writes, and that it writes nothing behind its 300 units.
    static std::u16string valueOf(const std::u16string& expression, int mode) {
        char16_t result[301];
        std::fill(std::begin(result), std::end(result), u'#');
        VelmoraExtGetVarEntry(expression.c_str(), result, mode);
        EXPECT_EQ(result[300], u'#') << "written beyond the end";
        auto* const end = std::find(std::begin(result), std::end(result), u'\0');
        EXPECT_NE(end, std::end(result)) << "not terminated";
        return std::u16string(std::begin(result), end);
    }

    RecordingHost host;
    test::TemporaryFolder folder;
};

// --- host/typed_text.h ---

TEST(TypedText, IsFittedToItsBuffer) {
    for (const std::size_t capacity : {std::size_t{3}, std::size_t{255}, std::size_t{300}})
        for (const Case& each : casesOf(capacity - 1))
            EXPECT_TRUE(areEqual(fitted(each.text, capacity), each.kept)) << capacity;
    EXPECT_EQ(fitted(u"abc", 1), u"");
    EXPECT_EQ(fitted(u"\U0001F600", 2), u"");
    EXPECT_EQ(fitted(std::u16string_view(u"ab\0cd", 5), 10), u"ab");
    EXPECT_EQ(fitted(std::u16string_view(u"\0cd", 3), 10), u"");
}

TEST(TypedText, IsWhatTheHostHasWritten) {
    const auto written = [](const std::u16string& text, std::size_t capacity) {
        return textFromHost(capacity, [&](char16_t* buffer) {
            std::copy_n(text.data(), std::min(text.size(), hostTextRoom), buffer);
        });
    };
    EXPECT_EQ(written(u"", 300), u"");
    EXPECT_EQ(written(u"abc", 300), u"abc");
    EXPECT_EQ(written(std::u16string(u"ab\0cd", 5), 300), u"ab");
    for (const Case& each : casesOf(299)) EXPECT_TRUE(areEqual(written(each.text, 300), each.kept));
    // A host that fills its room to the last unit leaves no place for the end.
    EXPECT_TRUE(areEqual(written(units(hostTextRoom), 300), units(299)));
    EXPECT_TRUE(areEqual(written(units(hostTextRoom), hostTextRoom), units(hostTextRoom - 1)));
    EXPECT_EQ(textFromHost(300, [](char16_t*) {}), u"") << "nothing is written";
}

// --- 300 units: LISP texts ---

// The value of an open string, a quote and the units kept: without the last of them.
std::u16string valueOfOpen(const std::u16string& kept) { return kept.substr(0, kept.size() - 1); }

TEST_F(Bounds, ACommandsText) {
    for (const Case& each : casesOf(298)) {
        const std::u16string kept = valueOfOpen(each.kept);
        EXPECT_TRUE(areEqual(resultOf(u"\"" + each.text), u"\"" + kept + u"\""));
    }
}

TEST_F(Bounds, AnExpressionOfTheHost) {
    for (const Case& each : casesOf(298))
        EXPECT_TRUE(areEqual(valueOf(u"\"" + each.text, 5), valueOfOpen(each.kept)));
}

TEST_F(Bounds, AValueForTheHost) {
    for (const Case& each : casesOf(299)) {
        bind(u"x", u"\"" + each.text + u"\"");
        EXPECT_TRUE(areEqual(valueOf(u"x", 5), each.kept));
    }
    for (const Case& each : casesOf(298)) {
        if (each.text == each.kept) continue;  // its closing quote is seen below
        bind(u"x", u"\"" + each.text + u"\"");
        EXPECT_TRUE(areEqual(valueOf(u"x", 1), u"\"" + each.kept));
        bind(u"x", u"'(1 \"" + each.text.substr(2) + u"\")");
        EXPECT_EQ(valueOf(u"x", 0), u"1,\"" + each.kept.substr(2));
    }
    bind(u"x", u"\"" + fitting(297) + u"\"");
    EXPECT_TRUE(areEqual(valueOf(u"x", 1), u"\"" + fitting(297) + u"\""));
    bind(u"x", u"'((" + units(400) + u"))");
    EXPECT_TRUE(areEqual(valueOf(u"x", 4), units(299, u'A')));
}

TEST_F(Bounds, AnErrorText) {
    const std::u16string before(messages::undefinedSymbolBefore);
    const std::size_t room = 299 - before.size();
    const auto upper = [](std::u16string text) {
        std::ranges::transform(text, text.begin(), upperCase);
        return text;
    };
    for (const Case& each : casesOf(room)) {
        if (each.text == each.kept) continue;  // not cut, it ends with a quote
        // A text of the host's is cut itself, further behind.
        const std::u16string expression = each.text.substr(0, 290);
        const std::u16string expected = before + upper(each.kept);
        EXPECT_TRUE(areEqual(valueOf(expression, 1), expected));
        EXPECT_TRUE(areEqual(resultOf(expression), expected));
        const auto file = folder.write("bad.lsp", toUtf8(u"(" + each.text + u")"));
        host.inputString = platform::fromUtf8(file.string());
        EXPECT_TRUE(areEqual(endOf([] {
                                 int step = 2;
                                 loadFile(step);
                             }),
                             expected));
    }
}

// --- 300 units: prompts, answers and pieces of commands ---

TEST_F(Bounds, APrompt) {
    for (const BuiltinProc ask : {getpoint, getdist, getstring, getreal, getint, entsel}) {
        for (const Case& each : casesOf(299)) {
            host.answers = {reply(0)};
            const Cell prompt = Cell::string(each.text);
            ask(Arguments(&prompt, 1));
            EXPECT_TRUE(areEqual(host.posted.back().messageText, each.kept));
        }
    }
}

TEST_F(Bounds, APieceOfACommand) {
    for (const Case& each : casesOf(299)) {
        const std::vector<Cell> both{Cell::string(u"x"), Cell::string(each.text)};
        const Cell result = command(both);
        EXPECT_TRUE(areEqual(host.posted.back().inputText, each.kept));
        EXPECT_TRUE(areEqual(result.text(), each.kept)) << "what was sent is returned";
        host.posted.clear();
        std::u16string upper = each.kept;
        std::ranges::transform(upper, upper.begin(), upperCase);
        EXPECT_TRUE(areEqual(command(Arguments(&both[1], 1)).text(), upper));
        EXPECT_TRUE(areEqual(host.posted.back().inputText, upper));
    }
}

TEST_F(Bounds, AnAnswer) {
    const std::u16string typed = fitting(299);
    host.answers = {reply(0, 0, 0, typed)};
    EXPECT_TRUE(areEqual(getstring({}).text(), typed));
    HostRequest full = reply(0);
    std::ranges::copy(fitting(300), std::begin(full.inputText));
    std::ranges::fill(full.messageText, u'#');
    host.answers = {full};
    EXPECT_TRUE(areEqual(getstring({}).text(), units(298))) << "the field ends it";
}

// --- 3000 units: messages ---

TEST_F(Bounds, AMessage) {
    for (const Case& each : casesOf(2999)) {
        const Cell text = Cell::string(each.text);
        princ(Arguments(&text, 1));
        EXPECT_TRUE(areEqual(host.shown.back(), each.kept));
    }
    for (const Case& each : casesOf(2998)) {
        if (each.text == each.kept) continue;
        const Cell text = Cell::string(each.text);
        prin1(Arguments(&text, 1));
        EXPECT_TRUE(areEqual(host.shown.back(), u"\"" + each.kept));
    }
    for (const Case& each : casesOf(2996)) {
        if (each.text == each.kept) continue;
        const Cell text = Cell::string(each.text);
        print(Arguments(&text, 1));
        EXPECT_TRUE(areEqual(host.shown.back(), u"\r\n\"" + each.kept));
    }
    // PROMPT speaks without a record.
    const Cell text = Cell::string(units(20'000));
    prompt(Arguments(&text, 1));
    EXPECT_TRUE(areEqual(host.shown.back(), units(20'000)));
}

TEST_F(Bounds, TheEndOfACommand) {
    for (const Case& each : casesOf(2998)) {
        if (each.text == each.kept) continue;
        bind(u"x", u"\"" + each.text + u"\"");
        EXPECT_TRUE(areEqual(resultOf(u"x"), u"\"" + each.kept));
    }
}

// --- 255 units: lines typed in commands ---

TEST_F(Bounds, ALineOfLispPoly) {
    const auto lineOf = [&](const std::u16string& typed) {
        host.log.clear();
        host.inputString = typed;
        int step = 2;
        drawPolyline(step);
        return host.log.size() > 1 ? host.log[1] : "";
    };
    int step = 1;
    drawPolyline(step);
    const std::u16string zeros = u"1," + units(251, u'0');
    EXPECT_EQ(lineOf(zeros + u"7"), "updatePolyline 1 -1 1.000000 7.000000");
    EXPECT_EQ(lineOf(zeros + u"78"), "updatePolyline 1 -1 1.000000 7.000000");
    EXPECT_EQ(lineOf(zeros + u"\U0001F600"), "updatePolyline 1 -1 1.000000 0.000000");
    EXPECT_EQ(lineOf(units(253, u'0') + u","), "updatePolyline 1 -1 0.000000 0.000000");
    EXPECT_EQ(lineOf(units(254, u'0') + u",1"), "DisplayMsg Error: wrong input!");
    EXPECT_EQ(lineOf(units(20'000, u'0') + u",1"), "DisplayMsg Error: wrong input!");
}

// --- 256 units: the load path and the name of a toolbar ---

TEST_F(Bounds, ALoadedPath) {
    const auto load = [] {
        int step = 2;
        loadFile(step);
    };
    for (const Case& each : casesOf(255)) {
        host.inputString = each.text;
        endOf(load);
        EXPECT_TRUE(areEqual(currentModule()->session().LispPathBuffer, each.kept)) << "typed";
        EXPECT_TRUE(areEqual(host.shown.back(), each.kept + u" successfully loaded."));
        host.inputString.clear();
        host.hasChosen = true;
        host.chosenFile = each.text;
        endOf(load);
        EXPECT_TRUE(areEqual(currentModule()->session().LispPathBuffer, each.kept)) << "chosen";
    }
}

TEST_F(Bounds, APathInAMenu) {
    const std::u16string prefix = folder.prefix();
    for (const Case& each : casesOf(255 - prefix.size())) {
        folder.write("velm.mnu", toUtf8(u"**LISP\n" + each.text + u"\n"));
        loadMenusIn(prefix);
        EXPECT_TRUE(areEqual(currentModule()->session().LispPathBuffer, prefix + each.kept));
    }
}

TEST_F(Bounds, TheNameOfAToolbar) {
    for (const Case& each : casesOf(255)) {
        folder.write("velm.mnu", toUtf8(u"***TOOLBAR," + each.text + u",b.bmp\n"));
        host.log.clear();
        loadMenusIn(folder.prefix());
        EXPECT_EQ(host.log, std::vector<std::string>{toUtf8(u"Toolbar " + each.kept + u"|" +
                                                            folder.prefix() + u"b.bmp|")});
    }
}

// --- 260 units: the components of an announced path ---

TEST_F(Bounds, TheAnnouncedNameAndExtension) {
    InterpreterSession& session = currentModule()->session();
    for (const Case& each : casesOf(259)) {
        session.loadLispText(u"/some/where/" + each.text + u".lsp", u"");
        EXPECT_TRUE(areEqual(host.shown.back(), each.kept + u".lsp successfully loaded."));
    }
    for (const Case& each : casesOf(258)) {
        session.loadLispText(u"/some/where/box." + each.text, u"");
        EXPECT_TRUE(areEqual(host.shown.back(), u"box." + each.kept + u" successfully loaded."));
    }
    session.loadLispText(u"/" + units(5000) + u"/box.lsp", u"");
    EXPECT_EQ(host.shown.back(), u"box.lsp successfully loaded.");
}

}  // namespace
}  // namespace vlisp
