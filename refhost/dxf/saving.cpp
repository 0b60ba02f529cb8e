// Saving: the differences between a drawing and its document. See document.h.
#include "drawing/entity_fields.h"
#include "platform/text.h"
#include "refhost/dxf/document.h"
#include "refhost/dxf/header_variables.h"
#include "refhost/model/objects.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace vlisp::refhost::dxf {
namespace {

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

std::optional<std::uint64_t> lostRecord(const Structure& structure, std::span<const Change> changes,
                                        std::span<const std::uint64_t> erased) {
    const auto mayGo = [&](std::uint64_t begin) {
        return std::ranges::binary_search(erased, begin);
    };
    std::optional<std::uint64_t> lost;
    // Records of one part of the file, in their order.
    const auto walk = [&](auto&& forEach) {
        auto next = changes.begin();
        forEach([&](const Span& span) {
            while (next != changes.end() && next->replaced.end <= span.begin) ++next;
            if (next == changes.end() || next->replaced.begin > span.begin ||
                next->replaced.begin == next->replaced.end)
                return;
            if (!lost && !mayGo(span.begin)) lost = span.begin;
        });
    };
    walk([&](auto check) {
        for (const Span& span : structure.entities) check(span);
    });
    walk([&](auto check) {
        for (const Block& block : structure.blocks) {
            check(block.head);
            for (const Span& span : block.contents) check(span);
        }
    });
    walk([&](auto check) {
        for (const Table& table : structure.tables)
            for (const TableRow& row : table.rows) check(row.record);
    });
    // Elsewhere nothing is changed but what is erased.
    for (const Section& section : structure.sections) {
        if (section.name == "HEADER" || section.name == "TABLES" || section.name == "BLOCKS" ||
            section.name == "ENTITIES")
            continue;
        for (const Change& change : changes) {
            const Span& span = change.replaced;
            if (!lost && span.begin < span.end && span.begin >= section.head.begin &&
                span.begin < section.end && !mayGo(span.begin))
                lost = span.begin;
        }
    }
    return lost;
}

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
        } catch (const Damage& damage) {  // our mistake; it must not end the program and its work
            fail("cannot save the drawing: " + placeOf(source_.bytes, source_.form, damage.offset) +
                 ": " + damage.what());
        }
        layers();
        variables();
        newTables();
        newSections();
        orphans();
        handleSeed();
        sort();
        checkNothingIsLost();
        return std::move(changes_);
    }

  private:
    // What comes first of that which is put at one place: what is new stands inside what it belongs
    // to.
    enum class Rank {
        change,
        row,        ///< also what is in a block
        inSection,  ///< entities, blocks and tables
        section
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
        std::ranges::sort(erased_);
        std::ranges::stable_sort(placed_, {}, [](const Placed& one) {
            return std::tuple(one.change.replaced.begin, one.change.replaced.end, one.rank);
        });
        for (Placed& one : placed_) {
            const Span& span = one.change.replaced;
            // What lies inside of something that goes, goes too.
            if (!changes_.empty() && span.begin < changes_.back().replaced.end) continue;
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
        const std::uint64_t space = recordHandle(u"*Model_Space");
        for (int slot = 0; slot < drawing_.slotCount(); ++slot) {
            if (slot < fromFile && drawing_.isAsInFile(slot)) continue;
            const ObjectView object = drawing_.at(slot);
            if (slot < fromFile) {
                changeEntity(slot, *object);
            } else if (object->erased == 0) {
                NewEntity how{handleOf(object->id), space, lineType(*object),
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
            if (known) continue;
            checkName(datum.name, "application");
            applications_.try_emplace(datum.name);
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
                return insert(section.head.begin, sectionOf("TABLES", tables), Rank::section);
        insert(structure_.eof, sectionOf("TABLES", tables), Rank::section);
    }

    // Blocks and entities that are new, in sections of their own where the file has none. Those stand
    // in this order, behind the tables.
    void newSections() {
        const Section* blocks = structure_.findSection("BLOCKS");
        const Section* entities = structure_.findLastSection("ENTITIES");
        if (!newBlocks_.empty() && blocks != nullptr)
            insert(blocks->end, std::move(newBlocks_), Rank::inSection);
        else if (!newBlocks_.empty())
            insert(entities != nullptr ? entities->head.begin : structure_.eof,
                   sectionOf("BLOCKS", newBlocks_), Rank::section);
        if (!newEntities_.empty() && entities != nullptr)
            insert(entities->end, std::move(newEntities_), Rank::inSection);
        else if (!newEntities_.empty())
            insert(structure_.eof, sectionOf("ENTITIES", newEntities_), Rank::section);
    }

    // --- What belongs to what was erased ---

    // Objects that an erased entity owned, its extension dictionary for one, go with it.
    void orphans() {
        if (structure_.objects.empty() || erasedHandles_.empty()) return;
        struct Object {
            Span span;
            std::uint64_t handle = 0;
        };
        std::unordered_multimap<std::uint64_t, Object> owned;  // by owner
        for (const Span& span : structure_.objects) {
            Object object{span};
            std::uint64_t owner = 0;
            bool inBraces = false;
            PairReader reader = source_.reader(span);
            // Behind the first marker a 330 may mean something else.
            for (Pair pair; reader.next(pair) && pair.code != 100;) {
                if (pair.code == 102) inBraces = source_.value(pair).raw().starts_with('{');
                if (inBraces) continue;
                if (pair.code == 5) object.handle = source_.value(pair).handle().value_or(0);
                if (pair.code == 330) owner = source_.value(pair).handle().value_or(0);
            }
            if (owner != 0) owned.emplace(owner, object);
        }
        std::vector<std::uint64_t> waiting(erasedHandles_.begin(), erasedHandles_.end());
        while (!waiting.empty()) {
            const auto [first, last] = owned.equal_range(waiting.back());
            waiting.pop_back();
            for (auto each = first; each != last; ++each) {
                waiting.push_back(each->second.handle);
                erased_.push_back(each->second.span.begin);
                change(each->second.span, {});
            }
            owned.erase(first, last);
        }
    }

    // --- Layers ---

    void layers() {
        NameIndex places;
        const auto nameOf = [](const Layer& layer) -> const std::u16string& { return layer.name; };
        for (const Layer& layer : drawing_.layers()) {
            const std::size_t place = places.find(document_.layers_, layer.name, nameOf);
            const auto old = place == NameIndex::none
                                 ? document_.layers_.end()
                                 : document_.layers_.begin() + static_cast<std::ptrdiff_t>(place);
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
            const std::size_t at = record.findLast(code);
            if (at != Record::npos) {
                const Pair& pair = record.pairs[at];
                changes.push_back({{pair.valueBegin, pair.valueEnd},
                                   integerLike(source_.value(pair), source_.form, code, number)});
                return;
            }
            std::string bytes;
            appendInteger(bytes, style, code, number);
            const std::size_t name = record.find(2);
            const std::uint64_t place = record.pairs[name == Record::npos ? 0 : name].end;
            changes.push_back({{place, place}, std::move(bytes)});
        };
        const auto putText = [&](int code, std::u16string_view text) {
            const std::size_t at = code == 2 ? record.find(code) : record.findLast(code);
            if (at != Record::npos) {
                const Pair& pair = record.pairs[at];
                changes.push_back({{pair.valueBegin, pair.valueEnd},
                                   source_.codec.encode(text, source_.value(pair).raw())});
                return;
            }
            std::string bytes;
            appendText(bytes, style, code, source_.codec.encode(text));
            const std::size_t name = record.find(2);
            const std::uint64_t place = record.pairs[name == Record::npos ? 0 : name].end;
            changes.push_back({{place, place}, std::move(bytes)});
        };
        if (before.name != after.name) putText(2, after.name);
        if (flagsOf(before) != flagsOf(after)) {
            const std::size_t at = record.findLast(70);
            const std::int32_t old =
                at == Record::npos ? 0 : source_.value(record.pairs[at]).integer().value_or(0);
            constexpr std::int32_t ours = 1 | 4;
            putInteger(70, (old & ~ours) | flagsOf(after));
        }
        if (colourOf(before) != colourOf(after)) putInteger(62, colourOf(after));
        // A true colour would go on hiding the new one.
        if (before.colour != after.colour)
            for (const int code : {420, 430})
                if (const std::size_t at = record.find(code); at != Record::npos)
                    changes.push_back({{record.pairs[at].begin, record.pairs[at].end}, {}});
        if (!sameName(before.lineType, after.lineType)) putText(6, after.lineType);
        return changes;
    }

    [[nodiscard]] const Table& layerTable() const { return *structure_.findTable("LAYER"); }

    void changeLayer(const Layer& before, const Layer& after, std::size_t row) {
        add(rowChanges(layerTable().rows[row].record, before, after));
    }

    // The same without what the layer 0 has for itself: a true colour, extended data, its origin.
    [[nodiscard]] std::vector<Change> asNewLayer(Span span, const Layer& zero,
                                                 const Layer& layer) const {
        std::vector<Change> changes = rowChanges(span, zero, layer);
        const std::vector<Record> records = recordsOf(source_, span);
        const Record& record = records.front();
        for (std::size_t i = 1; i < record.pairs.size(); ++i) {
            const Pair& pair = record.pairs[i];
            const bool isOwn = i < record.own;
            const bool isColour = pair.code == 420 || pair.code == 430;
            // What stands in braces goes anyway.
            if (isOwn && (record.grouped[i] || !isColour || zero.colour != layer.colour)) continue;
            changes.push_back({{pair.begin, pair.end}, {}});
        }
        if (const std::size_t at = record.findLast(70); at != Record::npos) {
            const Pair& pair = record.pairs[at];
            std::erase_if(changes, [&](const Change& change) {
                return change.replaced.begin == pair.valueBegin;
            });
            changes.push_back({{pair.valueBegin, pair.valueEnd},
                               integerLike(source_.value(pair), source_.form, 70, flagsOf(layer))});
        }
        return changes;
    }

    // Before names were free, they had to be short and plain.
    void checkName(std::u16string_view name, const char* what) const {
        if (document_.version_.hasOwners()) return;
        constexpr std::size_t longest = 31;
        const bool isPlain = std::ranges::all_of(name, [](char16_t c) {
            return c > 0x7f || (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') ||
                   (c >= u'a' && c <= u'z') || c == u'$' || c == u'_' || c == u'-' || c == u'*';
        });
        if (name.size() <= longest && isPlain) return;
        fail("cannot save the drawing: the " + std::string(what) + " '" + platform::toUtf8(name) +
             "' has a name that files of version " + document_.version_.name() +
             " cannot hold: at most 31 letters, digits, $, _ and -");
    }

    // As the layer 0 but for what is known of it: plot styles and what else there is.
    void newLayer(const Layer& layer) {
        checkName(layer.name, "layer");
        const auto zero = std::ranges::find(document_.layers_, u"0", &Layer::name);
        if (zero != document_.layers_.end()) {
            const Span span = layerTable()
                                  .rows[document_.layerRows_[static_cast<std::size_t>(
                                      zero - document_.layers_.begin())]]
                                  .record;
            addRow("LAYER", copyOf(target_, span, asNewLayer(span, *zero, layer), 0, 0));
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
            const std::size_t old = blockPlaces_.find(
                structure_.blocks, viewOf(block->record.name),
                [&](const Block& other) { return source_.codec.decode(other.name); });
            if (old != NameIndex::none) redefine(*block, structure_.blocks[old]);
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

    [[nodiscard]] std::uint64_t recordHandle(std::u16string_view name) {
        const Table* table = structure_.findTable("BLOCK_RECORD");
        if (table == nullptr) return 0;
        const std::size_t row = recordPlaces_.find(table->rows, name, [&](const TableRow& other) {
            return source_.codec.decode(other.name);
        });
        return row == NameIndex::none ? 0 : table->rows[row].handle;
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
            if (const std::size_t at = head.findLast(code); at != Record::npos) {
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
        checkName(viewOf(block.record.name), "block");
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

    void checkRange(const HeaderRow& row, const std::u16string& name) const {
        if (valueTypeOf(row.code) != ValueType::int16 ||
            Variables::find(name)->type != VariableType::Integer)
            return;
        const int value = drawing_.variables.integer(name);
        if (value != static_cast<std::int16_t>(value))
            fail("cannot save the drawing: " + std::string(row.name) + " is " +
                 std::to_string(value) + "; files hold -32768 to 32767");
    }

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
            checkRange(row, name);
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
                insert(header->head.end, variablePairs(row, target_, drawing_.variables),
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
            if (!reader.next(pair)) return;
            if (pair.code == 5) {
                change({pair.valueBegin, pair.valueEnd}, text);
                return;
            }
            // Under another code it might be no number, and nobody could read the file.
            std::string out;
            appendText(out, document_.style_, 5, text);
            change({pair.begin, pair.end}, std::move(out));
            return;
        }
        const Section* header = structure_.findSection("HEADER");
        if (header == nullptr) return;
        std::string out;
        appendText(out, document_.style_, 9, "$HANDSEED");
        appendText(out, document_.style_, 5, text);
        insert(header->head.end, std::move(out), Rank::inSection);
    }

    // --- The whole ---

    // No record may go that nobody erased, whatever mistake we have made.
    void checkNothingIsLost() {
        std::ranges::sort(erased_);
        if (const auto lost = lostRecord(structure_, changes_, erased_))
            fail("saving would lose the record in " + placeOf(source_.bytes, source_.form, *lost) +
                 "; nothing was written");
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
    NameIndex blockPlaces_;
    NameIndex recordPlaces_;
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
