// Tests of refhost/model/geometry.h and refhost/model/objects.h.
// One idea: beside tables of known answers, random objects are compared with a twin that is drawn
// another way: as chains of sampled points, arcs by halving bulges, blocks point by point.
// Covers: refhost/model/geometry.cpp, refhost/model/objects.cpp.
#include "tests/refhost/geometry_test.h"

#include "refhost/model/geometry.h"
#include "refhost/model/objects.h"
#include "tests/support/printed_seed.h"
#include "tests/support/special_numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
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
using vlisp::test::printedSeed;

const double half = std::sqrt(0.5);

using Object = std::unique_ptr<VmDbObject>;

// --- Making objects ---

Object line(Point2 from, Point2 to) { return made<VmDbLine>({from, to}); }

Object circle(Point2 centre, double radius) {
    auto object = made<VmDbCircle>({centre});
    object->radius = radius;
    return object;
}

Object arc(Point2 centre, double radius, double start, double end) {
    auto object = made<VmDbArc>({centre});
    object->radius = radius;
    object->startAngle = start;
    object->endAngle = end;
    return object;
}

Object polyline(const std::vector<Point2>& points, bool closed = false,
                const std::vector<double>& bulges = {}) {
    auto object = made<VmDb2DPolyline>(points);
    object->closed = closed ? 1 : 0;
    for (const double bulge : bulges) object->addBulge(bulge);
    return object;
}

Object text(Point2 at, double height, std::u16string_view letters, double rotation = 0,
            VmDbType type = vmDbText) {
    auto object = made<VmDbText>({at});
    object->typeCode = type;
    object->height = height;
    object->rotation = rotation;
    object->text.assign(letters.data(), letters.size());
    return object;
}

Object insert(Point2 at, std::u16string_view name, double xScale = 1, double yScale = 1,
              double rotation = 0) {
    auto object = made<VmDbBlockRef>({at});
    object->blockName.assign(name.data(), name.size());
    object->xScale = xScale;
    object->yScale = yScale;
    object->rotation = rotation;
    return object;
}

Object opaque(const std::vector<Point2>& points) {
    auto object = made<VmDbObject>(points);
    object->typeCode = 12345;
    return object;
}

std::u16string_view lettersOf(const VmDbString& string) {
    return {string.units(), string.length()};
}

Point2 pointAt(const VmDbObject& object, int index) {
    const mmPoint& point = object.points.points[index];
    return {point.x, point.y};
}

// --- Objects ---

TEST(Objects, HaveTheTypeCodeOfTheirClass) {
    EXPECT_EQ(VmDbLine().typeCode, vmDbLine);
    EXPECT_EQ(VmDb2DPolyline().typeCode, vmDbLwPolyline);
    EXPECT_EQ(VmDbCircle().typeCode, vmDbCircle);
    EXPECT_EQ(VmDbArc().typeCode, vmDbArc);
    EXPECT_EQ(VmDbText().typeCode, vmDbText);
    EXPECT_EQ(VmDbBlockRef().typeCode, vmDbInsert);
    EXPECT_EQ(VmDbObject().typeCode, 0);
    EXPECT_EQ(VmDbBlock().id, -1);
}

TEST(Objects, AreCastToTheirOwnClassOnly) {
    const std::array<Object, 7> objects = {line({}, {}),     polyline({}),     circle({}, 1),
                                           arc({}, 1, 0, 1), text({}, 1, u""), insert({}, u""),
                                           opaque({})};
    for (std::size_t i = 0; i < objects.size(); ++i) {
        VmDbObject* object = objects[i].get();
        const std::array<bool, 6> casts = {
            VmDbLine::cast(object) == object,   VmDb2DPolyline::cast(object) == object,
            VmDbCircle::cast(object) == object, VmDbArc::cast(object) == object,
            VmDbText::cast(object) == object,   VmDbBlockRef::cast(object) == object};
        for (std::size_t k = 0; k < casts.size(); ++k) EXPECT_EQ(casts[k], i == k) << i << " " << k;
    }
    EXPECT_EQ(VmDbLine::cast(nullptr), nullptr);
}

TEST(Objects, PointsAndBulgesGrowByDoubling) {
    VmDb2DPolyline object;
    constexpr int many = 10'000;
    int moves = 0;
    const mmPoint* before = nullptr;
    for (int i = 0; i < many; ++i) {
        object.addPoint(mmPoint(i, 2.0 * i, 3.0 * i));
        object.addBulge(0.5 * i);
        if (object.points.points != before) ++moves;
        before = object.points.points;
    }
    EXPECT_LE(moves, 16);
    ASSERT_EQ(object.points.count, many);
    ASSERT_EQ(object.bulges.count, many);
    for (int i = 0; i < many; ++i) {
        EXPECT_EQ(object.points.getAt(i).x, i);
        EXPECT_EQ(object.points.getAt(i).y, 2.0 * i);
        EXPECT_EQ(object.points.getAt(i).z, 3.0 * i);
        EXPECT_EQ(object.bulges.values[i], 0.5 * i);
    }
    object.points.clear();
    EXPECT_EQ(object.points.count, 0);
    object.addPoint(object.points.points[1]);
    EXPECT_EQ(object.points.getAt(0).y, 2.0);
}

TEST(ObjectsDeathTest, APointThatIsNotThereIsOurOwnMistake) {
    VmDbLine object;
    EXPECT_DEATH(object.points.getAt(0), "no such point");
    object.addPoint(mmPoint(1, 2, 3));
    EXPECT_EQ(object.points.getAt(0).z, 3);
    EXPECT_DEATH(object.points.getAt(1), "no such point");
    EXPECT_DEATH(object.points.getAt(-1), "no such point");
}

// An object with a value in every member.
template <class Class> std::unique_ptr<Class> filled(std::int32_t typeCode) {
    auto object = made<Class>({{1, 2}, {3, 4}, {5, 6}});
    object->id = 77;
    object->typeCode = typeCode;
    object->colour = 3;
    object->lineweight = 25;
    object->layerName.assign(u"WALLS", 5);
    object->erased = 1;
    if constexpr (std::is_same_v<Class, VmDb2DPolyline>) {
        object->closed = 1;
        object->addBulge(0.25);
        object->addBulge(-1);
    }
    if constexpr (std::is_same_v<Class, VmDbCircle>) object->radius = 9;
    if constexpr (std::is_same_v<Class, VmDbArc>) {
        object->radius = 8;
        object->startAngle = 1;
        object->endAngle = 2;
    }
    if constexpr (std::is_same_v<Class, VmDbText>) {
        object->text.assign(u"abc", 3);
        object->height = 2.5;
        object->rotation = 30;
    }
    if constexpr (std::is_same_v<Class, VmDbBlockRef>) {
        object->blockName.assign(u"DOOR", 4);
        object->xScale = 2;
        object->yScale = 3;
        object->rotation = 45;
    }
    return object;
}

template <class Class> void expectSame(const VmDbObject& actual, const Class& expected) {
    EXPECT_EQ(typeid(actual), typeid(expected));
    EXPECT_EQ(actual.typeCode, expected.typeCode);
    EXPECT_EQ(actual.colour, expected.colour);
    EXPECT_EQ(actual.lineweight, expected.lineweight);
    EXPECT_EQ(lettersOf(actual.layerName), lettersOf(expected.layerName));
    ASSERT_EQ(actual.points.count, expected.points.count);
    for (int i = 0; i < actual.points.count; ++i)
        EXPECT_EQ(pointAt(actual, i), pointAt(expected, i));
    if (actual.points.count > 0) {
        EXPECT_NE(actual.points.points, expected.points.points);
    }
    [[maybe_unused]] const auto& same = dynamic_cast<const Class&>(actual);
    if constexpr (std::is_same_v<Class, VmDb2DPolyline>) {
        EXPECT_EQ(same.closed, expected.closed);
        ASSERT_EQ(same.bulges.count, expected.bulges.count);
        for (int i = 0; i < same.bulges.count; ++i)
            EXPECT_EQ(same.bulges.values[i], expected.bulges.values[i]);
    }
    if constexpr (std::is_same_v<Class, VmDbCircle>) {
        EXPECT_EQ(same.radius, expected.radius);
    }
    if constexpr (std::is_same_v<Class, VmDbArc>) {
        EXPECT_EQ(same.radius, expected.radius);
        EXPECT_EQ(same.startAngle, expected.startAngle);
        EXPECT_EQ(same.endAngle, expected.endAngle);
    }
    if constexpr (std::is_same_v<Class, VmDbText>) {
        EXPECT_EQ(lettersOf(same.text), lettersOf(expected.text));
        EXPECT_EQ(same.height, expected.height);
        EXPECT_EQ(same.rotation, expected.rotation);
    }
    if constexpr (std::is_same_v<Class, VmDbBlockRef>) {
        EXPECT_EQ(lettersOf(same.blockName), lettersOf(expected.blockName));
        EXPECT_EQ(same.xScale, expected.xScale);
        EXPECT_EQ(same.yScale, expected.yScale);
        EXPECT_EQ(same.rotation, expected.rotation);
    }
}

