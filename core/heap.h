// Counted objects on the interpreter's heap: the base of everything that a Cell can point to.
// One idea: a count per object, a queue for the dead, and a budget, so that destroying deep
// structures never recurses and a program's data cannot take all of the machine's memory.
// Tests: tests/core/heap_test.cpp, tests/core/slice_test.cpp.
#pragma once

#include "core/small_blocks.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace vlisp {

/// What a counted object is; tells the release queue how to take it apart.
enum class ObjectKind : std::uint8_t { symbol, text, list, lambda, environment, shape, code };

/// Head of every counted object. Aligned to 16 so that a Cell can keep its type in the low four
/// bits of the address. Counts are not atomic: one evaluation runs at a time, and the hand-over
/// between threads orders their accesses.
struct alignas(16) HeapObject {
    constexpr explicit HeapObject(ObjectKind objectKind) noexcept : kind(objectKind) {}
    HeapObject(const HeapObject&) = delete;
    HeapObject& operator=(const HeapObject&) = delete;

    std::uint32_t references = 0;
    ObjectKind kind;
    HeapObject* nextDead = nullptr;  // link of the release queue; unused while alive

  protected:
    ~HeapObject() = default;
};

namespace heap {

/// Thrown when the budget (or the machine) has no more; the session turns it into an error text.
struct OutOfMemory : std::bad_alloc {
    [[nodiscard]] const char* what() const noexcept override { return "out of memory"; }
};

/// Most elements that one list or one text may hold.
inline constexpr std::size_t maximumLength = 0x7fffffff;

/// Work done since the program began: lets tests prove that an operation is linear.
struct Statistics {
    std::uint64_t elementsCopied = 0;
    std::uint64_t allocations = 0;
};

namespace detail {

inline constinit std::size_t bytesUsed = 0;
inline constinit std::size_t bytesLimit = 0;  // 0 until somebody asks
inline constinit Statistics counted = {};

void* allocateSlowly(std::size_t bytes);
void releaseSlowly(void* memory, std::size_t bytes) noexcept;

}  // namespace detail

/// Returns `bytes` bytes aligned to 16. Beyond the limit scopes that nobody holds any more are
/// collected; when that does not help, throws OutOfMemory.
inline void* allocate(std::size_t bytes) {
    using namespace detail;
    if (small_blocks::areUsed && bytes <= small_blocks::largest &&
        bytesUsed + bytes <= bytesLimit) {
        if (void* block = small_blocks::take(bytes)) {
            bytesUsed += bytes;
            ++counted.allocations;
            return block;
        }
    }
    return allocateSlowly(bytes);
}

inline void release(void* memory, std::size_t bytes) noexcept {
    if (small_blocks::areUsed && bytes <= small_blocks::largest) {
        small_blocks::give(memory);
        detail::bytesUsed -= bytes;
        return;
    }
    detail::releaseSlowly(memory, bytes);
}

/// Counts memory that an object has from elsewhere. Throws OutOfMemory beyond the limit.
void charge(std::size_t bytes);
void discharge(std::size_t bytes) noexcept;

/// Bytes in use by counted objects, and the most that they may use. The limit starts at half of
/// the machine's memory.
std::size_t used() noexcept;
std::size_t limit() noexcept;
void setLimit(std::size_t bytes) noexcept;

/// Throws OutOfMemory when a text of `units` code units could not be held within the budget.
void requireText(std::size_t units);

/// Takes `object`, whose count has reached zero, apart; what it alone held follows, iteratively.
void bury(HeapObject* object) noexcept;

inline Statistics& statistics() noexcept { return detail::counted; }

}  // namespace heap

inline void addReference(HeapObject* object) noexcept {
    if (object != nullptr) ++object->references;
}

inline void dropReference(HeapObject* object) noexcept {
    if (object != nullptr && --object->references == 0) heap::bury(object);
}

/// Owning pointer to a counted object; null is allowed.
template <class T> class Ref {
  public:
    Ref() noexcept = default;
    explicit Ref(T* object) noexcept : object_(object) { addReference(object_); }
    Ref(const Ref& other) noexcept : object_(other.object_) { addReference(object_); }
    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ref() { dropReference(object_); }

    T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.object_ == b.object_; }

    /// Gives the pointer away together with its count.
    T* detach() noexcept { return std::exchange(object_, nullptr); }

  private:
    T* object_ = nullptr;
};

}  // namespace vlisp
