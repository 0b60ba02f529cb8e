// vlisp run: a file, as the host loads it. See commands.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/script_answers.h"
#include "apps/vlisp/signals.h"
#include "platform/text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace vlisp::app {
namespace {

// The final error text, and below it where it arose.
void writeFinalError(const LoadReport& report, const std::string& path,
                     std::u16string_view source) {
    std::string text = platform::toUtf8(report.errorText);
    while (text.ends_with('\n')) text.pop_back();
    writeError(text);
    writeError("  " + path + ":" + std::to_string(report.line) + ": " +
               platform::toUtf8(TrimBlanks(lineOf(source, report.line))));
}

int runForPeople(const RunOptions& options, std::u16string_view source, LineSource& lines) {
    const std::string& path = options.path;
    bool announced = false;
    ScriptAnswers answers(lines, [](std::u16string_view text) { writeLine(text); });
    Lisp lisp(
        [&](std::u16string_view text) {
            if (announced) {
                writeLine(text);
            } else {
                announced = true;
                writeError(platform::toUtf8(text));
            }
        },
        answers);
    if (const int code = openDrawing(lisp, options.drawing, false); code != exitOk) return code;
    const LoadReport report = lisp.load(path, source);
    const bool answered = lisp.allAnswered();
    if (!report.errorText.empty()) writeFinalError(report, path, source);
    const int code =
        std::max<int>(exitCodeOfError(report.errorText), answered ? exitOk : exitError);
    return finishDrawing(lisp, options.drawing, false, code);
}

int runForPrograms(const RunOptions& options, std::u16string_view source, LineSource& lines) {
    nlohmann::ordered_json result;
    result["shown"] = nlohmann::ordered_json::array();
    const auto show = [&](std::u16string_view text) {
        result["shown"].push_back(platform::toUtf8(text));
    };
    QueuedAnswers answers(&lines, show);
    Lisp lisp(show, answers);
    if (const int code = openDrawing(lisp, options.drawing, true); code != exitOk) return code;
    const LoadReport report = lisp.load(options.path, source);
    result["done"] = platform::toUtf8(report.errorText);
    writeLine(result.dump());
    const int code =
        std::max<int>(exitCodeOfError(report.errorText), lisp.allAnswered() ? exitOk : exitError);
    return finishDrawing(lisp, options.drawing, true, code);
}

}  // namespace

int runFile(const RunOptions& options) {
    std::u16string source;
    if (!readSource(options.path, source)) return exitUnreadable;
    const auto lines = openLines(options.input);
    if (lines == nullptr) return exitUnreadable;
    cancelOnSignals();
    const int code = options.json ? runForPrograms(options, source, *lines)
                                  : runForPeople(options, source, *lines);
    return exitCodeOfSignals(exitCodeOfOutput(code));
}

}  // namespace vlisp::app
