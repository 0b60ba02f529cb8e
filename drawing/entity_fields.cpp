// The table of entity kinds and their fields. See entity_fields.h.
#include "drawing/entity_fields.h"

namespace vlisp {
namespace {

template <class Class, double Class::*member> double& number(VmDbObject& object) {
    return static_cast<Class&>(object).*member;
}

template <class Class, VmDbString Class::*member> VmDbString& string(VmDbObject& object) {
    return static_cast<Class&>(object).*member;
}

template <class Class> VmDbObject* castTo(VmDbObject* object) { return Class::cast(object); }

// On purpose: polylines are taken on their type code alone.
VmDbObject* asItIs(VmDbObject* object) { return object; }

constexpr EntityField nameField{-1, FieldKind::name};
constexpr EntityField typeField{0, FieldKind::type};
constexpr EntityField spaceField{67, FieldKind::space};
constexpr EntityField layerField{8, FieldKind::layer};
constexpr EntityField colourField{62, FieldKind::colour};
constexpr EntityField lineweightField{370, FieldKind::lineweight};
constexpr EntityField originField{10, FieldKind::origin};

constexpr EntityField realField(std::int32_t code, double& (*member)(VmDbObject&),
                                FileUnit fileUnit = FileUnit::same) {
    return {code, FieldKind::real, true, member, nullptr, fileUnit};
}

constexpr EntityField degreesField(std::int32_t code, double& (*member)(VmDbObject&)) {
    return {code, FieldKind::degrees, true, member, nullptr};
}

// The rows stand in the order in which a list has them. On purpose: space and lineweight stand
// elsewhere in polylines than in the other kinds, and texts have no lineweight.

constexpr EntityField lineFields[] = {
    nameField,       typeField, spaceField, layerField, colourField, {10, FieldKind::points},
    lineweightField,
};

constexpr EntityField circleFields[] = {
    nameField,
    typeField,
    spaceField,
    layerField,
    colourField,
    originField,
    realField(40, number<VmDbCircle, &VmDbCircle::radius>),
    lineweightField,
};

constexpr EntityField arcFields[] = {
    nameField,
    typeField,
    spaceField,
    layerField,
    colourField,
    originField,
    realField(40, number<VmDbArc, &VmDbArc::radius>),
    realField(50, number<VmDbArc, &VmDbArc::startAngle>, FileUnit::degrees),
    realField(51, number<VmDbArc, &VmDbArc::endAngle>, FileUnit::degrees),
    lineweightField,
};

constexpr EntityField lwPolylineFields[] = {
    nameField,
    typeField,
    layerField,
    lineweightField,
    spaceField,
    colourField,
    {90, FieldKind::pointCount},
    {70, FieldKind::closed, true},
    {10, FieldKind::vertices},
    {42, FieldKind::bulge, true},
};

// On purpose: neither closed flag nor bulges of this kind can be changed.
constexpr EntityField polylineFields[] = {
    nameField,
    typeField,
    layerField,
    lineweightField,
    spaceField,
    colourField,
    {90, FieldKind::pointCount},
    {70, FieldKind::closed},
    {10, FieldKind::points},
};

constexpr EntityField insertFields[] = {
    nameField,
    typeField,
    spaceField,
    layerField,
    {2, FieldKind::blockName, false, nullptr, string<VmDbBlockRef, &VmDbBlockRef::blockName>},
    colourField,
    originField,
    realField(41, number<VmDbBlockRef, &VmDbBlockRef::xScale>),
    realField(42, number<VmDbBlockRef, &VmDbBlockRef::yScale>),
    degreesField(50, number<VmDbBlockRef, &VmDbBlockRef::rotation>),
    lineweightField,
};

constexpr EntityField textFields[] = {
    nameField,
    typeField,
    spaceField,
    layerField,
    colourField,
    originField,
    realField(40, number<VmDbText, &VmDbText::height>),
    {1, FieldKind::text, true, nullptr, string<VmDbText, &VmDbText::text>},
    degreesField(50, number<VmDbText, &VmDbText::rotation>),
};

constexpr EntityKind kinds[] = {
    {vmDbLwPolyline, u"LWPOLYLINE", asItIs, lwPolylineFields, "AcDbPolyline"},
    {vmDbCircle, u"CIRCLE", castTo<VmDbCircle>, circleFields, "AcDbCircle"},
    {vmDbArc, u"ARC", castTo<VmDbArc>, arcFields, "AcDbArc"},
    {vmDbLine, u"LINE", castTo<VmDbLine>, lineFields, "AcDbLine"},
    {vmDbPolyline, u"POLYLINE", asItIs, polylineFields, "AcDb2dPolyline"},
    {vmDbInsert, u"INSERT", castTo<VmDbBlockRef>, insertFields, "AcDbBlockReference"},
    {vmDbText, u"TEXT", castTo<VmDbText>, textFields, "AcDbText"},
    {vmDbMText, u"MTEXT", castTo<VmDbText>, textFields, "AcDbMText"},
};

}  // namespace

std::span<const EntityKind> entityKinds() noexcept { return kinds; }

const EntityKind* findEntityKind(std::u16string_view typeText) noexcept {
    for (const EntityKind& kind : kinds)
        if (kind.typeText == typeText) return &kind;
    return nullptr;
}

const EntityKind* findEntityKind(std::int32_t typeCode) noexcept {
    for (const EntityKind& kind : kinds)
        if (kind.typeCode == typeCode) return &kind;
    return nullptr;
}

}  // namespace vlisp
