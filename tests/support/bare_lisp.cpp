// See bare_lisp.h.
#include "tests/support/bare_lisp.h"

#include "builtins/registry.h"
#include "core/evaluator.h"
#include "platform/text.h"

namespace vlisp::test {

void RecordingPort::addCommand(std::u16string_view name, std::u16string_view lispText) {
    log.push_back("command " + platform::toUtf8(name) + " " + platform::toUtf8(lispText));
}
void RecordingPort::sendMessage(std::u16string_view text) {
    log.push_back("message " + platform::toUtf8(text));
}
void RecordingPort::sendEvalDone(std::u16string_view text) {
    log.push_back("done " + platform::toUtf8(text));
}

BareLisp::BareLisp()
    : session({port, [](Environment& global) { RegisterBuiltins(global); }, u"0"}) {
    session.StartInterpreter(1);
}

std::string BareLisp::eval(std::string_view text) {
    std::u16string buffer = platform::fromUtf8(text);
    session.EvalString(buffer);
    return platform::toUtf8(buffer);
}

Cell BareLisp::value(std::string_view text) {
    error.clear();
    return Eval(Parse(platform::fromUtf8(text)), GlobalEnvironment(), error);
}

}  // namespace vlisp::test
