// ENTGET. See entity_data.h.
#include "drawing/entity_data.h"

#include "builtins/arguments.h"
#include "drawing/entity_fields.h"
#include "drawing/entity_names.h"

namespace vlisp {
namespace {

Cell textCell(const VmDbString& text) {
    return Cell::string(std::u16string_view(text.units(), text.length()));
}

// Builds the list of one entity, field by field.
class DataList {
  public:
    DataList(VmDbObject& object, HostLong id) : object_(object), id_(id) {}

    Cell build(const EntityKind& kind) {
        for (const EntityField& field : kind.fields) append(kind, field);
        return Cell::list(entries_.take());
    }

  private:
    void append(const EntityKind& kind, const EntityField& field) {
        switch (field.kind) {
        case FieldKind::name: return add(field, entityName(id_));
        case FieldKind::type: return add(field, Cell::string(kind.typeText));
        case FieldKind::space: return add(field, Cell::integer(0));
        case FieldKind::layer: return add(field, textCell(object_.layerName));
        case FieldKind::colour:
            if (object_.colour != colourByLayer) add(field, Cell::integer(object_.colour));
            return;
        case FieldKind::lineweight:
            if (object_.lineweight != lineweightNotSet)
                add(field, Cell::integer(object_.lineweight));
            return;
        case FieldKind::origin: return appendOrigin(field);
        case FieldKind::points: return appendPoints(field);
        case FieldKind::vertices: return appendVertices(field);
        case FieldKind::pointCount: return add(field, Cell::integer(object_.points.count));
        case FieldKind::closed: return add(field, Cell::integer(polyline().closed != 0 ? 1 : 0));
        case FieldKind::bulge: return;  // comes with the vertices
        case FieldKind::real: return add(field, Cell::real(field.number(object_)));
        case FieldKind::degrees:
            return add(field, Cell::real(field.number(object_) * 3.141592653589793 / 180.0));
        case FieldKind::text:
        case FieldKind::blockName: return add(field, textCell(field.string(object_)));
        }
    }

    void add(const EntityField& field, Cell value) {
        entries_.push(groupEntry(field.code, std::move(value)));
    }

    void appendOrigin(const EntityField& field) {
        // An object that has lost its points stands at the origin.
        double x = 0;
        double y = 0;
        if (object_.points.count > 0) {
            const mmPoint& point = object_.points.getAt(0);
            x = point.x;
            y = point.y;
        }
        entries_.push(
            Cell::list({Cell::integer(field.code), Cell::real(x), Cell::real(y), Cell::real(0.0)}));
    }

    void appendPoints(const EntityField& field) {
        for (int i = 0; i < object_.points.count; ++i) {
            const mmPoint& point = object_.points.getAt(i);
            entries_.push(Cell::list({Cell::integer(field.code), Cell::real(point.x),
                                      Cell::real(point.y), Cell::real(point.z)}));
        }
    }

    void appendVertices(const EntityField& field) {
        const VmDbRealArr& bulges = polyline().bulges;
        for (int i = 0; i < object_.points.count; ++i) {
            const mmPoint& point = object_.points.getAt(i);
            entries_.push(
                Cell::list({Cell::integer(field.code), Cell::real(point.x), Cell::real(point.y)}));
            // A list of bulges that is too short counts as continued by straight segments.
            if (bulges.count > 0)
                entries_.push(groupEntry(42, Cell::real(i < bulges.count ? bulges.values[i] : 0)));
        }
    }

    VmDb2DPolyline& polyline() const noexcept { return static_cast<VmDb2DPolyline&>(object_); }

    VmDbObject& object_;
    HostLong id_;
    SliceBuilder<Cell> entries_;
};

}  // namespace

Cell groupEntry(std::int32_t code, Cell value) {
    return Cell::list({Cell::integer(code), DotCell, std::move(value)});
}

Cell entget(Arguments arguments) {
    if (!has(arguments, 0, CellType::EntityName)) return NilCell;
    const HostLong id = idOf(arguments[0]);
    const OpenObject object = OpenObject::byId(id, OpenMode::read);
    if (!object) return NilCell;
    const EntityKind* kind = findEntityKind(object->typeCode);
    if (kind == nullptr) return NilCell;
    VmDbObject* asItsClass = kind->cast(&*object);
    if (asItsClass == nullptr) return NilCell;
    return DataList(*asItsClass, id).build(*kind);
}

}  // namespace vlisp
