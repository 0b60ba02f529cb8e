// Tests of pictures as PDF and PNG.
// One idea: a PNG is read back and its pixels are looked at where something must be; a PDF is asked
// for its text.
// Covers: refhost/plot/canvas_picture.cpp, refhost/plot/cairo_canvas.cpp, refhost/plot/plot.cpp.
#include "plot_support.h"

#include "refhost/plot/colour.h"
#include "tests/support/special_numbers.h"

#include <array>
#include <cairo.h>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace vlisp::refhost::plot {
namespace {

using vlisp::test::inf;
using vlisp::test::nan;

class Pixels {
  public:
    explicit Pixels(const std::string& png) : rest_(png) {
        surface_ = cairo_image_surface_create_from_png_stream(
            [](void* self, unsigned char* to, unsigned count) {
                std::string_view& rest = static_cast<Pixels*>(self)->rest_;
                if (rest.size() < count) return CAIRO_STATUS_READ_ERROR;
                std::memcpy(to, rest.data(), count);
                rest.remove_prefix(count);
                return CAIRO_STATUS_SUCCESS;
            },
            this);
    }
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;
    ~Pixels() { cairo_surface_destroy(surface_); }

    [[nodiscard]] int width() const { return cairo_image_surface_get_width(surface_); }
    [[nodiscard]] int height() const { return cairo_image_surface_get_height(surface_); }
    [[nodiscard]] std::uint32_t at(int x, int y) const {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel,
                    cairo_image_surface_get_data(surface_) +
                        y * cairo_image_surface_get_stride(surface_) + 4 * x,
                    sizeof pixel);
        return pixel & 0xFFFFFF;
    }
    /// How many pixels of a rectangle are not of this colour.
    [[nodiscard]] int countOther(std::uint32_t colour, int left, int top, int right,
                                 int bottom) const {
        int count = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x) count += at(x, y) != colour ? 1 : 0;
        return count;
    }

  private:
    std::string_view rest_;
    cairo_surface_t* surface_;
};

// Ten pixels to the millimetre of millimetres().
Options tenths() {
    Options options = millimetres();
    options.kind = Kind::png;
    options.pixels = 1000;
    return options;
}

Options pdf() {
    Options options = millimetres();
    options.kind = Kind::pdf;
    return options;
}

// --- PNG ---

TEST(Plot_png, Is_as_large_as_the_paper_at_its_resolution) {
    const Drawing drawing;
    Options options;
    options.kind = Kind::png;
    options.dpi = 25.4;
    const std::string bytes = draw(drawing, options).bytes;
    EXPECT_EQ(bytes.substr(0, 8), "\x89PNG\r\n\x1a\n");
    const Pixels pixels(bytes);
    EXPECT_EQ(pixels.width(), 210);
    EXPECT_EQ(pixels.height(), 297);
    EXPECT_EQ(pixels.countOther(white, 0, 0, 210, 297), 0) << "an empty drawing is an empty sheet";
    options.pixels = 594;
    EXPECT_EQ(Pixels(draw(drawing, options).bytes).width(), 420);
}

TEST(Plot_png, Has_bounds) {
    const Drawing drawing;
    for (const auto& change : std::vector<std::function<void(Options&)>>{
             [](Options& o) { o.dpi = 0; }, [](Options& o) { o.dpi = -1; },
             [](Options& o) { o.dpi = nan; }, [](Options& o) { o.dpi = inf; },
             [](Options& o) { o.dpi = 1e5; }, [](Options& o) { o.pixels = mostPixels + 1; },
             [](Options& o) { o.pixels = 0; }, [](Options& o) { o.pixels = -5; },
             [](Options& o) {
                 o.pixels = mostPixels;
                 o.paper = {100, 100, false};
             }}) {
        Options options;
        options.kind = Kind::png;
        change(options);
        const Picture picture = draw(drawing, options);
        EXPECT_EQ(picture.bytes, "");
        EXPECT_NE(picture.error.find("pixels"), std::string::npos);
    }
}

TEST(Plot_png, Lines_are_where_they_are_and_as_wide_as_they_weigh) {
    Drawing drawing;
    auto thick = coloured(1, line({20, 30}, {80, 30}));
    thick->lineweight = 200;
    drawing.add(std::move(thick));
    const Pixels pixels(draw(drawing, tenths()).bytes);
    EXPECT_EQ(pixels.at(500, 700), 0xFF0000U);
    EXPECT_EQ(pixels.at(500, 692), 0xFF0000U);
    EXPECT_EQ(pixels.at(500, 707), 0xFF0000U);
    EXPECT_EQ(pixels.at(500, 688), white);
    EXPECT_EQ(pixels.at(500, 712), white);
    EXPECT_EQ(pixels.at(150, 700), white);
    EXPECT_EQ(pixels.at(850, 700), white);
}

