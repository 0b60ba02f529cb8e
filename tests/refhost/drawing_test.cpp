// Tests of refhost/model/drawing.h, spatial_index.h and the bridge's functions of the drawing.
#include "refhost/model/drawing.h"

#include "host/bridge.h"
#include "platform/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vlisp::refhost {
namespace {

using platform::toUtf8;
using Ids = std::vector<HostLong>;

std::unique_ptr<VmDbLine> lineFrom(double x1, double y1, double x2, double y2) {
    auto line = std::make_unique<VmDbLine>();
    line->addPoint(mmPoint(x1, y1, 0));
    line->addPoint(mmPoint(x2, y2, 0));
    return line;
}

std::unique_ptr<VmDbCircle> circleAt(double x, double y, double radius) {
    auto circle = std::make_unique<VmDbCircle>();
    circle->addPoint(mmPoint(x, y, 0));
    circle->radius = radius;
    return circle;
}

std::unique_ptr<VmDbBlockRef> insertOf(std::u16string_view block, double x, double y) {
    auto insert = std::make_unique<VmDbBlockRef>();
    insert->addPoint(mmPoint(x, y, 0));
    insert->blockName.assign(block.data(), block.size());
    return insert;
}

std::vector<std::unique_ptr<VmDbObject>> oneLine(double x1, double y1, double x2, double y2) {
    std::vector<std::unique_ptr<VmDbObject>> contents;
    contents.push_back(lineFrom(x1, y1, x2, y2));
    return contents;
}

void setLayer(VmDbObject& object, std::u16string_view name) {
    object.layerName.assign(name.data(), name.size());
}

void moveTo(Drawing& drawing, HostLong id, double x, double y) {
    VmDbObject* object = drawing.open(id, true);
    object->points.getAt(0) = mmPoint(x, y, 0);
    object->close();
}

class Group {
  public:
    explicit Group(Drawing& drawing) : drawing_(&drawing) { drawing.beginGroup(); }
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;
    ~Group() { drawing_->endGroup(); }

