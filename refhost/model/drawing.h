// The drawing of the reference host: slots of objects, layers, blocks, selection sets, undo.
// One idea: every change passes through here, so that undo, the spatial index and the tables cannot
// miss one. Objects stay at their slots for ever; erasing sets a flag. What came from a file is made
// when it is looked at, and kept only once it has been changed.
// Tests: tests/refhost/drawing_test.cpp.
//
// Not for two threads at once: while LISP evaluates, its thread alone touches the drawing, but for
// the moments in which it waits for the user-interface thread.
#pragma once

#include "host/bridge.h"
#include "refhost/model/geometry.h"
#include "refhost/model/name_index.h"
#include "refhost/model/spatial_index.h"
#include "refhost/model/variables.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <variant>
#include <vector>

namespace vlisp::refhost {

struct Layer {
    std::u16string name;
    std::int32_t colour = 7;  ///< colour index, 1 to 255
    bool on = true;
    bool locked = false;
    std::u16string lineType = u"CONTINUOUS";
    bool frozen = false;
    std::optional<std::uint32_t> trueColour = std::nullopt;  ///< 0xRRGGBB; wins over the index
    bool operator==(const Layer&) const = default;
};

/// A block definition; its contents never change, a redefinition replaces it.
class BlockDefinition {
  public:
    using Contents = std::vector<std::unique_ptr<VmDbObject>>;

    explicit BlockDefinition(Contents contents);
    /// Contents that are made when they are first looked at; `place` says which block of the file.
    BlockDefinition(std::function<Contents()> load, int place);

    /// The contents, as geometry.h reads them; valid as long as the definition.
    [[nodiscard]] const std::vector<const VmDbObject*>& view() const;
    /// Which block of the drawing's file it is; -1 when it came from nowhere else.
    [[nodiscard]] int placeInFile() const noexcept { return place_; }

    VmDbBlock record;

  private:
    mutable Contents contents_;
    mutable std::vector<const VmDbObject*> view_;
    mutable std::function<Contents()> load_;  // empty once they are there
    int place_ = -1;
};

/// An object to look at: stays as it is for as long as it is held, unless it is changed.
using ObjectView = std::shared_ptr<const VmDbObject>;

/// Where the objects of an opened drawing come from.
class ObjectSource {
  public:
    virtual ~ObjectSource();
    /// The object of a slot as its file has it, with its id. Only memory can be lacking.
    [[nodiscard]] virtual std::unique_ptr<VmDbObject> make(int slot) const = 0;
};

/// What an opened drawing begins with.
struct DrawingContents {
    std::shared_ptr<const ObjectSource> source;  ///< of as many slots as there are ids
    std::vector<HostLong> ids;                   ///< by slot; none is there twice
    HostLong nextId = 1;                         ///< above all ids
    std::vector<Layer> layers;                   ///< "0" is added when it is missing
    std::vector<std::shared_ptr<BlockDefinition>> blocks;
};

/// A value attached to an object under a name.
struct ExtendedDatum {
    std::u16string name;
    std::variant<std::int32_t, double, std::u16string> value;
};

class Drawing {
  public:
    Drawing();
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;
    ~Drawing();

    /// The drawing that the functions of the bridge work on.
    static Drawing& current() noexcept;

    /// Becomes another drawing: objects, layers and blocks are the ones given, variables that a
    /// drawing keeps have their defaults, sets are empty, and nothing can be undone. Called while
    /// nothing is open.
    void load(DrawingContents contents);
    /// Counts up with every change.
    [[nodiscard]] std::uint64_t changeCount() const noexcept { return changeCount_; }

    // --- Objects ---

