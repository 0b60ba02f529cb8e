// Plane geometry of drawing objects. See geometry.h.
// One idea: each question is put to the pieces that an object is drawn as.
// Tests: tests/refhost/geometry_test.cpp.
#include "refhost/model/geometry.h"

#include "refhost/model/file_part.h"
#include "refhost/model/objects.h"
#include "refhost/model/pieces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numeric>
#include <utility>
#include <variant>
#include <vector>

namespace vlisp::refhost {

using namespace pieces;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// --- Distances ---

double distance(const Segment& segment, Point2 point) noexcept {
    const Point2 run = segment.to - segment.from;
    const double square = dot(run, run);
    const double t = square > 0 ? std::clamp(dot(point - segment.from, run) / square, 0.0, 1.0) : 0;
    return std::min(norm(point - (segment.from + t * run)), norm(point - segment.to));
}

// Where the curve comes nearest the slope of the distance turns from negative to positive. The
// square of the distance is a trigonometric polynomial of degree 2, so that few samples find all
// such places but those with a farthest place beside them at almost the same distance.
double ellipseDistance(const Curve& curve, Point2 point) noexcept {
    constexpr int samples = 256;
    constexpr int halvings = 52;
    const auto slope = [&curve, point](double t) {
        const Point2 tangent = std::cos(t) * curve.v - std::sin(t) * curve.u;
        return dot(at(curve, t) - point, tangent);
    };
    double nearest = infinity;
    double before = curve.start;
    double slopeBefore = slope(before);
    for (int i = 1; i <= samples; ++i) {
        const double t = curve.start + curve.sweep * i / samples;
        const double slopeHere = slope(t);
        if (slopeBefore < 0 && slopeHere >= 0) {
            double low = before;
            double high = t;
            for (int halving = 0; halving < halvings; ++halving) {
                const double middle = std::midpoint(low, high);
                (slope(middle) < 0 ? low : high) = middle;
            }
            nearest = std::min(nearest, norm(at(curve, high) - point));
        }
        nearest = std::min(nearest, norm(at(curve, t) - point));
        before = t;
        slopeBefore = slopeHere;
    }
    return nearest;
}

double distance(const Curve& curve, Point2 point) noexcept {
    const double toEnds = std::min(norm(point - curve.from), norm(point - curve.to));
    if (!isCircular(curve)) return std::min(toEnds, ellipseDistance(curve, point));
    const Point2 spoke = point - curve.centre;
    const double t = std::atan2(dot(spoke, curve.v), dot(spoke, curve.u));
    if (!sweepsOver(curve, t)) return toEnds;
    return std::min(toEnds, std::fabs(norm(spoke) - norm(curve.u)));
}

// Chords of a cubic: they leave it by less than 1e-4 of its size.
constexpr int chordCount = 256;

// Calls `with` for each chord until it answers false.
template <class With> void forEachChord(const Cubic& cubic, With with) {
    Point2 before = cubic.from;
    for (int i = 1; i <= chordCount; ++i) {
        const Point2 here =
            i == chordCount ? cubic.to : at(cubic, i / static_cast<double>(chordCount));
        if (!with(Segment{before, here})) return;
        before = here;
    }
}

double distance(const Cubic& cubic, Point2 point) noexcept {
    double nearest = infinity;
    forEachChord(cubic, [&](const Segment& chord) {
        nearest = std::min(nearest, distance(chord, point));
        return true;
    });
    return nearest;
}

bool covers(const Frame& frame, Point2 point) noexcept {
    const double whole = cross(frame.along, frame.up);
    const Point2 offset = point - frame.corner;
    const double across = cross(offset, frame.up) / whole;
    const double above = cross(frame.along, offset) / whole;
    // Nothing is covered, and all is false, when the frame is a line.
    return across >= 0 && across <= 1 && above >= 0 && above <= 1;
}

std::array<Segment, 4> edges(const Frame& frame) noexcept {
    const Point2 a = frame.corner;
    const Point2 b = a + frame.along;
    const Point2 c = b + frame.up;
    const Point2 d = a + frame.up;
    return {Segment{a, b}, Segment{b, c}, Segment{c, d}, Segment{d, a}};
}

double distance(const Frame& frame, Point2 point) noexcept {
    if (covers(frame, point)) return 0;
    double nearest = infinity;
    for (const Segment& edge : edges(frame)) nearest = std::min(nearest, distance(edge, point));
    return nearest;
}

// --- Windows ---

// Narrows the part first..last of from + t * run to what lies between low and high.
bool narrow(double from, double run, double low, double high, double& first,
            double& last) noexcept {
    if (run == 0) return low <= from && from <= high;
    const double a = (low - from) / run;
    const double b = (high - from) / run;
    first = std::max(first, std::min(a, b));
    last = std::min(last, std::max(a, b));
    return first <= last;
}

bool touches(const Segment& segment, const Box& box) noexcept {
    if (box.contains(segment.from) || box.contains(segment.to)) return true;
    const Point2 run = segment.to - segment.from;
    double first = 0;
    double last = 1;
    return narrow(segment.from.x, run.x, box.left, box.right, first, last) &&
           narrow(segment.from.y, run.y, box.bottom, box.top, first, last);
}

// Whether the curve passes `level` in one coordinate, c + a cos t + b sin t, where the other lies
// between low and high.
bool passes(const Curve& curve, double Point2::*coordinate, double Point2::*other, double level,
            double low, double high) noexcept {
    const double a = curve.u.*coordinate;
    const double b = curve.v.*coordinate;
    const double reach = std::hypot(a, b);
    const double height = level - curve.centre.*coordinate;
    if (!(std::fabs(height) <= reach)) return false;
    const double top = std::atan2(b, a);
    const double aside = std::atan2(std::sqrt((reach - height) * (reach + height)), height);
    for (const double t : {top - aside, top + aside}) {
        const double where = at(curve, t).*other;
        if (sweepsOver(curve, t) && low <= where && where <= high) return true;
    }
    return false;
}

bool touches(const Curve& curve, const Box& box) noexcept {
    if (box.contains(curve.from) || box.contains(curve.to)) return true;
    // No end is inside, so whatever is inside came in through a side.
    const auto passesX = [&](double x) {
        return passes(curve, &Point2::x, &Point2::y, x, box.bottom, box.top);
    };
    const auto passesY = [&](double y) {
        return passes(curve, &Point2::y, &Point2::x, y, box.left, box.right);
    };
    return passesX(box.left) || passesX(box.right) || passesY(box.bottom) || passesY(box.top);
}

bool touches(const Cubic& cubic, const Box& box) noexcept {
    bool found = false;
    forEachChord(cubic, [&](const Segment& chord) {
        found = touches(chord, box);
        return !found;
    });
    return found;
}

bool touches(const Frame& frame, const Box& box) noexcept {
    for (const Segment& edge : edges(frame))
        if (touches(edge, box)) return true;
    return covers(frame, {box.left, box.bottom});
}

// --- Measures ---

double lengthOf(const Segment& segment) noexcept { return norm(segment.to - segment.from); }
double lengthOf(const Curve& curve) noexcept { return curve.sweep * norm(curve.u); }
double lengthOf(const Cubic&) noexcept { return 0; }  // of carried objects, which have no measure
double lengthOf(const Frame&) noexcept { return 0; }

// angle - sin(angle), by its series where the difference would lose its digits.
double segmentFactor(double angle) noexcept {
    constexpr double small = 1e-2;
    if (angle >= small) return angle - std::sin(angle);
    const double square = angle * angle;
    return angle * square / 6 * (1 - square / 20 * (1 - square / 42));
}

double areaOf(const VmDb2DPolyline& polyline) noexcept {
    if (polyline.closed == 0 || polyline.points.count < 2) return 0;
    const Point2 origin = planeOf(polyline.points.points[0]);
    double twice = 0;
    for (std::int32_t i = 0; i < segmentCount(polyline); ++i) {
        const Segment ends = segmentAt(polyline, i);
        twice += cross(ends.from - origin, ends.to - origin);
        const double bulge = bulgeAt(polyline, i);
        if (const auto arc = bulgeArc(ends.from, ends.to, bulge)) {
            const double cut = dot(arc->u, arc->u) * segmentFactor(arc->sweep);
            twice += bulge > 0 ? cut : -cut;
        }
    }
    return std::fabs(twice) / 2;
}

}  // namespace

