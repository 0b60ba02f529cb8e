// The drawing. See drawing.h.
#include "refhost/model/drawing.h"

#include "platform/system.h"
#include "refhost/model/file_part.h"
#include "refhost/model/objects.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <numeric>

namespace vlisp::refhost {
namespace {

Drawing* theDrawing = nullptr;

constexpr std::u16string_view layerZero = u"0";
// What is kept for undo: so many steps, and so many states of objects, layers and blocks in all.
constexpr std::size_t mostSteps = 1000;
constexpr std::size_t mostStates = 1'000'000;

}  // namespace

ObjectSource::~ObjectSource() = default;

BlockDefinition::BlockDefinition(Contents contents) : contents_(std::move(contents)) {
    for (const auto& object : contents_) view_.push_back(object.get());
}

BlockDefinition::BlockDefinition(std::function<Contents()> load, int place)
    : load_(std::move(load)), place_(place) {}

const std::vector<const VmDbObject*>& BlockDefinition::view() const {
    if (load_) {
        contents_ = load_();
        load_ = nullptr;
        for (const auto& object : contents_) view_.push_back(object.get());
    }
    return view_;
}

Drawing::Drawing() {
    theDrawing = this;
    layers_.push_back({std::u16string(layerZero)});
    variables.guard(u"CLAYER", [this](const VariableValue& name) {
        return findLayer(std::get<std::u16string>(name)) != nullptr;
    });
    variables.provide(u"EXTMIN", [this]() -> VariableValue {
        const Box box = extents();
        constexpr double far = 1e20;
        return box.isEmpty() ? VariablePoint{far, far, far}
                             : VariablePoint{box.left, box.bottom, 0};
    });
    variables.provide(u"EXTMAX", [this]() -> VariableValue {
        const Box box = extents();
        constexpr double far = -1e20;
        return box.isEmpty() ? VariablePoint{far, far, far} : VariablePoint{box.right, box.top, 0};
    });
}

Drawing::~Drawing() {
    if (theDrawing == this) theDrawing = nullptr;
}

Drawing& Drawing::current() noexcept {
    assert(theDrawing != nullptr && "no drawing lives");
    return *theDrawing;
}

void Drawing::load(DrawingContents contents) {
    assert(openCount_ == 0 && "an object is open");
    forgetHistory();
    slots_.clear();
    slots_.shrink_to_fit();
    slots_.reserve(contents.ids.size());
    for (const HostLong id : contents.ids) slots_.push_back({{}, id});
    source_ = std::move(contents.source);
    sourceCount_ = slots_.size();
    byId_.clear();
    if (!std::ranges::is_sorted(slots_, {}, &Slot::id)) {
        byId_.resize(sourceCount_);
        std::iota(byId_.begin(), byId_.end(), 0);
        std::ranges::sort(byId_, {},
                          [this](int slot) { return slots_[static_cast<std::size_t>(slot)].id; });
    }
    nextId_ = contents.nextId;
    lastFound_ = 0;
    lineTypes_.clear();
    made_ = {};

    layers_ = std::move(contents.layers);
    layerIndex_.tableChanged();
    if (findLayer(layerZero) == nullptr)
        layers_.insert(layers_.begin(), {std::u16string(layerZero)});
    layerIndex_.tableChanged();
    blocks_ = std::move(contents.blocks);
    blockIndex_.tableChanged();
    for (SelectionSet& set : sets_) set = {};
    selected.clear();
    variables.resetDrawing();
    propertiesAtBegin_ = properties();
    indexed_ = false;
    unindexed_.clear();
    ++changeCount_;
}

void Drawing::forgetHistory() {
    step_ = {};
    beginStep();
    undoable_.clear();
    redoable_.clear();
    undoableStates_ = 0;
}

// --- Objects ---

int Drawing::slotOf(HostLong id) const noexcept {
    // Shortcut: a walk looks for the same id again, then for the one behind it.
    for (const int slot : {lastFound_, lastFound_ + 1})
        if (slot < slotCount() && idAt(slot) == id) return lastFound_ = slot;
    const int found = searchSlot(id);
    if (found >= 0) lastFound_ = found;
    return found;
}

int Drawing::searchSlot(HostLong id) const noexcept {
    // Ids count upwards behind those of the file.
    const auto fileEnd = slots_.begin() + static_cast<std::ptrdiff_t>(sourceCount_);
    if (sourceCount_ == slots_.size() || id < fileEnd->id) {
        if (!byId_.empty()) {
            const auto found =
                std::ranges::lower_bound(byId_, id, {}, [this](int slot) { return idAt(slot); });
            return found != byId_.end() && idAt(*found) == id ? *found : -1;
        }
        const auto found = std::ranges::lower_bound(slots_.begin(), fileEnd, id, {}, &Slot::id);
        return found != fileEnd && found->id == id ? static_cast<int>(found - slots_.begin()) : -1;
    }
    const auto found = std::ranges::lower_bound(fileEnd, slots_.end(), id, {}, &Slot::id);
    return found != slots_.end() && found->id == id ? static_cast<int>(found - slots_.begin()) : -1;
}

// Where the object of a slot is that the drawing does not keep.
Drawing::Made& Drawing::madeFromFile(int slot) const {
    Made& place = made_[static_cast<std::size_t>(slot) % made_.size()];
    if (place.slot != slot) {
        place.object = source_->make(slot);
        place.slot = slot;
    }
    return place;
}

// The object of a slot; made when the drawing does not keep it.
std::shared_ptr<VmDbObject> Drawing::made(int slot) const {
    if (slot < 0 || slot >= slotCount()) return nullptr;
    const State& state = slots_[static_cast<std::size_t>(slot)].state;
    return state.object ? state.object : madeFromFile(slot).object;
}

// An object for the drawing to keep: the one that was made, unless somebody looks at it.
std::shared_ptr<VmDbObject> Drawing::takenFromFile(int slot) const {
    Made& place = madeFromFile(slot);
    if (place.object.use_count() > 1) return clone(*place.object);
    place.slot = -1;
    return std::move(place.object);
}

ObjectView Drawing::at(int slot) const { return made(slot); }

ObjectView Drawing::find(HostLong id) const { return at(slotOf(id)); }

ObjectView Drawing::findLive(HostLong id) const {
    ObjectView object = find(id);
    return object != nullptr && object->erased == 0 ? object : nullptr;
}

// What came from a file and was not changed is not erased.
bool Drawing::isLiveAt(const Slot& slot) const noexcept {
    return slot.state.object == nullptr || slot.state.object->erased == 0;
}

bool Drawing::isLive(HostLong id) const noexcept {
    const int slot = slotOf(id);
    return slot >= 0 && isLiveAt(slots_[static_cast<std::size_t>(slot)]);
}

bool Drawing::isAsInFile(int slot) const noexcept {
    const State& state = slots_[static_cast<std::size_t>(slot)].state;
    return state.object == nullptr && state.extended == nullptr;
}

VmDbObject* Drawing::open(HostLong id, bool change) { return openSlot(slotOf(id), change); }

VmDbObject* Drawing::openSlot(int slot, bool change) {
    if (slot < 0 || slot >= slotCount()) return nullptr;
    const Slot& place = slots_[static_cast<std::size_t>(slot)];
    VmDbObject* object = place.state.object.get();
    if (change) {
        object = openForChange(slot);
    } else if (object == nullptr) {
        openForReading_.push_back(madeFromFile(slot).object);
        object = openForReading_.back().get();
    }
    ++openCount_;
    return object;
}

VmDbObject* Drawing::openForChange(int slot) {
    Slot& place = slots_[static_cast<std::size_t>(slot)];
    std::shared_ptr<VmDbObject> fromFile;
    if (place.state.object == nullptr) fromFile = takenFromFile(slot);
    remember(slot);
    if (fromFile != nullptr) place.state.object = std::move(fromFile);
    openForChange_.push_back(place.id);
    return place.state.object.get();
}

void Drawing::closed(VmDbObject& object) {
    const auto pinned =
        std::ranges::find(openForReading_, &object, [](const auto& held) { return held.get(); });
    if (pinned != openForReading_.end()) {
        --openCount_;
        openForReading_.erase(pinned);
        return;
    }
    // An object that a module made for itself is not one of the drawing.
    const int slot = slotOf(object.id);
    if (slot < 0 || slots_[static_cast<std::size_t>(slot)].state.object.get() != &object) return;
    --openCount_;
    const auto opened = std::ranges::find(openForChange_, object.id);
    if (opened == openForChange_.end()) return;
    openForChange_.erase(opened);
    giveLayer(object);
    changed(object.id);
}

HostLong Drawing::add(std::unique_ptr<VmDbObject> object) {
    // An object with its place in all tables takes less than this.
    constexpr std::size_t bytesPerObject = 512;
    static const std::size_t mostObjects = platform::physicalMemory() / 2 / bytesPerObject;
    if (slots_.size() >= mostObjects) throw std::bad_alloc();
    if (nextId_ == std::numeric_limits<HostLong>::max()) throw std::bad_alloc();
    const HostLong id = nextId_++;
    object->id = id;
    object->erased = 0;
    if (object->layerName.length() == 0) assign(object->layerName, currentLayer());
    giveLayer(*object);
    const std::u16string lineType = variables.text(u"CELTYPE");
    if (filePartOf(*object) == nullptr && !sameName(lineType, u"BYLAYER"))
        lineTypes_.emplace(id, lineType);
    slots_.push_back({{std::move(object), nullptr}, id});
    touch(slots_.back());
    step_.changes.push_back({id, true, {}});
    changed(id);
    return id;
}

// An object lies on a layer that there is, unless its file lacks the layer too.
void Drawing::giveLayer(VmDbObject& object) {
    if (object.layerName.length() != 0 && findLayer(viewOf(object.layerName)) != nullptr) return;
    const int slot = slotOf(object.id);
    if (slot >= 0 && static_cast<std::size_t>(slot) < sourceCount_ &&
        viewOf(source_->make(slot)->layerName) == viewOf(object.layerName))
        return;
    if (object.layerName.length() == 0) assign(object.layerName, layerZero);
    if (findLayer(viewOf(object.layerName)) == nullptr) changeLayer(viewOf(object.layerName));
}

std::u16string Drawing::currentLayer() const {
    const Layer* layer = findLayer(variables.text(u"CLAYER"));
    return layer != nullptr ? layer->name : std::u16string(layerZero);
}

void Drawing::setErased(HostLong id, bool erased) {
    VmDbObject* object = open(id, true);
    if (object == nullptr) return;
    object->erased = erased ? 1 : 0;
    object->close();
}

const std::u16string& Drawing::lineTypeOf(HostLong id) const noexcept {
    static const std::u16string none;
    const auto found = lineTypes_.find(id);
    return found == lineTypes_.end() ? none : found->second;
}

void Drawing::attach(HostLong id, ExtendedDatum datum) {
    const int slot = slotOf(id);
    if (slot < 0) return;
    State& state = slots_[static_cast<std::size_t>(slot)].state;
    remember(slot);
    if (!state.extended) state.extended = std::make_unique<std::vector<ExtendedDatum>>();
    const auto same = std::ranges::find_if(*state.extended, [&](const ExtendedDatum& other) {
        return sameName(other.name, datum.name);
    });
    if (same == state.extended->end()) state.extended->push_back(std::move(datum));
    else *same = std::move(datum);
    changed(id);
}

const std::vector<ExtendedDatum>& Drawing::extendedData(HostLong id) const noexcept {
    static const std::vector<ExtendedDatum> none;
    const int slot = slotOf(id);
    if (slot < 0) return none;
    const auto& extended = slots_[static_cast<std::size_t>(slot)].state.extended;
    return extended ? *extended : none;
}

void Drawing::changed(HostLong id) {
    ++changeCount_;
    if (indexed_) unindexed_.push_back(id);
    if (unindexed_.size() > slots_.size()) {  // nobody has asked for long
        indexed_ = false;
        unindexed_.clear();
    }
    if (groupDepth_ == 0) closeStep();
}

// --- Where objects are ---

BlockLookup Drawing::blockLookup() const {
    return [this](std::u16string_view name, Point2& base) -> const std::vector<const VmDbObject*>* {
        const BlockDefinition* block = findBlock(name);
        if (block == nullptr) return nullptr;
        base = {block->record.baseX, block->record.baseY};
        return &block->view();
    };
}

Box Drawing::extentOf(const VmDbObject& object) const {
    return refhost::extentOf(object, blockLookup());
}

Box Drawing::extents() const {
    Box all;
    for (int slot = 0; slot < slotCount(); ++slot)
        if (const ObjectView object = at(slot); object->erased == 0) all.add(extentOf(*object));
    return all;
}

void Drawing::refreshIndex() {
    // Building anew is quicker than many updates.
    if (!indexed_ || unindexed_.size() > slots_.size() / 4) {
        unindexed_.clear();
        std::vector<std::pair<HostLong, Box>> boxes;
        boxes.reserve(slots_.size());
        for (int slot = 0; slot < slotCount(); ++slot)
            if (const ObjectView object = at(slot); object->erased == 0)
                boxes.emplace_back(object->id, extentOf(*object));
        index_.build(boxes);
        indexed_ = true;
    }
    for (const HostLong id : unindexed_) {
        const ObjectView object = findLive(id);
        index_.update(id, object != nullptr ? extentOf(*object) : Box());
    }
    unindexed_.clear();
}

std::vector<HostLong> Drawing::near(const Box& box) {
    refreshIndex();
    std::vector<HostLong> found = index_.query(box);
    std::erase_if(found, [this](HostLong id) { return !isVisible(*find(id)); });
    std::ranges::sort(found, {}, [this](HostLong id) { return slotOf(id); });
    return found;
}

HostLong Drawing::nearest(Point2 point, double reach) {
    HostLong best = -1;
    double bestDistance = reach;
    const BlockLookup lookup = blockLookup();
    for (const HostLong id :
         near({point.x - reach, point.y - reach, point.x + reach, point.y + reach})) {
        const double distance = distanceTo(*find(id), point, lookup);
        if (distance > bestDistance) continue;
        best = id;
        bestDistance = distance;
    }
    return best;
}

// --- Layers ---

const Layer* Drawing::findLayer(std::u16string_view name) const {
    const std::size_t place = layerIndex_.find(
        layers_, name, [](const Layer& layer) -> const std::u16string& { return layer.name; });
    return place == NameIndex::none ? nullptr : &layers_[place];
}

Layer& Drawing::changeLayer(std::u16string_view name) {
    rememberTables();
    ++changeCount_;
    if (const Layer* layer = findLayer(name))
        return layers_[static_cast<std::size_t>(layer - layers_.data())];
    layers_.push_back({std::u16string(name)});
    layerIndex_.tableChanged();
    return layers_.back();
}

bool Drawing::isVisible(const VmDbObject& object) const {
    const Layer* layer = findLayer(viewOf(object.layerName));
    return layer == nullptr || (layer->on && !layer->frozen);
}

bool Drawing::isLocked(const VmDbObject& object) const {
    const Layer* layer = findLayer(viewOf(object.layerName));
    return layer != nullptr && layer->locked;
}

// --- Blocks ---

const BlockDefinition* Drawing::findBlock(std::u16string_view name) const {
    const std::size_t place = blockIndex_.find(blocks_, name, [](const auto& block) {
        return std::u16string(viewOf(block->record.name));
    });
    return place == NameIndex::none ? nullptr : blocks_[place].get();
}

void Drawing::defineBlock(std::u16string_view name, Point2 base,
                          std::vector<std::unique_ptr<VmDbObject>> contents) {
    rememberTables();
    ++changeCount_;
    indexed_ = false;  // placed blocks may lie elsewhere now
    unindexed_.clear();
    auto block = std::make_shared<BlockDefinition>(std::move(contents));
    assign(block->record.name, name);
    block->record.baseX = base.x;
    block->record.baseY = base.y;
    const BlockDefinition* former = findBlock(name);
    block->record.id = former == nullptr ? nextId_++ : former->record.id;
    if (former == nullptr) blocks_.push_back(std::move(block));
    else
        *std::ranges::find(blocks_, former, &std::shared_ptr<BlockDefinition>::get) =
            std::move(block);
    blockIndex_.tableChanged();
    if (groupDepth_ == 0) closeStep();
}

VmDbBlock* Drawing::openBlock(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= blocks_.size()) return nullptr;
    ++openCount_;
    return &blocks_[static_cast<std::size_t>(index)]->record;
}

