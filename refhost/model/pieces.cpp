// Drawing objects taken apart. See pieces.h.
// One idea: all arcs are centre + u cos t + v sin t, a form that every placement keeps, so that
// circles and ellipses are one case.
// Tests: tests/refhost/pieces_test.cpp, tests/refhost/geometry_test.cpp.
#include "refhost/model/pieces.h"

#include "refhost/model/text_layout.h"

#include <algorithm>
#include <array>
#include <memory>

namespace vlisp::refhost::pieces {
namespace {

// Below this the straight segment is nearer to the arc than the arc that doubles can compute.
constexpr double straightBulge = 1e-8;
constexpr double characterWidth = 0.6;     // of the height
constexpr double lineSpacing = 5.0 / 3.0;  // of the height
constexpr double descent = 1.0 / 3.0;      // of the height: from the baseline down
constexpr double mostOblique = 85;         // degrees

Curve circleArc(Point2 centre, double radius, double start, double sweep) noexcept {
    const Point2 u{radius, 0};
    const Point2 from = centre + radius * directionAt(start);
    const Point2 to = sweep >= fullTurn ? from : centre + radius * directionAt(start + sweep);
    return {centre, u, leftOf(u), start, sweep, from, to};
}

Point2 firstPoint(const VmDbObject& object) noexcept {
    return object.points.count > 0 ? planeOf(object.points.points[0]) : Point2();
}

Piece pointPiece(Point2 point) noexcept { return Segment{point, point}; }

Placement placementOf(const VmDbBlockRef& insert, Point2 insertion, Point2 base) noexcept {
    const Point2 x = directionAt(radians(insert.rotation));
    Placement placement{insert.xScale * x, insert.yScale * leftOf(x), {}};
    placement.origin = insertion - placement.vector(base);
    return placement;
}

// --- Texts ---

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

std::u16string_view wholeOf(const VmDbText& text) noexcept {
    return {text.text.units(), text.text.length()};
}

struct TextSize {
    std::size_t lines = 1;
    std::size_t longest = 0;  // characters
};

// A text that a program wrote counts as it is written, but for the ends of its lines.
TextSize writtenSize(const VmDbText& text) noexcept {
    const std::u16string_view whole = wholeOf(text);
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

TextSize sizeOf(const VmDbText& text) {
    if (filePartOf(text) == nullptr) return writtenSize(text);
    const auto lines = linesOf(text);
    TextSize size{lines.size(), 0};
    for (const auto& line : lines) size.longest = std::max(size.longest, characterCount(line));
    return size;
}

Frame frameOf(const VmDbText& text) {
    const TextSize size = sizeOf(text);
    const TextShape shape = shapeOf(text, size.lines);
    const double width = shape.width.value_or(
        characterWidth * shape.height * static_cast<double>(size.longest) * shape.widthFactor);
    const double below = static_cast<double>(size.lines - 1) * shape.advance;
    Point2 corner = shape.baseline - below * shape.up;
    if (shape.anchor != 0) corner = corner - (shape.anchor * width) * shape.along;
    return {corner, width * shape.along, (shape.height + below) * shape.up};
}

void placeBlockText(TextShape& shape, const VmDbText& text, std::size_t lines) noexcept {
    const FilePart* const part = filePartOf(text);
    const int asked = part != nullptr ? part->appearance.attachment : 1;
    const int attachment = asked >= 1 && asked <= 9 ? asked - 1 : 0;
    shape.advance = lineSpacing * shape.height;
    const int column = attachment % 3;
    const int row = attachment / 3;
    shape.anchor = column / 2.0;
    const double whole = shape.height + static_cast<double>(lines - 1) * shape.advance;
    const double above = row / 2.0 * whole;
    shape.baseline = shape.baseline + (above - shape.height) * shape.up;
}

void placeLineText(TextShape& shape, const Appearance& look) noexcept {
    constexpr int aligned = 3;
    constexpr int middle = 4;
    constexpr int fit = 5;
    if (look.horizontal == aligned || look.horizontal == fit) {
        const Point2 run = look.alignment - shape.baseline;
        const double width = norm(run);
        if (!(width > 0) || !drawable(width)) return;
        shape.along = (1 / width) * run;
        shape.up = leftOf(shape.along);
        shape.width = width;
        return;
    }
    if (look.horizontal == 0 && look.vertical == 0) return;
    shape.baseline = look.alignment;
    if (look.horizontal == 1 || look.horizontal == middle) shape.anchor = 0.5;
    if (look.horizontal == 2) shape.anchor = 1;
    double raised = 0;  // of the height
    if (look.horizontal == middle || look.vertical == 2) raised = -0.5;
    else if (look.vertical == 1) raised = descent;
    else if (look.vertical == 3) raised = -1;
    shape.baseline = shape.baseline + (raised * shape.height) * shape.up;
}

// --- Walks ---

// The segments between the vertices that are on the line; those of the frame that it was fitted to
// are not.
bool forEachFittedSegment(const VmDb2DPolyline& polyline, const std::vector<bool>& onFrame,
                          const Placement& by, const Visitor& visitor) {
    std::vector<std::int32_t> vertices;
    for (std::int32_t i = 0; i < polyline.points.count; ++i)
        if (static_cast<std::size_t>(i) >= onFrame.size() || !onFrame[static_cast<std::size_t>(i)])
            vertices.push_back(i);
    const std::size_t count =
        vertices.size() > 1 && polyline.closed != 0 ? vertices.size() : vertices.size() - 1;
    if (vertices.empty()) return true;
    for (std::size_t i = 0; i < count; ++i) {
        const Point2 from = planeOf(polyline.points.points[vertices[i]]);
        const Point2 to = planeOf(polyline.points.points[vertices[(i + 1) % vertices.size()]]);
        const auto arc = bulgeArc(from, to, bulgeAt(polyline, vertices[i]));
        if (!visitor(placed(arc ? Piece(*arc) : Piece(Segment{from, to}), by))) return false;
    }
    return true;
}

bool forEachSegment(const VmDb2DPolyline& polyline, const Placement& by, const Visitor& visitor) {
    if (const FilePart* part = filePartOf(polyline)) {
        if (part->appearance.onFrame != nullptr)
            return forEachFittedSegment(polyline, *part->appearance.onFrame, by, visitor);
        if (part->appearance.isMesh) {  // where its corners are
            for (std::int32_t i = 0; i < polyline.points.count; ++i) {
                const Point2 corner = planeOf(polyline.points.points[i]);
                if (!visitor(placed(Segment{corner, corner}, by))) return false;
            }
            return true;
        }
    }
    if (polyline.points.count == 1) return visitor(placed(pointPiece(firstPoint(polyline)), by));
    for (std::int32_t i = 0; i < segmentCount(polyline); ++i) {
        const Segment ends = segmentAt(polyline, i);
        const auto arc = bulgeArc(ends.from, ends.to, bulgeAt(polyline, i));
        if (!visitor(placed(arc ? Piece(*arc) : Piece(ends), by))) return false;
    }
    return true;
}

// Takes objects apart, inserts included, within the bounds.
class PieceWalk {
  public:
    PieceWalk(const BlockLookup& blocks, const Visitor& visitor)
        : blocks_(blocks), visitor_(visitor),
          show_([this](const Piece& piece) { return show(piece); }) {}

    void run(const VmDbObject& object) {
        if (isInvisible(object)) return;
        visit(object, Placement());
        if (!found_ && object.points.count > 0)
            show(placed(pointPiece(firstPoint(object)), planePlacement(object)));
    }

  private:
    // All of these answer whether the walk goes on.

    bool show(const Piece& piece) {
        if (!drawable(piece)) return true;
        if (!spend()) return false;
        found_ = true;
        return visitor_(piece);
    }

    bool spend() noexcept { return open_.empty() || --left_ >= 0; }

    bool visit(const VmDbObject& object, const Placement& by) {
        if (!forEachOwnPiece(object, by, show_)) return false;
        if (const auto* attributes = attributesOf(object))
            for (const auto& attribute : *attributes)
                if (attribute != nullptr && !isInvisible(*attribute) &&
                    !forEachOwnPiece(*attribute, by, show_))
                    return false;
        const std::u16string_view block = blockOf(object);
        return block.empty() || visitContents(object, block, by);
    }

    bool visitContents(const VmDbObject& object, std::u16string_view name, const Placement& by) {
        if (!blocks_ || open_.size() >= static_cast<std::size_t>(deepestInsert)) return true;
        Point2 base;
        const auto* const contents = blocks_(name, base);
        if (contents == nullptr || std::ranges::find(open_, contents) != open_.end()) return true;
        open_.push_back(contents);
        bool first = true;
        const bool more = forEachCopy(object, by, base, [&](const Placement& whole) {
            // A copy costs something even where the block is empty.
            if (!first && !spend()) return false;
            first = false;
            for (const VmDbObject* part : *contents) {
                if (part == nullptr || part->erased != 0) continue;
                if (!spend()) return false;
                if (!isInvisible(*part) && !visit(*part, whole)) return false;
            }
            return true;
        });
        open_.pop_back();
        return more;
    }

    const BlockLookup& blocks_;
    const Visitor& visitor_;
    const Visitor show_;
    std::vector<const std::vector<const VmDbObject*>*> open_;  // blocks that are being visited
    int left_ = mostInsertedPieces;
    bool found_ = false;
};

}  // namespace

// --- Angles ---

double normalised(double angle, double turn) noexcept {
    double rest = std::fmod(angle, turn);
    if (rest < 0) rest += turn;
    return rest >= turn ? 0 : rest;
}

Point2 directionAt(double angle) noexcept {
    constexpr double noise = 1e-15;
    const Point2 exact{std::cos(angle), std::sin(angle)};
    if (std::fabs(exact.x) < noise) return {0, exact.y < 0 ? -1.0 : 1.0};
    if (std::fabs(exact.y) < noise) return {exact.x < 0 ? -1.0 : 1.0, 0};
    return exact;
}

double sweepBetween(double start, double end) noexcept {
    constexpr double noise = 1e-12;
    const double sweep = normalised(end - start, fullTurn);
    return sweep < noise || sweep > fullTurn - noise ? fullTurn : sweep;
}

// --- Pieces ---

Point2 at(const Curve& curve, double t) noexcept {
    return curve.centre + std::cos(t) * curve.u + std::sin(t) * curve.v;
}

Point2 at(const Cubic& cubic, double t) noexcept {
    const double s = 1 - t;
    return s * s * s * cubic.from + 3 * s * s * t * cubic.first + 3 * s * t * t * cubic.second +
           t * t * t * cubic.to;
}

bool sweepsOver(const Curve& curve, double t) noexcept {
    return normalised(t - curve.start, fullTurn) <= curve.sweep;
}

bool isCircular(const Curve& curve) noexcept {
    constexpr double noise = 1e-12;
    const double u = dot(curve.u, curve.u);
    const double v = dot(curve.v, curve.v);
    return std::fabs(u - v) <= noise * u && std::fabs(dot(curve.u, curve.v)) <= noise * u;
}

bool drawable(const Piece& piece) noexcept {
    if (const auto* segment = std::get_if<Segment>(&piece))
        return drawable(segment->from) && drawable(segment->to);
    if (const auto* frame = std::get_if<Frame>(&piece))
        return drawable(frame->corner) && drawable(frame->along) && drawable(frame->up);
    if (const auto* cubic = std::get_if<Cubic>(&piece))
        return drawable(cubic->from) && drawable(cubic->first) && drawable(cubic->second) &&
               drawable(cubic->to);
    const auto& curve = std::get<Curve>(piece);
    return drawable(curve.centre) && drawable(curve.u) && drawable(curve.v) &&
           drawable(curve.from) && drawable(curve.to) && std::isfinite(curve.start) &&
           std::isfinite(curve.sweep);
}

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

// A coordinate is extreme where the slope, a quadratic a t t + b t + c, is 0.
Box boxOf(const Cubic& cubic) noexcept {
    Box box = Box::between(cubic.from, cubic.to);
    const auto stretch = [&](double p0, double p1, double p2, double p3) {
        double a = p3 - p0 + 3 * (p1 - p2);
        double b = 2 * (p0 - 2 * p1 + p2);
        double c = p1 - p0;
        // Squares are to stay finite; without a size there is no extreme, and t is not a number.
        const double size = std::max({std::fabs(a), std::fabs(b), std::fabs(c)});
        a /= size;
        b /= size;
        c /= size;
        const double root = std::sqrt(b * b - 4 * a * c);
        const double q = -0.5 * (b + std::copysign(root, b));
        for (const double t : {q / a, c / q})
            if (t > 0 && t < 1) box.add(at(cubic, t));
    };
    stretch(cubic.from.x, cubic.first.x, cubic.second.x, cubic.to.x);
    stretch(cubic.from.y, cubic.first.y, cubic.second.y, cubic.to.y);
    return box;
}

Box boxOf(const Frame& frame) noexcept {
    Box box = Box::between(frame.corner, frame.corner + frame.along + frame.up);
    box.add(frame.corner + frame.along);
    box.add(frame.corner + frame.up);
    return box;
}

Box boxOf(const Piece& piece) noexcept {
    return std::visit([](const auto& shape) { return boxOf(shape); }, piece);
}

// Its height over the chord is half the chord times the bulge, and a positive bulge runs
// counter-clockwise; centre and radius follow from the triangle of half the chord.
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
    return Curve{centre, u,    leftOf(u), std::atan2(spoke.y, spoke.x), 4 * std::atan(amount),
                 first,  last, bulge < 0};
}

double bulgeAt(const VmDb2DPolyline& polyline, std::int32_t vertex) noexcept {
    return vertex < polyline.bulges.count ? polyline.bulges.values[vertex] : 0;
}

std::int32_t segmentCount(const VmDb2DPolyline& polyline) noexcept {
    const std::int32_t vertices = polyline.points.count;
    return vertices > 1 && polyline.closed != 0 ? vertices : vertices - 1;
}

Segment segmentAt(const VmDb2DPolyline& polyline, std::int32_t segment) noexcept {
    const mmPoint* const points = polyline.points.points;
    const std::int32_t next = segment + 1 < polyline.points.count ? segment + 1 : 0;
    return {planeOf(points[segment]), planeOf(points[next])};
}

// --- Placements ---

Piece placed(const Piece& piece, const Placement& by) noexcept {
    if (const auto* segment = std::get_if<Segment>(&piece))
        return Segment{by.point(segment->from), by.point(segment->to)};
    if (const auto* frame = std::get_if<Frame>(&piece))
        return Frame{by.point(frame->corner), by.vector(frame->along), by.vector(frame->up)};
    if (const auto* cubic = std::get_if<Cubic>(&piece))
        return Cubic{by.point(cubic->from), by.point(cubic->first), by.point(cubic->second),
                     by.point(cubic->to)};
    Curve curve = std::get<Curve>(piece);
    curve.centre = by.point(curve.centre);
    curve.u = by.vector(curve.u);
    curve.v = by.vector(curve.v);
    curve.from = by.point(curve.from);
    curve.to = by.point(curve.to);
    return curve;
}

PlaneAxes axesOf(const mmPoint& up) noexcept {
    constexpr double nearlyUpright = 1.0 / 64;
    const double size = std::hypot(up.x, up.y, up.z);
    if (!(size > 0) || !std::isfinite(size)) return {};
    const mmPoint n(up.x / size, up.y / size, up.z / size);
    mmPoint x = std::fabs(n.x) < nearlyUpright && std::fabs(n.y) < nearlyUpright
                    ? mmPoint(n.z, 0, -n.x)
                    : mmPoint(-n.y, n.x, 0);
    const double amount = std::hypot(x.x, x.y, x.z);
    x = mmPoint(x.x / amount, x.y / amount, x.z / amount);
    const mmPoint y(n.y * x.z - n.z * x.y, n.z * x.x - n.x * x.z, n.x * x.y - n.y * x.x);
    return {x, y, n};
}

Placement planePlacement(const VmDbObject& object) noexcept {
    const FilePart* const part = filePartOf(object);
    if (part == nullptr) return {};
    const mmPoint& normal = part->appearance.normal;
    if (normal.x == 0 && normal.y == 0 && normal.z > 0) return {};
    // These are in the drawing's axes whatever their direction upwards is.
    const bool inPlane = dynamic_cast<const VmDb2DPolyline*>(&object) != nullptr ||
                         dynamic_cast<const VmDbCircle*>(&object) != nullptr ||
                         dynamic_cast<const VmDbArc*>(&object) != nullptr ||
                         dynamic_cast<const VmDbText*>(&object) != nullptr ||
                         dynamic_cast<const VmDbBlockRef*>(&object) != nullptr;
    if (!inPlane) return {};
    const PlaneAxes axes = axesOf(normal);
    const double height = object.points.count > 0 ? object.points.points[0].z : 0;
    // A plane that is not tilted has no sideways height, however high.
    const Point2 lift{axes.up.x == 0 ? 0 : height * axes.up.x,
                      axes.up.y == 0 ? 0 : height * axes.up.y};
    return {planeOf(axes.x), planeOf(axes.y), lift};
}

// --- Texts ---

TextShape shapeOf(const VmDbText& text, std::size_t lines) noexcept {
    TextShape shape;
    shape.height = std::fabs(text.height);
    shape.baseline = firstPoint(text);
    shape.along = directionAt(radians(text.rotation));
    shape.up = leftOf(shape.along);
    const FilePart* const part = filePartOf(text);
    if (part != nullptr) {
        const Appearance& look = part->appearance;
        if (look.widthFactor > 0 && look.widthFactor < largestCoordinate)
            shape.widthFactor = look.widthFactor;
        if (std::fabs(look.oblique) <= mostOblique) shape.oblique = look.oblique;
    }
    if (text.typeCode == vmDbMText) placeBlockText(shape, text, lines);
    else if (part != nullptr) placeLineText(shape, part->appearance);
    return shape;
}

std::vector<std::u16string> linesOf(const VmDbText& text) {
    if (text.typeCode == vmDbMText) return plainLines(wholeOf(text));
    return {plainText(wholeOf(text))};
}

// --- From objects to pieces ---

bool isInvisible(const VmDbObject& object) noexcept {
    const FilePart* const part = filePartOf(object);
    return part != nullptr && part->appearance.invisible;
}

bool forEachPieceOf(const Path& path, const Placement& by, const Visitor& visitor) {
    std::size_t next = 0;
    Point2 start;
    Point2 here;
    bool bare = false;  // a move that nothing followed yet: a dot
    const auto left = [&] { return path.points.size() - next; };
    const auto finish = [&] { return !bare || visitor(pointPiece(here)); };
    for (const Path::Verb verb : path.verbs) {
        switch (verb) {
        case Path::Verb::move:
            if (left() < 1) return finish();
            if (bare && !visitor(pointPiece(here))) return false;
            start = here = by.point(path.points[next++]);
            bare = true;
            break;
        case Path::Verb::line: {
            if (left() < 1) return finish();
            const Point2 to = by.point(path.points[next++]);
            bare = false;
            if (!visitor(Segment{here, to})) return false;
            here = to;
            break;
        }
        case Path::Verb::cubic: {
            if (left() < 3) return finish();
            const Point2 first = by.point(path.points[next]);
            const Point2 second = by.point(path.points[next + 1]);
            const Point2 to = by.point(path.points[next + 2]);
            next += 3;
            bare = false;
            if (!visitor(Cubic{here, first, second, to})) return false;
            here = to;
            break;
        }
        case Path::Verb::close:
            if (!(here == start) && !visitor(Segment{here, start})) return false;
            here = start;
        }
    }
    return finish();
}

bool forEachOwnPiece(const VmDbObject& object, const Placement& outer, const Visitor& visitor) {
    if (const auto* carried = dynamic_cast<const CarriedObject*>(&object)) {
        for (const Figure& figure : carried->figures)
            if (!forEachPieceOf(figure.path, outer, visitor)) return false;
        return true;
    }
    if (object.points.count <= 0 || dynamic_cast<const VmDbBlockRef*>(&object) != nullptr)
        return true;
    const Placement by = outer.after(planePlacement(object));
    const Point2 first = firstPoint(object);
    if (const auto* polyline = dynamic_cast<const VmDb2DPolyline*>(&object))
        return forEachSegment(*polyline, by, visitor);
    if (dynamic_cast<const VmDbLine*>(&object) != nullptr) {
        const std::int32_t last = object.points.count > 1 ? 1 : 0;
        return visitor(placed(Segment{first, planeOf(object.points.points[last])}, by));
    }
    if (const auto* circle = dynamic_cast<const VmDbCircle*>(&object))
        return visitor(placed(circleArc(first, std::fabs(circle->radius), 0, fullTurn), by));
    if (const auto* arc = dynamic_cast<const VmDbArc*>(&object)) {
        const double start = normalised(arc->startAngle, fullTurn);
        const double sweep = sweepBetween(arc->startAngle, arc->endAngle);
        return visitor(placed(circleArc(first, std::fabs(arc->radius), start, sweep), by));
    }
    if (const auto* text = dynamic_cast<const VmDbText*>(&object))
        return visitor(placed(frameOf(*text), by));
    for (std::int32_t i = 0; i < object.points.count; ++i)
        if (!visitor(placed(pointPiece(planeOf(object.points.points[i])), by))) return false;
    return true;
}

std::u16string_view blockOf(const VmDbObject& object) noexcept {
    if (const auto* insert = dynamic_cast<const VmDbBlockRef*>(&object)) {
        if (insert->points.count <= 0) return {};
        return {insert->blockName.units(), insert->blockName.length()};
    }
    if (const auto* carried = dynamic_cast<const CarriedObject*>(&object)) return carried->block;
    return {};
}

bool forEachCopy(const VmDbObject& object, const Placement& by, Point2 base,
                 const std::function<bool(const Placement&)>& visitor) {
    const auto* const insert = dynamic_cast<const VmDbBlockRef*>(&object);
    if (insert == nullptr) {
        const auto* const carried = dynamic_cast<const CarriedObject*>(&object);
        Placement moved;
        if (carried != nullptr) moved.origin = carried->blockAt;
        return visitor(by.after(moved));
    }
    const Placement plane = by.after(planePlacement(object));
    const Placement first = placementOf(*insert, firstPoint(object), base);
    const FilePart* const part = filePartOf(object);
    if (part == nullptr || (part->appearance.columns <= 1 && part->appearance.rows <= 1))
        return visitor(plane.after(first));
    const Appearance& grid = part->appearance;
    const Point2 x = directionAt(radians(insert->rotation));
    for (int row = 0; row < std::max(grid.rows, 1); ++row) {
        for (int column = 0; column < std::max(grid.columns, 1); ++column) {
            Placement copy = first;
            copy.origin = copy.origin + (column * grid.columnSpacing) * x +
                          (row * grid.rowSpacing) * leftOf(x);
            if (!visitor(plane.after(copy))) return false;
        }
    }
    return true;
}

const std::vector<std::unique_ptr<VmDbObject>>* attributesOf(const VmDbObject& object) noexcept {
    const FilePart* const part = filePartOf(object);
    return part == nullptr ? nullptr : part->appearance.attributes.get();
}

void forEachPiece(const VmDbObject& object, const BlockLookup& blocks, const Visitor& visitor) {
    PieceWalk(blocks, visitor).run(object);
}

}  // namespace vlisp::refhost::pieces
