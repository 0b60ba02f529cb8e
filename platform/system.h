// The operating system, by intention.
// One idea: one portable header, one source per system (system_posix.cpp), chosen by the build.
// Tests: tests/platform/system_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace vlisp::platform {

/// Milliseconds since the system started, modulo 2^32.
std::uint32_t tickCount() noexcept;

/// Bytes of memory that the machine has.
std::size_t physicalMemory() noexcept;

/// True when the calling thread's stack is nearly used up: what remains is enough to finish the
/// work at hand, not to go deeper. Cheap enough to ask at every call.
bool stackIsLow() noexcept;

/// Bytes of stack that an evaluation thread asks for, and the most that an evaluation uses.
/// Reserved as address space only; what is never reached costs nothing.
inline constexpr std::size_t evaluationStack = std::size_t{VLISP_EVALUATION_STACK_MB} << 20;

/// A running thread; joined when destroyed.
class Worker {
  public:
    /// Starts `work` on a thread with about `stackBytes` of stack, with less when the system
    /// refuses that much. Throws std::system_error when no thread can be had at all. `work` must
    /// not throw.
    Worker(std::size_t stackBytes, std::function<void()> work);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker();

    /// Waits for the end of the work.
    void join() noexcept;

  private:
    struct State;
    State* state_;
};

/// Calls `work` on this thread if at least `stackBytes` of its stack are left, otherwise on
/// another thread with that much (or what the system grants), and waits. An exception of `work` reaches the caller.
void withStack(std::size_t stackBytes, const std::function<void()>& work);

/// A window of the host that takes posted messages. On systems without such windows the host
/// implements this and hands out its address as the window handle.
class MessageWindow {
  public:
    MessageWindow() = default;
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;
    virtual ~MessageWindow() = default;

    /// Puts a message on the queue of the window's thread; any thread may call. The record must
    /// stay as it is until the host says that it has taken the message.
    virtual void post(unsigned message, const void* record) = 0;
};

/// Handle of a window of the host.
using WindowHandle = MessageWindow*;

/// Posts `message` with `record` to `window` and returns at once; null is ignored.
void postToMainWindow(WindowHandle window, unsigned message, const void* record);

/// The parts of a path: drive (with its colon), directory (with its last separator), file name and
/// extension (with its dot). Each part may be empty.
struct PathParts {
    std::u16string drive, directory, name, extension;
};
PathParts splitPath(std::u16string_view path);

/// The whole of a file as bytes. Returns false, and says why in `reason`, when it cannot be read or
/// is larger than 1 GiB.
bool readFile(const std::string& path, std::string& bytes, std::string& reason);

}  // namespace vlisp::platform
