// What carried entities look like. See records.h.
// One idea: shapes are drawn as lines and cubics in their own plane, and seen from above at last:
// what is seen of a cubic is a cubic.
// Tests: tests/dxf/shapes_test.cpp.
//
// Nothing is reserved by a count that a file tells, and no shape has more points than is in
// proportion to its pairs: a curve that must be approximated stops at a number of evaluations that
// is the same for every object.
#include "refhost/dxf/records.h"

#include "refhost/model/pieces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <span>
#include <string>

namespace vlisp::refhost::dxf {
namespace {

using namespace pieces;

// --- Points ---

bool isDrawable(const mmPoint& point) noexcept {
    return drawable(planeOf(point)) && drawable(point.z);
}

mmPoint difference(const mmPoint& a, const mmPoint& b) noexcept {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double lengthOf(const mmPoint& vector) noexcept { return std::hypot(vector.x, vector.y, vector.z); }

mmPoint product(const mmPoint& a, const mmPoint& b) noexcept {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

std::vector<Point2> seenFromAbove(const std::vector<mmPoint>& points) {
    std::vector<Point2> seen;
    seen.reserve(points.size());
    for (const mmPoint& point : points) seen.push_back(planeOf(point));
    return seen;
}

// Takes a pair into a list of points, whose x have `code`; false when it is not of that list.
bool takeCoordinate(std::vector<mmPoint>& points, int code, const Source& source,
                    const Pair& pair) {
    if (pair.code == code) {
        points.emplace_back(source.real(pair), 0, 0);
        return true;
    }
    if (pair.code != code + 10 && pair.code != code + 20) return false;
    if (points.empty()) return true;
    (pair.code == code + 10 ? points.back().y : points.back().z) = source.real(pair);
    return true;
}

// How a plane at a height is seen from above.
Placement placementOf(const PlaneAxes& axes, double height) noexcept {
    // A plane that is not tilted has no sideways height, however high.
    const Point2 lift{axes.up.x == 0 ? 0 : height * axes.up.x,
                      axes.up.y == 0 ? 0 : height * axes.up.y};
    return {planeOf(axes.x), planeOf(axes.y), lift};
}

// --- Paths ---

void append(Path& path, const Path& more) {
    path.verbs.insert(path.verbs.end(), more.verbs.begin(), more.verbs.end());
    path.points.insert(path.points.end(), more.points.begin(), more.points.end());
}

// The other way round: of a path that moves once and is not closed.
Path reversed(const Path& path) {
    Path turned;
    turned.verbs.reserve(path.verbs.size());
    turned.verbs.push_back(Path::Verb::move);
    turned.verbs.insert(turned.verbs.end(), path.verbs.rbegin(), std::prev(path.verbs.rend()));
    turned.points.assign(path.points.rbegin(), path.points.rend());
    return turned;
}

Path polygon(const std::vector<Point2>& corners) {
    Path path;
    for (const Point2 corner : corners)
        path.verbs.empty() ? path.moveTo(corner) : path.lineTo(corner);
    if (!path.verbs.empty()) path.close();
    return path;
}

// From the angle that an arc begins at to the one that it ends at, in radians. What is a full turn
// but for the last written digits is one. Not a number when an angle is not finite.
double sweepOf(double start, double end) noexcept {
    constexpr double almostAll = fullTurn * (1 - 1e-9);
    const double turn = end - start;
    return turn >= almostAll && std::isfinite(turn) ? fullTurn : sweepBetween(start, end);
}

// Adds centre + u cos t + v sin t for t from start to start + sweep. A path that is empty begins
// there; any other stands there already.
void addArc(Path& path, Point2 centre, Point2 u, Point2 v, double start, double sweep) {
    // The error of an eighth of a turn is 4e-6 of the radius.
    constexpr double longest = pi / 4;
    if (!std::isfinite(start) || !(std::fabs(sweep) <= fullTurn)) {
        path.moveTo({std::numeric_limits<double>::quiet_NaN(), 0});
        return;
    }
    const int count = std::max(1, static_cast<int>(std::ceil(std::fabs(sweep) / longest - 1e-6)));
    const double step = sweep / count;
    const double handle = 4.0 / 3 * std::tan(step / 4);
    const auto along = [u, v](Point2 p) { return p.x * u + p.y * v; };
    Point2 from = directionAt(start);
    if (path.verbs.empty()) path.moveTo(centre + along(from));
    for (int i = 1; i <= count; ++i) {
        const Point2 to = directionAt(start + i * step);
        path.cubicTo(centre + along(from + handle * leftOf(from)),
                     centre + along(to - handle * leftOf(to)), centre + along(to));
        from = to;
    }
}

// --- Curves through points ---

// The slopes in the points of a curve of continuous curvature; its parameter is the length of the
// chords, which are above 0. At an end without a slope the curvature is 0.
std::vector<Point2> slopesThrough(const std::vector<Point2>& points,
                                  const std::vector<double>& chords,
                                  const std::optional<Point2>& first,
                                  const std::optional<Point2>& last) {
    const std::size_t count = points.size();
    std::vector<Point2> slopes(count);
    std::vector<double> next(count);  // the coefficients right of the diagonal, which becomes 1
    const auto secant = [&](std::size_t i) { return 1 / chords[i] * (points[i + 1] - points[i]); };
    slopes[0] = first ? *first : 1.5 * secant(0);
    next[0] = first ? 0 : 0.5;
    for (std::size_t i = 1; i + 1 < count; ++i) {
        // Divided by their sum, lest products of long and short chords leave the range.
        const double sum = chords[i - 1] + chords[i];
        const double before = chords[i] / sum;
        const double after = chords[i - 1] / sum;
        const double diagonal = 2 - before * next[i - 1];
        slopes[i] = 1 / diagonal *
                    (3 * before * secant(i - 1) + 3 * after * secant(i) - before * slopes[i - 1]);
        next[i] = after / diagonal;
    }
    const std::size_t end = count - 1;
    slopes[end] = last ? *last : 1 / (2 - next[end - 1]) * (3 * secant(end - 1) - slopes[end - 1]);
    for (std::size_t i = end; i-- > 0;) slopes[i] = slopes[i] - next[i] * slopes[i + 1];
    return slopes;
}

std::optional<Point2> directionOf(const std::vector<mmPoint>& vectors) noexcept {
    if (vectors.empty()) return std::nullopt;
    const double length = lengthOf(vectors.front());
    if (!(length > 0) || !std::isfinite(length)) return std::nullopt;
    return 1 / length * planeOf(vectors.front());
}

// A smooth curve through the points; empty when there are not two different ones. The tangents hold
// the direction at an end, or nothing.
Path pathThrough(std::vector<mmPoint> points, bool closed, const std::vector<mmPoint>& startTangent,
                 const std::vector<mmPoint>& endTangent) {
    if (!std::ranges::all_of(points, isDrawable)) return {};
    const auto same = [](const mmPoint& a, const mmPoint& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    };
    points.erase(std::unique(points.begin(), points.end(), same), points.end());
    if (closed && points.size() > 1 && same(points.front(), points.back())) points.pop_back();
    const std::size_t given = points.size();
    if (given < 2) return {};
    closed = closed && given > 2;
    // A closed curve runs on beyond its ends: what a point changes there halves with each point.
    constexpr std::size_t enough = 24;
    const std::size_t beyond = closed ? enough : 0;
    if (closed) {
        std::vector<mmPoint> rounds;
        const std::size_t start = (enough / given + 1) * given - enough;
        for (std::size_t i = 0; i < given + 1 + 2 * enough; ++i)
            rounds.push_back(points[(start + i) % given]);
        points = std::move(rounds);
    }
    std::vector<double> chords;
    for (std::size_t i = 0; i + 1 < points.size(); ++i)
        chords.push_back(lengthOf(difference(points[i + 1], points[i])));
    const std::vector<Point2> seen = seenFromAbove(points);
    const std::vector<Point2> slopes =
        slopesThrough(seen, chords, closed ? std::nullopt : directionOf(startTangent),
                      closed ? std::nullopt : directionOf(endTangent));
    Path path;
    path.moveTo(seen[beyond]);
    for (std::size_t i = beyond; i + 1 < seen.size() - beyond; ++i) {
        const double third = chords[i] / 3;
        path.cubicTo(seen[i] + third * slopes[i], seen[i + 1] - third * slopes[i + 1], seen[i + 1]);
    }
    if (closed) path.close();
    return path;
}

// --- Splines ---

// Higher ones are not drawn; programs write up to 11.
constexpr int mostDegree = 25;

// What a file says of a spline.
struct SplineData {
    int degree = 3;
    bool closed = false;
    std::vector<double> knots;
    std::vector<double> weights;  // empty: all alike
    std::vector<mmPoint> controls;
    std::vector<mmPoint> fits;
    std::vector<mmPoint> startTangent;
    std::vector<mmPoint> endTangent;
};

// A spline in order: the degree is 1 at least, knots ascend, there are degree + 1 more of them than
// control points, and weights are above 0 and 1 at most.
struct Spline {
    std::size_t degree = 0;
    std::vector<double> knots;
    std::vector<double> weights;  // empty: all alike
    std::vector<Point2> controls;

    [[nodiscard]] double weight(std::size_t i) const noexcept {
        return weights.empty() ? 1 : weights[i];
    }
    // The part of the curve between two knots; it depends on the last degree + 1 control points.
    [[nodiscard]] bool isPart(std::size_t span) const noexcept {
        return knots[span] < knots[span + 1];
    }
    // Whether a part begins elsewhere than the one before has ended.
    [[nodiscard]] bool jumpsAt(std::size_t span) const noexcept {
        return knots[span - degree] == knots[span];
    }
};

bool areKnots(const std::vector<double>& knots, std::size_t controls, std::size_t degree) {
    return knots.size() == controls + degree + 1 &&
           std::ranges::all_of(knots, [](double knot) { return drawable(knot); }) &&
           std::ranges::is_sorted(knots) && knots[degree] < knots[controls];
}

std::vector<double> weightsOf(const SplineData& data, std::size_t degree) {
    const std::vector<double>& weights = data.weights;
    const auto isWeight = [](double weight) { return weight > 0 && drawable(weight); };
    if (degree < 2 || weights.size() != data.controls.size() ||
        !std::ranges::all_of(weights, isWeight))
        return {};
    const double largest = *std::ranges::max_element(weights);
    if (std::ranges::all_of(weights, [largest](double w) { return w == largest; })) return {};
    std::vector<double> scaled;
    scaled.reserve(weights.size());
    for (const double weight : weights) scaled.push_back(weight / largest);
    return scaled;
}

// Knots for a curve that has none that can be used: at equal distances. A closed curve takes its
// first control points once more, an open one begins and ends in a control point.
void makeKnots(Spline& spline, bool closed) {
    const std::size_t degree = spline.degree;
    if (closed) {
        if (spline.controls.front() == spline.controls.back() && spline.weights.empty())
            spline.controls.pop_back();
        const std::size_t round = spline.controls.size();
        for (std::size_t i = 0; i < degree; ++i) {
            spline.controls.push_back(spline.controls[i % round]);
            if (!spline.weights.empty()) spline.weights.push_back(spline.weights[i % round]);
        }
    }
    const std::size_t inner = spline.controls.size() - degree;  // parts of the curve
    spline.knots.clear();
    for (std::size_t i = 0; i < spline.controls.size() + degree + 1; ++i) {
        const double knot = static_cast<double>(i) - static_cast<double>(degree);
        spline.knots.push_back(closed ? knot : std::clamp(knot, 0.0, static_cast<double>(inner)));
    }
}

// Nothing when the control points make no curve.
std::optional<Spline> splineOf(const SplineData& data) {
    const std::size_t count = data.controls.size();
    if (count < 2 || data.degree < 1 || data.degree > mostDegree) return std::nullopt;
    if (!std::ranges::all_of(data.controls, isDrawable)) return std::nullopt;
    Spline spline;
    spline.degree = std::min(static_cast<std::size_t>(data.degree), count - 1);
    spline.controls = seenFromAbove(data.controls);
    spline.weights = weightsOf(data, spline.degree);
    if (areKnots(data.knots, count, spline.degree)) spline.knots = data.knots;
    else makeKnots(spline, data.closed && count > 2);
    return spline;
}

// A row of de Boor's scheme takes two neighbours together: so much of the right one at `knot`.
double shareAt(const Spline& spline, std::size_t span, std::size_t row, std::size_t i,
               double knot) noexcept {
    const double low = spline.knots[span - spline.degree + i];
    const double high = spline.knots[span + 1 + i - row];
    return (knot - low) / (high - low);  // the part lies between them, so they differ
}

// De Boor's scheme of a curve without weights, with a knot for each row: with the ends of a part,
// each so many times, these are the part's Bezier points.
Point2 blossom(const Spline& spline, std::size_t span, std::span<const double> knots) noexcept {
    constexpr std::size_t exactDegree = 3;
    std::array<Point2, exactDegree + 1> points;
    for (std::size_t i = 0; i <= spline.degree; ++i)
        points[i] = spline.controls[span - spline.degree + i];
    for (std::size_t row = 1; row <= spline.degree; ++row)
        for (std::size_t i = spline.degree; i >= row; --i) {
            const double share = shareAt(spline, span, row, i, knots[row - 1]);
            points[i] = (1 - share) * points[i - 1] + share * points[i];
        }
    return points[spline.degree];
}

// A part of a curve of degree 1 to 3 without weights, which is a line or a cubic. The path stands
// at its beginning, unless `begins`.
void addExact(Path& path, const Spline& spline, std::size_t span, bool begins) {
    const double a = spline.knots[span];
    const double b = spline.knots[span + 1];
    const auto point = [&](std::array<double, 3> knots) { return blossom(spline, span, knots); };
    const Point2 from = point({a, a, a});
    const Point2 to = point({b, b, b});
    if (begins) path.moveTo(from);
    if (spline.degree == 1) {
        path.lineTo(to);
    } else if (spline.degree == 2) {
        const Point2 middle = point({a, b, b});
        path.cubicTo(from + 2.0 / 3 * (middle - from), to + 2.0 / 3 * (middle - to), to);
    } else {
        path.cubicTo(point({a, a, b}), point({a, b, b}), to);
    }
}

// Parts of any other curve: cubics with the curve's points and slopes, halved until they are near
// it. `evaluations` is how many points may still be computed.
class SmoothTracer {
  public:
    SmoothTracer(Path& path, const Spline& spline, int& evaluations) noexcept
        : path_(path), spline_(spline), evaluations_(evaluations) {}

    void add(std::size_t span, bool begins) {
        span_ = span;
        const std::size_t first = span - spline_.degree;
        double size = 0;
        for (std::size_t i = first + 1; i <= span; ++i)
            size = std::max(size, norm(spline_.controls[i] - spline_.controls[first]));
        tolerance_ = 1e-5 * size;
        const Sample from = sampleAt(0);
        if (begins) path_.moveTo(from.place);
        constexpr int deepest = 10;
        addPiece(0, from, 1, sampleAt(1), deepest);
    }

  private:
    struct Sample {
        Point2 place;
        Point2 slope;  // by a parameter that goes through the part from 0 to 1
    };
    // Before the division by the weight.
    struct Weighted {
        Point2 point;
        double weight = 0;
    };

    [[nodiscard]] Sample sampleAt(double where) const noexcept {
        const std::size_t degree = spline_.degree;
        const double low = spline_.knots[span_];
        const double high = spline_.knots[span_ + 1];
        const double knot = where == 1 ? high : low + where * (high - low);
        std::array<Weighted, mostDegree + 1> points;
        for (std::size_t i = 0; i <= degree; ++i) {
            const std::size_t control = span_ - degree + i;
            const double weight = spline_.weight(control);
            points[i] = {weight * spline_.controls[control], weight};
        }
        for (std::size_t row = 1; row < degree; ++row)
            for (std::size_t i = degree; i >= row; --i)
                points[i] = mixed(points[i - 1], points[i], shareAt(spline_, span_, row, i, knot));
        const Weighted& before = points[degree - 1];
        const Weighted& after = points[degree];
        const Weighted here = mixed(before, after, shareAt(spline_, span_, degree, degree, knot));
        const Point2 place = divided(here.point, here.weight);
        const auto run = static_cast<double>(degree);
        const Point2 bend = (after.point - before.point) - (after.weight - before.weight) * place;
        return {place, run * divided(bend, here.weight)};
    }

    [[nodiscard]] static Point2 divided(Point2 point, double weight) noexcept {
        return {point.x / weight, point.y / weight};
    }

    [[nodiscard]] static Weighted mixed(const Weighted& a, const Weighted& b,
                                        double share) noexcept {
        return {(1 - share) * a.point + share * b.point, (1 - share) * a.weight + share * b.weight};
    }

    void addPiece(double begin, const Sample& from, double end, const Sample& to, int depth) {
        constexpr int compared = 3;
        if (depth == 0 || evaluations_ < compared) {
            path_.lineTo(to.place);
            return;
        }
        evaluations_ -= compared;
        const double third = (end - begin) / 3;
        const Cubic cubic{from.place, from.place + third * from.slope, to.place - third * to.slope,
                          to.place};
        const double half = 0.5 * (begin + end);
        const Sample middle = sampleAt(half);
        const auto isNear = [&](double share, Point2 place) {
            return norm(at(cubic, share) - place) <= tolerance_;
        };
        if (isNear(0.5, middle.place) &&
            isNear(0.25, sampleAt(begin + 0.25 * (end - begin)).place) &&
            isNear(0.75, sampleAt(begin + 0.75 * (end - begin)).place)) {
            path_.cubicTo(cubic.first, cubic.second, cubic.to);
            return;
        }
        addPiece(begin, from, half, middle, depth - 1);
        addPiece(half, middle, end, to, depth - 1);
    }

    Path& path_;
    const Spline& spline_;
    int& evaluations_;
    std::size_t span_ = 0;
    double tolerance_ = 0;
};

Path pathOf(const Spline& spline, int& evaluations) {
    Path path;
    constexpr std::size_t exactDegree = 3;
    const bool exact = spline.weights.empty() && spline.degree <= exactDegree;
    SmoothTracer tracer(path, spline, evaluations);
    for (std::size_t span = spline.degree; span < spline.controls.size(); ++span) {
        if (!spline.isPart(span)) continue;
        const bool begins = path.verbs.empty() || spline.jumpsAt(span);
        if (exact) addExact(path, spline, span, begins);
        else tracer.add(span, begins);
    }
    return path;
}

// Control points win over the points that the curve was once fitted to. Empty when neither makes a
// curve.
Path pathOf(const SplineData& data, int& evaluations) {
    if (const std::optional<Spline> spline = splineOf(data)) return pathOf(*spline, evaluations);
    return pathThrough(data.fits, data.closed, data.startTangent, data.endTangent);
}

// --- Hatches ---

// An edge of a boundary, as its pairs say.
struct Edge {
    enum Type { line = 1, arc = 2, ellipse = 3, spline = 4 };
    int type = 0;
    std::vector<mmPoint> points;  // codes 10: an end, the centre, control points
    std::vector<mmPoint> others;  // codes 11: the other end, the major axis, points of the curve
    std::vector<mmPoint> startTangent;
    std::vector<mmPoint> endTangent;
    std::vector<double> numbers;  // code 40: radius, ratio, knots
    std::vector<double> weights;
    double start = 0;  // degrees
    double end = 360;
    bool counterClockwise = true;
    bool periodic = false;
    int degree = 3;
};

Path pathOfArc(const Edge& edge) {
    if (edge.points.empty() || edge.numbers.empty()) return {};
    const double size = edge.numbers.front();
    Point2 u{size, 0};
    double start = radians(edge.start);
    double sweep = sweepOf(start, radians(edge.end));
    double ratio = 1;
    if (edge.type == Edge::ellipse) {
        if (edge.others.empty()) return {};
        ratio = size;
        u = planeOf(edge.others.front());
        // The angles are those of directions.
        const auto parameter = [ratio](double angle) {
            const Point2 direction = directionAt(angle);
            return ratio == 0 ? angle : std::atan2(direction.y / std::fabs(ratio), direction.x);
        };
        start = parameter(start);
        if (sweep < fullTurn) sweep = sweepOf(start, parameter(radians(edge.end)));
    }
    // Clockwise arcs are written as if they were seen in a mirror.
    const double side = edge.counterClockwise ? ratio : -ratio;
    Path path;
    addArc(path, planeOf(edge.points.front()), u, side * leftOf(u), start, sweep);
    return path;
}

Path pathOf(const Edge& edge, int& evaluations) {
    Path path;
    switch (edge.type) {
    case Edge::line:
        if (edge.points.empty() || edge.others.empty()) break;
        path.moveTo(planeOf(edge.points.front()));
        path.lineTo(planeOf(edge.others.front()));
        break;
    case Edge::arc:
    case Edge::ellipse: return pathOfArc(edge);
    case Edge::spline: {
        SplineData data{edge.degree, edge.periodic, edge.numbers,      edge.weights,
                        edge.points, edge.others,   edge.startTangent, edge.endTangent};
        return pathOf(data, evaluations);
    }
    default: break;
    }
    return path;
}

// Joins edges, which follow each other, to one closed path. An edge may run the wrong way.
Path joined(std::vector<Path> edges) {
    Path whole;
    const auto apart = [](Point2 a, Point2 b) { return norm(a - b); };
    for (std::size_t i = 0; i < edges.size(); ++i) {
        Path& edge = edges[i];
        const Point2 from = edge.points.front();
        const Point2 to = edge.points.back();
        // A spline in several parts is not turned.
        const bool canTurn = std::ranges::count(edge.verbs, Path::Verb::move) == 1;
        bool turn = false;
        if (i > 0) {
            turn = apart(whole.points.back(), to) < apart(whole.points.back(), from);
        } else if (edges.size() > 1) {
            const auto toNext = [&](Point2 end) {
                return std::min(apart(end, edges[1].points.front()),
                                apart(end, edges[1].points.back()));
            };
            turn = toNext(from) < toNext(to);
        }
        if (turn && canTurn) edge = reversed(edge);
        if (i > 0) {
            edge.verbs.front() = Path::Verb::line;
            if (whole.points.back() == edge.points.front()) {
                edge.verbs.erase(edge.verbs.begin());
                edge.points.erase(edge.points.begin());
            }
        }
        append(whole, edge);
    }
    if (!whole.verbs.empty()) whole.close();
    return whole;
}

// What a HATCH or MPOLYGON is: its boundaries, in its plane.
class HatchReader {
  public:
    struct Boundary {
        int flags = 0;
        Path path;
    };

    HatchReader(const Source& source, const Record& record, int& evaluations)
        : source_(source), evaluations_(evaluations),
          solidCode_(record.type == "MPOLYGON" ? 71 : 70) {
        forEachOwn(record, [this](const Pair& pair) { take(pair); });
        finishBoundary();
    }

    [[nodiscard]] const std::vector<Boundary>& boundaries() const noexcept { return boundaries_; }
    [[nodiscard]] double height() const noexcept { return height_; }
    [[nodiscard]] bool isSolid() const noexcept { return solid_; }

    /// The areas that are filled; in each, what an even number of boundaries surrounds is not.
    [[nodiscard]] std::vector<Path> areas() const {
        constexpr int outer = 1;
        constexpr int ignore = 2;
        constexpr int isExternal = 1;
        constexpr int isOutermost = 16;
        const auto isMarked = [](int marks) {
            return [marks](const Boundary& boundary) { return (boundary.flags & marks) != 0; };
        };
        // Marks count where they are made.
        int wanted = 0;
        if (style_ == outer && std::ranges::any_of(boundaries_, isMarked(isOutermost)))
            wanted = isExternal | isOutermost;
        if (style_ == ignore && std::ranges::any_of(boundaries_, isMarked(isExternal)))
            wanted = isExternal;
        std::vector<Path> areas;
        for (const Boundary& boundary : boundaries_) {
            if (wanted != 0 && !isMarked(wanted)(boundary)) continue;
            if (areas.empty() || style_ == ignore) areas.push_back(boundary.path);
            else append(areas.front(), boundary.path);
        }
        return areas;
    }

  private:
    void take(const Pair& pair) {
        if (pair.code == 75) style_ = source_.integer(pair);
        if (inHead_) takeHead(pair);
        else takeBoundary(pair);
    }

    void takeHead(const Pair& pair) {
        if (pair.code == 91) inHead_ = false;
        if (pair.code == 30) height_ = source_.real(pair);
        if (pair.code == solidCode_ && source_.integer(pair) == 1) solid_ = true;
        if (pair.code == 2 && isSolidName(source_.value(pair).trimmed())) solid_ = true;
    }

    static bool isSolidName(std::string_view name) noexcept {
        return std::ranges::equal(name, std::string_view("SOLID"), [](char a, char b) {
            return a == b || (a >= 'a' && a <= 'z' && a - 'a' + 'A' == b);
        });
    }

    void takeBoundary(const Pair& pair) {
        constexpr int isPolyline = 2;
        switch (pair.code) {
        case 92:
            finishBoundary();
            flags_ = source_.integer(pair);
            return;
        // The pattern, and points inside.
        case 75:
        case 76:
        case 78:
        case 98: finishBoundary(); return;
        default: break;
        }
        if (!flags_) return;
        if ((*flags_ & isPolyline) != 0) takeVertex(pair);
        else takeEdge(pair);
    }

    void takeVertex(const Pair& pair) {
        if (takeCoordinate(vertices_, 10, source_, pair)) {
            bulges_.resize(vertices_.size());
            return;
        }
        if (pair.code == 42 && !bulges_.empty()) bulges_.back() = source_.real(pair);
    }

    void takeEdge(const Pair& pair) {
        if (pair.code == 72) {
            finishEdge();
            edge_.emplace();
            edge_->type = source_.integer(pair);
        }
        if (!edge_) return;
        Edge& edge = *edge_;
        if (takeCoordinate(edge.points, 10, source_, pair) ||
            takeCoordinate(edge.others, 11, source_, pair) ||
            takeCoordinate(edge.startTangent, 12, source_, pair) ||
            takeCoordinate(edge.endTangent, 13, source_, pair))
            return;
        switch (pair.code) {
        case 40: edge.numbers.push_back(source_.real(pair)); return;
        case 42: edge.weights.push_back(source_.real(pair)); return;
        case 50: edge.start = source_.real(pair); return;
        case 51: edge.end = source_.real(pair); return;
        case 73: edge.counterClockwise = source_.integer(pair) != 0; return;
        case 74: edge.periodic = source_.integer(pair) != 0; return;
        case 94: edge.degree = source_.integer(pair); return;
        default: return;
        }
    }

    void finishEdge() {
        if (!edge_) return;
        Path path = pathOf(*edge_, evaluations_);
        if (!path.verbs.empty()) edges_.push_back(std::move(path));
        edge_.reset();
    }

    void finishBoundary() {
        finishEdge();
        Path path = vertices_.empty() ? joined(std::move(edges_)) : polyline();
        if (!path.verbs.empty()) boundaries_.push_back({flags_.value_or(0), std::move(path)});
        edges_.clear();
        vertices_.clear();
        bulges_.clear();
        flags_.reset();
    }

    [[nodiscard]] Path polyline() const {
        Path path;
        const std::size_t count = vertices_.size();
        if (count < 2) return path;
        path.moveTo(planeOf(vertices_.front()));
        for (std::size_t i = 0; i < count; ++i) {
            const Point2 from = planeOf(vertices_[i]);
            const Point2 to = planeOf(vertices_[i + 1 < count ? i + 1 : 0]);
            if (const auto arc = bulgeArc(from, to, bulges_[i])) {
                const double end = arc->start + arc->sweep;
                addArc(path, arc->centre, arc->u, arc->v, arc->backwards ? end : arc->start,
                       arc->backwards ? -arc->sweep : arc->sweep);
                path.points.back() = to;
            } else if (i + 1 < count) {
                path.lineTo(to);
            }
        }
        path.close();
        return path;
    }

    const Source& source_;
    int& evaluations_;
    int solidCode_;
    bool inHead_ = true;
    double height_ = 0;
    bool solid_ = false;
    int style_ = 0;
    std::vector<Boundary> boundaries_;
    // Of the boundary that is being read.
    std::optional<int> flags_;
    std::vector<mmPoint> vertices_;
    std::vector<double> bulges_;
    std::vector<Path> edges_;
    std::optional<Edge> edge_;
};

// --- Entities ---

class ShapeReader {
  public:
    ShapeReader(const Source& source, const Record& record, CarriedObject& object) noexcept
        : source_(source), record_(record), object_(object) {}

    void read();

  private:
    struct Kind {
        std::string_view name;
        void (ShapeReader::*read)();
    };
    static const Kind kinds[];

    // --- Pairs ---

    [[nodiscard]] std::vector<mmPoint> pointsOf(int code) const {
        std::vector<mmPoint> points;
        forEachOwn(record_, [&](const Pair& pair) { takeCoordinate(points, code, source_, pair); });
        return points;
    }
    [[nodiscard]] std::optional<mmPoint> pointOf(int code) const {
        const std::size_t found = record_.find(code);
        if (found == Record::npos) return std::nullopt;
        return mmPoint(source_.real(record_.pairs[found]), realOf(code + 10, 0),
                       realOf(code + 20, 0));
    }
    [[nodiscard]] std::vector<double> numbersOf(int code) const {
        std::vector<double> numbers;
        forEachOwn(record_, [&](const Pair& pair) {
            if (pair.code == code) numbers.push_back(source_.real(pair));
        });
        return numbers;
    }
    [[nodiscard]] double realOf(int code, double otherwise) const {
        const std::size_t found = record_.find(code);
        return found == Record::npos ? otherwise : source_.real(record_.pairs[found]);
    }
    [[nodiscard]] int integerOf(int code, int otherwise) const {
        const std::size_t found = record_.find(code);
        return found == Record::npos ? otherwise : source_.integer(record_.pairs[found]);
    }
    [[nodiscard]] PlaneAxes axes() const {
        return axesOf({realOf(210, 0), realOf(220, 0), realOf(230, 1)});
    }

    // --- Figures ---

    void add(Path path, bool filled = false) {
        const auto fits = [](Point2 point) { return drawable(point); };
        if (path.verbs.empty() || !std::ranges::all_of(path.points, fits)) return;
        object_.figures.push_back({std::move(path), filled});
        object_.isShown = true;
    }

    void add(Path path, const Placement& by, bool filled) {
        for (Point2& point : path.points) point = by.point(point);
        add(std::move(path), filled);
    }

    void addLines(const std::vector<mmPoint>& points, bool closed) {
        if (points.size() < 2) return;
        Path path = polygon(seenFromAbove(points));
        if (!closed) path.verbs.pop_back();
        add(std::move(path));
    }

    // --- Kinds ---

    void readPoint() {
        const auto place = pointOf(10);
        if (!place) return;
        Path path;
        path.moveTo(planeOf(*place));
        path.lineTo(planeOf(*place));
        add(std::move(path));
    }

    // Its points are in the drawing's axes: the extrusion says only to which side it turns.
    void readEllipse() {
        const auto centre = pointOf(10);
        const auto major = pointOf(11);
        if (!centre || !major || !(lengthOf(*major) > 0)) return;
        const mmPoint aside = product(axes().up, *major);
        const double start = realOf(41, 0);
        const double sweep = sweepOf(start, realOf(42, fullTurn));
        Path path;
        addArc(path, planeOf(*centre), planeOf(*major), realOf(40, 1) * planeOf(aside), start,
               sweep);
        if (sweep == fullTurn) path.close();
        add(std::move(path));
    }

    void readSpline() {
        constexpr int isClosed = 1;
        SplineData data;
        data.degree = integerOf(71, data.degree);
        data.closed = (integerOf(70, 0) & isClosed) != 0;
        data.knots = numbersOf(40);
        data.weights = numbersOf(41);
        data.controls = pointsOf(10);
        data.fits = pointsOf(11);
        data.startTangent = pointsOf(12);
        data.endTangent = pointsOf(13);
        add(pathOf(data, evaluations_));
    }

    // A spline, and behind it what it was made from.
    void readHelix() {
        Record spline = record_;
        for (std::size_t i = 1; i < record_.own; ++i) {
            const Pair& pair = record_.pairs[i];
            if (pair.code != 100 || source_.value(pair).trimmed() != "AcDbHelix") continue;
            spline.own = i;
            break;
        }
        ShapeReader(source_, spline, object_).readSpline();
    }

    // The last two corners are written in the order of the edges that meet the first.
    void readSolid() {
        const auto first = pointOf(10);
        const auto second = pointOf(11);
        const auto third = pointOf(12);
        if (!first || !second || !third) return;
        const PlaneAxes plane = axes();
        std::vector<Point2> corners;
        for (const mmPoint& corner : {*first, *second, pointOf(13).value_or(*third), *third})
            corners.push_back(placementOf(plane, corner.z).point(planeOf(corner)));
        if (corners[2] == corners[3]) corners.pop_back();
        add(polygon(corners), true);
    }

    void readFace() {
        const auto first = pointOf(10);
        const auto second = pointOf(11);
        const auto third = pointOf(12);
        if (!first || !second || !third) return;
        const mmPoint fourth = pointOf(13).value_or(*third);
        const std::array<Point2, 4> corners{planeOf(*first), planeOf(*second), planeOf(*third),
                                            planeOf(fourth)};
        const int hidden = integerOf(70, 0);
        // A face may be there for other programs' sake: nothing is seen of it then.
        object_.isShown = std::ranges::all_of(corners, [](Point2 p) { return drawable(p); });
        const bool isTriangle = lengthOf(difference(fourth, *third)) == 0;
        Path path;
        bool stands = false;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            constexpr std::size_t thirdEdge = 2;
            if (isTriangle && i == thirdEdge) continue;
            const bool seen = ((hidden >> i) & 1) == 0;
            if (seen && !stands) path.moveTo(corners[i]);
            if (seen) path.lineTo(corners[(i + 1) % corners.size()]);
            stands = seen;
        }
        if (hidden == 0) {  // all edges are there
            path.verbs.back() = Path::Verb::close;
            path.points.pop_back();
        }
        add(std::move(path));
    }

    void readHatch() {
        const HatchReader hatch(source_, record_, evaluations_);
        const Placement plane = placementOf(axes(), hatch.height());
        if (hatch.isSolid())
            for (Path& area : hatch.areas()) add(std::move(area), plane, true);
        else
            for (const auto& boundary : hatch.boundaries()) add(boundary.path, plane, false);
    }

    void readLeader() {
        constexpr int isSmooth = 1;
        const std::vector<mmPoint> vertices = pointsOf(10);
        if (integerOf(72, 0) == isSmooth) add(pathThrough(vertices, false, {}, {}));
        else addLines(vertices, false);
    }

    // The line that it was drawn along stands for all of its lines.
    void readMultipleLine() {
        constexpr int isClosed = 2;
        addLines(pointsOf(11), (integerOf(71, 0) & isClosed) != 0);
    }

    // The clip is in picture elements: the middle of the top left one is (0, 0), and y downwards.
    void readImage() {
        const auto corner = pointOf(10);
        const auto u = pointOf(11);
        const auto v = pointOf(12);
        const auto size = pointOf(13);
        if (!corner || !u || !v) return;
        const double width = size ? size->x : 1;
        const double height = size ? size->y : 1;
        std::vector<Point2> outline{
            {-0.5, -0.5}, {width - 0.5, -0.5}, {width - 0.5, height - 0.5}, {-0.5, height - 0.5}};
        const std::vector<Point2> clip = seenFromAbove(pointsOf(14));
        if (clip.size() >= 2 && integerOf(280, record_.type == "WIPEOUT" ? 1 : 0) != 0) {
            outline = clip;
            // Two corners of a rectangle.
            if (clip.size() == 2)
                outline = {clip[0], {clip[1].x, clip[0].y}, clip[1], {clip[0].x, clip[1].y}};
        }
        if (outline.front() == outline.back()) outline.pop_back();
        if (outline.size() < 2) return;
        const Placement picture{planeOf(*u), planeOf(*v), planeOf(*corner)};
        for (Point2& point : outline)
            point = picture.point({point.x + 0.5, height - (point.y + 0.5)});
        add(polygon(outline));
    }

    void readBlock() {
        const std::size_t name = record_.find(2);
        if (name == Record::npos) return;
        object_.block = source_.text(record_.pairs[name]);
        object_.isShown = !object_.block.empty();
    }

    // A table's block is drawn from its own corner, which the table places.
    void readTable() {
        readBlock();
        const auto number = [this](int code) {
            const std::size_t at = record_.find(code);
            return at == Record::npos ? 0 : source_.real(record_.pairs[at]);
        };
        object_.blockAt = {number(10), number(20)};
    }

    // Seen only as the attributes of the inserts.
    void readNothing() { object_.isShown = true; }

    const Source& source_;
    const Record& record_;
    CarriedObject& object_;
    // An object is drawn within a second, whatever its splines are.
    int evaluations_ = 1 << 20;
};

// Kinds that are not here have no shape in the plane, or one that only their makers know.
constexpr ShapeReader::Kind ShapeReader::kinds[] = {
    {"POINT", &ShapeReader::readPoint},         {"ELLIPSE", &ShapeReader::readEllipse},
    {"SPLINE", &ShapeReader::readSpline},       {"HELIX", &ShapeReader::readHelix},
    {"SOLID", &ShapeReader::readSolid},         {"TRACE", &ShapeReader::readSolid},
    {"3DFACE", &ShapeReader::readFace},         {"HATCH", &ShapeReader::readHatch},
    {"MPOLYGON", &ShapeReader::readHatch},      {"LEADER", &ShapeReader::readLeader},
    {"MLINE", &ShapeReader::readMultipleLine},  {"IMAGE", &ShapeReader::readImage},
    {"WIPEOUT", &ShapeReader::readImage},       {"DIMENSION", &ShapeReader::readBlock},
    {"ARC_DIMENSION", &ShapeReader::readBlock}, {"LARGE_RADIAL_DIMENSION", &ShapeReader::readBlock},
    {"ACAD_TABLE", &ShapeReader::readTable},    {"ATTDEF", &ShapeReader::readNothing},
};

void ShapeReader::read() {
    for (const Kind& kind : kinds)
        if (kind.name == record_.type) return (this->*kind.read)();
}

}  // namespace

void readShape(const Source& source, const std::vector<Record>& records, CarriedObject& object) {
    if (records.empty()) return;
    ShapeReader(source, records.front(), object).read();
}

}  // namespace vlisp::refhost::dxf
