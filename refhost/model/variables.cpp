// The table of the system variables and what is done by it. See variables.h.
#include "refhost/model/variables.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace vlisp::refhost {
namespace {

using namespace std::string_view_literals;
using enum VariableType;
using enum VariableAccess;
using enum VariableHome;

constexpr VariableLimits anything;
constexpr VariableLimits notNegative{.low = 0};
constexpr VariableLimits positive{.low = 0, .aboveLow = true};
constexpr VariableLimits symbolName{.form = TextForm::Name};
constexpr VariableLimits colour{.form = TextForm::Colour};

constexpr VariableLimits between(int low, int high) {
    return {.low = static_cast<double>(low), .high = static_cast<double>(high)};
}

constexpr VariableLimits oneOf(std::span<const int> choices) { return {.choices = choices}; }

constexpr int lineWeights[] = {-3, -2, -1, 0,  5,  9,  13,  15,  18,  20,  25,  30,  35, 40,
                               50, 53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
constexpr int pointModes[] = {0,  1,  2,  3,  4,  32, 33, 34, 35, 36,
                              64, 65, 66, 67, 68, 96, 97, 98, 99, 100};

// name, type, access, home, limits, default, and on the next line the help. In the order of the
// names: find() searches by halves.
// clang-format off
constexpr VariableRow table[] = {
    {"ANGBASE", Real, Settable, Drawing, anything, 0.0,
     "Direction of angle 0, in radians."},
    {"ANGDIR", Integer, Settable, Drawing, between(0, 1), 0,
     "Angles grow: 0 counter-clockwise, 1 clockwise."},
    {"APERTURE", Integer, Settable, Session, between(1, 50), 10,
     "Half the height of the object snap target, in pixels."},
    {"ATTDIA", Integer, Settable, Session, between(0, 1), 0,
     "Attribute values of an insertion: 0 at the prompt, 1 in a dialogue."},
    {"ATTREQ", Integer, Settable, Session, between(0, 1), 1,
     "An insertion asks for attribute values: 0 no, 1 yes."},
    {"AUNITS", Integer, Settable, Drawing, between(0, 4), 0,
     "Angles shown as: 0 degrees, 1 deg/min/sec, 2 grads, 3 radians, 4 surveyor's."},
    {"AUPREC", Integer, Settable, Drawing, between(0, 8), 0,
     "Decimals of shown angles."},
    {"BLIPMODE", Integer, Settable, Session, between(0, 1), 0,
     "Marks where points are picked: 0 no, 1 yes."},
    {"CDATE", Real, ReadOnly, Session, notNegative, 0.0,
     "Date and time as a number: YYYYMMDD.HHMMSSmmm."},
    {"CECOLOR", Text, Settable, Drawing, colour, u"BYLAYER"sv,
     "Colour of new objects: BYLAYER, BYBLOCK or 1 to 255."},
    {"CELTYPE", Text, Settable, Drawing, symbolName, u"BYLAYER"sv,
     "Line type of new objects."},
    {"CELWEIGHT", Integer, Settable, Drawing, oneOf(lineWeights), -1,
     "Line weight of new objects, in 1/100 mm; -1 by layer, -2 by block, -3 default."},
    {"CHAMFERA", Real, Settable, Drawing, notNegative, 0.0,
     "First distance of a chamfer."},
    {"CHAMFERB", Real, Settable, Drawing, notNegative, 0.0,
     "Second distance of a chamfer."},
    {"CIRCLERAD", Real, Settable, Session, notNegative, 0.0,
     "Radius offered for a circle; 0 for none."},
    {"CLAYER", Text, Settable, Drawing, symbolName, u"0"sv,
     "The current layer."},
    {"CMDACTIVE", Integer, ReadOnly, Session, between(0, 127), 0,
     "What is active: 1 a command, 2 transparent, 4 script, 8 dialogue; a sum."},
    {"CMDDIA", Integer, Settable, Session, between(0, 1), 1,
     "Commands open dialogues: 0 no, 1 yes."},
    {"CMDECHO", Integer, Settable, Session, between(0, 1), 1,
     "Shows prompts while a program runs commands: 0 no, 1 yes."},
    {"CMDNAMES", Text, ReadOnly, Session, anything, u""sv,
     "Name of the active command."},
    {"DATE", Real, ReadOnly, Session, notNegative, 0.0,
     "Date and time as a Julian day and its fraction."},
    {"DELOBJ", Integer, Settable, Session, between(-2, 3), 1,
     "Objects that others are made from: 0 stay, others erased."},
    {"DIMASZ", Real, Settable, Drawing, notNegative, 2.5,
     "Size of dimension arrows."},
    {"DIMSCALE", Real, Settable, Drawing, notNegative, 1.0,
     "Scale of all sizes of a dimension."},
    {"DIMTXT", Real, Settable, Drawing, positive, 2.5,
     "Height of dimension texts."},
    {"DRAGMODE", Integer, Settable, Session, between(0, 2), 2,
     "Shows objects while dragged: 0 never, 1 when asked, 2 always."},
    {"DWGNAME", Text, ReadOnly, Session, anything, u"Drawing1"sv,
     "Name of the drawing."},
    {"DWGPREFIX", Text, ReadOnly, Session, anything, u""sv,
     "Folder of the drawing."},
    {"ELEVATION", Real, Settable, Drawing, anything, 0.0,
     "Height of new objects above the plane."},
    {"ERRNO", Integer, Settable, Session, notNegative, 0,
     "Number of the last error of a function; programs set it to 0."},
    {"EXPERT", Integer, Settable, Session, between(0, 5), 0,
     "Questions left out: 0 none, to 5 all."},
    {"EXTMAX", Point, ReadOnly, Drawing, anything, VariablePoint{-1e20, -1e20, -1e20},
     "Upper right corner of all that is drawn; below EXTMIN when nothing is."},
    {"EXTMIN", Point, ReadOnly, Drawing, anything, VariablePoint{1e20, 1e20, 1e20},
     "Lower left corner of all that is drawn."},
    {"FILEDIA", Integer, Settable, Session, between(0, 1), 1,
     "File names asked for: 0 at the prompt, 1 in a dialogue."},
    {"FILLETRAD", Real, Settable, Drawing, notNegative, 0.0,
     "Radius of a fillet."},
    {"GRIDMODE", Integer, Settable, Drawing, between(0, 1), 0,
     "The grid: 0 off, 1 on."},
    {"HIGHLIGHT", Integer, Settable, Session, between(0, 1), 1,
     "Highlights selected objects: 0 no, 1 yes."},
    {"INSBASE", Point, Settable, Drawing, anything, VariablePoint{},
     "Base point of the drawing when it is inserted."},
    {"INSUNITS", Integer, Settable, Drawing, between(0, 24), 4,
     "Unit of the drawing: 0 none, 1 inches, 4 millimetres, 5 centimetres, 6 metres."},
    {"LASTPOINT", Point, Settable, Session, anything, VariablePoint{},
     "The point entered last."},
    {"LIMCHECK", Integer, Settable, Drawing, between(0, 1), 0,
     "Refuses points outside the limits: 0 no, 1 yes."},
    {"LIMMAX", PlanePoint, Settable, Drawing, anything, VariablePoint{420, 297},
     "Upper right corner of the limits."},
    {"LIMMIN", PlanePoint, Settable, Drawing, anything, VariablePoint{},
     "Lower left corner of the limits."},
    {"LOCALE", Text, ReadOnly, Session, anything, u"en"sv,
     "Language of the host."},
    {"LTSCALE", Real, Settable, Drawing, positive, 1.0,
     "Scale of all line types."},
    {"LUNITS", Integer, Settable, Drawing, between(1, 5), 2,
     "Lengths shown as: 1 scientific, 2 decimal, 3 and 4 feet and inches, 5 fractions."},
    {"LUPREC", Integer, Settable, Drawing, between(0, 8), 4,
     "Decimals of shown lengths."},
    {"MEASUREMENT", Integer, Settable, Drawing, between(0, 1), 1,
     "Patterns and line types: 0 imperial, 1 metric."},
    {"MILLISECS", Integer, ReadOnly, Session, anything, 0,
     "Milliseconds since the system started."},
    {"MIRRTEXT", Integer, Settable, Drawing, between(0, 1), 0,
     "Mirrored texts: 0 stay readable, 1 are mirrored."},
    {"OFFSETDIST", Real, Settable, Session, anything, 1.0,
     "Distance of an offset; negative: through a point."},
    {"ORTHOMODE", Integer, Settable, Drawing, between(0, 1), 0,
     "Keeps lines horizontal or vertical: 0 no, 1 yes."},
    {"OSMODE", Integer, Settable, Session, between(0, 32767), 37,
     "Object snaps, a sum: 1 end, 2 middle, 4 centre, 32 intersection; 16384 all off."},
    {"PDMODE", Integer, Settable, Drawing, oneOf(pointModes), 0,
     "Shape of points: 0 to 4, and 32 with a circle, 64 with a square."},
    {"PDSIZE", Real, Settable, Drawing, anything, 0.0,
     "Size of points; 0 or negative: in percent of the view."},
    {"PICKADD", Integer, Settable, Session, between(0, 2), 1,
     "What is picked: 0 replaces the selection, 1 and 2 adds to it."},
    {"PICKBOX", Integer, Settable, Session, between(0, 50), 3,
     "Half the height of the pick box, in pixels."},
    {"PICKFIRST", Integer, Settable, Session, between(0, 1), 1,
     "Selects before a command: 0 no, 1 yes."},
    {"PLATFORM", Text, ReadOnly, Session, anything, u"Reference host"sv,
     "The system that the host runs on."},
    {"PLINETYPE", Integer, Settable, Session, between(0, 2), 2,
     "Polylines: 0 old kind, 1 new kind, 2 new kind and old ones converted."},
    {"PLINEWID", Real, Settable, Drawing, notNegative, 0.0,
     "Width of new polylines."},
    {"PSLTSCALE", Integer, Settable, Drawing, between(0, 1), 1,
     "Line types scale with a view on paper: 0 no, 1 yes."},
    {"REGENMODE", Integer, Settable, Drawing, between(0, 1), 1,
     "Regenerates by itself: 0 no, 1 yes."},
    {"SCREENSIZE", PlanePoint, ReadOnly, Session, notNegative, VariablePoint{1024, 768},
     "Size of the view, in pixels."},
    {"SNAPMODE", Integer, Settable, Drawing, between(0, 1), 0,
     "Snaps to the grid of SNAPUNIT: 0 no, 1 yes."},
    {"SNAPUNIT", PlanePoint, Settable, Drawing, positive, VariablePoint{10, 10},
     "Spacing of the snap grid."},
    {"TEXTEVAL", Integer, Settable, Session, between(0, 1), 0,
     "Evaluates LISP typed for a text: 0 no, 1 yes."},
    {"TEXTSIZE", Real, Settable, Drawing, positive, 2.5,
     "Height of new texts."},
    {"TEXTSTYLE", Text, Settable, Drawing, symbolName, u"Standard"sv,
     "Style of new texts."},
    {"THICKNESS", Real, Settable, Drawing, anything, 0.0,
     "Thickness of new objects."},
    {"TILEMODE", Integer, Settable, Drawing, between(0, 1), 1,
     "Shows: 0 the paper, 1 the model."},
    {"UNDOCTL", Integer, ReadOnly, Session, between(0, 63), 5,
     "Undo, a sum: 1 on, 2 one step only, 4 menus grouped, 8 a group is open."},
    {"USERI1", Integer, Settable, Drawing, anything, 0,
     "An integer for programs, saved."},
    {"USERI2", Integer, Settable, Drawing, anything, 0,
     "An integer for programs, saved."},
    {"USERI3", Integer, Settable, Drawing, anything, 0,
     "An integer for programs, saved."},
    {"USERI4", Integer, Settable, Drawing, anything, 0,
     "An integer for programs, saved."},
    {"USERI5", Integer, Settable, Drawing, anything, 0,
     "An integer for programs, saved."},
    {"USERR1", Real, Settable, Drawing, anything, 0.0,
     "A real for programs, saved."},
    {"USERR2", Real, Settable, Drawing, anything, 0.0,
     "A real for programs, saved."},
    {"USERR3", Real, Settable, Drawing, anything, 0.0,
     "A real for programs, saved."},
    {"USERR4", Real, Settable, Drawing, anything, 0.0,
     "A real for programs, saved."},
    {"USERR5", Real, Settable, Drawing, anything, 0.0,
     "A real for programs, saved."},
    {"USERS1", Text, Settable, Session, anything, u""sv,
     "A text for programs, not saved."},
    {"USERS2", Text, Settable, Session, anything, u""sv,
     "A text for programs, not saved."},
    {"USERS3", Text, Settable, Session, anything, u""sv,
     "A text for programs, not saved."},
    {"USERS4", Text, Settable, Session, anything, u""sv,
     "A text for programs, not saved."},
    {"USERS5", Text, Settable, Session, anything, u""sv,
     "A text for programs, not saved."},
    {"VIEWCTR", PlanePoint, ReadOnly, Drawing, anything, VariablePoint{210, 148.5},
     "Centre of the view."},
    {"VIEWSIZE", Real, ReadOnly, Drawing, positive, 297.0,
     "Height of the view."},
};
// clang-format on

constexpr std::size_t alternativeOf(VariableType type) {
    switch (type) {
    case Integer: return 0;
    case Real: return 1;
    case Text: return 2;
    case Point:
    case PlanePoint: break;
    }
    return 3;
}

constexpr bool ascending() {
    return std::ranges::adjacent_find(table, std::ranges::greater_equal(), &VariableRow::name) ==
           std::end(table);
}

constexpr bool defaultsHaveTheirTypes() {
    return std::ranges::all_of(table, [](const VariableRow& row) {
        return row.standard.index() == alternativeOf(row.type);
    });
}

constexpr std::size_t longestName =
    std::ranges::max(table, {}, [](const VariableRow& row) { return row.name.size(); }).name.size();

static_assert(ascending(), "the rows stand in the order of their names, each name once");
static_assert(defaultsHaveTheirTypes());

// GETVAR's buffer has 32,768 units: room for the quotes is left.
constexpr std::size_t longestOfPrograms = 255;
constexpr std::size_t longestOfHost = 30000;

constexpr std::size_t longestText(const VariableRow& row) {
    return row.access == ReadOnly ? longestOfHost : longestOfPrograms;
}

constexpr char16_t upper(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

constexpr bool beyondAscii(char16_t unit) { return unit >= 0x80; }

constexpr std::size_t indexOf(const VariableRow& row) {
    return static_cast<std::size_t>(&row - std::begin(table));
}

VariableValue defaultOf(const VariableRow& row) {
    return std::visit(
        [](const auto& value) -> VariableValue {
            if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::u16string_view>)
                return std::u16string(value);
            else return value;
        },
        row.standard);
}

// --- What a variable takes ---

bool within(const VariableLimits& limits, double number) {
    if (!std::isfinite(number) || number < limits.low || number > limits.high) return false;
    return !limits.aboveLow || number > limits.low;
}

// A program's text is read back between double quotes, and a control character ends a line of a
// saved drawing.
constexpr bool belongsInText(char16_t unit) {
    const bool control = unit < 0x20 || (unit >= 0x7f && unit < 0xa0);
    return unit != u'"' && !control;
}

std::optional<std::u16string> colourName(std::u16string_view text) {
    std::u16string name(text);
    std::ranges::transform(name, name.begin(), upper);
    if (name == u"BYLAYER" || name == u"BYBLOCK") return name;
    if (name.empty() || name.size() > 3) return std::nullopt;
    int number = 0;
    for (const char16_t unit : name) {
        if (unit < u'0' || unit > u'9') return std::nullopt;
        number = number * 10 + (unit - u'0');
    }
    if (name.front() == u'0' || number > 255) return std::nullopt;
    return name;
}

std::optional<std::u16string> takenText(const VariableRow& row, std::u16string_view text) {
    if (text.size() > longestText(row) || !std::ranges::all_of(text, belongsInText))
        return std::nullopt;
    switch (row.limits.form) {
    case TextForm::Colour: return colourName(text);
    case TextForm::Name:
        if (text.empty()) return std::nullopt;
        break;
    case TextForm::Any: break;
    }
    return std::u16string(text);
}

// One coordinate, with blanks around it or not. The whole text must be the number.
std::optional<double> coordinate(std::string_view text) {
    while (text.starts_with(' ')) text.remove_prefix(1);
    while (text.ends_with(' ')) text.remove_suffix(1);
    double number = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return number;
}

std::optional<VariablePoint> pointOf(std::u16string_view text) {
    if (text.size() > longestOfPrograms || std::ranges::any_of(text, beyondAscii))
        return std::nullopt;
    std::string ascii(text.size(), ' ');
    std::ranges::transform(text, ascii.begin(),
                           [](char16_t unit) { return static_cast<char>(unit); });
    std::array<double, 3> numbers{};
    std::size_t count = 0;
    for (std::string_view rest = ascii;;) {
        const std::size_t comma = rest.find(',');
        const auto number = coordinate(rest.substr(0, comma));
        if (!number || count == numbers.size()) return std::nullopt;
        numbers[count++] = *number;
        if (comma == std::string_view::npos) break;
        rest.remove_prefix(comma + 1);
    }
    if (count < 2) return std::nullopt;
    return VariablePoint{numbers[0], numbers[1], numbers[2]};
}

std::optional<VariablePoint> takenPoint(const VariableRow& row, VariablePoint point) {
    if (row.type == PlanePoint) {
        if (!within(row.limits, point.x) || !within(row.limits, point.y)) return std::nullopt;
        point.z = 0;
        return point;
    }
    for (const double number : {point.x, point.y, point.z})
        if (!within(row.limits, number)) return std::nullopt;
    return point;
}

// What the variable holds when it is offered `offered`; nothing when it refuses.
std::optional<VariableValue> taken(const VariableRow& row, const VariableValue& offered) {
    const int* integer = std::get_if<int>(&offered);
    const double* real = std::get_if<double>(&offered);
    const std::u16string* text = std::get_if<std::u16string>(&offered);
    const VariablePoint* point = std::get_if<VariablePoint>(&offered);
    switch (row.type) {
    case Integer:
        if (integer == nullptr || !within(row.limits, *integer)) return std::nullopt;
        if (!row.limits.choices.empty() &&
            std::ranges::find(row.limits.choices, *integer) == row.limits.choices.end())
            return std::nullopt;
        return *integer;
    case Real: {
        if (integer == nullptr && real == nullptr) return std::nullopt;
        const double number = integer != nullptr ? *integer : *real;
        if (!within(row.limits, number)) return std::nullopt;
        return number;
    }
    case Text:
        if (text == nullptr) return std::nullopt;
        if (auto kept = takenText(row, *text)) return *std::move(kept);
        return std::nullopt;
    case Point:
    case PlanePoint: {
        std::optional<VariablePoint> given;
        if (point != nullptr) given = *point;
        if (text != nullptr) given = pointOf(*text);
        if (given) given = takenPoint(row, *given);
        if (given) return *given;
        return std::nullopt;
    }
    }
    return std::nullopt;
}

// What the host computes may hold anything, a file's name for example.
void clean(std::u16string& text, std::size_t longest) {
    if (text.size() > longest) {
        text.resize(longest);
        if (text.back() >= 0xd800 && text.back() < 0xdc00) text.pop_back();
    }
    std::ranges::replace_if(
        text, [](char16_t unit) { return !belongsInText(unit); }, u'?');
}

// --- Values as texts ---

std::u16string integerText(int number) {
    std::array<char, 16> digits{};
    const auto written = std::to_chars(digits.begin(), digits.end(), number);
    return {digits.begin(), written.ptr};
}

std::u16string realText(double number) {
    constexpr int decimals = 8;
    std::array<char, 340> digits{};  // 309 digits of the greatest number, sign, point, decimals
    const auto written =
        std::to_chars(digits.begin(), digits.end(), number, std::chars_format::fixed, decimals);
    std::string_view text(digits.begin(), static_cast<std::size_t>(written.ptr - digits.begin()));
    text.remove_suffix(text.size() - 1 - text.find_last_not_of('0'));
    std::u16string result(text.begin(), text.end());
    if (result.ends_with(u'.')) result.push_back(u'0');
    // A number too small for eight decimals is 0, and 0 has no sign.
    if (result == u"-0.0") result.erase(0, 1);
    return result;
}

std::u16string textOf(VariableType type, const VariableValue& value) {
    switch (type) {
    case Integer: return integerText(std::get<int>(value));
    case Real: return realText(std::get<double>(value));
    case Text: return u'"' + std::get<std::u16string>(value) + u'"';
    case Point:
    case PlanePoint: break;
    }
    const auto& point = std::get<VariablePoint>(value);
    std::u16string text = realText(point.x) + u',' + realText(point.y);
    if (type == Point) text += u',' + realText(point.z);
    return text;
}

}  // namespace

std::span<const VariableRow> Variables::rows() noexcept { return table; }

const VariableRow* Variables::find(std::u16string_view name) noexcept {
    std::array<char, longestName> folded{};
    if (name.size() > folded.size() || std::ranges::any_of(name, beyondAscii)) return nullptr;
    std::ranges::transform(name, folded.begin(),
                           [](char16_t unit) { return static_cast<char>(upper(unit)); });
    const std::string_view wanted(folded.data(), name.size());
    const VariableRow* row = std::ranges::lower_bound(table, wanted, {}, &VariableRow::name);
    return row != std::end(table) && row->name == wanted ? row : nullptr;
}

Variables::Variables() {
    slots_.reserve(std::size(table));
    for (const VariableRow& row : table) slots_.push_back({defaultOf(row), {}, {}});
}

void Variables::resetDrawing() {
    for (const VariableRow& row : table)
        if (row.home == Drawing) slots_[indexOf(row)].stored = defaultOf(row);
}

// --- Reading ---

VariableValue Variables::value(const VariableRow& row) const {
    const Slot& slot = slots_[indexOf(row)];
    if (!slot.provider) return slot.stored;
    VariableValue computed = slot.provider();
    if (auto* text = std::get_if<std::u16string>(&computed)) clean(*text, longestText(row));
    return taken(row, computed).value_or(slot.stored);
}

std::optional<std::u16string> Variables::asText(std::u16string_view name) const {
    const VariableRow* row = find(name);
    if (row == nullptr) return std::nullopt;
    return textOf(row->type, value(*row));
}

template <class T> T Variables::typed(std::u16string_view name) const {
    const VariableRow* row = find(name);
    assert(row != nullptr && "a variable of the table");
    VariableValue current = value(*row);
    T* held = std::get_if<T>(&current);
    assert(held != nullptr && "a variable of this type");
    return std::move(*held);
}

int Variables::integer(std::u16string_view name) const { return typed<int>(name); }
double Variables::real(std::u16string_view name) const { return typed<double>(name); }
std::u16string Variables::text(std::u16string_view name) const {
    return typed<std::u16string>(name);
}
VariablePoint Variables::point(std::u16string_view name) const {
    return typed<VariablePoint>(name);
}

// --- Setting ---

bool Variables::assign(std::u16string_view name, const VariableValue& offered, Setter setter) {
    const VariableRow* row = find(name);
    if (row == nullptr) return false;
    if (setter == Setter::Program && row->access == ReadOnly) return false;
    auto kept = taken(*row, offered);
    if (!kept) return false;
    Slot& slot = slots_[indexOf(*row)];
    if (setter == Setter::Program && slot.guard && !slot.guard(*kept)) return false;
    slot.stored = *std::move(kept);
    return true;
}

bool Variables::setInt(std::u16string_view name, int value) {
    return assign(name, value, Setter::Program);
}
bool Variables::setReal(std::u16string_view name, double value) {
    return assign(name, value, Setter::Program);
}
bool Variables::setText(std::u16string_view name, std::u16string_view value) {
    return assign(name, std::u16string(value), Setter::Program);
}

bool Variables::storeInt(std::u16string_view name, int value) {
    return assign(name, value, Setter::Host);
}
bool Variables::storeReal(std::u16string_view name, double value) {
    return assign(name, value, Setter::Host);
}
bool Variables::storeText(std::u16string_view name, std::u16string_view value) {
    return assign(name, std::u16string(value), Setter::Host);
}
bool Variables::storePoint(std::u16string_view name, VariablePoint value) {
    return assign(name, value, Setter::Host);
}

bool Variables::provide(std::u16string_view name, Provider provider) {
    const VariableRow* row = find(name);
    if (row == nullptr || row->access != ReadOnly) return false;
    slots_[indexOf(*row)].provider = std::move(provider);
    return true;
}

bool Variables::guard(std::u16string_view name, Guard guard) {
    const VariableRow* row = find(name);
    if (row == nullptr) return false;
    slots_[indexOf(*row)].guard = std::move(guard);
    return true;
}

}  // namespace vlisp::refhost
