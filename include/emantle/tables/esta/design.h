#ifndef EMANTLE_TABLES_ESTA_DESIGN_H
#define EMANTLE_TABLES_ESTA_DESIGN_H

#include <emantle/frame/eint.h>
#include <emantle/store/emif/design.h>

/* esta, the designs of what a store holds, and start-up. */

/* Prepares the family for the toolkit record `context`; calls after the first do nothing. Fails with "Toolkit has not
 * been initialized" for null. */
EMANTLE_API Emsc_Boolean esta_Init(Eint_InitToolkitData* context, Eerr_ErrorReport** err);

/* Copies of the designs, the caller's. */
EMANTLE_API Emif_Design* esta_StatisticsDesignFetch(Eerr_ErrorReport** err);
EMANTLE_API Emif_Design* esta_CovarianceDesignFetch(Eerr_ErrorReport** err);
EMANTLE_API Emif_Design* esta_ExcludedValuesDesignFetch(Eerr_ErrorReport** err);
EMANTLE_API Emif_Design* esta_SkipFactorsDesignFetch(Eerr_ErrorReport** err);

#endif
