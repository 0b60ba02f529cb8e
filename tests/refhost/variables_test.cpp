// Tests of refhost/model/variables.h.
#include "refhost/model/variables.h"

#include "tests/support/comma_locale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vlisp::refhost {

// For the messages of GoogleTest.
static void PrintTo(const VariablePoint& point, std::ostream* out) {
    *out << point.x << ',' << point.y << ',' << point.z;
}

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

std::u16string wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

std::string narrow(std::u16string_view text) {
    std::string ascii;
    for (const char16_t unit : text) ascii.push_back(unit < 0x80 ? static_cast<char>(unit) : '#');
    return ascii;
}

std::string shown(const Variables& variables, std::u16string_view name) {
    const auto text = variables.asText(name);
    return text ? narrow(*text) : "none";
}

std::string shown(const Variables& variables, const VariableRow& row) {
    return shown(variables, wide(row.name));
}

bool isSettable(const VariableRow& row) { return row.access == VariableAccess::Settable; }

// Gives a variable the value that `text` shows, as a program would that read it and sets it.
bool setShown(Variables& variables, const VariableRow& row, std::u16string_view text) {
    const std::u16string name = wide(row.name);
    const std::string digits = narrow(text);
    switch (row.type) {
    case VariableType::Integer: return variables.setInt(name, std::stoi(digits));
    case VariableType::Real: return variables.setReal(name, std::stod(digits));
    case VariableType::Text: return variables.setText(name, text.substr(1, text.size() - 2));
    case VariableType::Point:
    case VariableType::PlanePoint: break;
    }
    return variables.setText(name, text);
}

// A value that the variable takes and that is not its default.
bool storeOther(Variables& variables, const VariableRow& row) {
    const std::u16string name = wide(row.name);
    switch (row.type) {
    case VariableType::Integer: {
        const int standard = std::get<int>(row.standard);
        return variables.storeInt(name, standard + 1) || variables.storeInt(name, standard - 1);
    }
    case VariableType::Real: return variables.storeReal(name, 7.25);
    case VariableType::Text: return variables.storeText(name, u"7");
    case VariableType::Point:
    case VariableType::PlanePoint: break;
    }
    return variables.storePoint(name, {7, 8, 0});
}

// --- The table ---

TEST(VariableTable, HasTheVariablesThatProgramsUse) {
    constexpr std::string_view wanted[] = {
        "CLAYER",    "CECOLOR",    "CELWEIGHT", "CELTYPE",   "LASTPOINT", "OSMODE",
        "ORTHOMODE", "SNAPMODE",   "SNAPUNIT",  "GRIDMODE",  "CMDECHO",   "CMDACTIVE",
        "CMDNAMES",  "FILEDIA",    "CMDDIA",    "ATTDIA",    "ATTREQ",    "PICKBOX",
        "PICKFIRST", "PICKADD",    "APERTURE",  "HIGHLIGHT", "EXPERT",    "TEXTSIZE",
        "TEXTSTYLE", "TEXTEVAL",   "LUNITS",    "LUPREC",    "AUNITS",    "AUPREC",
        "ANGBASE",   "ANGDIR",     "INSUNITS",  "INSBASE",   "DIMSCALE",  "MEASUREMENT",
        "DIMTXT",    "DIMASZ",     "LTSCALE",   "PSLTSCALE", "PDMODE",    "PDSIZE",
        "FILLETRAD", "CHAMFERA",   "CHAMFERB",  "CIRCLERAD", "ELEVATION", "OFFSETDIST",
        "THICKNESS", "PLINEWID",   "PLINETYPE", "MIRRTEXT",  "DELOBJ",    "TILEMODE",
        "LIMMIN",    "LIMMAX",     "LIMCHECK",  "EXTMIN",    "EXTMAX",    "VIEWCTR",
        "VIEWSIZE",  "SCREENSIZE", "DWGNAME",   "DWGPREFIX", "DATE",      "CDATE",
        "MILLISECS", "USERI1",     "USERI5",    "USERR1",    "USERR5",    "USERS1",
        "USERS5",    "UNDOCTL",    "ERRNO",     "REGENMODE", "BLIPMODE",  "DRAGMODE",
        "LOCALE",    "PLATFORM",
    };
    for (const std::string_view name : wanted) {
        const VariableRow* row = Variables::find(wide(name));
        ASSERT_NE(row, nullptr) << name;
        EXPECT_EQ(row->name, name);
    }
}

