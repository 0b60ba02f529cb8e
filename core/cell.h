// Cell: every value that is read, evaluated, bound, passed or printed.
// One idea: sixteen bytes that behave as a plain record copied by value, deeply independent,
// because nothing ever changes a cell inside a list and immutable contents are shared.
// Tests: tests/core/cell_test.cpp.
//
// A cell's type says which of its fields carries its value:
//
//   Symbol        text       the name, upper case when read from source
//   Integer       intValue   32 bits, signed; text is empty, but "0" in the locals of a DEFUN
//   Real          realValue  an IEEE double
//   String        text       the contents, without quotes
//   List          items      the elements; () is a List without any
//   Proc          proc       a built-in function
//   Lambda        items      the whole LAMBDA form; env: the scope it was made in;
//                            text: the function's name when DEFUN made it
//   EntityName    text       the host object's id in decimal
//   SelectionSet  text       the host selection set's number in decimal
//
// A field that the type does not carry is empty or zero, and may be read: built-ins rely on it
// ((LENGTH 5) is 0, a string counts as 0 in a sum).
//
// Truth: a value is false exactly when its text is "nil". 0, "" and () are true; the string "nil"
// is false.
//
// There are no pairs: (a . b) is a List of three elements whose middle one is the symbol ".".
//
// Representation: one word holds the address of a counted object with the type in its low four
// bits; the other holds the number, the function, or where in a shared buffer the value's range
// begins and how long it is (slice.h).
#pragma once

#include "core/slice.h"
#include "core/symbol.h"

#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>

namespace vlisp {

class Cell;
class Code;
class Environment;

/// The tags are part of the design: programs of the host switch on the numbers.
enum class CellType : std::uint32_t {
    Symbol = 0,
    Integer = 1,
    Real = 2,
    String = 3,
    List = 4,
    Proc = 5,
    Lambda = 6,
    EntityName = 7,
    SelectionSet = 8
};

/// The evaluated arguments of a call, in order; valid until the built-in returns.
using Arguments = std::span<const Cell>;

/// A built-in function: reads its arguments and returns a new cell.
using BuiltinProc = Cell (*)(Arguments);

using Items = std::span<const Cell>;
using CellSlice = Slice<Cell>;
using TextSlice = Slice<char16_t>;

class Cell {
  public:
    /// A freshly made cell: a Symbol with empty text, everything else empty or zero.
    Cell() noexcept = default;
    Cell(const Cell& other) noexcept : head_(other.head_), body_(other.body_) {
        addReference(object());
    }
    Cell(Cell&& other) noexcept
        : head_(std::exchange(other.head_, 0)), body_(std::exchange(other.body_, 0)) {}
    Cell& operator=(const Cell& other) noexcept {
        Cell copy(other);
        swap(copy);
        return *this;
    }
    Cell& operator=(Cell&& other) noexcept {
        Cell taken(std::move(other));
        swap(taken);
        return *this;
    }
    ~Cell() { dropReference(object()); }

    void swap(Cell& other) noexcept {
        std::swap(head_, other.head_);
        std::swap(body_, other.body_);
    }

    /// What stands where nothing is bound: never a value, never seen outside scopes and machine.
    static Cell unbound() noexcept { return Cell(static_cast<CellType>(unboundTag), nullptr, 0); }
    [[nodiscard]] bool isUnbound() const noexcept { return head_ == unboundTag; }

    // What it is.
    [[nodiscard]] CellType type() const noexcept { return static_cast<CellType>(head_ & typeMask); }
    [[nodiscard]] bool is(CellType wanted) const noexcept { return type() == wanted; }
    [[nodiscard]] bool isNumber() const noexcept {
        return is(CellType::Integer) || is(CellType::Real);
    }

