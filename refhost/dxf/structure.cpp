// The walk that finds the places. See structure.h.
#include "refhost/dxf/structure.h"

#include "refhost/dxf/changes.h"

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace vlisp::refhost::dxf {
namespace {

// A record: a pair 0 with its type, and all pairs to the next.
struct ScannedRecord {
    std::string_view type;
    Span span;
    std::string_view name;  // 2, the first
    std::uint64_t handle = 0;
    bool inPaper = false;           // 67
    bool attributesFollow = false;  // 66
    std::int32_t vertexCount = -1;  // 90, the first
    Span vertexCountAt;             // its value
    std::int32_t vertices = 0;      // how many pairs 10 there are
    std::int32_t heights = 0;       // and pairs 20
};

std::string upperCaseOf(std::string_view name) {
    std::string upper(name);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return upper;
}

class Scanner {
  public:
    Scanner(std::string_view bytes, OnDamage onDamage)
        : bytes_(bytes), recovering_(onDamage == OnDamage::recover), opening_(openingOf(bytes)),
          reader_(bytes, opening_.form, opening_.begin, bytes.size()) {
        found_.opening = opening_;
    }

    Structure run() {
        begin();
        while (!done_ && readRecord()) place();
        if (!done_) finish();
        checkInserts();
        checkHandles();
        std::ranges::stable_sort(found_.repairs, {}, [](const Repair& repair) {
            return std::pair(repair.replaced.begin, repair.replaced.end);
        });
        return std::move(found_);
    }

  private:
    // --- Reading records ---

    [[nodiscard]] std::string_view valueOf(const Pair& pair) const {
        return Value(bytes_, opening_.form, pair).trimmed();
    }

    // Stands before the first pair 0; comments may come before it.
    void begin() {
        try {
            while (reader_.next(next_)) {
                if (next_.code == 0) {
                    hasNext_ = true;
                    return;
                }
                if (next_.code != 999)
                    throw Damage(next_.begin, "group code " + std::to_string(next_.code) +
                                                  " stands where 0 and SECTION are expected");
            }
            throw Damage(reader_.position(), "the file ends where 0 and SECTION are expected");
        } catch (const Damage& damage) {
            if (!recovering_) throw;
            note(damage);
            drop({opening_.begin, resynchronise(opening_.begin)});
        }
    }

    // The record that next_ begins; false at the end of the file.
    bool readRecord() {
        while (hasNext_) {
            try {
                readRest();
                return true;
            } catch (const Damage& damage) {
                if (!recovering_) throw;
                note(damage);
                variables_.clear();
                inVariable_ = false;
                drop({record_.span.begin, nextRecord(damage)});
            }
        }
        return false;
    }

    // Where the record behind damage begins. Where only a value was wrong, pairs go on as before.
    std::uint64_t nextRecord(const Damage& damage) {
        std::uint64_t where = damage.offset;
        while (reader_.position() > where) {
            try {
                while (reader_.next(next_)) {
                    if (next_.code != 0) continue;
                    hasNext_ = true;
                    return next_.begin;
                }
                return reader_.position();
            } catch (const Damage& more) {
                where = more.offset;
            }
        }
        return resynchronise(where);
    }

    void readRest() {
        record_ = {};
        record_.type = valueOf(next_);
        record_.span.begin = next_.begin;
        hasNext_ = false;
        if (record_.type == "EOF") {  // whatever is behind it is not looked at
            record_.span.end = next_.end;
            return;
        }
        bool beyond = false;  // in embedded objects or extended data
        bool inBraces = false;
        while (nextOfRecord()) {
            beyond = beyond || next_.code == 101 || next_.code >= 1000;
            const bool isOwn = !beyond && !inBraces;
            switch (next_.code) {
            case 0:
                record_.span.end = next_.begin;
                hasNext_ = true;
                takeHandle();
                return;
            case 2:
                if (record_.name.empty() && !inBraces)
                    record_.name = Value(bytes_, opening_.form, next_).raw();
                break;
            case 5:
                // A dimension style has a name there.
                if (record_.handle == 0 && record_.type != "DIMSTYLE" && !inBraces) readHandle();
                break;
            case 105:
                if (record_.handle == 0 && record_.type == "DIMSTYLE") readHandle();
                break;
            case 9:
                if (record_.type == "SECTION") variableBegins();
                break;
            case 10: record_.vertices += isOwn ? 1 : 0; break;
            case 20: record_.heights += isOwn ? 1 : 0; break;
            case 66: record_.attributesFollow = integer() != 0; break;
            case 67: record_.inPaper = record_.inPaper || integer() != 0; break;
            case 90:
                if (record_.vertexCount < 0 && isOwn) {
                    record_.vertexCount = std::max(integer(), 0);
                    record_.vertexCountAt = {next_.valueBegin, next_.valueEnd};
                }
                break;
            case 102: inBraces = Value(bytes_, opening_.form, next_).raw().starts_with('{'); break;
            default: break;
            }
        }
        record_.span.end = reader_.position();
        takeHandle();
    }

    // The next pair. A section that begins is too much to lose for one pair in it.
    bool nextOfRecord() {
        for (;;) {
            const std::uint64_t begin = reader_.position();
            try {
                return reader_.next(next_);
            } catch (const Damage& damage) {
                if (!recovering_ || record_.type != "SECTION" || opening_.form != Form::text) throw;
                note(damage);
                if (reader_.position() == begin) {  // no group code: only its line goes
                    const std::size_t lineEnd = bytes_.find('\n', begin);
                    reader_.moveTo(lineEnd == std::string_view::npos ? bytes_.size() : lineEnd + 1);
                }
                drop({begin, reader_.position()});
                // The variable that it was part of is none any more.
                if (std::exchange(inVariable_, false)) variables_.pop_back();
            }
        }
    }

    [[nodiscard]] std::int32_t integer() const {
        return Value(bytes_, opening_.form, next_).integer().value_or(0);
    }

    void readHandle() { record_.handle = Value(bytes_, opening_.form, next_).handle().value_or(0); }

    void takeHandle() {
        // In the header stands the next handle, which is free.
        if (record_.type == "SECTION") return;
        found_.largestHandle = std::max(found_.largestHandle, record_.handle);
    }

    void variableBegins() {
        endVariable(next_.begin);
        inVariable_ = true;
        variables_.push_back({valueOf(next_), {next_.end, next_.end}});
    }

    void endVariable(std::uint64_t end) {
        if (std::exchange(inVariable_, false)) variables_.back().values.end = end;
    }

    // --- Recovering ---

    void note(const Damage& damage) { list({damage.offset, damage.what()}); }

    void problem(std::uint64_t where, const std::string& text) {
        if (!recovering_) throw Damage(where, text);
        list({where, text});
    }

    static constexpr std::size_t mostProblems = 1000;

    void list(Problem problem) {
        if (found_.problems.size() < mostProblems) found_.problems.push_back(std::move(problem));
        else if (found_.problems.size() == mostProblems)
            found_.problems.push_back({problem.offset, "more problems follow"});
    }

    void drop(Span span) {
        if (span.begin == span.end) return;
        // What is left out ends the vertices or attributes that it stands among: an entity is whole.
        if (std::exchange(sequence_, Sequence::none) != Sequence::none && sequenceHasMembers_)
            insert("SEQEND", span.begin);
        found_.repairs.push_back({span, {}, {}});
    }

    void insert(std::string_view record, std::uint64_t where) {
        found_.repairs.push_back({{where, where}, record, {}});
    }

    // Moves to the next place behind `from` that looks like a record's beginning; its offset.
    std::uint64_t resynchronise(std::uint64_t from) {
        const std::uint64_t end = bytes_.size();
        hasNext_ = false;
        for (std::uint64_t at = from; at < end;) {
            at = nextCandidate(at);
            if (at >= end) break;
            reader_.moveTo(at);
            if (looksLikeRecord()) {
                hasNext_ = true;
                return at;
            }
            ++at;
        }
        reader_.moveTo(end);
        return end;
    }

    // Where the next pair 0 may begin: at the begin of a line, or of any byte in a binary file.
    [[nodiscard]] std::uint64_t nextCandidate(std::uint64_t at) const {
        if (opening_.form != Form::text)
            return std::min<std::uint64_t>(bytes_.find('\0', at), bytes_.size());
        if (at > opening_.begin && bytes_[at - 1] != '\n') {
            const std::size_t lineEnd = bytes_.find('\n', at);
            return lineEnd == std::string_view::npos ? bytes_.size() : lineEnd + 1;
        }
        return at;
    }

    bool looksLikeRecord() {
        try {
            if (!reader_.next(next_) || next_.code != 0) return false;
        } catch (const Damage&) {
            return false;
        }
        const std::string_view type = valueOf(next_);
        const auto isLetter = [](char c) { return c >= 'A' && c <= 'Z'; };
        return type.size() < 64 && std::ranges::any_of(type, isLetter) &&
               std::ranges::all_of(
                   type, [&](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '_'; });
    }

    // --- Where records stand ---

    enum class Where { outside, section, table, block };

    void place() {
        closeVariables();
        if (record_.type == "EOF") return endOfFile();
        if (record_.type == "SECTION") return beginSection();
        if (where_ == Where::outside) {
            unexpected("SECTION or EOF");
            return drop(record_.span);
        }
        if (record_.type == "ENDSEC") return endSection();
        const std::string_view section = found_.sections.back().name;
        if (section == "TABLES") return placeInTables();
        if (section == "BLOCKS") return placeInBlocks();
        if (section == "ENTITIES") takeEntity(nullptr);
        if (section == "OBJECTS") found_.objects.push_back(record_.span);
    }

    void closeVariables() {
        if (variables_.empty()) return;
        endVariable(record_.span.end);
        found_.variables.insert(found_.variables.end(), variables_.begin(), variables_.end());
        variables_.clear();
    }

    void unexpected(const std::string& expected) {
        const bool atEnd = record_.span.begin == bytes_.size();
        problem(record_.span.begin, (atEnd ? "the file ends" : quoted(record_.type) + " stands") +
                                        " where " + expected + " is expected");
    }

    // What is still open where a section or the file ends.
    void closeAll(std::uint64_t at) {
        closeSequence(at);
        if (where_ == Where::table) {
            unexpected("ENDTAB");
            insert("ENDTAB", at);
            found_.tables.back().end = at;
        }
        if (where_ == Where::block) {
            unexpected("ENDBLK");
            insert("ENDBLK", at);
            found_.blocks.back().tail = {at, at};
        }
        if (where_ != Where::outside) where_ = Where::section;
    }

    void endOfFile() {
        const std::uint64_t at = record_.span.begin;
        closeAll(at);
        if (where_ == Where::section) {
            unexpected("ENDSEC");
            insert("ENDSEC", at);
            found_.sections.back().end = at;
        }
        found_.eof = at;
        done_ = true;
    }

    // The bytes end without EOF.
    void finish() {
        record_ = {};
        record_.span = {bytes_.size(), bytes_.size()};
        closeVariables();
        closeAll(bytes_.size());
        if (where_ == Where::section) {
            unexpected("ENDSEC");
            insert("ENDSEC", bytes_.size());
            found_.sections.back().end = bytes_.size();
        }
        unexpected("EOF");
        insert("EOF", bytes_.size());
        found_.eof = bytes_.size();
        done_ = true;
    }

    void beginSection() {
        const std::uint64_t at = record_.span.begin;
        closeAll(at);
        if (where_ == Where::section) {
            unexpected("ENDSEC");
            insert("ENDSEC", at);
            found_.sections.back().end = at;
        }
        if (record_.name.empty()) {
            problem(at, "a section without a name");
            where_ = Where::outside;
            return drop(record_.span);
        }
        found_.sections.push_back({withoutBlanks(record_.name), record_.span, at});
        where_ = Where::section;
    }

    void endSection() {
        closeAll(record_.span.begin);
        found_.sections.back().end = record_.span.begin;
        where_ = Where::outside;
    }

    void placeInTables() {
        if (record_.type == "TABLE") {
            if (where_ == Where::table) {
                unexpected("ENDTAB");
                insert("ENDTAB", record_.span.begin);
                found_.tables.back().end = record_.span.begin;
            }
            found_.tables.push_back(
                {withoutBlanks(record_.name), record_.span, record_.handle, {}, 0});
            where_ = Where::table;
        } else if (where_ != Where::table) {
            unexpected("TABLE or ENDSEC");
            drop(record_.span);
        } else if (record_.type == "ENDTAB") {
            found_.tables.back().end = record_.span.begin;
            where_ = Where::section;
        } else {
            found_.tables.back().rows.push_back({record_.span, record_.name, record_.handle});
        }
    }

    void placeInBlocks() {
        if (record_.type == "BLOCK") {
            closeSequence(record_.span.begin);
            if (where_ == Where::block) {
                unexpected("ENDBLK");
                insert("ENDBLK", record_.span.begin);
                found_.blocks.back().tail = {record_.span.begin, record_.span.begin};
            }
            found_.blocks.push_back({record_.span, record_.name, record_.handle, {}, {}});
            where_ = Where::block;
        } else if (where_ != Where::block) {
            unexpected("BLOCK or ENDSEC");
            drop(record_.span);
        } else if (record_.type == "ENDBLK") {
            closeSequence(record_.span.begin);
            found_.blocks.back().tail = record_.span;
            where_ = Where::section;
        } else {
            takeEntity(&found_.blocks.back());
        }
    }

    // --- Entities and what belongs to them ---

    enum class Sequence { none, vertices, attributes };

    void takeEntity(Block* block) {
        const bool isMember = record_.type == "VERTEX" || record_.type == "ATTRIB";
        const bool isEnd = record_.type == "SEQEND";
        if (isMember || isEnd) {
            const Sequence wanted =
                record_.type == "VERTEX" ? Sequence::vertices : Sequence::attributes;
            if (sequence_ == Sequence::none || (isMember && sequence_ != wanted)) {
                unexpected("another entity");
                return drop(record_.span);
            }
            sequenceHasMembers_ = sequenceHasMembers_ || isMember;
            if (sequenceSpan_ != nullptr) sequenceSpan_->end = record_.span.end;
            if (isEnd) sequence_ = Sequence::none;
            return;
        }
        closeSequence(record_.span.begin);
        for (const std::string_view frame : {"BLOCK", "ENDBLK", "TABLE", "ENDTAB"})
            if (record_.type == frame) {
                unexpected("an entity");
                return drop(record_.span);
            }
        if (record_.type == "LWPOLYLINE" && record_.heights != record_.vertices) {
            problem(record_.span.begin, "a vertex lacks one of its coordinates");
            return drop(record_.span);
        }
        if (record_.type == "LWPOLYLINE" && record_.vertexCount >= 0 &&
            record_.vertexCount != record_.vertices) {
            const Span& at = record_.vertexCountAt;
            problem(at.begin, "group code 90 tells of " + std::to_string(record_.vertexCount) +
                                  " vertices, " + std::to_string(record_.vertices) +
                                  " stand there");
            const Pair count{90, at.begin, at.begin, at.end, at.end};
            found_.repairs.push_back({at,
                                      {},
                                      integerLike(Value(bytes_, opening_.form, count),
                                                  opening_.form, 90, record_.vertices)});
        }
        if (block != nullptr) {
            block->contents.push_back(record_.span);
            if (record_.type == "INSERT")
                inserts_.push_back({found_.blocks.size() - 1, record_.name, record_.span.begin});
        } else if (record_.inPaper) {
            ++found_.paperEntities;
        } else {
            found_.entities.push_back(record_.span);
            found_.handles.push_back(record_.handle);
        }
        if (record_.type == "POLYLINE") sequence_ = Sequence::vertices;
        else if (record_.type == "INSERT") sequence_ = Sequence::attributes;
        else return;
        // Attributes need not follow where they are announced, and may where they are not.
        sequenceHasMembers_ = record_.type == "POLYLINE";
        sequenceBegin_ = record_.span.begin;
        sequenceSpan_ = block != nullptr  ? &block->contents.back()
                        : record_.inPaper ? nullptr
                                          : &found_.entities.back();
    }

    void closeSequence(std::uint64_t at) {
        if (std::exchange(sequence_, Sequence::none) == Sequence::none || !sequenceHasMembers_)
            return;
        // Counting lines takes long where there are many.
        const bool isListed = found_.problems.size() < mostProblems;
        unexpected(isListed
                       ? "SEQEND of the entity in " + placeOf(bytes_, opening_.form, sequenceBegin_)
                       : "SEQEND");
        insert("SEQEND", at);
    }

    // --- The whole ---

    // A block that places itself, directly or through others, would have no end. Depth first, with
    // a stack of our own: blocks may be nested deeply.
    void checkInserts() {
        std::unordered_map<std::string, std::size_t> blockOf;
        for (std::size_t i = 0; i < found_.blocks.size(); ++i)
            blockOf.emplace(upperCaseOf(found_.blocks[i].name), i);
        struct Edge {
            std::size_t to;
            std::uint64_t where;
        };
        std::vector<std::vector<Edge>> edges(found_.blocks.size());
        for (const Insert& insert : inserts_) {
            const auto target = blockOf.find(upperCaseOf(insert.name));
            if (target != blockOf.end())
                edges[insert.block].push_back({target->second, insert.where});
        }
        enum class Mark : std::uint8_t { fresh, open, done };
        std::vector<Mark> marks(found_.blocks.size(), Mark::fresh);
        struct Visit {
            std::size_t block;
            std::size_t next = 0;
        };
        std::vector<Visit> stack;
        for (std::size_t root = 0; root < edges.size(); ++root) {
            if (marks[root] != Mark::fresh) continue;
            stack.push_back({root});
            marks[root] = Mark::open;
            while (!stack.empty()) {
                Visit& top = stack.back();
                if (top.next == edges[top.block].size()) {
                    marks[top.block] = Mark::done;
                    stack.pop_back();
                    continue;
                }
                const Edge edge = edges[top.block][top.next++];
                if (marks[edge.to] == Mark::open) {
                    problem(edge.where, "the block '" + std::string(found_.blocks[edge.to].name) +
                                            "' is placed inside itself");
                    leaveOut(found_.blocks[top.block], edge.where);
                } else if (marks[edge.to] == Mark::fresh) {
                    marks[edge.to] = Mark::open;
                    stack.push_back({edge.to});
                }
            }
        }
    }

    // Takes an entity out of a block.
    void leaveOut(Block& block, std::uint64_t begin) {
        const auto entity = std::ranges::find(block.contents, begin, &Span::begin);
        drop(*entity);
        block.contents.erase(entity);
    }

    // A handle names one entity: the first that has it.
    void checkHandles() {
        std::vector<std::uint64_t>& handles = found_.handles;
        if (std::ranges::adjacent_find(handles, std::ranges::greater_equal()) == handles.end())
            return;  // as most files have them: each larger than the one before
        std::unordered_set<std::uint64_t> seen;
        seen.reserve(handles.size());
        for (std::size_t i = 0; i < handles.size(); ++i) {
            if (handles[i] == 0 || seen.insert(handles[i]).second) continue;
            list({found_.entities[i].begin, "another entity has the same handle"});
            handles[i] = 0;
        }
    }

    struct Insert {
        std::size_t block;
        std::string_view name;
        std::uint64_t where;
    };

    std::string_view bytes_;
    bool recovering_;
    Opening opening_;
    PairReader reader_;
    Structure found_;
    Pair next_;
    bool hasNext_ = false;
    ScannedRecord record_;
    bool done_ = false;
    Where where_ = Where::outside;
    std::vector<HeaderVariable> variables_;  // of the record that is read
    bool inVariable_ = false;                // the last of them is being read
    Sequence sequence_ = Sequence::none;
    bool sequenceHasMembers_ = false;
    std::uint64_t sequenceBegin_ = 0;
    Span* sequenceSpan_ = nullptr;
    std::vector<Insert> inserts_;
};

template <class Rows> auto* named(Rows& rows, std::string_view name) noexcept {
    const auto row = std::ranges::find_if(rows, [&](const auto& r) { return r.name == name; });
    return row == rows.end() ? nullptr : &*row;
}

}  // namespace

const Section* Structure::findSection(std::string_view name) const noexcept {
    return named(sections, name);
}
const Section* Structure::findLastSection(std::string_view name) const noexcept {
    const auto last = std::find_if(sections.rbegin(), sections.rend(),
                                   [&](const Section& section) { return section.name == name; });
    return last == sections.rend() ? nullptr : &*last;
}
const Table* Structure::findTable(std::string_view name) const noexcept {
    return named(tables, name);
}
const HeaderVariable* Structure::findVariable(std::string_view name) const noexcept {
    return named(variables, name);
}

Structure structureOf(std::string_view bytes, OnDamage onDamage) {
    return Scanner(bytes, onDamage).run();
}

std::string placeOf(std::string_view bytes, Form form, std::uint64_t offset) {
    if (form != Form::text) return "byte " + std::to_string(offset);
    const std::string_view before = bytes.substr(0, std::min<std::uint64_t>(offset, bytes.size()));
    return "line " + std::to_string(1 + std::ranges::count(before, '\n'));
}

}  // namespace vlisp::refhost::dxf
