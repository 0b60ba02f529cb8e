// A drawing file as it was opened: its bytes, their structure, and the objects in them.
// One idea: the document never changes. Saving compares the drawing with it and writes the old bytes
// with the differences in them, so that what the host does not understand stays as it was.
// Tests: tests/dxf/document_test.cpp.
#pragma once

#include "refhost/dxf/changes.h"
#include "refhost/dxf/entity_writer.h"
#include "refhost/dxf/records.h"
#include "refhost/dxf/structure.h"
#include "refhost/model/drawing.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vlisp::refhost::dxf {

/// A file that cannot be read, is no drawing, or cannot be written. The text names it and the place.
class FileError : public std::runtime_error {
  public:
    enum class Kind { unreadable, damaged, unwritable };
    FileError(Kind error, const std::string& text) : std::runtime_error(text), kind(error) {}
    Kind kind;
};

/// The record that changes would take away though it is not among the erased ones: where it begins.
/// `changes` are in order, `erased` are the begins of the records that may go, in order too.
[[nodiscard]] std::optional<std::uint64_t> lostRecord(const Structure& structure,
                                                      std::span<const Change> changes,
                                                      std::span<const std::uint64_t> erased);

/// Immutable once made; the drawing that it filled must not be used by two threads at a time.
class Document final : public ObjectSource, public std::enable_shared_from_this<Document> {
  public:
    /// Reads a file whole; what becomes of it on the disk later does not matter. Throws FileError.
    static std::shared_ptr<const Document> open(const std::string& path, OnDamage onDamage);
    /// The same for bytes that are there; `name` is what messages call them.
    static std::shared_ptr<const Document> ofBytes(std::string bytes, const std::string& name,
                                                   OnDamage onDamage);
    /// A drawing without entities.
    static std::shared_ptr<const Document> blank();

    /// Makes `drawing` what the file says.
    void fill(Drawing& drawing) const;

    [[nodiscard]] std::unique_ptr<VmDbObject> make(int slot) const override;

    /// What makes the file say what the drawing is, in order. Sentences about what is left out for
    /// good reason go to `notes`. Throws FileError for what the file's version cannot hold.
    [[nodiscard]] std::vector<Change> changes(const Drawing& drawing,
                                              std::vector<std::string>& notes) const;

    [[nodiscard]] std::string_view bytes() const noexcept { return bytes_; }
    [[nodiscard]] const Source& source() const noexcept { return source_; }
    [[nodiscard]] const Structure& structure() const noexcept { return structure_; }
    [[nodiscard]] const Version& version() const noexcept { return version_; }
    /// The name of the code page that the file gives; empty when it gives none.
    [[nodiscard]] const std::string& codePage() const noexcept { return codePage_; }
    /// What was found wrong, with its place: "NAME: line 12: ...".
    [[nodiscard]] const std::vector<std::string>& problems() const noexcept { return problems_; }

  private:
    friend class Saving;

    Document(std::string bytes, std::string name, OnDamage onDamage);
    [[nodiscard]] std::string headerText(std::string_view variable) const;
    void makeWhole();
    void assignIds();
    void readLayers();
    [[nodiscard]] std::vector<std::shared_ptr<BlockDefinition>> blockDefinitions() const;
    void loadVariables(Variables& variables) const;

    std::string bytes_;
    std::string name_;
    Source source_;
    Structure structure_;
    std::vector<std::string> problems_;
    Version version_{"AC1009"};
    std::string codePage_;
    Style style_;
    bool hasHandles_ = false;

    std::vector<HostLong> ids_;  // of the entities of model space
    HostLong firstNewId_ = 1;
    std::uint64_t firstNewHandle_ = 1;
    std::vector<Layer> layers_;
    std::vector<std::size_t> layerRows_;  // where the layers stand in their table
};

}  // namespace vlisp::refhost::dxf
