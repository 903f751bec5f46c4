#include "tables/esta_support.h"

#include <emantle/data/epxm/convert.h>
#include <map>

namespace {

/* The values that count, one pixel at a time. */
std::vector<double> valuesUnder(const Picture& picture, const Picture* mask, const std::vector<double>& ignored)
{
    std::vector<double> values;
    for (long row = 0; row < picture.rows(); ++row) {
        for (long column = 0; column < picture.columns(); ++column) {
            const double value = picture.value(row, column);
            const bool isSet = mask == nullptr || mask->at<std::uint8_t>(row, column) != 0;
            if (isSet && std::find(ignored.begin(), ignored.end(), value) == ignored.end()) {
                values.push_back(value);
            }
        }
    }
    std::sort(values.begin(), values.end());
    return values;
}

struct Compared {
    double diversity = 0, minority = 0, majority = 0, median = 0;
    bool operator==(const Compared&) const = default;
    friend void PrintTo(const Compared& all, std::ostream* out)
    {
        *out << all.diversity << ' ' << all.minority << ' ' << all.majority << ' ' << all.median;
    }
};

Compared comparedOf(const std::vector<double>& values)
{
    std::map<double, long> counts;
    for (const double value : values) {
        ++counts[value];
    }
    Compared all;
    if (values.empty()) {
        return all;
    }
    const auto byCount = [](const auto& a, const auto& b) { return a.second < b.second; };
    all.diversity = static_cast<double>(counts.size());
    all.minority = std::min_element(counts.begin(), counts.end(), byCount)->first;
    all.majority = std::max_element(counts.begin(), counts.end(), byCount)->first;
    all.median = values[values.size() / 2];
    return all;
}

Compared comparedOf(const Egda_BaseData* data, Esta_Histogram* histogram, const Egda_BaseData* ignore)
{
    Compared all;
    const auto measured = [&](auto function) {
        Report report;
        const BaseData result = doubles({-1});
        EXPECT_TRUE(function(data, result.get(), histogram, ignore, report)) << rootCause(report);
        return rowsOf(result.get())[0];
    };
    return {measured(esta_AoiFeatDiversity), measured(esta_AoiFeatMinority), measured(esta_AoiFeatMajority),
            measured(esta_AoiFeatMedian)};
}

Compared comparedOf(const Esta_Histogram* histogram, double half)
{
    const auto measured = [&](auto call) {
        const BaseData result = doubles({-1});
        EXPECT_TRUE(call(result.get()));
        return rowsOf(result.get())[0];
    };
    return {measured([&](auto* to) { return esta_FeatureDiversityFromHistogram(histogram, to, nullptr); }),
            measured([&](auto* to) { return esta_FeatureMinorityFromHistogram(histogram, to, nullptr); }),
            measured([&](auto* to) { return esta_FeatureMajorityFromHistogram(histogram, to, nullptr); }),
            measured([&](auto* to) { return esta_FeatureMedianFromHistogram(histogram, half, to, nullptr); })};
}

/* A picture of few values, so that they repeat, negative ones among them where the type has any. */
Picture few(Egda_PixelType type, long rows, long columns, unsigned seed)
{
    Picture picture(type, rows, columns, seed);
    std::mt19937 random(seed);
    for (long row = 0; row < rows; ++row) {
        for (long column = 0; column < columns; ++column) {
            const double value =
                static_cast<double>(random() % 23) - (type == EGDA_TYPE_S8 || type > EGDA_TYPE_U32 ? 11 : 0);
            void* pixel = static_cast<char*>(picture.get()->firstelement) + row * picture.get()->pitch +
                          column * picture.get()->numbytes;
            Report report;
            epxm_ConvertPixels(pixel, std::max<Egda_PixelType>(type, EGDA_TYPE_U8), &value, EGDA_TYPE_F64, 1, report);
        }
    }
    return picture;
}

class Measures : public testing::TestWithParam<Egda_PixelType> {};

TEST_P(Measures, AgreeWithOnePixelAtATime)
{
    for (const auto& [rows, columns] :
         {std::pair(1L, 1L), std::pair(7L, 13L), std::pair(40L, 67L), std::pair(90L, 130L)}) {
        const Picture picture(GetParam(), rows, columns, static_cast<unsigned>(rows));
        const Picture mask = maskFor(picture, 5);
        const double one = picture.value(0, 0);
        const BaseData ignore = doubles({one});
        for (const bool isMasked : {false, true}) {
            for (const bool isIgnoring : {false, true}) {
                const Picture* const under = isMasked ? &mask : nullptr;
                const Egda_BaseData* const set = isMasked ? mask.get() : nullptr;
                const Egda_BaseData* const out = isIgnoring && GetParam() < EGDA_TYPE_C64 ? ignore.get() : nullptr;
                const auto values =
                    valuesUnder(picture, under, out != nullptr ? std::vector{one} : std::vector<double>());
                const double sum = std::accumulate(values.begin(), values.end(), 0.0);
                double total = 1000;
                ASSERT_TRUE(esta_AoiFeatTotal(picture.get(), set, out, &total, nullptr));
                EXPECT_NEAR(total, sum + (out != nullptr ? 0 : 1000), 1e-9 * (1000 + std::fabs(sum)));
                EXPECT_EQ(esta_AoiFeatMax(picture.get(), set, out, nullptr), values.empty() ? 0 : values.back());
                EXPECT_EQ(esta_AoiFeatMin(picture.get(), set, out, nullptr), values.empty() ? 0 : values.front());
                const Esta_MaxMin both = esta_AoiFeatMaxMin(picture.get(), set, out, nullptr);
                EXPECT_EQ(both.maximum, values.empty() ? 0 : values.back());
                EXPECT_EQ(both.minimum, values.empty() ? 0 : values.front());

                const double mean = values.empty() ? 0 : sum / static_cast<double>(values.size());
                double squares = 0;
                for (const double value : values) {
                    squares += (value - mean) * (value - mean);
                }
                const double deviation =
                    values.size() < 2 ? 0 : std::sqrt(squares / static_cast<double>(values.size() - 1));
                double measured = 0;
                ASSERT_TRUE(esta_AoiFeatSdeviation(picture.get(), set, out, 0, &measured, nullptr));
                EXPECT_NEAR(measured, deviation, 1e-6 * (1 + deviation));
                measured = 0;
                const long more = static_cast<long>(values.size()) + 1;
                ASSERT_TRUE(esta_AoiFeatSdeviation(picture.get(), set, out, more, &measured, nullptr));
                EXPECT_EQ(measured, 0);
            }
        }
    }
}

/* Small and large regions, with and without values that do not count, and both ways for every region. */
TEST_P(Measures, OfPixelsAndOfTheirHistogramAreTheSame)
{
    const auto type = static_cast<std::size_t>(GetParam());
    for (const auto& [rows, columns] :
         {std::pair(1L, 1L), std::pair(9L, 11L), std::pair(10L, 10L), std::pair(150L, 70L)}) {
        for (const bool hasFew : {true, false}) {
            const Picture picture = hasFew ? few(GetParam(), rows, columns, 3) : Picture(GetParam(), rows, columns, 4);
            const double middle = picture.value(rows / 2, columns / 2);
            const BaseData ignore = doubles({middle});
            for (const bool isIgnoring : {false, true}) {
                const Egda_BaseData* const out = isIgnoring && GetParam() < EGDA_TYPE_C64 ? ignore.get() : nullptr;
                const auto values =
                    valuesUnder(picture, nullptr, out != nullptr ? std::vector{middle} : std::vector<double>());
                const Compared expected = comparedOf(values);
                EXPECT_EQ(comparedOf(picture.get(), nullptr, out), expected);
                const Histogram histogram(esta_AoiFeatObjectHistogram(picture.get(), nullptr, out, nullptr));
                if (values.empty()) {
                    continue;
                }
                ASSERT_NE(histogram, nullptr);
                EXPECT_EQ(comparedOf(histogram.get(), std::trunc(static_cast<double>(values.size()) / 2)), expected);
                EXPECT_EQ(comparedOf(picture.get(), histogram.get(), out), expected);
            }
            const Picture mask = maskFor(picture, 9);
            const BaseData result = doubles({-1});
            ASSERT_TRUE(emsc_AddressOf_esta_AoiFeatBaseDataComparedMedian()[type](picture.get(), mask.get(),
                                                                                 result.get(), nullptr));
            EXPECT_EQ(rowsOf(result.get())[0], comparedOf(valuesUnder(picture, &mask, {})).median);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Types, Measures, testing::ValuesIn(kAllNumbers),
                         [](const auto& type) { return std::string(egda_PixelNameFromType(type.param)); });

TEST(MeasuresOfReals, LeaveNaNAndTheSignOfZeroOut)
{
    const double nan = std::nan("");
    const double inf = std::numeric_limits<double>::infinity();
    const BaseData data = doubles({nan, -0.0, 0.0, -inf, inf, nan, -5, -5, -5});
    EXPECT_EQ(comparedOf(data.get(), nullptr, nullptr), (Compared{4, -inf, -5, -5}));
    EXPECT_EQ(esta_AoiFeatMax(data.get(), nullptr, nullptr, nullptr), inf);
    const BaseData negative = doubles({nan, -7, -3});
    EXPECT_EQ(esta_AoiFeatMax(negative.get(), nullptr, nullptr, nullptr), -3);
    const BaseData none = doubles({nan, nan});
    EXPECT_TRUE(std::isnan(esta_AoiFeatMin(none.get(), nullptr, nullptr, nullptr)));
    EXPECT_EQ(comparedOf(none.get(), nullptr, nullptr), (Compared{0, 0, 0, 0}));
}

TEST(MeasuresOfHistograms, KeepTheLowerOfEqualBinsAndSayOfNoCounts)
{
    const BinFunction bins = linear(10, 20, 5);
    const Histogram histogram(esta_HistogramCreate(5, bins.get(), nullptr));
    const auto setTo = [&](const std::vector<double>& counts) {
        std::copy(counts.begin(), counts.end(), static_cast<double*>(histogram->data));
    };
    EXPECT_EQ(comparedOf(histogram.get(), 0), (Compared{0, 10, 10, 0}));
    setTo({0, 4, 2, 4, 2});
    const Compared all = comparedOf(histogram.get(), 6);
    EXPECT_NEAR(all.minority, 14, 1e-9);
    EXPECT_NEAR(all.majority, 12, 1e-9);
    EXPECT_NEAR(all.median, 16, 1e-9); /* 4 + 2 is not above 6 */
    EXPECT_EQ(comparedOf(histogram.get(), 12).median, 0);

    /* The value goes through the type of the result. */
    const BaseData byte = tableOf(EGDA_TYPE_U8, std::vector<std::uint8_t>{9});
    ASSERT_TRUE(esta_FeatureMajorityFromHistogram(histogram.get(), byte.get(), nullptr));
    EXPECT_EQ(*static_cast<std::uint8_t*>(byte->data), 12);
}

TEST(HistogramMatching, FindsTheFirstBinOfTheShare)
{
    const struct {
        std::vector<double> source, target, expected;
    } cases[] = {
        {{1, 1, 1, 1}, {1, 1, 1, 1}, {0, 1, 2, 3}},
        {{1, 1, 1, 1}, {3, 3, 3, 3}, {0, 1, 2, 3}},
        {{0, 0, 4, 0}, {1, 0, 0, 3}, {0, 0, 3, 3}}, /* a share of 0 is reached at once */
        {{1, 3}, {0, 1, 0, 3, 0}, {1, 3}},
        {{5, 5}, {1}, {0, 0}},
    };
    for (const auto& one : cases) {
        const BaseData source = doubles(one.source);
        const BaseData target = doubles(one.target);
        const BaseData lut = doubles(std::vector<double>(one.source.size(), -1));
        ASSERT_TRUE(esta_FeatureHistogramMatchLUTlayer(source.get(), target.get(), lut.get(), nullptr));
        EXPECT_EQ(rowsOf(lut.get()), one.expected);
    }
    /* Shares that no double is: equal histograms match bin by bin all the same. */
    std::mt19937 random(3);
    std::vector<double> counts(65536);
    std::generate(counts.begin(), counts.end(), [&] { return static_cast<double>(1 + random() % 1000); });
    const BaseData histogram = doubles(counts);
    const BaseData lut = tableOf(EGDA_TYPE_U16, std::vector<std::uint16_t>(counts.size()));
    Layers layers({histogram.get()});
    Layers luts({lut.get()});
    ASSERT_TRUE(esta_FeatureHistogramMatchLUT(&layers.stack, &layers.stack, &luts.stack, nullptr));
    for (std::size_t bin = 0; bin < counts.size(); ++bin) {
        ASSERT_EQ(static_cast<std::uint16_t*>(lut->data)[bin], bin);
    }
    Report report;
    EXPECT_FALSE(esta_FeatureHistogramMatchLUTlayer(doubles({0, 0}).get(), histogram.get(), lut.get(), report));
    EXPECT_EQ(rootCause(report), "A histogram that counts 0 pixels has no shares");
}

TEST(IgnoredValues, ClearTheMaskForOneRectangleAndForAStack)
{
    Picture first(EGDA_TYPE_U8, 2, 3, 1);
    Picture second(EGDA_TYPE_S16, 2, 3, 2);
    first.fill<std::uint8_t>(1);
    second.fill<std::int16_t>(1);
    first.at<std::uint8_t>(0, 1) = 7;
    second.at<std::int16_t>(1, 2) = 7;
    Picture mask(EGDA_TYPE_U8, 2, 3, 3);
    mask.fill<std::uint8_t>(9);
    ASSERT_TRUE(
        emsc_AddressOf_esta_AoiFeatIgnoredValueToMaskThrPixelRect()[EGDA_TYPE_U8](first.get(), 7, mask.get(), nullptr));
    EXPECT_EQ(mask.at<std::uint8_t>(0, 1), 0);
    EXPECT_EQ(mask.at<std::uint8_t>(1, 2), 9);
    Layers layers({first.get(), second.get()});
    ASSERT_TRUE(
        emsc_AddressOf_esta_AoiFeatIgnoredValueToMaskThrStack()[EGDA_TYPE_U8](&layers.stack, 7, mask.get(), nullptr));
    EXPECT_EQ(mask.at<std::uint8_t>(1, 2), 0);
    EXPECT_EQ(mask.at<std::uint8_t>(0, 0), 9);
}

TEST(MeasureTables, HaveACellForEveryNumberAndRefuseAMissingMask)
{
    const BaseData data = doubles({1, 2});
    const BaseData result = doubles({0});
    double total = 0;
    Report report;
    EXPECT_FALSE(emsc_AddressOf_esta_AoiFeatBaseDataTotal()[EGDA_TYPE_F64](data.get(), nullptr, &total, report));
    EXPECT_EQ(rootCause(report), "NULL mask");
    EXPECT_EQ(emsc_AddressOf_esta_FeatureBaseDataTotal()[EGDA_TYPE_STRING], nullptr);
    EXPECT_EQ(emsc_AddressOf_esta_AoiFeatObjectBinfunction()[EGDA_TYPE_STRING], nullptr);
    const struct {
        double actual, expected;
    } whole[] = {
        {emsc_AddressOf_esta_FeatureBaseDataMax()[EGDA_TYPE_F64](data.get(), nullptr, nullptr), 2},
        {emsc_AddressOf_esta_FeatureBaseDataMin()[EGDA_TYPE_F64](data.get(), nullptr, nullptr), 1},
        {emsc_AddressOf_esta_FeatureBaseDataMaxMin()[EGDA_TYPE_F64](data.get(), nullptr, nullptr).maximum, 2},
    };
    for (const auto& one : whole) {
        EXPECT_EQ(one.actual, one.expected);
    }
    const BaseData texts(egda_TableCreate(2, EGDA_TYPE_STRING, nullptr));
    Report second;
    EXPECT_FALSE(esta_AoiFeatTotal(texts.get(), nullptr, nullptr, &total, second));
    EXPECT_EQ(rootCause(second), "Invalid pixel type");
}

}  // namespace
