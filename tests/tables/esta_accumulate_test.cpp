#include "tables/esta_support.h"

namespace {

constexpr double kFirstMaximum = 2.2250738585072014e-308;

AllStats allStatsOf(long bins = 0, const Edsc_BinFunction* function = nullptr)
{
    return AllStats(esta_AllStatsCreate(bins, function, nullptr));
}

AllStats scalarsOf(std::vector<const Picture*> blocks, const Picture* mask = nullptr)
{
    AllStats allStats = allStatsOf();
    for (const Picture* block : blocks) {
        EXPECT_TRUE(esta_RasterAccumulateStats(allStats.get(), block->get(), mask ? mask->get() : nullptr, nullptr));
    }
    return allStats;
}

Picture constant(double value, long columns = 4)
{
    Picture picture(EGDA_TYPE_F64, 1, columns, 1);
    picture.fill(value);
    return picture;
}

TEST(AllStats, FinishGivesTheMeanAndTheDeviationOfASample)
{
    for (const Egda_PixelType type : kAllNumbers) {
        const Picture picture(type, 7, 61, 5);
        const Picture mask = maskFor(picture, 6);
        for (const Picture* under : {static_cast<const Picture*>(nullptr), &mask}) {
            AllStats allStats = scalarsOf({&picture}, under);
            ASSERT_TRUE(esta_AllStatsFinish(allStats.get(), nullptr));
            const Expected expected(picture, under);
            const long double mean = expected.sum / expected.count;
            const long double variance = (expected.squares - mean * mean * expected.count) / (expected.count - 1);
            const Esta_Statistics& found = *allStats->statistics;
            EXPECT_EQ(allStats->count, expected.count);
            EXPECT_EQ(found.minimum, expected.least);
            EXPECT_EQ(found.maximum, expected.greatest);
            EXPECT_NEAR(found.mean, static_cast<double>(mean), 1e-9 * std::fabs(static_cast<double>(mean)));
            EXPECT_NEAR(found.stddev, static_cast<double>(std::sqrt(variance)),
                        1e-9 * static_cast<double>(std::sqrt(variance)));
            EXPECT_EQ(found.median, 0);
            EXPECT_EQ(found.mode, 0);
        }
    }
}

TEST(AllStats, TheMaximumOfNegativePixelsIsTheSmallestPositiveDouble)
{
    const Picture low = constant(-9);
    const Picture high = constant(-2);
    Picture mask(EGDA_TYPE_U8, 1, 4, 1);
    mask.fill<std::uint8_t>(1);
    for (const Picture* under : {static_cast<const Picture*>(nullptr), const_cast<const Picture*>(&mask)}) {
        const AllStats allStats = scalarsOf({&low, &high}, under);
        EXPECT_EQ(allStats->statistics->minimum, -9);
        EXPECT_EQ(allStats->statistics->maximum, kFirstMaximum);
        EXPECT_EQ(allStats->count, 8);
    }
}

TEST(AllStats, AMaskedBlockWithoutPixelsLeavesZeroExtremes)
{
    const Picture picture = constant(5);
    Picture mask(EGDA_TYPE_U8, 1, 4, 1);
    mask.fill<std::uint8_t>(0);
    AllStats allStats = scalarsOf({&picture}, &mask);
    EXPECT_EQ(allStats->count, 0);
    EXPECT_EQ(allStats->statistics->minimum, 0);
    EXPECT_EQ(allStats->statistics->maximum, 0);
    /* The next block starts afresh. */
    ASSERT_TRUE(esta_RasterAccumulateStats(allStats.get(), picture.get(), nullptr, nullptr));
    EXPECT_EQ(allStats->statistics->minimum, 5);
}

TEST(AllStats, ANaNStaysOnlyAsTheFirstPixelWithoutMask)
{
    Picture picture = constant(5);
    picture.at<double>(0, 0) = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(scalarsOf({&picture})->statistics->minimum));
    Picture mask(EGDA_TYPE_U8, 1, 4, 1);
    mask.fill<std::uint8_t>(1);
    EXPECT_EQ(scalarsOf({&picture}, &mask)->statistics->minimum, 5);
}

