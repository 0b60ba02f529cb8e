// Tests of refhost/dxf/saving.cpp: what becomes of a whole file when its drawing has changed.
#include "tests/dxf/dxf_text.h"

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <set>

namespace vlisp::refhost::dxf {
namespace {

using namespace test;

std::unique_ptr<VmDbLine> lineFrom(double x1, double y1, double x2, double y2) {
    auto line = std::make_unique<VmDbLine>();
    line->addPoint({x1, y1, 0});
    line->addPoint({x2, y2, 0});
    return line;
}

constexpr const char* someLine = "0 LINE|5 30|8 0|10 1.0|20 2.0|11 3.0|21 4.0";

// All handles of a saved file are different, those that are new are above all that were there, and
// the seed is above all.
void expectHandlesInOrder(const std::string& before, const std::string& saved) {
    const std::vector<std::uint64_t> old = handlesIn(before);
    const std::vector<std::uint64_t> all = handlesIn(saved);
    EXPECT_EQ(std::set<std::uint64_t>(all.begin(), all.end()).size(),
              all.size() - (old.size() - std::set<std::uint64_t>(old.begin(), old.end()).size()));
    const std::uint64_t largest = old.empty() ? 0 : *std::ranges::max_element(old);
    std::uint64_t last = largest;
    for (const std::uint64_t handle : all) {
        if (std::ranges::find(old, handle) == old.end()) {
            EXPECT_GT(handle, largest);
        }
        last = std::max(last, handle);
    }
    const std::string seed = headerValue(saved, "$HANDSEED");
    ASSERT_TRUE(seed.starts_with("5 ")) << seed;
    std::uint64_t next = 0;
    std::from_chars(seed.data() + 2, seed.data() + seed.size(), next, 16);
    EXPECT_GT(next, last);
}

// --- Erasing and taking back --------------------------------------------------------------------

TEST(Erased, ExactlyTheRecordsGo) {
    const std::string entities[] = {
        "0 LINE|5 30|8 0|10 1.0|20 2.0|11 3.0|21 4.0|1001 ACAD|1000 x",
        "0 POLYLINE|5 31|66 1|0 VERTEX|5 32|10 1.0|20 2.0|0 SEQEND|5 33",
        "0 INSERT|5 34|66 1|2 B|0 ATTRIB|5 35|1 v|0 SEQEND|5 36", "0 HATCH|5 37|8 0|10 1.0",
        "0 MTEXT|5 38|3 a|1 b|101 Embedded Object|1 c"};
    for (const Look& look : {plain, windows, padded, binary, shortBinary})
        for (int out = 0; out < 5; ++out) {
            std::string all;
            std::string rest;
            for (int i = 0; i < 5; ++i) {
                all += "|" + entities[i];
                if (i != out) rest += "|" + entities[i];
            }
            Opened opened(dxf(drawingOf(all), look));
            opened.erase(out);
            EXPECT_EQ(opened.saved(), dxf(drawingOf(rest), look));
            opened.erase(out, false);
            EXPECT_TRUE(opened.isUnchanged());
        }
}

TEST(Erased, Everything) {
    Opened opened(dxf(drawingOf("0 LINE|8 0|10 1.0|0 CIRCLE|8 0|10 1.0|0 LINE|67 1|8 0|10 1.0")));
    for (int slot = 0; slot < opened.drawing.slotCount(); ++slot) opened.erase(slot);
    EXPECT_EQ(opened.saved(), dxf(drawingOf("0 LINE|67 1|8 0|10 1.0"))) << "paper stays";
}

TEST(TakenBack, TheDrawingIsUnchangedAgain) {
    const std::vector<std::function<void(Opened&)>> actions = {
        [](Opened& o) { o.erase(0); },
        [](Opened& o) { o.drawing.add(lineFrom(0, 0, 1, 1)); },
        [](Opened& o) { o.addCopyOf(0); },
        [](Opened& o) {
            o.change<VmDbLine>(0, [](VmDbLine& line) { line.points.getAt(0).x = 77; });
        },
        [](Opened& o) {
            o.change<VmDbLine>(0, [](VmDbLine& line) { setText(line.layerName, u"NEW"); });
        },
        [](Opened& o) {
            o.drawing.attach(o.idAt(0), {u"NEW", 5});
        },
        [](Opened& o) {
            o.drawing.beginGroup();
            o.drawing.changeLayer(u"WALLS").colour = 9;
            o.drawing.changeLayer(u"NEW").locked = true;
            o.drawing.endGroup();
        },
        [](Opened& o) {
            o.drawing.beginGroup();
            std::vector<std::unique_ptr<VmDbObject>> contents;
            contents.push_back(lineFrom(0, 0, 1, 1));
            o.drawing.defineBlock(u"NEW", {1, 2}, std::move(contents));
            o.drawing.endGroup();
        },
        [](Opened& o) {
            o.drawing.beginGroup();
            o.drawing.variables.setText(u"CLAYER", u"WALLS");
            o.drawing.variables.setText(u"CECOLOR", u"5");
            o.drawing.endGroup();
        },
    };
    for (std::size_t i = 0; i < actions.size(); ++i) {
        SCOPED_TRACE(i);
        Opened opened(dxf(drawingOf(someLine)));
        actions[i](opened);
        const std::string changed = opened.saved();
        EXPECT_NE(changed, opened.document->bytes());
        ASSERT_TRUE(opened.drawing.undo());
        EXPECT_TRUE(opened.isUnchanged());
        ASSERT_TRUE(opened.drawing.redo());
        EXPECT_EQ(opened.saved(), changed);
    }
}

TEST(Saving, ManyChangesAtOnce) {
    for (const Look& look : {plain, padded, binary}) {
        Opened opened(dxf(
            drawingOf("0 LINE|5 30|8 0|10 1.0|20 2.0|11 3.0|21 4.0|0 CIRCLE|5 31|8 0|10 1.0|20 2.0"
                      "|40 1.00|0 LINE|5 32|8 0|10 5.0|20 6.0|11 7.0|21 8.0|0 LINE|5 33|8 WALLS"
                      "|10 5.0|20 6.0|11 7.0|21 8.0"),
            look));
        opened.change<VmDbLine>(3, [](VmDbLine& line) { line.colour = 3; });
        opened.erase(2);
        opened.change<VmDbCircle>(1, [](VmDbCircle& circle) { circle.radius = 2; });
        opened.change<VmDbLine>(0, [](VmDbLine& line) { line.points.getAt(1).y = -4; });
        opened.drawing.variables.setReal(u"LTSCALE", 2);
        EXPECT_EQ(
            opened.saved(),
            dxf(replaced(drawingOf("0 LINE|5 30|8 0|10 1.0|20 2.0|11 3.0|21 -4.0|0 CIRCLE|5 31|8 0"
                                   "|10 1.0|20 2.0|40 2.00|0 LINE|5 33|8 WALLS|62 3|10 5.0|20 6.0"
                                   "|11 7.0|21 8.0"),
                         "9 $LTSCALE|40 1.0", "9 $LTSCALE|40 2.0"),
                look));
    }
}

TEST(Saving, InAFileWithoutALineEndAtItsEnd) {
    for (const char* end : {"EOF", "EOF\n"}) {
        const std::string bytes =
            replaced(dxf(entitiesOnly("0 LINE|8 0|10 1.0|20 2.0|11 3.0|21 4.0")), "EOF\n", end);
        Opened opened(bytes);
        opened.drawing.add(lineFrom(5, 6, 7, 8));
        EXPECT_EQ(opened.saved(),
                  replaced(bytes, "0\nENDSEC\n",
                           "0\nLINE\n8\n0\n10\n5.0\n20\n6.0\n30\n0.0\n11\n7.0\n21\n8.0\n31\n0.0\n"
                           "0\nENDSEC\n"));
    }
}

TEST(Saving, BytesBehindTheEndStay) {
    const std::string bytes = "\xef\xbb\xbf" + dxf(entitiesOnly(someLine)) + "trailing";
    Opened opened(bytes);
    opened.change<VmDbLine>(0, [](VmDbLine& line) { line.colour = 5; });
    EXPECT_EQ(opened.saved(), replaced(bytes, "8\n0\n", "8\n0\n62\n5\n"));
}

// --- Handles ------------------------------------------------------------------------------------

TEST(Handles, OfWhatIsNewAreAboveAllOthers) {
    const std::string base = drawingOf(someLine);
    const std::string seed = "|9 $HANDSEED|5 A0";
    const std::pair<const char*, std::string> files[] = {
        {"as it should be", base},
        {"a seed that is too low", replaced(base, seed, "|9 $HANDSEED|5 5")},
        {"a seed that is none", replaced(base, seed, "|9 $HANDSEED|5 xyz")},
        {"a seed of zero", replaced(base, seed, "|9 $HANDSEED|5 0")},
        {"a seed under another code", replaced(base, seed, "|9 $HANDSEED|70 1")},
        {"no seed", replaced(base, seed, "")},
        {"a large handle of an object", replaced(base, "|0 EOF",
                                                 "|0 SECTION|2 OBJECTS|0 DICTIONARY|5 FF0|0 ENDSEC"
                                                 "|0 EOF")},
        {"a large handle on paper",
         replaced(base, someLine, std::string(someLine) + "|0 LINE|5 FF0|67 1|8 0")},
        {"a large handle of a vertex",
         replaced(base, someLine,
                  std::string(someLine) +
                      "|0 POLYLINE|66 1|0 VERTEX|5 FF0|10 1.0|20 2.0|0 SEQEND")},
        {"a large handle of a dimension style",
         replaced(base, "|0 TABLE|2 LAYER",
                  "|0 TABLE|2 DIMSTYLE|5 A|0 DIMSTYLE|105 FF0|2 X|5 FFFFFF|0 ENDTAB"
                  "|0 TABLE|2 LAYER")},
        {"a handle beyond 31 bits", replaced(base, "0 LINE|5 30", "0 LINE|5 FFFFFFFFF")},
        {"a handle of 63 bits", replaced(base, "0 LINE|5 30", "0 LINE|5 7FFFFFFFFFFFFFFF")},
        {"handles twice", replaced(base, someLine, std::string(someLine) + "|" + someLine)},
        {"an old file", drawingOf(someLine, "AC1009")},
        {"an entity without", replaced(base, someLine, "0 LINE|8 0|10 1.0|20 0.0|11 1.0|21 1.0")},
    };
    for (const auto& [name, notation] : files) {
        SCOPED_TRACE(name);
        const std::string before = dxf(notation);
        Opened opened(before);
        opened.drawing.add(lineFrom(0, 0, 1, 1));
        opened.drawing.add(lineFrom(0, 0, 1, 1));
        auto polyline = std::make_unique<VmDb2DPolyline>();
        polyline->typeCode = vmDbPolyline;
        polyline->addPoint({1, 2, 0});
        opened.drawing.add(std::move(polyline));
        opened.addCopyOf(0);
        opened.drawing.changeLayer(u"NEW").colour = 5;
        opened.drawing.attach(opened.idAt(0), {u"NEW", 5});
        std::vector<std::unique_ptr<VmDbObject>> contents;
        contents.push_back(lineFrom(0, 0, 1, 1));
        contents.push_back(clone(*opened.drawing.at(0)));
        opened.drawing.defineBlock(u"NEW", {0, 0}, std::move(contents));
        expectHandlesInOrder(before, opened.saved());
    }
}

TEST(Handles, AreTheSameWheneverItIsSaved) {
    Opened opened(dxf(drawingOf(someLine)));
    const HostLong id = opened.drawing.add(lineFrom(0, 0, 1, 1));
    const std::string first = opened.saved();
    EXPECT_EQ(opened.saved(), first);
    opened.drawing.add(lineFrom(5, 5, 6, 6));
    const auto lines = recordsIn(opened.saved(), "LINE");
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1].first(5), recordsIn(first, "LINE").at(1).first(5));
    // What is opened again has the ids that it had.
    const Opened again(opened.saved());
    EXPECT_EQ(again.idAt(1), id);
}

