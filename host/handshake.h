// The handshake: how a thread that evaluates LISP meets the host's user-interface thread.
// One idea: a fixed record is posted, and two spin waits order everything: one until the host has
// taken the record, one until it has answered.
// Tests: tests/host/handshake_test.cpp.
//
// On purpose: the waits are busy, without sleep and without a limit of time; a request that wants
// an answer is awaited even in direct mode, where it is not posted, and so for ever. (Ours: there the
// user can end the wait as any evaluation, interruption.h.)
#pragma once

#include "platform/window.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vlisp {

/// Window message that carries a HostRequest: WM_APP + 3.
inline constexpr unsigned hostRequestMessage = 32771;

enum class RequestKind : std::int32_t {
    CommandInput = 0,  ///< text for the host's command line; answered
    UserInput = 1,     ///< a prompt and the kind of input wanted; answered
    EvalDone = 2,      ///< an evaluation has ended; not answered
    Message = 3        ///< a line for the command line; not answered
};

/// The record exchanged with the host, in both directions. Its layout is fixed.
struct HostRequest {
    std::int32_t kind = 0;
    std::int32_t mode = 0;
    double x = 0;
    double y = 0;
    std::uint64_t reserved = 0;  ///< never written by the module
    bool hasBasePoint = false;
    std::uint8_t padding[3] = {};
    std::int32_t entityId = 0;
    std::int32_t count = 0;
    std::int32_t context = 0;
    char16_t inputText[300] = {};
    char16_t messageText[3000] = {};
};

static_assert(sizeof(bool) == 1 && sizeof(char16_t) == 2);
static_assert(offsetof(HostRequest, kind) == 0 && offsetof(HostRequest, mode) == 4);
static_assert(offsetof(HostRequest, x) == 8 && offsetof(HostRequest, y) == 16);
static_assert(offsetof(HostRequest, reserved) == 24 && offsetof(HostRequest, hasBasePoint) == 32);
static_assert(offsetof(HostRequest, entityId) == 36 && offsetof(HostRequest, count) == 40);
static_assert(offsetof(HostRequest, context) == 44 && offsetof(HostRequest, inputText) == 48);
static_assert(offsetof(HostRequest, messageText) == 648 && sizeof(HostRequest) == 6648);

/// What an input is to be, in a request; what was obtained, in a reply.
enum class InputMode : std::int32_t { text = 0, point = 1, selection = 3, object = 4 };

/// A text of at most 299 units in place: a second answer that comes too early cannot take it away
/// from who reads it.
class ReplyText {
  public:
    void assign(std::u16string_view text);
    operator std::u16string_view() const noexcept { return units_; }  // NOLINT: as a text
    friend bool operator==(const ReplyText& a, std::u16string_view b) noexcept {
        return std::u16string_view(a) == b;
    }

  private:
    char16_t units_[300] = {};
};

/// The module's copy of the host's last answer.
struct HostReply {
    [[nodiscard]] bool is(InputMode wanted) const noexcept {
        return mode == static_cast<std::int32_t>(wanted);
    }

    std::int32_t mode = 0;
    double x = 0;
    double y = 0;
    std::int32_t entityId = 0;
    std::int32_t count = 0;
    std::int32_t context = 0;
    ReplyText inputText;
};

/// The module-wide state of the handshake.
struct Handshake {
    /// The host's main frame window; fetched before each worker thread starts, while an earlier one
    /// may still post.
    std::atomic<platform::WindowHandle> mainWindow{nullptr};
    /// True from a request that wants an answer until OnHostReply.
    std::atomic<bool> waitingForReply{false};
    /// True while LISP is evaluated on the user-interface thread itself.
    std::atomic<bool> directMode{false};
    /// Ours: true while the module goes away. Nobody will take or answer any more, so nothing waits.
    std::atomic<bool> closing{false};
    HostReply reply;

    // The static records: for the end of a command-line evaluation, for all requests of input, and
    // for COMMAND.
    HostRequest evalDone;
    HostRequest userInput;
    HostRequest commandInput;
};

Handshake& handshake() noexcept;

/// Copies `text` into a record's field: cut to what fits, terminated, never inside a surrogate
/// pair.
template <std::size_t capacity>
void setField(char16_t (&field)[capacity], std::u16string_view text);

/// Sends a record and returns when the host has taken it. In direct mode a Message is shown at
/// once and everything else is dropped. The record must live until this returns.
void PostToHost(const HostRequest& request);

/// Spins until the host has answered.
void AwaitReply();

/// Sends a request that wants an answer, and waits for it. False when the wait was given up.
bool RequestAndWait(const HostRequest& request);

/// Asks the user through the shared record: `prompt`, cut to 299 units, and the kind of input that is
/// wanted; base point as it stands in the record. Null when the wait was given up.
const HostReply* askUser(InputMode mode, std::u16string_view prompt);

/// Takes the host's answer over into the reply and lets the waiting thread go on. Called on the
/// user-interface thread. Returns 1.
int OnHostReply(const HostRequest& record);

// --- details ---

void copyField(char16_t* field, std::size_t capacity, std::u16string_view text);

template <std::size_t capacity>
void setField(char16_t (&field)[capacity], std::u16string_view text) {
    copyField(field, capacity, text);
}

}  // namespace vlisp
