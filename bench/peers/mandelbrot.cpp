#include <cstdio>

static int steps(double cx, double cy) {
    double x = 0.0, y = 0.0, xx = 0.0, yy = 0.0;
    int n = 0;
    while (n < 50 && xx + yy < 4.0) {
        y = 2.0 * x * y + cy;
        x = xx - yy + cx;
        xx = x * x;
        yy = y * y;
        ++n;
    }
    return n;
}

int main() {
    volatile int size = 400;
    int sum = 0;
    for (int row = 0; row < size; ++row) {
        for (int column = 0; column < size; ++column) {
            sum += steps(column * 0.00625 - 2.0, row * 0.00625 - 1.25);
        }
    }
    std::printf("%d\n", sum);
}
