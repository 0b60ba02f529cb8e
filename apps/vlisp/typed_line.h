// A line typed at the command line: LISP, a command, or the answer to a question.
// Tests: tests/cli/script.session, tests/cli/prompt_posix_test.cpp.
#pragma once

#include "apps/vlisp/console.h"

namespace vlisp::app {

/// Lines that are typed one after the other until they make up something whole: LISP goes on until
/// its parentheses are closed, anything else is a line. Comments are left out: what follows a ";"
/// outside of texts in LISP, and lines that begin with one where a command could begin.
class TypedText {
  public:
    explicit TypedText(const refhost::ReferenceHost& host) : host_(host) {}

    /// Takes a line; true when text() is whole.
    bool add(std::u16string_view line);
    [[nodiscard]] bool isEmpty() const noexcept { return lines_ == 0; }
    [[nodiscard]] const std::u16string& text() const noexcept { return text_; }
    /// The text, and begins anew.
    std::u16string take();

  private:
    void addLisp(std::u16string_view line);

    const refhost::ReferenceHost& host_;
    std::u16string text_;
    std::size_t lines_ = 0;
    bool isLisp_ = false;
    int depth_ = 0;
    bool inText_ = false;
};

/// Takes what was typed. LISP is evaluated and its value shown, or handed to the command that waits;
/// the rest goes to the host. Returns the error text of the evaluation, empty for none.
std::u16string typeLine(Lisp& lisp, const std::u16string& line);

}  // namespace vlisp::app
