// The calls to the host, in its C++. See host_calls.h.
// This is compiled with the library for hosts that are built as we are, and as part of bridge_msvc.cpp
// without any library.
#include "host/host_calls.h"

#include "host/bridge.h"

namespace {

// The same units and handles under the types that the host's functions have them by.
const HostChar* text(const char16_t* units) {
    return static_cast<const HostChar*>(static_cast<const void*>(units));
}
HostChar* room(char16_t* units) { return static_cast<HostChar*>(static_cast<void*>(units)); }
template <class Handle> Handle handle(void* address) { return static_cast<Handle>(address); }

HostText plain(const VmDbString& string) {
    return {static_cast<const char16_t*>(static_cast<const void*>(string.units())),
            string.length()};
}

// `object` seen as the class that it is of.
template <class Class> Class& as(HostObject* object) { return static_cast<Class&>(*object); }

VmDbString& stringOf(HostObject* object, HostString which) {
    switch (which) {
    case HostString::text: return as<VmDbText>(object).text;
    case HostString::blockName: return as<VmDbBlockRef>(object).blockName;
    case HostString::layer:
    case HostString::none: break;
    }
    return object->layerName;
}

}  // namespace

// --- Version and commands ------------------------------------------------------------------------

void hostGetVersion(char16_t* out) { GetVersion(room(out)); }

void hostAddCommand(const char16_t* name, const char16_t* lispText, const char16_t* description,
                    const char16_t* moduleName, void* instance, unsigned number) {
    AddCommand(text(name), text(lispText), text(description), text(moduleName),
               handle<ModuleHandle>(instance), number);
}

void hostCreateExtensionToolbar(const char16_t* bitmapPath, const char16_t* toolbarName,
                                const HostButton* buttons, int count) {
    auto* made = new ToolbarButton[static_cast<size_t>(count)];
    for (int i = 0; i < count; ++i) {
        made[i].image = buttons[i].image;
        made[i].command = buttons[i].command;
        made[i].state = buttons[i].state;
    }
    CreateExtensionToolbar(text(bitmapPath), text(toolbarName), made, count);
    delete[] made;
}

// --- Messages, prompts, input --------------------------------------------------------------------

void hostDisplayMsg(const char16_t* message) { DisplayMsg(text(message)); }

void hostDisplayPromptMsg(const char16_t* message) { DisplayPromptMsg(text(message)); }

void hostAllowTopMost(bool allow) { AllowTopMost(allow); }

void hostGetInputString(char16_t* out) { GetInputString(room(out)); }

int hostGetInputType() {
    int type = 0;
    GetInputType(type);
    return type;
}

void hostGetInputPoint(double* x, double* y, double* z) { GetInputPoint(*x, *y, *z); }

void hostSetUserInputMode(int mode, bool useBasePoint, double x, double y, double z) {
    SetUserInputMode(mode, useBasePoint, x, y, z);
}

// --- Handshake -----------------------------------------------------------------------------------

vlisp::platform::MessageWindow* hostGetMainFrameWindow() {
    HostWindow window = nullptr;
    GetMainFrameWindow(window);
    return handle<vlisp::platform::MessageWindow*>(window);
}

void hostClearThreadMsgPosted() { ClearThreadMsgPosted(); }

bool hostIsThreadMsgPosted() {
    bool posted = false;
    IsThreadMsgPosted(posted);
    return posted;
}

// --- System variables ----------------------------------------------------------------------------

bool hostGetVar(const char16_t* name, char16_t* valueOut) {
    bool ok = false;
    GetVar(text(name), room(valueOut), ok);
    return ok;
}

bool hostSetVarInt(const char16_t* name, int value) {
    bool ok = false;
    SetVarInt(text(name), value, ok);
    return ok;
}

bool hostSetVarDbl(const char16_t* name, double value) {
    bool ok = false;
    SetVarDbl(text(name), value, ok);
    return ok;
}

bool hostSetVarString(const char16_t* name, const char16_t* value) {
    bool ok = false;
    SetVarString(text(name), text(value), ok);
    return ok;
}

// --- Display -------------------------------------------------------------------------------------

void hostRegen() { Regen(); }

void hostRefresh() { Refresh(); }

// --- Objects of the drawing ----------------------------------------------------------------------

int hostGetNumObjects() {
    int count = 0;
    GetNumObjects(count);
    return count;
}

int hostGetObjectIndex(HostId id) {
    int index = 0;
    GetObjectIndex(id, index);
    return index;
}

HostObject* hostOpenObject(HostId id, int mode) {
    VmDbObject* object = nullptr;
    vmdbOpenObject(object, id, mode);
    return object;
}

HostObject* hostOpenObjectByIndex(int index, int mode) {
    VmDbObject* object = nullptr;
    vmdbOpenObjectByIndex(object, index, mode);
    return object;
}

void hostCloseObject(HostObject* object) { object->close(); }

HostId hostGetId(HostObject* object) { return object->id; }

void hostGetObjectData(HostObject* object, HostObjectData* out) {
    out->id = object->id;
    out->typeCode = object->typeCode;
    out->colour = object->colour;
    out->lineweight = object->lineweight;
    out->pointCount = object->points.count;
    out->erased = object->erased != 0;
    out->layer = plain(object->layerName);
}

void hostSetColour(HostObject* object, int32_t colour) { object->colour = colour; }

void hostSetLineweight(HostObject* object, int32_t lineweight) { object->lineweight = lineweight; }

void hostGetPoint(HostObject* object, int index, double* xyz) {
    const mmPoint& point = object->points.getAt(index);
    xyz[0] = point.x;
    xyz[1] = point.y;
    xyz[2] = point.z;
}

