/* The table of loops of one instruction set; no guard. The kinds of callers are those of one value at a time, which
 * have the same fields. */

#include "tables/edsc/binfunction/bin_loops.h"

namespace emantle::tables::EMANTLE_TARGET {

inline Direct own(const single::Direct& kind) { return {kind.numBins, kind.minLimit}; }
inline Linear own(const single::Linear& kind) { return {kind.numBins, kind.minLimit, kind.span, kind.maxLimit}; }
inline Logarithmic own(const single::Logarithmic& kind)
{
    return {kind.numBins, kind.minLimit, kind.span, kind.maxLimit};
}
inline Explicit own(const single::Explicit& kind) { return {kind.numBins, kind.limits}; }
inline Unique own(const single::Unique& kind) { return {kind.numBins, kind.values}; }

template <class Kind>
void run(const Kind& kind, Span span, const double* values, long count, std::int32_t* bins)
{
    binRun(own(kind), span, values, count, bins);
}

inline constexpr BinLoops kLoops = {
    run<single::Direct>,
    run<single::Linear>,
    run<single::Logarithmic>,
    run<single::Explicit>,
    run<single::Unique>,
    {storeRun<std::uint8_t>, storeRun<std::int8_t>, storeRun<std::uint16_t>, storeRun<std::int16_t>,
     storeRun<std::uint32_t>, storeRun<std::int32_t>, storeRun<float>, storeRun<double>},
    rescaleRun,
};

}  // namespace emantle::tables::EMANTLE_TARGET
