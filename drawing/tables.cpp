// TBLNEXT, REDRAW, VM-REFRESH and VM-ENTEXT. See tables.h.
#include "drawing/tables.h"

#include "builtins/arguments.h"
#include "core/reader.h"
#include "drawing/entity_data.h"
#include "drawing/entity_names.h"

#include <algorithm>
#include <array>

namespace vlisp {
namespace {

// On purpose: shared by all callers and threads.
int blockCursor = 0;

class OpenBlock {
  public:
    explicit OpenBlock(int index) : block_(hostOpenBlockByIndex(index, reading)) {}
    OpenBlock(const OpenBlock&) = delete;
    OpenBlock& operator=(const OpenBlock&) = delete;
    ~OpenBlock() {
        if (block_ != nullptr) hostCloseBlock(block_);
    }

    explicit operator bool() const noexcept { return block_ != nullptr; }
    [[nodiscard]] HostBlockData data() const {
        HostBlockData data;
        hostGetBlockData(block_, &data);
        return data;
    }

  private:
    static constexpr int reading = 0;

    HostBlock* block_;
};

bool namesBlockTable(std::u16string_view name) noexcept {
    return std::ranges::equal(name, std::u16string_view(u"block"), {}, lowerCase);
}

}  // namespace

Cell tblnext(Arguments arguments) {
    if (!has(arguments, 0, CellType::String)) return NilCell;
    // On purpose: a rewind counts whatever the table is.
    if (arguments.size() == 2 && !IsFalse(arguments[1])) rewindBlockTable();
    if (!namesBlockTable(arguments[0].text())) return NilCell;

    if (blockCursor >= hostGetNumBlocks()) {
        rewindBlockTable();
        return NilCell;
    }
    // On purpose: the cursor moves even when the block does not open.
    const OpenBlock opened(blockCursor++);
    if (!opened) return NilCell;
    const HostBlockData block = opened.data();
    const std::u16string_view name(block.name.units, block.name.length);
    return Cell::list({groupEntry(0, Cell::string(u"BLOCK")), groupEntry(2, Cell::string(name)),
                       groupEntry(70, Cell::integer(block.flags)),
                       Cell::list({Cell::integer(10), Cell::real(block.baseX),
                                   Cell::real(block.baseY), Cell::real(0.0)}),
                       groupEntry(-2, entityName(block.id))});
}

Cell redraw(Arguments /*arguments*/) {
    hostRegen();
    return NilCell;
}

Cell vmRefresh(Arguments /*arguments*/) {
    hostRefresh();
    return NilCell;
}

Cell vmEntext(Arguments arguments) {
    if (!has(arguments, 0, CellType::EntityName)) return NilCell;
    const OpenObject object = OpenObject::byId(idOf(arguments[0]), OpenMode::read);
    if (!object) return NilCell;
    std::array<double, 4> extent{};
    hostGetExtent(object.get(), extent.data());
    return Cell::list({Cell::real(extent[0]), Cell::real(extent[1]), Cell::real(extent[2]),
                       Cell::real(extent[3])});
}

void rewindBlockTable() noexcept { blockCursor = 0; }

}  // namespace vlisp
