// Sending, waiting and taking answers. See handshake.h.
#include "host/handshake.h"

#include "core/error_buffer.h"
#include "core/interruption.h"
#include "host/host_calls.h"
#include "platform/system.h"

#include <algorithm>

namespace vlisp {

Handshake& handshake() noexcept {
    static Handshake state;
    return state;
}

void PostToHost(const HostRequest& request) {
    Handshake& state = handshake();
    if (state.directMode.load(std::memory_order_acquire)) {
        if (request.kind == static_cast<std::int32_t>(RequestKind::Message))
            hostDisplayMsg(request.messageText);
        return;
    }
    // A record must live until it is taken; from now on none would.
    if (state.closing.load(std::memory_order_acquire)) return;
    hostClearThreadMsgPosted();
    platform::postToMainWindow(state.mainWindow, hostRequestMessage, &request);
    bool taken = false;
    // Whoever closes the module has read the record, if he did, before he closes it.
    while (!taken && !state.closing.load(std::memory_order_acquire))
        taken = hostIsThreadMsgPosted();
}

void AwaitReply() {
    const Handshake& state = handshake();
    while (state.waitingForReply.load(std::memory_order_acquire)) {
        if (state.closing.load(std::memory_order_acquire)) return;
        if (interruption::pending() && state.directMode.load(std::memory_order_relaxed)) return;
    }
}

bool RequestAndWait(const HostRequest& request) {
    handshake().waitingForReply.store(true, std::memory_order_release);
    PostToHost(request);
    AwaitReply();
    return !handshake().waitingForReply.load(std::memory_order_acquire);
}

const HostReply* askUser(InputMode mode, std::u16string_view prompt) {
    constexpr std::size_t longestPrompt = 299;
    HostRequest& request = handshake().userInput;
    setField(request.messageText, prompt.substr(0, lengthThatFits(prompt, longestPrompt)));
    request.mode = static_cast<std::int32_t>(mode);
    request.kind = static_cast<std::int32_t>(RequestKind::UserInput);
    return RequestAndWait(request) ? &handshake().reply : nullptr;
}

int OnHostReply(const HostRequest& record) {
    Handshake& state = handshake();
    HostReply& reply = state.reply;
    // The field is fixed in size; a text that fills it without a terminating zero ends with it.
    const char16_t* end =
        std::find(std::begin(record.inputText), std::end(record.inputText), u'\0');
    reply.inputText.assign({std::begin(record.inputText), end});
    reply.x = record.x;
    reply.y = record.y;
    reply.mode = record.mode;
    reply.context = record.context;
    reply.count = record.count;
    if (reply.is(InputMode::object) && record.count > 0) reply.entityId = record.entityId;
    state.waitingForReply.store(false, std::memory_order_release);
    return 1;
}

void ReplyText::assign(std::u16string_view text) { setField(units_, text); }

void copyField(char16_t* field, std::size_t capacity, std::u16string_view text) {
    // A zero unit ends a text for whoever reads the field.
    text = text.substr(0, text.find(u'\0'));
    const std::size_t length = lengthThatFits(text, capacity - 1);
    std::copy_n(text.data(), length, field);
    field[length] = 0;
}

}  // namespace vlisp
