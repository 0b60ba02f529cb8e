// Fuzzes the saving of changed drawings: the first line of the input says what is done to the
// drawing, the rest is its file.
// One idea: a file made of the old bytes and the changes holds what the drawing holds, unless it is
// said that it cannot; what was not touched stands there as before.
#include "fuzz/drawing_checks.h"
#include "fuzz/drawing_mutator.h"
#include "refhost/model/file_part.h"
#include "refhost/model/objects.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numbers>

const bool vlisp::fuzz::drawingBehindFirstLine = true;

namespace {

using namespace vlisp;
using namespace vlisp::fuzz;
using namespace vlisp::refhost;
using namespace vlisp::refhost::dxf;

// --- Choices: bytes, and what becomes of them --------------------------------------------------

constexpr double numbers[] = {0,
                              -0.0,
                              1,
                              -1,
                              0.1,
                              2.5,
                              1.0 / 3,
                              90,
                              360,
                              -270,
                              std::numbers::pi,
                              1e-5,
                              1e-300,
                              5e-324,
                              1e16,
                              123456789.123456789,
                              1e300,
                              std::numeric_limits<double>::max(),
                              std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()};

constexpr std::int32_t integers[] = {0,   1,     -1,     7,     255,   256,        25,
                                     211, 32767, -32768, 32768, 70000, 2147483647, -2147483647};

constexpr std::u16string_view texts[] = {u"A",
                                         u"a",
                                         u"walls",
                                         u" led",
                                         u"trail ",
                                         u"\u00e9",
                                         u"\u0416",
                                         u"\u65e5\u672c",
                                         u"\xd83d\xde00",
                                         u"\xdc80",
                                         u"\xd83d",
                                         u"\\U+00E9",
                                         u"\\U+",
                                         u"\\",
                                         u"\\M+18140",
                                         u"^J",
                                         u"^",
                                         u"^@",
                                         u"%%c",
                                         u"a\tb",
                                         u"a\r\nb",
                                         u"\x1f",
                                         u"\x7f",
                                         u"\ufeff",
                                         u"{",
                                         u"0",
                                         u"x|y",
                                         u"B"};

class Choices {
  public:
    explicit Choices(std::string_view bytes) : left_(bytes) {}

    [[nodiscard]] bool any() const { return !left_.empty(); }
    unsigned byte() {
        if (left_.empty()) return 0;
        const auto first = static_cast<unsigned char>(left_.front());
        left_.remove_prefix(1);
        return first;
    }
    std::size_t below(std::size_t bound) { return byte() % bound; }
    bool flip() { return byte() % 2 == 1; }

    double number() {
        const std::size_t choice = below(32);
        if (choice < std::size(numbers)) return numbers[choice];
        if (choice < 28 || left_.size() < sizeof(double)) return static_cast<double>(byte()) - 100;
        double value = 0;
        std::memcpy(&value, left_.data(), sizeof value);
        left_.remove_prefix(sizeof value);
        return value;
    }
    mmPoint point() {
        const double x = number();
        const double y = number();
        return {x, y, flip() ? number() : 0};
    }
    std::int32_t integer() { return integers[below(std::size(integers))]; }

    // Never empty.
    std::u16string name() {
        std::u16string text(texts[below(std::size(texts))]);
        if (below(8) == 0) text += texts[below(std::size(texts))];
        return text;
    }
    std::u16string text() {
        std::u16string all;
        std::size_t parts = below(6);
        constexpr std::size_t pairsAreFull = 60;
        if (parts == 5) parts = pairsAreFull * (1 + below(8));
        const std::u16string once = name();
        for (std::size_t i = 0; i < parts; ++i) all += i % 3 == 2 ? name() : once;
        return all;
    }

  private:
    std::string_view left_;
};

void assign(VmDbString& member, const std::u16string& text) {
    member.assign(text.data(), text.size());
}

// --- What is done ------------------------------------------------------------------------------

class Changer {
  public:
    Changer(Drawing& drawing, Choices& choices) : drawing_(drawing), choices_(choices) {}

    void run() {
        int group = 0;
        while (choices_.any()) {
            if (choices_.below(8) == 0) {
                if (group > 0 && choices_.flip()) {
                    drawing_.endGroup();
                    --group;
                } else {
                    drawing_.beginGroup();
                    ++group;
                }
            }
            step();
        }
        while (group-- > 0) drawing_.endGroup();
    }

