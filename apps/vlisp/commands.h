// The commands of vlisp: each returns the program's exit code.
// Tests: tests/cli/.
#pragma once

#include <string>
#include <vector>

namespace vlisp::app {

/// `vlisp run`: loads a file; what it shows goes to standard output, the rest to standard error.
int runFile(const std::string& path, bool json);

/// `vlisp eval`: evaluates texts, or the lines of standard input when there are none.
int evalTexts(const std::vector<std::string>& texts, bool json);

/// `vlisp check`: tells what the reader and the evaluator pass over in silence.
int checkFiles(const std::vector<std::string>& paths, bool json);

/// `vlisp` alone in a terminal: a command line.
int promptForTexts();

/// What `vlisp help NAME` prints for a LISP name; empty when there is no such name.
std::string helpForName(const std::string& name);

/// The reference pages as Markdown, one section a name.
std::string referenceAsMarkdown();

/// Special forms and built-ins whose names are nearest to `name`, for "did you mean".
std::string nearestName(const std::string& name);

}  // namespace vlisp::app
