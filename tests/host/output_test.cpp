// Tests of host/output.h.
#include "host/output.h"

#include "tests/support/recording_host.h"

#include <gtest/gtest.h>

namespace vlisp {
namespace {

TEST(Output, PrincShowsTextWithoutQuotes) {
    test::RecordingHost host;
    const Cell text[] = {Cell::string(u"abc")};
    EXPECT_EQ(princ(text).text(), u"\"abc\"");
    ASSERT_EQ(host.shown.size(), 1u);
    EXPECT_EQ(host.shown[0], u"abc");
}

}  // namespace
}  // namespace vlisp
