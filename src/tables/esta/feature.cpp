#include "tables/esta/members.h"
#include "tables/esta/raster.h"

/* The members of the tables. One member serves every type: the loops below it are chosen by the data's own. */

namespace emantle::tables {

namespace {

Emsc_Boolean statisticsOfAll(Esta_AllStats* allStats, const Egda_BaseData* data, const Egda_BaseData*,
                             Eerr_ErrorReport** err)
{
    return esta_RasterAccumulateStats(allStats, data, nullptr, err);
}

Emsc_Boolean statisticsUnderMask(Esta_AllStats* allStats, const Egda_BaseData* data, const Egda_BaseData* mask,
                                 Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatRectAccumStats", 0, [&](EerrException& scope) {
        require(mask != nullptr, "NULL mask");
        return checked(scope, esta_RasterAccumulateStats(allStats, data, mask, scope));
    });
}

Emsc_Boolean histogramOfAll(Esta_Histogram* histogram, const Egda_BaseData* data, const Egda_BaseData*,
                            Eerr_ErrorReport** err)
{
    return esta_RasterAccumulateHistogram(histogram, data, nullptr, err);
}

Emsc_Boolean histogramUnderMask(Esta_Histogram* histogram, const Egda_BaseData* data, const Egda_BaseData* mask,
                                Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatRectAccumHistogram", 0, [&](EerrException& scope) {
        require(mask != nullptr, "NULL mask");
        return checked(scope, esta_RasterAccumulateHistogram(histogram, data, mask, scope));
    });
}

Emsc_Boolean covarianceOfAll(Esta_AllStatsStack* stack, const Egda_BaseDataStack* rectangles, const Egda_BaseData*,
                             Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureRectAccumCovariance", 0, [&] {
        requireStack(stack, rectangles);
        accumulateCovariance(*stack, *rectangles, nullptr);
        return 1;
    });
}

Emsc_Boolean covarianceUnderMask(Esta_AllStatsStack* stack, const Egda_BaseDataStack* rectangles,
                                 const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatRectAccumCovariance", 0, [&] {
        require(mask != nullptr, "NULL mask");
        requireStack(stack, rectangles);
        accumulateCovariance(*stack, *rectangles, mask);
        return 1;
    });
}

Emsc_Boolean clearValueOfRectangle(const Egda_BaseData* data, double value, Egda_BaseData* mask,
                                   Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatIgnoredValueToMaskThrPixelRect", 0, [&](EerrException& scope) {
        const DataPtr values(
            checked(scope, egda_BaseDataCreate(1, 1, EGDA_TYPE_F64, EGDA_TABLE_OBJECT, &value, scope)));
        return checked(scope, esta_FeatureIgnoredValuesToMask(data, values.get(), mask, scope));
    });
}

Emsc_Boolean clearValueOfStack(const Egda_BaseDataStack* rectangles, double value, Egda_BaseData* mask,
                               Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatIgnoredValueToMaskThrStack", 0, [&](EerrException& scope) {
        require(rectangles != nullptr, "Bad args");
        for (int layer = 0; layer < rectangles->numlayers; ++layer) {
            checked(scope, clearValueOfRectangle(rectangles->datalayer[layer], value, mask, scope));
        }
        return 1;
    });
}

constexpr auto kStatisticsOfAll = forNumbers<Esta_AccumStatsMember>(statisticsOfAll);
constexpr auto kStatisticsUnderMask = forNumbers<Esta_AccumStatsMember>(statisticsUnderMask);
constexpr auto kCovarianceOfAll = forNumbers<Esta_AccumCovarianceMember>(covarianceOfAll);
constexpr auto kCovarianceUnderMask = forNumbers<Esta_AccumCovarianceMember>(covarianceUnderMask);
constexpr auto kIgnoredValue = forNumbers<Esta_IgnoredValueMember>(clearValueOfRectangle);
constexpr auto kIgnoredValueOfStack = forNumbers<Esta_IgnoredValueOfStackMember>(clearValueOfStack);
constexpr auto kIgnoredValues = forNumbers<Esta_IgnoredValuesMember>(esta_FeatureIgnoredValuesToMask);

