// Recording built-ins. See recorded_host.h.
#include "tests/reference/recorded_host.h"

#include "builtins/arguments.h"
#include "builtins/registry.h"
#include "core/printer.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace vlisp::reference {
namespace {

using platform::toUtf8;

constexpr std::size_t largest = 300;    // cells that CAP lets pass
constexpr std::size_t mostShown = 400;  // cells of a value in a transcript
constexpr std::size_t mostHosted = 64;  // built-ins of the host, at most

RecordedHost* current = nullptr;

// What the table of built-ins leaves to the host.
const std::vector<const char*>& hostedNames() {
    static const std::vector<const char*> names = [] {
        std::vector<const char*> all;
        for (const BuiltinRow& row : builtinRows())
            if (row.proc == nullptr) all.push_back(row.name);
        assert(all.size() <= mostHosted);
        return all;
    }();
    return names;
}

// An answer of a type that the real function might give, so that every type comes by.
Cell answerTo(std::string_view name, Arguments arguments) {
    if (name == "PRINC" || name == "PRIN1" || name == "PRINT")
        return Cell::symbol(PrintCell(arguments.empty() ? NilCell : arguments[0]));
    if (name == "ENTLAST" || name == "ENTNEXT") return Cell::make(CellType::EntityName, u"12");
    if (name == "SSGET" || name == "SSADD") return Cell::make(CellType::SelectionSet, u"3");
    if (name == "GETINT" || name == "SSLENGTH") return Cell::integer(7);
    if (name == "GETREAL" || name == "GETDIST") return Cell::real(2.5);
    if (name == "GETSTRING" || name == "GETVAR") return Cell::string(u"typed");
    if (name == "GETPOINT") return Cell::list({Cell::real(1.0), Cell::real(-2.0)});
    return NilCell;
}

Cell callHosted(std::size_t index, Arguments arguments) {
    const char* name = hostedNames()[index];
    std::string event = "(" + std::string(name);
    for (const Cell& argument : arguments) event += " " + detailsOf(argument);
    current->record(event + ")");
    return answerTo(name, arguments);
}

// A built-in is a plain function without a context: one is made for each index.
template <std::size_t index> Cell hosted(Arguments arguments) {
    return callHosted(index, arguments);
}

template <std::size_t... indices>
constexpr std::array<BuiltinProc, sizeof...(indices)> allHosted(std::index_sequence<indices...>) {
    return {hosted<indices>...};
}

// The cells and the text of a value, counted up to `limit`.
std::size_t weightOf(const Cell& cell, std::size_t limit) {
    std::size_t weight = 1 + cell.text().size() / 8;
    for (const Cell& item : cell.items()) {
        if (weight >= limit) break;
        weight += weightOf(item, limit - weight);
    }
    return weight;
}

bool isLarge(const Cell& cell) { return weightOf(cell, largest + 1) > largest; }

Cell more(Arguments arguments) {
    if (std::any_of(arguments.begin(), arguments.end(), isLarge)) return NilCell;
    return truth(current->takeTurn());
}

Cell cap(Arguments arguments) {
    const Cell& value = argumentOrEmpty(arguments, 0);
    return isLarge(value) ? Cell::list(CellSlice()) : value;
}

const std::vector<ProvidedBuiltin>& hostedBuiltins() {
    static const std::vector<ProvidedBuiltin> provided = [] {
        constexpr auto procs = allHosted(std::make_index_sequence<mostHosted>());
        std::vector<ProvidedBuiltin> all;
        for (std::size_t i = 0; i < hostedNames().size(); ++i)
            all.push_back({hostedNames()[i], procs[i]});
        return all;
    }();
    return provided;
}

std::string nameOf(BuiltinProc proc) {
    static const std::unordered_map<BuiltinProc, std::string> names = [] {
        std::unordered_map<BuiltinProc, std::string> all{{more, "MORE"}, {cap, "CAP"}};
        for (const ProvidedBuiltin& each : hostedBuiltins()) all.emplace(each.proc, each.name);
        // The first name of a function that has several.
        for (const BuiltinRow& row : builtinRows())
            if (row.proc != nullptr) all.emplace(row.proc, row.name);
        return all;
    }();
    const auto found = names.find(proc);
    return found == names.end() ? "unknown" : found->second;
}

// Every bit, except that not-a-number is one value as it is for programs.
std::string exactReal(double value) {
    if (std::isnan(value)) return "real nan";
    char text[40];
    std::snprintf(text, sizeof text, "real %a", value);
    return text;
}

void addDetails(std::string& out, const Cell& cell, std::size_t& room);

void addItems(std::string& out, Items items, std::size_t& room) {
    const char* separator = "";
    for (const Cell& item : items) {
        out += std::exchange(separator, " ");
        addDetails(out, item, room);
        if (room == 0) break;
    }
}

void addDetails(std::string& out, const Cell& cell, std::size_t& room) {
    if (room == 0) {
        out += "...";
        return;
    }
    --room;
    const std::string text = toUtf8(cell.text());
    switch (cell.type()) {
    case CellType::Symbol: out += text; break;
    case CellType::Integer:
        out += std::to_string(cell.intValue());
        if (!text.empty()) out += "[text " + text + "]";
        break;
    case CellType::Real: out += exactReal(cell.realValue()); break;
    case CellType::String: out += "\"" + text + "\""; break;
    case CellType::List:
        out += "(";
        addItems(out, cell.items(), room);
        out += ")";
        break;
    case CellType::Proc: out += "<built-in " + nameOf(cell.proc()) + ">"; break;
    case CellType::Lambda:
        out += "<function '" + text + "' ";
        addItems(out, cell.items(), room);
        out += ">";
        break;
    case CellType::EntityName: out += "<entity " + text + ">"; break;
    case CellType::SelectionSet: out += "<set " + text + ">"; break;
    }
}

}  // namespace

std::string detailsOf(const Cell& cell) {
    std::string out;
    std::size_t room = mostShown;
    addDetails(out, cell, room);
    return out;
}

RecordedHost::RecordedHost() {
    assert(current == nullptr);
    current = this;
}

RecordedHost::~RecordedHost() { current = nullptr; }

void RecordedHost::addCommand(std::u16string_view name, std::u16string_view lispText) {
    record("command " + toUtf8(name) + " " + toUtf8(lispText));
}
void RecordedHost::sendMessage(std::u16string_view text) { record("message " + toUtf8(text)); }
void RecordedHost::sendEvalDone(std::u16string_view text) { record("done " + toUtf8(text)); }

void RecordedHost::registerBuiltins(Environment& global) {
    RegisterBuiltins(global, hostedBuiltins());
    global.Bind(intern(u"MORE"), Cell::builtin(more));
    global.Bind(intern(u"CAP"), Cell::builtin(cap));
}

std::vector<std::string> RecordedHost::takeEvents() {
    turns_ = turnsPerExpression;
    return std::exchange(events_, {});
}

}  // namespace vlisp::reference
