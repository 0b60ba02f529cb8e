// Tests of builtins/wildcard.h.
#include "builtins/wildcard.h"

#include "platform/text.h"
#include "tests/support/printed_seed.h"
#include "tests/support/repeated.h"

#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <random>
#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace vlisp {
namespace {

using platform::fromUtf8;
using platform::toUtf8;
using test::printedSeed;
using test::repeated;
using wildcard::Answer;

std::vector<std::string> expressions(std::string_view pattern) {
    std::vector<std::string> out;
    for (const WildcardTranslation& alternative : translateWildcard(fromUtf8(pattern)))
        out.push_back(toUtf8(alternative.expression) + (alternative.complete ? "" : " (cut)"));
    return out;
}

using Texts = std::vector<std::string>;

bool matches(std::string_view text, std::string_view pattern) {
    return matchesWildcard(fromUtf8(text), fromUtf8(pattern));
}

// Runs `work`. What explodes does not come back before the test's limit of time ends it.
template <class Work> void quickly(std::string_view what, Work work) {
    SCOPED_TRACE(what);
    work();
}

TEST(TranslateWildcard, EachCharacterOfTheTable) {
    EXPECT_EQ(expressions("#"), Texts{"\\d"});
    EXPECT_EQ(expressions("*"), Texts{".*"});
    EXPECT_EQ(expressions("?"), Texts{"."});
    EXPECT_EQ(expressions("@"), Texts{"[a-zA-Z]"});
    EXPECT_EQ(expressions("."), Texts{"\\W"});
    EXPECT_EQ(expressions("~"), Texts{"^"});
    EXPECT_EQ(expressions("[~"), Texts{"[^"});
    EXPECT_EQ(expressions("a~"), Texts{"a~"});
    EXPECT_EQ(expressions("abcXYZ019_-"), Texts{"abcXYZ019_-"});
    EXPECT_EQ(expressions("L#*?@."), Texts{"L\\d.*.[a-zA-Z]\\W"});
}

TEST(TranslateWildcard, CommasCloseAlternatives) {
    EXPECT_EQ(expressions("A,B,X"), (Texts{"A", "B", "X"}));
    EXPECT_EQ(expressions(""), Texts{""});
    EXPECT_EQ(expressions("A,"), (Texts{"A", ""}));
    EXPECT_EQ(expressions(",A"), (Texts{"", "A"}));
    EXPECT_EQ(expressions(","), (Texts{"", ""}));
    EXPECT_EQ(expressions(",,"), (Texts{"", "", ""}));
    EXPECT_EQ(expressions("[A,B]"), (Texts{"[A", "B]"}));
}

TEST(TranslateWildcard, ABackQuoteEscapesTheNextCharacter) {
    EXPECT_EQ(expressions("`*"), Texts{"\\*"});
    EXPECT_EQ(expressions("`#`?`@`."), Texts{"\\#\\?\\@\\."});
    EXPECT_EQ(expressions("``"), Texts{"\\`"});
    EXPECT_EQ(expressions("a`,b"), Texts{"a\\,b"});
    EXPECT_EQ(expressions("a`,b,c"), (Texts{"a\\,b", "c"}));
    EXPECT_EQ(expressions("`~A"), Texts{"\\~A"});
    EXPECT_EQ(expressions("`[~A"), Texts{"\\[~A"});
    EXPECT_EQ(expressions("`ab"), Texts{"\\ab"});
}

TEST(TranslateWildcard, ABackQuoteAtTheEndLeavesItsAlternativeIncomplete) {
    EXPECT_EQ(expressions("A`"), Texts{"A (cut)"});
    EXPECT_EQ(expressions("`"), Texts{" (cut)"});
    EXPECT_EQ(expressions("A,B`"), (Texts{"A", "B (cut)"}));
    EXPECT_EQ(expressions("```"), Texts{"\\` (cut)"});
}

TEST(TranslateWildcard, TheTildeIsSpecialAtTheVeryFrontAndBehindABracketOnly) {
    EXPECT_EQ(expressions("~ABC"), Texts{"^ABC"});
    EXPECT_EQ(expressions("~~A"), Texts{"^~A"});
    EXPECT_EQ(expressions("~[~A]"), Texts{"^[^A]"});
    EXPECT_EQ(expressions("[~~]"), Texts{"[^~]"});
    EXPECT_EQ(expressions("[a~]"), Texts{"[a~]"});
    EXPECT_EQ(expressions("A,~B"), (Texts{"A", "~B"}));
    EXPECT_EQ(expressions(",~B"), (Texts{"", "~B"}));
}

// What is remembered is the last translated character: neither a comma nor an escaped pair is one.
TEST(TranslateWildcard, TheTildeLooksPastEscapedPairsAndCommas) {
    EXPECT_EQ(expressions("[`A~B]"), Texts{"[\\A^B]"});
    EXPECT_EQ(expressions("a`[~B"), Texts{"a\\[~B"});
    EXPECT_EQ(expressions("[,~A]"), (Texts{"[", "^A]"}));
    EXPECT_EQ(expressions("a,~A"), (Texts{"a", "~A"}));
}

TEST(TranslateWildcard, RegularExpressionSyntaxIsCopied) {
    EXPECT_EQ(expressions("[A-C](a|b)+^$x{2}\\d"), Texts{"[A-C](a|b)+^$x{2}\\d"});
}

TEST(Wildcard, MatchesTheWholeText) {
    EXPECT_TRUE(matches("LINE", "LINE"));
    EXPECT_FALSE(matches("LINES", "LINE"));
    EXPECT_FALSE(matches("ALINE", "LINE"));
    EXPECT_TRUE(matches("LINE", "L*"));
    EXPECT_FALSE(matches("LINE", "l*"));
    EXPECT_TRUE(matches("", ""));
    EXPECT_TRUE(matches("", "*"));
    EXPECT_TRUE(matches("", "**"));
    EXPECT_FALSE(matches("", "?"));
    EXPECT_FALSE(matches("A", ""));
    EXPECT_TRUE(matches("ABCABD", "*AB?"));
    EXPECT_TRUE(matches("aXbXc", "a*X*c"));
    EXPECT_FALSE(matches("aXbXc", "a*Y*c"));
}

TEST(Wildcard, KnowsItsClassesBeyondAscii) {
    for (const char* sign : {"ä", "Ω", "漢", "٣"}) {
        EXPECT_FALSE(matches(sign, "@")) << sign;
        EXPECT_FALSE(matches(sign, "#")) << sign;
        EXPECT_TRUE(matches(sign, ".")) << sign;
        EXPECT_TRUE(matches(sign, "?")) << sign;
        EXPECT_TRUE(matches(sign, sign)) << sign;
        // The same by way of the regular expressions.
        EXPECT_FALSE(matches(sign, "(@)")) << sign;
        EXPECT_FALSE(matches(sign, "(#)")) << sign;
        EXPECT_TRUE(matches(sign, "(.)")) << sign;
        EXPECT_TRUE(matches(sign, "(?)")) << sign;
    }
    // A sign beyond the first 65536 is two units.
    EXPECT_FALSE(matches("😀", "?"));
    EXPECT_TRUE(matches("😀", "??"));
}

TEST(Wildcard, TheUnderscoreIsAWordCharacter) {
    EXPECT_FALSE(matches("_", "."));
    EXPECT_FALSE(matches("_", "@"));
    EXPECT_FALSE(matches("_", "(.)"));
    EXPECT_TRUE(matches("-", "."));
}

TEST(Wildcard, AnIncompleteOrInvalidAlternativeMatchesNothingAndTheNextHasItsTurn) {
    for (const char* bad :
         {"[", "(", ")", "+", "{", "a{2,1}", "[b-a]", "A`", "(?", "\\", "[[:x:]]", "a**b+)"}) {
        SCOPED_TRACE(bad);
        for (const char* text : {"", "A", "[", "(", "+", "a"}) EXPECT_FALSE(matches(text, bad));
        if (std::string_view(bad) != "A`") {
            EXPECT_TRUE(matches("A", std::string(bad) + ",A"));
        }
        EXPECT_TRUE(matches("A", std::string("A,") + bad));
    }
}

TEST(Wildcard, BackReferencesWork) {
    EXPECT_TRUE(matches("abab", "(ab)\\1"));
    EXPECT_FALSE(matches("abac", "(a[bc])\\1"));
    EXPECT_TRUE(matches("xyzxyz", "(*)\\1"));
    EXPECT_FALSE(matches("xyzxyw", "(*)\\1"));
    // A back quote in front of a digit makes one too: it is a backslash to the expression.
    EXPECT_TRUE(matches("aa", "(a)`1"));
}

// A star stops at a line end, as the expression's point does.
TEST(Wildcard, StarsAndQuestionMarksStopAtLineEnds) {
    EXPECT_FALSE(matches("a\nb", "a*b"));
    EXPECT_FALSE(matches("a\nb", "a?b"));
    EXPECT_TRUE(matches("a\nb", "a.b"));
    EXPECT_TRUE(matches("a\nb", "a\nb"));
    EXPECT_FALSE(matches("a\rb", "*"));
    EXPECT_TRUE(matches("a\nb", "*\n*"));
    EXPECT_TRUE(matches("ab\nab", "*b\n*b"));
}

// Shortcut and expression agree, whatever is asked. The seed is printed so that a failure can be
// repeated.
TEST(Wildcard, ThePlainWayAgreesWithTheRegularExpressions) {
    const unsigned seed = printedSeed();
    std::mt19937 random(seed);
    const std::u16string textUnits = u"aAbB01_.*?#@~`,-\n";
    const std::u16string patternUnits = u"aAbB01_.*?#@~`,-\n*?*";
    const auto randomText = [&](const std::u16string& units, std::size_t longest) {
        std::u16string out(random() % (longest + 1), u' ');
        for (char16_t& unit : out) unit = units[random() % units.size()];
        return out;
    };
    std::size_t plain = 0;
    std::size_t matched = 0;
    for (int i = 0; i < 6000; ++i) {
        // Short alphabets now and then, so that long matches come up too.
        const bool narrow = random() % 2 == 0;
        const std::u16string text = randomText(narrow ? u"aA1." : textUnits, 9);
        const std::u16string pattern = randomText(narrow ? u"aA1.*?@#" : patternUnits, 7);
        bool expected = false;
        for (const WildcardTranslation& alternative : translateWildcard(pattern)) {
            const bool byExpression = wildcard::matchesExpression(text, alternative.expression);
            const Answer answer = wildcard::matchesPlain(text, alternative.expression);
            if (answer != Answer::notPlain) {
                ++plain;
                EXPECT_EQ(answer == Answer::yes, byExpression)
                    << "text \"" << toUtf8(text) << "\" expression \""
                    << toUtf8(alternative.expression) << "\" seed " << seed;
            }
            expected = expected || (alternative.complete && byExpression);
        }
        matched += expected ? 1U : 0U;
        EXPECT_EQ(matchesWildcard(text, pattern), expected)
            << "text \"" << toUtf8(text) << "\" pattern \"" << toUtf8(pattern) << "\" seed "
            << seed;
    }
    // The comparison would be worth nothing if either side never had anything to say.
    EXPECT_GT(plain, 2000u);
    EXPECT_GT(matched, 200u);
}

// A pattern of wildcards and brackets, good ones and bad ones.
std::u16string randomBrackets(std::mt19937& random) {
    const std::u16string outside = u"aAbB01_-*?#@.*`,~^]\\{";
    const std::u16string inside = u"aAbBcz019_--~^ab09*?#@.`,[(\\{";
    const auto oneOf = [&](const std::u16string& units, std::size_t usual) {
        return units[random() % (random() % 8 == 0 ? units.size() : usual)];
    };
    std::u16string pattern;
    for (std::size_t count = 1 + random() % 5; count > 0; --count) {
        if (random() % 2 == 0) {
            pattern += oneOf(outside, 14);
            continue;
        }
        pattern += u'[';
        if (random() % 3 == 0) pattern += random() % 2 == 0 ? u'~' : u'^';
        for (std::size_t items = 1 + random() % 3; items > 0; --items) {
            const char16_t first = oneOf(inside, 13);
            pattern += first;
            if (random() % 3 == 0) pattern += std::u16string({u'-', oneOf(inside, 13)});
        }
        if (random() % 16 != 0) pattern += u']';
    }
    return pattern;
}

TEST(Wildcard, BracketsAgreeWithTheRegularExpressions) {
    const unsigned seed = printedSeed();
    std::mt19937 random(seed);
    const std::u16string units = u"aAbBcz019_-~^],[\\.\u00e9";
    std::size_t plain = 0;
    std::size_t matched = 0;
    for (int i = 0; i < 6000; ++i) {
        const std::u16string pattern = randomBrackets(random);
        std::u16string text(random() % 6, u' ');
        for (char16_t& unit : text) unit = units[random() % units.size()];
        SCOPED_TRACE("text \"" + toUtf8(text) + "\" pattern \"" + toUtf8(pattern) + "\"");
        bool expected = false;
        for (const auto& [expression, complete] : translateWildcard(pattern)) {
            const bool byExpression = wildcard::matchesExpression(text, expression);
            const Answer answer = wildcard::matchesPlain(text, expression);
            if (answer != Answer::notPlain) {
                ASSERT_EQ(answer == Answer::yes, byExpression) << toUtf8(expression);
                plain += expression.find(u'[') != std::u16string::npos ? 1U : 0U;
            }
            expected = expected || (complete && byExpression);
        }
        ASSERT_EQ(matchesWildcard(text, pattern), expected);
        matched += expected ? 1U : 0U;
    }
    EXPECT_GT(plain, 1000u);
    EXPECT_GT(matched, 100u);
}

TEST(Wildcard, PlainBracketsTakeTheShorterWay) {
    for (const char16_t* expression : {u"[a-zC]", u"[^a-z]", u"[-a]", u"[a-]", u"[~^]", u"[A-L].*"})
        EXPECT_NE(wildcard::matchesPlain(u"Q", expression), Answer::notPlain) << toUtf8(expression);
    for (const char16_t* expression :
         {u"[]", u"[^]", u"[a", u"[b-a]", u"[a-c-e]", u"[[:alpha:]]", u"[\\d]", u"[a]+", u"[a]*",
          u"[--/]", u"[a[]", u"[{]", u"[(]"})
        EXPECT_EQ(wildcard::matchesPlain(u"Q", expression), Answer::notPlain) << toUtf8(expression);
}

// What holds for regular expressions holds for brackets on the shorter way as well.
TEST(Wildcard, BracketsMeetTheLimitsOfTheRegularExpressions) {
    std::u16string brackets;
    for (int i = 0; i < 12'000; ++i) brackets += u"[ab]";
    EXPECT_FALSE(matchesWildcard(std::u16string(12'000, u'a'), brackets));
    EXPECT_TRUE(matchesWildcard(std::u16string(100, u'a'), brackets.substr(0, 400)));
    // A long bracket is looked through for every unit, so only short texts take the shorter way.
    const std::u16string bracket = u"*[" + std::u16string(100'000, u'b') + u"c]";
    EXPECT_EQ(wildcard::matchesPlain(u"aac", u"." + bracket), Answer::yes);
    EXPECT_EQ(wildcard::matchesPlain(std::u16string(100'000, u'a'), u"." + bracket),
              Answer::notPlain);
    EXPECT_TRUE(matchesWildcard(std::u16string(1000, u'a') + u"c", bracket));
    EXPECT_FALSE(matchesWildcard(u",1234567890a", u"`,1234567890[a]"));
    EXPECT_TRUE(matchesWildcard(u",123456789a", u"`,123456789[a]"));
}

// An expression that stays compiled answers as it did when it was compiled.
TEST(Wildcard, ExpressionsAnswerAlikeHoweverOftenTheyAreUsed) {
    const char* const patterns[] = {"(A|B)+", "(A",      "A+",     "(A)\\1", "",
                                    "A{2}",   "A{3}",    "(B|C)*", "B+|A+",  "(",
                                    "()",     "(A|BB)+", "[A-",    "B?",     "(A)(B)\\2"};
    const char* const texts[] = {"", "A", "AA", "AAA", "B", "BB", "ABB"};
    std::mt19937 random(20'26);
    std::map<std::pair<std::string, std::string>, bool> first;
    for (int i = 0; i < 3000; ++i) {
        const std::string pattern = patterns[random() % std::size(patterns)];
        const std::string text = texts[random() % std::size(texts)];
        const bool answer = wildcard::matchesExpression(fromUtf8(text), fromUtf8(pattern));
        const auto [known, isNew] = first.try_emplace({pattern, text}, answer);
        ASSERT_EQ(answer, known->second) << pattern << " on " << text;
    }
    EXPECT_TRUE((first[{"", ""}]));
    EXPECT_FALSE((first[{"", "A"}]));
    EXPECT_TRUE((first[{"A{3}", "AAA"}]));
    EXPECT_FALSE((first[{"A{2}", "AAA"}]));
}

TEST(Wildcard, ClassesAndBoundariesOfTheRegularExpressionsWork) {
    EXPECT_TRUE(matches("foo bar", "foo\\b*"));
    EXPECT_FALSE(matches("foobar", "foo\\b*"));
    EXPECT_TRUE(matches("foobar", "foo\\B*"));
    EXPECT_TRUE(matches("a b", "\\w\\s\\S"));
    EXPECT_TRUE(matches("x", "\\D"));
    EXPECT_TRUE(matches("abc", "[[:alpha:]]+"));
    EXPECT_FALSE(matches("ab1", "[[:alpha:]]+"));
    EXPECT_TRUE(matches("", "(a|)"));
    // The comma parts alternatives wherever it stands, so a count has no range.
    EXPECT_TRUE(matches("aab", "a{2}b"));
    EXPECT_FALSE(matches("aab", "a{1,2}b"));
    EXPECT_FALSE(matches("aaab", "a{1}{2}b"));
    EXPECT_FALSE(matches("ab", "a^b"));
    EXPECT_FALSE(matches("ab", "a$b"));
}

// A random regular expression without back-references.
std::u16string randomExpression(std::mt19937& random, int depth) {
    static const std::vector<std::u16string> leaves{u"a",    u"b",        u"A",   u"1",   u"_",
                                                    u".",    u"\\d",      u"\\W", u"\\w", u"[ab]",
                                                    u"[^a]", u"[a-zA-Z]", u"\\."};
    static const std::vector<std::u16string> repeats{u"*", u"+", u"?", u"{2}", u"{1,2}", u"{0,3}"};
    std::u16string out;
    const std::size_t pieces = 1 + random() % 3;
    for (std::size_t i = 0; i < pieces; ++i) {
        if (depth > 0 && random() % 3 == 0) {
            out += u"(" + randomExpression(random, depth - 1);
            if (random() % 2 == 0) out += u"|" + randomExpression(random, depth - 1);
            out += u")";
        } else {
            out += leaves[random() % leaves.size()];
        }
        if (random() % 3 == 0) out += repeats[random() % repeats.size()];
    }
    return out;
}

// The matcher that neither recurses nor explodes says what the library's default one says. The
// groups are shallow and the texts short, because the default one does explode.
TEST(Wildcard, RegularExpressionsAgreeWithTheLibrarysDefaultMatcher) {
    const unsigned seed = printedSeed();
    std::mt19937 random(seed);
    const std::u16string units = u"abA1_.-";
    std::size_t matched = 0;
    for (int i = 0; i < 4000; ++i) {
        const std::u16string expression = randomExpression(random, 1);
        std::u16string text(random() % 7, u' ');
        for (char16_t& unit : text) unit = units[random() % units.size()];
        const std::wregex compiled(std::wstring(expression.begin(), expression.end()));
        const bool expected = std::regex_match(std::wstring(text.begin(), text.end()), compiled);
        EXPECT_EQ(wildcard::matchesExpression(text, expression), expected)
            << "text \"" << toUtf8(text) << "\" expression \"" << toUtf8(expression) << "\" seed "
            << seed;
        if (expected) ++matched;
    }
    EXPECT_GT(matched, 200u);
}

TEST(Wildcard, ThePlainWayTakesPlainExpressionsOnly) {
    EXPECT_EQ(wildcard::matchesPlain(u"ab", u".*"), Answer::yes);
    EXPECT_EQ(wildcard::matchesPlain(u"ab", u"^ab"), Answer::yes);
    EXPECT_EQ(wildcard::matchesPlain(u"ab", u"a"), Answer::no);
    for (const char16_t* expression :
         {u"[ab]*", u"a+", u"(a)", u"a|b", u"a$", u"a{2}", u"a\\", u"\\b", u"(a)\\1", u"a*", u"a?",
          u"[a-zA-Z]*", u"\\d?", u".**", u"a^b"})
        EXPECT_EQ(wildcard::matchesPlain(u"ab", expression), Answer::notPlain)
            << toUtf8(expression);
    EXPECT_EQ(wildcard::matchesPlain(u"a\nb", u".*"), Answer::notPlain);
}

TEST(Wildcard, LongTextsAreMatched) {
    const std::u16string text = std::u16string(100'000, u'a') + u"b";
    quickly("stars", [&] {
        EXPECT_TRUE(matchesWildcard(text, u"*"));
        EXPECT_TRUE(matchesWildcard(text, u"a*b"));
        EXPECT_TRUE(matchesWildcard(text, u"*a*a*a*a*b"));
        EXPECT_FALSE(matchesWildcard(text, u"*a*a*a*a*c"));
        EXPECT_FALSE(matchesWildcard(text, u"*b*b*"));
        EXPECT_FALSE(matchesWildcard(text, u"?*?*?*c"));
    });
    quickly("brackets", [&] {
        EXPECT_TRUE(matchesWildcard(text, u"[ab]*"));
        EXPECT_TRUE(matchesWildcard(text, u"*[b]"));
        EXPECT_TRUE(matchesWildcard(text, u"[~c]*[~c]"));
        EXPECT_FALSE(matchesWildcard(text, u"[ab]*[c]"));
        EXPECT_TRUE(matchesWildcard(text, u"a+b"));
        EXPECT_TRUE(matchesWildcard(text, u"([a-c])+"));
    });
}

TEST(Wildcard, ExplosivePatternsEndQuickly) {
    for (const std::size_t count : {30u, 300u, 1000u, 5000u}) {
        const std::u16string text(count, u'a');
        for (const char16_t* pattern : {u"(a+)+b", u"(a|aa)+b", u"(a|a)+b", u"((a+)+)+b",
                                        u"([a-c]+)+b", u"(*)(*)(*)(*)b", u"(a+)+(a+)+(a+)+b"})
            quickly(toUtf8(pattern) + " on " + std::to_string(count), [&] {
                EXPECT_FALSE(matchesWildcard(text, pattern));
                EXPECT_TRUE(matchesWildcard(text, std::u16string(pattern) + u",a+"));
            });
    }
}

TEST(Wildcard, ExplosivePatternsWithBackReferencesEndQuickly) {
    for (const std::size_t count : {30u, 300u, 1000u, 5000u}) {
        const std::u16string text(count, u'a');
        for (const char16_t* pattern : {u"(a+)+\\1b", u"(a|aa)+\\1b", u"((a+)+)\\1+b",
                                        u"(a+)(a+)(a+)\\1\\2\\3b", u"(a+)+`1b"})
            quickly(toUtf8(pattern) + " on " + std::to_string(count),
                    [&] { EXPECT_FALSE(matchesWildcard(text, pattern)); });
    }
}

// The star of a pattern is any sequence, so these are spelled with the star's translation.
TEST(Wildcard, ExplosiveExpressionsEndQuickly) {
    for (const std::size_t count : {30u, 300u, 1000u, 5000u}) {
        const std::u16string text(count, u'a');
        for (const char16_t* expression : {u"(a*)*b", u"(a|aa)*b", u"(a*)*\\1b", u"(a|aa)*\\1b",
                                           u"(a?){40}a{40}b", u"(.*)*(.*)*b"})
            quickly(toUtf8(expression) + " on " + std::to_string(count),
                    [&] { EXPECT_FALSE(wildcard::matchesExpression(text, expression)); });
        for (const char* pattern : {"(a*)*b", "(a|aa)*b", "(a*)*\\1b"})
            quickly(std::string(pattern) + " on " + std::to_string(count),
                    [&] { EXPECT_FALSE(matchesWildcard(text, fromUtf8(pattern))); });
    }
}

// Empty choices, counts and groups: what takes steps, stack or memory without looking at the text.
TEST(Wildcard, EmptyTransitionsAreBoundedAsWell) {
    const std::u16string text(900, u'a');
    const auto times = [](std::u16string_view piece, int count) {
        std::u16string out;
        for (int i = 0; i < count; ++i) out += piece;
        return out;
    };
    EXPECT_FALSE(matchesWildcard(text, u"(((b|){3000}a)+)\\1"));
    EXPECT_FALSE(matchesWildcard(u"", u"(|){40}z\\1"));
    EXPECT_FALSE(
        matchesWildcard(text.substr(0, 200), times(u"(", 12) + u"a" + times(u"|)+", 12) + u"z\\1"));
    EXPECT_FALSE(matchesWildcard(text, times(u"()", 8000) + u"(a|){6000}"));
    EXPECT_TRUE(matchesWildcard(text, times(u"()", 500) + u"(a|){900}"));
    EXPECT_TRUE(matchesWildcard(u"abab", u"(ab)\\1"));
}

TEST(Wildcard, LineAndParagraphSeparatorsAreLineEndsOnBothWays) {
    for (const char16_t* text : {u"\u2028", u"\u2029", u"\r", u"\n"}) {
        EXPECT_FALSE(matchesWildcard(text, u"?"));
        EXPECT_FALSE(matchesWildcard(text, u"?()"));
        EXPECT_FALSE(matchesWildcard(u"a" + std::u16string(text) + u"b", u"a*b"));
    }
}

// Whatever a pattern holds, the call returns, matches nothing that is not there, and the next
// alternative still has its turn.
TEST(Wildcard, HostilePatternsReturn) {
    const std::vector<std::pair<const char*, std::u16string>> patterns{
        {"200,000 open groups", repeated(u"(", 200'000)},
        {"100,000 a*", repeated(u"a*", 100'000)},
        {"[", u"["},
        {"(", u"("},
        {"+", u"+"},
        {"nested counts", u"a{1,99999}{1,99999}"},
        {"a large count", u"a{99999}"},
        {"1,000,000 look-aheads", repeated(u"(?=", 1'000'000)},
        {"100,000 closed groups", repeated(u"(", 100'000) + u"a" + repeated(u")", 100'000)},
        {"900 groups in groups", repeated(u"(", 900) + u"x" + repeated(u")", 900)},
        {"100,000 alternatives in one", repeated(u"a|", 100'000) + u"b("},
        {"100,000 brackets", repeated(u"[~a]", 100'000)},
        {"14,000 empty choices", u"(|a){14000}c"},
        {"30,000 empty groups", repeated(u"()", 30'000) + u"c"},
        {"an open class", u"[[:"},
        {"100,000 back references", u"(a)" + repeated(u"\\1", 100'000)},
        {"back references to nothing", u"\\9"},
        {"back slashes", repeated(u"\\", 99'999)},
        {"200,000 back quotes", repeated(u"`", 200'001)},
        {"a zero unit in a group", std::u16string(u"(\0", 2)},
        {"a lone surrogate in a bracket", std::u16string(u"[\xd800")},
    };
    for (const auto& [what, pattern] : patterns) {
        SCOPED_TRACE(what);
        quickly(what, [&] {
            EXPECT_FALSE(matchesWildcard(u"Z", pattern));
            EXPECT_TRUE(matchesWildcard(u"Z", u"Z," + pattern));
            EXPECT_TRUE(matchesWildcard(u"Z", repeated(u"[,", 3) + u"Z"));
        });
    }
    // A pattern's comma parts alternatives, so a range of counts comes as an expression only.
    quickly("nested ranges of counts", [] {
        for (const char16_t* expression :
             {u"a{1,99999}{1,99999}", u"(a{1,99999}){1,99999}", u"((a{0,300}){0,300}){0,300}",
              u"a{2147483647}", u"a{99999999999999999999}"})
            EXPECT_FALSE(wildcard::matchesExpression(u"Z", expression)) << toUtf8(expression);
    });
    quickly("100,000 alternatives", [] {
        EXPECT_TRUE(matchesWildcard(u"Z", repeated(u"A,", 100'000) + u"Z"));
        EXPECT_FALSE(matchesWildcard(u"Z", repeated(u"A,", 100'000) + u"Y"));
    });
}

}  // namespace
}  // namespace vlisp
