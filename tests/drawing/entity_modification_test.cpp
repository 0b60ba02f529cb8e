// Tests of drawing/entity_modification.h and of the writing side of drawing/entity_fields.h.
#include "drawing/entity_modification.h"

#include "drawing/entity_data.h"
#include "drawing/entity_names.h"
#include "tests/drawing/drawing_test.h"

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using test::assign;
using test::exact;
using test::exactReal;
using test::nameOf;
using test::number;
using test::pair;
using test::real;
using test::RecordingHost;
using test::text;

using Members = std::map<std::string, std::string>;

std::string quoted(const VmDbString& value) {
    return "\"" + platform::toUtf8(value.units()) + "\"";
}

std::string pointsOf(VmDbObject& object) {
    std::string all;
    for (int i = 0; i < object.points.count; ++i) {
        const mmPoint& point = object.points.getAt(i);
        all += "(" + exactReal(point.x) + " " + exactReal(point.y) + " " + exactReal(point.z) + ")";
    }
    return all;
}

// Every member of an object, by the class that it is of, not by its type code.
Members membersOf(VmDbObject& object) {
    Members members{{"id", std::to_string(object.id)},
                    {"type", std::to_string(object.typeCode)},
                    {"layer", quoted(object.layerName)},
                    {"colour", std::to_string(object.colour)},
                    {"lineweight", std::to_string(object.lineweight)},
                    {"erased", std::to_string(object.erased)},
                    {"points", pointsOf(object)}};
    if (const auto* circle = VmDbCircle::cast(&object))
        members["radius"] = exactReal(circle->radius);
    if (const auto* arc = VmDbArc::cast(&object)) {
        members["radius"] = exactReal(arc->radius);
        members["start"] = exactReal(arc->startAngle);
        members["end"] = exactReal(arc->endAngle);
    }
    if (const auto* line = VmDbText::cast(&object)) {
        members["text"] = quoted(line->text);
        members["height"] = exactReal(line->height);
        members["rotation"] = exactReal(line->rotation);
    }
    if (const auto* placed = VmDbBlockRef::cast(&object)) {
        members["block"] = quoted(placed->blockName);
        members["xScale"] = exactReal(placed->xScale);
        members["yScale"] = exactReal(placed->yScale);
        members["rotation"] = exactReal(placed->rotation);
    }
    if (const auto* polyline = VmDb2DPolyline::cast(&object)) {
        members["closed"] = std::to_string(polyline->closed);
        std::string bulges;
        for (int i = 0; i < polyline->bulges.count; ++i)
            bulges += exactReal(polyline->bulges.values[i]) + " ";
        members["bulges"] = bulges;
    }
    return members;
}

// What has become different, with its new values.
Members changes(const Members& before, const Members& after) {
    Members changed;
    for (const auto& [name, value] : after)
        if (before.at(name) != value) changed[name] = value;
    return changed;
}

constexpr VmDbType everyType[] = {vmDbLwPolyline, vmDbCircle, vmDbArc,  vmDbLine,
                                  vmDbPolyline,   vmDbInsert, vmDbText, vmDbMText};

// An object of the class that belongs to its type code, every member at a value of its own.
VmDbObject& draw(RecordingHost& host, std::int32_t typeCode) {
    const std::initializer_list<mmPoint> points{{1, 2, 3}, {4, 5, 6}};
    switch (typeCode) {
    case vmDbCircle: {
        auto& object = host.add<VmDbCircle>(typeCode, points);
        object.radius = 11;
        return object;
    }
    case vmDbArc: {
        auto& object = host.add<VmDbArc>(typeCode, points);
        object.radius = 11;
        object.startAngle = 12;
        object.endAngle = 13;
        return object;
    }
    case vmDbText:
    case vmDbMText: {
        auto& object = host.add<VmDbText>(typeCode, points);
        assign(object.text, u"old");
        object.height = 14;
        object.rotation = 15;
        return object;
    }
    case vmDbInsert: {
        auto& object = host.add<VmDbBlockRef>(typeCode, points);
        assign(object.blockName, u"BOLT");
        object.xScale = 16;
        object.yScale = 17;
        object.rotation = 18;
        return object;
    }
    case vmDbLwPolyline:
    case vmDbPolyline: {
        auto& object = host.add<VmDb2DPolyline>(typeCode, points);
        object.addBulge(0.25);
        return object;
    }
    case vmDbLine: return host.add<VmDbLine>(typeCode, points);
    default: return host.add<VmDbObject>(typeCode, points);
    }
}

