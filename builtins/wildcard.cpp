// Translation and matching of wildcard patterns. See wildcard.h.
#include "builtins/wildcard.h"

#include "core/interruption.h"
#include "platform/system.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <locale>
#include <optional>
#include <regex>

namespace vlisp {
namespace {

constexpr auto npos = std::u16string_view::npos;

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

// One element of a plain pattern or expression: it matches one unit, or (star) any number of them.
struct Element {
    enum class Kind : std::uint8_t {
        literal,
        digit,
        letter,
        nonWord,
        anyUnit,
        star,
        set,
        notPlain
    } kind;
    bool negated = false;      // of a set
    char16_t unit = 0;         // of a literal
    std::uint32_t length = 1;  // how many units it is written with
};
using Kind = Element::Kind;

bool isDigitUnit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
bool isLetterUnit(char16_t unit) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}
bool isWordUnit(char16_t unit) { return isDigitUnit(unit) || isLetterUnit(unit) || unit == u'_'; }

constexpr auto regexSyntax = [] {
    std::array<bool, 128> table{};
    for (const char sign : std::string_view("\\[](){}|+^$*?."))
        table[static_cast<unsigned char>(sign)] = true;
    return table;
}();

bool isRegexSyntax(char16_t unit) { return unit < regexSyntax.size() && regexSyntax[unit]; }

// An escaped unit, written with two; in front of a word unit the backslash means something else.
Element escapedElement(std::u16string_view rest) {
    if (rest.size() < 2 || isWordUnit(rest[1])) return {Kind::notPlain};
    return {Kind::literal, false, rest[1], 2};
}

// A bracket at the front of `rest`, unless its end is missing.
Element setElement(std::u16string_view rest, std::u16string_view negations) {
    const std::size_t end = rest.find(u']', 1);
    if (end == npos) return {Kind::notPlain};
    const bool negated = negations.find(rest[1]) != npos;
    return {Kind::set, negated, 0, static_cast<std::uint32_t>(end + 1)};
}

// What stands between the brackets of a set, without the sign that negates it.
std::u16string_view itemsOf(const Element& set, std::u16string_view rest) {
    const std::size_t begin = set.negated ? 2 : 1;
    return rest.substr(begin, set.length - 1 - begin);
}

// Whether a set holds units and ranges alone, and a dash by itself at one of its ends.
bool areItemsPlain(std::u16string_view items, std::u16string_view refused) {
    if (items.empty() || items.find_first_of(refused) != npos) return false;
    for (std::size_t at = 0; at < items.size();) {
        const bool single = at + 2 >= items.size() || items[at + 1] != u'-';
        const bool dash = items[at] == u'-';
        if (single && dash && at > 0 && at + 1 < items.size()) return false;
        if (!single && (dash || items[at + 2] == u'-' || items[at] > items[at + 2])) return false;
        at += single ? 1 : 3;
    }
    return true;
}

bool hasItem(std::u16string_view items, char16_t unit) {
    for (std::size_t at = 0; at < items.size();) {
        const bool single = at + 2 >= items.size() || items[at + 1] != u'-';
        if (single ? unit == items[at] : unit >= items[at] && unit <= items[at + 2]) return true;
        at += single ? 1 : 3;
    }
    return false;
}

// How the wildcards of a pattern are written.
struct PatternSyntax {
    static constexpr std::u16string_view refusedInSets = u"\\[({#*?@.`,";
    static constexpr bool endsAlternative(char16_t unit) { return unit == u','; }

    static Element elementAt(std::u16string_view rest) {
        switch (rest.front()) {
        case u'#': return {Kind::digit};
        case u'*': return {Kind::star};
        case u'?': return {Kind::anyUnit};
        case u'@': return {Kind::letter};
        case u'.': return {Kind::nonWord};
        case u'`': return escapedElement(rest);
        case u'[': return setElement(rest, u"~^");
        default: break;
        }
        if (isRegexSyntax(rest.front())) return {Kind::notPlain};
        return {Kind::literal, false, rest.front()};
    }
};

// How their translations are written.
struct ExpressionSyntax {
    static constexpr std::u16string_view refusedInSets = u"\\[({";
    static constexpr bool endsAlternative(char16_t) { return false; }

