// Symbols: names that are stored once and compared by address.
// One idea: a table of all living names; a name whose last holder lets go leaves the table, so
// that texts turned into symbols by the thousand (PRINC's results) do not pile up.
// Tests: tests/core/symbol_test.cpp.
#pragma once

#include "core/heap.h"

#include <string_view>

namespace vlisp {

/// The thirteen names that the evaluator knows itself, in the order in which they are tested.
enum class SpecialForm : std::uint8_t {
    none,
    quote,
    ifForm,
    cond,
    notForm,
    orForm,
    andForm,
    whileForm,
    repeat,
    setq,
    define,
    defun,
    lambda,
    begin
};

struct SymbolData final : HeapObject {
    constexpr SymbolData(std::size_t symbolHash, std::uint32_t textLength) noexcept
        : HeapObject(ObjectKind::symbol), length(textLength), hash(symbolHash) {}

    [[nodiscard]] std::u16string_view text() const noexcept { return {characters(), length}; }
    [[nodiscard]] const char16_t* characters() const noexcept {
        return reinterpret_cast<const char16_t*>(this + 1);
    }
    char16_t* characters() noexcept { return reinterpret_cast<char16_t*>(this + 1); }

    std::uint32_t length;
    SpecialForm specialForm = SpecialForm::none;
    /// Number of the built-in that the machine knows by this name (intrinsics.h); 0 for none.
    std::uint8_t intrinsic = 0;
    std::size_t hash;
    /// The bits of the cell that the global scope binds to this name, or of an unbound one; see
    /// globalPlace in cell.h.
    std::uint64_t global[2] = {15, 0};
};

/// A name. The empty name is represented by null. Two symbols are equal exactly when their texts
/// are, code unit by code unit.
using SymbolRef = Ref<SymbolData>;

/// The symbol of this text, made when there is none yet. No case folding.
SymbolRef intern(std::u16string_view text);

inline std::u16string_view textOf(const SymbolData* symbol) noexcept {
    return symbol != nullptr ? symbol->text() : std::u16string_view();
}

/// Number of names in the table.
std::size_t internedCount() noexcept;

/// Called by the heap when a symbol's last holder is gone.
void forgetSymbol(SymbolData* symbol) noexcept;

}  // namespace vlisp
