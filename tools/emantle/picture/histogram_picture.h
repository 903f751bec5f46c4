#pragma once

#include "picture/canvas.h"
#include "store/stored_histogram.h"

#include <string>

namespace tool {

struct PictureSize {
    double width;
    double height;
    double text; /* the height of the type */
};

/* Draws a histogram: bars over the values of the layer, tick numbers at both axes, a mark at each limit of the bins where
 * there is room for them, and lines at mean and median with their values. */
void drawHistogram(Canvas& canvas, const PictureSize& size, const StoredHistogram& histogram);

/* What the picture shows, for those who do not see it. */
std::string describeHistogram(const StoredHistogram& histogram);

}  // namespace tool
