// A typed line. See typed_line.h.
#include "apps/vlisp/typed_line.h"

#include "core/reader.h"

#include <algorithm>

namespace vlisp::app {
namespace {

// A printed value as it would be typed: a point with commas, a text without quotes.
std::u16string asTyped(std::u16string value) {
    if (value.size() >= 2 && value.front() == u'(' && value.back() == u')') {
        value = value.substr(1, value.size() - 2);
        std::ranges::replace(value, u' ', u',');
    } else if (value.size() >= 2 && value.front() == u'"' && value.back() == u'"') {
        value = value.substr(1, value.size() - 2);
    }
    return value;
}

}  // namespace

bool isLisp(const refhost::ReferenceHost& host, std::u16string_view line) {
    const std::u16string_view trimmed = TrimBlanks(line);
    if (!trimmed.starts_with(u'(') && !trimmed.starts_with(u'!')) return false;
    return host.prompt().empty() || !host.wantsPlainText();
}

int openParentheses(std::u16string_view text) {
    int depth = 0;
    for (TokenQueue tokens = Tokenize(text); !tokens.empty();) {
        const std::u16string_view token = tokens.take();
        if (token == u"(") ++depth;
        if (token == u")") --depth;
    }
    return depth;
}

std::u16string typeLine(Lisp& lisp, const std::u16string& line) {
    refhost::ReferenceHost& host = lisp.host();
    if (!isLisp(host, line)) {
        host.enter(line);
        return host.takeEvaluationError();
    }
    const bool answers = !host.prompt().empty();
    std::u16string text(TrimBlanks(line));
    if (text.starts_with(u'!')) text.erase(0, 1);
    if (!lisp.evalString(text)) return text;
    if (answers && !host.prompt().empty()) host.enter(asTyped(text));
    else host.show(text);
    return {};
}

}  // namespace vlisp::app
