// What the text of a TEXT or MTEXT says. See text_layout.h.
// Tests: tests/refhost/text_layout_test.cpp.
#include "refhost/model/text_layout.h"

#include "core/reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace vlisp::refhost {
namespace {

constexpr char16_t noBreakSpace = 0x00A0;

void appendCharacter(std::u16string& to, std::uint32_t code) {
    constexpr std::uint32_t supplementary = 0x10000;
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return;
    if (code < supplementary) {
        to.push_back(static_cast<char16_t>(code));
        return;
    }
    to.push_back(static_cast<char16_t>(0xD800 + ((code - supplementary) >> 10)));
    to.push_back(static_cast<char16_t>(0xDC00 + ((code - supplementary) & 0x3FF)));
}

std::optional<std::uint32_t> digitOf(char16_t unit, std::uint32_t base) noexcept {
    const char16_t upper = upperCase(unit);
    if (isDigit(upper)) return static_cast<std::uint32_t>(upper - u'0');
    if (base == 16 && upper >= u'A' && upper <= u'F')
        return static_cast<std::uint32_t>(upper - u'A' + 10);
    return std::nullopt;
}

class Decoder {
  public:
    explicit Decoder(std::u16string_view text) : text_(text) {}

    std::u16string line() {
        lines_.emplace_back();
        while (here_ < text_.size())
            if (!percentCode() && !unicodeCode()) lines_.back().push_back(text_[here_++]);
        return std::move(lines_.back());
    }

    std::vector<std::u16string> lines() {
        lines_.emplace_back();
        while (here_ < text_.size())
            if (!percentCode() && !unicodeCode() && !backslashCode() && !caretCode()) plain();
        return std::move(lines_);
    }

  private:
    void plain() {
        const char16_t unit = text_[here_++];
        if (unit == u'\n') lines_.emplace_back();
        else if (unit != u'{' && unit != u'}' && unit != u'\r') lines_.back().push_back(unit);
    }

    [[nodiscard]] char16_t unitAt(std::size_t place) const noexcept {
        return place < text_.size() ? text_[place] : u'\0';
    }

    // The number of exactly `count` digits at a place.
    [[nodiscard]] std::optional<std::uint32_t> number(std::size_t place, int count,
                                                      std::uint32_t base) const noexcept {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i) {
            const auto digit = digitOf(unitAt(place++), base);
            if (!digit) return std::nullopt;
            value = value * base + *digit;
        }
        return value;
    }

    // All of these answer whether there was such a code, which is then behind.

    bool percentCode() {
        if (unitAt(here_) != u'%' || unitAt(here_ + 1) != u'%' || here_ + 2 >= text_.size())
            return false;
        const char16_t code = text_[here_ + 2];
        std::u16string& to = lines_.back();
        if (const auto character = number(here_ + 2, 3, 10)) {
            appendCharacter(to, *character);
            here_ += 5;
            return true;
        }
        switch (upperCase(code)) {
        case u'D': to.push_back(0x00B0); break;
        case u'P': to.push_back(0x00B1); break;
        case u'C': to.push_back(0x2300); break;
        case u'U':
        case u'O':
        case u'K': break;
        default: to.push_back(code);
        }
        here_ += 3;
        return true;
    }

    bool unicodeCode() {
        if (unitAt(here_) != u'\\' || upperCase(unitAt(here_ + 1)) != u'U' ||
            unitAt(here_ + 2) != u'+')
            return false;
        const auto character = number(here_ + 3, 4, 16);
        if (!character) return false;
        // Halves of a pair come as two codes.
        if (*character != 0) lines_.back().push_back(static_cast<char16_t>(*character));
        here_ += 7;
        return true;
    }

    bool backslashCode() {
        if (unitAt(here_) != u'\\') return false;
        const char16_t code = unitAt(here_ + 1);
        std::u16string& to = lines_.back();
        here_ = std::min(here_ + 2, text_.size());
        switch (code) {
        case u'P':
        case u'X':
        case u'N': lines_.emplace_back(); break;
        case u'~': to.push_back(noBreakSpace); break;
        case u'\\':
        case u'{':
        case u'}': to.push_back(code); break;
        case u'S': stacked(); break;
        case u'L':
        case u'l':
        case u'O':
        case u'o':
        case u'K':
        case u'k': break;
        case u'A':
        case u'C':
        case u'c':
        case u'f':
        case u'F':
        case u'H':
        case u'p':
        case u'Q':
        case u'T':
        case u'W': skipValue(); break;
        default:
            if (code != u'\0') to.push_back(code);
        }
        return true;
    }

    // A value ends at a semicolon.
    void skipValue() {
        const std::size_t end = text_.find(u';', here_);
        here_ = end == std::u16string_view::npos ? text_.size() : end + 1;
    }

    void stacked() {
        while (here_ < text_.size() && text_[here_] != u';') {
            const char16_t unit = text_[here_++];
            if (unit == u'\\' && here_ < text_.size()) lines_.back().push_back(text_[here_++]);
            else if (unit == u'^' || unit == u'#') lines_.back().push_back(u'/');
            else lines_.back().push_back(unit);
        }
        if (here_ < text_.size()) ++here_;
    }

    // Control characters are written with a caret.
    bool caretCode() {
        if (unitAt(here_) != u'^' || here_ + 1 >= text_.size()) return false;
        switch (text_[here_ + 1]) {
        case u'I': lines_.back().push_back(u' '); break;
        case u'J': lines_.emplace_back(); break;
        case u'M': break;
        case u' ': lines_.back().push_back(u'^'); break;
        default: return false;
        }
        here_ += 2;
        return true;
    }

    std::u16string_view text_;
    std::size_t here_ = 0;
    std::vector<std::u16string> lines_;
};

}  // namespace

std::u16string plainText(std::u16string_view coded) { return Decoder(coded).line(); }

std::vector<std::u16string> plainLines(std::u16string_view coded) { return Decoder(coded).lines(); }

}  // namespace vlisp::refhost
