// Console output. See output.h.
#include "host/output.h"

#include "core/printer.h"
#include "core/reader.h"
#include "host/handshake.h"
#include "host/host_calls.h"

#include <algorithm>

namespace vlisp {
namespace {

void sendMessage(std::u16string_view text) {
    HostRequest request;
    request.kind = static_cast<std::int32_t>(RequestKind::Message);
    request.mode = 0;
    setField(request.messageText, text);
    PostToHost(request);
}

// What the three message functions share: print the first argument, send it as `dress` makes it,
// and answer a symbol with the printed text. Without an argument the text is empty.
template <class Dress> Cell show(Arguments arguments, Dress dress) {
    if (arguments.empty()) {
        sendMessage({});
        return Cell();
    }
    const std::u16string printed = PrintCell(arguments[0]);
    sendMessage(dress(printed));
    return Cell::symbol(printed);
}

}  // namespace

Cell princ(Arguments arguments) {
    // On purpose: it is the shared record of input requests whose mode is set here.
    if (!arguments.empty()) handshake().userInput.mode = 0;
    return show(arguments, [](std::u16string text) {
        std::erase(text, u'"');
        return text;
    });
}

Cell prin1(Arguments arguments) {
    return show(arguments, [](const std::u16string& text) { return text; });
}

Cell print(Arguments arguments) {
    return show(arguments, [](const std::u16string& text) { return u"\r\n" + text + u" "; });
}

Cell prompt(Arguments arguments) {
    if (arguments.empty()) return Cell::string(std::u16string_view());
    if (arguments[0].is(CellType::List)) return NilCell;
    HostRequest& shared = handshake().userInput;
    shared.hasBasePoint = false;
    shared.mode = 0;
    shared.kind = static_cast<std::int32_t>(RequestKind::Message);
    for (const std::u16string& piece : SplitText(arguments[0].text(), u"\\n"))
        hostDisplayMsg(piece.c_str());
    return NilCell;
}

std::span<const ProvidedBuiltin> consoleBuiltins() noexcept {
    static constexpr ProvidedBuiltin builtins[] = {
        {"PRINC", princ},
        {"PRINT", print},
        {"PRIN1", prin1},
        {"PROMPT", prompt},
    };
    return builtins;
}

}  // namespace vlisp
