// "Did you mean ...": the name nearest to one that is not known.
// Tests: tests/cli/nearest_test.cpp.
#pragma once

#include <span>
#include <string>

namespace vlisp::app {

/// The one of `candidates` that the fewest single-character changes turn `name` into; empty when
/// none is near enough to be meant. Case counts.
std::string nearest(const std::string& name, std::span<const std::string> candidates);

}  // namespace vlisp::app
