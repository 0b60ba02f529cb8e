// Tests of refhost/dxf/shapes.cpp: what carried entities look like.
// One idea: curves are compared with what mathematics says of them, everything else with a short
// text of the path.
#include "refhost/dxf/records.h"
#include "tests/dxf/dxf_text.h"

#include <array>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace vlisp::refhost::dxf {
namespace {

using std::numbers::pi;

// --- Reading ----------------------------------------------------------------------------------

std::unique_ptr<CarriedObject> shapeOf(std::string_view notation,
                                       const test::Look& look = test::plain) {
    const std::string bytes = test::dxf(notation, look);
    const std::uint64_t begin = look.form == Form::text ? 0 : test::binaryMark.size();
    const Source source{bytes, look.form, TextCodec("AC1032", "ANSI_1252")};
    auto object = std::make_unique<CarriedObject>();
    readShape(source, recordsOf(source, {begin, bytes.size()}), *object);
    return object;
}

// The only figure; an empty one where there is another number.
Figure figureOf(std::string_view notation) {
    const auto object = shapeOf(notation);
    EXPECT_TRUE(object->isShown) << notation;
    EXPECT_EQ(object->figures.size(), 1U) << notation;
    return object->figures.size() == 1 ? object->figures.front() : Figure();
}
Path pathOf(std::string_view notation) { return figureOf(notation).path; }

std::string numberText(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.6g", std::fabs(number) < 1e-9 ? 0 : number);
    return text;
}

// "M 0,0 L 1,0 C 1,1 2,2 3,3 Z": as few digits as it takes.
std::string textOf(const Path& path) {
    std::string text;
    std::size_t next = 0;
    const auto add = [&](const char* verb, std::size_t points) {
        text += text.empty() ? "" : " ";
        text += verb;
        for (std::size_t i = 0; i < points; ++i, ++next) {
            const Point2 point = path.points.at(next);
            text += " " + numberText(point.x) + "," + numberText(point.y);
        }
    };
    for (const Path::Verb verb : path.verbs) {
        switch (verb) {
        case Path::Verb::move: add("M", 1); break;
        case Path::Verb::line: add("L", 1); break;
        case Path::Verb::cubic: add("C", 3); break;
        case Path::Verb::close: add("Z", 0); break;
        }
    }
    EXPECT_EQ(next, path.points.size());
    return text;
}

// All figures: those that are filled begin with a star.
std::string textOf(const CarriedObject& object) {
    std::string text;
    for (const Figure& figure : object.figures) {
        if (!text.empty()) text += " | ";
        if (figure.filled) text += "* ";
        text += textOf(figure.path);
    }
    return text;
}

std::string digits(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", number);
    return text;
}

// "|10 x|20 y" for each point, with another first code where it is told.
std::string pointPairs(const std::vector<Point2>& points, int code = 10) {
    std::string text;
    for (const Point2 point : points)
        text += "|" + std::to_string(code) + " " + digits(point.x) + "|" +
                std::to_string(code + 10) + " " + digits(point.y);
    return text;
}
std::string numberPairs(const std::vector<double>& values, int code) {
    std::string text;
    for (const double value : values) text += "|" + std::to_string(code) + " " + digits(value);
    return text;
}

// --- Measuring --------------------------------------------------------------------------------

Point2 between(Point2 a, Point2 b, double share) {
    return {a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)};
}
double apart(Point2 a, Point2 b) { return std::hypot(a.x - b.x, a.y - b.y); }

Point2 cubicAt(Point2 a, Point2 b, Point2 c, Point2 d, double t) {
    const Point2 ab = between(a, b, t);
    const Point2 bc = between(b, c, t);
    const Point2 cd = between(c, d, t);
    return between(between(ab, bc, t), between(bc, cd, t), t);
}

// Points of a path in their order: so many of each cubic, and the ends of lines.
std::vector<Point2> samplesOf(const Path& path, int each = 48) {
    std::vector<Point2> samples;
    std::size_t next = 0;
    Point2 start;
    Point2 here;
    for (const Path::Verb verb : path.verbs) {
        switch (verb) {
        case Path::Verb::move:
            start = here = path.points.at(next++);
            samples.push_back(here);
            break;
        case Path::Verb::line:
            here = path.points.at(next++);
            samples.push_back(here);
            break;
        case Path::Verb::cubic: {
            const Point2 a = path.points.at(next);
            const Point2 b = path.points.at(next + 1);
            const Point2 end = path.points.at(next + 2);
            next += 3;
            for (int i = 1; i <= each; ++i)
                samples.push_back(cubicAt(here, a, b, end, static_cast<double>(i) / each));
            here = end;
            break;
        }
        case Path::Verb::close:
            here = start;
            samples.push_back(start);
            break;
        }
    }
    return samples;
}

double distanceToLine(Point2 point, Point2 a, Point2 b) {
    const double length = apart(a, b);
    if (length == 0) return apart(point, a);
    const double share =
        ((point.x - a.x) * (b.x - a.x) + (point.y - a.y) * (b.y - a.y)) / (length * length);
    return apart(point, between(a, b, std::clamp(share, 0.0, 1.0)));
}

// How far the points of one row are from the lines of the other, at most.
double farthest(const std::vector<Point2>& points, const std::vector<Point2>& line) {
    double most = 0;
    for (const Point2 point : points) {
        double least = std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i + 1 < line.size(); ++i)
            least = std::min(least, distanceToLine(point, line[i], line[i + 1]));
        most = std::max(most, least);
    }
    return most;
}

// Both run the same way along the same line.
void expectSameCurve(const std::vector<Point2>& seen, const std::vector<Point2>& wanted,
                     double tolerance) {
    ASSERT_GT(seen.size(), 1U);
    EXPECT_LE(apart(seen.front(), wanted.front()), tolerance);
    EXPECT_LE(apart(seen.back(), wanted.back()), tolerance);
    EXPECT_LE(farthest(seen, wanted), tolerance);
    EXPECT_LE(farthest(wanted, seen), tolerance);
}

std::vector<Point2> curve(double begin, double end, const std::function<Point2(double)>& at,
                          int steps = 1000) {
    std::vector<Point2> points;
    for (int i = 0; i <= steps; ++i) points.push_back(at(begin + (end - begin) * i / steps));
    return points;
}

// --- Points and straight shapes ---------------------------------------------------------------

struct Drawn {
    const char* notation;
    const char* path;
};

void PrintTo(const Drawn& drawn, std::ostream* out) { *out << drawn.notation; }

class StraightShape : public testing::TestWithParam<Drawn> {};

TEST_P(StraightShape, IsDrawn) {
    const auto object = shapeOf(GetParam().notation);
    EXPECT_EQ(textOf(*object), GetParam().path) << GetParam().notation;
    EXPECT_TRUE(object->isShown) << GetParam().notation;
    EXPECT_TRUE(object->block.empty());
}

