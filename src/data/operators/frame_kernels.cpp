#include "data/epxm/element_types.h"
#include "data/operators/frame.h"

#define EMANTLE_LOOPS "data/operators/frame_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const MaskLoops& maskLoops(platform::InstructionSet set) noexcept
{
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kMaskLoops;
    case platform::InstructionSet::avx2:
        return avx2::kMaskLoops;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kMaskLoops;
}

}  // namespace emantle
