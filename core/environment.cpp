// Scopes. See environment.h.
#include "core/environment.h"

#include "core/scope_collector.h"

#include <cassert>

namespace vlisp {
namespace {
Environment* globalScope = nullptr;
}

Environment::Environment(Environment* outer) noexcept
    : HeapObject(ObjectKind::environment), outer_(outer) {
    scope_collector::enlist(*this);
}

Environment::~Environment() { scope_collector::strike(*this); }

Ref<Environment> Environment::make(Environment* outer) {
    return Ref(new (heap::allocate(sizeof(Environment))) Environment(outer));
}

Ref<Environment> Environment::make(Items parameters, Arguments arguments, Environment* outer) {
    Ref<Environment> scope = make(outer);
    scope->bindings_.reserve(parameters.size());
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
    const SymbolData* key = name.get();
    bindings_.push_back({std::move(name), std::move(value)});
    if (!index_.empty()) {
        index_.emplace(key, static_cast<std::uint32_t>(bindings_.size() - 1));
    } else if (bindings_.size() > scanned) {
        for (std::uint32_t i = 0; i < bindings_.size(); ++i)
            index_.emplace(bindings_[i].name.get(), i);
    }
}

void Environment::clear() noexcept {
    std::vector<Binding> taken;
    taken.swap(bindings_);
    index_.clear();
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
