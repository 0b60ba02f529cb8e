// The host bridge: what the host's executable exports to the extension.
// One idea: these declarations are the whole contract with a host, and the only way from the
// extension to it. The reference host and the recording host of the tests implement the same.
// Tests: every program of tests/host/ is linked with nothing else of a host; tests/module/ loads the
// built module and compares what it leaves open with this list.
//
// Texts are zero-terminated UTF-16 and belong to the caller; the host copies what it keeps. An
// `out` argument is written by the host; a host that has nothing to say may leave it as it was.
// Ids are signed 32-bit numbers, never reused; -1 stands for none.
//
// The header has two readings. A compiler for the Microsoft ABI sees the types whose names enter the
// decorated names of the functions, and needs no library for them; every other sees ours. Nothing is
// marked for import or export: how the names are bound is the build's business.
#pragma once

#include "host/object_types.h"

#if defined(_MSC_VER)
#include <stddef.h>
#include <stdint.h>
#else
#include "platform/window.h"

#include <cstddef>
#include <cstdint>
#endif

// --- Types of the contract ---------------------------------------------------------------------

#if defined(_MSC_VER)

struct HWND__;
struct HINSTANCE__;

using HostChar = wchar_t;
using HostLong = long;
using HostWindow = HWND__*;
using ModuleHandle = HINSTANCE__*;
#define ToolbarButton _TBBUTTON

#else

/// A unit of UTF-16.
using HostChar = char16_t;

/// A `long` of the host: 32 bits.
using HostLong = int32_t;

/// The main frame window.
using HostWindow = vlisp::platform::WindowHandle;

/// What AddCommand identifies the module's image by. Opaque to the host.
using ModuleHandle = void*;

#endif

static_assert(sizeof(HostChar) == 2 && sizeof(HostLong) == 4);

/// A button of a toolbar.
struct ToolbarButton {
    int32_t image = 0;    ///< position of its picture in the toolbar's bitmap
    int32_t command = 0;  ///< number of the command that it starts
    uint8_t state = 0;    ///< 4: enabled
    uint8_t style = 0;    ///< 0: a push button
    uint8_t reserved[6] = {};
    uintptr_t data = 0;
    intptr_t text = 0;
};

/// A point in space, in drawing units.
class mmPoint {
  public:
    mmPoint() noexcept : mmPoint(0, 0, 0) {}
    mmPoint(double px, double py, double pz) noexcept : x(px), y(py), z(pz) {}
    mmPoint(const mmPoint&) noexcept = default;
    mmPoint& operator=(const mmPoint&) noexcept = default;
    ~mmPoint();

    double x;
    double y;
    double z;
};

/// An upright rectangle in the plane, in drawing units. Its members in the order in which LISP
/// reports them.
class VmDbRect {
  public:
    VmDbRect() noexcept : VmDbRect(0, 0, 0, 0) {}
    VmDbRect(double l, double b, double r, double t) noexcept
        : left(l), bottom(b), right(r), top(t) {}
    VmDbRect(const VmDbRect&) noexcept = default;
    VmDbRect& operator=(const VmDbRect&) noexcept = default;
    ~VmDbRect();

    double left;
    double bottom;
    double right;
    double top;
};

/// A text held in an object of the host: any length, never null.
class VmDbString {
  public:
    VmDbString() noexcept = default;
    VmDbString(const VmDbString& other) { assign(other.units(), other.length()); }
    VmDbString& operator=(const VmDbString& other) {
        if (this != &other) assign(other.units(), other.length());
        return *this;
    }
    ~VmDbString() { delete[] units_; }

    /// The text with its terminating zero; valid until it is assigned.
    [[nodiscard]] const HostChar* units() const noexcept {
        return units_ != nullptr ? units_ : &noUnits;
    }
    [[nodiscard]] size_t length() const noexcept { return length_; }

    /// Replaces the text by `length` units, of which none is zero.
    void assign(const HostChar* text, size_t length) {
        HostChar* copy = length == 0 ? nullptr : new HostChar[length + 1];
        for (size_t i = 0; i < length; ++i) copy[i] = text[i];
        if (copy != nullptr) copy[length] = 0;
        delete[] units_;
        units_ = copy;
        length_ = static_cast<uint32_t>(length);
    }

  private:
    static constexpr HostChar noUnits = 0;

    HostChar* units_ = nullptr;
    uint32_t length_ = 0;
};

/// The points of an object, in order. Made and kept by the host.
class VmDbPointArr {
  public:
    VmDbPointArr() noexcept = default;
    VmDbPointArr(const VmDbPointArr&) = delete;
    VmDbPointArr& operator=(const VmDbPointArr&) = delete;

    int32_t count = 0;

    /// Removes all points.
    void clear();
    /// Point `index`, counted from 0; must be below count.
    mmPoint& getAt(int index);

    // Where the host keeps them.
    mmPoint* points = nullptr;
    int32_t room = 0;
};

