// Demands on documents and drawings. See drawing_checks.h.
#include "fuzz/drawing_checks.h"

#include "platform/text.h"
#include "refhost/dxf/header_variables.h"
#include "refhost/model/file_part.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace vlisp::fuzz {
namespace {

using namespace refhost;
using dxf::Document;

std::u16string_view viewOf(const VmDbString& text) noexcept {
    return {text.units(), text.length()};
}

// --- Numbers -----------------------------------------------------------------------------------

bool same(double a, double b) noexcept { return a == b || (std::isnan(a) && std::isnan(b)); }

// Files hold degrees and the object radians: the way there and back costs the last bits.
bool sameAngle(double a, double b) noexcept {
    constexpr double bits = 1e-14;
    constexpr double tiny = 1e-300;
    return same(a, b) || std::fabs(a - b) <= bits * std::fabs(a) + tiny;
}

// A file may hold a direction instead, which knows no turns.
bool sameDirection(double a, double b) noexcept {
    constexpr double mostDegrees = 1e6;
    constexpr double near = 1e-6;
    return same(a, b) || !(std::fabs(a) < mostDegrees) ||
           std::fabs(std::remainder(a - b, 360)) < near;
}

// --- Objects -----------------------------------------------------------------------------------

void requirePoints(const VmDbObject& a, const VmDbObject& b, std::int32_t most, bool hasZ) {
    require(std::min(a.points.count, most) == std::min(b.points.count, most),
            "an object has another number of points");
    for (std::int32_t i = 0; i < std::min(a.points.count, most); ++i) {
        const mmPoint& p = a.points.points[i];
        const mmPoint& q = b.points.points[i];
        require(same(p.x, q.x) && same(p.y, q.y) && (!hasZ || same(p.z, q.z)),
                "a point lies elsewhere");
    }
}

double bulgeOf(const VmDb2DPolyline& polyline, std::int32_t vertex) {
    return vertex < polyline.bulges.count ? polyline.bulges.values[vertex] : 0;
}

template <class Class, class Compare>
void compareAs(const VmDbObject& a, const VmDbObject& b, Compare compare) {
    const auto* first = dynamic_cast<const Class*>(&a);
    const auto* second = dynamic_cast<const Class*>(&b);
    require((first == nullptr) == (second == nullptr), "an object is of another class");
    if (first != nullptr) compare(*first, *second);
}

void requireSameObject(const VmDbObject& a, const VmDbObject& b) {
    require(viewOf(a.layerName) == viewOf(b.layerName), "an object lies on another layer");
    require(a.colour == b.colour, "an object has another colour");
    require(a.lineweight == b.lineweight, "an object has another lineweight");
    const bool isPolyline = dynamic_cast<const VmDb2DPolyline*>(&a) != nullptr;
    const bool isCarried = dynamic_cast<const CarriedObject*>(&a) != nullptr;
    // Files without light polylines hold them as the others.
    require(isPolyline || a.typeCode == b.typeCode, "an object is of another kind");
    const bool isLine = a.typeCode == vmDbLine;
    if (!isPolyline && !isCarried) requirePoints(a, b, isLine ? 2 : 1, true);

    compareAs<VmDbCircle>(a, b, [](const VmDbCircle& c, const VmDbCircle& d) {
        require(same(c.radius, d.radius), "a circle has another radius");
    });
    compareAs<VmDbArc>(a, b, [](const VmDbArc& c, const VmDbArc& d) {
        require(same(c.radius, d.radius), "an arc has another radius");
        require(sameAngle(c.startAngle, d.startAngle) && sameAngle(c.endAngle, d.endAngle),
                "an arc has other angles");
    });
    compareAs<VmDbText>(a, b, [](const VmDbText& c, const VmDbText& d) {
        require(viewOf(c.text) == viewOf(d.text), "a text says something else");
        require(same(c.height, d.height), "a text has another height");
        require(c.typeCode == vmDbMText ? sameDirection(c.rotation, d.rotation)
                                        : same(c.rotation, d.rotation),
                "a text is turned otherwise");
    });
    compareAs<VmDbBlockRef>(a, b, [](const VmDbBlockRef& c, const VmDbBlockRef& d) {
        require(viewOf(c.blockName) == viewOf(d.blockName), "an insert shows another block");
        require(same(c.xScale, d.xScale) && same(c.yScale, d.yScale) &&
                    same(c.rotation, d.rotation),
                "an insert is placed otherwise");
    });
    compareAs<VmDb2DPolyline>(a, b, [](const VmDb2DPolyline& c, const VmDb2DPolyline& d) {
        constexpr std::int32_t all = 0x7fffffff;
        requirePoints(c, d, all, c.typeCode == vmDbPolyline && d.typeCode == vmDbPolyline);
        require((c.closed != 0) == (d.closed != 0), "a polyline is closed or open now");
        for (std::int32_t i = 0; i < c.points.count; ++i)
            require(same(bulgeOf(c, i), bulgeOf(d, i)), "a polyline has another bulge");
    });
    compareAs<CarriedObject>(a, b, [](const CarriedObject& c, const CarriedObject& d) {
        require(c.kind == d.kind, "a carried object is of another kind");
    });
}

// --- Bytes -------------------------------------------------------------------------------------

std::string_view bytesOf(const Document& document, dxf::Span span) {
    return document.bytes().substr(span.begin, span.end - span.begin);
}

// Whether the file was found damaged there: what makes it whole may stand in the record.
bool isRepaired(const Document& document, dxf::Span span) {
    return std::ranges::any_of(document.structure().repairs, [&](const dxf::Repair& repair) {
        return repair.replaced.begin <= span.end && repair.replaced.end >= span.begin;
    });
}

void requireSameBytes(const Document& before, dxf::Span old, const Document& saved, dxf::Span now,
                      const char* what) {
    const std::string_view was = bytesOf(before, old);
    const std::string_view is = bytesOf(saved, now);
    require(isRepaired(before, old) || was == is, std::string("the record of ") + what +
                                                      " that was not touched has changed from\n" +
                                                      std::string(was) + "to\n" + std::string(is));
}

bool isValue(const ExtendedDatum& datum, const dxf::Source& source, const dxf::Pair& pair) {
    if (const auto* number = std::get_if<std::int32_t>(&datum.value))
        return pair.code == 1071 && source.value(pair).integer() == *number;
    if (const auto* real = std::get_if<double>(&datum.value))
        return pair.code == 1040 && same(source.value(pair).real().value_or(0), *real);
    return pair.code == 1000 && source.text(pair) == std::get<std::u16string>(datum.value);
}

void requireAttached(const ExtendedDatum& datum, const Document& saved, dxf::Span span) {
    const dxf::Record record = dxf::recordsOf(saved.source(), span).front();
    for (std::size_t i = 1; i + 1 < record.pairs.size(); ++i)
        if (record.pairs[i].code == 1001 &&
            sameName(saved.source().text(record.pairs[i]), datum.name))
            return require(isValue(datum, saved.source(), record.pairs[i + 1]),
                           "an attached value is another");
    require(false, "an attached value is missing");
}

// --- The parts of a drawing ----------------------------------------------------------------------

void requireObjects(const Document& document, const Drawing& drawing, const Document& saved,
                    const Drawing& again) {
    int place = 0;
    for (int slot = 0; slot < drawing.slotCount(); ++slot) {
        const ObjectView object = drawing.at(slot);
        if (object->erased != 0) continue;
        require(place < again.slotCount(), "an object is missing");
        const dxf::Span span = saved.structure().entities[static_cast<std::size_t>(place)];
        const auto ofFile = static_cast<std::size_t>(slot);
        if (ofFile < document.structure().entities.size() && drawing.isAsInFile(slot))
            requireSameBytes(document, document.structure().entities[ofFile], saved, span,
                             "an object");
        requireSameObject(*object, *again.at(place));
        for (const ExtendedDatum& datum : drawing.extendedData(object->id))
            requireAttached(datum, saved, span);
        ++place;
    }
    require(place == again.slotCount(), "there are more objects than the drawing has");
}

void requireBlocks(const Document& document, const Drawing& drawing, const Document& saved,
                   const Drawing& again) {
    for (const auto& block : drawing.blocks()) {
        const std::u16string_view name = viewOf(block->record.name);
        if (drawing.findBlock(name) != block.get()) continue;  // a second one of its name
        const BlockDefinition* other = again.findBlock(name);
        require(other != nullptr, "a block is missing");
        require(same(block->record.baseX, other->record.baseX) &&
                    same(block->record.baseY, other->record.baseY),
                "a block has another base point");
        require(block->view().size() == other->view().size(),
                "a block has another number of objects");
        for (std::size_t i = 0; i < block->view().size(); ++i)
            requireSameObject(*block->view()[i], *other->view()[i]);
        if (block->placeInFile() < 0) continue;
        require(other->placeInFile() >= 0, "a block of the file has gone");
        const auto& before =
            document.structure().blocks[static_cast<std::size_t>(block->placeInFile())];
        const auto& after =
            saved.structure().blocks[static_cast<std::size_t>(other->placeInFile())];
        requireSameBytes(document, before.head, saved, after.head, "a block");
        for (std::size_t i = 0; i < before.contents.size(); ++i)
            requireSameBytes(document, before.contents[i], saved, after.contents[i],
                             "an object of a block");
    }
}

void requireLayers(const Drawing& drawing, const Drawing& again) {
    for (const Layer& layer : drawing.layers()) {
        if (drawing.findLayer(layer.name) != &layer) continue;  // a second one of its name
        const Layer* other = again.findLayer(layer.name);
        require(other != nullptr, "a layer is missing");
        require(layer.colour == other->colour && layer.on == other->on,
                "a layer has another colour, or is on or off now");
        require(layer.locked == other->locked && layer.frozen == other->frozen,
                "a layer is locked or frozen otherwise");
        require(sameName(layer.lineType, other->lineType), "a layer has another line type");
    }
}

void requireVariables(const Drawing& drawing, const Drawing& again) {
    constexpr int anglesCode = 50;
    for (const dxf::HeaderRow& row : dxf::headerRows()) {
        const std::u16string name(row.name.begin(), row.name.end());
        const std::u16string before = drawing.variables.asText(name).value_or(u"");
        const std::u16string after = again.variables.asText(name).value_or(u"");
        require(before == after ||
                    (row.code == anglesCode &&
                     sameAngle(drawing.variables.real(name), again.variables.real(name))),
                "the variable " + std::string(row.name) + " was " + platform::toUtf8(before) +
                    " and is " + platform::toUtf8(after));
    }
}

}  // namespace

