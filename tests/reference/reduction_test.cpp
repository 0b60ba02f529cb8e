// Tests of tests/reference/reduction.h.
#include "tests/reference/reduction.h"

#include <gtest/gtest.h>
#include <string>

namespace vlisp::reference {
namespace {

using Texts = std::vector<std::string>;

bool mentions(const Program& program, const std::string& what) {
    for (const std::string& expression : program.expressions)
        if (expression.find(what) != std::string::npos) return true;
    return false;
}

TEST(Reduction, LeavesOutWhatIsNotNeeded) {
    const Program program{{"(SETQ A 1)", "(PRINC (LIST 1 (+ 2 (FOO 3 'B)) \"s\"))", "(CAR A)"},
                          true};
    const Program small =
        reduced(program, [](const Program& each) { return mentions(each, "FOO"); });
    EXPECT_EQ(small.expressions, Texts{"FOO"});
    EXPECT_TRUE(small.oneBuffer);
}

TEST(Reduction, KeepsWhatIsNeededTogether) {
    const Program program{{"(SETQ A (LIST 1 2))", "(PRINC 1)", "(IF A (BAR 1) (FOO 2))"}, false};
    const Program small = reduced(program, [](const Program& each) {
        return mentions(each, "(FOO") && mentions(each, "LIST");
    });
    EXPECT_EQ(small.expressions, (Texts{"LIST", "(FOO)"}));
}

TEST(Reduction, AProgramOfWhichEverythingIsNeededStays) {
    const Program program{{"(a b)", "c"}, false};
    const Program small = reduced(
        program, [&](const Program& each) { return each.expressions == program.expressions; });
    EXPECT_EQ(small.expressions, program.expressions);
}

}  // namespace
}  // namespace vlisp::reference
