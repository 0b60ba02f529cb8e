// See user.h.
#include "tests/windows/user.h"

#include "tests/windows/test_host.h"

#include <optional>

#include <tlhelp32.h>

namespace vlisp::test {
namespace {

constexpr DWORD pause = 20;

// Asks again and again; ends the program after a minute.
void retry(const char* what, const std::function<bool()>& isDone) {
    const ULONGLONG end = GetTickCount64() + longestWait;
    while (!isDone()) {
        if (GetTickCount64() > end) hostFault((std::string("waited in vain for ") + what).c_str());
        Sleep(pause);
    }
}

DWORD processOf(HWND window) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    return process;
}

std::string classOf(HWND window) {
    wchar_t name[64] = {};
    GetClassNameW(window, name, static_cast<int>(std::size(name)));
    return narrow(name);
}

// The visible window of a class that satisfies a condition, or null.
HWND topWindow(const wchar_t* className, const std::function<bool(HWND)>& isWanted) {
    HWND window = nullptr;
    while ((window = FindWindowExW(nullptr, window, className, nullptr)) != nullptr)
        if (IsWindowVisible(window) != FALSE && isWanted(window)) return window;
    return nullptr;
}

// The system's picture for warnings. Asked for early: while a module is being loaded no other thread may.
HICON warningIcon() {
    static HICON icon = LoadIconW(nullptr, IDI_WARNING);
    return icon;
}

bool isOfThisProcess(HWND window) { return processOf(window) == GetCurrentProcessId(); }

// Whether this process started the one with that number.
bool isChildProcess(DWORD process) {
    HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    bool found = false;
    for (BOOL more = Process32FirstW(all, &entry); more != FALSE && !found;
         more = Process32NextW(all, &entry))
        found =
            entry.th32ProcessID == process && entry.th32ParentProcessID == GetCurrentProcessId();
    CloseHandle(all);
    return found;
}

SeenBox seenBox(HWND box) {
    SeenBox seen;
    seen.title = textOf(box);
    for (const HWND child : childrenOf(box)) {
        if (IsWindowVisible(child) == FALSE) continue;
        const LONG_PTR style = GetWindowLongPtrW(child, GWL_STYLE);
        if (classOf(child) == "Button") {
            seen.buttons.push_back(textOf(child));
        } else if ((style & SS_TYPEMASK) == SS_ICON) {
            const LRESULT icon = SendMessageW(child, STM_GETICON, 0, 0);
            seen.warns = reinterpret_cast<HICON>(icon) == warningIcon();
        } else {
            seen.text = textOf(child);
        }
    }
    return seen;
}

void handleDialog(int button, const std::function<void(HWND)>& look) {
    HWND dialog = nullptr;
    retry("a dialog", [&] { return (dialog = topWindow(L"#32770", isOfThisProcess)) != nullptr; });
    // A dialog that is being built takes no button yet.
    retry("the end of a dialog", [&] {
        if (IsWindow(dialog) == FALSE) return true;
        look(dialog);
        PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0);
        Sleep(5 * pause);
        return IsWindow(dialog) == FALSE;
    });
}

}  // namespace

std::string textOf(HWND window) {
    constexpr UINT patience = 5'000;  // milliseconds
    wchar_t text[1024] = {};
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text),
                        SMTO_ABORTIFHUNG, patience, &length);
    return narrow(text);
}

std::vector<HWND> childrenOf(HWND window) {
    std::vector<HWND> children;
    EnumChildWindows(
        window,
        [](HWND child, LPARAM all) -> BOOL {
            reinterpret_cast<std::vector<HWND>*>(all)->push_back(child);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&children));
    return children;
}

// While a module is being loaded no thread begins; so this one has begun before anything else happens. It
// is told by an event of the system: the library's latch sometimes misses that it has been opened.
NextDialog::NextDialog(int button, std::function<void(HWND)> look) {
    warningIcon();
    HANDLE hasBegun = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    thread_ = std::thread([button, hasBegun, look = std::move(look)] {
        SetEvent(hasBegun);
        handleDialog(button, look);
    });
    WaitForSingleObject(hasBegun, INFINITE);
    CloseHandle(hasBegun);
}

NextDialog::~NextDialog() { thread_.join(); }

SeenBox boxDuring(const std::function<void()>& work) {
    std::optional<SeenBox> seen;
    {
        const NextDialog dialog(IDOK, [&](HWND box) {
            if (!seen) seen = seenBox(box);  // later it may be going already
        });
        work();
    }
    return *seen;
}

StartedEditor::StartedEditor(const std::string& contents) {
    retry("the editor", [&] {
        window_ = topWindow(L"Notepad", [&](HWND window) {
            if (!isChildProcess(processOf(window))) return false;
            HWND edit = FindWindowExW(window, nullptr, L"Edit", nullptr);
            return edit != nullptr && textOf(edit) == contents;
        });
        return window_ != nullptr;
    });
    process_ = processOf(window_);
}

StartedEditor::~StartedEditor() {
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, process_);
    PostMessageW(window_, WM_CLOSE, 0, 0);
    if (process == nullptr) return;
    if (WaitForSingleObject(process, longestWait) != WAIT_OBJECT_0)
        hostFault("the editor does not close");
    CloseHandle(process);
}

}  // namespace vlisp::test
