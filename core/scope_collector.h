// The scope collector: frees scopes that only their own closures keep alive.
// One idea: counts free everything but cycles, and every cycle goes through a scope (a list is not
// grown in place by what holds it, slice.h); so now and then, look at the scopes alone and see which
// of them nothing outside them holds.
// Tests: tests/core/scope_collector_test.cpp.
#pragma once

#include <cstddef>

namespace vlisp {

class Environment;

namespace scope_collector {

/// Every scope is on the collector's list from birth to death.
void enlist(Environment& scope) noexcept;
void strike(Environment& scope) noexcept;

/// Tells that a call returned while something else held its scope. When enough scopes have
/// outlived their calls since the last collection, collects.
void scopeOutlivedCall() noexcept;

/// Frees every scope that cannot be reached from outside. Returns how many; 0 also when the machine
/// has no memory for the work. Linear in what the living scopes (the global one included) hold;
/// safe at any point of an evaluation, since whatever the evaluator holds counts as outside.
std::size_t collect() noexcept;

/// Collects when the heap's budget is used up, if a hundred scopes or more have outlived their calls
/// since the last time. Returns how many were freed.
std::size_t collectForMemory() noexcept;

/// Empties every scope: the end of a session.
void clearAll() noexcept;

[[nodiscard]] std::size_t livingScopes() noexcept;

}  // namespace scope_collector
}  // namespace vlisp
