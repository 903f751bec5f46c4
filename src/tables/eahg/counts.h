#pragma once

#include "tables/esta/pixels.h"

#include <emantle/tables/eahg.h>

/* How the distinct values of a histogram are counted: in an array with a cell for each bit pattern of one or two
 * bytes, or in a hash table whose id stands in the place of the array. */

namespace emantle::tables {

inline bool hasArray(const Eahg_Histogram& histogram) noexcept
{
    return histogram.bytesPerPixel <= 2;
}

inline long cellsOf(const Eahg_Histogram& histogram) noexcept
{
    return 1L << (8 * histogram.bytesPerPixel);
}

inline std::uint32_t* arrayOf(const Eahg_Histogram& histogram) noexcept
{
    return static_cast<std::uint32_t*>(histogram.counts);
}

inline int tableOf(const Eahg_Histogram& histogram) noexcept
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(histogram.counts));
}

/* Takes pixels until one has a value too many; how many were not taken. */
long countValues(Eahg_Histogram& histogram, const Egda_BaseData& data, const Egda_BaseData* mask, EerrException& scope);

/* The pairs that `values` leads to, in ascending order. */
struct ValueCount {
    double value;
    double count;
};
struct ComplexCount {
    Egda_Complex128 value;
    double count;
};
static_assert(sizeof(ValueCount) == 16 && sizeof(ComplexCount) == 24);

/* Makes `values` where there is none. */
void sortValues(Eahg_Histogram& histogram, EerrException& scope);

}  // namespace emantle::tables
