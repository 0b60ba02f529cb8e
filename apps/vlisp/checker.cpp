// Reading with places and walking the forms. See checker.h.
#include "apps/vlisp/checker.h"

#include "apps/vlisp/nearest.h"
#include "builtins/registry.h"
#include "core/evaluator.h"
#include "core/reader.h"
#include "platform/text.h"

#include <algorithm>
#include <deque>
#include <map>

namespace vlisp::app {
namespace {

constexpr auto npos = std::u16string_view::npos;

// Turns offsets into a source into lines and columns, and collects warnings.
class Report {
  public:
    explicit Report(std::u16string_view source) : source_(source), lineStarts_{0} {
        for (std::size_t at = source.find(u'\n'); at != npos; at = source.find(u'\n', at + 1))
            lineStarts_.push_back(at + 1);
    }

    void warn(std::size_t offset, std::string text) { found_.emplace(offset, std::move(text)); }

    [[nodiscard]] std::vector<Warning> inOrder() const {
        std::vector<Warning> warnings;
        for (const auto& [offset, text] : found_) {
            const auto next = std::upper_bound(lineStarts_.begin(), lineStarts_.end(), offset);
            const std::size_t start = *(next - 1);
            const std::u16string_view before = source_.substr(start, offset - start);
            const auto isLowSurrogate = [](char16_t unit) {
                return unit >= 0xdc00 && unit < 0xe000;
            };
            const auto halves = std::count_if(before.begin(), before.end(), isLowSurrogate);
            warnings.push_back({static_cast<std::size_t>(next - lineStarts_.begin()),
                                before.size() - static_cast<std::size_t>(halves) + 1, text});
        }
        return warnings;
    }

  private:
    std::u16string_view source_;
    std::vector<std::size_t> lineStarts_;
    std::multimap<std::size_t, std::string> found_;
};

// What the splitter tells while it cuts the source into expressions.
class SplitWarnings final : public SplitListener {
  public:
    SplitWarnings(std::u16string_view source, Report& report) : source_(source), report_(report) {}

    void looseText(std::size_t from, std::size_t length) override {
        if (from >= broken) return;
        const std::u16string_view text = source_.substr(from, length);
        if (TrimBlanks(text) == u"'") return;  // a quote belongs to the expression
        const std::size_t first = text.find_first_not_of(u" \t");
        if (first == npos) return;  // tabs alone are told of as names
        report_.warn(from + first, "text outside any parenthesis is glued to the next expression, "
                                   "which is then not read");
    }
    void droppedText(std::size_t from, std::size_t length) override {
        const std::size_t first = source_.substr(from, length).find_first_not_of(u" \t");
        if (from < broken)
            report_.warn(from + first,
                         "text behind the last parenthesis of an expression is dropped");
    }
    void surplusClose(std::size_t from) override {
        if (from >= broken) return;
        const std::size_t lineStart = source_.rfind(u'\n', from) + 1;
        const std::u16string_view before = source_.substr(lineStart, from - lineStart);
        const bool inString = std::count(before.begin(), before.end(), u'"') % 2 == 1;
        report_.warn(from, std::string("surplus \")\"") +
                               (inString ? ", for parentheses inside strings count" : "") +
                               ": nothing behind it is read as it is written");
        broken = from;
    }
    void unfinished(std::size_t from) override {
        if (from < broken)
            report_.warn(from, "the expression that begins here is unfinished at the end of the "
                               "file and is not read");
    }

    /// Where the source stops to make sense.
    std::size_t broken = npos;

