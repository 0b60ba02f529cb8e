// A picture of a drawing as PDF or PNG. See canvas_picture.h.
// Tests: tests/plot/canvas_picture_posix_test.cpp.
#include "refhost/plot/canvas_picture.h"

#include "platform/system.h"
#include "platform/text.h"
#include "refhost/plot/canvas.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace vlisp::refhost::plot {

using namespace pieces;

namespace {

constexpr double pointsInMm = 72 / 25.4;
constexpr double mmInInch = 25.4;

class CanvasPen final : public Pen {
  public:
    explicit CanvasPen(Canvas& canvas) : canvas_(canvas) {}
    void moveTo(Point2 p) override { canvas_.moveTo(p); }
    void lineTo(Point2 p) override {
        canvas_.lineTo(p);
        ++parts;
    }
    void arcTo(const Curve& curve) override {
        forEachCubic(curve,
                     [this](const Cubic& cubic) { cubicTo(cubic.first, cubic.second, cubic.to); });
    }
    void cubicTo(Point2 first, Point2 second, Point2 to) override {
        canvas_.cubicTo(first, second, to);
        ++parts;
    }
    void close() override { canvas_.close(); }

    int parts = 0;  ///< of the path, since it was last drawn

  private:
    Canvas& canvas_;
};

// What the canvas gets of a line of text.
std::string lettersOf(std::u16string_view line) {
    constexpr std::size_t longest = 100'000;
    std::u16string kept;
    for (const char16_t unit : line.substr(0, longest))
        if (unit >= 0x20 || unit == u'\t') kept += unit;
    return platform::toUtf8(kept);
}

class CanvasPainter final : public Painter {
  public:
    /// `finest` is the smallest thing to be seen on the canvas, in millimetres.
    CanvasPainter(Scene& scene, const Page& page, Canvas& canvas, double finest)
        : Painter(scene, page), canvas_(canvas), finest_(finest) {}

    void run() {
        if (page_.clip) canvas_.clip(*page_.clip);
        const Drawing& drawing = scene_.drawing();
        for (int slot = 0; slot < drawing.slotCount(); ++slot) {
            const auto object = drawing.at(slot);
            if (object != nullptr) paint(*object, page_.placement, {});
        }
        flush();
    }

  protected:
    void stroke(const Ink& ink, double width, const Trace& trace) override {
        const Rgb colour = colourOf(ink);
        const double thickness = width > 0 ? width : ink.weight;
        if (pen_.parts > 0 && (colour != colour_ || thickness != thickness_ || width > 0)) flush();
        thickness_ = thickness;
        setColour(colour);
        follow(lineTracer(pen_, width), trace);
        if (width > 0) flushBand();
        if (pen_.parts >= mostAtOnce) flush();
    }

    void fill(const Ink& ink, const Trace& trace) override {
        flush();
        setColour(colourOf(ink));
        follow(fillTracer(pen_), trace);
        canvas_.fill();
        pen_.parts = 0;
    }

    void text(const Ink& ink, const TextShape& shape, const Lines& lines,
              const Placement& by) override {
        flush();
        setColour(colourOf(ink));
        const double unit = shape.height / canvas_.capitals();  // of the plane for one of a font
        const Point2 x = by.vector(shape.widthFactor * unit * shape.along);
        const Point2 y =
            by.vector(-unit * (shape.up + std::tan(radians(shape.oblique)) * shape.along));
        // A canvas does not stand mappings that lose a dimension.
        if (!(std::fabs(cross(x, y)) > 1e-9 * norm(x) * norm(y))) return;
        const double width = shape.width ? *shape.width / (shape.widthFactor * unit) : 0;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].empty()) continue;
            const Point2 origin =
                by.point(shape.baseline - (static_cast<double>(i) * shape.advance) * shape.up);
            const std::string letters = lettersOf(lines[i]);
            canvas_.letters(letters.data(), letters.size(), {origin, x, y}, shape.anchor, width);
        }
    }

    bool block(const Block& block, const Placement& whole, const Ink& ink,
               const Surroundings& inner) override {
        const Box box = placed(block, whole);
        if (box.right - box.left < finest_ && box.top - box.bottom < finest_) {
            // All of it together is a dot.
            stroke(ink, 0, [&box](Tracer& tracer) {
                const Point2 dot{box.left, box.bottom};
                tracer.piece(Segment{dot, dot});
            });
            return ++shown_ <= mostShownInBlocks;
        }
        for (const VmDbObject* object : *block.contents) {
            if (++shown_ > mostShownInBlocks) return false;
            if (object != nullptr) paint(*object, whole, inner);
        }
        return true;
    }

  private:
    // Lines of one look are drawn together: a canvas takes longer to begin than to go on.
    static constexpr int mostAtOnce = 200;

    [[nodiscard]] Rgb colourOf(const Ink& ink) const noexcept {
        return ink.colour.value_or(scene_.plainColour());
    }

    void setColour(Rgb colour) {
        if (colour == colour_) return;
        colour_ = colour;
        canvas_.setColour(colour);
    }

    static void follow(Tracer tracer, const Trace& trace) {
        trace(tracer);
        tracer.finish();
    }

    void flush() {
        if (pen_.parts == 0) return;
        canvas_.stroke(thickness_);
        pen_.parts = 0;
    }

    void flushBand() {
        if (pen_.parts == 0) return;
        canvas_.strokeBand(thickness_);
        pen_.parts = 0;
    }

    Canvas& canvas_;
    double finest_;
    CanvasPen pen_{canvas_};
    std::optional<Rgb> colour_;
    double thickness_ = 0;  // mm, of the lines that are gathered
    int shown_ = 0;
};

