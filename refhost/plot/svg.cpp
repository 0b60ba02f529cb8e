// A picture of a drawing as SVG. See svg.h.
// One idea: a block is written once for each stretch that it is shown in, and turned and moved
// where it is used. So all numbers are millimetres, line weights are never scaled, and the file is
// as large as the drawing, not as what it shows.
// Tests: tests/plot/svg_test.cpp.
#include "refhost/plot/svg.h"

#include "platform/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <tuple>

namespace vlisp::refhost::plot {

using namespace pieces;

namespace {

constexpr double decimals = 1000;  // three of them
// The height of capitals in the fonts of screens, of their size.
constexpr double capitals = 0.72;
// A block that is larger than so many sheets is written where it is used, as far as it is seen.
constexpr double mostSheets = 8;
// After so many ways to show a block, similar stretches share one.
constexpr int mostForms = 64;
constexpr double reachOfBlocks = 100'000;  // mm

void appendFixed(std::string& to, double number, int places) {
    std::array<char, 64> digits{};
    if (!(std::fabs(number) < 1e15)) number = 0;
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                            std::chars_format::fixed, places);
    const char* last = error == std::errc() ? end : digits.data();
    if (places > 0) {
        while (last > digits.data() && last[-1] == '0') --last;
        if (last > digits.data() && last[-1] == '.') --last;
    }
    const std::string_view text(digits.data(), static_cast<std::size_t>(last - digits.data()));
    to += text.empty() || text == "-0" ? "0" : text;
}

void appendPoint(std::string& to, Point2 p) {
    appendNumber(to, p.x);
    to += ' ';
    appendNumber(to, p.y);
}

void appendAttribute(std::string& to, std::string_view name, double value) {
    to += ' ';
    to += name;
    to += "=\"";
    appendNumber(to, value);
    to += '"';
}

// Ratios: digits enough to keep thousandths of a millimetre over a metre.
void appendMatrix(std::string& to, Point2 u, Point2 v, Point2 origin) {
    to += " transform=\"matrix(";
    for (const double ratio : {u.x, u.y, v.x, v.y}) {
        appendFixed(to, ratio, 6);
        to += ' ';
    }
    appendPoint(to, origin);
    to += ")\"";
}

std::int64_t stepsOf(double number) noexcept {
    return std::fabs(number) < 1e15 ? std::llround(number * decimals) : 0;
}

// Writes the data of a path. Points that round to the same are one.
class PathData final : public Pen {
  public:
    explicit PathData(std::string& to) : to_(to) {}

    void moveTo(Point2 p) override {
        finish();
        start_ = p;
        take(p);
        letter_ = '\0';
    }
    void lineTo(Point2 p) override {
        if (isHere(p)) {
            isDot_ = !letter_;
            return;
        }
        write('L', p);
    }
    void arcTo(const Curve& curve) override {
        constexpr double mostAtOnce = 1.5 * pi;
        const Point2 to = curve.backwards ? curve.from : curve.to;
        const bool isWhole = curve.sweep > mostAtOnce;
        if (isHere(to) && !isWhole) {
            isDot_ = !letter_;
            return;
        }
        const Axes axes = axesOf(curve);
        if (!(axes.second * decimals >= 1)) {
            chords(curve);
            return;
        }
        if (!isWhole) {
            arc(axes, curve.sweep > pi, to);
            return;
        }
        const Point2 middle = at(curve, curve.start + curve.sweep / 2);
        arc(axes, curve.sweep / 2 > pi, middle);
        arc(axes, curve.sweep / 2 > pi, to);
    }
    void cubicTo(Point2 first, Point2 second, Point2 to) override {
        begin('C');
        appendPoint(to_, first);
        to_ += ' ';
        appendPoint(to_, second);
        to_ += ' ';
        appendPoint(to_, to);
        take(to);
    }
    void close() override {
        if (!letter_) isDot_ = true;
        else to_ += 'Z';
        if (letter_) letter_ = 'Z';
    }
    /// After the last.
    void finish() {
        if (isDot_ && !letter_) {
            to_ += 'M';
            appendPoint(to_, start_);
            to_ += "h0";
        }
        isDot_ = false;
        letter_ = 'Z';
    }

