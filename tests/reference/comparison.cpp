// Runs and compares. See comparison.h.
#include "tests/reference/comparison.h"

#include "core/evaluator.h"
#include "core/heap.h"
#include "core/interruption.h"
#include "core/native_code.h"
#include "core/printer.h"
#include "core/reader.h"
#include "core/session.h"
#include "platform/text.h"
#include "tests/reference/evaluator.h"
#include "tests/reference/recorded_host.h"

#include <algorithm>
#include <string_view>

namespace vlisp::reference {
namespace {

using platform::toUtf8;

// Far more than a generated program needs.
constexpr std::size_t memory = std::size_t{256} << 20;

class EvaluatorInUse {
  public:
    explicit EvaluatorInUse(Evaluator evaluator) {
        setEvaluator(evaluator == Evaluator::literal ? reference::Eval : nullptr);
        if (evaluator == Evaluator::native) native::setThreshold(1);
    }
    EvaluatorInUse(const EvaluatorInUse&) = delete;
    EvaluatorInUse& operator=(const EvaluatorInUse&) = delete;
    ~EvaluatorInUse() {
        setEvaluator(nullptr);
        native::setThreshold(before_);
    }

  private:
    std::uint32_t before_ = native::threshold();
};

class MemoryLimit {
  public:
    MemoryLimit() : before_(heap::limit()) { heap::setLimit(heap::used() + memory); }
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
    ~MemoryLimit() { heap::setLimit(before_); }

  private:
    std::size_t before_;
};

// Evaluates the text of one expression. An interruption is left pending.
Outcome outcomeOf(const std::string& text, ErrorBuffer& error, RecordedHost& host) {
    Outcome outcome;
    const std::uint64_t before = error.reports();
    try {
        const Cell value = vlisp::Eval(Parse(platform::fromUtf8(text)), GlobalEnvironment(), error);
        outcome.value = detailsOf(value);
        outcome.printed = toUtf8(PrintCell(value));
    } catch (const heap::OutOfMemory&) {
        interruption::request(interruption::Reason::outOfMemory);
    }
    outcome.error = toUtf8(error.text());
    outcome.reported = !error.empty() && error.reports() != before;
    outcome.events = host.takeEvents();
    return outcome;
}

std::vector<std::string> changedGlobals() {
    std::vector<std::string> lines;
    for (const Environment::Binding& binding : GlobalEnvironment().bindings()) {
        const std::string name = toUtf8(vlisp::textOf(binding.name.get()));
        const std::string value = detailsOf(binding.value);
        if (value != "<built-in " + name + ">") lines.push_back(name + " = " + value);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

void addLine(std::string& out, std::string_view label, std::string_view text) {
    out += "  ";
    out += label;
    out += text;
    out += '\n';
}

std::string textOf(const Outcome& outcome) {
    std::string out;
    addLine(out, "value ", outcome.value);
    addLine(out, "printed ", outcome.printed);
    addLine(out, outcome.reported ? "error " : "standing error ", outcome.error);
    for (const std::string& event : outcome.events) addLine(out, "event ", event);
    return out;
}

bool same(const Outcome& a, const Outcome& b) {
    return a.value == b.value && a.printed == b.printed && a.error == b.error &&
           a.reported == b.reported && a.events == b.events;
}

// The bindings of `some` that `others` does not have.
std::string onlyIn(const std::vector<std::string>& some, const std::vector<std::string>& others) {
    std::string out;
    for (const std::string& each : some)
        if (!std::binary_search(others.begin(), others.end(), each)) addLine(out, "", each);
    return out;
}

std::string twoSides(const std::string& what, const std::string& product,
                     const std::string& literal) {
    return what + "\nthe product's evaluator:\n" + product + "the literal one:\n" + literal;
}

std::string outcomeText(const Transcript& transcript, std::size_t i) {
    return i < transcript.outcomes.size() ? textOf(transcript.outcomes[i])
                                          : "  " + transcript.interruption + "\n";
}

std::string firstDifference(const Program& program, const Transcript& product,
                            const Transcript& literal) {
    const std::size_t count = std::max(product.outcomes.size(), literal.outcomes.size());
    for (std::size_t i = 0; i < count; ++i) {
        const bool inBoth = i < product.outcomes.size() && i < literal.outcomes.size();
        if (inBoth && same(product.outcomes[i], literal.outcomes[i])) continue;
        return twoSides("expression " + std::to_string(i + 1) + ": " + program.expressions[i],
                        outcomeText(product, i), outcomeText(literal, i));
    }
    if (product.interruption != literal.interruption)
        return twoSides("interruption", "  " + product.interruption + "\n",
                        "  " + literal.interruption + "\n");
    if (product.globals != literal.globals)
        return twoSides("global names", onlyIn(product.globals, literal.globals),
                        onlyIn(literal.globals, product.globals));
    return {};
}

}  // namespace

Transcript run(const Program& program, Evaluator evaluator) {
    Transcript transcript;
    const MemoryLimit limit;
    const EvaluatorInUse inUse(evaluator);
    RecordedHost host;
    InterpreterSession session({host, RecordedHost::registerBuiltins, u"0"});
    session.StartInterpreter(1);
    ErrorBuffer error;
    for (const std::string& expression : program.expressions) {
        if (!program.oneBuffer) error.clear();
        Outcome outcome = outcomeOf(expression, error, host);
        const interruption::Reason why = interruption::take();
        if (why != interruption::Reason::none) {
            transcript.interruption = toUtf8(interruption::message(why));
            return transcript;
        }
        transcript.outcomes.push_back(std::move(outcome));
    }
    transcript.globals = changedGlobals();
    return transcript;
}

std::string differenceBetween(const Program& program, const Transcript& product,
                              const Transcript& literal) {
    const std::string difference = firstDifference(program, product, literal);
    return difference.empty() ? difference : difference + "the program:\n" + textOf(program);
}

std::string compare(const Program& program) {
    const Transcript literal = run(program, Evaluator::literal);
    std::string difference = differenceBetween(program, run(program, Evaluator::product), literal);
    if (!difference.empty()) return difference;
    difference = differenceBetween(program, run(program, Evaluator::native), literal);
    return difference.empty() ? difference : "in native code, " + difference;
}

std::string textOf(const Program& program) {
    std::string out;
    addLine(out, "; ", program.oneBuffer ? "one error buffer for all" : "an error buffer for each");
    for (const std::string& expression : program.expressions) addLine(out, "", expression);
    return out;
}

}  // namespace vlisp::reference
