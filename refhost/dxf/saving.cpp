// Saving: the differences between a drawing and its document. See document.h.
#include "drawing/entity_fields.h"
#include "platform/text.h"
#include "refhost/dxf/document.h"
#include "refhost/dxf/header_variables.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <unordered_set>

namespace vlisp::refhost::dxf {
namespace {

std::u16string_view viewOf(const VmDbString& text) noexcept {
    return {text.units(), text.length()};
}

[[noreturn]] void fail(const std::string& text) {
    throw FileError(FileError::Kind::unwritable, text);
}

constexpr char unwritableBase[] = "a block has a base point that no file can hold";

std::int32_t flagsOf(const Layer& layer) noexcept {
    return (layer.frozen ? 1 : 0) | (layer.locked ? 4 : 0);
}

std::int32_t colourOf(const Layer& layer) noexcept {
    return layer.on ? layer.colour : -layer.colour;
}

}  // namespace

class Saving {
  public:
    Saving(const Document& document, const Drawing& drawing, std::vector<std::string>& notes)
        : document_(document), structure_(document.structure_), source_(document.source_),
          drawing_(drawing),
          notes_(notes), target_{source_, document.version_, document.style_, document.hasHandles_,
                                 [this] { return newHandle(); }},
          nextHandle_(document.firstNewHandle_ +
                      static_cast<std::uint64_t>(drawing.nextId() - document.firstNewId_)) {}

    std::vector<Change> run() {
        try {
            entities();
            blocks();
        } catch (const NotRepresentable& error) {
            fail(std::string("cannot save the drawing: ") + error.what());
        }
        layers();
        variables();
        newTables();
        newSections();
        orphans();
        handleSeed();
        repairs();
        sort();
        checkNothingIsLost();
        return std::move(changes_);
    }

  private:
    // What comes first of that which is put at one place: what is open there is closed from the
    // inside to the outside, and what is new stands inside what it belongs to.
    enum class Rank {
        change,
        sequenceEnd,
        row,        ///< also what is in a block
        tableEnd,   ///< and a block's
        inSection,  ///< entities, blocks and tables
        sectionEnd,
        section,
        fileEnd
    };

    struct Placed {
        Change change;
        Rank rank;
    };

    void change(Span replaced, std::string bytes) {
        placed_.push_back({{replaced, std::move(bytes)}, Rank::change});
    }
    void insert(std::uint64_t at, std::string bytes, Rank rank) {
        placed_.push_back({{{at, at}, std::move(bytes)}, rank});
    }
    void add(std::vector<Change> more) {
        for (Change& one : more) placed_.push_back({std::move(one), Rank::change});
    }

    void sort() {
        std::ranges::stable_sort(placed_, {}, [](const Placed& one) {
            return std::tuple(one.change.replaced.begin, one.change.replaced.end, one.rank);
        });
        for (Placed& one : placed_) {
            const Span& span = one.change.replaced;
            // What lies inside of something that goes, goes too.
            if (!changes_.empty() && span.begin < changes_.back().replaced.end) continue;
            // Nor is the end of a sequence missing that has gone.
            if (one.rank == Rank::sequenceEnd && !changes_.empty() &&
                changes_.back().replaced.end == span.begin &&
                std::ranges::find(erased_, changes_.back().replaced.begin) != erased_.end())
                continue;
            changes_.push_back(std::move(one.change));
        }
    }

    // --- Handles ---

    std::uint64_t given(std::uint64_t handle) {
        // Counting on from the last one begins anew.
        if (document_.firstNewHandle_ == 0 || handle < document_.firstNewHandle_)
            fail("cannot save the drawing: no handle is left");
        handlesGiven_ = true;
        return handle;
    }

    std::uint64_t newHandle() { return given(nextHandle_++); }

    [[nodiscard]] std::uint64_t handleOf(HostLong id) {
        if (!document_.hasHandles_) return 0;
        return given(document_.firstNewHandle_ +
                     static_cast<std::uint64_t>(id - document_.firstNewId_));
    }

    // --- Entities ---

