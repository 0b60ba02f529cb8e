// vlisp alone in a terminal: a command line with history, editing and completion. See commands.h.
// The line editing is libedit's. Tests: tests/cli/prompt_test.cpp (through a pseudo-terminal).
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "core/evaluator.h"
#include "core/interruption.h"
#include "platform/text.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <histedit.h>
#include <iostream>
#include <memory>
#include <set>

namespace vlisp::app {
namespace {

namespace fs = std::filesystem;

// Where history is kept between runs: the user's folder for program state.
fs::path historyFile() {
    if (const char* state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0')
        return fs::path(state) / "vlisp" / "history";
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0')
        return fs::path(home) / ".local" / "state" / "vlisp" / "history";
    return {};
}

// Parentheses left open by `text`, as the reader counts them: strings are one token each.
int openParentheses(std::u16string_view text) {
    int depth = 0;
    for (TokenQueue tokens = Tokenize(text); !tokens.empty();) {
        const std::u16string_view token = tokens.take();
        if (token == u"(") ++depth;
        if (token == u")") --depth;
    }
    return depth;
}

// Names that can be typed: what is bound, and the special forms.
std::set<std::string> knownNames() {
    std::set<std::string> names;
    for (const Environment::Binding& binding : GlobalEnvironment().bindings())
        names.insert(platform::toUtf8(textOf(binding.name.get())));
    for (const SpecialFormHelp& form : specialForms()) names.insert(form.name);
    names.erase("nil");
    names.erase(".");
    return names;
}

bool beginsIgnoringCase(const std::string& name, std::string_view typed) {
    return name.size() >= typed.size() &&
           std::equal(typed.begin(), typed.end(), name.begin(), [](char a, char b) {
               return std::toupper(static_cast<unsigned char>(a)) == b;
           });
}

std::string commonBeginning(const std::vector<std::string>& names) {
    std::string common = names.front();
    for (const std::string& name : names) {
        const auto end =
            std::mismatch(common.begin(), common.end(), name.begin(), name.end()).first;
        common.erase(end, common.end());
    }
    return common;
}

// The Tab key: completes the name before the cursor as far as it is certain, in the case in which
// it is being typed; lists the names when nothing is certain any more.
unsigned char completeName(EditLine* editor, wint_t /*key*/) {
    const LineInfo* line = el_line(editor);
    const std::string_view before(line->buffer,
                                  static_cast<std::size_t>(line->cursor - line->buffer));
    const std::size_t separator = before.find_last_of(" ()'\"");
    const std::string_view typed =
        separator == std::string_view::npos ? before : before.substr(separator + 1);
    if (typed.empty()) return CC_ERROR;

    std::vector<std::string> matching;
    for (const std::string& name : knownNames())
        if (beginsIgnoringCase(name, typed)) matching.push_back(name);
    if (matching.empty()) return CC_ERROR;

    std::string rest = commonBeginning(matching).substr(typed.size());
    const bool typesLower = std::any_of(typed.begin(), typed.end(),
                                        [](unsigned char c) { return std::islower(c) != 0; });
    if (typesLower)
        std::transform(rest.begin(), rest.end(), rest.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (matching.size() == 1) rest += ' ';
    if (!rest.empty()) return el_insertstr(editor, rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;

    std::cout << '\n';
    for (const std::string& name : matching) std::cout << name << "  ";
    std::cout << '\n' << std::flush;
    return CC_REDISPLAY;
}

volatile std::sig_atomic_t evaluating = 0;

// Ctrl-C ends the running evaluation, or the line that is being typed, and nothing more.
void onInterrupt(int /*signal*/) {
    if (evaluating != 0) interruption::request(interruption::Reason::cancelled);
}

// The editor and its history, closed and saved at the end.
class LineEditor {
  public:
    LineEditor()
        : editor_(el_init("vlisp", stdin, stdout, stderr), &el_end),
          history_(history_init(), &history_end), file_(historyFile()) {
        HistEvent event;
        history(history_.get(), &event, H_SETSIZE, 1000);
        history(history_.get(), &event, H_SETUNIQUE, 1);
        if (!file_.empty()) history(history_.get(), &event, H_LOAD, file_.c_str());
        el_set(editor_.get(), EL_CLIENTDATA, this);
        el_set(editor_.get(), EL_PROMPT, &LineEditor::prompt);
        el_set(editor_.get(), EL_EDITOR, "emacs");
        el_set(editor_.get(), EL_SIGNAL, 0);
        el_set(editor_.get(), EL_HIST, history, history_.get());
        // The wide call: the other one never frees its copies of the texts.
        el_wset(editor_.get(), EL_ADDFN, L"complete-name", L"Complete a name", &completeName);
        el_set(editor_.get(), EL_BIND, "\t", "complete-name", nullptr);
        el_set(editor_.get(), EL_BIND, "^R", "em-inc-search-prev", nullptr);
        el_set(editor_.get(), EL_BIND, "\033[3~", "ed-delete-next-char", nullptr);
        el_set(editor_.get(), EL_BIND, "\033[H", "ed-move-to-beg", nullptr);
        el_set(editor_.get(), EL_BIND, "\033[F", "ed-move-to-end", nullptr);
        el_source(editor_.get(), nullptr);
    }

    enum class Outcome { line, interrupted, end };

    Outcome read(bool continued, std::string& line) {
        continued_ = continued;
        int count = 0;
        errno = 0;
        const char* text = el_gets(editor_.get(), &count);
        if (text == nullptr || count <= 0) {
            if (count < 0 && errno == EINTR) {
                el_reset(editor_.get());
                std::cout << '\n';
                return Outcome::interrupted;
            }
            return Outcome::end;
        }
        line.assign(text, static_cast<std::size_t>(count));
        while (line.ends_with('\n') || line.ends_with('\r')) line.pop_back();
        return Outcome::line;
    }

    // Kept at once: a run that ends badly loses nothing.
    void remember(const std::string& text) {
        HistEvent event;
        history(history_.get(), &event, H_ENTER, text.c_str());
        if (file_.empty()) return;
        std::error_code ignored;
        fs::create_directories(file_.parent_path(), ignored);
        history(history_.get(), &event, H_SAVE, file_.c_str());
    }

  private:
    static char* prompt(EditLine* editor) {
        static char first[] = "vlisp> ";
        static char further[] = "  ...> ";
        LineEditor* self = nullptr;
        el_get(editor, EL_CLIENTDATA, &self);
        return self->continued_ ? further : first;
    }

    std::unique_ptr<EditLine, void (*)(EditLine*)> editor_;
    std::unique_ptr<History, void (*)(History*)> history_;
    fs::path file_;
    bool continued_ = false;
};

void evaluateAndShow(Lisp& lisp, std::u16string text) {
    evaluating = 1;
    const bool succeeded = lisp.evalString(text);
    evaluating = 0;
    interruption::take();  // a Ctrl-C that came too late is not for the next text
    while (!succeeded && text.ends_with(u'\n')) text.pop_back();
    writeLine(text);
}

}  // namespace

int promptForTexts() {
    std::setlocale(LC_CTYPE, "");  // for the line editor; the interpreter knows no locale
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigaction(SIGINT, &action, nullptr);  // without SA_RESTART: reading a line is interrupted

    Lisp lisp([](std::u16string_view text) { writeLine(text); });
    LineEditor editor;
    std::cout << "Velmora LISP. Tab completes names; Ctrl-D ends; 'vlisp help' tells more.\n";
    std::string open;  // lines of an expression whose parentheses are not closed yet
    for (;;) {
        std::string line;
        const LineEditor::Outcome outcome = editor.read(!open.empty(), line);
        if (outcome == LineEditor::Outcome::end) break;
        if (outcome == LineEditor::Outcome::interrupted) {
            open.clear();
            continue;
        }
        if (open.empty() && line.find_first_not_of(' ') == std::string::npos) continue;
        open += open.empty() ? line : " " + line;
        const std::u16string text = platform::fromUtf8(open);
        if (openParentheses(text) > 0) continue;
        editor.remember(open);
        open.clear();
        evaluateAndShow(lisp, text);
    }
    std::cout << '\n';
    return exitCodeOfOutput(exitOk);
}

}  // namespace vlisp::app
