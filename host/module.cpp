// Putting the module together. See module.h.
#include "host/module.h"

#include "builtins/registry.h"
#include "core/interruption.h"
#include "core/reader.h"
#include "drawing/builtins.h"
#include "drawing/tables.h"
#include "host/control.h"
#include "host/host_calls.h"
#include "host/input.h"
#include "host/output.h"
#include "host/typed_text.h"
#include "resources/prelude.h"

#include <exception>
#include <thread>

namespace vlisp {
namespace {

constexpr std::size_t lispTextCapacity = 300;

std::unique_ptr<Module>& theModule() {
    handshake();  // made first, so that it outlives the module
    static std::unique_ptr<Module> module;
    return module;
}

void*& theInstance() noexcept {
    static void* instance = platform::moduleInstance();
    return instance;
}

HostRequest requestOf(RequestKind kind, std::u16string_view text) {
    HostRequest request;
    request.kind = static_cast<std::int32_t>(kind);
    setField(request.messageText, text);
    return request;
}

void registerAll(Environment& global) {
    std::vector<ProvidedBuiltin> provided;
    for (const auto builtins :
         {consoleBuiltins(), inputBuiltins(), controlBuiltins(), drawingBuiltins()})
        provided.insert(provided.end(), builtins.begin(), builtins.end());
    RegisterBuiltins(global, provided);
}

struct CommandRow {
    const char16_t* name;
    const char16_t* description;
    unsigned number;
};

constexpr CommandRow commandRows[] = {
    {u"AppLoad", u"Load LISP file .lsp", 42771},
    {u"MnuLoad", u"Load menus and toolbars", 0},
    {u"LispEdit", u"Edit LISP file .lsp", 42772},
    {u"LispPoly", u"Test polyline", 0},
    {u"TestLine", u"Test line", 0},
};

// Version texts are numbers separated by points; the first counts, and there must be a second.
bool isAccepted(const std::u16string& version) {
    const std::vector<std::u16string> numbers = SplitText(version, u".");
    return numbers.size() >= 2 && integerAtFront(numbers[0]) >= 2;
}

// The body of a command-line evaluation's thread.
void evaluateLine(InterpreterSession& session, std::u16string text) {
    session.EvalString(text);
    HostRequest& done = handshake().evalDone;
    setField(done.messageText, text);
    done.mode = 0;
    done.kind = static_cast<std::int32_t>(RequestKind::EvalDone);
    PostToHost(done);
}

}  // namespace

void HandshakePort::addCommand(std::u16string_view name, std::u16string_view lispText) {
    hostAddCommand(std::u16string(name).c_str(), std::u16string(lispText).c_str(), u"",
                   moduleFileName, moduleInstance(), 0);
}

void HandshakePort::sendMessage(std::u16string_view text) {
    PostToHost(requestOf(RequestKind::Message, text));
}

void HandshakePort::sendEvalDone(std::u16string_view text) {
    PostToHost(requestOf(RequestKind::EvalDone, text));
}

Module::Module() : session_({port_, registerAll, preludeText()}) {
    handshake().closing = false;
    handshake().waitingForReply = false;
    handshake().reply.count = 0;
    rewindBlockTable();
    session_.StartInterpreter(platform::tickCount());
}

Module::~Module() {
    if (evaluations_.empty()) return;
    handshake().closing = true;
    // An evaluation takes the request when it ends; the next one needs its own.
    for (const Evaluation& evaluation : evaluations_)
        while (!evaluation.ended) {
            interruption::request(interruption::Reason::cancelled);
            std::this_thread::yield();
        }
    evaluations_.clear();
    // What was not taken in time leads to records that will have gone.
    platform::takeBackPosted(handshake().mainWindow, hostRequestMessage);
    interruption::take();
}

void Module::fetchMainWindow() { handshake().mainWindow = hostGetMainFrameWindow(); }

void Module::startEvaluation(std::function<void()> evaluation) {
    std::erase_if(evaluations_, [](const Evaluation& earlier) { return earlier.ended.load(); });
    fetchMainWindow();
    Evaluation& started = evaluations_.emplace_back();
    try {
        started.worker = std::make_unique<platform::Worker>(
            platform::evaluationStack, [this, &started, work = std::move(evaluation)] {
                {
                    const std::lock_guard one(evaluating_);
                    try {
                        work();
                    } catch (const std::exception&) {
                        // No memory even to tell what has become of it.
                        port_.sendEvalDone(messages::outOfMemory);
                    }
                }
                started.ended = true;
            });
    } catch (const std::exception&) {
        // No thread is to be had: told as the end of an evaluation, without waiting on this thread
        // for itself.
        evaluations_.pop_back();
        HostRequest& done = handshake().evalDone;
        done = requestOf(RequestKind::EvalDone, messages::outOfMemory);
        platform::postToMainWindow(handshake().mainWindow, hostRequestMessage, &done);
    }
}

bool startModule(std::uint16_t& first, std::uint16_t& second) {
    Module::fetchMainWindow();  // for the message box and the dialog
    const std::u16string version = textFromHost(hostTextRoom, hostGetVersion);
    if (!isAccepted(version)) {
        platform::warn(handshake().mainWindow,
                       u"Warning: VelmoraLispExtension requires Velmora 2017 (v2.0) or later!");
        return false;
    }
    first = 40;
    second = 33;
    for (const CommandRow& row : commandRows)
        hostAddCommand(row.name, u"", row.description, moduleFileName, moduleInstance(),
                       row.number);
    stopModule();
    theModule() = std::make_unique<Module>();
    return true;
}

Module* currentModule() noexcept { return theModule().get(); }

void stopModule() { theModule().reset(); }

void abandonModule() noexcept {
    // NOLINTNEXTLINE(bugprone-unused-return-value): nobody will delete it
    static_cast<void>(theModule().release());
}

void* moduleInstance() noexcept { return theInstance(); }

void setModuleInstance(void* instance) noexcept { theInstance() = instance; }

int runDynamicCommand(int& step) {
    Module* module = currentModule();
    if (step <= 1 && module != nullptr) {
        std::u16string text = textFromHost(lispTextCapacity, hostGetInputString);
        module->startEvaluation(
            [module, text = std::move(text)] { evaluateLine(module->session(), text); });
    }
    ++step;
    return 1;
}

int evaluateForHost(const char16_t* expression, char16_t* result, int mode) {
    std::u16string text = fitted(expression, lispTextCapacity);
    std::u16string printed;
    Module* module = currentModule();
    if (module == nullptr) {
        text = u"nil";
    } else if (mode == 0) {
        module->session().EvalStringToPoint(text, printed);
    } else if (mode == 4) {
        module->session().EvalStringToFlatList(text, printed);
    } else if (mode == 5) {
        module->session().EvalStringToText(text, printed);
    } else {
        printed = module->session().EvalString(text) ? text : u"nil";
    }
    copyField(result, lispTextCapacity, text);
    hostDisplayMsg(printed.c_str());
    return 1;
}

}  // namespace vlisp
