// The operating system on Linux and its relatives. See system.h.
#include "platform/system.h"

#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <memory>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace vlisp::platform {
namespace {

struct StackBounds {
    std::uintptr_t lowest = 0;
    std::uintptr_t reserve = 0;
};

StackBounds boundsOfThisThread() noexcept {
    StackBounds bounds;
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return bounds;
    void* lowest = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attributes, &lowest, &size) == 0) {
        const std::size_t used = std::min(size, evaluationStack);
        bounds.lowest = reinterpret_cast<std::uintptr_t>(lowest) + (size - used);
        bounds.reserve = std::min<std::size_t>(256 * 1024, used / 4);
    }
    pthread_attr_destroy(&attributes);
    return bounds;
}

std::size_t stackLeft() noexcept {
    thread_local const StackBounds bounds = boundsOfThisThread();
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

void withStack(std::size_t stackBytes, const std::function<void()>& work) {
    if (stackLeft() >= stackBytes) {
        work();
        return;
    }
    std::exception_ptr thrown;
    Worker worker(stackBytes + 512 * 1024, [&] {
        try {
            work();
        } catch (...) {
            thrown = std::current_exception();
        }
    });
    worker.join();
    if (thrown) std::rethrow_exception(thrown);
}

void postToMainWindow(WindowHandle window, unsigned message, const void* record) {
    if (window != nullptr) window->post(message, record);
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

void warn(WindowHandle window, const char16_t* text) {
    if (window != nullptr) return window->warn(text);
    std::cerr << toUtf8(text) << '\n';
}

std::u16string chooseFile(WindowHandle window, const FileDialog& dialog) {
    constexpr std::size_t longestPath = 100'000;
    std::u16string path(longestPath, u'\0');
    if (window == nullptr || !window->chooseFile(dialog, path.data(), longestPath)) return {};
    path.back() = 0;
    path.resize(path.find(u'\0'));
    return path;
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

void openInEditor(WindowHandle window, const std::u16string& path) {
    const std::string command = editorCommand() + (path.empty() ? "" : " \"$1\"");
    std::string file = toUtf8(path);
    if (file.starts_with('-')) file.insert(0, "./");  // or the editor would take it for an option
    const bool sharesTerminal = window != nullptr && window->usesTerminal();
    const pid_t child = ::fork();
    if (child == 0) {
        // Unless it is waited for, the editor is nobody's child but the system's, and leaves none.
        if (!sharesTerminal && ::fork() != 0) ::_exit(0);
        // Nor does it read what is meant for the program.
        if (const int nothing = sharesTerminal ? -1 : ::open("/dev/null", O_RDONLY); nothing >= 0)
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

FileRead readWholeFile(const std::string& path, std::string& bytes, std::string& reason) {
    bytes.clear();
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               &std::fclose);
    if (!file) {
        reason = std::strerror(errno);
        return FileRead::notOpened;
    }
    char block[65536];
    constexpr std::size_t largest = std::size_t{1} << 30;
    while (const std::size_t count = std::fread(block, 1, sizeof block, file.get())) {
        bytes.append(block, count);
        if (bytes.size() > largest) {
            bytes.clear();
            reason = "larger than 1 GiB";
            return FileRead::failed;
        }
    }
    if (std::ferror(file.get()) == 0) return FileRead::done;
    const int failure = errno;
    bytes.clear();
    reason = std::strerror(failure);
    return failure == ENOENT ? FileRead::notFound : FileRead::failed;
}

}  // namespace vlisp::platform
