// From the drawing's objects to what is drawn on paper. See painter.h.
// Tests: tests/plot/svg_test.cpp, tests/plot/canvas_picture_posix_test.cpp.
#include "refhost/plot/painter.h"

#include "refhost/model/objects.h"

#include "builtins/wildcard.h"
#include "core/reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>

namespace vlisp::refhost::plot {

using namespace pieces;

namespace {

// Millimetres around the paper that numbers may reach into.
constexpr double reach = 10'000;
// An arc of a greater radius is written as cubics: readers lose too many digits at its centre.
constexpr double greatestRadius = 100'000;
constexpr std::size_t mostHullPoints = 100'000;  // before they are reduced

bool matches(std::u16string_view name, const std::vector<std::u16string>& patterns) {
    if (patterns.empty()) return true;
    const std::u16string upper = upperCased(name);
    return std::ranges::any_of(patterns, [&upper](const std::u16string& pattern) {
        return matchesWildcard(upper, upperCased(pattern));
    });
}

// Whether what is upright stays upright, so that a box's place is the box of what is in it.
bool keepsBoxes(const Placement& by) noexcept {
    return (by.u.y == 0 && by.v.x == 0) || (by.u.x == 0 && by.v.y == 0);
}

// The corners of a piece, of what is curved enough points.
void addOutline(std::vector<Point2>& points, const Piece& piece) {
    constexpr int chords = 64;
    if (const auto* segment = std::get_if<Segment>(&piece)) {
        points.insert(points.end(), {segment->from, segment->to});
    } else if (const auto* frame = std::get_if<Frame>(&piece)) {
        const Point2 above = frame->corner + frame->up;
        points.insert(points.end(),
                      {frame->corner, frame->corner + frame->along, above, above + frame->along});
    } else if (const auto* curve = std::get_if<Curve>(&piece)) {
        for (int i = 0; i <= chords; ++i)
            points.push_back(at(*curve, curve->start + curve->sweep * i / chords));
    } else if (const auto* cubic = std::get_if<Cubic>(&piece)) {
        for (int i = 0; i <= chords; ++i)
            points.push_back(at(*cubic, static_cast<double>(i) / chords));
    }
}

// Leaves the corners of the convex hull: the lower and the upper chain from left to right.
void reduceToHull(std::vector<Point2>& points) {
    if (points.size() < 4) return;
    std::ranges::sort(points,
                      [](Point2 a, Point2 b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
    std::vector<Point2> hull;
    const auto chain = [&hull](auto next, auto end) {
        const std::size_t begin = hull.size();
        for (; next != end; ++next) {
            const Point2 p = *next;
            while (hull.size() >= begin + 2 &&
                   !(cross(hull.back() - hull[hull.size() - 2], p - hull.back()) > 0))
                hull.pop_back();
            hull.push_back(p);
        }
        hull.pop_back();
    };
    chain(points.begin(), points.end());
    chain(points.rbegin(), points.rend());
    points = std::move(hull);
}

double stretchOf(const Placement& by) noexcept { return std::sqrt(std::fabs(cross(by.u, by.v))); }

Point2 clamped(Point2 p, const Box& box) noexcept {
    return {std::clamp(p.x, box.left, box.right), std::clamp(p.y, box.bottom, box.top)};
}

Box widened(const Box& box, double by) noexcept {
    return {box.left - by, box.bottom - by, box.right + by, box.top + by};
}

}  // namespace

std::u16string kindNameOf(const VmDbObject& object) {
    if (const auto* carried = dynamic_cast<const CarriedObject*>(&object)) return carried->kind;
    switch (object.typeCode) {
    case vmDbLwPolyline: return u"LWPOLYLINE";
    case vmDbCircle: return u"CIRCLE";
    case vmDbArc: return u"ARC";
    case vmDbLine: return u"LINE";
    case vmDbPolyline: return u"POLYLINE";
    case vmDbInsert: return u"INSERT";
    case vmDbText: return u"TEXT";
    case vmDbMText: return u"MTEXT";
    default: return u"POINT";
    }
}

Box placed(const Block& block, const Placement& by) noexcept {
    Box result;
    if (block.box.isEmpty()) return result;
    if (keepsBoxes(by)) {
        result.add(by.point({block.box.left, block.box.bottom}));
        result.add(by.point({block.box.right, block.box.top}));
        return result;
    }
    for (const Point2 corner : block.hull) result.add(by.point(corner));
    return result;
}

// --- Scene ---

Scene::Scene(const Drawing& drawing, const Options& options)
    : drawing_(drawing), options_(options), lookup_(drawing.blockLookup()) {}

const LayerLook& Scene::layerNamed(std::u16string_view name) {
    const auto [place, isNew] = layers_.try_emplace(std::u16string(name), nullptr);
    if (!isNew) return *place->second;
    const Layer* const layer = drawing_.findLayer(name);
    // Another spelling of a layer's name is the same layer.
    if (layer != nullptr && layer->name != name) {
        const LayerLook& same = layerNamed(layer->name);
        layers_[std::u16string(name)] = &same;
        return same;
    }
    LayerLook& look = looks_.emplace_back();
    look.name = name;
    if (options_.mono) look.colour = plainColour();
    else if (layer != nullptr && layer->trueColour) look.colour = *layer->trueColour;
    else look.colour = colourOfIndex(layer != nullptr ? layer->colour : 7, options_.dark);
    look.shown =
        (layer == nullptr || (layer->on && !layer->frozen)) && matches(look.name, options_.layers);
    look.isZero = look.name == u"0";
    place->second = &look;
    return look;
}

const LayerLook& Scene::layerOf(const VmDbObject& object, const Surroundings& around) {
    const LayerLook& own = layerNamed(viewOf(object.layerName));
    return own.isZero && around.layer != nullptr ? *around.layer : own;
}

Ink Scene::inkOf(const VmDbObject& object, const Surroundings& around) {
    constexpr std::int32_t byBlock = 0;
    constexpr std::int32_t byLayer = 256;
    Ink ink;
    if (object.lineweight >= 0)
        ink.weight = std::clamp(object.lineweight / 100.0, thinnestWeight, widestWeight);
    const FilePart* const part = filePartOf(object);
    if (options_.mono) ink.colour = plainColour();
    else if (part != nullptr && part->appearance.trueColour)
        ink.colour = *part->appearance.trueColour & 0xFFFFFF;
    else if (object.colour == byLayer) ink.colour = layerOf(object, around).colour;
    else if (object.colour == byBlock && around.layer != nullptr) ink.colour = around.colour;
    else ink.colour = colourOfIndex(object.colour, options_.dark);
    return ink;
}

bool Scene::shows(const VmDbObject& object, const Surroundings& around) {
    return object.erased == 0 && !isInvisible(object) && layerOf(object, around).shown;
}

const Block* Scene::blockOf(const VmDbObject& object) {
    const std::u16string_view name = pieces::blockOf(object);
    return name.empty() ? nullptr : blockNamed(name);
}

const Block* Scene::blockNamed(std::u16string_view name) {
    auto block = std::make_unique<Block>();
    block->contents = lookup_(name, block->base);
    if (block->contents == nullptr) return nullptr;
    const auto* const key = block->contents;
    const auto known = blocks_.find(key);
    if (known != blocks_.end()) return known->second.get();
    if (measuring_ >= deepestInsert) return nullptr;
    // While it is measured it is not there: a block in itself shows nothing.
    blocks_[key] = nullptr;
    ++measuring_;
    measure(*block);
    --measuring_;
    return (blocks_[key] = std::move(block)).get();
}

void Scene::measure(Block& block) {
    const auto take = [&block](const Piece& piece) {
        if (!drawable(piece)) return true;
        block.box.add(boxOf(piece));
        addOutline(block.hull, piece);
        return true;
    };
    for (const VmDbObject* object : *block.contents) {
        if (object == nullptr || object->erased != 0 || isInvisible(*object)) continue;
        block.objects += 1;
        block.usesLayer |= layerNamed(viewOf(object->layerName)).isZero;
        forEachOwnPiece(*object, Placement(), take);
        if (const auto* attributes = attributesOf(*object)) {
            for (const auto& attribute : *attributes) {
                if (attribute == nullptr) continue;
                block.usesLayer |= layerNamed(viewOf(attribute->layerName)).isZero;
                forEachOwnPiece(*attribute, Placement(), take);
            }
        }
        const Block* const inner = blockOf(*object);
        if (inner == nullptr) continue;
        double copies = 0;
        forEachCopy(*object, Placement(), inner->base, [&](const Placement& by) {
            block.box.add(placed(*inner, by));
            for (const Point2 corner : inner->hull) block.hull.push_back(by.point(corner));
            if (block.hull.size() > mostHullPoints) reduceToHull(block.hull);
            return ++copies < mostInsertedPieces;
        });
        block.objects += copies * inner->objects;
    }
    reduceToHull(block.hull);
}

Box Scene::extentOf(const VmDbObject& object) {
    Box box;
    const auto take = [&box](const Piece& piece) {
        if (drawable(piece)) box.add(boxOf(piece));
        return true;
    };
    forEachOwnPiece(object, Placement(), take);
    if (const auto* attributes = attributesOf(object))
        for (const auto& attribute : *attributes)
            if (attribute != nullptr && !isInvisible(*attribute))
                forEachOwnPiece(*attribute, Placement(), take);
    if (const Block* const block = blockOf(object)) {
        int copies = 0;
        forEachCopy(object, Placement(), block->base, [&](const Placement& by) {
            const Box copy = placed(*block, by);
            if (drawable(Point2{copy.left, copy.bottom}) && drawable(Point2{copy.right, copy.top}))
                box.add(copy);
            return ++copies < mostInsertedPieces;
        });
    }
    return box;
}

Box Scene::extents() {
    Box all;
    for (int slot = 0; slot < drawing_.slotCount(); ++slot) {
        const auto object = drawing_.at(slot);
        if (object != nullptr && shows(*object, {})) all.add(extentOf(*object));
    }
    return all;
}

void Scene::omit(const VmDbObject& object, bool isInBlock, const char* reason) {
    if (isInBlock && !omittedObjects_.insert(&object).second) return;
    ++omitted_[{kindNameOf(object), reason}];
}

std::vector<Omission> Scene::omissions() const {
    std::vector<Omission> all;
    for (const auto& [what, count] : omitted_) all.push_back({what.first, what.second, count});
    return all;
}

// --- Tracer ---

void forEachCubic(const Curve& curve, const std::function<void(const Cubic&)>& with) {
    // A cubic over a quarter turn misses the arc by 2.7e-4 of its radius, one over half of that by
    // 4.2e-6. A hundredth of a millimetre is not to be seen.
    constexpr double unseen = 0.01;
    const double radius = std::max(norm(curve.u), norm(curve.v));
    const double longest = radius * 2.8e-4 < unseen ? pi / 2 : pi / 4;
    const int count = std::max(1, static_cast<int>(std::ceil(curve.sweep / longest - 1e-9)));
    const double step = curve.sweep / count;
    const double pull = 4.0 / 3.0 * std::tan(step / 4);
    const auto tangent = [&curve](double t) {
        return std::cos(t) * curve.v - std::sin(t) * curve.u;
    };
    const auto point = [&](int i) {
        if (i == 0) return curve.from;
        return i == count ? curve.to : at(curve, curve.start + i * step);
    };
    for (int n = 0; n < count; ++n) {
        const int i = curve.backwards ? count - 1 - n : n;
        const double t = curve.start + i * step;
        const Point2 from = point(i);
        const Point2 to = point(i + 1);
        const Point2 first = from + pull * tangent(t);
        const Point2 second = to - pull * tangent(t + step);
        if (curve.backwards) with({to, second, first, from});
        else with({from, first, second, to});
    }
}

Path clipped(const Path& path, const Placement& by, const Box& box) {
    constexpr int chords = 64;
    std::vector<std::vector<Point2>> rings;
    forEachPieceOf(path, by, [&](const Piece& piece) {
        const auto* cubic = std::get_if<Cubic>(&piece);
        const auto* segment = std::get_if<Segment>(&piece);
        if (cubic == nullptr && segment == nullptr) return true;
        const Point2 from = cubic != nullptr ? cubic->from : segment->from;
        if (rings.empty() || !(rings.back().back() == from)) rings.push_back({from});
        if (cubic == nullptr) rings.back().push_back(segment->to);
        else
            for (int i = 1; i <= chords; ++i)
                rings.back().push_back(i == chords ? cubic->to
                                                   : at(*cubic, static_cast<double>(i) / chords));
        return true;
    });
    // One side of the box after the other cuts off what is beyond it.
    const auto cut = [](std::vector<Point2>& ring, double Point2::*axis, double level,
                        double sign) {
        std::vector<Point2> kept;
        for (std::size_t i = 0; i < ring.size(); ++i) {
            const Point2 a = ring[i];
            const Point2 b = ring[(i + 1) % ring.size()];
            const double outA = sign * (a.*axis - level);
            const double outB = sign * (b.*axis - level);
            if (outA <= 0) kept.push_back(a);
            if ((outA <= 0) == (outB <= 0)) continue;
            Point2 crossing = a + (outA / (outA - outB)) * (b - a);
            crossing.*axis = level;
            kept.push_back(crossing);
        }
        ring = std::move(kept);
    };
    Path result;
    for (auto& ring : rings) {
        cut(ring, &Point2::x, box.left, -1);
        cut(ring, &Point2::x, box.right, 1);
        cut(ring, &Point2::y, box.bottom, -1);
        cut(ring, &Point2::y, box.top, 1);
        if (ring.size() < 3) continue;
        result.moveTo(clamped(ring[0], box));
        for (std::size_t i = 1; i < ring.size(); ++i) result.lineTo(clamped(ring[i], box));
        result.close();
    }
    return result;
}

void Tracer::piece(const Piece& piece) {
    if (!drawable(piece) || !cull_.intersects(boxOf(piece))) return;
    if (const auto* straight = std::get_if<Segment>(&piece)) segment(*straight);
    else if (const auto* arc = std::get_if<Curve>(&piece)) curve(*arc);
    else if (const auto* bezier = std::get_if<Cubic>(&piece)) cubic(*bezier, 0);
}

void Tracer::finish() {
    if (!drawing_) return;
    if (long_ && here_ == start_) {
        // Closing draws the last straight line.
        line_.reset();
        pen_.close();
    }
    flushLine();
    drawing_ = false;
}

void Tracer::goTo(Point2 p) {
    if (drawing_ && here_ == p) return;
    finish();
    pen_.moveTo(p);
    start_ = here_ = p;
    drawing_ = true;
    long_ = false;
}

void Tracer::flushLine() {
    if (line_) pen_.lineTo(*line_);
    line_.reset();
}

void Tracer::lineTo(Point2 p) {
    if (line_) long_ = true;
    flushLine();
    line_ = p;
    here_ = p;
}

void Tracer::segment(const Segment& segment) {
    if (isInside(boxOf(segment))) {
        goTo(segment.from);
        lineTo(segment.to);
        return;
    }
    // One side after the other cuts off what is beyond it. The coordinate is then the side's own,
    // for of far ends the digits are lost.
    Point2 from = segment.from;
    Point2 to = segment.to;
    const auto cut = [&from, &to](double Point2::*axis, double level, double sign) {
        const double outFrom = sign * (from.*axis - level);
        const double outTo = sign * (to.*axis - level);
        if (outFrom > 0 && outTo > 0) return false;
        if (outFrom <= 0 && outTo <= 0) return true;
        Point2 crossing = from + (outFrom / (outFrom - outTo)) * (to - from);
        crossing.*axis = level;
        (outFrom > 0 ? from : to) = crossing;
        return true;
    };
    if (!cut(&Point2::x, limit_.left, -1) || !cut(&Point2::x, limit_.right, 1) ||
        !cut(&Point2::y, limit_.bottom, -1) || !cut(&Point2::y, limit_.top, 1))
        return;
    goTo(clamped(from, limit_));
    lineTo(clamped(to, limit_));
}

void Tracer::curve(const Curve& curve) {
    const double radius = std::max(norm(curve.u), norm(curve.v));
    if (isInside(boxOf(curve)) && radius <= greatestRadius) {
        goTo(curve.backwards ? curve.to : curve.from);
        flushLine();
        pen_.arcTo(curve);
        here_ = curve.backwards ? curve.from : curve.to;
        long_ = true;
        return;
    }
    forEachCubic(curve, [this](const Cubic& part) { cubic(part, 0); });
}

// Halves it until each part is wholly inside or outside.
void Tracer::cubic(const Cubic& cubic, int depth) {
    constexpr int deepest = 60;
    Box hull = Box::between(cubic.from, cubic.to);
    hull.add(cubic.first);
    hull.add(cubic.second);
    if (!limit_.intersects(hull)) return;
    if (!isInside(hull)) {
        if (depth >= deepest) return;
        const auto middle = [](Point2 a, Point2 b) { return 0.5 * (a + b); };
        const Point2 a = middle(cubic.from, cubic.first);
        const Point2 b = middle(cubic.first, cubic.second);
        const Point2 c = middle(cubic.second, cubic.to);
        const Point2 ab = middle(a, b);
        const Point2 bc = middle(b, c);
        const Point2 half = middle(ab, bc);
        this->cubic({cubic.from, a, ab, half}, depth + 1);
        this->cubic({half, bc, c, cubic.to}, depth + 1);
        return;
    }
    goTo(cubic.from);
    flushLine();
    pen_.cubicTo(cubic.first, cubic.second, cubic.to);
    here_ = cubic.to;
    long_ = true;
}

// --- Painter ---

Painter::Painter(Scene& scene, const Page& page)
    : scene_(scene), page_(page), cull_(page.clip.value_or(page.sheet())),
      limit_(widened(page.sheet(), reach)) {}

Tracer Painter::fillTracer(Pen& pen) noexcept { return {pen, everywhere, everywhere}; }

Tracer Painter::lineTracer(Pen& pen, double width) const noexcept {
    return {pen, widened(cull_, width / 2 + widestWeight), limit_};
}

void Painter::paint(const VmDbObject& object, const Placement& by, const Surroundings& around) {
    if (!scene_.shows(object, around)) return;
    const Ink ink = scene_.inkOf(object, around);
    if (const auto* letters = dynamic_cast<const VmDbText*>(&object)) {
        paintText(*letters, by, ink);
        return;
    }
    if (const auto* carried = dynamic_cast<const CarriedObject*>(&object)) {
        if (!carried->isShown) {
            omit(object, "its shape is not known");
            return;
        }
        paintCarried(*carried, by, ink);
    } else if (const FilePart* part = filePartOf(object);
               part != nullptr && part->appearance.isMesh) {
        omit(object, "it is a mesh");
    } else {
        paintPieces(object, by, ink);
    }
    paintBlock(object, by, ink, around);
    if (const auto* attributes = attributesOf(object)) {
        // A colour by block is the insert's.
        const Surroundings inner{&scene_.layerOf(object, around), ink.colour};
        for (const auto& attribute : *attributes)
            if (attribute != nullptr) paint(*attribute, by, inner);
    }
}

void Painter::paintContents(const Block& block, const Placement& whole, const Surroundings& inner) {
    for (const VmDbObject* object : *block.contents)
        if (object != nullptr) paint(*object, whole, inner);
}

void Painter::paintText(const VmDbText& text, const Placement& by, const Ink& ink) {
    constexpr double smallest = 1e-3;
    constexpr double largest = 1e5;
    constexpr double mostStretched = 1e4;  // letters, one way or the other
    if (text.points.count <= 0) return;
    if (!(std::fabs(text.height) > 0)) {
        omit(text, "it has no height");
        return;
    }
    Box box;
    forEachOwnPiece(text, by, [&box](const Piece& piece) {
        if (drawable(piece)) box = boxOf(piece);
        return true;
    });
    const Placement whole = by.after(planePlacement(text));
    const auto lines = linesOf(text);
    const TextShape shape = shapeOf(text, lines.size());
    const double height = shape.height * norm(whole.vector(shape.up));
    const double width = shape.widthFactor * shape.height * norm(whole.vector(shape.along));
    const bool isStretched = width > mostStretched * height || height > mostStretched * width;
    const double way = shape.width.value_or(0) * norm(whole.vector(shape.along));
    if (box.isEmpty() || !(height <= largest) || !(way <= largest) || isStretched) {
        omit(text, "it is too large or not on the plane");
        return;
    }
    // Letters are wider than is estimated, and reach below the line.
    const double slack = 2 * height + (box.right - box.left) + (box.top - box.bottom);
    if (height < smallest || !widened(cull_, slack).intersects(box)) return;
    if (std::ranges::all_of(lines, [](const auto& line) { return line.empty(); })) return;
    this->text(ink, shape, lines, whole);
}

void Painter::paintCarried(const CarriedObject& object, const Placement& by, const Ink& ink) {
    for (const Figure& figure : object.figures) {
        if (figure.filled) {
            fillFigure(figure, by, ink);
            continue;
        }
        stroke(ink, 0, [&](Tracer& tracer) {
            forEachPieceOf(figure.path, by, [&tracer](const Piece& piece) {
                tracer.piece(piece);
                return true;
            });
        });
    }
}

void Painter::fillFigure(const Figure& figure, const Placement& by, const Ink& ink) {
    Box box;
    bool isDrawable = true;
    const auto measure = [&](const Piece& piece) {
        isDrawable = drawable(piece);
        if (isDrawable) box.add(boxOf(piece));
        return isDrawable;
    };
    forEachPieceOf(figure.path, by, measure);
    if (!isDrawable || !cull_.intersects(box)) return;
    const bool fits = limit_.contains(box);
    const Path part = fits ? Path() : clipped(figure.path, by, limit_);
    fill(ink, [&](Tracer& tracer) {
        forEachPieceOf(fits ? figure.path : part, fits ? by : Placement(),
                       [&tracer](const Piece& piece) {
                           tracer.piece(piece);
                           return true;
                       });
    });
}

void Painter::paintPieces(const VmDbObject& object, const Placement& by, const Ink& ink) {
    double width = 0;
    const FilePart* const part = filePartOf(object);
    if (part != nullptr && dynamic_cast<const VmDb2DPolyline*>(&object) != nullptr) {
        const double band = std::fabs(part->appearance.width) * stretchOf(by);
        if (band > ink.weight && band <= reach) width = band;
    }
    bool any = false;
    bool isDrawn = false;
    const auto look = [&](const Piece& piece) {
        any = true;
        isDrawn = drawable(piece);
        return !isDrawn;
    };
    forEachOwnPiece(object, by, look);
    if (!any) return;
    if (!isDrawn) {
        omit(object, "it is too large or not on the plane");
        return;
    }
    stroke(ink, width, [&](Tracer& tracer) {
        forEachOwnPiece(object, by, [&tracer](const Piece& piece) {
            tracer.piece(piece);
            return true;
        });
    });
}

void Painter::paintBlock(const VmDbObject& object, const Placement& by, const Ink& ink,
                         const Surroundings& around) {
    const Block* const block = scene_.blockOf(object);
    if (block == nullptr) {
        const std::u16string_view name = pieces::blockOf(object);
        if (!name.empty() && scene_.drawing().findBlock(name) == nullptr)
            omit(object, "its block is not there");
        return;
    }
    if (block->box.isEmpty()) return;
    if (open_.size() >= static_cast<std::size_t>(deepestInsert) ||
        std::ranges::find(open_, block) != open_.end())
        return;
    const char* const tooMuch = "more than can be drawn is in its blocks";
    const Surroundings inner{&scene_.layerOf(object, around), ink.colour};
    double left = mostInsertedPieces;
    open_.push_back(block);
    forEachCopy(object, by, block->base, [&](const Placement& whole) {
        left -= std::max(block->objects, 1.0);
        const Box box = placed(*block, whole);
        if (box.isEmpty() || !drawable(Point2{box.left, box.bottom}) ||
            !drawable(Point2{box.right, box.top})) {
            omit(object, "it is too large or not on the plane");
            return false;
        }
        if (left < 0) omit(object, tooMuch);
        if (left < 0) return false;
        if (!widened(cull_, widestWeight).intersects(box)) return true;
        if (this->block(*block, whole, ink, inner)) return true;
        omit(object, tooMuch);
        return false;
    });
    open_.pop_back();
}

}  // namespace vlisp::refhost::plot
