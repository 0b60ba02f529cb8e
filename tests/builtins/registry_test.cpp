// Tests of builtins/registry.h.
#include "builtins/registry.h"

#include "tests/support/bare_lisp.h"

#include <gtest/gtest.h>

namespace vlisp {
namespace {

TEST(Registry, ExamplesOfTheTablePrintWhatTheySay) {
    for (const BuiltinRow& row : builtinRows()) {
        if (row.proc == nullptr) continue;
        test::BareLisp lisp;
        EXPECT_EQ(lisp.eval(row.example), row.result) << row.example;
    }
}

}  // namespace
}  // namespace vlisp
