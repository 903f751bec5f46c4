#pragma once

#include "frame/guard/guard.h"
#include "tables/edsc/binfunction/bulk_kernels.h"
#include "tables/edsc/binfunction/record.h"

#include <cstdint>
#include <emantle/data/egda/types.h>
#include <variant>

namespace emantle::tables {

/* Bins runs of values, with exactly the results of edsc_BinFunctionApply, and without a call for each value where the
 * kind is built in:
 *
 *     const BulkBins bulk(scope, histogram->binfunction);
 *     std::int32_t bins[BulkBins::kRun];
 *     bulk.apply(scope, EGDA_TYPE_U16, pixels, count, bins);      // count is at most kRun
 *
 *  1. A bin is -1 below the range and binCount() above it.
 *  2. A complex value counts by its modulus, as in conversions. Strings have no bins: the call fails.
 *  3. The object keeps what it needs of an old record; a new one must outlive it unchanged.
 *  4. Any number of threads may use one object at once, unless the kind is from outside. */
class BulkBins {
public:
    /* What fits the first cache beside its bins; longer runs are cut into such by the calls themselves. */
    static constexpr long kRun = 1024;

    BulkBins(EerrException& scope, const Edsc_BinFunction* binFunction);

    std::int32_t binCount() const noexcept { return span_.binCount; }
    const Edsc_BinFunction& record() const noexcept { return *record_; }
    Span span() const noexcept { return span_; }
    /* The arithmetic of the function where it is of this built-in kind; else null. */
    template <class Arithmetic>
    const Arithmetic* arithmetic() const noexcept
    {
        return std::get_if<Arithmetic>(&kind_);
    }

    /* Any count. */
    void apply(EerrException& scope, const double* values, long count, std::int32_t* bins) const;
    void apply(EerrException& scope, Egda_PixelType type, const void* values, long count, std::int32_t* bins) const;

private:
    struct Foreign {};
    using Kind =
        std::variant<Foreign, single::Direct, single::Linear, single::Logarithmic, single::Explicit, single::Unique>;

    static Kind kindOf(const Edsc_BinFunction& record) noexcept;
    void applyForeign(EerrException& scope, const double* values, long count, std::int32_t* bins) const;

    UsableBinFunction record_;
    Span span_;
    Kind kind_;
};

}  // namespace emantle::tables
