#include "tables/esta/kernels/pack_kernels.h"

#include <immintrin.h>

#define EMANTLE_LOOPS "tables/esta/kernels/pack_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

PackLoop packLoop() noexcept
{
    static const PackLoop chosen =
        platform::madeFor(platform::fastestInstructionSet(), baseline::pack, avx2::pack, avx512::pack);
    return chosen;
}

}  // namespace emantle
