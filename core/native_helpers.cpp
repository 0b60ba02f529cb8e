// What native code calls. See native_helpers.h.
#include "core/native_helpers.h"

#include "core/interruption.h"
#include "core/registers.h"

#include <algorithm>
#include <utility>

namespace vlisp::native {
namespace {

void letGo(Cell* R, const Code* code, std::uint32_t operand, std::uint32_t target) noexcept {
    if (operand >= code->firstTemporary && operand != target) release(R[operand]);
}

template <bool withConstant>
bool appendTextInPlace(Cell* R, const Instruction* at, const Code* code) noexcept {
    const Cell& text = R[at->b];
    const std::uint64_t body =
        appendedInPlace(text, withConstant ? code->constants[at->x] : R[at->c]);
    if (body == 0) return false;
    if (at->a != at->b) put(R[at->a], text);
    CellInspector::body(R[at->a]) = body;
    letGo(R, code, at->b, at->a);
    if (!withConstant) letGo(R, code, at->c, at->a);
    return true;
}

template <auto test> bool testInPlace(Cell* R, const Instruction* at, const Code* code) noexcept {
    const bool isSo = test(R[at->b]);
    letGo(R, code, at->b, at->a);
    put(R[at->a], isSo ? TrueCell : FalseCell);
    return true;
}
bool hasNoItems(const Cell& cell) noexcept { return cell.items().empty(); }
bool isAList(const Cell& cell) noexcept { return cell.is(CellType::List); }

bool lengthInPlace(Cell* R, const Instruction* at, const Code* code) noexcept {
    const std::size_t length = R[at->b].items().size();
    letGo(R, code, at->b, at->a);
    putInteger(R[at->a], static_cast<std::int64_t>(length));
    return true;
}

bool cadrInPlace(Cell* R, const Instruction* at, const Code* code) noexcept {
    const Items items = R[at->b].items();
    put(R[at->a], items.size() < 2 ? NilCell : items[1]);
    letGo(R, code, at->b, at->a);
    return true;
}

// Nothing but the value comes of these built-ins: one that failed may be called again.
bool builtinInPlace(Cell* R, const Instruction* at, const Code*) noexcept {
    Cell* arguments = &R[at->c];
    try {
        const auto proc = intrinsics::procOf(static_cast<Intrinsic>(at->x));
        Cell value = proc(Arguments(arguments, at->b));
        for (unsigned i = 0; i < at->b; ++i) release(arguments[i]);
        putWords(R[at->a], headOf(value), bodyOf(value));
        CellInspector::head(value) = 0;
    } catch (...) {
        return false;
    }
    return true;
}

// Of two Strings.
bool haveOneText(const Cell& a, const Cell& b) noexcept {
    const std::uint64_t length = bodyOf(a) >> 32;
    if (length != bodyOf(b) >> 32) return false;
    if (length == 0) return true;
    const auto textAt = [](const Cell& text) {
        const auto* buffer = static_cast<const Buffer<char16_t>*>(CellInspector::object(text));
        return buffer->slots() + static_cast<std::uint32_t>(bodyOf(text));
    };
    return std::equal(textAt(a), textAt(a) + length, textAt(b));
}

template <Intrinsic intrinsic, bool withConstant>
std::uint32_t compareByBuiltin(Cell* R, const Instruction* at, const Code* code) noexcept {
    constexpr bool ofTexts = intrinsic == Intrinsic::equal || intrinsic == Intrinsic::notEqual;
    const Cell& first = R[at->b];
    const Cell& second = withConstant ? code->constants[at->x] : R[at->c];
    bool outcome = false;
    if (ofTexts && first.is(CellType::String) && second.is(CellType::String)) {
        outcome = haveOneText(first, second) == (intrinsic == Intrinsic::equal);
    } else {
        try {
            const Cell pair[] = {first, second};
            outcome = !IsFalse(intrinsics::procOf(intrinsic)(Arguments(pair, 2)));
        } catch (...) {
            return 2;
        }
        if (interruption::pending()) return 2;
    }
    if (at->b >= code->firstTemporary) release(R[at->b]);
    if (!withConstant && at->c >= code->firstTemporary) release(R[at->c]);
    return outcome ? 1 : 0;
}

template <Intrinsic intrinsic> Compared compared(bool withConstant) noexcept {
    return withConstant ? compareByBuiltin<intrinsic, true> : compareByBuiltin<intrinsic, false>;
}

}  // namespace

void buryObject(HeapObject* object) noexcept { heap::bury(object); }

InPlace inPlaceOf(Op op) noexcept {
    switch (op) {
    case Op::appendText: return appendTextInPlace<false>;
    case Op::appendTextConstant: return appendTextInPlace<true>;
    case Op::length: return lengthInPlace;
    case Op::cadr: return cadrInPlace;
    case Op::nullp: return testInPlace<hasNoItems>;
    case Op::listp: return testInPlace<isAList>;
    case Op::callBuiltin: return builtinInPlace;
    default: return nullptr;
    }
}

Compared comparedByBuiltin(Intrinsic intrinsic, bool withConstant) noexcept {
    switch (intrinsic) {
    case Intrinsic::less: return compared<Intrinsic::less>(withConstant);
    case Intrinsic::greater: return compared<Intrinsic::greater>(withConstant);
    case Intrinsic::lessOrEqual: return compared<Intrinsic::lessOrEqual>(withConstant);
    case Intrinsic::equal: return compared<Intrinsic::equal>(withConstant);
    default: return compared<Intrinsic::notEqual>(withConstant);
    }
}

}  // namespace vlisp::native
