// The object classes of the bridge, as the reference host keeps them. See host/bridge.h, objects.h.
// One idea: points and bulges are arrays of the object's own that double when they are full.
// Tests: tests/refhost/geometry_test.cpp.
#include "refhost/model/objects.h"

#include "refhost/model/file_part.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <typeinfo>

namespace {

// Makes room for `needed` values; those that are there stay.
template <class Value>
void reserve(Value*& values, std::int32_t count, std::int32_t& room, std::int32_t needed) {
    if (needed <= room) return;
    auto* const grown = new Value[static_cast<std::size_t>(needed)];
    std::copy_n(values, count, grown);
    delete[] values;
    values = grown;
    room = needed;
}

template <class Value>
void append(Value*& values, std::int32_t& count, std::int32_t& room, const Value& value) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t fewest = 4;
    assert(count < most && "an object is full");
    if (count == room)
        reserve(values, count, room, room > most / 2 ? most : std::max(fewest, 2 * room));
    values[count++] = value;
}

template <class Value> void assign(Value*& values, std::int32_t& count, std::int32_t& room,
                                   const Value* from, std::int32_t fromCount) {
    count = 0;
    reserve(values, count, room, fromCount);
    std::copy_n(from, fromCount, values);
    count = fromCount;
}

using vlisp::refhost::FromFile;

template <class Class> bool isExactly(const VmDbObject& object) noexcept {
    return &typeid(object) == &typeid(Class);
}

// An object as one of a class, or null when it is none. Shortcut: of most objects the very type says
// so, and no bases have to be walked.
template <class Class> const Class* as(const VmDbObject* object) {
    if (object == nullptr) return nullptr;
    if (isExactly<FromFile<Class>>(*object) || isExactly<Class>(*object))
        return static_cast<const Class*>(object);
    return dynamic_cast<const Class*>(object);
}
template <class Class> Class* as(VmDbObject* object) {
    return const_cast<Class*>(as<Class>(static_cast<const VmDbObject*>(object)));
}

// `other` as the class of `self`, or null: it is of another class, or the object itself.
template <class Class> const Class* source(const Class* self, const VmDbObject* other) {
    return other == self ? nullptr : as<Class>(other);
}

// Which of the bridge's classes an object is of: what came from a file is of one derived from it.
const std::type_info& bridgeClassOf(const VmDbObject& object) {
    if (dynamic_cast<const VmDb2DPolyline*>(&object) != nullptr) return typeid(VmDb2DPolyline);
    if (dynamic_cast<const VmDbText*>(&object) != nullptr) return typeid(VmDbText);
    if (dynamic_cast<const VmDbLine*>(&object) != nullptr) return typeid(VmDbLine);
    if (dynamic_cast<const VmDbCircle*>(&object) != nullptr) return typeid(VmDbCircle);
    if (dynamic_cast<const VmDbArc*>(&object) != nullptr) return typeid(VmDbArc);
    if (dynamic_cast<const VmDbBlockRef*>(&object) != nullptr) return typeid(VmDbBlockRef);
    return typeid(object);
}

bool areOfOneClass(const VmDbObject& a, const VmDbObject& b) {
    return typeid(a) == typeid(b) || bridgeClassOf(a) == bridgeClassOf(b);
}

}  // namespace

// --- Points ---

mmPoint::~mmPoint() = default;
VmDbRect::~VmDbRect() = default;

void VmDbPointArr::clear() { count = 0; }

mmPoint& VmDbPointArr::getAt(int index) {
    assert(index >= 0 && index < count && "no such point");
    return points[index];
}

// --- VmDbObject ---

VmDbObject::VmDbObject() = default;
VmDbObject::~VmDbObject() { delete[] points.points; }

void VmDbObject::copyFrom(const VmDbObject* other) {
    if (other == nullptr || other == this) return;
    // The type code tells which class may be assumed, so it never comes from another class.
    if (areOfOneClass(*this, *other)) typeCode = other->typeCode;
    colour = other->colour;
    lineweight = other->lineweight;
    layerName = other->layerName;
    assign(points.points, points.count, points.room, other->points.points, other->points.count);
}

// The bridge hands points over by value.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void VmDbObject::addPoint(mmPoint point) {
    append(points.points, points.count, points.room, point);
}

// --- The classes ---

VmDbLine::VmDbLine() { typeCode = vmDbLine; }
VmDbLine::~VmDbLine() = default;
void VmDbLine::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbLine* VmDbLine::cast(VmDbObject* object) { return as<VmDbLine>(object); }