TEST(Handles, WhenNoneIsLeftSavingIsRefused) {
    const std::string full =
        replaced(drawingOf(someLine), "0 LINE|5 30", "0 LINE|5 FFFFFFFFFFFFFFFF");
    Opened opened(dxf(full));
    EXPECT_TRUE(opened.isUnchanged());
    opened.change<VmDbLine>(0, [](VmDbLine& line) { line.colour = 5; });
    EXPECT_EQ(opened.saved(), dxf(replaced(full, "8 0|10 1.0", "8 0|62 5|10 1.0")));
    opened.drawing.add(lineFrom(0, 0, 1, 1));
    EXPECT_NE(opened.refusal().find("handle"), std::string::npos);
}

TEST(Handles, WhenFewAreLeftNoneIsGivenTwice) {
    Opened opened(dxf(replaced(drawingOf(someLine), "0 LINE|5 30", "0 LINE|5 FFFFFFFFFFFFFFFD")));
    opened.drawing.add(lineFrom(0, 0, 1, 1));
    opened.drawing.add(lineFrom(0, 0, 1, 1));
    opened.drawing.add(lineFrom(0, 0, 1, 1));
    opened.drawing.add(lineFrom(0, 0, 1, 1));
    EXPECT_NE(opened.refusal().find("handle"), std::string::npos);
}

