// Colour indices as colours.
// One idea: the indices are a wheel of 24 hues in ten shades each, so a formula tells them all.
// Tests: tests/plot/colour_test.cpp.
#pragma once

#include <cstdint>
#include <string>

namespace vlisp::refhost::plot {

/// Red, green and blue in the three lower bytes.
using Rgb = std::uint32_t;

inline constexpr Rgb black = 0x000000;
inline constexpr Rgb white = 0xFFFFFF;
inline constexpr Rgb darkGround = 0x1E1E1E;

/// The colour of an index from 1 to 255; any other counts as 7, which is black on a light ground
/// and white on a dark one.
[[nodiscard]] Rgb colourOfIndex(std::int32_t index, bool dark) noexcept;

/// "#f00" or "#1e2f3c".
[[nodiscard]] std::string hexOf(Rgb colour);

}  // namespace vlisp::refhost::plot
