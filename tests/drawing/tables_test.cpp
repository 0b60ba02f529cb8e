// Tests of drawing/tables.h.
#include "drawing/tables.h"

#include "drawing/builtins.h"
#include "tests/drawing/drawing_test.h"

#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace vlisp {
namespace {

using test::exact;
using test::nameOf;
using test::number;
using test::real;
using test::text;

class Tables : public test::DrawingTest {
  protected:
    void addBlocks(std::initializer_list<std::u16string_view> names) {
        for (const std::u16string_view name : names) host.addBlock(name);
    }

    // The name of the next block, or "nil".
    std::string next(std::vector<Cell> arguments = {text(u"BLOCK")}) {
        const Cell block = call(tblnext, arguments);
        if (!block.is(CellType::List)) return exact(block);
        return platform::toUtf8(block.items()[1].items()[2].text());
    }
};

TEST_F(Tables, ABlockIsDescribedInThisOrder) {
    VmDbBlock& block = host.addBlock(u"BOLT", 1.5, -0.1);
    block.id = 1234;
    block.flags = 2;
    EXPECT_EQ(exact(call(tblnext, {text(u"BLOCK")})),
              "((0 . \"BLOCK\") (2 . \"BOLT\") (70 . 2) (10 1.5 -0.1 0.0) (-2 . #1234))");
    EXPECT_EQ(host.opened, 1);
    EXPECT_EQ(host.openedForChange, 0);
    EXPECT_TRUE(host.log.empty());
}

TEST_F(Tables, EntriesAreOfTheRightTypes) {
    host.addBlock(u"BOLT");
    const Cell list = call(tblnext, {text(u"BLOCK")});
    ASSERT_EQ(list.items().size(), 5u);
    constexpr CellType values[] = {CellType::String, CellType::String, CellType::Integer,
                                   CellType::Real, CellType::EntityName};
    for (std::size_t i = 0; i < 5; ++i) {
        const Items entry = list.items()[i].items();
        EXPECT_TRUE(entry[0].is(CellType::Integer));
        ASSERT_EQ(entry.size(), i == 3 ? 4u : 3u);
        EXPECT_TRUE(entry[2].is(values[i])) << i;
        EXPECT_TRUE(entry[1].is(i == 3 ? CellType::Real : CellType::Symbol)) << i;
    }
    EXPECT_TRUE(list.items()[3].items()[3].is(CellType::Real));
}

TEST_F(Tables, FlagsAreSigned) {
    VmDbBlock& block = host.addBlock(u"B");
    const std::vector<std::pair<unsigned, std::string>> cases{
        {0, "0"},           {1, "1"},       {64, "64"},    {0x7fff, "32767"},
        {0x8000, "-32768"}, {0xfffe, "-2"}, {0xffff, "-1"}};
    for (const auto& [bits, flags] : cases) {
        block.flags = static_cast<std::int16_t>(static_cast<std::uint16_t>(bits));
        const Cell list = call(tblnext, {text(u"BLOCK"), TrueCell});
        EXPECT_EQ(exact(list.items()[2]), "(70 . " + flags + ")");
    }
}

TEST_F(Tables, NamesPointsAndIdsAreTakenAsTheyAre) {
    VmDbBlock& block = host.addBlock(u"");
    for (const std::u16string& name :
         {std::u16string(), std::u16string(u"nil"), std::u16string(u"*U1"),
          std::u16string(u"W\u00e4nde \U0001F600"), std::u16string(5000, u'x')}) {
        block.name.assign(name.data(), name.size());
        EXPECT_EQ(next({text(u"BLOCK"), TrueCell}), platform::toUtf8(name));
    }
    for (const double value : {0.1, -0.0, 1e-300, 1e308}) {
        block.baseX = value;
        block.baseY = -value;
        const Cell list = call(tblnext, {text(u"BLOCK"), TrueCell});
        EXPECT_EQ(exact(list.items()[3]),
                  "(10 " + test::exactReal(value) + " " + test::exactReal(-value) + " 0.0)");
    }
    for (const HostLong id : {0, -1, std::numeric_limits<HostLong>::min()}) {
        block.id = id;
        const Cell list = call(tblnext, {text(u"BLOCK"), TrueCell});
        EXPECT_EQ(exact(list.items()[4]), "(-2 . #" + std::to_string(id) + ")");
    }
}

TEST_F(Tables, TheCursorWalksTheTableAndBeginsAgain) {
    addBlocks({u"A", u"B", u"C"});
    for (int round = 0; round < 3; ++round)
        for (const char* name : {"A", "B", "C", "nil"}) EXPECT_EQ(next(), name);
}

TEST_F(Tables, AnEmptyTableHasNoBlocks) {
    for (int i = 0; i < 3; ++i) EXPECT_EQ(next(), "nil");
    addBlocks({u"A"});
    EXPECT_EQ(next(), "A") << "the cursor has not moved";
}

TEST_F(Tables, ATableOfUnknownSizeIsAtItsEnd) {
    addBlocks({u"A", u"B", u"C"});
    EXPECT_EQ(next(), "A");
    EXPECT_EQ(next(), "B");
    host.saysNothing = true;
    EXPECT_EQ(next(), "nil");
    host.saysNothing = false;
    EXPECT_EQ(next(), "A");
}

TEST_F(Tables, ATableThatShrinksIsAtItsEnd) {
    addBlocks({u"A", u"B", u"C"});
    next();
    next();
    host.blocks.resize(1);
    EXPECT_EQ(next(), "nil");
    EXPECT_EQ(next(), "A");
    // One that grows goes on.
    addBlocks({u"D"});
    EXPECT_EQ(next(), "D");
}

TEST_F(Tables, TheCursorMovesEvenIfABlockDoesNotOpen) {
    host.blocks.emplace_back();
    addBlocks({u"B"});
    host.blocks.emplace_back();
    for (int round = 0; round < 2; ++round)
        for (const char* name : {"nil", "B", "nil", "nil"}) EXPECT_EQ(next(), name);
    EXPECT_EQ(host.opened, 2);
}

TEST_F(Tables, ASecondArgumentThatIsTrueRewinds) {
    addBlocks({u"A", u"B", u"C"});
    const std::vector<Cell> rewinding{TrueCell,
                                      number(0),
                                      number(5),
                                      real(0),
                                      text(u""),
                                      text(u"NIL"),
                                      text(u"nil "),
                                      Cell::symbol(u"NIL"),
                                      Cell(),
                                      Cell::list({}),
                                      Cell::list({NilCell}),
                                      nameOf(1),
                                      Cell::builtin(&tblnext)};
    for (const Cell& flag : rewinding) {
        EXPECT_EQ(next({text(u"BLOCK"), flag}), "A") << exact(flag);
        EXPECT_EQ(next(), "B");
        EXPECT_EQ(next({text(u"BLOCK"), flag}), "A") << exact(flag);
        EXPECT_EQ(next(), "B");
        EXPECT_EQ(next(), "C");
    }
    // What is false goes on.
    for (const Cell& flag :
         {NilCell, FalseCell, text(u"nil"), Cell::symbol(u"nil"), nameOf(u"nil")}) {
        EXPECT_EQ(next({text(u"BLOCK"), TrueCell}), "A");
        EXPECT_EQ(next({text(u"BLOCK"), flag}), "B") << exact(flag);
        EXPECT_EQ(next({text(u"BLOCK"), flag}), "C") << exact(flag);
        EXPECT_EQ(next({text(u"BLOCK"), flag}), "nil") << exact(flag);
    }
}

TEST_F(Tables, OnlyExactlyTwoArgumentsRewind) {
    addBlocks({u"A", u"B", u"C"});
    EXPECT_EQ(next(), "A");
    EXPECT_EQ(next({text(u"BLOCK"), TrueCell, TrueCell}), "B");
    EXPECT_EQ(next({text(u"BLOCK"), TrueCell, TrueCell, TrueCell}), "C");
}

TEST_F(Tables, TableNamesAreComparedWithoutRegardToCase) {
    addBlocks({u"A", u"B"});
    for (const char16_t* name : {u"BLOCK", u"block", u"Block", u"bLoCk"})
        EXPECT_EQ(next({text(name), TrueCell}), "A");
    for (const char16_t* name : {u"LAYER", u"", u" BLOCK", u"BLOCK ", u"BLOCKS", u"BLOC", u"LTYPE",
                                 u"STYLE", u"nil", u"BLOC\u212a", u"\uff22LOCK"}) {
        EXPECT_EQ(next({text(name)}), "nil") << platform::toUtf8(name);
        EXPECT_EQ(next(), "B") << "the cursor has not moved";
        EXPECT_EQ(next({text(u"BLOCK"), TrueCell}), "A");
    }
}

TEST_F(Tables, ARewindCountsForUnknownTablesToo) {
    addBlocks({u"A", u"B", u"C"});
    next();
    next();
    EXPECT_EQ(next({text(u"LAYER"), TrueCell}), "nil");
    EXPECT_EQ(next(), "A");
    EXPECT_EQ(next({text(u"LAYER"), NilCell}), "nil");
    EXPECT_EQ(next({text(u"LAYER"), TrueCell, TrueCell}), "nil");
    EXPECT_EQ(next(), "B");
}

TEST_F(Tables, TheNameMustBeAString) {
    addBlocks({u"A", u"B"});
    EXPECT_EQ(next(), "A");
    EXPECT_EQ(next({}), "nil");
    std::vector<Cell> names = test::everyShape();
    names.push_back(Cell::symbol(u"BLOCK"));
    names.push_back(nameOf(u"BLOCK"));
    for (const Cell& name : names) {
        if (name.is(CellType::String)) continue;
        EXPECT_EQ(next({name}), "nil") << exact(name);
        EXPECT_EQ(next({name, TrueCell}), "nil") << exact(name);
    }
    EXPECT_EQ(next(), "B") << "nothing was rewound";
}

TEST_F(Tables, EverybodySharesTheCursor) {
    addBlocks({u"A", u"B", u"C"});
    EXPECT_EQ(next(), "A");
    EXPECT_EQ(eval("(cdr (assoc 2 (tblnext \"block\")))"), "\"B\"");
    std::string onAnotherThread;
    std::thread other([&] { onAnotherThread = next(); });
    other.join();
    EXPECT_EQ(onAnotherThread, "C");
    EXPECT_EQ(next(), "nil");
}

TEST_F(Tables, TheCursorIsAtTheFirstBlockWhenAModuleStarts) {
    addBlocks({u"A", u"B"});
    EXPECT_EQ(next(), "A");
    module.reset();
    module = std::make_unique<Module>();
    EXPECT_EQ(next(), "A");
    EXPECT_EQ(next(), "B");
    rewindBlockTable();
    EXPECT_EQ(next(), "A");
}

TEST_F(Tables, AProgramWalksTheBlocks) {
    addBlocks({u"A", u"B"});
    eval("(setq no (car ()))");
    EXPECT_EQ(eval("(assoc 2 (tblnext \"block\" T))"), "(2 . \"A\")");
    EXPECT_EQ(eval("(assoc 2 (tblnext \"BLOCK\" no))"), "(2 . \"B\")");
    EXPECT_EQ(eval("(tblnext \"BLOCK\")"), "nil");
    EXPECT_EQ(eval("(assoc 10 (tblnext \"BLOCK\"))"), "(10 0.000 0.000 0.000)");
    EXPECT_EQ(eval("(tblnext 'block)"), "nil");
    EXPECT_EQ(eval("(tblnext)"), "nil");
}

TEST_F(Tables, RedrawRegeneratesAndRefreshRepaints) {
    std::vector<std::string> expected;
    const auto both = [&](const std::vector<Cell>& arguments) {
        EXPECT_EQ(exact(call(redraw, arguments)), "nil");
        EXPECT_EQ(exact(call(vmRefresh, arguments)), "nil");
        expected.insert(expected.end(), {"Regen", "Refresh"});
    };
    both({});
    for (const Cell& argument : test::everyShape()) both({argument, number(1)});
    EXPECT_EQ(host.log, expected) << "directly, each one call";
    handshake().directMode = true;
    both({});
    EXPECT_EQ(host.log, expected);
    EXPECT_TRUE(host.posted.empty());
}

TEST_F(Tables, AnExtentIsFourReals) {
    host.add<VmDbLine>(vmDbLine, {{0.1, 5, 3}, {10, -2.5, 7}});
    EXPECT_EQ(exact(call(vmEntext, {nameOf(1)})), "(0.1 -2.5 10.0 5.0)");
    EXPECT_EQ(host.log, std::vector<std::string>{"getExtent 0.000000 0.000000"});
    EXPECT_EQ(host.opened, 1);
    EXPECT_EQ(host.openedForChange, 0);
    EXPECT_EQ(eval("(vm-entext (entlast))"), "(0.100 -2.500 10.000 5.000)");
    EXPECT_EQ(eval("(vm-entext \"1\")"), "nil");
}

TEST_F(Tables, AnObjectOfAnyTypeHasAnExtent) {
    VmDbObject& object = host.add<VmDbObject>(99999, {{1, 2, 3}});
    EXPECT_EQ(exact(call(vmEntext, {nameOf(1)})), "(1.0 2.0 1.0 2.0)");
    object.erased = 1;
    EXPECT_EQ(exact(call(vmEntext, {nameOf(1)})), "(1.0 2.0 1.0 2.0)");
    EXPECT_EQ(exact(call(vmEntext, {nameOf(u" 1x")})), "(1.0 2.0 1.0 2.0)");
    for (const Cell& argument : test::everyShape())
        EXPECT_EQ(exact(call(vmEntext, {nameOf(1), argument})), "(1.0 2.0 1.0 2.0)")
            << "what follows is ignored";
}

TEST_F(Tables, WithoutAnObjectThereIsNoExtent) {
    host.add<VmDbLine>(vmDbLine);
    EXPECT_EQ(exact(call(vmEntext)), "nil");
    for (const Cell& argument : test::everyShape()) {
        if (argument.is(CellType::EntityName)) continue;
        EXPECT_EQ(exact(call(vmEntext, {argument})), "nil") << exact(argument);
        EXPECT_EQ(exact(call(vmEntext, {argument, nameOf(1)})), "nil") << exact(argument);
    }
    for (const char16_t* id : {u"2", u"0", u"-1", u"none"})
        EXPECT_EQ(exact(call(vmEntext, {nameOf(id)})), "nil");
    EXPECT_EQ(host.opened, 0);
    EXPECT_TRUE(host.log.empty());
}

TEST_F(Tables, TheRoomsFunctionsAreProvidedUnderTheirNames) {
    std::vector<std::string> names;
    for (const ProvidedBuiltin& builtin : drawingBuiltins()) {
        EXPECT_NE(builtin.proc, nullptr);
        names.emplace_back(builtin.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"ENTNEXT", "ENTLAST", "ENTGET", "ENTMOD", "REDRAW",
                                               "SSGET", "SSDEL", "SSADD", "SSNAME", "SSLENGTH",
                                               "TBLNEXT", "VM-REFRESH", "VM-ENTEXT"}));
}

}  // namespace
}  // namespace vlisp
