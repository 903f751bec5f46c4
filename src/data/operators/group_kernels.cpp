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
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kGroupLoops;
    case platform::InstructionSet::avx2:
        return avx2::kGroupLoops;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kGroupLoops;
}

const ColourLoop* colourLoops(platform::InstructionSet set) noexcept
{
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kColourLoops;
    case platform::InstructionSet::avx2:
        return avx2::kColourLoops;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kColourLoops;
}

const SelectorLoops& selectorLoops(platform::InstructionSet set) noexcept
{
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kSelectorLoops;
    case platform::InstructionSet::avx2:
        return avx2::kSelectorLoops;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kSelectorLoops;
}

}  // namespace emantle
