// The command table, and what commands share. See command.h.
#include "refhost/commands/command.h"

#include "core/reader.h"
#include "platform/text.h"
#include "refhost/commands/commands.h"
#include "refhost/model/file_part.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vlisp::refhost {
namespace {

// clang-format off
// Name, alias, what it does; its questions; its function.
const CommandRow rows[] = {
    {"ARC",    "A",  "Draws an arc through three points, or around a center.", arcSteps,    arc},
    {"BLOCK",  "B",  "Makes a block of objects; they leave the drawing.",      blockSteps,  block},
    {"CIRCLE", "C",  "Draws a circle.",                                        circleSteps, circle},
    {"COLOR",  "COL", "Sets the colour of what is drawn next.",                colourSteps, colour},
    {"COPY",   "CO", "Copies objects to another place.",                       copySteps,   copy},
    {"DIST",   "DI", "Tells distance and direction between two points.",       distSteps,   dist},
    {"ERASE",  "E",  "Erases objects.",                                        eraseSteps,  erase},
    {"HELP",   "?",  "Explains a command, or lists all.",                      helpSteps,   help},
    {"ID",     "",   "Tells the coordinates of a point.",                      idSteps,     id},
    {"INSERT", "I",  "Places a block.",                                        insertSteps, insert},
    {"LAYER",  "LA", "Makes layers and changes them.",                         layerSteps,  layer},
    {"LINE",   "L",  "Draws straight lines, one after the other.",             lineSteps,   line},
    {"LIST",   "LI", "Tells everything about objects.",                        listSteps,   list},
    {"MOVE",   "M",  "Moves objects.",                                         moveSteps,   move},
    {"MTEXT",  "MT", "Writes a text of several lines.",                        mtextSteps,  mtext},
    {"NEW",    "",   "Begins an empty drawing.",                               newSteps,    newDrawing},
    {"OPEN",   "",   "Opens a drawing.",                                       openSteps,   openDrawing},
    {"PLINE",  "PL", "Draws a polyline of straight lines and arcs.",           plineSteps,  pline},
    {"PLOT",   "PRINT", "Draws a picture of the drawing: SVG, PDF or PNG.",     plotSteps,   plotDrawing},
    {"QUIT",   "EXIT", "Ends the program.",                                    quitSteps,   quit},
    {"REDO",   "",   "Does again what was undone last.",                       {},          redo},
    {"REGEN",  "RE", "Regenerates the drawing.",                               {},          regen},
    {"ROTATE", "RO", "Turns objects about a point.",                           rotateSteps, rotate},
    {"SAVE",   "",   "Saves the drawing, or a copy under another name.",      saveSteps,   save},
    {"SAVEAS", "",   "Saves the drawing under another name and goes on with that file.", saveAsSteps, saveAs},
    {"SCALE",  "SC", "Makes objects larger or smaller.",                       scaleSteps,  scale},
    {"SETVAR", "SET", "Shows a system variable and sets it.",                  setvarSteps, setVariable},
    {"TEXT",   "DT", "Writes a line of text.",                                 textSteps,   text},
    {"U",      "",   "Undoes the last step: a command, or a LISP program.",    {},          undoOnce},
    {"UNDO",   "",   "Undoes several steps.",                                  undoSteps,   undo},
    {"ZOOM",   "Z",  "Sets the part of the drawing that is seen.",             zoomSteps,   zoom},
};
// clang-format on

std::u16string wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// Kinds that are only carried have no shape that could be changed. What lies in a plane of its own
// can be moved in the drawing's where that is the same one seen from above or from below.
bool canTransform(const VmDbObject& object) {
    if (dynamic_cast<const CarriedObject*>(&object) != nullptr) return false;
    const FilePart* part = filePartOf(object);
    if (part == nullptr) return true;
    const mmPoint& normal = part->appearance.normal;
    return normal.x == 0 && normal.y == 0 && normal.z != 0;
}

}  // namespace

std::span<const CommandRow> commandRows() noexcept { return rows; }

const CommandRow* findCommandByName(std::u16string_view name) noexcept {
    for (const CommandRow& row : rows)
        if (sameName(name, wide(row.name))) return &row;
    return nullptr;
}

const CommandRow* findCommand(std::u16string_view name) noexcept {
    if (name.empty()) return nullptr;
    for (const CommandRow& row : rows)
        if (sameName(name, wide(row.name)) || sameName(name, wide(row.alias))) return &row;
    return nullptr;
}

std::vector<std::u16string> keywordsOf(std::u16string_view prompt) {
    const std::size_t open = prompt.find(u'[');
    const std::size_t close = prompt.find(u']', std::min(open, prompt.size()));
    if (open == std::u16string_view::npos || close == std::u16string_view::npos) return {};
    return SplitText(prompt.substr(open + 1, close - open - 1), u"/");
}

std::vector<HostLong> CommandContext::changeable(const std::vector<HostLong>& objects) {
    std::vector<HostLong> free;
    for (const HostLong id : objects)
        if (const ObjectView object = drawing.findLive(id);
            object != nullptr && !drawing.isLocked(*object))
            free.push_back(id);
    if (const std::size_t locked = objects.size() - free.size(); locked > 0)
        show(numberText(static_cast<double>(locked)) + u" on a locked layer.");
    return free;
}

std::vector<HostLong> CommandContext::movable(const std::vector<HostLong>& objects) {
    std::vector<HostLong> able;
    for (const HostLong id : objects)
        if (const ObjectView object = drawing.findLive(id);
            object != nullptr && canTransform(*object))
            able.push_back(id);
    if (const std::size_t others = objects.size() - able.size(); others > 0)
        show(numberText(static_cast<double>(others)) + u" of a kind that cannot be moved.");
    return able;
}

std::string commandsAsMarkdown() {
    std::string page;
    for (const CommandRow& row : rows) {
        page += "## `" + std::string(row.name) + "`";
        if (*row.alias != 0) page += ", `" + std::string(row.alias) + "`";
        page += "\n\n" + std::string(row.help) + "\n\n";
        for (const Step& step : row.steps) page += "- `" + platform::toUtf8(step.prompt) + "`\n";
        if (!row.steps.empty()) page += "\n";
    }
    return page;
}

std::u16string numberText(double value) {
    if (!std::isfinite(value)) return std::isnan(value) ? u"nan" : value < 0 ? u"-inf" : u"inf";
    char digits[350];
    const char* end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 8).ptr;
    std::string_view text(digits, static_cast<std::size_t>(end - digits));
    text = text.substr(0, text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.remove_suffix(1);
    return text == "-0" ? u"0" : wide(text);
}

std::u16string pointText(const mmPoint& point) {
    return numberText(point.x) + u"," + numberText(point.y) + u"," + numberText(point.z);
}

}  // namespace vlisp::refhost
