#include "picture/bars.h"

#include "console/clean_text.h"
#include "picture/ticks.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

/* Beyond this, sums of two limits might not be numbers. */
constexpr double kGreatest = 1e300;

/* A range this small beside its values cannot be told apart on an axis. */
constexpr double kLeastSpread = 1e-12;

double soundCount(double count)
{
    return std::isfinite(count) && count > 0 ? count : 0;
}

bool isUnique(const StoredHistogram& histogram)
{
    return histogram.function == "Unique Value";
}

/* The width of the bars of bins that are single values: such that the closest two touch. */
double closestOf(const StoredHistogram& histogram, const Bars& bars)
{
    double closest = 0;
    for (std::size_t bin = bars.firstBin + 1; bin <= bars.lastBin; ++bin) {
        const double gap = histogram.limits[bin].lower - histogram.limits[bin - 1].lower;
        closest = gap > 0 && (closest == 0 || gap < closest) ? gap : closest;
    }
    return closest;
}

bool canBeDrawn(const StoredHistogram& histogram, const Bars& bars)
{
    for (std::size_t bin = bars.firstBin; bin <= bars.lastBin; ++bin) {
        const BinLimits& limits = histogram.limits[bin];
        const bool finite = std::fabs(limits.lower) < kGreatest && std::fabs(limits.upper) < kGreatest;
        const bool ascends = bin == bars.firstBin || histogram.limits[bin - 1].lower <= limits.lower;
        if (!finite || !ascends || limits.upper < limits.lower) {
            return false;
        }
    }
    return true;
}

/* The places of a bar of the bins `first` to `last`. */
Bars::Bar placeOf(const StoredHistogram& histogram, const Bars& bars, double half, std::size_t first, std::size_t last)
{
    if (bars.countsBins) {
        return {static_cast<double>(first), static_cast<double>(last + 1), 0};
    }
    if (isUnique(histogram)) {
        return {histogram.limits[first].lower - half, histogram.limits[last].lower + half, 0};
    }
    return {histogram.limits[first].lower, histogram.limits[last].upper, 0};
}

/* A bar for so many bins each. */
void addBins(const StoredHistogram& histogram, double half, Bars& bars)
{
    for (std::size_t first = bars.firstBin; first <= bars.lastBin; first += bars.binsPerBar) {
        const std::size_t last = std::min(first + bars.binsPerBar - 1, bars.lastBin);
        Bars::Bar bar = placeOf(histogram, bars, half, first, last);
        for (std::size_t bin = first; bin <= last; ++bin) {
            bar.count += soundCount(histogram.counts[bin]);
        }
        bars.highest = std::max(bars.highest, bar.count);
        bars.bars.push_back(bar);
    }
}

/* Bars of one width for single values: a multiple of the closest distance, so that values at equal distances are spread
 * over the bars evenly. */
void addRanges(const StoredHistogram& histogram, double closest, std::size_t mostBars, Bars& bars)
{
    const double start = histogram.limits[bars.firstBin].lower - closest / 2;
    const double whole = histogram.limits[bars.lastBin].lower + closest / 2 - start;
    bars.range = std::ceil(whole / closest / static_cast<double>(mostBars)) * closest;
    const auto count = static_cast<std::size_t>(std::ceil(whole / bars.range - 1e-9));
    for (std::size_t i = 0; i < count; ++i) {
        const double from = start + static_cast<double>(i) * bars.range;
        bars.bars.push_back({from, from + bars.range, 0});
    }
    for (std::size_t bin = bars.firstBin; bin <= bars.lastBin; ++bin) {
        const auto bar = static_cast<std::size_t>((histogram.limits[bin].lower - start) / bars.range);
        double& sum = bars.bars[std::min(bar, count - 1)].count;
        sum += soundCount(histogram.counts[bin]);
        bars.highest = std::max(bars.highest, sum);
    }
}

/* An axis around a single bar, or around bars that differ by nothing that could be seen. */
void surround(Bars& bars)
{
    const double width = bars.high - bars.low;
    const double size = std::max(std::fabs(bars.low), std::fabs(bars.high));
    if (width > kLeastSpread * size && width > 0) {
        if (bars.bars.size() == 1 && bars.binsPerBar == 1) {
            bars.ofOneValue = true;
            bars.low -= 2 * width;
            bars.high += 2 * width;
        }
        return;
    }
    const double value = bars.low;
    const double half = value == 0 || size < 1e-290 ? 1 : size / 10;
    double count = 0;
    for (const Bars::Bar& bar : bars.bars) {
        count += bar.count;
    }
    bars.bars = {{value - half / 10, value + half / 10, count}};
    bars.highest = count;
    bars.low = value - half;
    bars.high = value + half;
    bars.ofOneValue = true;
}

}  // namespace

Bars makeBars(const StoredHistogram& histogram, std::size_t mostBars)
{
    Bars bars;
    const std::size_t bins = histogram.counts.size();
    while (bars.firstBin < bins && soundCount(histogram.counts[bars.firstBin]) == 0) {
        ++bars.firstBin;
    }
    if (bars.firstBin == bins) {
        bars.firstBin = 0;
        return bars;
    }
    for (bars.lastBin = bins - 1; soundCount(histogram.counts[bars.lastBin]) == 0; --bars.lastBin) {
    }
    bars.countsBins = !canBeDrawn(histogram, bars);
    const double closest = isUnique(histogram) ? closestOf(histogram, bars) : 0;
    const std::size_t shown = bars.lastBin - bars.firstBin + 1;
    if (closest > 0 && shown > mostBars && !bars.countsBins) {
        addRanges(histogram, closest, mostBars, bars);
    } else {
        bars.binsPerBar = (shown + mostBars - 1) / mostBars;
        addBins(histogram, closest / 2, bars);
    }
    bars.low = bars.bars.front().from;
    bars.high = bars.bars.back().to;
    surround(bars);
    return bars;
}

std::string countsLine(const StoredHistogram& histogram, const Bars& bars)
{
    const std::size_t bins = histogram.counts.size();
    std::string line = groupedText(histogram.total()) + " pixels in " + groupedText(static_cast<double>(bins)) +
                       (bins == 1 ? " bin, " : " bins, ") + cleanText(histogram.function);
    if (bars.range > 0) {
        line += ", bars " + labelText(bars.range) + " wide";
    } else if (bars.binsPerBar > 1) {
        line += ", " + groupedText(static_cast<double>(bars.binsPerBar)) + " a bar";
    }
    return line;
}

}  // namespace tool