constexpr Drawn straightShapes[] = {
    {"0 POINT|8 0|10 3|20 4|30 5", "M 3,4 L 3,4"},
    {"0 POINT|10 3", "M 3,0 L 3,0"},
    // The points of a POINT are in the drawing's axes.
    {"0 POINT|10 3|20 4|210 0|220 0|230 -1", "M 3,4 L 3,4"},

    {"0 SOLID|10 0|20 0|11 4|21 0|12 0|22 3|13 4|23 3", "* M 0,0 L 4,0 L 4,3 L 0,3 Z"},
    {"0 SOLID|10 0|20 0|11 4|21 0|12 0|22 3|13 0|23 3", "* M 0,0 L 4,0 L 0,3 Z"},
    {"0 SOLID|10 0|20 0|11 4|21 0|12 0|22 3", "* M 0,0 L 4,0 L 0,3 Z"},
    {"0 TRACE|10 0|20 0|11 4|21 0|12 0|22 1|13 4|23 1", "* M 0,0 L 4,0 L 4,1 L 0,1 Z"},
    // Seen from behind; on its edge, at a height of 5 to the right.
    {"0 SOLID|10 1|20 0|11 4|21 0|12 1|22 3|13 4|23 3|210 0|220 0|230 -1",
     "* M -1,0 L -4,0 L -4,3 L -1,3 Z"},
    {"0 SOLID|10 0|20 7|30 5|11 1|21 7|31 5|12 0|22 8|32 5|13 1|23 8|33 5|210 1|220 0|230 0",
     "* M 5,0 L 5,1 L 5,1 L 5,0 Z"},
    // A direction without length is upwards.
    {"0 SOLID|10 0|20 0|11 4|21 0|12 0|22 3|210 0|220 0|230 0", "* M 0,0 L 4,0 L 0,3 Z"},

    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3|13 0|23 3", "M 0,0 L 4,0 L 4,3 L 0,3 Z"},
    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3|13 4|23 3", "M 0,0 L 4,0 L 4,3 Z"},
    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3", "M 0,0 L 4,0 L 4,3 Z"},
    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3|13 0|23 3|70 1", "M 4,0 L 4,3 L 0,3 L 0,0"},
    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3|13 0|23 3|70 10", "M 0,0 L 4,0 M 4,3 L 0,3"},
    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3|13 0|23 3|70 8", "M 0,0 L 4,0 L 4,3 L 0,3"},
    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3|13 4|23 3|70 8", "M 0,0 L 4,0 L 4,3"},
    // It is known that nothing is to be seen.
    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3|13 0|23 3|70 15", ""},
    {"0 3DFACE|10 0|20 0|11 4|21 0|12 4|22 3|13 4|23 3|70 11", ""},

    {"0 LEADER|71 1|72 0|76 3|10 0|20 0|30 0|10 5|20 5|30 0|10 10|20 5|30 0", "M 0,0 L 5,5 L 10,5"},
    {"0 LEADER|72 1|10 0|20 0|10 6|20 3", "M 0,0 C 2,1 4,2 6,3"},

    {"0 MLINE|70 0|71 1|72 2|10 9|20 9|11 0|21 0|12 1|22 0|13 0|23 1|74 2|41 0.5|41 0|75 0"
     "|11 4|21 0|12 1|22 0",
     "M 0,0 L 4,0"},
    {"0 MLINE|71 3|10 0|20 0|11 0|21 0|11 4|21 0|11 4|21 3", "M 0,0 L 4,0 L 4,3 Z"},

    // The frame of a picture of 4 by 2 elements, each of 0.5 by 1.
    {"0 IMAGE|10 1|20 2|11 0.5|21 0|12 0|22 1|13 4|23 2|70 3|280 0|71 1|91 2"
     "|14 -0.5|24 -0.5|14 3.5|24 1.5",
     "M 1,4 L 3,4 L 3,2 L 1,2 Z"},
    {"0 IMAGE|10 1|20 2|11 0.5|21 0|12 0|22 1|13 4|23 2", "M 1,4 L 3,4 L 3,2 L 1,2 Z"},
    // Cut: two corners are a rectangle, y runs downwards.
    {"0 IMAGE|10 1|20 2|11 0.5|21 0|12 0|22 1|13 4|23 2|280 1|14 -0.5|24 -0.5|14 1.5|24 0.5",
     "M 1,4 L 2,4 L 2,3 L 1,3 Z"},
    {"0 IMAGE|10 0|20 0|11 1|21 0|12 0|22 1|13 4|23 2|280 1|71 2|91 4"
     "|14 -0.5|24 1.5|14 3.5|24 1.5|14 3.5|24 -0.5|14 -0.5|24 1.5",
     "M 0,0 L 4,0 L 4,2 Z"},
    // Turned by a quarter.
    {"0 IMAGE|10 0|20 0|11 0|21 1|12 -1|22 0|13 4|23 2", "M -2,0 L -2,4 L 0,4 L 0,0 Z"},
    {"0 WIPEOUT|10 0|20 0|11 10|21 0|12 0|22 5|13 1|23 1|280 1|71 2|91 4"
     "|14 -0.5|24 0.5|14 0.5|24 0.5|14 0|24 -0.5|14 -0.5|24 0.5",
     "M 0,0 L 10,0 L 5,5 Z"},
    {"0 WIPEOUT|10 0|20 0|11 10|21 0|12 0|22 5|14 -0.5|24 0.5|14 0.5|24 0.5|14 0|24 -0.5",
     "M 0,0 L 10,0 L 5,5 Z"},
};
INSTANTIATE_TEST_SUITE_P(Table, StraightShape, testing::ValuesIn(straightShapes));

TEST(Shapes, OnlyOwnPairsCount) {
    EXPECT_EQ(textOf(pathOf("0 POINT|102 {VENDOR|10 7|20 7|102 }|10 3|20 4"
                            "|101 Embedded Object|10 8|20 8|1001 VENDOR|1010 9|1020 9")),
              "M 3,4 L 3,4");
    EXPECT_EQ(textOf(pathOf("0 LEADER|10 0|20 0|10 1|20 1|101 Embedded Object|10 8|20 8")),
              "M 0,0 L 1,1");
}

TEST(Shapes, AreReadFromBinaryFilesAlike) {
    for (const test::Look& look : {test::plain, test::windows, test::binary, test::shortBinary}) {
        const auto object = shapeOf(
            "0 3DFACE|10 0.5|20 0|30 0|11 4|21 0|31 0|12 4|22 3|32 0|13 0.5|23 3|33 0|70 1", look);
        EXPECT_EQ(textOf(*object), "M 4,0 L 4,3 L 0.5,3 L 0.5,0");
    }
}

TEST(Shapes, BelongToTheObjectOfTheEntity) {
    const std::string bytes = test::dxf("0 SOLID|8 WALLS|10 0|20 0|11 4|21 0|12 0|22 3");
    const Source source{bytes, Form::text, TextCodec("AC1015", "ANSI_1252")};
    const auto object = readEntity(source, {0, bytes.size()}, 12);
    const auto* carried = dynamic_cast<const CarriedObject*>(object.get());
    ASSERT_NE(carried, nullptr);
    EXPECT_EQ(carried->kind, u"SOLID");
    EXPECT_TRUE(carried->isShown);
    EXPECT_EQ(textOf(*carried), "* M 0,0 L 4,0 L 0,3 Z");
}

// --- Ellipses ---------------------------------------------------------------------------------

struct EllipseCase {
    const char* notation;
    Point2 centre;
    Point2 u;  // centre + u cos t + v sin t
    Point2 v;
    double begin;
    double end;
};

void PrintTo(const EllipseCase& ellipse, std::ostream* out) { *out << ellipse.notation; }

