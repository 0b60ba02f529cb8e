// The evaluator: gives a cell its value in a scope.
// One idea: thirteen special forms known by name, everything else an application; errors travel in
// the caller's buffer, and while one stands there every symbol is nil, so that the rest collapses.
// Tests: tests/core/evaluator_test.cpp, tests/lisp/forms/, tests/core/limits_test.cpp.
#pragma once

#include "core/cell.h"
#include "core/environment.h"
#include "core/error_buffer.h"
#include "core/host_port.h"

#include <span>

namespace vlisp {

/// The value of `cell` in `scope`. Errors are written to `error`; nothing is thrown for bad LISP.
/// Throws heap::OutOfMemory. Runs on any thread, one evaluation at a time; may be called again
/// from within a built-in. When the thread's stack or the user's patience ends, raises an
/// interruption and returns nil (interruption.h).
Cell Eval(const Cell& cell, Environment& scope, ErrorBuffer& error);

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
