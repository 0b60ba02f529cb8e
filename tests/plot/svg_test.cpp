// Tests of pictures as SVG.
// One idea: the documents are read back by a strict reader, and every attribute that a renderer
// goes by is compared with what the object is.
// Covers: refhost/plot/svg.cpp, refhost/plot/painter.cpp, refhost/plot/plot.cpp.
#include "refhost/plot/svg.h"

#include "plot_support.h"
#include "tests/support/special_numbers.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <utility>

namespace vlisp::refhost::plot {
namespace {

using vlisp::test::inf;
using vlisp::test::nan;

class Plot_svg : public testing::Test {
  protected:
    // The root of the picture; kept until the next one.
    const Element& root(const Options& options = millimetres()) {
        document = svg(drawing, options);
        root_ = parsed(document);
        EXPECT_EQ(root_->tag, "svg");
        return *root_;
    }
    std::string pathOf(HostLong id) { return elementOf(root(), id)->at("d"); }
    template <class Object> std::string pathOf(std::unique_ptr<Object> object) {
        return pathOf(drawing.add(std::move(object)));
    }

    Drawing drawing;
    std::string document;

  private:
    std::unique_ptr<Element> root_;
};

// The numbers in a text, in order.
std::vector<double> numbersIn(const std::string& text) {
    std::vector<double> all;
    std::size_t here = 0;
    while ((here = text.find_first_of("-0123456789", here)) != std::string::npos) {
        std::size_t length = 0;
        all.push_back(std::stod(text.substr(here, 40), &length));
        here += length;
    }
    return all;
}

// The six of transform="matrix(...)".
std::vector<double> matrixOf(const Element& element) {
    const std::string transform = element.at("transform");
    EXPECT_EQ(transform.substr(0, 7), "matrix(") << transform;
    return numbersIn(transform);
}

void expectNear(const std::vector<double>& seen, const std::vector<double>& wanted,
                double tolerance = 2e-3) {
    ASSERT_EQ(seen.size(), wanted.size());
    for (std::size_t i = 0; i < seen.size(); ++i)
        EXPECT_NEAR(seen[i], wanted[i], tolerance) << "number " << i;
}

// --- The document ---

TEST_F(Plot_svg, A_unit_is_a_millimetre_of_paper) {
    Options options = millimetres();
    options.paper = {297, 210.5, false};
    const Element& svg = root(options);
    EXPECT_EQ(svg.at("xmlns"), "http://www.w3.org/2000/svg");
    EXPECT_EQ(svg.at("width"), "297mm");
    EXPECT_EQ(svg.at("height"), "210.5mm");
    EXPECT_EQ(svg.at("viewBox"), "0 0 297 210.5");
}

TEST_F(Plot_svg, The_root_tells_where_the_drawing_lies) {
    Options options = millimetres();
    options.scale = 0.5;
    const Element& svg = root(options);
    EXPECT_EQ(svg.at("data-scale"), "0.5");
    EXPECT_EQ(svg.at("data-origin"), "-50 -50");
}

TEST_F(Plot_svg, A_drawing_with_nothing_to_show_is_an_empty_sheet) {
    const Element& svg = root({});
    EXPECT_EQ(svg.at("width"), "210mm");
    EXPECT_EQ(svg.count("path") + svg.count("text") + svg.count("use"), 0U);
    EXPECT_EQ(svg.count("rect"), 1U) << "the ground";
}

TEST_F(Plot_svg, The_title_is_escaped) {
    Options options;
    options.title = u"A & B <\"c\">";
    EXPECT_NE(root(options).find("xmlns", "http://www.w3.org/2000/svg"), nullptr);
    EXPECT_NE(document.find("<title>A &amp; B &lt;&quot;c&quot;&gt;</title>"), std::string::npos);
}

TEST_F(Plot_svg, The_same_drawing_is_the_same_document) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {1, 1}), circle({0, 0}, 1)));
    for (int i = 0; i < 20; ++i) drawing.add(insert({5.0 * i, 50}, u"b", 1 + i / 10.0, 1, 7 * i));
    const std::string first = svg(drawing);
    EXPECT_EQ(first, svg(drawing));
    EXPECT_NE(first.find("<use"), std::string::npos);
}

TEST_F(Plot_svg, What_lies_in_the_margin_is_cut_off) {
    const HostLong id = drawing.add(line({-50, 50}, {150, 50}));
    const Element& svg = root();
    const Element* window = svg.find("id", "window");
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->children.at(0)->at("x"), "10");
    EXPECT_EQ(window->children.at(0)->at("width"), "80");
    EXPECT_EQ(svg.find("id", "drawing")->at("clip-path"), "url(#window)");
    EXPECT_EQ(elementOf(svg, id)->at("d"), "M-50 50L150 50");
    EXPECT_EQ(root({}).find("id", "window"), nullptr) << "nothing is beside what fits";
}

// --- Objects and layers ---

TEST_F(Plot_svg, An_object_is_an_element_with_its_id_and_kind) {
    for (int i = 0; i < 25; ++i) drawing.setErased(drawing.add(line({0, 0}, {1, 1})), true);
    const HostLong id = drawing.add(line({20, 20}, {30, 25}));
    ASSERT_EQ(id, 26);
    const Element* found = root().find("data-handle", "1A");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->tag, "path");
    EXPECT_EQ(found->at("data-type"), "LINE");
    EXPECT_EQ(found->at("d"), "M20 80L30 75");
    EXPECT_EQ(root().count("path"), 1U) << "erased objects are not drawn";
}

TEST_F(Plot_svg, Kinds_have_their_names) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {1, 1})));
    std::map<HostLong, std::string> kinds;
    kinds[drawing.add(circle({50, 50}, 5))] = "CIRCLE";
    kinds[drawing.add(arc({50, 50}, 5, 0, 90))] = "ARC";
    kinds[drawing.add(polyline({{50, 50}, {60, 60}}))] = "LWPOLYLINE";
    kinds[drawing.add(insert({50, 50}, u"b"))] = "INSERT";
    kinds[drawing.add(text({50, 50}, 3, u"a"))] = "TEXT";
    kinds[drawing.add(paragraph({50, 50}, 3, u"a"))] = "MTEXT";
    Path path;
    path.moveTo({50, 50});
    path.lineTo({51, 51});
    kinds[drawing.add(carried(u"A<B", path))] = "A<B";
    const Element& svg = root();
    for (const auto& [id, kind] : kinds) EXPECT_EQ(elementOf(svg, id)->at("data-type"), kind);
}

