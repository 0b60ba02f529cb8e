// What differs between two drawing files, record by record and pair by pair.
// One idea: a record is remembered by a hash and its place. Records find their partners by handle or
// name, the rest as lines of a text do; only those that differ are read again.
// Tests: tests/dxf/differences_test.cpp.
#pragma once

#include "refhost/dxf/pairs.h"
#include "refhost/dxf/structure.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::refhost::dxf {

/// A file to compare. Owns neither; both must live while it is compared.
struct ComparedFile {
    std::string_view bytes;
    const Structure& structure;  ///< of these bytes; what its repairs drop is not compared
};

/// A pair that is not the same in both files. `before` is the older file's value, empty when the pair
/// came in; `after` the newer one's, empty when it went.
///
/// Values are valid UTF-8: texts decoded by the file's own code page, numbers without the blanks
/// around them, chunks as hexadecimal digits. A byte that is no character is written \xNN. Where two
/// values would read alike though their bytes differ (\U+00E9 and the letter itself, numbers padded
/// with blanks) they are given as bytes, in which everything outside of ASCII is \xNN.
struct PairChange {
    int code = 0;
    std::optional<std::string> before;
    std::optional<std::string> after;
    std::uint64_t beforeAt = 0;  ///< offset of the pair in the older file; 0 without `before`
    std::uint64_t afterAt = 0;
};

enum class ChangeKind : std::uint8_t {
    changed,  ///< pairs of it differ
    added,
    erased,
    moved  ///< it stands elsewhere among its neighbours; pairs of it may differ too
};

/// A record, or a variable of the header, that is not the same in both files.
struct RecordChange {
    ChangeKind kind = ChangeKind::changed;
    std::string section;  ///< "ENTITIES", for example; empty for comments before the first section
    std::string type;     ///< "CIRCLE"; of a variable its name, "$CLAYER"; of comments "999"
    std::string handle;   ///< hexadecimal digits in capitals; empty: none, or 0
    std::optional<std::uint64_t> before;  ///< offset in the older file; nothing when added
    std::optional<std::uint64_t> after;   ///< offset in the newer file; nothing when erased
};

/// Takes differences as they are found: in the order of the newer file, what was erased where it
/// stood. Each record is followed by its pairs and an end. Of added and erased records all pairs
/// come but those that `type` and `handle` tell already.
class DifferenceSink {
  public:
    virtual ~DifferenceSink() = default;
    virtual void begin(const RecordChange& record) = 0;
    virtual void pair(const PairChange& pair) = 0;
    virtual void end() = 0;
};

/// The outcome in numbers of records.
struct DifferenceCounts {
    bool sameBytes = false;
    std::size_t changed = 0;
    std::size_t added = 0;
    std::size_t erased = 0;
    std::size_t moved = 0;
    /// How many steps the search for partners took: grows no faster than n log n.
    std::uint64_t work = 0;

    /// No pair differs; then only line ends, the blanks before group codes, the form, or what stands
    /// behind EOF may.
    [[nodiscard]] bool samePairs() const noexcept { return changed + added + erased + moved == 0; }
};

/// Compares two files. Values are compared by their bytes; between the text form and a binary form
/// numbers by value and chunks by the bytes that they stand for. Takes about 50 bytes of memory a
/// record, and a few more a pair of the longest record that differs. What the sink throws passes.
DifferenceCounts compare(const ComparedFile& before, const ComparedFile& after,
                         DifferenceSink& sink);

/// A record's difference with its pairs.
struct Difference {
    RecordChange record;
    std::vector<PairChange> pairs;
};

/// All differences at once. Throws Damage, whose offset tells where in the damaged file; the older
/// one is looked at first.
[[nodiscard]] std::vector<Difference> differences(std::string_view before, std::string_view after);

/// Line numbers of a file's offsets, each found in constant time. Does not own the bytes.
class LineNumbers {
  public:
    explicit LineNumbers(std::string_view bytes);
    /// The number of the line, from 1, that the offset is in.
    [[nodiscard]] std::uint64_t of(std::uint64_t offset) const noexcept;

  private:
    std::string_view bytes_;
    std::vector<std::uint64_t> before_;  // line ends before each stretch of bytes
};

}  // namespace vlisp::refhost::dxf
