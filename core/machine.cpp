// The loop. See machine.h; code.h tells what the instructions mean, machine_stack.cpp has the stack.
#include "core/machine_frames.h"

#include "core/code_cache.h"
#include "core/evaluator.h"
#include "core/interruption.h"
#include "core/intrinsics.h"
#include "core/native_code.h"
#include "core/translator.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <limits>
#include <utility>

namespace vlisp {
namespace {

using intrinsics::obstacles;

Machine::TraceSink traceSink = nullptr;

}  // namespace

Code& Machine::scratch() {
    if (scratch_ == nullptr) scratch_ = std::make_unique<Code>();
    return *scratch_;
}

void Machine::trace(TraceSink sink) noexcept { traceSink = sink; }

// --- Names that must be searched ---

namespace {

// The names of a call that lie in registers.
struct RegisterNames {
    const Code& code;
    Cell* registers;

    [[nodiscard]] Cell* find(const SymbolData* name) const noexcept {
        if (!code.namesInRegisters) return nullptr;
        const std::uint32_t slot = code.shape->find(name);
        if (slot == ScopeShape::none || registers[slot].isUnbound()) return nullptr;
        return &registers[slot];
    }
};

void report(ErrorBuffer& error, const SymbolData* name) {
    error.reportUndefinedSymbol(textOf(name));
    obstacles |= intrinsics::errorObstacle;
}

Cell* findOutward(Environment* scope, const SymbolData* name) noexcept {
    for (; scope != nullptr; scope = scope->outer())
        if (Cell* found = scope->find(name)) return found;
    return nullptr;
}

// What evaluating a symbol gives, as the language has it: the whole search, the report, and nil
// while an error stands.
Cell lookUp(const RegisterNames& own, Environment* scope, const SymbolData* name,
            ErrorBuffer& error) {
    const Cell* found = own.find(name);
    if (found == nullptr) found = findOutward(scope, name);
    if (found == nullptr) report(error, name);
    return error.empty() ? *found : NilCell;
}

// Where SETQ puts a value: where the name is bound, or else outermost.
void assignByName(const RegisterNames& own, Environment* scope, SymbolRef name, Cell value) {
    if (Cell* found = own.find(name.get())) return found->swap(value);
    if (scope == nullptr) scope = &GlobalEnvironment();
    for (;; scope = scope->outer())
        if (scope->find(name.get()) != nullptr || scope->outer() == nullptr)
            return scope->Bind(std::move(name), std::move(value));
}

Environment& outward(Environment* scope, unsigned depth) noexcept {
    for (; depth > 0; --depth) scope = scope->outer();
    return *scope;
}

// --- What the built-in does when the machine does not ---

Cell callBuiltin(Intrinsic intrinsic, const Cell& a, const Cell& b) {
    const Cell pair[] = {a, b};
    return intrinsics::procOf(intrinsic)(Arguments(pair, 2));
}

Cell callBuiltin(Intrinsic intrinsic, const Cell& a, const Cell& b, const Cell& c) {
    const Cell three[] = {a, b, c};
    return intrinsics::procOf(intrinsic)(Arguments(three, 3));
}

Cell callBuiltin(Intrinsic intrinsic, const Cell& value) {
    return intrinsics::procOf(intrinsic)(Arguments(&value, 1));
}

// A call whose head is not a Lambda; the value replaces the head.
void callOther(Cell& head, Arguments arguments, ErrorBuffer& error) {
    switch (head.type()) {
    case CellType::Proc: put(head, head.proc()(arguments)); return;
    case CellType::Integer:
    case CellType::Real:
    case CellType::String:
    case CellType::EntityName:
    case CellType::SelectionSet: return;
    default: break;
    }
    error.reportNotAFunction();
    obstacles |= intrinsics::errorObstacle;
    put(head, NilCell);
}

void pushArgument(Cell& row, Cell& argument) {
    put(row, Cell::list(row.itemSlice().withBack(Arguments(&argument, 1))));
    release(argument);
}

// The function that a DEFUN makes, of the name as it stands there and the LAMBDA form.
Cell functionOf(const Cell& definition, Environment* scope) {
    const Items parts = definition.items();
    return Cell::lambda(parts[1].itemSlice(), scope, registeredName(parts[0]));
}

Cell closureOf(const Cell& form, Environment* scope) {
    return Cell::lambda(form.itemSlice(), scope, intern(form.text()));
}

void prepare(LambdaData& function) {
    if (function.code) return;
    Environment& scope = function.scope ? *function.scope : GlobalEnvironment();
    function.code = codeOf(function.form, shapeAround(scope));
}

// The code of the form that is constant `number` of `code`, in the same scope.
Code& partOf(Code& code, std::uint32_t number) {
    if (code.parts.size() <= number) code.parts.resize(code.constants.size());
    Ref<Code>& part = code.parts[number];
    if (!part) {
        Ref<Code> made = Code::make();
        translateForm(*made, code.constants[number], code.shape);
        part = std::move(made);
    }
    return *part;
}

// What an instruction minds of the obstacles, by the number of its guard.
bool mayGoOn(std::int32_t guard) noexcept {
    if (guard == 0) return true;
    const std::uint64_t minded =
        guard == appendAndList
            ? intrinsics::minded(Intrinsic::append) | intrinsics::minded(Intrinsic::list)
            : intrinsics::minded(static_cast<Intrinsic>(guard));
    return (obstacles & minded) == 0;
}

[[gnu::cold]] void emptyError(ErrorBuffer& error) noexcept {
    error.clear();
    obstacles &= ~intrinsics::errorObstacle;
}

// Division by zero, of integers too, is what the doubles make of it: out of range.
std::int64_t quotient(std::int64_t a, std::int64_t b) noexcept {
    if (b == 0) return std::numeric_limits<std::int64_t>::min();
    if (b == -1) return -a;
    // Division of 32 bits takes the processor half as long.
    return static_cast<std::int32_t>(a) / static_cast<std::int32_t>(b);
}

// A count as REPEAT has it, of a cell that is an Integer with or without text.
void startCount(Cell& count) noexcept { putWords(count, plainInteger, bodyOf(count)); }

void traceInstruction(const Code& code, const Instruction* pc, const Cell* registers);

void compileNatively(Code& code, const Cell* registers) noexcept {
    if (code.native != nullptr) return;
    code.native = NativeCode::compile(code, registers);
    if (code.native != nullptr) code.nativeEntry = code.native->entry();
}

}  // namespace

/// Calls `function`, of which it takes over a count.
inline void Machine::callFunction(LambdaData* function, Cell* arguments, std::uint32_t count,
                                  Cell* result, bool inNewSegment) {
    if (!function->code) [[unlikely]] {
        try {
            prepare(*function);
        } catch (...) {
            dropReference(function);
            throw;
        }
    }
    Environment* scope = function->scope ? function->scope.get() : &GlobalEnvironment();
    enter(*function->code, function, scope, arguments, count, result, inNewSegment);
}

/// A call whose arguments stand in the list behind the head; the value replaces the head.
void Machine::callSpread(Cell& head) {
    auto* function = static_cast<LambdaData*>(CellInspector::object(head));
    prepare(*function);
    // Nothing may fail between the new segment and the frame that leaves it.
    if (top_ == lastFrame_) growFrames();
    const Cell row = std::exchange(*(&head + 1), Cell());
    const Items arguments = row.items();
    const auto count = static_cast<std::uint32_t>(
        std::min<std::size_t>(arguments.size(), function->code->parameters));
    // The caller's registers have no room for them.
    Cell* room = moveToNewSegment(nullptr, 0, std::max(function->code->registers, count));
    for (std::uint32_t i = 0; i < count; ++i) room[i] = arguments[i];
    CellInspector::head(head) = 0;  // its count goes with the call
    callFunction(function, room, count, &head, true);
}

ErrorInForce::ErrorInForce(const ErrorBuffer& error) noexcept
    : before_(obstacles & intrinsics::errorObstacle) {
    obstacles =
        (obstacles & ~intrinsics::errorObstacle) | (error.empty() ? 0 : intrinsics::errorObstacle);
}

ErrorInForce::~ErrorInForce() { obstacles = (obstacles & ~intrinsics::errorObstacle) | before_; }

Machine::Native Machine::runNatively(Code& code, Environment& scope, Arguments arguments,
                                     Cell& value) {
    if (code.native == nullptr || !code.callsPlainly || code.parameters != arguments.size() ||
        code.registers > firstCells || obstacles != 0 || traceSink != nullptr ||
        frames_ == nullptr || segment_ == nullptr)
        return Native::refused;
    assert(top_ == frames_ && "a machine runs one thing at a time");
    Cell* const registers = segment_->cells();
    for (std::size_t i = 0; i < arguments.size(); ++i) copyInto(registers[i], arguments[i]);
    Frame* const frame = ++top_;
    frame->next = code.entry;
    frame->registers = registers;
    frame->code = &code;
    frame->result = &value;
    frame->function = nullptr;
    frame->scope = &scope;
    frame->ownsScope = frame->beganSegment = false;
    frame->returnsSlowly = true;
    const Instruction* left = NativeCode::run(*this, code.native->entry());
    if (left == nullptr) return Native::begun;
    top_->next = left;
    if (left->op != Op::leave || top_ != frame || interruption::pending()) return Native::begun;
    // What remains is to leave.
    Cell& result = registers[left->a];
    putWords(value, headOf(result), bodyOf(result));
    CellInspector::head(result) = 0;
    for (std::uint32_t i = 0; i < code.firstTemporary; ++i) release(registers[i]);
    --top_;
    return Native::done;
}

Cell Machine::run(Code& code, Environment& scope, Arguments arguments, ErrorBuffer& error) {
    if (segment_ == nullptr) {
        segment_ = makeSegment(firstCells);
        segment_->before = nullptr;
        segmentEnd_ = segment_->end();
    }
    if (frames_ == nullptr) growFrames();
    assert(top_ == frames_ && "a machine runs one thing at a time");
    Cell value;
    try {
        const auto count = static_cast<std::uint32_t>(arguments.size());
        Cell* registers = segment_->cells();
        if (code.callsPlainly && count == code.parameters && code.registers <= firstCells) {
            for (std::uint32_t i = 0; i < count; ++i) registers[i] = arguments[i];
            *++top_ = {code.entry, registers, &code, &value, nullptr,
                       nullptr,    &scope,    false, false,  true};
        } else {
            const bool needsRoom = count > segment_->capacity;
            if (needsRoom) registers = moveToNewSegment(registers, 0, count);
            for (std::uint32_t i = 0; i < count; ++i) registers[i] = arguments[i];
            enter(code, nullptr, &scope, registers, count, &value, needsRoom);
        }
    } catch (const TooDeep&) {
        unwind();
        interruption::request(interruption::Reason::tooDeep);
        return NilCell;
    } catch (...) {
        unwind();
        throw;
    }
    return finish(value, error);
}

/// Goes on with the top frame until none is left. `value` is what the first one gives.
Cell Machine::finish(Cell& value, ErrorBuffer& error) {
    try {
        loop(error);
    } catch (const TooDeep&) {
        unwind();
        interruption::request(interruption::Reason::tooDeep);
    } catch (...) {
        unwind();
        throw;
    }
    return interruption::pending() ? NilCell : value;
}

// The address of a label is an extension that both compilers for this project have; a loop over a
// switch is a fifth slower.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"

void Machine::loop(ErrorBuffer& error) {
    static const void* const operations[] = {
#define VLISP_LABEL(name, operands) &&op_##name,
        VLISP_OPERATIONS(VLISP_LABEL)
#undef VLISP_LABEL
    };
    static const void* const traced[] = {
#define VLISP_LABEL(name, operands) &&trace,
        VLISP_OPERATIONS(VLISP_LABEL)
#undef VLISP_LABEL
    };

    static const void* const native[] = {
#define VLISP_LABEL(name, operands) &&native,
        VLISP_OPERATIONS(VLISP_LABEL)
#undef VLISP_LABEL
    };
    const void* const* const own = traceSink != nullptr ? traced : operations;

    // What the instructions work on; loaded anew whenever another frame is on top.
    Frame* frame = nullptr;
    const Instruction* pc = nullptr;
    Cell* R = nullptr;
    const Cell* K = nullptr;
    const SymbolRef* N = nullptr;
    std::uint32_t temporaries = 0;
    // Where each operation is carried out: here, or in native code of the frame if there is any.
    const void* const* labels = own;

#define LOAD                                                                                       \
    do {                                                                                           \
        frame = top_;                                                                              \
        pc = frame->next;                                                                          \
        R = frame->registers;                                                                      \
        const Code& code = *frame->code;                                                           \
        K = code.constants.data();                                                                 \
        N = code.names.data();                                                                     \
        temporaries = code.firstTemporary;                                                         \
        labels = code.native != nullptr && own == operations ? native : own;                       \
    } while (false)
#define RETURN_HERE                                                                                \
    frame->next = pc + 1;                                                                          \
    frame->nativeNext = nullptr
#define OWN (RegisterNames{*frame->code, R})
#define LET_GO_OF(operand)                                                                         \
    if ((operand) >= temporaries) release(R[operand])
#define LET_GO(operand, target)                                                                    \
    if ((operand) >= temporaries && (operand) != (target)) release(R[operand])
#define EMPTY_ERROR                                                                                \
    if ((obstacles & intrinsics::errorObstacle) != 0) [[unlikely]]                                 \
    emptyError(error)

#define NEXT                                                                                       \
    do {                                                                                           \
        ++pc;                                                                                      \
        DISPATCH;                                                                                  \
    } while (false)
#define DISPATCH                                                                                   \
    do {                                                                                           \
        goto* labels[static_cast<std::size_t>(pc->op)];                                            \
    } while (false)
#define JUMP                                                                                       \
    do {                                                                                           \
        pc += pc->y;                                                                               \
        DISPATCH;                                                                                  \
    } while (false)
// A jump that may go back: the place where a loop can be ended from outside.
#define JUMP_BACK                                                                                  \
    do {                                                                                           \
        if (interruption::pending()) [[unlikely]]                                                  \
            goto interrupted;                                                                      \
        pc += pc->y;                                                                               \
        if (++frame->code->turns == native::threshold()) [[unlikely]]                              \
            goto oftenRun;                                                                         \
        DISPATCH;                                                                                  \
    } while (false)
// The call of a function, with the arguments in registers. Most have nothing to prepare.
#define CALL(called_, arguments_, result_)                                                         \
    do {                                                                                           \
        Code* callee = called_->code.get();                                                        \
        if (callee != nullptr && callee->callsPlainly && callee->parameters == pc->b &&            \
            top_ != lastFrame_ && segmentEnd_ - (arguments_) >= callee->registers &&               \
            !interruption::pending()) [[likely]] {                                                 \
            R = (arguments_);                                                                      \
            pc = callee->entry;                                                                    \
            K = callee->constants.data();                                                          \
            N = callee->names.data();                                                              \
            temporaries = callee->firstTemporary;                                                  \
            frame = ++top_;                                                                        \
            frame->registers = R;                                                                  \
            frame->code = callee;                                                                  \
            frame->result = (result_);                                                             \
            frame->function = called_;                                                             \
            frame->scope = called_->scope.get();                                                   \
            frame->returnsSlowly = false;                                                          \
            labels = callee->native != nullptr && own == operations ? native : own;                \
            if (++callee->turns == native::threshold()) [[unlikely]]                               \
                goto oftenRun;                                                                     \
            DISPATCH;                                                                              \
        }                                                                                          \
        callFunction(called_, arguments_, pc->b, result_);                                         \
        goto called;                                                                               \
    } while (false)
#define DETOUR_IF_ERROR                                                                            \
    if (obstacles != 0 && (obstacles & intrinsics::errorObstacle) != 0) [[unlikely]]               \
    goto detour
#define GUARD(number)                                                                              \
    if (obstacles != 0 && !mayGoOn(number)) [[unlikely]]                                           \
    goto detour

    LOAD;
    if (++frame->code->turns == native::threshold()) [[unlikely]]
        goto oftenRun;
    DISPATCH;

native : {
    const std::byte* place = obstacles == 0 ? frame->code->native->placeOf(pc) : nullptr;
    if (place == nullptr) goto* operations[static_cast<std::size_t>(pc->op)];
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    const Instruction* left = NativeCode::run(*this, place);
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    LOAD;
    if (left == nullptr) DISPATCH;
    pc = left;
    goto* operations[static_cast<std::size_t>(pc->op)];
}
oftenRun:
    if (own == operations) compileNatively(*frame->code, R);
    frame->next = pc;
    LOAD;
    DISPATCH;

trace:
    traceInstruction(*frame->code, pc, R);
    goto* operations[static_cast<std::size_t>(pc->op)];

    // --- Loading ---

op_loadConstant:
    put(R[pc->a], K[pc->x]);
    NEXT;
op_loadLocal:
    if ((obstacles & intrinsics::errorObstacle) != 0) [[unlikely]]
        put(R[pc->a], NilCell);
    else put(R[pc->a], R[pc->b]);
    NEXT;
op_loadMaybe:
    if ((obstacles & intrinsics::errorObstacle) != 0 || R[pc->b].isUnbound()) [[unlikely]]
        put(R[pc->a], lookUp(OWN, frame->scope, N[pc->x].get(), error));
    else put(R[pc->a], R[pc->b]);
    NEXT;
op_loadScope : {
    const Cell& value = outward(frame->scope, pc->b).slots()[pc->c];
    if ((obstacles & intrinsics::errorObstacle) != 0 || value.isUnbound()) [[unlikely]]
        put(R[pc->a], lookUp(OWN, frame->scope, N[pc->x].get(), error));
    else put(R[pc->a], value);
    NEXT;
}
op_loadGlobal : {
    const Cell& value = globalPlace(symbolOrEmpty(N[pc->x].get()));
    if (value.isUnbound()) [[unlikely]] {
        report(error, N[pc->x].get());
        put(R[pc->a], NilCell);
    } else if ((obstacles & intrinsics::errorObstacle) != 0) [[unlikely]] {
        put(R[pc->a], NilCell);
    } else {
        put(R[pc->a], value);
    }
    NEXT;
}
op_loadByName:
    put(R[pc->a], lookUp(OWN, frame->scope, N[pc->x].get(), error));
    NEXT;
op_takeLocal:
    DETOUR_IF_ERROR;
    put(R[pc->a], R[pc->b]);
    NEXT;
op_takeMaybe:
    DETOUR_IF_ERROR;
    if (R[pc->b].isUnbound()) goto detour;
    put(R[pc->a], R[pc->b]);
    NEXT;
op_takeScope : {
    DETOUR_IF_ERROR;
    const Cell& value = outward(frame->scope, pc->b).slots()[pc->c];
    if (value.isUnbound()) goto detour;
    put(R[pc->a], value);
    NEXT;
}
op_takeGlobal : {
    DETOUR_IF_ERROR;
    const Cell& value = globalPlace(symbolOrEmpty(N[pc->x].get()));
    if (value.isUnbound()) [[unlikely]]
        goto detour;
    put(R[pc->a], value);
    NEXT;
}

// --- SETQ and DEFINE ---

#define ASSIGNED (pc->y != 0 ? R[pc->a] : std::exchange(R[pc->a], Cell()))

op_setLocal:
    put(R[pc->b], ASSIGNED);
    EMPTY_ERROR;
    NEXT;
op_setConstant:
    put(R[pc->b], K[pc->x]);
    EMPTY_ERROR;
    NEXT;
op_setScope : {
    Cell& place = outward(frame->scope, pc->b).slots()[pc->c];
    if (place.isUnbound()) [[unlikely]]
        assignByName(OWN, frame->scope, N[pc->x], ASSIGNED);
    else put(place, ASSIGNED);
    EMPTY_ERROR;
    NEXT;
}
op_setGlobal : {
    SymbolData& name = symbolOrEmpty(N[pc->x].get());
    Cell& place = globalPlace(name);
    if (place.isUnbound() || name.intrinsic != 0) [[unlikely]]
        GlobalEnvironment().Bind(N[pc->x], ASSIGNED);
    else put(place, ASSIGNED);
    EMPTY_ERROR;
    NEXT;
}
op_setByName:
    assignByName(OWN, frame->scope, N[pc->x], ASSIGNED);
    EMPTY_ERROR;
    NEXT;
op_defineLocal:
    put(R[pc->b], ASSIGNED);
    NEXT;
op_defineScope:
    put(frame->scope->slots()[pc->c], ASSIGNED);
    NEXT;
op_defineByName:
    frame->scope->Bind(N[pc->x], ASSIGNED);
    NEXT;

    // --- Arithmetic ---
    // On purpose: everything is computed as if in doubles; integers that fit give the same.

#define ARITHMETIC(name, left, second, intrinsic, secondRegister, integers, reals)                 \
    op_##name : {                                                                                  \
        GUARD(pc->y);                                                                              \
        const Cell& first = left;                                                                  \
        const Cell& other = second;                                                                \
        if (arePlainIntegers(first, other)) [[likely]] {                                           \
            const std::int64_t a = integerOf(first);                                               \
            const std::int64_t b = integerOf(other);                                               \
            putInteger(R[pc->a], integers);                                                        \
            NEXT;                                                                                  \
        }                                                                                          \
        if (arePlainReals(first, other)) {                                                         \
            const double a = std::bit_cast<double>(bodyOf(first));                                 \
            const double b = std::bit_cast<double>(bodyOf(other));                                 \
            putReal(R[pc->a], reals);                                                              \
            NEXT;                                                                                  \
        }                                                                                          \
        if (isPlainNumber(first) && isPlainNumber(other)) {                                        \
            const double a = numberOf(first);                                                      \
            const double b = numberOf(other);                                                      \
            putReal(R[pc->a], reals);                                                              \
            NEXT;                                                                                  \
        }                                                                                          \
        put(R[pc->a], callBuiltin(Intrinsic::intrinsic, first, other));                            \
        LET_GO(pc->b, pc->a);                                                                      \
        if (secondRegister) LET_GO(pc->c, pc->a);                                                  \
        NEXT;                                                                                      \
    }
#define ARITHMETIC_PAIR(name, integers, reals)                                                     \
    ARITHMETIC(name, R[pc->b], R[pc->c], name, true, integers, reals)                              \
    ARITHMETIC(name##Constant, R[pc->b], K[pc->x], name, false, integers, reals)

    ARITHMETIC_PAIR(add, a + b, a + b)
    ARITHMETIC_PAIR(subtract, a - b, a - b)
    ARITHMETIC_PAIR(multiply, a * b, a * b)
    ARITHMETIC_PAIR(divide, quotient(a, b), a / b)
    ARITHMETIC(subtractFromConstant, K[pc->x], R[pc->b], subtract, false, a - b, a - b)
    ARITHMETIC(divideConstantBy, K[pc->x], R[pc->b], divide, false, quotient(a, b), a / b)

#define ON_THREE(name, intrinsic, reals)                                                           \
    op_##name : {                                                                                  \
        GUARD(pc->y);                                                                              \
        const Cell& first = R[pc->b];                                                              \
        const Cell& other = R[pc->c];                                                              \
        const Cell& third = R[pc->x];                                                              \
        if (isPlainNumber(first) && isPlainNumber(other) && isPlainNumber(third)) [[likely]] {     \
            const double a = numberOf(first);                                                      \
            const double b = numberOf(other);                                                      \
            const double c = numberOf(third);                                                      \
            if (arePlainIntegers(first, other) && headOf(third) == plainInteger)                   \
                putInteger(R[pc->a], truncatedToInteger(reals));                                   \
            else putReal(R[pc->a], reals);                                                         \
            NEXT;                                                                                  \
        }                                                                                          \
        put(R[pc->a], callBuiltin(Intrinsic::intrinsic, first, other, third));                     \
        LET_GO(pc->b, pc->a);                                                                      \
        LET_GO(pc->c, pc->a);                                                                      \
        LET_GO(pc->x, pc->a);                                                                      \
        NEXT;                                                                                      \
    }

