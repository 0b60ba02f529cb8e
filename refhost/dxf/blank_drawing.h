// The file of a drawing without entities, for those that begin anew.
// Tests: tests/dxf/document_test.cpp.
#pragma once

#include <string>

namespace vlisp::refhost::dxf {

/// A whole file: metric, with the tables and objects that other programs expect.
[[nodiscard]] std::string blankDrawing();

}  // namespace vlisp::refhost::dxf
