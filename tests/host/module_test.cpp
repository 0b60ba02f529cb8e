// Tests of host/module.h.
#include "host/module.h"

#include "core/printer.h"
#include "host/handshake.h"
#include "platform/text.h"
#include "tests/support/recording_host.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace vlisp {
namespace {

using test::RecordingHost;
using Log = std::vector<std::string>;

class ModuleTest : public testing::Test {
  protected:
    void SetUp() override { handshake().directMode = false; }
    void TearDown() override { handshake().directMode = false; }

    static std::string eval(Module& module, std::string_view text) {
        std::u16string buffer = platform::fromUtf8(text);
        module.session().EvalString(buffer);
        return platform::toUtf8(buffer);
    }

    RecordingHost host;
};

TEST_F(ModuleTest, StartsWithoutTellingTheHostAnything) {
    const Module module;
    EXPECT_TRUE(host.log.empty());
    EXPECT_TRUE(host.posted.empty());
}

TEST_F(ModuleTest, StartsWithNothingPicked) {
    handshake().reply.count = 7;
    const Module module;
    EXPECT_EQ(handshake().reply.count, 0);
}

TEST_F(ModuleTest, BindsThePreludesFunction) {
    Module module;
    EXPECT_EQ(eval(module, "ssfilter"), "SSFILTER");
    const Cell* bound = GlobalEnvironment().find(intern(u"SSFILTER").get());
    ASSERT_NE(bound, nullptr);
    ASSERT_TRUE(bound->is(CellType::Lambda));
    ASSERT_EQ(bound->items().size(), 3u);
    EXPECT_EQ(PrintCell(bound->items()[1]), u"(FILT)");
    // Its locals are made first, in the order in which they are written.
    const Items body = bound->items()[2].items();
    const std::vector<std::u16string> locals{u"CHK", u"IND", u"CNT", u"SS", u"LST", u"LOUT",
                                             u"EN",  u"ENT", u"R",   u"RC", u"CS",  u"MAXC"};
    ASSERT_GT(body.size(), locals.size() + 1);
    EXPECT_EQ(PrintCell(body[0]), u"BEGIN");
    for (std::size_t i = 0; i < locals.size(); ++i)
        EXPECT_EQ(PrintCell(body[i + 1]), u"(DEFINE " + locals[i] + u" 0)");
    EXPECT_EQ(PrintCell(body[locals.size() + 1]), u"(SETQ IND 0)");
    EXPECT_EQ(PrintCell(body.back()), u"(SETQ LOUT LST)");
}

TEST_F(ModuleTest, BindsTheConsoleFunctionsAndTheOthers) {
    Module module;
    for (const char* name : {"princ", "prin1", "print", "prompt", "car", "vl-remove-if"})
        EXPECT_EQ(eval(module, name), "<Proc>") << name;
    EXPECT_EQ(eval(module, "nil"), ";error; undefined symbol 'NIL'\n");
    EXPECT_EQ(eval(module, "(>= 2 1)"), ";error; undefined symbol '>='\n");
}

TEST_F(ModuleTest, EntityNamesBeginSomewhereBetweenTheLimits) {
    std::set<std::uint32_t> seen;
    for (std::uint32_t ticks = 0; ticks < 300; ++ticks) {
        HandshakePort port;
        InterpreterSession session({port, [](Environment&) {}, u"0"});
        session.StartInterpreter(ticks * 7919);
        EXPECT_GE(EntityNameBase, 1'000'000u);
        EXPECT_LE(EntityNameBase, 33'767'000u);
        EXPECT_EQ(EntityNameBase % 1000, 0u);
        seen.insert(EntityNameBase);
    }
    EXPECT_GT(seen.size(), 100u) << "it depends on the ticks";
    EntityNameBase = 0;
    const Module module;
    EXPECT_GE(EntityNameBase, 1'000'000u);
    EXPECT_LE(EntityNameBase, 33'767'000u);
    EXPECT_EQ(EntityNameBase % 1000, 0u);
}

TEST_F(ModuleTest, ACommandDefinedInLispIsRegisteredWithTheHost) {
    Module module;
    EXPECT_EQ(eval(module, "(defun c:hello () (princ \"hi\"))"), "HELLO");
    const std::string registered = "AddCommand HELLO|(HELLO)||VelmoraLispExtension.vxm|0";
    EXPECT_EQ(host.log, Log{registered});
    // Defined again, it is registered again.
    EXPECT_EQ(eval(module, "(defun C:Hello () 5)"), "HELLO");
    EXPECT_EQ(host.log, (Log{registered, registered}));
    EXPECT_EQ(eval(module, "(hello)"), "5");
    // A function without the C: is no command.
    EXPECT_EQ(eval(module, "(defun plain () 5)"), "PLAIN");
    EXPECT_EQ(eval(module, "(defun xc:plain () 5)"), "XC:PLAIN");
    EXPECT_EQ(host.log.size(), 2u);
    // Neither is one without a parameter list.
    EXPECT_EQ(eval(module, "(defun c:none)"), "nil");
    EXPECT_EQ(host.log.size(), 2u);
}

TEST_F(ModuleTest, ALoadIsAnnouncedBeforeAnythingIsEvaluated) {
    Module module;
    const LoadReport report =
        module.session().loadLispText(u"/some/where/box.lsp", u"(princ \"a\")\n(princ \"b\")\n");
    EXPECT_EQ(host.log,
              (Log{"Clear", "Post 3", "Clear", "Post 3", "Clear", "Post 3", "Clear", "Post 2"}));
    EXPECT_EQ(host.shown,
              (std::vector<std::u16string>{u"box.lsp successfully loaded.", u"a", u"b"}));
    EXPECT_EQ(std::u16string(host.posted.back().messageText), u"");
    EXPECT_EQ(report.errorText, u"");
    EXPECT_EQ(report.line, 0u);
}

TEST_F(ModuleTest, AMissingFileIsAnnouncedAllTheSame) {
    Module module;
    module.session().LoadLispFile(u"/no/such/folder/missing.lsp");
    EXPECT_EQ(host.log, (Log{"Clear", "Post 3", "Clear", "Post 2"}));
    EXPECT_EQ(host.shown, std::vector<std::u16string>{u"missing.lsp successfully loaded."});
    EXPECT_EQ(host.posted[0].mode, 0);
    EXPECT_EQ(host.posted[1].mode, 0);
    EXPECT_EQ(std::u16string(host.posted[1].messageText), u"");
}

TEST_F(ModuleTest, ALoadEndsWithItsErrorText) {
    Module module;
    const LoadReport report =
        module.session().loadLispText(u"bad.lsp", u"(setq a 1)\n(foo)\n(princ \"x\")\n");
    EXPECT_EQ(host.shown, std::vector<std::u16string>{u"bad.lsp successfully loaded."});
    ASSERT_FALSE(host.posted.empty());
    EXPECT_EQ(host.posted.back().kind, 2);
    EXPECT_EQ(std::u16string(host.posted.back().messageText), u";error; undefined symbol 'FOO'\n");
    EXPECT_EQ(report.errorText, u";error; undefined symbol 'FOO'\n");
    EXPECT_EQ(report.line, 2u);
}

TEST_F(ModuleTest, SetqEmptiesTheErrorsOfALoad) {
    Module module;
    module.session().loadLispText(u"a.lsp", u"(setq a 1)\n(setq b undefinedthing)\n(setq c 3)\n");
    EXPECT_EQ(std::u16string(host.posted.back().messageText), u"");
    EXPECT_EQ(eval(module, "(list a b c)"), "(1 nil 3)");
}

TEST_F(ModuleTest, InDirectModeALoadIsShownAndItsEndIsDropped) {
    Module module;
    handshake().directMode = true;
    module.session().loadLispText(u"menu.lsp", u"(princ \"a\")\n(foo)\n");
    EXPECT_EQ(host.log, (Log{"DisplayMsg menu.lsp successfully loaded.", "DisplayMsg a"}));
    EXPECT_TRUE(host.posted.empty());
}

TEST_F(ModuleTest, LongTextsAreCutToTheRecord) {
    HandshakePort port;
    port.sendMessage(std::u16string(4000, u'm'));
    port.sendEvalDone(std::u16string(4000, u'e'));
    ASSERT_EQ(host.posted.size(), 2u);
    EXPECT_EQ(host.posted[0].kind, 3);
    EXPECT_EQ(std::u16string(host.posted[0].messageText), std::u16string(2999, u'm'));
    EXPECT_EQ(host.posted[1].kind, 2);
    EXPECT_EQ(std::u16string(host.posted[1].messageText), std::u16string(2999, u'e'));
}

TEST_F(ModuleTest, ThePortRegistersCommandsAsTheModule) {
    HandshakePort port;
    port.addCommand(u"BOX", u"(BOX)");
    EXPECT_EQ(host.log, Log{"AddCommand BOX|(BOX)||VelmoraLispExtension.vxm|0"});
    EXPECT_EQ(std::u16string(moduleFileName), u"VelmoraLispExtension.vxm");
}

TEST_F(ModuleTest, FetchesTheMainWindowFromTheHost) {
    handshake().mainWindow = nullptr;
    Module::fetchMainWindow();
    EXPECT_EQ(handshake().mainWindow, &host);
}

TEST_F(ModuleTest, OneModuleAfterAnotherBeginsAnew) {
    {
        Module first;
        EXPECT_EQ(eval(first, "(setq kept 5)"), "5");
        EXPECT_EQ(eval(first, "(setq car 5)"), "5");
    }
    Module second;
    EXPECT_EQ(eval(second, "kept"), ";error; undefined symbol 'KEPT'\n");
    EXPECT_EQ(eval(second, "(car '(1 2))"), "1");
}

TEST_F(ModuleTest, EvaluatesOnAThreadOfItsOwn) {
    Module module;
    std::string result;
    std::thread worker([&] { result = eval(module, "(begin (princ \"working\") (+ 1 2))"); });
    worker.join();
    EXPECT_EQ(result, "3");
    EXPECT_EQ(host.shown, std::vector<std::u16string>{u"working"});
}

}  // namespace
}  // namespace vlisp