    // The fields of the record. A view is valid for as long as this cell, or a copy of it, lives.
    [[nodiscard]] std::u16string_view text() const noexcept {
        if (is(CellType::Symbol)) return textOf(static_cast<const SymbolData*>(object()));
        if (!carriesTextRange()) return textOfOther();
        auto* buffer = static_cast<Buffer<char16_t>*>(object());
        if (buffer == nullptr) return {};
        return {buffer->slots() + rangeBegin(), rangeLength()};
    }
    [[nodiscard]] double realValue() const noexcept {
        return is(CellType::Real) ? std::bit_cast<double>(body_) : 0.0;
    }
    [[nodiscard]] std::int32_t intValue() const noexcept {
        return is(CellType::Integer) ? static_cast<std::int32_t>(body_) : 0;
    }
    [[nodiscard]] Items items() const noexcept {
        if (!is(CellType::List)) return itemsOfOther();
        auto* buffer = static_cast<Buffer<Cell>*>(object());
        if (buffer == nullptr) return {};
        return {buffer->slots() + rangeBegin(), rangeLength()};
    }
    [[nodiscard]] BuiltinProc proc() const noexcept {
        return is(CellType::Proc) ? std::bit_cast<BuiltinProc>(body_) : nullptr;
    }
    [[nodiscard]] Environment* env() const noexcept;

    /// True for a list that is not empty and for a lambda: what can be part of a cycle.
    [[nodiscard]] bool holdsCells() const noexcept {
        return (is(CellType::List) || is(CellType::Lambda)) && object() != nullptr;
    }

    /// A number's value: a Real's double, of any other cell its integer field as a double.
    [[nodiscard]] double numericValue() const noexcept {
        return is(CellType::Real) ? realValue() : static_cast<double>(intValue());
    }

    /// The items as a slice that shares their buffer.
    [[nodiscard]] CellSlice itemSlice() const noexcept;
    /// The text of a String, EntityName or SelectionSet as a slice that shares its buffer.
    [[nodiscard]] TextSlice textSlice() const noexcept {
        if (!carriesTextRange()) return {};
        return TextSlice(Ref(static_cast<Buffer<char16_t>*>(object())), rangeBegin(),
                         rangeLength());
    }
    /// The text as a symbol; made when the cell is not a symbol itself.
    [[nodiscard]] SymbolRef textAsSymbol() const;
    /// A Symbol's name without a count of its own; null for the empty name and for other types.
    [[nodiscard]] const SymbolData* symbolData() const noexcept {
        return is(CellType::Symbol) ? static_cast<const SymbolData*>(object()) : nullptr;
    }

    // Makers.
    /// A cell of this type and text, as the plain record would be made: numbers zero, no items.
    static Cell make(CellType type, std::u16string_view text);
    static Cell symbol(SymbolRef name) noexcept;
    static Cell symbol(std::u16string_view name) { return symbol(intern(name)); }
    static Cell integer(std::int32_t value) noexcept {
        return Cell(CellType::Integer, nullptr, static_cast<std::uint32_t>(value));
    }
    static Cell integer(std::int32_t value, SymbolRef text) noexcept {
        return Cell(CellType::Integer, text.detach(), static_cast<std::uint32_t>(value));
    }
    static Cell real(double value) noexcept {
        return Cell(CellType::Real, nullptr, std::bit_cast<std::uint64_t>(value));
    }
    static Cell string(TextSlice text) noexcept {
        return fromText(CellType::String, std::move(text));
    }
    static Cell string(std::u16string_view text) { return make(CellType::String, text); }
    static Cell list(CellSlice items) noexcept {
        const std::uint64_t body = items.begin() | (std::uint64_t{items.size()} << 32);
        return Cell(CellType::List, items.detachBuffer().detach(), body);
    }
    static Cell list(std::initializer_list<Cell> items) {
        return list(CellSlice::copyOf(std::span<const Cell>(items.begin(), items.size())));
    }
    static Cell builtin(BuiltinProc proc) noexcept {
        return Cell(CellType::Proc, nullptr, std::bit_cast<std::uint64_t>(proc));
    }
    static Cell lambda(CellSlice form, Environment* scope, SymbolRef name);

    /// This Lambda or List with other items; everything else stays.
    [[nodiscard]] Cell withItems(CellSlice items) const;

  private:
    static constexpr std::uintptr_t typeMask = 15;
    static constexpr std::uintptr_t unboundTag = 15;

