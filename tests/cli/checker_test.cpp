// Tests of apps/vlisp/checker.h that a session cannot show.
#include "apps/vlisp/checker.h"

#include <gtest/gtest.h>

namespace vlisp::app {
namespace {

TEST(Checker, SurvivesAListNestedAMillionDeep) {
    std::u16string source;
    for (int i = 0; i < 1'000'000; ++i) source += u"(f ";
    source.append(1'000'000, u')');
    const auto warnings = checkSource(source, {{u"F"}, {}});
    EXPECT_TRUE(warnings.empty());
    EXPECT_TRUE(namesDefinedBy(source).empty());
}

TEST(Checker, SurvivesFunctionsNestedDeep) {
    std::u16string source;
    for (int i = 0; i < 100'000; ++i) source += u"(lambda (x) ";
    source += u"(nowhere)";
    source.append(100'000, u')');
    // So deep, the names around are not searched to the end: nothing is said.
    EXPECT_TRUE(checkSource(source, {}).empty());
}

TEST(Checker, CountsColumnsInCharacters) {
    const auto warnings = checkSource(u"(princ \"\U0001F600\u00e9\") (nowhere)", {{u"PRINC"}, {}});
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].line, 1u);
    EXPECT_EQ(warnings[0].column, 15u);
}

}  // namespace
}  // namespace vlisp::app
