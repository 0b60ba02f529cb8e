// See recording_host.h.
#include "tests/support/recording_host.h"

#include "core/interruption.h"
#include "host/exports.h"
#include "platform/text.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace vlisp::test {
namespace {
RecordingHost* theHost = nullptr;

void logCall(const std::string& call) { RecordingHost::current().log.push_back(call); }
}  // namespace

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

bool RecordingHost::lives() noexcept { return theHost != nullptr; }

std::vector<std::string> RecordingHost::calls() const {
    std::vector<std::string> rest;
    std::ranges::copy_if(log, std::back_inserter(rest), [](const std::string& call) {
        return call != "Clear" && !call.starts_with("Post ") && !call.starts_with("DisplayMsg ") &&
               !call.starts_with("AddCommand ");
    });
    return rest;
}

void RecordingHost::post(unsigned message, const void* record) {
    if (message != hostRequestMessage) throw std::logic_error("an unknown message was posted");
    const HostRequest request = *static_cast<const HostRequest*>(record);
    log.push_back("Post " + std::to_string(request.kind));
    posted.push_back(request);
    addresses.push_back(static_cast<const HostRequest*>(record));
    lastWasEvalDone = request.kind == static_cast<int>(RequestKind::EvalDone);
    if (request.kind == static_cast<int>(RequestKind::Message))
        shown.emplace_back(request.messageText);
    taken = true;
    asks = 0;
    posts.fetch_add(1, std::memory_order_release);
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

bool RecordingHost::reaches(const std::atomic<int>& counter, int count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (counter.load(std::memory_order_acquire) < count) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::yield();
    }
    return true;
}

void RecordingHost::warn(const char16_t* text) { log.push_back("warn " + platform::toUtf8(text)); }

bool RecordingHost::chooseFile(const platform::FileDialog& dialog, char16_t* path,
                               std::size_t capacity) {
    log.push_back("chooseFile " + platform::toUtf8(dialog.defaultExtension) + "|" +
                  platform::toUtf8(dialog.filter));
    if (!hasChosen) return false;
    copyField(path, capacity, chosenFile);
    return true;
}

VmDbBlock& RecordingHost::addBlock(std::u16string_view name, double x, double y) {
    auto block = std::make_unique<VmDbBlock>();
    block->id = static_cast<HostLong>(1000 + blocks.size());
    block->name.assign(name.data(), name.size());
    block->baseX = x;
    block->baseY = y;
    blocks.push_back(std::move(block));
    return *blocks.back();
}

VmDbObject* RecordingHost::find(HostLong id) const {
    for (const auto& object : slots)
        if (object && object->id == id) return object.get();
    return nullptr;
}

void resetHandshake() {
    Handshake& state = handshake();
    state.waitingForReply = false;
    state.directMode = false;
    state.closing = false;
    state.reply = HostReply();
    state.evalDone = state.userInput = state.commandInput = HostRequest();
    interruption::take();
}

bool startExtension() {
    std::uint16_t first = 0;
    std::uint16_t second = 0;
    return VelmoraExtEntryPoint(&first, &second) == 1;
}

HostRequest reply(int mode, double x, double y, std::u16string_view text, int count, int entityId,
                  int context) {
    HostRequest record;
    record.mode = mode;
    record.x = x;
    record.y = y;
    setField(record.inputText, text);
    record.count = count;
    record.entityId = entityId;
    record.context = context;
    return record;
}

}  // namespace vlisp::test

using vlisp::platform::toUtf8;
using vlisp::test::logCall;
using vlisp::test::RecordingHost;

namespace {

std::string number(double value) { return std::to_string(value); }

void write(char16_t* out, const std::u16string& text) {
    std::copy_n(text.c_str(), text.size() + 1, out);
}

template <class Value> void grow(Value*& values, std::int32_t count, std::int32_t& room) {
    if (count < room) return;
    room = room == 0 ? 4 : room * 2;
    auto* bigger = new Value[static_cast<std::size_t>(room)];
    std::copy_n(values, count, bigger);
    delete[] values;
    values = bigger;
}

void opened(int mode) {
    RecordingHost& host = RecordingHost::current();
    ++host.open;
    ++host.opened;
    if (mode != 0) ++host.openedForChange;
}

void closed() {
    if (RecordingHost::lives()) --RecordingHost::current().open;
}

template <class Class> Class* castTo(VmDbObject* object) { return dynamic_cast<Class*>(object); }

}  // namespace

