// ENTMOD. See entity_modification.h.
#include "drawing/entity_modification.h"

#include "builtins/arguments.h"
#include "drawing/entity_fields.h"
#include "drawing/entity_names.h"

namespace vlisp {
namespace {

constexpr double degreesPerRadian = 57.29577951308232;

// On purpose: numbers are read from the field that a value of the right type has, whatever the
// type is: an Integer where a Real belongs counts as 0.0.

// The group code of an entry; 0, which no rule has, for what is not a list of at least a code.
std::int32_t codeOf(const Cell& entry) noexcept {
    if (!entry.is(CellType::List) || entry.items().empty()) return 0;
    return entry.items()[0].intValue();
}

// The value of a dotted entry, its third element; null for an entry that is too short.
const Cell* valueOf(const Cell& entry) noexcept {
    return entry.items().size() < 3 ? nullptr : &entry.items()[2];
}

// A text ends at its first zero unit.
void assign(HostObject* object, HostString member, const Cell& value) {
    const std::u16string_view text = value.text().substr(0, value.text().find(u'\0'));
    // Most programs hand back most of what they got.
    const HostText held = hostText(object, member);
    if (text == std::u16string_view(held.units, held.length)) return;
    hostSetText(object, member, text.data(), text.size());
}

void addPoint(HostObject* object, Items entry) {
    if (entry.size() < 3) return;
    const double z = entry.size() > 3 ? entry[3].realValue() : 0.0;
    hostAddPoint(object, entry[1].realValue(), entry[2].realValue(), z);
}

// What an entry does to an object of any kind.
void applyCommonRule(HostObject* object, std::int32_t code, const Cell& entry) {
    if (code == 10) return addPoint(object, entry.items());
    const Cell* value = valueOf(entry);
    if (value == nullptr) return;
    if (code == 8) assign(object, HostString::layer, *value);
    if (code == 62) hostSetColour(object, value->intValue());
    if (code == 370) hostSetLineweight(object, value->intValue());
}

// A polyline is read on its type code alone, but written only when it is of the class.
void write(HostObject* object, const EntityField& field, const Cell& value) {
    switch (field.kind) {
    case FieldKind::text: return assign(object, field.string, value);
    case FieldKind::real: *hostNumber(object, field.number) = value.realValue(); return;
    case FieldKind::degrees:
        *hostNumber(object, field.number) = value.realValue() * degreesPerRadian;
        return;
    case FieldKind::bulge:
        if (HostObject* polyline = hostAsPolyline(object))
            hostAddBulge(polyline, value.realValue());
        return;
    case FieldKind::closed:
        if (HostObject* polyline = hostAsPolyline(object))
            hostSetClosed(polyline, value.intValue() != 0);
        return;
    default: return;
    }
}

// What an entry does to an object of this kind besides.
void applyKindsRule(HostObject* object, const EntityKind& kind, std::int32_t code,
                    const Cell& entry) {
    for (const EntityField& field : kind.fields) {
        if (!field.writable || field.code != code) continue;
        const Cell* value = valueOf(entry);
        if (value == nullptr) return;
        if (HostObject* asItsClass = kind.cast(object)) write(asItsClass, field, *value);
        return;
    }
}

// The value of the entry with code -1, which must be the first or the second; null without one.
const Cell* nameIn(Items entries) noexcept {
    const Cell* name = nullptr;
    for (const Cell& entry : entries.first(2))
        if (codeOf(entry) == -1 && valueOf(entry) != nullptr) name = valueOf(entry);
    return name;
}

}  // namespace

Cell entmod(Arguments arguments) {
    if (!has(arguments, 0, CellType::List) || arguments[0].items().size() < 2) return NilCell;
    const Items entries = arguments[0].items();
    const Cell* name = nameIn(entries);
    if (name == nullptr) return NilCell;
    const OpenObject object = OpenObject::byId(idOf(*name), OpenMode::change);
    if (!object) return NilCell;

    const EntityKind* kind = findEntityKind(object.data().typeCode);
    hostClearPoints(object.get());
    for (const Cell& entry : entries) {
        const std::int32_t code = codeOf(entry);
        if (code == 0) continue;
        applyCommonRule(object.get(), code, entry);
        if (kind != nullptr) applyKindsRule(object.get(), *kind, code, entry);
    }
    return NilCell;
}

}  // namespace vlisp
