#ifndef EMANTLE_TABLES_ESTA_ACCUMULATE_H
#define EMANTLE_TABLES_ESTA_ACCUMULATE_H

#include <emantle/data/egda/stack.h>
#include <emantle/tables/eahg.h>
#include <emantle/tables/esta/covariance.h>
#include <emantle/tables/esta/histogram.h>

/* esta, accumulators: they take a layer, or the layers of a stack, block by block.
 *  1. An accumulator is made or initialised, takes any number of blocks, and is finished once. Before the finish
 *     it holds sums, after it results; blocks taken after it make nonsense.
 *  2. Callers read all fields, and may set `excludedValues` and the skip factors of a stack before the finish. */

typedef struct Esta_AllStats {
    double count;                /* pixels taken */
    Esta_Statistics* statistics; /* owned; null when none are wanted */
    Esta_Histogram* histogram;   /* owned, or null */
    Eahg_Histogram* uvHistogram; /* owned, or null: every distinct value, while they are few */
} Esta_AllStats;

typedef struct Esta_AllStatsStack {
    int32_t numLayers;
    Esta_Covariance* covariance;   /* owned; null when none is wanted */
    Esta_AllStats** allStats;      /* `numLayers`, owned; null for a layer without any */
    Egda_BaseData* excludedValues; /* owned table of values that do not count, or null */
    double count;                  /* pixels taken for the covariance */
    Egda_BaseData* means;          /* F64, `numLayers` rows: sums, for the covariance */
    int32_t skipFactorX;           /* every how many columns and rows the scan looks at; 1 and 1 at first */
    int32_t skipFactorY;
} Esta_AllStatsStack;

typedef struct Esta_AllStatsStackArray {
    int32_t numStacks;
    Esta_AllStatsStack** stacks;
} Esta_AllStatsStackArray;

/* An accumulator with statistics and, unless `numBins` is 0, a histogram of esta_HistogramCreate. */
EMANTLE_API Esta_AllStats* esta_AllStatsCreate(long numBins, const Edsc_BinFunction* binFunction,
                                               Eerr_ErrorReport** err);

/* Sets count, statistics and histogram to 0. */
EMANTLE_API Emsc_Boolean esta_AllStatsInit(Esta_AllStats* allStats, Eerr_ErrorReport** err);

/* Whether there is a histogram of either kind. */
EMANTLE_API Emsc_Boolean esta_AllStatsHasHistogram(const Esta_AllStats* allStats);

/* Fails with "Can't do this yet" while the source has a `uvHistogram`. */
EMANTLE_API Esta_AllStats* esta_AllStatsCopy(const Esta_AllStats* source, Esta_AllStats* target,
                                             Eerr_ErrorReport** err);

/* Turns sums into results. `stddev` is that of a sample, 0 for one pixel. With a histogram, `mode` is the lower limit
 * of the first fullest bin and `median` the lower limit of the bin in which the running count reaches half of
 * `count`, never the bin's centre; without one both are 0. Fails with "uvHistogram must be terminated" while there is
 * one. */
EMANTLE_API Emsc_Boolean esta_AllStatsFinish(Esta_AllStats* allStats, Eerr_ErrorReport** err);

EMANTLE_API void esta_AllStatsDelete(Esta_AllStats* allStats, Eerr_ErrorReport** err);

/* A stack of `numLayers` accumulators of esta_AllStatsCreate with a covariance and nothing excluded. */
EMANTLE_API Esta_AllStatsStack* esta_AllStatsStackCreate(long numLayers, long numBins,
                                                         const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);

/* esta_AllStatsInit for each layer, and the covariance, its means and its count set to 0. */
EMANTLE_API Emsc_Boolean esta_AllStatsStackInit(Esta_AllStatsStack* stack, Eerr_ErrorReport** err);

/* A `target` must have as many layers. */
EMANTLE_API Esta_AllStatsStack* esta_AllStatsStackCopy(const Esta_AllStatsStack* source, Esta_AllStatsStack* target,
                                                       Eerr_ErrorReport** err);

/* The masks of a stack of rectangles: one for all layers or one for each, borrowed; null for none. They ride in the
 * stack's spare word. */
static inline void esta_RectanglesSetMasks(Egda_BaseDataStack* rectangles, Egda_BaseDataStack* masks)
{
    rectangles->reserved = (intptr_t)masks;
}

static inline Egda_BaseDataStack* esta_RectanglesMasks(const Egda_BaseDataStack* rectangles)
{
    return (Egda_BaseDataStack*)rectangles->reserved;
}

