#include "data/epxm/element_types.h"
#include "data/operators/frame.h"

#define EMANTLE_LOOPS "data/operators/frame_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const MaskLoops& maskLoops(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kMaskLoops, avx2::kMaskLoops, avx512::kMaskLoops);
}

}  // namespace emantle
