// Pairs in text and binary form. See pairs.h.
#include "refhost/dxf/pairs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

namespace vlisp::refhost::dxf {
namespace {

static_assert(std::endian::native == std::endian::little, "binary files are read as they stand");

bool isBlank(char c) noexcept { return c == ' ' || c == '\t'; }

template <class Number> Number numberAt(std::string_view bytes) noexcept {
    Number number{};
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

// Digits that a group code of the text form may have: from -9999 to 99999.
constexpr int mostCodeDigits = 5;

// How long a value of the binary form is; 0 for texts and chunks, which tell themselves.
std::size_t sizeOf(ValueType type) noexcept {
    switch (type) {
    case ValueType::real: return sizeof(double);
    case ValueType::int16: return 2;
    case ValueType::int32: return 4;
    case ValueType::int64: return 8;
    case ValueType::boolean: return 1;
    case ValueType::text:
    case ValueType::chunk: return 0;
    }
    return 0;
}

struct CodeRange {
    int last;
    ValueType type;
};
// The types of the group codes. Each row holds from behind the one before to `last`.
constexpr CodeRange codeRanges[] = {
    {9, ValueType::text},     {59, ValueType::real},    {79, ValueType::int16},
    {89, ValueType::text},    {99, ValueType::int32},   {109, ValueType::text},
    {149, ValueType::real},   {159, ValueType::text},   {169, ValueType::int64},
    {179, ValueType::int16},  {209, ValueType::text},   {239, ValueType::real},
    {269, ValueType::text},   {289, ValueType::int16},  {299, ValueType::boolean},
    {309, ValueType::text},   {319, ValueType::chunk},  {369, ValueType::text},
    {389, ValueType::int16},  {399, ValueType::text},   {409, ValueType::int16},
    {419, ValueType::text},   {429, ValueType::int32},  {439, ValueType::text},
    {459, ValueType::int32},  {469, ValueType::real},   {1003, ValueType::text},
    {1004, ValueType::chunk}, {1009, ValueType::text},  {1059, ValueType::real},
    {1070, ValueType::int16}, {1071, ValueType::int32},
};
constexpr int lastTypedCode = std::end(codeRanges)[-1].last;

// The same by code: every number of a file is asked for its type.
constexpr auto types = [] {
    std::array<ValueType, lastTypedCode + 1> byCode{};
    std::size_t code = 0;
    for (const CodeRange& range : codeRanges)
        for (; code <= static_cast<std::size_t>(range.last); ++code) byCode[code] = range.type;
    return byCode;
}();

// The end of the line that begins or goes on at `p`: its line feed, or `end`.
const char* lineEndFrom(const char* p, const char* end) noexcept {
    // Most values are short: a look at eight bytes at a time is quicker than a call.
    constexpr std::uint64_t ones = 0x0101010101010101U;
    constexpr std::uint64_t tops = ones << 7;
    constexpr std::ptrdiff_t size = sizeof ones;
    for (int words = 0; words < 4 && end - p >= size; ++words, p += size) {
        // Zero bytes where the line feeds are; the lowest that borrows is one of them.
        const std::uint64_t bytes =
            numberAt<std::uint64_t>({p, sizeof ones}) ^ (ones * std::uint64_t{'\n'});
        const std::uint64_t found = (bytes - ones) & ~bytes & tops;
        if (found != 0) return p + std::countr_zero(found) / 8;
    }
    const void* found = std::memchr(p, '\n', static_cast<std::size_t>(end - p));
    return found != nullptr ? static_cast<const char*>(found) : end;
}

// Whether the text is written as a number; says so without computing it.
bool looksLikeNumber(std::string_view text) noexcept {
    text = withoutBlanks(text);
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    const std::size_t digitsBegin = i;
    const auto digits = [&] {
        const std::size_t before = i;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
        return i - before;
    };
    std::size_t count = digits();
    if (i < text.size() && text[i] == '.') {
        ++i;
        count += digits();
    }
    if (count == 0) return numberOf(text.substr(digitsBegin)).has_value();  // inf, nan
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
        if (digits() == 0) return false;
    }
    return i == text.size();
}

}  // namespace

ValueType valueTypeOf(int code) noexcept {
    if (code < 0 || code > lastTypedCode) return ValueType::text;
    return types[static_cast<std::size_t>(code)];
}

std::string_view withoutBlanks(std::string_view text) noexcept {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

std::string quoted(std::string_view text) {
    constexpr std::size_t most = 40;
    std::string shown = "'";
    for (const char c : text.substr(0, most)) {
        const auto byte = static_cast<unsigned char>(c);
        shown += byte < 0x20 || byte == 0x7f ? '?' : c;
    }
    return shown + (text.size() > most ? "...'" : "'");
}

// --- Reading pairs ---

bool PairReader::nextText(Pair& pair) {
    if (at_ >= end_) return false;
    const char* const begin = bytes_ + at_;
    const char* const end = bytes_ + end_;
    const char* p = begin;
    while (p < end && isBlank(*p)) ++p;
    const bool negative = p < end && *p == '-';
    if (negative) ++p;
    int code = 0;
    int digits = 0;
    while (p < end && *p >= '0' && *p <= '9' && digits <= mostCodeDigits) {
        code = code * 10 + (*p - '0');
        ++digits;
        ++p;
    }
    while (p < end && isBlank(*p)) ++p;
    if (p < end && *p == '\r') ++p;
    const bool lineEnds = p < end && *p == '\n';
    if (digits == 0 || digits > mostCodeDigits || (p < end && !lineEnds)) {
        const auto* lineEnd = static_cast<const char*>(
            std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)));
        std::string_view line(
            begin, static_cast<std::size_t>((lineEnd != nullptr ? lineEnd : end) - begin));
        if (line.ends_with('\r')) line.remove_suffix(1);
        throw Damage(at_, quoted(line) + " stands where a group code is expected");
    }
    if (lineEnds) ++p;
    if (p == end)
        throw Damage(at_, "the file ends behind the group code " + std::to_string(code) +
                              " where its value is expected");
    pair.code = negative ? -code : code;
    pair.begin = at_;
    pair.valueBegin = static_cast<std::uint64_t>(p - bytes_);
    const char* lineEnd = lineEndFrom(p, end);
    at_ = static_cast<std::uint64_t>(lineEnd - bytes_) + (lineEnd < end ? 1 : 0);
    pair.end = at_;
    if (lineEnd > p && lineEnd[-1] == '\r') --lineEnd;
    pair.valueEnd = static_cast<std::uint64_t>(lineEnd - bytes_);
    // The type of a value is asked for only where it matters: texts are most.
    if (checks_ && pair.code >= 10 && pair.code < 1072) {
        const std::string_view value(p, static_cast<std::size_t>(lineEnd - p));
        if (isNumber(valueTypeOf(pair.code)) && !looksLikeNumber(value))
            throw Damage(pair.valueBegin, quoted(value) +
                                              " stands where the number of group code " +
                                              std::to_string(pair.code) + " is expected");
    }
    return true;
}

