// vlisp dump: the code that a file's expressions and functions are translated into. See commands.h,
// core/code.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/script_answers.h"
#include "core/code.h"
#include "core/machine.h"
#include "core/reader.h"
#include "core/translator.h"
#include "platform/text.h"

namespace vlisp::app {
namespace {

void writeCode(const std::string& title, const Code& code);

// The functions that running this code makes.
void writeFunctions(const Code& code) {
    for (const Instruction& each : code.blocks[0]->instructions) {
        if (each.op != Op::makeFunction && each.op != Op::makeLambda) continue;
        const Cell& constant = code.constants[each.x];
        const bool hasName = each.op == Op::makeFunction;
        const Items form = hasName ? constant.items()[1].items() : constant.items();
        const std::string name =
            hasName ? "function " + platform::toUtf8(constant.items()[0].text()) : "lambda";
        const Cell parameters = form.size() > 1 ? form[1] : Cell::list(CellSlice());
        const Ref<Code> function = translateFunction(
            parameters.items(), form.size() > 2 ? form[2] : Cell::list(CellSlice()), code.shape);
        writeCode(name + " " + platform::toUtf8(shortPrint(parameters)), *function);
    }
}

void writeCode(const std::string& title, const Code& code) {
    writeLine(title);
    writeText(platform::toUtf8(describe(code)));
    writeFunctions(code);
}

}  // namespace

int dumpFile(const std::string& path) {
    std::u16string source;
    if (!readSource(path, source)) return exitUnreadable;
    // The built-ins must be known: nothing is evaluated.
    QueuedAnswers answers(nullptr, [](std::u16string_view) {});
    const Lisp lisp([](std::u16string_view) {}, answers);
    for (const SourceExpression& expression : splitText(source)) {
        const Cell form = Parse(expression.text);
        Code code;
        translateForm(code, form, {});
        writeCode(path + ":" + std::to_string(expression.line) + ": " +
                      platform::toUtf8(shortPrint(form)),
                  code);
    }
    return exitCodeOfOutput(exitOk);
}

void traceEvaluation() {
    Machine::trace([](std::u16string_view line) { writeError(platform::toUtf8(line)); });
}

}  // namespace vlisp::app
