// A picture of a drawing as SVG.
// Tests: tests/plot/svg_test.cpp.
#pragma once

#include "refhost/plot/page.h"
#include "refhost/plot/painter.h"

#include <string>

namespace vlisp::refhost::plot {

/// The drawing on the page, as a whole SVG document in UTF-8.
///
/// One millimetre of paper is one unit, y downwards. The root says where the drawing lies:
/// data-scale is millimetres for a drawing unit, data-origin the drawing's coordinates of the lower
/// left corner. A group of the class "layer" with data-layer is a layer, in it is one element for
/// each object, with data-handle, its id in hexadecimal, and data-type, its kind. A colour is the
/// property `color` of a layer or an object; lines and letters are in the current colour.
[[nodiscard]] std::string svgOf(Scene& scene, const Page& page);

/// `text` in UTF-8 for use in XML, between tags or in double quotes. Characters that XML cannot
/// hold are left out.
[[nodiscard]] std::string xmlOf(std::u16string_view text);

/// A number with three decimals at most, as short as it is; 0 when it is not finite.
void appendNumber(std::string& to, double number);

}  // namespace vlisp::refhost::plot