/// A list of numbers held in an object: the bulges of a polyline, one for each vertex. Kept by the
/// host. A bulge is the tangent of a quarter of the angle that the segment's arc spans.
class VmDbRealArr {
  public:
    VmDbRealArr() noexcept = default;
    VmDbRealArr(const VmDbRealArr&) = delete;
    VmDbRealArr& operator=(const VmDbRealArr&) = delete;

    int32_t count = 0;
    double* values = nullptr;
    int32_t room = 0;
};

// --- Object classes ----------------------------------------------------------------------------

/// An object of the drawing. What a module reads or writes is here and in the classes below; an
/// object that was opened for reading must not be changed.
class VmDbObject {
  public:
    VmDbObject();
    VmDbObject(const VmDbObject&) = delete;
    VmDbObject& operator=(const VmDbObject&) = delete;
    virtual ~VmDbObject();

    /// Gives an opened object back to the host. Every opened object is closed exactly once, by
    /// whoever opened it; the pointer is then no longer valid.
    virtual void close();
    /// Takes over everything but id and erased flag from another object of the same class.
    virtual void copyFrom(const VmDbObject* other);

    /// Appends a point.
    void addPoint(mmPoint point);
    /// The rectangle around the object; both arguments are 0.0.
    VmDbRect getExtent(double, double);

    HostLong id = -1;
    int32_t typeCode = 0;
    int32_t colour = 256;     ///< colour index; 256 by layer
    int32_t lineweight = -1;  ///< hundredths of a millimetre; -1 not set
    VmDbPointArr points;
    VmDbString layerName;
    uint8_t erased = 0;  ///< not 0: erased
};

/// A straight line between its two points.
class VmDbLine : public VmDbObject {
  public:
    VmDbLine();
    ~VmDbLine() override;
    void close() override;
    void copyFrom(const VmDbObject* other) override;
    /// `object` as a line, or null when it is none.
    static VmDbLine* cast(VmDbObject* object);
};

/// A polyline; its vertices are its points.
class VmDb2DPolyline : public VmDbObject {
  public:
    VmDb2DPolyline();
    ~VmDb2DPolyline() override;
    void close() override;
    void copyFrom(const VmDbObject* other) override;
    static VmDb2DPolyline* cast(VmDbObject* object);
    /// Appends to the bulge list.
    void addBulge(double bulge);

    uint8_t closed = 0;  ///< 1: the last vertex is joined to the first
    VmDbRealArr bulges;  ///< empty: every segment is straight
};

/// A circle; its centre is point 0.
class VmDbCircle : public VmDbObject {
  public:
    VmDbCircle();
    ~VmDbCircle() override;
    void copyFrom(const VmDbObject* other) override;
    static VmDbCircle* cast(VmDbObject* object);

    double radius = 0;
};

/// A circular arc, counter-clockwise; its centre is point 0.
class VmDbArc : public VmDbObject {
  public:
    VmDbArc();
    ~VmDbArc() override;
    void copyFrom(const VmDbObject* other) override;
    static VmDbArc* cast(VmDbObject* object);

    double radius = 0;
    double startAngle = 0;  ///< radians
    double endAngle = 0;    ///< radians
};

/// A text of one line or of several; its insertion point is point 0.
class VmDbText : public VmDbObject {
  public:
    VmDbText();
    ~VmDbText() override;
    void copyFrom(const VmDbObject* other) override;
    static VmDbText* cast(VmDbObject* object);

    VmDbString text;
    double height = 0;
    double rotation = 0;  ///< degrees
};

/// A placed block; its insertion point is point 0.
class VmDbBlockRef : public VmDbObject {
  public:
    VmDbBlockRef();
    ~VmDbBlockRef() override;
    void copyFrom(const VmDbObject* other) override;
    static VmDbBlockRef* cast(VmDbObject* object);

    VmDbString blockName;
    double xScale = 1;
    double yScale = 1;
    double rotation = 0;  ///< degrees
};

/// A block definition.
class VmDbBlock {
  public:
    VmDbBlock();
    VmDbBlock(const VmDbBlock&) = delete;
    VmDbBlock& operator=(const VmDbBlock&) = delete;
    ~VmDbBlock();

    /// Gives an opened block back to the host.
    void close();

    HostLong id = -1;
    VmDbString name;
    int16_t flags = 0;
    double baseX = 0;
    double baseY = 0;
};

// --- Version and commands. Thread: the user interface's ------------------------------------------

/// Writes the host's version, such as "2.0"; at most 299 units.
void GetVersion(HostChar* out);

/// Registers a host command. `name` is what the user types; `lispText` is what the host hands back
/// when the command runs, empty for a command that the module exports under its name or that the host
/// has already, as a menu's button: what was registered before is then kept, otherwise replaced; `description` is for people; `moduleName` and `instance` name the owner; `number` is
/// attached to the command, 0 for none. Thread: any that evaluates.
void AddCommand(const HostChar* name, const HostChar* lispText, const HostChar* description,
                const HostChar* moduleName, ModuleHandle instance, unsigned number);

