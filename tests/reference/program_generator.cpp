// Writes programs from patterns. See program_generator.h.
#include "tests/reference/program_generator.h"

#include "builtins/registry.h"
#include "tests/reference/program_patterns.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::reference {
namespace {

using patterns::Pattern;
using Patterns = std::span<const Pattern>;

constexpr std::size_t mostDepth = 4;
constexpr int mostLoops = 2;  // within each other

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

bool isNameUnit(char unit) {
    return std::isalnum(static_cast<unsigned char>(unit)) != 0 || contains("+-*/<>=~.", {&unit, 1});
}

// The name that `text` begins with.
std::string_view nameAtFront(std::string_view text) {
    std::size_t length = 0;
    while (length < text.size() && isNameUnit(text[length])) ++length;
    return text.substr(0, length);
}

template <class Names> bool isAmong(const Names& names, std::string_view name) {
    return std::any_of(std::begin(names), std::end(names),
                       [&](std::string_view each) { return each == name; });
}

// What can be said of a pattern before it is filled in.
struct Nature {
    bool grows = false;    // its value may be larger than those that it is made of
    bool unknown = false;  // it may call a function of the program
};

// The whole of a program being written.
class Writer {
  public:
    explicit Writer(Choices choices) : choose_(choices) {}

    Program write() {
        static constexpr std::size_t mistakes[] = {1000, 60, 25, 12, 6};
        Program program;
        program.oneBuffer = choose_.oneIn(4);
        mistakeEvery_ = choose_.of(mistakes);
        chooseRebound();
        const Pattern beginning = choose_.of(patterns::beginnings);
        if (!choose_.oneIn(8) && !callsRebound(beginning)) add(program, beginning);
        const std::size_t paragraphs = 2 + choose_.below(8);
        for (std::size_t i = 0; i < paragraphs && !choose_.exhausted(); ++i) addParagraph(program);
        return program;
    }

  private:
    // Most programs rebind nothing of their own accord, so that the usual ways are taken.
    void chooseRebound() {
        if (!choose_.oneIn(3)) return;
        for (std::size_t count = 1 + choose_.below(3); count > 0; --count)
            rebound_.emplace_back(choose_.of(patterns::rebindable));
        // These ask EQ whether elements are the same.
        if (isAmong(rebound_, "eq")) rebound_.insert(rebound_.end(), {"member", "vl-remove"});
    }

    void addParagraph(Program& program) {
        loops_ = 0;
        switch (choose_.below(6)) {
        case 0:
        case 1:
            if (const Pattern story = choose_.of(patterns::storylines); !callsRebound(story))
                return add(program, story);
            return add(program, "%S");
        case 2: return add(program, "%D;%c");
        case 3: return add(program, "%a");
        case 4: return add(program, "%S;%c");
        default: return add(program, "%S");
        }
    }

    // Adds the expressions of a pattern, which are cut at each ";".
    void add(Program& program, Pattern pattern) {
        std::string text = filledIn(pattern, mostDepth);
        for (std::size_t end = text.find(';'); end != std::string::npos; end = text.find(';')) {
            program.expressions.push_back(text.substr(0, end));
            text.erase(0, end + 1);
        }
        program.expressions.push_back(std::move(text));
    }

    // The text of a pattern, its places filled in with expressions of at most `depth`.
    std::string filledIn(std::string_view pattern, std::size_t depth) {
        const Nature nature = natureOf(pattern);
        if (nature.grows || nature.unknown) grows_ = true;
        const std::string counter =
            contains(pattern, "%i") ? "c" + std::to_string(++counters_) : std::string();
        std::string out;
        for (std::size_t at = 0; at < pattern.size(); ++at) {
            if (pattern[at] != '%') {
                out += pattern[at];
            } else if (pattern[at + 1] == '=') {
                out += assignment(pattern[at + 2], depth);
                at += 2;
            } else if (pattern[++at] == 'i') {
                out += counter;
            } else {
                out += filling(pattern[at], depth);
            }
        }
        return out;
    }

    std::string filling(char place, std::size_t depth) {
        const std::size_t inner = depth > 0 ? depth - 1 : 0;
        switch (place) {
        case 'n':
        case 'l':
        case 's':
        case 't':
        case 'a':
        case 'f': return expression(place, inner);
        case 'c': return depth > 0 ? filledIn(choose_.of(patterns::calls), inner) : "(f)";
        case 'v': return choose_.of(patterns::variables);
        case 'b': return builtinName();
        case 'q': return choose_.of(patterns::quotedValues);
        case 'r': return rebound_.empty() ? choose_.of(patterns::variables) : anyRebound();
        case 'R': return repeat(inner);
        case 'D': return definition(inner);
        case 'S': return statement(inner);
        case '0': return std::to_string(choose_.below(5));
        case '9': return std::to_string(choose_.below(13));
        default: return {};
        }
    }

