// The module as a host meets it: a file that is loaded, nine names, and the bridge.
#include "tests/module/loading_host.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vlisp::test {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

const char warning[] = "warn Warning: VelmoraLispExtension requires Velmora 2017 (v2.0) or later!";

// A folder of its own, gone at the end.
class Folder {
  public:
    Folder() {
        std::string pattern = (fs::temp_directory_path() / "vlisp-module-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { fs::remove_all(path_); }

    [[nodiscard]] fs::path file(const std::string& name, const std::string& text) const {
        std::ofstream(path_ / name, std::ios::binary) << text;
        return path_ / name;
    }
    [[nodiscard]] const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

// Loaded, but not started.
class ModuleFile : public testing::Test {
  protected:
    void TearDown() override {
        module.reset();
        EXPECT_FALSE(LoadedModule::isLoaded());
        EXPECT_EQ(host.open, 0) << "what was opened is closed";
        EXPECT_EQ(host.onWrongThread, Lines());
        EXPECT_FALSE(host.postedByItself);
    }

    bool start() {
        std::uint16_t first = 0;
        std::uint16_t second = 0;
        return module->entryPoint(&first, &second) == 1 && first == 40 && second == 33;
    }
    std::string evaluate(std::string_view lisp) { return host.evaluate(*module, lisp); }
    std::string valueOf(std::string_view lisp, int mode) {
        char16_t result[300] = {};
        EXPECT_EQ(module->getVarEntry(wide(lisp).c_str(), result, mode), 1);
        return narrow(result);
    }

    LoadingHost host;
    std::optional<LoadedModule> module{std::in_place};
};

// Started, with what that told the host forgotten.
class StartedModule : public ModuleFile {
  protected:
    void SetUp() override {
        ASSERT_TRUE(start());
        host.log.clear();
        host.windowsFetched = 0;
    }
};

// --- The gate ---

TEST_F(ModuleFile, ShowsNothingButTheNineNames) {
    for (const char* name : {"_ZN5vlisp13currentModuleEv", "_ZN5vlisp4EvalERKNS_4CellE", "main",
                             "_Z10GetVersionPDs", "_ZN5vlisp9handshakeEv"})
        EXPECT_EQ(module->find(name), nullptr) << name;
}

TEST_F(ModuleFile, LoadingAloneTellsTheHostNothing) { EXPECT_EQ(host.log, Lines()); }

class RefusedVersion : public ModuleFile, public testing::WithParamInterface<const char16_t*> {};

TEST_P(RefusedVersion, IsWarnedOfAndNothingIsRegistered) {
    host.version = GetParam();
    std::uint16_t first = 7;
    std::uint16_t second = 8;
    EXPECT_EQ(module->entryPoint(&first, &second), 0);
    EXPECT_EQ(first, 7);
    EXPECT_EQ(second, 8);
    EXPECT_EQ(host.log, (Lines{"GetMainFrameWindow", "GetVersion", warning}));
    EXPECT_TRUE(host.commands.empty());
    // Without an interpreter there is nothing to evaluate with.
    EXPECT_EQ(valueOf("(+ 1 2)", 1), "nil");
    host.inputString = u"(+ 1 2)";
    int step = 1;
    EXPECT_EQ(module->dynamicCommand(&step), 1);
    EXPECT_EQ(host.windowsFetched, 1) << "no evaluation is announced";
}

INSTANTIATE_TEST_SUITE_P(Versions, RefusedVersion,
                         testing::Values(u"1.9", u"2", u"", u"x.y", u".2", u"1.99.2"));

class AcceptedVersion : public ModuleFile, public testing::WithParamInterface<const char16_t*> {};

TEST_P(AcceptedVersion, GetsTheFiveCommands) {
    host.version = GetParam();
    EXPECT_TRUE(start());
    EXPECT_EQ(host.registered, (Lines{"AppLoad", "MnuLoad", "LispEdit", "LispPoly", "TestLine"}));
    EXPECT_EQ(valueOf("(+ 1 2)", 1), "3");
}

INSTANTIATE_TEST_SUITE_P(Versions, AcceptedVersion,
                         testing::Values(u"2.0", u"3.1", u"2.", u"12.x.1"));

TEST_F(ModuleFile, RegistersItsCommandsWithDescriptionsNumbersAndItself) {
    ASSERT_TRUE(start());
    const ModuleHandle instance = host.commands.at("AppLoad").instance;
    EXPECT_NE(instance, nullptr);
    const std::map<std::string, std::pair<std::string, unsigned>> expected{
        {"AppLoad", {"Load LISP file .lsp", 42771}},
        {"MnuLoad", {"Load menus and toolbars", 0}},
        {"LispEdit", {"Edit LISP file .lsp", 42772}},
        {"LispPoly", {"Test polyline", 0}},
        {"TestLine", {"Test line", 0}}};
    for (const auto& [name, what] : expected) {
        const RegisteredCommand& command = host.commands.at(name);
        EXPECT_EQ(command.lispText, "") << name;
        EXPECT_EQ(command.description, what.first) << name;
        EXPECT_EQ(command.owner, "VelmoraLispExtension.vxm") << name;
        EXPECT_EQ(command.instance, instance) << name;
        EXPECT_EQ(command.number, what.second) << name;
        EXPECT_NE(module->find(name.c_str()), nullptr) << "exported under its name";
    }
}

// --- Evaluating ---

TEST_F(StartedModule, EvaluatesOnAThreadOfItsOwn) {
    EXPECT_EQ(evaluate("(+ 1 2)"), "3");
    EXPECT_EQ(host.windowsFetched, 1);
    EXPECT_EQ(evaluate("(zzz)"), ";error; undefined symbol 'ZZZ'\n");
    EXPECT_EQ(evaluate("(begin (princ \"a\") (print 5) (prompt \"b\\nc\") 7)"), "7");
    EXPECT_EQ(host.shown, (Lines{"a", "\r\n5 ", "b", "c"}));
}

TEST_F(StartedModule, LaterStepsOfAnEvaluationAreCountedOnly) {
    host.inputString = u"(princ \"no\")";
    int step = 2;
    EXPECT_EQ(module->dynamicCommand(&step), 1);
    EXPECT_EQ(step, 3);
    EXPECT_EQ(host.windowsFetched, 0);
}

TEST_F(StartedModule, CutsATextForTheCommandLineTo299Units) {
    // What is cut off is the end of a string, which the reader then takes as it is.
    const std::string text = "(strlen \"" + std::string(400, 'a') + "\")";
    const std::string cut = text.substr(0, 299);
    const std::string whole = evaluate(text);
    EXPECT_EQ(whole, evaluate(cut));
    EXPECT_NE(whole, "400");
}

TEST_F(StartedModule, ACommandDefinedInLispRunsAsAHostRunsIt) {
    EXPECT_EQ(evaluate("(defun c:hello () (princ \"hi\"))"), "HELLO");
    const RegisteredCommand& hello = host.commands.at("HELLO");
    EXPECT_EQ(hello.lispText, "(HELLO)");
    EXPECT_EQ(hello.description, "");
    EXPECT_EQ(hello.owner, "VelmoraLispExtension.vxm");
    EXPECT_EQ(hello.instance, host.commands.at("AppLoad").instance);
    EXPECT_EQ(hello.number, 0u);
    EXPECT_EQ(host.runCommand(*module, "HELLO"), "\"hi\"");
    EXPECT_EQ(host.shown, Lines{"hi"});
}

TEST_F(StartedModule, GivesValuesInEveryMode) {
    module->testLine();
    const struct {
        int mode;
        const char* lisp;
        const char* result;
        const char* shown;
    } rows[] = {
        {0, "(list 1.0 2.0)", "1.000,2.000", "(1.000 2.000)"},
        {0, "'(1 2 3)", "1,2,3", "(1 2 3)"},
        {0, "'(1 2 3 4)", "nil", "(1 2 3 4)"},
        {0, "(zzz)", "nil", ""},
        {4, "'((1 2.5) 7 (\"a\"))", "1 2.500 \"a\"", "((1 2.500) 7 (\"a\"))"},
        {4, "(begin (list (entlast)))", "1", nullptr},
        {4, "5", "", "5"},
        {4, "(zzz)", "nil", ""},
        {5, "\"abc\"", "abc", "\"abc\""},
        {5, "(> 1 2)", "nil", "nil"},
        {5, "(zzz)", "nil", ""},
        {1, "(+ 1 2)", "3", "3"},
        {-1, "\"abc\"", "\"abc\"", "\"abc\""},
        {1, "(zzz)", ";error; undefined symbol 'ZZZ'\n", "nil"},
    };
    for (const auto& row : rows) {
        host.shown.clear();
        EXPECT_EQ(valueOf(row.lisp, row.mode), row.result) << row.mode << " " << row.lisp;
        ASSERT_EQ(host.shown.size(), 1u) << row.mode << " " << row.lisp;
        if (row.shown != nullptr) {
            EXPECT_EQ(host.shown[0], row.shown) << row.lisp;
        }
    }
    EXPECT_EQ(host.windowsFetched, 0) << "on the calling thread";
}

TEST_F(StartedModule, NeverWritesMoreThan300UnitsOfAValue) {
    constexpr char16_t untouched = u'#';
    std::u16string result(400, untouched);
    evaluate("(setq s \"1234567890\")");
    evaluate("(repeat 6 (setq s (strcat s s)))");
    EXPECT_EQ(module->getVarEntry(u"s", result.data(), 5), 1);
    EXPECT_EQ(result.find(u'\0'), 299u);
    EXPECT_EQ(result.find(untouched), 300u);
}

// --- Asking the user ---

TEST_F(StartedModule, GetpointIsAnsweredByAPoint) {
    host.answers = {reply(1, 3, 4.5)};
    EXPECT_EQ(evaluate("(getpoint '(1.0 2.5) \"Where? \")"), "(3.000 4.500)");
    ASSERT_EQ(host.requests.size(), 1u);
    const HostRequest& asked = host.requests[0];
    EXPECT_EQ(asked.kind, 1);
    EXPECT_EQ(asked.mode, 1);
    EXPECT_TRUE(asked.hasBasePoint);
    EXPECT_EQ(asked.x, 1.0);
    EXPECT_EQ(asked.y, 2.5);
    EXPECT_EQ(narrow(asked.messageText), "Where? ");
    EXPECT_EQ(asked.reserved, 0u);
}

TEST_F(StartedModule, AReplyOfAnotherModeCancels) {
    host.answers = {reply(0), reply(1, 1, 1), reply(3), reply(0), reply(4)};
    EXPECT_EQ(evaluate("(list (getpoint) (getint) (getstring) (ssget) (entsel))"),
              "(nil nil nil nil nil)");
    ASSERT_EQ(host.requests.size(), 5u);
    const int modes[] = {1, 0, 0, 3, 4};
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(host.requests[i].mode, modes[i]) << i;
}

TEST_F(StartedModule, EveryKindOfInputIsAnswered) {
    module->testLine();
    host.answers = {reply(0, 0, 0, "text"), reply(0, 0, 0, "2.5"), reply(0, 0, 0, "7x"),
                    reply(1, 0, 0),         reply(1, 3, 4),        reply(4, 1, 2, "", 1, 1),
                    reply(3, 0, 0, "", 1)};
    EXPECT_EQ(evaluate("(list (getstring) (getreal) (getint) (getdist) (cadr (entsel)) "
                       "(sslength (ssget)))"),
              "(\"text\" 2.500 7 5.000 (1.000 2.000 0.000) 1)");
    EXPECT_EQ(host.requests.size(), 7u);
    EXPECT_TRUE(host.answers.empty());
}

TEST_F(StartedModule, CommandSendsItsPiecesOneByOne) {
    host.answers = {reply(0, 0, 0, "", 0, 0, 11), reply(0), reply(0), reply(0)};
    EXPECT_EQ(evaluate("(command \"line\" '(0 0) 2.5 (ssget \"X\"))"), "\"1\"");
    std::string seen;
    for (const HostRequest& request : host.requests) {
        EXPECT_EQ(request.kind, 0);
        EXPECT_EQ(request.context, 0) << "that of the reply before the command";
        seen += std::to_string(request.mode) + narrow(request.inputText) + " ";
    }
    EXPECT_EQ(seen, "1LINE 10,0 12.5000 51 ");
    host.answers = {reply(0, 0, 0, "", 0, 0, 12), reply(0)};
    evaluate("(command)");
    evaluate("(command)");
    EXPECT_EQ(host.requests.back().context, 12);
}

TEST_F(StartedModule, ASecondEvaluationWaitsForTheFirst) {
    host.inputString = u"(begin (setq a (getint \"Number? \")) a)";
    int step = 1;
    module->dynamicCommand(&step);
    EXPECT_EQ(host.takeMessage().kind, 1);
    host.taken = true;
    host.inputString = u"(* a a)";
    step = 1;
    module->dynamicCommand(&step);
    EXPECT_EQ(host.windowsFetched, 2);
    HostRequest answer = reply(0, 0, 0, "7");
    EXPECT_EQ(module->uiEntry(&answer), 1);
    EXPECT_EQ(host.serve(*module), "7");
    EXPECT_EQ(host.serve(*module), "49");
}

// --- Variables and drawing ---

TEST_F(StartedModule, ReadsAndSetsVariables) {
    host.variables = {{"OSMODE", u"5"}, {"CLAYER", u"\"0\""}};
    EXPECT_EQ(evaluate("(list (getvar \"OSMODE\") (getvar \"CLAYER\") (getvar \"NONE\"))"),
              "(5 \"0\" nil)");
    EXPECT_EQ(evaluate("(list (setvar \"OSMODE\" 7) (setvar \"NONE\" 7))"), "(T nil)");
    EXPECT_EQ(evaluate("(getvar \"OSMODE\")"), "7");
}

TEST_F(StartedModule, ReadsAndChangesWhatIsDrawn) {
    EXPECT_EQ(module->testLine(), 1);
    ASSERT_EQ(host.drawing.size(), 1u);
    const VmDbObject& line = *host.drawing[0];
    ASSERT_EQ(line.points.count, 2);
    EXPECT_EQ(line.points.points[0].x, 25.34);
    EXPECT_EQ(line.points.points[0].y, 18.0);
    EXPECT_EQ(line.points.points[1].x, 48.5);
    EXPECT_EQ(line.points.points[1].y, 27.5);
    EXPECT_EQ(evaluate("(cdr (entget (entlast)))"),
              "((0 . \"LINE\") (67 . 0) (8 . \"0\") (10 25.340 18.000 0.000) "
              "(10 48.500 27.500 0.000))");
    EXPECT_EQ(evaluate("(begin (setq e (entget (entlast))) "
                       "(entmod (subst (cons 8 \"walls\") (assoc 8 e) e)) (vm-refresh))"),
              "nil");
    EXPECT_EQ(narrow(line.layerName.units()), "walls");
    EXPECT_EQ(host.log.back(), "Refresh");
    // The host's own object, not a copy of it in the module.
    EXPECT_EQ(evaluate("(vm-entext (entlast))"), "(25.340 18.000 48.500 27.500)");
}

TEST_F(StartedModule, LispPolyDrawsWhatTheUserGives) {
    int step = 1;
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(host.log, (Lines{"setWorkingLayerAndLineType '' ''", "addPolyline -1",
                               "data 1 Integer number 45", "data 1 Real number 45.763",
                               "data 1 String How are you?", "SetUserInputMode 1 0 0 0 0",
                               "DisplayPromptMsg Specify first point or [Cancel]: <Cancel> "}));
    host.log.clear();
    host.inputString = u"10,20";
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 3);
    host.inputType = 1;
    host.inputPoint = mmPoint(1.5, 2.5, 9);
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 4);
    host.inputType = 0;
    host.inputString = u"10";
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 4) << "it has ended";
    host.inputString = u"";
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 4) << "it has ended";
    const std::string next =
        "DisplayPromptMsg Specify next point or [Finish/Cancel/Undo]: <Finish> ";
    EXPECT_EQ(host.log, (Lines{next, "GetInputString", "updatePolyline 1 -1 10 20",
                               "SetUserInputMode 1 1 10 20 0", next, "updatePolyline 1 -1 1.5 2.5",
                               "SetUserInputMode 1 1 1.5 2.5 0", next, "GetInputString",
                               "DisplayMsg Error: wrong input!", next, "GetInputString",
                               "DisplayMsg Lisp polyline entered successfully."}));
}

