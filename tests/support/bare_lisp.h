// A bare interpreter for tests: core and built-ins, no host.
#pragma once

#include "core/session.h"

#include <string>
#include <vector>

namespace vlisp::test {

/// A host port that remembers what it was told.
class RecordingPort final : public HostPort {
  public:
    void addCommand(std::u16string_view name, std::u16string_view lispText) override;
    void sendMessage(std::u16string_view text) override;
    void sendEvalDone(std::u16string_view text) override;

    /// Everything, in order: "command NAME EXPRESSION", "message TEXT", "done TEXT".
    std::vector<std::string> log;
};

/// An interpreter with the host-independent built-ins and no prelude.
class BareLisp {
  public:
    BareLisp();

    /// The printed value of the first expression of `text`, or the error text.
    std::string eval(std::string_view text);
    /// The value itself; an error is written to `error`.
    Cell value(std::string_view text);

    RecordingPort port;
    ErrorBuffer error;
    InterpreterSession session;
};

}  // namespace vlisp::test
