#include <cstdio>
#include <numeric>
#include <vector>

int main() {
    volatile int size = 100'000;
    std::vector<int> numbers(size);
    std::iota(numbers.begin(), numbers.end(), 1);
    int sum = 0;
    for (int times = 0; times < 100; ++times) {
        for (std::size_t i = 0; i < numbers.size(); ++i) sum = numbers[i] - sum;
    }
    std::printf("%d\n", sum);
}
