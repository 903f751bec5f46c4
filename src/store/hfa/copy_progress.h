#pragma once

#include <emantle/frame/eerr.h>

namespace emantle::hfa {

/* What updates a meter; false says that its user has cancelled. Meters belong to a layer above, which names its function
 * here. */
using MeterUpdate = bool (*)(void* meter, double percent, Eerr_ErrorReport** err);
void setMeterUpdate(MeterUpdate update);

}  // namespace emantle::hfa
