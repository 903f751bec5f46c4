#pragma once

#include "tables/edsc/binfunction/arithmetic.h"

#include <cstdint>

namespace emantle::tables {

/* The loops over runs of values, in the form for this machine. */
struct BinLoops {
    template <class Kind>
    using Run = void (*)(const Kind& kind, Span span, const double* values, long count, std::int32_t* bins);
    using Store = void (*)(const std::int32_t* bins, long count, std::int32_t binCount, const void* outside,
                           const std::uint8_t* mask, void* output);

    Run<single::Direct> direct;
    Run<single::Linear> linear;
    Run<single::Logarithmic> logarithmic;
    Run<single::Explicit> limits;
    Run<single::Unique> values;
    /* By element type, EGDA_TYPE_U8 first and EGDA_TYPE_F64 last; `outside` holds two elements, below and above. */
    Store store[8];
    void (*rescale)(Rescale rescale, double* values, long count);
};

const BinLoops& binLoops() noexcept;

}  // namespace emantle::tables
