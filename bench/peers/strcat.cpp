#include <cstdio>
#include <string>

int main() {
    volatile int size = 200'000;
    std::size_t total = 0;
    for (int times = 0; times < 20; ++times) {
        std::string text;
        for (int i = size; i > 0; --i) text += "x";
        total += text.size();
    }
    std::printf("%zu\n", total);
}
