// The generator: random programs of the dialect that do real work and visit its dark corners.
// One idea: tables of patterns with places to fill in (program_patterns.h); what is written from
// them always ends, whatever the program rebinds and whatever errors it makes.
// Tests: tests/reference/program_generator_test.cpp, tests/reference/comparison_test.cpp.
//
// How programs end. Every function that calls what it does not know, and every endless loop, asks
// (MORE) first, which the program never rebinds and which says nil after a while. Functions that do
// not ask call only names that this program leaves alone. A value that may have grown is assigned
// through (CAP), so that doubling in a loop stays small. Both are in recorded_host.h.
#pragma once

#include "tests/reference/choices.h"
#include "tests/reference/comparison.h"

namespace vlisp::reference {

[[nodiscard]] Program makeProgram(Choices choices);

}  // namespace vlisp::reference
