// Loading the module into a host of Windows, and its start.
#include "tests/windows/module_fixture.h"
#include "tests/windows/user.h"

namespace vlisp::test {
namespace {

class StartUp : public LoadedHere {};

TEST_F(StartUp, LoadingAloneTellsTheHostNothing) { EXPECT_EQ(host.log, Lines()); }

TEST_F(StartUp, ShowsNothingButTheNineNames) {
    const auto* image = reinterpret_cast<const std::uint8_t*>(module->handle());
    const auto* header = reinterpret_cast<const IMAGE_NT_HEADERS64*>(
        image + reinterpret_cast<const IMAGE_DOS_HEADER*>(image)->e_lfanew);
    const auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
        image + header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* names = reinterpret_cast<const std::uint32_t*>(image + exports->AddressOfNames);
    Lines found;
    for (std::uint32_t i = 0; i < exports->NumberOfNames; ++i)
        found.emplace_back(reinterpret_cast<const char*>(image + names[i]));
    EXPECT_EQ(found, (Lines{"AppLoad", "LispEdit", "LispPoly", "MnuLoad", "TestLine",
                            "VelmoraExtDynamicCmdEntry", "VelmoraExtEntryPoint",
                            "VelmoraExtGetVarEntry", "VelmoraExtUIEntry"}));
    EXPECT_EQ(exports->NumberOfFunctions, 9u) << "nor by a number";
}

TEST_F(StartUp, RegistersItsCommandsWithDescriptionsNumbersAndItself) {
    ASSERT_TRUE(start());
    EXPECT_EQ(host.registered, (Lines{"AppLoad", "MnuLoad", "LispEdit", "LispPoly", "TestLine"}));
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
        EXPECT_EQ(command.instance, module->handle())
            << name << ": the module's image, not the host's";
        EXPECT_EQ(command.number, what.second) << name;
    }
    EXPECT_EQ(valueOf("(+ 1 2)", 1), "3");
}

TEST_F(StartUp, RunsThePrelude) {
    ASSERT_TRUE(start());
    EXPECT_EQ(valueOf("(ssfilter '((0 . \"LINE\")))", 1), "nil");
    host.add(10141);
    host.add(10111);
    EXPECT_EQ(valueOf("(length (ssfilter '((0 . \"LINE\"))))", 1), "1");
}

class Version : public LoadedHere {
  protected:
    // Starts with that version and presses the button of the box that comes.
    SeenBox refusal(const char16_t* version) {
        host.version = version;
        std::uint16_t first = 7;
        std::uint16_t second = 8;
        const SeenBox seen = boxDuring([&] { EXPECT_EQ(module->entryPoint(&first, &second), 0); });
        EXPECT_EQ(first, 7);
        EXPECT_EQ(second, 8);
        return seen;
    }
};

TEST_F(Version, IsRefusedWithAWarningWhenItIsTooOld) {
    for (const char16_t* version : {u"1.9", u"2"}) {
        const SeenBox box = refusal(version);
        EXPECT_EQ(box.text, "Warning: VelmoraLispExtension requires Velmora 2017 (v2.0) or later!");
        EXPECT_EQ(box.title, "VelmoraLispExtension");
        EXPECT_TRUE(box.warns);
        EXPECT_EQ(box.buttons, Lines{"OK"});
    }
    EXPECT_TRUE(host.commands.empty());
    EXPECT_EQ(valueOf("(+ 1 2)", 1), "nil") << "there is no interpreter";
}

TEST_F(Version, IsAcceptedFromTwoOn) {
    for (const char16_t* version : {u"2.0", u"12.x.1"}) {
        host.version = version;
        EXPECT_TRUE(start());
    }
}

}  // namespace
}  // namespace vlisp::test
