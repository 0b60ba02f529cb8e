// Tests of host/demonstrations.h.
#include "host/demonstrations.h"

#include "platform/text.h"
#include "tests/support/recording_host.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using test::ExtendedValue;
using test::RecordingHost;
using Log = std::vector<std::string>;

const std::string nextPrompt =
    "DisplayPromptMsg Specify next point or [Finish/Cancel/Undo]: <Finish> ";

class Demonstrations : public testing::Test {
  protected:
    // Calls LispPoly with the next line; returns whether the command goes on.
    bool type(std::u16string_view line) {
        host.log.clear();
        host.inputType = 0;
        host.inputString = line;
        return goesOn();
    }

    bool pick(double x, double y, double z = 0) {
        host.log.clear();
        host.inputType = 1;
        host.inputPoint = mmPoint(x, y, z);
        return goesOn();
    }

    void begin() {
        step_ = 1;
        EXPECT_EQ(drawPolyline(step_), 1);
        EXPECT_EQ(step_, 2);
    }

    [[nodiscard]] const VmDbObject& drawn() const { return *host.slots.back(); }

    RecordingHost host;

  private:
    bool goesOn() {
        const int before = step_;
        EXPECT_EQ(drawPolyline(step_), 1);
        EXPECT_TRUE(step_ == before || step_ == before + 1) << step_;
        return step_ == before + 1;
    }

    int step_ = 1;
};

TEST_F(Demonstrations, TestLineAddsItsLine) {
    EXPECT_EQ(addTestLine(), 1);
    EXPECT_EQ(host.log, Log{"addLine -1"});
    ASSERT_EQ(host.slots.size(), 1u);
    VmDbObject* object = host.slots[0].get();
    ASSERT_NE(VmDbLine::cast(object), nullptr);
    ASSERT_EQ(object->points.count, 2);
    const mmPoint& from = object->points.getAt(0);
    const mmPoint& to = object->points.getAt(1);
    EXPECT_EQ(from.x, 25.34);
    EXPECT_EQ(from.y, 18.0);
    EXPECT_EQ(from.z, 0.0);
    EXPECT_EQ(to.x, 48.5);
    EXPECT_EQ(to.y, 27.5);
    EXPECT_EQ(to.z, 0.0);
    EXPECT_EQ(addTestLine(), 1);
    EXPECT_EQ(host.slots.size(), 2u);
}

TEST_F(Demonstrations, LispPolyBeginsWithAnEmptyPolyline) {
    host.add<VmDbLine>(vmDbLine);
    begin();
    EXPECT_EQ(host.log, (Log{"setWorkingLayerAndLineType |", "addPolyline -1",
                             "SetUserInputMode 1 0 0.000000 0.000000 0.000000",
                             "DisplayPromptMsg Specify first point or [Cancel]: <Cancel> "}));
    ASSERT_EQ(host.slots.size(), 2u);
    EXPECT_EQ(drawn().points.count, 0);
    EXPECT_EQ(host.extendedData, (std::vector<ExtendedValue>{
                                     {2, "Integer number", "int 45"},
                                     {2, "Real number", "double 45.763000"},
                                     {2, "String", "string How are you?"},
                                 }));
    EXPECT_TRUE(host.shown.empty());
}

TEST_F(Demonstrations, LispPolyTakesTypedPoints) {
    begin();
    EXPECT_TRUE(type(u"10,20"));
    EXPECT_EQ(host.log, (Log{nextPrompt, "updatePolyline 1 -1 10.000000 20.000000",
                             "SetUserInputMode 1 1 10.000000 20.000000 0.000000"}));
    EXPECT_TRUE(type(u"30.5,-4e1,50,60")) << "what follows Y is not looked at";
    EXPECT_EQ(host.log, (Log{nextPrompt, "updatePolyline 1 -1 30.500000 -40.000000",
                             "SetUserInputMode 1 1 30.500000 -40.000000 0.000000"}));
    EXPECT_TRUE(type(u"a,")) << "what is no number is 0";
    EXPECT_EQ(host.log[1], "updatePolyline 1 -1 0.000000 0.000000");
    EXPECT_TRUE(type(u", 7x"));
    EXPECT_EQ(host.log[1], "updatePolyline 1 -1 0.000000 7.000000");
    EXPECT_EQ(drawn().points.count, 4);
}

TEST_F(Demonstrations, LispPolyTakesPickedPoints) {
    begin();
    EXPECT_TRUE(pick(1.5, 2.5, 99));
    EXPECT_EQ(host.log, (Log{nextPrompt, "updatePolyline 1 -1 1.500000 2.500000",
                             "SetUserInputMode 1 1 1.500000 2.500000 0.000000"}));
    // The line typed before is not looked at, whatever kind of pick it was.
    host.inputString = u"";
    for (const int inputType : {2, -1}) {
        host.log.clear();
        host.inputType = inputType;
        int step = 5;
        EXPECT_EQ(drawPolyline(step), 1);
        EXPECT_EQ(step, 6);
        EXPECT_EQ(host.log[1], "updatePolyline 1 -1 1.500000 2.500000");
    }
}

TEST_F(Demonstrations, AnEmptyLineFinishes) {
    begin();
    EXPECT_TRUE(type(u"1,2"));
    EXPECT_FALSE(type(u""));
    EXPECT_EQ(host.log, (Log{nextPrompt, "DisplayMsg Lisp polyline entered successfully."}));
    EXPECT_EQ(drawn().points.count, 1);
}

TEST_F(Demonstrations, AnEmptyLineAtOnceLeavesAnEmptyPolyline) {
    begin();
    EXPECT_FALSE(type(u""));
    EXPECT_EQ(host.log, (Log{nextPrompt, "DisplayMsg Lisp polyline entered successfully."}));
    EXPECT_EQ(drawn().points.count, 0);
    EXPECT_EQ(host.extendedData.size(), 3u);
}

TEST_F(Demonstrations, OtherWordsAreWrong) {
    begin();
    for (const char16_t* line : {u"10", u"Cancel", u"Finish", u"Undo", u" ", u"1;2", u"1\uff0c2"}) {
        SCOPED_TRACE(platform::toUtf8(line));
        EXPECT_FALSE(type(line));
        EXPECT_EQ(host.log, (Log{nextPrompt, "DisplayMsg Error: wrong input!"}));
    }
    EXPECT_EQ(drawn().points.count, 0);
}

TEST_F(Demonstrations, LispPolyBegunAgainDrawsAnother) {
    begin();
    EXPECT_TRUE(type(u"1,2"));
    begin();
    EXPECT_TRUE(type(u"3,4"));
    EXPECT_EQ(host.log[1], "updatePolyline 2 -1 3.000000 4.000000");
    ASSERT_EQ(host.slots.size(), 2u);
    EXPECT_EQ(host.slots[0]->points.count, 1);
    EXPECT_EQ(host.slots[1]->points.count, 1);
    EXPECT_EQ(host.extendedData.size(), 6u);
}

TEST_F(Demonstrations, APolylineTakesThousandsOfPoints) {
    begin();
    for (int i = 0; i < 5000; ++i) ASSERT_TRUE(pick(i, -i));
    EXPECT_EQ(drawn().points.count, 5000);
}

}  // namespace
}  // namespace vlisp
