#include "tables/ehst/lut.h"

#include <algorithm>
#include <cmath>
#include <emantle/numerics/efga/clip.h>
#include <limits>
#include <vector>

namespace emantle::tables {

namespace {

using LutOwner = Owned<Ehst_LUT, ehst_LUTDelete>;
using Points = std::vector<Ehst_BreakPoint>;

HeapPtr<std::int32_t> copyOf(const std::int32_t* table, long entries)
{
    HeapPtr<std::int32_t> copy = allocate<std::int32_t>(static_cast<std::size_t>(entries), "Insufficient memory");
    std::copy_n(table, entries, copy.get());
    return copy;
}

std::int32_t nearest(double value) noexcept
{
    return static_cast<std::int32_t>(std::floor(value + 0.5));
}

/* Appends the point unless the last one is at its input. */
void collect(Points& points, double input, double output)
{
    if (points.empty() || points.back().input != nearest(input)) {
        points.push_back({nearest(input), nearest(output)});
    }
}

Points clippedSegments(const Ehst_LUT& lut)
{
    Points clipped;
    const std::span<const Ehst_BreakPoint> points = pointsOf(lut);
    for (std::size_t at = 1; at < points.size(); ++at) {
        double x0 = points[at - 1].input;
        double y0 = points[at - 1].output;
        double x1 = points[at].input;
        double y1 = points[at].output;
        if (efga_ClipLine(&x0, &y0, &x1, &y1, 0, 0, lut.maxInput, lut.maxOutput)) {
            collect(clipped, x0, y0);
            collect(clipped, x1, y1);
        }
    }
    return clipped;
}

void reachBothEdges(Points& points, const Ehst_LUT& lut)
{
    if (points.front().input != 0) {
        if (points.front().output == lut.maxInput) {
            points.front().input = 0;
        } else {
            points.insert(points.begin(), {0, points.front().output});
        }
    }
    const Ehst_BreakPoint last = points.back();
    if (last.input < lut.maxInput) {
        if (points.size() > 1 && points[points.size() - 2].output == last.output) {
            points.back().input = lut.maxInput;
        } else {
            points.push_back({lut.maxInput, last.output});
        }
    }
}

}  // namespace

void setPoints(Ehst_LUT& lut, std::span<const Ehst_BreakPoint> points)
{
    HeapPtr<Ehst_BreakPoint> fresh = allocate<Ehst_BreakPoint>(points.size(), "Insufficient memory");
    std::copy(points.begin(), points.end(), fresh.get());
    const HeapPtr<Ehst_BreakPoint> old(lut.breakPoints);
    lut.breakPoints = fresh.release();
    lut.numBreakPoints = static_cast<std::int32_t>(points.size());
}

EMANTLE_API Ehst_LUT* ehst_LUTCreate(long maxInput, long maxOutput, long numBreakPoints, Eerr_ErrorReport** err)
{
    return guarded<Ehst_LUT*>(err, "ehst_LUTCreate", nullptr, [&] {
        constexpr long kMost = std::numeric_limits<std::int32_t>::max() - 1;
        require(maxInput >= 0 && maxInput <= kMost && maxOutput >= 0 && maxOutput <= kMost && numBreakPoints >= 0 &&
                    numBreakPoints <= kMost,
                "A lookup table of %ld inputs, %ld outputs and %ld break points", maxInput, maxOutput, numBreakPoints);
        LutOwner lut(allocate<Ehst_LUT>(1, "Insufficient memory").release());
        lut->maxInput = static_cast<std::int32_t>(maxInput);
        lut->maxOutput = static_cast<std::int32_t>(maxOutput);
        lut->table =
            allocate<std::int32_t>(static_cast<std::size_t>(maxInput) + 1, "Insufficient memory").release();
        lut->breakPoints =
            allocate<Ehst_BreakPoint>(static_cast<std::size_t>(numBreakPoints), "Insufficient memory").release();
        lut->numBreakPoints = static_cast<std::int32_t>(numBreakPoints);
        return lut.release();
    });
}

EMANTLE_API Ehst_LUT* ehst_LUTCopy(const Ehst_LUT* source, Ehst_LUT* target)
{
    if (source == nullptr || source->table == nullptr || source->maxInput < 0 || source == target) {
        return source == nullptr ? nullptr : target;
    }
    return guarded<Ehst_LUT*>(nullptr, "ehst_LUTCopy", nullptr, [&] {
        LutOwner made;
        if (target == nullptr) {
            made.reset(allocate<Ehst_LUT>(1, "Insufficient memory").release());
        }
        Ehst_LUT& copy = target == nullptr ? *made : *target;
        HeapPtr<std::int32_t> table = copyOf(source->table, static_cast<long>(source->maxInput) + 1);
        setPoints(copy, pointsOf(*source));
        emsc_HeapFree(copy.table);
        copy.table = table.release();
        copy.maxInput = source->maxInput;
        copy.maxOutput = source->maxOutput;
        made.release();
        return &copy;
    });
}

EMANTLE_API void ehst_LUTDelete(Ehst_LUT* lut)
{
    if (lut != nullptr) {
        emsc_HeapFree(lut->breakPoints);
        emsc_HeapFree(lut->table);
        emsc_HeapFree(lut);
    }
}

/* The output of the first point is held against `maxInput`, not against `maxOutput`: tables have as many outputs as
 * inputs as a rule. */
EMANTLE_API void ehst_LUTClip(Ehst_LUT* lut)
{
    if (lut == nullptr) {
        return;
    }
    guarded(nullptr, "ehst_LUTClip", [&] {
        Points points = clippedSegments(*lut);
        if (!points.empty()) {
            reachBothEdges(points, *lut);
            setPoints(*lut, points);
        }
    });
}

}  // namespace emantle::tables
