// Answers: where the host gets what a prompt asks for.
// One idea: a terminal, a script and a test differ only in where the next line comes from.
// Tests: tests/cli/.
#pragma once

#include "host/handshake.h"

#include <string>
#include <string_view>

namespace vlisp::refhost {

class Answers {
  public:
    enum class Outcome {
        line,         ///< there is one
        interrupted,  ///< the user wants no more of this
        end           ///< there are no more lines
    };

    Answers() = default;
    Answers(const Answers&) = delete;
    Answers& operator=(const Answers&) = delete;
    virtual ~Answers() = default;

    /// Shows `prompt` and gives the line that answers it. `continued`: the prompt asks for the rest
    /// of an answer. Called on the user-interface thread.
    virtual Outcome read(std::u16string_view prompt, bool continued, std::u16string& line) = 0;

    /// True when a person types in a terminal.
    [[nodiscard]] virtual bool isTerminal() const { return false; }

    /// Gives a whole reply instead, if one is prepared for this request.
    virtual bool takeReply(const HostRequest& /*request*/, HostRequest& /*reply*/) { return false; }
};

}  // namespace vlisp::refhost
