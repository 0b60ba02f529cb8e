// Tests of what the registry says of the functions that this room and the drawing provide.
#include "builtins/registry.h"
#include "core/evaluator.h"
#include "drawing/builtins.h"
#include "host/control.h"
#include "host/input.h"
#include "host/module.h"
#include "host/output.h"
#include "platform/text.h"
#include "tests/support/recording_host.h"

#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using test::RecordingHost;
using test::reply;

std::vector<ProvidedBuiltin> everyProvided() {
    std::vector<ProvidedBuiltin> all;
    for (const auto builtins :
         {consoleBuiltins(), inputBuiltins(), controlBuiltins(), drawingBuiltins()})
        all.insert(all.end(), builtins.begin(), builtins.end());
    return all;
}

std::vector<const BuiltinRow*> rowsWithoutFunction() {
    std::vector<const BuiltinRow*> rows;
    for (const BuiltinRow& row : builtinRows())
        if (row.proc == nullptr) rows.push_back(&row);
    return rows;
}

// A module in a host with one line, one block, one variable and a user who types 12, gives the
// points (10,20) and (13,24), and picks the line.
struct Prepared {
    Prepared() {
        test::resetHandshake();
        host.add<VmDbLine>(vmDbLine, {{0, 0, 0}, {10, 5, 0}});
        host.addBlock(u"BOLT");
        host.variables[u"CLAYER"] = u"\"0\"";
    }
    ~Prepared() {
        EXPECT_EQ(host.open, 0) << "objects and blocks left open";
        test::resetHandshake();
    }
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;

    // What the user answers to this function.
    void answer(std::string_view name) {
        host.answers.clear();
        if (name == "GETPOINT" || name == "GETDIST")
            host.answers = {reply(1, 10, 20), reply(1, 13, 24)};
        else if (name == "ENTSEL") host.answers = {reply(4, 10, 20, {}, 1, 1)};
        else if (name == "SSGET") host.answers = {reply(3, 0, 0, {}, 1)};
        else host.answers = {reply(0, 0, 0, u"12")};
    }

    std::string eval(const std::string& expression) {
        std::u16string buffer = platform::fromUtf8(expression);
        EXPECT_TRUE(module.session().EvalString(buffer)) << expression;
        return platform::toUtf8(buffer);
    }

    std::vector<Cell> values(const std::string& expressions) {
        const Cell form = Parse(platform::fromUtf8("(" + expressions + ")"));
        std::vector<Cell> all;
        ErrorBuffer error;
        for (const Cell& each : form.items()) all.push_back(Eval(each, GlobalEnvironment(), error));
        EXPECT_TRUE(error.empty()) << expressions;
        return all;
    }

    // How much has happened in the host.
    [[nodiscard]] std::size_t happenings() const {
        return host.log.size() + static_cast<std::size_t>(host.opened) + host.sets.size();
    }

    RecordingHost host;
    Module module;
};

const ProvidedBuiltin* providedFor(const BuiltinRow& row) {
    static const std::vector<ProvidedBuiltin> all = everyProvided();
    for (const ProvidedBuiltin& each : all)
        if (row.name == std::string(each.name)) return &each;
    return nullptr;
}

TEST(ProvidedExamples, EveryRowWithoutAFunctionIsProvidedOnce) {
    std::multiset<std::string> rows;
    std::multiset<std::string> provided;
    for (const BuiltinRow* row : rowsWithoutFunction()) rows.insert(row->name);
    for (const ProvidedBuiltin& each : everyProvided()) {
        EXPECT_NE(each.proc, nullptr) << each.name;
        provided.insert(each.name);
    }
    EXPECT_EQ(provided, rows);
    EXPECT_EQ(provided.size(), 27u);
}

TEST(ProvidedExamples, InAModuleEveryRowIsBound) {
    const Prepared lisp;
    for (const BuiltinRow& row : builtinRows()) {
        const Cell* bound = GlobalEnvironment().find(intern(platform::fromUtf8(row.name)).get());
        ASSERT_NE(bound, nullptr) << row.name;
        ASSERT_TRUE(bound->is(CellType::Proc)) << row.name;
        EXPECT_EQ(bound->proc(), row.proc != nullptr ? row.proc : providedFor(row)->proc)
            << row.name;
    }
    // "nil", "T", "." and PI beside them, and the prelude's function.
    EXPECT_EQ(GlobalEnvironment().bindings().size(), builtinRows().size() + 5);
}

TEST(ProvidedExamples, ExamplesOfTheTablePrintWhatTheySay) {
    for (const BuiltinRow* row : rowsWithoutFunction()) {
        Prepared lisp;
        lisp.answer(row->name);
        EXPECT_EQ(lisp.eval(row->example), row->result) << row->example;
    }
}

