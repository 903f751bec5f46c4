#pragma once

#include <emantle/data/egda/basedata.h>

#include <optional>

/* Shapes, counted in 64 bits, and the blocks for them. */

namespace emantle {

/* How the elements of a record lie: `lines` runs of `run` elements. */
struct Extent {
    long lines;
    long run;
};

Extent extentOf(const Egda_BaseData& base) noexcept;

/* Bytes of a block for this shape; none where the shape is empty or does not fit a record. */
std::optional<long> blockSize(long nRows, long nColumns, Egda_PixelType dataType, long objectType) noexcept;

/* Columns as a block has room for them: a raster's are a multiple of 4. */
constexpr long roomyColumns(long nColumns, long objectType) noexcept
{
    return objectType == EGDA_RASTER_OBJECT ? (nColumns + 3) / 4 * 4 : nColumns;
}

/* A block for elements, cleared, for emsc_HeapFree; null where there is no memory. Large ones lie on large pages: on small
 * ones the same loops take up to a quarter longer. */
void* allocateElements(long bytes) noexcept;

/* Writes all that follows from a shape; false where it does not fit the record's 32 bits. */
bool setShape(Egda_BaseData& base, long nRows, long nColumns, Egda_PixelType dataType, long objectType) noexcept;

constexpr char* lineOf(const Egda_BaseData& base, long line) noexcept
{
    return static_cast<char*>(base.firstelement) + line * static_cast<long>(base.pitch);
}

}  // namespace emantle
