// What the program gets from its caller, on Windows. See input.h.
#include "apps/vlisp/input.h"

#include "apps/vlisp/signals.h"
#include "platform/text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <memory>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <shellapi.h>

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

// A line as the console's own editor hands it over. Ctrl-Z at its begin is the end.
bool readConsole(int descriptor, std::string& bytes) {
    wchar_t units[4096];
    DWORD count = 0;
    if (::ReadConsoleW(handleOf(descriptor), units, std::size(units), &count, nullptr) == 0)
        return false;
    if (count == 0) {  // Ctrl-C: whoever handles it does so on another thread
        waitForSignal();
        return true;
    }
    constexpr wchar_t endMark = 0x1a;
    if (units[0] == endMark) return false;
    bytes += toUtf8(units, count);
    return true;
}

}  // namespace

// Not those that main is given: the C library has turned them into bytes of some code page.
std::vector<std::string> wordsOfCommandLine(int /*argc*/, char** /*argv*/) {
    int count = 0;
    const std::unique_ptr<wchar_t*, HLOCAL (*)(HLOCAL)> words(
        reinterpret_cast<wchar_t**>(::CommandLineToArgvW(::GetCommandLineW(), &count)),
        [](HLOCAL memory) { return ::LocalFree(memory); });
    std::vector<std::string> texts;
    for (int i = 1; words && i < count; ++i) {
        const wchar_t* word = words.get()[i];
        texts.push_back(toUtf8(word, std::wcslen(word)));
    }
    return texts;
}

void prepareStreams() {
    for (std::FILE* stream : {stdin, stdout, stderr}) ::_setmode(::_fileno(stream), _O_BINARY);
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
