// Tests of tests/reference/program_generator.h and choices.h.
#include "tests/reference/program_generator.h"

#include "builtins/registry.h"
#include "core/evaluator.h"
#include "core/reader.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

namespace vlisp::reference {
namespace {

constexpr std::uint64_t seeds = 3'000;

TEST(Choices, ASeedGivesTheSameNumbersAgain) {
    Choices a(std::uint64_t{7});
    Choices b(std::uint64_t{7});
    Choices c(std::uint64_t{8});
    bool same = true;
    for (int i = 0; i < 20; ++i) {
        const std::size_t number = a.below(1000);
        EXPECT_LT(number, 1000U);
        EXPECT_EQ(number, b.below(1000));
        same = same && number == c.below(1000);
    }
    EXPECT_FALSE(same);
    EXPECT_FALSE(a.exhausted());
}

TEST(Choices, BytesAreUsedUpAndThenGiveZero) {
    const std::array<std::uint8_t, 4> bytes{5, 1, 2, 9};
    Choices choices{std::span<const std::uint8_t>(bytes)};
    EXPECT_EQ(choices.below(1), 0U);
    EXPECT_EQ(choices.below(4), 1U);
    EXPECT_EQ(choices.below(1000), 258U);
    EXPECT_FALSE(choices.exhausted());
    EXPECT_EQ(choices.below(256), 9U);
    EXPECT_TRUE(choices.exhausted());
    EXPECT_EQ(choices.below(10), 0U);
    EXPECT_FALSE(choices.oneIn(2));
}

TEST(ProgramGenerator, ASeedGivesTheSameProgramAgain) {
    EXPECT_EQ(textOf(makeProgram(Choices(std::uint64_t{3}))),
              textOf(makeProgram(Choices(std::uint64_t{3}))));
    EXPECT_NE(textOf(makeProgram(Choices(std::uint64_t{3}))),
              textOf(makeProgram(Choices(std::uint64_t{4}))));
}

TEST(ProgramGenerator, BytesThatAreUsedUpEndTheProgram) {
    EXPECT_LE(makeProgram(Choices(std::span<const std::uint8_t>())).expressions.size(), 2U);
    const std::array<std::uint8_t, 3> bytes{255, 255, 255};
    EXPECT_LE(makeProgram(Choices{std::span<const std::uint8_t>(bytes)}).expressions.size(), 9U);
}

// Every text is one whole expression: nothing in it is dropped by the reader.
TEST(ProgramGenerator, WritesBalancedExpressions) {
    for (std::uint64_t seed = 1; seed <= seeds; ++seed)
        for (const std::string& expression : makeProgram(Choices(seed)).expressions) {
            const std::u16string text = platform::fromUtf8(expression);
            TokenQueue tokens = Tokenize(text);
            ReadFrom(tokens);
            EXPECT_TRUE(tokens.empty()) << expression;
            EXPECT_EQ(std::count(expression.begin(), expression.end(), '('),
                      std::count(expression.begin(), expression.end(), ')'))
                << expression;
            EXPECT_EQ(expression.find('%'), std::string::npos) << expression;
        }
}

TEST(ProgramGenerator, CallsEverySpecialFormAndEveryBuiltin) {
    std::string all;
    for (std::uint64_t seed = 1; seed <= seeds; ++seed)
        for (const std::string& expression : makeProgram(Choices(seed)).expressions)
            all += expression + "\n";
    for (char& unit : all) unit = static_cast<char>(std::toupper(static_cast<unsigned char>(unit)));
    const auto isCalled = [&](const std::string& name) {
        return all.find("(" + name + " ") != std::string::npos;
    };
    for (const SpecialFormHelp& row : specialForms()) EXPECT_TRUE(isCalled(row.name)) << row.name;
    for (const BuiltinRow& row : builtinRows()) EXPECT_TRUE(isCalled(row.name)) << row.name;
}

// Programs end by themselves, and most of what they do succeeds; but not everything.
TEST(ProgramGenerator, ProgramsDoRealWork) {
    std::size_t expressions = 0;
    std::size_t errors = 0;
    std::size_t events = 0;
    for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
        const Transcript transcript = run(makeProgram(Choices(seed)), Evaluator::literal);
        EXPECT_EQ(transcript.interruption, "") << "seed " << seed;
        for (const Outcome& outcome : transcript.outcomes) {
            ++expressions;
            if (!outcome.error.empty()) ++errors;
            events += outcome.events.size();
        }
    }
    EXPECT_LT(errors * 4, expressions);
    EXPECT_GT(errors * 50, expressions);
    EXPECT_GT(events * 4, expressions);
}

}  // namespace
}  // namespace vlisp::reference
