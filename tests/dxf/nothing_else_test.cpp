// What a save leaves alone, and what it refuses rather than to write it wrong.
#include "tests/dxf/dxf_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vlisp::refhost::dxf::test {
namespace {

// --- Angles ---

struct Turned {
    const char* name;
    std::string record;
    double& (*rotation)(VmDbObject&);
};

double& textRotation(VmDbObject& object) { return dynamic_cast<VmDbText&>(object).rotation; }
double& insertRotation(VmDbObject& object) { return dynamic_cast<VmDbBlockRef&>(object).rotation; }

const Turned turned[] = {
    {"TEXT", "0 TEXT|8 0|10 1.0|20 2.0|40 2.5|1 x|50 ", textRotation},
    {"MTEXT", "0 MTEXT|8 0|10 1.0|20 2.0|40 2.5|1 x|50 ", textRotation},
    {"INSERT", "0 INSERT|8 0|2 B|10 1.0|20 2.0|50 ", insertRotation},
};

// A list that a program gets and gives back turns radians into degrees again, with the formulas of
// the language.
TEST(Rotations, ThatWereOnlyPassedThroughStay) {
    for (const Turned& kind : turned)
        for (int degrees = 0; degrees < 360; ++degrees) {
            const std::string bytes = dxf(drawingOf(kind.record + std::to_string(degrees) + ".0"));
            Opened opened(bytes);
            opened.change<VmDbObject>(0, [&](VmDbObject& object) {
                double& rotation = kind.rotation(object);
                rotation = rotation * 3.141592653589793 / 180.0 * 57.29577951308232;
            });
            EXPECT_EQ(opened.saved(), bytes) << kind.name << " " << degrees;
        }
}

TEST(Rotations, ThatChangeALittleAreWritten) {
    for (const Turned& kind : turned) {
        Opened opened(dxf(drawingOf(kind.record + "30.0")));
        opened.change<VmDbObject>(
            0, [&](VmDbObject& object) { kind.rotation(object) = 30.000000000001; });
        EXPECT_EQ(opened.saved(), dxf(drawingOf(kind.record + "30.000000000001"))) << kind.name;
    }
}

// --- Colours ---

TEST(TrueColours, GiveWayToAColourThatIsSet) {
    const std::string record = "0 LINE|8 0|62 1|420 255|430 BOOK$RED|10 1.0|20 0.0|11 2.0|21 0.0";
    Opened opened(dxf(drawingOf(record)));
    opened.change<VmDbLine>(0, [](VmDbLine& line) { line.points.getAt(0).x = 5; });
    EXPECT_EQ(opened.saved(), dxf(drawingOf(replaced(record, "10 1.0", "10 5.0"))));
    opened.change<VmDbLine>(0, [](VmDbLine& line) { line.colour = 3; });
    EXPECT_EQ(opened.saved(), dxf(drawingOf("0 LINE|8 0|62 3|10 5.0|20 0.0|11 2.0|21 0.0")));
}

TEST(TrueColours, OfLayersAreRead) {
    const std::string file =
        replaced(drawingOf(""), "2 WALLS|70 0|62 3", "2 WALLS|70 0|62 3|420 255");
    Opened opened(dxf(file));
    ASSERT_NE(opened.drawing.findLayer(u"WALLS"), nullptr);
    EXPECT_EQ(opened.drawing.findLayer(u"WALLS")->trueColour, 255U);
    Layer& layer = opened.drawing.changeLayer(u"WALLS");
    layer.colour = 5;
    layer.trueColour.reset();
    EXPECT_EQ(opened.saved(), dxf(replaced(file, "62 3|420 255", "62 5")));
}

TEST(NewLayers, HaveNothingThatIsLayerZerosAlone) {
    const std::string file =
        replaced(drawingOf(""), "2 0|70 0|62 7|6 CONTINUOUS|390 F",
                 "2 0|70 16|62 7|420 255|6 CONTINUOUS|390 F|1001 ACAD|1000 secret");
    Opened opened(dxf(file));
    opened.drawing.changeLayer(u"NEW");
    const std::string saved = opened.saved();
    const auto rows = recordsIn(saved, "LAYER");
    const auto isNew = [](const TestRecord& row) { return row.first(2) == "NEW"; };
    const auto row = std::ranges::find_if(rows, isNew);
    ASSERT_NE(row, rows.end());
    EXPECT_EQ(row->first(70), "0");
    EXPECT_TRUE(row->all(420).empty());
    EXPECT_TRUE(row->all(1000).empty());
    EXPECT_EQ(row->first(390), "F") << "what programs want of every layer is there";
}

// --- Erasing ---

// An object belongs to the owner in front of its first marker; a 330 behind it is something else.
TEST(Erased, TakesAlongWhatItOwnsAndNothingElse) {
    const std::string objects =
        "|0 SECTION|2 OBJECTS|0 DICTIONARY|5 40|330 0|100 AcDbDictionary"
        "|0 DICTIONARY|5 41|330 30|100 AcDbDictionary|0 XRECORD|5 42|330 41|100 AcDbXrecord|70 1"
        "|0 IDBUFFER|5 43|100 AcDbIdBuffer|330 30|330 31"
        "|0 SORTENTSTABLE|5 44|102 {X|330 30|102 }|330 40|100 AcDbSortentsTable|330 30"
        "|0 ENDSEC|0 EOF";
    const std::string line = "0 LINE|5 30|8 0|10 1.0|20 0.0|11 2.0|21 0.0";
    const std::string other = "0 LINE|5 31|8 0|10 1.0|20 0.0|11 2.0|21 0.0";
    const auto file = [&](const std::string& entities, const std::string& rest) {
        return replaced(drawingOf(entities), "|0 ENDSEC|0 EOF", "|0 ENDSEC" + rest);
    };
    Opened opened(dxf(file(line + "|" + other, objects)));
    opened.erase(0);
    const std::string rest =
        replaced(replaced(objects, "|0 DICTIONARY|5 41|330 30|100 AcDbDictionary", ""),
                 "|0 XRECORD|5 42|330 41|100 AcDbXrecord|70 1", "");
    EXPECT_EQ(opened.saved(), dxf(file(other, rest)));
}

TEST(Erased, InARecoveredFileIsSaved) {
    const std::string file =
        replaced(drawingOf("0 LINE|5 30|8 0|10 1.0|20 0.0|11 2.0|21 0.0"), "|0 ENDSEC|0 EOF",
                 "|0 ENDSEC|0 SECTION|2 OBJECTS|0 DICTIONARY|5 40|330 0|280 1|0 ENDSEC|0 EOF");
    std::string bytes = dxf(file);
    bytes = replaced(bytes, "280\n1\n", "280\nx\n");
    Opened opened(bytes, OnDamage::recover);
    opened.erase(0);
    EXPECT_TRUE(recordsIn(opened.saved(), "LINE").empty());
}

// --- The last check ---

TEST(LostRecords, AreFoundWhateverTookThem) {
    const std::string bytes =
        dxf(replaced(drawingOf("0 LINE|5 30|8 0|10 1.0|0 LINE|5 31|8 0|10 1.0"), "|0 ENDSEC|0 EOF",
                     "|0 ENDSEC|0 SECTION|2 OBJECTS|0 DICTIONARY|5 40|330 0|0 ENDSEC|0 EOF"));
    const auto document = documentOf(bytes);
    const Structure& structure = document->structure();
    const auto lost = [&](Span span, std::vector<std::uint64_t> erased) {
        const Change change{span, {}};
        return lostRecord(structure, {&change, 1}, erased);
    };
    const Span entity = structure.entities[1];
    EXPECT_EQ(lost(entity, {}), entity.begin);
    EXPECT_EQ(lost(entity, {structure.entities[0].begin}), entity.begin);
    EXPECT_EQ(lost(entity, {entity.begin}), std::nullopt);
    EXPECT_EQ(lost({entity.begin - 3, entity.end}, {}), entity.begin);
    EXPECT_EQ(lost({entity.begin + 7, entity.end}, {}), std::nullopt) << "pairs of it may go";
    const Span row = structure.findTable("LAYER")->rows[1].record;
    EXPECT_EQ(lost(row, {}), row.begin);
    const Span block = structure.blocks[0].head;
    EXPECT_EQ(lost(block, {}), block.begin);
    const Span object = structure.objects[0];
    EXPECT_EQ(lost(object, {}), object.begin);
    EXPECT_EQ(lost(object, {object.begin}), std::nullopt);
}

// --- What no file can hold ---

TEST(Refused, ColoursAndLineweightsThatThereAreNot) {
    const auto refusalOf = [](auto change) {
        Opened opened(dxf(drawingOf("0 LINE|8 0|10 1.0|20 0.0|11 2.0|21 0.0"), binary));
        opened.change<VmDbLine>(0, change);
        return opened.refusal();
    };
    EXPECT_NE(refusalOf([](VmDbLine& line) { line.colour = 257; }).find("257"), std::string::npos);
    EXPECT_NE(refusalOf([](VmDbLine& line) { line.colour = -1; }), "");
    EXPECT_NE(refusalOf([](VmDbLine& line) { line.lineweight = 99999; }).find("99999"),
              std::string::npos);
    EXPECT_NE(refusalOf([](VmDbLine& line) { line.lineweight = -4; }), "");
    EXPECT_EQ(refusalOf([](VmDbLine& line) { line.colour = 0; }), "");
    EXPECT_EQ(refusalOf([](VmDbLine& line) { line.lineweight = 211; }), "");
}

TEST(Refused, NamesThatOldFilesCannotHold) {
    for (const char16_t* name : {u"WITH BLANK", u"abcdefghijklmnopqrstuvwxyz-abcdef", u"A&B"}) {
        Opened layer(dxf(drawingOf("", "AC1009")));
        layer.drawing.changeLayer(name);
        EXPECT_NE(layer.refusal().find("31 letters"), std::string::npos);
        Opened block(dxf(drawingOf("", "AC1009")));
        block.drawing.defineBlock(name, {0, 0}, {});
        EXPECT_NE(block.refusal(), "");
        Opened newer(dxf(drawingOf("", "AC1015")));
        newer.drawing.changeLayer(name);
        EXPECT_EQ(newer.refusal(), "");
    }
    Opened plainName(dxf(drawingOf("", "AC1009")));
    plainName.drawing.changeLayer(u"A-1_$");
    EXPECT_EQ(plainName.refusal(), "");
}

TEST(Refused, WholeNumbersBeyondWhatTheirCodeHolds) {
    Opened opened(
        dxf(replaced(drawingOf(""), "|9 $LTSCALE|40 1.0", "|9 $LTSCALE|40 1.0|9 $USERI1|70 0"),
            binary));
    opened.drawing.variables.storeInt(u"USERI1", 70000);
    EXPECT_NE(opened.refusal().find("USERI1 is 70000"), std::string::npos);
    opened.drawing.variables.storeInt(u"USERI1", -32768);
    EXPECT_EQ(opened.refusal(), "");
}

// --- Copies out of recovered files ---

TEST(Recovered, CopiesAreWhole) {
    for (const char* record : {"0 LWPOLYLINE|5 30|8 0|90 5|70 0|10 0.0|20 0.0|10 1.0|20 0.0",
                               "0 POLYLINE|5 30|8 0|66 1|70 0|0 VERTEX|5 31|8 0|10 0.0|20 0.0"}) {
        Opened opened(dxf(drawingOf(record)), OnDamage::recover);
        ASSERT_EQ(opened.drawing.slotCount(), 1);
        opened.addCopyOf(0);
        static_cast<void>(opened.saved());
    }
}

// --- Polylines that are not the line of their vertices ---

TEST(FittedPolylines, FramesKeepTheirVerticesAndAreNotDrawn) {
    const auto vertex = [](const char* x, const char* y, const char* flags) {
        return std::string("|0 VERTEX|8 0|10 ") + x + "|20 " + y + "|70 " + flags;
    };
    Opened opened(
        dxf(drawingOf("0 POLYLINE|8 0|66 1|70 4" + vertex("0.0", "900.0", "16") +
                      vertex("0.0", "0.0", "8") + vertex("10.0", "5.0", "8") + "|0 SEQEND|8 0")));
    const auto polyline = opened.at<VmDb2DPolyline>(0);
    EXPECT_EQ(polyline->points.count, 3);
    EXPECT_EQ(opened.drawing.extentOf(*polyline), (Box{0, 0, 10, 5}));
}

}  // namespace
}  // namespace vlisp::refhost::dxf::test
