// Tests of refhost/plot/colour.h.
// Covers: refhost/plot/colour.cpp.
#include "refhost/plot/colour.h"

#include <gtest/gtest.h>
#include <limits>

namespace vlisp::refhost::plot {
namespace {

TEST(Plot_colour, The_first_nine_have_their_own) {
    EXPECT_EQ(colourOfIndex(1, false), 0xFF0000U);
    EXPECT_EQ(colourOfIndex(2, false), 0xFFFF00U);
    EXPECT_EQ(colourOfIndex(3, false), 0x00FF00U);
    EXPECT_EQ(colourOfIndex(4, false), 0x00FFFFU);
    EXPECT_EQ(colourOfIndex(5, false), 0x0000FFU);
    EXPECT_EQ(colourOfIndex(6, false), 0xFF00FFU);
    EXPECT_EQ(colourOfIndex(8, false), 0x808080U);
    EXPECT_EQ(colourOfIndex(9, true), 0xC0C0C0U);
}

TEST(Plot_colour, Seven_is_the_contrary_of_the_ground) {
    EXPECT_EQ(colourOfIndex(7, false), black);
    EXPECT_EQ(colourOfIndex(7, true), white);
}

TEST(Plot_colour, The_wheel_has_24_hues_in_ten_shades) {
    EXPECT_EQ(colourOfIndex(10, false), 0xFF0000U);
    EXPECT_EQ(colourOfIndex(11, false), 0xFF7F7FU);
    EXPECT_EQ(colourOfIndex(12, false), 0xA50000U);
    EXPECT_EQ(colourOfIndex(14, false), 0x7F0000U);
    EXPECT_EQ(colourOfIndex(16, false), 0x4C0000U);
    EXPECT_EQ(colourOfIndex(18, false), 0x260000U);
    EXPECT_EQ(colourOfIndex(20, false), 0xFF3F00U);
    EXPECT_EQ(colourOfIndex(30, false), 0xFF7F00U);
    EXPECT_EQ(colourOfIndex(50, false), 0xFFFF00U);
    EXPECT_EQ(colourOfIndex(90, false), 0x00FF00U);
    EXPECT_EQ(colourOfIndex(130, false), 0x00FFFFU);
    EXPECT_EQ(colourOfIndex(170, false), 0x0000FFU);
    EXPECT_EQ(colourOfIndex(210, false), 0xFF00FFU);
    EXPECT_EQ(colourOfIndex(240, false), 0xFF003FU);
}

TEST(Plot_colour, The_last_six_are_greys) {
    EXPECT_EQ(colourOfIndex(250, false), 0x333333U);
    EXPECT_EQ(colourOfIndex(252, false), 0x848484U);
    EXPECT_EQ(colourOfIndex(255, false), 0xFFFFFFU);
}

TEST(Plot_colour, Any_other_index_counts_as_seven) {
    for (const std::int32_t index : {0, -1, 256, 257, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(colourOfIndex(index, false), black) << index;
        EXPECT_EQ(colourOfIndex(index, true), white) << index;
    }
}

TEST(Plot_colour, Is_written_short_where_it_can_be) {
    EXPECT_EQ(hexOf(0xFF0000), "#f00");
    EXPECT_EQ(hexOf(0x1E2F3C), "#1e2f3c");
    EXPECT_EQ(hexOf(0), "#000");
}

}  // namespace
}  // namespace vlisp::refhost::plot
