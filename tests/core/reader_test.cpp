// Tests of core/reader.h.
#include "core/reader.h"

#include "core/printer.h"
#include "platform/text.h"
#include "tests/core/literal_reader.h"
#include "tests/support/comma_locale.h"
#include "tests/support/printed_seed.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>

namespace vlisp {
namespace {

using platform::fromUtf8;
using platform::toUtf8;
using Texts = std::vector<std::string>;

std::string read(std::u16string_view text) { return toUtf8(PrintCell(Parse(text))); }

Texts tokensOf(std::u16string_view text) {
    Texts tokens;
    for (TokenQueue queue = Tokenize(text); !queue.empty();) tokens.push_back(toUtf8(queue.take()));
    return tokens;
}

Texts splitOf(std::u16string_view source) {
    Texts texts;
    for (const SourceExpression& expression : splitText(source))
        texts.push_back(toUtf8(expression.text));
    return texts;
}

TEST(Tokenizer, CutsAsProgramsDependOn) {
    const struct {
        std::u16string_view text;
        Texts tokens;
    } rows[] = {
        {u"(setq a 'b)", {"(", "setq", "a", "'", "b", ")"}},
        {u"''a", {"'", "'a"}},
        {u"''(a)", {"'", "'", "(", "a", ")"}},
        {u"'  (1 2)", {"'", "(", "1", "2", ")"}},
        {u"a'b", {"a'b"}},
        {u"a'(b)", {"a'", "(", "b", ")"}},
        {u"\"a b\"", {"\"a b\""}},
        {u"\"(a) b\"c d", {"\"(a) b\"c", "d"}},
        {u"\"abc\"def", {"\"abc\"def"}},
        {u"\"a\"\"b c\"", {"\"a\"\"b", "c\""}},
        {u"a\"b c\"", {"a\"b", "c\""}},
        {u"\"a)b", {"\"a)b"}},
        {u"(\"abc (d", {"(", "\"abc (d"}},
        {u"\"a\\\"b\" c", {"\"a\\\"b\"", "c"}},
        {u"\"a\"(b", {"\"a\"", "(", "b"}},
        {u"(a\tb)", {"(", "a\tb", ")"}},
        {u"a\nb\rc", {"a\nb\rc"}},
        {u"a;b c", {"a;b", "c"}},
        {u"((a)b)c", {"(", "(", "a", ")", "b", ")", "c"}},
        {u"a ", {"a", ""}},
        {u"(a) ", {"(", "a", ")", ""}},
        {u"   ", {""}},
        {u"'", {"'", ""}},
        {u"' ", {"'", ""}},
        {u"", {}},
        {std::u16string_view(u"a\0b", 3), {"a"}},
    };
    for (const auto& row : rows) EXPECT_EQ(tokensOf(row.text), row.tokens) << toUtf8(row.text);
}

TEST(Tokenizer, AQueueIsFirstInFirstOut) {
    TokenQueue queue = Tokenize(u"a b");
    EXPECT_EQ(queue.size(), 2U);
    EXPECT_EQ(queue.front(), u"a");
    EXPECT_EQ(queue.take(), u"a");
    EXPECT_EQ(queue.take(), u"b");
    EXPECT_TRUE(queue.empty());
}

TEST(Parser, ReadsTheFirstExpression) {
    const struct {
        std::u16string_view text;
        std::string printed;
    } rows[] = {
        {u"(setq a 'b)", "(SETQ A (QUOTE B))"},
        {u"'(1 2)", "(QUOTE (1 2))"},
        {u"' (1 2)", "(QUOTE (1 2))"},
        {u"''a", "(QUOTE 'A)"},
        {u"''(a)", "(QUOTE ')"},
        {u"(''(a) b)", "((QUOTE ') (A) B)"},
        {u"('a'b)", "((QUOTE A'B))"},
        {u"('a 'b)", "((QUOTE A) (QUOTE B))"},
        {u"'('(a))", "(QUOTE ((QUOTE (A))))"},
        {u"()", "()"},
        {u"'()", "(QUOTE ())"},
        {u"(() (()))", "(() (()))"},
        {u"(1 (2 3) \"a\")", "(1 (2 3) \"a\")"},
        {u"\"a b\"", "\"a b\""},
        {u"\"abc\"def", "\"abc\"de\""},
        {u"\"", "\"\""},
        {u"\"\"", "\"\""},
        {u"\"abc", "\"ab\""},
        {u"\"a\\nb\"", "\"a\\nb\""},
        {u"(a\tb)", "(A\tB)"},
        {u"a b c", "A"},
        {u"1 2", "1"},
        {u"(a) (b)", "(A)"},
        {u"(a)  ", "(A)"},
        {u" x ( foo)", "X"},
        {u"nil", "NIL"},
        {u"SetQ", "SETQ"},
        {u")", ")"},
        {u") a", ")"},
        {u"')", "(QUOTE ))"},
        {u"(1 . 2)", "(1 . 2)"},
    };
    for (const auto& row : rows) EXPECT_EQ(read(row.text), row.printed) << toUtf8(row.text);
}

TEST(Parser, GivesMeaningToTextThatIsNotComplete) {
    EXPECT_EQ(Parse(u"").text(), u"nil");
    EXPECT_EQ(read(u"(a (b"), "(A (B))");
    EXPECT_EQ(read(u"("), "()");
    EXPECT_EQ(read(u"(a '"), "(A (QUOTE ))");
    EXPECT_EQ(read(u"'("), "(QUOTE ())");
}

TEST(Parser, BlanksAloneAreTheSymbolWithoutAName) {
    for (const std::u16string_view text : {u" ", u"     "}) {
        const Cell cell = Parse(text);
        EXPECT_EQ(cell.type(), CellType::Symbol);
        EXPECT_EQ(cell.text(), u"");
    }
    EXPECT_EQ(Parse(u"'").items()[1].text(), u"");
}

TEST(Parser, ATabJoinsTwoNamesIntoOne) {
    const Cell list = Parse(u"(a\tb)");
    ASSERT_EQ(list.items().size(), 1U);
    EXPECT_EQ(list.items()[0].text(), u"A\tB");
}

TEST(Parser, AQuoteGivesAListOfTwo) {
    const Cell cell = Parse(u"''a");
    ASSERT_EQ(cell.items().size(), 2U);
    EXPECT_EQ(cell.items()[0].text(), u"QUOTE");
    EXPECT_EQ(cell.items()[1].type(), CellType::Symbol);
    EXPECT_EQ(cell.items()[1].text(), u"'A");
}

TEST(Parser, ReadFromTakesExactlyOneExpression) {
    TokenQueue queue = Tokenize(u"(a b) 'c ) d");
    const char16_t* const expected[] = {u"(A B)", u"(QUOTE C)", u")", u"D", u"nil", u"nil"};
    for (const auto* text : expected) EXPECT_EQ(PrintCell(ReadFrom(queue)), text);
}

TEST(Parser, NotesWhereListsAndElementsBegan) {
    const std::u16string text = u" (ab (c) 'd () '(e))";
    TokenQueue queue = Tokenize(text);
    PlaceNotes notes;
    const Cell list = readWithPlaces(queue, text.data(), notes);
    const PlaceNotes::Places* outer = notes.find(list);
    ASSERT_NE(outer, nullptr);
    EXPECT_EQ(outer->list, 1U);
    EXPECT_EQ(outer->elements, (std::vector<std::size_t>{2, 5, 9, 12, 15}));
    const PlaceNotes::Places* inner = notes.find(list.items()[1]);
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->list, 5U);
    EXPECT_EQ(inner->elements, (std::vector<std::size_t>{6}));
    const PlaceNotes::Places* quoted = notes.find(list.items()[4]);
    ASSERT_NE(quoted, nullptr);
    EXPECT_EQ(quoted->elements, (std::vector<std::size_t>{15, 16}));
    EXPECT_EQ(notes.find(list.items()[3]), nullptr);
    EXPECT_EQ(notes.find(Parse(u"(z)")), nullptr);
}

TEST(Atom, IntegersSaturateAndKeepAnEmptyText) {
    const struct {
        std::u16string_view token;
        std::int32_t value;
    } rows[] = {
        {u"12", 12},
        {u"-7", -7},
        {u"0", 0},
        {u"5", 5},
        {u"-0", 0},
        {u"007", 7},
        {u"2147483647", 2147483647},
        {u"2147483648", 2147483647},
        {u"-2147483648", std::numeric_limits<std::int32_t>::min()},
        {u"-2147483649", std::numeric_limits<std::int32_t>::min()},
        {u"99999999999999999999999999999", 2147483647},
        {u"-99999999999999999999999999999", std::numeric_limits<std::int32_t>::min()},
    };
    for (const auto& row : rows) {
        const Cell cell = MakeAtom(row.token);
        EXPECT_EQ(cell.type(), CellType::Integer) << toUtf8(row.token);
        EXPECT_EQ(cell.intValue(), row.value) << toUtf8(row.token);
        EXPECT_EQ(cell.text(), u"");
        EXPECT_EQ(cell.realValue(), 0.0);
    }
}

TEST(Atom, RealsAreCorrectlyRounded) {
    const std::u16string zeros(400, u'0');
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        std::u16string token;
        double value;
    } rows[] = {
        {u"3.", 3.0},
        {u"0.25", 0.25},
        {u"-5.", -5.0},
        {u"-5.5", -5.5},
        {u"1.2.3", 1.2},
        {u"1..2", 1.0},
        {u"5...", 5.0},
        {u"0.1", 0.1},
        {u"007.5", 7.5},
        {u"9007199254740993.0", 9007199254740992.0},
        {u"1" + zeros + u".0", infinity},
        {u"-1" + zeros + u".0", -infinity},
        {u"1" + zeros + u".5.7", infinity},
        {zeros + u"2.5", 2.5},
        {u"0." + zeros + u"1", 0.0},
        {u"0." + zeros.substr(0, 309) + u"1", 1e-310},
    };
    for (const auto& row : rows) {
        const Cell cell = MakeAtom(row.token);
        EXPECT_EQ(cell.type(), CellType::Real) << toUtf8(row.token);
        EXPECT_EQ(cell.realValue(), row.value) << toUtf8(row.token);
        EXPECT_EQ(cell.text(), u"");
        EXPECT_EQ(cell.intValue(), 0);
    }
    EXPECT_TRUE(std::signbit(MakeAtom(u"-0.0").realValue()));
    EXPECT_TRUE(std::signbit(MakeAtom(u"-0." + zeros + u"1").realValue()));
}

