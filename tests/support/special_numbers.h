// The reals that are no numbers, for tests of what is done with them.
#pragma once

#include <limits>

namespace vlisp::test {

inline constexpr double inf = std::numeric_limits<double>::infinity();
inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();

}  // namespace vlisp::test