TEST(Plot_png, Curves_fills_bands_and_blocks_are_drawn) {
    Drawing drawing;
    drawing.add(coloured(1, circle({30, 70}, 10)));
    Path path;
    path.moveTo({60, 60});
    path.lineTo({80, 60});
    path.lineTo({80, 80});
    path.lineTo({60, 80});
    path.close();
    path.moveTo({68, 68});
    path.lineTo({72, 68});
    path.lineTo({72, 72});
    path.lineTo({68, 72});
    path.close();
    drawing.add(coloured(3, carried(u"HATCH", path, true)));
    auto band = coloured(5, polyline({{20, 50}, {80, 50}}));
    band->appearance.width = 4;
    drawing.add(std::move(band));
    drawing.defineBlock(u"b", {0, 0}, contents(coloured(0, polyline({{0, 0}, {4, 0}}))));
    drawing.add(coloured(6, insert({40, 20}, u"b", 5, 5, 90)));
    const Pixels pixels(draw(drawing, tenths()).bytes);
    EXPECT_EQ(pixels.at(400, 300), 0xFF0000U) << "the circle";
    EXPECT_EQ(pixels.at(300, 300), white) << "its centre";
    EXPECT_EQ(pixels.at(650, 350), 0x00FF00U) << "the fill";
    EXPECT_EQ(pixels.at(700, 300), white) << "its hole";
    EXPECT_EQ(pixels.at(500, 482), 0x0000FFU) << "the band";
    EXPECT_EQ(pixels.at(500, 518), 0x0000FFU);
    EXPECT_EQ(pixels.at(500, 523), white);
    EXPECT_EQ(pixels.at(195, 500), white) << "bands end flat";
    EXPECT_EQ(pixels.at(400, 700), 0xFF00FFU) << "the insert's line";
}

TEST(Plot_png, Texts_are_drawn_where_they_stand) {
    Drawing drawing;
    drawing.add(text({20, 40}, 10, u"HHH"));
    auto right = text({0, 0}, 10, u"HHH");
    right->appearance.horizontal = 2;
    right->appearance.alignment = {85, 20};
    drawing.add(std::move(right));
    const Pixels pixels(draw(drawing, tenths()).bytes);
    EXPECT_GT(pixels.countOther(white, 200, 495, 500, 605), 2000);
    EXPECT_EQ(pixels.countOther(white, 100, 480, 900, 498), 0) << "no higher than its height";
    EXPECT_EQ(pixels.countOther(white, 100, 602, 900, 690), 0) << "nothing below the baseline";
    EXPECT_EQ(pixels.countOther(white, 100, 480, 198, 620), 0) << "nothing before it";
    EXPECT_GT(pixels.countOther(white, 600, 695, 850, 805), 2000);
    EXPECT_EQ(pixels.countOther(white, 852, 690, 900, 810), 0) << "nothing behind its end";
}

TEST(Plot_png, A_fitted_text_is_as_long_as_its_way) {
    Drawing drawing;
    auto fitted = text({20, 50}, 4, u"HH");
    fitted->appearance.horizontal = 5;
    fitted->appearance.alignment = {80, 50};
    drawing.add(std::move(fitted));
    const Pixels pixels(draw(drawing, tenths()).bytes);
    EXPECT_GT(pixels.countOther(white, 200, 455, 300, 505), 100);
    EXPECT_GT(pixels.countOther(white, 700, 455, 800, 505), 100);
    EXPECT_EQ(pixels.countOther(white, 802, 455, 900, 505), 0);
}

TEST(Plot_png, A_dark_ground_is_dark) {
    Drawing drawing;
    auto thick = line({20, 30}, {80, 30});
    thick->lineweight = 200;
    drawing.add(std::move(thick));
    Options options = tenths();
    options.dark = true;
    const Pixels pixels(draw(drawing, options).bytes);
    EXPECT_EQ(pixels.at(10, 10), darkGround);
    EXPECT_EQ(pixels.at(500, 700), white);
}

TEST(Plot_png, What_lies_outside_of_the_window_is_cut_off) {
    Drawing drawing;
    auto thick = line({-50, 50}, {150, 50});
    thick->lineweight = 200;
    drawing.add(std::move(thick));
    Options options = tenths();
    options.window = Box{40, 40, 60, 60};
    const Pixels pixels(draw(drawing, options).bytes);
    EXPECT_EQ(pixels.at(500, 500), black);
    EXPECT_EQ(pixels.at(395, 500), white);
    EXPECT_EQ(pixels.at(605, 500), white);
}

TEST(Plot_png, What_is_smaller_than_a_pixel_is_a_dot) {
    Drawing drawing;
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {1, 1}), circle({0, 0}, 1)));
    drawing.add(insert({50, 50}, u"b", 1e-4, 1e-4));
    const Pixels pixels(draw(drawing, tenths()).bytes);
    EXPECT_GT(pixels.countOther(white, 490, 490, 510, 510), 0);
}

