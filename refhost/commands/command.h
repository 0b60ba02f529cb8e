// Commands: what a command is made of.
// One idea: a command is a coroutine that asks for one input after the other; whoever holds the input
// (a person, a script, LISP) resumes it. What it asks stands in its row of the table.
// Tests: tests/refhost/commands_test.cpp, tests/cli/commands.session.
#pragma once

#include "refhost/dxf/drawing_file.h"
#include "refhost/model/drawing.h"

#include <coroutine>
#include <exception>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vlisp::refhost {

/// What an input must be. Every kind but `text` also takes the keywords in the prompt's brackets, and
/// every kind takes Enter.
enum class InputKind {
    point,     ///< x,y or @dx,dy or @distance<angle
    distance,  ///< a number, or a point: its distance from the base point
    angle,     ///< degrees, or a point: its direction from the base point
    number,
    integer,
    keyword,    ///< one of the words in the brackets
    word,       ///< a name, or one of the words in the brackets
    text,       ///< a line as it is
    selection,  ///< objects, until Enter
};

/// A question of a command. The keywords stand in brackets, divided by slashes; their capitals are
/// what must be typed at least. A "%" is replaced by the value that Enter stands for.
struct Step {
    InputKind kind;
    const char16_t* prompt;
};

struct Input {
    enum class Kind { enter, point, number, keyword, text, objects };
    Kind kind = Kind::enter;
    mmPoint point;
    double number = 0;    ///< of angles: radians
    std::u16string text;  ///< of keywords: in upper case, as in the prompt
    std::vector<HostLong> objects;

    [[nodiscard]] bool is(Kind wanted) const noexcept { return kind == wanted; }
    [[nodiscard]] bool isKeyword(std::u16string_view word) const noexcept {
        return kind == Kind::keyword && text == word;
    }
};

/// The coroutine of a running command; destroying it cancels the command.
class CommandRun {
  public:
    struct promise_type {
        CommandRun get_return_object() {
            return CommandRun(std::coroutine_handle<promise_type>::from_promise(*this));
        }
        std::suspend_always initial_suspend() noexcept { return {}; }
        std::suspend_always final_suspend() noexcept { return {}; }
        void return_void() noexcept {}
        void unhandled_exception() { failure = std::current_exception(); }
        std::exception_ptr failure;
    };

    explicit CommandRun(std::coroutine_handle<promise_type> handle) noexcept : handle_(handle) {}
    CommandRun(CommandRun&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    CommandRun(const CommandRun&) = delete;
    CommandRun& operator=(const CommandRun&) = delete;
    CommandRun& operator=(CommandRun&&) = delete;
    ~CommandRun() {
        if (handle_) handle_.destroy();
    }

    /// Goes on to the next question; false when the command has ended. What it throws is thrown.
    bool resume() {
        handle_.resume();
        if (!handle_.done()) return true;
        if (handle_.promise().failure) std::rethrow_exception(handle_.promise().failure);
        return false;
    }

  private:
    std::coroutine_handle<promise_type> handle_;
};

/// What a question depends on.
struct AskOptions {
    std::optional<Point2> base;  ///< what distances and angles are measured from
    std::u16string preset;       ///< what Enter stands for, as the prompt shows it
};

/// What a running command works with.
class CommandContext {
  public:
    CommandContext(dxf::DrawingFile& worked, std::function<void(std::u16string_view)> sink)
        : file(worked), drawing(worked.drawing()), show(std::move(sink)) {}

    dxf::DrawingFile& file;
    Drawing& drawing;
    /// Shows a line.
    std::function<void(std::u16string_view)> show;
    /// The command asks the program to end.
    bool quit = false;
    /// Commands that others have registered: name and description.
    std::function<std::vector<std::pair<std::u16string, std::u16string>>()> registered;

    // The question that waits, and the input that answered it.
    const Step* step = nullptr;
    AskOptions options;
    Input input;

    struct Question {
        CommandContext& context;
        static bool await_ready() noexcept { return false; }
        static void await_suspend(std::coroutine_handle<>) noexcept {}
        Input await_resume() { return std::move(context.input); }
    };

    /// `co_await context.ask(step)` is the input.
    Question ask(const Step& question) {
        step = &question;
        options = {};
        return {*this};
    }
    /// The same with a base point, and what Enter stands for.
    Question ask(const Step& question, Point2 base, std::u16string_view preset = {}) {
        step = &question;
        options.base = base;
        options.preset = preset;
        return {*this};
    }
    Question ask(const Step& question, std::u16string_view preset) {
        step = &question;
        options.base.reset();
        options.preset = preset;
        return {*this};
    }

    /// The objects of a selection that may be changed; tells how many are on locked layers.
    std::vector<HostLong> changeable(const std::vector<HostLong>& objects);
    /// Those whose shape can be changed; tells how many are of kinds that are only carried, or lie
    /// in a plane of their own.
    std::vector<HostLong> movable(const std::vector<HostLong>& objects);
};

struct CommandRow {
    const char* name;
    const char* alias;  ///< empty for none
    const char* help;
    std::span<const Step> steps;
    CommandRun (*run)(CommandContext&);
};

/// All commands, in alphabetical order.
std::span<const CommandRow> commandRows() noexcept;

/// The command of this name or alias, in any case; or null.
const CommandRow* findCommand(std::u16string_view name) noexcept;
/// The command of this name.
const CommandRow* findCommandByName(std::u16string_view name) noexcept;

/// The words in a prompt's brackets, as they stand there.
std::vector<std::u16string> keywordsOf(std::u16string_view prompt);

/// The reference pages of all commands as Markdown.
std::string commandsAsMarkdown();

/// A point seen from above.
[[nodiscard]] inline Point2 flat(const mmPoint& point) noexcept { return {point.x, point.y}; }

// Numbers as commands show them: up to eight decimals, no trailing zeros; a point with commas.
std::u16string numberText(double value);
std::u16string pointText(const mmPoint& point);

}  // namespace vlisp::refhost
