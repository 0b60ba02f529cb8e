#include <cstdio>
#include <vector>

int main() {
    volatile int size = 200'000;
    std::size_t total = 0;
    for (int times = 0; times < 20; ++times) {
        std::vector<int> list;
        for (int i = 1; i <= size; ++i) list.push_back(i);
        total += list.size() + list.back();
    }
    std::printf("%zu\n", total);
}
