// What the program gets from its caller, on Windows. See input.h.
#include "apps/vlisp/input.h"

#include "apps/vlisp/line_reader_windows.h"
#include "platform/text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <memory>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

// The words of the command line as 16-bit units. Every C library of the compiler has it, no header
// declares it.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __cdecl __wgetmainargs(int* count, wchar_t*** words, wchar_t*** environment,
                                      int expandsWildcards, int* newMode);

namespace vlisp::app {
namespace {

HANDLE handleOf(int descriptor) noexcept {
    // The C library gives the system's handle as a number.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
}

std::string toUtf8(const wchar_t* text, std::size_t length) {
    return platform::toUtf8({reinterpret_cast<const char16_t*>(text), length});
}

constexpr std::size_t blockSize = 65536;

bool readConsole(int descriptor, std::string& bytes) {
    std::u16string line;
    switch (readConsoleLine(descriptor, line, nullptr)) {
    case LineEnd::end: return false;
    case LineEnd::signal: return true;  // whoever reads asks for it
    default: bytes += platform::toUtf8(line) + '\n'; return true;
    }
}

}  // namespace

// Not those that main is given: the C library has turned them into bytes of some code page. Nor those of
// the shell's own function for it: that library brings half of the desktop with it, at every start.
std::vector<std::string> wordsOfCommandLine(int /*argc*/, char** /*argv*/) {
    int count = 0;
    wchar_t** words = nullptr;  // the C library's own, for as long as the program runs
    wchar_t** environment = nullptr;
    int newMode = 0;
    ::__wgetmainargs(&count, &words, &environment, 0, &newMode);
    std::vector<std::string> texts;
    for (int i = 1; i < count; ++i) texts.push_back(toUtf8(words[i], std::wcslen(words[i])));
    return texts;
}

void prepareStreams() {
    for (std::FILE* stream : {stdin, stdout, stderr}) ::_setmode(::_fileno(stream), _O_BINARY);
    // A text at once: a console shows no letter whose bytes come one by one.
    for (std::FILE* stream : {stdout, stderr})
        if (isTerminal(::_fileno(stream))) std::setvbuf(stream, nullptr, _IOFBF, blockSize);
    ::SetConsoleOutputCP(CP_UTF8);
}

bool isTerminal(int descriptor) noexcept {
    DWORD mode = 0;
    return ::GetConsoleMode(handleOf(descriptor), &mode) != 0;
}

int openInput(const std::string& path, std::string& reason) {
    const std::u16string name = platform::fromUtf8(path);
    const auto* units = reinterpret_cast<const wchar_t*>(name.c_str());
    const int descriptor = ::_wopen(units, _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    if (descriptor >= 0) return descriptor;
    const int problem = errno;
    const DWORD attributes = ::GetFileAttributesW(units);
    const bool isFolder =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    reason = std::strerror(isFolder ? EISDIR : problem);
    return -1;
}

void closeInput(int descriptor) noexcept { ::_close(descriptor); }

bool readInput(int descriptor, std::string& bytes) {
    if (isTerminal(descriptor)) return readConsole(descriptor, bytes);
    const auto block = std::make_unique<char[]>(blockSize);
    const int count = ::_read(descriptor, block.get(), blockSize);
    if (count > 0) bytes.append(block.get(), static_cast<std::size_t>(count));
    return count > 0;
}

}  // namespace vlisp::app
