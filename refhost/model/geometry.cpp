// Plane geometry of drawing objects. See geometry.h.
// One idea: all arcs are centre + u cos t + v sin t, a form that every placement keeps, so that
// circles and ellipses are one case.
// Tests: tests/refhost/geometry_test.cpp.
#include "refhost/model/geometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <variant>

namespace vlisp::refhost {
namespace {

constexpr double pi = std::numbers::pi;
constexpr double fullTurn = 2 * pi;
constexpr double infinity = std::numeric_limits<double>::infinity();
// Products of two coordinates stay finite below this.
constexpr double largestCoordinate = 1e150;
// Below this the straight segment is nearer to the arc than the arc that doubles can compute.
constexpr double straightBulge = 1e-8;
constexpr double characterWidth = 0.6;     // of the height
constexpr double lineSpacing = 5.0 / 3.0;  // of the height

// --- Vectors and angles ---

Point2 operator+(Point2 a, Point2 b) noexcept { return {a.x + b.x, a.y + b.y}; }
Point2 operator-(Point2 a, Point2 b) noexcept { return {a.x - b.x, a.y - b.y}; }
Point2 operator*(double factor, Point2 a) noexcept { return {factor * a.x, factor * a.y}; }
double dot(Point2 a, Point2 b) noexcept { return a.x * b.x + a.y * b.y; }
double cross(Point2 a, Point2 b) noexcept { return a.x * b.y - a.y * b.x; }
double norm(Point2 a) noexcept { return std::hypot(a.x, a.y); }
Point2 leftOf(Point2 a) noexcept { return {-a.y, a.x}; }
Point2 planeOf(const mmPoint& point) noexcept { return {point.x, point.y}; }

bool drawable(double number) noexcept { return std::fabs(number) <= largestCoordinate; }
bool drawable(Point2 point) noexcept { return drawable(point.x) && drawable(point.y); }

// The angle's remainder, from 0 to below `turn`; not a number when the angle is not finite.
double normalised(double angle, double turn) noexcept {
    double rest = std::fmod(angle, turn);
    if (rest < 0) rest += turn;
    return rest >= turn ? 0 : rest;
}

// Cosine and sine. Quarter turns are exact, lest what is turned by them be askew by a last digit.
Point2 directionAt(double angle) noexcept {
    constexpr double noise = 1e-15;
    const Point2 exact{std::cos(angle), std::sin(angle)};
    if (std::fabs(exact.x) < noise) return {0, exact.y < 0 ? -1.0 : 1.0};
    if (std::fabs(exact.y) < noise) return {exact.x < 0 ? -1.0 : 1.0, 0};
    return exact;
}

double radians(double degrees) noexcept { return degrees / 180 * pi; }
double degrees(double radians) noexcept { return radians / pi * 180; }

// From start to end, counter-clockwise; above 0, a full turn at most.
double sweepBetween(double start, double end) noexcept {
    constexpr double noise = 1e-12;
    const double sweep = normalised(end - start, fullTurn);
    return sweep < noise || sweep > fullTurn - noise ? fullTurn : sweep;
}

// --- Pieces ---

struct Segment {
    Point2 from;
    Point2 to;
};

// centre + u cos t + v sin t for t from start to start + sweep; the sweep is above 0.
struct Curve {
    Point2 centre;
    Point2 u;
    Point2 v;
    double start;
    double sweep;
    Point2 from;  // the ends, not computed from the angles
    Point2 to;
};

// A filled parallelogram.
struct Frame {
    Point2 corner;
    Point2 along;
    Point2 up;
};

using Piece = std::variant<Segment, Curve, Frame>;

Point2 at(const Curve& curve, double t) noexcept {
    return curve.centre + std::cos(t) * curve.u + std::sin(t) * curve.v;
}

bool sweepsOver(const Curve& curve, double t) noexcept {
    return normalised(t - curve.start, fullTurn) <= curve.sweep;
}

Curve circleArc(Point2 centre, double radius, double start, double sweep) noexcept {
    const Point2 u{radius, 0};
    const Point2 from = centre + radius * directionAt(start);
    const Point2 to = sweep >= fullTurn ? from : centre + radius * directionAt(start + sweep);
    return {centre, u, leftOf(u), start, sweep, from, to};
}

// The arc over a chord. Its height over the chord is half the chord times the bulge, and a positive
// bulge runs counter-clockwise; centre and radius follow from the triangle of half the chord.
// None for a segment that is straight.
std::optional<Curve> bulgeArc(Point2 from, Point2 to, double bulge) noexcept {
    // Also true when the bulge is not a number.
    if (!(std::fabs(bulge) >= straightBulge) || from == to) return std::nullopt;
    const Point2 chord = to - from;
    const double side = (1 / bulge - bulge) / 4;
    const Point2 centre = from + 0.5 * chord + side * leftOf(chord);
    const double amount = std::fabs(bulge);
    const double radius = norm(chord) * ((1 / amount + amount) / 4);
    if (!drawable(centre) || !drawable(radius)) return std::nullopt;
    const Point2 first = bulge > 0 ? from : to;
    const Point2 last = bulge > 0 ? to : from;
    const Point2 spoke = first - centre;
    const Point2 u{radius, 0};
    return Curve{centre, u,   leftOf(u), std::atan2(spoke.y, spoke.x), 4 * std::atan(amount),
                 first,  last};
}

// An affine mapping: (x, y) to x * u + y * v + origin.
struct Placement {
    Point2 u{1, 0};
    Point2 v{0, 1};
    Point2 origin{0, 0};

