// What the tests of the loaded module share: a host, the module in it, and what must hold at the end.
// One idea: whatever a test does, at its end everything that was opened is closed, and nothing was
// called on the wrong thread.
#pragma once

#include "tests/windows/test_host.h"

#include <gtest/gtest.h>
#include <optional>

namespace vlisp::test {

using Lines = std::vector<std::string>;

/// Loaded, but not started.
class LoadedHere : public testing::Test {
  protected:
    void TearDown() override {
        module.reset();
        EXPECT_FALSE(LoadedModule::isLoaded());
        EXPECT_TRUE(host.openNow.empty()) << "what was opened is closed";
        EXPECT_EQ(host.onWrongThread, Lines());
    }

    bool start() {
        std::uint16_t first = 0;
        std::uint16_t second = 0;
        host.module = &*module;
        return module->entryPoint(&first, &second) == 1 && first == 40 && second == 33;
    }
    std::string evaluate(std::string_view lisp) { return host.evaluate(*module, lisp); }
    std::string valueOf(std::string_view lisp, int mode) {
        char16_t result[300] = {};
        EXPECT_EQ(module->getVarEntry(wide(lisp).c_str(), result, mode), 1);
        return narrow(result);
    }

    TestHost host;
    std::optional<LoadedModule> module{std::in_place};
};

/// Started, with what that told the host forgotten.
class StartedHere : public LoadedHere {
  protected:
    void SetUp() override {
        ASSERT_TRUE(start());
        host.log.clear();
        host.windowsFetched = 0;
    }
};

}  // namespace vlisp::test
