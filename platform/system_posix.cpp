// The operating system on Linux and its relatives. See system.h.
#include "platform/system.h"

#include "platform/replacing.h"
#include "platform/sanitizers.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <optional>
#include <poll.h>
#include <pthread.h>
#include <random>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <ucontext.h>
#include <unistd.h>
#include <utility>

#if defined(VLISP_ADDRESS_SANITIZER)
#include <sanitizer/common_interface_defs.h>
#elif defined(VLISP_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace vlisp::platform {
namespace {

struct StackBounds {
    std::uintptr_t lowest = 0;
    std::uintptr_t reserve = 0;
};

StackBounds boundsOf(std::uintptr_t end, std::size_t size) noexcept {
    const std::size_t used = std::min(size, evaluationStack);
    return {end - used, std::min<std::size_t>(256 * 1024, used / 4)};
}

// Shortcut: the thread that the program began on has its stack below the program's name, which the
// system puts there, and as much of it as the limit says. The library knows no more, but reads a
// line for each mapping of the program to find out: as much work as the rest of a short program.
std::optional<StackBounds> boundsOfFirstThread() noexcept {
    const std::uintptr_t name = ::getauxval(AT_EXECFN);
    rlimit limit{};
    if (::gettid() != ::getpid() || name == 0 || ::getrlimit(RLIMIT_STACK, &limit) != 0)
        return std::nullopt;
    return boundsOf(name, limit.rlim_cur);
}

StackBounds boundsOfThisThread() noexcept {
    if (const auto bounds = boundsOfFirstThread()) return *bounds;
    StackBounds bounds;
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return bounds;
    void* lowest = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attributes, &lowest, &size) == 0)
        bounds = boundsOf(reinterpret_cast<std::uintptr_t>(lowest) + size, size);
    pthread_attr_destroy(&attributes);
    return bounds;
}

// Of the stack that this thread works on now.
StackBounds& currentBounds() noexcept {
    thread_local StackBounds bounds = boundsOfThisThread();
    return bounds;
}

std::size_t stackLeft() noexcept {
    const StackBounds bounds = currentBounds();
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    const std::uintptr_t floor = bounds.lowest + bounds.reserve;
    return here > floor ? here - floor : 0;
}

}  // namespace

std::uint32_t tickCount() noexcept {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000 +
                                      static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000);
}

std::tm localTime() noexcept {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::localtime_r(&now, &parts);
    return parts;
}

