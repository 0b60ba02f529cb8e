// Tests of core/symbol.h.
#include "core/symbol.h"

#include <gtest/gtest.h>
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
