// The table of entity kinds and their fields. See entity_fields.h.
#include "drawing/entity_fields.h"

namespace vlisp {
namespace {

// On purpose: polylines are taken on their type code alone.
HostObject* asItIs(HostObject* object) { return object; }

constexpr EntityField nameField{-1, FieldKind::name};
constexpr EntityField typeField{0, FieldKind::type};
constexpr EntityField spaceField{67, FieldKind::space};
constexpr EntityField layerField{8, FieldKind::layer};
constexpr EntityField colourField{62, FieldKind::colour};
constexpr EntityField lineweightField{370, FieldKind::lineweight};
constexpr EntityField originField{10, FieldKind::origin};

constexpr EntityField realField(std::int32_t code, HostNumber number,
                                FileUnit fileUnit = FileUnit::same) {
    return {code, FieldKind::real, true, number, HostString::none, fileUnit};
}

constexpr EntityField degreesField(std::int32_t code, HostNumber number) {
    return {code, FieldKind::degrees, true, number};
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
    realField(40, HostNumber::circleRadius),
    lineweightField,
};

constexpr EntityField arcFields[] = {
    nameField,
    typeField,
    spaceField,
    layerField,
    colourField,
    originField,
    realField(40, HostNumber::arcRadius),
    realField(50, HostNumber::arcStart, FileUnit::degrees),
    realField(51, HostNumber::arcEnd, FileUnit::degrees),
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
    {2, FieldKind::blockName, false, HostNumber::none, HostString::blockName},
    colourField,
    originField,
    realField(41, HostNumber::insertXScale),
    realField(42, HostNumber::insertYScale),
    degreesField(50, HostNumber::insertRotation),
    lineweightField,
};

constexpr EntityField textFields[] = {
    nameField,
    typeField,
    spaceField,
    layerField,
    colourField,
    originField,
    realField(40, HostNumber::textHeight),
    {1, FieldKind::text, true, HostNumber::none, HostString::text},
    degreesField(50, HostNumber::textRotation),
};

constexpr EntityKind kinds[] = {
    {vmDbLwPolyline, u"LWPOLYLINE", asItIs, lwPolylineFields, "AcDbPolyline"},
    {vmDbCircle, u"CIRCLE", hostAsCircle, circleFields, "AcDbCircle"},
    {vmDbArc, u"ARC", hostAsArc, arcFields, "AcDbArc"},
    {vmDbLine, u"LINE", hostAsLine, lineFields, "AcDbLine"},
    {vmDbPolyline, u"POLYLINE", asItIs, polylineFields, "AcDb2dPolyline"},
    {vmDbInsert, u"INSERT", hostAsBlockRef, insertFields, "AcDbBlockReference"},
    {vmDbText, u"TEXT", hostAsText, textFields, "AcDbText"},
    {vmDbMText, u"MTEXT", hostAsText, textFields, "AcDbMText"},
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
