// Environments: the scopes in which names are bound.
// One idea: a scope is a map from names to cells with a link outward; looking a name up never
// fails, it reports.
// Tests: tests/core/environment_test.cpp, tests/core/scope_collector_test.cpp.
//
// A scope is counted: the call that made it holds it, and so does every closure made in it. A
// closure kept in the scope that it was made in is a cycle; scope_collector.h breaks those.
#pragma once

#include "core/cell.h"
#include "core/error_buffer.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace vlisp {

class Environment final : public HeapObject {
  public:
    struct Binding {
        SymbolRef name;
        Cell value;
    };

    /// An empty scope inside `outer`; null makes a global one.
    static Ref<Environment> make(Environment* outer);

    /// A scope for a call: each parameter's text is bound to the argument at its position. A name
    /// given twice has the later argument; surplus arguments are dropped; a parameter without an
    /// argument is bound to nil.
    static Ref<Environment> make(Items parameters, Arguments arguments, Environment* outer);

    explicit Environment(Environment* outer) noexcept;
    ~Environment();

    [[nodiscard]] Environment* outer() const noexcept { return outer_.get(); }

    /// The value bound to `name` in this scope alone, or null. The pointer is valid until the next
    /// Bind in this scope.
    [[nodiscard]] Cell* find(const SymbolData* name) noexcept;

    /// Inserts or replaces the binding in this scope; never looks outward.
    void Bind(SymbolRef name, Cell value);

    /// All bindings, in no particular order.
    [[nodiscard]] const std::vector<Binding>& bindings() const noexcept { return bindings_; }

    /// Lets go of all bindings; what they held is released after they have become unreachable.
    void clear() noexcept;

    // The scope collector's list of all scopes that live.
    Environment* previousLiving = nullptr;
    Environment* nextLiving = nullptr;

  private:
    static constexpr std::size_t mostWithoutIndex = 12;

    void insert(SymbolRef name, Cell value);

    Ref<Environment> outer_;
    std::vector<Binding> bindings_;
    std::unordered_map<const SymbolData*, std::uint32_t> index_;
    std::size_t charged_ = 0;  // bytes of the bindings, as counted in the heap's budget
};

/// The scope of one call, let go of at its end. Tells the collector when something else still
/// holds it.
class CallScope {
  public:
    explicit CallScope(Ref<Environment> scope) noexcept : scope_(std::move(scope)) {}
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;
    ~CallScope();

    Environment& operator*() const noexcept { return *scope_; }
    Environment* operator->() const noexcept { return scope_.get(); }

  private:
    Ref<Environment> scope_;
};

/// The first scope from `scope` outward that binds `name`. When there is none, reports
/// ";error; undefined symbol '%s'\n" (replacing what stood in `error`) and returns the outermost
/// scope. `value`, when given, receives the binding found or null.
Environment& FindScope(Environment& scope, const SymbolData* name, ErrorBuffer& error,
                       Cell** value = nullptr);

/// The scope that holds the constants, the built-ins and what programs define at top level.
/// Exists while an InterpreterSession does.
Environment& GlobalEnvironment();

/// Called by the session that owns it; null when the session ends.
void setGlobalEnvironment(Environment* scope) noexcept;

}  // namespace vlisp