// --- Layers -------------------------------------------------------------------------------------

TEST(Layers, ChangesGoIntoTheirRows) {
    const std::string walls = "|100 AcDbLayerTableRecord|2 WALLS|70 0|62 3|6 CONTINUOUS";
    const struct {
        const char* before;
        const char* after;
        std::function<void(Layer&)> change;
    } cases[] = {
        {"2 WALLS|70 0|62 3|6 CONTINUOUS", "2 WALLS|70 0|62 5|6 CONTINUOUS",
         [](Layer& layer) { layer.colour = 5; }},
        {"2 WALLS|70 0|62 3|6 CONTINUOUS", "2 WALLS|70 0|62 -3|6 CONTINUOUS",
         [](Layer& layer) { layer.on = false; }},
        {"2 WALLS|70 0|62 -3|6 CONTINUOUS", "2 WALLS|70 0|62 3|6 CONTINUOUS",
         [](Layer& layer) { layer.on = true; }},
        {"2 WALLS|70 64|62 3|6 CONTINUOUS", "2 WALLS|70 65|62 3|6 CONTINUOUS",
         [](Layer& layer) { layer.frozen = true; }},
        {"2 WALLS|70 70|62 3|6 CONTINUOUS", "2 WALLS|70 66|62 3|6 CONTINUOUS",
         [](Layer& layer) { layer.locked = false; }},
        {"2 WALLS|70 0|62 3|6 CONTINUOUS", "2 WALLS|70 0|62 3|6 DASHED",
         [](Layer& layer) { layer.lineType = u"DASHED"; }},
        {"2 WALLS|70 0|6 CONTINUOUS", "2 WALLS|62 2|70 0|6 CONTINUOUS",
         [](Layer& layer) { layer.colour = 2; }},
        {"2 WALLS|62 3|6 CONTINUOUS", "2 WALLS|70 4|62 3|6 CONTINUOUS",
         [](Layer& layer) { layer.locked = true; }},
    };
    for (const auto& one : cases)
        for (const Look& look : {plain, padded, binary}) {
            const std::string file =
                replaced(drawingOf(someLine), "2 WALLS|70 0|62 3|6 CONTINUOUS", one.before);
            Opened opened(dxf(file, look));
            one.change(opened.drawing.changeLayer(u"walls"));
            EXPECT_EQ(opened.saved(), dxf(replaced(file, one.before, one.after), look))
                << one.before;
        }
}