// --- Classes ---

mmPoint::~mmPoint() = default;
VmDbRect::~VmDbRect() = default;

void VmDbPointArr::clear() { count = 0; }
mmPoint& VmDbPointArr::getAt(int index) {
    if (index < 0 || index >= count) throw std::logic_error("no such point");
    return points[index];
}

VmDbObject::VmDbObject() = default;
VmDbObject::~VmDbObject() { delete[] points.points; }
void VmDbObject::close() { closed(); }
void VmDbObject::copyFrom(const VmDbObject*) { logCall("copyFrom"); }
void VmDbObject::addPoint(mmPoint point) {
    grow(points.points, points.count, points.room);
    points.points[points.count++] = point;
}
VmDbRect VmDbObject::getExtent(double a, double b) {
    logCall("getExtent " + number(a) + " " + number(b));
    VmDbRect rect;
    for (int i = 0; i < points.count; ++i) {
        const mmPoint& p = points.points[i];
        if (i == 0) rect = VmDbRect(p.x, p.y, p.x, p.y);
        rect.left = std::min(rect.left, p.x);
        rect.bottom = std::min(rect.bottom, p.y);
        rect.right = std::max(rect.right, p.x);
        rect.top = std::max(rect.top, p.y);
    }
    return rect;
}

VmDbLine::VmDbLine() { typeCode = vmDbLine; }
VmDbLine::~VmDbLine() = default;
void VmDbLine::close() { VmDbObject::close(); }
void VmDbLine::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbLine* VmDbLine::cast(VmDbObject* object) { return castTo<VmDbLine>(object); }

VmDb2DPolyline::VmDb2DPolyline() { typeCode = vmDbLwPolyline; }
VmDb2DPolyline::~VmDb2DPolyline() { delete[] bulges.values; }
void VmDb2DPolyline::close() { VmDbObject::close(); }
void VmDb2DPolyline::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDb2DPolyline* VmDb2DPolyline::cast(VmDbObject* object) { return castTo<VmDb2DPolyline>(object); }
void VmDb2DPolyline::addBulge(double bulge) {
    grow(bulges.values, bulges.count, bulges.room);
    bulges.values[bulges.count++] = bulge;
}

VmDbCircle::VmDbCircle() { typeCode = vmDbCircle; }
VmDbCircle::~VmDbCircle() = default;
void VmDbCircle::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbCircle* VmDbCircle::cast(VmDbObject* object) { return castTo<VmDbCircle>(object); }

VmDbArc::VmDbArc() { typeCode = vmDbArc; }
VmDbArc::~VmDbArc() = default;
void VmDbArc::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbArc* VmDbArc::cast(VmDbObject* object) { return castTo<VmDbArc>(object); }

VmDbText::VmDbText() { typeCode = vmDbText; }
VmDbText::~VmDbText() = default;
void VmDbText::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbText* VmDbText::cast(VmDbObject* object) { return castTo<VmDbText>(object); }

VmDbBlockRef::VmDbBlockRef() { typeCode = vmDbInsert; }
VmDbBlockRef::~VmDbBlockRef() = default;
void VmDbBlockRef::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbBlockRef* VmDbBlockRef::cast(VmDbObject* object) { return castTo<VmDbBlockRef>(object); }

VmDbBlock::VmDbBlock() = default;
VmDbBlock::~VmDbBlock() = default;
void VmDbBlock::close() { closed(); }

// --- Version, commands, messages ---

void GetVersion(char16_t* out) { write(out, RecordingHost::current().version); }

void AddCommand(const char16_t* name, const char16_t* lispText, const char16_t* description,
                const char16_t* moduleName, ModuleHandle instance, unsigned number) {
    RecordingHost::current().owners.push_back(instance);
    logCall("AddCommand " + toUtf8(name) + "|" + toUtf8(lispText) + "|" + toUtf8(description) +
            "|" + toUtf8(moduleName) + "|" + std::to_string(number));
}

