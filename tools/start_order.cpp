// start_order OUTPUT PROGRAM ARGUMENT...: runs a program and writes a linker script that places the
// functions it ran next to each other, in the order in which they were first entered.
// One idea: a breakpoint stands at every function and is lifted when it is met, so that a run stops
// once for each function that it enters and is otherwise as quick as ever.
//
// A page of code that is touched for the first time comes with its neighbours. What every start runs
// through is a tenth of a program; lying apart it costs a start some twenty faults more.
//
// Needs: x86-64 Linux, a program with its symbols, compiled with -ffunction-sections.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using Address = std::uint64_t;

constexpr std::uint8_t breakpoint = 0xCC;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::string contentsOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail("cannot read " + path);
    return {std::istreambuf_iterator<char>(in), {}};
}

// The object of type T that lies at a place in a file.
template <typename T> T at(std::string_view file, std::size_t offset) {
    T object;
    if (offset > file.size() || file.size() - offset < sizeof object)
        throw std::runtime_error("the program's file is cut off");
    std::memcpy(&object, file.data() + offset, sizeof object);
    return object;
}

struct Function {
    std::vector<std::string> names;  // a constructor, for one, has two
    std::uint8_t firstByte = 0;
};

// The functions of an ELF file by their addresses in it.
std::map<Address, Function> functionsOf(std::string_view file) {
    const auto header = at<Elf64_Ehdr>(file, 0);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_machine != EM_X86_64)
        throw std::runtime_error("the program is none for x86-64");
    const auto section = [&](std::size_t number) {
        return at<Elf64_Shdr>(file, header.e_shoff + number * sizeof(Elf64_Shdr));
    };
    std::map<Address, Function> functions;
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        const Elf64_Shdr symbols = section(i);
        if (symbols.sh_type != SHT_SYMTAB) continue;
        const Elf64_Shdr texts = section(symbols.sh_link);
        for (Address k = 0; k + sizeof(Elf64_Sym) <= symbols.sh_size; k += sizeof(Elf64_Sym)) {
            const auto symbol = at<Elf64_Sym>(file, symbols.sh_offset + k);
            if (ELF64_ST_TYPE(symbol.st_info) != STT_FUNC) continue;
            if (symbol.st_size == 0 || symbol.st_shndx == SHN_UNDEF) continue;
            if (symbol.st_shndx >= header.e_shnum) continue;
            const Elf64_Shdr home = section(symbol.st_shndx);
            Function& function = functions[symbol.st_value];
            function.firstByte =
                at<std::uint8_t>(file, symbol.st_value - home.sh_addr + home.sh_offset);
            const std::string_view rest = file.substr(texts.sh_offset + symbol.st_name);
            function.names.emplace_back(rest.substr(0, rest.find('\0')));
        }
    }
    if (functions.empty()) throw std::runtime_error("the program has no symbols");
    return functions;
}

// A program that is run under our eyes.
class Run {
  public:
    explicit Run(char** command) : process_(::fork()) {
        if (process_ < 0) fail("cannot start a process");
        if (process_ == 0) {
            const int nowhere = ::open("/dev/null", O_RDWR);
            for (const int standard : {0, 1, 2}) ::dup2(nowhere, standard);
            ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            ::execv(command[0], command);
            ::_exit(127);
        }
        if (!stops() || WSTOPSIG(status_) != SIGTRAP)
            throw std::runtime_error("the program could not be run");
        ::ptrace(PTRACE_SETOPTIONS, process_, nullptr, PTRACE_O_EXITKILL);
        const std::string folder = "/proc/" + std::to_string(process_);
        // Its first line is where the program's file begins.
        base_ = std::stoull(contentsOf(folder + "/maps"), nullptr, 16);
        memory_ = ::open((folder + "/mem").c_str(), O_RDWR | O_CLOEXEC);
        if (memory_ < 0) fail("cannot open the program's memory");
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() {
        if (memory_ >= 0) ::close(memory_);
        if (!WIFEXITED(status_) && !WIFSIGNALED(status_)) {
            ::kill(process_, SIGKILL);
            ::waitpid(process_, nullptr, 0);
        }
    }

    void put(Address place, std::uint8_t byte) {
        if (::pwrite(memory_, &byte, 1, static_cast<off_t>(base_ + place)) != 1)
            fail("cannot write to the program's memory");
    }

    // Goes on to the next breakpoint and returns where it stands; false when the program has ended.
    bool meets(Address& place) {
        int signal = 0;
        while (true) {
            ::ptrace(PTRACE_CONT, process_, nullptr, signal);
            if (!stops()) return false;
            signal = WSTOPSIG(status_);
            if (signal == SIGTRAP) break;
        }
        user_regs_struct registers{};
        if (::ptrace(PTRACE_GETREGS, process_, nullptr, &registers) != 0)
            fail("cannot read the program's registers");
        place = --registers.rip - base_;
        if (::ptrace(PTRACE_SETREGS, process_, nullptr, &registers) != 0)
            fail("cannot set the program's registers");
        return true;
    }

    [[nodiscard]] bool endedWell() const { return WIFEXITED(status_) && WEXITSTATUS(status_) == 0; }

  private:
    bool stops() {
        while (::waitpid(process_, &status_, 0) != process_)
            if (errno != EINTR) fail("cannot wait for the program");
        return WIFSTOPPED(status_);
    }

    pid_t process_;
    int status_ = 0;
    int memory_ = -1;
    Address base_ = 0;
};

// The names of the functions that a run of `command` enters, in that order.
std::vector<std::string> entered(char** command) {
    std::map<Address, Function> functions = functionsOf(contentsOf(command[0]));
    std::vector<std::string> names;
    Run run(command);
    for (const auto& [place, function] : functions) run.put(place, breakpoint);
    for (Address place = 0; run.meets(place);) {
        const auto met = functions.find(place);
        if (met == functions.end()) throw std::runtime_error("a breakpoint that is none of ours");
        run.put(place, met->second.firstByte);
        std::ranges::move(met->second.names, std::back_inserter(names));
        functions.erase(met);
    }
    if (!run.endedWell()) throw std::runtime_error("the program did not end well");
    return names;
}

void write(const char* path, const std::vector<std::string>& names) {
    std::ofstream out(path);
    out << "SECTIONS\n{\n  .text.start :\n  {\n    *crt1.o(.text) *crtbegin*.o(.text)\n";
    for (const std::string& name : names)
        out << "    *(.text." << name << " .text.startup." << name << ")\n";
    out << "  }\n}\nINSERT BEFORE .text;\n";
    if (!out.flush()) fail(std::string("cannot write ") + path);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: start_order OUTPUT PROGRAM ARGUMENT...\n", stderr);
        return 2;
    }
    std::vector<std::string> names;
    try {
        names = entered(argv + 2);
    } catch (const std::exception& problem) {
        // A program in any order is as good, and starts a little later.
        std::fprintf(stderr, "start_order: %s; functions stay where they are\n", problem.what());
    }
    try {
        write(argv[1], names);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "start_order: %s\n", problem.what());
        return 1;
    }
    return 0;
}
