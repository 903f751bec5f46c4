#include "data/operators/row.h"

#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/siblings/ethr.h>
#include <new>

using namespace emantle;

namespace {

/* The list is in the order of its numbers. */
constexpr int kNumbers[] = {
#define EGDA_OPERATION(number, symbol, table, check, types, home) number,
#define EGDA_TABLE(table, types, home)
#include <emantle/data/egda/operations.def>
};
static_assert([] {
    int expected = 0;
    for (const int number : kNumbers) {
        if (number != expected++) {
            return false;
        }
    }
    return expected == EGDA_NUM_OPERATIONS;
}());

/* How to reach a table until the first use, then the table. */
union Entry {
    Egda_OperatorTable (*accessor)();
    Egda_OperatorTable table;
};
static_assert(sizeof(Entry) == sizeof(Egda_OperatorTable));

Entry baseDataOP[EGDA_NUM_OPERATIONS] = {
#define EGDA_OPERATION(number, symbol, table, check, types, home) {emsc_AddressOf_##table},
#define EGDA_TABLE(table, types, home)
#include <emantle/data/egda/operations.def>
};
int timesFilled = 0;
Ethr_Mutex fillMutex{};

Egda_OperatorRoutine routineOf(Egda_OperatorTable table, int32_t objectType, Egda_PixelType type)
{
    return table[objectType][type].routine;
}

/* A stack of one layer that is borrowed. */
struct Wrap {
    Egda_BaseData* layer;
    Egda_BaseDataStack stack;
};

Egda_BaseDataStack stackOver(Egda_BaseData*& layer)
{
    return {1, 1, &layer, 0};
}

const Egda_BaseData& firstLayer(const Egda_BaseDataStack& stack)
{
    return *stack.datalayer[0];
}

/* The object type that selects the routines, by a destination that may have no layer. */
int32_t objectTypeOf(const Egda_BaseDataStack& dest, const Egda_BaseDataStackArray& sources)
{
    return (dest.numlayers > 0 ? firstLayer(dest) : firstLayer(*sources.stacks[0])).objecttype;
}

Egda_PixelType selectingType(const Egda_BaseDataStackArray& sources)
{
    return firstLayer(*sources.stacks[sources.numstacks - 1]).datatype;
}

}  // namespace

EMANTLE_API const Egda_OperatorTable* emsc_AddressOf_egda_BaseDataOP(void)
{
    const EthrMutexLock lock(fillMutex);
    if (timesFilled == 0) {
        for (Entry& entry : baseDataOP) {
            entry.table = entry.accessor();
        }
        ++timesFilled;
    }
    return &baseDataOP[0].table;
}

EMANTLE_API void egda_NoOperation(Egda_BaseDataStack*, const Egda_BaseDataStackArray*, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_NoOperation", err);
    scope.raise({"no operation on this data", 1});
}

EMANTLE_API void egda_BaseDataOperation(long op, Egda_BaseData* dest, Egda_BaseData* const* sources, long nSources,
                                        Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataOperation", err);
    const int32_t objectType = dest->objecttype;
    const Egda_PixelType type = sources == nullptr ? dest->datatype : sources[nSources - 1]->datatype;
    Egda_BaseDataStack destStack = stackOver(dest);

    /* The few sources of a usual operation are wrapped here, without a heap block. */
    constexpr long few = 8;
    Wrap fewWraps[few];
    Egda_BaseDataStack* fewStacks[few];
    const long count = sources == nullptr ? 0 : nSources;
    std::unique_ptr<Wrap[]> manyWraps(count > few ? new (std::nothrow) Wrap[static_cast<std::size_t>(count)] : nullptr);
    std::unique_ptr<Egda_BaseDataStack*[]> manyStacks(
        count > few ? new (std::nothrow) Egda_BaseDataStack*[static_cast<std::size_t>(count)] : nullptr);
    if (count > few && (!manyWraps || !manyStacks)) {
        return scope.raise({nullptr, 1});
    }
    Wrap* wraps = count > few ? manyWraps.get() : fewWraps;
    Egda_BaseDataStack** stacks = count > few ? manyStacks.get() : fewStacks;
    for (long i = 0; i < count; ++i) {
        wraps[i].layer = sources[i];
        wraps[i].stack = stackOver(wraps[i].layer);
        stacks[i] = &wraps[i].stack;
    }
    const Egda_BaseDataStackArray array{static_cast<int32_t>(count), stacks, nullptr};

    emsc_AddressOf_egda_CheckInitialCheck()[op][objectType].routine(&destStack, &array, scope);
    if (scope.failed()) {
        return scope.raise({nullptr, 2});
    }
    routineOf(emsc_AddressOf_egda_BaseDataOP()[op], objectType, type)(&destStack, &array, scope);
    if (scope.failed()) {
        scope.raise({nullptr, 3});
    }
}

EMANTLE_API void egda_BaseDataStackOperation(long op, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                             Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackOperation", err);
    const int32_t objectType = objectTypeOf(*dest, *sources);
    emsc_AddressOf_egda_CheckInitialCheck()[op][objectType].routine(dest, sources, scope);
    if (scope.failed()) {
        return scope.raise({nullptr, 1});
    }
    routineOf(emsc_AddressOf_egda_BaseDataOP()[op], objectType, selectingType(*sources))(dest, sources, scope);
    if (scope.failed()) {
        scope.raise({nullptr, 2});
    }
}

EMANTLE_API void egda_BaseDataStackFunction(Egda_OperatorTable table, Egda_BaseDataStack* dest,
                                            const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackFunction", err);
    if (dest == nullptr || sources == nullptr) {
        return scope.raise({"destdatastack or sourcedatastackarray is NULL !", 1});
    }
    routineOf(table, objectTypeOf(*dest, *sources), selectingType(*sources))(dest, sources, scope);
    if (scope.failed()) {
        scope.raise({nullptr, 2});
    }
}
