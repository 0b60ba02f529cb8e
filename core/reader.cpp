// Splitting, tokenizing and parsing. See reader.h.
#include "core/reader.h"

#include "platform/system.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <functional>
#include <limits>
#include <memory_resource>
#include <span>

namespace vlisp {
namespace {

constexpr auto npos = std::u16string_view::npos;

bool isParenthesis(char16_t unit) noexcept { return unit == u'(' || unit == u')'; }

bool isBlankOrTab(char16_t unit) noexcept { return unit == u' ' || unit == u'\t'; }

// Signs that are looked for unit by unit: a table, because a branch for each kind of unit would be
// mispredicted at every other one.
using SignSet = std::array<bool, 128>;
constexpr SignSet signs(std::u16string_view units) noexcept {
    SignSet set{};
    for (const char16_t unit : units) set[unit] = true;
    return set;
}
constexpr SignSet piecesEnd = signs(u"();\n");
constexpr SignSet atomsEnd = signs(std::u16string_view(u" ()\0", 4));

// The place of the first unit from `at` on that is in the set, or the end.
inline std::size_t placeOf(const SignSet& set, std::u16string_view text, std::size_t at) noexcept {
    while (at < text.size() && !(text[at] < set.size() && set[text[at]])) ++at;
    return at;
}

// Where the atom ends that goes on at `at`: at a blank, a parenthesis or a zero. Few other signs are as
// small, so that one comparison passes nearly all.
inline const char16_t* endOfAtom(const char16_t* at, const char16_t* end) noexcept {
    while (at != end && (*at > u')' || !atomsEnd[*at])) ++at;
    return at;
}

// The upper case of four units at once.
constexpr std::size_t unitsInWord = sizeof(std::uint64_t) / sizeof(char16_t);
constexpr std::uint64_t upperCaseOfFour(std::uint64_t units) noexcept {
    constexpr std::uint64_t each = 0x0001'0001'0001'0001;
    constexpr std::uint64_t high = each * 0x8000;
    // The high bit of each unit tells: 0x7fff at most has nothing to carry to its neighbour.
    const std::uint64_t rest = units & ~high;
    const std::uint64_t fromA = rest + each * (0x8000 - u'a');
    const std::uint64_t beyondZ = rest + each * (0x8000 - u'z' - 1);
    const std::uint64_t letters = fromA & ~beyondZ & ~units & high;
    return units - (letters >> 10);  // 0x8000 becomes 'a' - 'A'
}
static_assert(u'a' - u'A' == 0x8000 >> 10);

// Rule 1 of atoms: a digit, or "-" and a digit, then digits and dots only.
bool isNumber(std::u16string_view token) noexcept {
    const bool begins =
        !token.empty() &&
        (isDigit(token[0]) || (token[0] == u'-' && token.size() > 1 && isDigit(token[1])));
    return begins && std::all_of(token.begin() + 1, token.end(),
                                 [](char16_t unit) { return isDigit(unit) || unit == u'.'; });
}

// The symbol of a token. Names are short: their upper case needs no memory of its own.
Cell nameOf(std::u16string_view token) {
    std::array<char16_t, 64> upper;
    if (token.size() > upper.size()) return Cell::symbol(upperCased(token));
    std::size_t at = 0;
    for (; at + unitsInWord <= token.size(); at += unitsInWord) {
        std::uint64_t four;
        std::memcpy(&four, token.data() + at, sizeof four);
        four = upperCaseOfFour(four);
        std::memcpy(upper.data() + at, &four, sizeof four);
    }
    for (; at < token.size(); ++at) upper[at] = upperCase(token[at]);
    return Cell::symbol(std::u16string_view(upper.data(), token.size()));
}

// The double at the front of a token of digits, dots and a leading "-": correctly rounded, and
// free of the process's locale.
double realOf(std::u16string_view token) {
    const std::string ascii(token.begin(), token.end());
    double value = 0;
    const char* end = ascii.data() + ascii.size();
    const auto result = std::from_chars(ascii.data(), end, value, std::chars_format::fixed);
    if (result.ec != std::errc::result_out_of_range) return value;
    const bool negative = ascii.front() == '-';
    const std::size_t firstDigit = ascii.find_first_of("123456789");
    const bool tooLarge = firstDigit < ascii.find('.');
    value = tooLarge ? std::numeric_limits<double>::infinity() : 0.0;
    return negative ? -value : value;
}

// Passes white space and a sign; true for a minus.
bool passSign(std::u16string_view text, std::size_t& at) noexcept {
    while (at < text.size() && (text[at] == u' ' || (text[at] >= u'\t' && text[at] <= u'\r'))) ++at;
    if (at >= text.size() || (text[at] != u'-' && text[at] != u'+')) return false;
    return text[at++] == u'-';
}

// What a number without sign that no double holds counts as: infinity or zero. The place of its
// first digit that counts, moved by the exponent, tells which.
double beyondRange(const std::string& number) noexcept {
    const std::size_t mantissaEnd = std::min(number.find('e'), number.size());
    const std::size_t point = std::min(number.find('.'), mantissaEnd);
    const std::size_t digit = number.find_first_of("123456789");
    if (digit >= mantissaEnd) return 0.0;
    double exponent = 0;  // as a double: it may have more digits than any integer
    for (std::size_t i = mantissaEnd + 1; i < number.size(); ++i)
        if (number[i] != '-') exponent = exponent * 10 + (number[i] - '0');
    if (number.find('-') != std::string::npos) exponent = -exponent;
    const double magnitude = static_cast<double>(point) - static_cast<double>(digit) + exponent;
    return magnitude < 0 ? 0.0 : std::numeric_limits<double>::infinity();
}

// Made when the program is loaded and not by the first who needs it, or it would be gone before the
// threads that use it.
const SymbolRef quoteName = intern(u"QUOTE");

// Cuts a text, up to its first zero unit, into tokens, one at a time.
class Tokenizer {
  public:
    explicit Tokenizer(std::u16string_view text)
        : at_(text.data()), end_(text.data() + text.size()) {}

