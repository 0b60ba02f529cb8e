// The Windows module as an image: what happens when it is loaded and when it goes.
// One idea: an application framework would have an application object, whose InitInstance runs at the
// load; this is that object with the same duties, called by the system itself.
// Tests: tests/bridge/, tests/windows/.
#include "host/binding_windows.h"
#include "host/module.h"

#include <algorithm>
#include <string>

#include <windows.h>

namespace {

// Shows a box with this text when the load is over: while it goes on the system holds a lock that windows
// need. The thread runs the system's code only, and what it reads is never given back, for the module
// will have gone by then.
void showBoxLater(const std::wstring& text) {
    struct Box {
        MSGBOXPARAMSW parameters;
        wchar_t caption[32];
        wchar_t text[1];
    };
    auto* box = static_cast<Box*>(
        HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(Box) + text.size() * sizeof(wchar_t)));
    HMODULE windows = nullptr;
    if (box == nullptr ||
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, L"user32.dll", &windows) == FALSE)
        return;
    std::copy(text.begin(), text.end(), box->text);
    std::ranges::copy(L"VelmoraLispExtension", box->caption);
    box->parameters.cbSize = sizeof box->parameters;
    box->parameters.lpszText = box->text;
    box->parameters.lpszCaption = box->caption;
    box->parameters.dwStyle = MB_OK | MB_ICONERROR;
    // It takes one pointer and gives a number, as the body of a thread does.
    void* const address = reinterpret_cast<void*>(GetProcAddress(windows, "MessageBoxIndirectW"));
    const auto show = reinterpret_cast<LPTHREAD_START_ROUTINE>(address);
    CloseHandle(CreateThread(nullptr, 0, show, box, 0, nullptr));
}

// Tells why the module refuses: to a debugger, on the standard error stream where there is one, and to
// the user unless the program wants to be alone with such errors.
void tellRefusal(const std::wstring& text) {
    OutputDebugStringW(text.c_str());
    const std::string bytes(text.begin(), text.end());  // names are ASCII
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
              &written, nullptr);
    if ((GetErrorMode() & SEM_FAILCRITICALERRORS) == 0) showBoxLater(text);
}

class CVelmoraLispExtensionApp {
  public:
    /// False: the host is not one that the module can work with, and the system unloads it.
    bool InitInstance(HINSTANCE instance) {
        vlisp::setModuleInstance(instance);
        const std::wstring missing = vlisp::bindToHost();
        if (missing.empty()) return true;
        tellRefusal(L"VelmoraLispExtension.vxm cannot be loaded: the program does not have what it "
                    L"needs of Velmora:\n\n" +
                    missing);
        return false;
    }

    /// Ends what still evaluates; a process that ends has taken the threads away already, and nobody
    /// may wait for them.
    void ExitInstance(bool processEnds) noexcept {
        processEnds ? vlisp::abandonModule() : vlisp::stopModule();
    }
};

CVelmoraLispExtensionApp theApp;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) return theApp.InitInstance(instance) ? TRUE : FALSE;
    if (reason == DLL_PROCESS_DETACH) theApp.ExitInstance(processEnds != nullptr);
    return TRUE;
}
