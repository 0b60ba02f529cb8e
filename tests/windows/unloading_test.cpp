// The module goes away, and comes again.
#include "tests/windows/module_fixture.h"

namespace vlisp::test {
namespace {

class Unloading : public StartedHere {
  protected:
    // Whether a message waits that nobody has taken.
    bool hasMessage() {
        MSG first;
        return PeekMessageW(&first, host.window, hostRequestMessage, hostRequestMessage,
                            PM_NOREMOVE) != FALSE;
    }
    void unload() {
        module.reset();
        EXPECT_FALSE(LoadedModule::isLoaded());
    }
};

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
    unload();
}

TEST_F(Unloading, HappensWhileAProgramRuns) {
    host.startEvaluation(*module, "(begin (princ \"on\") (while T T))");
    host.waitUntil("a message", [this] { return !host.shown.empty(); });
    unload();
}

// Its message leads to a record that has gone, and is not left to the host.
TEST_F(Unloading, TakesBackAMessageThatNobodyTook) {
    host.startEvaluation(*module, "(while T (princ \"on\"))");
    while (!hasMessage()) Sleep(1);
    unload();
    EXPECT_FALSE(hasMessage());
}

// Also before the thread of a program has begun.
TEST_F(Unloading, HappensAtAnyMoment) {
    for (int round = 0; round < 40; ++round) {
        host.startEvaluation(*module, "(while T (princ (wcmatch \"abc\" \"*[a-c]*b?\")))");
        if (round % 2 == 1) Sleep(static_cast<DWORD>(round % 8));
        unload();
        host.dropMessages();
        module.emplace();
        ASSERT_TRUE(start());
    }
}

// A host may also end with a program running. The system has taken the threads away by then, and nobody may
// wait for them.
TEST_F(Unloading, TheProcessEndsWhileAProgramRuns) {
    constexpr UINT code = 7;
    const std::wstring ends = L"--ends-while-a-program-runs";
    if (std::wstring(GetCommandLineW()).find(ends) != std::wstring::npos) {
        host.startEvaluation(*module, "(begin (princ \"on\") (while T T))");
        host.waitUntil("a message", [this] { return !host.shown.empty(); });
        ExitProcess(code);
    }
    wchar_t program[MAX_PATH] = {};
    ASSERT_LT(GetModuleFileNameW(nullptr, program, MAX_PATH), MAX_PATH);
    std::wstring line = L"\"" + std::wstring(program) +
                        L"\" --gtest_filter=Unloading.TheProcessEndsWhileAProgramRuns " + ends;
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessW(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &start, &process));
    EXPECT_EQ(WaitForSingleObject(process.hProcess, longestWait), WAIT_OBJECT_0);
    DWORD ended = 0;
    EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &ended));
    EXPECT_EQ(ended, code);
    TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

}  // namespace
}  // namespace vlisp::test
