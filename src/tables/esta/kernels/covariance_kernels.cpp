#include "tables/esta/kernels/block.h"

#include <cmath>

#define EMANTLE_LOOPS "tables/esta/kernels/covariance_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const CovarianceLoops& covarianceLoops(platform::InstructionSet set) noexcept
{
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kCovariance;
    case platform::InstructionSet::avx2:
        return avx2::kCovariance;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kCovariance;
}

}  // namespace emantle
