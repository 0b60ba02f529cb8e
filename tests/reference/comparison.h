// The comparison: a program is run by the product's evaluator and by the literal one.
// One idea: everything that can be seen of a run is a transcript of texts; two evaluators are the
// same when no program's transcripts differ.
// Tests: tests/reference/comparison_test.cpp.
#pragma once

#include <string>
#include <vector>

namespace vlisp::reference {

/// Top-level expressions. With `oneBuffer` an error of one stands over the following, as in a file;
/// without it each begins without an error, as a text does.
struct Program {
    std::vector<std::string> expressions;
    bool oneBuffer = false;
};

/// What is seen of one expression.
struct Outcome {
    std::string value;      ///< every field of every cell
    std::string printed;    ///< as the user sees the value
    std::string error;      ///< what stands in the buffer behind it
    bool reported = false;  ///< whether this expression wrote that error
    std::vector<std::string> events;
};

struct Transcript {
    std::vector<Outcome> outcomes;
    /// The global bindings at the end, sorted by name, but for predefined functions in their place.
    std::vector<std::string> globals;
    /// An interruption's message ends the transcript: what was bound by then may differ.
    std::string interruption;
};

/// The product as it is, the product with everything that runs twice in native code, and the
/// literal one.
enum class Evaluator { product, native, literal };

/// Runs `program` in a fresh session. No other session may live.
[[nodiscard]] Transcript run(const Program& program, Evaluator evaluator);

/// The first difference of the first two from the literal one, for people, with the program; empty when there is
/// none.
[[nodiscard]] std::string compare(const Program& program);

/// The same of two transcripts of one program.
[[nodiscard]] std::string differenceBetween(const Program& program, const Transcript& product,
                                            const Transcript& literal);

/// The program as a person reads it.
[[nodiscard]] std::string textOf(const Program& program);

}  // namespace vlisp::reference