void require(bool holds, const std::string& what) {
    if (holds) return;
    std::fprintf(stderr, "fuzz: %s\n", what.c_str());
    std::abort();
}

void lookAtAll(Drawing& drawing) {
    for (int slot = 0; slot < drawing.slotCount(); ++slot) {
        const ObjectView object = drawing.at(slot);
        require(object != nullptr && drawing.slotOf(object->id) == slot,
                "an object is not found by its id");
        require(drawing.isAsInFile(slot), "an object is not as in its file");
        static_cast<void>(drawing.isVisible(*object));
    }
    const Box all = drawing.extents();
    for (const HostLong id : drawing.near(all))
        require(drawing.isLive(id), "an object is near that is not there");
    for (const auto& block : drawing.blocks())
        require(drawing.findBlock(viewOf(block->record.name)) != nullptr,
                "a block is not found by its name");
    for (const Layer& layer : drawing.layers())
        require(drawing.findLayer(layer.name) != nullptr, "a layer is not found by its name");
    require(drawing.findLayer(u"0") != nullptr, "the layer 0 is missing");
    for (const VariableRow& row : Variables::rows())
        require(
            drawing.variables.asText(std::u16string(row.name.begin(), row.name.end())).has_value(),
            "a variable has no value");
}

std::shared_ptr<const Document> reopened(std::string saved) {
    try {
        return Document::ofBytes(std::move(saved), "saved", dxf::OnDamage::stop);
    } catch (const dxf::FileError& error) {
        require(false, std::string("what was saved cannot be opened: ") + error.what());
        return nullptr;
    }
}

void requireSaved(const Document& document, const Drawing& drawing, const Document& saved,
                  const Drawing& again, bool isComplete) {
    requireObjects(document, drawing, saved, again);
    requireBlocks(document, drawing, saved, again);
    requireLayers(drawing, again);
    if (isComplete) requireVariables(drawing, again);
    require(saved.problems().size() <= document.problems().size(), "saving brings problems");
    std::vector<std::string> notes;
    require(saved.changes(again, notes).empty(), "what was just saved is to be changed again");
}

}  // namespace vlisp::fuzz
