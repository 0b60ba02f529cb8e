// The work is the search through a list of pairs; a map would do without it.
#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

int main() {
    volatile int size = 2000;
    std::vector<std::pair<int, int>> triples;
    for (int key = 1; key <= size; ++key) triples.emplace_back(key, 3 * key);
    int sum = 0;
    for (int times = 0; times < 50; ++times) {
        for (int key = 1; key <= size; ++key) {
            sum += std::find_if(triples.begin(), triples.end(), [key](const auto& pair) {
                       return pair.first == key;
                   })->second;
        }
    }
    std::printf("%d\n", sum);
}