class EllipseShape : public testing::TestWithParam<EllipseCase> {};

TEST_P(EllipseShape, FollowsTheEllipse) {
    const EllipseCase& wanted = GetParam();
    const Path path = pathOf(wanted.notation);
    const auto at = [&](double t) {
        return Point2{wanted.centre.x + std::cos(t) * wanted.u.x + std::sin(t) * wanted.v.x,
                      wanted.centre.y + std::cos(t) * wanted.u.y + std::sin(t) * wanted.v.y};
    };
    const double size = apart({}, wanted.u);
    expectSameCurve(samplesOf(path), curve(wanted.begin, wanted.end, at), 5e-5 * size);
    // Which way round: every cubic goes as far as every other.
    const auto cubics = static_cast<std::size_t>(std::ranges::count(path.verbs, Path::Verb::cubic));
    const double sweep = wanted.end - wanted.begin;
    ASSERT_GE(static_cast<double>(cubics), std::fabs(sweep) / (pi / 2) - 1e-6);
    for (std::size_t i = 0; i <= cubics; ++i) {
        const double t =
            wanted.begin + sweep * static_cast<double>(i) / static_cast<double>(cubics);
        EXPECT_LE(apart(path.points.at(3 * i), at(t)), 1e-6 * size) << i;
    }
    const bool whole = std::fabs(sweep) > 2 * pi - 1e-8;
    EXPECT_EQ(path.verbs.back() == Path::Verb::close, whole);
}

const double diagonal = std::sqrt(0.5);
const EllipseCase ellipses[] = {
    {"0 ELLIPSE|10 5|20 6|11 4|21 0|210 0|220 0|230 1|40 0.5|41 0|42 6.283185307179586",
     {5, 6},
     {4, 0},
     {0, 2},
     0,
     2 * pi},
    {"0 ELLIPSE|10 5|20 6|11 4|21 0", {5, 6}, {4, 0}, {0, 4}, 0, 2 * pi},
    {"0 ELLIPSE|10 5|20 6|11 3|21 4|40 0.2|41 1|42 3", {5, 6}, {3, 4}, {-0.8, 0.6}, 1, 3},
    // Past the beginning; and a whole turn that begins elsewhere, or is not written to the end.
    {"0 ELLIPSE|10 0|20 0|11 4|21 0|40 0.5|41 5|42 1", {0, 0}, {4, 0}, {0, 2}, 5, 1 + 2 * pi},
    {"0 ELLIPSE|10 0|20 0|11 4|21 0|40 0.5|41 2|42 2", {0, 0}, {4, 0}, {0, 2}, 2, 2 + 2 * pi},
    {"0 ELLIPSE|10 0|20 0|11 4|21 0|40 0.5|41 0|42 6.2831853072",
     {0, 0},
     {4, 0},
     {0, 2},
     0,
     2 * pi},
    {"0 ELLIPSE|10 0|20 0|11 4|21 0|40 0.5|41 0|42 6.283185", {0, 0}, {4, 0}, {0, 2}, 0, 6.283185},
    {"0 ELLIPSE|10 0|20 0|11 4|21 0|40 0.5|41 0|42 0.001", {0, 0}, {4, 0}, {0, 2}, 0, 0.001},
    // From behind it runs clockwise; its centre and axis stay.
    {"0 ELLIPSE|10 5|20 6|11 4|21 0|40 0.5|41 0|42 1|230 -1", {5, 6}, {4, 0}, {0, -2}, 0, 1},
    // Tilted by an eighth of a turn.
    {"0 ELLIPSE|10 5|20 6|30 9|11 0|21 4|31 0|40 0.5|41 0|42 2|210 1|220 0|230 1",
     {5, 6},
     {0, 4},
     {-2 * diagonal, 0},
     0,
     2},
    // Upright: a line, there and back.
    {"0 ELLIPSE|10 5|20 6|11 4|21 0|31 0|40 0.5|210 0|220 1|230 0",
     {5, 6},
     {4, 0},
     {0, 0},
     0,
     2 * pi},
    {"0 ELLIPSE|10 0|20 0|11 4|21 0|40 0|41 0|42 3", {0, 0}, {4, 0}, {0, 0}, 0, 3},
    {"0 ELLIPSE|10 0|20 0|11 1e100|21 0|40 1|41 0|42 3", {0, 0}, {1e100, 0}, {0, 1e100}, 0, 3},
    {"0 ELLIPSE|10 0|20 0|11 1e-100|21 0|40 1|41 0|42 3", {0, 0}, {1e-100, 0}, {0, 1e-100}, 0, 3},
};
INSTANTIATE_TEST_SUITE_P(Table, EllipseShape, testing::ValuesIn(ellipses));

// --- Splines ----------------------------------------------------------------------------------

// A point of a spline by the definition of its basis functions, slow and plain.
double basis(const std::vector<double>& knots, std::size_t i, int degree, double t) {
    if (degree == 0) {
        const bool last = knots[i + 1] == knots.back() && t == knots.back();
        return knots[i] < knots[i + 1] && knots[i] <= t && (t < knots[i + 1] || last) ? 1 : 0;
    }
    const auto run = static_cast<std::size_t>(degree);
    const double left = knots[i + run] - knots[i];
    const double right = knots[i + run + 1] - knots[i + 1];
    double sum = 0;
    if (left > 0) sum += (t - knots[i]) / left * basis(knots, i, degree - 1, t);
    if (right > 0) sum += (knots[i + run + 1] - t) / right * basis(knots, i + 1, degree - 1, t);
    return sum;
}

struct SplineCase {
    const char* name;
    int degree;
    std::vector<double> knots;
    std::vector<Point2> controls;
    std::vector<double> weights;  // empty: none are written
    double tolerance;

    [[nodiscard]] std::string pairs(int degreeCode, int weightCode) const {
        return "|" + std::to_string(degreeCode) + " " + std::to_string(degree) +
               numberPairs(knots, 40) + numberPairs(weights, weightCode) + pointPairs(controls);
    }
    [[nodiscard]] std::string notation() const {
        return "0 SPLINE|70 8|72 1000000000|73 -5" + pairs(71, 41);
    }
    [[nodiscard]] Point2 at(double t) const {
        Point2 sum;
        double total = 0;
        for (std::size_t i = 0; i < controls.size(); ++i) {
            const double share = basis(knots, i, degree, t) * (weights.empty() ? 1 : weights[i]);
            sum.x += share * controls[i].x;
            sum.y += share * controls[i].y;
            total += share;
        }
        return {sum.x / total, sum.y / total};
    }
    [[nodiscard]] double begin() const { return knots[static_cast<std::size_t>(degree)]; }
    [[nodiscard]] double end() const { return knots[controls.size()]; }
};
void PrintTo(const SplineCase& spline, std::ostream* out) { *out << spline.name; }

class SplineShape : public testing::TestWithParam<SplineCase> {};

TEST_P(SplineShape, FollowsItsDefinition) {
    const SplineCase& spline = GetParam();
    const auto wanted = curve(spline.begin(), spline.end(), [&](double t) { return spline.at(t); });
    expectSameCurve(samplesOf(pathOf(spline.notation())), wanted, spline.tolerance);
}

