// See recording_host.h.
#include "tests/support/recording_host.h"

#include "host/bridge.h"
#include "platform/text.h"

#include <stdexcept>

namespace vlisp::test {
namespace {
RecordingHost* theHost = nullptr;
}

RecordingHost::RecordingHost() {
    theHost = this;
    handshake().mainWindow = this;
}

RecordingHost::~RecordingHost() {
    handshake().mainWindow = nullptr;
    theHost = nullptr;
}

RecordingHost& RecordingHost::current() {
    if (theHost == nullptr) throw std::logic_error("no recording host lives");
    return *theHost;
}

void RecordingHost::post(unsigned message, const void* record) {
    if (message != hostRequestMessage) throw std::logic_error("an unknown message was posted");
    const HostRequest request = *static_cast<const HostRequest*>(record);
    log.push_back("Post " + std::to_string(request.kind));
    posted.push_back(request);
    if (request.kind == static_cast<int>(RequestKind::Message))
        shown.emplace_back(request.messageText);
    taken = true;
    asks = 0;
    if (request.kind == static_cast<int>(RequestKind::CommandInput) ||
        request.kind == static_cast<int>(RequestKind::UserInput)) {
        HostRequest answer;
        if (!answers.empty()) {
            answer = answers.front();
            answers.pop_front();
        }
        OnHostReply(answer);
    }
}

}  // namespace vlisp::test

using vlisp::platform::toUtf8;
using vlisp::test::RecordingHost;

void AddCommand(const char16_t* name, const char16_t* lispText, const char16_t* description,
                const char16_t* moduleName, void* /*instance*/, unsigned number) {
    RecordingHost::current().log.push_back("AddCommand " + toUtf8(name) + "|" + toUtf8(lispText) +
                                           "|" + toUtf8(description) + "|" + toUtf8(moduleName) +
                                           "|" + std::to_string(number));
}

void DisplayMsg(const char16_t* text) {
    RecordingHost::current().shown.emplace_back(text);
    RecordingHost::current().log.push_back("DisplayMsg " + toUtf8(text));
}

void GetMainFrameWindow(vlisp::platform::WindowHandle& window) {
    window = &RecordingHost::current();
}

void ClearThreadMsgPosted() {
    RecordingHost::current().taken = false;
    RecordingHost::current().log.emplace_back("Clear");
}

void IsThreadMsgPosted(bool& taken) {
    RecordingHost& host = RecordingHost::current();
    taken = host.taken && host.asks >= host.asksBeforeTaken;
    ++host.asks;
}