  private:
    Drawing* drawing_;
};

std::string show(const ExtendedDatum& datum) {
    std::string text = " " + toUtf8(datum.name) + "=";
    if (const auto* integer = std::get_if<std::int32_t>(&datum.value))
        return text + std::to_string(*integer);
    if (const auto* real = std::get_if<double>(&datum.value)) return text + std::to_string(*real);
    return text + toUtf8(std::get<std::u16string>(datum.value));
}

// Everything that undo has to bring back, as a text. Objects that are erased do not count.
std::string stateOf(const Drawing& drawing) {
    std::string state;
    for (int slot = 0; slot < drawing.slotCount(); ++slot) {
        const VmDbObject& object = *drawing.at(slot);
        if (object.erased != 0) continue;
        state += std::to_string(object.id) + " " + std::to_string(object.typeCode) + " " +
                 toUtf8(object.layerName.units()) + " " + std::to_string(object.colour);
        for (int i = 0; i < object.points.count; ++i)
            state += " " + std::to_string(object.points.points[i].x) + "," +
                     std::to_string(object.points.points[i].y);
        if (const auto* circle = dynamic_cast<const VmDbCircle*>(&object))
            state += " r" + std::to_string(circle->radius);
        for (const ExtendedDatum& datum : drawing.extendedData(object.id)) state += show(datum);
        state += "\n";
    }
    for (const Layer& layer : drawing.layers())
        state += "layer " + toUtf8(layer.name) + " " + std::to_string(layer.colour) +
                 (layer.on ? "" : " off") + (layer.locked ? " locked" : "") + "\n";
    for (const auto& block : drawing.blocks())
        state += "block " + toUtf8(block->record.name.units()) + " " +
                 std::to_string(block->record.baseX) + " of " +
                 std::to_string(block->view().size()) + "\n";
    return state;
}

std::u16string lettered(std::u16string name, int which) { return name + u"abcd"[which]; }

int undoAll(Drawing& drawing) {
    int steps = 0;
    while (drawing.undo()) ++steps;
    return steps;
}

// --- Objects ---

TEST(DrawingObjects, SlotsAndIdsStay) {
    Drawing drawing;
    const HostLong first = drawing.add(lineFrom(0, 0, 1, 0));
    const HostLong second = drawing.add(lineFrom(0, 1, 1, 1));
    const HostLong third = drawing.add(circleAt(0, 0, 1));
    EXPECT_EQ(Ids({first, second, third}), Ids({1, 2, 3}));

    drawing.setErased(second, true);
    EXPECT_EQ(drawing.slotCount(), 3);
    EXPECT_EQ(drawing.slotOf(third), 2);
    ASSERT_NE(drawing.find(second), nullptr);
    EXPECT_EQ(drawing.find(second)->erased, 1);
    EXPECT_EQ(drawing.findLive(second), nullptr);
    EXPECT_EQ(drawing.at(1), drawing.find(second));

    drawing.setErased(second, false);
    EXPECT_NE(drawing.findLive(second), nullptr);
}

TEST(DrawingObjects, AnIdIsNeverGivenTwice) {
    Drawing drawing;
    drawing.add(lineFrom(0, 0, 1, 0));
    const HostLong undone = drawing.add(lineFrom(0, 0, 2, 0));
    ASSERT_TRUE(drawing.undo());
    EXPECT_EQ(drawing.findLive(undone), nullptr);
    const HostLong next = drawing.add(lineFrom(0, 0, 3, 0));
    EXPECT_GT(next, undone);
    EXPECT_EQ(drawing.slotOf(undone), 1);
    EXPECT_EQ(drawing.slotOf(next), 2);
    EXPECT_EQ(drawing.find(undone)->erased, 1);
}

TEST(DrawingObjects, WhatDoesNotExistIsNotThere) {
    Drawing drawing;
    const HostLong id = drawing.add(lineFrom(0, 0, 1, 0));
    for (const HostLong unknown : {0, -1, id + 1}) {
        EXPECT_EQ(drawing.slotOf(unknown), -1);
        EXPECT_EQ(drawing.find(unknown), nullptr);
        EXPECT_EQ(drawing.open(unknown, true), nullptr);
        EXPECT_TRUE(drawing.extendedData(unknown).empty());
        drawing.setErased(unknown, true);
        drawing.attach(unknown, {u"a", 1});
    }
    EXPECT_EQ(drawing.at(-1), nullptr);
    EXPECT_EQ(drawing.at(1), nullptr);
    EXPECT_EQ(drawing.openSlot(1, false), nullptr);
    EXPECT_EQ(drawing.openBlock(0), nullptr);
    EXPECT_EQ(drawing.openCount(), 0);
    EXPECT_EQ(undoAll(drawing), 1) << "only the line was a change";
}

TEST(DrawingObjects, WithoutALayerItGetsTheCurrentOne) {
    Drawing drawing;
    drawing.changeLayer(u"Walls");
    ASSERT_TRUE(drawing.variables.setText(u"CLAYER", u"Walls"));
    const HostLong plain = drawing.add(lineFrom(0, 0, 1, 0));
    auto line = lineFrom(0, 0, 1, 0);
    setLayer(*line, u"0");
    line->colour = 3;
    const HostLong given = drawing.add(std::move(line));
    EXPECT_EQ(toUtf8(drawing.find(plain)->layerName.units()), "Walls");
    EXPECT_EQ(toUtf8(drawing.find(given)->layerName.units()), "0");
    EXPECT_EQ(drawing.find(given)->colour, 3);
}

TEST(DrawingObjects, OnlyLayersThatExistBecomeCurrent) {
    Drawing drawing;
    EXPECT_FALSE(drawing.variables.setText(u"CLAYER", u"NOWHERE"));
    EXPECT_EQ(toUtf8(drawing.variables.text(u"CLAYER")), "0");
    drawing.changeLayer(u"Here");
    EXPECT_TRUE(drawing.variables.setText(u"CLAYER", u"HERE"));
}

TEST(DrawingObjects, WhatIsOpenIsCounted) {
    Drawing drawing;
    const HostLong id = drawing.add(lineFrom(0, 0, 1, 0));
    drawing.defineBlock(u"B", {0, 0}, oneLine(0, 0, 1, 1));
    EXPECT_EQ(drawing.openCount(), 0);
    VmDbObject* reading = drawing.open(id, false);
    VmDbObject* changing = drawing.openSlot(0, true);
    VmDbBlock* block = drawing.openBlock(0);
    EXPECT_EQ(drawing.openCount(), 3);
    EXPECT_EQ(reading, changing);
    block->close();
    changing->close();
    reading->close();
    EXPECT_EQ(drawing.openCount(), 0);

    // A module's own object is none of the drawing's, whatever its id says.
    VmDbLine own;
    own.id = id;
    own.close();
    EXPECT_EQ(drawing.openCount(), 0);
}

TEST(DrawingObjects, AnErasedObjectOpens) {
    Drawing drawing;
    const HostLong id = drawing.add(lineFrom(0, 0, 1, 0));
    drawing.setErased(id, true);
    VmDbObject* object = drawing.open(id, false);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->erased, 1);
    object->close();
    EXPECT_EQ(drawing.openCount(), 0);
}

// --- Undo ---

TEST(DrawingUndo, OutsideAGroupEachChangeIsAStep) {
    Drawing drawing;
    std::vector<std::string> states{stateOf(drawing)};
    const HostLong id = drawing.add(circleAt(0, 0, 1));
    states.push_back(stateOf(drawing));
    moveTo(drawing, id, 5, 5);
    states.push_back(stateOf(drawing));
    drawing.attach(id, {u"height", 2.5});
    states.push_back(stateOf(drawing));
    drawing.attach(id, {u"height", 3});
    states.push_back(stateOf(drawing));
    drawing.defineBlock(u"B", {1, 2}, oneLine(0, 0, 1, 1));
    states.push_back(stateOf(drawing));
    drawing.changeLayer(u"New").colour = 3;
    states.push_back(stateOf(drawing));
    drawing.setErased(id, true);
    states.back() = stateOf(drawing);  // a layer's step ends with the next change

    const std::set<std::string> distinct(states.begin(), states.end());
    ASSERT_EQ(distinct.size(), states.size()) << "every step shows";
    for (std::size_t i = states.size() - 1; i > 0; --i) {
        ASSERT_TRUE(drawing.undo());
        EXPECT_EQ(stateOf(drawing), states[i - 1]) << i;
    }
    EXPECT_FALSE(drawing.undo());
    for (std::size_t i = 1; i < states.size(); ++i) {
        ASSERT_TRUE(drawing.redo());
        EXPECT_EQ(stateOf(drawing), states[i]) << i;
    }
    EXPECT_FALSE(drawing.redo());
}

