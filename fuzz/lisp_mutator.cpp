// Mutations that know LISP: half of all changes put a token of the language into the input.
// One idea: the words come from the tables that define them, so that new names are tried at once.
#include "builtins/registry.h"
#include "core/evaluator.h"

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace {

std::vector<std::string> allTokens() {
    std::vector<std::string> tokens{"(",
                                    ")",
                                    "'",
                                    "'()",
                                    "\"",
                                    "\"a\"",
                                    ";",
                                    "\n",
                                    "\t",
                                    "/",
                                    "x",
                                    "y",
                                    "nil",
                                    "T",
                                    "PI",
                                    ".",
                                    "0",
                                    "1",
                                    "-1",
                                    "3",
                                    "2.5",
                                    "99",
                                    "EQ",
                                    "C:X",
                                    "(x)",
                                    "(x y)",
                                    "'(1 2 3)",
                                    "'((1 . 2) (3 4))",
                                    "2147483647",
                                    "(lambda (x) (",
                                    "(defun x (y / x) ",
                                    "(setq x ",
                                    "x)",
                                    "``"};
    for (const vlisp::SpecialFormHelp& form : vlisp::specialForms())
        tokens.push_back(std::string("(") + form.name);
    for (const vlisp::BuiltinRow& row : vlisp::builtinRows()) {
        if (row.proc == nullptr) continue;
        tokens.push_back(std::string("(") + row.name);
        tokens.push_back(row.example);
    }
    return tokens;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned seed) {
    static const std::vector<std::string> tokens = allTokens();
    std::minstd_rand random(seed);
    const auto below = [&](std::size_t bound) { return random() % bound; };
    if (below(2) == 0) return LLVMFuzzerMutate(data, size, most);

    const std::string inserted = " " + tokens[below(tokens.size())] + " ";
    if (size + inserted.size() > most) return LLVMFuzzerMutate(data, size, most);
    const std::size_t at = below(size + 1);
    std::memmove(data + at + inserted.size(), data + at, size - at);
    std::memcpy(data + at, inserted.data(), inserted.size());
    return size + inserted.size();
}
