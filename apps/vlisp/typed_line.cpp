// A typed line. See typed_line.h.
#include "apps/vlisp/typed_line.h"

#include "core/printer.h"
#include "core/reader.h"

#include <charconv>
#include <optional>

namespace vlisp::app {
namespace {

using refhost::ReferenceHost;

// Whether a line is LISP: it begins with "(" or "!", and what waits for it, if anything, is not a
// text as it is.
bool isLisp(const ReferenceHost& host, std::u16string_view line) {
    const std::u16string_view trimmed = TrimBlanks(line);
    if (!trimmed.starts_with(u'(') && !trimmed.starts_with(u'!')) return false;
    return host.prompt().empty() || !host.wantsPlainText();
}

// A number with all its digits: the printer's three decimals would move points.
std::u16string exact(double value) {
    char digits[400];
    const char* end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return std::u16string(static_cast<const char*>(digits), end);
}

std::u16string numberText(const Cell& cell) {
    return cell.is(CellType::Real) ? exact(cell.realValue()) : PrintCell(cell);
}

// What a value answers a question with; nothing for nil.
std::optional<refhost::Line> asAnswer(const Cell& value) {
    if (IsFalse(value)) return std::nullopt;
    switch (value.type()) {
    case CellType::SelectionSet: return refhost::Line{CellText(value), true};
    case CellType::EntityName:
    case CellType::String: return refhost::Line{CellText(value)};
    case CellType::Real: return refhost::Line{exact(value.realValue())};
    case CellType::List: break;
    default: return refhost::Line{PrintCell(value)};
    }
    std::u16string point;
    for (const Cell& coordinate : value.items())
        point += (point.empty() ? u"" : u",") + numberText(coordinate);
    return refhost::Line{point};
}

}  // namespace

bool TypedText::add(std::u16string_view line) {
    if (lines_ == 0) {
        isLisp_ = isLisp(host_, line);
        if (!isLisp_ && host_.prompt().empty() && TrimBlanks(line).starts_with(u';')) return false;
    }
    ++lines_;
    if (!isLisp_) {
        text_ = line;
        return true;
    }
    addLisp(line);
    return depth_ <= 0;
}

// Counts as the reader does: a text is one token, whatever stands in it.
void TypedText::addLisp(std::u16string_view line) {
    if (!text_.empty()) text_ += u' ';
    for (const char16_t unit : line) {
        if (unit == u'"') inText_ = !inText_;
        if (!inText_) {
            if (unit == u';') break;
            if (unit == u'(') ++depth_;
            if (unit == u')') --depth_;
        }
        text_ += unit;
    }
}

std::u16string TypedText::take() {
    lines_ = 0;
    depth_ = 0;
    inText_ = false;
    return std::exchange(text_, {});
}

std::u16string typeLine(Lisp& lisp, const std::u16string& line) {
    ReferenceHost& host = lisp.host();
    if (!isLisp(host, line)) {
        host.enter(line);
        return host.takeEvaluationError();
    }
    const bool answers = !host.prompt().empty();
    const std::uint64_t piecesBefore = host.commandPieces();
    std::u16string text(TrimBlanks(line));
    if (text.starts_with(u'!')) text.erase(0, 1);
    Cell value;
    if (!lisp.evalCell(text, value)) return text;
    // What has answered through COMMAND is no answer once more.
    const bool waits = answers && !host.prompt().empty() && host.commandPieces() == piecesBefore;
    if (!waits) {
        host.show(text);
    } else if (const auto answer = asAnswer(value)) {
        host.answer(*answer);
    }
    return {};
}

}  // namespace vlisp::app
