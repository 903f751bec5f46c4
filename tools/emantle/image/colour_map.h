#pragma once

#include <array>
#include <tiffio.h>
#include <vector>

namespace tool {

/* Red, green and blue from 0 to 1 for each value of a pixel, from 0 on. */
using ColourMap = std::vector<std::array<double, 3>>;

/* The colours of an image whose pixels are numbers of colours; empty for any other. */
ColourMap colourMapOf(TIFF* file);

}  // namespace tool
