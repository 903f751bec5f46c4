#include "tables/esta/kernels/block.h"

#include <immintrin.h>

#define EMANTLE_LOOPS "tables/esta/kernels/histogram_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const HistogramLoops& histogramLoops(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kHistogram, avx2::kHistogram, avx512::kHistogram);
}

}  // namespace emantle