    [[nodiscard]] int slotCount() const noexcept { return static_cast<int>(slots_.size()); }
    /// The slot of an object; -1 when there is none.
    [[nodiscard]] int slotOf(HostLong id) const noexcept;
    /// The object in a slot or with an id, erased ones included; null when there is none. For
    /// looking only.
    [[nodiscard]] ObjectView at(int slot) const;
    [[nodiscard]] ObjectView find(HostLong id) const;
    /// The same when the object is not erased.
    [[nodiscard]] ObjectView findLive(HostLong id) const;
    /// Whether there is such an object and it is not erased.
    [[nodiscard]] bool isLive(HostLong id) const noexcept;
    /// Whether the slot's object is as its file has it.
    [[nodiscard]] bool isAsInFile(int slot) const noexcept;

    /// Opens an object; `change` keeps its former state for undo. Null when there is none. Every
    /// one is closed by its close().
    VmDbObject* open(HostLong id, bool change);
    VmDbObject* openSlot(int slot, bool change);
    void closed(VmDbObject& object);
    /// Objects and blocks that are open now.
    [[nodiscard]] int openCount() const noexcept { return openCount_; }

    /// Takes an object over as the last one, gives it an id and, when it has none, the current
    /// layer. Colour and lineweight stay as they are.
    HostLong add(std::unique_ptr<VmDbObject> object);
    /// Marks an object erased, or not.
    void setErased(HostLong id, bool erased);

    /// The id that the next object gets.
    [[nodiscard]] HostLong nextId() const noexcept { return nextId_; }
    /// The line type that was current when the object was added; empty: by layer, or as its file
    /// has it.
    [[nodiscard]] const std::u16string& lineTypeOf(HostLong id) const noexcept;

    void attach(HostLong id, ExtendedDatum datum);
    [[nodiscard]] const std::vector<ExtendedDatum>& extendedData(HostLong id) const noexcept;

    // --- Where objects are ---

    [[nodiscard]] Box extentOf(const VmDbObject& object) const;
    /// Around everything that is not erased; empty for an empty drawing.
    [[nodiscard]] Box extents() const;
    /// Objects whose extents meet the rectangle, not erased and on layers that are on, by slot.
    std::vector<HostLong> near(const Box& box);
    /// The object nearest to a point within `reach`; of two equally near the later one. None: -1.
    HostLong nearest(Point2 point, double reach);
    [[nodiscard]] BlockLookup blockLookup() const;

    // --- Layers. The first is "0" and stays ---

    [[nodiscard]] const std::vector<Layer>& layers() const noexcept { return layers_; }
    /// Names are compared without regard to case.
    /// The name of the layer that is drawn on, as the layer has it.
    [[nodiscard]] std::u16string currentLayer() const;
    [[nodiscard]] const Layer* findLayer(std::u16string_view name) const;
    /// The layer of this name, made when there is none; to be changed.
    Layer& changeLayer(std::u16string_view name);
    [[nodiscard]] bool isVisible(const VmDbObject& object) const;
    [[nodiscard]] bool isLocked(const VmDbObject& object) const;

    // --- Blocks ---

    [[nodiscard]] const std::vector<std::shared_ptr<BlockDefinition>>& blocks() const noexcept {
        return blocks_;
    }
    [[nodiscard]] const BlockDefinition* findBlock(std::u16string_view name) const;
    /// Defines a block, or redefines it; takes the objects over.
    void defineBlock(std::u16string_view name, Point2 base,
                     std::vector<std::unique_ptr<VmDbObject>> contents);
    VmDbBlock* openBlock(int index);
    void closedBlock() noexcept { --openCount_; }

    // --- Selection sets, numbered from 1 ---

    int addSet();
    [[nodiscard]] const std::vector<HostLong>* members(int set) const noexcept;
    void addToSet(HostLong id, int set);
    void removeFromSet(HostLong id, int set);
    void addAllToSet(int set);
    /// What the user selected last.
    std::vector<HostLong> selected;

    // --- Undo: what happens between the outermost begin and end is one step ---

    void beginGroup();
    void endGroup();
    /// Takes the last step back, or the changes of the group that is open. False when there is none.
    bool undo();
    bool redo();

    Variables variables;

