// Putting the module together. See module.h.
#include "host/module.h"

#include "builtins/registry.h"
#include "host/bridge.h"
#include "host/handshake.h"
#include "host/output.h"
#include "platform/system.h"
#include "resources/prelude.h"

namespace vlisp {
namespace {

HostRequest requestOf(RequestKind kind, std::u16string_view text) {
    HostRequest request;
    request.kind = static_cast<std::int32_t>(kind);
    setField(request.messageText, text);
    return request;
}

}  // namespace

void HandshakePort::addCommand(std::u16string_view name, std::u16string_view lispText) {
    AddCommand(std::u16string(name).c_str(), std::u16string(lispText).c_str(), u"", moduleFileName,
               nullptr, 0);
}

void HandshakePort::sendMessage(std::u16string_view text) {
    PostToHost(requestOf(RequestKind::Message, text));
}

void HandshakePort::sendEvalDone(std::u16string_view text) {
    PostToHost(requestOf(RequestKind::EvalDone, text));
}

Module::Module()
    : session_({port_, [](Environment& global) { RegisterBuiltins(global, consoleBuiltins()); },
                preludeText()}) {
    handshake().reply.count = 0;
    session_.StartInterpreter(platform::tickCount());
}

void Module::fetchMainWindow() { GetMainFrameWindow(handshake().mainWindow); }

}  // namespace vlisp
