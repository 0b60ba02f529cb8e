// The module that draws PDFs and PNGs. See canvas.h.
// One idea: a thin skin over the libraries, which keeps no thought about drawings.
// Tests: tests/plot/canvas_picture_posix_test.cpp.
#include "refhost/plot/canvas.h"

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>

#include <cairo-pdf.h>
#include <cairo.h>
#include <pango/pangocairo.h>

namespace vlisp::refhost::plot {
namespace {

template <class Thing, void (*release)(Thing*)> struct Release {
    void operator()(Thing* thing) const noexcept { release(thing); }
};
using Surface = std::unique_ptr<cairo_surface_t, Release<cairo_surface_t, cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, Release<cairo_t, cairo_destroy>>;
using FontOptions = std::unique_ptr<cairo_font_options_t,
                                    Release<cairo_font_options_t, cairo_font_options_destroy>>;
using Font = std::unique_ptr<PangoFontDescription,
                             Release<PangoFontDescription, pango_font_description_free>>;
struct Unreference {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
template <class Object> using Shared = std::unique_ptr<Object, Unreference>;

cairo_status_t append(void* to, const unsigned char* bytes, unsigned count) noexcept {
    const auto* const sink = static_cast<const ByteSink*>(to);
    return sink->append(sink->self, bytes, count) ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_NO_MEMORY;
}

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

    [[nodiscard]] double capitals() const noexcept { return capitals_; }

    void draw(const char* text, std::size_t bytes, double anchor, double width) {
        pango_layout_set_text(layout_.get(), text, static_cast<int>(bytes));
        PangoRectangle whole;
        pango_layout_get_extents(layout_.get(), nullptr, &whole);
        const double natural = pango_units_to_double(whole.width);
        const double baseline = pango_units_to_double(pango_layout_get_baseline(layout_.get()));
        if (width > 0 && natural > 0) cairo_scale(canvas_, width / natural, 1);
        cairo_move_to(canvas_, -anchor * natural, -baseline);
        pango_cairo_show_layout(canvas_, layout_.get());
        cairo_new_path(canvas_);
    }

  private:
    static constexpr double size = 32;

    cairo_t* canvas_;
    Shared<PangoContext> context_;
    Shared<PangoLayout> layout_;
    double capitals_ = 0;
};

Surface surfaceFor(const CanvasRequest& request, ByteSink& sink) {
    if (request.kind == CanvasKind::png)
        return Surface(cairo_image_surface_create(
            CAIRO_FORMAT_RGB24, static_cast<int>(request.width), static_cast<int>(request.height)));
    return Surface(
        cairo_pdf_surface_create_for_stream(append, &sink, request.width, request.height));
}

class CairoCanvas final : public Canvas {
  public:
    explicit CairoCanvas(const CanvasRequest& request)
        : kind_(request.kind), sink_(request.sink), surface_(surfaceFor(request, sink_)) {
        if (failure() != nullptr) return;
        if (kind_ == CanvasKind::pdf && request.title != nullptr)
            cairo_pdf_surface_set_metadata(surface_.get(), CAIRO_PDF_METADATA_TITLE, request.title);
        context_.reset(cairo_create(surface_.get()));
        cairo_scale(context_.get(), request.unitsInMm, request.unitsInMm);
        cairo_set_fill_rule(context_.get(), CAIRO_FILL_RULE_EVEN_ODD);
        setEnds(CAIRO_LINE_CAP_ROUND, CAIRO_LINE_JOIN_ROUND);
    }

    /// Why there is no canvas; null when there is one.
    [[nodiscard]] const char* failure() const noexcept {
        const cairo_status_t status = cairo_surface_status(surface_.get());
        return status == CAIRO_STATUS_SUCCESS ? nullptr : cairo_status_to_string(status);
    }

    void setColour(Rgb colour) noexcept override {
        const auto part = [colour](int shift) { return (colour >> shift & 0xFF) / 255.0; };
        cairo_set_source_rgb(context_.get(), part(16), part(8), part(0));
    }
    void fillSheet() noexcept override { cairo_paint(context_.get()); }
    void clip(const Box& box) noexcept override {
        cairo_rectangle(context_.get(), box.left, box.bottom, box.right - box.left,
                        box.top - box.bottom);
        cairo_clip(context_.get());
    }

    void moveTo(Point2 p) noexcept override { cairo_move_to(context_.get(), p.x, p.y); }
    void lineTo(Point2 p) noexcept override { cairo_line_to(context_.get(), p.x, p.y); }
    void cubicTo(Point2 first, Point2 second, Point2 to) noexcept override {
        cairo_curve_to(context_.get(), first.x, first.y, second.x, second.y, to.x, to.y);
    }
    void close() noexcept override { cairo_close_path(context_.get()); }

    void stroke(double width) noexcept override {
        cairo_set_line_width(context_.get(), width);
        cairo_stroke(context_.get());
    }
    void strokeBand(double width) noexcept override {
        setEnds(CAIRO_LINE_CAP_BUTT, CAIRO_LINE_JOIN_MITER);
        stroke(width);
        setEnds(CAIRO_LINE_CAP_ROUND, CAIRO_LINE_JOIN_ROUND);
    }
    void fill() noexcept override { cairo_fill(context_.get()); }

    [[nodiscard]] double capitals() noexcept override { return ownLetters().capitals(); }
    void letters(const char* text, std::size_t bytes, const LetterPlane& plane, double anchor,
                 double width) noexcept override {
        const cairo_matrix_t matrix{plane.x.x, plane.x.y,      plane.y.x,
                                    plane.y.y, plane.origin.x, plane.origin.y};
        cairo_save(context_.get());
        cairo_transform(context_.get(), &matrix);
        ownLetters().draw(text, bytes, anchor, width);
        cairo_restore(context_.get());
    }

    [[nodiscard]] Drawn finish(const char*& reason) noexcept override {
        cairo_surface_flush(surface_.get());
        // A context keeps its first error to itself and does nothing more.
        if (cairo_status(context_.get()) == CAIRO_STATUS_NO_MEMORY) return Drawn::outOfMemory;
        if (kind_ == CanvasKind::pdf) cairo_surface_finish(surface_.get());
        reason = failure();
        if (reason == nullptr && kind_ == CanvasKind::png) {
            const cairo_status_t status =
                cairo_surface_write_to_png_stream(surface_.get(), append, &sink_);
            if (status != CAIRO_STATUS_SUCCESS) reason = cairo_status_to_string(status);
        }
        return reason == nullptr ? Drawn::whole : Drawn::failed;
    }

  private:
    void setEnds(cairo_line_cap_t cap, cairo_line_join_t join) noexcept {
        cairo_set_line_cap(context_.get(), cap);
        cairo_set_line_join(context_.get(), join);
    }

    // Fonts are looked up when the first text comes.
    Letters& ownLetters() {
        if (!letters_) letters_.emplace(context_.get());
        return *letters_;
    }

    CanvasKind kind_;
    ByteSink sink_;
    Surface surface_;
    Context context_;
    std::optional<Letters> letters_;
};

}  // namespace

extern "C" Canvas* vlispOpenCanvas1(const CanvasRequest& request, const char*& reason) noexcept {
    reason = nullptr;
    std::unique_ptr<CairoCanvas> canvas(new (std::nothrow) CairoCanvas(request));
    if (canvas == nullptr) return nullptr;
    reason = canvas->failure();
    return reason == nullptr ? canvas.release() : nullptr;
}
// As the header has it.
static_assert(std::is_same_v<decltype(&vlispOpenCanvas1), OpenCanvas*>);

}  // namespace vlisp::refhost::plot
