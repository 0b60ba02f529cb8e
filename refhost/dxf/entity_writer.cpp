// Changing records and writing new ones. See entity_writer.h.
#include "refhost/dxf/entity_writer.h"

#include "platform/text.h"
#include "refhost/model/objects.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>

namespace vlisp::refhost::dxf {
namespace {

using std::numbers::pi;

// The table's fields are read through an object that may be changed; nothing is written here.
double numberIn(const VmDbObject& object, const EntityField& field) {
    return *hostNumber(const_cast<VmDbObject*>(&object), field.number);
}

std::u16string_view textOf(const VmDbObject& object, const EntityField& field) {
    const HostText text = hostText(const_cast<VmDbObject*>(&object), field.string);
    return {text.units, text.length};
}

// The same number, or both none.
bool same(double a, double b) noexcept { return a == b || (std::isnan(a) && std::isnan(b)); }

std::string nameOf(const VmDbObject& object) {
    const EntityKind* kind = findEntityKind(object.typeCode);
    const std::string type = kind != nullptr ? platform::toUtf8(kind->typeText) : "object";
    return "the " + type + " with the id " + std::to_string(object.id);
}

void checkColour(const VmDbObject& object) {
    if (object.colour < 0 || object.colour > colourByLayer)
        throw NotRepresentable(nameOf(object) + " has the colour " + std::to_string(object.colour) +
                               "; there are 0 to 256");
}

void checkLineweight(const VmDbObject& object) {
    if (object.lineweight < -3 || object.lineweight > 211)
        throw NotRepresentable(nameOf(object) + " has the lineweight " +
                               std::to_string(object.lineweight) + "; there are -3 to 211");
}

// In which order the pairs of a kind stand, for pairs that come in.
std::span<const int> orderOf(std::int32_t typeCode) noexcept {
    static constexpr int line[] = {10, 20, 30, 11, 21, 31};
    static constexpr int circle[] = {10, 20, 30, 40};
    static constexpr int arc[] = {10, 20, 30, 40, 100, 50, 51};
    static constexpr int text[] = {10, 20, 30, 40, 1, 50, 41, 51};
    static constexpr int mtext[] = {10, 20,  30,  40,  41, 46, 71, 72, 3,  1,
                                    7,  210, 220, 230, 11, 21, 31, 42, 43, 50};
    static constexpr int insert[] = {66, 2, 10, 20, 30, 41, 42, 43, 50};
    static constexpr int light[] = {90, 70, 43, 38, 39};
    static constexpr int polyline[] = {66, 10, 20, 30, 39, 70};
    switch (typeCode) {
    case vmDbLine: return line;
    case vmDbCircle: return circle;
    case vmDbArc: return arc;
    case vmDbText: return text;
    case vmDbMText: return mtext;
    case vmDbInsert: return insert;
    case vmDbLwPolyline: return light;
    default: return polyline;
    }
}

constexpr int commonOrder[] = {5, 330, 67, 410, 8, 6, 347, 62, 370};

// --- Texts of several lines ---

constexpr std::size_t mostBytesOfText = 250;

// Cuts an encoded text so that each part but the last takes as much as a pair may hold, and no
// character or escape is cut: readers may decode the parts one by one.
std::vector<std::string> chunksOf(const TextCodec& codec, std::u16string_view text,
                                  std::string_view before) {
    const std::string whole = codec.encode(text, before);
    std::string_view rest = whole;
    std::vector<std::string> chunks;
    while (rest.size() > mostBytesOfText) {
        constexpr std::size_t longestEscape = 8;
        const auto cutsNothing = [&](std::size_t cut) {
            const std::string_view ahead = rest.substr(cut, 2 * longestEscape);
            return codec.decode(rest.substr(0, cut)) + codec.decode(ahead) ==
                   codec.decode(rest.substr(0, cut + ahead.size()));
        };
        std::size_t cut = mostBytesOfText;
        while (cut > mostBytesOfText - longestEscape && !cutsNothing(cut)) --cut;
        chunks.emplace_back(rest.substr(0, cut));
        rest.remove_prefix(cut);
    }
    chunks.emplace_back(rest);
    return chunks;
}

// --- Changing ---

class EntityEditor {
  public:
    EntityEditor(const Target& target, Span span, const VmDbObject& before, const VmDbObject& after)
        : target_(target), source_(target.source), before_(before), after_(after),
          records_(recordsOf(source_, span)), record_(records_.front()),
          style_(Style::of(source_.bytes, source_.form, record_.span, target.style)) {}

    std::vector<Change> run() {
        editCommon();
        const EntityKind* kind = findEntityKind(after_.typeCode);
        if (kind != nullptr && dynamic_cast<const CarriedObject*>(&after_) == nullptr) edit(*kind);
        std::ranges::stable_sort(changes_, {}, [](const Change& change) {
            return std::pair(change.replaced.begin, change.replaced.end);
        });
        return std::move(changes_);
    }