TEST_P(SplineShape, IsTheSameAsAnEdgeOfAHatch) {
    const SplineCase& spline = GetParam();
    Path wanted = pathOf(spline.notation());
    wanted.close();
    const Path edge = pathOf("0 HATCH|2 ANSI31|91 1|92 1|93 1|72 4|73 1|74 0|95 9|96 -1" +
                             spline.pairs(94, 42) + "|97 0|75 0|76 1|98 1|10 99|20 99");
    EXPECT_EQ(textOf(edge), textOf(wanted));
}

// Exactly, each cubic at the parameters of its part of the curve.
TEST(Splines, OfDegreeThreeWithoutWeightsAreExact) {
    const SplineCase spline{"",
                            3,
                            {-1, 0, 0.5, 2, 3, 3, 4.5, 7, 8, 9},
                            {{0, 0}, {1, 4}, {3, 5}, {6, -1}, {7, 2}, {9, 9}},
                            {},
                            0};
    const Path path = pathOf(spline.notation());
    const std::vector<double> parts{2, 3, 4.5};  // the knots of the domain, each once
    ASSERT_EQ(path.verbs.size(), parts.size());
    Point2 here = path.points[0];
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        ASSERT_EQ(path.verbs[i + 1], Path::Verb::cubic);
        const Point2* points = &path.points[3 * i + 1];
        for (double t = 0; t <= 0.95; t += 0.1)
            EXPECT_LT(apart(cubicAt(here, points[0], points[1], points[2], t),
                            spline.at(parts[i] + t * (parts[i + 1] - parts[i]))),
                      1e-12);
        here = points[2];
    }
}

const double quarterWeight = std::sqrt(0.5);
const SplineCase splines[] = {
    {"straight", 1, {0, 0, 1, 2, 2}, {{0, 0}, {3, 5}, {6, 2}}, {}, 1e-9},
    {"quadratic", 2, {0, 0, 0, 1, 3, 3, 3}, {{0, 0}, {3, 5}, {6, 2}, {9, 9}}, {}, 2e-3},
    {"cubic of one part", 3, {0, 0, 0, 0, 1, 1, 1, 1}, {{0, 0}, {3, 5}, {6, 2}, {9, 9}}, {}, 2e-3},
    {"cubic with a corner",
     3,
     {0, 0, 0, 0, 1, 1, 1, 2, 2, 2, 2},
     {{0, 0}, {1, 5}, {3, 5}, {4, 0}, {5, 5}, {8, 4}, {9, 0}},
     {},
     2e-3},
    {"uniform", 3, {0, 1, 2, 3, 4, 5, 6, 7, 8}, {{0, 0}, {3, 5}, {6, 2}, {9, 9}, {2, 7}}, {}, 2e-3},
    {"degree 4",
     4,
     {0, 0, 0, 0, 0, 1, 2, 2, 2, 2, 2},
     {{0, 0}, {1, 4}, {3, 5}, {6, -1}, {7, 2}, {9, 9}},
     {},
     2e-3},
    {"degree 7",
     7,
     {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1},
     {{0, 0}, {1, 9}, {2, -9}, {3, 9}, {4, -9}, {5, 9}, {6, -9}, {7, 0}},
     {},
     2e-3},
    {"quarter of a circle",
     2,
     {0, 0, 0, 1, 1, 1},
     {{1, 0}, {1, 1}, {0, 1}},
     {1, quarterWeight, 1},
     1e-4},
    {"circle",
     2,
     {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4},
     {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}, {1, 0}},
     {1, quarterWeight, 1, quarterWeight, 1, quarterWeight, 1, quarterWeight, 1},
     1e-4},
    {"rational cubic",
     3,
     {0, 0, 0, 0, 0.2, 1, 1, 1, 1},
     {{0, 0}, {3, 5}, {6, 2}, {9, 9}, {12, 0}},
     {1, 2, 0.5, 1, 3},
     1e-2},
    {"weights all alike", 2, {0, 0, 0, 1, 1, 1}, {{0, 0}, {3, 5}, {6, 2}}, {5, 5, 5}, 2e-3},
    // Nearly a corner: almost all of the way is gone in a thousandth of the parameter.
    {"sharp", 2, {0, 0, 0, 1, 1, 1}, {{0, 0}, {3, 5}, {6, 0}}, {1, 30, 1}, 1e-2},
};
INSTANTIATE_TEST_SUITE_P(Table, SplineShape, testing::ValuesIn(splines));

TEST(Splines, RationalQuartersOfACircleAreOnIt) {
    const auto samples =
        samplesOf(pathOf("0 SPLINE|70 4|71 2|40 0|40 0|40 0|40 1|40 1|40 1|41 1|41 "
                         "0.70710678118654757|41 1|10 100|20 0|10 100|20 100|10 0|20 100"));
    for (const Point2 point : samples) EXPECT_NEAR(apart({}, point), 100, 2e-3);
    EXPECT_EQ(samples.back(), (Point2{0, 100}));
}

TEST(Splines, JumpWhereAKnotStandsTooOften) {
    EXPECT_EQ(textOf(pathOf("0 SPLINE|71 1|40 0|40 0|40 1|40 1|40 2|40 2"
                            "|10 0|20 0|10 1|20 0|10 5|20 5|10 6|20 5")),
              "M 0,0 L 1,0 M 5,5 L 6,5");
}

// Knots that cannot be used are replaced: the curve begins and ends in its control points.
TEST(Splines, MakeTheirOwnKnotsWhereTheFileHasNone) {
    const std::string controls = "|10 0|20 0|10 3|20 6|10 6|20 6|10 9|20 0";
    const std::string wanted = "M 0,0 C 3,6 6,6 9,0";
    for (const char* knots :
         {"", "|40 0|40 1", "|40 0|40 0|40 0|40 0|40 0|40 0|40 0|40 0",
          "|40 9|40 8|40 7|40 6|40 5|40 4|40 3|40 2", "|40 0|40 0|40 0|40 0|40 nan|40 1|40 1|40 1",
          "|40 0|40 0|40 0|40 0|40 inf|40 inf|40 inf|40 inf"})
        EXPECT_EQ(textOf(pathOf("0 SPLINE|71 3" + std::string(knots) + controls)), wanted) << knots;
    // As many control points as there are lower the degree; a missing degree is 3.
    EXPECT_EQ(textOf(pathOf("0 SPLINE" + controls)), wanted);
    EXPECT_EQ(textOf(pathOf("0 SPLINE|71 20" + controls)), wanted);
    EXPECT_EQ(textOf(pathOf("0 SPLINE|71 3|10 0|20 0|10 3|20 6")), "M 0,0 L 3,6");
    // So do weights that are none.
    for (const char* weights : {"|41 1|41 -1|41 1|41 1", "|41 1|41 0|41 1|41 1", "|41 5",
                                "|41 1|41 inf|41 1|41 1", "|41 1|41 nan|41 1|41 1"})
        EXPECT_EQ(textOf(pathOf("0 SPLINE|71 3" + std::string(weights) + controls)), wanted);
}