    std::string expression(char kind, std::size_t depth) {
        if (choose_.oneIn(mistakeEvery_)) {
            if (!choose_.oneIn(3)) return corner(depth);
            kind = "nlstaf"[choose_.below(6)];
        }
        if (depth == 0 || choose_.oneIn(4)) return choose_.of(atomsOf(kind));
        if (kind == 'a') return expression("nlstf"[choose_.below(5)], depth);
        if (kind == 'f') return function(depth);
        const Pattern pattern = usable(patternsOf(kind));
        return pattern != nullptr ? filledIn(pattern, depth) : choose_.of(atomsOf(kind));
    }

    std::string corner(std::size_t depth) {
        const Pattern pattern = usable(patterns::corners);
        return pattern != nullptr ? filledIn(pattern, depth) : "zzz";
    }

    // A function that does not ask MORE calls nothing that the program has made.
    std::string function(std::size_t depth) {
        const Pattern pattern = usable(patterns::functions);
        if (pattern == nullptr) return choose_.of(patterns::functionAtoms);
        const bool wasPlain = plain_;
        if (contains(pattern, "(lambda") && !contains(pattern, "(more")) {
            if (callsRebound(pattern)) return choose_.of(patterns::functionAtoms);
            plain_ = true;
        }
        std::string out = filledIn(pattern, depth);
        plain_ = wasPlain;
        return out;
    }

    std::string statement(std::size_t depth) {
        if (choose_.oneIn(mistakeEvery_)) return corner(depth);
        const Pattern pattern = depth > 0 ? usable(patterns::statements) : nullptr;
        return pattern != nullptr ? filledIn(pattern, depth) : assignment('a', depth);
    }

    // A value that may have grown passes through CAP on its way into a variable.
    std::string assignment(char kind, std::size_t depth) {
        if (kind == 'l' && choose_.oneIn(3))
            if (const Pattern step = usable(patterns::listSteps)) return stepOf(step);
        if (kind == 's' && choose_.oneIn(3))
            if (const Pattern step = usable(patterns::textSteps)) return stepOf(step);
        const bool grewBefore = grows_;
        grows_ = false;
        std::string value = expression(kind, depth > 0 ? depth - 1 : 0);
        if (grows_) value = "(cap " + value + ")";
        grows_ = grewBefore;
        return "(setq " + std::string(variableOf(kind)) + " " + value + ")";
    }

    std::string stepOf(Pattern step) {
        const bool grewBefore = grows_;
        std::string out = filledIn(step, 0);
        grows_ = grewBefore;
        return out;
    }

    std::string repeat(std::size_t depth) {
        if (loops_ >= mostLoops || depth == 0) return "(repeat 2 (setq n (+ n 1)))";
        ++loops_;
        std::string out = filledIn(plain_ ? "(repeat %0 %=n)" : "(repeat %0 %S)", depth);
        --loops_;
        return out;
    }

    std::string definition(std::size_t depth) {
        static constexpr Pattern names[] = {"f", "g", "h", "f", "g", "h", "inner", "c:box"};
        // What runs when MORE says nil calls nothing.
        static constexpr Pattern bodies[] = {
            " (if (more%) %a))",
            " (if (more%) (begin %S %a) x))",
            " (if (more%) (begin %S %S %l)))",
            " (cond ((more%) %S %n) (t 0)))",
            " (if (more%) %n k) (list n x))",
            " (if (more%) (and %S %S)) n)",
            " (if (more%) (%f %a) y))",
        };
        const std::string parameters = filledIn(choose_.of(patterns::parameterLists), 0);
        std::string out = "(defun " + std::string(choose_.of(names)) + " " + parameters;
        if (choose_.oneIn(4)) out += " " + plainStatement(depth);
        const Pattern chosen = choose_.of(bodies);
        std::string body = callsRebound(chosen) ? bodies[0] : chosen;
        body.replace(body.find("%)"), 1, namesIn(parameters));
        return out + filledIn(body, depth);
    }

    // Runs even where MORE would say nil, for an error stands.
    std::string plainStatement(std::size_t depth) {
        const bool wasPlain = plain_;
        plain_ = true;
        std::string out = assignment('a', std::min<std::size_t>(depth, 2));
        plain_ = wasPlain;
        return out;
    }