    [[nodiscard]] Point2 vector(Point2 p) const noexcept { return p.x * u + p.y * v; }
    [[nodiscard]] Point2 point(Point2 p) const noexcept { return vector(p) + origin; }
};

Placement placementOf(const VmDbBlockRef& insert, Point2 insertion, Point2 base) noexcept {
    const Point2 x = directionAt(radians(insert.rotation));
    Placement placement{insert.xScale * x, insert.yScale * leftOf(x), {}};
    placement.origin = insertion - placement.vector(base);
    return placement;
}

Piece placed(const Piece& piece, const Placement& by) noexcept {
    if (const auto* segment = std::get_if<Segment>(&piece))
        return Segment{by.point(segment->from), by.point(segment->to)};
    if (const auto* frame = std::get_if<Frame>(&piece))
        return Frame{by.point(frame->corner), by.vector(frame->along), by.vector(frame->up)};
    Curve curve = std::get<Curve>(piece);
    curve.centre = by.point(curve.centre);
    curve.u = by.vector(curve.u);
    curve.v = by.vector(curve.v);
    curve.from = by.point(curve.from);
    curve.to = by.point(curve.to);
    return curve;
}

bool drawable(const Piece& piece) noexcept {
    if (const auto* segment = std::get_if<Segment>(&piece))
        return drawable(segment->from) && drawable(segment->to);
    if (const auto* frame = std::get_if<Frame>(&piece))
        return drawable(frame->corner) && drawable(frame->along) && drawable(frame->up);
    const auto& curve = std::get<Curve>(piece);
    return drawable(curve.centre) && drawable(curve.u) && drawable(curve.v) &&
           drawable(curve.from) && drawable(curve.to) && std::isfinite(curve.start) &&
           std::isfinite(curve.sweep);
}

// --- From objects to pieces ---

double bulgeAt(const VmDb2DPolyline& polyline, std::int32_t vertex) noexcept {
    return vertex < polyline.bulges.count ? polyline.bulges.values[vertex] : 0;
}

std::int32_t segmentCount(const VmDb2DPolyline& polyline) noexcept {
    const std::int32_t vertices = polyline.points.count;
    return vertices > 1 && polyline.closed != 0 ? vertices : vertices - 1;
}

// The ends of a polyline's segment.
Segment segmentAt(const VmDb2DPolyline& polyline, std::int32_t segment) noexcept {
    const mmPoint* const points = polyline.points.points;
    const std::int32_t next = segment + 1 < polyline.points.count ? segment + 1 : 0;
    return {planeOf(points[segment]), planeOf(points[next])};
}

// Characters, not units: a pair of surrogates is one.
std::size_t characterCount(std::u16string_view text) noexcept {
    std::size_t count = 0;
    bool high = false;
    for (const char16_t unit : text) {
        if (!(high && unit >= 0xDC00 && unit <= 0xDFFF)) ++count;
        high = unit >= 0xD800 && unit <= 0xDBFF;
    }
    return count;
}

struct TextSize {
    std::size_t lines = 1;
    std::size_t longest = 0;  // characters
};

TextSize sizeOf(const VmDbText& text) noexcept {
    const std::u16string_view whole(text.text.units(), text.text.length());
    if (text.typeCode != vmDbMText) return {1, characterCount(whole)};
    constexpr std::u16string_view separator = u"\\P";
    TextSize size;
    std::size_t begin = 0;
    for (std::size_t end = whole.find(separator); end != std::u16string_view::npos;
         end = whole.find(separator, begin)) {
        size.longest = std::max(size.longest, characterCount(whole.substr(begin, end - begin)));
        begin = end + separator.size();
        ++size.lines;
    }
    size.longest = std::max(size.longest, characterCount(whole.substr(begin)));
    return size;
}

Frame frameOf(const VmDbText& text, Point2 insertion) noexcept {
    const TextSize size = sizeOf(text);
    const double height = std::fabs(text.height);
    const Point2 x = directionAt(radians(text.rotation));
    const double width = characterWidth * height * static_cast<double>(size.longest);
    const double tall = height + static_cast<double>(size.lines - 1) * lineSpacing * height;
    const Point2 up = tall * leftOf(x);
    return {text.typeCode == vmDbMText ? insertion - up : insertion, width * x, up};
}

// Takes objects apart, inserts included. The visitor gets every piece that is drawn, and answers
// whether it wants more.
class PieceWalk {
  public:
    using Visitor = std::function<bool(const Piece&)>;

