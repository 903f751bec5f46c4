#include "data/egda/stack_make.h"

#include "data/egda/basedata_shape.h"
#include "frame/emsc/block_size.h"
#include "frame/guard/plain_scope.h"

#include <emantle/frame/emsc/heap.h>

#include <limits>

using namespace emantle;

namespace emantle {

Egda_BaseDataStack* makeStack(long nLayers, bool derived) noexcept
{
    if (nLayers < 1 || nLayers > std::numeric_limits<std::int32_t>::max()) {
        return nullptr;
    }
    auto* stack = static_cast<Egda_BaseDataStack*>(emsc_HeapMalloc(sizeof(Egda_BaseDataStack)));
    auto* layers = static_cast<Egda_BaseData**>(emsc_HeapMalloc(nLayers * static_cast<long>(sizeof(Egda_BaseData*))));
    if (stack == nullptr || layers == nullptr) {
        emsc_HeapFree(layers);
        emsc_HeapFree(stack);
        return nullptr;
    }
    *stack = {static_cast<std::int32_t>(nLayers), derived, layers, 0};
    return stack;
}

}  // namespace emantle

namespace {

Egda_BaseDataStack* emptyStack(long nLayers, bool derived, const char* function, Eerr_ErrorReport** err)
{
    PlainScope scope(function, err);
    Egda_BaseDataStack* stack = makeStack(nLayers, derived);
    if (stack == nullptr) {
        scope.raise({"can't allocate space", 1});
    }
    return stack;
}

/* Whether the elements of `layer` are one run of strings inside the block. */
bool isSliceOfStrings(const Egda_BaseData& layer, const void* block, std::size_t size)
{
    const auto offset = reinterpret_cast<std::uintptr_t>(layer.data) - reinterpret_cast<std::uintptr_t>(block);
    return layer.datatype == EGDA_TYPE_STRING && layer.derivedFlag == 1 && layer.numelements > 0 &&
           layer.pitch == extentOf(layer).run * layer.numbytes && offset < size &&
           static_cast<std::size_t>(layer.numelements) <= (size - offset) / sizeof(char*);
}

/* Frees the strings of the further layers that lie in the block of layer 0: they borrow the block, and layer 0 frees it
 * but knows its own strings alone. */
void freeStringsBehindLayerZero(const Egda_BaseDataStack& stack)
{
    const Egda_BaseData* owner = stack.numlayers < 2 ? nullptr : stack.datalayer[0];
    if (owner == nullptr || owner->derivedFlag == 1 || owner->datatype != EGDA_TYPE_STRING) {
        return;
    }
    const std::size_t size = heapBlockSize(owner->data);
    for (long i = 1; i < stack.numlayers; ++i) {
        const Egda_BaseData* layer = stack.datalayer[i];
        if (layer != nullptr && isSliceOfStrings(*layer, owner->data, size)) {
            auto** strings = static_cast<void**>(layer->data);
            for (long element = 0; element < layer->numelements; ++element) {
                emsc_HeapFreeEx(strings + element);
            }
        }
    }
}

}  // namespace

EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackCreate(long nLayers, long nRows, long nColumns,
                                                         Egda_PixelType dataType, long objectType,
                                                         Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackCreate", err);
    Egda_BaseDataStack* stack = makeStack(nLayers, false);
    if (stack == nullptr) {
        return scope.raise({"can't allocate space", 1}), nullptr;
    }
    for (long i = 0; i < nLayers; ++i) {
        stack->datalayer[i] = egda_BaseDataCreate(nRows, nColumns, dataType, objectType, nullptr, scope);
        if (stack->datalayer[i] == nullptr) {
            egda_BaseDataStackDelete(stack, nullptr);
            return scope.raise({nullptr, 2}), nullptr;
        }
    }
    return stack;
}

EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackDerived(const Egda_BaseDataStack* src, long rOffset, long cOffset,
                                                          long nRows, long nColumns, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackDerived", err);
    if (src == nullptr) {
        return scope.raise({"original BaseDataStack is NULL !", 1}), nullptr;
    }
    Egda_BaseDataStack* stack = makeStack(src->numlayers, false);
    if (stack == nullptr) {
        return scope.raise({"can't allocate space", 2}), nullptr;
    }
    for (long i = 0; i < src->numlayers; ++i) {
        stack->datalayer[i] = egda_BaseDataDerived(src->datalayer[i], rOffset, cOffset, nRows, nColumns, scope);
        if (stack->datalayer[i] == nullptr) {
            egda_BaseDataStackDelete(stack, nullptr);
            return scope.raise({nullptr, 3}), nullptr;
        }
    }
    return stack;
}

EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackPtrCreate(long nLayers, Eerr_ErrorReport** err)
{
    return emptyStack(nLayers, false, "egda_BaseDataStackPtrCreate", err);
}

EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackDerivedFromDataLayer(long nLayers, Eerr_ErrorReport** err)
{
    return emptyStack(nLayers, true, "egda_BaseDataStackDerivedFromDataLayer", err);
}

EMANTLE_API void egda_BaseDataStackDelete(Egda_BaseDataStack* stack, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackDelete", err);
    if (stack == nullptr) {
        return;
    }
    if (stack->derivedFlag != 1) {
        freeStringsBehindLayerZero(*stack);
    }
    for (long i = 0; i < stack->numlayers && stack->derivedFlag != 1; ++i) {
        egda_BaseDataDelete(stack->datalayer[i], nullptr);
    }
    emsc_HeapFree(stack->datalayer);
    emsc_HeapFree(stack);
}

EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackCopy(const Egda_BaseDataStack* src, Egda_BaseDataStack* dest,
                                                       Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackCopy", err);
    if (src == nullptr) {
        return scope.raise({"source BaseDataStack is NULL !", 1}), nullptr;
    }
    Egda_BaseDataStack* fresh = nullptr;
    if (dest == nullptr && src->numlayers > 0) {
        const Egda_BaseData& like = *src->datalayer[0];
        fresh = egda_BaseDataStackCreate(src->numlayers, like.numrows, like.numcolumns, like.datatype, like.objecttype,
                                         scope);
        dest = fresh;
    }
    if (dest == nullptr) {
        return scope.raise({nullptr, 2}), nullptr;
    }
    if (src->numlayers < dest->numlayers) {
        return scope.raise({nullptr, 3}), nullptr;
    }
    for (long i = 0; i < dest->numlayers; ++i) {
        egda_BaseDataCopy(src->datalayer[i], dest->datalayer[i], scope);
        if (scope.failed()) {
            egda_BaseDataStackDelete(fresh, nullptr);
            return scope.raise({nullptr, 4}), nullptr;
        }
    }
    return dest;
}

EMANTLE_API void egda_BaseDataStackSetScalar(Egda_BaseDataStack* stack, double value, long mode, long index,
                                             Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackSetScalar", err);
    for (long i = 0; i < stack->numlayers; ++i) {
        egda_BaseDataSetScalar(stack->datalayer[i], value, mode, index, scope);
        if (scope.failed()) {
            return scope.raise({nullptr, 1});
        }
    }
}

EMANTLE_API void egda_BaseDataStackSetZero(Egda_BaseDataStack* stack, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackSetZero", err);
    for (long i = 0; i < stack->numlayers; ++i) {
        egda_BaseDataSetZero(stack->datalayer[i], scope);
        if (scope.failed()) {
            return scope.raise({"error from egda_BaseDataSetZero", 1});
        }
    }
}
