// Edit distance. See nearest.h.
#include "apps/vlisp/nearest.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace vlisp::app {
namespace {

// Fewest single-character changes that turn one text into the other (Levenshtein's distance).
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, replaced}));
        }
    }
    return row[b.size()];
}

}  // namespace

std::string nearest(const std::string& name, std::span<const std::string> candidates) {
    const std::string* found = nullptr;
    constexpr std::size_t longestMeant = 60;
    if (name.size() > longestMeant) return {};
    std::size_t best = std::max<std::size_t>(1, name.size() / 3) + 1;  // further is no help
    for (const std::string& candidate : candidates) {
        const std::size_t shorter = std::min(name.size(), candidate.size());
        if (std::max(name.size(), candidate.size()) - shorter >= best) continue;
        const std::size_t distance = editDistance(name, candidate);
        if (distance < best && distance < name.size()) {
            best = distance;
            found = &candidate;
        }
    }
    return found != nullptr ? *found : std::string();
}

}  // namespace vlisp::app
