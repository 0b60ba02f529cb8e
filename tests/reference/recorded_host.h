// The world around a compared program: a host port and built-ins that write down their calls.
// One idea: whatever a program does outside itself is one list of texts, in order.
// Tests: tests/reference/comparison_test.cpp.
//
// Two functions keep generated programs finite, whatever they do to themselves. Neither is called
// while an error stands, as nothing is.
//   (MORE value ...)  T a bounded number of times an expression, and nil from then on; nil also
//                     when one of the values is large
//   (CAP value)       the value, or an empty list in place of one that is large
#pragma once

#include "core/cell.h"
#include "core/environment.h"
#include "core/host_port.h"

#include <string>
#include <vector>

namespace vlisp::reference {

/// Every field of a cell and of all cells in it, as far as a reader's patience goes.
[[nodiscard]] std::string detailsOf(const Cell& cell);

/// One lives at a time: built-ins have no other way to their host.
class RecordedHost final : public HostPort {
  public:
    RecordedHost();
    ~RecordedHost() override;

    void addCommand(std::u16string_view name, std::u16string_view lispText) override;
    void sendMessage(std::u16string_view text) override;
    void sendEvalDone(std::u16string_view text) override;

    /// Binds everything that is predefined, with recording functions for those of the host.
    static void registerBuiltins(Environment& global);

    /// What has happened since the last call. Gives MORE its patience back.
    std::vector<std::string> takeEvents();

    void record(std::string event) { events_.push_back(std::move(event)); }
    [[nodiscard]] bool takeTurn() noexcept { return turns_ > 0 && turns_-- > 0; }

  private:
    static constexpr int turnsPerExpression = 40;

    std::vector<std::string> events_;
    int turns_ = turnsPerExpression;
};

}  // namespace vlisp::reference
