// vlisp: LISP over drawings without the host's screen. The command line; each command is in a file
// of its own (commands.h).
// Tests: tests/cli/.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <unistd.h>

namespace {

using namespace vlisp::app;

constexpr const char* programDescription = "LISP for CAD drawings.";

struct Arguments {
    std::string file;
    std::vector<std::string> texts;
    std::vector<std::string> files;
    std::string topic;
    bool runJson = false;
    bool evalJson = false;
    bool checkJson = false;
    bool markdown = false;
};

void describeCommands(CLI::App& app, Arguments& arguments) {
    CLI::App* run = app.add_subcommand("run", "Load a LISP file");
    run->add_option("FILE", arguments.file, "The file; - reads standard input")
        ->required()
        ->type_name("");
    run->add_flag("--json", arguments.runJson,
                  "Print one JSON object: the texts shown, and the final error text");

    CLI::App* eval = app.add_subcommand("eval", "Evaluate texts in one session");
    eval->add_option("TEXT", arguments.texts,
                     "What to evaluate; without any, the lines of standard input")
        ->type_name("");
    eval->add_flag("--json", arguments.evalJson, "Print one JSON object a text");

    CLI::App* check = app.add_subcommand("check", "Tell what LISP would pass over in silence");
    check->add_option("FILE", arguments.files, "The files; - reads standard input")
        ->required()
        ->type_name("");
    check->add_flag("--json", arguments.checkJson, "Print the warnings as JSON");

    CLI::App* help = app.add_subcommand("help", "Explain a command or a LISP name");
    help->add_option("NAME", arguments.topic, "A command of vlisp, or a name such as CAR")
        ->type_name("");
    help->add_flag("--markdown", arguments.markdown, "Print the reference of all LISP names");
}

void describe(CLI::App& app, Arguments& arguments) {
    app.set_version_flag("--version", "vlisp " VLISP_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.require_subcommand(0, 1);
    describeCommands(app, arguments);
    // After the commands, or each would inherit it.
    app.footer(
        "Without a command: a command line when standard input is a terminal, otherwise\n"
        "as 'vlisp eval'.\n\n"
        "Exit codes: 0 success, 1 LISP reported an error or the checker has something to say,\n"
        "2 the command line is wrong, 3 a file cannot be read.");
}

int help(const Arguments& arguments) {
    // The program as it is described, not as it was called: that prints the called command's help.
    CLI::App app(programDescription, "vlisp");
    Arguments unused;
    describe(app, unused);

    if (arguments.markdown) {
        writeText(referenceAsMarkdown());
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

std::vector<std::string> marked(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || (words[0] != "eval" && words[0] != "check")) return words;
    bool onlyTexts = false;
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        if (!onlyTexts && *word == "--") onlyTexts = true;
        else if (onlyTexts || !word->starts_with('-') || *word == "-")
            word->insert(0, 1, literalMark);
    }
    return words;
}

void unmark(std::vector<std::string>& texts) {
    for (std::string& text : texts)
        if (text.starts_with(literalMark)) text.erase(0, 1);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(programDescription, "vlisp");
    Arguments arguments;
    describe(app, arguments);
    try {
        std::vector<std::string> words = marked(argc, argv);
        std::reverse(words.begin(), words.end());  // the order in which the parser takes them
        app.parse(std::move(words));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitOk : exitUsage;
    }
    unmark(arguments.texts);
    unmark(arguments.files);
    if (app.got_subcommand("run")) return runFile(arguments.file, arguments.runJson);
    if (app.got_subcommand("eval")) return evalTexts(arguments.texts, arguments.evalJson);
    if (app.got_subcommand("check")) return checkFiles(arguments.files, arguments.checkJson);
    if (app.got_subcommand("help")) return help(arguments);
    return isatty(STDIN_FILENO) != 0 ? promptForTexts() : evalTexts({}, false);
}