TEST(DrawingUndo, AGroupIsOneStep) {
    Drawing drawing;
    const HostLong old = drawing.add(lineFrom(0, 0, 1, 0));
    const std::string before = stateOf(drawing);
    {
        const Group group(drawing);
        const HostLong made = drawing.add(circleAt(0, 0, 1));
        moveTo(drawing, made, 1, 1);
        moveTo(drawing, made, 2, 2);
        drawing.setErased(old, true);
        {
            const Group inner(drawing);
            drawing.changeLayer(u"A").on = false;
        }
        drawing.defineBlock(u"B", {0, 0}, oneLine(0, 0, 1, 1));
    }
    const std::string after = stateOf(drawing);
    ASSERT_TRUE(drawing.undo());
    EXPECT_EQ(stateOf(drawing), before);
    ASSERT_TRUE(drawing.redo());
    EXPECT_EQ(stateOf(drawing), after);
    EXPECT_EQ(undoAll(drawing), 2);
}

TEST(DrawingUndo, AGroupWithoutChangesIsNoStep) {
    Drawing drawing;
    const HostLong id = drawing.add(lineFrom(0, 0, 1, 0));
    {
        const Group group(drawing);
        drawing.open(id, false)->close();
    }
    EXPECT_EQ(undoAll(drawing), 1);
    EXPECT_TRUE(drawing.redo());
    { const Group group(drawing); }
    EXPECT_TRUE(drawing.undo());
    { const Group group(drawing); }
    EXPECT_TRUE(drawing.redo()) << "nothing has happened since";
}

TEST(DrawingUndo, InsideAGroupItsOwnChangesGoFirst) {
    Drawing drawing;
    const HostLong first = drawing.add(lineFrom(0, 0, 1, 0));
    {
        const Group group(drawing);
        const HostLong second = drawing.add(lineFrom(0, 0, 2, 0));
        const HostLong third = drawing.add(lineFrom(0, 0, 3, 0));
        ASSERT_TRUE(drawing.undo());
        EXPECT_EQ(drawing.findLive(second), nullptr);
        EXPECT_EQ(drawing.findLive(third), nullptr);
        EXPECT_NE(drawing.findLive(first), nullptr);
        ASSERT_TRUE(drawing.redo());
        EXPECT_NE(drawing.findLive(third), nullptr);
        ASSERT_TRUE(drawing.undo());
        ASSERT_TRUE(drawing.undo());
        EXPECT_EQ(drawing.findLive(first), nullptr);
        EXPECT_FALSE(drawing.undo());
        ASSERT_TRUE(drawing.redo());
    }
    EXPECT_NE(drawing.findLive(first), nullptr);
    EXPECT_TRUE(drawing.redo()) << "the end of the group is no change";
    EXPECT_FALSE(drawing.redo());
}

TEST(DrawingUndo, AChangeDropsWhatCouldBeDoneAgain) {
    Drawing drawing;
    const HostLong id = drawing.add(lineFrom(0, 0, 1, 0));
    const auto dropped = [&](const char* what, const auto& change) {
        moveTo(drawing, id, 9, 9);
        ASSERT_TRUE(drawing.undo());
        change();
        EXPECT_FALSE(drawing.redo()) << what;
    };
    dropped("add", [&] { drawing.add(lineFrom(0, 0, 2, 0)); });
    dropped("change", [&] { moveTo(drawing, id, 1, 2); });
    dropped("attach", [&] { drawing.attach(id, {u"a", 1}); });
    dropped("layer", [&] { drawing.changeLayer(u"A"); });
    dropped("block", [&] { drawing.defineBlock(u"B", {0, 0}, oneLine(0, 0, 1, 1)); });
}

TEST(DrawingUndo, TheCurrentLayerFallsBackWhenItGoes) {
    Drawing drawing;
    drawing.changeLayer(u"A");
    ASSERT_TRUE(drawing.variables.setText(u"CLAYER", u"A"));
    ASSERT_TRUE(drawing.undo());
    EXPECT_EQ(drawing.findLayer(u"A"), nullptr);
    EXPECT_EQ(toUtf8(drawing.variables.text(u"CLAYER")), "0");
}

TEST(DrawingUndo, AThousandStepsAreKept) {
    Drawing drawing;
    for (int i = 0; i < 1010; ++i) drawing.add(lineFrom(0, 0, i + 1, 0));
    EXPECT_EQ(undoAll(drawing), 1000);
    EXPECT_NE(drawing.findLive(10), nullptr);
    EXPECT_EQ(drawing.findLive(11), nullptr);
    int redone = 0;
    while (drawing.redo()) ++redone;
    EXPECT_EQ(redone, 1000);
    EXPECT_NE(drawing.findLive(1010), nullptr);
}

