#pragma once

#include "store/stored_histogram.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/* What a histogram looks like before it is drawn: bars over an axis of values.
 *  1. The bars reach from the first bin with pixels to the last one. Where there are more bins than room, neighbours are
 *     one bar with the sum of their counts: as many bins a bar, or, of bins that are single values, those of a range.
 *  2. The axis covers all bars and is never empty. Where the limits of the bins are no numbers to draw with, it counts the
 *     bins instead.
 *  3. A count that is not finite or below 0 is taken as 0. */
struct Bars {
    struct Bar {
        double from;
        double to;
        double count;
    };

    std::vector<Bar> bars;
    double low = 0;
    double high = 1;
    double highest = 0;          /* the greatest count */
    bool countsBins = false;     /* the axis is the bins' numbers */
    bool ofOneValue = false;     /* all pixels have the same value, or nearly so: `low` and `high` only surround it */
    std::size_t binsPerBar = 1;
    double range = 0; /* of a bar, where bars are ranges of values; else 0 */
    std::size_t firstBin = 0;    /* with pixels */
    std::size_t lastBin = 0;

    bool empty() const { return bars.empty(); }

    /* Where a value stands on the axis, from 0 to 1; outside of that when the value is not on it. */
    double place(double value) const { return (value - low) / (high - low); }
};

Bars makeBars(const StoredHistogram& histogram, std::size_t mostBars);

/* "1,234 pixels in 256 bins, Direct", and how many of them are a bar. */
std::string countsLine(const StoredHistogram& histogram, const Bars& bars);

}  // namespace tool
