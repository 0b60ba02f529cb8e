// A picture of a drawing as PDF or PNG.
// One idea: both are one painter on two canvases; blocks are drawn object by object, in bounds.
// Tests: tests/plot/canvas_picture_posix_test.cpp.
#pragma once

#include "refhost/plot/page.h"
#include "refhost/plot/painter.h"

#include <string>

namespace vlisp::refhost::plot {

/// The drawing on the page as a PDF of one sheet, whose letters are text, or as a PNG. `error`
/// gets why there is none. The first one loads the module that draws.
[[nodiscard]] std::string pdfOf(Scene& scene, const Page& page, std::string& error);
[[nodiscard]] std::string pngOf(Scene& scene, const Page& page, std::string& error);

}  // namespace vlisp::refhost::plot
