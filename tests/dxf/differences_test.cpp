// Tests of refhost/dxf/differences.h.
#include "refhost/dxf/differences.h"
#include "tests/dxf/dxf_text.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace vlisp::refhost::dxf {
namespace {

using namespace test;
using Lines = std::vector<std::string>;

std::string nameOf(ChangeKind kind) {
    switch (kind) {
    case ChangeKind::changed: return "changed";
    case ChangeKind::added: return "added";
    case ChangeKind::erased: return "erased";
    case ChangeKind::moved: return "moved";
    }
    return "?";
}

// "ENTITIES CIRCLE 2F changed: 40 2.5>5.0; +62 3"
std::string shown(const Difference& difference) {
    const RecordChange& record = difference.record;
    std::string line = record.section + ' ' + record.type;
    if (!record.handle.empty()) line += ' ' + record.handle;
    line += ' ' + nameOf(record.kind);
    EXPECT_EQ(record.before.has_value(), record.kind != ChangeKind::added);
    EXPECT_EQ(record.after.has_value(), record.kind != ChangeKind::erased);
    const char* separator = ": ";
    for (const PairChange& pair : difference.pairs) {
        EXPECT_TRUE(pair.before || pair.after);
        line += std::exchange(separator, "; ");
        if (!pair.before) line += '+';
        if (!pair.after) line += '-';
        line += std::to_string(pair.code) + ' ' + pair.before.value_or("");
        if (pair.before && pair.after) line += '>';
        line += pair.after.value_or("");
    }
    return line;
}

Lines shown(const std::vector<Difference>& found) {
    Lines lines;
    for (const Difference& difference : found) lines.push_back(shown(difference));
    return lines;
}

class Counter final : public DifferenceSink {
  public:
    void begin(const RecordChange&) override { ++records; }
    void pair(const PairChange&) override { ++pairs; }
    void end() override { ++ends; }
    std::size_t records = 0;
    std::size_t pairs = 0;
    std::size_t ends = 0;
};

DifferenceCounts countsOf(std::string_view before, std::string_view after) {
    const Structure old = structureOf(before, OnDamage::recover);
    const Structure now = structureOf(after, OnDamage::recover);
    Counter counter;
    const DifferenceCounts counts = compare({before, old}, {after, now}, counter);
    EXPECT_EQ(counter.records, counts.changed + counts.added + counts.erased + counts.moved);
    EXPECT_EQ(counter.ends, counter.records);
    return counts;
}

// --- What is told -----------------------------------------------------------------------------

struct Case {
    const char* what;
    std::string before;
    std::string after;
    Lines told;
};

// So that failures tell which case it is.
void check(const Case& c, const Look& look, const Look& otherLook) {
    SCOPED_TRACE(c.what);
    const std::string before = dxf(c.before, look);
    const std::string after = dxf(c.after, otherLook);
    const std::vector<Difference> found = differences(before, after);
    EXPECT_EQ(shown(found), c.told);
    const DifferenceCounts counts = countsOf(before, after);
    EXPECT_EQ(counts.samePairs(), c.told.empty());
    EXPECT_EQ(counts.sameBytes, before == after);
}

const char* const abc = "0 LINE|5 A|8 0|10 1.0|20 2.0|0 CIRCLE|5 B|8 0|10 1.0|20 2.0|40 2.5|"
                        "0 TEXT|5 C|8 0|1 HOLES";

std::vector<Case> entityCases() {
    return {
        {"the same", abc, abc, {}},
        {"a value",
         abc,
         "0 LINE|5 A|8 0|10 1.0|20 2.0|0 CIRCLE|5 B|8 0|10 1.0|20 2.0|40 5.0|0 TEXT|5 C|8 0|1 "
         "HOLES",
         {"ENTITIES CIRCLE B changed: 40 2.5>5.0"}},
        {"a pair comes in",
         abc,
         "0 LINE|5 A|8 0|10 1.0|20 2.0|0 CIRCLE|5 B|8 0|62 1|10 1.0|20 2.0|40 2.5|"
         "0 TEXT|5 C|8 0|1 HOLES",
         {"ENTITIES CIRCLE B changed: +62 1"}},
        {"a pair goes and one changes",
         abc,
         "0 LINE|5 A|10 1.5|20 2.0|0 CIRCLE|5 B|8 0|10 1.0|20 2.0|40 2.5|0 TEXT|5 C|8 0|1 HOLES",
         {"ENTITIES LINE A changed: -8 0; 10 1.0>1.5"}},
        {"one is added",
         abc,
         std::string(abc) + "|0 POINT|5 D|8 0|10 1.0|20 2.0",
         {"ENTITIES POINT D added: +8 0; +10 1.0; +20 2.0"}},
        {"one is erased from the middle",
         abc,
         "0 LINE|5 A|8 0|10 1.0|20 2.0|0 TEXT|5 C|8 0|1 HOLES",
         {"ENTITIES CIRCLE B erased: -8 0; -10 1.0; -20 2.0; -40 2.5"}},
        {"erased ones are told where they stood",
         "0 LINE|5 A|8 0|0 LINE|5 B|8 0|0 LINE|5 C|8 0",
         "0 LINE|5 A|8 1|0 LINE|5 C|8 1",
         {"ENTITIES LINE A changed: 8 0>1", "ENTITIES LINE B erased: -8 0",
          "ENTITIES LINE C changed: 8 0>1"}},
        {"another type with the same handle",
         "0 LINE|5 A|8 0",
         "0 POINT|5 A|8 0",
         {"ENTITIES LINE A erased: -8 0", "ENTITIES POINT A added: +8 0"}},
        {"two handles are two objects",
         "0 LINE|5 A|8 0",
         "0 LINE|5 B|8 0",
         {"ENTITIES LINE A erased: -8 0", "ENTITIES LINE B added: +8 0"}},
        {"a handle is a number",
         "0 LINE|5 a0|8 0",
         "0 LINE|5 00A0|8 0",
         {"ENTITIES LINE A0 changed: 5 a0>00A0"}},
        {"handles come",
         "0 LINE|8 0|10 1.0|0 POINT|8 0|10 2.0",
         "0 LINE|5 A|8 0|10 1.0|0 POINT|5 B|8 0|10 3.0",
         {"ENTITIES LINE A changed: +5 A", "ENTITIES POINT B changed: +5 B; 10 2.0>3.0"}},
        {"one moves behind others",
         "0 LINE|5 A|8 0|0 LINE|5 B|8 0|0 LINE|5 C|8 0",
         "0 LINE|5 B|8 0|0 LINE|5 C|8 0|0 LINE|5 A|8 0",
         {"ENTITIES LINE A moved"}},
        {"one moves and changes",
         "0 LINE|5 A|8 0|0 LINE|5 B|8 0|0 LINE|5 C|8 0",
         "0 LINE|5 C|8 1|0 LINE|5 A|8 0|0 LINE|5 B|8 0",
         {"ENTITIES LINE C moved: 8 0>1"}},
        {"the same handle twice",
         "0 LINE|5 A|8 0|0 LINE|5 A|8 1",
         "0 LINE|5 A|8 0|0 LINE|5 A|8 2",
         {"ENTITIES LINE A changed: 8 1>2"}},
        {"without handles: in order",
         "0 LINE|8 0|0 POINT|8 0|0 LINE|8 2",
         "0 LINE|8 1|0 POINT|8 0|0 LINE|8 3",
         {"ENTITIES LINE changed: 8 0>1", "ENTITIES LINE changed: 8 2>3"}},
        {"without handles: one more among equal ones",
         "0 LINE|8 0|0 LINE|8 0|0 POINT|8 0",
         "0 LINE|8 0|0 LINE|8 0|0 LINE|8 0|0 POINT|8 0",
         {"ENTITIES LINE added: +8 0"}},
        {"without handles: another type",
         "0 LINE|8 0|0 POINT|8 1",
         "0 LINE|8 0|0 CIRCLE|8 1",
         {"ENTITIES POINT erased: -8 1", "ENTITIES CIRCLE added: +8 1"}},
        {"vertices are records of their own",
         "0 POLYLINE|8 0|66 1|0 VERTEX|8 0|10 1.0|0 VERTEX|8 0|10 2.0|0 SEQEND|8 0",
         "0 POLYLINE|8 0|66 1|0 VERTEX|8 0|10 1.5|0 VERTEX|8 0|10 2.0|0 VERTEX|8 0|10 3.0|0 "
         "SEQEND|8 0",
         {"ENTITIES VERTEX changed: 10 1.0>1.5", "ENTITIES VERTEX added: +8 0; +10 3.0"}},
        {"a vertex comes into a row of pairs",
         "0 LWPOLYLINE|5 A|90 2|10 1.0|20 1.0|10 9.0|20 9.0",
         "0 LWPOLYLINE|5 A|90 3|10 1.0|20 1.0|10 4.0|20 5.0|10 9.0|20 9.0",
         {"ENTITIES LWPOLYLINE A changed: 90 2>3; +10 4.0; +20 5.0"}},
        {"a row of pairs shifts",
         "0 LWPOLYLINE|5 A|90 2|10 1.0|20 0.0|10 2.0|20 0.0",
         "0 LWPOLYLINE|5 A|90 2|10 2.0|20 0.0|10 3.0|20 0.0",
         {"ENTITIES LWPOLYLINE A changed: 10 1.0>2.0; 10 2.0>3.0"}},
        {"comments show",
         "0 LINE|5 A|8 0",
         "0 LINE|5 A|999 by hand|8 0",
         {"ENTITIES LINE A changed: +999 by hand"}},
        {"blanks in texts show",
         "0 TEXT|5 A|1 a",
         "0 TEXT|5 A|1 a ",
         {"ENTITIES TEXT A changed: 1 a>a "}},
    };
}

TEST(Differences, AreToldRecordByRecord) {
    for (Case c : entityCases()) {
        c.before = entitiesOnly(c.before);
        c.after = entitiesOnly(c.after);
        check(c, plain, plain);
        check(c, binary, shortBinary);
    }
}

TEST(Differences, AreFoundBetweenTheForms) {
    for (Case c : entityCases()) {
        // Comments need no number; the handles' spelling is a text in both forms.
        c.before = entitiesOnly(c.before);
        c.after = entitiesOnly(c.after);
        check(c, padded, binary);
        check(c, shortBinary, windows);
    }
}

TEST(Differences, AreFoundInEverySection) {
    const std::string old = drawingOf("0 LINE|5 30|8 0");
    const Case cases[] = {
        {"a variable",
         old,
         replaced(old, "9 $LTSCALE|40 1.0", "9 $LTSCALE|40 2.5"),
         {"HEADER $LTSCALE changed: 40 1.0>2.5"}},
        {"a variable comes in",
         old,
         replaced(old, "|9 $CLAYER", "|9 $ANGBASE|50 0.0|9 $CLAYER"),
         {"HEADER $ANGBASE added: +50 0.0"}},
        {"a variable goes",
         old,
         replaced(old, "|9 $CLAYER|8 0", ""),
         {"HEADER $CLAYER erased: -8 0"}},
        {"variables change places",
         old,
         replaced(old, "9 $CLAYER|8 0|9 $LTSCALE|40 1.0", "9 $LTSCALE|40 1.0|9 $CLAYER|8 0"),
         {"HEADER $LTSCALE moved"}},
        {"a layer",
         old,
         replaced(old, "2 WALLS|70 0|62 3", "2 WALLS|70 1|62 3"),
         {"TABLES LAYER 11 changed: 70 0>1"}},
        {"a table grows",
         old,
         replaced(old, "|0 ENDTAB|0 TABLE|2 APPID", "|0 LAYER|5 40|2 NEW|0 ENDTAB|0 TABLE|2 APPID"),
         {"TABLES LAYER 40 added: +2 NEW"}},
        {"the block's base",
         old,
         replaced(old, "|2 *Model_Space|70 0|", "|2 *Model_Space|70 1|"),
         {"BLOCKS BLOCK 20 changed: 70 0>1"}},
        {"a section comes in",
         old,
         replaced(old, "0 SECTION|2 ENTITIES", "0 SECTION|2 OBJECTS|0 ENDSEC|0 SECTION|2 ENTITIES"),
         {"OBJECTS SECTION added: +2 OBJECTS", "OBJECTS ENDSEC added"}},
        {"a section goes",
         replaced(old, "0 SECTION|2 ENTITIES", "0 SECTION|2 OBJECTS|0 ENDSEC|0 SECTION|2 ENTITIES"),
         old,
         {"OBJECTS SECTION erased: -2 OBJECTS", "OBJECTS ENDSEC erased"}},
    };
    for (const Case& c : cases) {
        check(c, plain, plain);
        check(c, binary, plain);
    }
}

TEST(Differences, OfCommentsBeforeTheFirstSectionBelongToNone) {
    const std::string old = drawingOf("0 LINE|5 30|8 0");
    check({"come", old, "999 made by hand|" + old, {" 999 added: +999 made by hand"}}, plain,
          plain);
    check({"go", "999 made by hand|" + old, old, {" 999 erased: -999 made by hand"}}, plain, plain);
    check({"change", "999 one|" + old, "999 two|" + old, {" 999 changed: 999 one>two"}}, plain,
          windows);
}

TEST(Differences, OfSectionsThatMovedAreTheirPlaces) {
    const std::string objects = "0 SECTION|2 OBJECTS|0 DICTIONARY|5 C|0 ENDSEC|";
    const std::string entities = "0 SECTION|2 ENTITIES|0 LINE|5 A|8 0|0 LINE|5 B|8 0|0 ENDSEC|";
    const std::string blocks = "0 SECTION|2 BLOCKS|0 ENDSEC|";
    check({"moved",
           objects + blocks + entities + "0 EOF",
           blocks + entities + objects + "0 EOF",
           {"OBJECTS SECTION moved"}},
          plain, plain);
    check({"twice the same name",
           objects + objects + "0 EOF",
           objects + replaced(objects, "5 C", "5 D") + "0 EOF",
           {"OBJECTS DICTIONARY C erased", "OBJECTS DICTIONARY D added"}},
          plain, plain);
}

TEST(Differences, OfRecordsWithoutHandlesFollowNamesInTables) {
    const std::string old = drawingOf("0 LINE|8 0", "AC1009");
    const std::string layers = "0 LAYER|2 0|70 0|62 7|6 CONTINUOUS|0 LAYER|2 WALLS|70 0|62 3";
    check({"one comes before others that change",
           old,
           replaced(old, layers,
                    "0 LAYER|2 DOORS|70 0|62 1|6 CONTINUOUS|0 LAYER|2 0|70 0|62 8|6 CONTINUOUS"
                    "|0 LAYER|2 WALLS|70 0|62 4"),
           {"TABLES LAYER added: +2 DOORS; +70 0; +62 1; +6 CONTINUOUS",
            "TABLES LAYER changed: 62 7>8", "TABLES LAYER changed: 62 3>4"}},
          plain, plain);
    check({"a name changes",
           old,
           replaced(old, "2 WALLS|70 0", "2 Walls|70 0"),
           {"TABLES LAYER changed: 2 WALLS>Walls"}},
          plain, plain);
}

TEST(Differences, KnowTheHandleOfADimensionStyle) {
    const std::string old = "0 SECTION|2 TABLES|0 TABLE|2 DIMSTYLE|5 A|70 1|0 DIMSTYLE|105 27"
                            "|2 STANDARD|5 |41 0.18|0 ENDTAB|0 ENDSEC|0 EOF";
    check({"a value",
           old,
           replaced(old, "41 0.18", "41 2.5"),
           {"TABLES DIMSTYLE 27 changed: 41 0.18>2.5"}},
          plain, plain);
    check({"erased",
           old,
           replaced(old, "|0 DIMSTYLE|105 27|2 STANDARD|5 |41 0.18", ""),
           {"TABLES DIMSTYLE 27 erased: -2 STANDARD; -5 ; -41 0.18"}},
          plain, plain);
}

TEST(Differences, DoNotTakeVariablesForRecordsOfTheSameName) {
    const std::string old = "0 SECTION|2 HEADER|9 EOF|70 1|9 ENDSEC|70 2|9 SECTION|2 X|0 ENDSEC"
                            "|0 SECTION|2 ENTITIES|0 LINE|5 A|8 0|0 ENDSEC|0 EOF";
    check({"a variable",
           old,
           replaced(old, "9 ENDSEC|70 2", "9 ENDSEC|70 3"),
           {"HEADER ENDSEC changed: 70 2>3"}},
          plain, plain);
    check({"behind them", old, replaced(old, "8 0", "8 1"), {"ENTITIES LINE A changed: 8 0>1"}},
          plain, plain);
}

// --- Values -----------------------------------------------------------------------------------

TEST(Differences, OfLineEndsAndPaddingAreNoPairs) {
    const std::string notation = drawingOf("0 LINE|5 A|8 0|10 1.0|20 2.0|11 3.0|21 4.0");
    const Look crowded{Form::text, "\r\n", false};
    for (const Look& look : {windows, crowded, binary, shortBinary}) {
        const std::string before = dxf(notation, plain);
        const std::string after = dxf(notation, look);
        EXPECT_EQ(shown(differences(before, after)), Lines());
        const DifferenceCounts counts = countsOf(before, after);
        EXPECT_FALSE(counts.sameBytes);
        EXPECT_TRUE(counts.samePairs());
    }
    EXPECT_TRUE(countsOf(dxf(notation), dxf(notation)).sameBytes);
    EXPECT_TRUE(countsOf(dxf(notation), dxf(notation) + "999\nbehind\n").samePairs());
}

TEST(Differences, BetweenTheFormsAreOfNumbersNotOfTheirSpelling) {
    struct Spelling {
        const char* text;
        const char* binaryNotation;
        Lines told;
    };
    const Spelling spellings[] = {
        {"40 2.50", "40 2.5", {}},
        {"40 +25e-1", "40 2.5", {}},
        {"40 -0.0", "40 0.0", {}},
        {"40 0.1",
         "40 0.10000000000000002",
         {"ENTITIES LINE A changed: 40 0.1>0.10000000000000002"}},
        {"70 007", "70 7", {}},
        {"160 9007199254740993", "160 9007199254740993", {}},
        {"160 9007199254740993",
         "160 9007199254740992",
         {"ENTITIES LINE A changed: 160 9007199254740993>9007199254740992"}},
        {"310 0aff", "310 0AFF", {}},
        {"310 0aff", "310 0AFE", {"ENTITIES LINE A changed: 310 0aff>0AFE"}},
        {"290 1", "290 1", {}},
        {"1 007", "1 7", {"ENTITIES LINE A changed: 1 007>7"}},
    };
    for (const Spelling& spelling : spellings) {
        const std::string text = entitiesOnly(std::string("0 LINE|5 A|") + spelling.text);
        const std::string other =
            entitiesOnly(std::string("0 LINE|5 A|") + spelling.binaryNotation);
        check({spelling.text, text, other, spelling.told}, plain, binary);
    }
}

TEST(Differences, InTheTextFormAreOfBytes) {
    const std::string old = entitiesOnly("0 LINE|5 A|40 2.5");
    check({"zeros",
           old,
           entitiesOnly("0 LINE|5 A|40 2.50"),
           {"ENTITIES LINE A changed: 40 2.5>2.50"}},
          plain, plain);
    check({"blanks",
           old,
           entitiesOnly("0 LINE|5 A|40   2.5"),
           {"ENTITIES LINE A changed: 40 2.5>  2.5"}},
          plain, plain);
}

TEST(Differences, AreReadableTexts) {
    const auto file = [](const std::string& page, const std::string& version,
                         const std::string& text) {
        return dxf("0 SECTION|2 HEADER|9 $ACADVER|1 " + version + "|9 $DWGCODEPAGE|3 " + page +
                   "|0 ENDSEC|0 SECTION|2 ENTITIES|0 TEXT|5 A|1 " + text + "|0 ENDSEC|0 EOF");
    };
    struct Texts {
        const char* page;
        const char* version;
        const char* before;
        const char* after;
        const char* told;
    };
    const Texts texts[] = {
        {"ANSI_1252", "AC1015", "caf\xe9", "th\xe9", "1 caf\u00e9>th\u00e9"},
        {"ANSI_1251", "AC1015", "\xc6", "\xd8", "1 \u0416>\u0428"},
        {"ANSI_1252", "AC1021", "caf\xc3\xa9", "caf\xe9", "1 caf\u00e9>caf\\xE9"},
        {"ANSI_932", "AC1015", "\x90\x7d", "\x81", "1 \u56f3>\\x81"},
        {"ANSI_1252", "AC1015", "\\U+00E9", "e", "1 \u00e9>e"},
        {"ANSI_1252", "AC1015", "\\U+00E9", "\xe9", "1 \\U+00E9>\\xE9"},
        {"ANSI_1252", "AC1021", "\xf0\x9f\x98\x80", "", "1 \U0001f600>"},
        {"ANSI_1252", "AC1021", "a^Jb", "a^ b", "1 a\nb>a^b"},
        {"ANSI_1252", "AC1021", "\\U+D83D", "x", "1 \\U+D83D>x"},
    };
    for (const Texts& t : texts)
        EXPECT_EQ(
            shown(differences(file(t.page, t.version, t.before), file(t.page, t.version, t.after))),
            Lines{std::string("ENTITIES TEXT A changed: ") + t.told});
}

TEST(Differences, TellWhereTheyAre) {
    const std::string before = dxf(entitiesOnly("0 LINE|5 A|8 0|0 LINE|5 B|8 0|0 LINE|5 C|8 0"));
    const std::string after = dxf(entitiesOnly("0 LINE|5 A|8 0|0 LINE|5 C|62 1|8 1"));
    const std::vector<Difference> found = differences(before, after);
    ASSERT_EQ(found.size(), 2U);
    const LineNumbers lines(before);
    const LineNumbers newLines(after);
    EXPECT_EQ(lines.of(found[0].record.before.value()), 11U);
    EXPECT_EQ(lines.of(found[1].record.before.value()), 17U);
    EXPECT_EQ(newLines.of(found[1].record.after.value()), 11U);
    ASSERT_EQ(found[1].pairs.size(), 2U);
    EXPECT_EQ(newLines.of(found[1].pairs[0].afterAt), 15U);
    EXPECT_EQ(lines.of(found[1].pairs[1].beforeAt), 21U);
    EXPECT_EQ(newLines.of(found[1].pairs[1].afterAt), 17U);
}

TEST(LineNumbers, AreThoseOfPlaces) {
    std::mt19937 random(7);
    std::string bytes;
    for (int i = 0; i < 20000; ++i) bytes += random() % 20 == 0 ? '\n' : 'x';
    bytes.replace(4094, 4, "\n\n\n\n");
    const LineNumbers lines(bytes);
    for (std::size_t at = 0; at <= bytes.size(); at += at > 4000 && at < 4200 ? 1 : 97)
        EXPECT_EQ("line " + std::to_string(lines.of(at)), placeOf(bytes, Form::text, at));
    EXPECT_EQ(lines.of(bytes.size() + 5), lines.of(bytes.size()));
    EXPECT_EQ(LineNumbers({}).of(0), 1U);
}

// --- Damage -----------------------------------------------------------------------------------

TEST(Differences, OfDamagedFilesAreNone) {
    const std::string good = dxf(entitiesOnly("0 LINE|5 A|8 0"));
    const std::string bad = "0\nSECTION\n2\nENTITIES\n0\nLINE\n40\nwide\n0\nENDSEC\n0\nEOF\n";
    for (const auto& [before, after] : {std::pair(good, bad), std::pair(bad, good)}) {
        try {
            static_cast<void>(differences(before, after));
            ADD_FAILURE() << "the damage was not seen";
        } catch (const Damage& damage) {
            EXPECT_EQ(placeOf(bad, Form::text, damage.offset), "line 8");
        }
    }
}

TEST(Differences, LeaveOutWhatIsDamagedInARecoveredFile) {
    const std::string good =
        dxf("0 SECTION|2 HEADER|9 $CLAYER|8 0|9 $LTSCALE|40 1.0|0 ENDSEC|"
            "0 SECTION|2 ENTITIES|0 LINE|5 A|8 W|0 LINE|5 B|8 W|0 LINE|5 C|8 W|0 ENDSEC|0 EOF");
    struct Damaged {
        const char* what;
        const char* from;
        const char* to;
        std::size_t told;
    };
    const Damaged cases[] = {
        {"a record", "5\nB\n8\nW\n", "5\nB\n8\nW\n40\nwide\n", 1},
        {"two lines in a row", "0\nLINE\n5\nA\n", "0\nLINE\n5\nA\nnothing\nmore\n", 1},
        {"no end of the section", "0\nENDSEC\n0\nEOF\n", "0\nEOF\n", 1},
        {"no end of the file", "0\nENDSEC\n0\nEOF\n", "", 2},
        {"between sections", "0\nSECTION\n2\nENTITIES\n",
         "0\nLINE\n8\n0\n0\nSECTION\n2\nENTITIES\n", 0},
        {"in the header", "40\n1.0\n", "40\nwide\n", 1},
    };
    for (const Damaged& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string bad = replaced(good, c.from, c.to);
        for (const DifferenceCounts& counts : {countsOf(bad, good), countsOf(good, bad)}) {
            EXPECT_FALSE(counts.sameBytes);
            EXPECT_EQ(counts.changed + counts.added + counts.erased, c.told);
            EXPECT_EQ(counts.moved, 0U);
        }
    }
    EXPECT_TRUE(countsOf("nothing", "at all").samePairs());
}

TEST(Differences, OfWhatWasRecoveredAreFoundWhereverTheDamageIs) {
    const std::string notation =
        drawingOf("0 LINE|5 30|8 0|10 1.0|310 0AFF|0 LINE|5 31|8 0|160 5|62 1");
    std::mt19937 random(3);
    for (const Look& look : {plain, windows, binary, shortBinary}) {
        const std::string good = dxf(notation, look);
        for (int i = 0; i < 1000; ++i) {
            std::string bad = good;
            for (std::size_t edits = 1 + random() % 3; edits > 0; --edits) {
                const std::size_t at = random() % bad.size();
                if (random() % 2 == 0) bad[at] = static_cast<char>(random() % 256);
                else bad.erase(at, 1 + random() % 20);
                if (bad.empty()) bad = "0";
            }
            SCOPED_TRACE("edit " + std::to_string(i));
            EXPECT_NO_THROW(EXPECT_EQ(countsOf(bad, good).sameBytes, bad == good));
            EXPECT_NO_THROW(countsOf(good, bad));
            if (HasFailure()) return;
        }
    }
}

// --- What is not told is the same -------------------------------------------------------------

using Entities = std::vector<std::vector<TestPair>>;

std::vector<TestPair> fileOf(const Entities& entities) {
    std::vector<TestPair> pairs = pairsOf("0 SECTION|2 ENTITIES");
    for (const auto& entity : entities) pairs.insert(pairs.end(), entity.begin(), entity.end());
    for (TestPair& pair : pairsOf("0 ENDSEC|0 EOF")) pairs.push_back(std::move(pair));
    return pairs;
}

std::vector<std::uint64_t> placesOf(const std::string& bytes) {
    const Opening opening = openingOf(bytes);
    PairReader reader(bytes, opening.form, opening.begin, bytes.size());
    std::vector<std::uint64_t> places;
    Pair pair;
    while (reader.next(pair)) places.push_back(pair.begin);
    return places;
}

// The pairs of a file that a report leaves over: of which it tells nothing. Those of records that
// moved come apart, by handle.
struct Untold {
    std::vector<TestPair> pairs;
    std::map<std::string, std::vector<TestPair>> moved;

