// Commands that add to the drawing. See commands.h.
#include "refhost/commands/command_line.h"
#include "refhost/commands/commands.h"

#include "core/reader.h"
#include "refhost/model/objects.h"

#include <cmath>
#include <numbers>
#include <unordered_set>

namespace vlisp::refhost {
namespace {

constexpr double degreesPerRadian = 180 / std::numbers::pi;

// An angle in radians, brought to 0 to 2 pi.
double wholeTurn(double angle) {
    constexpr double turn = 2 * std::numbers::pi;
    const double rest = std::fmod(angle, turn);
    return rest < 0 ? rest + turn : rest;
}

// The colour index of what is drawn next: 256 by layer, 0 by block.
std::int32_t currentColour(const Drawing& drawing) {
    constexpr std::int32_t byLayer = 256;
    const std::u16string colour = drawing.variables.text(u"CECOLOR");
    if (sameName(colour, u"BYLAYER")) return byLayer;
    return integerAtFront(colour);
}

// Takes an object into the drawing with the current properties.
HostLong add(Drawing& drawing, std::unique_ptr<VmDbObject> object) {
    object->colour = currentColour(drawing);
    object->lineweight = drawing.variables.integer(u"CELWEIGHT");
    return drawing.add(std::move(object));
}

HostLong addLine(Drawing& drawing, const mmPoint& from, const mmPoint& to) {
    auto line = std::make_unique<VmDbLine>();
    line->addPoint(from);
    line->addPoint(to);
    return add(drawing, std::move(line));
}

void addCircle(Drawing& drawing, const mmPoint& centre, double radius) {
    auto circle = std::make_unique<VmDbCircle>();
    circle->addPoint(centre);
    circle->radius = radius;
    add(drawing, std::move(circle));
    drawing.variables.storeReal(u"CIRCLERAD", radius);
}

void addArc(Drawing& drawing, Point2 centre, double radius, double start, double end) {
    auto arc = std::make_unique<VmDbArc>();
    arc->addPoint(mmPoint(centre.x, centre.y, 0));
    arc->radius = radius;
    arc->startAngle = start;
    arc->endAngle = end;
    add(drawing, std::move(arc));
}

constexpr Step lineTable[] = {
    {InputKind::point, u"Specify first point: "},
    {InputKind::point, u"Specify next point or [Undo]: "},
    {InputKind::point, u"Specify next point or [Close/Undo]: "},
};

constexpr Step plineTable[] = {
    {InputKind::point, u"Specify start point: "},
    {InputKind::point, u"Specify next point or [Arc/Close/Undo]: "},
    {InputKind::point, u"Specify endpoint of arc or [Line/Close/Undo]: "},
};

constexpr Step circleTable[] = {
    {InputKind::point, u"Specify center point for circle or [2P/3P]: "},
    {InputKind::distance, u"Specify radius of circle or [Diameter] <%>: "},
    {InputKind::distance, u"Specify diameter of circle: "},
    {InputKind::point, u"Specify first end point of circle's diameter: "},
    {InputKind::point, u"Specify second end point of circle's diameter: "},
    {InputKind::point, u"Specify first point on circle: "},
    {InputKind::point, u"Specify second point on circle: "},
    {InputKind::point, u"Specify third point on circle: "},
};

constexpr Step arcTable[] = {
    {InputKind::point, u"Specify start point of arc or [Center]: "},
    {InputKind::point, u"Specify second point of arc: "},
    {InputKind::point, u"Specify end point of arc: "},
    {InputKind::point, u"Specify center point of arc: "},
    {InputKind::point, u"Specify start point of arc: "},
    {InputKind::point, u"Specify end point of arc or [Angle]: "},
    {InputKind::angle, u"Specify included angle: "},
};

constexpr Step textTable[] = {
    {InputKind::point, u"Specify start point of text: "},
    {InputKind::distance, u"Specify height <%>: "},
    {InputKind::angle, u"Specify rotation angle of text <0>: "},
    {InputKind::text, u"Enter text: "},
};

constexpr Step mtextTable[] = {
    {InputKind::point, u"Specify first corner: "},
    {InputKind::point, u"Specify opposite corner or [Height/Rotation]: "},
    {InputKind::distance, u"Specify height <%>: "},
    {InputKind::angle, u"Specify rotation angle <0>: "},
    {InputKind::text, u"Enter a line of text, or nothing to end: "},
};

constexpr Step insertTable[] = {
    {InputKind::word, u"Enter block name or [?]: "},
    {InputKind::point, u"Specify insertion point: "},
    {InputKind::number, u"Enter X scale factor <1>: "},
    {InputKind::number, u"Enter Y scale factor <use X scale factor>: "},
    {InputKind::angle, u"Specify rotation angle <0>: "},
};

constexpr Step blockTable[] = {
    {InputKind::word, u"Enter block name or [?]: "},
    {InputKind::point, u"Specify insertion base point: "},
    {InputKind::selection, u"Select objects: "},
};

// Whether a block is the space of a layout.
bool isLayout(const std::u16string& name) {
    const std::u16string upper = upperCased(name);
    return upper.starts_with(u"*MODEL_SPACE") || upper.starts_with(u"*PAPER_SPACE") ||
           upper == u"$MODEL_SPACE" || upper == u"$PAPER_SPACE";
}

void listBlocks(const CommandContext& context) {
    if (context.drawing.blocks().empty()) context.show(u"There are no blocks.");
    for (const auto& block : context.drawing.blocks()) context.show(block->record.name.units());
}

// The direction in which a polyline leaves its last segment, in radians; 0 before the first.
double leavingDirection(const VmDb2DPolyline& polyline) {
    const int last = polyline.points.count - 1;
    if (last < 1) return 0;
    const mmPoint& from = polyline.points.points[last - 1];
    const mmPoint& to = polyline.points.points[last];
    // A segment turns by twice the angle between its chord and its tangent.
    return std::atan2(to.y - from.y, to.x - from.x) +
           2 * std::atan(polyline.bulges.values[last - 1]);
}

// The bulge of an arc that leaves `from` in a direction and ends in `to`: the angle between tangent
// and chord is half of the arc's, and a bulge is the tangent of a quarter of it.
double bulgeOfTangentArc(const mmPoint& from, const mmPoint& to, double direction) {
    const double chord = std::atan2(to.y - from.y, to.x - from.x);
    return std::tan(std::remainder(chord - direction, 2 * std::numbers::pi) / 2);
}

// Adds a polyline as it stands; without arcs it has no bulge list.
void addPolylineObject(Drawing& drawing, const VmDb2DPolyline& drawn) {
    if (drawn.points.count < 2) return;
    auto polyline = std::make_unique<VmDb2DPolyline>();
    polyline->closed = drawn.closed;
    bool curved = false;
    for (int i = 0; i < drawn.points.count; ++i) {
        polyline->addPoint(drawn.points.points[i]);
        if (drawn.bulges.values[i] != 0) curved = true;
    }
    if (curved)
        for (int i = 0; i < drawn.bulges.count; ++i) polyline->addBulge(drawn.bulges.values[i]);
    add(drawing, std::move(polyline));
}

}  // namespace

const std::span<const Step> lineSteps = lineTable;
const std::span<const Step> plineSteps = plineTable;
const std::span<const Step> circleSteps = circleTable;
const std::span<const Step> arcSteps = arcTable;
const std::span<const Step> textSteps = textTable;
const std::span<const Step> mtextSteps = mtextTable;
const std::span<const Step> insertSteps = insertTable;
const std::span<const Step> blockSteps = blockTable;

CommandRun line(CommandContext& context) {
    Input input = co_await context.ask(lineTable[0]);
    if (!input.is(Input::Kind::point)) co_return;
    std::vector<mmPoint> points{input.point};
    std::vector<HostLong> lines;
    for (;;) {
        input = co_await context.ask(lineTable[lines.size() < 2 ? 1 : 2], flat(points.back()));
        if (input.is(Input::Kind::point)) {
            lines.push_back(addLine(context.drawing, points.back(), input.point));
            points.push_back(input.point);
        } else if (input.isKeyword(u"UNDO")) {
            if (lines.empty()) continue;
            context.drawing.setErased(lines.back(), true);
            lines.pop_back();
            points.pop_back();
            setLastPoint(context.drawing, points.back());
        } else {
            if (input.isKeyword(u"CLOSE")) addLine(context.drawing, points.back(), points.front());
            co_return;
        }
    }
}

CommandRun pline(CommandContext& context) {
    Input input = co_await context.ask(plineTable[0]);
    if (!input.is(Input::Kind::point)) co_return;
    VmDb2DPolyline drawn;
    drawn.addPoint(input.point);
    bool arcs = false;
    for (;;) {
        const mmPoint last = drawn.points.getAt(drawn.points.count - 1);
        input = co_await context.ask(plineTable[arcs ? 2 : 1], flat(last));
        if (input.is(Input::Kind::point)) {
            const double bulge =
                arcs ? bulgeOfTangentArc(last, input.point, leavingDirection(drawn)) : 0.0;
            drawn.addBulge(bulge);
            drawn.addPoint(input.point);
        } else if (input.isKeyword(u"ARC")) {
            arcs = true;
        } else if (input.isKeyword(u"LINE")) {
            arcs = false;
        } else if (input.isKeyword(u"UNDO")) {
            if (drawn.points.count < 2) continue;
            --drawn.points.count;
            --drawn.bulges.count;
            setLastPoint(context.drawing, drawn.points.getAt(drawn.points.count - 1));
        } else {
            const bool closes = input.isKeyword(u"CLOSE");
            if (closes) drawn.closed = 1;
            drawn.addBulge(closes && arcs ? bulgeOfTangentArc(last, drawn.points.getAt(0),
                                                              leavingDirection(drawn))
                                          : 0.0);
            addPolylineObject(context.drawing, drawn);
            co_return;
        }
    }
}

CommandRun circle(CommandContext& context) {
    Drawing& drawing = context.drawing;
    Input input = co_await context.ask(circleTable[0]);
    if (input.isKeyword(u"2P")) {
        const Input first = co_await context.ask(circleTable[3]);
        if (!first.is(Input::Kind::point)) co_return;
        const Input second = co_await context.ask(circleTable[4], flat(first.point));
        if (!second.is(Input::Kind::point)) co_return;
        const double across =
            std::hypot(second.point.x - first.point.x, second.point.y - first.point.y);
        const mmPoint middle((first.point.x + second.point.x) / 2,
                             (first.point.y + second.point.y) / 2, first.point.z);
        if (across > 0) addCircle(drawing, middle, across / 2);
        else context.show(u"The radius must be greater than 0.");
        co_return;
    }
    if (input.isKeyword(u"3P")) {
        Point2 points[3];
        for (std::size_t i = 0; i < 3; ++i) {
            const Input point = co_await context.ask(circleTable[5 + i]);
            if (!point.is(Input::Kind::point)) co_return;
            points[i] = flat(point.point);
        }
        const auto through = arcThrough(points[0], points[1], points[2]);
        if (!through) context.show(u"The points lie on a line.");
        else addCircle(drawing, mmPoint(through->centre.x, through->centre.y, 0), through->radius);
        co_return;
    }
    if (!input.is(Input::Kind::point)) co_return;
    const mmPoint centre = input.point;
    const double preset = drawing.variables.real(u"CIRCLERAD");
    Input radius = co_await context.ask(circleTable[1], flat(centre), numberText(preset));
    if (radius.isKeyword(u"DIAMETER")) {
        radius = co_await context.ask(circleTable[2], flat(centre));
        radius.number /= 2;
    }
    if (radius.is(Input::Kind::enter)) radius.number = preset;
    if (radius.number <= 0) context.show(u"The radius must be greater than 0.");
    else addCircle(drawing, centre, radius.number);
}

CommandRun arc(CommandContext& context) {
    Input input = co_await context.ask(arcTable[0]);
    if (input.isKeyword(u"CENTER")) {
        const Input centre = co_await context.ask(arcTable[3]);
        if (!centre.is(Input::Kind::point)) co_return;
        const Point2 around = flat(centre.point);
        const Input start = co_await context.ask(arcTable[4], around);
        if (!start.is(Input::Kind::point)) co_return;
        const double startAngle =
            std::atan2(start.point.y - centre.point.y, start.point.x - centre.point.x);
        const double radius =
            std::hypot(start.point.x - centre.point.x, start.point.y - centre.point.y);
        Input end = co_await context.ask(arcTable[5], around);
        double endAngle = 0;
        bool clockwise = false;
        if (end.isKeyword(u"ANGLE")) {
            end = co_await context.ask(arcTable[6], around);
            if (!end.is(Input::Kind::number)) co_return;
            endAngle = startAngle + end.number;
            clockwise = end.number < 0;
        } else if (end.is(Input::Kind::point)) {
            endAngle = std::atan2(end.point.y - centre.point.y, end.point.x - centre.point.x);
        } else {
            co_return;
        }
        if (radius <= 0) context.show(u"The radius must be greater than 0.");
        else
            addArc(context.drawing, around, radius, wholeTurn(clockwise ? endAngle : startAngle),
                   wholeTurn(clockwise ? startAngle : endAngle));
        co_return;
    }
    if (!input.is(Input::Kind::point)) co_return;
    const Input second = co_await context.ask(arcTable[1], flat(input.point));
    if (!second.is(Input::Kind::point)) co_return;
    const Input end = co_await context.ask(arcTable[2], flat(second.point));
    if (!end.is(Input::Kind::point)) co_return;
    const auto through = arcThrough(flat(input.point), flat(second.point), flat(end.point));
    if (!through) context.show(u"The points lie on a line.");
    else
        addArc(context.drawing, through->centre, through->radius, through->startAngle,
               through->endAngle);
}

namespace {

void addText(Drawing& drawing, VmDbType type, const mmPoint& at, std::u16string_view contents,
             double height, double angle) {
    auto text = std::make_unique<VmDbText>();
    text->typeCode = type;
    text->addPoint(at);
    assign(text->text, contents);
    text->height = height;
    text->rotation = angle * degreesPerRadian;
    add(drawing, std::move(text));
    drawing.variables.storeReal(u"TEXTSIZE", height);
}

}  // namespace

CommandRun text(CommandContext& context) {
    const Input start = co_await context.ask(textTable[0]);
    if (!start.is(Input::Kind::point)) co_return;
    const double preset = context.drawing.variables.real(u"TEXTSIZE");
    const Point2 from = flat(start.point);
    const Input height = co_await context.ask(textTable[1], from, numberText(preset));
    const double size = height.is(Input::Kind::enter) ? preset : height.number;
    if (size <= 0) {
        context.show(u"The height must be greater than 0.");
        co_return;
    }
    const Input angle = co_await context.ask(textTable[2], from);
    const Input contents = co_await context.ask(textTable[3]);
    if (!contents.is(Input::Kind::text)) co_return;
    addText(context.drawing, vmDbText, start.point, contents.text, size, angle.number);
}

CommandRun mtext(CommandContext& context) {
    const Input corner = co_await context.ask(mtextTable[0]);
    if (!corner.is(Input::Kind::point)) co_return;
    double height = context.drawing.variables.real(u"TEXTSIZE");
    double angle = 0;
    for (;;) {
        const Point2 from = flat(corner.point);
        const Input opposite = co_await context.ask(mtextTable[1], from);
        if (opposite.isKeyword(u"HEIGHT")) {
            const Input size = co_await context.ask(mtextTable[2], from, numberText(height));
            if (size.number > 0) height = size.number;
            continue;
        }
        if (opposite.isKeyword(u"ROTATION")) {
            angle = (co_await context.ask(mtextTable[3], from)).number;
            continue;
        }
        if (!opposite.is(Input::Kind::point)) co_return;
        break;
    }
    std::u16string contents;
    for (;;) {
        const Input line = co_await context.ask(mtextTable[4]);
        if (!line.is(Input::Kind::text)) break;
        if (!contents.empty()) contents += u"\\P";
        contents += line.text;
    }
    if (!contents.empty())
        addText(context.drawing, vmDbMText, corner.point, contents, height, angle);
}

CommandRun insert(CommandContext& context) {
    Drawing& drawing = context.drawing;
    Input name = co_await context.ask(insertTable[0]);
    while (name.isKeyword(u"?")) {
        listBlocks(context);
        name = co_await context.ask(insertTable[0]);
    }
    if (!name.is(Input::Kind::text)) co_return;
    const BlockDefinition* block = drawing.findBlock(name.text);
    if (block == nullptr) {
        context.show(u"There is no block " + name.text + u".");
        co_return;
    }
    const std::u16string blockName = block->record.name.units();
    if (isLayout(blockName)) {
        context.show(u"A layout cannot be placed.");
        co_return;
    }
    const Input at = co_await context.ask(insertTable[1]);
    if (!at.is(Input::Kind::point)) co_return;
    const Input x = co_await context.ask(insertTable[2]);
    const Input y = co_await context.ask(insertTable[3]);
    const Input angle = co_await context.ask(insertTable[4], flat(at.point));
    auto reference = std::make_unique<VmDbBlockRef>();
    reference->addPoint(at.point);
    assign(reference->blockName, blockName);
    reference->xScale = x.is(Input::Kind::number) ? x.number : 1;
    reference->yScale = y.is(Input::Kind::number) ? y.number : reference->xScale;
    reference->rotation = angle.number * degreesPerRadian;
    if (reference->xScale == 0 || reference->yScale == 0)
        context.show(u"A scale factor must not be 0.");
    else add(drawing, std::move(reference));
}

namespace {

// Whether inserting `object` would place block `name`, directly or through other blocks. Each block is
// looked into once.
bool places(const Drawing& drawing, const VmDbObject& object, std::u16string_view name) {
    std::vector<const VmDbObject*> waiting{&object};
    std::unordered_set<const BlockDefinition*> seen;
    while (!waiting.empty()) {
        const auto* reference = dynamic_cast<const VmDbBlockRef*>(waiting.back());
        waiting.pop_back();
        if (reference == nullptr) continue;
        if (sameName(reference->blockName.units(), name)) return true;
        const BlockDefinition* block = drawing.findBlock(reference->blockName.units());
        if (block != nullptr && seen.insert(block).second)
            waiting.insert(waiting.end(), block->view().begin(), block->view().end());
    }
    return false;
}

}  // namespace

CommandRun block(CommandContext& context) {
    Drawing& drawing = context.drawing;
    Input name = co_await context.ask(blockTable[0]);
    while (name.isKeyword(u"?")) {
        listBlocks(context);
        name = co_await context.ask(blockTable[0]);
    }
    if (!name.is(Input::Kind::text)) co_return;
    if (name.text.starts_with(u'*') || isLayout(name.text)) {
        context.show(u"The drawing keeps that name for itself.");
        co_return;
    }
    const Input base = co_await context.ask(blockTable[1]);
    if (!base.is(Input::Kind::point)) co_return;
    const Input chosen = co_await context.ask(blockTable[2]);
    const std::vector<HostLong> objects = context.changeable(chosen.objects);
    if (objects.empty()) co_return;
    std::vector<std::unique_ptr<VmDbObject>> contents;
    for (const HostLong member : objects) {
        if (places(drawing, *drawing.find(member), name.text)) {
            context.show(u"A block cannot contain itself.");
            co_return;
        }
        contents.push_back(clone(*drawing.find(member)));
    }
    for (const HostLong member : objects) drawing.setErased(member, true);
    drawing.defineBlock(name.text, flat(base.point), std::move(contents));
}

}  // namespace vlisp::refhost
