// A small host: all that the extension needs of one, in one file.
// One idea: the thread of main is the user-interface thread and the only one that reads and
// answers; the module's thread comes to it through one queue. The two take turns, so nothing but
// the queue is locked.
// Tests: tests/cli/host-example.session, and the console block of docs/host.md.
//
//     small_host MODULE
//
// What is typed: LISP such as (+ 1 2), or the name of a command: LINE, CIRCLE and LIST are the
// host's own, AppLoad, MnuLoad, LispEdit, LispPoly and TestLine the module's, others are defined by
// LISP programs. A command or a program may then ask for more; 3,4 is a point. An empty line ends a
// command, the end of the input the host. The first part is the host, the second the bridge.
#include "host/bridge.h"
#include "host/handshake.h"
#include "platform/text.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <dlfcn.h>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using vlisp::HostRequest;
using vlisp::RequestKind;
using vlisp::platform::fromUtf8;
using vlisp::platform::toUtf8;

enum Input : int { typedText = 0, point = 1, selection = 3, pickedObject = 4 };

class SmallHost final : public vlisp::platform::MessageWindow {
  public:
    // --- What the module sees as the main window ---

    // The only function here that is called on another thread while this one may be busy.
    void post(unsigned message, const void* record) override {
        if (message != vlisp::hostRequestMessage) return;
        const std::lock_guard lock(mutex_);
        queue_.push_back(static_cast<const HostRequest*>(record));
        arrived_.notify_one();
    }
    void warn(const char16_t* text) override { show(text); }
    bool usesTerminal() const override { return ::isatty(STDIN_FILENO) != 0; }
    // Its file dialog is a line to type.
    bool chooseFile(const vlisp::platform::FileDialog& /*dialog*/, char16_t* path,
                    std::size_t capacity) override {
        show(u"File name:");
        std::u16string line;
        if (!readLine(line)) return false;
        copy(path, line, capacity);
        return !line.empty();
    }

    // --- Life ---

    int run(const char* modulePath) {
        // Now, so that a host that lacks a function of the bridge is told here; and with the
        // module's names kept apart from everybody else's.
        module_ = ::dlopen(modulePath, RTLD_NOW | RTLD_LOCAL);
        if (module_ == nullptr) {
            std::cerr << ::dlerror() << '\n';
            return 1;
        }
        std::uint16_t first = 0;
        std::uint16_t second = 0;
        const bool accepted =
            find<int(std::uint16_t*, std::uint16_t*)>("VelmoraExtEntryPoint")(&first, &second) == 1;
        evaluating = false;  // the window was asked for, but nothing has been started yet
        if (accepted) work();
        // A program that is still asking ends here: the module cancels it and waits for its thread.
        // What it posted last was its memory, and is not looked at any more.
        ::dlclose(module_);
        queue_.clear();
        return accepted ? 0 : 1;
    }

    // --- What the bridge uses ---

