// Opening, saving and plotting around a run. See drawing_job.h.
#include "apps/vlisp/drawing_job.h"

#include "apps/vlisp/differences_output.h"
#include "apps/vlisp/picture_output.h"
#include "apps/vlisp/signals.h"

#include <algorithm>

namespace vlisp::app {

using refhost::dxf::FileError;

int exitCodeOf(FileError::Kind kind) noexcept {
    return kind == FileError::Kind::unwritable ? exitUnwritable : exitUnreadable;
}

int openDrawing(Lisp& lisp, const DrawingOptions& options, bool json) {
    auto& file = lisp.host().file;
    file.keepBackups = options.backup;
    if (options.dryRun)
        file.dryRun = [json](const std::string& path, std::string_view before,
                             std::string_view after) {
            if (!json) writeLine("Would be written to " + path + ":");
            writeDifferences(before, after, json);
        };
    if (!options.plot.empty() && !refhost::plot::kindOf(options.plot)) {
        writeError("vlisp: cannot plot to '" + options.plot +
                   "': its name must end in .svg, .pdf or .png");
        return exitUsage;
    }
    if (options.drawing.empty()) return exitOk;
    try {
        file.open(options.drawing,
                  options.recover ? refhost::dxf::OnDamage::recover : refhost::dxf::OnDamage::stop);
    } catch (const FileError& error) {
        writeError(std::string("vlisp: ") + error.what());
        return exitCodeOf(error.kind);
    }
    if (options.recover)
        for (const std::string& problem : file.document().problems())
            writeError("vlisp: " + problem);
    return exitOk;
}

int finishDrawing(Lisp& lisp, const DrawingOptions& options, bool json, int code) {
    auto& file = lisp.host().file;
    if (file.failure) code = std::max(code, exitCodeOf(*file.failure));
    const bool failed = signalled() || (code != exitOk && !options.keepGoing);
    for (const std::string& path : {options.save, options.plot})
        if (failed && !path.empty() && !options.dryRun)
            writeError("vlisp: '" + path + "' was not written: the program did not end well" +
                       (signalled() ? "" : " (--keep-going writes it all the same)"));
    if (failed) return code;
    try {
        if (!options.save.empty()) file.save(options.save);
        else if (options.dryRun && file.hasChanges())
            file.dryRun(file.path().empty() ? "a new drawing" : file.path(),
                        file.document().bytes(), file.contents());
        for (const std::string& note : file.takeNotes()) writeError("vlisp: " + note);
    } catch (const FileError& error) {
        writeError(std::string("vlisp: ") + error.what());
        return std::max(code, exitCodeOf(error.kind));
    }
    if (options.plot.empty() || options.dryRun) return code;
    refhost::plot::Options picture;
    return std::max(code, writePicture(lisp.host().drawing, picture, options.plot, json));
}

}  // namespace vlisp::app
