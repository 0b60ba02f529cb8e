// MnuLoad: the menu beside the host's program, and true toolbars made of what it says.
#include "tests/windows/module_fixture.h"

#include <cstdio>

#include <commctrl.h>

namespace vlisp::test {
namespace {

class Menus : public StartedHere {
  protected:
    Menus() { CreateDirectoryW(units(support()), nullptr); }
    ~Menus() override {
        for (const std::u16string& path : written_) DeleteFileW(units(path));
        RemoveDirectoryW(units(support()));
    }

    static std::u16string support() { return programFolder() + u"Support\\"; }

    void write(const char* name, const std::string& contents) {
        written_.push_back(support() + wide(name));
        std::FILE* file = _wfopen(units(written_.back()), L"wb");
        if (file == nullptr) hostFault("a file of the menu cannot be written");
        std::fwrite(contents.data(), 1, contents.size(), file);
        std::fclose(file);
    }

    static TBBUTTON buttonOf(HWND toolbar, int index) {
        TBBUTTON button{};
        SendMessageW(toolbar, TB_GETBUTTON, static_cast<WPARAM>(index),
                     reinterpret_cast<LPARAM>(&button));
        return button;
    }
    static LRESULT buttonsOf(HWND toolbar) { return SendMessageW(toolbar, TB_BUTTONCOUNT, 0, 0); }
    // Presses the mouse on a button and lets it go.
    static void click(HWND toolbar, int index) {
        RECT place{};
        SendMessageW(toolbar, TB_GETITEMRECT, static_cast<WPARAM>(index),
                     reinterpret_cast<LPARAM>(&place));
        const LPARAM middle =
            MAKELPARAM((place.left + place.right) / 2, (place.top + place.bottom) / 2);
        SendMessageW(toolbar, WM_LBUTTONDOWN, MK_LBUTTON, middle);
        SendMessageW(toolbar, WM_LBUTTONUP, 0, middle);
    }

  private:
    std::vector<std::u16string> written_;
};

// A picture of 32 by 16 points in three colours of 8 bits each.
std::string bitmap() {
    const BITMAPINFOHEADER info{sizeof(BITMAPINFOHEADER), 32, 16, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    BITMAPFILEHEADER file{};
    file.bfType = 0x4d42;
    file.bfOffBits = sizeof file + sizeof info;
    file.bfSize = file.bfOffBits + 32 * 16 * 3;
    return std::string(reinterpret_cast<const char*>(&file), sizeof file) +
           std::string(reinterpret_cast<const char*>(&info), sizeof info) +
           std::string(std::size_t{32} * 16 * 3, '\x80');
}

TEST_F(Menus, AMissingMenuIsNoFault) {
    EXPECT_EQ(module->mnuLoad(), 1);
    EXPECT_EQ(host.log, Lines());
}

TEST_F(Menus, FilesAreLoadedAndToolbarsMade) {
    write("velm.mnu", ";; a menu\r\n"
                      "**LISP\r\n"
                      "start.lsp\r\n"
                      "\r\n"
                      "***TOOLBAR,Tools and more,tools.bmp\r\n"
                      "100,HELLO\r\n"
                      "a line without a comma\r\n"
                      "101,AppLoad\r\n"
                      "\r\n"
                      "***TOOLBAR,T,b.bmp\r\n"
                      "7,VERYLONGCOMMANDNAME\r\n");
    write("start.lsp", "(defun c:hello () 5)\r\n(princ \"direct\")\r\n(foo)\r\n");
    write("tools.bmp", bitmap());
    EXPECT_EQ(module->mnuLoad(), 1);
    const std::string folder = narrow(support());
    EXPECT_EQ(host.log,
              (Lines{"AddCommand HELLO", "DisplayMsg direct", "AddCommand HELLO",
                     "AddCommand AppLoad", "Toolbar Tools and more " + folder + "tools.bmp",
                     "AddCommand VERYLONGCOMMANDN", "Toolbar T " + folder + "b.bmp"}));
    EXPECT_EQ(host.windowsFetched, 0) << "on the calling thread";
    EXPECT_EQ(host.messagesTaken, 0);
    EXPECT_EQ(host.commands.at("HELLO").number, 100u);
    EXPECT_EQ(host.commands.at("HELLO").instance, module->handle());
    EXPECT_EQ(host.commands.at("VERYLONGCOMMANDN").description, "VERYLONGCOMMANDN");

    ASSERT_EQ(host.toolbars.size(), 2u);
    ASSERT_EQ(buttonsOf(host.toolbars[0]), 2);
    for (int i = 0; i < 2; ++i) {
        const TBBUTTON button = buttonOf(host.toolbars[0], i);
        EXPECT_EQ(button.iBitmap, i);
        EXPECT_EQ(button.idCommand, 100 + i);
        EXPECT_EQ(button.fsState, TBSTATE_ENABLED);
        EXPECT_EQ(button.fsStyle, 0);
        EXPECT_EQ(button.dwData, 0u);
    }
    ASSERT_EQ(buttonsOf(host.toolbars[1]), 1);
    EXPECT_EQ(buttonOf(host.toolbars[1], 0).iBitmap, 0);
    EXPECT_EQ(buttonOf(host.toolbars[1], 0).idCommand, 7);
}

TEST_F(Menus, AButtonStartsItsCommand) {
    write("velm.mnu", "**LISP\nstart.lsp\n\n***TOOLBAR,Tools,tools.bmp\n100,HELLO\n101,OTHER\n");
    write("start.lsp", "(defun c:hello () (princ \"pressed\"))");
    write("tools.bmp", bitmap());
    EXPECT_EQ(module->mnuLoad(), 1);
    ASSERT_EQ(host.toolbars.size(), 1u);
    click(host.toolbars[0], 0);
    host.waitUntil("a pressed button", [this] { return !host.pressed.empty(); });
    EXPECT_EQ(host.pressed, std::vector<unsigned>{100});
    EXPECT_EQ(host.runCommand(*module, "HELLO"), "\"pressed\"");
    EXPECT_EQ(host.shown, Lines{"pressed"});
}

TEST_F(Menus, TheThreadThatEvaluatesIsUsedAgainAfterwards) {
    write("velm.mnu", "**LISP\nstart.lsp\n");
    write("start.lsp", "(setq a 5)");
    EXPECT_EQ(module->mnuLoad(), 1);
    EXPECT_EQ(evaluate("(begin (princ \"queued\") a)"), "5");
    EXPECT_EQ(host.messagesTaken, 2);
}

}  // namespace
}  // namespace vlisp::test
