// What the commands about drawing files share: opening one, and reading facts off its records.
// One idea: what a record says in plain pairs is read from the file's bytes; an object is made only
// where its shape counts.
// Tests: tests/cli/info.session, tests/cli/query.session.
#pragma once

#include "refhost/dxf/document.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vlisp::app {

/// Calls `use` with an opened file and returns what it returns. A file that cannot be opened is told
/// of in a line on standard error; the exit code is returned then. With `recover` a damaged file is
/// opened as far as it can be read.
int withDrawingFile(
    const std::string& path, bool recover,
    const std::function<int(const std::shared_ptr<const refhost::dxf::Document>&)>& use);

/// What the first record of an entity says. The texts are bytes of the file, not decoded.
struct EntityFacts {
    std::string_view type;         ///< "LINE", for example
    std::string_view layer = "0";  ///< as it stands
    std::string_view handle;       ///< hexadecimal digits; empty: it has none
    std::string_view name;         ///< group 2: the block of an insert; empty: it has none
    std::int32_t colour = 256;     ///< colour index; 0 by block, 256 by layer
};

/// Reads the facts of the entity that begins at `span`.
[[nodiscard]] EntityFacts factsOf(const refhost::dxf::Source& source, refhost::dxf::Span span);

/// Whether all numbers of an entity, with the records that belong to it, are finite and so small
/// that they can be drawn. Extended data does not count.
[[nodiscard]] bool numbersAreFinite(const refhost::dxf::Source& source, refhost::dxf::Span span);

/// Text as UTF-8 for a line that people read: control characters become "?".
[[nodiscard]] std::string shown(std::u16string_view text);

/// A point as "x,y".
[[nodiscard]] std::string shown(refhost::Point2 point);

/// A rectangle as "x,y to x,y"; must not be empty.
[[nodiscard]] std::string shown(const refhost::Box& box);

/// `text` (UTF-8), filled with blanks to `width` characters.
[[nodiscard]] std::string padded(std::string text, std::size_t width);

/// How many characters a UTF-8 text has.
[[nodiscard]] std::size_t widthOf(std::string_view text) noexcept;

}  // namespace vlisp::app
