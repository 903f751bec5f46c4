#include "tables/esta/store.h"

#include <atomic>

namespace emantle::tables {

namespace {

constinit mif::OwnDictionary ownDictionary;

constexpr mif::Field kStatisticsFields[] = {
    {"minimum", offsetof(Esta_Statistics, minimum)}, {"maximum", offsetof(Esta_Statistics, maximum)},
    {"mean", offsetof(Esta_Statistics, mean)},       {"median", offsetof(Esta_Statistics, median)},
    {"mode", offsetof(Esta_Statistics, mode)},       {"stddev", offsetof(Esta_Statistics, stddev)},
};
constexpr mif::Field kCovarianceFields[] = {{"covariance", offsetof(CovarianceRecord, covariance)}};
constexpr mif::Field kExcludedValuesFields[] = {{"valueBD", offsetof(ExcludedValuesRecord, valueBD)}};
constexpr mif::Field kSkipFactorsFields[] = {
    {"skipFactorX", offsetof(SkipFactorsRecord, skipFactorX)},
    {"skipFactorY", offsetof(SkipFactorsRecord, skipFactorY)},
};

/* The toolkit record that the family was prepared for. */
std::atomic<Eint_InitToolkitData*> toolkit;

Emif_Design* copyOf(mif::OwnDesign& design, const char* function, Eerr_ErrorReport** err)
{
    return guarded<Emif_Design*>(err, function, nullptr, [&](EerrException& scope) {
        return checked(scope, emif_DesignCopy(design.fetch(scope), scope));
    });
}

}  // namespace

constinit mif::OwnDesign statisticsDesign(
    ownDictionary, "{1:dminimum,1:dmaximum,1:dmean,1:dmedian,1:dmode,1:dstddev,}Esta_Statistics,",
    mif::recordOf<Esta_Statistics>(kStatisticsFields));
constinit mif::OwnDesign covarianceDesign(ownDictionary, "{1:bcovariance,}Esta_Covariance,",
                                          mif::recordOf<CovarianceRecord>(kCovarianceFields));
constinit mif::OwnDesign excludedValuesDesign(ownDictionary, "{1:*bvalueBD,}Esta_ExcludedValues,",
                                              mif::recordOf<ExcludedValuesRecord>(kExcludedValuesFields));
constinit mif::OwnDesign skipFactorsDesign(ownDictionary, "{1:lskipFactorX,1:lskipFactorY,}Esta_SkipFactors,",
                                           mif::recordOf<SkipFactorsRecord>(kSkipFactorsFields));

EMANTLE_API Emsc_Boolean esta_Init(Eint_InitToolkitData* context, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_Init", 0, [&] {
        require(context != nullptr, "Toolkit has not been initialized");
        toolkit = context;
        return 1;
    });
}

EMANTLE_API Emif_Design* esta_StatisticsDesignFetch(Eerr_ErrorReport** err)
{
    return copyOf(statisticsDesign, "esta_StatisticsDesignFetch", err);
}

EMANTLE_API Emif_Design* esta_CovarianceDesignFetch(Eerr_ErrorReport** err)
{
    return copyOf(covarianceDesign, "esta_CovarianceDesignFetch", err);
}

EMANTLE_API Emif_Design* esta_ExcludedValuesDesignFetch(Eerr_ErrorReport** err)
{
    return copyOf(excludedValuesDesign, "esta_ExcludedValuesDesignFetch", err);
}

EMANTLE_API Emif_Design* esta_SkipFactorsDesignFetch(Eerr_ErrorReport** err)
{
    return copyOf(skipFactorsDesign, "esta_SkipFactorsDesignFetch", err);
}

}  // namespace emantle::tables
