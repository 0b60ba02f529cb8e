// The terminal: reads lines with history, editing and completion.
// One idea: the line editor is the library's, or the system's own; what it completes is what can be typed
// here and now. One source per system.
// Tests: tests/cli/prompt_posix_test.cpp, tests/cli/prompt_windows_test.cpp.
#pragma once

#include "apps/vlisp/completion.h"
#include "apps/vlisp/console.h"
#include "refhost/console/answers.h"

#include <memory>
#include <string>
#include <string_view>

namespace vlisp::app {

class Terminal final : public refhost::Answers {
  public:
    explicit Terminal(NameSource names);
    ~Terminal() override;

    /// Reads a line; UTF-8 on the terminal, UTF-16 inside.
    Outcome read(std::u16string_view prompt, bool continued, std::u16string& line) override;

    [[nodiscard]] bool isTerminal() const override { return true; }

    /// A line that tells which keys complete, cancel and end.
    static std::string_view keys();

    /// Keeps a line in the history, at once: a run that ends badly loses nothing.
    void remember(const std::string& line);

  private:
    struct Editor;
    std::unique_ptr<Editor> editor_;
};

}  // namespace vlisp::app
