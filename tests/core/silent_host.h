// A host that shows nothing: for tests that look at values only.
#pragma once

#include "core/host_port.h"

#include <string_view>

namespace vlisp {

class SilentHost final : public HostPort {
  public:
    void addCommand(std::u16string_view, std::u16string_view) override {}
    void sendMessage(std::u16string_view) override {}
    void sendEvalDone(std::u16string_view) override {}
};

}  // namespace vlisp
