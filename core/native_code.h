// Native code: the processor's own instructions for code that runs often.
// One idea: a template for each of the machine's instructions, for the likely case alone. Whatever
// else a template meets, it has changed nothing yet and leaves to the machine's loop, which carries
// that one instruction out and comes back behind it.
// Tests: tests/core/native_code_test.cpp, tests/reference/ (every program that is compared there
// runs with it as well).
//
// What it may rely on, because the loop keeps it so: while it runs, there are no obstacles
// (intrinsics.h), for the loop begins it without any and nothing in it makes one; the top frame's
// code is the one that it was made from; a register that is not in use holds nothing counted; and
// instructions, constants and names of a code that is running stay. No exception may pass through
// it, so what may throw is the loop's, or a helper's that catches.
#pragma once

#include "core/code.h"
#include "platform/sanitizers.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace vlisp {

class Machine;

/// The machine code of one Code's block 0. Held by the Code.
class NativeCode {
  public:
    /// Null when the system grants no memory for it, or has another kind of processor. What stands
    /// in the registers now tells which kind of number is likely there.
    static std::unique_ptr<NativeCode> compile(const Code& code, const Cell* registers) noexcept;
    NativeCode() = default;
    NativeCode(const NativeCode&) = delete;
    NativeCode& operator=(const NativeCode&) = delete;
    ~NativeCode();

    /// Where instruction `at` of the code begins; null when it is not one of block 0.
    [[nodiscard]] const std::byte* placeOf(const Instruction* at) const noexcept {
        const auto index = static_cast<std::size_t>(at - first_);
        return index < places_.size() ? memory_ + places_[index] : nullptr;
    }

    /// Where a call begins whose arguments are as many as the parameters and lie in the first
    /// registers; null when more must be prepared for it.
    [[nodiscard]] const std::byte* entry() const noexcept { return entry_; }

    /// Runs from `place` in the top frame's code. The instruction that the loop must carry out,
    /// with the machine's top frame its; null when the top frame says where to go on.
    static const Instruction* run(Machine& machine, const std::byte* place) noexcept;

    /// Makes the way in and out, when that is not done yet. False when there will be no native code.
    static bool prepare() noexcept;

  private:
    friend class NativeCompiler;

    static std::size_t living_;  // how many hold memory

    std::byte* memory_ = nullptr;  // executable
    std::size_t bytes_ = 0;
    const std::byte* entry_ = nullptr;
    const Instruction* first_ = nullptr;
    std::vector<std::uint32_t> places_;
};

namespace native {

/// A code is compiled when it has been run, or has jumped back, so many times. 0: never.
void setThreshold(std::uint32_t times) noexcept;
#if defined(VLISP_THREAD_SANITIZER)
// The sanitizer holds signals back until it is called, and native code calls it never.
inline constexpr std::uint32_t usualThreshold = 0;
#else
inline constexpr std::uint32_t usualThreshold = 200;
#endif
inline std::uint32_t timesUntilCompiled = usualThreshold;
[[nodiscard]] inline std::uint32_t threshold() noexcept { return timesUntilCompiled; }

}  // namespace native
}  // namespace vlisp