  private:
    // --- Pairs ---

    [[nodiscard]] Value value(const Pair& pair) const noexcept { return source_.value(pair); }

    void replaceValue(const Pair& pair, std::string bytes) {
        changes_.push_back({{pair.valueBegin, pair.valueEnd}, std::move(bytes)});
    }

    void insert(std::uint64_t at, std::string bytes) {
        changes_.push_back({{at, at}, std::move(bytes)});
    }

    void remove(const Pair& pair) { changes_.push_back({{pair.begin, pair.end}, {}}); }

    // Behind which pair one with this code belongs.
    [[nodiscard]] static std::uint64_t placeFor(const Record& record, int code,
                                                std::span<const int> order) {
        std::size_t last = Record::npos;
        const auto take = [&](int earlier) {
            const std::size_t found = record.findLast(earlier);
            if (found != Record::npos && (last == Record::npos || found > last)) last = found;
        };
        for (const int earlier : order) {
            if (earlier == code) break;
            take(earlier);
        }
        if (last == Record::npos)
            for (const int earlier : {100, 370, 62, 6, 8, 5}) {
                take(earlier);
                if (last != Record::npos) break;
            }
        return record.pairs[last == Record::npos ? 0 : last].end;
    }

    void setReal(const Record& record, int code, double old, double number,
                 std::span<const int> order) {
        if (!same(old, number)) putReal(record, code, number, order);
    }

    void putReal(const Record& record, int code, double number, std::span<const int> order) {
        if (!std::isfinite(number))
            throw NotRepresentable(nameOf(after_) + " has a number that no file can hold");
        if (const std::size_t at = record.findLast(code); at != Record::npos) {
            const Pair& pair = record.pairs[at];
            return replaceValue(pair, realLike(value(pair), source_.form, code, number));
        }
        std::string bytes;
        appendReal(bytes, style_, code, number);
        insert(placeFor(record, code, order), std::move(bytes));
    }

    void setInteger(const Record& record, int code, std::int32_t old, std::int32_t number,
                    std::span<const int> order) {
        if (old == number) return;
        // Of several the last counts, but for what every entity has.
        const bool isCommon = code == 62 || code == 370;
        const std::size_t at = isCommon ? record.find(code) : record.findLast(code);
        if (at != Record::npos) {
            const Pair& pair = record.pairs[at];
            return replaceValue(pair, integerLike(value(pair), source_.form, code, number));
        }
        std::string bytes;
        appendInteger(bytes, style_, code, number);
        insert(placeFor(record, code, order), std::move(bytes));
    }

    void setText(const Record& record, int code, std::u16string_view old, std::u16string_view text,
                 std::span<const int> order) {
        if (old == text) return;
        // Of several layers the first is the entity's own; of several texts the last one counts.
        const std::size_t at = code == 8 ? record.find(code) : record.findLast(code);
        if (at != Record::npos) {
            const Pair& pair = record.pairs[at];
            return replaceValue(pair, source_.codec.encode(text, value(pair).raw()));
        }
        std::string bytes;
        appendText(bytes, style_, code, source_.codec.encode(text));
        insert(placeFor(record, code, order), std::move(bytes));
    }

    // Coordinates with the codes x, x + 10 and x + 20. A z that is 0 need not be there.
    void setPoint(const Record& record, int x, const mmPoint& old, const mmPoint& point,
                  std::span<const int> order) {
        setReal(record, x, old.x, point.x, order);
        setReal(record, x + 10, old.y, point.y, order);
        setReal(record, x + 20, old.z, point.z, order);
    }

    // --- What every entity has ---

    void editCommon() {
        if (before_.colour != after_.colour) checkColour(after_);
        if (before_.lineweight != after_.lineweight) checkLineweight(after_);
        setText(record_, 8, viewOf(before_.layerName), viewOf(after_.layerName), commonOrder);
        setInteger(record_, 62, before_.colour, after_.colour, commonOrder);
        // A true colour would go on hiding the new one.
        if (before_.colour != after_.colour)
            for (const int code : {420, 430})
                if (const std::size_t at = record_.find(code); at != Record::npos)
                    remove(record_.pairs[at]);
        if (before_.lineweight != after_.lineweight && !target_.version.hasLineweights())
            throw NotRepresentable(nameOf(after_) + " has a lineweight, which files of version " +
                                   target_.version.name() + " cannot hold");
        setInteger(record_, 370, before_.lineweight, after_.lineweight, commonOrder);
    }

    // --- By kind ---

