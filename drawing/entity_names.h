// Entity names: LISP's handle of an object of the drawing, and the walk over all of them.
// One idea: a name is the object's id as decimal text; what stands behind it is opened for the
// length of a call and always closed again.
// Tests: tests/drawing/entity_names_test.cpp, tests/lisp/drawing/.
#pragma once

#include "builtins/registry.h"
#include "host/bridge.h"

namespace vlisp {

/// The entity name of the object with this id.
[[nodiscard]] Cell entityName(HostLong id);

/// The id that a cell's text denotes, as the C library converts it: 0 without digits. For selection
/// sets too.
[[nodiscard]] HostLong idOf(const Cell& cell) noexcept;

enum class OpenMode : int { read = 0, change = 1 };

/// An object of the drawing, open for the life of this handle; may hold none.
class OpenObject {
  public:
    static OpenObject byId(HostLong id, OpenMode mode);
    static OpenObject bySlot(int slot);
    OpenObject(const OpenObject&) = delete;
    OpenObject& operator=(const OpenObject&) = delete;
    ~OpenObject() {
        if (object_ != nullptr) object_->close();
    }

    explicit operator bool() const noexcept { return object_ != nullptr; }
    VmDbObject& operator*() const noexcept { return *object_; }
    VmDbObject* operator->() const noexcept { return object_; }

  private:
    explicit OpenObject(VmDbObject* object) noexcept : object_(object) {}
    VmDbObject* object_;
};

Cell entnext(Arguments arguments);
Cell entlast(Arguments arguments);

}  // namespace vlisp