    // The parameters of a list, each behind a blank, for MORE to look at.
    static std::string namesIn(std::string_view parameters) {
        std::string out;
        parameters = parameters.substr(0, parameters.find('/'));
        while (!parameters.empty()) {
            const std::string_view name = nameAtFront(parameters);
            if (!name.empty() && name != "." &&
                std::isdigit(static_cast<unsigned char>(name[0])) == 0)
                out += " " + std::string(name);
            parameters.remove_prefix(std::max<std::size_t>(name.size(), 1));
        }
        return out;
    }

    // A row that may be used here; null when a few tries find none.
    template <std::size_t n> Pattern usable(const Pattern (&table)[n]) {
        return usable(Patterns(table));
    }
    Pattern usable(Patterns table) {
        for (int tries = 0; tries < 4; ++tries) {
            const Pattern pattern = table[choose_.below(table.size())];
            if (mayBeUsed(pattern)) return pattern;
        }
        return nullptr;
    }

    // A loop that does not ask MORE ends only if what it calls is what it seems to be.
    [[nodiscard]] bool mayBeUsed(std::string_view pattern) const {
        if (plain_ && natureOf(pattern).unknown) return false;
        const bool asksMore = contains(pattern, "(while (more") || contains(pattern, "(more) %t");
        return asksMore || !contains(pattern, "(while") || !callsRebound(pattern);
    }

    [[nodiscard]] bool callsRebound(std::string_view pattern) const {
        const auto heads = headsIn(pattern);
        return std::any_of(heads.begin(), heads.end(),
                           [&](std::string_view head) { return isAmong(rebound_, head); });
    }

    [[nodiscard]] Nature natureOf(std::string_view pattern) const {
        static constexpr std::string_view callingPlaces[] = {"%c", "%b", "%f", "%D", "%S", "(%r"};
        Nature nature;
        nature.unknown = callsRebound(pattern);
        for (const std::string_view head : headsIn(pattern)) {
            if (isAmong(patterns::growing, head)) nature.grows = true;
            if (isAmong(patterns::unknownHeads, head)) nature.unknown = true;
        }
        // A head that is an expression is harmless only as a lambda in its place.
        for (std::size_t at = pattern.find("(("); at != std::string_view::npos;
             at = pattern.find("((", at + 1))
            if (!pattern.substr(at).starts_with("((lambda")) nature.unknown = true;
        for (const std::string_view place : callingPlaces)
            if (contains(pattern, place)) nature.unknown = true;
        return nature;
    }

    // The names behind opening parentheses.
    static std::vector<std::string_view> headsIn(std::string_view pattern) {
        std::vector<std::string_view> heads;
        for (std::size_t at = pattern.find('('); at != std::string_view::npos;
             at = pattern.find('(', at + 1))
            if (const std::string_view head = nameAtFront(pattern.substr(at + 1)); !head.empty())
                heads.push_back(head);
        return heads;
    }

    std::string builtinName() {
        std::string name = builtinRows()[choose_.below(builtinRows().size())].name;
        for (char& unit : name)
            unit = static_cast<char>(std::tolower(static_cast<unsigned char>(unit)));
        return name;
    }

    const std::string& anyRebound() { return rebound_[choose_.below(rebound_.size())]; }

    Pattern variableOf(char kind) {
        static constexpr Pattern numbers[] = {"n", "i", "k"};
        static constexpr Pattern lists[] = {"l", "m"};
        static constexpr Pattern texts[] = {"s", "r"};
        static constexpr Pattern others[] = {"x", "y", "x", "a", "b", "n", "q"};
        switch (kind) {
        case 'n': return choose_.of(numbers);
        case 'l': return choose_.of(lists);
        case 's': return choose_.of(texts);
        default: return choose_.of(others);
        }
    }

    static Patterns atomsOf(char kind) {
        switch (kind) {
        case 'n': return patterns::numberAtoms;
        case 'l': return patterns::listAtoms;
        case 's': return patterns::textAtoms;
        case 't': return patterns::truthAtoms;
        case 'f': return patterns::functionAtoms;
        default: return patterns::anyAtoms;
        }
    }

    static Patterns patternsOf(char kind) {
        switch (kind) {
        case 'n': return patterns::numbers;
        case 'l': return patterns::lists;
        case 's': return patterns::texts;
        default: return patterns::truths;
        }
    }

    Choices choose_;
    std::vector<std::string> rebound_;  // names that the program binds anew
    std::size_t mistakeEvery_ = 1000;   // expressions
    int counters_ = 0;
    int loops_ = 0;
    bool plain_ = false;  // nothing that the program has made is to be called here
    bool grows_ = false;  // what is being written may be larger than its parts
};

}  // namespace

Program makeProgram(Choices choices) { return Writer(choices).write(); }

}  // namespace vlisp::reference
