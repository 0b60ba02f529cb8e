// Writing the differences between two drawings to standard output.
// Tests: tests/cli/diff.session.
#pragma once

#include <string_view>

namespace vlisp::app {

/// Compares two files' bytes and writes what differs: for people, or as one JSON object a line.
void writeDifferences(std::string_view oldBytes, std::string_view newBytes, bool json);

}  // namespace vlisp::app
