// Where a drawing lies on its sheet of paper.
// Tests: tests/plot/page_test.cpp.
#pragma once

#include "refhost/model/pieces.h"
#include "refhost/plot/plot.h"

namespace vlisp::refhost::plot {

/// A sheet with the drawing's place on it. Paper is measured in millimetres from the upper left
/// corner, y downwards.
struct Page {
    double width = 0;
    double height = 0;
    double scale = 1;             ///< millimetres for a drawing unit
    pieces::Placement placement;  ///< from the drawing to the paper
    std::optional<Box> clip;      ///< on the paper: nothing is shown outside; none: all is inside

    [[nodiscard]] Box sheet() const noexcept { return {0, 0, width, height}; }
};

/// `shown` is what is to be shown, in drawing units; empty when nothing is. Nothing that it holds
/// is turned or stretched; its middle lies in the middle of the paper.
[[nodiscard]] Page layOut(const Box& shown, const Options& options) noexcept;

}  // namespace vlisp::refhost::plot
