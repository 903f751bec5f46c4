#include <algorithm>
#include <cmath>
#include <emantle/numerics/efga/clip.h>

namespace emantle::numerics {

namespace {

/* The part of a line between two of its points, 0 being its start and 1 its end, and the edges that cut it. */
struct Part {
    double from = 0;
    double to = 1;

    /* Keeps the points where `start + t * step` is `low` to `high`; false when there are none. */
    bool cut(double start, double step, double low, double high)
    {
        if (step == 0) {
            return start >= low && start <= high;
        }
        const double atLow = (low - start) / step;
        const double atHigh = (high - start) / step;
        from = std::max(from, std::min(atLow, atHigh));
        to = std::min(to, std::max(atLow, atHigh));
        return from <= to;
    }
};

/* A computed point may leave the rectangle by its rounding, also along the edge that cuts it. */
double held(double start, double step, double t, double low, double high)
{
    const double value = start + t * step;
    const bool meetsLow = step != 0 && t == (low - start) / step;
    const bool meetsHigh = step != 0 && t == (high - start) / step;
    return meetsLow ? low : meetsHigh ? high : std::clamp(value, low, high);
}

}  // namespace

EMANTLE_API Emsc_Boolean efga_ClipLine(double* x0, double* y0, double* x1, double* y1, double minX, double minY,
                                       double maxX, double maxY)
{
    if (x0 == nullptr || y0 == nullptr || x1 == nullptr || y1 == nullptr || !(minX <= maxX) || !(minY <= maxY)) {
        return 0;
    }
    const double startX = *x0;
    const double startY = *y0;
    const double stepX = *x1 - startX;
    const double stepY = *y1 - startY;
    Part part;
    if (!std::isfinite(stepX) || !std::isfinite(stepY) || !part.cut(startX, stepX, minX, maxX) ||
        !part.cut(startY, stepY, minY, maxY)) {
        return 0;
    }
    if (part.from > 0) {
        *x0 = held(startX, stepX, part.from, minX, maxX);
        *y0 = held(startY, stepY, part.from, minY, maxY);
    }
    if (part.to < 1) {
        *x1 = held(startX, stepX, part.to, minX, maxX);
        *y1 = held(startY, stepY, part.to, minY, maxY);
    }
    return 1;
}

}  // namespace emantle::numerics
