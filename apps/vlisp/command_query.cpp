// vlisp query: the entities of a drawing file that options describe. See commands.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/drawing_facts.h"
#include "builtins/wildcard.h"
#include "core/reader.h"
#include "platform/system.h"
#include "platform/text.h"
#include "refhost/commands/command.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <unordered_map>

namespace vlisp::app {
namespace {

using refhost::Box;
using refhost::Drawing;
using refhost::numberText;
using refhost::Point2;
using refhost::dxf::Document;
using refhost::dxf::Pair;
using refhost::dxf::Source;
using refhost::dxf::Span;
using refhost::dxf::Value;
using refhost::dxf::ValueType;
using Json = nlohmann::ordered_json;

// An option that makes no sense: the text says which and why.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// --- Reading the options ---

// Beside an alternative that matches the empty text: whether the expression can be read at all.
bool isExpression(const std::u16string& expression) {
    return wildcard::matchesPlain({}, expression) != wildcard::Answer::notPlain ||
           wildcard::matchesExpression({}, expression + u"|");
}

std::u16string patternOf(const std::string& option, const std::string& text) {
    std::u16string pattern = platform::fromUtf8(text);
    for (const WildcardTranslation& alternative : translateWildcard(pattern))
        if (!alternative.complete || !isExpression(alternative.expression))
            throw UsageError(
                std::string(option).append(": '").append(text).append("' is not a pattern"));
    return pattern;
}

// Behind a backslash the case of a letter has a meaning.
std::u16string upperCasedPattern(std::u16string pattern) {
    bool escaped = false;
    for (char16_t& unit : pattern) {
        if (!escaped) unit = upperCase(unit);
        escaped = unit == u'\\' && !escaped;
    }
    return pattern;
}

template <class Integer> std::optional<Integer> integerOf(std::string_view text) {
    Integer number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::int32_t colourOf(const std::string& text) {
    const std::u16string name = platform::fromUtf8(text);
    if (refhost::sameName(name, u"BYLAYER")) return colourByLayer;
    if (refhost::sameName(name, u"BYBLOCK")) return 0;
    const auto index = integerOf<std::int32_t>(text);
    if (!index || *index < 0 || *index > colourByLayer)
        throw UsageError("--colour: '" + text +
                         "' is no colour; a number from 0 to 256, BYLAYER or BYBLOCK is expected");
    return *index;
}

std::uint64_t handleOfOption(const std::string& text) {
    const auto handle = refhost::dxf::handleOf(text);
    if (!handle)
        throw UsageError("--handle: '" + text + "' is no handle; hexadecimal digits are expected");
    return *handle;
}

Box boxOf(const std::string& option, const std::string& text) {
    std::vector<double> numbers;
    for (std::string_view rest = text;;) {
        const std::size_t comma = rest.find(',');
        const auto number = refhost::dxf::numberOf(rest.substr(0, comma));
        if (!number || !std::isfinite(*number)) break;
        numbers.push_back(*number);
        if (comma == std::string_view::npos) {
            if (numbers.size() != 4) break;
            return Box::between({numbers[0], numbers[1]}, {numbers[2], numbers[3]});
        }
        rest.remove_prefix(comma + 1);
    }
    throw UsageError(option + ": '" + text + "' is no window; X1,Y1,X2,Y2 is expected");
}

// A pattern for the values of a group code.
struct CodePattern {
    int code = 0;
    std::u16string pattern;
    std::optional<double> number;  // the pattern is a number
};

CodePattern codePatternOf(const std::string& text) {
    const std::size_t sign = text.find('=');
    const auto code = integerOf<int>(std::string_view(text).substr(0, sign));
    if (sign == std::string::npos || !code)
        throw UsageError("--code: '" + text + "' is not of the form CODE=PATTERN");
    const std::string value = text.substr(sign + 1);
    return {*code, patternOf("--code", value), refhost::dxf::numberOf(value)};
}

// --- Matching ---

// Whether a name matches one of several patterns; each name is decided about once.
class NamePatterns {
  public:
    NamePatterns(const std::string& option, const std::vector<std::string>& patterns) {
        for (const std::string& pattern : patterns)
            patterns_.push_back(upperCasedPattern(patternOf(option, pattern)));
    }

    // `raw` must outlive this object.
    bool match(const Source& source, std::string_view raw) {
        if (patterns_.empty()) return true;
        const auto [place, isNew] = answers_.try_emplace(raw);
        if (isNew) {
            const std::u16string name = upperCased(source.codec.decode(raw));
            place->second = std::ranges::any_of(patterns_, [&](const std::u16string& pattern) {
                return matchesWildcard(name, pattern);
            });
        }
        return place->second;
    }

  private:
    std::vector<std::u16string> patterns_;
    std::unordered_map<std::string_view, bool> answers_;
};

class Filter {
  public:
    explicit Filter(const QueryOptions& options)
        : types_("--type", options.types), layers_("--layer", options.layers) {
        for (const std::string& text : options.colours) colours_.push_back(colourOf(text));
        for (const std::string& text : options.handles) handles_.push_back(handleOfOption(text));
        for (const std::string& text : options.codes) codes_.push_back(codePatternOf(text));
        for (const std::string& text : options.windows) windows_.push_back(boxOf("--window", text));
        for (const std::string& text : options.crossings)
            crossings_.push_back(boxOf("--crossing", text));
    }

    // What costs least is looked at first.
    bool match(const Document& document, const Drawing& drawing, std::size_t slot,
               const EntityFacts& facts) {
        const Source& source = document.source();
        return types_.match(source, facts.type) && layers_.match(source, facts.layer) &&
               (colours_.empty() || std::ranges::count(colours_, facts.colour) != 0) &&
               (handles_.empty() || hasHandle(facts.handle)) &&
               (codes_.empty() || hasValue(source, document.structure().entities[slot])) &&
               (windows_.empty() || isInside(drawing, slot)) &&
               (crossings_.empty() || isCrossed(drawing, slot));
    }

  private:
    [[nodiscard]] bool hasHandle(std::string_view text) const {
        const auto handle = refhost::dxf::handleOf(text);
        return handle && std::ranges::count(handles_, *handle) != 0;
    }

    [[nodiscard]] bool hasValue(const Source& source, Span span) const {
        auto reader = source.reader(span);
        Pair pair;
        while (reader.next(pair))
            for (const CodePattern& wanted : codes_)
                if (wanted.code == pair.code && matches(source, pair, wanted)) return true;
        return false;
    }

    static bool matches(const Source& source, const Pair& pair, const CodePattern& wanted) {
        const ValueType type = refhost::dxf::valueTypeOf(pair.code);
        if (type == ValueType::text) return matchesWildcard(source.text(pair), wanted.pattern);
        const Value value = source.value(pair);
        if (isNumber(type) && wanted.number) return value.real() == wanted.number;
        return matchesWildcard(TrimBlanks(platform::fromUtf8(value.readable())), wanted.pattern);
    }

    [[nodiscard]] bool isInside(const Drawing& drawing, std::size_t slot) const {
        const auto object = drawing.at(static_cast<int>(slot));
        return std::ranges::any_of(windows_, [&](const Box& box) {
            return refhost::inside(*object, box, drawing.blockLookup());
        });
    }

    [[nodiscard]] bool isCrossed(const Drawing& drawing, std::size_t slot) const {
        const auto object = drawing.at(static_cast<int>(slot));
        return std::ranges::any_of(crossings_, [&](const Box& box) {
            return refhost::crosses(*object, box, drawing.blockLookup());
        });
    }

    NamePatterns types_;
    NamePatterns layers_;
    std::vector<std::int32_t> colours_;
    std::vector<std::uint64_t> handles_;
    std::vector<CodePattern> codes_;
    std::vector<Box> windows_;
    std::vector<Box> crossings_;
};

// --- For people ---

std::string text(double number) { return platform::toUtf8(numberText(number)); }

std::string place(const mmPoint& point) { return shown(Point2{point.x, point.y}); }

std::string shownText(const VmDbString& string) {
    constexpr std::size_t most = 60;
    const std::u16string_view whole(string.units(), string.length());
    return "\"" + shown(whole.substr(0, most)) + (whole.size() > most ? "...\"" : "\"");
}

std::string degrees(double radians) { return text(radians * 180 / std::numbers::pi); }

// What tells most of an object of its kind, after its first point.
std::string particulars(const VmDbObject& object) {
    if (dynamic_cast<const VmDbLine*>(&object) != nullptr)
        return (object.points.count > 1 ? " to " + place(object.points.points[1]) : "") +
               "  length " + text(refhost::length(object));
    if (const auto* circle = dynamic_cast<const VmDbCircle*>(&object))
        return "  radius " + text(circle->radius);
    if (const auto* arc = dynamic_cast<const VmDbArc*>(&object))
        return "  radius " + text(arc->radius) + "  from " + degrees(arc->startAngle) + " to " +
               degrees(arc->endAngle) + " degrees";
    if (const auto* string = dynamic_cast<const VmDbText*>(&object))
        return "  height " + text(string->height) + "  " + shownText(string->text);
    if (const auto* insert = dynamic_cast<const VmDbBlockRef*>(&object)) {
        std::string words = "  block " + shown(insert->blockName.units());
        if (insert->xScale != 1 || insert->yScale != 1)
            words += "  scales " + text(insert->xScale) + "," + text(insert->yScale);
        if (insert->rotation != 0) words += "  turned " + text(insert->rotation) + " degrees";
        return words;
    }
    return {};
}

std::string describe(const Source& source, Span span, const VmDbObject& object, const Box& box) {
    if (const auto* polyline = dynamic_cast<const VmDb2DPolyline*>(&object))
        return (box.isEmpty() ? "" : "in " + shown(box) + "  ") +
               std::to_string(polyline->points.count) + " vertices" +
               (polyline->closed != 0 ? ", closed" : "") + "  length " +
               text(refhost::length(object));
    if (object.points.count > 0) {
        const bool isLine = dynamic_cast<const VmDbLine*>(&object) != nullptr;
        return (isLine ? "" : "at ") + place(object.points.points[0]) + particulars(object);
    }
    if (!box.isEmpty()) return "in " + shown(box);
    // A kind whose look is not known: the first point that its record has.
    const std::vector<refhost::dxf::Record> records = recordsOf(source, span);
    const std::size_t x = records.front().find(10);
    const std::size_t y = records.front().find(20);
    if (x == refhost::dxf::Record::npos || y == refhost::dxf::Record::npos) return {};
    return "at " + shown(Point2{source.value(records.front().pairs[x]).real().value_or(0),
                                source.value(records.front().pairs[y]).real().value_or(0)});
}

std::string lineOfEntity(const Source& source, Span span, const EntityFacts& facts,
                         const VmDbObject& object, const Box& box) {
    const std::string handle =
        facts.handle.empty() ? "-" : shown(source.codec.decode(facts.handle));
    std::string line = padded(handle, 6) + "  " +
                       padded(shown(source.codec.decode(facts.type)), 10) + "  " +
                       padded(shown(source.codec.decode(facts.layer)), 12) + "  " +
                       describe(source, span, object, box);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

// --- For programs ---

Json valueOf(const Source& source, const Pair& pair) {
    const Value value = source.value(pair);
    const ValueType type = refhost::dxf::valueTypeOf(pair.code);
    if (type == ValueType::text) return platform::toUtf8(source.text(pair));
    if (!isNumber(type)) return platform::toUtf8(platform::fromUtf8(value.readable()));
    if (type != ValueType::real) {
        std::string digits = value.readable();
        std::erase_if(digits, [](char c) { return c == ' ' || c == '\t' || c == '+'; });
        if (const auto number = integerOf<std::int64_t>(digits)) return *number;
    }
    return value.real().value_or(0);  // what is not finite becomes null
}

Json asJson(const Source& source, Span span, const EntityFacts& facts, const Box& box) {
    Json pairs = Json::array();
    auto reader = source.reader(span);
    Pair pair;
    while (reader.next(pair)) pairs.push_back(Json::array({pair.code, valueOf(source, pair)}));
    Json extents;
    if (!box.isEmpty()) extents = {box.left, box.bottom, box.right, box.top};
    const auto decoded = [&](std::string_view raw) {
        return platform::toUtf8(source.codec.decode(raw));
    };
    return {{"handle", facts.handle.empty() ? Json() : Json(decoded(facts.handle))},
            {"type", decoded(facts.type)},
            {"layer", decoded(facts.layer)},
            {"colour", facts.colour},
            {"extents", std::move(extents)},
            {"pairs", std::move(pairs)}};
}

// --- The whole ---

// Returns how many entities match.
std::size_t writeMatches(const Document& document, Filter& filter, const QueryOptions& options) {
    Drawing drawing;
    document.fill(drawing);
    const Source& source = document.source();
    const std::vector<Span>& entities = document.structure().entities;
    std::size_t count = 0;
    std::string out;
    for (std::size_t slot = 0; slot < entities.size(); ++slot) {
        const Span span = entities[slot];
        const EntityFacts facts = factsOf(source, span);
        if (!filter.match(document, drawing, slot, facts)) continue;
        ++count;
        if (options.count) continue;
        const auto object = drawing.at(static_cast<int>(slot));
        const Box box = drawing.extentOf(*object);
        out += options.json ? asJson(source, span, facts, box).dump()
                            : lineOfEntity(source, span, facts, *object, box);
        out += '\n';
        constexpr std::size_t enough = 65536;
        if (out.size() < enough) continue;
        writeText(out);
        out.clear();
    }
    if (options.count) out = std::to_string(count) + "\n";
    if (!out.empty()) writeText(out);
    return count;
}

}  // namespace

int queryDrawing(const QueryOptions& options) {
    std::optional<Filter> filter;
    try {
        filter.emplace(options);
    } catch (const UsageError& error) {
        writeError(std::string("vlisp: ") + error.what());
        return exitUsage;
    }
    return withDrawingFile(options.path, options.recover, [&](const auto& document) {
        for (const std::string& problem : document->problems()) writeError("vlisp: " + problem);
        std::size_t count = 0;
        // Patterns with the syntax of regular expressions want much of it, at each match.
        constexpr std::size_t stack = std::size_t{32} << 20;
        platform::withStack(stack, [&] { count = writeMatches(*document, *filter, options); });
        return exitCodeOfOutput(count > 0 ? exitOk : exitError);
    });
}

}  // namespace vlisp::app
