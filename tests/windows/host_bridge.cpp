// What the test host exports: the classes and functions of bridge.h in the Microsoft ABI.
// One idea: compiled free-standing for that ABI, so that virtual tables, deleting destructors, names,
// and classes that come and go by value are the true ones. What happens is counted; what is to be done
// is asked of the drawing's side (host_face.h).
// Tests: every test of this folder, above all drawing_test.cpp and demonstrations_test.cpp.
#include "host/bridge.h"
#include "tests/windows/host_face.h"

extern "C" int _fltused = 0;  // every image that computes with floating point has it

namespace {
ClassCounts counts;
}

// An object that the module made may be destroyed here, and a text that it assigned let go of here, so
// both sides take memory from one heap.
void* operator new(size_t bytes) { return hostAllocate(bytes); }
void* operator new[](size_t bytes) { return hostAllocate(bytes); }
// What deleting destructors call, the one or the other.
void operator delete(void* block) noexcept {
    ++counts.deletes;
    hostRelease(block);
}
void operator delete(void* block, size_t) noexcept { operator delete(block); }
void operator delete[](void* block) noexcept { hostRelease(block); }
void operator delete[](void* block, size_t) noexcept { hostRelease(block); }

namespace {

// An object's class shows in its virtual table, whatever its type code says.
using VirtualTable = const void*;

VirtualTable tableOf(const VmDbObject* object) {
    return *reinterpret_cast<const VirtualTable*>(object);
}

template <class Class> VirtualTable table = nullptr;

template <class Class> void setUp(Class* object, int32_t typeCode) {
    table<Class> = tableOf(object);
    object->typeCode = typeCode;
}

template <class Class> Class* castTo(VmDbObject* object) {
    return object != nullptr && tableOf(object) == table<Class> ? static_cast<Class*>(object)
                                                                : nullptr;
}

template <class Class> const Class* castTo(const VmDbObject* object) {
    return castTo<Class>(const_cast<VmDbObject*>(object));
}

template <class Class> const Class& sameClass(const VmDbObject* object) {
    const Class* same = castTo<Class>(object);
    if (same == nullptr) hostFault("an object was copied from one of another class");
    return *same;
}

// A place behind the last element. The elements have no constructors that matter.
template <class Value> Value& grown(Value*& values, int32_t& count, int32_t& room) {
    if (count == room) {
        room = room == 0 ? 2 : 2 * room;
        auto* bigger = static_cast<Value*>(hostAllocate(sizeof(Value) * static_cast<size_t>(room)));
        for (int32_t i = 0; i < count; ++i) bigger[i] = values[i];
        if (values != nullptr) hostRelease(values);
        values = bigger;
    }
    return values[count++];
}

void append(VmDbPointArr& array, double x, double y, double z) {
    mmPoint& added = grown(array.points, array.count, array.room);
    added.x = x;
    added.y = y;
    added.z = z;
}

void append(VmDbRealArr& array, double value) {
    grown(array.values, array.count, array.room) = value;
}

void assign(VmDbString& text, const HostChar* units) {
    size_t length = 0;
    while (units[length] != 0) ++length;
    text.assign(units, length);
}

void copyText(const VmDbString& text, HostChar (&out)[64]) {
    size_t length = text.length();
    if (length > 63) length = 63;
    for (size_t i = 0; i < length; ++i) out[i] = text.units()[i];
    out[length] = 0;
}

}  // namespace

// --- Values ----------------------------------------------------------------------------------------

mmPoint::~mmPoint() { ++counts.pointsDestroyed; }
VmDbRect::~VmDbRect() { ++counts.rectsDestroyed; }

void VmDbPointArr::clear() { count = 0; }
mmPoint& VmDbPointArr::getAt(int index) {
    if (index < 0 || index >= count) hostFault("a point was asked for that is not there");
    return points[index];
}

// --- Objects ---------------------------------------------------------------------------------------

