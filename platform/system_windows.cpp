// The operating system on Windows. See system.h.
// One idea: paths come as UTF-8 or UTF-16, and every call to the system is the one for UTF-16.
#include "platform/system.h"

#include "platform/replacing.h"
#include "platform/text.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <system_error>
#include <utility>

#define WIN32_LEAN_AND_MEAN
#include <process.h>
// GCC 12 takes a segment's address 0, which GetCurrentFiber reads, for no address.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
#include <windows.h>
#pragma GCC diagnostic pop

extern "C" unsigned char __ImageBase[];  // NOLINT: the linker's name for the image that this is in

namespace vlisp::platform {
namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

const wchar_t* wide(const std::u16string& text) noexcept {
    return reinterpret_cast<const wchar_t*>(text.c_str());
}

wchar_t* wide(std::u16string& text) noexcept { return reinterpret_cast<wchar_t*>(text.data()); }

// What the system says about an error of its own: in the words of the C library where it knows the
// error, so that a message is the same text on every system.
std::string messageOf(DWORD error) {
    const std::error_code code(static_cast<int>(error), std::system_category());
    const std::error_condition condition = code.default_error_condition();
    if (condition.category() == std::generic_category()) return std::strerror(condition.value());
    std::string message = code.message();
    while (!message.empty() && (message.back() == '.' || message.back() == ' ')) message.pop_back();
    return message;
}

// A path as the system's functions take it. The longest ones need a mark in front, which allows
// neither slashes nor parts like "..".
std::u16string systemPath(std::u16string path) {
    constexpr std::size_t longestUnmarked = 240;
    std::ranges::replace(path, u'/', u'\\');
    if (path.size() < longestUnmarked || path.starts_with(u"\\\\")) return path;
    std::u16string whole(32'768, u'\0');
    whole.resize(
        ::GetFullPathNameW(wide(path), static_cast<DWORD>(whole.size()), wide(whole), nullptr));
    return whole.starts_with(u"\\\\") || whole.empty() ? path : u"\\\\?\\" + whole;
}

std::u16string systemPath(const std::string& path) { return systemPath(fromUtf8(path)); }

/// A handle of the system, closed at the end.
class Handle {
  public:
    explicit Handle(HANDLE handle) noexcept : handle_(handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { close(); }

    [[nodiscard]] HANDLE get() const noexcept { return handle_; }
    [[nodiscard]] bool isOpen() const noexcept {
        return handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr;
    }
    bool close() noexcept {
        // What is not open is left alone, and so is the reason why it is not.
        return !isOpen() || ::CloseHandle(std::exchange(handle_, nullptr)) != 0;
    }

  private:
    HANDLE handle_;
};

constexpr DWORD everybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE openFile(const std::u16string& path, DWORD access, DWORD disposition, DWORD flags = 0) {
    return ::CreateFileW(wide(path), access, everybody, nullptr, disposition,
                         FILE_ATTRIBUTE_NORMAL | flags, nullptr);
}

bool isFolder(const std::u16string& path) noexcept {
    const DWORD attributes = ::GetFileAttributesW(wide(path));
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

std::uint32_t tickCount() noexcept { return ::GetTickCount(); }

std::tm localTime() noexcept {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::localtime_s(&parts, &now);
    return parts;
}

std::size_t physicalMemory() noexcept {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (::GlobalMemoryStatusEx(&status) == 0) return std::size_t{4} << 30;
    return status.ullTotalPhys;
}

// --- Memory ---

namespace {

constexpr std::size_t pageSize = 4096;

constexpr std::size_t wholePages(std::size_t bytes) noexcept {
    return (bytes + pageSize - 1) / pageSize * pageSize;
}

// How many bytes of address space behind the block are reserved with it.
std::size_t reservedBehind(const std::byte* block, std::size_t bytes) noexcept {
    MEMORY_BASIC_INFORMATION behind{};
    if (::VirtualQuery(block + bytes, &behind, sizeof behind) == 0) return 0;
    return behind.AllocationBase == block && behind.State == MEM_RESERVE ? behind.RegionSize : 0;
}

// A block with room to grow: address space costs nothing.
void* allocateWithRoom(std::size_t bytes, std::size_t room) noexcept {
    void* const reserved = ::VirtualAlloc(nullptr, room, MEM_RESERVE, PAGE_READWRITE);
    if (reserved == nullptr) return nullptr;
    if (::VirtualAlloc(reserved, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr) return reserved;
    ::VirtualFree(reserved, 0, MEM_RELEASE);
    return nullptr;
}

}  // namespace

void* allocateBlock(std::size_t bytes) noexcept {
    return ::VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

// A block that grows once grows again: when it must be moved, as much address space again is reserved
// behind it, so that growing by small steps does not copy it at each.
void* resizeBlock(void* block, std::size_t bytes, std::size_t newBytes) noexcept {
    auto* const begin = static_cast<std::byte*>(block);
    const std::size_t whole = wholePages(bytes);
    const std::size_t newWhole = wholePages(newBytes);
    if (newWhole < newBytes) return nullptr;
    if (newWhole < whole) ::VirtualFree(begin + newWhole, whole - newWhole, MEM_DECOMMIT);
    if (newWhole <= whole) return block;
    if (reservedBehind(begin, whole) >= newWhole - whole &&
        ::VirtualAlloc(begin + whole, newWhole - whole, MEM_COMMIT, PAGE_READWRITE) != nullptr)
        return block;
    void* moved = newWhole <= SIZE_MAX / 2 ? allocateWithRoom(newWhole, newWhole * 2) : nullptr;
    if (moved == nullptr) moved = allocateBlock(newBytes);
    if (moved == nullptr) return nullptr;
    std::memcpy(moved, block, bytes);
    freeBlock(block, bytes);
    return moved;
}

void freeBlock(void* block, std::size_t /*bytes*/) noexcept {
    ::VirtualFree(block, 0, MEM_RELEASE);
}

// What is committed is ready; the rest of what was reserved for the alignment is only addresses.
void* allocateAligned(std::size_t bytes, std::size_t alignment, Pages /*pages*/) noexcept {
    if (bytes > SIZE_MAX - alignment) return nullptr;
    void* const reserved = ::VirtualAlloc(nullptr, bytes + alignment, MEM_RESERVE, PAGE_READWRITE);
    if (reserved == nullptr) return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(reserved);
    void* const memory =
        static_cast<std::byte*>(reserved) + (alignment - address % alignment) % alignment;
    if (::VirtualAlloc(memory, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr) return memory;
    ::VirtualFree(reserved, 0, MEM_RELEASE);
    return nullptr;
}

void forgetPages(void* memory, std::size_t bytes) noexcept {
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    const std::size_t before = wholePages(begin) - begin;
    if (bytes < before + pageSize) return;
    ::VirtualAlloc(static_cast<std::byte*>(memory) + before, (bytes - before) / pageSize * pageSize,
                   MEM_RESET, PAGE_READWRITE);
}

// It is so already.
void shareOneHeap() noexcept {}

std::byte* allocateCode(const void* instructions, std::size_t bytes) noexcept {
    void* const memory = allocateBlock(bytes);
    if (memory == nullptr) return nullptr;
    std::memcpy(memory, instructions, bytes);
    DWORD before = 0;
    if (::VirtualProtect(memory, bytes, PAGE_EXECUTE_READ, &before) == 0) {
        freeBlock(memory, bytes);
        return nullptr;
    }
    ::FlushInstructionCache(::GetCurrentProcess(), memory, bytes);
    return static_cast<std::byte*>(memory);
}

void freeCode(std::byte* code, std::size_t bytes) noexcept { freeBlock(code, bytes); }

// --- Stack and threads ---

namespace {

std::size_t stackLeft() noexcept {
    ULONG_PTR lowest = 0;
    ULONG_PTR end = 0;
    ::GetCurrentThreadStackLimits(&lowest, &end);
    const std::size_t used = std::min<std::size_t>(end - lowest, evaluationStack);
    const std::uintptr_t floor = end - used + std::min<std::size_t>(256 * 1024, used / 4);
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return here > floor ? here - floor : 0;
}

}  // namespace

bool stackIsLow() noexcept { return stackLeft() == 0; }

struct Worker::State {
    std::function<void()> work;
    HANDLE thread = nullptr;
    HANDLE hasBegun = nullptr;
    std::atomic<bool> worked{false};  // nothing of ours is called any more
    bool joined = false;
};

namespace {

// Whether the thread is at an instruction of the image that this code is in.
bool isInThisImage(HANDLE thread) noexcept {
    const auto* image = static_cast<const unsigned char*>(moduleInstance());
    const auto* header = reinterpret_cast<const IMAGE_NT_HEADERS64*>(
        image + reinterpret_cast<const IMAGE_DOS_HEADER*>(image)->e_lfanew);
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    if (::SuspendThread(thread) == static_cast<DWORD>(-1)) return false;
    const bool known = ::GetThreadContext(thread, &context) != 0;
    ::ResumeThread(thread);
    const auto begin = reinterpret_cast<std::uintptr_t>(image);
    return !known || context.Rip - begin < header->OptionalHeader.SizeOfImage;
}

}  // namespace

Worker::Worker(std::size_t stackBytes, std::function<void()> work)
    : state_(new State{std::move(work)}) {
    const auto body = [](void* argument) -> unsigned {
        auto* state = static_cast<State*>(argument);
        ::SetEvent(state->hasBegun);
        state->work();
        state->worked.store(true);
        return 0;
    };
    state_->hasBegun = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    int failure = EAGAIN;
    for (std::size_t bytes = stackBytes; state_->hasBegun != nullptr && bytes >= 256 * 1024;
         bytes /= 2) {
        if (bytes > UINT_MAX) continue;
        const std::uintptr_t thread =
            ::_beginthreadex(nullptr, static_cast<unsigned>(bytes), body, state_,
                             STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
        if (thread != 0) {
            // The C library gives the system's handle as a number.
            // NOLINTNEXTLINE(performance-no-int-to-ptr)
            state_->thread = reinterpret_cast<HANDLE>(thread);
            // It cannot begin while the system unloads the module, which may be the caller's next step and
            // waits for its end.
            ::WaitForSingleObject(state_->hasBegun, INFINITE);
            ::CloseHandle(state_->hasBegun);
            return;
        }
        failure = errno;
    }
    if (state_->hasBegun != nullptr) ::CloseHandle(state_->hasBegun);
    delete state_;
    throw std::system_error(failure, std::generic_category(), "cannot start a thread");
}

void Worker::join() noexcept {
    if (state_->joined) return;
    // A thread cannot end while the system unloads the module, which waits here. It is then enough that
    // the thread has left the module's code.
    constexpr DWORD patience = 10;
    while (::WaitForSingleObject(state_->thread, patience) == WAIT_TIMEOUT)
        if (state_->worked && !isInThisImage(state_->thread)) break;
    ::CloseHandle(state_->thread);
    state_->joined = true;
}

Worker::~Worker() {
    join();
    delete state_;
}

namespace {

// A stack that a thread changes to for one piece of work, without another thread's costs: a fiber of
// the system. What the system knows of the thread's stack changes with it.
class OtherStack {
  public:
    /// Reserves so much; there is none when the system refuses.
    explicit OtherStack(std::size_t bytes)
        : fiber_(::CreateFiberEx(0, bytes, FIBER_FLAG_FLOAT_SWITCH, &OtherStack::begin, this)) {}
    OtherStack(const OtherStack&) = delete;
    OtherStack& operator=(const OtherStack&) = delete;
    ~OtherStack() {
        if (fiber_ != nullptr) ::DeleteFiber(fiber_);
    }

    [[nodiscard]] bool exists() const noexcept { return fiber_ != nullptr; }

    /// Runs `work` there; what it throws is thrown here.
    void run(const std::function<void()>& work) {
        work_ = &work;
        const bool isFiber = ::IsThreadAFiber() != 0;
        here_ = isFiber ? ::GetCurrentFiber()
                        : ::ConvertThreadToFiberEx(nullptr, FIBER_FLAG_FLOAT_SWITCH);
        if (here_ == nullptr) throw std::bad_alloc();
        ::SwitchToFiber(fiber_);
        if (!isFiber) ::ConvertFiberToThread();
        if (thrown_) std::rethrow_exception(thrown_);
    }

  private:
    static void WINAPI begin(void* argument) {
        auto& self = *static_cast<OtherStack*>(argument);
        try {
            (*self.work_)();
        } catch (...) {
            self.thrown_ = std::current_exception();
        }
        ::SwitchToFiber(self.here_);
    }

    void* fiber_;
    void* here_ = nullptr;
    const std::function<void()>* work_ = nullptr;
    std::exception_ptr thrown_;
};

}  // namespace

void withStack(std::size_t stackBytes, const std::function<void()>& work) {
    if (stackLeft() >= stackBytes) {
        work();
        return;
    }
    constexpr std::size_t fewest = 256 * 1024;
    constexpr std::size_t most = std::size_t{1} << 31;  // of more the system makes nothing good
    for (std::size_t bytes = std::min(stackBytes, most) + 512 * 1024; bytes >= fewest; bytes /= 2) {
        OtherStack stack(bytes);
        if (!stack.exists()) continue;
        stack.run(work);
        return;
    }
    throw std::system_error(ENOMEM, std::generic_category(), "cannot have a stack");
}

// --- Programs and modules ---

namespace {

std::u16string variable(const wchar_t* name) {
    const wchar_t* const value = ::_wgetenv(name);
    return value != nullptr ? reinterpret_cast<const char16_t*>(value) : std::u16string();
}

// The user's editor as a command line, which may have arguments of its own.
std::u16string editorCommand() {
    for (const wchar_t* name : {L"VISUAL", L"EDITOR"})
        if (std::u16string value = variable(name); !value.empty()) return value;
    return u"notepad.exe";
}

}  // namespace

void startEditor(const std::u16string& path, bool isWaitedFor) {
    std::u16string command = editorCommand();
    if (!path.empty()) command += u" \"" + path + u"\"";
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION started{};
    if (::CreateProcessW(nullptr, wide(command), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                         &start, &started) == 0)
        return;
    if (isWaitedFor) ::WaitForSingleObject(started.hProcess, INFINITE);
    ::CloseHandle(started.hThread);
    ::CloseHandle(started.hProcess);
}

std::u16string programPath() {
    std::u16string path(MAX_PATH, u'\0');
    constexpr std::size_t longest = 32'768;
    for (;;) {
        const DWORD units =
            ::GetModuleFileNameW(nullptr, wide(path), static_cast<DWORD>(path.size()));
        if (units < path.size() || path.size() > longest) {
            path.resize(units);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

ModuleFunction functionOfModule(const std::string& path, const char* name, std::string& reason) {
    const HMODULE module = ::LoadLibraryW(wide(systemPath(path)));
    const FARPROC function = module != nullptr ? ::GetProcAddress(module, name) : nullptr;
    if (function == nullptr) {
        reason = path + ": " + (module != nullptr ? name + std::string(": ") : std::string()) +
                 messageOf(::GetLastError());
    }
    return reinterpret_cast<ModuleFunction>(function);
}

void* moduleInstance() noexcept {
    return __ImageBase;  // without the loader, which may be at work on this image
}

// --- Paths and reading ---

// Both separators are the system's.
std::u16string nativePath(std::u16string_view path) { return std::u16string(path); }

// As the C library of the system takes a path apart.
PathParts splitPath(std::u16string_view path) {
    PathParts parts;
    if (path.size() > 1 && path[1] == u':') {
        parts.drive = path.substr(0, 2);
        path.remove_prefix(2);
    }
    if (const std::size_t slash = path.find_last_of(u"/\\"); slash != std::u16string_view::npos) {
        parts.directory = path.substr(0, slash + 1);
        path.remove_prefix(slash + 1);
    }
    const std::size_t dot = path.rfind(u'.');
    parts.name = path.substr(0, dot);
    if (dot != std::u16string_view::npos) parts.extension = path.substr(dot);
    return parts;
}

std::string fileIdentity(const std::string& path) {
    const Handle file(openFile(systemPath(path), FILE_READ_ATTRIBUTES, OPEN_EXISTING,
                               FILE_FLAG_BACKUP_SEMANTICS));
    BY_HANDLE_FILE_INFORMATION found{};
    if (!file.isOpen() || ::GetFileInformationByHandle(file.get(), &found) == 0) return {};
    std::string identity;
    for (const DWORD part :
         {found.dwVolumeSerialNumber, found.nFileIndexHigh, found.nFileIndexLow,
          found.nFileSizeHigh, found.nFileSizeLow, found.ftLastWriteTime.dwHighDateTime,
          found.ftLastWriteTime.dwLowDateTime})
        identity += std::to_string(part) + " ";
    return identity;
}

bool leadToTheSame(const std::string& path, const std::string& other) {
    std::error_code failed;
    const std::wstring place =
        std::filesystem::weakly_canonical(wide(systemPath(path)), failed).wstring();
    if (failed) return false;
    const std::wstring otherPlace =
        std::filesystem::weakly_canonical(wide(systemPath(other)), failed).wstring();
    return !failed &&
           ::CompareStringOrdinal(place.c_str(), -1, otherPlace.c_str(), -1, TRUE) == CSTR_EQUAL;
}

FileRead readWholeFile(const std::string& path, std::string& bytes, std::string& reason) {
    bytes.clear();
    const std::u16string name = systemPath(path);
    const Handle file(openFile(name, GENERIC_READ, OPEN_EXISTING));
    if (!file.isOpen()) {
        const DWORD failure = ::GetLastError();
        reason = isFolder(name) ? std::strerror(EISDIR) : messageOf(failure);
        return FileRead::notOpened;
    }
    constexpr std::size_t largest = std::size_t{1} << 30;
    LARGE_INTEGER size{};
    if (::GetFileSizeEx(file.get(), &size) != 0 && size.QuadPart > 0)
        bytes.reserve(std::min(largest, static_cast<std::size_t>(size.QuadPart)));
    const auto block = std::make_unique<char[]>(65536);
    DWORD count = 0;
    bool isRead = true;
    while ((isRead = ::ReadFile(file.get(), block.get(), 65536, &count, nullptr) != 0) &&
           count > 0) {
        bytes.append(block.get(), count);
        if (bytes.size() > largest) {
            bytes.clear();
            reason = "larger than 1 GiB";
            return FileRead::failed;
        }
    }
    if (isRead) return FileRead::done;
    const DWORD failure = ::GetLastError();
    if (failure == ERROR_BROKEN_PIPE || failure == ERROR_HANDLE_EOF) return FileRead::done;
    bytes.clear();
    reason = messageOf(failure);
    return failure == ERROR_FILE_NOT_FOUND ? FileRead::notFound : FileRead::failed;
}

// --- Replacing a file ---

namespace {

using platform::failWith;

[[noreturn]] void failWith(std::string_view what, const std::string& path, DWORD error) {
    failWith(what, path, messageOf(error));
}

/// False: GetLastError says why.
bool writeAll(HANDLE file, std::string_view bytes) {
    constexpr std::size_t most = std::size_t{1} << 30;
    while (!bytes.empty()) {
        DWORD count = 0;
        if (::WriteFile(file, bytes.data(), static_cast<DWORD>(std::min(most, bytes.size())),
                        &count, nullptr) == 0)
            return false;
        bytes.remove_prefix(count);
    }
    return true;
}

bool writePieces(HANDLE file, std::span<const std::string_view> pieces) {
    return platform::writePieces(pieces,
                                 [=](std::string_view bytes) { return writeAll(file, bytes); });
}

/// Where a path leads that may be a link; the path itself where it is none.
std::u16string targetOf(const std::u16string& path) {
    const DWORD attributes = ::GetFileAttributesW(wide(path));
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return path;
    const Handle file(openFile(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING));
    std::u16string target(32'768, u'\0');
    if (!file.isOpen()) return path;
    target.resize(::GetFinalPathNameByHandleW(file.get(), wide(target),
                                              static_cast<DWORD>(target.size()), 0));
    return target.empty() ? path : target;
}

/// A name beside `target` that no file has.
std::u16string nameBeside(const std::u16string& target) {
    constexpr std::size_t suffix = 6;
    constexpr std::u16string_view letters = u"abcdefghijklmnopqrstuvwxyz0123456789";
    const std::size_t name = target.find_last_of(u"/\\:") + 1;
    std::random_device random;
    std::u16string path = target.substr(0, name) + u'.' + target.substr(name, 200) + u".vlisp-";
    for (std::size_t i = 0; i < suffix; ++i) path += letters[random() % letters.size()];
    return path;
}

/// A file under a name of its own beside another, deleted again unless it is given that name.
class FileBeside {
  public:
    explicit FileBeside(const std::u16string& target) : path_(nameBeside(target)) {}
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;
    ~FileBeside() {
        // Also after a success: to give one file the second name of itself may leave both names.
        if (isOurs_) ::DeleteFileW(wide(path_));
    }

    [[nodiscard]] const std::u16string& path() const noexcept { return path_; }

    /// False: GetLastError says why.
    bool write(std::span<const std::string_view> pieces) {
        Handle file(openFile(path_, GENERIC_WRITE, CREATE_NEW));
        isOurs_ = file.isOpen();
        return isOurs_ && writePieces(file.get(), pieces) && ::FlushFileBuffers(file.get()) != 0 &&
               file.close();
    }

    /// The same file as `target`, or a copy of it. False: GetLastError says why.
    bool copy(const std::u16string& target) {
        isOurs_ = ::CreateHardLinkW(wide(path_), wide(target), nullptr) != 0 ||
                  ::CopyFileW(wide(target), wide(path_), TRUE) != 0;
        return isOurs_;
    }

    /// In one step, in place of the file that has the name.
    bool giveName(const std::u16string& name) {
        return ::MoveFileExW(wide(path_), wide(name),
                             MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
    }

  private:
    std::u16string path_;
    bool isOurs_ = false;
};

/// Gives the file at `target` a second name; where the file system has none, copies it.
void keepBackup(const std::u16string& target) {
    const std::u16string backup = target + u".bak";
    FileBeside kept(target);
    if (!kept.copy(target)) failWith("cannot keep a copy of", toUtf8(target), ::GetLastError());
    if (!kept.giveName(backup)) failWith(cannotWrite, toUtf8(backup), ::GetLastError());
}

void replaceRegularFile(const std::string& path, std::span<const std::string_view> pieces,
                        OldFile oldFile) {
    const std::u16string target = targetOf(systemPath(path));
    const DWORD attributes = ::GetFileAttributesW(wide(target));
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
        failWith(cannotWrite, path, ERROR_ACCESS_DENIED);
    if (exists) {
        const Handle writable(openFile(target, GENERIC_WRITE, OPEN_EXISTING));
        if (!writable.isOpen()) failWith(cannotWrite, path, ::GetLastError());
    }
    FileBeside fresh(target);
    if (!fresh.write(pieces)) failWith(cannotWrite, path, ::GetLastError());
    if (exists) ::SetFileAttributesW(wide(fresh.path()), attributes);
    if (exists && oldFile == OldFile::keep) keepBackup(target);
    if (!fresh.giveName(target)) failWith(cannotWrite, path, ::GetLastError());
}

/// The stream of this program that a path means.
std::optional<HANDLE> streamNamedBy(std::string_view path) {
    if (path == "/dev/stdout") return ::GetStdHandle(STD_OUTPUT_HANDLE);
    if (path == "/dev/stderr") return ::GetStdHandle(STD_ERROR_HANDLE);
    return std::nullopt;
}

void writeDirectly(HANDLE file, const std::string& path, std::span<const std::string_view> pieces) {
    if (!writePieces(file, pieces)) failWith(cannotWrite, path, ::GetLastError());
}

void replaceAnything(const std::string& path, std::span<const std::string_view> pieces,
                     OldFile oldFile) {
    if (const auto stream = streamNamedBy(path)) return writeDirectly(*stream, path, pieces);
    if (const std::size_t zero = path.find('\0'); zero != std::string::npos)
        failWith(cannotWrite, path.substr(0, zero), ERROR_INVALID_PARAMETER);
    const std::u16string name = systemPath(path);
    if (isFolder(name)) failWith(cannotWrite, path, std::strerror(EISDIR));
    Handle found(openFile(name, GENERIC_WRITE, OPEN_EXISTING));
    if (!found.isOpen() || ::GetFileType(found.get()) == FILE_TYPE_DISK) {
        found.close();
        return replaceRegularFile(path, pieces, oldFile);
    }
    writeDirectly(found.get(), path, pieces);
    if (!found.close()) failWith(cannotWrite, path, ::GetLastError());
}

}  // namespace

bool replaceFile(const std::string& path, std::span<const std::string_view> pieces, OldFile oldFile,
                 std::string& reason) {
    try {
        replaceAnything(path, pieces, oldFile);
        return true;
    } catch (const ReplaceFailure& failure) {
        reason = failure.reason;
        return false;
    }
}

}  // namespace vlisp::platform
