#include "tables/esta/distinct.h"
#include "tables/esta/members.h"
#include "tables/esta/region.h"

#include <algorithm>
#include <cmath>
#include <emantle/data/epxm/convert.h>
#include <emantle/tables/esta/measures.h>

/* Diversity, minority, majority and median: of sorted pixels, and of histograms. Both ways give the same values, since
 * the histogram that is made here has a bin for each value. */

namespace emantle::tables {

namespace {

/* Below this the sorting of the pixels costs less than a histogram. */
constexpr long kFewPixels = 100;

void setResult(EerrException& scope, Egda_BaseData* result, double value)
{
    checked(scope,
            epxm_ConvertPixels(result->firstelement, result->datatype, &value, EGDA_TYPE_F64, 1, scope));
}

void requireResult(const Egda_BaseData* result)
{
    require(result != nullptr && result->numelements > 0 && isNumber(result->datatype), "Bad args");
}

void requireHistogram(const Esta_Histogram* histogram)
{
    require(histogram != nullptr && histogram->datatype == EGDA_TYPE_F64 && histogram->numrows > 0, "Bad args");
}

double lowerLimit(EerrException& scope, const Esta_Histogram& histogram, long bin)
{
    double lower = 0;
    edsc_BinFunctionApplyInverse(histogram.binfunction, static_cast<std::int32_t>(bin), &lower, nullptr, scope);
    check(scope, "edsc_BinFunctionApplyInverse failed");
    return lower;
}

/* The member of a table: the measure of the pixels themselves. */
template <ValueMeasure measure, bool isMasked>
Emsc_Boolean compared(const Egda_BaseData* data, const Egda_BaseData* mask, Egda_BaseData* result,
                      Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureBaseDataCompared", 0, [&](EerrException& scope) {
        require(!isMasked || mask != nullptr, "NULL mask");
        requirePixels(data, isMasked ? mask : nullptr);
        requireResult(result);
        setResult(scope, result, valueMeasure(*data, isMasked ? mask : nullptr, measure));
        return 1;
    });
}

template <ValueMeasure measure, bool isMasked>
constexpr auto kCompared = forNumbers<Esta_ComparedMember>(compared<measure, isMasked>);

bool hasFewValues(Egda_PixelType type) noexcept
{
    return egda_NumBytePerPixelFromType(type) <= 2;
}

/* The first value that a pixel of one or two bytes can have, and how many there are; U1, U2 and U4 are bytes. */
struct ValueRange {
    double first;
    std::uint32_t count;
};

ValueRange rangeOf(Egda_PixelType type) noexcept
{
    switch (type) {
    case EGDA_TYPE_S8:
        return {-128, 256};
    case EGDA_TYPE_U16:
        return {0, 65536};
    case EGDA_TYPE_S16:
        return {-32768, 65536};
    default:
        return {0, 256};
    }
}

BinFunctionPtr functionOfAll(EerrException& scope, Egda_PixelType type)
{
    const ValueRange range = rangeOf(type);
    return BinFunctionPtr(checked(scope, edsc_BinFunctionCreateDirect(range.first, range.count, scope)));
}

BinFunctionPtr functionOf(EerrException& scope, const ValueRuns& runs)
{
    if (runs.values.empty()) {
        return nullptr;
    }
    const auto count = static_cast<std::uint32_t>(runs.values.size());
    const DataPtr limits(checked(scope, egda_BaseDataCreate(count, 1, EGDA_TYPE_F64, EGDA_TABLE_OBJECT,
                                                            const_cast<double*>(runs.values.data()), scope)));
    return BinFunctionPtr(checked(scope,
                                  edsc_BinFunctionCreateFromTitle(EDSC_TITLE_UNIQUE, count, scope, limits.get()),
                                  "edsc_BinFunctionCreateFromTitle failed"));
}

Edsc_BinFunction* objectFunction(const Egda_BaseData* data, const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunction*>(err, "esta_AoiFeatObjectBinfunction", nullptr, [&](EerrException& scope) {
        requirePixels(data, mask);
        return (hasFewValues(data->datatype) ? functionOfAll(scope, data->datatype)
                                             : functionOf(scope, valueRuns(*data, mask)))
            .release();
    });
}

constexpr auto kObjectFunction = forNumbers<Esta_ObjectBinFunctionMember>(objectFunction);

