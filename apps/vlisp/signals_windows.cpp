// What are signals elsewhere are events of the console on Windows, told on a thread of their own. See
// signals.h.
#include "apps/vlisp/signals.h"

#include "apps/vlisp/console.h"
#include "apps/vlisp/line_reader_windows.h"
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

int signalOf(DWORD event) noexcept { return event == CTRL_C_EVENT ? SIGINT : SIGTERM; }

// When these have been handled the system ends the program: not before it has ended by itself, then.
void waitForTheEnd(DWORD event) noexcept {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
}

BOOL WINAPI onEvent(DWORD event) {
    if (received.exchange(signalOf(event)) != 0) return FALSE;  // the system ends the program
    interruption::request(interruption::Reason::cancelled);
    endReading();
    waitForTheEnd(event);
    return TRUE;
}

BOOL WINAPI onEventOfPrompt(DWORD event) {
    const bool ends = signalOf(event) != SIGINT;
    if (ends) ended = signalOf(event);
    if (ends || busy) interruption::request(interruption::Reason::cancelled);
    endReading();
    waitForTheEnd(event);
    return TRUE;
}

}  // namespace

void cancelOnSignals() { ::SetConsoleCtrlHandler(onEvent, TRUE); }

bool signalled() noexcept { return received != 0; }

// To read a console ends at a signal; to read a pipe goes on.
bool waitForInput(int /*descriptor*/) noexcept { return !signalled(); }

int exitCodeOfSignals(int code) { return signalled() ? exitSignal + received : code; }

void watchSignalsOfPrompt() { ::SetConsoleCtrlHandler(onEventOfPrompt, TRUE); }

void setBusy(bool isBusy) noexcept {
    busy = isBusy;
    if (!isBusy) forgetSignal();  // it was for what has been evaluated
}

int endingSignal() noexcept { return ended; }

}  // namespace vlisp::app
