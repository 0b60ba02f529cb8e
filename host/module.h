// The module: the session put together with the handshake and the built-ins of every room.
// One idea: whoever is linked with the extension makes one Module and has an interpreter that
// speaks to the host.
// Tests: tests/host/module_test.cpp.
#pragma once

#include "core/session.h"

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

/// One interpreter, started. Lives as long as the module is loaded. Make it on the user-interface
/// thread.
class Module {
  public:
    Module();

    InterpreterSession& session() noexcept { return session_; }

    /// Fetches the host's main window; called on the user-interface thread before a thread that
    /// evaluates starts.
    static void fetchMainWindow();

  private:
    HandshakePort port_;
    InterpreterSession session_;
};

}  // namespace vlisp
