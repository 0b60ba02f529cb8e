// Menus: MnuLoad reads the host's menu file, loads its LISP files and builds its toolbars.
// One idea: a file of lines, read once from top to bottom; two kinds of section matter, the rest is
// passed over.
// Tests: tests/host/menus_test.cpp, fuzz/fuzz_menu.cpp.
#pragma once

#include <string_view>

namespace vlisp {

/// The command's body: the menu file is "Support/velm.mnu" beside the host's program. Returns 0
/// only when the host's path cannot be found. Evaluates on the calling thread, the user interface's.
int loadMenus();

/// The same for the menu file in the folder `support`, which ends with a separator.
int loadMenusIn(std::u16string_view support);

}  // namespace vlisp
