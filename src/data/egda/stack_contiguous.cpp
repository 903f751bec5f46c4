#include "data/egda/basedata_shape.h"
#include "data/egda/stack_make.h"
#include "data/epxm/convert.h"
#include "frame/guard/plain_scope.h"

#include <emantle/frame/emsc/heap.h>

using namespace emantle;

namespace {

constexpr long kAlignment = 8;

constexpr bool isObjectType(long objectType)
{
    return objectType >= 0 && objectType < EGDA_NUM_OBJECTS;
}

/* Bytes from one layer to the next. */
std::optional<long> layerSize(long nRows, long nColumns, Egda_PixelType dataType, long objectType)
{
    if (!isPixelType(dataType) || !isObjectType(objectType)) {
        return std::nullopt;
    }
    std::optional<long> size = blockSize(nRows, nColumns, dataType, objectType);
    if (size) {
        *size = (*size + kAlignment - 1) / kAlignment * kAlignment;
    }
    return size;
}

std::optional<long> stackSize(long nLayers, long nRows, long nColumns, Egda_PixelType dataType, long objectType)
{
    const std::optional<long> layer = layerSize(nRows, nColumns, dataType, objectType);
    long size = 0;
    if (!layer || nLayers < 1 || __builtin_mul_overflow(nLayers, *layer, &size)) {
        return std::nullopt;
    }
    return size;
}

bool sameShape(const Egda_BaseData& a, const Egda_BaseData& b)
{
    return a.datatype == b.datatype && a.objecttype == b.objecttype && a.pitch == b.pitch && a.numrows == b.numrows &&
           a.numcolumns == b.numcolumns;
}

/* Modulo 2^64, since the layers need not lie in one object. */
std::uintptr_t distance(const Egda_BaseData& from, const Egda_BaseData& to)
{
    return reinterpret_cast<std::uintptr_t>(to.firstelement) - reinterpret_cast<std::uintptr_t>(from.firstelement);
}

}  // namespace

EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackCreateContiguous(long nLayers, long nRows, long nColumns,
                                                                   Egda_PixelType dataType, long objectType,
                                                                   void* data, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackCreateContiguous", err);
    const std::optional<long> size = stackSize(nLayers, nRows, nColumns, dataType, objectType);
    if (!size) {
        return scope.raise("Args"), nullptr;
    }
    Egda_BaseDataStack* stack = makeStack(nLayers, false);
    if (stack == nullptr) {
        return scope.raise("No memory"), nullptr;
    }
    void* owned = data == nullptr ? allocateElements(*size) : nullptr;
    char* block = static_cast<char*>(data == nullptr ? owned : data);
    if (block == nullptr) {
        egda_BaseDataStackDelete(stack, nullptr);
        return scope.raise("No memory"), nullptr;
    }
    for (long i = 0; i < nLayers; ++i) {
        stack->datalayer[i] =
            egda_BaseDataCreate(nRows, nColumns, dataType, objectType, block + i * (*size / nLayers), scope);
        if (stack->datalayer[i] == nullptr) {
            egda_BaseDataStackDelete(stack, nullptr);
            emsc_HeapFree(owned);
            return scope.raise("egda_BaseDataCreate failed"), nullptr;
        }
    }
    /* Layer 0 frees the block for all. */
    stack->datalayer[0]->derivedFlag = owned == nullptr;
    return stack;
}

EMANTLE_API Emsc_Boolean egda_BaseDataStackIsContiguous(const Egda_BaseDataStack* stack)
{
    if (stack == nullptr || stack->numlayers < 1) {
        return 0;
    }
    if (stack->numlayers == 1) {
        return 1;
    }
    const std::uintptr_t step = distance(*stack->datalayer[0], *stack->datalayer[1]);
    for (long i = 1; i < stack->numlayers; ++i) {
        if (!sameShape(*stack->datalayer[0], *stack->datalayer[i]) ||
            distance(*stack->datalayer[i - 1], *stack->datalayer[i]) != step) {
            return 0;
        }
    }
    return 1;
}

EMANTLE_API long egda_BaseDataStackMaxElements(long maxBytes, long nLayers, Egda_PixelType dataType, long objectType,
                                               Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackMaxElements", err);
    if (maxBytes < 0 || nLayers < 1 || !isPixelType(dataType) || !isObjectType(objectType)) {
        return scope.raise("Args"), 0;
    }
    return maxBytes / nLayers / kAlignment * kAlignment / egda_NumBytePerPixelFromType(dataType);
}

EMANTLE_API long egda_BaseDataStackDataSize(long nLayers, long nRows, long nColumns, Egda_PixelType dataType,
                                            long objectType, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackDataSize", err);
    const std::optional<long> size = stackSize(nLayers, nRows, nColumns, dataType, objectType);
    if (!size) {
        return scope.raise("Args"), 0;
    }
    return *size;
}
