// Lines from a console of Windows. See line_reader_windows.h.
#include "apps/vlisp/line_reader_windows.h"

#include <algorithm>
#include <io.h>
#include <mutex>
#include <utility>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vlisp::app {
namespace {

constexpr char16_t tabKey = u'\t';
constexpr char16_t endKey = 0x1a;   // Ctrl-Z
constexpr char16_t wakeKey = 0x1f;  // Ctrl-_, which nobody needs

constexpr ULONG bitOf(char16_t key) noexcept { return 1UL << key; }

// What the thread that reads shares with those that tell of signals.
struct Reader {
    std::mutex mutex;
    bool reads = false;
    HANDLE signal = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);  ///< raised by one that came
    HANDLE keyboard =
        ::CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                      nullptr, OPEN_EXISTING, 0, nullptr);
};

// Never destroyed: signals come while the program ends, too.
Reader& reader() {
    static Reader& only = *new Reader;
    return only;
}

void setReads(bool reads) {
    const std::lock_guard lock(reader().mutex);
    reader().reads = reads;
}

// Whether a signal came, or comes within some milliseconds. It is told once.
bool takeSignal(DWORD patience) {
    return ::WaitForSingleObject(reader().signal, patience) == WAIT_OBJECT_0;
}

void typeWakeKey() noexcept {
    INPUT_RECORD record{};
    record.EventType = KEY_EVENT;
    record.Event.KeyEvent.bKeyDown = TRUE;
    record.Event.KeyEvent.wRepeatCount = 1;
    record.Event.KeyEvent.uChar.UnicodeChar = wakeKey;
    DWORD count = 0;
    ::WriteConsoleInputW(reader().keyboard, &record, 1, &count);
}

// One call of the system. False at the end of all input. Nothing at all in `text`: Ctrl-C.
bool readUnits(HANDLE console, ULONG keys, std::u16string& text) {
    constexpr std::size_t room = 16384;  // units; most consoles take no more for a line
    CONSOLE_READCONSOLE_CONTROL control{};
    control.nLength = sizeof control;
    control.nInitialChars = static_cast<ULONG>(text.size());
    control.dwCtrlWakeupMask = keys;
    text.resize(text.size() + room);
    DWORD count = 0;
    const bool read = ::ReadConsoleW(console, text.data(), static_cast<DWORD>(text.size()), &count,
                                     &control) != 0;
    const bool interrupted = !read && ::GetLastError() == ERROR_OPERATION_ABORTED;
    text.resize(read ? count : 0);
    return read || interrupted;
}

LineEnd readUntilKey(HANDLE console, std::u16string& line, std::u16string* behind) {
    const ULONG keys = bitOf(wakeKey) | (behind != nullptr ? bitOf(tabKey) : 0);
    const auto isKey = [&](char16_t unit) { return unit < u' ' && (keys & bitOf(unit)) != 0; };
    std::u16string begin;  // of a line for which there was no room: what has come of it
    for (;;) {
        if (takeSignal(0)) return LineEnd::signal;
        if (!readUnits(console, keys, line)) return LineEnd::end;
        if (line.empty()) {
            constexpr DWORD longest = 1000;  // ms: it is told on another thread
            takeSignal(longest);
            return LineEnd::signal;
        }
        if (line.ends_with(u'\n')) break;
        const auto key = std::ranges::find_if(line, isKey);
        if (key == line.end()) {
            begin += std::exchange(line, {});
            continue;
        }
        const bool isTab = *key == tabKey;
        const auto cursor = line.erase(key);
        if (isTab) {
            behind->assign(cursor, line.end());
            line.erase(cursor, line.end());
            line.insert(0, begin);
            return LineEnd::tab;
        }
        // A wake-up key without a signal is left from one that had ended the reading by itself.
    }
    line.insert(0, begin);
    while (line.ends_with(u'\n') || line.ends_with(u'\r')) line.pop_back();
    return line.starts_with(endKey) ? LineEnd::end : LineEnd::enter;
}

}  // namespace

LineEnd readConsoleLine(int descriptor, std::u16string& line, std::u16string* behind) {
    // The C library gives the system's handle as a number.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto console = reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
    setReads(true);
    const LineEnd end = readUntilKey(console, line, behind);
    setReads(false);
    // With it goes the wake-up key, which would otherwise be left to whoever reads the console next.
    if (end == LineEnd::signal) ::FlushConsoleInputBuffer(reader().keyboard);
    return end;
}

void endReading() noexcept {
    const std::lock_guard lock(reader().mutex);
    ::SetEvent(reader().signal);  // first: the key alone means nothing
    if (reader().reads) typeWakeKey();
}

void forgetSignal() noexcept { takeSignal(0); }

}  // namespace vlisp::app
