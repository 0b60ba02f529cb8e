// A picture of a drawing as PDF or PNG. See cairo_picture.h.
// One idea: both are one painter on two surfaces; blocks are drawn object by object, in bounds.
// Tests: tests/plot/cairo_picture_test.cpp.
#include "refhost/plot/cairo_picture.h"

#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

#include <cairo-pdf.h>
#include <cairo.h>
#include <pango/pangocairo.h>

namespace vlisp::refhost::plot {

using namespace pieces;

namespace {

constexpr double pointsInMm = 72 / 25.4;
constexpr double mmInInch = 25.4;

template <class Thing, void (*release)(Thing*)> struct Release {
    void operator()(Thing* thing) const noexcept { release(thing); }
};
using Surface = std::unique_ptr<cairo_surface_t, Release<cairo_surface_t, cairo_surface_destroy>>;
using Canvas = std::unique_ptr<cairo_t, Release<cairo_t, cairo_destroy>>;
using FontOptions = std::unique_ptr<cairo_font_options_t,
                                    Release<cairo_font_options_t, cairo_font_options_destroy>>;
using Font = std::unique_ptr<PangoFontDescription,
                             Release<PangoFontDescription, pango_font_description_free>>;
struct Unreference {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
template <class Object> using Shared = std::unique_ptr<Object, Unreference>;

cairo_status_t append(void* to, const unsigned char* bytes, unsigned count) noexcept {
    try {
        static_cast<std::string*>(to)->append(bytes, bytes + count);
        return CAIRO_STATUS_SUCCESS;
    } catch (...) {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

void setSource(cairo_t* canvas, Rgb colour) noexcept {
    const auto part = [colour](int shift) { return (colour >> shift & 0xFF) / 255.0; };
    cairo_set_source_rgb(canvas, part(16), part(8), part(0));
}

class CairoPen final : public Pen {
  public:
    explicit CairoPen(cairo_t* canvas) : canvas_(canvas) {}
    void moveTo(Point2 p) override { cairo_move_to(canvas_, p.x, p.y); }
    void lineTo(Point2 p) override {
        cairo_line_to(canvas_, p.x, p.y);
        ++parts;
    }
    void arcTo(const Curve& curve) override {
        forEachCubic(curve,
                     [this](const Cubic& cubic) { cubicTo(cubic.first, cubic.second, cubic.to); });
    }
    void cubicTo(Point2 first, Point2 second, Point2 to) override {
        cairo_curve_to(canvas_, first.x, first.y, second.x, second.y, to.x, to.y);
        ++parts;
    }
    void close() override { cairo_close_path(canvas_); }

    int parts = 0;  ///< of the path, since it was last drawn

  private:
    cairo_t* canvas_;
};

// Measures and draws letters. Their size is fixed and the canvas scaled, so that fonts are looked
// up once.
class Letters {
  public:
    explicit Letters(cairo_t* canvas) : canvas_(canvas) {
        const Shared<PangoFontMap> fonts(pango_cairo_font_map_new());
        context_.reset(pango_font_map_create_context(fonts.get()));
        // Letters keep their places at every scale.
        const FontOptions options(cairo_font_options_create());
        cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
        cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
        pango_cairo_context_set_font_options(context_.get(), options.get());
        pango_context_set_round_glyph_positions(context_.get(), FALSE);
        layout_.reset(pango_layout_new(context_.get()));
        const Font font(pango_font_description_from_string("sans-serif"));
        pango_font_description_set_absolute_size(font.get(), size * PANGO_SCALE);
        pango_layout_set_font_description(layout_.get(), font.get());
        pango_layout_set_single_paragraph_mode(layout_.get(), TRUE);
        pango_layout_set_text(layout_.get(), "H", 1);
        PangoRectangle ink;
        pango_layout_get_extents(layout_.get(), &ink, nullptr);
        capitals_ = ink.height > 0 ? pango_units_to_double(ink.height) : 0.72 * size;
    }

    /// How high capitals are in the fixed size.
    [[nodiscard]] double capitals() const noexcept { return capitals_; }

    /// Draws one line with its baseline at the canvas's origin. `anchor` of its width is to the
    /// left of that; with a `width`, the line is stretched to it.
    void draw(std::u16string_view line, double anchor, std::optional<double> width) {
        const std::string bytes = platform::toUtf8(withoutControls(line));
        pango_layout_set_text(layout_.get(), bytes.data(), static_cast<int>(bytes.size()));
        PangoRectangle whole;
        pango_layout_get_extents(layout_.get(), nullptr, &whole);
        const double natural = pango_units_to_double(whole.width);
        const double baseline = pango_units_to_double(pango_layout_get_baseline(layout_.get()));
        if (width && *width > 0 && natural > 0) cairo_scale(canvas_, *width / natural, 1);
        cairo_move_to(canvas_, -anchor * natural, -baseline);
        pango_cairo_show_layout(canvas_, layout_.get());
        cairo_new_path(canvas_);
    }

  private:
    static constexpr double size = 32;

    static std::u16string withoutControls(std::u16string_view line) {
        std::u16string kept;
        for (const char16_t unit : line.substr(0, longest))
            if (unit >= 0x20 || unit == u'\t') kept += unit;
        return kept;
    }
    static constexpr std::size_t longest = 100'000;

    cairo_t* canvas_;
    Shared<PangoContext> context_;
    Shared<PangoLayout> layout_;
    double capitals_ = 0;
};

class CairoPainter final : public Painter {
  public:
    /// The canvas's unit is a millimetre of paper; `finest` is the smallest thing to be seen on it.
    CairoPainter(Scene& scene, const Page& page, cairo_t* canvas, double finest)
        : Painter(scene, page), canvas_(canvas), finest_(finest) {}

    void run() {
        cairo_set_line_cap(canvas_, CAIRO_LINE_CAP_ROUND);
        cairo_set_line_join(canvas_, CAIRO_LINE_JOIN_ROUND);
        cairo_set_fill_rule(canvas_, CAIRO_FILL_RULE_EVEN_ODD);
        if (page_.clip) {
            cairo_rectangle(canvas_, page_.clip->left, page_.clip->bottom,
                            page_.clip->right - page_.clip->left,
                            page_.clip->top - page_.clip->bottom);
            cairo_clip(canvas_);
        }
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
        if (width > 0) {
            cairo_set_line_cap(canvas_, CAIRO_LINE_CAP_BUTT);
            cairo_set_line_join(canvas_, CAIRO_LINE_JOIN_MITER);
        }
        follow(lineTracer(pen_, width), trace);
        if (width > 0) {
            flush();
            cairo_set_line_cap(canvas_, CAIRO_LINE_CAP_ROUND);
            cairo_set_line_join(canvas_, CAIRO_LINE_JOIN_ROUND);
        }
        if (pen_.parts >= mostAtOnce) flush();
    }

    void fill(const Ink& ink, const Trace& trace) override {
        flush();
        setColour(colourOf(ink));
        follow(fillTracer(pen_), trace);
        cairo_fill(canvas_);
        pen_.parts = 0;
    }

    void text(const Ink& ink, const TextShape& shape, const Lines& lines,
              const Placement& by) override {
        if (!letters_) letters_.emplace(canvas_);
        flush();
        setColour(colourOf(ink));
        const double unit = shape.height / letters_->capitals();  // of the plane for one of a font
        const Point2 x = by.vector(shape.widthFactor * unit * shape.along);
        const Point2 y =
            by.vector(-unit * (shape.up + std::tan(radians(shape.oblique)) * shape.along));
        // A canvas does not stand mappings that lose a dimension.
        if (!(std::fabs(cross(x, y)) > 1e-9 * norm(x) * norm(y))) return;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].empty()) continue;
            const Point2 origin =
                by.point(shape.baseline - (static_cast<double>(i) * shape.advance) * shape.up);
            const cairo_matrix_t matrix{x.x, x.y, y.x, y.y, origin.x, origin.y};
            cairo_save(canvas_);
            cairo_transform(canvas_, &matrix);
            std::optional<double> width;
            if (shape.width) width = *shape.width / (shape.widthFactor * unit);
            letters_->draw(lines[i], shape.anchor, width);
            cairo_restore(canvas_);
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
        setSource(canvas_, colour);
    }

    static void follow(Tracer tracer, const Trace& trace) {
        trace(tracer);
        tracer.finish();
    }

    void flush() {
        if (pen_.parts == 0) return;
        cairo_set_line_width(canvas_, thickness_);
        cairo_stroke(canvas_);
        pen_.parts = 0;
    }

    cairo_t* canvas_;
    double finest_;
    CairoPen pen_{canvas_};
    std::optional<Letters> letters_;
    std::optional<Rgb> colour_;
    double thickness_ = 0;  // mm, of the lines that are gathered
    int shown_ = 0;
};

void paintOn(cairo_surface_t* surface, Scene& scene, const Page& page, double unitsInMm,
             double finest) {
    const Canvas canvas(cairo_create(surface));
    const Options& options = scene.options();
    if (options.dark || options.kind == Kind::png) {
        const Rgb ground = options.dark ? darkGround : white;
        setSource(canvas.get(), ground);
        cairo_paint(canvas.get());
    }
    cairo_scale(canvas.get(), unitsInMm, unitsInMm);
    CairoPainter(scene, page, canvas.get(), finest).run();
    cairo_surface_flush(surface);
    // A canvas keeps its first error to itself and does nothing more.
    if (cairo_status(canvas.get()) == CAIRO_STATUS_NO_MEMORY) throw std::bad_alloc();
}

bool succeeded(cairo_surface_t* surface, std::string& error) {
    const cairo_status_t status = cairo_surface_status(surface);
    if (status != CAIRO_STATUS_SUCCESS) error = cairo_status_to_string(status);
    return status == CAIRO_STATUS_SUCCESS;
}

}  // namespace

std::string pdfOf(Scene& scene, const Page& page, std::string& error) {
    constexpr double finest = 0.02;  // mm
    std::string bytes;
    const Surface surface(cairo_pdf_surface_create_for_stream(
        append, &bytes, page.width * pointsInMm, page.height * pointsInMm));
    if (!succeeded(surface.get(), error)) return {};
    const std::string title = platform::toUtf8(scene.options().title);
    if (!title.empty())
        cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_TITLE, title.c_str());
    paintOn(surface.get(), scene, page, pointsInMm, finest);
    cairo_surface_finish(surface.get());
    if (!succeeded(surface.get(), error)) return {};
    return bytes;
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
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                                     static_cast<int>(height)));
    if (!succeeded(surface.get(), error)) return {};
    paintOn(surface.get(), scene, page, inMm, 0.5 / inMm);
    if (!succeeded(surface.get(), error)) return {};
    std::string bytes;
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface.get(), append, &bytes);
    if (status == CAIRO_STATUS_SUCCESS) return bytes;
    error = cairo_status_to_string(status);
    return {};
}

}  // namespace vlisp::refhost::plot
