// Tests of drawing/entity_data.h and of the reading side of drawing/entity_fields.h.
#include "drawing/entity_data.h"

#include "drawing/entity_fields.h"
#include "tests/drawing/drawing_test.h"

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using test::assign;
using test::exact;
using test::nameOf;
using test::RecordingHost;

class EntityData : public test::DrawingTest {
  protected:
    std::string entgetOf(const VmDbObject& object) { return exact(call(entget, {nameOf(object)})); }
};

// One of each kind, with everything that is left out when it is as by default.
VmDbLine& line(RecordingHost& host) {
    return host.add<VmDbLine>(vmDbLine, {{0.5, 1, 2}, {10, 5.25, -3}});
}
VmDbCircle& circle(RecordingHost& host) {
    auto& object = host.add<VmDbCircle>(vmDbCircle, {{1, 2, 9}});
    object.radius = 2.5;
    return object;
}
VmDbArc& arc(RecordingHost& host) {
    auto& object = host.add<VmDbArc>(vmDbArc, {{1, 2, 9}});
    object.radius = 3;
    object.startAngle = 0;
    object.endAngle = 1.5707963267948966;
    return object;
}
VmDb2DPolyline& lwPolyline(RecordingHost& host) {
    return host.add<VmDb2DPolyline>(vmDbLwPolyline, {{0, 0, 7}, {4, 0, 8}, {4, 3, 9}});
}
VmDb2DPolyline& polyline(RecordingHost& host) {
    return host.add<VmDb2DPolyline>(vmDbPolyline, {{0, 0, 7}, {4, 0, 8}, {4, 3, 9}});
}
VmDbBlockRef& insert(RecordingHost& host) {
    auto& object = host.add<VmDbBlockRef>(vmDbInsert, {{6, 7, 8}});
    assign(object.blockName, u"BOLT");
    object.xScale = 2;
    object.yScale = -0.5;
    object.rotation = 90;
    return object;
}
VmDbText& textOf(RecordingHost& host, VmDbType type) {
    auto& object = host.add<VmDbText>(type, {{6, 7, 8}});
    assign(object.text, u"Hello");
    object.height = 2.5;
    object.rotation = 90;
    return object;
}

using Draw = std::function<VmDbObject&(RecordingHost&)>;
struct Kind {
    const char* typeText;
    Draw draw;
    // The list in four pieces, between which what may be left out has its place.
    std::string before;  ///< of colour or, in polylines, of lineweight
    std::string middle;
    std::string after;
    bool isPolyline = false;
    bool hasLineweight = true;
};

std::vector<Kind> everyKind() {
    return {
        {"LINE", line, "(-1 . #1) (0 . \"LINE\") (67 . 0) (8 . \"0\")",
         " (10 0.5 1.0 2.0) (10 10.0 5.25 -3.0)", ""},
        {"CIRCLE", circle, "(-1 . #1) (0 . \"CIRCLE\") (67 . 0) (8 . \"0\")",
         " (10 1.0 2.0 0.0) (40 . 2.5)", ""},
        {"ARC", arc, "(-1 . #1) (0 . \"ARC\") (67 . 0) (8 . \"0\")",
         " (10 1.0 2.0 0.0) (40 . 3.0) (50 . 0.0) (51 . 1.5707963267948966)", ""},
        {"LWPOLYLINE", lwPolyline, "(-1 . #1) (0 . \"LWPOLYLINE\") (8 . \"0\")", " (67 . 0)",
         " (90 . 3) (70 . 0) (10 0.0 0.0) (10 4.0 0.0) (10 4.0 3.0)", true},
        {"POLYLINE", polyline, "(-1 . #1) (0 . \"POLYLINE\") (8 . \"0\")", " (67 . 0)",
         " (90 . 3) (70 . 0) (10 0.0 0.0 7.0) (10 4.0 0.0 8.0) (10 4.0 3.0 9.0)", true},
        {"INSERT", insert, "(-1 . #1) (0 . \"INSERT\") (67 . 0) (8 . \"0\") (2 . \"BOLT\")",
         " (10 6.0 7.0 0.0) (41 . 2.0) (42 . -0.5) (50 . 1.5707963267948966)", ""},
        {"TEXT", [](RecordingHost& host) -> VmDbObject& { return textOf(host, vmDbText); },
         "(-1 . #1) (0 . \"TEXT\") (67 . 0) (8 . \"0\")",
         " (10 6.0 7.0 0.0) (40 . 2.5) (1 . \"Hello\") (50 . 1.5707963267948966)", "", false,
         false},
        {"MTEXT", [](RecordingHost& host) -> VmDbObject& { return textOf(host, vmDbMText); },
         "(-1 . #1) (0 . \"MTEXT\") (67 . 0) (8 . \"0\")",
         " (10 6.0 7.0 0.0) (40 . 2.5) (1 . \"Hello\") (50 . 1.5707963267948966)", "", false,
         false},
    };
}

