// The machine: carries out code.
// One idea: one loop over instructions; calls push frames on a stack of its own, so that the depth of
// a program's recursion is limited by memory and not by the thread.
// Tests: tests/core/machine_test.cpp, tests/core/evaluator_test.cpp,
// tests/builtins/evaluator_test.cpp, tests/reference/.
//
// Registers own what they hold. Those that are not in use hold nothing that is counted; so a
// register is filled without looking at what was there, and when an evaluation is given up, all
// registers can be swept.
#pragma once

#include "core/code.h"
#include "core/error_buffer.h"

#include <memory>
#include <vector>

namespace vlisp {

/// While it lives, the machines mind the errors of this buffer and not those of the evaluation
/// around. Of several the innermost counts.
class ErrorInForce {
  public:
    explicit ErrorInForce(const ErrorBuffer& error) noexcept;
    ErrorInForce(const ErrorInForce&) = delete;
    ErrorInForce& operator=(const ErrorInForce&) = delete;
    ~ErrorInForce();

  private:
    std::uint64_t before_;
};

class Machine {
  public:
    Machine() = default;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    ~Machine();

    /// The value of `code` in `scope`, which for the code of a function is the scope around it.
    /// Throws heap::OutOfMemory; an interruption makes it nil. Not re-entrant: what a built-in
    /// evaluates runs on a machine of its own. An ErrorInForce of `error` must live.
    Cell run(Code& code, Environment& scope, Arguments arguments, ErrorBuffer& error);

    /// Begins the same for a function that is native code already, which is quicker. `refused`, and
    /// nothing done, when it is not or needs more than its arguments in registers; `begun` when
    /// `finish` must be called with the same value.
    enum class Native { refused, begun, done };
    Native runNatively(Code& code, Environment& scope, Arguments arguments, Cell& value);
    Cell finish(Cell& value, ErrorBuffer& error);

    /// Empty code to translate a form into that is run once.
    Code& scratch();

    /// Writes each instruction before it is carried out, with what it works on, to `sink`; null: no
    /// more. For all machines.
    using TraceSink = void (*)(std::u16string_view line);
    static void trace(TraceSink sink) noexcept;

  private:
    struct Frame;
    struct Segment;

    void loop(ErrorBuffer& error);
    void callFunction(LambdaData* function, Cell* arguments, std::uint32_t count, Cell* result,
                      bool inNewSegment = false);
    void callSpread(Cell& head);
    void enter(Code& code, LambdaData* function, Environment* scope, Cell* arguments,
               std::uint32_t count, Cell* result, bool inNewSegment = false);
    static void fitArguments(Code& code, Frame& frame, std::uint32_t count);
    Cell* moveToNewSegment(Cell* arguments, std::uint32_t count, std::uint32_t registers);
    Segment* makeSegment(std::size_t capacity);
    void freeSegment(Segment* segment) noexcept;
    void growFrames();
    void freeFrames() noexcept;
    void pop() noexcept;
    void leaveSegment() noexcept;
    void unwind() noexcept;

    friend class MachineLease;
    friend class NativeEmitter;
    friend class NativeCompiler;
    friend class NativeGate;
    void trim() noexcept;

    Frame* frames_ = nullptr;  // the first is never used
    std::size_t frameCapacity_ = 0;
    Frame* top_ = nullptr;  // the frame of what runs; the first when nothing does
    Frame* lastFrame_ = nullptr;
    Segment* segment_ = nullptr;
    Cell* segmentEnd_ = nullptr;
    Segment* spare_ = nullptr;
    std::size_t stackBytes_ = 0;  // counted in the heap's budget
    std::unique_ptr<Code> scratch_;
};

/// A machine for one evaluation; taken from those that are idle and given back.
class MachineLease {
  public:
    MachineLease();
    MachineLease(const MachineLease&) = delete;
    MachineLease& operator=(const MachineLease&) = delete;
    ~MachineLease();

    Machine* operator->() const noexcept { return machine_.get(); }
    Machine& operator*() const noexcept { return *machine_; }

  private:
    std::unique_ptr<Machine> machine_;
};

/// The shape that scopes made in `scope` have around them; null for the global one.
Ref<ScopeShape> shapeAround(Environment& scope);

}  // namespace vlisp
