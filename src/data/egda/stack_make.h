#pragma once

#include <emantle/data/egda/stack.h>

namespace emantle {

/* A stack of null layers; null when memory is out or the count is not one of layers. */
Egda_BaseDataStack* makeStack(long nLayers, bool derived) noexcept;

}  // namespace emantle
