// Reading entities. See records.h.
#include "refhost/dxf/records.h"

#include "refhost/model/objects.h"

#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vlisp::refhost::dxf {
namespace {

using std::numbers::pi;

// The own pairs of a record, as forEachOwn has them, but found while they are read: most objects are
// looked at once, and their pairs are not worth keeping.
class OwnPairs {
  public:
    OwnPairs(const Source& source, Span span)
        : source_(source), end_(span.end), reader_(source.reader(span)) {
        Pair pair;
        while (reader_.next(pair))
            if (pair.code == 0) {
                type_ = source.value(pair).trimmed();
                return;
            }
    }

    [[nodiscard]] std::string_view type() const noexcept { return type_; }

    /// Goes once over them.
    template <class Visit> void forEach(Visit visit) {
        bool inBraces = false;
        for (Pair pair; reader_.next(pair);) {
            if (pair.code == 0 || pair.code == 101 || pair.code >= 1000) {
                behind_ = pair.begin;
                return;
            }
            if (pair.code == 102) inBraces = source_.value(pair).raw().starts_with('{');
            else if (!inBraces) visit(pair);
        }
        behind_ = end_;
    }

    /// The records behind this one, once all its pairs have been visited.
    [[nodiscard]] std::vector<Record> recordsBehind() const {
        return recordsOf(source_, {behind_, end_});
    }

  private:
    const Source& source_;
    std::uint64_t end_;
    PairReader reader_;
    std::string_view type_;
    std::uint64_t behind_ = 0;
};

const EntityKind* findKind(std::string_view type) noexcept {
    constexpr auto same = [](char byte, char16_t unit) {
        return static_cast<unsigned char>(byte) == unit;
    };
    for (const EntityKind& kind : entityKinds())
        if (std::ranges::equal(type, std::u16string_view(kind.typeText), same)) return &kind;
    return nullptr;
}

class EntityReader {
  public:
    EntityReader(const Source& source, Span span)
        : source_(source), span_(span), own_(source, span) {}

    std::unique_ptr<VmDbObject> read(HostLong id) {
        const EntityKind* kind = findKind(own_.type());
        return kind != nullptr ? readAs(*kind, id) : readCarried(id);
    }

    std::unique_ptr<VmDbObject> readAs(const EntityKind& kind, HostLong id) {
        std::unique_ptr<VmDbObject> object = make(kind);
        object->id = id;
        object->typeCode = kind.typeCode;
        readTyped(kind, *object);
        if (!isSeen(layerSeen)) assign(object->layerName, u"0");
        return object;
    }

  private:
    std::unique_ptr<VmDbObject> readCarried(HostLong id) {
        auto object = std::make_unique<CarriedObject>();
        object->kind = std::u16string(own_.type().begin(), own_.type().end());
        object->id = id;
        place(*object);
        own_.forEach([&](const Pair& pair) { readCommon(*object, pair); });
        if (!isSeen(layerSeen)) assign(object->layerName, u"0");
        readShape(source_, recordsOf(source_, span_), *object);
        return object;
    }

    std::unique_ptr<VmDbObject> make(const EntityKind& kind) {
        switch (kind.typeCode) {
        case vmDbLine: return make<VmDbLine>();
        case vmDbCircle: return make<VmDbCircle>();
        case vmDbArc: return make<VmDbArc>();
        case vmDbInsert: return make<VmDbBlockRef>();
        case vmDbText:
        case vmDbMText: return make<VmDbText>();
        default: return make<VmDb2DPolyline>();
        }
    }

    template <class Class> std::unique_ptr<VmDbObject> make() {
        auto object = std::make_unique<FromFile<Class>>();
        place(*object);
        return object;
    }

    void place(FilePart& part) noexcept {
        part.begin = span_.begin;
        part.end = span_.end;
        look_ = &part.appearance;
    }

    // A bit for each code of which the first counts.
    static constexpr unsigned layerSeen = 1;
    static constexpr unsigned colourSeen = 2;
    static constexpr unsigned lineweightSeen = 4;
    static constexpr unsigned visibilitySeen = 8;

    [[nodiscard]] bool isSeen(unsigned bit) const noexcept { return (commonSeen_ & bit) != 0; }

    [[nodiscard]] double real(const Pair& pair) const noexcept { return source_.real(pair); }
    [[nodiscard]] std::int32_t integer(const Pair& pair) const noexcept {
        return source_.integer(pair);
    }

    // What every entity may have.
    bool readCommon(VmDbObject& object, const Pair& pair) {
        // Kinds that are not known may have the same codes for something else further on.
        const auto bit = pair.code == 8     ? layerSeen
                         : pair.code == 62  ? colourSeen
                         : pair.code == 370 ? lineweightSeen
                         : pair.code == 60  ? visibilitySeen
                                            : 0U;
        if (isSeen(bit)) return true;
        commonSeen_ |= bit;
        switch (pair.code) {
        case 8: assign(object.layerName, source_.text(pair)); return true;
        case 62: object.colour = integer(pair); return true;
        case 370: object.lineweight = integer(pair); return true;
        case 60: look_->invisible = integer(pair) == 1; return true;
        case 420:
            look_->trueColour = static_cast<std::uint32_t>(integer(pair)) & 0xffffffU;
            return true;
        case 210: look_->normal.x = real(pair); return true;
        case 220: look_->normal.y = real(pair); return true;
        case 230: look_->normal.z = real(pair); return true;
        default: return false;
        }
    }

