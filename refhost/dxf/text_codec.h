// Texts of drawing files: bytes of a code page outside, UTF-16 inside.
// One idea: decoding never refuses and never loses a byte. What cannot be decoded becomes a lone low
// surrogate, U+DC80 to U+DCFF for the bytes 80 to FF, and encodes to the same byte again.
// Tests: tests/dxf/text_codec_test.cpp.
#pragma once

#include <string>
#include <string_view>

namespace vlisp::platform {
class CodePage;
}

namespace vlisp::refhost::dxf {

/// How the texts of one file are written. Immutable: any thread.
///
/// Beside the characters of the code page a text may hold escapes, in every version:
///
///     \U+XXXX       the UTF-16 unit XXXX (four hexadecimal digits in any case); two of them may
///                   form a surrogate pair. \U+0000 is no escape.
///     \M+nXXXX      the character with the bytes XXXX in code page n: 1 is 932 (Japanese), 2 is 950
///                   (traditional Chinese), 3 is 949 (Korean), 4 is 1361 (Korean, Johab), 5 is 936
///                   (simplified Chinese)
///     ^A to ^_      the control characters 01 to 1F: ^I is the tab, ^J the line feed
///     ^ and blank   a caret
///
/// What only resembles an escape is the text that it is; so is ^@, for texts hold no zero. A byte of
/// value zero is read as those two characters.
///
/// \U+DC80 to \U+DCFF stand for the lone surrogate only where the byte itself would be read as
/// something else (it is a character of the code page, or forms one with what follows); elsewhere
/// they are the text that they are.
///
/// For every `text` without zero, lone surrogates included, decode(encode(text, before)) == text.
/// For every `bytes`, encode(decode(bytes), bytes) == bytes, except that a raw carriage return or
/// line feed, which no line of a file holds, becomes ^M or ^J. Without `before` these come back in
/// their usual spelling too: escapes that were not needed, their small digits, \M+nXXXX, other raw
/// control characters, the byte zero, and characters that stand twice in the code page (932, 950).
class TextCodec {
  public:
    /// `version` is the file's format, such as "AC1009"; empty is the oldest. `codePage` is the name
    /// that the file gives, such as "ANSI_1252" or "dos850", in any case; a name that is not known
    /// is taken as ANSI_1252. From "AC1021" on texts are UTF-8, whatever the code page. (Versions
    /// with a point in their name, such as "AC2.10", are older than those without.)
    TextCodec(std::string_view version, std::string_view codePage);

    [[nodiscard]] std::u16string decode(std::string_view bytes) const;

    /// `before` is what stood there: a character that it wrote as an escape, or in one of several
    /// ways that the code page has, is written so again; where the texts begin or end alike, so do
    /// the bytes. The result holds no line end.
    ///
    /// A character that the code page lacks becomes \U+XXXX with capital digits, a control
    /// character its caret code. A backslash that would begin an escape becomes \U+005C; a caret
    /// that would begin a code, and one before @, is followed by a blank. (Only what would be misread
    /// is rewritten, so that formatting codes and paths stay readable for other programs.)
    /// A text that is stored in several groups is encoded as a whole: a cut may fall into a code.
    [[nodiscard]] std::string encode(std::u16string_view text, std::string_view before = {}) const;

    [[nodiscard]] bool isUtf8() const noexcept { return utf8_; }

  private:
    bool utf8_ = false;
    const platform::CodePage* codePage_ = nullptr;  // null: UTF-8
};

}  // namespace vlisp::refhost::dxf
