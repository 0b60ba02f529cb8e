// vlisp script: lines as they would be typed at the command line. See commands.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/script_answers.h"
#include "apps/vlisp/signals.h"
#include "apps/vlisp/typed_line.h"
#include "platform/text.h"

#include <algorithm>

namespace vlisp::app {
namespace {

// What still waits when the lines have ended is told, not dropped in silence.
bool isComplete(Lisp& lisp, const TypedText& typed) {
    if (!typed.isEmpty())
        writeError("vlisp: a parenthesis is not closed: " + platform::toUtf8(typed.text()));
    const std::u16string prompt = lisp.host().prompt();
    if (!prompt.empty())
        writeError("vlisp: no answer was left for the prompt '" + platform::toUtf8(prompt) + "'");
    lisp.host().cancelCommand();
    return typed.isEmpty() && prompt.empty();
}

}  // namespace

int runScript(const std::string& path) {
    const auto lines = openLines(path);
    if (lines == nullptr) return exitUnreadable;
    cancelOnSignals();
    const auto show = [](std::u16string_view text) { writeLine(text); };
    ScriptAnswers answers(*lines, show);
    Lisp lisp(show, answers);
    int code = exitOk;
    TypedText typed(lisp.host());
    std::string line;
    while (!lisp.host().quits() && lines->next(line) == LineSource::Outcome::line) {
        if (!typed.add(platform::fromUtf8(line))) continue;
        std::u16string error = typeLine(lisp, typed.take());
        if (error.empty()) continue;
        code = std::max(code, exitCodeOfError(error));
        while (error.ends_with(u'\n')) error.pop_back();
        writeError(platform::toUtf8(error));
    }
    if (!lisp.allAnswered() || (!signalled() && !isComplete(lisp, typed)) ||
        lisp.host().mistakes() > 0)
        code = std::max<int>(code, exitError);
    if (const auto& failure = lisp.host().file.failure) code = std::max(code, exitCodeOf(*failure));
    return exitCodeOfSignals(exitCodeOfOutput(code));
}

}  // namespace vlisp::app
