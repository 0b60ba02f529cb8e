#include <cstdio>
#include <numeric>
#include <vector>

int main() {
    volatile int size = 400'000;
    const int limit = size;
    std::vector<int> numbers(limit - 1);
    std::iota(numbers.begin(), numbers.end(), 2);
    std::size_t found = 0;
    int prime = numbers.front();
    while (prime * prime <= limit) {
        std::erase_if(numbers, [prime](int n) { return n % prime == 0; });
        ++found;
        prime = numbers.front();
    }
    std::printf("%zu\n", found + numbers.size());
}