// Large pages need addresses that are multiples of their size.
void* allocateBlock(std::size_t bytes) noexcept {
    constexpr std::size_t largePage = std::size_t{2} << 20;
    const bool isLarge = bytes >= largePage;
    const std::size_t room = isLarge ? bytes + largePage : bytes;
    if (room < bytes) return nullptr;
    void* reserved =
        ::mmap(nullptr, room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (reserved == MAP_FAILED) return nullptr;
    if (!isLarge) return reserved;
    auto* const begin = static_cast<std::byte*>(reserved);
    const std::size_t before =
        (largePage - reinterpret_cast<std::uintptr_t>(begin) % largePage) % largePage;
    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t whole = (bytes + page - 1) / page * page;
    if (before > 0) ::munmap(begin, before);
    if (before + whole < room) ::munmap(begin + before + whole, room - before - whole);
    ::madvise(begin + before, whole, MADV_HUGEPAGE);  // merely a wish
    return begin + before;
}

void* resizeBlock(void* block, std::size_t bytes, std::size_t newBytes) noexcept {
    void* moved = ::mremap(block, bytes, newBytes, MREMAP_MAYMOVE);
    if (moved == MAP_FAILED) return nullptr;
#ifdef MADV_POPULATE_WRITE
    // Pages that will soon be touched one after the other are cheaper all at once.
    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t before = (bytes + page - 1) / page * page;
    if (newBytes >= before + (std::size_t{1} << 20))
        ::madvise(static_cast<std::byte*>(moved) + before, newBytes - before, MADV_POPULATE_WRITE);
#endif
    return moved;
}

void freeBlock(void* block, std::size_t bytes) noexcept { ::munmap(block, bytes); }

void* allocateAligned(std::size_t bytes, std::size_t alignment, Pages pages) noexcept {
    if (bytes > SIZE_MAX - alignment) return nullptr;
    void* reserved = ::mmap(nullptr, bytes + alignment, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (reserved == MAP_FAILED) return nullptr;
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(reserved);
    void* memory =
        static_cast<std::byte*>(reserved) + (alignment - address % alignment) % alignment;
#ifdef MADV_POPULATE_WRITE
    if (pages == Pages::now) ::madvise(memory, bytes, MADV_POPULATE_WRITE);
#endif
    return memory;
}

void forgetPages(void* memory, std::size_t bytes) noexcept {
    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t before = (page - reinterpret_cast<std::uintptr_t>(memory) % page) % page;
    if (bytes < before + page) return;
    ::madvise(static_cast<std::byte*>(memory) + before, (bytes - before) / page * page,
              MADV_DONTNEED);
}

void shareOneHeap() noexcept {
    ::mallopt(M_ARENA_MAX, 1);
    // What a program has let go of it takes again: giving it to the system in between costs more.
    ::mallopt(M_MMAP_THRESHOLD, 4 << 20);
    ::mallopt(M_TRIM_THRESHOLD, 32 << 20);
    ::mallopt(M_TOP_PAD, 1 << 18);
}

std::byte* allocateCode(const void* instructions, std::size_t bytes) noexcept {
    void* memory =
        ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return nullptr;
    std::memcpy(memory, instructions, bytes);
    if (::mprotect(memory, bytes, PROT_READ | PROT_EXEC) != 0) {
        ::munmap(memory, bytes);
        return nullptr;
    }
    return static_cast<std::byte*>(memory);
}

void freeCode(std::byte* code, std::size_t bytes) noexcept { ::munmap(code, bytes); }

std::size_t physicalMemory() noexcept {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) return std::size_t{4} << 30;
    return static_cast<std::size_t>(pages) * static_cast<std::size_t>(pageSize);
}

bool stackIsLow() noexcept { return stackLeft() == 0; }

struct Worker::State {
    std::function<void()> work;
    pthread_t thread{};
    bool joined = false;
};

Worker::Worker(std::size_t stackBytes, std::function<void()> work)
    : state_(new State{std::move(work), {}, false}) {
    const auto body = [](void* argument) -> void* {
        static_cast<State*>(argument)->work();
        return nullptr;
    };
    int failure = 0;
    for (std::size_t bytes = stackBytes; bytes >= 256 * 1024; bytes /= 2) {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        failure = pthread_attr_setstacksize(&attributes, bytes);
        if (failure == 0) failure = pthread_create(&state_->thread, &attributes, body, state_);
        pthread_attr_destroy(&attributes);
        if (failure == 0) return;
    }
    delete state_;
    throw std::system_error(failure, std::generic_category(), "cannot start a thread");
}

void Worker::join() noexcept {
    if (state_->joined) return;
    pthread_join(state_->thread, nullptr);
    state_->joined = true;
}

Worker::~Worker() {
    join();
    delete state_;
}

namespace {

// A stack that a thread changes to for one piece of work, without another thread's costs. The
// sanitizers, which watch each stack, are told, in the function that changes and in no other.
class OtherStack {
  public:
    /// Reserves so much; `memory_` stays null when the system refuses.
    explicit OtherStack(std::size_t bytes) : bytes_(bytes + guardBytes) {
        void* reserved = ::mmap(nullptr, bytes_, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
        if (reserved == MAP_FAILED) return;
        memory_ = static_cast<std::byte*>(reserved);
        ::mprotect(memory_, guardBytes, PROT_NONE);
    }
    OtherStack(const OtherStack&) = delete;
    OtherStack& operator=(const OtherStack&) = delete;
    ~OtherStack() {
        if (memory_ != nullptr) ::munmap(memory_, bytes_);
    }

    [[nodiscard]] bool exists() const noexcept { return memory_ != nullptr; }

    /// Runs `work` there; what it throws is thrown here.
    void run(const std::function<void()>& work) {
        work_ = &work;
        ::getcontext(&there_);
        there_.uc_stack.ss_sp = memory_;
        there_.uc_stack.ss_size = bytes_;
        there_.uc_link = nullptr;
        ::makecontext(&there_, &OtherStack::begin, 0);
        const StackBounds before = std::exchange(
            currentBounds(),
            boundsOf(reinterpret_cast<std::uintptr_t>(memory_) + bytes_, bytes_ - guardBytes));
        OtherStack* const outer = std::exchange(starting, this);
        // What swapcontext does, in its two halves: to the whole of it the address sanitizer answers
        // with a warning on standard error.
        ::getcontext(&here_);  // returns here a second time when the work is over
        if (!left_) {
            left_ = true;
            leave();
            ::setcontext(&there_);
        }
        arriveBack();
        starting = outer;
        currentBounds() = before;
        if (thrown_) std::rethrow_exception(thrown_);
    }

  private:
    static void begin() {
        OtherStack& self = *starting;
        self.arrive();
        try {
            (*self.work_)();
        } catch (...) {
            self.thrown_ = std::current_exception();
        }
        self.leaveBack();
        ::setcontext(&self.here_);
    }

#if defined(VLISP_ADDRESS_SANITIZER)
    [[gnu::always_inline]] void leave() { __sanitizer_start_switch_fiber(&kept_, memory_, bytes_); }
    [[gnu::always_inline]] void arrive() {
        __sanitizer_finish_switch_fiber(nullptr, &lowest_, &size_);
    }
    [[gnu::always_inline]] void leaveBack() {
        __sanitizer_start_switch_fiber(nullptr, lowest_, size_);
    }
    [[gnu::always_inline]] void arriveBack() {
        __sanitizer_finish_switch_fiber(kept_, nullptr, nullptr);
    }

    void* kept_ = nullptr;
    const void* lowest_ = nullptr;
    std::size_t size_ = 0;
#elif defined(VLISP_THREAD_SANITIZER)
    [[gnu::always_inline]] void leave() {
        home_ = __tsan_get_current_fiber();
        fiber_ = __tsan_create_fiber(0);
        __tsan_switch_to_fiber(fiber_, 0);
    }
    [[gnu::always_inline]] void arrive() {}
    [[gnu::always_inline]] void leaveBack() { __tsan_switch_to_fiber(home_, 0); }
    [[gnu::always_inline]] void arriveBack() { __tsan_destroy_fiber(fiber_); }

    void* home_ = nullptr;
    void* fiber_ = nullptr;
#else
    [[gnu::always_inline]] void leave() {}
    [[gnu::always_inline]] void arrive() {}
    [[gnu::always_inline]] void leaveBack() {}
    [[gnu::always_inline]] void arriveBack() {}
#endif

    static constexpr std::size_t guardBytes = 64 * 1024;
    static thread_local OtherStack* starting;

    std::byte* memory_ = nullptr;
    std::size_t bytes_;
    const std::function<void()>* work_ = nullptr;
    std::exception_ptr thrown_;
    volatile bool left_ = false;  // read again after the second return
    ucontext_t here_{};
    ucontext_t there_{};
};

thread_local OtherStack* OtherStack::starting = nullptr;

}  // namespace

void withStack(std::size_t stackBytes, const std::function<void()>& work) {
    if (stackLeft() >= stackBytes) {
        work();
        return;
    }
    constexpr std::size_t fewest = 256 * 1024;
    for (std::size_t bytes = stackBytes + 512 * 1024; bytes >= fewest; bytes /= 2) {
        OtherStack stack(bytes);
        if (!stack.exists()) continue;
        stack.run(work);
        return;
    }
    throw std::system_error(ENOMEM, std::generic_category(), "cannot have a stack");
}

PathParts splitPath(std::u16string_view path) {
    PathParts parts;
    const std::size_t slash = path.rfind(u'/');
    if (slash != std::u16string_view::npos) {
        parts.directory = path.substr(0, slash + 1);
        path.remove_prefix(slash + 1);
    }
    const std::size_t dot = path.rfind(u'.');
    parts.name = path.substr(0, dot);
    if (dot != std::u16string_view::npos) parts.extension = path.substr(dot);
    return parts;
}

namespace {

// The user's editor as a command of the shell, which may have arguments of its own.
std::string editorCommand() {
    for (const char* variable : {"VISUAL", "EDITOR"})
        if (const char* value = std::getenv(variable); value != nullptr && *value != '\0')
            return value;
    return "xdg-open";
}

}  // namespace

void startEditor(const std::u16string& path, bool isWaitedFor) {
    const std::string command = editorCommand() + (path.empty() ? "" : " \"$1\"");
    std::string file = toUtf8(path);
    if (file.starts_with('-')) file.insert(0, "./");  // or the editor would take it for an option
    const pid_t child = ::fork();
    if (child == 0) {
        // Unless it is waited for, the editor is nobody's child but the system's, and leaves none.
        if (!isWaitedFor && ::fork() != 0) ::_exit(0);
        // Nor does it read what is meant for the program.
        if (const int nothing = isWaitedFor ? -1 : ::open("/dev/null", O_RDONLY); nothing >= 0)
            ::dup2(nothing, STDIN_FILENO);
        ::execl("/bin/sh", "sh", "-c", command.c_str(), "sh", file.c_str(),
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    if (child > 0) {
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
    }
}

std::u16string programPath() {
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", failure);
    return failure ? std::u16string() : fromUtf8(path.string());
}

ModuleFunction functionOfModule(const std::string& path, const char* name, std::string& reason) {
    // Lazily, as programs find their own libraries; never unloaded, for some libraries keep threads
    // or addresses of themselves.
    void* const module = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    void* const function = module != nullptr ? ::dlsym(module, name) : nullptr;
    if (function == nullptr) {
        const char* const told = ::dlerror();
        reason = told != nullptr ? told : "it has no function";
        if (!reason.starts_with(path)) reason.insert(0, path + ": ");
    }
    return reinterpret_cast<ModuleFunction>(function);
}

void* moduleInstance() noexcept {
    static const char inThisImage = 0;
    // Asked once: the loader must not be called while it unloads this image.
    static void* const base = [] {
        Dl_info image{};
        return ::dladdr(&inThisImage, &image) != 0 ? image.dli_fbase : nullptr;
    }();
    return base;
}

std::u16string nativePath(std::u16string_view path) {
    std::u16string native(path);
    std::ranges::replace(native, u'\\', u'/');
    return native;
}

std::string fileIdentity(const std::string& path) {
    struct stat found {};
    if (::stat(path.c_str(), &found) != 0) return {};
    std::string identity;
    const auto add = [&identity](auto part) { identity += std::to_string(part) + " "; };
    add(found.st_dev);
    add(found.st_ino);
    add(found.st_size);
    add(found.st_mtim.tv_sec);
    add(found.st_mtim.tv_nsec);
    return identity;
}

bool leadToTheSame(const std::string& path, const std::string& other) {
    std::error_code failed;
    const auto place = std::filesystem::weakly_canonical(path, failed);
    return !failed && place == std::filesystem::weakly_canonical(other, failed) && !failed;
}

FileRead readWholeFile(const std::string& path, std::string& bytes, std::string& reason) {
    bytes.clear();
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               &std::fclose);
    if (!file) {
        reason = std::strerror(errno);
        return FileRead::notOpened;
    }
    constexpr std::size_t largest = std::size_t{1} << 30;
    // What the system says of its size is a hint: one more shows the end at once.
    struct stat found {};
    std::size_t room = 4096;
    if (::fstat(::fileno(file.get()), &found) == 0 && found.st_size > 0)
        room = static_cast<std::size_t>(found.st_size) + 1;
    std::size_t size = 0;
    while (size <= largest && room <= largest + 1) {
        bytes.resize(room);
        const std::size_t count = std::fread(bytes.data() + size, 1, room - size, file.get());
        if (count == 0) break;
        size += count;
        if (size == room) room = std::min(2 * room, largest + 1);
    }
    if (size > largest || room > largest + 1) {
        bytes.clear();
        reason = "larger than 1 GiB";
        return FileRead::failed;
    }
    bytes.resize(size);
    if (std::ferror(file.get()) == 0) return FileRead::done;
    const int failure = errno;
    bytes.clear();
    reason = std::strerror(failure);
    return failure == ENOENT ? FileRead::notFound : FileRead::failed;
}

namespace {

[[noreturn]] void failWith(std::string_view what, const std::string& path, int error) {
    platform::failWith(what, path, std::strerror(error));
}

/// Repeats a system call for as long as a signal interrupts it.
template <typename Call> auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

class Descriptor {
  public:
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    [[nodiscard]] int number() const noexcept { return number_; }
    [[nodiscard]] bool isOpen() const noexcept { return number_ >= 0; }

    /// Some file systems tell only now that there was no room. An interrupted call has closed.
    bool close() noexcept {
        const int number = std::exchange(number_, -1);
        return number < 0 || ::close(number) == 0 || errno == EINTR;
    }

  private:
    int number_;
};

/// While it lives, a closed pipe and a file that grows beyond its limit are errors of `write` in this
/// thread, no signals.
class WriteErrorsWithoutSignals {
  public:
    WriteErrorsWithoutSignals() noexcept {
        sigset_t pending;
        sigemptyset(&mine_);
        sigemptyset(&pending);
        ::sigpending(&pending);
        for (const int signal : {SIGPIPE, SIGXFSZ})  // one that waits already is somebody else's
            if (sigismember(&pending, signal) == 0) sigaddset(&mine_, signal);
        ::pthread_sigmask(SIG_BLOCK, &mine_, &before_);
    }
    WriteErrorsWithoutSignals(const WriteErrorsWithoutSignals&) = delete;
    WriteErrorsWithoutSignals& operator=(const WriteErrorsWithoutSignals&) = delete;
    ~WriteErrorsWithoutSignals() {
        const int error = errno;
        const timespec atOnce{};
        while (uninterrupted([&] { return ::sigtimedwait(&mine_, nullptr, &atOnce); }) > 0) {
        }
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        errno = error;
    }

  private:
    sigset_t mine_{};
    sigset_t before_{};
};

/// False: `errno` says why.
bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count =
            uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (count == 0) {
            errno = ENOSPC;
            return false;
        } else if (errno == EAGAIN) {  // a pipe that others read without waiting
            pollfd writable{descriptor, POLLOUT, 0};
            if (uninterrupted([&] { return ::poll(&writable, 1, -1); }) < 0) return false;
        } else {
            return false;
        }
    }
    return true;
}

bool writePieces(int descriptor, std::span<const std::string_view> pieces) {
    return platform::writePieces(
        pieces, [=](std::string_view bytes) { return writeAll(descriptor, bytes); });
}

/// The descriptor of this program that a path such as /dev/stdout or /dev/fd/3 means.
std::optional<int> descriptorNamedBy(std::string_view path) {
    if (path == "/dev/stdout") return STDOUT_FILENO;
    if (path == "/dev/stderr") return STDERR_FILENO;
    for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
        if (!path.starts_with(folder)) continue;
        const char* const end = path.data() + path.size();
        int number = -1;
        const auto parsed = std::from_chars(path.data() + folder.size(), end, number);
        if (parsed.ec == std::errc() && parsed.ptr == end && number >= 0) return number;
    }
    return std::nullopt;
}

/// Where a chain of symbolic links ends, whether there is a file or not.
std::string targetOf(const std::string& path) {
    std::filesystem::path target = path;
    constexpr int longestChain = 40;
    for (int i = 0; i < longestChain; ++i) {
        std::error_code notALink;
        const std::filesystem::path next = std::filesystem::read_symlink(target, notALink);
        if (notALink) return target.string();
        target = target.parent_path() / next;
    }
    failWith(cannotWrite, path, ELOOP);
}

/// A file under a name of its own beside another, deleted again unless it is given that name.
class FileBeside {
  public:
    FileBeside(const std::string& target, mode_t mode, std::string_view purpose) {
        create(target, purpose, [&](const std::string& path) {
            const int number = uninterrupted([&] {
                return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            });
            descriptor_.emplace(number);
            return number >= 0;
        });
    }
    /// Another name of the file at `target`.
    struct Link {};
    FileBeside(const std::string& target, Link /*unused*/, std::string_view purpose) {
        create(target, purpose,
               [&](const std::string& path) { return ::link(target.c_str(), path.c_str()) == 0; });
    }
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;
    ~FileBeside() {
        // Also after a success: to give one file the second name of itself leaves both names.
        if (!path_.empty()) ::unlink(path_.c_str());
    }

    [[nodiscard]] int descriptor() const noexcept { return descriptor_->number(); }

    /// False: `errno` says why.
    bool finish() {
        return uninterrupted([&] { return ::fsync(descriptor()); }) == 0 && descriptor_->close();
    }

    bool giveName(const std::string& name) { return ::rename(path_.c_str(), name.c_str()) == 0; }

  private:
    template <typename Make>
    void create(const std::string& target, std::string_view purpose, const Make& make) {
        constexpr std::size_t suffix = 6;
        constexpr std::string_view mark = ".vlisp-";
        constexpr std::size_t longestName = 255 - 1 - mark.size() - suffix;
        constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
        const std::size_t slash = target.rfind('/') + 1;
        std::string name = target.substr(slash);
        if (name.size() > longestName) {
            std::size_t end = longestName;  // not inside a character
            while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xc0) == 0x80) --end;
            name.resize(end);
        }
        std::random_device random;
        for (int attempt = 0; attempt < 100; ++attempt) {
            std::string path = target.substr(0, slash) + '.' + name;
            path += mark;
            for (std::size_t i = 0; i < suffix; ++i) path += letters[random() % letters.size()];
            if (make(path)) {
                path_ = std::move(path);
                return;
            }
            if (errno != EEXIST) break;
        }
        failWith(purpose, target, errno);
    }

    std::string path_;
    std::optional<Descriptor> descriptor_;
};

