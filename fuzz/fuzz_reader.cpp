// Fuzzes everything that reads source text: splitter, tokenizer, parser, and the checker on top.
// One idea: besides not crashing, the layers must agree with each other about what they read.
#include "apps/vlisp/checker.h"
#include "builtins/registry.h"
#include "core/printer.h"
#include "core/reader.h"
#include "platform/text.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using namespace vlisp;

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "fuzz_reader: %s\n", what);
    std::abort();
}

// Every piece of an expression's text is what stands at its place in the source.
void checkPieces(const SourceExpression& expression, std::u16string_view source) {
    const std::u16string_view text = expression.text;
    for (std::size_t i = 0; i < expression.pieces.size(); ++i) {
        const SourceExpression::Piece& piece = expression.pieces[i];
        const bool isLast = i + 1 == expression.pieces.size();
        const std::size_t end = isLast ? text.size() : expression.pieces[i + 1].at;
        require(piece.at < end && end <= text.size(), "pieces are not in order");
        std::u16string_view content = text.substr(piece.at, end - piece.at);
        // Blanks behind it may be those that join the pieces.
        content = content.substr(0, content.find_last_not_of(u' ') + 1);
        require(piece.from <= source.size() && source.substr(piece.from).starts_with(content),
                "a piece is not what its place holds");
    }
}

// Reads all expressions that the queue holds, with places noted and without.
void checkReading(std::u16string_view text) {
    TokenQueue plain = Tokenize(text);
    TokenQueue placed = Tokenize(text);
    const std::size_t count = plain.size();
    PlaceNotes notes;
    std::size_t reads = 0;
    for (bool first = true; !plain.empty(); first = false) {
        require(++reads <= count, "a read took no token");
        const std::u16string printed = PrintCell(ReadFrom(plain));
        require(printed == PrintCell(readWithPlaces(placed, text.data(), notes)),
                "noting places changes what is read");
        require(plain.size() == placed.size(), "noting places changes how much is read");
        if (first) require(printed == PrintCell(Parse(text)), "Parse reads something else");
    }
}

app::Names builtinNames() {
    app::Names names;
    for (const BuiltinRow& row : builtinRows()) names.insert(platform::fromUtf8(row.name));
    return names;
}

void checkChecker(std::u16string_view source) {
    static const app::Names builtins = builtinNames();
    const app::KnownNames known{builtins, app::namesDefinedBy(source)};
    std::size_t lines = 1;
    for (const char16_t unit : source) lines += unit == u'\n' ? 1 : 0;
    std::size_t previousLine = 1;
    for (const app::Warning& warning : app::checkSource(source, known)) {
        require(warning.line >= previousLine && warning.line <= lines, "a warning is misplaced");
        require(warning.column >= 1, "a warning has no column");
        require(!warning.text.empty(), "a warning is empty");
        previousLine = warning.line;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);
    const std::u16string source = platform::fromUtf8(bytes);
    for (const SourceExpression& expression : splitText(source)) {
        require(expression.text.starts_with(u' '), "an expression does not begin with a blank");
        checkPieces(expression, source);
        checkReading(expression.text);
    }
    checkReading(source);
    checkChecker(source);
    return 0;
}
