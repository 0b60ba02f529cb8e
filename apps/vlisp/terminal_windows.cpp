// The terminal on Windows: the console edits lines and remembers them by itself, and completes nothing.
// See terminal.h.
#include "apps/vlisp/terminal.h"

#include "apps/vlisp/input.h"
#include "apps/vlisp/script_answers.h"
#include "apps/vlisp/signals.h"
#include "platform/text.h"

#include <algorithm>

namespace vlisp::app {

struct Terminal::Editor {
    std::string read;  ///< what was typed beyond the line that was asked for
};

Terminal::Terminal(Names /*names*/) : editor_(std::make_unique<Editor>()) {}

Terminal::~Terminal() = default;

Terminal::Outcome Terminal::read(std::u16string_view prompt, bool /*continued*/,
                                 std::u16string& line) {
    writeText(platform::toUtf8(prompt));
    std::string& typed = editor_->read;
    while (typed.find('\n') == std::string::npos) {
        const std::size_t before = typed.size();
        if (endingSignal() != 0 || !readInput(standardInput, typed)) return Outcome::end;
        if (typed.size() == before) {
            writeText("\n");
            return Outcome::interrupted;
        }
    }
    const std::size_t end = typed.find('\n');
    std::string bytes = typed.substr(0, end);
    typed.erase(0, end + 1);
    if (bytes.ends_with('\r')) bytes.pop_back();
    std::erase(bytes, '\0');
    line = platform::fromUtf8(bytes);
    return Outcome::line;
}

void Terminal::remember(const std::string& /*line*/) {}

}  // namespace vlisp::app
