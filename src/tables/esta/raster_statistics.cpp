#include "tables/esta/raster.h"

#include <algorithm>
#include <cfloat>

namespace emantle::tables {

namespace {

/* The least double above 0 without loss of precision: where a maximum starts. */
constexpr double kFirstMaximum = DBL_MIN;

const StatisticsLoops& loops()
{
    static const StatisticsLoops& chosen = statisticsLoops(platform::fastestInstructionSet());
    return chosen;
}

double firstPixel(const Egda_BaseData& data)
{
    static const CovarianceLoops& widening = covarianceLoops(platform::fastestInstructionSet());
    double first = 0;
    widening.widen[data.datatype](data.firstelement, nullptr, 1, &first);
    return first;
}

void takeLess(double& least, double value)
{
    least = value < least ? value : least;
}

void takeMore(double& greatest, double value)
{
    greatest = greatest < value ? value : greatest;
}

}  // namespace

ScalarSums sumsOf(const Egda_BaseData& data, const Egda_BaseData* mask)
{
    if (data.numelements < 1) {
        return kNothing;
    }
    const auto& members = mask != nullptr ? loops().masked : loops().whole;
    return members[data.datatype](pixelBlock(data, mask));
}

/* The maximum starts at the smallest positive double and not at the lowest one, so pixels that are all negative
 * report that. What a NaN may do follows from the comparisons: it changes neither extreme, unless it is the first
 * pixel of a first block without mask, which then stays. */
void accumulateStatistics(Esta_AllStats& allStats, const Egda_BaseData& data, const Egda_BaseData* mask)
{
    if (data.numelements < 1) {
        return;
    }
    Esta_Statistics& statistics = *allStats.statistics;
    if (allStats.count < 1) {
        const double first = mask != nullptr ? 0 : firstPixel(data);
        statistics.minimum = mask != nullptr ? DBL_MAX : first;
        statistics.maximum = mask != nullptr ? kFirstMaximum : first;
    }
    const ScalarSums sums = sumsOf(data, mask);
    allStats.count += sums.count;
    if (allStats.count < 1) {
        statistics.minimum = 0;
        statistics.maximum = 0;
        return;
    }
    takeLess(statistics.minimum, std::min(sums.least, DBL_MAX));
    takeMore(statistics.maximum, std::max(sums.greatest, kFirstMaximum));
    statistics.mean += sums.sum;
    statistics.stddev += sums.squares;
}

EMANTLE_API Emsc_Boolean esta_RasterAccumulateStats(Esta_AllStats* allStats, const Egda_BaseData* data,
                                                    const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_RasterAccumulateStats", 0, [&] {
        require(allStats != nullptr && allStats->statistics != nullptr, "Bad args");
        requirePixels(data, mask);
        accumulateStatistics(*allStats, *data, mask);
        return 1;
    });
}

}  // namespace emantle::tables
