// Frames and segments: what the machine's stack is made of. For the machine's own sources.
#pragma once

#include "core/machine.h"
#include "core/registers.h"

namespace vlisp {

struct Machine::Frame {
    const Instruction* next;  // where it goes on when what it called has returned
    Cell* registers;
    Code* code;
    Cell* result;                 // where its value goes
    LambdaData* function;         // held; null when no function was called
    const std::byte* nativeNext;  // the same in native code; null when the loop has called
    Environment* scope;  // that of the code, or the one around it when names are in registers
    bool ownsScope;      // it was made for this call and is held
    bool beganSegment;   // its registers are the first of a segment made for it
    bool returnsSlowly;  // there is more to do than to let go of the function; else the two flags
                         // before it are not set
};

struct Machine::Segment {
    Segment* before;
    std::size_t capacity;

    Cell* cells() noexcept { return reinterpret_cast<Cell*>(this + 1); }
    Cell* end() noexcept { return cells() + capacity; }
    static std::size_t bytesFor(std::size_t capacity) noexcept {
        return sizeof(Segment) + capacity * sizeof(Cell);
    }
};

/// Thrown when a program's calls have used up the stack; never leaves the machine.
struct TooDeep {};

/// Registers that every machine has.
inline constexpr std::size_t firstCells = 1024;

}  // namespace vlisp