template <class Class> class EachClass : public testing::Test {};
using Classes = testing::Types<VmDbObject, VmDbLine, VmDb2DPolyline, VmDbCircle, VmDbArc, VmDbText,
                               VmDbBlockRef>;
TYPED_TEST_SUITE(EachClass, Classes);

TYPED_TEST(EachClass, IsClonedWithIdAndErasedFlag) {
    const auto original = filled<TypeParam>(4242);
    const Object copy = clone(*original);
    expectSame(*copy, *original);
    EXPECT_EQ(copy->id, 77);
    EXPECT_EQ(copy->erased, 1);
    const Object copyOfEmpty = clone(TypeParam());
    expectSame(*copyOfEmpty, TypeParam());
    EXPECT_EQ(copyOfEmpty->id, -1);
}

TYPED_TEST(EachClass, IsCopiedWithoutIdAndErasedFlag) {
    const auto original = filled<TypeParam>(4242);
    TypeParam copy;
    copy.id = 5;
    // More and fewer than what is there before.
    for (int i = 0; i < 2; ++i) {
        copy.copyFrom(original.get());
        expectSame(copy, *original);
        EXPECT_EQ(copy.id, 5);
        EXPECT_EQ(copy.erased, 0);
        for (int k = 0; k < 20; ++k) copy.addPoint(mmPoint());
    }
    copy.copyFrom(original.get());
    copy.copyFrom(&copy);
    expectSame(copy, *original);
    copy.copyFrom(nullptr);
    expectSame(copy, *original);
    const TypeParam empty;
    copy.copyFrom(&empty);
    expectSame(copy, empty);
}

TYPED_TEST(EachClass, TakesFromAnotherClassWhatAllObjectsHave) {
    const auto other = [] {
        if constexpr (std::is_same_v<TypeParam, VmDbLine>) return filled<VmDbArc>(4242);
        else return filled<VmDbLine>(4242);
    }();
    TypeParam copy;
    const std::int32_t typeCode = copy.typeCode;
    copy.copyFrom(other.get());
    EXPECT_EQ(copy.typeCode, typeCode);
    EXPECT_EQ(copy.colour, 3);
    EXPECT_EQ(copy.lineweight, 25);
    EXPECT_EQ(lettersOf(copy.layerName), u"WALLS");
    ASSERT_EQ(copy.points.count, 3);
    EXPECT_EQ(pointAt(copy, 2), (Point2{5, 6}));
    // The members of its own class stay as they were.
    TypeParam expected;
    for (int i = 0; i < 3; ++i) expected.addPoint(other->points.points[i]);
    expected.colour = 3;
    expected.lineweight = 25;
    expected.layerName = other->layerName;
    expectSame(copy, expected);
}

// --- Boxes ---

TEST(Box, IsEmptyAtFirstAndWithoutNumbers) {
    EXPECT_TRUE(Box().isEmpty());
    EXPECT_TRUE((Box{nan, 0, 1, 1}.isEmpty()));
    EXPECT_TRUE((Box{0, 0, 1, nan}.isEmpty()));
    EXPECT_TRUE((Box{2, 0, 1, 1}.isEmpty()));
    EXPECT_FALSE((Box{1, 1, 1, 1}.isEmpty()));
    EXPECT_TRUE(Box::between({nan, 0}, {0, nan}).isEmpty());
    EXPECT_EQ(Box::between({3, 1}, {1, 4}), (Box{1, 1, 3, 4}));
}

TEST(Box, GrowsToHoldPointsAndBoxes) {
    Box box;
    box.add(Point2{1, 2});
    EXPECT_EQ(box, (Box{1, 2, 1, 2}));
    box.add(Point2{-1, 5});
    EXPECT_EQ(box, (Box{-1, 2, 1, 5}));
    box.add(Box());
    box.add(Point2{nan, 100});
    EXPECT_EQ(box, (Box{-1, 2, 1, 5}));
    box.add(Box{0, 0, 9, 1});
    EXPECT_EQ(box, (Box{-1, 0, 9, 5}));
    Box empty;
    empty.add(box);
    EXPECT_EQ(empty, box);
}

TEST(Box, AnswersWhereThingsAre) {
    const Box box{0, 0, 4, 2};
    struct Row {
        Point2 point;
        double distance;
    };
    const Row rows[] = {{{1, 1}, 0},   {{0, 0}, 0},     {{4, 2}, 0},     {{5, 1}, 1},
                        {{-2, 1}, 2},  {{1, 5}, 3},     {{2, -4}, 4},    {{7, 6}, 5},
                        {{-3, -4}, 5}, {{nan, 1}, inf}, {{1, inf}, inf}, {{-inf, 0}, inf}};
    for (const Row& row : rows) {
        EXPECT_EQ(box.distance(row.point), row.distance) << row.point.x << " " << row.point.y;
        EXPECT_EQ(box.contains(row.point), row.distance == 0) << row.point.x << " " << row.point.y;
    }
    EXPECT_EQ(Box().distance({0, 0}), inf);
    EXPECT_FALSE(Box().contains(Point2{0, 0}));
    struct Pair {
        Box other;
        bool intersects;
        bool contains;
    };
    const Pair pairs[] = {{{1, 1, 2, 2}, true, true},    {{0, 0, 4, 2}, true, true},
                          {{-1, 0, 4, 2}, true, false},  {{4, 2, 9, 9}, true, false},
                          {{5, 0, 6, 1}, false, false},  {{0, 3, 1, 4}, false, false},
                          {{-9, -9, 9, 9}, true, false}, {Box(), false, false},
                          {{1, nan, 2, 2}, false, false}};
    for (const Pair& pair : pairs) {
        EXPECT_EQ(box.intersects(pair.other), pair.intersects) << pair.other.left;
        EXPECT_EQ(pair.other.intersects(box), pair.intersects) << pair.other.left;
        EXPECT_EQ(box.contains(pair.other), pair.contains) << pair.other.left;
    }
}

// --- Known answers ---

