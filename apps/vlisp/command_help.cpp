// vlisp help NAME, and the reference pages: both from the tables of the evaluator and the registry.
#include "apps/vlisp/commands.h"
#include "builtins/registry.h"
#include "core/evaluator.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace vlisp::app {
namespace {

struct Entry {
    std::string name, synopsis, help, example, result;
};

std::vector<Entry> entries() {
    std::vector<Entry> all;
    for (const SpecialFormHelp& row : specialForms())
        all.push_back({row.name, row.synopsis, row.help, row.example, row.result});
    for (const BuiltinRow& row : builtinRows())
        all.push_back({row.name, row.synopsis, row.help, row.example, row.result});
    return all;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

// Fewest single-character changes that turn one text into the other (Levenshtein's distance).
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, replaced}));
        }
    }
    return row[b.size()];
}

std::string section(const Entry& entry) {
    return "### `" + entry.name + "`\n\n`" + entry.synopsis + "`\n\n" + entry.help +
           "\n\n```lisp\n" + entry.example + "  ; => " + entry.result + "\n```\n\n";
}

}  // namespace

std::string helpForName(const std::string& name) {
    const std::string wanted = upper(name);
    for (const Entry& entry : entries())
        if (entry.name == wanted)
            return entry.synopsis + "\n  " + entry.help + "\n  Example: " + entry.example +
                   "  =>  " + entry.result;
    return {};
}

std::string nearestName(const std::string& name) {
    const std::string wanted = upper(name);
    std::string nearest;
    std::size_t best = std::max<std::size_t>(1, wanted.size() / 3) + 1;  // further is no help
    for (const Entry& entry : entries()) {
        const std::size_t distance = editDistance(wanted, entry.name);
        if (distance < best && distance < wanted.size()) {
            best = distance;
            nearest = entry.name;
        }
    }
    return nearest;
}

std::string referenceAsMarkdown() {
    std::string page = "## Special forms\n\n";
    for (const SpecialFormHelp& row : specialForms())
        page += section({row.name, row.synopsis, row.help, row.example, row.result});
    page += "## Built-in functions\n\n";
    for (const BuiltinRow& row : builtinRows())
        page += section({row.name, row.synopsis, row.help, row.example, row.result});
    return page;
}

}  // namespace vlisp::app
