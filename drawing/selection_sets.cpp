// SSGET, SSADD, SSDEL, SSNAME and SSLENGTH. See selection_sets.h.
#include "drawing/selection_sets.h"

#include "builtins/arguments.h"
#include "core/environment.h"
#include "core/evaluator.h"
#include "drawing/entity_names.h"
#include "host/handshake.h"

namespace vlisp {
namespace {

Cell selectionSet(int number) { return handleCell(CellType::SelectionSet, number); }

// Made when the module is loaded and not by the first who needs it, or it would be gone before the
// threads that use it.
const SymbolRef filterName = intern(u"SSFILTER");

// Applies what SSFILTER is bound to. A program may have bound something else to the name; what is
// no function gives nothing. On purpose: the body sees global names only, whatever scope the
// function was made in.
Cell applyFilter(const Cell& filter) {
    Environment& global = GlobalEnvironment();
    ErrorBuffer error;
    Cell* bound = nullptr;
    FindScope(global, filterName.get(), error, &bound);
    if (bound == nullptr) {
        hostDisplayMsg(error.terminated());
        return NilCell;
    }
    const Cell function = *bound;  // the call may bind the name anew
    const Arguments arguments(&filter, 1);
    if (function.is(CellType::Proc)) return function.proc()(arguments);
    if (!function.is(CellType::Lambda) || function.items().size() < 3) return NilCell;
    return FunctionBody(function)(arguments);
}

// The entity name in a data list: the value of its first entry.
const Cell* nameOf(const Cell& dataList) noexcept {
    if (!dataList.is(CellType::List) || dataList.items().empty()) return nullptr;
    const Items first = dataList.items()[0].items();
    return first.size() < 3 || !first[2].is(CellType::EntityName) ? nullptr : &first[2];
}

Cell selectFiltered(const Cell& filter) {
    const int set = hostAddSelectionSet();
    const Cell kept = applyFilter(filter);
    if (kept.is(CellType::List))
        for (const Cell& dataList : kept.items())
            if (const Cell* name = nameOf(dataList)) hostAddObjToSelectionSet(idOf(*name), set);
    return selectionSet(set);
}

Cell selectPicked(std::u16string_view prompt) {
    const HostReply* reply = askUser(InputMode::selection, prompt);
    if (reply == nullptr || !reply->is(InputMode::selection) || reply->count <= 0) return NilCell;
    const int set = hostAddSelectionSet();
    hostAddSelectedToSelectionSet(set);
    return selectionSet(set);
}

}  // namespace

Cell ssget(Arguments arguments) {
    if (arguments.empty()) return selectPicked(u"Select objects: ");
    if (arguments[0].text() != u"X") return selectPicked(arguments[0].text());
    if (arguments.size() > 1) return selectFiltered(arguments[1]);
    const int set = hostAddSelectionSet();
    hostAddAllToSelectionSet(set);
    return selectionSet(set);
}

Cell ssadd(Arguments arguments) {
    if (!has(arguments, 0, CellType::EntityName)) return NilCell;
    if (arguments.size() > 1 && !arguments[1].is(CellType::SelectionSet)) return NilCell;
    const int set = arguments.size() > 1 ? idOf(arguments[1]) : hostAddSelectionSet();
    hostAddObjToSelectionSet(idOf(arguments[0]), set);
    return selectionSet(set);
}

Cell ssdel(Arguments arguments) {
    if (arguments.size() != 2 || !has(arguments, 0, CellType::EntityName) ||
        !has(arguments, 1, CellType::SelectionSet))
        return NilCell;
    const int set = idOf(arguments[1]);
    hostRemoveObjFromSelectionSet(idOf(arguments[0]), set);
    return selectionSet(set);
}

Cell ssname(Arguments arguments) {
    if (arguments.size() != 2 || !has(arguments, 0, CellType::SelectionSet) ||
        !has(arguments, 1, CellType::Integer))
        return NilCell;
    const HostId id = hostGetObjFromSelectionSet(arguments[1].intValue(), idOf(arguments[0]));
    return id < 0 ? NilCell : entityName(id);
}

Cell sslength(Arguments arguments) {
    if (arguments.size() != 1 || !has(arguments, 0, CellType::SelectionSet)) return NilCell;
    return Cell::integer(hostGetSelectionSetLength(idOf(arguments[0])));
}

}  // namespace vlisp