  private:
    std::u16string_view source_;
    Report& report_;
};

// ";" inside a string. Strings are what the tokenizer takes for them: a quote begins one only where
// a token begins. What is left open at the end of a top-level expression is not carried into the
// next.
void checkSemicolons(std::u16string_view source, Report& report) {
    bool inString = false;
    bool inComment = false;
    std::int64_t depth = 0;
    char16_t before = u' ';
    for (std::size_t at = 0; at < source.size(); ++at) {
        const char16_t unit = source[at];
        if (unit == u'\n') {
            inComment = false;
            if (depth <= 0) inString = false;
            before = u' ';
            continue;
        }
        if (inComment) continue;
        const bool tokenBegins = std::u16string_view(u" \t()'").find(before) != npos;
        if (unit == u'"' && (inString || tokenBegins)) inString = !inString;
        if (unit == u'(') ++depth;
        if (unit == u')') --depth;
        before = unit;
        if (unit != u';') continue;
        if (inString)
            report.warn(at,
                        "a \";\" inside a string begins a comment: the rest of the line is cut");
        inComment = true;
        inString = false;
    }
}

// Names that a function's own text binds: its parameters and locals.
struct Scope {
    Names names;
    const Scope* outer;
};

std::string inUtf8(const Cell& symbol) { return platform::toUtf8(symbol.text()); }

// What to write instead of a name that nothing defines.
std::string adviceFor(const std::string& name, const KnownNames& defined) {
    static const std::map<std::string, std::string> otherDialects = {
        {"PROGN", "this dialect has BEGIN"},
        {">=", "write (not (< a b))"},
        {"1+", "write (+ n 1)"},
        {"1-", "write (- n 1)"},
        {"NULL", "this dialect has NULLP"},
        {"FOREACH", "walk the list with WHILE, CAR and CDR"},
    };
    if (const auto found = otherDialects.find(name); found != otherDialects.end())
        return "; " + found->second;
    std::vector<std::string> candidates;
    constexpr std::size_t mostCompared = 2000;  // generated sources define more than anybody reads
    for (const Names* names : {&defined.bySources, &defined.atStart})
        if (names->size() <= mostCompared)
            for (const std::u16string& each : *names) candidates.push_back(platform::toUtf8(each));
    for (const SpecialFormHelp& form : specialForms()) candidates.emplace_back(form.name);
    const std::string meant = nearest(name, candidates);
    return meant.empty() ? "" : "; did you mean " + meant + "?";
}

std::string countOfArguments(int count) {
    return std::to_string(count) + (count == 1 ? " argument" : " arguments");
}

// Walks the forms of one expression, without recursion: sources may nest as deep as they like.
class FormWalker {
  public:
    FormWalker(const SourceExpression& expression, const PlaceNotes& notes,
               const KnownNames& defined, Report& report)
        : expression_(expression), notes_(notes), defined_(defined), report_(report) {}

    void walk(const Cell& expression) {
        pending_.push_back({expression, nullptr});
        while (!pending_.empty()) {
            const Pending next = std::move(pending_.back());
            pending_.pop_back();
            if (next.form.is(CellType::List) && !next.form.items().empty()) visit(next);
        }
    }

  private:
    struct Pending {
        Cell form;
        const Scope* scope;
    };

    void visit(const Pending& at) {
        const Items items = at.form.items();
        const SymbolData* head = items[0].symbolData();
        switch (head != nullptr ? head->specialForm : SpecialForm::none) {
        case SpecialForm::none: visitCall(at); return;
        case SpecialForm::quote: visitQuote(at); return;
        case SpecialForm::cond:
            for (const Cell& clause : items.subspan(1)) later(clause.items(), 0, 1, at.scope);
            return;
        case SpecialForm::setq: later(items, 2, 2, at.scope); return;
        case SpecialForm::define: later(items, 2, 1, at.scope); return;
        case SpecialForm::defun: visitFunction(at, 2, 3); return;
        case SpecialForm::lambda: visitFunction(at, 1, 2); return;
        case SpecialForm::orForm:
            if (items.size() > 2)
                report_.warn(place(at.form), "OR looks at its first argument only; the others are "
                                             "evaluated but do not count");
            later(items, 1, 1, at.scope);
            return;
        case SpecialForm::ifForm:
        case SpecialForm::notForm:
        case SpecialForm::andForm:
        case SpecialForm::whileForm:
        case SpecialForm::repeat:
        case SpecialForm::begin: later(items, 1, 1, at.scope); return;
        }
    }

