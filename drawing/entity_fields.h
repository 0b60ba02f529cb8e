// Entity fields: what an entity of each kind is made of, in one table.
// One idea: a row says group code, member, conversion and whether programs may change it; reading
// an entity as a list, writing a list back, and the records of drawing files all follow the rows.
// Tests: tests/drawing/entity_data_test.cpp, tests/drawing/entity_modification_test.cpp.
#pragma once

#include "host/host_calls.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace vlisp {

/// What a field holds, and so how it becomes an entry of the list.
enum class FieldKind : std::uint8_t {
    name,        ///< (-1 . entity name)
    type,        ///< (0 . type text)
    space,       ///< (67 . 0)
    layer,       ///< (8 . layer name)
    colour,      ///< (62 . colour index), left out when by layer
    lineweight,  ///< (370 . lineweight), left out when not set
    origin,      ///< (10 x y 0.0): point 0, its z left aside
    points,      ///< (10 x y z) for each point; in files a line's second has code 11
    vertices,    ///< (10 x y) for each point, and (42 . bulge) behind it when there are bulges
    pointCount,  ///< (90 . number of points)
    closed,      ///< (70 . closed flag)
    bulge,       ///< (42 . bulge): only written, by appending; read with the vertices
    real,        ///< (code . number), as stored
    degrees,     ///< (code . angle): degrees in the object, radians in the list
    text,        ///< (1 . text)
    blockName    ///< (2 . block name)
};

/// How a number of a drawing file becomes the object's.
enum class FileUnit : std::uint8_t {
    same,
    degrees  ///< degrees in the file, radians in the object
};

struct EntityField {
    std::int32_t code;
    FieldKind kind;
    /// True for what only entities of this kind have and a program may change. Layer, colour,
    /// lineweight and points can be changed in every entity and are not marked.
    bool writable = false;
    HostNumber number = HostNumber::none;  ///< for real and degrees
    HostString string = HostString::none;  ///< for text and blockName
    FileUnit fileUnit = FileUnit::same;    ///< for real
};

struct EntityKind {
    VmDbType typeCode;
    const char16_t* typeText;
    /// The object as the class that its fields are read through; null when it is not of it.
    HostObject* (*cast)(HostObject*);
    std::span<const EntityField> fields;
    /// The subclass marker in front of what entities of this kind have in drawing files.
    const char* marker;
};

/// The kinds of entity that a program can read, in the order of their type codes.
std::span<const EntityKind> entityKinds() noexcept;

/// The kind with this type text, or null.
const EntityKind* findEntityKind(std::u16string_view typeText) noexcept;

/// The kind with this type code, or null.
const EntityKind* findEntityKind(std::int32_t typeCode) noexcept;

inline constexpr std::int32_t colourByLayer = 256;
inline constexpr std::int32_t lineweightNotSet = -1;

}  // namespace vlisp