    PieceWalk(const BlockLookup& blocks, const Visitor& visitor)
        : blocks_(blocks), visitor_(visitor) {}

    void run(const VmDbObject& object) {
        visit(object, Placement());
        if (!found_ && object.points.count > 0) show(pointPiece(object, 0), Placement());
    }

  private:
    static Piece pointPiece(const VmDbObject& object, std::int32_t index) noexcept {
        const Point2 point = planeOf(object.points.points[index]);
        return Segment{point, point};
    }

    // All of these answer whether the walk goes on.

    bool show(const Piece& piece, const Placement& by) {
        const Piece result = placed(piece, by);
        if (!drawable(result)) return true;
        if (!spend()) return false;
        found_ = true;
        return visitor_(result);
    }

    bool spend() noexcept { return open_.empty() || --left_ >= 0; }

    bool visit(const VmDbObject& object, const Placement& by) {
        if (object.points.count <= 0) return true;
        const Point2 first = planeOf(object.points.points[0]);
        if (const auto* insert = dynamic_cast<const VmDbBlockRef*>(&object))
            return visitContents(*insert, first, by);
        if (const auto* polyline = dynamic_cast<const VmDb2DPolyline*>(&object))
            return visitPolyline(*polyline, by);
        if (dynamic_cast<const VmDbLine*>(&object) != nullptr) {
            const std::int32_t last = object.points.count > 1 ? 1 : 0;
            return show(Segment{first, planeOf(object.points.points[last])}, by);
        }
        if (const auto* circle = dynamic_cast<const VmDbCircle*>(&object))
            return show(circleArc(first, std::fabs(circle->radius), 0, fullTurn), by);
        if (const auto* arc = dynamic_cast<const VmDbArc*>(&object)) {
            const double start = normalised(arc->startAngle, fullTurn);
            const double sweep = sweepBetween(arc->startAngle, arc->endAngle);
            return show(circleArc(first, std::fabs(arc->radius), start, sweep), by);
        }
        if (const auto* text = dynamic_cast<const VmDbText*>(&object))
            return show(frameOf(*text, first), by);
        for (std::int32_t i = 0; i < object.points.count; ++i)
            if (!show(pointPiece(object, i), by)) return false;
        return true;
    }

    bool visitPolyline(const VmDb2DPolyline& polyline, const Placement& by) {
        if (polyline.points.count == 1) return show(pointPiece(polyline, 0), by);
        for (std::int32_t i = 0; i < segmentCount(polyline); ++i) {
            const Segment ends = segmentAt(polyline, i);
            const auto arc = bulgeArc(ends.from, ends.to, bulgeAt(polyline, i));
            if (!show(arc ? Piece(*arc) : Piece(ends), by)) return false;
        }
        return true;
    }

