#include "data/egda/basedata_range.h"
#include "data/epxm/element_types.h"

#define EMANTLE_LOOPS "data/egda/basedata_range_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const RangeRoutines* rangeTable(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kRange, avx2::kRange, avx512::kRange);
}

}  // namespace emantle
