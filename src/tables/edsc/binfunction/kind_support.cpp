#include "tables/edsc/binfunction/kind_support.h"

#include <bit>

namespace emantle::tables {

double upperBoundOf(double value) noexcept
{
    constexpr int kMantissaBits = 52;
    const std::uint64_t exponent = std::bit_cast<std::uint64_t>(value) >> kMantissaBits & 0x7ff;
    const std::uint64_t step = exponent < kMantissaBits ? 1 : (exponent - kMantissaBits) << kMantissaBits;
    return value + std::bit_cast<double>(step);
}

long convertOldFormToMIF(const char* function,
                         void (*syncOld)(const void* internals, Edsc_BinFunctionPre840* old, Eerr_ErrorReport** err),
                         const void* internals, unsigned char** object, char** dictionary, char** designName,
                         Eerr_ErrorReport** err)
{
    return guarded<long>(err, function, -1, [&](EerrException& scope) {
        require(internals != nullptr, "NULL bin function");
        Edsc_BinFunctionPre840 old{};
        syncOld(internals, &old, scope);
        check(scope, "BinFunctionBCSyncOld failed");
        const BaseDataPtr limits(old.binLimits);
        return checked(scope, edsc_HFABinFunctionMIFableToMIF(&old, object, dictionary, designName, scope));
    });
}

}  // namespace emantle::tables
