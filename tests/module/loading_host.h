// A host that loads the built module, as a host does that was never linked with it.
// One idea: the thread of the test is the user-interface thread; messages queue up until the test
// takes them. Whatever the module asks for is remembered as a line of text.
//
// Nothing of the module's code is linked into the program: what it needs comes from the file, and
// the bridge comes from here.
#pragma once

#include "host/bridge.h"
#include "host/handshake.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace vlisp::test {

/// ASCII text, wide and back. A unit that is not ASCII becomes "?".
std::u16string wide(std::string_view text);
std::string narrow(std::u16string_view text);

/// The module as the file gives it: the nine functions by their names.
class LoadedModule {
  public:
    /// Loads the file of the build. Throws std::runtime_error with the loader's words.
    LoadedModule();
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    /// Unloads it; throws nothing, but stops the test program when the loader refuses.
    ~LoadedModule();

    /// Whether any copy of the file is in this process.
    static bool isLoaded();
    /// The address of a name, or null.
    [[nodiscard]] void* find(const char* name) const;

    int (*entryPoint)(std::uint16_t*, std::uint16_t*);
    int (*uiEntry)(HostRequest*);
    int (*dynamicCommand)(int*);
    int (*getVarEntry)(const char16_t*, char16_t*, int);
    int (*appLoad)(int*);
    int (*lispEdit)(int*);
    int (*lispPoly)(int*);
    int (*mnuLoad)();
    int (*testLine)();

  private:
    void* handle_;
};

/// What AddCommand was given.
struct RegisteredCommand {
    std::string lispText;
    std::string description;
    std::string owner;
    ModuleHandle instance = nullptr;
    unsigned number = 0;
};

class LoadingHost final : public platform::MessageWindow {
  public:
    LoadingHost();
    LoadingHost(const LoadingHost&) = delete;
    LoadingHost& operator=(const LoadingHost&) = delete;
    ~LoadingHost() override;

    static LoadingHost& current();

    void post(unsigned message, const void* record) override;
    void warn(const char16_t* text) override;
    bool chooseFile(const platform::FileDialog& dialog, char16_t* path,
                    std::size_t capacity) override;

    /// Takes the next message off the queue, waiting for it: a copy of its record. Throws when none
    /// comes for a minute.
    HostRequest takeMessage();
    [[nodiscard]] bool queueIsEmpty();
    /// Forgets what is in the queue, unread.
    void dropMessages();

    /// Serves the evaluation that runs until it ends; returns the text of its end. Messages are
    /// shown, questions and pieces for the command line are answered from `answers` and remembered.
    std::string serve(LoadedModule& module);

    /// Evaluates `lisp` as the command line does, to its end.
    std::string evaluate(LoadedModule& module, std::string_view lisp);
    /// Runs the registered command as a user does who types its name.
    std::string runCommand(LoadedModule& module, const std::string& name);

    /// The calls, such as "DisplayMsg TEXT", "AddCommand NAME", "updatePolyline ID VERTEX X Y".
    std::vector<std::string> log;
    /// The texts that reached the command line, whichever way.
    std::vector<std::string> shown;
    /// The requests that were answered.
    std::vector<HostRequest> requests;
    std::deque<HostRequest> answers;
    std::map<std::string, RegisteredCommand> commands;
    /// The commands' names in the order in which they were registered.
    std::vector<std::string> registered;
    int windowsFetched = 0;
    /// Calls that belong on the user-interface thread and came on another.
    std::vector<std::string> onWrongThread;
    /// Whether a posted message came from the user-interface thread.
    bool postedByItself = false;

    std::u16string version = u"2.0";
    std::u16string inputString;
    int inputType = 0;
    mmPoint inputPoint;
    std::u16string chosenFile;  ///< empty: the dialog is cancelled
    std::map<std::string, std::u16string> variables;

    std::vector<std::unique_ptr<VmDbObject>> drawing;
    std::vector<std::vector<HostLong>> sets;
    int open = 0;

    [[nodiscard]] VmDbObject* object(HostLong id) const;
    HostLong add(std::unique_ptr<VmDbObject> object);
    void note(std::string call) { log.push_back(std::move(call)); }
    void noteUi(std::string call);

    std::atomic<bool> taken{false};

  private:
    std::thread::id uiThread_ = std::this_thread::get_id();
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<const HostRequest*> queue_;
};

/// A reply record.
HostRequest reply(int mode, double x = 0, double y = 0, std::string_view text = {}, int count = 0,
                  int entityId = 0, int context = 0);

}  // namespace vlisp::test