VmDb2DPolyline::VmDb2DPolyline() { typeCode = vmDbLwPolyline; }
VmDb2DPolyline::~VmDb2DPolyline() { delete[] bulges.values; }
void VmDb2DPolyline::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    if (const auto* from = source(this, other)) {
        closed = from->closed;
        assign(bulges.values, bulges.count, bulges.room, from->bulges.values, from->bulges.count);
    }
}
VmDb2DPolyline* VmDb2DPolyline::cast(VmDbObject* object) { return as<VmDb2DPolyline>(object); }
void VmDb2DPolyline::addBulge(double bulge) {
    append(bulges.values, bulges.count, bulges.room, bulge);
}

VmDbCircle::VmDbCircle() { typeCode = vmDbCircle; }
VmDbCircle::~VmDbCircle() = default;
void VmDbCircle::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    if (const auto* from = source(this, other)) radius = from->radius;
}
VmDbCircle* VmDbCircle::cast(VmDbObject* object) { return as<VmDbCircle>(object); }

VmDbArc::VmDbArc() { typeCode = vmDbArc; }
VmDbArc::~VmDbArc() = default;
void VmDbArc::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    if (const auto* from = source(this, other)) {
        radius = from->radius;
        startAngle = from->startAngle;
        endAngle = from->endAngle;
    }
}
VmDbArc* VmDbArc::cast(VmDbObject* object) { return as<VmDbArc>(object); }

VmDbText::VmDbText() { typeCode = vmDbText; }
VmDbText::~VmDbText() = default;
void VmDbText::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    if (const auto* from = source(this, other)) {
        text = from->text;
        height = from->height;
        rotation = from->rotation;
    }
}
VmDbText* VmDbText::cast(VmDbObject* object) { return as<VmDbText>(object); }

VmDbBlockRef::VmDbBlockRef() { typeCode = vmDbInsert; }
VmDbBlockRef::~VmDbBlockRef() = default;
void VmDbBlockRef::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    if (const auto* from = source(this, other)) {
        blockName = from->blockName;
        xScale = from->xScale;
        yScale = from->yScale;
        rotation = from->rotation;
    }
}
VmDbBlockRef* VmDbBlockRef::cast(VmDbObject* object) { return as<VmDbBlockRef>(object); }

VmDbBlock::VmDbBlock() = default;
VmDbBlock::~VmDbBlock() = default;

// --- Copies ---

namespace vlisp::refhost {
namespace {

template <class Class> std::unique_ptr<VmDbObject> emptyIfOf(const VmDbObject& object) {
    if (isExactly<FromFile<Class>>(object)) return std::make_unique<FromFile<Class>>();
    if (isExactly<Class>(object)) return std::make_unique<Class>();
    return nullptr;
}

template <class Class> std::unique_ptr<VmDbObject> emptyIfDerived(const VmDbObject& object) {
    if (dynamic_cast<const Class*>(&object) == nullptr) return nullptr;
    return std::make_unique<Class>();
}

std::unique_ptr<VmDbObject> emptyCarried(const CarriedObject& carried) {
    auto copy = std::make_unique<CarriedObject>();
    copy->kind = carried.kind;
    copy->figures = carried.figures;
    copy->block = carried.block;
    copy->blockAt = carried.blockAt;
    copy->isShown = carried.isShown;
    return copy;
}

std::unique_ptr<VmDbObject> emptyLike(const VmDbObject& object) {
    if (isExactly<CarriedObject>(object))
        return emptyCarried(static_cast<const CarriedObject&>(object));
    using Maker = std::unique_ptr<VmDbObject> (*)(const VmDbObject&);
    // What is of no class that the host makes is a module's own.
    constexpr Maker makers[] = {emptyIfOf<VmDbLine>,        emptyIfOf<VmDb2DPolyline>,
                                emptyIfOf<VmDbCircle>,      emptyIfOf<VmDbArc>,
                                emptyIfOf<VmDbText>,        emptyIfOf<VmDbBlockRef>,
                                emptyIfDerived<VmDbLine>,   emptyIfDerived<VmDb2DPolyline>,
                                emptyIfDerived<VmDbCircle>, emptyIfDerived<VmDbArc>,
                                emptyIfDerived<VmDbText>,   emptyIfDerived<VmDbBlockRef>};
    for (const Maker make : makers)
        if (auto made = make(object)) return made;
    return std::make_unique<VmDbObject>();
}

}  // namespace

FilePart::~FilePart() = default;

FilePart* filePartOf(VmDbObject& object) noexcept { return dynamic_cast<FilePart*>(&object); }

const FilePart* filePartOf(const VmDbObject& object) noexcept {
    return dynamic_cast<const FilePart*>(&object);
}

std::unique_ptr<VmDbObject> clone(const VmDbObject& object) {
    std::unique_ptr<VmDbObject> copy = emptyLike(object);
    copy->copyFrom(&object);
    copy->typeCode = object.typeCode;
    copy->id = object.id;
    copy->erased = object.erased;
    if (const FilePart* from = filePartOf(object)) *filePartOf(*copy) = *from;
    return copy;
}

}  // namespace vlisp::refhost
