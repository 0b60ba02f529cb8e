// The commands of the table, one function each; each is in the source that its group is named after.
// Tests: tests/refhost/commands_test.cpp.
#pragma once

#include "refhost/commands/command.h"

namespace vlisp::refhost {

// draw.cpp
extern const std::span<const Step> lineSteps, plineSteps, circleSteps, arcSteps, textSteps,
    mtextSteps, insertSteps, blockSteps;
CommandRun line(CommandContext&);
CommandRun pline(CommandContext&);
CommandRun circle(CommandContext&);
CommandRun arc(CommandContext&);
CommandRun text(CommandContext&);
CommandRun mtext(CommandContext&);
CommandRun insert(CommandContext&);
CommandRun block(CommandContext&);

// edit.cpp
extern const std::span<const Step> eraseSteps, moveSteps, copySteps, rotateSteps, scaleSteps,
    undoSteps;
CommandRun erase(CommandContext&);
CommandRun move(CommandContext&);
CommandRun copy(CommandContext&);
CommandRun rotate(CommandContext&);
CommandRun scale(CommandContext&);
CommandRun undo(CommandContext&);
CommandRun undoOnce(CommandContext&);
CommandRun redo(CommandContext&);

// settings.cpp
extern const std::span<const Step> layerSteps, colourSteps, zoomSteps, helpSteps, setvarSteps;
CommandRun layer(CommandContext&);
CommandRun colour(CommandContext&);
CommandRun zoom(CommandContext&);
CommandRun regen(CommandContext&);
CommandRun setVariable(CommandContext&);
CommandRun help(CommandContext&);

// files.cpp
extern const std::span<const Step> openSteps, newSteps, saveSteps, saveAsSteps, plotSteps,
    quitSteps;
CommandRun openDrawing(CommandContext&);
CommandRun newDrawing(CommandContext&);
CommandRun save(CommandContext&);
CommandRun saveAs(CommandContext&);
CommandRun plotDrawing(CommandContext&);
CommandRun quit(CommandContext&);

// inquiry.cpp
extern const std::span<const Step> listSteps, idSteps, distSteps;
CommandRun list(CommandContext&);
CommandRun id(CommandContext&);
CommandRun dist(CommandContext&);

}  // namespace vlisp::refhost
