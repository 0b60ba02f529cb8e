// The interpreter session: start-up, loading files, evaluating texts for the host.
// One idea: every evaluation begins here, with an error buffer that the session owns, and ends
// here, with its message.
// Tests: tests/core/session_test.cpp.
#pragma once

#include "core/environment.h"
#include "core/error_buffer.h"
#include "core/host_port.h"
#include "core/reader.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp {

/// What the session is made of; filled in by whoever stands above the core.
struct SessionParts {
    HostPort& host;
    /// Fills the global environment with the constants and built-ins, in their order.
    std::function<void(Environment&)> registerBuiltins;
    /// The expression evaluated once at start-up.
    std::u16string_view prelude;
};

/// How a load ended.
struct LoadReport {
    /// The error buffer's text at the end, empty when there is no error.
    std::u16string errorText;
    /// Line of the top-level expression that wrote that text, counted from 1; 0 when there is none.
    std::size_t line = 0;
};

/// The module-wide interpreter. One exists at a time; its global environment lives as long as it
/// does. Not thread-safe: one evaluation at a time, on any thread.
class InterpreterSession {
  public:
    explicit InterpreterSession(SessionParts parts);
    InterpreterSession(const InterpreterSession&) = delete;
    InterpreterSession& operator=(const InterpreterSession&) = delete;
    ~InterpreterSession();

    /// From now on a session that ends leaves to the system what its programs have made: for a
    /// program that ends itself then, where taking it all apart would only take time.
    static void leaveAllAtTheEnd() noexcept;

    /// Sets EntityNameBase from the first random number of a generator seeded with `ticks`
    /// (milliseconds since the system started), registers the built-ins and evaluates the prelude.
    /// Called once.
    void StartInterpreter(std::uint32_t ticks);

    /// Loads the file at `path` as a worker does for the host: announces it, evaluates its
    /// expressions with one error buffer, sends the buffer's text as the end of the evaluation. A
    /// missing file is announced all the same and gives no expressions. An interruption ends the
    /// whole load.
    LoadReport LoadLispFile(const std::u16string& path);

    /// The same for a text that somebody else has read; `path` is what it is announced as.
    LoadReport loadLispText(const std::u16string& path, std::u16string_view source);

    /// Evaluates the expressions of the file named in LispPathBuffer with the caller's buffer;
    /// nothing is announced or sent.
    void LoadLispFileQuietly(ErrorBuffer& error);

    /// Evaluates the first expression of `buffer`. True: the buffer holds the printed value.
    /// False: it holds the error text.
    bool EvalString(std::u16string& buffer);

    /// The same, and `value` is the value itself.
    bool evalCell(std::u16string& buffer, Cell& value);

    // The same for callers that want the value in a form of their own. Without an error `first`
    // holds that form and `second` the printed value; with one `first` holds "nil" and `second` is
    // untouched.
    void EvalStringToPoint(std::u16string& first, std::u16string& second);
    void EvalStringToText(std::u16string& first, std::u16string& second);
    void EvalStringToFlatList(std::u16string& first, std::u16string& second);

    /// Path of the file to load, set by the host's commands.
    std::u16string LispPathBuffer;

  private:
    /// Loads the text that `read` gives, which may keep it in the string it is handed.
    LoadReport load(const std::u16string& path,
                    const std::function<std::u16string_view(std::u16string&)>& read);
    Cell evaluate(std::u16string_view text, ErrorBuffer& error, bool* interrupted = nullptr);
    void evaluateInto(std::u16string& first, std::u16string& second,
                      std::u16string (*convert)(const Cell&));

    SessionParts parts_;
    Ref<Environment> global_;
};

/// A flat, blank-separated text of a list: elements that are lists give each of their elements
/// printed, entity names give their ids, others nothing.
std::u16string FlatListText(const Cell& value);

}  // namespace vlisp
