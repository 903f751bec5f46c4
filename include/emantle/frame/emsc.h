#ifndef EMANTLE_FRAME_EMSC_H
#define EMANTLE_FRAME_EMSC_H

#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/emsc/memory.h>

#endif
