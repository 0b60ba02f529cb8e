// Signals on Linux and its relatives. See signals.h.
#include "apps/vlisp/signals.h"

#include "apps/vlisp/console.h"
#include "core/interruption.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace vlisp::app {
namespace {

// Two signals may come to two threads at once.
std::atomic<int> received{0};
static_assert(std::atomic<int>::is_always_lock_free);

// What waits for input waits for this pipe too: a signal that comes just before is not missed.
int wakeUp[2] = {-1, -1};

void onSignal(int number) {
    if (received.exchange(number) != 0) {
        std::signal(number, SIG_DFL);
        std::raise(number);
        return;
    }
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(wakeUp[1], &byte, 1);
    interruption::request(interruption::Reason::cancelled);
}

volatile std::sig_atomic_t busy = 0;
volatile std::sig_atomic_t ended = 0;  // the signal that ends the command line

// Ctrl-C ends what is evaluated, or the line or the command that waits, and nothing more.
void onInterrupt(int /*signal*/) {
    if (busy != 0) interruption::request(interruption::Reason::cancelled);
}

// The terminal is put back in order before the program goes.
void onEnd(int signal) {
    ended = signal;
    interruption::request(interruption::Reason::cancelled);
}

}  // namespace

void cancelOnSignals() {
    if (::pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0) wakeUp[0] = wakeUp[1] = -1;
    struct sigaction action {};
    action.sa_handler = onSignal;  // without SA_RESTART: reading an answer is interrupted
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool signalled() noexcept { return received != 0; }

// Both are waited for, so that a signal just before the reading is not missed.
bool waitForInput(int descriptor) noexcept {
    for (;;) {
        pollfd ready[] = {{descriptor, POLLIN, 0}, {wakeUp[0], POLLIN, 0}};
        if (::poll(ready, 2, -1) < 0 && errno != EINTR) return false;
        if (ready[1].revents != 0) return false;
        if (ready[0].revents != 0) return true;
    }
}

int exitCodeOfSignals(int code) { return signalled() ? exitSignal + received : code; }

void watchSignalsOfPrompt() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigaction(SIGINT, &action, nullptr);  // without SA_RESTART: reading a line is interrupted
    action.sa_handler = onEnd;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
}

void setBusy(bool isBusy) noexcept { busy = isBusy ? 1 : 0; }

int endingSignal() noexcept { return ended; }

}  // namespace vlisp::app
