#include "tables/esta/members.h"
#include "tables/esta/owners.h"

#include <algorithm>
#include <emantle/data/epxm/convert.h>
#include <emantle/tables/esta/measures.h>
#include <numeric>
#include <vector>

namespace emantle::tables {

namespace {

void requireCounts(const Esta_Histogram* histogram)
{
    require(histogram != nullptr && histogram->datatype == EGDA_TYPE_F64 && histogram->numrows > 0, "Bad args");
}

/* The running counts. */
std::vector<double> runningOf(const Esta_Histogram& histogram)
{
    const double* const counts = doublesOf(histogram);
    std::vector<double> running(counts, counts + histogram.numrows);
    std::partial_sum(running.begin(), running.end(), running.begin());
    require(running.back() > 0, "A histogram that counts %g pixels has no shares", running.back());
    return running;
}

}  // namespace

/* Shares are compared by their products with both totals, so that equal histograms match bin by bin. */
EMANTLE_API Emsc_Boolean esta_FeatureHistogramMatchLUTFunc(const Esta_Histogram* source, const Esta_Histogram* target,
                                                           Egda_BaseData* lut, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureHistogramMatchLUTFunc", 0, [&](EerrException& scope) {
        requireCounts(source);
        requireCounts(target);
        require(lut != nullptr && isNumber(lut->datatype) && lut->numelements >= source->numrows, "Bad args");
        std::vector<double> shares = runningOf(*source);
        std::vector<double> reached = runningOf(*target);
        const double sourceTotal = shares.back();
        const double targetTotal = reached.back();
        std::for_each(shares.begin(), shares.end(), [&](double& share) { share *= targetTotal; });
        std::for_each(reached.begin(), reached.end(), [&](double& share) { share *= sourceTotal; });
        /* Each step goes on in one of the two, without a branch: which one is anybody's guess. */
        const std::size_t last = reached.size() - 1;
        std::vector<double> places(shares.size() + 1);
        std::size_t place = 0;
        for (std::size_t bin = 0; bin < shares.size();) {
            const bool isBelow = (reached[place] < shares[bin]) & (place < last);
            places[bin] = static_cast<double>(static_cast<std::int64_t>(place));
            place += isBelow;
            bin += !isBelow;
        }
        return checked(scope, epxm_ConvertPixels(lut->data, lut->datatype, places.data(), EGDA_TYPE_F64,
                                                 source->numrows, scope));
    });
}

namespace {

constexpr auto kMatch = forNumbers<Esta_MatchLutMember>(esta_FeatureHistogramMatchLUTFunc);

}  // namespace

EMANTLE_API Emsc_Boolean esta_FeatureHistogramMatchLUTlayer(const Esta_Histogram* source, const Esta_Histogram* target,
                                                            Egda_BaseData* lut, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureHistogramMatchLUTlayer", 0, [&](EerrException& scope) {
        require(lut != nullptr && isNumber(lut->datatype), "Bad args");
        return checked(scope, kMatch[static_cast<std::size_t>(lut->datatype)](source, target, lut, scope));
    });
}

EMANTLE_API Emsc_Boolean esta_FeatureHistogramMatchLUT(const Egda_BaseDataStack* sources,
                                                       const Egda_BaseDataStack* targets, Egda_BaseDataStack* luts,
                                                       Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureHistogramMatchLUT", 0, [&](EerrException& scope) {
        require(sources != nullptr && targets != nullptr && luts != nullptr, "Bad args");
        require(sources->numlayers == targets->numlayers && sources->numlayers == luts->numlayers,
                "Stacks of %d, %d and %d layers do not match", sources->numlayers, targets->numlayers,
                luts->numlayers);
        for (int layer = 0; layer < sources->numlayers; ++layer) {
            checked(scope, esta_FeatureHistogramMatchLUTlayer(sources->datalayer[layer], targets->datalayer[layer],
                                                              luts->datalayer[layer], scope));
        }
        return 1;
    });
}

EMANTLE_API const Esta_MatchLutMember* emsc_AddressOf_esta_FeatureHistogramMatchLUT(void)
{
    return kMatch.data();
}

}  // namespace emantle::tables
