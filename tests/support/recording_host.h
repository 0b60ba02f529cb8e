// A host for tests: implements the bridge in memory, takes every message at once on the thread
// that posts it, remembers everything, and answers requests from a script.
#pragma once

#include "host/handshake.h"
#include "platform/system.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace vlisp::test {

class RecordingHost final : public platform::MessageWindow {
  public:
    RecordingHost();
    ~RecordingHost() override;

    void post(unsigned message, const void* record) override;

    /// The texts that reached the command line: kind-3 messages and DisplayMsg, in order.
    std::vector<std::u16string> shown;
    /// Every record that was posted, as it was when it was taken.
    std::vector<HostRequest> posted;
    /// "AddCommand NAME|LISP|DESCRIPTION|MODULE|NUMBER", "DisplayMsg TEXT", "Clear", "Post KIND".
    std::vector<std::string> log;
    /// Answers to requests of kinds 0 and 1, in order.
    std::deque<HostRequest> answers;
    /// How often "not yet" is said before a message counts as taken.
    int asksBeforeTaken = 0;

    static RecordingHost& current();

    bool taken = false;
    int asks = 0;
};

}  // namespace vlisp::test
