// The error buffer: the interpreter's one error channel, and every text that goes into it.
// One idea: 300 units, owned by whoever starts an evaluation; empty means that there is no error,
// and whoever writes overwrites.
// Tests: tests/core/error_buffer_test.cpp, tests/core/environment_test.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vlisp {

class ErrorBuffer {
  public:
    /// Units that the buffer holds, the terminating zero included.
    static constexpr std::size_t capacity = 300;

    ErrorBuffer() noexcept { units_[0] = 0; }

    [[nodiscard]] bool empty() const noexcept { return length_ == 0; }
    [[nodiscard]] std::u16string_view text() const noexcept { return {units_.data(), length_}; }
    /// The text with its terminating zero.
    [[nodiscard]] const char16_t* terminated() const noexcept { return units_.data(); }

    /// Replaces the contents. A text too long is cut to what fits, never inside a surrogate pair.
    void report(std::u16string_view message) noexcept;
    void reportUndefinedSymbol(std::u16string_view name);
    void reportNotAFunction() noexcept;
    void clear() noexcept {
        length_ = 0;
        units_[0] = 0;
    }

    /// How often something was reported: tells which expression wrote the text that stands here.
    [[nodiscard]] std::uint64_t reports() const noexcept { return reports_; }

  private:
    std::array<char16_t, capacity> units_;  // valid up to the zero
    std::size_t length_ = 0;
    std::uint64_t reports_ = 0;
};

/// How many units of `text` fit into `room` without splitting a surrogate pair.
[[nodiscard]] std::size_t lengthThatFits(std::u16string_view text, std::size_t room) noexcept;

namespace messages {
inline constexpr std::u16string_view undefinedSymbolBefore = u";error; undefined symbol '";
inline constexpr std::u16string_view undefinedSymbolAfter = u"'\n";
inline constexpr std::u16string_view notAFunction = u";error; not a function!";
// Ours: the dialect knows no limits; a machine does.
inline constexpr std::u16string_view tooDeep = u";error; nested too deeply";
inline constexpr std::u16string_view outOfMemory = u";error; out of memory";
inline constexpr std::u16string_view cancelled = u";error; cancelled";
}  // namespace messages

}  // namespace vlisp