Cell point(std::initializer_list<double> coordinates) {
    std::vector<Cell> entry{number(10)};
    for (const double each : coordinates) entry.push_back(real(each));
    return Cell::list(CellSlice::copyOf(entry));
}

class EntityModification : public test::DrawingTest {
  protected:
    // ENTMOD of these entries behind the name of the object; they keep its points unless
    // `points` is false.
    Members modify(VmDbObject& object, std::vector<Cell> entries, bool points = true) {
        const Members before = membersOf(object);
        std::vector<Cell> list{pair(-1, nameOf(object))};
        list.insert(list.end(), entries.begin(), entries.end());
        if (points)
            for (int i = 0; i < object.points.count; ++i) {
                const mmPoint& at = object.points.getAt(i);
                list.push_back(point({at.x, at.y, at.z}));
            }
        if (list.size() < 2) list.push_back(pair(67, number(0)));
        EXPECT_EQ(modifyWith(list), "nil");
        return changes(before, membersOf(object));
    }

    std::string modifyWith(const std::vector<Cell>& list) {
        return exact(call(entmod, {Cell::list(CellSlice::copyOf(list))}));
    }

    VmDbObject& fresh(std::int32_t typeCode) {
        host.slots.clear();
        host.opened = host.openedForChange = 0;
        return draw(host, typeCode);
    }
};

TEST_F(EntityModification, AnythingButAListOfTwoOpensNothing) {
    const VmDbObject& object = fresh(vmDbLine);
    EXPECT_EQ(exact(call(entmod)), "nil");
    for (const Cell& argument : test::everyShape()) {
        EXPECT_EQ(exact(call(entmod, {argument})), "nil") << exact(argument);
        // What follows is ignored.
        const Cell good = Cell::list({pair(-1, nameOf(object)), pair(8, text(u"A"))});
        if (!argument.is(CellType::List)) {
            EXPECT_EQ(exact(call(entmod, {argument, good})), "nil") << exact(argument);
        }
    }
    EXPECT_EQ(modifyWith({}), "nil");
    EXPECT_EQ(modifyWith({pair(-1, nameOf(object))}), "nil");
    EXPECT_EQ(host.opened, 0);
    EXPECT_EQ(pointsOf(*host.slots[0]), "(1.0 2.0 3.0)(4.0 5.0 6.0)");
}

TEST_F(EntityModification, FurtherArgumentsAreIgnored) {
    VmDbObject& object = fresh(vmDbLine);
    const Cell list = Cell::list({pair(-1, nameOf(object)), pair(8, text(u"A"))});
    call(entmod, {list, Cell::list({pair(-1, nameOf(object)), pair(8, text(u"B"))}), number(5)});
    EXPECT_EQ(quoted(object.layerName), "\"A\"");
}

TEST_F(EntityModification, TheNameMustBeFirstOrSecond) {
    const Cell layer = pair(8, text(u"A"));
    const Cell type = pair(0, text(u"LINE"));
    struct Case {
        std::vector<Cell> list;
        std::vector<int> changed;  ///< the ids that are given the layer
    };
    const std::vector<Case> cases{
        {{pair(-1, nameOf(1)), layer}, {1}},
        {{pair(-1, nameOf(1)), type, layer}, {1}},
        {{layer, pair(-1, nameOf(1))}, {1}},
        {{type, pair(-1, nameOf(1)), layer}, {1}},
        {{pair(-1, nameOf(1)), pair(-1, nameOf(2)), layer}, {2}},
        {{pair(-1, nameOf(2)), pair(-1, nameOf(1)), layer}, {1}},
        {{pair(-1, nameOf(1)), pair(-1, nameOf(77)), layer}, {}},
        {{pair(-1, nameOf(77)), pair(-1, nameOf(1)), layer}, {1}},
        {{pair(-1, nameOf(1)), layer, pair(-1, nameOf(2))}, {1}},
        {{type, layer, pair(-1, nameOf(1))}, {}},
        {{type, layer}, {}},
        {{layer, layer, layer, pair(-1, nameOf(1))}, {}},
        {{pair(-2, nameOf(1)), layer}, {}},
        {{pair(1, nameOf(1)), layer}, {}},
        {{nameOf(1), layer}, {}},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE("case " + std::to_string(i));
        fresh(vmDbLine);
        draw(host, vmDbLine);
        EXPECT_EQ(modifyWith(cases[i].list), "nil");
        std::vector<int> changed;
        for (const auto& object : host.slots)
            if (quoted(object->layerName) == "\"A\"") changed.push_back(object->id);
        EXPECT_EQ(changed, cases[i].changed);
        EXPECT_EQ(host.openedForChange, static_cast<int>(changed.size()));
        EXPECT_EQ(host.opened, host.openedForChange) << "once, for changing";
    }
}