  private:
    struct Axes {
        double first;
        double second;
        double turn;  // degrees
        bool sweepsRight;
    };

    // The half axes of an ellipse of two conjugate half diameters, by the sum of a turning and a
    // mirrored turning that every linear mapping is.
    static Axes axesOf(const Curve& curve) noexcept {
        const bool right = (cross(curve.u, curve.v) > 0) != curve.backwards;
        if (isCircular(curve)) return {norm(curve.u), norm(curve.u), 0, right};
        const Point2 turning{(curve.u.x + curve.v.y) / 2, (curve.u.y - curve.v.x) / 2};
        const Point2 mirrored{(curve.u.x - curve.v.y) / 2, (curve.u.y + curve.v.x) / 2};
        const double a = norm(turning);
        const double b = norm(mirrored);
        const double turn =
            (std::atan2(turning.y, turning.x) + std::atan2(mirrored.y, mirrored.x)) / 2;
        return {a + b, std::fabs(a - b), degrees(turn), right};
    }

    void arc(const Axes& axes, bool isLarge, Point2 to) {
        begin('A');
        appendNumber(to_, axes.first);
        to_ += ' ';
        appendNumber(to_, axes.second);
        to_ += ' ';
        appendNumber(to_, axes.turn);
        to_ += isLarge ? " 1 " : " 0 ";
        to_ += axes.sweepsRight ? "1 " : "0 ";
        appendPoint(to_, to);
        take(to);
    }

    // Of an ellipse as thin as a line, which readers take for a straight line from end to end.
    void chords(const Curve& curve) {
        constexpr int count = 32;
        for (int i = 1; i < count; ++i) {
            const double part = static_cast<double>(curve.backwards ? count - i : i) / count;
            lineTo(at(curve, curve.start + part * curve.sweep));
        }
        lineTo(curve.backwards ? curve.from : curve.to);
    }

    void write(char letter, Point2 p) {
        begin(letter);
        appendPoint(to_, p);
        take(p);
    }

    // The letter may be left away when it is the one before.
    void begin(char letter) {
        if (!letter_ || letter_ == 'Z') {
            to_ += 'M';
            appendPoint(to_, letter_ ? here_ : start_);
        }
        if (letter_ == letter) to_ += ' ';
        else to_ += letter;
        letter_ = letter;
    }

    void take(Point2 p) noexcept {
        here_ = p;
        x_ = stepsOf(p.x);
        y_ = stepsOf(p.y);
    }

    [[nodiscard]] bool isHere(Point2 p) const noexcept {
        return stepsOf(p.x) == x_ && stepsOf(p.y) == y_;
    }

    std::string& to_;
    char letter_ = 'Z';  // of what was written last; none after a move
    bool isDot_ = false;
    Point2 start_;
    Point2 here_;
    std::int64_t x_ = 0;
    std::int64_t y_ = 0;
};

// A linear mapping as a stretching, symmetric and not negative, and after it a turning or
// mirroring.
struct Stretch {
    double xx = 0;
    double xy = 0;
    double yy = 0;
    Point2 u;  // what turns or mirrors
    Point2 v;
};

Stretch stretchOf(Point2 u, Point2 v) noexcept {
    const bool isMirrored = cross(u, v) < 0;
    Point2 e = isMirrored ? Point2{u.x - v.y, u.y + v.x} : Point2{u.x + v.y, u.y - v.x};
    const double size = norm(e);
    e = size > 0 ? (1 / size) * e : Point2{1, 0};
    Stretch stretch;
    stretch.u = e;
    stretch.v = isMirrored ? Point2{e.y, -e.x} : leftOf(e);
    stretch.xx = dot(stretch.u, u);
    stretch.xy = dot(stretch.u, v);
    stretch.yy = dot(stretch.v, v);
    return stretch;
}

class SvgPainter final : public Painter {
  public:
    SvgPainter(Scene& scene, const Page& page) : Painter(scene, page) {}

