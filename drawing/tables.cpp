// TBLNEXT, REDRAW, VM-REFRESH and VM-ENTEXT. See tables.h.
#include "drawing/tables.h"

#include "builtins/arguments.h"
#include "core/reader.h"
#include "drawing/entity_data.h"
#include "drawing/entity_names.h"

#include <algorithm>

namespace vlisp {
namespace {

// On purpose: shared by all callers and threads.
int blockCursor = 0;

class OpenBlock {
  public:
    explicit OpenBlock(int index) {
        constexpr int reading = 0;
        vmdbOpenBlockByIndex(index, block_, reading);
    }
    OpenBlock(const OpenBlock&) = delete;
    OpenBlock& operator=(const OpenBlock&) = delete;
    ~OpenBlock() {
        if (block_ != nullptr) block_->close();
    }

    explicit operator bool() const noexcept { return block_ != nullptr; }
    const VmDbBlock* operator->() const noexcept { return block_; }

  private:
    VmDbBlock* block_ = nullptr;
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

    int count = 0;
    GetNumBlocks(count);
    if (blockCursor >= count) {
        rewindBlockTable();
        return NilCell;
    }
    // On purpose: the cursor moves even when the block does not open.
    const OpenBlock block(blockCursor++);
    if (!block) return NilCell;
    const std::u16string_view name(block->name.units(), block->name.length());
    return Cell::list({groupEntry(0, Cell::string(u"BLOCK")), groupEntry(2, Cell::string(name)),
                       groupEntry(70, Cell::integer(block->flags)),
                       Cell::list({Cell::integer(10), Cell::real(block->baseX),
                                   Cell::real(block->baseY), Cell::real(0.0)}),
                       groupEntry(-2, entityName(block->id))});
}

Cell redraw(Arguments /*arguments*/) {
    Regen();
    return NilCell;
}

Cell vmRefresh(Arguments /*arguments*/) {
    Refresh();
    return NilCell;
}

Cell vmEntext(Arguments arguments) {
    if (!has(arguments, 0, CellType::EntityName)) return NilCell;
    const OpenObject object = OpenObject::byId(idOf(arguments[0]), OpenMode::read);
    if (!object) return NilCell;
    const VmDbRect extent = object->getExtent(0.0, 0.0);
    return Cell::list({Cell::real(extent.left), Cell::real(extent.bottom), Cell::real(extent.right),
                       Cell::real(extent.top)});
}

void rewindBlockTable() noexcept { blockCursor = 0; }

}  // namespace vlisp