TEST(Layers, WhatIsEmbeddedInTheirRowsIsNotTheirs) {
    const std::string row = "2 WALLS|70 0|62 3|6 CONTINUOUS";
    Opened opened(
        dxf(replaced(drawingOf(someLine), row, row + "|101 Embedded Object|6 OTHER|62 7")));
    EXPECT_EQ(opened.drawing.findLayer(u"WALLS")->lineType, u"CONTINUOUS");
    EXPECT_EQ(opened.drawing.findLayer(u"WALLS")->colour, 3);
    opened.drawing.changeLayer(u"WALLS").lineType = u"DASHED";
    EXPECT_EQ(Opened(opened.saved()).drawing.findLayer(u"WALLS")->lineType, u"DASHED");
}

TEST(Layers, ANewOneIsLikeTheLayerZero) {
    Opened opened(dxf(drawingOf(someLine)));
    Layer& layer = opened.drawing.changeLayer(u"N\u00e4he");
    layer.colour = 5;
    layer.locked = true;
    layer.on = false;
    const std::string saved = opened.saved();
    const auto rows = recordsIn(saved, "LAYER");
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[2].notation(),
              "0 LAYER|5 A0|330 2|100 AcDbSymbolTableRecord|100 AcDbLayerTableRecord|2 N\xe4he|70 4"
              "|62 -5|6 CONTINUOUS|390 F");
    const Opened again(saved);
    EXPECT_EQ(again.drawing.layers(), opened.drawing.layers());
}

TEST(Layers, ANewOneInAnOldFile) {
    for (const Look& look : {plain, shortBinary}) {
        Opened opened(dxf(drawingOf("0 LINE|8 0|10 1.0|20 0.0|11 1.0|21 1.0", "AC1009"), look));
        opened.drawing.changeLayer(u"NEW").colour = 5;
        EXPECT_EQ(opened.saved(),
                  dxf(replaced(drawingOf("0 LINE|8 0|10 1.0|20 0.0|11 1.0|21 1.0", "AC1009"),
                               "|0 ENDTAB|0 ENDSEC",
                               "|0 LAYER|2 NEW|70 0|62 5|6 CONTINUOUS|0 ENDTAB|0 ENDSEC"),
                      look));
    }
}

TEST(Layers, ANewOneWhereThereIsNoTable) {
    const char* const files[] = {
        "0 SECTION|2 ENTITIES|0 LINE|8 0|10 1.0|20 2.0|11 3.0|21 4.0|0 ENDSEC|0 EOF",
        "0 SECTION|2 TABLES|0 ENDSEC|0 EOF",
        "0 SECTION|2 HEADER|9 $ACADVER|1 AC1015|9 $HANDSEED|5 A0|0 ENDSEC|0 SECTION|2 BLOCKS"
        "|0 ENDSEC|0 SECTION|2 ENTITIES|0 ENDSEC|0 EOF",
        "0 SECTION|2 HEADER|9 $ACADVER|1 AC1012|0 ENDSEC|0 EOF",
        "0 EOF",
    };
    for (const char* file : files) {
        SCOPED_TRACE(file);
        Opened opened(dxf(file));
        Layer& layer = opened.drawing.changeLayer(u"NEW");
        layer.colour = 5;
        layer.frozen = true;
        opened.drawing.changeLayer(u"0").colour = 3;
        const std::string saved = opened.saved();
        const Opened again(saved);
        EXPECT_EQ(again.drawing.layers(), opened.drawing.layers());
        const auto sections = recordsIn(saved, "SECTION");
        int tables = -1;
        for (std::size_t i = 0; i < sections.size(); ++i) {
            if (sections[i].first(2) == "TABLES") tables = static_cast<int>(i);
            if (sections[i].first(2) == "HEADER") {
                EXPECT_EQ(i, 0U);
            }
            if (sections[i].first(2) == "ENTITIES" || sections[i].first(2) == "BLOCKS") {
                EXPECT_NE(tables, -1) << "tables come before what refers to them";
            }
        }
    }
}

TEST(Layers, AnObjectsNewLayerIsWritten) {
    Opened opened(dxf(drawingOf(someLine)));
    opened.change<VmDbLine>(0, [](VmDbLine& line) { setText(line.layerName, u"NEW"); });
    const std::string saved = opened.saved();
    EXPECT_EQ(recordsIn(saved, "LAYER").size(), 3U);
    EXPECT_EQ(recordsIn(saved, "LINE").at(0).first(8), "NEW");
}

TEST(Layers, TheCurrentOneIsWritten) {
    Opened opened(dxf(drawingOf(someLine)));
    opened.drawing.changeLayer(u"NEW");
    opened.drawing.variables.setText(u"CLAYER", u"NEW");
    EXPECT_EQ(headerValue(opened.saved(), "$CLAYER"), "8 NEW");
}

// --- Header variables ---------------------------------------------------------------------------