    std::string run() {
        head();
        for (const auto& [layer, slots] : layers()) paintLayer(*layer, slots);
        out_ += "</g>\n";
        if (!definitions_.empty()) out_ += "<defs>\n" + definitions_ + "</defs>\n";
        out_ += "</svg>\n";
        return std::move(out_);
    }

  protected:
    void stroke(const Ink& ink, double width, const Trace& trace) override {
        data_.clear();
        PathData pen(data_);
        Tracer tracer = lineTracer(pen, width);
        trace(tracer);
        tracer.finish();
        pen.finish();
        if (data_.empty()) return;
        begin("path", ink);
        if (width > 0) {
            appendAttribute(*to_, "stroke-width", width);
            *to_ += " stroke-linecap=\"butt\" stroke-linejoin=\"miter\"";
        } else if (ink.weight != defaultWeight) {
            appendAttribute(*to_, "stroke-width", ink.weight);
        }
        *to_ += " d=\"" + data_ + "\"/>";
    }

    void fill(const Ink& ink, const Trace& trace) override {
        data_.clear();
        PathData pen(data_);
        Tracer tracer = fillTracer(pen);
        trace(tracer);
        tracer.finish();
        pen.finish();
        if (data_.empty()) return;
        begin("path", ink);
        *to_ +=
            " fill=\"currentColor\" fill-rule=\"evenodd\" stroke=\"none\" d=\"" + data_ + "\"/>";
    }

    void text(const Ink& ink, const TextShape& shape, const Lines& lines,
              const Placement& by) override {
        const double size = norm(by.vector(shape.up));  // mm for a unit of height
        const Point2 x = (shape.widthFactor / size) * by.vector(shape.along);
        const Point2 y =
            (-1 / size) * by.vector(shape.up + std::tan(radians(shape.oblique)) * shape.along);
        const Point2 origin = by.point(shape.baseline);
        const bool isPlain = std::fabs(x.x - 1) < 5e-7 && std::fabs(x.y) < 5e-7 &&
                             std::fabs(y.x) < 5e-7 && std::fabs(y.y - 1) < 5e-7;
        const Point2 first = isPlain ? origin : Point2();
        begin("text", ink);
        if (isPlain) {
            appendAttribute(*to_, "x", origin.x);
            appendAttribute(*to_, "y", origin.y);
        } else {
            appendMatrix(*to_, x, y, origin);
        }
        *to_ += " font-size=\"";
        // Small letters are transformed to large ones nowhere: four digits are enough.
        appendFixed(*to_, shape.height * size / capitals, 4);
        *to_ += "\" fill=\"currentColor\" stroke=\"none\"";
        if (shape.anchor > 0)
            *to_ += shape.anchor < 1 ? " text-anchor=\"middle\"" : " text-anchor=\"end\"";
        if (shape.width) {
            appendAttribute(*to_, "textLength", *shape.width * size / shape.widthFactor);
            *to_ += " lengthAdjust=\"spacingAndGlyphs\"";
        }
        if (std::ranges::any_of(lines, keepsBlanks)) *to_ += " xml:space=\"preserve\"";
        *to_ += '>';
        if (lines.size() == 1) *to_ += xmlOf(lines[0]);
        else
            for (std::size_t i = 0; i < lines.size(); ++i) {
                if (lines[i].empty()) continue;
                *to_ += "<tspan";
                appendAttribute(*to_, "x", first.x);
                appendAttribute(*to_, "y", first.y + static_cast<double>(i) * shape.advance * size);
                *to_ += '>' + xmlOf(lines[i]) + "</tspan>";
            }
        *to_ += "</text>";
    }

