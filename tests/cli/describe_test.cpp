#include "cli/oracle.h"
#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

constexpr unsigned kUint = SAMPLEFORMAT_UINT;
constexpr unsigned kInt = SAMPLEFORMAT_INT;
constexpr unsigned kFloat = SAMPLEFORMAT_IEEEFP;
constexpr unsigned kComplex = SAMPLEFORMAT_COMPLEXIEEEFP;
constexpr long double kNaN = std::numeric_limits<long double>::quiet_NaN();

/* An image that is made when its test runs. */
struct Recipe {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t layers;
    unsigned bits;
    unsigned format;
    Pixel pixel;

    Raster make() const { return makeRaster(width, height, layers, bits, format, pixel); }
};

struct Case {
    std::string name;
    Recipe recipe;
    Storage storage = {};
    std::vector<std::string> arguments = {};
    Look look = {};
    Bins bins = {};
};

void PrintTo(const Case& one, std::ostream* out)
{
    *out << one.name;
}

std::uint64_t seedOf(std::uint32_t layer, std::uint32_t x, std::uint32_t y)
{
    return (static_cast<std::uint64_t>(layer) * 100003 + y) * 1000003 + x;
}

/* Whole numbers from `low` on, `count` of them. */
Pixel wholes(long double low, std::uint32_t count)
{
    return [=](auto layer, auto x, auto y) { return low + noise(seedOf(layer, x, y)) % count; };
}

/* Hills of some 300 units height with noise of a few. */
long double elevation(std::uint32_t layer, std::uint32_t x, std::uint32_t y)
{
    const double hills = std::sin(x / 17.0 + layer) * std::cos(y / 23.0) + 0.5 * std::sin((x + y) / 31.0);
    return 1200 + 300 * hills + noise(seedOf(layer, x, y)) % 4096 / 512.0;
}

Recipe recipe(std::uint32_t width, std::uint32_t height, std::uint32_t layers, unsigned bits, unsigned format,
              const Pixel& pixel)
{
    return {width, height, layers, bits, format, pixel};
}

Recipe terrain(unsigned bits, std::uint32_t layers = 1, const Pixel& holes = nullptr)
{
    return recipe(111, 111, layers, bits, kFloat, [=](auto layer, auto x, auto y) -> Raster::Value {
        const Raster::Value hole = holes ? holes(layer, x, y) : 0;
        return hole == Raster::Value(0) ? elevation(layer, x, y) : hole;
    });
}

/* The bins that a type gets when nothing is asked for. */
Bins usualBins(const Raster& raster)
{
    if (raster.bits > 8) {
        return {};
    }
    return raster.format == kInt ? Bins{"Direct", 256, -128} : Bins{"Direct", 1U << raster.bits, 0};
}

class Describe : public testing::TestWithParam<Case> {};

TEST_P(Describe, FiguresAreThoseOfThePixels)
{
    const Case& one = GetParam();
    const ScratchDirectory scratch;
    const Raster raster = one.recipe.make();
    writeTiff(scratch / "image.tif", raster, one.storage);
    expectDescribes(describe(scratch / "image.tif", one.arguments), raster, one.look, one.bins);
}

