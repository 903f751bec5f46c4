#include "tables/esta/owners.h"

#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace emantle::tables {

namespace {

/* The lower limit of a bin; NaN for a row past the bins. */
double lowerLimit(const Esta_Histogram& histogram, long bin, EerrException& scope)
{
    constexpr const char* kFailed = "Error reported by function egda_SaoFromBinToDataFunc";
    const std::uint32_t bins = checked(scope, edsc_BinFunctionBinCount(histogram.binfunction, scope), kFailed);
    if (bin >= static_cast<long>(bins)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    double lower = 0;
    edsc_BinFunctionApplyInverse(histogram.binfunction, static_cast<std::int32_t>(bin), &lower, nullptr, scope);
    check(scope, kFailed);
    return lower;
}

/* `mode` from the first fullest bin, `median` from the first bin at which the running count reaches half of `count`. */
void findBins(Esta_Statistics& statistics, const Esta_Histogram& histogram, double count, EerrException& scope)
{
    if (histogram.numrows < 1) {
        return;
    }
    const double* counts = doublesOf(histogram);
    long modeBin = 0;
    long medianBin = 0;
    double running = 0;
    for (long bin = 0; bin < histogram.numrows; ++bin) {
        if (counts[modeBin] < counts[bin]) {
            modeBin = bin;
        }
        if (running < count / 2) {
            running += counts[bin];
            medianBin = bin;
        }
    }
    statistics.median = lowerLimit(histogram, medianBin, scope);
    statistics.mode = lowerLimit(histogram, modeBin, scope);
}

/* Sums become results. Rounding may leave the squares of equal values a little short of what the mean asks for. */
void divide(Esta_Statistics& statistics, double count)
{
    const double sum = statistics.mean;
    const double squares = statistics.stddev;
    statistics.mean = count > 0 ? sum / count : 0;
    statistics.stddev = 0;
    if (count > 0 && count != 1) {
        const double variance = (squares - statistics.mean * statistics.mean * count) / (count - 1);
        statistics.stddev = variance < 0 ? 0 : std::sqrt(variance);
    }
}

}  // namespace

EMANTLE_API Esta_AllStats* esta_AllStatsCreate(long numBins, const Edsc_BinFunction* binFunction,
                                               Eerr_ErrorReport** err)
{
    return guarded<Esta_AllStats*>(err, "esta_AllStatsCreate", nullptr, [&](EerrException& scope) {
        EstaPtr<Esta_AllStats> allStats(allocate<Esta_AllStats>(1, "Out of memory").release());
        allStats->statistics = checked(scope, esta_StatisticsCreate(scope),
                                       "Error reported by function esta_StatisticsCreate");
        if (numBins != 0) {
            allStats->histogram = checked(scope, esta_HistogramCreate(numBins, binFunction, scope),
                                          "Error reported by function esta_HistogramCreate");
        }
        return allStats.release();
    });
}

EMANTLE_API Emsc_Boolean esta_AllStatsInit(Esta_AllStats* allStats, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsInit", 0, [&](EerrException& scope) {
        require(allStats != nullptr, "Bad args");
        allStats->count = 0;
        if (allStats->statistics != nullptr) {
            *allStats->statistics = Esta_Statistics{};
        }
        if (allStats->histogram != nullptr) {
            egda_BaseDataSetZero(allStats->histogram, scope);
            check(scope, "Error reported by function egda_BaseDataSetZero");
        }
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_AllStatsHasHistogram(const Esta_AllStats* allStats)
{
    return allStats != nullptr && (allStats->histogram != nullptr || allStats->uvHistogram != nullptr);
}

EMANTLE_API Esta_AllStats* esta_AllStatsCopy(const Esta_AllStats* source, Esta_AllStats* target,
                                             Eerr_ErrorReport** err)
{
    return guarded<Esta_AllStats*>(err, "esta_AllStatsCopy", nullptr, [&](EerrException& scope) {
        require(source != nullptr, "Bad args");
        require(source->uvHistogram == nullptr && (target == nullptr || target->uvHistogram == nullptr),
                "Can't do this yet");
        if (source == target) {
            return target;
        }
        EstaPtr<Esta_Statistics> statistics;
        if (source->statistics != nullptr) {
            statistics.reset(checked(scope, esta_StatisticsCopy(source->statistics, nullptr, scope),
                                     "Error reported by function esta_StatisticsCopy"));
        }
        HistogramPtr histogram;
        if (source->histogram != nullptr) {
            histogram.reset(checked(scope, esta_HistogramCopy(source->histogram, nullptr, scope),
                                    "Error reported by function esta_HistogramCopy"));
        }
        if (target == nullptr) {
            target = allocate<Esta_AllStats>(1, "Out of memory").release();
        }
        target->count = source->count;
        replace(target->statistics, std::move(statistics));
        replaceHistogram(target->histogram, std::move(histogram));
        return target;
    });
}

/* The quirks are kept: `median` and `mode` are the lower limits of their bins, and 0 without a histogram. */
EMANTLE_API Emsc_Boolean esta_AllStatsFinish(Esta_AllStats* allStats, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsFinish", 0, [&](EerrException& scope) {
        require(allStats != nullptr, "Bad args");
        require(allStats->uvHistogram == nullptr, "uvHistogram must be terminated");
        if (Esta_Statistics* const statistics = allStats->statistics) {
            divide(*statistics, allStats->count);
            statistics->median = 0;
            statistics->mode = 0;
            if (allStats->histogram != nullptr) {
                findBins(*statistics, *allStats->histogram, allStats->count, scope);
            }
        }
        return 1;
    });
}

EMANTLE_API void esta_AllStatsDelete(Esta_AllStats* allStats, Eerr_ErrorReport** err)
{
    guarded(err, "esta_AllStatsDelete", [&](EerrException& scope) {
        if (allStats == nullptr) {
            return;
        }
        const HeapPtr<Esta_AllStats> owned(allStats);
        const HistogramPtr histogram(allStats->histogram);
        const EstaPtr<Esta_Statistics> statistics(allStats->statistics);
        eahg_HistogramDestroy(&allStats->uvHistogram, scope);
        check(scope);
    });
}

}  // namespace emantle::tables
