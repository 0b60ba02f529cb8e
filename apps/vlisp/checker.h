// The checker: tells what the reader and the evaluator pass over in silence.
// One idea: read a source exactly as it is loaded, with places noted, and look at what came out.
// Tests: tests/cli/checker_test.cpp, tests/cli/check.session.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::app {

struct Warning {
    std::size_t line;    ///< counted from 1
    std::size_t column;  ///< counted from 1, in characters
    std::string text;
};

/// Names as the reader folds them.
using Names = std::set<std::u16string>;

/// Every name that `source` gives a value anywhere: by DEFUN, DEFINE or SETQ.
Names namesDefinedBy(std::u16string_view source);

/// The names that exist besides special forms.
struct KnownNames {
    Names atStart;    ///< bound when the interpreter has started
    Names bySources;  ///< given a value by one of the sources that belong together
};

/// The warnings about `source`, in order of their places.
std::vector<Warning> checkSource(std::u16string_view source, const KnownNames& defined);

}  // namespace vlisp::app
