#include <cstdio>

static int tak(int x, int y, int z) {
    return y < x ? tak(tak(x - 1, y, z), tak(y - 1, z, x), tak(z - 1, x, y)) : z;
}

int main() {
    volatile int size = 8;
    std::printf("%d\n", tak(3 * size, 2 * size, size));
}