// --- Selection sets ---

int Drawing::addSet() {
    sets_.emplace_back();
    return static_cast<int>(sets_.size());
}

Drawing::SelectionSet* Drawing::setOf(int number) noexcept {
    if (number < 1 || static_cast<std::size_t>(number) > sets_.size()) return nullptr;
    return &sets_[static_cast<std::size_t>(number) - 1];
}

const std::vector<HostLong>* Drawing::members(int set) const noexcept {
    if (set < 1 || static_cast<std::size_t>(set) > sets_.size()) return nullptr;
    return &sets_[static_cast<std::size_t>(set) - 1].members;
}

void Drawing::addToSet(HostLong id, int number) {
    SelectionSet* set = setOf(number);
    if (set == nullptr || slotOf(id) < 0) return;
    constexpr std::size_t mostWithoutLookup = 16;
    std::vector<HostLong>& members = set->members;
    if (id > set->largest) {
        set->largest = id;
        if (!set->lookup.empty()) set->lookup.insert(id);
    } else if (members.size() > mostWithoutLookup) {
        if (set->lookup.empty()) set->lookup.insert(members.begin(), members.end());
        if (!set->lookup.insert(id).second) return;
    } else {
        if (std::ranges::find(members, id) != members.end()) return;
        if (!set->lookup.empty()) set->lookup.insert(id);  // the set has been larger
    }
    members.push_back(id);
}

