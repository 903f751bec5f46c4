#pragma once

#include "tables/esta/pixels.h"

#include <vector>

/* The distinct values of the pixels under a mask, or of all, ascending; NaN is none. */

namespace emantle::tables {

struct ValueRuns {
    std::vector<double> values;
    std::vector<double> counts;
};

ValueRuns valueRuns(const Egda_BaseData& data, const Egda_BaseData* mask);

/* What can be told of the values in one pass; all 0 when there are none. */
struct ValueSummary {
    double diversity = 0;
    double minority = 0;
    double majority = 0;
    double median = 0;
};

ValueSummary valueSummary(const Egda_BaseData& data, const Egda_BaseData* mask);

}  // namespace emantle::tables
