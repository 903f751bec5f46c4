#include "data/epxm/convert.h"
#include "data/operators/frame.h"

#include <emantle/data/bin_operators.h>

/* Values to bins and back, by a bin function. */

using namespace emantle;

namespace {

void toBins(const Edsc_BinFunction* binFunction, const Egda_BaseData* source, Egda_BaseData* dest,
            const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_ToBinVGeneric", err);
    if (binFunction == nullptr) {
        return scope.raise("Args");
    }
    const double above = edsc_BinFunctionBinCount(binFunction, scope);
    edsc_BinFunctionApplyToValues(binFunction, source, -1, above, mask, dest, scope);
    if (scope.failed()) {
        scope.raise("edsc_BinFunctionApplyToValues failed");
    }
}

void fromBins(const Edsc_BinFunction* binFunction, const Egda_BaseData* source, Egda_BaseData* dest,
              const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_ToBinVGeneric", err);
    if (binFunction == nullptr) {
        return scope.raise("Args");
    }
    edsc_BinFunctionApplyInverseToValues(binFunction, source, mask, dest, nullptr, scope);
    if (scope.failed()) {
        scope.raise("edsc_BinFunctionApplyInverseToValues failed");
    }
}

void notServed(const Edsc_BinFunction*, const Egda_BaseData*, Egda_BaseData*, const Egda_BaseData*, Eerr_ErrorReport** err)
{
    egda_NoOperation(nullptr, nullptr, err);
}

constexpr Egda_BinRoutine kToBins[EGDA_NUM_TYPES] = {toBins, toBins, toBins, toBins, toBins, toBins, toBins,
                                                     toBins, toBins, toBins, toBins, toBins, toBins, notServed};
constexpr Egda_BinRoutine kFromBins[EGDA_NUM_TYPES] = {fromBins, fromBins, fromBins, fromBins, fromBins,
                                                       fromBins, fromBins, fromBins, fromBins, fromBins,
                                                       fromBins, fromBins, fromBins, notServed};

}  // namespace

EMANTLE_API const Egda_BinRoutine* emsc_AddressOf_egda_SaoApplyBinFunc(void)
{
    return kToBins;
}

EMANTLE_API const Egda_BinRoutine* emsc_AddressOf_egda_SaoFromBinToDataFunc(void)
{
    return kFromBins;
}
