// Allocation within a budget and iterative release. See heap.h.
#include "core/heap.h"

#include "core/cell.h"
#include "core/code.h"
#include "core/code_cache.h"
#include "core/environment.h"
#include "core/list_index.h"
#include "core/scope_collector.h"
#include "platform/system.h"

namespace vlisp::heap {
namespace {

using detail::bytesUsed;

// Set at first use: constants of other source files are made before this file's would be.
std::size_t& bytesLimit() noexcept {
    if (detail::bytesLimit == 0) detail::bytesLimit = platform::physicalMemory() / 2;
    return detail::bytesLimit;
}

// What is so large is a block of its own. The address sanitizer wants to see it.
bool isBlock(std::size_t bytes) noexcept {
    constexpr std::size_t smallestBlock = std::size_t{4} << 20;
    return small_blocks::areUsed && bytes >= smallestBlock;
}

HeapObject* dead = nullptr;
bool burying = false;

template <class T> void destroyBuffer(Buffer<T>* buffer) noexcept {
    if constexpr (std::is_same_v<T, Cell>)
        if (buffer->watched) {
            forgetCode(*buffer);
            forgetIndex(*buffer);
        }
    if constexpr (!std::is_trivially_destructible_v<T>)
        for (std::uint32_t i = buffer->first; i < buffer->last; ++i) buffer->slots()[i].~T();
    const std::size_t bytes = Buffer<T>::bytesFor(buffer->capacity);
    buffer->~Buffer<T>();
    release(buffer, bytes);
}

template <class T> void destroyObject(T* object) noexcept {
    object->~T();
    release(object, sizeof(T));
}

// What the object held alone is buried in turn: it joins the queue, for `burying` is set.
void destroy(HeapObject* object) noexcept {
    switch (object->kind) {
    case ObjectKind::symbol: forgetSymbol(static_cast<SymbolData*>(object)); return;
    case ObjectKind::text: destroyBuffer(static_cast<Buffer<char16_t>*>(object)); return;
    case ObjectKind::list: destroyBuffer(static_cast<Buffer<Cell>*>(object)); return;
    case ObjectKind::lambda: destroyObject(static_cast<LambdaData*>(object)); return;
    case ObjectKind::environment: Environment::destroy(static_cast<Environment*>(object)); return;
    case ObjectKind::shape: destroyObject(static_cast<ScopeShape*>(object)); return;
    case ObjectKind::code: destroyObject(static_cast<Code*>(object)); return;
    }
}

}  // namespace

void charge(std::size_t bytes) {
    const auto fits = [&] { return bytes <= bytesLimit() && bytesUsed <= bytesLimit() - bytes; };
    if (!fits() && (scope_collector::collectForMemory() == 0 || !fits())) throw OutOfMemory();
    bytesUsed += bytes;
}

void discharge(std::size_t bytes) noexcept { bytesUsed -= bytes; }

void* detail::allocateSlowly(std::size_t bytes) {
    charge(bytes);
    void* memory = small_blocks::areUsed && bytes <= small_blocks::largest
                       ? small_blocks::take(bytes)
                   : isBlock(bytes) ? platform::allocateBlock(bytes)
                                    : ::operator new(bytes, std::nothrow);
    static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= alignof(HeapObject));
    if (memory == nullptr) {
        discharge(bytes);
        throw OutOfMemory();
    }
    ++detail::counted.allocations;
    return memory;
}

void detail::releaseSlowly(void* memory, std::size_t bytes) noexcept {
    discharge(bytes);
    if (isBlock(bytes)) platform::freeBlock(memory, bytes);
    else ::operator delete(memory);
}

std::size_t used() noexcept { return bytesUsed; }
std::size_t limit() noexcept { return bytesLimit(); }
void setLimit(std::size_t bytes) noexcept { bytesLimit() = bytes; }

void requireText(std::size_t units) {
    const std::size_t most = bytesLimit();
    if (units > maximumLength || bytesUsed > most || units > (most - bytesUsed) / sizeof(char16_t))
        throw OutOfMemory();
}

void bury(HeapObject* object) noexcept {
    // What holds nothing that holds something goes at once.
    const bool isSimple =
        object->kind == ObjectKind::symbol || object->kind == ObjectKind::text ||
        (object->kind == ObjectKind::list && !static_cast<Buffer<Cell>*>(object)->holdsLists);
    if (isSimple) {
        destroy(object);
        return;
    }
    object->nextDead = dead;
    dead = object;
    if (burying) return;
    burying = true;
    while (dead != nullptr) {
        HeapObject* next = dead;
        dead = next->nextDead;
        destroy(next);
    }
    burying = false;
}

}  // namespace vlisp::heap
