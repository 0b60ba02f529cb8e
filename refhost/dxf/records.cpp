// Reading entities. See records.h.
#include "refhost/dxf/records.h"

#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vlisp::refhost::dxf {
namespace {

constexpr double pi = std::numbers::pi;

void assign(VmDbString& member, std::u16string_view text) {
    // The bridge's texts end at a zero.
    text = text.substr(0, text.find(u'\0'));
    member.assign(text.data(), text.size());
}

class EntityReader {
  public:
    EntityReader(const Source& source, const std::vector<Record>& records)
        : source_(source), records_(records), record_(records.front()) {}

    std::unique_ptr<VmDbObject> read(Span span, HostLong id) {
        const EntityKind* kind =
            findEntityKind(std::u16string(record_.type.begin(), record_.type.end()));
        std::unique_ptr<VmDbObject> object = kind != nullptr ? make(*kind) : makeCarried();
        object->id = id;
        assign(object->layerName, u"0");
        FilePart& part = *filePartOf(*object);
        part.begin = span.begin;
        part.end = span.end;
        look_ = &part.appearance;
        if (kind != nullptr) {
            object->typeCode = kind->typeCode;
            readTyped(*kind, *object);
        } else {
            readCommon(*object);
            readShape(source_, records_, static_cast<CarriedObject&>(*object));
        }
        return object;
    }

  private:
    static std::unique_ptr<VmDbObject> make(const EntityKind& kind) {
        switch (kind.typeCode) {
        case vmDbLine: return std::make_unique<FromFile<VmDbLine>>();
        case vmDbCircle: return std::make_unique<FromFile<VmDbCircle>>();
        case vmDbArc: return std::make_unique<FromFile<VmDbArc>>();
        case vmDbInsert: return std::make_unique<FromFile<VmDbBlockRef>>();
        case vmDbText:
        case vmDbMText: return std::make_unique<FromFile<VmDbText>>();
        default: return std::make_unique<FromFile<VmDb2DPolyline>>();
        }
    }

    std::unique_ptr<VmDbObject> makeCarried() const {
        auto object = std::make_unique<CarriedObject>();
        object->kind = std::u16string(record_.type.begin(), record_.type.end());
        return object;
    }

    [[nodiscard]] double real(const Pair& pair) const noexcept { return source_.real(pair); }
    [[nodiscard]] std::int32_t integer(const Pair& pair) const noexcept {
        return source_.integer(pair);
    }

    // What every entity may have.
    bool readCommon(VmDbObject& object, const Pair& pair) {
        // Kinds that are not known may have the same codes for something else further on.
        const auto bit = pair.code == 8     ? 1U
                         : pair.code == 62  ? 2U
                         : pair.code == 370 ? 4U
                         : pair.code == 60  ? 8U
                                            : 0U;
        if ((commonSeen_ & bit) != 0) return true;
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

    void readCommon(VmDbObject& object) {
        forEachOwn(record_, [&](const Pair& pair) { readCommon(object, pair); });
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
        forEachOwn(record_, [&](const Pair& pair) {
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
            if (field.number != nullptr) {
                const double number = real(pair);
                field.number(object) =
                    field.fileUnit == FileUnit::degrees ? number * pi / 180 : number;
            } else if (field.kind == FieldKind::blockName) {
                assign(field.string(object), source_.text(pair));
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
        for (std::size_t i = 1; i < records_.size(); ++i) {
            if (records_[i].type != "ATTRIB" || !isShown(source_, records_[i])) continue;
            std::vector<Record> alone{records_[i]};
            alone.front().type = "TEXT";
            auto text = EntityReader(source_, alone).read(alone.front().span, -1);
            Appearance& look = filePartOf(*text)->appearance;
            // Attributes tell of their vertical place with another code than texts.
            look.vertical = 0;
            forEachOwn(alone.front(), [&](const Pair& pair) {
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
        forEachOwn(record_, [&](const Pair& pair) {
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
        forEachOwn(record_, [&](const Pair& pair) {
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
        for (std::size_t i = 1; i < records_.size(); ++i) {
            const Record& vertex = records_[i];
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
    const std::vector<Record>& records_;
    const Record& record_;
    Appearance* look_ = nullptr;
    Point2 direction_;
    bool hasDirection_ = false;
    bool columns_ = false;
    unsigned commonSeen_ = 0;  // a bit for each code that counts once
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
    const std::vector<Record> records = recordsOf(source, span);
    return EntityReader(source, records).read(span, id);
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
