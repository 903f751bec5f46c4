#ifndef EMANTLE_TABLES_ESTA_HISTOGRAM_H
#define EMANTLE_TABLES_ESTA_HISTOGRAM_H

#include <emantle/tables/esta/statistics.h>

/* esta, histograms: an F64 table of one row a bin, whose `binfunction` belongs to it, unlike that of other records.
 *  1. Give a histogram back to esta_HistogramDelete, which deletes the bin function too.
 *  2. Stored, it is the column "Histogram" of a descriptor table, "real" or, in old stores, "integer".
 *  3. `numBins` -1 means all. */

typedef struct Edsc_TableInstance Edsc_TableInstance;
typedef Egda_BaseData Esta_Histogram;

enum { ESTA_ALL_BINS = -1 };

/* A histogram of zeros with a copy of `binFunction`, or a direct one from 0 on when that is null. `numBins` is raised,
 * with a printed warning, to the bins of `binFunction`. */
EMANTLE_API Esta_Histogram* esta_HistogramCreate(long numBins, const Edsc_BinFunction* binFunction,
                                                 Eerr_ErrorReport** err);

/* A `target` is resized to the source and gets a copy of its bin function. */
EMANTLE_API Esta_Histogram* esta_HistogramCopy(const Esta_Histogram* source, Esta_Histogram* target,
                                               Eerr_ErrorReport** err);
EMANTLE_API void esta_HistogramDelete(Esta_Histogram* histogram, Eerr_ErrorReport** err);

/* Gives the histogram a copy of `binFunction`, and as many rows; new rows are 0. */
EMANTLE_API Emsc_Boolean esta_HistogramBinFunctionReplace(Esta_Histogram* histogram,
                                                          const Edsc_BinFunction* binFunction,
                                                          Eerr_ErrorReport** err);

/* Reads `numBins` bins from `startBin` on; more than there are is less. The histogram gets the table's bin function,
 * narrowed to them. A given `histogram` must be F64: rows that it lacks are not read, rows past the bins become 0. */
EMANTLE_API Esta_Histogram* esta_HistogramRead(Edsc_TableInstance* table, Esta_Histogram* histogram, long startBin,
                                               long numBins, Eerr_ErrorReport** err);

/* The same; null without a report when the table has no histogram. */
EMANTLE_API Esta_Histogram* esta_HistogramReadIfPresent(Edsc_TableInstance* table, Esta_Histogram* histogram,
                                                        long startBin, long numBins, Eerr_ErrorReport** err);

/* Writes bins to the rows from `startBin` on; -1 means as many as the table has rows. The column is made when the table
 * has none. An integer column cuts what it cannot hold, with a printed warning. */
EMANTLE_API Emsc_Boolean esta_HistogramWrite(Edsc_TableInstance* table, const Esta_Histogram* histogram, long startBin,
                                             long numBins, Eerr_ErrorReport** err);

/* When the column was written, in seconds since the epoch; 0.0 when there is none. */
EMANTLE_API double esta_HistogramGetTimeStamp(Edsc_TableInstance* table, Eerr_ErrorReport** err);

/* What belongs to the histogram of a table in a store: see the like of the statistics. */
EMANTLE_API Egda_BaseData* esta_HistogramAreValuesExcluded(Edsc_TableInstance* table, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_HistogramWriteExcludedValues(Edsc_TableInstance* table, const Egda_BaseData* values,
                                                           Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_HistogramWriteSkipFactors(Edsc_TableInstance* table, int32_t skipX, int32_t skipY,
                                                        Eerr_ErrorReport** err);

/* Adds each bin of `source` to the bin of `target` that covers the same values of `dataType`; counts without one are
 * left out, and the target is not cleared first. */
EMANTLE_API Emsc_Boolean esta_HistogramTranslate(const Esta_Histogram* source, Esta_Histogram* target,
                                                 Egda_PixelType dataType, Eerr_ErrorReport** err);

#endif