bool PairReader::nextBinary(Pair& pair) {
    if (at_ >= end_) return false;
    const std::uint64_t begin = at_;
    const auto left = [&] { return end_ - at_; };
    const auto cut = [&](const char* what) {
        return Damage(begin, std::string("the file ends in the middle of ") + what);
    };
    if (form_ == Form::binaryShortCodes) {
        const auto first = static_cast<unsigned char>(bytes_[at_]);
        ++at_;
        pair.code = first;
        if (first == 255) {
            if (left() < 2) throw cut("a group code");
            pair.code = numberAt<std::int16_t>({bytes_ + at_, 2});
            at_ += 2;
        }
    } else {
        if (left() < 2) throw cut("a group code");
        pair.code = numberAt<std::int16_t>({bytes_ + at_, 2});
        at_ += 2;
    }
    pair.begin = begin;
    pair.valueBegin = at_;
    const ValueType type = valueTypeOf(pair.code);
    if (pair.code < -5 || pair.code > 1071) {
        at_ = begin;
        throw Damage(begin, std::to_string(pair.code) + " stands where a group code is expected");
    }
    if (type == ValueType::text) {
        const auto* zero = static_cast<const char*>(std::memchr(bytes_ + at_, 0, left()));
        if (zero == nullptr) throw cut("a text");
        pair.valueEnd = static_cast<std::uint64_t>(zero - bytes_);
        at_ = pair.valueEnd + 1;
    } else if (type == ValueType::chunk) {
        if (left() < 1) throw cut("a chunk of bytes");
        const auto length = static_cast<unsigned char>(bytes_[at_]);
        if (left() < 1U + length) throw cut("a chunk of bytes");
        ++pair.valueBegin;
        at_ += 1U + length;
        pair.valueEnd = at_;
    } else {
        const std::size_t size = sizeOf(type);
        if (left() < size) throw cut("a number");
        at_ += size;
        pair.valueEnd = at_;
    }
    pair.end = at_;
    return true;
}

Opening openingOf(std::string_view bytes) noexcept {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    // A binary file begins with a line of 22 bytes that ends so.
    constexpr std::string_view binaryMark(" Binary DXF\r\n\x1A\0", 15);
    constexpr std::size_t markSize = 22;
    if (bytes.size() >= markSize &&
        bytes.substr(markSize - binaryMark.size(), binaryMark.size()) == binaryMark) {
        // The first pair is 0, SECTION: the second byte is of the code, or of the text. Or it is a
        // comment, 999.
        const std::string_view pairs = bytes.substr(markSize);
        const bool longCodes = pairs.size() < 2 || pairs[1] == 0 || pairs.starts_with("\xE7\x03");
        return {longCodes ? Form::binary : Form::binaryShortCodes, markSize};
    }
    return {Form::text, bytes.starts_with(byteOrderMark) ? byteOrderMark.size() : 0};
}

