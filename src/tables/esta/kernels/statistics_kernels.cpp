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
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kStatistics;
    case platform::InstructionSet::avx2:
        return avx2::kStatistics;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kStatistics;
}

}  // namespace emantle
