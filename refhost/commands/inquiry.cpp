// Commands that tell about the drawing. See commands.h.
#include "refhost/commands/commands.h"

#include "core/interruption.h"
#include "drawing/entity_fields.h"
#include "refhost/model/file_part.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vlisp::refhost {
namespace {

constexpr Step listTable[] = {{InputKind::selection, u"Select objects: "}};
constexpr Step idTable[] = {{InputKind::point, u"Specify point: "}};
constexpr Step distTable[] = {
    {InputKind::point, u"Specify first point: "},
    {InputKind::point, u"Specify second point: "},
};

std::u16string degreesText(double radians) { return numberText(radians * 180 / std::numbers::pi); }

std::u16string colourText(std::int32_t colour) {
    if (colour == colourByLayer) return u"by layer";
    return colour == 0 ? u"by block" : numberText(colour);
}

std::u16string kindOf(const VmDbObject& object) {
    if (const auto* carried = dynamic_cast<const CarriedObject*>(&object)) return carried->kind;
    const EntityKind* kind = findEntityKind(object.typeCode);
    return kind != nullptr ? kind->typeText : u"Object of type " + numberText(object.typeCode);
}

// What is particular to the object's kind, a line each.
std::vector<std::u16string> particulars(const VmDbObject& object) {
    std::vector<std::u16string> lines;
    if (const auto* circle = dynamic_cast<const VmDbCircle*>(&object))
        lines.push_back(u"radius " + numberText(circle->radius));
    if (const auto* arc = dynamic_cast<const VmDbArc*>(&object))
        lines.push_back(u"radius " + numberText(arc->radius) + u", from " +
                        degreesText(arc->startAngle) + u" to " + degreesText(arc->endAngle) +
                        u" degrees");
    if (const auto* text = dynamic_cast<const VmDbText*>(&object))
        lines.push_back(u"\"" + std::u16string(text->text.units()) + u"\", height " +
                        numberText(text->height) + u", rotation " + numberText(text->rotation) +
                        u" degrees");
    if (const auto* reference = dynamic_cast<const VmDbBlockRef*>(&object))
        lines.push_back(u"block " + std::u16string(reference->blockName.units()) + u", scales " +
                        numberText(reference->xScale) + u" and " + numberText(reference->yScale) +
                        u", rotation " + numberText(reference->rotation) + u" degrees");
    if (const auto* polyline = dynamic_cast<const VmDb2DPolyline*>(&object))
        lines.emplace_back(polyline->closed != 0 ? u"closed" : u"open");
    return lines;
}

std::u16string valueText(const ExtendedDatum& datum) {
    if (const auto* integer = std::get_if<std::int32_t>(&datum.value)) return numberText(*integer);
    if (const auto* real = std::get_if<double>(&datum.value)) return numberText(*real);
    return u"\"" + std::get<std::u16string>(datum.value) + u"\"";
}

void describe(const CommandContext& context, const VmDbObject& object) {
    const Drawing& drawing = context.drawing;
    context.show(kindOf(object) + u"  id " + numberText(object.id) + u"  layer " +
                 object.layerName.units() + u"  colour " + colourText(object.colour));
    constexpr int mostPoints = 50;
    for (int i = 0; i < std::min(object.points.count, mostPoints); ++i)
        context.show(u"  at " + pointText(object.points.points[i]));
    if (object.points.count > mostPoints)
        context.show(u"  and " + numberText(object.points.count - mostPoints) + u" more points");
    for (const std::u16string& line : particulars(object)) context.show(u"  " + line);
    if (const double along = length(object); along > 0)
        context.show(u"  length " + numberText(along));
    if (const double covered = area(object); covered > 0)
        context.show(u"  area " + numberText(covered));
    for (const ExtendedDatum& datum : drawing.extendedData(object.id))
        context.show(u"  " + datum.name + u" = " + valueText(datum));
}

}  // namespace

const std::span<const Step> listSteps = listTable;
const std::span<const Step> idSteps = idTable;
const std::span<const Step> distSteps = distTable;

CommandRun list(CommandContext& context) {
    const Input chosen = co_await context.ask(listTable[0]);
    for (const HostLong each : chosen.objects) {
        if (interruption::pending()) co_return;
        describe(context, *context.drawing.find(each));
    }
}

CommandRun id(CommandContext& context) {
    const Input point = co_await context.ask(idTable[0]);
    if (point.is(Input::Kind::point))
        context.show(u"X = " + numberText(point.point.x) + u"  Y = " + numberText(point.point.y) +
                     u"  Z = " + numberText(point.point.z));
}

CommandRun dist(CommandContext& context) {
    const Input first = co_await context.ask(distTable[0]);
    if (!first.is(Input::Kind::point)) co_return;
    const Input second = co_await context.ask(distTable[1], flat(first.point));
    if (!second.is(Input::Kind::point)) co_return;
    const double dx = second.point.x - first.point.x;
    const double dy = second.point.y - first.point.y;
    const double dz = second.point.z - first.point.z;
    context.show(u"Distance = " + numberText(std::hypot(dx, dy, dz)) + u"  Angle in XY plane = " +
                 degreesText(std::atan2(dy, dx)));
    context.show(u"Delta X = " + numberText(dx) + u"  Delta Y = " + numberText(dy) +
                 u"  Delta Z = " + numberText(dz));
}

}  // namespace vlisp::refhost
