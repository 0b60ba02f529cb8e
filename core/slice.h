// Slices: the one structure that carries both lists and texts.
// One idea: a slice sees a range of a shared buffer whose filled part never changes, so copying is
// a count, a tail is a narrower range, and whoever sees up to the filled end may grow there.
// Tests: tests/core/slice_test.cpp (against std::vector), tests/core/shape_test.cpp.
//
// A buffer has `capacity` slots of which [first, last) are filled; the free ones lie at both ends.
// Filled slots are immutable. A slice that ends at `last` may claim the next free slot and become
// one longer without copying: every other holder still sees its own range only. The same holds at
// the front. A buffer never moves, so a span over its elements stays valid for as long as any
// slice holds the buffer.
#pragma once

#include "core/heap.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <span>
#include <type_traits>

namespace vlisp {

template <class T> struct Buffer final : HeapObject {
    static constexpr ObjectKind objectKind =
        std::is_same_v<T, char16_t> ? ObjectKind::text : ObjectKind::list;

    explicit Buffer(std::uint32_t slotCount) noexcept
        : HeapObject(objectKind), capacity(slotCount) {}

    T* slots() noexcept { return reinterpret_cast<T*>(this + 1); }
    const T* slots() const noexcept { return reinterpret_cast<const T*>(this + 1); }

    static std::size_t bytesFor(std::size_t slotCount) noexcept {
        return sizeof(Buffer) + slotCount * sizeof(T);
    }

    /// A buffer with no references yet and its filled range empty at slot `start`.
    static Buffer* make(std::size_t slotCount, std::size_t start) {
        if (slotCount > heap::maximumLength) throw heap::OutOfMemory();
        auto* buffer =
            new (heap::allocate(bytesFor(slotCount))) Buffer(static_cast<std::uint32_t>(slotCount));
        buffer->first = buffer->last = static_cast<std::uint32_t>(start);
        return buffer;
    }

    void fillBack(const T& value) noexcept {
        std::construct_at(slots() + last++, value);
        note(value);
    }
    void fillBack(std::span<const T> values) noexcept {
        if constexpr (std::is_trivially_copyable_v<T>) {
            std::copy(values.begin(), values.end(), slots() + last);
            last += static_cast<std::uint32_t>(values.size());
        } else {
            for (const T& value : values) fillBack(value);
        }
    }
    void fillFront(const T& value) noexcept {
        std::construct_at(slots() + --first, value);
        note(value);
    }
    void note(const T& value) noexcept {
        if constexpr (!std::is_same_v<T, char16_t>)
            if (value.holdsCells()) holdsLists = true;
    }

    std::uint32_t capacity;
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    bool holdsLists = false;  // some element holds cells of its own
    bool watched = false;     // somebody has notes about it and wants to hear of its end
};

template <class T> class Slice {
  public:
    using View = std::span<const T>;

    Slice() noexcept = default;

    /// Takes over one count of `buffer`, which may be null.
    Slice(Ref<Buffer<T>> buffer, std::uint32_t begin, std::uint32_t length) noexcept
        : buffer_(std::move(buffer)), begin_(begin), length_(length) {}

    /// A copy of `elements` in a buffer of its own without spare room.
    static Slice copyOf(View elements) { return copyWithRoom(elements, 0, 0); }

    [[nodiscard]] std::uint32_t size() const noexcept { return length_; }
    [[nodiscard]] bool empty() const noexcept { return length_ == 0; }
    [[nodiscard]] View view() const noexcept {
        return buffer_ ? View(buffer_->slots() + begin_, length_) : View();
    }
    const T& operator[](std::size_t i) const noexcept { return buffer_->slots()[begin_ + i]; }

    [[nodiscard]] Buffer<T>* buffer() const noexcept { return buffer_.get(); }
    [[nodiscard]] std::uint32_t begin() const noexcept { return begin_; }
    Ref<Buffer<T>> detachBuffer() noexcept { return std::move(buffer_); }

    /// Elements [from, from + count), which must lie within the slice. Shares the buffer, unless
    /// the part is small in proportion: a narrow slice must not keep a large buffer alive.
    [[nodiscard]] Slice part(std::size_t from, std::size_t count) const {
        if (count == 0) return {};
        const std::size_t filled = buffer_->last - buffer_->first;
        if (filled > smallBuffer && count < filled / 4) return copyOf(view().subspan(from, count));
        return Slice(buffer_, begin_ + static_cast<std::uint32_t>(from),
                     static_cast<std::uint32_t>(count));
    }

    /// This slice followed by `other`. Grows in place where one of the two reaches the end of its
    /// buffer's filled part, so that repeated growth by little pieces is linear.
    [[nodiscard]] Slice joined(const Slice& other) const {
        if (other.empty()) return *this;
        if (empty()) return other;
        return other.size() <= size() ? withBack(other.view()) : other.withFront(view());
    }

    [[nodiscard]] Slice withBack(View more) const {
        if (more.empty()) return *this;
        if (buffer_ && begin_ + length_ == buffer_->last &&
            buffer_->capacity - buffer_->last >= more.size() && mayTake(more)) {
            buffer_->fillBack(more);
            return Slice(buffer_, begin_, length_ + static_cast<std::uint32_t>(more.size()));
        }
        // Room in front that this slice may claim goes with it, for those who grow at both ends.
        const std::size_t inFront = buffer_ && begin_ == buffer_->first ? buffer_->first : 0;
        Slice grown = copyWithRoom(view(), std::min<std::size_t>(inFront, length_),
                                   roomToGrow(length_, more.size()));
        grown.buffer_->fillBack(more);
        grown.length_ += static_cast<std::uint32_t>(more.size());
        return grown;
    }

    [[nodiscard]] Slice withFront(View more) const {
        if (more.empty()) return *this;
        const auto count = static_cast<std::uint32_t>(more.size());
        if (buffer_ && begin_ == buffer_->first && buffer_->first >= more.size() && mayTake(more)) {
            for (std::size_t i = more.size(); i > 0; --i) buffer_->fillFront(more[i - 1]);
            return Slice(buffer_, begin_ - count, length_ + count);
        }
        const bool reachesEnd = buffer_ && begin_ + length_ == buffer_->last;
        const std::size_t behind = reachesEnd ? buffer_->capacity - buffer_->last : 0;
        Slice grown = copyWithRoom(view(), roomToGrow(length_, more.size()),
                                   std::min<std::size_t>(behind, length_));
        for (std::size_t i = more.size(); i > 0; --i) grown.buffer_->fillFront(more[i - 1]);
        grown.begin_ -= count;
        grown.length_ += count;
        return grown;
    }

  private:
    static constexpr std::size_t smallBuffer = 64;

    // A buffer that grew by a list which holds it would hold itself, and live for ever.
    [[nodiscard]] bool mayTake(View more) const {
        if constexpr (!std::is_same_v<T, char16_t>)
            for (const T& element : more)
                if (element.holdsCells() && reaches(element, buffer_.get())) return false;
        return true;
    }

    /// Room for `added` more elements; whoever grows will probably grow again, so there is room for
    /// half as many more at least, rounded up to a power of two. It counts in the heap's budget, but
    /// takes no memory of the machine before it is filled.
    static std::size_t roomToGrow(std::size_t present, std::size_t added) {
        if (added > heap::maximumLength - present) throw heap::OutOfMemory();
        const std::size_t total = present + added;
        std::size_t capacity = std::bit_ceil(std::max<std::size_t>(total + total / 2, 4));
        if (capacity > heap::maximumLength) capacity = heap::maximumLength;
        return capacity - present;
    }

    static Slice copyWithRoom(View elements, std::size_t roomInFront, std::size_t roomBehind) {
        const std::size_t capacity = roomInFront + elements.size() + roomBehind;
        if (capacity == 0) return {};
        Ref<Buffer<T>> buffer(Buffer<T>::make(capacity, roomInFront));
        buffer->fillBack(elements);
        heap::statistics().elementsCopied += elements.size();
        return Slice(std::move(buffer), static_cast<std::uint32_t>(roomInFront),
                     static_cast<std::uint32_t>(elements.size()));
    }

    Ref<Buffer<T>> buffer_;
    std::uint32_t begin_ = 0;
    std::uint32_t length_ = 0;
};

/// Collects elements whose number is not known beforehand; `take` yields them as a slice.
template <class T> class SliceBuilder {
  public:
    SliceBuilder() = default;
    explicit SliceBuilder(std::size_t expected) {
        if (expected > 0) buffer_ = Ref<Buffer<T>>(Buffer<T>::make(expected, 0));
    }

    void push(const T& value) {
        if (!buffer_ || buffer_->last == buffer_->capacity) [[unlikely]]
            grow();
        buffer_->fillBack(value);
    }
    [[nodiscard]] std::size_t size() const noexcept { return buffer_ ? buffer_->last : 0; }

    /// The elements so far; the builder is empty afterwards.
    Slice<T> take() {
        const auto count = static_cast<std::uint32_t>(size());
        if (count == 0) return {};
        return Slice<T>(std::move(buffer_), 0, count);
    }

  private:
    void grow() {
        const std::size_t count = size();
        Ref<Buffer<T>> larger(Buffer<T>::make(std::max<std::size_t>(4, count * 2), 0));
        for (std::size_t i = 0; i < count; ++i) larger->fillBack(buffer_->slots()[i]);
        buffer_ = std::move(larger);
    }

    Ref<Buffer<T>> buffer_;
};

}  // namespace vlisp