void CreateExtensionToolbar(const char16_t* bitmapPath, const char16_t* toolbarName,
                            ToolbarButton* buttons, int count) {
    std::string call = "Toolbar " + toUtf8(toolbarName) + "|" + toUtf8(bitmapPath) + "|";
    for (int i = 0; i < count; ++i) {
        const ToolbarButton& button = buttons[i];
        if (button.state != 4 || button.style != 0 || button.data != 0 || button.text != 0)
            throw std::logic_error("a button is not as it should be");
        call += std::to_string(button.command) + ":" + std::to_string(button.image) + " ";
    }
    logCall(call);
}

void DisplayMsg(const char16_t* text) {
    RecordingHost& host = RecordingHost::current();
    host.shown.emplace_back(text);
    host.log.push_back("DisplayMsg " + toUtf8(text));
    host.displays.fetch_add(1, std::memory_order_release);
}

void DisplayPromptMsg(const char16_t* text) { logCall("DisplayPromptMsg " + toUtf8(text)); }

void AllowTopMost(bool allow) { logCall(std::string("AllowTopMost ") + (allow ? "1" : "0")); }

// --- Handshake and input ---

void GetMainFrameWindow(vlisp::platform::WindowHandle& window) {
    window = &RecordingHost::current();
}

void ClearThreadMsgPosted() {
    RecordingHost::current().taken = false;
    logCall("Clear");
}

void IsThreadMsgPosted(bool& taken) {
    RecordingHost& host = RecordingHost::current();
    taken = host.taken && host.asks >= host.asksBeforeTaken;
    ++host.asks;
    if (!taken || !host.lastWasEvalDone) return;
    host.lastWasEvalDone = false;
    host.evalDones.fetch_add(1, std::memory_order_release);
}

void GetInputString(char16_t* out) { write(out, RecordingHost::current().inputString); }
void GetInputType(int& out) { out = RecordingHost::current().inputType; }
void GetInputPoint(double& x, double& y, double& z) {
    const mmPoint& point = RecordingHost::current().inputPoint;
    x = point.x;
    y = point.y;
    z = point.z;
}
void SetUserInputMode(int mode, bool useBasePoint, double x, double y, double z) {
    logCall("SetUserInputMode " + std::to_string(mode) + " " + (useBasePoint ? "1" : "0") + " " +
            number(x) + " " + number(y) + " " + number(z));
}

// --- System variables ---

namespace {
void setVariable(const std::string& how, const char16_t* name, const std::string& value, bool& ok) {
    RecordingHost& host = RecordingHost::current();
    host.log.push_back(how + " " + toUtf8(name) + "=" + value);
    ok = host.variables.contains(name);
}
}  // namespace

void GetVar(const char16_t* name, char16_t* valueOut, bool& ok) {
    const auto& variables = RecordingHost::current().variables;
    const auto found = variables.find(name);
    ok = found != variables.end();
    if (ok) write(valueOut, found->second);
}
void SetVarInt(const char16_t* name, int value, bool& ok) {
    setVariable("SetVarInt", name, std::to_string(value), ok);
}
void SetVarDbl(const char16_t* name, double value, bool& ok) {
    setVariable("SetVarDbl", name, number(value), ok);
}
void SetVarString(const char16_t* name, const char16_t* value, bool& ok) {
    setVariable("SetVarString", name, toUtf8(value), ok);
}

void Regen() { logCall("Regen"); }
void Refresh() { logCall("Refresh"); }

// --- Drawing ---

void GetNumObjects(int& out) {
    const RecordingHost& host = RecordingHost::current();
    if (!host.saysNothing) out = static_cast<int>(host.slots.size());
}

void GetObjectIndex(HostLong id, int& indexOut) {
    const RecordingHost& host = RecordingHost::current();
    if (host.saysNothing) return;
    if (host.slotOfUnknown) indexOut = *host.slotOfUnknown;
    const auto& slots = host.slots;
    for (std::size_t i = 0; i < slots.size(); ++i)
        if (slots[i] && slots[i]->id == id) indexOut = static_cast<int>(i);
}

void vmdbOpenObject(VmDbObject*& out, HostLong id, int mode) {
    out = RecordingHost::current().find(id);
    if (out != nullptr) opened(mode);
}