std::vector<Case> scenes()
{
    const Bins bytes{"Direct", 256, 0};
    const Bins signedBytes{"Direct", 256, -128};
    const auto patches = [](long double value) {
        return [=](std::uint32_t layer, std::uint32_t x, std::uint32_t y) -> Raster::Value {
            return (x / 9 + y / 7 + layer) % 5 == 0 ? value : 0;
        };
    };
    std::vector<Case> cases{
        {"Elevation", terrain(32), {.compression = COMPRESSION_ADOBE_DEFLATE, .predictor = 3}},
        {"ElevationWithHoles", terrain(32, 1, patches(-9999)), {.noData = "-9999"}, {}, {{-9999}}},
        /* The text is no float; the pixels hold the float next to it. */
        {"NoDataBetweenFloats", terrain(32, 2, patches(-9999.1L)), {.noData = " -9999.1\n"}, {}, {{-9999.1}}},
        {"LargestFloatAsNoData",
         terrain(32, 1, patches(-3.4028234663852886e38L)),
         {.noData = "-3.40282346638529e+38"},
         {},
         {{-3.4028234663852886e38}}},
        {"NaNAsNoData", terrain(64, 2, patches(kNaN)), {.compression = COMPRESSION_ZSTD, .tile = 32, .noData = "nan"}},
        {"NoDataThatIsNoNumber", terrain(64), {.noData = "none"}},
        {"NoDataThatDoesNotFit", recipe(40, 30, 1, 8, kUint, wholes(0, 256)), {.noData = "-1"}, {}, {}, bytes},
        {"AllNegative",
         recipe(77, 50, 2, 16, kInt, wholes(-3000, 2000)),
         {.compression = COMPRESSION_PACKBITS, .mode = "w8"}},
        {"AllNegativeWithHoles",
         recipe(
             77, 50, 2, 16, kInt,
             [](auto layer, auto x, auto y) { return (x % 5 == y % 3 ? -32768.L : wholes(-30000, 900)(layer, x, y)); }),
         {.noData = "-32768"},
         {},
         {{-32768}}},
        {"AllNegativeFloats",
         recipe(64, 64, 3, 64, kFloat, [](auto layer, auto x, auto y) { return -elevation(layer, x, y); }),
         {.planar = true}},
        {"DifferentHolesInEachLayer", terrain(32, 3, patches(kNaN)), {.planar = true}, {"--exclude", "1200"}, {{1200}}},
        {"OneLayerGone",
         recipe(30, 30, 2, 16, kUint,
                [](auto layer, auto x, auto y) { return layer == 1 ? 7 : wholes(10, 500)(layer, x, y); }),
         {},
         {"--exclude", "7"},
         {{7}}},
        {"NothingButNaN", recipe(20, 20, 1, 32, kFloat, [](auto...) { return kNaN; })},
        {"OnePixel", recipe(1, 1, 2, 16, kUint, wholes(5, 1000))},
        {"Constant", recipe(50, 40, 2, 32, kInt, [](auto...) { return -17; })},
        {"LongRows", recipe(70001, 3, 1, 8, kUint, wholes(0, 200)), {.rowsPerStrip = 1}, {}, {}, bytes},
        {"ManyDirectories",
         recipe(64, 48, 3, 8, kUint, wholes(3, 90)),
         {.compression = COMPRESSION_LZW, .tile = 16, .furtherDirectories = 2},
         {},
         {},
         bytes},
        {"BigEndian",
         recipe(33, 21, 2, 32, kInt, wholes(-5000, 9000)),
         {.compression = COMPRESSION_LZW, .predictor = 2, .mode = "wb"}},
        {"BigEndianPlanarHalves", recipe(33, 21, 2, 16, kUint, wholes(0, 65536)), {.planar = true, .mode = "w8b"}},
        {"Lzma", recipe(90, 40, 2, 16, kUint, wholes(100, 30000)), {.compression = COMPRESSION_LZMA}},
        {"FaxBits",
         recipe(101, 64, 1, 1, kUint, wholes(0, 2)),
         {.compression = COMPRESSION_CCITTFAX4, .noData = ""},
         {},
         {},
         {"Direct", 2, 0}},
        {"OneLongStripOfManyLayers",
         recipe(520, 521, 8, 64, kFloat, elevation),
         {.compression = COMPRESSION_ADOBE_DEFLATE, .rowsPerStrip = 521}},
        {"OneLongStripALayer",
         recipe(1460, 1450, 2, 64, kFloat,
                [](auto layer, auto x, auto y) { return (x * 31 + y * 17 + layer * x) % 1009; }),
         {.compression = COMPRESSION_LZW, .planar = true, .rowsPerStrip = 1450}},
        {"EverySecondColumn",
         recipe(67, 45, 2, 8, kInt, wholes(-100, 201)),
         {.tile = 16},
         {"--skip", "2,1"},
         {{}, 2, 1},
         signedBytes},
        {"FewRows", terrain(32, 2, patches(-1)), {.noData = "-1"}, {"--skip", "3,20"}, {{-1}, 3, 20}},
        {"SkippedToOnePixel", terrain(64), {}, {"--skip", "1000"}, {{}, 1000, 1000}},
    };
    return cases;
}