// --- Box ---

Box Box::between(Point2 corner, Point2 opposite) noexcept {
    Box box;
    box.add(corner);
    box.add(opposite);
    return box;
}

void Box::add(Point2 point) noexcept {
    if (std::isnan(point.x) || std::isnan(point.y)) return;
    left = std::min(left, point.x);
    bottom = std::min(bottom, point.y);
    right = std::max(right, point.x);
    top = std::max(top, point.y);
}

void Box::add(const Box& other) noexcept {
    if (other.isEmpty()) return;
    add(Point2{other.left, other.bottom});
    add(Point2{other.right, other.top});
}

bool Box::contains(Point2 point) const noexcept {
    return left <= point.x && point.x <= right && bottom <= point.y && point.y <= top;
}

bool Box::contains(const Box& other) const noexcept {
    return !other.isEmpty() && contains(Point2{other.left, other.bottom}) &&
           contains(Point2{other.right, other.top});
}

bool Box::intersects(const Box& other) const noexcept {
    return !isEmpty() && !other.isEmpty() && left <= other.right && other.left <= right &&
           bottom <= other.top && other.bottom <= top;
}

double Box::distance(Point2 point) const noexcept {
    if (isEmpty() || std::isnan(point.x) || std::isnan(point.y)) return infinity;
    if (contains(point)) return 0;
    return std::hypot(std::max({left - point.x, 0.0, point.x - right}),
                      std::max({bottom - point.y, 0.0, point.y - top}));
}