TEST(AllStats, OnePixelHasNoDeviationAndTheLowerLimitOfItsBin)
{
    const Picture picture = constant(7.5, 1);
    const BinFunction function = linear(0, 10, 5);
    AllStats allStats = allStatsOf(5, function.get());
    ASSERT_TRUE(esta_RasterAccumulateStats(allStats.get(), picture.get(), nullptr, nullptr));
    ASSERT_TRUE(esta_RasterAccumulateHistogram(allStats->histogram, picture.get(), nullptr, nullptr));
    ASSERT_TRUE(esta_AllStatsFinish(allStats.get(), nullptr));
    EXPECT_EQ(allStats->statistics->stddev, 0);
    double lower = 0;
    edsc_BinFunctionApplyInverse(function.get(), 3, &lower, nullptr, nullptr);
    EXPECT_EQ(allStats->statistics->median, lower);
    EXPECT_EQ(allStats->statistics->mode, lower);
}

TEST(AllStats, OfEqualPeaksTheLowerIsTheModeAndTheMedianIsWhereHalfIsReached)
{
    AllStats allStats = allStatsOf(6, direct(10, 6).get());
    const std::vector<double> counts{0, 3, 1, 3, 1, 0};
    std::copy(counts.begin(), counts.end(), static_cast<double*>(allStats->histogram->data));
    allStats->count = 8;
    ASSERT_TRUE(esta_AllStatsFinish(allStats.get(), nullptr));
    EXPECT_EQ(allStats->statistics->mode, 11);
    EXPECT_EQ(allStats->statistics->median, 12);
}

/* Pixels outside the bins are counted at the ends, whatever the type. */
TEST(RasterHistogram, CountsEveryPixelInTheBinOfTheFunction)
{
    const BinFunction functions[] = {linear(20, 200, 37), direct(-5, 100), logarithmic(1, 500, 9),
                                     explicitLimits({-100, 0, 7, 30, 31, 500}, 5), unique({3, 5, 7, 100})};
    unsigned seed = 100;
    for (const Egda_PixelType type : kAllNumbers) {
        for (const BinFunction& function : functions) {
            for (const long columns : {61L, 3000L}) {
                const Picture picture(type, 9, columns, ++seed);
                const Picture mask = maskFor(picture, ++seed);
                for (const Picture* under : {static_cast<const Picture*>(nullptr), &mask}) {
                    const Histogram histogram(esta_HistogramCreate(function->binCount, function.get(), nullptr));
                    ASSERT_TRUE(esta_RasterAccumulateHistogram(histogram.get(), picture.get(),
                                                               under ? under->get() : nullptr, nullptr));
                    std::vector<double> expected(static_cast<std::size_t>(histogram->numrows));
                    for (long row = 0; row < picture.rows(); ++row) {
                        for (long column = 0; column < picture.columns(); ++column) {
                            if (under == nullptr || under->at<std::uint8_t>(row, column) != 0) {
                                const double value = picture.value(row, column);
                                const int bin = edsc_BinFunctionApply(function.get(), value, nullptr);
                                ++expected[static_cast<std::size_t>(std::clamp(bin, 0, histogram->numrows - 1))];
                            }
                        }
                    }
                    EXPECT_EQ(rowsOf(histogram.get()), expected)
                        << egda_PixelNameFromType(type) << ' ' << function->title << ' ' << columns;
                }
            }
        }
    }
}

