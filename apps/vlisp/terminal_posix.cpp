// The terminal on Linux and its relatives: lines are edited by libedit. See terminal.h.
#include "apps/vlisp/terminal.h"

#include "platform/text.h"

#include <algorithm>
#include <cerrno>
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

char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

bool beginsIgnoringCase(const std::string& name, std::string_view typed) {
    return name.size() >= typed.size() &&
           std::equal(typed.begin(), typed.end(), name.begin(),
                      [](char a, char b) { return upper(a) == upper(b); });
}

std::string commonBeginning(const std::vector<std::string>& names) {
    std::string common = names.front();
    for (const std::string& name : names) {
        const auto end = std::mismatch(common.begin(), common.end(), name.begin(), name.end(),
                                       [](char a, char b) { return upper(a) == upper(b); })
                             .first;
        common.erase(end, common.end());
    }
    return common;
}

}  // namespace

struct Terminal::Editor {
    explicit Editor(Names namesToComplete);

    Outcome read(std::u16string_view prompt, std::u16string& line);
    void remember(const std::string& line);
    unsigned char complete();

    static Editor* of(EditLine* library);
    static unsigned char completeName(EditLine* library, wint_t key);
    static char* promptOf(EditLine* library);

    Names names;
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

Terminal::Editor::Editor(Names namesToComplete)
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

// As far as it is certain, in the case in which it is being typed; lists the names when nothing is
// certain any more.
unsigned char Terminal::Editor::complete() {
    const LineInfo* line = el_line(edited.get());
    const std::string_view before(line->buffer,
                                  static_cast<std::size_t>(line->cursor - line->buffer));
    const std::size_t separator = before.find_last_of(" ()'\"!");
    const std::size_t begin = separator == std::string_view::npos ? 0 : separator + 1;
    const std::string_view typed = before.substr(begin);
    if (typed.empty()) return CC_ERROR;

    std::vector<std::string> matching;
    for (const std::string& name : names(before.substr(0, begin)))
        if (beginsIgnoringCase(name, typed)) matching.push_back(name);
    if (matching.empty()) return CC_ERROR;

    std::string rest = commonBeginning(matching).substr(typed.size());
    const bool typesLower = std::any_of(typed.begin(), typed.end(),
                                        [](unsigned char c) { return std::islower(c) != 0; });
    if (typesLower)
        std::transform(rest.begin(), rest.end(), rest.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const bool inText = begin > 0 && before[begin - 1] == '"';
    if (matching.size() == 1 && !inText) rest += ' ';
    if (!rest.empty()) return el_insertstr(edited.get(), rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;

    std::cout << '\n';
    for (const std::string& name : matching) std::cout << name << "  ";
    std::cout << '\n' << std::flush;
    return CC_REDISPLAY;
}

char* Terminal::Editor::promptOf(EditLine* library) { return of(library)->asked.data(); }

Terminal::Terminal(Names names) : editor_(std::make_unique<Editor>(std::move(names))) {}

Terminal::~Terminal() = default;

Terminal::Outcome Terminal::read(std::u16string_view prompt, bool /*continued*/,
                                 std::u16string& line) {
    return editor_->read(prompt, line);
}

void Terminal::remember(const std::string& line) { editor_->remember(line); }

}  // namespace vlisp::app