// --- Questions ---

Box extentOf(const VmDbObject& object, const BlockLookup& blocks) {
    Box box;
    forEachPiece(object, blocks, [&box](const Piece& piece) {
        box.add(std::visit([](const auto& shape) { return boxOf(shape); }, piece));
        return true;
    });
    return box;
}

double distanceTo(const VmDbObject& object, Point2 point, const BlockLookup& blocks) {
    double nearest = infinity;
    if (!drawable(point)) return nearest;
    forEachPiece(object, blocks, [&nearest, point](const Piece& piece) {
        std::visit(
            [&nearest, point](const auto& shape) {
                if (boxOf(shape).distance(point) < nearest)
                    nearest = std::min(nearest, distance(shape, point));
            },
            piece);
        return nearest > 0;
    });
    return nearest;
}

bool crosses(const VmDbObject& object, const Box& box, const BlockLookup& blocks) {
    bool found = false;
    if (box.isEmpty()) return found;
    forEachPiece(object, blocks, [&found, &box](const Piece& piece) {
        found = std::visit(
            [&box](const auto& shape) {
                return box.intersects(boxOf(shape)) && touches(shape, box);
            },
            piece);
        return !found;
    });
    return found;
}

bool inside(const VmDbObject& object, const Box& box, const BlockLookup& blocks) {
    return box.contains(extentOf(object, blocks));
}

Point2 pointOn(const VmDbObject& object) {
    if (object.points.count <= 0) return {};
    const Point2 first = planeOf(object.points.points[0]);
    if (dynamic_cast<const VmDbLine*>(&object) != nullptr && object.points.count > 1) {
        const Point2 last = planeOf(object.points.points[1]);
        return {std::midpoint(first.x, last.x), std::midpoint(first.y, last.y)};
    }
    if (const auto* circle = dynamic_cast<const VmDbCircle*>(&object))
        return first + Point2{std::fabs(circle->radius), 0};
    if (const auto* arc = dynamic_cast<const VmDbArc*>(&object)) {
        const double sweep = sweepBetween(arc->startAngle, arc->endAngle);
        return first + std::fabs(arc->radius) * directionAt(arc->startAngle + sweep / 2);
    }
    return first;
}

