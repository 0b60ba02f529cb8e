// The boundary of the built module: what it shows is nine names, and what it leaves open is
// declared in bridge.h. So a dependency on a host that is not in the contract fails here.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Names = std::set<std::string>;

std::string contentsOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// What nm says of the module's dynamic symbols.
std::vector<std::string> nm(const std::string& options) {
    const std::string command = "nm -D " + options + " '" MODULE_FILE "'";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) return {};
    std::string out;
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe))
        out.append(block.data(), count);
    EXPECT_EQ(::pclose(pipe), 0) << command;
    return linesOf(out);
}

bool isWord(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }

// The text of a header without its comments and lines of the preprocessor.
std::string withoutComments(const std::string& header) {
    std::string out;
    for (const std::string& line : linesOf(header))
        if (!line.starts_with('#')) out += line.substr(0, line.find("//")) + "\n";
    return out;
}

// The word before position `end`, with a tilde in front of it.
std::string wordBefore(std::string_view text, std::size_t end) {
    std::size_t begin = end;
    while (begin > 0 && isWord(text[begin - 1])) --begin;
    if (begin > 0 && text[begin - 1] == '~') --begin;
    return std::string(text.substr(begin, end - begin));
}

// What follows "class " or "struct " in a declaration, or nothing.
std::string classNamed(const std::string& declaration) {
    for (const std::string_view keyword : {"class ", "struct "}) {
        const std::size_t found = declaration.find(keyword);
        if (found == std::string::npos) continue;
        std::size_t end = found + keyword.size();
        while (end < declaration.size() && isWord(declaration[end])) ++end;
        return wordBefore(declaration, end);
    }
    return {};
}

// What a header declares and leaves to somebody else: its functions, those of classes with the
// class in front, and its classes. What has a body is not left open.
struct Declared {
    Names functions;
    Names classes;
};

Declared declaredIn(const std::string& header) {
    Declared declared;
    std::string current;      // the class that is being read
    std::string declaration;  // what has been read of a declaration
    int bodies = 0;           // how many braces deep in something that is no class
    for (const char c : withoutComments(header)) {
        if (bodies > 0) {
            bodies += c == '{' ? 1 : c == '}' ? -1 : 0;
        } else if (c == '{') {
            const std::string name = classNamed(declaration);
            if (current.empty() && !name.empty()) {
                current = name;
                declared.classes.insert(name);
            } else {
                bodies = 1;
            }
            declaration.clear();
        } else if (c == '}') {
            current.clear();
        } else if (c == ';') {
            const std::size_t bracket = declaration.find('(');
            const bool open = declaration.find("= default") == std::string::npos &&
                              declaration.find("= delete") == std::string::npos;
            if (bracket != std::string::npos && open)
                declared.functions.insert((current.empty() ? "" : current + "::") +
                                          wordBefore(declaration, bracket));
            declaration.clear();
        } else {
            declaration += c;
        }
    }
    return declared;
}

// Whether a library that this program runs with has the symbol. (The sanitizers' libraries have
// functions of the C library too, and then the module's references name no version.)
bool isOfALibrary(const std::string& mangled) {
    return ::dlsym(RTLD_NEXT, mangled.c_str()) != nullptr;
}

std::string demangled(const std::string& mangled) {
    int status = 0;
    char* name = abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status);
    const std::string text = name != nullptr ? name : mangled;
    std::free(name);
    return text;
}

// What the undefined symbols leave to the program that loads the module: those that must be there,
// and that no library has.
std::vector<std::string> leftToTheHost(const std::vector<std::string>& undefined) {
    std::vector<std::string> left;
    for (const std::string& line : undefined) {
        const std::size_t begin = line.find_first_not_of(' ');
        if (begin == std::string::npos || line[begin] != 'U') continue;
        const std::string symbol = line.substr(begin + 2);
        if (symbol.find('@') == std::string::npos && !isOfALibrary(symbol))
            left.push_back(demangled(symbol));
    }
    return left;
}

