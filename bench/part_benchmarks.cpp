// Times of the parts: reader, printer, comparison, wildcards, names, growth, drawing files.
// One idea: what must be linear is run at several sizes, and its order is fitted and shown.
// Run it: ./dev bench, or part_benchmarks --benchmark_filter=NAME.
#include "builtins/lists.h"
#include "builtins/wildcard.h"
#include "core/environment.h"
#include "core/evaluator.h"
#include "core/printer.h"
#include "core/reader.h"
#include "refhost/dxf/document.h"
#include "tests/support/bare_lisp.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace vlisp;

// What is read and printed: a list of `count` entity-like lists.
std::u16string listText(std::size_t count) {
    std::u16string text = u"(";
    for (std::size_t i = 0; i < count; ++i)
        text += u"(entity (0 . \"LINE\") (8 . \"walls\") (10 12.5 -7 0.25) 'x) ";
    text += u")";
    return text;
}

void bytesDone(benchmark::State& state, std::size_t units) {
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(units * sizeof(char16_t)));
}

void tokenizeAndRead(benchmark::State& state) {
    const std::u16string text = listText(static_cast<std::size_t>(state.range(0)));
    for (auto round : state) {
        TokenQueue tokens = Tokenize(text);
        benchmark::DoNotOptimize(ReadFrom(tokens));
    }
    bytesDone(state, text.size());
    state.SetComplexityN(state.range(0));
}
BENCHMARK(tokenizeAndRead)
    ->RangeMultiplier(4)
    ->Range(1 << 10, 1 << 16)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

void splitOneLine(benchmark::State& state) {
    const auto units = static_cast<std::size_t>(state.range(0)) << 20;
    constexpr std::u16string_view expression = u"(setq a (+ a 1)) ";
    std::u16string source;
    source.reserve(units);
    while (source.size() + expression.size() <= units) source += expression;
    for (auto round : state) benchmark::DoNotOptimize(splitText(source));
    bytesDone(state, source.size());
    state.SetComplexityN(state.range(0));
}
BENCHMARK(splitOneLine)
    ->RangeMultiplier(2)
    ->Range(1, 8)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

