// Fuzzes the reading of menu files: the input is the file, and, named in itself, a LISP file too.
// One idea: whatever a menu holds, within a second it has been read; the module is out of direct
// mode, and every toolbar has the buttons that were registered, in their order.
#include "core/heap.h"
#include "core/interruption.h"
#include "host/menus.h"
#include "host/module.h"
#include "tests/support/recording_host.h"
#include "tests/support/temporary_folder.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/time.h>

namespace {

using namespace vlisp;

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "fuzz_menu: %s\n", what);
    std::abort();
}

// While it lives, cancels every evaluation once a second of processor time is over, and what still
// begins after that at once.
class Patience {
  public:
    Patience() { set({{0, 1000}, {1, 0}}); }
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;
    ~Patience() {
        set({});
        interruption::take();
    }

  private:
    // SIGALRM is the fuzzer's own.
    static void set(const itimerval& interval) { setitimer(ITIMER_VIRTUAL, &interval, nullptr); }
};

// Counts the buttons of a "Toolbar NAME|BITMAP|COMMAND:IMAGE ..." entry; pictures count from 0.
std::size_t buttonsOf(const std::string& toolbar) {
    std::size_t buttons = 0;
    std::size_t at = toolbar.rfind('|') + 1;
    while (at < toolbar.size()) {
        const std::size_t colon = toolbar.find(':', at);
        const std::size_t end = toolbar.find(' ', colon);
        require(toolbar.substr(colon + 1, end - colon - 1) == std::to_string(buttons),
                "a picture is not at its button's place");
        ++buttons;
        at = end + 1;
    }
    return buttons;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    struct sigaction action = {};
    action.sa_handler = [](int) { interruption::request(interruption::Reason::cancelled); };
    action.sa_flags = SA_RESTART;
    sigaction(SIGVTALRM, &action, nullptr);
    heap::setLimit(std::size_t{256} << 20);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::TemporaryFolder folder;
    folder.write("velm.mnu", std::string(data, data + size));
    test::RecordingHost host;
    require(test::startExtension(), "the host was refused");
    host.log.clear();
    {
        const Patience patience;
        require(loadMenusIn(folder.prefix()) == 1, "loading answers something else");
    }
    require(!handshake().directMode, "direct mode has stayed");
    require(host.posted.empty(), "something was posted");
    std::size_t registered = 0;
    for (const std::string& call : host.log) {
        require(!call.starts_with("warn "), "a readable file was warned of");
        if (call.starts_with("AddCommand ")) ++registered;
        if (!call.starts_with("Toolbar ")) continue;
        const std::size_t buttons = buttonsOf(call);
        require(registered >= buttons, "a button has no command");
        registered -= buttons;
    }
    stopModule();
    return 0;
}
