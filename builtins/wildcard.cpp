// Translation and matching of wildcard patterns. See wildcard.h.
#include "builtins/wildcard.h"

#include "core/interruption.h"
#include "platform/system.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <locale>
#include <regex>

namespace vlisp {
namespace {

// The translation of one character that is not ",", the back quote or an odd "~".
std::u16string_view translateCharacter(std::u16string_view character) {
    switch (character[0]) {
    case u'#': return u"\\d";
    case u'*': return u".*";
    case u'?': return u".";
    case u'@': return u"[a-zA-Z]";
    case u'.': return u"\\W";
    default: return character;  // On purpose: regular-expression syntax stays active.
    }
}

// One element of a plain expression: it matches one unit, or (star) any number of them.
struct PlainElement {
    enum class Kind : std::uint8_t { literal, digit, letter, nonWord, anyUnit, star } kind;
    char16_t unit = 0;

    [[nodiscard]] bool matches(char16_t given) const noexcept {
        const bool isDigit = given >= u'0' && given <= u'9';
        const bool isLetter = (given >= u'a' && given <= u'z') || (given >= u'A' && given <= u'Z');
        switch (kind) {
        case Kind::literal: return given == unit;
        case Kind::digit: return isDigit;
        case Kind::letter: return isLetter;
        case Kind::nonWord: return !isDigit && !isLetter && given != u'_';
        case Kind::anyUnit:
        case Kind::star: return true;
        }
        return false;
    }
};

bool isRegexSyntax(char16_t unit) {
    return std::u16string_view(u"\\[](){}|+^$*?.").find(unit) != std::u16string_view::npos;
}

bool isWordUnit(char16_t unit) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9') || unit == u'_';
}

// The elements of an expression, if it is made of nothing but what plain wildcards translate to.
bool readPlain(std::u16string_view expression, std::vector<PlainElement>& elements) {
    using Kind = PlainElement::Kind;
    constexpr std::u16string_view letters = u"[a-zA-Z]";
    while (!expression.empty()) {
        std::size_t length = 1;
        if (expression.starts_with(u".*")) {
            elements.push_back({Kind::star});
            length = 2;
        } else if (expression.starts_with(u'.')) {
            elements.push_back({Kind::anyUnit});
        } else if (expression.starts_with(letters)) {
            elements.push_back({Kind::letter});
            length = letters.size();
        } else if (expression.starts_with(u"\\d")) {
            elements.push_back({Kind::digit});
            length = 2;
        } else if (expression.starts_with(u"\\W")) {
            elements.push_back({Kind::nonWord});
            length = 2;
        } else if (expression.front() == u'\\') {
            if (expression.size() < 2 || isWordUnit(expression[1])) return false;
            elements.push_back({Kind::literal, expression[1]});
            length = 2;
        } else {
            if (isRegexSyntax(expression.front())) return false;
            elements.push_back({Kind::literal, expression.front()});
        }
        // A quantifier behind an element belongs to the regular expressions.
        expression.remove_prefix(length);
        if (!expression.empty() && (expression.front() == u'*' || expression.front() == u'?'))
            return false;
    }
    return true;
}

// Thrown by StepIterator when a match has taken too many steps, or the user has had enough.
struct TooManySteps {};

// How many steps a match may take, and has taken.
struct Steps {
    std::uint64_t most;
    std::uint64_t taken = 0;

    void count() {
        constexpr std::uint64_t asksEvery = 4096;
        if (++taken > most || (taken % asksEvery == 0 && interruption::pending()))
            throw TooManySteps();
    }
};

// Walks a text and counts what the matcher does with it, so that a match that explodes can be given
// up. Where a matcher looks at nothing it still compares its place with the end.
class StepIterator {
  public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = wchar_t;
    using difference_type = std::ptrdiff_t;
    using pointer = const wchar_t*;
    using reference = const wchar_t&;

    StepIterator() = default;
    StepIterator(const wchar_t* at, Steps* steps) : at_(at), steps_(steps) {}

