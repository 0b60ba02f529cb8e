// Writing into the error buffer. See error_buffer.h.
#include "core/error_buffer.h"

#include <algorithm>
#include <string>

namespace vlisp {

std::size_t lengthThatFits(std::u16string_view text, std::size_t room) noexcept {
    if (text.size() <= room) return text.size();
    const auto isHigh = [](char16_t unit) { return unit >= 0xd800 && unit < 0xdc00; };
    const auto isLow = [](char16_t unit) { return unit >= 0xdc00 && unit < 0xe000; };
    if (room > 0 && isHigh(text[room - 1]) && isLow(text[room])) return room - 1;
    return room;
}

void ErrorBuffer::report(std::u16string_view message) noexcept {
    length_ = lengthThatFits(message, capacity - 1);
    std::copy_n(message.data(), length_, units_.data());
    units_[length_] = 0;
    ++reports_;
}

void ErrorBuffer::reportUndefinedSymbol(std::u16string_view name) {
    if (name.size() < capacity / 2) {
        // Programs write nil by the million, and it is this message that makes it nil.
        char16_t* end = units_.data();
        for (const std::u16string_view part :
             {messages::undefinedSymbolBefore, name, messages::undefinedSymbolAfter})
            end = std::copy(part.begin(), part.end(), end);
        length_ = static_cast<std::size_t>(end - units_.data());
        units_[length_] = 0;
        ++reports_;
        return;
    }
    std::u16string message(messages::undefinedSymbolBefore);
    message += name.substr(0, std::min(name.size(), capacity));
    message += messages::undefinedSymbolAfter;
    report(message);
}

void ErrorBuffer::reportNotAFunction() noexcept { report(messages::notAFunction); }

}  // namespace vlisp
