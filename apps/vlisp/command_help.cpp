// vlisp help NAME, and the reference pages: both from the tables of the evaluator and the registry.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/nearest.h"
#include "builtins/registry.h"
#include "core/evaluator.h"

#include <algorithm>
#include <cctype>

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
    std::vector<std::string> names;
    for (const Entry& entry : entries()) names.push_back(entry.name);
    return nearest(upper(name), names);
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