TEST(Atom, EverythingElseIsASymbolInUpperCase) {
    const struct {
        std::u16string_view token, text;
    } rows[] = {
        {u"-", u"-"},
        {u"+5", u"+5"},
        {u".5", u".5"},
        {u"-.5", u"-.5"},
        {u"1e5", u"1E5"},
        {u"1-2", u"1-2"},
        {u"--5", u"--5"},
        {u"5a", u"5A"},
        {u"1,5", u"1,5"},
        {u".", u"."},
        {u"nil", u"NIL"},
        {u"vl-Remove_If", u"VL-REMOVE_IF"},
        {u"a;b", u"A;B"},
        {u"", u""},
        {u"'", u"'"},
        {u"\u0661", u"\u0661"},
        // Case changes for ASCII letters alone, under every locale.
        {u"stra\u00dfe\u00e9\u03b1\u0131i", u"STRA\u00dfE\u00e9\u03b1\u0131I"},
    };
    for (const auto& row : rows) {
        const Cell cell = MakeAtom(row.token);
        EXPECT_EQ(cell.type(), CellType::Symbol) << toUtf8(row.token);
        EXPECT_EQ(cell.text(), row.text);
    }
}

// Names are changed several units at a time: none may touch its neighbour, wherever it stands.
TEST(Atom, ANameIsChangedUnitByUnit) {
    const auto isAtABorder = [](std::uint32_t unit) {
        const std::uint32_t low = unit & 0x7fff;
        return low < 0x180 || low > 0x7f80 || (low & 0xff) == 'a' || (low & 0xff) == 'z';
    };
    for (std::uint32_t unit = 1; unit < 0x10000; ++unit) {
        if (!isAtABorder(unit)) continue;
        for (const char16_t neighbour : {u'a', u'z', u'\uffff'})
            for (std::size_t at = 0; at < 6; ++at) {
                std::u16string name = u"x" + std::u16string(6, neighbour);
                name[at + 1] = static_cast<char16_t>(unit);
                ASSERT_EQ(MakeAtom(name).text(), upperCased(name)) << unit << " at " << at;
            }
    }
}

