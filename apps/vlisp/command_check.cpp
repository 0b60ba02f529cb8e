// vlisp check: warnings, one a line or as JSON. See commands.h, checker.h.
#include "apps/vlisp/checker.h"
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/script_answers.h"

#include <nlohmann/json.hpp>

namespace vlisp::app {
namespace {

// What is bound before any source is loaded.
Names namesAtStart() {
    // Nothing is evaluated here, so nothing asks.
    QueuedAnswers answers(nullptr, [](std::u16string_view) {});
    const Lisp lisp([](std::u16string_view) {}, answers);
    Names names;
    for (const Environment::Binding& binding : GlobalEnvironment().bindings())
        names.emplace(textOf(binding.name.get()));
    return names;
}

void writeWarnings(const std::string& path, const std::vector<Warning>& warnings) {
    for (const Warning& warning : warnings)
        writeLine(path + ":" + std::to_string(warning.line) + ":" + std::to_string(warning.column) +
                  ": warning: " + warning.text);
}

}  // namespace

int checkFiles(const std::vector<std::string>& paths, bool json) {
    std::vector<std::u16string> sources(paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i)
        if (!readSource(paths[i], sources[i])) return exitUnreadable;

    KnownNames defined{namesAtStart(), {}};
    for (const std::u16string& source : sources) defined.bySources.merge(namesDefinedBy(source));

    auto all = nlohmann::ordered_json::array();
    bool clean = true;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const std::vector<Warning> warnings = checkSource(sources[i], defined);
        if (!warnings.empty()) clean = false;
        if (!json) writeWarnings(paths[i], warnings);
        for (const Warning& warning : warnings)
            all.push_back({{"file", paths[i]},
                           {"line", warning.line},
                           {"column", warning.column},
                           {"warning", warning.text}});
    }
    if (json) writeLine(all.dump());
    return exitCodeOfOutput(clean ? exitOk : exitError);
}

}  // namespace vlisp::app
