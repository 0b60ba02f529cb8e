// The operating system, by intention.
// One idea: one portable header, one source per system (system_posix.cpp, system_windows.cpp), chosen by
// the build. What is done to windows of the host is a source of its own, for it depends on the host.
// Tests: tests/platform/system_test.cpp, tests/platform/replace_file_test.cpp.
#pragma once

#include "platform/window.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace vlisp::platform {

/// Milliseconds since the system started, modulo 2^32.
std::uint32_t tickCount() noexcept;

/// The time of day and the date now, where the user is.
std::tm localTime() noexcept;

/// Bytes of memory that the machine has.
std::size_t physicalMemory() noexcept;

/// Zeroed memory for something large that will be filled: in large pages where the system has them,
/// and taken from the machine only as it is written to. Null when there is none.
void* allocateBlock(std::size_t bytes) noexcept;
/// The block with another size and the same contents, moved perhaps; what is new is zero. Null, and
/// the block as it was, when there is no memory.
void* resizeBlock(void* block, std::size_t bytes, std::size_t newBytes) noexcept;
void freeBlock(void* block, std::size_t bytes) noexcept;

/// When memory is taken from the machine: as it is written to, or all at once, which is cheaper for
/// what will soon be written to from end to end.
enum class Pages : std::uint8_t { whenTouched, now };

/// Zeroed memory at an address that is a multiple of `alignment`, a power of two and at least a
/// page; it stays until the program ends. Null when there is none.
void* allocateAligned(std::size_t bytes, std::size_t alignment, Pages pages) noexcept;
/// Gives the machine back what lies in whole pages of such memory; they may be written to again, and
/// until then what they hold is anything.
void forgetPages(void* memory, std::size_t bytes) noexcept;

/// All threads of this process allocate from one heap, which grows by large steps; to be called
/// before there is a second thread. A heap of each thread's own would grow page by page, with a
/// system call each. For programs whose threads take turns.
void shareOneHeap() noexcept;

/// Memory that holds a copy of these instructions of the processor, can be executed and not
/// written. Null when there is none or the system forbids it.
std::byte* allocateCode(const void* instructions, std::size_t bytes) noexcept;
void freeCode(std::byte* code, std::size_t bytes) noexcept;

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

/// Calls `work` on the stack that this thread has if at least `stackBytes` of it are left, otherwise
/// on a stack with that much, or what the system grants. An exception of `work` reaches the caller.
/// Throws std::system_error when no stack at all is to be had.
void withStack(std::size_t stackBytes, const std::function<void()>& work);

/// Posts `message` with `record` to `window` and returns at once; null is ignored.
void postToMainWindow(WindowHandle window, unsigned message, const void* record);

/// Takes back what was posted as `message` and nobody has received. On the window's own thread only, and
/// only from windows of the system: other hosts throw their queues away themselves.
void takeBackPosted(WindowHandle window, unsigned message);

/// Shows a message box with a warning in front of `window`; without a window the text goes to the
/// standard error stream.
void warn(WindowHandle window, const char16_t* text);

/// The file that the user chooses in a dialog of `window`; empty when the user cancels or there is
/// no window.
std::u16string chooseFile(WindowHandle window, const FileDialog& dialog);

/// Starts the user's text editor with the file at `path`, or without a file when it is empty, and
/// does not look what becomes of it. It is waited for only when `window` uses a terminal.
void openInEditor(WindowHandle window, const std::u16string& path);

/// Starts $VISUAL, $EDITOR or what the system has for that (the desktop's opener, the editor of
/// Windows) with the file at `path`, or without a file when it is empty.
void startEditor(const std::u16string& path, bool isWaitedFor);

/// Path of the program that runs; empty when it cannot be found.
std::u16string programPath();

/// A function of a module, to be cast to what the module's header says.
using ModuleFunction = void (*)();

/// What the module (a part of the program that is loaded when it is needed) in the file at `path`
/// (UTF-8) exports as `name`. It is loaded the first time, and stays until the program ends. Null:
/// `reason` names a file and says why; it is left alone otherwise. Any thread.
ModuleFunction functionOfModule(const std::string& path, const char* name, std::string& reason);

/// Identifies the image that this code was loaded from.
void* moduleInstance() noexcept;

/// `path` with the separators of this system: a path written with backslashes is found too.
std::u16string nativePath(std::u16string_view path);

/// The parts of a path: drive (with its colon), directory (with its last separator), file name and
/// extension (with its dot). Each part may be empty.
struct PathParts {
    std::u16string drive, directory, name, extension;
};
PathParts splitPath(std::u16string_view path);

enum class FileRead { done, notOpened, notFound, failed };

/// The whole of a file as bytes. What is not done left `bytes` empty and says why in `reason`:
/// it could not be opened, was gone when it was read, or could not be read or is larger than 1 GiB.
FileRead readWholeFile(const std::string& path, std::string& bytes, std::string& reason);

/// The same where only success counts.
inline bool readFile(const std::string& path, std::string& bytes, std::string& reason) {
    return readWholeFile(path, bytes, reason) == FileRead::done;
}

/// A text that is another one when the file at `path` has been replaced or written to; empty when
/// there is no such file.
std::string fileIdentity(const std::string& path);

/// Whether two paths lead to the same place, be it in another spelling or by symbolic links. There need
/// be no file. False where that cannot be found out.
bool leadToTheSame(const std::string& path, const std::string& other);

/// What becomes of the file that is replaced.
enum class OldFile {
    drop,
    /// It is kept beside the new one under its name and ".bak", in place of an older such file.
    keep,
};

/// Makes `pieces`, one after the other, the content of the file at `path` (UTF-8), which exists or
/// not. True when that is done and on the disk. At every moment, also when the program is killed or
/// the machine stops, the name shows the whole old content or the whole new one.
///
/// False when it cannot be done; then the file is as it was, and `reason` names the path and
/// says what the system said. A file that the user may not write is not replaced. `reason` is left
/// alone otherwise.
///
/// The new file is written beside the old one, as `.NAME.vlisp-XXXXXX`: a name that remains only when
/// the program is killed meanwhile, and may be deleted then. It gets the mode of the old file, and
/// its owner and group as far as the user may give them away; access lists and extended attributes
/// are not kept, and other hard links go on showing the old content. Where `path` is a symbolic link,
/// its target is replaced (and the target's name gets the ".bak") and the link stays.
///
/// What is no file (a device, a pipe, /dev/stdout, /dev/fd/N) is written directly, without these
/// promises; what the program's own streams still hold for it must have been flushed before.
///
/// Signals neither interrupt it nor, for a closed pipe or a limit of file size, end the program. Any
/// thread; two that replace one file at the same time leave the content of one.
bool replaceFile(const std::string& path, std::span<const std::string_view> pieces, OldFile oldFile,
                 std::string& reason);

}  // namespace vlisp::platform
