// The drawing. See drawing.h.
#include "refhost/model/drawing.h"

#include "core/reader.h"
#include "platform/system.h"
#include "refhost/model/objects.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace vlisp::refhost {
namespace {

Drawing* theDrawing = nullptr;

void assign(VmDbString& member, std::u16string_view text) {
    member.assign(text.data(), text.size());
}

std::u16string_view viewOf(const VmDbString& text) noexcept {
    return {text.units(), text.length()};
}

constexpr std::u16string_view layerZero = u"0";
// What is kept for undo: so many steps, and so many states of objects, layers and blocks in all.
constexpr std::size_t mostSteps = 1000;
constexpr std::size_t mostStates = 1'000'000;

}  // namespace

bool sameName(std::u16string_view a, std::u16string_view b) noexcept {
    return std::ranges::equal(a, b, {}, upperCase, upperCase);
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

// --- Objects ---

int Drawing::slotOf(HostLong id) const noexcept {
    const auto found = slotOfId_.find(id);
    return found == slotOfId_.end() ? -1 : found->second;
}

const VmDbObject* Drawing::at(int slot) const noexcept {
    if (slot < 0 || slot >= slotCount()) return nullptr;
    return slots_[static_cast<std::size_t>(slot)].object.get();
}

const VmDbObject* Drawing::find(HostLong id) const noexcept { return at(slotOf(id)); }

const VmDbObject* Drawing::findLive(HostLong id) const noexcept {
    const VmDbObject* object = find(id);
    return object != nullptr && object->erased == 0 ? object : nullptr;
}

VmDbObject* Drawing::open(HostLong id, bool change) { return openSlot(slotOf(id), change); }

VmDbObject* Drawing::openSlot(int slot, bool change) {
    if (at(slot) == nullptr) return nullptr;
    const State& state = slots_[static_cast<std::size_t>(slot)];
    if (change) {
        remember(state.object->id, state);
        openForChange_.push_back(state.object->id);
    }
    ++openCount_;
    return state.object.get();
}

void Drawing::closed(VmDbObject& object) {
    // An object that a module made for itself is not one of the drawing.
    if (find(object.id) != &object) return;
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
    const HostLong id = nextId_++;
    object->id = id;
    object->erased = 0;
    if (object->layerName.length() == 0) assign(object->layerName, currentLayer());
    giveLayer(*object);
    slotOfId_.emplace(id, slotCount());
    slots_.push_back({std::move(object), nullptr});
    if (step_.touched.insert(id).second) step_.changes.push_back({id, {}});
    changed(id);
    return id;
}

// An object lies on a layer that there is.
void Drawing::giveLayer(VmDbObject& object) {
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

void Drawing::attach(HostLong id, ExtendedDatum datum) {
    const int slot = slotOf(id);
    if (slot < 0) return;
    State& state = slots_[static_cast<std::size_t>(slot)];
    remember(id, state);
    if (!state.extended) state.extended = std::make_unique<std::vector<ExtendedDatum>>();
    const auto same = std::ranges::find(*state.extended, datum.name, &ExtendedDatum::name);
    if (same == state.extended->end()) state.extended->push_back(std::move(datum));
    else *same = std::move(datum);
    changed(id);
}

const std::vector<ExtendedDatum>& Drawing::extendedData(HostLong id) const noexcept {
    static const std::vector<ExtendedDatum> none;
    const int slot = slotOf(id);
    if (slot < 0) return none;
    const auto& extended = slots_[static_cast<std::size_t>(slot)].extended;
    return extended ? *extended : none;
}

void Drawing::changed(HostLong id) {
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
        return &block->view;
    };
}

Box Drawing::extentOf(const VmDbObject& object) const {
    return refhost::extentOf(object, blockLookup());
}

Box Drawing::extents() const {
    Box all;
    for (const State& state : slots_)
        if (state.object && state.object->erased == 0) all.add(extentOf(*state.object));
    return all;
}

void Drawing::refreshIndex() {
    // Building anew is quicker than many updates.
    if (!indexed_ || unindexed_.size() > slots_.size() / 4) {
        unindexed_.clear();
        std::vector<std::pair<HostLong, Box>> boxes;
        boxes.reserve(slots_.size());
        for (const State& state : slots_)
            if (state.object && state.object->erased == 0)
                boxes.emplace_back(state.object->id, extentOf(*state.object));
        index_.build(boxes);
        indexed_ = true;
    }
    for (const HostLong id : unindexed_) {
        const VmDbObject* object = findLive(id);
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

std::vector<Layer>::iterator Drawing::layerNamed(std::u16string_view name) noexcept {
    return std::ranges::find_if(layers_, [&](const Layer& l) { return sameName(l.name, name); });
}

const Layer* Drawing::findLayer(std::u16string_view name) const noexcept {
    const auto layer =
        std::ranges::find_if(layers_, [&](const Layer& l) { return sameName(l.name, name); });
    return layer == layers_.end() ? nullptr : &*layer;
}

Layer& Drawing::changeLayer(std::u16string_view name) {
    rememberTables();
    if (const auto layer = layerNamed(name); layer != layers_.end()) return *layer;
    layers_.push_back({std::u16string(name)});
    return layers_.back();
}

bool Drawing::isVisible(const VmDbObject& object) const noexcept {
    const Layer* layer = findLayer(viewOf(object.layerName));
    return layer == nullptr || layer->on;
}

bool Drawing::isLocked(const VmDbObject& object) const noexcept {
    const Layer* layer = findLayer(viewOf(object.layerName));
    return layer != nullptr && layer->locked;
}

// --- Blocks ---

const BlockDefinition* Drawing::findBlock(std::u16string_view name) const noexcept {
    const auto block = std::ranges::find_if(
        blocks_, [&](const auto& b) { return sameName(viewOf(b->record.name), name); });
    return block == blocks_.end() ? nullptr : block->get();
}

void Drawing::defineBlock(std::u16string_view name, Point2 base,
                          std::vector<std::unique_ptr<VmDbObject>> contents) {
    rememberTables();
    indexed_ = false;  // placed blocks may lie elsewhere now
    unindexed_.clear();
    auto block = std::make_shared<BlockDefinition>();
    assign(block->record.name, name);
    block->record.baseX = base.x;
    block->record.baseY = base.y;
    block->contents = std::move(contents);
    for (const auto& object : block->contents) block->view.push_back(object.get());
    const auto same = std::ranges::find_if(
        blocks_, [&](const auto& b) { return sameName(viewOf(b->record.name), name); });
    block->record.id = same == blocks_.end() ? nextId_++ : (*same)->record.id;
    if (same == blocks_.end()) blocks_.push_back(std::move(block));
    else *same = std::move(block);
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
    if (set == nullptr || find(id) == nullptr) return;
    constexpr std::size_t mostWithoutLookup = 16;
    std::vector<HostLong>& members = set->members;
    if (members.size() > mostWithoutLookup) {
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
    for (const State& state : slots_) {
        if (!state.object || state.object->erased != 0) continue;
        if (wasEmpty) set->members.push_back(state.object->id);
        else addToSet(state.object->id, number);
    }
}

// --- Undo ---

void Drawing::remember(HostLong id, const State& state) {
    if (!step_.touched.insert(id).second) return;
    State before{clone(*state.object), nullptr};
    if (state.extended)
        before.extended = std::make_unique<std::vector<ExtendedDatum>>(*state.extended);
    step_.changes.push_back({id, std::move(before)});
    ++step_.stateCount;
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
    const Properties now = properties();
    for (Change& change : step.changes) {
        State& state = slots_[static_cast<std::size_t>(slotOf(change.id))];
        if (!change.before.object) {  // before it was made it was not there
            change.before.object = clone(*state.object);
            change.before.object->erased = 1;
        }
        std::swap(state, change.before);
        if (indexed_) unindexed_.push_back(change.id);
    }
    if (step.tablesBefore) {
        std::swap(layers_, step.tablesBefore->layers);
        std::swap(blocks_, step.tablesBefore->blocks);
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
