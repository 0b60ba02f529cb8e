// Texts that the host writes into buffers of ours.
// One idea: the host is not told how much room there is; it is given more than it may need, and what
// it wrote is cut to what the caller holds.
// Tests: tests/host/bounds_test.cpp.
#pragma once

#include "core/error_buffer.h"
#include "platform/system.h"

#include <memory>
#include <new>
#include <string>

namespace vlisp {

/// Units that the host may write into a buffer, the terminating zero included.
inline constexpr std::size_t hostTextRoom = 32768;

/// `text` up to its first zero, cut to what a buffer of `capacity` units holds with its terminating
/// zero, never inside a surrogate pair.
[[nodiscard]] inline std::u16string fitted(std::u16string_view text, std::size_t capacity) {
    text = text.substr(0, text.find(u'\0'));
    return std::u16string(text.substr(0, lengthThatFits(text, capacity - 1)));
}

/// What `write`, given a buffer of hostTextRoom units, has written there, cut to `capacity`.
template <class Write>
[[nodiscard]] std::u16string textFromHost(std::size_t capacity, Write write) {
    // Fresh from the system it is zero already: the host's text is short, and what lies behind it is
    // never touched.
    constexpr std::size_t bytes = hostTextRoom * sizeof(char16_t);
    struct Release {
        void operator()(char16_t* units) const noexcept { platform::freeBlock(units, bytes); }
    };
    const std::unique_ptr<char16_t, Release> room(
        static_cast<char16_t*>(platform::allocateBlock(bytes)));
    if (room == nullptr) throw std::bad_alloc();
    write(room.get());
    return fitted({room.get(), hostTextRoom - 1}, capacity);
}

}  // namespace vlisp
