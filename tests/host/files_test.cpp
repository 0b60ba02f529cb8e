// Tests of host/files.h.
#include "host/files.h"

#include "host/module.h"
#include "platform/text.h"
#include "tests/support/recording_host.h"
#include "tests/support/temporary_folder.h"

#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vlisp {
namespace {

using platform::fromUtf8;
using platform::toUtf8;
using test::contentsOf;
using test::RecordingHost;
using test::TemporaryFolder;
using Log = std::vector<std::string>;
using Texts = std::vector<std::u16string>;

const std::string prompt = "DisplayPromptMsg Enter lisp file (.lsp) full path or <Browse...>: ";
const Log browsing{"AllowTopMost 1", "chooseFile .lsp|Lisp files (*.lsp)|*lsp||", "AllowTopMost 0"};

std::u16string textOf(const std::filesystem::path& path) { return fromUtf8(path.string()); }

class Files : public testing::Test {
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

    // AppLoad after its prompt; returns when the load has ended.
    void load(int step = 2) {
        const int before = step;
        const int ends = host.evalDones;
        EXPECT_EQ(loadFile(step), 1);
        EXPECT_EQ(step, before) << "the command has ended";
        ASSERT_TRUE(RecordingHost::reaches(host.evalDones, ends + 1));
    }

    RecordingHost host;
    TemporaryFolder folder;
};

// --- AppLoad ---

TEST_F(Files, BothCommandsBeginWithTheirPrompt) {
    for (int (*command)(int&) : {loadFile, editFile}) {
        host.log.clear();
        int step = 1;
        EXPECT_EQ(command(step), 1);
        EXPECT_EQ(step, 2);
        EXPECT_EQ(host.log, Log{prompt});
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

// --- LispEdit ---

// An environment variable for the length of a test.
class Variable {
  public:
    Variable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* old = std::getenv(name)) before_ = old;
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(before_); }

    void set(const std::optional<std::string>& value) const {
        if (value) ::setenv(name_, value->c_str(), 1);
        else ::unsetenv(name_);
    }

  private:
    const char* name_;
    std::optional<std::string> before_;
};

// Its editor writes how it was called into a file, which appears whole.
class Editing : public Files {
  protected:
    // An editor that leaves its name and its arguments, each in brackets.
    std::string editor(const std::string& name) const {
        const std::string seen = seenFile().string();
        const auto script = folder.write(
            name, "#!/bin/sh\n{ printf '" + name + "'; for a; do printf '[%s]' \"$a\"; done; } >'" +
                      seen + ".new'\nmv '" + seen + ".new' '" + seen + "'\n");
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        return script.string();
    }

    std::filesystem::path seenFile() const { return folder.path() / "seen"; }

    // What the editor left; waits for it up to a minute.
    std::string seen() const {
        for (int i = 0; i < 6000 && !std::filesystem::exists(seenFile()); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const std::string text = contentsOf(seenFile());
        std::filesystem::remove(seenFile());
        return text;
    }

    // LispEdit after its prompt.
    void edit(std::u16string_view typed) {
        host.log.clear();
        host.inputString = typed;
        int step = 2;
        EXPECT_EQ(editFile(step), 1);
        EXPECT_EQ(step, 2) << "the command has ended";
        ASSERT_FALSE(host.log.empty());
        EXPECT_EQ(host.log.back(), "DisplayMsg Lisp file edited successfully.");
    }

    void setEditors(const std::optional<std::string>& visual,
                    const std::optional<std::string>& editor) const {
        visual_.set(visual);
        editor_.set(editor);
    }

  private:
    Variable visual_{"VISUAL", std::nullopt};
    Variable editor_{"EDITOR", std::nullopt};
};

TEST_F(Editing, ATypedPathIsOpenedInTheEditor) {
    setEditors(editor("visual"), std::nullopt);
    edit(u"/some/where/box.lsp");
    EXPECT_EQ(host.log, Log{"DisplayMsg Lisp file edited successfully."});
    EXPECT_EQ(seen(), "visual[/some/where/box.lsp]");
    EXPECT_TRUE(host.posted.empty()) << "it is not loaded";
}

TEST_F(Editing, APathIsOneArgumentWhateverItHolds) {
    setEditors(editor("visual"), std::nullopt);
    const char16_t path[] = u"/a b/\u00e9 'x' \"y\" $HOME `id` ;*\\.lsp";
    edit(path);
    EXPECT_EQ(seen(), "visual[" + toUtf8(path) + "]");
}

TEST_F(Editing, TheEditorIsTheUsers) {
    const std::string visual = editor("visual");
    const std::string plain = editor("editor");
    setEditors(visual, plain);
    edit(u"a");
    EXPECT_EQ(seen(), "visual[a]");
    setEditors(std::nullopt, plain);
    edit(u"a");
    EXPECT_EQ(seen(), "editor[a]");
    setEditors("", plain);
    edit(u"a");
    EXPECT_EQ(seen(), "editor[a]");
    setEditors(visual + " -w --line=3", plain);
    edit(u"a");
    EXPECT_EQ(seen(), "visual[-w][--line=3][a]");
}

TEST_F(Editing, AnEmptyLineLetsTheUserBrowse) {
    setEditors(editor("visual"), std::nullopt);
    host.hasChosen = true;
    host.chosenFile = u"/chosen/box.lsp";
    edit(u"");
    EXPECT_EQ(host.calls(), browsing);
    EXPECT_EQ(seen(), "visual[/chosen/box.lsp]");
}

TEST_F(Editing, ACancelledDialogOpensTheEditorWithoutAFile) {
    setEditors(editor("visual"), std::nullopt);
    edit(u"");
    EXPECT_EQ(host.calls(), browsing);
    EXPECT_EQ(seen(), "visual");
}

TEST_F(Editing, AnEditorThatDoesNotStartIsNotToldOf) {
    setEditors("/no/such/editor 2>/dev/null", std::nullopt);
    edit(u"/some/where/box.lsp");
    EXPECT_EQ(host.log, Log{"DisplayMsg Lisp file edited successfully."});
}

TEST_F(Editing, EveryStepButTheFirstOpensTheEditor) {
    setEditors(editor("visual"), std::nullopt);
    host.inputString = u"a";
    for (const int given : {0, 3, -1}) {
        int step = given;
        EXPECT_EQ(editFile(step), 1);
        EXPECT_EQ(step, given);
        EXPECT_EQ(seen(), "visual[a]");
    }
}

// Two programs cannot share a terminal: there the command returns when the editor has ended.
TEST_F(Editing, InATerminalTheEditorIsWaitedFor) {
    setEditors(editor("visual"), std::nullopt);
    host.livesInTerminal = true;
    edit(u"/some/where/box.lsp");
    EXPECT_EQ(contentsOf(seenFile()), "visual[/some/where/box.lsp]");
}

TEST_F(Editing, APathIsNeverAnOption) {
    setEditors(editor("visual"), std::nullopt);
    edit(u"-w.lsp");
    EXPECT_EQ(seen(), "visual[./-w.lsp]");
}

}  // namespace
}  // namespace vlisp
