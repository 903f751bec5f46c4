#include "frame/guard/guard.h"
#include "tables/edsc/binfunction/record.h"

#include <algorithm>
#include <cmath>
#include <emantle/data/egda/types.h>
#include <numeric>

using namespace emantle;
using namespace emantle::tables;

namespace {

constexpr std::int32_t kNoBin = -1;

struct Limits {
    double lower;
    double upper;
};

Limits limitsOfKindBin(EerrException& scope, const Edsc_BinFunction& record, std::int32_t bin)
{
    Limits limits{};
    const Emsc_Boolean done =
        record.functions->BinFunctionApplyInverse(record.internals, bin, &limits.lower, &limits.upper, scope);
    check(scope, "BinFunctionApplyInverse failed");
    require(done, "BinFunctionApplyInverse failed");
    return limits;
}

/* The visible bin of `target` that has the limits of the kind's bin `bin` of `source`. */
std::int32_t translatedBin(EerrException& scope, const Edsc_BinFunction& source, std::int32_t bin,
                           const Edsc_BinFunction& target, bool wholeNumbers)
{
    const Limits limits = limitsOfKindBin(scope, source, bin);
    const double first = wholeNumbers ? std::ceil(limits.lower) : limits.lower;
    if (wholeNumbers && limits.upper <= first) {
        return kNoBin;
    }
    const std::int32_t candidate = target.functions->BinFunctionApply(target.internals, first, scope);
    check(scope, "BinFunctionApply failed");
    if (candidate < 0 || static_cast<std::uint32_t>(candidate) >= target.origBinCount) {
        return kNoBin;
    }
    const Limits found = limitsOfKindBin(scope, target, candidate);
    const bool equal = limits.lower == found.lower && limits.upper == found.upper;
    const bool alike = wholeNumbers && std::ceil(limits.lower) == std::ceil(found.lower) &&
                       std::ceil(limits.upper) == std::ceil(found.upper);
    const std::int64_t visible = std::int64_t{candidate} - target.startBin;
    const std::int64_t shown =
        std::min(std::int64_t{target.origBinCount} - target.startBin, std::int64_t{target.binCount});
    return (equal || alike) && visible >= 0 && visible < shown ? static_cast<std::int32_t>(visible) : kNoBin;
}

}  // namespace

EMANTLE_API int32_t* edsc_BinFunctionTranslate(int32_t count, const Edsc_BinFunction* source,
                                               const Edsc_BinFunction* target, int32_t dataType,
                                               Eerr_ErrorReport** err)
{
    return guarded<std::int32_t*>(err, "edsc_BinFunctionTranslate", nullptr,
                                  [&](EerrException& scope) -> std::int32_t* {
        if (source == nullptr || target == nullptr || count < 1) {
            return nullptr;
        }
        const UsableBinFunction from(scope, source);
        const UsableBinFunction to(scope, target);
        HeapPtr<std::int32_t> map = allocate<std::int32_t>(static_cast<std::size_t>(count), "Insufficient memory");
        const auto all = static_cast<std::uint32_t>(count);
        if (from->binCount == all && to->binCount == all &&
            checked(scope, edsc_BinFunctionIsSame(&*from, &*to, scope))) {
            std::iota(map.get(), map.get() + count, 0);
            return map.release();
        }
        std::fill_n(map.get(), count, kNoBin);
        const bool wholeNumbers = dataType >= 0 && dataType < EGDA_NUM_INTEGER_TYPES;
        const auto known = static_cast<std::int32_t>(std::min(all, from->binCount));
        bool matched = false;
        for (std::int32_t bin = 0; bin < known; ++bin) {
            map.get()[bin] = translatedBin(scope, *from, bin + from->startBin, *to, wholeNumbers);
            matched = matched || map.get()[bin] != kNoBin;
        }
        return matched ? map.release() : nullptr;
    });
}