TEST(Splines, ThatAreClosedWithoutKnotsRunRound) {
    const std::string corners = "|10 0|20 0|10 6|20 0|10 6|20 6|10 0|20 6";
    const std::string wanted = "M 3,0 C 5,0 6,1 6,3 C 6,5 5,6 3,6 C 1,6 0,5 0,3 C 0,1 1,0 3,0";
    EXPECT_EQ(textOf(pathOf("0 SPLINE|70 1|71 2" + corners)), wanted);
    // The first point may be written once more.
    EXPECT_EQ(textOf(pathOf("0 SPLINE|70 1|71 2" + corners + "|10 0|20 0")), wanted);
}

TEST(Splines, OfFitPointsPassThroughThem) {
    const std::vector<Point2> fits{{0, 0}, {3, 5}, {6, 2}, {6.5, 2}, {20, 9}};
    const Path path = pathOf("0 SPLINE|70 1032|71 3|74 5" + pointPairs(fits, 11));
    ASSERT_EQ(path.verbs.size(), fits.size());
    for (std::size_t i = 0; i < fits.size(); ++i)
        EXPECT_LT(apart(path.points[3 * i], fits[i]), 1e-12) << i;
    // The direction does not break.
    for (std::size_t i = 1; i + 1 < fits.size(); ++i) {
        const Point2 before = path.points[3 * i - 1];
        const Point2 after = path.points[3 * i + 1];
        const double share = apart(before, fits[i]) / apart(before, after);
        EXPECT_LT(apart(between(before, after, share), fits[i]), 1e-9) << i;
        EXPECT_GT(share, 0.001);
        EXPECT_LT(share, 0.999);
    }
    // An end without a tangent is not bent: the middle of three points in line is a third away.
    EXPECT_EQ(textOf(pathOf("0 SPLINE|71 3|11 0|21 0|11 3|21 0|11 3|21 0|11 9|21 0")),
              "M 0,0 C 1,0 2,0 3,0 C 5,0 7,0 9,0");
}

TEST(Splines, OfFitPointsBeginAndEndAlongTheirTangents) {
    EXPECT_EQ(textOf(pathOf("0 SPLINE|71 3|11 0|21 0|11 6|21 0|12 0|22 2|13 0|23 -1")),
              "M 0,0 C 0,2 6,2 6,0");
    EXPECT_EQ(textOf(pathOf("0 SPLINE|71 3|11 0|21 0|11 6|21 0|12 0|22 0|13 nan|23 0")),
              "M 0,0 C 2,0 4,0 6,0");
}

TEST(Splines, OfFitPointsCloseSmoothly) {
    std::vector<Point2> fits;
    constexpr int count = 12;
    for (int i = 0; i < count; ++i)
        fits.push_back({100 * std::cos(2 * pi * i / count), 100 * std::sin(2 * pi * i / count)});
    const auto circle = [](double t) { return Point2{100 * std::cos(t), 100 * std::sin(t)}; };
    expectSameCurve(samplesOf(pathOf("0 SPLINE|70 1|71 3" + pointPairs(fits, 11))),
                    curve(0, 2 * pi, circle), 0.1);
    EXPECT_EQ(textOf(pathOf("0 SPLINE|70 1|71 3|11 0|21 0|11 6|21 0|11 0|21 0")),
              "M 0,0 C 2,0 4,0 6,0");
    const Path triangle = pathOf("0 SPLINE|70 1|71 3|11 0|21 0|11 9|21 0|11 3|21 7|11 0|21 0");
    ASSERT_EQ(triangle.points.size(), 10U);
    EXPECT_EQ(triangle.points.front(), triangle.points.back());
    const Point2 before = triangle.points[8];
    const Point2 after = triangle.points[1];
    const double share = apart(before, {0, 0}) / apart(before, after);
    EXPECT_LT(apart(between(before, after, share), {0, 0}), 1e-5);
}

TEST(Splines, OfHelixesAreWithoutWhatTheHelixSays) {
    EXPECT_EQ(textOf(pathOf("0 HELIX|100 AcDbEntity|8 0|100 AcDbSpline|70 0|71 3"
                            "|40 0|40 0|40 0|40 0|40 1|40 1|40 1|40 1"
                            "|10 0|20 0|10 3|20 6|10 6|20 6|10 9|20 0"
                            "|100 AcDbHelix|90 29|91 63|10 0|20 0|11 1|21 0|12 0|22 0|40 2|41 3")),
              "M 0,0 C 3,6 6,6 9,0");
}

// --- Hatches ----------------------------------------------------------------------------------

constexpr const char* hatchHead = "0 HATCH|5 A|100 AcDbEntity|8 0|92 7|310 00|100 AcDbHatch"
                                  "|10 0|20 0|30 0|210 0|220 0|230 1";
constexpr const char* hatchTail = "|76 1|47 0.1|98 1|10 77|20 77";

std::string hatch(std::string_view middle, std::string_view head = "|2 SOLID|70 1|71 0|91 1") {
    std::string text = hatchHead;
    text += head;
    text += middle;
    return text + hatchTail;
}

std::string square(double left, double bottom, double size, int flags) {
    const double right = left + size;
    const double top = bottom + size;
    return "|92 " + std::to_string(flags) + "|72 0|73 1|93 4" +
           pointPairs({{left, bottom}, {right, bottom}, {right, top}, {left, top}}) + "|97 0";
}

struct HatchCase {
    const char* name;
    std::string notation;
    const char* paths;
};
void PrintTo(const HatchCase& hatch, std::ostream* out) { *out << hatch.name; }

class HatchShape : public testing::TestWithParam<HatchCase> {};

TEST_P(HatchShape, IsDrawn) { EXPECT_EQ(textOf(*shapeOf(GetParam().notation)), GetParam().paths); }

const std::string lineEdges = "|92 1|93 3|72 1|10 0|20 0|11 4|21 0|72 1|10 4|20 0|11 4|21 3"
                              "|72 1|10 4|20 3|11 0|21 0|97 1|330 1F|75 0";
