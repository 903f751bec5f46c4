#include "data/epxm/element_types.h"
#include "data/operators/group_loops_table.h"

#include <cmath>
#include <cstring>

#define EMANTLE_LOOPS "data/operators/group_loops.h"
#include "platform/for_each_target.h"

#define EMANTLE_LOOPS "data/operators/group_colour_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const GroupLoops* groupLoops(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kGroupLoops, avx2::kGroupLoops, avx512::kGroupLoops);
}

const ColourLoop* colourLoops(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kColourLoops, avx2::kColourLoops, avx512::kColourLoops);
}

const SelectorLoops& selectorLoops(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kSelectorLoops, avx2::kSelectorLoops, avx512::kSelectorLoops);
}

}  // namespace emantle
