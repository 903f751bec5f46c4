#ifndef EMANTLE_TABLES_ESTA_STATISTICS_H
#define EMANTLE_TABLES_ESTA_STATISTICS_H

#include <emantle/data/egda/basedata.h>
#include <emantle/store/ehfa/file.h>

/* esta, the statistics of one layer, and the form in which a store holds them: the child "Statistics" of the layer's
 * node, with the children "Excluded_Values" (absent when no value is excluded) and "Skip_Factors". */

typedef struct Edsc_BinFunction Edsc_BinFunction;

/* While pixels are accumulated `mean` holds their sum and `stddev` the sum of their squares. */
typedef struct Esta_Statistics {
    double minimum;
    double maximum;
    double mean;
    double median;
    double mode;
    double stddev;
} Esta_Statistics;

/* All fields 0. */
EMANTLE_API Esta_Statistics* esta_StatisticsCreate(Eerr_ErrorReport** err);
EMANTLE_API Esta_Statistics* esta_StatisticsCopy(const Esta_Statistics* source, Esta_Statistics* target,
                                                 Eerr_ErrorReport** err);
EMANTLE_API void esta_StatisticsDelete(Esta_Statistics* statistics, Eerr_ErrorReport** err);

/* Reads the statistics of the node at `path`, into a new record when `statistics` is null. With `searchUpward` the
 * nodes above are searched too, nearest first. Null without a report when there are none. */
EMANTLE_API Esta_Statistics* esta_StatisticsRead(Ehfa_File* file, const char* path, Esta_Statistics* statistics,
                                                 Emsc_Boolean searchUpward, Eerr_ErrorReport** err);

/* When the statistics that esta_StatisticsRead would find were written, in seconds since the epoch; 0.0 when there are
 * none. */
EMANTLE_API double esta_StatisticsGetTimeStamp(Ehfa_File* file, const char* path, Emsc_Boolean searchUpward,
                                               Eerr_ErrorReport** err);

/* The values left out of the statistics that esta_StatisticsRead would find: a table, the caller's; null without a
 * report when none were. */
EMANTLE_API Egda_BaseData* esta_StatisticsAreValuesExcluded(Ehfa_File* file, const char* path,
                                                            Emsc_Boolean searchUpward, Eerr_ErrorReport** err);

/* The skip factors stored with the statistics of the node at `path`; 0, with both 1, when there are none. Either output
 * may be null. */
EMANTLE_API Emsc_Boolean esta_StatisticsGetSkipFactors(Ehfa_File* file, const char* path, int32_t* skipX,
                                                       int32_t* skipY, Eerr_ErrorReport** err);

/* Writes the statistics of the node at `path`, over those it has. */
EMANTLE_API Emsc_Boolean esta_StatisticsWrite(Ehfa_File* file, const char* path, const Esta_Statistics* statistics,
                                              Eerr_ErrorReport** err);

/* Write what belongs to the statistics of the node at `path`, which must have some, in place of what is there. With
 * null `values` none are stored. */
EMANTLE_API Emsc_Boolean esta_StatisticsWriteExcludedValues(Ehfa_File* file, const char* path,
                                                            const Egda_BaseData* values, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_StatisticsWriteSkipFactors(Ehfa_File* file, const char* path, int32_t skipX,
                                                         int32_t skipY, Eerr_ErrorReport** err);

/* A U8 lookup table, one entry a bin of `binFunction`, that stretches mean +- `deviations` standard deviations, within
 * minimum and maximum, to 0 .. 255; with null `statistics` the range is 0 to the bin count less 1. An entry's index is
 * value * `*gain` + `*offset`. Fails with "No bin function supplied to ..." for one that is null or has no bins. */
EMANTLE_API Egda_BaseData* esta_LUTCreateForNStdDevStretch(const Esta_Statistics* statistics,
                                                           const Edsc_BinFunction* binFunction, double deviations,
                                                           double* gain, double* offset, Eerr_ErrorReport** err);

#endif
