// vlisp: LISP over drawings without the host's screen. The command line; each command is in a file
// of its own (commands.h).
// Tests: tests/cli/.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/input.h"
#include "core/session.h"
#include "platform/system.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>

namespace {

using namespace vlisp::app;

constexpr const char* programDescription = "LISP for CAD drawings.";

struct Arguments {
    RunOptions run;
    EvalOptions eval;
    PlotOptions plot;
    std::string script;
    std::vector<std::string> files;
    InfoOptions info;
    QueryOptions query;
    std::string before;
    std::string after;
    std::string topic;
    std::string dumped;
    /// Whether a word may be an option. Where none is, to describe them all would take longer than to
    /// run a small program.
    bool options = true;
    bool trace = false;
    bool checkJson = false;
    bool diffJson = false;
    bool markdown = false;
    bool commandsMarkdown = false;
    bool variablesMarkdown = false;
};

constexpr const char* inputHelp =
    "Answer prompts from FILE, a line each, instead of standard input";

void describeDrawing(CLI::App& command, DrawingOptions& options) {
    // An empty name is a script's mistake that would lose its work.
    const auto isNamed = [](const std::string& name) {
        return std::string(name.empty() ? "a file name is expected" : "");
    };
    command.add_option("--drawing", options.drawing, "Open the drawing FILE.dxf first")
        ->type_name("FILE")
        ->check(isNamed);
    command.add_option("--save", options.save, "Save the drawing as FILE.dxf at the end")
        ->type_name("FILE")
        ->check(isNamed);
    command
        .add_option("--plot", options.plot, "Plot it at the end to FILE.svg, FILE.pdf or FILE.png")
        ->type_name("FILE")
        ->check(isNamed);
    command.add_flag("--dry-run", options.dryRun,
                     "Tell what saving would change, and write nothing");
    command.add_flag("--backup", options.backup, "Keep what is replaced as FILE.dxf.bak");
    command.add_flag("--recover", options.recover,
                     "Open what can be opened of a damaged drawing, and tell what cannot");
    command.add_flag("--keep-going", options.keepGoing,
                     "Save and plot although LISP has reported an error");
}

void describePlot(CLI::App* plot, Arguments& arguments) {
    PlotOptions& options = arguments.plot;
    plot->add_option("FILE", options.path, "The drawing")->required()->type_name("");
    plot->add_option("-o,--output", options.output,
                     "The picture: its ending .svg, .pdf or .png says what kind")
        ->required()
        ->type_name("FILE");
    plot->add_option("--window", options.window, "Show this part only, in drawing units")
        ->type_name("X1,Y1,X2,Y2");
    plot->add_option("--layer", options.layers,
                     "Show only layers that match, with the wildcards of WCMATCH; may be repeated")
        ->type_name("PATTERN")
        ->expected(1)
        ->take_all();
    plot->add_option("--paper", options.paper,
                     "A0 to A6, Letter, Legal, Tabloid, or WxH in mm [A4]")
        ->type_name("SIZE");
    plot->add_option("--scale", options.scale,
                     "fit, or 1:50, or millimetres of paper for a drawing unit [fit]")
        ->type_name("SCALE");
    CLI::Option* landscape =
        plot->add_flag("--landscape", options.landscape, "Lay the paper across");
    plot->add_flag("--portrait", options.portrait, "Lay the paper upright")->excludes(landscape);
    plot->add_flag("--mono", options.mono, "Everything in one colour");
    plot->add_flag("--dark", options.dark, "A dark ground");
    plot->add_option("--dpi", options.dpi, "Resolution of a PNG [150]")->type_name("N");
    plot->add_option("--pixels", options.pixels, "Pixels of a PNG's longer side, instead of --dpi")
        ->type_name("N");
    plot->add_flag("--recover", options.recover,
                   "Show what can be opened of a damaged drawing, and tell what cannot");
}

constexpr const char* recoverHelp = "Read a damaged file as far as it can be read";

void describeInfo(CLI::App* info, Arguments& arguments) {
    InfoOptions& options = arguments.info;
    info->add_option("FILE", options.path, "The drawing file")->required()->type_name("");
    info->add_flag("--json", options.json, "Print one JSON object");
    info->add_flag("--recover", options.recover, recoverHelp);
}

void describeQuery(CLI::App* query, Arguments& arguments) {
    QueryOptions& options = arguments.query;
    query->add_option("FILE", options.path, "The drawing file")->required()->type_name("");
    const auto filter = [&](const char* name, std::vector<std::string>& values, const char* type,
                            const char* help) {
        // One value each time: what follows is the file.
        query->add_option(name, values, help)->type_name(type)->allow_extra_args(false);
    };
    filter("--type", options.types, "PATTERN", "Of types that match, in any case");
    filter("--layer", options.layers, "PATTERN", "On layers that match, in any case");
    filter("--colour", options.colours, "N", "Of a colour: 0 to 256, BYLAYER or BYBLOCK");
    filter("--handle", options.handles, "HANDLE", "With this handle");
    filter("--code", options.codes, "CODE=PATTERN",
           "With a pair of a group code whose value matches, or is that number");
    filter("--window", options.windows, "X1,Y1,X2,Y2", "Wholly inside a rectangle");
    filter("--crossing", options.crossings, "X1,Y1,X2,Y2", "Inside a rectangle or crossing it");
    query->add_flag("--count", options.count, "Print only how many there are");
    query->add_flag("--json", options.json, "Print one JSON object an entity");
    query->add_flag("--recover", options.recover, recoverHelp);
    query->footer(
        "Patterns are those of WCMATCH. An entity must match every option; of an\n"
        "option that is given several times one value is enough. Exit code 1: nothing matches.");
}

void describeDiff(CLI::App* diff, Arguments& arguments) {
    diff->add_option("OLD", arguments.before, "The older drawing")->required()->type_name("");
    diff->add_option("NEW", arguments.after, "The newer drawing")->required()->type_name("");
    diff->add_flag("--json", arguments.diffJson, "Print one JSON object");
    diff->footer("Exit code 0: no pair of group code and value differs; 1: one does.");
}

void describeRun(CLI::App* run, Arguments& arguments) {
    run->add_option("FILE", arguments.run.path, "The file; - reads standard input")
        ->required()
        ->type_name("");
    if (!arguments.options) return;
    run->add_option("--input", arguments.run.input, inputHelp)->type_name("FILE");
    describeDrawing(*run, arguments.run.drawing);
    run->add_flag("--json", arguments.run.json,
                  "Print one JSON object: the texts shown, and the final error text");
}

void describeEval(CLI::App* eval, Arguments& arguments) {
    eval->add_option("TEXT", arguments.eval.texts,
                     "What to evaluate; without any, the lines of standard input")
        ->type_name("");
    if (!arguments.options) return;
    eval->add_option("--input", arguments.eval.input, inputHelp)->type_name("FILE");
    describeDrawing(*eval, arguments.eval.drawing);
    eval->add_flag("--json", arguments.eval.json, "Print one JSON object a text");
}

void describeScript(CLI::App* script, Arguments& arguments) {
    script->add_option("FILE", arguments.script, "The file; - reads standard input")
        ->required()
        ->type_name("");
}

void describeCheck(CLI::App* check, Arguments& arguments) {
    check->add_option("FILE", arguments.files, "The files; - reads standard input")
        ->required()
        ->type_name("");
    check->add_flag("--json", arguments.checkJson, "Print the warnings as JSON");
}

void describeDump(CLI::App* dump, Arguments& arguments) {
    dump->add_option("FILE", arguments.dumped, "The file; - reads standard input")
        ->required()
        ->type_name("");
}

void describeHelp(CLI::App* help, Arguments& arguments) {
    help->add_option(
            "NAME", arguments.topic,
            "A command of vlisp, a LISP name such as CAR, or a drawing command such as LINE")
        ->type_name("");
    help->add_flag("--markdown", arguments.markdown, "Print the reference of all LISP names");
    help->add_flag("--commands-markdown", arguments.commandsMarkdown,
                   "Print the reference of all commands of the command line");
    help->add_flag("--variables-markdown", arguments.variablesMarkdown,
                   "Print the reference of all system variables");
}

int help(const Arguments& arguments);

struct Command {
    const char* name;
    const char* description;
    void (*describe)(CLI::App* app, Arguments& arguments);
    int (*run)(const Arguments& arguments);
};

// In the order in which help lists them.
constexpr Command commands[] = {
    {"run", "Load a LISP file", describeRun,
     [](const Arguments& arguments) { return runFile(arguments.run); }},
    {"eval", "Evaluate texts in one session", describeEval,
     [](const Arguments& arguments) { return evalTexts(arguments.eval); }},
    {"plot", "Draw a picture of a drawing", describePlot,
     [](const Arguments& arguments) { return plotDrawing(arguments.plot); }},
    {"script", "Take lines as if they were typed at the command line", describeScript,
     [](const Arguments& arguments) { return runScript(arguments.script); }},
    {"check", "Tell what LISP would pass over in silence", describeCheck,
     [](const Arguments& arguments) { return checkFiles(arguments.files, arguments.checkJson); }},
    {"dump", "Print the code that LISP is translated into", describeDump,
     [](const Arguments& arguments) { return dumpFile(arguments.dumped); }},
    {"info", "Tell what is in a drawing file", describeInfo,
     [](const Arguments& arguments) { return describeDrawing(arguments.info); }},
    {"query", "List the entities of a drawing file that match", describeQuery,
     [](const Arguments& arguments) { return queryDrawing(arguments.query); }},
    {"diff", "Tell what differs between two drawing files", describeDiff,
     [](const Arguments& arguments) {
         return diffFiles(arguments.before, arguments.after, arguments.diffJson);
     }},
    {"help", "Explain a command of vlisp, a LISP name or a drawing command", describeHelp, help},
};

using Words = std::vector<std::string>;

bool isCommand(const std::string& word) {
    return std::ranges::any_of(commands, [&](const Command& row) { return word == row.name; });
}

void describe(CLI::App& app, Arguments& arguments,
              const std::function<bool(const Command&)>& isWanted) {
    if (arguments.options)
        app.set_version_flag("--version", "vlisp " VLISP_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");  // messages refer to it
    if (arguments.options)
        app.add_flag("--trace", arguments.trace,
                     "Tell each instruction on standard error before it is carried out");
    app.require_subcommand(0, 1);
    for (const Command& row : commands)
        if (isWanted(row)) row.describe(app.add_subcommand(row.name, row.description), arguments);
    // After the commands, or each would inherit it.
    app.footer(
        "Without a command: a command line when standard input is a terminal, otherwise\n"
        "as 'vlisp eval'.\n\n"
        "Exit codes: 0 success, 1 LISP reported an error, a prompt got no answer, the checker has\n"
        "something to say, nothing matches, or drawings differ, 2 the command line is wrong, 3 an\n"
        "input is missing or invalid, 4 output cannot be written, 5 stack or memory ran out, 130\n"
        "and 143 ended by a signal.");
}

void describeAll(CLI::App& app, Arguments& arguments) {
    describe(app, arguments, [](const Command&) { return true; });
}

// Shortcut: to describe a command takes longer than to run a small program. Behind a command the
// parser cannot come to any that no word names; where there is none, help may list them all.
void describeFor(const Words& words, CLI::App& app, Arguments& arguments) {
    if (!words.empty() && !isCommand(words.front())) return describeAll(app, arguments);
    arguments.options =
        std::ranges::any_of(words, [](const std::string& word) { return word.starts_with('-'); });
    describe(app, arguments, [&words](const Command& row) {
        return std::ranges::find(words, row.name) != words.end();
    });
}

int help(const Arguments& arguments) {
    // The program as it is described, not as it was called: that prints the called command's help.
    CLI::App app(programDescription, "vlisp");
    Arguments unused;
    describeAll(app, unused);

    if (arguments.markdown) {
        writeText(referenceAsMarkdown());
        return exitCodeOfOutput(exitOk);
    }
    if (arguments.commandsMarkdown) {
        writeText(commandsAsMarkdown());
        return exitCodeOfOutput(exitOk);
    }
    if (arguments.variablesMarkdown) {
        writeText(variablesAsMarkdown());
        return exitCodeOfOutput(exitOk);
    }
    if (arguments.topic.empty()) {
        writeText(app.help());
        return exitCodeOfOutput(exitOk);
    }
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (command->get_name() != arguments.topic) continue;
        writeText(command->help("vlisp"));
        return exitCodeOfOutput(exitOk);
    }
    if (const std::string text = helpForName(arguments.topic); !text.empty()) {
        writeLine(text);
        return exitCodeOfOutput(exitOk);
    }
    std::string message = "vlisp: nothing is known as '" + arguments.topic + "'";
    if (const std::string nearest = nearestName(arguments.topic); !nearest.empty())
        message += "; did you mean " + nearest + "?";
    writeError(message);
    return exitUsage;
}

// The option parser would take texts such as [a] or ++ for syntax of its own. Behind "eval" and
// "check" every word that is no option is marked, and the mark taken off when it has come through.
constexpr char literalMark = '\x01';

bool takesFile(const std::string& word) {
    return word == "--input" || word == "--drawing" || word == "--save" || word == "--plot";
}

Words marked(Words words) {
    const auto command = std::ranges::find_if(
        words, [](const std::string& word) { return word == "--" || !word.starts_with('-'); });
    if (command == words.end() || (*command != "eval" && *command != "check")) return words;
    bool onlyTexts = false;
    for (auto word = command + 1; word != words.end(); ++word) {
        if (!onlyTexts && *word == "--") onlyTexts = true;
        else if (!onlyTexts && takesFile(*word) && word + 1 != words.end()) ++word;
        else if (onlyTexts || !word->starts_with('-') || *word == "-")
            word->insert(0, 1, literalMark);
    }
    return words;
}

void unmark(Words& texts) {
    for (std::string& text : texts)
        if (text.starts_with(literalMark)) text.erase(0, 1);
}

int dispatch(const CLI::App& app, const Arguments& arguments) {
    // Not the parser's own list of them, which lacks the one behind a "--".
    const auto wasCalled = [](const CLI::App* command) { return command->parsed(); };
    for (const CLI::App* called : app.get_subcommands(wasCalled))
        for (const Command& row : commands)
            if (called->get_name() == row.name) return row.run(arguments);
    return isTerminal(standardInput) ? promptForTexts() : evalTexts({});
}

}  // namespace

int main(int argc, char** argv) {
    vlisp::platform::shareOneHeap();
    prepareStreams();
    CLI::App app(programDescription, "vlisp");
    Arguments arguments;
    Words words = marked(wordsOfCommandLine(argc, argv));
    describeFor(words, app, arguments);
    try {
        std::reverse(words.begin(), words.end());  // the order in which the parser takes them
        app.parse(std::move(words));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitOk : exitUsage;
    }
    unmark(arguments.eval.texts);
    unmark(arguments.files);
    if (arguments.trace) traceEvaluation();
    vlisp::InterpreterSession::leaveAllAtTheEnd();
    try {
        return dispatch(app, arguments);
    } catch (const std::bad_alloc&) {
        writeError("vlisp: out of memory; nothing more was written");
        return exitLimit;
    }
}
