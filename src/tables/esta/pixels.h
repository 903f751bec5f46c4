#pragma once

#include "frame/guard/guard.h"
#include "tables/esta/kernels/block.h"

#include <emantle/data/egda/stack.h>
#include <memory>

/* What the families of statistics share: owners of records, checks, and the view that the loops work on. */

namespace emantle::tables {

struct DataDeleter {
    void operator()(Egda_BaseData* data) const noexcept { egda_BaseDataDelete(data, nullptr); }
};
using DataPtr = std::unique_ptr<Egda_BaseData, DataDeleter>;

/* The doubles of an F64 table. */
inline double* doublesOf(const Egda_BaseData& table) noexcept
{
    return static_cast<double*>(table.data);
}

inline bool isNumber(Egda_PixelType type) noexcept
{
    return type >= 0 && type < EGDA_TYPE_STRING;
}

inline bool isComplex(Egda_PixelType type) noexcept
{
    return type == EGDA_TYPE_C64 || type == EGDA_TYPE_C128;
}

/* Fails for data that are no numbers ("Invalid pixel type"), and for a mask that is not null and no bytes or that is
 * smaller than the data. */
void requirePixels(const Egda_BaseData* data, const Egda_BaseData* mask);

}  // namespace emantle::tables
