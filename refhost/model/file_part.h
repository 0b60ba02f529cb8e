// What an object of the drawing has beyond the bridge's members when it came from a file, and the
// objects of kinds that the host only carries.
// One idea: the bridge's classes stay as they are; an object from a file is of a class of its own
// that has a FilePart besides.
// Tests: tests/refhost/objects_test.cpp, tests/dxf/.
#pragma once

#include "host/bridge.h"
#include "refhost/model/geometry.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vlisp::refhost {

/// What pictures need of an object beyond the bridge's members.
struct Appearance {
    /// The plane that the object lies in is turned so that this is its upward direction; the
    /// object's points are in that plane's own axes. Lines and points are always in the drawing's.
    mmPoint normal{0, 0, 1};
    std::optional<std::uint32_t> trueColour;  ///< 0xRRGGBB; wins over the colour index
    bool invisible = false;

    // Texts. A TEXT that is aligned stands at `alignment` instead of its insertion point.
    int horizontal = 0;  ///< 0 left, 1 centre, 2 right, 3 aligned, 4 middle, 5 fit
    int vertical = 0;    ///< 0 baseline, 1 bottom, 2 middle, 3 top
    Point2 alignment;
    int attachment = 1;  ///< of a MTEXT: 1 top left, 2 top centre, ... 9 bottom right
    double widthFactor = 1;
    double oblique = 0;  ///< degrees

    // Polylines.
    double width = 0;  ///< constant width in drawing units
    /// By vertex: it belongs to the frame that the curve was fitted to and is not drawn.
    std::shared_ptr<const std::vector<bool>> onFrame;
    bool isMesh = false;  ///< a mesh of polygons; its vertices are no line

    // Inserts: a grid of copies, and the texts that fill the block's attributes. Those stand in the
    // drawing's axes, not in the block's.
    int columns = 1;
    int rows = 1;
    double columnSpacing = 0;
    double rowSpacing = 0;
    std::shared_ptr<const std::vector<std::unique_ptr<VmDbObject>>> attributes;
};

/// Where an object stands in its file, and what the file says of it besides.
class FilePart {
  public:
    virtual ~FilePart();

    // Its record, with those that belong to it: bytes of the document.
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    Appearance appearance;
};

/// An object of one of the bridge's classes that came from a file.
template <class Class> class FromFile final : public Class, public FilePart {};

/// The FilePart of an object; null when it did not come from a file.
[[nodiscard]] FilePart* filePartOf(VmDbObject& object) noexcept;
[[nodiscard]] const FilePart* filePartOf(const VmDbObject& object) noexcept;

/// Lines and curves of the plane, in drawing units.
struct Path {
    enum class Verb : std::uint8_t {
        move,   ///< takes one point
        line,   ///< takes one point
        cubic,  ///< takes two control points and the end
        close   ///< takes none
    };
    std::vector<Verb> verbs;
    std::vector<Point2> points;

    void moveTo(Point2 p) { add(Verb::move, {p}); }
    void lineTo(Point2 p) { add(Verb::line, {p}); }
    void cubicTo(Point2 a, Point2 b, Point2 end) { add(Verb::cubic, {a, b, end}); }
    void close() { add(Verb::close, {}); }

  private:
    void add(Verb verb, std::initializer_list<Point2> with) {
        verbs.push_back(verb);
        points.insert(points.end(), with);
    }
};

/// A path as it is drawn.
struct Figure {
    Path path;
    bool filled = false;
};

/// An object of a kind that the host does not know as such. It keeps its place, can be erased and
/// copied, and lies on a layer; its shape cannot be changed. It has no points.
class CarriedObject final : public VmDbObject, public FilePart {
  public:
    std::u16string kind;          ///< "ELLIPSE", for example
    std::vector<Figure> figures;  ///< what it looks like, in the drawing's axes
    std::u16string block;         ///< a block that it shows, as dimensions do; or empty
    Point2 blockAt;               ///< where the block's origin lies
    bool isShown = false;         ///< false: what it looks like is not known
};

}  // namespace vlisp::refhost
