// The drawing, read and changed through the host's own classes in the Microsoft ABI.
#include "tests/windows/module_fixture.h"

namespace vlisp::test {
namespace {

class Drawing : public StartedHere {
  protected:
    void TearDown() override {
        const ClassCounts& counts = *classCounts();
        // Who takes a point by value destroys it; who gets a rectangle by value destroys that.
        EXPECT_EQ(counts.pointsDestroyed, counts.pointsTaken);
        EXPECT_EQ(counts.rectsDestroyed, counts.rectsGiven);
        StartedHere::TearDown();
    }

    // What ENTGET says of the last object, without its name.
    std::string lastEntity() { return evaluate("(cdr (entget (entlast)))"); }
};

void style(ObjectState& state) {
    state.colour = 3;
    state.lineweight = 50;
    std::copy_n(u"walls", 6, state.layer);
}

TEST_F(Drawing, AnEmptyOneHasNoEntities) {
    EXPECT_EQ(evaluate("(list (entnext) (entlast))"), "(nil nil)");
    EXPECT_EQ(evaluate("(sslength (ssget \"X\"))"), "0");
    EXPECT_EQ(host.opened, 0);
}

TEST_F(Drawing, IsWalkedInTheOrderOfItsSlots) {
    host.add(10111);
    host.slots.push_back(nullptr);
    host.add(10141, [](ObjectState& state) { state.erased = 1; });
    host.add(10141);
    EXPECT_EQ(evaluate("(begin (setq e (entnext) n 0) "
                       "(while e (setq n (+ n 1)) (setq l e) (setq e (entnext e))) "
                       "(list n (eq l (entlast))))")
                  .substr(0, 1),
              "(");
    EXPECT_EQ(valueOf("(entnext)", 5), "101");
    EXPECT_EQ(valueOf("(entnext (entnext))", 5), "104");
    EXPECT_EQ(valueOf("(entlast)", 5), "104");
    EXPECT_EQ(valueOf("(entnext (entlast))", 5), "nil");
    EXPECT_GT(host.opened, 0);
}

TEST_F(Drawing, ALineIsRead) {
    VmDbObject* line = host.add(10141, style);
    appendPoint(line, 1, 2, 3);
    appendPoint(line, 4.5, 5.5, 6.5);
    EXPECT_EQ(lastEntity(), "((0 . \"LINE\") (67 . 0) (8 . \"walls\") (62 . 3) "
                            "(10 1.000 2.000 3.000) (10 4.500 5.500 6.500) (370 . 50))");
}

TEST_F(Drawing, ACircleIsRead) {
    VmDbObject* circle = host.add(10111, [](ObjectState& state) { state.radius = 2.5; });
    appendPoint(circle, 1, 2, 3);
    EXPECT_EQ(lastEntity(), "((0 . \"CIRCLE\") (67 . 0) (8 . \"0\") (10 1.000 2.000 0.000) "
                            "(40 . 2.500))");
}

TEST_F(Drawing, AnArcIsRead) {
    VmDbObject* arc = host.add(10121, [](ObjectState& state) {
        state.radius = 2.5;
        state.startAngle = 0.5;
        state.endAngle = 1.5;
    });
    appendPoint(arc, 1, 2, 0);
    EXPECT_EQ(lastEntity(), "((0 . \"ARC\") (67 . 0) (8 . \"0\") (10 1.000 2.000 0.000) "
                            "(40 . 2.500) (50 . 0.500) (51 . 1.500))");
}

TEST_F(Drawing, ALightPolylineIsReadWithItsBulges) {
    VmDbObject* polyline = host.add(10101, [](ObjectState& state) { state.closed = 1; });
    appendPoint(polyline, 1, 2, 0);
    appendPoint(polyline, 3, 4, 0);
    appendBulge(polyline, 0.25);
    appendBulge(polyline, -1);
    EXPECT_EQ(lastEntity(), "((0 . \"LWPOLYLINE\") (8 . \"0\") (67 . 0) (90 . 2) (70 . 1) "
                            "(10 1.000 2.000) (42 . 0.250) (10 3.000 4.000) (42 . -1.000))");
}

TEST_F(Drawing, APolylineIsReadInSpace) {
    VmDbObject* polyline = host.add(10161);
    appendPoint(polyline, 1, 2, 3);
    EXPECT_EQ(lastEntity(), "((0 . \"POLYLINE\") (8 . \"0\") (67 . 0) (90 . 1) (70 . 0) "
                            "(10 1.000 2.000 3.000))");
}

TEST_F(Drawing, TextsAndInsertsAreRead) {
    VmDbObject* text = host.add(10501, [](ObjectState& state) {
        state.height = 2;
        state.rotation = 90;
        std::copy_n(u"words", 6, state.text);
    });
    appendPoint(text, 1, 2, 0);
    EXPECT_EQ(lastEntity(), "((0 . \"TEXT\") (67 . 0) (8 . \"0\") (10 1.000 2.000 0.000) "
                            "(40 . 2.000) (1 . \"words\") (50 . 1.571))");
    VmDbObject* insert = host.add(10301, [](ObjectState& state) {
        state.xScale = 2;
        state.yScale = 3;
        state.rotation = 180;
        std::copy_n(u"door", 5, state.text);
    });
    appendPoint(insert, 5, 6, 0);
    EXPECT_EQ(lastEntity(), "((0 . \"INSERT\") (67 . 0) (8 . \"0\") (2 . \"door\") "
                            "(10 5.000 6.000 0.000) (41 . 2.000) (42 . 3.000) (50 . 3.142))");
}

// The type code says circle; its class says line.
TEST_F(Drawing, WhatIsNotOfItsClassIsNothing) {
    host.add(10141, [](ObjectState& state) { state.typeCode = 10111; });
    EXPECT_EQ(evaluate("(entget (entlast))"), "nil");
    EXPECT_EQ(host.opened, 2) << "once for ENTLAST and once for ENTGET";
}

TEST_F(Drawing, EntmodWritesAListBack) {
    VmDbObject* text = host.add(10501);
    appendPoint(text, 1, 2, 0);
    const int pointsTaken = classCounts()->pointsTaken;
    evaluate("(setq e (entlast))");
    EXPECT_EQ(
        evaluate(
            "(entmod (list (cons -1 e) '(10 3.0 4.0 5.0) '(10 6.0 7.0) '(8 . \"a layer\") "
            "'(62 . 7) '(370 . 25) '(1 . \"new words\") '(40 . 3.5) '(50 . 3.141592653589793)))"),
        "nil");
    const ObjectState state = TestHost::stateOf(text);
    EXPECT_EQ(narrow(state.layer), "a layer");
    EXPECT_EQ(narrow(state.text), "new words");
    EXPECT_EQ(state.colour, 7);
    EXPECT_EQ(state.lineweight, 25);
    EXPECT_EQ(state.height, 3.5);
    EXPECT_NEAR(state.rotation, 180, 1e-9);
    EXPECT_EQ(TestHost::pointsOf(text), "3 4 5; 6 7 0");
    EXPECT_EQ(classCounts()->pointsTaken, pointsTaken + 2) << "each came by value, once";
}

TEST_F(Drawing, EntmodWritesTheFieldsOfEveryClass) {
    VmDbObject* circle = host.add(10111);
    evaluate("(entmod (list (cons -1 (entlast)) '(40 . 4.5)))");
    EXPECT_EQ(TestHost::stateOf(circle).radius, 4.5);

    VmDbObject* arc = host.add(10121);
    evaluate("(entmod (list (cons -1 (entlast)) '(40 . 1.5) '(50 . 0.25) '(51 . 0.75)))");
    EXPECT_EQ(TestHost::stateOf(arc).radius, 1.5);
    EXPECT_EQ(TestHost::stateOf(arc).startAngle, 0.25);
    EXPECT_EQ(TestHost::stateOf(arc).endAngle, 0.75);

    VmDbObject* insert = host.add(10301);
    evaluate("(entmod (list (cons -1 (entlast)) '(41 . 2.0) '(42 . 3.0)))");
    EXPECT_EQ(TestHost::stateOf(insert).xScale, 2);
    EXPECT_EQ(TestHost::stateOf(insert).yScale, 3);

    VmDbObject* polyline = host.add(10101);
    appendBulge(polyline, 0.5);
    evaluate("(entmod (list (cons -1 (entlast)) '(70 . 1) '(42 . 0.125) '(10 1.0 2.0)))");
    EXPECT_EQ(TestHost::stateOf(polyline).closed, 1);
    ASSERT_EQ(countBulges(polyline), 2) << "bulges are added to those that are there";
    EXPECT_EQ(readBulge(polyline, 1), 0.125);
    EXPECT_EQ(TestHost::pointsOf(polyline), "1 2 0");
}

TEST_F(Drawing, AnExtentComesByValue) {
    VmDbObject* line = host.add(10141);
    appendPoint(line, 5, 1, 0);
    appendPoint(line, 2, 8, 0);
    const int rectsGiven = classCounts()->rectsGiven;
    EXPECT_EQ(evaluate("(vm-entext (entlast))"), "(2.000 1.000 5.000 8.000)");
    EXPECT_EQ(classCounts()->rectsGiven, rectsGiven + 1);
    EXPECT_EQ(classCounts()->rectsDestroyed, rectsGiven + 1);
}

TEST_F(Drawing, SelectionSetsAreTheHosts) {
    host.add(10111);
    host.add(10141);
    host.add(10111, [](ObjectState& state) { state.erased = 1; });
    host.add(10111, [](ObjectState& state) { state.colour = 1; });
    EXPECT_EQ(evaluate("(sslength (ssget \"X\"))"), "3");
    EXPECT_EQ(evaluate("(sslength (ssget \"X\" '((0 . \"CIRCLE\"))))"), "2");
    EXPECT_EQ(evaluate("(sslength (setq s (ssget \"X\" '((0 . \"CIRCLE\") (62 . 1)))))"), "1");
    EXPECT_EQ(evaluate("(eq (ssname s 0) (entlast))"), "T");
    EXPECT_EQ(evaluate("(begin (ssadd (entnext) s) (sslength s))"), "2");
    EXPECT_EQ(evaluate("(begin (ssdel (entlast) s) (list (sslength s) (ssname s 1)))"), "(1 nil)");
}

TEST_F(Drawing, BlocksAreListed) {
    host.addBlock("door", 2, 1.5, 2.5);
    host.addBlock("window", -1, 0, 0);
    EXPECT_EQ(valueOf("(tblnext \"block\" T)", 1).substr(0, 60),
              "((0 . \"BLOCK\") (2 . \"door\") (70 . 2) (10 1.500 2.500 0.000) ");
    EXPECT_EQ(valueOf("(cdr (assoc -2 (tblnext \"BLOCK\")))", 5), "1002") << "the block's id";
    EXPECT_EQ(valueOf("(tblnext \"BLOCK\")", 1), "nil");
    EXPECT_EQ(valueOf("(begin (tblnext \"BLOCK\" T) (assoc 70 (tblnext \"BLOCK\")))", 1),
              "(70 . -1)");
    EXPECT_EQ(host.opened, 4);
}

TEST_F(Drawing, TheDisplayIsRenewed) {
    evaluate("(redraw)");
    EXPECT_EQ(host.log.back(), "Regen");
    evaluate("(vm-refresh)");
    EXPECT_EQ(host.log.back(), "Refresh");
}

}  // namespace
}  // namespace vlisp::test
