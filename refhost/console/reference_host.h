// The reference host: the extension, a drawing and a command line, without a screen.
// One idea: the thread that made it is the user-interface thread; it hands LISP to other threads and
// serves their messages until they have done.
// Tests: tests/cli/, through the program; tests/refhost/reference_host_test.cpp.
#pragma once

#include "host/handshake.h"
#include "platform/system.h"
#include "refhost/commands/command_line.h"
#include "refhost/console/answers.h"
#include "refhost/model/drawing.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace vlisp::refhost {

/// A command that the module has registered.
struct RegisteredCommand {
    std::u16string name;
    std::u16string lispText;  ///< what it evaluates; empty for an export of the module
    std::u16string description;
    unsigned number = 0;
};

struct Toolbar {
    std::u16string name;
    std::u16string bitmap;
    std::vector<ToolbarButton> buttons;
};

/// Implements the bridge for the program that links it, and is its main window. One exists at a
/// time. Everything but show() and the functions of the handshake is called on the user-interface
/// thread.
class ReferenceHost final : public platform::MessageWindow {
  public:
    /// Takes a text that reached the command line. Called by one thread at a time, in the order of
    /// the texts; the evaluation does not go on before it returns.
    using Sink = std::function<void(std::u16string_view)>;

    ReferenceHost(Sink shown, Answers& answers);
    ~ReferenceHost() override;

    static ReferenceHost& current() noexcept;

    Drawing drawing;
    dxf::DrawingFile file{drawing};

    /// Starts the extension that is linked into this program; false when it refuses the host.
    bool startExtension();

    /// Runs `work` on a stack with room for deep evaluations. `work` must not throw.
    void evaluate(const std::function<void()>& work);

    // --- The command line of a person ---

    /// What the next line is asked for with; empty when it starts something new.
    [[nodiscard]] std::u16string prompt() const;
    /// What a command waits for takes any text, also one that looks like LISP.
    [[nodiscard]] bool wantsPlainText() const;
    /// Takes a line that is not LISP: the answer that the running command waits for, or a command,
    /// whose answers may follow on the same line. An empty line repeats the last command.
    void enter(const std::u16string& line);
    /// Answers the question that waits.
    void answer(const Line& line);
    /// Pieces that COMMAND has sent so far.
    [[nodiscard]] std::uint64_t commandPieces() const noexcept { return commandPieces_; }
    /// Ends the command that waits; false when none does.
    bool cancelCommand();
    [[nodiscard]] bool quits() const noexcept { return commandLine_.quits(); }

    /// The error text of an evaluation that a line has started as a command of the module, empty for
    /// none; given once.
    std::u16string takeEvaluationError() { return std::exchange(evaluationError_, {}); }
    /// Lines so far that were no command and answered no question.
    [[nodiscard]] int mistakes() const noexcept { return refused_ + commandLine_.mistakes(); }

    [[nodiscard]] const std::map<std::u16string, RegisteredCommand>& commands() const noexcept {
        return commands_;
    }
    [[nodiscard]] const std::vector<Toolbar>& toolbars() const noexcept { return toolbars_; }

    // --- For scripts ---

    /// The first prompt that no answer was left for; nothing when there was none.
    [[nodiscard]] const std::optional<std::u16string>& unansweredPrompt() const noexcept {
        return unanswered_;
    }
    /// Told of every record that is taken, in order.
    std::function<void(const HostRequest&)> onRequest;

    // --- What the functions of the bridge do ---

    void post(unsigned message, const void* record) override;
    void warn(const char16_t* text) override;
    [[nodiscard]] bool usesTerminal() const override { return answers_->isTerminal(); }
    bool chooseFile(const platform::FileDialog& dialog, char16_t* path,
                    std::size_t capacity) override;
    void show(std::u16string_view text);
    void addCommand(RegisteredCommand command);
    void addToolbar(Toolbar toolbar) { toolbars_.push_back(std::move(toolbar)); }
    void clearTaken() noexcept { taken_.store(false, std::memory_order_relaxed); }
    [[nodiscard]] bool isTaken() const noexcept { return taken_.load(std::memory_order_acquire); }
    void showPrompt(std::u16string_view text) { modulePrompt_ = text; }
    void announceEvaluation() noexcept { ++announced_; }
    void expectPoint(bool expected) noexcept { pointExpected_ = expected; }

    // The last input, for the module's commands.
    std::u16string inputString;
    bool inputIsPoint = false;
    mmPoint inputPoint;

  private:
    struct Posted {
        unsigned message;
        const void* record;
    };
    /// A command of the module that is called once a line.
    struct ModuleCommand {
        int (*run)(int*);
        int step;
        bool evaluates;
        std::u16string_view name;
    };
    enum class Asked { line, cancelled, end };

    void provideVariables();
    Posted nextMessage();
    void serve(const HostRequest& request);
    void serveUntil(const std::function<bool()>& done);

    HostRequest replyTo(const HostRequest& request);
    HostRequest selectionReply(const HostRequest& request);
    HostRequest objectReply(const std::u16string& line);
    static HostRequest cancelledReply(const HostRequest& request);
    Asked ask(const HostRequest& request, const std::u16string& prompt, bool continued,
              std::u16string& line);
    void takeCommandInput(const HostRequest& request);

    void enterUnguarded(const std::u16string& line);
    void feedWords(std::u16string_view rest);
    void feed(const Line& line);
    void answerPause();
    template <class Work> void guarded(Work work);
    [[nodiscard]] const RegisteredCommand* findRegistered(const std::u16string& name) const;
    bool startCommand(std::u16string_view name, bool fromLisp);
    void refuse(std::u16string_view why);
    void startRegistered(const RegisteredCommand& command, bool fromLisp);
    void stepModuleCommand(const std::u16string& line);
    void callModuleCommand(ModuleCommand command);
    void waitForEvaluations();
    void takeResult(std::u16string_view text);

    Sink shown_;
    Answers* answers_;
    std::mutex showing_;  // lines come from two threads
    std::map<std::u16string, RegisteredCommand> commands_;
    std::vector<Toolbar> toolbars_;
    CommandLine commandLine_;
    std::optional<ModuleCommand> moduleCommand_;
    std::u16string modulePrompt_;
    bool pointExpected_ = false;
    std::u16string lastCommand_;
    std::u16string evaluationError_;
    /// Given back when memory has ended, so that it can be told.
    static constexpr std::size_t reserveBytes = std::size_t{8} << 20;
    std::unique_ptr<char[]> reserve_ = std::make_unique_for_overwrite<char[]>(reserveBytes);
    std::uint64_t commandPieces_ = 0;
    std::deque<std::u16string> typedAhead_;  // answers that stood behind a command of LISP
    int refused_ = 0;

    std::optional<std::u16string> unanswered_;
    int unansweredNow_ = 0;     // in the evaluation that runs
    std::int32_t context_ = 0;  // handed out with every reply

    std::mutex queueGuard_;
    std::condition_variable queueFilled_;
    std::deque<Posted> queue_;
    std::atomic<std::size_t> queued_{0};
    std::atomic<bool> taken_{false};

    // Evaluations of the module's own threads: announced before they start, ended by their message.
    int announced_ = 0;
    int ended_ = 0;
    int ownEvaluations_ = 0;  // of evaluate(), which end otherwise

    const std::thread::id userInterface_ = std::this_thread::get_id();
};

}  // namespace vlisp::refhost
