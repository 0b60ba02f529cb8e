// Signals that end the program: they end the evaluation first.
// One source per system.
// Tests: tests/cli/signals_*_test.cpp, tests/cli/prompt_*_test.cpp.
#pragma once

namespace vlisp::app {

/// From now on SIGINT and SIGTERM cancel what is evaluated or asked for; a second one ends the
/// program at once.
void cancelOnSignals();

/// Whether a signal came.
bool signalled() noexcept;

/// Waits until `descriptor` can be read; false when a signal came instead, or when it never can be.
bool waitForInput(int descriptor) noexcept;

/// `code`, or 128 and its number when a signal came.
int exitCodeOfSignals(int code);

/// For a command line: from now on SIGINT cancels what is evaluated, or the line or the command that
/// waits, and nothing more; SIGTERM and SIGHUP end the program in order.
void watchSignalsOfPrompt();

/// Tells whether something is evaluated that SIGINT is to cancel.
void setBusy(bool busy) noexcept;

/// The signal that is to end the command line; 0 for none.
int endingSignal() noexcept;

}  // namespace vlisp::app