TEST(Extent, OfEveryClass) {
    struct Row {
        const char* what;
        Object object;
        Box expected;
    };
    std::vector<Row> rows;
    const auto row = [&rows](const char* what, Object object, Box expected) {
        rows.push_back({what, std::move(object), expected});
    };
    row("line", line({3, 1}, {-1, 5}), {-1, 1, 3, 5});
    row("line of one point", made<VmDbLine>({{2, 3}}), {2, 3, 2, 3});
    row("line of three points", made<VmDbLine>({{2, 3}, {4, 5}, {99, 99}}), {2, 3, 4, 5});
    row("line without points", made<VmDbLine>({}), {});
    row("circle", circle({1, 2}, 3), {-2, -1, 4, 5});
    row("circle, negative radius", circle({1, 2}, -3), {-2, -1, 4, 5});
    row("circle, no radius", circle({1, 2}, 0), {1, 2, 1, 2});
    row("circle without centre", made<VmDbCircle>({}), {});
    row("arc, first quadrant", arc({0, 0}, 2, 0, pi / 2), {0, 0, 2, 2});
    row("arc over the top", arc({0, 0}, 2, pi / 4, 3 * pi / 4), {-2 * half, 2 * half, 2 * half, 2});
    row("arc over angle 0", arc({0, 0}, 2, -pi / 4, pi / 4), {2 * half, -2 * half, 2, 2 * half});
    row("the same, a turn on", arc({0, 0}, 2, 7 * pi / 4, 9 * pi / 4),
        {2 * half, -2 * half, 2, 2 * half});
    row("arc through three quadrant points", arc({0, 0}, 1, pi / 4, 7 * pi / 4), {-1, -1, half, 1});
    row("arc all but a quadrant", arc({0, 0}, 1, pi / 2, 0), {-1, -1, 1, 1});
    row("arc with equal angles", arc({0, 0}, 1, 1, 1), {-1, -1, 1, 1});
    row("arc of a full turn", arc({0, 0}, 1, 0, 2 * pi), {-1, -1, 1, 1});
    row("arc, negative radius", arc({0, 0}, -2, 0, pi / 2), {0, 0, 2, 2});
    row("polyline", polyline({{0, 0}, {4, 1}, {2, 6}}), {0, 0, 4, 6});
    row("polyline of one vertex", polyline({{7, 8}}, true, {1}), {7, 8, 7, 8});
    row("polyline without vertices", polyline({}, true, {1}), {});
    row("half circle below", polyline({{0, 0}, {2, 0}}, false, {1}), {0, -1, 2, 0});
    row("half circle above", polyline({{0, 0}, {2, 0}}, false, {-1}), {0, 0, 2, 1});
    row("last bulge of an open one", polyline({{0, 0}, {2, 0}}, false, {0, 1}), {0, 0, 2, 0});
    row("two half circles", polyline({{0, 0}, {2, 0}}, true, {1, 1}), {0, -1, 2, 1});
    row("quarter circle", polyline({{1, 0}, {0, 1}}, false, {std::tan(pi / 8)}), {0, 0, 1, 1});
    row("more bulges than vertices", polyline({{0, 0}, {2, 0}}, true, {1, 0, 9, 9}), {0, -1, 2, 0});
    row("tiny bulge", polyline({{0, 0}, {2, 0}}, false, {1e-300}), {0, 0, 2, 0});
    row("text", text({1, 2}, 2, u"abcde"), {1, 2, 7, 4});
    row("text, no letters", text({1, 2}, 2, u""), {1, 2, 1, 4});
    row("text, upright", text({1, 2}, 2, u"abcde", 90), {-1, 2, 1, 8});
    row("text, upside down", text({1, 2}, 2, u"abcde", 180), {-5, 0, 1, 2});
    row("text, 45 degrees", text({0, 0}, 1, u"abcde", 45), {-half, 0, 3 * half, 4 * half});
    row("text, negative height", text({1, 2}, -2, u"abcde"), {1, 2, 7, 4});
    row("text with a separator", text({0, 0}, 1, u"a\\Pbc"), {0, 0, 3, 1});
    row("pairs of surrogates", text({0, 0}, 1, u"\U0001F600\U0001F600"), {0, 0, 1.2, 1});
    row("lone surrogates", text({0, 0}, 1, u"\xD800\xD800\xDC00\xDC00"), {0, 0, 1.8, 1});
    row("mtext", text({1, 2}, 3, u"abc", 0, vmDbMText), {1, -1, 1 + 5.4, 2});
    row("mtext of three lines", text({0, 0}, 3, u"a\\Pbcd\\Pe", 0, vmDbMText), {0, -13, 5.4, 0});
    row("mtext, longest last", text({0, 0}, 3, u"\\P\\Pbcd", 0, vmDbMText), {0, -13, 5.4, 0});
    row("mtext, other letter", text({0, 0}, 1, u"a\\pb", 0, vmDbMText), {0, -1, 2.4, 0});
    row("mtext, turned", text({0, 0}, 3, u"abc", 90, vmDbMText), {0, 0, 3, 5.4});
    row("insert without block", insert({5, 6}, u"NONE"), {5, 6, 5, 6});
    row("insert without point", made<VmDbBlockRef>({}), {});
    row("opaque", opaque({{1, 1}, {4, 0}, {2, 7}}), {1, 0, 4, 7});
    row("opaque without points", opaque({}), {});
    for (const Row& each : rows) {
        SCOPED_TRACE(each.what);
        expectNear(extentOf(*each.object, noBlocks), each.expected);
    }
}

TEST(Extent, OfInserts) {
    Blocks blocks;
    blocks.define(u"BAR", {1, 0}, line({1, 0}, {4, 0}), line({4, 0}, {4, 1}));
    blocks.define(u"ROUND", {0, 0}, circle({0, 0}, 1));
    blocks.define(u"QUARTER", {0, 0}, arc({0, 0}, 1, 0, pi / 2));
    blocks.define(u"LABEL", {0, 0}, text({0, 0}, 1, u"abcde"));
    blocks.define(u"TWO", {0, 0}, insert({0, 0}, u"BAR"), insert({0, 10}, u"BAR", 2, 2, 90));
    blocks.define(u"HOLLOW", {0, 0});
    blocks.define(u"DEFECT", {0, 0}, circle({nan, 0}, 1), insert({1, 1}, u"NONE"));
    auto erased = circle({50, 50}, 1);
    erased->erased = 1;
    blocks.define(u"ERASED", {0, 0}, std::move(erased), line({0, 0}, {1, 1}));
    struct Row {
        const char* what;
        Object object;
        Box expected;
    };
    std::vector<Row> rows;
    const auto row = [&rows](const char* what, Object object, Box expected) {
        rows.push_back({what, std::move(object), expected});
    };
    row("moved", insert({10, 20}, u"BAR"), {10, 20, 13, 21});
    row("turned", insert({10, 20}, u"BAR", 1, 1, 90), {9, 20, 10, 23});
    row("scaled", insert({10, 20}, u"BAR", 2, 5), {10, 20, 16, 25});
    row("mirrored", insert({10, 20}, u"BAR", -1, 1), {7, 20, 10, 21});
    row("no scale", insert({10, 20}, u"BAR", 0, 0), {10, 20, 10, 20});
    row("ellipse", insert({0, 0}, u"ROUND", 3, 2), {-3, -2, 3, 2});
    row("turned ellipse", insert({0, 0}, u"ROUND", 3, 1, 45),
        {-std::sqrt(5), -std::sqrt(5), std::sqrt(5), std::sqrt(5)});
    row("flat ellipse", insert({0, 0}, u"ROUND", 3, 0), {-3, 0, 3, 0});
    row("elliptic arc", insert({0, 0}, u"QUARTER", 3, 2, 90), {-2, 0, 0, 3});
    row("mirrored arc", insert({0, 0}, u"QUARTER", 3, -2), {0, -2, 3, 0});
    row("stretched text", insert({0, 0}, u"LABEL", 2, 3), {0, 0, 6, 3});
    row("nested", insert({100, 0}, u"TWO"), {98, 0, 103, 16});
    row("block without contents", insert({5, 6}, u"HOLLOW"), {5, 6, 5, 6});
    row("insert of no block in a block", insert({5, 6}, u"DEFECT"), {5, 6, 5, 6});
    row("erased contents", insert({0, 0}, u"ERASED"), {0, 0, 1, 1});
    for (const Row& each : rows) {
        SCOPED_TRACE(each.what);
        expectNear(extentOf(*each.object, blocks.lookup()), each.expected);
    }
}

TEST(Distance, ToEveryClass) {
    Blocks blocks;
    blocks.define(u"ROUND", {0, 0}, circle({0, 0}, 1));
    blocks.define(u"TURNED", {0, 0}, insert({0, 0}, u"ROUND", 1, 1, 45));
    blocks.define(u"LABEL", {0, 0}, text({0, 0}, 1, u"abcde"));
    struct Row {
        const char* what;
        Object object;
        Point2 point;
        double expected;
    };
    std::vector<Row> rows;
    const auto row = [&rows](const char* what, Object object, Point2 point, double expected) {
        rows.push_back({what, std::move(object), point, expected});
    };
    row("on a line", line({0, 0}, {4, 4}), {2, 2}, 0);
    row("beside a line", line({0, 0}, {10, 0}), {3, -2}, 2);
    row("beyond a line's end", line({0, 0}, {10, 0}), {13, 4}, 5);
    row("line of no length", line({1, 1}, {1, 1}), {4, 5}, 5);
    row("in a circle", circle({0, 0}, 5), {3, 0}, 2);
    row("centre of a circle", circle({0, 0}, 5), {0, 0}, 5);
    row("outside a circle", circle({0, 0}, 5), {6, 8}, 5);
    row("beside an arc", arc({0, 0}, 5, 0, pi / 2), {6 * half, 6 * half}, 1);
    row("behind an arc", arc({0, 0}, 5, 0, pi / 2), {-1, 0}, std::hypot(1, 5));
    row("below an arc's start", arc({0, 0}, 5, 0, pi / 2), {5, -2}, 2);
    row("arc over angle 0", arc({0, 0}, 5, -1, 1), {7, 0}, 2);
    row("on a half circle", polyline({{0, 0}, {2, 0}}, false, {1}), {1, -1}, 0);
    row("opposite a half circle", polyline({{0, 0}, {2, 0}}, false, {1}), {1, 1}, std::sqrt(2));
    row("closing segment", polyline({{0, 0}, {4, 0}, {4, 4}}, true), {2, 2}, 0);
    row("no closing segment", polyline({{0, 0}, {4, 0}, {4, 4}}), {2, 2}, 2);
    row("on a text", text({0, 0}, 1, u"abcde"), {1.5, 0.5}, 0);
    row("above a text", text({0, 0}, 1, u"abcde"), {1.5, 3}, 2);
    row("on a turned text", text({0, 0}, 1, u"abcde", 90), {-0.5, 2.9}, 0);
    row("beside a turned text", text({0, 0}, 1, u"abcde", 90), {1.5, 0.5}, 1.5);
    row("on an mtext's second line", text({0, 0}, 3, u"a\\Pb", 0, vmDbMText), {1, -7.9}, 0);
    row("below an mtext", text({0, 0}, 3, u"a\\Pb", 0, vmDbMText), {1, -9}, 1);
    row("text without letters", text({0, 0}, 1, u""), {2, 0.5}, 2);
    row("opaque", opaque({{0, 0}, {9, 9}}), {9, 5}, 4);
    row("without points", made<VmDbLine>({}), {0, 0}, inf);
    row("insert of nothing", insert({1, 1}, u"NONE"), {4, 5}, 5);
    row("ellipse, beyond its tip", insert({0, 0}, u"ROUND", 3, 2), {5, 0}, 2);
    row("ellipse, above", insert({0, 0}, u"ROUND", 3, 2), {0, 5}, 3);
    row("ellipse, centre", insert({0, 0}, u"ROUND", 3, 2), {0, 0}, 2);
    // Its two axes are as long as each other, yet not at right angles.
    row("ellipse of a turned circle", insert({0, 0}, u"TURNED", 3, 1), {5, 0}, 2);
    row("the same, above", insert({0, 0}, u"TURNED", 3, 1), {0, 5}, 4);
    row("flat ellipse", insert({0, 0}, u"ROUND", 3, 0), {1, 2}, 2);
    row("flat ellipse, beyond", insert({0, 0}, u"ROUND", 3, 0), {6, 4}, 5);
    row("circle of half a scale", insert({0, 0}, u"ROUND", 0, 0), {3, 4}, 5);
    row("mirrored circle", insert({0, 0}, u"ROUND", -2, 2, 30), {0, 5}, 3);
    row("stretched text", insert({0, 0}, u"LABEL", 2, 3), {3, 5}, 2);
    row("point that is not a number", line({0, 0}, {1, 1}), {nan, 0}, inf);
    row("infinite point", line({0, 0}, {1, 1}), {0, inf}, inf);
    for (const Row& each : rows) {
        const double actual = distanceTo(*each.object, each.point, blocks.lookup());
        if (std::isinf(each.expected)) EXPECT_EQ(actual, each.expected) << each.what;
        else EXPECT_NEAR(actual, each.expected, 1e-9) << each.what;
    }
}

