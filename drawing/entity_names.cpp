// Entity names and traversal. See entity_names.h.
#include "drawing/entity_names.h"

#include "builtins/arguments.h"
#include "core/interruption.h"
#include "core/reader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <tuple>

namespace vlisp {
namespace {

int slotCount() { return std::max(hostGetNumObjects(), 0); }

// The name of the object in this slot; nothing when the slot is empty or its object erased.
std::optional<Cell> liveNameAt(int slot) {
    const OpenObject object = OpenObject::bySlot(slot);
    if (!object) return std::nullopt;
    const HostObjectData data = object.data();
    if (data.erased) return std::nullopt;
    return entityName(data.id);
}

}  // namespace

Cell handleCell(CellType type, HostId number) {
    return Cell::make(type, HandleText(number).view());
}

Cell entityName(HostId id) { return handleCell(CellType::EntityName, id); }

HandleText::HandleText(HostId number) noexcept {
    char digits[std::tuple_size_v<decltype(units_)>];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    std::copy(digits, end, units_.begin());
    length_ = static_cast<std::size_t>(end - digits);
}

HostId idOf(const Cell& cell) noexcept { return integerAtFront(cell.text()); }

OpenObject OpenObject::byId(HostId id, OpenMode mode) {
    return OpenObject(hostOpenObject(id, static_cast<int>(mode)));
}

OpenObject OpenObject::bySlot(int slot) {
    return OpenObject(hostOpenObjectByIndex(slot, static_cast<int>(OpenMode::read)));
}

Cell entnext(Arguments arguments) {
    const int count = slotCount();
    // On purpose: whatever is not an entity name starts the walk anew.
    std::int64_t slot = 0;
    if (has(arguments, 0, CellType::EntityName))
        slot = std::int64_t{hostGetObjectIndex(idOf(arguments[0]))} + 1;
    for (; slot < count && !interruption::pending(); ++slot)
        if (auto name = liveNameAt(static_cast<int>(slot))) return *std::move(name);
    return NilCell;
}

Cell entlast(Arguments /*arguments*/) {
    for (int slot = slotCount() - 1; slot >= 0 && !interruption::pending(); --slot)
        if (auto name = liveNameAt(slot)) return *std::move(name);
    return NilCell;
}

}  // namespace vlisp
