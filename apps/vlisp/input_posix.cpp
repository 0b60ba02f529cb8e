// What the program gets from its caller, on Linux and its relatives. See input.h.
#include "apps/vlisp/input.h"

#include "apps/vlisp/signals.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vlisp::app {

std::vector<std::string> wordsOfCommandLine(int argc, char** argv) {
    return {argv + 1, argv + argc};
}

// A descriptor that the caller closed would be given to the next file that is opened.
void prepareStreams() {
    int descriptor = 0;
    while (descriptor <= STDERR_FILENO) {
        descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (descriptor < 0) return;
    }
    ::close(descriptor);
}

bool isTerminal(int descriptor) noexcept { return ::isatty(descriptor) != 0; }

int openInput(const std::string& path, std::string& reason) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    int problem = descriptor < 0 ? errno : 0;
    struct stat status {};
    if (problem == 0 && ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        ::close(descriptor);
        problem = EISDIR;
    }
    if (problem == 0) return descriptor;
    reason = std::strerror(problem);
    return -1;
}

void closeInput(int descriptor) noexcept { ::close(descriptor); }

bool readInput(int descriptor, std::string& bytes) {
    if (!waitForInput(descriptor)) return false;
    char block[65536];
    const ssize_t count = ::read(descriptor, block, sizeof block);
    if (count > 0) bytes.append(block, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

}  // namespace vlisp::app
