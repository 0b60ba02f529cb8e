// Writing pairs, and putting a changed file together. See changes.h.
#include "refhost/dxf/changes.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace vlisp::refhost::dxf {
namespace {

template <class Number> void appendRaw(std::string& out, Number number) {
    char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    out.append(bytes, sizeof bytes);
}

void appendCode(std::string& out, const Style& style, int code) {
    switch (style.form) {
    case Form::text: {
        const std::string digits = std::to_string(code);
        constexpr std::size_t width = 3;
        if (style.paddedCodes && digits.size() < width) out.append(width - digits.size(), ' ');
        out += digits;
        out += style.lineEnd;
        return;
    }
    case Form::binary: return appendRaw(out, static_cast<std::int16_t>(code));
    case Form::binaryShortCodes:
        if (code >= 0 && code < 255) return appendRaw(out, static_cast<std::uint8_t>(code));
        appendRaw(out, std::uint8_t{255});
        appendRaw(out, static_cast<std::int16_t>(code));
    }
}

// The bytes of a number in the binary form.
std::string binaryNumber(int code, double value) {
    std::string out;
    switch (valueTypeOf(code)) {
    case ValueType::real: appendRaw(out, value); break;
    case ValueType::int16: appendRaw(out, static_cast<std::int16_t>(value)); break;
    case ValueType::int32: appendRaw(out, static_cast<std::int32_t>(value)); break;
    case ValueType::int64: appendRaw(out, static_cast<std::int64_t>(value)); break;
    case ValueType::boolean: appendRaw(out, static_cast<std::uint8_t>(value)); break;
    case ValueType::text:
    case ValueType::chunk: assert(false && "no number"); break;
    }
    return out;
}

std::size_t decimalsOf(std::string_view number) {
    const std::size_t point = number.find('.');
    if (point == std::string_view::npos) return 0;
    const std::size_t end = std::min(number.find_first_of("eE"), number.size());
    return end - point - 1;
}

// With an exponent, as `example` has one: its letter, and at least as many decimals.
std::string scientificText(double value, std::string_view example, std::size_t exponent) {
    char digits[64];
    const char* end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::scientific).ptr;
    std::string text(digits, static_cast<std::size_t>(end - digits));
    const std::size_t e = text.find('e');
    text[e] = example[exponent];
    const std::size_t wanted = decimalsOf(example);
    const std::size_t there = decimalsOf(text);
    if (there == 0 && wanted > 0) text.insert(e, "." + std::string(wanted, '0'));
    else if (there < wanted) text.insert(e, wanted - there, '0');
    // As many digits of the exponent; each has a sign.
    const std::size_t sign = example.find_last_not_of("0123456789");
    const std::size_t wide = sign == std::string_view::npos ? 0 : example.size() - sign - 1;
    const std::size_t own = text.size() - text.find_last_not_of("0123456789") - 1;
    if (own < wide) text.insert(text.size() - own, wide - own, '0');
    return text;
}

// A number in the style of an example. Never fewer digits than it takes to read the same number.
std::string realText(double value, std::string_view example) {
    std::string text = dxf::realText(value);
    if (example.empty() || !std::isfinite(value)) return text;
    if (const std::size_t e = example.find_first_of("eE"); e != std::string_view::npos)
        return scientificText(value, example, e);
    if (text.find('E') != std::string::npos) return text;
    const std::size_t wanted = decimalsOf(example);
    if (wanted == 0) {
        if (text.ends_with(".0")) text.resize(text.size() - (example.ends_with('.') ? 1 : 2));
        return text;
    }
    const bool padded = wanted > 1 && example.ends_with('0');
    const std::size_t there = decimalsOf(text);
    if (padded && there < wanted) text.append(wanted - there, '0');
    return text;
}

// As wide as what stood there when that was moved to the right by blanks.
std::string aligned(std::string text, std::string_view old) {
    const bool moved = !old.empty() && (old.front() == ' ' || old.front() == '\t');
    if (moved && text.size() < old.size()) text.insert(0, old.size() - text.size(), ' ');
    return text;
}

