// Commands that change what is drawn. See commands.h.
#include "refhost/commands/commands.h"

#include "core/interruption.h"
#include "refhost/model/objects.h"

#include <algorithm>

namespace vlisp::refhost {
namespace {

constexpr Step eraseTable[] = {{InputKind::selection, u"Select objects: "}};

constexpr Step moveTable[] = {
    {InputKind::selection, u"Select objects: "},
    {InputKind::point, u"Specify base point: "},
    {InputKind::point, u"Specify second point <use first point as displacement>: "},
};

constexpr Step rotateTable[] = {
    {InputKind::selection, u"Select objects: "},
    {InputKind::point, u"Specify base point: "},
    {InputKind::angle, u"Specify rotation angle <0>: "},
};

constexpr Step scaleTable[] = {
    {InputKind::selection, u"Select objects: "},
    {InputKind::point, u"Specify base point: "},
    {InputKind::distance, u"Specify scale factor <1>: "},
};

constexpr Step undoTable[] = {{InputKind::integer, u"Enter the number of steps to undo <1>: "}};

void transformAll(Drawing& drawing, const std::vector<HostLong>& objects,
                  const Similarity& similarity) {
    for (const HostLong id : objects) {
        if (interruption::pending()) return;
        VmDbObject* object = drawing.open(id, true);
        transform(*object, similarity);
        object->close();
    }
}

// The way from a base point to a second one; with Enter the base point is the way itself.
mmPoint displacement(const mmPoint& base, const Input& second) {
    if (!second.is(Input::Kind::point)) return base;
    return {second.point.x - base.x, second.point.y - base.y, second.point.z - base.z};
}

}  // namespace

const std::span<const Step> eraseSteps = eraseTable;
const std::span<const Step> moveSteps = moveTable;
const std::span<const Step> copySteps = moveTable;
const std::span<const Step> rotateSteps = rotateTable;
const std::span<const Step> scaleSteps = scaleTable;
const std::span<const Step> undoSteps = undoTable;

CommandRun erase(CommandContext& context) {
    const Input chosen = co_await context.ask(eraseTable[0]);
    for (const HostLong id : context.changeable(chosen.objects)) {
        if (interruption::pending()) co_return;
        context.drawing.setErased(id, true);
    }
}

CommandRun move(CommandContext& context) {
    const Input chosen = co_await context.ask(moveTable[0]);
    const std::vector<HostLong> objects = context.movable(context.changeable(chosen.objects));
    if (objects.empty()) co_return;
    const Input base = co_await context.ask(moveTable[1]);
    if (!base.is(Input::Kind::point)) co_return;
    const Input second = co_await context.ask(moveTable[2], flat(base.point));
    transformAll(context.drawing, objects, Similarity::moved(displacement(base.point, second)));
}

CommandRun copy(CommandContext& context) {
    const Input chosen = co_await context.ask(moveTable[0]);
    const std::vector<HostLong> objects = context.movable(chosen.objects);
    if (objects.empty()) co_return;
    const Input base = co_await context.ask(moveTable[1]);
    if (!base.is(Input::Kind::point)) co_return;
    const Input second = co_await context.ask(moveTable[2], flat(base.point));
    const Similarity similarity = Similarity::moved(displacement(base.point, second));
    for (const HostLong id : objects) {
        if (interruption::pending()) co_return;
        auto twin = clone(*context.drawing.find(id));
        transform(*twin, similarity);
        const HostLong copied = context.drawing.add(std::move(twin));
        for (const ExtendedDatum& datum : context.drawing.extendedData(id))
            context.drawing.attach(copied, datum);
    }
}

CommandRun rotate(CommandContext& context) {
    const Input chosen = co_await context.ask(rotateTable[0]);
    const std::vector<HostLong> objects = context.movable(context.changeable(chosen.objects));
    if (objects.empty()) co_return;
    const Input base = co_await context.ask(rotateTable[1]);
    if (!base.is(Input::Kind::point)) co_return;
    const Input angle = co_await context.ask(rotateTable[2], flat(base.point));
    transformAll(context.drawing, objects, Similarity::rotated(angle.number, flat(base.point)));
}

CommandRun scale(CommandContext& context) {
    const Input chosen = co_await context.ask(scaleTable[0]);
    const std::vector<HostLong> objects = context.movable(context.changeable(chosen.objects));
    if (objects.empty()) co_return;
    const Input base = co_await context.ask(scaleTable[1]);
    if (!base.is(Input::Kind::point)) co_return;
    const Input factor = co_await context.ask(scaleTable[2], flat(base.point));
    const double by = factor.is(Input::Kind::number) ? factor.number : 1;
    if (by <= 0) context.show(u"The scale factor must be greater than 0.");
    else transformAll(context.drawing, objects, Similarity::scaled(by, base.point));
}

CommandRun undo(CommandContext& context) {
    const Input count = co_await context.ask(undoTable[0]);
    const int steps =
        count.is(Input::Kind::number) ? static_cast<int>(std::clamp(count.number, 0.0, 1e6)) : 1;
    int done = 0;
    while (done < steps && context.drawing.undo()) ++done;
    if (done < steps) context.show(u"Everything has been undone.");
}

CommandRun undoOnce(CommandContext& context) {
    if (!context.drawing.undo()) context.show(u"Nothing to undo.");
    co_return;
}

CommandRun redo(CommandContext& context) {
    if (!context.drawing.redo()) context.show(u"Nothing to redo.");
    co_return;
}

}  // namespace vlisp::refhost