    reference operator*() const {
        steps_->count();
        return *at_;
    }
    StepIterator& operator++() {
        ++at_;
        return *this;
    }
    StepIterator operator++(int) {
        StepIterator before = *this;
        ++at_;
        return before;
    }
    StepIterator& operator--() {
        --at_;
        return *this;
    }
    StepIterator operator--(int) {
        StepIterator before = *this;
        --at_;
        return before;
    }
    friend bool operator==(const StepIterator& a, const StepIterator& b) {
        if (a.steps_ != nullptr) a.steps_->count();  // null in places that stand nowhere
        return a.at_ == b.at_;
    }
    friend bool operator!=(const StepIterator& a, const StepIterator& b) { return !(a == b); }

  private:
    const wchar_t* at_ = nullptr;
    Steps* steps_ = nullptr;
};

bool hasBackReference(std::u16string_view expression) {
    for (std::size_t i = 0; i + 1 < expression.size(); ++i) {
        if (expression[i] != u'\\') continue;
        ++i;
        if (expression[i] >= u'1' && expression[i] <= u'9') return true;
    }
    return false;
}

// How deeply groups are nested, escaped parentheses and those in brackets counted carelessly.
std::size_t nestingOf(std::u16string_view expression) {
    std::size_t depth = 0;
    std::size_t deepest = 0;
    for (std::size_t i = 0; i < expression.size(); ++i) {
        if (expression[i] == u'\\') ++i;
        else if (expression[i] == u'(') deepest = std::max(deepest, ++depth);
        else if (expression[i] == u')' && depth > 0) --depth;
    }
    return deepest;
}

// Whether a back-reference or a count of repetitions has more digits than any that can be meant;
// the library would overflow on reading it.
bool hasHugeNumber(std::u16string_view expression) {
    constexpr std::size_t mostDigits = 9;
    bool counted = false;  // behind "\" or "{", where digits are a number
    std::size_t digits = 0;
    for (const char16_t unit : expression) {
        const bool isDigit = unit >= u'0' && unit <= u'9';
        digits = isDigit && counted ? digits + 1 : 0;
        if (digits > mostDigits) return true;
        if (!isDigit) counted = unit == u'\\' || unit == u'{' || (counted && unit == u',');
    }
    return false;
}

// std::regex for 16-bit units exists for wchar_t alone; each unit becomes one wchar_t.
std::wstring widened(std::u16string_view text) { return std::wstring(text.begin(), text.end()); }

bool matchCompiled(const std::wstring& text, const std::wstring& expression, bool backReferences) {
    using namespace std::regex_constants;
    // The library's default matcher recurses once a character and explodes on nested repetition.
    // The polynomial mode does neither, but knows no back-references; without groups to remember it
    // takes no memory in proportion to them.
    const syntax_option_type mode =
        backReferences ? ECMAScript : ECMAScript | nosubs | __polynomial;
    try {
        std::wregex compiled;
        compiled.imbue(std::locale::classic());
        compiled.assign(expression, mode);
        Steps steps{backReferences ? 2'000'000u : 200'000'000u};
        return std::regex_match(StepIterator(text.data(), &steps),
                                StepIterator(text.data() + text.size(), &steps), compiled);
    } catch (const std::regex_error&) {
        return false;
    } catch (const TooManySteps&) {
        return false;
    }
}

// Size of an expression when its counts of repetitions are written out, nested or not; never less
// than it really is.
std::size_t expandedSize(std::u16string_view expression) {
    constexpr std::size_t enough = 1'000'000;
    std::size_t size = expression.size();
    for (std::size_t at = 0; at < expression.size(); ++at) {
        if (expression[at] != u'{') continue;
        std::size_t largest = 1;
        for (++at; at < expression.size() && expression[at] != u'}'; ++at) {
            std::size_t number = 0;
            for (; at < expression.size() && expression[at] >= u'0' && expression[at] <= u'9'; ++at)
                number = std::min(enough, number * 10 + (expression[at] - u'0'));
            largest = std::max(largest, number);
            if (at < expression.size() && expression[at] == u'}') break;
        }
        size = std::min(enough, size * largest);
    }
    return size;
}

}  // namespace

