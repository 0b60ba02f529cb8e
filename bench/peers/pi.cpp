#include <cstdio>

int main() {
    volatile int size = 5'000'000;
    double sum = 0.0, sign = 4.0, divisor = 1.0;
    for (int i = size; i > 0; --i) {
        sum += sign / divisor;
        sign = -sign;
        divisor += 2.0;
    }
    std::printf("%.3f\n", sum * 1000000.0);
}