TEST(VariableTable, DescribesEachVariableOnceInOneLine) {
    std::set<std::string_view> names;
    for (const VariableRow& row : Variables::rows()) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_TRUE(std::ranges::all_of(row.name, [](char c) {
            return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        })) << row.name;
        EXPECT_TRUE(row.help.ends_with('.')) << row.name;
        EXPECT_LE(row.help.size(), 85U) << row.name;
        EXPECT_EQ(row.help.find('\n'), std::string_view::npos) << row.name;
        EXPECT_EQ(Variables::find(wide(row.name)), &row) << row.name;
    }
    EXPECT_EQ(names.size(), Variables::rows().size());
    EXPECT_GE(names.size(), 80U);
}

TEST(VariableTable, FindsNamesWithoutRegardToCase) {
    const VariableRow* row = Variables::find(u"CLAYER");
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(Variables::find(u"clayer"), row);
    EXPECT_EQ(Variables::find(u"cLaYeR"), row);
    Variables variables;
    EXPECT_TRUE(variables.setInt(u"useri3", -12));
    EXPECT_EQ(shown(variables, u"UserI3"), "-12");
    EXPECT_EQ(variables.integer(u"USERI3"), -12);
}

TEST(VariableTable, FindsNothingElse) {
    Variables variables;
    const std::u16string withZero = u"CLAYER" + std::u16string(1, u'\0');
    // Among them a unit whose low byte is a "C", and a letter that folds to "K" elsewhere.
    const std::u16string names[] = {u"",
                                    u"CLAYE",
                                    u"CLAYERS",
                                    u" CLAYER",
                                    u"CLAYER ",
                                    withZero,
                                    u"@",
                                    u"ZZZ",
                                    u"A",
                                    u"USERI6",
                                    u"\u0143LAYER",
                                    u"PIC\u212aBOX",
                                    std::u16string(100000, u'A'),
                                    std::u16string(1, char16_t{0xd800})};
    for (const std::u16string& name : names) {
        EXPECT_EQ(Variables::find(name), nullptr) << narrow(name);
        EXPECT_EQ(variables.asText(name), std::nullopt) << narrow(name);
        EXPECT_FALSE(variables.setInt(name, 1)) << narrow(name);
        EXPECT_FALSE(variables.setReal(name, 1)) << narrow(name);
        EXPECT_FALSE(variables.setText(name, u"1")) << narrow(name);
        EXPECT_FALSE(variables.storeInt(name, 1)) << narrow(name);
        EXPECT_FALSE(variables.storeReal(name, 1)) << narrow(name);
        EXPECT_FALSE(variables.storeText(name, u"1")) << narrow(name);
        EXPECT_FALSE(variables.storePoint(name, {})) << narrow(name);
        EXPECT_FALSE(variables.provide(name, [] { return VariableValue(1); })) << narrow(name);
        EXPECT_FALSE(variables.guard(name, [](const VariableValue&) { return true; }))
            << narrow(name);
    }
}

// --- Every row ---

TEST(VariableRows, ShowTheirDefaultsInTheFormOfTheirType) {
    const Variables variables;
    for (const VariableRow& row : Variables::rows()) {
        const std::string text = shown(variables, row);
        const bool number = text.find_first_not_of("-0123456789.,") == std::string::npos;
        const auto count = [&](char c) { return std::ranges::count(text, c); };
        switch (row.type) {
        case VariableType::Integer:
            EXPECT_TRUE(number && count('.') == 0 && count(',') == 0) << row.name << text;
            break;
        case VariableType::Real:
            EXPECT_TRUE(number && count('.') == 1 && count(',') == 0) << row.name << text;
            break;
        case VariableType::Text:
            EXPECT_TRUE(text.size() >= 2 && text.front() == '"' && text.back() == '"' &&
                        count('"') == 2)
                << row.name << text;
            break;
        case VariableType::Point:
            EXPECT_TRUE(number && count('.') == 3 && count(',') == 2) << row.name << text;
            break;
        case VariableType::PlanePoint:
            EXPECT_TRUE(number && count('.') == 2 && count(',') == 1) << row.name << text;
            break;
        }
    }
}

TEST(VariableRows, CanBeSetToWhatTheyShowIfTheyAreSettable) {
    for (const VariableRow& row : Variables::rows()) {
        Variables variables;
        const auto before = variables.asText(wide(row.name));
        ASSERT_TRUE(before) << row.name;
        if (isSettable(row)) {
            ASSERT_TRUE(storeOther(variables, row)) << row.name;
            EXPECT_NE(variables.asText(wide(row.name)), before) << row.name;
        }
        EXPECT_EQ(setShown(variables, row, *before), isSettable(row)) << row.name;
        EXPECT_EQ(variables.asText(wide(row.name)), before) << row.name;
    }
}