    void entities() {
        const auto fromFile = static_cast<int>(structure_.entities.size());
        for (int slot = 0; slot < drawing_.slotCount(); ++slot) {
            if (slot < fromFile && drawing_.isAsInFile(slot)) continue;
            const ObjectView object = drawing_.at(slot);
            if (slot < fromFile) {
                changeEntity(slot, *object);
            } else if (object->erased == 0) {
                NewEntity how{handleOf(object->id), modelSpace(), lineType(*object),
                              drawing_.extendedData(object->id)};
                registerNames(how.attached);
                appendEntity(newEntities_, target_, *object, how);
            }
        }
    }

    void erase(const Span& span) {
        erased_.push_back(span.begin);
        change(span, {});
        for (const Record& record : recordsOf(source_, span))
            if (const std::size_t at = record.find(5); at != Record::npos)
                erasedHandles_.insert(source_.value(record.pairs[at]).handle().value_or(0));
    }

    void changeEntity(int slot, const VmDbObject& object) {
        const Span span = structure_.entities[static_cast<std::size_t>(slot)];
        if (object.erased != 0) {
            return erase(span);
        }
        add(changesOf(target_, span, *document_.make(slot), object));
        const std::vector<ExtendedDatum>& attached = drawing_.extendedData(object.id);
        registerNames(attached);
        add(changesOf(target_, span, attached));
    }

    [[nodiscard]] std::uint64_t modelSpace() const {
        const Table* table = structure_.findTable("BLOCK_RECORD");
        if (table == nullptr) return 0;
        for (const TableRow& row : table->rows) {
            const std::u16string name = source_.codec.decode(row.name);
            if (sameName(name, u"*Model_Space")) return row.handle;
        }
        return 0;
    }

    [[nodiscard]] std::u16string lineType(const VmDbObject& object) {
        const std::u16string& name = drawing_.lineTypeOf(object.id);
        if (name.empty()) return {};
        const bool builtIn = sameName(name, u"BYLAYER") || sameName(name, u"BYBLOCK") ||
                             sameName(name, u"CONTINUOUS");
        const Table* table = structure_.findTable("LTYPE");
        const bool known =
            table != nullptr && std::ranges::any_of(table->rows, [&](const TableRow& row) {
                return sameName(source_.codec.decode(row.name), name);
            });
        if (!builtIn && !known)
            fail("cannot save the drawing: an entity has the line type '" + platform::toUtf8(name) +
                 "', which the file does not define");
        return name;
    }

    // Names of extended data stand in a table.
    void registerNames(std::span<const ExtendedDatum> attached) {
        for (const ExtendedDatum& datum : attached) {
            const Table* table = structure_.findTable("APPID");
            const bool known =
                table != nullptr && std::ranges::any_of(table->rows, [&](const TableRow& row) {
                    return sameName(source_.codec.decode(row.name), datum.name);
                });
            if (!known) applications_.try_emplace(datum.name);
        }
    }

    // --- Sections, tables and rows ---

    [[nodiscard]] std::string sectionOf(const char* name, const std::string& contents) const {
        std::string out;
        appendText(out, document_.style_, 0, "SECTION");
        appendText(out, document_.style_, 2, name);
        out += contents;
        appendText(out, document_.style_, 0, "ENDSEC");
        return out;
    }

    void addRow(const std::string& table, const std::string& row) { newRows_[table] += row; }

    [[nodiscard]] std::uint64_t tableHandle(const std::string& table) {
        if (const Table* found = structure_.findTable(table)) return found->handle;
        if (!document_.hasHandles_) return 0;
        const auto [place, isNew] = newTableHandles_.try_emplace(table, 0);
        if (isNew) place->second = newHandle();
        return place->second;
    }

    // The beginning of a row, to its name.
    std::string rowBegin(const std::string& table, const char* marker, std::uint64_t handle,
                         std::string_view name) {
        std::string out;
        const Style& style = document_.style_;
        appendText(out, style, 0, table);
        if (document_.hasHandles_) appendText(out, style, 5, handleText(handle));
        if (document_.version_.hasOwners())
            if (const std::uint64_t owner = tableHandle(table); owner != 0)
                appendText(out, style, 330, handleText(owner));
        if (document_.version_.hasMarkers()) {
            appendText(out, style, 100, "AcDbSymbolTableRecord");
            appendText(out, style, 100, marker);
        }
        appendText(out, style, 2, name);
        return out;
    }