TEST(Variables, OnlyWhatChangedDiffers) {
    const std::string header =
        "0 SECTION|2 HEADER|9 $ACADVER|1 AC1015|9 $CECOLOR|62 256|9 $LTSCALE|40 1.000|9 $LUNITS"
        "|70 2|9 $LIMMIN|10 0.00|20 0.00|9 $INSBASE|10 0.0|20 0.0|30 0.0|9 $CELTYPE|6 BYLAYER"
        "|9 $ANGBASE|50 0.0|9 $CELWEIGHT|370 -1|9 $TEXTSTYLE|7 A|999 comment|0 ENDSEC|0 EOF";
    const struct {
        const char* before;
        const char* after;
        std::function<void(Variables&)> change;
    } cases[] = {
        {"62 256", "62 3", [](Variables& v) { v.setText(u"CECOLOR", u"3"); }},
        {"62 256", "62 0", [](Variables& v) { v.setText(u"CECOLOR", u"BYBLOCK"); }},
        {"40 1.000", "40 2.500", [](Variables& v) { v.setReal(u"LTSCALE", 2.5); }},
        {"40 1.000", "40 1.0000000001", [](Variables& v) { v.setReal(u"LTSCALE", 1.0000000001); }},
        {"70 2", "70 4", [](Variables& v) { v.setInt(u"LUNITS", 4); }},
        {"10 0.00|20 0.00", "10 0.00|20 -5.00",
         [](Variables& v) { v.setText(u"LIMMIN", u"0,-5"); }},
        {"10 0.0|20 0.0|30 0.0", "10 1.0|20 2.0|30 3.0",
         [](Variables& v) { v.setText(u"INSBASE", u"1,2,3"); }},
        {"6 BYLAYER", "6 DASHED", [](Variables& v) { v.setText(u"CELTYPE", u"DASHED"); }},
        {"50 0.0", "50 180.0", [](Variables& v) { v.setReal(u"ANGBASE", std::numbers::pi); }},
        {"370 -1", "370 25", [](Variables& v) { v.setInt(u"CELWEIGHT", 25); }},
        {"7 A", "7 caf\xe9", [](Variables& v) { v.setText(u"TEXTSTYLE", u"caf\u00e9"); }},
    };
    for (const auto& one : cases)
        for (const Look& look : {plain, padded, binary}) {
            Opened opened(dxf(header, look));
            one.change(opened.drawing.variables);
            EXPECT_EQ(opened.saved(), dxf(replaced(header, one.before, one.after), look))
                << one.after;
            EXPECT_EQ(opened.notes, std::vector<std::string>());
        }
}

TEST(Variables, WhatTheHeaderLacksComesIn) {
    Opened opened(dxf("0 SECTION|2 HEADER|9 $ACADVER|1 AC1015|0 ENDSEC|0 EOF"));
    opened.drawing.variables.setReal(u"LTSCALE", 2.5);
    opened.drawing.variables.setText(u"LIMMIN", u"1,2");
    opened.drawing.variables.setText(u"CECOLOR", u"5");
    const std::string saved = opened.saved();
    EXPECT_EQ(headerValue(saved, "$LTSCALE"), "40 2.5");
    EXPECT_EQ(headerValue(saved, "$LIMMIN"), "10 1.0");
    EXPECT_EQ(headerValue(saved, "$CECOLOR"), "62 5");
    const Opened again(saved);
    EXPECT_EQ(again.drawing.variables.point(u"LIMMIN"), (VariablePoint{1, 2, 0}));
    EXPECT_EQ(again.drawing.variables.real(u"LTSCALE"), 2.5);
}

// Variables stand in the SECTION record. What else is in the section is no place for them.
TEST(Variables, ComeInBeforeStrayRecordsOfTheHeader) {
    for (const char* head : {"0 SECTION|2 HEADER", "0 SECTION|2 HEADER|9 $ACADVER|1 AC1015"}) {
        SCOPED_TRACE(head);
        const std::string stray = "|0 VERTEX|9 $LTSCALE|40 7.0|0 ENDSEC";
        const std::string other = "|0 SECTION|2 CLASSES|9 $LUNITS|70 2|0 ENDSEC|0 EOF";
        Opened opened(dxf(head + stray + other));
        opened.drawing.variables.setReal(u"LTSCALE", 2.5);
        opened.drawing.variables.setReal(u"TEXTSIZE", 4);
        const Opened again(opened.saved());
        EXPECT_EQ(again.drawing.variables.real(u"LTSCALE"), 2.5);
        EXPECT_EQ(again.drawing.variables.real(u"TEXTSIZE"), 4);
    }
}

TEST(Variables, WhatTheFileCannotHoldIsTold) {
    Opened old(dxf(drawingOf("", "AC1009")));
    old.drawing.variables.setInt(u"CELWEIGHT", 25);
    old.drawing.variables.setReal(u"LTSCALE", 3);
    EXPECT_EQ(headerValue(old.saved(), "$LTSCALE"), "40 3.0");
    ASSERT_EQ(old.notes.size(), 1U);
    EXPECT_NE(old.notes[0].find("CELWEIGHT"), std::string::npos);
    EXPECT_NE(old.notes[0].find("AC1009"), std::string::npos);
    // Without a header a variable is kept in one, or told of; never lost without a word.
    Opened bare(dxf("0 SECTION|2 ENTITIES|0 ENDSEC|0 EOF"));
    bare.drawing.variables.setReal(u"LTSCALE", 3);
    const std::string saved = bare.saved();
    if (bare.notes.empty()) {
        EXPECT_EQ(headerValue(saved, "$LTSCALE"), "40 3.0");
    } else {
        EXPECT_NE(bare.notes[0].find("LTSCALE"), std::string::npos);
    }
}

TEST(Variables, ValuesThatTheHostDoesNotTakeStay) {
    const std::string file =
        "0 SECTION|2 HEADER|9 $LTSCALE|40 -1.0|9 $LUNITS|70 99|9 $TEXTSIZE|40 1.0"
        "|0 ENDSEC|0 EOF";
    Opened opened(dxf(file));
    opened.drawing.variables.setReal(u"TEXTSIZE", 2);
    EXPECT_EQ(opened.saved(), dxf(replaced(file, "$TEXTSIZE|40 1.0", "$TEXTSIZE|40 2.0")));
}