    void edit(const EntityKind& kind) {
        const std::span<const int> order = orderOf(kind.typeCode);
        if (kind.typeCode == vmDbLwPolyline)
            return editLightPolyline(static_cast<const VmDb2DPolyline&>(before_),
                                     static_cast<const VmDb2DPolyline&>(after_));
        if (kind.typeCode == vmDbPolyline)
            return editPolyline(static_cast<const VmDb2DPolyline&>(before_),
                                static_cast<const VmDb2DPolyline&>(after_));
        editPoints(kind, order);
        for (const EntityField& field : kind.fields) {
            if (field.number != HostNumber::none) {
                const double old = numberIn(before_, field);
                double number = numberIn(after_, field);
                if (same(old, number)) continue;
                // An angle that was told in radians and given back may differ in its last digits.
                constexpr double noise = 8 * std::numeric_limits<double>::epsilon();
                if (field.kind == FieldKind::degrees &&
                    std::fabs(number - old) <= noise * std::fabs(old))
                    continue;
                if (field.fileUnit == FileUnit::degrees) number = number * 180 / pi;
                if (kind.typeCode == vmDbMText && field.code == 50) {
                    turnText(number, order);
                } else {
                    putReal(record_, field.code, number, order);
                }
            } else if (field.kind == FieldKind::text && kind.typeCode == vmDbMText) {
                editLongText(textOf(before_, field), textOf(after_, field), order);
            } else if (field.string != HostString::none) {
                setText(record_, field.code, textOf(before_, field), textOf(after_, field), order);
            }
        }
    }

    void editPoints(const EntityKind& kind, std::span<const int> order) {
        const bool isLine = kind.typeCode == vmDbLine;
        int needed = isLine ? 2 : 1;
        const int count = after_.points.count;
        if (count < needed || (isLine && count > needed)) {
            if (before_.points.count != count)
                throw NotRepresentable(nameOf(after_) + " has " + std::to_string(count) +
                                       (count == 1 ? " point; " : " points; ") +
                                       std::to_string(needed) + (needed == 1 ? " is" : " are") +
                                       " needed");
            needed = count;  // what the file lacks too is not missed
        }
        // Where the file has no first point of a line, the second is the object's first.
        const bool lacksFirst =
            isLine && before_.points.count == 1 && record_.find(10) == Record::npos;
        const int known = lacksFirst && needed == 2 ? 0 : before_.points.count;
        const int first = lacksFirst && needed == 1 ? 11 : 10;
        for (int i = 0; i < needed; ++i) {
            const mmPoint& point = after_.points.points[i];
            if (i >= known) {
                putReal(record_, first + i, point.x, order);
                putReal(record_, first + i + 10, point.y, order);
                putReal(record_, first + i + 20, point.z, order);
                continue;
            }
            const mmPoint& old = before_.points.points[i];
            setPoint(record_, first + i, old, point, order);
            if (i == 0) moveCompanions(kind, {point.x - old.x, point.y - old.y, point.z - old.z});
        }
    }

    // What stands beside the insertion point goes along with it: the point that an aligned text is
    // aligned to, and the attributes of a placed block. Commands have moved, turned and scaled them
    // already; programs that change the insertion point know nothing of them.
    void moveCompanions(const EntityKind& kind, const mmPoint& by) {
        const Appearance& was = filePartOf(before_)->appearance;
        const Appearance& is = filePartOf(after_)->appearance;
        if (kind.typeCode == vmDbText) {
            if (!(was.alignment == is.alignment)) {
                setReal(record_, 11, was.alignment.x, is.alignment.x, {});
                setReal(record_, 21, was.alignment.y, is.alignment.y, {});
            } else if (was.horizontal != 0 || was.vertical != 0) {
                movePoint(record_, 11, by);
            }
        }
        if (kind.typeCode != vmDbInsert) return;
        setReal(record_, 44, was.columnSpacing, is.columnSpacing, {});
        setReal(record_, 45, was.rowSpacing, is.rowSpacing, {});
        std::size_t shown = 0;
        for (const Record& record : records_) {
            if (record.type != "ATTRIB") continue;
            if (isShown(source_, record) && was.attributes != nullptr && is.attributes != nullptr &&
                shown < was.attributes->size() && shown < is.attributes->size()) {
                editAttribute(record, static_cast<const VmDbText&>(*(*was.attributes)[shown]),
                              static_cast<const VmDbText&>(*(*is.attributes)[shown]), by);
                ++shown;
            } else {
                movePoint(record, 10, by);
                movePoint(record, 11, by);
            }
        }
    }

