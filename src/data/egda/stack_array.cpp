#include "frame/guard/plain_scope.h"

#include <emantle/data/egda/stack.h>
#include <emantle/frame/emsc/heap.h>

#include <cstdarg>
#include <limits>

using namespace emantle;

namespace {

Egda_BaseDataStackArray* makeArray(long nStacks)
{
    if (nStacks < 0 || nStacks > std::numeric_limits<std::int32_t>::max()) {
        return nullptr;
    }
    auto* array = static_cast<Egda_BaseDataStackArray*>(emsc_HeapMalloc(sizeof(Egda_BaseDataStackArray)));
    auto* stacks =
        static_cast<Egda_BaseDataStack**>(emsc_HeapMalloc(nStacks * static_cast<long>(sizeof(Egda_BaseDataStack*))));
    if (array == nullptr || (stacks == nullptr && nStacks > 0)) {
        emsc_HeapFree(stacks);
        emsc_HeapFree(array);
        return nullptr;
    }
    *array = {static_cast<std::int32_t>(nStacks), stacks, nullptr};
    return array;
}

}  // namespace

EMANTLE_API Egda_BaseDataStackArray* egda_BaseDataStackArrayCreate(long nStacks, long nLayers, long nRows,
                                                                   long nColumns, Egda_PixelType dataType,
                                                                   long objectType, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackArrayCreate", err);
    Egda_BaseDataStackArray* array = nStacks < 1 ? nullptr : makeArray(nStacks);
    if (array == nullptr) {
        return scope.raise({"can't allocate space", 1}), nullptr;
    }
    for (long i = 0; i < nStacks; ++i) {
        array->stacks[i] = egda_BaseDataStackCreate(nLayers, nRows, nColumns, dataType, objectType, scope);
        if (array->stacks[i] == nullptr) {
            egda_BaseDataStackArrayDelete(array, nullptr);
            return scope.raise({nullptr, 2}), nullptr;
        }
    }
    return array;
}

EMANTLE_API void egda_BaseDataStackArrayDelete(Egda_BaseDataStackArray* array, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackArrayDelete", err);
    if (array == nullptr) {
        return;
    }
    for (long i = 0; i < array->numstacks; ++i) {
        egda_BaseDataStackDelete(array->stacks[i], nullptr);
    }
    emsc_HeapFree(array->stacks);
    emsc_HeapFree(array);
}

EMANTLE_API Egda_BaseDataStackArray* egda_BaseDataStackArrayCopy(const Egda_BaseDataStackArray* src,
                                                                 Egda_BaseDataStackArray* dest,
                                                                 Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackArrayCopy", err);
    if (src == nullptr) {
        return scope.raise({"source BaseDataStackArray is NULL !", 1}), nullptr;
    }
    if (dest == nullptr || dest->numstacks < src->numstacks) {
        return scope.raise({nullptr, 3}), nullptr;
    }
    dest->mask = src->mask;
    for (long i = 0; i < src->numstacks; ++i) {
        egda_BaseDataStackCopy(src->stacks[i], dest->stacks[i], scope);
        if (scope.failed()) {
            return scope.raise({nullptr, 4}), nullptr;
        }
    }
    return dest;
}

EMANTLE_API void egda_BaseDataStackArraySetScalar(Egda_BaseDataStackArray* array, double value, long mode, long index,
                                                  Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackArraySetScalar", err);
    for (long i = 0; i < array->numstacks; ++i) {
        egda_BaseDataStackSetScalar(array->stacks[i], value, mode, index, scope);
        if (scope.failed()) {
            return scope.raise({nullptr, 1});
        }
    }
}

/* The array of views that callers would expect never existed, and they rely on the refusal. */
EMANTLE_API Egda_BaseDataStackArray* egda_BaseDataStackArrayDerived(const Egda_BaseDataStackArray* src, long, long,
                                                                    long, long, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackArrayDerived", err);
    if (src == nullptr) {
        scope.raise({"original BaseDataStackArray is NULL !", 1});
    } else {
        scope.raise({"can't allocate space", 2});
    }
    return nullptr;
}

EMANTLE_API Egda_BaseDataStackArray* egda_ArgumentListCreate(Eerr_ErrorReport** err, ...)
{
    PlainScope scope("egda_ArgumentListCreate", err);
    va_list arguments;
    va_start(arguments, err);
    long count = 0;
    while (va_arg(arguments, Egda_BaseDataStack*) != nullptr) {
        ++count;
    }
    va_end(arguments);
    Egda_BaseDataStackArray* list = makeArray(count);
    if (list == nullptr) {
        return scope.raise({"can't allocate space", 1}), nullptr;
    }
    va_start(arguments, err);
    for (long i = 0; i < count; ++i) {
        list->stacks[i] = va_arg(arguments, Egda_BaseDataStack*);
    }
    va_end(arguments);
    return list;
}

EMANTLE_API void egda_ArgumentListDelete(Egda_BaseDataStackArray* list, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_ArgumentListDelete", err);
    if (list != nullptr) {
        emsc_HeapFree(list->stacks);
        emsc_HeapFree(list);
    }
}
