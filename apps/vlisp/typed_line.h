// A line typed at the command line: LISP, a command, or the answer to a question.
// Tests: tests/cli/script.session, tests/cli/prompt_test.cpp.
#pragma once

#include "apps/vlisp/console.h"

namespace vlisp::app {

/// Whether a line is LISP: it begins with "(" or "!", and what waits for it, if anything, is not a
/// text as it is.
bool isLisp(const refhost::ReferenceHost& host, std::u16string_view line);

/// Parentheses that `text` leaves open, as the reader counts them.
int openParentheses(std::u16string_view text);

/// Takes a line. LISP is evaluated and its value shown, or handed to the command that waits; the rest
/// goes to the host. Returns the error text of the evaluation, empty for none.
std::u16string typeLine(Lisp& lisp, const std::u16string& line);

}  // namespace vlisp::app