TEST(VariableRows, ThatAreReadOnlyAreSetByTheHostAlone) {
    int readOnly = 0;
    for (const VariableRow& row : Variables::rows()) {
        if (isSettable(row)) continue;
        ++readOnly;
        Variables variables;
        const std::string before = shown(variables, row);
        EXPECT_FALSE(variables.setInt(wide(row.name), 1)) << row.name;
        EXPECT_FALSE(variables.setReal(wide(row.name), 1)) << row.name;
        EXPECT_FALSE(variables.setText(wide(row.name), u"1")) << row.name;
        EXPECT_FALSE(variables.setText(wide(row.name), u"1,2")) << row.name;
        EXPECT_EQ(shown(variables, row), before) << row.name;
        EXPECT_TRUE(storeOther(variables, row)) << row.name;
        EXPECT_NE(shown(variables, row), before) << row.name;
    }
    EXPECT_GE(readOnly, 12);
}

TEST(VariableRows, TakeTheirBoundsAndNothingBeyond) {
    int bounded = 0;
    for (const VariableRow& row : Variables::rows()) {
        if (row.type == VariableType::Text || !row.limits.choices.empty()) continue;
        Variables variables;
        const std::u16string name = wide(row.name);
        const auto takes = [&](double number) {
            if (row.type == VariableType::Integer)
                return variables.storeInt(name, static_cast<int>(number));
            if (row.type == VariableType::Real) return variables.storeReal(name, number);
            return variables.storePoint(name, {number, number, number});
        };
        if (row.limits.low != -infinity) {
            ++bounded;
            EXPECT_EQ(takes(row.limits.low), !row.limits.aboveLow) << row.name;
            EXPECT_FALSE(takes(row.limits.low - 1)) << row.name;
            EXPECT_TRUE(takes(row.limits.low + 1)) << row.name;
        }
        if (row.limits.high != infinity) {
            ++bounded;
            EXPECT_TRUE(takes(row.limits.high)) << row.name;
            EXPECT_FALSE(takes(row.limits.high + 1)) << row.name;
        }
    }
    EXPECT_GE(bounded, 60);
}

TEST(VariableRows, GoBackToTheirDefaultsWithTheDrawing) {
    Variables variables;
    const Variables fresh;
    for (const VariableRow& row : Variables::rows()) ASSERT_TRUE(storeOther(variables, row));
    variables.resetDrawing();
    for (const VariableRow& row : Variables::rows()) {
        const bool same = shown(variables, row) == shown(fresh, row);
        EXPECT_EQ(same, row.home == VariableHome::Drawing) << row.name;
    }
    EXPECT_EQ(Variables::find(u"CLAYER")->home, VariableHome::Drawing);
    EXPECT_EQ(Variables::find(u"CMDECHO")->home, VariableHome::Session);
}

TEST(VariableRows, HaveMetricDefaults) {
    const Variables variables;
    EXPECT_EQ(shown(variables, u"VIEWSIZE"), "297.0");
    EXPECT_EQ(shown(variables, u"VIEWCTR"), "210.0,148.5");
    EXPECT_EQ(shown(variables, u"LIMMAX"), "420.0,297.0");
    EXPECT_EQ(shown(variables, u"LIMMIN"), "0.0,0.0");
    EXPECT_EQ(shown(variables, u"LASTPOINT"), "0.0,0.0,0.0");
    EXPECT_EQ(shown(variables, u"EXTMIN"),
              "100000000000000000000.0,100000000000000000000.0,100000000000000000000.0");
    EXPECT_EQ(shown(variables, u"PICKBOX"), "3");
    EXPECT_EQ(shown(variables, u"TEXTSIZE"), "2.5");
    EXPECT_EQ(shown(variables, u"INSUNITS"), "4");
    EXPECT_EQ(shown(variables, u"CELWEIGHT"), "-1");
    EXPECT_EQ(shown(variables, u"CLAYER"), "\"0\"");
    EXPECT_EQ(shown(variables, u"CECOLOR"), "\"BYLAYER\"");
    EXPECT_EQ(shown(variables, u"USERS1"), "\"\"");
}

// --- Every type with every setter ---

struct Offer {
    std::u16string_view name;
    bool integer, real, text, pointText;
};

TEST(VariableSetters, TakeWhatFitsTheType) {
    constexpr Offer offers[] = {
        {u"USERI1", true, false, false, false}, {u"USERR1", true, true, false, false},
        {u"USERS1", false, false, true, true},  {u"LASTPOINT", false, false, false, true},
        {u"LIMMAX", false, false, false, true},
    };
    for (const Offer& offer : offers) {
        Variables variables;
        std::string before = shown(variables, offer.name);
        const auto check = [&](bool result, bool wanted, const char* what) {
            EXPECT_EQ(result, wanted) << narrow(offer.name) << ' ' << what;
            const std::string after = shown(variables, offer.name);
            EXPECT_EQ(after != before, wanted) << narrow(offer.name) << ' ' << what;
            before = after;
        };
        check(variables.setInt(offer.name, 71), offer.integer, "integer");
        check(variables.setReal(offer.name, 72.5), offer.real, "real");
        check(variables.setText(offer.name, u"73"), offer.text, "text");
        check(variables.setText(offer.name, u"74,75"), offer.pointText, "point");
        check(variables.storeInt(offer.name, 76), offer.integer, "stored integer");
        check(variables.storeReal(offer.name, 77.5), offer.real, "stored real");
        check(variables.storeText(offer.name, u"78"), offer.text, "stored text");
        check(variables.storeText(offer.name, u"79,80"), offer.pointText, "stored point text");
        check(variables.storePoint(offer.name, {81, 82, 83}), offer.pointText && !offer.text,
              "stored point");
    }
}

