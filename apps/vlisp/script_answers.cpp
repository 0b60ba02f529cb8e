// Answers of scripts. See script_answers.h.
#include "apps/vlisp/script_answers.h"

#include "apps/vlisp/console.h"
#include "apps/vlisp/signals.h"
#include "platform/text.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

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
    if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
}

bool LineSource::isTerminal() const noexcept { return ::isatty(descriptor_) != 0; }

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
        // Both are waited for, so that a signal just before the reading is not missed.
        pollfd ready[] = {{descriptor_, POLLIN, 0}, {signalDescriptor(), POLLIN, 0}};
        const bool waits = read_.find('\n', begin_) == std::string::npos && !ended_;
        if (::poll(ready, 2, waits ? -1 : 0) < 0 && errno != EINTR) return Outcome::end;
        if (ready[1].revents != 0) return Outcome::interrupted;
        if (takeLine(line)) return Outcome::line;
        if (ended_) return Outcome::end;
        if (ready[0].revents == 0) continue;
        read_.erase(0, std::exchange(begin_, 0));
        char block[65536];
        const ssize_t count = ::read(descriptor_, block, sizeof block);
        if (count > 0) read_.append(block, static_cast<std::size_t>(count));
        else if (count == 0 || errno != EINTR) ended_ = true;
    }
}

std::unique_ptr<LineSource> openLines(const std::string& path) {
    if (path == "-") return std::make_unique<LineSource>(STDIN_FILENO);
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    int problem = descriptor < 0 ? errno : 0;
    struct stat status {};
    if (problem == 0 && ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        ::close(descriptor);
        problem = EISDIR;
    }
    if (problem == 0) return std::make_unique<LineSource>(descriptor);
    writeError("vlisp: cannot read '" + path + "': " + std::strerror(problem));
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