    [[nodiscard]] std::uint64_t handleIfAny() { return document_.hasHandles_ ? newHandle() : 0; }

    void newTables() {
        for (const auto& [name, unused] : applications_) {
            std::string row = rowBegin("APPID", "AcDbRegAppTableRecord", handleIfAny(),
                                       source_.codec.encode(name));
            appendInteger(row, document_.style_, 70, 0);
            addRow("APPID", row);
        }
        std::string tables;
        for (const auto& [name, rows] : newRows_) {
            if (const Table* table = structure_.findTable(name)) {
                insert(table->end, rows, Rank::row);
                continue;
            }
            const Style& style = document_.style_;
            appendText(tables, style, 0, "TABLE");
            appendText(tables, style, 2, name);
            if (document_.hasHandles_) {
                appendText(tables, style, 5, handleText(tableHandle(name)));
                if (document_.version_.hasOwners()) appendText(tables, style, 330, "0");
            }
            if (document_.version_.hasMarkers()) appendText(tables, style, 100, "AcDbSymbolTable");
            appendInteger(tables, style, 70, 1);
            tables += rows;
            appendText(tables, style, 0, "ENDTAB");
        }
        if (tables.empty()) return;
        if (const Section* section = structure_.findSection("TABLES"))
            return insert(section->end, tables, Rank::inSection);
        // Tables stand in front of what refers to them.
        for (const Section& section : structure_.sections)
            if (section.name != "HEADER" && section.name != "CLASSES")
                return insert(section.begin, sectionOf("TABLES", tables), Rank::section);
        insert(structure_.eof, sectionOf("TABLES", tables), Rank::section);
    }

    // Blocks and entities that are new, in sections of their own where the file has none. Those stand
    // in this order, behind the tables.
    void newSections() {
        const Section* blocks = structure_.findSection("BLOCKS");
        const Section* entities = structure_.findSection("ENTITIES");
        if (!newBlocks_.empty() && blocks != nullptr)
            insert(blocks->end, std::move(newBlocks_), Rank::inSection);
        else if (!newBlocks_.empty())
            insert(entities != nullptr ? entities->begin : structure_.eof,
                   sectionOf("BLOCKS", newBlocks_), Rank::section);
        if (!newEntities_.empty() && entities != nullptr)
            insert(entities->end, std::move(newEntities_), Rank::inSection);
        else if (!newEntities_.empty())
            insert(structure_.eof, sectionOf("ENTITIES", newEntities_), Rank::section);
    }

    // --- What belongs to what was erased ---

    // Objects that an erased entity owned, its extension dictionary for one, go with it.
    void orphans() {
        const Section* section = structure_.findSection("OBJECTS");
        if (section == nullptr || erasedHandles_.empty()) return;
        struct Object {
            Span span;
            std::uint64_t handle = 0;
            std::uint64_t owner = 0;
        };
        std::vector<Object> objects;
        PairReader reader = source_.reader({section->begin, section->end});
        Pair pair;
        bool inBraces = false;
        while (reader.next(pair)) {
            if (pair.code == 0) {
                if (!objects.empty()) objects.back().span.end = pair.begin;
                objects.push_back({{pair.begin, section->end}});
                inBraces = false;
            }
            if (objects.empty()) continue;
            Object& object = objects.back();
            if (pair.code == 102) inBraces = source_.value(pair).raw().starts_with('{');
            if (inBraces) continue;
            if (pair.code == 5 && object.handle == 0)
                object.handle = source_.value(pair).handle().value_or(0);
            if (pair.code == 330 && object.owner == 0)
                object.owner = source_.value(pair).handle().value_or(0);
        }
        // Owners may stand behind what they own: until nothing more is found.
        std::vector<bool> gone(objects.size());
        for (bool found = true; found;) {
            found = false;
            for (std::size_t i = 0; i < objects.size(); ++i) {
                if (gone[i] || objects[i].owner == 0 || !erasedHandles_.contains(objects[i].owner))
                    continue;
                gone[i] = found = true;
                erasedHandles_.insert(objects[i].handle);
                change(objects[i].span, {});
            }
        }
    }

    // --- Layers ---

