// See literal_reader.h.
#include "tests/core/literal_reader.h"

namespace vlisp::literal {
namespace {

constexpr auto npos = std::u16string_view::npos;

bool isParenthesis(char16_t unit) { return unit == u'(' || unit == u')'; }

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

class Reader {
  public:
    explicit Reader(std::vector<std::u16string_view> tokens) : tokens_(std::move(tokens)) {}

    Cell expression() {
        if (atEnd()) return NilCell;
        const std::u16string_view token = take();
        if (token == u"(") return list();
        if (token != u"'") return atom(token);
        if (atEnd()) return quoted(NilCell);
        const std::u16string_view next = take();
        return quoted(next == u"(" ? list() : atom(next));
    }

  private:
    Cell list() {
        std::vector<Cell> items;
        while (!atEnd() && tokens_[next_] != u")") items.push_back(expression());
        if (!atEnd()) take();
        return Cell::list(CellSlice::copyOf(items));
    }

    static Cell quoted(const Cell& cell) { return Cell::list({Cell::symbol(u"QUOTE"), cell}); }

    // Numbers are held against the C library elsewhere.
    static Cell atom(std::u16string_view token) {
        const bool negative = token.size() > 1 && token[0] == u'-';
        const std::u16string_view number = token.substr(negative ? 1 : 0);
        if (!number.empty() && isDigit(number[0]) &&
            number.find_first_not_of(u"0123456789.") == npos)
            return MakeAtom(token);
        if (!token.starts_with(u'"')) return Cell::symbol(upperCased(token));
        return Cell::string(token.size() < 2 ? u"" : token.substr(1, token.size() - 2));
    }

    [[nodiscard]] bool atEnd() const { return next_ == tokens_.size(); }
    std::u16string_view take() { return tokens_[next_++]; }

    std::vector<std::u16string_view> tokens_;
    std::size_t next_ = 0;
};

}  // namespace

std::vector<SourceExpression> splitText(std::u16string_view source, SplitListener* listener) {
    return Splitter(source, listener).run();
}

std::vector<std::u16string_view> tokensOf(std::u16string_view text) {
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
    return tokens;
}

Cell parse(std::u16string_view text) { return Reader(tokensOf(text)).expression(); }

}  // namespace vlisp::literal
