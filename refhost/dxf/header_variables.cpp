// Header variables. See header_variables.h.
#include "refhost/dxf/header_variables.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace vlisp::refhost::dxf {
namespace {

constexpr std::string_view always = "AC1009";

// clang-format off
constexpr HeaderRow rows[] = {
    {"ANGBASE", 50, always},   {"ANGDIR", 70, always},    {"AUNITS", 70, always},
    {"AUPREC", 70, always},    {"CECOLOR", 62, always},   {"CELTYPE", 6, always},
    {"CELWEIGHT", 370, "AC1015"}, {"CHAMFERA", 40, always}, {"CHAMFERB", 40, always},
    {"CLAYER", 8, always},     {"DIMASZ", 40, always},    {"DIMSCALE", 40, always},
    {"DIMTXT", 40, always},    {"ELEVATION", 40, always}, {"FILLETRAD", 40, always},
    {"INSBASE", 10, always},   {"INSUNITS", 70, "AC1015"}, {"LIMCHECK", 70, always},
    {"LIMMAX", 10, always},    {"LIMMIN", 10, always},    {"LTSCALE", 40, always},
    {"LUNITS", 70, always},    {"LUPREC", 70, always},    {"MEASUREMENT", 70, "AC1014"},
    {"MIRRTEXT", 70, always},  {"ORTHOMODE", 70, always}, {"PDMODE", 70, always},
    {"PDSIZE", 40, always},    {"PLINEWID", 40, always},  {"PSLTSCALE", 70, always},
    {"REGENMODE", 70, always}, {"TEXTSIZE", 40, always},  {"TEXTSTYLE", 7, always},
    {"THICKNESS", 40, always}, {"TILEMODE", 70, always},
    {"USERI1", 70, always}, {"USERI2", 70, always}, {"USERI3", 70, always},
    {"USERI4", 70, always}, {"USERI5", 70, always},
    {"USERR1", 40, always}, {"USERR2", 40, always}, {"USERR3", 40, always},
    {"USERR4", 40, always}, {"USERR5", 40, always},
};
// clang-format on

std::u16string wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// The colour that is drawn with, as a number of the file: 0 by block, 256 by layer.
std::int32_t colourNumber(const std::u16string& text) {
    if (text == u"BYBLOCK") return 0;
    std::int32_t number = 0;
    for (const char16_t digit : text) {
        if (digit < u'0' || digit > u'9') return 256;
        number = number * 10 + (digit - u'0');
    }
    return number;
}

std::u16string colourText(std::int32_t number) {
    if (number == 0) return u"BYBLOCK";
    return number < 1 || number > 255 ? u"BYLAYER" : wide(std::to_string(number));
}

// Angles are degrees in files.
double inFile(const HeaderRow& row, double number) {
    return row.code == 50 ? number * 180 / std::numbers::pi : number;
}

template <class Use> void forEachNumber(const HeaderRow& row, const Variables& variables, Use use) {
    const std::u16string name = wide(row.name);
    switch (Variables::find(name)->type) {
    case VariableType::Integer: use(row.code, variables.integer(name)); break;
    case VariableType::Real: use(row.code, inFile(row, variables.real(name))); break;
    case VariableType::Text: use(row.code, colourNumber(variables.text(name))); break;
    case VariableType::Point:
    case VariableType::PlanePoint: {
        const VariablePoint point = variables.point(name);
        use(10, point.x);
        use(20, point.y);
        if (Variables::find(name)->type == VariableType::Point) use(30, point.z);
    }
    }
}

bool isPlainText(const HeaderRow& row) { return valueTypeOf(row.code) == ValueType::text; }

}  // namespace

std::span<const HeaderRow> headerRows() noexcept { return rows; }

void loadVariable(const HeaderRow& row, const Source& source, Span values, Variables& variables) {
    const std::u16string name = wide(row.name);
    const VariableType type = Variables::find(name)->type;
    VariablePoint point;
    PairReader reader = source.reader(values);
    Pair pair;
    bool found = false;
    while (reader.next(pair)) {
        const Value value = source.value(pair);
        if (isPlainText(row)) {
            if (pair.code == row.code) variables.storeText(name, source.text(pair));
            continue;
        }
        const double number = value.real().value_or(0);
        if (pair.code == row.code) {
            found = true;
            if (type == VariableType::Integer)
                variables.storeInt(name, value.integer().value_or(0));
            if (type == VariableType::Real)
                variables.storeReal(name,
                                    row.code == 50 ? number * std::numbers::pi / 180 : number);
            if (type == VariableType::Text)
                variables.storeText(name, colourText(value.integer().value_or(256)));
        }
        if (pair.code == 10) point.x = number;
        if (pair.code == 20) point.y = number;
        if (pair.code == 30) point.z = number;
    }
    const bool isPoint = type == VariableType::Point || type == VariableType::PlanePoint;
    if (isPoint && found) variables.storePoint(name, point);
}

std::string variablePairs(const HeaderRow& row, const Target& target, const Variables& variables) {
    std::string out;
    const std::string name = "$" + std::string(row.name);
    appendText(out, target.style, 9, name);
    if (isPlainText(row)) {
        appendText(out, target.style, row.code,
                   target.source.codec.encode(variables.text(wide(row.name))));
        return out;
    }
    forEachNumber(row, variables, [&](int code, double number) {
        if (valueTypeOf(code) == ValueType::real) appendReal(out, target.style, code, number);
        else appendInteger(out, target.style, code, static_cast<std::int64_t>(number));
    });
    return out;
}

std::vector<Change> variableChanges(const HeaderRow& row, const Target& target, Span values,
                                    const Variables& variables) {
    std::vector<Change> changes;
    const Source& source = target.source;
    std::vector<Pair> pairs;
    PairReader reader = source.reader(values);
    Pair pair;
    while (reader.next(pair)) pairs.push_back(pair);
    // The last one of a code counts.
    const auto put = [&](int code, auto bytesLike, auto append) {
        const auto found = std::find_if(pairs.rbegin(), pairs.rend(),
                                        [&](const Pair& other) { return other.code == code; });
        if (found != pairs.rend()) {
            changes.push_back(
                {{found->valueBegin, found->valueEnd}, bytesLike(source.value(*found))});
            return;
        }
        std::string bytes;
        append(bytes);
        changes.push_back({{values.end, values.end}, std::move(bytes)});
    };
    if (isPlainText(row)) {
        const std::u16string text = variables.text(wide(row.name));
        put(
            row.code, [&](const Value& old) { return source.codec.encode(text, old.raw()); },
            [&](std::string& out) {
                appendText(out, target.style, row.code, source.codec.encode(text));
            });
        return changes;
    }
    forEachNumber(row, variables, [&](int code, double number) {
        const bool isReal = valueTypeOf(code) == ValueType::real;
        const auto whole = static_cast<std::int64_t>(number);
        put(
            code,
            [&](const Value& old) {
                if (old.real() == number) return std::string(old.raw());
                return isReal ? realLike(old, source.form, code, number)
                              : integerLike(old, source.form, code, whole);
            },
            [&](std::string& out) {
                if (isReal) appendReal(out, target.style, code, number);
                else appendInteger(out, target.style, code, whole);
            });
    });
    return changes;
}

}  // namespace vlisp::refhost::dxf
