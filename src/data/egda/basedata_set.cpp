#include "data/egda/basedata_shape.h"
#include "data/epxm/convert.h"
#include "frame/guard/plain_scope.h"

#include <cstring>

using namespace emantle;

namespace {

/* `count` elements from `start` on, `step` bytes apart. */
struct Selection {
    char* start;
    long count;
    long step;
};

Selection select(const Egda_BaseData& base, long mode, long index)
{
    const bool byColumns = base.objecttype == EGDA_MATRIX_OBJECT;
    const long pitch = base.pitch;
    const long size = base.numbytes;
    char* first = lineOf(base, 0);
    switch (mode) {
    case EGDA_SET_DIAGONAL:
        return {first, base.numrows, pitch + size};
    case EGDA_SET_ROW:
        return {first + index * (byColumns ? size : pitch), base.numcolumns, byColumns ? pitch : size};
    case EGDA_SET_COLUMN:
        return {first + index * (byColumns ? pitch : size), base.numrows, byColumns ? size : pitch};
    default:
        return {first, 0, 0};
    }
}

/* The block, line by line in the order of memory. */
void setAll(const Egda_BaseData& base, const char* values, bool isArray)
{
    const Extent extent = extentOf(base);
    auto* block = static_cast<char*>(base.data);
    const long lineBytes = extent.run * base.numbytes;
    if (isArray) {
        for (long line = 0; line < extent.lines; ++line) {
            convertRoutine(base.datatype, base.datatype)(values + line * lineBytes, block + line * base.pitch,
                                                         extent.run);
        }
    } else if (extent.lines > 0 && extent.run > 0) {
        fillTable()[base.datatype](block, values, extent.run);
        for (long line = 1; line < extent.lines; ++line) {
            std::memcpy(block + line * base.pitch, block, static_cast<std::size_t>(lineBytes));
        }
    }
}

}  // namespace

EMANTLE_API void egda_BaseDataSetBoth(Egda_BaseData* base, const void* values, long mode, long index,
                                      Emsc_Boolean isArray, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataSetBoth", err);
    if (!isPixelType(base->datatype) || (mode == EGDA_SET_DIAGONAL && base->numrows != base->numcolumns)) {
        return scope.raise({nullptr, 1});
    }
    const bool advances = isArray != 0 || base->datatype == EGDA_TYPE_STRING;
    if (mode == EGDA_SET_ALL) {
        return setAll(*base, static_cast<const char*>(values), advances);
    }
    const Selection to = select(*base, mode, index);
    convertIncTable()[base->datatype][base->datatype](values, to.start, to.count, advances ? base->numbytes : 0,
                                                      to.step);
}

EMANTLE_API void egda_BaseDataSet(Egda_BaseData* base, const void* values, long mode, long index,
                                  Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataSet", err);
    egda_BaseDataSetBoth(base, values, mode, index, 1, scope);
    if (scope.failed()) {
        scope.raise({nullptr, 1});
    }
}

EMANTLE_API void egda_BaseDataSetScalar(Egda_BaseData* base, double value, long mode, long index,
                                        Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataSetScalar", err);
    const Epxm_ConvertRoutine convert = convertRoutine(EGDA_TYPE_F64, base->datatype);
    if (convert == nullptr) {
        return scope.raise({nullptr, 1});
    }
    Egda_Complex128 element{};
    convert(&value, &element, 1);
    egda_BaseDataSetBoth(base, &element, mode, index, 0, scope);
    if (scope.failed()) {
        scope.raise({nullptr, 1});
    }
}