std::vector<Case> binnings()
{
    const auto words = recipe(83, 47, 2, 16, kUint, wholes(40, 900));
    const auto signedWords = recipe(83, 47, 1, 16, kInt, wholes(-700, 900));
    const auto longs = recipe(83, 47, 1, 32, kInt, wholes(-100000, 70000));
    return {
        {"DirectOfWords", words, {}, {"--bins", "direct"}, {}, {"Direct", 65536, 0}},
        {"DirectOfSignedWords", signedWords, {}, {"--bins", "direct"}, {}, {"Direct", 65536, -32768}},
        {"DirectOfLongs",
         recipe(50, 50, 1, 32, kInt, [](auto, auto x, auto y) { return 2 * (x + y) - 90.L; }),
         {},
         {"--bins", "direct"},
         {},
         {"Direct", 197, -90}},
        {"DirectWithValuesOutside", words, {}, {"--bins", "direct:200:100"}, {}, {"Direct", 100, 200}},
        {"DirectOfFloatsBetweenWholes",
         terrain(64),
         {},
         {"--bins", "direct:1000.25:300"},
         {},
         {"Direct", 300, 1000.25}},
        {"DirectOfSignedOutside", signedWords, {}, {"--bins", "direct:-650.5:10"}, {}, {"Direct", 10, -650.5}},
        {"LinearOfBytes", recipe(83, 47, 3, 8, kUint, wholes(17, 90)), {}, {"--bins", "linear"}, {}, {"Linear", 256}},
        {"FewLinear", longs, {}, {"--bins", "linear:7"}, {}, {"Linear", 7}},
        {"OneLinear", terrain(32), {}, {"--bins", "linear:1"}, {}, {"Linear", 1}},
        {"Logarithmic", terrain(32), {}, {"--bins", "log"}, {}, {"Logarithmic (Toolkit)", 256}},
        {"FewLogarithmic", longs, {}, {"--bins", "log:12"}, {}, {"Logarithmic (Toolkit)", 12}},
        {"UniqueOfWords", words, {}, {"--bins", "unique", "--exclude", "41,50"}, {{41, 50}}, {"Unique Value"}},
        {"UniqueOfLongs", longs, {}, {"--bins", "unique:4000"}, {}, {"Unique Value"}},
        {"UniqueSampled", words, {}, {"--bins", "unique", "--skip", "4,3"}, {{}, 4, 3}, {"Unique Value"}},
        {"UniqueJustFits",
         recipe(20, 20, 1, 8, kUint, [](auto, auto x, auto) { return 3 * x; }),
         {},
         {"--bins", "unique:20"},
         {},
         {"Unique Value"}},
        {"UniqueOfFloats",
         recipe(64, 64, 1, 32, kFloat,
                [](auto layer, auto x, auto y) { return (x + y) % 11 == 0 ? kNaN : elevation(layer, x % 8, y % 8); }),
         {},
         {"--bins", "unique"},
         {},
         {"Unique Value"}},
        {"UniqueZerosOfBothSigns",
         recipe(30, 30, 1, 64, kFloat, [](auto, auto x, auto y) { return (x % 2 == 0 ? -1.L : 1.L) * (y % 3); }),
         {},
         {"--bins", "unique"},
         {},
         {"Unique Value"}},
        {"TooManyUnique", terrain(32, 2), {}, {"--bins", "unique:50"}, {}, {"Linear", 256}},
    };
}

std::string nameOf(const testing::TestParamInfo<Case>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Scenes, Describe, testing::ValuesIn(scenes()), nameOf);
INSTANTIATE_TEST_SUITE_P(Binnings, Describe, testing::ValuesIn(binnings()), nameOf);

