// Tests of host/menus.h.
#include "host/menus.h"

#include "host/module.h"
#include "platform/text.h"
#include "tests/support/recording_host.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using platform::fromUtf8;
using platform::toUtf8;
using test::RecordingHost;
using test::TemporaryFolder;
using Log = std::vector<std::string>;

std::string command(const std::string& name, unsigned number) {
    return "AddCommand " + name + "||" + name + "|VelmoraLispExtension.vxm|" +
           std::to_string(number);
}

class Menus : public testing::Test {
  protected:
    void SetUp() override {
        test::resetHandshake();
        ASSERT_TRUE(test::startExtension());
        host.log.clear();
        host.owners.clear();
    }
    void TearDown() override {
        EXPECT_FALSE(handshake().directMode) << "a menu was left in direct mode";
        stopModule();
        test::resetHandshake();
    }

    // What loading this menu file does.
    Log load(std::string_view menu) {
        folder.write("velm.mnu", menu);
        return loadFolder();
    }
    Log loadFolder() {
        host.log.clear();
        EXPECT_EQ(loadMenusIn(folder.prefix()), 1);
        return host.log;
    }

    // A LISP file that shows `text`.
    void lispFile(const std::string& name, const std::string& text) const {
        folder.write(name, "(princ \"" + text + "\")\n");
    }

    std::string toolbar(const std::string& name, const std::string& bitmap,
                        const std::string& buttons) const {
        return "Toolbar " + name + "|" + toUtf8(folder.prefix()) + bitmap + "|" + buttons;
    }

    static std::string eval(const char16_t* expression) {
        std::u16string buffer = expression;
        currentModule()->session().EvalString(buffer);
        return toUtf8(buffer);
    }

    RecordingHost host;
    TemporaryFolder folder;
};

// --- the file ---

TEST_F(Menus, AMissingFileIsPassedOverInSilence) {
    EXPECT_EQ(loadFolder(), Log{});
    EXPECT_EQ(loadMenusIn(u"/no/such/folder/"), 1);
    EXPECT_TRUE(host.log.empty());
}

TEST_F(Menus, AFileThatCannotBeReadIsTold) {
    std::filesystem::create_directory(folder.path() / "velm.mnu");
#ifdef _WIN32  // where a folder cannot even be opened
    EXPECT_EQ(loadFolder(), Log{});
#else
    EXPECT_EQ(loadFolder(), Log{"warn ERROR: An unspecified error occurred."});
#endif
}

TEST_F(Menus, WhatIsNoSectionIsPassedOver) {
    EXPECT_EQ(load(""), Log{});
    EXPECT_EQ(load("\n\n \n\t\n"), Log{});
    EXPECT_EQ(load(";;**LISP\na.lsp\n  ;; ***TOOLBAR,T,b\n1,A\n"), Log{});
    EXPECT_EQ(load("MENU\n*LISP\n**LIS\n***TOOL,T,b\n**TOOLBAR,T,b\n1,A\nx **LISP\n;**LISP\n"),
              Log{});
}

// --- LISP sections ---

TEST_F(Menus, ALispSectionLoadsItsFilesQuietly) {
    lispFile("a.lsp", "a");
    lispFile("b.lsp", "b");
    EXPECT_EQ(load("**LISP\na.lsp\nb.lsp\n"), (Log{"DisplayMsg a", "DisplayMsg b"}));
    EXPECT_TRUE(host.posted.empty());
    EXPECT_EQ(currentModule()->session().LispPathBuffer, folder.prefix() + u"b.lsp");
}

TEST_F(Menus, ALispSectionEndsAtAnEmptyLine) {
    lispFile("a.lsp", "a");
    lispFile("b.lsp", "b");
    EXPECT_EQ(load("**LISP\na.lsp\n\nb.lsp\n"), Log{"DisplayMsg a"});
    EXPECT_EQ(load("**LISP\na.lsp\n\n\n**LISP\nb.lsp"), (Log{"DisplayMsg a", "DisplayMsg b"}));
    EXPECT_EQ(load("**LISP\na.lsp\n \nb.lsp\n"), (Log{"DisplayMsg a", "DisplayMsg b"}))
        << "a line of blanks is not empty";
}