bool append(void* to, const unsigned char* bytes, std::size_t count) noexcept {
    try {
        static_cast<std::string*>(to)->append(bytes, bytes + count);
        return true;
    } catch (...) {
        return false;
    }
}

// The module lies at a place that is fixed towards the program's.
std::string modulePath() {
    const std::filesystem::path program(platform::programPath());
    const auto path = (program.parent_path() / VLISP_PICTURES_MODULE).lexically_normal();
    return platform::toUtf8(path.u16string());
}

OpenCanvas* loadModule(std::string& error) {
    if (std::string_view(VLISP_PICTURES_MODULE).empty()) {
        error = "this build of vlisp draws SVG, neither PDF nor PNG";
        return nullptr;
    }
    std::string reason;
    const auto open = platform::functionOfModule(modulePath(), openCanvasName, reason);
    if (open == nullptr) error = "the part of vlisp that draws PDF and PNG is missing: " + reason;
    return reinterpret_cast<OpenCanvas*>(open);
}

std::unique_ptr<Canvas> canvasFor(const CanvasRequest& request, std::string& error) {
    OpenCanvas* const open = loadModule(error);
    if (open == nullptr) return nullptr;
    const char* reason = nullptr;
    std::unique_ptr<Canvas> canvas(open(request, reason));
    if (canvas == nullptr && reason == nullptr) throw std::bad_alloc();
    if (canvas == nullptr) error = reason;
    return canvas;
}

std::string pictureOn(CanvasRequest request, Scene& scene, const Page& page, double finest,
                      std::string& error) {
    std::string bytes;
    request.sink = {&bytes, append};
    const auto canvas = canvasFor(request, error);
    if (canvas == nullptr) return {};
    const bool dark = scene.options().dark;
    if (dark || request.kind == CanvasKind::png) {
        canvas->setColour(dark ? darkGround : white);
        canvas->fillSheet();
    }
    CanvasPainter(scene, page, *canvas, finest).run();
    const char* reason = nullptr;
    switch (canvas->finish(reason)) {
    case Drawn::whole: return bytes;
    case Drawn::outOfMemory: throw std::bad_alloc();
    case Drawn::failed: error = reason;
    }
    return {};
}

}  // namespace

std::string pdfOf(Scene& scene, const Page& page, std::string& error) {
    constexpr double finest = 0.02;  // mm
    const std::string title = platform::toUtf8(scene.options().title);
    CanvasRequest request;
    request.kind = CanvasKind::pdf;
    request.width = page.width * pointsInMm;
    request.height = page.height * pointsInMm;
    request.unitsInMm = pointsInMm;
    request.title = title.empty() ? nullptr : title.c_str();
    return pictureOn(request, scene, page, finest, error);
}

std::string pngOf(Scene& scene, const Page& page, std::string& error) {
    const Options& options = scene.options();
    const double inMm = options.pixels ? *options.pixels / std::max(page.width, page.height)
                                       : options.dpi / mmInInch;
    const double width = std::max(1.0, std::round(page.width * inMm));
    const double height = std::max(1.0, std::round(page.height * inMm));
    if (!(inMm > 0) || !(width <= mostPixels) || !(height <= mostPixels) ||
        !(width * height <= mostPixelsInAll)) {
        error = "a PNG has from 1 to " + std::to_string(mostPixels) +
                " pixels a side, and 64 million in all";
        return {};
    }
    CanvasRequest request;
    request.kind = CanvasKind::png;
    request.width = width;
    request.height = height;
    request.unitsInMm = inMm;
    return pictureOn(request, scene, page, 0.5 / inMm, error);
}

}  // namespace vlisp::refhost::plot
