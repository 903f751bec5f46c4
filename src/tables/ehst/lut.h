#pragma once

#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/tables/ehst.h>
#include <span>

namespace emantle::tables {

inline std::span<Ehst_BreakPoint> pointsOf(const Ehst_LUT& lut) noexcept
{
    return {lut.breakPoints, static_cast<std::size_t>(lut.breakPoints == nullptr ? 0 : lut.numBreakPoints)};
}

/* Makes a copy of `points` the break points. Throws where memory is out, the table being as it was. */
void setPoints(Ehst_LUT& lut, std::span<const Ehst_BreakPoint> points);

}  // namespace emantle::tables