// --- Line types ---------------------------------------------------------------------------------

TEST(LineTypes, OfWhatWasDrawnAreWritten) {
    Opened opened(dxf(drawingOf(someLine)));
    opened.drawing.variables.setText(u"CELTYPE", u"dashed");
    const HostLong id = opened.drawing.add(lineFrom(0, 0, 1, 1));
    opened.drawing.variables.setText(u"CELTYPE", u"BYLAYER");
    opened.drawing.add(lineFrom(0, 0, 1, 1));
    const auto lines = recordsIn(opened.saved(), "LINE");
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1].first(6), "dashed") << id;
    EXPECT_EQ(lines[2].first(6), "-");
    // One that the file does not define would be lost.
    opened.drawing.variables.setText(u"CELTYPE", u"NOWHERE");
    opened.drawing.add(lineFrom(0, 0, 1, 1));
    EXPECT_NE(opened.refusal().find("NOWHERE"), std::string::npos);
}

// --- Applications -------------------------------------------------------------------------------

TEST(Applications, ARowIsMadeOnce) {
    for (const Look& look : {plain, binary}) {
        const std::string file =
            drawingOf(std::string(someLine) + "|0 POINT|5 31|8 0|10 1.0|20 2.0");
        Opened opened(dxf(file, look));
        opened.drawing.attach(opened.idAt(0), {u"NEW", 5});
        opened.drawing.attach(opened.idAt(0), {u"acad", 6});
        opened.drawing.attach(opened.idAt(1), {u"NEW", 7});
        std::string wanted =
            replaced(file, someLine, std::string(someLine) + "|1001 NEW|1071 5|1001 acad|1071 6");
        wanted = replaced(wanted, "0 POINT|5 31|8 0|10 1.0|20 2.0",
                          "0 POINT|5 31|8 0|10 1.0|20 2.0|1001 NEW|1071 7");
        wanted = replaced(wanted, "|2 ACAD|70 0",
                          "|2 ACAD|70 0|0 APPID|5 A0|330 3"
                          "|100 AcDbSymbolTableRecord"
                          "|100 AcDbRegAppTableRecord|2 NEW|70 0");
        EXPECT_EQ(opened.saved(), dxf(replaced(wanted, "$HANDSEED|5 A0", "$HANDSEED|5 A1"), look));
    }
}

TEST(Applications, TheTableIsMadeToo) {
    for (const char* version : {"AC1009", "AC1014", "AC1015"}) {
        Opened opened(dxf("0 SECTION|2 HEADER|9 $ACADVER|1 " + std::string(version) +
                          "|0 ENDSEC|0 SECTION|2 ENTITIES|0 LINE|8 0|10 1.0|20 2.0|11 3.0|21 4.0"
                          "|0 ENDSEC|0 EOF"));
        opened.drawing.attach(opened.idAt(0), {u"NEW", std::u16string(u"value")});
        const std::string saved = opened.saved();
        const auto rows = recordsIn(saved, "APPID");
        ASSERT_EQ(rows.size(), 1U) << version;
        EXPECT_EQ(rows[0].first(2), "NEW");
        EXPECT_EQ(recordsIn(saved, "TABLE").at(0).first(2), "APPID");
        EXPECT_EQ(rows[0].first(100) == "-", version == std::string_view("AC1009"));
        if (version != std::string_view("AC1009")) {
            EXPECT_NE(rows[0].first(5), "-") << "handles are needed";
        }
        if (version == std::string_view("AC1015")) {
            EXPECT_EQ(rows[0].first(330), recordsIn(saved, "TABLE").at(0).first(5));
        }
    }
}

// --- Blocks -------------------------------------------------------------------------------------

std::vector<std::unique_ptr<VmDbObject>> oneLine() {
    std::vector<std::unique_ptr<VmDbObject>> contents;
    contents.push_back(lineFrom(0, 0, 1, 1));
    setText(contents.back()->layerName, u"0");
    return contents;
}

TEST(Blocks, ANewOne) {
    Opened opened(dxf(drawingOf(someLine)));
    opened.drawing.defineBlock(u"T\u00fcr", {1.5, 2.5}, oneLine());
    auto insert = std::make_unique<VmDbBlockRef>();
    insert->addPoint({5, 6, 0});
    setText(insert->blockName, u"T\u00fcr");
    opened.drawing.add(std::move(insert));
    const std::string saved = opened.saved();
    const auto records = recordsIn(saved, "BLOCK_RECORD");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[1].first(2), "T\xfcr");
    EXPECT_EQ(records[1].first(330), "1") << "the table owns it";
    EXPECT_EQ(records[1].all(100),
              (std::vector<std::string>{"AcDbSymbolTableRecord", "AcDbBlockTableRecord"}));
    const std::string owner = records[1].first(5);
    const auto heads = recordsIn(saved, "BLOCK");
    ASSERT_EQ(heads.size(), 2U);
    EXPECT_EQ(heads[1].first(2), "T\xfcr");
    EXPECT_EQ(heads[1].first(330), owner);
    EXPECT_EQ(heads[1].first(10), "1.5");
    EXPECT_EQ(heads[1].first(20), "2.5");
    EXPECT_EQ(heads[1].all(100), (std::vector<std::string>{"AcDbEntity", "AcDbBlockBegin"}));
    EXPECT_EQ(recordsIn(saved, "LINE").at(0).first(330), owner) << "the block's line stands first";
    EXPECT_EQ(recordsIn(saved, "ENDBLK").at(1).first(330), owner);
    EXPECT_EQ(recordsIn(saved, "INSERT").at(0).first(2), "T\xfcr");
    const Opened again(saved);
    const BlockDefinition* block = again.drawing.findBlock(u"t\u00fcr");
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->record.baseX, 1.5);
    EXPECT_EQ(block->view().size(), 1U);
}