void Drawing::removeFromSet(HostLong id, int number) {
    SelectionSet* set = setOf(number);
    if (set == nullptr) return;
    const auto member = std::ranges::find(set->members, id);
    if (member == set->members.end()) return;
    set->members.erase(member);
    set->lookup.erase(id);
}

void Drawing::addAllToSet(int number) {
    SelectionSet* set = setOf(number);
    if (set == nullptr) return;
    const bool wasEmpty = set->members.empty();
    if (wasEmpty) set->members.reserve(slots_.size());
    for (const Slot& slot : slots_) {
        if (!isLiveAt(slot)) continue;
        if (wasEmpty) {
            set->members.push_back(slot.id);
            set->largest = std::max(set->largest, slot.id);
        } else {
            addToSet(slot.id, number);
        }
    }
}

// --- Undo ---

void Drawing::remember(int slot) {
    Slot& kept = slots_[static_cast<std::size_t>(slot)];
    if (!touch(kept)) return;
    State before;
    if (kept.state.object) before.object = clone(*kept.state.object);
    if (kept.state.extended)
        before.extended = std::make_unique<std::vector<ExtendedDatum>>(*kept.state.extended);
    // What has many points counts as several.
    constexpr std::size_t pointsOfOne = 16;
    const auto points = before.object ? static_cast<std::size_t>(before.object->points.count) : 0;
    step_.changes.push_back({kept.id, false, std::move(before)});
    step_.stateCount += 1 + points / pointsOfOne;
}

