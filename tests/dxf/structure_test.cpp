// Tests of refhost/dxf/structure.h.
#include "refhost/dxf/structure.h"

#include "tests/dxf/dxf_text.h"

#include <map>

namespace vlisp::refhost::dxf {
namespace {

using namespace test;

std::string_view in(const std::string& bytes, Span span) {
    EXPECT_LE(span.begin, span.end);
    EXPECT_LE(span.end, bytes.size());
    return std::string_view(bytes).substr(span.begin, span.end - span.begin);
}

// The bytes of a notation in a file of this look, without what a whole file begins with.
std::string part(std::string_view notation, const Look& look) {
    std::string bytes = dxf(notation, look);
    if (look.form != Form::text) bytes.erase(0, binaryMark.size());
    return bytes;
}

// --- Places -------------------------------------------------------------------------------------

constexpr std::string_view wholeFile =
    "0 SECTION|2 HEADER|999 made for a test|9 $ACADVER|1 AC1015|9 $EXTMIN|10 1.0|20 2.0|30 3.0"
    "|9 $HANDSEED|5 FF|0 ENDSEC"
    "|0 SECTION|2 CLASSES|0 CLASS|1 X|0 ENDSEC"
    "|0 SECTION|2 TABLES|0 TABLE|2 LAYER|5 2|70 2|0 LAYER|5 10|2 0|70 0|62 7|6 CONTINUOUS"
    "|0 LAYER|5 11|2 WALLS|70 0|62 3|0 ENDTAB|0 TABLE|2 DIMSTYLE|5 A|0 DIMSTYLE|105 27|2 Standard"
    "|5 XX|0 ENDTAB|0 ENDSEC"
    "|0 SECTION|2 BLOCKS|0 BLOCK|5 20|2 B1|10 0.0|0 LINE|5 30|10 1.0|0 POLYLINE|5 31|66 1"
    "|0 VERTEX|5 32|10 0.0|0 SEQEND|5 33|0 ENDBLK|5 21|0 BLOCK|2 B2|0 ENDBLK|0 ENDSEC"
    "|0 SECTION|2 ENTITIES|0 LINE|5 40|8 0|10 1.0|0 POLYLINE|5 41|66 1|0 VERTEX|5 42|10 0.0"
    "|0 VERTEX|5 43|10 1.0|0 SEQEND|5 44|0 LINE|5 45|67 1|0 INSERT|5 46|2 B1|66 1|0 ATTRIB|5 47"
    "|1 A|0 SEQEND|5 48|0 INSERT|5 49|2 B2|0 CIRCLE|8 0|10 0.0|0 ENDSEC"
    "|0 SECTION|2 OBJECTS|0 DICTIONARY|5 C|0 ENDSEC|0 EOF";

TEST(Structure, TellsWhereEverythingStands) {
    for (const Look& look : everyLook) {
        const std::string bytes = dxf(wholeFile, look);
        const Structure found = structureOf(bytes, OnDamage::stop);
        EXPECT_TRUE(found.problems.empty());
        EXPECT_TRUE(found.repairs.empty());

        ASSERT_EQ(found.sections.size(), 6U);
        const char* const names[] = {"HEADER", "CLASSES",  "TABLES",
                                     "BLOCKS", "ENTITIES", "OBJECTS"};
        for (std::size_t i = 0; i < 6; ++i) {
            const Section& section = found.sections[i];
            EXPECT_EQ(section.name, names[i]);
            const std::string begin = part(std::string("0 SECTION|2 ") + names[i], look);
            EXPECT_EQ(in(bytes, {section.head.begin, section.head.begin + begin.size()}), begin);
            const std::string end = part("0 ENDSEC", look);
            EXPECT_EQ(in(bytes, {section.end, section.end + end.size()}), end);
        }
        EXPECT_EQ(in(bytes, {found.eof, bytes.size()}), part("0 EOF", look));

        ASSERT_EQ(found.variables.size(), 3U);
        EXPECT_EQ(found.variables[1].name, "$EXTMIN");
        EXPECT_EQ(in(bytes, found.variables[1].values), part("10 1.0|20 2.0|30 3.0", look));
        EXPECT_EQ(in(bytes, found.variables[2].values), part("5 FF", look));

        ASSERT_EQ(found.tables.size(), 2U);
        const Table& layers = found.tables[0];
        EXPECT_EQ(layers.name, "LAYER");
        EXPECT_EQ(layers.handle, 2U);
        EXPECT_EQ(in(bytes, layers.head), part("0 TABLE|2 LAYER|5 2|70 2", look));
        ASSERT_EQ(layers.rows.size(), 2U);
        EXPECT_EQ(layers.rows[0].name, "0");
        EXPECT_EQ(layers.rows[1].name, "WALLS");
        EXPECT_EQ(layers.rows[1].handle, 0x11U);
        EXPECT_EQ(in(bytes, layers.rows[1].record), part("0 LAYER|5 11|2 WALLS|70 0|62 3", look));
        const std::string tableEnd = part("0 ENDTAB", look);
        EXPECT_EQ(in(bytes, {layers.end, layers.end + tableEnd.size()}), tableEnd);
        ASSERT_EQ(found.tables[1].rows.size(), 1U);
        EXPECT_EQ(found.tables[1].rows[0].handle, 0x27U) << "a dimension style has it elsewhere";

        ASSERT_EQ(found.blocks.size(), 2U);
        const Block& block = found.blocks[0];
        EXPECT_EQ(block.name, "B1");
        EXPECT_EQ(block.handle, 0x20U);
        EXPECT_EQ(in(bytes, block.head), part("0 BLOCK|5 20|2 B1|10 0.0", look));
        EXPECT_EQ(in(bytes, block.tail), part("0 ENDBLK|5 21", look));
        ASSERT_EQ(block.contents.size(), 2U);
        EXPECT_EQ(in(bytes, block.contents[0]), part("0 LINE|5 30|10 1.0", look));
        EXPECT_EQ(in(bytes, block.contents[1]),
                  part("0 POLYLINE|5 31|66 1|0 VERTEX|5 32|10 0.0|0 SEQEND|5 33", look));
        EXPECT_TRUE(found.blocks[1].contents.empty());

        const std::string entities[] = {
            "0 LINE|5 40|8 0|10 1.0",
            "0 POLYLINE|5 41|66 1|0 VERTEX|5 42|10 0.0|0 VERTEX|5 43|10 1.0|0 SEQEND|5 44",
            "0 INSERT|5 46|2 B1|66 1|0 ATTRIB|5 47|1 A|0 SEQEND|5 48", "0 INSERT|5 49|2 B2",
            "0 CIRCLE|8 0|10 0.0"};
        ASSERT_EQ(found.entities.size(), 5U);
        for (std::size_t i = 0; i < 5; ++i)
            EXPECT_EQ(in(bytes, found.entities[i]), part(entities[i], look));
        EXPECT_EQ(found.handles, (std::vector<std::uint64_t>{0x40, 0x41, 0x46, 0x49, 0}));
        EXPECT_EQ(found.paperEntities, 1U);
        EXPECT_EQ(found.largestHandle, 0x49U) << "the seed is a handle that nothing has";
    }
}

TEST(Structure, FindsByName) {
    const std::string bytes = dxf(wholeFile);
    const Structure found = structureOf(bytes, OnDamage::stop);
    ASSERT_NE(found.findSection("TABLES"), nullptr);
    EXPECT_EQ(found.findSection("TABLES")->name, "TABLES");
    EXPECT_EQ(found.findSection("THUMBNAIL"), nullptr);
    ASSERT_NE(found.findTable("DIMSTYLE"), nullptr);
    EXPECT_EQ(found.findTable("STYLE"), nullptr);
    ASSERT_NE(found.findVariable("$HANDSEED"), nullptr);
    EXPECT_EQ(found.findVariable("$NOTHING"), nullptr);
}

TEST(Structure, SmallAndOddFiles) {
    const struct {
        const char* notation;
        std::size_t sections;
        std::size_t entities;
    } cases[] = {
        {"0 EOF", 0, 0},
        {"0 SECTION|2 ENTITIES|0 ENDSEC|0 EOF", 1, 0},
        {"0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC|0 EOF", 1, 1},
        {"0 SECTION|2 TABLES|0 ENDSEC|0 EOF", 1, 0},
        {"0 SECTION|2 SOMETHING|0 LINE|0 VERTEX|0 ENDTAB|0 ENDSEC|0 EOF", 1, 0},
        {"0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC|0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC|0 EOF", 2, 2},
        {"0 SECTION|2 ENTITIES|0 INSERT|66 1|2 B|0 LINE|0 ENDSEC|0 EOF", 1, 2},
        {"0 SECTION|2 ENTITIES|0 INSERT|2 B|0 ATTRIB|1 A|0 SEQEND|0 ENDSEC|0 EOF", 1, 1},
        {"0 SECTION|2 ENTITIES|0 POLYLINE|66 1|0 SEQEND|0 ENDSEC|0 EOF", 1, 1},
        {"0 SECTION|2 ENTITIES|0 LINE|67 0|0 LINE|67 1|0 ENDSEC|0 EOF", 1, 1},
        {"0 SECTION|2 ENTITIES|0 LWPOLYLINE|10 0.0|20 0.0|0 ENDSEC|0 EOF", 1, 1},
    };
    for (const auto& one : cases)
        for (const Look& look : everyLook) {
            const std::string bytes = dxf(one.notation, look);
            const Structure found = structureOf(bytes, OnDamage::stop);
            EXPECT_EQ(found.sections.size(), one.sections) << one.notation;
            EXPECT_EQ(found.entities.size(), one.entities) << one.notation;
        }
}

TEST(Structure, CommentsMayComeFirst) {
    for (const Look& look : everyLook)
        for (const char* notation :
             {"999 x|0 EOF", "999 a|999 b|0 SECTION|2 ENTITIES|0 ENDSEC|0 EOF"})
            EXPECT_EQ(damageIn(dxf(notation, look)), "");
}

TEST(Structure, WhatFollowsTheEndIsNotRead) {
    const std::string file = dxf(entitiesOnly("0 LINE|8 0"));
    for (const char* rest : {"", "\n", "\n\n\n", "garbage", "\x1a", "0\nSECTION\n", "10\nx\n"}) {
        const std::string bytes = file + rest;
        const Structure found = structureOf(bytes, OnDamage::stop);
        EXPECT_EQ(found.entities.size(), 1U) << rest;
        EXPECT_TRUE(found.problems.empty()) << rest;
    }
}

TEST(Structure, ANumberInAnEmbeddedObjectIsNoVertex) {
    const std::string bytes = dxf(entitiesOnly("0 LWPOLYLINE|90 1|10 0.0|20 0.0|101 X|10 1.0"));
    EXPECT_EQ(structureOf(bytes, OnDamage::stop).entities.size(), 1U);
}

TEST(Structure, DeeplyNestedBlocksTakeNoStack) {
    std::string notation = "0 SECTION|2 BLOCKS";
    constexpr int count = 200'000;
    for (int i = 0; i < count; ++i)
        notation += "|0 BLOCK|2 B" + std::to_string(i) + "|0 INSERT|2 b" + std::to_string(i + 1) +
                    "|0 ENDBLK";
    const std::string good = dxf(notation + "|0 ENDSEC|0 EOF");
    EXPECT_EQ(structureOf(good, OnDamage::stop).blocks.size(), 200'000U);
    const std::string endless =
        dxf(notation + "|0 BLOCK|2 B200000|0 INSERT|2 B0|0 ENDBLK" + "|0 ENDSEC|0 EOF");
    EXPECT_THROW(static_cast<void>(structureOf(endless, OnDamage::stop)), Damage);
}

// A block that is placed twice, and by blocks of which one is placed by the other, has an end.
TEST(Structure, BlocksMayShareBlocks) {
    const std::string bytes =
        dxf("0 SECTION|2 BLOCKS|0 BLOCK|2 A|0 INSERT|2 B|0 INSERT|2 C|0 INSERT|2 B|0 ENDBLK"
            "|0 BLOCK|2 B|0 INSERT|2 C|0 ENDBLK|0 BLOCK|2 C|0 LINE|0 INSERT|2 NONE|0 ENDBLK"
            "|0 ENDSEC|0 EOF");
    EXPECT_EQ(structureOf(bytes, OnDamage::stop).blocks.size(), 3U);
}

TEST(Structure, PlacesAreLinesOrBytes) {
    const std::string text = "0\r\nA\r\n8\r\nB";
    EXPECT_EQ(placeOf(text, Form::text, 0), "line 1");
    EXPECT_EQ(placeOf(text, Form::text, 3), "line 2");
    EXPECT_EQ(placeOf(text, Form::text, 6), "line 3");
    EXPECT_EQ(placeOf(text, Form::text, 1000), "line 4");
    EXPECT_EQ(placeOf(text, Form::binary, 42), "byte 42");
}

// --- Damage -------------------------------------------------------------------------------------

struct Damaged {
    const char* name;
    std::string bytes;
    std::string place;     // in the message
    std::string stood;     // what stood there
    std::string expected;  // and what was expected
    std::size_t entities;  // that are there after all
};

std::vector<Damaged> damagedFiles() {
    const auto entities = [](const char* notation) { return dxf(entitiesOnly(notation)); };
    const std::string table = "0 SECTION|2 TABLES|0 TABLE|2 LAYER|0 LAYER|2 0|70 0|62 7";
    const std::string block = "0 SECTION|2 BLOCKS|0 BLOCK|2 B|0 LINE|8 0";
    const std::string rest = "|0 SECTION|2 ENTITIES|0 LINE|8 0|0 ENDSEC|0 EOF";
    return {
        {"empty", "", "line 1", "ends", "SECTION", 0},
        {"only a mark", "\xef\xbb\xbf", "line 1", "ends", "SECTION", 0},
        {"only comments", "999\nx\n", "line 3", "ends", "SECTION", 0},
        {"no drawing", "<html>\n<body>\n", "line 1", "'<html>'", "group code", 0},
        {"a first pair", dxf("8 X|0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC|0 EOF"), "line 1",
         "group code 8", "0 and SECTION", 1},
        {"a code", replaced(entities("0 LINE|8 A|0 LINE|8 B"), "8\nA", "8x\nA"), "line 7", "'8x'",
         "group code", 1},
        {"a number", entities("0 LINE|8 0|10 abc|0 LINE"), "line 10", "'abc'",
         "number of group code 10", 1},
        {"a number of a section",
         dxf("0 SECTION|2 HEADER|9 $LTSCALE|40 x|9 $LUNITS|70 2|0 ENDSEC"
             "|0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC|0 EOF"),
         "line 8", "'x'", "number of group code 40", 1},
        {"cut behind a code", "0\nSECTION\n2\nENTITIES\n0\nLINE\n8", "line 7", "group code 8",
         "value", 0},
        {"a record outside", dxf("0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC|0 LINE|8 0|0 EOF"), "line 9",
         "'LINE'", "SECTION or EOF", 1},
        {"an end outside", dxf("0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC|0 ENDSEC|0 EOF"), "line 9",
         "'ENDSEC'", "SECTION or EOF", 1},
        {"no ENDTAB at the section's end", dxf(table + "|0 ENDSEC" + rest), "line 17", "'ENDSEC'",
         "ENDTAB", 1},
        {"no ENDTAB at a table", dxf(table + "|0 TABLE|2 LTYPE|0 ENDTAB|0 ENDSEC" + rest),
         "line 17", "'TABLE'", "ENDTAB", 1},
        {"no ENDTAB at a section", dxf(table + rest), "line 17", "'SECTION'", "ENDTAB", 1},
        {"no ENDTAB at the end", dxf(table + "|0 EOF"), "line 17", "'EOF'", "ENDTAB", 0},
        {"a row without table", dxf("0 SECTION|2 TABLES|0 LAYER|2 0|0 ENDSEC" + rest), "line 5",
         "'LAYER'", "TABLE or ENDSEC", 1},
        {"no ENDBLK at the section's end", dxf(block + "|0 ENDSEC" + rest), "line 13", "'ENDSEC'",
         "ENDBLK", 1},
        {"no ENDBLK at a block", dxf(block + "|0 BLOCK|2 C|0 ENDBLK|0 ENDSEC" + rest), "line 13",
         "'BLOCK'", "ENDBLK", 1},
        {"no ENDBLK at a section", dxf(block + rest), "line 13", "'SECTION'", "ENDBLK", 1},
        {"no ENDBLK at the end", dxf(block + "|0 EOF"), "line 13", "'EOF'", "ENDBLK", 0},
        {"an entity without block", dxf("0 SECTION|2 BLOCKS|0 LINE|8 0|0 ENDSEC" + rest), "line 5",
         "'LINE'", "BLOCK or ENDSEC", 1},
        {"no ENDSEC at a section", dxf("0 SECTION|2 HEADER|9 $ACADVER|1 AC1009" + rest), "line 9",
         "'SECTION'", "ENDSEC", 1},
        {"no ENDSEC at the end", dxf("0 SECTION|2 ENTITIES|0 LINE|0 EOF"), "line 7", "'EOF'",
         "ENDSEC", 1},
        {"no EOF", dxf("0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC"), "line 9", "", "EOF", 1},
        {"no end at all", dxf("0 SECTION|2 ENTITIES|0 LINE|8 0"), "line 9", "", "ENDSEC", 1},
        {"no end at all in a table", dxf(table), "line 17", "", "ENDTAB", 0},
        {"no end at all in a block", dxf(block), "line 13", "", "ENDBLK", 0},
        {"a VERTEX alone", entities("0 LINE|0 VERTEX|10 0.0|0 LINE"), "line 7", "'VERTEX'",
         "another entity", 2},
        {"an ATTRIB alone", entities("0 ATTRIB|1 A|0 LINE"), "line 5", "'ATTRIB'", "another entity",
         1},
        {"a SEQEND alone", entities("0 LINE|0 SEQEND|0 LINE"), "line 7", "'SEQEND'",
         "another entity", 2},
        {"a VERTEX of an INSERT", entities("0 INSERT|2 B|66 1|0 VERTEX|10 0.0|0 SEQEND"), "line 11",
         "'VERTEX'", "another entity", 1},
        {"an ATTRIB of a POLYLINE", entities("0 POLYLINE|66 1|0 ATTRIB|1 A|0 SEQEND"), "line 9",
         "'ATTRIB'", "another entity", 1},
        {"no SEQEND", entities("0 POLYLINE|66 1|0 VERTEX|10 0.0|0 LINE|8 0"), "line 13", "'LINE'",
         "SEQEND", 2},
        {"no SEQEND at the section's end", entities("0 POLYLINE|66 1|0 VERTEX|10 0.0"), "line 13",
         "'ENDSEC'", "SEQEND", 1},
        {"no SEQEND behind attributes", entities("0 INSERT|2 B|0 ATTRIB|1 A|0 LINE"), "line 13",
         "'LINE'", "SEQEND", 2},
        {"no SEQEND in a block",
         dxf("0 SECTION|2 BLOCKS|0 BLOCK|2 B|0 POLYLINE|66 1|0 VERTEX|10 0.0|0 ENDBLK|0 ENDSEC" +
             rest),
         "line 17", "'ENDBLK'", "SEQEND", 1},
        {"no SEQEND on paper", entities("0 POLYLINE|67 1|66 1|0 VERTEX|10 0.0|0 LINE|8 0"),
         "line 15", "'LINE'", "SEQEND", 1},
        {"too few vertices", entities("0 LWPOLYLINE|90 3|70 0|10 0.0|20 0.0|10 1.0|20 0.0|0 LINE"),
         "line 8", "3", "2 stand there", 2},
        {"too many vertices", entities("0 LWPOLYLINE|90 1|10 0.0|20 0.0|10 1.0|20 0.0|0 LINE"),
         "line 8", "1", "2 stand there", 2},
        {"half a vertex", entities("0 LINE|0 LWPOLYLINE|90 2|10 0.0|20 0.0|10 1.0|0 LINE"),
         "line 7", "vertex", "coordinates", 2},
        {"a section without a name", dxf("0 SECTION|0 ENDSEC" + rest), "line 1", "section",
         "without a name", 1},
        {"a block in itself",
         dxf("0 SECTION|2 BLOCKS|0 BLOCK|2 B|0 LINE|0 INSERT|2 b|0 ENDBLK|0 ENDSEC" + rest),
         "line 11", "'B'", "inside itself", 1},
        {"blocks in each other",
         dxf("0 SECTION|2 BLOCKS|0 BLOCK|2 A|0 INSERT|2 B|0 ENDBLK|0 BLOCK|2 B|0 LINE|0 INSERT|2 A"
             "|0 ENDBLK|0 ENDSEC" +
             rest),
         "line 21", "'A'", "inside itself", 1},
    };
}

TEST(Damage, IsToldWithItsPlace) {
    for (const Damaged& one : damagedFiles()) {
        const std::string message = damageIn(one.bytes);
        EXPECT_TRUE(message.starts_with("test.dxf: " + one.place + ": "))
            << one.name << ": " << message;
        EXPECT_NE(message.find(one.stood), std::string::npos) << one.name << ": " << message;
        EXPECT_NE(message.find(one.expected), std::string::npos) << one.name << ": " << message;
    }
}

TEST(Damage, IsRecoveredFrom) {
    for (const Damaged& one : damagedFiles()) {
        SCOPED_TRACE(one.name);
        Opened opened(one.bytes, OnDamage::recover);
        EXPECT_EQ(static_cast<std::size_t>(opened.drawing.slotCount()), one.entities);
        const std::vector<std::string> problems = opened.document->problems();
        ASSERT_FALSE(problems.empty());
        EXPECT_TRUE(problems[0].starts_with("test.dxf: " + one.place + ": ")) << problems[0];
        EXPECT_NE(problems[0].find(one.expected), std::string::npos) << problems[0];
        EXPECT_NE(opened.saved(), one.bytes);
    }
}

TEST(Damage, OfTheBinaryFormsIsToldWithItsByte) {
    for (const Look& look : {binary, shortBinary}) {
        for (const char* notation :
             {"0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC|0 LINE|8 0|0 EOF",
              "0 SECTION|2 ENTITIES|0 LINE|0 VERTEX|0 ENDSEC|0 EOF",
              "0 SECTION|2 TABLES|0 TABLE|2 LAYER|0 ENDSEC|0 EOF",
              "0 SECTION|2 BLOCKS|0 BLOCK|2 B|0 ENDSEC|0 EOF", "0 SECTION|2 ENTITIES|0 LINE|0 EOF",
              "0 SECTION|2 ENTITIES|0 LINE|0 ENDSEC"}) {
            const std::string bytes = dxf(notation, look);
            const std::string message = damageIn(bytes);
            EXPECT_TRUE(message.starts_with("test.dxf: byte ")) << message;
            Opened opened(bytes, OnDamage::recover);
            EXPECT_FALSE(opened.document->problems().empty());
            opened.saved();
        }
    }
}

TEST(Damage, RecoveringLeavesTheRestAsItWas) {
    // The record with the bad number goes, and nothing else.
    const std::string good = dxf(drawingOf("0 LINE|5 30|8 0|10 1.50|0 CIRCLE|5 31|8 0|10 0.0"));
    const std::string bad = dxf(
        drawingOf("0 LINE|5 30|8 0|10 1.50|0 LINE|5 32|8 0|10 1,5|20 3|0 CIRCLE|5 31|8 0|10 0.0"));
    Opened opened(bad, OnDamage::recover);
    EXPECT_EQ(opened.saved(), good);
    // A missing end comes in.
    const std::string whole = dxf(entitiesOnly("0 POLYLINE|66 1|0 VERTEX|10 0.0|20 0.0|0 SEQEND"));
    for (const char* cut : {"0\nEOF\n", "0\nENDSEC\n0\nEOF\n", "0\nSEQEND\n0\nENDSEC\n0\nEOF\n"}) {
        Opened shorter(replaced(whole, cut, ""), OnDamage::recover);
        EXPECT_EQ(shorter.saved(), whole);
    }
}

TEST(Damage, VerticesAreCountedWhereTheyBelongToThePolyline) {
    // What stands in braces and in extended data is no vertex of it.
    const std::string others =
        "|102 {A|10 7.0|20 8.0|90 9|102 }|10 1.0|20 2.0|1001 A|10 5.0|20 6.0|90 9";
    EXPECT_TRUE(
        documentOf(dxf(entitiesOnly("0 LWPOLYLINE|8 0|90 1" + others)))->problems().empty());
    EXPECT_EQ(damageIn(dxf(entitiesOnly("0 LWPOLYLINE|8 0|90 3" + others))),
              "test.dxf: line 10: group code 90 tells of 3 vertices, 1 stand there");
}

TEST(Damage, ManyProblemsAreListedOnlySoFar) {
    std::string entities;
    for (int i = 0; i < 5000; ++i) entities += "0 VERTEX|10 0.0|";
    const std::string bytes = dxf(entitiesOnly(entities + "0 LINE"));
    const auto document = documentOf(bytes, OnDamage::recover);
    EXPECT_GT(document->problems().size(), 100U);
    EXPECT_LT(document->problems().size(), 2000U);
}

TEST(Damage, AHandleNamesOneEntity) {
    // That is no damage: files have it, and both entities can be had.
    const auto document =
        documentOf(dxf(entitiesOnly("0 LINE|5 30|0 LINE|5 31|0 LINE|5 30|0 LINE|5 0")));
    const std::vector<std::uint64_t>& handles = document->structure().handles;
    EXPECT_EQ(handles, (std::vector<std::uint64_t>{0x30, 0x31, 0, 0}));
    ASSERT_EQ(document->problems().size(), 1U);
    EXPECT_TRUE(document->problems()[0].starts_with("test.dxf: line 13: "))
        << document->problems()[0];
}

// --- Files cut and changed at every byte --------------------------------------------------------

// A file with something of everything, as small as can be.
constexpr std::string_view smallFile =
    "0 SECTION|999 c|2 HEADER|9 $ACADVER|1 AC1015|9 $LTSCALE|40 1.5|9 $HANDSEED|5 FF|0 ENDSEC"
    "|0 SECTION|2 TABLES|0 TABLE|2 LAYER|5 2|70 1|0 LAYER|5 10|2 0|70 0|62 7|6 C|0 ENDTAB|0 ENDSEC"
    "|0 SECTION|2 BLOCKS|0 BLOCK|2 B|10 0.0|0 LINE|8 0|10 1.0|0 INSERT|2 C|0 ENDBLK|0 ENDSEC"
    "|0 SECTION|2 ENTITIES|0 LWPOLYLINE|5 30|8 0|90 2|70 1|10 0.0|20 0.0|42 1.0|10 1.0|20 2.0"
    "|0 POLYLINE|5 31|66 1|70 0|0 VERTEX|10 1.0|20 1.0|70 0|0 SEQEND|0 MTEXT|5 34|3 ab|1 c|50 1.0"
    "|102 {A|330 1|102 }|1001 X|1040 1.0|310 00FF|0 INSERT|5 35|2 B|66 1|0 ATTRIB|1 v|0 SEQEND"
    "|0 ELLIPSE|5 38|10 0.0|11 1.0|40 0.5|41 0.0|42 6.2|0 ENDSEC|0 EOF";

// Opens bytes in both ways and looks at everything: what opens saves as it is, and what was
// recovered saves as something that opens. Goes on behind a failure; each kind is told once.
class UsedUp {
  public:
    void use(const std::string& bytes, const std::string& how) {
        try {
            Opened opened(bytes);
            lookAt(opened);
            if (!opened.isUnchanged()) fail("it is changed", how);
        } catch (const FileError& error) {
            const std::string_view what = error.what();
            if (error.kind != FileError::Kind::damaged || !what.starts_with("test.dxf: "))
                fail(error.what(), how);
        }
        try {
            Opened opened(bytes, OnDamage::recover);
            lookAt(opened);
            const std::string saved =
                bytesWith(*opened.document, opened.document->changes(opened.drawing, opened.notes));
            fail(damageIn(saved), how);
            if (opened.document->problems().empty() && saved != bytes) fail("other bytes", how);
        } catch (const std::exception& error) {
            fail("recovering throws: " + std::string(error.what()), how);
        }
    }

    void expectNoFailures() const {
        for (const auto& [failure, how] : failures_) ADD_FAILURE() << how << ": " << failure;
    }

  private:
    static void lookAt(const Opened& opened) {
        for (int slot = 0; slot < opened.drawing.slotCount(); ++slot)
            static_cast<void>(opened.drawing.extentOf(*opened.drawing.at(slot)));
        for (const auto& block : opened.drawing.blocks()) static_cast<void>(block->view().size());
    }

    void fail(std::string failure, const std::string& how) {
        std::erase_if(failure, [](char c) { return c >= '0' && c <= '9'; });
        if (!failure.empty()) failures_.try_emplace(failure, how);
    }

    std::map<std::string, std::string> failures_;
};

std::string nameOf(const Look& look) {
    const char* const forms[] = {"text", "binary", "binary with short codes"};
    return forms[static_cast<std::size_t>(look.form)];
}

TEST(AnyBytes, CutAtEveryByte) {
    UsedUp used;
    for (const Look& look : everyLook) {
        const std::string whole = dxf(smallFile, look);
        ASSERT_EQ(damageIn(whole), "");
        for (std::size_t size = 0; size < whole.size(); ++size)
            used.use(whole.substr(0, size),
                     nameOf(look) + ", the first " + std::to_string(size) + " bytes");
    }
    used.expectNoFailures();
}

TEST(AnyBytes, ChangedAtEveryByte) {
    UsedUp used;
    for (const Look& look : {plain, windows, binary, shortBinary}) {
        const std::string whole = dxf(smallFile, look);
        for (std::size_t at = 0; at < whole.size(); ++at) {
            const auto byte = static_cast<unsigned char>(whole[at]);
            for (const int changed :
                 {0, 0xff, 0x80 ^ byte, 1 ^ byte, 0x30, 0x39, 0x0a, 0x20, 0x2d}) {
                std::string bytes = whole;
                bytes[at] = static_cast<char>(changed);
                used.use(bytes, nameOf(look) + ", byte " + std::to_string(at) + " is " +
                                    std::to_string(changed));
            }
        }
    }
    used.expectNoFailures();
}

TEST(AnyBytes, LeftOutAtEveryLine) {
    UsedUp used;
    const std::vector<TestPair> pairs = pairsOf(smallFile);
    for (std::size_t out = 0; out < 2 * pairs.size(); ++out) {
        std::string bytes;
        for (std::size_t line = 0; line < 2 * pairs.size(); ++line) {
            if (line == out) continue;
            const TestPair& pair = pairs[line / 2];
            bytes += (line % 2 == 0 ? std::to_string(pair.code) : pair.value) + "\n";
        }
        used.use(bytes, "without line " + std::to_string(out + 1));
    }
    used.expectNoFailures();
}

}  // namespace
}  // namespace vlisp::refhost::dxf