    static Element elementAt(std::u16string_view rest) {
        const Element element = readElement(rest);
        // A quantifier behind an element belongs to the regular expressions.
        rest.remove_prefix(element.length);
        const bool quantified = rest.starts_with(u'*') || rest.starts_with(u'?');
        return quantified ? Element{Kind::notPlain} : element;
    }

  private:
    static Element readElement(std::u16string_view rest) {
        constexpr std::u16string_view letters = u"[a-zA-Z]";
        if (rest.starts_with(u".*")) return {Kind::star, false, 0, 2};
        if (rest.starts_with(u'.')) return {Kind::anyUnit};
        if (rest.starts_with(letters)) return {Kind::letter, false, 0, letters.size()};
        if (rest.starts_with(u'[')) return setElement(rest, u"^");
        if (rest.starts_with(u"\\d")) return {Kind::digit, false, 0, 2};
        if (rest.starts_with(u"\\W")) return {Kind::nonWord, false, 0, 2};
        if (rest.starts_with(u'\\')) return escapedElement(rest);
        if (isRegexSyntax(rest.front())) return {Kind::notPlain};
        return {Kind::literal, false, rest.front()};
    }
};

// Behind a backslash and one of these, hasHugeNumber takes digits for a number.
bool isNumberPrefix(char16_t unit) { return unit == u'\\' || unit == u'{' || unit == u','; }

// A star stops at a line end, and then an earlier star may have to be tried again.
bool hasLineEnd(std::u16string_view text) {
    return std::ranges::any_of(text, [](char16_t unit) {
        return unit == u'\n' || unit == u'\r' || unit == u'\u2028' || unit == u'\u2029';
    });
}

// `rest` begins with the element.
bool matchesUnit(const Element& element, std::u16string_view rest, char16_t unit) {
    switch (element.kind) {
    case Kind::literal: return unit == element.unit;
    case Kind::digit: return isDigitUnit(unit);
    case Kind::letter: return isLetterUnit(unit);
    case Kind::nonWord: return !isWordUnit(unit);
    case Kind::anyUnit: return true;
    case Kind::set: return hasItem(itemsOf(element, rest), unit) != element.negated;
    case Kind::star:
    case Kind::notPlain: break;
    }
    return false;
}

// Whether the alternative at the front of `pattern` is plain; then `end` is where it ends. With a
// set it must be far from the limits of the regular expressions too, which sets are held to.
template <class Syntax>
bool readPlain(std::u16string_view pattern, std::size_t textSize, std::size_t& end) {
    constexpr std::size_t mostElements = 64;
    constexpr std::size_t mostWork = 20'000'000;  // units of the pattern times units of the text
    std::size_t count = 0;
    bool hasSet = false;
    bool escapesNumber = false;
    for (end = 0; end < pattern.size() && !Syntax::endsAlternative(pattern[end]);) {
        const std::u16string_view rest = pattern.substr(end);
        const Element element = Syntax::elementAt(rest);
        if (element.kind == Kind::notPlain) return false;
        if (element.kind == Kind::set) {
            if (!areItemsPlain(itemsOf(element, rest), Syntax::refusedInSets)) return false;
            hasSet = true;
        } else if (element.kind == Kind::literal && element.length == 2) {
            escapesNumber = escapesNumber || isNumberPrefix(element.unit);
        }
        end += element.length;
        ++count;
    }
    return !hasSet || (!escapesNumber && count <= mostElements && end <= mostWork / (textSize + 1));
}

// Whether a plain alternative matches the whole text, in which there are no line ends.
template <class Syntax>
wildcard::Answer matchPlain(std::u16string_view text, std::u16string_view pattern) {
    using wildcard::Answer;
    // Greedy from the left; on a mismatch the last star takes one unit more. An earlier star never
    // needs to be tried again: whatever it could reach, the last one can.
    std::size_t at = 0;
    std::size_t next = 0;
    std::size_t afterStar = npos;
    std::size_t starEnd = 0;
    for (std::uint32_t steps = 1;; ++steps) {
        if (steps % 65536 == 0 && interruption::pending()) return Answer::no;
        if (next < pattern.size()) {
            const std::u16string_view rest = pattern.substr(next);
            const Element element = Syntax::elementAt(rest);
            if (element.kind == Kind::star) {
                afterStar = next += element.length;
                starEnd = at;
                continue;
            }
            if (next == afterStar) {  // the star passes what cannot follow it
                while (at < text.size() && !matchesUnit(element, rest, text[at])) ++at;
                starEnd = at;
            }
            if (at < text.size() && matchesUnit(element, rest, text[at])) {
                ++at;
                next += element.length;
                continue;
            }
        } else if (at == text.size()) {
            return Answer::yes;
        } else if (afterStar == next) {
            return Answer::yes;  // the star takes what is left
        }
        if (afterStar == npos || starEnd == text.size()) return Answer::no;
        at = ++starEnd;
        next = afterStar;
    }
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

// Letters, digits and blanks are those of ASCII on every system: the C libraries do not agree on others.
class AsciiClasses final : public std::ctype<wchar_t> {
  protected:
    bool do_is(mask classes, wchar_t unit) const override {
        return static_cast<char32_t>(unit) < 0x80 && std::ctype<wchar_t>::do_is(classes, unit);
    }
};

const std::locale& localeOfExpressions() {
    static const std::locale locale(std::locale::classic(), new AsciiClasses);
    return locale;
}

// A compiled expression; nothing when it is not valid.
std::optional<std::wregex> compile(std::u16string_view expression, bool backReferences) {
    using namespace std::regex_constants;
    // The library's default matcher recurses once a character and explodes on nested repetition.
    // The polynomial mode does neither, but knows no back-references; without groups to remember it
    // takes no memory in proportion to them.
    const syntax_option_type mode =
        backReferences ? ECMAScript : ECMAScript | nosubs | __polynomial;
    try {
        std::wregex compiled;
        compiled.imbue(localeOfExpressions());
        compiled.assign(widened(expression), mode);
        return compiled;
    } catch (const std::regex_error&) {
        return std::nullopt;
    }
}

bool matchCompiled(const std::wstring& text, const std::wregex& compiled, bool backReferences) {
    try {
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

namespace {

// The alternatives of a pattern from the one of this number on, by their translations.
bool matchesTranslation(std::u16string_view text, std::u16string_view pattern, std::size_t first) {
    const std::vector<WildcardTranslation> alternatives = translateWildcard(pattern);
    for (std::size_t i = first; i < alternatives.size(); ++i) {
        if (!alternatives[i].complete) continue;
        const std::u16string& expression = alternatives[i].expression;
        const wildcard::Answer plain = wildcard::matchesPlain(text, expression);
        if (plain == wildcard::Answer::yes) return true;
        if (plain == wildcard::Answer::notPlain && wildcard::matchesExpression(text, expression))
            return true;
    }
    return false;
}

}  // namespace

// Shortcut: plain alternatives are matched as they are written, without their translations. Up to
// the first that is not plain: what that one holds decides how a "~" behind it is read.
bool matchesWildcard(std::u16string_view text, std::u16string_view pattern) {
    if (hasLineEnd(text)) return matchesTranslation(text, pattern, 0);
    std::u16string_view rest = pattern;
    for (std::size_t number = 0;; ++number) {
        // "The text begins here", which it does.
        const bool begins = rest.starts_with(u'^') || (number == 0 && rest.starts_with(u'~'));
        if (begins) rest.remove_prefix(1);
        std::size_t end = 0;
        if (!readPlain<PatternSyntax>(rest, text.size(), end))
            return matchesTranslation(text, pattern, number);
        if (matchPlain<PatternSyntax>(text, rest.substr(0, end)) == wildcard::Answer::yes)
            return true;
        if (end == rest.size()) return false;
        rest.remove_prefix(end + 1);
    }
}

namespace wildcard {

Answer matchesPlain(std::u16string_view text, std::u16string_view expression) {
    if (hasLineEnd(text)) return Answer::notPlain;
    if (expression.starts_with(u'^')) expression.remove_prefix(1);
    std::size_t end = 0;
    if (!readPlain<ExpressionSyntax>(expression, text.size(), end)) return Answer::notPlain;
    return matchPlain<ExpressionSyntax>(text, expression);
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
    // On purpose: nothing is kept between calls.
    platform::withStack(stackNeeded, [&] {
        const std::optional<std::wregex> compiled = compile(expression, backReferences);
        matched = compiled && matchCompiled(wideText, *compiled, backReferences);
    });
    return matched;
}

}  // namespace wildcard
}  // namespace vlisp
