// Entity names: LISP's handle of an object of the drawing, and the walk over all of them.
// One idea: a name is the object's id as decimal text; what stands behind it is opened for the
// length of a call and always closed again.
// Tests: tests/drawing/entity_names_test.cpp, tests/lisp/drawing/.
#pragma once

#include "builtins/registry.h"
#include "host/host_calls.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace vlisp {

/// A number in decimal, as the text of an entity name or of a selection set is.
class HandleText {
  public:
    explicit HandleText(HostId number) noexcept;
    /// Valid for as long as this object.
    [[nodiscard]] std::u16string_view view() const noexcept { return {units_.data(), length_}; }

  private:
    std::array<char16_t, 11> units_{};  // "-2147483648" is the longest
    std::size_t length_;
};

/// The entity name or selection set of this number.
[[nodiscard]] Cell handleCell(CellType type, HostId number);

/// The entity name of the object with this id.
[[nodiscard]] Cell entityName(HostId id);

/// The id that a cell's text denotes, as the C library converts it: 0 without digits. For selection
/// sets too.
[[nodiscard]] HostId idOf(const Cell& cell) noexcept;

enum class OpenMode : int { read = 0, change = 1 };

/// An object of the drawing, open for the life of this handle; may hold none.
class OpenObject {
  public:
    static OpenObject byId(HostId id, OpenMode mode);
    static OpenObject bySlot(int slot);
    OpenObject(const OpenObject&) = delete;
    OpenObject& operator=(const OpenObject&) = delete;
    ~OpenObject() {
        if (object_ != nullptr) hostCloseObject(object_);
    }

    explicit operator bool() const noexcept { return object_ != nullptr; }
    [[nodiscard]] HostObject* get() const noexcept { return object_; }
    /// What it has as an object of any class. There must be one.
    [[nodiscard]] HostObjectData data() const {
        HostObjectData data;
        hostGetObjectData(object_, &data);
        return data;
    }

  private:
    explicit OpenObject(HostObject* object) noexcept : object_(object) {}
    HostObject* object_;
};

Cell entnext(Arguments arguments);
Cell entlast(Arguments arguments);

}  // namespace vlisp
