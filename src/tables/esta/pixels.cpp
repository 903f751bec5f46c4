#include "tables/esta/pixels.h"

namespace emantle {

PixelBlock pixelBlock(const Egda_BaseData& data, const Egda_BaseData* mask) noexcept
{
    const bool byColumn = data.objecttype == EGDA_MATRIX_OBJECT;
    PixelBlock block{static_cast<const std::byte*>(data.firstelement),
                     data.pitch,
                     mask != nullptr ? static_cast<const std::uint8_t*>(mask->firstelement) : nullptr,
                     mask != nullptr ? mask->pitch : 0,
                     byColumn ? data.numcolumns : data.numrows,
                     byColumn ? data.numrows : data.numcolumns};
    const bool isOnePiece = block.pitch == block.columns * data.numbytes &&
                            (mask == nullptr || block.maskPitch == block.columns);
    if (isOnePiece) {
        block.columns *= block.rows;
        block.rows = block.columns > 0 ? 1 : 0;
    }
    return block;
}

namespace tables {

void requirePixels(const Egda_BaseData* data, const Egda_BaseData* mask)
{
    require(data != nullptr, "NULL data");
    require(isNumber(data->datatype), "Invalid pixel type");
    if (mask == nullptr) {
        return;
    }
    require(mask->datatype >= 0 && mask->datatype <= EGDA_TYPE_S8, "The mask has pixel type %d; it must have bytes",
            mask->datatype);
    require((mask->objecttype == EGDA_MATRIX_OBJECT) == (data->objecttype == EGDA_MATRIX_OBJECT),
            "The mask has object type %d, and the data have %d", mask->objecttype, data->objecttype);
    require(mask->numrows >= data->numrows && mask->numcolumns >= data->numcolumns,
            "The mask of %d by %d is smaller than the data of %d by %d", mask->numrows, mask->numcolumns,
            data->numrows, data->numcolumns);
}

}  // namespace tables

}  // namespace emantle