    bool block(const Block& block, const Placement& whole, const Ink& ink,
               const Surroundings& inner) override {
        const Box box = placed(block, whole);
        const double most = mostSheets * std::max(page_.width, page_.height);
        if (isWrittenHere_ && std::max(box.right - box.left, box.top - box.bottom) > most) {
            shown_ += block.objects;
            if (shown_ > mostShownInBlocks) return false;
            paintContents(block, whole, inner);
            return true;
        }
        if (++shown_ > mostShownInBlocks) return false;

        // In a definition y runs downwards as well, lest letters stand on their heads in it.
        const Point2 middle{(block.box.left + block.box.right) / 2,
                            (block.box.bottom + block.box.top) / 2};
        const Point2 u{whole.u.x, -whole.u.y};
        const Point2 v{whole.v.x, -whole.v.y};
        Stretch stretch = stretchOf(u, v);
        double rest = 1;
        const int form = formOf(block, stretch, inner, rest);
        begin("use", ink);
        *to_ += " href=\"#b" + std::to_string(form) + '"';
        if (rest != 1) appendAttribute(*to_, "stroke-width", defaultWeight / rest);
        const Point2 place = whole.point(middle);
        const Point2 ux{stretch.u.x, -stretch.u.y};
        const Point2 uy{-stretch.v.x, stretch.v.y};
        if (std::fabs(ux.x - 1) < 5e-7 && std::fabs(ux.y) < 5e-7 && std::fabs(uy.x) < 5e-7 &&
            std::fabs(uy.y - 1) < 5e-7) {
            appendAttribute(*to_, "x", place.x);
            appendAttribute(*to_, "y", place.y);
        } else {
            appendMatrix(*to_, ux, uy, place);
        }
        *to_ += "/>";
        return true;
    }

  private:
    using Layers = std::vector<std::pair<const LayerLook*, std::vector<int>>>;
    // A block, the colour of layer "0" in it, and the stretch with six digits.
    using Key = std::tuple<const Block*, Rgb, double, double, double>;
    static bool keepsBlanks(const std::u16string& line) {
        return line.starts_with(u' ') || line.ends_with(u' ') ||
               line.find(u"  ") != std::u16string::npos || line.find(u'\t') != std::u16string::npos;
    }

    Layers layers() {
        Layers all;
        std::unordered_map<const LayerLook*, std::size_t> places;
        const Drawing& drawing = scene_.drawing();
        for (int slot = 0; slot < drawing.slotCount(); ++slot) {
            const auto object = drawing.at(slot);
            if (object == nullptr || !scene_.shows(*object, {})) continue;
            const LayerLook& layer = scene_.layerOf(*object, {});
            const auto [place, isNew] = places.try_emplace(&layer, all.size());
            if (isNew) all.push_back({&layer, {}});
            all[place->second].second.push_back(slot);
        }
        return all;
    }

    void head() {
        const Options& options = scene_.options();
        out_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"";
        appendNumber(out_, page_.width);
        out_ += "mm\" height=\"";
        appendNumber(out_, page_.height);
        out_ += "mm\" viewBox=\"0 0 ";
        appendPoint(out_, {page_.width, page_.height});
        out_ += "\" data-scale=\"" + general(page_.scale) + "\" data-origin=\"" +
                general(-page_.placement.origin.x / page_.scale) + ' ' +
                general((page_.placement.origin.y - page_.height) / page_.scale) + "\">\n<title>" +
                xmlOf(options.title) + "</title>\n";
        out_ += "<rect width=\"100%\" height=\"100%\" fill=\"" +
                hexOf(options.dark ? darkGround : white) + "\"/>\n";
        if (page_.clip) {
            out_ += "<clipPath id=\"window\"><rect";
            appendAttribute(out_, "x", page_.clip->left);
            appendAttribute(out_, "y", page_.clip->bottom);
            appendAttribute(out_, "width", std::max(0.0, page_.clip->right - page_.clip->left));
            appendAttribute(out_, "height", std::max(0.0, page_.clip->top - page_.clip->bottom));
            out_ += "/></clipPath>\n";
        }
        current_ = scene_.plainColour();
        out_ += "<g id=\"drawing\" color=\"" + hexOf(*current_) +
                "\" fill=\"none\" stroke=\"currentColor\"";
        appendAttribute(out_, "stroke-width", defaultWeight);
        out_ += " stroke-linecap=\"round\" stroke-linejoin=\"round\" font-family=\"sans-serif\"";
        if (page_.clip) out_ += " clip-path=\"url(#window)\"";
        out_ += ">\n";
    }

