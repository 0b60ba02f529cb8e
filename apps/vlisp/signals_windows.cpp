// What are signals elsewhere are events of the console on Windows, told on a thread of their own. See
// signals.h.
#include "apps/vlisp/signals.h"

#include "apps/vlisp/console.h"
#include "core/interruption.h"

#include <atomic>
#include <csignal>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vlisp::app {
namespace {

std::atomic<int> received{0};
std::atomic<bool> busy{false};
std::atomic<int> ended{0};  // the signal that ends the command line

// Raised when a signal has been told.
HANDLE told() noexcept {
    static const HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    return event;
}

int signalOf(DWORD event) noexcept { return event == CTRL_C_EVENT ? SIGINT : SIGTERM; }

BOOL WINAPI onEvent(DWORD event) {
    if (received.exchange(signalOf(event)) != 0) return FALSE;  // the system ends the program
    interruption::request(interruption::Reason::cancelled);
    ::SetEvent(told());
    return TRUE;
}

BOOL WINAPI onEventOfPrompt(DWORD event) {
    const bool ends = signalOf(event) != SIGINT;
    if (ends) ended = signalOf(event);
    if (ends || busy) interruption::request(interruption::Reason::cancelled);
    ::SetEvent(told());
    return TRUE;
}

}  // namespace

void cancelOnSignals() {
    told();
    ::SetConsoleCtrlHandler(onEvent, TRUE);
}

bool signalled() noexcept { return received != 0; }

// To read a console ends at a signal; to read a pipe goes on.
bool waitForInput(int /*descriptor*/) noexcept { return !signalled(); }

void waitForSignal() noexcept {
    constexpr DWORD longest = 1000;  // ms
    ::WaitForSingleObject(told(), longest);
}

int exitCodeOfSignals(int code) { return signalled() ? exitSignal + received : code; }

void watchSignalsOfPrompt() {
    told();
    ::SetConsoleCtrlHandler(onEventOfPrompt, TRUE);
}

void setBusy(bool isBusy) noexcept { busy = isBusy; }

int endingSignal() noexcept { return ended; }

}  // namespace vlisp::app
