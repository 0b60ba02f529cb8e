// What the commands of vlisp share: exit codes, reading sources, writing out, a running LISP.
// Tests: tests/cli/.
#pragma once

#include "host/module.h"
#include "refhost/console/headless_host.h"

#include <string>
#include <string_view>
#include <vector>

namespace vlisp::app {

/// Exit codes of the program.
enum ExitCode : int {
    exitOk = 0,
    exitError = 1,      ///< LISP reported an error, the checker found something, or output failed
    exitUsage = 2,      ///< the command line was wrong
    exitUnreadable = 3  ///< a file cannot be read
};

/// Writes `text`, or a line, to standard output at once. A failure is remembered for
/// exitCodeOfOutput.
void writeText(const std::string& text);
void writeLine(std::u16string_view text);
void writeLine(const std::string& text);

/// Writes a line to standard error.
void writeError(const std::string& line);

/// `code`, or exitError with a message when something could not be written to standard output.
int exitCodeOfOutput(int code);

/// Reads a file, or standard input for "-". A script may begin with "#!": its first line is emptied,
/// so that the others keep their numbers. Returns false, with a message on standard error, when it
/// cannot be read.
bool readSource(const std::string& path, std::u16string& source);

/// Line `number`, counted from 1, of `source`, without its line end; empty beyond the last.
std::u16string_view lineOf(std::u16string_view source, std::size_t number);

/// A LISP with a headless host. Made and used on one thread, the user interface's.
class Lisp {
  public:
    /// Every text that reaches the command line goes to `shown`.
    explicit Lisp(HeadlessHost::Sink shown);

    /// Loads a source as the host's users do; `path` is what it is announced as.
    LoadReport load(const std::string& path, std::u16string_view source);

    /// Evaluates a text for the host. True: `text` holds the result; false: the error text.
    bool evalString(std::u16string& text);

    InterpreterSession& session() noexcept { return module_.session(); }

  private:
    HeadlessHost host_;
    Module module_;
};

}  // namespace vlisp::app