void hostAddPoint(HostObject* object, double x, double y, double z) {
    object->addPoint(mmPoint(x, y, z));
}

void hostClearPoints(HostObject* object) { object->points.clear(); }

void hostGetExtent(HostObject* object, double* rectangle) {
    const VmDbRect extent = object->getExtent(0.0, 0.0);
    rectangle[0] = extent.left;
    rectangle[1] = extent.bottom;
    rectangle[2] = extent.right;
    rectangle[3] = extent.top;
}

HostObject* hostAsLine(HostObject* object) { return VmDbLine::cast(object); }
HostObject* hostAsPolyline(HostObject* object) { return VmDb2DPolyline::cast(object); }
HostObject* hostAsCircle(HostObject* object) { return VmDbCircle::cast(object); }
HostObject* hostAsArc(HostObject* object) { return VmDbArc::cast(object); }
HostObject* hostAsText(HostObject* object) { return VmDbText::cast(object); }
HostObject* hostAsBlockRef(HostObject* object) { return VmDbBlockRef::cast(object); }

double* hostNumber(HostObject* object, HostNumber which) {
    switch (which) {
    case HostNumber::none: break;
    case HostNumber::circleRadius: return &as<VmDbCircle>(object).radius;
    case HostNumber::arcRadius: return &as<VmDbArc>(object).radius;
    case HostNumber::arcStart: return &as<VmDbArc>(object).startAngle;
    case HostNumber::arcEnd: return &as<VmDbArc>(object).endAngle;
    case HostNumber::textHeight: return &as<VmDbText>(object).height;
    case HostNumber::textRotation: return &as<VmDbText>(object).rotation;
    case HostNumber::insertXScale: return &as<VmDbBlockRef>(object).xScale;
    case HostNumber::insertYScale: return &as<VmDbBlockRef>(object).yScale;
    case HostNumber::insertRotation: return &as<VmDbBlockRef>(object).rotation;
    }
    return nullptr;
}

HostText hostText(HostObject* object, HostString which) { return plain(stringOf(object, which)); }

void hostSetText(HostObject* object, HostString which, const char16_t* units, size_t length) {
    stringOf(object, which).assign(text(units), length);
}

bool hostIsClosed(HostObject* polyline) { return as<VmDb2DPolyline>(polyline).closed != 0; }

void hostSetClosed(HostObject* polyline, bool closed) {
    as<VmDb2DPolyline>(polyline).closed = closed ? 1 : 0;
}

HostBulges hostGetBulges(HostObject* polyline) {
    const VmDbRealArr& bulges = as<VmDb2DPolyline>(polyline).bulges;
    return {bulges.values, bulges.count};
}

void hostAddBulge(HostObject* polyline, double bulge) {
    as<VmDb2DPolyline>(polyline).addBulge(bulge);
}

// --- Blocks --------------------------------------------------------------------------------------

int hostGetNumBlocks() {
    int count = 0;
    GetNumBlocks(count);
    return count;
}

HostBlock* hostOpenBlockByIndex(int index, int mode) {
    VmDbBlock* block = nullptr;
    vmdbOpenBlockByIndex(index, block, mode);
    return block;
}

void hostCloseBlock(HostBlock* block) { block->close(); }

void hostGetBlockData(const HostBlock* block, HostBlockData* out) {
    out->id = block->id;
    out->flags = block->flags;
    out->baseX = block->baseX;
    out->baseY = block->baseY;
    out->name = plain(block->name);
}

// --- Adding to the drawing -----------------------------------------------------------------------

HostObject* hostNewLine() { return new VmDbLine; }

HostObject* hostNewPolyline() { return new VmDb2DPolyline; }

void hostDeleteObject(HostObject* object) { delete object; }

void hostAddLine(HostObject* line) { addLine(&as<VmDbLine>(line), -1); }

void hostAddPolyline(HostObject* polyline) { addPolyline(&as<VmDb2DPolyline>(polyline), -1); }

void hostUpdatePolyline(HostId id, int vertex, double x, double y) {
    updatePolyline(id, vertex, x, y);
}

void hostSetWorkingLayerAndLineType(const char16_t* layer, const char16_t* lineType) {
    int result = 0;
    setWorkingLayerAndLineType(text(layer), text(lineType), result);
}

void hostAddObjectExtDataInt(HostId id, const char16_t* name, int value) {
    addObjectExtDataInt(id, text(name), value, true);
}

void hostAddObjectExtDataDouble(HostId id, const char16_t* name, double value) {
    addObjectExtDataDouble(id, text(name), value, true);
}

void hostAddObjectExtDataString(HostId id, const char16_t* name, const char16_t* value) {
    addObjectExtDataString(id, text(name), text(value), true);
}

// --- Selection sets ------------------------------------------------------------------------------

int hostAddSelectionSet() {
    int set = 0;
    addSelectionSet(set);
    return set;
}

int hostGetSelectionSetLength(int set) {
    int length = 0;
    getSelectionSetLength(length, set);
    return length;
}

void hostAddObjToSelectionSet(HostId id, int set) { addObjToSelectionSet(id, set); }

void hostRemoveObjFromSelectionSet(HostId id, int set) { removeObjFromSelectionSet(id, set); }

HostId hostGetObjFromSelectionSet(int index, int set) {
    HostLong id = -1;
    getObjFromSelectionSet(id, index, set);
    return id;
}

void hostAddAllToSelectionSet(int set) { addAllToSelectionSet(set); }

void hostAddSelectedToSelectionSet(int set) { addSelectedToSelectionSet(set); }
