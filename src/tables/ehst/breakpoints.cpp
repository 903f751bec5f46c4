#include "tables/ehst/lut.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace emantle::tables {

namespace {

bool isBefore(const Ehst_BreakPoint& a, const Ehst_BreakPoint& b) noexcept
{
    return a.input < b.input;
}

/* The inputs strictly between two points; each of them gets the line's output. */
void fillBetween(Ehst_LUT& lut, const Ehst_BreakPoint& from, const Ehst_BreakPoint& to)
{
    const double x0 = from.input;
    const double y0 = from.output;
    const double slope = (to.output - y0) / (to.input - x0);
    const double offset = y0 - x0 * slope;
    const std::int64_t low = std::min(from.input, to.input);
    const std::int64_t high = std::max(from.input, to.input);
    const std::int64_t end = std::min<std::int64_t>(high, std::int64_t{lut.maxInput} + 1);
    for (std::int64_t x = std::max<std::int64_t>(low + 1, 0); x < end; ++x) {
        const double output = std::floor(static_cast<double>(x) * slope + offset + 0.5);
        lut.table[x] = static_cast<std::int32_t>(std::clamp<double>(output, 0, lut.maxOutput));
    }
}

}  // namespace

EMANTLE_API Emsc_Boolean ehst_BreakPointsToTable(Ehst_LUT* lut, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehst_BreakPointsToTable", 0, [&] {
        require(lut != nullptr && lut->table != nullptr && lut->maxInput >= 0 && lut->maxOutput >= 0,
                "Invalid lookup table");
        const std::span<const Ehst_BreakPoint> points = pointsOf(*lut);
        require(!points.empty(), "Args");
        for (std::size_t at = 1; at < points.size(); ++at) {
            if (points[at - 1].input != points[at].input) {
                fillBetween(*lut, points[at - 1], points[at]);
            }
        }
        for (const Ehst_BreakPoint& point : points) {
            if (point.input >= 0 && point.input <= lut->maxInput) {
                lut->table[point.input] = std::clamp(point.output, 0, lut->maxOutput);
            }
        }
        const std::int64_t above = std::max<std::int64_t>(std::int64_t{points.back().input} + 1, 0);
        if (above <= lut->maxInput) {
            std::fill(lut->table + above, lut->table + lut->maxInput + 1,
                      std::clamp(points.back().output, 0, lut->maxOutput));
        }
        return 1;
    });
}

EMANTLE_API long ehst_BreakPointInsert(Ehst_LUT* lut, int32_t input, int32_t output)
{
    if (lut == nullptr) {
        return -1;
    }
    return guarded<long>(nullptr, "ehst_BreakPointInsert", -1, [&] {
        const std::span<Ehst_BreakPoint> points = pointsOf(*lut);
        const auto place = std::find_if(points.begin(), points.end(),
                                        [&](const Ehst_BreakPoint& point) { return point.input >= input; });
        const long index = place - points.begin();
        if (place != points.end() && place->input == input) {
            place->output = output;
            return index;
        }
        std::vector<Ehst_BreakPoint> longer(points.begin(), points.end());
        longer.insert(longer.begin() + index, {input, output});
        setPoints(*lut, longer);
        return index;
    });
}

EMANTLE_API Emsc_Boolean ehst_BreakPointDelete(Ehst_LUT* lut, long index)
{
    if (lut == nullptr || lut->numBreakPoints < 2 || index < 0 || index >= lut->numBreakPoints) {
        return 0;
    }
    const std::span<Ehst_BreakPoint> points = pointsOf(*lut);
    std::copy(points.begin() + index + 1, points.end(), points.begin() + index);
    --lut->numBreakPoints;
    return 1;
}

EMANTLE_API void ehst_BreakPointSort(Ehst_LUT* lut)
{
    if (lut != nullptr) {
        const std::span<Ehst_BreakPoint> points = pointsOf(*lut);
        std::stable_sort(points.begin(), points.end(), isBefore);
    }
}

EMANTLE_API int ehst_BreakPointCompare(const void* a, const void* b)
{
    const auto& first = *static_cast<const Ehst_BreakPoint*>(a);
    const auto& second = *static_cast<const Ehst_BreakPoint*>(b);
    return isBefore(second, first) - isBefore(first, second);
}

EMANTLE_API void ehst_BreakPointDeleteRedundants(Ehst_LUT* lut)
{
    if (lut != nullptr) {
        const std::span<Ehst_BreakPoint> points = pointsOf(*lut);
        const auto isSameInput = [](const Ehst_BreakPoint& a, const Ehst_BreakPoint& b) { return a.input == b.input; };
        const auto end = std::unique(points.begin(), points.end(), isSameInput);
        lut->numBreakPoints = static_cast<std::int32_t>(end - points.begin());
    }
}

}  // namespace emantle::tables
