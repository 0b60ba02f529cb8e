// Fuzzes pictures: the first line of the input says how they are drawn, the rest is the drawing's
// file.
// One idea: whatever a drawing holds, the picture is a whole SVG, the same each time.
#include "fuzz/drawing_checks.h"
#include "fuzz/drawing_mutator.h"
#include "refhost/plot/plot.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

const bool vlisp::fuzz::drawingBehindFirstLine = true;

namespace {

using namespace vlisp;
using namespace vlisp::fuzz;
using namespace vlisp::refhost;

// Tags are closed in their order, attributes have values in quotes, and no number is infinite.
void requireWellFormed(std::string_view svg) {
    std::vector<std::string_view> open;
    std::size_t at = 0;
    while ((at = svg.find('<', at)) != std::string_view::npos) {
        const std::size_t end = svg.find('>', at);
        require(end != std::string_view::npos, "a tag has no end");
        std::string_view tag = svg.substr(at + 1, end - at - 1);
        at = end;
        require(tag.find('<') == std::string_view::npos, "a tag stands in a tag");
        if (tag.starts_with('?') || tag.starts_with('!')) continue;
        const std::string_view name = tag.substr(0, tag.find_first_of(" \n/", 1));
        if (tag.starts_with('/')) {
            require(!open.empty() && open.back() == tag.substr(1), "an end tag ends another tag");
            open.pop_back();
            continue;
        }
        require(std::ranges::count(tag, '"') % 2 == 0, "a quote is not closed");
        if (!tag.ends_with('/')) open.push_back(name);
        const std::size_t path = tag.find(" d=\"");
        if (path == std::string_view::npos) continue;
        const std::string_view data = tag.substr(path + 4, tag.find('"', path + 4) - path - 4);
        require(data.find("nan") == std::string_view::npos &&
                    data.find("inf") == std::string_view::npos,
                "a path leads nowhere");
    }
    require(open.empty(), "a tag is not closed");
    for (const char c : svg)
        require(static_cast<unsigned char>(c) >= ' ' || c == '\n' || c == '\t',
                "a control character stands in it");
}

plot::Options optionsOf(std::string_view line) {
    plot::Options options;
    const auto byte = [&](std::size_t i) {
        return i < line.size() ? static_cast<unsigned char>(line[i]) : 0U;
    };
    options.mono = byte(0) % 2 == 1;
    options.dark = byte(1) % 2 == 1;
    if (byte(2) % 4 == 1) options.scale = static_cast<double>(1 + byte(3)) / 16;
    if (byte(4) % 4 == 1)
        options.window = Box{-1, -2, static_cast<double>(byte(5)), static_cast<double>(byte(6))};
    if (byte(7) % 4 == 1) options.layers = {u"0", u"W*"};
    options.title = byte(8) % 4 == 1 ? u"<&\"\x1>" : u"";
    return options;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(data, data + size);
    const std::size_t lineEnd = std::min(input.find('\n'), input.size());
    const auto document = dxf::Document::ofBytes(input.substr(std::min(lineEnd + 1, input.size())),
                                                 "input", dxf::OnDamage::recover);
    Drawing drawing;
    document->fill(drawing);
    const plot::Options options = optionsOf(std::string_view(input).substr(0, lineEnd));
    const plot::Picture picture = plot::draw(drawing, options);
    require(picture.bytes.empty() != picture.error.empty(), "neither a picture nor an error");
    if (picture.error.empty()) requireWellFormed(picture.bytes);
    for (const plot::Omission& omission : picture.omitted)
        require(omission.count > 0 && !omission.reason.empty(), "an omission tells nothing");
    const plot::Picture again = plot::draw(drawing, options);
    require(picture.bytes == again.bytes && picture.omitted == again.omitted,
            "the same drawing looks otherwise");
    return 0;
}