/// Makes a toolbar of `count` buttons whose pictures are in the bitmap file.
void CreateExtensionToolbar(const HostChar* bitmapPath, const HostChar* toolbarName,
                            ToolbarButton* buttons, int count);

// --- Messages and prompts ------------------------------------------------------------------------

/// Shows a line on the command line. Thread: any.
void DisplayMsg(const HostChar* text);

/// Shows a prompt: the line that the user types next answers it. Thread: the user interface's.
void DisplayPromptMsg(const HostChar* text);

/// Lets a dialog of the module come above the host's top-most windows: true before, false after.
void AllowTopMost(bool allow);

// --- Handshake -----------------------------------------------------------------------------------

/// Writes the handle of the main frame window. Called on the user-interface thread: once during
/// start-up, and then each time before a thread that evaluates is started. So each call after
/// start-up announces an evaluation, whose end is a request of kind 2.
void GetMainFrameWindow(HostWindow& out);

/// Forgets that a message has been taken. Thread: the one that is about to post.
void ClearThreadMsgPosted();

/// Writes whether the message posted last has been taken off the queue. Thread: the one that
/// posted; asked in a tight loop.
void IsThreadMsgPosted(bool& out);

// --- Input. Thread: the user interface's -----------------------------------------------------------

/// Writes the last typed line, or the LISP text of the command that runs; fewer than 32,768 units.
void GetInputString(HostChar* out);

/// Writes 0 if the last input was typed text, something else if a point was picked.
void GetInputType(int& out);

/// Writes the point picked last.
void GetInputPoint(double& x, double& y, double& z);

/// Says what the next input is to be: `mode` 1 a point, with a line from the base point to the
/// cursor if `useBasePoint`.
void SetUserInputMode(int mode, bool useBasePoint, double x, double y, double z);

// --- System variables. Thread: any that evaluates ------------------------------------------------

/// Writes the value of a variable as text, fewer than 32,768 units: a number, a text in double
/// quotes, or a point as its coordinates with commas. `ok` is false, and nothing is written, when
/// there is no such variable.
void GetVar(const HostChar* name, HostChar* valueOut, bool& ok);

// Set a variable. `ok` is false, and nothing changes, when there is no such variable, when it is
// read-only, or when it does not take this value.
void SetVarInt(const HostChar* name, int value, bool& ok);
void SetVarDbl(const HostChar* name, double value, bool& ok);
void SetVarString(const HostChar* name, const HostChar* value, bool& ok);

// --- Display. Thread: any that evaluates -----------------------------------------------------------

/// Regenerates the drawing from its database.
void Regen();
/// Repaints the view.
void Refresh();

// --- Drawing objects. Thread: any, one at a time ---------------------------------------------------

/// Writes the number of object slots. A slot may be empty, or its object erased.
void GetNumObjects(int& out);
/// Writes the slot of the object with this id.
void GetObjectIndex(HostLong id, int& indexOut);
/// Opens an object, `mode` 0 to read and 1 to change it; null when there is none. An erased object
/// opens.
void vmdbOpenObject(VmDbObject*& out, HostLong id, int mode);
void vmdbOpenObjectByIndex(VmDbObject*& out, int index, int mode);
/// Writes the number of blocks in the block table.
void GetNumBlocks(int& out);
void vmdbOpenBlockByIndex(int index, VmDbBlock*& out, int mode);

// --- Adding to the drawing. Thread: the user interface's -------------------------------------------

// Add an object to the drawing, in the working layer, and write its id into the object given. The
// second argument is -1.
/// The host takes the line over.
void addLine(VmDbLine* line, HostLong);
/// The host takes a copy; the polyline stays the caller's.
void addPolyline(VmDb2DPolyline* polyline, HostLong);
/// Moves a vertex of a polyline of the drawing; vertex -1 appends one.
void updatePolyline(int id, int vertex, double x, double y);
/// Sets the layer and line type of what is added next; empty texts leave what is current.
void setWorkingLayerAndLineType(const HostChar* layer, const HostChar* lineType, int& out);

// Attach a named value to an object, or replace it.
void addObjectExtDataInt(int id, const HostChar* name, int value, bool);
void addObjectExtDataDouble(int id, const HostChar* name, double value, bool);
void addObjectExtDataString(int id, const HostChar* name, const HostChar* value, bool);

// --- Selection sets. Thread: any that evaluates ------------------------------------------------------

/// Makes an empty set and writes its number.
void addSelectionSet(int& idOut);
void getSelectionSetLength(int& out, int set);
/// Adds an object, unless it is a member.
void addObjToSelectionSet(HostLong id, int set);
void removeObjFromSelectionSet(HostLong id, int set);
/// Writes the id of the member at a position, counted from 0.
void getObjFromSelectionSet(HostLong& idOut, int index, int set);
/// Adds every object of the drawing that is not erased.
void addAllToSelectionSet(int set);
/// Adds what the user selected last.
void addSelectedToSelectionSet(int set);