    void layers() {
        for (const Layer& layer : drawing_.layers()) {
            const auto old = std::ranges::find_if(document_.layers_, [&](const Layer& before) {
                return sameName(before.name, layer.name);
            });
            if (old == document_.layers_.end()) {
                // The layer that every drawing has need not stand in its file.
                if (layer.name != u"0" || !(layer == Layer{u"0"})) newLayer(layer);
            } else if (!(*old == layer)) {
                changeLayer(
                    *old, layer,
                    document_
                        .layerRows_[static_cast<std::size_t>(old - document_.layers_.begin())]);
            }
        }
    }

    // The changes that make a row tell of a layer.
    [[nodiscard]] std::vector<Change> rowChanges(Span span, const Layer& before,
                                                 const Layer& after) const {
        std::vector<Change> changes;
        const std::vector<Record> records = recordsOf(source_, span);
        const Record& record = records.front();
        const Style style = Style::of(source_.bytes, source_.form, span, document_.style_);
        const auto putInteger = [&](int code, std::int32_t number) {
            const std::size_t at = record.find(code);
            if (at != Record::npos) {
                const Pair& pair = record.pairs[at];
                changes.push_back({{pair.valueBegin, pair.valueEnd},
                                   integerLike(source_.value(pair), source_.form, code, number)});
                return;
            }
            std::string bytes;
            appendInteger(bytes, style, code, number);
            const std::uint64_t place = record.pairs[record.find(2)].end;
            changes.push_back({{place, place}, std::move(bytes)});
        };
        const auto putText = [&](int code, std::u16string_view text) {
            const std::size_t at = record.find(code);
            if (at != Record::npos) {
                const Pair& pair = record.pairs[at];
                changes.push_back({{pair.valueBegin, pair.valueEnd},
                                   source_.codec.encode(text, source_.value(pair).raw())});
                return;
            }
            std::string bytes;
            appendText(bytes, style, code, source_.codec.encode(text));
            const std::uint64_t place = record.pairs[record.find(2)].end;
            changes.push_back({{place, place}, std::move(bytes)});
        };
        if (before.name != after.name) putText(2, after.name);
        if (flagsOf(before) != flagsOf(after)) {
            const std::size_t at = record.find(70);
            const std::int32_t old =
                at == Record::npos ? 0 : source_.value(record.pairs[at]).integer().value_or(0);
            constexpr std::int32_t ours = 1 | 4;
            putInteger(70, (old & ~ours) | flagsOf(after));
        }
        if (colourOf(before) != colourOf(after)) putInteger(62, colourOf(after));
        if (!sameName(before.lineType, after.lineType)) putText(6, after.lineType);
        return changes;
    }

    [[nodiscard]] const Table& layerTable() const { return *structure_.findTable("LAYER"); }

    void changeLayer(const Layer& before, const Layer& after, std::size_t row) {
        add(rowChanges(layerTable().rows[row].record, before, after));
    }

    // As the layer 0 but for what is known of it: plot styles and what else there is.
    void newLayer(const Layer& layer) {
        const auto zero = std::ranges::find(document_.layers_, u"0", &Layer::name);
        if (zero != document_.layers_.end()) {
            const Span span = layerTable()
                                  .rows[document_.layerRows_[static_cast<std::size_t>(
                                      zero - document_.layers_.begin())]]
                                  .record;
            addRow("LAYER", copyOf(target_, span, rowChanges(span, *zero, layer), 0, 0));
            return;
        }
        std::string row = rowBegin("LAYER", "AcDbLayerTableRecord", handleIfAny(),
                                   source_.codec.encode(layer.name));
        appendInteger(row, document_.style_, 70, flagsOf(layer));
        appendInteger(row, document_.style_, 62, colourOf(layer));
        appendText(row, document_.style_, 6, source_.codec.encode(layer.lineType));
        addRow("LAYER", row);
    }

    // --- Blocks ---

    void blocks() {
        for (const auto& block : drawing_.blocks()) {
            if (block->placeInFile() >= 0) continue;
            const auto old = std::ranges::find_if(structure_.blocks, [&](const Block& other) {
                return sameName(source_.codec.decode(other.name), viewOf(block->record.name));
            });
            if (old != structure_.blocks.end()) redefine(*block, *old);
            else newBlocks_ += newBlock(*block);
        }
    }

