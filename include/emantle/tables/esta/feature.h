#ifndef EMANTLE_TABLES_ESTA_FEATURE_H
#define EMANTLE_TABLES_ESTA_FEATURE_H

#include <emantle/tables/esta/accumulate.h>

/* esta, the accumulation of whole rectangles (Feature) and of the pixels under a mask (AoiFeat).
 *  1. The tables have one cell a pixel type, by type code; the one of EGDA_TYPE_STRING is null. The members of a
 *     Feature table do not look at `mask`, those of an AoiFeat table need it.
 *  2. A caller may pick a member once and use it for a whole run; data of another type than the member's is taken
 *     by its own type all the same. */

/* Take pixels into statistics and into a histogram, choosing the member by the data's type, and by whether `mask` is
 * null. */
EMANTLE_API Emsc_Boolean esta_AoiFeatRasterAccumStats(Esta_AllStats* allStats, const Egda_BaseData* data,
                                                      const Egda_BaseData* mask, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_AoiFeatRasterAccumHistogram(Esta_Histogram* histogram, const Egda_BaseData* data,
                                                          const Egda_BaseData* mask, Eerr_ErrorReport** err);

/* Takes one block into the covariance of a stack, as esta_AllStatsAccumulate does. */
EMANTLE_API Emsc_Boolean esta_AoiFeatRasterAccumCovariance(Esta_AllStatsStack* stack,
                                                           const Egda_BaseDataStack* rectangles,
                                                           Eerr_ErrorReport** err);

typedef Emsc_Boolean (*Esta_AccumStatsMember)(Esta_AllStats* allStats, const Egda_BaseData* data,
                                              const Egda_BaseData* mask, Eerr_ErrorReport** err);
typedef Emsc_Boolean (*Esta_AccumHistogramMember)(Esta_Histogram* histogram, const Egda_BaseData* data,
                                                  const Egda_BaseData* mask, Eerr_ErrorReport** err);
/* `mask` is the common one. */
typedef Emsc_Boolean (*Esta_AccumCovarianceMember)(Esta_AllStatsStack* stack, const Egda_BaseDataStack* rectangles,
                                                   const Egda_BaseData* mask, Eerr_ErrorReport** err);
typedef Emsc_Boolean (*Esta_IgnoredValuesMember)(const Egda_BaseData* data, const Egda_BaseData* values,
                                                 Egda_BaseData* mask, Eerr_ErrorReport** err);
/* Clear a mask where the pixel of a rectangle, or of any layer of a stack of one size, equals a value, which is
 * converted to the pixels' type. */
typedef Emsc_Boolean (*Esta_IgnoredValueMember)(const Egda_BaseData* data, double value, Egda_BaseData* mask,
                                                Eerr_ErrorReport** err);
typedef Emsc_Boolean (*Esta_IgnoredValueOfStackMember)(const Egda_BaseDataStack* rectangles, double value,
                                                       Egda_BaseData* mask, Eerr_ErrorReport** err);
typedef Esta_AccumHistogramMember Esta_AccumHistogramRow[EGDA_NUM_TYPES];

/* Rows of the histogram tables: the types of edsc_BinFunctionType 0 to 3, and one more for -1. */
enum { ESTA_NUM_BIN_FUNCTION_ROWS = 5, ESTA_ROW_OF_OTHER_BIN_FUNCTIONS = 4 };

EMANTLE_API const Esta_AccumStatsMember* emsc_AddressOf_esta_FeatureRectAccumStats(void);
EMANTLE_API const Esta_AccumStatsMember* emsc_AddressOf_esta_AoiFeatRectAccumStats(void);
EMANTLE_API const Esta_AccumHistogramRow* emsc_AddressOf_esta_FeatureRectAccumHistogram(void);
EMANTLE_API const Esta_AccumHistogramRow* emsc_AddressOf_esta_AoiFeatRectAccumHistogram(void);
EMANTLE_API const Esta_AccumCovarianceMember* emsc_AddressOf_esta_FeatureRectAccumCovariance(void);
EMANTLE_API const Esta_AccumCovarianceMember* emsc_AddressOf_esta_AoiFeatRectAccumCovariance(void);
EMANTLE_API const Esta_IgnoredValuesMember* emsc_AddressOf_esta_FeatureIgnoredValuesToMask(void);
EMANTLE_API const Esta_IgnoredValueMember* emsc_AddressOf_esta_AoiFeatIgnoredValueToMaskThrPixelRect(void);
EMANTLE_API const Esta_IgnoredValueOfStackMember* emsc_AddressOf_esta_AoiFeatIgnoredValueToMaskThrStack(void);

#endif
