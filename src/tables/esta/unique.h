#pragma once

#include "tables/esta/owners.h"

/* What becomes of the values that an accumulator keeps one by one. */

namespace emantle::tables {

/* Ends the unique-value histogram of `allStats` because there are too many values: those kept become statistics, and
 * no histogram is made of them. */
void endAtLimit(Esta_AllStats& allStats, EerrException& scope);

/* Adds the values of `kept`, which is only sorted, to the statistics, and to a histogram if there is one. */
void takeKept(Esta_AllStats& allStats, Eahg_Histogram& kept, EerrException& scope);

}  // namespace emantle::tables
