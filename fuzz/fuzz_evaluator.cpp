// Fuzzes the evaluator and the built-ins: the input is a program for a bare interpreter.
// One idea: whatever a program does, within a second and 256 MB it ends with a value or a message.
#include "core/heap.h"
#include "core/interruption.h"
#include "core/reader.h"
#include "platform/text.h"
#include "tests/support/bare_lisp.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/time.h>

namespace {

using namespace vlisp;

// While it lives, cancels every evaluation once a second of processor time is over.
class Patience {
  public:
    Patience() {
        over_ = 0;
        set(1);
    }
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;
    ~Patience() {
        set(0);
        interruption::take();
    }

    [[nodiscard]] bool over() const { return over_ != 0; }

    static void installHandler() {
        struct sigaction action = {};
        action.sa_handler = [](int) {
            over_ = 1;
            interruption::request(interruption::Reason::cancelled);
        };
        action.sa_flags = SA_RESTART;
        sigaction(SIGVTALRM, &action, nullptr);
    }

  private:
    // SIGALRM is the fuzzer's own.
    static void set(long seconds) {
        const itimerval interval = {{seconds, 0}, {seconds, 0}};
        setitimer(ITIMER_VIRTUAL, &interval, nullptr);
    }

    static inline volatile std::sig_atomic_t over_ = 0;
};

// Evaluates the first expression of `text`.
void evaluate(InterpreterSession& session, std::u16string_view text) {
    std::u16string buffer(text);
    if (session.EvalString(buffer)) return;
    if (buffer.starts_with(u";error; ") && buffer.size() < ErrorBuffer::capacity) return;
    std::fprintf(stderr, "fuzz_evaluator: failed with '%s'\n", platform::toUtf8(buffer).c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Patience::installHandler();
    heap::setLimit(std::size_t{256} << 20);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string source = platform::fromUtf8(std::string(data, data + size));
    const Patience patience;
    test::BareLisp lisp;
    // As a text that the host hands over, and as a file.
    evaluate(lisp.session, source);
    for (const SourceExpression& expression : splitText(source)) {
        if (patience.over()) break;
        evaluate(lisp.session, expression.text);
    }
    return 0;
}