// --- Values ---

namespace {

// Shortcut: a few digits with a point among them. As a whole number they are exact, and so is the power
// of ten that they are divided by; what is rounded once is rounded rightly. Nothing for what else is
// written there.
std::optional<double> plainNumber(std::string_view text) noexcept {
    constexpr double powers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr std::size_t mostDigits = std::size(powers) - 1;
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    if (text.empty() || text.size() > mostDigits) return std::nullopt;
    std::int64_t digits = 0;
    std::size_t behindPoint = 0;
    bool pointed = false;
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            digits = digits * 10 + (c - '0');
            behindPoint += pointed ? 1 : 0;
        } else if (c == '.' && !pointed) {
            pointed = true;
        } else {
            return std::nullopt;
        }
    }
    if (pointed && text.size() == 1) return std::nullopt;
    const double size = static_cast<double>(digits) / powers[behindPoint];
    return negative ? -size : size;
}

}  // namespace

std::optional<double> numberOf(std::string_view text) noexcept {
    if (const auto number = plainNumber(text)) return number;
    text = withoutBlanks(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end != text.data() + text.size() || text.empty()) return std::nullopt;
    if (error == std::errc::result_out_of_range) {
        // Too small is nothing, too large is infinite; which it is, the exponent's sign tells.
        const std::size_t exponent = text.find_first_of("eE");
        const bool small = exponent != std::string_view::npos
                               ? text.substr(exponent).find('-') != std::string_view::npos
                               : text.find_first_of("123456789") > text.find('.');
        const double size = small ? 0 : std::numeric_limits<double>::infinity();
        return text.starts_with('-') ? -size : size;
    }
    if (error != std::errc()) return std::nullopt;
    return number;
}

std::optional<std::uint64_t> handleOf(std::string_view text) noexcept {
    text = withoutBlanks(text);
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    if (text.empty() || end != text.data() + text.size() || error != std::errc())
        return std::nullopt;
    return number;
}

std::optional<double> Value::real() const noexcept {
    if (form_ == Form::text) return numberOf(raw_);
    switch (valueTypeOf(code_)) {
    case ValueType::real: return numberAt<double>(raw_);
    case ValueType::int16: return numberAt<std::int16_t>(raw_);
    case ValueType::int32: return numberAt<std::int32_t>(raw_);
    case ValueType::int64: return static_cast<double>(numberAt<std::int64_t>(raw_));
    case ValueType::boolean: return static_cast<unsigned char>(raw_[0]);
    case ValueType::text: return numberOf(raw_);
    case ValueType::chunk: return std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::int32_t> Value::integer() const noexcept {
    const std::optional<double> number = real();
    if (!number || std::isnan(*number)) return std::nullopt;
    constexpr double least = std::numeric_limits<std::int32_t>::min();
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(*number, least, most));
}

std::optional<std::uint64_t> Value::handle() const noexcept { return handleOf(raw_); }

std::string_view Value::trimmed() const noexcept { return withoutBlanks(raw_); }

std::string Value::readable() const {
    const ValueType type = valueTypeOf(code_);
    if (form_ == Form::text || type == ValueType::text) return std::string(raw_);
    if (type == ValueType::chunk) {
        constexpr char digits[] = "0123456789ABCDEF";
        std::string text;
        for (const char c : raw_) {
            const auto byte = static_cast<unsigned char>(c);
            text += digits[byte >> 4];
            text += digits[byte & 15];
        }
        return text;
    }
    if (type == ValueType::real) return realText(numberAt<double>(raw_));
    if (type == ValueType::int64) return std::to_string(numberAt<std::int64_t>(raw_));
    return std::to_string(integer().value_or(0));
}

std::string realText(double value) {
    char digits[64];
    // Fixed within reach, else with an exponent: what the format's readers take.
    const double size = std::fabs(value);
    const bool fixed = size == 0 || (size >= 1e-5 && size < 1e16);
    const auto format = fixed ? std::chars_format::fixed : std::chars_format::scientific;
    const char* end = std::to_chars(digits, digits + sizeof digits, value, format).ptr;
    std::string text(digits, static_cast<std::size_t>(end - digits));
    if (!std::isfinite(value)) return text;
    if (text.find('.') == std::string::npos) {
        const std::size_t exponent = text.find('e');
        text.insert(exponent == std::string::npos ? text.size() : exponent, ".0");
    }
    std::ranges::replace(text, 'e', 'E');
    return text;
}

}  // namespace vlisp::refhost::dxf