    void editAttribute(const Record& record, const VmDbText& was, const VmDbText& is,
                       const mmPoint& by) {
        const mmPoint* const from = was.points.points;
        const mmPoint* const to = is.points.points;
        const bool moved = was.points.count > 0 && is.points.count > 0 &&
                           (from->x != to->x || from->y != to->y || from->z != to->z);
        if (!moved) {
            movePoint(record, 10, by);
            movePoint(record, 11, by);
        } else {
            static constexpr int order[] = {10, 20, 30, 40, 1, 50};
            setPoint(record, 10, *from, *to, order);
            const Appearance& before = filePartOf(was)->appearance;
            const Appearance& after = filePartOf(is)->appearance;
            if (record.find(11) != Record::npos) {
                setReal(record, 11, before.alignment.x, after.alignment.x, order);
                setReal(record, 21, before.alignment.y, after.alignment.y, order);
            }
            setReal(record, 40, was.height, is.height, order);
            setReal(record, 50, was.rotation, is.rotation, order);
        }
    }

    void movePoint(const Record& record, int x, const mmPoint& way) {
        const auto move = [&](int code, double by) {
            const std::size_t at = record.findLast(code);
            if (by == 0 || at == Record::npos) return;
            const Pair& pair = record.pairs[at];
            const double number = value(pair).real().value_or(0) + by;
            if (std::isfinite(number))
                replaceValue(pair, realLike(value(pair), source_.form, code, number));
        };
        move(x, way.x);
        move(x + 10, way.y);
        move(x + 20, way.z);
    }

    // A text of several lines has a rotation, a direction or both.
    void turnText(double degrees, std::span<const int> order) {
        if (!std::isfinite(degrees)) return putReal(record_, 50, degrees, order);
        std::size_t rotation = record_.find(50);
        const std::size_t columns = record_.find(75);
        if (columns != Record::npos && rotation != Record::npos && rotation > columns)
            rotation = Record::npos;  // the height of a column
        const std::size_t x = record_.findLast(11);
        const std::size_t y = record_.findLast(21);
        const bool directed = x != Record::npos && y != Record::npos;
        if (directed) {
            const auto put = [&](std::size_t at, double number) {
                const Pair& pair = record_.pairs[at];
                replaceValue(pair, realLike(value(pair), source_.form, pair.code, number));
            };
            put(x, std::cos(degrees * pi / 180));
            put(y, std::sin(degrees * pi / 180));
        }
        if (rotation != Record::npos) {
            const Pair& pair = record_.pairs[rotation];
            replaceValue(pair, realLike(value(pair), source_.form, 50, degrees));
        } else if (!directed) {
            std::string bytes;
            appendReal(bytes, style_, 50, degrees);
            insert(placeFor(record_, 50, order), std::move(bytes));
        }
    }

    void editLongText(std::u16string_view old, std::u16string_view text,
                      std::span<const int> order) {
        if (old == text) return;
        std::vector<const Pair*> pairs;
        std::string raw;
        for (std::size_t i = 1; i < record_.own; ++i) {
            const Pair& pair = record_.pairs[i];
            if (record_.grouped[i] || (pair.code != 1 && pair.code != 3)) continue;
            pairs.push_back(&pair);
            raw += value(pair).raw();
        }
        const std::vector<std::string> chunks = chunksOf(source_.codec, text, raw);
        // Parts that are as they were stay.
        if (pairs.size() == chunks.size() && (pairs.empty() || pairs.back()->code == 1)) {
            for (std::size_t i = 0; i < chunks.size(); ++i)
                if (value(*pairs[i]).raw() != chunks[i]) replaceValue(*pairs[i], chunks[i]);
            return;
        }
        std::string bytes;
        for (const std::string& chunk : chunks)
            appendText(bytes, style_, &chunk == &chunks.back() ? 1 : 3, chunk);
        insert(pairs.empty() ? placeFor(record_, 1, order) : pairs.front()->begin,
               std::move(bytes));
        for (const Pair* pair : pairs) remove(*pair);
    }

    // --- Polylines ---

    static double bulgeOf(const VmDb2DPolyline& polyline, std::int32_t vertex) noexcept {
        return vertex < polyline.bulges.count ? polyline.bulges.values[vertex] : 0;
    }

    void setClosed(const VmDb2DPolyline& before, const VmDb2DPolyline& after) {
        if ((before.closed != 0) == (after.closed != 0)) return;
        const std::size_t at = record_.findLast(70);
        const std::int32_t flags =
            at == Record::npos ? 0 : value(record_.pairs[at]).integer().value_or(0);
        setInteger(record_, 70, flags, (flags & ~1) | (after.closed != 0 ? 1 : 0),
                   orderOf(after.typeCode));
    }

    // A vertex of a light polyline: the pairs from its 10 to the next vertex or what is no vertex's.
    struct Vertex {
        const Pair* x = nullptr;
        const Pair* y = nullptr;
        const Pair* bulge = nullptr;
        std::vector<const Pair*> all;
    };

