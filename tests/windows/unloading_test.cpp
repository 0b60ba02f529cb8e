// The module goes away, and comes again.
#include "tests/windows/module_fixture.h"

namespace vlisp::test {
namespace {

class Unloading : public StartedHere {};

TEST_F(Unloading, LoadedAgainItStartsAfresh) {
    EXPECT_EQ(evaluate("(setq a 5)"), "5");
    for (int round = 0; round < 3; ++round) {
        module.reset();
        EXPECT_FALSE(LoadedModule::isLoaded());
        module.emplace();
        host.registered.clear();
        ASSERT_TRUE(start());
        EXPECT_EQ(host.registered.size(), 5u);
        EXPECT_EQ(evaluate("a"), ";error; undefined symbol 'A'\n");
        EXPECT_EQ(evaluate("(setq a 6)"), "6");
    }
}

TEST_F(Unloading, HappensWhileAProgramWaitsForAnAnswer) {
    host.holdsAnswers = true;
    host.startEvaluation(*module, "(while (not (getpoint)) (princ \"again\"))");
    host.waitUntil("a question", [this] { return !host.requests.empty(); });
    module.reset();
    host.dropMessages();
    EXPECT_FALSE(LoadedModule::isLoaded());
}

TEST_F(Unloading, HappensWhileAProgramRuns) {
    host.startEvaluation(*module, "(begin (princ \"on\") (while T T))");
    host.waitUntil("a message", [this] { return !host.shown.empty(); });
    module.reset();
    host.dropMessages();
    EXPECT_FALSE(LoadedModule::isLoaded());
}

}  // namespace
}  // namespace vlisp::test
