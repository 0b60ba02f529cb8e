// System variables in the header of a drawing file.
// One idea: a row says which group code a variable's value has and since when files hold it; name and
// type come from the host's own table of variables.
// Tests: tests/dxf/document_test.cpp.
#pragma once

#include "refhost/dxf/changes.h"
#include "refhost/dxf/entity_writer.h"
#include "refhost/dxf/records.h"
#include "refhost/model/variables.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vlisp::refhost::dxf {

struct HeaderRow {
    std::string_view name;   ///< as GETVAR knows it
    int code;                ///< of its value, or of its first coordinate
    std::string_view since;  ///< the first version whose files hold it
};

/// The variables that drawing files hold.
[[nodiscard]] std::span<const HeaderRow> headerRows() noexcept;

/// Sets a variable to what the file says; a value that the host does not take leaves it as it is.
void loadVariable(const HeaderRow& row, const Source& source, Span values, Variables& variables);

/// The pairs of a variable's value, in the style given; `old` are the pairs that stand there, whose
/// style numbers follow.
[[nodiscard]] std::string variablePairs(const HeaderRow& row, const Target& target,
                                        const Variables& variables);

/// The changes that give the pairs of a variable's value what the variable is.
[[nodiscard]] std::vector<Change> variableChanges(const HeaderRow& row, const Target& target,
                                                  Span values, const Variables& variables);

}  // namespace vlisp::refhost::dxf
