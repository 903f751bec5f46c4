#include "tables/ehst/lut.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace emantle::tables {

namespace {

/* Two of the points. */
using Ends = std::pair<std::size_t, std::size_t>;

Ends endsOfThree(std::span<const Ehst_BreakPoint> points)
{
    const bool isLevelFirst = points[0].output == points[1].output;
    const bool isLevelLast = points[1].output == points[2].output;
    if (isLevelFirst != isLevelLast) {
        return isLevelFirst ? Ends{1, 2} : Ends{0, 1};
    }
    return {0, 0};
}

std::optional<Ends> endsOfMany(std::span<const Ehst_BreakPoint> points, std::int32_t maxOutput)
{
    std::optional<std::size_t> start;
    for (std::size_t at = 0; at + 1 < points.size(); ++at) {
        if (points[at].output >= 1) {
            continue;
        }
        if (points[at + 1].output >= maxOutput) {
            return Ends{at, at + 1};
        }
        if (points[at + 1].output > points[at].output) {
            start = at;
        }
    }
    for (std::size_t at = start.value_or(points.size()) + 1; at < points.size(); ++at) {
        if (points[at].output >= maxOutput) {
            return Ends{*start, at};
        }
    }
    return std::nullopt;
}

std::optional<Ends> endsOf(std::span<const Ehst_BreakPoint> points, std::int32_t maxOutput)
{
    switch (points.size()) {
    case 0:
    case 1:
        return std::nullopt;
    case 2:
        return Ends{0, 1};
    case 3:
        return endsOfThree(points);
    default:
        return endsOfMany(points, maxOutput);
    }
}

std::int32_t cut(double value) noexcept
{
    constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr double kGreatest = std::numeric_limits<std::int32_t>::max();
    return std::isnan(value) ? 0 : static_cast<std::int32_t>(std::clamp(value, kLeast, kGreatest));
}

}  // namespace

EMANTLE_API Emsc_Boolean ehst_SetRamp(const Ehst_LUT* lut, Ehst_Ramp* ramp, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehst_SetRamp", 0, [&] {
        require(lut != nullptr && ramp != nullptr, "Args");
        *ramp = {};
        const std::span<const Ehst_BreakPoint> points = pointsOf(*lut);
        const std::optional<Ends> ends = endsOf(points, lut->maxOutput);
        if (!ends) {
            return 0;
        }
        const Ehst_BreakPoint& start = points[ends->first];
        const Ehst_BreakPoint& end = points[ends->second];
        *ramp = {static_cast<double>(start.input), static_cast<double>(start.output), static_cast<double>(end.input),
                 static_cast<double>(end.output)};
        return 1;
    });
}

EMANTLE_API void ehst_RampToBreakPoints(const Ehst_Ramp* ramp, Ehst_LUT* lut)
{
    if (ramp == nullptr || lut == nullptr) {
        return;
    }
    guarded(nullptr, "ehst_RampToBreakPoints", [&] {
        Ehst_BreakPoint ends[] = {{cut(ramp->startInput), cut(ramp->startOutput)},
                                  {cut(ramp->endInput), cut(ramp->endOutput)}};
        if (ramp->endInput < ramp->startInput) {
            std::swap(ends[0], ends[1]);
        }
        setPoints(*lut, ends);
    });
}

}  // namespace emantle::tables
