// Tests that the product's evaluator and the literal one are the same: corners/*.lsp, each a test,
// and random programs.
//
// A line of a corner is an expression and what both evaluators give for it, "; => VALUE" or
// "; error: TEXT". A line that begins with ";" is a comment.
#include "tests/reference/comparison.h"

#include "core/evaluator.h"
#include "tests/reference/evaluator.h"
#include "tests/reference/program_generator.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp::reference {
namespace {

namespace fs = std::filesystem;

std::string withoutBlanksBehind(const std::string& text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

struct Corner {
    Program program;
    std::vector<std::string> expected;  // as seenOf writes it
};

std::string seenOf(const Outcome& outcome) {
    if (outcome.error.empty()) return withoutBlanksBehind("; => " + outcome.printed);
    return "; error: " + outcome.error.substr(0, outcome.error.find('\n'));
}

Corner cornerIn(const fs::path& path) {
    Corner corner;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(";")) continue;
        const std::size_t at = std::min(line.find("; =>"), line.find("; error: "));
        EXPECT_NE(at, std::string::npos) << path << " expects nothing of: " << line;
        if (at == std::string::npos) continue;
        corner.program.expressions.push_back(withoutBlanksBehind(line.substr(0, at)));
        corner.expected.push_back(line.substr(at));
    }
    return corner;
}

std::vector<fs::path> corners() {
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(CORNERS)) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    return paths;
}

class Corners : public ::testing::TestWithParam<fs::path> {};

TEST_P(Corners, AreTheSameAndAsExpected) {
    const Corner corner = cornerIn(GetParam());
    ASSERT_FALSE(corner.expected.empty());
    const Transcript literal = run(corner.program, Evaluator::literal);
    const std::string difference = compare(corner.program);
    EXPECT_TRUE(difference.empty()) << difference;
    ASSERT_EQ(literal.outcomes.size(), corner.expected.size()) << literal.interruption;
    for (std::size_t i = 0; i < corner.expected.size(); ++i)
        EXPECT_EQ(seenOf(literal.outcomes[i]), corner.expected[i]) << corner.program.expressions[i];
    Program inOne = corner.program;
    inOne.oneBuffer = true;
    const std::string inOneBuffer = compare(inOne);
    EXPECT_TRUE(inOneBuffer.empty()) << inOneBuffer;
}

INSTANTIATE_TEST_SUITE_P(All, Corners, ::testing::ValuesIn(corners()), [](const auto& corner) {
    std::string name = corner.param.stem().string();
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(Comparison, RandomProgramsAreTheSame) {
    constexpr std::uint64_t count = RANDOM_PROGRAMS;
    for (std::uint64_t seed = 1; seed <= count; ++seed) {
        const std::string difference = compare(makeProgram(Choices(seed)));
        ASSERT_TRUE(difference.empty())
            << "seed " << seed << ", which compare_evaluators --seeds " << seed << " 1 reduces\n"
            << difference;
    }
}

// The comparison sees each thing by which two runs can differ.
TEST(Comparison, TellsDifferencesOfEveryKind) {
    const Program one{{"(princ 1)"}, false};
    const auto differs = [&](const std::string& a, const std::string& b) {
        const Program first{{a}, false};
        const Program second{{b}, false};
        return !differenceBetween(one, run(first, Evaluator::product),
                                  run(second, Evaluator::literal))
                    .empty();
    };
    EXPECT_FALSE(differs("(+ 1 2)", "3"));
    EXPECT_TRUE(differs("1", "2"));
    EXPECT_TRUE(differs("1.0001", "1.0002"));
    EXPECT_TRUE(differs("'(1 (a))", "'(1 (\"A\"))"));
    EXPECT_TRUE(differs("(lambda (x) x)", "(lambda (x) y)"));
    EXPECT_TRUE(differs("car", "cdr"));
    EXPECT_TRUE(differs("(zzz)", "(yyy)"));
    EXPECT_TRUE(differs("(princ 1)", "(prin1 1)"));
    EXPECT_TRUE(differs("(princ 1)", "(begin (princ 1) (princ 1))"));
    EXPECT_TRUE(differs("(begin (setq a 1) 5)", "(begin (setq b 1) 5)"));
    EXPECT_TRUE(differs("(begin (defun c:f () 1) 5)", "(begin (defun f () 1) 5)"));
    EXPECT_TRUE(differs("(begin (setq car cdr) 5)", "5"));
}

TEST(Comparison, AnErrorStandsOverWhatFollowsInOneBuffer) {
    Program program{{"(zzz)", "(princ 1)", "(setq a 2)", "a"}, false};
    const Transcript apart = run(program, Evaluator::literal);
    EXPECT_EQ(apart.outcomes[1].error, "");
    EXPECT_EQ(apart.outcomes[1].events.size(), 1U);
    program.oneBuffer = true;
    const Transcript together = run(program, Evaluator::literal);
    EXPECT_TRUE(together.outcomes[0].reported);
    EXPECT_EQ(together.outcomes[1].error, together.outcomes[0].error);
    EXPECT_TRUE(together.outcomes[1].events.empty());
    EXPECT_EQ(together.outcomes[3].printed, "2");
}

TEST(Comparison, AnInterruptionEndsTheTranscriptWithItsMessage) {
    const Program program{{"1", "(defun f (x) (f x))", "(f 1)", "2"}, false};
    for (const Evaluator evaluator : {Evaluator::product, Evaluator::literal}) {
        const Transcript transcript = run(program, evaluator);
        EXPECT_EQ(transcript.outcomes.size(), 2U);
        EXPECT_EQ(transcript.interruption, ";error; nested too deeply");
    }
}

// The evaluator in use is the one that was asked for.
TEST(Comparison, UsesBothEvaluators) {
    static int calls = 0;
    setEvaluator([](const Cell& cell, Environment& scope, ErrorBuffer& error) {
        ++calls;
        return reference::Eval(cell, scope, error);
    });
    const Ref<Environment> scope = Environment::make(nullptr);
    ErrorBuffer error;
    EXPECT_EQ(vlisp::Eval(Cell::integer(5), *scope, error).intValue(), 5);
    EXPECT_EQ(calls, 1);
    setEvaluator(nullptr);
    EXPECT_EQ(vlisp::Eval(Cell::integer(5), *scope, error).intValue(), 5);
    EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace vlisp::reference