TEST(Atom, StringsLoseTheirFirstAndLastUnitWhateverTheyAre) {
    const struct {
        std::u16string_view token, text;
    } rows[] = {
        {u"\"a b\"", u"a b"}, {u"\"abc\"def", u"abc\"de"}, {u"\"", u""},
        {u"\"\"", u""},       {u"\"abc", u"ab"},           {u"\"Mixed Case\"", u"Mixed Case"},
        {u"\"\\\"", u"\\"},   {u"\"nil\"", u"nil"},
    };
    for (const auto& row : rows) {
        const Cell cell = MakeAtom(row.token);
        EXPECT_EQ(cell.type(), CellType::String);
        EXPECT_EQ(cell.text(), row.text);
    }
}

TEST(Splitter, CutsASourceIntoExpressionTexts) {
    const struct {
        std::u16string_view source;
        Texts texts;
    } rows[] = {
        {u"", {}},
        {u"abc", {}},
        {u"(foo)", {" ( foo)"}},
        {u"(a)(b)", {" ( a)", " ( b)"}},
        {u"(a) (b)", {" ( a)", "  ( b)"}},
        {u"(a (b) c)", {" ( a ( b)  c)"}},
        // The rest of a line that leaves an expression open comes after one more blank.
        {u"(a b\nc)", {" ( a b c)"}},
        {u"(\na)", {" (  a)"}},
        {u"(a)\n(b", {" ( a)"}},
        {u"(a\n(b)\n", {}},
        // Blank lines leave their blank.
        {u"(a)\n\n\n(b)", {" ( a)", "   ( b)"}},
        {u"\t (a)\t ", {" ( a)"}},
        {u"(a)\r\nx\r\n(b)\r\n", {" ( a)", " x ( b)"}},
        {u"(a\r\nb)\r", {" ( a b)"}},
        // A carriage return that no line feed follows stays.
        {u"(a\rb)\n", {" ( a\rb)"}},
        // Text outside parentheses is glued to the front of the next expression,
        {u"x\n(foo)", {" x ( foo)"}},
        {u"x\ny\n(foo)", {" x y ( foo)"}},
        {u"x (foo)", {" x ( foo)"}},
        // except behind the last parenthesis of a line, where it is dropped.
        {u"(a) x\n(b)", {" ( a)", " ( b)"}},
        {u"(a) x (b)", {" ( a)", "  x ( b)"}},
        {u"(a '\n(b))", {" ( a ' ( b) )"}},
        // Comments go first, also inside strings.
        {u"(a) ; (b)\n(c)", {" ( a)", " ( c)"}},
        {u"; (b)\n(c)", {"  ( c)"}},
        {u"  ;x\n(c)", {"    ( c)"}},
        {u"(princ \"a;b\")\n(foo)\n)", {" ( princ \"a ( foo)  )"}},
        {u"(princ \"a;b\")\n(foo)", {}},
        // Parentheses count also inside strings, and a blank follows each piece.
        {u"(princ \"a(b)c\")", {" ( princ \"a( b) c\")"}},
        {u"(princ \":-)\")\n(a)", {" ( princ \":-)", " \") ("}},
        {u"(princ \":-(\")\n(a)", {}},
        // A line of blanks and tabs stays as it is.
        {u"\t\n(a)", {" \t ( a)"}},
        {u"   \n(a)", {"     ( a)"}},
        {u"(a\n\t\nb)", {" ( a \t b)"}},
        // After a surplus ")" nothing is whole again: only a "(" can bring the depth back to 0.
        {u"(a))\n(b)\n(c)", {" ( a)", " ) (", " b) ("}},
        {u")\n(b)", {" ) ("}},
        {u"))\n(b)\n(c)", {}},
        {u")\nx\n((b))", {" ) x (", " ( b)"}},
    };
    for (const auto& row : rows) EXPECT_EQ(splitOf(row.source), row.texts) << toUtf8(row.source);
}

