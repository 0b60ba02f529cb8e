// Environments: the scopes in which names are bound.
// One idea: a scope is a map from names to cells with a link outward; looking a name up never
// fails, it reports.
// Tests: tests/core/environment_test.cpp, tests/core/scope_collector_test.cpp.
//
// Where the values lie depends on who made the scope:
//
//   the global one     in the names themselves (globalPlace in cell.h), found without a search
//   of a call          in a row of slots whose names a ScopeShape tells; made by the machine for
//                      functions that make closures
//   any other          in a list of bindings, to which anything can be added
//
// A scope is counted: the call that made it holds it, and so does every closure made in it. A
// closure kept in the scope that it was made in is a cycle; scope_collector.h breaks those.
#pragma once

#include "core/cell.h"
#include "core/error_buffer.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace vlisp {

/// The names that the scopes of one function can ever hold, a slot each, and those around it.
class ScopeShape final : public HeapObject {
  public:
    struct Slot {
        SymbolRef name;
        /// Bound before anything in the function can look: a parameter, or a local of a DEFUN.
        bool alwaysBound = false;
    };

    static Ref<ScopeShape> make(Ref<ScopeShape> outer);
    explicit ScopeShape(Ref<ScopeShape> outer) noexcept;

    static constexpr std::uint32_t none = 0xffffffff;
    /// The slot of `name`, or none.
    [[nodiscard]] std::uint32_t find(const SymbolData* name) const noexcept;
    /// The slot of `name`, made when there is none.
    std::uint32_t add(SymbolRef name, bool alwaysBound);

    [[nodiscard]] const std::vector<Slot>& slots() const noexcept { return slots_; }
    /// The shape of the scope around; null for the global one.
    [[nodiscard]] const ScopeShape* outer() const noexcept { return outer_.get(); }

    /// The scope's names are not known beforehand: they must be searched when they are needed.
    bool open = false;

  private:
    std::vector<Slot> slots_;
    std::unordered_map<const SymbolData*, std::uint32_t> index_;  // once there are many
    Ref<ScopeShape> outer_;
};

class Environment final : public HeapObject {
  public:
    struct Binding {
        SymbolRef name;
        Cell value;
    };

    /// An empty scope inside `outer`; null makes an outermost one.
    static Ref<Environment> make(Environment* outer);

    /// A scope for a call: each parameter's text is bound to the argument at its position. A name
    /// given twice has the later argument; surplus arguments are dropped; a parameter without an
    /// argument is bound to nil.
    static Ref<Environment> make(Items parameters, Arguments arguments, Environment* outer);

    /// A scope with a slot for each name of `shape`, all of them unbound.
    static Ref<Environment> make(ScopeShape& shape, Environment* outer);

    Environment(Environment* outer, ScopeShape* shape) noexcept;
    ~Environment();
    static void destroy(Environment* scope) noexcept;

    [[nodiscard]] Environment* outer() const noexcept { return outer_.get(); }
    [[nodiscard]] ScopeShape* shape() const noexcept { return shape_.get(); }
    [[nodiscard]] bool isGlobal() const noexcept { return isGlobal_; }

    /// The values, in the order of the shape's slots.
    [[nodiscard]] Cell* slots() noexcept { return reinterpret_cast<Cell*>(this + 1); }

    /// The value bound to `name` in this scope alone, or null. The pointer is valid until the next
    /// Bind in this scope.
    [[nodiscard]] Cell* find(const SymbolData* name) noexcept;

    /// Inserts or replaces the binding in this scope; never looks outward.
    void Bind(SymbolRef name, Cell value);

    /// All bindings, in no particular order.
    [[nodiscard]] std::vector<Binding> bindings() const;

    /// Calls `visit` with every value that is bound.
    template <class Visit> void forEachValue(Visit visit) const;

    /// Lets go of all bindings; what they held is released after they have become unreachable.
    void clear() noexcept;

    /// Where in a scope the address of the next one outward stands.
    static std::size_t offsetOfOuter() noexcept;

    // The scope collector's list of all scopes that live.
    Environment* previousLiving = nullptr;
    Environment* nextLiving = nullptr;

  private:
    friend void setGlobalEnvironment(Environment* scope) noexcept;

    struct Bindings;

    [[nodiscard]] std::uint32_t slotCount() const noexcept {
        return shape_ ? static_cast<std::uint32_t>(shape_->slots().size()) : 0;
    }
    [[nodiscard]] const Cell* slots() const noexcept {
        return reinterpret_cast<const Cell*>(this + 1);
    }
    void keepInNames() noexcept;
    void keepInBindings() noexcept;

    Ref<Environment> outer_;
    Ref<ScopeShape> shape_;
    std::unique_ptr<Bindings> rest_;  // what has no slot; of the global scope the names alone
    bool isGlobal_ = false;
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

/// Called by the session that owns it; null when the session ends. The scope's values move into
/// their names, and those of the former global scope back into it.
void setGlobalEnvironment(Environment* scope) noexcept;

/// The symbol that stands for `name` where an object is needed: of the empty name, too.
[[nodiscard]] inline SymbolData& symbolOrEmpty(const SymbolData* name) noexcept {
    static constinit SymbolData empty(0, 0);
    // The names are not const themselves: cells merely look at them.
    return name != nullptr ? *const_cast<SymbolData*>(name) : empty;  // NOLINT(*-const-cast)
}

// --- Details ---

struct Environment::Bindings {
    std::vector<Binding> list;
    std::unordered_map<const SymbolData*, std::uint32_t> index;  // once there are many
    std::size_t charged = 0;  // bytes of the list, as counted in the heap's budget

    [[nodiscard]] Cell* find(const SymbolData* name) noexcept;
    void insert(SymbolRef name, Cell value);
    /// The same for a scope that finds its names without this list.
    void append(SymbolRef name, Cell value);
    void makeIndex();
};

template <class Visit> void Environment::forEachValue(Visit visit) const {
    for (std::uint32_t i = 0; i < slotCount(); ++i)
        if (!slots()[i].isUnbound()) visit(slots()[i]);
    if (rest_ == nullptr) return;
    for (const Binding& binding : rest_->list)
        visit(isGlobal_ ? globalPlace(symbolOrEmpty(binding.name.get())) : binding.value);
}

}  // namespace vlisp
