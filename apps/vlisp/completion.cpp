// Completion of names. See completion.h.
#include "apps/vlisp/completion.h"

#include <algorithm>
#include <cctype>

namespace vlisp::app {
namespace {

char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

bool beginsIgnoringCase(const std::string& name, std::string_view typed) {
    return name.size() >= typed.size() &&
           std::equal(typed.begin(), typed.end(), name.begin(),
                      [](char a, char b) { return upper(a) == upper(b); });
}

std::string commonBeginning(const std::vector<std::string>& names) {
    std::string common = names.front();
    for (const std::string& name : names) {
        const auto end = std::mismatch(common.begin(), common.end(), name.begin(), name.end(),
                                       [](char a, char b) { return upper(a) == upper(b); })
                             .first;
        common.erase(end, common.end());
    }
    return common;
}

}  // namespace

Completion complete(std::string_view before, const NameSource& names) {
    const std::size_t separator = before.find_last_of(" ()'\"!");
    const std::size_t begin = separator == std::string_view::npos ? 0 : separator + 1;
    const std::string_view typed = before.substr(begin);
    Completion found;
    if (typed.empty()) return found;
    for (const std::string& name : names(before.substr(0, begin)))
        if (beginsIgnoringCase(name, typed)) found.matching.push_back(name);
    if (found.matching.empty()) return found;

    found.rest = commonBeginning(found.matching).substr(typed.size());
    const bool typesLower = std::any_of(typed.begin(), typed.end(),
                                        [](unsigned char c) { return std::islower(c) != 0; });
    if (typesLower)
        std::transform(found.rest.begin(), found.rest.end(), found.rest.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const bool inText = begin > 0 && before[begin - 1] == '"';
    if (found.matching.size() == 1 && !inText) found.rest += ' ';
    return found;
}

}  // namespace vlisp::app
