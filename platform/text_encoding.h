// Numbered code pages: bytes of the older text files outside, UTF-16 inside.
// One idea: a code page is two tables, made once from what the system knows and read by any thread.
// Tests: tests/platform/text_encoding_test.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vlisp::platform {

class SystemCodePage;

/// A code page whose characters take one byte or two. The bytes below 0x80 are ASCII in every one,
/// also where the system's table gives a few of them another sign (Arabic 864, Korean 1361).
/// Immutable: any thread.
class CodePage {
  public:
    /// The code page of that number, or null when this system has no name for the number. It lives
    /// as long as the program. The first call for a number makes its tables, which takes some
    /// milliseconds for the pages of East Asia. Where the system's tables are not installed, the
    /// page has ASCII only.
    ///
    /// Numbers: 437, 737, 775, 850, 852, 855, 857, 858, 860 to 866, 869 (DOS); 874, 1250 to 1258
    /// (Windows); 932 (Japanese, Shift JIS), 936 (simplified Chinese, GBK), 949 (Korean, unified
    /// Hangul), 950 (traditional Chinese, Big5), 1361 (Korean, Johab); 10000 (Macintosh Roman);
    /// 20127 (ASCII); 28591 to 28599, 28603, 28605 (ISO 8859-1 to -9, -13, -15).
    static const CodePage* find(int number);

    struct Character {
        char16_t unit = 0;
        /// Bytes that it takes: 1 or 2.
        std::uint8_t length = 1;
    };

    /// The first character of `bytes`, which must not be empty. A byte from 0x80 on that begins no
    /// character of the page is read as U+DC80 to U+DCFF, alone.
    [[nodiscard]] Character decodeFirst(std::string_view bytes) const noexcept {
        const auto first = static_cast<std::uint8_t>(bytes.front());
        if (bytes.size() > 1 && !pairs_.empty() && first >= firstHigh)
            if (const char16_t unit = pairs_[pairIndex(first, bytes[1])]; unit != 0)
                return {unit, 2};
        return {singles_[first], 1};
    }

    struct Encoded {
        std::array<char, 2> bytes{};
        /// 0: the page lacks the character.
        std::uint8_t length = 0;

        [[nodiscard]] std::string_view view() const noexcept { return {bytes.data(), length}; }
    };

    /// The bytes of one character. Those of U+DC80 to U+DCFF are the byte that they stand for, where
    /// that byte begins no character of one byte.
    [[nodiscard]] Encoded encode(char16_t unit) const noexcept;

    CodePage(const CodePage&) = delete;
    CodePage& operator=(const CodePage&) = delete;

  private:
    explicit CodePage(const SystemCodePage& system);
    void readTables(const SystemCodePage& system);
    void fillReverse(const SystemCodePage& system);

    static constexpr std::size_t firstHigh = 0x80;  // the bytes from here on are the page's own
    static constexpr std::size_t pairIndex(std::uint8_t first, char second) noexcept {
        return (first - firstHigh) * 256 + static_cast<std::uint8_t>(second);
    }

    std::array<char16_t, 256> singles_{};
    /// By the first byte less 0x80, then the second; 0: no such character. Empty in pages whose
    /// characters take one byte.
    std::vector<char16_t> pairs_;
    /// By unit: first byte in the low half, second or 0 in the high one; 0: lacking.
    std::vector<std::uint16_t> reverse_;
};

}  // namespace vlisp::platform
