#include "tables/esta/members.h"
#include "tables/esta/owners.h"

#include <emantle/data/epxm/convert.h>
#include <emantle/tables/esta/measures.h>
#include <vector>

namespace emantle::tables {

namespace {

void requireCounts(const Esta_Histogram* histogram)
{
    require(histogram != nullptr && histogram->datatype == EGDA_TYPE_F64 && histogram->numrows > 0, "Bad args");
}

double totalOf(const Esta_Histogram& histogram)
{
    double total = 0;
    for (long bin = 0; bin < histogram.numrows; ++bin) {
        total += doublesOf(histogram)[bin];
    }
    require(total > 0, "A histogram that counts %g pixels has no shares", total);
    return total;
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
        const double sourceTotal = totalOf(*source);
        const double targetTotal = totalOf(*target);
        std::vector<double> places(static_cast<std::size_t>(source->numrows));
        long place = 0;
        double reached = doublesOf(*target)[0];
        double running = 0;
        for (long bin = 0; bin < source->numrows; ++bin) {
            running += doublesOf(*source)[bin];
            while (reached * sourceTotal < running * targetTotal && place + 1 < target->numrows) {
                ++place;
                reached += doublesOf(*target)[place];
            }
            places[static_cast<std::size_t>(bin)] = static_cast<double>(place);
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
