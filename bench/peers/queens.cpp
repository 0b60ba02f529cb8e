#include <array>
#include <cstdio>

static std::array<int, 8> placed;

static bool safe(int row, int column) {
    for (int other = row - 1; other >= 0; --other) {
        const int taken = placed[other], distance = row - other;
        if (taken == column || taken == column + distance || taken == column - distance)
            return false;
    }
    return true;
}

static int place(int row) {
    if (row == 8) return 1;
    int found = 0;
    for (int column = 0; column < 8; ++column) {
        if (safe(row, column)) {
            placed[row] = column;
            found += place(row + 1);
        }
    }
    return found;
}

int main() {
    volatile int times = 50;
    int found = 0;
    for (int i = times; i > 0; --i) found += place(0);
    std::printf("%d\n", found);
}