TEST_F(Plot_svg, A_layer_is_a_group_with_its_name_and_colour) {
    drawing.changeLayer(u"<walls & \"doors\">").colour = 1;
    const HostLong id = drawing.add(on(u"<walls & \"doors\">", line({20, 20}, {30, 30})));
    const HostLong other =
        drawing.add(on(u"<walls & \"doors\">", coloured(5, line({22, 22}, {33, 33}))));
    const Element* layer = root().find("data-layer", "<walls & \"doors\">");
    ASSERT_NE(layer, nullptr);
    EXPECT_EQ(layer->tag, "g");
    EXPECT_EQ(layer->at("class"), "layer");
    EXPECT_EQ(layer->at("id"), "layer-1");
    EXPECT_EQ(layer->at("color"), "#f00");
    EXPECT_EQ(elementOf(*layer, id)->at("color"), "(none)");
    EXPECT_EQ(elementOf(*layer, other)->at("color"), "#00f");
}

TEST_F(Plot_svg, Layers_lie_in_the_order_of_their_first_objects) {
    drawing.changeLayer(u"a");
    drawing.changeLayer(u"b");
    drawing.add(on(u"b", line({20, 20}, {30, 30})));
    drawing.add(on(u"a", line({20, 20}, {30, 30})));
    drawing.add(on(u"B", line({20, 20}, {40, 40})));
    const Element* all = root().find("id", "drawing");
    ASSERT_EQ(all->children.size(), 2U);
    EXPECT_EQ(all->children[0]->at("data-layer"), "b");
    EXPECT_EQ(all->children[0]->children.size(), 2U) << "case makes no other layer";
    EXPECT_EQ(all->children[1]->at("data-layer"), "a");
}

TEST_F(Plot_svg, Hidden_layers_and_objects_are_not_drawn) {
    drawing.changeLayer(u"off").on = false;
    drawing.changeLayer(u"frozen").frozen = true;
    drawing.defineBlock(u"b", {0, 0},
                        contents(on(u"off", line({0, 0}, {1, 1})), line({0, 0}, {2, 2})));
    drawing.add(on(u"off", line({20, 20}, {30, 30})));
    drawing.add(on(u"frozen", line({20, 20}, {30, 30})));
    drawing.add(on(u"off", insert({50, 50}, u"b")));
    auto unseen = line({20, 20}, {30, 30});
    unseen->appearance.invisible = true;
    drawing.add(std::move(unseen));
    EXPECT_EQ(root().count("path"), 0U);
    EXPECT_EQ(root().find("class", "layer"), nullptr);
    drawing.add(insert({50, 50}, u"b"));
    EXPECT_EQ(root().count("path"), 1U) << "of the block, what is on a layer that is on";
    EXPECT_TRUE(draw(drawing, millimetres()).omitted.empty()) << "what is hidden is not missed";
}

TEST_F(Plot_svg, Layers_are_chosen_by_patterns) {
    for (const char16_t* name : {u"wall-1", u"Wall-2", u"door", u"text"}) {
        drawing.changeLayer(name);
        drawing.add(on(name, line({20, 20}, {30, 30})));
    }
    Options options = millimetres();
    options.layers = {u"WALL*"};
    EXPECT_EQ(root(options).count("path"), 2U);
    options.layers = {u"wall-#", u"d?or"};
    EXPECT_EQ(root(options).count("path"), 3U);
    options.layers = {u"~wall*"};
    EXPECT_EQ(root(options).count("path"), 2U);
    options.layers = {u"none"};
    EXPECT_EQ(root(options).count("path"), 0U);
}

TEST_F(Plot_svg, What_is_chosen_fills_the_paper) {
    drawing.changeLayer(u"far");
    drawing.add(on(u"far", line({0, 0}, {1000, 1000})));
    const HostLong id = drawing.add(line({0, 0}, {10, 10}));
    Options options;
    options.paper = {100, 100, false};
    options.layers = {u"0"};
    EXPECT_EQ(elementOf(root(options), id)->at("d"), "M10 90L90 10");
}

// --- Colours and weights ---

TEST_F(Plot_svg, Colours_are_by_index_true_or_by_layer) {
    drawing.changeLayer(u"0").colour = 3;
    const HostLong byLayer = drawing.add(line({20, 20}, {30, 30}));
    const HostLong red = drawing.add(coloured(1, line({20, 20}, {30, 30})));
    const HostLong same = drawing.add(coloured(3, line({20, 20}, {30, 30})));
    auto exact = coloured(1, line({20, 20}, {30, 30}));
    exact->appearance.trueColour = 0x123456;
    const HostLong trueColour = drawing.add(std::move(exact));
    const HostLong byBlock = drawing.add(coloured(0, line({20, 20}, {30, 30})));
    const Element& svg = root();
    EXPECT_EQ(svg.find("data-layer", "0")->at("color"), "#0f0");
    EXPECT_EQ(elementOf(svg, byLayer)->at("color"), "(none)");
    EXPECT_EQ(elementOf(svg, red)->at("color"), "#f00");
    EXPECT_EQ(elementOf(svg, same)->at("color"), "(none)");
    EXPECT_EQ(elementOf(svg, trueColour)->at("color"), "#123456");
    EXPECT_EQ(elementOf(svg, byBlock)->at("color"), "#000") << "outside of blocks: 7";
}

TEST_F(Plot_svg, A_dark_ground_turns_black_lines_white) {
    const HostLong id = drawing.add(line({20, 20}, {30, 30}));
    Options options = millimetres();
    EXPECT_EQ(root(options).find("id", "drawing")->at("color"), "#000");
    EXPECT_NE(root(options).find("fill", "#fff"), nullptr);
    options.dark = true;
    const Element& svg = root(options);
    EXPECT_EQ(svg.find("id", "drawing")->at("color"), "#fff");
    EXPECT_NE(svg.find("fill", "#1e1e1e"), nullptr);
    EXPECT_EQ(elementOf(svg, id)->at("color"), "(none)");
}

TEST_F(Plot_svg, One_colour_is_one_colour) {
    drawing.changeLayer(u"red").colour = 1;
    drawing.defineBlock(
        u"b", {0, 0},
        contents(coloured(4, line({0, 0}, {1, 1})), on(u"red", line({0, 0}, {1, 1}))));
    drawing.add(on(u"red", line({20, 20}, {30, 30})));
    drawing.add(coloured(2, insert({50, 50}, u"b")));
    auto exact = line({20, 20}, {30, 30});
    exact->appearance.trueColour = 0x123456;
    drawing.add(std::move(exact));
    Options options = millimetres();
    options.mono = true;
    EXPECT_EQ(root(options).count("path"), 4U);
    EXPECT_EQ(document.find(" color=\""), document.rfind(" color=\"")) << "only one is said";
    EXPECT_EQ(root(options).find("id", "drawing")->at("color"), "#000");
    options.dark = true;
    EXPECT_EQ(root(options).find("id", "drawing")->at("color"), "#fff");
}

