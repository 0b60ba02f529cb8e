// Tests of refhost/dxf/pairs.h.
#include "refhost/dxf/pairs.h"

#include "tests/dxf/dxf_text.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>

namespace vlisp::refhost::dxf {
namespace {

using namespace test;
using namespace std::string_literals;

// All pairs of bytes as "code raw" with bars; checks that the pairs lie one behind the other.
std::string readAll(const std::string& bytes) {
    const Opening opening = openingOf(bytes);
    PairReader reader(bytes, opening.form, opening.begin, bytes.size());
    std::string all;
    std::uint64_t at = opening.begin;
    Pair pair;
    while (reader.next(pair)) {
        EXPECT_EQ(pair.begin, at);
        EXPECT_LE(pair.begin, pair.valueBegin);
        EXPECT_LE(pair.valueBegin, pair.valueEnd);
        EXPECT_LE(pair.valueEnd, pair.end);
        EXPECT_EQ(reader.position(), pair.end);
        at = pair.end;
        all += (all.empty() ? "" : "|") + std::to_string(pair.code) + " " +
               Value(bytes, opening.form, pair).readable();
    }
    EXPECT_EQ(at, bytes.size());
    EXPECT_FALSE(reader.next(pair));
    return all;
}

struct Failure {
    std::uint64_t offset = 0;
    std::string what;
};

Failure failureIn(const std::string& bytes) {
    const Opening opening = openingOf(bytes);
    PairReader reader(bytes, opening.form, opening.begin, bytes.size());
    Pair pair;
    try {
        while (reader.next(pair)) {
        }
    } catch (const Damage& damage) {
        return {damage.offset, damage.what()};
    }
    return {};
}

// --- Types --------------------------------------------------------------------------------------

TEST(ValueType, FollowsFromTheCode) {
    for (int code = -5; code <= 1071; ++code) {
        const bool unused = (code > 79 && code < 90) || (code > 102 && code < 105) ||
                            (code > 105 && code < 110) || (code > 149 && code < 160) ||
                            (code > 179 && code < 210) || (code > 239 && code < 270) ||
                            (code > 481 && code < 999);
        if (unused) continue;
        const ValueType type = valueTypeOf(code);
        switch (kindOf(code)) {
        case 'd': EXPECT_EQ(type, ValueType::real) << code; break;
        case '1': EXPECT_EQ(type, ValueType::boolean) << code; break;
        case '2': EXPECT_EQ(type, ValueType::int16) << code; break;
        case '4': EXPECT_EQ(type, ValueType::int32) << code; break;
        case '8': EXPECT_EQ(type, ValueType::int64) << code; break;
        case 'x': EXPECT_EQ(type, ValueType::chunk) << code; break;
        default: EXPECT_EQ(type, ValueType::text) << code;
        }
    }
}

// --- The text form ------------------------------------------------------------------------------

TEST(PairReader, ReadsTheTextForm) {
    const struct {
        std::string bytes;
        std::string pairs;
    } cases[] = {
        {"", ""},
        {"0\nLINE\n", "0 LINE"},
        {"0\r\nLINE\r\n", "0 LINE"},
        {"  0\nLINE\n  8\nA B\n", "0 LINE|8 A B"},
        {"0\nLINE\r\n8\r\nX\n", "0 LINE|8 X"},
        {"0  \nLINE\n", "0 LINE"},
        {"\t0\t\r\nLINE\n", "0 LINE"},
        {"0\nLINE", "0 LINE"},
        {"0\nLINE\r", "0 LINE"},
        {"1\n\n", "1 "},
        {"1\n\n0\nX\n", "1 |0 X"},
        {"1\n  both sides  \n", "1   both sides  "},
        {"1\na\rb\n", "1 a\rb"},
        {"1\na\0b\n"s, "1 a\0b"s},
        {"10\n1.5\n", "10 1.5"},
        {"10\n  +1.5E-3  \n", "10   +1.5E-3  "},
        {"70\n     7\n", "70      7"},
        {"62\n-7\n", "62 -7"},
        {"70\n3.0\n", "70 3.0"},
        {"10\n.5\n", "10 .5"},
        {"10\n5.\n", "10 5."},
        {"10\ninf\n", "10 inf"},
        {"10\nnan\n", "10 nan"},
        {"-4\n<OR\n", "-4 <OR"},
        {"999\na comment\n", "999 a comment"},
        {"1071\n-2147483648\n", "1071 -2147483648"},
        {"5000\nany text\n", "5000 any text"},
        {"310\nzz\n", "310 zz"},
    };
    for (const auto& one : cases) EXPECT_EQ(readAll(one.bytes), one.pairs) << one.bytes;
}

TEST(PairReader, ReadsLinesOfAnyLength) {
    const std::string text(3'000'000, 'x');
    EXPECT_EQ(readAll("1\n" + text + "\n0\nEOF\n"), "1 " + text + "|0 EOF");
    EXPECT_EQ(readAll("1\n" + text), "1 " + text);
    for (std::size_t length = 0; length < 40; ++length) {
        const std::string part(length, 'y');
        EXPECT_EQ(readAll("1\r\n" + part + "\r\n0\r\nEOF\r\n"), "1 " + part + "|0 EOF");
        EXPECT_EQ(readAll("1\ny" + part), "1 y" + part);
        // Bytes that are nearly line feeds.
        for (const char near : {'\x0b', '\x09', '\x8a', '\x00'}) {
            const std::string alike(length, near);
            EXPECT_EQ(readAll("1\n" + alike + "\n0\nEOF\n"), "1 " + alike + "|0 EOF");
        }
    }
}

TEST(PairReader, TellsWhereTheTextFormIsDamaged) {
    const struct {
        std::string bytes;
        std::uint64_t offset;
        std::string stood;
        std::string expected;
    } cases[] = {
        {"0\nLINE\nABC\nX\n", 7, "'ABC'", "group code"},
        {"0\nLINE\n\nX\n", 7, "''", "group code"},
        {"0\nLINE\n1.5\nX\n", 7, "'1.5'", "group code"},
        {"0\nLINE\n+5\nX\n", 7, "'+5'", "group code"},
        {"0\nLINE\n--5\nX\n", 7, "'--5'", "group code"},
        {"0\nLINE\n5 5\nX\n", 7, "'5 5'", "group code"},
        {"0\nLINE\n99999999999\nX\n", 7, "'99999999999'", "group code"},
        {"0\nLINE\nABC", 7, "'ABC'", "group code"},
        {"0\nLINE\nAB\x01\x1b[2J\nX\n", 7, "'AB??[2J'", "group code"},
        {"0", 0, "ends", "value"},
        {"0\nLINE\n1\n", 7, "ends behind the group code 1", "value"},
        {"0\nLINE\n1\r\n", 7, "ends behind the group code 1", "value"},
        {"0\nLINE\n10", 7, "ends behind the group code 10", "value"},
        {"0\nLINE\n10\nabc\n", 10, "'abc'", "number of group code 10"},
        {"0\nLINE\n10\n\n", 10, "''", "number of group code 10"},
        {"0\nLINE\n10\n1,5\n", 10, "'1,5'", "number of group code 10"},
        {"0\nLINE\n10\n1.5.5\n", 10, "'1.5.5'", "number of group code 10"},
        {"0\nLINE\n10\n1e\n", 10, "'1e'", "number of group code 10"},
        {"0\nLINE\n10\n-\n", 10, "'-'", "number of group code 10"},
        {"0\nLINE\n10\n.\n", 10, "'.'", "number of group code 10"},
        {"0\nLINE\n10\n0x10\n", 10, "'0x10'", "number of group code 10"},
        {"0\nLINE\n10\n1 2\n", 10, "'1 2'", "number of group code 10"},
        {"0\nLINE\n62\nred\n", 10, "'red'", "number of group code 62"},
        {"0\nLINE\n1040\nx\n", 12, "'x'", "number of group code 1040"},
        {"0\nLINE\n1071\n\n", 12, "''", "number of group code 1071"},
    };
    for (const auto& one : cases) {
        const Failure failure = failureIn(one.bytes);
        EXPECT_EQ(failure.offset, one.offset) << one.bytes;
        EXPECT_NE(failure.what.find(one.stood), std::string::npos) << failure.what;
        EXPECT_NE(failure.what.find(one.expected), std::string::npos) << failure.what;
    }
}

TEST(PairReader, MessagesStayShort) {
    EXPECT_LT(failureIn("0\nX\n" + std::string(100'000, 'q') + "\n").what.size(), 200U);
    EXPECT_LT(failureIn("0\nX\n10\n" + std::string(100'000, 'q') + "\n").what.size(), 200U);
}

TEST(PairReader, ReadsARange) {
    const std::string bytes = "0\nA\n0\nB\n0\nC\n";
    PairReader reader(bytes, Form::text, 4, 8);
    Pair pair;
    ASSERT_TRUE(reader.next(pair));
    EXPECT_EQ(Value(bytes, Form::text, pair).raw(), "B");
    EXPECT_FALSE(reader.next(pair));
    reader.moveTo(4);
    ASSERT_TRUE(reader.next(pair));
    EXPECT_EQ(pair.begin, 4U);
}

// --- The binary forms ---------------------------------------------------------------------------

constexpr std::string_view everyType =
    "0 SECTION|2 HEADER|5 1F|9 $X|10 1.5|40 -0.1|62 -7|70 32767|90 -2147483648|100 AcDb|105 2A"
    "|140 1e300|160 -9007199254740993|170 -32768|210 0.25|280 1|290 1|300 text|310 00FF7F|330 A"
    "|370 25|390 B|400 3|410 Layout|420 16777215|430 name|440 5|450 7|460 2.5|470 z|999 comment"
    "|1000 s|1001 APP|1004 DEADBEEF|1005 1|1010 1.0|1040 2.0|1070 -1|1071 123456|0 EOF";

TEST(PairReader, ReadsTheBinaryForms) {
    for (const Look& look : {binary, shortBinary}) {
        const std::string bytes = dxf(everyType, look);
        const Opening opening = openingOf(bytes);
        EXPECT_EQ(opening.form, look.form);
        EXPECT_EQ(opening.begin, 22U);
        std::string wanted;
        for (const TestPair& pair : pairsOf(everyType)) {
            std::string value = pair.value;
            if (kindOf(pair.code) == 'd') value = realText(numberIn<double>(value));
            wanted += (wanted.empty() ? "" : "|") + std::to_string(pair.code) + " " + value;
        }
        EXPECT_EQ(readAll(bytes), wanted);
    }
}

TEST(PairReader, NegativeCodesOfTheBinaryForm) {
    EXPECT_EQ(readAll(dxf("0 SECTION|-4 <OR|-1 A", binary)), "0 SECTION|-4 <OR|-1 A");
}

TEST(PairReader, TellsWhereTheBinaryFormsAreCut) {
    for (const Look& look : {binary, shortBinary}) {
        const std::string whole = dxf("0 SECTION|1 text|10 1.5|70 5|90 6|160 7|290 1|310 AABB|"
                                      "1071 9",
                                      look);
        std::vector<std::uint64_t> begins;
        PairReader reader(whole, look.form, 22, whole.size());
        Pair pair;
        while (reader.next(pair)) begins.push_back(pair.begin);
        ASSERT_EQ(begins.size(), 9U);
        begins.push_back(whole.size());
        for (std::size_t size = begins[1]; size < whole.size(); ++size) {
            const Failure failure = failureIn(whole.substr(0, size));
            const auto behind = std::ranges::upper_bound(begins, size);
            const std::uint64_t begin = *(behind - 1);
            if (begin == size) {
                EXPECT_EQ(failure.what, "") << size;
            } else {
                EXPECT_NE(failure.what.find("ends"), std::string::npos) << size;
                EXPECT_EQ(failure.offset, begin) << size;
            }
        }
    }
}

TEST(PairReader, TellsOfCodesThatThereAreNot) {
    for (const std::int16_t code :
         {std::int16_t{1072}, std::int16_t{-6}, std::int16_t{32767}, std::int16_t{-32768}}) {
        std::string bytes = dxf("0 SECTION|2 X", binary);
        const std::uint64_t end = bytes.size();
        appendNumber(bytes, code);
        bytes += std::string(20, '\0');
        const Failure failure = failureIn(bytes);
        EXPECT_EQ(failure.offset, end);
        EXPECT_NE(failure.what.find(std::to_string(code)), std::string::npos) << failure.what;
        EXPECT_NE(failure.what.find("group code"), std::string::npos) << failure.what;
    }
}

TEST(Opening, IsFoundInTheFirstBytes) {
    const std::string text = "0\nSECTION\n";
    EXPECT_EQ(openingOf("").form, Form::text);
    EXPECT_EQ(openingOf("").begin, 0U);
    EXPECT_EQ(openingOf(text).begin, 0U);
    EXPECT_EQ(openingOf("\xef\xbb\xbf" + text).begin, 3U);
    EXPECT_EQ(openingOf("\xef\xbb\xbf" + text).form, Form::text);
    EXPECT_EQ(openingOf("\xef\xbb").begin, 0U);
    EXPECT_EQ(openingOf(dxf("0 SECTION", binary)).form, Form::binary);
    EXPECT_EQ(openingOf(dxf("0 SECTION", shortBinary)).form, Form::binaryShortCodes);
    // A mark that is cut or damaged is none.
    EXPECT_EQ(openingOf(binaryMark.substr(0, 20)).form, Form::text);
    EXPECT_EQ(openingOf(replaced(dxf("0 SECTION", binary), "\r\n", "\n")).form, Form::text);
}

// --- Numbers ------------------------------------------------------------------------------------

TEST(Number, IsRead) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* text;
        double number;
    } cases[] = {
        {"0", 0},
        {"1", 1},
        {"-1", -1},
        {"+1", 1},
        {"1.", 1},
        {".5", 0.5},
        {"-.5", -0.5},
        {"+.5", 0.5},
        {"  1.5", 1.5},
        {"1.5  ", 1.5},
        {"\t2\t", 2},
        {"1e3", 1000},
        {"1E+3", 1000},
        {"1.5e-2", 0.015},
        {"1e400", infinity},
        {"-1e400", -infinity},
        {"1e-400", 0},
        {"0e999999", 0},
        {"0.1", 0.1},
        {"007", 7},
        {"inf", infinity},
        {"-inf", -infinity},
        {"123456789012345678901234567890", 123456789012345678901234567890.0},
        {"2.2250738585072014E-308", 2.2250738585072014E-308},
        {"4.9E-324", 4.9E-324},
    };
    for (const auto& one : cases) {
        const auto number = numberOf(one.text);
        ASSERT_TRUE(number.has_value()) << one.text;
        EXPECT_EQ(*number, one.number) << one.text;
    }
    ASSERT_TRUE(numberOf("nan").has_value());
    EXPECT_TRUE(std::isnan(*numberOf("nan")));
    EXPECT_EQ(numberOf("1" + std::string(400, '0')), infinity);
    EXPECT_EQ(numberOf("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_TRUE(std::signbit(numberOf("-0.0").value_or(1)));
}

// Short decimals are computed another way than the rest: both give the same bits.
TEST(Number, IsTheNearestDouble) {
    std::mt19937_64 random(11);
    for (int i = 0; i < 200'000; ++i) {
        std::string text = random() % 2 == 0 ? "-" : "";
        const std::size_t digits = 1 + random() % 20;
        for (std::size_t k = 0; k < digits; ++k) text += static_cast<char>('0' + random() % 10);
        if (random() % 8 != 0) text.insert(text.size() - random() % (digits + 1), ".");
        const auto number = numberOf(text);
        ASSERT_TRUE(number.has_value()) << text;
        double nearest = 0;
        std::from_chars(text.data(), text.data() + text.size(), nearest);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(*number), std::bit_cast<std::uint64_t>(nearest))
            << text;
    }
}

TEST(Number, IsRefused) {
    for (const char* text :
         {"",    " ",   "+",   "-",   ".",    "e5",  "1e",  "1e+", "1,5",    "1.5.5",
          "--1", "+-1", "-+1", "++1", "0x10", "1 2", "1d3", "one", "1.5abc", "1\n"})
        EXPECT_FALSE(numberOf(text).has_value()) << text;
}

TEST(Number, IsAHandle) {
    EXPECT_EQ(handleOf("0"), 0U);
    EXPECT_EQ(handleOf("1f"), 0x1fU);
    EXPECT_EQ(handleOf("1F"), 0x1fU);
    EXPECT_EQ(handleOf("  2A "), 0x2aU);
    EXPECT_EQ(handleOf("0000000000000000002A"), 0x2aU);
    EXPECT_EQ(handleOf("FFFFFFFFFFFFFFFF"), 0xffffffffffffffffU);
    for (const char* text : {"", " ", "10000000000000000", "-1", "+1", "0x1F", "G", "1G", "1 F"})
        EXPECT_FALSE(handleOf(text).has_value()) << text;
}

TEST(Number, IsWrittenShortAndReadsBack) {
    EXPECT_EQ(realText(0), "0.0");
    EXPECT_EQ(realText(1), "1.0");
    EXPECT_EQ(realText(-2.5), "-2.5");
    EXPECT_EQ(realText(0.1), "0.1");
    EXPECT_EQ(realText(123456), "123456.0");
    EXPECT_EQ(realText(1e6), "1000000.0");
    std::mt19937_64 random(7);
    const auto check = [](double number) {
        const std::string text = realText(number);
        EXPECT_EQ(numberOf(text), number) << text;
        EXPECT_NE(text.find('.'), std::string::npos) << text;
        EXPECT_LE(text.size(), 25U) << text;
        EXPECT_EQ(text.find_first_not_of("0123456789.-+E"), std::string::npos) << text;
    };
    for (int i = 0; i < 20'000; ++i) {
        const std::uint64_t bits = random();
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        if (std::isfinite(number)) check(number);
        check(static_cast<double>(static_cast<std::int64_t>(bits) >> 20) / 1000);
    }
    for (const double number : {5e-324, 1.7976931348623157e308, 1e-5, 9.99e-6, 1e15, 1e16, 1e17,
                                9007199254740993.0, 1.0 / 3, -0.0})
        check(number);
}

TEST(Number, TakesNoHeedOfTheLocale) {
    const CommaLocale comma;
    std::ostringstream shown;
    shown << 1234.5;
    ASSERT_EQ(shown.str(), "1.234,5");
    EXPECT_EQ(numberOf("1234.5"), 1234.5);
    EXPECT_FALSE(numberOf("1234,5").has_value());
    EXPECT_EQ(realText(1234567.5), "1234567.5");
    EXPECT_EQ(readAll("10\n1.5\n"), "10 1.5");
    EXPECT_NE(failureIn("10\n1,5\n").what, "");
}

// --- Values -------------------------------------------------------------------------------------

TEST(Value, IsANumberOfEitherKind) {
    const struct {
        const char* notation;
        double real;
        std::int32_t integer;
    } cases[] = {
        {"70 5", 5, 5},
        {"70 -5", -5, -5},
        {"40 5.9", 5.9, 5},
        {"40 -5.9", -5.9, -5},
        {"90 2147483647", 2147483647.0, 2147483647},
        {"40 1e300", 1e300, 2147483647},
        {"40 -1e300", -1e300, -2147483648},
        {"160 5000000000", 5e9, 2147483647},
        {"290 1", 1, 1},
    };
    for (const auto& one : cases)
        for (const Look& look : {plain, binary, shortBinary}) {
            const std::string bytes = dxf(std::string("0 X|") + one.notation, look);
            const Opening opening = openingOf(bytes);
            PairReader reader(bytes, look.form, opening.begin, bytes.size());
            Pair pair;
            ASSERT_TRUE(reader.next(pair) && reader.next(pair));
            const Value value(bytes, look.form, pair);
            EXPECT_EQ(value.real(), one.real) << one.notation;
            EXPECT_EQ(value.integer(), one.integer) << one.notation;
        }
}

TEST(Value, OfTextsAndHandles) {
    const std::string bytes = "5\n 1F \n2\n  LAYER\t\n1\nx\n40\nnan\n";
    PairReader reader(bytes, Form::text, 0, bytes.size());
    Pair pair;
    ASSERT_TRUE(reader.next(pair));
    EXPECT_EQ(Value(bytes, Form::text, pair).handle(), 0x1fU);
    EXPECT_EQ(Value(bytes, Form::text, pair).raw(), " 1F ");
    ASSERT_TRUE(reader.next(pair));
    EXPECT_EQ(Value(bytes, Form::text, pair).trimmed(), "LAYER");
    EXPECT_FALSE(Value(bytes, Form::text, pair).handle().has_value());
    ASSERT_TRUE(reader.next(pair));
    EXPECT_FALSE(Value(bytes, Form::text, pair).real().has_value());
    EXPECT_FALSE(Value(bytes, Form::text, pair).integer().has_value());
    ASSERT_TRUE(reader.next(pair));
    EXPECT_FALSE(Value(bytes, Form::text, pair).integer().has_value());
}

}  // namespace
}  // namespace vlisp::refhost::dxf