    /// The next token; false when there is none.
    bool next(std::u16string_view& token) {
        // Something follows a quote even at the end of the text: the token of nothing.
        if (isAtEnd() && !afterQuote_) return false;
        while (at_ != end_ && *at_ == u' ') ++at_;
        const char16_t* begin = at_;
        const bool quote = !afterQuote_ && at_ != end_ && *at_ == u'\'';
        at_ = quote ? at_ + 1 : endOfToken();
        afterQuote_ = quote;
        token = std::u16string_view(begin, static_cast<std::size_t>(at_ - begin));
        return true;
    }

  private:
    [[nodiscard]] bool isAtEnd() const noexcept { return at_ == end_ || *at_ == u'\0'; }

    [[nodiscard]] const char16_t* endOfToken() const noexcept {
        if (at_ == end_) return at_;
        if (isParenthesis(*at_)) return at_ + 1;
        if (*at_ != u'"') return endOfAtom(at_, end_);
        const char16_t* close = std::find_if(
            at_ + 1, end_, [](char16_t unit) { return unit == u'"' || unit == u'\0'; });
        const bool isClosed = close != end_ && *close == u'"';
        return isClosed ? endOfAtom(close + 1, end_) : close;
    }

    const char16_t* at_;
    const char16_t* end_;
    bool afterQuote_ = false;
};

// Memory for what a read keeps aside: a little of its own, enough for most expressions, then the
// heap's, so that it counts in the budget.
class ReadingMemory final : public std::pmr::memory_resource {
  private:
    static constexpr std::size_t unit = alignof(HeapObject);

    void* do_allocate(std::size_t bytes, std::size_t /*alignment*/) override {
        const std::size_t rounded = (bytes + unit - 1) / unit * unit;
        if (rounded > own_.size() - taken_) return heap::allocate(bytes);
        return own_.data() + std::exchange(taken_, taken_ + rounded);
    }
    void do_deallocate(void* memory, std::size_t bytes, std::size_t /*alignment*/) override {
        const std::less<const void*> before;
        if (before(memory, own_.data()) || !before(memory, own_.data() + own_.size()))
            heap::release(memory, bytes);
    }
    [[nodiscard]] bool do_is_equal(const memory_resource& other) const noexcept override {
        return this == &other;
    }