// The text counts, whatever the value is.
TEST_F(EntityModification, TheNameIsDecodedFromItsText) {
    const std::vector<std::pair<Cell, HostLong>> names{
        {nameOf(5), 5},    {nameOf(u" 5x"), 5},    {text(u"5"), 5},
        {text(u"+5 "), 5}, {test::setOf(u"5"), 5}, {Cell::symbol(u"5"), 5},
        {nameOf(-3), -3},  {nameOf(u"none"), 0},   {number(5), 0},
        {real(5), 0},      {NilCell, 0},           {Cell::list({nameOf(5)}), 0}};
    for (const auto& [name, id] : names) {
        SCOPED_TRACE(exact(name));
        host.slots.clear();
        for (const HostLong each : {5, -3, 0}) addWithId<VmDbLine>(vmDbLine, each);
        EXPECT_EQ(modifyWith({pair(-1, name), pair(62, number(9))}), "nil");
        for (const auto& object : host.slots) EXPECT_EQ(object->colour, object->id == id ? 9 : 256);
    }
    // The third element is the value, in a plain list too.
    addWithId<VmDbLine>(vmDbLine, 6);
    modifyWith({Cell::list({number(-1), nameOf(5), nameOf(6)}), pair(62, number(8))});
    EXPECT_EQ(host.find(6)->colour, 8);
}

TEST_F(EntityModification, ANameWithoutAValueOpensNothing) {
    fresh(vmDbLine);
    const Cell short1 = Cell::list({number(-1)});
    const Cell short2 = Cell::list({number(-1), nameOf(1)});
    const Cell layer = pair(8, text(u"A"));
    for (const Cell& name : {short1, short2}) {
        EXPECT_EQ(modifyWith({name, layer}), "nil");
        EXPECT_EQ(modifyWith({layer, name}), "nil");
        EXPECT_EQ(modifyWith({name, name, layer}), "nil");
    }
    EXPECT_EQ(host.opened, 0);
}

TEST_F(EntityModification, AnUnknownObjectChangesNothing) {
    fresh(vmDbLine);
    for (const HostLong id : {2, 0, -1, std::numeric_limits<HostLong>::max()})
        EXPECT_EQ(modifyWith({pair(-1, nameOf(id)), pair(8, text(u"A"))}), "nil");
    EXPECT_EQ(host.opened, 0);
    EXPECT_EQ(pointsOf(*host.slots[0]), "(1.0 2.0 3.0)(4.0 5.0 6.0)");
}

