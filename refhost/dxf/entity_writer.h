// Records of entities: changing them, and writing new ones.
// One idea: an object is compared with what its record says; where they differ the record's pair gets
// a new value, and nothing else is touched. A copy of an object is a copy of its record.
// Tests: tests/dxf/entity_writer_test.cpp.
#pragma once

#include "refhost/dxf/changes.h"
#include "refhost/dxf/records.h"
#include "refhost/model/drawing.h"

#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp::refhost::dxf {

/// Something that the format cannot hold. Says which object.
class NotRepresentable : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What files of a version can hold, by the version's name in the file.
class Version {
  public:
    explicit Version(std::string name) : name_(std::move(name)) {}
    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    [[nodiscard]] bool hasMarkers() const noexcept { return name_ >= "AC1012"; }
    [[nodiscard]] bool hasMTexts() const noexcept { return name_ >= "AC1012"; }
    [[nodiscard]] bool hasBlockRecords() const noexcept { return name_ >= "AC1012"; }
    [[nodiscard]] bool hasLightPolylines() const noexcept { return name_ >= "AC1014"; }
    [[nodiscard]] bool hasOwners() const noexcept { return name_ >= "AC1015"; }
    [[nodiscard]] bool hasLineweights() const noexcept { return name_ >= "AC1015"; }

  private:
    std::string name_;
};

/// What writing into a file takes.
struct Target {
    const Source& source;
    const Version& version;
    const Style& style;  ///< of the file as a whole
    bool hasHandles = false;
    /// Gives out a handle that nothing has.
    std::function<std::uint64_t()> newHandle;
};

/// The changes that make the records in `span` say what `after` is; `before` is what they say now.
/// Throws NotRepresentable.
[[nodiscard]] std::vector<Change> changesOf(const Target& target, Span span,
                                            const VmDbObject& before, const VmDbObject& after);

/// The change that attaches named values to the record's extended data, in place of values of the
/// same names.
[[nodiscard]] std::vector<Change> changesOf(const Target& target, Span span,
                                            std::span<const ExtendedDatum> attached);

struct NewEntity {
    std::uint64_t handle = 0;  ///< 0: a new one
    std::uint64_t owner = 0;   ///< the handle of the block record; 0 for none
    std::u16string lineType;   ///< empty: by layer
    std::span<const ExtendedDatum> attached;
};

/// Appends the records of an object that the file does not have. Throws NotRepresentable.
void appendEntity(std::string& out, const Target& target, const VmDbObject& object,
                  const NewEntity& how);

/// A copy of records with handles and owners of their own, without what ties the original to others.
/// `extra` are further changes in the span.
[[nodiscard]] std::string copyOf(const Target& target, Span span, std::vector<Change> extra,
                                 std::uint64_t handle, std::uint64_t owner);

/// A handle as files have it: hexadecimal, upper case.
[[nodiscard]] std::string handleText(std::uint64_t handle);

}  // namespace vlisp::refhost::dxf
