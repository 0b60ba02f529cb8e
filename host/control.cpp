// GETVAR, SETVAR, COMMAND and VM-WAIT. See control.h.
#include "host/control.h"

#include "builtins/arguments.h"
#include "core/interruption.h"
#include "core/printer.h"
#include "core/reader.h"
#include "host/handshake.h"
#include "host/host_calls.h"
#include "host/typed_text.h"
#include "platform/system.h"

namespace vlisp {
namespace {

enum CommandMode : std::int32_t { word = 1, selectionReference = 5 };

// One piece of a command: how it is sent, and its text.
struct Piece {
    CommandMode mode;
    std::u16string text;
};

Piece pieceOf(const Cell& argument) {
    Piece piece{word, {}};
    switch (argument.type()) {
    case CellType::SelectionSet:
        piece.mode = selectionReference;
        piece.text = argument.text();
        break;
    case CellType::List: piece.text = PointText(argument); break;
    case CellType::Integer: printInteger(piece.text, argument.intValue()); break;
    case CellType::Real: printReal(piece.text, argument.realValue(), 4); break;
    default: piece.text = argument.text(); break;
    }
    return piece;
}

void send(HostRequest& request, const Piece& piece) {
    request.mode = piece.mode;
    setField(request.inputText, piece.text);
    RequestAndWait(request);
}

}  // namespace

Cell getvar(Arguments arguments) {
    if (arguments.size() != 1) return NilCell;
    bool ok = false;
    const std::u16string name(arguments[0].text());
    const std::u16string value = textFromHost(
        hostTextRoom, [&](char16_t* buffer) { ok = hostGetVar(name.c_str(), buffer); });
    return ok ? MakeAtom(value) : NilCell;
}

Cell setvar(Arguments arguments) {
    if (arguments.size() != 2) return NilCell;
    const std::u16string name(arguments[0].text());
    const Cell& value = arguments[1];
    bool ok = false;
    if (value.is(CellType::Integer)) ok = hostSetVarInt(name.c_str(), value.intValue());
    if (value.is(CellType::Real)) ok = hostSetVarDbl(name.c_str(), value.realValue());
    if (value.is(CellType::String))
        ok = hostSetVarString(name.c_str(), std::u16string(value.text()).c_str());
    return truth(ok);
}

Cell command(Arguments arguments) {
    HostRequest& request = handshake().commandInput;
    request.kind = static_cast<std::int32_t>(RequestKind::CommandInput);
    request.context = handshake().reply.context;
    if (arguments.empty() || arguments[0].text().empty() || arguments[0].text() == u" ") {
        send(request, {word, {}});
        return NilCell;
    }
    send(request, {word, upperCased(arguments[0].text())});
    for (const Cell& argument : arguments.subspan(1)) {
        if (interruption::pending()) return NilCell;
        send(request, pieceOf(argument));
    }
    const std::u16string_view sent(request.inputText);
    return sent.empty() ? NilCell : Cell::string(sent);
}

Cell vmWait(Arguments arguments) {
    if (!has(arguments, 0, CellType::Integer)) return NilCell;
    // Both are signed 32-bit numbers that wrap: a pause that runs over the end is none.
    const std::uint32_t start = platform::tickCount();
    const auto end =
        static_cast<std::int32_t>(start + static_cast<std::uint32_t>(arguments[0].intValue()));
    if (static_cast<std::int32_t>(start) < end)
        while (static_cast<std::int32_t>(platform::tickCount()) < end && !interruption::pending()) {
        }
    return NilCell;
}

std::span<const ProvidedBuiltin> controlBuiltins() noexcept {
    static constexpr ProvidedBuiltin builtins[] = {
        {"COMMAND", command},
        {"GETVAR", getvar},
        {"SETVAR", setvar},
        {"VM-WAIT", vmWait},
    };
    return builtins;
}

}  // namespace vlisp
