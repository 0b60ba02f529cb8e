// AppLoad and LispEdit. See files.h.
#include "host/files.h"

#include "host/host_calls.h"
#include "host/module.h"
#include "host/typed_text.h"

namespace vlisp {
namespace {

void promptForPath(int& step) {
    hostDisplayPromptMsg(u"Enter lisp file (.lsp) full path or <Browse...>: ");
    ++step;
}

// A dialog may come above the host's windows while this lives.
class DialogOnTop {
  public:
    DialogOnTop() { hostAllowTopMost(true); }
    DialogOnTop(const DialogOnTop&) = delete;
    DialogOnTop& operator=(const DialogOnTop&) = delete;
    ~DialogOnTop() { hostAllowTopMost(false); }
};

// The typed path, or the one chosen in the dialog; empty when that is cancelled.
std::u16string pathFromUser(std::size_t capacity) {
    if (std::u16string path = textFromHost(capacity, hostGetInputString); !path.empty())
        return path;
    const DialogOnTop onTop;
    return fitted(
        platform::chooseFile(handshake().mainWindow, {u".lsp", u"Lisp files (*.lsp)|*lsp||"}),
        capacity);
}

}  // namespace

int loadFile(int& step) {
    if (step == 1) {
        promptForPath(step);
        return 1;
    }
    Module* module = currentModule();
    if (module == nullptr) return 1;
    module->session().LispPathBuffer = pathFromUser(lispPathCapacity);
    module->startEvaluation(
        [&session = module->session(), path = module->session().LispPathBuffer] {
            session.LoadLispFile(path);
        });
    return 1;
}

int editFile(int& step) {
    if (step == 1) {
        promptForPath(step);
        return 1;
    }
    constexpr std::size_t editPathCapacity = 255;
    // On purpose: told whatever becomes of the editor.
    platform::openInEditor(handshake().mainWindow, pathFromUser(editPathCapacity));
    hostDisplayMsg(u"Lisp file edited successfully.");
    return 1;
}

}  // namespace vlisp
