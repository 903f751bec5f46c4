#include "frame/guard/guard.h"
#include "frame/guard/plain_scope.h"
#include "tables/edsc/binfunction/arithmetic.h"
#include "tables/edsc/binfunction/record.h"

#include <cstring>
#include <exception>
#include <limits>

/* Questions about one value, one bin or the span. */

using namespace emantle;
using namespace emantle::tables;

namespace {

constexpr double kNoLimit = std::numeric_limits<double>::quiet_NaN();

/* Calls a kind. One from outside may throw: that is raised, and goes no further. */
template <class Call>
bool calls(PlainScope& scope, Call&& call) noexcept
{
    try {
        call();
        return !scope.failed();
    } catch (const std::exception& thrown) {
        scope.raise("%s", thrown.what());
    } catch (...) {
        scope.raise("The kind of the bin function threw");
    }
    return false;
}

/* The outer limit at one end of the span; of an old record the field as it stands. */
double outerLimit(const char* function, const Edsc_BinFunction* binFunction, bool upper, Eerr_ErrorReport** err)
{
    return guarded<double>(err, function, kNoLimit, [&](EerrException& scope) {
        require(binFunction != nullptr, "NULL bin function");
        if (!isNewForm(*binFunction)) {
            return upper ? binFunction->maxLimit : binFunction->minLimit;
        }
        const std::int32_t bin = upper ? static_cast<std::int32_t>(binFunction->binCount) - 1 : 0;
        double limit = kNoLimit;
        checked(scope, edsc_BinFunctionApplyInverse(binFunction, bin, upper ? nullptr : &limit,
                                                    upper ? &limit : nullptr, scope));
        return limit;
    });
}

}  // namespace

EMANTLE_API int32_t edsc_BinFunctionApply(const Edsc_BinFunction* binFunction, double value, Eerr_ErrorReport** err)
{
    constexpr std::int32_t kFailed = -2;
    PlainScope scope("edsc_BinFunctionApply", err);
    if (binFunction == nullptr) {
        return scope.raise("NULL bin function"), kFailed;
    }
    Edsc_BinFunction* temporary = nullptr;
    const Edsc_BinFunction* record = edsc_BinFunctionBCCheck(binFunction, &temporary, scope);
    const BinFunctionPtr owner(temporary);
    if (scope.failed()) {
        return scope.raise("edsc_BinFunctionBCCheck failed"), kFailed;
    }
    std::int32_t bin = kFailed;
    if (!calls(scope, [&] { bin = record->functions->BinFunctionApply(record->internals, value, scope); })) {
        return scope.raise("BinFunctionApply failed"), kFailed;
    }
    return single::visibleBin(bin, record->startBin, static_cast<std::int32_t>(record->binCount));
}

EMANTLE_API Emsc_Boolean edsc_BinFunctionApplyInverse(const Edsc_BinFunction* binFunction, int32_t bin, double* lower,
                                                      double* upper, Eerr_ErrorReport** err)
{
    PlainScope scope("edsc_BinFunctionApplyInverse", err);
    if (binFunction == nullptr) {
        return scope.raise("NULL bin function"), 0;
    }
    Edsc_BinFunction* temporary = nullptr;
    const Edsc_BinFunction* record = edsc_BinFunctionBCCheck(binFunction, &temporary, scope);
    const BinFunctionPtr owner(temporary);
    if (scope.failed()) {
        return scope.raise("edsc_BinFunctionBCCheck failed"), 0;
    }
    if (bin < 0 || static_cast<std::uint32_t>(bin) >= record->binCount) {
        return scope.raise("bin out of range for bin function"), 0;
    }
    Emsc_Boolean done = 0;
    const bool returned = calls(scope, [&] {
        done = record->functions->BinFunctionApplyInverse(record->internals, bin + record->startBin, lower, upper,
                                                          scope);
    });
    if (!returned || !done) {
        return scope.raise("BinFunctionApplyInverse failed"), 0;
    }
    return 1;
}

EMANTLE_API uint32_t edsc_BinFunctionBinCount(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    return guarded<std::uint32_t>(err, "edsc_BinFunctionBinCount", 0, [&] {
        require(binFunction != nullptr, "NULL bin function");
        return isNewForm(*binFunction) ? binFunction->binCount : binFunction->numBins;
    });
}

EMANTLE_API Emsc_Boolean edsc_BinFunctionBinCountModify(Edsc_BinFunction* binFunction, int32_t shift, int32_t count,
                                                        Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BinFunctionBinCountModify", 0, [&] {
        require(binFunction != nullptr, "NULL bin function");
        require(count > 0, "Args");
        require(isNewForm(*binFunction), "Rogue bin function");
        const std::int64_t first = std::int64_t{binFunction->startBin} + shift;
        require(first >= 0 && first + count <= std::int64_t{binFunction->origBinCount},
                "Resulting bin function range is undefined by original bin function");
        binFunction->startBin = static_cast<std::int32_t>(first);
        binFunction->binCount = static_cast<std::uint32_t>(count);
        return 1;
    });
}

EMANTLE_API int32_t edsc_BinFunctionType(const Edsc_BinFunction* binFunction)
{
    return binFunction == nullptr ? EDSC_BIN_NO_OLD_FORM : binFunction->binFunctionType;
}

EMANTLE_API int32_t edsc_BinFunctionTypeFromTitle(const char* title)
{
    const KindTitle* kind = findKind(title);
    return kind == nullptr ? EDSC_BIN_NO_OLD_FORM : kind->oldType;
}

EMANTLE_API double edsc_BinFunctionMinLimit(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    return outerLimit("edsc_BinFunctionMinLimit", binFunction, false, err);
}

EMANTLE_API double edsc_BinFunctionMaxLimit(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    return outerLimit("edsc_BinFunctionMaxLimit", binFunction, true, err);
}

EMANTLE_API int32_t edsc_BinFunctionLimitsType(const Edsc_BinFunction* binFunction)
{
    return binFunction == nullptr ? 0 : binFunction->limitsType;
}

EMANTLE_API Emsc_Boolean edsc_BinFunctionIsSame(const Edsc_BinFunction* a, const Edsc_BinFunction* b,
                                                Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BinFunctionIsSame", 0, [&](EerrException& scope) -> Emsc_Boolean {
        if (a == b || a == nullptr || b == nullptr) {
            return a == b;
        }
        const UsableBinFunction one(scope, a);
        const UsableBinFunction other(scope, b);
        if (one->functions != other->functions || std::strcmp(one->title, other->title) != 0 ||
            one->origBinCount != other->origBinCount || one->startBin != other->startBin ||
            one->binCount != other->binCount) {
            return 0;
        }
        const Emsc_Boolean same = one->functions->BinFunctionIsSame(one->internals, other->internals, scope);
        check(scope, "BinFunctionIsSame failed");
        return same != 0;
    });
}

EMANTLE_API char* edsc_BinFunctionTitle(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "edsc_BinFunctionTitle", nullptr, [&](EerrException& scope) {
        const UsableBinFunction record(scope, binFunction);
        return heapText(record->title, "estr_Duplicate failed").release();
    });
}
