// Finding what differs. See differences.h.
#include "refhost/dxf/differences.h"

#include "platform/text.h"
#include "refhost/dxf/text_codec.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <span>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace vlisp::refhost::dxf {
namespace {

using Index = std::uint32_t;
constexpr Index none = 0xffffffff;

// --- Sequences of keys ---

struct Match {
    Index before;
    Index after;
};

// Of matches sorted by `after`, most of those whose `before` rises too.
std::vector<Match> longestRise(std::span<const Match> matches) {
    std::vector<Index> ends;  // by length of a rise: the match at its end, the smallest there is
    std::vector<Index> previous(matches.size(), none);
    for (Index i = 0; i < matches.size(); ++i) {
        const auto place = std::ranges::lower_bound(ends, matches[i].before, {},
                                                    [&](Index m) { return matches[m].before; });
        if (place != ends.begin()) previous[i] = *std::prev(place);
        if (place == ends.end()) ends.push_back(i);
        else *place = i;
    }
    std::vector<Match> rise(ends.size());
    Index at = ends.empty() ? none : ends.back();
    for (std::size_t i = ends.size(); i > 0; --i, at = previous[at]) rise[i - 1] = matches[at];
    return rise;
}

using Keys = std::vector<std::uint64_t>;

// Finds which keys of two sequences are the same ones, in order in both. Long ranges are cut at keys
// that stand once in either; only short ones are searched for the longest common subsequence.
class Aligner {
  public:
    Aligner(std::span<const std::uint64_t> before, std::span<const std::uint64_t> after,
            std::uint64_t& work)
        : before_(before), after_(after), work_(work), partners_(after.size(), none) {}

    // By place in `after`: the partner's place in `before`, or none.
    std::vector<Index> run() {
        open_.push_back(
            {0, static_cast<Index>(before_.size()), 0, static_cast<Index>(after_.size()), 0});
        while (!open_.empty()) {
            Range range = open_.back();
            open_.pop_back();
            narrow(range);
            if (range.begin == range.end || range.afterBegin == range.afterEnd) continue;
            const std::uint64_t cells = std::uint64_t{range.end - range.begin} *
                                        std::uint64_t{range.afterEnd - range.afterBegin};
            if (cells <= mostCells) search(range);
            else if (range.level <= mostLevels) cut(range);
        }
        return std::move(partners_);
    }

  private:
    struct Range {
        Index begin;
        Index end;
        Index afterBegin;
        Index afterEnd;
        int level;
    };
    static constexpr std::uint64_t mostCells = 1U << 16;
    static constexpr int mostLevels = 12;

    void narrow(Range& range) {
        while (range.begin < range.end && range.afterBegin < range.afterEnd &&
               before_[range.begin] == after_[range.afterBegin])
            partners_[range.afterBegin++] = range.begin++;
        while (range.begin < range.end && range.afterBegin < range.afterEnd &&
               before_[range.end - 1] == after_[range.afterEnd - 1])
            partners_[--range.afterEnd] = --range.end;
    }

    void search(const Range& range) {
        const std::size_t rows = range.end - range.begin;
        const std::size_t columns = range.afterEnd - range.afterBegin;
        work_ += rows * columns;
        // lengths[i, j]: how much the ends from i and from j have in common. No more than the
        // shorter side, which is short.
        lengths_.assign((rows + 1) * (columns + 1), 0);
        const auto length = [&](std::size_t i, std::size_t j) -> std::uint16_t& {
            return lengths_[i * (columns + 1) + j];
        };
        const auto same = [&](std::size_t i, std::size_t j) {
            return before_[range.begin + i] == after_[range.afterBegin + j];
        };
        for (std::size_t i = rows; i-- > 0;)
            for (std::size_t j = columns; j-- > 0;)
                length(i, j) = same(i, j) ? static_cast<std::uint16_t>(length(i + 1, j + 1) + 1)
                                          : std::max(length(i + 1, j), length(i, j + 1));
        for (std::size_t i = 0, j = 0; i < rows && j < columns;) {
            if (same(i, j)) {
                partners_[range.afterBegin + j] = range.begin + static_cast<Index>(i);
                ++i;
                ++j;
            } else if (length(i + 1, j) >= length(i, j + 1)) {
                ++i;
            } else {
                ++j;
            }
        }
    }

