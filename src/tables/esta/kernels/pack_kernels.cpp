#include "tables/esta/kernels/pack_kernels.h"

#include <immintrin.h>

#define EMANTLE_LOOPS "tables/esta/kernels/pack_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

PackLoop packLoop() noexcept
{
    static const PackLoop chosen = [] {
        switch (platform::fastestInstructionSet()) {
        case platform::InstructionSet::avx512:
            return avx512::pack;
        case platform::InstructionSet::avx2:
            return avx2::pack;
        case platform::InstructionSet::baseline:
            break;
        }
        return baseline::pack;
    }();
    return chosen;
}

}  // namespace emantle