/// The group's rights are given to no other group.
void keepOwnerAndMode(int descriptor, const struct stat& old) {
    mode_t mode = old.st_mode & 07777;
    const bool sameOwner = ::fchown(descriptor, old.st_uid, old.st_gid) == 0;
    if (!sameOwner) mode &= ~mode_t{S_ISUID};
    if (!sameOwner && ::fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0)
        mode = (mode & ~mode_t{S_ISGID | S_IRWXG}) | ((mode & S_IRWXO) << 3);
    ::fchmod(descriptor, mode);
}

/// False: `errno` says why.
bool copyContent(const std::string& from, int to) {
    const Descriptor source(
        uninterrupted([&] { return ::open(from.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!source.isOpen()) return false;
    std::string block(std::size_t{1} << 20, '\0');
    for (;;) {
        const ssize_t count =
            uninterrupted([&] { return ::read(source.number(), block.data(), block.size()); });
        if (count <= 0) return count == 0;
        if (!writeAll(to, {block.data(), static_cast<std::size_t>(count)})) return false;
    }
}

void copyBeside(const std::string& target, const struct stat& old, const std::string& backup) {
    constexpr std::string_view cannotKeep = "cannot keep a copy of";
    FileBeside copy(target, 0600, cannotKeep);
    keepOwnerAndMode(copy.descriptor(), old);
    if (!copyContent(target, copy.descriptor()) || !copy.finish() || !copy.giveName(backup))
        failWith(cannotKeep, target, errno);
}

/// Gives the file at `target` a second name; where the file system has none, copies it.
void keepBackup(const std::string& target, const struct stat& old) {
    const std::string backup = target + ".bak";
    std::optional<FileBeside> link;
    try {
        link.emplace(target, FileBeside::Link{}, cannotWrite);
    } catch (const ReplaceFailure&) {
        return copyBeside(target, old, backup);
    }
    if (!link->giveName(backup)) failWith(cannotWrite, backup, errno);
}

/// Makes the new names last. The files are whole without it, so a failure is none.
void syncFolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    const Descriptor descriptor(uninterrupted([&] {
        return ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }));
    if (descriptor.isOpen()) uninterrupted([&] { return ::fsync(descriptor.number()); });
}

void replaceRegularFile(const std::string& path, std::span<const std::string_view> pieces,
                        OldFile oldFile) {
    const std::string target = targetOf(path);
    struct stat old {};
    const bool exists = ::stat(target.c_str(), &old) == 0;
    if (!exists && errno != ENOENT) failWith(cannotWrite, path, errno);
    if (exists && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        failWith(cannotWrite, path, errno);

    constexpr mode_t asTheUserWants = 0666;  // the system takes away what is masked
    FileBeside fresh(target, exists ? 0600 : asTheUserWants, cannotWrite);
    if (!writePieces(fresh.descriptor(), pieces)) failWith(cannotWrite, path, errno);
    if (exists) keepOwnerAndMode(fresh.descriptor(), old);
    if (!fresh.finish()) failWith(cannotWrite, path, errno);
    if (exists && oldFile == OldFile::keep) keepBackup(target, old);
    if (!fresh.giveName(target)) failWith(cannotWrite, path, errno);
    syncFolderOf(target);
}

void writeDirectly(int descriptor, const std::string& path,
                   std::span<const std::string_view> pieces) {
    if (!writePieces(descriptor, pieces)) failWith(cannotWrite, path, errno);
}

void replaceAnything(const std::string& path, std::span<const std::string_view> pieces,
                     OldFile oldFile) {
    const WriteErrorsWithoutSignals noSignals;
    if (const auto number = descriptorNamedBy(path)) return writeDirectly(*number, path, pieces);
    if (const std::size_t zero = path.find('\0'); zero != std::string::npos)
        failWith(cannotWrite, path.substr(0, zero), EINVAL);

    struct stat found {};
    const bool exists = ::stat(path.c_str(), &found) == 0;
    if (exists && S_ISDIR(found.st_mode)) failWith(cannotWrite, path, EISDIR);
    if (!exists || S_ISREG(found.st_mode)) return replaceRegularFile(path, pieces, oldFile);
    Descriptor device(
        uninterrupted([&] { return ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY); }));
    if (!device.isOpen()) failWith(cannotWrite, path, errno);
    writeDirectly(device.number(), path, pieces);
    if (!device.close()) failWith(cannotWrite, path, errno);
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
