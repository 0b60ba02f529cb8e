#include <cstdio>

static int fib(int n) { return n < 2 ? n : fib(n - 1) + fib(n - 2); }

int main() {
    volatile int size = 32;
    std::printf("%d\n", fib(size));
}