/* Takes one block: a rectangle a layer, all of one size, with the masks of esta_RectanglesSetMasks.
 *  1. With `excludedValues` there must be a mask; it becomes 0 where a pixel of the layer equals one of them,
 *     converted to the layer's type, and stays so. With one mask for all layers this is done for the first layer
 *     alone.
 *  2. Each layer's statistics, or its `uvHistogram` in their place, and its histogram take the pixels under its
 *     mask. Pixels outside the bins count in the first or the last bin. In the histogram this happens beside a
 *     `uvHistogram` too, whose values are added to it once more at its end.
 *  3. The maximum starts at 2.2250738585072014e-308 and is never below, also where every pixel is. NaN is neither
 *     minimum nor maximum, unless it is the first pixel of a first block without mask, and stays in both. A first
 *     block with a mask in which no pixel is set leaves both 0.
 *  4. A covariance takes the pixels that every mask has; the layers' count, sum and sum of squares are then set
 *     to those of the common pixels. Without masks only the sums of products and of values grow, and the stack's
 *     count stays 0.
 * Fails when the layers' numbers differ, when values are excluded without a mask, and for strings; what was taken
 * before the failure stays. */
EMANTLE_API Emsc_Boolean esta_AllStatsAccumulate(Esta_AllStatsStack* stack, const Egda_BaseDataStack* rectangles,
                                                 Eerr_ErrorReport** err);

/* Finishes each layer, then multiplies its histogram by the skip factors, so that a sampled scan counts like a whole
 * one; all else stays as sampled. The covariance is that of a sample. It is 0 apart from the diagonal when the
 * stack's count is 0, that is without masks; a diagonal element that is 0 becomes the square of its layer's `stddev`.
 * Fails after that when there is a covariance and a layer without statistics. */
EMANTLE_API Emsc_Boolean esta_AllStatsStackFinish(Esta_AllStatsStack* stack, Eerr_ErrorReport** err);

EMANTLE_API void esta_AllStatsStackDelete(Esta_AllStatsStack* stack, Eerr_ErrorReport** err);

/* `count` stacks of esta_AllStatsStackCreate. The caller deletes each stack, then gives the array, which is one block,
 * to emsc_HeapFree. */
EMANTLE_API Esta_AllStatsStackArray* esta_AllStatsStackArrayCreate(long count, long numLayers, long numBins,
                                                                   const Edsc_BinFunction* binFunction,
                                                                   Eerr_ErrorReport** err);
/* The array alone, with `count` nulls. */
EMANTLE_API Esta_AllStatsStackArray* esta_AllStatsStackArrayStructureCreate(long count, Eerr_ErrorReport** err);

/* Starts to keep every distinct value, up to `maxUnique` of them; does nothing when that is under way. */
EMANTLE_API Emsc_Boolean esta_AllStatsUVHistogramBegin(Esta_AllStats* allStats, double maxUnique,
                                                       Egda_PixelType dataType, Eerr_ErrorReport** err);

/* Takes one block; `mask` may be null. At the first value too many the unique-value histogram ends, the pixels that it
 * took become statistics, and the rest of the block goes to the statistics; a histogram that `allStats` did not have
 * before is then dropped. */
EMANTLE_API Emsc_Boolean esta_AllStatsUVHistogramAccumulate(Esta_AllStats* allStats, const Egda_BaseData* data,
                                                            const Egda_BaseData* mask, Eerr_ErrorReport** err);

/* Turns the values kept, without those of the table `exclude` (null for none), into statistics and a histogram: a given
 * histogram takes the values that lie in its bins, and without one a histogram with one bin for each value is made. */
EMANTLE_API Emsc_Boolean esta_AllStatsUVHistogramEnd(Esta_AllStats* allStats, const Egda_BaseData* exclude,
                                                     Eerr_ErrorReport** err);

/* One layer's part of esta_AllStatsAccumulate each: statistics, histogram, and the exclusion of values. */
EMANTLE_API Emsc_Boolean esta_RasterAccumulateStats(Esta_AllStats* allStats, const Egda_BaseData* data,
                                                    const Egda_BaseData* mask, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_RasterAccumulateHistogram(Esta_Histogram* histogram, const Egda_BaseData* data,
                                                        const Egda_BaseData* mask, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_FeatureIgnoredValuesToMask(const Egda_BaseData* data, const Egda_BaseData* values,
                                                         Egda_BaseData* mask, Eerr_ErrorReport** err);

#endif