    void cut(Range range) {
        std::vector<Match> anchors;
        if (range.level < mostLevels) anchors = anchorsOf(range, true);
        if (anchors.empty()) {
            // Nothing stands once: the first of a key is taken for the first, and so on.
            range.level = mostLevels;
            anchors = anchorsOf(range, false);
        }
        if (anchors.empty()) return;
        std::ranges::sort(anchors, {}, &Match::after);
        Range rest = range;
        ++rest.level;
        for (const Match& anchor : longestRise(anchors)) {
            partners_[anchor.after] = anchor.before;
            rest.end = anchor.before;
            rest.afterEnd = anchor.after;
            open_.push_back(rest);
            rest.begin = anchor.before + 1;
            rest.afterBegin = anchor.after + 1;
        }
        rest.end = range.end;
        rest.afterEnd = range.afterEnd;
        open_.push_back(rest);
    }

    std::vector<Match> anchorsOf(const Range& range, bool once) {
        const std::vector<Index> olds = sorted(before_, range.begin, range.end);
        const std::vector<Index> news = sorted(after_, range.afterBegin, range.afterEnd);
        const auto run = [](std::span<const std::uint64_t> keys, const std::vector<Index>& order,
                            std::size_t from) {
            std::size_t to = from + 1;
            while (to < order.size() && keys[order[to]] == keys[order[from]]) ++to;
            return to - from;
        };
        std::vector<Match> anchors;
        for (std::size_t i = 0, j = 0; i < olds.size() && j < news.size();) {
            const std::uint64_t key = before_[olds[i]];
            const std::uint64_t other = after_[news[j]];
            const std::size_t many = key <= other ? run(before_, olds, i) : 0;
            const std::size_t manyOther = other <= key ? run(after_, news, j) : 0;
            if (key == other && (!once || (many == 1 && manyOther == 1)))
                for (std::size_t k = 0; k < std::min(many, manyOther); ++k)
                    anchors.push_back({olds[i + k], news[j + k]});
            i += many;
            j += manyOther;
        }
        return anchors;
    }

    std::vector<Index> sorted(std::span<const std::uint64_t> keys, Index begin, Index end) {
        std::vector<Index> order(end - begin);
        for (Index i = begin; i < end; ++i) order[i - begin] = i;
        std::ranges::sort(order, [&](Index a, Index b) {
            return keys[a] != keys[b] ? keys[a] < keys[b] : a < b;
        });
        work_ += order.size();
        return order;
    }

    std::span<const std::uint64_t> before_;
    std::span<const std::uint64_t> after_;
    std::uint64_t& work_;
    std::vector<Index> partners_;
    std::vector<Range> open_;
    std::vector<std::uint16_t> lengths_;
};

// A row of things with what they are and of which kind.
struct Row {
    Keys whole;
    Keys kind;
    [[nodiscard]] std::size_t size() const noexcept { return whole.size(); }
};

// First those that are the same find each other; between them those of one kind, in order.
std::vector<Index> partnersOf(const Row& before, const Row& after, std::uint64_t& work) {
    std::vector<Index> partners = Aligner(before.whole, after.whole, work).run();
    std::size_t begin = 0;
    std::size_t afterBegin = 0;
    for (std::size_t i = 0; i <= partners.size(); ++i) {
        if (i < partners.size() && partners[i] == none) continue;
        const std::size_t end = i < partners.size() ? partners[i] : before.size();
        if (begin < end && afterBegin < i) {
            const std::vector<Index> found =
                Aligner(std::span(before.kind).subspan(begin, end - begin),
                        std::span(after.kind).subspan(afterBegin, i - afterBegin), work)
                    .run();
            for (std::size_t k = 0; k < found.size(); ++k)
                if (found[k] != none)
                    partners[afterBegin + k] = static_cast<Index>(begin) + found[k];
        }
        begin = end + 1;
        afterBegin = i + 1;
    }
    return partners;
}

// --- Values ---

class Hash {
  public:
    void add(std::uint64_t word) noexcept {
        state_ = (state_ ^ word) * 0x9e3779b97f4a7c15;
        state_ ^= state_ >> 29;
    }
    void add(std::string_view bytes) noexcept {
        add(bytes.size());
        while (bytes.size() >= sizeof(std::uint64_t)) {
            addPart(bytes.data(), sizeof(std::uint64_t));
            bytes.remove_prefix(sizeof(std::uint64_t));
        }
        if (!bytes.empty()) addPart(bytes.data(), bytes.size());
    }
    [[nodiscard]] std::uint64_t value() const noexcept { return state_; }

  private:
    void addPart(const char* bytes, std::size_t count) noexcept {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes, count);
        add(word);
    }
    std::uint64_t state_ = 0x2545f4914f6cdd1d;
};

