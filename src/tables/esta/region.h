#pragma once

#include "tables/esta/raster.h"

/* The pixels that a measure takes. */

namespace emantle::tables {

/* What counts of `data`: all of it, what lies under the caller's mask, or, with values to ignore, what lies under a mask
 * of its own. */
class Region {
public:
    Region(EerrException& scope, const Egda_BaseData* data, const Egda_BaseData* mask, const Egda_BaseData* ignore);

    const Egda_BaseData& data() const noexcept { return data_; }
    /* Null where all counts. */
    const Egda_BaseData* mask() const noexcept { return mask_; }

    /* The member for the pixels' type: of `masked` where there is a mask. */
    template <class Table>
    auto memberOf(const Table& masked, const Table& whole) const noexcept
    {
        return (mask_ != nullptr ? masked : whole)[static_cast<std::size_t>(data_.datatype)];
    }

private:
    const Egda_BaseData& data_;
    DataPtr own_;
    const Egda_BaseData* mask_;
};

}  // namespace emantle::tables