TEST_F(Plot_svg, Weights_are_millimetres_of_paper) {
    const auto weighed = [this](std::int32_t weight) {
        auto object = line({20, 20}, {30, 30});
        object->lineweight = weight;
        return drawing.add(std::move(object));
    };
    const HostLong unset = weighed(-1);
    const HostLong byDefault = weighed(-3);
    const HostLong same = weighed(25);
    const HostLong thick = weighed(70);
    const HostLong thinnest = weighed(0);
    const HostLong absurd = weighed(2'000'000'000);
    Options options = millimetres();
    options.scale = 0.5;  // does not scale them
    const Element& svg = root(options);
    EXPECT_EQ(svg.find("id", "drawing")->at("stroke-width"), "0.25");
    for (const HostLong id : {unset, byDefault, same})
        EXPECT_EQ(elementOf(svg, id)->at("stroke-width"), "(none)");
    EXPECT_EQ(elementOf(svg, thick)->at("stroke-width"), "0.7");
    EXPECT_EQ(elementOf(svg, thinnest)->at("stroke-width"), "0.05");
    EXPECT_EQ(elementOf(svg, absurd)->at("stroke-width"), "2.11");
}

// --- Shapes ---

TEST_F(Plot_svg, An_arc_runs_counter_clockwise) {
    EXPECT_EQ(pathOf(arc({50, 50}, 20, 0, 90)), "M70 50A20 20 0 0 0 50 30");
    EXPECT_EQ(pathOf(arc({50, 50}, 20, 90, 0)), "M50 30A20 20 0 1 0 70 50");
    EXPECT_EQ(pathOf(arc({50, 50}, 20, 90, 30)),
              "M50 30A20 20 0 0 0 40 67.321 20 20 0 0 0 67.321 40")
        << "in two parts: its ends are too near each other to tell its centre";
    EXPECT_EQ(pathOf(arc({50, 50}, 20, 0, 200)), "M70 50A20 20 0 1 0 31.206 56.84");
}

TEST_F(Plot_svg, A_circle_is_two_arcs) {
    EXPECT_EQ(pathOf(circle({50, 50}, 20)), "M70 50A20 20 0 0 0 30 50 20 20 0 0 0 70 50Z");
}

TEST_F(Plot_svg, A_polyline_is_one_path) {
    EXPECT_EQ(pathOf(polyline({{20, 20}, {40, 20}, {40, 40}})), "M20 80L40 80 40 60");
    EXPECT_EQ(pathOf(polyline({{20, 20}, {40, 20}, {40, 40}}, true)), "M20 80L40 80 40 60Z");
    EXPECT_EQ(pathOf(polyline({{20, 20}, {40, 20}}, true)), "M20 80L40 80Z");
}

TEST_F(Plot_svg, Bulges_are_arcs_to_their_side) {
    EXPECT_EQ(pathOf(polyline({{20, 20}, {40, 20}}, false, {1})), "M20 80A10 10 0 0 0 40 80");
    EXPECT_EQ(pathOf(polyline({{20, 20}, {40, 20}}, false, {-1})), "M20 80A10 10 0 0 1 40 80");
    EXPECT_EQ(pathOf(polyline({{20, 20}, {40, 20}, {40, 40}, {20, 40}}, true, {0, 0.5, 0, -2})),
              "M20 80L40 80A12.5 12.5 0 0 0 40 60L20 60A12.5 12.5 0 1 1 20 80Z");
}

TEST_F(Plot_svg, A_polylines_width_is_in_drawing_units) {
    auto wide = polyline({{20, 20}, {40, 20}});
    wide->appearance.width = 4;
    const HostLong id = drawing.add(std::move(wide));
    auto thin = polyline({{20, 20}, {40, 20}});
    thin->appearance.width = 0.1;
    const HostLong hair = drawing.add(std::move(thin));
    Options options = millimetres();
    options.scale = 0.5;
    const Element& svg = root(options);
    EXPECT_EQ(elementOf(svg, id)->at("stroke-width"), "2");
    EXPECT_EQ(elementOf(svg, id)->at("stroke-linecap"), "butt");
    EXPECT_EQ(elementOf(svg, id)->at("stroke-linejoin"), "miter");
    EXPECT_EQ(elementOf(svg, hair)->at("stroke-width"), "(none)") << "never below its weight";
}

TEST_F(Plot_svg, What_rounds_to_a_point_is_a_dot) {
    EXPECT_EQ(pathOf(line({20, 20}, {20, 20})), "M20 80h0");
    EXPECT_EQ(pathOf(line({20, 20}, {20.0001, 20})), "M20 80h0");
    EXPECT_EQ(pathOf(circle({20, 20}, 1e-5)), "M20 80h0");
    EXPECT_EQ(pathOf(polyline({{20, 20}, {20, 20}}, true)), "M20 80h0");
}

TEST_F(Plot_svg, Points_that_round_to_the_same_are_one) {
    std::vector<Point2> points;
    for (int i = 0; i <= 10'000; ++i) points.push_back({20 + i * 1e-6, 20});
    EXPECT_LT(pathOf(polyline(points)).size(), 200U);
}

TEST_F(Plot_svg, A_plane_seen_from_below_is_mirrored) {
    auto object = arc({-50, 50}, 20, 0, 90);
    object->appearance.normal = {0, 0, -1};
    EXPECT_EQ(pathOf(std::move(object)), "M30 50A20 20 0 0 1 50 30");
}

TEST_F(Plot_svg, A_tilted_circle_is_an_ellipse) {
    auto object = circle({0, 0}, 20);
    object->appearance.normal = {0, 0.6, 0.8};
    object->points.points[0] = mmPoint(-50, -62.5, 0);  // at (50, 50)
    const auto numbers = numbersIn(pathOf(std::move(object)));
    ASSERT_EQ(numbers.size(), 16U);
    EXPECT_NEAR(numbers[2], 20, 1e-3);
    EXPECT_NEAR(numbers[3], 16, 1e-3);
}

TEST_F(Plot_svg, Carried_figures_are_drawn_as_they_are) {
    Path path;
    path.moveTo({20, 20});
    path.cubicTo({30, 40}, {40, 0}, {50, 20});
    path.lineTo({50, 10});
    path.close();
    const HostLong outline = drawing.add(carried(u"SPLINE", path));
    const HostLong filled = drawing.add(carried(u"HATCH", path, true));
    const Element& svg = root();
    const std::string d = "M20 80C30 60 40 100 50 80L50 90Z";
    EXPECT_EQ(elementOf(svg, outline)->at("d"), d);
    EXPECT_EQ(elementOf(svg, outline)->at("fill"), "(none)");
    EXPECT_EQ(elementOf(svg, filled)->at("d"), d);
    EXPECT_EQ(elementOf(svg, filled)->at("fill"), "currentColor");
    EXPECT_EQ(elementOf(svg, filled)->at("fill-rule"), "evenodd");
    EXPECT_EQ(elementOf(svg, filled)->at("stroke"), "none");
}

TEST_F(Plot_svg, Several_figures_are_a_group) {
    Path path;
    path.moveTo({20, 20});
    path.lineTo({50, 20});
    auto object = carried(u"LEADER", path);
    object->figures.push_back(object->figures[0]);
    const HostLong id = drawing.add(std::move(object));
    const Element* group = elementOf(root(), id);
    EXPECT_EQ(group->tag, "g");
    EXPECT_EQ(group->at("data-type"), "LEADER");
    EXPECT_EQ(group->children.size(), 2U);
}

TEST_F(Plot_svg, A_carried_block_stands_as_it_is) {
    drawing.defineBlock(u"*D1", {7, 7}, contents(line({20, 20}, {40, 20})));
    auto object = carried(u"DIMENSION", {});
    object->figures.clear();
    object->block = u"*D1";
    const HostLong id = drawing.add(std::move(object));
    const Element& svg = root();
    const Element* use = elementOf(svg, id);
    EXPECT_EQ(use->tag, "use");
    EXPECT_EQ(use->at("x"), "30");
    EXPECT_EQ(use->at("y"), "80");
    EXPECT_EQ(svg.find("id", "b1")->children.at(0)->at("d"), "M-10 0L10 0");
}

// --- Blocks ---

class Plot_blocks : public Plot_svg {
  protected:
    Plot_blocks() {
        drawing.changeLayer(u"red").colour = 1;
        drawing.changeLayer(u"green").colour = 3;
    }
};

TEST_F(Plot_blocks, A_block_is_written_once) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {4, 0}), line({0, 0}, {0, 2})));
    const HostLong first = drawing.add(insert({20, 20}, u"b"));
    const HostLong turned = drawing.add(insert({50, 50}, u"B", 1, 1, 90));
    const HostLong mirrored = drawing.add(insert({60, 50}, u"b", -1, 1));
    const Element& svg = root();
    EXPECT_EQ(svg.count("path"), 2U);
    const Element* use = elementOf(svg, first);
    EXPECT_EQ(use->at("href"), "#b1");
    EXPECT_EQ(use->at("x"), "22") << "a definition is about the middle of its block";
    EXPECT_EQ(use->at("y"), "79");
    EXPECT_EQ(svg.find("id", "b1")->children.at(0)->at("d"), "M-2 1L2 1");
    expectNear(matrixOf(*elementOf(svg, turned)), {0, -1, 1, 0, 49, 48});
    expectNear(matrixOf(*elementOf(svg, mirrored)), {-1, 0, 0, 1, 58, 49});
}

