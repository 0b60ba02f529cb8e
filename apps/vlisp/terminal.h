// The terminal: reads lines with history, editing and completion.
// One idea: the line editor is the library's; what it completes is what can be typed here and now.
// Tests: tests/cli/prompt_test.cpp.
#pragma once

#include "apps/vlisp/console.h"
#include "refhost/console/answers.h"

#include <functional>
#include <histedit.h>
#include <memory>
#include <set>
#include <string>

namespace vlisp::app {

class Terminal final : public refhost::Answers {
  public:
    /// `names` gives what can be completed, for the line up to the name.
    explicit Terminal(std::function<std::set<std::string>(std::string_view)> names);
    ~Terminal() override;

    /// Reads a line; UTF-8 on the terminal, UTF-16 inside.
    Outcome read(std::u16string_view prompt, bool continued, std::u16string& line) override;

    [[nodiscard]] bool isTerminal() const override { return true; }

    /// Keeps a line in the history, at once: a run that ends badly loses nothing.
    void remember(const std::string& line);

    /// Completes the name before the cursor (the Tab key).
    unsigned char complete();

  private:
    static char* promptOf(EditLine* editor);

    std::function<std::set<std::string>(std::string_view)> names_;
    std::unique_ptr<EditLine, void (*)(EditLine*)> editor_;
    std::unique_ptr<History, void (*)(History*)> history_;
    std::string file_;
    std::string prompt_;
};

}  // namespace vlisp::app
