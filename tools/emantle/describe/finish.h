#pragma once

#include "describe/description.h"

#include <string>
#include <vector>

namespace tool {

/* Turns the sums of an image that was read whole into its figures. `remarks` gets a line about colours that have no place,
 * because a bin holds more values than one. */
void finishImage(ImageDescription& image, std::vector<std::string>& remarks);

}  // namespace tool
