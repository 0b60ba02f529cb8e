// Scopes. See environment.h.
#include "core/environment.h"

#include "core/scope_collector.h"

#include <algorithm>
#include <cassert>

namespace vlisp {
namespace {
Environment* globalScope = nullptr;
}

Environment::Environment(Environment* outer) noexcept
    : HeapObject(ObjectKind::environment), outer_(outer) {
    scope_collector::enlist(*this);
}

Environment::~Environment() {
    scope_collector::strike(*this);
    heap::discharge(charged_);
}

CallScope::~CallScope() {
    if (scope_->references > 1) scope_collector::scopeOutlivedCall();
}

Ref<Environment> Environment::make(Environment* outer) {
    return Ref(new (heap::allocate(sizeof(Environment))) Environment(outer));
}

Ref<Environment> Environment::make(Items parameters, Arguments arguments, Environment* outer) {
    Ref<Environment> scope = make(outer);
    for (std::size_t i = 0; i < parameters.size(); ++i)
        scope->Bind(parameters[i].textAsSymbol(), i < arguments.size() ? arguments[i] : NilCell);
    return scope;
}

Cell* Environment::find(const SymbolData* name) noexcept {
    if (index_.empty()) {
        for (Binding& binding : bindings_)
            if (binding.name.get() == name) return &binding.value;
        return nullptr;
    }
    const auto found = index_.find(name);
    return found == index_.end() ? nullptr : &bindings_[found->second].value;
}

void Environment::Bind(SymbolRef name, Cell value) {
    if (Cell* present = find(name.get())) {
        // The old value is released last: taking it apart must not meet a half-made binding.
        present->swap(value);
        return;
    }
    insert(std::move(name), std::move(value));
}

// Everything that can fail comes before anything that is seen.
void Environment::insert(SymbolRef name, Cell value) {
    if (bindings_.size() == bindings_.capacity()) {
        const std::size_t capacity = std::max<std::size_t>(2, bindings_.size() * 2);
        const std::size_t more = capacity * sizeof(Binding) - charged_;
        heap::charge(more);
        charged_ += more;
        bindings_.reserve(capacity);
    }
    const auto at = static_cast<std::uint32_t>(bindings_.size());
    if (!index_.empty()) {
        index_.emplace(name.get(), at);
    } else if (at >= mostWithoutIndex) {
        std::unordered_map<const SymbolData*, std::uint32_t> index;
        for (std::uint32_t i = 0; i < at; ++i) index.emplace(bindings_[i].name.get(), i);
        index.emplace(name.get(), at);
        index_.swap(index);
    }
    bindings_.push_back({std::move(name), std::move(value)});
}

void Environment::clear() noexcept {
    std::vector<Binding> taken;
    taken.swap(bindings_);
    index_.clear();
    heap::discharge(std::exchange(charged_, 0));
}

Environment& FindScope(Environment& scope, const SymbolData* name, ErrorBuffer& error,
                       Cell** value) {
    Environment* current = &scope;
    for (;;) {
        if (Cell* found = current->find(name)) {
            if (value != nullptr) *value = found;
            return *current;
        }
        if (current->outer() == nullptr) break;
        current = current->outer();
    }
    error.reportUndefinedSymbol(textOf(name));
    if (value != nullptr) *value = nullptr;
    return *current;
}

Environment& GlobalEnvironment() {
    assert(globalScope != nullptr && "no interpreter session lives");
    return *globalScope;
}

void setGlobalEnvironment(Environment* scope) noexcept { globalScope = scope; }

}  // namespace vlisp