void print(benchmark::State& state) {
    const Cell value = Parse(listText(static_cast<std::size_t>(state.range(0))));
    std::size_t units = 0;
    for (auto round : state) {
        const std::u16string text = PrintCell(value);
        units = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    bytesDone(state, units);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(print)
    ->RangeMultiplier(4)
    ->Range(1 << 10, 1 << 16)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// Two lists that are equal but share nothing.
void equalLists(benchmark::State& state) {
    const std::u16string text = listText(static_cast<std::size_t>(state.range(0)));
    const std::vector<Cell> arguments{Parse(text), Parse(text)};
    if (IsFalse(equal(arguments))) state.SkipWithError("the lists must be equal");
    for (auto round : state) benchmark::DoNotOptimize(equal(arguments));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(equalLists)
    ->RangeMultiplier(4)
    ->Range(1 << 10, 1 << 16)
    ->Unit(benchmark::kMicrosecond)
    ->Complexity();

void matchWildcard(benchmark::State& state, std::u16string_view pattern) {
    constexpr std::u16string_view name = u"LINE-WALLS-12345";
    if (!matchesWildcard(name, pattern)) state.SkipWithError("the pattern must match");
    for (auto round : state) benchmark::DoNotOptimize(matchesWildcard(name, pattern));
}
BENCHMARK_CAPTURE(matchWildcard, plain, u"@*-WALLS-##*5");
BENCHMARK_CAPTURE(matchWildcard, alternatives, u"ARC*,CIRCLE*,?INE-*");
BENCHMARK_CAPTURE(matchWildcard, expression, u"[A-L]*(-[~a-z]*)+");

// The same plain pattern by way of regular expressions: what the shorter way saves.
void matchPlainAsExpression(benchmark::State& state) {
    const std::u16string expression = translateWildcard(u"@*-WALLS-##*5").front().expression;
    for (auto round : state)
        benchmark::DoNotOptimize(wildcard::matchesExpression(u"LINE-WALLS-12345", expression));
}
BENCHMARK(matchPlainAsExpression);

// A global name seen from a scope so many calls deep.
void lookUpSymbol(benchmark::State& state) {
    test::BareLisp lisp;
    const SymbolRef name = intern(u"PI");
    Ref<Environment> scope = Environment::make(&GlobalEnvironment());
    for (std::int64_t depth = 1; depth < state.range(0); ++depth)
        scope = Environment::make(scope.get());
    ErrorBuffer error;
    for (auto round : state) {
        Cell* value = nullptr;
        benchmark::DoNotOptimize(&FindScope(*scope, name.get(), error, &value));
        benchmark::DoNotOptimize(value);
    }
    if (!error.empty()) state.SkipWithError("the name must be bound");
}
BENCHMARK(lookUpSymbol)->Arg(1)->Arg(8);

// The symbol of a name that exists: how the reader comes by most of its symbols.
void internName(benchmark::State& state) {
    const SymbolRef held = intern(u"A-NAME-OF-SOME-LENGTH");
    for (auto round : state) benchmark::DoNotOptimize(intern(u"A-NAME-OF-SOME-LENGTH").get());
}
BENCHMARK(internName);

// A program that makes something grow by one in every round of a REPEAT.
void growByOne(benchmark::State& state, std::u16string_view start, std::u16string_view step,
               std::u16string_view size) {
    test::BareLisp lisp;
    std::u16string program = u"(begin (setq v ";
    program += start;
    program += u") (repeat count ";
    program += step;
    program += u") (= count ";
    program += size;
    program += u"))";
    Environment& global = GlobalEnvironment();
    global.Bind(intern(u"COUNT"), Cell::integer(static_cast<std::int32_t>(state.range(0))));
    const Cell form = Parse(program);
    for (auto round : state) {
        ErrorBuffer error;
        const Cell grown = Eval(form, global, error);
        if (!error.empty() || IsFalse(grown)) {
            state.SkipWithError("the value did not grow as it must");
            break;
        }
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK_CAPTURE(growByOne, STRCAT, u"\"\"", u"(setq v (strcat v \"x\"))", u"(strlen v)")
    ->Arg(50000)
    ->Arg(100000)
    ->Arg(200000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK_CAPTURE(growByOne, APPEND, u"'()", u"(setq v (append v (list 1)))", u"(length v)")
    ->Arg(50000)
    ->Arg(100000)
    ->Arg(200000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK_CAPTURE(growByOne, CONS, u"'()", u"(setq v (cons 1 v))", u"(length v)")
    ->Arg(50000)
    ->Arg(100000)
    ->Arg(200000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// A list taken apart from the front.
void walkByCdr(benchmark::State& state) {
    test::BareLisp lisp;
    std::u16string text = u"(setq whole '(";
    for (std::int64_t i = 0; i < state.range(0); ++i) text += u"1 ";
    text += u"))";
    ErrorBuffer error;
    Environment& global = GlobalEnvironment();
    Eval(Parse(text), global, error);
    const Cell form = Parse(u"(begin (setq v whole) (while (not (nullp v)) (setq v (cdr v))) T)");
    for (auto round : state) benchmark::DoNotOptimize(Eval(form, global, error));
    if (!error.empty()) state.SkipWithError("the walk must end without an error");
    state.SetComplexityN(state.range(0));
}
BENCHMARK(walkByCdr)
    ->Arg(50000)
    ->Arg(100000)
    ->Arg(200000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// --- Drawing files ---

constexpr std::int64_t entityCount = 100'000;

// A file of lines, circles and texts in turn.
std::string drawingBytes() {
    std::string bytes = "0\nSECTION\n2\nENTITIES\n";
    for (std::int64_t i = 0; i < entityCount; ++i) {
        const std::string x = std::to_string(i % 1000) + ".25";
        const std::string y = std::to_string(i / 1000) + ".5";
        const std::string common = "\n8\nWALLS\n10\n" + x + "\n20\n" + y;
        if (i % 3 == 0) bytes += "0\nLINE" + common + "\n11\n7.125\n21\n9.75\n";
        else if (i % 3 == 1) bytes += "0\nCIRCLE" + common + "\n40\n0.5\n";
        else bytes += "0\nTEXT" + common + "\n40\n2.5\n1\nRoom " + std::to_string(i) + "\n";
    }
    return bytes + "0\nENDSEC\n0\nEOF\n";
}

std::shared_ptr<const refhost::dxf::Document> openedDrawing() {
    return refhost::dxf::Document::ofBytes(drawingBytes(), "drawing", refhost::dxf::OnDamage::stop);
}

void openDrawing(benchmark::State& state) {
    const std::string bytes = drawingBytes();
    for (auto round : state) {
        state.PauseTiming();
        std::string copy = bytes;
        state.ResumeTiming();
        const auto document = refhost::dxf::Document::ofBytes(std::move(copy), "drawing",
                                                              refhost::dxf::OnDamage::stop);
        if (document->structure().entities.size() != static_cast<std::size_t>(entityCount))
            state.SkipWithError("entities are missing");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
    state.SetItemsProcessed(state.iterations() * entityCount);
}
BENCHMARK(openDrawing)->Unit(benchmark::kMillisecond);

void readAllObjects(benchmark::State& state) {
    const auto document = openedDrawing();
    refhost::Drawing drawing;
    document->fill(drawing);
    for (auto round : state)
        for (int slot = 0; slot < drawing.slotCount(); ++slot)
            benchmark::DoNotOptimize(drawing.at(slot)->points.count);
    state.SetItemsProcessed(state.iterations() * entityCount);
}
BENCHMARK(readAllObjects)->Unit(benchmark::kMillisecond);

void changesAfterOne(benchmark::State& state) {
    const auto document = openedDrawing();
    refhost::Drawing drawing;
    document->fill(drawing);
    VmDbObject* object = drawing.openSlot(1, true);
    VmDbCircle::cast(object)->radius = 7;
    object->close();
    for (auto round : state) {
        std::vector<std::string> notes;
        if (document->changes(drawing, notes).size() != 1)
            state.SkipWithError("one change is expected");
    }
}
BENCHMARK(changesAfterOne)->Unit(benchmark::kMicrosecond);

}  // namespace
