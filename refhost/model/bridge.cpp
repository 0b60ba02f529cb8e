// The functions of the bridge that work on the drawing. See host/bridge.h.
// Tests: tests/refhost/drawing_test.cpp, tests/cli/.
#include "host/bridge.h"

#include "refhost/model/drawing.h"
#include "refhost/model/objects.h"

#include <algorithm>

using vlisp::refhost::Box;
using vlisp::refhost::Drawing;

void VmDbObject::close() { Drawing::current().closed(*this); }
void VmDbLine::close() { VmDbObject::close(); }
void VmDb2DPolyline::close() { VmDbObject::close(); }
void VmDbBlock::close() { Drawing::current().closedBlock(); }

// An object without extent reports a rectangle of zeros.
VmDbRect VmDbObject::getExtent(double, double) {
    const Box box = Drawing::current().extentOf(*this);
    return box.isEmpty() ? VmDbRect() : VmDbRect(box.left, box.bottom, box.right, box.top);
}

namespace {

void write(char16_t* out, std::u16string_view text) { *std::ranges::copy(text, out).out = 0; }

}  // namespace

void GetVar(const char16_t* name, char16_t* valueOut, bool& ok) {
    const auto value = Drawing::current().variables.asText(name);
    ok = value.has_value();
    if (ok) write(valueOut, *value);
}

void SetVarInt(const char16_t* name, int value, bool& ok) {
    ok = Drawing::current().variables.setInt(name, value);
}

void SetVarDbl(const char16_t* name, double value, bool& ok) {
    ok = Drawing::current().variables.setReal(name, value);
}

void SetVarString(const char16_t* name, const char16_t* value, bool& ok) {
    ok = Drawing::current().variables.setText(name, value);
}

// There is no picture that could be out of date.
void Regen() {}
void Refresh() {}

void GetNumObjects(int& out) { out = Drawing::current().slotCount(); }

void GetObjectIndex(HostLong id, int& indexOut) {
    if (const int slot = Drawing::current().slotOf(id); slot >= 0) indexOut = slot;
}

void vmdbOpenObject(VmDbObject*& out, HostLong id, int mode) {
    out = Drawing::current().open(id, mode != 0);
}

void vmdbOpenObjectByIndex(VmDbObject*& out, int index, int mode) {
    out = Drawing::current().openSlot(index, mode != 0);
}

void GetNumBlocks(int& out) { out = static_cast<int>(Drawing::current().blocks().size()); }

void vmdbOpenBlockByIndex(int index, VmDbBlock*& out, int /*mode*/) {
    out = Drawing::current().openBlock(index);
}

void addLine(VmDbLine* line, HostLong) {
    Drawing::current().add(std::unique_ptr<VmDbObject>(line));
}

void addPolyline(VmDb2DPolyline* polyline, HostLong) {
    polyline->id = Drawing::current().add(vlisp::refhost::clone(*polyline));
}

void updatePolyline(int id, int vertex, double x, double y) {
    VmDbObject* object = Drawing::current().open(id, true);
    if (object == nullptr) return;
    if (vertex < 0) object->addPoint(mmPoint(x, y, 0));
    else if (vertex < object->points.count) object->points.getAt(vertex) = mmPoint(x, y, 0);
    object->close();
}

void setWorkingLayerAndLineType(const char16_t* layer, const char16_t* lineType, int& out) {
    Drawing& drawing = Drawing::current();
    const std::u16string_view layerName(layer);
    const std::u16string_view typeName(lineType);
    out = 1;
    if (!layerName.empty()) {
        if (drawing.findLayer(layerName) == nullptr) drawing.changeLayer(layerName);
        if (!drawing.variables.setText(u"CLAYER", layerName)) out = 0;
    }
    if (!typeName.empty() && !drawing.variables.setText(u"CELTYPE", typeName)) out = 0;
}

void addObjectExtDataInt(int id, const char16_t* name, int value, bool) {
    Drawing::current().attach(id, {name, value});
}
void addObjectExtDataDouble(int id, const char16_t* name, double value, bool) {
    Drawing::current().attach(id, {name, value});
}
void addObjectExtDataString(int id, const char16_t* name, const char16_t* value, bool) {
    Drawing::current().attach(id, {name, std::u16string(value)});
}

void addSelectionSet(int& idOut) { idOut = Drawing::current().addSet(); }

void getSelectionSetLength(int& out, int set) {
    if (const auto* members = Drawing::current().members(set))
        out = static_cast<int>(members->size());
}

void addObjToSelectionSet(HostLong id, int set) { Drawing::current().addToSet(id, set); }

void removeObjFromSelectionSet(HostLong id, int set) { Drawing::current().removeFromSet(id, set); }

void getObjFromSelectionSet(HostLong& idOut, int index, int set) {
    const auto* members = Drawing::current().members(set);
    if (members != nullptr && index >= 0 && static_cast<std::size_t>(index) < members->size())
        idOut = (*members)[static_cast<std::size_t>(index)];
}

void addAllToSelectionSet(int set) { Drawing::current().addAllToSet(set); }

void addSelectedToSelectionSet(int set) {
    Drawing& drawing = Drawing::current();
    for (const HostLong id : drawing.selected) drawing.addToSet(id, set);
}
