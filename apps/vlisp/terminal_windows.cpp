// The terminal on Windows: the console edits lines and remembers them by itself; names are completed here.
// See terminal.h.
#include "apps/vlisp/terminal.h"

#include "apps/vlisp/input.h"
#include "apps/vlisp/line_reader_windows.h"
#include "apps/vlisp/signals.h"
#include "platform/text.h"

#include <cstdio>
#include <io.h>

namespace vlisp::app {

struct Terminal::Editor {
    NameSource names;

    void complete(const std::string& asked, std::u16string& typed, const std::u16string& behind);
};

// The screen holds `asked` and `typed`; afterwards `typed` holds all of the line, and the cursor is behind it.
void Terminal::Editor::complete(const std::string& asked, std::u16string& typed,
                                const std::u16string& behind) {
    const Completion found = app::complete(platform::toUtf8(typed), names);
    if (!found.matching.empty() && found.rest.empty()) {
        std::string shown = "\n";
        for (const std::string& name : found.matching) shown += name + "  ";
        const std::size_t lastLine = asked.find_last_of('\n') + 1;
        writeText(shown + '\n' + asked.substr(lastLine) + platform::toUtf8(typed));
    }
    const std::u16string rest = platform::fromUtf8(found.rest) + behind;
    writeText(platform::toUtf8(rest));
    typed += rest;
}

std::string_view Terminal::keys() {
    return "Tab completes names, Ctrl-C cancels, Ctrl-Z and Enter or QUIT ends.";
}

Terminal::Terminal(NameSource names) : editor_(std::make_unique<Editor>(std::move(names))) {}

Terminal::~Terminal() = default;

Terminal::Outcome Terminal::read(std::u16string_view prompt, bool /*continued*/,
                                 std::u16string& line) {
    const std::string asked = platform::toUtf8(prompt);
    writeText(asked);
    // What is completed is written there, too.
    const bool completes = app::isTerminal(::_fileno(stdout));
    std::u16string typed;
    std::u16string behind;
    for (;;) {
        switch (readConsoleLine(standardInput, typed, completes ? &behind : nullptr)) {
        case LineEnd::end: return Outcome::end;
        case LineEnd::signal:
            if (endingSignal() != 0) return Outcome::end;
            writeText("\n");
            return Outcome::interrupted;
        case LineEnd::enter:
            std::erase(typed, u'\0');
            line = std::move(typed);
            return Outcome::line;
        case LineEnd::tab: editor_->complete(asked, typed, behind);
        }
    }
}

void Terminal::remember(const std::string& /*line*/) {}

}  // namespace vlisp::app
