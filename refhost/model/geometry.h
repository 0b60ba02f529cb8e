// Plane geometry of drawing objects: extents, picking, windows, transformations, measures.
// One idea: every object is taken apart into straight, elliptic and rectangular pieces, placed by
// the inserts around them; each question is a question to the pieces.
// Tests: tests/refhost/geometry_test.cpp.
//
// Lengths are in drawing units and z is left aside, except by transform(). What an object is drawn
// as depends on its class, not on its type code:
// - a line: its first two points; with one point, that point;
// - a polyline: its segments, as arcs where there is a bulge. A segment is straight when its bulge
//   is missing, is not a number or is below 1e-8, or when its arc is too large to be drawn;
// - a circle, an arc: the sign of the radius does not matter. An arc whose angles are equal but for
//   whole turns is a whole circle;
// - a text: the rectangle that it fills, of estimated width: 0.6 of its height for each character.
//   A TEXT has its insertion point at the bottom left; a MTEXT at the top left of its first line,
//   and its lines follow downwards at 5/3 of its height. The sign of the height does not matter;
// - an insert: the contents of its block. When they show nothing, its insertion point;
// - a carried object: its figures, of a filled one the outline, and the contents of its block as
//   they are;
// - an object of no class of its own: its points.
// What a file says of an object besides counts as well: the plane that it lies in, which is seen
// from above; how a text is aligned, and that its codes do not show; the copies and the texts of an
// insert. An object that is marked as invisible is not drawn.
// Pieces with a coordinate that is not a number, or beyond 1e150, are not drawn.
#pragma once

#include "host/bridge.h"

#include <functional>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

namespace vlisp::refhost {

struct Point2 {
    double x = 0;
    double y = 0;
    bool operator==(const Point2&) const = default;
};

/// An upright rectangle with its border; empty at first, when it holds no point at all. A rectangle
/// with a corner that is not a number is empty.
struct Box {
    double left = std::numeric_limits<double>::infinity();
    double bottom = std::numeric_limits<double>::infinity();
    double right = -std::numeric_limits<double>::infinity();
    double top = -std::numeric_limits<double>::infinity();
    bool operator==(const Box&) const = default;

    /// The rectangle of two opposite corners, in any order.
    [[nodiscard]] static Box between(Point2 corner, Point2 opposite) noexcept;

    [[nodiscard]] bool isEmpty() const noexcept { return !(left <= right && bottom <= top); }
    /// Grows to hold the point.
    void add(Point2 point) noexcept;
    /// Grows to hold the other rectangle: the union's rectangle.
    void add(const Box& other) noexcept;
    [[nodiscard]] bool contains(Point2 point) const noexcept;
    /// Whether the other rectangle is wholly inside; false for an empty one.
    [[nodiscard]] bool contains(const Box& other) const noexcept;
    /// Whether they have a point in common.
    [[nodiscard]] bool intersects(const Box& other) const noexcept;
    /// 0 inside; infinity for an empty rectangle.
    [[nodiscard]] double distance(Point2 point) const noexcept;
};

/// The contents of the block with this name and its base point; null when there is no such block.
/// The same block must give the same address each time, valid until the question is answered.
/// Null members and erased objects of the contents are left aside.
using BlockLookup =
    std::function<const std::vector<const VmDbObject*>*(std::u16string_view name, Point2& base)>;

/// How deep inserts are followed: the contents of an insert count as one level.
inline constexpr int deepestInsert = 16;
/// How many objects and pieces one insert shows at most, its inserts included; the rest is not
/// drawn. Blocks of a few inserts each would otherwise multiply beyond all bounds. An insert of a
/// block inside itself shows nothing.
inline constexpr int mostInsertedPieces = 1'000'000;

// --- Questions ---------------------------------------------------------------------------------
// `blocks` may be an empty function: no insert has contents then.

/// The smallest rectangle around the object, exact also for the ellipses that unequal scales make
/// of arcs; empty when nothing is drawn, as of an object without points.
[[nodiscard]] Box extentOf(const VmDbObject& object, const BlockLookup& blocks);

/// The distance from a point to the object's curve; 0 inside a text's rectangle, infinity when
/// nothing is drawn or the point is not finite. Exact but for ellipses: the error there stays below
/// 1e-5 of the ellipse's size.
[[nodiscard]] double distanceTo(const VmDbObject& object, Point2 point, const BlockLookup& blocks);

/// Whether any part of the curve, or of a text's rectangle, lies in the box or on its border.
[[nodiscard]] bool crosses(const VmDbObject& object, const Box& box, const BlockLookup& blocks);

/// Whether something is drawn and all of it lies in the box.
[[nodiscard]] bool inside(const VmDbObject& object, const Box& box, const BlockLookup& blocks);

/// The point to report as picked when an object was named otherwise: the middle of a line or an
/// arc, the point of a circle at angle 0, else the first point; (0, 0) without points.
[[nodiscard]] Point2 pointOn(const VmDbObject& object);

/// The length of a line, polyline, circle or arc; 0 for all others.
[[nodiscard]] double length(const VmDbObject& object);

/// The area inside a circle or a closed polyline, arcs included; 0 for all others. Where a polyline
/// crosses itself, parts that run the other way round are subtracted.
[[nodiscard]] double area(const VmDbObject& object);

// --- Transformations -----------------------------------------------------------------------------

/// A rotation, a scaling and a movement, in this order: the mappings of the plane that keep shapes.
/// Made of its parts by then().
struct Similarity {
    double factor = 1;  ///< never negative
    double angle = 0;   ///< radians, counter-clockwise, not brought into a range
    double cosine = 1;  ///< of the angle; exact at quarter turns
    double sine = 0;
    double dx = 0;
    double dy = 0;
    double dz = 0;

    /// Counter-clockwise, radians.
    [[nodiscard]] static Similarity rotated(double angle, Point2 base) noexcept;
    /// In all three directions. A negative factor is its amount and half a turn.
    [[nodiscard]] static Similarity scaled(double factor, const mmPoint& base) noexcept;
    [[nodiscard]] static Similarity moved(const mmPoint& by) noexcept;
    /// This one first, `next` after it.
    [[nodiscard]] Similarity then(const Similarity& next) const noexcept;

    [[nodiscard]] Point2 apply(Point2 point) const noexcept;
    [[nodiscard]] mmPoint apply(const mmPoint& point) const noexcept;
};

/// Moves, turns and scales an object with everything that it has, but for a carried object, whose
/// shape stays. A rotation brings an arc's angles
/// into 0 to 2 pi and rotations of texts and inserts into 0 to 360; without one they stay as they
/// are.
void transform(VmDbObject& object, const Similarity& by);

// --- Construction --------------------------------------------------------------------------------

/// Counter-clockwise from start to end, radians from 0 to 2 pi.
struct ArcShape {
    Point2 centre;
    double radius = 0;
    double startAngle = 0;
    double endAngle = 0;
};

/// The arc from one point through the second to the last; none when they are on a line, when two
/// are the same, or when one is not finite. When they run clockwise, the arc starts at the last.
[[nodiscard]] std::optional<ArcShape> arcThrough(Point2 first, Point2 second, Point2 last) noexcept;

}  // namespace vlisp::refhost
