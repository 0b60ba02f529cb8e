// The printer: cells to the text that people see.
// One idea: one text for the console, for PRINC and its kin, for STRCAT and for DEFUN's own use.
// Tests: tests/core/printer_test.cpp.
#pragma once

#include "core/cell.h"

#include <string>

namespace vlisp {

/// Added to entity ids when they are printed; set once a session, for display only.
extern std::uint32_t EntityNameBase;

/// The display text of a cell. Depth is limited by memory alone; throws heap::OutOfMemory when the
/// text would not fit into the heap's budget (shared lists can print exponentially long).
std::u16string PrintCell(const Cell& cell);

/// The same, appended to `out`.
void printTo(std::u16string& out, const Cell& cell);

/// The printed coordinates of a list of 2 or 3 elements joined by ","; "nil" for anything else.
std::u16string PointText(const Cell& cell);

/// The cell's text as it is stored.
std::u16string CellText(const Cell& cell);

/// "%ld": signed decimal.
void printInteger(std::u16string& out, std::int64_t value);

/// "%.3f", or as many decimals as are asked for, at most 15: correctly rounded, with a decimal point
/// under every locale. Infinity prints as inf or -inf, not-a-number as nan, whatever its sign, on
/// every system.
void printReal(std::u16string& out, double value, int decimals = 3);

}  // namespace vlisp