    void readTyped(const EntityKind& kind, VmDbObject& object) {
        switch (kind.typeCode) {
        case vmDbLwPolyline: return readLightPolyline(static_cast<VmDb2DPolyline&>(object));
        case vmDbPolyline: return readPolyline(static_cast<VmDb2DPolyline&>(object));
        default: break;
        }
        mmPoint first;
        mmPoint second;
        bool hasFirst = false;
        bool hasSecond = false;
        std::string text;
        own_.forEach([&](const Pair& pair) {
            if (readCommon(object, pair)) return;
            switch (pair.code) {
            case 10:
                first.x = real(pair);
                hasFirst = true;
                return;
            case 20: first.y = real(pair); return;
            case 30: first.z = real(pair); return;
            case 11:
                second.x = real(pair);
                hasSecond = true;
                break;
            case 21: second.y = real(pair); break;
            case 31: second.z = real(pair); break;
            default: break;
            }
            if (kind.typeCode == vmDbText || kind.typeCode == vmDbMText)
                if (readTextPair(kind, static_cast<VmDbText&>(object), pair, text)) return;
            if (kind.typeCode == vmDbInsert && readGridPair(pair)) return;
            readField(kind, object, pair);
        });
        if (hasFirst) object.addPoint(first);
        if (kind.typeCode == vmDbLine && hasSecond) object.addPoint(second);
        if (kind.typeCode == vmDbInsert) readAttributes();
        if (kind.typeCode == vmDbText) look_->alignment = {second.x, second.y};
        if (kind.typeCode == vmDbText || kind.typeCode == vmDbMText)
            assign(static_cast<VmDbText&>(object).text, source_.codec.decode(text));
    }

    // A field that the table knows.
    void readField(const EntityKind& kind, VmDbObject& object, const Pair& pair) {
        for (const EntityField& field : kind.fields) {
            if (field.code != pair.code) continue;
            if (field.number != HostNumber::none) {
                const double number = real(pair);
                *hostNumber(&object, field.number) =
                    field.fileUnit == FileUnit::degrees ? number * pi / 180 : number;
            } else if (field.kind == FieldKind::blockName) {
                assign(static_cast<VmDbBlockRef&>(object).blockName, source_.text(pair));
            }
            return;
        }
    }

    // True when the pair has been dealt with.
    bool readTextPair(const EntityKind& kind, VmDbText& object, const Pair& pair,
                      std::string& text) {
        if (pair.code == 1 || (pair.code == 3 && kind.typeCode == vmDbMText)) {
            if (pair.code == 1 && kind.typeCode == vmDbText) text.clear();
            text += source_.value(pair).raw();
            return true;
        }
        if (kind.typeCode == vmDbMText) {
            switch (pair.code) {
            case 71: look_->attachment = integer(pair); return true;
            // A direction, which stands for the rotation where it comes behind it.
            case 11:
                direction_.x = real(pair);
                hasDirection_ = true;
                turn(object);
                return true;
            case 21:
                direction_.y = real(pair);
                hasDirection_ = true;
                turn(object);
                return true;
            // Behind this code 50 is the height of a column.
            case 75: columns_ = true; return true;
            case 50:
                if (columns_) return true;
                hasDirection_ = false;
                return false;
            default: return false;
            }
        }
        switch (pair.code) {
        case 72: look_->horizontal = integer(pair); return true;
        case 73: look_->vertical = integer(pair); return true;
        case 41: look_->widthFactor = real(pair); return true;
        case 51: look_->oblique = real(pair); return true;
        default: return false;
        }
    }

    void turn(VmDbText& object) const {
        object.rotation = std::atan2(direction_.y, direction_.x) * 180 / pi;
    }

    bool readGridPair(const Pair& pair) {
        switch (pair.code) {
        case 70: look_->columns = integer(pair); return true;
        case 71: look_->rows = integer(pair); return true;
        case 44: look_->columnSpacing = real(pair); return true;
        case 45: look_->rowSpacing = real(pair); return true;
        default: return false;
        }
    }

    void readAttributes() {
        std::vector<std::unique_ptr<VmDbObject>> texts;
        for (const Record& record : own_.recordsBehind()) {
            if (record.type != "ATTRIB" || !isShown(source_, record)) continue;
            auto text = EntityReader(source_, record.span).readAs(*findKind("TEXT"), -1);
            Appearance& look = filePartOf(*text)->appearance;
            // Attributes tell of their vertical place with another code than texts.
            look.vertical = 0;
            forEachOwn(record, [&](const Pair& pair) {
                if (pair.code == 74) look.vertical = integer(pair);
            });
            texts.push_back(std::move(text));
        }
        if (!texts.empty())
            look_->attributes =
                std::make_shared<const std::vector<std::unique_ptr<VmDbObject>>>(std::move(texts));
    }

