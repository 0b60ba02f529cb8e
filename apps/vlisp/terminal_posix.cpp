// The terminal on Linux and its relatives: lines are edited by libedit. See terminal.h.
#include "apps/vlisp/terminal.h"

#include "platform/text.h"

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <histedit.h>
#include <iostream>

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

}  // namespace

struct Terminal::Editor {
    explicit Editor(NameSource namesToComplete);

    Outcome read(std::u16string_view prompt, std::u16string& line);
    void remember(const std::string& line);
    unsigned char complete();

    static Editor* of(EditLine* library);
    static unsigned char completeName(EditLine* library, wint_t key);
    static char* promptOf(EditLine* library);

    NameSource names;
    std::unique_ptr<EditLine, void (*)(EditLine*)> edited;
    std::unique_ptr<History, void (*)(History*)> past;
    std::string file;
    std::string asked;
};

Terminal::Editor* Terminal::Editor::of(EditLine* library) {
    Editor* self = nullptr;
    el_get(library, EL_CLIENTDATA, &self);
    return self;
}

unsigned char Terminal::Editor::completeName(EditLine* library, wint_t /*key*/) {
    return of(library)->complete();
}

Terminal::Editor::Editor(NameSource namesToComplete)
    : names(std::move(namesToComplete)), edited(el_init("vlisp", stdin, stdout, stderr), &el_end),
      past(history_init(), &history_end), file(historyFile().string()) {
    HistEvent event;
    history(past.get(), &event, H_SETSIZE, 1000);
    history(past.get(), &event, H_SETUNIQUE, 1);
    if (!file.empty()) history(past.get(), &event, H_LOAD, file.c_str());
    el_set(edited.get(), EL_CLIENTDATA, this);
    el_set(edited.get(), EL_PROMPT, &Editor::promptOf);
    el_set(edited.get(), EL_EDITOR, "emacs");
    el_set(edited.get(), EL_SIGNAL, 0);
    el_set(edited.get(), EL_HIST, history, past.get());
    // The wide call: the other one never frees its copies of the texts.
    el_wset(edited.get(), EL_ADDFN, L"complete-name", L"Complete a name", &Editor::completeName);
    el_set(edited.get(), EL_BIND, "\t", "complete-name", nullptr);
    el_set(edited.get(), EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_set(edited.get(), EL_BIND, "\033[3~", "ed-delete-next-char", nullptr);
    el_set(edited.get(), EL_BIND, "\033[H", "ed-move-to-beg", nullptr);
    el_set(edited.get(), EL_BIND, "\033[F", "ed-move-to-end", nullptr);
    el_source(edited.get(), nullptr);
}

Terminal::Outcome Terminal::Editor::read(std::u16string_view prompt, std::u16string& line) {
    asked = platform::toUtf8(prompt);
    // A prompt of several lines would confuse the editor: only its last one is edited behind.
    if (const std::size_t end = asked.find_last_of("\r\n"); end != std::string::npos) {
        std::cout << asked.substr(0, end + 1) << std::flush;
        asked.erase(0, end + 1);
    }
    int count = 0;
    errno = 0;
    const char* text = el_gets(edited.get(), &count);
    if (text == nullptr || count <= 0) {
        if (count < 0 && errno == EINTR) {
            el_reset(edited.get());
            std::cout << '\n';
            return Outcome::interrupted;
        }
        return Outcome::end;
    }
    std::string bytes(text, static_cast<std::size_t>(count));
    while (bytes.ends_with('\n') || bytes.ends_with('\r')) bytes.pop_back();
    std::erase(bytes, '\0');
    line = platform::fromUtf8(bytes);
    return Outcome::line;
}

void Terminal::Editor::remember(const std::string& line) {
    HistEvent event;
    history(past.get(), &event, H_ENTER, line.c_str());
    if (file.empty()) return;
    std::error_code ignored;
    fs::create_directories(fs::path(file).parent_path(), ignored);
    history(past.get(), &event, H_SAVE, file.c_str());
}

unsigned char Terminal::Editor::complete() {
    const LineInfo* line = el_line(edited.get());
    const std::string_view before(line->buffer,
                                  static_cast<std::size_t>(line->cursor - line->buffer));
    const Completion found = app::complete(before, names);
    if (found.matching.empty()) return CC_ERROR;
    if (!found.rest.empty())
        return el_insertstr(edited.get(), found.rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;

    std::cout << '\n';
    for (const std::string& name : found.matching) std::cout << name << "  ";
    std::cout << '\n' << std::flush;
    return CC_REDISPLAY;
}

char* Terminal::Editor::promptOf(EditLine* library) { return of(library)->asked.data(); }

std::string_view Terminal::keys() {
    return "Tab completes names, Ctrl-C cancels, Ctrl-D or QUIT ends.";
}

Terminal::Terminal(NameSource names) {
    std::setlocale(LC_CTYPE, "");  // for the line editor; the interpreter knows no locale
    editor_ = std::make_unique<Editor>(std::move(names));
}

Terminal::~Terminal() = default;

Terminal::Outcome Terminal::read(std::u16string_view prompt, bool /*continued*/,
                                 std::u16string& line) {
    return editor_->read(prompt, line);
}

void Terminal::remember(const std::string& line) { editor_->remember(line); }

}  // namespace vlisp::app