std::string bytesOf(std::uint64_t word) {
    std::string bytes(sizeof word, '\0');
    std::memcpy(bytes.data(), &word, sizeof word);
    return bytes;
}

// What is equal for equal values in the text form and in the binary form.
std::string formless(const Value& value, int code) {
    const ValueType type = valueTypeOf(code);
    if (type == ValueType::text) return std::string(value.raw());
    std::string text = value.readable();
    if (type == ValueType::chunk) {
        for (char& c : text)
            if (c >= 'a' && c <= 'f') c = static_cast<char>(c - 'a' + 'A');
        return text;
    }
    if (type == ValueType::int64) {  // more digits than a double has
        const std::size_t begin = text.find_first_not_of(" \t+");
        if (begin != std::string::npos) text.erase(0, begin);
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error == std::errc() &&
            std::string_view(end).find_first_not_of(" \t") == std::string::npos)
            return bytesOf(static_cast<std::uint64_t>(number));
    }
    const double number = value.real().value_or(0);
    if (std::isnan(number)) return "nan";
    return bytesOf(std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number));
}

void appendHex(std::string& out, unsigned number, int digits) {
    constexpr char hex[] = "0123456789ABCDEF";
    for (int i = digits - 1; i >= 0; --i) out += hex[(number >> (4 * i)) & 15];
}

bool isHigh(char16_t unit) noexcept { return unit >= 0xd800 && unit < 0xdc00; }
bool isLow(char16_t unit) noexcept { return unit >= 0xdc00 && unit < 0xe000; }

// UTF-8; a unit that is no character, spelled: what the codec makes of a stray byte as that byte.
std::string utf8Of(std::u16string_view text) {
    std::string out;
    std::size_t done = 0;
    const auto flush = [&](std::size_t to) {
        if (done < to) out += platform::toUtf8(text.substr(done, to - done));
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isHigh(text[i]) && !isLow(text[i])) continue;
        if (isHigh(text[i]) && i + 1 < text.size() && isLow(text[i + 1])) {
            ++i;
            continue;
        }
        flush(i);
        done = i + 1;
        const bool isByte = text[i] >= 0xdc80 && text[i] <= 0xdcff;
        out += isByte ? "\\x" : "\\U+";
        appendHex(out, isByte ? text[i] - 0xdc00U : text[i], isByte ? 2 : 4);
    }
    flush(text.size());
    return out;
}

std::string spelledBytes(std::string_view bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7f) {
            out += c;
        } else {
            out += "\\x";
            appendHex(out, byte, 2);
        }
    }
    return out;
}

// --- A file's records ---

// Names of types and sections as numbers, the same in both files.
class Names {
  public:
    Index of(std::string_view name) {
        const auto [found, isNew] = numbers_.emplace(name, static_cast<Index>(names_.size()));
        if (isNew) names_.push_back(name);
        return found->second;
    }
    [[nodiscard]] std::string_view operator[](Index number) const { return names_[number]; }

  private:
    std::unordered_map<std::string_view, Index> numbers_;
    std::vector<std::string_view> names_;
};

struct ComparedRecord {
    std::uint64_t begin;
    std::uint64_t hash = 0;
    std::uint64_t key = 0;  // what it is found by: its handle, or a hash of its name; 0: nothing
    Index type;
    Index section : 30;
    Index hasHandle : 1 = 0;
    Index beginsSection : 1 = 0;
};

// Records of one section.
struct Group {
    Index section;
    Index begin;
    Index end;
};

class Side {
  public:
    Side(const ComparedFile& file, bool formless, Names& names)
        : bytes_(file.bytes), form_(file.structure.opening.form), formless_(formless),
          codec_(valueOf(file.structure, "$ACADVER"), valueOf(file.structure, "$DWGCODEPAGE")),
          end_(file.bytes.size()) {
        for (const Repair& repair : file.structure.repairs)
            if (repair.value.empty() && repair.replaced.begin < repair.replaced.end)
                dropped_.push_back(repair.replaced);
        std::ranges::sort(dropped_, {}, &Span::begin);
        // From here on each ends behind the one before.
        for (std::size_t i = 1; i < dropped_.size(); ++i)
            dropped_[i].end = std::max(dropped_[i].end, dropped_[i - 1].end);
        read(file.structure.opening.begin, names);
    }