double length(const VmDbObject& object) {
    double sum = 0;
    if (dynamic_cast<const CarriedObject*>(&object) != nullptr) return sum;
    forEachPiece(object, BlockLookup(), [&sum](const Piece& piece) {
        sum += std::visit([](const auto& shape) { return lengthOf(shape); }, piece);
        return true;
    });
    return sum;
}

double area(const VmDbObject& object) {
    double result = 0;
    if (const auto* circle = dynamic_cast<const VmDbCircle*>(&object))
        result = pi * circle->radius * circle->radius;
    if (const auto* polyline = dynamic_cast<const VmDb2DPolyline*>(&object))
        result = areaOf(*polyline);
    return std::isfinite(result) ? result : 0;
}

// --- Transformations ---

namespace {

// The same rotation and scaling, with `base` where it is.
Similarity around(const mmPoint& base, Similarity by) noexcept {
    const mmPoint elsewhere = by.apply(base);
    by.dx += base.x - elsewhere.x;
    by.dy += base.y - elsewhere.y;
    by.dz += base.z - elsewhere.z;
    return by;
}

}  // namespace

Similarity Similarity::rotated(double angle, Point2 base) noexcept {
    const Point2 direction = directionAt(angle);
    Similarity made;
    made.angle = angle;
    made.cosine = direction.x;
    made.sine = direction.y;
    return around({base.x, base.y, 0}, made);
}

Similarity Similarity::scaled(double factor, const mmPoint& base) noexcept {
    Similarity made = factor < 0 ? rotated(pi, {}) : Similarity();
    made.factor = std::fabs(factor);
    return around(base, made);
}

Similarity Similarity::moved(const mmPoint& by) noexcept {
    Similarity made;
    made.dx = by.x;
    made.dy = by.y;
    made.dz = by.z;
    return made;
}

Similarity Similarity::then(const Similarity& next) const noexcept {
    Similarity made;
    made.factor = factor * next.factor;
    made.angle = angle + next.angle;
    made.cosine = cosine * next.cosine - sine * next.sine;
    made.sine = sine * next.cosine + cosine * next.sine;
    const Point2 origin = next.apply(Point2{dx, dy});
    made.dx = origin.x;
    made.dy = origin.y;
    made.dz = next.factor * dz + next.dz;
    return made;
}

Point2 Similarity::apply(Point2 point) const noexcept {
    return {factor * (cosine * point.x - sine * point.y) + dx,
            factor * (sine * point.x + cosine * point.y) + dy};
}

mmPoint Similarity::apply(const mmPoint& point) const noexcept {
    const Point2 plane = apply(planeOf(point));
    return {plane.x, plane.y, factor * point.z + dz};
}

namespace {

mmPoint combined(const PlaneAxes& axes, const mmPoint& p) noexcept {
    return {p.x * axes.x.x + p.y * axes.y.x + p.z * axes.up.x,
            p.x * axes.x.y + p.y * axes.y.y + p.z * axes.up.y,
            p.x * axes.x.z + p.y * axes.y.z + p.z * axes.up.z};
}

double along(const mmPoint& axis, const mmPoint& p) noexcept {
    return axis.x * p.x + axis.y * p.y + axis.z * p.z;
}

mmPoint seenIn(const PlaneAxes& axes, const mmPoint& p) noexcept {
    return {along(axes.x, p), along(axes.y, p), along(axes.up, p)};
}

// How a transformation of the drawing is one of an object in its own plane, and the plane after it.
struct PlaneChange {
    PlaneAxes before;
    PlaneAxes after;
    Similarity by;
    double turn = 0;  // of directions in the plane, radians

