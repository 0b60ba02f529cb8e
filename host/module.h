// The module: the session put together with the handshake and the built-ins of every room, and the
// host's requests to it.
// One idea: start-up makes the one Module; the exports (exports.cpp) are its operations under the
// names by which a host finds them.
// Tests: tests/host/module_test.cpp, tests/host/entry_points_test.cpp.
#pragma once

#include "core/session.h"
#include "host/handshake.h"
#include "platform/system.h"

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

namespace vlisp {

/// File name of the extension; passed to the host with every command.
inline constexpr char16_t moduleFileName[] = u"VelmoraLispExtension.vxm";

/// The session's way to the host: messages through the handshake, commands through AddCommand.
class HandshakePort final : public HostPort {
  public:
    void addCommand(std::u16string_view name, std::u16string_view lispText) override;
    void sendMessage(std::u16string_view text) override;
    void sendEvalDone(std::u16string_view text) override;
};

/// One interpreter, started. Made on the user-interface thread; lives as long as the module is
/// loaded.
class Module {
  public:
    Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    /// Ends what still evaluates and waits for its thread.
    ~Module();

    InterpreterSession& session() noexcept { return session_; }

    /// Fetches the host's main window and runs `evaluation` on a thread of its own; returns at
    /// once. Called on the user-interface thread.
    void startEvaluation(std::function<void()> evaluation);

    /// Fetches the host's main window; called on the user-interface thread before a thread that
    /// evaluates starts.
    static void fetchMainWindow();

  private:
    struct Evaluation {
        std::atomic<bool> ended{false};
        std::unique_ptr<platform::Worker> worker;
    };

    HandshakePort port_;
    InterpreterSession session_;
    std::list<Evaluation> evaluations_;
    std::mutex evaluating_;  // a second evaluation waits for the first
};

/// Units of LispPathBuffer, the terminating zero included.
inline constexpr std::size_t lispPathCapacity = 256;

// --- What the exports do (exports.h says more) ---

/// Checks the host's version, registers the module's commands and starts the one Module. Returns
/// whether the host was accepted; if so `first` and `second` tell it what the module is.
bool startModule(std::uint16_t& first, std::uint16_t& second);

/// The Module that startModule made, or null.
Module* currentModule() noexcept;

/// Gives the Module up as it is, with no thing waited for: when the process ends and its threads have
/// been taken away.
void abandonModule() noexcept;

/// The handle of the module's image, which the host is given with every command.
void* moduleInstance() noexcept;
/// Says so where the system tells it when the image is loaded; otherwise it is found.
void setModuleInstance(void* instance) noexcept;

/// Ends the Module; nothing of it runs any more when this returns.
void stopModule();

int runDynamicCommand(int& step);
int evaluateForHost(const char16_t* expression, char16_t* result, int mode);

}  // namespace vlisp
