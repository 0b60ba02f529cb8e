// What the tests of the drawing's functions share: a module in a recording host, and cells as texts
// that tell types and doubles apart.
// One idea: nothing may stay open; it is checked after every call.
#pragma once

#include "core/printer.h"
#include "host/module.h"
#include "platform/text.h"
#include "tests/support/cells.h"
#include "tests/support/recording_host.h"

#include <array>
#include <charconv>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp::test {

/// A double so that reading it gives the same double, and always with a point, exponent or name.
inline std::string exactReal(double value) {
    std::array<char, 64> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    std::string text(digits.data(), end);
    if (text.find_first_of(".en") == std::string::npos) text += ".0";
    return text;
}

/// A cell as it prints, but reals exact and with a point, entity names as #ID, sets as @NUMBER.
inline std::string exact(const Cell& cell) {
    const std::string text = platform::toUtf8(cell.text());
    switch (cell.type()) {
    case CellType::Symbol: return text;
    case CellType::Integer: return std::to_string(cell.intValue());
    case CellType::Real: return exactReal(cell.realValue());
    case CellType::String: return "\"" + text + "\"";
    case CellType::EntityName: return "#" + text;
    case CellType::SelectionSet: return "@" + text;
    case CellType::Proc: return "<Proc>";
    case CellType::Lambda: return "<Lambda " + text + ">";
    case CellType::List: break;
    }
    std::string list = "(";
    for (const Cell& item : cell.items()) list += (list.size() > 1 ? " " : "") + exact(item);
    return list + ")";
}

inline Cell number(std::int32_t value) { return Cell::integer(value); }
inline Cell nameOf(std::u16string_view id) { return Cell::make(CellType::EntityName, id); }
inline Cell nameOf(HostLong id) {
    std::u16string digits;
    printInteger(digits, id);
    return nameOf(digits);
}
inline Cell nameOf(const VmDbObject& object) { return nameOf(object.id); }
inline Cell setOf(std::u16string_view digits) { return Cell::make(CellType::SelectionSet, digits); }
/// (code . value)
inline Cell pair(std::int32_t code, const Cell& value) {
    return Cell::list({Cell::integer(code), DotCell, value});
}

inline void assign(VmDbString& member, std::u16string_view value) {
    member.assign(value.data(), value.size());
}

class DrawingTest : public testing::Test {
  protected:
    void SetUp() override { resetHandshake(); }
    void TearDown() override {
        resetHandshake();
        nothingIsOpen("at the end");
    }

    void nothingIsOpen(std::string_view when) const {
        EXPECT_EQ(host.open, 0) << "objects and blocks left open " << when;
    }

    /// A call with evaluated arguments.
    Cell call(BuiltinProc proc, const std::vector<Cell>& arguments = {}) const {
        const Cell result = proc(arguments);
        nothingIsOpen("by the call");
        return result;
    }

    /// What a program prints; an error text for one that fails.
    std::string eval(std::string_view program) {
        std::u16string buffer = platform::fromUtf8(program);
        module->session().EvalString(buffer);
        nothingIsOpen(program);
        return platform::toUtf8(buffer);
    }

    /// An object with an id of the test's own choice.
    template <class Object> Object& addWithId(std::int32_t typeCode, HostLong id) {
        Object& object = host.add<Object>(typeCode);
        object.id = id;
        return object;
    }

    RecordingHost host;
    std::unique_ptr<Module> module = std::make_unique<Module>();
};

/// Cells of every type, and lists in odd shapes.
inline std::vector<Cell> everyShape() {
    return {Cell(),
            NilCell,
            TrueCell,
            DotCell,
            Cell::symbol(u"X"),
            Cell::integer(5),
            Cell::integer(-1),
            Cell::real(1.5),
            Cell::string(u""),
            Cell::string(u"1"),
            Cell::string(u"BLOCK"),
            Cell::list({}),
            Cell::list({Cell::integer(-1), DotCell, nameOf(1)}),
            Cell::list({pair(-1, nameOf(1))}),
            Cell::builtin(+[](Arguments) { return NilCell; }),
            Cell::lambda({}, nullptr, intern(u"F")),
            nameOf(1),
            nameOf(u"none"),
            setOf(u"1"),
            setOf(u"77")};
}

}  // namespace vlisp::test