TEST(DrawingUndo, RandomEditsGoBackAndForth) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
    Drawing drawing;
    std::vector<std::string> states{stateOf(drawing)};
    for (int step = 0; step < 200; ++step) {
        {
            const Group group(drawing);
            for (int change = below(6); change >= 0; --change) {
                const HostLong id = 1 + below(drawing.slotCount() + 1);
                const bool known = drawing.find(id) != nullptr;
                switch (below(7)) {
                case 0: drawing.add(circleAt(below(100), below(100), 1 + below(9))); break;
                case 1: drawing.add(lineFrom(below(100), below(100), 0, 0)); break;
                case 2: drawing.setErased(id, below(2) == 0); break;
                case 3: drawing.attach(id, {lettered(u"n", below(3)), step}); break;
                case 4: drawing.changeLayer(lettered(u"L", below(4))).colour = 1 + below(99); break;
                case 5:
                    drawing.defineBlock(lettered(u"B", below(3)), {static_cast<double>(step), 0},
                                        oneLine(0, 0, 1, 1));
                    break;
                default:
                    if (known) moveTo(drawing, id, below(100), below(100));
                }
            }
        }
        if (const std::string state = stateOf(drawing); state != states.back())
            states.push_back(state);
        // Now and then something is taken back for good.
        if (below(10) == 0 && states.size() > 2) {
            drawing.undo();
            while (stateOf(drawing) == states.back()) drawing.undo();
            states.pop_back();
            ASSERT_EQ(stateOf(drawing), states.back());
        }
    }
    // A step that changed nothing that is seen leaves the same state behind.
    std::size_t at = states.size() - 1;
    int undone = 0;
    for (; drawing.undo(); ++undone) {
        const std::string state = stateOf(drawing);
        if (state != states[at]) {
            ASSERT_GT(at, 0U);
            ASSERT_EQ(state, states[--at]);
        }
    }
    ASSERT_EQ(at, 0U);
    for (; undone > 0; --undone) {
        ASSERT_TRUE(drawing.redo());
        const std::string state = stateOf(drawing);
        if (state != states[at]) {
            ASSERT_LT(at + 1, states.size());
            ASSERT_EQ(state, states[++at]);
        }
    }
    EXPECT_EQ(at, states.size() - 1);
    EXPECT_EQ(drawing.openCount(), 0);
}

TEST(DrawingUndo, AnEditThroughTheBridgeIsAStep) {
    Drawing drawing;
    const HostLong id = drawing.add(circleAt(0, 0, 1));
    const std::string before = stateOf(drawing);
    VmDbObject* object = nullptr;
    vmdbOpenObject(object, id, 1);
    ASSERT_NE(object, nullptr);
    setLayer(*object, u"Walls");
    object->points.clear();
    object->addPoint(mmPoint(3, 4, 0));
    VmDbCircle::cast(object)->radius = 7;
    object->close();

    ASSERT_NE(drawing.findLayer(u"WALLS"), nullptr) << "a missing layer is made";
    const std::string after = stateOf(drawing);
    ASSERT_TRUE(drawing.undo());
    EXPECT_EQ(stateOf(drawing), before) << "the layer too";
    ASSERT_TRUE(drawing.redo());
    EXPECT_EQ(stateOf(drawing), after);
    EXPECT_EQ(drawing.openCount(), 0);
}

// --- Layers and blocks ---

TEST(DrawingLayers, NamesAreComparedWithoutCase) {
    Drawing drawing;
    EXPECT_NE(drawing.findLayer(u"0"), nullptr);
    drawing.changeLayer(u"Walls").colour = 3;
    drawing.changeLayer(u"WALLS").locked = true;
    ASSERT_EQ(drawing.layers().size(), 2U);
    EXPECT_EQ(toUtf8(drawing.layers()[1].name), "Walls");
    EXPECT_EQ(drawing.layers()[1].colour, 3);
    auto line = lineFrom(0, 0, 1, 0);
    setLayer(*line, u"wALLS");
    const HostLong id = drawing.add(std::move(line));
    EXPECT_TRUE(drawing.isLocked(*drawing.find(id)));
    EXPECT_TRUE(drawing.isVisible(*drawing.find(id)));
    drawing.changeLayer(u"walls").on = false;
    EXPECT_FALSE(drawing.isVisible(*drawing.find(id)));
    EXPECT_EQ(drawing.findLayer(u"wall"), nullptr);
}

TEST(DrawingBlocks, ARedefinitionMovesWhatIsPlaced) {
    Drawing drawing;
    drawing.defineBlock(u"Door", {0, 0}, oneLine(0, 0, 10, 0));
    const HostLong blockId = drawing.blocks()[0]->record.id;
    const HostLong placed = drawing.add(insertOf(u"DOOR", 100, 100));
    EXPECT_EQ(drawing.near({104, 99, 106, 101}), Ids{placed});
    EXPECT_DOUBLE_EQ(drawing.extents().right, 110);

    drawing.defineBlock(u"DOOR", {5, 0}, oneLine(0, 50, 10, 50));
    ASSERT_EQ(drawing.blocks().size(), 1U);
    EXPECT_EQ(drawing.blocks()[0]->record.id, blockId);
    EXPECT_EQ(drawing.near({104, 99, 106, 101}), Ids{});
    EXPECT_EQ(drawing.near({94, 149, 96, 151}), Ids{placed});
    EXPECT_DOUBLE_EQ(drawing.extents().bottom, 150);

    ASSERT_TRUE(drawing.undo());
    EXPECT_EQ(drawing.near({104, 99, 106, 101}), Ids{placed});
    ASSERT_TRUE(drawing.undo());  // the insert
    ASSERT_TRUE(drawing.undo());
    EXPECT_EQ(drawing.findBlock(u"Door"), nullptr);
}

