// Tests of core/cell.h.
#include "core/cell.h"

#include <gtest/gtest.h>

namespace vlisp {
namespace {

TEST(Cell, AFreshCellIsASymbolWithEmptyText) {
    const Cell cell;
    EXPECT_EQ(cell.type(), CellType::Symbol);
    EXPECT_EQ(cell.text(), u"");
    EXPECT_EQ(cell.intValue(), 0);
    EXPECT_EQ(cell.realValue(), 0.0);
    EXPECT_TRUE(cell.items().empty());
    EXPECT_EQ(cell.proc(), nullptr);
    EXPECT_EQ(cell.env(), nullptr);
}

}  // namespace
}  // namespace vlisp