    // The pairs of a range, without the dropped ones.
    class Pairs {
      public:
        Pairs(const Side& side, std::uint64_t begin, std::uint64_t end)
            : reader_(side.bytes_, side.form_, begin, end, Numbers::trust),
              dropped_(std::ranges::upper_bound(side.dropped_, begin, {}, &Span::end),
                       side.dropped_.end()),
              end_(end) {}
        bool next(Pair& pair) {
            while (!dropped_.empty() && dropped_.front().begin <= reader_.position()) {
                if (dropped_.front().end >= end_) return false;
                reader_.moveTo(std::max(reader_.position(), dropped_.front().end));
                dropped_ = dropped_.subspan(1);
            }
            return reader_.next(pair);
        }

      private:
        PairReader reader_;
        std::span<const Span> dropped_;
        std::uint64_t end_;
    };

    [[nodiscard]] const ComparedRecord& operator[](Index i) const noexcept { return records_[i]; }
    [[nodiscard]] Index size() const noexcept { return static_cast<Index>(records_.size()); }
    [[nodiscard]] std::uint64_t endOf(Index record) const noexcept {
        return record + 1 < size() ? records_[record + 1].begin : end_;
    }
    [[nodiscard]] Pairs pairsOf(Index record) const {
        return {*this, records_[record].begin, endOf(record)};
    }
    [[nodiscard]] std::string_view bytesOf(Index record) const noexcept {
        const std::uint64_t begin = records_[record].begin;
        return bytes_.substr(begin, endOf(record) - begin);
    }
    [[nodiscard]] Pair pairAt(std::uint64_t offset) const {
        PairReader reader(bytes_, form_, offset, bytes_.size(), Numbers::trust);
        Pair pair;
        reader.next(pair);
        return pair;
    }

    // What is compared of a value; `room` may hold it.
    [[nodiscard]] std::string_view compared(const Pair& pair, std::string& room) const {
        const Value value(bytes_, form_, pair);
        if (!formless_) return value.raw();
        room = formless(value, pair.code);
        return room;
    }
    [[nodiscard]] std::uint64_t hashOf(const Pair& pair) const {
        Hash hash;
        add(hash, pair);
        return hash.value();
    }

    [[nodiscard]] std::optional<std::uint64_t> handleIn(const Pair& pair) const noexcept {
        return Value(bytes_, form_, pair).handle();
    }
    [[nodiscard]] std::string readable(const Pair& pair) const {
        const Value value(bytes_, form_, pair);
        const ValueType type = valueTypeOf(pair.code);
        if (isNumber(type)) {
            std::string text = value.readable();
            text.erase(0, std::min(text.find_first_not_of(" \t"), text.size()));
            text.erase(text.find_last_not_of(" \t") + 1);
            return text;
        }
        if (type == ValueType::chunk && form_ != Form::text) return value.readable();
        return textOf(value.raw());
    }
    [[nodiscard]] std::string spelled(const Pair& pair) const {
        return spelledBytes(Value(bytes_, form_, pair).raw());
    }
    [[nodiscard]] std::string textOf(std::string_view raw) const {
        const bool plain = std::ranges::all_of(
            raw, [](char c) { return c >= 0x20 && c < 0x7f && c != '^' && c != '\\'; });
        return plain ? std::string(raw) : utf8Of(codec_.decode(raw));
    }

    [[nodiscard]] std::vector<Group> groups() const {
        std::vector<Group> groups;
        for (Index i = 0; i < size(); ++i) {
            const Index section = records_[i].section;
            // Two sections may have the same name.
            const bool begins = groups.empty() || groups.back().section != section ||
                                records_[i].beginsSection != 0;
            if (begins) groups.push_back({section, i, i});
            groups.back().end = i + 1;
        }
        return groups;
    }

  private:
    [[nodiscard]] std::string_view valueOf(const Structure& structure,
                                           std::string_view variable) const {
        const HeaderVariable* found = structure.findVariable(variable);
        if (found == nullptr) return {};
        try {
            PairReader reader(bytes_, form_, found->values.begin, found->values.end);
            Pair pair;
            if (reader.next(pair)) return Value(bytes_, form_, pair).trimmed();
        } catch (const Damage&) {
            // A recovered file: as if it were not there.
        }
        return {};
    }

    void add(Hash& hash, const Pair& pair) const {
        std::string room;
        hash.add(static_cast<std::uint64_t>(pair.code));
        hash.add(compared(pair, room));
    }

    // Numbers of the names that a reader must know.
    struct Known {
        explicit Known(Names& names)
            : section(names.of("SECTION")), endSection(names.of("ENDSEC")),
              endOfFile(names.of("EOF")), tables(names.of("TABLES")), block(names.of("BLOCK")),
              dimensionStyle(names.of("DIMSTYLE")), comment(names.of("999")), empty(names.of("")) {}
        Index section, endSection, endOfFile, tables, block, dimensionStyle, comment, empty;
    };

