#pragma once

#include <cstdint>

namespace emantle::tables {

/* The part of a kind's bins that a function shows. */
struct Span {
    std::int32_t startBin;
    std::int32_t binCount;
};

/* How doubles become bins in place. */
struct Rescale {
    double scale;
    double offset;
    double binCount;
    double below;
    double above;
    double lastInside; /* no value up to this one is above the range, whatever the rounding says */
};

}  // namespace emantle::tables
