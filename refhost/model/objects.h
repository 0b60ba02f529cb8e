// Objects of the reference host's drawing: copies of any class.
// One idea: the classes are the bridge's; the host adds only what it needs to keep them.
// Tests: tests/refhost/geometry_test.cpp.
#pragma once

#include "host/bridge.h"

#include <memory>
#include <string_view>

namespace vlisp::refhost {

/// A copy of the same class, id and erased flag included. An object of no class of its own becomes
/// a plain VmDbObject with the same type code.
[[nodiscard]] std::unique_ptr<VmDbObject> clone(const VmDbObject& object);

/// A text of an object; valid until it is assigned.
[[nodiscard]] inline std::u16string_view viewOf(const VmDbString& text) noexcept {
    return {text.units(), text.length()};
}

/// Sets a text of an object, as far as its first zero: there the bridge's texts end.
inline void assign(VmDbString& member, std::u16string_view text) {
    text = text.substr(0, text.find(u'\0'));
    member.assign(text.data(), text.size());
}

}  // namespace vlisp::refhost