    void show(const std::u16string& text) {
        std::string line = toUtf8(text);
        std::erase(line, '\r');
        while (line.ends_with(' ') || line.ends_with('\n')) line.pop_back();
        std::cout << line << std::endl;
    }
    VmDbObject* object(HostLong id) const {
        return id < 1 || static_cast<std::size_t>(id) > drawing.size()
                   ? nullptr
                   : drawing[static_cast<std::size_t>(id - 1)].get();
    }
    HostLong add(std::unique_ptr<VmDbObject> object) {
        object->id = static_cast<HostLong>(drawing.size() + 1);
        object->layerName.assign(u"0", 1);
        drawing.push_back(std::move(object));
        return drawing.back()->id;
    }
    std::vector<HostLong>* set(int number) {
        return number < 1 || static_cast<std::size_t>(number) > sets.size()
                   ? nullptr
                   : &sets[static_cast<std::size_t>(number - 1)];
    }
    static void copy(char16_t* field, const std::u16string& text, std::size_t capacity) {
        const std::size_t length = std::min(text.size(), capacity - 1);
        std::copy_n(text.data(), length, field);
        field[length] = 0;
    }
    static std::u16string upper(std::u16string text) {
        for (char16_t& c : text)
            if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - u'a' + u'A');
        return text;
    }

    // The number of an object is its place here, from 1 on; nothing is ever taken out.
    std::vector<std::unique_ptr<VmDbObject>> drawing;
    std::vector<std::vector<HostLong>> sets;
    std::vector<HostLong> selected;
    std::map<std::u16string, std::u16string> variables{{u"CLAYER", u"\"0\""}, {u"OSMODE", u"0"}};
    std::map<std::u16string, std::pair<std::u16string, std::u16string>>
        commands;  // name, LISP text
    std::u16string inputString;
    std::atomic<bool> taken{false};
    bool evaluating = false;

  private:
    template <class Function> Function* find(const std::string& name) const {
        return reinterpret_cast<Function*>(::dlsym(module_, name.c_str()));
    }

    // While something evaluates, the module speaks; otherwise the user does. So there are never two
    // evaluations.
    void work() {
        std::u16string line;
        while (true) {
            if (evaluating) {
                if (!takeMessage()) return;
            } else {
                if (!readLine(line)) return;
                enter(line);
            }
        }
    }

    // False at the end of the input.
    bool readLine(std::u16string& line) {
        if (usesTerminal()) std::cout << "> " << std::flush;
        std::string bytes;
        if (!std::getline(std::cin, bytes)) return false;
        if (!usesTerminal()) std::cout << "> " << bytes << '\n';
        line = fromUtf8(bytes);
        return true;
    }

    // Takes the next message and answers it. False when the input has ended before the answer.
    bool takeMessage() {
        std::unique_lock lock(mutex_);
        arrived_.wait(lock, [this] { return !queue_.empty(); });
        // The record is the module's and may change as soon as it is told "taken".
        const HostRequest request = *queue_.front();
        queue_.pop_front();
        lock.unlock();
        const auto kind = static_cast<RequestKind>(request.kind);
        // Shown before "taken" is said, so that lines come in the order in which they were written.
        if (kind == RequestKind::Message) show(request.messageText);
        if (kind == RequestKind::EvalDone) {
            if (request.messageText[0] != 0) show(request.messageText);
            evaluating = false;
        }
        taken = true;
        HostRequest reply;
        if (kind == RequestKind::UserInput) {
            if (!ask(request, reply)) return false;
        } else if (kind == RequestKind::CommandInput) {
            enter(request.inputText);
        } else {
            return true;
        }
        find<int(HostRequest*)>("VelmoraExtUIEntry")(&reply);
        return true;
    }

    // Fills in the user's answer. What does not fit the question is passed on as typed text, which
    // the program takes as a cancelled input. False at the end of the input.
    bool ask(const HostRequest& request, HostRequest& reply) {
        show(request.messageText);
        std::u16string line;
        if (!readLine(line)) return false;
        reply.mode = typedText;
        copy(reply.inputText, line, std::size(reply.inputText));
        if (request.mode == point && isPoint(line, reply.x, reply.y)) reply.mode = point;
        if (request.mode == pickedObject || request.mode == selection) {
            selected.clear();
            std::istringstream numbers(toUtf8(line));
            for (HostLong id = 0; numbers >> id;)
                if (object(id) != nullptr) selected.push_back(id);
            if (selected.empty()) return true;
            reply.mode = request.mode;
            reply.count = request.mode == pickedObject ? 1 : static_cast<int>(selected.size());
            reply.entityId = selected[0];
            reply.x = object(selected[0])->points.getAt(0).x;
            reply.y = object(selected[0])->points.getAt(0).y;
        }
        return true;
    }

    static bool isPoint(const std::u16string& line, double& x, double& y) {
        return std::sscanf(toUtf8(line).c_str(), "%lf,%lf", &x, &y) == 2;
    }

    // A line of the command line: typed by the user or sent by COMMAND.
    void enter(const std::u16string& line) {
        inputString = line;
        if (!running_.empty()) return continueCommand();
        const std::u16string name = upper(line);
        step_ = 1;
        given_.clear();
        if (line.empty()) return;
        if (line[0] == u'(') return evaluate(line);
        if (name == u"LIST") return list();
        if (name == u"LINE" || name == u"CIRCLE") {
            running_ = toUtf8(name);
            return show(name == u"LINE" ? u"First point:" : u"Centre:");
        }
        const auto command = commands.find(name);
        if (command == commands.end()) return show(u"Unknown command.");
        if (!command->second.second.empty()) return evaluate(command->second.second);
        const std::string exported = toUtf8(command->second.first);
        if (exported == "MnuLoad" || exported == "TestLine") {
            find<int()>(exported)();
        } else if (find<int(int*)>(exported) != nullptr) {
            running_ = exported;
            continueCommand();
        }
    }

    void evaluate(const std::u16string& lisp) {
        // COMMAND of a program may have come here.
        if (evaluating) return show(u"Not while LISP is running.");
        inputString = lisp;
        find<int(int*)>("VelmoraExtDynamicCmdEntry")(&step_);
    }

    void continueCommand() {
        if (running_ == "LINE" || running_ == "CIRCLE") return draw();
        // The module's commands count their step, and have ended when they do not.
        const int before = step_;
        find<int(int*)>(running_)(&step_);
        if (step_ == before) running_.clear();
    }

    // Both of the host's commands take a point and one thing more. Whatever is neither ends them.
    void draw() {
        const bool isCircle = running_ == "CIRCLE";
        mmPoint at;
        double radius = 0;
        if (given_.empty() && isPoint(inputString, at.x, at.y)) {
            given_.push_back(at);
            return show(isCircle ? u"Radius:" : u"Second point:");
        }
        if (given_.empty()) {
            show(u"That is not a point.");
        } else if (isCircle && std::sscanf(toUtf8(inputString).c_str(), "%lf", &radius) == 1) {
            auto circle = std::make_unique<VmDbCircle>();
            circle->addPoint(given_[0]);
            circle->radius = radius;
            add(std::move(circle));
        } else if (!isCircle && isPoint(inputString, at.x, at.y)) {
            auto line = std::make_unique<VmDbLine>();
            line->addPoint(given_[0]);
            line->addPoint(at);
            add(std::move(line));
        }
        running_.clear();
    }

    void list() {
        for (const auto& object : drawing) {
            std::ostringstream row;
            const VmDbCircle* circle = VmDbCircle::cast(object.get());
            row << object->id
                << (circle != nullptr                         ? " circle"
                    : VmDbLine::cast(object.get()) != nullptr ? " line"
                                                              : " polyline");
            for (int i = 0; i < object->points.count; ++i)
                row << ' ' << object->points.getAt(i).x << ',' << object->points.getAt(i).y;
            if (circle != nullptr) row << " radius " << circle->radius;
            show(fromUtf8(row.str()));
        }
    }

    std::mutex mutex_;  // guards the queue
    std::condition_variable arrived_;
    std::deque<const HostRequest*> queue_;
    void* module_ = nullptr;
    std::string running_;         // the command that takes the next line
    int step_ = 1;                // its step, if it is the module's
    std::vector<mmPoint> given_;  // its first point, if it is the host's
};

