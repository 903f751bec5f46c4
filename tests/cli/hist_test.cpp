#include "cli/picture_reader.h"
#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"
#include "picture/terminal_histogram.h"
#include "picture/ticks.h"

#include <cairo.h>
#include <cmath>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sstream>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr unsigned kUint = SAMPLEFORMAT_UINT;
constexpr unsigned kFloat = SAMPLEFORMAT_IEEEFP;

struct Scene {
    const char* name;
    Raster raster;
    const char* bins = "";
};

/* Layers that are hard to draw, and some that are not. */
std::vector<Scene> scenes()
{
    const auto random = [](auto, auto x, auto y) { return static_cast<long double>(noise(y * 4099ULL + x) % 1000); };
    const auto raster = [](unsigned bits, unsigned format, const Pixel& pixel) {
        return makeRaster(60, 60, 1, bits, format, pixel);
    };
    return {
        {"Bytes", raster(8, kUint, [](auto, auto x, auto y) { return noise(y * 4099ULL + x) % 200; })},
        {"Few", raster(8, kUint, [](auto, auto x, auto) { return x % 10 == 0 ? 7 : x % 3; })},
        {"Constant", raster(32, kFloat, [](auto...) { return 42.5L; })},
        {"ConstantByte", raster(8, kUint, [](auto...) { return 9; })},
        {"Zero", raster(64, kFloat, [](auto...) { return 0; })},
        {"Outlier", raster(64, kFloat, [](auto, auto x, auto y) { return x + y == 0 ? 1e30L : x * 0.1L; })},
        {"Extreme", raster(64, kFloat, [](auto, auto x, auto) { return x == 0 ? -1.7e308L : 1.7e308L; })},
        {"Infinite", raster(64, kFloat, [](auto, auto x, auto) { return x == 0 ? INFINITY : 1; })},
        {"Tiny", raster(64, kFloat, [](auto, auto x, auto) { return x * 4.9e-324L; })},
        {"Close", raster(64, kFloat, [](auto, auto x, auto) { return 1e9L + x * 1e-6L; })},
        {"Negative", raster(32, kFloat, [](auto, auto x, auto y) { return -20.L - x - y; })},
        {"Empty", raster(32, kFloat, [](auto...) { return NAN; })},
        {"ManyUnique", raster(16, kUint, [](auto, auto x, auto y) { return y * 60 + x + (y > 30 ? 9000 : 0); }), "unique"},
        {"FewUnique", raster(16, kUint, [](auto, auto x, auto) { return x % 3 * 20000; }), "unique"},
        {"Logarithmic", raster(16, kUint, random), "log:30"},
        {"OutOfRange", raster(16, kUint, random), "direct:2000:5"},
    };
}

class HistOf : public testing::TestWithParam<Scene> {
protected:
    HistOf()
    {
        const Scene& scene = GetParam();
        writeTiff(scratch_ / "scene.tif", scene.raster);
        std::vector<std::string> arguments{"describe", scratch_ / "scene.tif", "-o", store_};
        if (*scene.bins != '\0') {
            arguments.insert(arguments.end(), {"--bins", scene.bins});
        }
        EXPECT_EQ(run(arguments).status, 0);
    }

    Outcome hist(std::vector<std::string> more)
    {
        more.insert(more.begin(), {"hist", store_, ":scene:Layer_1"});
        return run(more);
    }

    const ScratchDirectory scratch_;
    const std::string store_ = scratch_ / "scene.img";
};

void PrintTo(const Scene& scene, std::ostream* out)
{
    *out << scene.name;
}

std::string nameOf(const testing::TestParamInfo<Scene>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Scenes, HistOf, testing::ValuesIn(scenes()), nameOf);

