// Objects of the reference host's drawing: copies of any class.
// One idea: the classes are the bridge's; the host adds only what it needs to keep them.
// Tests: tests/refhost/geometry_test.cpp.
#pragma once

#include "host/bridge.h"

#include <memory>

namespace vlisp::refhost {

/// A copy of the same class, id and erased flag included. An object of no class of its own becomes
/// a plain VmDbObject with the same type code.
[[nodiscard]] std::unique_ptr<VmDbObject> clone(const VmDbObject& object);

}  // namespace vlisp::refhost
