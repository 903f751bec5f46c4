#include "tables/esta_support.h"

#include <emantle/tables/eahg.h>

#include <map>

namespace {

struct DestroyUnique {
    void operator()(Eahg_Histogram* histogram) const { eahg_HistogramDestroy(&histogram, nullptr); }
};
using Unique = std::unique_ptr<Eahg_Histogram, DestroyUnique>;

Unique uniqueOf(double maxUnique, Egda_PixelType type)
{
    return Unique(eahg_HistogramCreate(maxUnique, type, 0, nullptr));
}

struct Columns {
    BaseData values;
    BaseData counts;

    explicit Columns(Eahg_Histogram* histogram)
    {
        Egda_BaseData* tables[2] = {};
        EXPECT_TRUE(eahg_HistogramConvertToValuesAndCounts(histogram, &tables[0], &tables[1], nullptr));
        values.reset(tables[0]);
        counts.reset(tables[1]);
    }
};

/* All real types, arrays and hash tables alike, two blocks, with a mask and without. */
TEST(UniqueHistogram, ValuesComeSortedWithTheirCounts)
{
    for (const Egda_PixelType type : kAllNumbers) {
        if (type >= EGDA_TYPE_C64) {
            continue;
        }
        const Unique histogram = uniqueOf(100'000, type);
        std::map<double, double> expected;
        for (unsigned seed = 1; seed <= 2; ++seed) {
            const Picture picture(type, 20, 131, seed);
            const Picture mask = maskFor(picture, seed);
            for (const Picture* under : {static_cast<const Picture*>(nullptr), &mask}) {
                ASSERT_EQ(eahg_HistogramAccumulateValues(histogram.get(), picture.get(), under ? under->get() : nullptr,
                                                         nullptr),
                          0);
                for (long row = 0; row < picture.rows(); ++row) {
                    for (long column = 0; column < picture.columns(); ++column) {
                        if (under == nullptr || under->at<std::uint8_t>(row, column) != 0) {
                            ++expected[picture.value(row, column)];
                        }
                    }
                }
            }
        }
        const Columns columns(histogram.get());
        std::vector<double> values;
        std::vector<double> counts;
        double total = 0;
        for (const auto& [value, count] : expected) {
            values.push_back(value);
            counts.push_back(count);
            total += count;
        }
        EXPECT_EQ(rowsOf(columns.values.get()), values) << egda_PixelNameFromType(type);
        EXPECT_EQ(rowsOf(columns.counts.get()), counts) << egda_PixelNameFromType(type);
        EXPECT_EQ(histogram->totalCount, total);
        EXPECT_EQ(histogram->uniqueCount, static_cast<long>(values.size()));
    }
}

TEST(UniqueHistogram, ComplexValuesKeepTheirParts)
{
    Picture picture(EGDA_TYPE_C64, 1, 3, 1);
    picture.at<Egda_Complex64>(0, 0) = {3, 4};
    picture.at<Egda_Complex64>(0, 1) = {-1, 0};
    picture.at<Egda_Complex64>(0, 2) = {3, 4};
    const Unique histogram = uniqueOf(10, EGDA_TYPE_C64);
    ASSERT_EQ(eahg_HistogramAccumulateValues(histogram.get(), picture.get(), nullptr, nullptr), 0);
    const Columns columns(histogram.get());
    ASSERT_EQ(columns.values->datatype, EGDA_TYPE_C128);
    ASSERT_EQ(columns.values->numrows, 2);
    EXPECT_EQ(static_cast<Egda_Complex128*>(columns.values->data)[0].real, -1);
    EXPECT_EQ(static_cast<Egda_Complex128*>(columns.values->data)[1].imaginary, 4);
    EXPECT_EQ(rowsOf(columns.counts.get()), (std::vector<double>{1, 2}));
}

TEST(UniqueHistogram, ValuesMoreThanItsLimitEndTheCallBeforeThatPixel)
{
    for (const Egda_PixelType type : {EGDA_TYPE_U8, EGDA_TYPE_S16, EGDA_TYPE_S32, EGDA_TYPE_F64}) {
        Picture picture(type, 2, 5, 1);
        const int pixels[2][5] = {{4, 9, 4, 4, 9}, {9, 7, 4, 1, 1}};
        for (long at = 0; at < 10; ++at) {
            const int value = pixels[at / 5][at % 5];
            switch (type) {
            case EGDA_TYPE_U8:
                picture.at<std::uint8_t>(at / 5, at % 5) = static_cast<std::uint8_t>(value);
                break;
            case EGDA_TYPE_S16:
                picture.at<std::int16_t>(at / 5, at % 5) = static_cast<std::int16_t>(value);
                break;
            case EGDA_TYPE_S32:
                picture.at<std::int32_t>(at / 5, at % 5) = value;
                break;
            default:
                picture.at<double>(at / 5, at % 5) = value;
            }
        }
        const Unique histogram = uniqueOf(2, type);
        EXPECT_EQ(eahg_HistogramAccumulateValues(histogram.get(), picture.get(), nullptr, nullptr), 4);
        EXPECT_EQ(histogram->totalCount, 6);
        EXPECT_EQ(histogram->uniqueCount, 2);
        const Columns columns(histogram.get());
        EXPECT_EQ(rowsOf(columns.values.get()), (std::vector<double>{4, 9}));
        EXPECT_EQ(rowsOf(columns.counts.get()), (std::vector<double>{3, 3}));
    }
}

TEST(UniqueHistogram, FailuresSayWhat)
{
    Report type;
    EXPECT_EQ(eahg_HistogramCreate(10, EGDA_TYPE_STRING, 0, type), nullptr);
    EXPECT_EQ(rootCause(type), "Invalid data type for histogram");
    Report limit;
    EXPECT_EQ(eahg_HistogramCreate(4294967296.0, EGDA_TYPE_U8, 0, limit), nullptr);
    EXPECT_EQ(rootCause(limit), "Not implemented yet");
    const Unique histogram = uniqueOf(4294967295.0, EGDA_TYPE_F32);
    ASSERT_NE(histogram, nullptr);
    const Picture other(EGDA_TYPE_F64, 1, 1, 1);
    Report data;
    EXPECT_EQ(eahg_HistogramAccumulateValues(histogram.get(), other.get(), nullptr, data), -1);
    EXPECT_EQ(rootCause(data), "Not implemented yet");
    Eahg_Histogram* none = nullptr;
    eahg_HistogramDestroy(&none, nullptr);
    eahg_HistogramDestroy(nullptr, nullptr);
}

}  // namespace
