/* From values to bins: the arithmetic of the built-in kinds, and loops over runs of values. Compiled once for one value
 * at a time and once for each instruction set; no guard. Bins of a kind count from 0; -1 is below them, `numBins`
 * above. */

namespace emantle::tables::EMANTLE_TARGET {

struct Direct {
    double numBins;
    double minLimit;

    double position(double value) const { return value - minLimit; }
};

struct Linear {
    double numBins;
    double minLimit;
    double span;
    double maxLimit;

    double position(double value) const { return numBins * (value - minLimit) / span; }
};

struct Logarithmic {
    double numBins;
    double minLimit;
    double span;
    double maxLimit;

    double position(double value) const { return (__builtin_exp2((value - minLimit) / span) - 1) * numBins; }
};

/* The whole part of a position inside the range; NaN counts as below. */
inline std::int32_t clampedBin(double position, double numBins)
{
    position = position >= numBins ? numBins : position;
    position = position >= 0 ? position : -1;
    return static_cast<std::int32_t>(position);
}

inline std::int32_t binOf(const Direct& kind, double value)
{
    return clampedBin(kind.position(value), kind.numBins);
}

/* Where the span is so wide that the step above the maximum disappears in it, the position of the maximum, or of values
 * next to it, is rounded up to the number of bins: they belong to the last bin all the same. */
template <class Spanned>
std::int32_t binOf(const Spanned& kind, double value)
{
    const double position = kind.position(value);
    const bool isRoundedUp = position >= kind.numBins && value <= kind.maxLimit;
    return clampedBin(isRoundedUp ? kind.numBins - 1 : position, kind.numBins);
}

/* The last of `high` + 1 ascending limits that is not above `value`, but never the last one of all. */
inline std::uint32_t lowerNeighbour(const double* limits, std::uint32_t high, double value)
{
    std::uint32_t low = 0;
    while (low + 1 < high) {
        const std::uint32_t middle = low + (high - low) / 2;
        const bool above = limits[middle] > value;
        high = above ? middle : high;
        low = above ? low : middle;
    }
    return low;
}

struct Explicit {
    std::uint32_t numBins;
    const double* limits; /* numBins + 1 of them */
};

inline std::int32_t binOf(const Explicit& kind, double value)
{
    const std::uint32_t low = lowerNeighbour(kind.limits, kind.numBins, value);
    if (value >= kind.limits[low + 1]) {
        return static_cast<std::int32_t>(low + 1);
    }
    return static_cast<std::int32_t>(low) - (kind.limits[low] > value ? 1 : 0);
}

struct Unique {
    std::uint32_t numBins;
    const double* values; /* numBins of them */
};

/* A value between two listed ones is out of the range, on the side of the middle of the range that it lies on. */
inline std::int32_t binOf(const Unique& kind, double value)
{
    const std::uint32_t last = kind.numBins - 1;
    const std::uint32_t low = lowerNeighbour(kind.values, last, value);
    const std::uint32_t high = low < last ? low + 1 : low;
    if (value == kind.values[high]) {
        return static_cast<std::int32_t>(high);
    }
    if (value == kind.values[low]) {
        return static_cast<std::int32_t>(low);
    }
    return value > (kind.values[0] + kind.values[last]) / 2 ? static_cast<std::int32_t>(kind.numBins) : -1;
}

/* `kindBin` as a bin of the span that a function shows. */
inline std::int32_t visibleBin(std::int32_t kindBin, std::int32_t startBin, std::int32_t binCount)
{
    const std::int32_t bin = kindBin < startBin ? -1 : kindBin - startBin;
    return bin > binCount ? binCount : bin;
}

template <class Kind>
void binRun(const Kind& kind, Span span, const double* values, long count, std::int32_t* bins)
{
    const Kind own = kind;
    for (long i = 0; i < count; ++i) {
        bins[i] = visibleBin(binOf(own, values[i]), span.startBin, span.binCount);
    }
}

/* Bins to elements of an output, with values of its own outside the range. Wraps like the element type does. */
template <class Element>
Element elementOf(std::int32_t bin, std::int32_t binCount, Element below, Element above)
{
    const Element inside = static_cast<Element>(bin);
    return bin < 0 ? below : bin >= binCount ? above : inside;
}

template <class Element>
void storeRun(const std::int32_t* bins, long count, std::int32_t binCount, const void* outside,
              const std::uint8_t* mask, void* output)
{
    const Element below = static_cast<const Element*>(outside)[0];
    const Element above = static_cast<const Element*>(outside)[1];
    Element* const out = static_cast<Element*>(output);
    if (mask == nullptr) {
        for (long i = 0; i < count; ++i) {
            out[i] = elementOf(bins[i], binCount, below, above);
        }
    } else {
        for (long i = 0; i < count; ++i) {
            const Element element = elementOf(bins[i], binCount, below, above);
            out[i] = mask[i] != 0 ? element : out[i];
        }
    }
}

/* values * scale - offset in place, cut down to whole bins. */
inline void rescaleRun(Rescale rescale, double* values, long count)
{
    for (long i = 0; i < count; ++i) {
        const double position = values[i] * rescale.scale - rescale.offset;
        const double floored = __builtin_floor(position);
        const double atEnd = values[i] <= rescale.lastInside ? rescale.binCount - 1 : rescale.above;
        const double inside = position >= rescale.binCount ? atEnd : floored;
        values[i] = position < 0 ? rescale.below : inside;
    }
}

}  // namespace emantle::tables::EMANTLE_TARGET
