#pragma once

#include "tables/esta/owners.h"

#include <vector>

/* One block of pixels into one accumulator, the arguments having been checked. */

namespace emantle::tables {

/* Count, extremes and sums of the pixels under the mask, or of all. */
ScalarSums sumsOf(const Egda_BaseData& data, const Egda_BaseData* mask);

void accumulateStatistics(Esta_AllStats& allStats, const Egda_BaseData& data, const Egda_BaseData* mask);

void accumulateHistogram(Esta_Histogram& histogram, const Egda_BaseData& data, const Egda_BaseData* mask,
                         EerrException& scope);

/* Fails where the stack cannot take a covariance of these rectangles. */
void requireStack(const Esta_AllStatsStack* stack, const Egda_BaseDataStack* rectangles);

/* `mask` is the common one. Fails where the layers differ in shape. */
void accumulateCovariance(Esta_AllStatsStack& stack, const Egda_BaseDataStack& rectangles, const Egda_BaseData* mask);

/* Sets the layers' own sums to those of the pixels that the covariance took, so that both speak of the same. */
void agreeWithCovariance(Esta_AllStatsStack& stack);

void excludeValues(const Egda_BaseData& data, const Egda_BaseData& values, Egda_BaseData& mask, EerrException& scope);

/* The mask of a layer: the only one, or that of the layer; null for none. */
Egda_BaseData* maskOf(const Egda_BaseDataStack* masks, long layer) noexcept;

}  // namespace emantle::tables
