// Templates for numbers: arithmetic and comparison.
// One idea: the kind of numbers that stood in the registers when the code was compiled is computed in
// line, every other kind behind.
// Tests: tests/core/native_code_test.cpp.
#pragma once

#include "core/native_emitter.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace vlisp {

class NativeNumbers : public NativeEmitter {
  protected:
    using NativeEmitter::NativeEmitter;
    using Compared = native::Compared;

    // --- Arithmetic ---

    enum class Arithmetic { add, subtract, multiply, divide };

    // An operand: a register, or a constant that is a plain number.
    struct Number {
        std::uint32_t where = 0;
        const Cell* constant = nullptr;
    };

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
        constexpr Intrinsic intrinsics[] = {Intrinsic::less, Intrinsic::greater,
                                            Intrinsic::lessOrEqual, Intrinsic::equal,
                                            Intrinsic::notEqual};
        return native::comparedByBuiltin(intrinsics[static_cast<std::size_t>(what)], withConstant);
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
};

}  // namespace vlisp
