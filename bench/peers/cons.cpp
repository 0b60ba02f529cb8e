#include <cstdio>
#include <forward_list>

int main() {
    volatile int size = 1'000'000;
    int sum = 0;
    for (int times = 0; times < 3; ++times) {
        std::forward_list<int> numbers;
        for (int i = 1; i <= size; ++i) numbers.push_front(i);
        for (int number : numbers) sum = number - sum;
    }
    std::printf("%d\n", sum);
}
