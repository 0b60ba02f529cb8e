// Lines from a console of Windows.
// One idea: the console's own editor reads the line, and hands it over early at a key that it was told of.
// One such key is typed by ourselves, when a signal has come: to read a console ends at nothing else, but
// for Ctrl-C at the keyboard.
// Tests: tests/cli/prompt_windows_test.cpp, tests/cli/signals_windows_test.cpp.
#pragma once

#include <string>

namespace vlisp::app {

/// Why a line was handed over.
enum class LineEnd {
    enter,   ///< it is whole
    tab,     ///< a name is to be completed
    signal,  ///< a signal came; the line is given up, and what was typed ahead
    end      ///< nobody types any more, or Ctrl-Z stood at the line's begin
};

/// Reads a line from the console that `descriptor` is. What `line` holds already stands on the screen,
/// in front of the cursor. At a tab it gets what is in front of the cursor, and `behind` the rest; without
/// `behind` a tab is a letter like others.
LineEnd readConsoleLine(int descriptor, std::u16string& line, std::u16string* behind);

/// Ends the reading, or the next one. On any thread.
void endReading() noexcept;

/// Takes that back: the signal was for something else.
void forgetSignal() noexcept;

}  // namespace vlisp::app