TEST(VariableSetters, RefuseARealForAnIntegerEvenIfItIsWhole) {
    Variables variables;
    EXPECT_FALSE(variables.setReal(u"USERI1", 2.0));
    EXPECT_FALSE(variables.setReal(u"OSMODE", 0.0));
    EXPECT_EQ(shown(variables, u"USERI1"), "0");
    EXPECT_EQ(shown(variables, u"OSMODE"), "37");
}

TEST(VariableSetters, ConvertAnIntegerForAReal) {
    Variables variables;
    EXPECT_TRUE(variables.setInt(u"TEXTSIZE", 5));
    EXPECT_EQ(shown(variables, u"TEXTSIZE"), "5.0");
    EXPECT_EQ(variables.real(u"TEXTSIZE"), 5.0);
    EXPECT_FALSE(variables.setInt(u"TEXTSIZE", 0));
    EXPECT_FALSE(variables.setInt(u"TEXTSIZE", -1));
    EXPECT_EQ(shown(variables, u"TEXTSIZE"), "5.0");
}

TEST(VariableSetters, RefuseWhatIsNotANumber) {
    Variables variables;
    for (const double number : {notANumber, infinity, -infinity}) {
        EXPECT_FALSE(variables.setReal(u"USERR1", number)) << number;
        EXPECT_FALSE(variables.storeReal(u"USERR1", number)) << number;
        EXPECT_FALSE(variables.storePoint(u"LASTPOINT", {number, 0, 0})) << number;
        EXPECT_FALSE(variables.storePoint(u"LASTPOINT", {0, number, 0})) << number;
        EXPECT_FALSE(variables.storePoint(u"LASTPOINT", {0, 0, number})) << number;
        EXPECT_FALSE(variables.storePoint(u"LIMMAX", {number, 0, 0})) << number;
        EXPECT_FALSE(variables.storePoint(u"LIMMAX", {0, number, 0})) << number;
    }
    EXPECT_EQ(shown(variables, u"USERR1"), "0.0");
    EXPECT_EQ(shown(variables, u"LASTPOINT"), "0.0,0.0,0.0");
    EXPECT_EQ(shown(variables, u"LIMMAX"), "420.0,297.0");
}

TEST(VariableSetters, TakeOneOfTheChoices) {
    Variables variables;
    const VariableRow* weights = Variables::find(u"CELWEIGHT");
    ASSERT_NE(weights, nullptr);
    for (int weight = -5; weight <= 300; ++weight)
        EXPECT_EQ(variables.setInt(u"CELWEIGHT", weight),
                  std::ranges::count(weights->limits.choices, weight) == 1)
            << weight;
    EXPECT_EQ(shown(variables, u"CELWEIGHT"), "211");
    for (const int mode : {0, 4, 32, 36, 64, 68, 96, 100})
        EXPECT_TRUE(variables.setInt(u"PDMODE", mode)) << mode;
    for (const int mode : {-1, 5, 31, 37, 63, 69, 95, 101, INT_MAX, INT_MIN})
        EXPECT_FALSE(variables.setInt(u"PDMODE", mode)) << mode;
}

TEST(VariableSetters, KeepToTheBounds) {
    Variables variables;
    EXPECT_TRUE(variables.setInt(u"CMDECHO", 0));
    EXPECT_FALSE(variables.setInt(u"CMDECHO", 2));
    EXPECT_FALSE(variables.setInt(u"CMDECHO", -1));
    EXPECT_TRUE(variables.setInt(u"OSMODE", 16384 + 37));
    EXPECT_FALSE(variables.setInt(u"OSMODE", 32768));
    EXPECT_TRUE(variables.setReal(u"FILLETRAD", 0));
    EXPECT_FALSE(variables.setReal(u"FILLETRAD", -1e-300));
    EXPECT_TRUE(variables.setReal(u"LTSCALE", 1e-300));
    EXPECT_FALSE(variables.setReal(u"LTSCALE", 0));
    EXPECT_FALSE(variables.setText(u"SNAPUNIT", u"0,5"));
    EXPECT_FALSE(variables.setText(u"SNAPUNIT", u"5,-5"));
    EXPECT_TRUE(variables.setText(u"SNAPUNIT", u"0.5,5"));
    EXPECT_EQ(shown(variables, u"SNAPUNIT"), "0.5,5.0");
    EXPECT_EQ(shown(variables, u"CMDECHO"), "0");
    EXPECT_EQ(shown(variables, u"OSMODE"), "16421");
}

