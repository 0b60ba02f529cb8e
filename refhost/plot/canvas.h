// What PDFs and PNGs are drawn on: the boundary between the program and the module that draws them.
// One idea: the libraries that draw are many and slow to load, so they lie behind a module that is
// loaded with the first such picture. What crosses the boundary is numbers, bytes and virtual
// functions: no object of the standard library and no exception.
// Tests: tests/plot/canvas_picture_posix_test.cpp.
#pragma once

#include "refhost/model/geometry.h"
#include "refhost/plot/colour.h"

#include <cstddef>

namespace vlisp::refhost::plot {

/// Takes the bytes of a picture, in their order; false when it has no room for them.
struct ByteSink {
    void* self = nullptr;
    bool (*append)(void* self, const unsigned char* bytes, std::size_t count) noexcept = nullptr;
};

enum class CanvasKind { pdf, png };

/// An empty sheet: a PDF's in points, a PNG's in whole pixels.
struct CanvasRequest {
    CanvasKind kind = CanvasKind::pdf;
    double width = 0;
    double height = 0;
    double unitsInMm = 1;         ///< points or pixels
    const char* title = nullptr;  ///< of a PDF, in UTF-8; null: none
    ByteSink sink;                ///< gets the picture; lives as long as the canvas
};

/// Where a text stands: the mapping from the letters' plane, y downwards, to the sheet.
struct LetterPlane {
    Point2 origin;
    Point2 x;
    Point2 y;
};

enum class Drawn { whole, outOfMemory, failed };

/// A sheet that is drawn on, in millimetres from its upper left corner, y downwards. A path is
/// gathered until it is drawn. Mistakes and failures are kept until the end. Thread: one.
class Canvas {
  public:
    Canvas() = default;
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    virtual ~Canvas() = default;

    /// What everything that follows is drawn in; black at first.
    virtual void setColour(Rgb colour) noexcept = 0;
    /// The whole sheet in one colour.
    virtual void fillSheet() noexcept = 0;
    /// Nothing is drawn outside any more.
    virtual void clip(const Box& box) noexcept = 0;

    virtual void moveTo(Point2 p) noexcept = 0;
    virtual void lineTo(Point2 p) noexcept = 0;
    virtual void cubicTo(Point2 first, Point2 second, Point2 to) noexcept = 0;
    virtual void close() noexcept = 0;

    /// Draws the path as a line with round ends and corners, and forgets it.
    virtual void stroke(double width) noexcept = 0;
    /// The same with flat ends and sharp corners.
    virtual void strokeBand(double width) noexcept = 0;
    /// Fills the path, where one lies in another its outside, and forgets it.
    virtual void fill() noexcept = 0;

    /// How high capitals are in the plane of the letters.
    [[nodiscard]] virtual double capitals() noexcept = 0;
    /// Draws one line of UTF-8 with its baseline at the plane's origin. `anchor` of its width is to
    /// the left of that; with a `width` above 0, in the plane, the line is stretched to it.
    virtual void letters(const char* text, std::size_t bytes, const LetterPlane& plane,
                         double anchor, double width) noexcept = 0;

    /// Gives all bytes to the sink. `reason` says what has failed.
    [[nodiscard]] virtual Drawn finish(const char*& reason) noexcept = 0;
};

/// What the module exports under this name. The canvas is the caller's, to delete; null: `reason` says
/// why, and is null when memory ran out. The number grows with every change of this file, so that
/// a module of another version is told and not called.
using OpenCanvas = Canvas*(const CanvasRequest& request, const char*& reason) noexcept;
inline constexpr const char* openCanvasName = "vlispOpenCanvas1";

}  // namespace vlisp::refhost::plot
