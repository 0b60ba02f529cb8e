// Native code for processors of the x86-64 kind. See native_code.h; code.h tells what the
// instructions mean, machine.cpp is what the templates must agree with.
#include "core/native_code.h"

#include "core/interruption.h"
#include "core/intrinsics.h"
#include "core/native_lists.h"
#include "platform/system.h"

#include <exception>

namespace vlisp {

// Objects that are not of standard layout lie where the compiler says, on every compiler we use.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// Names, calls, and which template is for which instruction.
class NativeCompiler final : public NativeLists {
  public:
    NativeCompiler(const Code& code, const Cell* registers, std::vector<std::uint8_t>& buffer)
        : NativeLists(code, registers, gate.exit, buffer) {}

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
        mov(rcx, qword[rbp + offsetof(Frame, nativeNext)]);
        Label& calledByLoop = newLabel();
        test(rcx, rcx);
        je(calledByLoop, T_NEAR);
        jmp(rcx);
        later([this, &calledByLoop] {
            L(calledByLoop);
            xor_(eax, eax);
            mov(rcx, reinterpret_cast<std::uintptr_t>(exit_));
            jmp(rcx);
        });
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

    std::size_t entryOffset_ = 0;
};

// The way in and out: saves what the caller wants kept and makes the registers what the templates
// expect.
class NativeGate : public Xbyak::CodeGenerator {
  public:
    explicit NativeGate(std::vector<std::uint8_t>& buffer)
        : CodeGenerator(buffer.size(), buffer.data()) {
        const Xbyak::Reg64 saved[] = {rbx, rbp, r12, r13, r14, r15};
#if defined(_WIN32)
        const Xbyak::Reg64& machine = rcx;
        const Xbyak::Reg64& place = rdx;
#else
        const Xbyak::Reg64& machine = rdi;
        const Xbyak::Reg64& place = rsi;
#endif
        for (const Xbyak::Reg64& each : saved) push(each);
        sub(rsp, 8);  // a multiple of 16 again
        mov(r12, machine);
        mov(r13, reinterpret_cast<std::uintptr_t>(&intrinsics::obstacles));
        mov(r14, reinterpret_cast<std::uintptr_t>(&interruption::detail::reason));
        mov(rbp, qword[r12 + offsetof(Machine, top_)]);
        mov(rbx, qword[rbp + offsetof(Machine::Frame, registers)]);
        jmp(place);
        exit = getSize();
        add(rsp, 8);
        for (std::size_t i = std::size(saved); i > 0; --i) pop(saved[i - 1]);
        ret();
    }

    std::size_t exit = 0;
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
    // Tried once: what the system has refused it refuses again.
    static const bool isMade = []() noexcept {
        try {
            std::vector<std::uint8_t> buffer(1024);
            const NativeGate gate(buffer);
            std::byte* memory = platform::allocateCode(buffer.data(), gate.getSize());
            if (memory == nullptr) return false;
            gateMemory.code = memory;
            gateMemory.bytes = gate.getSize();
            const auto address = reinterpret_cast<std::uintptr_t>(memory);
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

std::size_t NativeCode::living_ = 0;

void native::setThreshold(std::uint32_t times) noexcept { timesUntilCompiled = times; }

}  // namespace vlisp