    [[nodiscard]] std::vector<Vertex> verticesOfRecord() const {
        std::vector<Vertex> vertices;
        for (std::size_t i = 1; i < record_.own; ++i) {
            const Pair& pair = record_.pairs[i];
            if (record_.grouped[i]) continue;
            if (pair.code == 10) vertices.emplace_back();
            if (vertices.empty()) continue;
            Vertex& vertex = vertices.back();
            switch (pair.code) {
            case 10: vertex.x = &pair; break;
            case 20: vertex.y = &pair; break;
            case 42: vertex.bulge = &pair; break;
            case 40:
            case 41:
            case 91: break;
            default: continue;
            }
            vertex.all.push_back(&pair);
        }
        return vertices;
    }

    void editLightPolyline(const VmDb2DPolyline& before, const VmDb2DPolyline& after) {
        setClosed(before, after);
        setReal(record_, 43, filePartOf(before)->appearance.width,
                filePartOf(after)->appearance.width, orderOf(vmDbLwPolyline));
        const std::size_t at = record_.find(90);
        if (at != Record::npos)
            setInteger(record_, 90, value(record_.pairs[at]).integer().value_or(0),
                       after.points.count, {});
        const std::vector<Vertex> vertices = verticesOfRecord();
        const auto kept =
            std::min<std::int32_t>(static_cast<std::int32_t>(vertices.size()), after.points.count);
        for (std::int32_t i = 0; i < kept; ++i)
            editVertex(vertices[static_cast<std::size_t>(i)], before.points.points[i],
                       after.points.points[i], bulgeOf(before, i), bulgeOf(after, i));
        for (auto i = static_cast<std::size_t>(kept); i < vertices.size(); ++i)
            for (const Pair* pair : vertices[i].all) remove(*pair);
        std::string bytes;
        for (std::int32_t i = kept; i < after.points.count; ++i)
            appendVertex(bytes, style_, after, i);
        if (bytes.empty()) return;
        insert(vertices.empty() ? record_.pairs[record_.own - 1].end
                                : vertices.back().all.back()->end,
               std::move(bytes));
    }

    void editVertex(const Vertex& vertex, const mmPoint& old, const mmPoint& point, double oldBulge,
                    double bulge) {
        const auto put = [&](const Pair* pair, int code, double was, double number) {
            if (same(was, number)) return;
            if (!std::isfinite(number))
                throw NotRepresentable(nameOf(after_) + " has a number that no file can hold");
            if (pair != nullptr)
                return replaceValue(*pair, realLike(value(*pair), source_.form, code, number));
            std::string bytes;
            appendReal(bytes, style_, code, number);
            const Pair& last = code == 20 ? *vertex.x : *vertex.all.back();
            insert(last.end, std::move(bytes));
        };
        put(vertex.x, 10, old.x, point.x);
        put(vertex.y, 20, old.y, point.y);
        put(vertex.bulge, 42, oldBulge, bulge);
    }

    void appendVertex(std::string& out, const Style& style, const VmDb2DPolyline& polyline,
                      std::int32_t i) const {
        const mmPoint& point = polyline.points.points[i];
        const double bulge = bulgeOf(polyline, i);
        if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(bulge))
            throw NotRepresentable(nameOf(after_) + " has a number that no file can hold");
        appendReal(out, style, 10, point.x);
        appendReal(out, style, 20, point.y);
        if (bulge != 0) appendReal(out, style, 42, bulge);
    }

    void editPolyline(const VmDb2DPolyline& before, const VmDb2DPolyline& after) {
        setClosed(before, after);
        static constexpr int vertexOrder[] = {10, 20, 30, 40, 41, 42};
        std::int32_t vertex = 0;
        const Record* last = nullptr;
        for (const Record& record : records_) {
            if (record.type != "VERTEX" || isFace(source_, record)) continue;
            if (vertex >= after.points.count) {
                changes_.push_back({record.span, {}});
            } else {
                setPoint(record, 10, before.points.points[vertex], after.points.points[vertex],
                         vertexOrder);
                setReal(record, 42, bulgeOf(before, vertex), bulgeOf(after, vertex), vertexOrder);
                last = &record;
            }
            ++vertex;
        }
        if (vertex >= after.points.count) return;
        const auto end = std::ranges::find(records_, "SEQEND", &Record::type);
        const std::uint64_t place = last != nullptr         ? last->span.end
                                    : end != records_.end() ? end->span.begin
                                                            : record_.span.end;
        std::string bytes;
        for (; vertex < after.points.count; ++vertex)
            appendVertexRecord(bytes, last, after, vertex);
        insert(place, std::move(bytes));
    }

    // A new vertex is like the one before it.
    void appendVertexRecord(std::string& out, const Record* like, const VmDb2DPolyline& polyline,
                            std::int32_t i);

