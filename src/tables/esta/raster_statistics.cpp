#include "tables/esta/raster.h"

#include <cfloat>

namespace emantle::tables {

namespace {

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

/* The maximum starts at the smallest positive double and not at the lowest one, so pixels that are all negative
 * report that. What a NaN may do follows from the comparisons: it changes neither extreme, unless it is the first
 * pixel of a first block without mask, which then stays. */
void accumulateStatistics(Esta_AllStats& allStats, const Egda_BaseData& data, const Egda_BaseData* mask)
{
    if (data.numelements < 1) {
        return;
    }
    Esta_Statistics& statistics = *allStats.statistics;
    const PixelBlock block = pixelBlock(data, mask);
    if (allStats.count < 1) {
        const double first = mask != nullptr ? 0 : firstPixel(data);
        statistics.minimum = mask != nullptr ? DBL_MAX : first;
        statistics.maximum = mask != nullptr ? kFirstMaximum : first;
    }
    const auto& members = mask != nullptr ? loops().masked : loops().whole;
    const ScalarSums sums = members[data.datatype](block);
    allStats.count += sums.count;
    if (allStats.count < 1) {
        statistics.minimum = 0;
        statistics.maximum = 0;
        return;
    }
    takeLess(statistics.minimum, sums.least);
    takeMore(statistics.maximum, sums.greatest);
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
