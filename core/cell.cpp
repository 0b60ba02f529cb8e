// Cells: the fields, the makers and the constants. See cell.h.
#include "core/cell.h"

#include "core/code.h"
#include "core/environment.h"
#include "platform/text.h"

#include <cassert>
#include <cstdio>
#include <vector>

namespace vlisp {

const Cell NilCell = Cell::symbol(u"nil");
const Cell FalseCell = NilCell;
const Cell TrueCell = Cell::symbol(u"T");
const Cell DotCell = Cell::symbol(u".");

LambdaData::LambdaData(CellSlice lambdaForm, Environment* lambdaScope,
                       SymbolRef lambdaName) noexcept
    : HeapObject(ObjectKind::lambda), form(std::move(lambdaForm)), scope(lambdaScope),
      name(std::move(lambdaName)) {}

LambdaData::~LambdaData() = default;

std::u16string_view Cell::textOfOther() const noexcept {
    if (is(CellType::Integer)) return textOf(static_cast<const SymbolData*>(object()));
    if (is(CellType::Lambda)) return textOf(static_cast<const LambdaData*>(object())->name.get());
    return {};
}

Items Cell::itemsOfOther() const noexcept {
    if (is(CellType::Lambda)) return static_cast<const LambdaData*>(object())->form.view();
    return {};
}

Environment* Cell::env() const noexcept {
    return is(CellType::Lambda) ? static_cast<const LambdaData*>(object())->scope.get() : nullptr;
}

CellSlice Cell::itemSlice() const noexcept {
    if (is(CellType::List))
        return CellSlice(Ref(static_cast<Buffer<Cell>*>(object())), rangeBegin(), rangeLength());
    if (is(CellType::Lambda)) return static_cast<const LambdaData*>(object())->form;
    return {};
}

SymbolRef Cell::textAsSymbol() const {
    if (is(CellType::Symbol)) return SymbolRef(static_cast<SymbolData*>(object()));
    return intern(text());
}

Cell Cell::make(CellType type, std::u16string_view text) {
    switch (type) {
    case CellType::Symbol: return symbol(intern(text));
    case CellType::Integer: return integer(0, intern(text));
    case CellType::String:
    case CellType::EntityName:
    case CellType::SelectionSet:
        return fromText(type, TextSlice::copyOf(std::span(text.data(), text.size())));
    case CellType::Lambda: return lambda({}, nullptr, intern(text));
    case CellType::Real:
    case CellType::List:
    case CellType::Proc: break;
    }
    return Cell(type, nullptr, 0);
}

Cell Cell::symbol(SymbolRef name) noexcept { return Cell(CellType::Symbol, name.detach(), 0); }

Cell Cell::lambda(CellSlice form, Environment* scope, SymbolRef name) {
    void* memory = heap::allocate(sizeof(LambdaData));
    Ref<LambdaData> data(new (memory) LambdaData(std::move(form), scope, std::move(name)));
    return Cell(CellType::Lambda, data.detach(), 0);
}

Cell Cell::withItems(CellSlice items) const {
    if (!is(CellType::Lambda)) return list(std::move(items));
    const auto* data = static_cast<const LambdaData*>(object());
    return lambda(std::move(items), data->scope.get(), data->name);
}

bool reaches(const Cell& cell, const Buffer<Cell>* buffer) {
    constexpr std::size_t mostCells = 1000;
    std::size_t looked = 0;
    std::vector<const Buffer<Cell>*> pending;
    const auto enter = [&](const Cell& held) {
        if (!held.is(CellType::List) && !held.is(CellType::Lambda)) return;
        if (const Buffer<Cell>* inner = held.itemSlice().buffer()) pending.push_back(inner);
    };
    enter(cell);
    while (!pending.empty()) {
        const Buffer<Cell>* inner = pending.back();
        pending.pop_back();
        if (inner == buffer) return true;
        if (!inner->holdsLists) continue;
        looked += inner->last - inner->first;
        if (looked > mostCells) return false;
        for (std::uint32_t i = inner->first; i < inner->last; ++i) enter(inner->slots()[i]);
    }
    return false;
}

bool IsFalse(const Cell& cell) noexcept {
    if (cell.is(CellType::Symbol)) return cell.symbolData() == NilCell.symbolData();
    return cell.text() == u"nil";
}

std::int32_t truncatedToInteger(double value) noexcept {
    if (value > -2147483649.0 && value < 2147483648.0) return static_cast<std::int32_t>(value);
    return -2147483647 - 1;
}

std::string dumpCell(const Cell& cell) {
    static constexpr const char* names[] = {"Symbol", "Integer",    "Real",
                                            "String", "List",       "Proc",
                                            "Lambda", "EntityName", "SelectionSet"};
    assert(!cell.isUnbound());
    char numbers[400];
    std::snprintf(numbers, sizeof numbers,
                  "realValue %.17g, intValue %d, items %zu, proc %s, env %s", cell.realValue(),
                  cell.intValue(), cell.items().size(), cell.proc() != nullptr ? "set" : "null",
                  cell.env() != nullptr ? "set" : "null");
    return std::string(names[static_cast<std::size_t>(cell.type())]) + " \"" +
           platform::toUtf8(cell.text()) + "\", " + numbers;
}

}  // namespace vlisp