SmallHost& host() {
    static SmallHost theHost;
    return theHost;
}

// Appends to an array of the bridge.
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

void writeText(char16_t* out, const std::u16string& text) {
    SmallHost::copy(out, text, text.size() + 1);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: small_host MODULE\n";
        return 2;
    }
    return host().run(argv[1]);
}

// --- The bridge ----------------------------------------------------------------------------------
// The module finds these in the program that loads it, which is linked to export them.

void GetVersion(char16_t* out) { writeText(out, u"2.0"); }
void AddCommand(const char16_t* name, const char16_t* lispText, const char16_t*, const char16_t*,
                ModuleHandle, unsigned) {
    // Without a text: an export of that name, or a button for a command that is known already.
    const std::u16string key = SmallHost::upper(name);
    if (*lispText != 0 || !host().commands.contains(key)) host().commands[key] = {name, lispText};
}
void CreateExtensionToolbar(const char16_t*, const char16_t* name, ToolbarButton*, int count) {
    host().show(u"Toolbar " + std::u16string(name) + u", buttons: " +
                fromUtf8(std::to_string(count)));
}
void DisplayMsg(const char16_t* text) { host().show(text); }
void DisplayPromptMsg(const char16_t* text) { host().show(text); }
void AllowTopMost(bool) {}

