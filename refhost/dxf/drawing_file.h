// The file that the drawing came from, and where it goes.
// One idea: opening and saving are all or nothing. A file that cannot be opened leaves the drawing as
// it is, one that cannot be saved leaves the file as it is.
// Tests: tests/dxf/drawing_file_test.cpp, tests/cli/drawing.session.
#pragma once

#include "refhost/dxf/document.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vlisp::refhost::dxf {

/// Used on the thread that may change the drawing.
class DrawingFile {
  public:
    explicit DrawingFile(Drawing& drawing) : drawing_(drawing) {}
    DrawingFile(const DrawingFile&) = delete;
    DrawingFile& operator=(const DrawingFile&) = delete;

    [[nodiscard]] Drawing& drawing() const noexcept { return drawing_; }

    /// Opens a file as the drawing. Throws FileError, and then nothing has changed.
    void open(const std::string& path, OnDamage onDamage);
    /// Begins an empty drawing without a file.
    void makeNew();

    /// Writes the drawing to its own file or to another. Not over its own file when another program
    /// has changed that meanwhile. Throws FileError, and then the file is as it was.
    void save(const std::string& path, bool keepBackup = false);
    /// The drawing is that file's from now on. The file must hold the drawing: it was just saved.
    void moveTo(const std::string& path);

    /// What the file would hold if it were saved. Throws FileError.
    [[nodiscard]] std::string contents();

    /// The path of the drawing's file; empty when it has none.
    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    /// The file as it was opened; that of an empty drawing when none was.
    [[nodiscard]] const Document& document();
    /// Whether the drawing has changed since it was opened or saved.
    [[nodiscard]] bool hasChanges() const noexcept { return drawing_.changeCount() != savedAt_; }
    /// What the last save left out for good reason, a sentence each; given once.
    std::vector<std::string> takeNotes() { return std::exchange(notes_, {}); }

    /// The first failure of a command that opens or saves: whoever runs scripts wants to know.
    std::optional<FileError::Kind> failure;
    /// Backups are kept by every save.
    bool keepBackups = false;
    /// When set, nothing is written: it is told what would be, and the old content.
    std::function<void(const std::string& path, std::string_view before, std::string_view after)>
        dryRun;

  private:
    [[nodiscard]] ChangedBytes changed();
    void nameVariables();

    Drawing& drawing_;
    std::shared_ptr<const Document> document_;
    std::string path_;
    std::string identity_;  // of the file at path_, when it was opened or saved
    std::uint64_t savedAt_ = 0;
    std::vector<std::string> notes_;
};

}  // namespace vlisp::refhost::dxf
