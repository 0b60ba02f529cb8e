// Writing a picture of a drawing to a file.
// Tests: tests/cli/plot.session, tests/cli/pictures.session.
#pragma once

#include "refhost/plot/plot.h"

#include <string>

namespace vlisp::app {

/// Draws to a file whose ending says what kind of picture it is; the exit code, with a message on
/// standard error when that fails, and with a line there for what was not drawn.
int writePicture(const refhost::Drawing& drawing, refhost::plot::Options options,
                 const std::string& path, bool quiet = false);

}  // namespace vlisp::app