    void visitCall(const Pending& at) {
        const Items items = at.form.items();
        if (items[0].is(CellType::Symbol)) checkCall(at);
        const std::u16string nil = u"NIL";
        if (defined_.bySources.contains(nil) || isBoundAround(at.scope, nil)) {
            later(items, 0, 1, at.scope);
            return;
        }
        for (std::size_t i = 1; i < items.size(); ++i)
            if (items[i].is(CellType::Symbol) && items[i].text() == nil)
                report_.warn(place(at.form, i), "nil is not bound: as an argument it leaves an "
                                                "undefined-symbol error behind");
        later(items, 0, 1, at.scope);
    }

    void checkCall(const Pending& at) {
        const Items items = at.form.items();
        const std::u16string name(items[0].text());
        const std::string shown = inUtf8(items[0]);
        if (isBoundAround(at.scope, name) || defined_.bySources.contains(name)) return;
        if (!defined_.atStart.contains(name)) {
            report_.warn(place(at.form, 0),
                         "nothing defines " + shown + adviceFor(shown, defined_));
            return;
        }
        const BuiltinRow* row = findBuiltin(shown);
        const int given = static_cast<int>(items.size()) - 1;
        if (row == nullptr) return;
        const bool exact = row->fewest == row->most;
        if (given < row->fewest && !exact)
            report_.warn(place(at.form), shown + " wants at least " +
                                             countOfArguments(row->fewest) + ", " +
                                             std::to_string(given) + " given");
        else if (given < row->fewest || (row->most != any && given > row->most))
            report_.warn(place(at.form), shown + " wants exactly " + countOfArguments(row->most) +
                                             ", " + std::to_string(given) + " given");
    }

    // Whether a function around the place binds the name. Nobody nests deeper than this by hand.
    static bool isBoundAround(const Scope* scope, const std::u16string& name) {
        constexpr int deepest = 1000;
        for (int depth = 0; scope != nullptr; scope = scope->outer, ++depth)
            if (depth == deepest || scope->names.contains(name)) return true;
        return false;
    }

    // A quoted lambda expression is a predicate; all else that is quoted is data.
    void visitQuote(const Pending& at) {
        const Items items = at.form.items();
        const Items quoted = items.size() > 1 ? items[1].items() : Items();
        const SymbolData* head = quoted.empty() ? nullptr : quoted[0].symbolData();
        if (head != nullptr && head->specialForm == SpecialForm::lambda)
            pending_.push_back({items[1], at.scope});
    }

    void visitFunction(const Pending& at, std::size_t parameters, std::size_t body) {
        const Items items = at.form.items();
        Scope& scope = scopes_.emplace_back(Scope{{}, at.scope});
        if (items.size() > parameters)
            for (const Cell& name : items[parameters].items())
                for (std::u16string& each : SplitText(name.text(), u"/")) scope.names.insert(each);
        later(items, body, 1, &scope);
    }

    void later(Items items, std::size_t from, std::size_t step, const Scope* scope) {
        for (std::size_t i = from; i < items.size(); i += step)
            if (items[i].is(CellType::List)) pending_.push_back({items[i], scope});
    }

    // Where a list begins in the source, or its element i.
    std::size_t place(const Cell& list) const {
        const PlaceNotes::Places* places = notes_.find(list);
        return places != nullptr ? sourceOffset(expression_, places->list) : 0;
    }
    std::size_t place(const Cell& list, std::size_t i) const {
        const PlaceNotes::Places* places = notes_.find(list);
        return places != nullptr ? sourceOffset(expression_, places->elements[i]) : 0;
    }