    void readLightPolyline(VmDb2DPolyline& object) {
        std::vector<double> bulges;
        bool bulged = false;
        own_.forEach([&](const Pair& pair) {
            if (readCommon(object, pair)) return;
            switch (pair.code) {
            case 10:
                object.addPoint({real(pair), 0, 0});
                bulges.push_back(0);
                break;
            case 20:
                if (object.points.count > 0)
                    object.points.getAt(object.points.count - 1).y = real(pair);
                break;
            case 42:
                if (bulges.empty()) break;
                bulges.back() = real(pair);
                bulged = true;
                break;
            case 43: look_->width = real(pair); break;
            case 70: object.closed = (integer(pair) & 1) != 0 ? 1 : 0; break;
            default: break;
            }
        });
        if (bulged)
            for (const double bulge : bulges) object.addBulge(bulge);
    }

    void readPolyline(VmDb2DPolyline& object) {
        own_.forEach([&](const Pair& pair) {
            if (readCommon(object, pair)) return;
            if (pair.code == 70) {
                constexpr std::int32_t meshes = 16 | 64;
                object.closed = (integer(pair) & 1) != 0 ? 1 : 0;
                look_->isMesh = (integer(pair) & meshes) != 0;
            }
            if (pair.code == 40) look_->width = real(pair);
        });
        std::vector<double> bulges;
        std::vector<bool> onFrame;
        bool framed = false;
        bool bulged = false;
        for (const Record& vertex : own_.recordsBehind()) {
            if (vertex.type != "VERTEX" || isFace(source_, vertex)) continue;
            mmPoint place;
            bulges.push_back(0);
            if (const std::size_t flags = vertex.find(70); flags != Record::npos) {
                constexpr std::int32_t frame = 16;
                onFrame.resize(bulges.size());
                onFrame.back() = (source_.integer(vertex.pairs[flags]) & frame) != 0;
                framed = framed || onFrame.back();
            }
            forEachOwn(vertex, [&](const Pair& pair) {
                switch (pair.code) {
                case 10: place.x = real(pair); break;
                case 20: place.y = real(pair); break;
                case 30: place.z = real(pair); break;
                case 42:
                    bulges.back() = real(pair);
                    bulged = true;
                    break;
                default: break;
                }
            });
            object.addPoint(place);
        }
        if (framed) {
            onFrame.resize(bulges.size());
            look_->onFrame = std::make_shared<const std::vector<bool>>(std::move(onFrame));
        }
        if (bulged)
            for (const double bulge : bulges) object.addBulge(bulge);
    }

    const Source& source_;
    Span span_;
    OwnPairs own_;
    Appearance* look_ = nullptr;
    Point2 direction_;
    bool hasDirection_ = false;
    bool columns_ = false;
    unsigned commonSeen_ = 0;
};

}  // namespace

std::size_t Record::find(int code) const noexcept {
    for (std::size_t i = 1; i < own; ++i)
        if (pairs[i].code == code && !grouped[i]) return i;
    return npos;
}

std::size_t Record::findLast(int code) const noexcept {
    for (std::size_t i = own; i-- > 1;)
        if (pairs[i].code == code && !grouped[i]) return i;
    return npos;
}

std::vector<Record> recordsOf(const Source& source, Span span) {
    std::vector<Record> records;
    PairReader reader = source.reader(span);
    Pair pair;
    bool inBraces = false;
    bool beyond = false;
    while (reader.next(pair)) {
        if (pair.code == 0) {
            records.emplace_back();
            records.back().type = source.value(pair).trimmed();
            records.back().span.begin = pair.begin;
            // Most entities are one record; of those with many each is small.
            constexpr std::size_t usualPairs = 24;
            if (records.size() == 1) records.back().pairs.reserve(usualPairs);
            inBraces = false;
            beyond = false;
        }
        if (records.empty()) continue;  // comments in front
        Record& record = records.back();
        const bool isBrace = pair.code == 102;
        if (isBrace) inBraces = source.value(pair).raw().starts_with('{');
        beyond = beyond || pair.code == 101 || pair.code >= 1000;
        record.pairs.push_back(pair);
        record.grouped.push_back(inBraces || isBrace);
        if (!beyond) record.own = record.pairs.size();
        record.span.end = pair.end;
    }
    return records;
}

std::unique_ptr<VmDbObject> readEntity(const Source& source, Span span, HostLong id) {
    return EntityReader(source, span).read(id);
}

bool isShown(const Source& source, const Record& attribute) {
    const std::size_t flags = attribute.find(70);
    constexpr int invisible = 1;
    return flags == Record::npos ||
           (source.value(attribute.pairs[flags]).integer().value_or(0) & invisible) == 0;
}

bool isFace(const Source& source, const Record& vertex) {
    const std::size_t flags = vertex.find(70);
    if (flags == Record::npos) return false;
    constexpr int ofPolyface = 128;
    constexpr int hasPlace = 64;
    const std::int32_t bits = source.value(vertex.pairs[flags]).integer().value_or(0);
    return (bits & ofPolyface) != 0 && (bits & hasPlace) == 0;
}

}  // namespace vlisp::refhost::dxf
