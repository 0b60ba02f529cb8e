// Tests of the session together with the built-ins.
#include "core/session.h"

#include "tests/support/bare_lisp.h"

#include <gtest/gtest.h>

namespace vlisp {
namespace {

TEST(SessionWithBuiltins, TheConstantsAreBoundAndNILIsNot) {
    test::BareLisp lisp;
    EXPECT_EQ(lisp.eval("T"), "T");
    EXPECT_EQ(lisp.eval("."), ".");
    EXPECT_EQ(lisp.eval("nil"), ";error; undefined symbol 'NIL'\n");
    EXPECT_NE(GlobalEnvironment().find(intern(u"nil").get()), nullptr);
}

TEST(SessionWithBuiltins, EvalStringTellsValueFromError) {
    test::BareLisp lisp;
    std::u16string buffer = u"(+ 1 2)";
    EXPECT_TRUE(lisp.session.EvalString(buffer));
    EXPECT_EQ(buffer, u"3");
    buffer = u"(zzz)";
    EXPECT_FALSE(lisp.session.EvalString(buffer));
    EXPECT_EQ(buffer, u";error; undefined symbol 'ZZZ'\n");
}

TEST(SessionWithBuiltins, EvalStringToPoint) {
    test::BareLisp lisp;
    std::u16string first = u"(list 1 2.5)";
    std::u16string second;
    lisp.session.EvalStringToPoint(first, second);
    EXPECT_EQ(first, u"1,2.500");
    EXPECT_EQ(second, u"(1 2.500)");
    first = u"5";
    lisp.session.EvalStringToPoint(first, second);
    EXPECT_EQ(first, u"nil");
    EXPECT_EQ(second, u"5");
}

TEST(SessionWithBuiltins, AFileThatFailsGoesOnWithNilForEverySymbol) {
    test::BareLisp lisp;
    const LoadReport report = lisp.session.loadLispText(
        u"/x/a.lsp", u"(setq a 1)\n(foo)\n(define b (+ a 1))\n(define c (5 a))\n7");
    EXPECT_EQ(lisp.port.log, (std::vector<std::string>{"message a.lsp successfully loaded.",
                                                       "done ;error; undefined symbol 'FOO'\n"}));
    EXPECT_EQ(report.line, 2U);
    EXPECT_EQ(lisp.eval("b"), "nil");
    EXPECT_EQ(lisp.eval("a"), "1");
}

}  // namespace
}  // namespace vlisp
