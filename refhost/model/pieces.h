// Drawing objects taken apart into straight, elliptic, cubic and rectangular pieces.
// One idea: the form of every piece is kept by every placement, so that what stands in a turned
// plane or in inserts is of the same few forms as what stands in the drawing.
// Tests: tests/refhost/pieces_test.cpp, tests/refhost/geometry_test.cpp.
//
// For geometry and pictures of drawings. What an object is drawn as is said in geometry.h.
#pragma once

#include "host/bridge.h"
#include "refhost/model/file_part.h"
#include "refhost/model/geometry.h"

#include <cmath>
#include <functional>
#include <numbers>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vlisp::refhost::pieces {

inline constexpr double pi = std::numbers::pi;
inline constexpr double fullTurn = 2 * pi;
/// Products of two coordinates stay finite below this.
inline constexpr double largestCoordinate = 1e150;

// --- Vectors and angles ------------------------------------------------------------------------

inline Point2 operator+(Point2 a, Point2 b) noexcept { return {a.x + b.x, a.y + b.y}; }
inline Point2 operator-(Point2 a, Point2 b) noexcept { return {a.x - b.x, a.y - b.y}; }
inline Point2 operator*(double factor, Point2 a) noexcept { return {factor * a.x, factor * a.y}; }
inline double dot(Point2 a, Point2 b) noexcept { return a.x * b.x + a.y * b.y; }
inline double cross(Point2 a, Point2 b) noexcept { return a.x * b.y - a.y * b.x; }
inline double norm(Point2 a) noexcept { return std::hypot(a.x, a.y); }
inline Point2 leftOf(Point2 a) noexcept { return {-a.y, a.x}; }
inline Point2 planeOf(const mmPoint& point) noexcept { return {point.x, point.y}; }

inline bool drawable(double number) noexcept { return std::fabs(number) <= largestCoordinate; }
inline bool drawable(Point2 point) noexcept { return drawable(point.x) && drawable(point.y); }

/// The angle's remainder, from 0 to below `turn`; not a number when the angle is not finite.
[[nodiscard]] double normalised(double angle, double turn) noexcept;
/// Cosine and sine. Quarter turns are exact, lest what is turned by them be askew by a last digit.
[[nodiscard]] Point2 directionAt(double angle) noexcept;
/// From start to end, counter-clockwise; above 0, a full turn at most.
[[nodiscard]] double sweepBetween(double start, double end) noexcept;
inline double radians(double degrees) noexcept { return degrees / 180 * pi; }
inline double degrees(double radians) noexcept { return radians / pi * 180; }

// --- Pieces -------------------------------------------------------------------------------------

struct Segment {
    Point2 from;
    Point2 to;
};

/// centre + u cos t + v sin t for t from start to start + sweep; the sweep is above 0.
struct Curve {
    Point2 centre;
    Point2 u;
    Point2 v;
    double start = 0;
    double sweep = 0;
    Point2 from;  ///< the ends, not computed from the angles
    Point2 to;
    bool backwards = false;  ///< the object runs through it from `to` to `from`
};

struct Cubic {
    Point2 from;
    Point2 first;  ///< control points
    Point2 second;
    Point2 to;
};

/// A filled parallelogram.
struct Frame {
    Point2 corner;
    Point2 along;
    Point2 up;
};

using Piece = std::variant<Segment, Curve, Cubic, Frame>;

[[nodiscard]] Point2 at(const Curve& curve, double t) noexcept;
[[nodiscard]] Point2 at(const Cubic& cubic, double t) noexcept;
/// Whether the angle t is one that the curve goes through.
[[nodiscard]] bool sweepsOver(const Curve& curve, double t) noexcept;
[[nodiscard]] bool isCircular(const Curve& curve) noexcept;
/// Whether no coordinate is too large or not a number.
[[nodiscard]] bool drawable(const Piece& piece) noexcept;

/// The smallest rectangle around a piece.
[[nodiscard]] Box boxOf(const Segment& segment) noexcept;
[[nodiscard]] Box boxOf(const Curve& curve) noexcept;
[[nodiscard]] Box boxOf(const Cubic& cubic) noexcept;
[[nodiscard]] Box boxOf(const Frame& frame) noexcept;
[[nodiscard]] Box boxOf(const Piece& piece) noexcept;