struct HistogramTable {
    Esta_AccumHistogramRow rows[ESTA_NUM_BIN_FUNCTION_ROWS];
};

constexpr HistogramTable forKinds(Esta_AccumHistogramMember member)
{
    HistogramTable table{};
    for (auto& row : table.rows) {
        for (int type = 0; type < EGDA_TYPE_STRING; ++type) {
            row[type] = member;
        }
    }
    return table;
}

constexpr HistogramTable kHistogramOfAll = forKinds(histogramOfAll);
constexpr HistogramTable kHistogramUnderMask = forKinds(histogramUnderMask);

}  // namespace

EMANTLE_API Emsc_Boolean esta_AoiFeatRasterAccumStats(Esta_AllStats* allStats, const Egda_BaseData* data,
                                                      const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatRasterAccumStats", 0, [&](EerrException& scope) {
        requirePixels(data, mask);
        const auto& members = mask != nullptr ? kStatisticsUnderMask : kStatisticsOfAll;
        return checked(scope, members[static_cast<std::size_t>(data->datatype)](allStats, data, mask, scope));
    });
}

EMANTLE_API Emsc_Boolean esta_AoiFeatRasterAccumHistogram(Esta_Histogram* histogram, const Egda_BaseData* data,
                                                          const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatRasterAccumHistogram", 0, [&](EerrException& scope) {
        require(histogram != nullptr, "Bad args");
        requirePixels(data, mask);
        const std::int32_t kind = edsc_BinFunctionType(histogram->binfunction);
        const std::int32_t row = kind < 0 || kind >= ESTA_ROW_OF_OTHER_BIN_FUNCTIONS
                                     ? std::int32_t{ESTA_ROW_OF_OTHER_BIN_FUNCTIONS}
                                     : kind;
        const auto& members = (mask != nullptr ? kHistogramUnderMask : kHistogramOfAll).rows[row];
        return checked(scope, members[data->datatype](histogram, data, mask, scope));
    });
}

EMANTLE_API const Esta_AccumStatsMember* emsc_AddressOf_esta_FeatureRectAccumStats(void)
{
    return kStatisticsOfAll.data();
}

EMANTLE_API const Esta_AccumStatsMember* emsc_AddressOf_esta_AoiFeatRectAccumStats(void)
{
    return kStatisticsUnderMask.data();
}

EMANTLE_API const Esta_AccumHistogramRow* emsc_AddressOf_esta_FeatureRectAccumHistogram(void)
{
    return kHistogramOfAll.rows;
}

EMANTLE_API const Esta_AccumHistogramRow* emsc_AddressOf_esta_AoiFeatRectAccumHistogram(void)
{
    return kHistogramUnderMask.rows;
}

EMANTLE_API const Esta_AccumCovarianceMember* emsc_AddressOf_esta_FeatureRectAccumCovariance(void)
{
    return kCovarianceOfAll.data();
}

EMANTLE_API const Esta_AccumCovarianceMember* emsc_AddressOf_esta_AoiFeatRectAccumCovariance(void)
{
    return kCovarianceUnderMask.data();
}

EMANTLE_API const Esta_IgnoredValuesMember* emsc_AddressOf_esta_FeatureIgnoredValuesToMask(void)
{
    return kIgnoredValues.data();
}

EMANTLE_API const Esta_IgnoredValueMember* emsc_AddressOf_esta_AoiFeatIgnoredValueToMaskThrPixelRect(void)
{
    return kIgnoredValue.data();
}

EMANTLE_API const Esta_IgnoredValueOfStackMember* emsc_AddressOf_esta_AoiFeatIgnoredValueToMaskThrStack(void)
{
    return kIgnoredValueOfStack.data();
}

}  // namespace emantle::tables
