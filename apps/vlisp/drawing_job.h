// A drawing that a program is run over: opened before, saved and plotted after.
// One idea: a program that ends with an error leaves nothing half done; what it has changed is
// written only when that is asked for.
// Tests: tests/cli/drawing.session.
#pragma once

#include "apps/vlisp/console.h"

#include <string>

namespace vlisp::app {

struct DrawingOptions {
    std::string drawing;     ///< the file to open; empty: an empty drawing
    std::string save;        ///< where to save it; empty: nowhere
    std::string plot;        ///< the picture to write; empty: none
    bool dryRun = false;     ///< tell what would change, and write nothing
    bool backup = false;     ///< keep what is replaced
    bool recover = false;    ///< open what can be opened of a damaged file
    bool keepGoing = false;  ///< save and plot although LISP has reported an error

    [[nodiscard]] bool any() const noexcept {
        return !drawing.empty() || !save.empty() || !plot.empty() || dryRun;
    }
};

/// Opens the drawing; the exit code, with a message on standard error when it cannot be opened.
int openDrawing(Lisp& lisp, const DrawingOptions& options, bool json);

/// Saves and plots after a run that ended with `code`; the worst exit code of all.
int finishDrawing(Lisp& lisp, const DrawingOptions& options, bool json, int code);

/// The exit code for what opening or saving failed by.
int exitCodeOf(refhost::dxf::FileError::Kind kind) noexcept;

}  // namespace vlisp::app
