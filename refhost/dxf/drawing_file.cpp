// Opening and saving. See drawing_file.h.
#include "refhost/dxf/drawing_file.h"

#include "platform/system.h"
#include "platform/text.h"

namespace vlisp::refhost::dxf {

void DrawingFile::open(const std::string& path, OnDamage onDamage) {
    // Before the bytes, so that a change in between is noticed.
    std::string identity = platform::fileIdentity(path);
    std::shared_ptr<const Document> document = Document::open(path, onDamage);
    document->fill(drawing_);
    document_ = std::move(document);
    path_ = path;
    identity_ = std::move(identity);
    savedAt_ = drawing_.changeCount();
    nameVariables();
}

void DrawingFile::makeNew() {
    document_ = Document::blank();
    document_->fill(drawing_);
    path_.clear();
    identity_.clear();
    savedAt_ = drawing_.changeCount();
    nameVariables();
}

const Document& DrawingFile::document() {
    if (document_ == nullptr) document_ = Document::blank();
    return *document_;
}

ChangedBytes DrawingFile::changed() {
    notes_.clear();
    const Document& from = document();
    std::vector<Change> changes = from.changes(drawing_, notes_);
    return {from.bytes(), std::move(changes)};
}

std::string DrawingFile::contents() { return changed().joined(); }

void DrawingFile::save(const std::string& path, bool keepBackup) {
    const bool isOwn = !path_.empty() && (path == path_ || platform::leadToTheSame(path, path_));
    if (isOwn && platform::fileIdentity(path) != identity_)
        throw FileError(FileError::Kind::unwritable,
                        "cannot write '" + path +
                            "': another program has changed it since it was opened");
    const ChangedBytes content = changed();
    if (dryRun) {
        dryRun(path, document().bytes(), content.joined());
        if (isOwn) savedAt_ = drawing_.changeCount();
        return;
    }
    const std::vector<std::string_view> pieces = content.pieces();
    std::string reason;
    const auto oldFile =
        keepBackup || keepBackups ? platform::OldFile::keep : platform::OldFile::drop;
    if (!platform::replaceFile(path, pieces, oldFile, reason))
        throw FileError(FileError::Kind::unwritable, reason);
    if (!isOwn) return;
    identity_ = platform::fileIdentity(path);
    savedAt_ = drawing_.changeCount();
}

void DrawingFile::moveTo(const std::string& path) {
    path_ = path;
    identity_ = platform::fileIdentity(path);
    savedAt_ = drawing_.changeCount();
    nameVariables();
}

// What programs know of the file: its folder and its name.
void DrawingFile::nameVariables() {
    const platform::PathParts parts = platform::splitPath(platform::fromUtf8(path_));
    const std::u16string name = parts.name + parts.extension;
    drawing_.variables.storeText(u"DWGNAME", name.empty() ? u"Drawing1" : name);
    drawing_.variables.storeText(u"DWGPREFIX", parts.drive + parts.directory);
}

}  // namespace vlisp::refhost::dxf
