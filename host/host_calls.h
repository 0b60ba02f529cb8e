// The extension's calls to its host, as plain C.
// One idea: everything that the extension asks of a host passes here as pointers, numbers and texts, so
// that one source (host_calls.cpp) has to speak the host's C++. Compiled like the rest it speaks to
// hosts that are built as we are; for the true host of Windows it is compiled for that host's ABI.
// Tests: every program of tests/host/ and tests/drawing/; tests/module/.
//
// What the functions mean, on which thread they may be called, and who closes what, says bridge.h.
// Where a host writes nothing, a number is 0, an object null and an answer false, unless told otherwise.
#pragma once

#include "host/object_types.h"

#include <stddef.h>  // NOLINT: read without the C++ library too
#include <stdint.h>  // NOLINT

namespace vlisp::platform {
class MessageWindow;
}  // namespace vlisp::platform

class VmDbObject;
class VmDbBlock;

/// An object and a block of the host. What is in them is told by the functions below alone.
using HostObject = VmDbObject;
using HostBlock = VmDbBlock;

/// The id of an object.
using HostId = int32_t;

/// A text held in an object: not null, with its terminating zero; valid until the text is set or the
/// object closed.
struct HostText {
    const char16_t* units;
    size_t length;
};

/// What objects of all classes have.
struct HostObjectData {
    HostId id;
    int32_t typeCode;
    int32_t colour;
    int32_t lineweight;
    int32_t pointCount;
    bool erased;
    HostText layer;
};

struct HostBlockData {
    HostId id;
    int32_t flags;
    double baseX;
    double baseY;
    HostText name;
};

/// The numbers of an object that belong to its class.
enum class HostNumber : uint8_t {
    none,
    circleRadius,
    arcRadius,
    arcStart,  ///< radians
    arcEnd,    ///< radians
    textHeight,
    textRotation,  ///< degrees
    insertXScale,
    insertYScale,
    insertRotation  ///< degrees
};

/// The texts of an object.
enum class HostString : uint8_t { none, layer, text, blockName };

/// The bulges of a polyline; there may be fewer than points.
struct HostBulges {
    const double* values;
    int32_t count;
};

/// A button of a toolbar.
struct HostButton {
    int32_t image;
    int32_t command;
    uint8_t state;
};

extern "C" {

// --- Version and commands ---

void hostGetVersion(char16_t* out);
void hostAddCommand(const char16_t* name, const char16_t* lispText, const char16_t* description,
                    const char16_t* moduleName, void* instance, unsigned number);
void hostCreateExtensionToolbar(const char16_t* bitmapPath, const char16_t* toolbarName,
                                const HostButton* buttons, int count);

// --- Messages, prompts, input ---

void hostDisplayMsg(const char16_t* text);
void hostDisplayPromptMsg(const char16_t* text);
void hostAllowTopMost(bool allow);
void hostGetInputString(char16_t* out);
int hostGetInputType();
/// A host that writes nothing leaves the coordinates as they are.
void hostGetInputPoint(double* x, double* y, double* z);
void hostSetUserInputMode(int mode, bool useBasePoint, double x, double y, double z);

// --- Handshake ---

vlisp::platform::MessageWindow* hostGetMainFrameWindow();
void hostClearThreadMsgPosted();
bool hostIsThreadMsgPosted();

// --- System variables. False: there is no such variable, or it does not take the value. ---

bool hostGetVar(const char16_t* name, char16_t* valueOut);
bool hostSetVarInt(const char16_t* name, int value);
bool hostSetVarDbl(const char16_t* name, double value);
bool hostSetVarString(const char16_t* name, const char16_t* value);

// --- Display ---

void hostRegen();
void hostRefresh();

// --- Objects of the drawing ---

int hostGetNumObjects();
int hostGetObjectIndex(HostId id);
HostObject* hostOpenObject(HostId id, int mode);
HostObject* hostOpenObjectByIndex(int index, int mode);
void hostCloseObject(HostObject* object);

HostId hostGetId(HostObject* object);
void hostGetObjectData(HostObject* object, HostObjectData* out);
void hostSetColour(HostObject* object, int32_t colour);
void hostSetLineweight(HostObject* object, int32_t lineweight);

/// Writes x, y and z of point `index`, which must be below the count.
void hostGetPoint(HostObject* object, int index, double* xyz);
void hostAddPoint(HostObject* object, double x, double y, double z);
void hostClearPoints(HostObject* object);
/// The rectangle around the object, in the order of its members.
void hostGetExtent(HostObject* object, double* rectangle);

// The object as one of a class, or null when it is none.
HostObject* hostAsLine(HostObject* object);
HostObject* hostAsPolyline(HostObject* object);
HostObject* hostAsCircle(HostObject* object);
HostObject* hostAsArc(HostObject* object);
HostObject* hostAsText(HostObject* object);
HostObject* hostAsBlockRef(HostObject* object);

// Members of classes: the object must be of the class that has it.
/// Where the number stands, to read or to write.
double* hostNumber(HostObject* object, HostNumber which);
HostText hostText(HostObject* object, HostString which);
/// Replaces a text by `length` units, of which none is zero.
void hostSetText(HostObject* object, HostString which, const char16_t* units, size_t length);
bool hostIsClosed(HostObject* polyline);
void hostSetClosed(HostObject* polyline, bool closed);
HostBulges hostGetBulges(HostObject* polyline);
void hostAddBulge(HostObject* polyline, double bulge);

// --- Blocks ---

int hostGetNumBlocks();
HostBlock* hostOpenBlockByIndex(int index, int mode);
void hostCloseBlock(HostBlock* block);
void hostGetBlockData(const HostBlock* block, HostBlockData* out);

// --- Adding to the drawing ---

/// A new object of the module's own.
HostObject* hostNewLine();
HostObject* hostNewPolyline();
/// Destroys an object of the module's own.
void hostDeleteObject(HostObject* object);
void hostAddLine(HostObject* line);
void hostAddPolyline(HostObject* polyline);
void hostUpdatePolyline(HostId id, int vertex, double x, double y);
void hostSetWorkingLayerAndLineType(const char16_t* layer, const char16_t* lineType);
void hostAddObjectExtDataInt(HostId id, const char16_t* name, int value);
void hostAddObjectExtDataDouble(HostId id, const char16_t* name, double value);
void hostAddObjectExtDataString(HostId id, const char16_t* name, const char16_t* value);

// --- Selection sets ---

int hostAddSelectionSet();
int hostGetSelectionSetLength(int set);
void hostAddObjToSelectionSet(HostId id, int set);
void hostRemoveObjFromSelectionSet(HostId id, int set);
/// -1 when the host writes nothing.
HostId hostGetObjFromSelectionSet(int index, int set);
void hostAddAllToSelectionSet(int set);
void hostAddSelectedToSelectionSet(int set);
}
