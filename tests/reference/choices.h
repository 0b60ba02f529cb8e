// Choices: where a generated program's decisions come from.
// One idea: a number below a bound, from a seed for tests or from bytes for the fuzzer; bytes that
// have run out choose 0, for which every generator keeps its simplest answer.
// Tests: tests/reference/program_generator_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace vlisp::reference {

class Choices {
  public:
    /// Endless; the same for the same seed on every system.
    explicit Choices(std::uint64_t seed) noexcept : state_(seed) {}
    /// The bytes must outlive this object.
    explicit Choices(std::span<const std::uint8_t> bytes) noexcept
        : fromBytes_(true), bytes_(bytes) {}

    /// A number from 0 to `bound` - 1; `bound` is at least 1.
    std::size_t below(std::size_t bound) noexcept;
    /// True once in `n` times on average; false when the bytes have run out.
    bool oneIn(std::size_t n) noexcept { return below(n) == n - 1; }
    /// One of a table's rows.
    template <class Table> const auto& of(const Table& table) noexcept {
        return table[below(std::size(table))];
    }

    [[nodiscard]] bool exhausted() const noexcept { return fromBytes_ && bytes_.empty(); }

  private:
    std::uint64_t next() noexcept;

    bool fromBytes_ = false;
    std::uint64_t state_ = 0;
    std::span<const std::uint8_t> bytes_;
};

}  // namespace vlisp::reference
