// Splitting, tokenizing and parsing. See reader.h.
#include "core/reader.h"

#include "platform/system.h"
#include "platform/text.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace vlisp {
namespace {

constexpr auto npos = std::u16string_view::npos;

bool isParenthesis(char16_t unit) noexcept { return unit == u'(' || unit == u')'; }

// The splitter's state, kept across lines.
class Splitter {
  public:
    Splitter(std::u16string_view source, SplitListener* listener)
        : source_(source), listener_(listener) {}

    std::vector<SourceExpression> run() {
        std::size_t begin = 0;
        for (std::size_t line = 1; begin < source_.size(); ++line) {
            std::size_t end = source_.find(u'\n', begin);
            if (end == npos) end = source_.size();
            splitLine(source_.substr(begin, end - begin), line);
            begin = end + 1;
        }
        if (listener_ != nullptr && depth_ > 0) listener_->unfinished(opened_);
        return std::move(expressions_);
    }

  private:
    void splitLine(std::u16string_view line, std::size_t number) {
        line_ = number;
        if (line.ends_with(u'\r')) line.remove_suffix(1);
        line = line.substr(0, line.find(u';'));
        line = TrimBlanks(line);
        const bool hasParenthesis = line.find_first_of(u"()") != npos;
        if (!hasParenthesis) {
            if (depth_ <= 0) tellLoose(line);
            append(line);
            return;
        }
        for (std::size_t p = line.find_first_of(u"()"); p != npos; p = line.find_first_of(u"()")) {
            if (depth_ <= 0) tellLoose(line.substr(0, p));
            append(line.substr(0, p + 1));
            count(line[p], offsetOf(line) + p);
            line.remove_prefix(p + 1);
        }
        if (depth_ > 0 && !current_.text.empty()) append(line);
        else if (listener_ != nullptr && TrimBlanks(line).find_first_not_of(u" \t") != npos)
            listener_->droppedText(offsetOf(line), line.size());
    }

    void count(char16_t parenthesis, std::size_t at) {
        if (parenthesis == u'(') {
            if (depth_ == 0) opened_ = at;
            ++depth_;
        } else {
            if (depth_ == 0 && listener_ != nullptr) listener_->surplusClose(at);
            --depth_;
        }
        if (depth_ != 0) return;
        expressions_.push_back(std::move(current_));
        current_ = {};
    }

    void append(std::u16string_view piece) {
        current_.text += u' ';
        if (piece.empty()) return;
        if (current_.line == 0 && piece.find_first_not_of(u" \t") != npos) current_.line = line_;
        current_.pieces.push_back({current_.text.size(), offsetOf(piece)});
        current_.text += piece;
    }

    void tellLoose(std::u16string_view piece) {
        if (listener_ != nullptr && piece.find_first_not_of(u' ') != npos)
            listener_->looseText(offsetOf(piece), piece.size());
    }

    std::size_t offsetOf(std::u16string_view part) const noexcept {
        return static_cast<std::size_t>(part.data() - source_.data());
    }

