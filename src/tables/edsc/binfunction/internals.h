#pragma once

#include "frame/memory/heap_ptr.h"
#include "tables/edsc/binfunction/arithmetic.h"

#include <cstdint>
#include <emantle/data/egda/basedata.h>
#include <emantle/tables/edsc/kinds.h>
#include <memory>

/* What the built-in kinds keep. */

namespace emantle::tables {

/* The largest count of bins: a bin is a signed number. */
constexpr std::uint32_t kMostBins = 0x7fffffff;

struct DirectBins {
    std::uint32_t numBins;
    double minLimit;

    single::Direct arithmetic() const noexcept { return {static_cast<double>(numBins), minLimit}; }
};

/* Linear and logarithmic. */
struct SpanBins {
    std::uint32_t numBins;
    double minLimit;
    double maxLimit;
    double upperBound; /* one step above maxLimit, so that the maximum falls into the last bin */

    template <class Kind>
    Kind arithmetic() const noexcept
    {
        return {static_cast<double>(numBins), minLimit, upperBound - minLimit, maxLimit};
    }
};

/* Explicit (limits, one more than bins) and unique (values). The table is F64, ascending, and may be longer. */
struct TableBins {
    std::uint32_t numBins;
    Egda_BaseData* table;

    const double* rows() const noexcept { return static_cast<const double*>(table->data); }
};

/* The value one unit in the last place above `value`. */
double upperBoundOf(double value) noexcept;

struct BaseDataDeleter {
    void operator()(Egda_BaseData* data) const noexcept { egda_BaseDataDelete(data, nullptr); }
};
using BaseDataPtr = std::unique_ptr<Egda_BaseData, BaseDataDeleter>;

}  // namespace emantle::tables
