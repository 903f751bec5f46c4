#include "tables/esta/members.h"
#include "tables/esta/region.h"

#include <cmath>
#include <emantle/tables/esta/measures.h>
#include <limits>

/* Total, deviation and extremes. The members do not differ by type: the loops below them are chosen by the data's. */

namespace emantle::tables {

namespace {

/* The mask that a member of either family looks at. */
template <bool isMasked>
const Egda_BaseData* checkedMask(const Egda_BaseData* data, const Egda_BaseData* mask)
{
    require(!isMasked || mask != nullptr, "NULL mask");
    requirePixels(data, isMasked ? mask : nullptr);
    return isMasked ? mask : nullptr;
}

template <bool isMasked>
Emsc_Boolean addTotal(const Egda_BaseData* data, const Egda_BaseData* mask, double* result, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureBaseDataTotal", 0, [&] {
        require(result != nullptr, "Bad args");
        *result += sumsOf(*data, checkedMask<isMasked>(data, mask)).sum;
        return 1;
    });
}

double deviationOf(const ScalarSums& sums, long threshold)
{
    if (sums.count < 2 || sums.count < static_cast<double>(threshold)) {
        return 0;
    }
    const double mean = sums.sum / sums.count;
    const double variance = (sums.squares - mean * mean * sums.count) / (sums.count - 1);
    /* Rounding may leave the squares of equal values a little short of what the mean asks for. */
    return variance < 0 ? 0 : std::sqrt(variance);
}

template <bool isMasked>
Emsc_Boolean addDeviation(const Egda_BaseData* data, const Egda_BaseData* mask, long threshold, double* result,
                          Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureBaseDataSdeviation", 0, [&] {
        require(result != nullptr, "Bad args");
        *result += deviationOf(sumsOf(*data, checkedMask<isMasked>(data, mask)), threshold);
        return 1;
    });
}

template <bool isMasked>
Esta_MaxMin maxMinOf(const Egda_BaseData* data, const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Esta_MaxMin>(err, "esta_FeatureBaseDataMaxMin", Esta_MaxMin{0, 0}, [&] {
        const ScalarSums sums = sumsOf(*data, checkedMask<isMasked>(data, mask));
        if (sums.greatest < sums.least) {
            /* Nothing but NaN, or nothing. */
            const double none = sums.count > 0 ? std::numeric_limits<double>::quiet_NaN() : 0;
            return Esta_MaxMin{none, none};
        }
        return Esta_MaxMin{sums.greatest, sums.least};
    });
}

template <bool isMasked>
double maximumOf(const Egda_BaseData* data, const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return maxMinOf<isMasked>(data, mask, err).maximum;
}

template <bool isMasked>
double minimumOf(const Egda_BaseData* data, const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return maxMinOf<isMasked>(data, mask, err).minimum;
}

template <bool isMasked>
constexpr auto kTotal = forNumbers<Esta_TotalMember>(addTotal<isMasked>);
template <bool isMasked>
constexpr auto kDeviation = forNumbers<Esta_SdeviationMember>(addDeviation<isMasked>);
template <bool isMasked>
constexpr auto kMaximum = forNumbers<Esta_ExtremeMember>(maximumOf<isMasked>);
template <bool isMasked>
constexpr auto kMinimum = forNumbers<Esta_ExtremeMember>(minimumOf<isMasked>);
template <bool isMasked>
constexpr auto kMaxMin = forNumbers<Esta_MaxMinMember>(maxMinOf<isMasked>);

}  // namespace

EMANTLE_API Emsc_Boolean esta_AoiFeatTotal(const Egda_BaseData* data, const Egda_BaseData* mask,
                                           const Egda_BaseData* ignore, double* result, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatTotal", 0, [&](EerrException& scope) {
        require(result != nullptr, "Bad args");
        const Region region(scope, data, mask, ignore);
        *result = ignore != nullptr ? 0 : *result;
        return checked(scope, region.memberOf(kTotal<true>, kTotal<false>)(data, region.mask(), result, scope));
    });
}