TEST(DrawingBlocks, TheBridgeCountsAndOpensThem) {
    Drawing drawing;
    drawing.defineBlock(u"A", {1, 2}, oneLine(0, 0, 1, 1));
    drawing.defineBlock(u"B", {0, 0}, {});
    int count = 0;
    GetNumBlocks(count);
    EXPECT_EQ(count, 2);
    VmDbBlock* block = nullptr;
    vmdbOpenBlockByIndex(0, block, 0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(toUtf8(block->name.units()), "A");
    EXPECT_DOUBLE_EQ(block->baseY, 2);
    block->close();
    for (const int wrong : {-1, 2}) {
        vmdbOpenBlockByIndex(wrong, block, 0);
        EXPECT_EQ(block, nullptr);
    }
    EXPECT_EQ(drawing.openCount(), 0);
}

// --- The bridge's other functions ---

TEST(DrawingBridge, SlotsOfUnknownIdsAreNotWritten) {
    Drawing drawing;
    drawing.add(lineFrom(0, 0, 1, 0));
    const HostLong second = drawing.add(lineFrom(0, 0, 2, 0));
    int index = 77;
    GetObjectIndex(99, index);
    EXPECT_EQ(index, 77);
    GetObjectIndex(second, index);
    EXPECT_EQ(index, 1);
    GetNumObjects(index);
    EXPECT_EQ(index, 2);
    VmDbObject* object = nullptr;
    vmdbOpenObjectByIndex(object, 1, 0);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->id, second);
    const VmDbRect rect = object->getExtent(0, 0);
    EXPECT_DOUBLE_EQ(rect.right, 2);
    object->close();
    vmdbOpenObject(object, 99, 0);
    EXPECT_EQ(object, nullptr);
}

TEST(DrawingBridge, WithoutExtentTheRectangleIsZero) {
    Drawing drawing;
    VmDb2DPolyline empty;
    const VmDbRect rect = empty.getExtent(0, 0);
    EXPECT_EQ(rect.left, 0);
    EXPECT_EQ(rect.top, 0);
}

TEST(DrawingBridge, PolylinesGrowVertexByVertex) {
    Drawing drawing;
    VmDb2DPolyline own;
    addPolyline(&own, -1);
    const HostLong id = own.id;
    ASSERT_NE(drawing.findLive(id), nullptr);
    EXPECT_NE(drawing.find(id).get(), &own);
    updatePolyline(id, -1, 1, 2);
    updatePolyline(id, -1, 3, 4);
    updatePolyline(id, 0, 5, 6);
    updatePolyline(id, 2, 7, 8);   // no such vertex
    updatePolyline(99, -1, 7, 8);  // no such object
    const VmDbObject& object = *drawing.find(id);
    ASSERT_EQ(object.points.count, 2);
    EXPECT_DOUBLE_EQ(object.points.points[0].x, 5);
    EXPECT_DOUBLE_EQ(object.points.points[1].y, 4);
    EXPECT_EQ(drawing.openCount(), 0);
}

TEST(DrawingBridge, TheWorkingLayerIsMade) {
    Drawing drawing;
    int result = 0;
    setWorkingLayerAndLineType(u"", u"", result);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(toUtf8(drawing.variables.text(u"CLAYER")), "0");
    setWorkingLayerAndLineType(u"Roof", u"DASHED", result);
    EXPECT_EQ(result, 1);
    EXPECT_NE(drawing.findLayer(u"Roof"), nullptr);
    EXPECT_EQ(toUtf8(drawing.variables.text(u"CLAYER")), "Roof");
    EXPECT_EQ(toUtf8(drawing.variables.text(u"CELTYPE")), "DASHED");
    addLine(lineFrom(0, 0, 1, 1).release(), -1);
    EXPECT_EQ(toUtf8(drawing.at(0)->layerName.units()), "Roof");
}

TEST(DrawingBridge, NamedValuesAreReplaced) {
    Drawing drawing;
    const HostLong id = drawing.add(lineFrom(0, 0, 1, 0));
    addObjectExtDataInt(id, u"a", 1, true);
    addObjectExtDataDouble(id, u"b", 2.5, true);
    addObjectExtDataString(id, u"c", u"text", true);
    addObjectExtDataString(id, u"a", u"other", true);
    const auto& data = drawing.extendedData(id);
    ASSERT_EQ(data.size(), 3U);
    EXPECT_EQ(std::get<std::u16string>(data[0].value), u"other");
    EXPECT_EQ(std::get<double>(data[1].value), 2.5);
    EXPECT_EQ(std::get<std::u16string>(data[2].value), u"text");
}

