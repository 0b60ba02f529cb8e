// Names without regard to case. See name_index.h.
#include "refhost/model/name_index.h"

#include "core/reader.h"

#include <algorithm>

namespace vlisp::refhost {

bool sameName(std::u16string_view a, std::u16string_view b) noexcept {
    return std::ranges::equal(a, b, {}, upperCase, upperCase);
}

std::size_t NameHash::operator()(std::u16string_view name) const noexcept {
    // FNV-1a over the upper-case units.
    std::size_t hash = 0xcbf29ce484222325U;
    for (const char16_t unit : name) hash = (hash ^ upperCase(unit)) * 0x100000001b3U;
    return hash;
}

}  // namespace vlisp::refhost