// One entry of every code and of a value of each type, to an object of every kind: only what the
// tables name is changed.
TEST_F(EntityModification, EachCodeActsWhereItHasARule) {
    struct Rule {
        VmDbType type;
        std::int32_t code;
        std::string member;
        std::string ofReal, ofInteger, ofText;  ///< new values; a field of another type is empty
    };
    // 0.1 radians are 0.1 * 57.29577951308232 degrees.
    const std::vector<Rule> rules{
        {vmDbText, 1, "text", "\"\"", "\"\"", "\"new\""},
        {vmDbText, 40, "height", "0.1", "0.0", "0.0"},
        {vmDbText, 50, "rotation", "5.729577951308233", "0.0", "0.0"},
        {vmDbMText, 1, "text", "\"\"", "\"\"", "\"new\""},
        {vmDbMText, 40, "height", "0.1", "0.0", "0.0"},
        {vmDbMText, 50, "rotation", "5.729577951308233", "0.0", "0.0"},
        {vmDbInsert, 41, "xScale", "0.1", "0.0", "0.0"},
        {vmDbInsert, 42, "yScale", "0.1", "0.0", "0.0"},
        {vmDbInsert, 50, "rotation", "5.729577951308233", "0.0", "0.0"},
        {vmDbCircle, 40, "radius", "0.1", "0.0", "0.0"},
        {vmDbArc, 40, "radius", "0.1", "0.0", "0.0"},
        {vmDbArc, 50, "start", "0.1", "0.0", "0.0"},
        {vmDbArc, 51, "end", "0.1", "0.0", "0.0"},
        {vmDbLwPolyline, 42, "bulges", "0.25 0.1 ", "0.25 0.0 ", "0.25 0.0 "},
        {vmDbLwPolyline, 70, "closed", "0", "1", "0"},
    };
    const auto ruleOf = [&](std::int32_t type, std::int32_t code) -> const Rule* {
        for (const Rule& rule : rules)
            if (rule.type == type && rule.code == code) return &rule;
        return nullptr;
    };
    std::size_t acted = 0;
    for (const VmDbType type : everyType)
        for (std::int32_t code = -6; code <= 1072; ++code) {
            if (code == -1 || code == 10) continue;  // the name, and the points: tests of their own
            const Rule* rule = ruleOf(type, code);
            const auto check = [&](const Cell& value, std::string Rule::*expected,
                                   const char* layer, const char* whole) {
                Members changed;
                if (code == 8) changed["layer"] = layer;
                if (code == 62) changed["colour"] = whole;
                if (code == 370) changed["lineweight"] = whole;
                VmDbObject& object = fresh(type);
                if (rule != nullptr && membersOf(object)[rule->member] != rule->*expected)
                    changed[rule->member] = rule->*expected;
                acted += changed.size();
                EXPECT_EQ(modify(object, {pair(code, value)}), changed)
                    << "type " << type << ", code " << code << ", value " << exact(value);
            };
            check(real(0.1), &Rule::ofReal, "\"\"", "0");
            check(number(7), &Rule::ofInteger, "\"\"", "7");
            check(text(u"new"), &Rule::ofText, "\"new\"", "0");
        }
    // Every rule acted on its three values, but for the flag, which two of them leave at 0.
    EXPECT_EQ(acted, 3 * rules.size() - 2 + 3 * 3 * std::size(everyType));
}

TEST_F(EntityModification, CommonRulesActOnObjectsOfUnknownType) {
    for (const std::int32_t type : {0, -1, 10102, 99999}) {
        VmDbObject& object = fresh(type);
        EXPECT_EQ(modify(object,
                         {pair(8, text(u"A")), pair(62, number(3)), pair(370, number(25)),
                          point({7, 8, 9}), pair(40, real(1)), pair(1, text(u"x"))},
                         false),
                  (Members{{"layer", "\"A\""},
                           {"colour", "3"},
                           {"lineweight", "25"},
                           {"points", "(7.0 8.0 9.0)"}}));
    }
}

TEST_F(EntityModification, PointsAreExactlyThoseOfTheList) {
    for (const VmDbType type : everyType) {
        VmDbObject& object = fresh(type);
        modify(object, {point({7, 8, 9}), pair(8, text(u"A")), point({-1, 0.5, 0.1})}, false);
        EXPECT_EQ(pointsOf(object), "(7.0 8.0 9.0)(-1.0 0.5 0.1)") << type;
        modify(object, {pair(8, text(u"A"))}, false);
        EXPECT_EQ(pointsOf(object), "") << "without an entry none is left";
    }
}

TEST_F(EntityModification, ShapesOfPointEntries) {
    const Cell ten = number(10);
    const std::vector<std::pair<Cell, std::string>> cases{
        {point({1.5, 2.5}), "(1.5 2.5 0.0)"},
        {point({1.5, 2.5, 3.5}), "(1.5 2.5 3.5)"},
        {point({1.5, 2.5, 3.5, 4.5}), "(1.5 2.5 3.5)"},
        {point({1.5, 2.5, 3.5, 4.5, 5.5}), "(1.5 2.5 3.5)"},
        {point({1e308, -0.0, 0.1}), "(1e+308 -0.0 0.1)"},
        {point({1.5}), ""},
        {point({}), ""},
        // A field of another type than Real is 0.
        {Cell::list({ten, number(1), number(2), number(3)}), "(0.0 0.0 0.0)"},
        {Cell::list({ten, real(1), number(2), real(3)}), "(1.0 0.0 3.0)"},
        {Cell::list({ten, text(u"1.5"), NilCell, Cell::list({real(3)})}), "(0.0 0.0 0.0)"},
        // A dotted pair has three elements: the dot and the value.
        {pair(10, real(2.5)), "(0.0 2.5 0.0)"},
        {pair(10, point({1, 2})), "(0.0 0.0 0.0)"},
        {Cell::list({ten, Cell::list({real(1), real(2)})}), ""},
    };
    for (const auto& [entry, points] : cases) {
        VmDbObject& object = fresh(vmDbLine);
        modify(object, {entry}, false);
        EXPECT_EQ(pointsOf(object), points) << exact(entry);
    }
}

