// Opening drawing files, and facts of their records. See drawing_facts.h.
#include "apps/vlisp/drawing_facts.h"

#include "apps/vlisp/console.h"
#include "apps/vlisp/drawing_job.h"
#include "platform/text.h"
#include "refhost/commands/command.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace vlisp::app {
namespace {

using refhost::Box;
using refhost::Point2;
using refhost::dxf::Form;
using refhost::dxf::Pair;
using refhost::dxf::PairReader;
using refhost::dxf::Source;
using refhost::dxf::Span;
using refhost::dxf::Value;

constexpr int embeddedObject = 101;
constexpr int group = 102;
constexpr int firstOfExtendedData = 1000;

// Shortcut: in the text form most numbers are digits with a point, and too few of them to be large.
bool isPlainNumber(std::string_view text) noexcept {
    constexpr std::size_t most = 100;
    return text.size() < most && std::ranges::all_of(text, [](char c) { return c <= '9'; });
}

bool isFinite(const Source& source, const Pair& pair) {
    constexpr double farthest = 1e150;  // as in refhost/model/geometry.h
    const Value value = source.value(pair);
    if (source.form == Form::text && isPlainNumber(value.raw())) return true;
    const std::optional<double> number = value.real();
    return number && std::fabs(*number) <= farthest;
}

}  // namespace

int withDrawingFile(
    const std::string& path, bool recover,
    const std::function<int(const std::shared_ptr<const refhost::dxf::Document>&)>& use) {
    using refhost::dxf::OnDamage;
    try {
        return use(
            refhost::dxf::Document::open(path, recover ? OnDamage::recover : OnDamage::stop));
    } catch (const refhost::dxf::FileError& error) {
        writeError(std::string("vlisp: ") + error.what());
        return exitCodeOf(error.kind);
    } catch (const std::bad_alloc&) {
        writeError("vlisp: out of memory");
        return exitLimit;
    }
}

EntityFacts factsOf(const Source& source, Span span) {
    EntityFacts facts;
    PairReader reader = source.reader(span);
    Pair pair;
    bool begun = false;
    bool inBraces = false;
    while (reader.next(pair)) {
        if (pair.code == 0) {
            if (begun) break;
            begun = true;
            facts.type = source.value(pair).trimmed();
            continue;
        }
        if (pair.code == embeddedObject || pair.code >= firstOfExtendedData) break;
        if (pair.code == group) inBraces = source.value(pair).raw().starts_with('{');
        if (inBraces) continue;
        switch (pair.code) {
        case 2: facts.name = source.value(pair).raw(); break;
        case 5:
            if (facts.handle.empty()) facts.handle = source.value(pair).trimmed();
            break;
        case 8: facts.layer = source.value(pair).raw(); break;
        case 62: facts.colour = source.value(pair).integer().value_or(facts.colour); break;
        default: break;
        }
    }
    return facts;
}

bool numbersAreFinite(const Source& source, Span span) {
    PairReader reader = source.reader(span);
    Pair pair;
    while (reader.next(pair)) {
        if (pair.code < 10 || pair.code >= firstOfExtendedData) continue;
        if (refhost::dxf::valueTypeOf(pair.code) == refhost::dxf::ValueType::real &&
            !isFinite(source, pair))
            return false;
    }
    return true;
}

std::string shown(std::u16string_view text) {
    std::u16string safe(text);
    for (char16_t& unit : safe)
        if (unit < 0x20 || (unit >= 0x7f && unit < 0xa0)) unit = u'?';
    return platform::toUtf8(safe);
}

std::string shown(Point2 point) {
    return platform::toUtf8(refhost::numberText(point.x) + u"," + refhost::numberText(point.y));
}

std::string shown(const Box& box) {
    return shown(Point2{box.left, box.bottom}) + " to " + shown(Point2{box.right, box.top});
}

std::size_t widthOf(std::string_view text) noexcept {
    // Bytes that continue a character begin with the bits 10.
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80; }));
}

std::string padded(std::string text, std::size_t width) {
    const std::size_t used = widthOf(text);
    if (used < width) text.append(width - used, ' ');
    return text;
}

}  // namespace vlisp::app