TEST_F(Menus, TheFirstLineOfALispSectionIsAFileEvenWhenItIsEmpty) {
    lispFile("a.lsp", "a");
    lispFile("b.lsp", "b");
    EXPECT_EQ(load("**LISP\n\na.lsp\n\nb.lsp\n"), Log{"DisplayMsg a"});
    EXPECT_EQ(load("**LISP\n\n\na.lsp\n"), Log{});
    EXPECT_EQ(load("**LISP"), Log{});
    EXPECT_EQ(load("**LISP\n"), Log{});
}

TEST_F(Menus, SectionHeadersAreLookedAtInUpperCaseAndAtTheirFront) {
    lispFile("a.lsp", "a");
    for (const char* header : {"**lisp", "**LISP", " \t **Lisp", "**LISPX and more", "**LISP,"})
        EXPECT_EQ(load(header + std::string("\na.lsp\n")), Log{"DisplayMsg a"}) << header;
    for (const char* header : {"***toolbar,T,b", "  ***Toolbar,T,b", "***TOOLBARS,T,b"})
        EXPECT_EQ(load(header + std::string("\n")), Log{toolbar("T", "b", "")}) << header;
}

// Names are taken as they are written: with blanks, as comments, as headers.
TEST_F(Menus, EveryLineOfALispSectionIsAFileName) {
    const struct {
        const char* name;
        const char* word;
    } files[] = {{" a.lsp ", "blanks"},    {";;a.lsp", "comment"},
                 {"**LISP", "header"},     {"***TOOLBAR,T,b.bmp", "toolbar"},
                 {"\u00e9.lsp", "accent"}, {"sub/a.lsp", "folder"}};
    Log expected;
    for (const auto& file : files) {
        lispFile(file.name, file.word);
        // Not every system lets a file have every name.
        if (std::filesystem::exists(folder.path() / platform::fromUtf8(file.name)))
            expected.push_back(std::string("DisplayMsg ") + file.word);
    }
    EXPECT_GE(expected.size(), 4U);
    EXPECT_EQ(
        load("**LISP\n a.lsp \n;;a.lsp\n**LISP\n***TOOLBAR,T,b.bmp\n\u00e9.lsp\nsub\\a.lsp\n"),
        expected);
    EXPECT_EQ(load("**LISP\na.lsp\n"), Log{}) << "there is none without the blanks";
}

TEST_F(Menus, ErrorsInLispFilesAreNotTold) {
    folder.write("bad.lsp", "(foo)\n(princ \"not shown\")\n");
    lispFile("a.lsp", "a");
    EXPECT_EQ(load("**LISP\nbad.lsp\nmissing.lsp\na.lsp\n"), Log{"DisplayMsg a"})
        << "each file begins without an error";
}

TEST_F(Menus, WhatLispFilesDefineStays) {
    folder.write("def.lsp",
                 "(defun twice (n) (* 2 n))\n(defun c:box () 5)\n(setq kept (twice 21))");
    EXPECT_EQ(load("**LISP\ndef.lsp\n"), Log{"AddCommand BOX|(BOX)||VelmoraLispExtension.vxm|0"});
    EXPECT_EQ(eval(u"(twice kept)"), "84");
}

TEST_F(Menus, DirectModeLastsAsLongAsALispSection) {
    lispFile("a.lsp", "a");
    EXPECT_EQ(load("***TOOLBAR,T,b\n1,A\n\n**LISP\na.lsp\n\n***TOOLBAR,U,c\n2,B\n"),
              (Log{command("A", 1), toolbar("T", "b", "1:0 "), "DisplayMsg a", command("B", 2),
                   toolbar("U", "c", "2:0 ")}));
    EXPECT_FALSE(handshake().directMode);
    host.log.clear();
    EXPECT_EQ(eval(u"(princ \"after\")"), "\"after\"");
    EXPECT_EQ(host.log, (Log{"Clear", "Post 3"})) << "posted again";
}

TEST_F(Menus, WithoutAModuleLispFilesAreLeftOut) {
    stopModule();
    lispFile("a.lsp", "a");
    EXPECT_EQ(load("**LISP\na.lsp\n\n***TOOLBAR,T,b\n1,A\n"),
              (Log{command("A", 1), toolbar("T", "b", "1:0 ")}));
}

// --- toolbar sections ---

