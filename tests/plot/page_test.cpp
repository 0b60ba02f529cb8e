// Tests of refhost/plot/page.h and of the options in refhost/plot/plot.h.
// Covers: refhost/plot/page.cpp.
#include "refhost/plot/page.h"

#include "tests/support/special_numbers.h"

#include <cmath>
#include <gtest/gtest.h>

namespace vlisp::refhost::plot {
namespace {

using vlisp::test::inf;

// --- What people write ---

TEST(Plot_options, The_ending_of_a_name_is_the_kind) {
    EXPECT_EQ(kindOf("a.svg"), Kind::svg);
    EXPECT_EQ(kindOf("dir.svg/B.PDF"), Kind::pdf);
    EXPECT_EQ(kindOf("x.Png"), Kind::png);
    EXPECT_EQ(kindOf("svg"), std::nullopt);
    EXPECT_EQ(kindOf("a.dxf"), std::nullopt);
    EXPECT_EQ(kindOf(""), std::nullopt);
}

TEST(Plot_options, Paper_has_a_name_or_its_sides) {
    const auto a3 = paperOf("a3");
    ASSERT_TRUE(a3);
    EXPECT_EQ(a3->width, 297);
    EXPECT_EQ(a3->height, 420);
    EXPECT_TRUE(a3->turns);
    EXPECT_EQ(paperOf("A0")->height, 1189);
    EXPECT_EQ(paperOf("LETTER")->width, 215.9);
    const auto own = paperOf("600x400.5");
    ASSERT_TRUE(own);
    EXPECT_EQ(own->width, 600);
    EXPECT_EQ(own->height, 400.5);
    EXPECT_FALSE(own->turns);
}

TEST(Plot_options, What_is_no_paper_is_refused) {
    for (const char* text : {"", "A9", "x", "10x", "x10", "10x10x10", "0x10", "-5x10", "nanx10",
                             "infx10", "10001x10", "0.5x10", "10 x 10", "A4 "})
        EXPECT_EQ(paperOf(text).has_value(), false) << text;
}

TEST(Plot_options, A_scale_is_a_ratio_or_a_number) {
    EXPECT_EQ(scaleOf("1:50"), 0.02);
    EXPECT_EQ(scaleOf("2:1"), 2);
    EXPECT_EQ(scaleOf("0.5"), 0.5);
    EXPECT_EQ(scaleOf("1e3"), 1000);
    for (const char* text : {"", ":", "1:", ":2", "1:0", "0", "-1", "1:-2", "fit", "1:2:3", "inf",
                             "nan", "1 : 2", "1e300:1e-300"})
        EXPECT_EQ(scaleOf(text), std::nullopt) << text;
}

// --- Pages ---

Options a4() {
    Options options;
    options.paper = {210, 297, true};
    return options;
}

TEST(Plot_page, What_is_shown_fills_the_paper_within_the_margin) {
    const Page page = layOut({0, 0, 19, 10}, a4());
    EXPECT_EQ(page.width, 297);
    EXPECT_EQ(page.height, 210);
    EXPECT_DOUBLE_EQ(page.scale, 277.0 / 19);
    EXPECT_NEAR(page.placement.point({0, 5}).x, 10, 1e-9);
    EXPECT_NEAR(page.placement.point({19, 5}).x, 287, 1e-9);
    EXPECT_NEAR(page.placement.point({0, 5}).y, 105, 1e-9);
    EXPECT_GT(page.placement.point({0, 0}).y, page.placement.point({0, 10}).y) << "y runs down";
    EXPECT_FALSE(page.clip);
}

TEST(Plot_page, The_height_decides_where_it_is_scarcer) {
    const Page page = layOut({0, 0, 10, 190}, a4());
    EXPECT_EQ(page.width, 210);
    EXPECT_DOUBLE_EQ(page.scale, 277.0 / 190);
    EXPECT_NEAR(page.placement.point({5, 190}).y, 10, 1e-9);
    EXPECT_NEAR(page.placement.point({5, 0}).x, 105, 1e-9);
}

TEST(Plot_page, The_orientation_can_be_said) {
    Options options = a4();
    options.orientation = Orientation::portrait;
    EXPECT_EQ(layOut({0, 0, 20, 10}, options).width, 210);
    options.orientation = Orientation::landscape;
    EXPECT_EQ(layOut({0, 0, 10, 20}, options).width, 297);
}

TEST(Plot_page, Sides_that_were_written_are_not_exchanged) {
    Options options;
    options.paper = *paperOf("100x300");
    EXPECT_EQ(layOut({0, 0, 20, 10}, options).width, 100);
    options.paper = *paperOf("300x100");
    EXPECT_EQ(layOut({0, 0, 10, 20}, options).width, 300);
    options.orientation = Orientation::portrait;
    EXPECT_EQ(layOut({0, 0, 20, 10}, options).width, 100) << "unless it is asked for";
}

TEST(Plot_page, A_scale_is_kept_about_the_middle_of_the_paper) {
    Options options = a4();
    options.scale = 0.02;
    const Page page = layOut({1000, 2000, 3000, 6000}, options);
    EXPECT_EQ(page.scale, 0.02);
    const Point2 middle = page.placement.point({2000, 4000});
    EXPECT_NEAR(middle.x, 105, 1e-9);
    EXPECT_NEAR(middle.y, 148.5, 1e-9);
    ASSERT_TRUE(page.clip);
    EXPECT_EQ(*page.clip, (Box{10, 10, 200, 287}));
}

TEST(Plot_page, A_window_cuts_off_what_is_beside_it) {
    Options options = a4();
    options.window = Box{0, 0, 10, 20};
    options.scale = 2;
    const Page page = layOut(*options.window, options);
    ASSERT_TRUE(page.clip);
    EXPECT_NEAR(page.clip->left, 95, 1e-9);
    EXPECT_NEAR(page.clip->right, 115, 1e-9);
    EXPECT_NEAR(page.clip->bottom, 128.5, 1e-9);
    EXPECT_NEAR(page.clip->top, 168.5, 1e-9);
}

TEST(Plot_page, A_small_sheet_has_a_small_margin) {
    Options options;
    options.paper = *paperOf("20x20");
    EXPECT_DOUBLE_EQ(layOut({0, 0, 1, 1}, options).scale, 10);
}

TEST(Plot_page, What_has_no_extent_lies_in_the_middle) {
    const Page point = layOut({5, 7, 5, 7}, a4());
    EXPECT_EQ(point.scale, 1);
    EXPECT_EQ(point.placement.point({5, 7}), (Point2{105, 148.5}));
    const Page flat = layOut({0, 7, 10, 7}, a4());
    EXPECT_DOUBLE_EQ(flat.scale, 27.7);
    EXPECT_DOUBLE_EQ(flat.placement.point({5, 7}).y, 105);
}

TEST(Plot_page, An_empty_drawing_has_a_sheet) {
    const Page page = layOut(Box(), a4());
    EXPECT_EQ(page.width, 210);
    EXPECT_EQ(page.scale, 1);
    EXPECT_FALSE(page.clip);
}

TEST(Plot_page, Large_extents_stay_finite) {
    const Page page = layOut({-1e150, -1e150, 1e150, 1e150}, a4());
    EXPECT_TRUE(page.scale > 0 && page.scale < inf);
    EXPECT_NEAR(page.placement.point({1e150, 0}).x, 200, 1e-6);
}

}  // namespace
}  // namespace vlisp::refhost::plot