TEST_F(Plot_blocks, A_base_point_is_where_the_insert_is) {
    drawing.defineBlock(u"b", {100, 200}, contents(line({100, 200}, {104, 200})));
    const HostLong id = drawing.add(insert({20, 20}, u"b", 1, 1, 180));
    expectNear(matrixOf(*elementOf(root(), id)), {-1, 0, 0, -1, 18, 80});
}

TEST_F(Plot_blocks, Weights_are_not_scaled) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {1, 0}), circle({0, 0}, 1)));
    drawing.add(insert({50, 50}, u"b"));
    drawing.add(insert({50, 50}, u"b", 10, 10, 30));
    drawing.add(insert({50, 50}, u"b", 4, 2));
    const Element& svg = root();
    ASSERT_NE(svg.find("id", "b3"), nullptr);
    EXPECT_EQ(svg.find("id", "b2")->children.at(0)->at("d"), "M0 0L10 0");
    EXPECT_EQ(svg.find("id", "b3")->children.at(1)->at("d"), "M4 0A4 2 0 0 0 -4 0 4 2 0 0 0 4 0Z");
    for (const auto& use : svg.find("data-layer", "0")->children)
        if (const std::string by = use->at("transform"); by != "(none)") {
            const auto m = matrixOf(*use);
            EXPECT_NEAR(std::hypot(m[0], m[1]), 1, 2e-6) << by;
            EXPECT_NEAR(std::hypot(m[2], m[3]), 1, 2e-6) << by;
        }
    EXPECT_EQ(document.find("scale("), std::string::npos);
}

TEST_F(Plot_blocks, A_stretched_and_turned_block_is_where_it_should_be) {
    // Whatever way it is written: the ends of the line must come out at these places.
    drawing.defineBlock(u"inner", {0, 0}, contents(line({1, 0}, {3, 2})));
    drawing.defineBlock(u"outer", {0, 0}, contents(insert({2, 1}, u"inner", 2, -1, 30)));
    const HostLong id = drawing.add(insert({50, 50}, u"outer", 3, 1, 40));
    const Element& svg = root();
    const auto apply = [](const Element& use, Point2 p) {
        if (use.at("transform") == "(none)")
            return Point2{p.x + std::stod(use.at("x")), p.y + std::stod(use.at("y"))};
        const auto m = matrixOf(use);
        return Point2{m[0] * p.x + m[2] * p.y + m[4], m[1] * p.x + m[3] * p.y + m[5]};
    };
    const auto place = [](Point2 p) {
        const auto turn = [](Point2 q, double degrees) {
            const double a = degrees * 3.14159265358979323846 / 180;
            return Point2{q.x * std::cos(a) - q.y * std::sin(a),
                          q.x * std::sin(a) + q.y * std::cos(a)};
        };
        Point2 q = turn({2 * p.x, -p.y}, 30);
        q = turn({3 * (q.x + 2), q.y + 1}, 40);
        return Point2{q.x + 50, 100 - (q.y + 50)};
    };
    const Element* outerUse = elementOf(svg, id);
    const Element* outer = svg.find("id", outerUse->at("href").substr(1));
    ASSERT_NE(outer, nullptr);
    const Element* innerUse = outer->children.at(0).get();
    const Element* inner = svg.find("id", innerUse->at("href").substr(1));
    ASSERT_NE(inner, nullptr);
    const auto ends = numbersIn(inner->children.at(0)->at("d"));
    ASSERT_EQ(ends.size(), 4U);
    for (const auto& [seen, wanted] : {std::pair(Point2{ends[0], ends[1]}, place({1, 0})),
                                       std::pair(Point2{ends[2], ends[3]}, place({3, 2}))}) {
        const Point2 there = apply(*outerUse, apply(*innerUse, seen));
        EXPECT_NEAR(there.x, wanted.x, 5e-3);
        EXPECT_NEAR(there.y, wanted.y, 5e-3);
    }
}