VmDbObject::VmDbObject() { ++counts.objectsMade; }
VmDbObject::~VmDbObject() {
    ++counts.objectsDestroyed;
    if (points.points != nullptr) hostRelease(points.points);
}
void VmDbObject::close() { onObjectClosed(this); }
void VmDbObject::copyFrom(const VmDbObject* other) {
    colour = other->colour;
    lineweight = other->lineweight;
    layerName = other->layerName;
    points.clear();
    for (int32_t i = 0; i < other->points.count; ++i) {
        const mmPoint& point = other->points.points[i];
        append(points, point.x, point.y, point.z);
    }
}
// The point is the caller's copy; it is destroyed here, once.
void VmDbObject::addPoint(mmPoint point) {
    ++counts.pointsTaken;
    append(points, point.x, point.y, point.z);
}
VmDbRect VmDbObject::getExtent(double a, double b) {
    if (a != 0 || b != 0) hostFault("getExtent was called with something else than zeros");
    ++counts.rectsGiven;
    double left = 0, bottom = 0, right = 0, top = 0;
    for (int32_t i = 0; i < points.count; ++i) {
        const mmPoint& p = points.points[i];
        if (i == 0 || p.x < left) left = p.x;
        if (i == 0 || p.y < bottom) bottom = p.y;
        if (i == 0 || p.x > right) right = p.x;
        if (i == 0 || p.y > top) top = p.y;
    }
    return VmDbRect(left, bottom, right, top);
}

VmDbLine::VmDbLine() { setUp(this, vmDbLine); }
VmDbLine::~VmDbLine() {}
void VmDbLine::close() { VmDbObject::close(); }
void VmDbLine::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbLine* VmDbLine::cast(VmDbObject* object) { return castTo<VmDbLine>(object); }

VmDb2DPolyline::VmDb2DPolyline() { setUp(this, vmDbLwPolyline); }
VmDb2DPolyline::~VmDb2DPolyline() {
    if (bulges.values != nullptr) hostRelease(bulges.values);
}
void VmDb2DPolyline::close() { VmDbObject::close(); }
void VmDb2DPolyline::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    const VmDb2DPolyline& polyline = sameClass<VmDb2DPolyline>(other);
    closed = polyline.closed;
    bulges.count = 0;
    for (int32_t i = 0; i < polyline.bulges.count; ++i) append(bulges, polyline.bulges.values[i]);
}
VmDb2DPolyline* VmDb2DPolyline::cast(VmDbObject* object) { return castTo<VmDb2DPolyline>(object); }
void VmDb2DPolyline::addBulge(double bulge) { append(bulges, bulge); }

VmDbCircle::VmDbCircle() { setUp(this, vmDbCircle); }
VmDbCircle::~VmDbCircle() {}
void VmDbCircle::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    radius = sameClass<VmDbCircle>(other).radius;
}
VmDbCircle* VmDbCircle::cast(VmDbObject* object) { return castTo<VmDbCircle>(object); }

VmDbArc::VmDbArc() { setUp(this, vmDbArc); }
VmDbArc::~VmDbArc() {}
void VmDbArc::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    const VmDbArc& arc = sameClass<VmDbArc>(other);
    radius = arc.radius;
    startAngle = arc.startAngle;
    endAngle = arc.endAngle;
}
VmDbArc* VmDbArc::cast(VmDbObject* object) { return castTo<VmDbArc>(object); }

VmDbText::VmDbText() { setUp(this, vmDbText); }
VmDbText::~VmDbText() {}
void VmDbText::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    const VmDbText& from = sameClass<VmDbText>(other);
    text = from.text;
    height = from.height;
    rotation = from.rotation;
}
VmDbText* VmDbText::cast(VmDbObject* object) { return castTo<VmDbText>(object); }

VmDbBlockRef::VmDbBlockRef() { setUp(this, vmDbInsert); }
VmDbBlockRef::~VmDbBlockRef() {}
void VmDbBlockRef::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    const VmDbBlockRef& reference = sameClass<VmDbBlockRef>(other);
    blockName = reference.blockName;
    xScale = reference.xScale;
    yScale = reference.yScale;
    rotation = reference.rotation;
}
VmDbBlockRef* VmDbBlockRef::cast(VmDbObject* object) { return castTo<VmDbBlockRef>(object); }

VmDbBlock::VmDbBlock() {}
VmDbBlock::~VmDbBlock() {}
void VmDbBlock::close() { onBlockClosed(this); }

// --- Functions -------------------------------------------------------------------------------------