    ON_THREE(addThree, add, a + b + c)
    ON_THREE(subtractThree, subtract, a - b - c)
    ON_THREE(multiplyThree, multiply, a * b * c)
    ON_THREE(divideThree, divide, a / b / c)

    // --- Comparison: values and jumps ---
    // The tests are worded as the built-ins word them, which decides where not-a-number is among
    // them.

#define OUTCOME(intrinsic, second, test, symbols)                                                  \
    const Cell& first = R[pc->b];                                                                  \
    const Cell& other = second;                                                                    \
    bool outcome;                                                                                  \
    if (arePlainIntegers(first, other)) [[likely]] {                                               \
        const std::int32_t a = integerOf(first);                                                   \
        const std::int32_t b = integerOf(other);                                                   \
        outcome = test;                                                                            \
    } else if (isPlainNumber(first) && isPlainNumber(other)) {                                     \
        const double a = numberOf(first);                                                          \
        const double b = numberOf(other);                                                          \
        outcome = test;                                                                            \
    } else if (symbols && first.is(CellType::Symbol) && other.is(CellType::Symbol)) {              \
        const std::uintptr_t a = headOf(first);                                                    \
        const std::uintptr_t b = headOf(other);                                                    \
        outcome = test;                                                                            \
    } else {                                                                                       \
        outcome = !IsFalse(callBuiltin(Intrinsic::intrinsic, first, other));                       \
        if (interruption::pending()) [[unlikely]]                                                  \
            goto interrupted;                                                                      \
    }
#define COMPARISON(name, intrinsic, second, secondRegister, test, symbols)                         \
    op_##name : {                                                                                  \
        GUARD(pc->y);                                                                              \
        OUTCOME(intrinsic, second, test, symbols)                                                  \
        LET_GO(pc->b, pc->a);                                                                      \
        if (secondRegister) LET_GO(pc->c, pc->a);                                                  \
        put(R[pc->a], outcome ? TrueCell : FalseCell);                                             \
        NEXT;                                                                                      \
    }