    Untold(const std::vector<TestPair>& all, const std::string& bytes,
           const std::vector<Difference>& found, bool isOld) {
        std::map<std::uint64_t, std::string> movedRecords;
        std::set<std::uint64_t> wholeRecords;
        std::set<std::uint64_t> told;
        for (const Difference& difference : found) {
            const auto& place = isOld ? difference.record.before : difference.record.after;
            if (!place) continue;
            if (difference.record.kind == ChangeKind::moved)
                movedRecords[*place] = difference.record.handle;
            else if (difference.record.kind != ChangeKind::changed) wholeRecords.insert(*place);
            for (const PairChange& pair : difference.pairs) {
                if (!(isOld ? pair.before : pair.after)) continue;
                EXPECT_TRUE(told.insert(isOld ? pair.beforeAt : pair.afterAt).second);
            }
        }
        const std::vector<std::uint64_t> places = placesOf(bytes);
        EXPECT_EQ(places.size(), all.size());
        bool isWhole = false;
        std::vector<TestPair>* target = &pairs;
        for (std::size_t i = 0; i < std::min(places.size(), all.size()); ++i) {
            if (all[i].code == 0) {
                isWhole = wholeRecords.contains(places[i]);
                const auto record = movedRecords.find(places[i]);
                target = record == movedRecords.end() ? &pairs : &moved[record->second];
            }
            if (!isWhole && !told.contains(places[i])) target->push_back(all[i]);
        }
    }
};

class RandomEntities {
  public:
    RandomEntities(unsigned seed, bool handles) : random_(seed), handles_(handles) {}

