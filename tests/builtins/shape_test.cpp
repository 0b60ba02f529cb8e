// Tests that the usual ways of building and walking lists and texts are linear.
#include "core/heap.h"
#include "tests/support/bare_lisp.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace vlisp {
namespace {

struct Work {
    std::uint64_t copied, allocated;
};

Work workOf(const std::string& prepare, const std::string& program, const std::string& check,
            const std::string& expected) {
    test::BareLisp lisp;
    if (!prepare.empty()) lisp.eval(prepare);
    const heap::Statistics before = heap::statistics();
    lisp.eval(program);
    const heap::Statistics after = heap::statistics();
    EXPECT_EQ(lisp.eval(check), expected) << program;
    return {after.elementsCopied - before.elementsCopied, after.allocations - before.allocations};
}

struct CountedProgram {
    const char* name;
    // "%" stands for the number of elements.
    std::string prepare, program, check, expected;

    friend std::ostream& operator<<(std::ostream& out, const CountedProgram& row) {
        return out << row.program;
    }
};

std::string withCount(std::string text, int count) {
    for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%'))
        text.replace(at, 1, std::to_string(count));
    return text;
}

class ShapeOfPrograms : public ::testing::TestWithParam<CountedProgram> {};

TEST_P(ShapeOfPrograms, IsLinear) {
    const CountedProgram& row = GetParam();
    const auto workFor = [&](int count) {
        return workOf(withCount(row.prepare, count), withCount(row.program, count),
                      withCount(row.check, count), withCount(row.expected, count));
    };
    const Work once = workFor(4'000);
    const Work fourfold = workFor(16'000);
    EXPECT_LE(fourfold.copied, 5 * once.copied + 100);
    EXPECT_LE(fourfold.allocated, 5 * once.allocated + 100);
    // Linear with a small factor: a handful of copies and allocations for each element.
    EXPECT_LE(fourfold.copied, 20U * 16'000U);
    EXPECT_LE(fourfold.allocated, 20U * 16'000U);
}

const std::string makeList =
    "(begin (setq l '()) (repeat % (setq l (append l (list 7)))) (setq sum 0))";

INSTANTIATE_TEST_SUITE_P(
    Programs, ShapeOfPrograms,
    ::testing::Values(
        CountedProgram{"Append", "",
                       "(begin (setq l '() x 1) (repeat % (setq l (append l (list x)))))",
                       "(length l)", "%"},
        CountedProgram{"Cons", "", "(begin (setq l '() x 1) (repeat % (setq l (cons x l))))",
                       "(length l)", "%"},
        CountedProgram{"AppendInFront", "",
                       "(begin (setq l '() x 1) (repeat % (setq l (append (list x) l))))",
                       "(length l)", "%"},
        CountedProgram{"Strcat", "",
                       "(begin (setq s \"\" x \"a\") (repeat % (setq s (strcat s x))))",
                       "(strlen s)", "%"},
        CountedProgram{"StrcatInFront", "",
                       "(begin (setq s \"\" x \"a\") (repeat % (setq s (strcat x s))))",
                       "(strlen s)", "%"},
        CountedProgram{"CarCdr", makeList,
                       "(while (car l) (setq sum (+ sum (car l))) (setq l (cdr l)))", "(/ sum 7)",
                       "%"},
        CountedProgram{
            "CarCdrOfAParameter", makeList,
            "((lambda (r) (while (car r) (begin (setq sum (+ sum 1)) (setq r (cdr r))))) l)", "sum",
            "%"}),
    [](const ::testing::TestParamInfo<CountedProgram>& row) {
        return std::string(row.param.name);
    });

TEST(Shape, AMillionIntegersUseAtMost32Megabytes) {
    for (const char* program : {"(repeat 1000000 (setq l (append l (list x))))",
                                "(repeat 1000000 (setq l (cons x l)))"}) {
        test::BareLisp lisp;
        lisp.eval("(setq l '() x 1)");
        const std::size_t before = heap::used();
        EXPECT_GT(lisp.eval(program).size(), 1'999'999U);
        EXPECT_LE(heap::used() - before, std::size_t{32} << 20) << program;
        EXPECT_EQ(lisp.eval("(length l)"), "1000000");
    }
}

}  // namespace
}  // namespace vlisp