TEST(Blocks, ANewOneWhereThereIsNoSection) {
    const char* const files[] = {
        "0 EOF",
        "0 SECTION|2 ENTITIES|0 ENDSEC|0 EOF",
        "0 SECTION|2 HEADER|9 $ACADVER|1 AC1009|0 ENDSEC|0 SECTION|2 ENTITIES|0 ENDSEC|0 EOF",
        "0 SECTION|2 HEADER|9 $ACADVER|1 AC1015|0 ENDSEC|0 EOF",
        "0 SECTION|2 HEADER|9 $ACADVER|1 AC1032|0 ENDSEC|0 SECTION|2 TABLES|0 ENDSEC|0 SECTION"
        "|2 ENTITIES|0 LINE|5 30|8 0|10 1.0|20 2.0|11 3.0|21 4.0|0 ENDSEC|0 EOF",
    };
    for (const char* file : files)
        for (const Look& look : {plain, binary}) {
            SCOPED_TRACE(file);
            Opened opened(dxf(file, look));
            opened.drawing.defineBlock(u"NEW", {1, 2}, oneLine());
            opened.drawing.defineBlock(u"OTHER", {0, 0}, {});
            const std::string saved = opened.saved();
            const Opened again(saved);
            ASSERT_NE(again.drawing.findBlock(u"NEW"), nullptr);
            EXPECT_EQ(again.drawing.findBlock(u"NEW")->view().size(), 1U);
            EXPECT_NE(again.drawing.findBlock(u"OTHER"), nullptr);
            EXPECT_EQ(again.drawing.blocks().size(), 2U);
        }
}

TEST(Blocks, ARedefinedOneHasNewContents) {
    const std::string file =
        "0 SECTION|2 BLOCKS|0 BLOCK|8 0|2 A|70 0|10 0.00|20 0.00|3 A|0 CIRCLE|8 0|10 1.0|20 1.0"
        "|40 1.0|0 POLYLINE|66 1|0 VERTEX|10 1.0|20 2.0|0 SEQEND|0 ENDBLK|8 0|0 BLOCK|2 B|0 ENDBLK"
        "|0 ENDSEC|0 SECTION|2 ENTITIES|0 INSERT|2 A|10 0.0|20 0.0|0 ENDSEC|0 EOF";
    for (const Look& look : {plain, shortBinary}) {
        Opened opened(dxf(file, look));
        opened.drawing.defineBlock(u"a", {1, 2}, oneLine());
        const std::string wanted = replaced(
            replaced(file,
                     "0 CIRCLE|8 0|10 1.0|20 1.0|40 1.0|0 POLYLINE|66 1|0 VERTEX|10 1.0|20 2.0"
                     "|0 SEQEND",
                     "0 LINE|8 0|10 0.0|20 0.0|30 0.0|11 1.0|21 1.0|31 0.0"),
            "10 0.00|20 0.00", "10 1.00|20 2.00");
        EXPECT_EQ(opened.saved(), dxf(wanted, look));
        opened.drawing.undo();
        EXPECT_TRUE(opened.isUnchanged());
    }
}

TEST(Blocks, TheBasePointOfARedefinedOneComesIn) {
    Opened opened(dxf("0 SECTION|2 BLOCKS|0 BLOCK|8 0|2 A|70 0|0 ENDBLK|0 ENDSEC|0 EOF"));
    opened.drawing.defineBlock(u"A", {1, 2}, oneLine());
    const Opened again(opened.saved());
    EXPECT_EQ(again.drawing.findBlock(u"A")->record.baseX, 1);
    EXPECT_EQ(again.drawing.findBlock(u"A")->record.baseY, 2);
}

TEST(Blocks, MadeOfCopiesOfTheDrawingsObjects) {
    const std::string entity = "0 LINE|8 0|6 DASHED|39 5.0|10 1.0|20 2.0|11 3.0|21 4.0";
    Opened opened(dxf(drawingOf(entity, "AC1009")));
    std::vector<std::unique_ptr<VmDbObject>> contents;
    contents.push_back(clone(*opened.drawing.at(0)));
    opened.drawing.defineBlock(u"NEW", {1, 2}, std::move(contents));
    opened.erase(0);
    const auto lines = recordsIn(opened.saved(), "LINE");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].notation(), entity);
}

TEST(Blocks, ThatCannotBeWrittenAreAnError) {
    Opened opened(dxf(drawingOf("", "AC1009")));
    std::vector<std::unique_ptr<VmDbObject>> contents;
    auto text = std::make_unique<VmDbText>();
    text->typeCode = vmDbMText;
    text->addPoint({0, 0, 0});
    contents.push_back(std::move(text));
    opened.drawing.defineBlock(u"NEW", {0, 0}, std::move(contents));
    EXPECT_NE(opened.refusal().find("MTEXT"), std::string::npos);
    Opened odd(dxf(drawingOf("", "AC1015")));
    odd.drawing.defineBlock(u"NEW", {std::numeric_limits<double>::quiet_NaN(), 0}, oneLine());
    EXPECT_NE(odd.refusal(), "");
}

