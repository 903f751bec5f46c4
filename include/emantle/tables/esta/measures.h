#ifndef EMANTLE_TABLES_ESTA_MEASURES_H
#define EMANTLE_TABLES_ESTA_MEASURES_H

#include <emantle/tables/esta/feature.h>

/* esta, measures of the pixels of a region: a whole rectangle, or what lies under a mask.
 *  1. `mask` and `ignore` may be null. `ignore` is a table of values that do not count, converted to the pixels' type;
 *     the mask itself stays as it is. With either the member of the AoiFeat table is taken, else that of the Feature
 *     table.
 *  2. NaN does not count, but in a total and a deviation, which it makes NaN. A complex pixel counts as its magnitude.
 *  3. A region without pixels measures 0.
 *  4. The tables have one cell a pixel type, by type code; the one of EGDA_TYPE_STRING is null. Members have no
 *     `ignore`; those of the Feature tables do not look at `mask`, those of the AoiFeat tables need it. */

/* Adds the sum of the values to `*result`, which is set to 0 first when `ignore` is given: without it one total may
 * gather several regions. */
EMANTLE_API Emsc_Boolean esta_AoiFeatTotal(const Egda_BaseData* data, const Egda_BaseData* mask,
                                           const Egda_BaseData* ignore, double* result, Eerr_ErrorReport** err);

/* The same with the deviation of a sample, which is 0 for one pixel, and for fewer than `threshold`. */
EMANTLE_API Emsc_Boolean esta_AoiFeatSdeviation(const Egda_BaseData* data, const Egda_BaseData* mask,
                                                const Egda_BaseData* ignore, long threshold, double* result,
                                                Eerr_ErrorReport** err);

typedef struct Esta_MaxMin {
    double maximum;
    double minimum;
} Esta_MaxMin;

/* The extremes as they are: a maximum below 0 is one, unlike in Esta_Statistics. 0 on failure. */
EMANTLE_API double esta_AoiFeatMax(const Egda_BaseData* data, const Egda_BaseData* mask, const Egda_BaseData* ignore,
                                   Eerr_ErrorReport** err);
EMANTLE_API double esta_AoiFeatMin(const Egda_BaseData* data, const Egda_BaseData* mask, const Egda_BaseData* ignore,
                                   Eerr_ErrorReport** err);
EMANTLE_API Esta_MaxMin esta_AoiFeatMaxMin(const Egda_BaseData* data, const Egda_BaseData* mask,
                                           const Egda_BaseData* ignore, Eerr_ErrorReport** err);

/* Counts the pixels of `data` in `histogram`, which is zeroed first, or with a null `histogram` in a new one, the
 * caller's, with the bin function of emsc_AddressOf_esta_AoiFeatObjectBinfunction: a row for each value. Pixels outside
 * the bins of a given histogram count in the first or the last one, NaN in the first. Null, without a report, for a
 * region without pixels that has no bins of its own. */
EMANTLE_API Esta_Histogram* esta_AoiFeatObjectHistogram(const Egda_BaseData* data, Esta_Histogram* histogram,
                                                        const Egda_BaseData* ignore, Eerr_ErrorReport** err);

/* How many values there are, the rarest, the most frequent, and the middle one, as the first element of `result`,
 * converted to its type. Without a `histogram` the values are those of the pixels; a given one is filled by
 * esta_AoiFeatObjectHistogram, and the values are the lower limits of its bins. */