TEST(Splitter, WhatIsGluedToTheFrontIsReadInPlaceOfTheExpression) {
    EXPECT_EQ(read(splitText(u"x\n(foo)")[0].text), "X");
    EXPECT_EQ(read(splitText(u"\t\n(foo)")[0].text), "\t");
    EXPECT_EQ(read(splitText(u"  \n(foo)")[0].text), "(FOO)");
    EXPECT_EQ(read(splitText(u"(princ \"a(b)c\")")[0].text), "(PRINC \"a( b) c\")");
    EXPECT_EQ(read(splitText(u"(a '\n(b))")[0].text), "(A (QUOTE (B)))");
}

TEST(Splitter, KnowsTheLineAndThePlaceOfEveryPiece) {
    const std::u16string source = u"; head\n\n  (a ; one\n   b)\nx\n(c)";
    const std::vector<SourceExpression> expressions = splitText(source);
    ASSERT_EQ(expressions.size(), 2U);
    EXPECT_EQ(expressions[0].line, 3U);
    EXPECT_EQ(expressions[1].line, 5U);
    for (const SourceExpression& expression : expressions) {
        ASSERT_FALSE(expression.pieces.empty());
        for (std::size_t i = 0; i < expression.pieces.size(); ++i) {
            const auto& [at, from] = expression.pieces[i];
            const std::size_t end = i + 1 < expression.pieces.size()
                                        ? expression.pieces[i + 1].at - 1
                                        : expression.text.size();
            EXPECT_EQ(expression.text.substr(at, end - at).find_last_not_of(u' '),
                      source.substr(from, end - at).find_last_not_of(u' '));
            EXPECT_EQ(expression.text[at], source[from]);
        }
    }
}

