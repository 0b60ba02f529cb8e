// Windows that the module opens, handled as a user does: message boxes, the file dialog, the editor.
// One idea: a box waits on the user-interface thread, so somebody else must press its button: a helper
// thread that waits for a dialog of this process, looks at it, and presses until it is gone.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

namespace vlisp::test {

/// A window's own text; that of a control of another process too.
std::string textOf(HWND window);

/// The windows inside a window, and theirs.
std::vector<HWND> childrenOf(HWND window);

/// Presses a button of the next dialog of this process. `look` is called on another thread when the dialog is there,
/// and again whenever the button had no effect yet. Every wait has a limit, after which the program ends.
class NextDialog {
  public:
    NextDialog(int button, std::function<void(HWND)> look);
    NextDialog(const NextDialog&) = delete;
    NextDialog& operator=(const NextDialog&) = delete;
    /// Waits until the dialog has gone.
    ~NextDialog();

  private:
    std::thread thread_;
};

/// What a message box shows.
struct SeenBox {
    std::string title;
    std::string text;
    bool warns = false;  ///< has the system's picture for warnings
    std::vector<std::string> buttons;
};

/// What the message box shows that comes during `work`; its button is pressed.
SeenBox boxDuring(const std::function<void()>& work);

/// The editor that this process started, once its text is `contents`.
class StartedEditor {
  public:
    explicit StartedEditor(const std::string& contents);
    StartedEditor(const StartedEditor&) = delete;
    StartedEditor& operator=(const StartedEditor&) = delete;
    /// Closes it and waits until its process has ended.
    ~StartedEditor();

  private:
    HWND window_ = nullptr;
    DWORD process_ = 0;
};

}  // namespace vlisp::test
