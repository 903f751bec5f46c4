#include "frame/guard/guard.h"
#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <emantle/tables/ehst.h>
#include <limits>

namespace emantle::tables {

namespace {

using HistogramOwner = Owned<Ehst_Histogram, ehst_HistogramDelete>;

long sizeOf(const Ehst_Histogram& histogram) noexcept
{
    return static_cast<long>(histogram.maxValue) - histogram.minValue + 1;
}

bool isUsable(const Ehst_Histogram* histogram) noexcept
{
    return histogram != nullptr && histogram->counts != nullptr && sizeOf(*histogram) > 0;
}

HistogramOwner created(std::int32_t minValue, std::int32_t maxValue)
{
    HistogramOwner histogram(allocate<Ehst_Histogram>(1, "Insufficient memory").release());
    histogram->minValue = minValue;
    histogram->maxValue = maxValue;
    histogram->counts =
        allocate<std::uint32_t>(static_cast<std::size_t>(sizeOf(*histogram)), "Insufficient memory").release();
    return histogram;
}

/* Gives the histogram zeros for the values from 0 to `maxValue`. */
void restart(Ehst_Histogram& histogram, std::int32_t maxValue)
{
    const std::size_t size = static_cast<std::size_t>(maxValue) + 1;
    if (histogram.counts == nullptr || sizeOf(histogram) != static_cast<long>(size)) {
        HeapPtr<std::uint32_t> fresh = allocate<std::uint32_t>(size, "Insufficient memory");
        const HeapPtr<std::uint32_t> old(histogram.counts);
        histogram.counts = fresh.release();
    }
    histogram.minValue = 0;
    histogram.maxValue = maxValue;
    std::fill_n(histogram.counts, size, 0U);
}

void addCount(std::uint32_t& counter, std::uint32_t count) noexcept
{
    counter += std::min(count, std::numeric_limits<std::uint32_t>::max() - counter);
}

}  // namespace

EMANTLE_API Ehst_Histogram* ehst_HistogramCreate(long numValues, Eerr_ErrorReport** err)
{
    return guarded<Ehst_Histogram*>(err, "ehst_HistogramCreate", nullptr, [&] {
        require(numValues > 0 && numValues <= std::numeric_limits<std::int32_t>::max(), "A histogram of %ld values",
                numValues);
        return created(0, static_cast<std::int32_t>(numValues - 1)).release();
    });
}

EMANTLE_API Ehst_Histogram* ehst_HistogramCopy(const Ehst_Histogram* source, Ehst_Histogram* target,
                                               Eerr_ErrorReport** err)
{
    return guarded<Ehst_Histogram*>(err, "ehst_HistogramCopy", nullptr, [&] {
        require(isUsable(source) && (target == nullptr || isUsable(target)), "Args");
        HistogramOwner made;
        if (target == nullptr) {
            made = created(source->minValue, source->maxValue);
            target = made.get();
        }
        require(target->minValue == source->minValue && target->maxValue == source->maxValue,
                "A histogram of %d to %d cannot be copied into one of %d to %d", source->minValue, source->maxValue,
                target->minValue, target->maxValue);
        if (target != source) {
            std::copy_n(source->counts, sizeOf(*source), target->counts);
            target->mean = source->mean;
            target->deviation = source->deviation;
        }
        made.release();
        return target;
    });
}

EMANTLE_API void ehst_HistogramDelete(Ehst_Histogram* histogram)
{
    if (histogram != nullptr) {
        emsc_HeapFree(histogram->counts);
        emsc_HeapFree(histogram);
    }
}

EMANTLE_API uint32_t ehst_GetHistogramMaxCount(const Ehst_Histogram* histogram)
{
    return isUsable(histogram) ? *std::max_element(histogram->counts, histogram->counts + sizeOf(*histogram)) : 0;
}

EMANTLE_API uint32_t ehst_MapHistogramThruLUT(const Ehst_Histogram* input, Ehst_Histogram* output, const Ehst_LUT* lut,
                                              Eerr_ErrorReport** err)
{
    constexpr const char* kName = "ehst_MapHistogramThruLUT";
    return guarded<std::uint32_t>(err, kName, 0, [&] {
        require(isUsable(input), "Invalid input histogram");
        require(output != nullptr && output != input, "Invalid output histogram");
        require(lut != nullptr && lut->table != nullptr && lut->maxInput >= 0 && lut->maxOutput >= 0 &&
                    lut->maxOutput < std::numeric_limits<std::int32_t>::max(),
                "Invalid lookup table");
        const long inputs = static_cast<long>(lut->maxInput) + 1;
        if (sizeOf(*input) != inputs) {
            warn(kName, "The histogram has %ld values, and the lookup table %ld", sizeOf(*input), inputs);
        }
        restart(*output, lut->maxOutput);
        const long count = std::min(sizeOf(*input), inputs);
        for (long at = 0; at < count; ++at) {
            addCount(output->counts[std::clamp(lut->table[at], 0, lut->maxOutput)], input->counts[at]);
        }
        return ehst_GetHistogramMaxCount(output);
    });
}

/* The middle of a share is cut to a whole number: that of an odd count lies half below. */
EMANTLE_API void ehst_HistogramEqualize(const Ehst_Histogram* input, Ehst_Histogram* output, int32_t numLevels)
{
    if (!isUsable(input) || !isUsable(output) || numLevels < 1) {
        return;
    }
    const long size = sizeOf(*input);
    std::uint64_t total = 0;
    for (long at = 0; at < size; ++at) {
        total += input->counts[at];
    }
    const double perLevel = static_cast<double>(total) / numLevels;
    const double last = numLevels - 1;
    std::uint64_t below = 0;
    for (long at = 0; at < std::min(size, sizeOf(*output)); ++at) {
        const std::uint32_t count = input->counts[at];
        const double middle = static_cast<double>(static_cast<std::int64_t>(below + count / 2));
        output->counts[at] = total == 0 ? 0 : static_cast<std::uint32_t>(std::min(middle / perLevel, last));
        below += count;
    }
}

}  // namespace emantle::tables
