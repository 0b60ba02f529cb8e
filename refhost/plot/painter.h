// From the drawing's objects to strokes, fills, texts and blocks on paper.
// One idea: everything is handed over in millimetres of paper as soon as it is known, so that what
// is drawn is never kept; what is outside the picture, or could break it, is cut off on the way.
// Tests: tests/plot/svg_test.cpp, tests/plot/canvas_picture_posix_test.cpp.
#pragma once

#include "refhost/model/drawing.h"
#include "refhost/model/pieces.h"
#include "refhost/plot/colour.h"
#include "refhost/plot/page.h"
#include "refhost/plot/plot.h"

#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace vlisp::refhost::plot {

inline constexpr double defaultWeight = 0.25;  ///< mm: of lines that say nothing else
inline constexpr double thinnestWeight = 0.05;
inline constexpr double widestWeight = 2.11;

/// How a layer looks.
struct LayerLook {
    std::u16string name;
    Rgb colour = black;
    bool shown = true;
    bool isZero = false;  ///< the layer "0", which in blocks stands for the insert's
};

/// What the contents of a block get from the insert that shows them.
struct Surroundings {
    const LayerLook* layer = nullptr;  ///< null outside of blocks
    std::optional<Rgb> colour;         ///< none: whatever is current where the block is shown
};

struct Ink {
    std::optional<Rgb> colour;  ///< none: as in Surroundings
    double weight = defaultWeight;
};

/// A block as pictures need it.
struct Block {
    const std::vector<const VmDbObject*>* contents = nullptr;
    Point2 base;
    Box box;                   ///< around the contents, in the block's own axes
    std::vector<Point2> hull;  ///< their convex hull, nearly: arcs bulge out of it by thousandths
    double objects = 0;        ///< how many it shows, those of its inserts included
    bool usesLayer = false;    ///< whether something in it looks as the insert's layer says
};

/// What is to be known of the drawing while it is painted. Blocks and layers are looked up once.
class Scene {
  public:
    Scene(const Drawing& drawing, const Options& options);

    [[nodiscard]] const LayerLook& layerOf(const VmDbObject& object, const Surroundings& around);
    [[nodiscard]] Ink inkOf(const VmDbObject& object, const Surroundings& around);
    /// The block that an object shows; null when it shows none, or when there is no such block.
    [[nodiscard]] const Block* blockOf(const VmDbObject& object);
    /// Whether the object is drawn at all: not erased, not invisible, its layer shown.
    [[nodiscard]] bool shows(const VmDbObject& object, const Surroundings& around);
    /// Around all of the drawing that is shown, in drawing units.
    [[nodiscard]] Box extents();

    /// Notes that an object is not drawn. What is in a block is noted once, however often it shows.
    void omit(const VmDbObject& object, bool isInBlock, const char* reason);
    [[nodiscard]] std::vector<Omission> omissions() const;

    [[nodiscard]] const Drawing& drawing() const noexcept { return drawing_; }
    [[nodiscard]] const Options& options() const noexcept { return options_; }
    /// What everything is drawn in when one colour is asked for.
    [[nodiscard]] Rgb plainColour() const noexcept { return options_.dark ? white : black; }

  private:
    const LayerLook& layerNamed(std::u16string_view name);
    const Block* blockNamed(std::u16string_view name);
    void measure(Block& block);
    [[nodiscard]] Box extentOf(const VmDbObject& object);

    const Drawing& drawing_;
    const Options& options_;
    BlockLookup lookup_;
    std::deque<LayerLook> looks_;
    std::unordered_map<std::u16string, const LayerLook*> layers_;  // by every spelling
    std::unordered_map<const std::vector<const VmDbObject*>*, std::unique_ptr<Block>> blocks_;
    int measuring_ = 0;  // blocks, one within the other
    std::map<std::pair<std::u16string, std::string>, std::size_t> omitted_;
    std::unordered_set<const VmDbObject*> omittedObjects_;  // contents of blocks are shown often
};

/// The name of an object's kind, such as "LINE".
[[nodiscard]] std::u16string kindNameOf(const VmDbObject& object);

/// A box around a block's contents where it is placed.
[[nodiscard]] Box placed(const Block& block, const pieces::Placement& by) noexcept;