    // All digits that make a difference: pages compute with it.
    static std::string general(double number) {
        std::array<char, 40> digits{};
        if (!std::isfinite(number)) number = 0;
        const auto [end, error] =
            std::to_chars(digits.data(), digits.data() + digits.size(), number + 0.0);
        return error == std::errc() ? std::string(digits.data(), end) : "0";
    }

    void paintLayer(const LayerLook& layer, const std::vector<int>& slots) {
        const std::size_t begin = out_.size();
        const std::optional<Rgb> around = current_;
        out_ += "<g class=\"layer\" id=\"layer-" + std::to_string(layerCount_ + 1) +
                "\" data-layer=\"" + xmlOf(layer.name) + '"';
        if (layer.colour != current_) out_ += " color=\"" + hexOf(layer.colour) + '"';
        out_ += ">\n";
        current_ = layer.colour;
        bool any = false;
        for (const int slot : slots) {
            const auto object = scene_.drawing().at(slot);
            if (object != nullptr) any |= paintObject(*object);
        }
        current_ = around;
        if (any) {
            out_ += "</g>\n";
            ++layerCount_;
        } else {
            out_.resize(begin);
        }
    }

    bool paintObject(const VmDbObject& object) {
        body_.clear();
        to_ = &body_;
        elements_ = 0;
        paint(object, page_.placement, {});
        if (elements_ == 0) return false;
        std::array<char, 16> handle{};
        const auto [end, error] = std::to_chars(handle.data(), handle.data() + handle.size(),
                                                static_cast<std::uint32_t>(object.id), 16);
        std::string who = " data-handle=\"";
        for (const char* digit = handle.data(); digit != end; ++digit)
            who += *digit >= 'a' ? static_cast<char>(*digit - 'a' + 'A') : *digit;
        who += "\" data-type=\"" + xmlOf(kindNameOf(object)) + '"';
        if (elements_ == 1) {
            out_.append(body_, 0, tagEnd_);
            out_ += who;
            out_.append(body_, tagEnd_);
        } else {
            out_ += "<g" + who + '>' + body_ + "</g>";
        }
        out_ += '\n';
        return true;
    }

    void begin(std::string_view tag, const Ink& ink) {
        *to_ += '<';
        *to_ += tag;
        if (elements_++ == 0) tagEnd_ = to_->size();
        if (ink.colour && ink.colour != current_) *to_ += " color=\"" + hexOf(*ink.colour) + '"';
    }

    // The definition of a block in this stretch. When there are too many, it is one of a similar
    // size; `stretch` then turns and scales it, by `rest` in the middle.
    int formOf(const Block& block, Stretch& stretch, const Surroundings& inner, double& rest) {
        constexpr double digits = 1e6;
        const double size = std::max(std::fabs(stretch.xx), std::fabs(stretch.yy));
        const double unit = size > 0 ? std::pow(10, std::floor(std::log10(size))) / digits : 1;
        const auto rounded = [unit](double value) { return std::round(value / unit) * unit + 0.0; };
        const Rgb layerColour = block.usesLayer ? inner.layer->colour : black;
        Key key{&block, layerColour, rounded(stretch.xx), rounded(stretch.xy), rounded(stretch.yy)};
        const auto known = forms_.find(key);
        if (known != forms_.end()) return known->second;
        if (formCounts_[&block] >= mostForms) {
            const double mean =
                std::sqrt(std::fabs(stretch.xx * stretch.yy - stretch.xy * stretch.xy));
            const double near =
                std::exp2(std::round(std::log2(std::clamp(mean > 0 ? mean : size, 1e-9, 1e9))));
            rest = std::clamp(mean / near, 1e-3, 1e3);
            // What turns comes after what stretches.
            const Point2 u = (1 / near) * (stretch.xx * stretch.u + stretch.xy * stretch.v);
            const Point2 v = (1 / near) * (stretch.xy * stretch.u + stretch.yy * stretch.v);
            stretch = {near, 0, near, u, v};
            key = {&block, layerColour, near, 0, near};
            const auto similar = forms_.find(key);
            if (similar != forms_.end()) return similar->second;
        }
        ++formCounts_[&block];
        const int form = define(block, stretch, inner);
        forms_.emplace(key, form);
        return form;
    }

