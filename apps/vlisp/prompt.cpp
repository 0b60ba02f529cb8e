// vlisp alone in a terminal: the command line. See commands.h.
// Tests: tests/cli/prompt_posix_test.cpp (through a pseudo-terminal), tests/cli/prompt_windows_test.cpp (in a
// console), tests/cli/completion_test.cpp.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/signals.h"
#include "apps/vlisp/terminal.h"
#include "apps/vlisp/typed_line.h"
#include "core/evaluator.h"
#include "core/interruption.h"
#include "platform/text.h"

#include <iostream>
#include <set>

namespace vlisp::app {
namespace {

using refhost::ReferenceHost;

constexpr char16_t commandPrompt[] = u"Command: ";
constexpr char16_t continuedPrompt[] = u"    ...> ";

void addLispNames(std::set<std::string>& names) {
    for (const Environment::Binding& binding : GlobalEnvironment().bindings())
        names.insert(platform::toUtf8(textOf(binding.name.get())));
    for (const SpecialFormHelp& form : specialForms()) names.insert(form.name);
    names.erase("nil");
    names.erase(".");
}

void addDrawingNames(const ReferenceHost& host, std::set<std::string>& names) {
    for (const refhost::Layer& layer : host.drawing.layers())
        names.insert(platform::toUtf8(layer.name));
    for (const auto& block : host.drawing.blocks())
        names.insert(platform::toUtf8(block->record.name.units()));
    for (const refhost::VariableRow& row : refhost::Variables::rows()) names.emplace(row.name);
}

// What can be completed behind `before`: in LISP its names and, in a text, those of the drawing and
// the variables; for a question its keywords and the drawing's names; otherwise commands.
std::set<std::string> namesBehind(const ReferenceHost& host, std::string_view before) {
    std::set<std::string> names;
    if (before.starts_with('(') || before.starts_with('!')) {
        if (before.ends_with('"')) addDrawingNames(host, names);
        else addLispNames(names);
        return names;
    }
    if (const std::u16string prompt = host.prompt(); !prompt.empty()) {
        for (const std::u16string& keyword : refhost::keywordsOf(prompt))
            names.insert(platform::toUtf8(keyword));
        addDrawingNames(host, names);
        return names;
    }
    for (const refhost::CommandRow& row : refhost::commandRows()) names.insert(row.name);
    for (const auto& [name, command] : host.commands()) names.insert(platform::toUtf8(name));
    return names;
}

// Reads lines and types them until the user has had enough.
class CommandPrompt {
  public:
    CommandPrompt()
        : terminal_([this](std::string_view before) { return namesBehind(lisp_.host(), before); }),
          lisp_([](std::u16string_view text) { writeLine(text); }, terminal_) {}

    void run() {
        TypedText typed(lisp_.host());
        while (!lisp_.host().quits() && endingSignal() == 0) {
            std::u16string line;
            const auto outcome = terminal_.read(prompt(!typed.isEmpty()), false, line);
            if (outcome == refhost::Answers::Outcome::end) break;
            if (outcome == refhost::Answers::Outcome::interrupted) {
                if (typed.isEmpty() && lisp_.host().cancelCommand()) writeLine(u"*Cancel*");
                typed.take();
                continue;
            }
            if (!typed.add(line)) continue;
            const std::u16string text = typed.take();
            if (text.find_first_not_of(u' ') != std::u16string::npos)
                terminal_.remember(platform::toUtf8(text));
            type(text);
        }
    }

  private:
    [[nodiscard]] std::u16string prompt(bool continued) const {
        if (continued) return continuedPrompt;
        const std::u16string asked = lisp_.host().prompt();
        return asked.empty() ? commandPrompt : asked;
    }

    void type(const std::u16string& line) {
        setBusy(true);
        std::u16string error = typeLine(lisp_, line);
        setBusy(false);
        interruption::take();  // a Ctrl-C that came too late is not for the next line
        while (error.ends_with(u'\n')) error.pop_back();
        if (!error.empty()) writeLine(error);
    }

    Terminal terminal_;
    Lisp lisp_;
};

}  // namespace

int promptForTexts() {
    watchSignalsOfPrompt();
    std::cout
        << "Velmora LISP. ( and ! begin LISP, everything else is a command; HELP lists them.\n"
        << Terminal::keys() << '\n';
    CommandPrompt().run();
    std::cout << '\n';
    return endingSignal() != 0 ? exitSignal + endingSignal() : exitCodeOfOutput(exitOk);
}

}  // namespace vlisp::app