    void read(std::uint64_t begin, Names& names) {
        const Known known(names);
        Index section = known.empty;
        Index kind = known.comment;  // the record's type; a variable's is that of its SECTION
        Hash hash;
        std::uint64_t name = 0;

        const auto close = [&] {
            if (records_.empty()) return;
            ComparedRecord& record = records_.back();
            record.hash = hash.value();
            if (record.key == 0) record.key = name;
            hash = {};
            name = 0;
        };
        const auto open = [&](std::uint64_t at, Index type) {
            close();
            records_.push_back({.begin = at, .type = type, .section = section & maxSection});
            assert(records_.size() < none && "too many records");
        };

        Pairs pairs(*this, begin, bytes_.size());
        Pair pair;
        while (pairs.next(pair)) {
            const Value value(bytes_, form_, pair);
            if (pair.code == 0) {
                const Index before = std::exchange(kind, names.of(value.trimmed()));
                // What stands between sections belongs to none; EOF is one of its own.
                if (before == known.endSection || kind == known.section) section = known.empty;
                if (kind == known.endOfFile) section = known.endOfFile;
                open(pair.begin, kind);
                records_.back().beginsSection = kind == known.section ? 1 : 0;
            } else if (pair.code == 9 && kind == known.section) {
                open(pair.begin, names.of(value.trimmed()));
                name = 1;  // its type is its name
            } else if (records_.empty()) {
                open(pair.begin, kind);
            }
            add(hash, pair);
            if (kind == known.endOfFile) {
                end_ = pair.end;
                break;
            }
            ComparedRecord& record = records_.back();
            if (pair.code == 2 && record.beginsSection != 0 && section == known.empty) {
                section = names.of(value.trimmed());
                record.section = section & maxSection;
            } else if (pair.code == 2 && name == 0 &&
                       (section == known.tables || kind == known.block)) {
                Hash nameHash;
                nameHash.add(value.trimmed());
                name = nameHash.value();
            } else if (pair.code == (kind == known.dimensionStyle ? 105 : 5) &&
                       kind != known.section && record.hasHandle == 0) {
                record.key = value.handle().value_or(0);
                record.hasHandle = record.key != 0 ? 1 : 0;
            }
        }
        close();
    }

    static constexpr Index maxSection = 0x3fffffff;
    std::string_view bytes_;
    Form form_;
    bool formless_;
    TextCodec codec_;
    std::vector<Span> dropped_;
    std::vector<ComparedRecord> records_;
    std::uint64_t end_;
};

// --- The comparison ---

class Comparison {
  public:
    Comparison(const ComparedFile& before, const ComparedFile& after, DifferenceSink& sink)
        : mixed_((before.structure.opening.form == Form::text) !=
                 (after.structure.opening.form == Form::text)),
          before_(before, mixed_, names_), after_(after, mixed_, names_), sink_(sink),
          partners_(after_.size(), none), fates_(before_.size(), Fate::erased),
          moved_(after_.size()) {}

    DifferenceCounts run() {
        for (const Step& step : steps()) {
            if (step.isPair()) match(step.before, step.after);
            if (step.moved) move(step.after.begin);
            tell(step.before, step.after);
        }
        return counts_;
    }

  private:
    // Becomes of a record of the older file.
    enum class Fate : std::uint8_t { erased, stays, moves };

    // A section of one file, with the same one of the other.
    struct Step {
        Group before{};
        Group after{};
        bool moved = false;
        [[nodiscard]] bool isPair() const noexcept {
            return before.begin < before.end && after.begin < after.end;
        }
    };

    // The sections in the order of the newer file; erased ones where they stood.
    [[nodiscard]] std::vector<Step> steps() const {
        const std::vector<Group> olds = before_.groups();
        const std::vector<Group> news = after_.groups();
        std::map<Index, std::vector<Index>> places;  // by name, the last first
        for (std::size_t i = olds.size(); i-- > 0;)
            places[olds[i].section].push_back(static_cast<Index>(i));
        std::vector<Match> matches;
        for (Index i = 0; i < news.size(); ++i) {
            std::vector<Index>& same = places[news[i].section];
            if (same.empty()) continue;
            matches.push_back({same.back(), i});
            same.pop_back();
        }
        std::vector<Index> partners(news.size(), none);
        std::vector<bool> matched(olds.size());
        for (const Match& match : matches) {
            partners[match.after] = match.before;
            matched[match.before] = true;
        }
        std::vector<bool> stays(news.size());
        for (const Match& match : longestRise(matches)) stays[match.after] = true;

        std::vector<Step> steps;
        Index next = 0;
        const auto erasedUpTo = [&](std::size_t end) {
            for (; next < end; ++next)
                if (!matched[next]) steps.push_back({.before = olds[next]});
        };
        for (std::size_t i = 0; i < news.size(); ++i) {
            if (partners[i] == none) {
                steps.push_back({.after = news[i]});
                continue;
            }
            if (stays[i]) erasedUpTo(partners[i]);
            steps.push_back({olds[partners[i]], news[i], !stays[i]});
        }
        erasedUpTo(olds.size());
        return steps;
    }

