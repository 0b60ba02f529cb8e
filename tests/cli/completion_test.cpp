// What is completed of a name, whatever reads the line.
#include "apps/vlisp/completion.h"

#include <gtest/gtest.h>

namespace {

using vlisp::app::complete;
using vlisp::app::Completion;
using List = std::vector<std::string>;

const std::set<std::string> names{"LINE", "LIST", "Partition", "QUIT"};

Completion completed(std::string_view before) {
    return complete(before, [](std::string_view /*upToTheName*/) { return names; });
}

TEST(Completion, GoesAsFarAsItIsCertain) {
    EXPECT_EQ(completed("(L").rest, "I");
    EXPECT_EQ(completed("(LIN").rest, "E ");
    EXPECT_EQ(completed("(LI").rest, "");
    EXPECT_EQ(completed("(LI").matching, (List{"LINE", "LIST"}));
}

TEST(Completion, KeepsTheCaseInWhichANameIsBegun) {
    EXPECT_EQ(completed("qu").rest, "it ");
    EXPECT_EQ(completed("QU").rest, "IT ");
    EXPECT_EQ(completed("P").rest, "artition ");
}

TEST(Completion, PutsNoBlankBehindANameInAText) { EXPECT_EQ(completed("(f \"P").rest, "artition"); }

TEST(Completion, DoesNothingWithoutANameOrWithAnUnknownOne) {
    EXPECT_TRUE(completed("").matching.empty());
    EXPECT_TRUE(completed("(list ").matching.empty());
    EXPECT_TRUE(completed("(zz").matching.empty());
}

TEST(Completion, AsksForTheNamesOfTheLineUpToThere) {
    std::string asked;
    complete("(list 'qu", [&](std::string_view before) {
        asked = before;
        return names;
    });
    EXPECT_EQ(asked, "(list '");
}

}  // namespace