// Arguments with which a function does something, as many as it reads.
struct Call {
    const char* name;
    const char* arguments;
};
constexpr Call calls[] = {
    {"COMMAND", "\"line\" '(0 0) \"\""},
    {"PRINC", "\"a\""},
    {"PRINT", "5"},
    {"PRIN1", "5"},
    {"PROMPT", "\"a\""},
    {"GETPOINT", "'(0 0) \"Point: \""},
    {"GETDIST", "\"Distance: \""},
    {"GETSTRING", "\"Name: \""},
    {"GETREAL", "\"Height: \""},
    {"GETINT", "\"How many: \""},
    {"GETVAR", "\"CLAYER\""},
    {"SETVAR", "\"CLAYER\" \"0\""},
    {"ENTNEXT", "5"},
    {"ENTLAST", ""},
    {"ENTGET", "(entlast)"},
    {"ENTMOD", "(entget (entlast))"},
    {"ENTSEL", "\"Pick: \""},
    {"REDRAW", ""},
    {"SSGET", "\"X\" '((0 . \"LINE\"))"},
    {"SSDEL", "(entlast) (ssget \"X\")"},
    {"SSADD", "(entlast) (ssget \"X\")"},
    {"SSNAME", "(ssget \"X\") 0"},
    {"SSLENGTH", "(ssget \"X\")"},
    {"TBLNEXT", "\"BLOCK\" T"},
    {"VM-REFRESH", ""},
    {"VM-ENTEXT", "(entlast)"},
};

// Whether the function does something when it is given so many arguments: those above, cut off or
// with the last one given again.
bool acts(const BuiltinRow& row, const char* arguments, std::size_t count) {
    Prepared lisp;
    std::vector<Cell> given = lisp.values(arguments);
    const Cell filler = given.empty() ? Cell::integer(1) : given.back();
    given.resize(count, filler);
    lisp.answer(row.name);
    const std::size_t before = lisp.happenings();
    const Cell result = providedFor(row)->proc(given);
    return !IsFalse(result) || lisp.happenings() > before;
}

TEST(ProvidedExamples, ArgumentCountsAgreeWithTheFunctions) {
    std::set<std::string> checked;
    for (const auto& [name, arguments] : calls) {
        SCOPED_TRACE(name);
        ASSERT_NE(findBuiltin(name), nullptr);
        const BuiltinRow& row = *findBuiltin(name);
        ASSERT_EQ(row.proc, nullptr);
        checked.insert(name);
        ASSERT_GE(row.fewest, 0);
        const auto fewest = static_cast<std::size_t>(row.fewest);
        EXPECT_TRUE(acts(row, arguments, fewest)) << "with " << fewest;
        for (std::size_t count = 0; count < fewest; ++count)
            EXPECT_FALSE(acts(row, arguments, count)) << "with " << count;
        if (row.most == any) {
            for (const std::size_t count : {fewest + 1, fewest + 2, fewest + 20})
                EXPECT_TRUE(acts(row, arguments, count)) << "with " << count;
        } else {
            const auto most = static_cast<std::size_t>(row.most);
            EXPECT_TRUE(acts(row, arguments, most)) << "with " << most;
            for (const std::size_t count : {most + 1, most + 2, most + 20})
                EXPECT_FALSE(acts(row, arguments, count)) << "with " << count;
        }
    }
    // VM-WAIT alone shows no difference.
    for (const BuiltinRow* row : rowsWithoutFunction())
        EXPECT_EQ(checked.contains(row->name), row->name != std::string("VM-WAIT")) << row->name;
}

TEST(ProvidedExamples, NoFunctionFailsOnAnyShapeOfArguments) {
    Prepared lisp;
    const std::vector<Cell> shapes{
        Cell(),
        NilCell,
        Cell::symbol(u"A"),
        Cell::integer(-2147483647 - 1),
        Cell::integer(0),
        Cell::real(1.5),
        Cell::string(u"text"),
        Cell::string(u"X"),
        Cell::list({}),
        Cell::list({Cell::integer(1), DotCell, Cell::integer(2)}),
        Cell::builtin(&princ),
        lisp.values("(lambda (x) x)").front(),
        Cell::make(CellType::EntityName, u"1"),
        Cell::make(CellType::SelectionSet, u"3"),
    };
    std::size_t returned = 0;
    for (const BuiltinRow* row : rowsWithoutFunction())
        for (const Cell& first : shapes)
            for (const Cell& second : shapes)
                for (const Cell& third : shapes) {
                    const std::vector<Cell> arguments{first, second, third};
                    for (std::size_t count = 0; count <= 3; ++count) {
                        const Cell result =
                            providedFor(*row)->proc(Arguments(arguments).first(count));
                        returned += result.type() <= CellType::SelectionSet ? 1U : 0U;
                    }
                    ASSERT_EQ(lisp.host.open, 0) << row->name;
                    lisp.host.log.clear();
                    lisp.host.posted.clear();
                    lisp.host.sets.clear();
                }
    EXPECT_EQ(returned, 27u * 14 * 14 * 14 * 4);
}

}  // namespace
}  // namespace vlisp
