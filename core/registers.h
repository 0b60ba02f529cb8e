// Registers: what the machine does with cells, word by word.
// One idea: a register that is not in use holds nothing that is counted, so most of the time it is
// enough to write its two words.
// Tests: through the machine's, tests/reference/.
#pragma once

#include "core/cell.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

namespace vlisp {

// --- The two words of a cell ---

inline constexpr std::uintptr_t plainInteger = static_cast<std::uintptr_t>(CellType::Integer);
inline constexpr std::uintptr_t plainReal = static_cast<std::uintptr_t>(CellType::Real);

inline std::uintptr_t headOf(const Cell& cell) noexcept { return CellInspector::head(cell); }
inline std::uint64_t bodyOf(const Cell& cell) noexcept { return CellInspector::body(cell); }

inline bool isCounted(const Cell& cell) noexcept { return headOf(cell) > 15; }

inline std::int32_t integerOf(const Cell& plain) noexcept {
    return static_cast<std::int32_t>(bodyOf(plain));
}

// The double of a cell that is a plain Integer or Real.
inline double numberOf(const Cell& plain) noexcept {
    return headOf(plain) == plainReal ? std::bit_cast<double>(bodyOf(plain))
                                      : static_cast<double>(integerOf(plain));
}

inline bool arePlainIntegers(const Cell& a, const Cell& b) noexcept {
    return ((headOf(a) ^ plainInteger) | (headOf(b) ^ plainInteger)) == 0;
}
inline bool arePlainReals(const Cell& a, const Cell& b) noexcept {
    return ((headOf(a) ^ plainReal) | (headOf(b) ^ plainReal)) == 0;
}
inline bool isPlainNumber(const Cell& cell) noexcept {
    return headOf(cell) == plainInteger || headOf(cell) == plainReal;
}

// Lets go of what a register holds; it is free then.
[[gnu::always_inline]] inline void release(Cell& cell) noexcept {
    if (!isCounted(cell)) return;
    HeapObject* object = CellInspector::object(cell);
    CellInspector::head(cell) = 0;
    dropReference(object);
}

[[gnu::always_inline]] inline void putWords(Cell& target, std::uintptr_t head,
                                            std::uint64_t body) noexcept {
    if (isCounted(target)) [[unlikely]]
        release(target);
    CellInspector::head(target) = head;
    CellInspector::body(target) = body;
}
[[gnu::always_inline]] inline void putInteger(Cell& target, std::int64_t value) noexcept {
    // On purpose: what does not fit into 32 bits is the smallest integer.
    if (value != static_cast<std::int32_t>(value)) [[unlikely]]
        value = std::numeric_limits<std::int32_t>::min();
    putWords(target, plainInteger, static_cast<std::uint32_t>(value));
}
[[gnu::always_inline]] inline void putReal(Cell& target, double value) noexcept {
    putWords(target, plainReal, std::bit_cast<std::uint64_t>(value));
}

// A copy into a register that is free.
[[gnu::always_inline]] inline void copyInto(Cell& free, const Cell& cell) noexcept {
    if (isCounted(cell)) ++CellInspector::object(cell)->references;
    CellInspector::head(free) = headOf(cell);
    CellInspector::body(free) = bodyOf(cell);
}

// What was in the target is released last: taking it apart must not meet a half-made register.
[[gnu::always_inline]] inline void put(Cell& target, Cell value) noexcept { target.swap(value); }

inline bool isTrue(const Cell& cell) noexcept {
    if (cell.is(CellType::Symbol)) return headOf(cell) != headOf(NilCell);
    return isPlainNumber(cell) || cell.is(CellType::List) || !IsFalse(cell);
}

// --- What the machine does itself for lists; everything else is left to the built-in ---

struct ListRange {
    Buffer<Cell>* buffer;
    std::uint32_t begin;
    std::uint32_t length;
};

inline ListRange rangeOf(const Cell& list) noexcept {
    const std::uint64_t body = bodyOf(list);
    return {static_cast<Buffer<Cell>*>(CellInspector::object(list)),
            static_cast<std::uint32_t>(body), static_cast<std::uint32_t>(body >> 32)};
}

inline std::uint64_t rangeBody(std::uint32_t begin, std::uint32_t length) noexcept {
    return begin | (std::uint64_t{length} << 32);
}

// Whether CDR of this list is the same buffer's next place: it is neither a pair nor so small a
// rest of its buffer that it is copied.
inline bool canNarrow(const ListRange& range) noexcept {
    if (range.length < 2) return false;
    if (range.length == 3 && !range.buffer->slots()[range.begin + 1].text().empty()) return false;
    const std::uint32_t filled = range.buffer->last - range.buffer->first;
    return filled <= 64 || range.length - 1 >= filled / 4;
}

// Whether CONS can put `value` into the free place in front of this list.
inline bool canGrowInFront(const ListRange& range, const Cell& value) noexcept {
    return range.buffer != nullptr && range.begin == range.buffer->first && range.begin > 0 &&
           !value.holdsCells();
}

inline bool canGrowBehind(const ListRange& range, const Cell& item) noexcept {
    return range.buffer != nullptr && range.begin + range.length == range.buffer->last &&
           range.buffer->last < range.buffer->capacity && !item.holdsCells();
}

// Puts `more` behind `text` if both are Strings and the buffer has room there. The second word of the
// longer text; 0 when it cannot be done.
inline std::uint64_t appendedInPlace(const Cell& text, const Cell& more) noexcept {
    if (!text.is(CellType::String) || !more.is(CellType::String)) return 0;
    auto* buffer = static_cast<Buffer<char16_t>*>(CellInspector::object(text));
    const auto begin = static_cast<std::uint32_t>(bodyOf(text));
    const auto length = static_cast<std::uint32_t>(bodyOf(text) >> 32);
    const auto added = static_cast<std::uint32_t>(bodyOf(more) >> 32);
    if (buffer == nullptr || added == 0 || begin + length != buffer->last ||
        buffer->capacity - buffer->last < added)
        return 0;
    const auto* source = static_cast<const Buffer<char16_t>*>(CellInspector::object(more));
    std::copy_n(source->slots() + static_cast<std::uint32_t>(bodyOf(more)), added,
                buffer->slots() + buffer->last);
    buffer->last += added;
    return rangeBody(begin, length + added);
}

}  // namespace vlisp