std::vector<WildcardTranslation> translateWildcard(std::u16string_view pattern) {
    std::vector<WildcardTranslation> alternatives(1);
    std::u16string_view previous;  // what the previous character was translated to
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        std::u16string& expression = alternatives.back().expression;
        const std::u16string_view character = pattern.substr(at, 1);
        if (character == u",") {
            alternatives.emplace_back();
        } else if (character == u"`") {
            if (++at == pattern.size()) {
                alternatives.back().complete = false;
                break;
            }
            expression += u'\\';
            expression += pattern[at];
        } else {
            const bool negates = character == u"~" && (at == 0 || previous == u"[");
            previous = negates ? std::u16string_view(u"^") : translateCharacter(character);
            expression += previous;
        }
    }
    return alternatives;
}

bool matchesWildcard(std::u16string_view text, std::u16string_view pattern) {
    for (const WildcardTranslation& alternative : translateWildcard(pattern)) {
        if (!alternative.complete) continue;
        const wildcard::Answer plain = wildcard::matchesPlain(text, alternative.expression);
        if (plain == wildcard::Answer::yes) return true;
        if (plain == wildcard::Answer::notPlain &&
            wildcard::matchesExpression(text, alternative.expression))
            return true;
    }
    return false;
}

namespace wildcard {

Answer matchesPlain(std::u16string_view text, std::u16string_view expression) {
    // A star stops at a line end, and then an earlier star may have to be tried again.
    if (text.find_first_of(u"\r\n\u2028\u2029") != std::u16string_view::npos)
        return Answer::notPlain;
    std::vector<PlainElement> elements;
    if (expression.starts_with(u'^')) expression.remove_prefix(1);
    if (!readPlain(expression, elements)) return Answer::notPlain;

    // Greedy from the left; on a mismatch the last star takes one unit more. An earlier star never
    // needs to be tried again: whatever it could reach, the last one can.
    constexpr auto none = static_cast<std::size_t>(-1);
    std::size_t at = 0;
    std::size_t next = 0;
    std::size_t afterStar = none;
    std::size_t starEnd = 0;
    for (std::uint32_t steps = 1;; ++steps) {
        if (steps % 65536 == 0 && interruption::pending()) return Answer::no;
        if (next < elements.size() && elements[next].kind == PlainElement::Kind::star) {
            afterStar = ++next;
            starEnd = at;
        } else if (at < text.size() && next < elements.size() && elements[next].matches(text[at])) {
            ++at;
            ++next;
        } else if (at == text.size() && next == elements.size()) {
            return Answer::yes;
        } else if (afterStar != none && starEnd < text.size()) {
            at = ++starEnd;
            next = afterStar;
        } else {
            return Answer::no;
        }
    }
}

bool matchesExpression(std::u16string_view text, std::u16string_view expression) {
    // The library parses nested groups, and follows chains of empty transitions, recursively: up to
    // the limit of states that the build sets. Its default matcher recurses over the text as well.
    constexpr std::size_t stackNeeded = std::size_t{16} << 20;
    constexpr std::size_t deepestNesting = 1000;
    constexpr std::size_t mostWithBackReferences = 20'000;
    const bool backReferences = hasBackReference(expression);
    if (backReferences && expandedSize(expression) * text.size() > mostWithBackReferences)
        return false;
    if (nestingOf(expression) > deepestNesting || hasHugeNumber(expression)) return false;
    bool matched = false;
    const std::wstring wideText = widened(text);
    const std::wstring wideExpression = widened(expression);
    platform::withStack(stackNeeded,
                        [&] { matched = matchCompiled(wideText, wideExpression, backReferences); });
    return matched;
}

}  // namespace wildcard
}  // namespace vlisp
