// Changes to the bytes of a drawing file, and how new pairs are written.
// One idea: a changed file is the old bytes with pieces replaced; what is new is written as what
// stands around it: line ends, padding, the style of the numbers.
// Tests: tests/dxf/changes_test.cpp.
#pragma once

#include "refhost/dxf/pairs.h"
#include "refhost/dxf/structure.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::refhost::dxf {

/// Bytes that take the place of others; of none where they are only inserted.
struct Change {
    Span replaced;
    std::string bytes;
};

/// How pairs look somewhere in a file.
struct Style {
    Form form = Form::text;
    std::string_view lineEnd = "\n";
    bool paddedCodes = false;    ///< "  0", three wide
    bool paddedNumbers = false;  ///< whole numbers six or nine wide
    std::string_view real;       ///< a real number as it is written there; empty: no example

    /// The style of the pairs in a range; what they do not show is as in `otherwise`.
    [[nodiscard]] static Style of(std::string_view bytes, Form form, Span range,
                                  const Style& otherwise);
};

// Append a pair.
void appendText(std::string& out, const Style& style, int code, std::string_view value);
void appendReal(std::string& out, const Style& style, int code, double value);
void appendInteger(std::string& out, const Style& style, int code, std::int64_t value);

// The bytes of a value that takes the place of `old`, whose bytes they resemble.
[[nodiscard]] std::string realLike(const Value& old, Form form, int code, double value);
[[nodiscard]] std::string integerLike(const Value& old, Form form, int code, std::int64_t value);

/// The bytes with the changes made; changes must not overlap and are sorted by place. Those at one
/// place stay in their order.
class ChangedBytes {
  public:
    ChangedBytes(std::string_view bytes, std::vector<Change> changes);

    /// The pieces, in order: valid while the bytes and this object live.
    [[nodiscard]] std::vector<std::string_view> pieces() const;
    /// All of it in one.
    [[nodiscard]] std::string joined() const;

  private:
    std::string_view bytes_;
    std::vector<Change> changes_;
};

}  // namespace vlisp::refhost::dxf
