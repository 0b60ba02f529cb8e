// Answers of scripts. See script_answers.h.
#include "apps/vlisp/script_answers.h"

#include "apps/vlisp/console.h"
#include "platform/text.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace vlisp::app {
namespace {

int leaveOpen(std::FILE* /*file*/) { return 0; }

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

LineSource::LineSource() : file_(stdin, &leaveOpen) {}

LineSource::LineSource(const std::string& path) : file_(std::fopen(path.c_str(), "rb"), &std::fclose) {}

bool LineSource::isTerminal() const noexcept {
    return file_ != nullptr && ::isatty(::fileno(file_.get())) != 0;
}

LineSource::Outcome LineSource::next(std::string& line) {
    char* text = nullptr;
    std::size_t room = 0;
    errno = 0;
    const ssize_t length = ::getline(&text, &room, file_.get());
    const std::unique_ptr<char, void (*)(void*)> owned(text, &std::free);
    if (length < 0) {
        if (errno != EINTR) return Outcome::end;
        std::clearerr(file_.get());
        return Outcome::interrupted;
    }
    line.assign(text, static_cast<std::size_t>(length));
    if (line.ends_with('\n')) line.pop_back();
    if (line.ends_with('\r')) line.pop_back();
    return Outcome::line;
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
