#include "tables/edsc/binfunction/bulk_kernels.h"

#include "platform/cpu.h"

#define EMANTLE_LOOPS "tables/edsc/binfunction/target_loops.h"
#include "platform/for_each_target.h"

namespace emantle::tables {

const BinLoops& binLoops() noexcept
{
    switch (platform::fastestInstructionSet()) {
    case platform::InstructionSet::avx512:
        return avx512::kLoops;
    case platform::InstructionSet::avx2:
        return avx2::kLoops;
    default:
        return baseline::kLoops;
    }
}

}  // namespace emantle::tables
