#pragma once

#include "platform/cpu.h"

#include <cstddef>
#include <cstdint>
#include <emantle/data/egda/basedata.h>
#include <limits>

/* What the loops over pixels work on, and the tables of those loops, one for each instruction set.
 *  1. A cell is picked by the pixel type; there is none for strings.
 *  2. The results of whole-number pixels are exact; those of floating pixels are the same under every instruction set,
 *     since sums run in a fixed number of lanes. */

namespace emantle {

__extension__ typedef unsigned __int128 Whole128;
__extension__ typedef __int128 Signed128;

/* Pixels row by row, with or without a mask of bytes. */
struct PixelBlock {
    const std::byte* pixels;
    long pitch; /* bytes */
    const std::uint8_t* mask;
    long maskPitch;
    long rows;
    long columns;
};

/* The rectangle of a record, as one row where it lies in one piece. */
PixelBlock pixelBlock(const Egda_BaseData& data, const Egda_BaseData* mask) noexcept;

/* NaN is counted and summed, but is no extreme. */
struct ScalarSums {
    double count;
    double least;
    double greatest;
    double sum;
    double squares;
};
inline constexpr ScalarSums kNothing = {0, std::numeric_limits<double>::infinity(),
                                        -std::numeric_limits<double>::infinity(), 0, 0};

struct StatisticsLoops {
    ScalarSums (*whole[EGDA_NUM_TYPES])(const PixelBlock&);
    ScalarSums (*masked[EGDA_NUM_TYPES])(const PixelBlock&);
};
const StatisticsLoops& statisticsLoops(platform::InstructionSet set) noexcept;

/* An even division of a range into bins; the place of x is floor(bins * (x - first) / span) - start, held to 0 and
 * `count` - 1. NaN is at place 0. Span, bins / span and their products with the bins are normal numbers. */
struct EvenBins {
    double bins;
    double first;
    double span;
    double start;
    double count;
};

inline constexpr int kPartialTables = 4;

struct HistogramLoops {
    /* Count pixels by bit pattern into a table that is not cleared, the second from the pattern `low` on, around the
     * end. A pixel under the mask that has no counter is the caller's fault. */
    void (*countBytes)(const PixelBlock& block, std::uint32_t* counts);
    void (*countWords)(const PixelBlock& block, std::uint32_t* counts, std::uint32_t low);
    /* Holds places to 0 .. `last`. */
    void (*holdPlaces)(std::int32_t* places, long count, std::int32_t last);
    /* Counts places, in turn in kPartialTables tables of `stride` counters each; with a stride of 0 in one. */
    void (*countPlaces)(const std::int32_t* places, const std::uint8_t* mask, long count, std::uint32_t* counts,
                        long stride);
    /* Counts the places of an even division in such tables. */
    void (*countEven)(const float* pixels, const std::uint8_t* mask, long count, const EvenBins& even,
                      std::uint32_t* counts, long stride);
};
const HistogramLoops& histogramLoops(platform::InstructionSet set) noexcept;

/* `count` pixels as doubles, magnitudes of complex ones, 0 where the mask has 0. */
using WidenLoop = void (*)(const void* pixels, const std::uint8_t* mask, long count, double* dest);

/* Sums in lanes, of which the total is the result. */
inline constexpr int kSumLanes = 8;

struct CovarianceLoops {
    WidenLoop widen[EGDA_NUM_TYPES];
    /* Adds the products of `count` values, a multiple of kSumLanes, of each pair of rows i <= j to the lanes of pair
     * j * (j + 1) / 2 + i, and the values of row i to the lanes of `values` + i * kSumLanes. */
    void (*products)(const double* rows, long stride, int layers, long count, double* products, double* values);
};
const CovarianceLoops& covarianceLoops(platform::InstructionSet set) noexcept;

namespace vector_bytes {
inline constexpr int baseline = 16;
inline constexpr int avx2 = 32;
inline constexpr int avx512 = 64;
}  // namespace vector_bytes

}  // namespace emantle