TEST(Windows, CrossAndHold) {
    Blocks blocks;
    blocks.define(u"ROUND", {0, 0}, circle({0, 0}, 1));
    struct Row {
        const char* what;
        Object object;
        Box box;
        bool crossed;
        bool held;
    };
    std::vector<Row> rows;
    const auto row = [&rows](const char* what, Object object, Box box, bool crossed, bool held) {
        rows.push_back({what, std::move(object), box, crossed, held});
    };
    row("line through", line({-5, 1}, {5, 1}), {0, 0, 2, 2}, true, false);
    row("line in", line({0.5, 1}, {1, 1}), {0, 0, 2, 2}, true, true);
    row("line on the border", line({0, 0}, {2, 0}), {0, 0, 2, 2}, true, true);
    row("line past a corner", line({-1, 2}, {2, 5}), {0, 0, 2, 2}, false, false);
    row("line through a corner", line({1, 3}, {3, 1}), {0, 0, 2, 2}, true, false);
    row("line up to the border", line({-3, 1}, {0, 1}), {0, 0, 2, 2}, true, false);
    row("line short of it", line({-3, 1}, {-0.001, 1}), {0, 0, 2, 2}, false, false);
    row("circle around the window", circle({1, 1}, 5), {0, 0, 2, 2}, false, false);
    row("circle in", circle({1, 1}, 1), {0, 0, 2, 2}, true, true);
    row("circle over one side", circle({3, 1}, 1.5), {0, 0, 2, 2}, true, false);
    row("circle that touches a side", circle({3, 1}, 1), {0, 0, 2, 2}, true, false);
    row("circle near a corner", circle({3, 3}, 1.4), {0, 0, 2, 2}, false, false);
    row("circle over a corner", circle({3, 3}, 1.5), {0, 0, 2, 2}, true, false);
    row("arc away", arc({3, 1}, 1.5, -pi / 2, pi / 2), {0, 0, 2, 2}, false, false);
    row("arc towards", arc({3, 1}, 1.5, pi / 2, -pi / 2), {0, 0, 2, 2}, true, false);
    row("bulge into", polyline({{0, 3}, {2, 3}}, false, {2}), {0, 0, 2, 2}, true, false);
    row("bulge away", polyline({{0, 3}, {2, 3}}, false, {-2}), {0, 0, 2, 2}, false, false);
    row("closing segment", polyline({{-1, -1}, {5, -1}, {5, 5}}, true), {0, 0, 2, 2}, true, false);
    row("no closing segment", polyline({{-1, -1}, {5, -1}, {5, 5}}), {0, 0, 2, 2}, false, false);
    row("window in a text", text({-9, -9}, 20, u"abcde"), {0, 0, 2, 2}, true, false);
    row("text in", text({0.5, 0.5}, 1, u"a"), {0, 0, 2, 2}, true, true);
    row("text beside, extents over", text({0, 2.5}, 1, u"abcde", -45), {-2, -2, 0.2, 0.2}, false,
        false);
    row("insert in", insert({1, 1}, u"ROUND", 1, 0.5), {0, 0, 2, 2}, true, true);
    row("ellipse around", insert({1, 1}, u"ROUND", 5, 3), {0, 0, 2, 2}, false, false);
    row("ellipse through", insert({1, 1}, u"ROUND", 5, 0.5), {0, 0, 2, 2}, true, false);
    row("ellipse that touches", insert({1, 1}, u"ROUND", 5, 0.5), {0, 1.5, 2, 2}, true, false);
    row("empty window", line({0, 0}, {1, 1}), Box(), false, false);
    row("window without numbers", line({0, 0}, {1, 1}), {nan, -9, 9, 9}, false, false);
    row("window without end", circle({0, 0}, 1), {-inf, -inf, inf, inf}, true, true);
    row("half the plane", circle({0, 0}, 1), {0, -inf, inf, inf}, true, false);
    row("window of one point", line({0, 0}, {4, 0}), {1, 0, 1, 0}, true, false);
    row("nothing drawn", made<VmDbLine>({}), {-9, -9, 9, 9}, false, false);
    for (const Row& each : rows) {
        EXPECT_EQ(crosses(*each.object, each.box, blocks.lookup()), each.crossed) << each.what;
        EXPECT_EQ(inside(*each.object, each.box, blocks.lookup()), each.held) << each.what;
    }
}

TEST(PointOn, IsAPointOfTheObject) {
    expectNear(pointOn(*line({0, 0}, {4, 2})), {2, 1});
    expectNear(pointOn(*made<VmDbLine>({{3, 4}})), {3, 4});
    expectNear(pointOn(*circle({1, 1}, 2)), {3, 1});
    expectNear(pointOn(*arc({0, 0}, 2, 0, pi)), {0, 2});
    expectNear(pointOn(*arc({0, 0}, 2, pi, 0)), {0, -2});
    expectNear(pointOn(*polyline({{5, 6}, {7, 8}})), {5, 6});
    expectNear(pointOn(*text({1, 2}, 1, u"a")), {1, 2});
    expectNear(pointOn(*insert({1, 2}, u"A")), {1, 2});
    expectNear(pointOn(*opaque({{1, 2}, {3, 4}})), {1, 2});
    EXPECT_EQ(pointOn(*opaque({})), Point2());
}