TEST(DrawingBridge, VariablesPassThrough) {
    Drawing drawing;
    char16_t text[400] = u"untouched";
    bool ok = true;
    GetVar(u"NOSUCH", text, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(std::u16string(text), u"untouched");
    SetVarInt(u"osmode", 3, ok);
    EXPECT_TRUE(ok);
    GetVar(u"OSMODE", text, ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(std::u16string(text), u"3");
    SetVarDbl(u"LTSCALE", -1, ok);
    EXPECT_FALSE(ok);
    SetVarString(u"USERS1", u"x", ok);
    EXPECT_TRUE(ok);
    GetVar(u"USERS1", text, ok);
    EXPECT_EQ(std::u16string(text), u"\"x\"");
}

// --- Selection sets ---

TEST(DrawingSets, MembersKeepTheirOrderAndComeOnce) {
    Drawing drawing;
    Ids ids;
    for (int i = 0; i < 5; ++i) ids.push_back(drawing.add(lineFrom(0, 0, i + 1, 0)));
    const int set = drawing.addSet();
    const int other = drawing.addSet();
    EXPECT_EQ(set, 1);
    EXPECT_EQ(other, 2);
    for (const HostLong id : {ids[3], ids[1], ids[3], ids[0], HostLong{99}, HostLong{-1}})
        drawing.addToSet(id, set);
    EXPECT_EQ(*drawing.members(set), (Ids{ids[3], ids[1], ids[0]}));
    EXPECT_TRUE(drawing.members(other)->empty());
    drawing.removeFromSet(ids[1], set);
    drawing.removeFromSet(ids[2], set);
    EXPECT_EQ(*drawing.members(set), (Ids{ids[3], ids[0]}));
    for (const int unknown : {0, -1, 3}) {
        EXPECT_EQ(drawing.members(unknown), nullptr);
        drawing.addToSet(ids[0], unknown);
        drawing.removeFromSet(ids[0], unknown);
        drawing.addAllToSet(unknown);
    }
}

TEST(DrawingSets, AllLeavesErasedOut) {
    Drawing drawing;
    Ids ids;
    for (int i = 0; i < 4; ++i) ids.push_back(drawing.add(lineFrom(0, 0, i + 1, 0)));
    drawing.setErased(ids[1], true);
    const int set = drawing.addSet();
    drawing.addToSet(ids[2], set);
    drawing.addAllToSet(set);
    EXPECT_EQ(*drawing.members(set), (Ids{ids[2], ids[0], ids[3]}));
    drawing.setErased(ids[0], true);
    EXPECT_EQ(drawing.members(set)->size(), 3U) << "erasing takes nothing out of a set";
    drawing.addToSet(ids[1], set);
    EXPECT_EQ(drawing.members(set)->back(), ids[1]) << "an erased object can be put in";
}

// A set that has been large and is small again knows its members all the same.
TEST(DrawingSets, GrowingAgainAddsNothingTwice) {
    Drawing drawing;
    Ids ids;
    for (int i = 0; i < 60; ++i) ids.push_back(drawing.add(lineFrom(0, 0, i + 1, 0)));
    const int set = drawing.addSet();
    const auto addRange = [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i) drawing.addToSet(ids[i], set);
    };
    addRange(0, 30);
    for (std::size_t i = 0; i < 25; ++i) drawing.removeFromSet(ids[i], set);
    addRange(30, 60);
    addRange(25, 60);
    EXPECT_EQ(*drawing.members(set), Ids(ids.begin() + 25, ids.end()));
    for (const HostLong id : ids) drawing.removeFromSet(id, set);
    EXPECT_TRUE(drawing.members(set)->empty());
    drawing.addAllToSet(set);
    addRange(0, 60);
    EXPECT_EQ(*drawing.members(set), ids);
}

TEST(DrawingSets, RandomUseAgreesWithAPlainList) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Drawing drawing;
    for (int i = 0; i < 40; ++i) drawing.add(lineFrom(0, 0, i + 1, 0));
    const int set = drawing.addSet();
    Ids plain;
    for (int i = 0; i < 5000; ++i) {
        const HostLong id = 1 + static_cast<HostLong>(random() % 40);
        const auto member = std::ranges::find(plain, id);
        // Runs of adding and of removing, so that the set is large and small in turn.
        if (random() % 10 < ((i / 100) % 2 == 0 ? 8U : 2U)) {
            drawing.addToSet(id, set);
            if (member == plain.end()) plain.push_back(id);
        } else {
            drawing.removeFromSet(id, set);
            if (member != plain.end()) plain.erase(member);
        }
        ASSERT_EQ(*drawing.members(set), plain) << i;
    }
}

TEST(DrawingSets, AHundredThousandMembers) {
    constexpr int count = 100'000;
    Drawing drawing;
    {
        const Group group(drawing);
        for (int i = 0; i < count; ++i) drawing.add(lineFrom(0, 0, i + 1, 0));
    }
    int all = 0;
    addSelectionSet(all);
    addAllToSelectionSet(all);
    addAllToSelectionSet(all);
    int oneByOne = 0;
    addSelectionSet(oneByOne);
    for (int round = 0; round < 2; ++round)
        for (HostLong id = count; id > 0; --id) addObjToSelectionSet(id, oneByOne);
    int length = 0;
    getSelectionSetLength(length, all);
    EXPECT_EQ(length, count);
    getSelectionSetLength(length, oneByOne);
    EXPECT_EQ(length, count);
    HostLong id = -1;
    getObjFromSelectionSet(id, 0, oneByOne);
    EXPECT_EQ(id, count);
    getObjFromSelectionSet(id, count - 1, all);
    EXPECT_EQ(id, count);
    id = -1;
    for (const int outside : {-1, count}) getObjFromSelectionSet(id, outside, all);
    getObjFromSelectionSet(id, 0, 99);
    EXPECT_EQ(id, -1) << "nothing is written";
    for (HostLong from = 1; from <= 1000; ++from) removeObjFromSelectionSet(from, all);
    getSelectionSetLength(length, all);
    EXPECT_EQ(length, count - 1000);
    length = 5;
    getSelectionSetLength(length, 99);
    EXPECT_EQ(length, 5);
}