TEST_F(EntityModification, LaterEntriesWinOverEarlierOnes) {
    VmDbObject& line = fresh(vmDbText);
    EXPECT_EQ(
        modify(line, {pair(8, text(u"A")), pair(8, text(u"B")), pair(62, number(1)),
                      pair(62, number(2)), pair(370, number(3)), pair(370, number(4)),
                      pair(1, text(u"a")), pair(1, text(u"b")), pair(40, real(5)),
                      pair(40, real(6)), pair(50, real(0)), pair(50, real(3.141592653589793))}),
        (Members{{"layer", "\"B\""},
                 {"colour", "2"},
                 {"lineweight", "4"},
                 {"text", "\"b\""},
                 {"height", "6.0"},
                 {"rotation", "180.0"}}));
    VmDbObject& polyline = fresh(vmDbLwPolyline);
    EXPECT_EQ(modify(polyline, {pair(70, number(1)), pair(70, number(0))}), Members{});
    EXPECT_EQ(modify(polyline, {pair(70, number(0)), pair(70, number(-4))}),
              (Members{{"closed", "1"}}));
}

TEST_F(EntityModification, RadiansInTheListAreDegreesInTheObject) {
    const std::vector<std::pair<double, std::string>> angles{
        {0, "0.0"},
        {1.5707963267948966, "90.0"},
        {3.141592653589793, "180.0"},
        {-1.5707963267948966, "-90.0"},
        {0.1, "5.729577951308233"},
        {1e6, exactReal(1e6 * 57.29577951308232)}};
    for (const auto& [radians, degrees] : angles)
        for (const VmDbType type : {vmDbText, vmDbMText, vmDbInsert}) {
            VmDbObject& object = fresh(type);
            modify(object, {pair(50, real(radians))});
            EXPECT_EQ(membersOf(object)["rotation"], degrees);
        }
    VmDbObject& line = fresh(vmDbText);
    modify(line, {pair(50, real(1.5707963267948966))});
    EXPECT_EQ(exact(call(entget, {nameOf(line)}).items()[7]), "(50 . 1.5707963267948966)");
}

