// The drawing's functions by name, for the registry.
#pragma once

#include "builtins/registry.h"

namespace vlisp {

/// The functions of this room, for RegisterBuiltins.
std::span<const ProvidedBuiltin> drawingBuiltins() noexcept;

}  // namespace vlisp
