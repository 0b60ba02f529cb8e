// Answers of scripts: lines of standard input or of a file, and answers prepared as JSON.
// Tests: tests/cli/answers.session, tests/cli/json-answers.session.
#pragma once

#include "refhost/console/answers.h"

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace vlisp::app {

/// Lines of a file or of standard input.
class LineSource {
  public:
    /// `descriptor` is closed with the source, unless it is standard input's.
    explicit LineSource(int descriptor) noexcept : descriptor_(descriptor) {}
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;
    ~LineSource();

    [[nodiscard]] bool isTerminal() const noexcept;

    enum class Outcome { line, interrupted, end };
    /// The next line, without its end. Interrupted from the first signal on.
    Outcome next(std::string& line);

  private:
    bool takeLine(std::string& line);

    int descriptor_;
    std::string read_;
    std::size_t begin_ = 0;  // of what has not been given yet
    bool ended_ = false;
};

/// The lines of a file, or of standard input for "-"; null, with a message on standard error, when
/// it cannot be read.
std::unique_ptr<LineSource> openLines(const std::string& path);

/// One answer a line. What is asked is shown with its answer, as it would be seen if it was typed.
class ScriptAnswers final : public refhost::Answers {
  public:
    using Sink = std::function<void(std::u16string_view)>;

    /// `asked` takes each prompt with its answer; when the lines come from a terminal, which shows
    /// them itself, the prompt is written there instead.
    ScriptAnswers(LineSource& lines, Sink asked) : lines_(lines), asked_(std::move(asked)) {}

    Outcome read(std::u16string_view prompt, bool continued, std::u16string& line) override;

  private:
    LineSource& lines_;
    Sink asked_;
};

/// Answers and whole replies that were queued; when there are none left, lines of a source, if there
/// is one. Prompts are shown as they were sent.
class QueuedAnswers final : public refhost::Answers {
  public:
    using Sink = std::function<void(std::u16string_view)>;

    QueuedAnswers(LineSource* lines, Sink shown) : lines_(lines), shown_(std::move(shown)) {}

    void push(std::u16string line) { queue_.emplace_back(std::move(line)); }
    void push(const HostRequest& reply) { queue_.emplace_back(reply); }

    Outcome read(std::u16string_view prompt, bool continued, std::u16string& line) override;
    bool takeReply(const HostRequest& request, HostRequest& reply) override;

  private:
    std::deque<std::variant<std::u16string, HostRequest>> queue_;
    LineSource* lines_;
    Sink shown_;
};

}  // namespace vlisp::app