/* A new histogram of the region; null where it has no values to make bins of. */
HistogramPtr histogramOf(EerrException& scope, const Region& region)
{
    if (hasFewValues(region.data().datatype)) {
        const BinFunctionPtr function = functionOfAll(scope, region.data().datatype);
        HistogramPtr histogram(checked(scope, esta_HistogramCreate(edsc_BinFunctionBinCount(function.get(), scope),
                                                                   function.get(), scope),
                                       "esta_HistogramCreate fail"));
        accumulateHistogram(*histogram, region.data(), region.mask(), scope);
        return histogram;
    }
    const ValueRuns runs = valueRuns(region.data(), region.mask());
    const BinFunctionPtr function = functionOf(scope, runs);
    if (!function) {
        return nullptr;
    }
    HistogramPtr histogram(checked(scope, esta_HistogramCreate(static_cast<long>(runs.counts.size()), function.get(),
                                                               scope),
                                   "esta_HistogramCreate fail"));
    std::copy(runs.counts.begin(), runs.counts.end(), doublesOf(*histogram));
    return histogram;
}

void refill(EerrException& scope, Esta_Histogram& histogram, const Region& region)
{
    requireHistogram(&histogram);
    std::fill_n(doublesOf(histogram), histogram.numrows, 0.0);
    accumulateHistogram(histogram, region.data(), region.mask(), scope);
}

double totalOf(const Esta_Histogram& histogram)
{
    double total = 0;
    for (long bin = 0; bin < histogram.numrows; ++bin) {
        total += doublesOf(histogram)[bin];
    }
    return total;
}

/* One of the four functions: without a histogram of the caller's the pixels of a small region, and of every region
 * whose values are too many for a bin each, are measured themselves. */
template <ValueMeasure measure, class FromHistogram>
Emsc_Boolean measured(const char* function, const Egda_BaseData* data, Egda_BaseData* result,
                      Esta_Histogram* histogram, const Egda_BaseData* ignore, Eerr_ErrorReport** err,
                      FromHistogram fromHistogram)
{
    return guarded<Emsc_Boolean>(err, function, 0, [&](EerrException& scope) {
        requireResult(result);
        const Region region(scope, data, nullptr, ignore);
        if (histogram == nullptr && (data->numelements < kFewPixels || !hasFewValues(data->datatype))) {
            const auto member = region.memberOf(kCompared<measure, true>, kCompared<measure, false>);
            return checked(scope, member(data, region.mask(), result, scope));
        }
        HistogramPtr own;
        if (histogram == nullptr) {
            own = histogramOf(scope, region);
        } else {
            refill(scope, *histogram, region);
        }
        const Esta_Histogram& filled = own ? *own : *histogram;
        const double total = totalOf(filled);
        if (total == 0) {
            setResult(scope, result, 0);
            return 1;
        }
        return checked(scope, fromHistogram(filled, total, scope));
    });
}

template <class Choose>
Emsc_Boolean fromBin(const char* function, const Esta_Histogram* histogram, Egda_BaseData* result,
                     Eerr_ErrorReport** err, Choose choose)
{
    return guarded<Emsc_Boolean>(err, function, 0, [&](EerrException& scope) {
        requireHistogram(histogram);
        requireResult(result);
        const long bin = choose(doublesOf(*histogram), static_cast<long>(histogram->numrows));
        setResult(scope, result, bin < 0 ? 0 : lowerLimit(scope, *histogram, bin));
        return 1;
    });
}

}  // namespace

