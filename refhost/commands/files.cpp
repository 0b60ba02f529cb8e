// Commands that work with files: drawings and their pictures. See commands.h.
#include "platform/system.h"
#include "platform/text.h"
#include "refhost/commands/commands.h"
#include "refhost/dxf/drawing_file.h"
#include "refhost/plot/plot.h"

#include <algorithm>

namespace vlisp::refhost {
namespace {

using dxf::DrawingFile;
using dxf::FileError;
using platform::fromUtf8;
using platform::toUtf8;

constexpr char16_t discardQuestion[] =
    u"The drawing has changes that are not saved. Discard them? [Yes/No] <No>: ";
constexpr char16_t replaceQuestion[] = u"A file of that name exists. Replace it? [Yes/No] <No>: ";

constexpr Step openTable[] = {
    {InputKind::text, u"Enter name of drawing to open: "},
    {InputKind::keyword, discardQuestion},
};
constexpr Step newTable[] = {{InputKind::keyword, discardQuestion}};
constexpr Step quitTable[] = {{InputKind::keyword, discardQuestion}};
constexpr Step saveTable[] = {
    {InputKind::text, u"Enter file name <%>: "},
    {InputKind::keyword, replaceQuestion},
};
constexpr Step saveAsTable[] = {
    {InputKind::text, u"Enter new file name <%>: "},
    {InputKind::keyword, replaceQuestion},
};
constexpr Step plotTable[] = {{InputKind::text, u"Enter name of picture (.svg, .pdf or .png): "}};

// The path that a user means: quotes around it do not count, a drawing has an ending.
std::string pathNamed(std::u16string_view typed, bool isDrawing) {
    while (typed.ends_with(u' ')) typed.remove_suffix(1);
    if (typed.size() > 1 && typed.starts_with(u'"') && typed.ends_with(u'"'))
        typed = typed.substr(1, typed.size() - 2);
    std::u16string path = platform::nativePath(typed);
    if (isDrawing && platform::splitPath(path).extension.empty()) path += u".dxf";
    return toUtf8(path);
}

void tell(CommandContext& context, const FileError& error) {
    context.show(fromUtf8(error.what()));
    if (!context.file.failure) context.file.failure = error.kind;
}

void tell(CommandContext& context, const std::string& text, FileError::Kind kind) {
    tell(context, FileError(kind, text));
}

// True when it worked; otherwise the user knows why.
template <class Work> bool succeeds(CommandContext& context, Work work) {
    try {
        work();
        for (const std::string& note : context.file.takeNotes()) context.show(fromUtf8(note));
        return true;
    } catch (const FileError& error) {
        tell(context, error);
        return false;
    }
}

// Somebody who has set EXPERT so is not asked about what would be lost.
bool asks(const CommandContext& context) {
    constexpr int unasked = 2;
    return context.drawing.variables.integer(u"EXPERT") < unasked;
}

bool asksToDiscard(const CommandContext& context) {
    return context.file.hasChanges() && asks(context);
}

// Whether saving there would replace a file that is not the drawing's own.
bool asksToReplace(const CommandContext& context, const std::string& path) {
    return path != context.file.path() && !platform::fileIdentity(path).empty() && asks(context);
}

// Where to save: what was typed, or the drawing's own file. Empty, and told, when there is neither.
std::string pathToSave(CommandContext& context, const Input& name) {
    if (name.is(Input::Kind::text) && !name.text.empty()) return pathNamed(name.text, true);
    if (context.file.path().empty())
        tell(context, "cannot save: the drawing has no file name yet", FileError::Kind::unwritable);
    return context.file.path();
}

bool isYes(const Input& input) { return input.isKeyword(u"YES"); }

}  // namespace

const std::span<const Step> openSteps = openTable;
const std::span<const Step> newSteps = newTable;
const std::span<const Step> quitSteps = quitTable;
const std::span<const Step> saveSteps = saveTable;
const std::span<const Step> saveAsSteps = saveAsTable;
const std::span<const Step> plotSteps = plotTable;

CommandRun openDrawing(CommandContext& context) {
    const Input name = co_await context.ask(openTable[0]);
    if (!name.is(Input::Kind::text) || name.text.empty()) co_return;
    if (asksToDiscard(context)) {
        const Input discard = co_await context.ask(openTable[1]);
        if (!isYes(discard)) co_return;
    }
    const std::string path = pathNamed(name.text, true);
    succeeds(context, [&] { context.file.open(path, dxf::OnDamage::stop); });
}

CommandRun newDrawing(CommandContext& context) {
    if (asksToDiscard(context)) {
        const Input discard = co_await context.ask(newTable[0]);
        if (!isYes(discard)) co_return;
    }
    context.file.makeNew();
}

CommandRun quit(CommandContext& context) {
    // What was never a file is not missed.
    if (!context.file.path().empty() && asksToDiscard(context)) {
        const Input discard = co_await context.ask(quitTable[0]);
        if (!isYes(discard)) co_return;
    }
    context.quit = true;
}

CommandRun save(CommandContext& context) {
    const Input name = co_await context.ask(saveTable[0], fromUtf8(context.file.path()));
    const std::string path = pathToSave(context, name);
    if (path.empty()) co_return;
    if (asksToReplace(context, path)) {
        const Input replace = co_await context.ask(saveTable[1]);
        if (!isYes(replace)) co_return;
    }
    succeeds(context, [&] {
        context.file.save(path);
        if (context.file.path().empty()) context.file.moveTo(path);
    });
}

CommandRun saveAs(CommandContext& context) {
    const Input name = co_await context.ask(saveAsTable[0], fromUtf8(context.file.path()));
    const std::string path = pathToSave(context, name);
    if (path.empty()) co_return;
    if (asksToReplace(context, path)) {
        const Input replace = co_await context.ask(saveAsTable[1]);
        if (!isYes(replace)) co_return;
    }
    succeeds(context, [&] {
        context.file.save(path);
        context.file.moveTo(path);
    });
}

CommandRun plotDrawing(CommandContext& context) {
    const Input name = co_await context.ask(plotTable[0]);
    if (!name.is(Input::Kind::text) || name.text.empty()) co_return;
    const std::string path = pathNamed(name.text, false);
    plot::Options options;
    const auto kind = plot::kindOf(path);
    if (!kind) {
        tell(context, "cannot plot to '" + path + "': its name must end in .svg, .pdf or .png",
             FileError::Kind::unwritable);
        co_return;
    }
    options.kind = *kind;
    options.title = fromUtf8(context.file.path());
    const plot::Picture picture = plot::draw(context.drawing, options);
    if (!picture.error.empty()) {
        tell(context, "cannot plot to '" + path + "': " + picture.error,
             FileError::Kind::unwritable);
        co_return;
    }
    for (const plot::Omission& omission : picture.omitted)
        context.show(u"Not drawn: " + numberText(static_cast<double>(omission.count)) + u" " +
                     omission.kind + u" (" + fromUtf8(omission.reason) + u")");
    if (context.file.dryRun) co_return;
    const std::string_view piece = picture.bytes;
    std::string reason;
    if (!platform::replaceFile(path, {&piece, 1}, platform::OldFile::drop, reason))
        tell(context, reason, FileError::Kind::unwritable);
}

}  // namespace vlisp::refhost
