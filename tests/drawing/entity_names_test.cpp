// Tests of drawing/entity_names.h.
#include "drawing/entity_names.h"

#include "drawing/entity_data.h"
#include "tests/drawing/drawing_test.h"

#include <limits>
#include <string>
#include <vector>

namespace vlisp {
namespace {

using test::exact;
using test::nameOf;
using test::number;
using test::text;

class EntityNames : public test::DrawingTest {
  protected:
    // A drawing from a picture of its slots: 'o' a live object, 'x' an erased one, '.' none. The
    // ids fall while the slots rise, so that neither can be taken for the other.
    void draw(std::string_view picture) {
        host.slots.clear();
        HostLong id = 100;
        for (const char slot : picture) {
            --id;
            if (slot == '.') {
                host.slots.emplace_back();
                continue;
            }
            VmDbObject& object = addWithId<VmDbLine>(vmDbLine, id);
            object.erased = slot == 'x' ? 1 : 0;
        }
    }

    [[nodiscard]] std::vector<std::string> liveNames() const {
        std::vector<std::string> names;
        for (const auto& object : host.slots)
            if (object && object->erased == 0) names.push_back("#" + std::to_string(object->id));
        return names;
    }
};

TEST_F(EntityNames, ANameIsTheIdInDecimal) {
    constexpr HostLong ids[] = {0,
                                1,
                                7,
                                -1,
                                -35,
                                1'000'000,
                                std::numeric_limits<HostLong>::max(),
                                std::numeric_limits<HostLong>::min()};
    for (const HostLong id : ids) {
        const Cell name = entityName(id);
        EXPECT_TRUE(name.is(CellType::EntityName));
        EXPECT_EQ(platform::toUtf8(name.text()), std::to_string(id));
        EXPECT_EQ(idOf(name), id);
        EXPECT_EQ(name.intValue(), 0);
        EXPECT_TRUE(name.items().empty());
        EXPECT_EQ(name.proc(), nullptr);

        host.slots.clear();
        addWithId<VmDbLine>(vmDbLine, id);
        EXPECT_EQ(exact(call(entnext)), "#" + std::to_string(id));
        EXPECT_EQ(exact(call(entlast)), "#" + std::to_string(id));
    }
}

TEST_F(EntityNames, AnIdIsReadAsTheCLibraryConvertsIt) {
    const std::vector<std::pair<std::u16string, HostLong>> texts{
        {u"12", 12},
        {u" 12", 12},
        {u"  \t12", 12},
        {u"+12", 12},
        {u"-12", -12},
        {u"12abc", 12},
        {u"12 34", 12},
        {u"0012", 12},
        {u"1.9", 1},
        {u"", 0},
        {u"abc", 0},
        {u"-", 0},
        {u"+-1", 0},
        {u"- 1", 0},
        {u"nil", 0},
        {u"0x10", 0},
        {u".5", 0},
        {u"1e3", 1},
        {u"\uff11\uff12", 0},
        {u"2147483647", std::numeric_limits<HostLong>::max()},
        {u"-2147483648", std::numeric_limits<HostLong>::min()}};
    for (const auto& [digits, id] : texts) {
        SCOPED_TRACE(platform::toUtf8(digits));
        EXPECT_EQ(idOf(nameOf(digits)), id);
        // The walk goes on behind the object with that id.
        host.slots.clear();
        addWithId<VmDbLine>(vmDbLine, 500);
        addWithId<VmDbLine>(vmDbLine, 501);
        addWithId<VmDbLine>(vmDbLine, id);
        addWithId<VmDbLine>(vmDbLine, 502);
        EXPECT_EQ(exact(call(entnext, {nameOf(digits)})), "#502");
    }
}

TEST_F(EntityNames, AnEmptyDrawingHasNoEntity) {
    EXPECT_EQ(exact(call(entnext)), "nil");
    EXPECT_EQ(exact(call(entlast)), "nil");
    EXPECT_EQ(exact(call(entnext, {nameOf(1)})), "nil");
    EXPECT_EQ(host.opened, 0);
}

TEST_F(EntityNames, ADrawingOfUnknownSizeIsEmpty) {
    draw("oo");
    host.saysNothing = true;
    EXPECT_EQ(exact(call(entnext)), "nil");
    EXPECT_EQ(exact(call(entlast)), "nil");
    EXPECT_EQ(host.opened, 0);
}

// Every drawing of up to six slots.
TEST_F(EntityNames, AWalkVisitsEveryLiveEntityOnceInTheOrderOfTheSlots) {
    std::vector<std::string> pictures{""};
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const std::string picture = pictures[i];
        if (picture.size() < 6)
            for (const char slot : {'o', 'x', '.'}) pictures.push_back(picture + slot);
        SCOPED_TRACE(picture);
        draw(picture);
        std::vector<std::string> walked;
        for (Cell name = call(entnext); name.is(CellType::EntityName); name = call(entnext, {name}))
            walked.push_back(exact(name));
        ASSERT_EQ(walked, liveNames());
        ASSERT_EQ(exact(call(entlast)), walked.empty() ? "nil" : walked.back());
        ASSERT_EQ(exact(call(entnext, {call(entlast)})), "nil");
    }
    EXPECT_EQ(pictures.size(), 1093u);
    EXPECT_EQ(host.openedForChange, 0);
}

TEST_F(EntityNames, AnyByteOfTheErasedFlagCounts) {
    draw("ooo");
    host.slots[0]->erased = 2;
    host.slots[2]->erased = 255;
    EXPECT_EQ(exact(call(entnext)), "#98");
    EXPECT_EQ(exact(call(entlast)), "#98");
}

TEST_F(EntityNames, TheWalkGoesOnFromAnErasedEntity) {
    draw("oxo");
    EXPECT_EQ(exact(call(entnext, {nameOf(98)})), "#97");
    host.slots[2]->erased = 1;
    EXPECT_EQ(exact(call(entnext, {nameOf(98)})), "nil");
}

TEST_F(EntityNames, AWalkSeesWhatHasBeenAddedMeanwhile) {
    draw("o");
    const Cell last = call(entlast);
    EXPECT_EQ(exact(call(entnext, {last})), "nil");
    addWithId<VmDbLine>(vmDbLine, 7);
    EXPECT_EQ(exact(call(entnext, {last})), "#7");
}

TEST_F(EntityNames, WhatIsNoNameStartsTheWalkAnew) {
    draw("ooo");
    // Behind whatever id its text may be taken for there would be another entity.
    for (const Cell& argument : test::everyShape()) {
        if (argument.is(CellType::EntityName)) continue;
        EXPECT_EQ(exact(call(entnext, {argument})), "#99") << exact(argument);
        EXPECT_EQ(exact(call(entnext, {argument, nameOf(98)})), "#99") << exact(argument);
    }
}

TEST_F(EntityNames, FurtherArgumentsAreIgnored) {
    draw("ooo");
    EXPECT_EQ(exact(call(entnext, {nameOf(99), nameOf(98)})), "#98");
    EXPECT_EQ(exact(call(entnext, {nameOf(99), number(5), text(u"x")})), "#98");
    for (const Cell& argument : test::everyShape())
        EXPECT_EQ(exact(call(entlast, {argument, nameOf(99)})), "#97") << exact(argument);
}

TEST_F(EntityNames, BehindAnUnknownIdTheHostsAnswerCounts) {
    draw("oooo");
    // Nothing is written: slot 0 it was.
    EXPECT_EQ(exact(call(entnext, {nameOf(1)})), "#98");
    EXPECT_EQ(exact(call(entnext, {nameOf(u"none")})), "#98");
    const std::vector<std::pair<int, std::string>> answers{
        {-1, "#99"},
        {0, "#98"},
        {1, "#97"},
        {2, "#96"},
        {3, "nil"},
        {4, "nil"},
        {std::numeric_limits<int>::max(), "nil"}};
    for (const auto& [slot, next] : answers) {
        host.slotOfUnknown = slot;
        EXPECT_EQ(exact(call(entnext, {nameOf(1)})), next) << slot;
    }
}

TEST_F(EntityNames, OnlyWhatIsLookedAtIsOpened) {
    draw("xo.ox");
    call(entnext);
    EXPECT_EQ(host.opened, 2);
    host.opened = 0;
    call(entnext, {nameOf(98)});
    EXPECT_EQ(host.opened, 1);
    host.opened = 0;
    call(entlast);
    EXPECT_EQ(host.opened, 2);
    EXPECT_TRUE(host.log.empty()) << "nothing but drawing functions is called";
}

TEST_F(EntityNames, PrintAsIdAndBaseInHexadecimal) {
    const std::vector<std::tuple<HostLong, std::uint32_t, std::string>> cases{
        {7, 5'000'000, "<Entity name: 4c4b47>"},
        {0, 1'000'000, "<Entity name: f4240>"},
        {0, 33'767'000, "<Entity name: 2033e58>"},
        {-1, 0, "<Entity name: ffffffff>"},
        {-1, 1'000'000, "<Entity name: f423f>"},
        {std::numeric_limits<HostLong>::max(), 1, "<Entity name: 80000000>"},
        {-2, 1'000'000'000, "<Entity name: 3b9ac9fe>"}};
    for (const auto& [id, base, printed] : cases) {
        EntityNameBase = base;
        host.slots.clear();
        addWithId<VmDbLine>(vmDbLine, id);
        EXPECT_EQ(eval("(entlast)"), printed);
        EXPECT_EQ(eval("(entnext)"), printed) << "twice the same";
    }
}

TEST_F(EntityNames, TheBaseIsForDisplayOnly) {
    draw("o");
    EntityNameBase = 1'000'000;
    EXPECT_EQ(eval("(setq e (entlast))"), "<Entity name: f42a3>");
    EXPECT_EQ(eval("(strcat \"\" (cdr (assoc 0 (entget e))))"), "\"LINE\"");
    EntityNameBase = 2'000'000;
    EXPECT_EQ(eval("e"), "<Entity name: 1e84e3>") << "another session shows it otherwise";
    EXPECT_EQ(eval("(cdr (assoc 0 (entget e)))"), "\"LINE\"") << "and it means the same";
    EXPECT_EQ(exact(call(entlast)), "#99");
}

TEST_F(EntityNames, AProgramWalksTheDrawing) {
    draw("xo.oxo.");
    eval("(defun count (/ e) (setq n 0) (setq e (entnext))"
         " (while e (setq n (+ n 1)) (setq last-seen e) (setq e (entnext e))) n)");
    EXPECT_EQ(eval("(count)"), "3");
    EXPECT_EQ(eval("(eq last-seen (entlast))"), "T");
    EXPECT_EQ(eval("(eq (entnext) (entlast))"), "nil");
    EXPECT_EQ(eval("(eq (entnext) (entnext 5))"), "T");
    EXPECT_EQ(eval("(entnext (entlast))"), "nil");
}

}  // namespace
}  // namespace vlisp
