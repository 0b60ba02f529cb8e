// Signals. See signals.h.
#include "apps/vlisp/signals.h"

#include "apps/vlisp/console.h"
#include "core/interruption.h"

#include <csignal>

namespace vlisp::app {
namespace {

volatile std::sig_atomic_t received = 0;

void onSignal(int number) {
    if (received != 0) {
        std::signal(number, SIG_DFL);
        std::raise(number);
        return;
    }
    received = number;
    interruption::request(interruption::Reason::cancelled);
}

}  // namespace

void cancelOnSignals() {
    struct sigaction action {};
    action.sa_handler = onSignal;  // without SA_RESTART: reading an answer is interrupted
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

int exitCodeOfSignals(int code) { return received != 0 ? exitSignal + received : code; }

}  // namespace vlisp::app