class Notes final : public SplitListener {
  public:
    explicit Notes(std::u16string_view source) : source_(source) {}
    void looseText(std::size_t from, std::size_t length) override {
        said.push_back("loose " + toUtf8(source_.substr(from, length)));
    }
    void droppedText(std::size_t from, std::size_t length) override {
        said.push_back("dropped " + toUtf8(source_.substr(from, length)));
    }
    void surplusClose(std::size_t from) override {
        said.push_back("surplus " + std::to_string(from));
    }
    void unfinished(std::size_t from) override {
        said.push_back("unfinished " + std::to_string(from));
    }
    Texts said;

  private:
    std::u16string_view source_;
};

TEST(Splitter, TellsAListenerWhatItPassesOver) {
    const struct {
        std::u16string_view source;
        Texts said;
    } rows[] = {
        {u"(a)\n\n; x\n  (b)", {}},       {u"x\n(a)", {"loose x"}},   {u"'(a)", {"loose '"}},
        {u"\t\n(a)", {"loose \t"}},       {u"(a) b", {"dropped  b"}}, {u"(a))", {"surplus 3"}},
        {u"(a)\n((b)", {"unfinished 4"}},
    };
    for (const auto& row : rows) {
        Notes notes(row.source);
        splitText(row.source, &notes);
        EXPECT_EQ(notes.said, row.said) << toUtf8(row.source);
    }
}

class SourceFile : public ::testing::Test {
  protected:
    SourceFile() {
        path = (std::filesystem::temp_directory_path() /
                ("reader_test_" + std::to_string(std::random_device()()) + ".lsp"))
                   .string();
    }
    ~SourceFile() override { std::filesystem::remove(path); }
    void write(std::string_view bytes) { std::ofstream(path, std::ios::binary) << bytes; }
    std::string path;
};

TEST_F(SourceFile, IsSplitAsItsTextIs) {
    write("(a)\r\n(b \"caf\xC3\xA9\")\r\n(c");
    EXPECT_EQ(SplitSource(path), (std::vector<std::u16string>{u" ( a)", u" ( b \"caf\u00e9\")"}));
}

TEST_F(SourceFile, MayBeginWithAByteOrderMarkAndHoldLatin1) {
    write("\xEF\xBB\xBF(caf\xE9)");
    EXPECT_EQ(SplitSource(path), (std::vector<std::u16string>{u" ( caf\u00e9)"}));
}

TEST_F(SourceFile, GivesNothingWhenItCannotBeRead) {
    EXPECT_TRUE(SplitSource(path).empty());
    EXPECT_TRUE(SplitSource(std::filesystem::temp_directory_path().string()).empty());
    write("");
    EXPECT_TRUE(SplitSource(path).empty());
}

