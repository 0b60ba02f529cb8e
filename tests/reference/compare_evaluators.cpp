// compare_evaluators: runs random programs by the product's evaluator and by the literal one.
//
//     compare_evaluators --seeds FROM COUNT    compares programs; reduces the first that differs
//     compare_evaluators --show FROM COUNT     prints programs and what is seen of them
//     compare_evaluators --figures FROM COUNT  prints how much work the programs do
//
// Ends with 1 when a program differs.
#include "tests/reference/patience.h"
#include "tests/reference/program_generator.h"
#include "tests/reference/reduction.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace vlisp;
using reference::Evaluator;
using reference::Patience;
using reference::Program;
using reference::Transcript;

bool differsInTime(const Program& program) {
    const Patience patience;
    const Transcript literal = run(program, Evaluator::literal);
    if (!literal.interruption.empty()) return false;
    for (const Evaluator evaluator : {Evaluator::product, Evaluator::native}) {
        const Transcript product = run(program, evaluator);
        if (!product.interruption.empty()) return false;
        if (!differenceBetween(program, product, literal).empty()) return true;
    }
    return false;
}

int compareSeeds(std::uint64_t from, std::uint64_t count) {
    for (std::uint64_t seed = from; seed < from + count; ++seed) {
        const Program program = makeProgram(reference::Choices(seed));
        const std::string difference = compare(program);
        if (!difference.empty()) {
            std::printf("seed %llu: %s", static_cast<unsigned long long>(seed), difference.c_str());
            const Program small = reduced(program, differsInTime);
            std::printf("\nreduced: %s", compare(small).c_str());
            return 1;
        }
        if ((seed - from + 1) % 100'000 == 0)
            std::fprintf(stderr, "%llu programs\n",
                         static_cast<unsigned long long>(seed - from + 1));
    }
    std::printf("%llu programs, no difference\n", static_cast<unsigned long long>(count));
    return 0;
}

int showSeeds(std::uint64_t from, std::uint64_t count) {
    for (std::uint64_t seed = from; seed < from + count; ++seed) {
        const Program program = makeProgram(reference::Choices(seed));
        const Transcript seen = run(program, Evaluator::literal);
        std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
        for (std::size_t i = 0; i < seen.outcomes.size(); ++i) {
            std::printf("  %s\n    => %s %s\n", program.expressions[i].c_str(),
                        seen.outcomes[i].printed.c_str(), seen.outcomes[i].error.c_str());
            for (const std::string& event : seen.outcomes[i].events)
                std::printf("    event %s\n", event.c_str());
        }
        if (!seen.interruption.empty())
            std::printf("  %s\n    %s\n", program.expressions[seen.outcomes.size()].c_str(),
                        seen.interruption.c_str());
    }
    return 0;
}

int figuresOf(std::uint64_t from, std::uint64_t count) {
    std::size_t expressions = 0;
    std::size_t good = 0;
    std::size_t events = 0;
    std::size_t interrupted = 0;
    for (std::uint64_t seed = from; seed < from + count; ++seed) {
        const Transcript seen = run(makeProgram(reference::Choices(seed)), Evaluator::literal);
        if (!seen.interruption.empty()) ++interrupted;
        for (const reference::Outcome& outcome : seen.outcomes) {
            ++expressions;
            if (outcome.error.empty()) ++good;
            events += outcome.events.size();
        }
    }
    std::printf("%llu programs, %zu expressions, %zu of them without an error, %zu events, "
                "%zu programs interrupted\n",
                static_cast<unsigned long long>(count), expressions, good, events, interrupted);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4) {
        const std::string_view verb = argv[1];
        const std::uint64_t from = std::strtoull(argv[2], nullptr, 10);
        const std::uint64_t count = std::strtoull(argv[3], nullptr, 10);
        if (verb == "--seeds") return compareSeeds(from, count);
        if (verb == "--show") return showSeeds(from, count);
        if (verb == "--figures") return figuresOf(from, count);
    }
    std::fputs("usage: compare_evaluators --seeds|--show|--figures FROM COUNT\n", stderr);
    return 2;
}
