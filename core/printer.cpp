// Printing. See printer.h.
#include "core/printer.h"

#include "core/interruption.h"
#include "core/reader.h"

#include <charconv>
#include <cmath>
#include <vector>

namespace vlisp {

std::uint32_t EntityNameBase = 0;

namespace {

// "%lx" of a handle's number inside its name.
void printHandle(std::u16string& out, std::u16string_view before, std::uint32_t number) {
    char digits[8];
    const auto end = std::to_chars(digits, digits + sizeof digits, number, 16).ptr;
    out += before;
    out.append(digits, end);
    out += u'>';
}

void printAtom(std::u16string& out, const Cell& cell) {
    const auto handle = [&] { return static_cast<std::uint32_t>(integerAtFront(cell.text())); };
    switch (cell.type()) {
    case CellType::Integer: printInteger(out, cell.intValue()); return;
    case CellType::Real: printReal(out, cell.realValue()); return;
    case CellType::EntityName:
        printHandle(out, u"<Entity name: ", handle() + EntityNameBase);
        return;
    case CellType::SelectionSet: printHandle(out, u"<Selection set: ", handle()); return;
    case CellType::Proc: out += u"<Proc>"; return;
    case CellType::String:
        out += u'"';
        out += cell.text();
        out += u'"';
        return;
    case CellType::Symbol:
    case CellType::Lambda: out += cell.text(); return;
    case CellType::List: return;
    }
}

// A list whose elements are being printed.
struct PrintedList {
    Items items;
    std::size_t next;
};

}  // namespace

void printInteger(std::u16string& out, std::int64_t value) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, end);
}

void printReal(std::u16string& out, double value, int decimals) {
    if (std::isnan(value)) {
        out += u"nan";
        return;
    }
    if (std::isinf(value)) {
        out += value < 0 ? u"-inf" : u"inf";
        return;
    }
    char digits[340];  // the largest double has 309 digits before its point
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals)
            .ptr;
    out.append(digits, end);
}

void printTo(std::u16string& out, const Cell& cell) {
    if (!cell.is(CellType::List)) {
        printAtom(out, cell);
        return;
    }
    constexpr std::size_t checkedEvery = 1 << 16;
    std::size_t checkAt = out.size() + checkedEvery;
    std::vector<PrintedList> open;
    out += u'(';
    open.push_back({cell.items(), 0});
    while (!open.empty()) {
        PrintedList& list = open.back();
        if (list.next == list.items.size()) {
            // On purpose: one blank goes, whatever it followed, so that a list ending in an
            // element that prints as nothing keeps the blank before it: (A ).
            if (out.back() == u' ') out.pop_back();
            out += u')';
            open.pop_back();
            if (!open.empty()) out += u' ';
        } else if (const Cell& element = list.items[list.next++]; element.is(CellType::List)) {
            out += u'(';
            open.push_back({element.items(), 0});
        } else {
            printAtom(out, element);
            out += u' ';
        }
        if (out.size() >= checkAt) {
            heap::requireText(out.size() * 2);
            if (interruption::pending()) return;
            checkAt = out.size() + checkedEvery;
        }
    }
}

std::u16string PrintCell(const Cell& cell) {
    std::u16string out;
    printTo(out, cell);
    return out;
}

std::u16string PointText(const Cell& cell) {
    const Items items = cell.items();
    if (!cell.is(CellType::List) || (items.size() != 2 && items.size() != 3)) return u"nil";
    std::u16string out;
    for (const Cell& element : items) {
        printTo(out, element);
        out += u',';
    }
    out.pop_back();
    return out;
}

std::u16string CellText(const Cell& cell) { return std::u16string(cell.text()); }

}  // namespace vlisp
