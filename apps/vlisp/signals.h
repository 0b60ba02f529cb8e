// Signals that end the program: they end the evaluation first.
// Tests: tests/cli/signals_test.cpp.
#pragma once

namespace vlisp::app {

/// From now on SIGINT and SIGTERM cancel what is evaluated or asked for; a second one ends the
/// program at once.
void cancelOnSignals();

/// Whether a signal came.
bool signalled() noexcept;

/// Readable from the first signal on; -1 before cancelOnSignals().
int signalDescriptor() noexcept;

/// `code`, or 128 and its number when a signal came.
int exitCodeOfSignals(int code);

}  // namespace vlisp::app
