#pragma once

#include "platform/cpu.h"

#include <emantle/data/egda/types.h>

/* Factors and solutions of systems in blocks of their own. */

namespace emantle {

/* Elements that one step of a loop takes: blocks have their columns, and panels their rows, as so many times that. The
 * number is the same for all instruction sets. */
template <class T>
inline constexpr long solveLanes = 128 / static_cast<long>(sizeof(T));

/* Rows of a column of a block, with what is added behind them, which is 0. */
template <class T>
constexpr long paddedRows(long n) noexcept
{
    return (n + solveLanes<T> - 1) / solveLanes<T> * solveLanes<T>;
}

/* For one type. `upper` and `lower` are blocks of n columns of paddedRows elements, aligned to 64 bytes; a panel holds n
 * rows of solveLanes right sides each. */
struct SolveKernels {
    /* Factors `upper` in place and fills `lower`; false where a pivot is 0. `columns` has the numbers of the columns. */
    bool (*factor)(void* upper, void* lower, long n, long* columns);
    /* Turns right sides into solutions, in the order of the moved columns. */
    void (*solve)(const void* upper, const void* lower, void* panel, long n);
};

/* For F32, F64, C64 and C128, in this order. */
const SolveKernels* solveKernels(platform::InstructionSet set) noexcept;

}  // namespace emantle
