// A host for tests: implements the bridge in memory, takes every message at once on the thread
// that posts it, remembers everything, and answers requests from a script. Its drawing is a plain
// row of slots; it counts what is opened and closed.
#pragma once

#include "host/bridge.h"
#include "host/handshake.h"
#include "platform/system.h"

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vlisp::test {

/// A value attached to an object.
struct ExtendedValue {
    int id;
    std::string name;
    std::string value;  ///< as "int 45", "double 45.763000", "string How are you?"
    bool operator==(const ExtendedValue&) const = default;
};

class RecordingHost final : public platform::MessageWindow {
  public:
    RecordingHost();
    ~RecordingHost() override;

    void post(unsigned message, const void* record) override;
    void warn(const char16_t* text) override;
    bool chooseFile(const platform::FileDialog& dialog, char16_t* path,
                    std::size_t capacity) override;

    [[nodiscard]] bool usesTerminal() const override { return livesInTerminal; }

    /// The texts that reached the command line: kind-3 messages and DisplayMsg, in order.
    std::vector<std::u16string> shown;
    /// Every record that was posted, as it was when it was taken.
    std::vector<HostRequest> posted;
    /// "AddCommand NAME|LISP|DESCRIPTION|MODULE|NUMBER", "DisplayMsg TEXT", "Clear", "Post KIND",
    /// "DisplayPromptMsg TEXT", "AllowTopMost 1", "warn TEXT", "chooseFile EXTENSION|FILTER",
    /// "Regen", "Refresh", "SetVarInt NAME=VALUE", "Toolbar NAME|BITMAP|COMMAND:IMAGE ...",
    /// "SetUserInputMode MODE BASE X Y Z", "addLine", "addPolyline", "updatePolyline ID VERTEX X Y",
    /// "setWorkingLayerAndLineType LAYER|TYPE".
    std::vector<std::string> log;
    /// The log without handshake and messages.
    [[nodiscard]] std::vector<std::string> calls() const;
    /// Answers to requests of kinds 0 and 1, in order.
    std::deque<HostRequest> answers;
    /// How often "not yet" is said before a message counts as taken.
    int asksBeforeTaken = 0;

    // What the host says when it is asked.
    std::u16string version = u"2.0";
    std::u16string inputString;
    int inputType = 0;
    mmPoint inputPoint;
    std::u16string chosenFile;  ///< empty: the dialog is cancelled
    bool hasChosen = false;
    bool livesInTerminal = false;
    /// Numbers, slots and lengths that are asked for stay as they are.
    bool saysNothing = false;
    /// What GetObjectIndex writes for an id that it cannot place; nothing without one.
    std::optional<int> slotOfUnknown;
    std::map<std::u16string, std::u16string> variables;  ///< name to value as text

    // The drawing. A null slot is empty.
    std::vector<std::unique_ptr<VmDbObject>> slots;
    std::vector<std::unique_ptr<VmDbBlock>> blocks;  ///< a null block does not open
    std::vector<std::vector<HostLong>> sets;
    std::vector<HostLong> selected;  ///< what addSelectedToSelectionSet adds
    std::vector<ExtendedValue> extendedData;

    /// Objects and blocks that are open now; and how many were ever opened.
    int open = 0;
    int opened = 0;
    /// Objects that were opened for changing.
    int openedForChange = 0;

    /// Adds an object with its points and the next free id, from 1 on; the host keeps it.
    template <class Object>
    Object& add(std::int32_t typeCode, std::initializer_list<mmPoint> points = {}) {
        auto object = std::make_unique<Object>();
        object->typeCode = typeCode;
        object->id = static_cast<HostLong>(slots.size() + 1);
        object->layerName.assign(u"0", 1);
        for (const mmPoint& point : points) object->addPoint(point);
        Object& added = *object;
        slots.push_back(std::move(object));
        return added;
    }
    VmDbBlock& addBlock(std::u16string_view name, double x = 0, double y = 0);
    VmDbObject* find(HostLong id) const;

    static RecordingHost& current();
    /// Whether a recording host lives.
    static bool lives() noexcept;

    /// Where every posted record stood.
    std::vector<const HostRequest*> addresses;
    /// The instances that came with AddCommand.
    std::vector<ModuleHandle> owners;

    // What a test may ask while a thread of the module runs; all else only behind that.
    /// How many records were posted.
    std::atomic<int> posts{0};
    /// How often DisplayMsg was called.
    std::atomic<int> displays{0};
    /// How many ends of evaluations were posted and seen as taken; the thread that evaluated does
    /// not come back to this host.
    std::atomic<int> evalDones{0};
    /// Waits until a counter has reached `count`; false after a minute without that.
    [[nodiscard]] static bool reaches(const std::atomic<int>& counter, int count);

    bool taken = false;
    int asks = 0;
    bool lastWasEvalDone = false;
};

/// Makes the handshake what it is before anything has happened, but for its window, and forgets an
/// interruption that nobody took.
void resetHandshake();

/// Starts the module as a host does; whether it accepted.
bool startExtension();

/// A reply record.
HostRequest reply(int mode, double x = 0, double y = 0, std::u16string_view text = {},
                  int count = 0, int entityId = 0, int context = 0);

}  // namespace vlisp::test
