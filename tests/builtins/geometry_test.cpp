// Tests of builtins/geometry.h: the values themselves, which print with three decimals only.
#include "builtins/geometry.h"

#include "tests/support/cells.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace vlisp {
namespace {

using test::call;
using test::isNil;
using test::nonNumbers;
using test::real;
using test::whole;

constexpr double pi = 3.141592653589793;

Cell point(double x, double y) { return Cell::list({real(x), real(y)}); }

testing::AssertionResult isNear(const Cell& cell, double value) {
    if (cell.is(CellType::Real) && std::abs(cell.realValue() - value) <= 1e-12)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << dumpCell(cell) << " is not near " << value;
}

testing::AssertionResult isPoint(const Cell& cell, double x, double y) {
    if (!cell.is(CellType::List) || cell.items().size() != 2)
        return testing::AssertionFailure() << dumpCell(cell) << " is no point of two";
    const auto atX = isNear(cell.items()[0], x);
    return atX ? isNear(cell.items()[1], y) : atX;
}

TEST(Geometry, FunctionsOfOneNumberGiveReals) {
    EXPECT_TRUE(isNear(call(sqrtOf, {whole(2)}), std::sqrt(2.0)));
    EXPECT_TRUE(isNear(call(sqrtOf, {real(2.25)}), 1.5));
    EXPECT_TRUE(isNear(call(sinOf, {real(1)}), std::sin(1.0)));
    EXPECT_TRUE(isNear(call(cosOf, {whole(1)}), std::cos(1.0)));
    EXPECT_TRUE(isNear(call(atanOf, {whole(1)}), pi / 4));
    for (const Cell& other : nonNumbers())
        for (const BuiltinProc proc : {sqrtOf, sinOf, cosOf, atanOf}) {
            EXPECT_TRUE(isNil(call(proc, {other}))) << dumpCell(other);
            EXPECT_TRUE(isNil(call(proc, {other, whole(1)}))) << dumpCell(other);
        }
}

TEST(Geometry, DomainErrorsAreNotChecked) {
    const Cell root = call(sqrtOf, {whole(-1)});
    ASSERT_TRUE(root.is(CellType::Real));
    EXPECT_TRUE(std::isnan(root.realValue()));
    const Cell sine = call(sinOf, {real(std::numeric_limits<double>::infinity())});
    ASSERT_TRUE(sine.is(CellType::Real));
    EXPECT_TRUE(std::isnan(sine.realValue()));
    EXPECT_TRUE(isNear(call(atanOf, {whole(0), whole(0)}), 0));
}

TEST(Geometry, AtanOfTwoNumbersKnowsTheQuadrant) {
    EXPECT_TRUE(isNear(call(atanOf, {whole(1), whole(-1)}), 3 * pi / 4));
    EXPECT_TRUE(isNear(call(atanOf, {whole(-1), whole(-1)}), -3 * pi / 4));
    EXPECT_TRUE(isNear(call(atanOf, {whole(1), whole(0)}), pi / 2));
    EXPECT_TRUE(isNear(call(atanOf, {whole(1), real(2.5), whole(9)}), std::atan2(1.0, 2.5)));
    for (const Cell& other : nonNumbers())
        EXPECT_TRUE(isNear(call(atanOf, {whole(-1), other}), -pi / 2)) << dumpCell(other);
}

TEST(Geometry, PolarGoesADistanceInADirection) {
    EXPECT_TRUE(isPoint(call(polar, {point(1, 1), whole(0), whole(2)}), 3, 1));
    EXPECT_TRUE(isPoint(call(polar, {point(1, 1), real(pi / 2), real(2)}), 1, 3));
    EXPECT_TRUE(isPoint(call(polar, {point(1, 1), real(pi / 4), whole(-2)}), 1 - std::sqrt(2.0),
                        1 - std::sqrt(2.0)));
    const Cell spatial = Cell::list({whole(1), whole(2), whole(3)});
    EXPECT_TRUE(isPoint(call(polar, {spatial, whole(0), whole(1)}), 2, 2));
    for (const Cell& other : nonNumbers()) {
        SCOPED_TRACE(dumpCell(other));
        EXPECT_TRUE(isPoint(call(polar, {point(1, 2), other, whole(3)}), 4, 2));
        EXPECT_TRUE(isPoint(call(polar, {point(1, 2), whole(1), other}), 1, 2));
        EXPECT_TRUE(isNil(call(polar, {other, whole(0), whole(1)})));
        EXPECT_TRUE(isPoint(call(polar, {Cell::list({other, other}), whole(0), whole(1)}), 1, 0));
    }
    EXPECT_TRUE(isNil(call(polar, {Cell::list({whole(1)}), whole(0), whole(1)})));
}

TEST(Geometry, AngleAndDistanceWantLists) {
    for (const Cell& other : nonNumbers()) {
        if (other.is(CellType::List)) continue;
        EXPECT_TRUE(isNil(call(angle, {other, point(1, 1)}))) << dumpCell(other);
        EXPECT_TRUE(isNil(call(angle, {point(1, 1), other}))) << dumpCell(other);
        EXPECT_TRUE(isNil(call(distance, {other, point(1, 1)}))) << dumpCell(other);
        EXPECT_TRUE(isNil(call(distance, {point(1, 1), other}))) << dumpCell(other);
    }
    EXPECT_TRUE(isNear(call(distance, {Cell::list({}), point(3, 4)}), 5));
    EXPECT_TRUE(isNear(call(angle, {Cell::list({}), Cell::list({})}), 0));
}

// Polar, angle and distance undo one another wherever one stands.
TEST(Geometry, PolarAngleAndDistanceAgree) {
    std::mt19937 random(4711);
    std::uniform_real_distribution<double> place(-1000, 1000);
    std::uniform_real_distribution<double> direction(-pi + 1e-6, pi - 1e-6);
    std::uniform_real_distribution<double> length(0.5, 1000);
    for (int i = 0; i < 1000; ++i) {
        const Cell from = point(place(random), place(random));
        const double a = direction(random);
        const double d = length(random);
        const Cell to = call(polar, {from, real(a), real(d)});
        EXPECT_NEAR(call(angle, {from, to}).realValue(), a, 1e-9);
        EXPECT_NEAR(call(distance, {from, to}).realValue(), d, 1e-9);
    }
}

TEST(Geometry, AngleStaysBetweenMinusPiAndPi) {
    EXPECT_TRUE(isNear(call(angle, {point(0, 0), point(-1, -1)}), -3 * pi / 4));
    EXPECT_TRUE(isNear(call(angle, {point(0, 0), point(-1, 0)}), pi));
    EXPECT_TRUE(isNear(call(angle, {point(0, 0), point(0, -1)}), -pi / 2));
}

TEST(Geometry, IntersFindsWhereSegmentsCross) {
    std::mt19937 random(815);
    std::uniform_real_distribution<double> place(-100, 100);
    std::uniform_real_distribution<double> part(0.1, 0.9);
    int crossed = 0;
    for (int i = 0; i < 1000; ++i) {
        // Two segments through one chosen point, at chosen parts of each.
        const double x = place(random);
        const double y = place(random);
        const double x1 = place(random);
        const double y1 = place(random);
        const double x3 = place(random);
        const double y3 = place(random);
        const double t = part(random);
        const double u = part(random);
        const Cell p2 = point(x1 + (x - x1) / t, y1 + (y - y1) / t);
        const Cell p4 = point(x3 + (x - x3) / u, y3 + (y - y3) / u);
        const double den = (x - x1) * (y - y3) - (x - x3) * (y - y1);
        if (std::abs(den) < 1) continue;  // nearly parallel: too much is lost
        ++crossed;
        const Cell met = call(inters, {point(x1, y1), p2, point(x3, y3), p4});
        ASSERT_EQ(met.items().size(), 2u);
        EXPECT_NEAR(met.items()[0].realValue(), x, 1e-6);
        EXPECT_NEAR(met.items()[1].realValue(), y, 1e-6);
        // Cut short in front of the point, the first segment meets nothing.
        const Cell cut = point(x1 + (x - x1) * 0.9, y1 + (y - y1) * 0.9);
        EXPECT_TRUE(isPoint(call(inters, {point(x1, y1), cut, point(x3, y3), p4}), 0, 0));
        EXPECT_TRUE(isPoint(call(inters, {point(x3, y3), p4, point(x1, y1), cut}), 0, 0));
        // And the flag for endless lines changes nothing.
        EXPECT_TRUE(isPoint(call(inters, {point(x1, y1), cut, point(x3, y3), p4, NilCell}), 0, 0));
    }
    EXPECT_GT(crossed, 500);
}

TEST(Geometry, IntersOfSegmentsThatMeetAtTheirEnds) {
    EXPECT_TRUE(isPoint(call(inters, {point(0, 0), point(1, 1), point(1, 1), point(2, 0)}), 1, 1));
    EXPECT_TRUE(isPoint(call(inters, {point(1, 1), point(0, 0), point(2, 0), point(1, 1)}), 1, 1));
    EXPECT_TRUE(isPoint(call(inters, {point(1, 1), point(3, 1), point(2, 0), point(2, 1)}), 2, 1));
}

TEST(Geometry, IntersWithoutAPointIsTheOrigin) {
    // Parallel, collinear, without length.
    EXPECT_TRUE(isPoint(call(inters, {point(1, 1), point(2, 1), point(1, 2), point(2, 2)}), 0, 0));
    EXPECT_TRUE(isPoint(call(inters, {point(1, 1), point(4, 1), point(2, 1), point(3, 1)}), 0, 0));
    EXPECT_TRUE(isPoint(call(inters, {point(5, 5), point(5, 5), point(5, 5), point(5, 5)}), 0, 0));
    EXPECT_TRUE(isPoint(call(inters, {point(5, 5), point(5, 5), point(4, 5), point(6, 5)}), 0, 0));
}

TEST(Geometry, IntersWantsFourLists) {
    const Cell p = point(1, 1);
    for (std::size_t wrong = 0; wrong < 4; ++wrong)
        for (const Cell& other : nonNumbers()) {
            if (other.is(CellType::List)) continue;
            std::vector<Cell> arguments(4, p);
            arguments[wrong] = other;
            EXPECT_TRUE(isNil(inters(arguments))) << wrong << " " << dumpCell(other);
        }
}

}  // namespace
}  // namespace vlisp
