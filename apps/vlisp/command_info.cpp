// vlisp info: what is in a drawing file. See commands.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/drawing_facts.h"
#include "core/reader.h"
#include "platform/text.h"
#include "refhost/commands/command.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <unordered_map>

namespace vlisp::app {
namespace {

using refhost::Box;
using refhost::Drawing;
using refhost::Layer;
using refhost::dxf::Document;
using refhost::dxf::Form;
using refhost::dxf::Span;
using Json = nlohmann::ordered_json;

struct VersionRow {
    std::string_view name;
    const char* year;
};
constexpr VersionRow versions[] = {
    {"AC1006", "1988"}, {"AC1009", "1992"}, {"AC1012", "1994"}, {"AC1014", "1997"},
    {"AC1015", "2000"}, {"AC1018", "2004"}, {"AC1021", "2007"}, {"AC1024", "2010"},
    {"AC1027", "2013"}, {"AC1032", "2018"},
};

// By the number in $INSUNITS.
constexpr const char* unitNames[] = {
    "unitless",
    "inches",
    "feet",
    "miles",
    "millimetres",
    "centimetres",
    "metres",
    "kilometres",
    "microinches",
    "mils",
    "yards",
    "angstroms",
    "nanometres",
    "microns",
    "decimetres",
    "decametres",
    "hectometres",
    "gigametres",
    "astronomical units",
    "light years",
    "parsecs",
    "US survey feet",
    "US survey inches",
    "US survey yards",
    "US survey miles",
};

struct LessByName {
    bool operator()(std::u16string_view a, std::u16string_view b) const noexcept {
        return std::ranges::lexicographical_compare(a, b, {}, upperCase, upperCase);
    }
};
/// How often there is something of a name, without regard to case.
using Counts = std::map<std::u16string, std::size_t, LessByName>;
/// The same while counting, by the bytes of the name.
using RawCounts = std::unordered_map<std::string_view, std::size_t>;

struct BlockFacts {
    std::u16string name;
    std::size_t entities = 0;
    refhost::Point2 base;
    bool isLayout = false;
};

struct DrawingFacts {
    std::string version;
    const char* year = nullptr;  ///< null: not known
    std::string codePage;
    bool isBinary = false;
    std::int32_t units = 0;
    Box extents;
    std::size_t total = 0;
    std::size_t paperSpace = 0;
    Counts types;
    Counts layerCounts;
    std::vector<Layer> layers;
    std::vector<BlockFacts> blocks;
    Counts carried;
    std::vector<std::string> carriedSections;
    std::vector<std::string> problems;
};

std::string quotedName(std::u16string_view name) { return "'" + shown(name) + "'"; }

std::string countOf(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

bool beginsWith(std::u16string_view name, std::u16string_view begin) {
    return refhost::sameName(name.substr(0, begin.size()), begin);
}

// Old files have a dollar sign there.
bool isModelSpace(std::u16string_view name) {
    return refhost::sameName(name, u"*Model_Space") || refhost::sameName(name, u"$MODEL_SPACE");
}

// The layout that is shown; others have a number behind the name.
bool isShownPaperSpace(std::u16string_view name) {
    return refhost::sameName(name, u"*Paper_Space") || refhost::sameName(name, u"$PAPER_SPACE");
}

bool isPaperSpace(std::u16string_view name) {
    return beginsWith(name, u"*Paper_Space") || beginsWith(name, u"$PAPER_SPACE");
}

class Collector {
  public:
    explicit Collector(const std::shared_ptr<const Document>& document)
        : document_(*document), structure_(document->structure()) {
        document_.fill(drawing_);
    }

    DrawingFacts run() {
        readFile();
        countEntities();
        readBlocks();
        facts_.layers = drawing_.layers();
        facts_.extents = drawing_.extents();
        for (const refhost::dxf::Section& section : structure_.sections)
            if (!isUnderstood(section.name))
                facts_.carriedSections.push_back(shown(decoded(section.name)));
        findProblems();
        return std::move(facts_);
    }

  private:
    [[nodiscard]] std::u16string decoded(std::string_view raw) const {
        return document_.source().codec.decode(raw);
    }

    static bool isUnderstood(std::string_view section) {
        return section == "HEADER" || section == "TABLES" || section == "BLOCKS" ||
               section == "ENTITIES";
    }

    void readFile() {
        facts_.version = document_.version().name();
        for (const VersionRow& row : versions)
            if (row.name == facts_.version) facts_.year = row.year;
        facts_.codePage = document_.codePage();
        facts_.isBinary = document_.source().form != Form::text;
        const auto* units = structure_.findVariable("$INSUNITS");
        if (units == nullptr) return;
        auto reader = document_.source().reader(units->values);
        refhost::dxf::Pair pair;
        if (reader.next(pair)) facts_.units = document_.source().value(pair).integer().value_or(0);
    }

    // What holds for entities of model space and of blocks.
    EntityFacts look(Span span) {
        const EntityFacts facts = factsOf(document_.source(), span);
        ++onLayer_[facts.layer];
        if (facts.type == "INSERT") ++shownBlocks_[facts.name];
        if (!numbersAreFinite(document_.source(), span) && ++notFinite_ == 1)
            firstNotFinite_ = shown(decoded(facts.type)) +
                              (facts.handle.empty() ? "" : " " + shown(decoded(facts.handle)));
        return facts;
    }

    void countEntities() {
        RawCounts types;
        for (const Span& span : structure_.entities) ++types[look(span).type];
        facts_.total = structure_.entities.size();
        facts_.types = named(types);
        // Under the names that the layers have, where there are such.
        for (const auto& [name, count] : named(onLayer_)) {
            const Layer* layer = drawing_.findLayer(name);
            facts_.layerCounts.emplace(layer != nullptr ? layer->name : name, count);
        }
        for (const auto& [type, count] : facts_.types)
            if (findEntityKind(type) == nullptr) facts_.carried.emplace(type, count);
    }

    // What blocks hold is counted too, but for the layers' counts, which are of model space.
    void readBlocks() {
        facts_.paperSpace = structure_.paperEntities;
        for (const auto& definition : drawing_.blocks()) {
            const VmDbBlock& record = definition->record;
            const auto& contents =
                structure_.blocks[static_cast<std::size_t>(definition->placeInFile())].contents;
            for (const Span& span : contents) look(span);
            BlockFacts facts{record.name.units(), contents.size(), {record.baseX, record.baseY}};
            facts.isLayout = isModelSpace(facts.name) || isPaperSpace(facts.name);
            if (isPaperSpace(facts.name)) facts_.paperSpace += contents.size();
            // Their entities stand in the section of entities.
            if (isModelSpace(facts.name)) facts.entities += structure_.entities.size();
            if (isShownPaperSpace(facts.name)) facts.entities += structure_.paperEntities;
            facts_.blocks.push_back(std::move(facts));
        }
        std::ranges::stable_sort(facts_.blocks, LessByName(), &BlockFacts::name);
    }

    [[nodiscard]] Counts named(const RawCounts& raw) const {
        // In order, so that the name of several spellings does not depend on the table.
        const std::map<std::string_view, std::size_t> ordered(raw.begin(), raw.end());
        Counts counts;
        for (const auto& [name, count] : ordered) counts[decoded(name)] += count;
        return counts;
    }

    void findProblems() {
        facts_.problems = document_.problems();
        for (const auto& [name, count] : named(onLayer_))
            if (drawing_.findLayer(name) == nullptr)
                tell("layer " + quotedName(name) + " is not defined, but " +
                     countOf(count, "entity is", "entities are") + " on it");
        for (const auto& [name, count] : named(shownBlocks_))
            if (drawing_.findBlock(name) == nullptr)
                tell("block " + quotedName(name) + " is not defined, but " +
                     countOf(count, "insert shows", "inserts show") + " it");
        if (notFinite_ != 0)
            tell(countOf(notFinite_, "entity has", "entities have") +
                 " numbers that cannot be drawn, not finite or beyond 1e150; the first is " +
                 firstNotFinite_);
        tellOfDoubles("layer", facts_.layers);
        tellOfDoubles("block", facts_.blocks);
    }

    void tell(std::string problem) { facts_.problems.push_back(std::move(problem)); }

    template <class Row> void tellOfDoubles(const std::string& what, const std::vector<Row>& rows) {
        Counts names;
        for (const Row& row : rows) ++names[row.name];
        for (const auto& [name, count] : names)
            if (count > 1)
                tell(what + " " + quotedName(name) + " is defined " + std::to_string(count) +
                     " times; the first counts");
    }

    const Document& document_;
    const refhost::dxf::Structure& structure_;
    Drawing drawing_;
    DrawingFacts facts_;
    RawCounts onLayer_;
    RawCounts shownBlocks_;
    std::size_t notFinite_ = 0;
    std::string firstNotFinite_;
};

std::string unitName(std::int32_t units) {
    return units >= 0 && units < std::ssize(unitNames) ? unitNames[units] : "unknown";
}

// --- For programs ---

Json asJson(const Counts& counts) {
    Json object = Json::object();
    for (const auto& [name, count] : counts) object[platform::toUtf8(name)] = count;
    return object;
}

Json asJson(const std::string& path, const DrawingFacts& facts) {
    Json layers = Json::array();
    for (const Layer& layer : facts.layers)
        layers.push_back({{"name", platform::toUtf8(layer.name)},
                          {"colour", layer.colour},
                          {"on", layer.on},
                          {"frozen", layer.frozen},
                          {"locked", layer.locked},
                          {"lineType", platform::toUtf8(layer.lineType)}});
    Json blocks = Json::array();
    for (const BlockFacts& block : facts.blocks)
        blocks.push_back({{"name", platform::toUtf8(block.name)},
                          {"entities", block.entities},
                          {"base", {block.base.x, block.base.y}},
                          {"layout", block.isLayout}});
    const Box& box = facts.extents;
    Json extents;
    if (!box.isEmpty()) extents = {{"min", {box.left, box.bottom}}, {"max", {box.right, box.top}}};
    return {{"file", path},
            {"version", facts.version},
            {"year", facts.year != nullptr ? Json(facts.year) : Json()},
            {"codePage", facts.codePage.empty() ? Json() : Json(facts.codePage)},
            {"form", facts.isBinary ? "binary" : "ascii"},
            {"units", {{"code", facts.units}, {"name", unitName(facts.units)}}},
            {"extents", extents},
            {"entities",
             {{"total", facts.total},
              {"types", asJson(facts.types)},
              {"layers", asJson(facts.layerCounts)},
              {"paperSpace", facts.paperSpace}}},
            {"layers", layers},
            {"blocks", blocks},
            {"carried", asJson(facts.carried)},
            {"carriedSections", facts.carriedSections},
            {"problems", facts.problems}};
}

// --- For people ---

using TableLine = std::vector<std::string>;

// Lines with columns one below the other; `numbers` are the columns that are set to the right.
std::string tableOf(const std::vector<TableLine>& lines, const std::vector<std::size_t>& numbers) {
    std::vector<std::size_t> widths;
    for (const TableLine& line : lines) {
        widths.resize(std::max(widths.size(), line.size()));
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(line[i]));
    }
    std::string text;
    for (const TableLine& line : lines) {
        std::string out;
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (i > 0) out += "  ";
            const bool toTheRight = std::ranges::find(numbers, i) != numbers.end();
            if (toTheRight) out += std::string(widths[i] - widthOf(line[i]), ' ') + line[i];
            else out += padded(line[i], widths[i]);
        }
        out.erase(out.find_last_not_of(' ') + 1);
        text += out + "\n";
    }
    return text;
}

std::string countsTable(const std::string& heading, const Counts& counts) {
    std::vector<TableLine> lines{{heading, "Entities"}};
    for (const auto& [name, count] : counts) lines.push_back({shown(name), std::to_string(count)});
    return tableOf(lines, {1});
}

std::string stateOf(const Layer& layer) {
    return std::string(layer.on ? "on" : "off") + (layer.frozen ? ", frozen" : "") +
           (layer.locked ? ", locked" : "");
}

std::string layersTable(const DrawingFacts& facts) {
    std::vector<TableLine> lines{{"Layer", "Entities", "Colour", "State", "Line type"}};
    Counts undefined = facts.layerCounts;
    std::vector<Layer> layers = facts.layers;
    std::ranges::stable_sort(layers, LessByName(), &Layer::name);
    for (const Layer& layer : layers) {
        const auto found = undefined.find(layer.name);
        const std::size_t count = found != undefined.end() ? found->second : 0;
        if (found != undefined.end()) undefined.erase(found);
        lines.push_back({shown(layer.name), std::to_string(count), std::to_string(layer.colour),
                         stateOf(layer), shown(layer.lineType)});
    }
    for (const auto& [name, count] : undefined)
        lines.push_back({shown(name), std::to_string(count), "", "not defined"});
    return tableOf(lines, {1, 2});
}

std::string blocksTable(const std::vector<BlockFacts>& blocks) {
    std::vector<TableLine> lines{{"Block", "Entities", "Base"}};
    for (const BlockFacts& block : blocks)
        lines.push_back({shown(block.name), std::to_string(block.entities), shown(block.base),
                         block.isLayout ? "layout" : ""});
    return tableOf(lines, {1});
}

std::string asText(const std::string& path, const DrawingFacts& facts) {
    std::string text = tableOf(
        {{"File", path},
         {"Version", facts.version + (facts.year != nullptr ? std::string(" (") + facts.year + ")"
                                                            : std::string())},
         {"Form", facts.isBinary ? "binary" : "ascii"},
         {"Code page", facts.codePage.empty() ? "not given" : facts.codePage},
         {"Units", unitName(facts.units) + " (" + std::to_string(facts.units) + ")"},
         {"Extents", facts.extents.isEmpty() ? "nothing is drawn" : shown(facts.extents)},
         {"Entities", std::to_string(facts.total)},
         {"Paper space", std::to_string(facts.paperSpace)}},
        {});
    if (!facts.types.empty()) text += "\n" + countsTable("Type", facts.types);
    text += "\n" + layersTable(facts);
    if (!facts.blocks.empty()) text += "\n" + blocksTable(facts.blocks);
    if (!facts.carried.empty()) text += "\n" + countsTable("Carried through", facts.carried);
    if (!facts.carriedSections.empty()) {
        text += "\nSections carried through\n";
        for (const std::string& section : facts.carriedSections) text += section + "\n";
    }
    if (!facts.problems.empty()) {
        text += "\nProblems\n";
        for (const std::string& problem : facts.problems)
            text += shown(platform::fromUtf8(problem)) + "\n";
    }
    return text;
}

}  // namespace

int describeDrawing(const InfoOptions& options) {
    return withDrawingFile(options.path, options.recover, [&](const auto& document) {
        DrawingFacts facts = Collector(document).run();
        if (options.json) {
            // Problems quote the file's bytes, which may be of any code page.
            for (std::string& problem : facts.problems)
                problem = platform::toUtf8(platform::fromUtf8(problem));
            writeLine(asJson(options.path, facts)
                          .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
        } else {
            writeText(asText(options.path, facts));
        }
        return exitCodeOfOutput(exitOk);
    });
}

}  // namespace vlisp::app
