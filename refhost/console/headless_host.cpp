// Message queue, evaluation thread and the functions of the bridge. See headless_host.h.
#include "refhost/console/headless_host.h"

#include "host/bridge.h"

#include <cassert>
#include <thread>

namespace vlisp {
namespace {

HeadlessHost* theHost = nullptr;

// Our own message: the evaluation thread has done its work.
constexpr unsigned workDone = hostRequestMessage + 1;

}  // namespace

HeadlessHost::HeadlessHost(Sink shown, Sink evalDone)
    : shown_(std::move(shown)), evalDone_(std::move(evalDone)) {
    assert(theHost == nullptr && "one host at a time");
    theHost = this;
    worker_ = std::make_unique<platform::Worker>(platform::evaluationStack,
                                                 [this] { evaluationThread(); });
}

HeadlessHost::~HeadlessHost() {
    {
        const std::lock_guard lock(workGuard_);
        stopping_ = true;
    }
    workGiven_.notify_one();
    worker_.reset();
    theHost = nullptr;
}

HeadlessHost& HeadlessHost::current() noexcept {
    assert(theHost != nullptr && "no host lives");
    return *theHost;
}

void HeadlessHost::evaluationThread() {
    for (;;) {
        std::function<void()> work;
        {
            std::unique_lock lock(workGuard_);
            workGiven_.wait(lock, [this] { return stopping_ || work_; });
            if (!work_) return;
            work.swap(work_);
        }
        work();
        post(workDone, nullptr);
    }
}

void HeadlessHost::evaluate(std::function<void()> work) {
    {
        const std::lock_guard lock(workGuard_);
        work_ = std::move(work);
    }
    workGiven_.notify_one();
    for (;;) {
        const Posted posted = nextMessage();
        if (posted.message == workDone) return;
        if (posted.message == hostRequestMessage)
            serve(*static_cast<const HostRequest*>(posted.record));
    }
}

void HeadlessHost::post(unsigned message, const void* record) {
    {
        const std::lock_guard lock(queueGuard_);
        queue_.push_back({message, record});
        queued_.store(queue_.size(), std::memory_order_release);
    }
    queueFilled_.notify_one();
}

HeadlessHost::Posted HeadlessHost::nextMessage() {
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
// evaluation thread shows the next one itself.
void HeadlessHost::serve(const HostRequest& request) {
    const auto kind = static_cast<RequestKind>(request.kind);
    if (kind == RequestKind::Message) show(request.messageText);
    if (kind == RequestKind::EvalDone) evalDone_(request.messageText);
    taken_.store(true, std::memory_order_release);
    if (kind == RequestKind::CommandInput || kind == RequestKind::UserInput) {
        // There is nobody to ask: an empty line is the answer.
        OnHostReply(HostRequest());
    }
}

void HeadlessHost::show(std::u16string_view text) {
    const std::lock_guard lock(showing_);
    shown_(text);
}

void HeadlessHost::addCommand(std::u16string name, std::u16string lispText) {
    const std::lock_guard lock(showing_);
    commands_.insert_or_assign(std::move(name), std::move(lispText));
}

}  // namespace vlisp

// The functions of the bridge.

void AddCommand(const char16_t* name, const char16_t* lispText, const char16_t* /*description*/,
                const char16_t* /*moduleName*/, void* /*instance*/, unsigned /*number*/) {
    vlisp::HeadlessHost::current().addCommand(name, lispText);
}

void DisplayMsg(const char16_t* text) { vlisp::HeadlessHost::current().show(text); }

void GetMainFrameWindow(vlisp::platform::WindowHandle& window) {
    window = &vlisp::HeadlessHost::current();
}

void ClearThreadMsgPosted() { vlisp::HeadlessHost::current().clearTaken(); }

void IsThreadMsgPosted(bool& taken) {
    taken = vlisp::HeadlessHost::current().isTaken();
    // The caller asks again and again; let the thread that it waits for have the processor.
    if (!taken) std::this_thread::yield();
}
