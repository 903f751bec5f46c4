#pragma once

#include "frame/guard/guard.h"
#include "frame/guard/plain_scope.h"
#include "tables/edsc/binfunction/exchange.h"
#include "tables/edsc/binfunction/internals.h"

#include <cstring>

/* What the members of the built-in kinds share. */

namespace emantle::tables {

inline void requireBinCount(std::uint32_t numBins)
{
    require(numBins > 0 && numBins <= kMostBins, "The number of bins must be a positive integer");
}

/* The state behind a member's first argument. */
template <class Bins>
const Bins* required(const void* internals)
{
    require(internals != nullptr, "NULL bin function");
    return static_cast<const Bins*>(internals);
}

/* The old form in a kind's stored object. Fails with "Incorrect bin function design" and "Incorrect bin function type".
 * */
class OldForm {
public:
    OldForm(EerrException& scope, std::int32_t type, const unsigned char* object, const char* dictionary,
            const char* designName)
        : old_(read(scope, object, dictionary, designName))
    {
        if (old_->binFunctionType != type) {
            egda_BaseDataDelete(old_->binLimits, nullptr);
            fail("Incorrect bin function type");
        }
    }
    ~OldForm() { egda_BaseDataDelete(old_->binLimits, nullptr); }
    OldForm(const OldForm&) = delete;
    OldForm& operator=(const OldForm&) = delete;

    const Edsc_BinFunctionPre840* operator->() const noexcept { return old_.get(); }

private:
    static HeapPtr<Edsc_BinFunctionPre840> read(EerrException& scope, const unsigned char* object,
                                                const char* dictionary, const char* designName)
    {
        require(designName != nullptr && std::strcmp(designName, "Edsc_BinFunction") == 0,
                "Incorrect bin function design");
        return HeapPtr<Edsc_BinFunctionPre840>(
            checked(scope, edsc_HFABinFunctionMIFableFromMIF(object, dictionary, designName, scope)));
    }

    HeapPtr<Edsc_BinFunctionPre840> old_;
};

/* The state that `make` builds from a stored form; what it fails with is told as the failure of `function`. */
template <class Make>
void* newState(EerrException& scope, const char* function, Make&& make)
{
    void* state = guarded<void*>(scope, function, nullptr, [&](EerrException& inner) { return make(inner).release(); });
    check(scope);
    return state;
}

/* The stored object of a kind that has an old form: that form. */
long convertOldFormToMIF(const char* function,
                         void (*syncOld)(const void* internals, Edsc_BinFunctionPre840* old, Eerr_ErrorReport** err),
                         const void* internals, unsigned char** object, char** dictionary, char** designName,
                         Eerr_ErrorReport** err);

template <class Bins>
void* copyPlain(const char* function, const void* internals, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, function, nullptr, [&] {
        const Bins* source = required<Bins>(internals);
        HeapPtr<Bins> copy = allocate<Bins>(1, "Insufficient Memory");
        std::memcpy(copy.get(), source, sizeof(Bins));
        return copy.release();
    });
}

/* Byte for byte; states come from zero-filled memory. */
template <class Bins>
Emsc_Boolean samePlain(const char* function, const void* a, const void* b, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(
        err, function, 0, [&] { return std::memcmp(required<Bins>(a), required<Bins>(b), sizeof(Bins)) == 0; });
}

template <class Bins, class Apply>
std::int32_t applyTo(const char* function, const void* internals, Eerr_ErrorReport** err, Apply&& apply)
{
    PlainScope scope(function, err);
    if (internals == nullptr) {
        return scope.raise("NULL bin function"), -1;
    }
    return apply(*static_cast<const Bins*>(internals));
}

/* `limit(bins, number, isUpper)` is the limit in front of bin `number`, or the upper one of the bin before it. */
template <class Bins, class Limit>
Emsc_Boolean limitsOf(const char* function, const void* internals, std::int32_t bin, double* lower, double* upper,
                      Eerr_ErrorReport** err, Limit&& limit)
{
    PlainScope scope(function, err);
    if (internals == nullptr) {
        return scope.raise("NULL bin function"), 0;
    }
    const Bins& bins = *static_cast<const Bins*>(internals);
    if (bin < 0 || static_cast<std::uint32_t>(bin) >= bins.numBins) {
        return scope.raise("bin out of range for bin function"), 0;
    }
    if (lower != nullptr) {
        *lower = limit(bins, static_cast<double>(bin), false);
    }
    if (upper != nullptr) {
        *upper = limit(bins, static_cast<double>(bin) + 1, true);
    }
    return 1;
}

}  // namespace emantle::tables
