// Argument readers: what is missing, what is of the wrong type.
// One idea: the rules stand here once, so that a built-in's body cannot get them wrong on its own.
// Tests: through every built-in's.
#pragma once

#include "core/cell.h"

namespace vlisp {

/// Argument i, or an empty cell: no text, no items, zero.
[[nodiscard]] inline const Cell& argumentOrEmpty(Arguments arguments, std::size_t i) noexcept {
    static const Cell nothing;
    return i < arguments.size() ? arguments[i] : nothing;
}

/// True when argument i is there and of this type.
[[nodiscard]] inline bool has(Arguments arguments, std::size_t i, CellType type) noexcept {
    return i < arguments.size() && arguments[i].is(type);
}

/// True when argument i is there and an Integer or a Real.
[[nodiscard]] inline bool hasNumber(Arguments arguments, std::size_t i) noexcept {
    return i < arguments.size() && arguments[i].isNumber();
}

[[nodiscard]] inline Cell truth(bool value) { return value ? TrueCell : FalseCell; }

}  // namespace vlisp
