#ifndef EMANTLE_TABLES_EHST_H
#define EMANTLE_TABLES_EHST_H

#include <emantle/frame/edlm.h>

/* ehst: histograms of whole numbers, and look-up tables that break points define: what an interactive contrast tool
 * works with.
 *  1. A record that a function returns is the caller's; give it back to the Delete of its kind, which accepts null.
 *  2. A look-up table has an output for each input from 0 to `maxInput`. Its break points are an own list of it, in
 *     the order of their inputs; nothing keeps the two in step but the functions that make one of the other. Outputs of
 *     the table lie in 0 .. `maxOutput`, those of break points anywhere.
 *  3. On failure the result is null or 0, and the arguments are as they were. A function without `err` prints what went
 *     wrong, which is memory that ran out; with a null record it does nothing and answers 0 or, as an index, -1. */

typedef struct Ehst_Histogram {
    int32_t minValue;
    int32_t maxValue;
    uint32_t* counts; /* one a value from `minValue` to `maxValue` */
    double mean;      /* the caller's: copied, not computed */
    double deviation;
} Ehst_Histogram;

typedef struct Ehst_BreakPoint {
    int32_t input;
    int32_t output;
} Ehst_BreakPoint;

typedef struct Ehst_LUT {
    int32_t numBreakPoints;
    Ehst_BreakPoint* breakPoints;
    int32_t* table; /* `maxInput` + 1 outputs */
    int32_t maxInput;
    int32_t maxOutput;
} Ehst_LUT;

/* A linear piece of a table. */
typedef struct Ehst_Ramp {
    double startInput;
    double startOutput;
    double endInput;
    double endOutput;
} Ehst_Ramp;

/* Counts of 0 for the values from 0 to `numValues` - 1. */
EMANTLE_API Ehst_Histogram* ehst_HistogramCreate(long numValues, Eerr_ErrorReport** err);
/* Into `target`, or a new histogram when that is null. Fails when the target has another range. */
EMANTLE_API Ehst_Histogram* ehst_HistogramCopy(const Ehst_Histogram* source, Ehst_Histogram* target,
                                               Eerr_ErrorReport** err);
EMANTLE_API void ehst_HistogramDelete(Ehst_Histogram* histogram);
EMANTLE_API uint32_t ehst_GetHistogramMaxCount(const Ehst_Histogram* histogram);

/* A table of zeros with `numBreakPoints` break points at (0, 0). */
EMANTLE_API Ehst_LUT* ehst_LUTCreate(long maxInput, long maxOutput, long numBreakPoints, Eerr_ErrorReport** err);
/* Into `target`, which takes the source's sizes, or a new table when that is null. */
EMANTLE_API Ehst_LUT* ehst_LUTCopy(const Ehst_LUT* source, Ehst_LUT* target);
EMANTLE_API void ehst_LUTDelete(Ehst_LUT* lut);

/* Cuts the line through the break points to the rectangle of all inputs and outputs, so that its first and its last
 * point lie at the first and the last input; points that come to lie at one input become the first of them.
 *  1. Below the first point left, a point with its output is put at input 0; if that output equals `maxInput` the point
 *     itself moves there.
 *  2. Above the last point left, a point with its output is put at `maxInput`; if the last two outputs are equal the
 *     last point itself moves there.
 * When nothing of the line is inside, nothing changes. */
EMANTLE_API void ehst_LUTClip(Ehst_LUT* lut);

/* Makes break points from the table: the fewest that the method finds for which no output is further from the line
 * through them than half of `tolerance`. After D. H. Douglas and T. K. Peucker, 1973. Distances are perpendicular; from
 * a level piece of the line every other output counts as 1 away, however far it is. Fails for a tolerance below 0. */
EMANTLE_API Emsc_Boolean ehst_TableToBreakPoints(Ehst_LUT* lut, double tolerance, Eerr_ErrorReport** err);

/* The step of it: adds to `list`, of Ehst_BreakPoint, the outputs of `table`, of `count` entries, that are needed between
 * (x0, y0) and (x1, y1), the one that is furthest first, then those on its left, then those on its right. Here
 * `tolerance` is the whole distance. Inputs outside of the table are not looked at. */
EMANTLE_API Emsc_Boolean ehst_FindNearestPoint(int32_t x0, int32_t y0, int32_t x1, int32_t y1, Edlm_List* list,
                                               const int32_t* table, int32_t count, double tolerance,
                                               Eerr_ErrorReport** err);

/* Fills the table from the line through the break points, rounded to the nearest output and clipped. Inputs above the
 * last point have its output; those below the first keep what they have. Fails without break points. */
EMANTLE_API Emsc_Boolean ehst_BreakPointsToTable(Ehst_LUT* lut, Eerr_ErrorReport** err);

/* Puts a break point in its place, or gives the one at that input another output. Returns its index. */
EMANTLE_API long ehst_BreakPointInsert(Ehst_LUT* lut, int32_t input, int32_t output);
/* Whether there was one to delete; the last one is not. */
EMANTLE_API Emsc_Boolean ehst_BreakPointDelete(Ehst_LUT* lut, long index);
/* By input; points at one input keep their order. */
EMANTLE_API void ehst_BreakPointSort(Ehst_LUT* lut);
/* Two break points by input, as in qsort. */
EMANTLE_API int ehst_BreakPointCompare(const void* a, const void* b);
/* Deletes each point at the input of the one before it. */
EMANTLE_API void ehst_BreakPointDeleteRedundants(Ehst_LUT* lut);

/* Moves each count of `input`, whose first value is the table's input 0, to the output of its value; `output` takes the
 * range 0 .. `maxOutput`. Counts that add up to more than 32 bits hold stay at their largest. Returns the largest of the
 * new counts. Where the histogram and the table differ in size, that is printed and the shorter decides. Fails with
 * "Invalid input histogram", "Invalid output histogram" (also for the input) and "Invalid lookup table". */
EMANTLE_API uint32_t ehst_MapHistogramThruLUT(const Ehst_Histogram* input, Ehst_Histogram* output, const Ehst_LUT* lut,
                                              Eerr_ErrorReport** err);

/* Gives each value of `input` the one of `numLevels` levels that the middle of its share of all counts lies in, as
 * `counts` of `output`; a histogram of zeros gives level 0. The shorter of the two decides; they may be one. */
EMANTLE_API void ehst_HistogramEqualize(const Ehst_Histogram* input, Ehst_Histogram* output, int32_t numLevels);

/* Reads the ramp of a simple stretch from its break points.
 *  1. Two points are the ramp.
 *  2. Of three it is the piece that is not level, if one is and the other is not; else both ends are the first point.
 *  3. Of more it is the first pair of neighbours that leads from below 1 to `maxOutput` or above. Without one it begins
 *     at the last point below 1 whose successor is higher, and ends at the first point behind that at `maxOutput` or
 *     above.
 * Returns 1, or 0 and a ramp of zeros when there is none. */
EMANTLE_API Emsc_Boolean ehst_SetRamp(const Ehst_LUT* lut, Ehst_Ramp* ramp, Eerr_ErrorReport** err);

/* Makes the two ends of the ramp, cut to whole numbers and in the order of their inputs, the break points of `lut`. */
EMANTLE_API void ehst_RampToBreakPoints(const Ehst_Ramp* ramp, Ehst_LUT* lut);

#endif