// --- Texts ---

TEST(VariableTexts, NumbersHaveNoExponent) {
    struct Case {
        double number;
        const char* text;
    };
    const Case cases[] = {
        {0.0, "0.0"},
        {-0.0, "0.0"},
        {1.0, "1.0"},
        {-2.5, "-2.5"},
        {0.1 + 0.2, "0.3"},
        {0.5, "0.5"},
        {1.0 / 3, "0.33333333"},
        {2.0 / 3, "0.66666667"},
        {1e-8, "0.00000001"},
        {1e-9, "0.0"},
        {-1e-9, "0.0"},
        {-1e-300, "0.0"},
        {1e6, "1000000.0"},
        {100.0, "100.0"},
        {1e22, "10000000000000000000000.0"},
        {2461000.12345678, "2461000.12345678"},
        {20260131.235959125, "20260131.23595912"},
        {0.999999999, "1.0"},
    };
    Variables variables;
    for (const Case& c : cases) {
        EXPECT_TRUE(variables.setReal(u"USERR1", c.number));
        EXPECT_EQ(shown(variables, u"USERR1"), c.text);
        EXPECT_EQ(variables.real(u"USERR1"), c.number);
    }
    const double greatest = std::numeric_limits<double>::max();
    for (const double number : {greatest, -greatest}) {
        EXPECT_TRUE(variables.setReal(u"USERR1", number));
        const std::string text = shown(variables, u"USERR1");
        EXPECT_EQ(text.size(), number > 0 ? 311U : 312U);
        EXPECT_EQ(std::stod(text), number);
    }
    EXPECT_TRUE(variables.storePoint(u"LASTPOINT", {-greatest, -greatest, -greatest}));
    EXPECT_EQ(shown(variables, u"LASTPOINT").size(), 3 * 312U + 2);
}

TEST(VariableTexts, IntegersReachBothEnds) {
    Variables variables;
    for (const int number : {INT_MIN, -1, 0, 1, INT_MAX}) {
        EXPECT_TRUE(variables.setInt(u"USERI5", number));
        EXPECT_EQ(shown(variables, u"USERI5"), std::to_string(number));
        EXPECT_EQ(variables.integer(u"USERI5"), number);
        EXPECT_TRUE(variables.setInt(u"USERR5", number));
        EXPECT_EQ(shown(variables, u"USERR5"), std::to_string(number) + ".0");
    }
}

TEST(VariableTexts, DoNotFollowTheLocale) {
    const vlisp::test::CommaLocale foreign;
    Variables variables;
    EXPECT_TRUE(variables.setInt(u"USERI1", 1234567));
    EXPECT_TRUE(variables.setReal(u"USERR1", 1234567.5));
    EXPECT_TRUE(variables.setText(u"LASTPOINT", u"1234.5,2.25"));
    EXPECT_EQ(shown(variables, u"USERI1"), "1234567");
    EXPECT_EQ(shown(variables, u"USERR1"), "1234567.5");
    EXPECT_EQ(shown(variables, u"LASTPOINT"), "1234.5,2.25,0.0");
}

TEST(VariableTexts, AreKeptUnitByUnit) {
    Variables variables;
    const std::u16string text = u" a\\b 'c'; (d) \u00e9\u4e2d\U0001F600 ";
    EXPECT_TRUE(variables.setText(u"USERS2", text));
    EXPECT_EQ(variables.asText(u"USERS2"), u'"' + text + u'"');
    EXPECT_EQ(variables.text(u"USERS2"), text);
    EXPECT_TRUE(variables.setText(u"USERS2", u""));
    EXPECT_EQ(variables.asText(u"USERS2"), u"\"\"");
}

TEST(VariableTexts, MayHave255Units) {
    Variables variables;
    const std::u16string longest(255, u'x');
    EXPECT_TRUE(variables.setText(u"USERS1", longest));
    EXPECT_FALSE(variables.setText(u"USERS1", longest + u"y"));
    EXPECT_FALSE(variables.storeText(u"USERS1", longest + u"y"));
    EXPECT_FALSE(variables.setText(u"USERS1", std::u16string(1000000, u'y')));
    EXPECT_EQ(variables.text(u"USERS1"), longest);
    // A path that the host stores may be longer, and still fits into what GETVAR reads.
    EXPECT_TRUE(variables.storeText(u"DWGPREFIX", std::u16string(30000, u'p')));
    EXPECT_FALSE(variables.storeText(u"DWGPREFIX", std::u16string(30001, u'q')));
    EXPECT_EQ(variables.asText(u"DWGPREFIX"), u'"' + std::u16string(30000, u'p') + u'"');
}

