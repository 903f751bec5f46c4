#include "tables/esta/region.h"

#include <algorithm>
#include <cstring>

namespace emantle::tables {

namespace {

/* A mask of the shape of `data`: a copy of that part of `mask`, or all set. */
DataPtr maskFor(EerrException& scope, const Egda_BaseData& data, const Egda_BaseData* mask)
{
    const long shape = data.objecttype == EGDA_MATRIX_OBJECT ? EGDA_MATRIX_OBJECT : EGDA_RASTER_OBJECT;
    DataPtr own(checked(scope, egda_BaseDataCreate(data.numrows, data.numcolumns, EGDA_TYPE_U8, shape, nullptr, scope),
                        "Error from egda_BaseDataCreate!"));
    const bool byColumn = shape == EGDA_MATRIX_OBJECT;
    const long lines = byColumn ? data.numcolumns : data.numrows;
    const std::size_t length = static_cast<std::size_t>(byColumn ? data.numrows : data.numcolumns);
    for (long line = 0; line < lines; ++line) {
        auto* const to = static_cast<std::uint8_t*>(own->firstelement) + line * own->pitch;
        if (mask == nullptr) {
            std::memset(to, 1, length);
        } else {
            std::memcpy(to, static_cast<const std::uint8_t*>(mask->firstelement) + line * mask->pitch, length);
        }
    }
    return own;
}

const Egda_BaseData& checkedData(const Egda_BaseData* data, const Egda_BaseData* mask)
{
    requirePixels(data, mask);
    return *data;
}

}  // namespace

Region::Region(EerrException& scope, const Egda_BaseData* data, const Egda_BaseData* mask, const Egda_BaseData* ignore)
    : data_(checkedData(data, mask)), mask_(mask)
{
    if (ignore != nullptr && data_.numelements > 0) {
        require(isNumber(ignore->datatype), "Bad args");
        own_ = maskFor(scope, data_, mask);
        excludeValues(data_, *ignore, *own_, scope);
        mask_ = own_.get();
    }
}

}  // namespace emantle::tables