std::size_t widthOf(int code) {
    constexpr std::size_t shortWidth = 6;
    constexpr std::size_t longWidth = 9;
    return valueTypeOf(code) == ValueType::int32 ? longWidth : shortWidth;
}

}  // namespace

Style Style::of(std::string_view bytes, Form form, Span range, const Style& otherwise) {
    Style style = otherwise;
    style.form = form;
    if (form != Form::text) return style;
    PairReader reader(bytes, form, range.begin, range.end);
    Pair pair;
    bool codesSeen = false;
    bool numbersSeen = false;
    while (reader.next(pair)) {
        const std::string_view value =
            bytes.substr(pair.valueBegin, pair.valueEnd - pair.valueBegin);
        // A last line may lack its end.
        if (pair.end > pair.valueEnd) style.lineEnd = pair.end - pair.valueEnd == 2 ? "\r\n" : "\n";
        if (pair.code >= 0 && pair.code < 100 && !codesSeen) {
            style.paddedCodes = bytes[pair.begin] == ' ';
            codesSeen = true;
        }
        const ValueType type = valueTypeOf(pair.code);
        if (type == ValueType::real && !value.empty())
            style.real = Value(bytes, form, pair).trimmed();
        if ((type == ValueType::int16 || type == ValueType::int32) && !numbersSeen) {
            style.paddedNumbers = value.starts_with(' ');
            numbersSeen = true;
        }
    }
    return style;
}

void appendText(std::string& out, const Style& style, int code, std::string_view value) {
    appendCode(out, style, code);
    out += value;
    if (style.form == Form::text) out += style.lineEnd;
    else out += '\0';
}

void appendReal(std::string& out, const Style& style, int code, double value) {
    appendCode(out, style, code);
    if (style.form != Form::text) {
        out += binaryNumber(code, value);
        return;
    }
    out += realText(value, style.real);
    out += style.lineEnd;
}

void appendInteger(std::string& out, const Style& style, int code, std::int64_t value) {
    appendCode(out, style, code);
    if (style.form != Form::text) {
        out += binaryNumber(code, static_cast<double>(value));
        return;
    }
    const std::string digits = std::to_string(value);
    const std::size_t width = widthOf(code);
    if (style.paddedNumbers && digits.size() < width) out.append(width - digits.size(), ' ');
    out += digits;
    out += style.lineEnd;
}

std::string realLike(const Value& old, Form form, int code, double value) {
    if (form != Form::text) return binaryNumber(code, value);
    return aligned(realText(value, old.trimmed()), old.raw());
}

std::string integerLike(const Value& old, Form form, int code, std::int64_t value) {
    if (form != Form::text) return binaryNumber(code, static_cast<double>(value));
    return aligned(std::to_string(value), old.raw());
}

ChangedBytes::ChangedBytes(std::string_view bytes, std::vector<Change> changes)
    : bytes_(bytes), changes_(std::move(changes)) {
    std::uint64_t at = 0;
    for (const Change& change : changes_) {
        assert(change.replaced.begin >= at && change.replaced.begin <= change.replaced.end &&
               change.replaced.end <= bytes.size() && "changes overlap or are not in order");
        at = change.replaced.end;
    }
}

std::vector<std::string_view> ChangedBytes::pieces() const {
    std::vector<std::string_view> pieces;
    pieces.reserve(2 * changes_.size() + 1);
    std::uint64_t at = 0;
    const auto add = [&](std::string_view piece) {
        if (!piece.empty()) pieces.push_back(piece);
    };
    for (const Change& change : changes_) {
        add(bytes_.substr(at, change.replaced.begin - at));
        add(change.bytes);
        at = change.replaced.end;
    }
    add(bytes_.substr(at));
    return pieces;
}

std::string ChangedBytes::joined() const {
    std::string all;
    for (const std::string_view piece : pieces()) all += piece;
    return all;
}

}  // namespace vlisp::refhost::dxf
