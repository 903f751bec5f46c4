#include "tables/esta/kernels/block.h"

#include <cfloat>
#include <cmath>
#include <immintrin.h>
#include <type_traits>

#define EMANTLE_LOOPS "tables/esta/kernels/statistics_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const StatisticsLoops& statisticsLoops(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kStatistics, avx2::kStatistics, avx512::kStatistics);
}

}  // namespace emantle
