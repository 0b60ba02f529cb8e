// Patience by a timer of the system, on a thread of its own. See patience.h.
#include "tests/reference/patience.h"

#include "core/interruption.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vlisp::reference {
namespace {

HANDLE timer = nullptr;

void CALLBACK onTime(void* /*context*/, BOOLEAN /*fired*/) {
    interruption::request(interruption::Reason::cancelled);
}

}  // namespace

Patience::Patience() {
    constexpr DWORD second = 1000;
    ::CreateTimerQueueTimer(&timer, nullptr, onTime, nullptr, second, second, WT_EXECUTEDEFAULT);
}

// Waits for a call that is under way.
Patience::~Patience() {
    ::DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE);
    interruption::take();
}

}  // namespace vlisp::reference
