#ifndef EMANTLE_TABLES_ESTA_MERGE_H
#define EMANTLE_TABLES_ESTA_MERGE_H

#include <emantle/store/emif/design.h>
#include <emantle/tables/esta/accumulate.h>

/* esta, accumulations in parts: a scan is split, each part fills an accumulator of its own, in this process or in
 * another, and the accumulators are merged before they are finished.
 *  1. After a merge the target is as if it had taken its own blocks and then those of the source. Counts, extremes and
 *     histograms come out the same in whatever order parts are merged; sums may differ in their last digits.
 *  2. The source stays as it is, and is still the caller's.
 *  3. What the two cannot agree on is found before anything is merged. Only when memory runs out on the way is the
 *     target of no more use than to be deleted. */

/* Both have statistics or neither has; both have a histogram, with the same bin function, or neither has; and two live
 * unique-value histograms are of one type.
 *  1. Two live unique-value histograms become one. Where that would hold more values than the target's limit, and where
 *     one side met its limit before, the values kept become statistics, as in esta_AllStatsUVHistogramAccumulate; a
 *     given histogram takes those of both sides.
 *  2. An extreme that is NaN, which the first pixel of a part without mask makes it, stays NaN: what the others of that
 *     part were is not known any more.
 * Fails when the two do not agree, and for one accumulator given twice. */
EMANTLE_API Emsc_Boolean esta_AllStatsMerge(Esta_AllStats* target, const Esta_AllStats* source, Eerr_ErrorReport** err);

/* esta_AllStatsMerge for each layer, and the sums of the covariance. The two have as many layers, a covariance both or
 * neither, the same excluded values and the same skip factors. */
EMANTLE_API Emsc_Boolean esta_AllStatsStackMerge(Esta_AllStatsStack* target, const Esta_AllStatsStack* source,
                                                 Eerr_ErrorReport** err);

/* The name of the design of an accumulation's state. */
#define ESTA_ALL_STATS_STACK_STATE "Esta_AllStatsStackState"

/* The state of an accumulation, not yet finished, as a record that a store holds under ESTA_ALL_STATS_STACK_STATE:
 *
 *     esta_AllStatsStackConvertToMIF(stack, &object, &design, &err);
 *     emif_DictionaryAddDesign(file->dictionary, design, &err);
 *     ehfa_ObjectWrite(file, ":", "West", ESTA_ALL_STATS_STACK_STATE, EHFA_WRITE_LAST_CHILD, object, design, &err);
 *     emif_ObjectFree(&object, design, NULL);
 *
 * `*object` is the caller's, `*design` stays the library's. Without a covariance the means are left out. Fails when more than 1024 layers keep their values. */
EMANTLE_API Emsc_Boolean esta_AllStatsStackConvertToMIF(const Esta_AllStatsStack* stack, void** object,
                                                        const Emif_Design** design, Eerr_ErrorReport** err);

/* A new stack, the caller's, in the state that `object` tells; every sum is the same to the last bit. `object` may come
 * from anywhere: fails for another design, and for a state that no accumulation has. */
EMANTLE_API Esta_AllStatsStack* esta_AllStatsStackConvertFromMIF(const void* object, const Emif_Design* design,
                                                                 Eerr_ErrorReport** err);

/* A copy of the design, the caller's, to read such an object with. */
EMANTLE_API Emif_Design* esta_AllStatsStackStateDesignFetch(Eerr_ErrorReport** err);

#endif
