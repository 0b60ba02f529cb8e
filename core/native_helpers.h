// What native code calls instead of doing it itself.
// One idea: a function carries one instruction out whole, or changes nothing and says so; it never
// throws.
// Tests: tests/core/native_code_test.cpp.
#pragma once

#include "core/code.h"
#include "core/intrinsics.h"

#include <cstdint>

namespace vlisp::native {

/// Takes apart what nobody holds any more.
void buryObject(HeapObject* object) noexcept;

/// Carries out instruction `at` of `code` on the registers R, or changes nothing and returns false.
using InPlace = bool (*)(Cell* R, const Instruction* at, const Code* code) noexcept;

/// Null for an operation that has none.
[[nodiscard]] InPlace inPlaceOf(Op op) noexcept;

/// What the built-in says of two values, of which it lets go: 0 or 1; 2 when the loop must ask.
using Compared = std::uint32_t (*)(Cell* R, const Instruction* at, const Code* code) noexcept;

/// Of one of the five comparisons, with a register or a constant as the second value.
[[nodiscard]] Compared comparedByBuiltin(Intrinsic intrinsic, bool withConstant) noexcept;

}  // namespace vlisp::native