std::string listOf(const Kind& kind, std::int32_t colour, std::int32_t lineweight) {
    const std::string colourEntry = colour == 256 ? "" : " (62 . " + std::to_string(colour) + ")";
    const std::string lineweightEntry = lineweight == -1 || !kind.hasLineweight
                                            ? ""
                                            : " (370 . " + std::to_string(lineweight) + ")";
    if (kind.isPolyline)
        return "(" + kind.before + lineweightEntry + kind.middle + colourEntry + kind.after + ")";
    return "(" + kind.before + colourEntry + kind.middle + lineweightEntry + kind.after + ")";
}

// Lists share the entries of layers that came lately.
TEST_F(EntityData, EveryListHasItsOwnLayer) {
    std::vector<std::u16string> names{u"", u"nil", std::u16string(64, u'W'),
                                      std::u16string(65, u'W'), std::u16string(64, u'V') + u'W'};
    for (int i = 0; i < 400; ++i) names.push_back(u"LAYER" + std::u16string(nameOf(i).text()));
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < names.size(); i += 1 + static_cast<std::size_t>(round)) {
            host.slots.clear();
            VmDbObject& object = addWithId<VmDbCircle>(vmDbCircle, 1);
            assign(object.layerName, names[i]);
            const Cell list = call(entget, {nameOf(1)});
            EXPECT_EQ(list.items()[3].items()[2].text(), names[i]);
            EXPECT_TRUE(list.items()[3].items()[2].is(CellType::String));
        }
}

TEST_F(EntityData, WhatIsMadeOfSharedEntriesLeavesThemAlone) {
    circle(host);
    const std::string before = eval("(entget (entlast))");
    eval("(setq d (entget (entlast)))");
    eval("(append (assoc 0 d) '(1))");
    eval("(append (cdr (assoc 8 d)) '(1))");
    eval("(cons 1 (assoc 8 d))");
    eval("(append (assoc 67 d) (assoc 67 d))");
    EXPECT_EQ(eval("(entget (entlast))"), before);
    EXPECT_EQ(eval("d"), before);
}

TEST_F(EntityData, TheNameInAListIsTheIdHoweverItWasSpelled) {
    circle(host);
    for (const char16_t* digits : {u"1", u" 1", u"+1", u"001", u"1x"})
        EXPECT_EQ(exact(call(entget, {nameOf(digits)}).items()[0]), "(-1 . #1)");
}

TEST_F(EntityData, EveryKindHasItsEntriesInItsOrder) {
    for (const Kind& kind : everyKind()) {
        host.slots.clear();
        VmDbObject& object = kind.draw(host);
        for (const std::int32_t colour : {256, 0, 1, 7, 255, 257, -1})
            for (const std::int32_t lineweight : {-1, 0, 25, 211, -2, -3, 256}) {
                object.colour = colour;
                object.lineweight = lineweight;
                EXPECT_EQ(entgetOf(object), listOf(kind, colour, lineweight)) << kind.typeText;
            }
    }
    EXPECT_EQ(host.openedForChange, 0);
    EXPECT_TRUE(host.log.empty()) << "nothing is written anywhere";
}

