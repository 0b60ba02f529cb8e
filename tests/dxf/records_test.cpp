// Tests of refhost/dxf/records.h.
#include "refhost/dxf/records.h"

#include "tests/dxf/dxf_text.h"

#include <numbers>
#include <set>

namespace vlisp::refhost::dxf {
namespace {

using namespace test;

using std::numbers::pi;

// Entities alone, as records are read: the bytes, and what it takes to read them.
class Records {
  public:
    explicit Records(std::string_view notation, const Look& look = plain,
                     std::string_view version = "AC1015", std::string_view codePage = "ANSI_1252")
        : bytes_(dxf(notation, look)),
          begin_(look.form == Form::text ? 0 : binaryMark.size()), source{bytes_, look.form,
                                                                          TextCodec(version,
                                                                                    codePage)} {}

    [[nodiscard]] std::unique_ptr<VmDbObject> read(HostLong id = 7) const {
        return readEntity(source, {begin_, bytes_.size()}, id);
    }

  private:
    std::string bytes_;
    std::uint64_t begin_;

  public:
    Source source;
};

template <class Class> const Class& as(const std::unique_ptr<VmDbObject>& object) {
    const auto* typed = dynamic_cast<const Class*>(object.get());
    EXPECT_NE(typed, nullptr);
    static const Class none;
    return typed != nullptr ? *typed : none;
}

std::string pointsOf(const VmDbObject& object) {
    std::string out;
    for (int i = 0; i < object.points.count; ++i) {
        const mmPoint& point = object.points.points[i];
        out += (out.empty() ? "" : " ") + realText(point.x) + "," + realText(point.y) + "," +
               realText(point.z);
    }
    return out;
}

std::string bulgesOf(const VmDb2DPolyline& polyline) {
    std::string out;
    for (int i = 0; i < polyline.bulges.count; ++i)
        out += (out.empty() ? "" : " ") + realText(polyline.bulges.values[i]);
    return out;
}

// --- What every entity has ----------------------------------------------------------------------

TEST(Entity, HasALayerAColourAndALineweight) {
    const struct {
        const char* notation;
        const char16_t* layer;
        std::int32_t colour;
        std::int32_t lineweight;
    } cases[] = {
        {"0 LINE", u"0", 256, -1},
        {"0 LINE|8 Walls", u"Walls", 256, -1},
        {"0 LINE|8 A|62 0|370 0", u"A", 0, 0},
        {"0 LINE|8 A|62 256|370 -2", u"A", 256, -2},
        {"0 LINE|8 A|62 5|370 25", u"A", 5, 25},
        {"0 LINE|5 1|102 {ACAD_REACTORS|330 2|102 }|8 A|62 1", u"A", 1, -1},
        {"0 LINE|8 A|102 {X|8 B|62 2|370 9|102 }|62 5|370 25", u"A", 5, 25},
        {"0 LINE|8 A|62 5|1001 APP|1002 {|1003 B|1070 3|1002 }", u"A", 5, -1},
        {"0 LINE|8 A|999 comment|62 5", u"A", 5, -1},
    };
    for (const auto& one : cases)
        for (const Look& look : {plain, padded, binary, shortBinary}) {
            const auto object = Records(one.notation, look).read();
            EXPECT_EQ(object->id, 7);
            EXPECT_EQ(object->erased, 0);
            EXPECT_EQ(object->typeCode, vmDbLine);
            EXPECT_EQ(textOf(object->layerName), one.layer) << one.notation;
            EXPECT_EQ(object->colour, one.colour) << one.notation;
            EXPECT_EQ(object->lineweight, one.lineweight) << one.notation;
        }
}

TEST(Entity, HasAnAppearanceBeside) {
    const auto object =
        Records("0 CIRCLE|8 0|60 1|62 5|420 16711935|10 0.0|40 1.0|210 0.0|220 0.0|230 -1.0")
            .read();
    const Appearance& look = filePartOf(*object)->appearance;
    EXPECT_TRUE(look.invisible);
    EXPECT_EQ(look.trueColour, 0xff00ffU);
    EXPECT_EQ(look.normal.z, -1);
    const auto plainOne = Records("0 CIRCLE|8 0|10 0.0|40 1.0").read();
    EXPECT_FALSE(filePartOf(*plainOne)->appearance.invisible);
    EXPECT_FALSE(filePartOf(*plainOne)->appearance.trueColour.has_value());
    EXPECT_EQ(filePartOf(*plainOne)->appearance.normal.z, 1);
}

TEST(Entity, OfAnUnknownKindIsCarried) {
    const auto object = Records("0 WIPEOUT|5 1|8 A|62 3|370 50|10 1.0|20 2.0").read();
    const auto& carried = as<CarriedObject>(object);
    EXPECT_EQ(carried.kind, u"WIPEOUT");
    EXPECT_EQ(textOf(carried.layerName), u"A");
    EXPECT_EQ(carried.colour, 3);
    EXPECT_EQ(carried.lineweight, 50);
    EXPECT_EQ(carried.points.count, 0);
    EXPECT_EQ(findEntityKind(carried.typeCode), nullptr) << "programs must not take it for a kind";
}

// --- By kind ------------------------------------------------------------------------------------

TEST(Line, HasTwoPoints) {
    EXPECT_EQ(pointsOf(*Records("0 LINE|8 0|10 1.5|20 2.5|30 3.5|11 4.0|21 5.0|31 6.0").read()),
              "1.5,2.5,3.5 4.0,5.0,6.0");
    EXPECT_EQ(pointsOf(*Records("0 LINE|8 0|10 1.5|20 2.5|11 4.0|21 5.0").read()),
              "1.5,2.5,0.0 4.0,5.0,0.0");
    EXPECT_EQ(pointsOf(*Records("0 LINE|11 4.0|21 5.0|10 1.5|20 2.5|1001 A|1010 9.0").read()),
              "1.5,2.5,0.0 4.0,5.0,0.0");
}

TEST(Circle, HasCentreAndRadius) {
    const auto object = Records("0 CIRCLE|8 0|10 1.5|20 2.5|30 3.5|40 0.25|39 7.0").read();
    EXPECT_EQ(object->typeCode, vmDbCircle);
    EXPECT_EQ(pointsOf(*object), "1.5,2.5,3.5");
    EXPECT_EQ(as<VmDbCircle>(object).radius, 0.25);
}

TEST(Arc, HasDegreesInTheFile) {
    const auto object =
        Records("0 ARC|5 1|100 AcDbCircle|10 0.0|20 0.0|40 2.0|100 AcDbArc|50 90.0|51 270.0")
            .read();
    EXPECT_EQ(object->typeCode, vmDbArc);
    EXPECT_DOUBLE_EQ(as<VmDbArc>(object).startAngle, pi / 2);
    EXPECT_DOUBLE_EQ(as<VmDbArc>(object).endAngle, 3 * pi / 2);
    EXPECT_EQ(as<VmDbArc>(object).radius, 2);
}

TEST(LightPolyline, IsClosedByOneBitAlone) {
    const struct {
        const char* flags;
        int closed;
    } cases[] = {{"", 0},        {"|70 0", 0}, {"|70 1", 1}, {"|70 128", 0},
                 {"|70 129", 1}, {"|70 2", 0}, {"|70 -1", 1}};
    for (const auto& one : cases) {
        const auto object =
            Records("0 LWPOLYLINE|8 0|90 1" + std::string(one.flags) + "|10 1.0|20 2.0").read();
        EXPECT_EQ(object->typeCode, vmDbLwPolyline);
        EXPECT_EQ(as<VmDb2DPolyline>(object).closed, one.closed) << one.flags;
    }
}

TEST(LightPolyline, HasBulgesWhenAnyVertexHasOne) {
    const struct {
        const char* vertices;
        const char* points;
        const char* bulges;
    } cases[] = {
        {"90 2|10 1.0|20 2.0|10 3.0|20 4.0", "1.0,2.0,0.0 3.0,4.0,0.0", ""},
        {"90 2|10 1.0|20 2.0|42 0.0|10 3.0|20 4.0", "1.0,2.0,0.0 3.0,4.0,0.0", "0.0 0.0"},
        {"90 3|10 1.0|20 2.0|10 3.0|20 4.0|42 -0.5|10 5.0|20 6.0",
         "1.0,2.0,0.0 3.0,4.0,0.0 5.0,6.0,0.0", "0.0 -0.5 0.0"},
        {"90 2|43 0.5|38 9.0|10 1.0|20 2.0|40 0.1|41 0.2|42 1.0|91 4|10 3.0|20 4.0|42 2.0",
         "1.0,2.0,0.0 3.0,4.0,0.0", "1.0 2.0"},
        {"90 0", "", ""},
        {"90 1|10 1.0|20 2.0|1001 A|1040 5.0|1010 1.0", "1.0,2.0,0.0", ""},
        {"90 1|10 1.0|20 2.0|210 0.0|220 0.0|230 -1.0", "1.0,2.0,0.0", ""},
    };
    for (const auto& one : cases)
        for (const Look& look : {plain, binary, shortBinary}) {
            const auto object =
                Records("0 LWPOLYLINE|8 0|" + std::string(one.vertices), look).read();
            EXPECT_EQ(pointsOf(*object), one.points) << one.vertices;
            EXPECT_EQ(bulgesOf(as<VmDb2DPolyline>(object)), one.bulges) << one.vertices;
        }
}

TEST(Polyline, ItsVerticesAreItsRecords) {
    const struct {
        const char* notation;
        const char* points;
        const char* bulges;
        int closed;
    } cases[] = {
        {"0 POLYLINE|66 1|10 9.0|20 9.0|30 9.0|70 1|0 VERTEX|10 1.0|20 2.0|0 VERTEX|10 3.0|20 4.0"
         "|30 5.0|0 SEQEND",
         "1.0,2.0,0.0 3.0,4.0,5.0", "", 1},
        {"0 POLYLINE|66 1|10 9.0|20 9.0|30 9.0|0 SEQEND", "", "", 0},
        {"0 POLYLINE|66 1|10 9.0|20 9.0|30 9.0", "", "", 0},
        {"0 POLYLINE|66 1|70 128|0 VERTEX|10 1.0|20 2.0|42 0.5|0 VERTEX|10 3.0|20 4.0|0 SEQEND",
         "1.0,2.0,0.0 3.0,4.0,0.0", "0.5 0.0", 0},
        {"0 POLYLINE|66 1|70 8|0 VERTEX|10 1.0|20 2.0|30 3.0|70 32|0 SEQEND", "1.0,2.0,3.0", "", 0},
        // A polyface mesh: vertices, then faces, which have no place.
        {"0 POLYLINE|66 1|70 64|71 2|72 1|0 VERTEX|10 1.0|20 2.0|30 3.0|70 192"
         "|0 VERTEX|10 4.0|20 5.0|30 6.0|70 192|0 VERTEX|10 0.0|20 0.0|30 0.0|70 128|71 1|72 2"
         "|73 1|0 SEQEND",
         "1.0,2.0,3.0 4.0,5.0,6.0", "", 0},
        {"0 POLYLINE|66 1|1001 A|1010 5.0|1020 6.0|1030 7.0|0 VERTEX|10 1.0|20 2.0|1001 A|1010 8.0"
         "|0 SEQEND",
         "1.0,2.0,0.0", "", 0},
    };
    for (const auto& one : cases)
        for (const Look& look : {plain, binary, shortBinary}) {
            const auto object = Records(one.notation, look).read();
            EXPECT_EQ(object->typeCode, vmDbPolyline);
            EXPECT_EQ(pointsOf(*object), one.points) << one.notation;
            EXPECT_EQ(bulgesOf(as<VmDb2DPolyline>(object)), one.bulges) << one.notation;
            EXPECT_EQ(as<VmDb2DPolyline>(object).closed, one.closed) << one.notation;
        }
}

TEST(Polyline, TakesItsPropertiesFromItsOwnRecord) {
    const auto object = Records("0 POLYLINE|8 A|62 1|66 1|0 VERTEX|8 B|62 2|370 50|10 1.0|20 2.0"
                                "|0 SEQEND|8 C|62 3")
                            .read();
    EXPECT_EQ(textOf(object->layerName), u"A");
    EXPECT_EQ(object->colour, 1);
    EXPECT_EQ(object->lineweight, -1);
}

TEST(Polyline, ItsVerticesStandBehindItsExtendedData) {
    for (const char* data : {"1001 APP|1000 t|", "101 Embedded|62 6|", "102 {X|8 C|102 }|"}) {
        const auto object =
            Records(std::string("0 POLYLINE|8 A|66 1|") + data +
                    "0 VERTEX|10 1.0|20 2.0|1001 APP|1040 9.0|0 VERTEX|10 3.0|20 4.0"
                    "|0 SEQEND")
                .read();
        EXPECT_EQ(pointsOf(*object), "1.0,2.0,0.0 3.0,4.0,0.0") << data;
        EXPECT_EQ(textOf(object->layerName), u"A") << data;
        EXPECT_EQ(object->colour, 256) << data;
    }
}

TEST(Insert, IsAPlacedBlock) {
    const auto object = Records("0 INSERT|8 0|66 1|2 Door|10 1.0|20 2.0|30 3.0|41 2.0|42 -3.0"
                                "|43 4.0|50 30.0|70 3|71 2|44 10.0|45 20.0"
                                "|0 ATTRIB|8 B|10 7.0|20 8.0|40 2.5|1 value|2 TAG|50 15.0"
                                "|0 SEQEND|8 0")
                            .read();
    const auto& insert = as<VmDbBlockRef>(object);
    EXPECT_EQ(object->typeCode, vmDbInsert);
    EXPECT_EQ(textOf(insert.blockName), u"Door");
    EXPECT_EQ(textOf(insert.layerName), u"0");
    EXPECT_EQ(pointsOf(insert), "1.0,2.0,3.0");
    EXPECT_EQ(insert.xScale, 2);
    EXPECT_EQ(insert.yScale, -3);
    EXPECT_EQ(insert.rotation, 30) << "degrees in the object too";
    const Appearance& look = filePartOf(insert)->appearance;
    EXPECT_EQ(look.columns, 3);
    EXPECT_EQ(look.rows, 2);
    EXPECT_EQ(look.columnSpacing, 10);
    EXPECT_EQ(look.rowSpacing, 20);
    ASSERT_NE(look.attributes, nullptr);
    ASSERT_EQ(look.attributes->size(), 1U);
    const auto& attribute = as<VmDbText>(look.attributes->front());
    EXPECT_EQ(textOf(attribute.text), u"value");
    EXPECT_EQ(pointsOf(attribute), "7.0,8.0,0.0");
    EXPECT_EQ(attribute.height, 2.5);
}

TEST(Insert, ItsAttributesStandBehindItsExtendedData) {
    for (const char* data : {"1001 APP|1000 t|", "101 Embedded|62 6|", "102 {X|8 C|102 }|"}) {
        const auto object =
            Records(std::string("0 INSERT|8 A|66 1|2 Door|") + data +
                    "0 ATTRIB|8 B|10 7.0|20 8.0|1 value|1001 APP|1000 u|0 SEQEND|8 0")
                .read();
        EXPECT_EQ(textOf(object->layerName), u"A") << data;
        EXPECT_EQ(object->colour, 256) << data;
        const Appearance& look = filePartOf(*object)->appearance;
        ASSERT_NE(look.attributes, nullptr) << data;
        ASSERT_EQ(look.attributes->size(), 1U) << data;
        EXPECT_EQ(textOf(as<VmDbText>(look.attributes->front()).text), u"value") << data;
        EXPECT_EQ(textOf(look.attributes->front()->layerName), u"B") << data;
    }
}

TEST(Insert, HasItsDefaults) {
    const auto object = Records("0 INSERT|2 B|10 0.0|20 0.0").read();
    EXPECT_EQ(as<VmDbBlockRef>(object).xScale, 1);
    EXPECT_EQ(as<VmDbBlockRef>(object).yScale, 1);
    EXPECT_EQ(as<VmDbBlockRef>(object).rotation, 0);
    EXPECT_EQ(filePartOf(*object)->appearance.attributes, nullptr);
}

TEST(Text, HasDegreesAndAlignment) {
    const auto object = Records("0 TEXT|8 0|10 1.0|20 2.0|30 0.0|40 2.5|1 Hello|50 45.0|41 0.8"
                                "|51 15.0|7 S|72 1|11 5.0|21 6.0|31 0.0|73 2")
                            .read();
    const auto& text = as<VmDbText>(object);
    EXPECT_EQ(object->typeCode, vmDbText);
    EXPECT_EQ(textOf(text.text), u"Hello");
    EXPECT_EQ(text.height, 2.5);
    EXPECT_EQ(text.rotation, 45);
    EXPECT_EQ(pointsOf(text), "1.0,2.0,0.0");
    const Appearance& look = filePartOf(text)->appearance;
    EXPECT_EQ(look.horizontal, 1);
    EXPECT_EQ(look.vertical, 2);
    EXPECT_EQ(look.alignment.x, 5);
    EXPECT_EQ(look.alignment.y, 6);
    EXPECT_EQ(look.widthFactor, 0.8);
    EXPECT_EQ(look.oblique, 15);
}

// --- MTEXT --------------------------------------------------------------------------------------

TEST(MText, JoinsItsParts) {
    const struct {
        const char* notation;
        const char16_t* text;
    } cases[] = {
        {"1 one", u"one"},
        {"3 one |3 two |1 three", u"one two three"},
        {"3 only", u"only"},
        {"1 ", u""},
        {"71 1", u""},
        {"3 a|1 b|7 STYLE|1001 APP|1000 c|1003 d", u"ab"},
        {"3 a|102 {X|1 z|3 y|102 }|1 b", u"ab"},
        {"3 a\\U+4e|1 2d", u"a\u4e2d"},
        {"3 a|1 b|101 Embedded Object|70 1|1 x|3 y|10 1.0|50 7.0", u"ab"},
        {"3 caf\xe9 |1 \xe4", u"caf\u00e9 \u00e4"},
    };
    for (const auto& one : cases)
        for (const Look& look : {plain, windows, binary, shortBinary}) {
            const auto object =
                Records("0 MTEXT|8 0|10 1.0|20 2.0|40 2.5|" + std::string(one.notation), look)
                    .read();
            EXPECT_EQ(object->typeCode, vmDbMText);
            EXPECT_EQ(textOf(as<VmDbText>(object).text), one.text) << one.notation;
        }
}

TEST(MText, ACharacterMayBeCutBetweenItsParts) {
    EXPECT_EQ(
        textOf(
            as<VmDbText>(Records("0 MTEXT|3 a\xe4\xb8|1 \xad\x62", plain, "AC1032").read()).text),
        u"a\u4e2db");
    EXPECT_EQ(
        textOf(as<VmDbText>(Records("0 MTEXT|3 \x93|1 \xfa", plain, "AC1015", "ANSI_932").read())
                   .text),
        u"\u65e5");
}

TEST(MText, IsTurnedByAnAngleOrADirection) {
    const struct {
        const char* notation;
        double degrees;
    } cases[] = {
        {"1 x", 0},
        {"50 30.0", 30},
        {"11 0.0|21 1.0|31 0.0", 90},
        {"11 -2.0|21 0.0|31 0.0", 180},
        {"11 1.0|21 -1.0|31 0.0", -45},
        // The later one holds.
        {"11 0.0|21 1.0|31 0.0|50 30.0", 30},
        {"50 30.0|11 0.0|21 1.0|31 0.0", 90},
        // What an embedded object and columns say does not count.
        {"50 30.0|101 Embedded Object|11 0.0|21 1.0|50 5.0", 30},
        {"50 30.0|75 1|76 2|78 0|79 0|48 10.0|49 1.0|50 7.0", 30},
        {"50 30.0|1001 A|1040 5.0|1011 0.0|1021 1.0", 30},
    };
    for (const auto& one : cases) {
        const auto object =
            Records("0 MTEXT|10 1.0|20 2.0|40 2.5|" + std::string(one.notation)).read();
        const double degrees = as<VmDbText>(object).rotation;
        EXPECT_NEAR(degrees, one.degrees, 1e-12) << one.notation;
        EXPECT_EQ(pointsOf(*object), "1.0,2.0,0.0") << one.notation;
    }
}

TEST(MText, AnEmbeddedObjectDoesNotDisturb) {
    const auto object =
        Records("0 MTEXT|8 A|62 5|10 1.0|20 2.0|30 0.0|40 2.5|41 80.0|71 5|1 text|50 30.0"
                "|101 Embedded Object|70 1|10 9.0|20 9.0|30 9.0|11 8.0|21 8.0|40 7.0|71 2|62 3"
                "|1001 APP|1040 6.0")
            .read();
    const auto& text = as<VmDbText>(object);
    EXPECT_EQ(pointsOf(text), "1.0,2.0,0.0");
    EXPECT_EQ(text.height, 2.5);
    EXPECT_EQ(text.rotation, 30);
    EXPECT_EQ(text.colour, 5);
    EXPECT_EQ(filePartOf(text)->appearance.attachment, 5);
}

// --- Texts --------------------------------------------------------------------------------------

TEST(Text, IsDecodedAsItsFileSays) {
    const auto textIn = [](const char* bytes, const char* version, const char* codePage) {
        return textOf(
            as<VmDbText>(Records("0 TEXT|1 " + std::string(bytes), plain, version, codePage).read())
                .text);
    };
    EXPECT_EQ(textIn("\xe9", "AC1015", "ANSI_1252"), u"\u00e9");
    EXPECT_EQ(textIn("\xe9", "AC1015", "ANSI_1251"), u"\u0439");
    EXPECT_EQ(textIn("\xe9", "AC1015", ""), u"\u00e9");
    EXPECT_EQ(textIn("\xc3\xa9", "AC1021", "ANSI_1251"), u"\u00e9");
    EXPECT_EQ(textIn("\\U+4E2D", "AC1015", "ANSI_1252"), u"\u4e2d");
    EXPECT_EQ(textIn("%%c20 {\\fArial;x}", "AC1015", "ANSI_1252"), u"%%c20 {\\fArial;x}");
    EXPECT_EQ(textIn("  blanks  ", "AC1015", "ANSI_1252"), u"  blanks  ");
}

TEST(Text, LayersAndBlocksAreDecodedToo) {
    const auto object = Records("0 INSERT|8 W\xe4nde|2 T\xfcr").read();
    EXPECT_EQ(textOf(object->layerName), u"W\u00e4nde");
    EXPECT_EQ(textOf(as<VmDbBlockRef>(object).blockName), u"T\u00fcr");
}

// --- Records ------------------------------------------------------------------------------------

TEST(Records, OwnPairsEndWhereOthersBegin) {
    const std::string bytes =
        dxf("0 INSERT|8 A|102 {X|8 B|102 }|62 5|101 Embedded|62 6|1001 APP|1000 t|0 ATTRIB|8 C"
            "|0 SEQEND");
    const Source source{bytes, Form::text, TextCodec("AC1015", "ANSI_1252")};
    const std::vector<Record> records = recordsOf(source, {0, bytes.size()});
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].type, "INSERT");
    EXPECT_EQ(records[1].type, "ATTRIB");
    EXPECT_EQ(records[2].type, "SEQEND");
    EXPECT_EQ(records[0].pairs.size(), 10U);
    EXPECT_EQ(records[0].find(8), 1U);
    EXPECT_EQ(records[0].findLast(8), 1U) << "what stands in braces does not count";
    EXPECT_EQ(records[0].find(62), 5U);
    EXPECT_EQ(records[0].findLast(62), 5U) << "nor what an embedded object says";
    EXPECT_EQ(records[0].find(1001), Record::npos);
    EXPECT_EQ(records[0].find(7), Record::npos);
    EXPECT_EQ(records[0].span.end, records[1].span.begin);
    EXPECT_EQ(records[2].span.end, bytes.size());
}

TEST(Records, TakeNoHeedOfTheLocale) {
    const Records records("0 CIRCLE|10 1234.5|20 0.25|40 12.75");
    const CommaLocale comma;
    const auto object = records.read();
    EXPECT_EQ(pointsOf(*object), "1234.5,0.25,0.0");
    EXPECT_EQ(as<VmDbCircle>(object).radius, 12.75);
}

}  // namespace
}  // namespace vlisp::refhost::dxf