#define COMPARISON_JUMP(name, intrinsic, second, secondRegister, test, symbols, wanted)            \
    op_##name : {                                                                                  \
        GUARD(pc->a);                                                                              \
        OUTCOME(intrinsic, second, test, symbols)                                                  \
        LET_GO_OF(pc->b);                                                                          \
        if (secondRegister) LET_GO_OF(pc->c);                                                      \
        if (outcome == (wanted)) JUMP_BACK;                                                        \
        NEXT;                                                                                      \
    }
#define COMPARISON_FAMILY(name, Name, test, symbols)                                               \
    COMPARISON(name, name, R[pc->c], true, test, symbols)                                          \
    COMPARISON(name##Constant, name, K[pc->x], false, test, symbols)                               \
    COMPARISON_JUMP(unless##Name, name, R[pc->c], true, test, symbols, false)                      \
    COMPARISON_JUMP(unless##Name##Constant, name, K[pc->x], false, test, symbols, false)           \
    COMPARISON_JUMP(if##Name, name, R[pc->c], true, test, symbols, true)                           \
    COMPARISON_JUMP(if##Name##Constant, name, K[pc->x], false, test, symbols, true)

    COMPARISON_FAMILY(less, Less, !(a >= b), false)
    COMPARISON_FAMILY(greater, Greater, !(b >= a), false)
    COMPARISON_FAMILY(lessOrEqual, LessOrEqual, !(a > b), false)
    COMPARISON_FAMILY(equal, Equal, a == b, true)
    COMPARISON_FAMILY(notEqual, NotEqual, a != b, true)

    // --- Lists ---

op_nth : {
    GUARD(pc->y);
    const Cell& index = R[pc->b];
    const Cell& list = R[pc->c];
    if (headOf(index) == plainInteger && list.is(CellType::List)) [[likely]] {
        const Items items = list.items();
        const std::int32_t at = integerOf(index);
        const bool inside = at >= 0 && static_cast<std::size_t>(at) < items.size();
        put(R[pc->a], inside ? items[static_cast<std::size_t>(at)] : NilCell);
    } else {
        put(R[pc->a], callBuiltin(Intrinsic::nth, index, list));
    }
    LET_GO(pc->b, pc->a);
    LET_GO(pc->c, pc->a);
    NEXT;
}
op_appendItem : {
    GUARD(pc->y);
    const Cell& list = R[pc->b];
    const Cell& item = R[pc->c];
    const ListRange range = list.is(CellType::List) ? rangeOf(list) : ListRange{};
    if (canGrowBehind(range, item)) [[likely]] {
        range.buffer->fillBack(item);
        if (pc->a != pc->b) put(R[pc->a], list);
        CellInspector::body(R[pc->a]) = rangeBody(range.begin, range.length + 1);
    } else {
        put(R[pc->a], callBuiltin(Intrinsic::append, list, Cell::list({item})));
    }
    LET_GO(pc->b, pc->a);
    LET_GO(pc->c, pc->a);
    NEXT;
}
#define APPEND_TEXT(name, second, secondRegister)                                                  \
    op_##name : {                                                                                  \
        GUARD(pc->y);                                                                              \
        const Cell& text = R[pc->b];                                                               \
        const Cell& more = second;                                                                 \
        const std::uint64_t body = appendedInPlace(text, more);                                    \
        if (body != 0) [[likely]] {                                                                \
            if (pc->a != pc->b) put(R[pc->a], text);                                               \
            CellInspector::body(R[pc->a]) = body;                                                  \
        } else {                                                                                   \
            put(R[pc->a], callBuiltin(Intrinsic::strcat, text, more));                             \
        }                                                                                          \
        LET_GO(pc->b, pc->a);                                                                      \
        if (secondRegister) LET_GO(pc->c, pc->a);                                                  \
        NEXT;                                                                                      \
    }
    APPEND_TEXT(appendText, R[pc->c], true)
    APPEND_TEXT(appendTextConstant, K[pc->x], false)

op_cons : {
    GUARD(pc->y);
    const Cell& value = R[pc->b];
    Cell& list = R[pc->c];
    const ListRange range = list.is(CellType::List) ? rangeOf(list) : ListRange{};
    if (canGrowInFront(range, value)) [[likely]] {
        range.buffer->fillFront(value);
        const std::uint64_t body = rangeBody(range.begin - 1, range.length + 1);
        if (pc->a != pc->c) put(R[pc->a], list);
        CellInspector::body(R[pc->a]) = body;
    } else {
        put(R[pc->a], callBuiltin(Intrinsic::cons, value, list));
    }
    LET_GO(pc->b, pc->a);
    LET_GO(pc->c, pc->a);
    NEXT;
}
op_car : {
    GUARD(pc->y);
    const Items items = R[pc->b].items();
    put(R[pc->a], items.empty() ? NilCell : items[0]);
    LET_GO(pc->b, pc->a);
    NEXT;
}
op_cdr : {
    GUARD(pc->y);
    const Cell& list = R[pc->b];
    const ListRange range = list.is(CellType::List) ? rangeOf(list) : ListRange{};
    if (canNarrow(range)) [[likely]] {
        if (pc->a != pc->b) put(R[pc->a], list);
        CellInspector::body(R[pc->a]) = rangeBody(range.begin + 1, range.length - 1);
    } else {
        put(R[pc->a], callBuiltin(Intrinsic::cdr, list));
    }
    LET_GO(pc->b, pc->a);
    NEXT;
}
op_cadr : {
    GUARD(pc->y);
    const Items items = R[pc->b].items();
    put(R[pc->a], items.size() < 2 ? NilCell : items[1]);
    LET_GO(pc->b, pc->a);
    NEXT;
}
op_length : {
    GUARD(pc->y);
    const std::size_t length = R[pc->b].items().size();
    LET_GO(pc->b, pc->a);
    putInteger(R[pc->a], static_cast<std::int64_t>(length));
    NEXT;
}
op_nullp : {
    GUARD(pc->y);
    const bool isEmpty = R[pc->b].items().empty();
    LET_GO(pc->b, pc->a);
    put(R[pc->a], isEmpty ? TrueCell : FalseCell);
    NEXT;
}
op_listp : {
    GUARD(pc->y);
    const bool isList = R[pc->b].is(CellType::List);
    LET_GO(pc->b, pc->a);
    put(R[pc->a], isList ? TrueCell : FalseCell);
    NEXT;
}
op_unlessNull : {
    GUARD(pc->a);
    const bool isEmpty = R[pc->b].items().empty();
    LET_GO_OF(pc->b);
    if (!isEmpty) JUMP_BACK;
    NEXT;
}
op_ifNull : {
    GUARD(pc->a);
    const bool isEmpty = R[pc->b].items().empty();
    LET_GO_OF(pc->b);
    if (isEmpty) JUMP_BACK;
    NEXT;
}

    // --- Tests, jumps and loops ---

op_ifObstacles:
    if (obstacles != 0) JUMP;
    NEXT;
op_jump:
    JUMP;
op_jumpIfFalse : {
    const bool isFalse = !isTrue(R[pc->a]);
    release(R[pc->a]);
    if (isFalse) JUMP_BACK;
    NEXT;
}
op_jumpIfTrue : {
    const bool isFalse = !isTrue(R[pc->a]);
    release(R[pc->a]);
    if (!isFalse) JUMP_BACK;
    NEXT;
}
op_keepIfTrue:
    if (isTrue(R[pc->a])) JUMP;
    release(R[pc->a]);
    NEXT;
op_unlessGlobal : {
    const Cell& value = globalPlace(symbolOrEmpty(N[pc->x].get()));
    if (value.isUnbound()) [[unlikely]]
        report(error, N[pc->x].get());
    if ((obstacles & intrinsics::errorObstacle) != 0 || !isTrue(value)) JUMP_BACK;
    NEXT;
}
op_ifGlobal : {
    const Cell& value = globalPlace(symbolOrEmpty(N[pc->x].get()));
    if (value.isUnbound()) [[unlikely]]
        report(error, N[pc->x].get());
    if ((obstacles & intrinsics::errorObstacle) == 0 && isTrue(value)) JUMP_BACK;
    NEXT;
}
op_startRepeat:
    if (!R[pc->a].is(CellType::Integer) || integerOf(R[pc->a]) <= 0) {
        release(R[pc->a]);
        JUMP;
    }
    startCount(R[pc->a]);
    NEXT;
op_nextRepeat : {
    const std::int32_t left = integerOf(R[pc->a]) - 1;
    CellInspector::body(R[pc->a]) = static_cast<std::uint32_t>(left);
    if (left > 0) JUMP_BACK;
    NEXT;
}

    // --- Calls ---

op_guard:
    GUARD(pc->y);
    NEXT;
op_checkHead:
    if ((obstacles & intrinsics::errorObstacle) == 0) [[likely]]
        NEXT;
    put(R[pc->a], NilCell);
    JUMP;
op_callGlobal : {
    DETOUR_IF_ERROR;
    const Cell& head = globalPlace(symbolOrEmpty(N[pc->x].get()));
    Cell* arguments = &R[pc->a];
    if (head.is(CellType::Lambda)) [[likely]] {
        auto* function = static_cast<LambdaData*>(CellInspector::object(head));
        addReference(function);
        RETURN_HERE;
        CALL(function, arguments, arguments);
    }
    if (!head.is(CellType::Proc)) goto detour;
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    Cell value = head.proc()(Arguments(arguments, pc->b));
    for (unsigned i = 0; i < pc->b; ++i) release(arguments[i]);
    put(*arguments, std::move(value));
    goto returnedFromProc;
}
op_call : {
    Cell& head = R[pc->a];
    Cell* arguments = &head + 1;
    if (head.is(CellType::Lambda)) [[likely]] {
        auto* function = static_cast<LambdaData*>(CellInspector::object(head));
        CellInspector::head(head) = 0;  // its count goes with the call
        RETURN_HERE;
        CALL(function, arguments, &head);
    }
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    callOther(head, Arguments(arguments, pc->b), error);
    for (unsigned i = 0; i < pc->b; ++i) release(arguments[i]);
    goto returnedFromProc;
}
op_callBuiltin : {
    GUARD(pc->y);
    Cell* arguments = &R[pc->c];
    {
        Cell value = intrinsics::procOf(static_cast<Intrinsic>(pc->x))(Arguments(arguments, pc->b));
        for (unsigned i = 0; i < pc->b; ++i) release(arguments[i]);
        put(R[pc->a], std::move(value));
    }
    goto returned;
}
op_startArguments:
    put(R[pc->a], Cell::list(CellSlice()));
    NEXT;
op_pushArgument:
    pushArgument(R[pc->a], R[pc->b]);
    NEXT;
op_callSpread : {
    Cell& head = R[pc->a];
    if (head.is(CellType::Lambda)) {
        RETURN_HERE;
        callSpread(head);
        goto called;
    }
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    callOther(head, R[pc->a + 1].items(), error);
    release(R[pc->a + 1]);
    goto returnedFromProc;
}
op_leave : {
    const std::uintptr_t head = headOf(R[pc->a]);
    const std::uint64_t body = bodyOf(R[pc->a]);
    CellInspector::head(R[pc->a]) = 0;
    for (std::uint32_t i = 0; i < temporaries; ++i) release(R[i]);
    Cell* result = frame->result;
    if (frame->returnsSlowly) [[unlikely]] {
        pop();
        putWords(*result, head, body);
        if (top_ == frames_) return;
    } else {
        LambdaData* function = frame->function;
        --top_;
        if (--function->references == 0) [[unlikely]]
            heap::bury(function);
        CellInspector::head(*result) = head;
        CellInspector::body(*result) = body;
    }
    LOAD;
    DISPATCH;
}

    // --- The rest ---

op_makeLambda:
    put(R[pc->a], closureOf(K[pc->x], frame->scope));
    NEXT;
op_makeFunction:
    put(R[pc->a], functionOf(K[pc->x], frame->scope));
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    NEXT;
op_evaluate : {
    Code& part = partOf(*frame->code, pc->x);
    RETURN_HERE;
    enter(part, nullptr, frame->scope, R + frame->code->registers, 0, &R[pc->a]);
    goto called;
}
op_move:
    put(R[pc->a], std::exchange(R[pc->b], Cell()));
    NEXT;
op_drop:
    release(R[pc->a]);
    NEXT;
op_comeBack:
    // The test of a loop that has met an error goes this way back, each time.
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    pc = frame->code->blocks[static_cast<std::size_t>(pc->y)]->instructions.data() + pc->x;
    DISPATCH;

    // --- Where instructions meet ---

called:
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    LOAD;
    if (++frame->code->turns == native::threshold()) [[unlikely]]
        goto oftenRun;
    DISPATCH;
returnedFromProc:
    // What it evaluated may have run this code too, and taken a detour that brought new constants.
    K = frame->code->constants.data();
    N = frame->code->names.data();
returned:
    if (interruption::pending()) [[unlikely]]
        goto interrupted;
    NEXT;
detour : {
    Code& code = *frame->code;
    std::size_t home = 0;
    ShortWay& way = code.shortWayAt(pc, home);
    for (std::uint32_t i = way.target; i < code.registers; ++i) release(R[i]);
    [[maybe_unused]] const std::uint32_t registers = code.registers;
    pc = translateDetour(code, home, way).instructions.data();
    assert(code.registers == registers && "a detour needs no more registers");
    K = code.constants.data();
    N = code.names.data();
    DISPATCH;
}
interrupted:
    unwind();
}

#pragma GCC diagnostic pop

namespace {

// One line: how deep, the instruction, and what the registers that it names hold.
void traceInstruction(const Code& code, const Instruction* pc, const Cell* registers) {
    for (const auto& block : code.blocks) {
        const Instruction* begin = block->instructions.data();
        if (pc < begin || pc >= begin + block->instructions.size()) continue;
        std::u16string line = describe(code, *block, static_cast<std::size_t>(pc - begin));
        line.append(line.size() < 40 ? 40 - line.size() : 1, u' ');
        const auto show = [&](char16_t name, std::uint16_t number) {
            const Cell& cell = registers[number];
            line += name;
            line += u'=';
            line += cell.isUnbound() ? u"?" : shortPrint(cell);
            line += u' ';
        };
        const std::string_view operands = operandsOf(pc->op);
        for (const char operand : operands) {
            if (operand == 'a') show(u'a', pc->a);
            if (operand == 'b') show(u'b', pc->b);
            if (operand == 'c') show(u'c', pc->c);
        }
        traceSink(line);
        return;
    }
}

}  // namespace
}  // namespace vlisp
