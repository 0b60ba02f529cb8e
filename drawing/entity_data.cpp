// ENTGET. See entity_data.h.
#include "drawing/entity_data.h"

#include "builtins/arguments.h"
#include "drawing/entity_fields.h"
#include "drawing/entity_names.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace vlisp {
namespace {

std::u16string_view viewOf(const HostText& text) noexcept { return {text.units, text.length}; }

Cell textCell(const HostText& text) { return Cell::string(viewOf(text)); }

// Entries that many lists have in common, as cells that those lists share. Made when the module is
// loaded, so that they outlive the threads that use them.
class SharedEntries {
  public:
    SharedEntries() : space_(entry(67, Cell::integer(0))) {
        for (const EntityKind& kind : entityKinds())
            types_.push_back(entry(0, Cell::string(kind.typeText)));
    }

    [[nodiscard]] const Cell& space() const noexcept { return space_; }
    [[nodiscard]] const Cell& type(const EntityKind& kind) const noexcept {
        return types_[static_cast<std::size_t>(&kind - entityKinds().data())];
    }

    // Shortcut: the entities of a drawing lie on a few layers. A name that is not among the last ones
    // takes the place of another.
    Cell layer(const HostText& name) {
        const std::u16string_view text = viewOf(name);
        if (text.empty() || text.size() > longestLayer) return entry(8, textCell(name));
        Cell& place = layers_[placeOf(text)];
        if (place.items().empty() || place.items()[2].text() != text)
            place = entry(8, textCell(name));
        return place;
    }

  private:
    static constexpr std::size_t longestLayer = 64;

    // The constant of the dot may be made later than these.
    Cell entry(std::int32_t code, Cell value) const {
        return Cell::list({Cell::integer(code), dot_, std::move(value)});
    }

    // Names of a drawing differ most at their ends.
    static std::size_t placeOf(std::u16string_view text) noexcept {
        std::size_t hash = text.size();
        for (const char16_t unit : text.substr(text.size() - std::min<std::size_t>(text.size(), 4)))
            hash = hash * 31 + unit;
        return hash % std::tuple_size_v<decltype(layers_)>;
    }

    Cell dot_ = Cell::symbol(u".");
    Cell space_;
    std::vector<Cell> types_;  // in the order of the kinds
    std::array<Cell, 64> layers_;
};

SharedEntries sharedEntries;

// Builds the list of one entity, field by field.
class DataList {
  public:
    // `name` is the entity name that the object was asked for by.
    DataList(HostObject* object, const HostObjectData& data, HostId id, const Cell& name)
        : object_(object), data_(data), id_(id), name_(name) {}

    Cell build(const EntityKind& kind) {
        entries_ = SliceBuilder<Cell>(kind.fields.size() +
                                      static_cast<std::size_t>(std::max(data_.pointCount, 0)));
        for (const EntityField& field : kind.fields) append(kind, field);
        return Cell::list(entries_.take());
    }

  private:
    using Point = std::array<double, 3>;

    void append(const EntityKind& kind, const EntityField& field) {
        switch (field.kind) {
        case FieldKind::name: return appendName(field);
        case FieldKind::type: return entries_.push(sharedEntries.type(kind));
        case FieldKind::space: return entries_.push(sharedEntries.space());
        case FieldKind::layer: return entries_.push(sharedEntries.layer(data_.layer));
        case FieldKind::colour:
            if (data_.colour != colourByLayer) add(field, Cell::integer(data_.colour));
            return;
        case FieldKind::lineweight:
            if (data_.lineweight != lineweightNotSet) add(field, Cell::integer(data_.lineweight));
            return;
        case FieldKind::origin: return appendOrigin(field);
        case FieldKind::points: return appendPoints(field);
        case FieldKind::vertices: return appendVertices(field);
        case FieldKind::pointCount: return add(field, Cell::integer(data_.pointCount));
        case FieldKind::closed: return add(field, Cell::integer(hostIsClosed(object_) ? 1 : 0));
        case FieldKind::bulge: return;  // comes with the vertices
        case FieldKind::real: return add(field, Cell::real(*hostNumber(object_, field.number)));
        case FieldKind::degrees:
            return add(field,
                       Cell::real(*hostNumber(object_, field.number) * 3.141592653589793 / 180.0));
        case FieldKind::text:
        case FieldKind::blockName: return add(field, textCell(hostText(object_, field.string)));
        }
    }

    void add(const EntityField& field, Cell value) {
        entries_.push(groupEntry(field.code, std::move(value)));
    }

    // The given name again, unless a program spelled the number otherwise.
    void appendName(const EntityField& field) {
        const HandleText text(id_);
        add(field, name_.text() == text.view() ? name_ : entityName(id_));
    }

    void appendOrigin(const EntityField& field) {
        // An object that has lost its points stands at the origin.
        const Point point = data_.pointCount > 0 ? pointAt(0) : Point{};
        entries_.push(Cell::list({Cell::integer(field.code), Cell::real(point[0]),
                                  Cell::real(point[1]), Cell::real(0.0)}));
    }

    void appendPoints(const EntityField& field) {
        for (int i = 0; i < data_.pointCount; ++i) {
            const Point point = pointAt(i);
            entries_.push(Cell::list({Cell::integer(field.code), Cell::real(point[0]),
                                      Cell::real(point[1]), Cell::real(point[2])}));
        }
    }

    void appendVertices(const EntityField& field) {
        const HostBulges bulges = hostGetBulges(object_);
        for (int i = 0; i < data_.pointCount; ++i) {
            const Point point = pointAt(i);
            entries_.push(Cell::list(
                {Cell::integer(field.code), Cell::real(point[0]), Cell::real(point[1])}));
            // A list of bulges that is too short counts as continued by straight segments.
            if (bulges.count > 0)
                entries_.push(groupEntry(42, Cell::real(i < bulges.count ? bulges.values[i] : 0)));
        }
    }

    [[nodiscard]] Point pointAt(int index) const {
        Point point;
        hostGetPoint(object_, index, point.data());
        return point;
    }

    HostObject* object_;
    const HostObjectData& data_;
    HostId id_;
    const Cell& name_;
    SliceBuilder<Cell> entries_;
};

}  // namespace

Cell groupEntry(std::int32_t code, Cell value) {
    return Cell::list({Cell::integer(code), DotCell, std::move(value)});
}

Cell entget(Arguments arguments) {
    if (!has(arguments, 0, CellType::EntityName)) return NilCell;
    const HostId id = idOf(arguments[0]);
    const OpenObject object = OpenObject::byId(id, OpenMode::read);
    if (!object) return NilCell;
    const HostObjectData data = object.data();
    const EntityKind* kind = findEntityKind(data.typeCode);
    if (kind == nullptr) return NilCell;
    HostObject* asItsClass = kind->cast(object.get());
    if (asItsClass == nullptr) return NilCell;
    return DataList(asItsClass, data, id, arguments[0]).build(*kind);
}

}  // namespace vlisp
