// The window of a host that has windows of the system, as the Windows module meets it.
// One idea: the handle is the system's, and is only ever handed to the system; what the module asks of
// a window, and of dialogs and the editor, are the system's own calls (the others: window_of_host.cpp).
// Tests: tests/windows/.
#include "platform/system.h"

#include <algorithm>

#include <windows.h>

#include <commdlg.h>
#include <shellapi.h>

namespace vlisp::platform {
namespace {

HWND native(WindowHandle window) { return reinterpret_cast<HWND>(window); }

const wchar_t* units(const char16_t* text) { return reinterpret_cast<const wchar_t*>(text); }

// The title of the module's message boxes: the module's name, as the application framework has it.
std::u16string boxTitle() {
    constexpr DWORD longestPath = 32'768;
    std::u16string path(longestPath, u'\0');
    path.resize(GetModuleFileNameW(static_cast<HMODULE>(moduleInstance()),
                                   reinterpret_cast<wchar_t*>(path.data()), longestPath));
    return splitPath(path).name;
}

// The system separates and ends the parts of a filter by zeros.
std::u16string zeroSeparated(std::u16string filter) {
    std::ranges::replace(filter, u'|', u'\0');
    return filter;
}

}  // namespace

void postToMainWindow(WindowHandle window, unsigned message, const void* record) {
    if (window == nullptr) return;
    PostMessageW(native(window), message, 0, reinterpret_cast<LPARAM>(record));
}

void takeBackPosted(WindowHandle window, unsigned message) {
    if (window == nullptr) return;
    constexpr UINT postedOnly = PM_REMOVE | PM_QS_POSTMESSAGE;
    MSG taken;
    while (PeekMessageW(&taken, native(window), message, message, postedOnly) != 0) {
        if (taken.message != WM_QUIT) continue;
        PostQuitMessage(static_cast<int>(taken.wParam));  // it comes whatever is asked for
        return;
    }
}

void warn(WindowHandle window, const char16_t* text) {
    MessageBoxW(native(window), units(text), units(boxTitle().c_str()), MB_OK | MB_ICONWARNING);
}

// On purpose: the dialog belongs to no window, and its flags are those of a dialog for saving too.
std::u16string chooseFile(WindowHandle, const FileDialog& dialog) {
    constexpr std::size_t longestPath = 100'000;
    std::u16string path(longestPath, u'\0');
    const std::u16string filter = zeroSeparated(dialog.filter);
    OPENFILENAMEW choice{};
    choice.lStructSize = sizeof choice;
    choice.lpstrFilter = units(filter.c_str());
    choice.nFilterIndex = 1;
    choice.lpstrFile = reinterpret_cast<wchar_t*>(path.data());
    choice.nMaxFile = longestPath;
    choice.lpstrDefExt = units(dialog.defaultExtension);
    choice.Flags = OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT | OFN_EXPLORER;
    if (GetOpenFileNameW(&choice) == FALSE) return {};
    path.back() = 0;
    path.resize(path.find(u'\0'));
    return path;
}

// On purpose: the editor's place is fixed, and nobody looks whether it started.
void openInEditor(WindowHandle, const std::u16string& path) {
    ShellExecuteW(nullptr, L"open", L"c:\\windows\\notepad.exe", units(path.c_str()), L"",
                  SW_SHOWNORMAL);
}

}  // namespace vlisp::platform
