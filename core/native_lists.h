// Templates for lists and for what is true.
// One idea: what a range of a shared buffer allows without a copy is done in line.
// Tests: tests/core/native_code_test.cpp.
#pragma once

#include "core/native_numbers.h"

namespace vlisp {

// Objects that are not of standard layout lie where the compiler says, on every compiler we use.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

class NativeLists : public NativeNumbers {
  protected:
    using NativeNumbers::NativeNumbers;

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
        callWithInstruction(reinterpret_cast<std::uintptr_t>(native::inPlaceOf(i.op)));
        test(al, al);
        je(exitHere(), T_NEAR);
        if (i.op != Op::callBuiltin) return;
        // It may have asked for the end of it all.
        const std::size_t at = at_++;
        exitIfEnding();
        exitIfObstacles();
        at_ = at;
    }
};

#pragma GCC diagnostic pop

}  // namespace vlisp