TEST_F(EntityData, TheTableHoldsTheseKindsAndNoOthers) {
    ASSERT_EQ(entityKinds().size(), 8u);
    const std::vector<std::pair<std::int32_t, std::u16string>> types{
        {10101, u"LWPOLYLINE"}, {10111, u"CIRCLE"}, {10121, u"ARC"},  {10141, u"LINE"},
        {10161, u"POLYLINE"},   {10301, u"INSERT"}, {10501, u"TEXT"}, {10511, u"MTEXT"}};
    for (const auto& [code, name] : types) {
        const EntityKind* kind = findEntityKind(code);
        ASSERT_NE(kind, nullptr) << code;
        EXPECT_EQ(kind->typeText, name);
        EXPECT_EQ(findEntityKind(code - 1), nullptr);
        EXPECT_EQ(findEntityKind(code + 1), nullptr);
    }
    for (const std::int32_t code :
         {0, -1, 1, 101, -10141, std::numeric_limits<std::int32_t>::max()})
        EXPECT_EQ(findEntityKind(code), nullptr) << code;
}

TEST_F(EntityData, ACircleByLayerWithoutLineweightHasSixEntries) {
    const Cell list = call(entget, {nameOf(circle(host))});
    ASSERT_TRUE(list.is(CellType::List));
    EXPECT_EQ(list.items().size(), 6u);
}

TEST_F(EntityData, EntriesAreDottedPairsOfTheRightTypes) {
    VmDbText& object = textOf(host, vmDbText);
    object.colour = 3;
    const Cell list = call(entget, {nameOf(object)});
    const std::vector<std::pair<std::int32_t, CellType>> types{
        {-1, CellType::EntityName}, {0, CellType::String},   {67, CellType::Integer},
        {8, CellType::String},      {62, CellType::Integer}, {10, CellType::Real},
        {40, CellType::Real},       {1, CellType::String},   {50, CellType::Real}};
    ASSERT_EQ(list.items().size(), types.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        const Items entry = list.items()[i].items();
        const auto& [code, type] = types[i];
        EXPECT_TRUE(entry[0].is(CellType::Integer));
        EXPECT_EQ(entry[0].intValue(), code);
        if (code == 10) {
            ASSERT_EQ(entry.size(), 4u);
            for (const Cell& coordinate : entry.subspan(1))
                EXPECT_TRUE(coordinate.is(CellType::Real));
            continue;
        }
        ASSERT_EQ(entry.size(), 3u);
        EXPECT_TRUE(entry[1].is(CellType::Symbol));
        EXPECT_EQ(entry[1].text(), u".");
        EXPECT_TRUE(entry[2].is(type)) << code;
    }
}

TEST_F(EntityData, AnEntryOfACodeAndAValue) {
    EXPECT_EQ(exact(groupEntry(40, Cell::real(1))), "(40 . 1.0)");
    EXPECT_EQ(exact(groupEntry(-2, nameOf(5))), "(-2 . #5)");
    const Cell entry = groupEntry(8, Cell::string(u"0"));
    ASSERT_EQ(entry.items().size(), 3u);
    EXPECT_TRUE(entry.items()[1].is(CellType::Symbol));
}

TEST_F(EntityData, OnlyAnEntityNameIsAccepted) {
    line(host);
    EXPECT_EQ(exact(call(entget)), "nil");
    for (const Cell& argument : test::everyShape()) {
        if (argument.is(CellType::EntityName)) continue;
        EXPECT_EQ(exact(call(entget, {argument})), "nil") << exact(argument);
        EXPECT_EQ(exact(call(entget, {argument, nameOf(1)})), "nil") << exact(argument);
    }
    EXPECT_EQ(host.opened, 0);
}

TEST_F(EntityData, FurtherArgumentsAreIgnored) {
    const VmDbObject& object = line(host);
    const std::string whole = entgetOf(object);
    for (const Cell& argument : test::everyShape())
        EXPECT_EQ(exact(call(entget, {nameOf(object), argument})), whole) << exact(argument);
}

TEST_F(EntityData, WhatCannotBeOpenedGivesNil) {
    line(host);
    for (const char16_t* id : {u"2", u"0", u"-1", u"none", u"", u"2147483647"})
        EXPECT_EQ(exact(call(entget, {nameOf(id)})), "nil");
    EXPECT_EQ(host.opened, 0);
}

