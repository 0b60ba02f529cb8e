// Pairs: what a drawing file is a row of. A pair is a group code and a value.
// One idea: pairs are never stored; a reader finds them one after the other in the file's own bytes,
// in the text form (a line for the code, a line for the value) and in the binary form alike.
// Tests: tests/dxf/pairs_test.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vlisp::refhost::dxf {

/// How the pairs of a file are written.
enum class Form : std::uint8_t {
    text,
    binary,           ///< codes of two bytes
    binaryShortCodes  ///< codes of one byte, 255 before a longer one: the oldest files
};

/// What the value of a group code is.
enum class ValueType : std::uint8_t { text, real, int16, int32, int64, boolean, chunk };

/// The type that a group code's values have.
[[nodiscard]] ValueType valueTypeOf(int code) noexcept;

[[nodiscard]] constexpr bool isNumber(ValueType type) noexcept {
    return type != ValueType::text && type != ValueType::chunk;
}

/// A pair in the bytes of a file.
struct Pair {
    int code = 0;
    std::uint64_t begin = 0;       ///< where the pair begins: its code
    std::uint64_t valueBegin = 0;  ///< where its value begins
    std::uint64_t valueEnd = 0;    ///< behind its value, before the line's end
    std::uint64_t end = 0;         ///< where the next pair begins
};

/// Bytes that are no drawing: where, and what is wrong there.
class Damage : public std::runtime_error {
  public:
    Damage(std::uint64_t where, const std::string& what)
        : std::runtime_error(what), offset(where) {}
    std::uint64_t offset;
};

/// Whether the numbers of pairs are looked at: those of a file whose structure is known have been.
enum class Numbers : std::uint8_t { check, trust };

/// Goes through the pairs of a range of bytes. The bytes must outlive it.
class PairReader {
  public:
    PairReader(std::string_view bytes, Form form, std::uint64_t begin, std::uint64_t end,
               Numbers numbers = Numbers::check) noexcept
        : bytes_(bytes.data()), at_(begin), end_(end), form_(form),
          checks_(numbers == Numbers::check) {}

    /// The next pair; false at the end. Throws Damage.
    bool next(Pair& pair) { return form_ == Form::text ? nextText(pair) : nextBinary(pair); }

    [[nodiscard]] std::uint64_t position() const noexcept { return at_; }
    void moveTo(std::uint64_t position) noexcept { at_ = position; }

  private:
    bool nextText(Pair& pair);
    bool nextBinary(Pair& pair);

    const char* bytes_;
    std::uint64_t at_;
    std::uint64_t end_;
    Form form_;
    bool checks_;
};

/// How a file's bytes are written, and where its first pair begins: behind a mark of the byte order,
/// or of the binary form.
struct Opening {
    Form form = Form::text;
    std::uint64_t begin = 0;
};
[[nodiscard]] Opening openingOf(std::string_view bytes) noexcept;

/// A value with its surroundings: what it takes to read it.
class Value {
  public:
    Value(std::string_view bytes, Form form, const Pair& pair) noexcept
        : raw_(bytes.substr(pair.valueBegin, pair.valueEnd - pair.valueBegin)), code_(pair.code),
          form_(form) {}

    /// The bytes as they stand, without the line's end.
    [[nodiscard]] std::string_view raw() const noexcept { return raw_; }
    /// The number; nothing when the value is none. Whole numbers are read from reals too, and the
    /// other way round. Infinite and not-a-number are numbers.
    [[nodiscard]] std::optional<double> real() const noexcept;
    /// The same cut to a whole number and to 32 bits.
    [[nodiscard]] std::optional<std::int32_t> integer() const noexcept;
    /// The number behind a text of hexadecimal digits: a handle.
    [[nodiscard]] std::optional<std::uint64_t> handle() const noexcept;
    /// The value as people read it: texts as they stand, numbers as in the text form, chunks as
    /// hexadecimal digits.
    [[nodiscard]] std::string readable() const;
    /// The text without the blanks around it, as for names of sections and records.
    [[nodiscard]] std::string_view trimmed() const noexcept;

  private:
    std::string_view raw_;
    int code_;
    Form form_;
};

/// A text without the blanks around it.
[[nodiscard]] std::string_view withoutBlanks(std::string_view text) noexcept;

/// What stood somewhere, for people: in quotes, short, and without what a terminal would act on.
[[nodiscard]] std::string quoted(std::string_view text);

/// A number's text as the text form has it, without regard to the locale; blanks around it are
/// allowed.
[[nodiscard]] std::optional<double> numberOf(std::string_view text) noexcept;

/// Hexadecimal digits, blanks around them allowed; nothing for other texts and beyond 64 bits.
[[nodiscard]] std::optional<std::uint64_t> handleOf(std::string_view text) noexcept;

/// The shortest text that reads back as the same number, with a decimal point.
[[nodiscard]] std::string realText(double value);

}  // namespace vlisp::refhost::dxf