TEST(DrawingSets, WhatTheUserSelectedGoesIn) {
    Drawing drawing;
    for (int i = 0; i < 3; ++i) drawing.add(lineFrom(0, 0, i + 1, 0));
    drawing.selected = {3, 1};
    const int set = drawing.addSet();
    drawing.addToSet(1, set);
    addSelectedToSelectionSet(set);
    EXPECT_EQ(*drawing.members(set), (Ids{1, 3}));
}

// --- Where objects are ---

TEST(DrawingPlaces, ExtentsFollowWhatLives) {
    Drawing drawing;
    EXPECT_TRUE(drawing.extents().isEmpty());
    drawing.add(lineFrom(0, 0, 10, 5));
    const HostLong circle = drawing.add(circleAt(20, 20, 5));
    Box box = drawing.extents();
    EXPECT_DOUBLE_EQ(box.left, 0);
    EXPECT_DOUBLE_EQ(box.right, 25);
    EXPECT_DOUBLE_EQ(box.top, 25);
    drawing.setErased(circle, true);
    box = drawing.extents();
    EXPECT_DOUBLE_EQ(box.right, 10);
    EXPECT_DOUBLE_EQ(box.top, 5);
}

TEST(DrawingPlaces, ProgramsReadTheExtents) {
    Drawing drawing;
    EXPECT_EQ(drawing.variables.point(u"EXTMIN"), (VariablePoint{1e20, 1e20, 1e20}));
    drawing.add(lineFrom(1, 2, 10, 5));
    EXPECT_EQ(drawing.variables.point(u"EXTMIN"), (VariablePoint{1, 2, 0}));
    EXPECT_EQ(drawing.variables.point(u"EXTMAX"), (VariablePoint{10, 5, 0}));
}

TEST(DrawingPlaces, TheNearestWithinReach) {
    Drawing drawing;
    EXPECT_EQ(drawing.nearest({0, 0}, 1e9), -1);
    const HostLong low = drawing.add(lineFrom(0, 0, 10, 0));
    const HostLong high = drawing.add(lineFrom(0, 4, 10, 4));
    EXPECT_EQ(drawing.nearest({5, 1}, 10), low);
    EXPECT_EQ(drawing.nearest({5, 3}, 10), high);
    EXPECT_EQ(drawing.nearest({5, 2}, 10), high) << "of two equally near the later";
    EXPECT_EQ(drawing.nearest({5, 1}, 1), low) << "at the very end of the reach";
    EXPECT_EQ(drawing.nearest({5, 1.5}, 1), -1);
    EXPECT_EQ(drawing.nearest({5, std::nan("")}, 10), -1);
    drawing.setErased(low, true);
    EXPECT_EQ(drawing.nearest({5, 1}, 10), high);
}

TEST(DrawingPlaces, LayersThatAreOffHideTheirObjects) {
    Drawing drawing;
    const HostLong seen = drawing.add(lineFrom(0, 0, 10, 0));
    auto line = lineFrom(0, 1, 10, 1);
    setLayer(*line, u"Hidden");
    drawing.changeLayer(u"hidden");
    const HostLong hidden = drawing.add(std::move(line));
    EXPECT_EQ(drawing.near({0, 0, 10, 10}), (Ids{seen, hidden}));
    EXPECT_EQ(drawing.nearest({5, 1}, 5), hidden);
    drawing.changeLayer(u"hidden").on = false;
    EXPECT_EQ(drawing.near({0, 0, 10, 10}), Ids{seen});
    EXPECT_EQ(drawing.nearest({5, 1}, 5), seen);
    drawing.changeLayer(u"hidden").on = true;
    EXPECT_EQ(drawing.nearest({5, 1}, 5), hidden);
}

TEST(DrawingPlaces, WhatHasNoPlaceIsNotFound) {
    Drawing drawing;
    drawing.add(std::make_unique<VmDb2DPolyline>());
    drawing.add(circleAt(std::nan(""), 0, 1));
    EXPECT_EQ(drawing.near({-1e6, -1e6, 1e6, 1e6}), Ids{});
    EXPECT_EQ(drawing.near({5, 5, 0, 0}), Ids{}) << "nor anything in an empty rectangle";
}

class SpatialSearch {
  public:
    explicit SpatialSearch(unsigned seed) : random_(seed) {}

    double coordinate() { return std::uniform_real_distribution<double>(-100, 100)(random_); }
    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    std::unique_ptr<VmDbObject> object() {
        if (below(2) == 0) return circleAt(coordinate(), coordinate(), below(20) + 0.5);
        return lineFrom(coordinate(), coordinate(), coordinate(), coordinate());
    }

