// Code pages: their tables, made of what the system knows. See text_encoding.h.
#include "platform/text_encoding.h"

#include "platform/system_code_page.h"

#include <iterator>
#include <memory>
#include <mutex>

namespace vlisp::platform {
namespace {

constexpr int numbers[] = {
    437,   737,   775,   850,   852,   855,   857,   858,   860,   861,   862,
    863,   864,   865,   866,   869,   874,   932,   936,   949,   950,   1250,
    1251,  1252,  1253,  1254,  1255,  1256,  1257,  1258,  1361,  10000, 20127,
    28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 28603, 28605,
};

constexpr bool isSurrogate(char16_t unit) { return unit >= 0xd800 && unit < 0xe000; }

// No byte above ASCII may stand for ASCII: what is a backslash or a digit must be seen in the bytes.
char16_t usable(char16_t unit) { return unit < 0x80 || isSurrogate(unit) ? char16_t{0} : unit; }

constexpr char16_t undecoded(std::size_t byte) { return static_cast<char16_t>(0xdc00 + byte); }

}  // namespace

CodePage::CodePage(const SystemCodePage& system) : reverse_(0x10000) {
    for (std::size_t byte = 0; byte < singles_.size(); ++byte)
        singles_[byte] = byte < firstHigh ? static_cast<char16_t>(byte) : undecoded(byte);
    if (system.isKnown()) readTables(system);
    fillReverse(system);
}

void CodePage::readTables(const SystemCodePage& system) {
    for (std::size_t first = firstHigh; first < singles_.size(); ++first) {
        std::array<char, 2> bytes{static_cast<char>(first)};
        const SystemCodePage::Decoded single = system.decode({bytes.data(), 1});
        if (const char16_t unit = usable(single.unit); unit != 0) singles_[first] = unit;
        if (!single.isLead) continue;
        pairs_.resize(firstHigh * 256);
        for (int second = 1; second < 256; ++second) {
            bytes[1] = static_cast<char>(second);
            pairs_[pairIndex(static_cast<std::uint8_t>(first), bytes[1])] =
                usable(system.decode({bytes.data(), 2}).unit);
        }
    }
}

// Where several bytes stand for one character, the system's choice is written.
void CodePage::fillReverse(const SystemCodePage& system) {
    const auto add = [&](char16_t unit, std::size_t first, std::size_t second) {
        const auto bytes = static_cast<std::uint16_t>(first | second << 8);
        std::uint16_t& entry = reverse_[unit];
        if (entry != 0 && system.isKnown() && system.encode(unit) != bytes) return;
        entry = bytes;
    };
    for (std::size_t first = 1; first < singles_.size(); ++first) add(singles_[first], first, 0);
    for (std::size_t i = 0; i < pairs_.size(); ++i)
        if (pairs_[i] != 0) add(pairs_[i], firstHigh + i / 256, i % 256);
}

CodePage::Encoded CodePage::encode(char16_t unit) const noexcept {
    if (unit == 0) return {{}, 1};
    const std::uint16_t bytes = reverse_[unit];
    const auto length = static_cast<std::uint8_t>(bytes == 0 ? 0 : bytes < 0x100 ? 1 : 2);
    return {{static_cast<char>(bytes & 0xff), static_cast<char>(bytes >> 8)}, length};
}

const CodePage* CodePage::find(int number) {
    struct Slot {
        std::once_flag once;
        std::unique_ptr<const CodePage> page;
    };
    static std::array<Slot, std::size(numbers)> slots;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (numbers[i] != number) continue;
        std::call_once(slots[i].once,
                       [&] { slots[i].page.reset(new CodePage(SystemCodePage(number))); });
        return slots[i].page.get();
    }
    return nullptr;
}

}  // namespace vlisp::platform
