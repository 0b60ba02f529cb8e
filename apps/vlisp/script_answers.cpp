// Answers of scripts. See script_answers.h.
#include "apps/vlisp/script_answers.h"

#include "apps/vlisp/console.h"
#include "apps/vlisp/input.h"
#include "apps/vlisp/signals.h"
#include "platform/text.h"

#include <utility>

namespace vlisp::app {
namespace {

refhost::Answers::Outcome take(LineSource& lines, std::u16string& line) {
    std::string bytes;
    switch (lines.next(bytes)) {
    case LineSource::Outcome::interrupted: return refhost::Answers::Outcome::interrupted;
    case LineSource::Outcome::end: return refhost::Answers::Outcome::end;
    case LineSource::Outcome::line: break;
    }
    line = platform::fromUtf8(bytes);
    return refhost::Answers::Outcome::line;
}

}  // namespace

LineSource::~LineSource() {
    if (descriptor_ != standardInput) closeInput(descriptor_);
}

bool LineSource::isTerminal() const noexcept { return app::isTerminal(descriptor_); }

// Takes a line off what has been read; the last one may lack its end.
bool LineSource::takeLine(std::string& line) {
    const std::size_t end = read_.find('\n', begin_);
    if (end == std::string::npos && (!ended_ || begin_ == read_.size())) return false;
    line = read_.substr(begin_, end - begin_);
    begin_ = end == std::string::npos ? read_.size() : end + 1;
    if (line.ends_with('\r')) line.pop_back();
    std::erase(line, '\0');  // it would end the line for whoever reads it as a text
    return true;
}

LineSource::Outcome LineSource::next(std::string& line) {
    for (;;) {
        if (signalled()) return Outcome::interrupted;
        if (takeLine(line)) return Outcome::line;
        if (ended_) return Outcome::end;
        read_.erase(0, std::exchange(begin_, 0));
        if (!readInput(descriptor_, read_)) ended_ = true;
    }
}

std::unique_ptr<LineSource> openLines(const std::string& path) {
    if (path == "-") return std::make_unique<LineSource>(standardInput);
    std::string reason;
    const int descriptor = openInput(path, reason);
    if (descriptor >= 0) return std::make_unique<LineSource>(descriptor);
    writeError("vlisp: cannot read '" + path + "': " + reason);
    return nullptr;
}

ScriptAnswers::Outcome ScriptAnswers::read(std::u16string_view prompt, bool /*continued*/,
                                           std::u16string& line) {
    const bool typed = lines_.isTerminal();
    if (typed) writeText(platform::toUtf8(prompt));
    const Outcome outcome = take(lines_, line);
    if (outcome == Outcome::line && !typed) asked_(std::u16string(prompt) + line);
    return outcome;
}

QueuedAnswers::Outcome QueuedAnswers::read(std::u16string_view prompt, bool continued,
                                           std::u16string& line) {
    if (!continued) shown_(prompt);
    if (!queue_.empty() && std::holds_alternative<std::u16string>(queue_.front())) {
        line = std::get<std::u16string>(std::move(queue_.front()));
        queue_.pop_front();
        return Outcome::line;
    }
    return lines_ != nullptr && queue_.empty() ? take(*lines_, line) : Outcome::end;
}

bool QueuedAnswers::takeReply(const HostRequest& request, HostRequest& reply) {
    if (queue_.empty() || !std::holds_alternative<HostRequest>(queue_.front())) return false;
    if (request.kind == static_cast<std::int32_t>(RequestKind::UserInput))
        shown_(request.messageText);
    reply = std::get<HostRequest>(queue_.front());
    queue_.pop_front();
    return true;
}

}  // namespace vlisp::app