    Ids plainNear(const Drawing& drawing, const Box& box) {
        Ids found;
        for (int slot = 0; slot < drawing.slotCount(); ++slot) {
            const VmDbObject& object = *drawing.at(slot);
            if (object.erased == 0 && drawing.isVisible(object) &&
                drawing.extentOf(object).intersects(box))
                found.push_back(object.id);
        }
        return found;
    }

    HostLong plainNearest(const Drawing& drawing, Point2 point, double reach) {
        HostLong best = -1;
        double bestDistance = reach;
        for (int slot = 0; slot < drawing.slotCount(); ++slot) {
            const VmDbObject& object = *drawing.at(slot);
            if (object.erased != 0 || !drawing.isVisible(object)) continue;
            const double distance = distanceTo(object, point, drawing.blockLookup());
            if (distance > bestDistance) continue;
            best = object.id;
            bestDistance = distance;
        }
        return best;
    }

  private:
    std::mt19937 random_;
};

TEST(DrawingPlaces, TheIndexAgreesWithLookingAtEverything) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    SpatialSearch search(seed);
    Drawing drawing;
    drawing.changeLayer(u"Other");
    drawing.defineBlock(u"B", {0, 0}, oneLine(0, 0, 5, 5));
    std::size_t hits = 0;
    for (int round = 0; round < 400; ++round) {
        const HostLong id = 1 + static_cast<HostLong>(search.below(300));
        switch (search.below(12)) {
        case 0:
        case 1:
        case 2:
        case 3: drawing.add(search.object()); break;
        case 4: drawing.add(insertOf(u"B", search.coordinate(), search.coordinate())); break;
        case 5: drawing.setErased(id, search.below(3) != 0); break;
        case 6: drawing.undo(); break;
        case 7: drawing.redo(); break;
        case 8:
            if (search.below(4) == 0)
                drawing.defineBlock(u"B", {0, 0}, oneLine(0, 0, search.coordinate(), 5));
            break;
        case 9: drawing.changeLayer(u"Other").on = search.below(2) == 0; break;
        case 10:
            if (VmDbObject* object = drawing.open(id, true)) {
                setLayer(*object, search.below(2) == 0 ? u"Other" : u"0");
                object->close();
            }
            break;
        default:
            if (drawing.find(id) != nullptr)
                moveTo(drawing, id, search.coordinate(), search.coordinate());
        }
        if (search.below(3) == 0) continue;  // several changes between two questions
        Box box;
        box.add(Point2{search.coordinate(), search.coordinate()});
        box.add(Point2{search.coordinate(), search.coordinate()});
        const Ids expected = search.plainNear(drawing, box);
        hits += expected.size();
        ASSERT_EQ(drawing.near(box), expected) << "round " << round;
        const Point2 point{search.coordinate(), search.coordinate()};
        const double reach = search.below(50);
        ASSERT_EQ(drawing.nearest(point, reach), search.plainNearest(drawing, point, reach))
            << "round " << round;
    }
    EXPECT_GT(hits, 500U);
}

TEST(DrawingPlaces, AfterManyChangesEverythingIsFound) {
    constexpr int count = 500;
    Drawing drawing;
    for (int i = 0; i < count; ++i) drawing.add(circleAt(i, 0, 0.25));
    EXPECT_EQ(drawing.near({-1, -1, 2.5, 1}), (Ids{1, 2, 3}));
    for (const int rounds : {1, 3}) {  // some changes for each object, and too many to remember
        for (int round = 0; round < rounds; ++round)
            for (HostLong id = 1; id <= count; ++id) moveTo(drawing, id, id, 100 * rounds);
        EXPECT_EQ(drawing.near({-1, -1, 1e3, 1}), Ids{});
        EXPECT_EQ(drawing.near({1.5, 99, 3.5, 1e3}), (Ids{2, 3}));
    }
    moveTo(drawing, 7, 0, 0);
    EXPECT_EQ(drawing.near({-1, -1, 1e3, 1}), Ids{7});
    drawing.beginGroup();
    for (HostLong id = 1; id <= count; ++id) drawing.setErased(id, true);
    drawing.endGroup();
    EXPECT_EQ(drawing.near({-1e3, -1e3, 1e3, 1e3}), Ids{});
    ASSERT_TRUE(drawing.undo());
    EXPECT_EQ(drawing.near({-1, -1, 1e3, 1}), Ids{7});
}

TEST(DrawingPlaces, AnUpdateTakesTheOldPlaceAway) {
    SpatialIndex index;
    index.update(1, {0, 0, 1, 1});
    index.update(2, {10, 10, 11, 11});
    EXPECT_EQ(index.query({0, 0, 2, 2}), Ids{1});
    index.update(1, {20, 20, 21, 21});
    EXPECT_EQ(index.query({0, 0, 2, 2}), Ids{});
    EXPECT_EQ(index.query({21, 21, 30, 30}), Ids{1}) << "touching is meeting";
    index.update(1, Box());
    index.update(1, Box());
    EXPECT_EQ(index.query({0, 0, 100, 100}), Ids{2});
    index.build({});
    EXPECT_EQ(index.query({0, 0, 100, 100}), Ids{});
}

}  // namespace
}  // namespace vlisp::refhost