// --- Files and menus ---

const char pathPrompt[] = "DisplayPromptMsg Enter lisp file (.lsp) full path or <Browse...>: ";

TEST_F(StartedModule, AppLoadLoadsTheTypedFile) {
    const Folder folder;
    const fs::path file =
        folder.file("box.lsp", "(setq a 5)\n(defun c:box () (princ \"box\"))\n(princ a)\n");
    int step = 1;
    EXPECT_EQ(module->appLoad(&step), 1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(host.log, Lines{pathPrompt});
    EXPECT_EQ(host.windowsFetched, 0);
    host.inputString = wide(file.string());
    EXPECT_EQ(module->appLoad(&step), 1);
    EXPECT_EQ(step, 2) << "the command has ended";
    EXPECT_EQ(host.windowsFetched, 1);
    EXPECT_EQ(host.serve(*module), "");
    EXPECT_EQ(host.shown, (Lines{"box.lsp successfully loaded.", "5"}));
    EXPECT_EQ(host.runCommand(*module, "BOX"), "\"box\"");
}

TEST_F(StartedModule, AppLoadOfAnEmptyLineOpensTheDialog) {
    const Folder folder;
    const fs::path file = folder.file("bad.lsp", "(foo)\n");
    host.chosenFile = wide(file.string());
    int step = 2;
    EXPECT_EQ(module->appLoad(&step), 1);
    EXPECT_EQ(host.serve(*module), ";error; undefined symbol 'FOO'\n");
    EXPECT_EQ(host.shown, Lines{"bad.lsp successfully loaded."});
    EXPECT_EQ(host.log, (Lines{"GetInputString", "AllowTopMost 1",
                               "chooseFile .lsp Lisp files (*.lsp)|*lsp||", "AllowTopMost 0",
                               "GetMainFrameWindow"}));
    // A cancelled dialog loads a file without a name.
    host.chosenFile.clear();
    EXPECT_EQ(module->appLoad(&step), 1);
    EXPECT_EQ(host.serve(*module), "");
    EXPECT_EQ(host.shown.back(), " successfully loaded.");
}

// What is written into a pipe with a name, up to its end. It is open before anybody writes, so that
// the writer never waits for it.
class NamedPipe {
  public:
    explicit NamedPipe(const fs::path& path) {
        if (::mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("no pipe");
        reader_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }
    NamedPipe(const NamedPipe&) = delete;
    NamedPipe& operator=(const NamedPipe&) = delete;
    ~NamedPipe() { ::close(reader_); }

    std::string line() {
        std::string text;
        while (!text.ends_with('\n')) {
            pollfd waits{reader_, POLLIN, 0};
            if (::poll(&waits, 1, 60'000) != 1) throw std::runtime_error("nobody writes");
            char c = 0;
            if (::read(reader_, &c, 1) == 1) text += c;
        }
        return text;
    }

  private:
    int reader_;
};

TEST_F(StartedModule, LispEditOpensTheEditor) {
    const Folder folder;
    NamedPipe pipe(folder.path() / "seen");
    const fs::path editor =
        folder.file("editor", "#!/bin/sh\necho \"$# $1\" >'" + folder.path().string() + "/seen'\n");
    fs::permissions(editor, fs::perms::owner_all);
    ::unsetenv("VISUAL");
    ::setenv("EDITOR", editor.c_str(), 1);
    int step = 1;
    EXPECT_EQ(module->lispEdit(&step), 1);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(host.log, Lines{pathPrompt});
    host.inputString = u"some file.lsp";
    EXPECT_EQ(module->lispEdit(&step), 1);
    EXPECT_EQ(step, 2) << "the command has ended";
    EXPECT_EQ(pipe.line(), "1 some file.lsp\n");
    EXPECT_EQ(host.shown, Lines{"Lisp file edited successfully."});
    // Cancelled, it opens without a file.
    host.inputString.clear();
    EXPECT_EQ(module->lispEdit(&step), 1);
    EXPECT_EQ(pipe.line(), "0 \n");
}

TEST_F(StartedModule, MnuLoadReadsTheMenuBesideTheProgram) {
    // The program has a folder to itself, in which no other test looks for a menu.
    const fs::path support = fs::read_symlink("/proc/self/exe").parent_path() / "Support";
    fs::remove_all(support);
    EXPECT_EQ(module->mnuLoad(), 1);
    EXPECT_EQ(host.log, Lines()) << "a missing menu is no fault";

    fs::create_directory(support);
    std::ofstream(support / "velm.mnu") << ";; a menu\n"
                                           "**LISP\n"
                                           "start.lsp\n"
                                           "\n"
                                           "***TOOLBAR,Tools,tools.bmp\n"
                                           "100,HELLO\n"
                                           "101,AppLoad\n";
    std::ofstream(support / "start.lsp") << "(defun c:hello () 5)\n(princ \"direct\")\n(foo)\n";
    EXPECT_EQ(module->mnuLoad(), 1);
    EXPECT_EQ(
        host.log,
        (Lines{"AddCommand HELLO", "DisplayMsg direct", "AddCommand HELLO", "AddCommand AppLoad",
               "Toolbar Tools " + (support / "tools.bmp").string() + " 100:0 101:1"}));
    EXPECT_EQ(host.windowsFetched, 0) << "on the calling thread";
    EXPECT_TRUE(host.queueIsEmpty());
    EXPECT_EQ(host.commands.at("HELLO").number, 100u);
    // The thread that evaluates is used again for what comes later.
    EXPECT_EQ(evaluate("(begin (princ \"queued\") (hello))"), "5");
    EXPECT_EQ(host.shown.back(), "queued");
    fs::remove_all(support);
}

// --- Unloading ---

TEST_F(StartedModule, StartsAfreshWhenLoadedAgain) {
    EXPECT_EQ(evaluate("(setq a 5)"), "5");
    for (int round = 0; round < 3; ++round) {
        module.reset();
        EXPECT_FALSE(LoadedModule::isLoaded());
        module.emplace();
        host.registered.clear();
        ASSERT_TRUE(start());
        EXPECT_EQ(host.registered.size(), 5u);
        EXPECT_EQ(evaluate("a"), ";error; undefined symbol 'A'\n");
        EXPECT_EQ(evaluate("(setq a 6)"), "6");
    }
}

TEST_F(StartedModule, UnloadsWhileAProgramWaitsForAnAnswer) {
    host.inputString = u"(while (not (getpoint)) (princ \"again\"))";
    int step = 1;
    module->dynamicCommand(&step);
    EXPECT_EQ(host.takeMessage().kind, 1);
    host.taken = true;
    module.reset();
    host.dropMessages();
    EXPECT_FALSE(LoadedModule::isLoaded());
}

TEST_F(StartedModule, UnloadsWhileAMessageIsNotTaken) {
    host.inputString = u"(while T (princ \"again\"))";
    int step = 1;
    module->dynamicCommand(&step);
    EXPECT_EQ(host.takeMessage().kind, 3);
    module.reset();
    host.dropMessages();
    EXPECT_FALSE(LoadedModule::isLoaded());
}

TEST_F(StartedModule, UnloadsWhileAProgramRuns) {
    host.inputString = u"(begin (princ \"on\") (while T T))";
    int step = 1;
    module->dynamicCommand(&step);
    EXPECT_EQ(host.takeMessage().kind, 3);
    host.taken = true;
    module.reset();
    host.dropMessages();
    EXPECT_FALSE(LoadedModule::isLoaded());
}

}  // namespace
}  // namespace vlisp::test