void GetVersion(HostChar* out) { onGetVersion(out); }
void AddCommand(const HostChar* name, const HostChar* lispText, const HostChar* description,
                const HostChar* moduleName, ModuleHandle instance, unsigned number) {
    onAddCommand(name, lispText, description, moduleName, instance, number);
}
void CreateExtensionToolbar(const HostChar* bitmapPath, const HostChar* toolbarName,
                            ToolbarButton* buttons, int count) {
    onCreateExtensionToolbar(bitmapPath, toolbarName, buttons, count);
}
void DisplayMsg(const HostChar* text) { onDisplayMsg(text); }
void DisplayPromptMsg(const HostChar* text) { onDisplayPromptMsg(text); }
void AllowTopMost(bool allow) { onAllowTopMost(allow); }

void GetMainFrameWindow(HostWindow& out) { out = static_cast<HostWindow>(onGetMainFrameWindow()); }
void ClearThreadMsgPosted() { onClearThreadMsgPosted(); }
void IsThreadMsgPosted(bool& out) { out = onIsThreadMsgPosted(); }

void GetInputString(HostChar* out) { onGetInputString(out); }
void GetInputType(int& out) { out = onGetInputType(); }
void GetInputPoint(double& x, double& y, double& z) {
    double xyz[3];
    onGetInputPoint(xyz);
    x = xyz[0];
    y = xyz[1];
    z = xyz[2];
}
void SetUserInputMode(int mode, bool useBasePoint, double x, double y, double z) {
    onSetUserInputMode(mode, useBasePoint, x, y, z);
}

void GetVar(const HostChar* name, HostChar* valueOut, bool& ok) { ok = onGetVar(name, valueOut); }
void SetVarInt(const HostChar* name, int value, bool& ok) { ok = onSetVarInt(name, value); }
void SetVarDbl(const HostChar* name, double value, bool& ok) { ok = onSetVarDbl(name, value); }
void SetVarString(const HostChar* name, const HostChar* value, bool& ok) {
    ok = onSetVarString(name, value);
}
void Regen() { onRegen(); }
void Refresh() { onRefresh(); }

void GetNumObjects(int& out) { out = onGetNumObjects(); }
void GetObjectIndex(HostLong id, int& indexOut) {
    if (const int slot = onGetObjectIndex(id); slot >= 0) indexOut = slot;
}
void vmdbOpenObject(VmDbObject*& out, HostLong id, int mode) { out = onOpenObject(id, mode); }
void vmdbOpenObjectByIndex(VmDbObject*& out, int index, int mode) {
    out = onOpenObjectByIndex(index, mode);
}
void GetNumBlocks(int& out) { out = onGetNumBlocks(); }
void vmdbOpenBlockByIndex(int index, VmDbBlock*& out, int mode) {
    out = onOpenBlockByIndex(index, mode);
}

void addLine(VmDbLine* line, HostLong block) { line->id = onAddLine(line, block); }
void addPolyline(VmDb2DPolyline* polyline, HostLong block) {
    polyline->id = onAddPolyline(polyline, block);
}
void updatePolyline(int id, int vertex, double x, double y) { onUpdatePolyline(id, vertex, x, y); }
void setWorkingLayerAndLineType(const HostChar* layer, const HostChar* lineType, int& out) {
    onSetWorkingLayerAndLineType(layer, lineType);
    out = 0;
}
void addObjectExtDataInt(int id, const HostChar* name, int value, bool flag) {
    onAddObjectExtDataInt(id, name, value, flag);
}
void addObjectExtDataDouble(int id, const HostChar* name, double value, bool flag) {
    onAddObjectExtDataDouble(id, name, value, flag);
}
void addObjectExtDataString(int id, const HostChar* name, const HostChar* value, bool flag) {
    onAddObjectExtDataString(id, name, value, flag);
}

void addSelectionSet(int& idOut) { idOut = onAddSelectionSet(); }
void getSelectionSetLength(int& out, int set) {
    if (const int length = onGetSelectionSetLength(set); length >= 0) out = length;
}
void addObjToSelectionSet(HostLong id, int set) { onAddObjToSelectionSet(id, set); }
void removeObjFromSelectionSet(HostLong id, int set) { onRemoveObjFromSelectionSet(id, set); }
void getObjFromSelectionSet(HostLong& idOut, int index, int set) {
    int32_t id = 0;
    if (onGetObjFromSelectionSet(&id, index, set)) idOut = id;
}
void addAllToSelectionSet(int set) { onAddAllToSelectionSet(set); }
void addSelectedToSelectionSet(int set) { onAddSelectedToSelectionSet(set); }

