// See loading_host.h.
#include "tests/module/loading_host.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <stdexcept>

namespace vlisp::test {
namespace {
LoadingHost* theHost = nullptr;

template <class Function>
void bind(const LoadedModule& module, Function*& function, const char* name) {
    void* address = module.find(name);
    if (address == nullptr) throw std::runtime_error(std::string("no export ") + name);
    function = reinterpret_cast<Function*>(address);
}
}  // namespace

std::u16string wide(std::string_view text) { return {text.begin(), text.end()}; }

std::string narrow(std::u16string_view text) {
    std::string out;
    for (const char16_t c : text) out += c < 128 ? static_cast<char>(c) : '?';
    return out;
}

// --- The module ---

LoadedModule::LoadedModule() : handle_(::dlopen(MODULE_FILE, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) throw std::runtime_error(::dlerror());
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
    if (::dlclose(handle_) == 0) return;
    std::fprintf(stderr, "the module cannot be unloaded: %s\n", ::dlerror());
    std::abort();
}

bool LoadedModule::isLoaded() {
    void* handle = ::dlopen(MODULE_FILE, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) ::dlclose(handle);
    return handle != nullptr;
}

void* LoadedModule::find(const char* name) const { return ::dlsym(handle_, name); }

// --- The host ---

LoadingHost::LoadingHost() { theHost = this; }
LoadingHost::~LoadingHost() { theHost = nullptr; }

LoadingHost& LoadingHost::current() {
    if (theHost == nullptr) throw std::logic_error("no host lives");
    return *theHost;
}

void LoadingHost::post(unsigned message, const void* record) {
    const std::lock_guard lock(mutex_);
    if (message != hostRequestMessage) throw std::logic_error("an unknown message was posted");
    if (std::this_thread::get_id() == uiThread_) postedByItself = true;
    queue_.push_back(static_cast<const HostRequest*>(record));
    arrived_.notify_one();
}

void LoadingHost::warn(const char16_t* text) { noteUi("warn " + narrow(text)); }

bool LoadingHost::chooseFile(const platform::FileDialog& dialog, char16_t* path,
                             std::size_t capacity) {
    noteUi("chooseFile " + narrow(dialog.defaultExtension) + " " + narrow(dialog.filter));
    const std::size_t length = std::min(chosenFile.size(), capacity - 1);
    std::copy_n(chosenFile.data(), length, path);
    path[length] = 0;
    return length > 0;
}

HostRequest LoadingHost::takeMessage() {
    std::unique_lock lock(mutex_);
    if (!arrived_.wait_for(lock, std::chrono::minutes(1), [this] { return !queue_.empty(); }))
        throw std::runtime_error("the module posts nothing");
    const HostRequest request = *queue_.front();
    queue_.pop_front();
    return request;
}

bool LoadingHost::queueIsEmpty() {
    const std::lock_guard lock(mutex_);
    return queue_.empty();
}

void LoadingHost::dropMessages() {
    const std::lock_guard lock(mutex_);
    queue_.clear();
}

std::string LoadingHost::serve(LoadedModule& module) {
    while (true) {
        const HostRequest request = takeMessage();
        if (request.kind == static_cast<int>(RequestKind::Message))
            shown.push_back(narrow(request.messageText));
        taken = true;
        if (request.kind == static_cast<int>(RequestKind::EvalDone))
            return narrow(request.messageText);
        if (request.kind == static_cast<int>(RequestKind::Message)) continue;
        requests.push_back(request);
        HostRequest answer;
        if (!answers.empty()) {
            answer = answers.front();
            answers.pop_front();
        }
        if (module.uiEntry(&answer) != 1) throw std::logic_error("an answer was not accepted");
    }
}

std::string LoadingHost::evaluate(LoadedModule& module, std::string_view lisp) {
    inputString = wide(lisp);
    int step = 1;
    if (module.dynamicCommand(&step) != 1 || step != 2)
        throw std::logic_error("an evaluation was not started");
    return serve(module);
}

std::string LoadingHost::runCommand(LoadedModule& module, const std::string& name) {
    return evaluate(module, commands.at(name).lispText);
}

VmDbObject* LoadingHost::object(HostLong id) const {
    return id < 1 || static_cast<std::size_t>(id) > drawing.size()
               ? nullptr
               : drawing[static_cast<std::size_t>(id - 1)].get();
}

HostLong LoadingHost::add(std::unique_ptr<VmDbObject> object) {
    object->id = static_cast<HostLong>(drawing.size() + 1);
    object->layerName.assign(u"0", 1);
    drawing.push_back(std::move(object));
    return drawing.back()->id;
}

void LoadingHost::noteUi(std::string call) {
    if (std::this_thread::get_id() != uiThread_) onWrongThread.push_back(call);
    note(std::move(call));
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

// --- The bridge ---

using vlisp::test::LoadingHost;
using vlisp::test::narrow;

namespace {

LoadingHost& host() { return LoadingHost::current(); }

std::string number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

void writeText(char16_t* out, const std::u16string& text) {
    std::copy_n(text.c_str(), text.size() + 1, out);
}

template <class Value>
void append(Value*& values, std::int32_t& count, std::int32_t& room, Value value) {
    if (count == room) {
        room = room == 0 ? 4 : 2 * room;
        auto* bigger = new Value[static_cast<std::size_t>(room)];
        std::copy_n(values, count, bigger);
        delete[] values;
        values = bigger;
    }
    values[count++] = value;
}

// Objects may be closed after their host has gone.
void closed() {
    if (vlisp::test::theHost != nullptr) --host().open;
}

void setVariable(const std::string& call, const char16_t* name, const std::string& value,
                 bool& ok) {
    host().note(call + " " + narrow(name) + " " + value);
    ok = host().variables.contains(narrow(name));
    if (ok) host().variables[narrow(name)] = vlisp::test::wide(value);
}

std::vector<HostLong>* setOf(int set) {
    auto& sets = host().sets;
    return set < 1 || static_cast<std::size_t>(set) > sets.size()
               ? nullptr
               : &sets[static_cast<std::size_t>(set - 1)];
}

}  // namespace

void GetVersion(char16_t* out) {
    host().noteUi("GetVersion");
    writeText(out, host().version);
}

void AddCommand(const char16_t* name, const char16_t* lispText, const char16_t* description,
                const char16_t* moduleName, ModuleHandle instance, unsigned number) {
    host().note("AddCommand " + narrow(name));
    host().registered.push_back(narrow(name));
    host().commands[narrow(name)] = {narrow(lispText), narrow(description), narrow(moduleName),
                                     instance, number};
}

void CreateExtensionToolbar(const char16_t* bitmapPath, const char16_t* toolbarName,
                            ToolbarButton* buttons, int count) {
    std::string call = "Toolbar " + narrow(toolbarName) + " " + narrow(bitmapPath);
    for (int i = 0; i < count; ++i) {
        const ToolbarButton& b = buttons[i];
        call += " " + std::to_string(b.command) + ":" + std::to_string(b.image);
        if (b.state != 4 || b.style != 0) call += "!";
    }
    host().noteUi(call);
}

void DisplayMsg(const char16_t* text) {
    host().note("DisplayMsg " + narrow(text));
    host().shown.push_back(narrow(text));
}
void DisplayPromptMsg(const char16_t* text) { host().noteUi("DisplayPromptMsg " + narrow(text)); }
void AllowTopMost(bool allow) { host().noteUi(allow ? "AllowTopMost 1" : "AllowTopMost 0"); }

void GetMainFrameWindow(vlisp::platform::WindowHandle& out) {
    host().noteUi("GetMainFrameWindow");
    ++host().windowsFetched;
    out = &host();
}
void ClearThreadMsgPosted() { host().taken = false; }
void IsThreadMsgPosted(bool& out) { out = host().taken; }

void GetInputString(char16_t* out) {
    host().noteUi("GetInputString");
    writeText(out, host().inputString);
}
void GetInputType(int& out) { out = host().inputType; }
void GetInputPoint(double& x, double& y, double& z) {
    x = host().inputPoint.x;
    y = host().inputPoint.y;
    z = host().inputPoint.z;
}
void SetUserInputMode(int mode, bool useBasePoint, double x, double y, double z) {
    host().noteUi("SetUserInputMode " + std::to_string(mode) + (useBasePoint ? " 1 " : " 0 ") +
                  number(x) + " " + number(y) + " " + number(z));
}

void GetVar(const char16_t* name, char16_t* valueOut, bool& ok) {
    const auto found = host().variables.find(narrow(name));
    ok = found != host().variables.end();
    if (ok) writeText(valueOut, found->second);
}
void SetVarInt(const char16_t* name, int value, bool& ok) {
    setVariable("SetVarInt", name, std::to_string(value), ok);
}
void SetVarDbl(const char16_t* name, double value, bool& ok) {
    setVariable("SetVarDbl", name, number(value), ok);
}
void SetVarString(const char16_t* name, const char16_t* value, bool& ok) {
    setVariable("SetVarString", name, "\"" + narrow(value) + "\"", ok);
}
void Regen() { host().note("Regen"); }
void Refresh() { host().note("Refresh"); }

void GetNumObjects(int& out) { out = static_cast<int>(host().drawing.size()); }
void GetObjectIndex(HostLong id, int& indexOut) {
    if (host().object(id) != nullptr) indexOut = id - 1;
}
void vmdbOpenObject(VmDbObject*& out, HostLong id, int) {
    out = host().object(id);
    if (out != nullptr) ++host().open;
}
void vmdbOpenObjectByIndex(VmDbObject*& out, int index, int mode) {
    vmdbOpenObject(out, index + 1, mode);
}
void GetNumBlocks(int& out) { out = 0; }
void vmdbOpenBlockByIndex(int, VmDbBlock*& out, int) { out = nullptr; }

void addLine(VmDbLine* line, HostLong block) {
    host().noteUi("addLine " + std::to_string(block));
    host().add(std::unique_ptr<VmDbObject>(line));
}
void addPolyline(VmDb2DPolyline* polyline, HostLong block) {
    host().noteUi("addPolyline " + std::to_string(block));
    auto ours = std::make_unique<VmDb2DPolyline>();
    ours->copyFrom(polyline);
    polyline->id = host().add(std::move(ours));
}
void updatePolyline(int id, int vertex, double x, double y) {
    host().noteUi("updatePolyline " + std::to_string(id) + " " + std::to_string(vertex) + " " +
                  number(x) + " " + number(y));
    if (VmDbObject* object = host().object(id)) object->addPoint(mmPoint(x, y, 0));
}
void setWorkingLayerAndLineType(const char16_t* layer, const char16_t* lineType, int& out) {
    host().noteUi("setWorkingLayerAndLineType '" + narrow(layer) + "' '" + narrow(lineType) + "'");
    out = 0;
}
void addObjectExtDataInt(int id, const char16_t* name, int value, bool) {
    host().noteUi("data " + std::to_string(id) + " " + narrow(name) + " " + std::to_string(value));
}
void addObjectExtDataDouble(int id, const char16_t* name, double value, bool) {
    host().noteUi("data " + std::to_string(id) + " " + narrow(name) + " " + number(value));
}
void addObjectExtDataString(int id, const char16_t* name, const char16_t* value, bool) {
    host().noteUi("data " + std::to_string(id) + " " + narrow(name) + " " + narrow(value));
}

void addSelectionSet(int& idOut) {
    host().sets.emplace_back();
    idOut = static_cast<int>(host().sets.size());
}
void getSelectionSetLength(int& out, int set) {
    if (const auto* members = setOf(set)) out = static_cast<int>(members->size());
}
void addObjToSelectionSet(HostLong id, int set) {
    if (auto* members = setOf(set)) members->push_back(id);
}
void removeObjFromSelectionSet(HostLong id, int set) {
    if (auto* members = setOf(set)) std::erase(*members, id);
}
void getObjFromSelectionSet(HostLong& idOut, int index, int set) {
    const auto* members = setOf(set);
    if (members != nullptr && index >= 0 && index < static_cast<int>(members->size()))
        idOut = (*members)[static_cast<std::size_t>(index)];
}
void addAllToSelectionSet(int set) {
    for (const auto& object : host().drawing) addObjToSelectionSet(object->id, set);
}
void addSelectedToSelectionSet(int set) { addAllToSelectionSet(set); }

// --- Its classes ---

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
void VmDbObject::copyFrom(const VmDbObject* other) {
    points.clear();
    for (int i = 0; i < other->points.count; ++i) addPoint(other->points.points[i]);
}
void VmDbObject::addPoint(mmPoint point) {
    append(points.points, points.count, points.room, point);
}
VmDbRect VmDbObject::getExtent(double, double) {
    if (points.count < 2) return {};
    return {points.points[0].x, points.points[0].y, points.points[1].x, points.points[1].y};
}

VmDbLine::VmDbLine() { typeCode = vmDbLine; }
VmDbLine::~VmDbLine() = default;
void VmDbLine::close() { VmDbObject::close(); }
void VmDbLine::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbLine* VmDbLine::cast(VmDbObject* object) { return dynamic_cast<VmDbLine*>(object); }

VmDb2DPolyline::VmDb2DPolyline() { typeCode = vmDbLwPolyline; }
VmDb2DPolyline::~VmDb2DPolyline() { delete[] bulges.values; }
void VmDb2DPolyline::close() { VmDbObject::close(); }
void VmDb2DPolyline::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDb2DPolyline* VmDb2DPolyline::cast(VmDbObject* object) {
    return dynamic_cast<VmDb2DPolyline*>(object);
}
void VmDb2DPolyline::addBulge(double bulge) {
    append(bulges.values, bulges.count, bulges.room, bulge);
}

VmDbCircle::VmDbCircle() { typeCode = vmDbCircle; }
VmDbCircle::~VmDbCircle() = default;
void VmDbCircle::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbCircle* VmDbCircle::cast(VmDbObject* object) { return dynamic_cast<VmDbCircle*>(object); }

VmDbArc::VmDbArc() { typeCode = vmDbArc; }
VmDbArc::~VmDbArc() = default;
void VmDbArc::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbArc* VmDbArc::cast(VmDbObject* object) { return dynamic_cast<VmDbArc*>(object); }

VmDbText::VmDbText() { typeCode = vmDbText; }
VmDbText::~VmDbText() = default;
void VmDbText::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbText* VmDbText::cast(VmDbObject* object) { return dynamic_cast<VmDbText*>(object); }

VmDbBlockRef::VmDbBlockRef() { typeCode = vmDbInsert; }
VmDbBlockRef::~VmDbBlockRef() = default;
void VmDbBlockRef::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbBlockRef* VmDbBlockRef::cast(VmDbObject* object) { return dynamic_cast<VmDbBlockRef*>(object); }

VmDbBlock::VmDbBlock() = default;
VmDbBlock::~VmDbBlock() = default;
void VmDbBlock::close() { closed(); }