    alignas(unit) std::array<std::byte, 1024> own_;
    std::size_t taken_ = 0;
};

using PendingCells = std::pmr::vector<Cell>;

// Takes the cells from `first` on away and makes a list of them.
Cell takeList(PendingCells& cells, std::size_t first) {
    const std::size_t count = cells.size() - first;
    if (count == 0) return Cell::list(CellSlice());
    Ref<Buffer<Cell>> buffer(Buffer<Cell>::make(count, 0));
    Cell* slot = buffer->slots();
    bool holdsLists = false;
    for (Cell& cell : std::span(cells).subspan(first)) {
        holdsLists |= cell.holdsCells();
        std::construct_at(slot++, std::move(cell));
    }
    buffer->last = static_cast<std::uint32_t>(count);
    buffer->holdsLists = holdsLists;
    cells.resize(first);
    return Cell::list(CellSlice(std::move(buffer), 0, static_cast<std::uint32_t>(count)));
}

// A list that is being read.
struct OpenList {
    std::size_t first;  // of its elements among those that are pending
    std::size_t place;
    std::size_t quotePlace;
    bool quoted;
};

// ReadFrom without recursion: lists that are open stand on a stack of their own, so that depth is
// limited by memory alone. `Tokens` is where tokens come from: a queue, or a text.
template <class Tokens> class ListReader {
  public:
    ListReader(Tokens& tokens, const char16_t* text, PlaceNotes* notes)
        : tokens_(tokens), text_(text), notes_(notes) {
        pending_.reserve(32);
        open_.reserve(12);
    }

    Cell read() {
        std::u16string_view token;
        for (;;) {
            if (!tokens_.next(token)) {
                if (open_.empty()) return NilCell;
                if (close()) return std::move(done_);
            } else if (token.size() != 1) {
                if (finish(MakeAtom(token), place(token))) return std::move(done_);
            } else if (token[0] == u')' && !open_.empty()) {
                if (close()) return std::move(done_);
            } else if (token[0] == u'(') {
                start(token, false, token);
            } else if (token[0] == u'\'') {
                if (readQuoted(token)) return std::move(done_);
            } else if (finish(MakeAtom(token), place(token))) {
                return std::move(done_);
            }
        }
    }

  private:
    // A quote applies to exactly the next token or parenthesised list.
    bool readQuoted(std::u16string_view quote) {
        std::u16string_view token;
        if (!tokens_.next(token)) return finishQuoted(NilCell, place(quote), place(quote));
        if (token != u"(") return finishQuoted(MakeAtom(token), place(quote), place(token));
        start(token, true, quote);
        return false;
    }

    void start(std::u16string_view token, bool quoted, std::u16string_view from) {
        open_.push_back({pending_.size(), place(token), place(from), quoted});
    }

    bool close() {
        const OpenList list = open_.back();
        open_.pop_back();
        Cell cell = takeList(pending_, list.first);
        if (notes_ != nullptr) notes_->note(cell, {list.place, takePlaces(list.first)});
        if (list.quoted) return finishQuoted(std::move(cell), list.quotePlace, list.place);
        return finish(std::move(cell), list.place);
    }

    bool finishQuoted(Cell quoted, std::size_t quotePlace, std::size_t quotedPlace) {
        Cell form = Cell::list({Cell::symbol(quoteName), std::move(quoted)});
        if (notes_ != nullptr) notes_->note(form, {quotePlace, {quotePlace, quotedPlace}});
        return finish(std::move(form), quotePlace);
    }

    // Hands a finished element to the list that it stands in; true when it stands in none, and so
    // is what was to be read.
    bool finish(Cell&& element, std::size_t place) {
        if (open_.empty()) {
            done_ = std::move(element);
            return true;
        }
        pending_.push_back(std::move(element));
        if (notes_ != nullptr) places_.push_back(place);
        return false;
    }

    std::vector<std::size_t> takePlaces(std::size_t first) {
        const auto begin = places_.begin() + static_cast<std::ptrdiff_t>(first);
        std::vector<std::size_t> taken(begin, places_.end());
        places_.erase(begin, places_.end());
        return taken;
    }

    [[nodiscard]] std::size_t place(std::u16string_view token) const noexcept {
        return text_ != nullptr ? static_cast<std::size_t>(token.data() - text_) : 0;
    }

    Tokens& tokens_;
    const char16_t* text_;
    PlaceNotes* notes_;
    ReadingMemory memory_;
    // The elements of all lists that are open, each list's behind those of the list around it.
    PendingCells pending_{&memory_};
    std::vector<std::size_t> places_;  // of the pending cells; kept only when places are noted
    std::pmr::vector<OpenList> open_{&memory_};
    Cell done_;
};

}  // namespace

bool SourceSplitter::next(SourceExpression& expression) {
    expression.text.clear();
    expression.pieces.clear();
    expression.line = 0;
    for (;;) {
        if (!inLine_ && !beginLine()) break;
        if (passLine(expression)) return true;
    }
    if (listener_ != nullptr && depth_ > 0) listener_->unfinished(opened_);
    depth_ = 0;
    return false;
}

// Passes the blanks at the front of the line that begins at at_.
bool SourceSplitter::beginLine() {
    if (at_ >= source_.size()) return false;
    inLine_ = true;
    parenthesisSeen_ = false;
    ++line_;
    lineBegin_ = at_;
    while (at_ < source_.size() && isBlankOrTab(source_[at_])) ++at_;
    pieceBegin_ = at_;
    return true;
}

// Goes on in a line, up to the end of an expression or of the line; true for an expression.
bool SourceSplitter::passLine(SourceExpression& expression) {
    for (;; ++at_) {
        at_ = placeOf(piecesEnd, source_, at_);
        if (at_ == source_.size() || !isParenthesis(source_[at_])) break;
        parenthesisSeen_ = true;
        const std::u16string_view piece = source_.substr(pieceBegin_, at_ + 1 - pieceBegin_);
        if (depth_ <= 0) tellLoose(piece.substr(0, piece.size() - 1));
        append(expression, piece);
        pieceBegin_ = at_ + 1;
        count(source_[at_]);
        if (depth_ != 0) continue;
        ++at_;
        return true;
    }
    endLine(expression);
    return false;
}

void SourceSplitter::endLine(SourceExpression& expression) {
    std::size_t end = at_;
    std::size_t lineEnd = at_;
    if (at_ < source_.size() && source_[at_] == u';')
        lineEnd = std::min(source_.find(u'\n', at_), source_.size());
    else if (end > pieceBegin_ && source_[end - 1] == u'\r') --end;
    at_ = std::min(lineEnd + 1, source_.size());
    inLine_ = false;

    if (end <= pieceBegin_ && !parenthesisSeen_) pieceBegin_ = lineBegin_;
    else
        while (end > pieceBegin_ && isBlankOrTab(source_[end - 1])) --end;
    const std::u16string_view rest = source_.substr(pieceBegin_, end - pieceBegin_);
    if (!parenthesisSeen_) {
        if (depth_ <= 0) tellLoose(rest);
        append(expression, rest);
    } else if (depth_ > 0) {
        append(expression, rest);
    } else if (listener_ != nullptr && !rest.empty()) {
        listener_->droppedText(pieceBegin_, rest.size());
    }
}

void SourceSplitter::count(char16_t parenthesis) {
    if (parenthesis == u'(') {
        if (depth_ == 0) opened_ = at_;
        ++depth_;
    } else {
        if (depth_ == 0 && listener_ != nullptr) listener_->surplusClose(at_);
        --depth_;
    }
}

void SourceSplitter::append(SourceExpression& expression, std::u16string_view piece) {
    expression.text += u' ';
    if (piece.empty()) return;
    if (expression.line == 0 && piece.find_first_not_of(u" \t") != npos) expression.line = line_;
    if (notesPieces_) expression.pieces.push_back({expression.text.size(), offsetOf(piece)});
    expression.text += piece;
}

void SourceSplitter::tellLoose(std::u16string_view piece) {
    if (listener_ != nullptr && piece.find_first_not_of(u' ') != npos)
        listener_->looseText(offsetOf(piece), piece.size());
}

std::vector<SourceExpression> splitText(std::u16string_view source, SplitListener* listener) {
    std::vector<SourceExpression> expressions;
    SourceSplitter splitter(source, SourceSplitter::Pieces::noted, listener);
    for (SourceExpression expression; splitter.next(expression);)
        expressions.push_back(std::move(expression));
    return expressions;
}

std::vector<std::u16string> SplitSource(const std::string& path) {
    std::string bytes;
    std::string reason;
    std::vector<std::u16string> texts;
    if (!platform::readFile(path, bytes, reason)) return texts;
    for (SourceExpression& expression : splitText(platform::fromUtf8(bytes)))
        texts.push_back(std::move(expression.text));
    return texts;
}

TokenQueue Tokenize(std::u16string_view text) {
    std::vector<std::u16string_view> tokens;
    Tokenizer tokenizer(text);
    for (std::u16string_view token; tokenizer.next(token);) tokens.push_back(token);
    return TokenQueue(std::move(tokens));
}

void PlaceNotes::note(const Cell& list, Places places) {
    if (!list.items().empty()) places_[list.items().data()] = std::move(places);
}

const PlaceNotes::Places* PlaceNotes::find(const Cell& list) const {
    const auto found = places_.find(list.items().data());
    return found == places_.end() ? nullptr : &found->second;
}

Cell ReadFrom(TokenQueue& tokens) { return ListReader(tokens, nullptr, nullptr).read(); }

Cell Parse(std::u16string_view text) {
    Tokenizer tokens(text);
    return ListReader(tokens, nullptr, nullptr).read();
}

Cell readWithPlaces(TokenQueue& tokens, const char16_t* text, PlaceNotes& notes) {
    return ListReader(tokens, text, &notes).read();
}

Cell MakeAtom(std::u16string_view token) {
    if (isNumber(token)) {
        if (token.find(u'.') != npos) return Cell::real(realOf(token));
        return Cell::integer(integerAtFront(token));
    }
    if (!token.empty() && token.front() == u'"') {
        if (token.size() < 2) return Cell::string(std::u16string_view());
        return Cell::string(token.substr(1, token.size() - 2));
    }
    return nameOf(token);
}

std::u16string upperCased(std::u16string_view text) {
    std::u16string upper(text);
    std::ranges::transform(upper, upper.begin(), upperCase);
    return upper;
}

std::vector<std::u16string> SplitText(std::u16string_view text, std::u16string_view delimiter) {
    std::vector<std::u16string> pieces;
    if (delimiter.empty()) {
        pieces.emplace_back(text);
        return pieces;
    }
    std::size_t start = 0;
    for (;;) {
        const std::size_t match = text.find(delimiter, start);
        pieces.emplace_back(text.substr(start, match == npos ? npos : match - start));
        if (match == npos) return pieces;
        start = match + delimiter.size();
    }
}

std::u16string_view TrimBlanks(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u" \t");
    // On purpose: a line of blanks and tabs alone stays, so a tab on a line of its own is read as a
    // name. Programs that were written with such lines behave accordingly.
    if (first == npos) return text;
    return text.substr(first, text.find_last_not_of(u" \t") + 1 - first);
}

