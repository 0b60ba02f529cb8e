// What the tests of functions share: cells in few words, and what is expected of a cell.
// One idea: an expectation that fails says what the cell is instead.
#pragma once

#include "core/cell.h"
#include "platform/text.h"

#include <gtest/gtest.h>
#include <limits>
#include <string_view>
#include <vector>

namespace vlisp::test {

inline constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
inline constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();

inline Cell whole(std::int32_t value) { return Cell::integer(value); }
inline Cell real(double value) { return Cell::real(value); }
inline Cell text(std::u16string_view value) { return Cell::string(value); }

/// A call with evaluated arguments.
inline Cell call(BuiltinProc proc, std::vector<Cell> arguments = {}) { return proc(arguments); }

/// The integers of a list.
inline std::vector<std::int32_t> numbers(const Cell& list) {
    std::vector<std::int32_t> out;
    for (const Cell& element : list.items()) out.push_back(element.intValue());
    return out;
}

/// One of every type but the numbers; each counts as 0.
inline std::vector<Cell> nonNumbers() {
    return {Cell(),
            NilCell,
            TrueCell,
            Cell::symbol(u"5"),
            text(u"5"),
            Cell::list({}),
            Cell::list({whole(5)}),
            Cell::builtin([](Arguments) { return NilCell; }),
            Cell::lambda({}, nullptr, intern(u"F")),
            Cell::make(CellType::EntityName, u"5"),
            Cell::make(CellType::SelectionSet, u"5")};
}

inline testing::AssertionResult isInteger(const Cell& cell, std::int32_t value) {
    if (cell.is(CellType::Integer) && cell.intValue() == value) return testing::AssertionSuccess();
    return testing::AssertionFailure() << dumpCell(cell) << " is not the integer " << value;
}

inline testing::AssertionResult isReal(const Cell& cell, double value) {
    if (cell.is(CellType::Real) && cell.realValue() == value) return testing::AssertionSuccess();
    return testing::AssertionFailure() << dumpCell(cell) << " is not the real " << value;
}

inline testing::AssertionResult isString(const Cell& cell, std::u16string_view value) {
    if (cell.is(CellType::String) && cell.text() == value) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << dumpCell(cell) << " is not the string \"" << platform::toUtf8(value) << "\"";
}

inline testing::AssertionResult isSymbol(const Cell& cell, std::u16string_view name) {
    if (cell.is(CellType::Symbol) && cell.text() == name) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << dumpCell(cell) << " is not the symbol \"" << platform::toUtf8(name) << "\"";
}

inline testing::AssertionResult isNil(const Cell& cell) { return isSymbol(cell, u"nil"); }
inline testing::AssertionResult isTrue(const Cell& cell) { return isSymbol(cell, u"T"); }

}  // namespace vlisp::test
