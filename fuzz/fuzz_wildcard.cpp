// Fuzzes wildcard matching: the input is a text, a zero and a pattern; without a
// zero it is both.
// One idea: where the shorter way for plain patterns answers, regular expressions must agree.
#include "builtins/wildcard.h"
#include "platform/text.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vlisp;
    const std::u16string input = platform::fromUtf8(std::string(data, data + size));
    const std::size_t zero = input.find(u'\0');
    const std::u16string text = input.substr(0, zero);
    const std::u16string pattern = input.substr(zero < input.size() ? zero + 1 : 0);

    bool expected = false;
    for (const WildcardTranslation& alternative : translateWildcard(pattern)) {
        if (!alternative.complete) continue;
        const bool matches = wildcard::matchesExpression(text, alternative.expression);
        const wildcard::Answer plain = wildcard::matchesPlain(text, alternative.expression);
        if (plain != wildcard::Answer::notPlain && (plain == wildcard::Answer::yes) != matches) {
            std::fprintf(stderr, "fuzz_wildcard: '%s' against '%s': plain says %s\n",
                         platform::toUtf8(text).c_str(),
                         platform::toUtf8(alternative.expression).c_str(), matches ? "no" : "yes");
            std::abort();
        }
        expected = expected || matches;
    }
    if (matchesWildcard(text, pattern) != expected) {
        std::fprintf(stderr, "fuzz_wildcard: the whole pattern answers unlike its alternatives\n");
        std::abort();
    }
    return 0;
}
