#include "tables/edsc/binfunction/kind_support.h"

#include <cmath>
#include <cstdio>
#include <utility>

/* The kinds whose bins share the span between two limits: evenly (linear) or by powers of two (logarithmic). */

using namespace emantle;
using namespace emantle::tables;

namespace {

HeapPtr<SpanBins> makeSpan(std::uint32_t numBins, double minimum, double maximum)
{
    requireBinCount(numBins);
    require(!std::isnan(minimum) && !std::isnan(maximum), "A limit of a bin function is not a number");
    if (minimum > maximum) {
        std::swap(minimum, maximum);
    }
    HeapPtr<SpanBins> bins = allocate<SpanBins>(1, "Insufficient Memory");
    bins->numBins = numBins;
    bins->minLimit = minimum;
    bins->maxLimit = maximum;
    bins->upperBound = upperBoundOf(maximum);
    return bins;
}

void* createSpan(const char* function, std::uint32_t numBins, va_list arguments, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, function, nullptr, [&] {
        const double minimum = va_arg(arguments, double);
        const double maximum = va_arg(arguments, double);
        return makeSpan(numBins, minimum, maximum).release();
    });
}

void syncSpan(const char* function, std::int32_t type, const void* internals, Edsc_BinFunctionPre840* old,
              Eerr_ErrorReport** err)
{
    guarded(err, function, [&] {
        const SpanBins* bins = static_cast<const SpanBins*>(internals);
        if (bins != nullptr) {
            *old = {bins->numBins, type, bins->minLimit, bins->maxLimit, nullptr, 0};
        }
    });
}

Emsc_Boolean spanFromMIF(const char* function, const char* syncNew, std::int32_t type, const unsigned char* object,
                         const char* dictionary, const char* designName, void** result, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, function, 0, [&](EerrException& scope) {
        const OldForm old(scope, type, object, dictionary, designName);
        *result = newState(scope, syncNew,
                           [&](EerrException&) { return makeSpan(old->numBins, old->minLimit, old->maxLimit); });
        return 1;
    });
}

void printSpan(const char* function, const void* internals, Eerr_ErrorReport** err)
{
    guarded(err, function, [&] {
        const SpanBins* bins = required<SpanBins>(internals);
        std::printf("\tnumBins:\t%lu\n\tminLimit:\t%g\n\tmaxLimit:\t%g\n", static_cast<unsigned long>(bins->numBins),
                    bins->minLimit, bins->maxLimit);
    });
}

/* A literal of this precision is part of the stored meaning of logarithmic bins. */
constexpr double kLogarithmOfTwo = 0.69314718056;

}  // namespace

EMANTLE_API void* edsc_BFLinearBinFunctionCreate(uint32_t numBins, va_list arguments, Eerr_ErrorReport** err)
{
    return createSpan("edsc_BFLinearBinFunctionCreate", numBins, arguments, err);
}

EMANTLE_API void edsc_BFLinearBinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old,
                                                   Eerr_ErrorReport** err)
{
    syncSpan("edsc_BFLinearBinFunctionBCSyncOld", EDSC_BIN_LINEAR, internals, old, err);
}

EMANTLE_API long edsc_BFLinearBinFunctionConvertToMIF(const void* internals, unsigned char** object, char** dictionary,
                                                      char** designName, Eerr_ErrorReport** err)
{
    return convertOldFormToMIF("edsc_BFLinearBinFunctionConvertToMIF", edsc_BFLinearBinFunctionBCSyncOld, internals,
                               object, dictionary, designName, err);
}

EMANTLE_API Emsc_Boolean edsc_BFLinearBinFunctionConvertFromMIF(const unsigned char* object, const char* dictionary,
                                                                const char* designName, void** result,
                                                                Eerr_ErrorReport** err)
{
    return spanFromMIF("edsc_BFLinearBinFunctionConvertFromMIF", "edsc_BFLinearBinFunctionBCSyncNew", EDSC_BIN_LINEAR,
                       object, dictionary, designName, result, err);
}

EMANTLE_API void* edsc_BFLinearBinFunctionCopy(const void* internals, Eerr_ErrorReport** err)
{
    return copyPlain<SpanBins>("edsc_BFLinearBinFunctionCopy", internals, err);
}

EMANTLE_API void edsc_BFLinearBinFunctionPrint(const void* internals, Eerr_ErrorReport** err)
{
    printSpan("edsc_BFLinearBinFunctionPrint", internals, err);
}

EMANTLE_API void edsc_BFLinearBinFunctionDestroy(void* internals, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BFLinearBinFunctionDestroy", [&] { emsc_HeapFree(internals); });
}

