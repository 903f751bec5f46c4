#include "tables/edsc/binfunction/bulk_kernels.h"

#include "platform/cpu.h"

#define EMANTLE_LOOPS "tables/edsc/binfunction/target_loops.h"
#include "platform/for_each_target.h"

namespace emantle::tables {

const BinLoops& binLoops() noexcept
{
    return platform::madeFor(platform::fastestInstructionSet(), baseline::kLoops, avx2::kLoops, avx512::kLoops);
}

}  // namespace emantle::tables
