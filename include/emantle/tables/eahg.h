#ifndef EMANTLE_TABLES_EAHG_H
#define EMANTLE_TABLES_EAHG_H

#include <emantle/data/egda/basedata.h>

/* eahg: exact histograms of the distinct values of a layer, up to a limit.
 *  1. A histogram that is returned is the caller's; give it back to eahg_HistogramDestroy.
 *  2. Data lie row by row; a mask is a raster of bytes of at least the data's size.
 *  3. A histogram belongs to one scan and is not safe for two threads at once. */

typedef struct Eahg_Histogram {
    int32_t totalCount;  /* pixels taken */
    int32_t uniqueCount; /* distinct values among them */
    double maxUnique;
    Egda_PixelType dataType;
    int32_t bytesPerPixel;
    void* counts; /* uint32_t for each bit pattern of one or two bytes; else a hash table */
    void* values; /* the sorted values with their counts, made when asked for; null before and after new data */
} Eahg_Histogram;

/* A histogram of at most `maxUnique` values of `dataType`. `reserved` is 0. Fails with "Invalid data type for
 * histogram" for strings and unknown codes, with "Not implemented yet" for a `maxUnique` above 4294967295. */
EMANTLE_API Eahg_Histogram* eahg_HistogramCreate(double maxUnique, Egda_PixelType dataType, long reserved,
                                                 Eerr_ErrorReport** err);

/* Frees `*histogram` and sets it to null. Accepts null, and a null histogram. */
EMANTLE_API void eahg_HistogramDestroy(Eahg_Histogram** histogram, Eerr_ErrorReport** err);

/* Takes pixels row by row until all are taken or one has a value too many. The result is how many pixels were not
 * looked at, that one included: 0 when all were taken. Pixels that the mask leaves out count as taken. Fails, with -1,
 * for data of another type than the histogram's, "Not implemented yet". */
EMANTLE_API long eahg_HistogramAccumulateValues(Eahg_Histogram* histogram, const Egda_BaseData* data,
                                                const Egda_BaseData* mask, Eerr_ErrorReport** err);

/* Two new tables, the caller's, of `uniqueCount` rows: the values in ascending order, F64 or C128 (by
 * magnitude, then by their parts), NaN last, and their counts, F64. Either output may be null. */
EMANTLE_API Emsc_Boolean eahg_HistogramConvertToValuesAndCounts(Eahg_Histogram* histogram, Egda_BaseData** values,
                                                                Egda_BaseData** counts, Eerr_ErrorReport** err);

/* Prints the counts and every value with its count to standard output. */
EMANTLE_API void eahg_HistogramPrint(Eahg_Histogram* histogram, Eerr_ErrorReport** err);

#endif