// --- New sections -------------------------------------------------------------------------------

TEST(Sections, EntitiesComeInWhereThereAreNone) {
    const char* const files[] = {
        "0 EOF",
        "0 SECTION|2 HEADER|9 $ACADVER|1 AC1015|0 ENDSEC|0 EOF",
        "0 SECTION|2 TABLES|0 ENDSEC|0 EOF",
    };
    for (const char* file : files)
        for (const Look& look : {plain, windows, binary}) {
            Opened opened(dxf(file, look));
            opened.drawing.add(lineFrom(0, 0, 1, 1));
            const std::string saved = opened.saved();
            const Opened again(saved);
            EXPECT_EQ(again.drawing.slotCount(), 1) << file;
            if (look.form == Form::text) {
                EXPECT_EQ(saved.find("\r\n") != std::string::npos, look.lineEnd == "\r\n");
            }
        }
}

// --- Recovered files ----------------------------------------------------------------------------

TEST(Recovered, CanBeChangedAndSaved) {
    const char* const files[] = {
        "0 SECTION|2 ENTITIES|0 LINE|8 0|10 1.0|20 2.0|11 3.0|21 4.0|0 VERTEX|10 1.0",
        "0 SECTION|2 ENTITIES|0 LINE|8 0|10 1.0|20 2.0|11 3.0|21 4.0|0 LINE|10 x|0 EOF",
        "0 SECTION|2 TABLES|0 TABLE|2 LAYER|0 LAYER|2 0|62 7|0 SECTION|2 ENTITIES|0 LINE|8 0|10 1.0"
        "|20 2.0|11 3.0|21 4.0",
        "0 SECTION|2 BLOCKS|0 BLOCK|2 B|0 LINE|0 SECTION|2 ENTITIES|0 LINE|8 0|10 1.0|20 2.0|11 3.0"
        "|21 4.0|0 POLYLINE|66 1|0 VERTEX|10 1.0|20 2.0",
    };
    for (const char* file : files) {
        SCOPED_TRACE(file);
        Opened opened(dxf(file), OnDamage::recover);
        ASSERT_GE(opened.drawing.slotCount(), 1);
        opened.change<VmDbLine>(0, [](VmDbLine& line) { line.points.getAt(0).x = 50; });
        opened.drawing.add(lineFrom(7, 7, 8, 8));
        opened.drawing.changeLayer(u"NEW").colour = 5;
        opened.drawing.defineBlock(u"B", {0, 0}, oneLine());
        const int slots = opened.drawing.slotCount();
        const Opened again(opened.saved());
        EXPECT_EQ(again.drawing.slotCount(), slots);
        EXPECT_EQ(again.at<VmDbLine>(0)->points.points[0].x, 50);
        EXPECT_NE(again.drawing.findLayer(u"NEW"), nullptr);
        EXPECT_EQ(again.drawing.findBlock(u"B")->view().size(), 1U);
    }
}

TEST(Recovered, AFileWithoutALineEndAtItsEnd) {
    const std::string whole = dxf(entitiesOnly("0 POLYLINE|66 1|0 VERTEX|10 1.0|20 2.0|0 SEQEND"));
    const std::string cut = whole.substr(0, whole.find("\n0\nSEQEND"));
    Opened opened(cut, OnDamage::recover);
    EXPECT_EQ(opened.saved(), whole);
    opened.drawing.add(lineFrom(0, 0, 1, 1));
    EXPECT_EQ(Opened(opened.saved()).drawing.slotCount(), 2);
    opened.change<VmDb2DPolyline>(0, [](VmDb2DPolyline& p) { p.addPoint({3, 4, 0}); });
    EXPECT_EQ(Opened(opened.saved()).at<VmDb2DPolyline>(0)->points.count, 2);
    opened.erase(0);
    EXPECT_EQ(Opened(opened.saved()).drawing.slotCount(), 1);
}

// --- A drawing that goes through many hands -----------------------------------------------------

TEST(Saving, WhatIsSavedCanBeSavedAgain) {
    std::string bytes = dxf(drawingOf(someLine));
    for (int round = 0; round < 5; ++round) {
        const std::string before = bytes;
        Opened opened(bytes);
        const double x = round;
        opened.change<VmDbLine>(0, [&](VmDbLine& line) { line.points.getAt(0).x = 10 + x; });
        opened.addCopyOf(0);
        opened.drawing.add(lineFrom(x, x, x + 1, x + 1));
        opened.drawing.changeLayer(std::u16string(u"L") + static_cast<char16_t>(u'0' + round));
        opened.drawing.attach(opened.idAt(0), {u"ROUNDS", round});
        bytes = opened.saved();
        expectHandlesInOrder(before, bytes);
    }
    const Opened opened(bytes);
    EXPECT_EQ(opened.drawing.slotCount(), 11);
    EXPECT_EQ(opened.drawing.layers().size(), 7U);
    EXPECT_EQ(recordsIn(bytes, "APPID").size(), 2U);
    EXPECT_EQ(recordsIn(bytes, "LINE").at(0).all(1071), std::vector<std::string>{"4"});
}

}  // namespace
}  // namespace vlisp::refhost::dxf
