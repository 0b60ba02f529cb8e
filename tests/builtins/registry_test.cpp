// Tests of builtins/registry.h.
#include "builtins/registry.h"

#include "builtins/lists.h"
#include "core/evaluator.h"
#include "core/reader.h"
#include "platform/text.h"
#include "tests/support/bare_lisp.h"

#include <algorithm>
#include <array>
#include <bit>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace vlisp {
namespace {

// The order in which the functions are registered.
constexpr std::array requiredOrder{"APPEND",
                                   "CAR",
                                   "CDR",
                                   "CONS",
                                   "LENGTH",
                                   "LIST",
                                   "NULLP",
                                   "+",
                                   "-",
                                   "*",
                                   "/",
                                   ">",
                                   "<",
                                   "<=",
                                   "~",
                                   "LISTP",
                                   "EQUAL",
                                   "EQ",
                                   "=",
                                   "/=",
                                   "CADR",
                                   "ASSOC",
                                   "NTH",
                                   "SUBST",
                                   "COMMAND",
                                   "PRINC",
                                   "PRINT",
                                   "PRIN1",
                                   "PROMPT",
                                   "GETPOINT",
                                   "GETDIST",
                                   "GETSTRING",
                                   "GETREAL",
                                   "GETINT",
                                   "GETVAR",
                                   "SETVAR",
                                   "ENTNEXT",
                                   "ENTLAST",
                                   "ENTGET",
                                   "ENTMOD",
                                   "ENTSEL",
                                   "REDRAW",
                                   "SSGET",
                                   "SSDEL",
                                   "SSADD",
                                   "SSNAME",
                                   "SSLENGTH",
                                   "POLAR",
                                   "SQRT",
                                   "SIN",
                                   "COS",
                                   "ATAN",
                                   "ANGLE",
                                   "DISTANCE",
                                   "INTERS",
                                   "STRCAT",
                                   "SUBSTR",
                                   "STRLEN",
                                   "STRCASE",
                                   "WCMATCH",
                                   "TBLNEXT",
                                   "ITOA",
                                   "ATOI",
                                   "LOGAND",
                                   "LOGIOR",
                                   "MEMBER",
                                   "REVERSE",
                                   "LAST",
                                   "VL-REMOVE",
                                   "VL-REMOVE-NTH",
                                   "VL-REMOVE-IF",
                                   "VM-REFRESH",
                                   "VM-WAIT",
                                   "VM-ENTEXT"};
static_assert(requiredOrder.size() == 74);

std::vector<std::string> namesOfRows() {
    std::vector<std::string> names;
    for (const BuiltinRow& row : builtinRows()) names.emplace_back(row.name);
    return names;
}

std::size_t bindingsOf(std::u16string_view name) {
    const auto& bindings = GlobalEnvironment().bindings();
    return static_cast<std::size_t>(std::ranges::count_if(
        bindings, [&](const Environment::Binding& b) { return textOf(b.name.get()) == name; }));
}

const Cell* bound(std::u16string_view name) { return GlobalEnvironment().find(intern(name).get()); }

// The arguments of a row's example, evaluated.
std::vector<Cell> argumentsOfExample(test::BareLisp& lisp, const BuiltinRow& row) {
    const Cell form = Parse(platform::fromUtf8(row.example));
    std::vector<Cell> arguments;
    for (const Cell& element : form.items().subspan(1))
        arguments.push_back(Eval(element, GlobalEnvironment(), lisp.error));
    EXPECT_TRUE(lisp.error.empty()) << row.example;
    return arguments;
}

// Whether a built-in's check lets a call through with so many arguments: the example's, cut off or
// with its last one given again.
bool accepts(const BuiltinRow& row, std::vector<Cell> arguments, std::size_t count) {
    const Cell filler = arguments.empty() ? Cell::integer(1) : arguments.back();
    arguments.resize(count, filler);
    return !IsFalse(row.proc(arguments));
}

TEST(Registry, ExamplesOfTheTablePrintWhatTheySay) {
    for (const BuiltinRow& row : builtinRows()) {
        if (row.proc == nullptr) continue;
        test::BareLisp lisp;
        EXPECT_EQ(lisp.eval(row.example), row.result) << row.example;
    }
}

TEST(Registry, RowsStandInTheRequiredOrderEachOnce) {
    const std::vector<std::string> names = namesOfRows();
    EXPECT_EQ(names, std::vector<std::string>(requiredOrder.begin(), requiredOrder.end()));
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 74u);
}