    // --- Partners ---

    void pairUp(Index before, Index after) {
        partners_[after] = before;
        fates_[before] = Fate::stays;
    }

    void move(Index after) {
        if (partners_[after] == none) return;
        moved_[after] = true;
        fates_[partners_[after]] = Fate::moves;
    }

    void match(Group before, Group after) {
        while (before.begin < before.end && after.begin < after.end &&
               before_[before.begin].hash == after_[after.begin].hash)
            pairUp(before.begin++, after.begin++);
        while (before.begin < before.end && after.begin < after.end &&
               before_[before.end - 1].hash == after_[after.end - 1].hash)
            pairUp(--before.end, --after.end);
        // Between those that stand in the same order in both are the others.
        for (const Match& anchor : matchByKeys(before, after)) {
            matchRest({before.section, before.begin, anchor.before},
                      {after.section, after.begin, anchor.after});
            before.begin = anchor.before + 1;
            after.begin = anchor.after + 1;
        }
        matchRest(before, after);
    }

    // Handles and names. Returns those that did not move.
    std::vector<Match> matchByKeys(Group before, Group after) {
        const std::vector<Index> olds = keyed(before_, before);
        const std::vector<Index> news = keyed(after_, after);
        const auto less = [](const ComparedRecord& a, const ComparedRecord& b) {
            return order(a) < order(b);
        };
        std::vector<Match> matches;
        for (std::size_t i = 0, j = 0; i < olds.size() && j < news.size();) {
            const ComparedRecord& old = before_[olds[i]];
            const ComparedRecord& now = after_[news[j]];
            if (less(old, now)) {
                ++i;
            } else if (less(now, old)) {
                ++j;
            } else {
                pairUp(olds[i], news[j]);
                matches.push_back({olds[i++], news[j++]});
            }
        }
        std::ranges::sort(matches, {}, &Match::after);
        std::vector<Match> rise = longestRise(matches);
        auto staying = rise.begin();
        for (const Match& match : matches) {
            if (staying != rise.end() && staying->after == match.after) ++staying;
            else move(match.after);
        }
        return rise;
    }

    static std::tuple<std::uint64_t, Index, bool> order(const ComparedRecord& record) noexcept {
        return {record.key, record.type, record.hasHandle != 0};
    }

    std::vector<Index> keyed(const Side& side, Group group) {
        std::vector<Index> found;
        for (Index i = group.begin; i < group.end; ++i)
            if (side[i].key != 0) found.push_back(i);
        std::ranges::sort(found, [&](Index a, Index b) {
            return std::pair(order(side[a]), a) < std::pair(order(side[b]), b);
        });
        counts_.work += found.size();
        return found;
    }

    // What neither handle nor name has found.
    void matchRest(Group before, Group after) {
        if (before.begin >= before.end || after.begin >= after.end) return;
        std::vector<Index> olds;
        std::vector<Index> news;
        for (Index i = before.begin; i < before.end; ++i)
            if (fates_[i] == Fate::erased) olds.push_back(i);
        for (Index i = after.begin; i < after.end; ++i)
            if (partners_[i] == none) news.push_back(i);
        // Two handles are two objects; but one of the files may have no handles.
        const auto oldHandle = [&](Index i) { return before_[i].hasHandle != 0; };
        const auto newHandle = [&](Index i) { return after_[i].hasHandle != 0; };
        if (std::ranges::any_of(olds, oldHandle) && std::ranges::any_of(news, newHandle)) {
            std::erase_if(olds, oldHandle);
            std::erase_if(news, newHandle);
        }
        if (olds.empty() || news.empty()) return;
        const std::vector<Index> found =
            partnersOf(rowOf(before_, olds), rowOf(after_, news), counts_.work);
        for (std::size_t i = 0; i < found.size(); ++i)
            if (found[i] != none) pairUp(olds[found[i]], news[i]);
    }

    static Row rowOf(const Side& side, const std::vector<Index>& records) {
        Row row;
        row.whole.reserve(records.size());
        row.kind.reserve(records.size());
        for (const Index i : records) {
            row.whole.push_back(side[i].hash);
            row.kind.push_back(side[i].type);
        }
        return row;
    }