    const Target& target_;
    const Source& source_;
    const VmDbObject& before_;
    const VmDbObject& after_;
    std::vector<Record> records_;
    const Record& record_;
    Style style_;
    std::vector<Change> changes_;
};

// --- New records ---

class EntityBuilder {
  public:
    EntityBuilder(std::string& out, const Target& target, const VmDbObject& object,
                  const NewEntity& how)
        : out_(out), target_(target), object_(object), how_(how) {}

    void build() {
        const EntityKind* kind = findEntityKind(object_.typeCode);
        if (kind == nullptr) cannot("is of a kind that cannot be written");
        checkColour(object_);
        checkLineweight(object_);
        const Version& version = target_.version;
        if (kind->typeCode == vmDbMText && !version.hasMTexts())
            cannot("cannot be written: files of version " + version.name() +
                   " have no texts of several lines");
        if (object_.lineweight != lineweightNotSet && !version.hasLineweights())
            cannot("has a lineweight, which files of version " + version.name() + " cannot hold");
        if (kind->typeCode == vmDbLwPolyline && !version.hasLightPolylines())
            kind = findEntityKind(vmDbPolyline);  // which holds the same
        handle_ = how_.handle != 0 ? how_.handle : newHandle();
        begin(platform::toUtf8(kind->typeText).c_str(), handle_, how_.owner);
        const char* marker = kind->marker;
        if (kind->typeCode == vmDbArc) marker = "AcDbCircle";
        mark(marker);
        fields(*kind);
        if (kind->typeCode == vmDbText) mark(kind->marker);  // behind it, how the text is aligned
        attach();
        if (kind->typeCode == vmDbPolyline) vertexRecords();
    }

    void vertexRecord(std::uint64_t owner, const VmDb2DPolyline& polyline, std::int32_t i) {
        begin("VERTEX", newHandle(), owner);
        mark("AcDbVertex");
        mark("AcDb2dVertex");
        point(10, polyline.points.points[i]);
        const double bulge = i < polyline.bulges.count ? polyline.bulges.values[i] : 0;
        if (bulge != 0) real(42, bulge);
    }

  private:
    [[noreturn]] void cannot(const std::string& why) const {
        throw NotRepresentable(nameOf(object_) + " " + why);
    }

    [[nodiscard]] std::uint64_t newHandle() const {
        return target_.hasHandles ? target_.newHandle() : 0;
    }

    void text(int code, std::string_view bytes) { appendText(out_, target_.style, code, bytes); }
    void integer(int code, std::int32_t number) {
        appendInteger(out_, target_.style, code, number);
    }
    void real(int code, double number) {
        if (!std::isfinite(number)) cannot("has a number that no file can hold");
        appendReal(out_, target_.style, code, number);
    }
    void point(int x, const mmPoint& place) {
        real(x, place.x);
        real(x + 10, place.y);
        real(x + 20, place.z);
    }
    void mark(const char* marker) {
        if (target_.version.hasMarkers()) text(100, marker);
    }

    void begin(const char* type, std::uint64_t handle, std::uint64_t owner) {
        text(0, type);
        if (target_.hasHandles) text(5, handleText(handle));
        if (target_.version.hasOwners() && owner != 0) text(330, handleText(owner));
        mark("AcDbEntity");
        text(8, target_.source.codec.encode(viewOf(object_.layerName)));
        if (!how_.lineType.empty()) text(6, target_.source.codec.encode(how_.lineType));
        if (object_.colour != colourByLayer) integer(62, object_.colour);
        if (object_.lineweight != lineweightNotSet) integer(370, object_.lineweight);
    }

    [[nodiscard]] const mmPoint& pointAt(std::int32_t i) const {
        if (i >= object_.points.count)
            cannot("has " + std::to_string(object_.points.count) +
                   " points, which is not enough to be written");
        return object_.points.points[i];
    }

    void fields(const EntityKind& kind) {
        bool pointDone = false;
        const auto origin = [&] {
            if (std::exchange(pointDone, true)) return;
            point(10, pointAt(0));
        };
        for (const EntityField& field : kind.fields) {
            switch (field.kind) {
            case FieldKind::name:
            case FieldKind::type:
            case FieldKind::space:
            case FieldKind::layer:
            case FieldKind::colour:
            case FieldKind::lineweight:
            case FieldKind::bulge: break;
            case FieldKind::origin: origin(); break;
            case FieldKind::points:
                if (kind.typeCode == vmDbPolyline) break;
                if (object_.points.count > 2) cannot("has more points than a file can hold");
                point(10, pointAt(0));
                point(11, pointAt(1));
                break;
            case FieldKind::pointCount:
                if (kind.typeCode == vmDbLwPolyline) integer(90, object_.points.count);
                break;
            case FieldKind::closed: closed(kind); break;
            case FieldKind::vertices: vertices(); break;
            case FieldKind::real:
            case FieldKind::degrees: number(kind, field, numberIn(object_, field)); break;
            case FieldKind::text: contents(kind, textOf(object_, field)); break;
            case FieldKind::blockName:
                text(field.code, target_.source.codec.encode(textOf(object_, field)));
                break;
            }
        }
    }

