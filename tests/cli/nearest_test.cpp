// Tests of apps/vlisp/nearest.h.
#include "apps/vlisp/nearest.h"

#include <gtest/gtest.h>
#include <vector>

namespace vlisp::app {
namespace {

const std::vector<std::string> names = {"STRCAT", "STRCASE", "CAR", "CDR", "="};

TEST(Nearest, FindsANameWithATypingError) {
    EXPECT_EQ(nearest("STRCTAT", names), "STRCAT");
    EXPECT_EQ(nearest("STRCASEE", names), "STRCASE");
    EXPECT_EQ(nearest("STRCAT", names), "STRCAT");
}

TEST(Nearest, SaysNothingWhenNothingIsNear) {
    EXPECT_EQ(nearest("FOO", names), "");
    EXPECT_EQ(nearest("STRENGTH", names), "");
    EXPECT_EQ(nearest("X", names), "");
    EXPECT_EQ(nearest("", names), "");
    EXPECT_EQ(nearest("CAR", {}), "");
}

}  // namespace
}  // namespace vlisp::app