TEST(Measures, LengthAndArea) {
    struct Row {
        const char* what;
        Object object;
        double length;
        double area;
    };
    std::vector<Row> rows;
    const auto row = [&rows](const char* what, Object object, double length, double area) {
        rows.push_back({what, std::move(object), length, area});
    };
    const double quarter = std::tan(pi / 8);
    row("line", line({0, 0}, {3, 4}), 5, 0);
    row("circle", circle({9, 9}, 2), 4 * pi, 4 * pi);
    row("circle, negative radius", circle({9, 9}, -2), 4 * pi, 4 * pi);
    row("arc", arc({0, 0}, 2, -pi / 4, pi / 4), pi, 0);
    row("open polyline", polyline({{0, 0}, {3, 0}, {3, 4}}), 7, 0);
    row("closed polyline", polyline({{0, 0}, {3, 0}, {3, 4}}, true), 12, 6);
    row("clockwise", polyline({{3, 4}, {3, 0}, {0, 0}}, true), 12, 6);
    row("two half circles", polyline({{0, 0}, {2, 0}}, true, {1, 1}), 2 * pi, pi);
    row("two half circles, clockwise", polyline({{0, 0}, {2, 0}}, true, {-1, -1}), 2 * pi, pi);
    row("half a disk", polyline({{0, 0}, {2, 0}}, true, {1}), pi + 2, pi / 2);
    row("a quarter and three", polyline({{1, 0}, {0, 1}}, true, {quarter, 1 / quarter}), 2 * pi,
        pi);
    row("square with a bite", polyline({{0, 0}, {2, 0}, {2, 2}, {0, 2}}, true, {-1}), 6 + pi,
        4 - pi / 2);
    row("far away", polyline({{1e6, 1e6}, {1e6 + 1, 1e6}, {1e6, 1e6 + 1}}, true), 2 + std::sqrt(2),
        0.5);
    row("small bulges", polyline({{0, 0}, {3, 0}}, true, {1e-3, 1e-3}), 6 + 4e-6, 6e-3);
    row("text", text({0, 0}, 1, u"abc"), 0, 0);
    row("insert", insert({0, 0}, u"A"), 0, 0);
    row("opaque", opaque({{0, 0}, {1, 1}}), 0, 0);
    row("without points", polyline({}, true), 0, 0);
    for (const Row& each : rows) {
        EXPECT_NEAR(length(*each.object), each.length, 3e-9) << each.what;
        EXPECT_NEAR(area(*each.object), each.area, 3e-9) << each.what;
    }
}

// Two thirds of chord and height, to all digits.
TEST(Measures, AreasOfFlatArcsKeepTheirDigits) {
    for (const double bulge : {1e-3, 1e-5, 1e-7}) {
        const double two = 2 * 1e8 * bulge / 3;
        EXPECT_NEAR(area(*polyline({{0, 0}, {1e4, 0}}, true, {bulge, bulge})) / two, 1,
                    1e-9 + bulge * bulge)
            << bulge;
    }
}

TEST(ArcThrough, RunsThroughAllThreeFromTheFirstToTheLast) {
    const auto up = arcThrough({1, 0}, {half, half}, {0, 1});
    ASSERT_TRUE(up);
    expectNear(up->centre, {0, 0});
    EXPECT_NEAR(up->radius, 1, 1e-12);
    EXPECT_NEAR(up->startAngle, 0, 1e-12);
    EXPECT_NEAR(up->endAngle, pi / 2, 1e-12);
    // Clockwise: start and end change places.
    const auto down = arcThrough({5, 8}, {8, 5}, {5, 2});
    ASSERT_TRUE(down);
    expectNear(down->centre, {5, 5});
    EXPECT_NEAR(down->radius, 3, 1e-12);
    EXPECT_NEAR(down->startAngle, 3 * pi / 2, 1e-12);
    EXPECT_NEAR(down->endAngle, pi / 2, 1e-12);
    const auto large = arcThrough({1e100, 0}, {0, 1e100}, {-1e100, 0});
    ASSERT_TRUE(large);
    EXPECT_NEAR(large->radius / 1e100, 1, 1e-9);
}

TEST(ArcThrough, FailsWithoutABend) {
    const Point2 rows[][3] = {{{0, 0}, {1, 1}, {2, 2}},
                              {{0, 0}, {2, 2}, {1, 1}},
                              {{0, 0}, {0, 0}, {1, 1}},
                              {{0, 0}, {1, 1}, {0, 0}},
                              {{0, 0}, {1, 1}, {1, 1}},
                              {{3, 3}, {3, 3}, {3, 3}},
                              {{0.1, 0.1}, {0.3, 0.3}, {0.7, 0.7}},
                              {{nan, 0}, {1, 1}, {2, 0}},
                              {{0, 0}, {1, inf}, {2, 0}},
                              {{0, 0}, {1, 1}, {2, -inf}}};
    for (const auto& [first, second, last] : rows)
        EXPECT_FALSE(arcThrough(first, second, last))
            << first.x << " " << second.x << " " << last.x;
}

// --- Transformations ---

TEST(Similarity, QuarterTurnsAreExact) {
    EXPECT_EQ(Similarity::rotated(pi / 2, {0, 0}).apply(Point2{10, 0}), (Point2{0, 10}));
    EXPECT_EQ(Similarity::rotated(pi, {1, 0}).apply(Point2{10, 0}), (Point2{-8, 0}));
    EXPECT_EQ(Similarity::rotated(-pi / 2, {0, 0}).apply(Point2{10, 0}), (Point2{0, -10}));
    EXPECT_EQ(Similarity::rotated(2 * pi, {3, 3}).apply(Point2{10, 0}), (Point2{10, 0}));
}

TEST(Similarity, IsComposedInOrder) {
    const auto turn = Similarity::rotated(0.7, {3, -2});
    const auto scale = Similarity::scaled(2.5, mmPoint(-1, 4, 1));
    const auto mirror = Similarity::scaled(-2, mmPoint(1, 1, 0));
    const auto move = Similarity::moved(mmPoint(10, 20, 30));
    const mmPoint point(1.5, -7, 2);
    const Similarity all = turn.then(scale).then(move).then(mirror).then(turn);
    const mmPoint expected = turn.apply(mirror.apply(move.apply(scale.apply(turn.apply(point)))));
    const mmPoint actual = all.apply(point);
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
    EXPECT_NEAR(actual.z, expected.z, 1e-9);
    EXPECT_NEAR(all.factor, 5, 1e-12);
    EXPECT_NEAR(all.angle, 1.4 + pi, 1e-12);
    // What each does to its own base, and to other points.
    expectNear(turn.apply(Point2{3, -2}), {3, -2});
    expectNear(scale.apply(Point2{0, 4}), {1.5, 4});
    expectNear(mirror.apply(Point2{2, 1}), {-1, 1});
    EXPECT_EQ(scale.apply(mmPoint(0, 0, 2)).z, 3.5);
    EXPECT_EQ(turn.apply(mmPoint(0, 0, 2)).z, 2);
    EXPECT_EQ(move.apply(mmPoint(0, 0, 2)).z, 32);
    EXPECT_EQ(Similarity().apply(Point2{4, 5}), (Point2{4, 5}));
}

TEST(Transform, ChangesWhatTheObjectHas) {
    const Similarity by =
        Similarity::rotated(pi / 2, {0, 0}).then(Similarity::scaled(2, mmPoint()));
    Object turned = arc({1, 0}, 3, 6, 1);
    transform(*turned, by);
    expectNear(pointAt(*turned, 0), {0, 2});
    const auto& turnedArc = dynamic_cast<const VmDbArc&>(*turned);
    EXPECT_EQ(turnedArc.radius, 6);
    EXPECT_NEAR(turnedArc.startAngle, 6 + pi / 2 - 2 * pi, 1e-12);
    EXPECT_NEAR(turnedArc.endAngle, 1 + pi / 2, 1e-12);

    Object label = text({1, 2}, 3, u"abc", 300);
    label->points.points[0].z = 7;
    transform(*label, by);
    EXPECT_EQ(label->points.points[0].z, 14);
    EXPECT_EQ(dynamic_cast<const VmDbText&>(*label).height, 6);
    EXPECT_NEAR(dynamic_cast<const VmDbText&>(*label).rotation, 30, 1e-9);

    Object door = insert({1, 2}, u"DOOR", 2, -3, 10);
    transform(*door, by);
    EXPECT_EQ(dynamic_cast<const VmDbBlockRef&>(*door).xScale, 4);
    EXPECT_EQ(dynamic_cast<const VmDbBlockRef&>(*door).yScale, -6);
    EXPECT_NEAR(dynamic_cast<const VmDbBlockRef&>(*door).rotation, 100, 1e-9);

    Object bulging = polyline({{1, 0}, {2, 0}}, true, {0.5, -0.25});
    transform(*bulging, by);
    expectNear(pointAt(*bulging, 0), {0, 2});
    expectNear(pointAt(*bulging, 1), {0, 4});
    EXPECT_EQ(dynamic_cast<const VmDb2DPolyline&>(*bulging).bulges.values[0], 0.5);
    EXPECT_EQ(dynamic_cast<const VmDb2DPolyline&>(*bulging).bulges.values[1], -0.25);

    Object round = circle({1, 0}, 3);
    transform(*round, by);
    EXPECT_EQ(dynamic_cast<const VmDbCircle&>(*round).radius, 6);

    Object unknown = opaque({{1, 0}, {3, 0}});
    transform(*unknown, by);
    expectNear(pointAt(*unknown, 1), {0, 6});
}