    std::u16string_view source_;
    SplitListener* listener_;
    std::vector<SourceExpression> expressions_;
    SourceExpression current_;
    std::int64_t depth_ = 0;
    std::size_t line_ = 0;
    std::size_t opened_ = 0;
};

// Rule 1 of atoms: a digit, or "-" and a digit, then digits and dots only.
bool isNumber(std::u16string_view token) noexcept {
    const bool begins =
        !token.empty() &&
        (isDigit(token[0]) || (token[0] == u'-' && token.size() > 1 && isDigit(token[1])));
    return begins && std::all_of(token.begin() + 1, token.end(),
                                 [](char16_t unit) { return isDigit(unit) || unit == u'.'; });
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

// One list that is being read.
struct OpenList {
    SliceBuilder<Cell> items;
    bool quoted = false;
    PlaceNotes::Places places;
    std::size_t quotePlace = 0;
};

// ReadFrom without recursion: lists that are open stand on a stack of their own, so that depth is
// limited by memory alone.
class ListReader {
  public:
    ListReader(TokenQueue& tokens, const char16_t* text, PlaceNotes* notes)
        : tokens_(tokens), text_(text), notes_(notes) {}

    Cell read() {
        for (;;) {
            if (tokens_.empty()) {
                if (open_.empty()) return NilCell;
                if (finish(close(), done_)) return done_;
                continue;
            }
            const std::u16string_view token = tokens_.take();
            if (token == u")" && !open_.empty()) {
                if (finish(close(), done_)) return done_;
            } else if (token == u"(") {
                start(token, false, token);
            } else if (token == u"'") {
                if (readQuoted(token)) return done_;
            } else if (finish(Element{MakeAtom(token), place(token)}, done_)) {
                return done_;
            }
        }
    }

  private:
    struct Element {
        Cell cell;
        std::size_t place;
    };

    // A quote applies to exactly the next token or parenthesised list.
    bool readQuoted(std::u16string_view quote) {
        if (tokens_.empty()) return finish(quoteOf(NilCell, place(quote), place(quote)), done_);
        const std::u16string_view token = tokens_.take();
        if (token == u"(") {
            start(token, true, quote);
            return false;
        }
        return finish(quoteOf(MakeAtom(token), place(quote), place(token)), done_);
    }

    void start(std::u16string_view token, bool quoted, std::u16string_view from) {
        OpenList& list = open_.emplace_back();
        list.quoted = quoted;
        list.places.list = place(token);
        list.quotePlace = place(from);
    }

    Element close() {
        OpenList list = std::move(open_.back());
        open_.pop_back();
        Cell cell = Cell::list(list.items.take());
        const std::size_t at = list.places.list;
        if (notes_ != nullptr) notes_->note(cell, std::move(list.places));
        if (!list.quoted) return {std::move(cell), at};
        return quoteOf(cell, list.quotePlace, at);
    }

    Element quoteOf(const Cell& quoted, std::size_t quotePlace, std::size_t quotedPlace) {
        Cell form = Cell::list({Cell::symbol(quoteName), quoted});
        if (notes_ != nullptr) notes_->note(form, {quotePlace, {quotePlace, quotedPlace}});
        return {std::move(form), quotePlace};
    }

    // Hands a finished element to the list that it stands in; true when it stands in none.
    bool finish(Element element, Cell& result) {
        if (open_.empty()) {
            result = std::move(element.cell);
            return true;
        }
        open_.back().items.push(element.cell);
        if (notes_ != nullptr) open_.back().places.elements.push_back(element.place);
        return false;
    }

    std::size_t place(std::u16string_view token) const noexcept {
        return text_ != nullptr ? static_cast<std::size_t>(token.data() - text_) : 0;
    }

    TokenQueue& tokens_;
    const char16_t* text_;
    PlaceNotes* notes_;
    std::vector<OpenList> open_;
    Cell done_;
};

}  // namespace

std::vector<SourceExpression> splitText(std::u16string_view source, SplitListener* listener) {
    return Splitter(source, listener).run();
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
    text = text.substr(0, text.find(u'\0'));
    std::vector<std::u16string_view> tokens;
    std::size_t at = 0;
    const auto skipBlanks = [&] {
        while (at < text.size() && text[at] == u' ') ++at;
    };
    const auto endOfAtom = [&](std::size_t from) {
        const std::size_t end = text.find_first_of(u" ()", from);
        return end == npos ? text.size() : end;
    };
    while (at < text.size()) {
        skipBlanks();
        if (at < text.size() && text[at] == u'\'') {
            tokens.push_back(text.substr(at, 1));
            ++at;
            skipBlanks();
        }
        std::size_t end;
        if (at < text.size() && isParenthesis(text[at])) {
            end = at + 1;
        } else if (at < text.size() && text[at] == u'"') {
            const std::size_t close = text.find(u'"', at + 1);
            end = close == npos ? text.size() : endOfAtom(close + 1);
        } else {
            end = endOfAtom(at);
        }
        tokens.push_back(text.substr(at, end - at));
        at = end;
    }
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
    TokenQueue tokens = Tokenize(text);
    return ReadFrom(tokens);
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
    return Cell::symbol(upperCased(token));
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
