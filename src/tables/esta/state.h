#pragma once

#include "store/mif/fetch.h"

#include <cstdint>
#include <emantle/data/egda/basedata.h>
#include <emantle/store/emif/object.h>

/* The host forms of the designs of an accumulation's state. Every record owns what it points to. */

namespace emantle::tables {

/* One layer; all zeros with a `uniqueType` of -1 for a layer that is missing. */
struct LayerState {
    std::int32_t isPresent;
    std::int32_t hasStatistics;
    double count;
    double minimum;
    double maximum;
    double sum;
    double squares;
    Egda_BaseData* histogram;   /* F64, or null */
    Emif_MIFObject binFunction; /* of the histogram; no bytes when it has none */
    std::int32_t uniqueType;    /* the pixel type of the values kept; -1 when none are kept */
    double maxUnique;
    Egda_BaseData* uniqueValues; /* of the pixel type, U8 for the types below it; null while there are none */
    Egda_BaseData* uniqueCounts; /* U32 */
};

struct LayerStates {
    std::int32_t count;
    LayerState* layers;
};

struct StackState {
    std::int32_t skipFactorX;
    std::int32_t skipFactorY;
    double count;
    Egda_BaseData* covariance;
    Egda_BaseData* means;
    Egda_BaseData* excludedValues;
    LayerStates layers;
};

extern mif::OwnDesign stackStateDesign;

}  // namespace emantle::tables