  private:
    struct State {
        std::shared_ptr<VmDbObject> object;  // none: as the file has it
        std::unique_ptr<std::vector<ExtendedDatum>> extended;
    };
    struct Slot {
        State state;
        HostLong id;
        std::uint32_t touchedIn = 0;  // the number of the last step that kept its state
    };
    struct Change {
        HostLong id;
        bool made;  // in this step; there is no state before
        State before;
    };
    struct Tables {
        std::vector<Layer> layers;
        std::vector<std::shared_ptr<BlockDefinition>> blocks;
    };
    /// What is drawn next is drawn with these: the variables of their names.
    struct Properties {
        std::u16string layer, colour, lineType;
        int lineweight = 0;
        bool operator==(const Properties&) const = default;
    };
    struct Step {
        std::vector<Change> changes;
        std::optional<Tables> tablesBefore;
        std::optional<Properties> propertiesBefore;
        [[nodiscard]] bool empty() const noexcept {
            return changes.empty() && !tablesBefore && !propertiesBefore;
        }
        /// How many states it holds. Of an object that was made there is none.
        [[nodiscard]] std::size_t states() const noexcept { return stateCount; }
        std::size_t stateCount = 0;
    };
    struct SelectionSet {
        std::vector<HostLong> members;
        HostLong largest = -1;                // no member has a larger id: one that has is new
        std::unordered_set<HostLong> lookup;  // filled when the set has grown and others come
    };

    void giveLayer(VmDbObject& object);
    // What was made from the file last: a program looks at an object several times in a row.
    struct Made {
        int slot = -1;
        std::shared_ptr<VmDbObject> object;
    };
    [[nodiscard]] HostLong idAt(int slot) const noexcept {
        return slots_[static_cast<std::size_t>(slot)].id;
    }
    [[nodiscard]] int searchSlot(HostLong id) const noexcept;
    VmDbObject* openForChange(int slot);
    Made& madeFromFile(int slot) const;
    [[nodiscard]] std::shared_ptr<VmDbObject> made(int slot) const;
    [[nodiscard]] std::shared_ptr<VmDbObject> takenFromFile(int slot) const;
    [[nodiscard]] bool isLiveAt(const Slot& slot) const noexcept;
    void remember(int slot);
    bool touch(Slot& slot) noexcept;
    void beginStep() noexcept;
    void rememberTables();
    void rememberProperties();
    [[nodiscard]] Properties properties() const;
    void setProperties(const Properties& properties);
    void changed(HostLong id);
    void closeStep();
    void swapStates(Step& step);
    void refreshIndex();
    SelectionSet* setOf(int number) noexcept;
    void forgetHistory();

    std::vector<Slot> slots_;
    std::unordered_map<HostLong, std::u16string> lineTypes_;
    std::shared_ptr<const ObjectSource> source_;
    std::size_t sourceCount_ = 0;  // so many slots came from it
    std::vector<int> byId_;        // its slots in the order of their ids; empty: they are in it
    HostLong nextId_ = 1;
    mutable int lastFound_ = 0;  // the slot of the id that was looked for last
    mutable std::array<Made, 64> made_;
    std::vector<std::shared_ptr<VmDbObject>>
        openForReading_;  // of those that the drawing does not keep
    std::vector<HostLong> openForChange_;
    int openCount_ = 0;
    std::uint64_t changeCount_ = 0;

    std::vector<Layer> layers_;
    mutable NameIndex layerIndex_;
    std::vector<std::shared_ptr<BlockDefinition>> blocks_;
    mutable NameIndex blockIndex_;
    std::deque<SelectionSet> sets_;

    Step step_;
    std::uint32_t stepNumber_ = 1;
    Properties propertiesAtBegin_;
    int groupDepth_ = 0;
    std::deque<Step> undoable_;
    std::size_t undoableStates_ = 0;
    std::vector<Step> redoable_;

    SpatialIndex index_;
    bool indexed_ = false;
    std::vector<HostLong> unindexed_;  // changed since the index was brought up to date
};

}  // namespace vlisp::refhost
