// Fuzzes the evaluator against the literal one: the input decides what program is written.
// One idea: whatever the program, both show the same values, errors, output and global names.
#include "tests/reference/program_generator.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vlisp::reference;
    const std::string difference = compare(makeProgram(Choices(std::span(data, size))));
    if (difference.empty()) return 0;
    std::fprintf(stderr, "fuzz_compare: %s", difference.c_str());
    std::abort();
}