    Cell(CellType type, HeapObject* counted, std::uint64_t body) noexcept
        : head_(reinterpret_cast<std::uintptr_t>(counted) | static_cast<std::uintptr_t>(type)),
          body_(body) {}
    static Cell fromText(CellType type, TextSlice text) noexcept {
        const std::uint64_t body = text.begin() | (std::uint64_t{text.size()} << 32);
        return Cell(type, text.detachBuffer().detach(), body);
    }
    [[nodiscard]] Items itemsOfOther() const noexcept;
    [[nodiscard]] std::u16string_view textOfOther() const noexcept;

    [[nodiscard]] HeapObject* object() const noexcept {
        const std::uintptr_t address = head_ & ~typeMask;
        return reinterpret_cast<HeapObject*>(address);  // NOLINT(performance-no-int-to-ptr)
    }
    [[nodiscard]] std::uint32_t rangeBegin() const noexcept {
        return static_cast<std::uint32_t>(body_);
    }
    [[nodiscard]] std::uint32_t rangeLength() const noexcept {
        return static_cast<std::uint32_t>(body_ >> 32);
    }
    [[nodiscard]] bool carriesTextRange() const noexcept {
        return is(CellType::String) || is(CellType::EntityName) || is(CellType::SelectionSet);
    }

    friend struct CellInspector;

    std::uintptr_t head_ = 0;
    std::uint64_t body_ = 0;
};

static_assert(sizeof(Cell) == 16, "lists of a million numbers depend on it");

/// Whether growing `buffer` in place by this cell would make the buffer hold itself: the cell
/// reaches the buffer through lists and lambda forms. Looks at a thousand cells at most, so that
/// growing stays cheap; a list that holds itself further in than that is not freed.
[[nodiscard]] bool reaches(const Cell& cell, const Buffer<Cell>* buffer);

/// What a Lambda cell points to.
struct LambdaData final : HeapObject {
    LambdaData(CellSlice lambdaForm, Environment* lambdaScope, SymbolRef lambdaName) noexcept;
    ~LambdaData();

    CellSlice form;
    Ref<Environment> scope;
    SymbolRef name;
    Ref<Code> code;  ///< the form's, for this scope; null until the first call (evaluator.h)
};

/// Lets the scope collector and the machine see the two words of a cell.
struct CellInspector {
    static HeapObject* object(const Cell& cell) noexcept { return cell.object(); }
    static std::uintptr_t& head(Cell& cell) noexcept { return cell.head_; }
    static std::uintptr_t head(const Cell& cell) noexcept { return cell.head_; }
    static std::uint64_t& body(Cell& cell) noexcept { return cell.body_; }
    static std::uint64_t body(const Cell& cell) noexcept { return cell.body_; }
};

/// Where the global scope keeps the value of a name; an unbound cell when it binds none.
[[nodiscard]] inline Cell& globalPlace(SymbolData& name) noexcept {
    static_assert(sizeof name.global == sizeof(Cell) && alignof(Cell) <= alignof(std::uint64_t));
    return *std::launder(reinterpret_cast<Cell*>(name.global));
}

// The constant cells: they exist for the whole life of the program and never change.
extern const Cell NilCell;    ///< what carries nothing; a Symbol with text "nil"
extern const Cell FalseCell;  ///< the answer "false"; same contents as NilCell
extern const Cell TrueCell;   ///< the answer "true"; a Symbol with text "T"
extern const Cell DotCell;    ///< the middle of a dotted pair; a Symbol with text "."

/// The one truth test: the text is "nil", whole and in lower case, whatever the type.
[[nodiscard]] bool IsFalse(const Cell& cell) noexcept;

/// Integer of a double as the conversion instruction of x86 gives it: truncated toward zero;
/// out of range, infinite and not-a-number are -2147483648. On every system.
[[nodiscard]] std::int32_t truncatedToInteger(double value) noexcept;

/// Every field of a cell in one line, for people who debug.
[[nodiscard]] std::string dumpCell(const Cell& cell);

}  // namespace vlisp
