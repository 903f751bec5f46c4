#pragma once

#include "tables/esta/pixels.h"

#include <array>
#include <emantle/tables/eahg.h>
#include <vector>

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

/* The total counts on from 0 when it passes 32 bits. */
inline void addToTotal(Eahg_Histogram& histogram, std::uint32_t taken) noexcept
{
    histogram.totalCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(histogram.totalCount) + taken);
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

/* A value as its bytes lie in memory, zeros behind them, with its count. */
struct PatternCount {
    std::array<std::uint64_t, 2> pattern{};
    std::uint32_t count = 0;

    bool operator<(const PatternCount& other) const noexcept { return pattern < other.pattern; }
};

/* Every value kept, in the order of the patterns. */
std::vector<PatternCount> countsOf(const Eahg_Histogram& histogram, EerrException& scope);

/* Adds to one value's count, the total being left to the caller. The limit of values is not looked at. Fails for a
 * count beyond 32 bits. */
void addCount(Eahg_Histogram& histogram, const PatternCount& added, EerrException& scope);

/* Adds all counts of `source`, a histogram of the same type. False, and nothing added, where the target would have
 * more values than its limit. */
bool addCounts(Eahg_Histogram& target, const Eahg_Histogram& source, EerrException& scope);

}  // namespace emantle::tables
