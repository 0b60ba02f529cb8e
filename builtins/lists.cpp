// List functions. See lists.h.
#include "builtins/lists.h"

#include "builtins/arguments.h"
#include "core/interruption.h"
#include "core/list_index.h"

#include <vector>

namespace vlisp {
namespace {

// EQUAL's and /='s rule for a first operand that is not a list: numbers by value as doubles, all
// else by text, types not compared.
bool equalAtoms(const Cell& a, const Cell& b) noexcept {
    if (a.isNumber()) return a.numericValue() == b.numericValue();
    return a.text() == b.text();
}

// The walk that EQUAL and /= share: pairs in order, depth first, without recursion. True when
// `accept` holds for every pair of atoms and all lists agree in length.
template <class Accept> bool everyPair(const Cell& first, const Cell& second, Accept accept) {
    struct Pair {
        Items a;
        Items b;
        std::size_t next;
    };
    if (!first.is(CellType::List)) return accept(first, second);
    std::vector<Pair> open;
    const auto enter = [&](const Cell& a, const Cell& b) {
        if (a.items().size() != b.items().size()) return false;
        open.push_back({a.items(), b.items(), 0});
        return true;
    };
    if (!enter(first, second)) return false;
    for (std::uint32_t steps = 1; !open.empty(); ++steps) {
        if (steps % 65536 == 0 && interruption::pending()) return false;
        Pair& pair = open.back();
        if (pair.next == pair.a.size()) {
            open.pop_back();
            continue;
        }
        const Cell& a = pair.a[pair.next];
        const Cell& b = pair.b[pair.next];
        ++pair.next;
        if (!(a.is(CellType::List) ? enter(a, b) : accept(a, b))) return false;
    }
    return true;
}

}  // namespace

bool equalCells(const Cell& a, const Cell& b) { return everyPair(a, b, equalAtoms); }

Cell append(Arguments arguments) {
    if (arguments.empty()) return NilCell;
    const CellSlice first = arguments[0].itemSlice();
    return Cell::list(first.joined(argumentOrEmpty(arguments, 1).itemSlice()));
}

Cell car(Arguments arguments) {
    const Items items = argumentOrEmpty(arguments, 0).items();
    return items.empty() ? NilCell : items[0];
}

Cell cdr(Arguments arguments) {
    const Cell& whole = argumentOrEmpty(arguments, 0);
    const Items items = whole.items();
    if (items.size() < 2) return NilCell;
    if (items.size() == 3 && items[1].text() == DotCell.text()) return items[2];
    return whole.withItems(whole.itemSlice().part(1, items.size() - 1));
}

Cell cons(Arguments arguments) {
    if (arguments.size() < 2) return NilCell;
    // On purpose: the type alone decides, and nil is a symbol: (cons 1 nil) is the pair (1 . nil).
    if (!arguments[1].is(CellType::List)) return Cell::list({arguments[0], DotCell, arguments[1]});
    return Cell::list(arguments[1].itemSlice().withFront(arguments.first(1)));
}

Cell length(Arguments arguments) {
    if (arguments.empty()) return NilCell;
    return Cell::integer(static_cast<std::int32_t>(arguments[0].items().size()));
}

Cell list(Arguments arguments) { return Cell::list(CellSlice::copyOf(arguments)); }

Cell nullp(Arguments arguments) {
    if (arguments.empty()) return NilCell;
    return truth(arguments[0].items().empty());
}

Cell listp(Arguments arguments) {
    if (arguments.empty()) return NilCell;
    return truth(arguments[0].is(CellType::List));
}

Cell equal(Arguments arguments) {
    if (arguments.size() < 2) return NilCell;
    return truth(equalCells(arguments[0], arguments[1]));
}

Cell eq(Arguments arguments) { return equal(arguments); }

Cell notEqual(Arguments arguments) {
    if (arguments.size() < 2) return NilCell;
    // On purpose: two lists differ only when they have one length and every pair differs.
    return truth(everyPair(arguments[0], arguments[1],
                           [](const Cell& a, const Cell& b) { return !equalAtoms(a, b); }));
}

Cell cadr(Arguments arguments) {
    const Items items = argumentOrEmpty(arguments, 0).items();
    return items.size() < 2 ? NilCell : items[1];
}

Cell assoc(Arguments arguments) {
    if (arguments.size() < 2) return NilCell;
    // On purpose: integer fields alone are compared; a text counts as 0.
    const Items entries = arguments[1].items();
    const std::size_t found = findByInteger(arguments[1], arguments[0].intValue());
    return found < entries.size() ? entries[found] : NilCell;
}

Cell nth(Arguments arguments) {
    if (arguments.size() < 2 || !has(arguments, 0, CellType::Integer)) return NilCell;
    const Items items = arguments[1].items();
    const std::int32_t index = arguments[0].intValue();
    if (index < 0 || static_cast<std::size_t>(index) >= items.size()) return NilCell;
    return items[static_cast<std::size_t>(index)];
}

Cell subst(Arguments arguments) {
    if (arguments.size() < 3 || arguments[2].items().empty()) return NilCell;
    const Items items = arguments[2].items();
    SliceBuilder<Cell> result(items.size());
    for (const Cell& element : items)
        result.push(equalCells(arguments[1], element) ? arguments[0] : element);
    return Cell::list(result.take());
}

}  // namespace vlisp
