#include <emantle/tables/edsc/kinds.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

/* A kind of bin function from outside with every entry point: bins of width 3 from 0. A test says through `whimsSpoil`
 * which of its answers is garbage. */

#define KIND_MEMBER extern "C" __attribute__((visibility("default")))

namespace {

constexpr const char* kDictionary = "{1:LnumBins,}Whims,.";

void* (*heapMalloc)(long) = nullptr;
std::string garbage;
long living = 0;

bool spoils(const char* what) { return garbage == what; }
void mayThrow(const char* what)
{
    if (spoils(what)) {
        throw std::runtime_error("the kind is broken");
    }
}

void* state(std::uint32_t numBins)
{
    ++living;
    auto* bins = static_cast<std::uint32_t*>(std::calloc(1, sizeof(std::uint32_t)));
    *bins = numBins;
    return bins;
}

std::uint32_t count(const void* internals) { return *static_cast<const std::uint32_t*>(internals); }

template <class Byte>
Byte* heapCopy(const void* bytes, std::size_t size)
{
    return static_cast<Byte*>(std::memcpy(heapMalloc(static_cast<long>(size)), bytes, size));
}

}  // namespace

KIND_MEMBER void whimsUseHeap(void* (*allocate)(long)) { heapMalloc = allocate; }
KIND_MEMBER void whimsSpoil(const char* what) { garbage = what; }
KIND_MEMBER long whimsLiving(void) { return living; }

KIND_MEMBER void* BinFunctionCreate(uint32_t numBins, va_list, Eerr_ErrorReport**)
{
    mayThrow("create: throws");
    return spoils("create: null") ? nullptr : state(numBins);
}
KIND_MEMBER void* BinFunctionCopy(const void* internals, Eerr_ErrorReport**)
{
    mayThrow("copy: throws");
    return spoils("copy: null") ? nullptr : state(count(internals));
}
KIND_MEMBER void BinFunctionDestroy(void* internals, Eerr_ErrorReport**)
{
    --living;
    std::free(internals);
    mayThrow("destroy: throws");
}
KIND_MEMBER Emsc_Boolean BinFunctionIsSame(const void* a, const void* b, Eerr_ErrorReport**)
{
    mayThrow("same: throws");
    return count(a) == count(b);
}
KIND_MEMBER void BinFunctionPrint(const void*, Eerr_ErrorReport**) { mayThrow("print: throws"); }
KIND_MEMBER void BinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old, Eerr_ErrorReport**)
{
    mayThrow("old: throws");
    if (spoils("old: wild") && internals != nullptr) {
        const double none = std::numeric_limits<double>::quiet_NaN();
        *old = {0xffffffff, 77, none, none, nullptr, -9};
    }
}
KIND_MEMBER long BinFunctionConvertToMIF(const void* internals, unsigned char** object, char** dictionary,
                                         char** designName, Eerr_ErrorReport**)
{
    mayThrow("store: throws");
    *object = spoils("store: no object") ? nullptr : heapCopy<unsigned char>(internals, sizeof(std::uint32_t));
    if (!spoils("store: no names")) {
        const char* text = spoils("store: a dictionary of noise") ? "{1:Lnum" : kDictionary;
        *dictionary = heapCopy<char>(text, std::strlen(text) + 1);
        *designName = heapCopy<char>("Whims", 6);
    }
    return spoils("store: negative") ? -1 : spoils("store: short") ? 2 : long{sizeof(std::uint32_t)};
}
KIND_MEMBER Emsc_Boolean BinFunctionConvertFromMIF(const unsigned char* object, const char*, const char*, void** result,
                                                   Eerr_ErrorReport**)
{
    mayThrow("restore: throws");
    std::uint32_t numBins = 0;
    std::memcpy(&numBins, object, sizeof numBins);
    *result = spoils("restore: null") ? nullptr : state(numBins);
    return 1;
}
KIND_MEMBER int32_t BinFunctionApply(const void* internals, double value, Eerr_ErrorReport**)
{
    mayThrow("apply: throws");
    if (spoils("apply: wild")) {
        return std::fmod(value, 2) == 0 ? std::numeric_limits<std::int32_t>::max()
                                        : std::numeric_limits<std::int32_t>::min();
    }
    const double bin = std::floor(value / 3);
    return bin < 0 ? -1 : static_cast<std::int32_t>(std::fmin(bin, count(internals)));
}
KIND_MEMBER Emsc_Boolean BinFunctionApplyInverse(const void*, int32_t bin, double* lower, double* upper,
                                                 Eerr_ErrorReport**)
{
    mayThrow("limits: throw");
    const double none = std::numeric_limits<double>::quiet_NaN();
    for (double* limit : {lower, upper}) {
        if (limit != nullptr && !spoils("limits: none")) {
            *limit = spoils("limits: NaN") ? none : bin * 3.0 + (limit == upper ? 3 : 0);
        }
    }
    return !spoils("limits: none");
}
