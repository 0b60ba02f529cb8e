// What the system knows about a code page, one character at a time.
// One idea: only text_encoding.cpp asks, once for each page, and makes its tables of the answers; one
// source per system.
// Tests: tests/platform/text_encoding_test.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

namespace vlisp::platform {

class SystemCodePage {
  public:
    explicit SystemCodePage(int number);
    SystemCodePage(const SystemCodePage&) = delete;
    SystemCodePage& operator=(const SystemCodePage&) = delete;
    ~SystemCodePage();

    /// Whether the system has the page.
    [[nodiscard]] bool isKnown() const noexcept;

    struct Decoded {
        char16_t unit = 0;    ///< 0: the bytes are no character of one unit
        bool isLead = false;  ///< the byte needs another one
    };
    /// The character of one byte or two.
    [[nodiscard]] Decoded decode(std::string_view bytes) const;

    /// The bytes of a character, the first in the low half; 0 where the page lacks it.
    [[nodiscard]] std::uint16_t encode(char16_t unit) const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vlisp::platform