TEST(VariableTexts, RefuseQuotesAndControlCharacters) {
    Variables variables;
    EXPECT_TRUE(variables.setText(u"USERS1", u"before"));
    EXPECT_TRUE(variables.storeText(u"DWGNAME", u"before"));
    int refused = 0;
    for (unsigned unit = 0; unit < 0x100; ++unit) {
        const bool hostile = unit < 0x20 || unit == '"' || (unit >= 0x7f && unit < 0xa0);
        if (!hostile) continue;
        ++refused;
        const auto bad = static_cast<char16_t>(unit);
        const std::u16string alone(1, bad);
        EXPECT_FALSE(variables.setText(u"USERS1", alone)) << unit;
        EXPECT_FALSE(variables.setText(u"USERS1", alone + u"abc")) << unit;
        EXPECT_FALSE(variables.setText(u"USERS1", u"abc" + alone + u"def")) << unit;
        EXPECT_FALSE(variables.setText(u"USERS1", u"abc" + alone)) << unit;
        EXPECT_FALSE(variables.setText(u"LASTPOINT", u"1,2" + alone)) << unit;
        EXPECT_FALSE(variables.storeText(u"DWGNAME", u"abc" + alone)) << unit;
    }
    EXPECT_EQ(refused, 66);
    EXPECT_EQ(variables.text(u"USERS1"), u"before");
    EXPECT_EQ(variables.text(u"DWGNAME"), u"before");
    EXPECT_TRUE(variables.setText(u"USERS1", u"\u00a0~!"));
}

TEST(VariableTexts, ColoursAreNamesOrNumbers) {
    Variables variables;
    const std::pair<std::u16string_view, std::u16string_view> good[] = {
        {u"BYBLOCK", u"BYBLOCK"}, {u"bylayer", u"BYLAYER"}, {u"ByBlock", u"BYBLOCK"}, {u"1", u"1"},
        {u"70", u"70"},           {u"255", u"255"},
    };
    for (const auto& [given, kept] : good) {
        EXPECT_TRUE(variables.setText(u"CECOLOR", given)) << narrow(given);
        EXPECT_EQ(variables.text(u"CECOLOR"), kept);
    }
    for (const std::u16string_view bad :
         {u"", u"0", u"256", u"999", u"-1", u"+1", u"1.0", u"01", u"1 ", u" 1", u"red", u"BYLAYERS",
          u"1000000000000000000001", u"\u0661", u"1,2"})
        EXPECT_FALSE(variables.setText(u"CECOLOR", bad)) << narrow(bad);
    EXPECT_FALSE(variables.setInt(u"CECOLOR", 1));
    EXPECT_EQ(variables.text(u"CECOLOR"), u"255");
}

TEST(VariableTexts, NamesAreNotEmpty) {
    for (const std::u16string_view name : {u"CLAYER", u"CELTYPE", u"TEXTSTYLE"}) {
        Variables variables;
        const std::u16string before = variables.text(name);
        EXPECT_FALSE(variables.setText(name, u"")) << narrow(name);
        EXPECT_EQ(variables.text(name), before);
        EXPECT_TRUE(variables.setText(name, u"Walls 2")) << narrow(name);
        EXPECT_EQ(variables.text(name), u"Walls 2");
    }
}

// --- Points ---

TEST(VariablePoints, AreReadFromTheirCoordinates) {
    struct Case {
        std::u16string_view text;
        VariablePoint point;
    };
    constexpr Case cases[] = {
        {u"10,20", {10, 20, 0}},       {u"10.0,20.0", {10, 20, 0}},
        {u"1,2,3", {1, 2, 3}},         {u"-1.5,.5,-0.25", {-1.5, 0.5, -0.25}},
        {u"1e3,2E-1", {1000, 0.2, 0}}, {u" 1 , 2 , 3 ", {1, 2, 3}},
    };
    for (const Case& c : cases) {
        Variables variables;
        EXPECT_TRUE(variables.setText(u"LASTPOINT", c.text)) << narrow(c.text);
        EXPECT_EQ(variables.point(u"LASTPOINT"), c.point) << narrow(c.text);
    }
}

