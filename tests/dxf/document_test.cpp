// Tests of refhost/dxf/document.h, header_variables.h and blank_drawing.h: opening.
#include "refhost/dxf/document.h"

#include "refhost/dxf/blank_drawing.h"
#include "tests/dxf/dxf_text.h"
#include "tests/support/temporary_folder.h"

#include <fstream>
#include <numbers>
#include <random>
#include <set>

namespace vlisp::refhost::dxf {
namespace {

using namespace test;

// --- A drawing that was not changed -------------------------------------------------------------

struct Untouched {
    const char* name;
    std::string bytes;
    int slots;
};

std::vector<Untouched> untouchedFiles() {
    const std::string line = "0 LINE|8 0|10 1.0|20 2.0|11 3.0|21 4.0";
    const std::string whole = drawingOf(line + "|0 CIRCLE|8 WALLS|10 0.0|20 0.0|40 2.5");
    std::vector<Untouched> files;
    const char* const looks[] = {"plain", "windows", "padded", "binary", "short codes"};
    for (std::size_t i = 0; i < 5; ++i) {
        files.push_back({looks[i], dxf(whole, everyLook[i]), 2});
        files.push_back({looks[i], dxf(drawingOf(line, "AC1009"), everyLook[i]), 1});
    }
    const auto add = [&](const char* name, std::string bytes, int slots) {
        files.push_back({name, std::move(bytes), slots});
    };
    const auto text = [&](const char* name, const std::string& notation, int slots) {
        for (const Look& look : everyLook) add(name, dxf(notation, look), slots);
    };
    add("no line end at the end", replaced(dxf(entitiesOnly(line)), "EOF\n", "EOF"), 1);
    add("half a line end at the end",
        replaced(dxf(entitiesOnly(line), windows), "EOF\r\n", "EOF\r"), 1);
    add("mixed line ends",
        "0\r\nSECTION\n2\nENTITIES\r\n0\nLINE\r\n8\n0\n10\r\n1.0\n0\nENDSEC\n0\r\nEOF\n", 1);
    add("blanks around codes and numbers",
        " 0 \nSECTION\n\t2\nENTITIES\n  0\nLINE\n 62\n   7  \n 10 \n  1.50 \n  0\nENDSEC\n "
        "0\nEOF\n",
        1);
    add("a mark of the byte order", "\xef\xbb\xbf" + dxf(whole), 2);
    for (const char* rest : {"\n", "\n\n", "rest", "0\nSECTION\n", "\x1a", "0\r\nEOF\r\n"})
        add("bytes behind the end", dxf(whole) + rest, 2);
    add("bytes behind the end", dxf(whole, binary) + std::string(7, '\0'), 2);
    text("only an end", "0 EOF", 0);
    text("an empty section", "0 SECTION|2 HEADER|0 ENDSEC|0 EOF", 0);
    text("only entities", entitiesOnly(line), 1);
    text("no entities", "0 SECTION|2 TABLES|0 ENDSEC|0 EOF", 0);
    text("comments",
         "0 SECTION|999 b|2 HEADER|999 c|9 $LTSCALE|999 d|40 2.0|999 e|0 ENDSEC"
         "|999 f|0 SECTION|2 ENTITIES|999 g|0 POLYLINE|999 h|66 1|0 VERTEX|10 1.0|999 i"
         "|20 2.0|999 j|0 SEQEND|999 k|0 ENDSEC|0 EOF|999 l",
         1);
    add("a comment in front", dxf("999 a|" + entitiesOnly(line)), 1);
    text("unknown sections",
         "0 SECTION|2 CLASSES|0 CLASS|1 A|0 ENDSEC|0 SECTION|2 ENTITIES|" + line +
             "|0 ENDSEC|0 SECTION|2 THUMBNAILIMAGE|90 4|310 00FF00FF|0 ENDSEC|0 SECTION|2 ACDSDATA"
             "|70 2|0 ACDSSCHEMA|90 1|0 ENDSEC|0 EOF",
         1);
    text("unknown entities and codes",
         entitiesOnly("0 WIPEOUT|5 30|8 0|90 0|10 1.0|0 ACAD_TABLE|5 31|8 0|342 1|0 XYZ_1|1 x"
                      "|0 LINE|8 0|999 y|480 9|1071 5"),
         4);
    text("extended data",
         entitiesOnly(line +
                      "|1001 ACAD|1002 {|1070 5|1071 70000|1040 1.50|1010 1.0|1020 2.0|1030 3.0"
                      "|1005 1F|1004 00FF|1002 }|1001 OTHER|1000 text"),
         1);
    text("groups and dictionaries",
         entitiesOnly(
             "0 LINE|5 30|102 {ACAD_REACTORS|330 40|102 }|102 {ACAD_XDICTIONARY|360 41|102 }"
             "|8 0|10 1.0") +
             "|0 SECTION|2 OBJECTS|0 DICTIONARY|5 C|0 ENDSEC|0 EOF",
         1);
    text("dictionaries",
         replaced(entitiesOnly(line), "|0 EOF",
                  "|0 SECTION|2 OBJECTS|0 DICTIONARY|5 C|281 1|3 A|350 D|0 XRECORD"
                  "|5 D|280 1|1 x|10 1.0|20 2.0|30 3.0|0 ENDSEC|0 EOF"),
         1);
    text("odd header variables",
         "0 SECTION|2 HEADER|9 $ACADVER|1 AC1015|9 $NOTHING|9 $STRANGE|1 x|2 y|10 1.0|9 $LTSCALE"
         "|40 -1.0|9 $LUNITS|70 99|9 $CECOLOR|62 300|9 $CLAYER|8 NOWHERE|9 $CELTYPE|6 |9 $LIMMIN"
         "|10 1.0|9 $LIMMAX|20 5.0|9 $CELWEIGHT|370 7|9 $TEXTSTYLE|7 a\"b|9 $INSUNITS|70 -1"
         "|9 $LTSCALE|40 3.0|9 $USERI1|70 5|9 $USERR1|40 1e300|9 $ANGBASE|50 33.3|9 $PDMODE|40 2.0"
         "|0 ENDSEC|0 EOF",
         0);
    const auto layers = [&](const char* name, const std::string& rows) {
        text(name, "0 SECTION|2 TABLES|0 TABLE|2 LAYER|70 9|" + rows + "|0 ENDTAB|0 ENDSEC|0 EOF",
             0);
    };
    layers("a layer twice", "0 LAYER|2 A|70 0|62 1|6 X|0 LAYER|2 a|70 5|62 -3");
    layers("odd colours of layers",
           "0 LAYER|2 A|62 0|0 LAYER|2 B|62 999|0 LAYER|2 C|62 -999|0 LAYER|2 D|62 32767");
    layers("odd flags of layers", "0 LAYER|2 A|70 255|0 LAYER|2 B|70 -1|0 LAYER|2 C|70 0|70 5");
    layers("layers without names", "0 LAYER|2 |62 5|0 LAYER|70 1|0 LAYER|2 A|6 ");
    layers("two tables of layers",
           "0 LAYER|2 A|62 5|0 ENDTAB|0 TABLE|2 LAYER|0 LAYER|2 B|62 1|0 LAYER|2 A|62 3");
    text("no layers and an entity on one", entitiesOnly("0 LINE|8 NOWHERE|10 1.0|0 LINE|8 |10 1.0"),
         2);
    text("the header behind",
         entitiesOnly(line).substr(0, entitiesOnly(line).size() - 6) +
             "|0 SECTION|2 HEADER|9 $LTSCALE|40 5.0|0 ENDSEC|0 EOF",
         1);
    text("blocks twice and without record",
         "0 SECTION|2 BLOCKS|0 BLOCK|2 A|10 1.0|0 LINE|0 ENDBLK|0 BLOCK|2 a|0 ENDBLK|0 BLOCK|0 "
         "ENDBLK"
         "|0 ENDSEC|0 EOF",
         0);
    add("lines of any length",
        dxf(entitiesOnly("0 TEXT|1 " + std::string(1'000'000, 'x') + "|8 0")), 1);
    add("texts that no codec would write",
        dxf(entitiesOnly(
            "0 TEXT|8 L\x81yer|1 \\u+00e4 ^J \\U+0041 \x81\x8d ^|0 MTEXT|3 a\\U+4|1 E2D")),
        2);
    add("texts that are no UTF-8", dxf(drawingOf("0 TEXT|8 0|1 \xff\xc3", "AC1032")), 1);
    add("numbers that no printer would write",
        dxf(entitiesOnly("0 LINE|62 +5|10 1.|20 .5|30 +1E+02|11 -0|21 00012|31 1e-400|0 ARC|40 nan"
                         "|50 inf|51 1e999")),
        2);
    return files;
}

TEST(Untouched, SavesByteForByte) {
    for (const Untouched& file : untouchedFiles()) {
        SCOPED_TRACE(file.name);
        Opened opened(file.bytes);
        EXPECT_EQ(opened.drawing.slotCount(), file.slots);
        EXPECT_TRUE(opened.isUnchanged());
        EXPECT_EQ(opened.notes, std::vector<std::string>());
        EXPECT_EQ(opened.document->bytes(), file.bytes);
        // Nor does looking change anything.
        for (int slot = 0; slot < opened.drawing.slotCount(); ++slot) {
            VmDbObject* object = opened.drawing.openSlot(slot, false);
            static_cast<void>(opened.drawing.extentOf(*object));
            opened.drawing.closed(*object);
        }
        for (const auto& block : opened.drawing.blocks()) static_cast<void>(block->view());
        static_cast<void>(opened.drawing.near({-1e9, -1e9, 1e9, 1e9}));
        EXPECT_TRUE(opened.isUnchanged());
        // And changing nothing does not either.
        for (int slot = 0; slot < opened.drawing.slotCount(); ++slot)
            opened.change<VmDbObject>(slot, [](VmDbObject&) {});
        EXPECT_TRUE(opened.isUnchanged());
    }
}

// --- Slots and ids ------------------------------------------------------------------------------

std::vector<HostLong> idsOf(const Drawing& drawing) {
    std::vector<HostLong> ids;
    for (int slot = 0; slot < drawing.slotCount(); ++slot) ids.push_back(drawing.at(slot)->id);
    return ids;
}

TEST(Slots, HoldTheEntitiesOfModelSpaceInOrder) {
    for (const Look& look : everyLook) {
        const Opened opened(dxf(
            "0 SECTION|2 BLOCKS|0 BLOCK|2 B|0 CIRCLE|5 90|0 ENDBLK|0 ENDSEC|0 SECTION|2 ENTITIES"
            "|0 LINE|5 1A|0 POLYLINE|5 1B|66 1|0 VERTEX|5 1C|10 1.0|0 VERTEX|5 1D|10 2.0|0 SEQEND"
            "|5 1E|0 LINE|5 1F|67 1|0 INSERT|5 20|66 1|2 B|0 ATTRIB|5 21|1 v|0 SEQEND|5 22|0 HATCH"
            "|5 23|0 POLYLINE|67 1|66 1|0 VERTEX|10 1.0|0 SEQEND|0 TEXT|5 10|67 0|1 t"
            "|0 ENDSEC|0 EOF",
            look));
        EXPECT_EQ(idsOf(opened.drawing), (std::vector<HostLong>{0x1a, 0x1b, 0x20, 0x23, 0x10}));
        const VmDbType types[] = {vmDbLine, vmDbPolyline, vmDbInsert};
        for (int slot = 0; slot < 3; ++slot)
            EXPECT_EQ(opened.drawing.at(slot)->typeCode, types[slot]);
        ASSERT_NE(opened.at<CarriedObject>(3), nullptr);
        EXPECT_EQ(opened.at<CarriedObject>(3)->kind, u"HATCH");
        EXPECT_EQ(opened.at<VmDb2DPolyline>(1)->points.count, 2);
        for (int slot = 0; slot < opened.drawing.slotCount(); ++slot)
            EXPECT_EQ(opened.drawing.slotOf(opened.idAt(slot)), slot);
    }
}

TEST(Slots, IdsAreHandlesWhereThereAreSome) {
    const struct {
        const char* entities;
        std::vector<HostLong> ids;  // 0: a fresh one
    } cases[] = {
        {"0 LINE|0 LINE|0 LINE", {0, 0, 0}},
        {"0 LINE|5 30|0 LINE|0 LINE|5 31", {0x30, 0, 0x31}},
        {"0 LINE|5 30|0 LINE|5 30|0 LINE|5 030", {0x30, 0, 0}},
        {"0 LINE|5 0|0 LINE|5 |0 LINE|5 xyz|0 LINE|5 1", {0, 0, 0, 1}},
        {"0 LINE|5 6ABCDEF0|0 LINE|5 FFFFFFFF|0 LINE|5 FFFFFFFFFFFFFFFF|0 LINE|5 100000001"
         "|0 LINE|5 1",
         {0x6abcdef0, 0, 0, 0, 1}},
        {"0 LINE|5 80000000|0 LINE|5 80000001", {0, 0}},
        {"0 LINE|5 10000000000000000|0 LINE|5 2", {0, 2}},
        {"0 LINE|8 0|102 {X|5 99|102 }|5 31", {0x31}},
    };
    for (const auto& one : cases) {
        const Opened opened(dxf(entitiesOnly(one.entities)));
        const std::vector<HostLong> ids = idsOf(opened.drawing);
        ASSERT_EQ(ids.size(), one.ids.size()) << one.entities;
        const std::set<HostLong> different(ids.begin(), ids.end());
        EXPECT_EQ(different.size(), ids.size()) << one.entities;
        for (std::size_t i = 0; i < ids.size(); ++i) {
            EXPECT_GT(ids[i], 0) << one.entities;
            EXPECT_LT(ids[i], opened.drawing.nextId()) << one.entities;
            if (one.ids[i] != 0) {
                EXPECT_EQ(ids[i], one.ids[i]) << one.entities;
            }
            EXPECT_EQ(opened.drawing.slotOf(ids[i]), static_cast<int>(i));
            EXPECT_EQ(opened.drawing.find(ids[i])->id, ids[i]);
        }
    }
}

TEST(Slots, ObjectsStayTheSameWhileTheyAreHeld) {
    std::string entities;
    for (int i = 1; i <= 500; ++i)
        entities += "0 CIRCLE|5 " + handleText(static_cast<std::uint64_t>(i)) + "|10 " +
                    std::to_string(i) + ".0|20 0.0|40 1.0|";
    const Opened opened(dxf(entitiesOnly(entities)));
    std::vector<ObjectView> held;
    for (int slot = 0; slot < 500; ++slot) held.push_back(opened.drawing.at(slot));
    for (int slot = 0; slot < 500; ++slot) {
        EXPECT_EQ(held[static_cast<std::size_t>(slot)]->points.points[0].x, slot + 1);
        EXPECT_TRUE(opened.drawing.isAsInFile(slot));
    }
}

TEST(Slots, AreFoundInAnyOrder) {
    std::mt19937 random(5);
    for (const bool risingIds : {true, false}) {
        std::string entities;
        for (unsigned i = 0; i < 300; ++i)
            entities += "0 POINT|5 " + handleText(risingIds ? 3 + 2 * i : 1000 - 2 * i) + "|";
        const Opened opened(dxf(entitiesOnly(entities)));
        for (int i = 0; i < 3000; ++i) {
            const int slot = static_cast<int>(random() % 300);
            const HostLong id = opened.idAt(slot);
            ASSERT_EQ(id, risingIds ? 3 + 2 * slot : 1000 - 2 * slot);
            ASSERT_EQ(opened.drawing.slotOf(id), slot);
            ASSERT_EQ(opened.drawing.slotOf(id + 1), -1);
        }
    }
}

TEST(Slots, WhoLooksAtAnObjectSeesItAsItWas) {
    Opened opened(
        dxf(entitiesOnly("0 CIRCLE|5 1|8 A|62 3|10 1.0|20 2.0|40 1.0|0 CIRCLE|5 2|40 5.0")));
    Drawing& drawing = opened.drawing;
    const auto radiusOf = [](const VmDbObject& object) {
        return dynamic_cast<const VmDbCircle&>(object).radius;
    };
    const ObjectView held = drawing.at(0);
    VmDbObject* reading = drawing.open(1, false);
    for (const HostLong id : {1, 2}) {
        VmDbObject* changing = drawing.open(id, true);
        VmDbCircle::cast(changing)->radius = 9;
        EXPECT_NE(changing, reading);
        changing->close();
    }
    EXPECT_EQ(radiusOf(*held), 1);
    EXPECT_EQ(radiusOf(*reading), 1);
    reading->close();
    EXPECT_EQ(drawing.openCount(), 0);
    for (const int slot : {0, 1}) EXPECT_EQ(radiusOf(*drawing.at(slot)), 9);
    EXPECT_EQ(drawing.at(0)->colour, 3);
    EXPECT_EQ(drawing.at(0)->points.count, 1);
    while (drawing.undo()) {
    }
    EXPECT_EQ(radiusOf(*drawing.at(0)), 1);
    EXPECT_EQ(radiusOf(*drawing.at(1)), 5);
    EXPECT_TRUE(drawing.isAsInFile(1));
}

// --- Layers -------------------------------------------------------------------------------------

TEST(Layers, AreThoseOfTheTable) {
    for (const Look& look : everyLook) {
        const Opened opened(
            dxf("0 SECTION|2 TABLES|0 TABLE|2 LAYER|0 LAYER|2 0|70 0|62 7|6 CONTINUOUS"
                "|0 LAYER|2 off|70 0|62 -3|6 DASHED|0 LAYER|2 frozen|70 1|62 1"
                "|0 LAYER|2 locked|70 4|62 255|0 LAYER|2 both|70 69|62 -1"
                "|0 LAYER|70 0|2 ext|62 2|1001 A|1070 4|1003 0|0 ENDTAB|0 ENDSEC"
                "|0 EOF",
                look));
        const std::vector<Layer> wanted = {{u"0", 7, true, false, u"CONTINUOUS", false},
                                           {u"off", 3, false, false, u"DASHED", false},
                                           {u"frozen", 1, true, false, u"CONTINUOUS", true},
                                           {u"locked", 255, true, true, u"CONTINUOUS", false},
                                           {u"both", 1, false, true, u"CONTINUOUS", true},
                                           {u"ext", 2, true, false, u"CONTINUOUS", false}};
        EXPECT_EQ(opened.drawing.layers(), wanted);
    }
}

TEST(Layers, TheLayerZeroIsThereAnyway) {
    const Opened opened(dxf("0 SECTION|2 TABLES|0 TABLE|2 LAYER|0 LAYER|2 A|62 1|0 ENDTAB|0 ENDSEC"
                            "|0 EOF"));
    EXPECT_NE(opened.drawing.findLayer(u"0"), nullptr);
    EXPECT_NE(opened.drawing.findLayer(u"a"), nullptr);
    EXPECT_EQ(opened.drawing.layers().size(), 2U);
}

TEST(Layers, TheirNamesAreDecoded) {
    const std::string table =
        "0 SECTION|2 HEADER|9 $ACADVER|1 %|9 $DWGCODEPAGE|3 ANSI_1252|0 ENDSEC"
        "|0 SECTION|2 TABLES|0 TABLE|2 LAYER|0 LAYER|2 W$nde|0 ENDTAB|0 ENDSEC"
        "|0 EOF";
    EXPECT_NE(Opened(dxf(replaced(replaced(table, "%", "AC1015"), "W$", "W\xe4")))
                  .drawing.findLayer(u"W\u00e4nde"),
              nullptr);
    EXPECT_NE(Opened(dxf(replaced(replaced(table, "%", "AC1021"), "W$", "W\xc3\xa4")))
                  .drawing.findLayer(u"W\u00e4nde"),
              nullptr);
}

// --- Header variables ---------------------------------------------------------------------------

TEST(Variables, AreThoseOfTheHeader) {
    for (const Look& look : everyLook) {
        const Opened opened(dxf(
            "0 SECTION|2 HEADER|9 $ACADVER|1 AC1015|9 $DWGCODEPAGE|3 ANSI_1252|9 $CLAYER|8 WALLS"
            "|9 $CECOLOR|62 3|9 $CELWEIGHT|370 25|9 $CELTYPE|6 DASHED|9 $LTSCALE|40 2.5"
            "|9 $INSUNITS|70 6|9 $LIMMIN|10 1.5|20 2.5|9 $LIMMAX|10 100.0|20 200.0"
            "|9 $INSBASE|10 1.0|20 2.0|30 3.0|9 $TEXTSTYLE|7 NOTES|9 $LUNITS|70 4|9 $ANGBASE|50 "
            "90.0"
            "|9 $USERI3|70 -7|9 $USERR2|40 -0.25|0 ENDSEC|0 SECTION|2 TABLES|0 TABLE|2 LAYER"
            "|0 LAYER|2 WALLS|62 1|0 ENDTAB|0 ENDSEC|0 EOF",
            look));
        const Variables& variables = opened.drawing.variables;
        EXPECT_EQ(variables.text(u"CLAYER"), u"WALLS");
        EXPECT_EQ(opened.drawing.currentLayer(), u"WALLS");
        EXPECT_EQ(variables.text(u"CECOLOR"), u"3");
        EXPECT_EQ(variables.integer(u"CELWEIGHT"), 25);
        EXPECT_EQ(variables.text(u"CELTYPE"), u"DASHED");
        EXPECT_EQ(variables.real(u"LTSCALE"), 2.5);
        EXPECT_EQ(variables.integer(u"INSUNITS"), 6);
        EXPECT_EQ(variables.point(u"LIMMIN"), (VariablePoint{1.5, 2.5, 0}));
        EXPECT_EQ(variables.point(u"LIMMAX"), (VariablePoint{100, 200, 0}));
        EXPECT_EQ(variables.point(u"INSBASE"), (VariablePoint{1, 2, 3}));
        EXPECT_EQ(variables.text(u"TEXTSTYLE"), u"NOTES");
        EXPECT_EQ(variables.integer(u"LUNITS"), 4);
        EXPECT_NEAR(variables.real(u"ANGBASE"), std::numbers::pi / 2, 1e-15);
        EXPECT_EQ(variables.integer(u"USERI3"), -7);
        EXPECT_EQ(variables.real(u"USERR2"), -0.25);
        EXPECT_TRUE(Opened(std::string(opened.document->bytes())).isUnchanged());
    }
}

TEST(Variables, ColoursHaveNames) {
    const auto colour = [](const char* number) {
        return Opened(dxf("0 SECTION|2 HEADER|9 $CECOLOR|62 " + std::string(number) +
                          "|0 ENDSEC|0 EOF"))
            .drawing.variables.text(u"CECOLOR");
    };
    EXPECT_EQ(colour("256"), u"BYLAYER");
    EXPECT_EQ(colour("0"), u"BYBLOCK");
    EXPECT_EQ(colour("255"), u"255");
}

TEST(Variables, OfAnotherDrawingAreForgotten) {
    Drawing drawing;
    documentOf(dxf("0 SECTION|2 HEADER|9 $LTSCALE|40 5.0|9 $CECOLOR|62 1|0 ENDSEC|0 EOF"))
        ->fill(drawing);
    EXPECT_EQ(drawing.variables.real(u"LTSCALE"), 5);
    documentOf(dxf("0 EOF"))->fill(drawing);
    EXPECT_EQ(drawing.variables.real(u"LTSCALE"), 1);
    EXPECT_EQ(drawing.variables.text(u"CECOLOR"), u"BYLAYER");
}

// --- Blocks -------------------------------------------------------------------------------------

constexpr std::string_view blocksFile =
    "0 SECTION|2 HEADER|9 $ACADVER|1 AC1015|0 ENDSEC|0 SECTION|2 TABLES|0 TABLE|2 BLOCK_RECORD|5 1"
    "|0 BLOCK_RECORD|5 1F|2 *Model_Space|0 BLOCK_RECORD|5 40|2 SECOND|0 BLOCK_RECORD|5 1B"
    "|2 *Paper_Space|0 BLOCK_RECORD|5 50|2 first|0 ENDTAB|0 ENDSEC|0 SECTION|2 BLOCKS"
    "|0 BLOCK|5 51|2 FIRST|70 2|10 1.5|20 2.5|30 0.0|0 LINE|8 0|10 1.0|11 2.0|0 POLYLINE|66 1"
    "|0 VERTEX|10 1.0|0 SEQEND|0 ENDBLK|0 BLOCK|5 20|2 *Model_Space|70 0|10 0.0|0 ENDBLK"
    "|0 BLOCK|5 1C|2 *Paper_Space|70 0|0 LINE|67 1|0 ENDBLK|0 BLOCK|5 61|2 LOOSE|70 0|0 ENDBLK"
    "|0 BLOCK|5 41|2 SECOND|70 0|0 INSERT|2 FIRST|0 ENDBLK|0 ENDSEC|0 EOF";

TEST(Blocks, StandInTheOrderOfTheirRecords) {
    for (const Look& look : everyLook) {
        const Opened opened(dxf(blocksFile, look));
        std::vector<std::u16string> names;
        std::vector<HostLong> ids;
        for (const auto& block : opened.drawing.blocks()) {
            names.push_back(textOf(block->record.name));
            ids.push_back(block->record.id);
        }
        EXPECT_EQ(names, (std::vector<std::u16string>{u"*Model_Space", u"SECOND", u"*Paper_Space",
                                                      u"FIRST", u"LOOSE"}));
        EXPECT_EQ(ids, (std::vector<HostLong>{0x1f, 0x40, 0x1b, 0x50, 0x61}));
        const BlockDefinition* first = opened.drawing.findBlock(u"First");
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first->record.flags, 2);
        EXPECT_EQ(first->record.baseX, 1.5);
        EXPECT_EQ(first->record.baseY, 2.5);
        ASSERT_EQ(first->view().size(), 2U);
        EXPECT_EQ(first->view()[0]->typeCode, vmDbLine);
        EXPECT_EQ(first->view()[1]->typeCode, vmDbPolyline);
        ASSERT_EQ(opened.drawing.findBlock(u"SECOND")->view().size(), 1U);
        EXPECT_EQ(opened.drawing.slotCount(), 0) << "what blocks hold has no slot";
    }
}

TEST(Blocks, WithoutRecordsStandInTheirOwnOrder) {
    const Opened opened(dxf("0 SECTION|2 BLOCKS|0 BLOCK|2 B|10 0.0|0 ENDBLK|0 BLOCK|2 A|70 1"
                            "|10 5.0|20 6.0|0 ENDBLK|0 ENDSEC|0 EOF"));
    ASSERT_EQ(opened.drawing.blocks().size(), 2U);
    EXPECT_EQ(textOf(opened.drawing.blocks()[0]->record.name), u"B");
    EXPECT_EQ(opened.drawing.blocks()[1]->record.flags, 1);
    EXPECT_EQ(opened.drawing.blocks()[1]->record.baseX, 5);
}

TEST(Blocks, KeepTheirContentsWhenTheDrawingGoesOn) {
    // Contents are made when somebody looks: the document lives as long as they may be.
    std::shared_ptr<BlockDefinition> block;
    {
        Opened opened(dxf(blocksFile));
        block = opened.drawing.blocks()[3];
    }
    EXPECT_EQ(block->view().size(), 2U);
    EXPECT_EQ(&block->view(), &block->view());
}

// --- Files --------------------------------------------------------------------------------------

TEST(File, IsOpenedWhole) {
    const vlisp::test::TemporaryFolder folder;
    const std::string path = (folder.path() / "drawing.dxf").string();
    const std::string bytes = dxf(entitiesOnly("0 LINE|8 0"));
    std::ofstream(path, std::ios::binary) << bytes;
    const auto document = Document::open(path, OnDamage::stop);
    std::ofstream(path, std::ios::binary) << "something else";
    EXPECT_EQ(document->bytes(), bytes);
    Drawing drawing;
    document->fill(drawing);
    EXPECT_EQ(drawing.slotCount(), 1);
}

TEST(File, ThatCannotBeReadIsNamed) {
    const vlisp::test::TemporaryFolder folder;
    for (const std::string& path :
         {(folder.path() / "missing.dxf").string(), folder.path().string()})
        try {
            static_cast<void>(Document::open(path, OnDamage::recover));
            ADD_FAILURE() << path;
        } catch (const FileError& error) {
            EXPECT_EQ(error.kind, FileError::Kind::unreadable);
            EXPECT_NE(std::string_view(error.what()).find(path), std::string_view::npos)
                << error.what();
        }
}

TEST(File, ThatIsDamagedIsNamed) {
    const vlisp::test::TemporaryFolder folder;
    const std::string path = (folder.path() / "damaged.dxf").string();
    std::ofstream(path, std::ios::binary) << "0\nSECTION\nnonsense\n";
    try {
        static_cast<void>(Document::open(path, OnDamage::stop));
        ADD_FAILURE();
    } catch (const FileError& error) {
        EXPECT_EQ(error.kind, FileError::Kind::damaged);
        EXPECT_TRUE(std::string_view(error.what()).starts_with(path + ": line 3: 'nonsense'"))
            << error.what();
    }
}

TEST(File, TellsVersionAndCodePage) {
    const auto document = documentOf(dxf(drawingOf("", "AC1018")));
    EXPECT_EQ(document->version().name(), "AC1018");
    EXPECT_EQ(document->codePage(), "ANSI_1252");
    const auto bare = documentOf(dxf("0 EOF"));
    EXPECT_EQ(bare->version().name(), "AC1009");
    EXPECT_EQ(bare->codePage(), "");
}

// --- A new drawing ------------------------------------------------------------------------------

TEST(Blank, IsAWholeDrawing) {
    const std::string bytes = blankDrawing();
    EXPECT_EQ(damageIn(bytes), "");
    Opened opened(bytes);
    EXPECT_EQ(opened.drawing.slotCount(), 0);
    EXPECT_TRUE(opened.isUnchanged());
    EXPECT_TRUE(opened.document->problems().empty());
    for (const char* table :
         {"VPORT", "LTYPE", "LAYER", "STYLE", "VIEW", "UCS", "APPID", "DIMSTYLE", "BLOCK_RECORD"})
        EXPECT_NE(opened.document->structure().findTable(table), nullptr) << table;
    for (const char* section : {"HEADER", "TABLES", "BLOCKS", "ENTITIES", "OBJECTS"})
        EXPECT_NE(opened.document->structure().findSection(section), nullptr) << section;
    EXPECT_NE(opened.drawing.findBlock(u"*Model_Space"), nullptr);
    EXPECT_NE(opened.drawing.findBlock(u"*Paper_Space"), nullptr);
    const std::vector<std::uint64_t> handles = handlesIn(bytes);
    EXPECT_EQ(std::set<std::uint64_t>(handles.begin(), handles.end()).size(), handles.size());
}

TEST(Blank, CountsItsObjectsFromOne) {
    Drawing drawing;
    const auto document = Document::blank();
    document->fill(drawing);
    auto line = std::make_unique<VmDbLine>();
    line->addPoint({0, 0, 0});
    line->addPoint({1, 1, 0});
    EXPECT_EQ(drawing.add(std::move(line)), 1);
    std::vector<std::string> notes;
    const std::string saved = bytesWith(*document, document->changes(drawing, notes));
    EXPECT_EQ(damageIn(saved), "");
    const std::vector<std::uint64_t> handles = handlesIn(saved);
    EXPECT_EQ(std::set<std::uint64_t>(handles.begin(), handles.end()).size(), handles.size());
    EXPECT_EQ(recordsIn(saved, "LINE").size(), 1U);
}

TEST(Document, TakesNoHeedOfTheLocale) {
    const CommaLocale comma;
    const Opened opened(dxf("0 SECTION|2 HEADER|9 $LTSCALE|40 1234.5|0 ENDSEC|0 SECTION|2 ENTITIES"
                            "|0 CIRCLE|10 1.5|20 2.5|40 0.75|0 ENDSEC|0 EOF"));
    EXPECT_EQ(opened.drawing.variables.real(u"LTSCALE"), 1234.5);
    EXPECT_EQ(opened.at<VmDbCircle>(0)->radius, 0.75);
}

}  // namespace
}  // namespace vlisp::refhost::dxf
