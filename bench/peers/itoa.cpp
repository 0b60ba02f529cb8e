#include <cstdio>
#include <string>

int main() {
    volatile int size = 1'000'000;
    int sum = 0;
    for (int i = 1; i <= size; ++i) sum = std::stoi(std::to_string(i)) - sum;
    std::printf("%d\n", sum);
}
