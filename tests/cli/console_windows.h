// A program in a console of its own, for the tests on Windows.
// One idea: the test leaves its console, makes a new one and starts the program there; it types keys and
// reads the screen, as a person would. What it prints itself goes where it always went.
#pragma once

#include "platform/text.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <gtest/gtest.h>
#include <io.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vlisp::cli_tests {

using namespace std::chrono_literals;

inline std::string toUtf8(std::wstring_view text) {
    return platform::toUtf8({reinterpret_cast<const char16_t*>(text.data()), text.size()});
}

[[noreturn]] inline void throwError(const std::string& what) {
    throw std::runtime_error(what + ", error " + std::to_string(::GetLastError()));
}

/// vlisp.exe, which lies beside the program of the tests.
inline std::wstring programPath() {
    std::wstring path(32'768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    path.erase(path.find_last_of(L'\\') + 1);
    return path + L"vlisp.exe";
}

/// vlisp.exe, started with `words` as its command line goes on; ended with this object.
class Child {
  public:
    Child(const std::wstring& words, HANDLE input, HANDLE output) {
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdInput = input;
        start.hStdOutput = output;
        start.hStdError = output;
        const std::wstring program = programPath();
        std::wstring line = L"vlisp.exe " + words;
        if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                             nullptr, &start, &process_) == 0)
            throwError("not started: " + toUtf8(program));
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        ::TerminateProcess(process_.hProcess, 1);
        ::WaitForSingleObject(process_.hProcess, longestWait);
        ::CloseHandle(process_.hThread);
        ::CloseHandle(process_.hProcess);
    }

    /// Waits for the end; -1 when it does not come.
    int exitCode() {
        DWORD code = 0;
        if (::WaitForSingleObject(process_.hProcess, longestWait) != WAIT_OBJECT_0 ||
            ::GetExitCodeProcess(process_.hProcess, &code) == 0)
            return -1;
        return static_cast<int>(code);
    }

  private:
    static constexpr DWORD longestWait = 30'000;  // ms

    PROCESS_INFORMATION process_{};
};

/// A new console, in which this process is for as long as the object lives.
class Console {
  public:
    Console() {
        if (::_isatty(::_fileno(stdout)) != 0)
            throw std::runtime_error("the tests' output would be lost; send it through | cat");
        for (std::size_t i = 0; i < streams.size(); ++i) former_[i] = ::GetStdHandle(streams[i]);
        ::FreeConsole();
        if (::AllocConsole() == 0) throwError("no console");
        keyboard_ = open(L"CONIN$");
        screen_ = open(L"CONOUT$");
        // Ctrl-C comes to all processes in the console. To ignore it would be passed on to the child.
        ::SetConsoleCtrlHandler(nullptr, FALSE);
        ::SetConsoleCtrlHandler(passOverControlC, TRUE);
    }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    ~Console() {
        ::CloseHandle(keyboard_);
        ::CloseHandle(screen_);
        ::FreeConsole();
        ::SetConsoleCtrlHandler(passOverControlC, FALSE);
        ::AttachConsole(ATTACH_PARENT_PROCESS);
        for (std::size_t i = 0; i < streams.size(); ++i) ::SetStdHandle(streams[i], former_[i]);
    }

    [[nodiscard]] HANDLE keyboard() const noexcept { return keyboard_; }
    [[nodiscard]] HANDLE screen() const noexcept { return screen_; }

    void press(const std::vector<KEY_EVENT_RECORD>& keys) const {
        std::vector<INPUT_RECORD> records(keys.size());
        for (std::size_t i = 0; i < keys.size(); ++i) {
            records[i].EventType = KEY_EVENT;
            records[i].Event.KeyEvent = keys[i];
        }
        DWORD count = 0;
        const auto all = static_cast<DWORD>(records.size());
        EXPECT_TRUE(::WriteConsoleInputW(keyboard_, records.data(), all, &count) != 0 &&
                    count == all);
    }

