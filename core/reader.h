// The reader: program text to cells.
// One idea: four plain layers (splitter, tokenizer, parser, atoms) and two text helpers; whatever
// the layers pass over in silence is behaviour that programs depend on.
// Tests: tests/core/reader_test.cpp, tests/lisp/reader/.
//
// On purpose: whitespace is the blank alone; strings have no escapes; comments are cut line by
// line without regard to strings, and only in files; parentheses are counted without regard to
// strings; nothing unbalanced is ever reported.
#pragma once

#include "core/cell.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vlisp {

/// A top-level expression of a source text, with where it came from.
struct SourceExpression {
    /// What the parser sees: lines trimmed, comments gone, a blank before every piece.
    std::u16string text;
    /// Line, counted from 1, of the first character that is neither blank nor tab.
    std::size_t line = 0;
    /// Where pieces of `text` came from, when that is noted: `text[at]` and what follows up to the
    /// next piece is `source[from]` and what follows. In order of `at`.
    struct Piece {
        std::size_t at;
        std::size_t from;
    };
    std::vector<Piece> pieces;
};

/// What the splitter meets and passes over; told to whoever wants to know.
class SplitListener {
  public:
    SplitListener() = default;
    SplitListener(const SplitListener&) = delete;
    SplitListener& operator=(const SplitListener&) = delete;
    virtual ~SplitListener() = default;

    /// A line outside any parenthesis, or the part of a line before its first one: glued to the
    /// front of the next expression. `from` and `length` tell where it stands in the source.
    virtual void looseText(std::size_t from, std::size_t length) = 0;
    /// What follows the last parenthesis of a line at depth 0 or below: dropped.
    virtual void droppedText(std::size_t from, std::size_t length) = 0;
    /// A ")" that brings the depth below 0. Nothing is emitted any more while it stays there.
    virtual void surplusClose(std::size_t from) = 0;
    /// The "(" of an expression that the end of the source leaves open.
    virtual void unfinished(std::size_t from) = 0;
};

/// Cuts a source text into its top-level expressions, one at a time. Linear in the text's length.
class SourceSplitter {
  public:
    enum class Pieces { dropped, noted };

    /// `source` must outlive the splitter, and so must the listener, which may be null.
    explicit SourceSplitter(std::u16string_view source, Pieces pieces = Pieces::dropped,
                            SplitListener* listener = nullptr)
        : source_(source), listener_(listener), notesPieces_(pieces == Pieces::noted) {}

    /// Puts the next expression in place of what `expression` holds, whose memory it uses again.
    /// False, and `expression` means nothing, when the source has no more.
    bool next(SourceExpression& expression);

  private:
    bool beginLine();
    bool passLine(SourceExpression& expression);
    void endLine(SourceExpression& expression);
    void count(char16_t parenthesis);
    void append(SourceExpression& expression, std::u16string_view piece);
    void tellLoose(std::u16string_view piece);
    [[nodiscard]] std::size_t offsetOf(std::u16string_view part) const noexcept {
        return static_cast<std::size_t>(part.data() - source_.data());
    }

    std::u16string_view source_;
    SplitListener* listener_;
    bool notesPieces_;
    bool inLine_ = false;
    bool parenthesisSeen_ = false;  // in this line
    std::int64_t depth_ = 0;
    std::size_t at_ = 0;
    std::size_t line_ = 0;
    std::size_t lineBegin_ = 0;
    std::size_t pieceBegin_ = 0;  // what is left of this line
    std::size_t opened_ = 0;      // where the expression's first "(" stands
};

/// The texts of the top-level expressions of the file at `path`, each beginning with a blank. A
/// file that cannot be read gives none.
std::vector<std::u16string> SplitSource(const std::string& path);

/// The expressions of a text, all at once, with their pieces.
std::vector<SourceExpression> splitText(std::u16string_view source,
                                        SplitListener* listener = nullptr);

/// Tokens in order; views into the text that was tokenized.
class TokenQueue {
  public:
    explicit TokenQueue(std::vector<std::u16string_view> tokens) : tokens_(std::move(tokens)) {}

    [[nodiscard]] bool empty() const noexcept { return next_ == tokens_.size(); }
    [[nodiscard]] std::size_t size() const noexcept { return tokens_.size() - next_; }
    [[nodiscard]] std::u16string_view front() const noexcept { return tokens_[next_]; }
    std::u16string_view take() noexcept { return tokens_[next_++]; }
    /// Takes a token, if there is one.
    bool next(std::u16string_view& token) noexcept {
        if (empty()) return false;
        token = take();
        return true;
    }

  private:
    std::vector<std::u16string_view> tokens_;
    std::size_t next_ = 0;
};

/// Cuts a text, up to its first zero unit, into tokens. `text` must outlive the queue.
TokenQueue Tokenize(std::u16string_view text);

/// Notes, beside the cells, where each list and each of its elements began: offsets into the text
/// that was parsed, by the address of the list's buffer. An empty list has no buffer and no note.
class PlaceNotes {
  public:
    struct Places {
        std::size_t list = 0;
        std::vector<std::size_t> elements;
    };
    void note(const Cell& list, Places places);
    [[nodiscard]] const Places* find(const Cell& list) const;

  private:
    std::unordered_map<const void*, Places> places_;
};

/// Takes exactly one expression off the front of the queue. An empty queue gives nil; a list that
/// the queue leaves open is closed. Depth is limited by memory alone.
Cell ReadFrom(TokenQueue& tokens);

/// The first expression of `text`; what follows it is dropped. An empty text gives nil.
Cell Parse(std::u16string_view text);

/// ReadFrom for tokens of the text that begins at `text`, and notes places.
Cell readWithPlaces(TokenQueue& tokens, const char16_t* text, PlaceNotes& notes);

/// What a token becomes: number, string or symbol.
Cell MakeAtom(std::u16string_view token);

/// Pieces of `text` between occurrences of `delimiter`, empty ones kept. An empty delimiter gives
/// the whole text.
std::vector<std::u16string> SplitText(std::u16string_view text, std::u16string_view delimiter);

/// `text` without blanks and tabs at both ends; unchanged when it holds nothing else.
std::u16string_view TrimBlanks(std::u16string_view text);

/// Upper and lower case as the C library maps them in the "C" locale, on every system and under
/// every locale: ASCII letters change, nothing else.
[[nodiscard]] constexpr char16_t upperCase(char16_t unit) noexcept {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
}
[[nodiscard]] std::u16string upperCased(std::u16string_view text);
[[nodiscard]] constexpr char16_t lowerCase(char16_t unit) noexcept {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}
[[nodiscard]] constexpr bool isDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

/// The integer at the front of `text` as the C library's conversion reads it: leading white space,
/// one sign, decimal digits; 0 without digits; saturated at the limits of 32 bits.
[[nodiscard]] std::int32_t integerAtFront(std::u16string_view text) noexcept;

/// The number at the front of `text` as the C library's conversion reads it: leading white space,
/// one sign, decimal digits with at most one point, an exponent; 0.0 without digits. Free of the
/// process's locale.
[[nodiscard]] double realAtFront(std::u16string_view text);

}  // namespace vlisp
