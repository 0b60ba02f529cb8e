// vlisp run: a file, as the host loads it. See commands.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "platform/text.h"

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

int runForPeople(const std::string& path, std::u16string_view source) {
    bool announced = false;
    Lisp lisp([&](std::u16string_view text) {
        if (announced) {
            writeLine(text);
        } else {
            announced = true;
            writeError(platform::toUtf8(text));
        }
    });
    const LoadReport report = lisp.load(path, source);
    if (report.errorText.empty()) return exitOk;
    writeFinalError(report, path, source);
    return exitError;
}

int runForPrograms(const std::string& path, std::u16string_view source) {
    nlohmann::ordered_json result;
    result["shown"] = nlohmann::ordered_json::array();
    Lisp lisp([&](std::u16string_view text) { result["shown"].push_back(platform::toUtf8(text)); });
    const LoadReport report = lisp.load(path, source);
    result["done"] = platform::toUtf8(report.errorText);
    writeLine(result.dump());
    return report.errorText.empty() ? exitOk : exitError;
}

}  // namespace

int runFile(const std::string& path, bool json) {
    std::u16string source;
    if (!readSource(path, source)) return exitUnreadable;
    return exitCodeOfOutput(json ? runForPrograms(path, source) : runForPeople(path, source));
}

}  // namespace vlisp::app
