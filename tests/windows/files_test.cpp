// AppLoad and LispEdit: typed paths, the system's file dialog, and the editor.
#include "tests/windows/module_fixture.h"
#include "tests/windows/user.h"

#include <cstdio>

namespace vlisp::test {
namespace {

const char pathPrompt[] = "DisplayPromptMsg Enter lisp file (.lsp) full path or <Browse...>: ";

// A file in the system's folder for such, gone at the end.
class TemporaryFile {
  public:
    TemporaryFile(const std::u16string& name, const std::string& contents) {
        wchar_t folder[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, folder);
        path_ = reinterpret_cast<const char16_t*>(folder) +
                wide(std::to_string(GetCurrentProcessId())) + name;
        std::FILE* file = _wfopen(units(path_), L"wb");
        if (file == nullptr) hostFault("a file cannot be written");
        std::fputs(contents.c_str(), file);
        std::fclose(file);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { DeleteFileW(units(path_)); }

    [[nodiscard]] const std::u16string& path() const { return path_; }
    [[nodiscard]] std::string name() const { return narrow(path_.substr(path_.rfind(u'\\') + 1)); }

  private:
    std::u16string path_;
};

class Files : public StartedHere {
  protected:
    // Runs a step of AppLoad to the end of its evaluation.
    std::string load() {
        int step = 2;
        EXPECT_EQ(module->appLoad(&step), 1);
        EXPECT_EQ(step, 2) << "the command has ended";
        return host.serve();
    }
};

TEST_F(Files, AppLoadLoadsTheTypedFile) {
    const TemporaryFile file(u"box.lsp",
                             "(setq a 5)\r\n(defun c:box () (princ \"box\"))\r\n(princ a)\r\n");
    int step = 1;
    EXPECT_EQ(module->appLoad(&step), 1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(host.log, Lines{pathPrompt});
    EXPECT_EQ(host.windowsFetched, 0);
    host.inputString = file.path();
    EXPECT_EQ(load(), "");
    EXPECT_EQ(host.windowsFetched, 1);
    EXPECT_EQ(host.shown, (Lines{file.name() + " successfully loaded.", "5"}));
    EXPECT_EQ(host.runCommand(*module, "BOX"), "\"box\"");
}

TEST_F(Files, AppLoadTakesAPathBeyondAscii) {
    const TemporaryFile file(u"Z\u00FCrich \u4E2D.lsp", "(setq a 6)");
    host.inputString = file.path();
    EXPECT_EQ(load(), "");
    EXPECT_EQ(evaluate("a"), "6");
}

TEST_F(Files, AppLoadTellsWhatWentWrong) {
    const TemporaryFile file(u"bad.lsp", "(foo)\n");
    host.inputString = file.path();
    EXPECT_EQ(load(), ";error; undefined symbol 'FOO'\n");
    EXPECT_EQ(host.shown, Lines{file.name() + " successfully loaded."});
}

// What the open dialog is: an edit field for the name, and a list of filters.
constexpr int nameField = 0x47c;       // a combo box, with the field in it
constexpr int plainNameField = 0x480;  // without one
constexpr int filterList = 0x470;

void typeName(HWND dialog, const std::u16string& path) {
    HWND field = GetDlgItem(dialog, nameField);
    if (field == nullptr) field = GetDlgItem(dialog, plainNameField);
    SendMessageW(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(units(path)));
}

TEST_F(Files, AppLoadOfAnEmptyLineOpensTheDialog) {
    const TemporaryFile file(u"chosen.lsp", "(setq a 7)");
    std::string filter;
    {
        const NextDialog dialog(IDOK, [&](HWND box) {
            if (filter.empty()) filter = textOf(GetDlgItem(box, filterList));
            typeName(box, file.path());
        });
        EXPECT_EQ(load(), "");
    }
    EXPECT_EQ(filter, "Lisp files (*.lsp)");
    EXPECT_EQ(host.shown, Lines{file.name() + " successfully loaded."});
    EXPECT_EQ(evaluate("a"), "7");
    EXPECT_EQ(Lines(host.log.begin(), host.log.begin() + 4),
              (Lines{"GetInputString", "AllowTopMost 1", "AllowTopMost 0", "GetMainFrameWindow"}));
}

TEST_F(Files, ACancelledDialogLoadsAFileWithoutAName) {
    {
        const NextDialog dialog(IDCANCEL, [](HWND) {});
        EXPECT_EQ(load(), "");
    }
    EXPECT_EQ(host.shown, Lines{" successfully loaded."});
}

TEST_F(Files, LispEditStartsTheEditorWithTheTypedFile) {
    const TemporaryFile file(u"edited.lsp", "(setq edited 1)");
    int step = 1;
    EXPECT_EQ(module->lispEdit(&step), 1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(host.log, Lines{pathPrompt});
    host.inputString = file.path();
    EXPECT_EQ(module->lispEdit(&step), 1);
    EXPECT_EQ(step, 2) << "the command has ended";
    EXPECT_EQ(host.shown, Lines{"Lisp file edited successfully."}) << "whatever becomes of it";
    const StartedEditor editor("(setq edited 1)");
}

TEST_F(Files, LispEditTakesAPathAsItWasTyped) {
    for (const char16_t* name : {u"with two blanks.lsp", u"gr\u00f6\u00dfe \u4e2d.lsp"}) {
        const TemporaryFile file(name, "(setq typed 1)");
        int step = 2;
        host.inputString = file.path();
        EXPECT_EQ(module->lispEdit(&step), 1);
        const StartedEditor editor("(setq typed 1)");
    }
}

TEST_F(Files, AppLoadLoadsAFileBeyondAscii) {
    const TemporaryFile file(u"gr\u00f6\u00dfe \u4e2d.lsp", "(princ (* 6 7))");
    host.inputString = file.path();
    EXPECT_EQ(load(), "");
    EXPECT_EQ(host.shown.size(), 2u);
    EXPECT_EQ(host.shown.back(), "42");
}

TEST_F(Files, LispEditWithoutAFileStartsTheEditorEmpty) {
    {
        const NextDialog dialog(IDCANCEL, [](HWND) {});
        int step = 2;
        EXPECT_EQ(module->lispEdit(&step), 1);
    }
    EXPECT_EQ(host.log, (Lines{"GetInputString", "AllowTopMost 1", "AllowTopMost 0",
                               "DisplayMsg Lisp file edited successfully."}));
    const StartedEditor editor("");
}

}  // namespace
}  // namespace vlisp::test
