// Pictures of a drawing. See plot.h.
// Tests: tests/plot/.
#include "refhost/plot/plot.h"

#include "refhost/plot/canvas_picture.h"
#include "refhost/plot/page.h"
#include "refhost/plot/painter.h"
#include "refhost/plot/svg.h"

namespace vlisp::refhost::plot {
namespace {

bool isSheet(const PaperSize& paper) noexcept {
    const auto isSide = [](double side) { return side >= thinnestPaper && side <= widestPaper; };
    return isSide(paper.width) && isSide(paper.height);
}

}  // namespace

Picture draw(const Drawing& drawing, const Options& options) {
    Picture picture;
    if (!isSheet(options.paper)) {
        picture.error = "a side of the paper has from 1 to 10000 millimetres";
        return picture;
    }
    if (options.scale && !(*options.scale > 0 && *options.scale <= 1e12)) {
        picture.error = "a scale is above 0";
        return picture;
    }
    if (options.window && options.window->isEmpty()) {
        picture.error = "the window is empty";
        return picture;
    }
    Scene scene(drawing, options);
    const Page page = layOut(options.window ? *options.window : scene.extents(), options);
    switch (options.kind) {
    case Kind::svg: picture.bytes = svgOf(scene, page); break;
    case Kind::pdf: picture.bytes = pdfOf(scene, page, picture.error); break;
    case Kind::png: picture.bytes = pngOf(scene, page, picture.error); break;
    }
    picture.omitted = scene.omissions();
    return picture;
}

}  // namespace vlisp::refhost::plot