TEST_F(Plot_blocks, Colours_come_from_the_insert_and_its_layer) {
    drawing.defineBlock(u"b", {0, 0},
                        contents(line({0, 0}, {1, 0}),                // by the insert's layer
                                 coloured(0, line({0, 0}, {2, 0})),   // by the insert
                                 on(u"green", line({0, 0}, {3, 0})),  // by its own layer
                                 coloured(5, line({0, 0}, {4, 0})),   // its own
                                 coloured(0, text({0, 0}, 1, u"by"))));
    const HostLong red = drawing.add(on(u"red", insert({50, 50}, u"b")));
    const HostLong own = drawing.add(on(u"red", coloured(6, insert({50, 50}, u"b"))));
    const HostLong green = drawing.add(on(u"green", insert({50, 50}, u"b")));
    const Element& svg = root();
    EXPECT_EQ(elementOf(svg, red)->at("color"), "(none)");
    EXPECT_EQ(elementOf(svg, own)->at("color"), "#f0f");
    EXPECT_EQ(elementOf(svg, red)->at("href"), elementOf(svg, own)->at("href"));
    EXPECT_NE(elementOf(svg, red)->at("href"), elementOf(svg, green)->at("href"))
        << "layer \"0\" in it is another";
    const Element* block = svg.find("id", elementOf(svg, red)->at("href").substr(1));
    EXPECT_EQ(block->at("color"), "(none)");
    EXPECT_EQ(block->children.at(0)->at("color"), "#f00");
    EXPECT_EQ(block->children.at(1)->at("color"), "(none)");
    EXPECT_EQ(block->children.at(2)->at("color"), "#0f0");
    EXPECT_EQ(block->children.at(3)->at("color"), "#00f");
    EXPECT_EQ(block->children.at(4)->at("color"), "(none)");
    EXPECT_EQ(block->children.at(4)->at("fill"), "currentColor");
}

TEST_F(Plot_blocks, Blocks_in_blocks_hand_their_colours_on) {
    drawing.defineBlock(u"leaf", {0, 0},
                        contents(line({0, 0}, {1, 0}), coloured(0, line({0, 0}, {2, 0}))));
    drawing.defineBlock(u"tree", {0, 0},
                        contents(insert({0, 0}, u"leaf"), coloured(0, insert({5, 0}, u"leaf")),
                                 on(u"green", coloured(0, insert({9, 0}, u"leaf")))));
    const HostLong id = drawing.add(on(u"red", coloured(4, insert({50, 50}, u"tree"))));
    const Element& svg = root();
    const Element* tree = svg.find("id", elementOf(svg, id)->at("href").substr(1));
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(elementOf(svg, id)->at("color"), "#0ff");
    EXPECT_EQ(tree->children.at(0)->at("color"), "#f00") << "by layer: that of the outer insert";
    EXPECT_EQ(tree->children.at(1)->at("color"), "(none)") << "by block: whatever is current";
    EXPECT_EQ(tree->children.at(2)->at("color"), "(none)");
    const Element* leaf = svg.find("id", tree->children.at(2)->at("href").substr(1));
    EXPECT_EQ(leaf->children.at(0)->at("color"), "#0f0");
    EXPECT_EQ(leaf->children.at(1)->at("color"), "(none)");
}

TEST_F(Plot_blocks, A_grid_turns_with_its_insert) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {0, 0})));
    auto grid = insert({50, 50}, u"b", 1, 1, 90);
    grid->appearance.columns = 3;
    grid->appearance.rows = 2;
    grid->appearance.columnSpacing = 5;
    grid->appearance.rowSpacing = 2;
    const HostLong id = drawing.add(std::move(grid));
    const Element* group = elementOf(root(), id);
    ASSERT_EQ(group->children.size(), 6U);
    const auto last = matrixOf(*group->children.at(5));
    EXPECT_NEAR(last[4], 48, 1e-3);
    EXPECT_NEAR(last[5], 40, 1e-3);
}

TEST_F(Plot_blocks, Attributes_stand_in_the_drawing) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {4, 0})));
    auto object = on(u"red", insert({50, 50}, u"b", 3, 3, 90));
    auto texts = std::make_shared<std::vector<std::unique_ptr<VmDbObject>>>();
    texts->push_back(text({20, 30}, 3.6, u"No. 7"));
    object->appearance.attributes = texts;
    const HostLong id = drawing.add(std::move(object));
    const Element* group = elementOf(root(), id);
    ASSERT_EQ(group->children.size(), 2U);
    const Element& letters = *group->children.at(1);
    EXPECT_EQ(letters.tag, "text");
    EXPECT_EQ(letters.text, "No. 7");
    EXPECT_EQ(letters.at("x"), "20");
    EXPECT_EQ(letters.at("y"), "70");
    EXPECT_EQ(letters.at("font-size"), "5");
}

TEST_F(Plot_blocks, A_large_drawing_of_inserts_is_a_small_file) {
    std::vector<std::unique_ptr<VmDbObject>> parts;
    for (int i = 0; i < 1000; ++i) parts.push_back(line({0, 0}, {i / 1000.0, 1}));
    drawing.defineBlock(u"b", {0, 0}, std::move(parts));
    for (int i = 0; i < 10'000; ++i) drawing.add(insert({i % 100 * 1.0, i / 100 * 1.0}, u"b"));
    Options options;
    const Element& svg = root(options);
    EXPECT_EQ(svg.count("use"), 10'000U);
    EXPECT_EQ(svg.count("path"), 1000U);
}

TEST_F(Plot_blocks, Many_stretches_share_their_definitions) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {1, 0}), line({0, 0}, {0, 1})));
    constexpr int count = 1000;
    for (int i = 0; i < count; ++i)
        drawing.add(insert({50, 50}, u"b", 1 + i / 100.0, 1 + i / 100.0, i));
    const Element& svg = root();
    EXPECT_EQ(svg.count("use"), 1000U);
    EXPECT_LT(svg.count("path"), 200U);
    // The last one is still 10.99 times as large, and its lines are as thin as all others.
    const Element* use = elementOf(svg, count);
    const auto m = matrixOf(*use);
    const double factor = std::hypot(m[0], m[1]);
    const auto ends = numbersIn(svg.find("id", use->at("href").substr(1))->children[0]->at("d"));
    EXPECT_NEAR(factor * (ends[2] - ends[0]), 10.99, 0.01);
    EXPECT_NEAR(factor * std::stod(use->at("stroke-width")), 0.25, 1e-3);
}