/// Draws a path, point by point.
class Pen {
  public:
    virtual ~Pen() = default;
    virtual void moveTo(Point2 p) = 0;
    virtual void lineTo(Point2 p) = 0;
    /// From where the pen is, which is one of its ends, to the other.
    virtual void arcTo(const pieces::Curve& curve) = 0;
    virtual void cubicTo(Point2 first, Point2 second, Point2 to) = 0;
    virtual void close() = 0;
};

/// Everything: a box without ends.
inline constexpr Box everywhere{
    -std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
    std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};

/// The part of a filled path that is in the box, its curves as chords.
[[nodiscard]] Path clipped(const Path& path, const pieces::Placement& by, const Box& box);

/// Calls `with` for cubics that follow the curve in the object's direction, nearer than 1e-5 of its
/// size.
void forEachCubic(const pieces::Curve& curve,
                  const std::function<void(const pieces::Cubic&)>& with);

/// Strings pieces together to paths. A path that comes back to its start is closed.
class Tracer {
  public:
    /// Pieces outside of `cull` are left out; what reaches beyond `limit` is cut off there.
    Tracer(Pen& pen, const Box& cull, const Box& limit) : pen_(pen), cull_(cull), limit_(limit) {}

    void piece(const pieces::Piece& piece);
    void finish();

  private:
    void goTo(Point2 p);
    void lineTo(Point2 p);
    void flushLine();
    void segment(const pieces::Segment& segment);
    void curve(const pieces::Curve& curve);
    void cubic(const pieces::Cubic& cubic, int depth);
    [[nodiscard]] bool isInside(const Box& box) const noexcept { return limit_.contains(box); }

    Pen& pen_;
    Box cull_;
    Box limit_;
    bool drawing_ = false;
    bool long_ = false;  // more than a straight line so far
    Point2 start_;
    Point2 here_;
    std::optional<Point2> line_;  // where a straight line goes that is not drawn yet
};

/// Takes objects apart; what remains are four ways to draw, which depend on the kind of picture.
class Painter {
  public:
    explicit Painter(Scene& scene, const Page& page);
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;
    virtual ~Painter() = default;

    void paint(const VmDbObject& object, const pieces::Placement& by, const Surroundings& around);

  protected:
    using Trace = std::function<void(Tracer&)>;
    using Lines = std::vector<std::u16string>;

    /// A line of the ink's weight, or when `width` is above 0, a band of this many millimetres.
    virtual void stroke(const Ink& ink, double width, const Trace& trace) = 0;
    /// The inside of a path.
    virtual void fill(const Ink& ink, const Trace& trace) = 0;
    /// `by` is from the text's plane to the paper. Its height there is above 0 and not too large.
    virtual void text(const Ink& ink, const pieces::TextShape& shape, const Lines& lines,
                      const pieces::Placement& by) = 0;
    /// `whole` is from the block to the paper, `ink` that of the object that shows the block.
    /// Answers whether it had room for it.
    virtual bool block(const Block& block, const pieces::Placement& whole, const Ink& ink,
                       const Surroundings& inner) = 0;

    /// All contents of a block, one after the other.
    void paintContents(const Block& block, const pieces::Placement& whole,
                       const Surroundings& inner);
    /// A tracer for lines of what is shown now. Bands reach further than their middle line.
    [[nodiscard]] Tracer lineTracer(Pen& pen, double width) const noexcept;
    /// A tracer for fills, whose paths must stay whole.
    [[nodiscard]] static Tracer fillTracer(Pen& pen) noexcept;

    Scene& scene_;
    const Page& page_;
    Box cull_;   // what may be seen, in what is painted now
    Box limit_;  // beyond this, numbers are too large for what reads the picture

  private:
    void paintText(const VmDbText& text, const pieces::Placement& by, const Ink& ink);
    void paintCarried(const CarriedObject& object, const pieces::Placement& by, const Ink& ink);
    void paintPieces(const VmDbObject& object, const pieces::Placement& by, const Ink& ink);
    void paintBlock(const VmDbObject& object, const pieces::Placement& by, const Ink& ink,
                    const Surroundings& around);
    void omit(const VmDbObject& object, const char* reason) {
        scene_.omit(object, !open_.empty(), reason);
    }
    void fillFigure(const Figure& figure, const pieces::Placement& by, const Ink& ink);

    std::vector<const Block*> open_;  // that are being shown, one within the other
};

}  // namespace vlisp::refhost::plot