const HatchCase hatches[] = {
    {"filled", hatch(square(0, 0, 4, 3) + "|75 0"), "* M 0,0 L 4,0 L 4,4 L 0,4 Z"},
    {"filled by its name", hatch(square(0, 0, 4, 3), "|2 solid|70 0|91 1"),
     "* M 0,0 L 4,0 L 4,4 L 0,4 Z"},
    {"filled by its flag", hatch(square(0, 0, 4, 3), "|2 |70 1|91 1"),
     "* M 0,0 L 4,0 L 4,4 L 0,4 Z"},
    {"a pattern", hatch(square(0, 0, 4, 3), "|2 ANSI31|70 0|91 1"), "M 0,0 L 4,0 L 4,4 L 0,4 Z"},
    {"a pattern with a hole",
     hatch(square(0, 0, 9, 3) + square(3, 3, 3, 18), "|2 ANSI31|70 0|91 2"),
     "M 0,0 L 9,0 L 9,9 L 0,9 Z | M 3,3 L 6,3 L 6,6 L 3,6 Z"},
    {"a pattern's lines are no boundary",
     hatch(square(0, 0, 4, 3) + "|75 1|76 1|52 0|41 1|77 0|78 1|53 45|43 0|44 0|45 -1|46 1|79 0",
           "|2 ANSI31|70 0|91 1"),
     "M 0,0 L 4,0 L 4,4 L 0,4 Z"},
    {"places inside are no boundary",
     "0 HATCH|2 SOLID|70 1|91 1" + square(0, 0, 4, 3) + "|98 1|10 9|20 9",
     "* M 0,0 L 4,0 L 4,4 L 0,4 Z"},
    {"edges", hatch(lineEdges), "* M 0,0 L 4,0 L 4,3 L 0,0 Z"},
    {"edges the wrong way",
     hatch("|92 1|93 3|72 1|10 4|20 0|11 0|21 0|72 1|10 4|20 3|11 4|21 0"
           "|72 1|10 4|20 3|11 0|21 0|75 0"),
     "* M 0,0 L 4,0 L 4,3 L 0,0 Z"},
    {"edges with a gap", hatch("|92 1|93 2|72 1|10 0|20 0|11 4|21 0|72 1|10 4|20 1|11 4|21 3|75 0"),
     "* M 0,0 L 4,0 L 4,1 L 4,3 Z"},
    {"counts that are wrong",
     hatch("|92 2|72 0|73 1|93 2000000000|10 0|20 0|10 4|20 0|10 4|20 3|97 -1", "|70 1|91 -7"),
     "* M 0,0 L 4,0 L 4,3 Z"},
    {"from behind",
     "0 HATCH|10 0|20 0|30 0|210 0|220 0|230 -1|2 SOLID|70 1|91 1" + square(1, 0, 4, 3),
     "* M -1,0 L -5,0 L -5,4 L -1,4 Z"},
    {"upright at a height",
     "0 HATCH|10 0|20 0|30 7|210 1|220 0|230 0|2 ANSI31|70 0|91 1" + square(1, 2, 4, 3),
     "M 7,1 L 7,5 L 7,5 L 7,1 Z"},
    {"of an MPOLYGON",
     "0 MPOLYGON|70 1|10 0|20 0|30 0|2 ANSI31|71 1|91 1|92 2|73 1|72 0|93 3"
     "|10 0|20 0|10 4|20 0|10 4|20 3|76 1|63 5|11 0|21 0|99 0",
     "* M 0,0 L 4,0 L 4,3 Z"},
    // Three squares inside each other, marked as outermost, its hole, and an island.
    {"every second area",
     hatch(square(0, 0, 9, 3) + square(1, 1, 6, 18) + square(2, 2, 2, 2) + "|75 0"),
     "* M 0,0 L 9,0 L 9,9 L 0,9 Z M 1,1 L 7,1 L 7,7 L 1,7 Z M 2,2 L 4,2 L 4,4 L 2,4 Z"},
    {"the outer area",
     hatch(square(0, 0, 9, 3) + square(1, 1, 6, 18) + square(2, 2, 2, 2) + "|75 1"),
     "* M 0,0 L 9,0 L 9,9 L 0,9 Z M 1,1 L 7,1 L 7,7 L 1,7 Z"},
    {"the outer area without marks", hatch(square(0, 0, 9, 2) + square(1, 1, 6, 2) + "|75 1"),
     "* M 0,0 L 9,0 L 9,9 L 0,9 Z M 1,1 L 7,1 L 7,7 L 1,7 Z"},
    {"all of it", hatch(square(0, 0, 9, 3) + square(1, 1, 6, 18) + square(20, 0, 2, 3) + "|75 2"),
     "* M 0,0 L 9,0 L 9,9 L 0,9 Z | * M 20,0 L 22,0 L 22,2 L 20,2 Z"},
};
INSTANTIATE_TEST_SUITE_P(Table, HatchShape, testing::ValuesIn(hatches));

struct ArcCase {
    const char* name;
    const char* edges;  // a line from the end to the beginning is added by closing
    double begin;
    double end;
    Point2 centre;
    Point2 u;
    Point2 v;
};
void PrintTo(const ArcCase& arc, std::ostream* out) { *out << arc.name; }

class HatchArc : public testing::TestWithParam<ArcCase> {};

TEST_P(HatchArc, FollowsTheCurve) {
    const ArcCase& arc = GetParam();
    const Path path = pathOf(hatch(std::string(arc.edges) + "|75 0"));
    auto wanted = curve(arc.begin, arc.end, [&](double t) {
        return Point2{arc.centre.x + std::cos(t) * arc.u.x + std::sin(t) * arc.v.x,
                      arc.centre.y + std::cos(t) * arc.u.y + std::sin(t) * arc.v.y};
    });
    wanted.push_back(wanted.front());
    const double size = apart({}, arc.u);
    expectSameCurve(samplesOf(path), wanted, 1e-4 * size);
    // Which way round.
    const Point2 early = samplesOf(path).at(20);
    EXPECT_LT(farthest({early}, {wanted.begin(), wanted.begin() + 500}), 1e-4 * size);
}

const ArcCase arcs[] = {
    {"arc",
     "|92 1|93 1|72 2|10 5|20 6|40 2|50 30|51 200|73 1",
     pi / 6,
     pi * 200 / 180,
     {5, 6},
     {2, 0},
     {0, 2}},
    {"arc past the beginning",
     "|92 1|93 1|72 2|10 5|20 6|40 2|50 300|51 60|73 1",
     pi * 300 / 180,
     pi * 420 / 180,
     {5, 6},
     {2, 0},
     {0, 2}},
    {"circle",
     "|92 1|93 1|72 2|10 5|20 6|40 2|50 0|51 360|73 1",
     0,
     2 * pi,
     {5, 6},
     {2, 0},
     {0, 2}},
    // Clockwise arcs count their angles clockwise.
    {"clockwise",
     "|92 1|93 1|72 2|10 5|20 6|40 2|50 30|51 200|73 0",
     pi / 6,
     pi * 200 / 180,
     {5, 6},
     {2, 0},
     {0, -2}},
    {"ellipse",
     "|92 1|93 1|72 3|10 5|20 6|11 0|21 4|40 0.5|50 0|51 360|73 1",
     0,
     2 * pi,
     {5, 6},
     {0, 4},
     {-2, 0}},
    // The angles are those of directions: 45 degrees is where both parts are alike.
    {"part of an ellipse",
     "|92 1|93 1|72 3|10 5|20 6|11 4|21 0|40 0.5|50 45|51 180|73 1",
     std::atan2(2, 1),
     pi,
     {5, 6},
     {4, 0},
     {0, 2}},
    {"clockwise ellipse",
     "|92 1|93 1|72 3|10 5|20 6|11 4|21 0|40 0.5|50 0|51 90|73 0",
     0,
     pi / 2,
     {5, 6},
     {4, 0},
     {0, -2}},
    {"bulge", "|92 2|72 1|73 1|93 2|10 5|20 0|42 1|10 -5|20 0|42 0", 0, pi, {0, 0}, {5, 0}, {0, 5}},
    {"bulge to the right",
     "|92 2|72 1|73 1|93 2|10 5|20 0|42 -1|10 -5|20 0|42 0",
     0,
     pi,
     {0, 0},
     {5, 0},
     {0, -5}},
    {"two bulges",
     "|92 2|72 1|73 1|93 2|10 5|20 0|42 1|10 -5|20 0|42 1",
     0,
     2 * pi,
     {0, 0},
     {5, 0},
     {0, 5}},
    {"small bulge",
     "|92 2|72 1|73 1|93 2|10 5|20 0|42 0.4142135623730950|10 0|20 5|42 0",
     0,
     pi / 2,
     {0, 0},
     {5, 0},
     {0, 5}},
};
INSTANTIATE_TEST_SUITE_P(Table, HatchArc, testing::ValuesIn(arcs));

