// User input. See input.h.
#include "host/input.h"

#include "builtins/arguments.h"
#include "core/reader.h"
#include "drawing/entity_names.h"
#include "host/handshake.h"

#include <cmath>

namespace vlisp {
namespace {

HostRequest& shared() noexcept { return handshake().userInput; }

// The first argument's text, whatever its type, or the default.
std::u16string_view promptOf(Arguments arguments, std::u16string_view preset = u" ") {
    return arguments.empty() ? preset : arguments[0].text();
}

double coordinate(const Cell& cell) {
    return cell.isNumber() ? cell.numericValue() : realAtFront(cell.text());
}

// On purpose: whether Y is read as a real is decided by X.
void setBasePoint(Items point) {
    const Cell& first = point[0];
    const Cell& second = point[1];
    HostRequest& request = shared();
    request.hasBasePoint = true;
    request.x = coordinate(first);
    if (second.is(CellType::Integer)) request.y = second.intValue();
    else request.y = first.is(CellType::Real) ? second.realValue() : realAtFront(second.text());
}

// What GETSTRING, GETREAL and GETINT share: a typed text, converted.
template <class Convert> Cell askForText(Arguments arguments, Convert convert) {
    const HostReply* reply = askUser(InputMode::text, promptOf(arguments));
    return reply != nullptr && reply->is(InputMode::text) ? convert(reply->inputText) : NilCell;
}

}  // namespace

Cell getpoint(Arguments arguments) {
    shared().hasBasePoint = false;
    std::u16string_view prompt = u" ";
    for (const Cell& argument : arguments) {
        if (argument.is(CellType::String)) prompt = argument.text();
        if (argument.is(CellType::List) && argument.items().size() > 1)
            setBasePoint(argument.items());
    }
    const HostReply* reply = askUser(InputMode::point, prompt);
    if (reply == nullptr || reply->is(InputMode::text)) return NilCell;
    return Cell::list({Cell::real(reply->x), Cell::real(reply->y)});
}

Cell getdist(Arguments arguments) {
    HostRequest& request = shared();
    request.hasBasePoint = false;
    const HostReply* reply = askUser(InputMode::point, promptOf(arguments));
    if (reply == nullptr) return NilCell;
    if (reply->is(InputMode::text)) return Cell::real(realAtFront(reply->inputText));
    const double x = reply->x;
    const double y = reply->y;
    request.hasBasePoint = true;
    request.x = x;
    request.y = y;
    // On purpose: whatever answers this one counts as a point.
    reply = askUser(InputMode::point, u"Specify second point:");
    if (reply == nullptr) return NilCell;
    const double dx = reply->x - x;
    const double dy = reply->y - y;
    return Cell::real(std::sqrt(dx * dx + dy * dy));
}

Cell getstring(Arguments arguments) {
    return askForText(arguments, [](std::u16string_view text) { return Cell::string(text); });
}

Cell getreal(Arguments arguments) {
    return askForText(arguments,
                      [](std::u16string_view text) { return Cell::real(realAtFront(text)); });
}

Cell getint(Arguments arguments) {
    return askForText(arguments,
                      [](std::u16string_view text) { return Cell::integer(integerAtFront(text)); });
}

Cell entsel(Arguments arguments) {
    const HostReply* reply = askUser(InputMode::object, promptOf(arguments, u"Select object: "));
    if (reply == nullptr || !reply->is(InputMode::object) || reply->count < 1) return NilCell;
    return Cell::list({entityName(reply->entityId),
                       Cell::list({Cell::real(reply->x), Cell::real(reply->y), Cell::real(0.0)})});
}

std::span<const ProvidedBuiltin> inputBuiltins() noexcept {
    static constexpr ProvidedBuiltin builtins[] = {
        {"GETPOINT", getpoint}, {"GETDIST", getdist}, {"GETSTRING", getstring},
        {"GETREAL", getreal},   {"GETINT", getint},   {"ENTSEL", entsel},
    };
    return builtins;
}

}  // namespace vlisp