void vmdbOpenObjectByIndex(VmDbObject*& out, int index, int mode) {
    const auto& slots = RecordingHost::current().slots;
    if (index < 0 || static_cast<std::size_t>(index) >= slots.size())
        throw std::logic_error("no such slot");
    out = slots[static_cast<std::size_t>(index)].get();
    if (out != nullptr) opened(mode);
}

void GetNumBlocks(int& out) {
    const RecordingHost& host = RecordingHost::current();
    if (!host.saysNothing) out = static_cast<int>(host.blocks.size());
}

void vmdbOpenBlockByIndex(int index, VmDbBlock*& out, int mode) {
    const auto& blocks = RecordingHost::current().blocks;
    if (index < 0 || static_cast<std::size_t>(index) >= blocks.size())
        throw std::logic_error("no such block");
    out = blocks[static_cast<std::size_t>(index)].get();
    if (out != nullptr) opened(mode);
}

void addLine(VmDbLine* line, HostLong block) {
    RecordingHost& host = RecordingHost::current();
    host.log.push_back("addLine " + std::to_string(block));
    line->id = static_cast<HostLong>(host.slots.size() + 1);
    host.slots.emplace_back(line);
}

void addPolyline(VmDb2DPolyline* polyline, HostLong block) {
    RecordingHost& host = RecordingHost::current();
    host.log.push_back("addPolyline " + std::to_string(block));
    polyline->id = host.add<VmDb2DPolyline>(polyline->typeCode).id;
}

void updatePolyline(int id, int vertex, double x, double y) {
    logCall("updatePolyline " + std::to_string(id) + " " + std::to_string(vertex) + " " +
            number(x) + " " + number(y));
    if (VmDbObject* object = RecordingHost::current().find(id)) object->addPoint(mmPoint(x, y, 0));
}

void setWorkingLayerAndLineType(const char16_t* layer, const char16_t* lineType, int& out) {
    logCall("setWorkingLayerAndLineType " + toUtf8(layer) + "|" + toUtf8(lineType));
    out = 0;
}

void addObjectExtDataInt(int id, const char16_t* name, int value, bool) {
    RecordingHost::current().extendedData.push_back(
        {id, toUtf8(name), "int " + std::to_string(value)});
}
void addObjectExtDataDouble(int id, const char16_t* name, double value, bool) {
    RecordingHost::current().extendedData.push_back({id, toUtf8(name), "double " + number(value)});
}
void addObjectExtDataString(int id, const char16_t* name, const char16_t* value, bool) {
    RecordingHost::current().extendedData.push_back({id, toUtf8(name), "string " + toUtf8(value)});
}

// --- Selection sets ---

namespace {
std::vector<HostLong>* setOf(int number) {
    auto& sets = RecordingHost::current().sets;
    const auto index = static_cast<std::size_t>(number - 1);
    return number >= 1 && index < sets.size() ? &sets[index] : nullptr;
}
}  // namespace

void addSelectionSet(int& idOut) {
    auto& sets = RecordingHost::current().sets;
    sets.emplace_back();
    idOut = static_cast<int>(sets.size());
}
void getSelectionSetLength(int& out, int set) {
    if (RecordingHost::current().saysNothing) return;
    if (const auto* members = setOf(set)) out = static_cast<int>(members->size());
}
void addObjToSelectionSet(HostLong id, int set) {
    auto* members = setOf(set);
    if (members != nullptr && std::ranges::find(*members, id) == members->end())
        members->push_back(id);
}
void removeObjFromSelectionSet(HostLong id, int set) {
    if (auto* members = setOf(set)) std::erase(*members, id);
}
void getObjFromSelectionSet(HostLong& idOut, int index, int set) {
    const auto* members = setOf(set);
    if (members != nullptr && index >= 0 && static_cast<std::size_t>(index) < members->size())
        idOut = (*members)[static_cast<std::size_t>(index)];
}
void addAllToSelectionSet(int set) {
    for (const auto& object : RecordingHost::current().slots)
        if (object && object->erased == 0) addObjToSelectionSet(object->id, set);
}
void addSelectedToSelectionSet(int set) {
    for (const HostLong id : RecordingHost::current().selected) addObjToSelectionSet(id, set);
}