EMANTLE_API Emsc_Boolean esta_AoiFeatSdeviation(const Egda_BaseData* data, const Egda_BaseData* mask,
                                                const Egda_BaseData* ignore, long threshold, double* result,
                                                Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatSdeviation", 0, [&](EerrException& scope) {
        require(result != nullptr, "Bad args");
        const Region region(scope, data, mask, ignore);
        *result = ignore != nullptr ? 0 : *result;
        const Esta_SdeviationMember member = region.memberOf(kDeviation<true>, kDeviation<false>);
        return checked(scope, member(data, region.mask(), threshold, result, scope));
    });
}

EMANTLE_API double esta_AoiFeatMax(const Egda_BaseData* data, const Egda_BaseData* mask, const Egda_BaseData* ignore,
                                   Eerr_ErrorReport** err)
{
    return guarded<double>(err, "esta_AoiFeatMax", 0, [&](EerrException& scope) {
        const Region region(scope, data, mask, ignore);
        return checked(scope, region.memberOf(kMaximum<true>, kMaximum<false>)(data, region.mask(), scope));
    });
}

EMANTLE_API double esta_AoiFeatMin(const Egda_BaseData* data, const Egda_BaseData* mask, const Egda_BaseData* ignore,
                                   Eerr_ErrorReport** err)
{
    return guarded<double>(err, "esta_AoiFeatMin", 0, [&](EerrException& scope) {
        const Region region(scope, data, mask, ignore);
        return checked(scope, region.memberOf(kMinimum<true>, kMinimum<false>)(data, region.mask(), scope));
    });
}

EMANTLE_API Esta_MaxMin esta_AoiFeatMaxMin(const Egda_BaseData* data, const Egda_BaseData* mask,
                                           const Egda_BaseData* ignore, Eerr_ErrorReport** err)
{
    return guarded<Esta_MaxMin>(err, "esta_AoiFeatMaxMin", Esta_MaxMin{0, 0}, [&](EerrException& scope) {
        const Region region(scope, data, mask, ignore);
        return checked(scope, region.memberOf(kMaxMin<true>, kMaxMin<false>)(data, region.mask(), scope));
    });
}

EMANTLE_API const Esta_TotalMember* emsc_AddressOf_esta_FeatureBaseDataTotal(void) { return kTotal<false>.data(); }
EMANTLE_API const Esta_TotalMember* emsc_AddressOf_esta_AoiFeatBaseDataTotal(void) { return kTotal<true>.data(); }
EMANTLE_API const Esta_ExtremeMember* emsc_AddressOf_esta_FeatureBaseDataMax(void) { return kMaximum<false>.data(); }
EMANTLE_API const Esta_ExtremeMember* emsc_AddressOf_esta_AoiFeatBaseDataMax(void) { return kMaximum<true>.data(); }
EMANTLE_API const Esta_ExtremeMember* emsc_AddressOf_esta_FeatureBaseDataMin(void) { return kMinimum<false>.data(); }
EMANTLE_API const Esta_ExtremeMember* emsc_AddressOf_esta_AoiFeatBaseDataMin(void) { return kMinimum<true>.data(); }
EMANTLE_API const Esta_MaxMinMember* emsc_AddressOf_esta_FeatureBaseDataMaxMin(void) { return kMaxMin<false>.data(); }
EMANTLE_API const Esta_MaxMinMember* emsc_AddressOf_esta_AoiFeatBaseDataMaxMin(void) { return kMaxMin<true>.data(); }
EMANTLE_API const Esta_SdeviationMember* emsc_AddressOf_esta_FeatureBaseDataSdeviation(void)
{
    return kDeviation<false>.data();
}
EMANTLE_API const Esta_SdeviationMember* emsc_AddressOf_esta_AoiFeatBaseDataSdeviation(void)
{
    return kDeviation<true>.data();
}

}  // namespace emantle::tables