// The host's and the drawing's functions are given from above; all others are here.
TEST(Registry, HoldsEveryFunctionThatNeedsNoHost) {
    std::vector<std::string> provided;
    for (const BuiltinRow& row : builtinRows())
        if (row.proc == nullptr) provided.emplace_back(row.name);
    EXPECT_EQ(provided, (std::vector<std::string>{
                            "COMMAND",    "PRINC",     "PRINT",    "PRIN1",  "PROMPT",   "GETPOINT",
                            "GETDIST",    "GETSTRING", "GETREAL",  "GETINT", "GETVAR",   "SETVAR",
                            "ENTNEXT",    "ENTLAST",   "ENTGET",   "ENTMOD", "ENTSEL",   "REDRAW",
                            "SSGET",      "SSDEL",     "SSADD",    "SSNAME", "SSLENGTH", "TBLNEXT",
                            "VM-REFRESH", "VM-WAIT",   "VM-ENTEXT"}));
}

TEST(Registry, FindsRowsByTheirExactName) {
    for (const BuiltinRow& row : builtinRows()) EXPECT_EQ(findBuiltin(row.name), &row);
    EXPECT_EQ(findBuiltin("car"), nullptr);
    EXPECT_EQ(findBuiltin(""), nullptr);
    EXPECT_EQ(findBuiltin(">="), nullptr);
    EXPECT_EQ(findBuiltin("T"), nullptr);
    EXPECT_EQ(findBuiltin("PI"), nullptr);
}

TEST(Registry, BindsTheConstants) {
    const test::BareLisp lisp;
    ASSERT_EQ(bindingsOf(u"nil"), 1u);
    ASSERT_NE(bound(u"nil"), nullptr);
    EXPECT_TRUE(bound(u"nil")->is(CellType::Symbol));
    EXPECT_EQ(bound(u"nil")->text(), FalseCell.text());
    EXPECT_TRUE(IsFalse(*bound(u"nil")));

    ASSERT_EQ(bindingsOf(u"T"), 1u);
    EXPECT_TRUE(bound(u"T")->is(CellType::Symbol));
    EXPECT_EQ(bound(u"T")->text(), u"T");

    ASSERT_EQ(bindingsOf(u"."), 1u);
    EXPECT_TRUE(bound(u".")->is(CellType::Symbol));
    EXPECT_EQ(bound(u".")->text(), u".");

    ASSERT_EQ(bindingsOf(u"PI"), 1u);
    ASSERT_TRUE(bound(u"PI")->is(CellType::Real));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(bound(u"PI")->realValue()), 0x400921FB54442D18u);
}

TEST(Registry, LeavesUnboundWhatProgramsMustNotFind) {
    const test::BareLisp lisp;
    EXPECT_EQ(bound(u"NIL"), nullptr);
    EXPECT_EQ(bound(u">="), nullptr);
    EXPECT_EQ(bound(u"t"), nullptr);
    EXPECT_EQ(bound(u"pi"), nullptr);
    // Nobody provided these here.
    for (const BuiltinRow& row : builtinRows())
        if (row.proc == nullptr) {
            EXPECT_EQ(bound(platform::fromUtf8(row.name)), nullptr) << row.name;
        }
}

TEST(Registry, BindsEveryRowToItsFunctionAndNothingElse) {
    test::BareLisp lisp;
    std::size_t functions = 0;
    for (const BuiltinRow& row : builtinRows()) {
        if (row.proc == nullptr) continue;
        ++functions;
        const std::u16string name = platform::fromUtf8(row.name);
        ASSERT_EQ(bindingsOf(name), 1u) << row.name;
        const Cell& cell = *bound(name);
        EXPECT_TRUE(cell.is(CellType::Proc)) << row.name;
        EXPECT_EQ(cell.proc(), row.proc) << row.name;
        EXPECT_EQ(cell.text(), u"");
        EXPECT_EQ(cell.intValue(), 0);
        EXPECT_EQ(cell.realValue(), 0.0);
        EXPECT_TRUE(cell.items().empty());
        EXPECT_EQ(cell.env(), nullptr);
    }
    // "nil", "T", "." and PI beside them; the prelude of the bare interpreter binds nothing.
    EXPECT_EQ(GlobalEnvironment().bindings().size(), functions + 4);
}

TEST(Registry, EqualsSignIsTheVeryFunctionOfEqualAndEqForwardsToIt) {
    const test::BareLisp lisp;
    EXPECT_EQ(bound(u"=")->proc(), bound(u"EQUAL")->proc());
    EXPECT_EQ(bound(u"EQUAL")->proc(), &equal);
    EXPECT_NE(bound(u"EQ")->proc(), bound(u"EQUAL")->proc());
    EXPECT_EQ(bound(u"EQ")->proc(), &eq);
}

