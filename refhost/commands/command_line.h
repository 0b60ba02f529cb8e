// The command line: takes typed lines and feeds them to the command that waits for input.
// One idea: it holds at most one command and its question; a line that does not answer the question
// is told, and the question stays.
// Tests: tests/refhost/commands_test.cpp.
#pragma once

#include "refhost/commands/command.h"

#include <memory>
#include <unordered_set>

namespace vlisp::refhost {

/// A line of input.
struct Line {
    std::u16string text;
    /// The text is the number of a selection set.
    bool isSelectionSet = false;
};

/// Collects objects, line by line, until Enter: ids, points, ALL, LAST, PREVIOUS, WINDOW, CROSSING,
/// REMOVE, ADD; several words may stand on a line.
class Selection {
  public:
    Selection(Drawing& drawing, std::u16string prompt)
        : drawing_(&drawing), prompt_(std::move(prompt)) {}

    /// Takes a line; true when the selection is complete. What is wrong goes to `show`.
    bool feed(const Line& line, const std::function<void(std::u16string_view)>& show);
    [[nodiscard]] std::u16string prompt() const;
    [[nodiscard]] bool empty() const noexcept { return chosen_.empty(); }
    /// Whether a corner of a rectangle is still to come.
    [[nodiscard]] bool isHalfway() const noexcept { return corner_ != Corner::none; }
    /// The objects, and remembers them as selected last.
    std::vector<HostLong> take();

  private:
    enum class Corner { none, first, second };

    bool feedWord(std::u16string_view word, std::u16string& problem);
    bool feedCorner(std::u16string_view word);
    void pick(HostLong id);

    Drawing* drawing_;
    std::u16string prompt_;
    std::vector<HostLong> order_;  // of choosing; what was removed stands there still
    std::unordered_set<HostLong> chosen_;
    bool removing_ = false;
    bool crossing_ = false;
    Corner corner_ = Corner::none;
    mmPoint first_;
};

class CommandLine {
  public:
    CommandLine(dxf::DrawingFile& file, std::function<void(std::u16string_view)> show);
    ~CommandLine();

    /// Tells HELP of commands that are not in the table: name and description.
    void setRegistered(decltype(CommandContext::registered) registered) {
        context_.registered = std::move(registered);
    }

    /// Starts a command; one that waits is cancelled first. What a command throws, memory that is
    /// used up, ends it and is thrown on, here and in feed().
    void start(const CommandRow& command);
    [[nodiscard]] bool isActive() const noexcept { return run_ != nullptr; }
    [[nodiscard]] const CommandRow* command() const noexcept { return command_; }

    /// The question that waits, with its preset; empty when no command is active.
    [[nodiscard]] std::u16string prompt() const;
    /// What kind of input it wants.
    [[nodiscard]] InputKind wanted() const noexcept { return context_.step->kind; }

    /// Answers the question.
    void feed(const Line& line);
    /// Ends the command; what it has done stays.
    void cancel();

    /// Whether the answer so far is a beginning: the first of two points.
    [[nodiscard]] bool isHalfway() const noexcept {
        return firstOfTwo_.has_value() || (selection_ && selection_->isHalfway());
    }

    /// Lines so far that did not answer the question they were given to.
    [[nodiscard]] int mistakes() const noexcept { return mistakes_; }

    [[nodiscard]] bool quits() const noexcept { return context_.quit; }

  private:
    void resume();
    void end();
    bool understand(const Line& line, Input& input, std::u16string& problem);
    void showMistake(std::u16string_view text);

    CommandContext context_;
    const CommandRow* command_ = nullptr;
    std::unique_ptr<CommandRun> run_;
    int mistakes_ = 0;
    std::optional<Selection> selection_;
    std::optional<mmPoint> firstOfTwo_;  // of a distance or an angle that is shown by two points
};

/// The point that a text names: "x,y", "x,y,z", "@dx,dy", "@distance<angle", "distance<angle", angles
/// in degrees; "@" alone is `last`. Nothing when it names none or one that is not finite.
std::optional<mmPoint> pointNamedBy(std::u16string_view text, const mmPoint& last);

/// The whole text as a finite number.
std::optional<double> numberNamedBy(std::u16string_view text);

/// How far from a point an object may be that is picked there, in drawing units: the pick box of a
/// screen of 600 rows that shows the view's height.
double pickReach(const Drawing& drawing);

/// The point given last, which relative coordinates count from.
mmPoint lastPoint(const Drawing& drawing);
void setLastPoint(Drawing& drawing, const mmPoint& point);

}  // namespace vlisp::refhost
