// Records of entities: reading them as objects.
// One idea: what a kind's fields are says the table in drawing/entity_fields.h; this file knows how
// they stand in a file, and what else pictures need.
// Tests: tests/dxf/records_test.cpp.
#pragma once

#include "drawing/entity_fields.h"
#include "refhost/dxf/pairs.h"
#include "refhost/dxf/structure.h"
#include "refhost/dxf/text_codec.h"
#include "refhost/model/file_part.h"

#include <memory>
#include <string_view>
#include <vector>

namespace vlisp::refhost::dxf {

/// The bytes of a file and how they are read. Does not own the bytes.
struct Source {
    std::string_view bytes;
    Form form = Form::text;
    TextCodec codec{{}, {}};

    [[nodiscard]] Value value(const Pair& pair) const noexcept { return {bytes, form, pair}; }
    [[nodiscard]] PairReader reader(Span span) const noexcept {
        return {bytes, form, span.begin, span.end, Numbers::trust};
    }
    [[nodiscard]] std::u16string text(const Pair& pair) const {
        return codec.decode(value(pair).raw());
    }
    /// 0 when the value is no number.
    [[nodiscard]] double real(const Pair& pair) const noexcept {
        return value(pair).real().value_or(0);
    }
    [[nodiscard]] std::int32_t integer(const Pair& pair) const noexcept {
        return value(pair).integer().value_or(0);
    }
};

/// The pairs of an entity's records, as they are understood.
struct Record {
    std::string_view type;
    /// All pairs of the record, the 0 at first.
    std::vector<Pair> pairs;
    /// So many of them tell of the entity itself; behind are embedded objects and extended data.
    std::size_t own = 0;
    Span span;

    /// Where the first or the last own pair with a code stands in `pairs`; npos when there is none.
    /// Pairs of groups in braces do not count.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);
    [[nodiscard]] std::size_t find(int code) const noexcept;
    [[nodiscard]] std::size_t findLast(int code) const noexcept;
    std::vector<bool> grouped;  ///< by pair: it stands in a group in braces
};

/// Goes over the own pairs of a record, in their order, without those of groups in braces and
/// without the 0.
template <class Visit> void forEachOwn(const Record& record, Visit visit) {
    for (std::size_t i = 1; i < record.own; ++i)
        if (!record.grouped[i]) visit(record.pairs[i]);
}

/// The records of an entity: its own, then those that belong to it.
[[nodiscard]] std::vector<Record> recordsOf(const Source& source, Span span);

/// The object of an entity; of a kind that programs cannot read, a CarriedObject. What is missing has
/// the value that the format gives it.
[[nodiscard]] std::unique_ptr<VmDbObject> readEntity(const Source& source, Span span, HostLong id);

/// What a carried entity looks like: fills in figures, block and isShown.
void readShape(const Source& source, const std::vector<Record>& records, CarriedObject& object);

/// Whether an ATTRIB record is one that is seen.
[[nodiscard]] bool isShown(const Source& source, const Record& attribute);

/// Whether a VERTEX record is one of a mesh's faces, which has no place of its own.
[[nodiscard]] bool isFace(const Source& source, const Record& vertex);

}  // namespace vlisp::refhost::dxf