TEST_F(Menus, AToolbarRegistersItsCommandsAndIsThenMade) {
    EXPECT_EQ(load("***TOOLBAR,My tools,tools.bmp\n100,Line\n200,Circle\n-5,Neg\n"),
              (Log{command("Line", 100), command("Circle", 200), command("Neg", 4294967291u),
                   toolbar("My tools", "tools.bmp", "100:0 200:1 -5:2 ")}));
    EXPECT_EQ(host.owners, std::vector<ModuleHandle>(3, platform::moduleInstance()));
}

TEST_F(Menus, AToolbarEndsAtAnEmptyLine) {
    EXPECT_EQ(load("***TOOLBAR,T,b\n1,A\n\n2,B\n"),
              (Log{command("A", 1), toolbar("T", "b", "1:0 ")}));
    EXPECT_EQ(load("***TOOLBAR,T,b\n\n1,A\n"), Log{toolbar("T", "b", "")});
    EXPECT_EQ(load("***TOOLBAR,T,b"), Log{toolbar("T", "b", "")});
    EXPECT_EQ(load("***TOOLBAR,T,b\n1,A\n \n2,B"),
              (Log{command("A", 1), command("B", 2), toolbar("T", "b", "1:0 2:1 ")}))
        << "a line of blanks is not empty";
}

TEST_F(Menus, EveryToolbarCountsItsPicturesFromZero) {
    EXPECT_EQ(load("***TOOLBAR,T,b\n1,A\n2,B\n\n***TOOLBAR,U,c\n3,C\n4,D\n"),
              (Log{command("A", 1), command("B", 2), toolbar("T", "b", "1:0 2:1 "), command("C", 3),
                   command("D", 4), toolbar("U", "c", "3:0 4:1 ")}));
}

TEST_F(Menus, LinesWithoutACommaAreNoButtons) {
    EXPECT_EQ(load("***TOOLBAR,T,b\nno comma\n1,A\n;; comment\n*\n2,B\n"),
              (Log{command("A", 1), command("B", 2), toolbar("T", "b", "1:0 2:1 ")}));
    // With a comma even a comment or another header is one.
    EXPECT_EQ(load("***TOOLBAR,T,bitmap\n;;1,A\n**LISP,B\n"),
              (Log{command("A", 0), command("B", 0), toolbar("T", "bitmap", "0:0 0:1 ")}));
}

TEST_F(Menus, AButtonsNumberIsReadFromTheFrontOfItsLine) {
    EXPECT_EQ(
        load("***TOOLBAR,Toolbar,b\n 42x,A\nx,B\n,C\n+7 8,D,E\n99999999999,F\n"),
        (Log{command("A", 42), command("B", 0), command("C", 0), command("D,E", 7),
             command("F", 2147483647), toolbar("Toolbar", "b", "42:0 0:1 0:2 7:3 2147483647:4 ")}));
}

TEST_F(Menus, BlanksAreDroppedBeforeBitmapAndCommandOnly) {
    EXPECT_EQ(load("  ***TOOLBAR, T ,  b c.bmp \n1, \t A b \n"),
              (Log{command("A b ", 1), toolbar(" T ", "b c.bmp ", "1:0 ")}));
}

TEST_F(Menus, TheBitmapIsAllBehindTheSecondComma) {
    EXPECT_EQ(load("***TOOLBAR,T,icons\\b,c.bmp\n"),
              Log{toolbar("T", toUtf8(platform::nativePath(u"icons\\b,c.bmp")), "")});
    EXPECT_EQ(load("***TOOLBAR,T,\n"), Log{toolbar("T", "", "")});
    EXPECT_EQ(load("***TOOLBAR,,b\n"), Log{toolbar("", "b", "")});
    EXPECT_EQ(load("***TOOLBAR and more,T,b\n"), Log{toolbar("T", "b", "")});
}

TEST_F(Menus, AHeaderWithoutCommasHasNeitherNameNorBitmap) {
    EXPECT_EQ(load("***TOOLBAR\n1,A\n2,LONGNAME99\n"),
              (Log{command("A", 1), command("LONGNAME", 2), "Toolbar ||1:0 2:1 "}));
    EXPECT_EQ(load("***TOOLBARS and more"), Log{"Toolbar ||"});
}