TEST(RasterHistogram, WithManyBinsCountsTheSame)
{
    const BinFunction function = linear(-1000, 3000, 100'000);
    for (const long columns : {100L, 50'000L}) {
        const Picture picture(EGDA_TYPE_F32, 3, columns, 7);
        const Histogram histogram(esta_HistogramCreate(function->binCount, function.get(), nullptr));
        ASSERT_TRUE(esta_RasterAccumulateHistogram(histogram.get(), picture.get(), nullptr, nullptr));
        for (long row = 0; row < picture.rows(); ++row) {
            for (long column = 0; column < columns; ++column) {
                --static_cast<double*>(histogram->data)[edsc_BinFunctionApply(
                    function.get(), picture.value(row, column), nullptr)];
            }
        }
        const std::vector<double> rows = rowsOf(histogram.get());
        EXPECT_EQ(std::count(rows.begin(), rows.end(), 0.0), 100'000);
    }
}

TEST(RasterHistogram, WithoutFunctionCountsSixteenBitsFromTheLowestValue)
{
    Histogram histogram(esta_HistogramCreate(70'000, nullptr, nullptr));
    edsc_BinFunctionDelete(histogram->binfunction, nullptr);
    histogram->binfunction = nullptr;
    Picture picture(EGDA_TYPE_S16, 1, 3, 1);
    picture.at<std::int16_t>(0, 0) = -32768;
    picture.at<std::int16_t>(0, 1) = 0;
    picture.at<std::int16_t>(0, 2) = 32767;
    ASSERT_TRUE(esta_RasterAccumulateHistogram(histogram.get(), picture.get(), nullptr, nullptr));
    const std::vector<double> rows = rowsOf(histogram.get());
    EXPECT_EQ(rows[0] + rows[32768] + rows[65535], 3);
    Report report;
    EXPECT_FALSE(esta_RasterAccumulateHistogram(histogram.get(), constant(1).get(), nullptr, report));
    EXPECT_EQ(rootCause(report), "NULL bin function");
}

TEST(ExcludedValues, ClearTheMaskInThePixelsOwnType)
{
    Picture picture(EGDA_TYPE_U8, 1, 5, 1);
    const std::uint8_t pixels[] = {0, 7, 255, 3, 7};
    std::copy_n(pixels, 5, &picture.at<std::uint8_t>(0, 0));
    Picture mask(EGDA_TYPE_U8, 1, 5, 1);
    mask.fill<std::uint8_t>(9);
    /* 300 becomes 255, and 6.6 becomes 7. */
    ASSERT_TRUE(esta_FeatureIgnoredValuesToMask(picture.get(), doubles({300, 6.6}).get(), mask.get(), nullptr));
    const std::vector<int> left(&mask.at<std::uint8_t>(0, 0), &mask.at<std::uint8_t>(0, 0) + 5);
    EXPECT_EQ(left, (std::vector<int>{9, 0, 0, 9, 0}));
}

class Stacks : public testing::Test {
protected:
    Stacks() : first(EGDA_TYPE_F32, 6, 50, 1), second(EGDA_TYPE_S16, 6, 50, 2), mask(maskFor(first, 3)) {}

    Layers rectangles(Layers* masks)
    {
        Layers layers({first.get(), second.get()});
        esta_RectanglesSetMasks(&layers.stack, masks == nullptr ? nullptr : &masks->stack);
        return layers;
    }

    Picture first;
    Picture second;
    Picture mask;
    AllStatsStack stack{esta_AllStatsStackCreate(2, 0, nullptr, nullptr)};
};

TEST_F(Stacks, CovarianceUnderMasksIsThatOfTheCommonPixels)
{
    Picture other = maskFor(second, 9);
    Layers masks({mask.get(), other.get()});
    const Layers layers = rectangles(&masks);
    ASSERT_TRUE(esta_AllStatsAccumulate(stack.get(), &layers.stack, nullptr));
    long double n = 0;
    long double sums[2] = {};
    long double products[3] = {};
    for (long row = 0; row < 6; ++row) {
        for (long column = 0; column < 50; ++column) {
            if (mask.at<std::uint8_t>(row, column) != 0 && other.at<std::uint8_t>(row, column) != 0) {
                const long double x = first.value(row, column);
                const long double y = second.value(row, column);
                n += 1;
                sums[0] += x;
                sums[1] += y;
                products[0] += x * x;
                products[1] += x * y;
                products[2] += y * y;
            }
        }
    }
    EXPECT_EQ(stack->count, static_cast<double>(n));
    EXPECT_EQ(stack->allStats[1]->count, static_cast<double>(n));
    EXPECT_EQ(stack->allStats[1]->statistics->mean, static_cast<double>(sums[1]));
    ASSERT_TRUE(esta_AllStatsStackFinish(stack.get(), nullptr));
    const std::vector<double> matrix = rowsOf(stack->covariance);
    const auto expected = [&](int product, int i, int j) {
        return static_cast<double>((products[product] / n - sums[i] / n * (sums[j] / n)) * (n / (n - 1)));
    };
    EXPECT_NEAR(matrix[0], expected(0, 0, 0), 1e-6);
    EXPECT_NEAR(matrix[1], expected(1, 0, 1), 1e-4);
    EXPECT_EQ(matrix[1], matrix[2]);
    EXPECT_NEAR(matrix[3], expected(2, 1, 1), 1e-2);
}

TEST_F(Stacks, CovarianceWithoutMasksIsOnlyItsDiagonal)
{
    const Layers layers = rectangles(nullptr);
    ASSERT_TRUE(esta_AllStatsAccumulate(stack.get(), &layers.stack, nullptr));
    EXPECT_EQ(stack->count, 0);
    EXPECT_NE(rowsOf(stack->covariance)[1], 0);
    ASSERT_TRUE(esta_AllStatsStackFinish(stack.get(), nullptr));
    const double deviation = stack->allStats[1]->statistics->stddev;
    EXPECT_EQ(rowsOf(stack->covariance)[1], 0);
    EXPECT_EQ(rowsOf(stack->covariance)[2], 0);
    EXPECT_EQ(rowsOf(stack->covariance)[3], deviation * deviation);
    EXPECT_EQ(stack->allStats[0]->count, 300);
}

TEST_F(Stacks, SkipFactorsScaleTheHistogramAlone)
{
    AllStatsStack sampled(esta_AllStatsStackCreate(2, 10, linear(-1000, 3000, 10).get(), nullptr));
    sampled->skipFactorX = 2;
    sampled->skipFactorY = 3;
    const Layers layers = rectangles(nullptr);
    ASSERT_TRUE(esta_AllStatsAccumulate(sampled.get(), &layers.stack, nullptr));
    ASSERT_TRUE(esta_AllStatsStackFinish(sampled.get(), nullptr));
    const std::vector<double> rows = rowsOf(sampled->allStats[0]->histogram);
    EXPECT_EQ(std::accumulate(rows.begin(), rows.end(), 0.0), 300 * 6);
    EXPECT_EQ(sampled->allStats[0]->count, 300);
}

TEST_F(Stacks, ALayerWithoutStatisticsFailsTheCovarianceButLeavesTheOthersFinished)
{
    esta_AllStatsDelete(stack->allStats[0], nullptr);
    stack->allStats[0] = nullptr;
    const Layers layers = rectangles(nullptr);
    ASSERT_TRUE(esta_AllStatsAccumulate(stack.get(), &layers.stack, nullptr));
    Report report;
    EXPECT_FALSE(esta_AllStatsStackFinish(stack.get(), report));
    EXPECT_EQ(rootCause(report), "Cannot compute covariance matrix because scalar statistics are missing for at least "
                                 "one layer of the layer stack");
    const Expected expected(second, nullptr);
    EXPECT_NEAR(stack->allStats[1]->statistics->mean, static_cast<double>(expected.sum) / 300, 1e-9);
}

TEST_F(Stacks, ExclusionNeedsAMaskAndChangesTheSharedOneForTheFirstLayerOnly)
{
    stack->excludedValues = doubles({12}).release();
    Report report;
    const Layers bare = rectangles(nullptr);
    EXPECT_FALSE(esta_AllStatsAccumulate(stack.get(), &bare.stack, report));
    EXPECT_EQ(rootCause(report),
              "Values are to be excluded from the statistics computation, but no mask is available");
    esta_AllStatsStackInit(stack.get(), nullptr);

    mask.fill<std::uint8_t>(1);
    first.at<float>(0, 3) = 12;
    second.at<std::int16_t>(0, 5) = 12;
    Layers masks({mask.get()});
    const Layers layers = rectangles(&masks);
    ASSERT_TRUE(esta_AllStatsAccumulate(stack.get(), &layers.stack, nullptr));
    EXPECT_EQ(mask.at<std::uint8_t>(0, 3), 0);
    EXPECT_EQ(mask.at<std::uint8_t>(0, 5), 1);
    EXPECT_EQ(stack->count, 299);
}

TEST_F(Stacks, FailuresSayWhat)
{
    Layers one({first.get()});
    Report report;
    EXPECT_FALSE(esta_AllStatsAccumulate(stack.get(), &one.stack, report));
    EXPECT_EQ(rootCause(report),
              "Esta_AllStatsStack structure and Eimg_PixelRectStack have different numbers of layers (2 vs. 1)");
    const Picture small(EGDA_TYPE_U8, 5, 50, 1);
    Layers masks({small.get()});
    const Layers layers = rectangles(&masks);
    Report smaller;
    EXPECT_FALSE(esta_AllStatsAccumulate(stack.get(), &layers.stack, smaller));
    EXPECT_EQ(rootCause(smaller), "The mask of 5 by 50 is smaller than the data of 6 by 50");
    Report nothing;
    EXPECT_FALSE(esta_AllStatsStackFinish(nullptr, nothing));
    EXPECT_EQ(rootCause(nothing), "Pointer to Esta_AllStatsStack structure is NULL");
    ASSERT_TRUE(esta_AllStatsUVHistogramBegin(stack->allStats[0], 10, EGDA_TYPE_F32, nullptr));
    Report live;
    EXPECT_FALSE(esta_AllStatsStackFinish(stack.get(), live));
    EXPECT_EQ(textsOf(live), (std::vector<std::string>{"Error reported by function esta_AllStatsFinish",
                                                       "uvHistogram must be terminated"}));
    Report copy;
    EXPECT_EQ(esta_AllStatsCopy(stack->allStats[0], nullptr, copy), nullptr);
    EXPECT_EQ(rootCause(copy), "Can't do this yet");
}

TEST_F(Stacks, CopiesShareNothing)
{
    const Layers layers = rectangles(nullptr);
    ASSERT_TRUE(esta_AllStatsAccumulate(stack.get(), &layers.stack, nullptr));
    stack->excludedValues = doubles({1, 2}).release();
    const AllStatsStack copy(esta_AllStatsStackCopy(stack.get(), nullptr, nullptr));
    const double before = copy->allStats[0]->statistics->mean;
    ASSERT_TRUE(esta_AllStatsStackInit(stack.get(), nullptr));
    EXPECT_EQ(copy->allStats[0]->statistics->mean, before);
    EXPECT_EQ(rowsOf(copy->excludedValues), (std::vector<double>{1, 2}));
    EXPECT_NE(rowsOf(copy->covariance)[0], 0);
    ASSERT_EQ(esta_AllStatsStackCopy(stack.get(), copy.get(), nullptr), copy.get());
    EXPECT_EQ(rowsOf(copy->covariance)[0], 0);
}

TEST(UniqueValues, BecomeStatisticsAndOneBinEach)
{
    Picture picture(EGDA_TYPE_S16, 2, 4, 1);
    const std::int16_t pixels[2][4] = {{-3, 9, 9, -3}, {500, -3, 9, 9}};
    for (long row = 0; row < 2; ++row) {
        std::copy_n(pixels[row], 4, &picture.at<std::int16_t>(row, 0));
    }
    AllStats allStats = allStatsOf();
    ASSERT_TRUE(esta_AllStatsUVHistogramBegin(allStats.get(), 3, EGDA_TYPE_S16, nullptr));
    EXPECT_TRUE(esta_AllStatsHasHistogram(allStats.get()));
    ASSERT_TRUE(esta_AllStatsUVHistogramAccumulate(allStats.get(), picture.get(), nullptr, nullptr));
    ASSERT_TRUE(esta_AllStatsUVHistogramEnd(allStats.get(), doubles({500}).get(), nullptr));
    EXPECT_EQ(allStats->uvHistogram, nullptr);
    EXPECT_EQ(allStats->count, 7);
    EXPECT_EQ(allStats->statistics->minimum, -3);
    EXPECT_EQ(allStats->statistics->maximum, 9);
    EXPECT_EQ(allStats->statistics->mean, 3 * -3 + 4 * 9);
    EXPECT_EQ(allStats->statistics->stddev, 3 * 9 + 4 * 81);
    EXPECT_EQ(rowsOf(allStats->histogram), (std::vector<double>{3, 4}));
    EXPECT_STREQ(allStats->histogram->binfunction->title, EDSC_TITLE_UNIQUE);
    ASSERT_TRUE(esta_AllStatsFinish(allStats.get(), nullptr));
    EXPECT_EQ(allStats->statistics->mode, 9);
}

TEST(UniqueValues, GoIntoAGivenHistogramWhereTheyHaveABin)
{
    AllStats allStats = allStatsOf(5, direct(0, 5).get());
    Picture picture(EGDA_TYPE_U32, 1, 4, 1);
    const std::uint32_t pixels[] = {2, 2, 70'000, 4};
    std::copy_n(pixels, 4, &picture.at<std::uint32_t>(0, 0));
    ASSERT_TRUE(esta_AllStatsUVHistogramBegin(allStats.get(), 9, EGDA_TYPE_U32, nullptr));
    ASSERT_TRUE(esta_AllStatsUVHistogramAccumulate(allStats.get(), picture.get(), nullptr, nullptr));
    ASSERT_TRUE(esta_AllStatsUVHistogramEnd(allStats.get(), nullptr, nullptr));
    EXPECT_EQ(rowsOf(allStats->histogram), (std::vector<double>{0, 0, 2, 0, 1}));
    EXPECT_EQ(allStats->count, 4);
}

/* Wherever the limit is met, the block counts as if there had been no limit. */
TEST(UniqueValues, GiveOverInTheMiddleOfARow)
{
    for (const long limit : {1L, 2L, 7L, 8L, 9L, 15L, 23L, 24L}) {
        Picture picture(EGDA_TYPE_F32, 3, 8, 1);
        Picture mask(EGDA_TYPE_U8, 3, 8, 1);
        for (long at = 0; at < 24; ++at) {
            picture.at<float>(at / 8, at % 8) = static_cast<float>(at + 1);
            mask.at<std::uint8_t>(at / 8, at % 8) = at % 5 != 0;
        }
        for (const Picture* under : {static_cast<const Picture*>(nullptr), const_cast<const Picture*>(&mask)}) {
            AllStats allStats = allStatsOf();
            const double most = static_cast<double>(limit);
            ASSERT_TRUE(esta_AllStatsUVHistogramBegin(allStats.get(), most, EGDA_TYPE_F32, nullptr));
            ASSERT_TRUE(esta_AllStatsUVHistogramAccumulate(allStats.get(), picture.get(),
                                                           under ? under->get() : nullptr, nullptr));
            const Expected expected(picture, under);
            const bool isOver = most < expected.count;
            EXPECT_EQ(allStats->uvHistogram == nullptr, isOver) << limit;
            if (!isOver) {
                ASSERT_TRUE(esta_AllStatsUVHistogramEnd(allStats.get(), nullptr, nullptr));
            }
            EXPECT_EQ(allStats->histogram == nullptr, isOver);
            EXPECT_EQ(allStats->count, expected.count) << limit;
            EXPECT_EQ(allStats->statistics->minimum, expected.least);
            EXPECT_EQ(allStats->statistics->maximum, expected.greatest);
            EXPECT_EQ(allStats->statistics->mean, static_cast<double>(expected.sum)) << limit;
            EXPECT_EQ(allStats->statistics->stddev, static_cast<double>(expected.squares));
        }
    }
}

TEST(UniqueValues, ZerosOfBothSignsShareABinAndNaNHasNone)
{
    Picture picture(EGDA_TYPE_F64, 1, 5, 1);
    const double pixels[] = {0.0, -0.0, std::numeric_limits<double>::quiet_NaN(), 2, 0};
    std::copy_n(pixels, 5, &picture.at<double>(0, 0));
    AllStats allStats = allStatsOf();
    ASSERT_TRUE(esta_AllStatsUVHistogramBegin(allStats.get(), 100, EGDA_TYPE_F64, nullptr));
    ASSERT_TRUE(esta_AllStatsUVHistogramAccumulate(allStats.get(), picture.get(), nullptr, nullptr));
    Report report;
    ASSERT_TRUE(esta_AllStatsUVHistogramEnd(allStats.get(), nullptr, report)) << rootCause(report);
    EXPECT_EQ(rowsOf(allStats->histogram), (std::vector<double>{3, 1}));
    EXPECT_EQ(allStats->statistics->minimum, 0);
    EXPECT_EQ(allStats->statistics->maximum, 2);
}

TEST(Stretch, RisesBetweenTheDeviationsAndClipsOutside)
{
    Esta_Statistics statistics{10, 250, 100, 0, 0, 20};
    double gain = 0;
    double offset = 0;
    const BinFunction bins = direct(0, 256);
    const BaseData table(esta_LUTCreateForNStdDevStretch(&statistics, bins.get(), 2, &gain, &offset, nullptr));
    const double step = 256.0 / 255;
    EXPECT_EQ(gain, 1 / step);
    EXPECT_EQ(offset, 0);
    const double low = std::floor(60 / step) * step;
    const double high = std::ceil(140 / step) * step;
    const double slope = 255 / ((high - low) / step);
    for (int entry = 0; entry < 256; ++entry) {
        const double x = entry * step;
        const int byte = static_cast<std::uint8_t*>(table->data)[entry];
        if (x < low - 1e-6) {
            EXPECT_EQ(byte, 0);
        } else if (x > high + 1e-6) {
            EXPECT_EQ(byte, 255);
        } else {
            EXPECT_NEAR(byte, (x - low) / step * slope, 1.01) << entry;
        }
    }
    const BaseData single(esta_LUTCreateForNStdDevStretch(nullptr, direct(41, 1).get(), 2, &gain, &offset, nullptr));
    EXPECT_EQ(static_cast<std::uint8_t*>(single->data)[0], 42);
    EXPECT_EQ(offset, -42);
    Report report;
    EXPECT_EQ(esta_LUTCreateForNStdDevStretch(nullptr, nullptr, 2, nullptr, nullptr, report), nullptr);
    EXPECT_EQ(rootCause(report), "No bin function supplied to esta_LUTCreateForNStdDevStretch");
}

TEST(Histogram, TranslateAddsTheBinsThatCoverTheSameValues)
{
    const Histogram source(esta_HistogramCreate(4, direct(0, 4).get(), nullptr));
    const Histogram target(esta_HistogramCreate(3, direct(2, 3).get(), nullptr));
    for (int bin = 0; bin < 4; ++bin) {
        static_cast<double*>(source->data)[bin] = bin + 1;
    }
    static_cast<double*>(target->data)[0] = 10;
    ASSERT_TRUE(esta_HistogramTranslate(source.get(), target.get(), EGDA_TYPE_U8, nullptr));
    EXPECT_EQ(rowsOf(target.get()), (std::vector<double>{13, 4, 0}));
}

TEST(Histogram, ReplacingTheFunctionKeepsTheRowsThatFit)
{
    const Histogram histogram(esta_HistogramCreate(2, nullptr, nullptr));
    static_cast<double*>(histogram->data)[1] = 8;
    ASSERT_TRUE(esta_HistogramBinFunctionReplace(histogram.get(), linear(0, 1, 4).get(), nullptr));
    EXPECT_EQ(rowsOf(histogram.get()), (std::vector<double>{0, 8, 0, 0}));
}

TEST(Feature, TablesHaveAMemberForEveryNumberAndNoneForStrings)
{
    const Picture picture = constant(3);
    AllStats allStats = allStatsOf(4, direct(0, 4).get());
    const Esta_AccumStatsMember member = emsc_AddressOf_esta_FeatureRectAccumStats()[EGDA_TYPE_F64];
    ASSERT_TRUE(member(allStats.get(), picture.get(), nullptr, nullptr));
    ASSERT_TRUE(emsc_AddressOf_esta_FeatureRectAccumHistogram()[EDSC_BIN_DIRECT][EGDA_TYPE_F64](
        allStats->histogram, picture.get(), nullptr, nullptr));
    EXPECT_EQ(allStats->count, 4);
    EXPECT_EQ(rowsOf(allStats->histogram)[3], 4);
    EXPECT_EQ(emsc_AddressOf_esta_AoiFeatRectAccumStats()[EGDA_TYPE_STRING], nullptr);
    EXPECT_EQ(emsc_AddressOf_esta_AoiFeatRectAccumCovariance()[EGDA_TYPE_STRING], nullptr);
    Report report;
    EXPECT_FALSE(
        emsc_AddressOf_esta_AoiFeatRectAccumStats()[EGDA_TYPE_F64](allStats.get(), picture.get(), nullptr, report));
    EXPECT_EQ(rootCause(report), "NULL mask");
}

}  // namespace
