// Tests of host/files.h. The editor: files_posix_test.cpp.
#include "tests/host/files_test.h"

namespace vlisp {
namespace {

using namespace test;
using platform::fromUtf8;
using platform::toUtf8;

// --- AppLoad ---

TEST_F(Files, BothCommandsBeginWithTheirPrompt) {
    for (int (*command)(int&) : {loadFile, editFile}) {
        host.log.clear();
        int step = 1;
        EXPECT_EQ(command(step), 1);
        EXPECT_EQ(step, 2);
        EXPECT_EQ(host.log, Log{promptForFile});
    }
}

TEST_F(Files, ATypedPathIsLoaded) {
    host.inputString = textOf(folder.write("box.lsp", "(princ \"hi\")\n(setq kept 5)\n"));
    handshake().mainWindow = nullptr;
    load();
    EXPECT_EQ(handshake().mainWindow, &host);
    EXPECT_EQ(host.log, (Log{"Clear", "Post 3", "Clear", "Post 3", "Clear", "Post 2"}));
    EXPECT_EQ(host.shown, (Texts{u"box.lsp successfully loaded.", u"hi"}));
    EXPECT_EQ(std::u16string(host.posted.back().messageText), u"");
    std::u16string kept = u"kept";
    EXPECT_TRUE(currentModule()->session().EvalString(kept));
    EXPECT_EQ(kept, u"5");
    EXPECT_EQ(currentModule()->session().LispPathBuffer, host.inputString);
}

TEST_F(Files, EveryStepButTheFirstLoads) {
    host.inputString = textOf(folder.write("box.lsp", "(princ \"hi\")"));
    for (const int step : {0, 2, 3, -1}) {
        host.shown.clear();
        load(step);
        EXPECT_EQ(host.shown.size(), 2u) << "step " << step;
    }
}

TEST_F(Files, ALoadEndsWithItsLastError) {
    host.inputString = textOf(folder.write("bad.lsp", "(foo)\n(princ \"not shown\")\n"));
    load();
    EXPECT_EQ(host.shown, Texts{u"bad.lsp successfully loaded."});
    EXPECT_EQ(std::u16string(host.posted.back().messageText), u";error; undefined symbol 'FOO'\n");
    EXPECT_EQ(host.posted.back().kind, 2);
}

TEST_F(Files, AMissingFileIsAnnouncedAllTheSame) {
    host.inputString = u"/no/such/folder/missing.lsp";
    load();
    EXPECT_EQ(host.shown, Texts{u"missing.lsp successfully loaded."});
    EXPECT_EQ(std::u16string(host.posted.back().messageText), u"");
    EXPECT_TRUE(host.calls().empty()) << "neither a dialog nor a warning";
}

TEST_F(Files, AnEmptyLineLetsTheUserBrowse) {
    host.hasChosen = true;
    host.chosenFile = textOf(folder.write("chosen.lsp", "(princ \"chosen\")"));
    load();
    EXPECT_EQ(host.calls(), browsing);
    EXPECT_EQ(host.log[0], "AllowTopMost 1");
    EXPECT_EQ(host.shown, (Texts{u"chosen.lsp successfully loaded.", u"chosen"}));
}

TEST_F(Files, ACancelledDialogLoadsTheEmptyPath) {
    load();
    EXPECT_EQ(host.calls(), browsing);
    EXPECT_EQ(host.shown, Texts{u" successfully loaded."});
    EXPECT_EQ(std::u16string(host.posted.back().messageText), u"");
    EXPECT_EQ(currentModule()->session().LispPathBuffer, u"");
}

TEST_F(Files, ALoadedFileMayRegisterCommands) {
    host.inputString = textOf(folder.write("cmd.lsp", "(defun c:box () 5)"));
    load();
    EXPECT_EQ(host.log[2], "AddCommand BOX|(BOX)||VelmoraLispExtension.vxm|0");
}

}  // namespace
}  // namespace vlisp
