// What is done to a window of a host that implements MessageWindow. See system.h.
// One idea: who links this file has such a host; a module whose host has windows of the system links
// another in its place.
// Tests: tests/platform/system_test.cpp, tests/host/.
#include "platform/system.h"
#include "platform/text.h"

#include <iostream>

namespace vlisp::platform {

void postToMainWindow(WindowHandle window, unsigned message, const void* record) {
    if (window != nullptr) window->post(message, record);
}

void takeBackPosted(WindowHandle /*window*/, unsigned /*message*/) {}

void warn(WindowHandle window, const char16_t* text) {
    if (window != nullptr) return window->warn(text);
    std::cerr << toUtf8(text) << '\n';
}

std::u16string chooseFile(WindowHandle window, const FileDialog& dialog) {
    constexpr std::size_t longestPath = 100'000;
    std::u16string path(longestPath, u'\0');
    if (window == nullptr || !window->chooseFile(dialog, path.data(), longestPath)) return {};
    path.back() = 0;
    path.resize(path.find(u'\0'));
    return path;
}

void openInEditor(WindowHandle window, const std::u16string& path) {
    startEditor(path, window != nullptr && window->usesTerminal());
}

}  // namespace vlisp::platform