TEST_F(EntityData, TheNameIsTheDecodedIdNotTheTextGiven) {
    line(host);
    for (const char16_t* id : {u"1", u" 1", u"+1", u"01", u"1abc", u"1.5"}) {
        const Cell list = call(entget, {nameOf(id)});
        ASSERT_TRUE(list.is(CellType::List));
        EXPECT_EQ(exact(list.items()[0]), "(-1 . #1)") << platform::toUtf8(id);
    }
    for (const HostLong id : {0, -7, std::numeric_limits<HostLong>::min()}) {
        const VmDbObject& object = addWithId<VmDbLine>(vmDbLine, id);
        EXPECT_EQ(exact(call(entget, {nameOf(object)}).items()[0]),
                  "(-1 . #" + std::to_string(id) + ")");
    }
}

TEST_F(EntityData, AnErasedEntityCanStillBeRead) {
    VmDbObject& object = line(host);
    const std::string whole = entgetOf(object);
    object.erased = 1;
    EXPECT_EQ(entgetOf(object), whole);
}

TEST_F(EntityData, OtherTypeCodesGiveNil) {
    VmDbObject& object = host.add<VmDb2DPolyline>(vmDbLwPolyline);
    for (const std::int32_t code :
         {0, -1, 1, 10100, 10102, 10131, 10151, 10302, 10502, 10512, 20141,
          std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}) {
        object.typeCode = code;
        EXPECT_EQ(entgetOf(object), "nil") << code;
    }
    EXPECT_EQ(host.opened, 13) << "each was opened, and closed again";
}

TEST_F(EntityData, AnObjectOfAnotherClassThanItsTypeCodeSaysGivesNil) {
    host.add<VmDbObject>(0, {{1, 2, 3}});
    host.add<VmDbLine>(0, {{1, 2, 3}});
    host.add<VmDbCircle>(0, {{1, 2, 3}});
    host.add<VmDbArc>(0, {{1, 2, 3}});
    host.add<VmDbText>(0, {{1, 2, 3}});
    host.add<VmDbBlockRef>(0, {{1, 2, 3}});
    host.add<VmDb2DPolyline>(0, {{1, 2, 3}});
    // Which class each code is read through; polylines are taken on their type code alone.
    const std::vector<std::pair<VmDbType, std::size_t>> classes{{vmDbLine, 1},  {vmDbCircle, 2},
                                                                {vmDbArc, 3},   {vmDbText, 4},
                                                                {vmDbMText, 4}, {vmDbInsert, 5}};
    for (const auto& [code, its] : classes)
        for (std::size_t i = 0; i < host.slots.size(); ++i) {
            host.slots[i]->typeCode = code;
            const std::string list = entgetOf(*host.slots[i]);
            EXPECT_EQ(list == "nil", i != its)
                << "code " << code << ", object " << i << ": " << list;
        }
}