TEST(Plot_png, Many_lines_of_many_looks_keep_their_looks) {
    Drawing drawing;
    for (int i = 0; i < 700; ++i) {
        auto object = line({20 + i % 2 * 30.0, 20 + i / 12.0}, {45 + i % 2 * 30.0, 20 + i / 12.0});
        object->colour = i % 2 == 0 ? 1 : 5;
        object->lineweight = 30;
        drawing.add(std::move(object));
    }
    const Pixels pixels(draw(drawing, tenths()).bytes);
    for (int y = 250; y < 790; y += 60) {
        EXPECT_EQ(pixels.at(300, y), 0xFF0000U) << y;
        EXPECT_EQ(pixels.at(600, y), 0x0000FFU) << y;
    }
}

// --- PDF ---

// What a program that reads PDFs finds as text in it, without blanks and line ends.
std::string textOf(const std::string& bytes) {
    const std::string name = testing::TempDir() + "vlisp_plot_test.pdf";
    std::ofstream(name, std::ios::binary) << bytes;
    FILE* const pipe = popen(("pdftotext -enc UTF-8 '" + name + "' -").c_str(), "r");
    std::string text;
    std::array<char, 4096> buffer{};
    while (pipe != nullptr && std::fgets(buffer.data(), buffer.size(), pipe) != nullptr)
        text += buffer.data();
    const int status = pipe == nullptr ? -1 : pclose(pipe);
    std::remove(name.c_str());
    EXPECT_EQ(status, 0) << "pdftotext";
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n' || c == '\f'; });
    return text;
}

TEST(Plot_pdf, Is_a_sheet_in_points) {
    const Drawing drawing;
    Options options;
    options.kind = Kind::pdf;
    options.paper = {254, 127, false};
    const std::string bytes = draw(drawing, options).bytes;
    EXPECT_EQ(bytes.substr(0, 5), "%PDF-");
    EXPECT_NE(bytes.find("%%EOF"), std::string::npos);
    EXPECT_NE(bytes.find("/MediaBox [ 0 0 720 360 ]"), std::string::npos);
}

TEST(Plot_pdf, Its_letters_are_text) {
    Drawing drawing;
    drawing.add(text({20, 80}, 5, u"Flange %%c120"));
    drawing.add(text({20, 60}, 5, u"\u0424\u043B\u0430\u043D\u0435\u0446", 30));
    drawing.add(paragraph({20, 50}, 4, u"{\\H2;one}\\Ptwo"));
    drawing.defineBlock(u"b", {0, 0}, contents(text({0, 0}, 2, u"inside")));
    drawing.add(insert({20, 20}, u"b", 2, 2));
    const std::string found = textOf(draw(drawing, pdf()).bytes);
    for (const char* part : {"Flange",
                             "\xE2\x8C\x80"
                             "120",
                             "one", "two", "inside", "\xD0\xA4", "\xD0\xBB", "\xD0\xB0"})
        EXPECT_NE(found.find(part), std::string::npos) << part << " in " << found;
    EXPECT_EQ(found.find("H2"), std::string::npos);
}

TEST(Plot_pdf, Says_what_is_not_drawn) {
    Drawing drawing;
    auto unknown = carried(u"TABLE", {});
    unknown->isShown = false;
    drawing.add(std::move(unknown));
    const std::vector<Omission> wanted{{u"TABLE", "its shape is not known", 1}};
    EXPECT_EQ(draw(drawing, pdf()).omitted, wanted);
}

TEST(Plot_pdf, Absurd_numbers_do_no_harm) {
    Drawing drawing;
    const double odd[] = {0, -1, 1e9, 1e60, 1e149, 1e300, inf, nan, 50, 1e-9, 5e-324};
    drawing.defineBlock(u"b", {0, 0}, contents(line({0, 0}, {1, 1}), text({0, 0}, 1, u"a")));
    for (const double a : odd)
        for (const double b : odd) {
            drawing.add(line({10, 10}, {a, b}));
            drawing.add(circle({a, b}, b));
            drawing.add(polyline({{a, b}, {50, 50}, {b, a}}, true, {a, b, 1}));
            drawing.add(text({50, 50}, a, u"a", b));
            drawing.add(insert({50, 50}, u"b", a, b, a));
            auto slanted = text({50, 50}, 3, u"a");
            slanted->appearance.oblique = a;
            slanted->appearance.widthFactor = b;
            slanted->appearance.horizontal = 5;
            slanted->appearance.alignment = {a, b};
            slanted->appearance.normal = {a, b, b};
            drawing.add(std::move(slanted));
        }
    // Drawn last: it shows that nothing before has spoilt the picture.
    auto last = coloured(1, line({20, 30}, {80, 30}));
    last->lineweight = 200;
    drawing.add(std::move(last));
    drawing.add(text({20, 20}, 5, u"thelast"));
    Options options = pdf();
    EXPECT_NE(textOf(draw(drawing, options).bytes).find("thelast"), std::string::npos);
    options.kind = Kind::png;
    options.pixels = 1000;
    EXPECT_EQ(Pixels(draw(drawing, options).bytes).at(500, 705), 0xFF0000U);
}

}  // namespace
}  // namespace vlisp::refhost::plot