    // --- Telling ---

    void tell(Group before, Group after) {
        Index next = before.begin;
        const auto tellErased = [&] {
            for (; next < before.end && fates_[next] != Fate::stays; ++next)
                if (fates_[next] == Fate::erased) tellWhole(ChangeKind::erased, before_, next);
        };
        for (Index i = after.begin; i < after.end; ++i) {
            tellErased();
            const Index partner = partners_[i];
            if (partner == none) tellWhole(ChangeKind::added, after_, i);
            else tellPartners(partner, i);
            if (partner != none && !moved_[i]) next = partner + 1;
        }
        tellErased();
    }

    [[nodiscard]] RecordChange changeOf(ChangeKind kind, const Side& side, Index place) const {
        const ComparedRecord& record = side[place];
        RecordChange change;
        change.kind = kind;
        change.section = side.textOf(names_[record.section]);
        change.type = side.textOf(names_[record.type]);
        if (record.hasHandle != 0) {
            char digits[16];
            const char* end = std::to_chars(digits, digits + sizeof digits, record.key, 16).ptr;
            change.handle.assign(digits, static_cast<std::size_t>(end - digits));
            for (char& c : change.handle)
                if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
        }
        (kind == ChangeKind::erased ? change.before : change.after) = record.begin;
        return change;
    }

    void tellWhole(ChangeKind kind, const Side& side, Index place) {
        const bool isAdded = kind == ChangeKind::added;
        ++(isAdded ? counts_.added : counts_.erased);
        sink_.begin(changeOf(kind, side, place));
        const ComparedRecord& record = side[place];
        const std::string_view type = names_[record.type];
        bool handleSeen = record.hasHandle == 0;
        Side::Pairs pairs = side.pairsOf(place);
        Pair pair;
        while (pairs.next(pair)) {
            if (pair.begin == record.begin && pair.code != 999) continue;
            if (!handleSeen && pair.code == (type == "DIMSTYLE" ? 105 : 5) &&
                side.handleIn(pair) == record.key) {
                handleSeen = true;
                continue;
            }
            tellPair(side, pair, isAdded);
        }
        sink_.end();
    }

    void tellPair(const Side& side, const Pair& pair, bool isAdded) {
        PairChange change;
        change.code = pair.code;
        (isAdded ? change.after : change.before) = side.readable(pair);
        (isAdded ? change.afterAt : change.beforeAt) = pair.begin;
        sink_.pair(change);
    }

    void tellPartners(Index old, Index now) {
        if (moved_[now]) {
            ++counts_.moved;
            begin(ChangeKind::moved, old, now);
            if (before_.bytesOf(old) != after_.bytesOf(now)) comparePairs(old, now, true);
            sink_.end();
            return;
        }
        // Records whose hashes are equal are looked at too: this is what makes it certain.
        if (!mixed_ && before_.bytesOf(old) == after_.bytesOf(now)) return;
        if (!comparePairs(old, now, false)) return;
        ++counts_.changed;
        sink_.end();
    }

    void begin(ChangeKind kind, Index old, Index now) {
        RecordChange change = changeOf(kind, after_, now);
        change.before = before_[old].begin;
        sink_.begin(change);
    }

    [[nodiscard]] bool same(const Pair& old, const Pair& now) const {
        std::string room;
        std::string otherRoom;
        return old.code == now.code &&
               before_.compared(old, room) == after_.compared(now, otherRoom);
    }

    // The pairs of a record from where two records begin to differ.
    struct Rest {
        std::vector<std::uint64_t> places;
        Row row;
        void add(const Side& side, const Pair& pair) {
            places.push_back(pair.begin);
            row.whole.push_back(side.hashOf(pair));
            row.kind.push_back(static_cast<std::uint64_t>(pair.code));
        }
    };

