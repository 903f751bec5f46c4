#include <emantle/frame/emsc/heap.h>
#include <emantle/tables/edsc/kinds.h>

#include <cmath>
#include <cstdlib>

/* A kind of bin function from outside: bins of width 3 from 0. Its state is the count of bins. It has no old form, and
 * no stored form. */

#define KIND_MEMBER extern "C" __attribute__((visibility("default")))

namespace {

void* state(std::uint32_t numBins)
{
    auto* bins = static_cast<std::uint32_t*>(std::calloc(1, sizeof(std::uint32_t)));
    *bins = numBins;
    return bins;
}

std::uint32_t count(const void* internals) { return *static_cast<const std::uint32_t*>(internals); }

}  // namespace

KIND_MEMBER void* BinFunctionCreate(uint32_t numBins, va_list, Eerr_ErrorReport**) { return state(numBins); }
KIND_MEMBER void* BinFunctionCopy(const void* internals, Eerr_ErrorReport**) { return state(count(internals)); }
KIND_MEMBER void BinFunctionDestroy(void* internals, Eerr_ErrorReport**) { std::free(internals); }
KIND_MEMBER Emsc_Boolean BinFunctionIsSame(const void* a, const void* b, Eerr_ErrorReport**) { return count(a) == count(b); }
KIND_MEMBER Emsc_Boolean BinFunctionConvertFromMIF(const unsigned char*, const char*, const char*, void**, Eerr_ErrorReport**)
{
    return 0;
}
KIND_MEMBER int32_t BinFunctionApply(const void* internals, double value, Eerr_ErrorReport**)
{
    const double bin = std::floor(value / 3);
    return bin < 0 ? -1 : bin >= count(internals) ? static_cast<std::int32_t>(count(internals)) : static_cast<std::int32_t>(bin);
}
KIND_MEMBER Emsc_Boolean BinFunctionApplyInverse(const void*, int32_t bin, double* lower, double* upper, Eerr_ErrorReport**)
{
    if (lower != nullptr) {
        *lower = bin * 3.0;
    }
    if (upper != nullptr) {
        *upper = bin * 3.0 + 3;
    }
    return 1;
}
