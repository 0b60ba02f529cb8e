// Signals. See signals.h.
#include "apps/vlisp/signals.h"

#include "apps/vlisp/console.h"
#include "core/interruption.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
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

}  // namespace

void cancelOnSignals() {
    if (::pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0) wakeUp[0] = wakeUp[1] = -1;
    struct sigaction action {};
    action.sa_handler = onSignal;  // without SA_RESTART: reading an answer is interrupted
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool signalled() noexcept { return received != 0; }

int signalDescriptor() noexcept { return wakeUp[0]; }

int exitCodeOfSignals(int code) { return signalled() ? exitSignal + received : code; }

}  // namespace vlisp::app