TEST_F(Plot_blocks, A_block_in_itself_shows_nothing_of_itself) {
    drawing.defineBlock(u"a", {0, 0}, contents(line({0, 0}, {1, 0}), insert({2, 0}, u"b")));
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {0, 1}), insert({0, 2}, u"a")));
    drawing.add(insert({50, 50}, u"a"));
    drawing.add(insert({60, 50}, u"b"));
    const Element& svg = root();
    // No definition may lead back to itself: follow all of them.
    const std::function<int(const Element&, int)> depth = [&](const Element& element, int above) {
        EXPECT_LT(above, 20);
        if (above >= 20) return above;
        int deepest = above;
        if (element.tag == "use")
            deepest = depth(*svg.find("id", element.at("href").substr(1)), above + 1);
        for (const auto& child : element.children)
            deepest = std::max(deepest, depth(*child, above));
        return deepest;
    };
    EXPECT_GE(depth(*svg.find("id", "drawing"), 0), 1);
}

TEST_F(Plot_blocks, Blocks_that_multiply_end) {
    drawing.defineBlock(u"b0", {0, 0}, contents(line({0, 0}, {1, 0})));
    for (int i = 1; i < 14; ++i) {
        const std::u16string inner = u"b" + std::u16string(1, static_cast<char16_t>(u'0' + i - 1));
        const std::u16string name = u"b" + std::u16string(1, static_cast<char16_t>(u'0' + i));
        std::vector<std::unique_ptr<VmDbObject>> parts;
        for (int n = 0; n < 10; ++n) parts.push_back(insert({n * 1.0, 0}, inner));
        drawing.defineBlock(name, {0, 0}, std::move(parts));
    }
    const std::u16string last(1, static_cast<char16_t>(u'0' + 13));
    drawing.add(insert({50, 50}, u"b" + last));
    drawing.add(insert({50, 50}, u"b3"));
    const Picture picture = draw(drawing, millimetres());
    EXPECT_NE(picture.bytes.find("<use"), std::string::npos);
    EXPECT_LT(picture.bytes.size(), 100'000U);
    ASSERT_EQ(picture.omitted.size(), 1U);
    EXPECT_EQ(picture.omitted[0].kind, u"INSERT");
    EXPECT_EQ(picture.omitted[0].count, 1U);
}

TEST_F(Plot_blocks, A_block_larger_than_the_paper_is_written_as_far_as_it_is_seen) {
    std::vector<std::unique_ptr<VmDbObject>> parts;
    for (int i = 0; i < 1000; ++i) parts.push_back(line({i * 10.0, 0}, {i * 10.0 + 5, 0}));
    drawing.defineBlock(u"b", {0, 0}, std::move(parts));
    const HostLong id = drawing.add(coloured(1, insert({20, 50}, u"b")));
    const Element& svg = root();
    EXPECT_EQ(svg.count("use"), 0U);
    EXPECT_EQ(elementOf(svg, id)->tag, "g");
    EXPECT_LT(svg.count("path"), 12U);
    EXPECT_EQ(elementOf(svg, id)->children.at(0)->at("d"), "M20 50L25 50");
}

// --- Texts ---

TEST_F(Plot_svg, A_text_is_text_as_high_as_its_capitals) {
    const HostLong id = drawing.add(text({20, 30}, 7.2, u"Ab <&> \"c\""));
    const Element* found = elementOf(root(), id);
    EXPECT_EQ(found->tag, "text");
    EXPECT_EQ(found->at("x"), "20");
    EXPECT_EQ(found->at("y"), "70");
    EXPECT_EQ(found->at("font-size"), "10");
    EXPECT_EQ(found->at("fill"), "currentColor");
    EXPECT_EQ(found->at("stroke"), "none");
    EXPECT_EQ(found->text, "Ab <&> \"c\"");
}

TEST_F(Plot_svg, A_text_is_turned_widened_and_slanted) {
    auto object = text({20, 30}, 5, u"a", 90);
    object->appearance.widthFactor = 0.5;
    const HostLong turned = drawing.add(std::move(object));
    object = text({20, 30}, 5, u"a");
    object->appearance.oblique = 45;
    const HostLong slanted = drawing.add(std::move(object));
    object = text({-20, 30}, 5, u"a");
    object->appearance.normal = {0, 0, -1};
    const HostLong mirrored = drawing.add(std::move(object));
    const Element& svg = root();
    expectNear(matrixOf(*elementOf(svg, turned)), {0, -0.5, 1, 0, 20, 70});
    expectNear(matrixOf(*elementOf(svg, slanted)), {1, 0, -1, 1, 20, 70});
    expectNear(matrixOf(*elementOf(svg, mirrored)), {-1, 0, 0, 1, 20, 70});
}

TEST_F(Plot_svg, Texts_are_aligned) {
    const auto aligned = [this](int horizontal, int vertical) {
        auto object = text({20, 30}, 6, u"a");
        object->appearance.horizontal = horizontal;
        object->appearance.vertical = vertical;
        object->appearance.alignment = {40, 50};
        return drawing.add(std::move(object));
    };
    struct Row {
        HostLong id;
        const char *x, *y, *anchor;
    };
    const Row rows[] = {
        {aligned(0, 0), "20", "70", "(none)"}, {aligned(1, 0), "40", "50", "middle"},
        {aligned(2, 0), "40", "50", "end"},    {aligned(4, 0), "40", "53", "middle"},
        {aligned(0, 1), "40", "48", "(none)"}, {aligned(1, 2), "40", "53", "middle"},
        {aligned(2, 3), "40", "56", "end"}};
    const Element& svg = root();
    for (const Row& row : rows) {
        const Element* found = elementOf(svg, row.id);
        EXPECT_EQ(found->at("x"), row.x) << row.id;
        EXPECT_EQ(found->at("y"), row.y) << row.id;
        EXPECT_EQ(found->at("text-anchor"), row.anchor) << row.id;
    }
}

TEST_F(Plot_svg, A_fitted_text_fills_the_way_between_its_points) {
    for (const int horizontal : {3, 5}) {
        auto object = text({20, 30}, 6, u"a", 77);
        object->appearance.horizontal = horizontal;
        object->appearance.alignment = {50, 70};
        const HostLong id = drawing.add(std::move(object));
        const Element& svg = root();
        const Element* found = elementOf(svg, id);
        EXPECT_EQ(found->at("textLength"), "50");
        EXPECT_EQ(found->at("lengthAdjust"), "spacingAndGlyphs");
        expectNear(matrixOf(*found), {0.6, -0.8, 0.8, 0.6, 20, 70});
    }
}

TEST_F(Plot_svg, A_paragraph_has_lines) {
    const HostLong id = drawing.add(paragraph({20, 80}, 6, u"{\\fx|b0;one}\\Ptwo\n\\P four"));
    const Element* found = elementOf(root(), id);
    ASSERT_EQ(found->children.size(), 3U) << "an empty line only takes its place";
    EXPECT_EQ(found->children[0]->text, "one");
    EXPECT_EQ(found->children[0]->at("x"), "20");
    EXPECT_EQ(found->children[0]->at("y"), "26");
    EXPECT_EQ(found->children[1]->text, "two");
    EXPECT_EQ(found->children[1]->at("y"), "36");
    EXPECT_EQ(found->children[2]->text, " four");
    EXPECT_EQ(found->children[2]->at("y"), "56");
    EXPECT_EQ(found->at("xml:space"), "preserve");
}

TEST_F(Plot_svg, A_paragraph_is_attached_at_nine_places) {
    for (int attachment = 1; attachment <= 9; ++attachment) {
        auto object = paragraph({40, 50}, 6, u"a\\Pb");  // 16 high
        object->appearance.attachment = attachment;
        const HostLong id = drawing.add(std::move(object));
        const Element& svg = root();
        const Element* found = elementOf(svg, id);
        const char* const anchors[] = {"(none)", "middle", "end"};
        const char* const tops[] = {"56", "48", "40"};
        EXPECT_EQ(found->at("text-anchor"), anchors[(attachment - 1) % 3]) << attachment;
        EXPECT_EQ(found->children.at(0)->at("y"), tops[(attachment - 1) / 3]) << attachment;
    }
}

TEST_F(Plot_svg, Characters_that_XML_cannot_hold_are_left_out) {
    const std::u16string letters = {u'a',   0x0001, 0xD800, u'b', 0xFFFE,
                                    0xD83D, 0xDE00, u'\t',  u'c'};
    const HostLong id = drawing.add(text({20, 30}, 5, letters));
    EXPECT_EQ(elementOf(root(), id)->text, "ab\xF0\x9F\x98\x80\tc");
}

TEST_F(Plot_svg, A_text_without_a_height_is_said_not_to_be_drawn) {
    drawing.add(text({20, 30}, 0, u"a"));
    drawing.add(text({20, 30}, nan, u"a"));
    drawing.add(paragraph({20, 30}, 0, u"a"));
    const Picture picture = draw(drawing, millimetres());
    EXPECT_EQ(parsed(picture.bytes)->count("text"), 0U);
    const std::vector<Omission> wanted{{u"MTEXT", "it has no height", 1},
                                       {u"TEXT", "it has no height", 2}};
    EXPECT_EQ(picture.omitted, wanted);
}

// --- What is not drawn ---

TEST_F(Plot_svg, What_is_not_known_is_listed) {
    auto unknown = carried(u"TABLE", {});
    unknown->isShown = false;
    auto again = carried(u"TABLE", {});
    again->isShown = false;
    drawing.add(std::move(unknown));
    auto inBlock = carried(u"BODY", {});
    inBlock->isShown = false;
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {1, 1}), std::move(inBlock)));
    drawing.add(std::move(again));
    drawing.add(insert({50, 50}, u"b"));
    drawing.add(insert({60, 50}, u"b", 2, 2));
    drawing.add(insert({60, 50}, u"none"));
    const std::vector<Omission> wanted{{u"BODY", "its shape is not known", 1},
                                       {u"INSERT", "its block is not there", 1},
                                       {u"TABLE", "its shape is not known", 2}};
    EXPECT_EQ(draw(drawing, millimetres()).omitted, wanted);
}

