// Extended list functions. See extended_lists.h.
#include "builtins/extended_lists.h"

#include "builtins/arguments.h"
#include "builtins/lists.h"
#include "core/environment.h"
#include "core/evaluator.h"
#include "core/interruption.h"

namespace vlisp {
namespace {

// (EQ P1 P2), evaluated with P1 bound to an element and P2 to the value sought. EQ is looked up at
// every comparison: a program that rebinds it changes what counts as equal.
class ElementEquality {
  public:
    explicit ElementEquality(const Cell& sought) : sought_(sought) {}

    /// What the comparison of `element` with the value sought evaluates to. A message that it
    /// leaves goes nowhere.
    [[nodiscard]] Cell compare(const Cell& element) const {
        const Cell* bound = GlobalEnvironment().find(eq_.get());
        // Shortcut: as long as EQ is the built-in, call it.
        if (bound != nullptr && bound->proc() == &eq) {
            const Cell pair[] = {element, sought_};
            return eq(pair);
        }
        const Cell p1 = Cell::symbol(u"P1");
        const Cell p2 = Cell::symbol(u"P2");
        const Cell form = Cell::list({Cell::symbol(u"LAMBDA"), Cell::list({p1, p2}),
                                      Cell::list({Cell::symbol(eq_), p1, p2})});
        const Cell pair[] = {element, sought_};
        return FunctionBody(form)(pair);
    }

  private:
    const Cell& sought_;
    SymbolRef eq_ = intern(u"EQ");
};

// The elements of `items` for which `keep` is true. `items` belongs to the arguments of the call
// and so outlives whatever `keep` evaluates.
template <class Keep> Cell kept(Items items, Keep keep) {
    // Room for all of them at once; a list that turns out small gives it back.
    SliceBuilder<Cell> result(items.size());
    for (const Cell& element : items) {
        if (interruption::pending()) break;
        if (keep(element)) result.push(element);
    }
    const bool isSmall = result.size() < items.size() / 2;
    const CellSlice whole = result.take();
    return Cell::list(isSmall ? CellSlice::copyOf(whole.view()) : whole);
}

}  // namespace

Cell member(Arguments arguments) {
    if (arguments.size() < 2 || !has(arguments, 1, CellType::List)) return NilCell;
    const Items items = arguments[1].items();
    const ElementEquality equality(arguments[0]);
    for (std::size_t i = 0; i < items.size() && !interruption::pending(); ++i)
        if (!IsFalse(equality.compare(items[i])))
            return Cell::list(arguments[1].itemSlice().part(i, items.size() - i));
    // On purpose: not found is an empty list, not nil.
    return Cell::list(CellSlice());
}

Cell reverse(Arguments arguments) {
    if (!has(arguments, 0, CellType::List)) return NilCell;
    const Items items = arguments[0].items();
    SliceBuilder<Cell> result(items.size());
    for (std::size_t i = items.size(); i > 0; --i) result.push(items[i - 1]);
    return Cell::list(result.take());
}

Cell last(Arguments arguments) {
    if (!has(arguments, 0, CellType::List) || arguments[0].items().empty()) return NilCell;
    return arguments[0].items().back();
}

Cell vlRemove(Arguments arguments) {
    if (arguments.size() < 2 || !has(arguments, 1, CellType::List)) return NilCell;
    const ElementEquality equality(arguments[0]);
    return kept(arguments[1].items(),
                [&](const Cell& element) { return IsFalse(equality.compare(element)); });
}

Cell vlRemoveNth(Arguments arguments) {
    if (!has(arguments, 0, CellType::Integer) || !has(arguments, 1, CellType::List)) return NilCell;
    const CellSlice items = arguments[1].itemSlice();
    const std::int32_t index = arguments[0].intValue();
    if (index < 0 || static_cast<std::uint32_t>(index) >= items.size()) return arguments[1];
    const auto at = static_cast<std::uint32_t>(index);
    return Cell::list(items.part(0, at).joined(items.part(at + 1, items.size() - at - 1)));
}

Cell vlRemoveIf(Arguments arguments) {
    if (arguments.size() < 2 || !has(arguments, 1, CellType::List)) return NilCell;
    const Items predicate = arguments[0].items();
    if (predicate.size() < 3) return NilCell;
    // On purpose: the body is evaluated directly, once an element, in a scope that sees the
    // parameter and the global names but not the locals of any caller.
    FunctionBody body(arguments[0]);
    return kept(arguments[1].items(),
                [&](const Cell& element) { return IsFalse(body(Arguments(&element, 1))); });
}

}  // namespace vlisp
