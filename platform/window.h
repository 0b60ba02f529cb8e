// A window of the host, as far as the module knows it.
// One idea: on systems without native windows the host implements this interface, and hands out its
// address as the handle.
// Tests: tests/host/, tests/platform/system_test.cpp.
#pragma once

#include <cstddef>

namespace vlisp::platform {

/// What a file dialog offers.
struct FileDialog {
    const char16_t* defaultExtension;
    /// Pairs of a description and a pattern, each ended by "|"; one more "|" ends the whole.
    const char16_t* filter;
};

/// A window of the host that takes posted messages. On systems without such windows the host
/// implements this and hands out its address as the window handle.
class MessageWindow {
  public:
    MessageWindow() = default;
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;
    virtual ~MessageWindow() = default;

    /// Puts a message on the queue of the window's thread; any thread may call. The record must
    /// stay as it is until the host says that it has taken the message.
    virtual void post(unsigned message, const void* record) = 0;

    /// Shows a message box with a warning and returns when it has been seen. Thread: the window's.
    virtual void warn(const char16_t* text) = 0;

    /// True when the program lives in a terminal, so that an editor started there must be waited
    /// for: two cannot share it.
    [[nodiscard]] virtual bool usesTerminal() const { return false; }

    /// Lets the user choose an existing file. Writes its path, terminated and at most `capacity`
    /// units with the zero; false when the user cancels. Thread: the window's.
    virtual bool chooseFile(const FileDialog& dialog, char16_t* path, std::size_t capacity) = 0;
};

/// Handle of a window of the host.
using WindowHandle = MessageWindow*;

}  // namespace vlisp::platform