// False when the step has kept a state of the slot before.
bool Drawing::touch(Slot& slot) noexcept {
    return std::exchange(slot.touchedIn, stepNumber_) != stepNumber_;
}

void Drawing::beginStep() noexcept {
    if (++stepNumber_ != 0) return;
    // The numbers begin anew.
    for (Slot& slot : slots_) slot.touchedIn = 0;
    stepNumber_ = 1;
}

void Drawing::rememberTables() {
    if (step_.tablesBefore) return;
    step_.tablesBefore = Tables{layers_, blocks_};
    step_.stateCount += layers_.size() + blocks_.size();
}

Drawing::Properties Drawing::properties() const {
    return {variables.text(u"CLAYER"), variables.text(u"CECOLOR"), variables.text(u"CELTYPE"),
            variables.integer(u"CELWEIGHT")};
}

void Drawing::setProperties(const Properties& properties) {
    variables.storeText(u"CLAYER", properties.layer);
    variables.storeText(u"CECOLOR", properties.colour);
    variables.storeText(u"CELTYPE", properties.lineType);
    variables.storeInt(u"CELWEIGHT", properties.lineweight);
}

// Variables tell nobody when they change: those of a group are compared with what they were.
void Drawing::rememberProperties() {
    if (properties() != propertiesAtBegin_) step_.propertiesBefore = propertiesAtBegin_;
    propertiesAtBegin_ = properties();
}

