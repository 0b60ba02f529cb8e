// Templates for processors of the x86-64 kind. See native_code.h; code.h tells what the instructions
// mean, machine.cpp is what the templates must agree with.
#include "core/native_code.h"

#include "core/interruption.h"
#include "core/intrinsics.h"
#include "core/machine_frames.h"
#include "platform/system.h"

#include <xbyak/xbyak.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <deque>
#include <functional>
#include <limits>
#include <new>

namespace vlisp {

// Objects that are not of standard layout lie where the compiler says, on every compiler we use.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

using Xbyak::Label;
using Xbyak::Reg64;

constexpr std::size_t cellBytes = sizeof(Cell);
constexpr auto listType = static_cast<std::uint32_t>(CellType::List);
constexpr auto lambdaType = static_cast<std::uint32_t>(CellType::Lambda);
constexpr std::uint32_t typeMask = 15;
constexpr std::uint32_t addressMask = ~typeMask;  // extended by its sign
constexpr std::uint32_t unboundHead = 15;
constexpr std::uint32_t lastPlainHead = 15;  // heads above it hold an address

// A number as the encoder takes it.
template <class T> constexpr std::uint32_t imm(T value) noexcept {
    return static_cast<std::uint32_t>(value);
}

// --- What templates call; none of it may throw ---

void buryObject(HeapObject* object) noexcept { heap::bury(object); }

// Carries out instruction `at` of `code` whole, or changes nothing and returns false.
using InPlace = bool (*)(Cell* R, const Instruction* at, const Code* code) noexcept;

void letGo(Cell* R, const Code* code, std::uint32_t operand, std::uint32_t target) noexcept {
    if (operand >= code->firstTemporary && operand != target) release(R[operand]);
}

bool consInPlace(Cell* R, const Instruction* at, const Code* code) noexcept {
    const Cell& value = R[at->b];
    const Cell& list = R[at->c];
    if (!list.is(CellType::List)) return false;
    const ListRange range = rangeOf(list);
    if (!canGrowInFront(range, value)) return false;
    copyInto(range.buffer->slots()[--range.buffer->first], value);  // it holds no cells
    const std::uint64_t body = rangeBody(range.begin - 1, range.length + 1);
    if (at->a != at->c) put(R[at->a], list);
    CellInspector::body(R[at->a]) = body;
    letGo(R, code, at->b, at->a);
    letGo(R, code, at->c, at->a);
    return true;
}

bool appendItemInPlace(Cell* R, const Instruction* at, const Code* code) noexcept {
    const Cell& list = R[at->b];
    const Cell& item = R[at->c];
    if (!list.is(CellType::List)) return false;
    const ListRange range = rangeOf(list);
    if (!canGrowBehind(range, item)) return false;
    copyInto(range.buffer->slots()[range.buffer->last++], item);  // it holds no cells
    if (at->a != at->b) put(R[at->a], list);
    CellInspector::body(R[at->a]) = rangeBody(range.begin, range.length + 1);
    letGo(R, code, at->b, at->a);
    letGo(R, code, at->c, at->a);
    return true;
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

InPlace inPlaceOf(Op op) noexcept {
    switch (op) {
    case Op::cons: return consInPlace;
    case Op::appendItem: return appendItemInPlace;
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

// What the built-in says of two values, of which it lets go: 0 or 1; 2 when the loop must ask.
using Compared = std::uint32_t (*)(Cell* R, const Instruction* at, const Code* code) noexcept;

template <Intrinsic intrinsic, bool withConstant>
std::uint32_t comparedByBuiltin(Cell* R, const Instruction* at, const Code* code) noexcept {
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

}  // namespace

// Registers of the processor, for as long as native code runs:
//   rbx  the top frame's registers     rbp  the top frame       r12  the machine
//   r13  where the obstacles stand     r14  where the wish to end stands
// rax, rcx, rdx and the arguments' registers are free within a template.
class NativeCompiler : public Xbyak::CodeGenerator {
  public:
    NativeCompiler(const Code& code, const Cell* registers, std::vector<std::uint8_t>& buffer)
        : CodeGenerator(buffer.size(), buffer.data()), code_(code),
          instructions_(code.blocks[0]->instructions), labels_(instructions_.size()),
          exits_(instructions_.size()), seemsReal_(code.registers + std::size_t{1}) {
        for (std::uint32_t i = 0; i < code.firstTemporary; ++i)
            seemsReal_[i] = registers[i].is(CellType::Real);
    }

    void compile(NativeCode& made) {
        for (at_ = 0; at_ < instructions_.size(); ++at_) {
            L(labels_[at_]);
            made.places_.push_back(static_cast<std::uint32_t>(getSize()));
            emit(instructions_[at_]);
        }
        // The last instruction leaves or jumps.
        for (std::size_t i = 0; i < cold_.size(); ++i) cold_[i]();
        emitExits();
        entryOffset_ = getSize();
        for (std::uint32_t slot = code_.parameters; slot < code_.slots; ++slot)
            mov(headOfRegister(slot), unboundHead);
        jmp(labels_[0], T_NEAR);
    }

    [[nodiscard]] std::size_t entryOffset() const noexcept { return entryOffset_; }

    // The way in and out, once for all.
    struct Gate {
        const Instruction* (*run)(Machine*, const std::byte* place) = nullptr;
        const std::byte* exit = nullptr;  // rax: the instruction that is left to the loop
    };
    static Gate gate;

  private:
    // Argument registers of the system's calling convention.
#if defined(_WIN32)
    static constexpr std::uint32_t shadowBytes = 32;
    const Reg64& firstArgument = rcx;
    const Reg64& secondArgument = rdx;
    const Reg64& thirdArgument = r8;
#else
    static constexpr std::uint32_t shadowBytes = 0;
    const Reg64& firstArgument = rdi;
    const Reg64& secondArgument = rsi;
    const Reg64& thirdArgument = rdx;
#endif

    using Frame = Machine::Frame;

    Xbyak::Address headOfRegister(std::uint32_t i) const { return qword[rbx + i * cellBytes]; }
    Xbyak::Address bodyOfRegister(std::uint32_t i) const { return qword[rbx + i * cellBytes + 8]; }
    Xbyak::Address integerOfRegister(std::uint32_t i) const {
        return dword[rbx + i * cellBytes + 8];
    }

    [[nodiscard]] bool isTemporary(std::uint32_t i) const noexcept {
        return i >= code_.firstTemporary;
    }

    // --- Leaving to the loop ---

    Label& exitHere() {
        if (exits_[at_] == nullptr) exits_[at_] = std::make_unique<Label>();
        return *exits_[at_];
    }

    void emitExits() {
        Label tail;
        for (std::size_t i = 0; i < exits_.size(); ++i) {
            if (exits_[i] == nullptr) continue;
            L(*exits_[i]);
            mov(eax, static_cast<std::uint32_t>(i * sizeof(Instruction)));
            jmp(tail, T_NEAR);
        }
        L(tail);
        mov(rcx, reinterpret_cast<std::uintptr_t>(instructions_.data()));
        add(rax, rcx);
        mov(rcx, reinterpret_cast<std::uintptr_t>(gate.exit));
        jmp(rcx);
    }

    void leaveToLoop() { jmp(exitHere(), T_NEAR); }

    void exitIfObstacles() {
        cmp(qword[r13], 0);
        jne(exitHere(), T_NEAR);
    }
    void exitIfEnding() {
        cmp(dword[r14], 0);
        jne(exitHere(), T_NEAR);
    }

    // Emits `write` behind everything else.
    void later(std::function<void()> write) {
        const std::size_t at = at_;
        cold_.push_back([this, at, write = std::move(write)] {
            at_ = at;
            write();
        });
    }

    void callHelper(std::uintptr_t helper) {
        if (shadowBytes != 0) sub(rsp, shadowBytes);
        mov(rax, helper);
        call(rax);
        if (shadowBytes != 0) add(rsp, shadowBytes);
    }

    // Calls it with the registers, this instruction and the code.
    void callWithInstruction(std::uintptr_t helper) {
        mov(firstArgument, rbx);
        mov(secondArgument, reinterpret_cast<std::uintptr_t>(&instructions_[at_]));
        mov(thirdArgument, reinterpret_cast<std::uintptr_t>(&code_));
        callHelper(helper);
    }

    // --- Counts ---

    // One more holder of what the head in `head` points to. Uses rcx.
    void countHolder(const Reg64& head) {
        Label plain;
        cmp(head, lastPlainHead);
        jbe(plain);
        mov(rcx, head);
        and_(rcx, addressMask);
        inc(dword[rcx + offsetof(HeapObject, references)]);
        L(plain);
    }

    // One holder less of what the head in rcx points to. Keeps rax and rdx.
    void dropHolder() {
        auto counted = std::make_shared<Label>();
        auto done = std::make_shared<Label>();
        cmp(rcx, lastPlainHead);
        ja(*counted, T_NEAR);
        L(*done);
        later([this, counted, done] {
            L(*counted);
            dropCounted(*done);
        });
    }
    void dropCounted(Label& done) {
        and_(rcx, addressMask);
        dec(dword[rcx + offsetof(HeapObject, references)]);
        jne(done, T_NEAR);
        push(rax);
        push(rdx);
        if (firstArgument.getIdx() != rcx.getIdx()) mov(firstArgument, rcx);
        callHelper(reinterpret_cast<std::uintptr_t>(&buryObject));
        pop(rdx);
        pop(rax);
        jmp(done, T_NEAR);
    }

    // Register i, which may hold something counted, is free then. Keeps rax and rdx.
    void releaseRegister(std::uint32_t i) {
        auto counted = std::make_shared<Label>();
        auto done = std::make_shared<Label>();
        cmp(headOfRegister(i), lastPlainHead);
        ja(*counted, T_NEAR);
        L(*done);
        later([this, i, counted, done] {
            L(*counted);
            mov(rcx, headOfRegister(i));
            mov(headOfRegister(i), 0);
            dropCounted(*done);
        });
    }

    // rax and rdx into register i. Uses rcx.
    void storeWords(std::uint32_t i) {
        if (isTemporary(i)) {
            mov(headOfRegister(i), rax);
            mov(bodyOfRegister(i), rdx);
            return;
        }
        mov(rcx, headOfRegister(i));
        mov(headOfRegister(i), rax);
        mov(bodyOfRegister(i), rdx);
        dropHolder();
    }

    // Leaves unless a plain number can be written over what register i holds.
    void exitIfCounted(std::uint32_t i) {
        if (isTemporary(i)) return;
        cmp(headOfRegister(i), lastPlainHead);
        ja(exitHere(), T_NEAR);
    }

    void loadRegister(std::uint32_t i) {
        mov(rax, headOfRegister(i));
        mov(rdx, bodyOfRegister(i));
    }

    void loadConstant(const Cell& constant) {
        mov(rax, CellInspector::head(constant));
        mov(rdx, CellInspector::body(constant));
        if (!isCounted(constant)) return;
        mov(rcx, reinterpret_cast<std::uintptr_t>(CellInspector::object(constant)));
        inc(dword[rcx + offsetof(HeapObject, references)]);
    }

    // The place of global name `number` into rcx.
    void placeOfGlobal(std::uint32_t number, const Reg64& into) {
        mov(into, reinterpret_cast<std::uintptr_t>(
                      &globalPlace(symbolOrEmpty(code_.names[number].get()))));
    }

    // --- Jumps ---

    Label& targetOf(const Instruction& i) {
        return labels_[static_cast<std::size_t>(static_cast<std::int64_t>(at_) + i.y)];
    }
    static bool goesBack(const Instruction& i) noexcept { return i.y <= 0; }

    // --- Arithmetic ---

    enum class Arithmetic { add, subtract, multiply, divide };

    // An operand: a register, or a constant that is a plain number.
    struct Number {
        std::uint32_t where = 0;
        const Cell* constant = nullptr;
    };

    static bool isInteger(const Number& n) noexcept {
        return n.constant != nullptr && headOf(*n.constant) == plainInteger;
    }

    void jumpUnlessHead(const Number& n, std::uintptr_t head, Label& other) {
        if (n.constant != nullptr) {
            if (headOf(*n.constant) != head) jmp(other, T_NEAR);
            return;
        }
        cmp(headOfRegister(n.where), imm(head));
        jne(other, T_NEAR);
    }

    void loadInteger(const Xbyak::Reg32& into, const Number& n) {
        if (n.constant != nullptr) mov(into, imm(integerOf(*n.constant)));
        else mov(into, integerOfRegister(n.where));
    }

    // Any plain number as a double; goes to `other` unless it is one.
    void loadDouble(const Xbyak::Xmm& into, const Number& n, Label& other) {
        if (n.constant != nullptr) {
            if (!isPlainNumber(*n.constant)) return jmp(other, T_NEAR);
            const auto bits = std::bit_cast<std::uint64_t>(numberOf(*n.constant));
            if (bits == 0) {
                xorps(into, into);
                return;
            }
            mov(rax, bits);
            movq(into, rax);
            return;
        }
        Label isReal;
        Label loaded;
        cmp(headOfRegister(n.where), imm(plainReal));
        je(isReal);
        cmp(headOfRegister(n.where), imm(plainInteger));
        jne(other, T_NEAR);
        xorps(into, into);
        cvtsi2sd(into, integerOfRegister(n.where));
        jmp(loaded);
        L(isReal);
        movsd(into, bodyOfRegister(n.where));
        L(loaded);
    }

    void compute(Arithmetic what, const Xbyak::Xmm& a, const Xbyak::Xmm& b) {
        switch (what) {
        case Arithmetic::add: addsd(a, b); return;
        case Arithmetic::subtract: subsd(a, b); return;
        case Arithmetic::multiply: mulsd(a, b); return;
        case Arithmetic::divide: divsd(a, b); return;
        }
    }

    // eax = eax op b; leaves when that does not fit, or is a division that needs more care.
    void computeIntegers(Arithmetic what, const Number& b) {
        switch (what) {
        case Arithmetic::add:
            if (b.constant != nullptr) add(eax, imm(integerOf(*b.constant)));
            else add(eax, integerOfRegister(b.where));
            break;
        case Arithmetic::subtract:
            if (b.constant != nullptr) sub(eax, imm(integerOf(*b.constant)));
            else sub(eax, integerOfRegister(b.where));
            break;
        case Arithmetic::multiply:
            if (b.constant != nullptr) imul(eax, eax, integerOf(*b.constant));
            else imul(eax, integerOfRegister(b.where));
            break;
        case Arithmetic::divide:
            loadInteger(ecx, b);
            // Of -1 and 0 the loop knows what to make.
            lea(edx, ptr[rcx + 1]);
            cmp(edx, 1);
            jbe(exitHere(), T_NEAR);
            cdq();
            idiv(ecx);
            return;
        }
        jo(exitHere(), T_NEAR);
    }

    // What a number was when the code was compiled, or is likely to be: a Real, or else an Integer.
    [[nodiscard]] bool seemsReal(const Number& n) const {
        return n.constant != nullptr ? headOf(*n.constant) == plainReal : seemsReal_[n.where];
    }
    [[nodiscard]] bool seemReal(const std::vector<Number>& all) const {
        return std::ranges::any_of(all, [this](const Number& each) { return seemsReal(each); });
    }

    // A double of what the number seems to be; goes to `other` when it is something else.
    void loadAsItSeems(const Xbyak::Xmm& into, const Number& n, Label& other) {
        if (n.constant != nullptr) return loadDouble(into, n, other);
        jumpUnlessHead(n, seemsReal(n) ? plainReal : plainInteger, other);
        if (seemsReal(n)) {
            movsd(into, bodyOfRegister(n.where));
            return;
        }
        xorps(into, into);
        cvtsi2sd(into, integerOfRegister(n.where));
    }

    void computeIntegers(Arithmetic what, std::uint32_t target, const std::vector<Number>& all,
                         Label& others) {
        for (const Number& each : all) jumpUnlessHead(each, plainInteger, others);
        // Integers of which two are divided and then by a third are computed in doubles.
        if (what == Arithmetic::divide && all.size() > 2) return leaveToLoop();
        loadInteger(eax, all[0]);
        for (std::size_t i = 1; i < all.size(); ++i) computeIntegers(what, all[i]);
        mov(headOfRegister(target), imm(plainInteger));
        mov(bodyOfRegister(target), rax);
    }

    template <class Load> void computeReals(Arithmetic what, std::uint32_t target,
                                            const std::vector<Number>& all, Load load) {
        load(xmm0, all[0]);
        for (std::size_t i = 1; i < all.size(); ++i) {
            load(xmm1, all[i]);
            compute(what, xmm0, xmm1);
        }
        mov(headOfRegister(target), imm(plainReal));
        movsd(bodyOfRegister(target), xmm0);
    }

    // What is likely stands in line, all else behind.
    void arithmetic(Arithmetic what, std::uint32_t target, const std::vector<Number>& all) {
        exitIfCounted(target);
        Label& others = newLabel();
        Label& done = newLabel();
        const bool onReals = seemReal(all);
        if (onReals)
            computeReals(what, target, all, [&](const Xbyak::Xmm& into, const Number& n) {
                loadAsItSeems(into, n, others);
            });
        else computeIntegers(what, target, all, others);
        L(done);
        later([this, what, target, all, onReals, &others, &done] {
            L(others);
            Label mixed;
            if (onReals) {
                computeIntegers(what, target, all, mixed);
                jmp(done, T_NEAR);
                L(mixed);
            }
            computeReals(what, target, all, [this](const Xbyak::Xmm& into, const Number& n) {
                loadDouble(into, n, exitHere());
            });
            jmp(done, T_NEAR);
        });
        seemsReal_[target] = onReals;
    }

    void arithmetic(Arithmetic what, const Instruction& i) {
        arithmetic(what, i.a, {{i.b}, {i.c}});
    }
    void arithmeticWithConstant(Arithmetic what, const Instruction& i, bool constantFirst = false) {
        const Cell& constant = code_.constants[i.x];
        if (!isPlainNumber(constant)) return leaveToLoop();
        if (constantFirst) arithmetic(what, i.a, {{0, &constant}, {i.b}});
        else arithmetic(what, i.a, {{i.b}, {0, &constant}});
    }
    void arithmeticOnThree(Arithmetic what, const Instruction& i) {
        arithmetic(what, i.a, {{i.b}, {i.c}, {i.x}});
    }

    // --- Comparison ---

    enum class Comparison { less, greater, lessOrEqual, equal, notEqual };

    void jumpIfCompared(Comparison what, bool wanted, Label& to) {
        switch (what) {
        case Comparison::less: wanted ? jl(to, T_NEAR) : jge(to, T_NEAR); return;
        case Comparison::greater: wanted ? jg(to, T_NEAR) : jle(to, T_NEAR); return;
        case Comparison::lessOrEqual: wanted ? jle(to, T_NEAR) : jg(to, T_NEAR); return;
        case Comparison::equal: wanted ? je(to, T_NEAR) : jne(to, T_NEAR); return;
        case Comparison::notEqual: wanted ? jne(to, T_NEAR) : je(to, T_NEAR); return;
        }
    }

    // The same of xmm0 and xmm1, where not-a-number counts as the built-ins have it: it is less
    // than, greater than, less than or equal to, and not equal to every number.
    void jumpIfRealsCompared(Comparison what, bool wanted, Label& to) {
        switch (what) {
        case Comparison::less:
            ucomisd(xmm0, xmm1);
            wanted ? jb(to, T_NEAR) : jae(to, T_NEAR);
            return;
        case Comparison::greater:
            ucomisd(xmm1, xmm0);
            wanted ? jb(to, T_NEAR) : jae(to, T_NEAR);
            return;
        case Comparison::lessOrEqual:
            ucomisd(xmm0, xmm1);
            wanted ? jbe(to, T_NEAR) : ja(to, T_NEAR);
            return;
        case Comparison::equal:
        case Comparison::notEqual: break;
        }
        ucomisd(xmm0, xmm1);
        const bool whenEqual = (what == Comparison::equal) == wanted;
        if (whenEqual) {
            Label differ;
            jp(differ);
            je(to, T_NEAR);
            L(differ);
        } else {
            jp(to, T_NEAR);
            jne(to, T_NEAR);
        }
    }

    static bool isSymbolTest(Comparison what) noexcept {
        return what == Comparison::equal || what == Comparison::notEqual;
    }

    // Jumps to `to` when the outcome is the wanted one; lets go of the operands.
    void compare(Comparison what, bool wanted, const Instruction& i, const Number& second,
                 Label& to) {
        const Number first{i.b};
        Label& others = newLabel();
        Label& done = newLabel();
        if (seemReal({first, second})) {
            loadAsItSeems(xmm0, first, others);
            loadAsItSeems(xmm1, second, others);
            jumpIfRealsCompared(what, wanted, to);
        } else {
            jumpUnlessHead(first, plainInteger, others);
            jumpUnlessHead(second, plainInteger, others);
            loadInteger(eax, first);
            if (second.constant != nullptr) cmp(eax, imm(integerOf(*second.constant)));
            else cmp(eax, integerOfRegister(second.where));
            jumpIfCompared(what, wanted, to);
        }
        L(done);
        later([this, what, wanted, first, second, &i, &to, &others, &done] {
            Label numbers;
            Label slow;
            L(others);
            if (mayCompareSymbols(what, i, second)) {
                mov(rax, headOfRegister(i.b));
                if (second.constant != nullptr) {
                    mov(rcx, CellInspector::head(*second.constant));
                } else {
                    mov(rcx, headOfRegister(second.where));
                }
                mov(edx, eax);
                or_(edx, ecx);
                test(edx, typeMask);
                jne(numbers);
                cmp(rax, rcx);
                jumpIfCompared(what, wanted, to);
                jmp(done, T_NEAR);
                L(numbers);
            }
            if (second.constant == nullptr || isPlainNumber(*second.constant)) {
                loadDouble(xmm0, first, slow);
                loadDouble(xmm1, second, slow);
                jumpIfRealsCompared(what, wanted, to);
                jmp(done, T_NEAR);
            }
            L(slow);
            callWithInstruction(
                reinterpret_cast<std::uintptr_t>(builtinOf(what, second.constant != nullptr)));
            cmp(eax, 1);
            ja(exitHere(), T_NEAR);
            wanted ? je(to, T_NEAR) : jne(to, T_NEAR);
            jmp(done, T_NEAR);
        });
    }

    // Symbols are equal when they are the same. Of temporaries somebody must let go.
    [[nodiscard]] bool mayCompareSymbols(Comparison what, const Instruction& i,
                                         const Number& second) const noexcept {
        if ((what != Comparison::equal && what != Comparison::notEqual) || isTemporary(i.b))
            return false;
        return second.constant != nullptr ? second.constant->is(CellType::Symbol)
                                          : !isTemporary(second.where);
    }

    static Compared builtinOf(Comparison what, bool withConstant) noexcept {
        switch (what) {
        case Comparison::less:
            return withConstant ? comparedByBuiltin<Intrinsic::less, true>
                                : comparedByBuiltin<Intrinsic::less, false>;
        case Comparison::greater:
            return withConstant ? comparedByBuiltin<Intrinsic::greater, true>
                                : comparedByBuiltin<Intrinsic::greater, false>;
        case Comparison::lessOrEqual:
            return withConstant ? comparedByBuiltin<Intrinsic::lessOrEqual, true>
                                : comparedByBuiltin<Intrinsic::lessOrEqual, false>;
        case Comparison::equal:
            return withConstant ? comparedByBuiltin<Intrinsic::equal, true>
                                : comparedByBuiltin<Intrinsic::equal, false>;
        case Comparison::notEqual: break;
        }
        return withConstant ? comparedByBuiltin<Intrinsic::notEqual, true>
                            : comparedByBuiltin<Intrinsic::notEqual, false>;
    }

    Number secondOperand(const Instruction& i, bool withConstant) const noexcept {
        if (withConstant) return {0, &code_.constants[i.x]};
        return {i.c};
    }

    void comparisonJump(Comparison what, bool wanted, const Instruction& i,
                        bool withConstant = false) {
        if (goesBack(i)) exitIfEnding();
        compare(what, wanted, i, secondOperand(i, withConstant), targetOf(i));
    }

    void comparison(Comparison what, const Instruction& i, bool withConstant = false) {
        exitIfCounted(i.a);
        Label& isSo = newLabel();
        auto done = std::make_shared<Label>();
        compare(what, true, i, secondOperand(i, withConstant), isSo);
        loadConstant(FalseCell);
        mov(headOfRegister(i.a), rax);
        mov(bodyOfRegister(i.a), rdx);
        L(*done);
        later([this, &isSo, &i, done] {
            L(isSo);
            loadConstant(TrueCell);
            mov(headOfRegister(i.a), rax);
            mov(bodyOfRegister(i.a), rdx);
            jmp(*done, T_NEAR);
        });
    }

    Label& newLabel() {
        moreLabels_.emplace_back();
        return moreLabels_.back();
    }

    // --- Truth ---

    // Goes on at `isFalse` when the head in rax is nil's, leaves when more must be looked at: a text
    // may be "nil", as may an integer's or a function's.
    void testTruth(Label& isFalse) {
        Label symbol;
        Label isTrue;
        test(eax, typeMask);
        je(symbol);
        cmp(rax, imm(plainReal));
        jbe(isTrue);
        mov(ecx, eax);
        and_(ecx, typeMask);
        cmp(ecx, listType);
        jne(exitHere(), T_NEAR);
        jmp(isTrue);
        L(symbol);
        mov(rcx, CellInspector::head(NilCell));
        cmp(rax, rcx);
        je(isFalse, T_NEAR);
        L(isTrue);
    }

    void jumpOnTruth(const Instruction& i, bool wanted) {
        if (goesBack(i)) exitIfEnding();
        Label isFalse;
        Label end;
        mov(rax, headOfRegister(i.a));
        testTruth(isFalse);
        releaseRegister(i.a);
        jmp(wanted ? targetOf(i) : end, T_NEAR);
        L(isFalse);
        releaseRegister(i.a);
        if (!wanted) jmp(targetOf(i), T_NEAR);
        L(end);
    }

    void keepIfTrue(const Instruction& i) {
        Label isFalse;
        mov(rax, headOfRegister(i.a));
        testTruth(isFalse);
        jmp(targetOf(i), T_NEAR);
        L(isFalse);
        releaseRegister(i.a);
    }

    void jumpOnGlobal(const Instruction& i, bool wanted) {
        if (goesBack(i)) exitIfEnding();
        Label isFalse;
        Label end;
        placeOfGlobal(i.x, rcx);
        mov(rax, qword[rcx]);
        testTruth(isFalse);  // an unbound cell is none of the types it knows
        jmp(wanted ? targetOf(i) : end, T_NEAR);
        L(isFalse);
        if (!wanted) jmp(targetOf(i), T_NEAR);
        L(end);
    }

    // --- Lists ---

    // Leaves unless register i holds a List; its head into rax.
    void requireList(std::uint32_t i) {
        mov(rax, headOfRegister(i));
        mov(ecx, eax);
        and_(ecx, typeMask);
        cmp(ecx, listType);
        jne(exitHere(), T_NEAR);
    }

    void jumpOnEmpty(const Instruction& i, bool wanted) {
        if (goesBack(i)) exitIfEnding();
        requireList(i.b);
        if (isTemporary(i.b)) {
            mov(edx, dword[rbx + i.b * cellBytes + 12]);
            releaseRegister(i.b);
            test(edx, edx);
        } else {
            cmp(dword[rbx + i.b * cellBytes + 12], 0);
        }
        if (wanted) je(targetOf(i), T_NEAR);
        else jne(targetOf(i), T_NEAR);
    }

    // The item at rcx, of a list in register `list`, into register `target`.
    void takeItem(std::uint32_t list, std::uint32_t target) {
        mov(rax, qword[rcx]);
        mov(rdx, qword[rcx + 8]);
        countHolder(rax);
        if (target == list) {
            mov(rcx, headOfRegister(list));
            mov(headOfRegister(target), rax);
            mov(bodyOfRegister(target), rdx);
            dropHolder();
            return;
        }
        storeWords(target);
        if (isTemporary(list)) releaseRegister(list);
    }

    // Where the item of index eax (not negative) of the list in `list` lies, into rcx; leaves when
    // there is none.
    void findItem(std::uint32_t list) {
        cmp(eax, dword[rbx + list * cellBytes + 12]);
        jae(exitHere(), T_NEAR);
        add(eax, dword[rbx + list * cellBytes + 8]);
        shl(rax, 4);
        mov(rcx, headOfRegister(list));
        and_(rcx, addressMask);
        lea(rcx, ptr[rcx + rax + sizeof(Buffer<Cell>)]);
    }

    void car(const Instruction& i) {
        requireList(i.b);
        xor_(eax, eax);
        findItem(i.b);
        takeItem(i.b, i.a);
    }

    void nth(const Instruction& i) {
        cmp(headOfRegister(i.b), imm(plainInteger));
        jne(exitHere(), T_NEAR);
        requireList(i.c);
        mov(eax, integerOfRegister(i.b));
        findItem(i.c);  // a negative index is too large
        takeItem(i.c, i.a);
    }

    void cdr(const Instruction& i) {
        requireList(i.b);
        const std::size_t body = i.b * cellBytes + 8;
        Label noPair;
        Label narrow;
        mov(rcx, rax);
        and_(rcx, addressMask);  // the buffer; of an empty list null, but its length is 0
        mov(edx, dword[rbx + body + 4]);
        cmp(edx, 2);
        jb(exitHere(), T_NEAR);
        // Of three the middle one may be the dot of a pair; a plain number is not.
        cmp(edx, 3);
        jne(noPair);
        mov(eax, dword[rbx + body]);
        shl(rax, 4);
        cmp(qword[rcx + rax + sizeof(Buffer<Cell>) + cellBytes], imm(plainReal));
        ja(exitHere(), T_NEAR);
        L(noPair);
        mov(eax, dword[rcx + offsetof(Buffer<Cell>, last)]);
        sub(eax, dword[rcx + offsetof(Buffer<Cell>, first)]);
        cmp(eax, 64);
        jbe(narrow);
        shr(eax, 2);
        dec(edx);
        cmp(edx, eax);
        jb(exitHere(), T_NEAR);
        L(narrow);
        if (i.a == i.b) {
            inc(dword[rbx + body]);
            dec(dword[rbx + body + 4]);
            return;
        }
        loadRegister(i.b);
        if (isTemporary(i.b)) mov(headOfRegister(i.b), 0);
        else countHolder(rax);
        // One further on, one shorter.
        mov(rcx, 0xffffffff00000001);
        add(rdx, rcx);
        storeWords(i.a);
    }

    // One item more in the free place beside a list, where there is one.
    void grow(const Instruction& i, std::uint32_t list, std::uint32_t item, bool inFront) {
        if (item == i.a || item == list) return inPlace(i);
        const std::size_t body = list * cellBytes + 8;
        requireList(list);
        cmp(rax, lastPlainHead);  // the empty list has no buffer
        jbe(exitHere(), T_NEAR);
        mov(rcx, rax);
        and_(rcx, addressMask);
        mov(edx, dword[rbx + body]);
        if (inFront) {
            cmp(edx, dword[rcx + offsetof(Buffer<Cell>, first)]);
            jne(exitHere(), T_NEAR);
            sub(edx, 1);
            jb(exitHere(), T_NEAR);
        } else {
            add(edx, dword[rbx + body + 4]);
            cmp(edx, dword[rcx + offsetof(Buffer<Cell>, last)]);
            jne(exitHere(), T_NEAR);
            cmp(edx, dword[rcx + offsetof(Buffer<Cell>, capacity)]);
            jae(exitHere(), T_NEAR);
        }
        // Items that hold cells need more care. Of the types List and Lambda have bit 2 alone, but
        // for bit 1.
        static_assert(listType == 4 && lambdaType == 6);
        Label holdsNoCells;
        mov(rax, headOfRegister(item));
        mov(r8d, eax);
        and_(r8d, 13);
        cmp(r8d, 4);
        jne(holdsNoCells);
        cmp(rax, lastPlainHead);
        ja(exitHere(), T_NEAR);
        L(holdsNoCells);

        if (inFront) mov(dword[rcx + offsetof(Buffer<Cell>, first)], edx);
        else inc(dword[rcx + offsetof(Buffer<Cell>, last)]);
        shl(rdx, 4);
        lea(rdx, ptr[rcx + rdx + sizeof(Buffer<Cell>)]);
        if (isTemporary(item)) mov(headOfRegister(item), 0);
        else countHolder(rax);
        mov(qword[rdx], rax);
        mov(rax, bodyOfRegister(item));
        mov(qword[rdx + 8], rax);

        if (i.a == list) {
            if (inFront) dec(dword[rbx + body]);
            inc(dword[rbx + body + 4]);
            return;
        }
        loadRegister(list);
        if (isTemporary(list)) mov(headOfRegister(list), 0);
        else countHolder(rax);
        // One longer, and begun one further in front.
        mov(rcx, inFront ? 0xffffffff : 0x100000000);
        add(rdx, rcx);
        storeWords(i.a);
    }

    void inPlace(const Instruction& i) {
        callWithInstruction(reinterpret_cast<std::uintptr_t>(inPlaceOf(i.op)));
        test(al, al);
        je(exitHere(), T_NEAR);
        if (i.op != Op::callBuiltin) return;
        // It may have asked for the end of it all.
        const std::size_t at = at_++;
        exitIfEnding();
        exitIfObstacles();
        at_ = at;
    }

    // --- Names ---

    void exitIfUnbound(std::uint32_t i) {
        cmp(headOfRegister(i), unboundHead);
        je(exitHere(), T_NEAR);
    }

    void loadLocal(const Instruction& i, bool maybeUnbound) {
        if (maybeUnbound) exitIfUnbound(i.b);
        loadRegister(i.b);
        countHolder(rax);
        storeWords(i.a);
        seemsReal_[i.a] = seemsReal_[i.b];
    }

    void loadGlobal(const Instruction& i) {
        placeOfGlobal(i.x, rcx);
        mov(rax, qword[rcx]);
        mov(rdx, qword[rcx + 8]);
        cmp(rax, unboundHead);
        je(exitHere(), T_NEAR);
        countHolder(rax);
        storeWords(i.a);
    }

    // What is assigned: register i, which stays when its value is asked for.
    void takeAssigned(const Instruction& i) {
        loadRegister(i.a);
        if (i.y != 0) countHolder(rax);
        else mov(headOfRegister(i.a), 0);
    }

    void setLocal(const Instruction& i) {
        takeAssigned(i);
        storeWords(i.b);
        seemsReal_[i.b] = seemsReal_[i.a];
    }

    // The place of slot c, b scopes outward, into rcx; leaves when nothing is bound there.
    void placeInScope(const Instruction& i) {
        mov(rcx, qword[rbp + offsetof(Frame, scope)]);
        for (unsigned depth = 0; depth < i.b; ++depth)
            mov(rcx, qword[rcx + Environment::offsetOfOuter()]);
        add(rcx, imm(sizeof(Environment) + i.c * cellBytes));
        cmp(qword[rcx], unboundHead);
        je(exitHere(), T_NEAR);
    }

    void loadScope(const Instruction& i) {
        placeInScope(i);
        mov(rax, qword[rcx]);
        mov(rdx, qword[rcx + 8]);
        countHolder(rax);
        storeWords(i.a);
    }

    void setScope(const Instruction& i) {
        placeInScope(i);
        mov(r8, rcx);
        takeAssigned(i);
        mov(rcx, qword[r8]);
        mov(qword[r8], rax);
        mov(qword[r8 + 8], rdx);
        dropHolder();
    }

    void setGlobal(const Instruction& i) {
        SymbolData& name = symbolOrEmpty(code_.names[i.x].get());
        Cell& place = globalPlace(name);
        mov(rcx, reinterpret_cast<std::uintptr_t>(&place));
        cmp(qword[rcx], unboundHead);
        je(exitHere(), T_NEAR);
        mov(rax, reinterpret_cast<std::uintptr_t>(&name.intrinsic));
        cmp(byte[rax], 0);
        jne(exitHere(), T_NEAR);
        takeAssigned(i);
        mov(r8, reinterpret_cast<std::uintptr_t>(&place));
        mov(rcx, qword[r8]);
        mov(qword[r8], rax);
        mov(qword[r8 + 8], rdx);
        dropHolder();
    }

    // --- Calls ---

    // Calls the function rcx, of which a count is taken over when the call is certain; what it
    // needs lies in registers from `first` on.
    void callFunction(const Instruction& i, std::uint32_t first, bool headGivesItsCount) {
        exitIfEnding();
        mov(rdx, qword[rcx + offsetof(LambdaData, code)]);
        test(rdx, rdx);
        je(exitHere(), T_NEAR);
        mov(r8, qword[rdx + offsetof(Code, nativeEntry)]);
        test(r8, r8);
        je(exitHere(), T_NEAR);
        cmp(dword[rdx + offsetof(Code, parameters)], i.b);
        jne(exitHere(), T_NEAR);
        cmp(rbp, qword[r12 + offsetof(Machine, lastFrame_)]);
        je(exitHere(), T_NEAR);
        mov(eax, dword[rdx + offsetof(Code, registers)]);
        shl(rax, 4);
        lea(r9, ptr[rbx + first * cellBytes]);
        add(rax, r9);
        cmp(rax, qword[r12 + offsetof(Machine, segmentEnd_)]);
        ja(exitHere(), T_NEAR);

        if (headGivesItsCount) mov(headOfRegister(i.a), 0);
        else inc(dword[rcx + offsetof(HeapObject, references)]);
        mov(rax, reinterpret_cast<std::uintptr_t>(&instructions_[at_ + 1]));
        mov(qword[rbp + offsetof(Frame, next)], rax);
        lea(rax, ptr[rip + labels_[at_ + 1]]);
        mov(qword[rbp + offsetof(Frame, nativeNext)], rax);
        lea(rax, ptr[rbx + i.a * cellBytes]);
        add(rbp, imm(sizeof(Frame)));
        mov(qword[r12 + offsetof(Machine, top_)], rbp);
        mov(qword[rbp + offsetof(Frame, registers)], r9);
        mov(qword[rbp + offsetof(Frame, code)], rdx);
        mov(qword[rbp + offsetof(Frame, result)], rax);
        mov(qword[rbp + offsetof(Frame, function)], rcx);
        mov(rax, qword[rcx + offsetof(LambdaData, scope)]);
        mov(qword[rbp + offsetof(Frame, scope)], rax);
        mov(byte[rbp + offsetof(Frame, returnsSlowly)], 0);
        mov(rbx, r9);
        jmp(r8);
    }

    // Leaves unless the head in rax is a Lambda's; its function into rcx.
    void requireFunction() {
        mov(ecx, eax);
        and_(ecx, typeMask);
        cmp(ecx, lambdaType);
        jne(exitHere(), T_NEAR);
        mov(rcx, rax);
        and_(rcx, addressMask);
    }

    void callGlobal(const Instruction& i) {
        placeOfGlobal(i.x, rax);
        mov(rax, qword[rax]);
        requireFunction();
        callFunction(i, i.a, false);
    }

    void callHead(const Instruction& i) {
        mov(rax, headOfRegister(i.a));
        requireFunction();
        callFunction(i, i.a + 1u, true);
    }

    void leave(const Instruction& i) {
        cmp(byte[rbp + offsetof(Frame, returnsSlowly)], 0);
        jne(exitHere(), T_NEAR);
        for (std::uint32_t local = 0; local < code_.firstTemporary; ++local)
            if (local != i.a) releaseRegister(local);
        // The last holder of the function takes this very code away: the loop does that.
        mov(rcx, qword[rbp + offsetof(Frame, function)]);
        cmp(dword[rcx + offsetof(HeapObject, references)], 1);
        je(exitHere(), T_NEAR);
        dec(dword[rcx + offsetof(HeapObject, references)]);
        loadRegister(i.a);
        mov(headOfRegister(i.a), 0);
        mov(rcx, qword[rbp + offsetof(Frame, result)]);
        mov(qword[rcx], rax);
        mov(qword[rcx + 8], rdx);
        sub(rbp, imm(sizeof(Frame)));
        mov(qword[r12 + offsetof(Machine, top_)], rbp);
        mov(rbx, qword[rbp + offsetof(Frame, registers)]);
        jmp(qword[rbp + offsetof(Frame, nativeNext)]);
    }

    // --- One instruction ---

    void emit(const Instruction& i) {
        using A = Arithmetic;
        using C = Comparison;
        switch (i.op) {
        case Op::loadConstant:
            loadConstant(code_.constants[i.x]);
            storeWords(i.a);
            seemsReal_[i.a] = code_.constants[i.x].is(CellType::Real);
            return;
        case Op::setConstant:
            loadConstant(code_.constants[i.x]);
            storeWords(i.b);
            return;
        case Op::loadLocal:
        case Op::takeLocal: return loadLocal(i, false);
        case Op::loadMaybe:
        case Op::takeMaybe: return loadLocal(i, true);
        case Op::loadGlobal:
        case Op::takeGlobal: return loadGlobal(i);
        case Op::loadScope:
        case Op::takeScope: return loadScope(i);
        case Op::setLocal: return setLocal(i);
        case Op::setScope: return setScope(i);
        case Op::setGlobal: return setGlobal(i);
        case Op::defineLocal:
            takeAssigned(i);
            storeWords(i.b);
            return;
        case Op::add: return arithmetic(A::add, i);
        case Op::addConstant: return arithmeticWithConstant(A::add, i);
        case Op::subtract: return arithmetic(A::subtract, i);
        case Op::subtractConstant: return arithmeticWithConstant(A::subtract, i);
        case Op::multiply: return arithmetic(A::multiply, i);
        case Op::multiplyConstant: return arithmeticWithConstant(A::multiply, i);
        case Op::divide: return arithmetic(A::divide, i);
        case Op::divideConstant: return arithmeticWithConstant(A::divide, i);
        case Op::subtractFromConstant: return arithmeticWithConstant(A::subtract, i, true);
        case Op::divideConstantBy: return arithmeticWithConstant(A::divide, i, true);
        case Op::addThree: return arithmeticOnThree(A::add, i);
        case Op::subtractThree: return arithmeticOnThree(A::subtract, i);
        case Op::multiplyThree: return arithmeticOnThree(A::multiply, i);
        case Op::divideThree: return arithmeticOnThree(A::divide, i);
        case Op::less: return comparison(C::less, i);
        case Op::lessConstant: return comparison(C::less, i, true);
        case Op::greater: return comparison(C::greater, i);
        case Op::greaterConstant: return comparison(C::greater, i, true);
        case Op::lessOrEqual: return comparison(C::lessOrEqual, i);
        case Op::lessOrEqualConstant: return comparison(C::lessOrEqual, i, true);
        case Op::equal: return comparison(C::equal, i);
        case Op::equalConstant: return comparison(C::equal, i, true);
        case Op::notEqual: return comparison(C::notEqual, i);
        case Op::notEqualConstant: return comparison(C::notEqual, i, true);
        case Op::unlessLess: return comparisonJump(C::less, false, i);
        case Op::unlessLessConstant: return comparisonJump(C::less, false, i, true);
        case Op::ifLess: return comparisonJump(C::less, true, i);
        case Op::ifLessConstant: return comparisonJump(C::less, true, i, true);
        case Op::unlessGreater: return comparisonJump(C::greater, false, i);
        case Op::unlessGreaterConstant: return comparisonJump(C::greater, false, i, true);
        case Op::ifGreater: return comparisonJump(C::greater, true, i);
        case Op::ifGreaterConstant: return comparisonJump(C::greater, true, i, true);
        case Op::unlessLessOrEqual: return comparisonJump(C::lessOrEqual, false, i);
        case Op::unlessLessOrEqualConstant: return comparisonJump(C::lessOrEqual, false, i, true);
        case Op::ifLessOrEqual: return comparisonJump(C::lessOrEqual, true, i);
        case Op::ifLessOrEqualConstant: return comparisonJump(C::lessOrEqual, true, i, true);
        case Op::unlessEqual: return comparisonJump(C::equal, false, i);
        case Op::unlessEqualConstant: return comparisonJump(C::equal, false, i, true);
        case Op::ifEqual: return comparisonJump(C::equal, true, i);
        case Op::ifEqualConstant: return comparisonJump(C::equal, true, i, true);
        case Op::unlessNotEqual: return comparisonJump(C::notEqual, false, i);
        case Op::unlessNotEqualConstant: return comparisonJump(C::notEqual, false, i, true);
        case Op::ifNotEqual: return comparisonJump(C::notEqual, true, i);
        case Op::ifNotEqualConstant: return comparisonJump(C::notEqual, true, i, true);
        case Op::car: return car(i);
        case Op::cdr: return cdr(i);
        case Op::nth: return nth(i);
        case Op::cons: return grow(i, i.c, i.b, true);
        case Op::appendItem: return grow(i, i.b, i.c, false);
        case Op::appendText:
        case Op::appendTextConstant:
        case Op::length:
        case Op::cadr:
        case Op::nullp:
        case Op::listp:
        case Op::callBuiltin: return inPlace(i);
        case Op::unlessNull: return jumpOnEmpty(i, false);
        case Op::ifNull: return jumpOnEmpty(i, true);
        case Op::jumpIfFalse: return jumpOnTruth(i, false);
        case Op::jumpIfTrue: return jumpOnTruth(i, true);
        case Op::keepIfTrue: return keepIfTrue(i);
        case Op::unlessGlobal: return jumpOnGlobal(i, false);
        case Op::ifGlobal: return jumpOnGlobal(i, true);
        case Op::jump:
            if (goesBack(i)) exitIfEnding();
            jmp(targetOf(i), T_NEAR);
            return;
        case Op::ifObstacles: return;
        case Op::guard:
        case Op::checkHead: return;  // no obstacles here
        case Op::startRepeat:
            cmp(headOfRegister(i.a), imm(plainInteger));
            jne(exitHere(), T_NEAR);
            cmp(integerOfRegister(i.a), 0);
            jle(exitHere(), T_NEAR);
            return;
        case Op::nextRepeat:
            exitIfEnding();
            mov(eax, integerOfRegister(i.a));
            dec(eax);
            mov(bodyOfRegister(i.a), rax);
            test(eax, eax);
            jg(targetOf(i), T_NEAR);
            return;
        case Op::callGlobal: return callGlobal(i);
        case Op::call: return callHead(i);
        case Op::leave: return leave(i);
        case Op::drop: return releaseRegister(i.a);
        case Op::move:
            loadRegister(i.b);
            mov(headOfRegister(i.b), 0);
            storeWords(i.a);
            return;
        default: return leaveToLoop();
        }
    }

    const Code& code_;
    const std::vector<Instruction>& instructions_;
    std::vector<Label> labels_;
    std::vector<std::unique_ptr<Label>> exits_;
    std::deque<std::function<void()>> cold_;
    std::deque<Label> moreLabels_;
    std::vector<bool> seemsReal_;  // by register, as the instructions are gone through
    std::size_t at_ = 0;
    std::size_t entryOffset_ = 0;
};

// The way in and out: saves what the caller wants kept and makes the registers what the templates
// expect.
class NativeGate : public Xbyak::CodeGenerator {
  public:
    explicit NativeGate(std::vector<std::uint8_t>& buffer)
        : CodeGenerator(buffer.size(), buffer.data()) {
        const Reg64 saved[] = {rbx, rbp, r12, r13, r14, r15};
#if defined(_WIN32)
        const Reg64& machine = rcx;
        const Reg64& place = rdx;
#else
        const Reg64& machine = rdi;
        const Reg64& place = rsi;
#endif
        for (const Reg64& each : saved) push(each);
        sub(rsp, 8);  // a multiple of 16 again
        mov(r12, machine);
        mov(r13, reinterpret_cast<std::uintptr_t>(&intrinsics::obstacles));
        mov(r14, reinterpret_cast<std::uintptr_t>(&interruption::detail::reason));
        mov(rbp, qword[r12 + offsetof(Machine, top_)]);
        mov(rbx, qword[rbp + offsetof(Machine::Frame, registers)]);
        jmp(place);
        backToTheLoop = getSize();
        xor_(eax, eax);
        exit = getSize();
        add(rsp, 8);
        for (std::size_t i = std::size(saved); i > 0; --i) pop(saved[i - 1]);
        ret();
    }

    std::size_t exit = 0;
    std::size_t backToTheLoop = 0;
};

NativeCompiler::Gate NativeCompiler::gate;

#pragma GCC diagnostic pop

namespace {

// The way in and out; stays until the program, or the module, goes.
struct GateMemory {
    ~GateMemory() {
        if (code != nullptr) platform::freeCode(code, bytes);
    }
    std::byte* code = nullptr;
    std::size_t bytes = 0;
};
GateMemory gateMemory;

}  // namespace

bool NativeCode::prepare() noexcept {
    // Tried once: frames that were pushed without a way back must never meet native code.
    static const bool isMade = []() noexcept {
        try {
            std::vector<std::uint8_t> buffer(1024);
            const NativeGate gate(buffer);
            std::byte* memory = platform::allocateCode(buffer.data(), gate.getSize());
            if (memory == nullptr) return false;
            gateMemory.code = memory;
            gateMemory.bytes = gate.getSize();
            const auto address = reinterpret_cast<std::uintptr_t>(memory);
            backToTheLoop_ = memory + gate.backToTheLoop;
            NativeCompiler::gate.exit = memory + gate.exit;
            NativeCompiler::gate.run =
                reinterpret_cast<decltype(NativeCompiler::gate.run)>(address);
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }();
    return isMade;
}

std::unique_ptr<NativeCode> NativeCode::compile(const Code& code, const Cell* registers) noexcept {
    // Longer code is run seldom, in proportion to what it would take. Each is a mapping of its own,
    // of which the system grants some 65,000 to everybody in the process together.
    constexpr std::size_t mostInstructions = 20'000;
    constexpr std::size_t mostAtOnce = 8'000;
    constexpr std::size_t mostBytesEach = 600;
    const std::size_t count = code.blocks[0]->instructions.size();
    if (count == 0 || count > mostInstructions || living_ >= mostAtOnce || !prepare())
        return nullptr;
    try {
        auto made = std::make_unique<NativeCode>();
        made->places_.reserve(count);
        const std::size_t ofLocals = (code.slots + std::size_t{1}) * 200;
        std::vector<std::uint8_t> buffer(4096 + count * mostBytesEach + ofLocals);
        NativeCompiler compiler(code, registers, buffer);
        compiler.compile(*made);
        made->bytes_ = compiler.getSize();
        made->memory_ = platform::allocateCode(buffer.data(), made->bytes_);
        if (made->memory_ == nullptr) return nullptr;
        ++living_;
        made->first_ = code.blocks[0]->instructions.data();
        if (code.isFunction && code.namesInRegisters && code.parameterSlots.empty())
            made->entry_ = made->memory_ + compiler.entryOffset();
        return made;
    } catch (const std::exception&) {
        return nullptr;  // too long, or no memory: the loop can do it
    }
}

NativeCode::~NativeCode() {
    if (memory_ == nullptr) return;
    platform::freeCode(memory_, bytes_);
    --living_;
}

const Instruction* NativeCode::run(Machine& machine, const std::byte* place) noexcept {
    return NativeCompiler::gate.run(&machine, place);
}

const std::byte* NativeCode::backToTheLoop_ = nullptr;
std::size_t NativeCode::living_ = 0;

void native::setThreshold(std::uint32_t times) noexcept { timesUntilCompiled = times; }

}  // namespace vlisp