TEST(Transform, LeavesAnglesAloneWithoutATurn) {
    Object whole = arc({0, 0}, 1, 0, 2 * pi);
    Object label = text({0, 0}, 1, u"a", -30);
    for (VmDbObject* object : {whole.get(), label.get()})
        transform(*object, Similarity::moved(mmPoint(1, 1, 0)));
    EXPECT_EQ(dynamic_cast<const VmDbArc&>(*whole).endAngle, 2 * pi);
    EXPECT_EQ(dynamic_cast<const VmDbText&>(*label).rotation, -30);
    // A turned whole circle stays whole.
    transform(*whole, Similarity::rotated(1, {0, 0}));
    EXPECT_NEAR(length(*whole), 2 * pi, 1e-12);
}

// --- Blocks without end ---

TEST(Inserts, OfABlockInItselfShowTheRestOnce) {
    Blocks blocks;
    blocks.define(u"SELF", {0, 0}, line({0, 0}, {1, 0}), insert({1, 0}, u"SELF"));
    blocks.define(u"PING", {0, 0}, insert({1, 0}, u"PONG"), line({0, 0}, {1, 0}));
    blocks.define(u"PONG", {0, 0}, insert({1, 0}, u"PING"), line({0, 0}, {5, 0}));
    blocks.define(u"ONLY", {0, 0}, insert({1, 0}, u"ONLY"));
    expectNear(extentOf(*insert({0, 0}, u"SELF"), blocks.lookup()), {0, 0, 1, 0});
    expectNear(extentOf(*insert({0, 0}, u"PING"), blocks.lookup()), {0, 0, 6, 0});
    expectNear(extentOf(*insert({3, 4}, u"ONLY"), blocks.lookup()), {3, 4, 3, 4});
    EXPECT_NEAR(distanceTo(*insert({0, 0}, u"SELF"), {3, 0}, blocks.lookup()), 2, 1e-12);
    EXPECT_FALSE(crosses(*insert({0, 0}, u"SELF"), {1.5, -1, 9, 1}, blocks.lookup()));
}

// B1 holds `count` inserts of B2, and so on; the last block holds a line.
Blocks chain(int depth, int count) {
    const auto name = [](int level) {
        const std::string digits = "B" + std::to_string(level);
        return std::u16string(digits.begin(), digits.end());
    };
    Blocks blocks;
    for (int level = 1; level < depth; ++level)
        for (int i = 0; i < count; ++i) blocks.add(name(level), insert({1, 0}, name(level + 1)));
    blocks.add(name(depth), line({0, 0}, {1, 0}));
    return blocks;
}

TEST(Inserts, AreFollowedSixteenDeep) {
    const Object top = insert({0, 0}, u"B1");
    expectNear(extentOf(*top, chain(deepestInsert, 1).lookup()),
               {deepestInsert - 1.0, 0, deepestInsert, 0});
    expectNear(extentOf(*top, chain(deepestInsert + 1, 1).lookup()), {0, 0, 0, 0});
}

// What multiplies comes to an end: the lookups are counted.
TEST(Inserts, ThatMultiplyAreShownInPart) {
    const Object top = insert({0, 0}, u"B1");
    for (const int depth : {deepestInsert, deepestInsert + 1}) {
        const Blocks blocks = chain(depth, 10);
        std::int64_t lookups = 0;
        const BlockLookup counted = [&](std::u16string_view name, Point2& base) {
            ++lookups;
            return blocks.find(name, base);
        };
        EXPECT_FALSE(extentOf(*top, counted).isEmpty());
        EXPECT_GT(lookups, 16);
        EXPECT_LE(lookups, mostInsertedPieces + 1);
    }
}

// --- Numbers that are none ---

double& memberOf(VmDbObject& object, std::size_t index) {
    std::vector<double*> members;
    for (int i = 0; i < object.points.count; ++i) {
        members.push_back(&object.points.points[i].x);
        members.push_back(&object.points.points[i].y);
    }
    if (auto* round = dynamic_cast<VmDbCircle*>(&object)) members.push_back(&round->radius);
    if (auto* part = dynamic_cast<VmDbArc*>(&object))
        members.insert(members.end(), {&part->radius, &part->startAngle, &part->endAngle});
    if (auto* label = dynamic_cast<VmDbText*>(&object))
        members.insert(members.end(), {&label->height, &label->rotation});
    if (auto* placed = dynamic_cast<VmDbBlockRef*>(&object))
        members.insert(members.end(), {&placed->xScale, &placed->yScale, &placed->rotation});
    if (auto* chainOf = dynamic_cast<VmDb2DPolyline*>(&object))
        for (int i = 0; i < chainOf->bulges.count; ++i)
            members.push_back(&chainOf->bulges.values[i]);
    return *members[index % members.size()];
}

TEST(StrangeNumbers, GiveFiniteExtentsAndNoSurprises) {
    Blocks blocks;
    blocks.define(u"MIX", {0, 0}, circle({0, 0}, 1), arc({0, 0}, 1, 1, 2), text({0, 0}, 1, u"abc"),
                  polyline({{0, 0}, {1, 0}}, true, {1, 0.5}));
    const auto lookup = blocks.lookup();
    std::vector<Object> samples;
    samples.push_back(line({0, 0}, {1, 2}));
    samples.push_back(circle({0, 0}, 1));
    samples.push_back(arc({0, 0}, 1, 1, 2));
    samples.push_back(text({0, 0}, 1, u"abc", 10, vmDbMText));
    samples.push_back(insert({0, 0}, u"MIX", 2, 3, 10));
    samples.push_back(polyline({{0, 0}, {1, 0}, {1, 1}}, true, {1, 0.5, -0.5}));
    samples.push_back(opaque({{0, 0}, {1, 0}}));
    constexpr std::size_t mostMembers = 9;
    const double largest = std::numeric_limits<double>::max();
    const double smallest = std::numeric_limits<double>::denorm_min();
    std::size_t drawn = 0;
    std::size_t notDrawn = 0;
    for (const Object& sample : samples) {
        for (const double strange :
             {nan, inf, -inf, largest, -largest, smallest, 1e150, 1e151, 1e300, -1e20, 1e-300}) {
            for (std::size_t pair = 0; pair < mostMembers * mostMembers; ++pair) {
                SCOPED_TRACE(testing::Message()
                             << sample->typeCode << " " << strange << " " << pair);
                const Object object = clone(*sample);
                memberOf(*object, pair % mostMembers) = strange;
                memberOf(*object, pair / mostMembers) = strange;
                const Box box = extentOf(*object, lookup);
                ++(box.isEmpty() ? notDrawn : drawn);
                if (!box.isEmpty()) {
                    for (const double side : {box.left, box.bottom, box.right, box.top})
                        EXPECT_TRUE(std::isfinite(side)) << side;
                }
                const double distance = distanceTo(*object, {3, 4}, lookup);
                EXPECT_GE(distance, 0);
                EXPECT_EQ(std::isfinite(distance), !box.isEmpty()) << distance;
                for (const Box& window : {Box{-1, -1, 1, 1}, Box{-inf, -inf, inf, inf}, Box(),
                                          Box{nan, nan, nan, nan}, Box{1e300, 0, inf, 1}}) {
                    const bool crossed = crosses(*object, window, lookup);
                    EXPECT_TRUE(crossed || !inside(*object, window, lookup));
                    EXPECT_TRUE(!crossed || window.intersects(box));
                }
                EXPECT_GE(length(*object), 0);
                EXPECT_GE(area(*object), 0);
                [[maybe_unused]] const Point2 picked = pointOn(*object);
                transform(*object, Similarity::rotated(strange, {strange, 1})
                                       .then(Similarity::scaled(strange, mmPoint(1, strange, 0)))
                                       .then(Similarity::moved(mmPoint(strange, 0, 0))));
                EXPECT_TRUE(extentOf(*object, lookup).isEmpty() || std::isfinite(strange));
            }
        }
    }
    EXPECT_GT(drawn, 500u);
    EXPECT_GT(notDrawn, 500u);
}

TEST(StrangeNumbers, HugeBulgesAreNearlyWholeCircles) {
    const Object object = polyline({{0, 0}, {1, 0}}, false, {1e6});
    const Box box = extentOf(*object, noBlocks);
    EXPECT_NEAR((box.right - box.left) / 5e5, 1, 1e-9);
    EXPECT_NEAR((box.top - box.bottom) / 5e5, 1, 1e-9);
    EXPECT_NEAR(length(*object), 5e5 * pi - 1, 1e-5);
    // The arc could not be drawn: the segment is straight.
    expectNear(extentOf(*polyline({{0, 0}, {1, 0}}, false, {1e300}), noBlocks), {0, 0, 1, 0});
    expectNear(extentOf(*polyline({{0, 0}, {1, 0}}, false, {nan}), noBlocks), {0, 0, 1, 0});
    expectNear(extentOf(*polyline({{0, 0}, {1, 0}}, false, {-inf}), noBlocks), {0, 0, 1, 0});
    expectNear(extentOf(*polyline({{1, 1}, {1, 1}}, false, {5}), noBlocks), {1, 1, 1, 1});
}