TEST_F(Plot_svg, Options_that_cannot_be_are_refused) {
    const auto error = [this](auto change) {
        Options options;
        change(options);
        const Picture picture = draw(drawing, options);
        EXPECT_TRUE(picture.bytes.empty());
        return picture.error;
    };
    EXPECT_NE(error([](Options& o) { o.paper.width = 0; }), "");
    EXPECT_NE(error([](Options& o) { o.paper.height = nan; }), "");
    EXPECT_NE(error([](Options& o) { o.paper.width = 1e6; }), "");
    EXPECT_NE(error([](Options& o) { o.scale = 0; }), "");
    EXPECT_NE(error([](Options& o) { o.scale = inf; }), "");
    EXPECT_NE(error([](Options& o) { o.window = Box(); }), "");
}

// --- Hostile numbers ---

void expectTame(const Element& element) {
    for (const char* name : {"d", "x", "y", "transform", "font-size", "stroke-width"})
        for (const double number : numbersIn(element.at(name)))
            EXPECT_LE(std::fabs(number), 2e5) << name << " " << element.at(name).substr(0, 200);
    for (const auto& child : element.children) expectTame(*child);
}

// Every number in the document is one, and none is beyond what readers can take.
void expectTame(const std::string& document) {
    EXPECT_EQ(document.find("nan"), std::string::npos);
    EXPECT_EQ(document.find("inf"), std::string::npos);
    const auto root = parsed(document);
    EXPECT_EQ(root->tag, "svg");
    expectTame(*root);
}

