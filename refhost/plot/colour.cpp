// Colour indices as colours. See colour.h.
// Tests: tests/plot/colour_test.cpp.
#include "refhost/plot/colour.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vlisp::refhost::plot {
namespace {

Rgb rgb(double red, double green, double blue) noexcept {
    const auto part = [](double value) { return static_cast<Rgb>(value); };
    return part(red) << 16 | part(green) << 8 | part(blue);
}

// Ten indices a hue, hues 15 degrees apart, beginning with red at 10. Of the ten, each pair is
// darker than the one before, and the second of a pair is half as saturated as the first.
Rgb wheelColour(int index) noexcept {
    constexpr std::array brightness{1.0, 0.65, 0.5, 0.3, 0.15};
    const int step = index - 10;
    const double most = 255 * brightness[static_cast<std::size_t>(step % 10 / 2)];
    const double least = step % 2 == 0 ? 0 : most / 2;
    const int place = step / 10;
    const double hue = place / 4.0;  // in sixths of a turn
    // A channel is full within a sixth of its own hue, absent beyond two, and slopes between.
    const auto channel = [&](double own) {
        const double away = std::fabs(std::remainder(hue - own, 6));
        return least + (most - least) * std::clamp(2 - away, 0.0, 1.0);
    };
    return rgb(channel(0), channel(2), channel(4));
}

}  // namespace

Rgb colourOfIndex(std::int32_t index, bool dark) noexcept {
    constexpr std::array<Rgb, 6> pure{0xFF0000, 0xFFFF00, 0x00FF00, 0x00FFFF, 0x0000FF, 0xFF00FF};
    if (index >= 1 && index <= 6) return pure[static_cast<std::size_t>(index - 1)];
    if (index == 8) return 0x808080;
    if (index == 9) return 0xC0C0C0;
    if (index >= 10 && index < 250) return wheelColour(index);
    if (index >= 250 && index <= 255) {
        // Six greys in equal steps from a fifth to white.
        const double grey = 51 + (index - 250) * 40.8;
        return rgb(grey, grey, grey);
    }
    return dark ? white : black;
}

std::string hexOf(Rgb colour) {
    constexpr char digits[] = "0123456789abcdef";
    std::string hex(7, '#');
    for (std::size_t i = 0; i < 6; ++i) hex[6 - i] = digits[colour >> (4 * i) & 0xF];
    if (hex[1] == hex[2] && hex[3] == hex[4] && hex[5] == hex[6])
        return {'#', hex[1], hex[3], hex[5]};
    return hex;
}

}  // namespace vlisp::refhost::plot