TEST(StrangeNumbers, LeaveTheOtherPartsOfAnObject) {
    const Object object = polyline({{0, 0}, {2, 0}, {nan, 5}, {7, 7}, {9, 9}});
    expectNear(extentOf(*object, noBlocks), {0, 0, 9, 9});
    EXPECT_NEAR(length(*object), 2 + 2 * std::sqrt(2), 1e-12);
    EXPECT_NEAR(distanceTo(*object, {4, 0}, noBlocks), 2, 1e-12);
}

// --- Twins ---

// An object as chains of points that are dense, and as filled parallelograms.
struct Twin {
    std::vector<std::vector<Point2>> chains;
    std::vector<std::array<Point2, 4>> frames;
};

Point2 turned(Point2 point, double angle) {
    return {point.x * std::cos(angle) - point.y * std::sin(angle),
            point.x * std::sin(angle) + point.y * std::cos(angle)};
}

// The top of an arc lies beside the middle of its chord; each half of the arc has a bulge of its
// own, the tangent of half the angle.
void halve(Point2 from, Point2 to, double bulge, int times, std::vector<Point2>& chain) {
    if (times == 0) {
        chain.push_back(to);
        return;
    }
    const Point2 top{(from.x + to.x) / 2 + bulge * (to.y - from.y) / 2,
                     (from.y + to.y) / 2 - bulge * (to.x - from.x) / 2};
    const double smaller = bulge / (1 + std::sqrt(1 + bulge * bulge));
    halve(from, top, smaller, times - 1, chain);
    halve(top, to, smaller, times - 1, chain);
}

constexpr int halvings = 10;

Twin arcTwin(Point2 centre, double radius, double start, double sweep) {
    Twin twin;
    const Point2 offset = turned({radius, 0}, start);
    const Point2 middle = turned(offset, sweep / 2);
    const Point2 last = turned(offset, sweep);
    const Point2 points[] = {{centre.x + offset.x, centre.y + offset.y},
                             {centre.x + middle.x, centre.y + middle.y},
                             {centre.x + last.x, centre.y + last.y}};
    twin.chains.push_back({points[0]});
    const double bulge = std::tan(sweep / 8);
    halve(points[0], points[1], bulge, halvings, twin.chains[0]);
    halve(points[1], points[2], bulge, halvings, twin.chains[0]);
    return twin;
}

Twin twinOf(const VmDbObject& object, const Blocks& blocks);

Twin insertTwin(const VmDbBlockRef& placed, const Blocks& blocks) {
    Twin twin;
    Point2 base;
    const auto* contents = blocks.find(placed.blockName.units(), base);
    const Point2 at = pointAt(placed, 0);
    const auto place = [&](Point2& point) {
        const Point2 scaled{(point.x - base.x) * placed.xScale, (point.y - base.y) * placed.yScale};
        const Point2 there = turned(scaled, placed.rotation * pi / 180);
        point = {at.x + there.x, at.y + there.y};
    };
    for (const VmDbObject* object : *contents) {
        Twin part = twinOf(*object, blocks);
        for (auto& chainOf : part.chains) {
            std::ranges::for_each(chainOf, place);
            twin.chains.push_back(chainOf);
        }
        for (auto& frame : part.frames) {
            std::ranges::for_each(frame, place);
            twin.frames.push_back(frame);
        }
    }
    return twin;
}

Twin twinOf(const VmDbObject& object, const Blocks& blocks) {
    Twin twin;
    if (const auto* placed = dynamic_cast<const VmDbBlockRef*>(&object))
        return insertTwin(*placed, blocks);
    if (const auto* round = dynamic_cast<const VmDbCircle*>(&object))
        return arcTwin(pointAt(object, 0), round->radius, 0, 2 * pi);
    if (const auto* part = dynamic_cast<const VmDbArc*>(&object)) {
        double sweep = part->endAngle - part->startAngle;
        while (sweep < 0) sweep += 2 * pi;
        while (sweep > 2 * pi) sweep -= 2 * pi;
        return arcTwin(pointAt(object, 0), part->radius, part->startAngle, sweep);
    }
    if (const auto* label = dynamic_cast<const VmDbText*>(&object)) {
        const double width = 0.6 * label->height * static_cast<double>(label->text.length());
        const double low = label->typeCode == vmDbMText ? -label->height : 0;
        const double high = low + label->height;
        std::array<Point2, 4> frame = {Point2{0, low}, {width, low}, {width, high}, {0, high}};
        for (Point2& corner : frame) {
            corner = turned(corner, label->rotation * pi / 180);
            corner = {corner.x + pointAt(object, 0).x, corner.y + pointAt(object, 0).y};
        }
        twin.frames.push_back(frame);
        return twin;
    }
    twin.chains.push_back({pointAt(object, 0)});
    const auto* many = dynamic_cast<const VmDb2DPolyline*>(&object);
    const int count = object.points.count;
    for (int i = 1; i < count + (many != nullptr && many->closed != 0 ? 1 : 0); ++i) {
        const double bulge =
            many != nullptr && i - 1 < many->bulges.count ? many->bulges.values[i - 1] : 0;
        halve(pointAt(object, i - 1), pointAt(object, i % count), bulge, halvings, twin.chains[0]);
    }
    return twin;
}

double twinDistance(Point2 from, Point2 to, Point2 point) {
    const double dx = to.x - from.x;
    const double dy = to.y - from.y;
    const double square = dx * dx + dy * dy;
    double part = 0;
    if (square > 0) part = ((point.x - from.x) * dx + (point.y - from.y) * dy) / square;
    part = std::min(1.0, std::max(0.0, part));
    return std::hypot(from.x + part * dx - point.x, from.y + part * dy - point.y);
}

// Whether a point is on the same side of all edges.
bool twinCovers(const std::array<Point2, 4>& frame, Point2 point) {
    int left = 0;
    int right = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const Point2 a = frame[i];
        const Point2 b = frame[(i + 1) % 4];
        const double side = (b.x - a.x) * (point.y - a.y) - (b.y - a.y) * (point.x - a.x);
        (side < 0 ? left : right) += 1;
    }
    return left == 0 || right == 0;
}

double twinDistance(const Twin& twin, Point2 point) {
    double nearest = inf;
    for (const auto& chainOf : twin.chains)
        for (std::size_t i = 1; i < chainOf.size(); ++i)
            nearest = std::min(nearest, twinDistance(chainOf[i - 1], chainOf[i], point));
    for (const auto& frame : twin.frames) {
        if (twinCovers(frame, point)) return 0;
        for (std::size_t i = 0; i < 4; ++i)
            nearest = std::min(nearest, twinDistance(frame[i], frame[(i + 1) % 4], point));
    }
    return nearest;
}

Box twinExtent(const Twin& twin) {
    Box box;
    for (const auto& chainOf : twin.chains)
        for (const Point2 point : chainOf) box.add(point);
    for (const auto& frame : twin.frames)
        for (const Point2 point : frame) box.add(point);
    return box;
}

// Every sampled point of the twin, frames as a grid.
template <class Visit> void eachPoint(const Twin& twin, Visit visit) {
    constexpr int steps = 24;
    for (const auto& chainOf : twin.chains) std::ranges::for_each(chainOf, visit);
    for (const auto& frame : twin.frames)
        for (int i = 0; i <= steps; ++i)
            for (int k = 0; k <= steps; ++k) {
                const double a = static_cast<double>(i) / steps;
                const double b = static_cast<double>(k) / steps;
                visit(Point2{
                    frame[0].x + a * (frame[1].x - frame[0].x) + b * (frame[3].x - frame[0].x),
                    frame[0].y + a * (frame[1].y - frame[0].y) + b * (frame[3].y - frame[0].y)});
            }
}

// The longest step between sampled points.
double longestStep(const Twin& twin) {
    double longest = 0;
    for (const auto& chainOf : twin.chains)
        for (std::size_t i = 1; i < chainOf.size(); ++i)
            longest = std::max(longest, std::hypot(chainOf[i].x - chainOf[i - 1].x,
                                                   chainOf[i].y - chainOf[i - 1].y));
    for (const auto& frame : twin.frames)
        longest =
            std::max(longest, std::hypot(frame[2].x - frame[0].x, frame[2].y - frame[0].y) / 24);
    return longest;
}

class RandomObjects {
  public:
    explicit RandomObjects(unsigned seed) : random_(seed) {}