void GetMainFrameWindow(vlisp::platform::WindowHandle& out) {
    host().evaluating = true;  // asked before every evaluation
    out = &host();
}
void ClearThreadMsgPosted() { host().taken = false; }
void IsThreadMsgPosted(bool& out) { out = host().taken; }

void GetInputString(char16_t* out) { writeText(out, host().inputString); }
void GetInputType(int& out) { out = typedText; }
void GetInputPoint(double&, double&, double&) {}  // nobody points here
void SetUserInputMode(int, bool, double, double, double) {}

void GetVar(const char16_t* name, char16_t* out, bool& ok) {
    const auto found = host().variables.find(SmallHost::upper(name));
    ok = found != host().variables.end();
    if (ok) writeText(out, found->second);
}
static void setVariable(const char16_t* name, const std::u16string& value, bool& ok) {
    const auto found = host().variables.find(SmallHost::upper(name));
    ok = found != host().variables.end() && (found->second[0] == u'"') == (value[0] == u'"');
    if (ok) found->second = value;
}
void SetVarInt(const char16_t* name, int value, bool& ok) {
    setVariable(name, fromUtf8(std::to_string(value)), ok);
}
void SetVarDbl(const char16_t* name, double value, bool& ok) {
    setVariable(name, fromUtf8(std::to_string(value)), ok);
}
void SetVarString(const char16_t* name, const char16_t* value, bool& ok) {
    setVariable(name, u"\"" + std::u16string(value) + u"\"", ok);
}
void Regen() {}
void Refresh() {}

void GetNumObjects(int& out) { out = static_cast<int>(host().drawing.size()); }
void GetObjectIndex(HostLong id, int& out) {
    if (host().object(id) != nullptr) out = id - 1;
}
void vmdbOpenObject(VmDbObject*& out, HostLong id, int) { out = host().object(id); }
void vmdbOpenObjectByIndex(VmDbObject*& out, int index, int) { out = host().object(index + 1); }
void GetNumBlocks(int& out) { out = 0; }
void vmdbOpenBlockByIndex(int, VmDbBlock*& out, int) { out = nullptr; }

void addLine(VmDbLine* line, HostLong) { host().add(std::unique_ptr<VmDbObject>(line)); }
void addPolyline(VmDb2DPolyline* polyline, HostLong) {
    auto ours = std::make_unique<VmDb2DPolyline>();
    ours->copyFrom(polyline);
    polyline->id = host().add(std::move(ours));
}
void updatePolyline(int id, int vertex, double x, double y) {
    VmDbObject* polyline = host().object(id);
    if (polyline == nullptr) return;
    if (vertex < 0) polyline->addPoint(mmPoint(x, y, 0));
    else if (vertex < polyline->points.count) polyline->points.getAt(vertex) = mmPoint(x, y, 0);
}
void setWorkingLayerAndLineType(const char16_t*, const char16_t*, int& out) { out = 0; }
// It has no place for values of others.
void addObjectExtDataInt(int, const char16_t*, int, bool) {}
void addObjectExtDataDouble(int, const char16_t*, double, bool) {}
void addObjectExtDataString(int, const char16_t*, const char16_t*, bool) {}