TEST(SplitText, KeepsEmptyPieces) {
    const struct {
        std::u16string_view text, delimiter;
        std::vector<std::u16string> pieces;
    } rows[] = {
        {u"a//b", u"/", {u"a", u"", u"b"}},
        {u"a/", u"/", {u"a", u""}},
        {u"/", u"/", {u"", u""}},
        {u"", u"/", {u""}},
        {u"abc", u"/", {u"abc"}},
        {u"abc", u"", {u"abc"}},
        {u"", u"", {u""}},
        {u"a b  c", u" ", {u"a", u"b", u"", u"c"}},
        {u"a--b-c", u"--", {u"a", u"b-c"}},
        {u"aaa", u"aa", {u"", u"a"}},
        {u"aXbxc", u"x", {u"aXb", u"c"}},
        {u"2.10", u".", {u"2", u"10"}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(SplitText(row.text, row.delimiter), row.pieces) << toUtf8(row.text);
}

TEST(TrimBlanks, LeavesATextOfNothingElseUnchanged) {
    const struct {
        std::u16string_view text, trimmed;
    } rows[] = {
        {u"", u""},   {u"a", u"a"},   {u" \ta b\t ", u"a b"}, {u"a ", u"a"},        {u" a", u"a"},
        {u" ", u" "}, {u"\t", u"\t"}, {u" \t ", u" \t "},     {u"\ra\n", u"\ra\n"}, {u"a\t", u"a"},
    };
    for (const auto& row : rows) EXPECT_EQ(TrimBlanks(row.text), row.trimmed) << toUtf8(row.text);
}

TEST(IntegerAtFront, ReadsAsTheLibraryConversionDoes) {
    const struct {
        std::u16string_view text;
        std::int32_t value;
    } rows[] = {
        {u"", 0},
        {u"x", 0},
        {u"12", 12},
        {u"12abc", 12},
        {u" \t\n\v\f\r7", 7},
        {u"+5", 5},
        {u"-5", -5},
        {u"--5", 0},
        {u"- 5", 0},
        {u"1.9", 1},
        {u"0x10", 0},
        {u"010", 10},
        {u"9999999999", 2147483647},
        {u"-9999999999", std::numeric_limits<std::int32_t>::min()},
        {u"99999999999999999999999999", 2147483647},
    };
    for (const auto& row : rows) EXPECT_EQ(integerAtFront(row.text), row.value) << toUtf8(row.text);
}

TEST(RealAtFront, ReadsAsTheLibraryConversionDoes) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        std::u16string_view text;
        double value;
    } rows[] = {
        {u"", 0},
        {u" ", 0},
        {u"x", 0},
        {u"-", 0},
        {u"+", 0},
        {u".", 0},
        {u"-.", 0},
        {u"e5", 0},
        {u".e5", 0},
        {u"12", 12},
        {u"12abc", 12},
        {u" \t\n\v\f\r7.5", 7.5},
        {u"\u00a07", 0},
        {u"+5", 5},
        {u"-5", -5},
        {u"--5", 0},
        {u"+-5", 0},
        {u"- 5", 0},
        {u"1.2.3", 1.2},
        {u".5", 0.5},
        {u"-.5", -0.5},
        {u"5.", 5},
        {u"5.x", 5},
        {u"..5", 0},
        {u"1,5", 1},
        {u",5", 0},
        {u"1 5", 1},
        {u"010", 10},
        {u"0.1", 0.1},
        {u"1e3", 1000},
        {u"1E3", 1000},
        {u"1e+3", 1000},
        {u"1e-3", 0.001},
        {u"5.e1", 50},
        {u".5e1", 5},
        {u"1e", 1},
        {u"1e+", 1},
        {u"1e-", 1},
        {u"1ex", 1},
        {u"1e 3", 1},
        {u"1e3.5", 1000},
        {u"1e3e3", 1000},
        {u"1e--3", 1},
        {u"1e007", 1e7},
        {u"0x10", 0},
        {u"0x1p3", 0},
        {u"1e999", infinity},
        {u"-1e999", -infinity},
        {u"1e99999999999999999999", infinity},
        {u"0e999", 0},
        {u"0.000e99999999999999999999", 0},
        {u"1e-400", 0},
        {u"1e-99999999999999999999", 0},
        {u"0.0001e-99999999999999999999", 0},
        {u"1.7976931348623157e308", std::numeric_limits<double>::max()},
        {u"5e-324", std::numeric_limits<double>::denorm_min()},
    };
    for (const auto& row : rows) EXPECT_EQ(realAtFront(row.text), row.value) << toUtf8(row.text);
    EXPECT_TRUE(std::signbit(realAtFront(u"-0")));
    EXPECT_TRUE(std::signbit(realAtFront(u"-1e-400")));
    EXPECT_FALSE(std::signbit(realAtFront(u"1e-400")));
    // A full-width digit is no digit, a zero unit ends the number.
    EXPECT_EQ(realAtFront(u"\uff11"), 0);
    EXPECT_EQ(realAtFront(std::u16string_view(u"12\0003", 4)), 12);
}

