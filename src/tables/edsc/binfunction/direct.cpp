#include "tables/edsc/binfunction/kind_support.h"

#include <cmath>
#include <cstdio>

using namespace emantle;
using namespace emantle::tables;

namespace {

HeapPtr<DirectBins> makeDirect(std::uint32_t numBins, double minimum)
{
    requireBinCount(numBins);
    require(!std::isnan(minimum), "The minimum of a bin function is not a number");
    HeapPtr<DirectBins> bins = allocate<DirectBins>(1, "Insufficient Memory");
    bins->numBins = numBins;
    bins->minLimit = minimum;
    return bins;
}

}  // namespace

EMANTLE_API void* edsc_BFDirectBinFunctionCreate(uint32_t numBins, va_list arguments, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edsc_BFDirectBinFunctionCreate", nullptr,
                          [&] { return makeDirect(numBins, va_arg(arguments, double)).release(); });
}

EMANTLE_API void edsc_BFDirectBinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old,
                                                   Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BFDirectBinFunctionBCSyncOld", [&] {
        const DirectBins* bins = static_cast<const DirectBins*>(internals);
        if (bins != nullptr) {
            *old = {bins->numBins, EDSC_BIN_DIRECT, bins->minLimit, bins->minLimit + bins->numBins - 1, nullptr, 0};
        }
    });
}

EMANTLE_API long edsc_BFDirectBinFunctionConvertToMIF(const void* internals, unsigned char** object, char** dictionary,
                                                      char** designName, Eerr_ErrorReport** err)
{
    return convertOldFormToMIF("edsc_BFDirectBinFunctionConvertToMIF", edsc_BFDirectBinFunctionBCSyncOld, internals,
                               object, dictionary, designName, err);
}

EMANTLE_API Emsc_Boolean edsc_BFDirectBinFunctionConvertFromMIF(const unsigned char* object, const char* dictionary,
                                                                const char* designName, void** result,
                                                                Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BFDirectBinFunctionConvertFromMIF", 0, [&](EerrException& scope) {
        const OldForm old(scope, EDSC_BIN_DIRECT, object, dictionary, designName);
        *result = newState(scope, "edsc_BFDirectBinFunctionBCSyncNew",
                           [&](EerrException&) { return makeDirect(old->numBins, old->minLimit); });
        return 1;
    });
}

EMANTLE_API void* edsc_BFDirectBinFunctionCopy(const void* internals, Eerr_ErrorReport** err)
{
    return copyPlain<DirectBins>("edsc_BFDirectBinFunctionCopy", internals, err);
}

EMANTLE_API void edsc_BFDirectBinFunctionPrint(const void* internals, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BFDirectBinFunctionPrint", [&] {
        const DirectBins* bins = required<DirectBins>(internals);
        std::printf("\tnumBins:\t%lu\n\tminLimit:\t%g\n", static_cast<unsigned long>(bins->numBins), bins->minLimit);
    });
}

EMANTLE_API void edsc_BFDirectBinFunctionDestroy(void* internals, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BFDirectBinFunctionDestroy", [&] { emsc_HeapFree(internals); });
}

EMANTLE_API Emsc_Boolean edsc_BFDirectBinFunctionIsSame(const void* a, const void* b, Eerr_ErrorReport** err)
{
    return samePlain<DirectBins>("edsc_BFDirectBinFunctionIsSame", a, b, err);
}

EMANTLE_API int32_t edsc_BFDirectBinFunctionApply(const void* internals, double value, Eerr_ErrorReport** err)
{
    return applyTo<DirectBins>("edsc_BFDirectBinFunctionApply", internals, err, [&](const DirectBins& bins) {
        return single::binOf(bins.arithmetic(), value);
    });
}

EMANTLE_API Emsc_Boolean edsc_BFDirectBinFunctionApplyInverse(const void* internals, int32_t bin, double* lower,
                                                              double* upper, Eerr_ErrorReport** err)
{
    return limitsOf<DirectBins>("edsc_BFDirectBinFunctionApplyInverse", internals, bin, lower, upper, err,
                                [](const DirectBins& bins, double number, bool) { return number + bins.minLimit; });
}