TEST(Hatches, JoinLinesAndArcsOfAnyDirection) {
    // A half disc: the line runs to where the arc begins, or to where it ends.
    for (const char* line : {"|72 1|10 -2|20 0|11 2|21 0", "|72 1|10 2|20 0|11 -2|21 0"}) {
        const std::string edges =
            "|92 1|93 2" + std::string(line) + "|72 2|10 0|20 0|40 2|50 0|51 180|73 1";
        const auto samples = samplesOf(pathOf(hatch(edges)));
        EXPECT_LT(apart(samples.front(), samples.back()), 1e-9);
        double area = 0;
        for (std::size_t i = 0; i + 1 < samples.size(); ++i)
            area += samples[i].x * samples[i + 1].y - samples[i].y * samples[i + 1].x;
        EXPECT_NEAR(std::fabs(area) / 2, 2 * pi, 1e-2) << line;
    }
}

// --- Blocks, and what is not shown ------------------------------------------------------------

TEST(Shapes, OfDimensionsAndTablesAreBlocks) {
    for (const char* kind :
         {"DIMENSION", "ARC_DIMENSION", "LARGE_RADIAL_DIMENSION", "ACAD_TABLE"}) {
        const auto object = shapeOf("0 " + std::string(kind) + "|8 0|2 *D3|10 1|20 2|1 text|2 x");
        EXPECT_EQ(object->block, u"*D3") << kind;
        EXPECT_TRUE(object->isShown) << kind;
        EXPECT_TRUE(object->figures.empty()) << kind;
        for (const char* rest : {"", "|2 "}) {
            const auto unnamed = shapeOf("0 " + std::string(kind) + "|8 0" + rest);
            EXPECT_TRUE(unnamed->block.empty()) << kind;
            EXPECT_FALSE(unnamed->isShown) << kind;
        }
    }
    EXPECT_EQ(shapeOf("0 DIMENSION|2 Ma\xc3\x9f")->block, u"Ma\u00df");
}

TEST(Shapes, OfOtherKindsAreNotShown) {
    for (const char* kind :
         {"XLINE", "RAY", "VIEWPORT", "MESH", "3DSOLID", "BODY", "REGION", "SURFACE", "TOLERANCE",
          "SHAPE", "OLE2FRAME", "ACAD_PROXY_ENTITY", "MULTILEADER", "LIGHT", "SUN", "SECTION",
          "VENDOR_THING", "ellipse", ""}) {
        const auto object =
            shapeOf("0 " + std::string(kind) +
                    "|8 0|2 NAME|10 0|20 0|11 4|21 0|12 4|22 3|13 0|23 3|40 1|41 0|42 6|70 1");
        EXPECT_FALSE(object->isShown) << kind;
        EXPECT_TRUE(object->figures.empty()) << kind;
        EXPECT_TRUE(object->block.empty()) << kind;
    }
}

TEST(Shapes, OfAttributeDefinitionsAreSeenInInsertsOnly) {
    const auto object = shapeOf("0 ATTDEF|8 0|10 1|20 2|40 2.5|1 x|2 TAG|3 Tag?");
    EXPECT_TRUE(object->isShown) << "nothing is missing in a picture";
    EXPECT_TRUE(object->figures.empty());
}

TEST(Shapes, OfTablesAreBlocksAtTheTablesCorner) {
    const auto object = shapeOf("0 ACAD_TABLE|8 0|2 *T1|10 7|20 -3|11 1|21 0");
    EXPECT_TRUE(object->isShown);
    EXPECT_EQ(object->block, u"*T1");
    EXPECT_EQ(object->blockAt, (Point2{7, -3}));
    // The block's contents lie where the table does.
    VmDbLine line;
    line.addPoint({0, 0, 0});
    line.addPoint({10, -5, 0});
    const std::vector<const VmDbObject*> contents{&line};
    const Box box = extentOf(*object, [&](std::u16string_view name, Point2& base) {
        base = {0, 0};
        return name == u"*T1" ? &contents : nullptr;
    });
    EXPECT_EQ(box, (Box{7, -8, 17, -3}));
}

class Unshown : public testing::TestWithParam<const char*> {};

TEST_P(Unshown, HasNoShape) {
    const auto object = shapeOf(GetParam());
    EXPECT_FALSE(object->isShown);
    EXPECT_TRUE(object->figures.empty());
}

constexpr const char* unshown[] = {
    "0 POINT",
    "0 POINT|20 1|30 1",
    "0 POINT|10 nan|20 0",
    "0 POINT|10 1e151|20 0",
    "0 POINT|10 0|20 -inf",
    "0 ELLIPSE|10 0|20 0",
    "0 ELLIPSE|11 1|21 0|40 1",
    "0 ELLIPSE|10 0|20 0|11 0|21 0|40 1",
    "0 ELLIPSE|10 0|20 0|11 nan|21 0|40 1",
    "0 ELLIPSE|10 0|20 0|11 1|21 0|40 inf",
    "0 ELLIPSE|10 0|20 0|11 1|21 0|40 1|41 nan|42 1",
    "0 ELLIPSE|10 0|20 0|11 1|21 0|40 1|41 0|42 inf",
    "0 ELLIPSE|10 0|20 0|11 1|21 0|40 1|41 -inf|42 0",
    "0 ELLIPSE|10 0|20 0|11 1e140|21 0|40 1e20",
    "0 ELLIPSE|10 1e151|20 0|11 1|21 0|40 1",
    "0 SPLINE",
    "0 SPLINE|71 3|10 0|20 0",
    "0 SPLINE|71 0|10 0|20 0|10 1|20 1|10 2|20 0",
    "0 SPLINE|71 -3|10 0|20 0|10 1|20 1|10 2|20 0",
    "0 SPLINE|71 100|10 0|20 0|10 1|20 1|10 2|20 0",
    "0 SPLINE|71 3|10 0|20 0|10 nan|20 1|10 2|20 0|10 3|20 0",
    "0 SPLINE|71 3|10 0|20 0|10 1e200|20 1|10 2|20 0|10 3|20 0",
    "0 SPLINE|71 3|11 0|21 0",
    "0 SPLINE|71 3|11 5|21 5|11 5|21 5|11 5|21 5",
    "0 SPLINE|71 3|11 0|21 0|11 inf|21 5|11 5|21 5",
    "0 SPLINE|70 1|71 3|20 5|40 1|41 1",
    "0 HELIX|100 AcDbHelix|10 0|20 0|10 1|20 1",
    "0 SOLID|10 0|20 0|11 1|21 0",
    "0 SOLID|10 0|20 0|11 1|21 0|12 nan|22 0",
    "0 3DFACE|10 0|20 0|12 1|22 0|13 1|23 1",
    "0 3DFACE|10 0|20 0|11 1|21 0|12 inf|22 0|70 15",
    "0 HATCH",
    "0 HATCH|2 SOLID|70 1|91 0",
    "0 HATCH|2 SOLID|70 1|91 3|10 0|20 0|10 1|20 0|10 1|20 1",
    "0 HATCH|2 SOLID|70 1|91 1|92 2|10 0|20 0|97 0|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 2|10 0|20 0|10 nan|20 0|10 1|20 1|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 1|93 9|72 9|10 0|20 0|11 1|21 1|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 1|93 1|72 1|10 0|20 0|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 1|93 1|72 2|10 0|20 0|50 0|51 9|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 1|93 1|72 2|10 0|20 0|40 1|50 nan|51 9|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 1|93 1|72 2|10 0|20 0|40 1|50 0|51 inf|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 1|93 1|72 3|10 0|20 0|40 1|50 0|51 9|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 1|93 1|72 4|94 3|10 0|20 0|75 0",
    "0 HATCH|2 SOLID|70 1|91 1|92 1|10 0|20 0|10 1|20 0|10 1|20 1|75 0",
    "0 LEADER|10 0|20 0",
    "0 LEADER|72 1|10 0|20 0|10 0|20 0",
    "0 LEADER|10 0|20 0|10 1|20 1e160",
    "0 MLINE|10 0|20 0|11 0|21 0",
    "0 IMAGE|10 0|20 0|11 1|21 0|13 4|23 2",
    "0 IMAGE|10 0|20 0|11 1|21 0|12 0|22 1|13 inf|23 2",
    "0 IMAGE|10 0|20 0|11 1e100|21 0|12 0|22 1|13 1e100|23 2",
};
INSTANTIATE_TEST_SUITE_P(Table, Unshown, testing::ValuesIn(unshown));

