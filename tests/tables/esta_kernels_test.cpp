#include "tables/esta_support.h"

#include "tables/esta/kernels/block.h"

namespace {

using namespace emantle;

std::vector<platform::InstructionSet> instructionSets()
{
    std::vector<platform::InstructionSet> sets;
    for (int set = 0; set <= static_cast<int>(platform::machineInstructionSet()); ++set) {
        sets.push_back(static_cast<platform::InstructionSet>(set));
    }
    return sets;
}

ScalarSums sumsOf(const Picture& picture, const Picture* mask, platform::InstructionSet set)
{
    const StatisticsLoops& loops = statisticsLoops(set);
    const PixelBlock block = pixelBlock(*picture.get(), mask != nullptr ? mask->get() : nullptr);
    return (mask != nullptr ? loops.masked : loops.whole)[picture.get()->datatype](block);
}

void expectSums(const Picture& picture, const Picture* mask, const std::string& what)
{
    const Expected expected(picture, mask);
    for (const platform::InstructionSet set : instructionSets()) {
        SCOPED_TRACE(what + " on set " + std::to_string(static_cast<int>(set)));
        const ScalarSums sums = sumsOf(picture, mask, set);
        EXPECT_EQ(sums.count, expected.count);
        EXPECT_EQ(std::min(sums.least, std::numeric_limits<double>::max()), expected.least);
        EXPECT_EQ(std::max(sums.greatest, std::numeric_limits<double>::min()), expected.greatest);
        if (isWholeType(picture.get()->datatype)) {
            EXPECT_EQ(sums.sum, static_cast<double>(expected.sum));
            EXPECT_EQ(sums.squares, static_cast<double>(expected.squares));
        } else {
            EXPECT_NEAR(sums.sum, static_cast<double>(expected.sum), 1e-12 * static_cast<double>(expected.squares + 1));
            EXPECT_NEAR(sums.squares, static_cast<double>(expected.squares),
                        1e-13 * static_cast<double>(expected.squares));
        }
    }
}

/* Every width around the vectors and around the lanes, in views and in one piece, with and without a mask. */
TEST(StatisticsLoops, AgreeWithOnePixelAtATime)
{
    unsigned seed = 1;
    for (const Egda_PixelType type : kAllNumbers) {
        for (const long columns : {1L, 2L, 7L, 15L, 16L, 17L, 31L, 63L, 64L, 65L, 127L, 130L, 1023L, 8193L}) {
            for (const long rows : {1L, 3L}) {
                const Picture picture(type, rows, columns, ++seed, columns % 2 == 0 ? 0 : 3);
                const Picture mask = maskFor(picture, ++seed);
                const std::string what = std::string(egda_PixelNameFromType(type)) + " " + std::to_string(columns);
                expectSums(picture, nullptr, what);
                expectSums(picture, &mask, what + " masked");
            }
        }
    }
}

TEST(StatisticsLoops, FloatingSumsDoNotDependOnTheInstructionSet)
{
    for (const Egda_PixelType type : {EGDA_TYPE_F32, EGDA_TYPE_F64, EGDA_TYPE_C64, EGDA_TYPE_C128}) {
        const Picture picture(type, 5, 777, 11);
        const Picture mask = maskFor(picture, 12);
        for (const Picture* under : {static_cast<const Picture*>(nullptr), &mask}) {
            const ScalarSums first = sumsOf(picture, under, platform::InstructionSet::baseline);
            for (const platform::InstructionSet set : instructionSets()) {
                const ScalarSums sums = sumsOf(picture, under, set);
                EXPECT_EQ(std::memcmp(&sums, &first, sizeof sums), 0) << egda_PixelNameFromType(type);
            }
        }
    }
}

/* The largest pixels fill the narrow sums fastest: each must be emptied in time. */
template <class Pixel>
void expectExtremes(Egda_PixelType type, long pixels)
{
    for (const Pixel value : {std::numeric_limits<Pixel>::max(), std::numeric_limits<Pixel>::min()}) {
        Picture picture(type, 1, pixels, 1, 0);
        picture.fill(value);
        Picture mask(EGDA_TYPE_U8, 1, pixels, 1, 0);
        mask.fill<std::uint8_t>(1);
        const long double wide = value;
        for (const platform::InstructionSet set : instructionSets()) {
            for (const Picture* under : {static_cast<const Picture*>(nullptr), const_cast<const Picture*>(&mask)}) {
                const ScalarSums sums = sumsOf(picture, under, set);
                EXPECT_EQ(sums.count, static_cast<double>(pixels));
                EXPECT_EQ(sums.sum, static_cast<double>(wide * pixels));
                EXPECT_EQ(sums.squares, static_cast<double>(wide * wide * pixels));
                EXPECT_EQ(sums.least, static_cast<double>(value));
            }
        }
    }
}

TEST(StatisticsLoops, NarrowSumsNeverOverflow)
{
    expectExtremes<std::uint8_t>(EGDA_TYPE_U8, 3'000'001);
    expectExtremes<std::int8_t>(EGDA_TYPE_S8, 100'003);
    expectExtremes<std::uint16_t>(EGDA_TYPE_U16, 3'000'001);
    expectExtremes<std::int16_t>(EGDA_TYPE_S16, 100'003);
    expectExtremes<std::uint32_t>(EGDA_TYPE_U32, 300'001);
    expectExtremes<std::int32_t>(EGDA_TYPE_S32, 300'001);
}

TEST(StatisticsLoops, NothingUnderAMaskOfZerosCounts)
{
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    for (const long columns : {3L, 64L, 131L}) {
        Picture picture(EGDA_TYPE_F64, 2, columns, 1);
        picture.fill(kNaN);
        picture.at<double>(1, 2) = 4;
        Picture mask(EGDA_TYPE_U8, 2, columns, 1);
        mask.fill<std::uint8_t>(0);
        mask.at<std::uint8_t>(1, 2) = 200;
        for (const platform::InstructionSet set : instructionSets()) {
            const ScalarSums sums = sumsOf(picture, &mask, set);
            EXPECT_EQ(sums.count, 1);
            EXPECT_EQ(sums.sum, 4);
            EXPECT_EQ(sums.squares, 16);
            EXPECT_EQ(sums.least, 4);
            EXPECT_EQ(sums.greatest, 4);
        }
    }
}

TEST(StatisticsLoops, NaNChangesNeitherExtreme)
{
    Picture picture(EGDA_TYPE_F32, 1, 200, 1);
    picture.fill(5.0F);
    for (const long at : {0L, 17L, 63L, 190L, 199L}) {
        picture.at<float>(0, at) = std::numeric_limits<float>::quiet_NaN();
    }
    picture.at<float>(0, 100) = -std::numeric_limits<float>::infinity();
    for (const platform::InstructionSet set : instructionSets()) {
        const ScalarSums sums = sumsOf(picture, nullptr, set);
        EXPECT_EQ(sums.least, -std::numeric_limits<double>::infinity());
        EXPECT_EQ(sums.greatest, 5);
        EXPECT_TRUE(std::isnan(sums.sum));
    }
}

TEST(HistogramLoops, CountersOfSixteenBitsNeverOverflow)
{
    Picture picture(EGDA_TYPE_U8, 40, 20'011, 1);
    picture.fill<std::uint8_t>(9);
    Picture mask(EGDA_TYPE_U8, 40, 20'011, 1);
    mask.fill<std::uint8_t>(2);
    for (const platform::InstructionSet set : instructionSets()) {
        for (const Picture* under : {static_cast<const Picture*>(nullptr), const_cast<const Picture*>(&mask)}) {
            std::uint32_t counts[256] = {};
            histogramLoops(set).countBytes(pixelBlock(*picture.get(), under ? under->get() : nullptr), counts);
            EXPECT_EQ(counts[9], 40U * 20'011U);
            EXPECT_EQ(std::accumulate(counts, counts + 256, 0U), counts[9]);
        }
    }
}

/* Values at the limits of bins, one step beside them, outside, and no numbers. */
std::vector<float> edgeValues(double first, double last, int bins)
{
    std::vector<float> values{0.0F, -0.0F, 1e30F, -1e30F, std::numeric_limits<float>::quiet_NaN(),
                              std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::denorm_min()};
    for (int bin = -1; bin <= bins + 1; ++bin) {
        const float limit = static_cast<float>(first + (last - first) * bin / bins);
        for (const float beside : {std::nextafter(limit, -1e38F), limit, std::nextafter(limit, 1e38F)}) {
            values.push_back(beside);
        }
    }
    return values;
}

TEST(HistogramLoops, EvenPlacesAreTheBinsOfTheFunction)
{
    struct Case {
        double first;
        double last;
        int bins;
        int start;
        int count;
    };
    for (const Case& c : {Case{0, 255, 256, 0, 256}, Case{0, 1, 10, 0, 10}, Case{-7.5, 1234.25, 1000, 0, 1000},
                          Case{-7.5, 1234.25, 1000, 17, 400}, Case{1e-30, 1e-29, 7, 0, 7}, Case{0, 256, 256, 255, 1}}) {
        BinFunction function = linear(c.first, c.last, static_cast<std::uint32_t>(c.bins));
        const double span = std::nextafter(c.last, 1e300) - c.first;
        ASSERT_TRUE(edsc_BinFunctionBinCountModify(function.get(), c.start, c.count, nullptr));
        const EvenBins even{static_cast<double>(c.bins), c.first, span, static_cast<double>(c.start),
                            static_cast<double>(c.count)};
        const std::vector<float> values = edgeValues(c.first, c.last, c.bins);
        const long count = static_cast<long>(values.size());
        const std::vector<std::uint8_t> mask(values.size(), 1);
        for (const platform::InstructionSet set : instructionSets()) {
            /* One value at a time, so that each can be told, and all at once. */
            std::vector<std::uint32_t> all(static_cast<std::size_t>(c.count * kPartialTables));
            std::vector<std::uint32_t> expected(static_cast<std::size_t>(c.count));
            histogramLoops(set).countEven(values.data(), mask.data(), count, even, all.data(), c.count);
            for (const float value : values) {
                std::vector<std::uint32_t> one(static_cast<std::size_t>(c.count));
                histogramLoops(set).countEven(&value, nullptr, 1, even, one.data(), 0);
                const int bin = std::clamp(edsc_BinFunctionApply(function.get(), value, nullptr), 0, c.count - 1);
                EXPECT_EQ(one[static_cast<std::size_t>(bin)], 1U) << value << " of " << c.bins;
                ++expected[static_cast<std::size_t>(bin)];
            }
            for (std::size_t bin = 0; bin < expected.size(); ++bin) {
                std::uint32_t sum = 0;
                for (int table = 0; table < kPartialTables; ++table) {
                    sum += all[static_cast<std::size_t>(table * c.count) + bin];
                }
                EXPECT_EQ(sum, expected[bin]);
            }
        }
    }
}

TEST(CovarianceLoops, ProductsOfEveryPairAgreeWithPlainSums)
{
    constexpr long kCount = 40;
    for (int layers = 1; layers <= 15; ++layers) {
        std::vector<double> rows(static_cast<std::size_t>(layers) * kCount);
        std::mt19937_64 random(static_cast<unsigned>(layers));
        for (double& value : rows) {
            value = static_cast<double>(random() % 2000) - 1000;
        }
        for (const platform::InstructionSet set : instructionSets()) {
            std::vector<double> products(static_cast<std::size_t>(layers * (layers + 1) / 2 * kSumLanes));
            std::vector<double> values(static_cast<std::size_t>(layers * kSumLanes));
            covarianceLoops(set).products(rows.data(), kCount, layers, kCount, products.data(), values.data());
            const auto total = [](const std::vector<double>& lanes, int at) {
                return std::accumulate(&lanes[static_cast<std::size_t>(at * kSumLanes)],
                                       &lanes[static_cast<std::size_t>(at * kSumLanes)] + kSumLanes, 0.0);
            };
            for (int j = 0; j < layers; ++j) {
                const double* y = &rows[static_cast<std::size_t>(j * kCount)];
                EXPECT_EQ(total(values, j), std::accumulate(y, y + kCount, 0.0));
                for (int i = 0; i <= j; ++i) {
                    const double* x = &rows[static_cast<std::size_t>(i * kCount)];
                    EXPECT_EQ(total(products, j * (j + 1) / 2 + i), std::inner_product(x, x + kCount, y, 0.0))
                        << i << ' ' << j << " of " << layers;
                }
            }
        }
    }
}

}  // namespace
