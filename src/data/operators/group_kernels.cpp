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

void markEqual(std::uint8_t* marks, const double* values, long wanted, long count) noexcept
{
    const auto low = static_cast<double>(wanted);
    for (long i = 0; i < count; ++i) {
        marks[i] = static_cast<std::uint8_t>((values[i] >= low) & (values[i] < low + 1));
    }
}

}  // namespace emantle