/* Magnitudes of these are whole, so that they are exact in any precision. */
Raster::Value wholeMagnitude(std::uint64_t seed)
{
    static constexpr int kTriples[][2] = {{3, 4}, {5, 12}, {15, 8}, {7, 24}, {0, 1}, {20, 21}};
    const auto& triple = kTriples[noise(seed) % 6];
    const long double factor = static_cast<int>(noise(seed + 1) % 61) - 30;
    return {factor * triple[0], factor * triple[1]};
}

Raster anyOf(unsigned bits, unsigned format)
{
    return makeRaster(67, 45, 3, bits, format, [=](auto layer, auto x, auto y) -> Raster::Value {
        const std::uint64_t seed = seedOf(layer, x, y);
        if (format == kComplex) {
            return wholeMagnitude(seed);
        }
        if (format == kFloat) {
            return elevation(layer, x, y) - 1100;
        }
        const long double span = std::exp2(static_cast<long double>(bits));
        const long double low = format == kInt ? -span / 2 : 0;
        switch (noise(seed) % 16) {
        case 0:
            return low;
        case 1:
            return low + span - 1;
        case 2:
            return bits == 1 && format == kInt ? 0 : 1;
        default:
            return low + std::floor(span * (noise(seed + 7) / 4294967296.0L));
        }
    });
}

/* Every type in every layout, without and with a value left out. */
TEST(DescribeTypes, EveryLayoutGivesTheSameFigures)
{
    const std::pair<unsigned, unsigned> formats[] = {
        {1, kUint},  {2, kUint}, {4, kUint},   {8, kUint},   {16, kUint},    {32, kUint},
        {64, kUint}, {1, kInt},  {2, kInt},    {4, kInt},    {8, kInt},      {16, kInt},
        {32, kInt},  {64, kInt}, {32, kFloat}, {64, kFloat}, {64, kComplex}, {128, kComplex}};
    const Storage layouts[] = {{},
                               {.compression = COMPRESSION_LZW, .planar = true, .rowsPerStrip = 45},
                               {.compression = COMPRESSION_ADOBE_DEFLATE, .tile = 32, .mode = "w8"},
                               {.planar = true, .tile = 16}};
    const ScratchDirectory scratch;
    std::vector<std::string> arguments{"describe", "--json"};
    std::vector<Raster> rasters;
    for (const auto& [bits, format] : formats) {
        for (const Storage& storage : layouts) {
            rasters.push_back(anyOf(bits, format));
            arguments.push_back(scratch / std::to_string(bits) + "_" + std::to_string(format) + "_" +
                                std::to_string(rasters.size()) + ".tif");
            writeTiff(arguments.back(), rasters.back(), storage);
        }
    }
    for (const Look& look : {Look{}, Look{{1}, 1, 1}, Look{{1, -1, 0}, 5, 2}}) {
        std::vector<std::string> all = arguments;
        all.push_back("--skip=" + std::to_string(look.skipX) + "," + std::to_string(look.skipY));
        if (!look.exclude.empty()) {
            all.push_back("--exclude=");
        }
        for (const double value : look.exclude) {
            all.back() += (value == look.exclude.front() ? "" : ",") + std::to_string(value);
        }
        const Outcome outcome = run(all);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        const nlohmann::json images = outcome.json()["images"];
        ASSERT_EQ(images.size(), rasters.size());
        for (std::size_t i = 0; i < rasters.size() && !HasFailure(); ++i) {
            SCOPED_TRACE(arguments[i + 2] + ", " + std::to_string(look.exclude.size()) + " values left out");
            EXPECT_EQ(images[i]["path"], arguments[i + 2]);
            expectDescribes(images[i], rasters[i], look, usualBins(rasters[i]));
        }
    }
}

