#include "tables/esta/kernels/block.h"

#include <immintrin.h>

#define EMANTLE_LOOPS "tables/esta/kernels/histogram_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const HistogramLoops& histogramLoops(platform::InstructionSet set) noexcept
{
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kHistogram;
    case platform::InstructionSet::avx2:
        return avx2::kHistogram;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kHistogram;
}

}  // namespace emantle