    void number(const EntityKind& kind, const EntityField& field, double value) {
        if (kind.typeCode == vmDbArc && field.code == 50) mark(kind.marker);
        if (field.fileUnit == FileUnit::degrees) value = value * 180 / pi;
        if (field.kind == FieldKind::degrees && value == 0) return;  // as it is without
        real(field.code, value);
        if (kind.typeCode == vmDbInsert && field.code == 42 && value != 1) real(43, 1);
    }

    void closed(const EntityKind& kind) {
        const auto& polyline = static_cast<const VmDb2DPolyline&>(object_);
        if (kind.typeCode == vmDbPolyline) {
            integer(66, 1);
            point(10, {0, 0, 0});
        }
        integer(70, polyline.closed != 0 ? 1 : 0);
    }

    void vertices() {
        const auto& polyline = static_cast<const VmDb2DPolyline&>(object_);
        for (std::int32_t i = 0; i < polyline.points.count; ++i) {
            real(10, polyline.points.points[i].x);
            real(20, polyline.points.points[i].y);
            const double bulge = i < polyline.bulges.count ? polyline.bulges.values[i] : 0;
            if (bulge != 0) real(42, bulge);
        }
    }

    void vertexRecords() {
        const auto& polyline = static_cast<const VmDb2DPolyline&>(object_);
        for (std::int32_t i = 0; i < polyline.points.count; ++i) vertexRecord(handle_, polyline, i);
        begin("SEQEND", newHandle(), handle_);
    }

    void contents(const EntityKind& kind, std::u16string_view string) {
        if (kind.typeCode == vmDbText) {
            text(1, target_.source.codec.encode(string));
            return;
        }
        integer(71, 1);  // attached at the top left
        const auto chunks = chunksOf(target_.source.codec, string, {});
        for (const std::string& chunk : chunks) text(&chunk == &chunks.back() ? 1 : 3, chunk);
    }

    void attach();

    std::string& out_;
    const Target& target_;
    const VmDbObject& object_;
    const NewEntity& how_;
    std::uint64_t handle_ = 0;
};

void EntityEditor::appendVertexRecord(std::string& out, const Record* like,
                                      const VmDb2DPolyline& polyline, std::int32_t i) {
    if (like == nullptr) {
        const std::size_t handle = record_.find(5);
        const std::uint64_t owner =
            handle == Record::npos ? 0 : value(record_.pairs[handle]).handle().value_or(0);
        NewEntity how;
        EntityBuilder(out, target_, after_, how).vertexRecord(owner, polyline, i);
        return;
    }
    std::vector<Change> changes;
    std::swap(changes, changes_);
    static constexpr int vertexOrder[] = {10, 20, 30, 40, 41, 42};
    const mmPoint& point = polyline.points.points[i];
    putReal(*like, 10, point.x, vertexOrder);
    putReal(*like, 20, point.y, vertexOrder);
    const auto oldOf = [&](int code) {
        const std::size_t at = like->findLast(code);
        return at == Record::npos ? 0 : value(like->pairs[at]).real().value_or(0);
    };
    setReal(*like, 30, oldOf(30), point.z, vertexOrder);
    setReal(*like, 42, oldOf(42), bulgeOf(polyline, i), vertexOrder);
    std::swap(changes, changes_);
    out += copyOf(target_, like->span, std::move(changes), 0, 0);
}

// The pairs of a value attached under a name.
std::string pairsOf(const Target& target, const Style& style, const ExtendedDatum& datum) {
    std::string out;
    appendText(out, style, 1001, target.source.codec.encode(datum.name));
    if (const auto* number = std::get_if<std::int32_t>(&datum.value))
        appendInteger(out, style, 1071, *number);
    else if (const auto* real = std::get_if<double>(&datum.value)) {
        if (!std::isfinite(*real))
            throw NotRepresentable("the value of '" + platform::toUtf8(datum.name) +
                                   "' is a number that no file can hold");
        appendReal(out, style, 1040, *real);
    } else
        appendText(out, style, 1000,
                   target.source.codec.encode(std::get<std::u16string>(datum.value)));
    return out;
}

void EntityBuilder::attach() {
    for (const ExtendedDatum& datum : how_.attached) out_ += pairsOf(target_, target_.style, datum);
}

}  // namespace

