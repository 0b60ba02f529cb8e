// The headless host: the smallest host that can serve the extension, without a screen or a user.
// One idea: the thread that made it is the user-interface thread; it hands work to an evaluation
// thread and serves that thread's messages until the work is done.
// Tests: tests/cli/, through the program.
#pragma once

#include "host/handshake.h"
#include "platform/system.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace vlisp {

/// Implements the host bridge for the program that links it. One exists at a time.
class HeadlessHost final : public platform::MessageWindow {
  public:
    /// Takes a text that reached the command line. Called by one thread at a time, in the order of
    /// the texts; the evaluation does not go on before it returns.
    using Sink = std::function<void(std::u16string_view)>;

    HeadlessHost(Sink shown, Sink evalDone);
    ~HeadlessHost() override;

    /// Runs `work` on the evaluation thread and serves its messages until it is done. Called on
    /// the user-interface thread; `work` must not throw.
    void evaluate(std::function<void()> work);

    /// Commands that LISP has registered: name and the text to evaluate.
    [[nodiscard]] const std::map<std::u16string, std::u16string>& commands() const noexcept {
        return commands_;
    }

    // What the functions of the bridge do.
    void addCommand(std::u16string name, std::u16string lispText);
    void show(std::u16string_view text);
    void clearTaken() noexcept { taken_.store(false, std::memory_order_relaxed); }
    [[nodiscard]] bool isTaken() const noexcept { return taken_.load(std::memory_order_acquire); }
    void post(unsigned message, const void* record) override;

    static HeadlessHost& current() noexcept;

  private:
    struct Posted {
        unsigned message;
        const void* record;
    };

    Posted nextMessage();
    void serve(const HostRequest& request);
    void evaluationThread();

    Sink shown_;
    Sink evalDone_;
    std::mutex showing_;  // lines come from two threads
    std::map<std::u16string, std::u16string> commands_;

    std::mutex queueGuard_;
    std::condition_variable queueFilled_;
    std::deque<Posted> queue_;
    std::atomic<std::size_t> queued_{0};
    std::atomic<bool> taken_{false};

    std::mutex workGuard_;
    std::condition_variable workGiven_;
    std::function<void()> work_;
    bool stopping_ = false;
    std::unique_ptr<platform::Worker> worker_;
};

}  // namespace vlisp