TEST_F(EntityData, TextsAreTakenAsTheyAre) {
    VmDbText& object = textOf(host, vmDbText);
    VmDbBlockRef& placed = insert(host);
    for (const std::u16string& value :
         {std::u16string(), std::u16string(u"nil"), std::u16string(u"W\u00e4nde \U0001F600"),
          std::u16string(u"a \"quoted\" one\\P"), std::u16string(10'000, u'x')}) {
        assign(object.layerName, value);
        assign(object.text, value);
        assign(placed.blockName, value);
        assign(placed.layerName, value);
        const Cell list = call(entget, {nameOf(object)});
        EXPECT_EQ(exact(list.items()[3]), "(8 . \"" + platform::toUtf8(value) + "\")");
        EXPECT_EQ(exact(list.items()[6]), "(1 . \"" + platform::toUtf8(value) + "\")");
        const Cell placedList = call(entget, {nameOf(placed)});
        EXPECT_EQ(exact(placedList.items()[3]), "(8 . \"" + platform::toUtf8(value) + "\")");
        EXPECT_EQ(exact(placedList.items()[4]), "(2 . \"" + platform::toUtf8(value) + "\")");
    }
}

TEST_F(EntityData, CoordinatesAndNumbersAreExact) {
    for (const double value : {0.1, -0.0, 1e-300, 1.0 / 3, 1e308, 123456789.123456789}) {
        host.slots.clear();
        auto& object = host.add<VmDbArc>(vmDbArc, {{value, -value, 5}});
        object.radius = value;
        object.startAngle = -value;
        object.endAngle = value;
        const std::string plus = test::exactReal(value);
        const std::string minus = test::exactReal(-value);
        EXPECT_EQ(entgetOf(object), "((-1 . #1) (0 . \"ARC\") (67 . 0) (8 . \"0\") (10 " + plus +
                                        " " + minus + " 0.0) (40 . " + plus + ") (50 . " + minus +
                                        ") (51 . " + plus + "))");
    }
}

// Degrees times pi, then by 180: the order of the two decides the last bit.
TEST_F(EntityData, RotationsAreRadians) {
    const std::vector<std::pair<double, std::string>> rotations{{0, "0.0"},
                                                                {90, "1.5707963267948966"},
                                                                {180, "3.141592653589793"},
                                                                {360, "6.283185307179586"},
                                                                {-45, "-0.7853981633974483"},
                                                                {3, "0.05235987755982988"},
                                                                {19, "0.3316125578789226"},
                                                                {59, "1.0297442586766543"}};
    VmDbText& line1 = textOf(host, vmDbText);
    VmDbText& line2 = textOf(host, vmDbMText);
    VmDbBlockRef& placed = insert(host);
    for (const auto& [degrees, radians] : rotations) {
        line1.rotation = line2.rotation = placed.rotation = degrees;
        const std::string entry = "(50 . " + radians + ")";
        EXPECT_EQ(exact(call(entget, {nameOf(line1)}).items()[7]), entry);
        EXPECT_EQ(exact(call(entget, {nameOf(line2)}).items()[7]), entry);
        EXPECT_EQ(exact(call(entget, {nameOf(placed)}).items()[8]), entry);
    }
}

TEST_F(EntityData, AnglesOfArcsAreAsStored) {
    VmDbArc& object = arc(host);
    object.startAngle = 90;
    object.endAngle = 725.5;
    const Cell list = call(entget, {nameOf(object)});
    EXPECT_EQ(exact(list.items()[6]), "(50 . 90.0)");
    EXPECT_EQ(exact(list.items()[7]), "(51 . 725.5)");
}

TEST_F(EntityData, ALineHasAnEntryForEachOfItsPoints) {
    const std::string before = "((-1 . #1) (0 . \"LINE\") (67 . 0) (8 . \"0\")";
    VmDbLine& object = host.add<VmDbLine>(vmDbLine);
    EXPECT_EQ(entgetOf(object), before + ")");
    object.addPoint({1, 2, 3});
    EXPECT_EQ(entgetOf(object), before + " (10 1.0 2.0 3.0))");
    object.addPoint({4, 5, 6});
    object.addPoint({7, 8, 9});
    EXPECT_EQ(entgetOf(object), before + " (10 1.0 2.0 3.0) (10 4.0 5.0 6.0) (10 7.0 8.0 9.0))");
    EXPECT_EQ(eval("(assoc 11 (entget (entlast)))"), "nil");
    EXPECT_EQ(eval("(assoc 10 (entget (entlast)))"), "(10 1.000 2.000 3.000)");
}

TEST_F(EntityData, OtherKindsUseTheirFirstPointWithoutItsHeight) {
    for (const Kind& kind : everyKind()) {
        if (kind.isPolyline || kind.typeText == std::string("LINE")) continue;
        host.slots.clear();
        VmDbObject& object = kind.draw(host);
        const std::string whole = entgetOf(object);
        object.addPoint({100, 200, 300});
        EXPECT_EQ(entgetOf(object), whole);
        // One that has lost its points stands at the origin.
        object.points.clear();
        EXPECT_NE(entgetOf(object).find("(10 0.0 0.0 0.0)"), std::string::npos) << kind.typeText;
    }
}

TEST_F(EntityData, TheClosedFlagIsZeroOrOne) {
    for (const auto& draw : {lwPolyline, polyline}) {
        host.slots.clear();
        VmDb2DPolyline& object = draw(host);
        for (const int flag : {0, 1, 2, 255}) {
            object.closed = static_cast<std::uint8_t>(flag);
            EXPECT_EQ(exact(call(entget, {nameOf(object)}).items()[5]),
                      flag == 0 ? "(70 . 0)" : "(70 . 1)");
        }
    }
}

TEST_F(EntityData, BulgesFollowTheirVertices) {
    const std::string before =
        "((-1 . #1) (0 . \"LWPOLYLINE\") (8 . \"0\") (67 . 0) (90 . 3) (70 . 0)";
    VmDb2DPolyline& object = lwPolyline(host);
    EXPECT_EQ(entgetOf(object), before + " (10 0.0 0.0) (10 4.0 0.0) (10 4.0 3.0))");
    object.addBulge(0);
    object.addBulge(-0.5);
    object.addBulge(0.1);
    EXPECT_EQ(entgetOf(object), before + " (10 0.0 0.0) (42 . 0.0) (10 4.0 0.0) (42 . -0.5)"
                                         " (10 4.0 3.0) (42 . 0.1))");
    object.addBulge(9);
    EXPECT_EQ(entgetOf(object), before + " (10 0.0 0.0) (42 . 0.0) (10 4.0 0.0) (42 . -0.5)"
                                         " (10 4.0 3.0) (42 . 0.1))")
        << "a bulge without a vertex is not shown";
}

TEST_F(EntityData, BulgesThatAreMissingCountAsStraight) {
    VmDb2DPolyline& object = lwPolyline(host);
    object.addBulge(0.5);
    EXPECT_EQ(entgetOf(object),
              "((-1 . #1) (0 . \"LWPOLYLINE\") (8 . \"0\") (67 . 0) (90 . 3) (70 . 0)"
              " (10 0.0 0.0) (42 . 0.5) (10 4.0 0.0) (42 . 0.0) (10 4.0 3.0) (42 . 0.0))");
}

TEST_F(EntityData, HeavyPolylinesShowNoBulges) {
    VmDb2DPolyline& object = polyline(host);
    const std::string whole = entgetOf(object);
    object.addBulge(0.5);
    EXPECT_EQ(entgetOf(object), whole);
}

TEST_F(EntityData, APolylineWithoutVerticesEndsWithItsClosedFlag) {
    const std::vector<std::pair<VmDbType, std::string>> kinds{{vmDbLwPolyline, "LWPOLYLINE"},
                                                              {vmDbPolyline, "POLYLINE"}};
    for (const auto& [code, name] : kinds) {
        host.slots.clear();
        auto& object = host.add<VmDb2DPolyline>(code);
        object.closed = 1;
        object.addBulge(0.5);
        EXPECT_EQ(entgetOf(object),
                  "((-1 . #1) (0 . \"" + name + "\") (8 . \"0\") (67 . 0) (90 . 0) (70 . 1))");
    }
}

TEST_F(EntityData, AManyPointedPolylineIsWhole) {
    auto& object = host.add<VmDb2DPolyline>(vmDbPolyline);
    for (int i = 0; i < 1000; ++i) object.addPoint({i * 0.5, -i * 0.25, 1.0 * i});
    const Cell list = call(entget, {nameOf(object)});
    ASSERT_EQ(list.items().size(), 1006u);
    EXPECT_EQ(exact(list.items()[4]), "(90 . 1000)");
    for (std::size_t i = 0; i < 1000; ++i)
        ASSERT_EQ(exact(list.items()[6 + i]),
                  "(10 " + test::exactReal(static_cast<double>(i) * 0.5) + " " +
                      test::exactReal(-static_cast<int>(i) * 0.25) + " " +
                      test::exactReal(static_cast<double>(i)) + ")");
}

TEST_F(EntityData, ReadingChangesNothing) {
    for (const Kind& kind : everyKind()) {
        host.slots.clear();
        const VmDbObject& object = kind.draw(host);
        const std::string once = entgetOf(object);
        EXPECT_EQ(entgetOf(object), once);
    }
    EXPECT_EQ(host.openedForChange, 0);
}

TEST_F(EntityData, AProgramReadsAnEntity) {
    circle(host).colour = 1;
    EXPECT_EQ(eval("(cdr (assoc 40 (entget (entlast))))"), "2.500");
    EXPECT_EQ(eval("(cdr (assoc 62 (entget (entlast))))"), "1");
    EXPECT_EQ(eval("(cdr (assoc 10 (entget (entlast))))"), "(1.000 2.000 0.000)");
    EXPECT_EQ(eval("(eq (cdr (assoc -1 (entget (entlast)))) (entlast))"), "T");
    EXPECT_EQ(eval("(assoc 370 (entget (entlast)))"), "nil");
    EXPECT_EQ(eval("(length (entget (entlast)))"), "7");
}

}  // namespace
}  // namespace vlisp