TEST(VariablePoints, AreRefusedIfAnythingElseIsThere) {
    Variables variables;
    EXPECT_TRUE(variables.setText(u"LASTPOINT", u"7,8,9"));
    const std::u16string endless(127, u'1');
    const std::u16string bad[] = {u"",
                                  u"1",
                                  u",",
                                  u"1,",
                                  u",1",
                                  u"1,,2",
                                  u"1,2,",
                                  u"1,2,3,",
                                  u"1,2,3,4",
                                  u"1 2",
                                  u"1,2 3",
                                  u"(1 2)",
                                  u"1;2",
                                  u"a,b",
                                  u"1,2x",
                                  u"0x10,2",
                                  u"inf,2",
                                  u"1,nan",
                                  u"1,-infinity",
                                  u"1e999,2",
                                  u"1,2,1e999",
                                  u"--1,2",
                                  u"1.2.3,4",
                                  u"1,2\t",
                                  u"\uff11,2",
                                  u"\u0131,2",
                                  std::u16string(u"1,2\0", 4),
                                  endless + u"," + endless + u",1",
                                  std::u16string(255, u','),
                                  std::u16string(1000000, u'1')};
    for (const std::u16string& text : bad)
        EXPECT_FALSE(variables.setText(u"LASTPOINT", text)) << narrow(text.substr(0, 20));
    EXPECT_EQ(shown(variables, u"LASTPOINT"), "7.0,8.0,9.0");
    EXPECT_TRUE(variables.setText(u"LASTPOINT", endless + u"," + endless)) << "255 units";
}

TEST(VariablePoints, OfThePlaneDropTheThirdCoordinate) {
    Variables variables;
    EXPECT_TRUE(variables.setText(u"LIMMAX", u"100,50,7"));
    EXPECT_EQ(shown(variables, u"LIMMAX"), "100.0,50.0");
    EXPECT_EQ(variables.point(u"LIMMAX"), (VariablePoint{100, 50, 0}));
    EXPECT_TRUE(variables.storePoint(u"VIEWCTR", {1, 2, 3}));
    EXPECT_EQ(variables.point(u"VIEWCTR"), (VariablePoint{1, 2, 0}));
    EXPECT_EQ(shown(variables, u"VIEWCTR"), "1.0,2.0");
}

// --- Providers ---

TEST(VariableProviders, AreAskedEachTime) {
    Variables variables;
    int asked = 0;
    EXPECT_TRUE(variables.provide(u"millisecs", [&] { return VariableValue(++asked); }));
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(shown(variables, u"MILLISECS"), "1");
    EXPECT_EQ(variables.integer(u"MILLISECS"), 2);
    EXPECT_FALSE(variables.setInt(u"MILLISECS", 99));
    EXPECT_EQ(shown(variables, u"MILLISECS"), "3");
}

TEST(VariableProviders, GiveEveryType) {
    Variables variables;
    variables.provide(u"DATE", [] { return VariableValue(2461000.25); });
    variables.provide(u"CDATE", [] { return VariableValue(20260131); });
    variables.provide(u"DWGNAME", [] { return VariableValue(u"house.dxf"); });
    variables.provide(u"CMDACTIVE", [] { return VariableValue(1); });
    variables.provide(u"EXTMIN", [] { return VariableValue(VariablePoint{1, 2, 3}); });
    variables.provide(u"SCREENSIZE", [] { return VariableValue(VariablePoint{800, 600, 5}); });
    EXPECT_EQ(shown(variables, u"DATE"), "2461000.25");
    EXPECT_EQ(shown(variables, u"CDATE"), "20260131.0");
    EXPECT_EQ(variables.real(u"CDATE"), 20260131.0);
    EXPECT_EQ(shown(variables, u"DWGNAME"), "\"house.dxf\"");
    EXPECT_EQ(shown(variables, u"CMDACTIVE"), "1");
    EXPECT_EQ(shown(variables, u"EXTMIN"), "1.0,2.0,3.0");
    EXPECT_EQ(shown(variables, u"SCREENSIZE"), "800.0,600.0");
    EXPECT_EQ(variables.text(u"DWGNAME"), u"house.dxf");
    EXPECT_EQ(variables.point(u"EXTMIN"), (VariablePoint{1, 2, 3}));
}

TEST(VariableProviders, MayReadOtherVariables) {
    Variables variables;
    EXPECT_TRUE(variables.provide(u"CMDNAMES", [&] {
        return VariableValue(variables.integer(u"CMDACTIVE") != 0 ? u"LINE" : u"");
    }));
    EXPECT_EQ(shown(variables, u"CMDNAMES"), "\"\"");
    EXPECT_TRUE(variables.storeInt(u"CMDACTIVE", 1));
    EXPECT_EQ(shown(variables, u"CMDNAMES"), "\"LINE\"");
}

TEST(VariableProviders, BelongToReadOnlyVariables) {
    for (const VariableRow& row : Variables::rows()) {
        Variables variables;
        EXPECT_EQ(variables.provide(wide(row.name), [] { return VariableValue(0); }),
                  !isSettable(row))
            << row.name;
    }
}

