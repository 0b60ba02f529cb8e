// Signals that end the program: they end the evaluation first.
// Tests: tests/cli/signals_test.cpp.
#pragma once

namespace vlisp::app {

/// From now on SIGINT and SIGTERM cancel what is evaluated or asked for; a second one ends the
/// program at once.
void cancelOnSignals();

/// `code`, or 128 and its number when a signal came.
int exitCodeOfSignals(int code);

}  // namespace vlisp::app
