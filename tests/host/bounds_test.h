// Texts at the limits of a buffer, for the tests of what is cut.
#pragma once

#include "platform/text.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::test {

inline std::u16string units(std::size_t count, char16_t unit = u'a') {
    return std::u16string(count, unit);
}

// A text too long for `room` units, with a surrogate pair astride the limit; cut, it is
// units(room - 1).
inline std::u16string astride(std::size_t room) { return units(room - 1) + u"\U0001F600 and more"; }

// A text too long for `room` units, whose pair just fits; cut, it is fitting(room).
inline std::u16string fitting(std::size_t room) { return units(room - 2) + u"\U0001F600"; }
inline std::u16string beyond(std::size_t room) { return fitting(room) + u"\U0001F600 and more"; }

// `text` as an argument or an answer that goes into a buffer, and what is left of it.
struct Case {
    std::u16string text;
    std::u16string kept;
};
inline std::vector<Case> casesOf(std::size_t room) {
    return {
        {astride(room), units(room - 1)}, {beyond(room), fitting(room)},
        {fitting(room), fitting(room)},   {units(room), units(room)},
        {units(room + 1), units(room)},   {units(20'000), units(room)},
    };
}

inline testing::AssertionResult areEqual(std::u16string_view actual, std::u16string_view expected) {
    if (actual == expected) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << actual.size() << " units instead of " << expected.size() << ", ending with \""
           << platform::toUtf8(
                  actual.substr(actual.size() - std::min<std::size_t>(actual.size(), 20)))
           << "\"";
}

}  // namespace vlisp::test