    std::string contentsOf(const BlockDefinition& block, std::uint64_t owner) {
        std::string out;
        for (const VmDbObject* object : block.view()) {
            NewEntity how;
            how.owner = owner;
            appendEntity(out, target_, *object, how);
        }
        return out;
    }

    [[nodiscard]] std::uint64_t recordHandle(std::u16string_view name) const {
        if (const Table* table = structure_.findTable("BLOCK_RECORD"))
            for (const TableRow& row : table->rows)
                if (sameName(source_.codec.decode(row.name), name)) return row.handle;
        return 0;
    }

    void redefine(const BlockDefinition& block, const Block& old) {
        for (const Span& span : old.contents) {
            erase(span);
        }
        insert(old.tail.begin, contentsOf(block, recordHandle(viewOf(block.record.name))),
               Rank::row);
        const std::vector<Record> records = recordsOf(source_, old.head);
        const Record& head = records.front();
        const Style style = Style::of(source_.bytes, source_.form, head.span, document_.style_);
        const auto put = [&](int code, double number) {
            if (!std::isfinite(number)) throw NotRepresentable(unwritableBase);
            if (const std::size_t at = head.find(code); at != Record::npos) {
                const Pair& pair = head.pairs[at];
                const Value value = source_.value(pair);
                if (value.real() != number)
                    change({pair.valueBegin, pair.valueEnd},
                           realLike(value, source_.form, code, number));
            } else if (number != 0) {
                std::string bytes;
                appendReal(bytes, style, code, number);
                std::uint64_t place = head.pairs[0].end;
                for (const int earlier : {70, 2, 10})
                    if (const std::size_t found = head.find(earlier); found != Record::npos)
                        place = std::max(place, head.pairs[found].end);
                insert(place, std::move(bytes), Rank::change);
            }
        };
        put(10, block.record.baseX);
        put(20, block.record.baseY);
    }

    std::string newBlock(const BlockDefinition& block) {
        const Style& style = document_.style_;
        const Version& version = document_.version_;
        if (!std::isfinite(block.record.baseX) || !std::isfinite(block.record.baseY))
            throw NotRepresentable(unwritableBase);
        const std::string name = source_.codec.encode(viewOf(block.record.name));
        std::uint64_t record = 0;
        if (version.hasBlockRecords()) {
            record = handleOf(block.record.id);
            std::string row = rowBegin("BLOCK_RECORD", "AcDbBlockTableRecord", record, name);
            if (version.hasOwners()) appendText(row, style, 340, "0");  // no layout
            addRow("BLOCK_RECORD", row);
        }
        const auto begin = [&](std::string& out, const char* type, const char* marker) {
            appendText(out, style, 0, type);
            if (document_.hasHandles_) appendText(out, style, 5, handleText(newHandle()));
            if (version.hasOwners() && record != 0) appendText(out, style, 330, handleText(record));
            if (version.hasMarkers()) appendText(out, style, 100, "AcDbEntity");
            appendText(out, style, 8, "0");
            if (version.hasMarkers()) appendText(out, style, 100, marker);
        };
        std::string out;
        begin(out, "BLOCK", "AcDbBlockBegin");
        appendText(out, style, 2, name);
        appendInteger(out, style, 70, block.record.flags);
        appendReal(out, style, 10, block.record.baseX);
        appendReal(out, style, 20, block.record.baseY);
        appendReal(out, style, 30, 0);
        appendText(out, style, 3, name);
        if (version.hasMarkers()) appendText(out, style, 1, "");
        out += contentsOf(block, record);
        begin(out, "ENDBLK", "AcDbBlockEnd");
        return out;
    }

    // --- The header ---

    static bool sameValue(const Variables& a, const Variables& b, std::u16string_view name) {
        switch (Variables::find(name)->type) {
        case VariableType::Integer: return a.integer(name) == b.integer(name);
        case VariableType::Real: return a.real(name) == b.real(name);
        case VariableType::Text: return a.text(name) == b.text(name);
        case VariableType::Point:
        case VariableType::PlanePoint: return a.point(name) == b.point(name);
        }
        return true;
    }

