// What the templates of native code are made with: registers, counts, ways out.
// One idea: a template writes what is likely in line; what is not stands behind everything else, and
// what it does not do at all is left to the loop.
// Tests: tests/core/native_code_test.cpp.
#pragma once

#include "core/machine_frames.h"
#include "core/native_helpers.h"

#include <xbyak/xbyak.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace vlisp {

// Objects that are not of standard layout lie where the compiler says, on every compiler we use.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// Registers of the processor, for as long as native code runs:
//   rbx  the top frame's registers     rbp  the top frame       r12  the machine
//   r13  where the obstacles stand     r14  where the wish to end stands
// rax, rcx, rdx and the arguments' registers are free within a template.
class NativeEmitter : public Xbyak::CodeGenerator {
  protected:
    using Label = Xbyak::Label;
    using Reg64 = Xbyak::Reg64;

    static constexpr std::size_t cellBytes = sizeof(Cell);
    static constexpr auto listType = static_cast<std::uint32_t>(CellType::List);
    static constexpr auto lambdaType = static_cast<std::uint32_t>(CellType::Lambda);
    static constexpr std::uint32_t typeMask = 15;
    static constexpr std::uint32_t addressMask = ~typeMask;  // extended by its sign
    static constexpr std::uint32_t unboundHead = 15;
    static constexpr std::uint32_t lastPlainHead = 15;  // heads above it hold an address

    // A number as the encoder takes it.
    template <class T> static constexpr std::uint32_t imm(T value) noexcept {
        return static_cast<std::uint32_t>(value);
    }

    /// `exit` takes over with the address of the instruction that is left to the loop in rax.
    NativeEmitter(const Code& code, const Cell* registers, const std::byte* exit,
                  std::vector<std::uint8_t>& buffer)
        : CodeGenerator(buffer.size(), buffer.data()), code_(code),
          instructions_(code.blocks[0]->instructions), labels_(instructions_.size()),
          exits_(instructions_.size()), exit_(exit), seemsReal_(code.registers + std::size_t{1}) {
        for (std::uint32_t i = 0; i < code.firstTemporary; ++i)
            seemsReal_[i] = registers[i].is(CellType::Real);
    }

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
        mov(rcx, reinterpret_cast<std::uintptr_t>(exit_));
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

    Label& newLabel() {
        moreLabels_.emplace_back();
        return moreLabels_.back();
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
        callHelper(reinterpret_cast<std::uintptr_t>(&native::buryObject));
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

    const Code& code_;
    const std::vector<Instruction>& instructions_;
    std::vector<Label> labels_;
    std::vector<std::unique_ptr<Label>> exits_;
    const std::byte* exit_;
    std::deque<std::function<void()>> cold_;
    std::deque<Label> moreLabels_;
    std::vector<bool> seemsReal_;  // by register, as the instructions are gone through
    std::size_t at_ = 0;
};

#pragma GCC diagnostic pop

}  // namespace vlisp
