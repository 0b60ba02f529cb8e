// The seam in the middle of the Windows test host: its classes on one side, its drawing on the other.
// One idea: what the host exports needs the Microsoft ABI and is compiled free-standing for it
// (host_bridge.cpp); the rest is an ordinary program (test_host.cpp). They meet in plain C functions.
// Tests: every test of this folder goes through here.
//
// Texts are zero-terminated UTF-16 on both sides; only the name of their unit differs.
#pragma once

#include <stddef.h>
#include <stdint.h>

#if defined(_MSC_VER)
using HostChar = wchar_t;
#else
using HostChar = char16_t;
#endif

// To the drawing's side these two are addresses and no more.
class VmDbObject;
class VmDbBlock;

/// How often something of a class has happened in this process.
struct ClassCounts {
    int objectsMade;       ///< constructors of objects
    int objectsDestroyed;  ///< destructors of objects
    int pointsTaken;       ///< points that came by value
    int pointsDestroyed;   ///< destructors of points
    int rectsGiven;        ///< rectangles that were returned by value
    int rectsDestroyed;    ///< destructors of rectangles
    int deletes;           ///< objects whose memory a deleting destructor let go of
};

/// What an object holds besides points and bulges. A field that its class has not is left alone.
struct ObjectState {
    int32_t id;
    int32_t typeCode;
    int32_t colour;
    int32_t lineweight;
    uint8_t erased;
    uint8_t closed;
    double radius;
    double startAngle;
    double endAngle;
    double height;
    double rotation;
    double xScale;
    double yScale;
    HostChar layer[64];
    HostChar text[64];  ///< a text's words, or the name of a reference's block
};

extern "C" {

// --- Offered by the classes' side ------------------------------------------------------------------

ClassCounts* classCounts();

/// Makes an object of the class that has this type code; it is the caller's.
VmDbObject* makeObject(int32_t typeCode);
/// Another object of the same class with the same contents.
VmDbObject* copyObject(const VmDbObject* object);
void destroyObject(VmDbObject* object);
void readObject(const VmDbObject* object, ObjectState* state);
void writeObject(VmDbObject* object, const ObjectState* state);
void appendPoint(VmDbObject* object, double x, double y, double z);
int countPoints(const VmDbObject* object);
void readPoint(const VmDbObject* object, int index, double* xyz);
void appendBulge(VmDbObject* polyline, double bulge);
int countBulges(const VmDbObject* polyline);
double readBulge(const VmDbObject* polyline, int index);

VmDbBlock* makeBlock(int32_t id, const HostChar* name, int flags, double x, double y);
void destroyBlock(VmDbBlock* block);

// --- Offered by the drawing's side: the memory, and what is behind each exported function ----------

void* hostAllocate(size_t bytes);
void hostRelease(void* block);
/// Ends the program: the module or the test has done what must not be.
[[noreturn]] void hostFault(const char* what);

void onObjectClosed(VmDbObject* object);
void onBlockClosed(VmDbBlock* block);

void onGetVersion(HostChar* out);
void onAddCommand(const HostChar* name, const HostChar* lispText, const HostChar* description,
                  const HostChar* moduleName, void* instance, unsigned number);
void onCreateExtensionToolbar(const HostChar* bitmapPath, const HostChar* toolbarName,
                              void* buttons, int count);
void onDisplayMsg(const HostChar* text);
void onDisplayPromptMsg(const HostChar* text);
void onAllowTopMost(bool allow);
void* onGetMainFrameWindow();
void onClearThreadMsgPosted();
bool onIsThreadMsgPosted();
void onGetInputString(HostChar* out);
int onGetInputType();
void onGetInputPoint(double* xyz);
void onSetUserInputMode(int mode, bool useBasePoint, double x, double y, double z);
bool onGetVar(const HostChar* name, HostChar* valueOut);
bool onSetVarInt(const HostChar* name, int value);
bool onSetVarDbl(const HostChar* name, double value);
bool onSetVarString(const HostChar* name, const HostChar* value);
void onRegen();
void onRefresh();
int onGetNumObjects();
/// The slot of the object; negative when there is none.
int onGetObjectIndex(int32_t id);
VmDbObject* onOpenObject(int32_t id, int mode);
VmDbObject* onOpenObjectByIndex(int index, int mode);
int onGetNumBlocks();
VmDbBlock* onOpenBlockByIndex(int index, int mode);
/// These give the new object's id.
int32_t onAddLine(VmDbObject* line, int32_t block);
int32_t onAddPolyline(const VmDbObject* polyline, int32_t block);
void onUpdatePolyline(int id, int vertex, double x, double y);
void onSetWorkingLayerAndLineType(const HostChar* layer, const HostChar* lineType);
void onAddObjectExtDataInt(int id, const HostChar* name, int value, bool flag);
void onAddObjectExtDataDouble(int id, const HostChar* name, double value, bool flag);
void onAddObjectExtDataString(int id, const HostChar* name, const HostChar* value, bool flag);
int onAddSelectionSet();
/// Negative when there is no such set.
int onGetSelectionSetLength(int set);
void onAddObjToSelectionSet(int32_t id, int set);
void onRemoveObjFromSelectionSet(int32_t id, int set);
/// Whether there is such a member; then its id is written.
bool onGetObjFromSelectionSet(int32_t* idOut, int index, int set);
void onAddAllToSelectionSet(int set);
void onAddSelectedToSelectionSet(int set);
}
