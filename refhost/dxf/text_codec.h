// Texts of drawing files: bytes of a code page outside, UTF-16 inside.
// One idea: decoding never refuses and never loses a byte. What cannot be decoded becomes a lone low
// surrogate, U+DC80 to U+DCFF for the bytes 80 to FF, and encodes to the same byte again.
// Tests: tests/dxf/text_codec_test.cpp.
#pragma once

#include <string>
#include <string_view>

namespace vlisp::refhost::dxf {

/// How the texts of one file are written. Immutable: any thread.
class TextCodec {
  public:
    /// `version` is the file's format, such as "AC1009"; empty is the oldest. `codePage` is the name
    /// that the file gives, such as "ANSI_1252" or "dos850", in any case; a name that is not known
    /// is taken as ANSI_1252. From "AC1021" on texts are UTF-8, whatever the code page.
    TextCodec(std::string_view version, std::string_view codePage);

    [[nodiscard]] std::u16string decode(std::string_view bytes) const;

    /// `before` is what stood there: a character that it wrote as an escape is written as the same
    /// escape again. The result holds no line end.
    [[nodiscard]] std::string encode(std::u16string_view text, std::string_view before = {}) const;

    [[nodiscard]] bool isUtf8() const noexcept { return utf8_; }

  private:
    bool utf8_ = false;
    int codePage_ = 1252;
};

}  // namespace vlisp::refhost::dxf
