#include "data/operators/frame.h"
#include "data/operators/row.h"

#include <emantle/data/bin_operators.h>

#include <memory>

/* The operators as their tables name them. One routine serves every type. */

using namespace emantle;

namespace {

using Record = std::unique_ptr<Egda_BaseData, decltype([](Egda_BaseData* base) { egda_BaseDataDelete(base, nullptr); })>;

/* Runs `one(layer number, scope)` for each layer of the destination; a chain left in the scope ends it. */
template <class One>
void forEachLayer(const char* name, Egda_BaseDataStack* dest, Eerr_ErrorReport** err, One one)
{
    PlainScope scope(name, err);
    for (long k = 0; k < dest->numlayers; ++k) {
        one(k, scope);
        if (scope.failed()) {
            return scope.raise({nullptr, 1});
        }
    }
}

/* Bins are found for elements that lie in the shape of the destination. */
void throughBinFunction(const char* name, const Egda_BinRoutine* routines, Egda_BaseDataStack* dest,
                        const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    forEachLayer(name, dest, err, [&](long k, PlainScope& scope) {
        const Egda_BaseData* source = layerFor(*sources->stacks[0], k);
        if (source != nullptr) {
            routines[source->datatype](source->binfunction, source, dest->datalayer[k], sources->mask, scope);
        }
    });
}

/* The bins of the values by the table's own function, as numbers of a table's elements. */
Record binsOf(const Egda_BaseData& source, const Egda_BaseData& table, const Egda_BaseData* mask, PlainScope& scope)
{
    Record bins(egda_BaseDataCreate(source.numrows, source.numcolumns, EGDA_TYPE_S32, source.objecttype, nullptr, scope));
    if (bins != nullptr) {
        emsc_AddressOf_egda_SaoApplyBinFunc()[source.datatype](table.binfunction, &source, bins.get(), mask, scope);
    }
    return bins;
}

void lookUp(const char* name, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    forEachLayer(name, dest, err, [&](long k, PlainScope& scope) {
        const Egda_BaseData* source = layerFor(*sources->stacks[0], k);
        const Egda_BaseData* table = sources->numstacks < 2 ? nullptr : layerFor(*sources->stacks[1], k);
        if (source == nullptr || table == nullptr) {
            return egda_NoOperation(nullptr, nullptr, scope);
        }
        Record bins;
        if (table->binfunction != nullptr) {
            bins = binsOf(*source, *table, sources->mask, scope);
            source = bins.get();
        }
        if (!scope.failed()) {
            emsc_AddressOf_egda_SaoLookUpValue()[source->datatype](table, source, dest->datalayer[k], sources->mask,
                                                                   scope);
        }
    });
}

/* One layer of the destination from one of a source, by the operator that copies or the one that fills. */
void copyLayer(Egda_BaseData* dest, Egda_BaseData* source, Egda_BaseData* mask, PlainScope& scope)
{
    Egda_BaseDataStack from{1, 1, &source, 0};
    Egda_BaseDataStack* stack = &from;
    const Egda_BaseDataStackArray array{1, &stack, mask};
    Egda_BaseDataStack to{1, 1, &dest, 0};
    const Egda_OperatorTable table = source->objecttype == EGDA_SCALAR_OBJECT ? emsc_AddressOf_egda_SaoFill()
                                                                              : emsc_AddressOf_egda_SaoCopy();
    table[dest->objecttype][source->datatype].routine(&to, &array, scope);
}

void stackBaseData(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_MaoStackBaseData", err);
    long next = 0;
    for (long i = 0; i < sources->numstacks; ++i) {
        const Egda_BaseDataStack& stack = *sources->stacks[i];
        for (long k = 0; k < stack.numlayers && next < dest->numlayers; ++k) {
            copyLayer(dest->datalayer[next++], stack.datalayer[k], sources->mask, scope);
            if (scope.failed()) {
                return scope.raise({nullptr, 1});
            }
        }
    }
}

void convertToBinValue(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    throughBinFunction("egda_SaoConvertToBinValue", emsc_AddressOf_egda_SaoApplyBinFunc(), dest, sources, err);
}

void binToDataValue(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    throughBinFunction("egda_SaoBinToDataValue", emsc_AddressOf_egda_SaoFromBinToDataFunc(), dest, sources, err);
}

void lutTransformation(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    lookUp("egda_SaoLUTtransformation", dest, sources, err);
}

void copyTableStackThroughLut(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    lookUp("egda_SaoCpTableStackThrLUT", dest, sources, err);
}

template <Egda_OperatorRoutine body>
struct OneForAll {
    template <Egda_PixelType>
    static consteval Egda_OperatorRoutine routine()
    {
        return body;
    }
};

namespace family {

using egda_SaoConvertToBinValue = OneForAll<convertToBinValue>;
using egda_SaoBinToDataValue = OneForAll<binToDataValue>;
using egda_SaoLUTtransformation = OneForAll<lutTransformation>;
using egda_SaoCopyTableStackThroughLUT = OneForAll<copyTableStackThroughLut>;
using egda_MaoStackBaseData = OneForAll<stackBaseData>;

}  // namespace family

}  // namespace

#define EMANTLE_TABLE_OF_bins(table, types)                                          \
    EMANTLE_API Egda_OperatorTable emsc_AddressOf_##table(void)                      \
    {                                                                                \
        return TableOf<family::table, type_sets::types.bits>::rows.data();           \
    }
#include "data/operators/homes.h"
