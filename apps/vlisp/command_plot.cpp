// vlisp plot: a drawing as a picture. See commands.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/drawing_job.h"
#include "apps/vlisp/picture_output.h"
#include "platform/system.h"
#include "platform/text.h"

#include <charconv>

namespace vlisp::app {
namespace {

namespace plot = refhost::plot;

// "left,bottom,right,top" in drawing units, or any two opposite corners.
std::optional<refhost::Box> windowOf(std::string_view text) {
    double numbers[4];
    for (double& number : numbers) {
        const bool isLast = &number == &numbers[3];
        const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
        if (parsed.ec != std::errc()) return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()));
        if (isLast ? !text.empty() : !text.starts_with(',')) return std::nullopt;
        if (!isLast) text.remove_prefix(1);
    }
    return refhost::Box::between({numbers[0], numbers[1]}, {numbers[2], numbers[3]});
}

int usage(const std::string& message) {
    writeError("vlisp: " + message);
    return exitUsage;
}

}  // namespace

int writePicture(const refhost::Drawing& drawing, plot::Options options, const std::string& path,
                 bool quiet) {
    const auto kind = plot::kindOf(path);
    if (!kind)
        return usage("cannot plot to '" + path + "': its name must end in .svg, .pdf or .png");
    options.kind = *kind;
    const plot::Picture picture = plot::draw(drawing, options);
    if (!picture.error.empty()) {
        writeError("vlisp: cannot plot to '" + path + "': " + picture.error);
        return exitUnwritable;
    }
    if (!quiet)
        for (const plot::Omission& omission : picture.omitted)
            writeError("vlisp: not drawn: " + std::to_string(omission.count) + " " +
                       platform::toUtf8(omission.kind) + " (" + omission.reason + ")");
    const std::string_view piece = picture.bytes;
    std::string reason;
    if (platform::replaceFile(path, {&piece, 1}, platform::OldFile::drop, reason)) return exitOk;
    writeError("vlisp: " + reason);
    return exitUnwritable;
}

int plotDrawing(const PlotOptions& options) {
    plot::Options how;
    if (!plot::kindOf(options.output))
        return usage("cannot plot to '" + options.output +
                     "': its name must end in .svg, .pdf or .png");
    if (!options.window.empty()) {
        how.window = windowOf(options.window);
        if (!how.window) return usage("'" + options.window + "' is no window: x1,y1,x2,y2");
    }
    for (const std::string& layer : options.layers) how.layers.push_back(platform::fromUtf8(layer));
    if (!options.paper.empty()) {
        const auto paper = plot::paperOf(options.paper);
        if (!paper) return usage("'" + options.paper + "' is no paper: A4, Letter, 600x400 ...");
        how.paper = *paper;
    }
    if (!options.scale.empty() && options.scale != "fit") {
        how.scale = plot::scaleOf(options.scale);
        if (!how.scale) return usage("'" + options.scale + "' is no scale: fit, 1:50, 2 ...");
    }
    if (options.landscape) how.orientation = plot::Orientation::landscape;
    if (options.portrait) how.orientation = plot::Orientation::portrait;
    if (options.pixels < 0 || !(options.dpi > 0))
        return usage("pixels and dots per inch must be above 0");
    how.mono = options.mono;
    how.dark = options.dark;
    how.dpi = options.dpi;
    if (options.pixels > 0) how.pixels = options.pixels;
    how.title = platform::fromUtf8(options.path);

    refhost::Drawing drawing;
    refhost::dxf::DrawingFile file(drawing);
    try {
        file.open(options.path,
                  options.recover ? refhost::dxf::OnDamage::recover : refhost::dxf::OnDamage::stop);
    } catch (const refhost::dxf::FileError& error) {
        writeError(std::string("vlisp: ") + error.what());
        return exitCodeOf(error.kind);
    }
    for (const std::string& problem : file.document().problems()) writeError("vlisp: " + problem);
    return writePicture(drawing, how, options.output);
}

}  // namespace vlisp::app
