// Opening a drawing file. See document.h.
#include "refhost/dxf/document.h"

#include "platform/system.h"
#include "platform/text.h"
#include "refhost/dxf/blank_drawing.h"
#include "refhost/dxf/differences.h"
#include "refhost/dxf/header_variables.h"
#include "refhost/model/objects.h"

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <unordered_set>

namespace vlisp::refhost::dxf {
namespace {

// Handles up to here become ids as they are; beyond them new ids begin.
constexpr std::uint64_t largestId = 0x6fffffff;

}  // namespace

Document::Document(std::string bytes, std::string name, OnDamage onDamage)
    : bytes_(std::move(bytes)), name_(std::move(name)) {
    const Opening opening = openingOf(bytes_);
    try {
        structure_ = structureOf(bytes_, onDamage);
        // A last line without its end, and something will be put behind it.
        if (!structure_.repairs.empty() && opening.form == Form::text &&
            bytes_.size() > opening.begin && !bytes_.ends_with('\n')) {
            const bool isLongEnd =
                !bytes_.ends_with('\r') && bytes_.find("\r\n") != std::string::npos;
            bytes_ += isLongEnd ? "\r\n" : "\n";
            structure_ = structureOf(bytes_, onDamage);
        }
    } catch (const Damage& damage) {
        throw FileError(FileError::Kind::damaged, name_ + ": " +
                                                      placeOf(bytes_, opening.form, damage.offset) +
                                                      ": " + damage.what());
    }
    makeWhole();
    source_ = {bytes_, opening.form, TextCodec({}, {})};
    if (std::string version = headerText("$ACADVER"); !version.empty())
        version_ = Version(std::move(version));
    codePage_ = headerText("$DWGCODEPAGE");
    source_.codec = TextCodec(version_.name(), codePage_);
    // How new pairs look, the first pairs of the file tell.
    constexpr std::uint64_t enough = 20000;
    const std::uint64_t end = structure_.sections.empty() ? opening.begin : structure_.eof;
    std::uint64_t sampleEnd = std::min(end, opening.begin + enough);
    if (opening.form == Form::text && sampleEnd < end)  // not in the middle of a pair
        for (const Section& section : structure_.sections)
            if (section.end > sampleEnd || &section == &structure_.sections.back()) {
                sampleEnd = section.head.begin > opening.begin ? section.head.begin : section.end;
                break;
            }
    try {
        style_ = Style::of(bytes_, opening.form, {opening.begin, sampleEnd}, {});
    } catch (const Damage&) {
        style_ = {};  // a recovered file
        style_.form = opening.form;
    }
    hasHandles_ = version_.hasMarkers() || structure_.largestHandle != 0;
    assignIds();
    readLayers();
}

// A damaged file is made whole before anything else reads, copies or changes its records.
void Document::makeWhole() {
    if (structure_.problems.empty() && structure_.repairs.empty()) return;
    const Form form = structure_.opening.form;
    LineNumbers lines(bytes_);
    for (const Problem& problem : structure_.problems) {
        const std::string place = form == Form::text
                                      ? "line " + std::to_string(lines.of(problem.offset))
                                      : placeOf(bytes_, form, problem.offset);
        problems_.push_back(name_ + ": " + place + ": " + problem.text);
    }
    // What is left out may leave something incomplete that stood around it.
    constexpr int mostRounds = 16;
    for (int round = 0; !structure_.repairs.empty(); ++round) {
        if (round == mostRounds)
            throw FileError(FileError::Kind::damaged, name_ + ": too much of it is damaged");
        Style style;
        style.form = form;
        if (bytes_.find("\r\n") != std::string::npos) style.lineEnd = "\r\n";
        std::string whole;
        std::uint64_t at = 0;
        for (const Repair& repair : structure_.repairs) {
            if (repair.replaced.begin > at) whole.append(bytes_, at, repair.replaced.begin - at);
            whole += repair.value;
            if (!repair.record.empty()) appendText(whole, style, 0, repair.record);
            at = std::max(at, repair.replaced.end);
        }
        whole.append(bytes_, at);
        bytes_ = std::move(whole);
        structure_ = structureOf(bytes_, OnDamage::recover);
    }
}

std::shared_ptr<const Document> Document::open(const std::string& path, OnDamage onDamage) {
    std::string bytes;
    std::string reason;
    if (!platform::readFile(path, bytes, reason))
        throw FileError(FileError::Kind::unreadable, "cannot read '" + path + "': " + reason);
    return ofBytes(std::move(bytes), path, onDamage);
}

std::shared_ptr<const Document> Document::ofBytes(std::string bytes, const std::string& name,
                                                  OnDamage onDamage) {
    return std::shared_ptr<const Document>(new Document(std::move(bytes), name, onDamage));
}

std::shared_ptr<const Document> Document::blank() {
    std::shared_ptr<Document> document(
        new Document(blankDrawing(), "a new drawing", OnDamage::stop));
    // A drawing that was not opened counts its objects from 1.
    document->firstNewId_ = 1;
    return document;
}

std::string Document::headerText(std::string_view variable) const {
    const HeaderVariable* found = structure_.findVariable(variable);
    if (found == nullptr) return {};
    try {
        PairReader reader(bytes_, structure_.opening.form, found->values.begin, found->values.end);
        Pair pair;
        if (reader.next(pair))
            return std::string(Value(bytes_, structure_.opening.form, pair).trimmed());
    } catch (const Damage&) {
        // A recovered file: as if it were not there.
    }
    return {};
}

// Ids come from handles; where there is none, or one too large, they count on behind.
void Document::assignIds() {
    const std::vector<std::uint64_t>& handles = structure_.handles;
    std::uint64_t next = handleOf(headerText("$HANDSEED")).value_or(1);
    next = std::max<std::uint64_t>(next, 1);
    if (next <= structure_.largestHandle) {
        if (structure_.largestHandle == std::numeric_limits<std::uint64_t>::max())
            next = 0;  // there is no free one behind it
        else next = structure_.largestHandle + 1;
    }
    firstNewHandle_ = next;
    std::uint64_t id = 1;
    if (next != 0 && next <= largestId) {
        id = next;
    } else {
        for (const std::uint64_t handle : handles)
            if (handle <= largestId) id = std::max(id, handle + 1);
    }
    ids_.reserve(handles.size());
    for (const std::uint64_t handle : handles) {
        const bool usable = handle != 0 && handle <= largestId;
        ids_.push_back(static_cast<HostLong>(usable ? handle : id++));
    }
    // Handles of what is new are counted from the first new id, and are the same where they can be.
    firstNewId_ = static_cast<HostLong>(id);
    if (next != 0 && next <= largestId) firstNewHandle_ = id;
}

void Document::readLayers() {
    const Table* table = structure_.findTable("LAYER");
    if (table == nullptr) return;
    std::unordered_set<std::u16string, NameHash, NameEqual> seen;
    for (std::size_t row = 0; row < table->rows.size(); ++row) {
        if (table->rows[row].name.empty()) continue;
        Layer layer;
        const Span span = table->rows[row].record;
        PairReader reader = source_.reader(span);
        Pair pair;
        bool named = false;
        bool inBraces = false;
        while (reader.next(pair)) {
            if (pair.code == 101 || pair.code >= 1000) break;  // not the layer's own
            if (pair.code == 102) inBraces = source_.value(pair).raw().starts_with('{');
            if (inBraces) continue;
            const std::int32_t number = source_.value(pair).integer().value_or(0);
            if (pair.code == 2 && !std::exchange(named, true)) layer.name = source_.text(pair);
            if (pair.code == 6) layer.lineType = source_.text(pair);
            if (pair.code == 62) {
                layer.on = number >= 0;
                layer.colour = std::abs(std::max(number, -255));
            }
            if (pair.code == 420) layer.trueColour = static_cast<std::uint32_t>(number) & 0xffffffU;
            if (pair.code == 70) {
                layer.frozen = (number & 1) != 0;
                layer.locked = (number & 4) != 0;
            }
        }
        // Of two with one name the first counts.
        if (!seen.insert(layer.name).second) continue;
        layers_.push_back(std::move(layer));
        layerRows_.push_back(row);
    }
}

std::vector<std::shared_ptr<BlockDefinition>> Document::blockDefinitions() const {
    // In the order of their records where there are any.
    std::vector<std::size_t> order;
    std::unordered_map<std::u16string, std::size_t, NameHash, NameEqual> places;
    for (std::size_t i = 0; i < structure_.blocks.size(); ++i)
        places.emplace(source_.codec.decode(structure_.blocks[i].name), i);
    std::vector<std::uint64_t> handles(structure_.blocks.size());
    std::vector<bool> placed(structure_.blocks.size());
    if (const Table* table = structure_.findTable("BLOCK_RECORD"))
        for (const TableRow& row : table->rows) {
            const auto found = places.find(source_.codec.decode(row.name));
            if (found == places.end() || placed[found->second]) continue;
            placed[found->second] = true;
            handles[found->second] = row.handle;
            order.push_back(found->second);
        }
    for (std::size_t i = 0; i < structure_.blocks.size(); ++i)
        if (!placed[i]) {
            handles[i] = structure_.blocks[i].handle;
            order.push_back(i);
        }

    std::vector<std::shared_ptr<BlockDefinition>> blocks;
    const auto self = shared_from_this();
    for (const std::size_t place : order) {
        auto load = [self, place] {
            BlockDefinition::Contents contents;
            for (const Span& span : self->structure_.blocks[place].contents)
                contents.push_back(readEntity(self->source_, span, -1));
            return contents;
        };
        auto block = std::make_shared<BlockDefinition>(std::move(load), static_cast<int>(place));
        VmDbBlock& record = block->record;
        record.id = handles[place] <= largestId ? static_cast<HostLong>(handles[place]) : 0;
        PairReader reader = source_.reader(structure_.blocks[place].head);
        Pair pair;
        bool named = false;
        while (reader.next(pair)) {
            const Value value = source_.value(pair);
            if (pair.code == 2 && !std::exchange(named, true))
                assign(record.name, source_.text(pair));
            if (pair.code == 70)
                record.flags = static_cast<std::int16_t>(value.integer().value_or(0));
            if (pair.code == 10) record.baseX = value.real().value_or(0);
            if (pair.code == 20) record.baseY = value.real().value_or(0);
            if (pair.code >= 1000) break;
        }
        blocks.push_back(std::move(block));
    }
    return blocks;
}

void Document::fill(Drawing& drawing) const {
    drawing.load({shared_from_this(), ids_, firstNewId_, layers_, blockDefinitions()});
    loadVariables(drawing.variables);
}

void Document::loadVariables(Variables& variables) const {
    for (const HeaderRow& row : headerRows())
        if (const auto* found = structure_.findVariable("$" + std::string(row.name)))
            loadVariable(row, source_, found->values, variables);
}

std::unique_ptr<VmDbObject> Document::make(int slot) const {
    const auto place = static_cast<std::size_t>(slot);
    return readEntity(source_, structure_.entities[place], ids_[place]);
}

}  // namespace vlisp::refhost::dxf