EMANTLE_API Emsc_Boolean esta_FeatureDiversityFromHistogram(const Esta_Histogram* histogram, Egda_BaseData* result,
                                                            Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureDiversityFromHistogram", 0, [&](EerrException& scope) {
        requireHistogram(histogram);
        requireResult(result);
        const double* const counts = doublesOf(*histogram);
        setResult(scope, result, static_cast<double>(histogram->numrows -
                                                     std::count(counts, counts + histogram->numrows, 0.0)));
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_FeatureMinorityFromHistogram(const Esta_Histogram* histogram, Egda_BaseData* result,
                                                           Eerr_ErrorReport** err)
{
    return fromBin("esta_FeatureMinorityFromHistogram", histogram, result, err, [](const double* counts, long bins) {
        long best = 0;
        for (long bin = 0; bin < bins; ++bin) {
            if (counts[bin] > 0 && (counts[best] <= 0 || counts[bin] < counts[best])) {
                best = bin;
            }
        }
        return best;
    });
}

EMANTLE_API Emsc_Boolean esta_FeatureMajorityFromHistogram(const Esta_Histogram* histogram, Egda_BaseData* result,
                                                           Eerr_ErrorReport** err)
{
    return fromBin("esta_FeatureMajorityFromHistogram", histogram, result, err, [](const double* counts, long bins) {
        return static_cast<long>(std::max_element(counts, counts + bins) - counts);
    });
}

EMANTLE_API Emsc_Boolean esta_FeatureMedianFromHistogram(const Esta_Histogram* histogram, double half,
                                                         Egda_BaseData* result, Eerr_ErrorReport** err)
{
    return fromBin("esta_FeatureMedianFromHistogram", histogram, result, err, [&](const double* counts, long bins) {
        double running = 0;
        for (long bin = 0; bin < bins; ++bin) {
            running += counts[bin];
            if (running > half) {
                return bin;
            }
        }
        return -1L;
    });
}

EMANTLE_API Esta_Histogram* esta_AoiFeatObjectHistogram(const Egda_BaseData* data, Esta_Histogram* histogram,
                                                        const Egda_BaseData* ignore, Eerr_ErrorReport** err)
{
    return guarded<Esta_Histogram*>(err, "esta_AoiFeatObjectHistogram", nullptr, [&](EerrException& scope) {
        const Region region(scope, data, nullptr, ignore);
        if (histogram == nullptr) {
            return histogramOf(scope, region).release();
        }
        refill(scope, *histogram, region);
        return histogram;
    });
}

EMANTLE_API Emsc_Boolean esta_AoiFeatDiversity(const Egda_BaseData* data, Egda_BaseData* result,
                                               Esta_Histogram* histogram, const Egda_BaseData* ignore,
                                               Eerr_ErrorReport** err)
{
    return measured<ValueMeasure::diversity>("esta_AoiFeatDiversity", data, result, histogram, ignore, err,
                                              [&](const Esta_Histogram& filled, double, EerrException& scope) {
                                                  return esta_FeatureDiversityFromHistogram(&filled, result, scope);
                                              });
}

EMANTLE_API Emsc_Boolean esta_AoiFeatMinority(const Egda_BaseData* data, Egda_BaseData* result,
                                              Esta_Histogram* histogram, const Egda_BaseData* ignore,
                                              Eerr_ErrorReport** err)
{
    return measured<ValueMeasure::minority>("esta_AoiFeatMinority", data, result, histogram, ignore, err,
                                             [&](const Esta_Histogram& filled, double, EerrException& scope) {
                                                 return esta_FeatureMinorityFromHistogram(&filled, result, scope);
                                             });
}

EMANTLE_API Emsc_Boolean esta_AoiFeatMajority(const Egda_BaseData* data, Egda_BaseData* result,
                                              Esta_Histogram* histogram, const Egda_BaseData* ignore,
                                              Eerr_ErrorReport** err)
{
    return measured<ValueMeasure::majority>("esta_AoiFeatMajority", data, result, histogram, ignore, err,
                                             [&](const Esta_Histogram& filled, double, EerrException& scope) {
                                                 return esta_FeatureMajorityFromHistogram(&filled, result, scope);
                                             });
}

EMANTLE_API Emsc_Boolean esta_AoiFeatMedian(const Egda_BaseData* data, Egda_BaseData* result,
                                            Esta_Histogram* histogram, const Egda_BaseData* ignore,
                                            Eerr_ErrorReport** err)
{
    return measured<ValueMeasure::median>("esta_AoiFeatMedian", data, result, histogram, ignore, err,
                                           [&](const Esta_Histogram& filled, double total, EerrException& scope) {
                                               return esta_FeatureMedianFromHistogram(&filled, std::trunc(total / 2),
                                                                                      result, scope);
                                           });
}

#define EMANTLE_COMPARED(name, measure)                                                                \
    EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_FeatureBaseDataCompared##name(void)     \
    {                                                                                                  \
        return kCompared<ValueMeasure::measure, false>.data();                                        \
    }                                                                                                  \
    EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_AoiFeatBaseDataCompared##name(void)     \
    {                                                                                                  \
        return kCompared<ValueMeasure::measure, true>.data();                                         \
    }
EMANTLE_COMPARED(Diversity, diversity)
EMANTLE_COMPARED(Minority, minority)
EMANTLE_COMPARED(Majority, majority)
EMANTLE_COMPARED(Median, median)
#undef EMANTLE_COMPARED

EMANTLE_API const Esta_ObjectBinFunctionMember* emsc_AddressOf_esta_AoiFeatObjectBinfunction(void)
{
    return kObjectFunction.data();
}

}  // namespace emantle::tables
