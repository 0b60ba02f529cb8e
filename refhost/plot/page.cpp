// Sheets, scales, and where a drawing lies on its sheet. See page.h, plot.h.
// Tests: tests/plot/page_test.cpp.
#include "refhost/plot/page.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>
#include <utility>

namespace vlisp::refhost::plot {
namespace {

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& letter : result)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return result;
}

// A number above 0 that is the whole text.
std::optional<double> amountOf(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (!(value > 0) || !std::isfinite(value)) return std::nullopt;
    return value;
}

struct NamedPaper {
    std::string_view name;
    double width;
    double height;
};
constexpr NamedPaper papers[] = {
    {"a0", 841, 1189},       {"a1", 594, 841},         {"a2", 420, 594}, {"a3", 297, 420},
    {"a4", 210, 297},        {"a5", 148, 210},         {"a6", 105, 148}, {"letter", 215.9, 279.4},
    {"legal", 215.9, 355.6}, {"tabloid", 279.4, 431.8}};

bool isSide(double length) noexcept { return length >= thinnestPaper && length <= widestPaper; }

// Halves first: the sum of two large numbers may not be finite.
Point2 middleOf(const Box& box) noexcept {
    return {std::midpoint(box.left, box.right), std::midpoint(box.bottom, box.top)};
}

double fittingScale(const Box& shown, double width, double height) noexcept {
    const double across = width / (shown.right - shown.left);
    const double down = height / (shown.top - shown.bottom);
    const double scale = std::min(across, down);  // infinity where there is no extent
    return std::isfinite(scale) ? scale : 1;
}

bool liesAcross(const Box& shown, const Options& options) noexcept {
    if (options.orientation != Orientation::automatic)
        return options.orientation == Orientation::landscape;
    if (!options.paper.turns) return options.paper.width > options.paper.height;
    return !shown.isEmpty() && shown.right - shown.left > shown.top - shown.bottom;
}

}  // namespace

std::optional<Kind> kindOf(std::string_view fileName) {
    const std::string name = lowered(fileName);
    if (name.ends_with(".svg")) return Kind::svg;
    if (name.ends_with(".pdf")) return Kind::pdf;
    if (name.ends_with(".png")) return Kind::png;
    return std::nullopt;
}

std::optional<PaperSize> paperOf(std::string_view text) {
    const std::string name = lowered(text);
    for (const NamedPaper& paper : papers)
        if (paper.name == name) return PaperSize{paper.width, paper.height, true};
    const std::size_t cross = name.find('x');
    if (cross == std::string::npos) return std::nullopt;
    const auto width = amountOf(std::string_view(name).substr(0, cross));
    const auto height = amountOf(std::string_view(name).substr(cross + 1));
    if (!width || !height || !isSide(*width) || !isSide(*height)) return std::nullopt;
    return PaperSize{*width, *height, false};
}

std::optional<double> scaleOf(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return amountOf(text);
    const auto paper = amountOf(text.substr(0, colon));
    const auto units = amountOf(text.substr(colon + 1));
    if (!paper || !units) return std::nullopt;
    const double scale = *paper / *units;
    return scale > 0 && std::isfinite(scale) ? std::optional(scale) : std::nullopt;
}

Page layOut(const Box& shown, const Options& options) noexcept {
    Page page;
    page.width = options.paper.width;
    page.height = options.paper.height;
    if (liesAcross(shown, options) != (page.width > page.height))
        std::swap(page.width, page.height);
    const double edge = std::min(margin, std::min(page.width, page.height) / 4);
    const Box inner{edge, edge, page.width - edge, page.height - edge};
    if (shown.isEmpty()) return page;

    page.scale = options.scale.value_or(
        fittingScale(shown, inner.right - inner.left, inner.top - inner.bottom));
    const Point2 middle = middleOf(shown);
    page.placement.u = {page.scale, 0};
    page.placement.v = {0, -page.scale};
    page.placement.origin = {page.width / 2 - page.scale * middle.x,
                             page.height / 2 + page.scale * middle.y};
    if (options.window || options.scale) page.clip = inner;
    if (options.window) {
        // Sizes, not corners: corners may have lost their digits far away.
        const double half = page.scale * (shown.right - shown.left) / 2;
        const double tall = page.scale * (shown.top - shown.bottom) / 2;
        page.clip = {std::max(inner.left, page.width / 2 - half),
                     std::max(inner.bottom, page.height / 2 - tall),
                     std::min(inner.right, page.width / 2 + half),
                     std::min(inner.top, page.height / 2 + tall)};
    }
    return page;
}

}  // namespace vlisp::refhost::plot
