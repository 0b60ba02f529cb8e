// Each pattern written out: what a compiler for patterns could reach at best.
#include <cctype>
#include <cstdio>
#include <string>
#include <string_view>

static bool endsWithThreeDigitsAfterMinus(std::string_view name) {
    if (name.size() < 5) return false;
    const auto tail = name.substr(name.size() - 4);
    return std::isalpha(name[0]) && tail[0] == '-' && std::isdigit(tail[1]) &&
           std::isdigit(tail[2]) && std::isdigit(tail[3]);
}

static bool beginsAtoLThenEMinusOne(std::string_view name) {
    return 'A' <= name[0] && name[0] <= 'L' && name.find("E-1", 1) != name.npos;
}

static bool hasFiveAndHundreds(std::string_view name) {
    return name.size() == 10 && name.starts_with("LINE-") && name[6] == '5' && name.ends_with("00");
}

int main() {
    volatile int size = 100'000;
    int found = 0;
    for (int i = 1; i <= size; ++i) {
        const std::string name = "LINE-" + std::to_string(i);
        found += name.starts_with("LINE-") && name.ends_with('7');
        found += endsWithThreeDigitsAfterMinus(name);
        found += beginsAtoLThenEMinusOne(name);
        found += name.find("99") != name.npos;
        found += hasFiveAndHundreds(name);
    }
    std::printf("%d\n", found);
}
