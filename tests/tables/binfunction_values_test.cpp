#include "tables/binfunction_helpers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

/* Bin functions over records of values. */

namespace {

constexpr Egda_PixelType kBinTypes[] = {EGDA_TYPE_U8,  EGDA_TYPE_S8,  EGDA_TYPE_U16, EGDA_TYPE_S16,
                                        EGDA_TYPE_U32, EGDA_TYPE_S32, EGDA_TYPE_F32, EGDA_TYPE_F64};

double elementAt(const Egda_BaseData& data, long index)
{
    BaseData one(egda_BaseDataCreate(1, 1, EGDA_TYPE_F64, data.objecttype, nullptr, nullptr));
    const BaseData from(egda_BaseDataDerived(&data, index / data.numcolumns, index % data.numcolumns, 1, 1, nullptr));
    egda_BaseDataCopy(from.get(), one.get(), nullptr);
    return *static_cast<double*>(one->data);
}

TEST(ApplyToValues, FillsEveryBinTypeUnderAMask)
{
    const BinFunction binFunction = linear(0, 10, 5);
    const BaseData values(egda_RasterCreate(2, 3, EGDA_TYPE_F32, nullptr));
    const float input[] = {-1, 0, 3.9F, 10, 11, NAN};
    std::memcpy(values->data, input, sizeof input);
    const BaseData mask(egda_RasterCreate(2, 3, EGDA_TYPE_U8, nullptr));
    const std::uint8_t flags[] = {1, 1, 1, 0, 1, 2};
    std::memcpy(mask->data, flags, sizeof flags);

    for (const Egda_PixelType type : kBinTypes) {
        const BaseData bins(egda_RasterCreate(2, 4, type, nullptr));
        egda_BaseDataSetScalar(bins.get(), 77, EGDA_SET_ALL, 0, nullptr);
        ASSERT_TRUE(edsc_BinFunctionApplyToValues(binFunction.get(), values.get(), 100, 101, mask.get(), bins.get(),
                                                  nullptr));
        const double expected[] = {100, 0, 1, 77, 77, 101, 100, 77};
        for (long i = 0; i < 8; ++i) {
            EXPECT_EQ(elementAt(*bins, i), expected[i]) << "type " << type << ", element " << i;
        }
    }
}

TEST(ApplyToValues, InPlaceEqualsValueByValue)
{
    for (const Egda_PixelType type : kBinTypes) {
        const BinFunction binFunction = explicitLimits({3, 5, 9, 20, 80}, 4);
        const BaseData data(egda_RasterCreate(30, 41, type, nullptr));
        std::vector<std::int32_t> expected;
        for (long i = 0; i < 30 * 41; ++i) {
            const BaseData cell(egda_BaseDataDerived(data.get(), i / 41, i % 41, 1, 1, nullptr));
            egda_BaseDataSetScalar(cell.get(), static_cast<double>(i % 97), EGDA_SET_ALL, 0, nullptr);
            expected.push_back(edsc_BinFunctionApply(binFunction.get(), static_cast<double>(i % 97), nullptr));
        }
        ASSERT_TRUE(edsc_BinFunctionApplyToValues(binFunction.get(), data.get(), 0, 3, nullptr, data.get(), nullptr));
        for (long i = 0; i < 30 * 41; ++i) {
            ASSERT_EQ(elementAt(*data, i), std::clamp(expected[static_cast<std::size_t>(i)], 0, 3)) << type;
        }
    }
}

TEST(ApplyToValues, DoublesOfTheEvenKindsAreRescaledInPlace)
{
    for (BinFunction& binFunction : std::array{direct(2, 6), linear(2, 8, 12)}) {
        edsc_BinFunctionBinCountModify(binFunction.get(), 1, 4, nullptr);
        std::vector<double> values;
        for (double value = -1; value < 12; value += 0.37) {
            values.push_back(value);
        }
        const BaseData data = doubles(values);
        ASSERT_TRUE(edsc_BinFunctionApplyToValues(binFunction.get(), data.get(), -7, 700, nullptr, data.get(), nullptr));
        for (std::size_t i = 0; i < values.size(); ++i) {
            const std::int32_t bin = edsc_BinFunctionApply(binFunction.get(), values[i], nullptr);
            EXPECT_EQ(static_cast<double*>(data->data)[i], bin < 0 ? -7 : bin >= 4 ? 700 : bin) << values[i];
        }
    }
}

TEST(ApplyToValues, OverlappingViewsDoNotDisturbEachOther)
{
    std::vector<double> block{0, 1, 2, 3, 4, 5};
    const BaseData whole = doubles(block);
    const BaseData input(egda_BaseDataDerived(whole.get(), 0, 0, 5, 1, nullptr));
    const BaseData output(egda_BaseDataDerived(whole.get(), 1, 0, 5, 1, nullptr));
    ASSERT_TRUE(edsc_BinFunctionApplyToValues(direct(-10, 50).get(), input.get(), 0, 0, nullptr, output.get(), nullptr));
    for (long i = 0; i < 5; ++i) {
        EXPECT_EQ(elementAt(*output, i), static_cast<double>(i) + 10);
    }
}

TEST(ApplyToValues, RefusesWhatItCannotWalk)
{
    const BinFunction binFunction = direct(0, 4);
    const BaseData raster(egda_RasterCreate(2, 2, EGDA_TYPE_F64, nullptr));
    const BaseData matrix(egda_MatrixCreate(2, 2, EGDA_TYPE_F64, nullptr));
    const BaseData bits(egda_RasterCreate(2, 2, EGDA_TYPE_U4, nullptr));
    const BaseData texts(egda_TableCreate(2, EGDA_TYPE_STRING, nullptr));
    const BaseData window(egda_BaseDataDerived(raster.get(), 0, 0, 2, 1, nullptr));
    const struct {
        const Egda_BaseData* values;
        const Egda_BaseData* mask;
        Egda_BaseData* bins;
        const char* text;
    } cases[] = {
        {raster.get(), nullptr, bits.get(), "Data type not currently supported for this operation."},
        {matrix.get(), nullptr, raster.get(), "Can't handle these args right now"},
        {raster.get(), nullptr, matrix.get(), "Can't handle these args right now"},
        {raster.get(), matrix.get(), raster.get(), "Can't handle these args right now"},
        {raster.get(), raster.get(), raster.get(), "Can't handle these args right now"},
        {window.get(), nullptr, raster.get(), "Can't handle these args right now"},
        {texts.get(), nullptr, raster.get(), "egda_BaseDataCopy filed"},
    };
    for (const auto& [values, mask, bins, text] : cases) {
        Report report;
        EXPECT_FALSE(edsc_BinFunctionApplyToValues(binFunction.get(), values, 0, 0, mask, bins, report));
        EXPECT_EQ(rootCause(report), text);
    }
}

TEST(ApplyInverseToValues, GivesLimitsAndNaN)
{
    const BinFunction binFunction = linear(0, 10, 5);
    for (const bool manyElements : {false, true}) {
        const std::vector<std::int32_t> numbers =
            manyElements ? std::vector<std::int32_t>{0, 4, 5, -1, 2, 2, 2} : std::vector<std::int32_t>{0, 4, 5, -1};
        const BaseData bins = tableOf(EGDA_TYPE_S32, numbers);
        const auto rows = static_cast<long>(numbers.size());
        const BaseData lower(egda_TableCreate(rows, EGDA_TYPE_F64, nullptr));
        const BaseData upper(egda_TableCreate(rows, EGDA_TYPE_F32, nullptr));
        const BaseData mask(egda_TableCreate(rows, EGDA_TYPE_U8, nullptr));
        egda_BaseDataSetScalar(mask.get(), 1, EGDA_SET_ALL, 0, nullptr);
        static_cast<std::uint8_t*>(mask->data)[1] = 0;
        ASSERT_TRUE(edsc_BinFunctionApplyInverseToValues(binFunction.get(), bins.get(), nullptr, lower.get(), nullptr,
                                                         nullptr));
        ASSERT_TRUE(edsc_BinFunctionApplyInverseToValues(binFunction.get(), bins.get(), mask.get(), nullptr, upper.get(),
                                                         nullptr));
        const double* low = static_cast<double*>(lower->data);
        const float* high = static_cast<float*>(upper->data);
        EXPECT_EQ(low[0], 0);
        EXPECT_NEAR(low[1], 8, 1e-12);
        EXPECT_TRUE(std::isnan(low[2]));
        EXPECT_TRUE(std::isnan(low[3]));
        EXPECT_EQ(high[0], 2);
        EXPECT_EQ(high[1], 0) << "masked";
        EXPECT_TRUE(std::isnan(high[2]));
    }
    Report report;
    EXPECT_FALSE(edsc_BinFunctionApplyInverseToValues(binFunction.get(), doubles({1}).get(), nullptr, nullptr, nullptr,
                                                      report));
    EXPECT_EQ(rootCause(report), "Args!");
}

}  // namespace