void Drawing::beginGroup() {
    if (groupDepth_++ == 0) propertiesAtBegin_ = properties();
}

void Drawing::endGroup() {
    assert(groupDepth_ > 0 && "a group that was not begun");
    if (--groupDepth_ > 0) return;
    rememberProperties();
    closeStep();
}

void Drawing::closeStep() {
    // What is open for change is changed until it is closed.
    if (step_.empty() || !openForChange_.empty()) return;
    undoable_.push_back(std::exchange(step_, {}));
    beginStep();
    redoable_.clear();
    undoableStates_ += undoable_.back().states();
    // The last step can always be undone.
    while (undoable_.size() > 1 && (undoable_.size() > mostSteps || undoableStates_ > mostStates)) {
        undoableStates_ -= undoable_.front().states();
        undoable_.pop_front();
    }
}

// Puts the states that a step holds in the place of those that stand, and keeps those: what undid
// the step redoes it.
void Drawing::swapStates(Step& step) {
    ++changeCount_;
    const Properties now = properties();
    for (Change& change : step.changes) {
        State& state = slots_[static_cast<std::size_t>(slotOf(change.id))].state;
        if (change.made) {  // before it was made it was not there
            change.before.object = clone(*state.object);
            change.before.object->erased = 1;
            change.made = false;
        }
        std::swap(state, change.before);
        if (indexed_) unindexed_.push_back(change.id);
    }
    if (step.tablesBefore) {
        std::swap(layers_, step.tablesBefore->layers);
        std::swap(blocks_, step.tablesBefore->blocks);
        layerIndex_.tableChanged();
        blockIndex_.tableChanged();
        indexed_ = false;
        unindexed_.clear();
        if (findLayer(variables.text(u"CLAYER")) == nullptr)
            variables.storeText(u"CLAYER", layerZero);
    }
    if (step.propertiesBefore) {
        setProperties(*step.propertiesBefore);
        step.propertiesBefore = now;
    }
    propertiesAtBegin_ = properties();
}

bool Drawing::undo() {
    if (groupDepth_ > 0) rememberProperties();
    if (!step_.empty()) closeStep();
    if (undoable_.empty()) return false;
    undoableStates_ -= undoable_.back().states();
    redoable_.push_back(std::move(undoable_.back()));
    undoable_.pop_back();
    swapStates(redoable_.back());
    return true;
}

bool Drawing::redo() {
    if (groupDepth_ > 0) rememberProperties();
    if (!step_.empty()) closeStep();
    if (redoable_.empty()) return false;
    undoable_.push_back(std::move(redoable_.back()));
    redoable_.pop_back();
    undoableStates_ += undoable_.back().states();
    swapStates(undoable_.back());
    return true;
}

}  // namespace vlisp::refhost
