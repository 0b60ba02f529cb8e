// Pictures of a drawing: SVG, PDF and PNG on a sheet of paper.
// One idea: a picture is measured in millimetres of paper, whatever it is written as.
// Tests: tests/plot/.
#pragma once

#include "refhost/model/drawing.h"
#include "refhost/model/geometry.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::refhost::plot {

enum class Kind { svg, pdf, png };

/// A sheet, in millimetres.
struct PaperSize {
    double width = 210;
    double height = 297;
    bool turns = true;  ///< may be laid the other way where no orientation is asked for
};

enum class Orientation {
    automatic,  ///< the way that suits what is shown, where the paper may be turned
    portrait,
    landscape
};

struct Options {
    Kind kind = Kind::svg;
    /// What is shown, in drawing units; all that is drawn when there is none.
    std::optional<Box> window;
    /// Only layers that match one of these wildcard patterns, without regard to case, are shown;
    /// with none, all are.
    std::vector<std::u16string> layers;
    PaperSize paper;
    Orientation orientation = Orientation::automatic;
    /// Millimetres of paper for a drawing unit; without it, what is shown fills the paper within
    /// the margin. What lies in the margin at a fixed scale is cut off.
    std::optional<double> scale;
    bool mono = false;  ///< everything in black, or in white on a dark ground
    bool dark = false;  ///< a dark ground
    double dpi = 150;   ///< of a PNG: pixels in 25.4 mm
    /// Of a PNG: how many pixels the longer side of the paper has, instead of dpi.
    std::optional<int> pixels;
    std::u16string title;  ///< shown by viewers, not on the paper
};

inline constexpr double margin = 10;           ///< mm; a quarter of a small sheet's shorter side
inline constexpr double thinnestPaper = 1;     ///< mm: the shortest side of a sheet
inline constexpr double widestPaper = 10'000;  ///< mm: its longest
inline constexpr int mostPixels = 16'384;      ///< of a PNG's side
inline constexpr double mostPixelsInAll = 64e6;
/// How many objects of blocks a PDF or PNG shows in all, and how many copies of blocks an SVG does;
/// the rest is not drawn, and said so.
inline constexpr int mostShownInBlocks = 3'000'000;

/// Objects that could not be drawn, for one reason.
struct Omission {
    std::u16string kind;  ///< "ELLIPSE", for example
    std::string reason;   ///< "its shape is not known", for example
    std::size_t count = 0;
    bool operator==(const Omission&) const = default;
};

struct Picture {
    std::string bytes;              ///< the file; empty when there is an error
    std::string error;              ///< why there is no picture; empty when there is one
    std::vector<Omission> omitted;  ///< by kind and reason; what is hidden or aside is not here
};

/// The kind of picture that a file's name asks for by its ending, without regard to case.
[[nodiscard]] std::optional<Kind> kindOf(std::string_view fileName);
/// "A0" to "A6", "Letter", "Legal", "Tabloid", without regard to case; or width x height in
/// millimetres such as "600x400", which is taken as it is written. None for anything else, and for
/// sides that are too short or too long.
[[nodiscard]] std::optional<PaperSize> paperOf(std::string_view text);
/// A scale as Options has it: "1:50" is 0.02, "2:1" is 2, a number is itself. None for anything
/// else, and for what is not above 0. ("fit" is no number: it is the absence of a scale.)
[[nodiscard]] std::optional<double> scaleOf(std::string_view text);

/// Draws what the drawing shows: objects that are not erased or invisible, on layers that are on
/// and not frozen. Of the same drawing and options every SVG is the same. Layers lie in an SVG in
/// the order of their first objects, in the other pictures objects lie in the drawing's order.
/// Thread: the one that may look at the drawing.
[[nodiscard]] Picture draw(const Drawing& drawing, const Options& options);

}  // namespace vlisp::refhost::plot
