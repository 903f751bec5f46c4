#include "data/egda/basedata_shape.h"
#include "data/epxm/convert.h"
#include "frame/guard/plain_scope.h"
#include "platform/heap.h"

#include <emantle/frame/emsc/heap.h>

#include <limits>

using namespace emantle;

namespace emantle {

namespace {

constexpr bool fits(long value) noexcept
{
    return value >= std::numeric_limits<std::int32_t>::min() && value <= std::numeric_limits<std::int32_t>::max();
}

}  // namespace

Extent extentOf(const Egda_BaseData& base) noexcept
{
    return base.objecttype == EGDA_MATRIX_OBJECT ? Extent{base.numcolumns, base.numrows}
                                                 : Extent{base.numrows, base.numcolumns};
}

bool setShape(Egda_BaseData& base, long nRows, long nColumns, Egda_PixelType dataType, long objectType) noexcept
{
    const long numbytes = egda_NumBytePerPixelFromType(dataType);
    if (!fits(nRows) || !fits(nColumns) || !fits(objectType) || !fits(nRows * nColumns)) {
        return false;
    }
    const long pitch = (objectType == EGDA_MATRIX_OBJECT ? nRows : nColumns) * numbytes;
    if (!fits(pitch)) {
        return false;
    }
    base.numrows = static_cast<std::int32_t>(nRows);
    base.numcolumns = static_cast<std::int32_t>(nColumns);
    base.numelements = static_cast<std::int32_t>(nRows * nColumns);
    base.datatype = dataType;
    base.objecttype = static_cast<std::int32_t>(objectType);
    base.numbytes = static_cast<std::int32_t>(numbytes);
    base.pitch = static_cast<std::int32_t>(pitch);
    return true;
}

std::optional<long> blockSize(long nRows, long nColumns, Egda_PixelType dataType, long objectType) noexcept
{
    Egda_BaseData shape{};
    if (nRows < 1 || nColumns < 1 || !setShape(shape, nRows, nColumns, dataType, objectType)) {
        return std::nullopt;
    }
    return roomyColumns(nColumns, objectType) * nRows * shape.numbytes;
}

void* allocateElements(long bytes) noexcept
{
    constexpr long large = 4L << 20;
    void* const data = emsc_HeapMalloc(bytes);
    if (data != nullptr && bytes >= large) {
        platform::preferLargePages(data, static_cast<std::size_t>(bytes));
    }
    return data;
}

}  // namespace emantle

EMANTLE_API Egda_BaseData* egda_BaseDataCreate(long nRows, long nColumns, Egda_PixelType dataType, long objectType,
                                               void* data, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataCreate", err);
    if (!isPixelType(dataType)) {
        return scope.raise({"incoming datatype is not a valid EGDA datatype", 3}), nullptr;
    }
    auto* base = static_cast<Egda_BaseData*>(emsc_HeapMalloc(sizeof(Egda_BaseData)));
    if (base == nullptr) {
        return scope.raise({"calloc could not allocate space for Egda_BaseData structure", 1}), nullptr;
    }
    base->derivedFlag = data != nullptr;
    if (!setShape(*base, nRows, nColumns, dataType, objectType)) {
        data = nullptr;
    } else if (data == nullptr) {
        data = allocateElements(blockSize(nRows, nColumns, dataType, objectType).value_or(0));
    }
    if (data == nullptr) {
        emsc_HeapFree(base);
        return scope.raise({"calloc could not allocate space for Egda_BaseData data", 2}), nullptr;
    }
    base->data = data;
    base->firstelement = data;
    return base;
}

EMANTLE_API Egda_BaseData* egda_BaseDataReCreate(Egda_BaseData* base, long nRows, long nColumns,
                                                 Egda_PixelType dataType, long objectType, void* data,
                                                 Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataReCreate", err);
    if (nRows < 1 || nColumns <= 0) {
        return scope.raise("Bad nRows or nColumns"), base;
    }
    if (base == nullptr) {
        Egda_BaseData* fresh = egda_BaseDataCreate(nRows, nColumns, dataType, objectType, data, scope);
        if (fresh == nullptr) {
            scope.raise("egda_BaseDataCreate failed");
        }
        return fresh;
    }
    if (base->derivedFlag == 0) {
        return scope.raise("srcBaseData must be derived"), nullptr;
    }
    if (!setShape(*base, nRows, nColumns, dataType, objectType)) {
        return scope.raise("Bad nRows or nColumns"), base;
    }
    base->derivedFlag = 1;
    if (data != nullptr) {
        base->data = data;
        base->firstelement = data;
    }
    return base;
}

EMANTLE_API Egda_BaseData* egda_BaseDataReDerive(const Egda_BaseData* src, Egda_BaseData* dest, long rOffset,
                                                 long cOffset, long nRows, long nColumns, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataReDerive", err);
    if (src == nullptr) {
        return scope.raise("Null srcBaseData"), nullptr;
    }
    if (nRows < 1 || nColumns <= 0) {
        return scope.raise("Bad nRows or nColumns"), nullptr;
    }
    if (rOffset < 0 || cOffset < 0) {
        return scope.raise("Bad rOffset or cOffset"), nullptr;
    }
    if (src->numrows - nRows < rOffset || src->numcolumns - nColumns < cOffset) {
        return scope.raise("srcBaseData is too small"), nullptr;
    }
    if (dest == nullptr) {
        dest = static_cast<Egda_BaseData*>(emsc_HeapMalloc(sizeof(Egda_BaseData)));
        if (dest == nullptr) {
            return scope.raise("No memory"), nullptr;
        }
    }
    const bool byColumns = src->objecttype == EGDA_MATRIX_OBJECT;
    const long line = byColumns ? cOffset : rOffset;
    const long element = byColumns ? rOffset : cOffset;
    Egda_BaseData view = *src;
    view.numrows = static_cast<std::int32_t>(nRows);
    view.numcolumns = static_cast<std::int32_t>(nColumns);
    view.numelements = static_cast<std::int32_t>(nRows * nColumns);
    view.derivedFlag = 1;
    view.data = static_cast<char*>(src->data) + line * src->pitch + element * src->numbytes;
    view.firstelement = view.data;
    *dest = view;
    return dest;
}

EMANTLE_API Egda_BaseData* egda_BaseDataDerived(const Egda_BaseData* src, long rOffset, long cOffset, long nRows,
                                                long nColumns, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataDerived", err);
    Egda_BaseData* view = egda_BaseDataReDerive(src, nullptr, rOffset, cOffset, nRows, nColumns, scope);
    if (view == nullptr) {
        scope.raise("egda_BaseDataReDerive failed");
    }
    return view;
}

EMANTLE_API void egda_BaseDataDeleteContents(Egda_BaseData* base, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataDeleteContents", err);
    if (base == nullptr || base->derivedFlag == 1) {
        return;
    }
    if (base->datatype == EGDA_TYPE_STRING && base->data != nullptr) {
        auto* strings = static_cast<char**>(base->data);
        for (long i = 0; i < base->numelements; ++i) {
            emsc_HeapFree(strings[i]);
        }
    }
    emsc_HeapFree(base->data);
}

EMANTLE_API void egda_BaseDataDelete(Egda_BaseData* base, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataDelete", err);
    egda_BaseDataDeleteContents(base, scope);
    scope.forget();
    emsc_HeapFree(base);
}