    double number(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random_);
    }
    unsigned below(unsigned end) { return static_cast<unsigned>(random_()) % end; }
    Point2 point() { return {number(-10, 10), number(-10, 10)}; }
    double scale() { return number(0.1, 2) * (below(2) == 0 ? 1 : -1); }

    Object object(bool withInserts) {
        switch (below(withInserts ? 8 : 5)) {
        case 0: return line(point(), point());
        case 1: return circle(point(), number(0.01, 8));
        case 2: return arc(point(), number(0.01, 8), number(-7, 7), number(-7, 7));
        case 3:
            return text(point(), number(0.1, 3), std::u16string(below(8), u'x'), number(-400, 400),
                        below(2) == 0 ? vmDbText : vmDbMText);
        case 4: return randomPolyline();
        default: {
            const double x = scale();
            const double y = below(4) == 0 ? x : scale();
            return insert(point(), below(2) == 0 ? u"FLAT" : u"DEEP", x, y, number(-400, 400));
        }
        }
    }

  private:
    Object randomPolyline() {
        std::vector<Point2> points(2 + below(4));
        std::ranges::generate(points, [this] { return point(); });
        std::vector<double> bulges(below(2) == 0 ? 0 : points.size());
        // Small ones and large ones of both signs, and some straight segments.
        std::ranges::generate(bulges, [this] {
            const double size = std::exp(number(-6, 1.5));
            return below(4) == 0 ? 0 : below(2) == 0 ? size : -size;
        });
        return polyline(points, below(2) == 0, bulges);
    }

    std::mt19937 random_;
};

TEST(Twins, AgreeOnExtentsDistancesAndWindows) {
    const unsigned seed = printedSeed();
    RandomObjects random(seed);
    int crossed = 0;
    int held = 0;
    int missed = 0;
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " round " << round);
        Blocks blocks;
        blocks.define(u"FLAT", random.point(), random.object(false), random.object(false));
        blocks.define(
            u"DEEP", random.point(), random.object(false),
            insert(random.point(), u"FLAT", random.scale(), random.scale(), random.number(0, 360)));
        const auto lookup = blocks.lookup();
        const Object object = random.object(true);
        const Twin twin = twinOf(*object, blocks);
        const Box around = twinExtent(twin);
        const double size = std::hypot(around.right - around.left, around.top - around.bottom);
        // How far a curve is from the chords between its sampled points.
        const double tolerance = 1e-9 + 5e-5 * size;

        const Box extent = extentOf(*object, lookup);
        expectNear(extent, around, tolerance);
        // The samples are on the curve: nothing of it is outside.
        Box wider = extent;
        wider.add(Point2{extent.left - 1e-9 * (1 + size), extent.bottom - 1e-9 * (1 + size)});
        wider.add(Point2{extent.right + 1e-9 * (1 + size), extent.top + 1e-9 * (1 + size)});
        EXPECT_TRUE(wider.contains(around));

        for (int i = 0; i < 4; ++i) {
            const Point2 point{random.number(around.left - 3, around.right + 3),
                               random.number(around.bottom - 3, around.top + 3)};
            EXPECT_NEAR(distanceTo(*object, point, lookup), twinDistance(twin, point), tolerance)
                << point.x << " " << point.y;
        }
        // Sampled points are on the curve.
        eachPoint(twin, [&, count = 0](Point2 point) mutable {
            if (count++ % 97 != 0) return;
            EXPECT_LE(distanceTo(*object, point, lookup), 1e-7 * (1 + size));
        });

        const double step = longestStep(twin);
        for (int i = 0; i < 6; ++i) {
            const Point2 corner{random.number(around.left - 3, around.right + 3),
                                random.number(around.bottom - 3, around.top + 3)};
            const double wide = i < 3 ? 2 : 30;
            const Box box = Box::between(corner, {corner.x + random.number(-wide, wide),
                                                  corner.y + random.number(-wide, wide)});
            bool someInside = false;
            bool allInside = true;
            double nearest = inf;
            eachPoint(twin, [&](Point2 point) {
                someInside = someInside || box.contains(point);
                allInside = allInside && box.contains(point);
                nearest = std::min(nearest, box.distance(point));
            });
            const bool answer = crosses(*object, box, lookup);
            // A sampled point in the box proves that the curve is there; when the curve is there, a
            // sampled point is near.
            EXPECT_TRUE(answer || !someInside);
            EXPECT_TRUE(!answer || nearest <= step) << nearest;
            EXPECT_TRUE(allInside || !inside(*object, box, lookup));
            const Box roomy{box.left + tolerance, box.bottom + tolerance, box.right - tolerance,
                            box.top - tolerance};
            EXPECT_TRUE(inside(*object, box, lookup) || !roomy.contains(around));
            crossed += answer ? 1 : 0;
            held += allInside ? 1 : 0;
            missed += answer ? 0 : 1;
        }
    }
    // The comparison would be worth nothing if all answers were the same.
    EXPECT_GT(crossed, 200);
    EXPECT_GT(held, 10);
    EXPECT_GT(missed, 200);
}

TEST(Twins, AgreeOnLengthAndArea) {
    const unsigned seed = printedSeed();
    RandomObjects random(seed);
    int closed = 0;
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " round " << round);
        const Object object = random.object(false);
        if (dynamic_cast<const VmDbText*>(object.get()) != nullptr) continue;
        const Twin twin = twinOf(*object, Blocks());
        const auto& chainOf = twin.chains.at(0);
        double sum = 0;
        double twice = 0;
        for (std::size_t i = 1; i < chainOf.size(); ++i) {
            const Point2 a = chainOf[i - 1];
            const Point2 b = chainOf[i];
            sum += std::hypot(b.x - a.x, b.y - a.y);
            twice += a.x * b.y - b.x * a.y;
        }
        EXPECT_NEAR(length(*object), sum, 1e-4 * sum);
        const auto* many = dynamic_cast<const VmDb2DPolyline*>(object.get());
        if (dynamic_cast<const VmDbCircle*>(object.get()) != nullptr ||
            (many != nullptr && many->closed != 0)) {
            EXPECT_NEAR(area(*object), std::fabs(twice) / 2, 1e-4 * sum * sum);
            ++closed;
        } else {
            EXPECT_EQ(area(*object), 0);
        }
    }
    EXPECT_GT(closed, 40);
}

TEST(Twins, AgreeOnTransformedObjects) {
    const unsigned seed = printedSeed();
    RandomObjects random(seed);
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " round " << round);
        Blocks blocks;
        blocks.define(u"FLAT", random.point(), random.object(false));
        blocks.define(u"DEEP", random.point(), random.object(false));
        const Object object = random.object(true);
        const Similarity by = Similarity::rotated(random.number(-9, 9), random.point())
                                  .then(Similarity::scaled(random.number(0.2, 3), mmPoint(1, 2, 3)))
                                  .then(Similarity::moved(mmPoint(random.number(-9, 9), 4, 5)));
        const Point2 point = random.point();
        const double before = distanceTo(*object, point, blocks.lookup());
        Object moved = clone(*object);
        transform(*moved, by);
        EXPECT_NEAR(distanceTo(*moved, by.apply(point), blocks.lookup()), before * by.factor, 1e-4);
        EXPECT_NEAR(length(*moved), length(*object) * by.factor, 1e-8 * (1 + length(*moved)));
    }
}

TEST(Twins, ArcsThroughThreePointsHoldAllThree) {
    const unsigned seed = printedSeed();
    RandomObjects random(seed);
    int arcs = 0;
    for (int round = 0; round < 1000; ++round) {
        const Point2 points[] = {random.point(), random.point(), random.point()};
        const auto shape = arcThrough(points[0], points[1], points[2]);
        if (!shape || shape->radius > 1e3) continue;
        ++arcs;
        const Object object = arc(shape->centre, shape->radius, shape->startAngle, shape->endAngle);
        for (const Point2 point : points)
            EXPECT_LT(distanceTo(*object, point, noBlocks), 1e-8)
                << "seed " << seed << " " << round;
        // First and last are its ends: the arc is not a whole circle.
        const Twin twin = arcTwin(shape->centre, shape->radius, shape->startAngle,
                                  length(*object) / shape->radius);
        const Point2 ends[] = {twin.chains[0].front(), twin.chains[0].back()};
        const auto nearEnd = [&ends](Point2 point) {
            return std::min(std::hypot(point.x - ends[0].x, point.y - ends[0].y),
                            std::hypot(point.x - ends[1].x, point.y - ends[1].y));
        };
        EXPECT_LT(nearEnd(points[0]), 1e-8) << "seed " << seed << " " << round;
        EXPECT_LT(nearEnd(points[2]), 1e-8) << "seed " << seed << " " << round;
    }
    EXPECT_GT(arcs, 800);
}

}  // namespace
}  // namespace vlisp::refhost