    /// What is on the screen down to the cursor, without the blanks at the lines' ends.
    [[nodiscard]] std::wstring shown() const {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        std::wstring text;
        if (::GetConsoleScreenBufferInfo(screen_, &info) == 0) return text;
        for (SHORT row = 0; row <= info.dwCursorPosition.Y; ++row) {
            std::wstring line(static_cast<std::size_t>(info.dwSize.X), L' ');
            DWORD count = 0;
            ::ReadConsoleOutputCharacterW(screen_, line.data(), static_cast<DWORD>(line.size()),
                                          {0, row}, &count);
            line.resize(count);
            line.erase(line.find_last_not_of(L' ') + 1);
            if (row > 0) text += L'\n';
            text += line;
        }
        return text;
    }

  private:
    static constexpr std::array<DWORD, 3> streams{STD_INPUT_HANDLE, STD_OUTPUT_HANDLE,
                                                  STD_ERROR_HANDLE};

    static BOOL WINAPI passOverControlC(DWORD event) { return event == CTRL_C_EVENT; }

    // Handles that a child gets.
    static HANDLE open(const wchar_t* name) {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        return ::CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                             &inherited, OPEN_EXISTING, 0, nullptr);
    }

    std::array<HANDLE, 3> former_{};
    HANDLE keyboard_ = INVALID_HANDLE_VALUE;
    HANDLE screen_ = INVALID_HANDLE_VALUE;
};

/// vlisp.exe in such a console.
class Terminal {
  public:
    explicit Terminal(const std::wstring& words = {})
        : child_(words, console_.keyboard(), console_.screen()) {}

    /// Types a text; \r is Enter, \t the Tab key.
    void type(std::wstring_view text) const {
        std::vector<KEY_EVENT_RECORD> keys;
        for (const wchar_t unit : text) {
            const bool isNamed = unit == L'\r' || unit == L'\t';
            keys.push_back(key(static_cast<WORD>(isNamed ? unit : 0), unit));
        }
        console_.press(keys);
    }

    void pressLeft(std::size_t times) const {
        console_.press(std::vector<KEY_EVENT_RECORD>(times, key(VK_LEFT)));
    }
    void pressUp() const { console_.press({key(VK_UP)}); }
    void pressControl(wchar_t letter) const {
        constexpr wchar_t mask = 0x1f;
        console_.press({key(static_cast<WORD>(letter), static_cast<wchar_t>(letter & mask),
                            LEFT_CTRL_PRESSED)});
    }

    /// Ctrl-C as another program sends it.
    static void sendControlC() {
        EXPECT_NE(::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0), 0) << ::GetLastError();
    }

    /// Waits until `text` is on the screen behind what was seen before; false after half a minute.
    bool sees(std::wstring_view text) {
        const auto end = std::chrono::steady_clock::now() + 30s;
        for (;;) {
            const std::wstring shown = console_.shown();
            const std::size_t found = shown.find(text, seen_);
            if (found != std::wstring::npos) {
                seen_ = found + text.size();
                return true;
            }
            if (std::chrono::steady_clock::now() > end) {
                ADD_FAILURE() << "not seen: " << toUtf8(text) << "\non screen:\n" << toUtf8(shown);
                return false;
            }
            std::this_thread::sleep_for(5ms);
        }
    }

    [[nodiscard]] bool hasShown(std::wstring_view text) const {
        return console_.shown().find(text) != std::wstring::npos;
    }

    int exitCode() {
        const int code = child_.exitCode();
        if (code < 0) ADD_FAILURE() << "does not end; on screen:\n" << toUtf8(console_.shown());
        return code;
    }

  private:
    static KEY_EVENT_RECORD key(WORD code, wchar_t unit = 0, DWORD held = 0) {
        KEY_EVENT_RECORD record{};
        record.bKeyDown = TRUE;
        record.wRepeatCount = 1;
        record.wVirtualKeyCode = code;
        record.uChar.UnicodeChar = unit;
        record.dwControlKeyState = held;
        return record;
    }

    Console console_;
    Child child_;
    std::size_t seen_ = 0;
};

}  // namespace vlisp::cli_tests