std::string handleText(std::uint64_t handle) {
    char digits[16];
    const char* end = std::to_chars(digits, digits + sizeof digits, handle, 16).ptr;
    std::string text(digits, static_cast<std::size_t>(end - digits));
    for (char& c : text)
        if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

std::vector<Change> changesOf(const Target& target, Span span, const VmDbObject& before,
                              const VmDbObject& after) {
    return EntityEditor(target, span, before, after).run();
}

std::vector<Change> changesOf(const Target& target, Span span,
                              std::span<const ExtendedDatum> attached) {
    const std::vector<Record> records = recordsOf(target.source, span);
    const Record& record = records.front();
    const Style style =
        Style::of(target.source.bytes, target.source.form, record.span, target.style);
    std::vector<Change> changes;
    std::string added;
    for (const ExtendedDatum& datum : attached) {
        const std::string pairs = pairsOf(target, style, datum);
        // In place of what stands there under the name.
        Span old;
        for (std::size_t i = record.own; i < record.pairs.size(); ++i) {
            const Pair& pair = record.pairs[i];
            if (pair.code == 1001) {
                if (old.end != 0) break;
                if (sameName(target.source.text(pair), datum.name)) old = {pair.begin, pair.end};
            } else if (old.end != 0) {
                old.end = pair.end;
            }
        }
        if (old.end == 0) added += pairs;
        else if (target.source.bytes.substr(old.begin, old.end - old.begin) != pairs)
            changes.push_back({old, pairs});
    }
    if (!added.empty()) changes.push_back({{record.span.end, record.span.end}, std::move(added)});
    std::ranges::stable_sort(changes, {},
                             [](const Change& change) { return change.replaced.begin; });
    return changes;
}

std::string copyOf(const Target& target, Span span, std::vector<Change> extra, std::uint64_t handle,
                   std::uint64_t owner) {
    const Source& source = target.source;
    const std::vector<Record> records = recordsOf(source, span);
    // Whole records that the copy does not have as they are, in order: vertices, for one.
    std::vector<Span> replaced;
    for (const Change& change : extra)
        if (change.replaced.begin != change.replaced.end) replaced.push_back(change.replaced);
    std::ranges::sort(replaced, {}, &Span::begin);
    const auto isGone = [&replaced](const Record& record) {
        const auto behind = std::ranges::upper_bound(replaced, record.span.begin, {}, &Span::begin);
        return behind != replaced.begin() && std::prev(behind)->end >= record.span.end;
    };
    std::uint64_t first = 0;
    for (const Record& record : records) {
        if (isGone(record)) continue;
        const bool isFirst = &record == &records.front();
        const std::uint64_t own = isFirst && handle != 0 ? handle
                                  : target.hasHandles    ? target.newHandle()
                                                         : 0;
        if (isFirst) first = own;
        const std::uint64_t above = isFirst ? owner : first;
        // An owner stands in front of the first marker; behind it 330 means other things.
        bool owned = !target.version.hasOwners();
        bool named = own == 0;
        for (std::size_t i = 1; i < record.own; ++i) {
            const Pair& pair = record.pairs[i];
            if (record.grouped[i]) {
                extra.push_back({{pair.begin, pair.end}, {}});
            } else if (pair.code == 100) {
                owned = true;
            } else if (pair.code == 5 && !std::exchange(named, true)) {
                extra.push_back({{pair.valueBegin, pair.valueEnd}, handleText(own)});
            } else if (pair.code == 330 && above != 0 && !std::exchange(owned, true)) {
                extra.push_back({{pair.valueBegin, pair.valueEnd}, handleText(above)});
            }
        }
        if (named) continue;
        std::string bytes;
        const Style style = Style::of(source.bytes, source.form, record.span, target.style);
        appendText(bytes, style, 5, handleText(own));
        const std::uint64_t place = record.pairs.front().end;
        extra.insert(extra.begin(), {{place, place}, std::move(bytes)});
    }
    // Changes are counted from the beginning of the piece that is copied.
    for (Change& change : extra) {
        change.replaced.begin -= span.begin;
        change.replaced.end -= span.begin;
    }
    std::ranges::stable_sort(extra, {}, [](const Change& change) {
        return std::pair(change.replaced.begin, change.replaced.end);
    });
    return ChangedBytes(source.bytes.substr(span.begin, span.end - span.begin), std::move(extra))
        .joined();
}

void appendEntity(std::string& out, const Target& target, const VmDbObject& object,
                  const NewEntity& how) {
    const FilePart* part = filePartOf(object);
    if (part == nullptr || part->end == 0) return EntityBuilder(out, target, object, how).build();
    const Span span{part->begin, part->end};
    const auto before = readEntity(target.source, span, object.id);
    std::vector<Change> changes = changesOf(target, span, *before, object);
    for (Change& change : changesOf(target, span, how.attached))
        changes.push_back(std::move(change));
    out += copyOf(target, span, std::move(changes), how.handle, how.owner);
}

}  // namespace vlisp::refhost::dxf
