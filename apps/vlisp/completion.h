// Completion of names that are being typed.
// One idea: as far as it is certain, in the case in which it is being typed; the names themselves when
// nothing is certain any more.
// Tests: tests/cli/completion_test.cpp, and the prompt's.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::app {

/// Gives what can be completed, for the line up to the name.
using NameSource = std::function<std::set<std::string>(std::string_view)>;

struct Completion {
    std::vector<std::string>
        matching;      ///< the names that begin with what is typed; none, nothing to do
    std::string rest;  ///< to be typed behind it; empty where nothing is certain
};

/// For the name that `before`, the line up to the cursor, ends with.
Completion complete(std::string_view before, const NameSource& names);

}  // namespace vlisp::app
