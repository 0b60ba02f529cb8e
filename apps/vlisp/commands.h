// The commands of vlisp: each returns the program's exit code.
// Tests: tests/cli/.
#pragma once

#include "apps/vlisp/drawing_job.h"

#include <string>
#include <vector>

namespace vlisp::app {

struct RunOptions {
    std::string path;
    DrawingOptions drawing;
    std::string input = "-";  ///< file of answers; "-": standard input
    bool json = false;
};

/// `vlisp run`: loads a file; what it shows goes to standard output, the rest to standard error.
int runFile(const RunOptions& options);

struct EvalOptions {
    std::vector<std::string> texts;
    DrawingOptions drawing;
    std::string input = "-";  ///< file of answers; "-": standard input
    bool json = false;
};

/// `vlisp eval`: evaluates texts, or the lines of standard input when there are none.
int evalTexts(const EvalOptions& options);

struct PlotOptions {
    std::string path;
    std::string output;
    std::string window;
    std::vector<std::string> layers;
    std::string paper;
    std::string scale;
    bool landscape = false;
    bool portrait = false;
    bool mono = false;
    bool dark = false;
    double dpi = 150;
    int pixels = 0;
    bool recover = false;
};

/// `vlisp plot`: draws a picture of a drawing.
int plotDrawing(const PlotOptions& options);

/// `vlisp script`: takes the lines of a file as if they were typed at the command line.
int runScript(const std::string& path);

/// `vlisp check`: tells what the reader and the evaluator pass over in silence.
int checkFiles(const std::vector<std::string>& paths, bool json);

/// `vlisp dump`: prints the code that a file's expressions and functions are translated into.
int dumpFile(const std::string& path);

/// `vlisp --trace`: from now on each instruction is told on standard error before it is carried out.
void traceEvaluation();

struct InfoOptions {
    std::string path;
    bool json = false;
    bool recover = false;  ///< a damaged file is read as far as it can be
};

/// `vlisp info`: tells what is in a drawing file.
int describeDrawing(const InfoOptions& options);

/// Entities match that match every option given; of several values of an option, one is enough.
struct QueryOptions {
    std::string path;
    std::vector<std::string> types;      ///< patterns, without regard to case
    std::vector<std::string> layers;     ///< patterns, without regard to case
    std::vector<std::string> colours;    ///< 0 to 256, BYLAYER or BYBLOCK
    std::vector<std::string> handles;    ///< hexadecimal
    std::vector<std::string> codes;      ///< CODE=PATTERN
    std::vector<std::string> windows;    ///< X1,Y1,X2,Y2: what is wholly inside
    std::vector<std::string> crossings;  ///< X1,Y1,X2,Y2: what is inside or crosses
    bool count = false;                  ///< only how many
    bool json = false;
    bool recover = false;
};

/// `vlisp query`: prints the entities of model space that match; exitError when none does.
int queryDrawing(const QueryOptions& options);

/// `vlisp diff`: tells what differs between two drawing files; exitError when a pair does.
int diffFiles(const std::string& before, const std::string& after, bool json);

/// `vlisp` alone in a terminal: a command line.
int promptForTexts();

/// What `vlisp help NAME` prints for a LISP name or a command of the host; empty when there is no such
/// name.
std::string helpForName(const std::string& name);

/// The reference pages as Markdown, one section a name.
std::string referenceAsMarkdown();

/// The command reference as Markdown, one section a command.
std::string commandsAsMarkdown();

/// The system variables as a Markdown table.
std::string variablesAsMarkdown();

/// Special forms, built-ins and commands whose names are nearest to `name`, for "did you mean".
std::string nearestName(const std::string& name);

}  // namespace vlisp::app