    bool visitContents(const VmDbBlockRef& insert, Point2 insertion, const Placement& by) {
        if (!blocks_ || open_.size() >= static_cast<std::size_t>(deepestInsert)) return true;
        Point2 base;
        const std::u16string_view name(insert.blockName.units(), insert.blockName.length());
        const auto* const contents = blocks_(name, base);
        if (contents == nullptr || std::ranges::find(open_, contents) != open_.end()) return true;
        const Placement inner = placementOf(insert, insertion, base);
        const Placement whole{by.vector(inner.u), by.vector(inner.v), by.point(inner.origin)};
        open_.push_back(contents);
        bool more = true;
        for (const VmDbObject* object : *contents) {
            if (object == nullptr || object->erased != 0) continue;
            more = spend() && visit(*object, whole);
            if (!more) break;
        }
        open_.pop_back();
        return more;
    }

    const BlockLookup& blocks_;
    const Visitor& visitor_;
    std::vector<const std::vector<const VmDbObject*>*> open_;  // blocks that are being visited
    int left_ = mostInsertedPieces;
    bool found_ = false;
};

void forEachPiece(const VmDbObject& object, const BlockLookup& blocks,
                  const PieceWalk::Visitor& visitor) {
    PieceWalk(blocks, visitor).run(object);
}

// --- Extents ---

Box boxOf(const Segment& segment) noexcept { return Box::between(segment.from, segment.to); }

// A coordinate c + a cos t + b sin t is extreme at the angle of (a, b) and opposite to it.
Box boxOf(const Curve& curve) noexcept {
    Box box = Box::between(curve.from, curve.to);
    const auto stretch = [&curve](double centre, double a, double b, double& low, double& high) {
        const double reach = std::hypot(a, b);
        const double t = std::atan2(b, a);
        if (sweepsOver(curve, t)) high = std::max(high, centre + reach);
        if (sweepsOver(curve, t + pi)) low = std::min(low, centre - reach);
    };
    stretch(curve.centre.x, curve.u.x, curve.v.x, box.left, box.right);
    stretch(curve.centre.y, curve.u.y, curve.v.y, box.bottom, box.top);
    return box;
}

Box boxOf(const Frame& frame) noexcept {
    Box box = Box::between(frame.corner, frame.corner + frame.along + frame.up);
    box.add(frame.corner + frame.along);
    box.add(frame.corner + frame.up);
    return box;
}

// --- Distances ---

double distance(const Segment& segment, Point2 point) noexcept {
    const Point2 run = segment.to - segment.from;
    const double square = dot(run, run);
    const double t = square > 0 ? std::clamp(dot(point - segment.from, run) / square, 0.0, 1.0) : 0;
    return std::min(norm(point - (segment.from + t * run)), norm(point - segment.to));
}

bool isCircular(const Curve& curve) noexcept {
    constexpr double noise = 1e-12;
    const double u = dot(curve.u, curve.u);
    const double v = dot(curve.v, curve.v);
    return std::fabs(u - v) <= noise * u && std::fabs(dot(curve.u, curve.v)) <= noise * u;
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

bool touches(const Frame& frame, const Box& box) noexcept {
    for (const Segment& edge : edges(frame))
        if (touches(edge, box)) return true;
    return covers(frame, {box.left, box.bottom});
}

// --- Measures ---

double lengthOf(const Segment& segment) noexcept { return norm(segment.to - segment.from); }
double lengthOf(const Curve& curve) noexcept { return curve.sweep * norm(curve.u); }
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

void transform(VmDbObject& object, const Similarity& by) {
    for (std::int32_t i = 0; i < object.points.count; ++i)
        object.points.points[i] = by.apply(object.points.points[i]);
    const auto turn = [&by](double& rotation) {
        if (by.angle != 0) rotation = normalised(rotation + degrees(by.angle), 360);
    };
    if (auto* circle = dynamic_cast<VmDbCircle*>(&object)) circle->radius *= by.factor;
    if (auto* arc = dynamic_cast<VmDbArc*>(&object)) {
        arc->radius *= by.factor;
        if (by.angle != 0) {
            arc->startAngle = normalised(arc->startAngle + by.angle, fullTurn);
            arc->endAngle = normalised(arc->endAngle + by.angle, fullTurn);
        }
    }
    if (auto* text = dynamic_cast<VmDbText*>(&object)) {
        text->height *= by.factor;
        turn(text->rotation);
    }
    if (auto* insert = dynamic_cast<VmDbBlockRef*>(&object)) {
        insert->xScale *= by.factor;
        insert->yScale *= by.factor;
        turn(insert->rotation);
    }
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