TEST(Shapes, WithoutRecordsAreNone) {
    CarriedObject object;
    readShape(Source{}, {}, object);
    EXPECT_FALSE(object.isShown);
}

// --- Damage -----------------------------------------------------------------------------------

void expectSane(const CarriedObject& object, std::size_t pairs) {
    std::size_t points = 0;
    for (const Figure& figure : object.figures) {
        std::size_t needed = 0;
        ASSERT_FALSE(figure.path.verbs.empty());
        ASSERT_EQ(figure.path.verbs.front(), Path::Verb::move);
        for (const Path::Verb verb : figure.path.verbs)
            needed += verb == Path::Verb::cubic ? 3 : verb == Path::Verb::close ? 0 : 1;
        ASSERT_EQ(needed, figure.path.points.size());
        points += needed;
        for (const Point2 point : figure.path.points) {
            ASSERT_LE(std::fabs(point.x), 1e150);
            ASSERT_LE(std::fabs(point.y), 1e150);
        }
    }
    ASSERT_LE(points, 1'100'000 + 32 * pairs);
    ASSERT_TRUE(object.isShown || object.figures.empty());
}

std::vector<std::string> allNotations() {
    std::vector<std::string> all;
    for (const Drawn& drawn : straightShapes) all.emplace_back(drawn.notation);
    for (const EllipseCase& ellipse : ellipses) all.emplace_back(ellipse.notation);
    for (const SplineCase& spline : splines) {
        all.push_back(spline.notation());
        all.push_back(hatch("|92 1|93 1|72 4" + spline.pairs(94, 42)));
    }
    for (const HatchCase& hatch : hatches) all.push_back(hatch.notation);
    for (const ArcCase& arc : arcs) all.push_back(hatch(arc.edges));
    all.emplace_back("0 SPLINE|70 1|71 3|11 0|21 0|11 9|21 0|11 3|21 7|12 0|22 1|13 1|23 0");
    return all;
}

// Values, codes and places of pairs are changed at random; the seed is the same each time.
TEST(DamagedShape, LeavesShapesSaneOrNone) {
    const std::vector<std::string> all = allNotations();
    const std::array<const char*, 16> values{"nan",   "inf",    "-inf",  "0",         "-1", "1",
                                             "1e150", "-1e150", "1e308", "5e-324",    "2",  "100",
                                             "0.001", "3",      "4",     "2147483647"};
    std::mt19937 random(20240607);
    const auto below = [&](std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(0, most - 1)(random);
    };
    int shown = 0;
    constexpr int rounds = 20'000;
    for (int round = 0; round < rounds; ++round) {
        std::vector<test::TestPair> pairs = test::pairsOf(all[below(all.size())]);
        for (std::size_t change = below(4) + 1; change > 0; --change) {
            const std::size_t at = 1 + below(pairs.size() - 1);
            const auto place = pairs.begin() + static_cast<std::ptrdiff_t>(at);
            switch (below(5)) {
            case 0:
            case 1:
                if (test::kindOf(pairs[at].code) != 't') pairs[at].value = values[below(16)];
                break;
            case 2: {
                const test::TestPair copy = pairs[at];
                pairs.insert(place, copy);
                break;
            }
            case 3: std::swap(pairs[at], pairs[1 + below(pairs.size() - 1)]); break;
            default:
                if (pairs.size() > 3) pairs.erase(place);
            }
        }
        const std::string notation = test::notationOf(pairs);
        const auto object = shapeOf(notation);
        ASSERT_NO_FATAL_FAILURE(expectSane(*object, pairs.size())) << notation;
        shown += object->isShown ? 1 : 0;
    }
    EXPECT_GT(shown, rounds / 4);  // the changes are not so large that nothing is tried
}

// The hardest curves that a file can ask for: they take some 35 points a part as long as there is
// no end to it.
TEST(DamagedShape, DoesNotGrowBeyondAllBounds) {
    constexpr std::size_t count = 50'000;
    std::string text = "0 SPLINE|71 3";
    for (std::size_t i = 0; i < count; ++i)
        text += "|10 " + std::to_string(i * 7919 % 1000) + "|20 " +
                std::to_string(i * 104729 % 1000) + (i % 2 == 0 ? "|41 1000" : "|41 0.001");
    const auto object = shapeOf(text);
    ASSERT_EQ(object->figures.size(), 1U);
    const Path& path = object->figures.front().path;
    EXPECT_GT(path.points.size(), 300'000U);
    EXPECT_LT(path.points.size(), 1'000'000U);
    const Point2 last{(count - 1) * 7919 % 1000, (count - 1) * 104729 % 1000};
    EXPECT_LT(apart(path.points.back(), last), 1e-9);
}

TEST(DamagedShape, OfTheHighestDegreeStaysSane) {
    constexpr std::size_t count = 20'000;
    std::string text = "0 SPLINE|71 25";
    for (std::size_t i = 0; i < count; ++i) {
        text += i % 2 == 0 ? "|10 1e100|20 -1e100" : "|10 -1e100|20 1e100";
        text += i % 3 == 0 ? "|41 1e-100" : "|41 1e100";
    }
    const auto object = shapeOf(text);
    expectSane(*object, 3 * count);
    ASSERT_EQ(object->figures.size(), 1U);
    EXPECT_GT(object->figures.front().path.points.size(), count);
    EXPECT_NEAR(object->figures.front().path.points.back().x, -1e100, 1e90);
}

TEST(DamagedShape, OfManyPathsStaysInProportion) {
    std::string text = "0 HATCH|2 SOLID|70 1|91 1";
    for (int i = 0; i < 20'000; ++i) text += "|92 1|72 2|10 0|20 0|40 1";
    const auto object = shapeOf(text);
    expectSane(*object, 100'000);
    ASSERT_EQ(object->figures.size(), 1U);
    EXPECT_EQ(object->figures.front().path.points.size(), 20'000U * 25);
}

}  // namespace
}  // namespace vlisp::refhost::dxf