std::int32_t integerAtFront(std::u16string_view text) noexcept {
    std::size_t at = 0;
    const bool negative = passSign(text, at);
    constexpr std::int64_t beyond = std::int64_t{1} << 31;
    std::int64_t value = 0;
    for (; at < text.size() && isDigit(text[at]); ++at)
        value = std::min(beyond, value * 10 + (text[at] - u'0'));
    if (negative) return static_cast<std::int32_t>(-value);
    return static_cast<std::int32_t>(std::min(value, beyond - 1));
}

double realAtFront(std::u16string_view text) {
    std::size_t at = 0;
    const bool negative = passSign(text, at);
    // Collected first, so that what follows the number cannot be taken for a part of it.
    std::string number;
    bool digits = false;
    for (bool point = false; at < text.size(); ++at) {
        if (isDigit(text[at])) digits = true;
        else if (text[at] == u'.' && !point) point = true;
        else break;
        number += static_cast<char>(text[at]);
    }
    if (!digits) return 0.0;
    if (at < text.size() && (text[at] == u'e' || text[at] == u'E')) {
        std::size_t exponent = at + 1;
        const bool small = exponent < text.size() && text[exponent] == u'-';
        if (small || (exponent < text.size() && text[exponent] == u'+')) ++exponent;
        if (exponent < text.size() && isDigit(text[exponent])) {
            number += small ? "e-" : "e";
            for (; exponent < text.size() && isDigit(text[exponent]); ++exponent)
                number += static_cast<char>(text[exponent]);
        }
    }
    double value = 0;
    const char* end = number.data() + number.size();
    const auto result = std::from_chars(number.data(), end, value);
    if (result.ec == std::errc::result_out_of_range) value = beyondRange(number);
    return negative ? -value : value;
}

}  // namespace vlisp
