// The functions of the bridge that work on the host itself. See host/bridge.h.
// Tests: tests/cli/.
#include "host/bridge.h"

#include "refhost/console/reference_host.h"

#include <algorithm>
#include <thread>

using vlisp::refhost::ReferenceHost;

namespace {

// The host's version: the major and minor number of what it implements.
constexpr std::u16string_view version = u"2.0";

void write(char16_t* out, std::u16string_view text) {
    constexpr std::size_t longest = 32767;
    *std::ranges::copy(text.substr(0, longest), out).out = 0;
}

}  // namespace

void GetVersion(char16_t* out) { write(out, version); }

void AddCommand(const char16_t* name, const char16_t* lispText, const char16_t* description,
                const char16_t* /*moduleName*/, ModuleHandle /*instance*/, unsigned number) {
    ReferenceHost::current().addCommand({name, lispText, description, number});
}

void CreateExtensionToolbar(const char16_t* bitmapPath, const char16_t* toolbarName,
                            ToolbarButton* buttons, int count) {
    ReferenceHost::current().addToolbar({toolbarName, bitmapPath, {buttons, buttons + count}});
}

void DisplayMsg(const char16_t* text) { ReferenceHost::current().show(text); }

void DisplayPromptMsg(const char16_t* text) { ReferenceHost::current().showPrompt(text); }

// Nothing lies above a terminal.
void AllowTopMost(bool) {}

void GetMainFrameWindow(vlisp::platform::WindowHandle& window) {
    window = &ReferenceHost::current();
    ReferenceHost::current().announceEvaluation();
}

void ClearThreadMsgPosted() { ReferenceHost::current().clearTaken(); }

void IsThreadMsgPosted(bool& taken) {
    taken = ReferenceHost::current().isTaken();
    // The caller asks again and again; let the thread that it waits for have the processor.
    if (!taken) std::this_thread::yield();
}

void GetInputString(char16_t* out) { write(out, ReferenceHost::current().inputString); }

void GetInputType(int& out) { out = ReferenceHost::current().inputIsPoint ? 1 : 0; }

void GetInputPoint(double& x, double& y, double& z) {
    const mmPoint& point = ReferenceHost::current().inputPoint;
    x = point.x;
    y = point.y;
    z = point.z;
}

void SetUserInputMode(int mode, bool useBasePoint, double x, double y, double z) {
    constexpr int pointMode = 1;
    ReferenceHost& host = ReferenceHost::current();
    host.expectPoint(mode == pointMode);
    if (useBasePoint) vlisp::refhost::setLastPoint(host.drawing, mmPoint(x, y, z));
}
