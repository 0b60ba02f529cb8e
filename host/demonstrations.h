// Demonstrations: how a module adds to the drawing through the bridge, without LISP.
// One idea: the shortest programs that show it.
// Tests: tests/host/demonstrations_test.cpp.
#pragma once

namespace vlisp {

/// TestLine: adds one fixed line. Returns 1.
int addTestLine();

/// LispPoly: the user draws a polyline point by point; `step` as in exports.h. Returns 1.
int drawPolyline(int& step);

}  // namespace vlisp