TEST_P(HistOf, IsAPictureWithinItsFrame)
{
    const std::string svg = scratch_ / "plot.svg";
    const std::string png = scratch_ / "plot.png";
    ASSERT_EQ(hist({"-o", svg}).status, 0);
    ASSERT_EQ(hist({"-o", png}).status, 0);
    const std::string text = contentsOf(svg);
    expectXml(svg);
    EXPECT_THAT(text, Not(testing::AnyOf(HasSubstr("\"nan"), HasSubstr("\"-nan"), HasSubstr("\"inf"))));
    for (const SvgText& label : textsOf(text)) {
        EXPECT_GE(label.x, 0) << label.text;
        EXPECT_LE(label.x, 800) << label.text;
    }
    for (const SvgBar& bar : barsOf(text)) {
        EXPECT_GE(bar.left, 0);
        EXPECT_LE(bar.right, 800);
        EXPECT_GE(bar.height, 0.99);
        EXPECT_LE(bar.height, 480);
    }
    EXPECT_EQ(barsOf(text).empty(), std::string(GetParam().name) == "Empty");

    cairo_surface_t* surface = cairo_image_surface_create_from_png(png.c_str());
    EXPECT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
    EXPECT_EQ(cairo_image_surface_get_width(surface), 1600);
    EXPECT_EQ(cairo_image_surface_get_height(surface), 960);
    cairo_surface_destroy(surface);
    const auto names = std::filesystem::directory_iterator(scratch_.path());
    EXPECT_EQ(std::distance(begin(names), end(names)), 4) << "something is left beside the pictures";
}

TEST_P(HistOf, FitsTheTerminal)
{
    const tool::OpenStore store(store_);
    const tool::StoredHistogram histogram = tool::readHistogram(store, ":scene:Layer_1");
    for (const std::size_t columns : {24, 40, 80, 133, 500}) {
        std::ostringstream out;
        tool::printHistogram(out, histogram, columns);
        std::istringstream lines(out.str());
        for (std::string line; std::getline(lines, line);) {
            const auto characters = std::count_if(line.begin(), line.end(), [](char c) { return (c & 0xc0) != 0x80; });
            EXPECT_TRUE(static_cast<std::size_t>(characters) <= columns || line.find("pixels in") != std::string::npos ||
                        line.find("minimum") != std::string::npos)
                << columns << ": " << line;
            EXPECT_EQ(line.find('\x1b'), std::string::npos);
        }
    }
}

/* The drawn bars against the counts of the pixels: as high in proportion, and where the values are. */
TEST(HistPicture, BarsAreAsHighAsTheirCounts)
{
    const ScratchDirectory scratch;
    const Raster raster = makeRaster(100, 10, 1, 8, kUint, [](auto, auto x, auto) {
        return x < 50 ? 1 : x < 75 ? 2 : x < 99 ? 3 : 7;
    });
    writeTiff(scratch / "few.tif", raster);
    ASSERT_EQ(run({"describe", scratch / "few.tif", "-o", scratch / "few.img"}).status, 0);
    ASSERT_EQ(run({"hist", scratch / "few.img", "few:Layer_1", "-o", scratch / "few.svg"}).status, 0);
    const std::string svg = contentsOf(scratch / "few.svg");
    const std::vector<SvgBar> bars = barsOf(svg);
    ASSERT_EQ(bars.size(), 4U);
    const double unit = bars[0].height / 500;
    const double counts[] = {500, 250, 240, 10};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(bars[i].height, counts[i] * unit, 0.02) << i;
    }
    const double width = bars[1].left - bars[0].left;
    EXPECT_NEAR(bars[3].left - bars[0].left, 6 * width, 0.1);
    std::map<std::string, double> labels;
    for (const SvgText& label : textsOf(svg)) {
        labels[label.text] = label.x;
    }
    EXPECT_THAT(svg, HasSubstr("mean 1.79"));
    EXPECT_THAT(svg, HasSubstr("median 1<"));
    ASSERT_TRUE(labels.count("3") == 1 && labels.count("7") == 1);
    EXPECT_NEAR(labels["3"], bars[2].left, 1);
    EXPECT_NEAR(labels["7"], bars[3].left, 1);
}

