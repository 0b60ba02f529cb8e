// The evaluator: gives a cell its value in a scope.
// One idea: thirteen special forms known by name, everything else an application; errors travel in
// the caller's buffer, and while one stands there every symbol is nil, so that the rest collapses.
// Tests: tests/core/evaluator_test.cpp, tests/lisp/forms/, tests/core/limits_test.cpp.
#pragma once

#include "core/cell.h"
#include "core/environment.h"
#include "core/error_buffer.h"
#include "core/host_port.h"

#include <memory>
#include <span>

namespace vlisp {

/// The value of `cell` in `scope`. Errors are written to `error`; nothing is thrown for bad LISP.
/// Throws heap::OutOfMemory. Runs on any thread, one evaluation at a time; may be called again
/// from within a built-in. When calls have used up the stack, or the user's patience ends, raises an
/// interruption and returns nil (interruption.h).
Cell Eval(const Cell& cell, Environment& scope, ErrorBuffer& error);

/// The body of a function, to be evaluated again and again for a built-in: in a scope that holds the
/// parameters and sees the global names alone.
class FunctionBody {
  public:
    /// `form` has the shape of a LAMBDA expression: three elements at least, of which the second
    /// has the parameters and the third is the body. It must outlive this.
    explicit FunctionBody(const Cell& form);
    FunctionBody(const FunctionBody&) = delete;
    FunctionBody& operator=(const FunctionBody&) = delete;
    ~FunctionBody();

    /// The body's value for these arguments; parameters without one are nil. Errors go nowhere.
    Cell operator()(Arguments arguments);

  private:
    struct Prepared;

    const Cell& form_;
    std::unique_ptr<Prepared> prepared_;
};

using EvalProc = Cell (*)(const Cell& cell, Environment& scope, ErrorBuffer& error);

/// Makes Eval, and with it every built-in that evaluates, use `other`; null for this one. For tests
/// that compare.
void setEvaluator(EvalProc other) noexcept;

/// The name that a DEFUN of this name element binds. A "C:" name is registered with the host on the
/// way.
SymbolRef registeredName(const Cell& nameElement);

/// Where host commands are registered; null for nowhere.
[[nodiscard]] HostPort* commandPort() noexcept;

/// Where DEFUN registers host commands; null for nowhere. Kept by the session.
void setCommandPort(HostPort* port) noexcept;

/// A special form as people read about it.
struct SpecialFormHelp {
    const char* name;
    const char* synopsis;
    const char* help;
    const char* example;
    const char* result;  // what the example prints as
};

/// The thirteen special forms, in the order in which their names are tested.
std::span<const SpecialFormHelp> specialForms() noexcept;

}  // namespace vlisp
