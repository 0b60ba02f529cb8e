// The seed of a random test.
// One idea: every run tries something else, and what fails can be repeated.
#pragma once

#include <gtest/gtest.h>
#include <iostream>
#include <random>

namespace vlisp::test {

/// A seed that is printed: what fails with it is repeated by --gtest_random_seed.
inline unsigned printedSeed() {
    const int given = GTEST_FLAG_GET(random_seed);
    const unsigned seed =
        given != 0 ? static_cast<unsigned>(given) : 1 + std::random_device()() % 99'999;
    std::cout << "seed " << seed << "\n";
    return seed;
}

}  // namespace vlisp::test
