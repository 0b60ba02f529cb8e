#include <algorithm>
#include <cstdio>
#include <iterator>
#include <vector>

using Numbers = std::vector<int>;

static Numbers mergeSort(Numbers::const_iterator first, Numbers::const_iterator last) {
    if (last - first == 1) return {*first};
    const auto middle = first + (last - first) / 2;
    const Numbers left = mergeSort(first, middle), right = mergeSort(middle, last);
    Numbers merged;
    merged.reserve(left.size() + right.size());
    std::merge(left.begin(), left.end(), right.begin(), right.end(), std::back_inserter(merged));
    return merged;
}

int main() {
    volatile int size = 100'000;
    Numbers numbers;
    for (int i = size, n = 1; i > 0; --i) {
        n = (n * 1664 + 1013) % 1000003;
        numbers.push_back(n);
    }
    int sum = 0;
    for (int value : mergeSort(numbers.begin(), numbers.end())) sum = (sum * 31 + value) % 1000003;
    std::printf("%d\n", sum);
}
