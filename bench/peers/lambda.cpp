#include <cstdio>

#include "keep.h"

int main() {
    volatile int size = 5'000'000;
    auto next = +[](int x) { return x + 1; };
    int n = 0;
    for (int i = size; i > 0; --i) {
        keep(next);
        n = next(n);
    }
    std::printf("%d\n", n);
}
