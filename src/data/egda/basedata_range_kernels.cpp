#include "data/egda/basedata_range.h"
#include "data/epxm/element_types.h"

#define EMANTLE_LOOPS "data/egda/basedata_range_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const RangeRoutines* rangeTable(platform::InstructionSet set) noexcept
{
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kRange;
    case platform::InstructionSet::avx2:
        return avx2::kRange;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kRange;
}

}  // namespace emantle
