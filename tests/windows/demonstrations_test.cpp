// TestLine and LispPoly: objects of the host's classes that the module makes.
#include "tests/windows/module_fixture.h"

namespace vlisp::test {
namespace {

class Demonstrations : public StartedHere {};

TEST_F(Demonstrations, TestLineAddsALineThatTheHostTakesOver) {
    const ClassCounts before = *classCounts();
    EXPECT_EQ(module->testLine(), 1);
    EXPECT_EQ(host.log, Lines{"addLine -1"});
    ASSERT_EQ(host.slots.size(), 1u);
    EXPECT_EQ(TestHost::pointsOf(host.slots[0]), "25.34 18 0; 48.5 27.5 0");
    const ClassCounts& counts = *classCounts();
    EXPECT_EQ(counts.objectsMade, before.objectsMade + 1);
    EXPECT_EQ(counts.objectsDestroyed, before.objectsDestroyed);
    EXPECT_EQ(counts.pointsTaken, before.pointsTaken + 2);
    EXPECT_EQ(counts.pointsDestroyed, before.pointsDestroyed + 2);
    // The host may destroy what the module made: the memory is of one heap (hostRelease looks).
    destroyObject(host.slots[0]);
    host.slots.clear();
    EXPECT_EQ(counts.objectsDestroyed, before.objectsDestroyed + 1);
    EXPECT_EQ(counts.deletes, before.deletes + 1);
}

TEST_F(Demonstrations, LispPolyDestroysItsOwnPolylineAtOnce) {
    const ClassCounts before = *classCounts();
    int step = 1;
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 2);
    const ClassCounts& counts = *classCounts();
    EXPECT_EQ(counts.objectsMade, before.objectsMade + 2) << "the module's and the host's copy";
    EXPECT_EQ(counts.objectsDestroyed, before.objectsDestroyed + 1);
    EXPECT_EQ(counts.deletes, before.deletes + 1) << "by the host's deleting destructor";
    ASSERT_EQ(host.slots.size(), 1u);
    EXPECT_EQ(countPoints(host.slots[0]), 0);
    EXPECT_EQ(host.extendedData,
              (Lines{"101 Integer number = 45 true", "101 Real number = 45.763 true",
                     "101 String = How are you? true"}));
    EXPECT_EQ(host.log, (Lines{"setWorkingLayerAndLineType '' ''", "addPolyline -1", "data", "data",
                               "data", "SetUserInputMode 1 0 0 0 0",
                               "DisplayPromptMsg Specify first point or [Cancel]: <Cancel> "}));
}

TEST_F(Demonstrations, LispPolyDrawsWhatTheUserGives) {
    int step = 1;
    module->lispPoly(&step);
    host.log.clear();
    host.inputString = u"10,20";
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 3);
    host.inputType = 1;
    std::copy_n(std::data({1.5, 2.5, 9.0}), 3, host.inputPoint);
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 4);
    host.inputType = 0;
    host.inputString = u"10";
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 4) << "it has ended";
    host.inputString = u"";
    EXPECT_EQ(module->lispPoly(&step), 1);
    EXPECT_EQ(step, 4) << "it has ended";
    const std::string next =
        "DisplayPromptMsg Specify next point or [Finish/Cancel/Undo]: <Finish> ";
    EXPECT_EQ(host.log,
              (Lines{next, "GetInputString", "updatePolyline 101 -1 10 20",
                     "SetUserInputMode 1 1 10 20 0", next, "updatePolyline 101 -1 1.5 2.5",
                     "SetUserInputMode 1 1 1.5 2.5 0", next, "GetInputString",
                     "DisplayMsg Error: wrong input!", next, "GetInputString",
                     "DisplayMsg Lisp polyline entered successfully."}));
    EXPECT_EQ(TestHost::pointsOf(host.slots[0]), "10 20 0; 1.5 2.5 0");
}

}  // namespace
}  // namespace vlisp::test
