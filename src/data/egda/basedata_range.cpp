#include "data/egda/basedata_range.h"

#include "data/egda/basedata_shape.h"
#include "data/epxm/convert.h"

using namespace emantle;

namespace {

/* A type that does not exist counts as bytes, as every type without an order of its own does. */
const RangeRoutines& routinesOf(const Egda_BaseData& base)
{
    static const RangeRoutines* const table = rangeTable(platform::fastestInstructionSet());
    return table[isPixelType(base.datatype) ? base.datatype : EGDA_TYPE_U8];
}

}  // namespace

EMANTLE_API void egda_BaseDataClip(Egda_BaseData* base, long nLines, long nPerLine, double low, double high)
{
    routinesOf(*base).clip({lineOf(*base, 0), base->pitch, nLines, nPerLine}, low, high);
}

EMANTLE_API void egda_BaseDataStats(const Egda_BaseData* base, long nPerLine, long nLines, double* min, double* max)
{
    if (nLines > 0 && nPerLine > 0) {
        routinesOf(*base).range({lineOf(*base, 0), base->pitch, nLines, nPerLine}, *min, *max);
    }
}
