#ifndef EMANTLE_NUMERICS_EFGA_CLIP_H
#define EMANTLE_NUMERICS_EFGA_CLIP_H

#include <emantle/frame/export.h>
#include <emantle/frame/emsc.h>

/* efga, clipping against a rectangle whose edges belong to it. */

/* Cuts the line from (*x0, *y0) to (*x1, *y1) to the part inside the rectangle and returns 1; an end that is inside stays
 * to the last bit, and an end that is cut lies on the edge exactly. Returns 0, and leaves the ends, when no point of
 * the line is inside, when the rectangle is empty, and where a length is not finite. A line of no length is a point.
 * After Y.-D. Liang and B. A. Barsky, "A new concept and method for line clipping", 1984. */
EMANTLE_API Emsc_Boolean efga_ClipLine(double* x0, double* y0, double* x1, double* y1, double minX, double minY,
                                       double maxX, double maxY);

#endif
