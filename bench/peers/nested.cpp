#include <cstdio>

#include "keep.h"

// What a call gives is kept, or else the compiler would make a loop of the calls.
static int depth(int n) {
    if (n < 1) return 0;
    int below = depth(n - 1);
    keep(below);
    return 1 + below;
}

int main() {
    volatile int size = 1'000'000;
    std::printf("%d\n", depth(size));
}
