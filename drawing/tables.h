// The block table, the display, and an object's extent.
// One idea: one cursor walks the block table for everybody; it is module-wide and survives calls.
// Tests: tests/drawing/tables_test.cpp, tests/lisp/drawing/.
#pragma once

#include "builtins/registry.h"

namespace vlisp {

Cell tblnext(Arguments arguments);
Cell redraw(Arguments arguments);
Cell vmRefresh(Arguments arguments);
Cell vmEntext(Arguments arguments);

/// Sets the cursor of TBLNEXT to the first block, as it stands when the module is loaded.
void rewindBlockTable() noexcept;

}  // namespace vlisp
