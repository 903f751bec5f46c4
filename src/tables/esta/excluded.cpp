#include "tables/esta/kernels/excluded_kernels.h"
#include "tables/esta/raster.h"

#include <algorithm>
#include <emantle/data/epxm/convert.h>

namespace emantle::tables {

/* The values are compared in the pixels' own type: one that the type cannot hold is altered by the conversion. */
void excludeValues(const Egda_BaseData& data, const Egda_BaseData& values, Egda_BaseData& mask, EerrException& scope)
{
    const Egda_PixelType type = std::max<Egda_PixelType>(data.datatype, EGDA_TYPE_U8);
    const long count = values.numelements;
    std::vector<std::byte> converted(static_cast<std::size_t>(count * data.numbytes));
    if (count < 1) {
        return;
    }
    checked(scope, epxm_ConvertPixels(converted.data(), type, values.data, values.datatype, count, scope));
    clearWhereEqual(pixelBlock(data, &mask), type, converted.data(), count);
}

EMANTLE_API Emsc_Boolean esta_FeatureIgnoredValuesToMask(const Egda_BaseData* data, const Egda_BaseData* values,
                                                         Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_FeatureIgnoredValuesToMask", 0, [&](EerrException& scope) {
        require(mask != nullptr && values != nullptr, "Bad args");
        requirePixels(data, mask);
        excludeValues(*data, *values, *mask, scope);
        return 1;
    });
}

}  // namespace emantle::tables
