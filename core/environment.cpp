// Scopes. See environment.h.
#include "core/environment.h"

#include "core/intrinsics.h"
#include "core/scope_collector.h"

#include <algorithm>
#include <cassert>

namespace vlisp {
namespace {

Environment* globalScope = nullptr;

constexpr std::size_t mostWithoutIndex = 12;

}  // namespace

// --- Shapes ---

ScopeShape::ScopeShape(Ref<ScopeShape> outer) noexcept
    : HeapObject(ObjectKind::shape), outer_(std::move(outer)) {}

Ref<ScopeShape> ScopeShape::make(Ref<ScopeShape> outer) {
    return Ref(new (heap::allocate(sizeof(ScopeShape))) ScopeShape(std::move(outer)));
}

std::uint32_t ScopeShape::find(const SymbolData* name) const noexcept {
    if (!index_.empty()) {
        const auto found = index_.find(name);
        return found == index_.end() ? none : found->second;
    }
    for (std::size_t i = 0; i < slots_.size(); ++i)
        if (slots_[i].name.get() == name) return static_cast<std::uint32_t>(i);
    return none;
}

std::uint32_t ScopeShape::add(SymbolRef name, bool alwaysBound) {
    if (const std::uint32_t present = find(name.get()); present != none) return present;
    slots_.push_back({std::move(name), alwaysBound});
    if (slots_.size() > mostWithoutIndex)
        for (std::size_t i = index_.size(); i < slots_.size(); ++i)
            index_.emplace(slots_[i].name.get(), static_cast<std::uint32_t>(i));
    return static_cast<std::uint32_t>(slots_.size() - 1);
}

// --- Scopes ---

Environment::Environment(Environment* outer, ScopeShape* shape) noexcept
    : HeapObject(ObjectKind::environment), outer_(outer), shape_(shape) {
    for (std::uint32_t i = 0; i < slotCount(); ++i) std::construct_at(slots() + i, Cell::unbound());
    scope_collector::enlist(*this);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
std::size_t Environment::offsetOfOuter() noexcept {
    static_assert(sizeof(Ref<Environment>) == sizeof(Environment*));
    return offsetof(Environment, outer_);
}
#pragma GCC diagnostic pop

Environment::~Environment() {
    scope_collector::strike(*this);
    for (std::uint32_t i = 0; i < slotCount(); ++i) std::destroy_at(slots() + i);
    if (rest_ != nullptr) heap::discharge(rest_->charged);
}

void Environment::destroy(Environment* scope) noexcept {
    const std::size_t bytes = sizeof(Environment) + scope->slotCount() * sizeof(Cell);
    scope->~Environment();
    heap::release(scope, bytes);
}

CallScope::~CallScope() {
    if (scope_->references > 1) scope_collector::scopeOutlivedCall();
}

Ref<Environment> Environment::make(Environment* outer) {
    return Ref(new (heap::allocate(sizeof(Environment))) Environment(outer, nullptr));
}

Ref<Environment> Environment::make(Items parameters, Arguments arguments, Environment* outer) {
    Ref<Environment> scope = make(outer);
    for (std::size_t i = 0; i < parameters.size(); ++i)
        scope->Bind(parameters[i].textAsSymbol(), i < arguments.size() ? arguments[i] : NilCell);
    return scope;
}

Ref<Environment> Environment::make(ScopeShape& shape, Environment* outer) {
    const std::size_t bytes = sizeof(Environment) + shape.slots().size() * sizeof(Cell);
    return Ref(new (heap::allocate(bytes)) Environment(outer, &shape));
}

Cell* Environment::find(const SymbolData* name) noexcept {
    if (isGlobal_) {
        Cell& place = globalPlace(symbolOrEmpty(name));
        return place.isUnbound() ? nullptr : &place;
    }
    if (shape_) {
        const std::uint32_t slot = shape_->find(name);
        if (slot != ScopeShape::none && !slots()[slot].isUnbound()) return &slots()[slot];
    }
    return rest_ != nullptr ? rest_->find(name) : nullptr;
}

// The old value is always released last: taking it apart must not meet a half-made binding.
void Environment::Bind(SymbolRef name, Cell value) {
    if (isGlobal_) {
        SymbolData& symbol = symbolOrEmpty(name.get());
        if (globalPlace(symbol).isUnbound()) {
            if (rest_ == nullptr) rest_ = std::make_unique<Bindings>();
            rest_->append(std::move(name), Cell());
        }
        globalPlace(symbol).swap(value);
        if (symbol.intrinsic != 0) intrinsics::refresh(symbol);
        return;
    }
    if (shape_) {
        const std::uint32_t slot = shape_->find(name.get());
        if (slot != ScopeShape::none) return slots()[slot].swap(value);
    }
    if (rest_ == nullptr) rest_ = std::make_unique<Bindings>();
    if (Cell* present = rest_->find(name.get())) return present->swap(value);
    rest_->insert(std::move(name), std::move(value));
}

Cell* Environment::Bindings::find(const SymbolData* name) noexcept {
    if (list.size() <= mostWithoutIndex) {
        for (Binding& binding : list)
            if (binding.name.get() == name) return &binding.value;
        return nullptr;
    }
    const auto found = index.find(name);
    return found == index.end() ? nullptr : &list[found->second].value;
}

// Everything that can fail comes before anything that is seen.
void Environment::Bindings::append(SymbolRef name, Cell value) {
    if (list.size() == list.capacity()) {
        const std::size_t capacity = std::max<std::size_t>(2, list.size() * 2);
        const std::size_t more = capacity * sizeof(Binding) - charged;
        heap::charge(more);
        charged += more;
        list.reserve(capacity);
    }
    list.push_back({std::move(name), std::move(value)});
}

void Environment::Bindings::insert(SymbolRef name, Cell value) {
    append(std::move(name), std::move(value));
    makeIndex();
}

void Environment::Bindings::makeIndex() {
    if (list.size() <= mostWithoutIndex) return;
    for (std::size_t i = index.size(); i < list.size(); ++i)
        index.emplace(list[i].name.get(), static_cast<std::uint32_t>(i));
}

std::vector<Environment::Binding> Environment::bindings() const {
    std::vector<Binding> all;
    for (std::uint32_t i = 0; i < slotCount(); ++i)
        if (!slots()[i].isUnbound()) all.push_back({shape_->slots()[i].name, slots()[i]});
    if (rest_ == nullptr) return all;
    for (const Binding& binding : rest_->list) {
        const Cell& value =
            isGlobal_ ? globalPlace(symbolOrEmpty(binding.name.get())) : binding.value;
        all.push_back({binding.name, value});
    }
    return all;
}

void Environment::clear() noexcept {
    if (isGlobal_) keepInBindings();
    std::unique_ptr<Bindings> taken = std::move(rest_);
    if (taken != nullptr) heap::discharge(taken->charged);
    for (std::uint32_t i = 0; i < slotCount(); ++i) {
        Cell value = Cell::unbound();
        slots()[i].swap(value);
    }
    if (isGlobal_) keepInNames();
}

void Environment::keepInNames() noexcept {
    if (rest_ == nullptr) return;
    for (Binding& binding : rest_->list) {
        SymbolData& symbol = symbolOrEmpty(binding.name.get());
        globalPlace(symbol) = std::move(binding.value);
        if (symbol.intrinsic != 0) intrinsics::refresh(symbol);
    }
}

void Environment::keepInBindings() noexcept {
    if (rest_ == nullptr) return;
    for (Binding& binding : rest_->list) {
        SymbolData& symbol = symbolOrEmpty(binding.name.get());
        binding.value = Cell::unbound();
        binding.value.swap(globalPlace(symbol));
        if (symbol.intrinsic != 0) intrinsics::refresh(symbol);
    }
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

void setGlobalEnvironment(Environment* scope) noexcept {
    if (globalScope != nullptr) {
        globalScope->keepInBindings();
        globalScope->isGlobal_ = false;
        if (globalScope->rest_ != nullptr) globalScope->rest_->makeIndex();
    }
    globalScope = scope;
    if (scope == nullptr) return;
    scope->isGlobal_ = true;
    scope->keepInNames();
}

}  // namespace vlisp