    Entities some(std::size_t most) {
        Entities entities(below(most + 1));
        for (auto& entity : entities) entity = one();
        return entities;
    }

    Entities edited(Entities entities) {
        for (std::size_t edits = below(8); edits > 0; --edits) {
            if (entities.empty()) {
                entities.push_back(one());
                continue;
            }
            const auto at = entities.begin() + static_cast<std::ptrdiff_t>(below(entities.size()));
            switch (below(6)) {
            case 0: entities.insert(at, one()); break;
            case 1: entities.erase(at); break;
            case 2: std::iter_swap(at, entities.begin()); break;
            case 3: at->push_back(pair()); break;
            case 4:
                if (at->size() > 2) at->erase(at->begin() + 2);
                break;
            default:
                if (at->size() > 2) at->back() = pair();
            }
        }
        return entities;
    }

  private:
    std::size_t below(std::size_t end) { return random_() % end; }
    TestPair pair() {
        static const char* const pairs[] = {"8 0",    "8 1",    "62 1",   "62 2",  "40 1.5",
                                            "40 2.5", "10 0.0", "10 1.0", "1 text"};
        return pairsOf(pairs[below(std::size(pairs))]).front();
    }
    std::vector<TestPair> one() {
        static const char* const types[] = {"0 LINE", "0 POINT", "0 TEXT"};
        std::vector<TestPair> entity = pairsOf(types[below(std::size(types))]);
        if (handles_ && below(8) != 0) entity.push_back({5, std::to_string(++handle_)});
        else entity.push_back(pair());
        for (std::size_t more = below(4); more > 0; --more) entity.push_back(pair());
        return entity;
    }
    std::mt19937 random_;
    bool handles_;
    int handle_ = 0;
};

TEST(Differences, LeaveOverWhatIsTheSame) {
    for (unsigned seed = 1; seed <= 1500; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomEntities random(seed, seed % 3 != 0);
        const Entities entities = random.some(12);
        const std::vector<TestPair> old = fileOf(entities);
        const std::vector<TestPair> now =
            fileOf(seed % 5 == 0 ? random.some(12) : random.edited(entities));
        const std::string before = bytesOf(old, plain);
        const std::string after = bytesOf(now, seed % 4 == 0 ? binary : plain);
        const std::vector<Difference> found = differences(before, after);
        EXPECT_EQ(found.empty(), notationOf(old) == notationOf(now));
        const Untold untoldOld(old, before, found, true);
        const Untold untoldNew(now, after, found, false);
        EXPECT_EQ(notationOf(untoldOld.pairs), notationOf(untoldNew.pairs));
        EXPECT_EQ(untoldOld.moved.size(), untoldNew.moved.size());
        for (const auto& [handle, pairs] : untoldOld.moved)
            EXPECT_EQ(notationOf(pairs), notationOf(untoldNew.moved.at(handle)));
        if (testing::Test::HasFailure()) FAIL() << before << "\n---\n" << after;
    }
}

// --- Large files ------------------------------------------------------------------------------

std::string lines(std::size_t count, unsigned seed, unsigned values, bool handles) {
    std::mt19937 random(seed);
    std::string notation;
    for (std::size_t i = 0; i < count; ++i) {
        notation += "0\nLINE\n";
        if (handles) notation += "5\n" + std::to_string(1 + i) + "\n";
        notation += "10\n" + std::to_string(random() % values) + ".0\n";
    }
    return "0\nSECTION\n2\nENTITIES\n" + notation + "0\nENDSEC\n0\nEOF\n";
}

// One record of so many pairs.
std::string row(std::size_t count, unsigned seed, unsigned values) {
    std::mt19937 random(seed);
    std::string pairs;
    for (std::size_t i = 0; i < count; ++i)
        pairs += "10\n" + std::to_string(random() % values) + ".0\n";
    return "0\nSECTION\n2\nENTITIES\n0\nLINE\n" + pairs + "0\nENDSEC\n0\nEOF\n";
}

TEST(Differences, OfManyRecordsTakeWorkInProportion) {
    constexpr std::size_t many = 10000;
    constexpr std::uint64_t mostPerRecord = 2000;  // a table of all by all would be 10,000
    struct Files {
        const char* what;
        std::string before;
        std::string after;
        std::string twiceBefore;
        std::string twiceAfter;
    };
    const auto of = [&](const char* what, auto make, auto makeOther) {
        return Files{what, make(many), makeOther(many), make(2 * many), makeOther(2 * many)};
    };
    const Files files[] = {
        of(
            "few values", [](std::size_t n) { return lines(n, 1, 3, false); },
            [](std::size_t n) { return lines(n, 2, 3, false); }),
        of(
            "most stand once", [](std::size_t n) { return lines(n, 1, 1000000, false); },
            [](std::size_t n) { return lines(n, 2, 1000000, false); }),
        of(
            "some of both", [](std::size_t n) { return lines(n, 1, 5000, false); },
            [](std::size_t n) { return lines(n, 2, 5000, false); }),
        of(
            "handles", [](std::size_t n) { return lines(n, 1, 3, true); },
            [](std::size_t n) { return lines(n, 2, 3, true); }),
        of(
            "one record of many pairs", [](std::size_t n) { return row(n, 1, 3); },
            [](std::size_t n) { return row(n, 2, 3); }),
    };
    for (const Files& f : files) {
        SCOPED_TRACE(f.what);
        const std::uint64_t once = countsOf(f.before, f.after).work;
        const std::uint64_t twice = countsOf(f.twiceBefore, f.twiceAfter).work;
        EXPECT_GT(once, 0U);
        EXPECT_LT(once, mostPerRecord * many);
        EXPECT_LT(twice, 3 * once);
    }
}

TEST(Differences, OfManyRecordsAreStillFew) {
    constexpr std::size_t many = 20000;
    const std::string before = lines(many, 1, 1000000, false);
    // One of each 1000 goes, one changes, one comes in.
    std::mt19937 random(1);
    std::string after = "0\nSECTION\n2\nENTITIES\n";
    for (std::size_t i = 0; i < many; ++i) {
        const std::string value = std::to_string(random() % 1000000);
        if (i % 1000 == 100) continue;
        if (i % 1000 == 300) after += "0\nPOINT\n10\n-1.0\n";
        after += "0\nLINE\n10\n" + value + (i % 1000 == 700 ? ".5\n" : ".0\n");
    }
    after += "0\nENDSEC\n0\nEOF\n";
    const DifferenceCounts counts = countsOf(before, after);
    EXPECT_EQ(counts.changed, 20U);
    EXPECT_EQ(counts.added, 20U);
    EXPECT_EQ(counts.erased, 20U);
    EXPECT_EQ(counts.moved, 0U);
}

}  // namespace
}  // namespace vlisp::refhost::dxf