TEST(RealAtFront, TakesNumbersOfAnyLength) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::u16string zeros(400, u'0');
    EXPECT_EQ(realAtFront(zeros + u"7.5"), 7.5);
    EXPECT_EQ(realAtFront(u"1" + zeros), infinity);
    EXPECT_EQ(realAtFront(u"-1" + zeros + u".5"), -infinity);
    EXPECT_EQ(realAtFront(u"0." + zeros + u"1"), 0);
    EXPECT_EQ(realAtFront(u"1" + zeros + u"e-400"), 1);
    EXPECT_EQ(realAtFront(u"0." + zeros + u"1e401"), 1);
    EXPECT_EQ(realAtFront(u"1" + zeros + u"e-10"), infinity) << "390 places remain";
    EXPECT_EQ(realAtFront(u"0." + zeros + u"1e10"), 0) << "391 places remain";
    EXPECT_EQ(realAtFront(u"0.1" + std::u16string(1000, u'0')), 0.1);
}

// Digits, signs, points and the rest in random order, against the C library.
TEST(RealAtFront, AgreesWithTheLibrary) {
    const unsigned seed = test::printedSeed();
    std::mt19937 random(seed);
    constexpr std::string_view units = "00123456789..--+ee E, ";
    for (int i = 0; i < 100'000; ++i) {
        std::string number;
        for (std::size_t length = random() % 14; length > 0; --length)
            number += units[random() % units.size()];
        char* end = nullptr;
        double expected = std::strtod(number.c_str(), &end);
        if (end == number.c_str()) expected = 0;  // some libraries give -0 for no number
        const double value = realAtFront(fromUtf8(number));
        ASSERT_EQ(value, expected) << '"' << number << "\", seed " << seed;
        ASSERT_EQ(std::signbit(value), std::signbit(expected)) << '"' << number << '"';
    }
}

TEST(Case, ChangesForAsciiLettersAlone) {
    for (std::uint32_t unit = 0; unit < 0x10000; ++unit) {
        const auto c = static_cast<char16_t>(unit);
        EXPECT_EQ(upperCase(c), unit >= 'a' && unit <= 'z' ? unit - 32 : unit);
        EXPECT_EQ(lowerCase(c), unit >= 'A' && unit <= 'Z' ? unit + 32 : unit);
    }
}

// A text of all that the reader looks at, in any order.
std::u16string randomText(std::mt19937& random) {
    static const std::vector<std::u16string> pieces{u"(",     u"(",
                                                    u"(",     u")",
                                                    u")",     u")",
                                                    u"'",     u"\"",
                                                    u"\"",    u";",
                                                    u" ",     u" ",
                                                    u"  ",    u"\t",
                                                    u"\n",    u"\n",
                                                    u"\r\n",  u"\r",
                                                    u"a",     u"Bc",
                                                    u"d",     u"e.f",
                                                    u"7",     u"-12",
                                                    u"-",     u".",
                                                    u"4.25",  u"..",
                                                    u"99",    u"\u00e9",
                                                    u"99x",   u"\U0001F600",
                                                    u"nil",   u"T",
                                                    u"{",     u":",
                                                    u"(a b)", std::u16string(70, u'n')};
    std::u16string text;
    for (std::size_t count = random() % 40; count > 0; --count)
        text += pieces[random() % pieces.size()];
    if (random() % 50 == 0) text.insert(random() % (text.size() + 1), 1, u'\0');
    return text;
}

