#ifndef EMANTLE_DATA_EPXM_H
#define EMANTLE_DATA_EPXM_H

/* epxm: pixels. How elements convert and fill, rectangles of pixels, and blocks of planes. */

#include <emantle/data/epxm/convert.h>
#include <emantle/data/epxm/pixelblock.h>
#include <emantle/data/epxm/pixelrect.h>

#endif