    // Tells the pairs that differ, of a record that has begun or begins with the first one. False
    // when there is none.
    bool comparePairs(Index old, Index now, bool begun) {
        Side::Pairs olds = before_.pairsOf(old);
        Side::Pairs news = after_.pairsOf(now);
        Pair oldPair;
        Pair newPair;
        bool hasOld = olds.next(oldPair);
        bool hasNew = news.next(newPair);
        while (hasOld && hasNew && same(oldPair, newPair)) {
            hasOld = olds.next(oldPair);
            hasNew = news.next(newPair);
        }
        if (!hasOld && !hasNew) return false;
        Rest before;
        Rest after;
        for (; hasOld; hasOld = olds.next(oldPair)) before.add(before_, oldPair);
        for (; hasNew; hasNew = news.next(newPair)) after.add(after_, newPair);
        if (!begun) begin(ChangeKind::changed, old, now);

        const std::vector<Index> partners = pairPartners(before.row, after.row);
        std::size_t next = 0;
        const auto erasedUpTo = [&](std::size_t end) {
            for (; next < end; ++next)
                tellPair(before_, before_.pairAt(before.places[next]), false);
        };
        for (std::size_t i = 0; i < partners.size(); ++i) {
            // What went is told before what came in its place.
            std::size_t kept = i;
            while (kept < partners.size() && partners[kept] == none) ++kept;
            erasedUpTo(kept < partners.size() ? partners[kept] : before.places.size());
            for (; i < kept; ++i) tellPair(after_, after_.pairAt(after.places[i]), true);
            if (i == partners.size()) break;
            next = partners[i] + std::size_t{1};
            tellChangedPair(before_.pairAt(before.places[partners[i]]),
                            after_.pairAt(after.places[i]));
        }
        erasedUpTo(before.places.size());
        return true;
    }

    // Where the group codes stand in the same order, pairs are compared one to one, unless much less
    // differs when some are taken for new.
    std::vector<Index> pairPartners(const Row& before, const Row& after) {
        std::vector<Index> partners = partnersOf(before, after, counts_.work);
        if (before.kind != after.kind) return partners;
        std::size_t differing = 0;
        std::size_t told = 0;
        for (std::size_t i = 0; i < partners.size(); ++i) {
            if (before.whole[i] != after.whole[i]) ++differing;
            if (partners[i] == none) told += 2;  // one came and one went
            else if (before.whole[partners[i]] != after.whole[i]) ++told;
        }
        if (differing <= told)
            for (std::size_t i = 0; i < partners.size(); ++i) partners[i] = static_cast<Index>(i);
        return partners;
    }

    void tellChangedPair(const Pair& old, const Pair& now) {
        if (same(old, now)) return;
        if (old.code != now.code) {  // only their hashes were equal
            tellPair(before_, old, false);
            tellPair(after_, now, true);
            return;
        }
        PairChange change{now.code, before_.readable(old), after_.readable(now), old.begin,
                          now.begin};
        if (change.before == change.after) {
            change.before = before_.spelled(old);
            change.after = after_.spelled(now);
        }
        sink_.pair(change);
    }

    Names names_;
    bool mixed_;
    Side before_;
    Side after_;
    DifferenceSink& sink_;
    std::vector<Index> partners_;  // of the newer file's records
    std::vector<Fate> fates_;      // of the older file's records
    std::vector<bool> moved_;      // by the newer file's records
    DifferenceCounts counts_;
};

class Collector final : public DifferenceSink {
  public:
    void begin(const RecordChange& record) override { found.push_back({record, {}}); }
    void pair(const PairChange& pair) override { found.back().pairs.push_back(pair); }
    void end() override {}
    std::vector<Difference> found;
};

}  // namespace

DifferenceCounts compare(const ComparedFile& before, const ComparedFile& after,
                         DifferenceSink& sink) {
    if (before.bytes == after.bytes) {
        DifferenceCounts counts;
        counts.sameBytes = true;
        return counts;
    }
    return Comparison(before, after, sink).run();
}

std::vector<Difference> differences(std::string_view before, std::string_view after) {
    const Structure old = structureOf(before, OnDamage::stop);
    const Structure now = structureOf(after, OnDamage::stop);
    Collector collector;
    compare({before, old}, {after, now}, collector);
    return std::move(collector.found);
}

namespace {
constexpr std::size_t stretch = 4096;
}

LineNumbers::LineNumbers(std::string_view bytes) : bytes_(bytes) {
    before_.reserve(bytes.size() / stretch + 1);
    std::uint64_t lines = 0;
    for (std::size_t at = 0; at <= bytes.size(); at += stretch) {
        before_.push_back(lines);
        lines += static_cast<std::uint64_t>(std::ranges::count(bytes.substr(at, stretch), '\n'));
    }
}

std::uint64_t LineNumbers::of(std::uint64_t offset) const noexcept {
    const std::uint64_t at = std::min<std::uint64_t>(offset, bytes_.size());
    const std::size_t begin = at / stretch * stretch;
    const auto rest = std::ranges::count(bytes_.substr(begin, at - begin), '\n');
    return 1 + before_[at / stretch] + static_cast<std::uint64_t>(rest);
}

}  // namespace vlisp::refhost::dxf
