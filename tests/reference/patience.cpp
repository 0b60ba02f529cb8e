// Patience by an interval timer. See patience.h.
#include "tests/reference/patience.h"

#include "core/interruption.h"

#include <csignal>
#include <sys/time.h>

namespace vlisp::reference {
namespace {

void set(long seconds) {
    const itimerval interval = {{seconds, 0}, {seconds, 0}};
    setitimer(ITIMER_VIRTUAL, &interval, nullptr);
}

}  // namespace

Patience::Patience() {
    struct sigaction action = {};
    action.sa_handler = [](int) { interruption::request(interruption::Reason::cancelled); };
    action.sa_flags = SA_RESTART;
    sigaction(SIGVTALRM, &action, nullptr);
    set(1);
}

Patience::~Patience() {
    set(0);
    interruption::take();
}

}  // namespace vlisp::reference
