// The machine's stack: frames, segments of registers, and machines that are idle. See machine.h.
#include "core/machine_frames.h"
#include "core/scope_collector.h"
#include "platform/system.h"

#include <algorithm>
#include <utility>

namespace vlisp {

Machine::~Machine() {
    unwind();
    trim();
    if (segment_ != nullptr) freeSegment(segment_);
    if (frames_ != nullptr) freeFrames();
}

namespace {

// The most that a program's calls may take.
std::size_t mostStack() noexcept { return std::min(platform::evaluationStack, heap::limit() / 2); }

// What every machine has is not counted in the budget.
constexpr std::size_t firstFrames = 64;
constexpr std::size_t mostMoreFrames = std::size_t{1} << 16;

}  // namespace

void Machine::growFrames() {
    // Twice as many, and from a certain size on so many more: what is not needed is not much.
    const std::size_t added = std::min(frameCapacity_, mostMoreFrames);
    const std::size_t capacity = std::max(firstFrames, frameCapacity_ + added);
    const std::size_t bytes = frameCapacity_ * sizeof(Frame);
    const std::size_t newBytes = capacity * sizeof(Frame);
    const std::size_t more = frameCapacity_ == 0 ? 0 : newBytes - bytes;
    if (stackBytes_ + more > mostStack()) throw TooDeep();
    heap::charge(more);
    void* larger = frames_ == nullptr ? platform::allocateBlock(newBytes)
                                      : platform::resizeBlock(frames_, bytes, newBytes);
    if (larger == nullptr) {
        heap::discharge(more);
        throw TooDeep();
    }
    stackBytes_ += more;
    const std::ptrdiff_t depth = frames_ == nullptr ? 0 : top_ - frames_;
    frames_ = static_cast<Frame*>(larger);
    frameCapacity_ = capacity;
    top_ = frames_ + depth;
    lastFrame_ = frames_ + capacity - 1;
}

// Segments are zero when they are made, and a register that is free holds nothing counted.
Machine::Segment* Machine::makeSegment(std::size_t capacity) {
    const std::size_t bytes = Segment::bytesFor(capacity);
    const std::size_t counted = capacity <= firstCells ? 0 : bytes;
    if (stackBytes_ + counted > mostStack()) throw TooDeep();
    heap::charge(counted);
    stackBytes_ += counted;
    auto* made = static_cast<Segment*>(platform::allocateBlock(bytes));
    if (made == nullptr) {
        heap::discharge(counted);
        stackBytes_ -= counted;
        throw TooDeep();
    }
    made->capacity = capacity;
    return made;
}

void Machine::freeSegment(Segment* segment) noexcept {
    const std::size_t bytes = Segment::bytesFor(segment->capacity);
    if (segment->capacity > firstCells) {
        heap::discharge(bytes);
        stackBytes_ -= bytes;
    }
    platform::freeBlock(segment, bytes);
}

Cell* Machine::moveToNewSegment(Cell* arguments, std::uint32_t count, std::uint32_t registers) {
    constexpr std::size_t most = std::size_t{1} << 18;
    const std::size_t needed = std::max(registers, count);
    if (spare_ == nullptr || spare_->capacity < needed) {
        const std::size_t usual =
            segment_ == nullptr ? firstCells : std::min(segment_->capacity * 2, most);
        Segment* made = makeSegment(std::max(needed, usual));
        if (spare_ != nullptr) freeSegment(spare_);
        spare_ = made;
    }
    Segment* segment = std::exchange(spare_, nullptr);
    segment->before = segment_;
    segment_ = segment;
    segmentEnd_ = segment->end();
    for (std::uint32_t i = 0; i < count; ++i) segment->cells()[i].swap(arguments[i]);
    return segment->cells();
}

// One stays as a spare: a call at the border would make one again and again.
void Machine::leaveSegment() noexcept {
    Segment* left = std::exchange(segment_, segment_->before);
    segmentEnd_ = segment_->end();
    if (spare_ != nullptr && left->capacity < spare_->capacity) std::swap(left, spare_);
    std::swap(left, spare_);
    if (left != nullptr) freeSegment(left);
}

void Machine::freeFrames() noexcept {
    platform::freeBlock(frames_, frameCapacity_ * sizeof(Frame));
    frames_ = top_ = lastFrame_ = nullptr;
    frameCapacity_ = 0;
}

// Goes back to what every machine has.
void Machine::trim() noexcept {
    if (spare_ != nullptr) freeSegment(std::exchange(spare_, nullptr));
    if (segment_ != nullptr && segment_->capacity > firstCells)
        freeSegment(std::exchange(segment_, nullptr));
    if (frameCapacity_ > firstFrames) {
        const std::size_t bytes = (frameCapacity_ - firstFrames) * sizeof(Frame);
        heap::discharge(bytes);
        stackBytes_ -= bytes;
        freeFrames();
    }
    if (scratch_ != nullptr) scratch_->reset();
}

/// Begins a call: `arguments` are registers, and those behind them are free. Takes over one count
/// of `function`. `inNewSegment`: the arguments are the first registers of a segment made for them.
void Machine::enter(Code& code, LambdaData* function, Environment* scope, Cell* arguments,
                    std::uint32_t count, Cell* result, bool inNewSegment) {
    Cell* registers = arguments;
    try {
        if (top_ == lastFrame_) growFrames();
        if (static_cast<std::size_t>(segmentEnd_ - arguments) < std::max(code.registers, count))
            registers = moveToNewSegment(arguments, count, code.registers);
    } catch (...) {
        dropReference(function);  // nobody else has it yet
        throw;
    }
    const bool newSegment = inNewSegment || registers != arguments;
    *++top_ = {code.entry, registers, &code, result,     function,
               nullptr,    scope,     false, newSegment, newSegment || function == nullptr};
    if (count == code.parameters && code.callsPlainly) return;
    fitArguments(code, *top_, count);
}

// Arguments of another number than the parameters, locals, names given twice, scopes.
void Machine::fitArguments(Code& code, Frame& frame, std::uint32_t count) {
    if (!code.isFunction) return;
    Cell* registers = frame.registers;
    for (std::uint32_t i = code.parameters; i < count; ++i) release(registers[i]);
    if (code.namesInRegisters && code.parameterSlots.empty()) {
        for (std::uint32_t i = count; i < code.parameters; ++i) put(registers[i], NilCell);
        for (std::uint32_t i = code.parameters; i < code.slots; ++i)
            put(registers[i], Cell::unbound());
        return;
    }
    std::vector<Cell> values(code.parameters, NilCell);
    for (std::uint32_t i = 0; i < std::min(count, code.parameters); ++i) {
        values[i].swap(registers[i]);
        release(registers[i]);
    }
    Cell* slots = registers;
    if (code.namesInRegisters) {
        for (std::uint32_t i = 0; i < code.slots; ++i) put(registers[i], Cell::unbound());
    } else {
        frame.scope = Environment::make(*code.shape, frame.scope).detach();
        frame.ownsScope = frame.returnsSlowly = true;
        slots = frame.scope->slots();
    }
    for (std::uint32_t i = 0; i < code.parameters; ++i)
        put(slots[code.parameterSlots.empty() ? i : code.parameterSlots[i]], std::move(values[i]));
}

// Takes the top frame away. Its registers hold nothing any more.
void Machine::pop() noexcept {
    const Frame& frame = *top_--;
    if (frame.returnsSlowly && frame.beganSegment) leaveSegment();
    if (frame.returnsSlowly && frame.ownsScope) {
        if (frame.scope->references > 1) scope_collector::scopeOutlivedCall();
        dropReference(frame.scope);
    }
    dropReference(frame.function);
}

// Gives everything up: sweeps all registers, from the top frame down.
void Machine::unwind() noexcept {
    const Segment* swept = nullptr;
    Cell* end = nullptr;
    while (top_ != frames_) {
        if (swept != segment_) end = segment_->end();
        swept = segment_;
        Cell* begin = top_->registers;
        for (Cell* cell = begin; cell != end; ++cell) release(*cell);
        end = begin;
        pop();
    }
}

namespace {

constexpr std::size_t mostIdle = 16;

// Made when the program is loaded and not by the first who needs them: a module that is unloaded
// waits for its threads before these go.
struct IdleMachines {
    IdleMachines() { all.reserve(mostIdle); }  // giving back must not fail
    std::vector<std::unique_ptr<Machine>> all;
};
IdleMachines idle;

}  // namespace

MachineLease::MachineLease() {
    if (idle.all.empty()) {
        machine_ = std::make_unique<Machine>();
        return;
    }
    machine_ = std::move(idle.all.back());
    idle.all.pop_back();
}

MachineLease::~MachineLease() {
    machine_->trim();
    if (idle.all.size() < mostIdle) idle.all.push_back(std::move(machine_));
}

Ref<ScopeShape> shapeAround(Environment& scope) {
    if (scope.isGlobal()) return {};
    if (scope.shape() != nullptr) return Ref<ScopeShape>(scope.shape());
    Ref<ScopeShape> outer;
    if (scope.outer() != nullptr) outer = shapeAround(*scope.outer());
    const Ref<ScopeShape> open = ScopeShape::make(std::move(outer));
    open->open = true;
    return open;
}

}  // namespace vlisp
