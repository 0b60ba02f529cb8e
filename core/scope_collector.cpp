// Trial deletion over scopes, closures and list buffers. See scope_collector.h.
#include "core/scope_collector.h"

#include "core/code_cache.h"
#include "core/environment.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace vlisp::scope_collector {
namespace {

Environment* newest = nullptr;
std::size_t living = 0;
std::size_t outlived = 0;

constexpr std::size_t smallestRound = 10'000;
std::size_t nextRound = smallestRound;

// Objects and cells looked at, one by one, in the running collection.
std::size_t looks = 0;

// Calls `visit` with every object (list buffer, closure or scope) that `object` counts a
// reference to, once per reference.
template <class Visit> void forEachReference(HeapObject* object, Visit visit) {
    const auto visitCell = [&](const Cell& cell) {
        if (!cell.is(CellType::List) && !cell.is(CellType::Lambda)) return;
        if (HeapObject* held = CellInspector::object(cell)) visit(held);
    };
    ++looks;
    switch (object->kind) {
    case ObjectKind::environment: {
        auto* scope = static_cast<Environment*>(object);
        if (scope->outer() != nullptr) visit(scope->outer());
        scope->forEachValue([&](const Cell& value) {
            ++looks;
            visitCell(value);
        });
        return;
    }
    case ObjectKind::lambda: {
        auto* closure = static_cast<LambdaData*>(object);
        if (closure->scope) visit(closure->scope.get());
        if (closure->form.buffer() != nullptr) visit(closure->form.buffer());
        if (closure->code) visit(closure->code.get());
        return;
    }
    case ObjectKind::code: {
        auto* code = static_cast<Code*>(object);
        looks += code->constants.size();
        for (const Cell& constant : code->constants) visitCell(constant);
        for (const auto& block : code->blocks)
            for (const ShortWay& way : block->shortWays) visitCell(way.form);
        for (const Ref<Code>& part : code->parts)
            if (part) visit(part.get());
        return;
    }
    case ObjectKind::list: {
        auto* buffer = static_cast<Buffer<Cell>*>(object);
        if (buffer->watched) forEachCode(*buffer, [&](Code& code) { visit(&code); });
        if (!buffer->holdsLists) return;
        looks += buffer->last - buffer->first;
        for (std::uint32_t i = buffer->first; i < buffer->last; ++i) visitCell(buffer->slots()[i]);
        return;
    }
    case ObjectKind::symbol:
    case ObjectKind::shape:
    case ObjectKind::text: return;
    }
}

std::size_t freeUnreachable() {
    // 1. How many of each object's references come from inside what the scopes reach.
    std::unordered_map<HeapObject*, std::uint32_t> inside;
    std::vector<HeapObject*> pending;
    for (Environment* scope = newest; scope != nullptr; scope = scope->nextLiving) {
        inside.emplace(scope, 0);
        pending.push_back(scope);
    }
    while (!pending.empty()) {
        HeapObject* object = pending.back();
        pending.pop_back();
        forEachReference(object, [&](HeapObject* held) {
            const auto [entry, isNew] = inside.emplace(held, 0);
            ++entry->second;
            if (isNew) pending.push_back(held);
        });
    }

    // 2. What has a reference from outside lives, and so does all that it reaches.
    for (auto& [object, count] : inside)
        if (object->references > count) pending.push_back(object);
    constexpr std::uint32_t reached = 0xffffffff;
    for (HeapObject* object : pending) inside[object] = reached;
    while (!pending.empty()) {
        HeapObject* object = pending.back();
        pending.pop_back();
        forEachReference(object, [&](HeapObject* held) {
            std::uint32_t& state = inside[held];
            if (state == reached) return;
            state = reached;
            pending.push_back(held);
        });
    }

    // 3. The rest are cycles: emptying their scopes takes them apart.
    std::vector<Ref<Environment>> unreachable;
    for (const auto& [object, count] : inside)
        if (count != reached && object->kind == ObjectKind::environment)
            unreachable.emplace_back(static_cast<Environment*>(object));
    for (const Ref<Environment>& scope : unreachable) scope->clear();

    return unreachable.size();
}

}  // namespace

void enlist(Environment& scope) noexcept {
    scope.nextLiving = newest;
    if (newest != nullptr) newest->previousLiving = &scope;
    newest = &scope;
    ++living;
}

void strike(Environment& scope) noexcept {
    (scope.previousLiving != nullptr ? scope.previousLiving->nextLiving : newest) =
        scope.nextLiving;
    if (scope.nextLiving != nullptr) scope.nextLiving->previousLiving = scope.previousLiving;
    --living;
}

void scopeOutlivedCall() noexcept {
    if (++outlived >= nextRound) collect();
}

std::size_t collectForMemory() noexcept {
    constexpr std::size_t worthwhile = 100;
    return outlived >= worthwhile ? collect() : 0;
}

std::size_t collect() noexcept {
    outlived = 0;
    looks = 0;
    std::size_t freed = 0;
    try {
        freed = freeUnreachable();
    } catch (const std::bad_alloc&) {
        // Nothing was freed; there will be another time.
    }
    // The next round looks at as much again: it waits in proportion.
    constexpr std::size_t looksACall = 16;
    nextRound = std::max(smallestRound, looks / looksACall);
    return freed;
}

void clearAll() noexcept {
    // The next one is held before this one goes: it may be held by nothing else.
    for (Ref<Environment> scope(newest); scope.get() != nullptr;) {
        scope->clear();
        Ref<Environment> next(scope->nextLiving);
        scope = std::move(next);
    }
}

std::size_t livingScopes() noexcept { return living; }

}  // namespace vlisp::scope_collector
