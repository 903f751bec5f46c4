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

/* One figure of the values: how many there are, the rarest, the most frequent (of equal ones the lowest), and the one in
 * the middle; 0 when there are none. */
enum class ValueMeasure { diversity, minority, majority, median };

double valueMeasure(const Egda_BaseData& data, const Egda_BaseData* mask, ValueMeasure measure);

}  // namespace emantle::tables
