// vlisp help NAME, and the reference pages: both from the tables of the evaluator and the registry.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/nearest.h"
#include "builtins/registry.h"
#include "core/evaluator.h"
#include "core/reader.h"
#include "platform/text.h"
#include "refhost/commands/command.h"
#include "refhost/model/variables.h"

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

std::string helpForCommand(const refhost::CommandRow& command) {
    std::string text = std::string("Command ") + command.name;
    if (*command.alias != 0) text += std::string(", or ") + command.alias;
    text += std::string("\n  ") + command.help;
    if (!command.steps.empty()) text += "\n  It may ask:";
    for (const refhost::Step& step : command.steps) {
        std::string prompt = platform::toUtf8(TrimBlanks(step.prompt));
        // The place of what Enter stands for, known only while the command runs.
        if (const std::size_t mark = prompt.find(" <%>"); mark != std::string::npos)
            prompt.erase(mark, 4);
        text += "\n    " + prompt;
    }
    return text;
}

}  // namespace

std::string helpForName(const std::string& name) {
    const std::string wanted = upper(name);
    std::string text;
    for (const Entry& entry : entries())
        if (entry.name == wanted)
            text = entry.synopsis + "\n  " + entry.help + "\n  Example: " + entry.example +
                   "  =>  " + entry.result;
    // LIST is both.
    if (const refhost::CommandRow* command = refhost::findCommand(platform::fromUtf8(name)))
        text += (text.empty() ? "" : "\n\n") + helpForCommand(*command);
    return text;
}

std::string commandsAsMarkdown() { return refhost::commandsAsMarkdown(); }

std::string variablesAsMarkdown() {
    const auto typeName = [](refhost::VariableType type) {
        switch (type) {
        case refhost::VariableType::Integer: return "integer";
        case refhost::VariableType::Real: return "real";
        case refhost::VariableType::Text: return "text";
        case refhost::VariableType::Point: return "point";
        case refhost::VariableType::PlanePoint: break;
        }
        return "plane point";
    };
    const refhost::Variables defaults;
    std::string page = "| Name | Type | Default | Set by programs | What it is |\n"
                       "|---|---|---|---|---|\n";
    for (const refhost::VariableRow& row : refhost::Variables::rows()) {
        const std::string name(row.name);
        const auto value = defaults.asText(platform::fromUtf8(name));
        const bool settable = row.access == refhost::VariableAccess::Settable;
        page += "| `" + name + "` | " + typeName(row.type) + " | `" + platform::toUtf8(*value) +
                "` | " + (settable ? "yes" : "no") + " | " + std::string(row.help) + " |\n";
    }
    return page;
}

std::string nearestName(const std::string& name) {
    std::vector<std::string> names;
    for (const Entry& entry : entries()) names.push_back(entry.name);
    for (const refhost::CommandRow& row : refhost::commandRows()) names.emplace_back(row.name);
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