// --- For the drawing's side --------------------------------------------------------------------------

ClassCounts* classCounts() { return &counts; }

VmDbObject* makeObject(int32_t typeCode) {
    VmDbObject* object = nullptr;
    switch (typeCode) {
    case vmDbLine: object = new VmDbLine; break;
    case vmDbLwPolyline:
    case vmDbPolyline: object = new VmDb2DPolyline; break;
    case vmDbCircle: object = new VmDbCircle; break;
    case vmDbArc: object = new VmDbArc; break;
    case vmDbText:
    case vmDbMText: object = new VmDbText; break;
    case vmDbInsert: object = new VmDbBlockRef; break;
    default: object = new VmDbObject; break;
    }
    object->typeCode = typeCode;
    return object;
}

VmDbObject* copyObject(const VmDbObject* object) {
    VmDbObject* copy = makeObject(object->typeCode);
    copy->copyFrom(object);
    return copy;
}

void destroyObject(VmDbObject* object) { delete object; }

void readObject(const VmDbObject* object, ObjectState* state) {
    state->id = object->id;
    state->typeCode = object->typeCode;
    state->colour = object->colour;
    state->lineweight = object->lineweight;
    state->erased = object->erased;
    copyText(object->layerName, state->layer);
    if (const auto* polyline = castTo<VmDb2DPolyline>(object)) state->closed = polyline->closed;
    if (const auto* circle = castTo<VmDbCircle>(object)) state->radius = circle->radius;
    if (const auto* arc = castTo<VmDbArc>(object)) {
        state->radius = arc->radius;
        state->startAngle = arc->startAngle;
        state->endAngle = arc->endAngle;
    }
    if (const auto* text = castTo<VmDbText>(object)) {
        state->height = text->height;
        state->rotation = text->rotation;
        copyText(text->text, state->text);
    }
    if (const auto* reference = castTo<VmDbBlockRef>(object)) {
        state->xScale = reference->xScale;
        state->yScale = reference->yScale;
        state->rotation = reference->rotation;
        copyText(reference->blockName, state->text);
    }
}

void writeObject(VmDbObject* object, const ObjectState* state) {
    object->id = state->id;
    object->typeCode = state->typeCode;
    object->colour = state->colour;
    object->lineweight = state->lineweight;
    object->erased = state->erased;
    assign(object->layerName, state->layer);
    if (auto* polyline = castTo<VmDb2DPolyline>(object)) polyline->closed = state->closed;
    if (auto* circle = castTo<VmDbCircle>(object)) circle->radius = state->radius;
    if (auto* arc = castTo<VmDbArc>(object)) {
        arc->radius = state->radius;
        arc->startAngle = state->startAngle;
        arc->endAngle = state->endAngle;
    }
    if (auto* text = castTo<VmDbText>(object)) {
        text->height = state->height;
        text->rotation = state->rotation;
        assign(text->text, state->text);
    }
    if (auto* reference = castTo<VmDbBlockRef>(object)) {
        reference->xScale = state->xScale;
        reference->yScale = state->yScale;
        reference->rotation = state->rotation;
        assign(reference->blockName, state->text);
    }
}

void appendPoint(VmDbObject* object, double x, double y, double z) {
    append(object->points, x, y, z);
}
int countPoints(const VmDbObject* object) { return object->points.count; }
void readPoint(const VmDbObject* object, int index, double* xyz) {
    const mmPoint& point = object->points.points[index];
    xyz[0] = point.x;
    xyz[1] = point.y;
    xyz[2] = point.z;
}

void appendBulge(VmDbObject* polyline, double bulge) {
    append(castTo<VmDb2DPolyline>(polyline)->bulges, bulge);
}
int countBulges(const VmDbObject* polyline) {
    return castTo<VmDb2DPolyline>(polyline)->bulges.count;
}
double readBulge(const VmDbObject* polyline, int index) {
    return castTo<VmDb2DPolyline>(polyline)->bulges.values[index];
}

VmDbBlock* makeBlock(int32_t id, const HostChar* name, int flags, double x, double y) {
    auto* block = new VmDbBlock;
    block->id = id;
    assign(block->name, name);
    block->flags = static_cast<int16_t>(flags);
    block->baseX = x;
    block->baseY = y;
    return block;
}
void destroyBlock(VmDbBlock* block) { delete block; }
