#include <cstdio>
#include <string>

int main() {
    volatile int size = 20'000;
    std::string text;
    for (int i = size; i > 0; --i) text += "abcde";
    int found = 0;
    for (int times = 0; times < 40; ++times) {
        for (char character : text) found += character == 'c';
    }
    std::printf("%d\n", found);
}