TEST_F(Plot_svg, Absurd_numbers_do_no_harm) {
    const double odd[] = {0,     1e-300, -1,  1e5,  1e9, -1e12, 1e60, 1e149,
                          1e151, 1e300,  inf, -inf, nan, 50,    1e-9, 5e-324};
    drawing.defineBlock(u"b", {0, 0},
                        contents(line({0, 0}, {1, 1}), circle({0, 0}, 1), text({0, 0}, 1, u"a")));
    drawing.defineBlock(u"odd", {nan, 1e300}, contents(line({1e300, 0}, {1, inf})));
    for (const double a : odd) {
        for (const double b : odd) {
            drawing.add(line({a, b}, {b, a}));
            drawing.add(line({10, 10}, {a, b}));
            drawing.add(circle({a, b}, b));
            drawing.add(circle({50, 50}, a));
            drawing.add(arc({a, b}, b, a, b));
            drawing.add(polyline({{a, b}, {50, 50}, {b, a}}, true, {a, b, 1}));
            drawing.add(text({a, b}, b, u"a", a));
            drawing.add(text({50, 50}, a, u"a", b));
            drawing.add(insert({a, b}, u"b", a, b, b));
            drawing.add(insert({50, 50}, u"b", a, b, a));
            drawing.add(insert({50, 50}, u"odd", a, b, a));
            auto wide = polyline({{a, b}, {50, 50}});
            wide->appearance.width = a;
            wide->appearance.normal = {a, b, a};
            drawing.add(std::move(wide));
            auto slanted = text({50, 50}, 3, u"a");
            slanted->appearance.oblique = a;
            slanted->appearance.widthFactor = b;
            slanted->appearance.horizontal = 5;
            slanted->appearance.alignment = {a, b};
            drawing.add(std::move(slanted));
            auto grid = insert({50, 50}, u"b");
            grid->appearance.columns = 2;
            grid->appearance.columnSpacing = a;
            grid->appearance.rows = std::numeric_limits<int>::min();
            drawing.add(std::move(grid));
            Path path;
            path.moveTo({a, b});
            path.cubicTo({b, 50}, {50, a}, {b, b});
            path.lineTo({a, 50});
            path.close();
            drawing.add(carried(u"A", path));
            drawing.add(carried(u"B", path, true));
        }
    }
    expectTame(svg(drawing));
    expectTame(svg(drawing, {}));
    Options tiny = millimetres();
    tiny.window = Box{50, 50, 50 + 1e-9, 50 + 1e-9};
    tiny.scale.reset();
    expectTame(svg(drawing, tiny));
    Options huge = millimetres();
    huge.window = Box{-inf, -inf, inf, inf};
    huge.scale.reset();
    EXPECT_EQ(parsed(svg(drawing, huge))->tag, "svg");
    Options far = millimetres();
    far.window = Box{1e300, 1e300, 1.5e300, 2e300};
    EXPECT_EQ(parsed(svg(drawing, far))->tag, "svg");
}

TEST_F(Plot_svg, What_reaches_far_beyond_the_paper_is_cut_off_where_it_is_not_seen) {
    const auto numbers = numbersIn(pathOf(line({-1e100, 50}, {1e100, 50})));
    ASSERT_EQ(numbers.size(), 4U);
    EXPECT_EQ(numbers[1], 50);
    EXPECT_EQ(numbers[3], 50);
    EXPECT_LT(numbers[0], -1000);
    EXPECT_GT(numbers[2], 1000);
    // A circle so large that it is a line here.
    const std::string path = pathOf(circle({1e9 + 50, 50}, 1e9));
    const auto points = numbersIn(path);
    ASSERT_GE(points.size(), 4U);
    bool passes = false;
    for (std::size_t i = 0; i + 1 < points.size(); i += 2)
        passes |= std::fabs(points[i] - 50) < 0.06 && std::fabs(points[i + 1] - 50) < 11'000;
    EXPECT_TRUE(passes) << path;
}

TEST_F(Plot_svg, A_fill_beyond_all_bounds_covers_the_paper) {
    Path path;
    path.moveTo({-1e90, -1e90});
    path.lineTo({1e90, -1e90});
    path.lineTo({1e90, 1e90});
    path.lineTo({-1e90, 1e90});
    path.close();
    const auto numbers = numbersIn(pathOf(drawing.add(carried(u"SOLID", path, true))));
    ASSERT_GE(numbers.size(), 8U);
    Box box;
    for (std::size_t i = 0; i + 1 < numbers.size(); i += 2)
        box.add(Point2{numbers[i], numbers[i + 1]});
    EXPECT_TRUE(box.contains(Box{0, 0, 100, 100}));
}

TEST_F(Plot_svg, A_grid_without_end_ends) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {1, 1})));
    auto grid = insert({0, 0}, u"b");
    grid->appearance.columns = std::numeric_limits<int>::max();
    grid->appearance.rows = std::numeric_limits<int>::max();
    grid->appearance.columnSpacing = 1e-9;
    drawing.add(std::move(grid));
    Options options = millimetres();
    options.window = Box{50, 50, 60, 60};
    const Picture picture = draw(drawing, options);
    ASSERT_EQ(picture.omitted.size(), 1U);
    EXPECT_EQ(picture.omitted[0].kind, u"INSERT");
}

// --- Culling ---

TEST_F(Plot_svg, What_is_outside_of_the_window_is_not_written) {
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {4, 0})));
    drawing.add(line({200, 200}, {300, 300}));
    drawing.add(text({200, 50}, 3, u"a"));
    drawing.add(insert({200, 50}, u"b"));
    Path path;
    path.moveTo({200, 200});
    path.lineTo({201, 201});
    path.lineTo({200, 201});
    drawing.add(carried(u"HATCH", path, true));
    EXPECT_EQ(root().find("class", "layer"), nullptr);
    drawing.add(line({-300, 50}, {300, 50}));
    EXPECT_EQ(root().count("path"), 1U) << "what passes through is";
}

TEST_F(Plot_svg, Of_a_long_polyline_the_part_in_the_window_is_written) {
    std::vector<Point2> points;
    for (int i = 0; i < 100'000; ++i) points.push_back({i * 1.0, 50 + i % 2 * 1.0});
    const std::string path = pathOf(polyline(points));
    EXPECT_LT(path.size(), 3000U);
    EXPECT_GT(path.size(), 500U);
}

// --- Parts ---

TEST(Plot_numbers, Have_three_decimals_at_most) {
    const auto written = [](double number) {
        std::string text;
        appendNumber(text, number);
        return text;
    };
    EXPECT_EQ(written(0), "0");
    EXPECT_EQ(written(-0.0001), "0");
    EXPECT_EQ(written(1.5), "1.5");
    EXPECT_EQ(written(-2.0504), "-2.05");
    EXPECT_EQ(written(0.0014), "0.001");
    EXPECT_EQ(written(12345678), "12345678");
    EXPECT_EQ(written(nan), "0");
    EXPECT_EQ(written(inf), "0");
    EXPECT_EQ(written(1e300), "0");
}

}  // namespace
}  // namespace vlisp::refhost::plot
