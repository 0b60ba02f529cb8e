// The file commands: AppLoad loads a LISP file, LispEdit opens one in the text editor.
// One idea: both ask for a path, and for an empty one let the user browse.
// Tests: tests/host/files_test.cpp.
#pragma once

namespace vlisp {

/// The commands' bodies; `step` as in exports.h. Return 1.
int loadFile(int& step);
int editFile(int& step);

}  // namespace vlisp
