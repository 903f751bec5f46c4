#include "tables/esta/kernels/block.h"

#include <cmath>

#define EMANTLE_LOOPS "tables/esta/kernels/covariance_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const CovarianceLoops& covarianceLoops(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kCovariance, avx2::kCovariance, avx512::kCovariance);
}

}  // namespace emantle
