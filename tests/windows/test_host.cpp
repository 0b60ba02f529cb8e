// See test_host.h.
#include "tests/windows/test_host.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <commctrl.h>

namespace vlisp::test {
namespace {

constexpr wchar_t windowClass[] = L"VelmoraMainFrame";

TestHost* theHost = nullptr;

std::string lastError() { return "error " + std::to_string(GetLastError()); }

template <class Function>
void bind(const LoadedModule& module, Function*& function, const char* name) {
    const FARPROC address = module.find(name);
    if (address == nullptr) hostFault((std::string("the module exports no ") + name).c_str());
    std::memcpy(&function, &address, sizeof function);
}

}  // namespace

std::u16string wide(std::string_view text) { return {text.begin(), text.end()}; }

std::string narrow(std::u16string_view text) {
    std::string out;
    for (const char16_t c : text) out += c < 128 ? static_cast<char>(c) : '?';
    return out;
}

std::string narrow(const wchar_t* text) { return narrow(reinterpret_cast<const char16_t*>(text)); }

const wchar_t* units(const std::u16string& text) {
    return reinterpret_cast<const wchar_t*>(text.c_str());
}

std::string number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::u16string programFolder() {
    wchar_t path[1024];
    const DWORD length = GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
    std::u16string folder(reinterpret_cast<const char16_t*>(path), length);
    folder.resize(folder.rfind(u'\\') + 1);
    return folder;
}

// --- The module ---

LoadedModule::LoadedModule() : handle_(LoadLibraryW(units(path()))) {
    if (handle_ == nullptr)
        hostFault(("the module " + narrow(path()) + " cannot be loaded: " + lastError()).c_str());
    bind(*this, entryPoint, "VelmoraExtEntryPoint");
    bind(*this, uiEntry, "VelmoraExtUIEntry");
    bind(*this, dynamicCommand, "VelmoraExtDynamicCmdEntry");
    bind(*this, getVarEntry, "VelmoraExtGetVarEntry");
    bind(*this, appLoad, "AppLoad");
    bind(*this, lispEdit, "LispEdit");
    bind(*this, lispPoly, "LispPoly");
    bind(*this, mnuLoad, "MnuLoad");
    bind(*this, testLine, "TestLine");
}

LoadedModule::~LoadedModule() {
    if (FreeLibrary(handle_) == 0) hostFault("the module cannot be unloaded");
}

std::u16string LoadedModule::path() { return programFolder() + u"VelmoraLispExtension.vxm"; }

bool LoadedModule::isLoaded() { return GetModuleHandleW(units(path())) != nullptr; }

FARPROC LoadedModule::find(const char* name) const { return GetProcAddress(handle_, name); }

// --- The host and its loop ---

TestHost::TestHost() {
    WNDCLASSW description{};
    description.lpfnWndProc = windowProcedure;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = windowClass;
    RegisterClassW(&description);  // refused from the second time on, which is as well
    window = CreateWindowExW(0, windowClass, L"Velmora", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                             700, 500, nullptr, nullptr, description.hInstance, nullptr);
    // A module that posts to no window would wait for ever.
    if (window == nullptr)
        hostFault(("there is no main window: " + lastError() +
                   "; is there a display, or the null graphics driver?")
                      .c_str());
    theHost = this;
}

TestHost::~TestHost() {
    theHost = nullptr;
    DestroyWindow(window);
    for (VmDbObject* object : slots)
        if (object != nullptr) destroyObject(object);
    for (VmDbBlock* block : blocks) destroyBlock(block);
}

TestHost& TestHost::current() {
    if (theHost == nullptr) hostFault("no host lives");
    return *theHost;
}

bool TestHost::lives() { return theHost != nullptr; }

LRESULT CALLBACK TestHost::windowProcedure(HWND window, UINT message, WPARAM wParam,
                                           LPARAM lParam) {
    if (message == hostRequestMessage && theHost != nullptr) {
        if (wParam != 0) hostFault("a posted message has a number besides its record");
        if (InSendMessage() != FALSE) hostFault("a message was sent, not posted");
        theHost->take(*reinterpret_cast<const HostRequest*>(lParam));
        return 0;
    }
    if (message == WM_COMMAND && theHost != nullptr) {
        theHost->pressed.push_back(LOWORD(wParam));
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

// The record may go as soon as it is said that it was taken; so it is copied first.
void TestHost::take(const HostRequest& record) {
    const HostRequest request = record;
    ++messagesTaken;
    if (request.kind == static_cast<int>(RequestKind::Message)) show(narrow(request.messageText));
    taken = true;
    if (request.kind == static_cast<int>(RequestKind::Message)) return;
    if (request.kind == static_cast<int>(RequestKind::EvalDone)) {
        ends_.push_back(narrow(request.messageText));
        return;
    }
    requests.push_back(request);
    if (holdsAnswers || module == nullptr) return;
    HostRequest answer;
    if (!answers.empty()) {
        answer = answers.front();
        answers.pop_front();
    }
    if (module->uiEntry(&answer) != 1) hostFault("an answer was not accepted");
}

void TestHost::waitUntil(const char* what, const std::function<bool()>& isDone) {
    const ULONGLONG end = GetTickCount64() + longestWait;
    while (true) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        if (isDone()) return;
        if (GetTickCount64() > end) hostFault((std::string("waited in vain for ") + what).c_str());
        constexpr DWORD lookAgain = 50;  // not everything that is waited for sends a message
        MsgWaitForMultipleObjects(0, nullptr, FALSE, lookAgain, QS_ALLINPUT);
    }
}

std::string TestHost::serve() {
    waitUntil("the end of an evaluation", [this] { return !ends_.empty(); });
    std::string end = ends_.front();
    ends_.pop_front();
    return end;
}

void TestHost::dropMessages() {
    MSG message;
    while (PeekMessageW(&message, window, hostRequestMessage, hostRequestMessage, PM_REMOVE) !=
           FALSE) {
    }
}

void TestHost::startEvaluation(LoadedModule& with, std::string_view lisp) {
    module = &with;
    inputString = wide(lisp);
    int step = 1;
    if (with.dynamicCommand(&step) != 1 || step != 2) hostFault("an evaluation was not started");
}

std::string TestHost::evaluate(LoadedModule& with, std::string_view lisp) {
    startEvaluation(with, lisp);
    return serve();
}

std::string TestHost::runCommand(LoadedModule& with, const std::string& name) {
    const auto found = commands.find(name);
    if (found == commands.end()) hostFault(("there is no command " + name).c_str());
    return evaluate(with, found->second.lispText);
}

// --- What is remembered ---

void TestHost::note(std::string call) {
    const std::lock_guard lock(mutex_);
    log.push_back(std::move(call));
}

void TestHost::noteUi(std::string call) {
    const std::lock_guard lock(mutex_);
    if (GetCurrentThreadId() != uiThread_) onWrongThread.push_back(call);
    log.push_back(std::move(call));
}

void TestHost::show(std::string text) {
    const std::lock_guard lock(mutex_);
    shown.push_back(std::move(text));
}

// --- The drawing ---

std::int32_t TestHost::adopt(VmDbObject* object) {
    ObjectState state = stateOf(object);
    // Ids and slots are not the same numbers.
    state.id = static_cast<std::int32_t>(slots.size()) + 101;
    state.layer[0] = u'0';
    state.layer[1] = 0;
    writeObject(object, &state);
    slots.push_back(object);
    return state.id;
}

VmDbObject* TestHost::add(std::int32_t typeCode, const std::function<void(ObjectState&)>& fill) {
    VmDbObject* object = makeObject(typeCode);
    adopt(object);
    ObjectState state = stateOf(object);
    if (fill) fill(state);
    writeObject(object, &state);
    return object;
}

void TestHost::addBlock(const char* name, int flags, double x, double y) {
    const std::int32_t id = static_cast<std::int32_t>(blocks.size()) + 1001;
    blocks.push_back(makeBlock(id, wide(name).c_str(), flags, x, y));
}

VmDbObject* TestHost::find(std::int32_t id) const {
    for (VmDbObject* object : slots)
        if (object != nullptr && stateOf(object).id == id) return object;
    return nullptr;
}

ObjectState TestHost::stateOf(const VmDbObject* object) {
    ObjectState state{};
    readObject(object, &state);
    return state;
}

std::string TestHost::pointsOf(const VmDbObject* object) {
    std::string text;
    for (int i = 0; i < countPoints(object); ++i) {
        double xyz[3];
        readPoint(object, i, xyz);
        text += (i == 0 ? "" : "; ") + number(xyz[0]) + " " + number(xyz[1]) + " " + number(xyz[2]);
    }
    return text;
}

VmDbObject* TestHost::open(VmDbObject* object) {
    if (object == nullptr) return nullptr;
    ++openNow[object];
    ++opened;
    return object;
}

void TestHost::close(const void* object) {
    const auto found = openNow.find(object);
    if (found == openNow.end()) hostFault("something was closed that was not open");
    if (--found->second == 0) openNow.erase(found);
}

HostRequest reply(int mode, double x, double y, std::string_view text, int count, int entityId,
                  int context) {
    HostRequest record;
    record.mode = mode;
    record.x = x;
    record.y = y;
    std::copy_n(text.data(), std::min(text.size(), std::size(record.inputText) - 1),
                record.inputText);
    record.count = count;
    record.entityId = entityId;
    record.context = context;
    return record;
}

}  // namespace vlisp::test

// --- The seam to the classes ---

using vlisp::test::narrow;
using vlisp::test::number;
using vlisp::test::TestHost;
using vlisp::test::wide;

namespace {

TestHost& host() { return TestHost::current(); }

void writeText(char16_t* out, const std::u16string& text) {
    std::copy_n(text.c_str(), text.size() + 1, out);
}

bool setVariable(const std::string& call, const char16_t* name, const std::string& value) {
    host().note(call + " " + narrow(name) + " " + value);
    const auto found = host().variables.find(narrow(name));
    if (found == host().variables.end()) return false;
    found->second = wide(value);
    return true;
}

std::vector<std::int32_t>* setOf(int set) {
    auto& sets = host().sets;
    return set < 1 || static_cast<std::size_t>(set) > sets.size()
               ? nullptr
               : &sets[static_cast<std::size_t>(set - 1)];
}

void extend(int id, const char16_t* name, const std::string& value, bool flag) {
    host().noteUi("data");
    host().extendedData.push_back(std::to_string(id) + " " + narrow(name) + " = " + value +
                                  (flag ? " true" : " false"));
}

}  // namespace

void* hostAllocate(std::size_t bytes) { return HeapAlloc(GetProcessHeap(), 0, bytes); }

// On purpose: what is let go of here must have been taken from the process's heap, whoever took it.
void hostRelease(void* block) {
    if (block == nullptr) return;
    if (HeapValidate(GetProcessHeap(), 0, block) == FALSE)
        hostFault("memory was let go of that is not from the process's heap");
    HeapFree(GetProcessHeap(), 0, block);
}

void hostFault(const char* what) {
    std::fprintf(stderr, "\nthe test host gives up: %s\n", what);
    std::fflush(nullptr);
    std::_Exit(3);
}

void onObjectClosed(VmDbObject* object) { host().close(object); }
void onBlockClosed(VmDbBlock* block) { host().close(block); }

void onGetVersion(char16_t* out) {
    host().noteUi("GetVersion");
    writeText(out, host().version);
}

// A command that brings no text of its own and is known already keeps its text.
void onAddCommand(const char16_t* name, const char16_t* lispText, const char16_t* description,
                  const char16_t* moduleName, void* instance, unsigned numberOfIt) {
    host().note("AddCommand " + narrow(name));
    host().registered.push_back(narrow(name));
    auto& command = host().commands[narrow(name)];
    const std::string text = *lispText == 0 ? command.lispText : narrow(lispText);
    command = {text, narrow(description), narrow(moduleName), instance, numberOfIt};
}

// A true toolbar, from the buttons as they came.
void onCreateExtensionToolbar(const char16_t* bitmapPath, const char16_t* toolbarName,
                              void* buttons, int count) {
    host().noteUi("Toolbar " + narrow(toolbarName) + " " + narrow(bitmapPath));
    const INITCOMMONCONTROLSEX classes{sizeof classes, ICC_BAR_CLASSES};
    InitCommonControlsEx(&classes);
    HWND bar = CreateWindowExW(0, TOOLBARCLASSNAMEW, vlisp::test::units(toolbarName),
                               WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, host().window, nullptr,
                               GetModuleHandleW(nullptr), nullptr);
    if (bar == nullptr) hostFault("there is no toolbar");
    SendMessageW(bar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    auto* pictures = static_cast<HBITMAP>(
        LoadImageW(nullptr, vlisp::test::units(bitmapPath), IMAGE_BITMAP, 0, 0, LR_LOADFROMFILE));
    if (pictures != nullptr) {
        TBADDBITMAP added{nullptr, reinterpret_cast<UINT_PTR>(pictures)};
        SendMessageW(bar, TB_ADDBITMAP, static_cast<WPARAM>(count),
                     reinterpret_cast<LPARAM>(&added));
    }
    if (count > 0)
        SendMessageW(bar, TB_ADDBUTTONSW, static_cast<WPARAM>(count),
                     reinterpret_cast<LPARAM>(buttons));
    SendMessageW(bar, TB_AUTOSIZE, 0, 0);
    host().toolbars.push_back(bar);
}

void onDisplayMsg(const char16_t* text) {
    host().note("DisplayMsg " + narrow(text));
    host().show(narrow(text));
}
void onDisplayPromptMsg(const char16_t* text) { host().noteUi("DisplayPromptMsg " + narrow(text)); }
void onAllowTopMost(bool allow) { host().noteUi(allow ? "AllowTopMost 1" : "AllowTopMost 0"); }

void* onGetMainFrameWindow() {
    host().noteUi("GetMainFrameWindow");
    ++host().windowsFetched;
    return host().window;
}
void onClearThreadMsgPosted() { host().taken = false; }
bool onIsThreadMsgPosted() { return host().taken; }

void onGetInputString(char16_t* out) {
    host().noteUi("GetInputString");
    writeText(out, host().inputString);
}
int onGetInputType() { return host().inputType; }
void onGetInputPoint(double* xyz) { std::copy_n(host().inputPoint, 3, xyz); }
void onSetUserInputMode(int mode, bool useBasePoint, double x, double y, double z) {
    host().noteUi("SetUserInputMode " + std::to_string(mode) + (useBasePoint ? " 1 " : " 0 ") +
                  number(x) + " " + number(y) + " " + number(z));
}

bool onGetVar(const char16_t* name, char16_t* valueOut) {
    const auto found = host().variables.find(narrow(name));
    if (found == host().variables.end()) return false;
    writeText(valueOut, found->second);
    return true;
}
bool onSetVarInt(const char16_t* name, int value) {
    return setVariable("SetVarInt", name, std::to_string(value));
}
bool onSetVarDbl(const char16_t* name, double value) {
    return setVariable("SetVarDbl", name, number(value));
}
bool onSetVarString(const char16_t* name, const char16_t* value) {
    return setVariable("SetVarString", name, "\"" + narrow(value) + "\"");
}
void onRegen() { host().note("Regen"); }
void onRefresh() { host().note("Refresh"); }

int onGetNumObjects() { return static_cast<int>(host().slots.size()); }
int onGetObjectIndex(std::int32_t id) {
    const auto& slots = host().slots;
    const auto found = std::ranges::find(slots, host().find(id));
    return found == slots.end() || *found == nullptr ? -1 : static_cast<int>(found - slots.begin());
}
VmDbObject* onOpenObject(std::int32_t id, int) { return host().open(host().find(id)); }
VmDbObject* onOpenObjectByIndex(int index, int) {
    if (index < 0 || index >= onGetNumObjects()) hostFault("a slot was opened that is not there");
    return host().open(host().slots[static_cast<std::size_t>(index)]);
}
int onGetNumBlocks() { return static_cast<int>(host().blocks.size()); }
VmDbBlock* onOpenBlockByIndex(int index, int) {
    if (index < 0 || index >= onGetNumBlocks()) hostFault("a block was opened that is not there");
    VmDbBlock* block = host().blocks[static_cast<std::size_t>(index)];
    ++host().openNow[block];
    ++host().opened;
    return block;
}

std::int32_t onAddLine(VmDbObject* line, std::int32_t block) {
    host().noteUi("addLine " + std::to_string(block));
    return host().adopt(line);
}
std::int32_t onAddPolyline(const VmDbObject* polyline, std::int32_t block) {
    host().noteUi("addPolyline " + std::to_string(block));
    return host().adopt(copyObject(polyline));
}
void onUpdatePolyline(int id, int vertex, double x, double y) {
    host().noteUi("updatePolyline " + std::to_string(id) + " " + std::to_string(vertex) + " " +
                  number(x) + " " + number(y));
    if (VmDbObject* object = host().find(id)) appendPoint(object, x, y, 0);
}
void onSetWorkingLayerAndLineType(const char16_t* layer, const char16_t* lineType) {
    host().noteUi("setWorkingLayerAndLineType '" + narrow(layer) + "' '" + narrow(lineType) + "'");
}
void onAddObjectExtDataInt(int id, const char16_t* name, int value, bool flag) {
    extend(id, name, std::to_string(value), flag);
}
void onAddObjectExtDataDouble(int id, const char16_t* name, double value, bool flag) {
    extend(id, name, number(value), flag);
}
void onAddObjectExtDataString(int id, const char16_t* name, const char16_t* value, bool flag) {
    extend(id, name, narrow(value), flag);
}

int onAddSelectionSet() {
    host().sets.emplace_back();
    return static_cast<int>(host().sets.size());
}
int onGetSelectionSetLength(int set) {
    const auto* members = setOf(set);
    return members == nullptr ? -1 : static_cast<int>(members->size());
}
void onAddObjToSelectionSet(std::int32_t id, int set) {
    auto* members = setOf(set);
    if (members != nullptr && std::ranges::find(*members, id) == members->end())
        members->push_back(id);
}
void onRemoveObjFromSelectionSet(std::int32_t id, int set) {
    if (auto* members = setOf(set)) std::erase(*members, id);
}
bool onGetObjFromSelectionSet(std::int32_t* idOut, int index, int set) {
    const auto* members = setOf(set);
    if (members == nullptr || index < 0 || static_cast<std::size_t>(index) >= members->size())
        return false;
    *idOut = (*members)[static_cast<std::size_t>(index)];
    return true;
}
void onAddAllToSelectionSet(int set) {
    for (const VmDbObject* object : host().slots) {
        if (object == nullptr) continue;
        const ObjectState state = TestHost::stateOf(object);
        if (state.erased == 0) onAddObjToSelectionSet(state.id, set);
    }
}
void onAddSelectedToSelectionSet(int set) {
    for (const std::int32_t id : host().selected) onAddObjToSelectionSet(id, set);
}