EMANTLE_API Emsc_Boolean esta_AoiFeatDiversity(const Egda_BaseData* data, Egda_BaseData* result,
                                               Esta_Histogram* histogram, const Egda_BaseData* ignore,
                                               Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_AoiFeatMinority(const Egda_BaseData* data, Egda_BaseData* result,
                                              Esta_Histogram* histogram, const Egda_BaseData* ignore,
                                              Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_AoiFeatMajority(const Egda_BaseData* data, Egda_BaseData* result,
                                              Esta_Histogram* histogram, const Egda_BaseData* ignore,
                                              Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_AoiFeatMedian(const Egda_BaseData* data, Egda_BaseData* result,
                                            Esta_Histogram* histogram, const Egda_BaseData* ignore,
                                            Eerr_ErrorReport** err);

/* The same of a histogram.
 *  1. Diversity: the bins that are not 0.
 *  2. Minority: the lower limit of the first bin of the lowest count above 0; of the first bin when all are 0.
 *  3. Majority: the lower limit of the first bin of the highest count.
 *  4. Median: the lower limit of the first bin at which the running count is above `half`, 0 when it never is.
 *     esta_AoiFeatMedian takes the pixels by two, cut to a whole number. */
EMANTLE_API Emsc_Boolean esta_FeatureDiversityFromHistogram(const Esta_Histogram* histogram, Egda_BaseData* result,
                                                            Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_FeatureMinorityFromHistogram(const Esta_Histogram* histogram, Egda_BaseData* result,
                                                           Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_FeatureMajorityFromHistogram(const Esta_Histogram* histogram, Egda_BaseData* result,
                                                           Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_FeatureMedianFromHistogram(const Esta_Histogram* histogram, double half,
                                                         Egda_BaseData* result, Eerr_ErrorReport** err);

/* Histogram matching: row i of `lut`, converted to its type, becomes the first bin of `target` at which the running
 * share of all counts reaches that of bin i of `source`. `lut` has as many rows as the source. Fails for a histogram
 * without counts. The first takes the layers of stacks one by one; Func is the member for every type of `lut`. */
EMANTLE_API Emsc_Boolean esta_FeatureHistogramMatchLUT(const Egda_BaseDataStack* sources,
                                                       const Egda_BaseDataStack* targets, Egda_BaseDataStack* luts,
                                                       Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_FeatureHistogramMatchLUTlayer(const Esta_Histogram* source, const Esta_Histogram* target,
                                                            Egda_BaseData* lut, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_FeatureHistogramMatchLUTFunc(const Esta_Histogram* source, const Esta_Histogram* target,
                                                           Egda_BaseData* lut, Eerr_ErrorReport** err);

typedef Emsc_Boolean (*Esta_TotalMember)(const Egda_BaseData* data, const Egda_BaseData* mask, double* result,
                                         Eerr_ErrorReport** err);
typedef Emsc_Boolean (*Esta_SdeviationMember)(const Egda_BaseData* data, const Egda_BaseData* mask, long threshold,
                                              double* result, Eerr_ErrorReport** err);
typedef double (*Esta_ExtremeMember)(const Egda_BaseData* data, const Egda_BaseData* mask, Eerr_ErrorReport** err);
typedef Esta_MaxMin (*Esta_MaxMinMember)(const Egda_BaseData* data, const Egda_BaseData* mask, Eerr_ErrorReport** err);
typedef Emsc_Boolean (*Esta_ComparedMember)(const Egda_BaseData* data, const Egda_BaseData* mask,
                                            Egda_BaseData* result, Eerr_ErrorReport** err);
/* A bin function, the caller's, with a bin for each value that the pixels can have or, beyond 16 bits, for each that
 * they do have: then null, without a report, when there is none. */
typedef Edsc_BinFunction* (*Esta_ObjectBinFunctionMember)(const Egda_BaseData* data, const Egda_BaseData* mask,
                                                          Eerr_ErrorReport** err);
typedef Emsc_Boolean (*Esta_MatchLutMember)(const Esta_Histogram* source, const Esta_Histogram* target,
                                            Egda_BaseData* lut, Eerr_ErrorReport** err);

EMANTLE_API const Esta_TotalMember* emsc_AddressOf_esta_FeatureBaseDataTotal(void);
EMANTLE_API const Esta_TotalMember* emsc_AddressOf_esta_AoiFeatBaseDataTotal(void);
EMANTLE_API const Esta_ExtremeMember* emsc_AddressOf_esta_FeatureBaseDataMax(void);
EMANTLE_API const Esta_ExtremeMember* emsc_AddressOf_esta_AoiFeatBaseDataMax(void);
EMANTLE_API const Esta_ExtremeMember* emsc_AddressOf_esta_FeatureBaseDataMin(void);
EMANTLE_API const Esta_ExtremeMember* emsc_AddressOf_esta_AoiFeatBaseDataMin(void);
EMANTLE_API const Esta_MaxMinMember* emsc_AddressOf_esta_FeatureBaseDataMaxMin(void);
EMANTLE_API const Esta_MaxMinMember* emsc_AddressOf_esta_AoiFeatBaseDataMaxMin(void);
EMANTLE_API const Esta_SdeviationMember* emsc_AddressOf_esta_FeatureBaseDataSdeviation(void);
EMANTLE_API const Esta_SdeviationMember* emsc_AddressOf_esta_AoiFeatBaseDataSdeviation(void);
EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_FeatureBaseDataComparedDiversity(void);
EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_AoiFeatBaseDataComparedDiversity(void);
EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_FeatureBaseDataComparedMinority(void);
EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_AoiFeatBaseDataComparedMinority(void);
EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_FeatureBaseDataComparedMajority(void);
EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_AoiFeatBaseDataComparedMajority(void);
EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_FeatureBaseDataComparedMedian(void);
EMANTLE_API const Esta_ComparedMember* emsc_AddressOf_esta_AoiFeatBaseDataComparedMedian(void);
EMANTLE_API const Esta_ObjectBinFunctionMember* emsc_AddressOf_esta_AoiFeatObjectBinfunction(void);
EMANTLE_API const Esta_MatchLutMember* emsc_AddressOf_esta_FeatureHistogramMatchLUT(void);

#endif
