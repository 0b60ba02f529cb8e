// Tests of LispEdit (host/files.h) with an editor that is a script of the shell.
#include "tests/host/bounds_test.h"
#include "tests/host/files_test.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <thread>

namespace vlisp {
namespace {

using namespace test;
using platform::fromUtf8;
using platform::toUtf8;

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

TEST_F(Editing, ALongPathIsCut) {
    const std::filesystem::path left = folder.path() / "left";
    const auto script =
        folder.write("editor", "#!/bin/sh\nprintf '%s' \"$1\" >'" + left.string() + ".new'\nmv '" +
                                   left.string() + ".new' '" + left.string() + "'\n");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    setEditors(script.string(), std::nullopt);
    const auto edited = [&] {
        std::filesystem::remove(left);
        int step = 2;
        editFile(step);
        for (int i = 0; i < 6000 && !std::filesystem::exists(left); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return fromUtf8(contentsOf(left));
    };
    for (const Case& each : casesOf(254)) {
        host.inputString = each.text;
        EXPECT_TRUE(areEqual(edited(), each.kept)) << "typed";
        host.inputString.clear();
        host.hasChosen = true;
        host.chosenFile = each.text;
        EXPECT_TRUE(areEqual(edited(), each.kept)) << "chosen";
    }
}

}  // namespace
}  // namespace vlisp