TEST(Registry, ReplacesWhatWasBoundBefore) {
    const test::BareLisp lisp;
    Environment& global = GlobalEnvironment();
    global.Bind(intern(u"CAR"), Cell::integer(5));
    global.Bind(intern(u"PI"), Cell::integer(3));
    global.Bind(intern(u"nil"), Cell::integer(1));
    RegisterBuiltins(global);
    EXPECT_EQ(bound(u"CAR")->proc(), &car);
    EXPECT_TRUE(bound(u"PI")->is(CellType::Real));
    EXPECT_TRUE(IsFalse(*bound(u"nil")));
    EXPECT_EQ(bindingsOf(u"CAR"), 1u);
    EXPECT_EQ(bindingsOf(u"nil"), 1u);
}

TEST(Registry, TakesProvidedFunctionsForRowsWithoutOne) {
    const test::BareLisp lisp;
    const ProvidedBuiltin provided[] = {{"PRINC", &cdr}, {"CAR", &cdr}, {"NO-SUCH-ROW", &cdr}};
    RegisterBuiltins(GlobalEnvironment(), provided);
    ASSERT_NE(bound(u"PRINC"), nullptr);
    EXPECT_EQ(bound(u"PRINC")->proc(), &cdr);
    EXPECT_EQ(bound(u"CAR")->proc(), &car) << "a row's own function comes first";
    EXPECT_EQ(bound(u"NO-SUCH-ROW"), nullptr);
}

TEST(Registry, ArgumentCountsAgreeWithTheFunctions) {
    for (const BuiltinRow& row : builtinRows()) {
        if (row.proc == nullptr) continue;
        SCOPED_TRACE(row.name);
        test::BareLisp lisp;
        const std::vector<Cell> arguments = argumentsOfExample(lisp, row);
        ASSERT_GE(row.fewest, 0);
        ASSERT_TRUE(row.most == any || row.most >= row.fewest);
        const auto fewest = static_cast<std::size_t>(row.fewest);
        EXPECT_TRUE(accepts(row, arguments, fewest)) << "with " << fewest;
        for (std::size_t count = 0; count < fewest; ++count)
            EXPECT_FALSE(accepts(row, arguments, count)) << "with " << count;
        if (row.most == any) {
            EXPECT_TRUE(accepts(row, arguments, arguments.size() + 1));
            EXPECT_TRUE(accepts(row, arguments, arguments.size() + 20));
        } else {
            const auto most = static_cast<std::size_t>(row.most);
            EXPECT_TRUE(accepts(row, arguments, most)) << "with " << most;
            EXPECT_FALSE(accepts(row, arguments, most + 1)) << "with " << most + 1;
            EXPECT_FALSE(accepts(row, arguments, most + 20)) << "with " << most + 20;
        }
    }
}

TEST(Registry, NoFunctionFailsOnAnyShapeOfArguments) {
    test::BareLisp lisp;
    const std::vector<Cell> shapes{
        Cell(),
        NilCell,
        Cell::symbol(u"A"),
        Cell::integer(-2147483647 - 1),
        Cell::integer(3),
        Cell::real(1.5),
        Cell::string(u"text"),
        Cell::list({}),
        Cell::list({Cell::integer(1), DotCell, Cell::integer(2)}),
        Cell::builtin(&car),
        lisp.value("(lambda (x) x)"),
        Cell::make(CellType::EntityName, u"7"),
        Cell::make(CellType::SelectionSet, u"3"),
    };
    std::size_t calls = 0;
    for (const BuiltinRow& row : builtinRows()) {
        if (row.proc == nullptr) continue;
        for (const Cell& first : shapes)
            for (const Cell& second : shapes)
                for (const Cell& third : shapes) {
                    const std::vector<Cell> arguments{first, second, third};
                    for (std::size_t count = 0; count <= 3; ++count) {
                        const Cell result = row.proc(Arguments(arguments).first(count));
                        calls += result.type() <= CellType::SelectionSet ? 1U : 0U;
                    }
                }
    }
    EXPECT_GT(calls, 300'000u);
}

TEST(Registry, EveryRowIsDescribed) {
    for (const BuiltinRow& row : builtinRows()) {
        EXPECT_TRUE(std::string(row.synopsis).starts_with("(" + std::string(row.name))) << row.name;
        EXPECT_TRUE(std::string(row.synopsis).ends_with(")")) << row.name;
        EXPECT_TRUE(std::string(row.help).ends_with(".")) << row.name;
        EXPECT_FALSE(std::string(row.result).empty()) << row.name;
    }
}

}  // namespace
}  // namespace vlisp
