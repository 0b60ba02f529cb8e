// Message queue, evaluation thread, requests and the command line. See reference_host.h.
#include "refhost/console/reference_host.h"

#include "core/interruption.h"
#include "core/reader.h"
#include "host/exports.h"
#include "platform/text.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <ctime>
#include <thread>

namespace vlisp::refhost {
namespace {

ReferenceHost* theHost = nullptr;

enum InputMode : std::int32_t { typedText = 0, pickedPoint = 1, selection = 3, pickedObject = 4 };
constexpr std::int32_t selectionReference = 5;
constexpr std::int32_t nothingObtained = -1;

// The module's commands that it exports under their names, as a loader would find them.
struct ExportedCommand {
    std::u16string_view name;
    int (*run)(int*);
    bool evaluates;
};

constexpr ExportedCommand exportedCommands[] = {
    {u"AppLoad", AppLoad, true},
    {u"MnuLoad", [](int*) { return MnuLoad(); }, true},
    {u"LispEdit", LispEdit, false},
    {u"LispPoly", LispPoly, false},
    {u"TestLine", [](int*) { return TestLine(); }, false},
};

const ExportedCommand* findExported(std::u16string_view name) {
    for (const ExportedCommand& command : exportedCommands)
        if (sameName(command.name, name)) return &command;
    return nullptr;
}

// A name without the marks that programs put in front of it: _ for its English name, . for the
// host's own command, - for the one without a dialog.
std::u16string_view plainName(std::u16string_view name) {
    name.remove_prefix(std::min(name.find_first_not_of(u"_.-'"), name.size()));
    return name;
}

std::u16string_view takeWord(std::u16string_view& rest) {
    const std::size_t begin = std::min(rest.find_first_not_of(u" \t"), rest.size());
    rest.remove_prefix(begin);
    const std::size_t end = std::min(rest.find_first_of(u" \t"), rest.size());
    const std::u16string_view word = rest.substr(0, end);
    rest.remove_prefix(end);
    return word;
}

}  // namespace

ReferenceHost::ReferenceHost(Sink shown, Answers& answers)
    : shown_(std::move(shown)), answers_(&answers),
      commandLine_(file, [this](std::u16string_view text) { show(text); }) {
    assert(theHost == nullptr && "one host at a time");
    theHost = this;
    provideVariables();
    commandLine_.setRegistered([this] {
        std::vector<std::pair<std::u16string, std::u16string>> all;
        for (const auto& [name, command] : commands_)
            all.emplace_back(name, command.lispText.empty() ? command.description
                                                            : u"Evaluates " + command.lispText);
        return all;
    });
}

ReferenceHost::~ReferenceHost() { theHost = nullptr; }

ReferenceHost& ReferenceHost::current() noexcept {
    assert(theHost != nullptr && "no host lives");
    return *theHost;
}

// --- Variables that the host computes ---

void ReferenceHost::provideVariables() {
    Variables& variables = drawing.variables;
    // Julian day and fraction, local time: the day count of 1970-01-01 is 2440588 (it begins at
    // midnight here, as drawings have it).
    variables.provide(u"DATE", []() -> VariableValue {
        const std::tm parts = platform::localTime();
        using namespace std::chrono;
        const sys_days day = year(parts.tm_year + 1900) / (parts.tm_mon + 1) / parts.tm_mday;
        const auto seconds =
            static_cast<double>(day.time_since_epoch().count() * 86400LL + parts.tm_hour * 3600 +
                                parts.tm_min * 60 + parts.tm_sec);
        return 2440588 + seconds / 86400;
    });
    // The same as digits: YYYYMMDD.HHMMSS.
    variables.provide(u"CDATE", []() -> VariableValue {
        const std::tm parts = platform::localTime();
        return (parts.tm_year + 1900) * 1e4 + (parts.tm_mon + 1) * 1e2 + parts.tm_mday +
               parts.tm_hour / 1e2 + parts.tm_min / 1e4 + parts.tm_sec / 1e6;
    });
    variables.provide(u"MILLISECS", []() -> VariableValue {
        return static_cast<int>(platform::tickCount() & 0x7fffffffU);
    });
    variables.provide(u"CMDNAMES", [this]() -> VariableValue {
        if (commandLine_.isActive()) return platform::fromUtf8(commandLine_.command()->name);
        return moduleCommand_ ? upperCased(moduleCommand_->name) : std::u16string();
    });
    variables.provide(u"CMDACTIVE", [this]() -> VariableValue {
        return commandLine_.isActive() || moduleCommand_ ? 1 : 0;
    });
}

// --- Threads and messages ---

void ReferenceHost::evaluate(const std::function<void()>& work) {
    assert(ownEvaluations_ == 0 && "one evaluation at a time");
    drawing.beginGroup();
    ++ownEvaluations_;
    unansweredNow_ = 0;
    platform::withStack(platform::evaluationStack, work);
    --ownEvaluations_;
    interruption::take();  // a Ctrl-C that came too late is not for the next text
    drawing.endGroup();
}

void ReferenceHost::serveUntil(const std::function<bool()>& done) {
    while (!done()) {
        const Posted posted = nextMessage();
        if (posted.message == hostRequestMessage)
            serve(*static_cast<const HostRequest*>(posted.record));
    }
}

// While evaluate() works, nobody takes messages off the queue: they are served as they come. Those of
// the module's own threads wait there for the user-interface thread.
void ReferenceHost::post(unsigned message, const void* record) {
    if (std::this_thread::get_id() == userInterface_ && ownEvaluations_ > 0) {
        if (message == hostRequestMessage) serve(*static_cast<const HostRequest*>(record));
        return;
    }
    {
        const std::lock_guard lock(queueGuard_);
        queue_.push_back({message, record});
        queued_.store(queue_.size(), std::memory_order_release);
    }
    queueFilled_.notify_one();
}

ReferenceHost::Posted ReferenceHost::nextMessage() {
    // A program that prints line upon line posts again at once: look a little before sleeping.
    constexpr int looks = 200;
    for (int i = 0; i < looks && queued_.load(std::memory_order_acquire) == 0; ++i)
        std::this_thread::yield();
    std::unique_lock lock(queueGuard_);
    queueFilled_.wait(lock, [this] { return !queue_.empty(); });
    const Posted posted = queue_.front();
    queue_.pop_front();
    queued_.store(queue_.size(), std::memory_order_release);
    return posted;
}

// A line is shown before the message counts as taken, so that lines stay in order even where the
// evaluation thread shows the next one itself. What is answered is copied first: the record is the
// sender's again once it has been taken.
void ReferenceHost::serve(const HostRequest& request) {
    if (onRequest) onRequest(request);
    switch (static_cast<RequestKind>(request.kind)) {
    case RequestKind::Message:
        show(request.messageText);
        taken_.store(true, std::memory_order_release);
        return;
    case RequestKind::EvalDone:
        // The evaluations of evaluate() tell their results to whoever asked for them.
        if (ownEvaluations_ == 0) {
            ++ended_;
            takeResult(request.messageText);
        }
        taken_.store(true, std::memory_order_release);
        return;
    case RequestKind::CommandInput:
    case RequestKind::UserInput: break;
    }
    const HostRequest copy = request;
    taken_.store(true, std::memory_order_release);
    HostRequest reply;
    if (copy.kind == static_cast<std::int32_t>(RequestKind::CommandInput)) {
        ++commandPieces_;
        guarded([&] { takeCommandInput(copy); });
        reply.mode = copy.mode;
        answers_->takeReply(copy, reply);
    } else if (!answers_->takeReply(copy, reply)) {
        reply = cancelledReply(copy);
        guarded([&] { reply = replyTo(copy); });
        reply.context = context_;
    }
    if (copy.kind == static_cast<std::int32_t>(RequestKind::CommandInput) && reply.context == 0)
        reply.context = context_;
    context_ = reply.context;
    VelmoraExtUIEntry(&reply);
}

// Calls `work`; where memory ends, the evaluation that runs ends, or the line that was typed.
template <class Work> void ReferenceHost::guarded(Work work) {
    try {
        work();
    } catch (const std::bad_alloc&) {
        reserve_.reset();
        if (ownEvaluations_ > 0 || announced_ != ended_)
            interruption::request(interruption::Reason::outOfMemory);
        else evaluationError_ = messages::outOfMemory;
    }
}

// A result is shown; an error is kept for whoever had the evaluation started.
void ReferenceHost::takeResult(std::u16string_view text) {
    if (text.starts_with(u";error; ")) evaluationError_ = text;
    else if (!text.empty()) show(text);
}

// --- Requests of input ---

// Asks for a line; false when there is none, and then the request is cancelled.
ReferenceHost::Asked ReferenceHost::ask(const HostRequest& request, const std::u16string& prompt,
                                        bool continued, std::u16string& line) {
    if (!typedAhead_.empty()) {
        line = std::move(typedAhead_.front());
        typedAhead_.pop_front();
        return Asked::line;
    }
    switch (answers_->read(prompt, continued, line)) {
    case Answers::Outcome::line: return Asked::line;
    case Answers::Outcome::interrupted:
        interruption::request(interruption::Reason::cancelled);
        return Asked::cancelled;
    case Answers::Outcome::end: break;
    }
    if (continued) return Asked::end;
    // A program is told once that nobody answers; one that asks again is ended.
    if (unansweredNow_++ > 0) interruption::request(interruption::Reason::cancelled);
    if (!unanswered_) unanswered_ = request.messageText;
    return Asked::end;
}

// The reply by which every input function gives nil. A distance, which takes any answer, is 0.0.
HostRequest ReferenceHost::cancelledReply(const HostRequest& request) {
    HostRequest reply;
    reply.mode = request.mode == pickedPoint ? typedText : nothingObtained;
    return reply;
}

HostRequest ReferenceHost::replyTo(const HostRequest& request) {
    if (request.mode == selection) return selectionReply(request);
    std::u16string line;
    if (ask(request, request.messageText, false, line) != Asked::line)
        return cancelledReply(request);
    if (request.mode == pickedObject) return objectReply(line);
    HostRequest reply;
    reply.mode = typedText;
    setField(reply.inputText, line);
    if (request.mode != pickedPoint) return reply;
    const mmPoint base =
        request.hasBasePoint ? mmPoint(request.x, request.y, 0) : lastPoint(drawing);
    reply.x = base.x;
    reply.y = base.y;
    if (const auto point = pointNamedBy(line, base)) {
        setLastPoint(drawing, *point);
        reply.mode = pickedPoint;
        reply.x = point->x;
        reply.y = point->y;
    }
    return reply;
}

HostRequest ReferenceHost::selectionReply(const HostRequest& request) {
    Selection chosen(drawing, request.messageText);
    const auto tell = [this](std::u16string_view text) { show(text); };
    std::u16string line;
    for (bool continued = false;; continued = true) {
        const Asked asked = ask(request, chosen.prompt(), continued, line);
        // Where the answers end, what they have chosen is the selection.
        if (asked == Asked::end && !chosen.empty()) break;
        if (asked != Asked::line) {
            if (asked == Asked::end && continued && !unanswered_) unanswered_ = request.messageText;
            return cancelledReply(request);
        }
        if (chosen.feed({line}, tell)) break;
    }
    HostRequest reply;
    reply.mode = selection;
    reply.count = static_cast<std::int32_t>(chosen.take().size());
    return reply;
}

HostRequest ReferenceHost::objectReply(const std::u16string& line) {
    HostRequest reply;
    reply.mode = pickedObject;
    HostLong id = -1;
    if (const auto point = pointNamedBy(line, lastPoint(drawing))) {
        setLastPoint(drawing, *point);
        reply.x = point->x;
        reply.y = point->y;
        id = drawing.nearest({point->x, point->y}, pickReach(drawing));
    } else if (!line.empty() && std::ranges::all_of(line, isDigit)) {
        id = integerAtFront(line);
        if (const ObjectView object = drawing.findLive(id)) {
            const Point2 at = pointOn(*object);
            reply.x = at.x;
            reply.y = at.y;
        } else {
            id = -1;
        }
    }
    if (id >= 0) {
        reply.count = 1;
        reply.entityId = id;
    }
    return reply;
}

// A piece that COMMAND sends. A backslash leaves the answer to the user.
void ReferenceHost::takeCommandInput(const HostRequest& request) {
    Line line{request.inputText, request.mode == selectionReference};
    if (!commandLine_.isActive() && moduleCommand_ && moduleCommand_->evaluates) {
        refuse(u"A command that evaluates LISP cannot go on while LISP is evaluated.");
        cancelCommand();
    }
    const bool waits = commandLine_.isActive() || moduleCommand_;
    if (!waits) {
        if (!line.text.empty()) startCommand(line.text, true);
        return;
    }
    if (line.text == u"\\") answerPause();
    else feed(line);
}

// The user answers the question that waits: again after a mistake, and until the answer is whole.
void ReferenceHost::answerPause() {
    for (bool again = true; again;) {
        const int mistakesBefore = commandLine_.mistakes();
        HostRequest asked;
        setField(asked.messageText, prompt());
        std::u16string line;
        if (ask(asked, asked.messageText, false, line) != Asked::line) {
            cancelCommand();
            return;
        }
        feed({line});
        again = commandLine_.mistakes() > mistakesBefore || commandLine_.isHalfway();
    }
}

// --- The command line ---

std::u16string ReferenceHost::prompt() const {
    return commandLine_.isActive() ? commandLine_.prompt() : modulePrompt_;
}

bool ReferenceHost::wantsPlainText() const {
    if (commandLine_.isActive()) return commandLine_.wanted() == InputKind::text;
    return moduleCommand_.has_value() && !pointExpected_;
}

void ReferenceHost::feed(const Line& line) {
    if (commandLine_.isActive()) commandLine_.feed(line);
    else if (moduleCommand_) stepModuleCommand(line.text);
}

void ReferenceHost::answer(const Line& line) {
    guarded([&] { feed(line); });
}

void ReferenceHost::enter(const std::u16string& line) {
    unansweredNow_ = 0;
    guarded([&] { enterUnguarded(line); });
    typedAhead_.clear();
}

void ReferenceHost::enterUnguarded(const std::u16string& line) {
    if (commandLine_.isActive() || moduleCommand_) {
        // A name may have blanks in it; whoever waits for one, or for a text, gets the line.
        const bool isName = commandLine_.isActive() && commandLine_.wanted() == InputKind::word;
        const bool isEmpty = line.find_first_not_of(u" \t") == std::u16string::npos;
        if (isName || isEmpty || wantsPlainText()) feed({line});
        else feedWords(line);
        return;
    }
    std::u16string_view rest = line;
    std::u16string_view name = takeWord(rest);
    if (name.empty()) name = lastCommand_;
    // A command of LISP asks while it is being started.
    for (std::u16string_view words = rest, word = takeWord(words); !word.empty();
         word = takeWord(words))
        typedAhead_.emplace_back(word);
    if (name.empty() || !startCommand(name, false)) return;
    typedAhead_.clear();
    feedWords(rest);
}

// What stands on a line answers the questions that wait, a word each; where a line is wanted as it is,
// all of it.
void ReferenceHost::feedWords(std::u16string_view rest) {
    while (!prompt().empty() && rest.find_first_not_of(u" \t") != std::u16string_view::npos) {
        if (wantsPlainText()) {
            rest.remove_prefix(rest.find_first_not_of(u" \t"));
            feed({std::u16string(rest)});
            return;
        }
        feed({std::u16string(takeWord(rest))});
    }
}

void ReferenceHost::refuse(std::u16string_view why) {
    ++refused_;
    show(why);
}

bool ReferenceHost::startCommand(std::u16string_view typed, bool fromLisp) {
    // A full name comes first, then what programs have registered, then short names; a name as it is
    // typed comes before the name without its marks.
    const std::u16string asTyped = upperCased(typed);
    const std::u16string plain = upperCased(plainName(typed));
    const CommandRow* row = findCommandByName(asTyped);
    const RegisteredCommand* registered = row == nullptr ? findRegistered(asTyped) : nullptr;
    if (row == nullptr && registered == nullptr) row = findCommandByName(plain);
    if (row == nullptr && registered == nullptr) registered = findRegistered(plain);
    if (row == nullptr && registered == nullptr) row = findCommand(plain.empty() ? asTyped : plain);
    if (row == nullptr && registered == nullptr) {
        refuse(u"Unknown command " + asTyped + u". HELP lists all.");
        return false;
    }
    if (!fromLisp) lastCommand_ = asTyped;
    if (row != nullptr) commandLine_.start(*row);
    else startRegistered(*registered, fromLisp);
    return true;
}

const RegisteredCommand* ReferenceHost::findRegistered(const std::u16string& name) const {
    const auto found = commands_.find(name);
    return found == commands_.end() ? nullptr : &found->second;
}

void ReferenceHost::startRegistered(const RegisteredCommand& command, bool fromLisp) {
    const ExportedCommand* exported = findExported(command.name);
    const bool evaluates = exported == nullptr ? !command.lispText.empty() : exported->evaluates;
    if (fromLisp && evaluates)
        return refuse(command.name + u" cannot run while LISP is evaluated.");
    if (command.lispText.empty() && exported == nullptr)
        return refuse(command.name + u" is a command that this host does not have.");
    if (exported != nullptr) {
        drawing.beginGroup();
        pointExpected_ = false;
        callModuleCommand({exported->run, 1, exported->evaluates, exported->name});
        return;
    }
    drawing.beginGroup();
    inputString = command.lispText;
    int step = 1;
    VelmoraExtDynamicCmdEntry(&step);
    waitForEvaluations();
    drawing.endGroup();
}

void ReferenceHost::stepModuleCommand(const std::u16string& line) {
    inputString = line;
    inputIsPoint = false;
    if (pointExpected_) {
        if (const auto point = pointNamedBy(line, lastPoint(drawing))) {
            setLastPoint(drawing, *point);
            // Coordinates go as they were typed; what is relative, as the point that it means.
            inputIsPoint = line.find_first_of(u"@<") != std::u16string::npos;
            inputPoint = *point;
        }
    }
    const ModuleCommand command = *moduleCommand_;
    moduleCommand_.reset();
    callModuleCommand(command);
}

// Calls a command of the module; it has ended when it leaves its step as it was.
void ReferenceHost::callModuleCommand(ModuleCommand command) {
    const int before = command.step;
    const int announcedBefore = announced_;
    command.run(&command.step);
    // A command that LISP runs with COMMAND is part of an evaluation, which ends after it.
    if (announced_ != announcedBefore) waitForEvaluations();
    if (command.step != before) {
        moduleCommand_ = command;
        return;
    }
    if (!moduleCommand_) modulePrompt_.clear();  // what it has evaluated may have left another one
    drawing.endGroup();
}

void ReferenceHost::waitForEvaluations() {
    if (announced_ == ended_) return;
    unansweredNow_ = 0;
    serveUntil([this] { return announced_ == ended_; });
    interruption::take();
}

bool ReferenceHost::cancelCommand() {
    if (commandLine_.isActive()) {
        commandLine_.cancel();
        return true;
    }
    if (!moduleCommand_) return false;
    moduleCommand_.reset();
    modulePrompt_.clear();
    drawing.endGroup();
    return true;
}

bool ReferenceHost::startExtension() {
    std::uint16_t first = 0;
    std::uint16_t second = 0;
    const bool accepted = VelmoraExtEntryPoint(&first, &second) == 1;
    announced_ = ended_ = 0;  // start-up fetches the window too
    return accepted;
}

// --- What the functions of the bridge do ---

void ReferenceHost::show(std::u16string_view text) {
    const std::lock_guard lock(showing_);
    shown_(text);
}

void ReferenceHost::warn(const char16_t* text) { show(text); }

bool ReferenceHost::chooseFile(const platform::FileDialog& /*dialog*/, char16_t* path,
                               std::size_t capacity) {
    std::u16string line;
    if (answers_->read(u"Path of the file, or nothing to cancel: ", false, line) !=
            Answers::Outcome::line ||
        line.empty())
        return false;
    copyField(path, capacity, line);
    return true;
}

void ReferenceHost::addCommand(RegisteredCommand command) {
    const std::lock_guard lock(showing_);
    // A menu's button names a command that is there already.
    if (command.lispText.empty() && commands_.contains(upperCased(command.name))) return;
    commands_.insert_or_assign(upperCased(command.name), std::move(command));
}

}  // namespace vlisp::refhost
