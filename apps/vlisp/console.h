// What the commands of vlisp share: exit codes, reading sources, writing out, a running LISP.
// Tests: tests/cli/.
#pragma once

#include "host/module.h"
#include "refhost/console/reference_host.h"

#include <string>
#include <string_view>
#include <vector>

namespace vlisp::app {

/// Exit codes of the program.
enum ExitCode : int {
    exitOk = 0,
    exitError =
        1,  ///< LISP reported an error, a prompt got no answer, the checker has found something
    exitUsage = 2,       ///< the command line was wrong
    exitUnreadable = 3,  ///< an input is missing or invalid
    exitUnwritable = 4,  ///< output cannot be written
    exitLimit = 5,       ///< the machine's stack or memory was used up
    exitSignal = 128     ///< ended by a signal, whose number is added
};

/// Writes `text`, or a line, to standard output at once. A failure is remembered for
/// exitCodeOfOutput.
void writeText(const std::string& text);
void writeLine(std::u16string_view text);
void writeLine(const std::string& text);

/// Writes a line to standard error.
void writeError(const std::string& line);

/// `code`, or at least exitUnwritable with a message when something could not be written to
/// standard output.
int exitCodeOfOutput(int code);

/// The code for the error text that an evaluation ended with, empty for none.
int exitCodeOfError(std::u16string_view errorText);

/// Reads a file, or standard input for "-". A script may begin with "#!": its first line is emptied,
/// so that the others keep their numbers. Returns false, with a message on standard error, when it
/// cannot be read.
bool readSource(const std::string& path, std::u16string& source);

/// Line `number`, counted from 1, of `source`, without its line end; empty beyond the last.
std::u16string_view lineOf(std::u16string_view source, std::size_t number);

/// The extension on the reference host. Made and used on one thread, the user interface's.
class Lisp {
  public:
    /// Every text that reaches the command line goes to `shown`; what is asked for comes from
    /// `answers`.
    Lisp(refhost::ReferenceHost::Sink shown, refhost::Answers& answers);
    Lisp(const Lisp&) = delete;
    Lisp& operator=(const Lisp&) = delete;
    ~Lisp();

    /// Loads a source as the host's users do; `path` is what it is announced as.
    LoadReport load(const std::string& path, std::u16string_view source);

    /// Evaluates a text for the host. True: `text` holds the result; false: the error text.
    bool evalString(std::u16string& text);
    /// The same, and `value` is the value itself.
    bool evalCell(std::u16string& text, Cell& value);

    /// Tells on standard error which prompt got no answer; false when there was one.
    bool allAnswered() const;

    refhost::ReferenceHost& host() noexcept { return host_; }
    [[nodiscard]] const refhost::ReferenceHost& host() const noexcept { return host_; }

  private:
    static InterpreterSession& session() noexcept { return currentModule()->session(); }

    refhost::ReferenceHost host_;
};

}  // namespace vlisp::app
