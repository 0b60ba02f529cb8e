// Texts that the host writes into buffers of ours.
// One idea: the host is not told how much room there is; it is given more than it may need, and what
// it wrote is cut to what the caller holds.
// Tests: tests/host/bounds_test.cpp.
#pragma once

#include "core/error_buffer.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <span>
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
    // From calloc, because fresh memory of the system is zero already: the host's text is short, and
    // what lies behind it need not be touched.
    struct Release {
        void operator()(char16_t* units) const noexcept { std::free(units); }
    };
    const std::unique_ptr<char16_t, Release> room(
        static_cast<char16_t*>(std::calloc(hostTextRoom, sizeof(char16_t))));
    if (room == nullptr) throw std::bad_alloc();
    const std::span<char16_t> buffer(room.get(), hostTextRoom);
    write(buffer.data());
    buffer.back() = 0;
    return fitted(buffer.data(), capacity);
}

}  // namespace vlisp
