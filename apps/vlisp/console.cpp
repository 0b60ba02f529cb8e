// Reading, writing and running. See console.h.
#include "apps/vlisp/console.h"

#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>

namespace vlisp::app {
namespace {

int outputFailure = 0;

bool readStandardInput(std::string& bytes) {
    char block[65536];
    while (const std::size_t count = std::fread(block, 1, sizeof block, stdin))
        bytes.append(block, count);
    return std::ferror(stdin) == 0;
}

}  // namespace

void writeText(const std::string& text) {
    // Out at once: what was shown is seen, whatever happens next.
    const bool written =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!written && outputFailure == 0) outputFailure = errno;
}

void writeLine(const std::string& text) { writeText(text + "\n"); }

void writeLine(std::u16string_view text) { writeLine(platform::toUtf8(text)); }

// As one text: the stream holds nothing back, and would write the end of the line on its own.
void writeError(const std::string& line) { std::cerr << line + '\n'; }

int exitCodeOfOutput(int code) {
    if (outputFailure == 0) return code;
    writeError(std::string("vlisp: cannot write to standard output: ") +
               std::strerror(outputFailure));
    return std::max<int>(code, exitUnwritable);
}

int exitCodeOfError(std::u16string_view errorText) {
    if (errorText.empty()) return exitOk;
    const bool limit = errorText == messages::tooDeep || errorText == messages::outOfMemory;
    return limit ? exitLimit : exitError;
}

bool readSource(const std::string& path, std::u16string& source) {
    std::string bytes;
    std::string reason;
    const bool isInput = path == "-";
    const bool read = isInput ? readStandardInput(bytes) : platform::readFile(path, bytes, reason);
    if (!read) {
        writeError("vlisp: cannot read " + (isInput ? "standard input" : "'" + path + "'") +
                   (reason.empty() ? "" : ": " + reason));
        return false;
    }
    source = platform::fromUtf8(bytes);
    if (source.starts_with(u"#!")) source.erase(0, std::min(source.find(u'\n'), source.size()));
    return true;
}

std::u16string_view lineOf(std::u16string_view source, std::size_t number) {
    for (std::size_t line = 1; line < number; ++line) {
        const std::size_t end = source.find(u'\n');
        if (end == std::u16string_view::npos) return {};
        source.remove_prefix(end + 1);
    }
    source = source.substr(0, source.find(u'\n'));
    if (source.ends_with(u'\r')) source.remove_suffix(1);
    return source;
}

Lisp::Lisp(refhost::ReferenceHost::Sink shown, refhost::Answers& answers)
    : host_(std::move(shown), answers) {
    host_.startExtension();
}

Lisp::~Lisp() { stopModule(); }

LoadReport Lisp::load(const std::string& path, std::u16string_view source) {
    LoadReport report;
    host_.evaluate([&] { report = session().loadLispText(platform::fromUtf8(path), source); });
    return report;
}

bool Lisp::evalString(std::u16string& text) {
    bool succeeded = false;
    host_.evaluate([&] { succeeded = session().EvalString(text); });
    return succeeded;
}

bool Lisp::evalCell(std::u16string& text, Cell& value) {
    bool succeeded = false;
    host_.evaluate([&] { succeeded = session().evalCell(text, value); });
    return succeeded;
}

bool Lisp::allAnswered() const {
    const auto& prompt = host_.unansweredPrompt();
    if (!prompt) return true;
    writeError("vlisp: no answer was left for the prompt '" + platform::toUtf8(*prompt) + "'");
    return false;
}

}  // namespace vlisp::app