bool areSame(const Cell& a, const Cell& b) {
    return a.type() == b.type() && a.text() == b.text() && a.intValue() == b.intValue() &&
           a.realValue() == b.realValue() && std::ranges::equal(a.items(), b.items(), areSame);
}

TEST(LiteralReader, CutsSourcesAlike) {
    std::mt19937 random(test::printedSeed());
    std::size_t found = 0;
    for (int i = 0; i < 20'000; ++i) {
        const std::u16string source = randomText(random);
        SCOPED_TRACE(toUtf8(source));
        Notes literalNotes(source);
        Notes notes(source);
        const auto expected = literal::splitText(source, &literalNotes);
        const auto expressions = splitText(source, &notes);
        ASSERT_EQ(notes.said, literalNotes.said);
        ASSERT_EQ(expressions.size(), expected.size());
        SourceSplitter splitter(source);
        SourceExpression one;
        for (std::size_t k = 0; k < expected.size(); ++k, ++found) {
            ASSERT_EQ(expressions[k].text, expected[k].text);
            ASSERT_EQ(expressions[k].line, expected[k].line);
            ASSERT_TRUE(std::ranges::equal(
                expressions[k].pieces, expected[k].pieces,
                [](const auto& a, const auto& b) { return a.at == b.at && a.from == b.from; }));
            ASSERT_TRUE(splitter.next(one));
            ASSERT_EQ(one.text, expected[k].text);
            ASSERT_EQ(one.line, expected[k].line);
            ASSERT_TRUE(one.pieces.empty());
        }
        ASSERT_FALSE(splitter.next(one));
        ASSERT_FALSE(splitter.next(one));
    }
    EXPECT_GT(found, 10'000U);
}

TEST(LiteralReader, ReadsTextsAlike) {
    std::mt19937 random(test::printedSeed());
    std::size_t lists = 0;
    for (int i = 0; i < 20'000; ++i) {
        const std::u16string text = randomText(random);
        SCOPED_TRACE(toUtf8(text));
        TokenQueue tokens = Tokenize(text);
        for (const std::u16string_view expected : literal::tokensOf(text)) {
            ASSERT_FALSE(tokens.empty());
            ASSERT_EQ(tokens.take(), expected);
        }
        ASSERT_TRUE(tokens.empty());
        const Cell expected = literal::parse(text);
        ASSERT_TRUE(areSame(Parse(text), expected)) << toUtf8(PrintCell(expected));
        lists += expected.items().size() > 1 ? 1U : 0U;
    }
    EXPECT_GT(lists, 1'000U);
}

// What a read keeps aside counts in the heap's budget too.
TEST(Parser, RunsOutOfMemoryWithinTheBudget) {
    const std::size_t limit = heap::limit();
    const std::size_t before = heap::used();
    heap::setLimit(before + 10'000'000);
    std::u16string text = u"(";
    for (int i = 0; i < 500'000; ++i) text += u"1 ";
    text += u")";
    EXPECT_THROW(Parse(text), heap::OutOfMemory);
    EXPECT_THROW(Parse(std::u16string(500'000, u'(')), heap::OutOfMemory);
    heap::setLimit(limit);
    EXPECT_EQ(heap::used(), before);
    EXPECT_EQ(Parse(text).items().size(), 500'000U);
}

TEST(Locale, OfTheProcessDoesNotChangeHowTextIsRead) {
    const test::CommaLocale foreign;
    std::ostringstream shown;
    shown << 1234.5;
    const double real = MakeAtom(u"1234.5").realValue();
    const double front = realAtFront(u"1.5,5");
    const double comma = realAtFront(u"1,5");
    const Cell withComma = MakeAtom(u"1,5");
    const std::u16string upper = std::u16string(Parse(u"\u00e9i").text());
    ASSERT_EQ(shown.str(), "1.234,5");
    EXPECT_EQ(real, 1234.5);
    EXPECT_EQ(front, 1.5);
    EXPECT_EQ(comma, 1);
    EXPECT_EQ(withComma.type(), CellType::Symbol);
    EXPECT_EQ(upper, u"\u00e9I");
}

}  // namespace
}  // namespace vlisp
