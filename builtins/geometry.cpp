// Math and plane geometry. See geometry.h.
#include "builtins/geometry.h"

#include "builtins/arguments.h"

#include <cmath>

namespace vlisp {
namespace {

struct Vector {
    double x;
    double y;
};

// X and Y of a point; what is missing or not a number counts as its integer field, 0.
Vector pointOf(const Cell& point) noexcept {
    const Items items = point.items();
    return {items.empty() ? 0.0 : items[0].numericValue(),
            items.size() < 2 ? 0.0 : items[1].numericValue()};
}

Vector difference(Vector to, Vector from) noexcept { return {to.x - from.x, to.y - from.y}; }

Cell pointCell(double x, double y) { return Cell::list({Cell::real(x), Cell::real(y)}); }

bool hasLists(Arguments arguments, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i)
        if (!has(arguments, i, CellType::List)) return false;
    return true;
}

template <class Function> Cell realFunction(Arguments arguments, Function function) {
    if (!hasNumber(arguments, 0)) return NilCell;
    return Cell::real(function(arguments[0].numericValue()));
}

}  // namespace

Cell sqrtOf(Arguments arguments) {
    return realFunction(arguments, [](double x) { return std::sqrt(x); });
}
Cell sinOf(Arguments arguments) {
    return realFunction(arguments, [](double x) { return std::sin(x); });
}
Cell cosOf(Arguments arguments) {
    return realFunction(arguments, [](double x) { return std::cos(x); });
}

Cell atanOf(Arguments arguments) {
    if (!hasNumber(arguments, 0)) return NilCell;
    const double y = arguments[0].numericValue();
    if (arguments.size() < 2) return Cell::real(std::atan(y));
    return Cell::real(std::atan2(y, arguments[1].numericValue()));
}

Cell polar(Arguments arguments) {
    if (arguments.size() < 3 || !has(arguments, 0, CellType::List)) return NilCell;
    if (arguments[0].items().size() < 2) return NilCell;
    const Vector from = pointOf(arguments[0]);
    const double direction = arguments[1].numericValue();
    const double length = arguments[2].numericValue();
    return pointCell(from.x + std::cos(direction) * length, from.y + std::sin(direction) * length);
}

Cell angle(Arguments arguments) {
    if (!hasLists(arguments, 2)) return NilCell;
    const Vector d = difference(pointOf(arguments[1]), pointOf(arguments[0]));
    return Cell::real(std::atan2(d.y, d.x));
}

Cell distance(Arguments arguments) {
    if (!hasLists(arguments, 2)) return NilCell;
    const Vector d = difference(pointOf(arguments[1]), pointOf(arguments[0]));
    return Cell::real(std::sqrt(d.x * d.x + d.y * d.y));
}

// Where the segments P1-P2 and P3-P4 meet: both are written as a start and a direction, and the
// two equations solved for the position along each.
Cell inters(Arguments arguments) {
    if (!hasLists(arguments, 4)) return NilCell;
    const Vector p1 = pointOf(arguments[0]);
    const Vector p3 = pointOf(arguments[2]);
    const Vector d1 = difference(pointOf(arguments[1]), p1);
    const Vector d2 = difference(pointOf(arguments[3]), p3);
    const double denominator = d2.y * d1.x - d2.x * d1.y;
    const double u = ((p1.y - p3.y) * d1.x - (p1.x - p3.x) * d1.y) / denominator;
    const double t = ((p1.y - p3.y) * d2.x - (p1.x - p3.x) * d2.y) / denominator;
    if (u >= 0 && u <= 1 && t >= 0 && t <= 1) return pointCell(p1.x + t * d1.x, p1.y + t * d1.y);
    // On purpose: no intersection is told by the origin, not by nil.
    return pointCell(0, 0);
}

}  // namespace vlisp
