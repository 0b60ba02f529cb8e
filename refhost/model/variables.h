// The system variables: named settings that programs read and set with GETVAR and SETVAR.
// One idea: one table says of each variable what it holds, who may set it and to what; the rest of
// the class works from the table and knows no variable by name.
// Tests: tests/refhost/variables_test.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vlisp::refhost {

enum class VariableType : std::uint8_t {
    Integer,
    Real,
    Text,
    Point,      ///< x, y and z
    PlanePoint  ///< x and y; a z that is given is dropped
};

/// Whether programs may set it. The host itself may always.
enum class VariableAccess : std::uint8_t { Settable, ReadOnly };

/// What a value is saved with, and so when it goes back to its default: with the drawing, or not at
/// all, for the rest of the session.
enum class VariableHome : std::uint8_t { Drawing, Session };

/// Which texts a text variable takes, beyond what holds for all of them.
enum class TextForm : std::uint8_t {
    Any,
    Name,   ///< not empty
    Colour  ///< BYLAYER, BYBLOCK, or a number from 1 to 255; kept in upper case
};

/// A point of a variable. Not the bridge's mmPoint, so that the table links without a host.
struct VariablePoint {
    double x = 0;
    double y = 0;
    double z = 0;
    bool operator==(const VariablePoint&) const = default;
};

/// What a variable can be set to. The bounds hold for numbers and for each coordinate of a point.
struct VariableLimits {
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();
    bool aboveLow = false;              ///< `low` itself is refused
    std::span<const int> choices = {};  ///< if not empty, an integer is one of these
    TextForm form = TextForm::Any;
};

/// A value. The alternative follows from the type: int, double, text, and the point for both kinds
/// of point.
using VariableValue = std::variant<int, double, std::u16string, VariablePoint>;

/// A row of the table.
struct VariableRow {
    std::string_view name;  ///< upper case
    VariableType type;
    VariableAccess access;
    VariableHome home;
    VariableLimits limits;
    std::variant<int, double, std::u16string_view, VariablePoint> standard;
    std::string_view help;  ///< one line
};

/// The variables of one drawing and its session, at first with their defaults. Names are
/// compared without regard to case. Not guarded: used by one thread at a time.
class Variables {
  public:
    Variables();

    /// The table, in the order of the names.
    static std::span<const VariableRow> rows() noexcept;

    /// The row of this name, or null.
    static const VariableRow* find(std::u16string_view name) noexcept;

    // --- For programs ---

    /// The value as GETVAR reads it, fewer than 32,768 units: an integer as digits; a real without
    /// an exponent, with one to eight decimals; a text in double quotes; a point as its
    /// coordinates, reals, with commas. Nothing when there is no such variable.
    [[nodiscard]] std::optional<std::u16string> asText(std::u16string_view name) const;

    // Set a variable. False, and nothing changes, when there is no such variable, when it is
    // read-only, when the value is of another type or outside the limits, or when the guard refuses
    // it.

    /// A real variable takes an integer too.
    bool setInt(std::u16string_view name, int value);
    bool setReal(std::u16string_view name, double value);
    /// A point variable takes "x,y" or "x,y,z". Refused: more than 255 units, double quotes,
    /// control characters.
    bool setText(std::u16string_view name, std::u16string_view value);

    // --- For the host itself ---

    // The value of a variable, which must exist and be of that type.
    [[nodiscard]] int integer(std::u16string_view name) const;
    [[nodiscard]] double real(std::u16string_view name) const;
    [[nodiscard]] std::u16string text(std::u16string_view name) const;
    [[nodiscard]] VariablePoint point(std::u16string_view name) const;

    // As the setters above, but read-only variables are set too, no guard is asked, and the text of
    // a read-only variable, such as a path, may have 30,000 units.
    bool storeInt(std::u16string_view name, int value);
    bool storeReal(std::u16string_view name, double value);
    bool storeText(std::u16string_view name, std::u16string_view value);
    bool storePoint(std::u16string_view name, VariablePoint value);

    /// Everything that is saved with a drawing goes back to its default. Providers and guards stay.
    void resetDrawing();

    /// Computes a value each time somebody asks. What the variable could not hold is never seen: a
    /// value of another type or outside the limits gives way to the stored one, a character that a
    /// text may not have becomes "?", a text that is too long is cut.
    using Provider = std::function<VariableValue()>;

    /// Installs the provider of a read-only variable; an empty one removes it. False when there is
    /// no such variable or programs may set it.
    bool provide(std::u16string_view name, Provider provider);

    /// Whether a value that a program wants to set, already found to be within the limits, can be
    /// taken as things stand: whether the layer exists, for example.
    using Guard = std::function<bool(const VariableValue&)>;

    /// Installs the guard of a variable; an empty one removes it. False when there is no such
    /// variable.
    bool guard(std::u16string_view name, Guard guard);

  private:
    struct Slot {
        VariableValue stored;
        Provider provider;
        Guard guard;
    };
    enum class Setter : std::uint8_t { Program, Host };

    bool assign(std::u16string_view name, const VariableValue& offered, Setter setter);
    [[nodiscard]] VariableValue value(const VariableRow& row) const;
    template <class T> [[nodiscard]] T typed(std::u16string_view name) const;

    std::vector<Slot> slots_;  // one for each row
};

}  // namespace vlisp::refhost
