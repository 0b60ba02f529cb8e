// What the core needs of the world outside: the little interface that somebody above fills in.
// One idea: the core never calls a host; it tells its port.
// Tests: tests/core/evaluator_test.cpp and tests/core/session_test.cpp fill it in.
#pragma once

#include <string_view>

namespace vlisp {

class HostPort {
  public:
    HostPort() = default;
    HostPort(const HostPort&) = delete;
    HostPort& operator=(const HostPort&) = delete;
    virtual ~HostPort() = default;

    /// Registers the host command `name` whose expression is `lispText`. Called on the thread that
    /// evaluates, at every evaluation of a DEFUN of a "C:" name.
    virtual void addCommand(std::u16string_view name, std::u16string_view lispText) = 0;

    /// Shows a line on the host's command line and returns when the host has taken it.
    virtual void sendMessage(std::u16string_view text) = 0;

    /// Tells the host that a file's evaluation has ended and with which error text, empty if none.
    virtual void sendEvalDone(std::u16string_view text) = 0;
};

}  // namespace vlisp
