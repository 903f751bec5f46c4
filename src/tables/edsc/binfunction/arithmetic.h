#pragma once

#include "tables/edsc/binfunction/spans.h"

#include <cstdint>

/* The arithmetic of the kinds for one value at a time: the very code that the loops over runs are made of, so that both
 * give the same bins. */

#define EMANTLE_TARGET single
#include "tables/edsc/binfunction/bin_loops.h"
#undef EMANTLE_TARGET