  private:
    void step() {
        switch (choices_.below(13)) {
        case 0:
        case 1:
        case 2: return changeObject();
        case 3: return static_cast<void>(drawing_.add(madeObject()));
        case 4: return copyObject();
        case 5: return drawing_.setErased(anyId(), choices_.below(4) != 0);
        case 6: return static_cast<void>(drawing_.undo());
        case 7: return static_cast<void>(drawing_.redo());
        case 8: return attach();
        case 9: return defineBlock();
        case 10: return changeLayer();
        case 11: return setVariable();
        default: return draw();
        }
    }

    [[nodiscard]] HostLong anyId() {
        if (drawing_.slotCount() == 0) return -1;
        const std::size_t place = choices_.byte() * 256U + choices_.byte();
        return drawing_
            .at(static_cast<int>(place % static_cast<std::size_t>(drawing_.slotCount())))
            ->id;
    }

    void changeObject() {
        VmDbObject* object = drawing_.open(anyId(), true);
        if (object == nullptr) return;
        const std::size_t times = 1 + choices_.below(3);
        for (std::size_t i = 0; i < times; ++i) alter(*object);
        object->close();
    }

    // As programs do: members are set, points added, or all points given anew.
    void alter(VmDbObject& object) {
        switch (choices_.below(8)) {
        case 0: object.colour = choices_.integer(); return;
        case 1: object.lineweight = choices_.integer(); return;
        case 2: assign(object.layerName, choices_.name()); return;
        case 3:
            if (object.points.count > 0)
                object.points.getAt(static_cast<int>(choices_.below(
                    static_cast<std::size_t>(object.points.count)))) = choices_.point();
            return;
        case 4: object.addPoint(choices_.point()); return;
        case 5: {
            object.points.clear();
            const std::size_t count = choices_.below(5);
            for (std::size_t i = 0; i < count; ++i) object.addPoint(choices_.point());
            return;
        }
        default: return alterOwn(object);
        }
    }

    void alterOwn(VmDbObject& object) {
        if (auto* circle = VmDbCircle::cast(&object)) circle->radius = choices_.number();
        if (auto* arc = VmDbArc::cast(&object)) {
            switch (choices_.below(3)) {
            case 0: arc->radius = choices_.number(); break;
            case 1: arc->startAngle = choices_.number(); break;
            default: arc->endAngle = choices_.number();
            }
        }
        if (auto* text = VmDbText::cast(&object)) {
            switch (choices_.below(3)) {
            case 0: text->height = choices_.number(); break;
            case 1: text->rotation = choices_.number(); break;
            default: assign(text->text, choices_.text());
            }
        }
        if (auto* insert = VmDbBlockRef::cast(&object)) {
            switch (choices_.below(4)) {
            case 0: insert->xScale = choices_.number(); break;
            case 1: insert->yScale = choices_.number(); break;
            case 2: insert->rotation = choices_.number(); break;
            default: assign(insert->blockName, choices_.name());
            }
        }
        if (auto* polyline = VmDb2DPolyline::cast(&object)) {
            if (choices_.flip()) polyline->closed = choices_.flip() ? 1 : 0;
            else polyline->addBulge(choices_.number());
        }
    }

    [[nodiscard]] std::unique_ptr<VmDbObject> madeObject() {
        std::unique_ptr<VmDbObject> object;
        std::size_t points = 1;
        switch (choices_.below(8)) {
        case 0:
            object = std::make_unique<VmDbLine>();
            points = 2;
            break;
        case 1: object = std::make_unique<VmDbCircle>(); break;
        case 2: object = std::make_unique<VmDbArc>(); break;
        case 3: object = std::make_unique<VmDbText>(); break;
        case 4:
            object = std::make_unique<VmDbText>();
            object->typeCode = vmDbMText;
            break;
        case 5: object = std::make_unique<VmDbBlockRef>(); break;
        case 6:
            object = std::make_unique<VmDb2DPolyline>();
            points = choices_.below(5);
            break;
        default:
            object = std::make_unique<VmDb2DPolyline>();
            object->typeCode = vmDbPolyline;
            points = choices_.below(5);
        }
        for (std::size_t i = 0; i < points; ++i) object->addPoint(choices_.point());
        const std::size_t times = choices_.below(4);
        for (std::size_t i = 0; i < times; ++i) alterOwn(*object);
        if (choices_.below(4) == 0) alter(*object);
        return object;
    }