TEST_F(Menus, AHeaderWithOneCommaHasNoBitmap) {
    EXPECT_EQ(load("***TOOLBAR,Tools\n1,A\n"), (Log{command("A", 1), "Toolbar Tools||1:0 "}));
    EXPECT_EQ(load("***TOOLBAR,\n"), Log{"Toolbar ||"});
}

// A command's name is cut by the length of the toolbar's header.
TEST_F(Menus, ALongButtonIsCutToItsHeader) {
    const std::string header = "***TOOLBAR,T,b.bmp";  // 18 units: 14 remain behind "100,"
    const auto nameOf = [&](const std::string& before, const std::string& line) {
        const Log log = load(before + header + "\n" + line + "\n");
        EXPECT_EQ(log.size(), 2u);
        const std::string name = log[0].substr(0, log[0].find('|'));
        return name.substr(std::string("AddCommand ").size());
    };
    EXPECT_EQ(nameOf("", "100,VERYLONGCOMMANDNAME"), "VERYLONGCOMMAN");
    EXPECT_EQ(nameOf("    ", "100,VERYLONGCOMMANDNAME"), "VERYLONGCOMMAN")
        << "blanks before the header do not count";
    EXPECT_EQ(nameOf("", "100,EXACTLYFOURTEEN"), "EXACTLYFOURTEE");
    EXPECT_EQ(nameOf("", "100,FOURTEENUNITSX"), "FOURTEENUNITSX");
    EXPECT_EQ(nameOf("", "100,   VERYLONGCOMMANDNAME"), "VERYLONGCOM")
        << "blanks are dropped behind the cut";
    EXPECT_EQ(nameOf("", "1,VERYLONGCOMMANDNAME"), "VERYLONGCOMMANDN");
    EXPECT_EQ(nameOf("", "1234567890123456,NAME"), "N");
    EXPECT_EQ(nameOf("", "12345678901234567,NAME"), "");
    EXPECT_EQ(nameOf("", "123456789012345678901234567890,NAME"), "");
}

TEST_F(Menus, ANameIsNotCutInsideASurrogatePair) {
    EXPECT_EQ(load("***TOOLBAR,T,b\n1,1234567890a\U0001F600x\n"),
              (Log{command("1234567890a", 1), toolbar("T", "b", "1:0 ")}));
    EXPECT_EQ(load("***TOOLBAR,T,b\n1,1234567890\U0001F600x\n"),
              (Log{command("1234567890\U0001F600", 1), toolbar("T", "b", "1:0 ")}));
}

// --- line ends and texts ---

TEST_F(Menus, LinesMayEndAsOnAnySystem) {
    lispFile("a.lsp", "a");
    lispFile("b.lsp", "b");
    EXPECT_EQ(
        load("**LISP\r\na.lsp\r\n\r\nb.lsp\r\n***TOOLBAR,T,b.bmp\r\n1,A\r\nx\r\n2,B\r\n\r\n"
             "3,C\r\n"),
        (Log{"DisplayMsg a", command("A", 1), command("B", 2), toolbar("T", "b.bmp", "1:0 2:1 ")}));
    // The end of a line does not count into a header's length.
    EXPECT_EQ(load("***TOOLBAR,T,b\r\n1,123456789012345\r\n"),
              (Log{command("123456789012", 1), toolbar("T", "b", "1:0 ")}));
    EXPECT_EQ(load("***TOOLBAR,T,b\n1,A"), (Log{command("A", 1), toolbar("T", "b", "1:0 ")}));
}

TEST_F(Menus, TextsAreReadAsUtf8) {
    EXPECT_EQ(
        load("\xEF\xBB\xBF***TOOLBAR,\u00c4\u4e2d\U0001F600,\u00e9.bmp\n1,\u00d6ffnen\n"),
        (Log{command("\u00d6ffnen", 1), toolbar("\u00c4\u4e2d\U0001F600", "\u00e9.bmp", "1:0 ")}));
}

TEST_F(Menus, AMenuIsReadAnewEachTime) {
    EXPECT_EQ(load("***TOOLBAR,T,b\n1,A\n").size(), 2u);
    EXPECT_EQ(loadFolder().size(), 2u);
    EXPECT_EQ(load("***TOOLBAR,U,c\n"), Log{toolbar("U", "c", "")});
}

}  // namespace
}  // namespace vlisp
