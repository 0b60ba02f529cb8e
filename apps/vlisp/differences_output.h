// Writing the differences between two drawings to standard output.
// Tests: tests/cli/diff.session.
#pragma once

#include "refhost/dxf/differences.h"

#include <string_view>

namespace vlisp::app {

/// Compares two files and writes what differs: for people, or as one line with a JSON object, as
/// docs/man/vlisp.1 describes it. True when a pair differs.
bool writeDifferences(const refhost::dxf::ComparedFile& before,
                      const refhost::dxf::ComparedFile& after, bool json);

/// The same for the files' bytes. What is damaged in them is not compared.
void writeDifferences(std::string_view oldBytes, std::string_view newBytes, bool json);

}  // namespace vlisp::app
