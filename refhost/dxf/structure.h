// The structure of a drawing file: where its sections, tables, blocks and entities stand.
// One idea: one walk over all pairs finds the places and checks every number; what the records say is
// read later, when somebody asks.
// Tests: tests/dxf/structure_test.cpp.
#pragma once

#include "refhost/dxf/pairs.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::refhost::dxf {

/// Bytes of a file: from a pair's beginning to another's.
struct Span {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// A row of a table, with its name as it stands.
struct TableRow {
    Span record;
    std::string_view name;
    std::uint64_t handle = 0;  ///< 0: it has none
};

struct Table {
    std::string_view name;  ///< "LAYER", for example
    Span head;              ///< the TABLE record
    std::uint64_t handle = 0;
    std::vector<TableRow> rows;
    std::uint64_t end = 0;  ///< where its ENDTAB record begins
};

/// A block, and what stands in it.
struct Block {
    Span head;  ///< the BLOCK record
    std::string_view name;
    std::uint64_t handle = 0;
    std::vector<Span> contents;  ///< an entity each, with the records that belong to it
    Span tail;                   ///< the ENDBLK record
};

struct Section {
    std::string_view name;
    Span head;              ///< its SECTION record, which holds the variables of the header
    std::uint64_t end = 0;  ///< its ENDSEC record
};

/// A variable of the header.
struct HeaderVariable {
    std::string_view name;  ///< "$CLAYER", for example
    Span values;            ///< the pairs of its value, behind the one with its name
};

/// Something wrong in a file.
struct Problem {
    std::uint64_t offset = 0;
    std::string text;
};

/// What makes a damaged file whole: bytes that go, and what comes in their place.
struct Repair {
    Span replaced;
    std::string_view record;  ///< a record without further pairs; empty for none
    std::string value;        ///< or the value of a pair
};

struct Structure {
    Opening opening;
    std::vector<Section> sections;
    std::vector<HeaderVariable> variables;
    std::vector<Table> tables;
    std::vector<Block> blocks;
    std::vector<Span> entities;          ///< of model space, in order
    std::vector<std::uint64_t> handles;  ///< theirs; 0: none, or another has it already
    std::size_t paperEntities = 0;       ///< entities of paper space
    std::vector<Span> objects;           ///< records of the section OBJECTS
    std::uint64_t eof = 0;               ///< where the EOF record begins
    std::uint64_t largestHandle = 0;
    std::vector<Problem> problems;  ///< that do not keep the file from being read
    std::vector<Repair> repairs;    ///< by place

    [[nodiscard]] const Section* findSection(std::string_view name) const noexcept;
    [[nodiscard]] const Section* findLastSection(std::string_view name) const noexcept;
    [[nodiscard]] const Table* findTable(std::string_view name) const noexcept;
    [[nodiscard]] const HeaderVariable* findVariable(std::string_view name) const noexcept;
};

/// What is done about damage.
enum class OnDamage : std::uint8_t {
    stop,    ///< it is thrown
    recover  ///< the record is left out, or completed, and the problem listed
};

/// Walks over a file. The result refers to the bytes. Throws Damage, whose offset tells where.
[[nodiscard]] Structure structureOf(std::string_view bytes, OnDamage onDamage);

/// Where people find an offset: "line 12", or "byte 345" in a binary file.
[[nodiscard]] std::string placeOf(std::string_view bytes, Form form, std::uint64_t offset);

}  // namespace vlisp::refhost::dxf
