// The terminal: reads lines with history, editing and completion.
// One idea: the line editor is the library's, or the system's own; what it completes is what can be typed
// here and now. One source per system.
// Tests: tests/cli/prompt_posix_test.cpp.
#pragma once

#include "apps/vlisp/console.h"
#include "refhost/console/answers.h"

#include <functional>
#include <memory>
#include <set>
#include <string>

namespace vlisp::app {

class Terminal final : public refhost::Answers {
  public:
    using Names = std::function<std::set<std::string>(std::string_view)>;

    /// `names` gives what can be completed, for the line up to the name.
    explicit Terminal(Names names);
    ~Terminal() override;

    /// Reads a line; UTF-8 on the terminal, UTF-16 inside.
    Outcome read(std::u16string_view prompt, bool continued, std::u16string& line) override;

    [[nodiscard]] bool isTerminal() const override { return true; }

    /// Keeps a line in the history, at once: a run that ends badly loses nothing.
    void remember(const std::string& line);

  private:
    struct Editor;
    std::unique_ptr<Editor> editor_;
};

}  // namespace vlisp::app
