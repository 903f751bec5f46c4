#include "tables/eahg/counts.h"
#include "tables/esta/raster.h"
#include "tables/esta/unique.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace emantle::tables {

namespace {

/* Whether blocks have left anything in the statistics. A first block that sets no pixel leaves both extremes 0, and
 * every other one a maximum above 0. */
bool hasTaken(const Esta_AllStats& allStats)
{
    const Esta_Statistics* const statistics = allStats.statistics;
    return !(allStats.count < 1) ||
           (statistics != nullptr && (statistics->minimum != 0 || statistics->maximum != 0));
}

bool isSameFunction(const Esta_Histogram& a, const Esta_Histogram& b, EerrException& scope)
{
    if (a.binfunction == nullptr || b.binfunction == nullptr) {
        return a.binfunction == b.binfunction;
    }
    return checked(scope, edsc_BinFunctionIsSame(a.binfunction, b.binfunction, scope)) != 0;
}

void requireMergeable(const Esta_AllStats* target, const Esta_AllStats* source, EerrException& scope)
{
    require(target != nullptr && source != nullptr && target != source, "Bad args");
    require((target->statistics == nullptr) == (source->statistics == nullptr),
            "One of the accumulators has statistics, and the other has none");
    require((target->histogram == nullptr) == (source->histogram == nullptr),
            "One of the accumulators has a histogram, and the other has none");
    if (target->histogram != nullptr) {
        require(target->histogram->numrows == source->histogram->numrows &&
                    isSameFunction(*target->histogram, *source->histogram, scope),
                "The histograms of the accumulators have different bin functions");
    }
    if (target->uvHistogram != nullptr && source->uvHistogram != nullptr) {
        require(target->uvHistogram->dataType == source->uvHistogram->dataType,
                "The accumulators keep values of different pixel types, %d and %d", target->uvHistogram->dataType,
                source->uvHistogram->dataType);
    }
}

/* Takes the values of `kept` as single pixels are taken, whose maximum is never below the smallest positive number. */
void takeAsPixels(Esta_AllStats& target, Eahg_Histogram& kept, EerrException& scope)
{
    takeKept(target, kept, scope);
    if (target.statistics != nullptr) {
        double& maximum = target.statistics->maximum;
        maximum = std::max(maximum, std::numeric_limits<double>::min());
    }
}

void mergeKeptValues(Esta_AllStats& target, const Esta_AllStats& source, EerrException& scope)
{
    Eahg_Histogram* const kept = source.uvHistogram;
    if (target.uvHistogram != nullptr && kept != nullptr) {
        if (!addCounts(*target.uvHistogram, *kept, scope)) {
            endAtLimit(target, scope);
            takeAsPixels(target, *kept, scope);
        }
    } else if (target.uvHistogram != nullptr) {
        if (hasTaken(source)) {
            endAtLimit(target, scope);
        }
    } else if (kept != nullptr && hasTaken(target)) {
        takeAsPixels(target, *kept, scope);
    } else if (kept != nullptr) {
        checked(scope, esta_AllStatsUVHistogramBegin(&target, kept->maxUnique, kept->dataType, scope));
        addCounts(*target.uvHistogram, *kept, scope);
    }
}

double lesser(double a, double b)
{
    return std::isnan(a) || a < b ? a : b;
}

double greater(double a, double b)
{
    return std::isnan(a) || a > b ? a : b;
}

void mergeStatistics(Esta_AllStats& target, const Esta_AllStats& source)
{
    if (target.statistics != nullptr) {
        Esta_Statistics& sums = *target.statistics;
        const Esta_Statistics& other = *source.statistics;
        if (hasTaken(source)) {
            const bool isFirst = target.count < 1;
            sums.minimum = isFirst ? other.minimum : lesser(sums.minimum, other.minimum);
            sums.maximum = isFirst ? other.maximum : greater(sums.maximum, other.maximum);
        }
        sums.mean += other.mean;
        sums.stddev += other.stddev;
    }
    target.count += source.count;
}

void addRows(Egda_BaseData* target, const Egda_BaseData* source)
{
    if (target != nullptr) {
        double* const sums = doublesOf(*target);
        std::transform(sums, sums + target->numelements, doublesOf(*source), sums, std::plus<>());
    }
}

void mergeLayer(Esta_AllStats& target, const Esta_AllStats& source, EerrException& scope)
{
    mergeKeptValues(target, source, scope);
    mergeStatistics(target, source);
    addRows(target.histogram, source.histogram);
}

bool isSameTable(const Egda_BaseData* a, const Egda_BaseData* b)
{
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    return a->datatype == b->datatype && a->numelements == b->numelements &&
           (a->numelements == 0 ||
            std::memcmp(a->data, b->data, static_cast<std::size_t>(a->numelements) *
                                              static_cast<std::size_t>(a->numbytes)) == 0);
}

bool isSameShape(const Egda_BaseData* a, const Egda_BaseData* b)
{
    return a == nullptr || b == nullptr ? a == b : a->numrows == b->numrows && a->numcolumns == b->numcolumns;
}

void requireMergeable(const Esta_AllStatsStack* target, const Esta_AllStatsStack* source, EerrException& scope)
{
    require(target != nullptr && source != nullptr && target != source, "Bad args");
    require(target->numLayers == source->numLayers, "The accumulators have different numbers of layers (%d vs. %d)",
            target->numLayers, source->numLayers);
    require(isSameShape(target->covariance, source->covariance) && isSameShape(target->means, source->means),
            "One of the accumulators has a covariance, and the other has none");
    require(isSameTable(target->excludedValues, source->excludedValues),
            "The accumulators exclude different values");
    require(target->skipFactorX == source->skipFactorX && target->skipFactorY == source->skipFactorY,
            "The accumulators have different skip factors, %d by %d and %d by %d", target->skipFactorX,
            target->skipFactorY, source->skipFactorX, source->skipFactorY);
    for (int layer = 0; layer < target->numLayers; ++layer) {
        const Esta_AllStats* const own = target->allStats[layer];
        const Esta_AllStats* const other = source->allStats[layer];
        require((own == nullptr) == (other == nullptr), "Layer %d is missing in one of the accumulators", layer);
        if (own != nullptr) {
            requireMergeable(own, other, scope);
        }
    }
}

}  // namespace

EMANTLE_API Emsc_Boolean esta_AllStatsMerge(Esta_AllStats* target, const Esta_AllStats* source, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsMerge", 0, [&](EerrException& scope) {
        requireMergeable(target, source, scope);
        mergeLayer(*target, *source, scope);
        return 1;
    });
}

/* A block under masks sets the layers' sums to those of the covariance. Had the target taken the source's, that would
 * have happened to what it had by then. */
EMANTLE_API Emsc_Boolean esta_AllStatsStackMerge(Esta_AllStatsStack* target, const Esta_AllStatsStack* source,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsStackMerge", 0, [&](EerrException& scope) {
        requireMergeable(target, source, scope);
        if (target->covariance != nullptr && target->means != nullptr && source->count > 0) {
            agreeWithCovariance(*target);
        }
        for (int layer = 0; layer < target->numLayers; ++layer) {
            if (target->allStats[layer] != nullptr) {
                mergeLayer(*target->allStats[layer], *source->allStats[layer], scope);
            }
        }
        addRows(target->covariance, source->covariance);
        addRows(target->means, source->means);
        target->count += source->count;
        return 1;
    });
}

}  // namespace emantle::tables