TEST(DescribeSample, EveryFigureOfTheSceneIsRight)
{
    const std::string path = std::string(EMANTLE_SAMPLES) + "/landsat7_olinda.tif";
    TIFF* file = TIFFOpen(path.c_str(), "r");
    ASSERT_NE(file, nullptr);
    Raster raster{349, 352, 6, 8, kUint, std::vector<Raster::Value>(349 * 352 * 6)};
    std::vector<std::uint8_t> row(349 * 6);
    for (std::uint32_t y = 0; y < raster.height; ++y) {
        ASSERT_EQ(TIFFReadScanline(file, row.data(), y), 1);
        for (std::uint32_t x = 0; x < raster.width; ++x) {
            for (std::uint32_t layer = 0; layer < raster.layers; ++layer) {
                raster.values[(layer * 352 + y) * 349 + x] = row[x * 6 + layer];
            }
        }
    }
    TIFFClose(file);
    expectDescribes(describe(path), raster, {}, {"Direct", 256, 0});
    expectDescribes(describe(path, {"--exclude", "0,255", "--skip", "2,3", "--bins", "linear:64"}), raster,
                    {{0, 255}, 2, 3}, {"Linear", 64});
}

/* A value that never ends spoils the figures that it enters and no others; it never ends the tool. */
TEST(DescribeLimits, InfinitiesAndLargestNumbersAreCounted)
{
    const ScratchDirectory scratch;
    const long double infinity = std::numeric_limits<long double>::infinity();
    const long double largest = std::numeric_limits<double>::max();
    const struct {
        const char* name;
        long double low;
        long double high;
    } cases[] = {{"up", 1, infinity},
                 {"down", -infinity, 1},
                 {"both", -infinity, infinity},
                 {"only", infinity, infinity},
                 {"wide", -largest, largest}};
    for (const auto& one : cases) {
        for (const char* bins : {"linear", "log", "unique", "direct:0:10"}) {
            SCOPED_TRACE(std::string(one.name) + " in " + bins);
            const Raster raster = makeRaster(40, 40, 2, 64, kFloat, [&](auto, auto x, auto y) {
                return x == 3 ? one.low : y == 4 ? one.high : one.high == one.low ? one.low : 0.5L;
            });
            writeTiff(scratch / "image.tif", raster);
            const nlohmann::json image = describe(scratch / "image.tif", {"--bins", bins});
            ASSERT_TRUE(image.is_object());
            EXPECT_EQ(image["layers"][0]["count"], 1600);
            double sum = 0;
            for (const auto& count : image["layers"][1]["histogram"]) {
                sum += count.get<double>();
            }
            EXPECT_EQ(sum, 1600);
        }
    }
}

TEST(DescribeLimits, AConstantOfNoFiniteBinaryFractionHasNoSpreadToSpeakOf)
{
    const ScratchDirectory scratch;
    for (const long double value : {0.1L, 1e10L / 3, -2.3e-7L}) {
        writeTiff(scratch / "image.tif",
                  makeRaster(100, 100, 2, 64, kFloat, [&](auto...) { return static_cast<double>(value); }));
        const nlohmann::json image = describe(scratch / "image.tif");
        const double spread = number(image["layers"][0]["stddev"]);
        EXPECT_LE(spread, 1e-6 * std::fabs(static_cast<double>(value)));
        EXPECT_GE(spread, 0);
    }
}

TEST(DescribeOutput, ImagesComeInOrderAndRemarksGoToStandardError)
{
    const ScratchDirectory scratch;
    writeTiff(scratch / "few.tif", smallRaster());
    writeTiff(scratch / "many.tif", makeRaster(40, 40, 1, 16, kUint, wholes(0, 60000)));
    const std::vector<std::string> arguments{"describe", scratch / "many.tif", scratch / "few.tif", "--bins",
                                             "unique:30"};
    const Outcome told = run(arguments);
    EXPECT_EQ(told.status, 0);
    EXPECT_EQ(told.err,
              "emantle: " + scratch / "many.tif" + ": more than 30 distinct values; counted in linear bins\n");
    EXPECT_LT(told.out.find("many.tif: 40 x 40, 1 layer"), told.out.find("few.tif: 10 x 10, 2 layers"));
    EXPECT_THAT(told.out, HasSubstr("covariance"));

    std::vector<std::string> quiet = arguments;
    quiet.insert(quiet.end(), {"--quiet", "--json"});
    const Outcome hushed = run(quiet);
    EXPECT_EQ(hushed.err, "");
    EXPECT_EQ(hushed.json()["images"][1]["layers"][1]["bins"]["function"], "Unique Value");
}

} // namespace
