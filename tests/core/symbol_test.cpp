// Tests of core/symbol.h.
#include "core/symbol.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace vlisp {
namespace {

TEST(Symbol, TheSameTextIsTheSameSymbol) {
    const SymbolRef a = intern(u"SYMBOL-TEST-A");
    EXPECT_EQ(a, intern(std::u16string(u"SYMBOL-TEST-") + u"A"));
    EXPECT_FALSE(a == intern(u"SYMBOL-TEST-B"));
    EXPECT_EQ(a->text(), u"SYMBOL-TEST-A");
}

TEST(Symbol, NamesAreComparedUnitByUnit) {
    EXPECT_FALSE(intern(u"name") == intern(u"NAME"));
    EXPECT_FALSE(intern(u"\u00e9") == intern(u"\u00c9"));
    EXPECT_FALSE(intern(u"A") == intern(std::u16string_view(u"A\0", 2)));
    EXPECT_FALSE(intern(u"A") == intern(u"A "));
}

TEST(Symbol, TheEmptyNameIsNull) {
    EXPECT_FALSE(intern(u""));
    EXPECT_EQ(textOf(nullptr), u"");
    EXPECT_EQ(textOf(intern(u"A").get()), u"A");
}

TEST(Symbol, ANameLeavesTheTableWithItsLastHolder) {
    const std::size_t before = internedCount();
    {
        std::vector<SymbolRef> held;
        for (int i = 0; i < 1000; ++i) {
            const std::string digits = std::to_string(i);
            held.push_back(intern(u"passing " + std::u16string(digits.begin(), digits.end())));
        }
        EXPECT_EQ(internedCount(), before + 1000);
        held.resize(1);
        EXPECT_EQ(internedCount(), before + 1);
    }
    EXPECT_EQ(internedCount(), before);
    EXPECT_EQ(intern(u"passing 0")->text(), u"passing 0");
}

// Names come and go in any order; whoever stays is found, and found once.
TEST(Symbol, TheTableIsASetUnderAnyOrderOfComingAndGoing) {
    std::mt19937 random(20'26);
    const std::size_t before = internedCount();
    std::map<std::u16string, SymbolRef> held;
    for (int i = 0; i < 60'000; ++i) {
        const bool grows = i / 15'000 % 2 == 0;  // two waves
        std::u16string name(random() % 9, u'x');
        for (char16_t& unit : name) unit = static_cast<char16_t>(u'a' + random() % 3);
        name += u"/?";
        if (random() % 4 < (grows ? 3 : 1)) {
            const auto [at, isNew] = held.try_emplace(name, intern(name));
            ASSERT_EQ(at->second, intern(name));
            ASSERT_EQ(at->second->text(), name);
        } else {
            held.erase(name);
        }
        ASSERT_EQ(internedCount(), before + held.size());
    }
    EXPECT_GT(held.size(), 1000U);
    for (const auto& [name, symbol] : held) ASSERT_EQ(intern(name), symbol);
    held.clear();
    EXPECT_EQ(internedCount(), before);
}

TEST(Symbol, AnyNumberOfPassingNamesLeavesTheHeapAsItWas) {
    const std::size_t before = heap::used();
    for (int i = 0; i < 10000; ++i) {
        const std::string digits = std::to_string(i);
        intern(std::u16string(digits.begin(), digits.end()) + u" shown once");
    }
    EXPECT_EQ(heap::used(), before);
}

}  // namespace
}  // namespace vlisp