    int define(const Block& block, const Stretch& stretch, const Surroundings& inner) {
        // What is being written is put aside. Contents in the colour of the insert have none.
        std::string text;
        std::string* const to = std::exchange(to_, &text);
        const auto current = current_;
        if (!scene_.options().mono) current_.reset();
        const std::size_t elements = std::exchange(elements_, 1);
        const bool isWrittenHere = std::exchange(isWrittenHere_, false);
        const Box cull = std::exchange(cull_, everywhere);
        const Box limit = std::exchange(
            limit_, Box{-reachOfBlocks, -reachOfBlocks, reachOfBlocks, reachOfBlocks});

        Placement by{{stretch.xx, -stretch.xy}, {stretch.xy, -stretch.yy}, {}};
        const Point2 middle{(block.box.left + block.box.right) / 2,
                            (block.box.bottom + block.box.top) / 2};
        by.origin = -1 * by.vector(middle);
        Surroundings within = inner;
        within.colour.reset();
        paintContents(block, by, within);

        limit_ = limit;
        cull_ = cull;
        isWrittenHere_ = isWrittenHere;
        elements_ = elements;
        current_ = current;
        to_ = to;
        const int form = ++formCount_;
        definitions_ += "<g id=\"b" + std::to_string(form) + "\">" + text + "</g>\n";
        return form;
    }

    std::string out_;
    std::string definitions_;
    std::string body_;  // of the object that is painted now
    std::string data_;  // of the path that is painted now
    std::string* to_ = &out_;
    std::optional<Rgb> current_;  // the colour in force; none in definitions
    std::size_t elements_ = 0;
    std::size_t tagEnd_ = 0;
    bool isWrittenHere_ = true;  // not in a definition
    double shown_ = 0;
    int layerCount_ = 0;
    int formCount_ = 0;
    std::map<Key, int> forms_;  // numbers of definitions
    std::unordered_map<const Block*, int> formCounts_;
};

}  // namespace

void appendNumber(std::string& to, double number) {
    if (!(std::fabs(number) < 1e12)) {
        appendFixed(to, number, 0);
        return;
    }
    // Whole numbers are written many times quicker.
    std::int64_t steps = stepsOf(number);
    if (steps < 0) {
        to += '-';
        steps = -steps;
    }
    std::array<char, 24> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), steps / 1000);
    to.append(digits.data(), written.ptr);
    auto rest = static_cast<int>(steps % 1000);
    if (rest == 0) return;
    to += '.';
    for (int place = 100; rest > 0; place /= 10) {
        to += static_cast<char>('0' + rest / place);
        rest %= place;
    }
}

std::string xmlOf(std::u16string_view text) {
    std::u16string kept;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        const bool isHigh = unit >= 0xD800 && unit <= 0xDBFF;
        if (isHigh && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            kept += unit;
            kept += text[++i];
            continue;
        }
        const bool isControl = unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r';
        const bool isSurrogate = unit >= 0xD800 && unit <= 0xDFFF;
        if (!isControl && !isSurrogate && unit < 0xFFFE) kept += unit;
    }
    std::string escaped;
    for (const char byte : platform::toUtf8(kept)) {
        switch (byte) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '"': escaped += "&quot;"; break;
        default: escaped += byte;
        }
    }
    return escaped;
}

std::string svgOf(Scene& scene, const Page& page) { return SvgPainter(scene, page).run(); }

}  // namespace vlisp::refhost::plot