EMANTLE_API Emsc_Boolean edsc_BFLinearBinFunctionIsSame(const void* a, const void* b, Eerr_ErrorReport** err)
{
    return samePlain<SpanBins>("edsc_BFLinearBinFunctionIsSame", a, b, err);
}

EMANTLE_API int32_t edsc_BFLinearBinFunctionApply(const void* internals, double value, Eerr_ErrorReport** err)
{
    return applyTo<SpanBins>("edsc_BFLinearBinFunctionApply", internals, err, [&](const SpanBins& bins) {
        return single::binOf(bins.arithmetic<single::Linear>(), value);
    });
}

EMANTLE_API Emsc_Boolean edsc_BFLinearBinFunctionApplyInverse(const void* internals, int32_t bin, double* lower,
                                                              double* upper, Eerr_ErrorReport** err)
{
    return limitsOf<SpanBins>("edsc_BFLinearBinFunctionApplyInverse", internals, bin, lower, upper, err,
                              [](const SpanBins& bins, double number, bool) {
                                  return (bins.upperBound - bins.minLimit) * number / bins.numBins + bins.minLimit;
                              });
}

EMANTLE_API void* edsc_BFLogarithmicTKBinFunctionCreate(uint32_t numBins, va_list arguments, Eerr_ErrorReport** err)
{
    return createSpan("edsc_BFLogarithmicTKBinFunctionCreate", numBins, arguments, err);
}

EMANTLE_API void edsc_BFLogarithmicTKBinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old,
                                                          Eerr_ErrorReport** err)
{
    syncSpan("edsc_BFLogarithmicTKBinFunctionBCSyncOld", EDSC_BIN_LOGARITHMIC, internals, old, err);
}

EMANTLE_API long edsc_BFLogarithmicTKBinFunctionConvertToMIF(const void* internals, unsigned char** object,
                                                             char** dictionary, char** designName,
                                                             Eerr_ErrorReport** err)
{
    return convertOldFormToMIF("edsc_BFLogarithmicTKBinFunctionConvertToMIF", edsc_BFLogarithmicTKBinFunctionBCSyncOld,
                               internals, object, dictionary, designName, err);
}

EMANTLE_API Emsc_Boolean edsc_BFLogarithmicTKBinFunctionConvertFromMIF(const unsigned char* object,
                                                                       const char* dictionary, const char* designName,
                                                                       void** result, Eerr_ErrorReport** err)
{
    return spanFromMIF("edsc_BFLogarithmicTKBinFunctionConvertFromMIF", "edsc_BFLogarithmicTKBinFunctionBCSyncNew",
                       EDSC_BIN_LOGARITHMIC, object, dictionary, designName, result, err);
}

EMANTLE_API void* edsc_BFLogarithmicTKBinFunctionCopy(const void* internals, Eerr_ErrorReport** err)
{
    return copyPlain<SpanBins>("edsc_BFLogarithmicTKBinFunctionCopy", internals, err);
}

EMANTLE_API void edsc_BFLogarithmicTKBinFunctionPrint(const void* internals, Eerr_ErrorReport** err)
{
    printSpan("edsc_BFLogarithmicTKBinFunctionPrint", internals, err);
}

EMANTLE_API void edsc_BFLogarithmicTKBinFunctionDestroy(void* internals, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BFLogarithmicTKBinFunctionDestroy", [&] { emsc_HeapFree(internals); });
}

EMANTLE_API Emsc_Boolean edsc_BFLogarithmicTKBinFunctionIsSame(const void* a, const void* b, Eerr_ErrorReport** err)
{
    return samePlain<SpanBins>("edsc_BFLogarithmicTKBinFunctionIsSame", a, b, err);
}

EMANTLE_API int32_t edsc_BFLogarithmicTKBinFunctionApply(const void* internals, double value, Eerr_ErrorReport** err)
{
    return applyTo<SpanBins>("edsc_BFLogarithmicTKBinFunctionApply", internals, err, [&](const SpanBins& bins) {
        return single::binOf(bins.arithmetic<single::Logarithmic>(), value);
    });
}

EMANTLE_API Emsc_Boolean edsc_BFLogarithmicTKBinFunctionApplyInverse(const void* internals, int32_t bin, double* lower,
                                                                     double* upper, Eerr_ErrorReport** err)
{
    return limitsOf<SpanBins>("edsc_BFLogarithmicTKBinFunctionApplyInverse", internals, bin, lower, upper, err,
                              [](const SpanBins& bins, double number, bool) {
                                  const double span = bins.upperBound - bins.minLimit;
                                  return std::log(number / bins.numBins + 1) * span / kLogarithmOfTwo + bins.minLimit;
                              });
}