TEST(VariableProviders, GiveWayToTheStoredValueIfTheyAreWrong) {
    Variables variables;
    EXPECT_TRUE(variables.storeInt(u"CMDACTIVE", 4));
    EXPECT_TRUE(variables.storeReal(u"DATE", 2.5));
    const VariableValue wrongForInteger[] = {1.0, 128, -1, u"1", VariablePoint{}};
    for (const VariableValue& wrong : wrongForInteger) {
        variables.provide(u"CMDACTIVE", [&] { return wrong; });
        EXPECT_EQ(shown(variables, u"CMDACTIVE"), "4");
        EXPECT_EQ(variables.integer(u"CMDACTIVE"), 4);
    }
    const VariableValue wrongForReal[] = {notANumber, infinity, -1.0, u"1.0", VariablePoint{}};
    for (const VariableValue& wrong : wrongForReal) {
        variables.provide(u"DATE", [&] { return wrong; });
        EXPECT_EQ(shown(variables, u"DATE"), "2.5");
    }
    variables.provide(u"DATE", {});
    variables.provide(u"CMDACTIVE", {});
    EXPECT_TRUE(variables.storeInt(u"CMDACTIVE", 5));
    EXPECT_EQ(shown(variables, u"CMDACTIVE"), "5");
}

TEST(VariableProviders, HaveTheirTextsCleaned) {
    Variables variables;
    std::u16string text;
    variables.provide(u"DWGNAME", [&] { return VariableValue(text); });
    text = std::u16string(u"a\"b\nc\0d\u0085", 8);
    EXPECT_EQ(variables.asText(u"DWGNAME"), u"\"a?b?c?d?\"");
    text = std::u16string(50000, u'x');
    EXPECT_EQ(variables.text(u"DWGNAME"), std::u16string(30000, u'x'));
    // Never half of a pair at the cut.
    text = std::u16string(29999, u'x') + u"\U0001F600" + u"y";
    EXPECT_EQ(variables.text(u"DWGNAME"), std::u16string(29999, u'x'));
    text = std::u16string(29998, u'x') + u"\U0001F600" + u"y";
    EXPECT_EQ(variables.text(u"DWGNAME"), std::u16string(29998, u'x') + u"\U0001F600");
}

TEST(VariableProviders, StayWhenTheDrawingGoes) {
    Variables variables;
    variables.provide(u"EXTMAX", [] { return VariableValue(VariablePoint{4, 5, 6}); });
    variables.resetDrawing();
    EXPECT_EQ(shown(variables, u"EXTMAX"), "4.0,5.0,6.0");
}

// --- Guards ---

TEST(VariableGuards, RefuseWhatDoesNotExist) {
    Variables variables;
    EXPECT_TRUE(variables.guard(u"clayer", [](const VariableValue& value) {
        return std::get<std::u16string>(value) == u"Walls";
    }));
    EXPECT_FALSE(variables.setText(u"CLAYER", u"Doors"));
    EXPECT_EQ(variables.text(u"CLAYER"), u"0");
    EXPECT_TRUE(variables.setText(u"CLAYER", u"Walls"));
    EXPECT_EQ(variables.text(u"CLAYER"), u"Walls");
    EXPECT_TRUE(variables.storeText(u"CLAYER", u"Doors")) << "the host knows what it does";
    EXPECT_EQ(variables.text(u"CLAYER"), u"Doors");
    EXPECT_TRUE(variables.guard(u"CLAYER", {}));
    EXPECT_TRUE(variables.setText(u"CLAYER", u"Roof"));
}

TEST(VariableGuards, SeeWhatWouldBeKept) {
    Variables variables;
    std::vector<VariableValue> seen;
    const auto note = [&](const VariableValue& value) {
        seen.push_back(value);
        return true;
    };
    for (const std::u16string_view name : {u"CECOLOR", u"TEXTSIZE", u"LIMMAX", u"PICKBOX", u"DATE"})
        EXPECT_TRUE(variables.guard(name, note)) << narrow(name);
    EXPECT_TRUE(variables.setText(u"CECOLOR", u"byblock"));
    EXPECT_TRUE(variables.setInt(u"TEXTSIZE", 3));
    EXPECT_TRUE(variables.setText(u"LIMMAX", u"1,2,3"));
    // Never asked: outside the limits, of another type, read-only.
    EXPECT_FALSE(variables.setInt(u"PICKBOX", 51));
    EXPECT_FALSE(variables.setReal(u"PICKBOX", 5));
    EXPECT_FALSE(variables.setReal(u"DATE", 5));
    const std::vector<VariableValue> wanted = {u"BYBLOCK", 3.0, VariablePoint{1, 2, 0}};
    EXPECT_EQ(seen, wanted);
}

}  // namespace
}  // namespace vlisp::refhost