void addSelectionSet(int& out) {
    host().sets.emplace_back();
    out = static_cast<int>(host().sets.size());
}
void getSelectionSetLength(int& out, int number) {
    if (const auto* set = host().set(number)) out = static_cast<int>(set->size());
}
void addObjToSelectionSet(HostLong id, int number) {
    auto* set = host().set(number);
    if (set != nullptr && std::ranges::find(*set, id) == set->end()) set->push_back(id);
}
void removeObjFromSelectionSet(HostLong id, int number) {
    if (auto* set = host().set(number)) std::erase(*set, id);
}
void getObjFromSelectionSet(HostLong& out, int index, int number) {
    const auto* set = host().set(number);
    if (set != nullptr && index >= 0 && index < static_cast<int>(set->size()))
        out = (*set)[static_cast<std::size_t>(index)];
}
void addAllToSelectionSet(int number) {
    for (const auto& object : host().drawing) addObjToSelectionSet(object->id, number);
}
void addSelectedToSelectionSet(int number) {
    for (const HostLong id : host().selected) addObjToSelectionSet(id, number);
}

// --- The classes. Nothing is locked by opening here, so closing has nothing to do. ---

mmPoint::~mmPoint() = default;
VmDbRect::~VmDbRect() = default;
void VmDbPointArr::clear() { count = 0; }
mmPoint& VmDbPointArr::getAt(int index) { return points[index]; }

VmDbObject::VmDbObject() = default;
VmDbObject::~VmDbObject() { delete[] points.points; }
void VmDbObject::close() {}
void VmDbObject::copyFrom(const VmDbObject* other) {
    colour = other->colour;
    lineweight = other->lineweight;
    layerName = other->layerName;
    points.clear();
    for (int i = 0; i < other->points.count; ++i) addPoint(other->points.points[i]);
}
void VmDbObject::addPoint(mmPoint point) {
    append(points.points, points.count, points.room, point);
}
VmDbRect VmDbObject::getExtent(double, double) {
    if (points.count == 0) return {};
    const VmDbCircle* circle = VmDbCircle::cast(this);
    const double around = circle != nullptr ? circle->radius : 0;
    const mmPoint& first = points.getAt(0);
    VmDbRect rect(first.x - around, first.y - around, first.x + around, first.y + around);
    for (int i = 1; i < points.count; ++i) {
        const mmPoint& at = points.getAt(i);
        rect = {std::min(rect.left, at.x), std::min(rect.bottom, at.y), std::max(rect.right, at.x),
                std::max(rect.top, at.y)};
    }
    return rect;
}

VmDbLine::VmDbLine() { typeCode = vmDbLine; }
VmDbLine::~VmDbLine() = default;
void VmDbLine::close() {}
void VmDbLine::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbLine* VmDbLine::cast(VmDbObject* object) { return dynamic_cast<VmDbLine*>(object); }

VmDb2DPolyline::VmDb2DPolyline() { typeCode = vmDbLwPolyline; }
VmDb2DPolyline::~VmDb2DPolyline() { delete[] bulges.values; }
void VmDb2DPolyline::close() {}
void VmDb2DPolyline::copyFrom(const VmDbObject* other) {
    VmDbObject::copyFrom(other);
    const auto* polyline = dynamic_cast<const VmDb2DPolyline*>(other);
    if (polyline == nullptr) return;
    closed = polyline->closed;
    bulges.count = 0;
    for (int i = 0; i < polyline->bulges.count; ++i) addBulge(polyline->bulges.values[i]);
}
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

// Kinds that this drawing never holds; the module asks for them all the same.
VmDbArc::VmDbArc() { typeCode = vmDbArc; }
VmDbArc::~VmDbArc() = default;
void VmDbArc::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbArc* VmDbArc::cast(VmDbObject*) { return nullptr; }

VmDbText::VmDbText() { typeCode = vmDbText; }
VmDbText::~VmDbText() = default;
void VmDbText::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbText* VmDbText::cast(VmDbObject*) { return nullptr; }

VmDbBlockRef::VmDbBlockRef() { typeCode = vmDbInsert; }
VmDbBlockRef::~VmDbBlockRef() = default;
void VmDbBlockRef::copyFrom(const VmDbObject* other) { VmDbObject::copyFrom(other); }
VmDbBlockRef* VmDbBlockRef::cast(VmDbObject*) { return nullptr; }

VmDbBlock::VmDbBlock() = default;
VmDbBlock::~VmDbBlock() = default;
void VmDbBlock::close() {}
