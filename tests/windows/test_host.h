// A host for Windows, for tests: a main window with a message loop, and a small drawing.
// One idea: the thread of the test is the user-interface thread, and the program is what the module is
// loaded into. So the module finds what the host exports as it finds it in the true one: in the
// executable, by decorated name, with the Microsoft ABI (host_bridge.cpp).
//
// Whatever the module asks for is remembered as a line of text. Every wait has a limit, after which the
// program ends with a word on the standard error stream.
#pragma once

#include "host/handshake.h"
#include "tests/windows/host_face.h"

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace vlisp::test {

/// What may last so long and no longer, on the slowest machine.
inline constexpr DWORD longestWait = 60'000;  // milliseconds

/// ASCII text, wide and back. A unit that is not ASCII becomes "?".
std::u16string wide(std::string_view text);
std::string narrow(std::u16string_view text);
std::string narrow(const wchar_t* text);
/// The same text as the system's functions take it.
const wchar_t* units(const std::u16string& text);

/// Folder of the program, with a backslash at its end.
std::u16string programFolder();

/// The module as the file beside the program gives it: the nine functions by their names.
class LoadedModule {
  public:
    /// Loads it; ends the program when the loader refuses.
    LoadedModule();
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule();

    static std::u16string path();
    /// Whether a copy of the file is in this process.
    static bool isLoaded();
    [[nodiscard]] HMODULE handle() const { return handle_; }
    /// The address of a name, or null.
    [[nodiscard]] FARPROC find(const char* name) const;

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
    HMODULE handle_;
};

/// What AddCommand was given.
struct RegisteredCommand {
    std::string lispText;
    std::string description;
    std::string owner;
    void* instance = nullptr;
    unsigned number = 0;
};

/// A value that was attached to an object: "1 Integer number = 45 true".
using ExtendedValue = std::string;

class TestHost {
  public:
    TestHost();
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;
    ~TestHost();

    static TestHost& current();
    static bool lives();

    // --- The message loop ---

    /// Runs the loop until `isDone`; ends the program after a minute, naming what was waited for.
    void waitUntil(const char* what, const std::function<bool()>& isDone);
    /// Serves the evaluation that runs until it ends; the text of its end. Messages are shown;
    /// questions, and pieces for the command line, are answered from `answers` and remembered.
    std::string serve();
    /// Forgets the messages that wait in the queue, unread.
    void dropMessages();

    /// Evaluates `lisp` as the command line does, to its end.
    std::string evaluate(LoadedModule& module, std::string_view lisp);
    /// Starts that, and does not wait.
    void startEvaluation(LoadedModule& module, std::string_view lisp);
    /// Runs the registered command as a user does who types its name.
    std::string runCommand(LoadedModule& module, const std::string& name);

    /// Who answers requests; without one nobody does.
    LoadedModule* module = nullptr;
    std::deque<HostRequest> answers;
    /// True: requests are remembered and not answered.
    bool holdsAnswers = false;

    // --- What the module did ---

    /// The calls, such as "DisplayMsg TEXT", "AddCommand NAME", "updatePolyline ID VERTEX X Y".
    std::vector<std::string> log;
    /// The texts that reached the command line, whichever way.
    std::vector<std::string> shown;
    /// The requests that wanted an answer, as they were when they were taken.
    std::vector<HostRequest> requests;
    std::map<std::string, RegisteredCommand> commands;
    /// The commands' names in the order in which they were registered.
    std::vector<std::string> registered;
    /// Numbers of toolbar buttons that were pressed.
    std::vector<unsigned> pressed;
    std::vector<HWND> toolbars;
    int windowsFetched = 0;
    int messagesTaken = 0;
    /// Calls that belong on the user-interface thread and came on another.
    std::vector<std::string> onWrongThread;
    std::vector<ExtendedValue> extendedData;

    // --- What the host says when it is asked ---

    HWND window = nullptr;
    std::u16string version = u"2.0";
    std::u16string inputString;
    int inputType = 0;
    double inputPoint[3] = {};
    std::map<std::string, std::u16string> variables;

    // --- The drawing ---

    /// The slots; a null one is empty.
    std::vector<VmDbObject*> slots;
    std::vector<VmDbBlock*> blocks;
    std::vector<std::vector<std::int32_t>> sets;
    std::vector<std::int32_t> selected;  ///< what the user selected last
    /// How often each object and block is open now, and how many were ever opened.
    std::map<const void*, int> openNow;
    int opened = 0;

    /// Adds an object of the class of this type code, on layer "0", in a new slot.
    VmDbObject* add(std::int32_t typeCode, const std::function<void(ObjectState&)>& fill = {});
    /// Gives an object that was made elsewhere the next id and a slot; it is the host's then.
    std::int32_t adopt(VmDbObject* object);
    void addBlock(const char* name, int flags, double x, double y);
    [[nodiscard]] VmDbObject* find(std::int32_t id) const;
    [[nodiscard]] static ObjectState stateOf(const VmDbObject* object);
    /// The points as text, "1 2 0; 3 4 0".
    [[nodiscard]] static std::string pointsOf(const VmDbObject* object);
    VmDbObject* open(VmDbObject* object);
    void close(const void* object);

    void note(std::string call);
    void noteUi(std::string call);
    void show(std::string text);

    std::atomic<bool> taken{false};

  private:
    static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam,
                                            LPARAM lParam);
    void take(const HostRequest& record);

    DWORD uiThread_ = GetCurrentThreadId();
    std::mutex mutex_;
    std::deque<std::string> ends_;  // texts of evaluations that have ended
};

/// A reply record.
HostRequest reply(int mode, double x = 0, double y = 0, std::string_view text = {}, int count = 0,
                  int entityId = 0, int context = 0);

/// A number as the log writes it.
std::string number(double value);

}  // namespace vlisp::test