TEST_F(EntityModification, TextsMayBeOfAnyLength) {
    for (const std::u16string& value :
         {std::u16string(), std::u16string(u"nil"), std::u16string(100'000, u'x'),
          std::u16string(u"W\u00e4nde \U0001F600")}) {
        VmDbObject& object = fresh(vmDbText);
        EXPECT_EQ(modify(object, {pair(8, text(value)), pair(1, text(value))}),
                  (Members{{"layer", "\"" + platform::toUtf8(value) + "\""},
                           {"text", "\"" + platform::toUtf8(value) + "\""}}));
    }
    // A text ends with its terminating zero.
    VmDbObject& object = fresh(vmDbText);
    modify(object, {pair(8, text(std::u16string_view(u"A\0B", 3))),
                    pair(1, text(std::u16string_view(u"\0B", 2)))});
    EXPECT_EQ(quoted(object.layerName), "\"A\"");
    EXPECT_EQ(object.layerName.length(), 1u);
    EXPECT_EQ(VmDbText::cast(&object)->text.length(), 0u);
}

TEST_F(EntityModification, TextsOfOtherValuesThanStrings) {
    const std::vector<std::pair<Cell, std::string>> values{
        {Cell::symbol(u"WALLS"), "\"WALLS\""},
        {NilCell, "\"nil\""},
        {nameOf(7), "\"7\""},
        {test::setOf(u"3"), "\"3\""},
        {number(5), "\"\""},
        {Cell::list({text(u"A")}), "\"\""},
        {Cell::lambda({}, nullptr, intern(u"F")), "\"F\""}};
    for (const auto& [value, layer] : values) {
        VmDbObject& object = fresh(vmDbLine);
        EXPECT_EQ(modify(object, {pair(8, value)}), (Members{{"layer", layer}})) << exact(value);
    }
}

TEST_F(EntityModification, TheThirdElementIsTheValue) {
    VmDbObject& object = fresh(vmDbCircle);
    EXPECT_EQ(modify(object, {Cell::list({number(40), real(1), real(2)}),
                              Cell::list({number(62), number(3), number(4), number(5)}),
                              Cell::list({number(8), text(u"A"), text(u"B"), text(u"C")})}),
              (Members{{"radius", "2.0"}, {"colour", "4"}, {"layer", "\"B\""}}));
}

// Entries from which nothing can be read change nothing; those around them count.
TEST_F(EntityModification, MalformedEntriesArePassedOver) {
    const std::vector<Cell> malformed{
        Cell(),
        NilCell,
        DotCell,
        number(8),
        number(10),
        real(62),
        text(u"8"),
        nameOf(1),
        test::setOf(u"1"),
        Cell::builtin(&entmod),
        Cell::lambda(CellSlice::copyOf(std::vector<Cell>{number(62), DotCell, number(99)}), nullptr,
                     intern(u"F")),
        Cell::list({}),
        Cell::list({Cell::list({})}),
        Cell::list({Cell::list({number(62), DotCell, number(99)})}),
        Cell::list({number(8)}),
        Cell::list({number(10)}),
        Cell::list({number(1)}),
        Cell::list({number(40)}),
        Cell::list({number(62), number(99)}),
        Cell::list({number(370), number(99)}),
        Cell::list({number(8), text(u"A")}),
        Cell::list({number(1), text(u"A")}),
        Cell::list({number(40), real(9)}),
        Cell::list({number(50), real(9)}),
        Cell::list({number(10), real(9)}),
        // No Integer is no group code.
        Cell::list({real(62), DotCell, number(99)}),
        Cell::list({text(u"62"), DotCell, number(99)}),
        Cell::list({Cell::symbol(u"62"), DotCell, number(99)}),
        Cell::list({Cell::list({number(62)}), DotCell, number(99)}),
        Cell::list({DotCell, DotCell, DotCell}),
    };
    for (const VmDbType type : everyType)
        for (const Cell& entry : malformed) {
            VmDbObject& object = fresh(type);
            EXPECT_EQ(modify(object, {pair(8, text(u"A")), pair(62, number(3)), entry,
                                      pair(370, number(25))}),
                      (Members{{"layer", "\"A\""}, {"colour", "3"}, {"lineweight", "25"}}))
                << "type " << type << ", entry " << exact(entry);
            // At the end, and in the place of the type text.
            EXPECT_EQ(modify(object, {pair(370, number(30)), entry}),
                      (Members{{"lineweight", "30"}}));
            EXPECT_EQ(modify(object, {entry, pair(62, number(4))}), (Members{{"colour", "4"}}));
        }
}

TEST_F(EntityModification, WhatWasChangedBeforeAMalformedEntryStays) {
    VmDbObject& object = fresh(vmDbCircle);
    EXPECT_EQ(modify(object, {pair(40, real(5)), number(5)}), (Members{{"radius", "5.0"}}));
}

TEST_F(EntityModification, AnObjectOfAnotherClassThanItsTypeCodeSaysHasTheCommonRulesOnly) {
    const std::vector<Cell> entries{pair(1, text(u"new")), pair(40, real(2)),  pair(41, real(3)),
                                    pair(42, real(4)),     pair(50, real(5)),  pair(51, real(6)),
                                    pair(70, number(1)),   pair(8, text(u"A"))};
    const Members common{{"layer", "\"A\""}};
    for (const VmDbType type : everyType) {
        // A plain object under each code, and a polyline under each code of another class.
        VmDbObject& plain = fresh(-1);
        plain.typeCode = type;
        EXPECT_EQ(modify(plain, entries), common) << type;
        VmDbObject& circle = fresh(vmDbCircle);
        circle.typeCode = type;
        if (type != vmDbCircle) {
            EXPECT_EQ(modify(circle, entries), common) << type;
        }
        VmDbObject& polyline = fresh(vmDbLwPolyline);
        polyline.typeCode = type;
        if (type != vmDbLwPolyline) {
            EXPECT_EQ(modify(polyline, entries), common) << type;
        }
    }
}

TEST_F(EntityModification, BulgesAreAppended) {
    VmDbObject& object = fresh(vmDbLwPolyline);
    EXPECT_EQ(modify(object, {pair(42, real(1)), pair(42, real(-0.5)), pair(42, number(3))}),
              (Members{{"bulges", "0.25 1.0 -0.5 0.0 "}}));
    // Without an entry they stay; the points do not.
    EXPECT_EQ(modify(object, {pair(67, number(0))}, false), (Members{{"points", ""}}));
}

TEST_F(EntityModification, APolylineGivenBackHasItsBulgesTwice) {
    auto& object = host.add<VmDb2DPolyline>(vmDbLwPolyline, {{0, 0, 1}, {4, 0, 2}});
    object.addBulge(0.5);
    object.addBulge(-1);
    EXPECT_EQ(eval("(entmod (entget (entlast)))"), "nil");
    EXPECT_EQ(membersOf(object)["bulges"], "0.5 -1.0 0.5 -1.0 ");
    EXPECT_EQ(pointsOf(object), "(0.0 0.0 0.0)(4.0 0.0 0.0)");
    // What is shown, and so given back, are as many as there are vertices.
    EXPECT_EQ(eval("(entmod (entget (entlast)))"), "nil");
    EXPECT_EQ(membersOf(object)["bulges"], "0.5 -1.0 0.5 -1.0 0.5 -1.0 ");
}

TEST_F(EntityModification, AnEntityGivenBackIsWhatItWas) {
    for (const VmDbType type : everyType) {
        VmDbObject& object = fresh(type);
        object.colour = 3;
        object.lineweight = 25;
        assign(object.layerName, u"WALLS");
        Members expected = membersOf(object);
        const std::string before = exact(call(entget, {nameOf(object)}));
        EXPECT_EQ(exact(call(entmod, {call(entget, {nameOf(object)})})), "nil");
        const Members after = membersOf(object);
        // What the list does not say is not kept: heights, and points but the first.
        if (type == vmDbLwPolyline) {
            expected["points"] = "(1.0 2.0 0.0)(4.0 5.0 0.0)";
            expected["bulges"] = "0.25 0.25 0.0 ";
        } else if (type != vmDbLine && type != vmDbPolyline) {
            expected["points"] = "(1.0 2.0 0.0)";
        }
        expected.erase("rotation");
        Members compared = after;
        compared.erase("rotation");
        EXPECT_EQ(compared, expected) << type;
        if (type != vmDbLwPolyline) {
            EXPECT_EQ(exact(call(entget, {nameOf(object)})), before) << type;
        }
        EXPECT_EQ(host.openedForChange, 1);
    }
}

TEST_F(EntityModification, AnErasedEntityCanBeChanged) {
    VmDbObject& object = fresh(vmDbCircle);
    object.erased = 1;
    EXPECT_EQ(modify(object, {pair(40, real(5))}), (Members{{"radius", "5.0"}}));
    EXPECT_EQ(object.erased, 1);
}

TEST_F(EntityModification, TheDisplayIsLeftAlone) {
    VmDbObject& object = fresh(vmDbCircle);
    modify(object, {pair(40, real(5))});
    EXPECT_TRUE(host.log.empty());
    EXPECT_TRUE(host.shown.empty());
}

TEST_F(EntityModification, AProgramChangesAnEntity) {
    auto& circle = static_cast<VmDbCircle&>(fresh(vmDbCircle));
    eval("(setq d (entget (entlast)))");
    EXPECT_EQ(eval("(entmod (subst (cons 40 7.5) (assoc 40 d) d))"), "nil");
    EXPECT_EQ(circle.radius, 7.5);
    EXPECT_EQ(eval("(entmod (subst (cons 40 7) (assoc 40 d) d))"), "nil");
    EXPECT_EQ(circle.radius, 0.0) << "an integer where a real belongs";
    EXPECT_EQ(eval("(entmod (append (entget (entlast)) (list '(62 . 5))))"), "nil");
    EXPECT_EQ(circle.colour, 5);
    EXPECT_EQ(pointsOf(circle), "(1.0 2.0 0.0)");

    fresh(vmDbLine);
    EXPECT_EQ(eval("(entmod (list (cons -1 (entlast))))"), "nil");
    EXPECT_EQ(host.openedForChange, 0);
    EXPECT_EQ(eval("(entmod '((0 . \"LINE\") (8 . \"A\")))"), "nil");
    EXPECT_EQ(host.openedForChange, 0);
    EXPECT_EQ(eval("(entmod (list (cons -1 (entlast)) '(10 1.0 2.0)))"), "nil");
    EXPECT_EQ(pointsOf(*host.slots[0]), "(1.0 2.0 0.0)");
}

// Lists of any shape, most of them naming an object.
class RandomLists {
  public:
    explicit RandomLists(std::uint32_t seed) : engine_(seed) {}

    Cell next(std::size_t objects) {
        std::vector<Cell> list;
        if (chance(9)) list.push_back(entry(-1, name(objects)));
        const std::size_t count = below(7);
        for (std::size_t i = 0; i < count; ++i)
            list.push_back(chance(5) ? anything(3) : entry(code(), anything(1)));
        if (chance(3)) list.insert(list.begin(), anything(2));
        return Cell::list(CellSlice::copyOf(list));
    }

  private:
    // Yes in that many of ten cases.
    bool chance(std::size_t ofTen) { return below(10) < ofTen; }
    std::size_t below(std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(engine_);
    }

    std::int32_t code() {
        static constexpr std::int32_t codes[] = {-2, -1, 0,  1,  2,  8,  10, 10, 10,
                                                 40, 41, 42, 50, 51, 62, 67, 70, 370};
        return codes[below(std::size(codes))];
    }

    Cell name(std::size_t objects) { return nameOf(static_cast<HostLong>(below(objects + 2))); }

    // (code), (code value), (code . value), (code value value value ...).
    Cell entry(std::int32_t group, const Cell& value) {
        if (chance(7)) return pair(group, value);
        std::vector<Cell> elements{number(group)};
        const std::size_t count = below(5);
        for (std::size_t i = 0; i < count; ++i) elements.push_back(anything(1));
        return Cell::list(CellSlice::copyOf(elements));
    }

    Cell anything(std::size_t depth) {
        static const std::vector<Cell> shapes = test::everyShape();
        switch (below(depth > 0 ? 8 : 6)) {
        case 0: return number(code());
        case 1: return number(static_cast<std::int32_t>(engine_()));
        case 2: return real(std::ldexp(1.0, static_cast<int>(below(2000)) - 1000));
        case 3: return text(std::u16string(below(400), u'x'));
        case 4:
        case 5: return shapes[below(shapes.size())];
        default: break;
        }
        std::vector<Cell> elements;
        const std::size_t count = below(5);
        for (std::size_t i = 0; i < count; ++i) elements.push_back(anything(depth - 1));
        return Cell::list(CellSlice::copyOf(elements));
    }

    std::mt19937 engine_;
};

TEST_F(EntityModification, NoListMakesItFail) {
    for (const VmDbType type : everyType) draw(host, type);
    const std::size_t readable = host.slots.size();
    for (const VmDbType type : everyType) draw(host, -1).typeCode = type;
    for (const VmDbType type : everyType) draw(host, vmDbCircle).typeCode = type;
    draw(host, 0);
    RandomLists lists(20260101);
    for (int i = 0; i < 20'000 && !HasFailure(); ++i) {
        const Cell list = lists.next(host.slots.size());
        SCOPED_TRACE(std::to_string(i) + ": " + exact(list));
        ASSERT_EQ(exact(call(entmod, {list})), "nil");
    }
    EXPECT_GT(host.openedForChange, 10'000);
    EXPECT_EQ(host.opened, host.openedForChange);
    for (std::size_t i = 0; i < readable; ++i)
        EXPECT_TRUE(call(entget, {nameOf(*host.slots[i])}).is(CellType::List));
    for (std::size_t i = 0; i < host.slots.size(); ++i)
        EXPECT_EQ(host.slots[i]->id, static_cast<HostLong>(i + 1)) << "ids never change";
}

}  // namespace
}  // namespace vlisp