bool isDeclared(const Declared& declared, const std::string& symbol) {
    // What the compiler makes of a class for those who ask an object what it is.
    for (const std::string_view prefix : {"typeinfo for ", "vtable for "})
        if (symbol.starts_with(prefix))
            return declared.classes.contains(symbol.substr(prefix.size()));
    return declared.functions.contains(symbol.substr(0, symbol.find('(')));
}

TEST(Boundary, TheHeadersOpenFunctionsAreFound) {
    const Declared found = declaredIn("#include \"x.h\"\n"
                                      "// void commented(int);\n"
                                      "enum E : int { one = 1 };\n"
                                      "class A {\n"
                                      "  public:\n"
                                      "    A() noexcept : A(0) {}\n"
                                      "    A(const A&) = delete;\n"
                                      "    ~A();\n"
                                      "    int inlined() { if (x) { call(); } return 1; }\n"
                                      "    static A* make(int n);\n"
                                      "    int data = 0;\n"
                                      "    int more[6] = {};\n"
                                      "};\n"
                                      "void open(const char* text,\n"
                                      "          int);\n"
                                      "struct B : A { B(); };\n");
    EXPECT_EQ(found.functions, (Names{"A::~A", "A::make", "open", "B::B"}));
    EXPECT_EQ(found.classes, (Names{"A", "B"}));
}

TEST(Boundary, SymbolsOfTheSystemAreToldFromTheHosts) {
    const std::vector<std::string> left =
        leftToTheHost({"                 w __gmon_start__", "                 U strlen@GLIBC_2.2.5",
                       "                 U strlen", "                 U _Z10GetVersionPDs",
                       "                 U _ZN5vlisp6secretEv", "                 U _ZTI8VmDbLine",
                       "                 U _ZTI5Other"});
    EXPECT_EQ(left, (std::vector<std::string>{"GetVersion(char16_t*)", "vlisp::secret()",
                                              "typeinfo for VmDbLine", "typeinfo for Other"}));
    const Declared declared{{"GetVersion"}, {"VmDbLine"}};
    EXPECT_TRUE(isDeclared(declared, left[0]));
    EXPECT_FALSE(isDeclared(declared, left[1]));
    EXPECT_TRUE(isDeclared(declared, left[2]));
    EXPECT_FALSE(isDeclared(declared, left[3]));
}

TEST(Boundary, TheModuleShowsExactlyNineNames) {
    Names shown;
    for (const std::string& line : nm("--defined-only"))
        shown.insert(line.substr(line.rfind(' ') + 1));
    EXPECT_EQ(shown, (Names{"VelmoraExtEntryPoint", "VelmoraExtUIEntry",
                            "VelmoraExtDynamicCmdEntry", "VelmoraExtGetVarEntry", "AppLoad",
                            "MnuLoad", "LispEdit", "LispPoly", "TestLine"}));
}

TEST(Boundary, WhatTheModuleLeavesOpenIsTheBridge) {
    const Declared declared = declaredIn(contentsOf(BRIDGE_FILE));
    for (const char* known : {"GetVersion", "mmPoint::~mmPoint", "VmDbBlock::close",
                              "VmDbObject::getExtent", "addSelectedToSelectionSet"})
        EXPECT_TRUE(declared.functions.contains(known)) << known;
    EXPECT_FALSE(declared.functions.contains("VmDbString::assign")) << "it has a body";

    const std::vector<std::string> left = leftToTheHost(nm("--undefined-only"));
    EXPECT_GT(left.size(), 40u);
    for (const std::string& symbol : left)
        EXPECT_TRUE(isDeclared(declared, symbol))
            << symbol << " is wanted of the host, but is not in its contract";
}

TEST(Boundary, OneSourceSpeaksTheHostsCpp) {
    Names speaking;
    const std::filesystem::path host = std::filesystem::path(BRIDGE_FILE).parent_path();
    for (const std::filesystem::path& room : {host, host.parent_path() / "drawing"})
        for (const auto& file : std::filesystem::directory_iterator(room))
            if (contentsOf(file.path().c_str()).find("#include \"host/bridge.h\"") !=
                std::string::npos)
                speaking.insert(file.path().filename());
    EXPECT_EQ(speaking, Names{"host_calls.cpp"});
}

}  // namespace
