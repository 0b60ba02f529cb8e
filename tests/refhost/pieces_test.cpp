// Tests of refhost/model/pieces.h: what a file says of an object besides its members.
// One idea: tables of known places, and for planes and transformations a twin in space that is
// computed point by point.
// Covers: refhost/model/pieces.cpp, refhost/model/geometry.cpp.
#include "refhost/model/pieces.h"

#include "refhost/model/geometry.h"
#include "refhost/model/objects.h"
#include "tests/refhost/geometry_test.h"
#include "tests/support/special_numbers.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace vlisp::refhost {
namespace {

using std::numbers::pi;
using test::Blocks;
using test::expectNear;
using test::made;
using test::noBlocks;
using vlisp::test::inf;
using vlisp::test::nan;

template <class Class> auto fromFile(const std::vector<Point2>& points) {
    return made<FromFile<Class>>(points);
}

std::unique_ptr<FromFile<VmDbText>>
textFromFile(Point2 at, double height, std::u16string_view letters, VmDbType type = vmDbText) {
    auto object = fromFile<VmDbText>({at});
    object->typeCode = type;
    object->height = height;
    object->text.assign(letters.data(), letters.size());
    return object;
}

std::unique_ptr<FromFile<VmDbBlockRef>> insertFromFile(Point2 at, std::u16string_view name,
                                                       double xScale = 1, double yScale = 1,
                                                       double rotation = 0) {
    auto object = fromFile<VmDbBlockRef>({at});
    object->blockName.assign(name.data(), name.size());
    object->xScale = xScale;
    object->yScale = yScale;
    object->rotation = rotation;
    return object;
}

std::unique_ptr<CarriedObject> carried(Path path) {
    auto object = std::make_unique<CarriedObject>();
    object->isShown = true;
    object->figures.push_back({std::move(path), false});
    return object;
}

// --- Carried objects ---

TEST(Pieces, Figures_have_exact_extents) {
    Path path;
    path.moveTo({0, 0});
    path.cubicTo({0, 4}, {8, 4}, {8, 0});  // 3 high at its middle
    path.lineTo({10, -1});
    expectNear(extentOf(*carried(path), noBlocks), {0, -1, 10, 3});
    Path looped;
    looped.moveTo({0, 0});
    looped.cubicTo({3, 1}, {-2, 1}, {1, 0});
    const Box box = extentOf(*carried(looped), noBlocks);
    EXPECT_NEAR(box.top, 0.75, 1e-12);
    Box sampled;
    const pieces::Cubic cubic{{0, 0}, {3, 1}, {-2, 1}, {1, 0}};
    for (int i = 0; i <= 100'000; ++i) sampled.add(pieces::at(cubic, i / 1e5));
    expectNear(box, sampled, 1e-8);
}

TEST(Pieces, Cubics_of_any_size_have_the_box_of_their_samples) {
    std::mt19937_64 random(7);
    for (const double size : {1e-140, 1e-9, 1.0, 1e80, 1e149}) {
        std::uniform_real_distribution<double> number(-size, size);
        for (int round = 0; round < 200; ++round) {
            const auto point = [&] { return Point2{number(random), number(random)}; };
            const pieces::Cubic cubic{point(), point(), point(), point()};
            const Box box = pieces::boxOf(cubic);
            Box sampled;
            for (int i = 0; i <= 1000; ++i) sampled.add(pieces::at(cubic, i / 1e3));
            expectNear(box, sampled, 1e-5 * size);
            EXPECT_LE(box.left, sampled.left + 1e-12 * size);
            EXPECT_GE(box.top, sampled.top - 1e-12 * size);
        }
    }
}

TEST(Pieces, Figures_are_picked_and_crossed) {
    Path path;
    path.moveTo({0, 0});
    path.cubicTo({0, 4}, {8, 4}, {8, 0});
    const auto object = carried(path);
    EXPECT_NEAR(distanceTo(*object, {4, 3}, noBlocks), 0, 1e-3);
    EXPECT_NEAR(distanceTo(*object, {4, 5}, noBlocks), 2, 1e-3);
    EXPECT_NEAR(distanceTo(*object, {4, 1}, noBlocks), 2, 0.2);
    EXPECT_TRUE(crosses(*object, Box{3, 2.9, 5, 9}, noBlocks));
    EXPECT_FALSE(crosses(*object, Box{3, 0, 5, 2.5}, noBlocks)) << "within the bow";
    EXPECT_TRUE(inside(*object, Box{0, 0, 8, 3.0001}, noBlocks));
    EXPECT_FALSE(inside(*object, Box{0, 0, 8, 2.9}, noBlocks));
    EXPECT_EQ(length(*object), 0);
    EXPECT_EQ(area(*object), 0);
}

TEST(Pieces, Closing_a_figure_draws_its_last_side) {
    Path path;
    path.moveTo({0, 0});
    path.lineTo({4, 0});
    path.lineTo({4, 4});
    path.close();
    path.lineTo({-1, 0});  // goes on where it was closed
    path.moveTo({9, 9});   // a dot
    const auto object = carried(path);
    EXPECT_NEAR(distanceTo(*object, {2, 2}, noBlocks), 0, 1e-12);
    EXPECT_NEAR(distanceTo(*object, {-0.5, 0}, noBlocks), 0, 1e-12);
    EXPECT_NEAR(distanceTo(*object, {9, 9}, noBlocks), 0, 1e-12);
    path.verbs.push_back(Path::Verb::cubic);  // without its points
    path.verbs.push_back(Path::Verb::close);
    expectNear(extentOf(*carried(path), noBlocks), {-1, 0, 9, 9});
}

TEST(Pieces, A_carried_block_is_shown_as_it_is) {
    Blocks blocks;
    blocks.define(u"*D1", {100, 100}, fromFile<VmDbLine>({{1, 2}, {3, 5}}));
    CarriedObject object;
    object.block = u"*D1";
    expectNear(extentOf(object, blocks.lookup()), {1, 2, 3, 5});
    EXPECT_TRUE(extentOf(object, noBlocks).isEmpty());
    blocks.define(u"OUTER", {1, 2}, clone(object));
    expectNear(extentOf(*insertFromFile({10, 10}, u"OUTER", 2, 2), blocks.lookup()),
               {10, 10, 14, 16});
}

TEST(Pieces, Nothing_is_shown_of_what_is_invisible) {
    auto object = fromFile<VmDbLine>({{1, 2}, {3, 5}});
    object->appearance.invisible = true;
    EXPECT_TRUE(extentOf(*object, noBlocks).isEmpty());
    EXPECT_EQ(distanceTo(*object, {1, 2}, noBlocks), inf);
    EXPECT_FALSE(crosses(*object, Box{0, 0, 9, 9}, noBlocks));
    Blocks blocks;
    blocks.define(u"B", {0, 0}, std::move(object));
    blocks.define(u"B", {0, 0}, fromFile<VmDbLine>({{0, 0}, {1, 1}}));
    expectNear(extentOf(*insertFromFile({0, 0}, u"B"), blocks.lookup()), {0, 0, 1, 1});
}

// --- Planes ---

TEST(Pieces, A_planes_axes_follow_from_its_direction) {
    const auto expectAxes = [](const mmPoint& up, const mmPoint& x, const mmPoint& y) {
        const pieces::PlaneAxes axes = pieces::axesOf(up);
        const double seen[] = {axes.x.x, axes.x.y, axes.x.z, axes.y.x, axes.y.y, axes.y.z};
        const double wanted[] = {x.x, x.y, x.z, y.x, y.y, y.z};
        for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(seen[i], wanted[i], 1e-12) << i;
    };
    expectAxes({0, 0, 1}, {1, 0, 0}, {0, 1, 0});
    expectAxes({0, 0, 7}, {1, 0, 0}, {0, 1, 0});
    expectAxes({0, 0, -1}, {-1, 0, 0}, {0, 1, 0});
    expectAxes({1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    expectAxes({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});
    expectAxes({0, 0.6, 0.8}, {-1, 0, 0}, {0, -0.8, 0.6});
    // On both sides of the bound, where x turns from one rule to the other.
    EXPECT_GT(pieces::axesOf({1 / 65.0, 0, 1}).x.x, 0.9);
    EXPECT_NEAR(pieces::axesOf({1 / 63.0, 0, 1}).x.x, 0, 1e-12);
    for (const mmPoint& none : {mmPoint(0, 0, 0), mmPoint(nan, 0, 1), mmPoint(inf, 0, 0)})
        expectAxes(none, {1, 0, 0}, {0, 1, 0});
}

TEST(Pieces, Objects_seen_from_below_are_mirrored) {
    auto arc = fromFile<VmDbArc>({{-5, 3}});
    arc->radius = 2;
    arc->startAngle = 0;
    arc->endAngle = pi / 2;
    arc->appearance.normal = {0, 0, -1};
    expectNear(extentOf(*arc, noBlocks), {3, 3, 5, 5});
    auto line = fromFile<VmDbLine>({{1, 2}, {3, 5}});
    line->appearance.normal = {0, 0, -1};
    expectNear(extentOf(*line, noBlocks), {1, 2, 3, 5});
    Blocks blocks;
    blocks.define(u"B", {0, 0}, fromFile<VmDbLine>({{0, 0}, {2, 1}}));
    auto turned = insertFromFile({-5, 3}, u"B");
    turned->appearance.normal = {0, 0, -1};
    expectNear(extentOf(*turned, blocks.lookup()), {3, 3, 5, 4});
}

TEST(Pieces, A_tilted_plane_lies_as_high_as_its_first_point) {
    auto circle = fromFile<VmDbCircle>({});
    circle->addPoint(mmPoint(1, 2, 10));
    circle->radius = 5;
    circle->appearance.normal = {0, 0.6, 0.8};
    // The centre is (-1, -1.6 + 6), and the circle is flattened to 0.8.
    expectNear(extentOf(*circle, noBlocks), {-6, 0.4, 4, 8.4});
}

// --- Inserts ---

TEST(Pieces, A_grid_turns_with_its_insert_and_is_not_scaled) {
    Blocks blocks;
    blocks.define(u"B", {0, 0}, fromFile<VmDbLine>({{0, 0}, {1, 0}}));
    auto grid = insertFromFile({10, 10}, u"B", 2, 2, 90);
    grid->appearance.columns = 3;
    grid->appearance.rows = 2;
    grid->appearance.columnSpacing = 5;
    grid->appearance.rowSpacing = 4;
    expectNear(extentOf(*grid, blocks.lookup()), {6, 10, 10, 22});
    EXPECT_NEAR(distanceTo(*grid, {6, 21}, blocks.lookup()), 0, 1e-9);
    EXPECT_NEAR(distanceTo(*grid, {6, 18}, blocks.lookup()), 1, 1e-9);
    grid->appearance.columns = 0;
    grid->appearance.rows = -7;
    expectNear(extentOf(*grid, blocks.lookup()), {10, 10, 10, 12});
}

TEST(Pieces, A_grid_without_end_ends) {
    Blocks blocks;
    blocks.define(u"B", {0, 0}, fromFile<VmDbLine>({{0, 0}, {1, 0}}));
    auto grid = insertFromFile({0, 0}, u"B");
    grid->appearance.columns = std::numeric_limits<int>::max();
    grid->appearance.rows = std::numeric_limits<int>::max();
    grid->appearance.columnSpacing = 1;
    const Box box = extentOf(*grid, blocks.lookup());
    EXPECT_GT(box.right, 1e5);
    EXPECT_LE(box.right, mostInsertedPieces);
    Blocks empty;
    empty.define(u"B", {0, 0}, fromFile<VmDbLine>({}));
    expectNear(extentOf(*grid, empty.lookup()), {0, 0, 0, 0});
}

TEST(Pieces, Attributes_stand_where_the_insert_stands) {
    Blocks blocks;
    blocks.define(u"B", {0, 0}, fromFile<VmDbLine>({{0, 0}, {1, 0}}));
    blocks.define(u"OUTER", {0, 0}, [] {
        auto inner = insertFromFile({3, 0}, u"B", 9, 9, 45);
        auto texts = std::make_shared<std::vector<std::unique_ptr<VmDbObject>>>();
        texts->push_back(textFromFile({20, 30}, 1, u"ab"));
        texts->push_back(nullptr);
        texts->push_back(textFromFile({500, 500}, 1, u"unseen"));
        filePartOf(*texts->back())->appearance.invisible = true;
        inner->appearance.attributes = texts;
        return inner;
    }());
    const auto object = insertFromFile({100, 100}, u"OUTER", 2, 2);
    EXPECT_NEAR(extentOf(*object, blocks.lookup()).right, 100 + 2 * 21.2, 1e-9);
    EXPECT_NEAR(extentOf(*object, blocks.lookup()).top, 100 + 2 * 31, 1e-9);
}

// --- Texts ---

TEST(Pieces, Texts_are_aligned) {
    const auto box = [](int horizontal, int vertical) {
        auto object = textFromFile({1, 2}, 3, u"abcd");  // 7.2 wide
        object->appearance.horizontal = horizontal;
        object->appearance.vertical = vertical;
        object->appearance.alignment = {20, 30};
        return extentOf(*object, noBlocks);
    };
    expectNear(box(0, 0), {1, 2, 8.2, 5});
    expectNear(box(1, 0), {16.4, 30, 23.6, 33});
    expectNear(box(2, 0), {12.8, 30, 20, 33});
    expectNear(box(4, 0), {16.4, 28.5, 23.6, 31.5});
    expectNear(box(0, 1), {20, 31, 27.2, 34});
    expectNear(box(0, 2), {20, 28.5, 27.2, 31.5});
    expectNear(box(2, 3), {12.8, 27, 20, 30});
}

TEST(Pieces, A_fitted_text_fills_its_way) {
    for (const int horizontal : {3, 5}) {
        auto object = textFromFile({1, 2}, 2, u"a");
        object->rotation = 33;
        object->appearance.horizontal = horizontal;
        object->appearance.alignment = {1, 12};
        expectNear(extentOf(*object, noBlocks), {-1, 2, 1, 12});
        object->appearance.alignment = {1, 2};  // no way: as it stands
        object->rotation = 0;
        expectNear(extentOf(*object, noBlocks), {1, 2, 2.2, 4});
    }
}

TEST(Pieces, A_texts_codes_and_width_factor_count) {
    auto object = textFromFile({0, 0}, 1, u"%%c12%%d");
    expectNear(extentOf(*object, noBlocks), {0, 0, 2.4, 1});
    object->appearance.widthFactor = 0.5;
    expectNear(extentOf(*object, noBlocks), {0, 0, 1.2, 1});
    for (const double odd : {0.0, -1.0, nan, inf}) {
        object->appearance.widthFactor = odd;
        expectNear(extentOf(*object, noBlocks), {0, 0, 2.4, 1});
    }
    const auto paragraph = textFromFile({0, 0}, 3, u"{\\H2;a}\\Pbc", vmDbMText);
    expectNear(extentOf(*paragraph, noBlocks), {0, -8, 3.6, 0});
}

TEST(Pieces, A_paragraph_is_attached_at_nine_places) {
    for (int attachment = 0; attachment <= 10; ++attachment) {
        auto object = textFromFile({20, 30}, 3, u"a\\Pbc", vmDbMText);  // 3.6 wide, 8 high
        object->appearance.attachment = attachment;
        const int place = attachment >= 1 && attachment <= 9 ? attachment - 1 : 0;
        const double left = 20 - place % 3 * 1.8;
        const double top = 30 + place / 3 * 4.0;
        expectNear(extentOf(*object, noBlocks), {left, top - 8, left + 3.6, top});
    }
}

// --- Transformations ---

TEST(Pieces, What_a_file_adds_is_transformed_too) {
    const Similarity by = Similarity::rotated(pi / 2, {0, 0})
                              .then(Similarity::scaled(2, mmPoint()))
                              .then(Similarity::moved(mmPoint(100, 0, 0)));
    auto letters = textFromFile({1, 2}, 3, u"ab");
    letters->appearance.horizontal = 1;
    letters->appearance.alignment = {5, 6};
    transform(*letters, by);
    EXPECT_NEAR(letters->appearance.alignment.x, 88, 1e-9);
    EXPECT_NEAR(letters->appearance.alignment.y, 10, 1e-9);

    auto wide = fromFile<VmDb2DPolyline>({{0, 0}, {1, 0}});
    wide->appearance.width = 0.5;
    transform(*wide, by);
    EXPECT_EQ(wide->appearance.width, 1);

    Blocks blocks;
    blocks.define(u"B", {0, 0}, fromFile<VmDbLine>({{0, 0}, {1, 0}}));
    auto grid = insertFromFile({1, 2}, u"B");
    grid->appearance.columns = 2;
    grid->appearance.columnSpacing = 5;
    auto texts = std::make_shared<std::vector<std::unique_ptr<VmDbObject>>>();
    texts->push_back(textFromFile({10, 0}, 1, u"a"));
    grid->appearance.attributes = texts;
    const auto copy = clone(*grid);
    const Box before = extentOf(*grid, blocks.lookup());
    transform(*grid, by);
    expectNear(extentOf(*grid, blocks.lookup()),
               {100 - 2 * before.top, 2 * before.left, 100 - 2 * before.bottom, 2 * before.right});
    // The copy has texts of its own.
    expectNear(extentOf(*copy, blocks.lookup()), before);
}

// Points of a circle or arc in space, by the plane's axes.
std::vector<mmPoint> inSpace(const FromFile<VmDbArc>& arc) {
    const pieces::PlaneAxes axes = pieces::axesOf(arc.appearance.normal);
    const double sweep = pieces::sweepBetween(arc.startAngle, arc.endAngle);
    std::vector<mmPoint> points;
    for (int i = 0; i <= 16; ++i) {
        const double t = arc.startAngle + sweep * i / 16;
        const double x = arc.points.points[0].x + arc.radius * std::cos(t);
        const double y = arc.points.points[0].y + arc.radius * std::sin(t);
        const double z = arc.points.points[0].z;
        points.emplace_back(x * axes.x.x + y * axes.y.x + z * axes.up.x,
                            x * axes.x.y + y * axes.y.y + z * axes.up.y,
                            x * axes.x.z + y * axes.y.z + z * axes.up.z);
    }
    return points;
}

TEST(Pieces, What_lies_in_a_tilted_plane_is_moved_and_turned_in_space) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> number(-5, 5);
    for (int round = 0; round < 200; ++round) {
        FromFile<VmDbArc> arc;
        arc.addPoint(mmPoint(number(random), number(random), number(random)));
        arc.radius = 1 + std::fabs(number(random));
        arc.startAngle = number(random);
        arc.endAngle = number(random);
        arc.appearance.normal = {number(random), number(random), number(random)};
        if (round % 4 == 0) arc.appearance.normal = {0, 0, -1};
        const auto before = inSpace(arc);
        const Similarity by = Similarity::rotated(number(random), {number(random), 3})
                                  .then(Similarity::scaled(1.5, mmPoint(1, 2, 3)))
                                  .then(Similarity::moved(mmPoint(4, number(random), 6)));
        transform(arc, by);
        const auto after = inSpace(arc);
        ASSERT_EQ(after.size(), before.size());
        for (std::size_t i = 0; i < after.size(); ++i) {
            const mmPoint wanted = by.apply(before[i]);
            EXPECT_NEAR(after[i].x, wanted.x, 1e-8) << round;
            EXPECT_NEAR(after[i].y, wanted.y, 1e-8) << round;
            EXPECT_NEAR(after[i].z, wanted.z, 1e-8) << round;
        }
        // What is seen from above is what was computed.
        Box box;
        for (const mmPoint& point : after) box.add(Point2{point.x, point.y});
        const Box extent = extentOf(arc, noBlocks);
        EXPECT_TRUE(
            (Box{extent.left - 1e-8, extent.bottom - 1e-8, extent.right + 1e-8, extent.top + 1e-8}
                 .contains(box)))
            << round;
    }
}

}  // namespace
}  // namespace vlisp::refhost
