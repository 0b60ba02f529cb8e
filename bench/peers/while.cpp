#include <cstdio>

#include "keep.h"

int main() {
    volatile int size = 10'000'000;
    const int limit = size;
    int i = 0;
    while (i < limit) {
        ++i;
        keep(i);
    }
    std::printf("%d\n", i);
}