  public:
    /// Where `at` of an expression's text stands in the source.
    static std::size_t sourceOffset(const SourceExpression& expression, std::size_t at) {
        const auto after =
            std::upper_bound(expression.pieces.begin(), expression.pieces.end(), at,
                             [](std::size_t value, const SourceExpression::Piece& piece) {
                                 return value < piece.at;
                             });
        if (after == expression.pieces.begin()) return 0;
        const SourceExpression::Piece& piece = *(after - 1);
        return piece.from + (at - piece.at);
    }

  private:
    const SourceExpression& expression_;
    const PlaceNotes& notes_;
    const KnownNames& defined_;
    Report& report_;
    std::vector<Pending> pending_;
    std::deque<Scope> scopes_;
};

void checkTabs(const SourceExpression& expression, Report& report) {
    for (TokenQueue tokens = Tokenize(expression.text); !tokens.empty();) {
        const std::u16string_view token = tokens.take();
        // Inside a string a tab is a tab; behind its closing quote it belongs to the token.
        const bool isString = token.starts_with(u'"');
        const std::size_t close = isString ? token.find(u'"', 1) : 0;
        const std::size_t tab = close == npos ? npos : token.find(u'\t', close);
        if (tab == npos) continue;
        const auto at = static_cast<std::size_t>(token.data() - expression.text.data()) + tab;
        const bool isAlone = token.find_first_not_of(u'\t') == npos;
        report.warn(FormWalker::sourceOffset(expression, at),
                    isAlone ? "a tab is read as a name: only blanks separate"
                            : "a tab does not separate: this is read as one name");
    }
}

// Everything that stands in an expression's text: usually one form, more when text was glued on.
std::vector<Cell> readAll(const SourceExpression& expression, PlaceNotes& notes) {
    std::vector<Cell> forms;
    TokenQueue tokens = Tokenize(expression.text);
    while (!tokens.empty()) forms.push_back(readWithPlaces(tokens, expression.text.data(), notes));
    return forms;
}

}  // namespace

Names namesDefinedBy(std::u16string_view source) {
    Names names;
    std::vector<Cell> pending;
    for (const SourceExpression& expression : splitText(source)) {
        for (TokenQueue tokens = Tokenize(expression.text); !tokens.empty();)
            pending.push_back(ReadFrom(tokens));
        while (!pending.empty()) {
            const Cell form = std::move(pending.back());
            pending.pop_back();
            const Items items = form.items();
            if (items.empty()) continue;
            const SymbolData* head = items[0].symbolData();
            const SpecialForm kind = head != nullptr ? head->specialForm : SpecialForm::none;
            const bool defines = kind == SpecialForm::defun || kind == SpecialForm::define;
            if (defines && items.size() > 1) {
                std::u16string_view name = items[1].text();
                if (kind == SpecialForm::defun && name.starts_with(u"C:")) name.remove_prefix(2);
                names.emplace(name);
            }
            if (kind == SpecialForm::setq)
                for (std::size_t i = 1; i < items.size(); i += 2) names.emplace(items[i].text());
            for (const Cell& item : items)
                if (item.is(CellType::List)) pending.push_back(item);
        }
    }
    return names;
}

std::vector<Warning> checkSource(std::u16string_view source, const KnownNames& defined) {
    Report report(source);
    SplitWarnings listener(source, report);
    const std::vector<SourceExpression> expressions = splitText(source, &listener);
    checkSemicolons(source, report);
    for (const SourceExpression& expression : expressions) {
        const bool isBroken =
            !expression.pieces.empty() && expression.pieces.back().from >= listener.broken;
        if (isBroken) continue;
        PlaceNotes notes;
        const std::vector<Cell> forms = readAll(expression, notes);
        checkTabs(expression, report);
        FormWalker walker(expression, notes, defined, report);
        for (const Cell& form : forms) walker.walk(form);
    }
    return report.inOrder();
}

}  // namespace vlisp::app