    void variables() {
        // What the file said, for comparison.
        Variables before;
        document_.loadVariables(before);
        for (const HeaderRow& row : headerRows()) {
            const std::u16string name(row.name.begin(), row.name.end());
            if (sameValue(before, drawing_.variables, name)) continue;
            const std::string inFile = "$" + std::string(row.name);
            if (const HeaderVariable* found = structure_.findVariable(inFile)) {
                add(variableChanges(row, target_, found->values, drawing_.variables));
                continue;
            }
            const Section* header = structure_.findSection("HEADER");
            if (header == nullptr)
                notes_.push_back(std::string(row.name) + " is not kept: the file has no header");
            else if (document_.version_.name() < row.since)
                notes_.push_back(std::string(row.name) + " is not kept: files of version " +
                                 document_.version_.name() + " have no such variable");
            else
                insert(header->end, variablePairs(row, target_, drawing_.variables),
                       Rank::inSection);
        }
    }

    // The next free handle, so that others do not give ours out again.
    void handleSeed() {
        if (!handlesGiven_) return;
        const std::string text = handleText(given(nextHandle_));
        if (const HeaderVariable* seed = structure_.findVariable("$HANDSEED")) {
            PairReader reader = source_.reader(seed->values);
            Pair pair;
            if (reader.next(pair)) change({pair.valueBegin, pair.valueEnd}, text);
            return;
        }
        const Section* header = structure_.findSection("HEADER");
        if (header == nullptr) return;
        std::string out;
        appendText(out, document_.style_, 9, "$HANDSEED");
        appendText(out, document_.style_, 5, text);
        insert(header->end, std::move(out), Rank::inSection);
    }

    // --- The whole ---

    // What makes a damaged file whole.
    void repairs() {
        for (const Repair& repair : structure_.repairs) {
            if (repair.record.empty()) {
                change(repair.replaced, repair.value);
                continue;
            }
            const std::string_view record = repair.record;
            const Rank rank = record == "SEQEND"   ? Rank::sequenceEnd
                              : record == "ENDSEC" ? Rank::sectionEnd
                              : record == "EOF"    ? Rank::fileEnd
                                                   : Rank::tableEnd;
            std::string bytes;
            appendText(bytes, document_.style_, 0, record);
            insert(repair.replaced.begin, std::move(bytes), rank);
        }
    }

    // No record may go that nobody erased, whatever mistake we have made.
    void checkNothingIsLost() const {
        std::vector<std::uint64_t> erased = erased_;
        std::ranges::sort(erased);
        const auto check = [&, next = changes_.begin()](const Span& span) mutable {
            while (next != changes_.end() && next->replaced.end <= span.begin) ++next;
            if (next == changes_.end() || next->replaced.begin > span.begin ||
                next->replaced.begin == next->replaced.end)
                return;
            if (!std::ranges::binary_search(erased, span.begin))
                fail("saving would lose the record in " +
                     placeOf(source_.bytes, source_.form, span.begin) + "; nothing was written");
        };
        auto checkEntity = check;
        for (const Span& span : structure_.entities) checkEntity(span);
        auto checkBlock = check;
        for (const Block& block : structure_.blocks) {
            checkBlock(block.head);
            for (const Span& span : block.contents) checkBlock(span);
        }
        auto checkRow = check;
        for (const Table& table : structure_.tables)
            for (const TableRow& row : table.rows) checkRow(row.record);
    }

    const Document& document_;
    const Structure& structure_;
    const Source& source_;
    const Drawing& drawing_;
    std::vector<std::string>& notes_;
    Target target_;
    std::uint64_t nextHandle_;
    bool handlesGiven_ = false;
    std::vector<Placed> placed_;
    std::vector<Change> changes_;  // in order
    std::string newEntities_;
    std::string newBlocks_;
    std::vector<std::uint64_t> erased_;  // where the records begin that may go
    std::unordered_set<std::uint64_t> erasedHandles_;
    std::map<std::u16string, bool> applications_;
    std::map<std::string, std::string> newRows_;  // by table
    std::map<std::string, std::uint64_t> newTableHandles_;
};

std::vector<Change> Document::changes(const Drawing& drawing,
                                      std::vector<std::string>& notes) const {
    return Saving(*this, drawing, notes).run();
}

}  // namespace vlisp::refhost::dxf
