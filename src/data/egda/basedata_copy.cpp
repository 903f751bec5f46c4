#include "data/egda/basedata_shape.h"
#include "data/epxm/convert.h"
#include "frame/guard/plain_scope.h"

#include <emantle/frame/emsc/heap.h>

#include <algorithm>

using namespace emantle;

namespace {

/* What both records have. Tables are one run, whatever their columns. */
Extent commonExtent(const Egda_BaseData& a, const Egda_BaseData& b)
{
    if (a.objecttype == EGDA_TABLE_OBJECT) {
        return {1, std::min(a.numelements, b.numelements)};
    }
    const Extent first = extentOf(a);
    const Extent second = extentOf(b);
    return {std::min(first.lines, second.lines), std::min(first.run, second.run)};
}

bool hasNoGaps(const Egda_BaseData& base, const Extent& extent)
{
    return extent.run * base.numbytes == base.pitch;
}

struct Copy {
    const Egda_BaseData* src;
    Egda_BaseData* dest;
    Epxm_ConvertRoutine convert;
};

/* Checks, and makes `dest` where there is none. Without a result the report is raised. */
Copy prepare(const Egda_BaseData* src, Egda_BaseData* dest, PlainScope& scope)
{
    if (src == nullptr) {
        return scope.raise({"source BaseData is NULL !", 1}), Copy{};
    }
    if (dest != nullptr && dest->objecttype != src->objecttype) {
        return scope.raise({"the object type is not the same for input and output", 2}), Copy{};
    }
    const Epxm_ConvertRoutine convert = convertRoutine(src->datatype, dest == nullptr ? src->datatype : dest->datatype);
    if (convert == nullptr) {
        return scope.raise({"no conversion from data type %d to data type %d", 4}, src->datatype,
                           dest == nullptr ? src->datatype : dest->datatype),
               Copy{};
    }
    if (dest == nullptr) {
        dest = egda_BaseDataCreate(src->numrows, src->numcolumns, src->datatype, src->objecttype, nullptr, scope);
        if (dest == nullptr) {
            return scope.raise({nullptr, 3}), Copy{};
        }
    }
    return {src, dest, convert};
}

void freeStrings(Egda_BaseData& base, long from)
{
    if (base.datatype != EGDA_TYPE_STRING) {
        return;
    }
    auto* strings = static_cast<char**>(base.data);
    for (long i = from; i < base.numelements; ++i) {
        emsc_HeapFreeEx(reinterpret_cast<void**>(&strings[i]));
    }
}

bool growsInPlace(const Egda_BaseData& base, long nRows, long nColumns)
{
    switch (base.objecttype) {
    case EGDA_TABLE_OBJECT:
        return true;
    case EGDA_RASTER_OBJECT:
        return base.numcolumns == nColumns;
    case EGDA_MATRIX_OBJECT:
        return base.numrows == nRows;
    default:
        return false;
    }
}

void reallocateInPlace(Egda_BaseData& base, long nRows, long nColumns, PlainScope& scope)
{
    Egda_BaseData shape = base;
    if (!blockSize(nRows, nColumns, base.datatype, base.objecttype) ||
        !setShape(shape, nRows, nColumns, base.datatype, base.objecttype)) {
        return scope.raise({"No space left!", 2});
    }
    freeStrings(base, shape.numelements);
    void* data = emsc_HeapRealloc(base.data, static_cast<long>(shape.numelements) * base.numbytes);
    if (data == nullptr) {
        return scope.raise({"No space left!", 2});
    }
    shape.pitch = base.pitch;
    shape.data = data;
    shape.firstelement = data;
    base = shape;
}

void moveToNewBlock(Egda_BaseData& base, long nRows, long nColumns, PlainScope& scope)
{
    Egda_BaseData* fresh = egda_BaseDataCreate(nRows, nColumns, base.datatype, base.objecttype, nullptr, scope);
    if (fresh == nullptr) {
        return scope.raise({"No space left!", 3});
    }
    egda_BaseDataCopy(&base, fresh, scope);
    if (scope.failed()) {
        egda_BaseDataDelete(fresh, nullptr);
        return scope.raise({nullptr, 4});
    }
    freeStrings(base, 0);
    emsc_HeapFree(base.data);
    fresh->derivedFlag = base.derivedFlag;
    base = *fresh;
    emsc_HeapFree(fresh);
}

}  // namespace

EMANTLE_API Egda_BaseData* egda_BaseDataCopy(const Egda_BaseData* src, Egda_BaseData* dest, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataCopy", err);
    const Copy copy = prepare(src, dest, scope);
    if (copy.dest == nullptr) {
        return nullptr;
    }
    const Extent extent = commonExtent(*src, *copy.dest);
    if (hasNoGaps(*src, extent) && hasNoGaps(*copy.dest, extent)) {
        copy.convert(src->data, copy.dest->data, extent.lines * extent.run);
    } else {
        for (long line = 0; line < extent.lines; ++line) {
            copy.convert(lineOf(*src, line), lineOf(*copy.dest, line), extent.run);
        }
    }
    copy.dest->binfunction = src->binfunction;
    return copy.dest;
}

EMANTLE_API Egda_BaseData* egda_BaseDataCopyExt(const Egda_BaseData* src, Egda_BaseData* dest, Emsc_Boolean* changed,
                                                Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataCopyExt", err);
    Emsc_Boolean differs = 0;
    const Copy copy = prepare(src, dest, scope);
    if (copy.dest != nullptr) {
        const Extent extent = commonExtent(*src, *copy.dest);
        for (long line = 0; line < extent.lines && extent.run > 0; ++line) {
            differs |= *lineOf(*src, line) != *lineOf(*copy.dest, line);
            copy.convert(lineOf(*src, line), lineOf(*copy.dest, line), extent.run);
        }
        copy.dest->binfunction = src->binfunction;
    }
    if (changed != nullptr) {
        *changed = differs;
    }
    return copy.dest;
}

EMANTLE_API void egda_BaseDataReallocate(Egda_BaseData* base, long nRows, long nColumns, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataReallocate", err);
    if (base == nullptr) {
        return scope.raise({"source BaseData is NULL !", 1});
    }
    if (growsInPlace(*base, nRows, nColumns)) {
        reallocateInPlace(*base, nRows, nColumns, scope);
    } else {
        moveToNewBlock(*base, nRows, nColumns, scope);
    }
}