/// The arc over a polyline's segment; none for a segment that is straight.
[[nodiscard]] std::optional<Curve> bulgeArc(Point2 from, Point2 to, double bulge) noexcept;
[[nodiscard]] double bulgeAt(const VmDb2DPolyline& polyline, std::int32_t vertex) noexcept;
[[nodiscard]] std::int32_t segmentCount(const VmDb2DPolyline& polyline) noexcept;
/// The ends of a polyline's segment.
[[nodiscard]] Segment segmentAt(const VmDb2DPolyline& polyline, std::int32_t segment) noexcept;

// --- Placements ---------------------------------------------------------------------------------

/// An affine mapping: (x, y) to x * u + y * v + origin.
struct Placement {
    Point2 u{1, 0};
    Point2 v{0, 1};
    Point2 origin{0, 0};

    [[nodiscard]] Point2 vector(Point2 p) const noexcept { return p.x * u + p.y * v; }
    [[nodiscard]] Point2 point(Point2 p) const noexcept { return vector(p) + origin; }
    /// This one after `inner`.
    [[nodiscard]] Placement after(const Placement& inner) const noexcept {
        return {vector(inner.u), vector(inner.v), point(inner.origin)};
    }
};

[[nodiscard]] Piece placed(const Piece& piece, const Placement& by) noexcept;

/// The axes of a plane with an upward direction, in the drawing's: where the direction is nearly
/// the drawing's z, x is the drawing's y cross the direction, else z cross the direction. A
/// direction of no length or not finite counts as z.
struct PlaneAxes {
    mmPoint x{1, 0, 0};
    mmPoint y{0, 1, 0};
    mmPoint up{0, 0, 1};
};
[[nodiscard]] PlaneAxes axesOf(const mmPoint& up) noexcept;

/// How the plane that an object lies in is seen from above. The plane's height is that of the
/// object's first point.
[[nodiscard]] Placement planePlacement(const VmDbObject& object) noexcept;

// --- Texts --------------------------------------------------------------------------------------

/// Where the letters of a text stand, in the object's plane.
struct TextShape {
    double height = 0;  ///< of capitals; never negative
    Point2 baseline;    ///< a point on the first line's baseline, which `anchor` is about
    Point2 along{1, 0};
    Point2 up{0, 1};
    double anchor = 0;            ///< how much of each line is before its point: 0, 0.5 or 1
    double widthFactor = 1;       ///< above 0
    double oblique = 0;           ///< degrees, clockwise from upright; within 85
    std::optional<double> width;  ///< what the line is stretched to, when it is
    double advance = 0;           ///< from baseline to baseline, downwards
};

[[nodiscard]] TextShape shapeOf(const VmDbText& text, std::size_t lines) noexcept;
/// The lines that a text shows, its codes resolved.
[[nodiscard]] std::vector<std::u16string> linesOf(const VmDbText& text);

// --- From objects to pieces ---------------------------------------------------------------------

/// Answers whether more is wanted.
using Visitor = std::function<bool(const Piece&)>;

/// Whether the object is marked as one that is not seen.
[[nodiscard]] bool isInvisible(const VmDbObject& object) noexcept;

/// The pieces of the object itself, seen through `by`, in the order in which it runs; those that
/// are not drawable too. Nothing of the blocks that it shows. False when the visitor ended it.
bool forEachOwnPiece(const VmDbObject& object, const Placement& by, const Visitor& visitor);

/// The pieces of a carried object's figure. False when the visitor ended it.
bool forEachPieceOf(const Path& path, const Placement& by, const Visitor& visitor);

/// The block that an object shows: an insert's, or a carried object's; empty when it shows none.
[[nodiscard]] std::u16string_view blockOf(const VmDbObject& object) noexcept;

/// Where the object that stands in `by` places the block with this base point: once for each copy.
/// False when the visitor ended it.
bool forEachCopy(const VmDbObject& object, const Placement& by, Point2 base,
                 const std::function<bool(const Placement&)>& visitor);

/// The texts that fill an insert's block; they stand where the insert does. Null when there are
/// none.
[[nodiscard]] const std::vector<std::unique_ptr<VmDbObject>>*
attributesOf(const VmDbObject& object) noexcept;

/// All pieces that an object is drawn as, inserts followed, within the bounds that geometry.h says.
void forEachPiece(const VmDbObject& object, const BlockLookup& blocks, const Visitor& visitor);

}  // namespace vlisp::refhost::pieces