    [[nodiscard]] mmPoint apply(const mmPoint& point) const noexcept {
        return seenIn(after, by.apply(combined(before, point)));
    }
};

PlaneChange changeOf(const mmPoint& normal, const Similarity& by) noexcept {
    Similarity rotation;
    rotation.angle = by.angle;
    rotation.cosine = by.cosine;
    rotation.sine = by.sine;
    PlaneChange change;
    change.by = by;
    change.before = axesOf(normal);
    change.after = axesOf(rotation.apply(change.before.up));
    const mmPoint turned = seenIn(change.after, rotation.apply(change.before.x));
    change.turn = std::atan2(turned.y, turned.x);
    return change;
}

// What an object from a file has beyond its members; `pointBy` maps a point of its plane.
void transformPart(Appearance& look, double factor, const Similarity& by,
                   const std::function<mmPoint(const mmPoint&)>& pointBy) {
    look.alignment = planeOf(pointBy({look.alignment.x, look.alignment.y, 0}));
    look.width *= factor;
    look.columnSpacing *= factor;
    look.rowSpacing *= factor;
    if (look.attributes == nullptr) return;
    auto attributes = std::make_shared<std::vector<std::unique_ptr<VmDbObject>>>();
    for (const auto& attribute : *look.attributes) {
        if (attribute == nullptr) continue;
        attributes->push_back(clone(*attribute));
        transform(*attributes->back(), by);
    }
    look.attributes = std::move(attributes);
}

// Members that are no points: sizes by the factor, directions by an angle in radians.
void transformMembers(VmDbObject& object, double factor, double angle) {
    const auto turn = [angle](double& rotation) {
        if (angle != 0) rotation = normalised(rotation + degrees(angle), 360);
    };
    if (auto* circle = dynamic_cast<VmDbCircle*>(&object)) circle->radius *= factor;
    if (auto* arc = dynamic_cast<VmDbArc*>(&object)) {
        arc->radius *= factor;
        if (angle != 0) {
            arc->startAngle = normalised(arc->startAngle + angle, fullTurn);
            arc->endAngle = normalised(arc->endAngle + angle, fullTurn);
        }
    }
    if (auto* text = dynamic_cast<VmDbText*>(&object)) {
        text->height *= factor;
        turn(text->rotation);
    }
    if (auto* insert = dynamic_cast<VmDbBlockRef*>(&object)) {
        insert->xScale *= factor;
        insert->yScale *= factor;
        turn(insert->rotation);
    }
}

bool isUpright(const mmPoint& normal) noexcept {
    return normal.x == 0 && normal.y == 0 && normal.z > 0;
}

}  // namespace

void transform(VmDbObject& object, const Similarity& by) {
    FilePart* const part = filePartOf(object);
    std::function<mmPoint(const mmPoint&)> pointBy = [&by](const mmPoint& p) {
        return by.apply(p);
    };
    double angle = by.angle;
    if (part != nullptr && !isUpright(part->appearance.normal) &&
        dynamic_cast<VmDbLine*>(&object) == nullptr) {
        const PlaneChange change = changeOf(part->appearance.normal, by);
        part->appearance.normal = change.after.up;
        if (by.angle != 0) angle = change.turn;
        pointBy = [change](const mmPoint& p) { return change.apply(p); };
    }
    for (std::int32_t i = 0; i < object.points.count; ++i)
        object.points.points[i] = pointBy(object.points.points[i]);
    transformMembers(object, by.factor, angle);
    if (part != nullptr) transformPart(part->appearance, by.factor, by, pointBy);
}

// --- Construction ---

// The centre is as far from all three: two linear equations, with the first point as the origin.
std::optional<ArcShape> arcThrough(Point2 first, Point2 second, Point2 last) noexcept {
    constexpr double noise = 1e-10;  // the sine of the smallest angle that counts as a bend
    if (!drawable(first) || !drawable(second) || !drawable(last)) return std::nullopt;
    const Point2 b = second - first;
    const Point2 c = last - first;
    const double bend = cross(b, c);
    if (!(std::fabs(bend) > noise * norm(b) * norm(c)) || second == last) return std::nullopt;
    const Point2 offset = leftOf((dot(c, c) / (2 * bend)) * b - (dot(b, b) / (2 * bend)) * c);
    const Point2 centre = first + offset;
    const auto angleOf = [centre](Point2 point) {
        const Point2 spoke = point - centre;
        return normalised(std::atan2(spoke.y, spoke.x), fullTurn);
    };
    const bool counterClockwise = bend > 0;
    return ArcShape{centre, norm(offset), angleOf(counterClockwise ? first : last),
                    angleOf(counterClockwise ? last : first)};
}

}  // namespace vlisp::refhost