TEST(HistPicture, PngShowsTheSameBars)
{
    const ScratchDirectory scratch;
    writeTiff(scratch / "two.tif", makeRaster(10, 10, 1, 8, kUint, [](auto, auto x, auto) { return x < 8 ? 0 : 1; }));
    ASSERT_EQ(run({"describe", scratch / "two.tif", "-o", scratch / "two.img"}).status, 0);
    ASSERT_EQ(run({"hist", scratch / "two.img", "two:Layer_1", "-o", scratch / "two.svg"}).status, 0);
    ASSERT_EQ(run({"hist", scratch / "two.img", "two:Layer_1", "-o", scratch / "two.png"}).status, 0);
    const std::vector<SvgBar> bars = barsOf(contentsOf(scratch / "two.svg"));
    ASSERT_EQ(bars.size(), 2U);
    cairo_surface_t* surface = cairo_image_surface_create_from_png((scratch / "two.png").c_str());
    ASSERT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
    const auto pixelAt = [&](double x, double y) {
        const auto* row = cairo_image_surface_get_data(surface) +
                          static_cast<std::ptrdiff_t>(2 * y) * cairo_image_surface_get_stride(surface);
        return reinterpret_cast<const std::uint32_t*>(row)[static_cast<std::ptrdiff_t>(2 * x)] & 0xffffffU;
    };
    for (const SvgBar& bar : bars) {
        const double x = bar.left + (bar.right - bar.left) * 0.7;
        EXPECT_EQ(pixelAt(x, bar.bottom - bar.height + 3), 0x5486bdU);
        EXPECT_NE(pixelAt(x, bar.bottom - bar.height - 3), 0x5486bdU);
    }
    EXPECT_EQ(pixelAt(2, 2), 0xffffffU);
    cairo_surface_destroy(surface);
}

TEST(HistVerb, RefusesWhatItCannotDraw)
{
    const ScratchDirectory scratch;
    writeTiff(scratch / "one.tif", makeRaster(4, 4, 1, 8, kUint, [](auto...) { return 1; }));
    const std::string store = scratch / "one.img";
    ASSERT_EQ(run({"describe", scratch / "one.tif", "-o", store}).status, 0);
    EXPECT_EQ(run({"hist", store, "one:Layer_1", "-o", scratch / "plot.gif"}).status, 2);
    EXPECT_EQ(run({"hist", store, "one:Layer_2"}).status, 1);
    ASSERT_EQ(run({"hist", store, "one:Layer_1", "-o", scratch / "plot.svg"}).status, 0);
    const Outcome again = run({"hist", store, "one:Layer_1", "-o", scratch / "plot.svg"});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.err, "emantle: " + scratch / "plot.svg" + ": exists; --force replaces it\n");
    const json told = run({"hist", store, "one:Layer_1", "--json"}).json();
    EXPECT_EQ(told["counts"][1], 16);
    EXPECT_EQ(told["limits"][1], json({1, 2}));
    EXPECT_EQ(told["statistics"]["mean"], 1);
}

/* Over many ranges: few enough, within the range, apart from each other, and the text says the value. */
TEST(Ticks, AreRoundAndTellThemselvesApart)
{
    const double lows[] = {0, -1, 1, -1e-9, 99.7, 1e9, -3.2e5, 5e-324, 1e299, 123456.789};
    const double spans[] = {1, 3e-7, 0.1, 7, 255, 1e6, 9.99e20, 1e299};
    for (const double low : lows) {
        for (const double span : spans) {
            for (std::size_t most = 2; most <= 12; ++most) {
                SCOPED_TRACE(std::to_string(low) + " and " + std::to_string(span));
                const auto ticks = tool::roundTicks(low, low + span, most);
                ASSERT_GE(ticks.size(), 1U);
                EXPECT_LE(ticks.size(), most + 1);
                std::set<std::string> texts;
                const double room = span * 1e-6 + std::fabs(low) * 1e-15;
                for (const tool::Tick& tick : ticks) {
                    EXPECT_GE(tick.value, low - room);
                    EXPECT_LE(tick.value, low + span + room);
                    EXPECT_NEAR(std::stod(tick.text), tick.value, span * 1e-3 + std::fabs(tick.value) * 1e-14);
                    texts.insert(tick.text);
                }
                EXPECT_TRUE(texts.size() == ticks.size() || low + span == low);
            }
        }
    }
    EXPECT_EQ(tool::groupedText(1234567), "1,234,567");
    EXPECT_EQ(tool::groupedText(-123456), "-123,456");
    EXPECT_EQ(tool::groupedText(999), "999");
}

}  // namespace