    void copyObject() {
        const ObjectView object = drawing_.findLive(anyId());
        if (object == nullptr) return;
        auto twin = clone(*object);
        if (choices_.flip()) alter(*twin);
        const HostLong copied = drawing_.add(std::move(twin));
        for (const ExtendedDatum& datum : drawing_.extendedData(object->id))
            drawing_.attach(copied, datum);
    }

    void attach() {
        const HostLong id = anyId();
        std::u16string name = choices_.name();
        switch (choices_.below(3)) {
        case 0: return drawing_.attach(id, {name, choices_.integer()});
        case 1: {
            const double number = choices_.number();
            return drawing_.attach(id, {name, std::isfinite(number) ? number : 0});
        }
        default: return drawing_.attach(id, {name, choices_.text()});
        }
    }

    // Without inserts: the command that defines blocks keeps them from holding themselves.
    void defineBlock() {
        BlockDefinition::Contents contents;
        const std::size_t count = choices_.below(4);
        for (std::size_t i = 0; i < count; ++i) {
            std::unique_ptr<VmDbObject> object;
            const ObjectView model = choices_.flip() ? drawing_.findLive(anyId()) : nullptr;
            object = model != nullptr ? clone(*model) : madeObject();
            if (object->layerName.length() == 0) assign(object->layerName, u"0");
            if (VmDbBlockRef::cast(object.get()) == nullptr) contents.push_back(std::move(object));
        }
        std::u16string name = choices_.name();
        if (choices_.flip() && !drawing_.blocks().empty())
            name = drawing_.blocks()[choices_.below(drawing_.blocks().size())]->record.name.units();
        const double x = choices_.number();
        const double y = choices_.number();
        if (name.empty() || !std::isfinite(x + y)) return;
        drawing_.defineBlock(name, {x, y}, std::move(contents));
    }

    void changeLayer() {
        drawing_.beginGroup();
        const auto& layers = drawing_.layers();
        const std::u16string name =
            choices_.flip() ? layers[choices_.below(layers.size())].name : choices_.name();
        Layer& layer = drawing_.changeLayer(name);
        switch (choices_.below(5)) {
        case 0: layer.colour = static_cast<std::int32_t>(1 + choices_.below(255)); break;
        case 1: layer.on = choices_.flip(); break;
        case 2: layer.locked = choices_.flip(); break;
        case 3: layer.frozen = choices_.flip(); break;
        default: layer.lineType = choices_.name();
        }
        drawing_.endGroup();
    }

    void setVariable() {
        const auto rows = Variables::rows();
        const VariableRow& row = rows[choices_.byte() % rows.size()];
        const std::u16string name(row.name.begin(), row.name.end());
        switch (choices_.below(4)) {
        case 0: drawing_.variables.setInt(name, choices_.integer()); return;
        case 1: drawing_.variables.setReal(name, choices_.number()); return;
        case 2: drawing_.variables.setText(name, u"1.5,-2,0.1"); return;
        default: drawing_.variables.setText(name, choices_.name()); return;
        }
    }

    void draw() {
        int done = 0;
        setWorkingLayerAndLineType(choices_.name().c_str(), u"CONTINUOUS", done);
        auto line = std::make_unique<VmDbLine>();
        line->addPoint(choices_.point());
        line->addPoint(choices_.point());
        addLine(line.release(), -1);
    }

    Drawing& drawing_;
    Choices& choices_;
};

std::shared_ptr<const Document> opened(const std::string& bytes) {
    for (const OnDamage onDamage : {OnDamage::stop, OnDamage::recover}) {
        try {
            return Document::ofBytes(bytes, "input", onDamage);
        } catch (const FileError&) {
        }
    }
    return nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(data, data + size);
    const std::size_t lineEnd = std::min(input.find('\n'), input.size());
    const auto document = opened(input.substr(std::min(lineEnd + 1, input.size())));
    if (document == nullptr) return 0;
    Drawing drawing;
    document->fill(drawing);
    Choices choices(std::string_view(input).substr(0, lineEnd));
    Changer(drawing, choices).run();

    std::vector<std::string> notes;
    std::vector<Change> changes;
    try {
        changes = document->changes(drawing, notes);
    } catch (const FileError& error) {
        require(error.kind == FileError::Kind::unwritable, "what cannot be written is damaged");
        return 0;
    }
    const auto saved = reopened(ChangedBytes(document->bytes(), std::move(changes)).joined());
    Drawing again;
    saved->fill(again);
    requireSaved(*document, drawing, *saved, again, notes.empty());
    return 0;
}
